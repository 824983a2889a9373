// The family "ini": shows, changes, checks and converts INI files. docs/ini-files.md has their rules.
#pragma once

#include "../command.h"

namespace mvtool::ini {

const Family& family();

} // namespace mvtool::ini
