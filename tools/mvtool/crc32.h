// CRC-32 (the reflected polynomial 0xEDB88320, start and end value all ones), the sum at the end of each
// packed payload.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mvtool {

/// Continues a sum: crc32(crc32(0, a), b) is the sum of a and b one behind the other. The sum of nothing is
/// 0.
std::uint32_t crc32(std::uint32_t sum, const void* data, std::size_t size);

} // namespace mvtool
