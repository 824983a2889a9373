// Seeds as text: "hex:" and pairs of hexadecimal digits, with comments from "#" to the end of a line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

// The bytes of a recipe; other input as it is.
inline std::vector<std::uint8_t> BytesOfRecipe(const std::uint8_t* data, std::size_t size) {
    if (size < 4 || std::memcmp(data, "hex:", 4) != 0)
        return {data, data + size};
    std::vector<std::uint8_t> bytes;
    int high = -1;
    for (std::size_t i = 4; i < size; ++i) {
        int digit = -1;
        if (data[i] == '#')
            while (i + 1 < size && data[i] != '\n')
                ++i;
        else if (data[i] >= '0' && data[i] <= '9')
            digit = data[i] - '0';
        else if (data[i] >= 'A' && data[i] <= 'F')
            digit = data[i] - 'A' + 10;
        if (digit < 0)
            continue;
        if (high >= 0)
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
        high = high < 0 ? digit : -1;
    }
    return bytes;
}
