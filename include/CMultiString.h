// A list of wide strings in one buffer, laid out as the system's profile and registry functions want it:
// NUL-terminated strings one behind the other, ended by an empty one. The offset of each string is kept, so
// that reaching string `i` takes the same time for every `i`.
//
// The object owns its buffer. Pointers from GetCadena, operator[], GetBuffer and the conversion are good
// until the next change. A plain value for one thread at a time; copies are independent. Every operation that
// needs memory and gets none throws CMemoryException* and, where it only appends, leaves the list as it was.
//
//     CMultiString names;
//     names += L"ab";
//     names += L"c";                                   // the buffer: a b 0 c 0 0
//     for (int i = 0; i < names.GetNumStr(); ++i)
//         Use(names[i]);
//
// An empty string ends the list, so it can be no member: appending one is ignored. Kept: an array of two or
// more strings (constructor, Afegir) is taken as it comes; an empty string in it counts and can be reached by
// its index, but whoever walks the buffer stops there.
#pragma once

#include "mvlib_export.h"

#include "afx.h"
#include "afxtempl.h"

class MVLIB_API CMultiString {
public:
    // ---- Construction

    // Empty: a buffer of two NULs.
    CMultiString();
    // A copy of a buffer that ends in two NULs; null makes an empty list.
    CMultiString(const wchar_t* szMulti);
    // The `n` strings of the array; empty when the array is null or `n` below 1.
    CMultiString(const wchar_t* const* aszStrings, int n);
    CMultiString(const CMultiString& other);
    ~CMultiString();

    // Replace the content by a copy of a buffer that ends in two NULs (null: by nothing), up to its first
    // empty string. The buffer may be the list's own. Of another list its buffer is copied likewise.
    CMultiString& operator=(const CMultiString& other);
    CMultiString& operator=(const wchar_t* szMulti);
    void Set(const wchar_t* szMulti);

    // ---- Query

    // The number of strings.
    int GetNumStr() const;
    // The size of the buffer in wide characters: the strings with their NULs and the last NUL; 2 for an empty
    // list, and more after GetBuffer.
    int GetMidaBuffer() const;
    // String `i`, from 0. Throws CInvalidArgException* when there is no such string.
    const wchar_t* GetCadena(int i) const;
    const wchar_t* operator[](int i) const;
    // The whole buffer. Never null.
    operator const wchar_t*() const;
    // The index of the first string equal to `sz`, upper and lower case being different; -1 when there is
    // none.
    int Buscar(const wchar_t* sz) const;

    // ---- Change

    // Append one string; null and the empty string are ignored.
    void Afegir(const wchar_t* sz);
    CMultiString& operator+=(const wchar_t* sz);
    CMultiString& operator+=(const CString& str);
    // Appends `n` strings; nothing when `n` is below 1 or the array null.
    void Afegir(const wchar_t* const* aszStrings, int n);
    // Appends each string of `other`, which may be the list itself.
    CMultiString& operator+=(const CMultiString& other);
    // Removes string `i`, or the first string equal to `sz`. Nothing happens when there is none.
    void Treure(int i);
    void Treure(const wchar_t* sz);
    // Removes every string; the buffer shrinks to two NULs.
    void Buidar();

    // ---- The buffer for others to fill

    // A buffer of at least `n` wide characters with the present content, to be filled with strings that end
    // in two NULs; GetMidaBuffer says from then on how large it is. ReleaseBuffer must follow and finds the
    // new strings; it leaves GetMidaBuffer as it is, so set a list to its own buffer before appending to it.
    wchar_t* GetBuffer(int n);
    void ReleaseBuffer();

    // ---- Helpers for buffers

    // Fills `offsets` with the place of each string of a buffer that ends in two NULs. Returns the buffer's
    // size in wide characters, the last NUL included; 2 for an empty list.
    static int analitzarCadena(const wchar_t* szMulti, CArray<int, int>& offsets);
    // A block of `n` wide characters from malloc, filled with the first `n` of `szCopy` unless that is null.
    // Throws CMemoryException* when there is no memory, or `n` is negative. The caller frees it.
    static wchar_t* allocBuffer(int n, const wchar_t* szCopy);
    // realloc to `n` wide characters. Throws CMemoryException* likewise; `p` is then still good.
    static wchar_t* reallocBuffer(int n, wchar_t* p);

protected:
    wchar_t* m_pBuffer;
    int m_nMidaBuffer; // in wide characters
    CArray<int, int> m_offsets;

private:
    void replace(const wchar_t* szMulti, int nSize, const CArray<int, int>& offsets);
};
