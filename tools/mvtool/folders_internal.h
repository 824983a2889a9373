// What the two sources of folders.h share.
#pragma once

#include "failure.h"
#include "folders.h"

namespace mvtool {

/// Failure with the system's reason: "cannot WHAT PATH: reason".
[[noreturn]] void failBySystem(Exit code, const char* what, const std::string& path);

/// Failure(damaged) for a name that is empty, "." or "..", or has one of the characters, or a NUL.
void checkName(const std::u16string& name, std::u16string_view forbidden);
[[noreturn]] void refuseName(const std::u16string& name);

/// A name that nothing else has, for what is written before it gets its own.
std::string temporaryFileName();

void sortByName(std::vector<FolderEntry>& entries);

enum class There { nothing, folder, file, link, other };

/// Failure when what stands where a file is to be written may not be replaced.
void checkFilePlace(There there, bool replace, const std::string& path);

/// What a folder that could not be made comes to, by what stands there; the system's error is that of the
/// making.
FolderCursor::Made folderInPlace(There there, const std::string& path);

/// Failure(writeFailure) for something that is no ordinary file.
void checkReplacedFile(There there, const std::string& shown);

/// True for a folder; Failure(writeFailure) for something else that is there.
bool isFolderPlace(There there, const std::string& path);

} // namespace mvtool
