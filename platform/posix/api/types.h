// Basic types, handles and macros of win32.h on POSIX. Include win32.h, not this file.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

// Every function of the layer is exported from mvafx62 with C linkage.
#if defined(__cplusplus)
#define MVPLAT_API extern "C" __attribute__((visibility("default")))
#else
#define MVPLAT_API extern __attribute__((visibility("default")))
#endif

// Calling conventions exist on 32-bit Windows only.
#define WINAPI
#define APIENTRY
#define CALLBACK
#define FAR
#define NEAR
#define CONST const
#define VOID void
#ifndef __stdcall
#define __stdcall
#endif
#ifndef __cdecl
#define __cdecl
#endif
#ifndef __int64
#define __int64 long long
#endif

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned char UCHAR;
typedef unsigned char BOOLEAN;
typedef char CHAR;
typedef wchar_t WCHAR;
typedef wchar_t TCHAR;
typedef short SHORT;
typedef unsigned short USHORT;
typedef unsigned short WORD;
typedef int INT;
typedef unsigned int UINT;
typedef int LONG;
typedef unsigned int ULONG;
typedef unsigned int DWORD;
typedef float FLOAT;
typedef double DOUBLE;
typedef int INT32;
typedef unsigned int UINT32;
typedef unsigned int DWORD32;
typedef long long LONGLONG;
typedef long long INT64;
typedef long long LONG64;
typedef unsigned long long ULONGLONG;
typedef unsigned long long DWORDLONG;
typedef unsigned long long UINT64;
typedef unsigned long long DWORD64;
typedef unsigned long long ULONG64;

typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef ULONG_PTR SIZE_T;
typedef LONG_PTR SSIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef LONG HRESULT;
typedef LONG SCODE;
typedef WORD ATOM;
typedef WORD LANGID;
typedef DWORD LCID;
typedef DWORD LCTYPE;
typedef DWORD COLORREF;
typedef DWORD ACCESS_MASK;

typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BOOL* LPBOOL;
typedef BOOL* PBOOL;
typedef BYTE* LPBYTE;
typedef BYTE* PBYTE;
typedef INT* LPINT;
typedef INT* PINT;
typedef UINT* PUINT;
typedef LONG* LPLONG;
typedef LONG* PLONG;
typedef WORD* LPWORD;
typedef WORD* PWORD;
typedef DWORD* LPDWORD;
typedef DWORD* PDWORD;
typedef LONGLONG* PLONGLONG;
typedef ULONGLONG* PULONGLONG;
typedef ULONG* PULONG;
typedef ULONG_PTR* PULONG_PTR;
typedef char* LPSTR;
typedef char* PSTR;
typedef const char* LPCSTR;
typedef const char* PCSTR;
typedef wchar_t* LPWSTR;
typedef wchar_t* PWSTR;
typedef const wchar_t* LPCWSTR;
typedef const wchar_t* PCWSTR;
typedef wchar_t* LPTSTR;
typedef const wchar_t* LPCTSTR;
typedef wchar_t* LPWCH;
typedef const wchar_t* LPCWCH;
typedef const char* LPCCH;

// Handles. Kernel objects have table handles: a closed or made-up value is refused with ERROR_INVALID_HANDLE,
// and a closed value is not given to another object soon.
typedef void* HANDLE;
typedef HANDLE* LPHANDLE;
typedef HANDLE* PHANDLE;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;

#define DECLARE_HANDLE(name)                                                                                 \
    struct name##__ {                                                                                        \
        int unused;                                                                                          \
    };                                                                                                       \
    typedef struct name##__* name

DECLARE_HANDLE(HINSTANCE);
typedef HINSTANCE HMODULE;
DECLARE_HANDLE(HRSRC);
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HKEY);

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

// The generic function pointer that GetProcAddress answers with.
typedef INT_PTR(WINAPI* FARPROC)();
typedef INT_PTR(WINAPI* PROC)();

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

typedef union _LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    __extension__ struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    ULONGLONG QuadPart;
} ULARGE_INTEGER, *PULARGE_INTEGER;

// Accepted wherever Windows takes one. Only bInheritHandle has a meaning here.
typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

// Overlapped input and output does not exist here; functions that take the record want a null pointer.
typedef struct _OVERLAPPED OVERLAPPED, *LPOVERLAPPED;

typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT, *LPPOINT;

typedef struct tagSIZE {
    LONG cx;
    LONG cy;
} SIZE, *LPSIZE;

typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT, *LPRECT;
typedef const RECT* LPCRECT;

#define MAKEWORD(low, high)                                                                                  \
    ((WORD)(((BYTE)((DWORD_PTR)(low)&0xff)) | ((WORD)((BYTE)((DWORD_PTR)(high)&0xff))) << 8))
#define MAKELONG(low, high)                                                                                  \
    ((LONG)(((WORD)((DWORD_PTR)(low)&0xffff)) | ((DWORD)((WORD)((DWORD_PTR)(high)&0xffff))) << 16))
#define LOWORD(value) ((WORD)((DWORD_PTR)(value)&0xffff))
#define HIWORD(value) ((WORD)(((DWORD_PTR)(value) >> 16) & 0xffff))
#define LOBYTE(value) ((BYTE)((DWORD_PTR)(value)&0xff))
#define HIBYTE(value) ((BYTE)(((DWORD_PTR)(value) >> 8) & 0xff))
#define MAKEWPARAM(low, high) ((WPARAM)(DWORD)MAKELONG(low, high))
#define MAKELPARAM(low, high) ((LPARAM)(DWORD)MAKELONG(low, high))

#define UNREFERENCED_PARAMETER(parameter) ((void)(parameter))

#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu
#define MAXDWORD 0xFFFFFFFFu
#define MAXLONG 0x7fffffff

#define __TEXT(quote) L##quote
#define TEXT(quote) __TEXT(quote)
#define _TEXT(quote) __TEXT(quote)
#define _T(quote) __TEXT(quote)

#ifndef _countof
#define _countof(array) (sizeof(array) / sizeof((array)[0]))
#endif
#define ARRAYSIZE(array) _countof(array)
