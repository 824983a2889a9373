// The size that a file had when it was opened, which costs nothing where opening has looked at it anyway.
#pragma once

#include "win32.h"

#if defined(_WIN32)
inline BOOL MvFileSizeAtOpen(HANDLE file, PLARGE_INTEGER size) {
    return GetFileSizeEx(file, size);
}
#else
// The size in bytes that the file of `file` had when CreateFileW opened it (0 when that emptied it). For what
// happens right after opening, and as a guess of what there is to read; GetFileSizeEx tells the size now.
// FALSE, with the last error set, when the handle is none of a file or the file is a folder, device or pipe.
MVPLAT_API BOOL MvFileSizeAtOpen(HANDLE file, PLARGE_INTEGER size);
#endif
