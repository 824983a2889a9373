// One string of a module's string table.
#pragma once

#include "win32.h"

#include <cstdint>

namespace mvafx {

struct StringResource {
    const std::uint16_t* pUnits = nullptr; // UTF-16, without NUL; owned by the module
    int nUnits = 0;                        // 0: not there, or empty
};

// The string with the system's order of languages for wLanguageID. A damaged block has no strings.
StringResource findStringResource(HMODULE hModule, UINT nID, WORD wLanguageID);

// Copies at most nSize wide characters, without a NUL, and returns how many those are; with a null target,
// how many the whole string has.
int copyStringResource(const StringResource& resource, wchar_t* pszTo, int nSize);

} // namespace mvafx
