#include "cstringt.h"

#include "afxwin.h"
#include "format.h"
#include "stringresource.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

constexpr int maxStringLength = 0x3FFFFFFF;

template <typename XCHAR>
using Traits = std::char_traits<XCHAR>;

inline wchar_t lowered(wchar_t ch) {
    return ch >= L'A' && ch <= L'Z' ? static_cast<wchar_t>(ch + (L'a' - L'A')) : ch;
}
inline char lowered(char ch) {
    return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + ('a' - 'A')) : ch;
}

inline bool isSpace(char ch) {
    return ch == ' ' || (ch >= '\t' && ch <= '\r');
}
inline bool isSpace(wchar_t ch) {
    auto c = static_cast<std::uint32_t>(ch);
    if (c < 0x80)
        return c == 0x20 || (c >= 9 && c <= 13);
    return c == 0x85 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 ||
           c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

// Compares from the first place where two texts differ.
inline int compareFrom(const char* a, const char* b) {
    auto ca = static_cast<unsigned char>(*a), cb = static_cast<unsigned char>(*b);
    return ca == cb ? 0 : ca < cb ? -1 : 1;
}
// Code points above 0xFFFF sort as the two UTF-16 units that they are on Windows.
inline int compareFrom(const wchar_t* a, const wchar_t* b) {
    if constexpr (sizeof(wchar_t) == 2) {
        return *a == *b ? 0 : *a < *b ? -1 : 1;
    } else {
        struct Units {
            const wchar_t* p;
            std::uint32_t low;
            std::uint32_t next() {
                if (low != 0)
                    return std::exchange(low, 0);
                auto c = static_cast<std::uint32_t>(*p);
                if (c != 0)
                    ++p;
                if (c <= 0xFFFF)
                    return c;
                low = 0xDC00 + (c & 0x3FF);
                return 0xD7C0 + (c >> 10);
            }
        } ua{a, 0}, ub{b, 0};
        for (;;) {
            std::uint32_t ca = ua.next(), cb = ub.next();
            if (ca != cb)
                return ca < cb ? -1 : 1;
            if (ca == 0)
                return 0;
        }
    }
}

template <typename XCHAR>
inline bool isOneOf(const XCHAR* pszSet, XCHAR ch) {
    for (; *pszSet != 0; ++pszSet)
        if (*pszSet == ch)
            return true;
    return false;
}

template <typename XCHAR>
inline const XCHAR* orEmpty(const XCHAR* psz) {
    static const XCHAR empty[1] = {0};
    return psz != nullptr ? psz : empty;
}

// Finds a text of nSub characters in [p, pEnd); pEnd if it is not there.
template <typename XCHAR>
const XCHAR* search(const XCHAR* p, const XCHAR* pEnd, const XCHAR* pszSub, int nSub) {
    if (nSub == 0)
        return p;
    for (; pEnd - p >= nSub; ++p) {
        p = Traits<XCHAR>::find(p, pEnd - p - nSub + 1, *pszSub);
        if (p == nullptr)
            return pEnd;
        if (Traits<XCHAR>::compare(p, pszSub, nSub) == 0)
            return p;
    }
    return pEnd;
}

int convertedLength(const char* psz, int nLength) {
    return MultiByteToWideChar(CP_THREAD_ACP, 0, psz, nLength, nullptr, 0);
}
int convert(const char* psz, int nLength, wchar_t* pszTo, int nTo) {
    return MultiByteToWideChar(CP_THREAD_ACP, 0, psz, nLength, pszTo, nTo);
}
int convertedLength(const wchar_t* psz, int nLength) {
    return WideCharToMultiByte(CP_THREAD_ACP, 0, psz, nLength, nullptr, 0, nullptr, nullptr);
}
int convert(const wchar_t* psz, int nLength, char* pszTo, int nTo) {
    return WideCharToMultiByte(CP_THREAD_ACP, 0, psz, nLength, pszTo, nTo, nullptr, nullptr);
}

template <typename CH>
inline bool isAscii(const CH* p, int nLength) {
    for (int i = 0; i < nLength; ++i)
        if (static_cast<std::make_unsigned_t<CH>>(p[i]) >= 0x80)
            return false;
    return true;
}

} // namespace

void AfxThrowInvalidStringArg() {
    AtlThrow(E_INVALIDARG);
}

// Users are not counted (see CStringT::share), so that threads do not contend for one counter.
CNilStringData g_afxNilString = {{{-1}, 0, 0}, {0, 0}};

// ---- The text block

template <typename XCHAR>
typename CStringT<XCHAR>::PXSTR CStringT<XCHAR>::newText(int nLength) {
    if (nLength < 0 || nLength > maxStringLength)
        AfxThrowInvalidStringArg();
    // Whole steps of eight characters with the NUL.
    int nAlloc = std::min(nLength | 7, maxStringLength);
    if (static_cast<UINT_PTR>(nAlloc) >
        (static_cast<UINT_PTR>(-1) / 2 - sizeof(CStringData)) / sizeof(XCHAR) - 1)
        AfxThrowMemoryException();
    void* p = std::malloc(sizeof(CStringData) + (static_cast<std::size_t>(nAlloc) + 1) * sizeof(XCHAR));
    if (p == nullptr)
        AfxThrowMemoryException();
    auto* pData = ::new (p) CStringData{{1}, nLength, nAlloc};
    PXSTR psz = reinterpret_cast<PXSTR>(pData + 1);
    psz[nLength] = 0;
    return psz;
}

// The compiler cannot see that the counter keeps the common empty text from being freed.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
template <typename XCHAR>
void CStringT<XCHAR>::freeText(CStringData* pData) noexcept {
    std::free(pData);
}
#pragma GCC diagnostic pop

template <typename XCHAR>
typename CStringT<XCHAR>::PXSTR CStringT<XCHAR>::copyOfUnshared(const CStringT& src) {
    if (src.isNil())
        return nilText();
    int nLength = src.GetLength();
    if (nLength == 0)
        return nilText();
    PXSTR psz = newText(nLength);
    CopyChars(psz, src.m_pszData, nLength);
    return psz;
}

// A text of its own with room for nLength characters; the present characters stay.
template <typename XCHAR>
typename CStringT<XCHAR>::PXSTR CStringT<XCHAR>::prepareWrite(int nLength) {
    if (nLength < 0 || nLength > maxStringLength)
        AfxThrowInvalidStringArg();
    CStringData* pData = data();
    int nOldLength = pData->nDataLength;
    nLength = std::max(nLength, nOldLength);
    if (pData->nAllocLength == 0 || isShared()) {
        PXSTR psz = newText(nLength);
        CopyChars(psz, m_pszData, nOldLength);
        psz[nOldLength] = 0;
        reinterpret_cast<CStringData*>(psz)[-1].nDataLength = nOldLength;
        release();
        m_pszData = psz;
    } else if (nLength > pData->nAllocLength) {
        int nGrown = pData->nAllocLength > maxStringLength / 2
                         ? maxStringLength
                         : pData->nAllocLength + pData->nAllocLength / 2;
        int nAlloc = std::min(std::max(nLength, nGrown) | 7, maxStringLength);
        if (static_cast<UINT_PTR>(nAlloc) >
            (static_cast<UINT_PTR>(-1) / 2 - sizeof(CStringData)) / sizeof(XCHAR) - 1)
            AfxThrowMemoryException();
        void* p = std::realloc(static_cast<void*>(pData),
                               sizeof(CStringData) + (static_cast<std::size_t>(nAlloc) + 1) * sizeof(XCHAR));
        if (p == nullptr)
            AfxThrowMemoryException();
        pData = static_cast<CStringData*>(p);
        pData->nAllocLength = nAlloc;
        m_pszData = reinterpret_cast<PXSTR>(pData + 1);
    }
    return m_pszData;
}

template <typename XCHAR>
void CStringT<XCHAR>::setLength(int nLength) {
    if (nLength < 0 || nLength > data()->nAllocLength) {
        if (nLength == 0)
            return;
        AfxThrowInvalidStringArg();
    }
    if (isNil())
        return;
    data()->nDataLength = nLength;
    m_pszData[nLength] = 0;
}

// Replaces the text by one of the other kind.
template <typename XCHAR>
void CStringT<XCHAR>::setConverted(PCYSTR psz, int nLength) {
    if (nLength < 0)
        AfxThrowInvalidStringArg();
    if (psz == nullptr || nLength == 0) {
        Empty();
        return;
    }
    if (isAscii(psz, nLength)) {
        PXSTR pszTo = newText(nLength);
        for (int i = 0; i < nLength; ++i)
            pszTo[i] = static_cast<XCHAR>(psz[i]);
        release();
        m_pszData = pszTo;
        return;
    }
    int nNeeded = convertedLength(psz, nLength);
    if (nNeeded <= 0) { // the code page has no text for it
        Empty();
        return;
    }
    PXSTR pszTo = newText(nNeeded);
    convert(psz, nLength, pszTo, nNeeded);
    release();
    m_pszData = pszTo;
}

// A pointer that is a resource id: loads that string.
template <typename XCHAR>
bool CStringT<XCHAR>::loadImplicit(const void* psz) {
    if (psz == nullptr || !IS_INTRESOURCE(psz))
        return false;
    if (!LoadString(static_cast<UINT>(reinterpret_cast<UINT_PTR>(psz))))
        Empty();
    return true;
}

// ---- Construction and assignment

template <typename XCHAR>
CStringT<XCHAR>::CStringT(PCXSTR psz)
    : CStringT() {
    if (!loadImplicit(psz))
        SetString(psz);
}
template <typename XCHAR>
CStringT<XCHAR>::CStringT(PCXSTR psz, int nLength)
    : CStringT() {
    SetString(psz, nLength);
}
template <typename XCHAR>
CStringT<XCHAR>::CStringT(PCYSTR psz)
    : CStringT() {
    if (!loadImplicit(psz))
        setConverted(psz, CStringT<YCHAR>::StringLength(psz));
}
template <typename XCHAR>
CStringT<XCHAR>::CStringT(PCYSTR psz, int nLength)
    : CStringT() {
    setConverted(psz, nLength);
}
template <typename XCHAR>
CStringT<XCHAR>::CStringT(const CStringT<YCHAR>& src)
    : CStringT() {
    setConverted(src, src.GetLength());
}
template <typename XCHAR>
CStringT<XCHAR>::CStringT(const unsigned char* psz)
    : CStringT(reinterpret_cast<const char*>(psz)) {}
template <typename XCHAR>
CStringT<XCHAR>::CStringT(XCHAR ch, int nRepeat)
    : CStringT() {
    if (nRepeat >= 1) {
        m_pszData = newText(nRepeat);
        Traits<XCHAR>::assign(m_pszData, nRepeat, ch);
    }
}

template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator=(PCXSTR psz) {
    if (!loadImplicit(psz))
        SetString(psz);
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator=(PCYSTR psz) {
    if (!loadImplicit(psz))
        setConverted(psz, CStringT<YCHAR>::StringLength(psz));
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator=(const CStringT<YCHAR>& src) {
    setConverted(src, src.GetLength());
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator=(const unsigned char* psz) {
    return *this = reinterpret_cast<const char*>(psz);
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator=(XCHAR ch) {
    SetString(&ch, 1);
    return *this;
}

template <typename XCHAR>
void CStringT<XCHAR>::SetString(PCXSTR psz) {
    SetString(psz, StringLength(psz));
}
template <typename XCHAR>
void CStringT<XCHAR>::SetString(PCXSTR psz, int nLength) {
    if (nLength < 0)
        AfxThrowInvalidStringArg();
    if (nLength == 0 || psz == nullptr) {
        Empty();
        return;
    }
    CStringData* pData = data();
    if (nLength <= pData->nAllocLength && !isShared()) {
        Traits<XCHAR>::move(m_pszData, psz, nLength); // psz may lie in this text
        setLength(nLength);
    } else {
        PXSTR pszNew = newText(nLength);
        CopyChars(pszNew, psz, nLength);
        release();
        m_pszData = pszNew;
    }
}

// ---- Access and the buffer

template <typename XCHAR>
void CStringT<XCHAR>::SetAt(int iChar, XCHAR ch) {
    if (iChar < 0 || iChar >= GetLength())
        AfxThrowInvalidStringArg();
    prepareWrite(GetLength())[iChar] = ch;
}

template <typename XCHAR>
typename CStringT<XCHAR>::PXSTR CStringT<XCHAR>::GetBuffer(int nMinBufferLength) {
    return prepareWrite(nMinBufferLength);
}
template <typename XCHAR>
typename CStringT<XCHAR>::PXSTR CStringT<XCHAR>::GetBufferSetLength(int nLength) {
    PXSTR psz = prepareWrite(nLength);
    setLength(nLength);
    return psz;
}
template <typename XCHAR>
void CStringT<XCHAR>::ReleaseBuffer(int nNewLength) {
    if (nNewLength == -1) {
        int nAlloc = data()->nAllocLength;
        const XCHAR* pNul = Traits<XCHAR>::find(m_pszData, static_cast<std::size_t>(nAlloc) + 1, XCHAR());
        nNewLength = pNul != nullptr ? static_cast<int>(pNul - m_pszData) : nAlloc;
    }
    setLength(nNewLength);
}
template <typename XCHAR>
void CStringT<XCHAR>::Preallocate(int nLength) {
    prepareWrite(nLength);
}
template <typename XCHAR>
void CStringT<XCHAR>::FreeExtra() {
    int nLength = GetLength();
    if (nLength == 0) {
        if (data()->nRefs.load(std::memory_order_relaxed) > 0)
            Empty();
    } else if ((nLength | 7) < data()->nAllocLength && !isShared()) {
        CStringData* pData = data();
        void* p =
            std::realloc(static_cast<void*>(pData),
                         sizeof(CStringData) + (static_cast<std::size_t>(nLength | 7) + 1) * sizeof(XCHAR));
        if (p != nullptr) { // otherwise the text stays as large as it is
            pData = static_cast<CStringData*>(p);
            pData->nAllocLength = nLength | 7;
            m_pszData = reinterpret_cast<PXSTR>(pData + 1);
        }
    }
}
template <typename XCHAR>
typename CStringT<XCHAR>::PXSTR CStringT<XCHAR>::LockBuffer() {
    prepareWrite(GetLength());
    data()->nRefs.store(-1, std::memory_order_relaxed);
    return m_pszData;
}
template <typename XCHAR>
void CStringT<XCHAR>::UnlockBuffer() {
    if (!isNil() && data()->nRefs.load(std::memory_order_relaxed) < 0)
        data()->nRefs.store(1, std::memory_order_relaxed);
}

// ---- Adding

template <typename XCHAR>
void CStringT<XCHAR>::Append(PCXSTR psz) {
    Append(psz, StringLength(psz));
}
template <typename XCHAR>
void CStringT<XCHAR>::Append(PCXSTR psz, int nLength) {
    if (nLength < 0)
        AfxThrowInvalidStringArg();
    if (psz == nullptr || nLength == 0)
        return;
    int nOldLength = GetLength();
    if (nLength > maxStringLength - nOldLength)
        AfxThrowInvalidStringArg();
    auto nOffset = reinterpret_cast<UINT_PTR>(psz) - reinterpret_cast<UINT_PTR>(m_pszData);
    bool isInside = nOffset <= static_cast<UINT_PTR>(nOldLength) * sizeof(XCHAR);
    PXSTR pszTo = prepareWrite(nOldLength + nLength);
    if (isInside) // the text moved with the string
        psz = pszTo + nOffset / sizeof(XCHAR);
    Traits<XCHAR>::move(pszTo + nOldLength, psz, nLength);
    setLength(nOldLength + nLength);
}
template <typename XCHAR>
void CStringT<XCHAR>::Append(const CStringT& src) {
    if (IsEmpty() && data()->nAllocLength == 0)
        *this = src;
    else
        Append(src.m_pszData, src.GetLength());
}
template <typename XCHAR>
void CStringT<XCHAR>::AppendChar(XCHAR ch) {
    int nLength = GetLength();
    if (nLength == maxStringLength)
        AfxThrowInvalidStringArg();
    PXSTR psz = prepareWrite(nLength + 1);
    psz[nLength] = ch;
    psz[nLength + 1] = 0;
    data()->nDataLength = nLength + 1;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator+=(PCYSTR psz) {
    Append(CStringT(psz));
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::operator+=(YCHAR ch) {
    AppendChar(static_cast<XCHAR>(ch));
    return *this;
}

template <typename XCHAR>
int CStringT<XCHAR>::Insert(int iIndex, PCXSTR psz) {
    int nLength = GetLength();
    iIndex = std::clamp(iIndex, 0, nLength);
    int nInsert = StringLength(psz);
    if (nInsert == 0)
        return nLength;
    if (nInsert > maxStringLength - nLength)
        AfxThrowInvalidStringArg();
    auto nOffset = reinterpret_cast<UINT_PTR>(psz) - reinterpret_cast<UINT_PTR>(m_pszData);
    if (nOffset <= static_cast<UINT_PTR>(nLength) * sizeof(XCHAR))
        return Insert(iIndex, CStringT(psz, nInsert).m_pszData); // a copy: the move would tear it
    PXSTR pszTo = prepareWrite(nLength + nInsert);
    Traits<XCHAR>::move(pszTo + iIndex + nInsert, pszTo + iIndex, nLength - iIndex);
    CopyChars(pszTo + iIndex, psz, nInsert);
    setLength(nLength + nInsert);
    return nLength + nInsert;
}
template <typename XCHAR>
int CStringT<XCHAR>::Insert(int iIndex, XCHAR ch) {
    int nLength = GetLength();
    if (nLength == maxStringLength)
        AfxThrowInvalidStringArg();
    iIndex = std::clamp(iIndex, 0, nLength);
    PXSTR psz = prepareWrite(nLength + 1);
    Traits<XCHAR>::move(psz + iIndex + 1, psz + iIndex, nLength - iIndex);
    psz[iIndex] = ch;
    setLength(nLength + 1);
    return nLength + 1;
}

template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::concatenate(PCXSTR a, int nLengthA, PCXSTR b, int nLengthB) {
    CStringT result;
    if (nLengthA > maxStringLength - nLengthB)
        AfxThrowInvalidStringArg();
    if (nLengthA + nLengthB > 0) {
        result.m_pszData = newText(nLengthA + nLengthB);
        CopyChars(result.m_pszData, a, nLengthA);
        CopyChars(result.m_pszData + nLengthA, b, nLengthB);
    }
    return result;
}

// ---- Removing and replacing

template <typename XCHAR>
int CStringT<XCHAR>::Delete(int iIndex, int nCount) {
    int nLength = GetLength();
    iIndex = std::max(iIndex, 0);
    if (nCount > 0 && iIndex < nLength) {
        nCount = std::min(nCount, nLength - iIndex);
        PXSTR psz = prepareWrite(nLength);
        Traits<XCHAR>::move(psz + iIndex, psz + iIndex + nCount, nLength - iIndex - nCount);
        setLength(nLength - nCount);
    }
    return GetLength();
}
template <typename XCHAR>
int CStringT<XCHAR>::Remove(XCHAR ch) {
    int nLength = GetLength();
    if (Traits<XCHAR>::find(m_pszData, nLength, ch) == nullptr)
        return 0;
    PXSTR psz = prepareWrite(nLength);
    int nKept = static_cast<int>(std::remove(psz, psz + nLength, ch) - psz);
    setLength(nKept);
    return nLength - nKept;
}
template <typename XCHAR>
int CStringT<XCHAR>::Replace(XCHAR chOld, XCHAR chNew) {
    int nCount = 0;
    int nLength = GetLength();
    if (chOld != chNew && Traits<XCHAR>::find(m_pszData, nLength, chOld) != nullptr) {
        PXSTR psz = prepareWrite(nLength);
        for (int i = 0; i < nLength; ++i)
            if (psz[i] == chOld) {
                psz[i] = chNew;
                ++nCount;
            }
    }
    return nCount;
}
template <typename XCHAR>
int CStringT<XCHAR>::Replace(PCXSTR pszOld, PCXSTR pszNew) {
    int nOld = StringLength(pszOld), nNew = StringLength(pszNew);
    if (nOld == 0)
        return 0;
    int nLength = GetLength();
    const XCHAR* pEnd = m_pszData + nLength;
    int nCount = 0;
    for (const XCHAR* p = m_pszData; (p = search<XCHAR>(p, pEnd, pszOld, nOld)) != pEnd; p += nOld)
        ++nCount;
    if (nCount == 0)
        return 0;
    std::int64_t nNewLength = nLength + (static_cast<std::int64_t>(nNew) - nOld) * nCount;
    if (nNewLength > maxStringLength)
        AfxThrowInvalidStringArg();
    CStringT result;
    if (nNewLength > 0) {
        result.m_pszData = newText(static_cast<int>(nNewLength));
        PXSTR pTo = result.m_pszData;
        for (const XCHAR* p = m_pszData;;) {
            const XCHAR* pFound = search<XCHAR>(p, pEnd, pszOld, nOld);
            CopyChars(pTo, p, static_cast<int>(pFound - p));
            pTo += pFound - p;
            if (pFound == pEnd)
                break;
            CopyChars(pTo, pszNew, nNew);
            pTo += nNew;
            p = pFound + nOld;
        }
    }
    *this = std::move(result);
    return nCount;
}
template <typename XCHAR>
void CStringT<XCHAR>::Truncate(int nNewLength) {
    if (nNewLength < 0)
        AfxThrowInvalidStringArg();
    if (nNewLength < GetLength()) {
        prepareWrite(GetLength());
        setLength(nNewLength);
    }
}

template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::MakeUpper() {
    int nLength = GetLength();
    if (nLength > 0) {
        PXSTR psz = prepareWrite(nLength);
        for (int i = 0; i < nLength; ++i)
            if (psz[i] >= 'a' && psz[i] <= 'z')
                psz[i] = static_cast<XCHAR>(psz[i] - ('a' - 'A'));
    }
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::MakeLower() {
    int nLength = GetLength();
    if (nLength > 0) {
        PXSTR psz = prepareWrite(nLength);
        for (int i = 0; i < nLength; ++i)
            psz[i] = lowered(psz[i]);
    }
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::MakeReverse() {
    int nLength = GetLength();
    if (nLength > 1) {
        PXSTR psz = prepareWrite(nLength);
        std::reverse(psz, psz + nLength);
    }
    return *this;
}

template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::TrimLeft() {
    int n = 0;
    while (isSpace(m_pszData[n]))
        ++n;
    Delete(0, n);
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::TrimLeft(XCHAR ch) {
    int n = 0;
    while (n < GetLength() && m_pszData[n] == ch)
        ++n;
    Delete(0, n);
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::TrimLeft(PCXSTR pszTargets) {
    pszTargets = orEmpty(pszTargets);
    int n = 0;
    while (n < GetLength() && isOneOf(pszTargets, m_pszData[n]))
        ++n;
    Delete(0, n);
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::TrimRight() {
    int n = GetLength();
    while (n > 0 && isSpace(m_pszData[n - 1]))
        --n;
    Truncate(n);
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::TrimRight(XCHAR ch) {
    int n = GetLength();
    while (n > 0 && m_pszData[n - 1] == ch)
        --n;
    Truncate(n);
    return *this;
}
template <typename XCHAR>
CStringT<XCHAR>& CStringT<XCHAR>::TrimRight(PCXSTR pszTargets) {
    pszTargets = orEmpty(pszTargets);
    int n = GetLength();
    while (n > 0 && isOneOf(pszTargets, m_pszData[n - 1]))
        --n;
    Truncate(n);
    return *this;
}

// ---- Pieces

template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::Mid(int iFirst) const {
    return Mid(iFirst, maxStringLength);
}
template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::Mid(int iFirst, int nCount) const {
    int nLength = GetLength();
    iFirst = std::clamp(iFirst, 0, nLength);
    nCount = std::clamp(nCount, 0, nLength - iFirst);
    if (nCount == nLength)
        return *this;
    return CStringT(m_pszData + iFirst, nCount);
}
template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::Left(int nCount) const {
    return Mid(0, nCount);
}
template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::Right(int nCount) const {
    nCount = std::clamp(nCount, 0, GetLength());
    return Mid(GetLength() - nCount, nCount);
}
template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::SpanIncluding(PCXSTR pszCharSet) const {
    pszCharSet = orEmpty(pszCharSet);
    int n = 0;
    while (n < GetLength() && isOneOf(pszCharSet, m_pszData[n]))
        ++n;
    return Left(n);
}
template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::SpanExcluding(PCXSTR pszCharSet) const {
    pszCharSet = orEmpty(pszCharSet);
    int n = 0;
    while (n < GetLength() && !isOneOf(pszCharSet, m_pszData[n]))
        ++n;
    return Left(n);
}
template <typename XCHAR>
CStringT<XCHAR> CStringT<XCHAR>::Tokenize(PCXSTR pszTokens, int& iStart) const {
    if (iStart < 0)
        AfxThrowInvalidStringArg();
    pszTokens = orEmpty(pszTokens);
    int nLength = GetLength();
    int iFrom = iStart;
    while (iFrom < nLength && isOneOf(pszTokens, m_pszData[iFrom]))
        ++iFrom;
    if (iFrom >= nLength) {
        iStart = -1;
        return CStringT();
    }
    int iUntil = iFrom;
    while (iUntil < nLength && !isOneOf(pszTokens, m_pszData[iUntil]))
        ++iUntil;
    iStart = iUntil + 1;
    return Mid(iFrom, iUntil - iFrom);
}

// ---- Searching and comparing

template <typename XCHAR>
int CStringT<XCHAR>::Find(XCHAR ch, int iStart) const noexcept {
    if (iStart < 0 || iStart >= GetLength())
        return -1;
    const XCHAR* p = Traits<XCHAR>::find(m_pszData + iStart, GetLength() - iStart, ch);
    return p == nullptr ? -1 : static_cast<int>(p - m_pszData);
}
template <typename XCHAR>
int CStringT<XCHAR>::Find(PCXSTR pszSub, int iStart) const noexcept {
    if (pszSub == nullptr || iStart < 0 || iStart > GetLength())
        return -1;
    int nSub = StringLength(pszSub);
    const XCHAR* pEnd = m_pszData + GetLength();
    const XCHAR* p = search<XCHAR>(m_pszData + iStart, pEnd, pszSub, nSub);
    return p == pEnd && nSub > 0 ? -1 : static_cast<int>(p - m_pszData);
}
template <typename XCHAR>
int CStringT<XCHAR>::ReverseFind(XCHAR ch) const noexcept {
    for (int i = GetLength() - 1; i >= 0; --i)
        if (m_pszData[i] == ch)
            return i;
    return -1;
}
template <typename XCHAR>
int CStringT<XCHAR>::FindOneOf(PCXSTR pszCharSet) const noexcept {
    pszCharSet = orEmpty(pszCharSet);
    for (int i = 0; i < GetLength(); ++i)
        if (isOneOf(pszCharSet, m_pszData[i]))
            return i;
    return -1;
}

template <typename XCHAR>
int CStringT<XCHAR>::Compare(PCXSTR psz) const noexcept {
    psz = orEmpty(psz);
    const XCHAR* p = m_pszData;
    while (*p == *psz && *p != 0) {
        ++p;
        ++psz;
    }
    return compareFrom(p, psz);
}
template <typename XCHAR>
int CStringT<XCHAR>::CompareNoCase(PCXSTR psz) const noexcept {
    psz = orEmpty(psz);
    const XCHAR* p = m_pszData;
    while (lowered(*p) == lowered(*psz) && *p != 0) {
        ++p;
        ++psz;
    }
    XCHAR a[2] = {lowered(*p), 0}, b[2] = {lowered(*psz), 0};
    return compareFrom(a, b);
}
template <typename XCHAR>
bool CStringT<XCHAR>::equals(const CStringT& other) const noexcept {
    if (m_pszData == other.m_pszData)
        return true;
    int nLength = GetLength();
    if (nLength == other.GetLength() && Traits<XCHAR>::compare(m_pszData, other.m_pszData, nLength) == 0)
        return true;
    return Compare(other.m_pszData) == 0; // equal up to a NUL inside counts as equal
}

// ---- Formatting and resources

template <typename XCHAR>
void CStringT<XCHAR>::FormatV(PCXSTR pszFormat, va_list args) {
    mvafx::TextBuffer<XCHAR> buffer;
    mvafx::formatText<XCHAR>(buffer, orEmpty(pszFormat), args);
    SetString(buffer.text(), buffer.length());
}
template <typename XCHAR>
void CStringT<XCHAR>::AppendFormatV(PCXSTR pszFormat, va_list args) {
    mvafx::TextBuffer<XCHAR> buffer;
    mvafx::formatText<XCHAR>(buffer, orEmpty(pszFormat), args);
    Append(buffer.text(), buffer.length());
}
template <typename XCHAR>
void CStringT<XCHAR>::Format(PCXSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    FormatV(pszFormat, args);
    va_end(args);
}
template <typename XCHAR>
void CStringT<XCHAR>::AppendFormat(PCXSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    AppendFormatV(pszFormat, args);
    va_end(args);
}
template <typename XCHAR>
void CStringT<XCHAR>::Format(UINT nFormatID, ...) {
    CStringT format;
    format.LoadString(nFormatID);
    va_list args;
    va_start(args, nFormatID);
    FormatV(format, args);
    va_end(args);
}
template <typename XCHAR>
void CStringT<XCHAR>::AppendFormat(UINT nFormatID, ...) {
    CStringT format;
    format.LoadString(nFormatID);
    va_list args;
    va_start(args, nFormatID);
    AppendFormatV(format, args);
    va_end(args);
}

template <typename XCHAR>
BOOL CStringT<XCHAR>::LoadString(UINT nID) {
    HINSTANCE hInstance = AfxFindStringResourceHandle(nID);
    return hInstance != nullptr && LoadString(hInstance, nID);
}
template <typename XCHAR>
BOOL CStringT<XCHAR>::LoadString(HINSTANCE hInstance, UINT nID) {
    return LoadString(hInstance, nID, MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL));
}
template <typename XCHAR>
BOOL CStringT<XCHAR>::LoadString(HINSTANCE hInstance, UINT nID, WORD wLanguageID) {
    mvafx::StringResource resource = mvafx::findStringResource(hInstance, nID, wLanguageID);
    if (resource.nUnits == 0)
        return FALSE;
    CStringT<wchar_t> text;
    int nLength = mvafx::copyStringResource(resource, nullptr, 0);
    mvafx::copyStringResource(resource, text.GetBufferSetLength(nLength), nLength);
    *this = text;
    return TRUE;
}

template <typename XCHAR>
int CStringT<XCHAR>::StringLength(PCXSTR psz) noexcept {
    if (psz == nullptr)
        return 0;
    std::size_t nLength = Traits<XCHAR>::length(psz);
    return nLength > static_cast<std::size_t>(maxStringLength) ? maxStringLength + 1
                                                               : static_cast<int>(nLength);
}
template <typename XCHAR>
void CStringT<XCHAR>::CopyChars(XCHAR* pchDest, const XCHAR* pchSrc, int nChars) noexcept {
    if (nChars > 0)
        std::memcpy(pchDest, pchSrc, static_cast<std::size_t>(nChars) * sizeof(XCHAR));
}

template class CStringT<wchar_t>;
template class CStringT<char>;
