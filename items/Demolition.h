// Destroying nested containers without a stack frame per level.
//
// The loop that destroys a container's items notes which one it is about to delete. When that item is itself
// a container, the destructor of its container part finds itself noted and, instead of destroying its own
// items, hands its array over; the loop goes on with it once the delete has returned. Items are thus
// destroyed in the order in which recursion would destroy them. A container that is a member, or a local of
// some destructor, is never the noted item and destroys its items itself, before it is gone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "TItem.h"

namespace mvlib {

// An array of items yet to be destroyed. It lies behind the slots of the array itself: destroying never has
// to allocate.
struct DoomedArray {
    DoomedArray* below;
    TItem** items;
    std::size_t left;
};

struct Demolition {
    const TItem* current;    // the item being deleted by the innermost loop of this thread
    TItem* item;             // handed over by that item; goes before what is in the array
    DoomedArray* handedOver; // likewise
    int recursion;           // containers that are destroying their items without such a loop
};

extern constinit thread_local Demolition t_demolition;

constexpr std::size_t MOST_SLOTS = (PTRDIFF_MAX - sizeof(DoomedArray)) / sizeof(TItem*);

// An array of item pointers with the room behind it: at most MOST_SLOTS, or null. Free it with std::free.
// Growing keeps what the first slots hold.
inline TItem** ResizeSlots(TItem** slots, std::size_t count) {
    return static_cast<TItem**>(std::realloc(slots, count * sizeof(TItem*) + sizeof(DoomedArray)));
}
inline TItem** NewSlots(std::size_t count) {
    return static_cast<TItem**>(std::calloc(1, count * sizeof(TItem*) + sizeof(DoomedArray)));
}

// For the destructor of `container`: true when the array of `slots` slots, of which the first `count` are to
// be destroyed, is now the business of the loop that deletes the container.
inline bool HandOver(const TItem* container, TItem** items, std::size_t slots, std::size_t count) {
    Demolition& demolition = t_demolition;
    if (demolition.current != container)
        return false;
    auto* doomed = reinterpret_cast<DoomedArray*>(items + slots);
    *doomed = {nullptr, items, count};
    demolition.current = nullptr;
    demolition.handedOver = doomed;
    return true;
}

// For the destructor of `container`: true when the item is now the business of the loop that deletes the
// container. It goes before the items of an array that the same destructor hands over behind it.
inline bool HandOverItem(const TItem* container, TItem* item) {
    Demolition& demolition = t_demolition;
    if (demolition.current != container)
        return false;
    demolition.item = item;
    return true;
}

// Whether `container` is being deleted by such a loop.
inline bool IsNoted(const TItem* container) {
    return t_demolition.current == container;
}

// Destroys what a deleted item has handed over, and whatever is handed over in turn.
void DestroyHandedOver(Demolition& demolition);

// A loop that destroys items, one at a time. Loops nest: the destructor of an item may have one of its own.
class DemolitionLoop {
public:
    DemolitionLoop()
        : m_demolition(t_demolition)
        , m_outer(std::exchange(m_demolition, Demolition{})) {}
    DemolitionLoop(const DemolitionLoop&) = delete;
    DemolitionLoop& operator=(const DemolitionLoop&) = delete;
    ~DemolitionLoop() { m_demolition = m_outer; }

    void Destroy(TItem* item) {
        if (item == nullptr)
            return;
        m_demolition.current = item;
        delete item;
        m_demolition.current = nullptr; // its address may be another item's by now
        if (m_demolition.handedOver != nullptr || m_demolition.item != nullptr)
            DestroyHandedOver(m_demolition);
    }

private:
    Demolition& m_demolition;
    const Demolition m_outer;
};

// For containers with cheaper ways than a loop: as long as few of them lie in each other, their destructors
// may just recurse.
class Recursion {
public:
    Recursion()
        : m_demolition(t_demolition) {
        ++m_demolition.recursion;
    }
    Recursion(const Recursion&) = delete;
    Recursion& operator=(const Recursion&) = delete;
    ~Recursion() { --m_demolition.recursion; }

    bool IsShallow() const { return m_demolition.recursion < 64; }

private:
    Demolition& m_demolition;
};

} // namespace mvlib
