// Files. Included by afx.h.
//
// CFile is a thin object over one system handle: every Read and Write is one call of the system, positions
// are 64 bits wide. Failures throw CFileException; Open alone answers FALSE instead and fills the exception
// that it was given. A file object is used by one thread at a time.
#pragma once

#include "afx.h"

// A file operation failed: why (m_cause), the system's error code (m_lOsError, -1 if there is none) and the
// name of the file, which may be empty.
class MVAFX_API CFileException : public CException {
    DECLARE_DYNAMIC(CFileException)
public:
    enum {
        none,
        genericException,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    // Made for the stack or a member as well as for new: auto-delete is on, so do not call Delete() on an
    // object that did not come from new.
    explicit CFileException(int cause = CFileException::none, LONG lOsError = -1,
                            LPCTSTR lpszArchiveName = nullptr);
    ~CFileException() override;

    using CException::GetErrorMessage;
    // A sentence for the cause with the file's name in it.
    BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext = nullptr) const override;

    // The cause for a system error code (0 gives none, an unknown one genericException), or for an errno.
    static int OsErrorToException(LONG lOsError);
    static int ErrnoToException(int nErrno);
    // Throw with that cause; ThrowOsError with 0 and ThrowErrno with 0 do nothing.
    static void ThrowOsError(LONG lOsError, LPCTSTR lpszFileName = nullptr);
    static void ThrowErrno(int nErrno, LPCTSTR lpszFileName = nullptr);

    int m_cause;
    LONG m_lOsError;
    CString m_strFileName;
};

[[noreturn]] MVAFX_API void AfxThrowFileException(int cause, LONG lOsError = -1,
                                                  LPCTSTR lpszFileName = nullptr);

// What GetStatus tells about a file. A time that the system does not know is 0.
struct MVAFX_API CFileStatus {
    CTime m_ctime; // created
    CTime m_mtime; // changed
    CTime m_atime; // used
    ULONGLONG m_size = 0;
    DWORD m_attribute = 0; // CFile::Attribute bits
    WCHAR m_szFullName[MAX_PATH] = {};
};

class MVAFX_API CFile : public CObject {
    DECLARE_DYNAMIC(CFile)
public:
    enum OpenFlags {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000, // as shareExclusive
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,     // makes the file, cut to nothing if it exists
        modeNoTruncate = 0x2000, // with modeCreate: keeps what an existing file holds
        typeText = 0x4000,       // no meaning to this class
        typeBinary = 0x8000,     // no meaning to this class
        osNoBuffer = 0x10000,
        osWriteThrough = 0x20000,
        osRandomAccess = 0x40000,
        osSequentialScan = 0x80000
    };
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
    enum Attribute {
        normal = 0x00,
        readOnly = 0x01,
        hidden = 0x02,
        system = 0x04,
        volume = 0x08,
        directory = 0x10,
        archive = 0x20
    };
#pragma GCC diagnostic pop
    enum SeekPosition { begin = 0x0, current = 0x1, end = 0x2 };
    static const HANDLE hFileNull; // INVALID_HANDLE_VALUE: no file

    CFile();
    // Takes an open handle; the object closes it in Close, but not in its destructor.
    CFile(HANDLE hFile);
    // Opens, or throws what Open reports.
    CFile(LPCTSTR lpszFileName, UINT nOpenFlags);
    ~CFile() override; // closes a file that the object opened; errors are not seen

    operator HANDLE() const {
        return m_hFile;
    }

    virtual ULONGLONG GetPosition() const;
    BOOL GetStatus(CFileStatus& rStatus) const; // TRUE when all was read
    // The last part of the full path, that part without its extension, the full path itself. Empty without a
    // file name.
    virtual CString GetFileName() const;
    virtual CString GetFileTitle() const;
    virtual CString GetFilePath() const;
    // Sets the name alone. Null throws CInvalidArgException.
    virtual void SetFilePath(LPCTSTR lpszNewName);

    // Opens; a file that the object had opened before is closed first, an attached handle is forgotten. FALSE
    // on failure, with cause, system error and name in *pError where given. A null name is the cause badPath.
    virtual BOOL Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError = nullptr);

    static void Rename(LPCTSTR lpszOldName, LPCTSTR lpszNewName);
    static void Remove(LPCTSTR lpszFileName);
    // FALSE when there is no such file, or its full path does not fit into the record.
    static BOOL GetStatus(LPCTSTR lpszFileName, CFileStatus& rStatus);
    // Sets the attributes and, where not 0, the times.
    static void SetStatus(LPCTSTR lpszFileName, const CFileStatus& status);

    ULONGLONG SeekToEnd() {
        return Seek(0, CFile::end);
    }
    void SeekToBegin() {
        Seek(0, CFile::begin);
    }

    // A new object on a second handle of the same file (with the same position); deleted by the caller.
    virtual CFile* Duplicate() const;

    // Returns the new position from the beginning. Before the beginning: cause badSeek. Past the end is
    // allowed.
    virtual ULONGLONG Seek(LONGLONG lOff, UINT nFrom);
    // Cuts or extends; the position becomes the new end.
    virtual void SetLength(ULONGLONG dwNewLen);
    virtual ULONGLONG GetLength() const;

    // The bytes read, fewer only at the end of the file. Nothing is done for nCount 0.
    virtual UINT Read(void* lpBuf, UINT nCount);
    // All bytes, or an exception (diskFull when the system took fewer).
    virtual void Write(const void* lpBuf, UINT nCount);

    virtual void LockRange(ULONGLONG dwPos, ULONGLONG dwCount);
    virtual void UnlockRange(ULONGLONG dwPos, ULONGLONG dwCount);

    // Closes without reporting errors, and forgets the file in any case.
    virtual void Abort();
    // Makes what was written durable. Does nothing without a file.
    virtual void Flush();
    virtual void Close();

    enum BufferCommand { bufferRead, bufferWrite, bufferCommit, bufferCheck };
    enum BufferFlags { bufferDirect = 0x01, bufferBlocking = 0x02 };
    // Direct access to a buffer: a plain file has none and answers 0 to every command.
    virtual UINT GetBufferPtr(UINT nCommand, UINT nCount = 0, void** ppBufStart = nullptr,
                              void** ppBufMax = nullptr);

    void AssertValid() const override;
    void Dump(CDumpContext& dc) const override;

    HANDLE m_hFile; // hFileNull without a file

protected:
    BOOL m_bCloseOnDelete;
    CString m_strFileName; // full path
};

// A file in memory. The block grows by nGrowBytes at a time (0: it does not grow); memory that is exhausted
// throws CMemoryException and leaves the contents as they were. Locks and Duplicate throw
// CNotSupportedException.
class MVAFX_API CMemFile : public CFile {
    DECLARE_DYNAMIC(CMemFile)
public:
    explicit CMemFile(UINT nGrowBytes = 1024);
    // Works on the caller's block of nBufferSize bytes; with nGrowBytes 0 it is never reallocated or freed
    // and its length is nBufferSize, otherwise it must come from malloc, is owned, and its length is 0.
    CMemFile(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes = 0);
    ~CMemFile() override;

    void Attach(BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes = 0);
    // Gives the block to the caller, who frees it with free; the file is then empty.
    BYTE* Detach();

    ULONGLONG GetPosition() const override;
    BOOL GetStatus(CFileStatus& rStatus) const;
    ULONGLONG Seek(LONGLONG lOff, UINT nFrom) override;
    void SetLength(ULONGLONG dwNewLen) override;
    ULONGLONG GetLength() const override;
    UINT Read(void* lpBuf, UINT nCount) override;
    void Write(const void* lpBuf, UINT nCount) override;
    void Abort() override;
    void Flush() override;
    void Close() override;
    CFile* Duplicate() const override;
    void LockRange(ULONGLONG dwPos, ULONGLONG dwCount) override;
    void UnlockRange(ULONGLONG dwPos, ULONGLONG dwCount) override;
    UINT GetBufferPtr(UINT nCommand, UINT nCount = 0, void** ppBufStart = nullptr,
                      void** ppBufMax = nullptr) override;

protected:
    void growFile(SIZE_T nNewLength);

    UINT m_nGrowBytes;
    SIZE_T m_nPosition;
    SIZE_T m_nBufferSize; // allocated
    SIZE_T m_nFileSize;
    BYTE* m_lpBuffer;
    BOOL m_bAutoDelete;
};
