// Files that are read and written in one piece.
#pragma once

#include <string>
#include <string_view>

namespace mvtool {

/// A path as the system has it: relative to the current folder for every function of the library.
std::wstring fullPath(const std::string& path);

/// The file's bytes. Failure(notFound) with the system's reason.
std::string readWhole(const std::string& path);

/// Writes beside the file and renames. Failure(writeFailure or notFound); the old file is then as it was.
void writeWhole(const std::string& path, std::string_view bytes);

} // namespace mvtool
