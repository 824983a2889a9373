#include "afxfile.h"

#include <cwchar>

IMPLEMENT_DYNAMIC(CFile, CObject)

const HANDLE CFile::hFileNull = INVALID_HANDLE_VALUE;

namespace {

// The absolute form of a name; the name itself where the system knows none.
CString fullPath(LPCTSTR lpszName) {
    WCHAR szShort[MAX_PATH];
    DWORD nSize = GetFullPathNameW(lpszName, MAX_PATH, szShort, nullptr);
    if (nSize != 0 && nSize < MAX_PATH)
        return CString(szShort, static_cast<int>(nSize));
    CString path;
    while (nSize != 0 && nSize <= 0x7FFF) {
        DWORD nLength = GetFullPathNameW(lpszName, nSize, path.GetBuffer(static_cast<int>(nSize)), nullptr);
        const bool bFits = nLength < nSize;
        path.ReleaseBuffer(bFits ? static_cast<int>(nLength) : 0);
        if (bFits && nLength != 0)
            return path;
        nSize = nLength;
    }
    return lpszName;
}

// System times count 100 ns from 1601.
FILETIME toFileTime(CTime time) {
    auto ticks = static_cast<ULONGLONG>((time.GetTime() + 11644473600LL) * 10000000);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

int findLastSeparator(const CString& path) {
    for (int i = path.GetLength() - 1; i >= 0; --i)
        if (path[i] == L'\\' || path[i] == L'/' || (path[i] == L':' && i == 1))
            return i;
    return -1;
}

BOOL setFullName(CFileStatus& rStatus, const CString& name) {
    if (name.GetLength() >= static_cast<int>(_countof(rStatus.m_szFullName))) {
        rStatus.m_szFullName[0] = 0;
        return FALSE;
    }
    std::wmemcpy(rStatus.m_szFullName, name, name.GetLength() + 1);
    return TRUE;
}

CTime toTime(const FILETIME& time) {
    return time.dwLowDateTime == 0 && time.dwHighDateTime == 0 ? CTime() : CTime(time);
}

// From either of the records in which the system answers.
template <class Information>
void setTimesAndSize(CFileStatus& rStatus, const Information& information) {
    rStatus.m_ctime = toTime(information.ftCreationTime);
    rStatus.m_mtime = toTime(information.ftLastWriteTime);
    rStatus.m_atime = toTime(information.ftLastAccessTime);
    rStatus.m_size = static_cast<ULONGLONG>(information.nFileSizeHigh) << 32 | information.nFileSizeLow;
    rStatus.m_attribute = information.dwFileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL);
}

} // namespace

CFile::CFile()
    : m_hFile(hFileNull)
    , m_bCloseOnDelete(FALSE) {}

CFile::CFile(HANDLE hFile)
    : m_hFile(hFile)
    , m_bCloseOnDelete(FALSE) {}

CFile::CFile(LPCTSTR lpszFileName, UINT nOpenFlags)
    : m_hFile(hFileNull)
    , m_bCloseOnDelete(FALSE) {
    CFileException e;
    if (!CFile::Open(lpszFileName, nOpenFlags, &e))
        AfxThrowFileException(e.m_cause, e.m_lOsError, e.m_strFileName);
}

CFile::~CFile() {
    if (m_hFile != hFileNull && m_bCloseOnDelete)
        CloseHandle(m_hFile);
}

CFile* CFile::Duplicate() const {
    if (m_hFile == hFileNull) // which the system would take for the process itself
        CFileException::ThrowOsError(ERROR_INVALID_HANDLE, m_strFileName);
    auto* pFile = new CFile;
    HANDLE hFile;
    if (!DuplicateHandle(GetCurrentProcess(), m_hFile, GetCurrentProcess(), &hFile, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        DWORD dwError = GetLastError();
        delete pFile;
        CFileException::ThrowOsError(static_cast<LONG>(dwError), m_strFileName);
        return nullptr;
    }
    pFile->m_hFile = hFile;
    pFile->m_bCloseOnDelete = TRUE;
    pFile->m_strFileName = m_strFileName;
    return pFile;
}

BOOL CFile::Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError) {
    if (m_hFile != hFileNull && m_bCloseOnDelete)
        CloseHandle(m_hFile);
    m_hFile = hFileNull;
    m_bCloseOnDelete = FALSE;
    m_strFileName.Empty();
    if (lpszFileName == nullptr) {
        if (pError != nullptr) {
            pError->m_cause = CFileException::badPath;
            pError->m_lOsError = ERROR_INVALID_NAME;
            pError->m_strFileName.Empty();
        }
        return FALSE;
    }

    DWORD dwAccess = 0;
    switch (nOpenFlags & 3) {
    case modeRead:
        dwAccess = GENERIC_READ;
        break;
    case modeWrite:
        dwAccess = GENERIC_WRITE;
        break;
    default:
        dwAccess = GENERIC_READ | GENERIC_WRITE;
    }
    DWORD dwShare = 0;
    switch (nOpenFlags & 0x70) {
    case shareDenyWrite:
        dwShare = FILE_SHARE_READ;
        break;
    case shareDenyRead:
        dwShare = FILE_SHARE_WRITE;
        break;
    case shareDenyNone:
        dwShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
        break;
    default: // shareCompat, shareExclusive
        break;
    }
    DWORD dwDisposition = OPEN_EXISTING;
    if (nOpenFlags & modeCreate)
        dwDisposition = nOpenFlags & modeNoTruncate ? OPEN_ALWAYS : CREATE_ALWAYS;
    DWORD dwAttributes = FILE_ATTRIBUTE_NORMAL;
    if (nOpenFlags & osNoBuffer)
        dwAttributes |= FILE_FLAG_NO_BUFFERING;
    if (nOpenFlags & osWriteThrough)
        dwAttributes |= FILE_FLAG_WRITE_THROUGH;
    if (nOpenFlags & osRandomAccess)
        dwAttributes |= FILE_FLAG_RANDOM_ACCESS;
    if (nOpenFlags & osSequentialScan)
        dwAttributes |= FILE_FLAG_SEQUENTIAL_SCAN;
    SECURITY_ATTRIBUTES security = {};
    security.nLength = sizeof(security);
    security.bInheritHandle = (nOpenFlags & modeNoInherit) == 0;

    CString path = fullPath(lpszFileName);
    HANDLE hFile =
        CreateFileW(lpszFileName, dwAccess, dwShare, &security, dwDisposition, dwAttributes, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        if (pError != nullptr) {
            pError->m_lOsError = static_cast<LONG>(GetLastError());
            pError->m_cause = CFileException::OsErrorToException(pError->m_lOsError);
            pError->m_strFileName = lpszFileName; // as given: the user knows that name
        }
        return FALSE;
    }
    m_hFile = hFile;
    m_bCloseOnDelete = TRUE;
    m_strFileName = std::move(path);
    return TRUE;
}

UINT CFile::Read(void* lpBuf, UINT nCount) {
    if (nCount == 0)
        return 0;
    DWORD dwRead = 0;
    if (!ReadFile(m_hFile, lpBuf, nCount, &dwRead, nullptr))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
    return dwRead;
}

void CFile::Write(const void* lpBuf, UINT nCount) {
    if (nCount == 0)
        return;
    DWORD dwWritten = 0;
    if (!WriteFile(m_hFile, lpBuf, nCount, &dwWritten, nullptr))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
    if (dwWritten != nCount)
        AfxThrowFileException(CFileException::diskFull, -1, m_strFileName);
}

ULONGLONG CFile::Seek(LONGLONG lOff, UINT nFrom) {
    LARGE_INTEGER distance, position;
    distance.QuadPart = lOff;
    if (!SetFilePointerEx(m_hFile, distance, &position, nFrom))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
    return static_cast<ULONGLONG>(position.QuadPart);
}

ULONGLONG CFile::GetPosition() const {
    LARGE_INTEGER distance, position;
    distance.QuadPart = 0;
    if (!SetFilePointerEx(m_hFile, distance, &position, FILE_CURRENT))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
    return static_cast<ULONGLONG>(position.QuadPart);
}

ULONGLONG CFile::GetLength() const {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(m_hFile, &size))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
    return static_cast<ULONGLONG>(size.QuadPart);
}

void CFile::SetLength(ULONGLONG dwNewLen) {
    Seek(static_cast<LONGLONG>(dwNewLen), begin);
    if (!SetEndOfFile(m_hFile))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
}

void CFile::LockRange(ULONGLONG dwPos, ULONGLONG dwCount) {
    if (!LockFile(m_hFile, static_cast<DWORD>(dwPos), static_cast<DWORD>(dwPos >> 32),
                  static_cast<DWORD>(dwCount), static_cast<DWORD>(dwCount >> 32)))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
}

void CFile::UnlockRange(ULONGLONG dwPos, ULONGLONG dwCount) {
    if (!UnlockFile(m_hFile, static_cast<DWORD>(dwPos), static_cast<DWORD>(dwPos >> 32),
                    static_cast<DWORD>(dwCount), static_cast<DWORD>(dwCount >> 32)))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
}

void CFile::Flush() {
    if (m_hFile != hFileNull && !FlushFileBuffers(m_hFile))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), m_strFileName);
}

void CFile::Close() {
    if (m_hFile == hFileNull)
        return;
    CString name = m_strFileName;
    BOOL bClosed = CloseHandle(m_hFile);
    DWORD dwError = bClosed ? NO_ERROR : GetLastError();
    m_hFile = hFileNull;
    m_bCloseOnDelete = FALSE;
    m_strFileName.Empty();
    if (!bClosed)
        CFileException::ThrowOsError(static_cast<LONG>(dwError), name);
}

void CFile::Abort() {
    if (m_hFile != hFileNull) {
        CloseHandle(m_hFile);
        m_hFile = hFileNull;
    }
    m_bCloseOnDelete = FALSE;
    m_strFileName.Empty();
}

UINT CFile::GetBufferPtr(UINT, UINT, void**, void**) {
    return 0;
}

// ---- Names

CString CFile::GetFilePath() const {
    return m_strFileName;
}

CString CFile::GetFileName() const {
    return m_strFileName.Mid(findLastSeparator(m_strFileName) + 1);
}

CString CFile::GetFileTitle() const {
    CString name = GetFileName();
    int iDot = name.ReverseFind(L'.');
    return iDot > 0 ? name.Left(iDot) : name;
}

void CFile::SetFilePath(LPCTSTR lpszNewName) {
    ENSURE_ARG(lpszNewName != nullptr);
    m_strFileName = lpszNewName;
}

// ---- Files by name

void CFile::Rename(LPCTSTR lpszOldName, LPCTSTR lpszNewName) {
    if (!MoveFileW(lpszOldName, lpszNewName))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), lpszOldName);
}

void CFile::Remove(LPCTSTR lpszFileName) {
    if (!DeleteFileW(lpszFileName))
        CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), lpszFileName);
}

BOOL CFile::GetStatus(CFileStatus& rStatus) const {
    rStatus = CFileStatus();
    if (!setFullName(rStatus, m_strFileName))
        return FALSE;
    if (m_hFile == hFileNull)
        return TRUE;
    BY_HANDLE_FILE_INFORMATION information;
    if (!GetFileInformationByHandle(m_hFile, &information))
        return FALSE;
    setTimesAndSize(rStatus, information);
    return TRUE;
}

BOOL CFile::GetStatus(LPCTSTR lpszFileName, CFileStatus& rStatus) {
    rStatus = CFileStatus();
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (lpszFileName == nullptr || !GetFileAttributesExW(lpszFileName, GetFileExInfoStandard, &data) ||
        !setFullName(rStatus, fullPath(lpszFileName)))
        return FALSE;
    setTimesAndSize(rStatus, data);
    return TRUE;
}

void CFile::SetStatus(LPCTSTR lpszFileName, const CFileStatus& status) {
    auto check = [lpszFileName](BOOL bDone) {
        if (!bDone)
            CFileException::ThrowOsError(static_cast<LONG>(GetLastError()), lpszFileName);
    };
    DWORD dwAttributes = GetFileAttributesW(lpszFileName);
    check(dwAttributes != INVALID_FILE_ATTRIBUTES);
    bool changesAttributes =
        status.m_attribute != (dwAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL));
    DWORD dwNew = status.m_attribute != 0 ? status.m_attribute : static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL);

    // A read-only file takes no times, so a mark that goes must go first, and one that comes must come last.
    bool wasReadOnly = (dwAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (changesAttributes && wasReadOnly)
        check(SetFileAttributesW(lpszFileName, dwNew));

    if (status.m_ctime.GetTime() != 0 || status.m_mtime.GetTime() != 0 || status.m_atime.GetTime() != 0) {
        HANDLE hFile = CreateFileW(lpszFileName, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        check(hFile != INVALID_HANDLE_VALUE);
        FILETIME created = toFileTime(status.m_ctime), used = toFileTime(status.m_atime),
                 written = toFileTime(status.m_mtime);
        BOOL bDone = SetFileTime(hFile, status.m_ctime.GetTime() != 0 ? &created : nullptr,
                                 status.m_atime.GetTime() != 0 ? &used : nullptr,
                                 status.m_mtime.GetTime() != 0 ? &written : nullptr);
        DWORD dwError = GetLastError();
        CloseHandle(hFile);
        SetLastError(dwError);
        check(bDone);
    }

    if (changesAttributes && !wasReadOnly)
        check(SetFileAttributesW(lpszFileName, dwNew));
}

void CFile::AssertValid() const {
    CObject::AssertValid();
}

void CFile::Dump(CDumpContext& dc) const {
    CObject::Dump(dc);
    dc << L"with handle " << static_cast<const void*>(m_hFile) << L" and name \"" << m_strFileName << L"\"\n";
}
