// A file that is read or written, never both, through one large block of memory.
//
// Many small reads, writes and forward seeks then cost no system call: the block is filled with one read and
// emptied with one write. A CFileBuffer is used like any CFile. The mode decides the direction: with
// CFile::modeWrite the file is written, with CFile::modeRead (0) it is read; CFile::modeReadWrite opens but
// reads and stores nothing.
//
// The object owns the file and the block and closes both when it is deleted, writing what is pending. It
// belongs to one thread at a time.
//
// Errors: operations that must reach the system throw CFileException* as CFile does, for the catcher to
// Delete(). A block that cannot be loaded shows as a short Read, or as a Write that stops early without a
// word.
//
// What a writer must know:
//   - Up to a whole block (8 MiB under a TSerializer) stays in memory until the block is full, Flush, Close
//     or deletion. A process that is killed loses it.
//   - Pending bytes are always written at the position of the block's start. That is right for writing on
//     from where the block began. It is not after Flush: the block stays loaded, so bytes written next,
//     before the position leaves the block, overwrite those that Flush wrote. Flush, then write no more; or
//     Close and reopen.
//   - The position may be moved inside the block while bytes are pending; unwritten gaps between them are
//     zeros.
//   - Past the end of the file the block starts at the end: a gap left by seeking beyond it is not made.
//
// The system's own position of m_hFile is moved only when the block is loaded or written or a seek leaves it;
// use the operations below, never the handle, to learn where the file stands.
//
//     CFileBuffer file(L"numbers.bin", CFile::typeBinary | CFile::modeRead, 0x10000);
//     unsigned char number[4];
//     while (file.Read(number, sizeof number) == sizeof number)
//         Use(number);
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class MVLIB_API CFileBuffer : public CFile {
    DECLARE_DYNAMIC(CFileBuffer)

public:
    // ---- Construction

    // Opens `szFitxer` with the CFile mode bits `nFlags`. The block of `nMidaBuffer` bytes is allocated at
    // the first load, not here. Of size 0: reads deliver nothing and writes store nothing. Throws
    // CFileException* with the cause, system error and file name when the file does not open (badPath for a
    // null name).
    CFileBuffer(const wchar_t* szFitxer, unsigned int nFlags, unsigned long nMidaBuffer);
    CFileBuffer(const CFileBuffer&) = delete;
    CFileBuffer& operator=(const CFileBuffer&) = delete;
    // Writes pending bytes, frees the block and closes the file. An error here is swallowed: call Close to
    // see it.
    ~CFileBuffer() override;

    // Opens another file, from position 0. Non-zero on success; 0 on failure, described in `*pError` when
    // that is not null. Close has set the block's size to 0, so an object that was closed and opened again
    // neither delivers nor stores bytes: make a new object instead.
    int Open(const wchar_t* szFitxer, unsigned int nFlags, CFileException* pError = nullptr) override;
    // Writes pending bytes, frees the block, sets every field of the block (its size too) to 0 and closes the
    // file. When writing throws, the file stays open and the bytes pending; Abort() closes without them.
    void Close() override;

    // ---- Query

    // The position that the next Read or Write starts from.
    unsigned long long GetPosition() const override;
    // The file's length. While bytes are pending: where the last of them will end, counted from the block's
    // start, even if the file is longer than that. Throws CFileException* when the system cannot tell.
    unsigned long long GetLength() const override;
    // Describes the open file. 1 on success, else 0.
    int GetStatus(CFileStatus& rStatus) const;
    using CFile::GetStatus; // the static form, which takes a path

    // 1 when the current position, or `pos`, lies in the block, else 0. Reading: among the bytes loaded.
    // Writing: anywhere in the block's size. Always 0 before the first load.
    int IsBuffered();
    int IsBuffered(unsigned long long pos);

    // ---- Position

    // Moves the position by `lOff` from the beginning, the current position or the end of the file
    // (CFile::begin, current, end) and returns it. The end is that of the file on disk: pending bytes do not
    // count. Neither writes nor drops the block. Positions past the end are allowed. A position before the
    // beginning throws CFileException* and moves nothing.
    unsigned long long Seek(long long lOff, unsigned int nFrom) override;
    // The same to the beginning, and to the end of the file on disk, which is returned.
    void SeekToBegin();
    unsigned long long SeekToEnd();

    // ---- Input and output

    // Copies up to `n` bytes from the current position and moves it by what is returned: the bytes delivered,
    // fewer than `n` at the end of the file or when the block cannot be loaded. 0 in a file opened for
    // writing. `p` may be null when `n` is 0. Throws CFileException* only where pending bytes have to be
    // written first.
    unsigned int Read(void* p, unsigned int n) override;
    // Copies `n` bytes to the current position and moves it by what was stored. Stops early, saying nothing,
    // when the block cannot be loaded or the position lies outside it after the load; GetPosition tells.
    // Throws CFileException* when a full block cannot be written. `p` may be null when `n` is 0.
    void Write(const void* p, unsigned int n) override;
    // Writes pending bytes, then has the system put all of the file on the disk. See above for what may
    // follow it. Throws CFileException* when writing fails, and for a file opened for reading (accessDenied).
    void Flush() override;

    // ---- The block itself

    // The byte of the current position inside the block, or null when it is not in the block or there is no
    // memory to show all of it. From there to the end of the block the memory is valid (bytes not loaded or
    // written are zeros) until the next call that loads, writes or frees the block. A writer that stores
    // through the pointer reports it with updateWriteBlockLimits, then seeks past it.
    unsigned char* getActualBufferPosition();
    // Loads the block at the current position unless that is in it already. 0 on success; -1: no memory, or
    // the file was opened with modeReadWrite; -7: reading at or past the end of the file, or a file error.
    int updateBuffer();
    // Marks the `n` bytes from the current position as to be written, as Write does, without copying or
    // moving. In a file that is read nothing comes of it. Clipped to the block; nothing happens when the
    // position is not in it.
    void updateWriteBlockLimits(unsigned int n);

    // ---- As in CFile

    // Changes the name that GetFilePath answers. Throws CInvalidArgException* when `szPath` is null.
    void SetFilePath(const wchar_t* szPath) override;
    // Cuts or lengthens the file on disk and moves the position to its new end. The block stays as it is:
    // pending bytes are written later all the same, and bytes that are loaded are still delivered. Throws
    // CFileException*, for a file opened for reading too (the position has moved then).
    void SetLength(unsigned long long qwMida) override;
    // Lock and unlock bytes of the file on disk. Throw CFileException* (lockViolation: somebody else has).
    void LockRange(unsigned long long qwPos, unsigned long long qwMida) override;
    void UnlockRange(unsigned long long qwPos, unsigned long long qwMida) override;
    // 0: the block is not handed out this way.
    unsigned int GetBufferPtr(unsigned int nCommand, unsigned int nCount = 0, void** ppBufStart = nullptr,
                              void** ppBufMax = nullptr) override;

protected:
    // Writes pending bytes at the position of the block's start. 0, also when nothing is pending; -1 without
    // a block. Throws CFileException* when writing fails; the bytes then stay pending.
    int flushBuffer();
    // Writes pending bytes, then loads the block at `pos`. Results as updateBuffer.
    int loadBuffer(unsigned long long pos);
    // Frees the block and sets all its fields, the size included, to 0. Pending bytes are lost.
    void DeleteContents();

    // Their order and sizes are fixed: applications derive from this class.
    unsigned int m_nFlags;              // mode bits as given
    unsigned char* m_pBuffer;           // the block, null until the first load
    DWORD m_nMidaBuffer;                // its size in bytes
    unsigned long long m_qwIniciBuffer; // file position of its first byte
    unsigned long long m_qwPosicio;     // the position that GetPosition answers
    DWORD m_nDadesBuffer;               // bytes loaded (reading only)
    int m_bModificat;                   // bytes are pending (writing only):
    DWORD m_nIniciModificat;            // offset in the block of the first,
    DWORD m_nFiModificat;               // and past the last of them

private:
    bool wholeBlock();
    int startBlock(unsigned long long pos);
    int readBlock(unsigned long long pos, unsigned long long length);
    void markLoaded(DWORD count);
    DWORD capacityFor(unsigned long long rest) const;

    friend class FileBufferWindow; // the serializer's way to the block without a call per record
};
