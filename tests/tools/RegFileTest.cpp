// The text form of registry keys, without a registry.
#include <reg/reg_file.h>

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using mvtool::Exit;
using mvtool::Failure;
using mvtool::reg::fromUtf16;
using mvtool::reg::Key;
using mvtool::reg::utf16Bytes;
using mvtool::reg::Value;

const std::string kStart = "Windows Registry Editor Version 5.00\r\n\r\n";

Value Text(std::wstring name, const std::wstring& text) {
    return {std::move(name), false, 1, utf16Bytes(text + L'\0')};
}
Value Data(std::wstring name, std::uint32_t type, std::string bytes) {
    return {std::move(name), false, type, std::move(bytes)};
}
Value Removed(std::wstring name) {
    return {std::move(name), true, 0, {}};
}

std::vector<Key> Parse(const std::string& text) {
    return mvtool::reg::parse(kStart + text);
}

/// The keys as the file's text.
std::string Format(const std::vector<Key>& keys) {
    const std::string bytes = mvtool::reg::format(keys);
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    std::string text;
    for (const wchar_t c : fromUtf16(bytes.substr(2))) {
        EXPECT_LT(c, 128);
        text += static_cast<char>(c);
    }
    return text;
}

void ExpectRefused(const std::string& bytes, const std::string& reason) {
    try {
        mvtool::reg::parse(bytes);
        ADD_FAILURE() << bytes;
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), Exit::damaged);
        EXPECT_EQ(failure.text(), reason);
    }
}

} // namespace

TEST(RegFileTest, ExampleUsage) {
    const std::vector<Key> keys = {{L"HKEY_CURRENT_USER\\Software\\X",
                                    false,
                                    {Text(L"", L"default"), Text(L"a \"b\" \\c", L"x\\y \"z\""),
                                     Data(L"n", 4, std::string("\x0A\0\0\0", 4)), Data(L"b", 3, "\x01\x02")}},
                                   {L"HKEY_CURRENT_USER\\Software\\X\\Sub", false, {}}};
    EXPECT_EQ(Format(keys), "Windows Registry Editor Version 5.00\r\n"
                            "\r\n"
                            "[HKEY_CURRENT_USER\\Software\\X]\r\n"
                            "@=\"default\"\r\n"
                            "\"a \\\"b\\\" \\\\c\"=\"x\\\\y \\\"z\\\"\"\r\n"
                            "\"n\"=dword:0000000a\r\n"
                            "\"b\"=hex:01,02\r\n"
                            "\r\n"
                            "[HKEY_CURRENT_USER\\Software\\X\\Sub]\r\n"
                            "\r\n");
    EXPECT_EQ(mvtool::reg::parse(mvtool::reg::format(keys)), keys);
}

TEST(RegFileTest, EveryTypeAndAnyBytesComeBack) {
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    const std::vector<Key> keys = {
        {L"HKEY_USERS\\k]with] brackets",
         false,
         {Data(L"none", 0, ""), Data(L"empty text", 1, ""), Data(L"odd", 1, "abc"),
          Data(L"two ends", 1, std::string("a\0\0\0\0\0", 6)),
          Data(L"expandable", 2, utf16Bytes(L"%a%") + std::string(2, '\0')), Data(L"empty", 3, ""),
          Data(L"all", 3, all), Data(L"short", 4, "12"),
          Data(L"list", 7, utf16Bytes(std::wstring(L"a\0b\0\0", 5))), Data(L"big", 11, "12345678"),
          Data(L"own", 0xFFFFFFFF, "x"), Text(L"\u00E9\u4E00\U0001F600", L"\u00E9\u4E00\U0001F600"),
          Text(L"lines\r\nin name", L"lines\r\nin text"), Removed(L"gone")}},
        {L"HKEY_USERS\\deleted", true, {}}};
    EXPECT_EQ(mvtool::reg::parse(mvtool::reg::format(keys)), keys);
}

TEST(RegFileTest, LongDataAreWrapped) {
    const std::string text = Format({{L"HKEY_USERS\\k", false, {Data(L"data", 3, std::string(60, '\x7F'))}}});
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find("\r\n", at);
        ASSERT_NE(end, std::string::npos);
        EXPECT_LE(end - at, 80u);
        at = end + 2;
    }
    EXPECT_NE(text.find(",\\\r\n  7f"), std::string::npos);
}

TEST(RegFileTest, FilesWrittenByHandAreRead) {
    const std::vector<Key> keys = Parse("; a comment\n"
                                        "  [HKEY_CURRENT_USER\\A]  ; another\n"
                                        "\n"
                                        "\t\"n\" = dword:1 ; and one\n"
                                        "\"b\"=hex: 1, 02 ,\\ \n"
                                        "   a,\\\r\n"
                                        "   FF\r"
                                        "@=-\n"
                                        "[-HKEY_CURRENT_USER\\B]");
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0].path, L"HKEY_CURRENT_USER\\A");
    ASSERT_EQ(keys[0].values.size(), 3u);
    EXPECT_EQ(keys[0].values[0], Data(L"n", 4, std::string("\1\0\0\0", 4)));
    EXPECT_EQ(keys[0].values[1], Data(L"b", 3, "\x01\x02\x0A\xFF"));
    EXPECT_EQ(keys[0].values[2], Removed(L""));
    EXPECT_TRUE(keys[1].remove);
}

TEST(RegFileTest, Utf8IsReadWithAndWithoutMark) {
    const std::string text = kStart + "[HKEY_USERS\\\xC3\xA9]\r\n";
    EXPECT_EQ(mvtool::reg::parse(text).at(0).path, L"HKEY_USERS\\\u00E9");
    EXPECT_EQ(mvtool::reg::parse("\xEF\xBB\xBF" + text).at(0).path, L"HKEY_USERS\\\u00E9");
    ExpectRefused(kStart + "[HKEY_USERS\\\xE9]", "neither UTF-16 with its mark nor UTF-8");
}

TEST(RegFileTest, MistakesAreNamedWithTheirLine) {
    const std::string notOne =
        "line 1: not a registry file: it does not begin with \"Windows Registry Editor Version 5.00\"";
    ExpectRefused("", notOne);
    ExpectRefused("[HKEY_USERS\\a]", notOne);
    ExpectRefused("REGEDIT4\r\n", "line 1: a file of version 4, which is not read; export it anew");
    ExpectRefused("Windows Registry Editor Version 5.00x", "line 1: something behind the end of the entry");
    const auto refused = [](const std::string& text, const std::string& reason) {
        ExpectRefused(kStart + text, "line " + reason);
    };
    refused("x", "3: neither a key nor a value");
    refused("\"a\"=\"b\"", "3: a value before the first key");
    refused("[HKEY_USERS\\a", "3: a key without \"]\"");
    refused("[]", "3: a key without a name");
    refused("[-]", "3: a key without a name");
    refused("[HKEY_USERS\\a] x", "3: something behind the end of the entry");
    refused("[-HKEY_USERS\\a]\n@=\"x\"", "4: a value in a key that is deleted");
    const std::string key = "[HKEY_USERS\\a]\r\n";
    refused(key + "\"a", "4: a text without end");
    refused(key + "\"a\nb\nc", "6: a text without end");
    refused(key + "\"a\"", "4: \"=\" is missing");
    refused(key + "\"a\"=x", "4: a kind of data that is not known");
    refused(key + "\"a\"=\"b\" c", "4: something behind the end of the entry");
    refused(key + "\"a\\n\"=-", "4: \"\\\" in a text stands before \"\\\" or a quote only");
    refused(key + "@=dword:", "4: a dword has 1 to 8 hexadecimal digits");
    refused(key + "@=dword:123456789", "4: a dword has 1 to 8 hexadecimal digits");
    refused(key + "@=hex(:00", "4: a type has 1 to 8 hexadecimal digits");
    refused(key + "@=hex(2:00", "4: \"):\" is missing");
    refused(key + "@=hex:,", "4: a byte is missing");
    refused(key + "@=hex:1,,2", "4: a byte is missing");
    refused(key + "@=hex:123", "4: something behind the end of the entry");
    refused(key + "@=hex:12 34", "4: something behind the end of the entry");
    refused(key + "@=hex:12,\\x", "4: \"\\\" among bytes stands at the end of a line only");
    refused(key + "@=hex:12,\\\n\\\nxx", "6: something behind the end of the entry");
    ExpectRefused(kStart + key + std::string("\"a\0b\"=-", 7), "line 4: a NUL inside a text");
}

TEST(RegFileTest, AFileCutAnywhereIsRefusedOrShorter) {
    const std::vector<Key> keys = {{L"HKEY_USERS\\a", false, {Text(L"t", L"text"), Data(L"d", 3, "12345")}}};
    const std::string whole = mvtool::reg::format(keys);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        try {
            EXPECT_LE(mvtool::reg::parse(whole.substr(0, size)).size(), 1u);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), Exit::damaged);
        }
    }
}
