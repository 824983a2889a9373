// The version of the running system, and version resources of Windows executables, which are read from their
// files. Include win32.h, not this file.
#pragma once

// What dwPlatformId says here; Windows uses 0 to 3.
#define VER_PLATFORM_POSIX 4
#define VER_NT_WORKSTATION 1

typedef struct _OSVERSIONINFOW {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
} OSVERSIONINFOW, *LPOSVERSIONINFOW;

typedef struct _OSVERSIONINFOEXW {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
    WORD wServicePackMajor;
    WORD wServicePackMinor;
    WORD wSuiteMask;
    BYTE wProductType;
    BYTE wReserved;
} OSVERSIONINFOEXW, *LPOSVERSIONINFOEXW;

// The version of the kernel: the first three numbers of its release, and the rest of the release as the
// service-pack text ("6.1.0-13-amd64": 6, 1, 0 and "-13-amd64"). The extended fields say a workstation
// without service packs. The record's size says which of the two it is: FALSE with 122 for any other size or
// null.
MVPLAT_API BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW information);

#define VS_FF_DEBUG 0x00000001
#define VS_FF_PRERELEASE 0x00000002

typedef struct tagVS_FIXEDFILEINFO {
    DWORD dwSignature; // 0xFEEF04BD
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
} VS_FIXEDFILEINFO;

// The size that GetFileVersionInfoW wants for the file's version resource, and 0 in *unused (null allowed). 0
// with last error 1812 (no resources), 1813 or 1814 (no version resource), 193 (no Windows executable), or
// the error of opening. Resources beyond 4 MiB are taken for none.
MVPLAT_API DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR fileName, LPDWORD unused);
// Reads the resource in a form of its own for VerQueryValueW. FALSE with 122 for a size that is too small.
MVPLAT_API BOOL WINAPI GetFileVersionInfoW(LPCWSTR fileName, DWORD unused, DWORD size, LPVOID data);
// The value under a path of keys: "\" for the VS_FIXEDFILEINFO, "\VarFileInfo\Translation" for pairs of
// 16-bit language and code page, "\StringFileInfo\<8 hexadecimal digits>\<key>" for a text. Keys compare
// without case. The value lies inside `data`; `length` counts bytes, for texts characters with their NUL.
// FALSE with 1813 when there is none.
MVPLAT_API BOOL WINAPI VerQueryValueW(LPCVOID data, LPCWSTR subBlock, LPVOID* value, UINT* length);
