// Documents made to exhaust the stack, memory or patience.
#include "XmlTest.h"

#include "temp_folder.h"

#include <iterator>
#include <random>

namespace {

class XmlHostileTest : public XmlTest {
protected:
    static constexpr size_t Deep = 1000000;

    static std::wstring Repeat(const std::wstring& piece, size_t times) {
        std::wstring text;
        text.reserve(piece.size() * times);
        for (size_t i = 0; i < times; ++i)
            text += piece;
        return text;
    }

    static std::wstring Nested(size_t depth) { return Repeat(L"<a>", depth) + Repeat(L"</a>", depth); }
};

TEST_F(XmlHostileTest, DeepDocumentIsParsedCopiedRenderedAndDestroyed) {
    std::wstring text = Nested(Deep);
    XMLNode node = ParseSound(text);
    XMLNode copy = node.deepCopy();
    ASSERT_FALSE(copy.isEmpty());
    node = XMLNode();
    text.replace(Deep * 3 - 3, 7, L"<a/>");
    EXPECT_EQ(Compact(copy), text);
}

TEST_F(XmlHostileTest, DeepTreeThatWasChangedIsDestroyed) {
    XMLNode node = ParseSound(Nested(Deep));
    node.addAttribute(L"x", L"1"); // now every record has to be visited
    XMLNode held = node.getChildNode();
    node = XMLNode();
    EXPECT_EQ(held.nChildNode(), 1);
}

TEST_F(XmlHostileTest, DeepTreeThatWasBuiltIsDestroyed) {
    XMLNode top = XMLNode::createXMLTopNode(L"a");
    XMLNode node = top;
    for (size_t i = 0; i < Deep / 4; ++i)
        node = node.addChild(L"a");
    node = XMLNode();
    EXPECT_EQ(Compact(top).size(), (Deep / 4) * 7 + 4);
}

TEST_F(XmlHostileTest, DeepDocumentLeftOpen) {
    XMLNode node = Parse(Repeat(L"<a>", Deep));
    EXPECT_EQ(m_results.error, 1);
    EXPECT_FALSE(node.isEmpty());
}

TEST_F(XmlHostileTest, DeepDocumentClosedByOneEndTag) {
    XMLNode node = Parse(L"<r>" + Repeat(L"<a>", Deep) + L"</r>");
    EXPECT_EQ(m_results.error, 1);
    EXPECT_WSTREQ(node.getName(), L"r");
    EXPECT_EQ(Outcome(Repeat(L"<a>", Deep) + L"</r>"), "6 1:3000005");
}

TEST_F(XmlHostileTest, IndentationThatNobodyCanHoldIsRefused) {
    XMLNode node = ParseSound(Nested(Deep));
    int size = 1;
    EXPECT_EQ(node.createXMLString(1, &size), nullptr);
    EXPECT_EQ(size, 0);
    TempFolder folder;
    std::wstring name = folder.Write(L"deep.xml", "old");
    EXPECT_EQ(node.writeToFile(name.c_str()), XMLERROR_CANNOT_WRITE);
    EXPECT_EQ(folder.Read(L"deep.xml"), "old");
}

TEST_F(XmlHostileTest, HugeNamesValuesAndTexts) {
    std::wstring huge(3000000, L'n');
    XMLNode node = ParseSound(L"<" + huge + L" " + huge + L"='" + huge + L"'>" + huge + L"</" + huge + L">");
    EXPECT_EQ(node.getName(), huge);
    EXPECT_EQ(node.getAttributeName(), huge);
    EXPECT_EQ(node.getAttributeValue(), huge);
    EXPECT_EQ(node.getText(), huge);
}

TEST_F(XmlHostileTest, ManyAttributes) {
    XMLNode node = ParseSound(L"<a" + Repeat(L" x='1'", 200000) + L"/>");
    EXPECT_EQ(node.nAttribute(), 200000);
}

TEST_F(XmlHostileTest, TruncatedAtEveryUnit) {
    std::wstring text =
        L"<?xml version=\"1.0\"?><!DOCTYPE r [<!ENTITY e \"f\">]>\n<r a='1' b=\"&lt;&#65;\" c>t&amp;"
        L"<![CDATA[d]]>u<!-- e -->v<PRE>w</PRE><Script>x</Script><?p q='r'?><s/><t>y</T></r>\n";
    for (size_t length = 0; length <= text.size(); ++length) {
        // A block of its own, so that the address checker sees every step too far.
        wchar_t* cut = stringDup(text.c_str(), static_cast<int>(length ? length : 1));
        cut[length] = 0;
        XMLResults results;
        XMLNode node = XMLNode::parseString(cut, nullptr, &results);
        EXPECT_EQ(node.isEmpty(), results.error > 2) << length;
        freeXMLString(cut);
        if (!node.isEmpty())
            Indented(node.deepCopy());
    }
}

TEST_F(XmlHostileTest, RandomTextsMadeOfMarkup) {
    const wchar_t* pieces[] = {L"<",         L">",         L"</",  L"/>",   L"<?",    L"?>",  L"=",
                               L"\"",        L"'",         L"a",   L"b",    L" ",     L"\n",  L"&",
                               L"&lt;",      L"&#",        L";",   L"<!--", L"-->",   L"<a>", L"</a>",
                               L"<![CDATA[", L"]]>",       L"<b ", L"?",    L"<PRE>", L"/",   L"x=1",
                               L"</PRE>",    L"<!DOCTYPE", L"]>",  L"text", L"&#65;"};
    std::mt19937 random(62);
    for (int round = 0; round < 20000; ++round) {
        std::wstring text;
        for (unsigned count = random() % 30; count; --count)
            text += pieces[random() % std::size(pieces)];
        wchar_t* own = stringDup(text.c_str());
        XMLResults results;
        XMLNode node = XMLNode::parseString(own, nullptr, &results);
        ASSERT_EQ(node.isEmpty(), results.error > 2);
        freeXMLString(own);
        if (!node.isEmpty()) {
            ASSERT_EQ(Compact(node.deepCopy()), Compact(node));
        }
    }
}

TEST_F(XmlHostileTest, FloodsOfEveryKindOfMarkup) {
    // How the time grows with the number is measured by the benchmarks (xml/flood-*).
    const struct {
        const wchar_t* piece;
        int elements; // in <r>, for each piece
    } floods[] = {{L"<a b='1'/>", 1}, {L"<!--c--><!--d-->", 2}, {L"<a>'</a>", 1},     {L"<![CDATA[]]]]>", 1},
                  {L"<?a b?>\n", 1},  {L"<b c d e f g/>", 1},   {L"<a>&#65;</a>", 1}, {L"<a x=\">'\"/>", 1},
                  {L" \t \n \r ", 0}, {L"<a \">x></a>", 1},     {L"<a></A>", 1}};
    for (const auto& flood : floods) {
        XMLNode node = ParseSound(L"<r>" + Repeat(flood.piece, 20000) + L"</r>");
        EXPECT_EQ(node.nElement(), flood.elements * 20000) << flood.piece;
    }
    EXPECT_EQ(ParseSound(L"<r>" + Repeat(L"&amp;", 200000) + L"</r>").getText(), std::wstring(200000, L'&'));
    EXPECT_EQ(ParseSound(L"<r>" + Repeat(L"x<!--c-->", 200000) + L"</r>").getText(),
              std::wstring(200000, L'x'));
}

} // namespace
