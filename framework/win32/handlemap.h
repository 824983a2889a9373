// The objects that stand for handles, per thread.
#pragma once

#include "thread_end.h"

#include <afx.h>

#include <unordered_map>

namespace mvafx {

// HANDLE objects of class TYPE, whose handle is `pObject->*member`. An object of the program is entered when
// it is attached; a temporary one is made for a handle without one. Destroying a temporary object must not
// touch its handle, so that is taken out before.
template <class TYPE, class HANDLE_TYPE, HANDLE_TYPE TYPE::*MEMBER>
class HandleMap {
public:
    static HandleMap& ofThread() {
        const DWORD error = GetLastError(); // the runtime's first thread-local variable may change it
        HandleMap* map = MvPerThread<HandleMap>::object();
        SetLastError(error);
        if (!map)
            AfxThrowMemoryException();
        return *map;
    }
    HandleMap() = default;
    HandleMap(const HandleMap&) = delete;
    HandleMap& operator=(const HandleMap&) = delete;
    ~HandleMap() { deleteTemporary(); }

    TYPE* permanent(HANDLE_TYPE handle) const {
        const auto found = m_permanent.find(handle);
        return found != m_permanent.end() ? found->second : nullptr;
    }
    template <class MADE = TYPE>
    TYPE* fromHandle(HANDLE_TYPE handle) {
        if (!handle)
            return nullptr;
        if (TYPE* known = permanent(handle))
            return known;
        TYPE*& temporary = m_temporary[handle];
        if (!temporary) {
            temporary = new MADE;
            temporary->*MEMBER = handle;
        }
        return temporary;
    }
    void attach(HANDLE_TYPE handle, TYPE* object) { m_permanent[handle] = object; }
    // Forgets a handle that the object gives up; another object that stands for it stays.
    void detach(HANDLE_TYPE handle, const TYPE* object) {
        const auto found = m_permanent.find(handle);
        if (found != m_permanent.end() && found->second == object)
            m_permanent.erase(found);
    }
    void deleteTemporary() {
        for (const auto& [handle, object] : m_temporary) {
            object->*MEMBER = nullptr;
            delete object;
        }
        m_temporary.clear();
    }

private:
    std::unordered_map<HANDLE_TYPE, TYPE*> m_permanent;
    std::unordered_map<HANDLE_TYPE, TYPE*> m_temporary;
};

} // namespace mvafx
