// File mappings and views, system granularity. Include win32.h, not this file.
#pragma once

#define PAGE_NOACCESS 0x01
#define PAGE_READONLY 0x02
#define PAGE_READWRITE 0x04
#define PAGE_WRITECOPY 0x08
#define PAGE_EXECUTE 0x10
#define PAGE_EXECUTE_READ 0x20
#define PAGE_EXECUTE_READWRITE 0x40
#define PAGE_EXECUTE_WRITECOPY 0x80

#define SEC_COMMIT 0x08000000

#define SECTION_MAP_WRITE 0x0002
#define SECTION_MAP_READ 0x0004
#define FILE_MAP_COPY 0x0001
#define FILE_MAP_WRITE SECTION_MAP_WRITE
#define FILE_MAP_READ SECTION_MAP_READ
#define FILE_MAP_ALL_ACCESS 0x000f001f

// Creates a mapping of a file, or of memory when `file` is INVALID_HANDLE_VALUE. A size of 0 means the file's
// size. Null on failure with last error: 6 (bad file handle), 87 (protection that makes no sense, or memory
// of no size), 5 (writing asked of a handle without write access, or reading of one without), 1006 (empty
// file and no size), 8 (read-only mapping larger than the file), 112 (no room to grow). A read-write mapping
// larger than the file makes it grow. A name that exists already opens that mapping and sets last error 183;
// success else sets 0. Names are known within the process and match exactly.
MVPLAT_API HANDLE WINAPI CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection,
                                            DWORD sizeHigh, DWORD sizeLow, LPCWSTR name);
// Opens a named mapping of this process; null with 2 when there is none, 87 for a null name.
MVPLAT_API HANDLE WINAPI OpenFileMappingW(DWORD access, BOOL inherit, LPCWSTR name);

// Maps a view. The offset must be a multiple of the allocation granularity (1132 otherwise); size 0 means the
// rest. Null on failure with last error 6, 87 (offset beyond the mapping), 5 (view larger than the mapping,
// or write access to a read-only mapping), 8. A FILE_MAP_COPY view is private. The view keeps the mapping
// alive after its handle is closed. Touching a view of a file that another program cut short ends the
// process, as on Windows.
MVPLAT_API LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow,
                                       SIZE_T size);
// Ends a view by any address inside it; FALSE with 487 when there is none.
MVPLAT_API BOOL WINAPI UnmapViewOfFile(LPCVOID view);
// Writes changed pages of a view; size 0 means to its end. FALSE with 487 when the range is no
// view, 87 for null.
MVPLAT_API BOOL WINAPI FlushViewOfFile(LPCVOID address, SIZE_T size);

#define PROCESSOR_ARCHITECTURE_INTEL 0
#define PROCESSOR_ARCHITECTURE_AMD64 9
#define PROCESSOR_ARCHITECTURE_ARM64 12
#define PROCESSOR_ARCHITECTURE_UNKNOWN 0xFFFF

typedef struct _SYSTEM_INFO {
    __extension__ union {
        DWORD dwOemId;
        __extension__ struct {
            WORD wProcessorArchitecture;
            WORD wReserved;
        };
    };
    DWORD dwPageSize;
    LPVOID lpMinimumApplicationAddress;
    LPVOID lpMaximumApplicationAddress;
    DWORD_PTR dwActiveProcessorMask;
    DWORD dwNumberOfProcessors;
    DWORD dwProcessorType;
    DWORD dwAllocationGranularity;
    WORD wProcessorLevel;
    WORD wProcessorRevision;
} SYSTEM_INFO, *LPSYSTEM_INFO;

// dwAllocationGranularity is 65,536 as on Windows, whatever the page size: view offsets are checked against
// it.
MVPLAT_API void WINAPI GetSystemInfo(LPSYSTEM_INFO info);
