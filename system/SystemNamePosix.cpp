// A record of a Windows version natively comes from a caller; nothing more is known of that system.
#include "SystemName.h"

bool ReadProductType(CString&) {
    return false;
}

bool HasServicePack6a() {
    return false;
}

CString NameOfOtherSystem(const OSVERSIONINFOEXW& record) {
    CString name;
    if (record.dwPlatformId == VER_PLATFORM_POSIX)
        name.Format(L"Linux %u.%u.%u%s", record.dwMajorVersion, record.dwMinorVersion, record.dwBuildNumber,
                    record.szCSDVersion);
    return name;
}
