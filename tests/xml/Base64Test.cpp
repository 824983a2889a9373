#include "XMLNode.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class XmlBase64Test : public testing::Test {
protected:
    std::string Encode(const std::string& bytes, char formatted = 0) {
        std::string copy = bytes;
        const wchar_t* text = m_tool.encode(reinterpret_cast<unsigned char*>(copy.data()),
                                            static_cast<unsigned int>(copy.size()), formatted);
        std::wstring wide = text ? text : L"(null)";
        return std::string(wide.begin(), wide.end());
    }

    // The decoded bytes; m_error and m_length tell the rest.
    std::string Decode(const std::wstring& text) {
        m_error = static_cast<XMLError>(-1);
        m_length = -1;
        const unsigned char* bytes = m_tool.decode(text.c_str(), &m_length, &m_error);
        return bytes ? std::string(reinterpret_cast<const char*>(bytes), static_cast<size_t>(m_length))
                     : "(null)";
    }

    // "result error bytes" of decoding into a buffer of that size.
    std::string DecodeInto(const std::wstring& text, int size) {
        std::vector<unsigned char> buffer(static_cast<size_t>(size) + 8, '.');
        XMLError error = static_cast<XMLError>(-1);
        int result = XMLParserBase64Tool::decode(text.c_str(), buffer.data(), size, &error);
        EXPECT_EQ(XMLParserBase64Tool::decode(text.c_str(), buffer.data(), size), result);
        for (size_t i = static_cast<size_t>(size); i < buffer.size(); ++i)
            EXPECT_EQ(buffer[i], '.');
        return std::to_string(result) + " " + std::to_string(error) + " " +
               std::string(buffer.begin(), buffer.begin() + size);
    }

    static std::string SizeOf(const wchar_t* text) {
        XMLError error = static_cast<XMLError>(-1);
        unsigned int size = XMLParserBase64Tool::decodeSize(text, &error);
        EXPECT_EQ(XMLParserBase64Tool::decodeSize(text), size);
        return std::to_string(size) + " " + std::to_string(error);
    }

    XMLParserBase64Tool m_tool;
    XMLError m_error;
    int m_length;
};

TEST_F(XmlBase64Test, ExampleUsage) {
    XMLParserBase64Tool tool;
    unsigned char picture[] = {0x89, 'P', 'N', 'G'};
    XMLNode node = XMLNode::createXMLTopNode(L"picture");
    node.addText(tool.encode(picture, sizeof(picture)));
    EXPECT_EQ(std::wstring(node.getText()), L"iVBORw==");
    int length = 0;
    XMLError error;
    const unsigned char* bytes = tool.decode(node.getText(), &length, &error);
    EXPECT_EQ(error, XMLERROR_NONE);
    ASSERT_EQ(length, 4);
    EXPECT_EQ(bytes[0], 0x89);
}

TEST_F(XmlBase64Test, KnownTexts) {
    const char* pairs[][2] = {{"", ""},
                              {"f", "Zg=="},
                              {"fo", "Zm8="},
                              {"foo", "Zm9v"},
                              {"foob", "Zm9vYg=="},
                              {"fooba", "Zm9vYmE="},
                              {"foobar", "Zm9vYmFy"},
                              {"\xFF\xFE\xFB", "//77"}};
    for (auto& pair : pairs) {
        EXPECT_EQ(Encode(pair[0]), pair[1]);
        std::string text = pair[1];
        if (!text.empty()) {
            EXPECT_EQ(Decode(std::wstring(text.begin(), text.end())), pair[0]);
            EXPECT_EQ(m_error, 0);
        }
    }
}

TEST_F(XmlBase64Test, EveryLengthComesBack) {
    std::string bytes;
    for (int length = 0; length < 300; ++length) {
        for (char formatted : {0, 1}) {
            std::string text = Encode(bytes, formatted);
            ASSERT_LT(static_cast<int>(text.size()), XMLParserBase64Tool::encodeLength(length, formatted));
            if (length == 0)
                continue;
            std::wstring wide(text.begin(), text.end());
            if (wide.back() == L'\n')
                wide.pop_back();
            ASSERT_EQ(Decode(wide), bytes) << length;
            ASSERT_EQ(m_error, 0);
        }
        bytes += static_cast<char>(length * 37 + 11);
    }
}

TEST_F(XmlBase64Test, EncodedLengths) {
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(0), 5); // Kept: the division truncates toward zero
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(1), 5);
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(3), 5);
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(4), 9);
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(54, 0), 73);
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(53, 1), 73);
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(54, 1), 74);
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(108, 1), 147);
}

TEST_F(XmlBase64Test, LineFeedFollowsEvery54Bytes) {
    EXPECT_EQ(Encode(std::string(54, 'a'), 1).size(), 73u);
    EXPECT_EQ(Encode(std::string(54, 'a'), 1).back(), '\n');
    EXPECT_EQ(Encode(std::string(54, 'a'), 0).size(), 72u);
    EXPECT_EQ(Encode(std::string(53, 'a'), 1).back(), '=');
    std::string text = Encode(std::string(55, 'a'), 1);
    EXPECT_EQ(text.substr(72), "\nYQ==");
    EXPECT_EQ(Encode(std::string(108, 'a'), 1).find('\n', 73), 145u);
}

TEST_F(XmlBase64Test, WhiteSpaceIsSkipped) {
    EXPECT_EQ(Decode(L" Z m\t9\nv\r\nYg=="), "foob");
    EXPECT_EQ(m_error, 0);
    EXPECT_EQ(DecodeInto(L"Zm9v \n", 3), "2 0 foo");
}

TEST_F(XmlBase64Test, SizesAndTheirErrors) {
    EXPECT_EQ(SizeOf(L""), "0 0");
    EXPECT_EQ(SizeOf(nullptr), "0 0");
    EXPECT_EQ(SizeOf(L"QQ=="), "1 0");
    EXPECT_EQ(SizeOf(L"QUI="), "2 0");
    EXPECT_EQ(SizeOf(L"QUJD"), "3 0");
    EXPECT_EQ(SizeOf(L"QQ="), "1 17");
    EXPECT_EQ(SizeOf(L"QQ"), "1 17");
    EXPECT_EQ(SizeOf(L"Q"), "0 17");
    EXPECT_EQ(SizeOf(L" QQ =="), "1 0");
    EXPECT_EQ(SizeOf(L"QQ==\n"), "3 0"); // Kept: the padding does not stand right before the end
    EXPECT_EQ(SizeOf(L"QQ*="), "0 18");
    EXPECT_EQ(SizeOf(L"QQ\u00E9="), "0 18");
    EXPECT_EQ(SizeOf(L"QQ\u0141="), "0 18");
    EXPECT_EQ(SizeOf(L"Q\vQ="), "0 18");
    EXPECT_EQ(SizeOf(L"===="), "0 0");
}

TEST_F(XmlBase64Test, DecodingIntoABuffer) {
    EXPECT_EQ(DecodeInto(L"", 0), "2 0 ");
    EXPECT_EQ(DecodeInto(L"QUJD", 3), "2 0 ABC");
    EXPECT_EQ(DecodeInto(L"QUJD", 5), "2 0 ABC..");
    EXPECT_EQ(DecodeInto(L"QQ==", 1), "2 0 A");
    EXPECT_EQ(DecodeInto(L"QUI=", 2), "2 0 AB");
    EXPECT_EQ(DecodeInto(L"QUJDRA==", 4), "2 0 ABCD");
}

// What decoding must give, character by character.
std::string DecodePlainly(const std::wstring& text, int size) {
    const std::wstring alphabet = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    auto outcome = [&](const char* code) {
        int written = static_cast<int>(bytes.size());
        return code + (" " + bytes) + std::string(static_cast<size_t>(size - written), '.');
    };
    unsigned int bits = 0;
    int place = 0;
    for (wchar_t unit : text) {
        if (unit == L'\n' || unit == L' ')
            continue;
        if (unit == L'=')
            return outcome(static_cast<int>(bytes.size()) == size ? "2 0" : "1 19");
        size_t value = alphabet.find(unit);
        if (value == std::wstring::npos)
            return outcome("0 18");
        bits = bits << 6 | static_cast<unsigned int>(value);
        if (place++ > 0) {
            if (static_cast<int>(bytes.size()) == size)
                return outcome("0 20");
            bytes += static_cast<char>(bits >> (8 - 2 * place));
        }
        place %= 4;
    }
    return outcome(place ? "1 19" : "2 0");
}

TEST_F(XmlBase64Test, OddCharactersAreSeenAnywhereInALongText) {
    std::string bytes;
    for (int i = 0; i < 150; ++i)
        bytes += static_cast<char>(i * 41 + 3);
    std::string narrow = Encode(bytes);
    std::wstring sound(narrow.begin(), narrow.end());
    // Beside the alphabet's own neighbours, units whose lower half is in the alphabet.
    const wchar_t odd[] = {L'*', L'@',  L'[',   L'`',   L'{',   L':',   L'-', L'.', L' ',  L'\n',
                           L'=', 0x141, 0x4141, 0x8041, 0xFF41, 0xFFFF, 0x80, 0xFF, L'\v', L'\x7F'};
    for (wchar_t unit : odd) {
        for (size_t at = 0; at < sound.size(); ++at) {
            std::wstring text = sound;
            text[at] = unit;
            ASSERT_EQ(DecodeInto(text, 150), DecodePlainly(text, 150))
                << "unit " << static_cast<int>(unit) << " at " << at;
        }
    }
    for (int size = 0; size <= 155; ++size)
        ASSERT_EQ(DecodeInto(sound, size), DecodePlainly(sound, size));
    for (size_t length = 0; length <= sound.size(); ++length)
        ASSERT_EQ(DecodeInto(sound.substr(0, length), 150), DecodePlainly(sound.substr(0, length), 150));
}

TEST_F(XmlBase64Test, EveryCharacterOfTheAlphabetAtEveryPlace) {
    std::string bytes;
    for (int value = 0; value < 64; ++value)
        bytes += std::string(1, static_cast<char>(value << 2 | value >> 4)) +
                 static_cast<char>(value << 4 | value >> 2) + static_cast<char>(value << 6 | value);
    std::string expected;
    for (char character : std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))
        expected += std::string(4, character);
    EXPECT_EQ(Encode(bytes), expected);
    EXPECT_EQ(Decode(std::wstring(expected.begin(), expected.end())), bytes);
}

TEST_F(XmlBase64Test, LinesAreTheSameTextWithLineFeeds) {
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
        bytes += static_cast<char>(i * 59 + i / 7);
    for (size_t length : {54u, 76u, 108u, 130u, 162u, 999u, 1000u}) {
        std::string plain = Encode(bytes.substr(0, length));
        std::string expected;
        for (size_t at = 0; at < plain.size(); at += 72) {
            expected += plain.substr(at, 72);
            if (at + 72 <= plain.size() && plain[at + 71] != '=')
                expected += '\n';
        }
        EXPECT_EQ(Encode(bytes.substr(0, length), 1), expected) << length;
        EXPECT_EQ(SizeOf(std::wstring(plain.begin(), plain.end()).c_str()), std::to_string(length) + " 0");
    }
}

TEST_F(XmlBase64Test, LengthsThatNoIntHoldsAreCut) {
    EXPECT_EQ(XMLParserBase64Tool::encodeLength(2147483647, 1), 2147483647);
    EXPECT_EQ(m_tool.encode(nullptr, 0xFFFFFFFFu), nullptr);
}

// ---- Error results

TEST_F(XmlBase64Test, Error18IllegalCharacter) {
    EXPECT_EQ(DecodeInto(L"QU*D", 3).substr(0, 4), "0 18");
    EXPECT_EQ(DecodeInto(L"*", 3), "0 18 ...");
    EXPECT_EQ(DecodeInto(L"QUJD\u0100", 8), "0 18 ABC.....");
    EXPECT_EQ(Decode(L"QUJ-"), "(null)");
    EXPECT_EQ(m_error, 18);
    EXPECT_EQ(m_length, 0);
}

TEST_F(XmlBase64Test, Warning19EndsInsideAGroup) {
    EXPECT_EQ(DecodeInto(L"QUJDRA", 8), "1 19 ABCD....");
    EXPECT_EQ(DecodeInto(L"Q", 8), "1 19 ........");
    EXPECT_EQ(DecodeInto(L"QUJDR", 3), "1 19 ABC");
    EXPECT_EQ(DecodeInto(L"QQ==", 2), "1 19 A.");
    EXPECT_EQ(DecodeInto(L"=", 2), "1 19 ..");
    EXPECT_EQ(DecodeInto(L"QQ", 1), "1 19 A");
}

TEST_F(XmlBase64Test, PaddingWhenTheBufferIsFullIsTheEnd) {
    EXPECT_EQ(DecodeInto(L"QUJD=", 3), "2 0 ABC");
    EXPECT_EQ(DecodeInto(L"=", 0), "2 0 ");
    EXPECT_EQ(DecodeInto(L"QUI=garbage*", 2), "2 0 AB");
}

TEST_F(XmlBase64Test, Error20BufferTooSmall) {
    EXPECT_EQ(DecodeInto(L"QUJD", 2), "0 20 AB");
    EXPECT_EQ(DecodeInto(L"QUJD", 0), "0 20 ");
    EXPECT_EQ(DecodeInto(L"QUJDRUZH", 3), "0 20 ABC");
    unsigned char byte = 0;
    EXPECT_EQ(XMLParserBase64Tool::decode(L"QQ==", &byte, -1), 0);
}

TEST_F(XmlBase64Test, TruncatedTextIsDecodedByTheTool) {
    EXPECT_EQ(Decode(L"QUJDRA"), "ABCD");
    EXPECT_EQ(m_error, 19);
    EXPECT_EQ(Decode(L"QQ==\n").substr(0, 1), "A"); // three bytes were expected
    EXPECT_EQ(m_error, 19);
    EXPECT_EQ(Decode(L""), "(null)");
    EXPECT_EQ(m_error, 0);
    EXPECT_EQ(m_length, 0);
    EXPECT_NE(m_tool.decode(L"QQ==", nullptr, nullptr), nullptr);
}

TEST_F(XmlBase64Test, NothingIsEncodedAndDecodedAsNothing) {
    EXPECT_STREQ(m_tool.encode(nullptr, 0), L"");
    EXPECT_STREQ(m_tool.encode(nullptr, 0, 1), L"");
    XMLError error = static_cast<XMLError>(-1);
    EXPECT_EQ(XMLParserBase64Tool::decode(nullptr, nullptr, 0, &error), 2);
    EXPECT_EQ(error, 0);
    int length = -1;
    EXPECT_EQ(m_tool.decode(nullptr, &length, &error), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(error, 0);
}

TEST_F(XmlBase64Test, BufferIsReused) {
    std::string large(10000, 'x');
    Encode(large);
    Decode(L"QUJD");
    EXPECT_EQ(Encode("foo"), "Zm9v");
    m_tool.freeBuffer();
    m_tool.freeBuffer();
    EXPECT_EQ(Encode("foo"), "Zm9v");
}

} // namespace
