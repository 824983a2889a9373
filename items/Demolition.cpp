#include "items/Demolition.h"

namespace mvlib {

constinit thread_local Demolition t_demolition{};

void DestroyHandedOver(Demolition& demolition) {
    DoomedArray* top = std::exchange(demolition.handedOver, nullptr);
    TItem* next = std::exchange(demolition.item, nullptr);
    while (next != nullptr || top != nullptr) {
        TItem* item = std::exchange(next, nullptr);
        if (item == nullptr) {
            item = top->left != 0 ? top->items[--top->left] : nullptr;
            // An array with nothing left is not kept while the last item's own arrays are dealt with.
            if (top->left == 0)
                std::free(std::exchange(top, top->below)->items);
            if (item == nullptr)
                continue;
        }
        demolition.current = item;
        delete item;
        demolition.current = nullptr;
        next = std::exchange(demolition.item, nullptr);
        if (DoomedArray* inner = std::exchange(demolition.handedOver, nullptr)) {
            inner->below = top;
            top = inner;
        }
    }
}

} // namespace mvlib
