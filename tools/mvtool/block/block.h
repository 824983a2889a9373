// The family "block": shows and compares option blocks, and reads values from them.
#pragma once

#include "../command.h"

namespace mvtool::block {

const Family& family();

} // namespace mvtool::block
