// Registry folders and INI files on a store that is damaged or cannot be written: codes and defaults, never a
// crash, and what was there stays.
#include "CFitxerINI.h"
#include "TCarpetaRegistry.h"

#include "forked.h"
#include "temp_folder.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

const wchar_t* const Key = L"Software\\Store";

class PosixStoreTest : public testing::Test {
protected:
    void SetUp() override {
        if (const char* store = std::getenv("MVLIB_REGISTRY"))
            m_before = store;
        UseStore("registry.db");
    }
    void TearDown() override {
        if (m_before.empty())
            ::unsetenv("MVLIB_REGISTRY");
        else
            ::setenv("MVLIB_REGISTRY", m_before.c_str(), 1);
    }
    void UseStore(const std::string& name) {
        m_store = m_folder.Root() / name;
        ::setenv("MVLIB_REGISTRY", m_store.c_str(), 1);
    }
    // What a process does that may write no file of more than `size` bytes; its answer.
    template <class Work>
    static int Limited(rlim_t size, const Work& work) {
        const int status = EndOf(StartForked([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit = {size, size};
            return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? work() : 99;
        }));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::size_t CountFiles() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_folder.Root()), fs::directory_iterator()));
    }

    TempFolder m_folder;
    fs::path m_store;
    std::string m_before;
};

int __stdcall CountValues(TCarpetaRegistry*, const wchar_t*, unsigned long, long user) {
    return ++*reinterpret_cast<int*>(user);
}

} // namespace

// ---- Registry folders

TEST_F(PosixStoreTest, FoldersOfNoStoreAnswerCodesAndDefaults) {
    m_folder.Write(L"registry.db", std::string(5000, 'x'));
    TCarpetaRegistry folder(Key);
    ::SetLastError(0);
    EXPECT_EQ(folder.Obrir(1), 0);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BADDB));
    EXPECT_EQ(folder.EntraValor(L"v", 1), -2500);
    EXPECT_EQ(folder.TornaValorInt(L"v", 7), 7);
    CString text;
    EXPECT_EQ(folder.TornaValor(L"v", text, L"default"), 2500);
    EXPECT_EQ(text, L"default");
    unsigned long size = 9;
    EXPECT_EQ(folder.TornaValorBin(L"v", size), nullptr);
    EXPECT_EQ(folder.BorrarValor(L"v"), 0);
    EXPECT_EQ(folder.BorrarCarpeta(nullptr), -2505);
    int count = 0;
    EXPECT_EQ(folder.EnumValors(CountValues, reinterpret_cast<long>(&count), 2), 0);
    TCarpetaRegistry target(L"Software\\Other");
    EXPECT_EQ(folder.CopiarCarpeta(L"sub", &target), 0);
    EXPECT_EQ(m_folder.Read(L"registry.db"), std::string(5000, 'x')) << "nothing is written over it";
}

TEST_F(PosixStoreTest, FoldersOfADamagedStoreNeverEndTheProcess) {
    {
        TCarpetaRegistry folder(Key);
        for (int i = 0; i < 300; ++i)
            TCarpetaRegistry(&folder, std::to_wstring(i % 7).c_str())
                .EntraValor(std::to_wstring(i).c_str(), L"some text that takes a little room");
        ASSERT_EQ(::RegFlushKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
    }
    const fs::path good = m_store;
    std::mt19937 random(62);
    for (int round = 0; round < 40; ++round) {
        UseStore("damaged" + std::to_string(round) + ".db");
        std::string bytes = m_folder.Read(L"registry.db");
        std::string noise(16 + random() % 3000, '\0');
        for (char& byte : noise)
            byte = static_cast<char>(random());
        bytes.replace(random() % bytes.size(), noise.size(), noise);
        if (round % 5 == 0)
            bytes.resize(random() % bytes.size());
        m_folder.Write(m_store.filename().wstring().c_str(), bytes);
        TCarpetaRegistry folder(Key);
        TCarpetaRegistry copy(L"Software\\Copy");
        int count = 0;
        folder.EnumValors(CountValues, reinterpret_cast<long>(&count), 2);
        TCarpetaRegistry(L"Software").CopiarCarpeta(L"Store", &copy);
        for (int i = 0; i < 7; ++i)
            TCarpetaRegistry(&folder, std::to_wstring(i).c_str()).TornaValorString(L"1", L"");
        const int written = folder.EntraValor(L"new", 5);
        EXPECT_TRUE(written == 0 || written == -2500 || written == -2503) << written;
        if (written == 0) {
            EXPECT_EQ(folder.TornaValorInt(L"new", 0), 5);
        }
        const int deleted = folder.BorrarCarpeta(L"3");
        EXPECT_TRUE(deleted == 0 || (deleted <= -2500 && deleted >= -2505)) << deleted;
    }
}

TEST_F(PosixStoreTest, FolderOnAFullDiskKeepsWhatItHad) {
    TCarpetaRegistry folder(Key);
    ASSERT_EQ(folder.EntraValor(L"v", L"old"), 0);
    ASSERT_EQ(::RegFlushKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
    EXPECT_EQ(Limited(200000,
                      [] {
                          TCarpetaRegistry full(Key);
                          const std::wstring large(200000, L'x');
                          if (full.EntraValor(L"v", large.c_str()) != -2503)
                              return 1;
                          if (full.TornaValorString(L"v", L"") != L"old")
                              return 2;
                          return full.EntraValor(L"small", 1) == 0 ? 0 : 3;
                      }),
              0);
    EXPECT_EQ(folder.TornaValorString(L"v", L""), L"old");
    EXPECT_EQ(folder.TornaValorInt(L"small", 0), 1);
}

// ---- INI files

TEST_F(PosixStoreTest, FileOnAFullDiskStaysAsItWas) {
    const std::wstring path = m_folder.Path(L"a.ini");
    CFitxerINI file(path.c_str());
    ASSERT_EQ(file.SetString(L"s", L"k", L"old"), 1);
    const std::string before = m_folder.Read(L"a.ini");
    const std::size_t files = CountFiles();
    EXPECT_EQ(Limited(100,
                      [&] {
                          CFitxerINI full(path.c_str());
                          const std::wstring large(1000, L'x');
                          if (full.SetString(L"s", L"k", large.c_str()) != 0)
                              return 1;
                          if (full.SetSeccio(L"s", CMultiString((L"k=" + large + L'\0').c_str())) != 0)
                              return 2;
                          return full.GetString(L"s", L"k", L"") == L"old" ? 0 : 3;
                      }),
              0);
    EXPECT_EQ(m_folder.Read(L"a.ini"), before);
    EXPECT_EQ(CountFiles(), files) << "nothing is left beside it";
    EXPECT_EQ(
        Limited(1, [&] { return CFitxerINI::VerifyAndCreateUnicodeFile(m_folder.Path(L"b.ini").c_str()); }),
        1);
    EXPECT_FALSE(m_folder.Exists(L"b.ini")) << "not without its mark";
    EXPECT_EQ(CountFiles(), files);
}
