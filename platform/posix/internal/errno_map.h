// System error numbers as Windows error codes.
#pragma once

#include "../../win32.h"

namespace mvplat {

// The code for an errno value. Functions with rules of their own decide those cases first.
DWORD errorFromErrno(int number);
// Last error from errno.
void setLastErrno();

} // namespace mvplat
