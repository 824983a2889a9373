// CString and CStringA: value strings that share one text until one of them changes it.
//
// A string object is one pointer to a NUL-terminated text; a reference count, the length and the capacity lie
// just before the text. Copies share the text and are cheap; the count is atomic, so that copies of one
// string may be used by several threads at once, each thread having its own object. One object belongs to one
// thread at a time.
//
// CString holds wide text (UTF-16 units on Windows, code points elsewhere), CStringA 8-bit text in the code
// page of the thread (CP_THREAD_ACP). Each converts to the other when it is constructed from it or assigned
// it.
//
//     CString text;
//     text.Format(L"%s has %d records, %hs", L"a.dat", 3, "8-bit text");
//     int comma = text.Find(L',');
//     CString head = text.Left(comma);
//
// Rules that hold for every member:
// - A null text argument counts as the empty text, unless a member says otherwise.
// - A text argument may point into the string that is being changed.
// - Positions and lengths count characters (XCHAR units). Members that cut out a piece (Left, Mid ...) clip
//   negative and too large values.
// - Exhausted memory throws CMemoryException and leaves the string as it was. A position outside the string
// where
//   one is required (operator[], GetAt, SetAt), a negative length, or a length beyond 0x3FFFFFFF throws
//   COleException with the code E_INVALIDARG.
// - A pointer below 65,536 given to a constructor or an assignment is a string resource id (MAKEINTRESOURCE),
// and
//   that resource is loaded.
//
// Formatting (Format, AppendFormat and their forms with va_list) follows printf with these additions, alike
// on both targets:
// - %s takes a text of the string's own kind, %S of the other kind; %hs always 8-bit, %ls and %ws always
// wide;
//   likewise %c, %C, %hc, %lc. A null text gives "(null)".
// - Length prefixes: hh, h, l, ll, I32, I64, I (pointer-sized), j, z, t, w, L. %ld and %lu read the target's
// long.
// - %e, %f, %g, %a are correctly rounded to any number of digits; the exponent of %e and %g has at least two.
//   Infinities and not-a-number give inf and nan (INF and NAN for the upper-case conversions).
// - %n stores nothing; its argument is skipped. %p gives all hexadecimal digits of a pointer, in capitals.
// - A lone % at the end gives nothing; an unknown conversion gives its letter.
#pragma once

#include "mvafx_export.h"
#include "win32.h"

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <utility>

[[noreturn]] MVAFX_API void AfxThrowInvalidStringArg();

// What lies before the text of a string.
struct CStringData {
    std::atomic<int> nRefs; // number of sharing strings; negative: the text is locked, and never shared
    int nDataLength;        // characters in use, without the NUL
    int nAllocLength;       // characters that fit, without the NUL; 0 only in the common empty text
};

// The empty text of every string without characters; nobody writes to it or counts its users.
struct CNilStringData {
    CStringData data;
    wchar_t text[2];
};
extern MVAFX_API CNilStringData g_afxNilString;

template <typename XCHAR>
struct CStringOtherChar;
template <>
struct CStringOtherChar<wchar_t> {
    typedef char type;
};
template <>
struct CStringOtherChar<char> {
    typedef wchar_t type;
};

template <typename XCHAR_>
class CStringT {
public:
    typedef XCHAR_ XCHAR;
    typedef XCHAR_* PXSTR;
    typedef const XCHAR_* PCXSTR;
    typedef typename CStringOtherChar<XCHAR_>::type YCHAR;
    typedef YCHAR* PYSTR;
    typedef const YCHAR* PCYSTR;

    // ---- Construction and assignment

    CStringT() noexcept
        : m_pszData(nilText()) {}
    CStringT(const CStringT& src)
        : m_pszData(share(src)) {}
    CStringT(CStringT&& src) noexcept
        : m_pszData(src.m_pszData) {
        src.m_pszData = nilText();
    }
    CStringT(PCXSTR psz);
    CStringT(PCXSTR psz, int nLength); // the first nLength characters, NULs included
    CStringT(PCYSTR psz);              // converted
    CStringT(PCYSTR psz, int nLength);
    CStringT(const CStringT<YCHAR>& src); // converted
    explicit CStringT(const unsigned char* psz);
    explicit CStringT(XCHAR ch, int nRepeat = 1); // nRepeat times ch; none if nRepeat is below 1
    ~CStringT() { release(); }

    CStringT& operator=(const CStringT& src) {
        if (m_pszData != src.m_pszData) {
            PXSTR psz = share(src);
            release();
            m_pszData = psz;
        }
        return *this;
    }
    CStringT& operator=(CStringT&& src) noexcept {
        std::swap(m_pszData, src.m_pszData);
        return *this;
    }
    CStringT& operator=(PCXSTR psz);
    CStringT& operator=(PCYSTR psz);
    CStringT& operator=(const CStringT<YCHAR>& src);
    CStringT& operator=(const unsigned char* psz);
    CStringT& operator=(XCHAR ch);

    // Replaces the text; the second form takes exactly nLength characters.
    void SetString(PCXSTR psz);
    void SetString(PCXSTR psz, int nLength);

    // ---- Access

    int GetLength() const noexcept { return data()->nDataLength; }
    bool IsEmpty() const noexcept { return data()->nDataLength == 0; }
    PCXSTR GetString() const noexcept { return m_pszData; }
    operator PCXSTR() const noexcept { return m_pszData; }
    // The character at iChar; at iChar == GetLength() the terminating NUL.
    XCHAR GetAt(int iChar) const {
        if (iChar < 0 || iChar > GetLength())
            AfxThrowInvalidStringArg();
        return m_pszData[iChar];
    }
    XCHAR operator[](int iChar) const { return GetAt(iChar); }
    // iChar must be below GetLength().
    void SetAt(int iChar, XCHAR ch);
    // Releases the text; afterwards the string is empty.
    void Empty() noexcept {
        release();
        m_pszData = nilText();
    }

    // ---- The buffer

    // A text of its own, writable, with room for nMinBufferLength characters and the NUL (at least the
    // present length; characters beyond it are undefined). Call ReleaseBuffer after writing and before any
    // other member.
    PXSTR GetBuffer(int nMinBufferLength);
    PXSTR GetBuffer() { return GetBuffer(GetLength()); }
    // The same, and sets the length to nLength at once.
    PXSTR GetBufferSetLength(int nLength);
    // Ends the writing: the length becomes nNewLength, or, for -1, runs to the first NUL in the buffer.
    void ReleaseBuffer(int nNewLength = -1);
    void ReleaseBufferSetLength(int nNewLength) { setLength(nNewLength); }
    // Makes room for nLength characters without changing the text.
    void Preallocate(int nLength);
    // Gives unused room back.
    void FreeExtra();
    int GetAllocLength() const noexcept { return data()->nAllocLength; }
    // Makes the text unshareable (copies get their own) until UnlockBuffer; returns it.
    PXSTR LockBuffer();
    void UnlockBuffer();

    // ---- Adding

    void Append(PCXSTR psz);
    void Append(PCXSTR psz, int nLength);
    void Append(const CStringT& src);
    void AppendChar(XCHAR ch);
    CStringT& operator+=(const CStringT& src) {
        Append(src);
        return *this;
    }
    CStringT& operator+=(PCXSTR psz) {
        Append(psz);
        return *this;
    }
    CStringT& operator+=(PCYSTR psz);
    CStringT& operator+=(XCHAR ch) {
        AppendChar(ch);
        return *this;
    }
    CStringT& operator+=(YCHAR ch);
    CStringT& operator+=(unsigned char ch) { return *this += static_cast<XCHAR>(ch); }

    // Inserts before position iIndex (clipped into the string); returns the new length.
    int Insert(int iIndex, PCXSTR psz);
    int Insert(int iIndex, XCHAR ch);

    // ---- Removing and replacing

    // Deletes nCount characters from iIndex on, as many as there are; returns the new length.
    int Delete(int iIndex, int nCount = 1);
    // Deletes every ch; returns how many there were.
    int Remove(XCHAR ch);
    // Replaces every occurrence from left to right, replaced text is not searched again; returns their
    // number. An empty chOld text replaces nothing. The comparison is exact.
    int Replace(XCHAR chOld, XCHAR chNew);
    int Replace(PCXSTR pszOld, PCXSTR pszNew);
    // Shortens to nNewLength characters (at most the present length).
    void Truncate(int nNewLength);

    // Case is changed and disregarded for the letters A to Z alone, whatever the locale.
    CStringT& MakeUpper();
    CStringT& MakeLower();
    CStringT& MakeReverse();
    // Trim removes white space, one character, or every character of a set, from both ends.
    CStringT& Trim() { return TrimRight().TrimLeft(); }
    CStringT& Trim(XCHAR ch) { return TrimRight(ch).TrimLeft(ch); }
    CStringT& Trim(PCXSTR pszTargets) { return TrimRight(pszTargets).TrimLeft(pszTargets); }
    CStringT& TrimLeft();
    CStringT& TrimLeft(XCHAR ch);
    CStringT& TrimLeft(PCXSTR pszTargets);
    CStringT& TrimRight();
    CStringT& TrimRight(XCHAR ch);
    CStringT& TrimRight(PCXSTR pszTargets);

    // ---- Pieces

    CStringT Mid(int iFirst) const;
    CStringT Mid(int iFirst, int nCount) const;
    CStringT Left(int nCount) const;
    CStringT Right(int nCount) const;
    // The longest beginning that consists of characters of the set, or of none of them.
    CStringT SpanIncluding(PCXSTR pszCharSet) const;
    CStringT SpanExcluding(PCXSTR pszCharSet) const;
    // The next token from iStart on, tokens being separated by characters of pszTokens; iStart moves behind
    // it. At the end: the empty string, and iStart is -1. Empty tokens are skipped. A null or empty pszTokens
    // gives the whole rest.
    CStringT Tokenize(PCXSTR pszTokens, int& iStart) const;

    // ---- Searching: a position, or -1 (also for an iStart outside the string and a null text)

    int Find(XCHAR ch, int iStart = 0) const noexcept;
    int Find(PCXSTR pszSub, int iStart = 0) const noexcept; // an empty text is found at iStart
    int ReverseFind(XCHAR ch) const noexcept;
    int FindOneOf(PCXSTR pszCharSet) const noexcept;

    // ---- Comparing: negative, 0 or positive

    int Compare(PCXSTR psz) const noexcept;       // by the value of UTF-16 units (bytes in CStringA)
    int CompareNoCase(PCXSTR psz) const noexcept; // the same on lower-case letters

    // ---- Formatting and resources

    void Format(PCXSTR pszFormat, ...);
    void Format(UINT nFormatID, ...); // the format is a string resource; a missing one formats nothing
    void FormatV(PCXSTR pszFormat, va_list args);
    void AppendFormat(PCXSTR pszFormat, ...);
    void AppendFormat(UINT nFormatID, ...);
    void AppendFormatV(PCXSTR pszFormat, va_list args);

    // Loads a string resource from the first module of the resource chain that has it, or from hInstance (in
    // one language with wLanguageID). FALSE, and an empty string, if there is none or it is empty.
    BOOL LoadString(UINT nID);
    BOOL LoadString(HINSTANCE hInstance, UINT nID);
    BOOL LoadString(HINSTANCE hInstance, UINT nID, WORD wLanguageID);

    static int StringLength(PCXSTR psz) noexcept; // 0 for null
    static void CopyChars(XCHAR* pchDest, const XCHAR* pchSrc, int nChars) noexcept;

    // ---- Operators

    friend CStringT operator+(const CStringT& a, const CStringT& b) {
        return concatenate(a.m_pszData, a.GetLength(), b.m_pszData, b.GetLength());
    }
    friend CStringT operator+(const CStringT& a, PCXSTR b) {
        return concatenate(a.m_pszData, a.GetLength(), b, StringLength(b));
    }
    friend CStringT operator+(PCXSTR a, const CStringT& b) {
        return concatenate(a, StringLength(a), b.m_pszData, b.GetLength());
    }
    friend CStringT operator+(const CStringT& a, PCYSTR b) { return a + CStringT(b); }
    friend CStringT operator+(PCYSTR a, const CStringT& b) { return CStringT(a) + b; }
    friend CStringT operator+(const CStringT& a, XCHAR b) {
        return concatenate(a.m_pszData, a.GetLength(), &b, 1);
    }
    friend CStringT operator+(XCHAR a, const CStringT& b) {
        return concatenate(&a, 1, b.m_pszData, b.GetLength());
    }
    friend CStringT operator+(const CStringT& a, YCHAR b) { return a + static_cast<XCHAR>(b); }
    friend CStringT operator+(YCHAR a, const CStringT& b) { return static_cast<XCHAR>(a) + b; }

    friend bool operator==(const CStringT& a, const CStringT& b) noexcept { return a.equals(b); }
    friend bool operator==(const CStringT& a, PCXSTR b) noexcept { return a.Compare(b) == 0; }
    friend bool operator==(PCXSTR a, const CStringT& b) noexcept { return b.Compare(a) == 0; }
    friend bool operator==(const CStringT& a, PCYSTR b) { return a.equals(CStringT(b)); }
    friend bool operator==(PCYSTR a, const CStringT& b) { return b.equals(CStringT(a)); }
    friend bool operator==(const CStringT& a, XCHAR b) noexcept {
        return a.GetLength() == 1 && a.m_pszData[0] == b;
    }
    friend bool operator==(XCHAR a, const CStringT& b) noexcept { return b == a; }
    friend bool operator!=(const CStringT& a, const CStringT& b) noexcept { return !(a == b); }
    friend bool operator!=(const CStringT& a, PCXSTR b) noexcept { return !(a == b); }
    friend bool operator!=(PCXSTR a, const CStringT& b) noexcept { return !(a == b); }
    friend bool operator!=(const CStringT& a, PCYSTR b) { return !(a == b); }
    friend bool operator!=(PCYSTR a, const CStringT& b) { return !(a == b); }
    friend bool operator!=(const CStringT& a, XCHAR b) noexcept { return !(a == b); }
    friend bool operator!=(XCHAR a, const CStringT& b) noexcept { return !(b == a); }
    friend bool operator<(const CStringT& a, const CStringT& b) noexcept { return a.Compare(b) < 0; }
    friend bool operator<(const CStringT& a, PCXSTR b) noexcept { return a.Compare(b) < 0; }
    friend bool operator<(PCXSTR a, const CStringT& b) noexcept { return b.Compare(a) > 0; }
    friend bool operator>(const CStringT& a, const CStringT& b) noexcept { return a.Compare(b) > 0; }
    friend bool operator>(const CStringT& a, PCXSTR b) noexcept { return a.Compare(b) > 0; }
    friend bool operator>(PCXSTR a, const CStringT& b) noexcept { return b.Compare(a) < 0; }
    friend bool operator<=(const CStringT& a, const CStringT& b) noexcept { return a.Compare(b) <= 0; }
    friend bool operator<=(const CStringT& a, PCXSTR b) noexcept { return a.Compare(b) <= 0; }
    friend bool operator<=(PCXSTR a, const CStringT& b) noexcept { return b.Compare(a) >= 0; }
    friend bool operator>=(const CStringT& a, const CStringT& b) noexcept { return a.Compare(b) >= 0; }
    friend bool operator>=(const CStringT& a, PCXSTR b) noexcept { return a.Compare(b) >= 0; }
    friend bool operator>=(PCXSTR a, const CStringT& b) noexcept { return b.Compare(a) <= 0; }

private:
    PXSTR m_pszData;

    static PXSTR nilText() noexcept { return reinterpret_cast<PXSTR>(g_afxNilString.text); }
    CStringData* data() const noexcept { return reinterpret_cast<CStringData*>(m_pszData) - 1; }
    bool isNil() const noexcept { return data()->nAllocLength == 0; }
    bool isShared() const noexcept { return data()->nRefs.load(std::memory_order_acquire) > 1; }
    static PXSTR share(const CStringT& src) {
        CStringData* pData = src.data();
        if (pData->nRefs.load(std::memory_order_relaxed) < 0) // the common empty text, or locked
            return copyOfUnshared(src);
        pData->nRefs.fetch_add(1, std::memory_order_relaxed);
        return src.m_pszData;
    }
    void release() noexcept {
        CStringData* pData = data();
        int nRefs = pData->nRefs.load(std::memory_order_acquire);
        if (nRefs == 1 || (nRefs > 1 && pData->nRefs.fetch_sub(1, std::memory_order_acq_rel) == 1) ||
            (nRefs < 0 && pData->nAllocLength != 0))
            freeText(pData);
    }
    bool equals(const CStringT& other) const noexcept;

    static PXSTR copyOfUnshared(const CStringT& src);
    static PXSTR newText(int nLength);
    static void freeText(CStringData* pData) noexcept;
    static CStringT concatenate(PCXSTR a, int nLengthA, PCXSTR b, int nLengthB);
    PXSTR prepareWrite(int nLength);
    void setLength(int nLength);
    void setConverted(PCYSTR psz, int nLength);
    bool loadImplicit(const void* psz);
    bool formatFromResource(UINT nFormatID, bool bAppend, va_list args);
};

MVAFX_INSTANTIATED(CStringT<wchar_t>)
MVAFX_INSTANTIATED(CStringT<char>)

typedef CStringT<wchar_t> CString;
typedef CStringT<wchar_t> CStringW;
typedef CStringT<char> CStringA;

static_assert(sizeof(CString) == sizeof(void*), "a string is one pointer");
