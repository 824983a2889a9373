// Changes of INI files as the fuzz targets make them, and what may come of one.
#pragma once

#include "recipe.h"
#include "win32.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

inline void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

// ---- What differs

inline bool IsWide(std::string_view bytes) {
    return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
}

// What was taken out of the file at one place, and what was put there. Units are bytes or pairs of them; half
// a pair at the end does not count.
struct Difference {
    std::u16string removed, added;
};

inline std::u16string UnitsOf(std::string_view bytes, bool wide, std::size_t low) {
    std::u16string units;
    if (!wide) {
        for (const char byte : bytes)
            units += static_cast<unsigned char>(byte);
        return units;
    }
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i + low]) |
                                       static_cast<unsigned char>(bytes[i + 1 - low]) << 8);
    return units;
}

inline Difference Compare(std::string_view before, std::string_view after) {
    // A line that goes may leave a mark at the file's beginning.
    const bool wide = IsWide(before);
    const std::size_t low = before.starts_with('\xFE') ? 1 : 0;
    const std::u16string a = UnitsOf(before, wide, low), b = UnitsOf(after, wide, low);
    const std::size_t both = std::min(a.size(), b.size());
    const auto first = static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(both), b.begin()).first - a.begin());
    std::size_t last = 0;
    while (last < both - first && a[a.size() - 1 - last] == b[b.size() - 1 - last])
        ++last;
    return {a.substr(first, a.size() - first - last), b.substr(first, b.size() - first - last)};
}

inline std::ptrdiff_t Feeds(const std::u16string& text) {
    return std::max(std::count(text.begin(), text.end(), u'\n'), std::count(text.begin(), text.end(), u'\r'));
}

// ---- Texts

constexpr std::wstring_view kBlanks = L" \t\v\f\x1A";

inline std::wstring Trimmed(std::wstring text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::wstring::npos ? std::wstring()
                                       : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

// What is read of a written value.
inline std::wstring Expected(const std::wstring& value, std::string_view file) {
    std::wstring text = value;
    if (!IsWide(file) && !file.starts_with("\xEF\xBB\xBF")) {
        char bytes[512];
        wchar_t wide[512];
        const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), bytes,
                                             sizeof bytes, nullptr, nullptr);
        const int length = MultiByteToWideChar(CP_ACP, 0, bytes, size, wide, 512);
        text.assign(wide, static_cast<std::size_t>(length));
    }
    text = Trimmed(text);
    if (text.size() >= 2 && (text.front() == L'"' || text.front() == L'\'') && text.front() == text.back())
        text = text.substr(1, text.size() - 2);
    return text;
}

// Names and values that are still those once they stand in a line of an 8-bit file.
inline bool IsPlain(const std::wstring& text) {
    return std::all_of(text.begin(), text.end(),
                       [](wchar_t c) { return c < 0x80 && c != L'\r' && c != L'\n' && c != 0; });
}
inline bool IsLine(const std::wstring& text) {
    return text.find_first_of(L"\r\n") == std::wstring::npos;
}
inline bool IsSection(const std::wstring& text) {
    return IsPlain(text) && text.find(L']') == std::wstring::npos && !Trimmed(text).empty();
}
inline bool IsKey(const std::wstring& text) {
    const std::wstring name = Trimmed(text);
    return IsPlain(text) && !name.empty() && text.find(L'=') == std::wstring::npos && name[0] != L';' &&
           name[0] != L'[';
}

// Takes texts from the input. Bytes from 0xF0 stand for characters that no 8-bit file has.
class Input {
public:
    explicit Input(std::vector<std::uint8_t> bytes)
        : m_bytes(std::move(bytes)) {}
    std::uint8_t Byte() { return m_at < m_bytes.size() ? m_bytes[m_at++] : std::uint8_t{0}; }
    std::wstring Text() {
        static constexpr wchar_t kOthers[] = {0x20AC, 0x4E2D, 0x1F600, 0xA0,   0x3000, 0x130, 0x212A, 0x131,
                                              0xFEFF, 0x2028, 0x85,    0x10FF, 0xDF,   0x1E9, 0x3A3,  0x3C2};
        std::wstring text;
        while (const std::uint8_t byte = Byte()) {
            if (text.size() < 100)
                text += byte < 0xF0 ? static_cast<wchar_t>(byte) : kOthers[byte - 0xF0];
        }
        return text;
    }
    std::string Rest() const { return {m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at), m_bytes.end()}; }

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_at = 0;
};

// ---- Input

// A byte of switches; the changes, each a byte for its kind and three texts that end with a zero byte; the
// rest is the file.
struct Changes {
    struct Step {
        std::uint8_t kind;
        std::wstring section, key, value;
    };
    std::uint8_t switches;
    std::vector<Step> steps;
    std::string file;

    Changes(const std::uint8_t* data, std::size_t size) {
        Input input(BytesOfRecipe(data, size));
        switches = input.Byte();
        for (int i = 0; i < switches % 4; ++i) {
            Step step;
            step.kind = input.Byte();
            step.section = input.Text();
            step.key = input.Text();
            step.value = input.Text();
            steps.push_back(std::move(step));
        }
        file = input.Rest();
        // Small inputs reach more when they need not spell out the two bytes of each unit.
        if (switches & 4) {
            std::string wide = "\xFF\xFE";
            for (const char byte : file) {
                wide += byte;
                wide += '\0';
            }
            file = wide;
        }
    }
};
