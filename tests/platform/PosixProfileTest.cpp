// The files of the POSIX profiles: what a change leaves alone, several processes, kills.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

class PosixProfile : public testing::Test {
protected:
    void SetUp() override { m_path = m_folder.Path(L"test.ini"); }
    void File(const std::string& bytes) { m_folder.Write(L"test.ini", bytes); }
    std::string Bytes() { return m_folder.Read(L"test.ini"); }
    BOOL Set(const wchar_t* section, const wchar_t* key, const wchar_t* value) {
        return WritePrivateProfileStringW(section, key, value, m_path.c_str());
    }
    UINT Number(const wchar_t* section, const std::wstring& key) {
        return GetPrivateProfileIntW(section, key.c_str(), 0, m_path.c_str());
    }
    std::size_t FilesInTheFolder() {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_folder.Root()), fs::directory_iterator()));
    }

    TempFolder m_folder;
    std::wstring m_path;
};

} // namespace

TEST_F(PosixProfile, OtherLinesStayAsTheyAre) {
    File("; head\r\nx=1 \0\r\n\r\n[A]\r\n; c1\r\n a = 1\r\n\r\n; c2\r\nb=2\r\n; c3\r\n\r\n[C]\r\nz=1"s);
    Set(L"A", L"a", L"9");
    Set(L"A", L"n", L"5");
    Set(L"C", L"y", L"2");
    Set(L"D", L"d", L"1");
    Set(L"A", L"b", nullptr);
    EXPECT_EQ(Bytes(), "; head\r\nx=1 \0\r\n\r\n[A]\r\n; c1\r\na=9\r\n\r\n; c2\r\n; c3\r\nn=5\r\n\r\n[C]\r\n"
                       "z=1\r\ny=2\r\n[D]\r\nd=1\r\n"s);
}

TEST_F(PosixProfile, LineEndsOfTheFileAreKept) {
    File("[A]\na=1\nb=2");
    Set(L"A", L"a", L"9");
    EXPECT_EQ(Bytes(), "[A]\na=9\nb=2");
    Set(L"A", L"c", L"3");
    Set(L"B", L"d", L"4");
    EXPECT_EQ(Bytes(), "[A]\na=9\nb=2\nc=3\n[B]\nd=4\n");
    File("[A]");
    Set(L"A", L"a", L"1");
    EXPECT_EQ(Bytes(), "[A]\r\na=1\r\n");
    File("[A]");
    WritePrivateProfileSectionW(L"A", L"a=1\0", m_path.c_str());
    EXPECT_EQ(Bytes(), "[A]\r\na=1\r\n");
}

TEST_F(PosixProfile, NamesEndAtANulWithoutTheBlanksBeforeIt) {
    File("[s \0x]\r\nk \0y=1\r\n"s);
    WCHAR text[20];
    EXPECT_EQ(GetPrivateProfileStringW(nullptr, nullptr, L"", text, 20, m_path.c_str()), 2u);
    EXPECT_EQ(text, L"s"s);
    EXPECT_EQ(GetPrivateProfileStringW(L"s", nullptr, L"", text, 20, m_path.c_str()), 2u);
    EXPECT_EQ(text, L"k"s);
    EXPECT_EQ(Number(L"s", L"k"), 1u);
}

TEST_F(PosixProfile, LinesOfASectionAreWrittenAsGiven) {
    WritePrivateProfileSectionW(L"A", L"k = v\0; note\0plain\0", m_path.c_str());
    EXPECT_EQ(Bytes(), "[A]\r\nk = v\r\n; note\r\nplain\r\n");
    File("[A]\r\na=1\r\n\r\n[B]\r\nb=1\r\n");
    WritePrivateProfileSectionW(L"A", L"z=1\0", m_path.c_str());
    EXPECT_EQ(Bytes(), "[A]\r\nz=1\r\n\r\n[B]\r\nb=1\r\n");
}

TEST_F(PosixProfile, NamelessSectionStandsFirst) {
    File("[A]\r\na=1\r\n");
    Set(L"", L"x", L"1");
    EXPECT_EQ(Bytes(), "x=1\r\n[A]\r\na=1\r\n");
    Set(L"", nullptr, nullptr);
    EXPECT_EQ(Bytes(), "[A]\r\na=1\r\n");
    Set(L"", nullptr, nullptr);
    EXPECT_EQ(Bytes(), "[A]\r\na=1\r\n");
}

TEST_F(PosixProfile, SamePlaceSameRightsSameLink) {
    File("[A]\r\n");
    fs::rename(m_folder.Root() / "test.ini", m_folder.Root() / "real.ini");
    fs::create_symlink("real.ini", m_folder.Root() / "test.ini");
    ::chmod((m_folder.Root() / "real.ini").c_str(), 0640);
    EXPECT_TRUE(Set(L"A", L"a", L"1"));
    EXPECT_TRUE(fs::is_symlink(m_folder.Root() / "test.ini"));
    EXPECT_EQ(m_folder.Read(L"real.ini"), "[A]\r\na=1\r\n");
    struct stat status;
    ASSERT_EQ(::stat((m_folder.Root() / "real.ini").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(FilesInTheFolder(), 2u);
}

TEST_F(PosixProfile, UnchangedValueLeavesTheFileAlone) {
    File("[A]\r\na=1\r\n");
    struct stat before;
    ::stat((m_folder.Root() / "test.ini").c_str(), &before);
    EXPECT_TRUE(Set(L"A", L"a", L"1"));
    struct stat after;
    ::stat((m_folder.Root() / "test.ini").c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

// What was read last is kept; its place in memory must answer as the file does, whatever was changed in it.
TEST_F(PosixProfile, ChangedTextAnswersLikeTheFile) {
    const std::wstring other = m_folder.Path(L"other.ini");
    m_folder.Write(L"other.ini", "[Z]\r\nz=1\r\n");
    const auto list = [](auto read) {
        wchar_t text[4096] = {};
        read(text, DWORD{4096});
        return std::wstring(text, 4096);
    };
    const std::wstring sections[] = {L"A", L"b b", L"", L"C"};
    const auto all = [&] {
        std::vector<std::wstring> lists;
        lists.push_back(list(
            [&](wchar_t* text, DWORD size) { GetPrivateProfileSectionNamesW(text, size, m_path.c_str()); }));
        for (const std::wstring& section : sections) {
            lists.push_back(list([&](wchar_t* text, DWORD size) {
                GetPrivateProfileSectionW(section.c_str(), text, size, m_path.c_str());
            }));
            for (const wchar_t* key : {L"one", L"Two", L"[three", L"\u00e9\U0001F600", L"none"})
                lists.push_back(list([&](wchar_t* text, DWORD size) {
                    GetPrivateProfileStringW(section.c_str(), key, L"-", text, size, m_path.c_str());
                }));
        }
        return lists;
    };
    std::mt19937 random(5);
    for (const std::string mark : {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
        File(mark);
        for (int i = 0; i < 250; ++i) {
            const wchar_t* const keys[] = {L"one", L"TWO", L"[three", L"\u00e9\U0001F600"};
            const wchar_t* const values[] = {L"",           L"1",       L"a longer value", L"b]",
                                             L"\U0001F600", L" \"x\" ", L"x\r\ny=2",       L"[s]\r\nk=v",
                                             nullptr,       L"; note"};
            ASSERT_TRUE(Set(sections[random() % 4].c_str(), keys[random() % 4], values[random() % 10]));
            const auto kept = all();
            GetPrivateProfileIntW(L"Z", L"z", 0, other.c_str()); // now the other one is kept
            ASSERT_EQ(kept, all()) << i;
        }
    }
}

TEST_F(PosixProfile, ForeignChangeOfTheSameLengthIsSeenAtOnce) {
    File("[A]\r\na=1\r\n");
    for (int i = 0; i < 100; ++i) {
        const std::string digit(1, static_cast<char>('0' + i % 10));
        {
            // In place: the same file, the same length, and as a rule the same time.
            std::fstream file(fs::path(m_path), std::ios::in | std::ios::out | std::ios::binary);
            file.seekp(7);
            file << digit;
        }
        EXPECT_EQ(Number(L"A", L"a"), static_cast<UINT>(i % 10));
        EXPECT_TRUE(Set(L"A", L"b", i % 2 ? L"1" : L"2"));
        EXPECT_EQ(Bytes(), "[A]\r\na=" + digit + "\r\nb=" + (i % 2 ? "1" : "2") + "\r\n");
    }
}

TEST_F(PosixProfile, FileThatIsOpenWithoutSharingIsNotRead) {
    File("[A]\r\na=1\r\n");
    EXPECT_EQ(Number(L"A", L"a"), 1U);
    File("[A]\r\na=12\r\n");
    const HANDLE file = CreateFileW(m_path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(Number(L"A", L"a"), 0U);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(file);
    EXPECT_EQ(Number(L"A", L"a"), 12U);
}

TEST_F(PosixProfile, BareNameLiesInTheCurrentFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Root());
    EXPECT_TRUE(WritePrivateProfileStringW(L"A", L"a", L"1", L"bare.ini"));
    EXPECT_EQ(GetPrivateProfileIntW(L"A", L"a", 0, L"bare.ini"), 1u);
    fs::current_path(before);
    EXPECT_EQ(m_folder.Read(L"bare.ini"), "[A]\r\na=1\r\n");
}

TEST_F(PosixProfile, ProcessesThatWriteAtOnceLoseNothing) {
    constexpr int processes = 4;
    constexpr int values = 60;
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        const pid_t child = ::fork();
        if (child == 0) {
            bool good = true;
            for (int i = 0; i < values; ++i)
                good = Set((L"p" + std::to_wstring(p % 2)).c_str(),
                           (std::to_wstring(p) + L"-" + std::to_wstring(i)).c_str(), L"1") &&
                       good;
            ::_exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    for (int p = 0; p < processes; ++p) {
        for (int i = 0; i < values; ++i)
            EXPECT_EQ(Number((L"p" + std::to_wstring(p % 2)).c_str(),
                             std::to_wstring(p) + L"-" + std::to_wstring(i)),
                      1u);
    }
    EXPECT_EQ(FilesInTheFolder(), 1u);
}

// A process is killed in the middle of writing, 200 times: the file is the old one or the new one.
TEST_F(PosixProfile, KilledWriterLeavesAWholeFile) {
    File("[A]\r\nn=1\r\n" + std::string(20000, ';') + "\r\n[Z]\r\nlast=1\r\n");
    std::mt19937 random(62);
    UINT known = 1;
    for (int round = 0; round < 200; ++round) {
        int pipe[2];
        ASSERT_EQ(::pipe(pipe), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            for (UINT number = known + 1;; ++number) {
                if (!Set(L"A", L"n", std::to_wstring(number).c_str()) ||
                    ::write(pipe[1], &number, sizeof number) != sizeof number)
                    ::_exit(1);
            }
        }
        ::close(pipe[1]);
        UINT number = 0;
        ASSERT_EQ(::read(pipe[0], &number, sizeof number), static_cast<ssize_t>(sizeof number));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        UINT told = number;
        while (::read(pipe[0], &number, sizeof number) == static_cast<ssize_t>(sizeof number))
            told = number;
        ::close(pipe[0]);
        known = Number(L"A", L"n");
        EXPECT_GE(known, told);
        EXPECT_LE(known, told + 1);
        EXPECT_EQ(Number(L"Z", L"last"), 1u);
    }
}

// ---- Error results

TEST_F(PosixProfile, WhatIsNoFileGives5) {
    fs::create_directory(m_folder.Root() / "test.ini");
    EXPECT_FALSE(Set(L"A", L"a", L"1"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Number(L"A", L"a"), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(PosixProfile, FolderWithoutTheRightToWriteGives5) {
    File("[A]\r\na=1\r\n");
    fs::permissions(m_folder.Root() / "test.ini", fs::perms::all);
    const pid_t child = ::fork();
    if (child == 0) {
        // The superuser may write everywhere: as somebody else, in a folder of the superuser or without
        // rights.
        fs::permissions(m_folder.Root(), fs::perms(0555));
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            ::_exit(2);
        ::_exit(!Set(L"A", L"a", L"2") && GetLastError() == ERROR_ACCESS_DENIED ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    fs::permissions(m_folder.Root(), fs::perms::owner_all);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Bytes(), "[A]\r\na=1\r\n");
}

TEST_F(PosixProfile, NullFileNameGives2) {
    EXPECT_FALSE(WritePrivateProfileStringW(L"A", L"a", L"1", nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(GetPrivateProfileIntW(L"A", L"a", 7, nullptr), 7u);
}
