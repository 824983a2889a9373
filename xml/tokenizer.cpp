#include "xml/tokenizer.h"

namespace mvxml {

namespace {

template <class Unit>
Token<Unit> ReadPlainText(const Unit*& cursor, const Unit* start, const Unit* from) {
    const Unit* p = from;
    while (!HasClass(*p, ClassNameEnd) || (*p == L'/' && p[1] != L'>'))
        ++p;
    Token<Unit> token = {TokenKind::Text, start, p - start, nullptr};
    cursor = IsSpace(*p) ? p + 1 : p;
    return token;
}

} // namespace

template <class Unit>
Token<Unit> ReadToken(const Unit*& cursor) {
    const Unit* start = cursor;
    while (IsSpace(*start))
        ++start;
    auto simple = [&](TokenKind kind, std::ptrdiff_t length) {
        cursor = start + length;
        return Token<Unit>{kind, start, length, nullptr};
    };
    switch (*start) {
    case 0:
        return simple(TokenKind::End, 0);
    case L'<':
        if (const ClearTag* clearTag = FindClearTag(start)) {
            cursor = start + clearTag->length;
            return {TokenKind::ClearTag, start, clearTag->length, clearTag};
        }
        if (start[1] == L'/')
            return simple(TokenKind::EndTag, 2);
        if (start[1] == L'?')
            return simple(TokenKind::Declaration, 2);
        return simple(TokenKind::TagStart, 1);
    case L'=':
        return simple(TokenKind::Equals, 1);
    case L'>':
        return simple(TokenKind::TagClose, 1);
    case L'/':
        if (start[1] == L'>')
            return simple(TokenKind::ShortClose, 2);
        break;
    case L'"':
    case L'\'': {
        const Unit* p = start + 1;
        while (*p && *p != L'<' && *p != *start)
            ++p;
        if (*p == *start)
            return simple(TokenKind::Quoted, p + 1 - start);
        // A quote that nothing closes begins a plain text.
        return ReadPlainText(cursor, start, start + 1);
    }
    default:
        break;
    }
    return ReadPlainText(cursor, start, start);
}

template Token<wchar_t> ReadToken(const wchar_t*&);
template Token<unsigned char> ReadToken(const unsigned char*&);

} // namespace mvxml
