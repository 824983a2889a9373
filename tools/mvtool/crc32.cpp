#include "crc32.h"

#include <array>

namespace mvtool {
namespace {

using Table = std::array<std::uint32_t, 256>;

/// Table k gives the effect of a byte that k more bytes follow, so that eight bytes take one step.
constexpr std::array<Table, 8> makeTables() {
    std::array<Table, 8> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t sum = byte;
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320u : 0u);
        }
        tables[0][byte] = sum;
    }
    for (std::size_t k = 1; k < 8; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = (before >> 8) ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr std::array<Table, 8> kTables = makeTables();

} // namespace

std::uint32_t crc32(std::uint32_t sum, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    sum = ~sum;
    while (size >= 8) {
        const std::uint32_t low =
            sum ^ (bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8 |
                   static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24);
        sum = kTables[7][low & 0xFF] ^ kTables[6][low >> 8 & 0xFF] ^ kTables[5][low >> 16 & 0xFF] ^
              kTables[4][low >> 24] ^ kTables[3][bytes[4]] ^ kTables[2][bytes[5]] ^ kTables[1][bytes[6]] ^
              kTables[0][bytes[7]];
        bytes += 8;
        size -= 8;
    }
    for (; size != 0; --size) {
        sum = (sum >> 8) ^ kTables[0][(sum ^ *bytes++) & 0xFF];
    }
    return ~sum;
}

} // namespace mvtool
