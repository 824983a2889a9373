// The text form of registry keys (.reg files, version 5.00): reading and writing. docs/registry.md has the
// grammar.
#pragma once

#include "../failure.h"
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mvtool::reg {

/// Registry types by their numbers, which the files have too.
constexpr std::uint32_t kText = 1;
constexpr std::uint32_t kBinary = 3;
constexpr std::uint32_t kNumber = 4;
constexpr std::uint32_t kList = 7;

struct Value {
    std::wstring name; ///< empty: the value without a name
    bool remove = false;
    std::uint32_t type = 0;
    std::string data; ///< the bytes in the registry
    bool operator==(const Value&) const = default;
};

struct Key {
    std::wstring path; ///< with the root's long name
    bool remove = false;
    std::vector<Value> values;
    bool operator==(const Key&) const = default;
};

/// Reads a file: UTF-16 (little-endian) with its mark, or UTF-8. Failure(damaged) that names the line.
std::vector<Key> parse(std::string_view bytes);

/// The file's bytes: UTF-16 with its mark. parse(format(keys)) gives the keys again.
std::string format(const std::vector<Key>& keys);

/// UTF-16, little-endian, of a text; what text of that form says, and whether it is such a text with one NUL,
/// its last.
std::string utf16Bytes(std::wstring_view text);
std::wstring fromUtf16(std::string_view bytes);
bool isPlainText(std::string_view bytes);

} // namespace mvtool::reg
