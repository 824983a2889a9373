// Wide texts as UTF-16 code units, so that orders and sums that show are the same where wchar_t is a code
// unit and where it is a code point.
#pragma once

namespace mvlib {

// Delivers the code units of a NUL-terminated wide text, then 0 for ever.
class Utf16Units {
public:
    explicit Utf16Units(const wchar_t* text)
        : m_next(text) {}

    char16_t Next() {
        if (m_pendingLow != 0) {
            const char16_t low = m_pendingLow;
            m_pendingLow = 0;
            return low;
        }
        if (*m_next == 0)
            return 0;
        const unsigned long point = static_cast<unsigned long>(*m_next++) & 0xFFFFFFFFUL;
        if (point < 0x10000)
            return static_cast<char16_t>(point);
        if (point > 0x10FFFF)
            return 0xFFFD;
        m_pendingLow = static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        return static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
    }

private:
    const wchar_t* m_next;
    char16_t m_pendingLow = 0;
};

// -1, 0 or 1: the order of two texts by their code units as unsigned numbers.
inline int CompareUtf16(const wchar_t* a, const wchar_t* b) {
    while (*a == *b) {
        if (*a == 0)
            return 0;
        ++a;
        ++b;
    }
    Utf16Units unitsA(a);
    Utf16Units unitsB(b);
    for (;;) {
        const char16_t unitA = unitsA.Next();
        const char16_t unitB = unitsB.Next();
        if (unitA != unitB)
            return unitA < unitB ? -1 : 1;
        if (unitA == 0)
            return 0;
    }
}

} // namespace mvlib
