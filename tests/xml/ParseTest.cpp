#include "XmlTest.h"

namespace {

class XmlParseTest : public XmlTest {};

TEST_F(XmlParseTest, ExampleUsage) {
    XMLResults results;
    XMLNode root = XMLNode::parseString(L"<?xml version=\"1.0\"?>\n"
                                        L"<settings>\n"
                                        L"  <window width='640' hidden/>\n"
                                        L"  <title>Fish &amp; chips</title>\n"
                                        L"  <!-- the last files -->\n"
                                        L"  <file>one.txt</file>\n"
                                        L"  <file>two.txt</file>\n"
                                        L"</settings>",
                                        L"settings", &results);
    ASSERT_EQ(results.error, XMLERROR_NONE);
    EXPECT_WSTREQ(root.getName(), L"settings");
    EXPECT_EQ(xmltoi(root.getChildNode(L"window").getAttribute(L"width"), 0), 640);
    EXPECT_TRUE(root.getChildNode(L"window").isAttributeSet(L"hidden"));
    EXPECT_WSTREQ(root.getChildNode(L"title").getText(), L"Fish & chips");
    EXPECT_WSTREQ(root.getClear().value, L" the last files ");
    int i = 0;
    EXPECT_WSTREQ(root.getChildNode(L"file", &i).getText(), L"one.txt");
    EXPECT_WSTREQ(root.getChildNode(L"file", &i).getText(), L"two.txt");
    EXPECT_TRUE(root.getChildNode(L"file", &i).isEmpty());
    EXPECT_EQ(root.nChildNode(L"file"), 2);
}

// ---- Elements and names ----

TEST_F(XmlParseTest, OneElementIsTheResultItself) {
    XMLNode node = ParseSound(L"  <a/>  ");
    EXPECT_WSTREQ(node.getName(), L"a");
    EXPECT_TRUE(node.getParentNode().isEmpty());
    EXPECT_EQ(m_results.line, 0);
    EXPECT_EQ(m_results.column, 0);
}

TEST_F(XmlParseTest, ElementsBesideEachOtherComeInANamelessTop) {
    XMLNode node = ParseSound(L"<a/><b/>");
    EXPECT_EQ(node.getName(), nullptr);
    EXPECT_EQ(node.nChildNode(), 2);
    EXPECT_WSTREQ(node.getChildNode(1).getName(), L"b");
    EXPECT_WSTREQ(node.getChildNode(1).getParentNode().getChildNode(0).getName(), L"a");
}

TEST_F(XmlParseTest, TextBesideTheOnlyElementKeepsTheTop) {
    XMLNode node = ParseSound(L"text<a/>");
    EXPECT_EQ(node.getName(), nullptr);
    EXPECT_EQ(OrderOf(node), "t0 c0");
    EXPECT_EQ(OrderOf(ParseSound(L"<!--c--><a/>")), "x0 c0");
}

TEST_F(XmlParseTest, TagNamesCloseWhateverTheirCase) {
    XMLNode node = ParseSound(L"<A></a>");
    EXPECT_WSTREQ(node.getName(), L"A");
    ParseSound(L"<Name>x</nAmE >");
}

TEST_F(XmlParseTest, OnlyTheLettersAToZHaveAnotherCase) {
    EXPECT_EQ(Outcome(L"<\u00C9></\u00E9>"), "6 1:8");
    ParseSound(L"<\u00C9></\u00C9>");
}

TEST_F(XmlParseTest, WhiteSpaceMayStandBetweenTheTokensOfATag) {
    XMLNode node = ParseSound(L"< \ta\r\n x = '1'\n y\t>text</ a >");
    EXPECT_WSTREQ(node.getName(), L"a");
    EXPECT_WSTREQ(node.getAttribute(L"x"), L"1");
    EXPECT_TRUE(node.isAttributeSet(L"y"));
    EXPECT_WSTREQ(node.getText(), L"text");
}

TEST_F(XmlParseTest, NamesHoldAnythingButDelimiters) {
    XMLNode node = ParseSound(L"<a/b.c-d:e?f!g\u00E9\"h 1/2 'x></a/b.c-d:e?f!g\u00E9\"h>");
    EXPECT_WSTREQ(node.getName(), L"a/b.c-d:e?f!g\u00E9\"h");
    EXPECT_WSTREQ(node.getAttributeName(0), L"1/2");
    EXPECT_WSTREQ(node.getAttributeName(1), L"'x");
}

TEST_F(XmlParseTest, NamesOfEveryLengthAreWhole) {
    for (int length = 1; length < 100; ++length) {
        std::wstring name(static_cast<size_t>(length), L'n');
        XMLNode node =
            ParseSound(L"<" + name + L" " + name + L"a='" + name + L"v'>" + name + L"t</" + name + L">");
        ASSERT_EQ(node.getName(), name);
        ASSERT_EQ(node.getAttributeName(), name + L"a");
        ASSERT_EQ(node.getAttributeValue(), name + L"v");
        ASSERT_EQ(node.getText(), name + L"t");
    }
}

TEST_F(XmlParseTest, AQuoteThatNothingClosesBeginsAName) {
    EXPECT_WSTREQ(ParseSound(L"<\"a></\"a>").getName(), L"\"a");
}

TEST_F(XmlParseTest, EndTagMayNameMoreThanTheElementBehindADelimiter) {
    // Kept: the name ends at "/", so that this closes "a".
    EXPECT_WSTREQ(ParseSound(L"<a></a/b>").getName(), L"a");
}

TEST_F(XmlParseTest, ShortAndLongFormsOfEmptyElementsAreTheSame) {
    EXPECT_EQ(ParseSound(L"<a/>").nElement(), 0);
    EXPECT_EQ(ParseSound(L"<a></a>").nElement(), 0);
    EXPECT_EQ(ParseSound(L"<a / ></a>").nAttribute(), 1); // a lone "/" is a name
}

// ---- Attributes ----

TEST_F(XmlParseTest, AttributesWithAndWithoutValue) {
    XMLNode node = Parse(L"<a x=1 y>");
    EXPECT_EQ(m_results.error, 1);
    ASSERT_EQ(node.nAttribute(), 2);
    EXPECT_WSTREQ(node.getAttributeName(0), L"x");
    EXPECT_WSTREQ(node.getAttributeValue(0), L"1");
    EXPECT_WSTREQ(node.getAttributeName(1), L"y");
    EXPECT_EQ(node.getAttributeValue(1), nullptr);
}

TEST_F(XmlParseTest, ValueAndQuotes) {
    XMLNode node = ParseSound(L"<a b=\"it's\" c='say \"x\"' d=\"\" e = plain/>");
    EXPECT_WSTREQ(node.getAttribute(L"b"), L"it's");
    EXPECT_WSTREQ(node.getAttribute(L"c"), L"say \"x\"");
    EXPECT_WSTREQ(node.getAttribute(L"d"), L"");
    EXPECT_WSTREQ(node.getAttribute(L"e"), L"plain");
}

TEST_F(XmlParseTest, QuotedValueKeepsItsWhiteSpaceAndDelimiters) {
    EXPECT_WSTREQ(ParseSound(L"<a b=\" x\n=/> \"/>").getAttribute(L"b"), L" x\n=/> ");
}

TEST_F(XmlParseTest, UnclosedQuoteMakesAPlainValue) {
    XMLNode node = ParseSound(L"<a b=\"x c=1></a>");
    EXPECT_WSTREQ(node.getAttribute(L"b"), L"\"x");
    EXPECT_WSTREQ(node.getAttribute(L"c"), L"1");
}

TEST_F(XmlParseTest, PlainValueHoldsSlashes) {
    XMLNode node = ParseSound(L"<a b=c/d/e/>");
    EXPECT_WSTREQ(node.getAttribute(L"b"), L"c/d/e");
}

TEST_F(XmlParseTest, AttributesOfOneNameAreAllKept) {
    XMLNode node = ParseSound(L"<a x='1' X='2'/>");
    EXPECT_EQ(node.nAttribute(), 2);
    EXPECT_WSTREQ(node.getAttribute(L"x", 1), L"2");
}

TEST_F(XmlParseTest, NameWithoutValueAtTheEndOfTheTextIsLost) {
    XMLNode node = Parse(L"<a x='1' y");
    EXPECT_EQ(m_results.error, 1);
    EXPECT_EQ(node.nAttribute(), 1);
}

// ---- Declarations ----

TEST_F(XmlParseTest, DeclarationAtTheTopHoldsWhatFollows) {
    XMLNode node = ParseSound(L"<?xml version=\"1.0\" encoding='utf-8'?><root/>");
    EXPECT_TRUE(node.isDeclaration());
    EXPECT_WSTREQ(node.getName(), L"xml");
    EXPECT_EQ(node.nAttribute(), 2);
    EXPECT_WSTREQ(node.getAttribute(L"encoding"), L"utf-8");
    EXPECT_WSTREQ(node.getChildNode().getName(), L"root");
}

TEST_F(XmlParseTest, DeclarationInsideAnElementIsEmpty) {
    XMLNode node = ParseSound(L"<a><?pi x?><b/></a>");
    ASSERT_EQ(node.nChildNode(), 2);
    EXPECT_TRUE(node.getChildNode(0).isDeclaration());
    EXPECT_WSTREQ(node.getChildNode(0).getAttributeName(), L"x");
    EXPECT_EQ(node.getChildNode(0).nElement(), 0);
    EXPECT_WSTREQ(node.getChildNode(1).getName(), L"b");
}

TEST_F(XmlParseTest, QuestionMarkOfADeclarationIsDropped) {
    XMLNode node = ParseSound(L"<?xml a=1?><r/>");
    EXPECT_WSTREQ(node.getAttribute(L"a"), L"1");
    EXPECT_WSTREQ(ParseSound(L"<?xml a='1?'?><r/>").getAttribute(L"a"), L"1?");
    EXPECT_WSTREQ(ParseSound(L"<?xml a=?><r/>").getAttribute(L"a"), L"");
    EXPECT_EQ(ParseSound(L"<?xml a ?><r/>").nAttribute(), 1);
}

TEST_F(XmlParseTest, NameOfADeclarationKeepsItsQuestionMark) {
    // Kept: only what follows the name is looked at for "?".
    EXPECT_WSTREQ(ParseSound(L"<?xml?><r/>").getName(), L"xml?");
}

TEST_F(XmlParseTest, OpenDeclarationIsNoWarning) {
    EXPECT_EQ(Outcome(L"<?xml version='1.0'"), "0 0:0");
}

// ---- Texts ----

TEST_F(XmlParseTest, TextsAreTrimmedAndWhiteOnesDropped) {
    XMLNode node = ParseSound(L"<a> \t\r\n one two \n<b/> \n <c/>x</a>");
    EXPECT_EQ(OrderOf(node), "t0 c0 c1 t1");
    EXPECT_WSTREQ(node.getText(0), L"one two");
    EXPECT_WSTREQ(node.getText(1), L"x");
}

TEST_F(XmlParseTest, OtherBlanksAreNoWhiteSpace) {
    EXPECT_WSTREQ(ParseSound(L"<a>\u00A0x\v</a>").getText(), L"\u00A0x\v");
}

TEST_F(XmlParseTest, WhiteSpaceIsKeptOnDemand) {
    XMLNode::setGlobalOptions(XMLNode::encoding_keep, 1, 0, 1);
    XMLNode node = ParseSound(L"<a> x <b/> <c></c></a>");
    EXPECT_EQ(OrderOf(node), "t0 c0 t1 c1");
    EXPECT_WSTREQ(node.getText(0), L" x ");
    EXPECT_WSTREQ(node.getText(1), L" ");
    EXPECT_EQ(node.getChildNode(1).nText(), 0); // an empty text is never added
}

TEST_F(XmlParseTest, DelimitersOutsideTagsAreText) {
    EXPECT_WSTREQ(ParseSound(L"<a>x = \"y\" > 'z /> ?></a>").getText(), L"x = \"y\" > 'z /> ?>");
    EXPECT_WSTREQ(ParseSound(L"<a>don't<b/>won't</a>").getText(1), L"won't");
}

TEST_F(XmlParseTest, TextOfEveryLengthAtEveryAlignmentIsWhole) {
    for (size_t length = 1; length < 70; ++length) {
        for (size_t before = 0; before < 9; ++before) {
            std::wstring text(length, L't');
            XMLNode node = ParseSound(std::wstring(before, L' ') + L"<a>" + text + L"</a>");
            ASSERT_EQ(node.getText(), text);
        }
    }
}

// ---- Entities ----

TEST_F(XmlParseTest, NamedEntitiesInTextsAndValues) {
    XMLNode node = ParseSound(L"<a b='&lt;&gt;&amp;&quot;&apos;'>x&lt;y &amp;&amp; z&gt;</a>");
    EXPECT_WSTREQ(node.getAttribute(L"b"), L"<>&\"'");
    EXPECT_WSTREQ(node.getText(), L"x<y && z>");
}

TEST_F(XmlParseTest, NamedEntitiesWhateverTheirCase) {
    EXPECT_WSTREQ(ParseSound(L"<a>&AMP;&Lt;&qUOT;</a>").getText(), L"&<\"");
}

TEST_F(XmlParseTest, NumericReferences) {
    EXPECT_WSTREQ(ParseSound(L"<a>&#65;&#x41;&#X4a;&#x4A;&#00066;</a>").getText(), L"AAJJB");
}

TEST_F(XmlParseTest, NumericReferencesAreOneUnitWithoutRangeCheck) {
    XMLNode node = ParseSound(L"<a>&#xD800;&#4294967361;&#x1F600;</a>");
    const wchar_t* text = node.getText();
    EXPECT_EQ(text[0], static_cast<wchar_t>(0xD800));
    EXPECT_EQ(text[1], L'A'); // 2^32 + 65
    EXPECT_EQ(text[2], static_cast<wchar_t>(0x1F600));
    EXPECT_EQ(text[3], 0);
}

TEST_F(XmlParseTest, EmptyNumericReferenceIsCodeZero) {
    EXPECT_WSTREQ(ParseSound(L"<a>x&#;y</a>").getText(), L"x");
    EXPECT_WSTREQ(ParseSound(L"<a>x&#x;y</a>").getText(), L"x");
    EXPECT_WSTREQ(ParseSound(L"<a b='&#;'/>").getAttribute(L"b"), L"");
}

TEST_F(XmlParseTest, ReferenceToABlankIsNotTrimmed) {
    EXPECT_WSTREQ(ParseSound(L"<a> &#32;x&#32; </a>").getText(), L" x ");
}

TEST_F(XmlParseTest, ValueWithoutQuotesIsDecoded) {
    EXPECT_WSTREQ(ParseSound(L"<a b=x&amp;y/>").getAttribute(L"b"), L"x&y");
}

TEST_F(XmlParseTest, NamesAreNotDecoded) {
    XMLNode node = ParseSound(L"<a&amp; b&lt;='1'/>");
    EXPECT_WSTREQ(node.getName(), L"a&amp;");
    EXPECT_WSTREQ(node.getAttributeName(), L"b&lt;");
}

TEST_F(XmlParseTest, ManyEntitiesMakeALongText) {
    std::wstring source = L"<a>";
    for (int i = 0; i < 5000; ++i)
        source += L"&amp;";
    EXPECT_EQ(ParseSound(source + L"</a>").getText(), std::wstring(5000, L'&'));
}

// ---- Clear sections ----

TEST_F(XmlParseTest, EveryClearSection) {
    struct {
        const wchar_t* source;
        const wchar_t* value;
        const wchar_t* opener;
        const wchar_t* closer;
    } cases[] = {
        {L"<![CDATA[a<b&c]]>", L"a<b&c", L"<![CDATA[", L"]]>"},
        {L"<!-- c -- > -->", L" c -- > ", L"<!--", L"-->"},
        {L"<PRE> <b> </PRE>", L" <b> ", L"<PRE>", L"</PRE>"},
        {L"<Script>if (a<b) x();</Script>", L"if (a<b) x();", L"<Script>", L"</Script>"},
        {L"<!DOCTYPE html>", L" html", L"<!DOCTYPE", L">"},
        {L"<!DOCTYPE x [ <!ENTITY a \"b\"> ]>", L" x [ <!ENTITY a \"b\"> ", L"<!DOCTYPE", L"]>"},
    };
    for (const auto& one : cases) {
        XMLNode node = ParseSound(std::wstring(L"<a>") + one.source + L"</a>");
        ASSERT_EQ(node.nClear(), 1);
        XMLClear clear = node.getClear();
        EXPECT_WSTREQ(clear.value, one.value);
        EXPECT_WSTREQ(clear.opener, one.opener);
        EXPECT_WSTREQ(clear.closer, one.closer);
        EXPECT_EQ(Compact(node), std::wstring(L"<a>") + one.source + L"</a>");
    }
}

TEST_F(XmlParseTest, EmptyClearSectionHoldsAnEmptyText) {
    EXPECT_WSTREQ(ParseSound(L"<a><![CDATA[]]>x</a>").getClear().value, L"");
    EXPECT_WSTREQ(ParseSound(L"<a><!----></a>").getClear().value, L"");
    EXPECT_EQ(Outcome(L"<a><!--></a>"), "7 1:8"); // the closer does not overlap the opener
}

TEST_F(XmlParseTest, ClosersAreFoundBehindTheirOwnBeginnings) {
    EXPECT_WSTREQ(ParseSound(L"<a><![CDATA[]]]]>]]></a>").getClear().value, L"]]");
    EXPECT_WSTREQ(ParseSound(L"<a><!-- - ---></a>").getClear().value, L" - -");
}

TEST_F(XmlParseTest, OpenersAreComparedWithCase) {
    XMLNode node = ParseSound(L"<pre><b/></pre>");
    EXPECT_WSTREQ(node.getName(), L"pre");
    EXPECT_EQ(node.nClear(), 0);
    EXPECT_EQ(ParseSound(L"<a><Script x='1'></Script></a>").nChildNode(), 1);
    EXPECT_WSTREQ(ParseSound(L"<!doctype/>").getName(), L"!doctype");
}

TEST_F(XmlParseTest, EntitiesOfADoctypeAreNeverExpanded) {
    XMLNode node = Parse(L"<!DOCTYPE x [<!ENTITY a \"&b;&b;\">]><x>&a;</x>");
    EXPECT_EQ(m_results.error, XMLERROR_UNKNOWN_ENTITY);
    EXPECT_TRUE(node.isEmpty());
}

// ---- Comments between texts ----

TEST_F(XmlParseTest, CommentBetweenTextsIsRemovedAndTheTextsJoined) {
    XMLNode node = ParseSound(L"<a>a<!-- c -->b</a>");
    EXPECT_EQ(OrderOf(node), "t0");
    EXPECT_WSTREQ(node.getText(), L"ab");
}

TEST_F(XmlParseTest, JoinedTextsHaveNoSeparator) {
    EXPECT_WSTREQ(ParseSound(L"<a>a <!-- c --> b<!--d-->c</a>").getText(), L"abc");
}

TEST_F(XmlParseTest, CommentsThatStandElsewhereStay) {
    EXPECT_EQ(OrderOf(ParseSound(L"<a><!--c-->b</a>")), "x0 t0");
    EXPECT_EQ(OrderOf(ParseSound(L"<a>b<!--c--></a>")), "t0 x0");
    EXPECT_EQ(OrderOf(ParseSound(L"<a>b<!--c--><!--d-->e</a>")), "t0 x0 x1 t1");
    EXPECT_EQ(OrderOf(ParseSound(L"<a>b<!--c--><d/>e</a>")), "t0 x0 c0 t1");
    EXPECT_EQ(OrderOf(ParseSound(L"<a>b<![CDATA[c]]>e</a>")), "t0 x0 t1");
    EXPECT_EQ(OrderOf(ParseSound(L"<a>b<!--c--> </a>")), "t0 x0");
}

TEST_F(XmlParseTest, CommentsAreKeptOnDemand) {
    XMLNode::setGlobalOptions(XMLNode::encoding_keep, 1, 1, 0);
    EXPECT_EQ(OrderOf(ParseSound(L"<a>a<!-- c -->b</a>")), "t0 x0 t1");
}

TEST_F(XmlParseTest, ManyJoinsMakeOneText) {
    std::wstring source = L"<a>";
    std::wstring text;
    for (int i = 0; i < 3000; ++i) {
        source += L"piece" + std::to_wstring(i) + L"<!--" + std::wstring(static_cast<size_t>(i % 97), L'-') +
                  L" -->";
        text += L"piece" + std::to_wstring(i);
    }
    XMLNode node = ParseSound(source + L"</a>");
    EXPECT_EQ(node.getText(), text);
    EXPECT_EQ(OrderOf(node), "t0 x0"); // the last comment has no text behind it
}

TEST_F(XmlParseTest, LargeCommentsBetweenTextsJoinToo) {
    std::wstring source = L"<a>";
    std::wstring text;
    for (size_t i = 0; i < 40; ++i) {
        source += std::wstring(i * 37, L'x') + L"y<!--" + std::wstring(i * 1000, L'c') + L"-->";
        text += std::wstring(i * 37, L'x') + L"y";
    }
    EXPECT_EQ(ParseSound(source + L"</a>").getText(), text);
}

TEST_F(XmlParseTest, JoinedTextGoesOnWhereAnEmptyReferenceEndedIt) {
    EXPECT_WSTREQ(ParseSound(L"<a>a&#;b<!--c-->d</a>").getText(), L"ad");
    EXPECT_WSTREQ(ParseSound(L"<a>a<!--c-->b&#;c<!--c-->d</a>").getText(), L"abd");
}

// ---- The element that is asked for ----

TEST_F(XmlParseTest, TagLooksThroughDeclarations) {
    XMLNode node = ParseSound(L"<a/>");
    node = Parse(L"<?xml version=\"1.0\"?><root/>", L"ROOT");
    EXPECT_EQ(m_results.error, 0);
    EXPECT_WSTREQ(node.getName(), L"root");
    EXPECT_TRUE(node.getParentNode().isEmpty());
    EXPECT_WSTREQ(Parse(L"<?xml v='1'?><!DOCTYPE x>text<root>y</root>", L"root").getText(), L"y");
}

TEST_F(XmlParseTest, TagSearchDoesNotComeBackOutOfADeclaration) {
    // Kept: the search goes on inside the second declaration, which is empty.
    EXPECT_EQ(Outcome(L"<?xml v='1'?><?two v='2'?><root/>", L"root"), "11 0:0");
}

TEST_F(XmlParseTest, TagMayBeTheResultOrOneOfItsChildren) {
    EXPECT_WSTREQ(Parse(L"<a x='1'><a x='2'/></a>", L"a").getAttribute(L"x"), L"1");
    EXPECT_WSTREQ(Parse(L"<a/><b>y</b>", L"b").getText(), L"y");
    EXPECT_WSTREQ(Parse(L"<a><b>y</b></a>", L"b").getText(), L"y");
    EXPECT_TRUE(Parse(L"<a><c><b>y</b></c></a>", L"b").isEmpty());
    EXPECT_WSTREQ(Parse(L"<a/>", L"").getName(), L"a");
}

// ---- Error results: code, line and column ----

TEST_F(XmlParseTest, NoErrorHasNoPlace) {
    EXPECT_EQ(Outcome(L"<a>\n</a>"), "0 0:0");
}

TEST_F(XmlParseTest, Error1EndTagOfAnAncestorClosesWhatIsOpenInside) {
    EXPECT_EQ(Outcome(L"<a><b></a>"), "1 1:11");
    XMLNode node = Parse(L"<a><b><c>x</a>");
    EXPECT_EQ(Compact(node), L"<a><b><c>x</c></b></a>");
    // Parsing goes on behind it, in the parent of the element that was named.
    EXPECT_EQ(Compact(Parse(L"<r><a><b></a><d/></r>")), L"<r><a><b/></a><d/></r>");
    EXPECT_EQ(m_results.column, 14);
}

TEST_F(XmlParseTest, Error1ElementLeftOpen) {
    EXPECT_EQ(Outcome(L"<a>"), "1 1:4");
    EXPECT_EQ(Outcome(L"<a>\n  <b>x"), "1 2:7");
    EXPECT_EQ(Compact(Parse(L"<a><b>x")), L"<a><b>x</b></a>");
    EXPECT_EQ(Outcome(L"<a x='1'"), "1 1:9");
    EXPECT_EQ(Outcome(L"<a x="), "1 1:6");
    EXPECT_EQ(Outcome(L"<a"), "1 1:3");
}

TEST_F(XmlParseTest, Error1EndTagBehindTheLastElement) {
    EXPECT_EQ(Outcome(L"<a/></x>"), "1 1:9");
    EXPECT_WSTREQ(Parse(L"<a/></x>").getName(), L"a");
    EXPECT_EQ(Parse(L"<a/></x><b/>").nChildNode(), 0); // nothing is read behind it
}

TEST_F(XmlParseTest, Error2NoElement) {
    EXPECT_EQ(Outcome(L""), "2 1:1");
    EXPECT_EQ(Outcome(L"  \n "), "2 2:2");
    EXPECT_EQ(Outcome(L"text"), "2 1:5");
    EXPECT_EQ(Outcome(L"<!-- c -->"), "2 1:11");
    EXPECT_WSTREQ(Parse(L" text ").getText(), L"text");
    EXPECT_EQ(Parse(L"").nElement(), 0);
}

TEST_F(XmlParseTest, Error2CoversOtherErrorsOfATextWithoutElement) {
    EXPECT_EQ(Outcome(L"x <"), "2 1:4");
    EXPECT_EQ(Outcome(L"a &b; c"), "2 1:8");
    EXPECT_EQ(Outcome(L"</>"), "2 1:4");
    EXPECT_EQ(Outcome(L"<!--c--></x>"), "2 1:13");
    XMLNode node = Parse(L"a<!--c-->b &x; <d");
    EXPECT_EQ(m_results.error, 2);
    EXPECT_EQ(OrderOf(node), "t0 x0");
    EXPECT_WSTREQ(node.getText(), L"a");
    EXPECT_WSTREQ(node.getClear().value, L"c");
}

TEST_F(XmlParseTest, Error4NoNameBehindTheBracket) {
    EXPECT_EQ(Outcome(L"<a><></a>"), "4 1:6");
    EXPECT_EQ(Outcome(L"<a><=b/></a>"), "4 1:6");
    EXPECT_EQ(Outcome(L"<a><\"b\"/></a>"), "4 1:8");
    EXPECT_EQ(Outcome(L"<a><<b/></a>"), "4 1:6");
    EXPECT_EQ(Outcome(L"<a>\n< <!--c--></a>"), "4 2:7");
    EXPECT_EQ(Outcome(L"<a><?"), "4 1:6");
    EXPECT_EQ(Outcome(L"<a><"), "4 1:5");
    EXPECT_EQ(Outcome(L"<a>< />"), "4 1:8");
}

TEST_F(XmlParseTest, Error5MalformedEndTag) {
    EXPECT_EQ(Outcome(L"<a></></a>"), "5 1:7");
    EXPECT_EQ(Outcome(L"<a></ 'a'></a>"), "5 1:10");
    EXPECT_EQ(Outcome(L"<a></a x>"), "5 1:9");
    EXPECT_EQ(Outcome(L"<a></a/>"), "5 1:9");
    EXPECT_EQ(Outcome(L"<a></a"), "5 1:7");
    EXPECT_EQ(Outcome(L"<a></a<b>"), "5 1:8");
}

TEST_F(XmlParseTest, Error6EndTagThatNamesNothingOpen) {
    EXPECT_EQ(Outcome(L"</x>"), "6 1:5");
    EXPECT_EQ(Outcome(L"text</x>"), "6 1:9");
    EXPECT_EQ(Outcome(L"<a></b>"), "6 1:8");
    EXPECT_EQ(Outcome(L"<a><b>\n</c></b></a>"), "6 2:5");
    EXPECT_EQ(Outcome(L"<a></ab>"), "6 1:9");
    EXPECT_EQ(Outcome(L"<ab></a>"), "6 1:9");
}

TEST_F(XmlParseTest, Error7UnclosedSection) {
    EXPECT_EQ(Outcome(L"<a><![CDATA[x</a>"), "7 1:13");
    EXPECT_EQ(Outcome(L"<a><!--x"), "7 1:8");
    EXPECT_EQ(Outcome(L"<a><!DOCTYPE"), "7 1:13");
    EXPECT_EQ(Outcome(L"<a><!DOCTYPE x [ <b> "), "7 1:13");
    EXPECT_EQ(Outcome(L"<a><PRE></pre>"), "7 1:9");
    EXPECT_EQ(Outcome(L"<![CDATA["), "7 1:10");
    EXPECT_EQ(Outcome(L"<![CDATA[x"), "7 1:10");
}

TEST_F(XmlParseTest, Error8UnexpectedInsideATag) {
    EXPECT_EQ(Outcome(L"<a <b/>"), "8 1:5");
    EXPECT_EQ(Outcome(L"<a ='1'>"), "8 1:5");
    EXPECT_EQ(Outcome(L"<a 'x'>"), "8 1:7");
    EXPECT_EQ(Outcome(L"<a x</a>"), "8 1:7");
    EXPECT_EQ(Outcome(L"<a x 'y'>"), "8 1:9");
    EXPECT_EQ(Outcome(L"<a x=>"), "8 1:7");
    EXPECT_EQ(Outcome(L"<a x=/>"), "8 1:8");
    EXPECT_EQ(Outcome(L"<a x==1>"), "8 1:7");
    EXPECT_EQ(Outcome(L"<a x=<!--c-->"), "8 1:10");
    EXPECT_EQ(Outcome(L"<a <?b"), "8 1:6");
}

TEST_F(XmlParseTest, Error9NullText) {
    XMLResults results = {XMLERROR_NONE, 5, 5};
    EXPECT_TRUE(XMLNode::parseString(nullptr, nullptr, &results).isEmpty());
    EXPECT_EQ(results.error, 9);
    EXPECT_EQ(results.line, 0);
    EXPECT_EQ(results.column, 0);
}

TEST_F(XmlParseTest, Error11ElementNotThere) {
    EXPECT_EQ(Outcome(L"<a/>", L"b"), "11 0:0");
    EXPECT_EQ(Outcome(L"", L"b"), "11 0:0");
    EXPECT_EQ(Outcome(L"<a>", L"b"), "11 0:0");
    EXPECT_EQ(Outcome(L"<a></b>", L"b"), "6 1:8"); // other errors come first
}

TEST_F(XmlParseTest, Error12UnknownEntity) {
    EXPECT_EQ(Outcome(L"<a>&foo;</a>"), "12 1:11");
    EXPECT_EQ(Outcome(L"<a>x & y\n<b/></a>"), "12 2:2");
    EXPECT_EQ(Outcome(L"<a>&amp</a>"), "12 1:10");
    EXPECT_EQ(Outcome(L"<a>&#12</a>"), "12 1:10");
    EXPECT_EQ(Outcome(L"<a>&#</a>"), "12 1:8");
    EXPECT_EQ(Outcome(L"<a>&#x4G;</a>"), "12 1:12");
    EXPECT_EQ(Outcome(L"<a>&#12 3;</a>"), "12 1:13");
    EXPECT_EQ(Outcome(L"<a>&#1<!--;-->"), "12 1:11");
    EXPECT_EQ(Outcome(L"<a>&"), "12 1:5");
    EXPECT_EQ(Outcome(L"<a b='&x;'/>"), "12 1:11");
    EXPECT_EQ(Outcome(L"<a b='&#65'/>"), "12 1:12");
    EXPECT_EQ(Outcome(L"<a b=&x; c/>"), "12 1:10");
    EXPECT_EQ(Outcome(L"<a b='&amp;&'>"), "12 1:14");
}

TEST_F(XmlParseTest, ColumnsCountUtf16Units) {
    // One character natively, two units on Windows: the same column.
    EXPECT_EQ(Outcome(L"<a>\U0001F600"), "1 1:6");
}

TEST_F(XmlParseTest, ResultsMayBeNull) {
    EXPECT_WSTREQ(XMLNode::parseString(L"<a/>").getName(), L"a");
    EXPECT_TRUE(XMLNode::parseString(L"<a></b>").isEmpty());
    EXPECT_TRUE(XMLNode::parseString(nullptr).isEmpty());
}

TEST_F(XmlParseTest, EveryErrorHasItsText) {
    const wchar_t* texts[] = {
        L"No error",
        L"Warning: Unmatched end tag",
        L"Warning: No XML tag found",
        L"Error: No XML data",
        L"Error: Missing start tag name",
        L"Error: Missing end tag name",
        L"Error: Unmatched end tag",
        L"Error: Unmatched clear tag end",
        L"Error: Unexpected token found",
        L"Error: No elements found",
        L"Error: File not found",
        L"Error: First Tag not found",
        L"Error: Unknown character entity",
        L"Error: Character code above 255 is forbidden in MultiByte char mode.",
        L"Error: unable to convert between WideChar and MultiByte chars",
        L"Error: unable to open file for writing",
        L"Error: cannot write into file",
        L"Warning: Base64-string length is not a multiple of 4",
        L"Error: Base64-string contains an illegal character",
        L"Warning: Base64-string is truncated",
        L"Error: Base64 decode output buffer is too small",
    };
    for (int code = 0; code <= 20; ++code)
        EXPECT_WSTREQ(XMLNode::getError(static_cast<XMLError>(code)), texts[code]);
    EXPECT_WSTREQ(XMLNode::getError(static_cast<XMLError>(21)), L"Unknown");
    EXPECT_WSTREQ(XMLNode::getError(static_cast<XMLError>(-1)), L"Unknown");
}

// ---- Options ----

TEST_F(XmlParseTest, SettingOptionsAnswersZeroAndGuessingNothing) {
    EXPECT_EQ(XMLNode::setGlobalOptions(XMLNode::encoding_ANSI, 1, 1, 1), 0);
    unsigned char bytes[] = {0xFF, 0xFE};
    EXPECT_EQ(XMLNode::guessCharEncoding(bytes, 2, 1), XMLNode::encoding_keep);
}

} // namespace
