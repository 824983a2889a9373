// Windows keeps these answers in the registry.
#include "SystemName.h"

namespace {

// A key of the registry that is open for reading.
class MachineKey {
public:
    explicit MachineKey(const wchar_t* path)
        : m_open(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_QUERY_VALUE, &m_key) == ERROR_SUCCESS) {}
    ~MachineKey() {
        if (m_open)
            RegCloseKey(m_key);
    }
    MachineKey(const MachineKey&) = delete;
    MachineKey& operator=(const MachineKey&) = delete;

    bool IsOpen() const { return m_open; }
    HKEY Get() const { return m_key; }

private:
    HKEY m_key = nullptr;
    bool m_open;
};

} // namespace

bool ReadProductType(CString& type) {
    constexpr DWORD bytes = 80;
    const MachineKey key(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions");
    wchar_t text[bytes / sizeof(wchar_t) + 1] = L"";
    DWORD size = bytes;
    if (!key.IsOpen() || RegQueryValueExW(key.Get(), L"ProductType", nullptr, nullptr,
                                          reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS)
        return false;
    type = text;
    return true;
}

bool HasServicePack6a() {
    return MachineKey(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Hotfix\\Q246009").IsOpen();
}

CString NameOfOtherSystem(const OSVERSIONINFOEXW&) {
    return CString();
}
