// Searches for names alone, which cost less where the system tells names and kinds without looking at files.
#pragma once

#include "win32.h"

#if defined(_WIN32)
inline HANDLE MvFindFirstEntry(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    return FindFirstFileExW(pattern, FindExInfoBasic, data, FindExSearchNameMatch, nullptr,
                            FIND_FIRST_EX_LARGE_FETCH);
}

// Whether what was found stands for something else, as links do; files that a system keeps in a special way
// (in a cloud, without what they share with others) are reparse points, too. Wine does not say of which kind
// they are; there they are links.
inline bool MvIsLink(const WIN32_FIND_DATAW& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (entry.dwReserved0 == 0 || IsReparseTagNameSurrogate(entry.dwReserved0));
}

// The same for what stands at a path without a final backslash; `attributes` are those of the path.
inline bool MvIsLinkAt(LPCWSTR path, DWORD attributes) {
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return false;
    WIN32_FIND_DATAW entry; // names have no wildcards here, so that it finds this one alone
    const HANDLE search = MvFindFirstEntry(path, &entry);
    if (search == INVALID_HANDLE_VALUE)
        return true;
    FindClose(search);
    return MvIsLink(entry);
}
#else
// As FindFirstFileW, but this call and FindNextFileW with its handle fill only cFileName and, of
// dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY and FILE_ATTRIBUTE_REPARSE_POINT; what else the record holds
// means nothing.
MVPLAT_API HANDLE MvFindFirstEntry(LPCWSTR pattern, LPWIN32_FIND_DATAW data);

inline bool MvIsLink(const WIN32_FIND_DATAW& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

inline bool MvIsLinkAt(LPCWSTR, DWORD attributes) {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}
#endif
