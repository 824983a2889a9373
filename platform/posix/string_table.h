// String blocks made at compile time: turns a plain list of numbers and texts into the entries of
// posix/resource_table.h. Generated sources (cmake/generate-strings.cmake) use it like this:
//
//     namespace {
//     constexpr mv_string strings[] = {{18000, u"Hello"}, {18001, u"world"}};
//     constexpr auto blocks = mv_string_blocks<mv_string_units(strings),
//     mv_string_block_count(strings)>(strings); constexpr auto resources = mv_string_resources(blocks,
//     0x0409); } // namespace MV_RESOURCE_TABLE(resources.entries);
//
// The list may stand in any order; a number given twice keeps the later text.
#pragma once

#include "resource_table.h"

#include <stddef.h>

struct mv_string {
    uint16_t id;
    const char16_t* text;
};

constexpr size_t mv_string_length(const char16_t* text) {
    size_t length = 0;
    while (text[length])
        ++length;
    return length;
}

// The string `id` of the list, or null.
template <size_t Count>
constexpr const char16_t* mv_find_string(const mv_string (&strings)[Count], unsigned id) {
    for (size_t i = Count; i > 0; --i)
        if (strings[i - 1].id == id)
            return strings[i - 1].text;
    return nullptr;
}

// The lowest block above `name` that has a string, or 0. Blocks are named from 1.
template <size_t Count>
constexpr unsigned mv_next_block(const mv_string (&strings)[Count], unsigned name) {
    unsigned next = 0;
    for (const mv_string& string : strings) {
        const unsigned block = string.id / 16u + 1;
        if (block > name && (next == 0 || block < next))
            next = block;
    }
    return next;
}

template <size_t Count>
constexpr size_t mv_string_block_count(const mv_string (&strings)[Count]) {
    size_t count = 0;
    for (unsigned block = 0; (block = mv_next_block(strings, block)) != 0;)
        ++count;
    return count;
}

// Units of all blocks together: one length for each of the 16 places, and the texts.
template <size_t Count>
constexpr size_t mv_string_units(const mv_string (&strings)[Count]) {
    size_t units = 0;
    for (unsigned block = 0; (block = mv_next_block(strings, block)) != 0;)
        for (unsigned place = 0; place < 16; ++place) {
            const char16_t* text = mv_find_string(strings, (block - 1) * 16 + place);
            units += 1 + (text ? mv_string_length(text) : 0);
        }
    return units;
}

template <size_t Units, size_t Blocks>
struct mv_string_block_table {
    uint16_t units[Units];
    uint16_t names[Blocks];
    size_t starts[Blocks + 1]; // in units
};

template <size_t Units, size_t Blocks, size_t Count>
constexpr mv_string_block_table<Units, Blocks> mv_string_blocks(const mv_string (&strings)[Count]) {
    mv_string_block_table<Units, Blocks> table = {};
    size_t used = 0;
    size_t index = 0;
    for (unsigned block = 0; (block = mv_next_block(strings, block)) != 0; ++index) {
        table.names[index] = static_cast<uint16_t>(block);
        table.starts[index] = used;
        for (unsigned place = 0; place < 16; ++place) {
            const char16_t* text = mv_find_string(strings, (block - 1) * 16 + place);
            const size_t length = text ? mv_string_length(text) : 0;
            table.units[used++] = static_cast<uint16_t>(length);
            for (size_t i = 0; i < length; ++i)
                table.units[used++] = static_cast<uint16_t>(text[i]);
        }
    }
    table.starts[Blocks] = used;
    return table;
}

template <size_t Blocks>
struct mv_string_resource_table {
    mv_resource entries[Blocks];
};

// `blocks` must have static storage: the entries point into it.
template <size_t Units, size_t Blocks>
constexpr mv_string_resource_table<Blocks>
mv_string_resources(const mv_string_block_table<Units, Blocks>& blocks, uint16_t language) {
    mv_string_resource_table<Blocks> resources = {};
    for (size_t i = 0; i < Blocks; ++i) {
        mv_resource& entry = resources.entries[i];
        entry.type = MV_RESOURCE_STRING;
        entry.name = blocks.names[i];
        entry.language = language;
        entry.size = static_cast<uint32_t>((blocks.starts[i + 1] - blocks.starts[i]) * sizeof(uint16_t));
        entry.data = blocks.units + blocks.starts[i];
    }
    return resources;
}
