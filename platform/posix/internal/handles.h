// Kernel objects of the layer and the table that gives them handles.
//
// An object is counted: each handle and each user inside the layer (a view, a mapping of a file) holds one
// count. A handle names a slot of the table and the slot's generation, so a closed handle is recognised even
// after the slot serves another object. While a call uses a handle the slot is pinned: closing it meanwhile,
// on another thread, takes effect when the call is done.
#pragma once

#include "../../win32.h"

#include <atomic>
#include <new>
#include <utility>

namespace mvplat {

enum class Kind { File, Mapping, Event, Mutex, Semaphore, Find, Key };

class Object {
public:
    explicit Object(Kind kind)
        : m_kind(kind) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    Kind kind() const { return m_kind; }
    void addReference() { m_references.fetch_add(1, std::memory_order_relaxed); }
    void release() {
        if (m_named)
            releaseNamed();
        else if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    // Called when a handle is closed, before its count goes: what must report a failure to the closer. `last`
    // tells that no other count is left. Answers an error, 0 when all went well.
    virtual DWORD closing(bool last) {
        (void)last;
        return 0;
    }
    bool onlyReference() const { return m_references.load(std::memory_order_acquire) == 1; }
    // Before the object is shared: it stands in the table of names, which does not count it.
    void markNamed() { m_named = true; }

private:
    void releaseNamed();

    const Kind m_kind;
    bool m_named = false;
    std::atomic<unsigned> m_references{1};
};

// A counted pointer.
template <class T>
class Ref {
public:
    Ref() = default;
    // Takes over the count that `object` comes with.
    explicit Ref(T* object)
        : m_object(object) {}
    Ref(const Ref& other)
        : m_object(other.m_object) {
        if (m_object)
            m_object->addReference();
    }
    Ref(Ref&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref() {
        if (m_object)
            m_object->release();
    }
    static Ref share(T* object) {
        if (object)
            object->addReference();
        return Ref(object);
    }
    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    T* detach() { return std::exchange(m_object, nullptr); }

private:
    T* m_object = nullptr;
};

struct HandleSlot;

// The object of a handle, pinned while this lives; null when the handle is none.
class Pinned {
public:
    explicit Pinned(HANDLE handle);
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;
    ~Pinned();
    Object* get() const { return m_object; }

private:
    HandleSlot* m_slot = nullptr;
    Object* m_object = nullptr;
};

// The object of a handle if it is of the wanted kind; otherwise null, with last error 6.
template <class T>
class PinnedAs {
public:
    explicit PinnedAs(HANDLE handle)
        : m_pinned(handle) {
        Object* object = m_pinned.get();
        if (object && T::isA(object->kind()))
            m_object = static_cast<T*>(object);
        else
            SetLastError(ERROR_INVALID_HANDLE);
    }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    T* get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    Pinned m_pinned;
    T* m_object = nullptr;
};

// A new handle for the object, whose count goes over to it; null with last error 8 when there is no room.
HANDLE openHandle(Object* object);

// Runs `body`, which may run out of memory; `failure` with last error 8 then.
template <class Result, class Body>
Result guarded(Result failure, Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return failure;
    }
}

} // namespace mvplat
