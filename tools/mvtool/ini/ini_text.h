// What an INI file holds, line by line, and what the library would make of it. docs/ini-files.md has the
// rules.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mvtool::ini {

enum class Encoding {
    empty,    ///< no byte at all
    utf16,    ///< with the mark FF FE: what the library writes
    utf16Big, ///< with the mark FE FF
    utf8,     ///< with the mark EF BB BF
    bytes     ///< without a mark: the system's code page, or UTF-8
};

Encoding encodingOf(std::string_view bytes);
const char* nameOf(Encoding encoding);

/// The file's text. Bytes without a mark are taken for the system's code page, or for UTF-8 on request; false
/// when they are not that.
bool decode(std::string_view bytes, bool asUtf8, std::wstring& text);

/// The text as the library keeps it: UTF-16 with its mark.
std::string encode(std::wstring_view text);

struct Line {
    std::size_t number; ///< from 1
    std::wstring text;  ///< without its line end
};
/// CR LF, LF and CR end a line. Lines of blanks alone are left out.
std::vector<Line> linesOf(const std::wstring& text);

/// Something in a file that the library does not give back as it stands there.
struct Problem {
    std::size_t line;
    std::string text;
};
std::vector<Problem> problemsOf(const std::vector<Line>& lines);

} // namespace mvtool::ini
