// Ranges over the containers, for range-for and the standard algorithms. Nothing in the containers depends on
// this header.
//
//     for (TItem* item : list) ...                    // TLlista, TCrossList and what derives from them
//     for (const HashElement& element : hash) ...     // element.Key(), element.item
//     for (TableRow row : Rows(table))
//         for (TItem* cell : row) ...
//     auto found = std::find_if(begin(list), end(list), ...);
//
// The algorithms of std::ranges, too, take begin(list) and end(list); a container itself only as a const one.
//
// Items are handed out as the containers hold them: they stay the container's, and null entries are seen as
// null. The elements themselves cannot be assigned through an iterator, so that no algorithm can lose or
// double an item. Iterators of a TLlista and of table rows are of random access, those of a TCrossList go
// both ways, those of a THash forwards.
//
// Changing a container ends the use of its iterators, with one exception: what a TCrossList iterator points
// at, Node() included, stays good while that node stays in the list. Its way to the end is counted, so that a
// walk goes on only while the number of nodes is the same. A ring is seen once round, from its first node to
// its last.
//
// Ranges and iterators are plain values that point at their container: they must not outlive it, and belong
// to its thread. Making them and going along allocates nothing; only HashElement::Key does (std::bad_alloc).
#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

#include "TCrossList.h"
#include "THash.h"
#include "TLlista.h"
#include "TTaula.h"

namespace mvlib {

// An iterator over positions: `Container` answers At(position) by value.
template <class View>
class PositionIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = typename View::value_type;
    using difference_type = std::ptrdiff_t;
    using reference = value_type;
    using pointer = void;

    PositionIterator() = default;
    PositionIterator(View view, int at)
        : m_view(view)
        , m_at(at) {}

    reference operator*() const { return m_view.At(m_at); }
    reference operator[](difference_type n) const { return m_view.At(m_at + static_cast<int>(n)); }

    PositionIterator& operator++() { return *this += 1; }
    PositionIterator& operator--() { return *this += -1; }
    PositionIterator operator++(int) {
        PositionIterator old = *this;
        *this += 1;
        return old;
    }
    PositionIterator operator--(int) {
        PositionIterator old = *this;
        *this += -1;
        return old;
    }
    PositionIterator& operator+=(difference_type n) {
        m_at += static_cast<int>(n);
        return *this;
    }
    PositionIterator& operator-=(difference_type n) { return *this += -n; }

    friend PositionIterator operator+(PositionIterator it, difference_type n) { return it += n; }
    friend PositionIterator operator+(difference_type n, PositionIterator it) { return it += n; }
    friend PositionIterator operator-(PositionIterator it, difference_type n) { return it -= n; }
    friend difference_type operator-(const PositionIterator& a, const PositionIterator& b) {
        return a.m_at - b.m_at;
    }
    friend bool operator==(const PositionIterator& a, const PositionIterator& b) { return a.m_at == b.m_at; }
    friend auto operator<=>(const PositionIterator& a, const PositionIterator& b) {
        return a.m_at <=> b.m_at;
    }

private:
    View m_view;
    int m_at = 0;
};

struct ListView {
    using value_type = TItem*;
    const TLlista* list = nullptr;
    TItem* At(int at) const { return list->GetItem(at); }
};

// Walks from one node to the next and counts, so that it comes to an end in a ring too.
class CrossListIterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = TItem*;
    using difference_type = std::ptrdiff_t;
    using reference = TItem*;
    using pointer = void;

    CrossListIterator() = default;
    CrossListIterator(const TCrossList* list, TCrossNode* node, int at)
        : m_list(list)
        , m_node(node)
        , m_at(at) {}

    TItem* operator*() const { return m_node->GetItem(); }
    // The node itself, for Remove, InsertAfter and the like.
    TCrossNode* Node() const { return m_node; }

    CrossListIterator& operator++() {
        m_node = m_node->GetNext();
        ++m_at;
        return *this;
    }
    CrossListIterator& operator--() {
        m_node = m_at == m_list->Cnt() ? m_list->GetLast() : m_node->GetPrev();
        --m_at;
        return *this;
    }
    CrossListIterator operator++(int) {
        CrossListIterator old = *this;
        ++*this;
        return old;
    }
    CrossListIterator operator--(int) {
        CrossListIterator old = *this;
        --*this;
        return old;
    }
    friend bool operator==(const CrossListIterator& a, const CrossListIterator& b) {
        return a.m_at == b.m_at;
    }

private:
    const TCrossList* m_list = nullptr;
    TCrossNode* m_node = nullptr;
    int m_at = 0;
};

} // namespace mvlib

// A key of a THash with its item. Both belong to the table.
struct HashElement {
    std::u16string_view units; // the key as the table keeps it
    TItem* item;

    // The key as wide text.
    MVLIB_API std::wstring Key() const;
};

namespace mvlib {

// Goes along the chains, bucket by bucket.
class MVLIB_API HashIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = HashElement;
    using difference_type = std::ptrdiff_t;
    using reference = HashElement;
    using pointer = void;

    HashIterator() = default;
    // The first element in bucket `bucket` or behind it.
    HashIterator(const THash* table, unsigned int bucket);

    HashElement operator*() const;
    HashIterator& operator++();
    HashIterator operator++(int) {
        HashIterator old = *this;
        ++*this;
        return old;
    }
    friend bool operator==(const HashIterator& a, const HashIterator& b) { return a.m_slot == b.m_slot; }

private:
    const THash* m_table = nullptr;
    unsigned int m_bucket = 0;
    unsigned int m_slot = ~0u; // all ones: the end
};

struct RowView {
    using value_type = TItem*;
    const TTaula* table = nullptr;
    int row = 0;
    TItem* At(int column) const { return table->GetItem(row, column); }
};

} // namespace mvlib

// The cells of one row of a table.
class TableRow {
public:
    TableRow(const TTaula& table, int row)
        : m_view{&table, row} {}
    mvlib::PositionIterator<mvlib::RowView> begin() const { return {m_view, 0}; }
    mvlib::PositionIterator<mvlib::RowView> end() const { return {m_view, m_view.table->GetNumColumnes()}; }
    int size() const { return m_view.table->GetNumColumnes(); }

private:
    mvlib::RowView m_view;
};

namespace mvlib {

struct TableView {
    using value_type = TableRow;
    const TTaula* table = nullptr;
    TableRow At(int row) const { return {*table, row}; }
};

struct TableRows {
    const TTaula* table;
    PositionIterator<TableView> begin() const { return {{table}, 0}; }
    PositionIterator<TableView> end() const { return {{table}, table->GetNumFiles()}; }
};

} // namespace mvlib

inline mvlib::PositionIterator<mvlib::ListView> begin(const TLlista& list) {
    return {{&list}, 0};
}
inline mvlib::PositionIterator<mvlib::ListView> end(const TLlista& list) {
    return {{&list}, list.Cnt()};
}

inline mvlib::CrossListIterator begin(const TCrossList& list) {
    return {&list, list.GetFirst(), 0};
}
inline mvlib::CrossListIterator end(const TCrossList& list) {
    return {&list, nullptr, list.Cnt()};
}

inline mvlib::HashIterator begin(const THash& table) {
    return {&table, 0};
}
inline mvlib::HashIterator end(const THash&) {
    return {};
}

// The rows of a table, from the first to the last.
inline mvlib::TableRows Rows(const TTaula& table) {
    return {&table};
}
