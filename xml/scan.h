// Copying a text up to the next unit that matters, several units a step.
//
// The text ends with a NUL, which is always among the units that matter. A step loads 16 bytes and may
// thereby read behind the NUL, but never in another memory page than a unit of the text lies in; near a
// page's end the steps are single units.
#pragma once

#include "xml/encodings.h"
#include "xml/record.h"
#include "xml/tables.h"

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mvxml {

#if defined(__SSE2__)

using Vector = __m128i;
template <class Unit>
constexpr std::ptrdiff_t Lanes = sizeof(Vector) / sizeof(Unit);

template <class Unit>
inline bool CanLoad(const Unit* text) {
    return (reinterpret_cast<std::uintptr_t>(text) & 4095) <= 4096 - sizeof(Vector);
}
// Reads behind the text's end by design, so that address checking is off for this one access.
template <class Unit>
__attribute__((no_sanitize("address", "thread"))) inline Vector Load(const Unit* text) {
    return _mm_loadu_si128(reinterpret_cast<const Vector*>(text));
}
inline void Store(void* target, Vector units) {
    _mm_storeu_si128(static_cast<Vector*>(target), units);
}

// A vector of units of `Size` bytes.
template <std::size_t Size>
struct Units {
    Vector v;

    static Vector Splat(int unit) {
        return Size == 4   ? _mm_set1_epi32(unit)
               : Size == 2 ? _mm_set1_epi16(static_cast<short>(unit))
                           : _mm_set1_epi8(static_cast<char>(unit));
    }
    Vector Equal(int unit) const {
        return Size == 4   ? _mm_cmpeq_epi32(v, Splat(unit))
               : Size == 2 ? _mm_cmpeq_epi16(v, Splat(unit))
                           : _mm_cmpeq_epi8(v, Splat(unit));
    }
    // Units from 0 to `unit`; of 4 bytes also negative ones, so that hits want a second look.
    Vector AtMost(int unit) const {
        Vector zero = _mm_setzero_si128();
        return Size == 4   ? _mm_cmplt_epi32(v, Splat(unit + 1))
               : Size == 2 ? _mm_cmpeq_epi16(_mm_subs_epu16(v, Splat(unit)), zero)
                           : _mm_cmpeq_epi8(_mm_subs_epu8(v, Splat(unit)), zero);
    }
    // Units from `first` to `last`.
    Vector Between(int first, int last) const {
        Vector zero = _mm_setzero_si128();
        return Size == 4
                   ? _mm_and_si128(_mm_cmpgt_epi32(v, Splat(first - 1)), _mm_cmplt_epi32(v, Splat(last + 1)))
               : Size == 2
                   ? _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(v, Splat(first)), Splat(last - first)),
                                     zero)
                   : _mm_cmpeq_epi8(_mm_subs_epu8(_mm_sub_epi8(v, Splat(first)), Splat(last - first)), zero);
    }
};
template <class... Vectors>
inline Vector Any(Vector first, Vectors... others) {
    ((first = _mm_or_si128(first, others)), ...);
    return first;
}
inline unsigned int Bits(Vector hits) {
    return static_cast<unsigned int>(_mm_movemask_epi8(hits));
}
template <class Unit>
inline std::ptrdiff_t FirstHit(unsigned int bits) {
    return static_cast<std::ptrdiff_t>(static_cast<unsigned int>(__builtin_ctz(bits)) / sizeof(Unit));
}

// Writes 16 units from 16 bytes that are characters below 256.
inline void Widen(Vector bytes, wchar_t* target) {
    Vector zero = _mm_setzero_si128();
    Vector low = _mm_unpacklo_epi8(bytes, zero);
    Vector high = _mm_unpackhi_epi8(bytes, zero);
    if constexpr (sizeof(wchar_t) == 2) {
        Store(target, low);
        Store(target + 8, high);
    } else {
        Store(target, _mm_unpacklo_epi16(low, zero));
        Store(target + 4, _mm_unpackhi_epi16(low, zero));
        Store(target + 8, _mm_unpacklo_epi16(high, zero));
        Store(target + 12, _mm_unpackhi_epi16(high, zero));
    }
}

#endif

// What ends a run. `Is` decides; `Find` reports the same units, or, where it is not exact, some more.
template <wchar_t... Stops>
struct OneOf {
    static constexpr bool Exact = true;
    static bool Is(wchar_t unit) { return ((unit == Stops) || ...); }
#if defined(__SSE2__)
    template <class Vectors>
    static Vector Find(Vectors units) {
        return Any(units.Equal(Stops)...);
    }
#endif
};
using TextStops = OneOf<L'<', L'&', 0>;
template <wchar_t Quote>
using ValueStops = OneOf<Quote, L'<', L'&', 0>;
using MarkupStops = OneOf<L'<', 0>;
using TagCloseStops = OneOf<L'>', 0>;
using DoctypeStops = OneOf<L'<', L'>', 0>;
using EndStops = OneOf<0>;
struct NameStops {
    static constexpr bool Exact = false; // negative units
    static bool Is(wchar_t unit) { return HasClass(unit, ClassNameEnd); }
#if defined(__SSE2__)
    template <class Vectors>
    static Vector Find(Vectors units) {
        return Any(units.AtMost(' '), units.Equal('/'), units.Between('<', '>'));
    }
#endif
};
struct EscapeStops {
    static constexpr bool Exact = true;
    static bool Is(wchar_t unit) { return unit == 0 || HasClass(unit, ClassEscape); }
#if defined(__SSE2__)
    template <class Vectors>
    static Vector Find(Vectors units) {
        return Any(units.Equal('<'), units.Equal('>'), units.Equal('"'), units.Equal('&'), units.Equal('\''),
                   units.Equal(0));
    }
#endif
};

// The first unit at or behind `text` that stops.
template <class Stops, class Unit>
inline const Unit* FindStop(const Unit* text) {
    for (;;) {
#if defined(__SSE2__)
        if (CanLoad(text)) {
            unsigned int bits = Bits(Stops::Find(Units<sizeof(Unit)>{Load(text)}));
            if (!bits) {
                text += Lanes<Unit>;
                continue;
            }
            text += FirstHit<Unit>(bits);
            if constexpr (Stops::Exact)
                return text;
        }
#endif
        if (Stops::Is(*text))
            return text;
        ++text;
    }
}

// Whether `length` units (not 0) are the same here and at an earlier place of the same text.
template <class Unit>
inline bool EqualUnits(const Unit* first, const Unit* earlier, std::size_t length) {
#if defined(__SSE2__)
    constexpr std::size_t Step = sizeof(Vector) / sizeof(Unit);
    // Where 16 bytes can be read here, they can be read at the earlier place too.
    while (CanLoad(first)) {
        unsigned int differing = ~Bits(_mm_cmpeq_epi8(Load(first), Load(earlier))) & 0xFFFF;
        if (length <= Step)
            return (differing & ((1u << (length * sizeof(Unit))) - 1)) == 0;
        if (differing)
            return false;
        first += Step;
        earlier += Step;
        length -= Step;
    }
#endif
    for (; length; --length) {
        if (*first++ != *earlier++)
            return false;
    }
    return true;
}

// Copies units to `out` up to the first that stops, which it answers; `out` is then behind the last one
// copied. Bytes are UTF-8 that is known to be well-formed. `room.Ensure(out)` makes sure that there is space
// for CopyRoom bytes at `out`, which it may move.
constexpr std::ptrdiff_t CopyRoom = 80;

template <class Stops, class Room>
inline const wchar_t* CopyToStop(const wchar_t* text, wchar_t*& out, Room& room) {
    wchar_t* target = out;
    for (;;) {
        room.Ensure(target);
#if defined(__SSE2__)
        if (CanLoad(text)) {
            Vector units = Load(text);
            Store(target, units);
            unsigned int bits = Bits(Stops::Find(Units<sizeof(wchar_t)>{units}));
            if (!bits) {
                text += Lanes<wchar_t>;
                target += Lanes<wchar_t>;
                continue;
            }
            std::ptrdiff_t hit = FirstHit<wchar_t>(bits);
            text += hit;
            target += hit;
            if constexpr (Stops::Exact) {
                out = target;
                return text;
            }
        }
#endif
        if (Stops::Is(*text)) {
            out = target;
            return text;
        }
        *target++ = *text++;
    }
}

template <class Stops, class Room>
inline const unsigned char* CopyToStop(const unsigned char* text, wchar_t*& out, Room& room) {
    wchar_t* target = out;
    for (;;) {
        room.Ensure(target);
#if defined(__SSE2__)
        if (CanLoad(text)) {
            Vector units = Load(text);
            Widen(units, target);
            unsigned int bits = Bits(_mm_or_si128(Stops::Find(Units<1>{units}), units));
            if (!bits) {
                text += Lanes<unsigned char>;
                target += Lanes<unsigned char>;
                continue;
            }
            std::ptrdiff_t hit = FirstHit<unsigned char>(bits);
            text += hit;
            target += hit;
        }
#endif
        if (*text >= 0x80) {
            text = DecodeCharacter(text, target);
            continue;
        }
        if (Stops::Is(static_cast<wchar_t>(*text))) {
            out = target;
            return text;
        }
        *target++ = static_cast<wchar_t>(*text++);
    }
}

} // namespace mvxml
