// Standard error, for texts that have no other place to go.
#pragma once

#include <string_view>

namespace mvplat {

// Writes all bytes unbuffered; errors are ignored, errno is kept.
void writeStandardError(std::string_view text);

} // namespace mvplat
