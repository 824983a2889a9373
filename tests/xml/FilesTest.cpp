#include "XmlTest.h"

#include "import_patch.h"
#include "temp_folder.h"
#include "win32.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace {

class XmlFilesTest : public XmlTest {
protected:
    static std::string Utf16(const std::wstring& text) {
        std::string bytes;
        for (wchar_t unit : text) {
            bytes += static_cast<char>(unit & 0xFF);
            bytes += static_cast<char>(unit >> 8 & 0xFF);
        }
        return bytes;
    }

    // Writes the bytes, parses the file, and answers the outcome as "error line:column compact text".
    std::wstring Load(const std::string& bytes, const wchar_t* tag = nullptr) {
        XMLNode node = XMLNode::parseFile(m_folder.Write(L"test.xml", bytes).c_str(), tag, &m_results);
        std::wstring outcome = std::to_wstring(m_results.error) + L" " + std::to_wstring(m_results.line) +
                               L":" + std::to_wstring(m_results.column);
        return node.isEmpty() ? outcome : outcome + L" " + Compact(node);
    }

    std::string Save(const XMLNode& node, char format = 0) {
        EXPECT_EQ(node.writeToFile(m_folder.Path(L"out.xml").c_str(), nullptr, format), XMLERROR_NONE);
        return m_folder.Read(L"out.xml");
    }

    TempFolder m_folder;
};

const std::string Utf8Mark = "\xEF\xBB\xBF";
const std::string Utf16Mark = "\xFF\xFE";
const std::string Declaration = "<?xml version=\"1.0\" encoding=\"utf-16\"?>\n";

std::string Wide(const std::string& text) {
    std::string bytes;
    for (char byte : text) {
        bytes += byte;
        bytes += '\0';
    }
    return bytes;
}

TEST_F(XmlFilesTest, ExampleUsage) {
    std::wstring name = m_folder.Path(L"settings.xml");
    XMLNode root = XMLNode::createXMLTopNode(L"settings");
    root.addChild(L"language").addText(L"catal\u00E0");
    ASSERT_EQ(root.writeToFile(name.c_str()), XMLERROR_NONE);
    XMLResults results;
    XMLNode read = XMLNode::parseFile(name.c_str(), L"settings", &results);
    ASSERT_EQ(results.error, XMLERROR_NONE);
    EXPECT_WSTREQ(read.getChildNode(L"language").getText(), L"catal\u00E0");
}

// ---- Reading ----

TEST_F(XmlFilesTest, Utf8WithAndWithoutItsMarkIsTheSame) {
    std::string text = "<a b=\"caf\xC3\xA9\">\xE2\x82\xAC</a>";
    EXPECT_EQ(Load(text), L"0 0:0 <a b=\"caf\u00E9\">\u20AC</a>");
    EXPECT_EQ(Load(Utf8Mark + text), L"0 0:0 <a b=\"caf\u00E9\">\u20AC</a>");
}

TEST_F(XmlFilesTest, Utf8OfEveryLengthAndKind) {
    std::string source = "<a>";
    std::wstring text;
    for (int i = 0; i < 50; ++i) {
        source += std::string(static_cast<size_t>(i), 'x') + "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
        text += std::wstring(static_cast<size_t>(i), L'x') + L"\u00E9\u20AC\U0001F600";
    }
    EXPECT_EQ(Load(source + "</a>"), L"0 0:0 <a>" + text + L"</a>");
}

TEST_F(XmlFilesTest, MalformedUtf8GetsReplacementCharacters) {
    EXPECT_EQ(Load("<a>x\xFFy</a>"), L"0 0:0 <a>x\uFFFDy</a>");
    EXPECT_EQ(Load("<a>x\xE9</a>"), L"0 0:0 <a>x\uFFFD</a>");
}

TEST_F(XmlFilesTest, EightBitTextInTheSystemsCodePage) {
    XMLNode::setGlobalOptions(XMLNode::encoding_ANSI);
    EXPECT_EQ(Load("<a>caf\xE9 plain</a>"), L"0 0:0 <a>caf\u00E9 plain</a>");
    XMLNode::setGlobalOptions(static_cast<XMLNode::XMLCharEncoding>(7)); // every other value means the same
    EXPECT_EQ(Load("<a>caf\xE9 plain</a>"), L"0 0:0 <a>caf\u00E9 plain</a>");
    XMLNode::setGlobalOptions(XMLNode::encoding_keep);
    EXPECT_EQ(Load("<a>caf\xE9 plain</a>"), L"0 0:0 <a>caf\u00E9 plain</a>");
}

TEST_F(XmlFilesTest, Utf8MarkIsSkippedWhateverTheEncoding) {
    XMLNode::setGlobalOptions(XMLNode::encoding_ANSI);
    EXPECT_EQ(Load(Utf8Mark + "<a>caf\xE9</a>"), L"0 0:0 <a>caf\u00E9</a>");
}

TEST_F(XmlFilesTest, Utf16WithAndWithoutItsMark) {
    std::wstring text = L"<?xml version=\"1.0\"?><a b=\"caf\u00E9\">\u20AC</a>";
    EXPECT_EQ(Load(Utf16Mark + Utf16(text)), L"0 0:0 " + text);
    EXPECT_EQ(Load(Utf16(text)), L"0 0:0 " + text);
}

TEST_F(XmlFilesTest, Utf16SurrogatePairs) {
    std::string high("\x3D\xD8", 2);
    std::string low("\x00\xDE", 2);
    std::string before = Utf16Mark + Utf16(L"<a>");
    EXPECT_EQ(Load(before + high + low + Utf16(L"</a>")), L"0 0:0 <a>\U0001F600</a>");
    // A half alone stays one unit.
    std::wstring lone = L"0 0:0 <a>?x</a>";
    lone[9] = static_cast<wchar_t>(0xD83D);
    EXPECT_EQ(Load(before + high + Utf16(L"x</a>")), lone);
}

TEST_F(XmlFilesTest, OnlyThatMarkIsSkipped) {
    // Kept: the first two bytes go also when they are EF FF.
    EXPECT_EQ(Load(std::string("\xEF\xFF", 2) + Utf16(L"<a>x y</a>")), L"0 0:0 <a>x y</a>");
    // The mark of the other byte order makes it no UTF-16.
    EXPECT_NE(Load("\xFE\xFF" + std::string("\0<\0a\0/\0>", 8)).substr(0, 2), L"0 ");
}

TEST_F(XmlFilesTest, WithoutGuessingEveryFileIsUtf16) {
    XMLNode::setGlobalOptions(XMLNode::encoding_keep, 0);
    EXPECT_EQ(Load(Utf16(L"<a>x</a>")), L"0 0:0 <a>x</a>");
    EXPECT_EQ(Load(Utf16Mark + Utf16(L"<a/>")), L"0 0:0 \uFEFF<a/>"); // as it stands, mark included
    EXPECT_EQ(Load("<a>x</a>").substr(0, 2), L"2 ");
}

TEST_F(XmlFilesTest, OddByteAtTheEndIsHalfAUnit) {
    XMLNode::setGlobalOptions(XMLNode::encoding_keep, 0);
    EXPECT_EQ(Load(Utf16(L"<a/>") + "x"), L"0 0:0 <a/>x");
}

TEST_F(XmlFilesTest, NothingBehindANulIsRead) {
    EXPECT_EQ(Load(std::string("<a/>\0<b/>", 9)), L"0 0:0 <a/>");
    XMLNode::setGlobalOptions(XMLNode::encoding_keep, 0); // a zero unit speaks against UTF-16 otherwise
    EXPECT_EQ(Load(Utf16(std::wstring(L"<a/>\0<b/>", 9))), L"0 0:0 <a/>");
}

TEST_F(XmlFilesTest, OrdinaryTextsAreRecognised) {
    // The same files on both systems: what the guess says shows in the result.
    const char* texts[] = {
        "<a/>",
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<settings>\r\n\t<size "
        "width=\"640\"/>\r\n</settings>\r\n",
        "<options><name>value</name>\n<count>12</count>\n</options>\n",
        "\n\n<a>\n</a>\n\n",
        "<aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa/>",
    };
    for (std::string text : texts) {
        std::wstring expected = Load(Utf8Mark + text + (text.size() % 2 ? "" : "\n"));
        EXPECT_EQ(expected.substr(0, 2), L"0 ");
        EXPECT_EQ(Load(text), expected) << text;
        EXPECT_EQ(Load(text + "\n"), expected) << text;
        EXPECT_EQ(Load(Wide(text)), expected) << text;
        EXPECT_EQ(Load(Utf16Mark + Wide(text)), expected) << text;
    }
    std::wstring greek = L"<a>\u03B1\u03B2\u03B3 \u4E2D\u6587</a>";
    EXPECT_EQ(Load(Utf16(greek)), L"0 0:0 " + greek);
}

TEST_F(XmlFilesTest, TagIsSearchedInFilesToo) {
    EXPECT_EQ(Load("<?xml version=\"1.0\"?>\n<root><a/></root>\n", L"root"), L"0 0:0 <root><a/></root>");
    EXPECT_EQ(Load("<root/>", L"other"), L"11 0:0");
}

TEST_F(XmlFilesTest, LargeFile) {
    std::string text = "<a>";
    for (int i = 0; i < 100000; ++i)
        text += "<b c='" + std::to_string(i) + "'>\xC3\xA9</b>\n";
    XMLNode node =
        XMLNode::parseFile(m_folder.Write(L"large.xml", text + "</a>").c_str(), nullptr, &m_results);
    EXPECT_EQ(m_results.error, 0);
    EXPECT_EQ(node.nChildNode(), 100000);
    EXPECT_WSTREQ(node.getChildNode(99999).getAttribute(L"c"), L"99999");
}

// ---- Hostile files ----

TEST_F(XmlFilesTest, FileCutAtEveryByteIsReadAsFarAsItGoes) {
    const std::string narrow =
        "<?xml version='1.0'?>\n<a b='\xC3\xA9'>\xE2\x82\xAC<!--c-->\xF0\x9F\x98\x80</a>";
    const std::string wide =
        Utf16Mark + Utf16(L"<a b='caf\u00E9'>") + std::string("\x3D\xD8\x00\xDE", 4) + Utf16(L"<c/></a>");
    for (const std::string& bytes : {narrow, Utf8Mark + narrow, wide}) {
        for (std::size_t length = 0; length <= bytes.size(); ++length) {
            const std::wstring outcome = Load(bytes.substr(0, length));
            const bool kept = m_results.error <= 2;
            EXPECT_EQ(outcome.find(L' ', outcome.find(L':')) != std::wstring::npos, kept) << length;
            EXPECT_EQ(m_results.error == XMLERROR_NO_DATA, length == 0) << length;
        }
        EXPECT_EQ(m_results.error, XMLERROR_NONE);
    }
}

TEST_F(XmlFilesTest, BytesOfAnyKindHaveADefinedOutcome) {
    std::mt19937 random(7);
    for (int round = 0; round < 600; ++round) {
        std::string bytes(random() % 60 + 1, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random() % 4 ? random() : "<>/&; \xEF\xBB\xBF\xFF\xFE"[random() % 11]);
        XMLNode::setGlobalOptions(round % 2 ? XMLNode::encoding_UTF8 : XMLNode::encoding_ANSI,
                                  round % 3 != 0);
        const std::wstring name = m_folder.Write(L"random.xml", bytes);
        const XMLNode node = XMLNode::parseFile(name.c_str(), nullptr, &m_results);
        ASSERT_EQ(node.isEmpty(), m_results.error > 2);
        ASSERT_TRUE(m_results.error <= 14) << m_results.error;
        if (!node.isEmpty()) {
            ASSERT_EQ(Compact(node.deepCopy()), Compact(node));
        }
    }
}

// ---- Writing ----

TEST_F(XmlFilesTest, FileIsUtf16WithMarkAndDeclaration) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    node.addText(L"\u20AC");
    EXPECT_EQ(Save(node), Utf16Mark + Wide(Declaration) + Wide("<a>") + "\xAC\x20" + Wide("</a>"));
    EXPECT_EQ(Wide(Declaration).size(), 80u);
}

TEST_F(XmlFilesTest, FormatAppliesToFiles) {
    XMLNode node = ParseSound(L"<a><b/></a>");
    EXPECT_EQ(Save(node, 1), Utf16Mark + Wide(Declaration + "<a>\n\t<b/>\n</a>\n"));
    EXPECT_EQ(Save(node, 0), Utf16Mark + Wide(Declaration + "<a><b/></a>"));
}

TEST_F(XmlFilesTest, TreeWithItsOwnDeclarationGetsNoOther) {
    EXPECT_EQ(Save(ParseSound(L"<?xml version=\"1.0\"?><r/>")),
              Utf16Mark + Wide("<?xml version=\"1.0\"?><r/>"));
    XMLNode top = XMLNode::createXMLTopNode(nullptr);
    top.addChild(L"xml", 1).addAttribute(L"version", L"1.1");
    top.addChild(L"r");
    EXPECT_EQ(Save(top), Utf16Mark + Wide("<?xml version=\"1.1\"?><r/>"));
    // What counts is the first child, not the first element.
    EXPECT_EQ(Save(ParseSound(L"<!--c--><?xml version='1.0'?><r/>")),
              Utf16Mark + Wide("<!--c--><?xml version=\"1.0\"?><r/>"));
}

TEST_F(XmlFilesTest, OtherTopsGetADeclaration) {
    EXPECT_EQ(Save(ParseSound(L"<!--c--><r/>")), Utf16Mark + Wide(Declaration + "<!--c--><r/>"));
    EXPECT_EQ(Save(XMLNode::createXMLTopNode(nullptr)), Utf16Mark + Wide(Declaration));
    // A named element whose first child is a declaration is no document with one.
    EXPECT_EQ(Save(ParseSound(L"<r><?p q?></r>")), Utf16Mark + Wide(Declaration + "<r><?p q?></r>"));
}

TEST_F(XmlFilesTest, CharactersOutsideTheBasicPlaneArePairs) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    node.addText(L"\U0001F600");
    EXPECT_EQ(Save(node),
              Utf16Mark + Wide(Declaration + "<a>") + std::string("\x3D\xD8\x00\xDE", 4) + Wide("</a>"));
}

TEST_F(XmlFilesTest, EncodingIsIgnored) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    std::wstring name = m_folder.Path(L"out.xml");
    EXPECT_EQ(node.writeToFile(name.c_str(), "utf-8", 0), 0);
    EXPECT_EQ(m_folder.Read(L"out.xml"), Utf16Mark + Wide(Declaration + "<a/>"));
}

TEST_F(XmlFilesTest, LargeTreeIsWrittenWhole) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    std::wstring text;
    for (int i = 0; i < 100000; ++i)
        text += static_cast<wchar_t>(L'A' + i % 7000);
    node.addText(text.c_str());
    Save(node);
    XMLNode read = XMLNode::parseFile(m_folder.Path(L"out.xml").c_str(), L"a", &m_results);
    EXPECT_EQ(m_results.error, 0);
    EXPECT_EQ(read.getText(), text);
}

TEST_F(XmlFilesTest, OldContentIsReplaced) {
    m_folder.Write(L"out.xml", std::string(100000, 'x'));
    EXPECT_EQ(Save(XMLNode::createXMLTopNode(L"a")), Utf16Mark + Wide(Declaration + "<a/>"));
}

TEST_F(XmlFilesTest, EmptyNodeWritesNothing) {
    EXPECT_EQ(XMLNode().writeToFile(m_folder.Path(L"none.xml").c_str()), XMLERROR_NONE);
    EXPECT_FALSE(m_folder.Exists(L"none.xml"));
}

// ---- Error results ----

TEST_F(XmlFilesTest, Error10FileNotThere) {
    XMLResults results = {XMLERROR_NONE, 3, 3};
    EXPECT_TRUE(XMLNode::parseFile(m_folder.Path(L"none.xml").c_str(), nullptr, &results).isEmpty());
    EXPECT_EQ(results.error, 10);
    EXPECT_EQ(results.line, 0);
    EXPECT_EQ(results.column, 0);
    EXPECT_TRUE(XMLNode::parseFile(nullptr, nullptr, &results).isEmpty());
    EXPECT_EQ(results.error, 10);
    EXPECT_TRUE(XMLNode::parseFile(m_folder.Path(L"").c_str(), nullptr, &results).isEmpty());
    EXPECT_EQ(results.error, 10); // a folder
    EXPECT_TRUE(XMLNode::parseFile(m_folder.Path(L"none.xml").c_str()).isEmpty());
}

TEST_F(XmlFilesTest, Error3EmptyFile) {
    EXPECT_EQ(Load(""), L"3 0:0");
}

TEST_F(XmlFilesTest, Error14NothingToConvert) {
    EXPECT_EQ(Load(Utf8Mark), L"14 0:0");
    EXPECT_EQ(Load(std::string("\0", 1)), L"14 0:0");
    EXPECT_EQ(Load(std::string("\0<a/>", 5)), L"14 0:0");
}

TEST_F(XmlFilesTest, MarkAloneIsATextWithoutElement) {
    EXPECT_EQ(Load(Utf16Mark), L"2 1:1 ");
}

TEST_F(XmlFilesTest, ParseErrorsHaveTheirPlaceInTheFile) {
    EXPECT_EQ(Load("<a>\n<b></c>\n</a>"), L"6 2:8");
    EXPECT_EQ(Load(Utf16Mark + Utf16(L"<a>\n &x;</a>")), L"12 2:7");
}

TEST_F(XmlFilesTest, Error15CannotOpenForWriting) {
    XMLNode node = XMLNode::createXMLTopNode(L"a");
    EXPECT_EQ(node.writeToFile(m_folder.Path(L"no folder\\out.xml").c_str()), 15);
    EXPECT_EQ(node.writeToFile(m_folder.Path(L"").c_str()), 15);
    EXPECT_EQ(node.writeToFile(nullptr), 15);
}

// Stands in for the system's function: writes up to a number of bytes, then fails.
int g_bytesLeft = 0;
bool g_refuseToClose = false;
extern "C" BOOL WINAPI WriteSome(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
                                 LPOVERLAPPED overlapped) {
    if (static_cast<int>(size) > g_bytesLeft) {
        *written = 0;
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    }
    g_bytesLeft -= static_cast<int>(size);
    return WriteFile(file, bytes, size, written, overlapped);
}
extern "C" BOOL WINAPI CloseOrRefuse(HANDLE file) {
    BOOL closed = CloseHandle(file);
    return closed && !g_refuseToClose;
}

TEST_F(XmlFilesTest, Error16CannotWrite) {
    // In a child, for a replaced import stays replaced.
    std::wstring name = m_folder.Path(L"out.xml");
    EXPECT_EXIT(
        {
            XMLNode node = XMLNode::createXMLTopNode(L"a");
            node.addText(std::wstring(100000, L'x').c_str());
            int errors = 0;
            if (PatchImport("mvlib62", {"WriteFile", reinterpret_cast<void*>(WriteSome)}) &&
                PatchImport("mvlib62", {"CloseHandle", reinterpret_cast<void*>(CloseOrRefuse)})) {
                for (int bytes : {0, 20000, 150000}) {
                    g_bytesLeft = bytes;
                    errors += node.writeToFile(name.c_str()) == XMLERROR_CANNOT_WRITE;
                }
                g_bytesLeft = 1000000;
                errors += node.writeToFile(name.c_str()) == XMLERROR_NONE;
                g_refuseToClose = true;
                errors += node.writeToFile(name.c_str()) == XMLERROR_CANNOT_WRITE;
            }
            std::_Exit(errors);
        },
        testing::ExitedWithCode(5), "");
}

// ---- openFileHelper

// Stands in for the message box of a child process: tells on standard error what would be shown.
extern "C" int WINAPI ShowOnStandardError(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    std::string line;
    for (const wchar_t* p = text; *p; ++p)
        line += *p == L'\n' ? '@' : static_cast<char>(*p);
    std::fprintf(stderr, "BOX %d %x %ls: %s END\n", owner != nullptr, type, caption, line.c_str());
    return IDOK;
}

// The box of openFileHelper, as a pattern: line feeds are written "@".
#define EXPECT_HELPER_ENDS(name, tag, text)                                                                  \
    EXPECT_EXIT(                                                                                             \
        {                                                                                                    \
            if (PatchImport("mvlib62", {"MessageBoxW", reinterpret_cast<void*>(ShowOnStandardError)}))       \
                XMLNode::openFileHelper(name, tag);                                                          \
        },                                                                                                   \
        testing::ExitedWithCode(255),                                                                        \
        "BOX 0 40010 XML Parsing error: XML Parsing error inside file '.*" text " END")

TEST_F(XmlFilesTest, HelperEndsTheProcessWhenTheFileIsNotThere) {
    EXPECT_HELPER_ENDS(m_folder.Path(L"none.xml").c_str(), L"a",
                       "none.xml'.@Error: File not found@At line 0, column 0.@");
}

TEST_F(XmlFilesTest, HelperEndsTheProcessWithLineAndColumn) {
    EXPECT_HELPER_ENDS(m_folder.Write(L"bad.xml", "<a>\n<b></c>").c_str(), nullptr,
                       "bad.xml'.@Error: Unmatched end tag@At line 2, column 8.@");
}

TEST_F(XmlFilesTest, HelperEndsTheProcessOnAWarning) {
    EXPECT_HELPER_ENDS(m_folder.Write(L"open.xml", "<a>").c_str(), nullptr,
                       "open.xml'.@Warning: Unmatched end tag@At line 1, column 4.@");
}

TEST_F(XmlFilesTest, HelperNamesTheTagThatIsMissing) {
    EXPECT_HELPER_ENDS(
        m_folder.Write(L"other.xml", "<a/>").c_str(), L"wanted",
        "other.xml'.@Error: First Tag not found@At line 0, column 0.@First Tag should be 'wanted'.@");
}

TEST_F(XmlFilesTest, HelperShowsNamesAsAnEightBitProgramDoes) {
    // What the system's code page lacks is replaced in the text that is shown.
    XMLNode::setGlobalOptions(XMLNode::encoding_UTF8);
    EXPECT_HELPER_ENDS(m_folder.Write(L"a.xml", "<a/>").c_str(), L"\u4E2D",
                       "a.xml'.@Error: First Tag not found@At line 0, column 0.@First Tag should be '.'.@");
}

TEST_F(XmlFilesTest, HelperChangesNoOption) {
    XMLNode::setGlobalOptions(XMLNode::encoding_ANSI, 1, 0, 0);
    std::wstring name = m_folder.Write(L"latin.xml", "<a> \xE9<!--c-->x </a>");
    EXPECT_EQ(Compact(XMLNode::openFileHelper(name.c_str())), L"<a> \u00E9<!--c-->x </a>");
    EXPECT_EQ(Load("<a> \xE9<!--c-->x </a>"), L"0 0:0 <a> \u00E9<!--c-->x </a>");
}

TEST_F(XmlFilesTest, HelperAnswersTheDocument) {
    std::wstring name = m_folder.Write(L"good.xml", "<a>x</a>");
    EXPECT_EQ(Compact(XMLNode::openFileHelper(name.c_str(), L"a")), L"<a>x</a>");
    EXPECT_EQ(Compact(XMLNode::openFileHelper(name.c_str())), L"<a>x</a>");
}

} // namespace
