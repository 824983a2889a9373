// The answers that Windows keeps in the registry, from the registry of the target.
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
    const MachineKey key(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions");
    unsigned char data[80];
    DWORD size = sizeof data;
    if (!key.IsOpen() ||
        RegQueryValueExW(key.Get(), L"ProductType", nullptr, nullptr, data, &size) != ERROR_SUCCESS)
        return false;
    // UTF-16 whatever a wchar_t is.
    type.Empty();
    for (DWORD i = 0; i + 1 < size && (data[i] | data[i + 1]) != 0; i += 2)
        type += static_cast<wchar_t>(data[i] | data[i + 1] << 8);
    return true;
}

bool HasServicePack6a() {
    return MachineKey(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Hotfix\\Q246009").IsOpen();
}
