// The message pump of a thread, where threads have message queues.
#include "afxwin.h"

int CWinThread::Run() {
    BOOL bIdle = TRUE;
    LONG lIdleCount = 0;
    MSG msg;
    for (;;) {
        while (bIdle && !PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE))
            if (!OnIdle(lIdleCount++))
                bIdle = FALSE;
        do {
            // The message must be seen before it is pumped: dispatching it may change everything.
            BOOL bIsIdleMessage = PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE) ? IsIdleMessage(&msg) : TRUE;
            if (!PumpMessage())
                return ExitInstance();
            if (bIsIdleMessage) {
                bIdle = TRUE;
                lIdleCount = 0;
            }
        } while (PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE));
    }
}

BOOL CWinThread::PumpMessage() {
    MSG msg;
    if (GetMessageW(&msg, nullptr, 0, 0) <= 0)
        return FALSE;
    if (!PreTranslateMessage(&msg)) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    return TRUE;
}

BOOL CWinThread::IsIdleMessage(MSG* pMsg) {
    constexpr UINT systemTimer = 0x0118; // the caret's blinking
    if (pMsg->message == WM_MOUSEMOVE || pMsg->message == WM_NCMOUSEMOVE) {
        static thread_local POINT lastPosition = {};
        static thread_local UINT lastMessage = 0;
        if (pMsg->pt.x == lastPosition.x && pMsg->pt.y == lastPosition.y && pMsg->message == lastMessage)
            return FALSE;
        lastPosition = pMsg->pt;
        lastMessage = pMsg->message;
        return TRUE;
    }
    return pMsg->message != WM_PAINT && pMsg->message != systemTimer;
}
