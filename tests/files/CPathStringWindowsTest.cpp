// Shortened names, which only Windows makes.
#include <CPathString.h>

#include "temp_folder.h"

#include <gtest/gtest.h>

namespace {

class CPathStringWindowsTest : public testing::Test {
protected:
    void SetUp() override {
        m_long = m_folder.Path(L"a folder with a long name").c_str();
        ASSERT_EQ(CPathString::CrearCarpeta(m_long), 1);
        wchar_t path[MAX_PATH] = L"";
        GetShortPathNameW(m_long, path, MAX_PATH);
        m_short = path;
        ASSERT_GE(m_short.Find(L'~'), 0) << "this disk has no short names: " << path;
    }

    TempFolder m_folder;
    CString m_long;
    CString m_short;
};

TEST_F(CPathStringWindowsTest, LongFormOfAShortName) {
    const CString name(L"\\a folder with a long name");
    EXPECT_EQ(CPathString::getLongPathName(m_short).Right(name.GetLength()), name);
}

TEST_F(CPathStringWindowsTest, ShortTemporaryFolderIsExpanded) {
    wchar_t before[MAX_PATH] = L"";
    GetEnvironmentVariableW(L"TMP", before, MAX_PATH);
    SetEnvironmentVariableW(L"TMP", m_short);
    const CString folder = CPathString::GetTempPathW(0);
    const CPathString file(L"abc", 7u);
    SetEnvironmentVariableW(L"TMP", before);
    EXPECT_EQ(folder, CPathString::getLongPathName(m_short));
    EXPECT_EQ(folder.Find(L'~'), -1) << folder.GetString();
    EXPECT_EQ(file, folder + L"\\abc7.tmp");
}

} // namespace
