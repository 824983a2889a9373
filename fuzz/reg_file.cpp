// The text form of registry keys: what is read must come back from what is written of it.
#include <reg/reg_file.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

using mvtool::reg::Key;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::vector<Key> keys;
    try {
        keys = mvtool::reg::parse(bytes);
    } catch (const mvtool::Failure& failure) {
        if (failure.code() != mvtool::Exit::damaged || failure.text().empty())
            std::abort();
        return 0;
    }
    // Lone surrogates that were apart in the file may meet in a written one, so the second round is the one
    // that counts.
    const std::string once = mvtool::reg::format(keys);
    const std::string twice = mvtool::reg::format(mvtool::reg::parse(once));
    if (once != twice)
        std::abort();
    return 0;
}
