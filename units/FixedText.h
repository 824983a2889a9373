// Numbers as text with a fixed number of decimals.
#pragma once

#include <cstddef>

namespace mvlib::units {

// Room for a sign, 309 digits, the point and three decimals.
constexpr std::size_t FIXED_TEXT_SIZE = 320;

// Writes what printf writes for "%.*f", for a finite value and 0 to 3 decimals, without a NUL. Answers the
// end.
wchar_t* WriteFixed(wchar_t* text, double value, int decimals);
// Writes what printf writes for "%i".
wchar_t* WriteInt(wchar_t* text, int value);

} // namespace mvlib::units
