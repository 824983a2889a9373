#include "failure.h"
#include "folders.h"

namespace mvtool {

void removeTree(const std::string& path) noexcept {
    try {
        // Folders wait in `pending`, one list a level, until everything in them is gone.
        FolderCursor cursor(path);
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
