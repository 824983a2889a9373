// Turns a text into a tree of packed records.
#pragma once

#include "xml/record.h"
#include "xml/stack.h"
#include "xml/tables.h"
#include "xml/tokenizer.h"

#include <cstddef>

namespace mvxml {

class Parser {
public:
    // The text ends with a NUL and stays as it is for the parser's life. Options are those of the moment.
    Parser(const wchar_t* text, Pages* pages);

    // Parses the whole text. The tree is complete, whatever the error. Throws MemoryExhausted.
    void Run();

    // The nameless top node; it has no references yet.
    Record* Top() const { return m_topNode; }
    XMLError Error() const { return m_error; }
    // Where the parse stopped: for an unmatched end tag the place where that was noticed.
    const wchar_t* Position() const {
        return m_error == XMLWARNING_UNMATCHED_END_TAG ? m_unmatched : m_cursor;
    }
    // Whether the text's first markup is an end tag.
    bool BeginsWithEndTag() const { return m_beginsWithEndTag; }

private:
    enum TagEnd { TagOpen, TagEmpty, TagFailed };
    struct StringRoom;

    // Each answers false when the parse is over; the error and the cursor then say how.
    bool ReadText();
    bool ReadStartTag();
    bool ReadEndTag();
    bool ReadClearTag(const ClearTag* entry);
    TagEnd ReadAttributes();
    bool ReadValue(const wchar_t* name);

    void EndOfText();
    bool Fail(XMLError error);
    bool CanJoin();
    void JoinText(const wchar_t* piece, std::size_t length);

    void Open(Record* child);
    void Close();
    void CloseAll();
    void KeepAttributes();
    const wchar_t* ReadName(wchar_t*& end);
    template <wchar_t Quote>
    bool ReadQuoted(const wchar_t* name);
    wchar_t* CopySlice(const wchar_t* start, std::ptrdiff_t length);
    const wchar_t* DecodeSlice(const wchar_t* start, std::ptrdiff_t length);

    // Entries of the element stack are pointers whose low two bits tell the kind.
    static std::uintptr_t Entry(const void* item, XMLElementType kind) {
        return reinterpret_cast<std::uintptr_t>(item) | static_cast<std::uintptr_t>(kind);
    }
    static int KindOf(std::uintptr_t entry) { return static_cast<int>(entry & 3); }
    static void* ItemOf(std::uintptr_t entry) { return reinterpret_cast<void*>(entry & ~std::uintptr_t{3}); }

    const wchar_t* m_cursor;
    const wchar_t* m_unmatched;
    Pages* m_pages;
    Record* m_topNode;
    Record* m_node; // the element that is open
    XMLError m_error;
    bool m_dropWhiteSpace;
    bool m_removeComments;
    bool m_sawMarkup;
    bool m_beginsWithEndTag;
    wchar_t* m_lastTextEnd;   // the NUL of the text added last
    wchar_t* m_lastTextLimit; // the end of the page it lies in
    Stack<std::uintptr_t, 256> m_elements;
    Stack<XMLAttribute, 32> m_attributes;
};

} // namespace mvxml
