#include "afxfile.h"

#include <cstdlib>
#include <cstring>
#include <limits>

IMPLEMENT_DYNAMIC(CMemFile, CFile)

CMemFile::CMemFile(UINT nGrowBytes)
    : m_nGrowBytes(nGrowBytes)
    , m_nPosition(0)
    , m_nBufferSize(0)
    , m_nFileSize(0)
    , m_lpBuffer(nullptr)
    , m_bAutoDelete(TRUE) {}

CMemFile::CMemFile(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes)
    : CMemFile(nGrowBytes) {
    Attach(lpBuffer, nBufferSize, nGrowBytes);
}

CMemFile::~CMemFile() {
    if (m_bAutoDelete)
        std::free(m_lpBuffer);
}

void CMemFile::Attach(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes) {
    ENSURE_ARG(lpBuffer != nullptr || nBufferSize == 0);
    if (m_bAutoDelete)
        std::free(m_lpBuffer);
    m_lpBuffer = lpBuffer;
    m_nBufferSize = nBufferSize;
    m_nGrowBytes = nGrowBytes;
    m_nFileSize = nGrowBytes == 0 ? nBufferSize : 0;
    m_nPosition = 0;
    m_bAutoDelete = nGrowBytes != 0;
}

BYTE* CMemFile::Detach() {
    BYTE* p = m_lpBuffer;
    m_lpBuffer = nullptr;
    m_nBufferSize = m_nFileSize = m_nPosition = 0;
    return p;
}

ULONGLONG CMemFile::GetPosition() const {
    return m_nPosition;
}

BOOL CMemFile::GetStatus(CFileStatus& rStatus) const {
    rStatus = CFileStatus();
    rStatus.m_size = m_nFileSize;
    return TRUE;
}

ULONGLONG CMemFile::Seek(LONGLONG lOff, UINT nFrom) {
    SIZE_T nBase = nFrom == begin ? 0 : nFrom == current ? m_nPosition : m_nFileSize;
    ENSURE_ARG(nFrom <= end);
    constexpr auto nLimit = static_cast<LONGLONG>(std::numeric_limits<SIZE_T>::max() / 2);
    if (lOff > nLimit - static_cast<LONGLONG>(nBase) || static_cast<LONGLONG>(nBase) + lOff < 0)
        AfxThrowFileException(CFileException::badSeek, -1, m_strFileName);
    m_nPosition = static_cast<SIZE_T>(static_cast<LONGLONG>(nBase) + lOff);
    return m_nPosition;
}

// The block grows in whole steps; without a step it cannot.
void CMemFile::growFile(SIZE_T nNewLength) {
    if (nNewLength <= m_nBufferSize)
        return;
    if (m_nGrowBytes == 0 || nNewLength > std::numeric_limits<SIZE_T>::max() / 2 - m_nGrowBytes)
        AfxThrowMemoryException();
    SIZE_T nSize = (nNewLength + m_nGrowBytes - 1) / m_nGrowBytes * m_nGrowBytes;
    auto* p = static_cast<BYTE*>(std::realloc(m_lpBuffer, nSize));
    if (p == nullptr)
        AfxThrowMemoryException();
    m_lpBuffer = p;
    m_nBufferSize = nSize;
}

void CMemFile::SetLength(ULONGLONG dwNewLen) {
    if (dwNewLen > std::numeric_limits<SIZE_T>::max() / 2)
        AfxThrowMemoryException();
    auto nNewLength = static_cast<SIZE_T>(dwNewLen);
    growFile(nNewLength);
    if (nNewLength > m_nFileSize)
        std::memset(m_lpBuffer + m_nFileSize, 0, nNewLength - m_nFileSize);
    m_nFileSize = nNewLength;
    if (m_nPosition > m_nFileSize)
        m_nPosition = m_nFileSize;
}

ULONGLONG CMemFile::GetLength() const {
    return m_nFileSize;
}

UINT CMemFile::Read(void* lpBuf, UINT nCount) {
    if (nCount == 0 || m_nPosition >= m_nFileSize)
        return 0;
    UINT nRead = m_nFileSize - m_nPosition < nCount ? static_cast<UINT>(m_nFileSize - m_nPosition) : nCount;
    std::memcpy(lpBuf, m_lpBuffer + m_nPosition, nRead);
    m_nPosition += nRead;
    return nRead;
}

void CMemFile::Write(const void* lpBuf, UINT nCount) {
    if (nCount == 0)
        return;
    if (m_nPosition > std::numeric_limits<SIZE_T>::max() / 2 - nCount)
        AfxThrowMemoryException();
    SIZE_T nEnd = m_nPosition + nCount;
    growFile(nEnd);
    if (m_nPosition > m_nFileSize) // what was leapt over reads as zeros
        std::memset(m_lpBuffer + m_nFileSize, 0, m_nPosition - m_nFileSize);
    std::memcpy(m_lpBuffer + m_nPosition, lpBuf, nCount);
    m_nPosition = nEnd;
    if (m_nFileSize < nEnd)
        m_nFileSize = nEnd;
}

void CMemFile::Abort() {
    Close();
}

void CMemFile::Flush() {}

void CMemFile::Close() {
    if (m_bAutoDelete)
        std::free(m_lpBuffer);
    Detach();
}

CFile* CMemFile::Duplicate() const {
    AfxThrowNotSupportedException();
}
void CMemFile::LockRange(ULONGLONG, ULONGLONG) {
    AfxThrowNotSupportedException();
}
void CMemFile::UnlockRange(ULONGLONG, ULONGLONG) {
    AfxThrowNotSupportedException();
}

UINT CMemFile::GetBufferPtr(UINT nCommand, UINT nCount, void** ppBufStart, void** ppBufMax) {
    if (nCommand == bufferCheck)
        return bufferDirect;
    if (nCommand == bufferCommit) { // nCount bytes were written in place
        m_nPosition += nCount;
        if (m_nPosition > m_nFileSize)
            m_nFileSize = m_nPosition;
        return 0;
    }
    ENSURE_ARG((nCommand == bufferRead || nCommand == bufferWrite) && ppBufStart != nullptr &&
               ppBufMax != nullptr);
    SIZE_T nEnd = m_nPosition;
    if (nCommand == bufferWrite) {
        if (m_nPosition > std::numeric_limits<SIZE_T>::max() / 2 - nCount)
            AfxThrowMemoryException();
        growFile(m_nPosition + nCount);
        if (m_nPosition > m_nFileSize)
            std::memset(m_lpBuffer + m_nFileSize, 0, m_nPosition - m_nFileSize);
        nEnd = m_nPosition + nCount;
    } else if (m_nPosition < m_nFileSize) {
        nEnd = m_nFileSize - m_nPosition < nCount ? m_nFileSize : m_nPosition + nCount;
    }
    *ppBufStart = m_lpBuffer != nullptr ? m_lpBuffer + m_nPosition : nullptr;
    *ppBufMax = m_lpBuffer != nullptr ? m_lpBuffer + nEnd : nullptr;
    SIZE_T nPrevious = m_nPosition;
    if (nCommand == bufferRead)
        m_nPosition = nEnd;
    return static_cast<UINT>(nEnd - nPrevious);
}
