// GetFullPathNameW, _wfullpath, the current folder.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <cstdlib>
#include <string>

namespace {

struct Full {
    std::wstring path;
    std::wstring name; // of the last part, "-" when there is none
};

Full FullPath(const std::wstring& path) {
    wchar_t text[600] = L"";
    wchar_t* part = text;
    const DWORD length = GetFullPathNameW(path.c_str(), 600, text, &part);
    EXPECT_EQ(length, wcslen(text));
    return {text, part ? part : L"-"};
}

std::wstring Path(const std::wstring& path) {
    return FullPath(path).path;
}

std::wstring CurrentFolder() {
    wchar_t text[600];
    GetCurrentDirectoryW(600, text);
    return text;
}

std::wstring InCurrent(const wchar_t* name) {
    const std::wstring folder = CurrentFolder();
    return folder.back() == L'\\' ? folder + name : folder + L'\\' + name;
}

} // namespace

TEST(FullPath, ExampleUsage) {
    wchar_t text[MAX_PATH];
    wchar_t* name = nullptr;
    EXPECT_EQ(GetFullPathNameW(L"C:\\a\\..\\b\\file.txt", MAX_PATH, text, &name), 13u);
    EXPECT_STREQ(text, L"C:\\b\\file.txt");
    EXPECT_STREQ(name, L"file.txt");
}

TEST(FullPath, DotsAreWorkedOut) {
    EXPECT_EQ(Path(L"C:\\a\\..\\..\\b"), L"C:\\b");
    EXPECT_EQ(Path(L"C:\\a\\.\\b"), L"C:\\a\\b");
    EXPECT_EQ(Path(L"C:\\a\\."), L"C:\\a");
    EXPECT_EQ(Path(L"C:\\a\\.."), L"C:\\");
    EXPECT_EQ(Path(L"C:\\..a\\b"), L"C:\\..a\\b");
    EXPECT_EQ(Path(L"C:\\...\\b"), L"C:\\..\\b");
    EXPECT_EQ(Path(L"\\\\srv\\share\\..\\..\\f"), L"\\\\srv\\share\\f");
}

TEST(FullPath, SeparatorsBecomeSingleBackslashes) {
    EXPECT_EQ(Path(L"C:/a//b\\"), L"C:\\a\\b\\");
    EXPECT_EQ(Path(L"C:\\\\a"), L"C:\\a");
    EXPECT_EQ(Path(L"C:"), L"C:\\");
    EXPECT_EQ(Path(L"C:\\"), L"C:\\");
}

TEST(FullPath, DotsAndBlanksAtTheEndGo) {
    EXPECT_EQ(Path(L"C:\\x."), L"C:\\x");
    EXPECT_EQ(Path(L"C:\\x "), L"C:\\x");
    EXPECT_EQ(Path(L"C:\\x. ."), L"C:\\x");
    EXPECT_EQ(Path(L"C:\\a.\\b"), L"C:\\a\\b");
    EXPECT_EQ(Path(L"C:\\a..\\b"), L"C:\\a.\\b");
    EXPECT_EQ(Path(L"C:\\a .\\b"), L"C:\\a \\b");
    EXPECT_EQ(Path(L"C:\\ a"), L"C:\\ a");
    EXPECT_EQ(Path(L"C:\\a\\b\\..."), L"C:\\a\\b\\");
    EXPECT_EQ(Path(L"C:\\a\\ "), L"C:\\a\\");
}

TEST(FullPath, RelativePathsLieInTheCurrentFolder) {
    EXPECT_EQ(Path(L"x"), InCurrent(L"x"));
    EXPECT_EQ(Path(L"a/b"), InCurrent(L"a\\b"));
    EXPECT_EQ(Path(L"."), CurrentFolder());
    EXPECT_EQ(Path(L"x\\..\\y"), InCurrent(L"y"));
    EXPECT_EQ(Path(L"x\\"), InCurrent(L"x\\"));
}

TEST(FullPath, LastPartIsShown) {
    EXPECT_EQ(FullPath(L"C:\\a\\b").name, L"b");
    EXPECT_EQ(FullPath(L"C:\\a\\").name, L"-");
    EXPECT_EQ(FullPath(L"C:\\").name, L"-");
    EXPECT_EQ(FullPath(L"\\\\srv\\share\\f").name, L"f");
}

TEST(FullPath, SmallBufferTellsTheSizeNeeded) {
    wchar_t text[10] = L"kept";
    EXPECT_EQ(GetFullPathNameW(L"C:\\abc", 6, text, nullptr), 7u);
    EXPECT_EQ(GetFullPathNameW(L"C:\\abc", 7, text, nullptr), 6u);
    EXPECT_EQ(GetFullPathNameW(L"C:\\abc", 0, nullptr, nullptr), 7u);
}

TEST(FullPath, EmptyPathFails) {
    wchar_t text[10];
    EXPECT_EQ(GetFullPathNameW(L"", 10, text, nullptr), 0u);
    EXPECT_EQ(GetFullPathNameW(nullptr, 10, text, nullptr), 0u);
}

TEST(FullPath, CrtFormTakesNullAndAllocates) {
    wchar_t text[600];
    EXPECT_STREQ(_wfullpath(text, L"C:\\a\\..\\b", 600), L"C:\\b");
    EXPECT_EQ(_wfullpath(text, L"C:\\abcdef", 5), nullptr);
    EXPECT_EQ(_wfullpath(text, L"", 600), CurrentFolder());
    EXPECT_EQ(_wfullpath(text, nullptr, 600), CurrentFolder());
    wchar_t* block = _wfullpath(nullptr, L"C:\\x", 0);
    EXPECT_STREQ(block, L"C:\\x");
    free(block);
}

TEST(CurrentFolder, IsChanged) {
    const TempFolder folder;
    const std::wstring before = CurrentFolder();
    ASSERT_TRUE(CreateDirectoryW(folder.Path(L"sub").c_str(), nullptr));
    ASSERT_TRUE(SetCurrentDirectoryW(folder.Path(L"sub").c_str()));
    EXPECT_EQ(CurrentFolder(), Path(folder.Path(L"sub")));
    EXPECT_EQ(Path(L"..\\x"), Path(folder.Path(L"x")));
    ASSERT_TRUE(SetCurrentDirectoryW(before.c_str()));
}

TEST(CurrentFolder, SizeNeededIsTold) {
    wchar_t text[2];
    EXPECT_EQ(GetCurrentDirectoryW(2, text), CurrentFolder().size() + 1);
}

TEST(CurrentFolder, WhatIsNoFolderIsRefused) {
    const TempFolder folder;
    EXPECT_FALSE(SetCurrentDirectoryW(folder.Path(L"none").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(SetCurrentDirectoryW(folder.Write(L"file", "").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DIRECTORY});
    EXPECT_FALSE(SetCurrentDirectoryW(L""));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
}
