// Handling of the calling thread's messages in tests.
#pragma once

#include "win32.h"

inline void PumpWaiting() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
}

// Handles messages until `done` answers true or the seconds have passed; what `done` answered last.
template <class Done>
bool PumpUntil(Done done, unsigned int seconds = 10) {
    for (const ULONGLONG end = GetTickCount64() + 1000ull * seconds;;) {
        PumpWaiting();
        if (done())
            return true;
        if (GetTickCount64() > end)
            return false;
        Sleep(1);
    }
}
