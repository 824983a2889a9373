#include "reader.h"

#include "../folders.h"
#include "../text.h"
#include "CFileBuffer.h"
#include "TIndicadorEstat.h"

namespace mvtool::rec {
namespace {

/// The file is read from its beginning to its end: a large block, but not larger than a small file needs.
constexpr DWORD kReadBlock = 4 << 20;

std::string textOf(CException* exception) {
    wchar_t text[1024] = {};
    if (!exception->GetErrorMessage(text, 1024, nullptr)) {
        text[0] = L'\0';
    }
    exception->Delete();
    std::string reason = displayText(fromWide(text));
    return reason.empty() ? "it cannot be read" : reason;
}

constexpr int kCodeShort = -7;
constexpr int kCodeUnexpected = -9;
constexpr int kCodeNoRecord = -17;

std::string idText(DWORD id) {
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const auto letter = static_cast<unsigned char>(id >> (8 * i));
        if (letter < 0x20 || letter > 0x7E) {
            text.clear();
            break;
        }
        text += static_cast<char>(letter);
    }
    return text.empty() ? std::to_string(id) : '"' + text + '"';
}

} // namespace

Damage::Damage(std::uint64_t offset, std::uint64_t record, int code, const std::string& what)
    : Failure(Exit::damaged, "damaged at byte " + std::to_string(offset) + ": " + what +
                                 (record == 0 ? "" : " (record at byte " + std::to_string(record) + ")") +
                                 " [library code " + std::to_string(code) + "]")
    , m_offset(offset)
    , m_record(record)
    , m_code(code) {}

std::unique_ptr<CFile> openRecordFile(const std::string& path) {
    if (isPipeOrDevice(path)) {
        throw Failure(Exit::notFound, "not an ordinary file: " + displayText(path));
    }
    try {
        return std::make_unique<CFileBuffer>(
            widePath(path).c_str(), CFile::typeBinary | CFile::shareDenyWrite | CFile::modeRead, kReadBlock);
    } catch (CException* exception) {
        throw Failure(Exit::notFound, "cannot read " + displayText(path) + ": " + textOf(exception));
    }
}

RecordScan::RecordScan(CFile& file, TIndicadorEstat* indicator)
    : m_indicator(indicator)
    , m_serializer(&file)
    , m_length(m_serializer.GetLength()) {
    const int result = m_serializer.GetHeader(m_words[0], m_words[1], m_words[2], m_words[3]);
    if (result == kCodeShort) {
        throw Damage(m_length < kFileHeaderBytes ? m_length : 0, 0, result, "the file header is cut short");
    }
    if (result < 0) {
        throw Damage(0, 0, result, "not a record file");
    }
    m_offset = kFileHeaderBytes;
}

void RecordScan::stop(std::uint64_t offset, const char* what) {
    if (m_indicator != nullptr && m_indicator->TestCancel()) {
        throw Failure(Exit::cancelled, "cancelled");
    }
    throw Damage(offset, m_offset, kCodeShort, what);
}

bool RecordScan::next() {
    m_offset = m_end;
    if (!m_serializer.NextRecord(m_header, -1, m_indicator)) {
        if (m_offset != m_length || (m_indicator != nullptr && m_indicator->TestCancel())) {
            stop(m_length, "a record header is cut short");
        }
        return false;
    }
    m_end = m_offset + kRecordHeaderBytes + m_header.dwLongitud;
    if (m_end > m_length) {
        throw Damage(m_length, m_offset, kCodeShort,
                     "the payload of " + std::to_string(m_header.dwLongitud) +
                         " bytes goes beyond the end of the file");
    }
    if (m_header.nNivell < 0) {
        throw Damage(m_offset + 8, m_offset, kCodeUnexpected,
                     "a negative level: " + std::to_string(m_header.nNivell));
    }
    return true;
}

void RecordScan::read(void* buffer, std::uint32_t size) {
    if (!m_serializer.ReadRecord(buffer, size, m_indicator)) {
        stop(m_offset + kRecordHeaderBytes, "the payload cannot be read");
    }
}

TreeReader::TreeReader(RecordScan& scan)
    : m_scan(scan) {
    const short* words = scan.words();
    if (words[0] != kKind) {
        throw Damage(0, 0, kCodeUnexpected,
                     "not a packed tree but a record file of kind " + std::to_string(words[0]));
    }
    if (words[1] != kFormat || words[2] != 0 || words[3] != 0) {
        throw Damage(2, 0, kCodeUnexpected,
                     "a packed tree of an unknown format: " + std::to_string(words[1]) + ' ' +
                         std::to_string(words[2]) + ' ' + std::to_string(words[3]));
    }
}

std::span<const unsigned char> TreeReader::piece() const {
    return {m_payload.data(), m_payload.size() - kSumBytes};
}

void TreeReader::damage(std::uint32_t at, const std::string& what, int code) {
    throw Damage(m_scan.offset() + at, m_scan.offset(), code, what);
}

TreeReader::Event TreeReader::next() {
    if (m_inFile && m_missing == 0) {
        m_inFile = false;
        return Event::fileEnd;
    }
    if (!m_scan.next()) {
        throw Damage(m_scan.offset(), 0, kCodeNoRecord,
                     m_inFile ? "the rest of a file is missing"
                              : "the end record is missing, so the file was cut");
    }
    ++m_records;
    switch (m_scan.header().dwId) {
    case kFolder:
    case kFile:
        return readEntry();
    case kData:
        return readPiece();
    case kEnd:
        return readEnd();
    default:
        damage(0, "an unknown record: " + idText(m_scan.header().dwId));
    }
}

void TreeReader::readPayload() {
    const SER_RECORDHEADER& header = m_scan.header();
    m_payload.resize(header.dwLongitud);
    m_scan.read(m_payload.data(), header.dwLongitud);
    const std::size_t size = m_payload.size() - kSumBytes;
    m_sum = recordSum(m_sum, header.dwId, header.dwLongitud, header.nNivell, m_payload.data(), size);
    if (load(&m_payload[size], kSumBytes) != m_sum) {
        damage(0, "the check sum is wrong", kCodeShort);
    }
}

TreeReader::Event TreeReader::readEntry() {
    const SER_RECORDHEADER& header = m_scan.header();
    const bool folder = header.dwId == kFolder;
    const std::uint32_t fixed = (folder ? kFolderFixedBytes : kFileFixedBytes) + kSumBytes;
    if (m_inFile) {
        damage(0, "the rest of the file before it is missing");
    }
    if (header.dwLongitud < fixed + 2 || header.dwLongitud > fixed + 2 * kNameUnits) {
        damage(4, "a length that no such record has: " + std::to_string(header.dwLongitud));
    }
    readPayload();
    // A level opens with the folder above it, so there are as many levels as open folders, and one more.
    const auto open = m_last.empty() ? 0 : static_cast<int>(m_last.size()) - 1;
    if (header.nNivell > open || header.nNivell > kMaxEntryLevel) {
        damage(8, "no folder is open for level " + std::to_string(header.nNivell));
    }
    const Fault fault = decode(piece(), folder, m_entry);
    if (fault.text != nullptr) {
        damage(kRecordHeaderBytes + fault.at,
               std::string(fault.text) + (m_entry.name.empty() ? "" : ": " + displayName(m_entry.name)));
    }
    m_level = header.nNivell;
    m_last.resize(static_cast<std::size_t>(m_level) + 1);
    if (m_entry.name <= m_last.back()) {
        damage(kRecordHeaderBytes + fixed - kSumBytes,
               (m_entry.name == m_last.back() ? "a name for the second time: " : "a name out of order: ") +
                   displayName(m_entry.name));
    }
    m_last.back() = m_entry.name;
    if (folder) {
        m_last.emplace_back();
        ++m_totals.folders;
        return Event::folder;
    }
    if (m_entry.size > m_scan.length()) {
        damage(kRecordHeaderBytes + 12,
               "a file of " + std::to_string(m_entry.size) + " bytes, more than there are");
    }
    m_missing = m_entry.size;
    m_inFile = true;
    ++m_totals.files;
    return Event::file;
}

TreeReader::Event TreeReader::readPiece() {
    const SER_RECORDHEADER& header = m_scan.header();
    if (!m_inFile) {
        damage(0, "data that belong to no file");
    }
    if (header.dwLongitud <= kSumBytes || header.dwLongitud > kPieceBytes + kSumBytes ||
        header.dwLongitud - kSumBytes > m_missing) {
        damage(4, "a length that does not fit: " + std::to_string(header.dwLongitud));
    }
    if (header.nNivell != m_level + 1) {
        damage(8, "data at the wrong level: " + std::to_string(header.nNivell));
    }
    readPayload();
    m_missing -= piece().size();
    m_totals.bytes += piece().size();
    ++m_totals.pieces;
    return Event::piece;
}

TreeReader::Event TreeReader::readEnd() {
    const SER_RECORDHEADER& header = m_scan.header();
    if (m_inFile) {
        damage(0, "the rest of the file before it is missing");
    }
    if (header.dwLongitud != kEndBytes + kSumBytes) {
        damage(4, "a length that no such record has: " + std::to_string(header.dwLongitud));
    }
    if (header.nNivell != 0) {
        damage(8, "the end record at the wrong level: " + std::to_string(header.nNivell));
    }
    readPayload();
    if (decodeTotals(piece()) != m_totals) {
        damage(kRecordHeaderBytes, "the totals do not agree with the records");
    }
    if (m_scan.next()) {
        damage(0, "a record behind the end record");
    }
    return Event::end;
}

} // namespace mvtool::rec
