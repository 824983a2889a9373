// Parses any text, visits the tree in every way, copies, changes and destroys it.
#include "xml_trees.h"

namespace {

void Visit(const XMLNode& node, const XMLNode& parent) {
    int children = 0;
    int texts = 0;
    int clears = 0;
    for (int i = 0; i < node.nAttribute() + node.nElement(); ++i) {
        XMLNodeContents contents = node.enumContents(i);
        int position = i - node.nAttribute();
        switch (contents.type) {
        case XMLELEMENT_ATTRIBUTE:
            Require(contents.attribute.name && node.isAttributeSet(contents.attribute.name));
            break;
        case XMLELEMENT_CHILD:
            Require(node.positionOfChildNode(children++) == position);
            Require(contents.child.getName() && node.nChildNode(contents.child.getName()) > 0);
            Visit(contents.child, node);
            break;
        case XMLELEMENT_TEXT:
            Require(contents.text && node.positionOfText(texts++) == position);
            break;
        case XMLELEMENT_CLEAR:
            Require(contents.clear.value && contents.clear.opener && contents.clear.closer);
            Require(node.positionOfClear(clears++) == position);
            break;
        default:
            Require(false);
        }
    }
    Require(children == node.nChildNode() && texts == node.nText() && clears == node.nClear());
    Require(node.getParentNode().isEmpty() == parent.isEmpty());
}

// Takes the tree apart as the bytes say.
void Change(XMLNode node, const std::uint8_t* data, std::size_t size) {
    for (; size >= 2; data += 2, size -= 2) {
        int i = data[1];
        switch (data[0] % 12) {
        case 0:
            node.addChild(L"new", 0, i).addText(L"text");
            break;
        case 1:
            node.addText(L"<&>", i);
            break;
        case 2:
            node.addClear(L"clear", nullptr, nullptr, i);
            break;
        case 3:
            node.deleteText(i);
            break;
        case 4:
            node.deleteClear(i);
            break;
        case 5:
            node.deleteAttribute(i);
            break;
        case 6:
            node.getChildNode(i).deleteNodeContent();
            break;
        case 7:
            node.addChild(node.getChildNode(0), i);
            break;
        case 8:
            node.updateAttribute(L"value", L"name", i);
            break;
        case 9:
            node.updateText(L"changed", i);
            break;
        case 10:
            node.updateName(node.getName());
            break;
        default:
            if (node.nChildNode())
                node = node.getChildNode(i % node.nChildNode());
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!size)
        return 0;
    SetOptions(*data);
    Text text(data + 1, size - 1, (*data & 16) != 0);
    XMLResults results = {static_cast<XMLError>(-1), -1, -1};
    XMLNode node = XMLNode::parseString(text.start.get(), nullptr, &results);
    Require(results.error >= 0 && results.error <= 12);
    Require(node.isEmpty() == (results.error > 2));
    Require((results.error == 0) == (results.line == 0) && (results.line == 0) == (results.column == 0));
    XMLNode wanted = XMLNode::parseString(text.start.get(), L"a", &results);
    Require(wanted.isEmpty() == (results.error > 2));
    if (node.isEmpty())
        return 0;
    Visit(node, XMLNode());
    XMLNode copy = node.deepCopy();
    Require(SameTree(node, copy));
    XMLNode kept = node.getChildNode().getChildNode();
    Change(node, data, size);
    Visit(copy, XMLNode());
    Rendered(node, 1);
    node = XMLNode();
    if (!kept.isEmpty())
        Rendered(kept, 0);
    return 0;
}
