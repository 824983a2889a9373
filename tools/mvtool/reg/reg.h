// The family "reg": shows and changes the registry and its text form. docs/registry.md says what lies where.
#pragma once

#include "../command.h"

namespace mvtool::reg {

const Family& family();

} // namespace mvtool::reg
