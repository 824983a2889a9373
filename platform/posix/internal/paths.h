// Paths by their text.
#pragma once

#include "../../win32.h"

#include <string>
#include <string_view>

namespace mvplat {

bool isSeparator(wchar_t unit);
// The current folder with backslashes; false with last error set.
bool currentFolder(std::wstring& folder);
// The absolute form of a path that is not empty, as GetFullPathNameW describes it; false with last error set.
bool absolutePath(std::wstring_view path, std::wstring& result);

} // namespace mvplat
