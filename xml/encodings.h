// Between the bytes of files and wide text.
#pragma once

#include <cstddef>

namespace mvxml {

// Wide text from malloc that ends with a NUL; nothing behind a NUL in the bytes is converted.
// From 8-bit text in the encoding of the global options. Null, with `exhausted` false, when nothing results.
wchar_t* TextFromBytes(const unsigned char* bytes, std::size_t size, int encoding, bool& exhausted);
// From UTF-16 little-endian; behind the bytes lie two zeros. Null when memory is exhausted.
wchar_t* TextFromUtf16(const unsigned char* bytes, std::size_t size);

// UTF-16 little-endian. `bytes` has room for four times `count`; answers the number of bytes. Code points
// that UTF-16 does not know become U+FFFD.
std::size_t Utf16FromText(const wchar_t* units, std::size_t count, unsigned char* bytes);

} // namespace mvxml
