#include "text.h"

#include <cstdint>

namespace mvtool {
namespace {

constexpr char32_t kInvalid = 0xFFFFFFFF;

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
bool isSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

/// Decodes the code point at `at` and moves behind it; kInvalid (and one byte further) when there is none.
/// Overlong forms, surrogates and values above U+10FFFF are not UTF-8.
char32_t nextOfUtf8(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) -> unsigned {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned first = byte(at);
    if (first < 0x80) {
        ++at;
        return first;
    }
    const int length = first >= 0xF0 && first <= 0xF4 ? 4
                       : first >= 0xE0                ? (first < 0xF0 ? 3 : 0)
                       : first >= 0xC2                ? 2
                                                      : 0;
    if (length == 0) {
        ++at;
        return kInvalid;
    }
    char32_t point = first & (0x7Fu >> length);
    for (int i = 1; i < length; ++i) {
        const unsigned next = byte(at + static_cast<std::size_t>(i));
        if ((next & 0xC0) != 0x80) {
            ++at;
            return kInvalid;
        }
        point = point << 6 | (next & 0x3F);
    }
    if ((length == 3 && point < 0x800) || (length == 4 && point < 0x10000) || isSurrogate(point) ||
        point > 0x10FFFF) {
        ++at;
        return kInvalid;
    }
    at += static_cast<std::size_t>(length);
    return point;
}

/// The code point at `at` of UTF-16 units, a lone surrogate as itself.
char32_t nextOfUnits(std::u16string_view units, std::size_t& at) {
    const char32_t first = units[at++];
    if (isHighSurrogate(first) && at < units.size() && isLowSurrogate(units[at])) {
        return 0x10000 + ((first - 0xD800) << 10) + (units[at++] - 0xDC00u);
    }
    return first;
}

void appendUtf8(std::string& text, char32_t point) {
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | point >> 6);
        text += static_cast<char>(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | point >> 12);
        text += static_cast<char>(0x80 | (point >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (point & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | point >> 18);
        text += static_cast<char>(0x80 | (point >> 12 & 0x3F));
        text += static_cast<char>(0x80 | (point >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (point & 0x3F));
    }
}

template <class Text>
void appendUnits(Text& units, char32_t point) {
    using Unit = typename Text::value_type;
    if (sizeof(Unit) > 2 || point < 0x10000) {
        units += static_cast<Unit>(point);
    } else {
        units += static_cast<Unit>(0xD800 + ((point - 0x10000) >> 10));
        units += static_cast<Unit>(0xDC00 + ((point - 0x10000) & 0x3FF));
    }
}

/// Bytes that are not UTF-8 become lone low surrogates.
template <class Text>
void appendEscaped(Text& units, std::string_view bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t start = at;
        const char32_t point = nextOfUtf8(bytes, at);
        if (point == kInvalid) {
            units +=
                static_cast<typename Text::value_type>(0xDC00 + static_cast<unsigned char>(bytes[start]));
        } else {
            appendUnits(units, point);
        }
    }
}

void appendHex(std::string& text, unsigned value, int digits) {
    for (int i = digits - 1; i >= 0; --i) {
        text += "0123456789abcdef"[value >> (4 * i) & 0xF];
    }
}

/// Controls, and the marks by which a text can reorder or hide what stands beside it.
bool steersTerminal(char32_t point) {
    return point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x061C || point == 0x200E ||
           point == 0x200F || (point >= 0x2028 && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069) ||
           point == 0xFEFF;
}

void appendVisible(std::string& text, char32_t point) {
    if (steersTerminal(point) || isSurrogate(point)) {
        text += point < 0x100 ? "\\x" : "\\u";
        appendHex(text, static_cast<unsigned>(point), point < 0x100 ? 2 : 4);
    } else {
        appendUtf8(text, point);
    }
}

} // namespace

std::string displayName(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    for (std::size_t at = 0; at < units.size();) {
        const char32_t point = nextOfUnits(units, at);
        if (point == U'\\') {
            text += "\\\\";
        } else {
            appendVisible(text, point);
        }
    }
    return text;
}

std::string displayText(std::string_view utf8) {
    std::string text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        const char32_t point = nextOfUtf8(utf8, at);
        if (point == kInvalid) {
            text += "\\x";
            appendHex(text, static_cast<unsigned char>(utf8[start]), 2);
        } else {
            appendVisible(text, point);
        }
    }
    return text;
}

std::string fromWide(std::wstring_view wide) {
    std::string text;
    text.reserve(wide.size());
    for (std::size_t at = 0; at < wide.size(); ++at) {
        char32_t point = static_cast<char32_t>(wide[at]);
        if (isHighSurrogate(point) && at + 1 < wide.size() &&
            isLowSurrogate(static_cast<char32_t>(wide[at + 1]))) {
            point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<char32_t>(wide[++at]) - 0xDC00);
        }
        appendUtf8(text, isSurrogate(point) || point > 0x10FFFF ? U'\uFFFD' : point);
    }
    return text;
}

std::optional<std::wstring> toWide(std::string_view utf8) {
    std::wstring wide;
    wide.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t point = nextOfUtf8(utf8, at);
        if (point == kInvalid) {
            return std::nullopt;
        }
        appendUnits(wide, point);
    }
    return wide;
}

std::wstring widePath(std::string_view path) {
    std::wstring wide;
    wide.reserve(path.size());
    appendEscaped(wide, path);
    return wide;
}

std::u16string unitsFromBytes(std::string_view bytes) {
    std::u16string units;
    units.reserve(bytes.size());
    appendEscaped(units, bytes);
    return units;
}

std::optional<std::string> bytesFromUnits(std::u16string_view units) {
    std::string bytes;
    bytes.reserve(units.size());
    bool escaped = false;
    for (std::size_t at = 0; at < units.size();) {
        const char32_t point = nextOfUnits(units, at);
        if (point >= 0xDC80 && point <= 0xDCFF) {
            bytes += static_cast<char>(point - 0xDC00);
            escaped = true;
        } else if (isSurrogate(point)) {
            return std::nullopt;
        } else {
            appendUtf8(bytes, point);
        }
    }
    if (escaped && unitsFromBytes(bytes) != units) {
        return std::nullopt;
    }
    return bytes;
}

bool wellFormed(std::u16string_view units) {
    for (std::size_t at = 0; at < units.size();) {
        if (isSurrogate(nextOfUnits(units, at))) {
            return false;
        }
    }
    return true;
}

std::string counted(unsigned long long n, std::string_view noun) {
    std::string text = std::to_string(n) + ' ' + std::string(noun);
    if (n != 1) {
        text += 's';
    }
    return text;
}

std::string hex(std::string_view bytes) {
    std::string text;
    for (const char octet : bytes) {
        text += "0123456789abcdef"[static_cast<unsigned char>(octet) >> 4];
        text += "0123456789abcdef"[octet & 0xF];
    }
    return text;
}

} // namespace mvtool
