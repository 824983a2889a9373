// The form in which long paths reach the system. Wine takes them in any form; Windows does not.
#include "files/SystemPath.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring FormOf(const CString& path) {
    const SystemPath form(path);
    const wchar_t* text = form;
    return text;
}

const CString kLong(L'x', 250);

} // namespace

TEST(SystemPathWindowsTest, ShortPathsStayAsTheyAre) {
    for (const wchar_t* path : {L"C:\\a\\b.txt", L"C:a", L"a/b", L"..\\a", L"\\a", L"\\\\server\\share\\a",
                                L"*.*", L"C:\\a\\*.", L"C:\\a\\", L"NUL", L""}) {
        const SystemPath form(path);
        EXPECT_EQ(static_cast<const wchar_t*>(form), path) << "the text itself";
    }
    EXPECT_EQ(static_cast<const wchar_t*>(SystemPath(nullptr)), nullptr);
}

TEST(SystemPathWindowsTest, LongPathsGetThePrefix) {
    EXPECT_EQ(FormOf(L"C:\\" + kLong), std::wstring(L"\\\\?\\C:\\" + kLong));
    EXPECT_EQ(FormOf(L"\\\\server\\share\\" + kLong), std::wstring(L"\\\\?\\UNC\\server\\share\\" + kLong));
    EXPECT_EQ(FormOf(L"C:\\a\\..\\b/.\\" + kLong), std::wstring(L"\\\\?\\C:\\b\\" + kLong))
        << "the prefix leaves nothing to be resolved";
    EXPECT_EQ(FormOf(L"C:\\" + kLong + L"\\"), std::wstring(L"\\\\?\\C:\\" + kLong));
}

TEST(SystemPathWindowsTest, FoldersHaveTheLimitOf248) {
    const CString shorter = L"C:\\" + CString(L'x', 244);
    EXPECT_EQ(FormOf(shorter), std::wstring(shorter));
    EXPECT_EQ(FormOf(shorter + L"y"), std::wstring(L"\\\\?\\" + shorter + L"y"));
}

TEST(SystemPathWindowsTest, RelativePathsCountWithTheirFolder) {
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    ASSERT_TRUE(SetCurrentDirectoryW(L"C:\\windows\\system32"));
    EXPECT_EQ(FormOf(kLong), std::wstring(L"\\\\?\\C:\\windows\\system32\\" + kLong));
    EXPECT_EQ(FormOf(L"..\\" + kLong), std::wstring(L"\\\\?\\C:\\windows\\" + kLong));
    EXPECT_EQ(FormOf(kLong + L"\\*.*"), std::wstring(L"\\\\?\\C:\\windows\\system32\\" + kLong + L"\\*.*"));
    const CString fits(L'x', 230);
    EXPECT_EQ(FormOf(fits), std::wstring(L"\\\\?\\C:\\windows\\system32\\" + fits));
    SetCurrentDirectoryW(before);
}

TEST(SystemPathWindowsTest, PatternsStayAsTheyAreBehindTheFolder) {
    for (const wchar_t* pattern : {L"*.*", L"*.", L"a?. ", L"*"})
        EXPECT_EQ(FormOf(L"C:\\" + kLong + L"\\" + pattern),
                  std::wstring(L"\\\\?\\C:\\" + kLong + L"\\" + pattern));
    EXPECT_EQ(FormOf(L"C:\\a\\..\\" + kLong + L"/*."), std::wstring(L"\\\\?\\C:\\" + kLong + L"\\*."));
}

TEST(SystemPathWindowsTest, PathsInTheFormAlreadyStay) {
    for (const wchar_t* prefix : {L"\\\\?\\C:\\", L"\\\\?\\UNC\\server\\share\\", L"\\\\.\\C:\\"}) {
        const CString path = prefix + kLong + L"\\..\\x.";
        EXPECT_EQ(FormOf(path), std::wstring(path));
    }
}
