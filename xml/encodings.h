// Between the bytes of files and wide text.
#pragma once

#include <cstddef>

namespace mvxml {

// The character of one UTF-8 sequence of several bytes. Answers the sequence's length, 0 when it is
// malformed. Behind the bytes lies a NUL or more text.
int DecodeSequence(const unsigned char* bytes, unsigned int& character);

// Writes the character of a well-formed sequence of several bytes and answers the byte behind it.
inline const unsigned char* DecodeCharacter(const unsigned char* bytes, wchar_t*& target) {
    unsigned int character = 0;
    bytes += DecodeSequence(bytes, character);
    if (sizeof(wchar_t) == 2 && character > 0xFFFF) {
        *target++ = static_cast<wchar_t>(0xD7C0 + (character >> 10));
        *target++ = static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
    } else {
        *target++ = static_cast<wchar_t>(character);
    }
    return bytes;
}

// Whether the bytes, behind which lies a NUL, are UTF-8 up to their first NUL.
bool IsWellFormed(const unsigned char* bytes, std::size_t size);

// The number of UTF-16 units that a unit of text stands for; over whole characters the sum is right.
inline int Utf16Length(wchar_t character) {
    return sizeof(wchar_t) > 2 && static_cast<unsigned long>(character) >> 16 != 0 ? 2 : 1;
}
inline int Utf16Length(unsigned char byte) {
    return byte >= 0xF0 ? 2 : (byte & 0xC0) == 0x80 ? 0 : 1;
}

// Wide text from malloc that ends with a NUL; nothing behind a NUL in the bytes is converted.
// From 8-bit text in the encoding of the global options, as the system converts it. Null, with `exhausted`
// false, when nothing results.
wchar_t* TextFromBytes(const unsigned char* bytes, std::size_t size, int encoding, bool& exhausted);
// From UTF-16 little-endian; behind the bytes lie two zeros. Null when memory is exhausted.
wchar_t* TextFromUtf16(const unsigned char* bytes, std::size_t size);

// UTF-16 little-endian. `bytes` has room for four times `count`; answers the number of bytes. Code points
// that UTF-16 does not know become U+FFFD.
std::size_t Utf16FromText(const wchar_t* units, std::size_t count, unsigned char* bytes);

} // namespace mvxml
