#include "folders_internal.h"

#include "system.h"
#include "text.h"

#include <algorithm>
#include <cstdint>
#include <random>

namespace mvtool {

void failBySystem(Exit code, const char* what, const std::string& path) {
    const std::string reason = lastSystemError();
    throw Failure(code, std::string("cannot ") + what + ' ' + path + ": " + reason);
}

void refuseName(const std::u16string& name) {
    throw Failure(Exit::damaged, "a name that no file can have: " + displayName(name));
}

void checkName(const std::u16string& name, std::u16string_view forbidden) {
    if (name.empty() || name == u"." || name == u".." || name.find(u'\0') != std::u16string::npos ||
        name.find_first_of(forbidden) != std::u16string::npos) {
        refuseName(name);
    }
}

std::string temporaryFileName() {
    std::random_device source;
    std::uint64_t number = static_cast<std::uint64_t>(source()) << 32 | source();
    std::string name = ".mvtool-";
    for (int i = 0; i < 12; ++i, number /= 36) {
        name += "abcdefghijklmnopqrstuvwxyz0123456789"[number % 36];
    }
    return name + ".tmp";
}

void sortByName(std::vector<FolderEntry>& entries) {
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
}

namespace {

[[noreturn]] void refuseLink(const std::string& path) {
    throw Failure(Exit::damaged, "a symbolic link stands in the way: " + path);
}

} // namespace

void checkFilePlace(There there, bool replace, const std::string& path) {
    if (there == There::link) {
        refuseLink(path);
    }
    if (there != There::nothing && (!replace || there != There::file)) {
        throw Failure(Exit::writeFailure, "exists already: " + path);
    }
}

FolderCursor::Made folderInPlace(There there, const std::string& path) {
    if (there == There::link) {
        refuseLink(path);
    }
    if (there != There::folder) {
        failBySystem(Exit::writeFailure, "make the folder", path);
    }
    return FolderCursor::Made::existed;
}

void checkReplacedFile(There there, const std::string& shown) {
    if (there != There::nothing && there != There::file) {
        throw Failure(Exit::writeFailure, "not an ordinary file: " + shown);
    }
}

bool isFolderPlace(There there, const std::string& path) {
    if (there != There::nothing && there != There::folder) {
        throw Failure(Exit::writeFailure, "not a folder: " + displayText(path));
    }
    return there == There::folder;
}

void NewFile::write(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const std::size_t written = writePiece(bytes, size);
        bytes += written;
        size -= written;
    }
}

void removeTree(const std::string& path) noexcept {
    try {
        // Folders wait in `pending`, one list a level, until everything in them is gone.
        FolderCursor cursor(path, path);
        std::size_t unnameable = 0;
        std::vector<std::vector<std::u16string>> pending;
        std::vector<std::u16string> entered;
        const auto clear = [&] {
            pending.emplace_back();
            for (const FolderEntry& entry : cursor.list(unnameable)) {
                if (entry.kind == FolderEntry::Kind::folder) {
                    pending.back().push_back(entry.name);
                } else {
                    cursor.removeFile(entry.name);
                }
            }
        };
        clear();
        for (;;) {
            if (!pending.back().empty()) {
                entered.push_back(std::move(pending.back().back()));
                pending.back().pop_back();
                cursor.enter(entered.back());
                clear();
            } else if (!entered.empty()) {
                pending.pop_back();
                cursor.leave();
                cursor.removeFolder(entered.back());
                entered.pop_back();
            } else {
                break;
            }
        }
        removeEmptyFolder(path);
    } catch (const std::exception&) {
        // What cannot be removed stays: the failure that brought us here is the one to report.
    }
}

} // namespace mvtool
