#include "internal/text.h"

#include <cstring>
#include <cwchar>

namespace mvplat {

namespace {

// A byte of a name that cannot be written as itself: its value in the low surrogates.
constexpr wchar_t escapeBase = 0xDC00;

bool isEscape(wchar_t unit) {
    return (unit >= escapeBase + 0x80 && unit <= escapeBase + 0xFF) || unit == escapeBase + L'\\';
}

bool isHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t joinSurrogates(wchar_t high, wchar_t low) {
    return 0x10000 + ((static_cast<char32_t>(high) - 0xD800) << 10) + (static_cast<char32_t>(low) - 0xDC00);
}

} // namespace

Utf8Step decodeUtf8(const char* text, std::size_t size) {
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1, false};
    unsigned trail;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    char32_t value;
    if (lead >= 0xC2 && lead <= 0xDF) {
        trail = 1;
        value = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        trail = 2;
        value = lead & 0x0F;
        if (lead == 0xE0)
            low = 0xA0;
        else if (lead == 0xED)
            high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        trail = 3;
        value = lead & 0x07;
        if (lead == 0xF0)
            low = 0x90;
        else if (lead == 0xF4)
            high = 0x8F;
    } else {
        return {0xFFFD, 1, true};
    }
    for (unsigned i = 1; i <= trail; ++i) {
        if (i >= size)
            return {0xFFFD, i, true};
        const unsigned char next = static_cast<unsigned char>(text[i]);
        if (next < low || next > high)
            return {0xFFFD, i, true};
        value = value << 6 | (next & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return {value, trail + 1, false};
}

void appendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += static_cast<char>(0xC0 | codePoint >> 6);
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0 | codePoint >> 12);
        text += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | (codePoint >> 18 & 0x07));
        text += static_cast<char>(0x80 | (codePoint >> 12 & 0x3F));
        text += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

std::string utf8FromWide(std::wstring_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            appendUtf8(result, joinSurrogates(unit, text[i + 1]));
            ++i;
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit) || unit < 0 || unit > 0x10FFFF) {
            appendUtf8(result, 0xFFFD);
        } else {
            appendUtf8(result, static_cast<char32_t>(unit));
        }
    }
    return result;
}

std::wstring wideFromUtf8(std::string_view text) {
    std::wstring result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Step step = decodeUtf8(text.data() + i, text.size() - i);
        result += static_cast<wchar_t>(step.codePoint);
        i += step.length;
    }
    return result;
}

std::string utf16Bytes(std::wstring_view text, bool highFirst) {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    const auto put = [&](unsigned unit) {
        bytes += static_cast<char>(highFirst ? unit >> 8 : unit);
        bytes += static_cast<char>(highFirst ? unit : unit >> 8);
    };
    for (const wchar_t character : text) {
        const auto value = static_cast<unsigned>(character);
        if (value > 0xFFFF) {
            put(0xD800 + (((value - 0x10000) >> 10) & 0x3FF));
            put(0xDC00 + (value & 0x3FF));
        } else {
            put(value);
        }
    }
    return bytes;
}

std::wstring wideFromUtf16(const std::uint16_t* text, std::size_t length) {
    std::wstring result;
    result.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        const wchar_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < length && isLowSurrogate(text[i + 1]))
            result += static_cast<wchar_t>(joinSurrogates(unit, text[++i]));
        else
            result += unit;
    }
    return result;
}

std::string systemPath(std::wstring_view path) {
    std::string result;
    result.reserve(path.size() + 8);
    for (std::size_t i = 0; i < path.size(); ++i) {
        const wchar_t unit = path[i];
        if (unit == L'\\')
            result += '/';
        else if (unit >= 0 && unit < 0x80)
            result += static_cast<char>(unit);
        else if (isHighSurrogate(unit) && i + 1 < path.size() && isLowSurrogate(path[i + 1]))
            appendUtf8(result, joinSurrogates(unit, path[++i]));
        else if (isEscape(unit))
            result += static_cast<char>(unit - escapeBase);
        else
            appendUtf8(result, static_cast<char32_t>(unit));
    }
    return result;
}

SystemPath::SystemPath(LPCWSTR path) {
    const std::size_t length = std::wcslen(path);
    if (length < sizeof m_short) {
        wchar_t all = 0;
        for (std::size_t i = 0; i <= length; ++i) {
            all |= path[i];
            m_short[i] = path[i] == L'\\' ? '/' : static_cast<char>(path[i]);
        }
        if (all >= 0 && all < 0x80) {
            m_text = m_short;
            return;
        }
    }
    m_long = systemPath({path, length});
    m_text = m_long.c_str();
}

std::wstring wideName(std::string_view name) {
    std::wstring result;
    result.reserve(name.size());
    for (std::size_t i = 0; i < name.size();) {
        const Utf8Step step = decodeUtf8(name.data() + i, name.size() - i);
        if (step.invalid) {
            // Every byte by itself: joined again they are the same bytes, whatever stands beside them.
            for (unsigned k = 0; k < step.length; ++k)
                result += static_cast<wchar_t>(escapeBase + static_cast<unsigned char>(name[i + k]));
        } else if (step.codePoint == U'\\') {
            result += static_cast<wchar_t>(escapeBase + L'\\');
        } else {
            result += static_cast<wchar_t>(step.codePoint);
        }
        i += step.length;
    }
    return result;
}

std::wstring widePath(std::string_view path) {
    std::wstring result = wideName(path);
    for (wchar_t& unit : result) {
        if (unit == L'/')
            unit = L'\\';
    }
    return result;
}

DWORD copyOut(std::wstring_view text, LPWSTR buffer, DWORD size) {
    if (text.size() >= size || !buffer)
        return static_cast<DWORD>(text.size() + 1);
    std::memcpy(buffer, text.data(), text.size() * sizeof(wchar_t));
    buffer[text.size()] = 0;
    return static_cast<DWORD>(text.size());
}

} // namespace mvplat
