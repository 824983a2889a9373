// The code page Windows-1252.
#pragma once

#include <cstdint>

namespace mvplat {

wchar_t wideFrom1252(unsigned char byte);
// The byte of a character, with `bestFit` also of one that merely looks like it; -1 when there is none.
int byteFrom1252(wchar_t unit, bool bestFit);

} // namespace mvplat
