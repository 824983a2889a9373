#include "XmlTest.h"

#include "layout.h"

#include <utility>

namespace {

class XmlNodeTest : public XmlTest {};

// ---- The empty node ----

TEST_F(XmlNodeTest, EmptyNodeAnswersNothing) {
    XMLNode node;
    int i = 0;
    EXPECT_TRUE(node.isEmpty());
    EXPECT_TRUE(XMLNode::emptyNode().isEmpty());
    EXPECT_TRUE(XMLNode::emptyXMLNode.isEmpty());
    EXPECT_EQ(node.getName(), nullptr);
    EXPECT_FALSE(node.isDeclaration());
    EXPECT_TRUE(node.getParentNode().isEmpty());
    EXPECT_EQ(node.nChildNode() + node.nText() + node.nClear() + node.nAttribute() + node.nElement(), 0);
    EXPECT_EQ(node.nChildNode(L"a"), 0);
    EXPECT_TRUE(node.getChildNode().isEmpty());
    EXPECT_TRUE(node.getChildNode(L"a").isEmpty());
    EXPECT_TRUE(node.getChildNode(L"a", 0).isEmpty());
    EXPECT_TRUE(node.getChildNode(L"a", &i).isEmpty());
    EXPECT_TRUE(node.getChildNodeWithAttribute(L"a", L"b", L"c", &i).isEmpty());
    EXPECT_EQ(node.getText(), nullptr);
    EXPECT_EQ(node.getClear().value, nullptr);
    EXPECT_EQ(node.getAttribute().name, nullptr);
    EXPECT_EQ(node.getAttribute(L"a"), nullptr);
    EXPECT_EQ(node.getAttribute(L"a", 0), nullptr);
    EXPECT_EQ(node.getAttributeName(), nullptr);
    EXPECT_EQ(node.getAttributeValue(), nullptr);
    EXPECT_FALSE(node.isAttributeSet(L"a"));
    EXPECT_EQ(node.enumContents(0).type, XMLELEMENT_NONE);
    EXPECT_EQ(node.positionOfChildNode(), -1);
    EXPECT_EQ(node.positionOfText(), -1);
    EXPECT_EQ(node.positionOfClear(), -1);
    EXPECT_EQ(i, 0);
}

TEST_F(XmlNodeTest, EmptyRecordsAreAllNull) {
    EXPECT_EQ(XMLNode::emptyXMLAttribute.name, nullptr);
    EXPECT_EQ(XMLNode::emptyXMLAttribute.value, nullptr);
    EXPECT_EQ(XMLNode::emptyXMLClear.value, nullptr);
    EXPECT_EQ(XMLNode::emptyXMLClear.opener, nullptr);
    EXPECT_EQ(XMLNode::emptyXMLClear.closer, nullptr);
}

// ---- Access by index and name ----

TEST_F(XmlNodeTest, IndicesOutOfRangeAnswerEmptyThings) {
    XMLNode node = ParseSound(L"<a x='1'>t<b/><![CDATA[c]]></a>");
    for (int i : {-1, 1, 1000000}) {
        EXPECT_TRUE(node.getChildNode(i).isEmpty());
        EXPECT_EQ(node.getText(i), nullptr);
        EXPECT_EQ(node.getClear(i).value, nullptr);
        EXPECT_EQ(node.getAttribute(i).name, nullptr);
        EXPECT_EQ(node.getAttributeName(i), nullptr);
        EXPECT_EQ(node.getAttributeValue(i), nullptr);
        EXPECT_EQ(node.positionOfChildNode(i), -1);
        EXPECT_EQ(node.positionOfText(i), -1);
        EXPECT_EQ(node.positionOfClear(i), -1);
    }
    EXPECT_TRUE(node.getChildNode(L"b", -1).isEmpty());
    EXPECT_TRUE(node.getChildNode(L"b", 1).isEmpty());
    EXPECT_EQ(node.getAttribute(L"x", 1), nullptr);
}

TEST_F(XmlNodeTest, ChildrenByNameWhateverItsCase) {
    XMLNode node = ParseSound(L"<a><B i='0'/><c/><b i='1'/>t<B i='2'/></a>");
    EXPECT_EQ(node.nChildNode(L"b"), 3);
    EXPECT_EQ(node.nChildNode(nullptr), 0);
    EXPECT_WSTREQ(node.getChildNode(L"b", 1).getAttribute(L"I"), L"1");
    EXPECT_WSTREQ(node.getChildNode(L"B", 2).getAttribute(L"i"), L"2");
    EXPECT_WSTREQ(node.getChildNode(L"b").getAttribute(L"i"), L"0");
    EXPECT_TRUE(node.getChildNode(L"bb").isEmpty());
    EXPECT_TRUE(node.getChildNode(nullptr, 0).isEmpty());
}

TEST_F(XmlNodeTest, NamesOfEveryLengthAreComparedToTheirEnd) {
    for (size_t length = 1; length < 40; ++length) {
        std::wstring name(length, L'n');
        XMLNode node = XMLNode::createXMLTopNode(L"a");
        node.addChild(name.c_str());
        auto finds = [&](const std::wstring& wanted) { return node.nChildNode(wanted.c_str()) == 1; };
        ASSERT_TRUE(finds(name));
        ASSERT_TRUE(finds(std::wstring(length, L'N')));
        ASSERT_FALSE(finds(name + L"n"));
        ASSERT_FALSE(finds(name + L" "));
        ASSERT_FALSE(finds(name.substr(1)));
        for (size_t at = 0; at < length; ++at) {
            std::wstring other = name;
            other[at] = L'N';
            ASSERT_TRUE(finds(other));
            other[at] = L'm';
            ASSERT_FALSE(finds(other));
            other[at] = static_cast<wchar_t>(L'n' + 0x100);
            ASSERT_FALSE(finds(other));
            // Two units that differ in the bit of the case alone are no letters for that.
            for (const wchar_t* pair : {L"[{", L"@`", L"0\x10", L"\u00E9\u00C9"}) {
                std::wstring upper = name;
                std::wstring lower = name;
                upper[at] = pair[0];
                lower[at] = pair[1];
                XMLNode one = XMLNode::createXMLTopNode(L"a");
                one.addChild(upper.c_str());
                ASSERT_EQ(one.nChildNode(upper.c_str()), 1);
                ASSERT_EQ(one.nChildNode(lower.c_str()), 0);
            }
        }
    }
}

TEST_F(XmlNodeTest, SearchStoresTheIndexBehindWhatItFound) {
    XMLNode node = ParseSound(L"<a><b/><c/><b/></a>");
    int i = 0;
    EXPECT_FALSE(node.getChildNode(L"b", &i).isEmpty());
    EXPECT_EQ(i, 1);
    EXPECT_FALSE(node.getChildNode(L"b", &i).isEmpty());
    EXPECT_EQ(i, 3);
    EXPECT_TRUE(node.getChildNode(L"b", &i).isEmpty());
    EXPECT_EQ(i, 3);
    i = -7;
    EXPECT_FALSE(node.getChildNode(L"b", &i).isEmpty());
    EXPECT_EQ(i, 1);
}

TEST_F(XmlNodeTest, AttributesByName) {
    XMLNode node = ParseSound(L"<a x='1' y z='3' X='4'/>");
    EXPECT_WSTREQ(node.getAttribute(L"X"), L"1");
    EXPECT_WSTREQ(node.getAttribute(L"x", 1), L"4");
    EXPECT_EQ(node.getAttribute(L"y"), nullptr);
    EXPECT_TRUE(node.isAttributeSet(L"Y"));
    EXPECT_FALSE(node.isAttributeSet(L"w"));
    EXPECT_FALSE(node.isAttributeSet(nullptr));
    int i = 0;
    EXPECT_WSTREQ(node.getAttribute(L"x", &i), L"1");
    EXPECT_EQ(i, 1);
    EXPECT_WSTREQ(node.getAttribute(L"x", &i), L"4");
    EXPECT_EQ(i, 4);
    EXPECT_EQ(node.getAttribute(L"x", &i), nullptr);
    EXPECT_EQ(i, 4);
}

TEST_F(XmlNodeTest, ChildrenByNameAndAttribute) {
    XMLNode node = ParseSound(L"<a><b k='1'/><b k='2' n='x'/><c k='2'/><b k='2' n='y'/><b K/></a>");
    EXPECT_WSTREQ(node.getChildNodeWithAttribute(L"b", L"k", L"2").getAttribute(L"n"), L"x");
    int i = 0;
    EXPECT_WSTREQ(node.getChildNodeWithAttribute(L"B", L"K", L"2", &i).getAttribute(L"n"), L"x");
    EXPECT_WSTREQ(node.getChildNodeWithAttribute(L"B", L"K", L"2", &i).getAttribute(L"n"), L"y");
    EXPECT_EQ(i, 4);
    EXPECT_TRUE(node.getChildNodeWithAttribute(L"B", L"K", L"2", &i).isEmpty());
    EXPECT_FALSE(node.getChildNodeWithAttribute(L"b", L"k", nullptr, &i).isEmpty());
    EXPECT_EQ(i, 5);
    EXPECT_TRUE(node.getChildNodeWithAttribute(L"b", L"k", L"3").isEmpty());
    EXPECT_FALSE(node.getChildNodeWithAttribute(L"b", L"n", L"Y").isEmpty());
}

TEST_F(XmlNodeTest, ContentsComeInOneRow) {
    XMLNode node = ParseSound(L"<a x='1' y>t<b/><![CDATA[c]]>u</a>");
    ASSERT_EQ(node.nAttribute() + node.nElement(), 6);
    EXPECT_EQ(node.enumContents(0).type, XMLELEMENT_ATTRIBUTE);
    EXPECT_WSTREQ(node.enumContents(1).attribute.name, L"y");
    EXPECT_EQ(node.enumContents(2).type, XMLELEMENT_TEXT);
    EXPECT_WSTREQ(node.enumContents(2).text, L"t");
    EXPECT_EQ(node.enumContents(3).type, XMLELEMENT_CHILD);
    EXPECT_WSTREQ(node.enumContents(3).child.getName(), L"b");
    EXPECT_EQ(node.enumContents(4).type, XMLELEMENT_CLEAR);
    EXPECT_WSTREQ(node.enumContents(4).clear.value, L"c");
    EXPECT_WSTREQ(node.enumContents(5).text, L"u");
    EXPECT_EQ(node.enumContents(6).type, XMLELEMENT_NONE);
    EXPECT_EQ(node.enumContents(-1).type, XMLELEMENT_NONE);
    EXPECT_EQ(node.positionOfText(0), 0);
    EXPECT_EQ(node.positionOfChildNode(0), 1);
    EXPECT_EQ(node.positionOfClear(0), 2);
    EXPECT_EQ(node.positionOfText(1), 3);
}

// ---- Records ----

TEST_F(XmlNodeTest, RecordsHoldTheirFieldsInOrder) {
    XMLResults results = {XMLERROR_NONE, 1, 2};
    auto& [error, line, column] = results;
    EXPECT_EQ(&error, &results.error);
    EXPECT_EQ(&line, &results.line);
    EXPECT_EQ(&column, &results.column);
    XMLAttribute attribute = {L"n", L"v"};
    EXPECT_EQ(Offset(attribute, attribute.value), static_cast<std::ptrdiff_t>(sizeof(void*)));
    XMLClear clear = {L"v", L"o", L"c"};
    EXPECT_EQ(Offset(clear, clear.opener), static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_EQ(Offset(clear, clear.closer), static_cast<std::ptrdiff_t>(2 * sizeof(void*)));
    XMLNodeContents contents = {XMLELEMENT_NONE, XMLNode(), attribute, L"t", clear};
    const std::ptrdiff_t word = sizeof(void*);
    EXPECT_EQ(Offset(contents, contents.type), 0);
    EXPECT_EQ(Offset(contents, contents.child), word);
    EXPECT_EQ(Offset(contents, contents.attribute), 2 * word);
    EXPECT_EQ(Offset(contents, contents.text), 4 * word);
    EXPECT_EQ(Offset(contents, contents.clear), 5 * word);
}

TEST_F(XmlNodeTest, SizesOfTheRecords) {
    const auto size = [](std::size_t windows, std::size_t native) {
        return WINDOWS_LAYOUT ? windows : native;
    };
    EXPECT_EQ(sizeof(XMLNode), size(4, 8));
    EXPECT_EQ(sizeof(XMLError), 4u);
    EXPECT_EQ(sizeof(XMLElementType), 4u);
    EXPECT_EQ(sizeof(XMLResults), 12u);
    EXPECT_EQ(sizeof(XMLAttribute), size(8, 16));
    EXPECT_EQ(sizeof(XMLClear), size(12, 24));
    EXPECT_EQ(sizeof(XMLNodeContents), size(32, 64));
    EXPECT_EQ(sizeof(ToXMLStringTool), size(8, 16));
    EXPECT_EQ(sizeof(XMLParserBase64Tool), size(8, 16));
}

// ---- Handles ----

TEST_F(XmlNodeTest, HandlesShareTheRecord) {
    XMLNode first = XMLNode::createXMLTopNode(L"a");
    XMLNode second = first;
    second.addText(L"x");
    EXPECT_WSTREQ(first.getText(), L"x");
    XMLNode third;
    third = second;
    first = XMLNode();
    second = XMLNode::emptyNode();
    EXPECT_WSTREQ(third.getText(), L"x");
}

TEST_F(XmlNodeTest, HandleMayBeAssignedToItself) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    XMLNode& same = node;
    node = same;
    EXPECT_WSTREQ(node.getName(), L"a");
    node = std::move(same);
    EXPECT_WSTREQ(node.getName(), L"a");
}

TEST_F(XmlNodeTest, MovedHandleIsEmpty) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    XMLNode moved = std::move(node);
    EXPECT_TRUE(node.isEmpty()); // NOLINT: that is what is tested
    EXPECT_WSTREQ(moved.getName(), L"a");
}

TEST_F(XmlNodeTest, HeldChildSurvivesItsParentDetached) {
    for (bool built : {false, true}) {
        XMLNode child;
        {
            XMLNode top;
            if (built) {
                top = XMLNode::createXMLTopNode(L"a");
                top.addChild(L"b").addChild(L"c").addText(L"x");
            } else {
                top = ParseSound(L"<a><b><c>x</c></b><d/></a>");
            }
            child = top.getChildNode(L"b");
            EXPECT_FALSE(child.getParentNode().isEmpty());
        }
        EXPECT_TRUE(child.getParentNode().isEmpty());
        EXPECT_EQ(Indented(child), L"<b>\n\t<c>x</c>\n</b>\n");
        XMLNode grandchild = child.getChildNode();
        child = XMLNode();
        EXPECT_TRUE(grandchild.getParentNode().isEmpty());
        EXPECT_WSTREQ(grandchild.getText(), L"x");
    }
}

TEST_F(XmlNodeTest, ChildHeldThroughItsParentKeepsItsPlace) {
    XMLNode top = ParseSound(L"<a><b/></a>");
    XMLNode child = top.getChildNode();
    XMLNode again = child.getParentNode().getChildNode();
    child = XMLNode();
    EXPECT_WSTREQ(again.getParentNode().getName(), L"a");
    EXPECT_EQ(top.nChildNode(), 1);
}

// ---- Forced deletion ----

TEST_F(XmlNodeTest, DeletedNodeLeavesItsParentAndIsSeenEmpty) {
    for (bool built : {false, true}) {
        XMLNode top = ParseSound(L"<a>t<b x='1'>u<c/></b><d/></a>");
        if (built)
            top = top.deepCopy();
        XMLNode child = top.getChildNode(L"b");
        XMLNode other = child;
        XMLNode grandchild = child.getChildNode();
        child.deleteNodeContent();
        EXPECT_TRUE(child.isEmpty());
        EXPECT_EQ(Indented(top), L"<a>\n\tt\n\t<d/>\n</a>\n");
        EXPECT_EQ(OrderOf(top), "t0 c0");
        ASSERT_FALSE(other.isEmpty());
        EXPECT_EQ(other.getName(), nullptr);
        EXPECT_EQ(other.nElement() + other.nAttribute(), 0);
        EXPECT_TRUE(other.getParentNode().isEmpty());
        EXPECT_WSTREQ(grandchild.getName(), L"c");
        EXPECT_TRUE(grandchild.getParentNode().isEmpty());
        // The emptied record can be used again.
        other.updateName(L"new");
        other.addChild(L"x");
        top.addChild(other);
        EXPECT_EQ(Indented(top), L"<a>\n\tt\n\t<d/>\n\t<new>\n\t\t<x/>\n\t</new>\n</a>\n");
    }
}

TEST_F(XmlNodeTest, DeletingTheTopKeepsWhatIsHeld) {
    XMLNode top = ParseSound(L"<a><b>x</b><c/></a>");
    XMLNode child = top.getChildNode();
    top.deleteNodeContent();
    EXPECT_TRUE(top.isEmpty());
    EXPECT_EQ(Indented(child), L"<b>x</b>\n");
    top.deleteNodeContent();
}

TEST_F(XmlNodeTest, DeletedNodeThatNobodyElseHoldsIsGone) {
    XMLNode top = ParseSound(L"<a><b><c/></b></a>");
    XMLNode child = top.getChildNode();
    child.deleteNodeContent();
    EXPECT_EQ(top.nChildNode(), 0);
    XMLNode lonely = XMLNode::createXMLTopNode(L"z");
    lonely.addChild(L"y");
    lonely.deleteNodeContent();
    EXPECT_TRUE(lonely.isEmpty());
}

// ---- Trees of several documents ----

TEST_F(XmlNodeTest, NodesOutliveTheDocumentsTheyCameFrom) {
    XMLNode target = XMLNode::createXMLTopNode(L"all");
    for (int i = 0; i < 5; ++i) {
        XMLNode document = ParseSound(L"<r><one>1</one><two><deep x='y'/></two></r>");
        target.addChild(document.getChildNode(L"two"));
        EXPECT_EQ(document.nChildNode(), 1);
    }
    EXPECT_EQ(target.nChildNode(), 5);
    XMLNode held = target.getChildNode(3).getChildNode();
    target = XMLNode();
    EXPECT_WSTREQ(held.getAttribute(L"x"), L"y");
}

TEST_F(XmlNodeTest, NodesTravelBetweenDocumentsAndBack) {
    XMLNode first = ParseSound(L"<a><b>x</b></a>");
    XMLNode second = ParseSound(L"<c><d>y</d></c>");
    XMLNode b = first.getChildNode();
    second.addChild(b, 0);
    first.addChild(second.getChildNode(L"d"));
    EXPECT_EQ(Indented(first), L"<a>\n\t<d>y</d>\n</a>\n");
    EXPECT_EQ(Indented(second), L"<c>\n\t<b>x</b>\n</c>\n");
    first.addChild(second.getChildNode(L"b"));
    second = XMLNode();
    EXPECT_EQ(Indented(first), L"<a>\n\t<d>y</d>\n\t<b>x</b>\n</a>\n");
    first = XMLNode();
    EXPECT_EQ(Indented(b), L"<b>x</b>\n");
    EXPECT_TRUE(b.getParentNode().isEmpty());
}

TEST_F(XmlNodeTest, DocumentsMayHoldEachOthersNodes) {
    XMLNode first = ParseSound(L"<a><b/></a>");
    XMLNode second = ParseSound(L"<c><d/></c>");
    XMLNode d = second.getChildNode();
    first.getChildNode().addChild(d);
    d.addChild(second); // <c> below its former child, which lies in the first document
    EXPECT_EQ(Indented(first), L"<a>\n\t<b>\n\t\t<d>\n\t\t\t<c/>\n\t\t</d>\n\t</b>\n</a>\n");
}

} // namespace
