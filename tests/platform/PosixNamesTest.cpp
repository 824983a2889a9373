// Names of files that Windows cannot have.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

class PosixNames : public testing::Test {
protected:
    // Creates the file through the layer and tells whether it got the wanted bytes for a name.
    bool Creates(const std::wstring& name, const std::string& bytes) {
        const HANDLE file =
            CreateFileW(m_folder.Path(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        CloseHandle(file);
        return ::unlink((m_folder.Root().string() + "/" + bytes).c_str()) == 0;
    }

    TempFolder m_folder;
};

std::wstring CurrentName() {
    wchar_t text[1024];
    GetCurrentDirectoryW(1024, text);
    const std::wstring path = text;
    return path.substr(path.rfind(L'\\') + 1);
}

} // namespace

TEST_F(PosixNames, CodePointsBecomeUtf8) {
    EXPECT_TRUE(Creates(L"\u00E9", "\xC3\xA9"));
    EXPECT_TRUE(Creates(L"\U0001F600", "\xF0\x9F\x98\x80"));
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_TRUE(Creates(pair, "\xF0\x9F\x98\x80"));
}

TEST_F(PosixNames, EscapedBytesAreThemselves) {
    const wchar_t name[] = {L'a', 0xDCFF, 0xDCE9, L'b', 0xDC5C, L'c', 0};
    const HANDLE file = CreateFileW(m_folder.Path(L"").append(name).c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    EXPECT_EQ(::unlink((m_folder.Root().string() + "/a\xFF\xE9"
                                                   "b\\c")
                           .c_str()),
              0);
}

TEST_F(PosixNames, NamesThatAreNoUtf8ComeBackAndOpenAgain) {
    wchar_t before[1024];
    GetCurrentDirectoryW(1024, before);
    for (const char* bytes :
         {"lat\xEDn", "\xFF", "cut\xE2\x82", "back\\slash", "\xED\xA0\x80", "\xC3\xA9\xC3"}) {
        const std::string native = m_folder.Root().string() + "/" + bytes;
        ASSERT_EQ(::mkdir(native.c_str(), 0777), 0);
        ASSERT_EQ(::chdir(native.c_str()), 0);
        wchar_t path[1024];
        GetCurrentDirectoryW(1024, path);
        EXPECT_NE(CurrentName(), L"");
        ASSERT_TRUE(SetCurrentDirectoryW(before));
        EXPECT_TRUE(RemoveDirectoryW(path)) << bytes;
    }
}

TEST_F(PosixNames, CharactersThatWindowsForbidsAreAllowed) {
    EXPECT_TRUE(Creates(L"a*?<>|\":b", "a*?<>|\":b"));
}

TEST_F(PosixNames, NameThatIsTooLongGives206) {
    const std::wstring name(256, L'n');
    EXPECT_EQ(CreateFileW(m_folder.Path(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
}

TEST_F(PosixNames, PathsLongerThan260Characters) {
    std::wstring path = m_folder.Root().wstring();
    while (path.size() < 1000) {
        path += L"\\" + std::wstring(100, L'x');
        ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
    }
    path += L"\\file";
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    wchar_t full[2000];
    EXPECT_EQ(GetFullPathNameW(path.c_str(), 2000, full, nullptr), path.size());
}

TEST_F(PosixNames, PathsOfEveryLengthOpen) {
    // Short and long names, and those of characters that take several bytes, go different ways.
    std::wstring path = m_folder.Root().wstring() + L"\\" + std::wstring(100, L'x');
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
    path += L"\\";
    for (const wchar_t last : {L'z', L'\u00E9'}) {
        for (std::size_t length = 250; length <= 260; ++length) {
            const std::wstring name = path + std::wstring(length - path.size() - 1, L'n') + last;
            const HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
            EXPECT_NE(file, INVALID_HANDLE_VALUE) << length;
            CloseHandle(file);
            EXPECT_TRUE(DeleteFileW(name.c_str())) << length;
        }
    }
}

TEST_F(PosixNames, FullPathIsTheSameWithAndWithoutTheLastPart) {
    for (const wchar_t* path : {L"/",       L"//",        L"/a",      L"\\a/b",  L"/a//b",   L"/a/./b",
                                L"/a/../b", L"/..a/b",    L"/a./b",   L"/a../b", L"/a/b.",   L"/a/b ",
                                L"/a /b",   L"/a/b/",     L"/.",      L"/...",   L"/a.b/.c", L"//srv/share/f",
                                L"\\\\srv", L"/a/\u00E9", L"/a/b..c", L"/ ",     L"/a/ b"}) {
        wchar_t without[100] = L"";
        wchar_t with[100] = L"";
        wchar_t* name;
        const DWORD length = GetFullPathNameW(path, 100, without, nullptr);
        EXPECT_EQ(length, GetFullPathNameW(path, 100, with, &name)) << path;
        EXPECT_STREQ(without, with) << path;
        EXPECT_EQ(length, wcslen(without)) << path;
        wchar_t small[100] = L"kept";
        EXPECT_EQ(GetFullPathNameW(path, length, small, nullptr), length + 1) << path;
        EXPECT_STREQ(small, L"kept");
    }
}

TEST_F(PosixNames, RootIsABackslash) {
    wchar_t text[100];
    EXPECT_EQ(GetFullPathNameW(L"/", 100, text, nullptr), 1u);
    EXPECT_STREQ(text, L"\\");
    EXPECT_EQ(GetFullPathNameW(L"/usr/../tmp/x", 100, text, nullptr), 6u);
    EXPECT_STREQ(text, L"\\tmp\\x");
    EXPECT_EQ(GetFullPathNameW(L"\\..", 100, text, nullptr), 1u);
}
