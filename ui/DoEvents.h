// Handling of pending window messages in the middle of long work.
#pragma once

#include "mvlib_export.h"

#include "win32.h"

// Lets the calling thread handle the messages that wait for `hWnd` (null: for the thread). A quit message
// ends it and is posted again, so that the main loop ends too. With `bIdle` not 0 the thread's idle work is
// done afterwards. Where threads have no message queue there is never anything to do.
MVLIB_API void AfxDoEvents(HWND hWnd, int bIdle);
