// mvtool ini.
#include "rec_fixture.h"

#include <ini/ini_text.h>

namespace tooltest {
namespace {

class IniTest : public RecTest {
protected:
    Result Ini(const std::string& command, std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {"ini", command, Text("a.ini")};
        words.insert(words.end(), more.begin(), more.end());
        return mvtool(words);
    }
    void WriteIni(const std::wstring& text) const { Write("a.ini", mvtool::ini::encode(text)); }
};

TEST_F(IniTest, ExampleUsage) {
    EXPECT_EQ(Ini("set", {"Window", "Title",
                          "Gr\xC3\xB6\xC3\x9F"
                          "e"})
                  .code,
              kDone);
    EXPECT_EQ(Ini("set", {"Window", "Left", "120"}).code, kDone);
    EXPECT_EQ(Ini("set", {"Files", "Last", "a.txt"}).code, kDone);
    EXPECT_EQ(Ini("get").out, "Window\nFiles\n");
    EXPECT_EQ(Ini("get", {"window"}).out, "Title=Gr\xC3\xB6\xC3\x9F"
                                          "e\nLeft=120\n");
    EXPECT_EQ(Ini("get", {"Window", "LEFT"}).out, "120\n");
    EXPECT_EQ(Ini("set", {"Window", "Left", "--delete"}).code, kDone);
    EXPECT_EQ(Ini("get", {"Window", "Left"}).code, kNotFound);
    EXPECT_EQ(Ini("check").out, Text("a.ini") + ": good: UTF-16 with its mark, 4 lines\n");
}

TEST_F(IniTest, CheckNamesTheTextThatAFirstWriteWouldLose) {
    Write("a.ini", "[s]\r\n; note\r\n\r\nk=caf\xE9\r\n");
    const Result result = Ini("check");
    EXPECT_EQ(result.code, kNo);
    EXPECT_EQ(result.out, Text("a.ini") +
                              ": bad: text without a mark, 3 lines\n"
                              "The first value that the library writes would lose all of this text:\n"
                              "  1: [s]\n"
                              "  2: ; note\n"
                              "  4: k=caf\xC3\xA9\n"
                              "mvtool ini convert --to utf16 keeps it.\n");
}

TEST_F(IniTest, CheckNamesWhatIsNeverRead) {
    WriteIni(L"early\r\n[a]\r\nk=1\r\nK=2\r\n[A]\r\n");
    const Result result = Ini("check");
    EXPECT_EQ(result.code, kNo);
    EXPECT_EQ(result.out, Text("a.ini") +
                              ": bad: UTF-16 with its mark, 5 lines\n"
                              "line 1: a line before the first section is never read\n"
                              "line 4: the key K is never read: line 3 has one of that name\n"
                              "line 5: the section A is never searched: line 2 begins one of that name\n");
}

TEST_F(IniTest, AnEmptyFileIsGood) {
    Write("a.ini", "");
    EXPECT_EQ(Ini("check").out, Text("a.ini") + ": good: empty, 0 lines\n");
    EXPECT_EQ(Ini("get").code, kDone);
    EXPECT_EQ(Ini("set", {"s", "k", "v"}).code, kDone);
    EXPECT_EQ(Read("a.ini"), mvtool::ini::encode(L"[s]\r\nk=v\r\n"));
}

TEST_F(IniTest, SettingAValueOfAFileWithoutMarkIsRefused) {
    Write("a.ini", "[s]\r\nk=1\r\n");
    const Result result = Ini("set", {"s", "m", "2"});
    EXPECT_EQ(result.code, kNo);
    EXPECT_NE(result.err.find("writing would lose all of its text"), std::string::npos);
    EXPECT_EQ(Read("a.ini"), "[s]\r\nk=1\r\n");
    EXPECT_EQ(Ini("set", {"s", "m", "2", "--lose-text"}).code, kDone);
    EXPECT_EQ(Read("a.ini"), mvtool::ini::encode(L"[s]\r\nm=2\r\n"));
}

TEST_F(IniTest, ConvertKeepsTheText) {
    Write("a.ini", "[s]\r\n; note\nk=caf\xE9\r\n");
    Result result = Ini("convert", {"--to", "utf16"});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, Text("a.ini") + ": converted 3 lines of text without a mark\n");
    const std::string converted = mvtool::ini::encode(L"[s]\r\n; note\nk=caf\u00E9\r\n");
    EXPECT_EQ(Read("a.ini"), converted);
    EXPECT_EQ(Ini("set", {"s", "m", "2"}).code, kDone);
    EXPECT_EQ(Ini("get", {"s", "k"}).out, "caf\xC3\xA9\n");
    result = Ini("convert", {"--to=utf16"});
    EXPECT_EQ(result.out, Text("a.ini") + ": UTF-16 with its mark already\n");
    ExpectNothingLeftBehind();
}

TEST_F(IniTest, ConvertTakesUtf8OnRequestAndOtherOutputs) {
    Write("a.ini", "[s]\nk=\xC3\xA9\n");
    EXPECT_EQ(Ini("convert", {"--to", "utf16", "--utf8", "-o", Text("b.ini")}).code, kDone);
    EXPECT_EQ(Read("b.ini"), mvtool::ini::encode(L"[s]\nk=\u00E9\n"));
    EXPECT_EQ(Read("a.ini"), "[s]\nk=\xC3\xA9\n");
    Write("a.ini", "[s]\nk=\xE9\n");
    const Result result = Ini("convert", {"--to", "utf16", "--utf8"});
    EXPECT_EQ(result.code, kDamaged);
    EXPECT_EQ(result.err, "mvtool: " + Text("a.ini") + ": not UTF-8\n");
    EXPECT_EQ(Read("a.ini"), "[s]\nk=\xE9\n");
}

TEST_F(IniTest, WhatIsNotThereGives3) {
    for (const char* command : {"check", "get"}) {
        EXPECT_EQ(Ini(command).code, kNotFound) << command;
    }
    EXPECT_EQ(Ini("convert", {"--to", "utf16"}).code, kNotFound);
    EXPECT_EQ(Ini("set", {"s", "k", "--delete"}).code, kNotFound);
    EXPECT_FALSE(Exists("a.ini"));
    WriteIni(L"[s]\r\nk=\r\n");
    EXPECT_EQ(Ini("get", {"s", "k"}).out, "\n");
    Result result = Ini("get", {"s", "m"});
    EXPECT_EQ(result.code, kNotFound);
    EXPECT_EQ(result.err, "mvtool: no such key: m in s\n");
    result = Ini("get", {"t"});
    EXPECT_EQ(result.code, kNotFound);
    EXPECT_EQ(result.err, "mvtool: no such section, or an empty one: t\n");
}

TEST_F(IniTest, AFolderIsRefusedAtOnce) {
    MakeFolder("a.ini");
    EXPECT_EQ(Ini("set", {"s", "k", "v"}).code, kNotFound); // the library would try for ever
    EXPECT_EQ(Ini("check").code, kNotFound);
}

TEST_F(IniTest, NamesAndValuesStayInTheirLine) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"s", "k", "v\n[t]"}, "a character that would break the line: v\\x0a[t]"},
        {{"s\r", "k", "v"}, "a character that would break the line: s\\x0d"},
        {{"s]", "k", "v"}, "a character that would break the line: s]"},
        {{"s", "k=", "v"}, "a character that would break the line: k="},
        {{"", "k", "v"}, "a section and a key have a name"},
        {{"s", "", "v"}, "a section and a key have a name"},
        {{"s", "k"}, "missing operand: VALUE"},
        {{"s", "k", "v", "--delete"}, "--delete takes no value"},
    };
    for (const auto& [words, text] : cases) {
        const Result result = Ini("set", words);
        EXPECT_EQ(result.code, kUsage) << text;
        EXPECT_EQ(result.err.substr(0, result.err.find('\n')), "mvtool: " + text);
        EXPECT_FALSE(Exists("a.ini"));
    }
    EXPECT_EQ(Ini("convert").code, kUsage);
    EXPECT_EQ(Ini("convert", {"--to", "ansi"}).code, kUsage);
}

TEST_F(IniTest, ABareNameLiesInTheCurrentFolder) {
    Surroundings there;
    there.folder = Path("here");
    MakeFolder("here");
    EXPECT_EQ(mvtool({"ini", "set", "a.ini", "s", "k", "v"}, there).code, kDone);
    EXPECT_EQ(mvtool({"ini", "get", "a.ini", "s", "k"}, there).out, "v\n");
    EXPECT_TRUE(Exists("here/a.ini"));
}

} // namespace
} // namespace tooltest
