// Parsing, whatever the units of the text.
#pragma once

#include "XMLNode.h"

namespace mvxml {

// XMLNode::parseString for wide text and for well-formed UTF-8. Neither text nor results are null.
template <class Unit>
XMLNode ParseText(const Unit* text, const wchar_t* tag, XMLResults* results);

} // namespace mvxml
