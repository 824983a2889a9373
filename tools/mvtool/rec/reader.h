// Reads record files through the library and believes nothing that they say before it was checked.
#pragma once

#include "../failure.h"
#include "format.h"
#include "TSerializer.h"
#include <functional>
#include <memory>
#include <string>

class TIndicadorEstat;

namespace mvtool::rec {

/// A record file that is not what it should be. The text says everything; the numbers are for programs.
class Damage : public Failure {
public:
    Damage(std::uint64_t offset, std::uint64_t record, int code, const std::string& what);
    std::uint64_t offset() const { return m_offset; } ///< of the first bad byte
    std::uint64_t record() const { return m_record; } ///< of the record that it belongs to
    int libraryCode() const { return m_code; }        ///< as TSerializer's operations answer it

private:
    std::uint64_t m_offset;
    std::uint64_t m_record;
    int m_code;
};

/// Opens a file for reading. Failure(notFound) with the system's reason when that fails, and for what is no
/// ordinary file.
std::unique_ptr<CFile> openRecordFile(const std::string& path);

/// Walks the records of any record file. The file belongs to the caller.
class RecordScan {
public:
    /// Reads and checks the file header; throws Damage (-7, -16103).
    RecordScan(CFile& file, TIndicadorEstat* indicator);
    const short* words() const { return m_words; }
    std::uint64_t length() const { return m_length; }

    /// On to the next record, whatever of the current one was read. False at the end. Throws Damage where the
    /// file ends in the middle of a record or a level is negative, and Failure(cancelled).
    bool next();
    const SER_RECORDHEADER& header() const { return m_header; }
    /// Where the current record begins; at the end, where one more would.
    std::uint64_t offset() const { return m_offset; }
    /// The next bytes of the current payload, which must have as many left.
    void read(void* buffer, std::uint32_t size);

private:
    [[noreturn]] void stop(std::uint64_t offset, const char* what);

    TIndicadorEstat* m_indicator;
    TSerializer m_serializer;
    std::uint64_t m_length;
    std::uint64_t m_offset = 0;
    std::uint64_t m_end = kFileHeaderBytes; ///< of the current record
    short m_words[4] = {};
    SER_RECORDHEADER m_header = {};
};

/// Walks a packed tree and answers what its records mean. Holds one piece of one file and a name for each
/// open folder.
class TreeReader {
public:
    enum class Event {
        folder,  ///< entry() at level(); what follows at a greater level lies in it
        file,    ///< entry() at level(); its pieces and fileEnd follow
        piece,   ///< piece()
        fileEnd, ///< all bytes of the file were delivered
        end      ///< everything was delivered and agrees with the totals
    };

    /// Throws Damage when the scan's file is not a packed tree of a known format.
    explicit TreeReader(RecordScan& scan);
    /// Throws Damage and Failure(cancelled). Not to be called again after `end` or an exception.
    Event next();
    const Entry& entry() const { return m_entry; }
    int level() const { return m_level; }
    std::span<const unsigned char> piece() const;
    const Totals& totals() const { return m_totals; }
    std::uint64_t records() const { return m_records; }

private:
    [[noreturn]] void damage(std::uint32_t at, const std::string& what, int code = -9);
    void readPayload();
    Event readEntry();
    Event readPiece();
    Event readEnd();

    RecordScan& m_scan;
    std::vector<unsigned char> m_payload; ///< of the current record, with its sum
    std::uint32_t m_sum = 0;
    Entry m_entry;
    int m_level = -1;
    std::vector<std::u16string>
        m_last;                  ///< for each level that is open: the name that came last, empty for none
    std::uint64_t m_missing = 0; ///< bytes of the current file that are still to come
    bool m_inFile = false;
    Totals m_totals;
    std::uint64_t m_records = 0;
};

} // namespace mvtool::rec
