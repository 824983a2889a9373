// What the fuzz targets of the XML component share.
#pragma once

#include "XMLNode.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

inline void Require(bool holds) {
    if (!holds)
        std::abort();
}

// The first byte of an input chooses the global options; the text follows.
inline void SetOptions(std::uint8_t flags) {
    XMLNode::setGlobalOptions(flags & 4 ? XMLNode::encoding_ANSI : XMLNode::encoding_UTF8, (flags & 8) == 0,
                              (flags & 1) == 0, (flags & 2) == 0);
}

// A text of its own block, so that reading past its end is seen. One unit for each byte, or for each two.
struct Text {
    Text(const std::uint8_t* data, std::size_t size, bool pairs) {
        std::size_t units = pairs ? size / 2 : size;
        start.reset(new wchar_t[units + 1]);
        for (std::size_t i = 0; i < units; ++i)
            start[i] = static_cast<wchar_t>(pairs ? data[2 * i] | data[2 * i + 1] << 8 : data[i]);
        start[units] = 0;
    }
    std::unique_ptr<wchar_t[]> start;
};

inline std::wstring Rendered(const XMLNode& node, int format) {
    int size = -1;
    wchar_t* text = node.createXMLString(format, &size);
    Require(text && size == static_cast<int>(std::wcslen(text)));
    std::wstring copy(text, static_cast<std::size_t>(size));
    freeXMLString(text);
    return copy;
}

inline bool SameText(const wchar_t* first, const wchar_t* second) {
    return first && second ? std::wcscmp(first, second) == 0 : first == second;
}

inline bool SameTree(const XMLNode& first, const XMLNode& second) {
    if (!SameText(first.getName(), second.getName()) || first.isDeclaration() != second.isDeclaration() ||
        first.nAttribute() != second.nAttribute() || first.nElement() != second.nElement())
        return false;
    for (int i = 0; i < first.nAttribute() + first.nElement(); ++i) {
        XMLNodeContents a = first.enumContents(i);
        XMLNodeContents b = second.enumContents(i);
        if (a.type != b.type || !SameText(a.attribute.name, b.attribute.name) ||
            !SameText(a.attribute.value, b.attribute.value) || !SameText(a.text, b.text) ||
            !SameText(a.clear.value, b.clear.value) || a.clear.opener != b.clear.opener ||
            a.clear.closer != b.clear.closer)
            return false;
        if (a.type == XMLELEMENT_CHILD && !SameTree(a.child, b.child))
            return false;
    }
    return true;
}
