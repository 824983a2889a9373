// What an option block holds, whatever form it came in. docs/data-blocks.md describes the bytes.
#pragma once

#include "XMLNode.h"

#include "../failure.h"
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mvtool::block {

enum class Kind { integer, real, text, bytes, nested };

/// One entry. Those of a nested block stand behind it, one deeper: blocks nest as deeply as their bytes
/// allow, so nothing here recurs.
struct Entry {
    std::size_t depth = 0;
    std::size_t end = 0; ///< the index behind everything nested in it
    std::wstring name;
    Kind kind = Kind::integer;
    std::wstring text; ///< of a text; the digits of a number; of bytes from XML the digits that stand there
    std::string bytes; ///< of bytes, but for those from XML
    std::size_t size = 0; ///< how many bytes
};

struct Damage {
    std::size_t offset = 0;
    std::string what;
    int code = 0; ///< as FromBlocDades answers it
    std::string message() const;
};

struct Block {
    bool xml = false;
    std::vector<Entry> entries;   ///< in the order in which the library walks them
    std::optional<Damage> damage; ///< the first one; the entries before it are there
};

/// Reads a data block, nested ones included. Damage is in the result.
Block fromData(std::string_view data);

/// Reads the XML form below its root. Failure(damaged) that names the element.
Block fromXml(const XMLNode& root, const std::string& shown);

/// Turns every value into what the XML form keeps of it, so that blocks of both forms can be compared.
void reduceToXml(Block& block);

/// The entry with that name, "/" between the names of blocks and what is in them. Null when there is none.
const Entry* find(const Block& block, std::wstring_view path);

} // namespace mvtool::block
