// Conversion of text between wchar_t, UTF-8, UTF-16 and the names of the file system.
#pragma once

#include "../../win32.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace mvplat {

// One step of UTF-8 decoding: the code point at `text` (at least one byte) and its length. A malformed
// sequence gives `invalid` set and the length of its longest well-begun part, which is what one replacement
// character stands for.
struct Utf8Step {
    char32_t codePoint;
    unsigned length;
    bool invalid;
};
Utf8Step decodeUtf8(const char* text, std::size_t size);
// Appends a code point; surrogates are encoded like any other value.
void appendUtf8(std::string& text, char32_t codePoint);

// Text for people: malformed parts become U+FFFD, surrogate pairs are joined.
std::string utf8FromWide(std::wstring_view text);
std::wstring wideFromUtf8(std::string_view text);

// The units of UTF-16 text as wide text, surrogate pairs joined; unpaired surrogates stay.
std::wstring wideFromUtf16(const std::uint16_t* text, std::size_t length);

// The bytes of the text in UTF-16, the low byte of each unit first or the high one.
std::string utf16Bytes(std::wstring_view text, bool highFirst);

// File names, without loss (see api/files.h).
std::string systemPath(std::wstring_view path);
// The same for the length of a call: the usual path takes no memory.
class SystemPath {
public:
    explicit SystemPath(LPCWSTR path);
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;
    const char* c_str() const { return m_text; }

private:
    char m_short[256];
    std::string m_long;
    const char* m_text;
};
std::wstring wideName(std::string_view name);
// A path of the system, its separators turned into backslashes.
std::wstring widePath(std::string_view path);

// Copies `text` into a buffer by the rule of the functions that answer a length or the size needed.
DWORD copyOut(std::wstring_view text, LPWSTR buffer, DWORD size);

} // namespace mvplat
