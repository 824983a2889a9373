// Resources of modules. posix/resource_table.h says how a module brings them. Include win32.h, not this file.
#pragma once

#define MAKEINTRESOURCEW(id) ((LPWSTR)(ULONG_PTR)(WORD)(id))
#define MAKEINTRESOURCE MAKEINTRESOURCEW
#define IS_INTRESOURCE(name) (((ULONG_PTR)(name) >> 16) == 0)

#define RT_BITMAP MAKEINTRESOURCEW(2)
#define RT_MENU MAKEINTRESOURCEW(4)
#define RT_DIALOG MAKEINTRESOURCEW(5)
#define RT_STRING MAKEINTRESOURCEW(6)
#define RT_RCDATA MAKEINTRESOURCEW(10)
#define RT_MESSAGETABLE MAKEINTRESOURCEW(11)
#define RT_VERSION MAKEINTRESOURCEW(16)

// Finds a resource of a module (null: the program). Types and names are numbers made with MAKEINTRESOURCEW,
// or texts
// "#123" that stand for one. Null with last error 1812 (the module has no resources), 1813 (none of the
// type), 1814 (none of the name) or 1815 (not in that language). Languages are tried in the system's order:
// the given one, its neutral form, the neutral language; and when the given one is the neutral language (the
// plain form gives 0): the user's language and its neutral form, the system's and its neutral form, English,
// and then the lowest there is.
MVPLAT_API HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
MVPLAT_API HRSRC WINAPI FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, LANGID language);

// The resource's bytes, owned by the module and valid while it is loaded; nothing is to be freed. Null or 0
// for null. A string block holds 16 strings, each a 16-bit length and that many UTF-16 units, as on Windows:
// its units are not wchar_t here.
MVPLAT_API HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource);
MVPLAT_API LPVOID WINAPI LockResource(HGLOBAL data);
MVPLAT_API DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource);

// Copies string `id` of a module (null: the program), found with the neutral language, cut to `size` - 1
// characters and terminated. Answers the characters copied; 0 when there is no such string or it is empty
// (the buffer then holds an empty text when the string exists, and is left alone when it does not), and for a
// size of 0 or less.
MVPLAT_API int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size);
