// Comparing names as lookups do: without the case of A to Z.
#pragma once

#include "xml/scan.h"
#include "xml/tables.h"

namespace mvxml {

// Whether two texts are equal but for case. Null equals nothing.
inline bool EqualNames(const wchar_t* first, const wchar_t* second) {
    if (!first || !second)
        return false;
#if defined(__SSE2__)
    // Most names differ, and soon; where a unit differs in more than the bit of the case, they do.
    while (CanLoad(first) && CanLoad(second)) {
        Vector units = Load(first);
        Units<sizeof(wchar_t)> differing{_mm_xor_si128(units, Load(second))};
        unsigned int differ = ~Bits(differing.Equal(0)) & 0xFFFF;
        unsigned int ends = Bits(Units<sizeof(wchar_t)>{units}.Equal(0));
        if (ends) { // what lies behind the end does not count
            unsigned int end = ends & (0u - ends);
            differ &= (end - 1) | end * ((1u << sizeof(wchar_t)) - 1);
        }
        if (differ) {
            if (differ & ~Bits(differing.Equal(0x20)))
                return false;
            break; // perhaps only the case: unit by unit
        }
        if (ends)
            return true;
        first += Lanes<wchar_t>;
        second += Lanes<wchar_t>;
    }
#endif
    for (;; ++first, ++second) {
        if (*first != *second && Fold(*first) != Fold(*second))
            return false;
        if (!*first)
            return true;
    }
}

} // namespace mvxml
