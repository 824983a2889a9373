// Large memory pages for blocks that are used all over, where the system gives them to whoever asks.
//
// A large page comes at once instead of by 512 faults, and its addresses are found by one entry of the
// processor's tables instead of 512, which search structures of many megabytes feel most.
#pragma once

#include "win32.h"

// Asks the system to keep the memory of a block in large pages, from now on. Only a wish, which changes
// neither contents nor last error: small blocks are left alone, and the block may be freed or moved like any
// other.
#if defined(_WIN32)
inline void MvPreferLargePages(void*, SIZE_T) {} // they cannot be had without a privilege, and never later
#else
MVPLAT_API void MvPreferLargePages(void* block, SIZE_T size);
#endif
