// What the registry says beside the version record.
#include "version_record.h"

#include <CPathString.h>

#include <gtest/gtest.h>

namespace {

// Puts a key of the test's own in the place of HKEY_LOCAL_MACHINE.
class COSVersionInfoWin32Test : public testing::Test {
protected:
    void SetUp() override {
        RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
        ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kKey, &m_key), ERROR_SUCCESS);
        ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_key), ERROR_SUCCESS);
    }
    void TearDown() override {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_key);
        RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    }
    void Make(const wchar_t* path, const wchar_t* name = nullptr, const std::wstring& text = L"") {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyW(m_key, path, &key), ERROR_SUCCESS);
        if (name) {
            RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
        }
        RegCloseKey(key);
    }
    void SetProduct(const std::wstring& type) {
        Make(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions", L"ProductType", type);
    }

private:
    static constexpr const wchar_t* kKey = L"Software\\mvlib62 tests\\machine";
    HKEY m_key = nullptr;
};

TEST_F(COSVersionInfoWin32Test, KindOfInstallationComesFromTheRegistry) {
    const Record record = Record(2, 4, 0, 1381, L"SP").Plain();
    SetProduct(L"WinNT");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT Workstation 4.0 SP (Build 1381)");
    SetProduct(L"LANMANNT");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT Server 4.0 SP (Build 1381)");
    SetProduct(L"servernt");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT Advanced Server 4.0 SP (Build 1381)");
    SetProduct(L"else");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT 4.0 SP (Build 1381)");
    EXPECT_EQ(Record(2, 5, 0, 2195, L"SP").Plain().Name(), L"Microsoft Windows 2000 5.0 SP (Build 2195)");
}

TEST_F(COSVersionInfoWin32Test, NameIsEmptyWhenTheRegistryDoesNotTell) {
    const Record record = Record(2, 4, 0, 1381, L"SP").Plain();
    EXPECT_EQ(record.Name(), L"") << "no key";
    Make(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions");
    EXPECT_EQ(record.Name(), L"") << "no value";
    SetProduct(std::wstring(40, L'x'));
    EXPECT_EQ(record.Name(), L"") << "more than 80 bytes";
}

TEST_F(COSVersionInfoWin32Test, HotfixMakesServicePack6Number6a) {
    EXPECT_EQ(Record(2, 4, 0, 1381, L"service pack 6").Name(),
              L"Microsoft Windows NT Professional service pack 6 (Build 1381)");
    Make(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Hotfix\\Q246009");
    EXPECT_EQ(Record(2, 4, 0, 1381, L"service pack 6").Name(),
              L"Microsoft Windows NT Professional Service Pack 6a (Build 1381)");
    EXPECT_EQ(Record(2, 4, 0, 1381, L"Service Pack 5").Name(),
              L"Microsoft Windows NT Professional Service Pack 5 (Build 1381)");
    EXPECT_EQ(Record(2, 5, 0, 1381, L"Service Pack 6").Name(),
              L"Microsoft Windows 2000 Professional Service Pack 6 (Build 1381)");
}

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

} // namespace
