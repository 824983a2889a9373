// Parses, renders and parses again: the second tree equals the first, for trees that are written as they are
// read.
#include "xml_trees.h"

namespace {

bool IsSpace(wchar_t unit) {
    return unit == L' ' || unit == L'\t' || unit == L'\n' || unit == L'\r';
}

// Whether the name is read again as that name, in a start tag and in an end tag. Behind a blank ("< /a>")
// stands what would be other markup without it.
bool IsPlainName(const wchar_t* name) {
    std::size_t length = std::wcslen(name);
    return length && !std::wcschr(L"/?!\"'", name[0]) && name[length - 1] != L'/' &&
           std::wcscmp(name, L"PRE") != 0 && std::wcscmp(name, L"Script") != 0;
}

bool IsPlainText(const wchar_t* text, bool trimmed) {
    std::size_t length = std::wcslen(text);
    return length && (!trimmed || (!IsSpace(text[0]) && !IsSpace(text[length - 1])));
}

// Whether writing loses nothing: for the exceptions docs/xml.md says why.
bool IsPlain(const XMLNode& node, bool trimmed, int depth) {
    const wchar_t* name = node.getName();
    if (name && !IsPlainName(name))
        return false;
    // A declaration's name takes in the "?" that follows it directly; one inside an element ends at its "?>".
    if (node.isDeclaration() &&
        (name[std::wcslen(name) - 1] == L'?' || !node.nAttribute() || (depth > 1 && node.nElement())))
        return false;
    for (int i = 0; i < node.nAttribute() + node.nElement(); ++i) {
        XMLNodeContents contents = node.enumContents(i);
        bool last = i + 1 == node.nAttribute() + node.nElement();
        if (contents.type == XMLELEMENT_ATTRIBUTE && !IsPlainName(contents.attribute.name))
            return false;
        if (contents.type == XMLELEMENT_TEXT && !IsPlainText(contents.text, trimmed))
            return false;
        if (contents.type == XMLELEMENT_TEXT && !last && node.enumContents(i + 1).type == XMLELEMENT_TEXT)
            return false;
        if (contents.type == XMLELEMENT_CHILD) {
            if (!IsPlain(contents.child, trimmed, depth + 1))
                return false;
            // A declaration at the top takes in all that follows.
            if (contents.child.isDeclaration() && depth == 0 && !last)
                return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!size)
        return 0;
    SetOptions(*data);
    Text text(data + 1, size - 1, (*data & 16) != 0);
    XMLResults results;
    XMLNode node = XMLNode::parseString(text.start.get(), nullptr, &results);
    if (node.isEmpty())
        return 0;
    bool nameless = !node.getName();
    bool plain = IsPlain(node, (*data & 1) == 0, nameless ? 0 : 1);
    for (int format : {0, 1}) {
        std::wstring first = Rendered(node, format);
        XMLNode again = XMLNode::parseString(first.c_str(), nullptr, &results);
        if (plain) {
            Require(results.error ==
                    (node.getName() || node.nChildNode() ? XMLERROR_NONE : XMLWARNING_NO_TAG_FOUND));
            Require(SameTree(node, again));
            Require(Rendered(again, format) == first);
        }
    }
    return 0;
}
