// The parser's tokens.
#pragma once

#include "xml/tables.h"

#include <cstddef>

namespace mvxml {

enum class TokenKind {
    End,
    ClearTag,
    Quoted,
    ShortClose,
    EndTag,
    Declaration,
    TagStart,
    Equals,
    TagClose,
    Text
};

struct Token {
    TokenKind kind;
    const wchar_t* start;
    std::ptrdiff_t length;
    const ClearTag* clearTag; // of kind ClearTag
};

// Reads the token at `cursor`, behind white space, and moves the cursor past it (and past one white-space
// unit that ends a plain text). The text ends with a NUL.
Token ReadToken(const wchar_t*& cursor);

} // namespace mvxml
