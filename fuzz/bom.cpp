// 8-bit text with and without a byte-order mark.
#include <CStringEx.h>

#include "recipe.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    const std::vector<std::uint8_t> bytes = BytesOfRecipe(input, inputSize);
    const std::uint8_t* data = bytes.data();
    const std::size_t size = bytes.size();
    // The terminator that the text must have and not a byte more, so that reading past it is seen: a zero
    // unit of 16 bits behind the mark FE FF, else a zero byte.
    const bool units = size >= 2 && data[0] == 0xFE && data[1] == 0xFF;
    std::vector<char> text(bytes.begin(), bytes.end());
    text.insert(text.end(), units ? 2 + size % 2 : 1, '\0');
    const int mark = text.size() >= 3 ? CStringEx::DetectBOMEncoding(text.data()) : 0;
    const CString decoded = CStringEx::RemoveBOMEncoding(text.data());
    if (mark != (units ? 5 : size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF ? 4 : 0))
        std::abort();
    if (decoded.GetLength() > static_cast<int>(size))
        std::abort();
    if (mark == 4) {
        // Without its mark it is the same text, unless what follows looks like a mark again.
        const char* rest = text.data() + 3;
        if ((text.size() < 6 || CStringEx::DetectBOMEncoding(rest) == 0) &&
            CStringEx::RemoveBOMEncoding(rest) != decoded)
            std::abort();
    }
    return 0;
}
