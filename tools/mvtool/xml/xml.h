// The family "xml": checks XML documents, writes them anew and reads single values. docs/mvtool-xml.md
// describes it.
#pragma once

#include "../command.h"

namespace mvtool::xml {

const Family& family();

Exit check(const Arguments& arguments);
Exit format(const Arguments& arguments);
Exit get(const Arguments& arguments);

} // namespace mvtool::xml
