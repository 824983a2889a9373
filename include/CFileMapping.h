// Files mapped into memory: a mapping over an open file, and views of parts of it.
//
// Both are thin: the system's error stays available through GetLastError when an operation answers 0. A view
// takes any offset; the system's rule that a view starts on a multiple of the allocation granularity (65,536
// as a rule) is kept inside.
//
// Ownership: the mapping does not own the file handle, the view does not own the mapping. Close in the order
// view, mapping, file; each destructor closes its own. One thread at a time uses an object.
//
// A file that becomes shorter under a view makes touching the lost pages a fault (an in-page error on
// Windows, SIGBUS on Linux). Keep it locked or opened without write sharing while views are in use.
//
//     CFile file(L"big.bin", CFile::modeRead);
//     CFileMapping mapping(file.m_hFile);
//     CMapViewOfFile view(&mapping);
//     if (mapping.Open(PAGE_READONLY, 0, nullptr) && view.Open(70000, 16, FILE_MAP_READ))
//         Use(view.m_pDades, 16);
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class MVLIB_API CFileMapping : public CObject {
    DECLARE_DYNAMIC(CFileMapping)

public:
    // Takes the handle of an open file, which must outlive the open mapping, and asks the system for its
    // allocation granularity. CFile::hFileNull stands for no file: the mapping is memory then, of zeros at
    // first, and needs a size.
    explicit CFileMapping(void* hFile);
    ~CFileMapping() override; // Close()

    // Closes the mapping if one is open, then creates one over the file: `dwProtect` PAGE_READONLY (2),
    // PAGE_READWRITE (4) or PAGE_WRITECOPY (8); `qwMida` its size, 0 for the file's; `szNom` the name under
    // which processes share it, null for none. A read-write mapping larger than the file makes the file
    // longer. 1 on success, and the three arguments are recorded; 0 on failure, also without memory and
    // when an open mapping could not be closed, and then the fields stay as they are.
    int Open(unsigned long dwProtect, unsigned long long qwMida, const wchar_t* szNom);
    // 1 when there was no mapping or it closed; 0 when closing failed, and the handle is kept.
    int Close();

    void* m_hFile;                  // as given to the constructor
    unsigned long m_dwGranularitat; // the system's allocation granularity in bytes
    unsigned long m_dwProtect;      // protection of the last successful Open; 2 before the first
    unsigned long long m_qwMida;    // size of the last successful Open; 0 before the first
    CString m_strNom;               // name of the mapping; empty for none
    void* m_hMapping;               // the mapping's handle; null while closed
};

class MVLIB_API CMapViewOfFile : public CObject {
    DECLARE_DYNAMIC(CMapViewOfFile)

public:
    // A closed view on `pMapping`, which may be null (every Open then fails) and must outlive the open view.
    explicit CMapViewOfFile(CFileMapping* pMapping);
    ~CMapViewOfFile() override; // Close()

    // Unmaps the current view, then maps `dwMida` bytes of the file from `qwOffset` on with `dwAccess`
    // (FILE_MAP_READ 4, FILE_MAP_WRITE 2, FILE_MAP_COPY 1). The view starts at the multiple of the
    // granularity at or below `qwOffset` and is longer by the difference; `m_pDades` points at the requested
    // byte. `dwMida` 0 with such a multiple as offset maps up to the end of the mapping. 1 on success; 0 on
    // failure, also when the current view could not be unmapped or the size overflows: no view is open then,
    // unless it was the unmapping that failed.
    int Open(unsigned long long qwOffset, unsigned long dwMida, unsigned long dwAccess);
    // 1 when there was no view or it was unmapped, and all fields but the mapping are cleared; 0 when
    // unmapping failed.
    int Close();

    CFileMapping* m_pMapping;           // not owned
    unsigned char* m_pDades;            // the byte at the requested offset; null while closed
    unsigned long m_dwMida;             // requested size in bytes
    unsigned long long m_qwOffset;      // requested offset
    unsigned long m_dwAccess;           // access of the view
    void* m_pVista;                     // the view's base as the system returned it; null while closed
    unsigned long long m_qwOffsetVista; // offset really mapped
    unsigned long m_dwMidaVista;        // size really mapped
};
