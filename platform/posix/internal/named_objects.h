// Names of kernel objects within the process.
#pragma once

#include "handles.h"

#include <functional>

namespace mvplat {

// A handle for the object of that name, or for a new one that `make` answers; last error 183 or 0. An object
// of another kind has the name: null with last error 6. Null and empty names name nothing. When `make`
// answers null, after it set the last error, so does this.
HANDLE createNamed(LPCWSTR name, Kind kind, const std::function<Object*()>& make);
// Null with last error 2 when there is none, 87 for a null name.
HANDLE openNamed(LPCWSTR name, Kind kind);

} // namespace mvplat
