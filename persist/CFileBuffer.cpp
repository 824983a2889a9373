#include "CFileBuffer.h"

#include "persist/file_block.h"

#include "file_size.h"

#include <algorithm>
#include <cstring>
#include <limits>

IMPLEMENT_DYNAMIC(CFileBuffer, CFile)

namespace {

// A block up to the first size is allocated and cleared whole at once: there is nothing worth saving. One
// above the second is allocated whole too: whether a process gets that much is a result that callers see.
constexpr DWORD SMALL_BLOCK = 0x10000;
constexpr DWORD LARGE_BLOCK = 0x1000000;

} // namespace

CFileBuffer::CFileBuffer(const wchar_t* szFitxer, unsigned int nFlags, unsigned long nMidaBuffer)
    : m_nFlags(nFlags)
    , m_pBuffer(nullptr)
    , m_nMidaBuffer(static_cast<DWORD>(std::min<unsigned long>(nMidaBuffer, 0xFFFFFFFF)))
    , m_qwIniciBuffer(0)
    , m_qwPosicio(0)
    , m_nDadesBuffer(0)
    , m_bModificat(0)
    , m_nIniciModificat(0)
    , m_nFiModificat(0) {
    CFileException error;
    if (!CFileBuffer::Open(szFitxer, nFlags, &error))
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
}

CFileBuffer::~CFileBuffer() {
    if (m_hFile != hFileNull) {
        try {
            flushBuffer();
        } catch (CException* error) {
            error->Delete();
        }
    }
    DeleteContents();
}

int CFileBuffer::Open(const wchar_t* szFitxer, unsigned int nFlags, CFileException* pError) {
    // What is loaded or pending belongs to the file that was open until now.
    const DWORD size = m_nMidaBuffer;
    if (m_hFile != hFileNull) {
        try {
            CFileBuffer::Close();
        } catch (CFileException* error) {
            if (pError) {
                pError->m_cause = error->m_cause;
                pError->m_lOsError = error->m_lOsError;
                pError->m_strFileName = error->m_strFileName;
            }
            error->Delete();
            return 0;
        }
    }
    DeleteContents();
    m_nMidaBuffer = size;

    m_nFlags = nFlags;
    const int opened = CFile::Open(szFitxer, nFlags, pError);
    m_qwPosicio = 0;
    return opened;
}

void CFileBuffer::Close() {
    flushBuffer();
    DeleteContents();
    CFile::Close();
}

// ---- Query

unsigned long long CFileBuffer::GetPosition() const {
    return m_qwPosicio;
}

unsigned long long CFileBuffer::GetLength() const {
    // Kept: the end of the pending bytes counts, even when the file on disk is longer.
    if ((m_nFlags & modeWrite) && m_bModificat)
        return m_qwIniciBuffer + m_nFiModificat;
    return CFile::GetLength();
}

int CFileBuffer::GetStatus(CFileStatus& rStatus) const {
    return CFile::GetStatus(rStatus);
}

int CFileBuffer::IsBuffered() {
    return FileBufferWindow::Holds(*this, m_qwPosicio);
}

int CFileBuffer::IsBuffered(unsigned long long pos) {
    return FileBufferWindow::Holds(*this, pos);
}

// ---- Position

unsigned long long CFileBuffer::Seek(long long lOff, unsigned int nFrom) {
    // Inside the block only the logical position moves: loading and writing set the system's before they need
    // it.
    if (nFrom == begin || nFrom == current) {
        const unsigned long long base = nFrom == current ? m_qwPosicio : 0;
        const unsigned long long target = base + static_cast<unsigned long long>(lOff);
        const bool wrapped = lOff < 0 ? target > base : target < base;
        if (!wrapped && FileBufferWindow::Holds(*this, target)) {
            m_qwPosicio = target;
            return target;
        }
    }
    if (nFrom == current)
        CFile::Seek(static_cast<long long>(m_qwPosicio), begin);
    m_qwPosicio = CFile::Seek(lOff, nFrom);
    return m_qwPosicio;
}

void CFileBuffer::SeekToBegin() {
    CFileBuffer::Seek(0, begin);
}

unsigned long long CFileBuffer::SeekToEnd() {
    return CFileBuffer::Seek(0, end);
}

// ---- Input and output

unsigned int CFileBuffer::Read(void* p, unsigned int n) {
    unsigned char* to = static_cast<unsigned char*>(p);
    unsigned int missing = n;
    while (missing) {
        if (!FileBufferWindow::Holds(*this, m_qwPosicio) && loadBuffer(m_qwPosicio) < 0)
            break;
        // Nothing is loaded when the file has become shorter, and in a file that is being written.
        const unsigned long long offset = m_qwPosicio - m_qwIniciBuffer;
        if (offset >= m_nDadesBuffer)
            break;
        const DWORD count = std::min<DWORD>(missing, m_nDadesBuffer - static_cast<DWORD>(offset));
        std::memcpy(to, m_pBuffer + offset, count);
        to += count;
        missing -= count;
        m_qwPosicio += count;
    }
    return n - missing;
}

void CFileBuffer::Write(const void* p, unsigned int n) {
    const unsigned char* from = static_cast<const unsigned char*>(p);
    while (n) {
        // After a load the position may still lie outside the block: the block begins at the end of a file
        // that is shorter, or has no size. Storing there would run past the memory.
        if (!FileBufferWindow::Holds(*this, m_qwPosicio) &&
            (loadBuffer(m_qwPosicio) < 0 || !FileBufferWindow::Holds(*this, m_qwPosicio)))
            break;
        if (!wholeBlock())
            break;
        const DWORD offset = static_cast<DWORD>(m_qwPosicio - m_qwIniciBuffer);
        const DWORD count = std::min<DWORD>(n, m_nMidaBuffer - offset);
        FileBlock::CleanBefore(m_pBuffer, offset, offset + count);
        FileBufferWindow::MarkModified(*this, offset, offset + count);
        std::memcpy(m_pBuffer + offset, from, count);
        from += count;
        n -= count;
        m_qwPosicio += count;
    }
}

void CFileBuffer::Flush() {
    flushBuffer();
    CFile::Flush();
}

// ---- The block itself

unsigned char* CFileBuffer::getActualBufferPosition() {
    if (!FileBufferWindow::Holds(*this, m_qwPosicio) || !wholeBlock())
        return nullptr;
    // From here on the caller sees all of it.
    FileBlock::Clean(m_pBuffer, m_nMidaBuffer);
    return m_pBuffer + (m_qwPosicio - m_qwIniciBuffer);
}

int CFileBuffer::updateBuffer() {
    return FileBufferWindow::Holds(*this, m_qwPosicio) ? 0 : loadBuffer(m_qwPosicio);
}

void CFileBuffer::updateWriteBlockLimits(unsigned int n) {
    if (n == 0 || !FileBufferWindow::Holds(*this, m_qwPosicio) || !wholeBlock())
        return;
    const DWORD offset = static_cast<DWORD>(m_qwPosicio - m_qwIniciBuffer);
    const DWORD stop = offset + std::min<DWORD>(n, m_nMidaBuffer - offset);
    FileBlock::Clean(m_pBuffer, stop);
    FileBufferWindow::MarkModified(*this, offset, stop);
}

// ---- As in CFile

void CFileBuffer::SetFilePath(const wchar_t* szPath) {
    if (!szPath)
        AfxThrowInvalidArgException();
    CFile::SetFilePath(szPath);
}

void CFileBuffer::SetLength(unsigned long long qwMida) {
    // The framework cuts the file at the system's position after moving there by the virtual Seek, which may
    // have left the system's where it was.
    CFile::Seek(static_cast<long long>(qwMida), begin);
    CFile::SetLength(qwMida);
}

void CFileBuffer::LockRange(unsigned long long qwPos, unsigned long long qwMida) {
    CFile::LockRange(qwPos, qwMida);
}

void CFileBuffer::UnlockRange(unsigned long long qwPos, unsigned long long qwMida) {
    CFile::UnlockRange(qwPos, qwMida);
}

unsigned int CFileBuffer::GetBufferPtr(unsigned int nCommand, unsigned int nCount, void** ppBufStart,
                                       void** ppBufMax) {
    return CFile::GetBufferPtr(nCommand, nCount, ppBufStart, ppBufMax);
}

// ---- Protected

int CFileBuffer::flushBuffer() {
    if (!m_pBuffer)
        return -1;
    if ((m_nFlags & modeWrite) && m_bModificat) {
        CFile::Seek(static_cast<long long>(m_qwIniciBuffer), begin);
        // Kept: bytes modified further inside the block are written at its start all the same. Writing on
        // from where the block began always modifies from its first byte.
        CFile::Write(m_pBuffer + m_nIniciModificat, m_nFiModificat - m_nIniciModificat);
        CFile::Seek(static_cast<long long>(m_qwPosicio), begin);
        m_bModificat = 0;
        m_nIniciModificat = 0;
        m_nFiModificat = 0;
    }
    return 0;
}

int CFileBuffer::loadBuffer(unsigned long long pos) {
    if (m_nFlags & modeReadWrite)
        return -1;
    if (m_nFlags & modeWrite)
        return startBlock(pos);
    // The first block does without asking for the length: that of the opening will do. What has come to the
    // file since then is a block of its own.
    LARGE_INTEGER size;
    if (!m_pBuffer && pos == m_qwPosicio && MvFileSizeAtOpen(m_hFile, &size)) {
        const int result = readBlock(pos, static_cast<unsigned long long>(size.QuadPart));
        if (result == -1 || m_nDadesBuffer)
            return result;
    }
    unsigned long long length = 0; // what cannot be asked is at its end
    try {
        length = CFile::GetLength();
    } catch (CFileException* error) {
        error->Delete();
    }
    return readBlock(pos, length);
}

// loadBuffer for a file that is written.
int CFileBuffer::startBlock(unsigned long long pos) {
    if (m_pBuffer)
        flushBuffer();
    else if (!(m_pBuffer = FileBlock::Allocate(m_nMidaBuffer)))
        return -1;
    try {
        const bool atEnd = m_qwPosicio >= CFile::GetLength();
        m_qwIniciBuffer = atEnd ? CFile::Seek(0, end) : CFile::Seek(static_cast<long long>(pos), begin);
    } catch (CFileException* error) {
        error->Delete();
        return -7;
    }
    markLoaded(0);
    return 0;
}

// loadBuffer for a file of `length` bytes that is read. What is loaded stays when there is nothing to read.
int CFileBuffer::readBlock(unsigned long long pos, unsigned long long length) {
    const bool atEnd = m_qwPosicio >= length;
    const DWORD capacity = capacityFor(atEnd || pos >= length ? 0 : length - pos);
    if (m_pBuffer && FileBlock::Capacity(m_pBuffer) < capacity) {
        FileBlock::Free(m_pBuffer);
        m_pBuffer = nullptr;
        m_nDadesBuffer = 0;
    }
    if (!m_pBuffer && !(m_pBuffer = FileBlock::Allocate(capacity)))
        return -1;
    if (atEnd)
        return -7;
    try {
        CFile::Seek(static_cast<long long>(pos), begin);
        m_qwIniciBuffer = pos;
        m_nDadesBuffer = 0; // should reading throw
        markLoaded(CFile::Read(m_pBuffer, std::min(m_nMidaBuffer, FileBlock::Capacity(m_pBuffer))));
    } catch (CFileException* error) {
        error->Delete();
        return -7;
    }
    return 0;
}

void CFileBuffer::markLoaded(DWORD count) {
    m_nDadesBuffer = count;
    FileBlock::SetClean(m_pBuffer, count);
    if (m_nMidaBuffer <= SMALL_BLOCK)
        FileBlock::Clean(m_pBuffer, m_nMidaBuffer);
}

// The memory of a block of which `rest` bytes of the file are read.
DWORD CFileBuffer::capacityFor(unsigned long long rest) const {
    return m_nMidaBuffer > SMALL_BLOCK && m_nMidaBuffer <= LARGE_BLOCK && rest < m_nMidaBuffer
               ? static_cast<DWORD>(rest)
               : m_nMidaBuffer;
}

void CFileBuffer::DeleteContents() {
    FileBlock::Free(m_pBuffer);
    m_pBuffer = nullptr;
    m_nMidaBuffer = 0;
    m_qwIniciBuffer = 0;
    m_nDadesBuffer = 0;
    m_bModificat = 0;
    m_nIniciModificat = 0;
    m_nFiModificat = 0;
}

bool CFileBuffer::wholeBlock() {
    if (FileBlock::Capacity(m_pBuffer) < m_nMidaBuffer) {
        unsigned char* grown = FileBlock::Grow(m_pBuffer, m_nMidaBuffer);
        if (!grown)
            return false;
        m_pBuffer = grown;
    }
    return true;
}
