#include "TSerializer.h"

#include "CFileBuffer.h"
#include "TIndicadorEstat.h"

#include "persist/file_block.h"
#include "persist/record_format.h"

#include "file_size.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <typeinfo>

namespace {

using namespace recordformat;

constexpr unsigned int WRITE_MODE = CFile::typeBinary | CFile::modeCreate | CFile::modeWrite;
constexpr unsigned int READ_MODE = CFile::typeBinary | CFile::shareDenyWrite | CFile::modeRead;
constexpr unsigned long BUFFER_SIZE = 0x800000;

constexpr DWORD ALL = 0xFFFFFFFF;

// From this length on a payload is compared with what the file still holds before any of it is read.
constexpr DWORD SUSPICIOUS_LENGTH = 0x10000;

constexpr int BUFFER_TOO_SHORT = 4;
constexpr int NO_MEMORY = -1;
constexpr int CANCELLED = -5;
constexpr int NOT_OPENED = -6;
constexpr int READ_ERROR = -7;
constexpr int WRITE_ERROR = -8;
constexpr int OTHER_RECORD = -9;
constexpr int NO_RECORD = -17;
constexpr int NOT_EMPTY = -16100;
constexpr int NOT_FOUND = -16102;
constexpr int NO_RECORD_FILE = -16103;

void ReportAndDelete(CException* error) {
    error->ReportError(MB_ICONERROR);
    error->Delete();
}

bool Cancelled(TIndicadorEstat* pIE) {
    return pIE && pIE->TestCancel();
}

// Where a class derived from the framework's files has operations of its own, they are called in the plain
// order.
bool HasOwnOperations(const CFile& file) {
    return typeid(file) != typeid(CFile) && typeid(file) != typeid(CFileBuffer);
}

enum class Search { Found, NotFound, Failed };

// The search of GetRegistre through a plain file, which would cost two system calls a record when done header
// by header. `file` stands behind its file header. Found: it stands at the payload; not found: where reading
// headers one by one would have ended; failed: where it stood, for that to be done.
Search FindInPlainFile(CFile& file, DWORD id, SER_RECORDHEADER& header) {
    const unsigned long long start = file.GetPosition();
    try {
        unsigned char block[0x10000];
        unsigned long long blockStart = start;
        unsigned int loaded = 0;
        int limit = SHRT_MAX; // records of a greater level belong to one that was refused
        for (unsigned long long at = start;; at += header.dwLongitud) {
            if (at - blockStart > loaded || loaded - (at - blockStart) < RECORD_HEADER_SIZE) {
                file.Seek(static_cast<long long>(at), CFile::begin);
                blockStart = at;
                loaded = file.Read(block, sizeof block);
                if (loaded < RECORD_HEADER_SIZE)
                    return Search::NotFound;
            }
            GetRecordHeader(block + (at - blockStart), header);
            at += RECORD_HEADER_SIZE;
            if (header.nNivell > limit)
                continue;
            if (header.dwId == id) {
                file.Seek(static_cast<long long>(at), CFile::begin);
                return Search::Found;
            }
            limit = header.nNivell;
        }
    } catch (CFileException* error) {
        error->Delete();
        file.Seek(static_cast<long long>(start), CFile::begin);
        return Search::Failed;
    }
}

} // namespace

// ---- Construction and files

TSerializer::TSerializer(CFile* pFile)
    : TSerializer(pFile, pFile->GetLength()) {}

TSerializer::TSerializer(CFile* pFile, unsigned long long length)
    : m_pFile(pFile)
    , m_capcalera{0, 0, 0}
    , m_bPendent(0)
    , m_dwLlegits(0)
    , m_qwLongitudFitxer(length)
    , m_helpers(10) {}

TSerializer::~TSerializer() {}

TSerializer* TSerializer::Open(const wchar_t* path, int bWrite, unsigned long /*bufferSize*/) {
    // Kept: the caller's buffer size is ignored.
    try {
        auto file = std::make_unique<CFileBuffer>(path, bWrite ? WRITE_MODE : READ_MODE, BUFFER_SIZE);
        LARGE_INTEGER length; // of a moment ago: the file has just been opened
        TSerializer* serializer = MvFileSizeAtOpen(*file, &length)
                                      ? new (std::nothrow) TSerializer(file.get(), length.QuadPart)
                                      : new (std::nothrow) TSerializer(file.get());
        if (!serializer)
            AfxThrowMemoryException();
        static_cast<void>(file.release()); // Close ends both
        return serializer;
    } catch (CException* error) {
        ReportAndDelete(error);
        return nullptr;
    }
}

void TSerializer::Close(TSerializer* p) {
    if (!p)
        return;
    CFile* file = p->m_pFile;
    delete p;
    try {
        file->Close();
    } catch (CException* error) {
        ReportAndDelete(error);
        // What could not be written is given up: the user has been told, and deleting must not try again.
        try {
            file->Abort();
        } catch (CException* again) {
            again->Delete();
        }
    }
    delete file;
}

CFile* TSerializer::GetFile() const {
    return m_pFile;
}

unsigned long long TSerializer::GetLength() const {
    return m_pFile->GetLength();
}

unsigned long long TSerializer::GetPosition() const {
    return m_pFile->GetPosition();
}

// ---- File header

int TSerializer::CreateHeader(short w1, short w2, short w3, short w4) {
    try {
        if (m_pFile->GetLength() != 0)
            return NOT_EMPTY;
        unsigned char bytes[FILE_HEADER_SIZE];
        PutFileHeader(bytes, {w1, w2, w3, w4});
        m_pFile->Write(bytes, sizeof bytes);
        return 0;
    } catch (CFileException* error) {
        ReportAndDelete(error);
        return WRITE_ERROR;
    }
}

int TSerializer::GetHeader(short& w1, short& w2, short& w3, short& w4) {
    unsigned char bytes[FILE_HEADER_SIZE];
    try {
        if (m_pFile->Read(bytes, sizeof bytes) < sizeof bytes)
            return READ_ERROR;
    } catch (CFileException* error) {
        ReportAndDelete(error);
        return READ_ERROR;
    }
    short words[WORD_COUNT];
    if (!GetFileHeader(bytes, words))
        return NO_RECORD_FILE;
    w1 = words[0];
    w2 = words[1];
    w3 = words[2];
    w4 = words[3];
    return 0;
}

int TSerializer::TestFitxer(const wchar_t* path, int nKind) {
    TSerializer* serializer = Open(path, 0, 0);
    if (!serializer)
        return 0;
    short words[WORD_COUNT];
    const int result = serializer->GetHeader(words[0], words[1], words[2], words[3]);
    Close(serializer);
    return result == 0 && (nKind < 0 || words[0] == nKind);
}

// ---- Levels

short TSerializer::GetNivell() const {
    return m_capcalera.nNivell;
}

void TSerializer::SetNivell(short nNivell) {
    m_capcalera.nNivell = nNivell;
}

short TSerializer::Push(short n) {
    m_capcalera.nNivell =
        n >= 0 ? n : static_cast<short>(static_cast<unsigned short>(m_capcalera.nNivell) + 1u);
    return m_capcalera.nNivell;
}

short TSerializer::Pop(short n) {
    m_capcalera.nNivell =
        n >= 0 ? n : static_cast<short>(static_cast<unsigned short>(m_capcalera.nNivell) - 1u);
    return m_capcalera.nNivell;
}

// ---- Writing

int TSerializer::WriteRecord(void* pData, unsigned long dwLen, unsigned long dwId) {
    const DWORD id = static_cast<DWORD>(dwId);
    const DWORD length = static_cast<DWORD>(dwLen);
    if (length != dwLen)
        return WRITE_ERROR;
    if (CFileBuffer* buffered = FileBufferWindow::Of(*m_pFile)) {
        if (unsigned char* at = FileBufferWindow::Reserve(
                *buffered, RECORD_HEADER_SIZE + static_cast<unsigned long long>(length))) {
            PutRecordHeader(at, id, length, m_capcalera.nNivell);
            if (length)
                std::memcpy(at + RECORD_HEADER_SIZE, pData, length);
            return 0;
        }
    }
    try {
        unsigned char header[RECORD_HEADER_SIZE];
        PutRecordHeader(header, id, length, m_capcalera.nNivell);
        m_pFile->Write(header, sizeof header);
        if (length)
            m_pFile->Write(pData, length);
        return 0;
    } catch (CFileException* error) {
        ReportAndDelete(error);
        return WRITE_ERROR;
    }
}

// ---- Reading

// The same as readHeader where all of it lies in the block of a CFileBuffer; else false, and nothing has
// changed.
inline bool TSerializer::takeHeader(SER_RECORDHEADER& hdr) {
    CFileBuffer* buffered = FileBufferWindow::Of(*m_pFile);
    if (!buffered)
        return false;
    const DWORD rest = m_dwLlegits < m_capcalera.dwLongitud ? m_capcalera.dwLongitud - m_dwLlegits : 0;
    const unsigned char* at;
    if (!FileBufferWindow::Take(*buffered, rest, RECORD_HEADER_SIZE, at))
        return false;
    // Where the walk will be in some records' time. The processor fetches ahead by itself, but not across the
    // pages of a block.
    __builtin_prefetch(at + 1024);
    SER_RECORDHEADER header;
    GetRecordHeader(at, header);
    m_capcalera = header;
    m_dwLlegits = 0;
    hdr = header;
    return true;
}

// The same for readPayload without an indicator.
inline bool TSerializer::takePayload(void* pBuf, DWORD dwSize) {
    CFileBuffer* buffered = FileBufferWindow::Of(*m_pFile);
    const unsigned char* at;
    if (!buffered || !FileBufferWindow::Take(*buffered, 0, dwSize, at))
        return false;
    std::memcpy(pBuf, at, dwSize);
    m_dwLlegits += dwSize;
    return true;
}

int TSerializer::NextRecord(SER_RECORDHEADER& hdr, short nLevel, TIndicadorEstat* pIE) {
    // Most records by far come this way.
    if (!pIE && !m_bPendent && nLevel < 0 && takeHeader(hdr))
        return 1;
    return nextRecord(hdr, nLevel, pIE, nullptr);
}

int TSerializer::NextRecord(unsigned long& dwId, unsigned long& dwLen, short& nLevel, short nWantLevel,
                            TIndicadorEstat* pIE) {
    SER_RECORDHEADER header;
    if (!NextRecord(header, nWantLevel, pIE))
        return 0;
    dwId = header.dwId;
    dwLen = header.dwLongitud;
    nLevel = header.nNivell;
    return 1;
}

int TSerializer::SkipRecord(short nLevel, TIndicadorEstat* pIE) {
    const short limit = nLevel < 0 ? m_capcalera.nNivell : nLevel;
    SER_RECORDHEADER header;
    bool failed = false;
    while ((!pIE && !m_bPendent && takeHeader(header)) || nextRecord(header, -1, pIE, &failed)) {
        if (header.nNivell <= limit) {
            m_bPendent = 1;
            break;
        }
    }
    if (failed)
        return 0;
    try {
        updateIE(pIE);
        return 1;
    } catch (CFileException* error) {
        ReportAndDelete(error);
        return 0;
    }
}

int TSerializer::ReadRecord(void* pBuf, unsigned long dwSize, TIndicadorEstat* pIE) {
    DWORD size = static_cast<DWORD>(dwSize);
    if (!pIE && size == dwSize && size - 1 < ALL - 1 && takePayload(pBuf, size))
        return 1;
    if (size != dwSize) {
        if (dwSize != static_cast<unsigned long>(-1))
            return 0;
        size = ALL;
    }
    return readPayload(pBuf, size, false, pIE);
}

int TSerializer::ReadNextRecord(SER_RECORDHEADER& hdr, void*& pBuf, unsigned long* pdwLen, short nLevel,
                                TIndicadorEstat* pIE) {
    if (Cancelled(pIE))
        return CANCELLED;
    if (!NextRecord(hdr, nLevel, nullptr))
        return NO_RECORD;
    const bool ownBlock = !pBuf;
    if (ownBlock) {
        pBuf = std::malloc(hdr.dwLongitud);
        if (!pBuf)
            AfxThrowMemoryException();
    }
    const DWORD size = hdr.dwLongitud;
    if ((pIE || size - 1 >= ALL - 1 || !takePayload(pBuf, size)) && !readPayload(pBuf, size, ownBlock, pIE)) {
        if (ownBlock) {
            std::free(pBuf);
            pBuf = nullptr;
        }
        return READ_ERROR;
    }
    if (pdwLen)
        *pdwLen = hdr.dwLongitud;
    return 0;
}

int TSerializer::ReadNextRecord(unsigned long dwId, void*& pBuf, unsigned long* pdwLen, short nLevel,
                                TIndicadorEstat* pIE) {
    SER_RECORDHEADER header;
    if (!NextRecord(header, nLevel, pIE))
        return NO_RECORD;
    if (header.dwId != static_cast<DWORD>(dwId)) {
        m_bPendent = 1;
        return OTHER_RECORD;
    }
    if (header.dwLongitud == 0)
        return 0;
    const bool ownBlock = !pBuf;
    if (ownBlock) {
        pBuf = std::malloc(header.dwLongitud);
        if (!pBuf)
            return NO_MEMORY;
    }
    if (!readPayload(pBuf, header.dwLongitud, ownBlock, pIE)) {
        if (ownBlock) {
            std::free(pBuf);
            pBuf = nullptr;
        }
        return READ_ERROR;
    }
    if (pdwLen)
        *pdwLen = header.dwLongitud;
    return 0;
}

int TSerializer::ReadNextRecord(unsigned long dwId, void* pBuf, unsigned long dwBufSize,
                                unsigned long* pdwRead, short nLevel, TIndicadorEstat* pIE) {
    if (Cancelled(pIE))
        return CANCELLED;
    SER_RECORDHEADER header;
    if (!NextRecord(header, nLevel, nullptr))
        return NO_RECORD;
    if (header.dwId != static_cast<DWORD>(dwId)) {
        m_bPendent = 1;
        return OTHER_RECORD;
    }
    const DWORD size = static_cast<DWORD>(std::min<unsigned long>(dwBufSize, header.dwLongitud));
    if (size && !readPayload(pBuf, size, false, nullptr))
        return READ_ERROR;
    if (pdwRead)
        *pdwRead = size;
    try {
        updateIE(pIE);
    } catch (CFileException* error) {
        ReportAndDelete(error);
        return READ_ERROR;
    }
    return m_dwLlegits < m_capcalera.dwLongitud ? BUFFER_TOO_SHORT : 0;
}

// ---- One record of a whole file

int TSerializer::GetRegistre(CFile* pFile, unsigned long dwId, void*& pBuf, unsigned long& dwLen,
                             TIndicadorEstat* pIE) try {
    TSerializer serializer(pFile);
    short words[WORD_COUNT];
    const int result = serializer.GetHeader(words[0], words[1], words[2], words[3]);
    if (result < 0)
        return result;

    SER_RECORDHEADER header;
    const Search search = !pIE && typeid(*pFile) == typeid(CFile)
                              ? FindInPlainFile(*pFile, static_cast<DWORD>(dwId), header)
                              : Search::Failed;
    if (search == Search::NotFound)
        return NOT_FOUND;
    if (search == Search::Found) {
        serializer.m_capcalera = header;
    } else {
        if (!serializer.NextRecord(header, -1, pIE))
            return NOT_FOUND;
        while (header.dwId != static_cast<DWORD>(dwId)) {
            serializer.SkipRecord(-1, pIE);
            if (!serializer.NextRecord(header, -1, pIE))
                return NOT_FOUND;
        }
    }
    dwLen = header.dwLongitud;
    if (header.dwLongitud == 0)
        return 0;
    pBuf = std::malloc(header.dwLongitud);
    if (!pBuf)
        return NO_MEMORY;
    if (!serializer.readPayload(pBuf, header.dwLongitud, true, pIE)) {
        // Kept: the block of a payload that is cut short is not freed. None of its pages has been touched
        // when the length was absurd.
        pBuf = nullptr;
        return READ_ERROR;
    }
    return 0;
} catch (CFileException* error) {
    ReportAndDelete(error);
    return READ_ERROR;
}

int TSerializer::GetRegistre(const wchar_t* path, unsigned long dwId, void*& pBuf, unsigned long& dwLen,
                             TIndicadorEstat* pIE) {
    try {
        CFile file(path, READ_MODE);
        const int result = GetRegistre(&file, dwId, pBuf, dwLen, pIE);
        file.Close();
        return result;
    } catch (CException* error) {
        ReportAndDelete(error);
        return NOT_OPENED;
    }
}

void* TSerializer::GetRegistre(CFile* pFile, unsigned long dwId, unsigned long& dwLen, TIndicadorEstat* pIE) {
    void* block = nullptr;
    return GetRegistre(pFile, dwId, block, dwLen, pIE) < 0 ? nullptr : block;
}

void* TSerializer::GetRegistre(const wchar_t* path, unsigned long dwId, unsigned long& dwLen,
                               TIndicadorEstat* pIE) {
    void* block = nullptr;
    return GetRegistre(path, dwId, block, dwLen, pIE) < 0 ? nullptr : block;
}

// ---- Helpers and progress

CObject* TSerializer::SetHelper(const wchar_t* name, CObject* pHelper) {
    CObject* before = GetHelper(name);
    if (pHelper)
        m_helpers.SetAt(name ? name : L"", pHelper);
    else
        m_helpers.RemoveKey(name ? name : L"");
    return before;
}

CObject* TSerializer::GetHelper(const wchar_t* name) const {
    CObject* helper = nullptr;
    return m_helpers.Lookup(name ? name : L"", helper) ? helper : nullptr;
}

int TSerializer::updateIE(TIndicadorEstat* pIE) {
    if (!pIE)
        return 1;
    double from = 0.0, to = 1.0;
    pIE->GetRang(from, to);
    const double position = static_cast<double>(m_pFile->GetPosition());
    const double length = static_cast<double>(m_qwLongitudFitxer);
    // Kept: an empty file divides by zero, and the indicator is shown what that gives.
    return pIE->MostrarEstat(from + (to - from) * position / length);
}

// ---- The walk

// Steps over the rest of the current payload and reads the next header into m_capcalera and `hdr`. False at
// the end of the file or, with `*pbError` set, after a reported error (null allowed); the current record then
// stays what it was.
bool TSerializer::readHeader(SER_RECORDHEADER& hdr, bool* pbError) {
    try {
        if (m_dwLlegits < m_capcalera.dwLongitud) {
            m_pFile->Seek(m_capcalera.dwLongitud - m_dwLlegits, CFile::current);
            m_dwLlegits = m_capcalera.dwLongitud;
        }
        unsigned char bytes[RECORD_HEADER_SIZE];
        if (m_pFile->Read(bytes, sizeof bytes) < sizeof bytes)
            return false;
        GetRecordHeader(bytes, m_capcalera);
        m_dwLlegits = 0;
        hdr = m_capcalera;
        return true;
    } catch (CFileException* error) {
        ReportAndDelete(error);
        if (pbError)
            *pbError = true;
        return false;
    }
}

// NextRecord, telling a file error from the other reasons for delivering nothing.
[[gnu::noinline]] int TSerializer::nextRecord(SER_RECORDHEADER& hdr, short nLevel, TIndicadorEstat* pIE,
                                              bool* pbError) {
    if (Cancelled(pIE))
        return 0;
    if (m_bPendent) {
        m_bPendent = 0;
        hdr = m_capcalera;
    } else if (!takeHeader(hdr) && !readHeader(hdr, pbError)) {
        return 0;
    }
    if (nLevel >= 0 && hdr.nNivell != nLevel) {
        m_bPendent = 1;
        return 0;
    }
    if (!pIE)
        return 1;
    try {
        return updateIE(pIE);
    } catch (CFileException* error) {
        ReportAndDelete(error);
        if (pbError)
            *pbError = true;
        return 0;
    }
}

// ReadRecord. The bytes of a short read matter to nobody when they were to go into a block of our own.
int TSerializer::readPayload(void* pBuf, DWORD dwSize, bool bOwnBlock, TIndicadorEstat* pIE) {
    if (Cancelled(pIE))
        return 0;
    if (dwSize == ALL)
        dwSize = m_dwLlegits < m_capcalera.dwLongitud ? m_capcalera.dwLongitud - m_dwLlegits : 0;
    try {
        CFileBuffer* buffered = FileBufferWindow::Of(*m_pFile);
        const unsigned char* at;
        if (buffered && dwSize && FileBufferWindow::Take(*buffered, 0, dwSize, at)) {
            std::memcpy(pBuf, at, dwSize);
        } else if (dwSize) {
            if (bOwnBlock && dwSize >= SUSPICIOUS_LENGTH && !HasOwnOperations(*m_pFile)) {
                const unsigned long long length = m_pFile->GetLength();
                const unsigned long long position = m_pFile->GetPosition();
                if (position >= length || length - position < dwSize) {
                    if (position < length)
                        m_pFile->Seek(static_cast<long long>(length),
                                      CFile::begin); // where reading would end
                    return 0;
                }
            }
            if (m_pFile->Read(pBuf, dwSize) < dwSize)
                return 0;
        }
        m_dwLlegits += dwSize;
        updateIE(pIE);
        return 1;
    } catch (CFileException* error) {
        ReportAndDelete(error);
        return 0;
    }
}
