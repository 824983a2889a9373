// Letters without their case, as file names, registry names and names in profiles are compared.
#pragma once

#include <string>
#include <string_view>

namespace mvplat {

wchar_t upperCaseBeyondAscii(wchar_t unit);

inline wchar_t upperCase(wchar_t unit) {
    if (unit < 0x80)
        return unit >= L'a' && unit <= L'z' ? unit - (L'a' - L'A') : unit;
    return upperCaseBeyondAscii(unit);
}

std::wstring upperCase(std::wstring_view text);
bool equalButForCase(std::wstring_view first, std::wstring_view second);

} // namespace mvplat
