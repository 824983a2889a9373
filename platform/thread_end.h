// What has to be done when a thread ends, and objects that live as long as their thread.
//
// Destructors of thread-local objects will not do: on Windows the compiler's run-time library frees the
// memory of a thread's variables first and runs their destructors then, over memory that is not there any
// more. So the memory is one's own, and its address is handed over here.
#pragma once

#include <cxxabi.h>

#include <new>

#if !defined(_GLIBCXX_CDTOR_CALLABI)
#define _GLIBCXX_CDTOR_CALLABI
#endif

extern void* __dso_handle; // the compiler's name for this module

using MvThreadEndFunction = void(_GLIBCXX_CDTOR_CALLABI*)(void*);

// Calls `function` with `argument` when the calling thread ends, the last one registered first. Thread-local
// variables can be written there, but what they held may be lost. False without memory.
inline bool MvAtThreadEnd(MvThreadEndFunction function, void* argument) {
    return abi::__cxa_thread_atexit(function, argument, &__dso_handle) == 0;
}

// The T of the calling thread: made when it is first asked for, destroyed when the thread ends. Whoever asks
// later still, as destructors of the program's own objects may, finds a new one, which nobody destroys.
template <class T>
class MvPerThread {
public:
    // Null without memory.
    static T* object() noexcept {
        if (!t_own) {
            T* own = new (std::nothrow) T;
            if (own && !MvAtThreadEnd(destroy, own)) {
                delete own;
                own = nullptr;
            }
            t_own = own;
        }
        return t_own;
    }

private:
    static void _GLIBCXX_CDTOR_CALLABI destroy(void* object) {
        t_own = nullptr;
        delete static_cast<T*>(object);
    }

    static constinit inline thread_local T* t_own = nullptr;
};
