// `mvtool xml`, run as a user would.
#include "rec_fixture.h"

#include <sstream>

namespace tooltest {
namespace {

class XmlCommandsTest : public RecTest {
protected:
    static std::string Utf16(const std::u16string& text) {
        std::string bytes = "\xFF\xFE";
        for (const char16_t unit : text) {
            bytes += static_cast<char>(unit & 0xFF);
            bytes += static_cast<char>(unit >> 8);
        }
        return bytes;
    }
    Result Xml(std::vector<std::string> words) const {
        words.insert(words.begin(), "xml");
        Surroundings surroundings;
        surroundings.folder = Path(".");
        return mvtool(words, surroundings);
    }
    /// Runs the command and gives what it printed; the exit code must be that one.
    std::string Output(const std::vector<std::string>& words, int code = kDone) const {
        const Result result = Xml(words);
        EXPECT_EQ(result.code, code) << result.err;
        return result.out;
    }
};

TEST_F(XmlCommandsTest, ExampleUsage) {
    Write("a.xml", "<settings><window width='640'/><title>x</title></settings>");
    EXPECT_EQ(Output({"check", "a.xml"}), "a.xml: good: 3 elements, depth 2\n");
    EXPECT_EQ(Output({"get", "a.xml", "settings/window@width"}), "640\n");
    EXPECT_EQ(Output({"fmt", "a.xml"}),
              "<settings>\n\t<window width=\"640\"/>\n\t<title>x</title>\n</settings>\n");
}

// The page's examples are what the program prints.
TEST_F(XmlCommandsTest, TheExamplesOfThePageAreTrue) {
    std::ifstream file(std::string(MVLIB_DOCS) + "/mvtool-xml.md", std::ios::binary);
    ASSERT_TRUE(file.is_open());
    std::string line;
    std::string block;
    std::vector<std::string> documents;
    int commands = 0;
    std::string command;
    std::string output;
    const auto run = [&] {
        if (!command.empty()) {
            ++commands;
            std::istringstream split(command);
            std::vector<std::string> words;
            for (std::string word; split >> word;) {
                words.push_back(word);
            }
            ASSERT_GE(words.size(), 4u);
            ASSERT_EQ(words[1] + words[2], "mvtoolxml");
            EXPECT_EQ(Xml({words.begin() + 3, words.end()}).out, output) << command;
        }
        command.clear();
        output.clear();
    };
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.starts_with("```")) {
            if (block == "```xml") {
                documents.push_back(output);
                Write(documents.size() == 1 ? "settings.xml" : "broken.xml", output);
                output.clear();
            }
            run();
            block = block.empty() ? line : "";
        } else if (block == "```console" && line.starts_with("$ ")) {
            run();
            command = line;
        } else if (!block.empty()) {
            output += line + '\n';
        }
    }
    EXPECT_EQ(documents.size(), 2u);
    EXPECT_EQ(commands, 6);
}

// ---- check

TEST_F(XmlCommandsTest, CheckCountsElementsAndDepth) {
    Write("a.xml", "<?xml version='1.0'?><!-- c --><a><b><c/></b><b/>text</a>");
    EXPECT_EQ(Output({"check", "a.xml"}), "a.xml: good: 4 elements, depth 3\n");
    Write("deep.xml", [] {
        std::string text;
        for (int i = 0; i < 100000; ++i) {
            text += "<a>";
        }
        for (int i = 0; i < 100000; ++i) {
            text += "</a>";
        }
        return text;
    }());
    EXPECT_EQ(Output({"check", "deep.xml"}), "deep.xml: good: 100000 elements, depth 100000\n");
}

TEST_F(XmlCommandsTest, CheckShowsAnErrorWithItsLineAndACaret) {
    Write("a.xml", "<a>\r\n\t<b></c>\r\n</a>");
    EXPECT_EQ(Output({"check", "a.xml"}, kNo), "a.xml:2:9: Error: Unmatched end tag [library code 6]\n"
                                               " <b></c> \n"
                                               "        ^\n");
}

TEST_F(XmlCommandsTest, CheckShowsAWarningWhichCountsWhenStrict) {
    Write("a.xml", "<a><b></a>");
    const std::string shown = "a.xml:1:11: Warning: Unmatched end tag [library code 1]\n"
                              "<a><b></a>\n"
                              "          ^\n";
    EXPECT_EQ(Output({"check", "a.xml"}), shown);
    EXPECT_EQ(Output({"check", "--strict", "a.xml"}, kNo), shown);
    EXPECT_EQ(Output({"check", "-s", "a.xml"}, kNo), shown);
    Write("good.xml", "<a/>");
    Output({"check", "-s", "good.xml"});
}

TEST_F(XmlCommandsTest, CaretCountsCharactersNotUnits) {
    // Two UTF-16 units before the place are one character to see.
    Write("a.xml", "<a>\xF0\x9F\x98\x80\xC3\xA9");
    EXPECT_EQ(Output({"check", "a.xml"}), "a.xml:1:7: Warning: Unmatched end tag [library code 1]\n"
                                          "<a>\xF0\x9F\x98\x80\xC3\xA9\n"
                                          "     ^\n");
    Write("wide.xml", Utf16(u"<a>\U0001F600\u00E9"));
    EXPECT_EQ(Output({"check", "wide.xml"}), "wide.xml:1:7: Warning: Unmatched end tag [library code 1]\n"
                                             "<a>\xF0\x9F\x98\x80\xC3\xA9\n"
                                             "     ^\n");
}

TEST_F(XmlCommandsTest, LongLinesAreCutRoundThePlace) {
    Write("a.xml", "<a>" + std::string(500, 'x') + "</b>" + std::string(500, 'y'));
    EXPECT_EQ(Output({"check", "a.xml"}, kNo), "a.xml:1:508: Error: Unmatched end tag [library code 6]\n" +
                                                   std::string(56, 'x') + "</b>" + std::string(16, 'y') +
                                                   '\n' + std::string(60, ' ') + "^\n");
}

TEST_F(XmlCommandsTest, ControlCharactersOfALineAreEscaped) {
    Write("a.xml", "<a>\x1B[2J\\</b>");
    EXPECT_EQ(Output({"check", "a.xml"}, kNo), "a.xml:1:13: Error: Unmatched end tag [library code 6]\n"
                                               "<a>\\x1b[2J\\</b>\n"
                                               "               ^\n");
}

TEST_F(XmlCommandsTest, ErrorsWithoutAPlaceHaveNoLine) {
    Write("empty.xml", "");
    EXPECT_EQ(Output({"check", "empty.xml"}, kNo), "empty.xml: Error: No XML data [library code 3]\n");
}

TEST_F(XmlCommandsTest, MissingFilesAndFoldersAreNotFound) {
    MakeFolder("folder");
    for (const char* command : {"check", "fmt"}) {
        EXPECT_NE(Xml({command, "none.xml"}).err.find("cannot read none.xml: "), std::string::npos);
        EXPECT_EQ(Xml({command, "none.xml"}).code, kNotFound);
        EXPECT_EQ(Xml({command, "folder"}).err, "mvtool: cannot read folder: it is a folder\n");
    }
    EXPECT_EQ(Xml({"get", "none.xml", "a"}).code, kNotFound);
}

// ---- fmt

TEST_F(XmlCommandsTest, FormattingPrintsUtf8) {
    Write("a.xml", Utf16(u"<?xml version='1.0'?><a b='\u00E9'>\u20AC</a>"));
    EXPECT_EQ(Output({"fmt", "a.xml"}), "<?xml version=\"1.0\"?>\n<a b=\"\xC3\xA9\">\xE2\x82\xAC</a>\n");
    EXPECT_EQ(Output({"fmt", "-c", "a.xml"}), "<?xml version=\"1.0\"?><a b=\"\xC3\xA9\">\xE2\x82\xAC</a>\n");
}

TEST_F(XmlCommandsTest, FormattingIntoAFileWritesUtf16) {
    Write("a.xml", "<a><b/></a>");
    EXPECT_EQ(Output({"fmt", "a.xml", "-o", "b.xml"}), "");
    EXPECT_EQ(Read("b.xml"), Utf16(u"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n<a>\n\t<b/>\n</a>\n"));
    EXPECT_EQ(Output({"fmt", "--compact", "--output=a.xml", "a.xml"}), ""); // onto itself
    EXPECT_EQ(Read("a.xml"), Utf16(u"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n<a><b/></a>"));
    ExpectNothingLeftBehind();
}

TEST_F(XmlCommandsTest, FormattingNotesWarningsAndRefusesErrors) {
    Write("a.xml", "<a><b></a>");
    const Result warned = Xml({"fmt", "a.xml"});
    EXPECT_EQ(warned.code, kDone);
    EXPECT_EQ(warned.out, "<a>\n\t<b/>\n</a>\n");
    EXPECT_EQ(warned.err, "mvtool: a.xml:1:11: Warning: Unmatched end tag [library code 1]\n");
    Write("b.xml", "<a>&x;</a>");
    Write("old.xml", "old");
    const Result refused = Xml({"fmt", "b.xml", "-o", "old.xml"});
    EXPECT_EQ(refused.code, kDamaged);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "mvtool: b.xml:1:9: Error: Unknown character entity [library code 12]\n");
    EXPECT_EQ(Read("old.xml"), "old");
}

TEST_F(XmlCommandsTest, OutputThatCannotBeWritten) {
    Write("a.xml", "<a/>");
    MakeFolder("folder");
    EXPECT_EQ(Xml({"fmt", "a.xml", "-o", "folder"}).code, kWriteFailure);
    EXPECT_EQ(Xml({"fmt", "a.xml", "-o", "none/b.xml"}).code, kNotFound);
    ExpectNothingLeftBehind();
}

// ---- get

TEST_F(XmlCommandsTest, ValuesByPath) {
    Write("a.xml",
          "<?xml version='1.0'?><!--c--><R a='1' b><x>one</x><X k='&lt;'>two<y/> <![CDATA[&3]]>4</X></R>");
    EXPECT_EQ(Output({"get", "a.xml", "R@a"}), "1\n");
    EXPECT_EQ(Output({"get", "a.xml", "/r@A"}), "1\n");
    EXPECT_EQ(Output({"get", "a.xml", "R@b"}), "\n");
    EXPECT_EQ(Output({"get", "a.xml", "R/x"}), "one\n");
    EXPECT_EQ(Output({"get", "a.xml", "R/x[1]"}), "one\n");
    EXPECT_EQ(Output({"get", "a.xml", "R/x[2]"}), "two&34\n");
    EXPECT_EQ(Output({"get", "a.xml", "R/x[2]@k"}), "<\n");
    EXPECT_EQ(Output({"get", "a.xml", "R/x[2]/y"}), "\n");
    EXPECT_EQ(Output({"get", "a.xml", "xml@version"}), "1.0\n");
    EXPECT_EQ(Output({"get", "a.xml", "xml/R@a"}), "1\n"); // a declaration holds what follows it
}

TEST_F(XmlCommandsTest, SeveralRootsAreFoundByName) {
    Write("a.xml", "<a>1</a><b>2</b><a>3</a>");
    EXPECT_EQ(Output({"get", "a.xml", "b"}), "2\n");
    EXPECT_EQ(Output({"get", "a.xml", "a[2]"}), "3\n");
}

TEST_F(XmlCommandsTest, WhatIsNotThereIsNo) {
    Write("a.xml", "<a><b/></a>");
    for (const char* path : {"b", "a/c", "a/b/c", "a/b[2]", "a@x", "a/b@x"}) {
        const Result result = Xml({"get", "a.xml", path});
        EXPECT_EQ(result.code, kNo);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, std::string("mvtool: a.xml has no ") + path + '\n');
    }
}

TEST_F(XmlCommandsTest, PathsThatMakeNoSense) {
    Write("a.xml", "<a/>");
    for (const char* path :
         {"", "/", "a//b", "a/", "@x", "a@", "a[0]", "a[]", "a[x]", "a[1x]", "a[99999999999]", "[1]"}) {
        EXPECT_EQ(Xml({"get", "a.xml", path}).code, kUsage) << path;
    }
    EXPECT_EQ(Xml({"get", "a.xml"}).code, kUsage);
}

TEST_F(XmlCommandsTest, HelpNamesTheCommands) {
    const std::string help = Output({"--help"});
    for (const char* command : {"check FILE", "fmt FILE", "get FILE PATH[@ATTR]"}) {
        EXPECT_NE(help.find(command), std::string::npos);
    }
}

} // namespace
} // namespace tooltest
