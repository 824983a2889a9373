// Threads have no message queues here: there is nothing to wait for.
#include "afxwin.h"

int CWinThread::Run() {
    for (LONG lCount = 0; OnIdle(lCount); ++lCount)
        ;
    return ExitInstance();
}

BOOL CWinThread::PumpMessage() {
    return FALSE;
}

BOOL CWinThread::IsIdleMessage(MSG*) {
    return TRUE;
}
