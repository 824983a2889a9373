// Strings and data of dynamic data exchange, for the whole process.
#pragma once

#include "../api/dde.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mvplat::dde {

constexpr std::size_t longestName = 255;

// The text as names are compared: without case.
std::wstring foldedName(std::wstring_view name);

// The handle of a text with one count more; null for an empty or too long one.
HSZ openString(std::wstring_view text);
bool keepString(HSZ string);
void closeString(HSZ string);
// Empty for an unknown handle.
std::wstring textOf(HSZ string);

struct Data {
    std::vector<std::uint8_t> bytes;
    bool appOwned = false; // the program frees it, whoever gets it
};
HDDEDATA openData(Data data);
// False for an unknown handle.
bool copyData(HDDEDATA data, Data& copy);
bool closeData(HDDEDATA data);

} // namespace mvplat::dde
