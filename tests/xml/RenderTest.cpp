#include "XmlTest.h"

namespace {

class XmlRenderTest : public XmlTest {
protected:
    // The document as it comes back from an indented rendering.
    void ExpectSameWhenReadAgain(const std::wstring& text) {
        XMLNode node = ParseSound(text);
        std::wstring compact = Compact(node);
        EXPECT_EQ(Compact(ParseSound(Indented(node))), compact);
        EXPECT_EQ(Compact(ParseSound(compact)), compact);
    }
};

TEST_F(XmlRenderTest, ExampleUsage) {
    XMLNode a = XMLNode::createXMLTopNode(L"a");
    a.addChild(L"b").addText(L"x");
    a.addChild(L"c");
    int size = 0;
    wchar_t* indented = a.createXMLString(1, &size);
    EXPECT_WSTREQ(indented, L"<a>\n\t<b>x</b>\n\t<c/>\n</a>\n");
    EXPECT_EQ(size, 25);
    freeXMLString(indented);
    wchar_t* compact = a.createXMLString(0);
    EXPECT_WSTREQ(compact, L"<a><b>x</b><c/></a>");
    freeXMLString(compact);
}

// ---- Formats ----

TEST_F(XmlRenderTest, EveryFormatButZeroIndents) {
    XMLNode node = ParseSound(L"<a><b/></a>");
    for (int format : {1, 2, 100, -1, -2})
        EXPECT_EQ(Render(node, format), L"<a>\n\t<b/>\n</a>\n");
    EXPECT_EQ(Render(node, 0), L"<a><b/></a>");
}

TEST_F(XmlRenderTest, NothingIsIndentedWhereWhiteSpaceIsKept) {
    XMLNode node = ParseSound(L"<a><b/></a>");
    XMLNode::setGlobalOptions(XMLNode::encoding_keep, 1, 0, 1);
    EXPECT_EQ(Render(node, 1), L"<a><b/></a>");
    EXPECT_EQ(Render(node, -1), L"<a><b/></a>");
}

TEST_F(XmlRenderTest, SingleTextStaysOnItsLine) {
    EXPECT_EQ(Indented(ParseSound(L"<a>x</a>")), L"<a>x</a>\n");
    EXPECT_EQ(Indented(ParseSound(L"<a k='v'>x</a>")), L"<a k=\"v\">x</a>\n");
    EXPECT_EQ(Indented(ParseSound(L"<a><!--c--></a>")), L"<a>\n\t<!--c-->\n</a>\n");
    EXPECT_EQ(Indented(ParseSound(L"<a>x<b/></a>")), L"<a>\n\tx\n\t<b/>\n</a>\n");
}

TEST_F(XmlRenderTest, EveryLevelIsOneTab) {
    EXPECT_EQ(Indented(ParseSound(L"<a><b><c><d>x</d><!--y--></c></b></a>")),
              L"<a>\n\t<b>\n\t\t<c>\n\t\t\t<d>x</d>\n\t\t\t<!--y-->\n\t\t</c>\n\t</b>\n</a>\n");
}

TEST_F(XmlRenderTest, DeclarationDoesNotIndentWhatItHolds) {
    XMLNode node = ParseSound(L"<?xml version='1.0'?><!DOCTYPE a>text<a><b/></a>");
    EXPECT_EQ(Indented(node), L"<?xml version=\"1.0\"?>\n<!DOCTYPE a>\ntext\n<a>\n\t<b/>\n</a>\n");
    EXPECT_EQ(Compact(node), L"<?xml version=\"1.0\"?><!DOCTYPE a>text<a><b/></a>");
}

TEST_F(XmlRenderTest, DeclarationInsideAnElement) {
    XMLNode node = ParseSound(L"<a><?p q='1'?><b/></a>");
    EXPECT_EQ(Indented(node), L"<a>\n\t<?p q=\"1\"?>\n\t<b/>\n</a>\n");
}

TEST_F(XmlRenderTest, DeclarationWithASingleTextStaysOnTwoLines) {
    XMLNode node = XMLNode::createXMLTopNode(L"xml", 1);
    node.addText(L"x");
    EXPECT_EQ(Indented(node), L"<?xml?>\nx\n");
}

TEST_F(XmlRenderTest, NamelessTopWritesItsElementsOnly) {
    XMLNode node = ParseSound(L"<!--c--><a><b/></a>text<d/>");
    EXPECT_EQ(Indented(node), L"<!--c-->\n<a>\n\t<b/>\n</a>\ntext\n<d/>\n");
    EXPECT_EQ(Compact(node), L"<!--c--><a><b/></a>text<d/>");
    EXPECT_EQ(Indented(Parse(L"only text")), L"only text");
    EXPECT_EQ(Indented(Parse(L"")), L"");
}

TEST_F(XmlRenderTest, NamelessChildIsSeenThrough) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    XMLNode nameless = node.addChild(L"");
    nameless.addChild(L"b");
    nameless.addAttribute(L"lost", L"1");
    node.addChild(L"");
    EXPECT_EQ(Indented(node), L"<a>\n\t<b/>\n</a>\n");
    EXPECT_EQ(Compact(node), L"<a><b/></a>");
}

// ---- Attributes, texts, sections ----

TEST_F(XmlRenderTest, AttributeWithoutValueIsItsBareName) {
    EXPECT_EQ(Compact(ParseSound(L"<a x/>")), L"<a x/>");
    EXPECT_EQ(Compact(ParseSound(L"<a x=''/>")), L"<a x=\"\"/>");
}

TEST_F(XmlRenderTest, AttributeWithoutNameIsLeftOut) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    node.addAttribute(L"", L"x");
    node.addAttribute(L"y", L"1");
    EXPECT_EQ(Compact(node), L"<a y=\"1\"/>");
}

TEST_F(XmlRenderTest, TextsAndValuesAreEscaped) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    node.addAttribute(L"k", L"a<b&'\"");
    node.addText(L"a<b&'\"> c");
    EXPECT_EQ(Compact(node), L"<a k=\"a&lt;b&amp;&apos;&quot;\">a&lt;b&amp;&apos;&quot;&gt; c</a>");
    ExpectSameWhenReadAgain(Compact(node));
}

TEST_F(XmlRenderTest, ClearSectionsAreNotEscaped) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    node.addClear(L"<&>");
    node.addClear(L"<raw>", L"", nullptr);
    EXPECT_EQ(Compact(node), L"<a><![CDATA[<&>]]><raw>]]></a>");
}

TEST_F(XmlRenderTest, EmptyTextMakesAnElementThatIsNotEmpty) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    node.addText(L"");
    EXPECT_EQ(Compact(node), L"<a></a>");
    EXPECT_EQ(Indented(node), L"<a></a>\n");
}

TEST_F(XmlRenderTest, ReadingAgainGivesTheSameTree) {
    ExpectSameWhenReadAgain(L"<a/>");
    ExpectSameWhenReadAgain(L"<a>x<b/>y<c>z</c><!--d--></a>");
    ExpectSameWhenReadAgain(
        L"<?xml version='1.0'?><!DOCTYPE r [<!ELEMENT r ANY>]><r k='&lt;' b>&amp;<s> x </s><?p q?></r>");
    ExpectSameWhenReadAgain(L"<a><![CDATA[ x ]]><PRE> y </PRE><Script>z</Script></a>");
}

TEST_F(XmlRenderTest, LongTextsGrowTheResult) {
    for (size_t length : {1000u, 1023u, 1024u, 5000u, 100000u}) {
        std::wstring text(length, L'&');
        XMLNode node = XMLNode::createXMLTopNode(L"a");
        node.addText(text.c_str());
        std::wstring rendered = Compact(node);
        EXPECT_EQ(rendered.size(), length * 5 + 7);
        EXPECT_EQ(ParseSound(rendered).getText(), text);
    }
}

TEST_F(XmlRenderTest, EmptyNodeRendersAsNothing) {
    int size = 77;
    EXPECT_EQ(XMLNode().createXMLString(1, &size), nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(XMLNode().createXMLString(), nullptr);
}

// ---- The escaping tool ----

TEST_F(XmlRenderTest, EscapingTool) {
    ToXMLStringTool tool;
    EXPECT_WSTREQ(tool.toXML(L"a<b&'\">"), L"a&lt;b&amp;&apos;&quot;&gt;");
    wchar_t* first = tool.toXML(L"short");
    EXPECT_WSTREQ(first, L"short");
    EXPECT_EQ(tool.toXML(L"x"), first); // the buffer is kept
    tool.freeBuffer();
    EXPECT_WSTREQ(tool.toXML(L""), L"");
    EXPECT_WSTREQ(tool.toXML(nullptr), L"");
    tool.freeBuffer();
    tool.freeBuffer();
}

TEST_F(XmlRenderTest, EscapingIntoABuffer) {
    wchar_t buffer[32];
    EXPECT_EQ(ToXMLStringTool::toXMLUnSafe(buffer, L"<x>"), buffer);
    EXPECT_WSTREQ(buffer, L"&lt;x&gt;");
    EXPECT_EQ(ToXMLStringTool::lengthXMLString(L"<x>"), 9);
    EXPECT_EQ(ToXMLStringTool::lengthXMLString(L""), 0);
    EXPECT_EQ(ToXMLStringTool::lengthXMLString(nullptr), 0);
    EXPECT_WSTREQ(ToXMLStringTool::toXMLUnSafe(buffer, nullptr), L"");
}

} // namespace
