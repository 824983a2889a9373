// A stack for walks whose depth comes from data.
#pragma once

#include "xml/blocks.h"
#include "xml/record.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mvxml {

// A stack that begins on the caller's stack and moves to the heap when it grows. Trivial items only.
template <class Item, std::size_t InPlace>
class Stack {
public:
    Stack() {}
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack() { Free(); }
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
    // Large stacks come from where documents' memory comes from.
    void Grow() {
        if (m_room > SIZE_MAX / sizeof(Item) / 4)
            throw MemoryExhausted();
        std::size_t size;
        void* memory = TakeBlock(m_room * 2 * sizeof(Item), size);
        if (!memory)
            throw MemoryExhausted();
        std::memcpy(memory, static_cast<const void*>(m_items), m_count * sizeof(Item));
        Free();
        m_items = static_cast<Item*>(memory);
        m_room = size / sizeof(Item);
        m_size = size;
    }
    void Free() {
        if (m_items != m_inPlace)
            GiveBlock(m_items, m_size);
    }

    Item m_inPlace[InPlace];
    Item* m_items = m_inPlace;
    std::size_t m_count = 0;
    std::size_t m_room = InPlace;
    std::size_t m_size = 0; // bytes, when not in place
};

} // namespace mvxml
