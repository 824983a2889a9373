// The state of an event in memory. Include event_view.h, not this file.
#pragma once

#include "../win32.h"

#include <atomic>

// The state of an event that resets by hand, valid as long as the handle is open; null for every other
// handle. What was written before SetEvent is seen after an acquiring load of TRUE.
MVPLAT_API const std::atomic<bool>* MvEventState(HANDLE event);
