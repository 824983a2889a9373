#include "XMLNode.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(XmlValuesTest, ExampleUsage) {
    XMLNode node = XMLNode::parseString(L"<window width='640' title=''/>");
    EXPECT_EQ(xmltoi(node.getAttribute(L"width"), 320), 640);
    EXPECT_EQ(xmltoi(node.getAttribute(L"height"), 200), 200);
    EXPECT_EQ(std::wstring(xmltoa(node.getAttribute(L"title"), L"none")), L"");
}

TEST(XmlValuesTest, TextOrDefault) {
    EXPECT_EQ(std::wstring(xmltoa(L"x", L"d")), L"x");
    EXPECT_EQ(std::wstring(xmltoa(L"", L"d")), L"");
    EXPECT_EQ(std::wstring(xmltoa(nullptr, L"d")), L"d");
    EXPECT_EQ(xmltoa(nullptr, nullptr), nullptr);
}

TEST(XmlValuesTest, IntegersReadLeadingDigits) {
    struct {
        const wchar_t* text;
        int value;
    } cases[] = {{L"12", 12},   {L"12abc", 12}, {L" \t\n\v\f\r+12", 12},
                 {L"-12", -12}, {L"abc", 0},    {L"-", 0},
                 {L"- 1", 0},   {L"+-1", 0},    {L"0x10", 0},
                 {L"1.9", 1},   {L"00012", 12}, {L"-0", 0},
                 {L" ", 0}};
    for (auto& one : cases) {
        EXPECT_EQ(xmltoi(one.text, 7), one.value) << one.text;
        EXPECT_EQ(xmltol(one.text, 7), one.value) << one.text;
    }
}

TEST(XmlValuesTest, NullAndEmptyGiveTheDefault) {
    EXPECT_EQ(xmltoi(L"", 7), 7);
    EXPECT_EQ(xmltoi(nullptr, 7), 7);
    EXPECT_EQ(xmltol(L"", 7), 7);
    EXPECT_EQ(xmltol(nullptr, 7), 7);
    EXPECT_EQ(xmltof(L"", 1.5), 1.5);
    EXPECT_EQ(xmltof(nullptr, 1.5), 1.5);
}

TEST(XmlValuesTest, IntegersStopAtTheirLimits) {
    EXPECT_EQ(xmltoi(L"2147483647", 0), INT_MAX);
    EXPECT_EQ(xmltoi(L"2147483648", 0), INT_MAX);
    EXPECT_EQ(xmltoi(L"-2147483648", 0), INT_MIN);
    EXPECT_EQ(xmltoi(L"-99999999999999999999999999", 0), INT_MIN);
    EXPECT_EQ(xmltoi(L"99999999999999999999999999", 0), INT_MAX);
    EXPECT_EQ(xmltol(std::to_wstring(LONG_MAX).c_str(), 0), LONG_MAX);
    EXPECT_EQ(xmltol(std::to_wstring(LONG_MIN).c_str(), 0), LONG_MIN);
    EXPECT_EQ(xmltol(L"99999999999999999999999999", 0), LONG_MAX);
    EXPECT_EQ(xmltol(L"-99999999999999999999999999", 0), LONG_MIN);
}

TEST(XmlValuesTest, FloatingPointIsAlwaysTheDefault) {
    // Kept: and the text is no format, whatever it holds.
    EXPECT_EQ(xmltof(L"2.5", 1.0), 1.0);
    EXPECT_EQ(xmltof(L"%n%s%f", -3.0), -3.0);
    EXPECT_EQ(xmltof(L"0", 9.0), 9.0);
}

TEST(XmlValuesTest, StringsAreDuplicated) {
    const wchar_t* source = L"duplicate";
    wchar_t* copy = stringDup(source);
    EXPECT_NE(copy, source);
    EXPECT_EQ(std::wstring(copy), source);
    freeXMLString(copy);
    copy = stringDup(source, 3);
    EXPECT_EQ(std::wstring(copy), L"dup");
    freeXMLString(copy);
    copy = stringDup(source, 100); // no further than the text goes
    EXPECT_EQ(std::wstring(copy), source);
    freeXMLString(copy);
    copy = stringDup(L"");
    EXPECT_EQ(std::wstring(copy), L"");
    freeXMLString(copy);
    EXPECT_EQ(stringDup(nullptr, 5), nullptr);
    freeXMLString(nullptr);
}

} // namespace
