// The bytes of a packed tree: identifiers, limits, payloads. docs/mvtool-rec.md describes them for others.
//
// Every payload ends with a sum: the CRC-32 of the headers and payloads, sums left out, of all records from
// the first one to this. So no record can be changed, moved, doubled or left out unseen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mvtool::rec {

/// The four header words: kind ("MR" in the file), format, and two that are 0.
constexpr short kKind = 0x524D;
constexpr short kFormat = 1;
constexpr std::uint64_t kFileHeaderBytes = 18;
constexpr std::uint32_t kRecordHeaderBytes = 10;

constexpr std::uint32_t identifier(const char (&letters)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(letters[0])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(letters[1])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(letters[2])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(letters[3])) << 24;
}

constexpr std::uint32_t kFolder = identifier("FOLD");
constexpr std::uint32_t kFile = identifier("FILE");
constexpr std::uint32_t kData = identifier("DATA");
constexpr std::uint32_t kEnd = identifier("END ");

constexpr std::uint32_t kSumBytes = 4;
/// Bytes of a file in one data record: the most that a reader has to hold.
constexpr std::uint32_t kPieceBytes = 1 << 20;
constexpr std::size_t kNameUnits = 255;
constexpr std::uint32_t kFolderFixedBytes = 14;
constexpr std::uint32_t kFileFixedBytes = 22;
constexpr std::uint32_t kEndBytes = 32;
/// Levels are signed 16-bit numbers, and a file's data lie one level below it.
constexpr int kMaxEntryLevel = 32766;

/// Flags of folders and files.
constexpr std::uint32_t kPosixName = 1;  ///< the name can only stand on systems that are not Windows
constexpr std::uint32_t kExecutable = 2; ///< files only
constexpr std::uint32_t kReadOnly = 4;   ///< files only

/// A folder or file record.
struct Entry {
    bool folder = false;
    std::uint32_t flags = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970, UTC
    std::uint64_t size = 0;    ///< of a file
    std::u16string name;
    bool operator==(const Entry&) const = default;
};

/// What the end record says of everything before it.
struct Totals {
    std::uint64_t folders = 0;
    std::uint64_t files = 0;
    std::uint64_t pieces = 0;
    std::uint64_t bytes = 0; ///< of the files
    bool operator==(const Totals&) const = default;
};

/// Where a name can stand.
enum class NameKind {
    everywhere,
    posixOnly, ///< a character or device name that Windows reserves, a blank or dot at the end, bytes that
               ///< are not UTF-8
    nowhere    ///< empty, too long, "." or "..", a slash, a NUL, a surrogate that stands for nothing
};
NameKind kindOfName(std::u16string_view name);

/// Payloads without their sum.
std::vector<unsigned char> encode(const Entry& entry);
std::vector<unsigned char> encode(const Totals& totals);

/// Continues the sum over a record: its header, in which `length` counts the sum too, and its payload without
/// the sum.
std::uint32_t recordSum(std::uint32_t sum, std::uint32_t id, std::uint32_t length, short level,
                        const void* payload, std::size_t size);

/// What is wrong with a payload, and at which of its bytes.
struct Fault {
    std::uint32_t at = 0;
    const char* text = nullptr; ///< null: nothing is wrong
};

/// Reads a payload without its sum. A fault leaves the result half set.
Fault decode(std::span<const unsigned char> payload, bool folder, Entry& entry);
Totals decodeTotals(std::span<const unsigned char> payload);

/// Little-endian numbers, byte by byte.
void store(unsigned char* at, std::uint64_t value, int bytes);
std::uint64_t load(const unsigned char* at, int bytes);

} // namespace mvtool::rec
