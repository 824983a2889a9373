// Base64 both ways, beside a decoder that goes character by character.
#include "xml_trees.h"

#include <vector>

namespace {

struct Decoded {
    int result;
    int error;
    std::vector<unsigned char> bytes;
};

Decoded DecodePlainly(const wchar_t* text, std::size_t room) {
    const wchar_t* alphabet = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Decoded decoded = {2, 0, {}};
    unsigned int bits = 0;
    int place = 0;
    for (; *text; ++text) {
        if (*text == L' ' || *text == L'\t' || *text == L'\n' || *text == L'\r')
            continue;
        if (*text == L'=') {
            if (decoded.bytes.size() != room)
                decoded.result = 1, decoded.error = XMLWARNING_BASE64_TRUNCATED;
            return decoded;
        }
        const wchar_t* found = std::wcschr(alphabet, *text);
        if (!found)
            return decoded.result = 0, decoded.error = XMLERROR_BASE64_ILLEGAL, decoded;
        bits = bits << 6 | static_cast<unsigned int>(found - alphabet);
        if (place++ > 0) {
            if (decoded.bytes.size() == room)
                return decoded.result = 0, decoded.error = XMLERROR_BASE64_BUFFER, decoded;
            decoded.bytes.push_back(static_cast<unsigned char>(bits >> (8 - 2 * place)));
        }
        place %= 4;
    }
    if (place)
        decoded.result = 1, decoded.error = XMLWARNING_BASE64_TRUNCATED;
    return decoded;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!size)
        return 0;
    XMLParserBase64Tool tool;
    std::vector<unsigned char> bytes(data, data + size);
    for (char formatted : {0, 1}) {
        wchar_t* text = tool.encode(bytes.data(), static_cast<unsigned int>(size), formatted);
        int length = static_cast<int>(std::wcslen(text));
        Require(length < XMLParserBase64Tool::encodeLength(static_cast<int>(size), formatted));
        std::vector<unsigned char> back(size);
        Require(XMLParserBase64Tool::decode(text, back.data(), static_cast<int>(size)) == 2 && back == bytes);
    }
    // And as a text.
    Text text(data + 1, size - 1, (*data & 1) != 0);
    XMLError error;
    unsigned int expected = XMLParserBase64Tool::decodeSize(text.start.get(), &error);
    Require(error == 0 || error == XMLWARNING_BASE64_LENGTH ||
            (error == XMLERROR_BASE64_ILLEGAL && expected == 0));
    for (std::size_t room : {std::size_t{expected}, std::size_t{expected} / 2, size}) {
        std::vector<unsigned char> out(room);
        Decoded model = DecodePlainly(text.start.get(), room);
        int result =
            XMLParserBase64Tool::decode(text.start.get(), out.data(), static_cast<int>(room), &error);
        Require(result == model.result && error == model.error);
        Require(model.bytes.empty() || std::memcmp(out.data(), model.bytes.data(), model.bytes.size()) == 0);
    }
    int length = -1;
    tool.decode(text.start.get(), &length, &error);
    Require(length == static_cast<int>(expected));
    return 0;
}
