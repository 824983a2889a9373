// The family "dde": talks to the programs that serve conversations, or is one.
#pragma once

#include "../command.h"
#include <string>
#include <vector>

namespace mvtool::dde {

const Family& family();

Exit list(const Arguments& arguments);
Exit execute(const Arguments& arguments);
Exit request(const Arguments& arguments);
Exit serve(const Arguments& arguments);

struct Pair {
    std::wstring service;
    std::wstring topic; // empty: the service names none
};

/// What the programs of the user serve. One source per target: services_posix.cpp, services_win32.cpp.
std::vector<Pair> services();

} // namespace mvtool::dde
