// Lengths from one unit to another ("unit").
#pragma once

#include "../command.h"

namespace mvtool::unit {

const Family& family();

} // namespace mvtool::unit
