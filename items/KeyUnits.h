// Work on the UTF-16 units of keys: as wide text, one unit per character, and as they are stored. No function
// reads anything but the units that it is given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mvlib::keys {

constexpr bool WIDE_IS_UNIT = sizeof(wchar_t) == sizeof(char16_t);

// Both halves of the product, one upon the other.
inline std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
#if defined(__SIZEOF_INT128__)
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    const std::uint64_t aLow = a & 0xFFFFFFFF, aHigh = a >> 32, bLow = b & 0xFFFFFFFF, bHigh = b >> 32;
    const std::uint64_t low = aLow * bLow;
    const std::uint64_t middle = aHigh * bLow + (low >> 32);
    const std::uint64_t other = aLow * bHigh + (middle & 0xFFFFFFFF);
    return (other << 32 | (low & 0xFFFFFFFF)) ^ (aHigh * bHigh + (middle >> 32) + (other >> 32));
#endif
}

// Hashes wide text, and finds out whether each of its characters is a unit; if not, the hash means nothing.
class Hasher {
public:
    Hasher(const wchar_t* text, std::size_t count) {
        std::uint64_t hash = 0x8EBC6AF09C88C6E3ull ^ count;
        if (count >= 8) {
            for (; count > 16; count -= 8, text += 8) {
                hash = Mix(Four(text) ^ FIRST, Four(text + 4) ^ hash);
            }
            // Eight units at either end of what is left: they may be partly the same.
            const wchar_t* last = text + count - 8;
            hash = Mix(Four(text) ^ FIRST, Four(text + 4) ^ hash) ^
                   Mix(Four(last) ^ SECOND, Four(last + 4) ^ hash);
        } else if (count >= 4) {
            hash = Mix(Four(text) ^ FIRST, Four(text + count - 4) ^ hash);
        } else if (count > 0) {
            const std::uint64_t word = One(text[0]) | One(text[count / 2]) << 16 | One(text[count - 1]) << 32;
            hash = Mix(word ^ FIRST, hash);
        }
        m_hash = static_cast<std::uint32_t>(hash ^ (hash >> 32));
    }

    std::uint32_t Hash() const { return m_hash; }
    bool IsUnits() const { return (m_seen & 0xFFFF0000FFFF0000ull) == 0; }

private:
    static constexpr std::uint64_t FIRST = 0xA0761D6478BD642Full;
    static constexpr std::uint64_t SECOND = 0xE7037ED1A0B428DBull;

    std::uint64_t One(wchar_t character) {
        const std::uint64_t unit = static_cast<std::uint32_t>(character);
        m_seen |= WIDE_IS_UNIT ? 0 : unit;
        return unit;
    }
    // Four units as one word, in whatever order costs least.
    std::uint64_t Four(const wchar_t* text) {
        std::uint64_t words[sizeof(wchar_t) / sizeof(char16_t)];
        std::memcpy(words, text, sizeof words);
        if constexpr (WIDE_IS_UNIT) {
            return words[0];
        } else {
            m_seen |= words[0] | words[1];
            return words[0] | words[1] << 16;
        }
    }

    std::uint64_t m_seen = 0;
    std::uint32_t m_hash;
};

inline std::uint32_t Sum(const wchar_t* units, std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += static_cast<std::uint32_t>(units[i]);
    }
    return sum;
}

inline void Store(char16_t* stored, const wchar_t* units, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        stored[i] = static_cast<char16_t>(units[i]);
    }
}

#if defined(__SSE2__)
inline __m128i Load(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
inline bool AllSet(__m128i equal) {
    return _mm_movemask_epi8(equal) == 0xFFFF;
}
#endif

// Whether stored units are the ones of a wide text.
inline bool IsSame(const char16_t* stored, const wchar_t* units, std::size_t count) {
    if constexpr (WIDE_IS_UNIT) {
        return std::memcmp(stored, units, count * sizeof(char16_t)) == 0;
    }
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const auto eight = [&](std::size_t at) {
        const __m128i both = Load(stored + at);
        return AllSet(_mm_and_si128(_mm_cmpeq_epi32(_mm_unpacklo_epi16(both, zero), Load(units + at)),
                                    _mm_cmpeq_epi32(_mm_unpackhi_epi16(both, zero), Load(units + at + 4))));
    };
    const auto four = [&](std::size_t at) {
        const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(stored + at));
        return AllSet(_mm_cmpeq_epi32(_mm_unpacklo_epi16(half, zero), Load(units + at)));
    };
    if (count >= 8) {
        for (std::size_t at = 0; at + 8 < count; at += 8) {
            if (!eight(at)) {
                return false;
            }
        }
        return eight(count - 8);
    }
    if (count >= 4) {
        return four(0) && four(count - 4);
    }
#endif
    for (std::size_t i = 0; i < count; ++i) {
        if (stored[i] != static_cast<std::uint32_t>(units[i])) {
            return false;
        }
    }
    return true;
}

} // namespace mvlib::keys
