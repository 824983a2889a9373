// Blocks of the process heap and address tests. Include win32.h, not this file.
#pragma once

#define LMEM_FIXED 0x0000
#define LMEM_ZEROINIT 0x0040
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)
#define GMEM_FIXED 0x0000
#define GMEM_ZEROINIT 0x0040
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

// Fixed blocks only; null with last error 8 when memory is exhausted. Freeing null is allowed and answers
// null.
MVPLAT_API HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T size);
MVPLAT_API HLOCAL WINAPI LocalFree(HLOCAL block);
MVPLAT_API HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T size);
MVPLAT_API HGLOBAL WINAPI GlobalFree(HGLOBAL block);

#define HEAP_NO_SERIALIZE 0x00000001
#define HEAP_ZERO_MEMORY 0x00000008

MVPLAT_API HANDLE WINAPI GetProcessHeap(void);
MVPLAT_API LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size);
MVPLAT_API BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID block);

// TRUE when `size` bytes from `address` are not all readable (writable), FALSE when they are; never faults
// and never writes. A size of 0 is FALSE for any address; null with a size is TRUE.
MVPLAT_API BOOL WINAPI IsBadReadPtr(const void* address, UINT_PTR size);
MVPLAT_API BOOL WINAPI IsBadWritePtr(LPVOID address, UINT_PTR size);
