// Functions of Windows' C library that other systems lack. Include win32.h, not this file.
#pragma once

#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>

#ifndef _ERRNO_T_DEFINED
#define _ERRNO_T_DEFINED
typedef int errno_t;
#endif
#ifndef _TRUNCATE
#define _TRUNCATE ((size_t)-1)
#endif

#define _MAX_PATH 260
#define _MAX_DRIVE 3
#define _MAX_DIR 256
#define _MAX_FNAME 256
#define _MAX_EXT 256

// Comparison and change of case fold the letters A to Z only, which is what Windows does in the "C" locale.
MVPLAT_API int __cdecl _wcsicmp(const wchar_t* first, const wchar_t* second);
MVPLAT_API int __cdecl _wcsnicmp(const wchar_t* first, const wchar_t* second, size_t count);
MVPLAT_API int __cdecl _stricmp(const char* first, const char* second);
MVPLAT_API int __cdecl _strnicmp(const char* first, const char* second, size_t count);
MVPLAT_API wchar_t* __cdecl _wcslwr(wchar_t* text);
MVPLAT_API wchar_t* __cdecl _wcsupr(wchar_t* text);
MVPLAT_API wchar_t* __cdecl _wcsrev(wchar_t* text);
// The bytes that a block from malloc holds, which may be more than were asked for. Not for null.
MVPLAT_API size_t __cdecl _msize(void* block);
// A copy from malloc; null for null or when memory is exhausted.
MVPLAT_API wchar_t* __cdecl _wcsdup(const wchar_t* text);
MVPLAT_API char* __cdecl _strdup(const char* text);

// Numbers: blanks, a sign, digits; the largest or smallest value when out of range, 0 when there is no
// number.
MVPLAT_API int __cdecl _wtoi(const wchar_t* text);
MVPLAT_API LONGLONG __cdecl _wtoi64(const wchar_t* text);
MVPLAT_API double __cdecl _wtof(const wchar_t* text);
// The text of a number in a base from 2 to 36, lower case; a sign in base 10 only. The buffer must hold 33
// characters (65 for the 64-bit forms). Answers the buffer.
MVPLAT_API wchar_t* __cdecl _itow(int value, wchar_t* buffer, int base);
MVPLAT_API wchar_t* __cdecl _i64tow(LONGLONG value, wchar_t* buffer, int base);
MVPLAT_API wchar_t* __cdecl _ui64tow(ULONGLONG value, wchar_t* buffer, int base);

// Bounded copies. 0, or an error number (22 bad argument, 34 too small) with an empty target.
MVPLAT_API errno_t __cdecl wcscpy_s(wchar_t* target, size_t size, const wchar_t* source);
MVPLAT_API errno_t __cdecl wcscat_s(wchar_t* target, size_t size, const wchar_t* source);
// At most `count` characters; with _TRUNCATE as many as fit, answering 80 when that was not all.
MVPLAT_API errno_t __cdecl wcsncpy_s(wchar_t* target, size_t size, const wchar_t* source, size_t count);

// Drive, folder, name and extension of a path; a null output with size 0 is not wanted. 0; 22 for a null path
// or a null output with a size (or the reverse), 34 when a part does not fit: every output is then empty.
MVPLAT_API errno_t __cdecl _wsplitpath_s(const wchar_t* path, wchar_t* drive, size_t driveSize,
                                         wchar_t* folder, size_t folderSize, wchar_t* name, size_t nameSize,
                                         wchar_t* extension, size_t extensionSize);
// Joins the parts, any of which may be null: the drive's first letter and ":", the folder with a separator at
// its end, the name, the extension with its dot. 0; 22 or 34 with an empty path.
MVPLAT_API errno_t __cdecl _wmakepath_s(wchar_t* path, size_t size, const wchar_t* drive,
                                        const wchar_t* folder, const wchar_t* name, const wchar_t* extension);
// The absolute form of a path as GetFullPathNameW gives it, in the buffer or, when that is null, in a block
// to be freed with free. Null when it does not fit; an empty or null path is the current folder.
MVPLAT_API wchar_t* __cdecl _wfullpath(wchar_t* buffer, const wchar_t* path, size_t size);

typedef long long __time64_t;

// Seconds since 1970 in UTC broken down to UTC or local time, and local time put together again (-1 when it
// cannot be). 0, or an error number (22) for null, a negative time or one beyond the year 3000.
MVPLAT_API errno_t __cdecl _gmtime64_s(struct tm* parts, const __time64_t* time);
MVPLAT_API errno_t __cdecl _localtime64_s(struct tm* parts, const __time64_t* time);
MVPLAT_API __time64_t __cdecl _mktime64(struct tm* parts);
