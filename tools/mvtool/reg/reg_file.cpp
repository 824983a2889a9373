#include "reg_file.h"

#include "../text.h"
#include <algorithm>
#include <optional>

namespace mvtool::reg {
namespace {

constexpr std::wstring_view kSignature = L"Windows Registry Editor Version 5.00";
constexpr std::wstring_view kOldSignature = L"REGEDIT4";
constexpr std::size_t kLineWidth = 76;

std::optional<unsigned> hexDigit(wchar_t c) {
    if (c >= L'0' && c <= L'9') {
        return static_cast<unsigned>(c - L'0');
    }
    if (c >= L'a' && c <= L'f') {
        return static_cast<unsigned>(c - L'a' + 10);
    }
    if (c >= L'A' && c <= L'F') {
        return static_cast<unsigned>(c - L'A' + 10);
    }
    return std::nullopt;
}

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}
bool isLineEnd(wchar_t c) {
    return c == L'\r' || c == L'\n';
}

std::wstring decode(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE")) {
        return fromUtf16(bytes.substr(2));
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
    }
    std::optional<std::wstring> text = toWide(bytes);
    if (!text) {
        throw Failure(Exit::damaged, "neither UTF-16 with its mark nor UTF-8");
    }
    return *std::move(text);
}

class Parser {
public:
    explicit Parser(std::wstring text)
        : m_text(std::move(text)) {}

    std::vector<Key> run();

private:
    wchar_t peek(std::size_t ahead = 0) const {
        return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : L'\0';
    }
    bool atEnd() const { return m_at >= m_text.size(); }
    bool take(std::wstring_view word) {
        if (std::wstring_view(m_text).substr(m_at, word.size()) != word) {
            return false;
        }
        m_at += word.size();
        return true;
    }
    void skipBlanks() {
        while (isBlank(peek())) {
            ++m_at;
        }
    }
    /// CR LF, LF or CR.
    void nextLine() {
        if (peek() == L'\r' && peek(1) == L'\n') {
            ++m_at;
        }
        if (!atEnd()) {
            ++m_at;
        }
        ++m_line;
    }
    [[noreturn]] void fail(const std::string& what) const {
        throw Failure(Exit::damaged, "line " + std::to_string(m_line) + ": " + what);
    }
    void signature();
    void endOfLine();
    void key(std::vector<Key>& keys);
    std::wstring quoted();
    Value value();
    std::string hexBytes();
    std::uint32_t hexNumber(const char* what);

    std::wstring m_text;
    std::size_t m_at = 0;
    std::size_t m_line = 1;
};

void Parser::signature() {
    skipBlanks();
    if (take(kOldSignature)) {
        fail("a file of version 4, which is not read; export it anew");
    }
    if (!take(kSignature)) {
        fail("not a registry file: it does not begin with \"" + fromWide(kSignature) + '"');
    }
    endOfLine();
}

/// Blanks, a comment, and the line's end.
void Parser::endOfLine() {
    skipBlanks();
    if (peek() == L';') {
        while (!atEnd() && !isLineEnd(peek())) {
            ++m_at;
        }
    }
    if (!atEnd() && !isLineEnd(peek())) {
        fail("something behind the end of the entry");
    }
    nextLine();
}

/// A name may hold "]", so the last one of the line ends the path.
void Parser::key(std::vector<Key>& keys) {
    ++m_at;
    Key found;
    found.remove = take(L"-");
    std::size_t end = m_at;
    std::size_t last = std::wstring::npos;
    for (; end < m_text.size() && !isLineEnd(m_text[end]); ++end) {
        if (m_text[end] == L']') {
            last = end;
        }
    }
    if (last == std::wstring::npos) {
        fail("a key without \"]\"");
    }
    found.path = m_text.substr(m_at, last - m_at);
    if (found.path.empty() || found.path.find(L'\0') != std::wstring::npos) {
        fail("a key without a name");
    }
    m_at = last + 1;
    endOfLine();
    keys.push_back(std::move(found));
}

/// A text may hold line ends.
std::wstring Parser::quoted() {
    if (!take(L"\"")) {
        fail("a quote is missing");
    }
    std::wstring text;
    for (;;) {
        if (atEnd()) {
            fail("a text without end");
        }
        const wchar_t c = m_text[m_at++];
        if (c == L'"') {
            return text;
        }
        if (c == L'\0') {
            fail("a NUL inside a text");
        }
        if (c == L'\\') {
            const wchar_t next = peek();
            if (next != L'\\' && next != L'"') {
                fail("\"\\\" in a text stands before \"\\\" or a quote only");
            }
            ++m_at;
            text += next;
            continue;
        }
        if (c == L'\n' || (c == L'\r' && peek() != L'\n')) {
            ++m_line;
        }
        text += c;
    }
}

std::uint32_t Parser::hexNumber(const char* what) {
    std::uint32_t number = 0;
    int digits = 0;
    for (; hexDigit(peek()) && digits < 9; ++digits, ++m_at) {
        number = number << 4 | *hexDigit(peek());
    }
    if (digits == 0 || digits > 8) {
        fail(std::string(what) + " has 1 to 8 hexadecimal digits");
    }
    return number;
}

/// Bytes of one or two digits between commas; a "\" at a line's end goes on in the next one.
std::string Parser::hexBytes() {
    std::string bytes;
    for (;;) {
        skipBlanks();
        if (peek() == L'\\') {
            ++m_at;
            skipBlanks();
            if (!isLineEnd(peek())) {
                fail("\"\\\" among bytes stands at the end of a line only");
            }
            nextLine();
            continue;
        }
        const std::optional<unsigned> first = hexDigit(peek());
        if (!first) {
            if (peek() == L',') {
                fail("a byte is missing");
            }
            return bytes;
        }
        ++m_at;
        const std::optional<unsigned> second = hexDigit(peek());
        m_at += second ? 1 : 0;
        bytes += static_cast<char>(second ? *first << 4 | *second : *first);
        skipBlanks();
        if (peek() != L',') {
            return bytes;
        }
        ++m_at;
    }
}

Value Parser::value() {
    Value found;
    if (peek() == L'@') {
        ++m_at;
    } else {
        found.name = quoted();
    }
    skipBlanks();
    if (!take(L"=")) {
        fail("\"=\" is missing");
    }
    skipBlanks();
    if (take(L"-")) {
        found.remove = true;
    } else if (peek() == L'"') {
        found.type = kText;
        found.data = utf16Bytes(quoted() + L'\0');
    } else if (take(L"dword:")) {
        found.type = kNumber;
        const std::uint32_t number = hexNumber("a dword");
        for (int i = 0; i < 4; ++i) {
            found.data += static_cast<char>(number >> (8 * i));
        }
    } else if (take(L"hex:")) {
        found.type = kBinary;
        found.data = hexBytes();
    } else if (take(L"hex(")) {
        found.type = hexNumber("a type");
        if (!take(L"):")) {
            fail("\"):\" is missing");
        }
        found.data = hexBytes();
    } else {
        fail("a kind of data that is not known");
    }
    endOfLine();
    return found;
}

std::vector<Key> Parser::run() {
    signature();
    std::vector<Key> keys;
    while (!atEnd()) {
        skipBlanks();
        if (atEnd()) {
            break;
        }
        const wchar_t c = peek();
        if (c == L';' || isLineEnd(c)) {
            endOfLine();
        } else if (c == L'[') {
            key(keys);
        } else if (c == L'@' || c == L'"') {
            if (keys.empty()) {
                fail("a value before the first key");
            }
            if (keys.back().remove) {
                fail("a value in a key that is deleted");
            }
            keys.back().values.push_back(value());
        } else {
            fail("neither a key nor a value");
        }
    }
    return keys;
}

std::wstring quote(std::wstring_view text) {
    std::wstring quotedText = L"\"";
    for (const wchar_t c : text) {
        if (c == L'\\' || c == L'"') {
            quotedText += L'\\';
        }
        quotedText += c;
    }
    return quotedText + L'"';
}

std::wstring hexOf(std::uint32_t number, int digits) {
    std::wstring text;
    for (int i = digits - 1; i >= 0; --i) {
        text += L"0123456789abcdef"[number >> (4 * i) & 0xF];
    }
    return text;
}

void appendValue(std::wstring& text, const Value& value) {
    std::wstring line = value.name.empty() ? L"@" : quote(value.name);
    line += L'=';
    if (value.remove) {
        text += line + L"-\r\n";
        return;
    }
    if (value.type == kText && isPlainText(value.data)) {
        std::wstring content = fromUtf16(value.data);
        content.pop_back();
        text += line + quote(content) + L"\r\n";
        return;
    }
    if (value.type == kNumber && value.data.size() == 4) {
        std::uint32_t number = 0;
        for (int i = 3; i >= 0; --i) {
            number = number << 8 | static_cast<unsigned char>(value.data[static_cast<std::size_t>(i)]);
        }
        text += line + L"dword:" + hexOf(number, 8) + L"\r\n";
        return;
    }
    if (value.type == kBinary) {
        line += L"hex:";
    } else {
        std::wstring type = hexOf(value.type, 8);
        type.erase(0, std::min(type.find_first_not_of(L'0'), type.size() - 1));
        line += L"hex(" + type + L"):";
    }
    for (std::size_t i = 0; i < value.data.size(); ++i) {
        line += hexOf(static_cast<unsigned char>(value.data[i]), 2);
        if (i + 1 < value.data.size()) {
            line += L',';
            if (line.size() >= kLineWidth) {
                text += line + L"\\\r\n";
                line = L"  ";
            }
        }
    }
    text += line + L"\r\n";
}

} // namespace

std::string utf16Bytes(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(2 * text.size());
    const auto add = [&](std::uint32_t unit) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8 & 0xFF);
    };
    for (const wchar_t c : text) {
        const auto point = static_cast<std::uint32_t>(c);
        if (point < 0x10000) {
            add(point);
        } else {
            add(0xD800 + ((point - 0x10000) >> 10));
            add(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return bytes;
}

std::wstring fromUtf16(std::string_view bytes) {
    std::wstring text;
    const std::size_t units = bytes.size() / 2;
    text.reserve(units);
    const auto unit = [&](std::size_t i) -> std::uint32_t {
        return static_cast<unsigned char>(bytes[2 * i]) |
               static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[2 * i + 1])) << 8;
    };
    for (std::size_t i = 0; i < units; ++i) {
        std::uint32_t point = unit(i);
        if (sizeof(wchar_t) > 2 && (point & 0xFC00) == 0xD800 && i + 1 < units &&
            (unit(i + 1) & 0xFC00) == 0xDC00) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (unit(++i) & 0x3FF);
        }
        text += static_cast<wchar_t>(point);
    }
    return text;
}

bool isPlainText(std::string_view bytes) {
    if (bytes.size() < 2 || bytes.size() % 2 != 0 || bytes[bytes.size() - 1] != 0 ||
        bytes[bytes.size() - 2] != 0) {
        return false;
    }
    for (std::size_t i = 0; i + 2 < bytes.size(); i += 2) {
        if (bytes[i + 1] == 0 && static_cast<unsigned char>(bytes[i]) < 0x20) {
            return false;
        }
    }
    return true;
}

std::vector<Key> parse(std::string_view bytes) {
    return Parser(decode(bytes)).run();
}

std::string format(const std::vector<Key>& keys) {
    std::wstring text(kSignature);
    text += L"\r\n";
    for (const Key& key : keys) {
        text += (key.remove ? L"\r\n[-" : L"\r\n[") + key.path + L"]\r\n";
        for (const Value& value : key.values) {
            appendValue(text, value);
        }
    }
    return "\xFF\xFE" + utf16Bytes(text + L"\r\n");
}

} // namespace mvtool::reg
