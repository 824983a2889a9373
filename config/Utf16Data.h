// Texts as the registry stores them: UTF-16 code units, little-endian, whatever wchar_t is.
#pragma once

#include "afx.h"

#include <cstddef>
#include <cstdlib>
#include <cwchar>

namespace mvlib {

// The bytes of `count` wide characters. Throws CMemoryException* when there is no memory.
class Utf16Data {
public:
    Utf16Data(const wchar_t* text, std::size_t count)
        : m_data(static_cast<unsigned char*>(std::malloc(count * UnitsPerCharacter * 2 + 1))) {
        if (!m_data)
            AfxThrowMemoryException();
        for (; count > 0; --count) {
            const unsigned long point = static_cast<unsigned long>(*text++) & 0xFFFFFFFFUL;
            if (point < 0x10000) {
                add(point);
            } else if (point > 0x10FFFF) {
                add(0xFFFD);
            } else {
                add(0xD800 + ((point - 0x10000) >> 10));
                add(0xDC00 + (point & 0x3FF));
            }
        }
    }
    ~Utf16Data() { std::free(m_data); }
    Utf16Data(const Utf16Data&) = delete;
    Utf16Data& operator=(const Utf16Data&) = delete;

    const unsigned char* Data() const { return m_data; }
    std::size_t Size() const { return m_size; }

private:
    static constexpr std::size_t UnitsPerCharacter = sizeof(wchar_t) > 2 ? 2 : 1;

    void add(unsigned long unit) {
        m_data[m_size++] = static_cast<unsigned char>(unit);
        m_data[m_size++] = static_cast<unsigned char>(unit >> 8);
    }

    unsigned char* m_data;
    std::size_t m_size = 0;
};

// Decodes `size` bytes into `text`, which has room for size / 2 characters; an odd last byte is dropped.
// Answers the characters.
inline std::size_t DecodeUtf16(const unsigned char* data, std::size_t size, wchar_t* text) {
    const std::size_t units = size / 2;
    const auto unit = [&](std::size_t i) {
        return static_cast<unsigned long>(data[2 * i] | data[2 * i + 1] << 8);
    };
    std::size_t count = 0;
    for (std::size_t i = 0; i < units; ++i) {
        unsigned long point = unit(i);
        const bool pair = sizeof(wchar_t) > 2 && (point & 0xFC00) == 0xD800 && i + 1 < units &&
                          (unit(i + 1) & 0xFC00) == 0xDC00;
        if (pair)
            point = 0x10000 + ((point & 0x3FF) << 10) + (unit(++i) & 0x3FF);
        text[count++] = static_cast<wchar_t>(point);
    }
    return count;
}

} // namespace mvlib
