#include "format.h"

#include "afx.h"

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

// ---- Addresses, traces, assertions

BOOL AfxIsValidAddress(const void* lp, UINT_PTR nBytes, BOOL bReadWrite) {
    return lp != nullptr && !IsBadReadPtr(lp, nBytes) &&
           (!bReadWrite || !IsBadWritePtr(const_cast<void*>(lp), nBytes));
}

namespace {

// Whether a text's characters are readable up to its NUL, tested a page-aligned piece at a time.
template <typename CH>
BOOL isValidString(const CH* psz, int nLength) {
    if (psz == nullptr)
        return FALSE;
    for (std::size_t i = 0; nLength < 0 || i < static_cast<std::size_t>(nLength);) {
        constexpr UINT_PTR step = 1024;
        UINT_PTR nBytes = step - reinterpret_cast<UINT_PTR>(psz + i) % step;
        std::size_t nChars = nBytes / sizeof(CH);
        if (nChars == 0) // a character across two pieces
            nChars = 1;
        if (IsBadReadPtr(psz + i, nChars * sizeof(CH)))
            return FALSE;
        for (std::size_t end = i + nChars; i < end; ++i)
            if (psz[i] == 0)
                return TRUE;
    }
    return TRUE;
}

} // namespace

BOOL AfxIsValidString(LPCWSTR lpsz, int nLength) {
    return isValidString(lpsz, nLength);
}
BOOL AfxIsValidString(LPCSTR lpsz, int nLength) {
    return isValidString(lpsz, nLength);
}

void AfxTrace(LPCWSTR lpszFormat, ...) {
    CString text;
    va_list args;
    va_start(args, lpszFormat);
    text.FormatV(lpszFormat, args);
    va_end(args);
    OutputDebugStringW(text);
}
void AfxTrace(LPCSTR lpszFormat, ...) {
    CStringA text;
    va_list args;
    va_start(args, lpszFormat);
    text.FormatV(lpszFormat, args);
    va_end(args);
    OutputDebugStringW(CString(text));
}

void AfxAssertFailed(LPCSTR lpszFileName, int nLine, LPCSTR lpszCondition) {
    CString text;
    text.Format(L"%hs(%d): assertion failed: %hs\n", lpszFileName, nLine, lpszCondition);
    OutputDebugStringW(text);
    AfxAbort();
}

void AfxAbort() {
    std::abort();
}

// ---- Dumps

CDumpContext afxDump;

CDumpContext::CDumpContext(CFile* pFile)
    : m_pFile(pFile)
    , m_nDepth(0) {}

void CDumpContext::outputString(LPCWSTR lpsz) {
    if (m_pFile == nullptr) {
        OutputDebugStringW(lpsz);
        return;
    }
    // Stored text is UTF-16LE whatever wchar_t is.
    BYTE bytes[512];
    UINT nBytes = 0;
    for (; *lpsz != 0; ++lpsz) {
        auto add = [&](std::uint32_t unit) {
            bytes[nBytes++] = static_cast<BYTE>(unit);
            bytes[nBytes++] = static_cast<BYTE>(unit >> 8);
        };
        auto c = static_cast<std::uint32_t>(*lpsz);
        if (c > 0xFFFF) {
            add(0xD7C0 + (c >> 10));
            add(0xDC00 + (c & 0x3FF));
        } else {
            add(c);
        }
        if (nBytes > sizeof(bytes) - 4) {
            m_pFile->Write(bytes, nBytes);
            nBytes = 0;
        }
    }
    if (nBytes > 0)
        m_pFile->Write(bytes, nBytes);
}

CDumpContext& CDumpContext::operator<<(LPCWSTR lpsz) {
    outputString(lpsz != nullptr ? lpsz : L"(NULL)");
    return *this;
}

CDumpContext& CDumpContext::operator<<(LPCSTR lpsz) {
    if (lpsz == nullptr)
        return *this << L"(NULL)";
    WCHAR text[512];
    std::size_t nLength = std::strlen(lpsz);
    int nBytes = nLength > 511 ? 511 : static_cast<int>(nLength);
    int nChars = nBytes == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, lpsz, nBytes, text, 511);
    text[nChars] = 0;
    return *this << text;
}

namespace {

// Formats without allocating: a dump must work when memory is short.
template <typename VALUE>
LPCWSTR formatted(WCHAR (&text)[64], LPCWSTR lpszFormat, VALUE value) {
    mvafx::TextBuffer<WCHAR> buffer;
    auto format = [&buffer](LPCWSTR psz, ...) {
        va_list args;
        va_start(args, psz);
        mvafx::formatText(buffer, psz, args);
        va_end(args);
    };
    format(lpszFormat, value);
    int nLength = buffer.length() < 63 ? buffer.length() : 63;
    std::wmemcpy(text, buffer.text(), nLength);
    text[nLength] = 0;
    return text;
}

} // namespace

CDumpContext& CDumpContext::operator<<(const void* lp) {
    WCHAR text[64];
    return *this << formatted(text, L"$%p", lp);
}
CDumpContext& CDumpContext::operator<<(const CObject* pOb) {
    if (pOb == nullptr)
        return *this << L"NULL";
    pOb->Dump(*this);
    return *this;
}
CDumpContext& CDumpContext::operator<<(const CObject& ob) {
    return *this << &ob;
}
CDumpContext& CDumpContext::operator<<(unsigned char by) {
    return *this << static_cast<unsigned int>(by);
}
CDumpContext& CDumpContext::operator<<(unsigned short w) {
    return *this << static_cast<unsigned int>(w);
}
CDumpContext& CDumpContext::operator<<(int n) {
    WCHAR text[64];
    return *this << formatted(text, L"%d", n);
}
CDumpContext& CDumpContext::operator<<(unsigned int u) {
    WCHAR text[64];
    return *this << formatted(text, L"%u", u);
}
CDumpContext& CDumpContext::operator<<(long l) {
    WCHAR text[64];
    return *this << formatted(text, L"%ld", l);
}
CDumpContext& CDumpContext::operator<<(unsigned long ul) {
    WCHAR text[64];
    return *this << formatted(text, L"%lu", ul);
}
CDumpContext& CDumpContext::operator<<(long long n) {
    WCHAR text[64];
    return *this << formatted(text, L"%lld", n);
}
CDumpContext& CDumpContext::operator<<(unsigned long long n) {
    WCHAR text[64];
    return *this << formatted(text, L"%llu", n);
}
CDumpContext& CDumpContext::operator<<(float f) {
    return *this << static_cast<double>(f);
}
CDumpContext& CDumpContext::operator<<(double d) {
    WCHAR text[64];
    return *this << formatted(text, L"%g", d);
}

void CDumpContext::HexDump(LPCTSTR lpszLine, BYTE* pby, int nBytes, int nWidth) {
    ENSURE(nBytes >= 0 && nWidth > 0 && (pby != nullptr || nBytes == 0));
    CString line;
    for (int i = 0; i < nBytes; ++i) {
        if (i % nWidth == 0)
            line.Format(lpszLine, pby + i);
        line.AppendFormat(L" %02X", pby[i]);
        if (i % nWidth == nWidth - 1 || i == nBytes - 1)
            *this << line << L"\n";
    }
}

void CDumpContext::Flush() {
    if (m_pFile != nullptr)
        m_pFile->Flush();
}
