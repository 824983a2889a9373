// The library's start and end on POSIX: the loader runs the constructor and the destructor of this object.
// The libraries it depends on have been initialised by then, and end later.
#include "Startup.h"

namespace {

struct LibraryLifetime {
    LibraryLifetime() {
        HMODULE instance = nullptr;
        const auto address = reinterpret_cast<LPCWSTR>(&MvlibAttach);
        if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                     GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 address, &instance))
            attached = MvlibAttach(instance) != 0;
    }
    ~LibraryLifetime() {
        if (attached)
            MvlibDetach();
    }

    bool attached = false;
} g_lifetime;

} // namespace
