#include "CMultiString.h"

#include <climits>
#include <cstdlib>
#include <cwchar>
#include <functional>
#include <utility>

namespace {

constexpr int EmptySize = 2;

} // namespace

CMultiString::CMultiString()
    : m_pBuffer(allocBuffer(EmptySize, L"\0"))
    , m_nMidaBuffer(EmptySize) {}

CMultiString::CMultiString(const wchar_t* szMulti)
    : CMultiString() {
    Set(szMulti);
}

CMultiString::CMultiString(const wchar_t* const* aszStrings, int n)
    : CMultiString() {
    Afegir(aszStrings, n);
}

// The offsets are taken over as they are: after an empty string in the middle they say more than the buffer.
CMultiString::CMultiString(const CMultiString& other)
    : CMultiString() {
    replace(other.m_pBuffer, other.m_nMidaBuffer, other.m_offsets);
}

CMultiString::~CMultiString() {
    std::free(m_pBuffer);
}

CMultiString& CMultiString::operator=(const CMultiString& other) {
    if (this != &other)
        Set(other.m_pBuffer);
    return *this;
}

CMultiString& CMultiString::operator=(const wchar_t* szMulti) {
    Set(szMulti);
    return *this;
}

void CMultiString::Set(const wchar_t* szMulti) {
    CArray<int, int> offsets;
    const int size = szMulti ? analitzarCadena(szMulti, offsets) : EmptySize;
    // An empty list may be given as one NUL alone.
    replace(offsets.IsEmpty() ? L"\0" : szMulti, size, offsets);
}

// What can fail comes first, and the old buffer goes last: `szMulti` may be a part of it.
void CMultiString::replace(const wchar_t* szMulti, int nSize, const CArray<int, int>& offsets) {
    wchar_t* buffer = allocBuffer(nSize, szMulti);
    try {
        m_offsets.Copy(offsets);
    } catch (CException*) {
        std::free(buffer);
        throw;
    }
    std::free(std::exchange(m_pBuffer, buffer));
    m_nMidaBuffer = nSize;
}

// ---- Query

int CMultiString::GetNumStr() const {
    return static_cast<int>(m_offsets.GetSize());
}

int CMultiString::GetMidaBuffer() const {
    return m_nMidaBuffer;
}

const wchar_t* CMultiString::GetCadena(int i) const {
    if (i < 0 || i >= GetNumStr())
        AfxThrowInvalidArgException();
    return m_pBuffer + m_offsets[i];
}

const wchar_t* CMultiString::operator[](int i) const {
    return GetCadena(i);
}

CMultiString::operator const wchar_t*() const {
    return m_pBuffer;
}

int CMultiString::Buscar(const wchar_t* sz) const {
    if (!sz)
        return -1;
    for (int i = 0; i < GetNumStr(); ++i) {
        if (std::wcscmp(m_pBuffer + m_offsets[i], sz) == 0)
            return i;
    }
    return -1;
}

// ---- Change

void CMultiString::Afegir(const wchar_t* sz) {
    Afegir(&sz, 1);
}

CMultiString& CMultiString::operator+=(const wchar_t* sz) {
    Afegir(sz);
    return *this;
}

CMultiString& CMultiString::operator+=(const CString& str) {
    Afegir(str.GetString());
    return *this;
}

void CMultiString::Afegir(const wchar_t* const* aszStrings, int n) {
    if (!aszStrings || n < 1)
        return;
    const auto text = [&](int i) { return aszStrings[i] ? aszStrings[i] : L""; };
    if (n == 1 && *text(0) == 0)
        return;
    const std::size_t first = m_nMidaBuffer > EmptySize ? static_cast<std::size_t>(m_nMidaBuffer) - 1 : 0;
    std::size_t size = first + 1;
    bool own = false;
    for (int i = 0; i < n; ++i) {
        own =
            own || !(std::less<>()(text(i), m_pBuffer) || std::less<>()(m_pBuffer + m_nMidaBuffer, text(i)));
        size += std::wcslen(text(i)) + 1;
        if (size > INT_MAX)
            AfxThrowMemoryException();
    }
    if (own) { // they would move while they are copied
        CArray<CString, const CString&> copies;
        CArray<const wchar_t*, const wchar_t*> pointers;
        for (int i = 0; i < n; ++i)
            copies.Add(CString(text(i)));
        for (int i = 0; i < n; ++i)
            pointers.Add(copies[i].GetString());
        Afegir(pointers.GetData(), n);
        return;
    }
    // What can fail comes before what changes.
    const int before = GetNumStr();
    m_offsets.SetSize(before + n, -1);
    try {
        m_pBuffer = reallocBuffer(static_cast<int>(size), m_pBuffer);
    } catch (CException*) {
        m_offsets.SetSize(before, -1);
        throw;
    }
    m_nMidaBuffer = static_cast<int>(size);
    wchar_t* end = m_pBuffer + first;
    for (int i = 0; i < n; ++i) {
        const std::size_t length = std::wcslen(text(i));
        m_offsets[before + i] = static_cast<int>(end - m_pBuffer);
        std::wmemcpy(end, text(i), length);
        end[length] = 0;
        end += length + 1;
    }
    *end = 0;
}

CMultiString& CMultiString::operator+=(const CMultiString& other) {
    const int count = other.GetNumStr();
    for (int i = 0; i < count; ++i)
        Afegir(other.GetCadena(i));
    return *this;
}

// The list is made anew, string by string.
void CMultiString::Treure(int i) {
    if (i < 0 || i >= GetNumStr())
        return;
    CMultiString rest;
    for (int k = 0; k < GetNumStr(); ++k) {
        if (k != i)
            rest.Afegir(GetCadena(k));
    }
    *this = rest;
}

void CMultiString::Treure(const wchar_t* sz) {
    Treure(Buscar(sz));
}

void CMultiString::Buidar() {
    m_pBuffer = reallocBuffer(EmptySize, m_pBuffer);
    m_pBuffer[0] = m_pBuffer[1] = 0;
    m_nMidaBuffer = EmptySize;
    m_offsets.RemoveAll();
}

// ---- The buffer for others to fill

wchar_t* CMultiString::GetBuffer(int n) {
    if (n > m_nMidaBuffer) {
        m_pBuffer = reallocBuffer(n, m_pBuffer);
        m_nMidaBuffer = n;
    }
    return m_pBuffer;
}

void CMultiString::ReleaseBuffer() {
    m_offsets.RemoveAll();
    analitzarCadena(m_pBuffer, m_offsets);
}

// ---- Helpers for buffers

int CMultiString::analitzarCadena(const wchar_t* szMulti, CArray<int, int>& offsets) {
    offsets.RemoveAll();
    if (*szMulti == 0)
        return EmptySize;
    const wchar_t* next = szMulti;
    while (*next != 0) {
        offsets.Add(static_cast<int>(next - szMulti));
        next += std::wcslen(next) + 1;
    }
    return static_cast<int>(next - szMulti) + 1;
}

wchar_t* CMultiString::allocBuffer(int n, const wchar_t* szCopy) {
    wchar_t* buffer = reallocBuffer(n, nullptr);
    if (szCopy)
        std::wmemcpy(buffer, szCopy, static_cast<std::size_t>(n));
    return buffer;
}

wchar_t* CMultiString::reallocBuffer(int n, wchar_t* p) {
    // A block of no characters still needs an address: realloc would take it for freeing.
    const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 1;
    if (n < 0 || count > SIZE_MAX / sizeof(wchar_t))
        AfxThrowMemoryException();
    void* block = std::realloc(p, count * sizeof(wchar_t));
    if (!block)
        AfxThrowMemoryException();
    return static_cast<wchar_t*>(block);
}
