// Memory that runs out, and memory that is kept for the next document.
#include "XmlTest.h"

#include "alloc_failure.h"
#include "temp_folder.h"

namespace {

class XmlMemoryTest : public XmlTest {
protected:
    static std::wstring Large(int elements) {
        std::wstring text = L"<a>";
        for (int i = 0; i < elements; ++i)
            text += L"<b x='" + std::to_wstring(i) + L"' y" + std::to_wstring(i % 300) +
                    L"='v'>text<!--c-->more</b>";
        return text + L"</a>";
    }
};

TEST_F(XmlMemoryTest, Error3WhenAParseRunsOutOfMemory) {
    std::wstring text = Large(3000);
    int failures = FailEachAllocation([&] {
        XMLResults results = {XMLERROR_NONE, 7, 7};
        XMLNode node = XMLNode::parseString(text.c_str(), nullptr, &results);
        if (node.isEmpty()) {
            EXPECT_EQ(results.error, XMLERROR_NO_DATA);
            EXPECT_EQ(results.line, 0);
            EXPECT_EQ(results.column, 0);
        } else {
            EXPECT_EQ(results.error, XMLERROR_NONE);
        }
    });
    EXPECT_GT(failures, 3);
}

TEST_F(XmlMemoryTest, Error3WhenAFileRunsOutOfMemory) {
    TempFolder folder;
    std::wstring name = folder.Write(L"a.xml", "<a>\xC3\xA9</a>");
    std::wstring malformed = folder.Write(L"b.xml", "<a>\xC3</a>");
    std::wstring wide = folder.Write(L"c.xml", std::string("\xFF\xFE<\0a\0/\0>\0", 10));
    for (const std::wstring& file : {name, malformed, wide}) {
        int failures = FailEachAllocation([&] {
            XMLResults results = {XMLERROR_NONE, 7, 7};
            XMLNode node = XMLNode::parseFile(file.c_str(), nullptr, &results);
            // Opening a file needs memory, too.
            EXPECT_TRUE(node.isEmpty()
                            ? results.error == XMLERROR_NO_DATA || results.error == XMLERROR_FILE_NOT_FOUND
                            : results.error == XMLERROR_NONE)
                << results.error;
        });
        EXPECT_GT(failures, 1);
    }
}

TEST_F(XmlMemoryTest, FileIsWrittenWholeOrLeftAlone) {
    TempFolder folder;
    std::wstring text;
    for (int i = 0; i < 300; ++i) // deeper than the writer's stack is at first
        text += L"<a>long enough for several pieces";
    XMLNode node = Parse(text);
    for (const char* old : {"", "old content"}) {
        std::wstring name = folder.Path(L"out.xml");
        int written = 0;
        int failures = FailEachAllocation([&] {
            std::filesystem::remove(folder.Root() / "out.xml");
            if (*old)
                folder.Write(L"out.xml", old);
            XMLError error = node.writeToFile(name.c_str());
            written += error == XMLERROR_NONE;
            if (error == XMLERROR_NONE) {
                EXPECT_GT(folder.Read(L"out.xml").size(), text.size());
            } else if (*old) {
                EXPECT_EQ(folder.Read(L"out.xml"), old) << error;
            } else {
                // Opening a file needs memory, too.
                EXPECT_TRUE(error == XMLERROR_CANNOT_WRITE || error == XMLERROR_CANNOT_OPEN_FOR_WRITE);
                EXPECT_FALSE(folder.Exists(L"out.xml"));
            }
        });
        EXPECT_GT(failures, 2);
        EXPECT_GE(written, 1);
    }
}

TEST_F(XmlMemoryTest, RenderingAndCopyingAnswerNothing) {
    XMLNode node = ParseSound(Large(300));
    std::wstring whole = Compact(node);
    EXPECT_GT(FailEachAllocation([&] {
                  int size = -1;
                  wchar_t* text = node.createXMLString(0, &size);
                  EXPECT_EQ(size, text ? static_cast<int>(whole.size()) : 0);
                  freeXMLString(text);
              }),
              2);
    EXPECT_GT(FailEachAllocation([&] {
                  XMLNode copy = node.deepCopy();
                  if (!copy.isEmpty()) {
                      EXPECT_EQ(copy.nChildNode(), 300);
                  }
              }),
              2);
}

TEST_F(XmlMemoryTest, EditingAddsNothingAndLeaksNothing) {
    int failures = FailEachAllocation([&] {
        XMLNode node = XMLNode::createXMLTopNode(L"a");
        if (node.isEmpty())
            return;
        int expected = 0;
        expected += !node.addChild(L"b").isEmpty();
        expected += node.addText(L"t") != nullptr;
        expected += node.addClear(L"c") != nullptr;
        EXPECT_EQ(node.nElement(), expected);
        EXPECT_EQ(node.nAttribute(), node.addAttribute(L"x", L"1") != nullptr);
        const wchar_t* before = node.getName();
        if (!node.updateName(L"longer")) {
            EXPECT_EQ(node.getName(), before);
        }
        node.updateText(L"u");
        node.updateClear(L"d");
        node.updateAttribute(L"2", L"y", L"x");
        EXPECT_EQ(node.nChildNode() + node.nText() + node.nClear(), node.nElement());
    });
    EXPECT_GT(failures, 10);
}

TEST_F(XmlMemoryTest, EditingAParsedNodeFailsWhole) {
    XMLNode original = ParseSound(L"<a x='1'>t<b/><!--c--></a>");
    std::wstring before = Compact(original);
    FailEachAllocation([&] {
        XMLNode node = XMLNode::parseString(L"<a x='1'>t<b/><!--c--></a>");
        if (node.isEmpty())
            return;
        if (!node.addText(L"u")) {
            EXPECT_EQ(node.nElement(), 3);
            EXPECT_EQ(node.nAttribute(), 1);
        } else {
            EXPECT_EQ(node.nElement(), 4);
        }
    });
    EXPECT_EQ(Compact(original), before);
}

TEST_F(XmlMemoryTest, ToolsAnswerNull) {
    EXPECT_EQ(FailEachAllocation([&] {
                  ToXMLStringTool tool;
                  const wchar_t* text = tool.toXML(L"<x>");
                  if (text) {
                      EXPECT_WSTREQ(text, L"&lt;x&gt;");
                  }
              }),
              1);
    EXPECT_EQ(FailEachAllocation([&] {
                  XMLParserBase64Tool tool;
                  unsigned char bytes[] = {1, 2, 3};
                  const wchar_t* text = tool.encode(bytes, 3);
                  if (text) {
                      EXPECT_WSTREQ(text, L"AQID");
                  }
              }),
              1);
    EXPECT_EQ(FailEachAllocation([&] {
                  XMLParserBase64Tool tool;
                  int length = -1;
                  const unsigned char* bytes = tool.decode(L"AQID", &length);
                  EXPECT_EQ(length, 3);
                  if (bytes) {
                      EXPECT_EQ(bytes[2], 3);
                  }
              }),
              1);
    EXPECT_EQ(FailEachAllocation([&] {
                  wchar_t* copy = stringDup(L"x");
                  freeXMLString(copy);
              }),
              1);
}

// ---- What is kept

TEST_F(XmlMemoryTest, LargeDocumentsInARowAreAllWhole) {
    std::wstring text = Large(20000);
    std::wstring compact = Compact(ParseSound(text));
    for (int round = 0; round < 4; ++round) {
        XMLNode first = ParseSound(text);
        XMLNode second = ParseSound(text);
        first = XMLNode();
        XMLNode third = second.deepCopy();
        second = XMLNode();
        EXPECT_EQ(Compact(third), compact);
        EXPECT_EQ(Compact(third), compact);
    }
}

TEST_F(XmlMemoryTest, LargeStringsChangeHands) {
    std::wstring text(1000000, L'x');
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    for (int round = 0; round < 5; ++round) {
        wchar_t* own = stringDup(text.c_str());
        EXPECT_EQ(node.addText_WOSD(own), own);
        wchar_t* rendered = node.createXMLString(0);
        XMLNode other =
            XMLNode::createXMLTopNode_WOSD(rendered); // a rendered text is a string like any other
        EXPECT_EQ(other.getName(), rendered);
        node.deleteText(0);
    }
    EXPECT_EQ(Compact(node), L"<a/>");
}

} // namespace
