// Turns a text into a tree of packed records.
#pragma once

#include "xml/record.h"
#include "xml/stack.h"
#include "xml/tables.h"
#include "xml/tokenizer.h"

#include <cstddef>
#include <cstdint>

namespace mvxml {

// A unit is a wchar_t, or a byte of well-formed UTF-8.
template <class Unit>
class Parser {
public:
    // The text ends with a NUL and stays as it is for the parser's life. Options are those of the moment.
    Parser(const Unit* text, Pages* pages);

    // Parses the whole text. The tree is complete, whatever the error. Throws MemoryExhausted.
    void Run();

    // The nameless top node; it has no references yet.
    Record* Top() const { return m_topNode; }
    XMLError Error() const { return m_error; }
    // Where the parse stopped: for an unmatched end tag the place where that was noticed.
    const Unit* Position() const { return m_error == XMLWARNING_UNMATCHED_END_TAG ? m_unmatched : m_cursor; }
    // Whether the text's first markup is an end tag.
    bool BeginsWithEndTag() const { return m_beginsWithEndTag; }

private:
    enum TagEnd { TagOpen, TagEmpty, TagFailed };
    struct StringRoom;

    // A name as it stands in the text, and the string made of it, which all nodes and attributes that have
    // this name share. Names mostly follow each other as they did before, and to compare is less work than to
    // look for the end and copy.
    struct SourceName {
        const Unit* source;
        std::size_t length; // units
    };
    struct Name : SourceName {
        const wchar_t* text;
        Name* nextTag;       // what the tag behind the last one of this name was called
        Name* nextAttribute; // the name behind this one inside the tag
    };
    // What stands on every document's way goes on at `p` and moves it. What is rare is never inlined, takes
    // `p` by value, so that the others keep theirs in a register, and leaves m_cursor where it has ended.
    // False when the parse is over; the error and m_cursor then say how.
    bool ReadText(const Unit*& p);
    bool ReadStartTag(const Unit*& p);
    bool ReadEndTag(const Unit*& p);
    bool ReadOtherEndTag(const Unit* p);
    bool ReadClearTag(const Unit* p, const ClearTag* entry);
    TagEnd ReadAttributes(const Unit*& p, Record* d);
    bool ReadValue(const Unit*& p, const Record* d, const wchar_t* name);
    template <wchar_t Quote>
    bool ReadQuoted(const Unit*& p, const wchar_t* name);
    bool ReadOtherValue(const Unit* p, const Record* d, const wchar_t* name);
    bool Expect(const Unit*& p, const Name* expected);
    Name* ReadNewName(const Unit* p);
    Name* ReadNameToken(const Unit* p);

    void EndOfText(const Unit* p);
    bool Fail(XMLError error, const Unit* p);
    bool CanJoin();
    void JoinText(const wchar_t* piece, std::size_t length);

    void Close();
    void CloseMany(Record* d, std::size_t base, std::size_t count);
    void CloseAll();
    void KeepAttributes(Record* d);
    bool NamesOpenElement(const Unit* candidate) const;
    const wchar_t* CopySlice(const Unit* start, std::size_t length);
    const wchar_t* DecodeSlice(const Unit* start, std::size_t length);

    // Entries of the element stack are pointers whose low two bits tell the kind.
    static std::uintptr_t Entry(const void* item, XMLElementType kind) {
        return reinterpret_cast<std::uintptr_t>(item) | static_cast<std::uintptr_t>(kind);
    }
    static int KindOf(std::uintptr_t entry) { return static_cast<int>(entry & 3); }
    static void* ItemOf(std::uintptr_t entry) { return reinterpret_cast<void*>(entry & ~std::uintptr_t{3}); }

    const Unit* m_cursor; // where the parse has ended
    const Unit* m_unmatched;
    Pages* m_pages;
    Record* m_topNode;
    Record* m_node; // the element that is open
    XMLError m_error;
    bool m_dropWhiteSpace;
    bool m_removeComments;
    bool m_beginsWithEndTag;
    wchar_t* m_lastTextEnd;   // the NUL of the text added last
    wchar_t* m_lastTextLimit; // the end of the page it lies in
    Stack<std::uintptr_t, 256> m_elements;
    Stack<XMLAttribute, 32> m_attributes;
    Stack<SourceName, 64> m_openTags; // one for each element that is open, the top node not counted

    // Names seen lately. An entry is filled when its bit is set; there is no time to clear them all for a
    // small text.
    static constexpr std::size_t NameCount = 256;
    std::uint64_t m_namesFilled[NameCount / 64] = {};
    Name* m_lastTag;
    Name* m_lastName;
    Name m_noName;    // of length 0
    Name m_tokenName; // made by ReadNameToken
    Name m_names[NameCount];
};

} // namespace mvxml
