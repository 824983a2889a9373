#include "XmlTest.h"

#include <cstdlib>
#include <vector>

namespace {

class XmlEditTest : public XmlTest {
protected:
    static wchar_t* Own(const wchar_t* text) { return stringDup(text); }
};

TEST_F(XmlEditTest, ExampleUsage) {
    XMLNode document = XMLNode::createXMLTopNode(L"xml", 1);
    document.addAttribute(L"version", L"1.0");
    XMLNode list = document.addChild(L"list");
    list.addChild(L"item").addText(L"second");
    list.addChild(L"item", 0, 0).addText(L"first");
    list.addClear(L" end ", L"<!--", L"-->");
    list.updateAttribute(L"2", L"count", L"count");
    EXPECT_EQ(Indented(document), L"<?xml version=\"1.0\"?>\n"
                                  L"<list count=\"2\">\n"
                                  L"\t<item>first</item>\n"
                                  L"\t<item>second</item>\n"
                                  L"\t<!-- end -->\n"
                                  L"</list>\n");
}

// ---- Adding ----

TEST_F(XmlEditTest, TopNodes) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    EXPECT_WSTREQ(node.getName(), L"a");
    EXPECT_FALSE(node.isDeclaration());
    EXPECT_TRUE(XMLNode::createXMLTopNode(L"a", 1).isDeclaration());
    EXPECT_EQ(XMLNode::createXMLTopNode(nullptr).getName(), nullptr);
    EXPECT_WSTREQ(XMLNode::createXMLTopNode_WOSD(Own(L"b"), 0).getName(), L"b");
}

TEST_F(XmlEditTest, NullAddsNothing) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    EXPECT_TRUE(node.addChild(static_cast<const wchar_t*>(nullptr)).isEmpty());
    EXPECT_TRUE(node.addChild(XMLNode()).isEmpty());
    EXPECT_EQ(node.addAttribute(nullptr, L"x"), nullptr);
    EXPECT_EQ(node.addAttribute_WOSD(nullptr, Own(L"x")), nullptr);
    EXPECT_EQ(node.addText(nullptr), nullptr);
    EXPECT_EQ(node.addClear(nullptr), nullptr);
    EXPECT_EQ(node.updateText(nullptr, 0), nullptr);
    EXPECT_EQ(node.updateClear(static_cast<const wchar_t*>(nullptr), 0), nullptr);
    EXPECT_EQ(node.updateAttribute(static_cast<XMLAttribute*>(nullptr), nullptr), nullptr);
    EXPECT_EQ(node.updateClear(static_cast<XMLClear*>(nullptr), static_cast<XMLClear*>(nullptr)), nullptr);
    EXPECT_EQ(node.nElement() + node.nAttribute(), 0);
}

TEST_F(XmlEditTest, NothingHappensToTheEmptyNode) {
    XMLNode empty;
    XMLNode child = XMLNode::createXMLTopNode(L"c");
    XMLAttribute attribute = {L"n", L"v"};
    XMLClear clear = {L"v", L"<!--", L"-->"};
    EXPECT_TRUE(empty.addChild(L"a").isEmpty());
    EXPECT_TRUE(empty.addChild(child).isEmpty());
    EXPECT_EQ(empty.addAttribute(L"a", L"b"), nullptr);
    EXPECT_EQ(empty.addText(L"a"), nullptr);
    EXPECT_EQ(empty.addClear(L"a"), nullptr);
    EXPECT_EQ(empty.updateName(L"a"), nullptr);
    EXPECT_EQ(empty.updateAttribute(&attribute, &attribute), nullptr);
    EXPECT_EQ(empty.updateAttribute(L"v", L"n", L"o"), nullptr);
    EXPECT_EQ(empty.updateText(L"a"), nullptr);
    EXPECT_EQ(empty.updateClear(L"a"), nullptr);
    EXPECT_EQ(empty.updateClear(&clear, &clear), nullptr);
    empty.deleteNodeContent();
    empty.deleteAttribute();
    empty.deleteAttribute(L"a");
    empty.deleteAttribute(&attribute);
    empty.deleteText();
    empty.deleteText(L"a");
    empty.deleteClear();
    empty.deleteClear(L"a");
    empty.deleteClear(&clear);
    EXPECT_TRUE(empty.isEmpty());
}

TEST_F(XmlEditTest, StringsGivenToTheEmptyNodeAreFreed) {
    // The leak checker sees what is not.
    XMLNode empty;
    EXPECT_TRUE(empty.addChild_WOSD(Own(L"a")).isEmpty());
    EXPECT_EQ(empty.addAttribute_WOSD(Own(L"a"), Own(L"b")), nullptr);
    EXPECT_EQ(empty.addText_WOSD(Own(L"a")), nullptr);
    EXPECT_EQ(empty.addClear_WOSD(Own(L"a")), nullptr);
    EXPECT_EQ(empty.updateName_WOSD(Own(L"a")), nullptr);
    EXPECT_EQ(empty.updateAttribute_WOSD(Own(L"a"), Own(L"b"), 0), nullptr);
    EXPECT_EQ(empty.updateAttribute_WOSD(Own(L"a"), Own(L"b"), L"c"), nullptr);
    EXPECT_EQ(empty.updateText_WOSD(Own(L"a"), 0), nullptr);
    EXPECT_EQ(empty.updateText_WOSD(Own(L"a"), L"b"), nullptr);
    EXPECT_EQ(empty.updateClear_WOSD(Own(L"a"), 0), nullptr);
    EXPECT_EQ(empty.updateClear_WOSD(Own(L"a"), L"b"), nullptr);
    XMLAttribute attribute = {Own(L"a"), Own(L"b")};
    EXPECT_EQ(empty.updateAttribute_WOSD(&attribute, nullptr), nullptr);
    XMLClear clear = {Own(L"a"), L"<!--", L"-->"};
    EXPECT_EQ(empty.updateClear_WOSD(&clear, nullptr), nullptr);
}

TEST_F(XmlEditTest, OwnedStringsThatFindNoPlaceAreFreed) {
    // The leak checker sees what is not.
    XMLNode node = ParseSound(L"<a x='1'/>");
    EXPECT_TRUE(node.addChild_WOSD(nullptr).isEmpty());
    EXPECT_EQ(node.addAttribute_WOSD(nullptr, Own(L"v")), nullptr);
    EXPECT_EQ(node.updateAttribute_WOSD(Own(L"v"), nullptr, 9), nullptr);
    EXPECT_EQ(node.updateAttribute_WOSD(Own(L"v"), nullptr, L"none"), nullptr);
    XMLAttribute nameless = {nullptr, Own(L"v")};
    EXPECT_EQ(node.updateAttribute_WOSD(&nameless, nullptr), nullptr);
    EXPECT_EQ(node.updateText_WOSD(nullptr, 0), nullptr);
    EXPECT_EQ(node.updateClear_WOSD(nullptr, 0), nullptr);
    EXPECT_EQ(Indented(node), L"<a x=\"1\"/>\n");
    // What was there before goes, too.
    EXPECT_NE(node.updateAttribute_WOSD(Own(L"2"), Own(L"y"), 0), nullptr);
    EXPECT_NE(node.updateAttribute_WOSD(Own(L"3"), Own(L"z"), L"Y"), nullptr);
    EXPECT_NE(node.updateText_WOSD(Own(L"t"), 7), nullptr);
    EXPECT_NE(node.updateText_WOSD(Own(L"u"), 0), nullptr);
    EXPECT_NE(node.updateClear_WOSD(Own(L"c"), L"none"), nullptr);
    EXPECT_NE(node.updateClear_WOSD(Own(L"d"), 0), nullptr);
    EXPECT_EQ(Indented(node), L"<a z=\"3\">\n\tu\n\t<![CDATA[d]]>\n</a>\n");
}

TEST_F(XmlEditTest, ParentHoldsItsChildren) {
    XMLNode top = XMLNode::createXMLTopNode(L"a");
    {
        XMLNode child = XMLNode::createXMLTopNode(L"b");
        XMLNode added = top.addChild(child);
        added.addText(L"the same record");
        EXPECT_WSTREQ(child.getText(), L"the same record");
    }
    EXPECT_EQ(Indented(top), L"<a>\n\t<b>the same record</b>\n</a>\n");
}

TEST_F(XmlEditTest, OwnedStringsAreTakenAsTheyAre) {
    for (bool parsed : {false, true}) {
        XMLNode node = parsed ? ParseSound(L"<a k='v'>t<!--c--></a>") : XMLNode::createXMLTopNode(L"a");
        wchar_t* text = Own(L"owned");
        EXPECT_EQ(node.addText_WOSD(text), text);
        wchar_t* name = Own(L"n");
        wchar_t* value = Own(L"v");
        XMLAttribute* attribute = node.addAttribute_WOSD(name, value);
        ASSERT_NE(attribute, nullptr);
        EXPECT_EQ(attribute->name, name);
        EXPECT_EQ(attribute->value, value);
        wchar_t* section = Own(L"s");
        EXPECT_EQ(node.addClear_WOSD(section)->value, section);
        wchar_t* child = Own(L"child");
        EXPECT_EQ(node.addChild_WOSD(child).getName(), child);
        wchar_t* renamed = Own(L"renamed");
        EXPECT_EQ(node.updateName_WOSD(renamed), renamed);
        EXPECT_EQ(node.getName(), renamed);
        wchar_t* changed = Own(L"changed");
        EXPECT_EQ(node.updateText_WOSD(changed, node.getText(0)), changed);
        EXPECT_EQ(node.getText(0), changed);
        wchar_t* newSection = Own(L"t");
        EXPECT_EQ(node.updateClear_WOSD(newSection, node.getClear(0).value)->value, newSection);
        XMLAttribute record = {Own(L"m"), Own(L"w")};
        XMLAttribute old = {L"N", nullptr};
        EXPECT_EQ(node.updateAttribute_WOSD(&record, &old)->value, record.value);
    }
}

TEST_F(XmlEditTest, AttributesAreAppendedAndNotOrdered) {
    XMLNode node = ParseSound(L"<a x='1'>t</a>");
    XMLAttribute* attribute = node.addAttribute(L"y", L"a<b");
    ASSERT_NE(attribute, nullptr);
    EXPECT_WSTREQ(attribute->name, L"y");
    EXPECT_EQ(node.addAttribute(L"z")->value, nullptr);
    EXPECT_EQ(node.nElement(), 1);
    EXPECT_EQ(Indented(node), L"<a x=\"1\" y=\"a&lt;b\" z>t</a>\n");
}

TEST_F(XmlEditTest, ClearSectionsAreCDataByDefault) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    XMLClear* clear = node.addClear(L"x<y");
    EXPECT_WSTREQ(clear->opener, L"<![CDATA[");
    EXPECT_WSTREQ(clear->closer, L"]]>");
    node.addClear(L"c", L"<!--", L"-->");
    node.addClear(L"raw", L"", L"");
    EXPECT_EQ(Indented(node), L"<a>\n\t<![CDATA[x<y]]>\n\t<!--c-->\n\traw\n</a>\n");
}

TEST_F(XmlEditTest, ManyItemsOfEveryKind) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    for (int i = 0; i < 1000; ++i) {
        std::wstring text = std::to_wstring(i);
        node.addChild((L"c" + text).c_str());
        node.addText(text.c_str());
        node.addClear(text.c_str());
        node.addAttribute((L"a" + text).c_str(), text.c_str());
    }
    EXPECT_EQ(node.nElement(), 3000);
    EXPECT_WSTREQ(node.getChildNode(999).getName(), L"c999");
    EXPECT_WSTREQ(node.getText(500), L"500");
    EXPECT_WSTREQ(node.getClear(1).value, L"1");
    EXPECT_WSTREQ(node.getAttribute(L"A77"), L"77");
    EXPECT_EQ(node.positionOfClear(999), 2999);
}

// ---- Positions ----

TEST_F(XmlEditTest, PositionsOutsideAppend) {
    for (int pos : {-1, -5, 2, 3, 1000}) {
        XMLNode node = ParseSound(L"<a>t<b/></a>");
        node.addText(L"u", pos);
        EXPECT_EQ(Indented(node), L"<a>\n\tt\n\t<b/>\n\tu\n</a>\n");
    }
}

TEST_F(XmlEditTest, NewItemGoesBeforeTheNextOfItsKind) {
    XMLNode node = ParseSound(L"<a><b/><c/><d/></a>");
    node.addChild(L"n", 0, 1);
    EXPECT_EQ(Indented(node), L"<a>\n\t<b/>\n\t<n/>\n\t<c/>\n\t<d/>\n</a>\n");
    EXPECT_WSTREQ(node.getChildNode(1).getName(), L"n");
    node.addChild(L"f", 0, 0);
    EXPECT_WSTREQ(node.getChildNode(0).getName(), L"f");
    node.addChild(L"l", 0, node.nElement() - 1);
    EXPECT_WSTREQ(node.getChildNode(4).getName(), L"l");
    EXPECT_WSTREQ(node.getChildNode(5).getName(), L"d");
}

TEST_F(XmlEditTest, NewItemStandsAtThePositionEvenBeforeOtherKinds) {
    XMLNode node = ParseSound(L"<a>t<b/>u<c/>v</a>"); // t0 c0 t1 c1 t2
    node.addChild(L"n", 0, 2);                        // the next child is <c/>, and <b/> stays before
    EXPECT_EQ(OrderOf(node), "t0 c0 c1 t1 c2 t2");
    EXPECT_EQ(Indented(node), L"<a>\n\tt\n\t<b/>\n\t<n/>\n\tu\n\t<c/>\n\tv\n</a>\n");
    EXPECT_EQ(node.positionOfChildNode(2), 4);
}

TEST_F(XmlEditTest, TheLastElementIsLookedAtOnlyAtItsOwnPosition) {
    // Kept: the child at the end is not seen from position 0 ...
    XMLNode node = ParseSound(L"<a>t<b/></a>");
    node.addChild(L"n", 0, 0);
    EXPECT_EQ(Indented(node), L"<a>\n\tt\n\t<b/>\n\t<n/>\n</a>\n");
    // ... but is from its own.
    node = ParseSound(L"<a>t<b/></a>");
    node.addChild(L"n", 0, 1);
    EXPECT_EQ(Indented(node), L"<a>\n\tt\n\t<n/>\n\t<b/>\n</a>\n");
}

TEST_F(XmlEditTest, WithoutAnItemOfItsKindTheNewOneIsAppended) {
    XMLNode node = ParseSound(L"<a><b/><c/></a>");
    node.addText(L"t", 0);
    EXPECT_EQ(OrderOf(node), "c0 c1 t0");
    node.addClear(L"x", nullptr, nullptr, 1);
    EXPECT_EQ(OrderOf(node), "c0 c1 t0 x0");
    node.addText(L"u", 0);
    EXPECT_EQ(Indented(node), L"<a>\n\tu\n\t<b/>\n\t<c/>\n\tt\n\t<![CDATA[x]]>\n</a>\n");
}

TEST_F(XmlEditTest, EveryInsertionKeepsEveryItem) {
    // Against a model: a list of labels.
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::srand(seed);
        XMLNode node = XMLNode::createXMLTopNode(L"a");
        std::vector<std::wstring> model;
        for (int step = 0; step < 30; ++step) {
            int kind = std::rand() % 3;
            int pos = std::rand() % 12 - 1;
            std::wstring label = std::to_wstring(step);
            label.push_back(L"ctx"[kind]);
            int elements = static_cast<int>(model.size());
            int found = -1;
            if (pos >= 0 && pos < elements) {
                int last = pos == elements - 1 ? elements : elements - 1;
                for (int i = pos; i < last && found < 0; ++i)
                    found = model[static_cast<size_t>(i)].back() == label.back() ? pos : -1;
            }
            model.insert(found < 0 ? model.end() : model.begin() + found, label);
            if (kind == 0)
                node.addChild(label.c_str(), 0, pos);
            else if (kind == 1)
                node.addText(label.c_str(), pos);
            else
                node.addClear(label.c_str(), nullptr, nullptr, pos);
            if (step % 7 == 6) {
                size_t gone = static_cast<size_t>(std::rand()) % model.size();
                XMLNodeContents contents = node.enumContents(static_cast<int>(gone));
                if (contents.type == XMLELEMENT_CHILD)
                    contents.child.deleteNodeContent();
                else if (contents.type == XMLELEMENT_TEXT)
                    node.deleteText(contents.text);
                else
                    node.deleteClear(contents.clear.value);
                model.erase(model.begin() + static_cast<std::ptrdiff_t>(gone));
            }
            ASSERT_EQ(node.nElement(), static_cast<int>(model.size()));
            for (size_t i = 0; i < model.size(); ++i) {
                XMLNodeContents contents = node.enumContents(static_cast<int>(i));
                const wchar_t* actual = contents.type == XMLELEMENT_CHILD  ? contents.child.getName()
                                        : contents.type == XMLELEMENT_TEXT ? contents.text
                                                                           : contents.clear.value;
                ASSERT_EQ(model[i], actual) << "seed " << seed << " step " << step;
            }
        }
    }
}

// ---- Moving children ----

TEST_F(XmlEditTest, ChildMovesWithinItsParent) {
    XMLNode node = ParseSound(L"<a><b/><c/><d/></a>");
    XMLNode d = node.getChildNode(2);
    XMLNode moved = node.addChild(d, 0);
    EXPECT_WSTREQ(moved.getName(), L"d");
    EXPECT_EQ(Indented(node), L"<a>\n\t<d/>\n\t<b/>\n\t<c/>\n</a>\n");
    node.addChild(d, -1);
    EXPECT_EQ(Indented(node), L"<a>\n\t<b/>\n\t<c/>\n\t<d/>\n</a>\n");
    EXPECT_EQ(node.nElement(), 3);
}

TEST_F(XmlEditTest, PositionAtTheEndIsLoweredWhenAChildMoves) {
    // Kept: two are left, and position 2 becomes 1, inside.
    XMLNode node = ParseSound(L"<a><b/><c/><d/></a>");
    node.addChild(node.getChildNode(0), 2);
    EXPECT_EQ(Indented(node), L"<a>\n\t<c/>\n\t<b/>\n\t<d/>\n</a>\n");
    // 3 becomes 2, the end.
    node.addChild(node.getChildNode(0), 3);
    EXPECT_EQ(Indented(node), L"<a>\n\t<b/>\n\t<d/>\n\t<c/>\n</a>\n");
    // Inside it is used as it stands.
    node.addChild(node.getChildNode(0), 1);
    EXPECT_EQ(Indented(node), L"<a>\n\t<d/>\n\t<b/>\n\t<c/>\n</a>\n");
}

TEST_F(XmlEditTest, OnlyChildMovesOntoItself) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    XMLNode child = node.addChild(L"b");
    for (int pos : {-1, 0, 1, 5}) {
        node.addChild(child, pos);
        EXPECT_EQ(Indented(node), L"<a>\n\t<b/>\n</a>\n");
    }
}

TEST_F(XmlEditTest, ChildMovesToAnotherParent) {
    XMLNode node = ParseSound(L"<a><b>x</b>t<c/></a>");
    XMLNode other = XMLNode::createXMLTopNode(L"o");
    XMLNode b = node.getChildNode(L"b");
    other.addChild(b);
    EXPECT_EQ(OrderOf(node), "t0 c0");
    EXPECT_WSTREQ(b.getParentNode().getName(), L"o");
    EXPECT_EQ(Indented(other), L"<o>\n\t<b>x</b>\n</o>\n");
}

TEST_F(XmlEditTest, NodeIsNotPutBelowItself) {
    XMLNode node = ParseSound(L"<a><b><c/></b></a>");
    XMLNode c = node.getChildNode().getChildNode();
    EXPECT_TRUE(c.addChild(node).isEmpty());
    EXPECT_TRUE(node.addChild(node).isEmpty());
    EXPECT_EQ(Indented(node), L"<a>\n\t<b>\n\t\t<c/>\n\t</b>\n</a>\n");
}

// ---- Updating ----

TEST_F(XmlEditTest, NameIsReplaced) {
    XMLNode node = ParseSound(L"<a/>");
    EXPECT_WSTREQ(node.updateName(L"b"), L"b");
    EXPECT_WSTREQ(node.updateName(L"longer name"), L"longer name");
    EXPECT_WSTREQ(node.getName(), L"longer name");
    EXPECT_EQ(node.updateName(nullptr), nullptr);
    EXPECT_EQ(node.getName(), nullptr);
    EXPECT_FALSE(node.isEmpty());
}

TEST_F(XmlEditTest, AttributeFoundByOldName) {
    XMLNode node = ParseSound(L"<a x='1' y='2'/>");
    EXPECT_WSTREQ(node.updateAttribute(L"3", nullptr, L"X")->value, L"3");
    EXPECT_WSTREQ(node.updateAttribute(L"4", L"z", L"y")->name, L"z");
    EXPECT_EQ(Indented(node), L"<a x=\"3\" z=\"4\"/>\n");
    EXPECT_WSTREQ(node.updateAttribute(L"5", L"w", L"none")->name, L"w");
    EXPECT_EQ(node.nAttribute(), 3);
    EXPECT_EQ(node.updateAttribute(L"6", nullptr, L"none"), nullptr);
    EXPECT_EQ(node.nAttribute(), 3);
    EXPECT_EQ(node.updateAttribute(nullptr, nullptr, L"w")->value, nullptr);
}

TEST_F(XmlEditTest, AttributeFoundByIndex) {
    XMLNode node = ParseSound(L"<a x='1' y='2'/>");
    node.updateAttribute(L"3", nullptr, 1);
    node.updateAttribute(L"4", L"n");
    node.updateAttribute(L"5", L"m", 2);
    EXPECT_EQ(node.updateAttribute(L"6", nullptr, 9), nullptr);
    EXPECT_EQ(node.updateAttribute(L"6", nullptr, -1), nullptr);
    EXPECT_EQ(Indented(node), L"<a n=\"4\" y=\"3\" m=\"5\"/>\n");
}

TEST_F(XmlEditTest, AttributeFoundByRecord) {
    XMLNode node = ParseSound(L"<a x='1'/>");
    XMLAttribute old = node.getAttribute(0);
    XMLAttribute changed = {L"y", L"2"};
    EXPECT_WSTREQ(node.updateAttribute(&changed, &old)->name, L"y");
    EXPECT_WSTREQ(node.updateAttribute(&changed, nullptr)->value, L"2");
    EXPECT_EQ(node.nAttribute(), 2);
}

TEST_F(XmlEditTest, AttributeMayBeUpdatedFromItself) {
    XMLNode node = ParseSound(L"<a x='1'/>");
    for (int i = 0; i < 3; ++i)
        node.updateAttribute(node.getAttributeValue(0), node.getAttributeName(0), 0);
    EXPECT_EQ(Indented(node), L"<a x=\"1\"/>\n");
    XMLAttribute own = node.getAttribute(0);
    node.updateAttribute_WOSD(&own, &own);
    EXPECT_EQ(Indented(node), L"<a x=\"1\"/>\n");
}

TEST_F(XmlEditTest, TextFoundByItsAddress) {
    XMLNode node = ParseSound(L"<a>t<b/>u</a>");
    const wchar_t* second = node.getText(1);
    node.updateText(L"v", second);
    EXPECT_WSTREQ(node.getText(1), L"v");
    node.updateText(L"w", static_cast<const wchar_t*>(nullptr));
    EXPECT_WSTREQ(node.getText(0), L"w");
    node.updateText(L"x", L"v"); // equal, but another string
    EXPECT_EQ(node.nText(), 3);
    EXPECT_WSTREQ(node.getText(2), L"x");
    node.updateText(L"y", 1);
    EXPECT_WSTREQ(node.getText(1), L"y");
    node.updateText(L"z", 7);
    EXPECT_WSTREQ(node.getText(3), L"z");
}

TEST_F(XmlEditTest, ClearSectionFoundByItsAddress) {
    XMLNode node = ParseSound(L"<a><!--c-->t<![CDATA[d]]></a>");
    node.updateClear(L"e", node.getClear(1).value);
    node.updateClear(L"f");
    EXPECT_EQ(Indented(node), L"<a>\n\t<!--f-->\n\tt\n\t<![CDATA[e]]>\n</a>\n");
    XMLClear old = node.getClear(0);
    XMLClear changed = {L"g", L"<PRE>", L"</PRE>"};
    EXPECT_WSTREQ(node.updateClear(&changed, &old)->opener, L"<!--"); // opener and closer stay
    XMLClear strange = {L"none", nullptr, nullptr};
    EXPECT_WSTREQ(node.updateClear(&changed, &strange)->opener, L"<PRE>");
    EXPECT_EQ(node.nClear(), 3);
    node.updateClear(L"h", L"none");
    EXPECT_EQ(Indented(node),
              L"<a>\n\t<!--g-->\n\tt\n\t<![CDATA[e]]>\n\t<PRE>g</PRE>\n\t<![CDATA[h]]>\n</a>\n");
}

// ---- Deleting ----

TEST_F(XmlEditTest, DeletingClosesTheGaps) {
    for (bool edited : {false, true}) {
        XMLNode node = ParseSound(L"<a x='1' y='2' z='3'>t<b/>u<!--c--><d/>v<![CDATA[e]]></a>");
        if (edited) {
            node.addAttribute(L"w", L"4");
            node.addText(L"w");
            node.deleteText(3);
            node.deleteAttribute(L"w");
        }
        node.deleteText(1);
        EXPECT_EQ(OrderOf(node), "t0 c0 x0 c1 t1 x1");
        EXPECT_WSTREQ(node.getText(1), L"v");
        node.deleteClear(0);
        EXPECT_WSTREQ(node.getClear(0).value, L"e");
        node.deleteAttribute(L"Y");
        XMLAttribute attribute = node.getAttribute(0);
        node.deleteAttribute(&attribute);
        EXPECT_EQ(Indented(node), L"<a z=\"3\">\n\tt\n\t<b/>\n\t<d/>\n\tv\n\t<![CDATA[e]]>\n</a>\n");
        node.deleteText(node.getText(0));
        XMLClear clear = node.getClear(0);
        node.deleteClear(&clear);
        node.getChildNode(0).deleteNodeContent();
        EXPECT_EQ(Indented(node), L"<a z=\"3\">\n\t<d/>\n\tv\n</a>\n");
        node.deleteText();
        node.deleteAttribute();
        node.getChildNode(0).deleteNodeContent();
        EXPECT_EQ(Indented(node), L"<a/>\n");
        node.addText(L"again");
        EXPECT_EQ(Indented(node), L"<a>again</a>\n");
    }
}

TEST_F(XmlEditTest, DeletingWhatIsNotThereDoesNothing) {
    XMLNode node = ParseSound(L"<a x='1'>t<!--c--></a>");
    node.deleteAttribute(1);
    node.deleteAttribute(-1);
    node.deleteAttribute(L"y");
    node.deleteAttribute(static_cast<XMLAttribute*>(nullptr));
    node.deleteText(1);
    node.deleteText(-1);
    node.deleteText(L"t");
    node.deleteText(static_cast<const wchar_t*>(nullptr));
    node.deleteClear(1);
    node.deleteClear(-1);
    node.deleteClear(L"c");
    node.deleteClear(static_cast<XMLClear*>(nullptr));
    node.deleteClear(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(Indented(node), L"<a x=\"1\">\n\tt\n\t<!--c-->\n</a>\n");
}

// ---- Copying ----

TEST_F(XmlEditTest, DeepCopyIsATreeOfItsOwn) {
    XMLNode node = ParseSound(L"<?xml v='1'?><a x='1' y>t<b><c z='2'>u</c></b><!--c-->v<?p q?></a>");
    node.getChildNode().addText(L"added", 1);
    XMLNode copy = node.deepCopy();
    std::wstring before = Indented(node);
    EXPECT_EQ(Indented(copy), before);
    EXPECT_TRUE(copy.getParentNode().isEmpty());
    EXPECT_TRUE(copy.isDeclaration());
    XMLNode inner = copy.getChildNode();
    EXPECT_WSTREQ(inner.getParentNode().getName(), L"xml");
    EXPECT_EQ(inner.getClear().opener, node.getChildNode().getClear().opener); // shared
    EXPECT_NE(inner.getText(), node.getChildNode().getText());
    inner.addChild(L"n");
    inner.updateText(L"changed");
    inner.deleteAttribute();
    EXPECT_EQ(Indented(node), before);
    node = XMLNode();
    EXPECT_WSTREQ(inner.getText(), L"changed");
}

TEST_F(XmlEditTest, DeepCopyOfAPartAndOfNothing) {
    XMLNode node = ParseSound(L"<a><b>x</b></a>");
    EXPECT_EQ(Indented(node.getChildNode().deepCopy()), L"<b>x</b>\n");
    EXPECT_TRUE(XMLNode().deepCopy().isEmpty());
    EXPECT_EQ(XMLNode::createXMLTopNode(nullptr).deepCopy().getName(), nullptr);
}

} // namespace
