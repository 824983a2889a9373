// What the framework keeps for each thread.
#pragma once

class AFX_MODULE_STATE;
class CWinThread;

namespace mvafx {

struct ThreadState {
    AFX_MODULE_STATE* pModuleState = nullptr; // null: the program's
    CWinThread* pThread = nullptr;
    long nTempMapLock = 0;
};

ThreadState& threadState();

} // namespace mvafx
