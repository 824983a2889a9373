// The bytes of a record file. docs/record-files.md is the description for readers.
#pragma once

#include "TSerializer.h"

#include "persist/coding.h"

#include <cstring>

namespace recordformat {

constexpr unsigned FILE_HEADER_SIZE = 18;
constexpr unsigned WORD_COUNT = 4;
constexpr unsigned SIGNATURE_OFFSET = 8;
constexpr unsigned char SIGNATURE[10] = {0x5D, 0xC3, 0x27, 0xE1, 0x4A, 0xB6, 0x71, 0x0F, 0xD8, 0x36};
constexpr unsigned RECORD_HEADER_SIZE = 10;

static_assert(SIGNATURE_OFFSET + sizeof SIGNATURE == FILE_HEADER_SIZE);
static_assert(sizeof(SER_RECORDHEADER) == RECORD_HEADER_SIZE);

inline void PutFileHeader(unsigned char* at, const short (&words)[WORD_COUNT]) {
    for (unsigned i = 0; i < WORD_COUNT; ++i)
        coding::PutI16(at + 2 * i, words[i]);
    std::memcpy(at + SIGNATURE_OFFSET, SIGNATURE, sizeof SIGNATURE);
}

// False when the signature differs or a word is negative.
inline bool GetFileHeader(const unsigned char* at, short (&words)[WORD_COUNT]) {
    if (std::memcmp(at + SIGNATURE_OFFSET, SIGNATURE, sizeof SIGNATURE) != 0)
        return false;
    for (unsigned i = 0; i < WORD_COUNT; ++i) {
        words[i] = coding::GetI16(at + 2 * i);
        if (words[i] < 0)
            return false;
    }
    return true;
}

inline void PutRecordHeader(unsigned char* at, DWORD id, DWORD length, short level) {
    coding::PutU32(at, id);
    coding::PutU32(at + 4, length);
    coding::PutI16(at + 8, level);
}

inline void GetRecordHeader(const unsigned char* at, SER_RECORDHEADER& header) {
    header.dwId = coding::GetU32(at);
    header.dwLongitud = coding::GetU32(at + 4);
    header.nNivell = coding::GetI16(at + 8);
}

} // namespace recordformat
