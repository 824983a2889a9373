#include "xml/parser.h"

#include "xml/scan.h"

#include <cstring>
#include <cwchar>
#include <type_traits>

namespace mvxml {

// The string under construction at the end of the pages.
template <class Unit>
struct Parser<Unit>::StringRoom {
    explicit StringRoom(Pages* owner)
        : pages(owner)
        , start(owner->BeginString())
        , limit(owner->StringLimit()) {}
    void Ensure(wchar_t*& target) {
        if (limit - target < CopyRoom / static_cast<std::ptrdiff_t>(sizeof(wchar_t))) [[unlikely]]
            Move(target);
    }
    [[gnu::noinline]] void Move(wchar_t*& target) {
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

// Whether plain text ends at the unit.
template <class Unit>
bool EndsName(const Unit* p) {
    return HasClass(*p, ClassNameEnd) && (*p != '/' || p[1] == '>');
}

} // namespace

template <class Unit>
Parser<Unit>::Parser(const Unit* text, Pages* pages)
    : m_cursor(text)
    , m_unmatched(text)
    , m_pages(pages)
    , m_topNode(NewPagedRecord(pages, false))
    , m_node(m_topNode)
    , m_error(XMLERROR_NONE)
    , m_dropWhiteSpace(CurrentOptions.dropWhiteSpace != 0)
    , m_removeComments(CurrentOptions.removeComments != 0)
    , m_beginsWithEndTag(false)
    , m_lastTextEnd(nullptr)
    , m_lastTextLimit(nullptr)
    , m_lastTag(&m_noName)
    , m_lastName(&m_noName)
    , m_noName{{text, 0}, nullptr, &m_noName, &m_noName}
    , m_tokenName(m_noName) {}

// Outside a tag only the next "<" matters: every other token is part of the text that is pending, and pending
// text always begins where the last markup ended.
template <class Unit>
void Parser<Unit>::Run() {
    const Unit* p = m_cursor;
    bool sawMarkup = false;
    while (ReadText(p)) {
        if (!*p) {
            EndOfText(p);
            break;
        }
        Unit next = p[1];
        bool goesOn;
        if (next == '/') {
            m_beginsWithEndTag = !sawMarkup;
            goesOn = ReadEndTag(p);
        } else {
            const ClearTag* clearTag = nullptr;
            if (next == '!' || next == 'P' || next == 'S')
                clearTag = FindClearTag(p);
            if (clearTag) {
                goesOn = ReadClearTag(p, clearTag);
                p = m_cursor;
            } else {
                goesOn = ReadStartTag(p);
            }
        }
        if (!goesOn)
            break;
        sawMarkup = true;
    }
    CloseAll();
}

template <class Unit>
bool Parser<Unit>::Fail(XMLError error, const Unit* p) {
    m_error = error;
    m_cursor = p;
    return false;
}

template <class Unit>
void Parser<Unit>::EndOfText(const Unit* p) {
    m_cursor = p;
    if (!m_node->declaration() && m_node->parent) {
        m_error = XMLWARNING_UNMATCHED_END_TAG;
        m_unmatched = p;
    }
}

// ---- Elements

// Carves the arrays of the element that is open to their sizes, and goes back to its parent.
template <class Unit>
inline void Parser<Unit>::Close() {
    Record* d = m_node;
    std::size_t base = d->content.stackBase;
    std::size_t count = m_elements.Count() - base;
    m_node = d->parent;
    if (m_node)
        m_openTags.CutTo(m_openTags.Count() - 1);
    if (count == 0) {
        d->content.block = nullptr;
    } else if (count == 1 && d->clearCount == 0) {
        d->setLayout(LayoutInline);
        d->content.block = static_cast<void**>(ItemOf(m_elements.Top()));
        m_elements.CutTo(base);
    } else {
        CloseMany(d, base, count);
    }
}

template <class Unit>
[[gnu::noinline]] void Parser<Unit>::CloseMany(Record* d, std::size_t base, std::size_t count) {
    const std::uintptr_t* entries = m_elements.At(base);
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

template <class Unit>
void Parser<Unit>::CloseAll() {
    KeepAttributes(m_node);
    while (m_node)
        Close();
}

template <class Unit>
inline void Parser<Unit>::KeepAttributes(Record* d) {
    std::size_t count = m_attributes.Count();
    if (!count)
        return;
    const XMLAttribute* source = m_attributes.At(0);
    XMLAttribute* target = static_cast<XMLAttribute*>(m_pages->Take(count * sizeof(XMLAttribute)));
    d->attributes = target;
    d->attributeCount = static_cast<int>(count);
    for (std::size_t i = 0; i < count; ++i)
        target[i] = source[i];
    m_attributes.CutTo(0);
}

// ---- Texts and clear sections

template <class Unit>
[[gnu::always_inline]] inline bool Parser<Unit>::ReadText(const Unit*& start) {
    const Unit* p = start;
    if (m_dropWhiteSpace) {
        while (IsSpace(*p))
            ++p;
    }
    start = p;
    if (*p == '<' || !*p)
        return true;

    StringRoom room(m_pages);
    wchar_t* out = room.start;
    // Where a reference has put a NUL into the text, which ends there for every reader.
    std::ptrdiff_t zero = -1;
    // The end of what a reference gave: that is not trimmed.
    std::ptrdiff_t decoded = 0;
    for (;;) {
        p = CopyToStop<TextStops>(p, out, room);
        if (*p != '&')
            break;
        wchar_t character;
        const Unit* next = DecodeReference(p, character);
        if (!next) {
            // The text is refused when the markup behind it has been read.
            p = FindStop<MarkupStops>(p);
            ReadToken(p);
            return Fail(XMLERROR_UNKNOWN_ENTITY, p);
        }
        if (!character && zero < 0)
            zero = out - room.start;
        *out++ = character;
        decoded = out - room.start;
        p = next;
    }
    start = p;
    if (m_dropWhiteSpace) {
        while (out - room.start > decoded && IsSpace(out[-1]))
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
template <class Unit>
inline bool Parser<Unit>::CanJoin() {
    if (!m_node->clearCount || !m_node->textCount || !m_removeComments)
        return false;
    const std::uintptr_t* last = &m_elements.Top();
    return KindOf(last[0]) == XMLELEMENT_CLEAR && KindOf(last[-1]) == XMLELEMENT_TEXT &&
           static_cast<XMLClear*>(ItemOf(last[0]))->opener == ClearTags[ClearComment].opener;
}

// Appends the string, which lies unfinished at the end of the pages, to the element's last text, and drops
// the comment between them. As a rule both lie in one page, and nothing else than the comment between them;
// then the memory of comment and string is taken again, and a text of many pieces is never copied as a whole.
// Where it must be, it gets twice the room.
template <class Unit>
[[gnu::noinline]] void Parser<Unit>::JoinText(const wchar_t* piece, std::size_t length) {
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

template <class Unit>
[[gnu::noinline]] bool Parser<Unit>::ReadClearTag(const Unit* p, const ClearTag* entry) {
    const Unit* content = p + entry->length;
    const wchar_t* closer = entry->closer;
    if (entry == &ClearTags[ClearDoctype] && *FindStop<DoctypeStops>(content) == '<')
        closer = DoctypeSubsetCloser;
    // Every closer has one ">", at its end.
    std::ptrdiff_t length = static_cast<std::ptrdiff_t>(std::wcslen(closer));
    const Unit* end = content;
    for (;; ++end) {
        end = FindStop<TagCloseStops>(end);
        if (!*end)
            return Fail(XMLERROR_UNMATCHED_CLEAR_TAG, content);
        std::ptrdiff_t same = 0;
        if (end + 1 - content >= length) {
            while (same < length && static_cast<wchar_t>(end[1 - length + same]) == closer[same])
                ++same;
        }
        if (same == length)
            break;
    }
    const wchar_t* value = CopySlice(content, static_cast<std::size_t>(end + 1 - length - content));
    XMLClear* clear = static_cast<XMLClear*>(m_pages->Take(sizeof(XMLClear)));
    *clear = {value, entry->opener, closer};
    m_elements.Push(Entry(clear, XMLELEMENT_CLEAR));
    ++m_node->clearCount;
    m_cursor = end + 1;
    return true;
}

// ---- Tags

template <class Unit>
[[gnu::always_inline]] inline bool Parser<Unit>::ReadStartTag(const Unit*& start) {
    const Unit* p = start + 1;
    bool declaration = *p == '?';
    if (declaration)
        ++p;
    while (IsSpace(*p))
        ++p;
    const Unit* source = p;
    Name* name = m_lastTag->nextTag;
    if (!Expect(p, name)) {
        name = ReadNewName(p);
        p = m_cursor;
        if (!name)
            return Fail(XMLERROR_MISSING_TAG_NAME, p);
        if (name == &m_tokenName)
            source = name->source;
        else
            m_lastTag->nextTag = name;
    }
    m_lastTag = name;
    m_lastName = name;
    Record* parent = m_node;
    Record* child = static_cast<Record*>(m_pages->Take(sizeof(Record)));
    m_elements.Push(Entry(child, XMLELEMENT_CHILD));
    SourceName& open = m_openTags.Add();
    open.source = source;
    open.length = name->length;
    *child = Record{
        {1, declaration ? 1 : 0, &m_pages->outside}, name->text, parent, nullptr, {nullptr}, 0, 0, 0, 0};
    child->content.stackBase = m_elements.Count();
    ++parent->childCount;
    m_node = child;
    switch (ReadAttributes(p, child)) {
    case TagEmpty:
        KeepAttributes(child);
        Close();
        break;
    case TagOpen:
        KeepAttributes(child);
        break;
    default:
        return false;
    }
    start = p;
    return true;
}

template <class Unit>
[[gnu::always_inline]] inline bool Parser<Unit>::ReadEndTag(const Unit*& p) {
    if (m_openTags.Count()) {
        const SourceName& open = m_openTags.Top();
        if (EqualUnits(p + 2, open.source, open.length) && p[2 + open.length] == '>') {
            p += open.length + 3;
            Close();
            return true;
        }
    }
    bool goesOn = ReadOtherEndTag(p);
    p = m_cursor;
    return goesOn;
}

// Whether the candidate, which is followed by more text, begins with the name of the element that is open and
// ends there.
template <class Unit>
bool Parser<Unit>::NamesOpenElement(const Unit* candidate) const {
    if (m_node == m_topNode)
        return false;
    const SourceName& open = m_openTags.Top();
    for (std::size_t i = 0; i < open.length; ++i) {
        if (Fold(static_cast<wchar_t>(open.source[i])) != Fold(static_cast<wchar_t>(candidate[i])))
            return false;
    }
    return candidate[open.length] && HasClass(candidate[open.length], ClassNameEnd);
}

template <class Unit>
[[gnu::noinline]] bool Parser<Unit>::ReadOtherEndTag(const Unit* p) {
    p += 2;
    Token<Unit> token = ReadToken(p);
    if (token.kind != TokenKind::Text || ReadToken(p).kind != TokenKind::TagClose)
        return Fail(XMLERROR_MISSING_END_TAG_NAME, p);
    m_cursor = p;
    if (NamesOpenElement(token.start)) {
        Close();
        return true;
    }
    // The end tag closes the ancestor it names, and with it all that is open inside.
    m_error = XMLWARNING_UNMATCHED_END_TAG;
    m_unmatched = p;
    if (m_node == m_topNode)
        return false;
    for (;;) {
        Close();
        if (m_node == m_topNode)
            return Fail(XMLERROR_UNMATCHED_END_TAG, p);
        if (NamesOpenElement(token.start)) {
            Close();
            return true;
        }
    }
}

template <class Unit>
[[gnu::always_inline]] inline bool Parser<Unit>::Expect(const Unit*& p, const Name* expected) {
    if (!expected->length || !EqualUnits(p, expected->source, expected->length) ||
        !EndsName(p + expected->length))
        return false;
    p += expected->length;
    return true;
}

// The plain text at `p`, which is not at white space and is not the name that was expected. Null for any
// other token; m_cursor is then behind that.
template <class Unit>
[[gnu::noinline]] typename Parser<Unit>::Name* Parser<Unit>::ReadNewName(const Unit* p) {
    if (HasClass(*p, ClassNotName))
        return ReadNameToken(p);
    const Unit* end = FindStop<NameStops>(p);
    while (!EndsName(end))
        end = FindStop<NameStops>(end + 1);
    std::size_t length = static_cast<std::size_t>(end - p);
    std::size_t mixed = length * 37 + static_cast<std::size_t>(p[0]) * 5 +
                        static_cast<std::size_t>(end[-1]) * 3 + static_cast<std::size_t>(p[length / 2]) * 11;
    std::size_t slot = mixed % NameCount;
    std::uint64_t bit = std::uint64_t{1} << slot % 64;
    Name& entry = m_names[slot];
    bool filled = (m_namesFilled[slot / 64] & bit) != 0;
    if (!filled)
        entry.nextTag = entry.nextAttribute = &m_noName;
    if (!filled || entry.length != length || !EqualUnits(p, entry.source, length)) {
        entry.text = CopySlice(p, length);
        entry.source = p;
        entry.length = length;
        m_namesFilled[slot / 64] |= bit;
    }
    m_cursor = end;
    return &entry;
}

// What begins like another token may still be a name. Its entry is used again for the next one.
template <class Unit>
[[gnu::noinline]] typename Parser<Unit>::Name* Parser<Unit>::ReadNameToken(const Unit* p) {
    m_cursor = p;
    Token<Unit> token = ReadToken(m_cursor);
    if (token.kind != TokenKind::Text)
        return nullptr;
    m_cursor = token.start + token.length;
    m_tokenName.source = token.start;
    m_tokenName.length = static_cast<std::size_t>(token.length);
    m_tokenName.text = CopySlice(token.start, m_tokenName.length);
    m_tokenName.nextTag = m_tokenName.nextAttribute = &m_noName;
    return &m_tokenName;
}

// Reads what follows a tag's name. The attributes stay on their stack.
template <class Unit>
[[gnu::always_inline]] inline typename Parser<Unit>::TagEnd Parser<Unit>::ReadAttributes(const Unit*& start,
                                                                                         Record* d) {
    const Unit* p = start;
    const wchar_t* name = nullptr; // read, but not yet known to have a value
    const Unit* source = nullptr;  // where that name stands
    std::size_t length = 0;
    for (;;) {
        while (IsSpace(*p))
            ++p;
        if (*p == '>' || (*p == '/' && p[1] == '>')) {
            bool empty = *p == '/';
            start = p + (empty ? 2 : 1);
            if (name) {
                if (d->declaration() && source[length - 1] == '?') {
                    // "?>": it ends a declaration inside an element, while one at the top holds what follows.
                    name = CopySlice(source, length - 1);
                    if (d->parent->parent)
                        empty = true;
                }
                if (*name)
                    m_attributes.Push({name, nullptr});
            }
            return empty ? TagEmpty : TagOpen;
        }
        if (!*p) {
            EndOfText(p);
            return TagFailed;
        }
        if (*p == '=' && name) {
            ++p;
            if (!ReadValue(p, d, name))
                return TagFailed;
            name = nullptr;
            continue;
        }
        source = p;
        Name* next = m_lastName->nextAttribute;
        if (!Expect(p, next)) {
            next = ReadNewName(p);
            p = m_cursor;
            if (!next) {
                Fail(XMLERROR_UNEXPECTED_TOKEN, p);
                return TagFailed;
            }
            if (next == &m_tokenName)
                source = next->source;
            else
                m_lastName->nextAttribute = next;
        }
        m_lastName = next;
        if (name)
            m_attributes.Push({name, nullptr});
        name = next->text;
        length = next->length;
    }
}

// A value in quotes, `p` being at the first. False, with `p` where it was, if it is not as simple as it
// seemed.
template <class Unit>
template <wchar_t Quote>
[[gnu::always_inline]] inline bool Parser<Unit>::ReadQuoted(const Unit*& start, const wchar_t* name) {
    StringRoom room(m_pages);
    wchar_t* out = room.start;
    const Unit* p = start + 1;
    for (;;) {
        p = CopyToStop<ValueStops<Quote>>(p, out, room);
        if (*p == static_cast<Unit>(Quote))
            break;
        wchar_t character;
        if (*p != '&' || !(p = DecodeReference(p, character)))
            return false;
        *out++ = character;
    }
    start = p + 1;
    m_attributes.Push({name, room.End(out)});
    return true;
}

// Reads the value behind "=" and adds the attribute.
template <class Unit>
[[gnu::always_inline]] inline bool Parser<Unit>::ReadValue(const Unit*& p, const Record* d,
                                                           const wchar_t* name) {
    while (IsSpace(*p))
        ++p;
    if (*p == '"' ? ReadQuoted<L'"'>(p, name) : *p == '\'' && ReadQuoted<L'\''>(p, name))
        return true;
    bool goesOn = ReadOtherValue(p, d, name);
    p = m_cursor;
    return goesOn;
}

template <class Unit>
[[gnu::noinline]] bool Parser<Unit>::ReadOtherValue(const Unit* p, const Record* d, const wchar_t* name) {
    Token<Unit> token = ReadToken(p);
    m_cursor = p;
    if (token.kind == TokenKind::End) {
        EndOfText(p);
        return false;
    }
    if (token.kind == TokenKind::Quoted) {
        ++token.start;
        token.length -= 2;
    } else if (token.kind != TokenKind::Text) {
        return Fail(XMLERROR_UNEXPECTED_TOKEN, p);
    } else if (d->declaration() && token.start[token.length - 1] == '?') {
        --token.length;
    }
    const wchar_t* value = DecodeSlice(token.start, static_cast<std::size_t>(token.length));
    if (!value)
        return Fail(XMLERROR_UNKNOWN_ENTITY, p);
    m_attributes.Push({name, value});
    return true;
}

// ---- Strings

template <class Unit>
const wchar_t* Parser<Unit>::CopySlice(const Unit* start, std::size_t length) {
    wchar_t* copy = m_pages->TakeString(length);
    wchar_t* out = copy;
    if constexpr (std::is_same_v<Unit, wchar_t>) {
        std::memcpy(copy, start, length * sizeof(wchar_t));
        out += length;
    } else {
        const Unit* end = start + length;
        while (start < end) {
            if (*start < 0x80)
                *out++ = static_cast<wchar_t>(*start++);
            else
                start = DecodeCharacter(start, out);
        }
    }
    *out = 0;
    return copy;
}

// The slice with its references decoded; null when one is malformed. The unit behind the slice is none that a
// reference may hold, so that none is followed past the end.
template <class Unit>
const wchar_t* Parser<Unit>::DecodeSlice(const Unit* start, std::size_t length) {
    wchar_t* copy = m_pages->TakeString(length);
    wchar_t* out = copy;
    const Unit* end = start + length;
    while (start < end) {
        if (*start == '&') {
            start = DecodeReference(start, *out++);
            if (!start)
                return nullptr;
        } else if (sizeof(Unit) > 1 || static_cast<unsigned int>(*start) < 0x80) {
            *out++ = static_cast<wchar_t>(*start++);
        } else if constexpr (sizeof(Unit) == 1) {
            start = DecodeCharacter(start, out);
        }
    }
    *out = 0;
    return copy;
}

template class Parser<wchar_t>;
template class Parser<unsigned char>;

} // namespace mvxml
