// What has to be done when a thread ends.
//
// Destructors of thread-local objects will not do: on Windows the compiler's run-time library frees the
// memory of a thread's variables first and runs their destructors then, over memory that is not there any
// more. So the memory is one's own, and its address is handed over here.
#pragma once

#include <cxxabi.h>

#if !defined(_GLIBCXX_CDTOR_CALLABI)
#define _GLIBCXX_CDTOR_CALLABI
#endif

extern void* __dso_handle; // the compiler's name for this module

namespace mvlib {

using ThreadEndFunction = void(_GLIBCXX_CDTOR_CALLABI*)(void*);

// Calls `function` with `argument` when the calling thread ends, the last one registered first. Thread-local
// variables can be written there, but what they held may be lost. False without memory.
inline bool AtThreadEnd(ThreadEndFunction function, void* argument) {
    return abi::__cxa_thread_atexit(function, argument, &__dso_handle) == 0;
}

} // namespace mvlib
