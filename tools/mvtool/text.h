// Text conversions of the tool: UTF-8 outside, UTF-16 units in record files, wchar_t towards the library.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mvtool {

/// UTF-8 of UTF-16 units for a person to read: control characters, marks that change the writing direction,
/// lone surrogates and the backslash are written as escapes, so that a name can neither steer the terminal
/// nor look like another.
std::string displayName(std::u16string_view units);

/// The same for a UTF-8 text (a path, a message): only what could steer a terminal is escaped, and bytes that
/// are not UTF-8.
std::string displayText(std::string_view utf8);

/// A text of the library's kind as UTF-8; a lone surrogate or an impossible code point becomes U+FFFD.
std::string fromWide(std::wstring_view text);

/// UTF-8 as the library's kind of text; nothing when the bytes are not valid UTF-8.
std::optional<std::wstring> toWide(std::string_view utf8);

/// A path for the library. Bytes that are not UTF-8 become U+DC80 to U+DCFF, as the library has them
/// natively.
std::wstring widePath(std::string_view path);

/// The units of a file name that the system keeps as bytes. Bytes that are not UTF-8 become the units 0xDC80
/// to 0xDCFF, one a byte, so that nothing is lost.
std::u16string unitsFromBytes(std::string_view bytes);

/// The reverse. Nothing when the units cannot have come from unitsFromBytes (another lone surrogate, or
/// escaped bytes that together are valid UTF-8).
std::optional<std::string> bytesFromUnits(std::u16string_view units);

/// True when every unit stands for itself or is part of a surrogate pair.
bool wellFormed(std::u16string_view units);

/// "1 file", "2 files": a count with its noun, which gets an "s" as needed.
std::string counted(unsigned long long n, std::string_view noun);

/// Two small hexadecimal digits a byte, without space between.
std::string hex(std::string_view bytes);

} // namespace mvtool
