#include "xml/encodings.h"

#include "win32.h"
#include "xml/scan.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace mvxml {

namespace {

constexpr bool WideIsUtf16 = sizeof(wchar_t) == 2;

wchar_t* AllocateText(std::size_t units) {
    if (units > SIZE_MAX / sizeof(wchar_t) - 16)
        return nullptr;
    return static_cast<wchar_t*>(std::malloc((units + 1) * sizeof(wchar_t)));
}

bool IsTail(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

} // namespace

int DecodeSequence(const unsigned char* bytes, unsigned int& character) {
    unsigned int first = bytes[0];
    if (first >= 0xC2 && first <= 0xDF && IsTail(bytes[1])) {
        character = (first & 0x1F) << 6 | (bytes[1] & 0x3Fu);
        return 2;
    }
    if ((first & 0xF0) == 0xE0 && IsTail(bytes[1]) && IsTail(bytes[2])) {
        character = (first & 0x0F) << 12 | (bytes[1] & 0x3Fu) << 6 | (bytes[2] & 0x3Fu);
        return character >= 0x800 && (character & 0xF800) != 0xD800 ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4 && IsTail(bytes[1]) && IsTail(bytes[2]) && IsTail(bytes[3])) {
        character =
            (first & 0x07) << 18 | (bytes[1] & 0x3Fu) << 12 | (bytes[2] & 0x3Fu) << 6 | (bytes[3] & 0x3Fu);
        return character >= 0x10000 && character <= 0x10FFFF ? 4 : 0;
    }
    return 0;
}

bool IsWellFormed(const unsigned char* bytes, std::size_t size) {
    const unsigned char* end = bytes + size;
    for (;;) {
#if defined(__SSE2__)
        while (end - bytes >= 16) {
            Vector block = Load(bytes);
            unsigned int special = Bits(Any(block, Units<1>{block}.Equal(0)));
            if (special) {
                bytes += FirstHit<unsigned char>(special);
                break;
            }
            bytes += 16;
        }
#endif
        if (bytes == end || !*bytes)
            return true;
        if (*bytes < 0x80) {
            ++bytes;
            continue;
        }
        unsigned int character;
        int length = DecodeSequence(bytes, character);
        if (!length)
            return false;
        bytes += length;
    }
}

wchar_t* TextFromBytes(const unsigned char* bytes, std::size_t size, int encoding, bool& exhausted) {
    exhausted = false;
    if (size >= INT_MAX)
        return nullptr;
    wchar_t* text = AllocateText(size);
    if (!text) {
        exhausted = true;
        return nullptr;
    }
    bool utf8 = encoding == 1;
    const char* source = reinterpret_cast<const char*>(bytes);
    int length = static_cast<int>(strnlen(source, size));
    int written = length ? MultiByteToWideChar(utf8 ? CP_UTF8 : CP_ACP, utf8 ? 0 : MB_PRECOMPOSED, source,
                                               length, text, length)
                         : 0;
    text[written > 0 ? written : 0] = 0;
    if (*text)
        return text;
    std::free(text);
    return nullptr;
}

wchar_t* TextFromUtf16(const unsigned char* bytes, std::size_t size) {
    std::size_t units = (size + 1) / 2;
    wchar_t* text = AllocateText(units);
    if (!text)
        return nullptr;
    wchar_t* out = text;
    for (std::size_t i = 0; i < units; ++i) {
        unsigned int unit = bytes[2 * i] | static_cast<unsigned int>(bytes[2 * i + 1]) << 8;
        if (!unit)
            break;
        if (!WideIsUtf16 && (unit & 0xFC00) == 0xD800 && i + 1 < units) {
            unsigned int next = bytes[2 * i + 2] | static_cast<unsigned int>(bytes[2 * i + 3]) << 8;
            if ((next & 0xFC00) == 0xDC00) {
                unit = 0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF));
                ++i;
            }
        }
        *out++ = static_cast<wchar_t>(unit);
    }
    *out = 0;
    return text;
}

std::size_t Utf16FromText(const wchar_t* units, std::size_t count, unsigned char* bytes) {
    unsigned char* out = bytes;
    const wchar_t* end = units + count;
    auto put = [&](unsigned int unit) {
        *out++ = static_cast<unsigned char>(unit);
        *out++ = static_cast<unsigned char>(unit >> 8);
    };
    while (units < end) {
#if defined(__SSE2__)
        if (!WideIsUtf16) {
            for (; end - units >= 8; units += 8, out += 16) {
                __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
                __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 4));
                __m128i above = _mm_srli_epi32(_mm_or_si128(low, high), 16);
                if (_mm_movemask_epi8(_mm_cmpeq_epi32(above, _mm_setzero_si128())) != 0xFFFF)
                    break;
                // The lanes' lower halves are kept through a saturation that never happens.
                low = _mm_srai_epi32(_mm_slli_epi32(low, 16), 16);
                high = _mm_srai_epi32(_mm_slli_epi32(high, 16), 16);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packs_epi32(low, high));
            }
            if (units == end)
                break;
        }
#endif
        unsigned long unit = static_cast<unsigned long>(*units++);
        if (unit > 0x10FFFF)
            put(0xFFFD);
        else if (unit > 0xFFFF) {
            put(static_cast<unsigned int>(0xD7C0 + (unit >> 10)));
            put(static_cast<unsigned int>(0xDC00 + (unit & 0x3FF)));
        } else {
            put(static_cast<unsigned int>(unit));
        }
    }
    return static_cast<std::size_t>(out - bytes);
}

} // namespace mvxml
