#include "entries.h"

#include "afx.h"
#include "afxtempl.h"

#include "../rec/format.h"
#include "../text.h"
#include <algorithm>
#include <bit>
#include <charconv>
#include <cwchar>
#include <iterator>
#include <utility>
#include <win32.h>

namespace mvtool::block {
namespace {

constexpr std::string_view kSignature = "DRIVER-BLOC";
constexpr int kCut = -3;
constexpr int kUnknownKind = -9;

/// Kinds as they lie in a data block.
enum Stored : unsigned char { kInteger, kReal, kNarrowText, kNested, kBytes, kText };

/// A value that still lies in its data block.
struct Raw {
    unsigned char kind = kNested;
    std::string_view value; ///< without its count
};

struct Named {
    std::wstring name;
    Raw raw;
    std::size_t depth = 0;
};

std::uint64_t number(std::string_view bytes) {
    return rec::load(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
}

std::int16_t shortNumber(std::string_view bytes) {
    return static_cast<std::int16_t>(number(bytes.substr(0, 2)));
}

/// Up to the first NUL, as names and texts are seen.
std::wstring fromCodePage(std::string_view bytes) {
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(CP_THREAD_ACP, 0, bytes.data(), size, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(std::max(length, 0)), L'\0');
    if (length > 0) {
        MultiByteToWideChar(CP_THREAD_ACP, 0, bytes.data(), size, text.data(), length);
    }
    return text.substr(0, text.find(L'\0'));
}

std::wstring fromUnits(std::string_view bytes) {
    std::wstring text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        auto unit = static_cast<char32_t>(number(bytes.substr(at, 2)));
        if (unit == 0) {
            break;
        }
        if (sizeof(wchar_t) > 2 && (unit & 0xFC00) == 0xD800 && at + 3 < bytes.size()) {
            const auto low = static_cast<char32_t>(number(bytes.substr(at + 2, 2)));
            if ((low & 0xFC00) == 0xDC00) {
                unit = 0x10000 + ((unit & 0x3FF) << 10) + (low & 0x3FF);
                at += 2;
            }
        }
        text += static_cast<wchar_t>(unit);
    }
    return text;
}

/// The shortest digits that mean the number.
std::wstring digitsOf(double value) {
    char text[64];
    char* end = std::to_chars(std::begin(text), std::end(text), value).ptr;
    return std::wstring(std::begin(text), end);
}

/// Takes the values out of one data block that lies in `all`; nested blocks stay one value each.
class Reader {
public:
    Reader(std::string_view all, std::string_view data, std::optional<Damage>& damage)
        : m_all(all)
        , m_rest(data)
        , m_damage(damage) {}

    /// 1, 0 at the end, or a code below 0, of which the damage tells.
    int next(std::string_view& name, Raw& raw) {
        if (m_first && !m_rest.empty()) {
            if (!m_rest.starts_with(kSignature)) {
                return stop(kCut, "no data block");
            }
            m_rest.remove_prefix(kSignature.size());
        }
        m_first = false;
        if (m_rest.empty()) {
            return 0;
        }
        if (m_rest.size() < 2) {
            return stop(kCut, "the length of a name is cut short");
        }
        const int length = shortNumber(m_rest);
        if (length <= 0) {
            return stop(kCut, "a name of length " + std::to_string(length));
        }
        m_rest.remove_prefix(2);
        if (!take(static_cast<std::size_t>(length), name)) {
            return stop(kCut, "a name of " + std::to_string(length) + " bytes is cut short");
        }
        if (m_rest.empty()) {
            return stop(kCut, "a kind is missing");
        }
        raw.kind = static_cast<unsigned char>(m_rest[0]);
        if (raw.kind > kText) {
            return stop(kUnknownKind, "an unknown kind: " + std::to_string(raw.kind));
        }
        m_rest.remove_prefix(1);
        return readValue(raw);
    }

private:
    int stop(int code, std::string what) {
        if (!m_damage) {
            m_damage = Damage{static_cast<std::size_t>(m_rest.data() - m_all.data()), std::move(what), code};
        }
        return code;
    }
    bool take(std::size_t size, std::string_view& bytes) {
        if (m_rest.size() < size) {
            return false;
        }
        bytes = m_rest.substr(0, size);
        m_rest.remove_prefix(size);
        return true;
    }
    int readValue(Raw& raw) {
        std::size_t size = raw.kind == kInteger ? 4 : 8;
        if (raw.kind > kReal) {
            const std::size_t countSize = raw.kind == kNested || raw.kind == kBytes ? 4 : 2;
            std::string_view count;
            if (!take(countSize, count)) {
                return stop(kCut, "the size of a value is cut short");
            }
            if (countSize == 2 && shortNumber(count) < 0) {
                return stop(kCut, "a text of " + std::to_string(shortNumber(count)) + " bytes");
            }
            size = static_cast<std::size_t>(number(count));
        }
        return take(size, raw.value)
                   ? 1
                   : stop(kCut, "a value of " + std::to_string(size) + " bytes is cut short");
    }

    std::string_view m_all;
    std::string_view m_rest;
    std::optional<Damage>& m_damage;
    bool m_first = true;
};

/// The values of a data block in the order of an option block that has loaded it.
std::vector<Named> readLevel(std::string_view all, std::string_view data, std::size_t depth,
                             std::optional<Damage>& damage) {
    CMap<CString, LPCWSTR, Raw, const Raw&> map(10); // whose order is the block's own
    Reader reader(all, data, damage);
    std::string_view bytes;
    Raw raw;
    while (reader.next(bytes, raw) > 0) {
        std::wstring name = fromCodePage(bytes);
        const std::size_t slash = name.find(L'/');
        if (slash == std::wstring::npos) {
            map.SetAt(name.c_str(), raw);
            continue;
        }
        // A path stores nothing, but leaves an empty block where none is.
        name.resize(slash);
        const auto* found = map.PLookup(name.c_str());
        if (found == nullptr || found->value.kind != kNested) {
            map.SetAt(name.c_str(), Raw());
        }
    }
    std::vector<Named> level;
    for (auto* pair = map.PGetFirstAssoc(); pair != nullptr; pair = map.PGetNextAssoc(pair)) {
        level.push_back({pair->key.GetString(), pair->value, depth});
    }
    return level;
}

/// Puts entries in a row and sets their ends.
class Row {
public:
    explicit Row(std::vector<Entry>& entries)
        : m_entries(entries) {}
    void add(Entry entry) {
        close(entry.depth);
        m_open.push_back(m_entries.size());
        m_entries.push_back(std::move(entry));
    }
    /// Nothing more comes at that depth.
    void close(std::size_t depth) {
        while (m_open.size() > depth) {
            m_entries[m_open.back()].end = m_entries.size();
            m_open.pop_back();
        }
    }

private:
    std::vector<Entry>& m_entries;
    std::vector<std::size_t> m_open; ///< one a level
};

std::wstring trimmed(const std::wstring& text) {
    constexpr const wchar_t* kWhite = L"\n \t\r"; // of XML documents
    const std::size_t start = text.find_first_not_of(kWhite);
    return start == std::wstring::npos ? std::wstring()
                                       : text.substr(start, text.find_last_not_of(kWhite) + 1 - start);
}

/// All texts of an element.
std::wstring textOf(const XMLNode& element) {
    std::wstring text;
    for (int i = 0; i < element.nText(); ++i) {
        text += element.getText(i);
    }
    return text;
}

Entry entryOf(const XMLNode& element, const std::string& shown) {
    static constexpr std::pair<const wchar_t*, Kind> kTypes[] = {{L"int", Kind::integer},
                                                                 {L"double", Kind::real},
                                                                 {L"string", Kind::text},
                                                                 {L"binary", Kind::bytes},
                                                                 {L"SubBloc", Kind::nested}};
    Entry entry;
    entry.name = element.getName();
    const wchar_t* type = element.getAttribute(L"Type");
    const auto* found = std::find_if(std::begin(kTypes), std::end(kTypes), [type](const auto& one) {
        return type != nullptr && std::wcscmp(one.first, type) == 0;
    });
    if (found == std::end(kTypes)) {
        throw Failure(Exit::damaged,
                      shown + ": an element without a known Type: " + displayText(fromWide(entry.name)));
    }
    entry.kind = found->second;
    if (entry.kind != Kind::nested) {
        entry.text = textOf(element);
    }
    if (entry.kind == Kind::bytes) {
        const wchar_t* size = element.getAttribute(L"ByteSize");
        entry.size = size != nullptr ? std::wcstoul(size, nullptr, 10) : 0;
    }
    return entry;
}

} // namespace

std::string Damage::message() const {
    return "damaged at byte " + std::to_string(offset) + ": " + what + " [library code " +
           std::to_string(code) + ']';
}

Block fromData(std::string_view data) {
    Block block;
    Row row(block.entries);
    std::vector<Named> waiting; // the next one last
    const auto enter = [&](std::string_view bytes, std::size_t depth) {
        std::vector<Named> level = readLevel(data, bytes, depth, block.damage);
        std::move(level.rbegin(), level.rend(), std::back_inserter(waiting));
    };
    enter(data, 0);
    while (!waiting.empty()) {
        Named next = std::move(waiting.back());
        waiting.pop_back();
        Entry entry;
        entry.depth = next.depth;
        entry.name = std::move(next.name);
        const std::string_view value = next.raw.value;
        switch (next.raw.kind) {
        case kInteger:
            entry.text = std::to_wstring(static_cast<std::int32_t>(number(value)));
            break;
        case kReal:
            entry.kind = Kind::real;
            entry.text = digitsOf(std::bit_cast<double>(number(value)));
            break;
        case kNarrowText:
        case kText:
            entry.kind = Kind::text;
            entry.text = next.raw.kind == kText ? fromUnits(value) : fromCodePage(value);
            break;
        case kBytes:
            entry.kind = Kind::bytes;
            entry.bytes = value;
            entry.size = value.size();
            break;
        default:
            entry.kind = Kind::nested;
            break;
        }
        row.add(std::move(entry));
        if (next.raw.kind == kNested) {
            enter(value, next.depth + 1);
        }
    }
    row.close(0);
    return block;
}

Block fromXml(const XMLNode& root, const std::string& shown) {
    struct Step {
        XMLNode node;
        int next;
    };
    Block block;
    block.xml = true;
    Row row(block.entries);
    std::vector<Step> steps = {{root, 0}};
    while (!steps.empty()) {
        Step& step = steps.back();
        if (step.next == step.node.nChildNode()) {
            steps.pop_back();
            continue;
        }
        XMLNode child = step.node.getChildNode(step.next++);
        Entry entry = entryOf(child, shown);
        entry.depth = steps.size() - 1;
        const bool nested = entry.kind == Kind::nested;
        row.add(std::move(entry));
        if (nested) {
            steps.push_back({std::move(child), 0});
        }
    }
    row.close(0);
    return block;
}

void reduceToXml(Block& block) {
    if (block.xml) {
        return;
    }
    block.xml = true;
    for (Entry& entry : block.entries) {
        CString text;
        switch (entry.kind) {
        case Kind::real:
            text.Format(L"%.10g", std::wcstod(entry.text.c_str(), nullptr));
            entry.text = text.GetString();
            break;
        case Kind::text:
            entry.text = trimmed(entry.text);
            break;
        case Kind::bytes:
            for (const char octet : entry.bytes) {
                constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
                const auto value = static_cast<unsigned char>(octet);
                if (value > 0xF) { // the form has no leading zeros
                    entry.text += kDigits[value >> 4];
                }
                entry.text += kDigits[value & 0xF];
            }
            entry.bytes.clear();
            break;
        default:
            break;
        }
    }
}

const Entry* find(const Block& block, std::wstring_view path) {
    std::size_t at = 0;
    std::size_t end = block.entries.size();
    for (;;) {
        const std::size_t slash = path.find(L'/');
        const std::wstring_view name = path.substr(0, slash);
        while (at < end && block.entries[at].name != name) {
            at = block.entries[at].end;
        }
        if (at >= end) {
            return nullptr;
        }
        const Entry& entry = block.entries[at];
        if (slash == std::wstring_view::npos) {
            return &entry;
        }
        end = entry.end;
        ++at; // what is nested; nothing for another kind
        path.remove_prefix(slash + 1);
    }
}

} // namespace mvtool::block
