#include "block.h"

#include "../console.h"
#include "../text.h"
#include "../xml/document.h"
#include "sources.h"
#include <algorithm>
#include <map>

namespace mvtool::block {
namespace {

/// Bytes that a listing shows of a value.
constexpr std::size_t kShownBytes = 32;
/// Levels that a listing has a margin for.
constexpr std::size_t kMargin = 30;

const char* typeName(Kind kind) {
    static constexpr const char* kNames[] = {"int", "double", "string", "binary", "block"};
    return kNames[static_cast<std::size_t>(kind)];
}

std::string typeColumn(Kind kind) {
    std::string text = typeName(kind);
    text.resize(8, ' ');
    return text;
}

/// " = value" for a line of a listing.
std::string shownValue(const Entry& entry) {
    switch (entry.kind) {
    case Kind::nested:
        return {};
    case Kind::bytes: {
        const bool whole = std::max(entry.bytes.size(), entry.text.size() / 2) <= kShownBytes;
        const std::string text = entry.bytes.empty()
                                     ? displayText(fromWide(entry.text.substr(0, 2 * kShownBytes)))
                                     : hex(std::string_view(entry.bytes).substr(0, kShownBytes));
        return " = " + text + (whole ? "" : "...") + (text.empty() ? "(" : " (") +
               counted(entry.size, "byte") + ')';
    }
    default:
        return " = " + displayText(fromWide(entry.text));
    }
}

void print(const Block& block, std::size_t from, std::size_t to, std::size_t depth) {
    for (std::size_t i = from; i < to; ++i) {
        const Entry& entry = block.entries[i];
        const std::size_t level = entry.depth - depth;
        console().print(typeColumn(entry.kind) + std::string(2 * std::min(level, kMargin), ' ') +
                        (level > kMargin ? "(level " + std::to_string(level) + ") " : "") +
                        displayText(fromWide(entry.name)) + shownValue(entry) + '\n');
    }
}

Exit dump(const Arguments& arguments) {
    std::string damage;
    const Block block = load(arguments.operands()[0], &damage);
    print(block, 0, block.entries.size(), 0);
    if (!damage.empty()) {
        throw Failure(Exit::damaged, damage);
    }
    return Exit::done;
}

Exit get(const Arguments& arguments) {
    const std::vector<std::string>& operands = arguments.operands();
    const std::optional<std::wstring> path = toWide(operands[1]);
    if (!path) {
        throw Failure(Exit::usage, "not UTF-8: " + displayText(operands[1]));
    }
    const Block block = load(operands[0]);
    const Entry* entry = find(block, *path);
    if (entry == nullptr) {
        console().note(displayText(operands[0]) + " has no " + displayText(operands[1]));
        return Exit::no;
    }
    const auto at = static_cast<std::size_t>(entry - block.entries.data());
    if (entry->kind == Kind::nested) {
        print(block, at + 1, entry->end, entry->depth + 1);
    } else if (entry->kind == Kind::bytes && !block.xml) {
        console().print(hex(entry->bytes) + '\n');
    } else {
        console().print(xml::printable(entry->text) + '\n');
    }
    return Exit::done;
}

/// Compares two blocks and prints what differs.
class Comparison {
public:
    Comparison(const Block& a, const Block& b)
        : m_a(a.entries)
        , m_b(b.entries) {}

    bool same() {
        push(0, m_a.size(), 0, m_b.size());
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            if (level.at < level.end) {
                step(level);
                continue;
            }
            std::vector<std::size_t> added;
            for (const auto& [name, i] : level.names) {
                added.push_back(i);
            }
            std::sort(added.begin(), added.end());
            for (const std::size_t i : added) {
                tell('+', m_b[i], inside(m_b, i));
            }
            m_path.resize(level.path);
            m_levels.pop_back();
        }
        return m_same;
    }

private:
    using Entries = std::vector<Entry>;
    struct Level {
        std::size_t at, end;                                 ///< what is still to come of A
        std::multimap<std::wstring_view, std::size_t> names; ///< of B, without those that A has, too
        std::size_t path;                                    ///< how much of it stands above
    };

    void push(std::size_t at, std::size_t end, std::size_t from, std::size_t to) {
        Level level{at, end, {}, m_path.size()};
        for (std::size_t i = from; i < to; i = m_b[i].end) {
            level.names.emplace(m_b[i].name, i);
        }
        m_levels.push_back(std::move(level));
    }
    static std::size_t inside(const Entries& entries, std::size_t i) { return entries[i].end - i - 1; }

    void step(Level& level) {
        const std::size_t i = level.at;
        const Entry& mine = m_a[i];
        level.at = mine.end;
        const auto found = level.names.lower_bound(mine.name); // XML may have a name twice: the first
        if (found == level.names.end() || found->first != mine.name) {
            tell('-', mine, inside(m_a, i));
            return;
        }
        const std::size_t j = found->second;
        const Entry& other = m_b[j];
        level.names.erase(found);
        if (mine.kind == Kind::nested && other.kind == Kind::nested) {
            const std::size_t before = m_path.size();
            m_path += displayText(fromWide(mine.name)) + '/';
            push(i + 1, mine.end, j + 1, other.end);
            m_levels.back().path = before;
        } else if (mine.kind != other.kind || mine.text != other.text || mine.bytes != other.bytes ||
                   mine.size != other.size) {
            tell('-', mine, inside(m_a, i));
            tell('+', other, inside(m_b, j));
        }
    }
    void tell(char sign, const Entry& entry, std::size_t nested) {
        m_same = false;
        console().print(std::string(1, sign) + ' ' + typeColumn(entry.kind) + m_path +
                        displayText(fromWide(entry.name)) + shownValue(entry) +
                        (entry.kind == Kind::nested ? " (" + counted(nested, "value") + ')' : "") + '\n');
    }

    const Entries& m_a;
    const Entries& m_b;
    std::vector<Level> m_levels;
    std::string m_path;
    bool m_same = true;
};

Exit diff(const Arguments& arguments) {
    Block a = load(arguments.operands()[0]);
    Block b = load(arguments.operands()[1]);
    if (a.xml != b.xml) {
        reduceToXml(a);
        reduceToXml(b);
    }
    return Comparison(a, b).same() ? Exit::done : Exit::no;
}

constexpr Command kCommands[] = {
    {"dump",
     "BLOCK",
     "list the values with their types, nested blocks below their names",
     "The order is the one in which the library walks the block. Of a damaged block the values before\n"
     "the damage are listed, and the exit code is 4.\n",
     1,
     1,
     {},
     dump},
    {"get",
     "BLOCK NAME",
     "print one value",
     "In NAME \"/\" stands between a nested block and what is in it. Bytes are printed in hexadecimal;\n"
     "a nested block is listed. Exit code 1 when there is no such value.\n",
     2,
     2,
     {},
     get},
    {"diff",
     "A B",
     "say in which values two blocks differ",
     "Prints a line \"- type name = value\" for what only A has and one with \"+\" for what only B has;\n"
     "exit code 1 when there is any. Order does not count. When one of them is XML, only what XML\n"
     "keeps is compared.\n",
     2,
     2,
     {},
     diff},
};

} // namespace

const Family& family() {
    static const Family one = {
        "block", "show and compare option blocks, and read values from them",
        "A block is a FILE that holds a data block or the XML form; FILE#ID, the first record with that\n"
        "identifier (a number or four characters) in a record file; or a registry value, written as\n"
        "ROOT\\KEY:VALUE, such as HKCU\\Software\\Mirvanet\\Editor:Options.\n",
        kCommands};
    return one;
}

} // namespace mvtool::block
