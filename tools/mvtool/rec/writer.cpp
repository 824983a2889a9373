#include "writer.h"

#include "../failure.h"
#include "../text.h"

namespace mvtool::rec {
namespace {

constexpr DWORD kWriteBlock = 4 << 20;

} // namespace

TreeWriter::TreeWriter(const ReplacedFile& output, std::string shown)
    : m_output(output)
    , m_shown(std::move(shown))
    , m_file(widePath(output.temporaryPath()).c_str(),
             CFile::typeBinary | CFile::modeCreate | CFile::modeWrite, kWriteBlock)
    , m_serializer(&m_file) {
    m_file.SetFilePath(widePath(m_shown).c_str()); // for what the library says of it
    check(m_serializer.CreateHeader(kKind, kFormat, 0, 0));
}

void TreeWriter::check(int result) {
    if (result < 0) {
        m_file.Abort(); // without another try to write what is pending
        throw Failure(Exit::writeFailure, "cannot write " + m_shown + " [library code " +
                                              std::to_string(result) + "]; nothing was changed");
    }
}

// The payload is followed by room for the sum.
void TreeWriter::record(std::uint32_t id, int level, unsigned char* payload, std::uint32_t size) {
    const std::uint32_t length = size + kSumBytes;
    const auto stored = static_cast<short>(level);
    m_sum = recordSum(m_sum, id, length, stored, payload, size);
    store(payload + size, m_sum, kSumBytes);
    m_serializer.SetNivell(stored);
    check(m_serializer.WriteRecord(payload, length, id));
    m_expected += kRecordHeaderBytes + length;
}

void TreeWriter::record(std::uint32_t id, int level, std::vector<unsigned char> payload) {
    const auto size = static_cast<std::uint32_t>(payload.size());
    payload.resize(size + kSumBytes);
    record(id, level, payload.data(), size);
}

void TreeWriter::entry(const Entry& entry, int level) {
    m_level = level;
    record(entry.folder ? kFolder : kFile, level, encode(entry));
    ++(entry.folder ? m_totals.folders : m_totals.files);
}

void TreeWriter::piece(unsigned char* buffer, std::uint32_t size) {
    record(kData, m_level + 1, buffer, size);
    ++m_totals.pieces;
    m_totals.bytes += size;
}

void TreeWriter::finish() {
    record(kEnd, 0, encode(m_totals));
    // TSerializer::Close would show what goes wrong and go on; here the difference between whole and cut
    // counts.
    try {
        m_file.Close();
    } catch (CException* exception) {
        exception->ReportError(MB_ICONERROR);
        exception->Delete();
        check(-8);
    }
    if (m_output.writtenSize() != m_expected) {
        check(-8);
    }
}

} // namespace mvtool::rec
