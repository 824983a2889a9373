// Whether the test program runs under Wine, some of whose answers differ from those of Windows.
#pragma once

#include <win32.h>

inline bool UnderWine() {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return system && GetProcAddress(system, "wine_get_version");
}
