// The node record behind XMLNode, and the pages that hold the records and strings of one parse.
//
// A record is either one of a parse (or of a deep copy): then it lies in Pages, together with the strings and
// arrays it was born with, and all of that goes at once; or it is a block of its own (HeapNode). What is put
// into a record later (strings, arrays) is always allocated with malloc. An address test tells the two kinds
// of strings apart, so that strings of the caller's can be adopted as they are.
//
// Counting: `references` counts the handles and child arrays that refer to a record. `*outside` counts, for
// the whole of the pages, those references that do not come from records of the same pages; when it falls to
// zero, nothing can reach the pages any more. A record on the heap counts into an integer of its own that
// nobody reads, which spares every handle the question.
#pragma once

#include "XMLNode.h"

#include <cstddef>
#include <cstdint>

namespace mvxml {

struct EditArrays;

// How a record's elements are stored.
enum Layout : int {
    LayoutPacked = 0, // one block: children, texts, clear sections, and the order if the kinds are mixed
    LayoutInline = 1, // one child or one text, in the record itself
    LayoutEdited = 2  // EditArrays on the heap, attributes on the heap
};

} // namespace mvxml

// 64 bytes on 64-bit systems: one cache line for each element of a document.
struct XMLNodeDataTag {
    XMLNodeCounters counters;
    const wchar_t* name;
    XMLNodeDataTag* parent;
    XMLAttribute* attributes;
    union Content {
        void** block;
        XMLNodeDataTag* child;
        const wchar_t* text;
        mvxml::EditArrays* edited;
        std::size_t stackBase; // while the parser has the element open
    } content;
    int childCount;
    int textCount;
    int clearCount;
    int attributeCount;

    bool declaration() const { return (counters.state & 1) != 0; }
    mvxml::Layout layout() const { return static_cast<mvxml::Layout>(counters.state >> 1); }
    void setLayout(mvxml::Layout layout) { counters.state = (counters.state & 1) | (layout << 1); }
    int elementCount() const { return childCount + textCount + clearCount; }
};

namespace mvxml {

using Record = XMLNodeDataTag;

struct HeapNode {
    Record record;
    int outside;
};

// The arrays of a record that has been changed. Every array has room for at least its count.
struct EditArrays {
    Record** children;
    const wchar_t** texts;
    XMLClear* clears;
    int* order;
    int childRoom;
    int textRoom;
    int clearRoom;
    int orderRoom;
    int attributeRoom;
};

// Thrown inside the component when pages cannot grow; never leaves it.
struct MemoryExhausted {};

// Memory that is taken piece by piece and given back as a whole. Lies in the first of its own pages.
class Pages {
public:
    // Null when memory is exhausted.
    static Pages* Create(std::size_t firstSize = 4096 - 32);
    void Free();

    // Memory for records and arrays. Throws MemoryExhausted.
    void* Take(std::size_t bytes) {
        std::size_t size = (bytes + sizeof(void*) - 1) & ~(sizeof(void*) - 1);
        char* start = Align(cursor, sizeof(void*));
        if (start > limit || static_cast<std::size_t>(limit - start) < size)
            start = AddPage(size);
        cursor = start + size;
        return start;
    }
    // Starts a string: at least StringRoom bytes lie between the result and the limit.
    wchar_t* BeginString() {
        char* start = Align(cursor, sizeof(wchar_t) < 4 ? 4 : 1); // aligned anyway where units have 4 bytes
        if (limit - start < StringRoom)
            start = AddPage(StringRoom);
        return reinterpret_cast<wchar_t*>(start);
    }
    // Moves a string to the end of the pages, where it has room for `more` units and as much again. Answers
    // its new start; the string is unfinished there.
    wchar_t* MoveString(const wchar_t* start, std::size_t length, std::size_t more = 0);
    // Memory for a string of that length and its NUL.
    wchar_t* TakeString(std::size_t length);
    // Ends a string behind its NUL.
    void EndString(wchar_t* end) { cursor = reinterpret_cast<char*>(end); }
    wchar_t* StringLimit() const { return reinterpret_cast<wchar_t*>(limit); }
    // A copy of a text that ends with a NUL; null for null.
    wchar_t* Copy(const wchar_t* text);

    bool Owns(const void* address) const;

    static Pages* Of(const Record* record) {
        if (record->counters.outside == &reinterpret_cast<const HeapNode*>(record)->outside)
            return nullptr;
        return reinterpret_cast<Pages*>(record->counters.outside);
    }

    static constexpr std::ptrdiff_t StringRoom = 256;

    int outside;    // first: records point to it. See the top of this file.
    bool edited;    // some record has been changed, so that records must be visited before the pages go
    bool condemned; // in the list of pages that go at the end of a destruction
    char* cursor;
    Pages*
        nextCondemned; // here, so that no compiler loads `cursor` and `limit` at once, behind a store of one
    char* limit;

private:
    struct Page {
        Page* next;
        std::size_t size;
    };
    static char* Align(char* address, std::size_t alignment) {
        return reinterpret_cast<char*>((reinterpret_cast<std::uintptr_t>(address) + alignment - 1) &
                                       ~static_cast<std::uintptr_t>(alignment - 1));
    }
    char* AddPage(std::size_t bytes);

    Page* m_newest;
    std::size_t m_nextSize;
};

// ---- Reading a record ----

inline Record* const* Children(const Record* d) {
    switch (d->layout()) {
    case LayoutInline:
        return &d->content.child;
    case LayoutEdited:
        return d->content.edited->children;
    default:
        return reinterpret_cast<Record* const*>(d->content.block);
    }
}

inline const wchar_t* const* Texts(const Record* d) {
    switch (d->layout()) {
    case LayoutInline:
        return &d->content.text;
    case LayoutEdited:
        return d->content.edited->texts;
    default:
        return reinterpret_cast<const wchar_t* const*>(d->content.block + d->childCount);
    }
}

inline XMLClear* Clears(const Record* d) {
    if (d->layout() == LayoutEdited)
        return d->content.edited->clears;
    return reinterpret_cast<XMLClear*>(d->content.block + d->childCount + d->textCount);
}

// Kinds follow each other in a packed block; an order is stored only where they are mixed.
inline bool IsMixed(const Record* d) {
    return ((d->childCount != 0) + (d->textCount != 0) + (d->clearCount != 0)) > 1;
}

// The order of a record's elements: entry i is index * 4 + kind.
class Order {
public:
    explicit Order(const Record* d)
        : m_entries(d->layout() == LayoutEdited ? d->content.edited->order
                    : d->layout() == LayoutPacked && IsMixed(d)
                        ? reinterpret_cast<int*>(Clears(d) + d->clearCount)
                        : nullptr)
        , m_kind(d->textCount    ? XMLELEMENT_TEXT
                 : d->clearCount ? XMLELEMENT_CLEAR
                                 : XMLELEMENT_CHILD) {}
    int operator[](int i) const { return m_entries ? m_entries[i] : i * 4 + m_kind; }

private:
    const int* m_entries;
    int m_kind;
};

// ---- Making and ending records ----

// A record of its own with no references yet; null when memory is exhausted. The name is taken over.
Record* NewHeapRecord(wchar_t* name, bool declaration);
// A record in pages, all zeroes but for its flag.
inline Record* NewPagedRecord(Pages* pages, bool declaration) {
    Record* d = static_cast<Record*>(pages->Take(sizeof(Record)));
    *d = Record{{0, declaration ? 1 : 0, &pages->outside}, nullptr, nullptr, nullptr, {nullptr}, 0, 0, 0, 0};
    return d;
}
// A packed block for the counts that the record holds. Throws MemoryExhausted.
void** NewBlock(Pages* pages, const Record* d);

// Adds and drops the reference that a parent's child array holds.
inline void HoldChild(const Record* parent, Record* child) {
    ++child->counters.references;
    if (parent->counters.outside != child->counters.outside)
        ++*child->counters.outside;
}
inline void DropChild(const Record* parent, Record* child) {
    --child->counters.references;
    if (parent->counters.outside != child->counters.outside)
        --*child->counters.outside;
}

// Empties a record, whoever refers to it, and ends what this leaves unreferenced, the record itself included.
// The record must have been taken out of its parent.
void EmptyRecord(Record* d);

// Frees a string that is or was the record's, unless it lies in the record's pages.
void FreeOwned(const Record* d, const wchar_t* text);

} // namespace mvxml

// What the sources of the component may do with handles.
struct XMLNodeAccess {
    static mvxml::Record* record(const XMLNode& node) { return node.d; }
    // A further handle on the record.
    static XMLNode share(mvxml::Record* record) {
        XMLNode node(record);
        if (record) {
            ++record->counters.references;
            ++*record->counters.outside;
        }
        return node;
    }
};
