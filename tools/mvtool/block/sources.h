// Where option blocks come from.
#pragma once

#include "entries.h"
#include <string>

namespace mvtool::block {

/// The block that the operand names: FILE, FILE#ID or a registry value as ROOT\KEY:VALUE. Failure(notFound),
/// and Failure(damaged) when the record file, the XML or the block is damaged; with `damage` a damaged block
/// comes back as far as it can be read, and what is wrong with it in there.
Block load(const std::string& operand, std::string* damage = nullptr);

} // namespace mvtool::block
