#include "xml.h"

#include "../console.h"
#include "../text.h"
#include "document.h"
#include <charconv>
#include <cwchar>
#include <vector>

namespace mvtool::xml {
namespace {

struct Part {
    std::wstring name;
    int index = 0;
};

struct Path {
    std::vector<Part> parts;
    std::optional<std::wstring> attribute;
};

std::wstring nameOf(const std::string& text, const std::string& path) {
    const std::optional<std::wstring> name = toWide(text);
    if (!name || name->empty()) {
        throw Failure(Exit::usage, "no path to an element or attribute: " + displayText(path));
    }
    return *name;
}

/// "name" or "name[n]", n counting from 1.
Part partOf(const std::string& text, const std::string& path) {
    Part part;
    std::string name = text;
    const std::size_t bracket = text.ends_with(']') ? text.rfind('[') : std::string::npos;
    if (bracket != std::string::npos) {
        const char* end = text.data() + text.size() - 1;
        const auto [last, error] = std::from_chars(text.data() + bracket + 1, end, part.index);
        if (error != std::errc() || last != end || part.index < 1) {
            throw Failure(Exit::usage, "no index of an element: " + displayText(text.substr(bracket)));
        }
        --part.index;
        name = text.substr(0, bracket);
    }
    part.name = nameOf(name, path);
    return part;
}

Path parsePath(const std::string& text) {
    Path path;
    const std::size_t at = text.rfind('@');
    if (at != std::string::npos) {
        path.attribute = nameOf(text.substr(at + 1), text);
    }
    const std::string elements = text.substr(0, at);
    std::size_t start = elements.starts_with('/') ? 1 : 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
        end = elements.find('/', start);
        path.parts.push_back(
            partOf(elements.substr(start, end == std::string::npos ? end : end - start), text));
    }
    return path;
}

/// The element of the first part: below the top or below declarations that hold what follows them.
XMLNode findRoot(const XMLNode& document, const Part& part) {
    XMLNode top = document;
    if (document.getName() != nullptr) {
        top = XMLNode::createXMLTopNode(nullptr);
        top.addChild(document);
    }
    for (;;) {
        XMLNode found = top.getChildNode(part.name.c_str(), part.index);
        if (!found.isEmpty()) {
            return found;
        }
        XMLNode declaration;
        for (int i = 0; i < top.nChildNode() && declaration.isEmpty(); ++i) {
            const XMLNode child = top.getChildNode(i);
            declaration = child.isDeclaration() ? child : XMLNode();
        }
        if (declaration.isEmpty()) {
            return declaration;
        }
        top = declaration;
    }
}

} // namespace

Exit get(const Arguments& arguments) {
    const std::string& file = arguments.operands()[0];
    const Path path = parsePath(arguments.operands()[1]);
    const XMLNode document = parseSound(file);
    XMLNode node = findRoot(document, path.parts[0]);
    for (std::size_t i = 1; i < path.parts.size(); ++i) {
        node = node.getChildNode(path.parts[i].name.c_str(), path.parts[i].index);
    }
    if (node.isEmpty() || (path.attribute && !node.isAttributeSet(path.attribute->c_str()))) {
        console().note(displayText(file) + " has no " + displayText(arguments.operands()[1]));
        return Exit::no;
    }
    std::wstring value;
    if (path.attribute) {
        const wchar_t* text = node.getAttribute(path.attribute->c_str());
        value = text != nullptr ? text : L"";
    } else {
        for (int i = node.nAttribute(); i < node.nAttribute() + node.nElement(); ++i) {
            const XMLNodeContents contents = node.enumContents(i);
            if (contents.type == XMLELEMENT_TEXT) {
                value += contents.text;
            } else if (contents.type == XMLELEMENT_CLEAR &&
                       std::wcscmp(contents.clear.opener, L"<![CDATA[") == 0) {
                value += contents.clear.value;
            }
        }
    }
    console().print(printable(value) + '\n');
    return Exit::done;
}

} // namespace mvtool::xml
