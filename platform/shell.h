// The shell's special folders under their Win32 names; see win32.h, which leaves them out because few sources
// want them.
#pragma once

#include "win32.h"

#if defined(_WIN32)
#include <shlobj.h>
#else
#include "posix/api/shell.h"
#endif
