#include "xml/parse.h"

#include "xml/encodings.h"
#include "xml/names.h"
#include "xml/parser.h"

#include <algorithm>
#include <climits>

namespace {

using mvxml::Record;

struct Place {
    int line;
    int column;
};

// Lines and columns count from 1, columns in UTF-16 units.
template <class Unit>
Place PlaceOf(const Unit* text, const Unit* position) {
    long long line = 1;
    long long column = 1;
    for (const Unit* p = text; p < position; ++p) {
        if (*p == '\n') {
            ++line;
            column = 1;
        } else {
            column += mvxml::Utf16Length(*p);
        }
    }
    return {static_cast<int>(std::min<long long>(line, INT_MAX)),
            static_cast<int>(std::min<long long>(column, INT_MAX))};
}

// The element named `tag`: the node itself, a child, or a child inside the declarations that wrap it.
XMLNode FindTag(XMLNode node, const wchar_t* tag) {
    if (mvxml::EqualNames(node.getName(), tag))
        return node;
    for (int i = 0; i < node.nChildNode();) {
        XMLNode child = node.getChildNode(i);
        if (mvxml::EqualNames(child.getName(), tag))
            return child;
        if (child.isDeclaration()) {
            node = child;
            i = 0;
        } else {
            ++i;
        }
    }
    return XMLNode();
}

bool IsFatal(XMLError error) {
    return error != XMLERROR_NONE && error != XMLWARNING_UNMATCHED_END_TAG &&
           error != XMLWARNING_NO_TAG_FOUND;
}

} // namespace

namespace mvxml {

template <class Unit>
XMLNode ParseText(const Unit* text, const wchar_t* tag, XMLResults* results) {
    *results = {XMLERROR_NO_DATA, 0, 0};
    Pages* pages = Pages::Create();
    if (!pages)
        return XMLNode();
    XMLNode node;
    try {
        Parser<Unit> parser(text, pages);
        parser.Run();
        Record* top = parser.Top();
        XMLError error = parser.Error();
        if (!top->childCount) {
            // Kept: a text without any element is only a warning, whatever else is wrong with it, except that
            // an end tag comes first or that a section is never closed.
            if (error == XMLWARNING_UNMATCHED_END_TAG && parser.BeginsWithEndTag())
                error = XMLERROR_UNMATCHED_END_TAG;
            else if (error != XMLERROR_UNMATCHED_CLEAR_TAG)
                error = XMLWARNING_NO_TAG_FOUND;
        }
        *results = {error, 0, 0};
        if (error != XMLERROR_NONE) {
            Place place = PlaceOf(text, parser.Position());
            results->line = place.line;
            results->column = place.column;
        }
        if (IsFatal(error)) {
            pages->Free();
            return XMLNode();
        }
        if (top->childCount == 1 && top->elementCount() == 1) {
            Record* child = *Children(top);
            child->parent = nullptr;
            child->counters.references = 0;
            node = XMLNodeAccess::share(child);
        } else {
            node = XMLNodeAccess::share(top);
        }
    } catch (const MemoryExhausted&) {
        pages->Free();
        return XMLNode();
    }

    if (tag && *tag) {
        node = FindTag(node, tag);
        if (node.isEmpty())
            *results = {XMLERROR_FIRST_TAG_NOT_FOUND, 0, 0};
    }
    return node;
}

template XMLNode ParseText(const unsigned char*, const wchar_t*, XMLResults*);

} // namespace mvxml

XMLNode XMLNode::parseString(const wchar_t* text, const wchar_t* tag, XMLResults* results) {
    XMLResults ignored;
    if (!results)
        results = &ignored;
    *results = {XMLERROR_NO_ELEMENTS, 0, 0};
    return text ? mvxml::ParseText(text, tag, results) : XMLNode();
}

char XMLNode::setGlobalOptions(XMLCharEncoding encoding, char guessWideChars, char dropWhiteSpace,
                               char removeCommentsInMiddleOfText) {
    if (encoding != encoding_keep)
        mvxml::CurrentOptions.encoding = encoding;
    mvxml::CurrentOptions.guessWideChars = guessWideChars;
    mvxml::CurrentOptions.dropWhiteSpace = dropWhiteSpace;
    mvxml::CurrentOptions.removeComments = removeCommentsInMiddleOfText;
    return 0;
}

XMLNode::XMLCharEncoding XMLNode::guessCharEncoding(void*, int, char) {
    return encoding_keep;
}

const wchar_t* XMLNode::getError(XMLError error) {
    switch (error) {
    case XMLERROR_NONE:
        return L"No error";
    case XMLWARNING_UNMATCHED_END_TAG:
        return L"Warning: Unmatched end tag";
    case XMLWARNING_NO_TAG_FOUND:
        return L"Warning: No XML tag found";
    case XMLERROR_NO_DATA:
        return L"Error: No XML data";
    case XMLERROR_MISSING_TAG_NAME:
        return L"Error: Missing start tag name";
    case XMLERROR_MISSING_END_TAG_NAME:
        return L"Error: Missing end tag name";
    case XMLERROR_UNMATCHED_END_TAG:
        return L"Error: Unmatched end tag";
    case XMLERROR_UNMATCHED_CLEAR_TAG:
        return L"Error: Unmatched clear tag end";
    case XMLERROR_UNEXPECTED_TOKEN:
        return L"Error: Unexpected token found";
    case XMLERROR_NO_ELEMENTS:
        return L"Error: No elements found";
    case XMLERROR_FILE_NOT_FOUND:
        return L"Error: File not found";
    case XMLERROR_FIRST_TAG_NOT_FOUND:
        return L"Error: First Tag not found";
    case XMLERROR_UNKNOWN_ENTITY:
        return L"Error: Unknown character entity";
    case XMLERROR_CHARACTER_ABOVE_255:
        return L"Error: Character code above 255 is forbidden in MultiByte char mode.";
    case XMLERROR_CONVERSION:
        return L"Error: unable to convert between WideChar and MultiByte chars";
    case XMLERROR_CANNOT_OPEN_FOR_WRITE:
        return L"Error: unable to open file for writing";
    case XMLERROR_CANNOT_WRITE:
        return L"Error: cannot write into file";
    case XMLWARNING_BASE64_LENGTH:
        return L"Warning: Base64-string length is not a multiple of 4";
    case XMLERROR_BASE64_ILLEGAL:
        return L"Error: Base64-string contains an illegal character";
    case XMLWARNING_BASE64_TRUNCATED:
        return L"Warning: Base64-string is truncated";
    case XMLERROR_BASE64_BUFFER:
        return L"Error: Base64 decode output buffer is too small";
    }
    return L"Unknown";
}
