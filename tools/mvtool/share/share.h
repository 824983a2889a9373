// The family "share": shares folders on the network.
#pragma once

#include "../command.h"

namespace mvtool::share {

const Family& family();

Exit add(const Arguments& arguments);
Exit remove(const Arguments& arguments);

} // namespace mvtool::share
