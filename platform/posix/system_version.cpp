// The version of the running system.
#include "internal/text.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <sys/utsname.h>

namespace {

// Takes a number off the front of a release; 0 when there is none.
DWORD takeNumber(const char*& release) {
    char* end = nullptr;
    const unsigned long number = *release >= '0' && *release <= '9' ? std::strtoul(release, &end, 10) : 0;
    if (end)
        release = end;
    return static_cast<DWORD>(number);
}

} // namespace

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW information) {
    const DWORD size = information ? information->dwOSVersionInfoSize : 0;
    utsname names = {};
    if ((size != sizeof(OSVERSIONINFOW) && size != sizeof(OSVERSIONINFOEXW)) || ::uname(&names) != 0) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    const char* rest = names.release;
    DWORD numbers[3] = {};
    for (int i = 0; i < 3; ++i) {
        if (i > 0 && *rest == '.')
            ++rest;
        else if (i > 0)
            break;
        numbers[i] = takeNumber(rest);
    }
    information->dwMajorVersion = numbers[0];
    information->dwMinorVersion = numbers[1];
    information->dwBuildNumber = numbers[2];
    information->dwPlatformId = VER_PLATFORM_POSIX;
    std::wmemset(information->szCSDVersion, 0, 128);
    const std::wstring text = mvplat::wideFromUtf8(rest);
    std::wmemcpy(information->szCSDVersion, text.data(), std::min<std::size_t>(text.size(), 127));
    if (size == sizeof(OSVERSIONINFOEXW)) {
        auto* extended = reinterpret_cast<OSVERSIONINFOEXW*>(information);
        extended->wServicePackMajor = 0;
        extended->wServicePackMinor = 0;
        extended->wSuiteMask = 0;
        extended->wProductType = VER_NT_WORKSTATION;
        extended->wReserved = 0;
    }
    return TRUE;
}
