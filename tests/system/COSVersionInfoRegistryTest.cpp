// What the registry says beside the version record.
#include "MachineRegistry.h"
#include "version_record.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class COSVersionInfoRegistryTest : public testing::Test {
protected:
    void Make(const wchar_t* path, const wchar_t* name = nullptr, const std::string& text = "") {
        HKEY key = nullptr;
        ASSERT_EQ(
            RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
        if (name) {
            std::string data; // UTF-16 on every target
            for (const char c : text + '\0')
                data += std::string(1, c) + '\0';
            RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(data.data()),
                           static_cast<DWORD>(data.size()));
        }
        RegCloseKey(key);
    }
    void SetProduct(const std::string& type) {
        Make(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions", L"ProductType", type);
    }

private:
    MachineRegistry m_registry;
};

TEST_F(COSVersionInfoRegistryTest, KindOfInstallationComesFromTheRegistry) {
    const Record record = Record(2, 4, 0, 1381, L"SP").Plain();
    SetProduct("WinNT");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT Workstation 4.0 SP (Build 1381)");
    SetProduct("LANMANNT");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT Server 4.0 SP (Build 1381)");
    SetProduct("servernt");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT Advanced Server 4.0 SP (Build 1381)");
    SetProduct("else");
    EXPECT_EQ(record.Name(), L"Microsoft Windows NT 4.0 SP (Build 1381)");
    EXPECT_EQ(Record(2, 5, 0, 2195, L"SP").Plain().Name(), L"Microsoft Windows 2000 5.0 SP (Build 2195)");
}

TEST_F(COSVersionInfoRegistryTest, NameIsEmptyWhenTheRegistryDoesNotTell) {
    const Record record = Record(2, 4, 0, 1381, L"SP").Plain();
    EXPECT_EQ(record.Name(), L"") << "no key";
    Make(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions");
    EXPECT_EQ(record.Name(), L"") << "no value";
    SetProduct(std::string(40, 'x'));
    EXPECT_EQ(record.Name(), L"") << "more than 80 bytes";
}

TEST_F(COSVersionInfoRegistryTest, HotfixMakesServicePack6Number6a) {
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

} // namespace
