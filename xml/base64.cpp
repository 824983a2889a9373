#include "XMLNode.h"

#include "xml/base64_vector.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

namespace {

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What a character is: its value below 64, or one of these.
enum : unsigned char { Padding = 64, Skipped = 65, Illegal = 66, End = 67 };

struct DecodingTable {
    unsigned char kinds[256];
};

constexpr DecodingTable MakeDecodingTable() {
    DecodingTable table = {};
    for (unsigned char& kind : table.kinds)
        kind = Illegal;
    for (unsigned char value = 0; value < 64; ++value)
        table.kinds[static_cast<unsigned char>(Alphabet[value])] = value;
    for (char skipped : {'\t', '\n', '\r', ' '})
        table.kinds[static_cast<unsigned char>(skipped)] = Skipped;
    table.kinds[static_cast<unsigned char>('=')] = Padding;
    table.kinds[0] = End;
    return table;
}

constexpr DecodingTable Decoding = MakeDecodingTable();

unsigned char KindOf(wchar_t unit) {
    return static_cast<unsigned long>(unit) < 256 ? Decoding.kinds[static_cast<unsigned char>(unit)]
                                                  : static_cast<unsigned char>(Illegal);
}

// The kind of the next character that is not skipped.
unsigned char Next(const wchar_t*& data) {
    unsigned char kind;
    do {
        kind = KindOf(*data);
        if (kind != End)
            ++data;
    } while (kind == Skipped);
    return kind;
}

void Report(XMLError* error, XMLError value) {
    if (error)
        *error = value;
}

constexpr unsigned int BytesPerLine = 54;

// Encodes whole groups.
wchar_t* EncodeGroups(const unsigned char* data, const unsigned char* end, wchar_t* out) {
    for (; data != end; data += 3) {
        unsigned int value =
            static_cast<unsigned int>(data[0]) << 16 | static_cast<unsigned int>(data[1]) << 8 | data[2];
        for (int shift = 18; shift >= 0; shift -= 6)
            *out++ = static_cast<wchar_t>(Alphabet[value >> shift & 63]);
    }
    return out;
}

} // namespace

XMLParserBase64Tool::~XMLParserBase64Tool() {
    freeBuffer();
}

void XMLParserBase64Tool::freeBuffer() {
    std::free(m_buffer);
    m_buffer = nullptr;
    m_capacity = 0;
}

bool XMLParserBase64Tool::reserve(unsigned long long bytes) {
    if (bytes > INT_MAX)
        return false;
    if (static_cast<int>(bytes) <= m_capacity)
        return true;
    freeBuffer();
    m_buffer = std::malloc(static_cast<std::size_t>(bytes));
    if (m_buffer)
        m_capacity = static_cast<int>(bytes);
    return m_buffer != nullptr;
}

int XMLParserBase64Tool::encodeLength(int inByteLength, char formatted) {
    long long length = (inByteLength - 1ll) / 3 * 4 + 5 + (formatted ? inByteLength / 54 : 0);
    return length < INT_MAX ? static_cast<int>(length) : INT_MAX;
}

wchar_t* XMLParserBase64Tool::encode(unsigned char* data, unsigned int length, char formatted) {
    constexpr unsigned int WrittenBehind = 24;
    unsigned long long units = length / 3 * 4ull + 8 + length / BytesPerLine + WrittenBehind;
    if (!reserve(units * sizeof(wchar_t)))
        return nullptr;
    wchar_t* start = static_cast<wchar_t*>(m_buffer);
    wchar_t* out = start;
    const unsigned char* source = data;
    const unsigned char* end = data + length;
    bool steps = mvxml::CanStepBase64();
    if (formatted) {
        if (steps)
            mvxml::EncodeLines(source, end, out);
        for (; static_cast<std::size_t>(end - source) >= BytesPerLine; source += BytesPerLine) {
            out = EncodeGroups(source, source + BytesPerLine, out);
            *out++ = L'\n';
        }
    } else if (steps) {
        mvxml::EncodeSteps(source, end, out);
    }
    const unsigned char* tail = end - length % 3;
    out = EncodeGroups(source, tail, out);
    auto put = [&](unsigned int value) { *out++ = static_cast<wchar_t>(Alphabet[value & 63]); };
    if (length % 3 == 1) {
        put(static_cast<unsigned int>(tail[0]) >> 2);
        put(static_cast<unsigned int>(tail[0]) << 4);
        *out++ = L'=';
        *out++ = L'=';
    } else if (length % 3 == 2) {
        unsigned int value = static_cast<unsigned int>(tail[0]) << 8 | tail[1];
        put(value >> 10);
        put(value >> 4);
        put(value << 2);
        *out++ = L'=';
    }
    *out = 0;
    return start;
}

unsigned int XMLParserBase64Tool::decodeSize(const wchar_t* data, XMLError* error) {
    Report(error, XMLERROR_NONE);
    if (!data)
        return 0;
    unsigned long long count = 0;
    const wchar_t* p = data;
    bool steps = mvxml::CanStepBase64();
    for (; *p; ++p) {
        if (steps && (p - data) % mvxml::DecodedUnits == 0) {
            const wchar_t* behind = mvxml::SkipSteps(p);
            count += static_cast<unsigned long long>(behind - p);
            p = behind;
            if (!*p)
                break;
        }
        unsigned char kind = KindOf(*p);
        if (kind == Illegal) {
            Report(error, XMLERROR_BASE64_ILLEGAL);
            return 0;
        }
        count += kind != Skipped;
    }
    if (count % 4)
        Report(error, XMLWARNING_BASE64_LENGTH);
    // Kept: only padding right before the NUL is subtracted.
    while (p > data && p[-1] == L'=') {
        --p;
        --count;
    }
    return static_cast<unsigned int>(count * 3 / 4);
}

unsigned char XMLParserBase64Tool::decode(const wchar_t* data, unsigned char* out, int outLength,
                                          XMLError* error) {
    Report(error, XMLERROR_NONE);
    unsigned char* limit = out + (outLength > 0 ? outLength : 0);
    auto refuse = [&](XMLError reason) {
        Report(error, reason);
        return static_cast<unsigned char>(reason == XMLWARNING_BASE64_TRUNCATED ? 1 : 0);
    };
    if (!data)
        return 2;
    bool steps = mvxml::CanStepBase64();
    for (;;) {
        if (steps)
            mvxml::DecodeSteps(data, out, limit);
        unsigned int value = 0;
        for (int place = 0; place < 4; ++place) {
            unsigned char kind = Next(data);
            if (kind == Illegal)
                return refuse(XMLERROR_BASE64_ILLEGAL);
            if (kind == End)
                return place == 0 ? 2 : refuse(XMLWARNING_BASE64_TRUNCATED);
            if (kind == Padding)
                return out == limit ? 2 : refuse(XMLWARNING_BASE64_TRUNCATED);
            value = value << 6 | kind;
            if (place == 0)
                continue;
            // Every character behind the first completes a byte.
            if (out == limit)
                return refuse(XMLERROR_BASE64_BUFFER);
            *out++ = static_cast<unsigned char>(value >> (6 - 2 * place));
        }
    }
}

unsigned char* XMLParserBase64Tool::decode(const wchar_t* data, int* outLength, XMLError* error) {
    unsigned int size = decodeSize(data, error);
    if (outLength)
        *outLength = static_cast<int>(size);
    if (!size || !reserve(size + 1ull))
        return nullptr;
    unsigned char* bytes = static_cast<unsigned char*>(m_buffer);
    return decode(data, bytes, static_cast<int>(size), error) ? bytes : nullptr;
}
