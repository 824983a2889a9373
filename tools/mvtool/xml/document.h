// A document that a command works on, and how its parts are shown.
#pragma once

#include "XMLNode.h"

#include "../failure.h"
#include <string>

namespace mvtool::xml {

struct Document {
    XMLNode node;
    XMLResults results;
};

/// Parses the file. Failure(notFound) when it cannot be opened.
Document parse(const std::string& path);

/// The same for a command that needs the tree: Failure(damaged) on an error; a warning is noted.
XMLNode parseSound(const std::string& path);

/// "file:line:column: text [library code n]", without the place where there is none.
std::string describe(const std::string& path, const XMLResults& results);

/// The line that the place is in and a second one with a caret below the place, both ended. Long lines are
/// cut around it. Empty when there is no place.
std::string excerpt(const std::string& path, const XMLResults& results);

/// Text for standard output: as it is, but what could steer a terminal is escaped when it goes to one.
std::string printable(std::wstring_view text);

} // namespace mvtool::xml
