// The registry. Include win32.h, not this file.
//
// It is one file, an SQLite database: the one that the environment variable MVLIB_REGISTRY names, else
// mvlib62/registry.db in $XDG_DATA_HOME (~/.local/share), made when first written to. The five roots are
// separate trees in it; none shows a part of another. A call that has answered ERROR_SUCCESS has handed its
// change to the system, whole: it survives the end of the process, however that comes; RegFlushKey makes it
// durable. Any number of threads and processes may use the file at once. The file's name is looked up again
// at each call, so it may change: keys opened before then answer 1018.
//
// Data are the bytes that Windows has: texts are UTF-16LE whatever wchar_t is, and data sizes count bytes.
// Names are wide texts, their sizes count wchar_t. Names compare without case and keep their spelling.
// Sub-keys are enumerated sorted, values in the order in which they were made.
//
// All functions answer an error code and leave last error alone. Besides what each says: 6 for what is no
// open key, 1018 for a key that was deleted, and for the file: 5 (no right to write it), 112 (disk full), 170
// (another program keeps it locked), 1009 (it is no registry, or damaged), 1011 (it cannot be opened), 1016
// (reading or writing failed). A failed call changes nothing.
#pragma once

typedef LONG LSTATUS;
typedef ACCESS_MASK REGSAM;
typedef HKEY* PHKEY;

#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)0x80000000u)
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)0x80000001u)
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)0x80000002u)
#define HKEY_USERS ((HKEY)(ULONG_PTR)0x80000003u)
#define HKEY_CURRENT_CONFIG ((HKEY)(ULONG_PTR)0x80000005u)

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_CREATE_LINK 0x0020
#define KEY_WOW64_64KEY 0x0100
#define KEY_WOW64_32KEY 0x0200
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_EXECUTE 0x20019
#define KEY_ALL_ACCESS 0xF003F

#define REG_OPTION_NON_VOLATILE 0x00000000
#define REG_OPTION_VOLATILE 0x00000001
#define REG_CREATED_NEW_KEY 0x00000001
#define REG_OPENED_EXISTING_KEY 0x00000002

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_DWORD_LITTLE_ENDIAN 4
#define REG_DWORD_BIG_ENDIAN 5
#define REG_LINK 6
#define REG_MULTI_SZ 7
#define REG_QWORD 11

// Opens a key below an open or predefined one, with the asked rights: values are read and counted with
// KEY_QUERY_VALUE, set and deleted with KEY_SET_VALUE, sub-keys enumerated with KEY_ENUMERATE_SUB_KEYS; other
// calls want none. An empty or null path opens the key itself once more (a predefined key is answered as it
// is). 2 when it does not exist, 161 when the path begins with a backslash, 87 for a null result or a part of
// more than 255 characters. On failure the result is null. Close with RegCloseKey.
MVPLAT_API LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
// The same, and makes the key, with those on the path that are missing. The disposition (null allowed) tells
// whether it did. Classes and security are accepted and forgotten; volatile keys do not exist: 50.
MVPLAT_API LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR className,
                                          DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES attributes,
                                          PHKEY result, LPDWORD disposition);
// Predefined keys: 0, nothing happens. Closing what is closed: 6.
MVPLAT_API LSTATUS WINAPI RegCloseKey(HKEY key);
// Returns when everything written so far is on the disk.
MVPLAT_API LSTATUS WINAPI RegFlushKey(HKEY key);
// Deletes a key below `key`, or with an empty path itself, and its values. 5 when it has sub-keys or is a
// root, 2, 87 (null path), 161.
MVPLAT_API LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR subKey);
// Deletes a key below `key` with everything below it; with a null path all that is below `key` and its
// values, but not itself. 2, 161.
MVPLAT_API LSTATUS WINAPI RegDeleteTreeW(HKEY key, LPCWSTR subKey);

// Sets a value; a null name is the empty one. 5 without the right, 87 for a name of more than 16,383
// characters, 998 for null data of some size. Of the three kinds of text, as on Windows, the two bytes behind
// the data are looked at: where the data do not end in a NUL and those are one, it is stored too.
MVPLAT_API LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                                         DWORD size);
// Reads a value; type, data and size may be null, but with data the size is wanted (87). The size becomes the
// value's. 234 when the buffer is too small, which is then left alone. A text that does not end in a NUL gets
// one behind it where there is room, which is not counted. 2 when there is no such value (a size asked
// without a buffer is then 0), 5 without the right.
MVPLAT_API LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type,
                                           LPBYTE data, LPDWORD size);
// Value number `index`, counted from 0. Name and its size are required (87), data as in RegQueryValueExW. The
// name's size comes back without the NUL. 259 when there is none. 234 when name or data do not fit: type and
// data size are told all the same, name and its size only where the name fits, data never. 5 without the
// right.
MVPLAT_API LSTATUS WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize,
                                        LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD dataSize);
// Sub-key number `index`. 259 when there is none, 234 (nothing changed) when the name does not fit, 5 without
// the right. The class is empty. The time is that of the last change of the key's own values.
MVPLAT_API LSTATUS WINAPI RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize,
                                        LPDWORD reserved, LPWSTR className, LPDWORD classSize,
                                        PFILETIME lastWrite);
MVPLAT_API LSTATUS WINAPI RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameSize);
// 2 when there is no such value, 5 without the right.
MVPLAT_API LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR name);
// Numbers of sub-keys and values, and their greatest lengths: of names in characters without the NUL, of data
// in bytes. Any pointer may be null. 5 without the right.
MVPLAT_API LSTATUS WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classSize, LPDWORD reserved,
                                           LPDWORD subKeys, LPDWORD longestSubKey, LPDWORD longestClass,
                                           LPDWORD values, LPDWORD longestValueName, LPDWORD longestValue,
                                           LPDWORD securityDescriptor, PFILETIME lastWrite);
