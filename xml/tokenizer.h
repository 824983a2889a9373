// The parser's tokens. A unit is a wchar_t or a byte of UTF-8.
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

template <class Unit>
struct Token {
    TokenKind kind;
    const Unit* start;
    std::ptrdiff_t length;
    const ClearTag* clearTag; // of kind ClearTag
};

// Reads the token at `cursor`, behind white space, and moves the cursor past it (and past one white-space
// unit that ends a plain text). The text ends with a NUL.
template <class Unit>
Token<Unit> ReadToken(const Unit*& cursor);

} // namespace mvxml
