#include "DoEvents.h"

#include "afxwin.h"

namespace {

// One message, for a thread that the framework does not know. False when it was the quit message.
bool PumpOne() {
    MSG message;
    if (!::GetMessageW(&message, nullptr, 0, 0))
        return false;
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
    return true;
}

} // namespace

void AfxDoEvents(HWND hWnd, int bIdle) {
    CWinThread* const thread = AfxGetThread();
    MSG message;
    while (::PeekMessageW(&message, hWnd, 0, 0, PM_NOREMOVE)) {
        if (thread ? !thread->PumpMessage() : !PumpOne()) {
            ::OutputDebugStringW(L"[AfxDoEvents] WM_QUIT rebut dins del AfxDoEvents...\n");
            ::PostQuitMessage(0);
            break;
        }
    }
    if (!bIdle || !thread)
        return;
    AfxLockTempMaps();
    for (LONG count = 0; thread->OnIdle(count); ++count) {
    }
    // The caller's temporary objects live on.
    AfxUnlockTempMaps(FALSE);
}
