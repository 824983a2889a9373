// Lets libFuzzer work on the bytes of a recipe, not on its digits.
#include "recipe.h"

#include <algorithm>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned) {
    const std::vector<std::uint8_t> bytes = BytesOfRecipe(data, size);
    size = std::min(bytes.size(), maxSize);
    std::copy_n(bytes.begin(), size, data);
    return LLVMFuzzerMutate(data, size, maxSize);
}
