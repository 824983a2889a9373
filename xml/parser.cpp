#include "xml/parser.h"

#include "xml/scan.h"

#include <cstring>
#include <cwchar>

namespace mvxml {

// The string under construction at the end of the pages.
struct Parser::StringRoom {
    explicit StringRoom(Pages* owner)
        : pages(owner)
        , start(owner->BeginString())
        , limit(owner->StringLimit()) {}
    void Ensure(wchar_t*& target) {
        if (limit - target < 32 / static_cast<std::ptrdiff_t>(sizeof(wchar_t)))
            Move(target);
    }
    void Move(wchar_t*& target) {
        std::size_t length = static_cast<std::size_t>(target - start);
        start = pages->MoveString(start, length);
        target = start + length;
        limit = pages->StringLimit();
    }
    wchar_t* End(wchar_t* target) {
        *target = 0;
        pages->EndString(target + 1);
        return start;
    }

    Pages* pages;
    wchar_t* start;
    wchar_t* limit;
};

namespace {

// Whether the candidate, which is followed by more text, begins with the name and ends there.
bool SameTagName(const wchar_t* name, const wchar_t* candidate) {
    if (!name)
        return false;
    for (; *name; ++name, ++candidate) {
        if (*name != *candidate && Fold(*name) != Fold(*candidate))
            return false;
    }
    return *candidate && HasClass(*candidate, ClassNameEnd);
}

} // namespace

Parser::Parser(const wchar_t* text, Pages* pages)
    : m_cursor(text)
    , m_unmatched(text)
    , m_pages(pages)
    , m_topNode(NewPagedRecord(pages, false))
    , m_node(m_topNode)
    , m_error(XMLERROR_NONE)
    , m_dropWhiteSpace(CurrentOptions.dropWhiteSpace != 0)
    , m_removeComments(CurrentOptions.removeComments != 0)
    , m_sawMarkup(false)
    , m_beginsWithEndTag(false)
    , m_lastTextEnd(nullptr)
    , m_lastTextLimit(nullptr) {}

// Outside a tag only the next "<" matters: every other token is part of the text that is pending, and pending
// text always begins where the last markup ended.
void Parser::Run() {
    for (;;) {
        if (!ReadText())
            break;
        if (!*m_cursor) {
            EndOfText();
            break;
        }
        wchar_t next = m_cursor[1];
        bool goesOn;
        if (next == L'/') {
            m_beginsWithEndTag = !m_sawMarkup;
            goesOn = ReadEndTag();
        } else {
            const ClearTag* clearTag = nullptr;
            if (next == L'!' || next == L'P' || next == L'S')
                clearTag = FindClearTag(m_cursor);
            goesOn = clearTag ? ReadClearTag(clearTag) : ReadStartTag();
        }
        if (!goesOn)
            break;
        m_sawMarkup = true;
    }
    CloseAll();
}

bool Parser::Fail(XMLError error) {
    m_error = error;
    return false;
}

void Parser::EndOfText() {
    if (!m_node->declaration() && m_node->parent) {
        m_error = XMLWARNING_UNMATCHED_END_TAG;
        m_unmatched = m_cursor;
    }
}

// ---- Elements ----

void Parser::Open(Record* child) {
    m_elements.Push(Entry(child, XMLELEMENT_CHILD));
    ++m_node->childCount;
    child->counters.references = 1;
    child->parent = m_node;
    child->content.stackBase = m_elements.Count();
    m_node = child;
}

// Carves the arrays of the element that is open to their sizes, and goes back to its parent.
void Parser::Close() {
    Record* d = m_node;
    std::size_t base = d->content.stackBase;
    std::size_t count = m_elements.Count() - base;
    const std::uintptr_t* entries = m_elements.At(base);
    m_node = d->parent;
    if (count == 0) {
        d->content.block = nullptr;
        return;
    }
    if (count == 1 && d->clearCount == 0) {
        d->setLayout(LayoutInline);
        d->content.block = static_cast<void**>(ItemOf(entries[0]));
        m_elements.CutTo(base);
        return;
    }
    void** block = NewBlock(m_pages, d);
    if (static_cast<std::size_t>(d->childCount) == count) {
        std::memcpy(block, entries, count * sizeof(void*));
    } else {
        void** child = block;
        void** text = child + d->childCount;
        XMLClear* clear = reinterpret_cast<XMLClear*>(text + d->textCount);
        int* order = IsMixed(d) ? reinterpret_cast<int*>(clear + d->clearCount) : nullptr;
        int counts[4] = {0, 0, 0, 0};
        for (std::size_t i = 0; i < count; ++i) {
            int kind = KindOf(entries[i]);
            void* item = ItemOf(entries[i]);
            if (kind == XMLELEMENT_CHILD)
                *child++ = item;
            else if (kind == XMLELEMENT_TEXT)
                *text++ = item;
            else
                *clear++ = *static_cast<XMLClear*>(item);
            if (order)
                *order++ = counts[kind] * 4 + kind;
            ++counts[kind];
        }
    }
    d->content.block = block;
    m_elements.CutTo(base);
}

void Parser::CloseAll() {
    KeepAttributes();
    while (m_node)
        Close();
}

void Parser::KeepAttributes() {
    std::size_t count = m_attributes.Count();
    if (!count)
        return;
    std::size_t bytes = count * sizeof(XMLAttribute);
    m_node->attributes = static_cast<XMLAttribute*>(m_pages->Take(bytes));
    std::memcpy(m_node->attributes, m_attributes.At(0), bytes);
    m_node->attributeCount = static_cast<int>(count);
    m_attributes.CutTo(0);
}

// ---- Texts and clear sections ----

bool Parser::ReadText() {
    const wchar_t* p = m_cursor;
    if (m_dropWhiteSpace) {
        while (IsSpace(*p))
            ++p;
    }
    if (*p == L'<' || !*p) {
        m_cursor = p;
        return true;
    }

    StringRoom room(m_pages);
    wchar_t* out = room.start;
    std::ptrdiff_t zero =
        -1; // where a reference has put a NUL into the text, which ends there for every reader
    for (;;) {
        p = CopyToStop<TextStops>(p, out, room);
        if (*p != L'&')
            break;
        wchar_t character;
        const wchar_t* next = DecodeReference(p, character);
        if (!next) {
            // The text is refused when the markup behind it has been read.
            m_cursor = FindStop<MarkupStops>(p);
            ReadToken(m_cursor);
            return Fail(XMLERROR_UNKNOWN_ENTITY);
        }
        if (!character && zero < 0)
            zero = out - room.start;
        *out++ = character;
        room.Ensure(out);
        p = next;
    }
    m_cursor = p;
    if (m_dropWhiteSpace) {
        for (; IsSpace(p[-1]); --p)
            --out;
    }
    *out = 0;

    if (CanJoin()) {
        JoinText(room.start, static_cast<std::size_t>((zero < 0 ? out : room.start + zero) - room.start));
        return true;
    }
    m_elements.Push(Entry(room.End(out), XMLELEMENT_TEXT));
    ++m_node->textCount;
    m_lastTextEnd = zero < 0 ? out : room.start + zero;
    m_lastTextLimit = room.limit;
    return true;
}

// Whether only a comment, one that goes, stands between the element's last text and what is added now.
bool Parser::CanJoin() {
    if (!m_removeComments || !m_node->textCount || !m_node->clearCount)
        return false;
    const std::uintptr_t* last = &m_elements.Top();
    return KindOf(last[0]) == XMLELEMENT_CLEAR && KindOf(last[-1]) == XMLELEMENT_TEXT &&
           static_cast<XMLClear*>(ItemOf(last[0]))->opener == ClearTags[ClearComment].opener;
}

// Appends the string, which lies unfinished at the end of the pages, to the element's last text, and drops
// the comment between them. As a rule both lie in one page, and nothing else than the comment between them;
// then the memory of comment and string is taken again, and a text of many pieces is never copied as a whole.
// Where it must be, it gets twice the room.
void Parser::JoinText(const wchar_t* piece, std::size_t length) {
    m_elements.CutTo(m_elements.Count() - 1);
    --m_node->clearCount;
    wchar_t* text = static_cast<wchar_t*>(ItemOf(m_elements.Top()));
    std::size_t before = static_cast<std::size_t>(m_lastTextEnd - text);
    if (m_lastTextLimit != m_pages->StringLimit()) {
        wchar_t* moved = m_pages->MoveString(text, before, length);
        m_elements.Top() = Entry(moved, XMLELEMENT_TEXT);
        text = moved;
        m_lastTextLimit = m_pages->StringLimit();
    }
    m_lastTextEnd = text + before + length;
    std::memmove(text + before, piece, length * sizeof(wchar_t));
    *m_lastTextEnd = 0;
    m_pages->EndString(m_lastTextEnd + 1);
}

bool Parser::ReadClearTag(const ClearTag* entry) {
    const wchar_t* content = m_cursor + entry->length;
    m_cursor = content; // where an unclosed section is reported
    const wchar_t* closer = entry->closer;
    if (entry == &ClearTags[ClearDoctype]) {
        const wchar_t* p = FindStop<DoctypeStops>(content);
        if (*p == L'<')
            closer = DoctypeSubsetCloser;
    }
    // Every closer has one ">", at its end.
    std::ptrdiff_t length = static_cast<std::ptrdiff_t>(std::wcslen(closer));
    const wchar_t* end = content;
    for (;; ++end) {
        end = FindStop<TagCloseStops>(end);
        if (!*end)
            return Fail(XMLERROR_UNMATCHED_CLEAR_TAG);
        if (end + 1 - content >= length &&
            std::memcmp(end + 1 - length, closer, static_cast<std::size_t>(length) * sizeof(wchar_t)) == 0)
            break;
    }
    wchar_t* value = CopySlice(content, end + 1 - length - content);
    XMLClear* clear = static_cast<XMLClear*>(m_pages->Take(sizeof(XMLClear)));
    *clear = {value, entry->opener, closer};
    m_elements.Push(Entry(clear, XMLELEMENT_CLEAR));
    ++m_node->clearCount;
    m_cursor = end + 1;
    return true;
}

// ---- Tags ----

bool Parser::ReadStartTag() {
    bool declaration = m_cursor[1] == L'?';
    m_cursor += declaration ? 2 : 1;
    while (IsSpace(*m_cursor))
        ++m_cursor;
    Record* child = NewPagedRecord(m_pages, declaration);
    wchar_t* end;
    child->name = ReadName(end);
    if (!child->name)
        return Fail(XMLERROR_MISSING_TAG_NAME);
    Open(child);
    switch (ReadAttributes()) {
    case TagEmpty:
        KeepAttributes();
        Close();
        return true;
    case TagOpen:
        KeepAttributes();
        return true;
    default:
        return false;
    }
}

bool Parser::ReadEndTag() {
    const wchar_t* name = m_cursor + 2;
    if (const wchar_t* open = m_node->name) {
        const wchar_t* p = name;
        while (*open && *open == *p) {
            ++open;
            ++p;
        }
        if (!*open && *p == L'>') {
            m_cursor = p + 1;
            Close();
            return true;
        }
    }
    m_cursor = name;
    Token token = ReadToken(m_cursor);
    if (token.kind != TokenKind::Text || ReadToken(m_cursor).kind != TokenKind::TagClose)
        return Fail(XMLERROR_MISSING_END_TAG_NAME);
    name = token.start;
    if (SameTagName(m_node->name, name)) {
        Close();
        return true;
    }
    // The end tag closes the ancestor it names, and with it all that is open inside.
    m_error = XMLWARNING_UNMATCHED_END_TAG;
    m_unmatched = m_cursor;
    if (m_node == m_topNode)
        return false;
    for (;;) {
        Close();
        if (!m_node->name)
            return Fail(XMLERROR_UNMATCHED_END_TAG);
        if (SameTagName(m_node->name, name)) {
            Close();
            return true;
        }
    }
}

// The plain text at the cursor, which is not at white space. Null for any other token; the cursor is then
// behind that.
const wchar_t* Parser::ReadName(wchar_t*& end) {
    const wchar_t* p = m_cursor;
    if (HasClass(*p, ClassNotName)) {
        Token token = ReadToken(m_cursor);
        if (token.kind != TokenKind::Text)
            return nullptr;
        wchar_t* name = CopySlice(token.start, token.length);
        end = name + token.length;
        return name;
    }
    StringRoom room(m_pages);
    wchar_t* out = room.start;
    for (;;) {
        p = CopyToStop<NameStops>(p, out, room);
        if (*p != L'/' || p[1] == L'>')
            break;
        *out++ = *p++;
    }
    m_cursor = p;
    end = out;
    return room.End(out);
}

// Reads what follows a tag's name. The attributes stay on their stack.
Parser::TagEnd Parser::ReadAttributes() {
    const wchar_t* name = nullptr; // read, but not yet known to have a value
    wchar_t* nameEnd = nullptr;
    for (;;) {
        const wchar_t* p = m_cursor;
        while (IsSpace(*p))
            ++p;
        m_cursor = p;
        if (*p == L'>' || (*p == L'/' && p[1] == L'>')) {
            bool empty = *p == L'/';
            m_cursor = p + (empty ? 2 : 1);
            if (name) {
                if (m_node->declaration() && nameEnd[-1] == L'?') {
                    // "?>": it ends a declaration inside an element, while one at the top holds what follows.
                    *--nameEnd = 0;
                    if (m_node->parent->parent)
                        empty = true;
                }
                if (*name)
                    m_attributes.Push({name, nullptr});
            }
            return empty ? TagEmpty : TagOpen;
        }
        if (!*p) {
            EndOfText();
            return TagFailed;
        }
        if (*p == L'=' && name) {
            m_cursor = p + 1;
            if (!ReadValue(name))
                return TagFailed;
            name = nullptr;
            continue;
        }
        wchar_t* nextEnd;
        const wchar_t* next = ReadName(nextEnd);
        if (!next) {
            Fail(XMLERROR_UNEXPECTED_TOKEN);
            return TagFailed;
        }
        if (name)
            m_attributes.Push({name, nullptr});
        name = next;
        nameEnd = nextEnd;
    }
}

// A value in quotes, the cursor being at the first. False, with the cursor where it was, if it is not as
// simple as it seemed.
template <wchar_t Quote>
bool Parser::ReadQuoted(const wchar_t* name) {
    StringRoom room(m_pages);
    wchar_t* out = room.start;
    const wchar_t* p = m_cursor + 1;
    for (;;) {
        p = CopyToStop<ValueStops<Quote>>(p, out, room);
        if (*p == Quote)
            break;
        wchar_t character;
        if (*p != L'&' || !(p = DecodeReference(p, character)))
            return false;
        *out++ = character;
        room.Ensure(out);
    }
    m_cursor = p + 1;
    m_attributes.Push({name, room.End(out)});
    return true;
}

// Reads the value behind "=" and adds the attribute.
bool Parser::ReadValue(const wchar_t* name) {
    while (IsSpace(*m_cursor))
        ++m_cursor;
    if (*m_cursor == L'"' ? ReadQuoted<L'"'>(name) : *m_cursor == L'\'' && ReadQuoted<L'\''>(name))
        return true;
    Token token = ReadToken(m_cursor);
    if (token.kind == TokenKind::End) {
        EndOfText();
        return false;
    }
    if (token.kind == TokenKind::Quoted) {
        ++token.start;
        token.length -= 2;
    } else if (token.kind != TokenKind::Text) {
        return Fail(XMLERROR_UNEXPECTED_TOKEN);
    } else if (m_node->declaration() && token.start[token.length - 1] == L'?') {
        --token.length;
    }
    const wchar_t* value = DecodeSlice(token.start, token.length);
    if (!value)
        return Fail(XMLERROR_UNKNOWN_ENTITY);
    m_attributes.Push({name, value});
    return true;
}

// ---- Strings ----

wchar_t* Parser::CopySlice(const wchar_t* start, std::ptrdiff_t length) {
    std::size_t units = static_cast<std::size_t>(length);
    wchar_t* copy = m_pages->TakeString(units);
    std::memcpy(copy, start, units * sizeof(wchar_t));
    copy[units] = 0;
    return copy;
}

// The slice with its references decoded; null when one is malformed. The unit behind the slice is none that a
// reference may hold, so that none is followed past the end.
const wchar_t* Parser::DecodeSlice(const wchar_t* start, std::ptrdiff_t length) {
    wchar_t* copy = CopySlice(start, length);
    wchar_t* out = copy;
    const wchar_t* end = start + length;
    while (start < end) {
        if (*start != L'&') {
            *out++ = *start++;
            continue;
        }
        start = DecodeReference(start, *out++);
        if (!start)
            return nullptr;
    }
    *out = 0;
    return copy;
}

} // namespace mvxml
