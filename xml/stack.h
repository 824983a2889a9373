// A stack for walks whose depth comes from data.
#pragma once

#include "xml/record.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace mvxml {

// A stack that begins on the caller's stack and moves to the heap when it grows. Trivial items only.
template <class Item, std::size_t InPlace>
class Stack {
public:
    Stack() {}
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack() {
        if (m_items != m_inPlace)
            std::free(m_items);
    }
    void Push(const Item& item) {
        if (m_count == m_room)
            Grow();
        m_items[m_count++] = item;
    }
    // A further item, yet to be filled.
    Item& Add() {
        if (m_count == m_room)
            Grow();
        return m_items[m_count++];
    }
    Item& Top() { return m_items[m_count - 1]; }
    const Item& Top() const { return m_items[m_count - 1]; }
    std::size_t Count() const { return m_count; }
    void CutTo(std::size_t count) { m_count = count; }
    Item* At(std::size_t i) { return m_items + i; }

private:
    void Grow() {
        std::size_t room = m_room * 2;
        if (room > SIZE_MAX / sizeof(Item))
            throw MemoryExhausted();
        bool inPlace = m_items == m_inPlace;
        Item* items = static_cast<Item*>(std::realloc(inPlace ? nullptr : m_items, room * sizeof(Item)));
        if (!items)
            throw MemoryExhausted();
        if (inPlace)
            std::memcpy(static_cast<void*>(items), m_inPlace, m_count * sizeof(Item));
        m_items = items;
        m_room = room;
    }

    Item m_inPlace[InPlace];
    Item* m_items = m_inPlace;
    std::size_t m_count = 0;
    std::size_t m_room = InPlace;
};

} // namespace mvxml
