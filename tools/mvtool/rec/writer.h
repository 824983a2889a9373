// Writes a packed tree through the library into a file that takes its place only when it is whole.
#pragma once

#include "../folders.h"
#include "CFileBuffer.h"
#include "format.h"
#include "TSerializer.h"
#include <string>

namespace mvtool::rec {

class TreeWriter {
public:
    /// Opens the file at output's temporary path and writes the file header. Every operation throws
    /// Failure(writeFailure) when the bytes cannot be written; `shown` names the file then.
    TreeWriter(const ReplacedFile& output, std::string shown);

    /// Writes the record of a folder or file at the level; a file's pieces follow before anything else.
    void entry(const Entry& entry, int level);
    /// Writes a piece of the last file. `buffer` has room for kPieceBytes + kSumBytes; the sum goes behind
    /// the `size` bytes.
    void piece(unsigned char* buffer, std::uint32_t size);
    /// Writes the end record, closes the file and sees that every byte arrived.
    void finish();
    const Totals& totals() const { return m_totals; }

private:
    void record(std::uint32_t id, int level, unsigned char* payload, std::uint32_t size);
    void record(std::uint32_t id, int level, std::vector<unsigned char> payload);
    void check(int result);

    const ReplacedFile& m_output;
    std::string m_shown;
    CFileBuffer m_file;
    TSerializer m_serializer;
    std::uint64_t m_expected = kFileHeaderBytes;
    std::uint32_t m_sum = 0;
    int m_level = 0;
    Totals m_totals;
};

} // namespace mvtool::rec
