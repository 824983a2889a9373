#include "DoEvents.h"

// Threads have no message queue here: no message ever waits, and idle work belongs to message loops.
void AfxDoEvents(HWND, int) {}
