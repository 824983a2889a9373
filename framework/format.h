// The printf engine of the strings.
#pragma once

#include "cstringt.h"

#include <cstdlib>

namespace mvafx {

// Collects formatted text: first in itself, then in a block of its own. Exhausted memory throws
// CMemoryException; a text longer than a string may be, COleException (E_INVALIDARG).
template <typename XCHAR>
class TextBuffer {
public:
    TextBuffer() = default;
    ~TextBuffer() {
        if (m_pText != m_inner)
            std::free(m_pText);
    }
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;

    const XCHAR* text() const { return m_pText; }
    int length() const { return m_nLength; }

    // Room for nCount more characters, which the caller fills.
    XCHAR* extend(int nCount) {
        if (nCount > m_nCapacity - m_nLength)
            grow(nCount);
        XCHAR* p = m_pText + m_nLength;
        m_nLength += nCount;
        return p;
    }
    void add(XCHAR ch) { *extend(1) = ch; }
    void add(const XCHAR* p, int nCount) { CStringT<XCHAR>::CopyChars(extend(nCount), p, nCount); }
    void fill(XCHAR ch, int nCount) {
        if (nCount > 0) {
            XCHAR* p = extend(nCount);
            for (int i = 0; i < nCount; ++i)
                p[i] = ch;
        }
    }

private:
    void grow(int nCount);

    XCHAR* m_pText = m_inner;
    int m_nLength = 0;
    int m_nCapacity = sizeof(m_inner) / sizeof(XCHAR);
    XCHAR m_inner[256];
};

// Adds the formatted text. The rules are those in cstringt.h.
template <typename XCHAR>
void formatText(TextBuffer<XCHAR>& buffer, const XCHAR* pszFormat, va_list args);

} // namespace mvafx
