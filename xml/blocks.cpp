#include "xml/blocks.h"

#include <atomic>
#include <cstdlib>

namespace mvxml {

namespace {

// Address checking sees the use of what is freed, not of what is kept.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MVXML_KEEPS_NOTHING
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define MVXML_KEEPS_NOTHING
#endif
#if defined(MVXML_KEEPS_NOTHING)
constexpr std::size_t Limit = 0;
#else
constexpr std::size_t Limit = std::size_t{sizeof(void*) > 4 ? 64u : 16u} << 20;
#endif

// The blocks that are kept. Whoever finds it busy with another thread does without.
class Store {
public:
    constexpr Store() = default;
    ~Store() {
        // Documents that end later, with other static objects, find it closed.
        if (!Enter())
            return;
        m_closed = true;
        while (m_count)
            std::free(m_blocks[--m_count].start);
        Leave();
    }

    void* Take(std::size_t wanted, std::size_t& size, bool largest) {
        if (!Enter())
            return nullptr;
        int best = -1;
        for (int i = 0; i < m_count; ++i) {
            std::size_t found = m_blocks[i].size;
            if (found < wanted || (!largest && found / 4 > wanted))
                continue;
            if (best < 0 || (found < m_blocks[best].size) != largest)
                best = i;
        }
        void* block = nullptr;
        if (best >= 0) {
            block = m_blocks[best].start;
            size = m_blocks[best].size;
            Remove(best);
        }
        Leave();
        return block;
    }

    bool Give(void* block, std::size_t size) {
        if (!Enter())
            return false;
        bool kept = !m_closed && size <= Limit;
        if (kept) {
            // What has lain here longest goes first.
            while (m_count == Room || m_total > Limit - size) {
                void* oldest = m_blocks[0].start;
                Remove(0);
                std::free(oldest);
            }
            m_blocks[m_count++] = {block, size};
            m_total += size;
        }
        Leave();
        return kept;
    }

private:
    bool Enter() { return !m_busy.test_and_set(std::memory_order_acquire); }
    void Leave() { m_busy.clear(std::memory_order_release); }

    void Remove(int index) {
        m_total -= m_blocks[index].size;
        --m_count;
        for (int i = index; i < m_count; ++i)
            m_blocks[i] = m_blocks[i + 1];
    }

    static constexpr int Room = 64;
    struct Block {
        void* start;
        std::size_t size;
    };
    std::atomic_flag m_busy;
    bool m_closed = false;
    int m_count = 0;
    std::size_t m_total = 0;
    Block m_blocks[Room] = {}; // in the order in which they came
};

constinit Store Kept;

} // namespace

void* TakeBlock(std::size_t wanted, std::size_t& size) {
    if (wanted >= SmallestKeptBlock) {
        if (void* block = Kept.Take(wanted, size, false))
            return block;
    }
    size = wanted;
    return std::malloc(wanted);
}

void* TakeLargestKeptBlock(std::size_t wanted, std::size_t& size) {
    return wanted >= SmallestKeptBlock ? Kept.Take(wanted, size, true) : nullptr;
}

void GiveBlock(void* block, std::size_t size) {
    if (size < SmallestKeptBlock || !Kept.Give(block, size))
        std::free(block);
}

} // namespace mvxml
