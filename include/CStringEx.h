// Text helpers: formatting into a new string, sizes and dates for display, letter numbering, string resources
// of any module, and 8-bit file text with or without a byte-order mark.
//
// Formatting follows CString::Format (`%s` is a wide string in the wide forms). Nothing here keeps state
// except AfxFormatDate, which changes the process's time locale. Any thread, AfxFormatDate apart.
//
//     CString status = AfxFormatString(L"%s: %s", name.GetString(), AfxBytesToString(size).GetString());
//     // "report.dat: 1,50 Mb"
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class MVLIB_API CStringEx : public CString {
public:
    using CString::CString;
    using CString::operator=;
    CStringEx() = default;
    CStringEx(const CString& str)
        : CString(str) {}
    // String resource `nID` of `hModule` (null: the program), of any length, in whatever language the system
    // finds first; empty when there is none.
    CStringEx(unsigned int nID, HINSTANCE hModule);

    // The byte-order mark at the beginning of `pszData`, which must hold three bytes or end in a NUL before:
    // 4 for EF BB BF (UTF-8), 5 for FE FF, 0 for anything else, FF FE included.
    static int DetectBOMEncoding(const char* pszData);
    // File text as a wide string. A UTF-8 mark is dropped and the rest decoded as UTF-8; text without a mark
    // is UTF-8 too. Kept: after the mark FE FF the bytes are taken as they stand, as little-endian 16-bit
    // units up to a zero unit, which such a text must have. Null gives the empty string.
    static CString RemoveBOMEncoding(const char* pszText);
    // "Error <number>: ", and nothing behind it. AfxGetMsgErrorSistema (CLastError.h) gives the system's
    // text.
    static CString GetMsgErrorSistema(unsigned long dwError);
};

// ---- Formatting

// A new string, formatted with printf rules; a null format is an empty one. The arguments must be those that
// the format names.
MVLIB_API CString AfxFormatString(const wchar_t* pszFormat, ...);
// The same with string resource `nID`, in the library's current language, as the format; empty when it is
// missing.
MVLIB_API CString AfxFormatString(unsigned int nID, ...);
MVLIB_API CStringA AfxFormatStringA(const char* pszFormat, ...);

// ---- Sizes and dates

// A size for display. Separators are fixed on every system: "," before decimals, "." between thousands.
// Up to 8,192: "<bytes> bytes"; above, AfxKBytesToString of the whole kilobytes.
MVLIB_API CString AfxBytesToString(unsigned long dwBytes);
// Below 1,024: "<kilobytes> Kb"; else "<megabytes> Mb" with two decimals, with one from 8,192 kilobytes on.
// There is no greater unit.
MVLIB_API CString AfxKBytesToString(unsigned long dwKBytes);

// `time` as local time by an 8-bit pattern of strftime, in the language of the user's locale. A result of 128
// characters or more is empty. A time that cannot be broken down (before 1970) throws COleException* with the
// code 0x80070057. Kept: the process's time locale (LC_TIME) is "C" afterwards, whatever it was before, and
// the user's after that exception. What the system makes of a "%" that begins nothing that it knows differs.
// A null pattern gives an empty text. One thread at a time.
MVLIB_API CString AfxFormatDate(CTime& time, const char* pszPattern);

// ---- Letters as numbers

// `nValue` in base 26 with the digits A to Z, or a to z when `bMinuscules` is not 0: 0 is A, 25 is Z, 26 is
// BA. Kept: this is not the numbering of spreadsheet columns, and a negative value gives one character below
// the letter A.
MVLIB_API CString AfxIntToAZ(int nValue, int bMinuscules);
// The inverse for what AfxIntToAZ makes of values that are not negative. The last character says whether the
// digits are capitals; the others are not looked at for being letters. 0 for a null or empty text and for one
// whose last character is no letter of ASCII. Values beyond an int wrap.
MVLIB_API int AfxAZToInt(const wchar_t* pszText);
