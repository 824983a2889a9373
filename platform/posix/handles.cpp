#include "internal/handles.h"

#include <deque>
#include <memory>
#include <mutex>

namespace mvplat {

// The state word holds the generation in its high half, then the number of pins and, lowest, whether the
// handle is open. One compare-and-swap on it both checks a handle and pins it.
struct HandleSlot {
    std::atomic<std::uint64_t> state{0};
    Object* object = nullptr;
};

namespace {

constexpr std::uint64_t stateOpen = 1;
constexpr std::uint64_t statePin = 2;
constexpr std::uint64_t stateLowMask = 0xffffffff;
constexpr unsigned chunkSize = 1024;
constexpr unsigned maximumChunks = 1024;

class HandleTable {
public:
    // Handles are never destroyed at exit: other static objects may still close theirs.
    static HandleTable& instance() {
        static HandleTable* const table = new HandleTable;
        return *table;
    }

    HandleSlot* slot(HANDLE handle, std::uint32_t& generation) {
        const std::uint64_t value = reinterpret_cast<std::uintptr_t>(handle);
        const std::uint64_t low = value & stateLowMask;
        if (low == 0 || low % 4 != 0)
            return nullptr;
        const unsigned index = static_cast<unsigned>(low / 4 - 1);
        generation = static_cast<std::uint32_t>(value >> 32);
        if (index / chunkSize >= maximumChunks)
            return nullptr;
        HandleSlot* chunk = m_chunks[index / chunkSize].load(std::memory_order_acquire);
        return chunk ? chunk + index % chunkSize : nullptr;
    }

    HANDLE open(Object* object) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        // A slot is used again only when many others are free, and the longest unused one first.
        if (m_free.size() < chunkSize / 4 && m_count < chunkSize * maximumChunks)
            grow();
        if (m_free.empty())
            throw std::bad_alloc();
        const unsigned index = m_free.front();
        m_free.pop_front();
        HandleSlot& slot = m_chunks[index / chunkSize].load(std::memory_order_relaxed)[index % chunkSize];
        slot.object = object;
        std::uint32_t generation =
            static_cast<std::uint32_t>(slot.state.load(std::memory_order_relaxed) >> 32) + 1;
        generation &= 0x3fffffff; // keeps handles positive and apart from INVALID_HANDLE_VALUE
        slot.state.store(std::uint64_t(generation) << 32 | stateOpen, std::memory_order_release);
        return reinterpret_cast<HANDLE>(
            std::uintptr_t(std::uint64_t(generation) << 32 | (std::uint64_t(index) + 1) * 4));
    }

    void recycle(HandleSlot* slot) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        slot->object = nullptr;
        for (unsigned chunk = 0; chunk < m_count / chunkSize; ++chunk) {
            HandleSlot* first = m_chunks[chunk].load(std::memory_order_relaxed);
            if (slot >= first && slot < first + chunkSize) {
                try {
                    m_free.push_back(chunk * chunkSize + static_cast<unsigned>(slot - first));
                } catch (const std::bad_alloc&) {
                    // The slot stays unused for good; the handle is closed all the same.
                }
                return;
            }
        }
    }

private:
    void grow() {
        std::unique_ptr<HandleSlot[]> chunk(new HandleSlot[chunkSize]);
        for (unsigned i = 0; i < chunkSize; ++i)
            m_free.push_back(m_count + i);
        m_chunks[m_count / chunkSize].store(chunk.release(), std::memory_order_release);
        m_count += chunkSize;
    }

    std::mutex m_mutex;
    std::deque<unsigned> m_free;
    unsigned m_count = 0;
    std::atomic<HandleSlot*> m_chunks[maximumChunks] = {};
};

// The last user of a closed handle gives the slot back and drops the object.
void finish(HandleSlot* slot) {
    Object* object = slot->object;
    HandleTable::instance().recycle(slot);
    object->release();
}

void unpin(HandleSlot* slot) {
    const std::uint64_t before = slot->state.fetch_sub(statePin, std::memory_order_acq_rel);
    if (((before - statePin) & stateLowMask) == 0)
        finish(slot);
}

HandleSlot* pin(HANDLE handle) {
    std::uint32_t generation;
    HandleSlot* slot = HandleTable::instance().slot(handle, generation);
    if (!slot)
        return nullptr;
    std::uint64_t state = slot->state.load(std::memory_order_relaxed);
    do {
        if (state >> 32 != generation || !(state & stateOpen))
            return nullptr;
    } while (!slot->state.compare_exchange_weak(state, state + statePin, std::memory_order_acq_rel,
                                                std::memory_order_relaxed));
    return slot;
}

} // namespace

Pinned::Pinned(HANDLE handle)
    : m_slot(pin(handle)) {
    if (m_slot)
        m_object = m_slot->object;
}

Pinned::~Pinned() {
    if (m_slot)
        unpin(m_slot);
}

HANDLE openHandle(Object* object) {
    try {
        return HandleTable::instance().open(object);
    } catch (const std::bad_alloc&) {
        object->release();
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

} // namespace mvplat

using namespace mvplat;

BOOL CloseHandle(HANDLE handle) {
    HandleSlot* slot = pin(handle);
    if (!slot) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    // Of two threads that close one handle a single one succeeds: the one that clears the bit.
    const std::uint64_t before = slot->state.fetch_and(~stateOpen, std::memory_order_acq_rel);
    if (!(before & stateOpen)) {
        unpin(slot);
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    // Nobody else uses it when this is the one pin, since no further ones can come.
    const bool alone = (before & stateLowMask) == (stateOpen | statePin);
    const DWORD error = slot->object->closing(alone && slot->object->onlyReference());
    unpin(slot);
    if (error != 0) {
        SetLastError(error);
        return FALSE;
    }
    return TRUE;
}

BOOL DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess, LPHANDLE target,
                     DWORD /*access*/, BOOL /*inherit*/, DWORD options) {
    if (sourceProcess != GetCurrentProcess() || targetProcess != GetCurrentProcess()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    HANDLE copy = nullptr;
    {
        const Pinned pinned(source);
        if (!pinned.get()) {
            SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
        }
        pinned.get()->addReference();
        copy = openHandle(pinned.get());
        if (!copy)
            return FALSE;
    }
    if (options & DUPLICATE_CLOSE_SOURCE)
        CloseHandle(source);
    if (target)
        *target = copy;
    else
        CloseHandle(copy);
    return TRUE;
}

HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(LONG_PTR(-1));
}
