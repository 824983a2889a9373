// The list of families. A new family is a source file of its own and a line here.
#include "block/block.h"
#include "command.h"
#include "dde/dde.h"
#include "info/info.h"
#include "ini/ini.h"
#include "rec/rec.h"
#include "reg/reg.h"
#include "share/share.h"
#include "unit/unit.h"
#include "xml/xml.h"

namespace mvtool {

std::span<const Family* const> families() {
    static const Family* const all[] = {&rec::family(),      &xml::family(),          &block::family(),
                                        &reg::family(),      &ini::family(),          &unit::family(),
                                        &dde::family(),      &share::family(),        &info::versionFamily(),
                                        &info::pathFamily(), &info::diagnosisFamily()};
    return all;
}

} // namespace mvtool
