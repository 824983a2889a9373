// What the file functions share about names and attributes.
#pragma once

#include "../../win32.h"

#include <string>
#include <sys/stat.h>

namespace mvplat {

// The system's form of a path given by a caller; false with last error 3 for null and empty.
bool takePath(LPCWSTR given, std::string& path);
// The error for a name that the system says does not exist: 3 when its folder does not either, else 2.
DWORD missingError(const std::string& path);
// The error for a failed call on a path, from errno.
DWORD pathError(const std::string& path);
// Whether a path that ends in a separator names something that is no folder.
bool endsLikeFolderButIsNone(const std::string& path);

// The folder of a path, as the system wants it: "." for a bare name.
std::string parentOf(const std::string& path);

bool isReadOnly(const struct stat& status);
DWORD attributesOf(mode_t mode, bool link);
// Attributes, times and size of an open file.
void fillAttributes(int descriptor, const struct stat& status, WIN32_FILE_ATTRIBUTE_DATA& data);

} // namespace mvplat
