#include "xml.h"

namespace mvtool::xml {
namespace {

constexpr OptionSpec kCheckOptions[] = {
    {"strict", 's', nullptr, "warnings count as errors"},
};

constexpr OptionSpec kFormatOptions[] = {
    {"compact", 'c', nullptr, "no line feeds and no indentation"},
    {"output", 'o', "FILE", "write a UTF-16 file instead of printing"},
};

constexpr Command kCommands[] = {
    {"check", "FILE", "parse a document and say where it is wrong",
     "An error is answered with its place, the line that it stands in, and exit code 1. A warning (a\n"
     "tag left open, no element at all) is shown too, but is exit code 0 without --strict.\n",
     1, 1, kCheckOptions, check},
    {"fmt", "FILE", "write a document indented, or compact",
     "One tab a level; an element that holds one text only stays on its line. Prints UTF-8; with -o\n"
     "the library writes FILE: UTF-16 with its mark, and with a declaration when the document has\n"
     "none. The file appears when it is complete and may be the one that was read.\n",
     1, 1, kFormatOptions, format},
    {"get",
     "FILE PATH[@ATTR]",
     "print one value",
     "PATH is the names from the root element down, with \"/\" between them, and name[3] is the third\n"
     "of that name. Prints the element's texts and CDATA sections, or the attribute's value. Exit code\n"
     "1 when there is no such element or attribute.\n",
     2,
     2,
     {},
     get},
};

} // namespace

const Family& family() {
    static const Family one = {"xml", "check XML documents, format them, read values from them",
                               "Documents are UTF-8 or UTF-16 files.\n", kCommands};
    return one;
}

} // namespace mvtool::xml
