// The shell's special folders. Include win32.h, not this file. docs/platform-linux.md says what each number
// stands for.
#pragma once

#define CSIDL_DESKTOP 0x0000
#define CSIDL_PROGRAMS 0x0002
#define CSIDL_PERSONAL 0x0005
#define CSIDL_STARTUP 0x0007
#define CSIDL_MYMUSIC 0x000d
#define CSIDL_MYVIDEO 0x000e
#define CSIDL_DESKTOPDIRECTORY 0x0010
#define CSIDL_FONTS 0x0014
#define CSIDL_TEMPLATES 0x0015
#define CSIDL_COMMON_PROGRAMS 0x0017
#define CSIDL_COMMON_STARTUP 0x0018
#define CSIDL_APPDATA 0x001a
#define CSIDL_LOCAL_APPDATA 0x001c
#define CSIDL_INTERNET_CACHE 0x0020
#define CSIDL_COMMON_APPDATA 0x0023
#define CSIDL_WINDOWS 0x0024
#define CSIDL_SYSTEM 0x0025
#define CSIDL_PROGRAM_FILES 0x0026
#define CSIDL_MYPICTURES 0x0027
#define CSIDL_PROFILE 0x0028
#define CSIDL_COMMON_DOCUMENTS 0x002e

typedef struct MvItemIdList* LPITEMIDLIST;
typedef const struct MvItemIdList* LPCITEMIDLIST;

// Finds a special folder, which need not exist, and answers S_OK with its identity, to be freed with
// CoTaskMemFree. E_INVALIDARG, with a null list, for a number that stands for no folder here; E_OUTOFMEMORY.
// The window is not used.
MVPLAT_API HRESULT WINAPI SHGetSpecialFolderLocation(HWND owner, int folder, LPITEMIDLIST* list);
// Writes the folder's path, without a final separator, into a buffer of MAX_PATH characters. FALSE, with an
// empty text, for null and for a path that does not fit.
MVPLAT_API BOOL WINAPI SHGetPathFromIDListW(LPCITEMIDLIST list, LPWSTR path);
// Null allowed.
MVPLAT_API void WINAPI CoTaskMemFree(LPVOID block);

// The folders of the system itself, without a final separator: "\usr" and "\usr\lib". Answers the length, or
// the size needed, NUL included, when the buffer is too small.
MVPLAT_API UINT WINAPI GetWindowsDirectoryW(LPWSTR buffer, UINT size);
MVPLAT_API UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT size);
