#include "sources.h"

#include "TSerializer.h"

#include "../rec/reader.h"
#include "../reg/store.h"
#include "../text.h"
#include "../whole_file.h"
#include "../xml/document.h"
#include <algorithm>
#include <charconv>
#include <cwchar>
#include <win32.h>

namespace mvtool::block {
namespace {

bool exists(const std::string& path) {
    return GetFileAttributesW(fullPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// The value's data when the operand begins with a root of the registry and names a value.
bool fromRegistry(const std::string& operand, std::string& bytes) {
    const std::optional<std::wstring> wide = toWide(operand);
    const std::size_t colon = wide ? wide->find(L':') : std::wstring::npos;
    reg::Place place;
    if (colon == std::wstring::npos || !reg::placeOf(wide->substr(0, colon), place)) {
        return false;
    }
    bytes = reg::OpenKey::forReading(place).value(wide->substr(colon + 1)).data;
    return true;
}

/// A number, or four characters as `mvtool rec list --records` shows them.
DWORD identifierOf(const std::string& text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char* last = text.data() + text.size();
    std::uint32_t id = 0;
    const auto [end, error] =
        std::from_chars(text.data() + (hexadecimal ? 2 : 0), last, id, hexadecimal ? 16 : 10);
    if (error == std::errc() && end == last) {
        return id;
    }
    if (text.size() != 4) {
        throw Failure(Exit::usage, "an identifier is a number or four characters, not " + displayText(text));
    }
    return static_cast<DWORD>(rec::load(reinterpret_cast<const unsigned char*>(text.data()), 4));
}

std::string recordOf(const std::string& path, DWORD id, const std::string& shown) {
    const std::unique_ptr<CFile> file = rec::openRecordFile(path);
    try {
        rec::RecordScan scan(*file, nullptr);
        while (scan.next()) {
            if (scan.header().dwId == id) {
                std::string bytes(scan.header().dwLongitud, '\0');
                scan.read(bytes.data(), scan.header().dwLongitud);
                return bytes;
            }
        }
    } catch (const rec::Damage& damage) {
        throw Failure(damage.code(), displayText(path) + ": " + damage.text());
    }
    throw Failure(Exit::notFound, "no such record: " + shown);
}

bool looksLikeXml(std::string_view bytes) {
    for (const std::string_view mark : {std::string_view("\xFF\xFE"), std::string_view("\xEF\xBB\xBF")}) {
        bytes.remove_prefix(bytes.starts_with(mark) ? mark.size() : 0);
    }
    // Zeros are halves of UTF-16 units.
    const std::size_t at = bytes.find_first_not_of(std::string_view(" \t\r\n\0", 5));
    return at != std::string_view::npos && bytes[at] == '<';
}

XMLNode rootOf(const std::string& path) {
    constexpr const wchar_t* kRoot = L"DriverOptions";
    XMLNode at = xml::parseSound(path);
    if (at.getName() != nullptr && std::wcscmp(at.getName(), kRoot) == 0) {
        return at;
    }
    while (!at.isEmpty()) {
        XMLNode root = at.getChildNode(kRoot);
        if (!root.isEmpty()) {
            return root;
        }
        XMLNode declaration; // which may hold what follows it
        for (int i = 0; i < at.nChildNode() && declaration.isEmpty(); ++i) {
            const XMLNode child = at.getChildNode(i);
            declaration = child.isDeclaration() ? child : XMLNode();
        }
        at = declaration;
    }
    throw Failure(Exit::damaged, displayText(path) + ": no option block: there is no element DriverOptions");
}

} // namespace

Block load(const std::string& operand, std::string* damage) {
    const std::string shown = displayText(operand);
    std::string bytes;
    if (!fromRegistry(operand, bytes)) {
        const std::size_t mark = exists(operand) ? std::string::npos : operand.rfind('#');
        if (mark != std::string::npos) {
            bytes = recordOf(operand.substr(0, mark), identifierOf(operand.substr(mark + 1)), shown);
        } else {
            bytes = readWhole(operand);
            if (looksLikeXml(bytes)) {
                return fromXml(rootOf(operand), shown);
            }
            if (TSerializer::TestFitxer(fullPath(operand).c_str(), -1)) {
                throw Failure(Exit::usage, "a record file: name the record too, as " + shown + "#ID");
            }
        }
    }
    Block block = fromData(bytes);
    if (block.damage) {
        const std::string text = shown + ": " + block.damage->message();
        if (damage == nullptr) {
            throw Failure(Exit::damaged, text);
        }
        *damage = text;
    }
    return block;
}

} // namespace mvtool::block
