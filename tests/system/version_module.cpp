// A module that tells a version of itself. DLL_VERSION_RESULT is what its function answers.
#include <win32.h>

struct Told {
    DWORD size;
    DWORD major;
    DWORD minor;
    DWORD build;
    DWORD platform;
};

extern "C" TEST_MODULE_EXPORT HRESULT CALLBACK DllGetVersion(Told* told) {
    // Whoever asks must say the record's size and pass it empty.
    if (told->size != sizeof *told || told->major || told->minor || told->build || told->platform)
        return static_cast<HRESULT>(0x80070057);
    told->major = 5;
    told->minor = 81;
    told->build = 4968;
    told->platform = 2;
    return static_cast<HRESULT>(DLL_VERSION_RESULT);
}
