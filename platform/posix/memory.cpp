#include "../large_pages.h"
#include "../win32.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

void* allocate(SIZE_T size, bool zero) {
    // Windows gives a block for size 0 as well, unlike some C libraries.
    void* block = zero ? std::calloc(1, size ? size : 1) : std::malloc(size ? size : 1);
    if (!block)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return block;
}

// Whether the 8 bytes from an aligned address can be read. The kernel copies the "new signal mask" before it
// looks at the invalid operation, so nothing changes and the error tells which of the two it disliked.
bool readable(const void* address) {
    return syscall(SYS_rt_sigprocmask, ~0, address, nullptr, 8) == 0 || errno != EFAULT;
}

bool testRange(const void* address, UINT_PTR size) {
    const UINT_PTR page = static_cast<UINT_PTR>(sysconf(_SC_PAGESIZE));
    const UINT_PTR first = reinterpret_cast<UINT_PTR>(address);
    const UINT_PTR last = first + (size - 1);
    if (last < first)
        return false;
    for (UINT_PTR at = first & ~(page - 1);; at += page) {
        // Not the page's first bytes: for address 0 they are "no mask", which the kernel likes.
        if (!readable(reinterpret_cast<const void*>(at + 8)))
            return false;
        if (at >= (last & ~(page - 1)))
            return true;
    }
}

} // namespace

size_t _msize(void* block) {
    return malloc_usable_size(block);
}

HLOCAL LocalAlloc(UINT flags, SIZE_T size) {
    return allocate(size, flags & LMEM_ZEROINIT);
}

HLOCAL LocalFree(HLOCAL block) {
    std::free(block);
    return nullptr;
}

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) {
    return allocate(size, flags & GMEM_ZEROINIT);
}

HGLOBAL GlobalFree(HGLOBAL block) {
    std::free(block);
    return nullptr;
}

HANDLE GetProcessHeap() {
    static char heap;
    return &heap;
}

LPVOID HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
    if (heap != GetProcessHeap()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return allocate(size, flags & HEAP_ZERO_MEMORY);
}

BOOL HeapFree(HANDLE heap, DWORD /*flags*/, LPVOID block) {
    if (heap != GetProcessHeap()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    std::free(block);
    return TRUE;
}

BOOL IsBadReadPtr(const void* address, UINT_PTR size) {
    if (size == 0)
        return FALSE;
    const int saved = errno;
    const bool good = address && testRange(address, size);
    errno = saved;
    return !good;
}

BOOL IsBadWritePtr(LPVOID address, UINT_PTR size) {
    if (size == 0)
        return FALSE;
    if (!address)
        return TRUE;
    // No system call tells whether a page may be written without writing to it; the map of the process does.
    const UINT_PTR first = reinterpret_cast<UINT_PTR>(address);
    const UINT_PTR last = first + (size - 1);
    if (last < first)
        return TRUE;
    const int saved = errno;
    BOOL bad = TRUE;
    if (std::unique_ptr<FILE, int (*)(FILE*)> maps(std::fopen("/proc/self/maps", "re"), std::fclose); maps) {
        UINT_PTR wanted = first;
        char line[4608];
        while (bad && std::fgets(line, sizeof line, maps.get())) {
            unsigned long begin;
            unsigned long end;
            char rights[5];
            if (std::sscanf(line, "%lx-%lx %4s", &begin, &end, rights) != 3)
                continue;
            if (begin > wanted)
                break;
            if (wanted < end) {
                if (rights[1] != 'w')
                    break;
                wanted = end;
                bad = last >= end;
            }
        }
    } else {
        bad = !testRange(address, size);
    }
    errno = saved;
    return bad;
}

void MvPreferLargePages(void* block, SIZE_T size) {
#if defined(MADV_HUGEPAGE)
    // Below this size a block hardly holds a whole one, and malloc soon gives its memory to others.
    constexpr SIZE_T least = SIZE_T{4} << 20;
    if (!block || size < least)
        return;
    // With the whole of its first and last page: a mapping in two parts could not be moved by the system.
    const UINT_PTR page = static_cast<UINT_PTR>(sysconf(_SC_PAGESIZE));
    const UINT_PTR first = reinterpret_cast<UINT_PTR>(block) & ~(page - 1);
    const UINT_PTR last = (reinterpret_cast<UINT_PTR>(block) + size + page - 1) & ~(page - 1);
    const int error = errno;
    madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    errno = error;
#endif
}
