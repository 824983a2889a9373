// Integers as they lie in stored data: little-endian, byte by byte, so that every target writes the same file
// from any address. Compilers make one load or store of each.
#pragma once

#include <cstdint>

namespace coding {

inline void PutU16(unsigned char* at, std::uint16_t value) {
    at[0] = static_cast<unsigned char>(value);
    at[1] = static_cast<unsigned char>(value >> 8);
}

inline void PutU32(unsigned char* at, std::uint32_t value) {
    at[0] = static_cast<unsigned char>(value);
    at[1] = static_cast<unsigned char>(value >> 8);
    at[2] = static_cast<unsigned char>(value >> 16);
    at[3] = static_cast<unsigned char>(value >> 24);
}

inline void PutU64(unsigned char* at, std::uint64_t value) {
    PutU32(at, static_cast<std::uint32_t>(value));
    PutU32(at + 4, static_cast<std::uint32_t>(value >> 32));
}

inline void PutI16(unsigned char* at, std::int16_t value) {
    PutU16(at, static_cast<std::uint16_t>(value));
}
inline void PutI32(unsigned char* at, std::int32_t value) {
    PutU32(at, static_cast<std::uint32_t>(value));
}

inline std::uint16_t GetU16(const unsigned char* at) {
    return static_cast<std::uint16_t>(at[0] | at[1] << 8);
}

inline std::uint32_t GetU32(const unsigned char* at) {
    return static_cast<std::uint32_t>(at[0]) | static_cast<std::uint32_t>(at[1]) << 8 |
           static_cast<std::uint32_t>(at[2]) << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

inline std::uint64_t GetU64(const unsigned char* at) {
    return GetU32(at) | static_cast<std::uint64_t>(GetU32(at + 4)) << 32;
}

inline std::int16_t GetI16(const unsigned char* at) {
    return static_cast<std::int16_t>(GetU16(at));
}
inline std::int32_t GetI32(const unsigned char* at) {
    return static_cast<std::int32_t>(GetU32(at));
}

} // namespace coding
