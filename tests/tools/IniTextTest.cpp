// What mvtool makes of the text of INI files.
#include <ini/ini_text.h>

#include <gtest/gtest.h>

namespace {

using namespace mvtool::ini;

std::vector<std::string> Problems(const std::wstring& text) {
    std::vector<std::string> all;
    for (const Problem& problem : problemsOf(linesOf(text))) {
        all.push_back(std::to_string(problem.line) + ": " + problem.text);
    }
    return all;
}

} // namespace

TEST(IniTextTest, TheMarkTellsTheEncoding) {
    EXPECT_EQ(encodingOf(""), Encoding::empty);
    EXPECT_EQ(encodingOf("\xFF\xFE"), Encoding::utf16);
    EXPECT_EQ(encodingOf("\xFE\xFFx"), Encoding::utf16Big);
    EXPECT_EQ(encodingOf("\xEF\xBB\xBF"), Encoding::utf8);
    EXPECT_EQ(encodingOf("\xFF"), Encoding::bytes);
    EXPECT_EQ(encodingOf("[s]"), Encoding::bytes);
}

TEST(IniTextTest, EveryEncodingIsDecoded) {
    std::wstring text;
    for (const std::string& bytes : {std::string("\xFF\xFE\xE9\0x\0", 6), std::string("\xFE\xFF\0\xE9\0x", 6),
                                     std::string("\xEF\xBB\xBF\xC3\xA9x"), std::string("\xE9x")}) {
        EXPECT_TRUE(decode(bytes, false, text));
        EXPECT_EQ(text, L"\u00E9x");
    }
    EXPECT_TRUE(decode("\xC3\xA9x", true, text));
    EXPECT_EQ(text, L"\u00E9x");
    EXPECT_FALSE(decode("\xE9x", true, text));
    EXPECT_FALSE(decode("\xEF\xBB\xBF\xE9x", false, text));
    EXPECT_TRUE(decode("", true, text));
    EXPECT_EQ(text, L"");
    EXPECT_EQ(encode(L"\u00E9"), std::string("\xFF\xFE\xE9\0", 4));
}

TEST(IniTextTest, LinesEndInEveryManner) {
    const std::vector<Line> lines = linesOf(L"a\r\nb\nc\rd\r\r\n  \t\n e");
    ASSERT_EQ(lines.size(), 5u);
    const std::size_t numbers[] = {1, 2, 3, 4, 7};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(lines[i].number, numbers[i]);
    }
    EXPECT_EQ(lines[4].text, L" e");
}

TEST(IniTextTest, AFileThatTheLibraryReadsWholeHasNoProblem) {
    EXPECT_EQ(Problems(L"; comment\n[a]\nk=v\nalone\nm=\n[b]\nk=v\n").size(), 0u);
    EXPECT_EQ(Problems(L"").size(), 0u);
}

TEST(IniTextTest, WhatIsNeverReadOrCutIsNamed) {
    EXPECT_EQ(Problems(L"early\n[a]\nK=1\n[open\n k = 2\n[b]\n[A]\nx=1\n"),
              (std::vector<std::string>{
                  "1: a line before the first section is never read", "4: a section without \"]\" is none",
                  "5: the key k is never read: line 3 has one of that name",
                  "7: the section A is never searched: line 2 begins one of that name"}));
    EXPECT_EQ(Problems(L"[a]\nk=" + std::wstring(1024, L'x')).size(), 0u);
    EXPECT_EQ(Problems(L"[a]\nk=" + std::wstring(1025, L'x')),
              std::vector<std::string>{"2: the value of k is cut: it has more than 1,024 characters"});
    std::wstring longSection = L"[a]\n";
    for (int i = 10000; i < 20000; ++i) {
        longSection += std::to_wstring(i) + L"=\n";
    }
    EXPECT_EQ(
        Problems(longSection),
        std::vector<std::string>{
            "4682: the section is cut here when it is read as a whole: it has more than 32,767 characters"});
}
