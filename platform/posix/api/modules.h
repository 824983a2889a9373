// Modules: the program, its libraries, libraries loaded on request. Include win32.h, not this file.
#pragma once

#define LOAD_LIBRARY_AS_DATAFILE 0x00000002
#define LOAD_WITH_ALTERED_SEARCH_PATH 0x00000008

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x00000001
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x00000002
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x00000004

// A module handle is the address where the module lies, as on Windows; null stands for the program wherever a
// handle may be null.

// Loads a shared library and counts it. A name without an extension gains ".so"; a name without a folder is
// looked for beside the program, beside mvafx62, then where the system's loader looks. Null with last error
// 126 (empty name, not found, or a library that it needs is not), 193 (no shared library), 87 (null name).
MVPLAT_API HMODULE WINAPI LoadLibraryW(LPCWSTR fileName);
MVPLAT_API HMODULE WINAPI LoadLibraryExW(LPCWSTR fileName, HANDLE reserved, DWORD flags);
// Undoes one load. FALSE with 126 for what is no loaded module, 6 for null.
MVPLAT_API BOOL WINAPI FreeLibrary(HMODULE module);

// The handle of a loaded module by its file name, or of the program for null; not counted. Null with 126. A
// name without a folder is compared with the names of the loaded files, a missing extension being ".so".
MVPLAT_API HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
// The same, or by an address inside it (FROM_ADDRESS). Counted unless UNCHANGED_REFCOUNT is given. On failure
// FALSE, and the handle is null.
MVPLAT_API BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR name, HMODULE* module);
// Full file name. Answers the characters copied without the NUL; the size itself, with a cut and terminated
// text and last error 122, when the buffer is too small; 0 with 126 for what is no module.
MVPLAT_API DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);
// An exported symbol of the module itself; null with 127, or 126 for what is no module.
MVPLAT_API FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
