// The file of the POSIX registry: where it lies, several processes, kills, damage.
#include "forked.h"
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

class PosixRegistry : public testing::Test {
protected:
    void SetUp() override { UseStore("registry.db"); }

    void UseStore(const std::string& name) {
        m_store = m_folder.Root() / name;
        ::setenv("MVLIB_REGISTRY", m_store.c_str(), 1);
    }

    static LSTATUS CreateKey(const wchar_t* path, HKEY& key) {
        return RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                               nullptr);
    }
    static LSTATUS OpenKey(const wchar_t* path, HKEY& key) {
        return RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_ALL_ACCESS, &key);
    }
    static LSTATUS SetNumber(HKEY key, const std::wstring& name, DWORD number) {
        return RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                              sizeof number);
    }
    static LSTATUS GetNumber(HKEY key, const std::wstring& name, DWORD& number) {
        DWORD size = sizeof number;
        return RegQueryValueExW(key, name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
    }
    static DWORD CountValues(const wchar_t* path) {
        HKEY key = nullptr;
        DWORD count = 0;
        EXPECT_EQ(OpenKey(path, key), ERROR_SUCCESS);
        EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr,
                                   nullptr, nullptr, nullptr),
                  ERROR_SUCCESS);
        RegCloseKey(key);
        return count;
    }
    void Damage(std::streamoff at, const std::string& bytes) {
        std::fstream file(m_store, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(at);
        file << bytes;
    }

    TempFolder m_folder;
    fs::path m_store;
};

} // namespace

// ---- The file

TEST_F(PosixRegistry, ReadingMakesNoFile) {
    HKEY key = nullptr;
    EXPECT_EQ(OpenKey(L"a", key), ERROR_FILE_NOT_FOUND);
    wchar_t name[10];
    EXPECT_EQ(RegEnumKeyW(HKEY_CURRENT_USER, 0, name, 10), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, L"a"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteValueW(HKEY_CURRENT_USER, L"a"), ERROR_FILE_NOT_FOUND);
    DWORD size = 99;
    EXPECT_EQ(RegQueryValueExW(HKEY_CURRENT_USER, L"a", nullptr, nullptr, nullptr, &size),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(RegFlushKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
    EXPECT_FALSE(fs::exists(m_store));
}

TEST_F(PosixRegistry, WritingMakesFileAndFolders) {
    UseStore("one/two/registry.db");
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 5), ERROR_SUCCESS);
    EXPECT_TRUE(fs::exists(m_store));
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, L""), ERROR_ACCESS_DENIED);
}

TEST_F(PosixRegistry, DefaultLiesInTheDataFolder) {
    const char* const before = std::getenv("XDG_DATA_HOME");
    const std::string kept = before ? before : "";
    ::setenv("XDG_DATA_HOME", (m_folder.Root() / "share").c_str(), 1);
    ::unsetenv("MVLIB_REGISTRY");
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 5), ERROR_SUCCESS);
    EXPECT_TRUE(fs::exists(m_folder.Root() / "share/mvlib62/registry.db"));
    if (before)
        ::setenv("XDG_DATA_HOME", kept.c_str(), 1);
    else
        ::unsetenv("XDG_DATA_HOME");
}

TEST_F(PosixRegistry, KeysOfAnotherFileAreGone) {
    HKEY key = nullptr;
    ASSERT_EQ(CreateKey(L"a", key), ERROR_SUCCESS);
    ASSERT_EQ(SetNumber(key, L"v", 1), ERROR_SUCCESS);
    const fs::path first = m_store;
    UseStore("other.db");
    HKEY other = nullptr;
    ASSERT_EQ(CreateKey(L"a", other), ERROR_SUCCESS);
    DWORD number = 0;
    EXPECT_EQ(GetNumber(key, L"v", number), ERROR_KEY_DELETED);
    EXPECT_EQ(GetNumber(other, L"v", number), ERROR_FILE_NOT_FOUND);
    UseStore(first.filename().string());
    HKEY again = nullptr;
    ASSERT_EQ(OpenKey(L"a", again), ERROR_SUCCESS);
    EXPECT_EQ(GetNumber(again, L"v", number), ERROR_SUCCESS);
    for (const HKEY open : {key, other, again})
        EXPECT_EQ(RegCloseKey(open), ERROR_SUCCESS);
}

TEST_F(PosixRegistry, RemovedFileIsMadeAnew) {
    HKEY key = nullptr;
    ASSERT_EQ(CreateKey(L"a", key), ERROR_SUCCESS);
    for (const char* suffix : {"", "-wal", "-shm"})
        fs::remove(m_store.string() + suffix);
    EXPECT_EQ(SetNumber(key, L"v", 1), ERROR_KEY_DELETED);
    RegCloseKey(key);
    ASSERT_EQ(CreateKey(L"b", key), ERROR_SUCCESS);
    EXPECT_EQ(SetNumber(key, L"v", 1), ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(OpenKey(L"a", key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(CountValues(L"b"), 1u);
}

TEST_F(PosixRegistry, ValuesKeepTheOrderInWhichTheyWereMade) {
    for (const wchar_t* name : {L"z", L"a", L"m"})
        SetNumber(HKEY_CURRENT_USER, name, 1);
    SetNumber(HKEY_CURRENT_USER, L"a", 2);
    wchar_t name[10];
    std::wstring all;
    for (DWORD i = 0, size = 10;
         RegEnumValueW(HKEY_CURRENT_USER, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
         ++i, size = 10)
        all += name;
    EXPECT_EQ(all, L"zam");
}

TEST_F(PosixRegistry, NamesOfAnyCharactersComeBack) {
    const wchar_t unpaired[] = {L'u', 0xD83D, L'x', 0};
    HKEY key = nullptr;
    for (const wchar_t* name : {L"\U0001F600", unpaired, L"\uFFFF"}) {
        ASSERT_EQ(CreateKey(name, key), ERROR_SUCCESS);
        RegCloseKey(key);
    }
    // By UTF-16 units: the pair of the first stands before U+FFFF.
    std::vector<std::wstring> names;
    wchar_t name[10];
    for (DWORD i = 0; RegEnumKeyW(HKEY_CURRENT_USER, i, name, 10) == 0; ++i)
        names.emplace_back(name);
    EXPECT_EQ(names, (std::vector<std::wstring>{unpaired, L"\U0001F600", L"\uFFFF"}));
}

// ---- Several users

TEST_F(PosixRegistry, ProcessesThatWriteAtOnceLoseNothing) {
    constexpr int processes = 4;
    constexpr int values = 150;
    HKEY key = nullptr;
    ASSERT_EQ(CreateKey(L"shared", key), ERROR_SUCCESS);
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        children.push_back(StartForked([p] {
            HKEY shared = nullptr;
            if (OpenKey(L"shared", shared) != ERROR_SUCCESS)
                return 2;
            for (int i = 0; i < values; ++i) {
                if (SetNumber(shared, std::to_wstring(p) + L"-" + std::to_wstring(i), 1) != ERROR_SUCCESS)
                    return 3;
            }
            return 0;
        }));
    }
    for (const pid_t child : children)
        EXPECT_EQ(EndOf(child), 0);
    EXPECT_EQ(CountValues(L"shared"), DWORD{processes * values});
    RegCloseKey(key);
}

TEST_F(PosixRegistry, FirstWritersAtOnceMakeOneFile) {
    std::vector<pid_t> children;
    for (int p = 0; p < 6; ++p) {
        children.push_back(StartForked(
            [p] { return SetNumber(HKEY_CURRENT_USER, std::to_wstring(p), 1) == ERROR_SUCCESS ? 0 : 1; }));
    }
    for (const pid_t child : children)
        EXPECT_EQ(EndOf(child), 0);
    EXPECT_EQ(CountValues(L""), 6u);
}

TEST_F(PosixRegistry, ThreadsUseOneKey) {
    HKEY key = nullptr;
    ASSERT_EQ(CreateKey(L"threads", key), ERROR_SUCCESS);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, key] {
            for (int i = 0; i < 50; ++i) {
                EXPECT_EQ(SetNumber(key, std::to_wstring(t) + L"-" + std::to_wstring(i), 1), ERROR_SUCCESS);
                wchar_t name[20];
                DWORD size = 20;
                EXPECT_EQ(RegEnumValueW(key, static_cast<DWORD>(i), name, &size, nullptr, nullptr, nullptr,
                                        nullptr),
                          ERROR_SUCCESS);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(CountValues(L"threads"), 200u);
    RegCloseKey(key);
}

// A process is killed in the middle of writing, 200 times: what it was told was written is there.
TEST_F(PosixRegistry, KilledWriterLosesNothingThatWasWritten) {
    std::mt19937 random(62);
    DWORD lastKnown = 0;
    long written = 0;
    for (int round = 0; round < 200; ++round) {
        TellingProcess writer([&](const auto& tell) {
            HKEY key = nullptr;
            if (CreateKey(L"kill", key) != ERROR_SUCCESS)
                return 2;
            for (DWORD number = lastKnown + 1;; ++number) {
                // Two values of one number, the second only after the first.
                if (SetNumber(key, L"first" + std::to_wstring(number % 50), number) != ERROR_SUCCESS ||
                    SetNumber(key, L"second", number) != ERROR_SUCCESS || !tell(number))
                    return 3;
            }
        });
        DWORD told = 0;
        ASSERT_TRUE(writer.Next(told));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        EXPECT_TRUE(writer.Kill());
        for (++written; writer.Next(told); ++written) {
        }
        HKEY key = nullptr;
        ASSERT_EQ(OpenKey(L"kill", key), ERROR_SUCCESS);
        DWORD first = 0;
        DWORD second = 0;
        EXPECT_EQ(GetNumber(key, L"first" + std::to_wstring(told % 50), first), ERROR_SUCCESS);
        EXPECT_EQ(GetNumber(key, L"second", second), ERROR_SUCCESS);
        EXPECT_GE(first, told);
        EXPECT_GE(second, told);
        EXPECT_LE(second, told + 1);
        RegCloseKey(key);
        lastKnown = second;
    }
    RecordProperty("written", std::to_string(written));
}

// ---- Error results

TEST_F(PosixRegistry, WhatIsNoStoreGives1009) {
    std::ofstream(m_store) << std::string(5000, 'x');
    HKEY key = nullptr;
    EXPECT_EQ(OpenKey(L"a", key), ERROR_BADDB);
    EXPECT_EQ(CreateKey(L"a", key), ERROR_BADDB);
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 1), ERROR_BADDB);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(fs::file_size(m_store), 5000u) << "nothing is written over it";
    fs::remove(m_store);
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 1), ERROR_SUCCESS);
}

TEST_F(PosixRegistry, DamageIsReportedAndNeverEndsTheProcess) {
    HKEY key = nullptr;
    ASSERT_EQ(CreateKey(L"a\\b", key), ERROR_SUCCESS);
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(SetNumber(key, L"value " + std::to_wstring(i), 1), ERROR_SUCCESS);
    ASSERT_EQ(RegFlushKey(key), ERROR_SUCCESS);
    RegCloseKey(key);
    const fs::path good = m_store;
    std::mt19937 random(62);
    int failures = 0;
    for (int round = 0; round < 60; ++round) {
        UseStore("damaged" + std::to_string(round) + ".db");
        fs::copy_file(good, m_store);
        std::string noise(16 + random() % 3000, '\0');
        for (char& byte : noise)
            byte = static_cast<char>(random());
        Damage(static_cast<std::streamoff>(random() % fs::file_size(good)), noise);
        bool failed = OpenKey(L"a\\b", key) != ERROR_SUCCESS;
        if (!failed) {
            wchar_t name[100];
            for (DWORD i = 0; i < 400 && !failed; ++i) {
                DWORD size = 100;
                const LSTATUS result = RegEnumValueW(key, i, name, &size, nullptr, nullptr, nullptr, nullptr);
                failed = result != ERROR_SUCCESS && result != ERROR_NO_MORE_ITEMS;
            }
            failed = SetNumber(key, L"new", 1) != ERROR_SUCCESS || failed;
            RegCloseKey(key);
        }
        failures += failed;
        fs::remove(m_store);
    }
    EXPECT_GT(failures, 0);
}

TEST_F(PosixRegistry, NewerStoreIsLeftAlone) {
    ASSERT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 1), ERROR_SUCCESS);
    ASSERT_EQ(RegFlushKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
    const fs::path good = m_store;
    UseStore("newer.db");
    fs::copy_file(good, m_store);
    Damage(60, std::string("\0\0\0\2", 4)); // the version of the user's tables in SQLite's header
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 2), ERROR_BADDB);
}

TEST_F(PosixRegistry, FolderInPlaceOfTheFileGives1011) {
    fs::create_directory(m_store);
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 1), ERROR_CANTOPEN);
    std::ofstream(m_folder.Root() / "file").put('x');
    UseStore("file/registry.db");
    EXPECT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 1), ERROR_CANTOPEN);
    HKEY key = nullptr;
    EXPECT_EQ(OpenKey(L"a", key), ERROR_FILE_NOT_FOUND);
}

TEST_F(PosixRegistry, FileThatMayNotBeWrittenGives5) {
    ASSERT_EQ(SetNumber(HKEY_CURRENT_USER, L"v", 7), ERROR_SUCCESS);
    ASSERT_EQ(RegFlushKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
    fs::permissions(m_folder.Root(), fs::perms::all);
    fs::permissions(m_store, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const int status = EndOf(StartForked([] {
        // The superuser may write everything: as somebody else.
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            return 2;
        DWORD number = 0;
        if (SetNumber(HKEY_CURRENT_USER, L"v", 1) != ERROR_ACCESS_DENIED)
            return 3;
        return GetNumber(HKEY_CURRENT_USER, L"v", number) == ERROR_SUCCESS && number == 7 ? 0 : 4;
    }));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
