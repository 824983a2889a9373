#include "afxwin.h"

#include <cerrno>
#include <cwchar>

IMPLEMENT_DYNAMIC(CFileException, CException)

CFileException::CFileException(int cause, LONG lOsError, LPCTSTR lpszArchiveName)
    : m_cause(cause)
    , m_lOsError(lOsError)
    , m_strFileName(lpszArchiveName) {}
CFileException::~CFileException() = default;

namespace {

// By cause; %1 is the file.
const LPCWSTR messages[] = {
    L"No error occurred with the file %1.",
    L"An unexpected error occurred with the file %1.",
    L"The file %1 was not found.",
    L"The path %1 is not valid.",
    L"The file %1 could not be opened: too many files are open.",
    L"Access to the file %1 was denied.",
    L"The file %1 is not valid, or was closed.",
    L"The folder %1 is in use or not empty and cannot be removed.",
    L"The folder of the file %1 is full.",
    L"A position in the file %1 could not be reached.",
    L"The device reported an error with the file %1.",
    L"The file %1 is in use by another program.",
    L"A part of the file %1 is locked by another program.",
    L"There is not enough room on the disk for the file %1.",
    L"The end of the file %1 was reached too early.",
};

} // namespace

BOOL CFileException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
    if (pnHelpContext != nullptr)
        *pnHelpContext = 0;
    if (lpszError == nullptr || nMaxError == 0)
        return FALSE;
    bool isKnown = m_cause >= 0 && m_cause < static_cast<int>(_countof(messages));
    LPCWSTR psz = messages[isKnown ? m_cause : genericException];
    LPCWSTR pszName = m_strFileName.IsEmpty() ? L"without a name" : m_strFileName.GetString();
    UINT n = 0;
    auto add = [&](LPCWSTR pszPart, std::size_t nLength) {
        while (nLength-- > 0 && n < nMaxError - 1)
            lpszError[n++] = *pszPart++;
    };
    LPCWSTR pszMark = std::wcschr(psz, L'%');
    add(psz, pszMark - psz);
    add(pszName, std::wcslen(pszName));
    add(pszMark + 2, std::wcslen(pszMark + 2));
    lpszError[n] = 0;
    return TRUE;
}

int CFileException::OsErrorToException(LONG lOsError) {
    switch (lOsError) {
    case NO_ERROR:
        return none;
    case 2:   // file not found
    case 6:   // invalid handle
    case 18:  // no more files
    case 107: // disk change
        return fileNotFound;
    case 3:   // path not found
    case 15:  // invalid drive
    case 17:  // not the same device
    case 34:  // wrong disk
    case 52:  // duplicate name
    case 53:  // network path
    case 55:  // device does not exist
    case 67:  // network name
    case 70:  // sharing paused
    case 85:  // already assigned
    case 111: // file name too long
    case 123: // invalid name
    case 124: // invalid level
    case 125: // no volume label
    case 144: // not a root folder
    case 154: // label too long
    case 161: // bad path name
    case 206: // name out of range
    case 208: // pattern too long
    case 267: // no folder
        return badPath;
    case 4:   // too many open files
    case 36:  // sharing buffer exceeded
    case 68:  // too many names
    case 113: // no more search handles
        return tooManyOpenFiles;
    case 5:   // access denied
    case 12:  // invalid access
    case 19:  // write protected
    case 29:  // write fault
    case 54:  // network busy
    case 58:  // bad answer of the network
    case 64:  // network name deleted
    case 65:  // network access denied
    case 71:  // request not accepted
    case 80:  // file exists
    case 82:  // cannot make
    case 86:  // invalid password
    case 170: // busy
    case 183: // already exists
        return accessDenied;
    case 11:  // bad format
    case 26:  // unknown disk
    case 60:  // bad remote adapter
    case 66:  // bad device type
    case 114: // invalid target handle
    case 182: // invalid ordinal
    case 191: // invalid program signature
    case 193: // bad program format
        return invalidFile;
    case 16:  // current folder
    case 145: // folder not empty
        return removeCurrentDir;
    case 62: // no spool space
        return directoryFull;
    case 24:  // bad length
    case 25:  // seek
    case 27:  // sector not found
    case 30:  // read fault
    case 131: // negative seek
    case 132: // seek on a device
        return badSeek;
    case 20:  // bad unit
    case 21:  // not ready
    case 22:  // bad command
    case 23:  // checksum
    case 57:  // adapter
    case 59:  // unexpected network error
    case 88:  // network write fault
    case 117: // invalid category
    case 995: // operation aborted
    case 996: // incomplete
    case 997: // pending
        return hardIO;
    case 32: // sharing violation
        return sharingViolation;
    case 33:  // lock violation
    case 108: // drive locked
    case 167: // lock failed
        return lockViolation;
    case 39:  // handle disk full
    case 112: // disk full
        return diskFull;
    case 38: // handle at the end
        return endOfFile;
    default:
        return genericException;
    }
}

int CFileException::ErrnoToException(int nErrno) {
    switch (nErrno) {
    case 0:
        return none;
    case EPERM:
    case EACCES:
        return accessDenied;
    case EBADF:
        return invalidFile;
    case EDEADLOCK:
        return sharingViolation;
    case EMFILE:
        return tooManyOpenFiles;
    case ENOENT:
    case ENFILE:
        return fileNotFound;
    case ENOSPC:
        return diskFull;
    case EINVAL:
    case EIO:
        return hardIO;
    default:
        return genericException;
    }
}

void CFileException::ThrowOsError(LONG lOsError, LPCTSTR lpszFileName) {
    if (lOsError != 0)
        AfxThrowFileException(OsErrorToException(lOsError), lOsError, lpszFileName);
}
void CFileException::ThrowErrno(int nErrno, LPCTSTR lpszFileName) {
    if (nErrno != 0)
        AfxThrowFileException(ErrnoToException(nErrno), static_cast<LONG>(GetLastError()), lpszFileName);
}

void AfxThrowFileException(int cause, LONG lOsError, LPCTSTR lpszFileName) {
    throw new CFileException(cause, lOsError, lpszFileName);
}
