// Dynamic data exchange under its Win32 names; see win32.h, which leaves it out because few sources want it.
#pragma once

#include "win32.h"

#if defined(_WIN32)
#include <ddeml.h>
#else
#include "posix/api/dde.h"
#endif
