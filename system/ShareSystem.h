// What folder sharing asks of the system.
#pragma once

#include "win32.h"

// Whether there are network shares at all.
bool HasShares();
// Whether the system knows a share of that name.
bool ShareExists(const wchar_t* name);
// 0 or the system's error code.
DWORD RemoveShare(const wchar_t* name);
