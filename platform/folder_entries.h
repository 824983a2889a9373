// Searches for names alone, which cost less where the system tells names and kinds without looking at files.
#pragma once

#include "win32.h"

#if defined(_WIN32)
inline HANDLE MvFindFirstEntry(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    return FindFirstFileExW(pattern, FindExInfoBasic, data, FindExSearchNameMatch, nullptr,
                            FIND_FIRST_EX_LARGE_FETCH);
}
#else
// As FindFirstFileW, but this call and FindNextFileW with its handle fill only cFileName and, of
// dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY and FILE_ATTRIBUTE_REPARSE_POINT; what else the record holds
// means nothing.
MVPLAT_API HANDLE MvFindFirstEntry(LPCWSTR pattern, LPWIN32_FIND_DATAW data);
#endif
