#include "event_state.h"
#include "internal/handles.h"
#include "internal/named_objects.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include <sys/syscall.h>
#include <unistd.h>

namespace mvplat {
namespace {

constexpr DWORD errorNotOwner = 288;
constexpr DWORD errorTooManyPosts = 298;

// Guards the state of every waitable object and the lists of waiters: a wait for several objects looks at all
// of them in one moment. Never held while a thread sleeps or runs foreign code.
std::mutex& waitLock() {
    static std::mutex* const mutex = new std::mutex;
    return *mutex;
}

class Waitable;

// The mutexes that a thread owns; a thread that ends abandons them.
struct ThreadState {
    std::vector<class MutexObject*> owned;
    ~ThreadState();
};

ThreadState& threadState() {
    thread_local ThreadState state;
    return state;
}

// One sleeping wait. Who makes an object signalled hands it over to the waiters in their order, so that a
// pulse reaches exactly those who wait, and no newcomer overtakes them.
struct Waiter {
    ThreadState* thread = nullptr;
    Waitable* const* objects = nullptr;
    DWORD count = 0;
    bool all = false;
    DWORD result = WAIT_TIMEOUT;
    bool done = false;
    std::condition_variable wake;

    bool tryTake();
};

class Waitable : public Object {
public:
    using Object::Object;
    static bool isA(Kind kind) {
        return kind == Kind::Event || kind == Kind::Mutex || kind == Kind::Semaphore;
    }

    // All under the wait lock.
    virtual bool signalled(const ThreadState& thread) const = 0;
    // Changes the state as a satisfied wait does; true when the object was abandoned.
    virtual bool take(ThreadState& thread) = 0;

    // What a test without waiting may answer without the lock.
    virtual bool surelySignalled() const { return false; }
    virtual bool surelyNotSignalled() const { return false; }

    void wakeWaiters() {
        for (std::size_t i = 0; i < m_waiters.size();) {
            Waiter* waiter = m_waiters[i];
            if (!waiter->done && waiter->tryTake()) {
                waiter->done = true;
                waiter->wake.notify_one();
            }
            ++i;
        }
    }
    void enlist(Waiter* waiter) { m_waiters.push_back(waiter); }
    void delist(Waiter* waiter) {
        m_waiters.erase(std::remove(m_waiters.begin(), m_waiters.end(), waiter), m_waiters.end());
    }

private:
    std::vector<Waiter*> m_waiters;
};

bool Waiter::tryTake() {
    if (all) {
        for (DWORD i = 0; i < count; ++i) {
            if (!objects[i]->signalled(*thread))
                return false;
        }
        result = WAIT_OBJECT_0;
        for (DWORD i = 0; i < count; ++i) {
            if (objects[i]->take(*thread))
                result = WAIT_ABANDONED_0;
        }
        return true;
    }
    for (DWORD i = 0; i < count; ++i) {
        if (objects[i]->signalled(*thread)) {
            result = (objects[i]->take(*thread) ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + i;
            return true;
        }
    }
    return false;
}

class EventObject : public Waitable {
public:
    static bool isA(Kind kind) { return kind == Kind::Event; }
    EventObject(bool manual, bool initial)
        : Waitable(Kind::Event)
        , m_manual(manual)
        , m_signalled(initial) {}

    bool signalled(const ThreadState&) const override { return m_signalled.load(std::memory_order_relaxed); }
    bool take(ThreadState&) override {
        if (!m_manual)
            m_signalled.store(false, std::memory_order_relaxed);
        return false;
    }
    bool surelySignalled() const override { return m_manual && m_signalled.load(std::memory_order_acquire); }
    bool surelyNotSignalled() const override { return !m_signalled.load(std::memory_order_acquire); }

    const std::atomic<bool>* manualState() const { return m_manual ? &m_signalled : nullptr; }

    void set(bool value) {
        const std::lock_guard<std::mutex> lock(waitLock());
        m_signalled.store(value, std::memory_order_release);
        if (value)
            wakeWaiters();
    }
    void pulse() {
        const std::lock_guard<std::mutex> lock(waitLock());
        m_signalled.store(true, std::memory_order_release);
        wakeWaiters();
        m_signalled.store(false, std::memory_order_release);
    }

private:
    const bool m_manual;
    std::atomic<bool> m_signalled;
};

class MutexObject : public Waitable {
public:
    static bool isA(Kind kind) { return kind == Kind::Mutex; }
    MutexObject()
        : Waitable(Kind::Mutex) {}
    ~MutexObject() override {
        // Closed while owned: the owner forgets it.
        const std::lock_guard<std::mutex> lock(waitLock());
        disown();
    }

    bool signalled(const ThreadState& thread) const override { return !m_owner || m_owner == &thread; }
    bool take(ThreadState& thread) override {
        if (!m_owner) {
            // Room was made by reserve(): a hand-over cannot fail.
            thread.owned.push_back(this);
            m_owner = &thread;
        }
        ++m_depth;
        return std::exchange(m_abandoned, false);
    }
    bool releaseOwned(ThreadState& thread) {
        const std::lock_guard<std::mutex> lock(waitLock());
        if (m_owner != &thread)
            return false;
        if (--m_depth == 0) {
            disown();
            wakeWaiters();
        }
        return true;
    }
    void abandon() {
        m_owner = nullptr;
        m_depth = 0;
        m_abandoned = true;
        wakeWaiters();
    }

private:
    void disown() {
        if (m_owner) {
            auto& owned = m_owner->owned;
            owned.erase(std::remove(owned.begin(), owned.end(), this), owned.end());
            m_owner = nullptr;
        }
    }

    ThreadState* m_owner = nullptr;
    unsigned m_depth = 0;
    bool m_abandoned = false;
};

ThreadState::~ThreadState() {
    const std::lock_guard<std::mutex> lock(waitLock());
    const std::vector<MutexObject*> left = std::move(owned);
    owned.clear();
    for (MutexObject* mutex : left)
        mutex->abandon();
}

class SemaphoreObject : public Waitable {
public:
    static bool isA(Kind kind) { return kind == Kind::Semaphore; }
    SemaphoreObject(LONG initial, LONG maximum)
        : Waitable(Kind::Semaphore)
        , m_count(initial)
        , m_maximum(maximum) {}

    bool signalled(const ThreadState&) const override { return m_count > 0; }
    bool take(ThreadState&) override {
        --m_count;
        return false;
    }
    bool post(LONG count, LONG* previous) {
        const std::lock_guard<std::mutex> lock(waitLock());
        if (count > m_maximum - m_count)
            return false;
        if (previous)
            *previous = m_count;
        m_count += count;
        wakeWaiters();
        return true;
    }

private:
    LONG m_count;
    const LONG m_maximum;
};

DWORD waitFor(DWORD count, Waitable* const* objects, bool all, DWORD milliseconds) {
    ThreadState& thread = threadState();
    // A hand-over happens on another thread, which must not have to allocate for this one.
    thread.owned.reserve(thread.owned.size() + count);
    Waiter waiter;
    waiter.thread = &thread;
    waiter.objects = objects;
    waiter.count = count;
    waiter.all = all;

    std::unique_lock<std::mutex> lock(waitLock());
    if (waiter.tryTake())
        return waiter.result;
    if (milliseconds == 0)
        return WAIT_TIMEOUT;
    DWORD enlisted = 0;
    try {
        for (; enlisted < count; ++enlisted)
            objects[enlisted]->enlist(&waiter);
        const auto isDone = [&waiter] { return waiter.done; };
        if (milliseconds == INFINITE)
            waiter.wake.wait(lock, isDone);
        else
            waiter.wake.wait_until(
                lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds), isDone);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        waiter.result = WAIT_FAILED;
    }
    for (DWORD i = 0; i < enlisted; ++i)
        objects[i]->delist(&waiter);
    return waiter.result;
}

DWORD waitForHandles(DWORD count, const HANDLE* handles, bool all, DWORD milliseconds) {
    // The pins keep the objects alive while the wait lasts, also when the handles are closed meanwhile.
    alignas(PinnedAs<Waitable>) unsigned char room[MAXIMUM_WAIT_OBJECTS][sizeof(PinnedAs<Waitable>)];
    Waitable* objects[MAXIMUM_WAIT_OBJECTS];
    DWORD pinned = 0;
    DWORD result = WAIT_FAILED;
    for (; pinned < count; ++pinned) {
        const auto* handle = new (room[pinned]) PinnedAs<Waitable>(handles[pinned]);
        objects[pinned] = handle->get();
        if (!objects[pinned]) {
            ++pinned;
            count = 0;
        }
        if (count == 0)
            break;
    }
    if (count != 0) {
        bool twice = false;
        if (all) {
            for (DWORD i = 1; i < count; ++i)
                twice = twice || std::find(objects, objects + i, objects[i]) != objects + i;
        }
        if (twice)
            SetLastError(ERROR_INVALID_PARAMETER);
        else
            result = guarded(DWORD{WAIT_FAILED}, [&] { return waitFor(count, objects, all, milliseconds); });
    }
    while (pinned > 0)
        std::launder(reinterpret_cast<PinnedAs<Waitable>*>(room[--pinned]))->~PinnedAs<Waitable>();
    return result;
}

} // namespace
} // namespace mvplat

using namespace mvplat;

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES /*attributes*/, BOOL manualReset, BOOL initialState, LPCWSTR name) {
    return createNamed(name, Kind::Event,
                       [&] { return new EventObject(manualReset != 0, initialState != 0); });
}

const std::atomic<bool>* MvEventState(HANDLE event) {
    const PinnedAs<EventObject> object(event);
    return object ? object->manualState() : nullptr;
}

HANDLE OpenEventW(DWORD /*access*/, BOOL /*inherit*/, LPCWSTR name) {
    return openNamed(name, Kind::Event);
}

BOOL SetEvent(HANDLE event) {
    const PinnedAs<EventObject> object(event);
    if (!object)
        return FALSE;
    object->set(true);
    return TRUE;
}

BOOL ResetEvent(HANDLE event) {
    const PinnedAs<EventObject> object(event);
    if (!object)
        return FALSE;
    object->set(false);
    return TRUE;
}

BOOL PulseEvent(HANDLE event) {
    const PinnedAs<EventObject> object(event);
    if (!object)
        return FALSE;
    object->pulse();
    return TRUE;
}

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES /*attributes*/, BOOL initialOwner, LPCWSTR name) {
    return createNamed(name, Kind::Mutex, [&] {
        Ref<MutexObject> mutex(new MutexObject);
        if (initialOwner) {
            ThreadState& thread = threadState();
            thread.owned.reserve(thread.owned.size() + 1);
            const std::lock_guard<std::mutex> lock(waitLock());
            mutex->take(thread);
        }
        return mutex.detach();
    });
}

BOOL ReleaseMutex(HANDLE mutex) {
    const PinnedAs<MutexObject> object(mutex);
    if (!object)
        return FALSE;
    if (!object->releaseOwned(threadState())) {
        SetLastError(errorNotOwner);
        return FALSE;
    }
    return TRUE;
}

HANDLE CreateSemaphoreW(LPSECURITY_ATTRIBUTES /*attributes*/, LONG initialCount, LONG maximumCount,
                        LPCWSTR name) {
    if (maximumCount <= 0 || initialCount < 0 || initialCount > maximumCount) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return createNamed(name, Kind::Semaphore,
                       [&] { return new SemaphoreObject(initialCount, maximumCount); });
}

BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous) {
    const PinnedAs<SemaphoreObject> object(semaphore);
    if (!object)
        return FALSE;
    if (count <= 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (!object->post(count, previous)) {
        SetLastError(errorTooManyPosts);
        return FALSE;
    }
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const PinnedAs<Waitable> object(handle);
    if (!object)
        return WAIT_FAILED;
    if (object->surelySignalled())
        return WAIT_OBJECT_0;
    if (milliseconds == 0 && object->surelyNotSignalled())
        return WAIT_TIMEOUT;
    Waitable* one = object.get();
    return guarded(DWORD{WAIT_FAILED}, [&] { return waitFor(1, &one, false, milliseconds); });
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) {
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || !handles) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    return waitForHandles(count, handles, waitAll != 0, milliseconds);
}

DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds,
                                DWORD /*wakeMask*/) {
    if (count >= MAXIMUM_WAIT_OBJECTS || (count != 0 && !handles)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    if (count == 0) {
        Sleep(milliseconds);
        return WAIT_TIMEOUT;
    }
    return waitForHandles(count, handles, waitAll != 0, milliseconds);
}

static_assert(sizeof(std::recursive_mutex) <= sizeof(CRITICAL_SECTION));
static_assert(alignof(std::recursive_mutex) <= alignof(CRITICAL_SECTION));

namespace {
std::recursive_mutex& mutexOf(LPCRITICAL_SECTION section) {
    return *std::launder(reinterpret_cast<std::recursive_mutex*>(section->opaque));
}
} // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section) {
    new (section->opaque) std::recursive_mutex;
}

BOOL InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION section, DWORD /*spinCount*/) {
    InitializeCriticalSection(section);
    return TRUE;
}

void DeleteCriticalSection(LPCRITICAL_SECTION section) {
    mutexOf(section).~recursive_mutex();
}

void EnterCriticalSection(LPCRITICAL_SECTION section) {
    mutexOf(section).lock();
}

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section) {
    return mutexOf(section).try_lock();
}

void LeaveCriticalSection(LPCRITICAL_SECTION section) {
    mutexOf(section).unlock();
}

DWORD GetCurrentThreadId() {
    thread_local const DWORD id = static_cast<DWORD>(syscall(SYS_gettid));
    return id;
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == INFINITE) {
        for (;;)
            pause();
    }
    if (milliseconds == 0)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

BOOL SwitchToThread() {
    return sched_yield() == 0;
}
