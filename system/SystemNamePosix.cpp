#include "SystemName.h"

CString NameOfOtherSystem(const OSVERSIONINFOEXW& record) {
    CString name;
    if (record.dwPlatformId == VER_PLATFORM_POSIX)
        name.Format(L"Linux %u.%u.%u%s", record.dwMajorVersion, record.dwMinorVersion, record.dwBuildNumber,
                    record.szCSDVersion);
    return name;
}
