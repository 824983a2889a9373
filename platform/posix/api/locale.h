// Languages, code pages. Include win32.h, not this file.
#pragma once

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_THREAD_ACP 3
#define CP_UTF8 65001
#define CP_WINUNICODE 1200

#define MB_PRECOMPOSED 0x00000001
#define MB_COMPOSITE 0x00000002
#define MB_USEGLYPHCHARS 0x00000004
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_DISCARDNS 0x00000010
#define WC_SEPCHARS 0x00000020
#define WC_DEFAULTCHAR 0x00000040
#define WC_ERR_INVALID_CHARS 0x00000080
#define WC_COMPOSITECHECK 0x00000200
#define WC_NO_BEST_FIT_CHARS 0x00000400

// Conversion between a code page and wide text. Known pages: CP_UTF8, 1252, 28591 and 20127 by number;
// CP_ACP, CP_OEMCP and CP_THREAD_ACP mean 1252 unless the environment variable MVLIB_CODEPAGE names another
// of these when the process first converts. A length of -1 means up to and with the NUL. Answers the units
// written, or needed when the output size is 0; 0 on failure with last error 87 (bad argument, unknown page),
// 122 (output too small), 1004 (flags that the page does not take) or 1113 (ERR_INVALID_CHARS and malformed
// text). Sizes count wchar_t: a code point outside the basic plane is one unit here and two on Windows.
MVPLAT_API int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH source, int sourceLength,
                                          LPWSTR target, int targetSize);
MVPLAT_API int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH source, int sourceLength,
                                          LPSTR target, int targetSize, LPCCH defaultChar,
                                          LPBOOL usedDefaultChar);
// The page that CP_ACP stands for.
MVPLAT_API UINT WINAPI GetACP(void);
MVPLAT_API UINT WINAPI GetOEMCP(void);
MVPLAT_API BOOL WINAPI IsValidCodePage(UINT codePage);
// Always FALSE here: no known page has lead bytes.
MVPLAT_API BOOL WINAPI IsDBCSLeadByte(BYTE byte);

// Whether the bytes look like UTF-16 little-endian, by their first 256 units: they begin with FF FE, or have
// units with a zero byte, or blanks and line ends among them; and none is zero, or a blank or line end with
// its bytes exchanged, which decides against it even behind a mark. An odd size is never UTF-16. A guess,
// which agrees with Windows' on ordinary texts. `result` must be null.
MVPLAT_API BOOL WINAPI IsTextUnicode(LPCVOID buffer, int size, LPINT result);

#define LANG_NEUTRAL 0x00
#define LANG_CATALAN 0x03
#define LANG_GERMAN 0x07
#define LANG_ENGLISH 0x09
#define LANG_SPANISH 0x0a
#define LANG_FRENCH 0x0c
#define LANG_ITALIAN 0x10
#define LANG_PORTUGUESE 0x16
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_SYS_DEFAULT 0x02
#define SUBLANG_CATALAN_CATALAN 0x01
#define SUBLANG_ENGLISH_US 0x01
#define SUBLANG_ENGLISH_UK 0x02
#define SUBLANG_SPANISH 0x01
#define SUBLANG_SPANISH_MODERN 0x03
#define SORT_DEFAULT 0x0

#define MAKELANGID(primary, sub) ((((WORD)(sub)) << 10) | (WORD)(primary))
#define PRIMARYLANGID(language) ((WORD)(language)&0x3ff)
#define SUBLANGID(language) ((WORD)(language) >> 10)
#define MAKELCID(language, sort) ((DWORD)((((DWORD)((WORD)(sort))) << 16) | ((DWORD)((WORD)(language)))))
#define LANGIDFROMLCID(locale) ((WORD)(locale))
#define SORTIDFROMLCID(locale) ((WORD)((((DWORD)(locale)) >> 16) & 0xf))
#define LANG_SYSTEM_DEFAULT (MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT))
#define LANG_USER_DEFAULT (MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT))
#define LOCALE_SYSTEM_DEFAULT (MAKELCID(LANG_SYSTEM_DEFAULT, SORT_DEFAULT))
#define LOCALE_USER_DEFAULT (MAKELCID(LANG_USER_DEFAULT, SORT_DEFAULT))

// The user's language and locale, from LC_ALL, LC_MESSAGES (languages) and LANG; English (United States),
// 0x0409, when they name none that is known. The system's is the same. Taken when the process first asks.
MVPLAT_API LANGID WINAPI GetUserDefaultLangID(void);
MVPLAT_API LANGID WINAPI GetSystemDefaultLangID(void);
MVPLAT_API LANGID WINAPI GetUserDefaultUILanguage(void);
MVPLAT_API LCID WINAPI GetUserDefaultLCID(void);
MVPLAT_API LCID WINAPI GetSystemDefaultLCID(void);
MVPLAT_API LCID WINAPI GetThreadLocale(void);

#define LOCALE_IMEASURE 0x0000000D         // "0" metric, "1" the United States' system
#define LOCALE_SDECIMAL 0x0000000E         // the decimal sign
#define LOCALE_STHOUSAND 0x0000000F        // the sign between thousands
#define LOCALE_SISO639LANGNAME 0x00000059  // "en"
#define LOCALE_SISO3166CTRYNAME 0x0000005A // "US"
#define LOCALE_SNAME 0x0000005C            // "en-US"
#define LOCALE_RETURN_NUMBER 0x20000000    // with LOCALE_IMEASURE: the number, as a DWORD in the buffer
#define LOCALE_USE_CP_ACP 0x40000000
#define LOCALE_NOUSEROVERRIDE 0x80000000u

// Facts of a locale: of the one with that language, or of the user's with LOCALE_USER_DEFAULT, which takes
// measures from LC_MEASUREMENT and signs from LC_NUMERIC where LC_ALL does not stand above them. Answers the
// characters with the NUL, or their number when the size is 0. 0 with last error 87 (locale not known, bad
// size), 1004 (no such fact) or 122 (buffer too small).
MVPLAT_API int WINAPI GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int size);
