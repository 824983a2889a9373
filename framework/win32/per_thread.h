// One object for each thread, on Windows.
#pragma once

#include <afx.h>

namespace mvafx {

// The T of the calling thread: made when it is first asked for, destroyed when the thread ends or the library
// goes. No thread_local variable, since MinGW gives the memory of a thread's variables back before it
// destroys them when the thread is one of the C++ library.
template <class T>
class PerThread {
public:
    static T& object() {
        static const Slot slot;
        if (s_ended) {
            // Objects of the program that outlive the library's own find an empty one.
            static T* const last = new T;
            return *last;
        }
        const DWORD error = GetLastError();
        auto* own = static_cast<T*>(FlsGetValue(s_index));
        if (!own) {
            own = new T;
            if (!FlsSetValue(s_index, own)) {
                delete own;
                AfxThrowMemoryException();
            }
        }
        SetLastError(error);
        return *own;
    }

private:
    struct Slot {
        Slot() { s_index = FlsAlloc(destroy); }
        ~Slot() {
            s_ended = true;
            FlsFree(s_index);
        }
    };
    static void WINAPI destroy(void* object) { delete static_cast<T*>(object); }

    inline static DWORD s_index = FLS_OUT_OF_INDEXES;
    inline static bool s_ended = false;
};

} // namespace mvafx
