// The parser and the writer against a plain model of them: slow, recursive, with a token at a time, and
// without any of the component's short cuts. Both must tell the same about every text: tree, error, line and
// column.
#include "XmlTest.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <memory>
#include <random>
#include <vector>

namespace {

struct ModelAttribute {
    std::wstring name;
    std::wstring value;
    bool hasValue;
};

struct ModelClear {
    std::wstring value;
    std::wstring opener;
    std::wstring closer;
};

struct ModelNode {
    std::wstring name;
    bool named = false;
    bool declaration = false;
    ModelNode* parent = nullptr;
    std::vector<ModelAttribute> attributes;
    std::vector<std::unique_ptr<ModelNode>> children;
    std::vector<std::wstring> texts;
    std::vector<ModelClear> clears;
    std::vector<std::pair<XMLElementType, std::size_t>> order;

    template <class Items, class Item>
    void Append(XMLElementType type, Items& items, Item item) {
        order.emplace_back(type, items.size());
        items.push_back(std::move(item));
    }
};

bool IsSpace(wchar_t unit) {
    return unit == L'\n' || unit == L' ' || unit == L'\t' || unit == L'\r';
}

wchar_t Lower(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + 32) : unit;
}

bool SameName(const std::wstring& first, const std::wstring& second) {
    if (first.size() != second.size())
        return false;
    for (std::size_t i = 0; i < first.size(); ++i) {
        if (Lower(first[i]) != Lower(second[i]))
            return false;
    }
    return true;
}

class Model {
public:
    Model(const std::wstring& text, bool dropWhiteSpace, bool removeComments)
        : m_text(text)
        , m_drop(dropWhiteSpace)
        , m_remove(removeComments) {
        ParseElement(&top, true);
    }

    ModelNode top;
    int error = 0;
    // Where the parse stopped, for the error told in the end.
    std::size_t Place(int told) const { return told == 1 ? m_unmatched : m_at; }

private:
    enum Kind { End, Clear, Quoted, ShortClose, EndTag, Declaration, Start, Equals, Close, Plain };
    struct Token {
        Kind kind;
        std::size_t start;
        std::size_t length;
        int clear = -1;
    };
    static constexpr const wchar_t* Openers[] = {L"<![CDATA[", L"<!DOCTYPE", L"<!--", L"<PRE>", L"<Script>"};
    static constexpr const wchar_t* Closers[] = {L"]]>", L">", L"-->", L"</PRE>", L"</Script>"};

    // The unit there; 0 at the end.
    wchar_t Unit(std::size_t at) const { return at < m_text.size() ? m_text[at] : L'\0'; }

    Token Take(Kind kind, std::size_t start, std::size_t length) {
        m_at = start + length;
        return {kind, start, length};
    }

    Token Read() {
        while (IsSpace(Unit(m_at)))
            ++m_at;
        const std::size_t start = m_at;
        const wchar_t first = Unit(start);
        if (!first)
            return {End, start, 0};
        for (int i = 0; i < 5; ++i) {
            const std::wstring opener = Openers[i];
            if (m_text.compare(start, opener.size(), opener) == 0) {
                m_at = start + opener.size();
                return {Clear, start, opener.size(), i};
            }
        }
        if (first == L'"' || first == L'\'') {
            const std::size_t end = m_text.find_first_of(std::wstring{L'<', first}, start + 1);
            if (end != std::wstring::npos && m_text[end] == first)
                return Take(Quoted, start, end + 1 - start);
        } else if (first == L'<') {
            if (Unit(start + 1) == L'/')
                return Take(EndTag, start, 2);
            return Unit(start + 1) == L'?' ? Take(Declaration, start, 2) : Take(Start, start, 1);
        } else if (first == L'=') {
            return Take(Equals, start, 1);
        } else if (first == L'>') {
            return Take(Close, start, 1);
        } else if (first == L'/' && Unit(start + 1) == L'>') {
            return Take(ShortClose, start, 2);
        }
        std::size_t end = start + 1;
        while (Unit(end) && !IsSpace(Unit(end)) && Unit(end) != L'<' && Unit(end) != L'>' &&
               Unit(end) != L'=' && !(Unit(end) == L'/' && Unit(end + 1) == L'>'))
            ++end;
        Take(Plain, start, end - start);
        m_at += IsSpace(Unit(end));
        return {Plain, start, end - start};
    }

    bool Fail(int code) {
        error = code;
        return false;
    }

    // Whether what stands there begins with the node's name and a unit that ends it.
    bool Names(const ModelNode* node, std::size_t candidate) const {
        if (!node->named || !SameName(node->name, m_text.substr(candidate, node->name.size())))
            return false;
        const wchar_t next = Unit(candidate + node->name.size());
        return IsSpace(next) || next == L'/' || next == L'<' || next == L'>' || next == L'=';
    }

    // Decodes a slice; false when a reference in it is malformed.
    bool Decode(std::size_t start, std::size_t length, std::wstring& out) const {
        const std::wstring slice = m_text.substr(start, length);
        for (std::size_t i = 0; i < slice.size();) {
            if (slice[i] != L'&') {
                out += slice[i++];
                continue;
            }
            const std::size_t end = slice.find(L';', i);
            if (end == std::wstring::npos)
                return false;
            std::wstring name = slice.substr(i + 1, end - i - 1);
            if (name.empty())
                return false;
            if (name[0] == L'#') {
                const bool hexadecimal = name.size() > 1 && Lower(name[1]) == L'x';
                unsigned int value = 0;
                for (wchar_t unit : name.substr(hexadecimal ? 2 : 1)) {
                    const std::size_t digit = std::wstring(L"0123456789abcdef").find(Lower(unit));
                    if (digit >= (hexadecimal ? 16u : 10u))
                        return false;
                    value = value * (hexadecimal ? 16 : 10) + static_cast<unsigned int>(digit);
                }
                out += static_cast<wchar_t>(value);
            } else {
                const std::wstring names[] = {L"amp", L"lt", L"gt", L"quot", L"apos"};
                int found = 0;
                while (found < 5 && !SameName(name, names[found]))
                    ++found;
                if (found == 5)
                    return false;
                out += L"&<>\"'"[found];
            }
            i = end + 1;
        }
        out.resize(std::wcslen(out.c_str())); // a reference to 0 ends the text
        return true;
    }

    bool Flush(ModelNode* node, std::size_t end) {
        if (!m_pending)
            return true;
        m_pending = false;
        std::size_t start = m_pendingStart;
        while (m_drop && start < end && IsSpace(m_text[start]))
            ++start;
        while (m_drop && start < end && IsSpace(m_text[end - 1]))
            --end;
        if (start == end)
            return true;
        std::wstring text;
        if (!Decode(start, end - start, text))
            return Fail(12);
        const std::size_t count = node->order.size();
        if (m_remove && count >= 2 && node->order[count - 1].first == XMLELEMENT_CLEAR &&
            node->order[count - 2].first == XMLELEMENT_TEXT && node->clears.back().opener == Openers[2]) {
            node->clears.pop_back();
            node->order.pop_back();
            node->texts.back() += text;
        } else {
            node->Append(XMLELEMENT_TEXT, node->texts, text);
        }
        return true;
    }

    void TextFromHere() {
        m_pending = true;
        m_pendingStart = m_at;
    }

    bool ParseClear(ModelNode* node, int kind) {
        const std::size_t start = m_at;
        std::wstring closer = Closers[kind];
        if (kind == 1) {
            const std::size_t first = m_text.find_first_of(L"<>", start);
            if (Unit(first) == L'<')
                closer = L"]>";
        }
        const std::size_t end = m_text.find(closer, start);
        if (end == std::wstring::npos)
            return Fail(7);
        node->Append(XMLELEMENT_CLEAR, node->clears,
                     ModelClear{m_text.substr(start, end - start), Openers[kind], closer});
        m_at = end + closer.size();
        TextFromHere();
        return true;
    }

    bool ParseChild(ModelNode* node, bool declaration, bool& closed) {
        const Token name = Read();
        if (name.kind != Plain)
            return Fail(4);
        auto child = std::make_unique<ModelNode>();
        ModelNode* added = child.get();
        added->named = true;
        added->name = m_text.substr(name.start, name.length);
        added->declaration = declaration;
        added->parent = node;
        node->Append(XMLELEMENT_CHILD, node->children, std::move(child));
        if (!ParseElement(added, false))
            return false;
        if (!m_pendingEnd)
            return true;
        if (!node->named)
            return Fail(6);
        if (Names(node, m_pendingEndStart))
            m_pendingEnd = false;
        closed = true;
        return true;
    }

    bool ParseEndTag(ModelNode* node) {
        const Token name = Read();
        if (name.kind != Plain || Read().kind != Close)
            return Fail(5);
        TextFromHere();
        if (!Names(node, name.start)) {
            m_pendingEnd = true;
            m_pendingEndStart = name.start;
            error = 1;
            m_unmatched = m_at;
        }
        return true;
    }

    bool ParseElement(ModelNode* node, bool outside) {
        int state = 0;
        std::wstring name;
        for (;;) {
            const Token token = Read();
            if (token.kind == End) {
                if (!node->declaration && node->parent) {
                    error = 1;
                    m_unmatched = m_at;
                }
                Flush(node, token.start);
                return false;
            }
            if (outside) {
                if (token.kind != Start && token.kind != Declaration && token.kind != EndTag &&
                    token.kind != Clear)
                    continue;
                if (!Flush(node, token.start))
                    return false;
                bool closed = false;
                if (token.kind == EndTag)
                    return ParseEndTag(node);
                if (token.kind == Clear ? !ParseClear(node, token.clear)
                                        : !ParseChild(node, token.kind == Declaration, closed))
                    return false;
                if (closed)
                    return true;
            } else if (token.kind == Plain && state < 2) {
                if (state == 1)
                    node->attributes.push_back({name, L"", false});
                name = m_text.substr(token.start, token.length);
                state = 1;
            } else if ((token.kind == Close || token.kind == ShortClose) && state < 2) {
                TextFromHere();
                bool empty = token.kind == ShortClose;
                if (state == 1 && node->declaration && name.back() == L'?') {
                    name.pop_back();
                    empty = empty || node->parent->parent;
                }
                if (state == 1 && !name.empty())
                    node->attributes.push_back({name, L"", false});
                if (empty)
                    return true;
                outside = true;
            } else if (token.kind == Equals && state == 1) {
                state = 2;
            } else if ((token.kind == Plain || token.kind == Quoted) && state == 2) {
                std::size_t start = token.start;
                std::size_t length = token.length;
                if (node->declaration && m_text[start + length - 1] == L'?')
                    --length;
                if (token.kind == Quoted) {
                    ++start;
                    length -= 2;
                }
                std::wstring value;
                if (!Decode(start, length, value))
                    return Fail(12);
                node->attributes.push_back({name, value, true});
                state = 0;
            } else {
                return Fail(8);
            }
        }
    }

    const std::wstring& m_text;
    bool m_drop;
    bool m_remove;
    std::size_t m_at = 0;
    std::size_t m_unmatched = 0;
    bool m_pending = true;
    std::size_t m_pendingStart = 0;
    bool m_pendingEnd = false;
    std::size_t m_pendingEndStart = 0;
};

// What a document's parse must give.
struct Expected {
    int error;
    const ModelNode* node; // null: the empty node
};

Expected Result(Model& model, const std::wstring& text) {
    const std::size_t markup = text.find(L'<');
    if (model.top.children.empty()) {
        // An end tag that comes first, and a section that is never closed, are told; all else is not.
        if (model.error == 1 && markup != std::wstring::npos && text.compare(markup, 2, L"</") == 0)
            return {6, nullptr};
        return model.error == 7 ? Expected{7, nullptr} : Expected{2, &model.top};
    }
    if (model.error > 2)
        return {model.error, nullptr};
    const bool single = model.top.order.size() == 1;
    return {model.error, single ? model.top.children[0].get() : &model.top};
}

std::wstring Told(const ModelNode* node) {
    if (!node)
        return L"-";
    std::wstring told = L"(" + (node->named ? node->name : L"~") + (node->declaration ? L"?" : L"");
    for (const ModelAttribute& one : node->attributes)
        told += L"|@" + one.name + (one.hasValue ? L"=" + one.value : L"");
    for (const auto& [type, i] : node->order) {
        if (type == XMLELEMENT_CHILD)
            told += Told(node->children[i].get());
        else if (type == XMLELEMENT_TEXT)
            told += L"|t" + node->texts[i];
        else
            told += L"|x" + node->clears[i].opener + node->clears[i].value + node->clears[i].closer;
    }
    return told + L")";
}

std::wstring Told(const XMLNode& node) {
    if (node.isEmpty())
        return L"-";
    std::wstring told = L"(" + std::wstring(node.getName() ? node.getName() : L"~");
    told += node.isDeclaration() ? L"?" : L"";
    for (int i = 0; i < node.nAttribute() + node.nElement(); ++i) {
        const XMLNodeContents contents = node.enumContents(i);
        if (contents.type == XMLELEMENT_CHILD)
            told += Told(contents.child);
        else if (contents.type == XMLELEMENT_ATTRIBUTE)
            told += std::wstring(L"|@") + contents.attribute.name +
                    (contents.attribute.value ? std::wstring(L"=") + contents.attribute.value : L"");
        else if (contents.type == XMLELEMENT_TEXT)
            told += std::wstring(L"|t") + contents.text;
        else
            told +=
                std::wstring(L"|x") + contents.clear.opener + contents.clear.value + contents.clear.closer;
    }
    return told + L")";
}

std::wstring Escaped(const std::wstring& text) {
    std::wstring escaped;
    for (wchar_t unit : text) {
        const std::size_t at = std::wstring(L"&<>\"'").find(unit);
        const wchar_t* const entities[] = {L"&amp;", L"&lt;", L"&gt;", L"&quot;", L"&apos;"};
        escaped += at == std::wstring::npos ? std::wstring(1, unit) : entities[at];
    }
    return escaped;
}

// Format 0 and above: the depth; -1: compact; -2: the contents of an element that holds a text alone.
std::wstring Written(const ModelNode& node, int format) {
    const std::wstring tabs(static_cast<std::size_t>(std::max(format, 0)), L'\t');
    if (format >= 0 && node.order.size() == 1 && node.texts.size() == 1 && !node.declaration)
        format = -2;
    const std::wstring line = format != -1 ? L"\n" : L"";
    int inner = format;
    std::wstring written;
    if (node.named) {
        written = tabs + L"<" + (node.declaration ? L"?" : L"") + node.name;
        for (const ModelAttribute& one : node.attributes)
            written += L" " + one.name + (one.hasValue ? L"=\"" + Escaped(one.value) + L"\"" : L"");
        if (node.declaration)
            written += L"?>" + line;
        else if (node.order.empty())
            return written + L"/>" + line;
        else
            written += format >= 0 ? L">\n" : L">";
        if (!node.declaration)
            inner = format >= 0 ? format + 1 : -1;
    }
    for (const auto& [type, i] : node.order) {
        if (type == XMLELEMENT_CHILD) {
            written += Written(*node.children[i], inner);
            continue;
        }
        written += std::wstring(static_cast<std::size_t>(std::max(inner, 0)), L'\t');
        if (type == XMLELEMENT_TEXT)
            written += Escaped(node.texts[i]) + (format >= 0 ? L"\n" : L"");
        else
            written += node.clears[i].opener + node.clears[i].value + node.clears[i].closer + line;
    }
    if (node.named && !node.declaration)
        written += (format >= 0 ? tabs : L"") + L"</" + node.name + L">" + line;
    return written;
}

class XmlParseModelTest : public XmlTest {
protected:
    void ExpectTheSame(const std::wstring& text, bool drop, bool remove) {
        XMLNode::setGlobalOptions(XMLNode::encoding_keep, 1, drop, remove);
        const XMLNode node = Parse(text);
        Model model(text, drop, remove);
        const Expected expected = Result(model, text);
        int line = 0;
        int column = 0;
        if (expected.error) {
            const std::wstring before = text.substr(0, model.Place(expected.error));
            const std::size_t feed = before.rfind(L'\n');
            line = static_cast<int>(std::count(before.begin(), before.end(), L'\n')) + 1;
            column = static_cast<int>(before.size() - (feed == std::wstring::npos ? 0 : feed + 1)) + 1;
        }
        ASSERT_EQ(m_results.error, expected.error);
        ASSERT_EQ(m_results.line, line);
        ASSERT_EQ(m_results.column, column);
        ASSERT_EQ(Told(node), Told(expected.node));
        if (expected.node) {
            ASSERT_EQ(Compact(node), Written(*expected.node, -1));
            ASSERT_EQ(Indented(node), Written(*expected.node, drop ? 0 : -1));
        }
    }
};

TEST_F(XmlParseModelTest, TextsMadeOfMarkupGiveTheSame) {
    const wchar_t* pieces[] = {
        L"<",       L">",         L"</",        L"/>",         L"<?",     L"?>",
        L"=",       L"\"",        L"'",         L"a",          L"b",      L" ",
        L"\n",      L"\t",        L"\r",        L"&",          L"&lt;",   L"&#",
        L";",       L"<!--",      L"-->",       L"<a>",        L"</a>",   L"</A>",
        L"<b>",     L"</b>",      L"<![CDATA[", L"]]>",        L"<b ",    L"<a ",
        L"?",       L"<PRE>",     L"/",         L"x=1",        L" y='2'", L" z=\"a&amp;\"",
        L"</PRE>",  L"<!DOCTYPE", L"]>",        L"text",       L"&#65;",  L"&#x4a;",
        L"&AMP;",   L"&#;",       L"&apos",     L"t<!--c-->u", L"<a/>",   L"<?xml v='1'?>",
        L"<?xml?>", L"<?p q?>",   L"<Script>",  L"</Script>",  L"aa",     L"<aa>",
        L"</aa>",   L"!",         L"\u00E9",    L"<\"",        L"=1?",    L"&quot;"};
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        std::wstring text = random() % 2 ? L"<a>" : L"";
        for (unsigned count = random() % 25; count; --count)
            text += pieces[random() % std::size(pieces)];
        if (random() % 3 == 0)
            text += L"</a>";
        const bool drop = random() % 4 != 0;
        const bool remove = random() % 4 != 0;
        SCOPED_TRACE(text);
        ExpectTheSame(text, drop, remove);
        if (HasFatalFailure())
            return;
    }
}

} // namespace
