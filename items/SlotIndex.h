// An index from 32-bit hashes to the slots of a table, by open addressing.
//
// Places stand in groups of 16. Every place has a tag of one byte, made of its hash, and a group's tags are
// looked at all at once: a search that finds nothing touches little else than tags, and one that finds
// something little else than one place. The hash itself stands beside the slot, so that growing never looks
// into the table. What is searched for ends in the first group that has an unused place.
//
// The owner keeps it in memory of his own and calls Drop at its end; all zeros are an index that is not
// there.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mvlib {

class SlotIndex {
public:
    static constexpr unsigned int NONE = ~0u;

    bool Exists() const { return m_tags != nullptr; }

    // The slot under this hash of which `isSame(slot)` is true; NONE when there is none. The index exists.
    template <class IsSame>
    [[gnu::always_inline]] unsigned int Find(std::uint32_t hash, IsSame isSame) const;
    // Adds a slot that is not there. False, and nothing is added, when there is no room: see Create. The
    // index exists.
    bool Add(std::uint32_t hash, unsigned int slot);
    // Takes the slot out that was added with this hash; nothing happens when it is not there. The index
    // exists.
    void Remove(std::uint32_t hash, unsigned int slot);
    // Makes room for so many entries at least, or for those that are there when they are more; those stay.
    // False when memory is short; then the index is as it was.
    bool Create(std::size_t entries);
    void Drop();

private:
    struct Place {
        std::uint32_t hash;
        std::uint32_t slot;
    };
    using Bits = unsigned int; // one per place of a group

    static constexpr std::size_t GROUP = 16;
    static constexpr unsigned char UNUSED = 0;  // no search goes beyond its group
    static constexpr unsigned char REMOVED = 1; // searches may have to go on

    // The group of a hash is told by its low bits, the tag by its high ones.
    static unsigned char Tag(std::uint32_t hash) {
        const std::uint32_t tag = hash >> 24;
        return static_cast<unsigned char>(tag > REMOVED ? tag : tag + REMOVED + 1);
    }
    static Bits Equal(const unsigned char* tags, unsigned char tag);

    unsigned char* m_tags; // the places stand behind them
    Place* m_places;
    std::size_t m_groupMask; // groups - 1
    std::size_t m_count;
    std::size_t m_room; // unused places that may still be taken
};

#if defined(__SSE2__)
inline SlotIndex::Bits SlotIndex::Equal(const unsigned char* tags, unsigned char tag) {
    const __m128i group = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tags));
    return static_cast<Bits>(_mm_movemask_epi8(_mm_cmpeq_epi8(group, _mm_set1_epi8(static_cast<char>(tag)))));
}
#else
inline SlotIndex::Bits SlotIndex::Equal(const unsigned char* tags, unsigned char tag) {
    Bits equal = 0;
    for (std::size_t i = 0; i < GROUP; ++i) {
        equal |= Bits{tags[i] == tag} << i;
    }
    return equal;
}
#endif

template <class IsSame>
inline unsigned int SlotIndex::Find(std::uint32_t hash, IsSame isSame) const {
    const unsigned char tag = Tag(hash);
    std::size_t group = hash & m_groupMask;
    for (std::size_t step = 1;; ++step) {
        const unsigned char* tags = m_tags + group * GROUP;
        for (Bits equal = Equal(tags, tag); equal != 0; equal &= equal - 1) {
            const Place& place = m_places[group * GROUP + static_cast<std::size_t>(std::countr_zero(equal))];
            if (place.hash == hash && isSame(place.slot)) {
                return place.slot;
            }
        }
        if (Equal(tags, UNUSED) != 0) [[likely]] {
            return NONE;
        }
        group = (group + step) & m_groupMask;
    }
}

} // namespace mvlib
