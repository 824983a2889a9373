// The family "rec": packs folder trees into record files and works on such files. docs/mvtool-rec.md has the
// bytes.
#pragma once

#include "../command.h"

namespace mvtool::rec {

const Family& family();

Exit build(const Arguments& arguments);
Exit list(const Arguments& arguments);
Exit tree(const Arguments& arguments);
Exit extract(const Arguments& arguments);
Exit check(const Arguments& arguments);
Exit info(const Arguments& arguments);

} // namespace mvtool::rec
