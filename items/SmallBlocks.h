// Pools of small memory blocks, one per size class, behind a cache in every thread.
//
// A block is carved from a chunk once and then moves between the user, the lists of the thread that frees it,
// and the pool that the threads share. Lists move between a thread and the shared pool whole, a batch at a
// time, so that the lock is taken once for dozens of blocks. A thread's lists go to the shared pool when the
// thread ends. Chunks are never given back to the system.
#pragma once

#include <cstddef>

namespace mvlib::blocks {

// A block that nobody uses. `nextBatch` counts only in the first block of a batch in the shared pool.
struct FreeBlock {
    FreeBlock* next;
    FreeBlock* nextBatch;
};

constexpr std::size_t GRAIN = sizeof(FreeBlock);
constexpr std::size_t CLASSES = 8;
constexpr std::size_t LARGEST = CLASSES * GRAIN;

// What one thread keeps of one size class: a list in use, a full list in reserve, and fresh memory.
struct ThreadList {
    FreeBlock* head;
    int count;
    int limit; // 0 in the cache of threads that are not known
    FreeBlock* reserve;
    char* fresh;
    char* freshEnd;
};

struct ThreadCache {
    ThreadList lists[CLASSES];
};

// Never null: a thread that is not known yet has a cache with nothing in it and no room. Behind a pointer,
// because what a thread keeps must outlive its thread-local variables: their memory is not there any more on
// Windows when the end of the thread is told.
extern constinit thread_local ThreadCache* t_cache;

void* AllocateSlowly(std::size_t index) noexcept;
void FreeSlowly(void* block, std::size_t index) noexcept;
// Gives a block back whose size is not known any more. False when it is none of the pools'.
bool FreeOfUnknownSize(void* block) noexcept;

// `bytes` is 1 to LARGEST in both. Null when there is no memory.
inline void* Allocate(std::size_t bytes) noexcept {
    const std::size_t index = (bytes - 1) / GRAIN;
    ThreadList& list = t_cache->lists[index];
    if (FreeBlock* block = list.head) {
        list.head = block->next;
        --list.count;
        return block;
    }
    if (list.fresh != list.freshEnd) {
        char* block = list.fresh;
        list.fresh += (index + 1) * GRAIN;
        return block;
    }
    return AllocateSlowly(index);
}

inline void Free(void* block, std::size_t bytes) noexcept {
    const std::size_t index = (bytes - 1) / GRAIN;
    ThreadList& list = t_cache->lists[index];
    if (list.count >= list.limit) {
        FreeSlowly(block, index);
        return;
    }
    auto* freed = static_cast<FreeBlock*>(block);
    freed->next = list.head;
    list.head = freed;
    ++list.count;
}

} // namespace mvlib::blocks
