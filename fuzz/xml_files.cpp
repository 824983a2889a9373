// Parses any bytes as a file; UTF-8 gives what its wide text gives; what is written is read again.
#include "xml_trees.h"

#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include "win32.h"

namespace {

// In memory where the system has such a folder.
struct Folder {
    Folder() {
        std::filesystem::path base = "/dev/shm";
        if (!std::filesystem::is_directory(base))
            base = std::filesystem::temp_directory_path();
        std::random_device random;
        do
            path = base / ("mvlib62-fuzz-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path));
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Folder folder;
    static const std::string in = (folder.path / "in.xml").string();
    static const std::wstring wideIn(in.begin(), in.end());
    static const std::string out = (folder.path / "out.xml").string();
    static const std::wstring wideOut(out.begin(), out.end());
    if (!size)
        return 0;
    std::uint8_t flags = *data++;
    --size;
    SetOptions(flags);
    std::FILE* file = std::fopen(in.c_str(), "wb");
    Require(file && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
    XMLResults results = {static_cast<XMLError>(-1), -1, -1};
    XMLNode node = XMLNode::parseFile(wideIn.c_str(), nullptr, &results);
    Require(results.error >= 0 && results.error <= 14);
    Require(node.isEmpty() == (results.error > 2));

    // A zero byte behind the text, as the system's functions want it.
    std::vector<char> bytes(data, data + size);
    bytes.push_back(0);
    if (size && !(flags & 8) && !IsTextUnicode(bytes.data(), static_cast<int>(size), nullptr)) {
        const char* start =
            bytes.data() + (size >= 3 && std::memcmp(bytes.data(), "\xEF\xBB\xBF", 3) == 0 ? 3 : 0);
        UINT page = flags & 4 ? CP_ACP : CP_UTF8;
        int length = MultiByteToWideChar(page, 0, start, -1, nullptr, 0);
        std::wstring text(static_cast<std::size_t>(length), L'\0');
        MultiByteToWideChar(page, 0, start, -1, text.data(), length);
        if (!*start) {
            Require(results.error == XMLERROR_CONVERSION);
        } else {
            XMLResults expected;
            XMLNode other = XMLNode::parseString(text.c_str(), nullptr, &expected);
            Require(results.error == expected.error && results.line == expected.line &&
                    results.column == expected.column);
            Require(node.isEmpty() == other.isEmpty() && (node.isEmpty() || SameTree(node, other)));
        }
    }

    if (!node.isEmpty()) {
        Require(node.writeToFile(wideOut.c_str(), nullptr, 0) == XMLERROR_NONE);
        XMLNode::setGlobalOptions(XMLNode::encoding_keep, 1, (flags & 1) == 0, (flags & 2) == 0);
        XMLNode again = XMLNode::parseFile(wideOut.c_str(), nullptr, &results);
        Require(results.error != XMLERROR_FILE_NOT_FOUND && results.error != XMLERROR_NO_DATA &&
                results.error != XMLERROR_CONVERSION);
    }
    return 0;
}
