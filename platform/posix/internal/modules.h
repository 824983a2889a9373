// What the resource functions need of the modules.
#pragma once

#include "../../win32.h"
#include "../resource_table.h"

#include <cstdint>

namespace mvplat {

// The order of a table's entries.
inline std::uint64_t resourceKey(std::uint16_t type, std::uint16_t name, std::uint16_t language) {
    return std::uint64_t(type) << 32 | std::uint64_t(name) << 16 | language;
}
inline std::uint64_t resourceKey(const mv_resource& resource) {
    return resourceKey(resource.type, resource.name, resource.language);
}

// The table of a loaded module (null: the program); null when the module has none that can be used.
const mv_resource_table* resourceTableOf(HMODULE module);

} // namespace mvplat
