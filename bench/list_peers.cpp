#include "list_peers.h"

#include <algorithm>
#include <cstddef>

namespace {

template <class Container>
int Visit(const Container& list, PlainVisitor visitor, long user) {
    int result = 0;
    int i = 0;
    for (const auto& item : list) {
        result = visitor(item.get(), i++, user);
        if (result < 0)
            break;
    }
    return result;
}

} // namespace

int VisitAll(const Vector& list, PlainVisitor visitor, long user) {
    return Visit(list, visitor, user);
}

int VisitAll(const Deque& list, PlainVisitor visitor, long user) {
    return Visit(list, visitor, user);
}

void InsertionSort(std::vector<Plain*>& list, PlainComparator compare, long user) {
    std::vector<Plain*> placed;
    for (std::size_t i = list.size(); i-- > 0;) {
        std::size_t pos = 0;
        while (pos < placed.size() && compare(list[i], placed[pos], user) > 0)
            ++pos;
        placed.insert(placed.begin() + static_cast<std::ptrdiff_t>(pos), list[i]);
    }
    std::copy(placed.begin(), placed.end(), list.begin());
}
