#include "reg.h"

#include "../console.h"
#include "../text.h"
#include "../whole_file.h"
#include "store.h"
#include "TCarpetaRegistry.h"
#include <algorithm>
#include <charconv>

namespace mvtool::reg {
namespace {

constexpr std::uint32_t kExpandable = 2;

std::string typeName(std::uint32_t type) {
    static constexpr const char* kNames[] = {"REG_NONE",   "REG_SZ",      "REG_EXPAND_SZ",
                                             "REG_BINARY", "REG_DWORD",   "REG_DWORD_BIG_ENDIAN",
                                             "REG_LINK",   "REG_MULTI_SZ"};
    return type < std::size(kNames) ? kNames[type]
           : type == 11             ? "REG_QWORD"
                                    : "type " + std::to_string(type);
}

/// The strings of a list up to the empty one.
std::vector<std::wstring> strings(std::string_view bytes) {
    std::vector<std::wstring> all;
    const std::wstring text = fromUtf16(bytes);
    for (std::size_t at = 0; at < text.size() && text[at] != L'\0';) {
        const std::size_t end = std::min(text.find(L'\0', at), text.size());
        all.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return all;
}

/// What a person reads, with `separator` between the strings of a list.
std::string shownData(const Value& value, const char* separator) {
    switch (value.type) {
    case kText:
    case kExpandable: {
        const std::wstring text = fromUtf16(value.data);
        return displayText(fromWide(text.substr(0, text.find(L'\0'))));
    }
    case kNumber:
        if (value.data.size() == 4) {
            std::uint32_t number = 0;
            for (int i = 3; i >= 0; --i) {
                number = number << 8 | static_cast<unsigned char>(value.data[static_cast<std::size_t>(i)]);
            }
            return std::to_string(number);
        }
        return hex(value.data);
    case kList: {
        std::string text;
        for (const std::wstring& one : strings(value.data)) {
            text += (text.empty() ? "" : separator) + displayText(fromWide(one));
        }
        return text;
    }
    default:
        return hex(value.data);
    }
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void printValues(const std::vector<Value>& values) {
    for (const Value& value : values) {
        const std::string name = value.name.empty() ? "(unnamed)" : displayText(fromWide(value.name));
        console().print(padded(typeName(value.type), 14) + name + " = " + shownData(value, " | ") + '\n');
    }
}

std::wstring wideOperand(const std::string& text) {
    std::optional<std::wstring> wide = toWide(text);
    if (!wide || wide->find(L'\0') != std::wstring::npos) {
        throw Failure(Exit::usage, "not UTF-8: " + displayText(text));
    }
    return *std::move(wide);
}

Exit list(const Arguments& arguments) {
    const Place place = placeOf(arguments.operands()[0]);
    if (arguments.has("recursive")) {
        for (const Key& key : readTree(place)) {
            console().print('[' + displayText(fromWide(key.path)) + "]\n");
            printValues(key.values);
        }
        return Exit::done;
    }
    const OpenKey key = OpenKey::forReading(place);
    printValues(key.values());
    for (const std::wstring& name : key.folders()) {
        console().print(padded("(folder)", 14) + displayText(fromWide(name)) + "\\\n");
    }
    return Exit::done;
}

Exit get(const Arguments& arguments) {
    const OpenKey key = OpenKey::forReading(placeOf(arguments.operands()[0]));
    const Value value = key.value(wideOperand(arguments.operands()[1]));
    const std::string text = shownData(value, "\n");
    console().print(text + (text.empty() && value.type == kList ? "" : "\n"));
    return Exit::done;
}

std::string bytesOf(const std::string& digits) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < digits.size() && digits.size() % 2 == 0; at += 2) {
        unsigned octet = 0;
        if (std::from_chars(&digits[at], &digits[at] + 2, octet, 16).ptr != &digits[at] + 2) {
            break;
        }
        bytes += static_cast<char>(octet);
    }
    if (2 * bytes.size() != digits.size()) {
        throw Failure(Exit::usage, "bytes are pairs of hexadecimal digits, not " + displayText(digits));
    }
    return bytes;
}

std::string numberBytes(const std::string& text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char* first = text.data() + (hexadecimal ? 2 : 0);
    const char* last = text.data() + text.size();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(first, last, number, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != last || first == last || number < INT32_MIN || number > UINT32_MAX ||
        (hexadecimal && *first == '-')) {
        throw Failure(Exit::usage, "not a number of 32 bits: " + displayText(text));
    }
    std::string bytes;
    for (int i = 0; i < 4; ++i) {
        bytes += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
    }
    return bytes;
}

Exit set(const Arguments& arguments) {
    const std::vector<std::string>& operands = arguments.operands();
    const std::string type = arguments.value("type").value_or("text");
    if (type != "list" && operands.size() != 3) {
        throw Failure(Exit::usage, "more than one value is for --type=list");
    }
    Value value;
    value.name = wideOperand(operands[1]);
    if (type == "text" || type == "expandable") {
        value.type = type == "text" ? kText : kExpandable;
        value.data = utf16Bytes(wideOperand(operands[2]) + L'\0');
    } else if (type == "number") {
        value.type = kNumber;
        value.data = numberBytes(operands[2]);
    } else if (type == "bytes") {
        value.type = kBinary;
        value.data = bytesOf(operands[2]);
    } else if (type == "list") {
        value.type = kList;
        std::wstring text;
        for (std::size_t i = 2; i < operands.size(); ++i) {
            const std::wstring one = wideOperand(operands[i]);
            if (one.empty()) {
                throw Failure(Exit::usage, "an empty text cannot be in a list");
            }
            text += one + L'\0';
        }
        value.data = utf16Bytes(text + L'\0');
    } else {
        throw Failure(Exit::usage,
                      "--type is text, expandable, number, bytes or list, not " + displayText(type));
    }
    OpenKey::forWriting(placeOf(operands[0])).set(value);
    return Exit::done;
}

Exit del(const Arguments& arguments) {
    const Place place = placeOf(arguments.operands()[0]);
    const std::string shown = displayText(fromWide(place.name()));
    if (arguments.operands().size() == 2) {
        if (arguments.has("recursive")) {
            throw Failure(Exit::usage, "--recursive deletes a key, not a value");
        }
        const std::wstring name = wideOperand(arguments.operands()[1]);
        OpenKey::forReading(place); // a missing key is not made
        if (!OpenKey::forWriting(place).remove(name)) {
            throw Failure(Exit::notFound, "no such value in " + shown);
        }
        return Exit::done;
    }
    if (!arguments.has("recursive")) {
        throw Failure(Exit::usage, "a key is deleted with everything below it: say --recursive");
    }
    if (!removeKey(place)) {
        throw Failure(Exit::notFound, "no such key: " + shown);
    }
    return Exit::done;
}

bool hasLineEnd(const std::wstring& text) {
    return text.find_first_of(L"\r\n") != std::wstring::npos;
}

Exit exportKey(const Arguments& arguments) {
    const std::optional<std::string> target = arguments.value("output");
    if (!target || target->empty()) {
        throw Failure(Exit::usage, "the output is missing: -o FILE");
    }
    std::vector<Key> keys = readTree(placeOf(arguments.operands()[0]));
    const auto end =
        std::remove_if(keys.begin(), keys.end(), [](const Key& key) { return hasLineEnd(key.path); });
    for (auto key = end; key != keys.end(); ++key) {
        console().note("left out, a name with a line end");
    }
    keys.erase(end, keys.end());
    writeWhole(*target, format(keys));
    std::size_t values = 0;
    for (const Key& key : keys) {
        values += key.values.size();
    }
    console().print("exported " + counted(keys.size(), "key") + ", " + counted(values, "value") + '\n');
    return Exit::done;
}

Exit import(const Arguments& arguments) {
    const std::string& path = arguments.operands()[0];
    const std::string bytes = readWhole(path);
    std::vector<Key> keys;
    try {
        keys = parse(bytes);
        checkPlaces(keys);
    } catch (const Failure& failure) {
        throw Failure(failure.code(), displayText(path) + ": " + failure.text() + "; nothing was changed");
    }
    apply(keys);
    std::size_t values = 0;
    for (const Key& key : keys) {
        values += key.values.size();
    }
    console().print("imported " + counted(keys.size(), "key") + ", " + counted(values, "value") + '\n');
    return Exit::done;
}

Exit copy(const Arguments& arguments) {
    const Place source = placeOf(arguments.operands()[0]);
    const Place target = placeOf(arguments.operands()[1]);
    const std::size_t slash = source.path.rfind(L'\\');
    if (source.path.empty()) {
        throw Failure(Exit::usage, "a root cannot be copied");
    }
    const std::wstring parent = slash == std::wstring::npos ? L"" : source.path.substr(0, slash);
    const std::wstring name = slash == std::wstring::npos ? source.path : source.path.substr(slash + 1);
    const std::vector<Key> before = readTree(source);
    TCarpetaRegistry from(parent.c_str(), source.root);
    TCarpetaRegistry to(target.path.c_str(), target.root);
    const Place made{target.root, target.rootName, target.path.empty() ? name : target.path + L'\\' + name};
    const std::string shown = displayText(fromWide(made.name()));
    if (!from.CopiarCarpeta(name.c_str(), &to)) {
        throw Failure(Exit::writeFailure, "cannot write " + shown);
    }
    // The library goes on where something cannot be copied, so what came is looked at.
    std::size_t values = 0;
    for (const Key& key : before) {
        const Place there{made.root, made.rootName, made.path + key.path.substr(source.name().size())};
        std::vector<Value> now;
        try {
            now = OpenKey::forReading(there).values();
        } catch (const Failure&) {
            throw Failure(Exit::writeFailure, "could not be copied: " + displayText(fromWide(key.path)));
        }
        for (const Value& value : key.values) {
            if (std::find(now.begin(), now.end(), value) == now.end()) {
                throw Failure(Exit::writeFailure,
                              "could not be copied: " + displayText(fromWide(value.name)) + " in " +
                                  displayText(fromWide(key.path)));
            }
            ++values;
        }
    }
    console().print("copied " + counted(before.size(), "key") + ", " + counted(values, "value") + " to " +
                    shown + '\n');
    return Exit::done;
}

constexpr OptionSpec kListOptions[] = {
    {"recursive", 'r', nullptr, "with everything below, each key with its full name"}};
constexpr OptionSpec kSetOptions[] = {
    {"type", 't', "TYPE", "text (default), expandable, number, bytes or list"}};
constexpr OptionSpec kDelOptions[] = {{"recursive", 'r', nullptr, "delete the key with everything below it"}};
constexpr OptionSpec kExportOptions[] = {{"output", 'o', "FILE", "the file to write (required)"}};

constexpr const char* kKeyHelp =
    "KEY is a path below a root: HKCU, HKLM, HKCR, HKU or their long names. Without a root it\n"
    "lies below HKEY_CURRENT_USER. NAME may be empty: the value without a name.\n";

constexpr Command kCommands[] = {
    {"list", "KEY", "list the values and folders of a key", kKeyHelp, 1, 1, kListOptions, list},
    {"get", "KEY NAME", "print a value", kKeyHelp, 2, 2, {}, get},
    {"set", "KEY NAME VALUE...", "write a value; makes the key when it is missing",
     "Numbers are decimal, or hexadecimal behind 0x; bytes are pairs of hexadecimal digits; a list\n"
     "has one VALUE for each of its texts.\n",
     3, 10000, kSetOptions, set},
    {"del", "KEY [NAME]", "delete a value, or a key with --recursive", kKeyHelp, 1, 2, kDelOptions, del},
    {"export", "KEY -o FILE", "write a key with everything below it as text",
     "The file has version 5.00, which other programs read too. It is written beside its place and\n"
     "renamed at the end.\n",
     1, 1, kExportOptions, exportKey},
    {"import",
     "FILE",
     "do what such a text says",
     "The whole file is read and checked first: a file with a mistake changes nothing.\n",
     1,
     1,
     {},
     import},
    {"copy",
     "KEY TARGET",
     "copy a key with everything below it into the key TARGET",
     "The copy has the name of KEY and lies in TARGET. Values that are there already and have the\n"
     "same name are overwritten.\n",
     2,
     2,
     {},
     copy},
};

} // namespace

const Family& family() {
    static const Family one = {"reg", "show and change the registry, and keep it as text",
                               "Natively the registry is a store of the library's own (docs/registry.md).\n",
                               kCommands};
    return one;
}

} // namespace mvtool::reg
