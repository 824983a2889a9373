#include "items/Demolition.h"

namespace mvlib {

constinit thread_local Demolition t_demolition{};

void DestroyHandedOver(Demolition& demolition) {
    DoomedArray* top = std::exchange(demolition.handedOver, nullptr);
    while (top != nullptr) {
        TItem* item = top->left != 0 ? top->items[--top->left] : nullptr;
        // An array with nothing left is not kept while the last item's own arrays are dealt with.
        if (top->left == 0)
            std::free(std::exchange(top, top->below)->items);
        if (item == nullptr)
            continue;
        demolition.current = item;
        delete item;
        if (DoomedArray* inner = std::exchange(demolition.handedOver, nullptr)) {
            inner->below = top;
            top = inner;
        }
    }
}

} // namespace mvlib
