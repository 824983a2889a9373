// Conversions of text and the check sum.
#include <crc32.h>
#include <gtest/gtest.h>
#include <string>
#include <text.h>

namespace mvtool {
namespace {

TEST(Text, BytesThatAreNotUtf8ComeBackFromTheirUnits) {
    const std::string texts[] = {"plain",
                                 "Gr\xC3\xB6\xC3\x9F"
                                 "e",
                                 "\xF0\x9F\x98\x80",
                                 "\xFF",
                                 "a\xC3",
                                 "\xC3\xC3\xA9",
                                 "\xED\xA0\x80",
                                 "\xC0\xAF",
                                 "\xF5\x80\x80\x80",
                                 "\xE2\x82",
                                 "\x80\x80"};
    for (const std::string& text : texts) {
        EXPECT_EQ(bytesFromUnits(unitsFromBytes(text)), text);
    }
    EXPECT_EQ(unitsFromBytes("\xF0\x9F\x98\x80"), u"\xD83D\xDE00");
    EXPECT_EQ(unitsFromBytes("a\xFFz"), u"a\xDCFFz");
    EXPECT_EQ(unitsFromBytes("\xC0\xAF"), u"\xDCC0\xDCAF"); // an overlong slash is none
}

TEST(Text, UnitsThatNoBytesGiveHaveNoBytes) {
    EXPECT_EQ(bytesFromUnits(u"\xD800"), std::nullopt);
    EXPECT_EQ(bytesFromUnits(u"\xDC00"), std::nullopt);
    EXPECT_EQ(bytesFromUnits(u"\xDC7F"), std::nullopt);
    EXPECT_EQ(bytesFromUnits(u"\xDCC3\xDCA9"), std::nullopt); // would be "é"
}

TEST(Text, WideTextsTurnIntoUtf8AndBack) {
    EXPECT_EQ(toWide("a\xE2\x82\xAC"), L"a\u20AC");
    EXPECT_EQ(toWide("a\xFF"), std::nullopt);
    EXPECT_EQ(fromWide(L"a\u20AC"), "a\xE2\x82\xAC");
    EXPECT_EQ(fromWide(*toWide("\xF0\x9F\x98\x80")), "\xF0\x9F\x98\x80");
    EXPECT_EQ(fromWide(std::wstring(1, L'\xD800')), "\xEF\xBF\xBD");
    EXPECT_EQ(widePath("a\xFF"), L"a\xDCFF");
}

TEST(Text, WhatCouldSteerATerminalIsShownAsAnEscape) {
    EXPECT_EQ(displayName(u"a\x1B[0m\x7F\u0085\u202E\uFEFF\\\xD800"),
              "a\\x1b[0m\\x7f\\x85\\u202e\\ufeff\\\\\\ud800");
    EXPECT_EQ(displayText("C:\\x\n\xFF"), "C:\\x\\x0a\\xff");
    EXPECT_EQ(displayName(u"Größe €"), "Größe €");
}

TEST(Text, CountsHaveTheirPlural) {
    EXPECT_EQ(counted(0, "file"), "0 files");
    EXPECT_EQ(counted(1, "file"), "1 file");
    EXPECT_EQ(counted(2, "file"), "2 files");
}

TEST(Crc32, HasTheKnownValue) {
    EXPECT_EQ(crc32(0, "123456789", 9), 0xCBF43926u);
    EXPECT_EQ(crc32(0, nullptr, 0), 0u);
}

TEST(Crc32, IsTheSameInPieces) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += static_cast<char>(i * 37);
    }
    const std::uint32_t whole = crc32(0, text.data(), text.size());
    for (std::size_t at = 0; at <= text.size(); ++at) {
        EXPECT_EQ(crc32(crc32(0, text.data(), at), text.data() + at, text.size() - at), whole);
    }
}

} // namespace
} // namespace mvtool
