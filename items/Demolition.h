// Destroying nested containers without a stack frame per level.
//
// The loop that destroys a container's items notes which one it is about to delete. When that item is itself
// a container, the destructor of its container part finds itself noted and, instead of destroying its own
// items, hands its array over; the loop goes on with it once the delete has returned. Items are thus
// destroyed in the order in which recursion would destroy them. A container that is a member, or a local of
// some destructor, is never the noted item and destroys its items itself, before it is gone.
#pragma once

class TItem;

namespace mvlib {

// An array of items yet to be destroyed. It lies behind the slots of the array itself: destroying never has
// to allocate.
struct DoomedArray {
    DoomedArray* below;
    TItem** items;
    int left;
};

struct Demolition {
    const TItem* current; // the item being deleted by the innermost loop of this thread
    DoomedArray* handedOver;
};

extern constinit thread_local Demolition t_demolition;

// Destroys what the deleted item has handed over, and whatever is handed over in turn.
void DestroyHandedOver(Demolition& demolition);

} // namespace mvlib
