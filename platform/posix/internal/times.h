// File times and the system's times.
#pragma once

#include "../../win32.h"

#include <ctime>

namespace mvplat {

ULONGLONG ticksOf(const FILETIME& time);
FILETIME fileTimeOf(ULONGLONG ticks);
FILETIME fileTimeOf(const timespec& time);
timespec timespecOf(const FILETIME& time);

} // namespace mvplat
