// Reads and writes record files: an 18-byte file header, then records one behind the other, each with an
// identifier, a payload and a nesting level. docs/record-files.md describes the bytes.
//
// The records that belong to a record are those behind it with a greater level. So a reader can step over a
// record that it does not know, with everything below it, without understanding a byte of it. The payloads
// are the application's affair.
//
// Ownership: a serializer uses a file; only the static Close closes and deletes it. Blocks handed out by
// ReadNextRecord and GetRegistre come from malloc: end them with free. Helpers stay the caller's.
// Threads: one thread uses a serializer and its file at a time. Another may cancel or pause it through the
// status indicator, the last argument of every long operation; null there means that nobody watches.
//
// Writing: Open(path, 1, ...), CreateHeader, then SetNivell/Push/Pop and WriteRecord (a child after its
// parent, one level deeper), then Close. Reading: Open(path, 0, ...), GetHeader, then in file order
// NextRecord and what suits the record, then Close:
//
//     if (TSerializer* file = TSerializer::Open(L"drawing.rec", 0, 0)) {
//         short kind, version, w3, w4;
//         SER_RECORDHEADER record;
//         if (file->GetHeader(kind, version, w3, w4) == 0)
//             while (file->NextRecord(record, -1, indicator)) {
//                 if (record.dwId == ID_SHAPE)
//                     ReadShape(file, record.dwLongitud); // reads with ReadRecord, as much as it likes
//                 else
//                     file->SkipRecord(-1, indicator);    // this record and all below it
//             }
//         TSerializer::Close(file);
//     }
//
// The calling program may use the file itself (GetFile) between calls: unread payload is stepped over from
// wherever the file then stands.
//
// A CFileException raised inside is shown to the user by its own ReportError with the error icon, deleted,
// and becomes the result code. The codes:
//        0  success
//        4  success, and the payload was longer than the caller's buffer
//       -1  no memory for the payload
//       -5  cancelled through the status indicator
//       -6  the file does not open
//       -7  short read or read error
//       -8  write error
//       -9  the next record has another identifier; the next call delivers it again
//      -17  no next record: end of the file, another level, or cancelled on the way
//   -16100  a header was to be written into a file that has bytes already
//   -16102  the file has no such record
//   -16103  not a record file: wrong signature or a negative header word
#pragma once

#include "mvlib_export.h"

#include "afx.h"
#include "afxtempl.h"

class TIndicadorEstat;

#pragma pack(push, 1)
// The 10 bytes before a payload, as they lie in the file.
struct SER_RECORDHEADER {
    DWORD dwId;       // chosen by the application
    DWORD dwLongitud; // payload in bytes; 0 is allowed
    short nNivell;    // nesting level: 0 at the top, one more for each level below
};
#pragma pack(pop)

class MVLIB_API TSerializer {
public:
    // ---- Construction and files

    // Works on `pFile`, a CFile or any class derived from it, open and not null, from its current position.
    // The file is not owned. Its length now is what progress is measured against. May throw what GetLength
    // throws.
    explicit TSerializer(CFile* pFile);
    TSerializer(const TSerializer&) = delete;
    TSerializer& operator=(const TSerializer&) = delete;
    // Leaves the file open.
    virtual ~TSerializer();

    // Opens a CFileBuffer with a block of 8 MiB over `path`, for writing a new file (an old one is emptied)
    // when `bWrite` is not 0, else for reading while others may only read. Kept: `bufferSize` is ignored.
    // Null when the file does not open (a null path never does), after the error was shown to the user. End
    // the result with Close.
    static TSerializer* Open(const wchar_t* path, int bWrite, unsigned long bufferSize);
    // Deletes `p`, closes its file and deletes the file object. Null does nothing. An exception on the way,
    // such as a full disk, is shown to the user; the file is closed and deleted all the same.
    static void Close(TSerializer* p);

    CFile* GetFile() const;
    // The file's length and position now. They may throw what the file throws.
    unsigned long long GetLength() const;
    unsigned long long GetPosition() const;

    // ---- File header

    // Writes the four words and the signature, 18 bytes, into an empty file. 0; -16100 when the file has
    // bytes (nothing is written); -8. Words below 0 are written but no reader accepts them.
    int CreateHeader(short w1, short w2, short w3, short w4);
    // Reads 18 bytes at the current position. 0, and the words are stored; -7: fewer bytes, a file error
    // or no memory for the block of a CFileBuffer; -16103: wrong signature or a negative word. On failure the
    // words are not touched.
    int GetHeader(short& w1, short& w2, short& w3, short& w4);
    // 1 when the file at `path` has a valid header and `nKind` is negative or equal to its first word, else
    // 0. A file that does not open gives 0 after Open has shown the error.
    static int TestFitxer(const wchar_t* path, int nKind);

    // ---- Levels

    // The current level: that of the record last read, and the one that WriteRecord gives to the next.
    short GetNivell() const;
    void SetNivell(short nNivell);
    // Sets the level to `n`, or with a negative `n` raises (Push) or lowers (Pop) it by one; returns the new
    // level. Beyond 32767 and -32768 it wraps.
    short Push(short n);
    short Pop(short n);

    // ---- Writing
    //
    // Kept: a CFileBuffer that has no memory for its block stores nothing and says nothing. CreateHeader and
    // WriteRecord answer 0 then, but GetPosition has not moved by the 18 bytes, or by 10 and the payload.

    // Writes a record with the current level. `pData` may be null when `dwLen` is 0. 0; -8: a file error, or
    // a `dwLen` of more than 32 bits (nothing is written then). The identifier is cut to 32 bits.
    int WriteRecord(void* pData, unsigned long dwLen, unsigned long dwId);

    // ---- Reading

    // Steps over what is unread of the current payload and delivers the next record's header in `hdr`. With
    // `nLevel` not negative a record of another level is not delivered but kept for the next call (though
    // `hdr` already shows it). Non-zero: delivered. 0: end of the file, less than a whole header left,
    // cancelled, another level, or a file error; a record during whose report the user cancels is read and
    // gone.
    int NextRecord(SER_RECORDHEADER& hdr, short nLevel, TIndicadorEstat* pIE);
    // The same with the three fields apart, stored only when a record is delivered. 1 or 0.
    int NextRecord(unsigned long& dwId, unsigned long& dwLen, short& nLevel, short nWantLevel,
                   TIndicadorEstat* pIE);
    // Steps over what is unread of the current payload and over all following records with a level greater
    // than `nLevel` (negative: than the current level). The first record that is not skipped is the next one
    // to be delivered. 1; 0 after a file error. A cancel ends the skipping early, with 1.
    int SkipRecord(short nLevel, TIndicadorEstat* pIE);
    // Reads the next `dwSize` bytes of the current payload into `pBuf`; 0xFFFFFFFF means all that is left of
    // it. 1; 0: cancelled before, fewer bytes in the file, or a file error. Not checked against the payload's
    // length: whoever reads beyond it reads into the next record.
    int ReadRecord(void* pBuf, unsigned long dwSize, TIndicadorEstat* pIE);
    // NextRecord, then the whole payload. `pBuf` null on entry: a block of exactly the payload's length is
    // allocated with malloc for the caller to free; otherwise `pBuf` must have room for any payload. The
    // length goes to `*pdwLen`, unless null, on success only. 0; -5: cancelled before anything was read; -17;
    // -7, and then a block allocated here is freed and `pBuf` null again (a cancel after the header was read
    // gives this code too). No memory for the block: throws CMemoryException*.
    int ReadNextRecord(SER_RECORDHEADER& hdr, void*& pBuf, unsigned long* pdwLen, short nLevel,
                       TIndicadorEstat* pIE);
    // The same for a record that must have the identifier `dwId`. -9: it has another and is kept for the next
    // call. An empty payload gives 0 without touching `pBuf` and `*pdwLen`. 0, -17, -7 as above; -1: no
    // memory for the block. A cancel gives -17 or -7.
    int ReadNextRecord(unsigned long dwId, void*& pBuf, unsigned long* pdwLen, short nLevel,
                       TIndicadorEstat* pIE);
    // The same into a buffer of `dwBufSize` bytes: reads what fits and stores that count in `*pdwRead` unless
    // null. 0; 4: the payload is longer, and the rest may be read with ReadRecord; -5: cancelled before
    // anything was read; -17; -9; -7.
    int ReadNextRecord(unsigned long dwId, void* pBuf, unsigned long dwBufSize, unsigned long* pdwRead,
                       short nLevel, TIndicadorEstat* pIE);

    // ---- One record of a whole file

    // Finds the first record with identifier `dwId`, from the file's header on, and hands over its payload in
    // a malloc block with its length in `dwLen`. What lies below a record that does not match is not
    // searched. An empty payload leaves `pBuf` as it is. 0; -16102: not found, or cancelled; -7, -16103 from
    // the header; -1: no memory; -7: the payload is cut short; `pBuf` is null after these two. Kept: the
    // block of a payload that is cut short is not freed. The file stays open, behind the last byte read. By
    // path: -6 when the file does not open, after the error was shown to the user.
    static int GetRegistre(CFile* pFile, unsigned long dwId, void*& pBuf, unsigned long& dwLen,
                           TIndicadorEstat* pIE);
    static int GetRegistre(const wchar_t* path, unsigned long dwId, void*& pBuf, unsigned long& dwLen,
                           TIndicadorEstat* pIE);
    // The same, returning the block; null for every negative code and for an empty payload.
    static void* GetRegistre(CFile* pFile, unsigned long dwId, unsigned long& dwLen, TIndicadorEstat* pIE);
    static void* GetRegistre(const wchar_t* path, unsigned long dwId, unsigned long& dwLen,
                             TIndicadorEstat* pIE);

    // ---- Helpers and progress

    // Objects that the code which fills or reads payloads finds by name (compared exactly). Registers
    // `pHelper` under `name` in place of any other; null removes the name. A null name counts as an empty
    // one. Returns the object registered before, or null. Throws CMemoryException* without memory; nothing
    // changes then.
    CObject* SetHelper(const wchar_t* name, CObject* pHelper);
    // The object registered under `name`, or null.
    CObject* GetHelper(const wchar_t* name) const;

    // Shows the file's position in the indicator's current range: the file's length at construction is its
    // end. With an empty file the position shown is not a number. Returns what MostrarEstat returns (0:
    // cancelled), 1 without an indicator.
    int updateIE(TIndicadorEstat* pIE);

protected:
    // Their order and sizes are fixed: applications derive from this class.
    CFile* m_pFile;
    SER_RECORDHEADER m_capcalera; // the current record; its level is the current level
    int m_bPendent;               // the current record's header is to be delivered again
    DWORD m_dwLlegits;            // bytes of the current payload read so far
    unsigned long long m_qwLongitudFitxer;
    CMap<CString, LPCWSTR, CObject*, CObject*> m_helpers;

private:
    TSerializer(CFile* pFile, unsigned long long length);
    bool takeHeader(SER_RECORDHEADER& hdr);
    bool takePayload(void* pBuf, DWORD dwSize);
    bool readHeader(SER_RECORDHEADER& hdr, bool* pbError);
    int nextRecord(SER_RECORDHEADER& hdr, short nLevel, TIndicadorEstat* pIE, bool* pbError);
    int readPayload(void* pBuf, DWORD dwSize, bool bOwnBlock, TIndicadorEstat* pIE);
};
