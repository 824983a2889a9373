// What DLLs of Windows tell of themselves.
#include "version_record.h"

#include <CPathString.h>

#include <gtest/gtest.h>

TEST(AfxGetShellDllVersionWin32Test, ShellTellsItsVersion) {
    EXPECT_GE(AfxGetShellDllVersion(L"shell32.dll"), 4ul << 16);
    EXPECT_NE(AfxTestShellDllVersion(L"comctl32.dll", 4, 0), 0);
}

TEST(ModuleVersionWin32Test, LibrariesTellTheirOwnVersion) {
    for (const wchar_t* name : {L"mvlib62", L"mvafx62", L"qzmultilang"}) {
        const CPathString file(GetModuleHandleW(name));
        CString text;
        EXPECT_EQ(file.GetFileVersion(text), 1) << file.GetString();
        EXPECT_STREQ(text, L"6.2.0");
        EXPECT_EQ(file.GetStringInformacio(L"OriginalFilename", text), 1);
        EXPECT_EQ(text.CompareNoCase(file.GetFitxer()), 0) << text.GetString();
    }
}
