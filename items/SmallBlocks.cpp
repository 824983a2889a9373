#include "items/SmallBlocks.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>

#include "thread_end.h"

namespace mvlib::blocks {

namespace {

constinit ThreadCache g_noCache{}; // stays as it is
constinit ThreadCache g_firstCache{};

} // namespace

constinit thread_local ThreadCache* t_cache = &g_noCache;

namespace {

constexpr std::size_t FIRST_CHUNK = 4096;
constexpr std::size_t LARGEST_CHUNK = 131072;

struct Chunk {
    Chunk* next;
    char* end;
};
constexpr std::size_t CHUNK_HEADER = (sizeof(Chunk) + GRAIN - 1) / GRAIN * GRAIN;

// Held for a few instructions, or for one allocation of a chunk. It needs neither set-up nor end: blocks may
// still be freed while the process runs its last destructors.
class SpinLock {
public:
    void lock() {
        while (m_held.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    void unlock() { m_held.clear(std::memory_order_release); }

private:
    std::atomic_flag m_held;
};

// What the threads share of one size class.
struct SharedPool {
    SpinLock lock;
    FreeBlock* batches; // to be taken
    FreeBlock* given;   // to be looked at before they are
    std::size_t givenCount;
    Chunk* chunks;
    char* fresh;
    char* freshEnd;
    std::size_t nextChunk;
};

static_assert(std::is_trivially_destructible_v<SharedPool>);
constinit SharedPool g_pools[CLASSES]{};

constexpr int BatchLimit(std::size_t index) {
    return static_cast<int>(std::max<std::size_t>(2048 / ((index + 1) * GRAIN), 16));
}

void GiveBatch(SharedPool& pool, FreeBlock* batch) {
    if (batch == nullptr)
        return;
    const std::lock_guard guard(pool.lock);
    batch->nextBatch = pool.given;
    pool.given = batch;
    ++pool.givenCount;
}

// ---- Order

// Blocks that were freed in no order would be handed out in no order for ever after, and whoever walks what
// was built from them waits for memory at every step. So blocks go back to the order of their addresses, a
// hundred thousand at a time, before they are used again.
constexpr std::size_t LEAST_TO_SORT = 16; // batches
constexpr std::size_t MOST_TO_SORT = 4096;

std::uintptr_t PlaceOf(const FreeBlock* block) {
    return reinterpret_cast<std::uintptr_t>(block) / GRAIN;
}

// Whether nearly every block lies beside the one before it, by a look at some batches.
bool IsInOrder(const FreeBlock* batch, std::size_t bytes) {
    int near = 0;
    int far = 0;
    for (int i = 0; i < 8 && batch != nullptr; ++i, batch = batch->nextBatch) {
        for (const FreeBlock* block = batch; block->next != nullptr; block = block->next) {
            const auto distance =
                reinterpret_cast<const char*>(block->next) - reinterpret_cast<const char*>(block);
            const auto reach = static_cast<std::ptrdiff_t>(4 * bytes);
            ++(distance <= reach && distance >= -reach ? near : far);
        }
    }
    return near >= 4 * far;
}

// A list that is added to at its end.
struct Queue {
    FreeBlock* first;
    FreeBlock** end;
};

// The blocks in the order of their addresses, whose places run from `least` to `most`: by 11 bits at a time,
// from queue to queue, which takes no memory.
FreeBlock* SortedByPlace(FreeBlock* list, std::uintptr_t least, std::uintptr_t most) {
    constexpr unsigned BITS = 11;
    for (unsigned shift = 0; shift < 8 * sizeof most && (most - least) >> shift != 0; shift += BITS) {
        Queue queues[std::size_t{1} << BITS];
        for (Queue& queue : queues)
            queue.end = &queue.first;
        while (list != nullptr) {
            FreeBlock* const block = list;
            list = block->next;
            Queue& queue = queues[((PlaceOf(block) - least) >> shift) & ((1U << BITS) - 1)];
            *queue.end = block;
            queue.end = &block->next;
        }
        FreeBlock** end = &list;
        for (Queue& queue : queues) {
            if (queue.end == &queue.first)
                continue;
            *end = queue.first;
            end = queue.end;
        }
        *end = nullptr;
    }
    return list;
}

// The same blocks in batches by their addresses.
FreeBlock* Sorted(FreeBlock* batches, std::size_t index) {
    FreeBlock* list = nullptr;
    FreeBlock** end = &list;
    std::uintptr_t least = UINTPTR_MAX;
    std::uintptr_t most = 0;
    for (FreeBlock* batch = batches; batch != nullptr;) {
        FreeBlock* const next = batch->nextBatch;
        *end = batch;
        for (; *end != nullptr; end = &(*end)->next) {
            least = std::min(least, PlaceOf(*end));
            most = std::max(most, PlaceOf(*end));
        }
        batch = next;
    }
    FreeBlock* block = SortedByPlace(list, least, most);
    FreeBlock* first = nullptr;
    FreeBlock** link = &first;
    while (block != nullptr) {
        *link = block;
        link = &block->nextBatch;
        for (int i = 1; i < BatchLimit(index) && block->next != nullptr; ++i)
            block = block->next;
        block = std::exchange(block->next, nullptr);
    }
    *link = nullptr;
    return first;
}

// Lets the batches that were given be taken, in order where that is worth while. The lock is held, and
// released while blocks are sorted; other threads do with what is left meanwhile.
void TakeGivenLocked(SharedPool& pool, std::size_t index) {
    FreeBlock* const given = pool.given;
    if (IsInOrder(given, (index + 1) * GRAIN)) {
        pool.batches = std::exchange(pool.given, nullptr);
        pool.givenCount = 0;
        return;
    }
    FreeBlock* last = given;
    std::size_t taken = 1;
    for (; taken < MOST_TO_SORT && last->nextBatch != nullptr; ++taken)
        last = last->nextBatch;
    pool.given = std::exchange(last->nextBatch, nullptr);
    pool.givenCount -= taken;
    pool.lock.unlock();
    FreeBlock* sorted = Sorted(given, index);
    FreeBlock* end = sorted;
    while (end->nextBatch != nullptr)
        end = end->nextBatch;
    pool.lock.lock();
    end->nextBatch = pool.batches;
    pool.batches = sorted;
}

// A batch, or null when there is none. The lock is held.
FreeBlock* TakeBatchLocked(SharedPool& pool, std::size_t index) {
    // A few that have just been freed are near, whatever their order.
    if (pool.given != nullptr && pool.givenCount < LEAST_TO_SORT) {
        --pool.givenCount;
        return std::exchange(pool.given, pool.given->nextBatch);
    }
    if (pool.batches == nullptr && pool.given != nullptr)
        TakeGivenLocked(pool, index);
    FreeBlock* const batch = pool.batches;
    if (batch != nullptr)
        pool.batches = batch->nextBatch;
    return batch;
}

// ---- Fresh memory

// Fresh memory for a batch of blocks, or for fewer when the chunk ends. False without memory. The lock is
// held.
bool CarveLocked(SharedPool& pool, std::size_t index, char*& begin, char*& end) {
    const std::size_t bytes = (index + 1) * GRAIN;
    if (pool.fresh == pool.freshEnd) {
        const std::size_t size = std::max(pool.nextChunk, FIRST_CHUNK);
        auto* chunk = static_cast<Chunk*>(std::malloc(size));
        if (chunk == nullptr)
            return false;
        pool.nextChunk = std::min(2 * size, LARGEST_CHUNK);
        pool.fresh = reinterpret_cast<char*>(chunk) + CHUNK_HEADER;
        pool.freshEnd = pool.fresh + (size - CHUNK_HEADER) / bytes * bytes;
        chunk->next = pool.chunks;
        chunk->end = pool.freshEnd;
        pool.chunks = chunk;
    }
    const std::size_t wanted = static_cast<std::size_t>(BatchLimit(index)) * bytes;
    begin = pool.fresh;
    end = begin + std::min(wanted, static_cast<std::size_t>(pool.freshEnd - begin));
    pool.fresh = end;
    return true;
}

// Whether the thread's blocks have been given back: destructors that run later use the shared pools.
constinit thread_local bool t_ended = false;

// Gives the thread's blocks to the shared pools when the thread ends. Reaches them by the argument alone.
void _GLIBCXX_CDTOR_CALLABI EndThread(void* memory) {
    auto* cache = static_cast<ThreadCache*>(memory);
    t_cache = &g_noCache;
    t_ended = true;
    for (std::size_t index = 0; index < CLASSES; ++index) {
        ThreadList& list = cache->lists[index];
        FreeBlock* fresh = nullptr;
        for (; list.fresh != list.freshEnd; list.fresh += (index + 1) * GRAIN) {
            auto* block = reinterpret_cast<FreeBlock*>(list.fresh);
            block->next = fresh;
            fresh = block;
        }
        GiveBatch(g_pools[index], fresh);
        GiveBatch(g_pools[index], list.head);
        GiveBatch(g_pools[index], list.reserve);
    }
    if (cache != &g_firstCache)
        std::free(cache);
}

// The thread's own cache; null once it has been given back, or without memory for it.
ThreadCache* OwnCache() {
    if (t_cache != &g_noCache)
        return t_cache;
    if (t_ended)
        return nullptr;
    // The first thread's cache takes no memory: as a rule it is the only one.
    static constinit std::atomic_flag firstTaken;
    const bool first = !firstTaken.test_and_set();
    auto* cache = first ? &g_firstCache : static_cast<ThreadCache*>(std::calloc(1, sizeof(ThreadCache)));
    if (cache == nullptr)
        return nullptr;
    for (std::size_t index = 0; index < CLASSES; ++index)
        cache->lists[index].limit = BatchLimit(index);
    if (!MvAtThreadEnd(&EndThread, cache)) {
        if (!first)
            std::free(cache);
        return nullptr;
    }
    return t_cache = cache;
}

void* AllocateShared(std::size_t index) {
    SharedPool& pool = g_pools[index];
    const std::lock_guard guard(pool.lock);
    if (FreeBlock* block = TakeBatchLocked(pool, index)) {
        if (FreeBlock* rest = block->next) {
            rest->nextBatch = pool.batches;
            pool.batches = rest;
        }
        return block;
    }
    char* begin;
    char* end;
    if (!CarveLocked(pool, index, begin, end))
        return nullptr;
    pool.fresh = begin + (index + 1) * GRAIN;
    return begin;
}

} // namespace

void* AllocateSlowly(std::size_t index) noexcept {
    ThreadCache* cache = OwnCache();
    if (cache == nullptr)
        return AllocateShared(index);
    ThreadList& list = cache->lists[index];
    SharedPool& pool = g_pools[index];
    FreeBlock* batch = list.reserve;
    list.reserve = nullptr;
    if (batch == nullptr) {
        const std::lock_guard guard(pool.lock);
        batch = TakeBatchLocked(pool, index);
        if (batch == nullptr) {
            char* begin;
            char* end;
            if (!CarveLocked(pool, index, begin, end))
                return nullptr;
            list.fresh = begin + (index + 1) * GRAIN;
            list.freshEnd = end;
            list.count = 0;
            return begin;
        }
    }
    // A batch may be shorter than the limit: then the thread parts with its next one a little early.
    list.head = batch->next;
    list.count = list.limit - 1;
    return batch;
}

void FreeSlowly(void* block, std::size_t index) noexcept {
    auto* freed = static_cast<FreeBlock*>(block);
    freed->next = nullptr;
    ThreadCache* cache = OwnCache();
    if (cache == nullptr) {
        GiveBatch(g_pools[index], freed);
        return;
    }
    ThreadList& list = cache->lists[index];
    if (list.count >= list.limit) {
        GiveBatch(g_pools[index], list.reserve);
        list.reserve = list.head;
        list.head = nullptr;
        list.count = 0;
    }
    freed->next = list.head;
    list.head = freed;
    ++list.count;
}

bool FreeOfUnknownSize(void* block) noexcept {
    for (std::size_t index = 0; index < CLASSES; ++index) {
        bool found = false;
        {
            const std::lock_guard guard(g_pools[index].lock);
            for (const Chunk* chunk = g_pools[index].chunks; chunk != nullptr && !found; chunk = chunk->next)
                found = block >= static_cast<const void*>(chunk) && block < static_cast<void*>(chunk->end);
        }
        if (found) {
            Free(block, (index + 1) * GRAIN);
            return true;
        }
    }
    return false;
}

} // namespace mvlib::blocks
