#include <COSVersionInfo.h>

#include "version_record.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::wstring Text(const CString& text) {
    return text.GetString();
}

// What the name of a record prints to standard output.
std::string Printed(const Record& record, std::wstring& name) {
    testing::internal::CaptureStdout();
    name = record.Name();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(COSVersionInfoTest, ExampleUsage) {
    const COSVersionInfo* system = AfxGetOSVersionInfo();
    ASSERT_NE(system, nullptr);
    EXPECT_EQ(system, AfxGetOSVersionInfo()) << "one record for the process";
    EXPECT_NE(system->TestVersio(system->dwPlatformId, system->dwMajorVersion, system->dwMinorVersion, 0), 0);
    EXPECT_FALSE(system->GetNom().IsEmpty());
}

// ---- The record

TEST(COSVersionInfoTest, RecordIsTheSystemsAndThenTheFlag) {
    static_assert(sizeof(COSVersionInfo) == sizeof(OSVERSIONINFOEXW) + sizeof(int));
    const COSVersionInfo info;
    EXPECT_EQ(info.m_bExtesa, 1);
    EXPECT_EQ(info.dwOSVersionInfoSize, sizeof(OSVERSIONINFOEXW));
    OSVERSIONINFOEXW record = {};
    record.dwOSVersionInfoSize = sizeof record;
    ASSERT_TRUE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&record)));
    EXPECT_EQ(info.dwMajorVersion, record.dwMajorVersion);
    EXPECT_EQ(info.dwMinorVersion, record.dwMinorVersion);
    EXPECT_EQ(info.dwBuildNumber, record.dwBuildNumber);
    EXPECT_EQ(info.dwPlatformId, record.dwPlatformId);
    EXPECT_STREQ(info.szCSDVersion, record.szCSDVersion);
    EXPECT_GT(info.dwMajorVersion, 2u);
}

TEST(COSVersionInfoTest, RecordOfAFileHasSixNumbersThatAreZeroAtFirst) {
    static_assert(sizeof(CInfoVersio) == 24);
    const CInfoVersio info;
    EXPECT_EQ(info.m_dwMajor, 0u);
    EXPECT_EQ(info.m_dwMinor, 0u);
    EXPECT_EQ(info.m_dwBuild, 0u);
    EXPECT_EQ(info.m_dwRevisio, 0u);
    EXPECT_EQ(info.m_bDebug, 0u);
    EXPECT_EQ(info.m_bPreRelease, 0u);
}

// ---- Tests of the version

TEST(COSVersionInfoTest, ExactTestsTakeOneVersionAndLaterOnesWhenAsked) {
    const Record xp(2, 5, 1);
    EXPECT_NE(xp.info.EsWindows2000(1), 0);
    EXPECT_NE(xp.info.EsWindowsXP(1), 0);
    EXPECT_EQ(xp.info.EsWindows2000(0), 0);
    EXPECT_NE(xp.info.EsWindowsXP(0), 0);
    EXPECT_EQ(xp.info.TestVersioNT(5, 2, 1), 0);
    EXPECT_NE(xp.info.TestVersioNT(4, 9, 1), 0) << "a later major version counts whatever the minor one";
    EXPECT_EQ(xp.info.TestVersioNT(6, 0, 1), 0);
}

TEST(COSVersionInfoTest, NamedTestsHaveTheirPlatformAndVersion) {
    using Query = int (COSVersionInfo::*)(int) const;
    const struct {
        Query test;
        unsigned platform, major, minor;
    } all[] = {
        {&COSVersionInfo::EsWindows95, 1, 4, 0},  {&COSVersionInfo::EsWindows98, 1, 4, 10},
        {&COSVersionInfo::EsWindowsMe, 1, 4, 90}, {&COSVersionInfo::EsWindowsNT351, 2, 3, 51},
        {&COSVersionInfo::EsWindowsNT4, 2, 4, 0}, {&COSVersionInfo::EsWindows2000, 2, 5, 0},
        {&COSVersionInfo::EsWindowsXP, 2, 5, 1},
    };
    for (const auto& one : all) {
        const Record exact(one.platform, one.major, one.minor);
        EXPECT_NE((exact.info.*one.test)(0), 0) << one.major << '.' << one.minor;
        EXPECT_NE((exact.info.*one.test)(1), 0);
        const Record later(one.platform, one.major, one.minor + 1);
        EXPECT_EQ((later.info.*one.test)(0), 0);
        EXPECT_NE((later.info.*one.test)(1), 0);
        const Record earlier(one.platform, one.major - 1, 99);
        EXPECT_EQ((earlier.info.*one.test)(1), 0);
        const Record other(3 - one.platform, one.major, one.minor);
        EXPECT_EQ((other.info.*one.test)(0), 0) << "the other family";
        EXPECT_EQ((other.info.*one.test)(1), 0);
    }
}

TEST(COSVersionInfoTest, FamiliesAreToldByThePlatformAlone) {
    EXPECT_NE(Record(1, 9, 9).info.EsWindows9x(), 0);
    EXPECT_EQ(Record(1, 9, 9).info.EsWindowsNT(), 0);
    EXPECT_NE(Record(2, 1, 0).info.EsWindowsNT(), 0);
    EXPECT_EQ(Record(2, 1, 0).info.EsWindows9x(), 0);
    EXPECT_EQ(Record(0, 4, 0).info.EsWindows9x() + Record(4, 4, 0).info.EsWindowsNT(), 0);
    EXPECT_NE(Record(1, 4, 10).info.TestVersio9x(4, 10, 0), 0);
    EXPECT_EQ(Record(2, 4, 10).info.TestVersio9x(4, 10, 0), 0);
}

// ---- Names

TEST(COSVersionInfoTest, NamesOfTheNTFamily) {
    EXPECT_EQ(Record(2, 5, 1, 2600, L"Service Pack 3").Name(),
              L"Microsoft Windows XP Professional Service Pack 3 (Build 2600)");
    EXPECT_EQ(Record(2, 5, 1, 2600).Product(1, 0x200).Name(), L"Microsoft Windows XP Personal  (Build 2600)");
    EXPECT_EQ(Record(2, 5, 0, 2195, L"SP").Name(), L"Microsoft Windows 2000 Professional SP (Build 2195)");
    EXPECT_EQ(Record(2, 6, 0, 6000, L"SP").Name(), L"Microsoft Windows Vista Professional SP (Build 6000)");
    EXPECT_EQ(Record(2, 6, 1, 7601, L"SP").Name(), L"Microsoft Windows Vista Professional SP (Build 7601)");
    EXPECT_EQ(Record(2, 4, 0, 1381, L"SP").Name(), L"Microsoft Windows NT Professional SP (Build 1381)");
    EXPECT_EQ(Record(2, 5, 3, 1, L"SP").Name(), L"Professional SP (Build 1)") << "no name of its own";
    EXPECT_EQ(Record(2, 10, 0, 19045, L"SP").Name(), L"Professional SP (Build 19045)");
    EXPECT_EQ(Record(2, 5, 1, 1, L"SP").Product(9, 0).Name(), L"Microsoft Windows XP SP (Build 1)");
}

TEST(COSVersionInfoTest, EditionsOfServers) {
    const struct {
        unsigned minor;
        int suite;
        const wchar_t* edition;
    } all[] = {
        {2, 0x80, L"Microsoft Windows Server 2003 Datacenter Edition "},
        {2, 0x82, L"Microsoft Windows Server 2003 Datacenter Edition "},
        {2, 0x02, L"Microsoft Windows Server 2003 Enterprise Edition "},
        {2, 0x400, L"Microsoft Windows Server 2003 Web Edition "},
        {2, 0x401, L"Microsoft Windows Server 2003 Standard Edition "},
        {2, 0, L"Microsoft Windows Server 2003 Standard Edition "},
        {0, 0x80, L"Microsoft Windows 2000 Datacenter Server "},
        {0, 0x02, L"Microsoft Windows 2000 Advanced Server "},
        {0, 0, L"Microsoft Windows 2000 Server "},
    };
    for (const auto& one : all) {
        for (int type : {2, 3}) {
            EXPECT_EQ(Record(2, 5, one.minor, 7, L"SP").Product(type, one.suite).Name(),
                      std::wstring(one.edition) + L"SP (Build 7)");
        }
    }
}

// Kept: what should have been appended goes to standard output.
TEST(COSVersionInfoTest, EditionOfOtherServersIsPrintedAndNotInTheName) {
    std::wstring name;
    EXPECT_EQ(Printed(Record(2, 4, 0, 1381, L"SP").Product(3, 0), name), "Server 4.0 ");
    EXPECT_EQ(name, L"Microsoft Windows NT SP (Build 1381)");
    EXPECT_EQ(Printed(Record(2, 6, 0, 1, L"SP").Product(2, 2), name), "Server 4.0, Enterprise Edition ");
    EXPECT_EQ(name, L"Microsoft Windows Vista SP (Build 1)");
    EXPECT_EQ(Printed(Record(2, 5, 2, 1, L"SP").Product(3, 0), name), "");
    EXPECT_EQ(Printed(Record(2, 5, 1, 1, L"SP").Product(3, 0x80), name), "Server 4.0 ");
}

TEST(COSVersionInfoTest, NamesOfThe9xFamily) {
    EXPECT_EQ(Record(1, 4, 0).Name(), L"Microsoft Windows 95 ");
    EXPECT_EQ(Record(1, 4, 0, 0, L" C").Name(), L"Microsoft Windows 95 OSR2 ");
    EXPECT_EQ(Record(1, 4, 0, 0, L" B").Name(), L"Microsoft Windows 95 OSR2 ");
    EXPECT_EQ(Record(1, 4, 0, 0, L" A").Name(), L"Microsoft Windows 95 ");
    EXPECT_EQ(Record(1, 4, 0, 0, L"C").Name(), L"Microsoft Windows 95 ") << "the second character counts";
    EXPECT_EQ(Record(1, 4, 10).Name(), L"Microsoft Windows 98 ");
    EXPECT_EQ(Record(1, 4, 10, 0, L" A").Name(), L"Microsoft Windows 98 SE ");
    EXPECT_EQ(Record(1, 4, 90, 3000, L" ").Name(), L"Microsoft Windows Millennium Edition");
    EXPECT_EQ(Record(1, 4, 5).Name(), L"");
    EXPECT_EQ(Record(1, 5, 0).Name(), L"");
}

TEST(COSVersionInfoTest, NamesOfOtherPlatforms) {
    EXPECT_EQ(Record(0, 3, 1).Name(), L"Microsoft Win32s ");
    EXPECT_EQ(Record(77, 3, 1).Name(), L"");
}

TEST(COSVersionInfoTest, VersionTextIsTheNTFamilysAlone) {
    CString text(L"before");
    EXPECT_EQ(Record(1, 4, 10).info.GetVersio(text), 0);
    EXPECT_EQ(Record(0, 4, 10).info.GetVersio(text), 0);
    EXPECT_EQ(Record(4, 6, 1).info.GetVersio(text), 0);
    EXPECT_EQ(Text(text), L"before");
    EXPECT_EQ(Record(2, 5, 1, 2600, L"Service Pack 3").info.GetVersio(text), 1);
    EXPECT_EQ(Text(text), L"Service Pack 3 (Build 2600)");
    EXPECT_EQ(Record(2, 4, 0, 1381, L"Service Pack 6").info.GetVersio(text), 1);
    EXPECT_EQ(Text(text), L"4.0 Service Pack 6 (Build 1381)");
    EXPECT_EQ(Record(2, 3, 51, 1057).info.GetVersio(text), 1);
    EXPECT_EQ(Text(text), L"3.51  (Build 1057)");
}

// ---- DLLs

TEST(AfxGetShellDllVersionTest, DllTellsItsVersion) {
    EXPECT_EQ(AfxGetShellDllVersion(L"system_version_told"), 5ul << 16 | 81);
    EXPECT_NE(AfxTestShellDllVersion(L"system_version_told", 5, 81), 0);
    EXPECT_NE(AfxTestShellDllVersion(L"system_version_told", 4, 99), 0);
    EXPECT_EQ(AfxTestShellDllVersion(L"system_version_told", 5, 82), 0);
    EXPECT_EQ(AfxTestShellDllVersion(L"system_version_told", 6, 0), 0);
    EXPECT_NE(AfxTestShellDllVersion(L"system_version_told", 0x00050051ul), 0);
    EXPECT_EQ(AfxTestShellDllVersion(L"system_version_told", 0x00050052ul), 0);
}

TEST(AfxGetShellDllVersionTest, DllIsUnloadedAgain) {
    AfxGetShellDllVersion(L"system_version_told");
    EXPECT_EQ(GetModuleHandleW(L"system_version_told"), nullptr);
}

TEST(AfxGetShellDllVersionTest, NoVersionIsVersion0) {
    for (const wchar_t* name : {L"system_version_refused", L"mvlib62_cat", L"no_such_library", L""}) {
        EXPECT_EQ(AfxGetShellDllVersion(name), 0ul) << Text(name);
        EXPECT_EQ(AfxTestShellDllVersion(name, 0, 1), 0) << Text(name);
        EXPECT_EQ(AfxTestShellDllVersion(name, 1ul), 0) << Text(name);
        EXPECT_NE(AfxTestShellDllVersion(name, 0, 0), 0) << Text(name);
    }
    EXPECT_EQ(AfxGetShellDllVersion(nullptr), 0ul);
}
