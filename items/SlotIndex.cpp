#include "items/SlotIndex.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace mvlib {

bool SlotIndex::Add(std::uint32_t hash, unsigned int slot) {
    std::size_t group = hash & m_groupMask;
    for (std::size_t step = 1;; ++step) {
        const unsigned char* tags = m_tags + group * GROUP;
        Bits open = Equal(tags, REMOVED);
        if (open == 0) {
            open = Equal(tags, UNUSED);
            if (open != 0) {
                if (m_room == 0) {
                    return false;
                }
                --m_room;
            }
        }
        if (open != 0) {
            const std::size_t at = group * GROUP + static_cast<std::size_t>(std::countr_zero(open));
            m_tags[at] = Tag(hash);
            m_places[at] = {hash, slot};
            ++m_count;
            return true;
        }
        group = (group + step) & m_groupMask;
    }
}

void SlotIndex::Remove(std::uint32_t hash, unsigned int slot) {
    const unsigned char tag = Tag(hash);
    std::size_t group = hash & m_groupMask;
    for (std::size_t step = 1;; ++step) {
        const unsigned char* tags = m_tags + group * GROUP;
        const bool last = Equal(tags, UNUSED) != 0;
        for (Bits equal = Equal(tags, tag); equal != 0; equal &= equal - 1) {
            const std::size_t at = group * GROUP + static_cast<std::size_t>(std::countr_zero(equal));
            if (m_places[at].slot == slot && m_places[at].hash == hash) {
                // Only in a group that searches go beyond does a mark have to stay.
                m_tags[at] = last ? UNUSED : REMOVED;
                m_room += last ? 1 : 0;
                --m_count;
                return;
            }
        }
        if (last) {
            return;
        }
        group = (group + step) & m_groupMask;
    }
}

bool SlotIndex::Create(std::size_t entries) {
    constexpr std::size_t kSize = sizeof(Place) + sizeof *m_tags;
    entries = std::max(entries, m_count);
    std::size_t places = GROUP;
    while (places / 8 * 7 < entries) {
        if (places > std::numeric_limits<std::size_t>::max() / 2 / kSize) {
            return false;
        }
        places *= 2;
    }
    auto* tags = static_cast<unsigned char*>(std::calloc(places, kSize));
    if (!tags) {
        return false;
    }
    const SlotIndex old = *this;
    m_tags = tags;
    m_places = reinterpret_cast<Place*>(tags + places);
    m_groupMask = places / GROUP - 1;
    m_count = 0;
    m_room = places / 8 * 7;
    for (std::size_t i = 0; old.m_count != 0 && i < (old.m_groupMask + 1) * GROUP; ++i) {
        if (old.m_tags[i] > REMOVED) {
            Add(old.m_places[i].hash, old.m_places[i].slot);
        }
    }
    std::free(old.m_tags);
    return true;
}

void SlotIndex::Drop() {
    std::free(m_tags);
    *this = {};
}

} // namespace mvlib
