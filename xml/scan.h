// Copying a text up to the next unit that matters, several units a step.
//
// The text ends with a NUL, which is always among the units that matter. A step loads 16 bytes and may
// thereby read behind the NUL, but never in another memory page than a unit of the text lies in; near a
// page's end the steps are single units.
#pragma once

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
constexpr std::ptrdiff_t Lanes = sizeof(Vector) / sizeof(wchar_t);
constexpr bool WideLanes = sizeof(wchar_t) == 4;

inline bool CanLoad(const wchar_t* text) {
    return (reinterpret_cast<std::uintptr_t>(text) & 4095) <= 4096 - sizeof(Vector);
}
// Reads behind the text's end by design, so that address checking is off for this one access.
__attribute__((no_sanitize("address", "thread"))) inline Vector Load(const wchar_t* text) {
    return _mm_loadu_si128(reinterpret_cast<const Vector*>(text));
}
inline void Store(wchar_t* target, Vector units) {
    _mm_storeu_si128(reinterpret_cast<Vector*>(target), units);
}
inline Vector Splat(int unit) {
    return WideLanes ? _mm_set1_epi32(unit) : _mm_set1_epi16(static_cast<short>(unit));
}
inline Vector Equal(Vector units, int unit) {
    return WideLanes ? _mm_cmpeq_epi32(units, Splat(unit)) : _mm_cmpeq_epi16(units, Splat(unit));
}
// Units from 0 to `unit`; natively also negative ones, so that hits want a second look.
inline Vector AtMost(Vector units, int unit) {
    return WideLanes ? _mm_cmplt_epi32(units, Splat(unit + 1))
                     : _mm_cmpeq_epi16(_mm_subs_epu16(units, Splat(unit)), _mm_setzero_si128());
}
// Units from `first` to `last`.
inline Vector Between(Vector units, int first, int last) {
    if (WideLanes)
        return _mm_and_si128(_mm_cmpgt_epi32(units, Splat(first - 1)),
                             _mm_cmplt_epi32(units, Splat(last + 1)));
    return _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(units, Splat(first)), Splat(last - first)),
                           _mm_setzero_si128());
}
inline unsigned int Bits(Vector hits) {
    return static_cast<unsigned int>(_mm_movemask_epi8(hits));
}
inline std::ptrdiff_t FirstHit(unsigned int bits) {
    return static_cast<std::ptrdiff_t>(__builtin_ctz(bits)) / static_cast<std::ptrdiff_t>(sizeof(wchar_t));
}

#endif

// What ends a run. `Is` decides; `Find` may report units that `Is` refuses, never the reverse.
struct TextStops {
    static bool Is(wchar_t unit) { return unit == L'<' || unit == L'&' || unit == 0; }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(_mm_or_si128(_mm_or_si128(Equal(units, '<'), Equal(units, '&')), Equal(units, 0)));
    }
#endif
};
template <wchar_t Quote>
struct ValueStops {
    static bool Is(wchar_t unit) { return unit == Quote || unit == L'<' || unit == L'&' || unit == 0; }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(_mm_or_si128(_mm_or_si128(Equal(units, '<'), Equal(units, '&')),
                                 _mm_or_si128(Equal(units, Quote), Equal(units, 0))));
    }
#endif
};
struct NameStops {
    static bool Is(wchar_t unit) { return HasClass(unit, ClassNameEnd); }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(
            _mm_or_si128(_mm_or_si128(AtMost(units, ' '), Equal(units, '/')), Between(units, '<', '>')));
    }
#endif
};
struct EscapeStops {
    static bool Is(wchar_t unit) { return unit == 0 || HasClass(unit, ClassEscape); }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(_mm_or_si128(_mm_or_si128(_mm_or_si128(Equal(units, '<'), Equal(units, '>')),
                                              _mm_or_si128(Equal(units, '"'), Equal(units, '&'))),
                                 _mm_or_si128(Equal(units, '\''), Equal(units, 0))));
    }
#endif
};
struct MarkupStops {
    static bool Is(wchar_t unit) { return unit == L'<' || unit == 0; }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(_mm_or_si128(Equal(units, '<'), Equal(units, 0)));
    }
#endif
};
struct TagCloseStops {
    static bool Is(wchar_t unit) { return unit == L'>' || unit == 0; }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(_mm_or_si128(Equal(units, '>'), Equal(units, 0)));
    }
#endif
};
struct DoctypeStops {
    static bool Is(wchar_t unit) { return unit == L'<' || unit == L'>' || unit == 0; }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(_mm_or_si128(_mm_or_si128(Equal(units, '<'), Equal(units, '>')), Equal(units, 0)));
    }
#endif
};
struct EndStops {
    static bool Is(wchar_t unit) { return unit == 0; }
#if defined(__SSE2__)
    static unsigned int Find(Vector units) {
        return Bits(Equal(units, 0));
    }
#endif
};

// The first unit at or behind `text` that stops.
template <class Stops>
inline const wchar_t* FindStop(const wchar_t* text) {
    for (;;) {
#if defined(__SSE2__)
        if (CanLoad(text)) {
            unsigned int bits = Stops::Find(Load(text));
            if (!bits) {
                text += Lanes;
                continue;
            }
            text += FirstHit(bits);
        }
#endif
        if (Stops::Is(*text))
            return text;
        ++text;
    }
}

// Copies units to `out` up to the first that stops, which it answers; `out` is then behind the last one
// copied. `room.Ensure(out)` makes sure that there is space for two vectors at `out`, which it may move.
template <class Stops, class Room>
inline const wchar_t* CopyToStop(const wchar_t* text, wchar_t*& out, Room& room) {
    wchar_t* target = out;
    for (;;) {
        room.Ensure(target);
#if defined(__SSE2__)
        if (CanLoad(text)) {
            Vector units = Load(text);
            Store(target, units);
            unsigned int bits = Stops::Find(units);
            if (!bits) {
                text += Lanes;
                target += Lanes;
                continue;
            }
            std::ptrdiff_t hit = FirstHit(bits);
            text += hit;
            target += hit;
        }
#endif
        if (Stops::Is(*text)) {
            out = target;
            return text;
        }
        *target++ = *text++;
    }
}

} // namespace mvxml
