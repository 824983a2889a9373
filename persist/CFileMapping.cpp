#include "CFileMapping.h"

#include "win32.h"

#include <limits>

IMPLEMENT_DYNAMIC(CFileMapping, CObject)
IMPLEMENT_DYNAMIC(CMapViewOfFile, CObject)

CFileMapping::CFileMapping(void* hFile)
    : m_hFile(hFile)
    , m_dwGranularitat(0)
    , m_dwProtect(PAGE_READONLY)
    , m_qwMida(0)
    , m_hMapping(nullptr) {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    m_dwGranularitat = system.dwAllocationGranularity;
}

CFileMapping::~CFileMapping() {
    CFileMapping::Close();
}

int CFileMapping::Open(unsigned long dwProtect, unsigned long long qwMida, const wchar_t* szNom) {
    if (!Close())
        return 0;
    // The name first: running out of memory for it must not lose a handle.
    CString name;
    try {
        name.SetString(szNom);
    } catch (CMemoryException* noMemory) {
        noMemory->Delete();
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    void* mapping =
        CreateFileMappingW(m_hFile, nullptr, static_cast<DWORD>(dwProtect), static_cast<DWORD>(qwMida >> 32),
                           static_cast<DWORD>(qwMida & 0xFFFFFFFF), szNom);
    if (!mapping)
        return 0;
    m_hMapping = mapping;
    m_dwProtect = dwProtect;
    m_qwMida = qwMida;
    m_strNom = name;
    return 1;
}

int CFileMapping::Close() {
    if (m_hMapping) {
        if (!CloseHandle(m_hMapping))
            return 0;
        m_hMapping = nullptr;
    }
    return 1;
}

CMapViewOfFile::CMapViewOfFile(CFileMapping* pMapping)
    : m_pMapping(pMapping)
    , m_pDades(nullptr)
    , m_dwMida(0)
    , m_qwOffset(0)
    , m_dwAccess(0)
    , m_pVista(nullptr)
    , m_qwOffsetVista(0)
    , m_dwMidaVista(0) {}

CMapViewOfFile::~CMapViewOfFile() {
    CMapViewOfFile::Close();
}

int CMapViewOfFile::Open(unsigned long long qwOffset, unsigned long dwMida, unsigned long dwAccess) {
    if (!Close())
        return 0;
    if (!m_pMapping || m_pMapping->m_dwGranularitat == 0) {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    const unsigned long rest = static_cast<unsigned long>(qwOffset % m_pMapping->m_dwGranularitat);
    if (dwMida > std::numeric_limits<unsigned long>::max() - rest) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const unsigned long long start = qwOffset - rest;
    const unsigned long size = rest + dwMida;
    void* view = MapViewOfFile(m_pMapping->m_hMapping, static_cast<DWORD>(dwAccess),
                               static_cast<DWORD>(start >> 32), static_cast<DWORD>(start & 0xFFFFFFFF), size);
    if (!view)
        return 0;
    m_pDades = static_cast<unsigned char*>(view) + rest;
    m_dwMida = dwMida;
    m_qwOffset = qwOffset;
    m_dwAccess = dwAccess;
    m_pVista = view;
    m_qwOffsetVista = start;
    m_dwMidaVista = size;
    return 1;
}

int CMapViewOfFile::Close() {
    if (m_pVista) {
        if (!UnmapViewOfFile(m_pVista))
            return 0;
        m_pDades = nullptr;
        m_dwMida = 0;
        m_qwOffset = 0;
        m_dwAccess = 0;
        m_pVista = nullptr;
        m_qwOffsetVista = 0;
        m_dwMidaVista = 0;
    }
    return 1;
}
