#include "ini_text.h"

#include "../reg/reg_file.h"
#include "../text.h"
#include <algorithm>
#include <climits>
#include <map>
#include <win32.h>

namespace mvtool::ini {
namespace {

/// As long as the library reads a value, and a section.
constexpr std::size_t kValueLength = 1024;
constexpr std::size_t kSectionLength = 32767;

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

std::wstring trimmed(std::wstring_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return std::wstring(text);
}

/// Names compare without case, that of the Latin letters at least.
std::wstring folded(std::wstring name) {
    for (wchar_t& c : name) {
        c = c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
    }
    return name;
}

/// Finds what is wrong, line after line.
class Reader {
public:
    std::vector<Problem> run(const std::vector<Line>& lines);

private:
    void section(std::size_t number, const std::wstring& text);
    void content(std::size_t number, const std::wstring& text);
    void add(std::size_t number, std::string text) { m_problems.push_back({number, std::move(text)}); }

    std::vector<Problem> m_problems;
    std::map<std::wstring, std::size_t> m_sections; // by name, the lines where they begin
    std::map<std::wstring, std::size_t> m_keys;
    std::size_t m_length = 0; // of the section as a whole
    bool m_first = true;      // of its name
};

void Reader::section(std::size_t number, const std::wstring& text) {
    const std::size_t close = text.find(L']');
    if (close == std::wstring::npos) {
        add(number, "a section without \"]\" is none");
        return;
    }
    const std::wstring name = trimmed(std::wstring_view(text).substr(1, close - 1));
    const auto [first, isNew] = m_sections.emplace(folded(name), number);
    m_first = isNew;
    if (!isNew) {
        add(number, "the section " + displayText(fromWide(name)) + " is never searched: line " +
                        std::to_string(first->second) + " begins one of that name");
    }
    m_keys.clear();
    m_length = 0;
}

void Reader::content(std::size_t number, const std::wstring& text) {
    if (m_sections.empty()) {
        add(number, "a line before the first section is never read");
        return;
    }
    const std::size_t before = m_length;
    m_length += text.size() + 1;
    if (before < kSectionLength && m_length >= kSectionLength) {
        add(number, "the section is cut here when it is read as a whole: it has more than 32,767 characters");
    }
    const std::size_t equals = text.find(L'=');
    if (equals == std::wstring::npos || !m_first) {
        return;
    }
    const std::wstring key = trimmed(std::wstring_view(text).substr(0, equals));
    const auto [first, isNew] = m_keys.emplace(folded(key), number);
    if (!isNew) {
        add(number, "the key " + displayText(fromWide(key)) + " is never read: line " +
                        std::to_string(first->second) + " has one of that name");
    }
    if (trimmed(std::wstring_view(text).substr(equals + 1)).size() > kValueLength) {
        add(number,
            "the value of " + displayText(fromWide(key)) + " is cut: it has more than 1,024 characters");
    }
}

std::vector<Problem> Reader::run(const std::vector<Line>& lines) {
    for (const Line& line : lines) {
        const std::wstring text = trimmed(line.text);
        if (text.front() == L'[') {
            section(line.number, text);
        } else if (text.front() != L';') {
            content(line.number, text);
        }
    }
    return std::move(m_problems);
}

} // namespace

Encoding encodingOf(std::string_view bytes) {
    if (bytes.empty()) {
        return Encoding::empty;
    }
    if (bytes.starts_with("\xFF\xFE")) {
        return Encoding::utf16;
    }
    if (bytes.starts_with("\xFE\xFF")) {
        return Encoding::utf16Big;
    }
    return bytes.starts_with("\xEF\xBB\xBF") ? Encoding::utf8 : Encoding::bytes;
}

const char* nameOf(Encoding encoding) {
    static constexpr const char* kNames[] = {"empty", "UTF-16 with its mark",
                                             "UTF-16 in the other byte order", "UTF-8 with a mark",
                                             "text without a mark"};
    return kNames[static_cast<int>(encoding)];
}

bool decode(std::string_view bytes, bool asUtf8, std::wstring& text) {
    text.clear();
    switch (encodingOf(bytes)) {
    case Encoding::empty:
        return true;
    case Encoding::utf16:
        text = reg::fromUtf16(bytes.substr(2));
        return true;
    case Encoding::utf16Big: {
        std::string turned(bytes.substr(2));
        for (std::size_t i = 0; i + 1 < turned.size(); i += 2) {
            std::swap(turned[i], turned[i + 1]);
        }
        text = reg::fromUtf16(turned);
        return true;
    }
    case Encoding::utf8:
        bytes.remove_prefix(3);
        asUtf8 = true;
        break;
    case Encoding::bytes:
        break;
    }
    if (asUtf8) {
        const std::optional<std::wstring> wide = toWide(bytes);
        text = wide.value_or(std::wstring());
        return wide.has_value();
    }
    if (bytes.size() > static_cast<std::size_t>(INT_MAX)) {
        return false;
    }
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
    return length > 0 && MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.data(), length) == length;
}

std::string encode(std::wstring_view text) {
    return "\xFF\xFE" + reg::utf16Bytes(text);
}

std::vector<Line> linesOf(const std::wstring& text) {
    std::vector<Line> lines;
    std::size_t number = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find_first_of(L"\r\n", at), text.size());
        ++number;
        if (!trimmed(std::wstring_view(text).substr(at, end - at)).empty()) {
            lines.push_back({number, text.substr(at, end - at)});
        }
        at = end + (end + 1 < text.size() && text[end] == L'\r' && text[end + 1] == L'\n' ? 2 : 1);
    }
    return lines;
}

std::vector<Problem> problemsOf(const std::vector<Line>& lines) {
    return Reader().run(lines);
}

} // namespace mvtool::ini
