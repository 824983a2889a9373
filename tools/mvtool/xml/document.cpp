#include "document.h"

#include "win32.h"

#include "../console.h"
#include "../system.h"
#include "../text.h"
#include <algorithm>

namespace mvtool::xml {
namespace {

/// What the file holds as wide text, as far as it can be shown.
std::wstring textOf(const std::string& path) {
    HANDLE file = CreateFileW(widePath(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return {};
    }
    std::string bytes;
    char block[65536];
    DWORD read = 0;
    while (ReadFile(file, block, sizeof(block), &read, nullptr) && read != 0) {
        bytes.append(block, read);
    }
    CloseHandle(file);
    const std::size_t size = bytes.size();
    bytes.append(2, '\0');
    std::wstring text;
    if (size != 0 && IsTextUnicode(bytes.data(), static_cast<int>(size), nullptr)) {
        for (std::size_t at = 0; at < size; at += 2) {
            text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[at]) |
                                         static_cast<unsigned char>(bytes[at + 1]) << 8);
        }
        // The library skips EF FF, too.
        if (!text.empty() && (text[0] == 0xFEFF || text[0] == 0xFFEF)) {
            text.erase(0, 1);
        }
        return text;
    }
    const char* start = bytes.c_str() + (bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0);
    int length = MultiByteToWideChar(CP_UTF8, 0, start, -1, nullptr, 0);
    text.resize(static_cast<std::size_t>(length > 0 ? length : 1));
    MultiByteToWideChar(CP_UTF8, 0, start, -1, text.data(), length);
    text.pop_back();
    return text;
}

/// The text's UTF-16 units.
std::u16string unitsOf(std::wstring_view text) {
    std::u16string units;
    for (const wchar_t c : text) {
        const auto point = static_cast<char32_t>(c);
        if (point > 0xFFFF) {
            units += static_cast<char16_t>(0xD7C0 + (point >> 10));
            units += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        } else {
            units += static_cast<char16_t>(point);
        }
    }
    return units;
}

} // namespace

Document parse(const std::string& path) {
    Document document;
    document.node = XMLNode::parseFile(widePath(path).c_str(), nullptr, &document.results);
    if (document.results.error == XMLERROR_FILE_NOT_FOUND) {
        std::string reason = lastSystemError();
        const DWORD attributes = GetFileAttributesW(widePath(path).c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            reason = "it is a folder";
        }
        throw Failure(Exit::notFound, "cannot read " + displayText(path) + ": " + reason);
    }
    return document;
}

XMLNode parseSound(const std::string& path) {
    Document document = parse(path);
    if (document.node.isEmpty()) {
        throw Failure(Exit::damaged, describe(path, document.results));
    }
    if (document.results.error != XMLERROR_NONE) {
        console().note(describe(path, document.results));
    }
    return document.node;
}

std::string describe(const std::string& path, const XMLResults& results) {
    std::string text = displayText(path);
    if (results.line != 0) {
        text += ':' + std::to_string(results.line) + ':' + std::to_string(results.column);
    }
    return text + ": " + fromWide(XMLNode::getError(results.error)) + " [library code " +
           std::to_string(results.error) + ']';
}

std::string excerpt(const std::string& path, const XMLResults& results) {
    if (results.line == 0) {
        return {};
    }
    constexpr std::size_t kBefore = 60;
    constexpr std::size_t kBehind = 16;
    const std::wstring text = textOf(path);
    std::size_t start = 0;
    for (int line = 1; line < results.line && start != std::wstring::npos; ++line) {
        start = text.find(L'\n', start);
        start += start == std::wstring::npos ? 0 : 1;
    }
    if (start == std::wstring::npos) {
        return {};
    }
    const std::size_t end = text.find_first_of(std::wstring_view(L"\n\0", 2), start);
    const std::u16string line = unitsOf(std::wstring_view(text).substr(start, end - start));
    const auto column = static_cast<std::size_t>(results.column - 1);
    const std::size_t from = column > kBefore ? column - kBefore : 0;
    if (from > line.size()) {
        return {};
    }
    std::string shown;
    std::size_t caret = 0; // how many characters stand before it
    for (std::size_t at = from; at < line.size() && at < column + kBehind; ++at) {
        const bool pair =
            (line[at] & 0xFC00) == 0xD800 && at + 1 < line.size() && (line[at + 1] & 0xFC00) == 0xDC00;
        const std::u16string unit = line.substr(at, pair ? 2 : 1);
        const bool blank = line[at] == u'\t' || line[at] == u'\r';
        const bool plain = line[at] == u'\\'; // nothing is escaped with it here
        const std::string piece = blank || plain ? std::string(1, blank ? ' ' : '\\') : displayName(unit);
        if (at < column) {
            caret += static_cast<std::size_t>(std::count_if(piece.begin(), piece.end(), [](char c) {
                return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
            }));
        }
        shown += piece;
        at += pair ? 1 : 0;
    }
    return shown + '\n' + std::string(caret, ' ') + "^\n";
}

std::string printable(std::wstring_view text) {
    if (!isTerminal(Stream::output)) {
        return fromWide(text);
    }
    std::string shown;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find_first_of(L"\n\t", at), text.size());
        shown += displayText(fromWide(text.substr(at, end - at)));
        if (end < text.size()) {
            shown += static_cast<char>(text[end]);
        }
        at = end + 1;
    }
    return shown;
}

} // namespace mvtool::xml
