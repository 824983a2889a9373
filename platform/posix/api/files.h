// Files, folders and their names. Include win32.h, not this file.
//
// Names. A path is given as on Windows; "/" is accepted too. Both separators reach the system as "/", so a
// path that begins with either is absolute and "C:\a" is a folder named "C:" in the current one. Wide names
// become UTF-8. A byte of a name that is no valid UTF-8 travels as U+DC80 to U+DCFF, and a backslash inside a
// name as U+DC5C, so that every name the system lists can be opened again.
//
// Sharing. An open that another handle's sharing forbids, or that forbids what another handle does, fails
// with 32: always within the process, and between processes that use this layer on a file system with record
// locks. Programs that do not use it are not held off. Deleting and renaming files that are open without
// FILE_SHARE_DELETE fails with 32 too. LockFile ranges work the same way: they stop this process' other
// handles and other processes that use the layer.
#pragma once

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define GENERIC_EXECUTE 0x20000000u
#define GENERIC_ALL 0x10000000u
#define DELETE 0x00010000u
#define READ_CONTROL 0x00020000u
#define FILE_READ_DATA 0x0001u
#define FILE_WRITE_DATA 0x0002u
#define FILE_APPEND_DATA 0x0004u
#define FILE_READ_ATTRIBUTES 0x0080u
#define FILE_WRITE_ATTRIBUTES 0x0100u

#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004

#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5

#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_SYSTEM 0x00000004
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_DEVICE 0x00000040
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100
#define FILE_ATTRIBUTE_SPARSE_FILE 0x00000200
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400
#define FILE_ATTRIBUTE_COMPRESSED 0x00000800
#define FILE_ATTRIBUTE_OFFLINE 0x00001000
#define FILE_ATTRIBUTE_NOT_CONTENT_INDEXED 0x00002000
#define FILE_ATTRIBUTE_ENCRYPTED 0x00004000
#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)
#define INVALID_FILE_SIZE ((DWORD)0xFFFFFFFF)
#define INVALID_SET_FILE_POINTER ((DWORD)-1)

#define FILE_FLAG_WRITE_THROUGH 0x80000000u
#define FILE_FLAG_NO_BUFFERING 0x20000000u
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define FILE_FLAG_OPEN_REPARSE_POINT 0x00200000u

#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2

#define FILE_TYPE_UNKNOWN 0x0000
#define FILE_TYPE_DISK 0x0001
#define FILE_TYPE_CHAR 0x0002
#define FILE_TYPE_PIPE 0x0003

#define MOVEFILE_REPLACE_EXISTING 0x00000001
#define MOVEFILE_COPY_ALLOWED 0x00000002
#define MOVEFILE_WRITE_THROUGH 0x00000008

#define DUPLICATE_CLOSE_SOURCE 0x00000001
#define DUPLICATE_SAME_ACCESS 0x00000002

// Opens or creates a file; INVALID_HANDLE_VALUE on failure. Last error: 2 and 3 (file, folder missing), 5 (no
// right, or a folder without FILE_FLAG_BACKUP_SEMANTICS, or a read-only file opened for writing), 32
// (sharing), 80 (CREATE_NEW and it exists), 87 (bad disposition, or truncation without write access), 112,
// 123 (bad name), 206 (too long), 4 (too many files). CREATE_ALWAYS and OPEN_ALWAYS succeed with last error
// 183 when the file existed, and 0 when it did not; the other dispositions set 0 on success. Of the
// attributes only FILE_ATTRIBUTE_READONLY of a new file has an effect; of the flags DELETE_ON_CLOSE,
// WRITE_THROUGH, BACKUP_SEMANTICS and the access hints. Writing past the end leaves zeros between.
MVPLAT_API HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD access, DWORD share,
                                     LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                                     DWORD flagsAndAttributes, HANDLE templateFile);
// Closes any handle of this layer. FALSE with 6 for what is none or was closed before.
MVPLAT_API BOOL WINAPI CloseHandle(HANDLE handle);
// A second handle of the same object, sharing its position. Both processes must be GetCurrentProcess().
MVPLAT_API BOOL WINAPI DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess,
                                       LPHANDLE target, DWORD access, BOOL inherit, DWORD options);

// Read and write at the handle's position and move it. Reading at or past the end succeeds with 0 bytes.
// FALSE with 5 (no such access), 6, 33 (range locked by another handle), 112 (disk full), 998 (bad buffer).
// The count is required, as there is no overlapped form; it is 0 on failure.
MVPLAT_API BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read,
                                LPOVERLAPPED overlapped);
MVPLAT_API BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written,
                                 LPOVERLAPPED overlapped);

// Moves the position, which may lie past the end. FALSE with 131 for a negative result, 87 for a bad method;
// the position is then unchanged. The 32-bit form answers the low half and, with `distanceHigh`, the high
// half; without it a position of 4 GiB or more is refused with 87. INVALID_SET_FILE_POINTER is a failure only
// if last error is not 0.
MVPLAT_API BOOL WINAPI SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position,
                                        DWORD method);
MVPLAT_API DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method);
// Cuts or extends the file at the position. 1224 when a mapped view reaches beyond it.
MVPLAT_API BOOL WINAPI SetEndOfFile(HANDLE file);
MVPLAT_API BOOL WINAPI GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
MVPLAT_API DWORD WINAPI GetFileSize(HANDLE file, LPDWORD sizeHigh);
// Makes what was written durable. FALSE with 5 for a handle without write access.
MVPLAT_API BOOL WINAPI FlushFileBuffers(HANDLE file);
// Exclusive byte ranges, which may lie past the end. 33 when any byte is locked already, by this handle too;
// unlocking takes exactly a range that this handle locked, else 158. Closing the handle unlocks.
MVPLAT_API BOOL WINAPI LockFile(HANDLE file, DWORD offsetLow, DWORD offsetHigh, DWORD sizeLow,
                                DWORD sizeHigh);
MVPLAT_API BOOL WINAPI UnlockFile(HANDLE file, DWORD offsetLow, DWORD offsetHigh, DWORD sizeLow,
                                  DWORD sizeHigh);
// FILE_TYPE_...; FILE_TYPE_UNKNOWN with last error 6 for a bad handle.
MVPLAT_API DWORD WINAPI GetFileType(HANDLE file);
// Any pointer may be null. The creation time cannot be set on most systems here: it is accepted and left as
// it is.
MVPLAT_API BOOL WINAPI GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess,
                                   LPFILETIME lastWrite);
MVPLAT_API BOOL WINAPI SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                                   const FILETIME* lastWrite);

typedef struct _BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh;
    DWORD nFileIndexLow;
} BY_HANDLE_FILE_INFORMATION, *LPBY_HANDLE_FILE_INFORMATION;

MVPLAT_API BOOL WINAPI GetFileInformationByHandle(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information);

typedef enum _GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard, GetFileExMaxInfoLevel } GET_FILEEX_INFO_LEVELS;

typedef struct _WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
} WIN32_FILE_ATTRIBUTE_DATA, *LPWIN32_FILE_ATTRIBUTE_DATA;

// Attributes: DIRECTORY for folders, READONLY for what no class of users may write, ARCHIVE for other files,
// DEVICE for what is neither; for a link those of its target, and REPARSE_POINT. INVALID_FILE_ATTRIBUTES or
// FALSE with 2, 3, 5, 123.
MVPLAT_API DWORD WINAPI GetFileAttributesW(LPCWSTR fileName);
MVPLAT_API BOOL WINAPI GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level,
                                            LPVOID information);
// READONLY takes the right to write from everybody; without it the owner gets it back, if nobody has it. The
// other attributes are accepted, and all for a link, which has none to change: its target stays as it is.
MVPLAT_API BOOL WINAPI SetFileAttributesW(LPCWSTR fileName, DWORD attributes);

// Removes a file, or a link whatever it points to. 2, 3, 5 (a folder, or a read-only file), 32 (open
// elsewhere).
MVPLAT_API BOOL WINAPI DeleteFileW(LPCWSTR fileName);
// Renames a file or folder. 183 when the target exists and is not to be replaced, 5 when it is a folder, 17
// when the target is on another device (and copying is not allowed, or it is a folder), 32.
MVPLAT_API BOOL WINAPI MoveFileW(LPCWSTR existing, LPCWSTR target);
MVPLAT_API BOOL WINAPI MoveFileExW(LPCWSTR existing, LPCWSTR target, DWORD flags);
// Copies bytes, modification time and the read-only attribute. 80 when the target exists and must not.
MVPLAT_API BOOL WINAPI CopyFileW(LPCWSTR existing, LPCWSTR target, BOOL failIfExists);

// 183 exists, 3 parent missing, 5 no right.
MVPLAT_API BOOL WINAPI CreateDirectoryW(LPCWSTR folder, LPSECURITY_ATTRIBUTES attributes);
// 145 not empty, 267 no folder, 2, 3, 5, 32 (the current folder of this process).
MVPLAT_API BOOL WINAPI RemoveDirectoryW(LPCWSTR folder);

// Texts with a size in characters: the result is the length without the NUL, or the size needed with it when
// the buffer is too small (which is then left alone), or 0 on failure.
MVPLAT_API DWORD WINAPI GetCurrentDirectoryW(DWORD size, LPWSTR buffer);
MVPLAT_API BOOL WINAPI SetCurrentDirectoryW(LPCWSTR folder);
// Absolute form: separators become single backslashes, "." and ".." are worked out by the text alone, blanks
// and dots at the end of the last part go. `filePart` receives the address of the last part, or null if there
// is none. 0 with 123 for an empty or null name.
MVPLAT_API DWORD WINAPI GetFullPathNameW(LPCWSTR fileName, DWORD size, LPWSTR buffer, LPWSTR* filePart);
// The temporary folder with a separator at its end: TMPDIR, TMP or TEMP, else "\tmp\".
MVPLAT_API DWORD WINAPI GetTempPathW(DWORD size, LPWSTR buffer);
// Makes the name "folder\pre" + hexadecimal number + ".tmp" in a buffer of MAX_PATH characters, from the
// first three characters of the prefix and the low 16 bits of `unique`. With `unique` 0 it finds a free name
// and creates the empty file. Answers the number used; 0 with 267 (no such folder), 111 (folder too long), 80
// (all names taken), 5.
MVPLAT_API UINT WINAPI GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR fileName);

typedef struct _WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
} WIN32_FIND_DATAW, *PWIN32_FIND_DATAW, *LPWIN32_FIND_DATAW;
typedef WIN32_FIND_DATAW WIN32_FIND_DATA;

#define IO_REPARSE_TAG_SYMLINK 0xA000000Cu

// The entries of a folder that a pattern meets: the last part of the path, in which "*" and "?" may stand, is
// compared without case. "." and ".." come first, except below the root, then the entries in the order in
// which the system lists them. A name without wildcards that exists as it is written finds that entry alone.
//
// Attributes are those of GetFileAttributesW. A link to a folder is a folder and a reparse point, with the
// times of its target; where it leads back to a folder in which it lies, by its absolute path as written, it
// is reported without FILE_ATTRIBUTE_DIRECTORY, so that a walk into all folders ends. A link that leads
// nowhere is a file. An entry that goes while the folder is listed is left out; cAlternateFileName is empty.
//
// INVALID_HANDLE_VALUE with last error 2 (nothing meets the pattern, or the path ends in a separator), 3 (no
// such folder, empty or null path), 5 (no right to list it), 87 (null data), 123 (missing, and wildcards
// before the last part), 206 (too long), 267 (a file where the folder should be).
MVPLAT_API HANDLE WINAPI FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data);
// FALSE with 18 after the last entry, at every further call too, and 6 for what is no handle of a search. One
// handle may serve several threads: each entry goes to one of them.
MVPLAT_API BOOL WINAPI FindNextFileW(HANDLE search, LPWIN32_FIND_DATAW data);
// FALSE with 6 for what is no handle of a search.
MVPLAT_API BOOL WINAPI FindClose(HANDLE search);

// Environment. The value's length without the NUL, or the size needed with it; 0 with 203 when there is none.
MVPLAT_API DWORD WINAPI GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size);
// A null value removes the variable.
MVPLAT_API BOOL WINAPI SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value);
