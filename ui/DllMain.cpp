// The library's entry point on Windows.
#include "Startup.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        return MvlibAttach(instance);
    if (reason == DLL_PROCESS_DETACH)
        MvlibDetach();
    return TRUE;
}
