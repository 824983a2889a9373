#include "internal/file_sharing.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <sys/file.h>
#include <sys/single_threaded.h>
#include <time.h>
#include <unistd.h>
#include <unordered_map>

namespace mvplat {

namespace {

struct IdentityHash {
    std::size_t operator()(const FileIdentity& identity) const {
        return static_cast<std::size_t>(identity.inode * 0x9E3779B97F4A7C15ULL ^ identity.device);
    }
};

using Files = std::unordered_map<FileIdentity, std::unique_ptr<SharedFile>, IdentityHash>;

struct SharingTable {
    std::mutex lock;
    Files files;
    Files::node_type spare; // of a file that is no longer open, for the next that is opened
};

SharingTable& table() {
    static auto* const one = new SharingTable;
    return *one;
}

FileIdentity identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

bool clash(const SharedUse& first, const SharedUse& second) {
    return (first.uses & ~second.shares) != 0 || (second.uses & ~first.shares) != 0;
}

bool clashesWithAny(const SharedFile& file, const SharedUse& use) {
    return use.uses != 0 && std::any_of(file.uses.begin(), file.uses.end(), [&use](const SharedUse* other) {
               return other->uses && clash(use, *other);
           });
}

// Under the lock.
SharedFile& refer(const FileIdentity& identity) {
    Files& files = table().files;
    auto found = files.find(identity);
    if (found == files.end()) {
        if (Files::node_type& spare = table().spare) {
            spare.key() = identity;
            found = files.insert(std::move(spare)).position;
        } else {
            found = files.emplace(identity, std::make_unique<SharedFile>()).first;
        }
        found->second->identity = identity;
    }
    ++found->second->references;
    return *found->second;
}

// The lists of a file that nobody refers to are empty.
void drop(SharedFile* file) {
    if (--file->references == 0)
        table().spare = table().files.extract(file->identity);
}

// The bytes of the marks, in an order that makes those of the usual ways of opening lie side by side: reading
// with others reading is marks 0 to 2, writing alone 1 to 4, reading alone 0 to 3.
constexpr off_t markBase = 0x7fffffffffffff00;
constexpr unsigned markCount = 6;
enum Mark : unsigned { usesRead, forbidsDelete, forbidsWrite, forbidsRead, usesWrite, usesDelete };

unsigned marksOfUses(unsigned uses) {
    return (uses & useRead ? 1u << usesRead : 0) | (uses & useWrite ? 1u << usesWrite : 0) |
           (uses & useDelete ? 1u << usesDelete : 0);
}

unsigned marksOfBans(unsigned bans) {
    return (bans & useRead ? 1u << forbidsRead : 0) | (bans & useWrite ? 1u << forbidsWrite : 0) |
           (bans & useDelete ? 1u << forbidsDelete : 0);
}

unsigned bansOf(const SharedUse& use) {
    return useAll & ~use.shares;
}

// Calls `act` with each run of marks until it answers false.
template <class Act>
bool forEachRun(unsigned marks, Act act) {
    for (unsigned first = 0; first < markCount;) {
        if (!(marks >> first & 1)) {
            ++first;
            continue;
        }
        unsigned end = first;
        while (end < markCount && (marks >> end & 1))
            ++end;
        if (!act(first, end - first))
            return false;
        first = end;
    }
    return true;
}

std::atomic<bool> g_wasForked{false};
std::atomic<unsigned> g_copyNumber{0};
[[maybe_unused]] const int g_watchesForks = ::pthread_atfork(
    nullptr, [] { g_wasForked.store(true, std::memory_order_relaxed); },
    [] { g_copyNumber.fetch_add(1, std::memory_order_relaxed); });

bool setLock(int descriptor, short type, off_t start, off_t length) {
    struct flock request = {};
    request.l_type = type;
    request.l_whence = SEEK_SET;
    request.l_start = start;
    request.l_len = length;
    return ::fcntl(descriptor, F_OFD_SETLK, &request) == 0;
}

bool isMarkedByOther(int descriptor, unsigned first, unsigned count) {
    struct flock request = {};
    request.l_type = F_WRLCK;
    request.l_whence = SEEK_SET;
    request.l_start = markBase + first;
    request.l_len = count;
    return ::fcntl(descriptor, F_OFD_GETLK, &request) == 0 && request.l_type != F_UNLCK;
}

bool standsAgainst(int descriptor, const SharedUse& use) {
    // Nearly always nobody has put up anything.
    if (!isMarkedByOther(descriptor, 0, markCount))
        return false;
    return !forEachRun(
        marksOfBans(use.uses) | marksOfUses(bansOf(use)),
        [descriptor](unsigned first, unsigned count) { return !isMarkedByOther(descriptor, first, count); });
}

void putUp(int descriptor, bool readable, const SharedUse& use) {
    // Where the system has no such locks on the file nothing is put up, and only this process is held off.
    forEachRun(marksOfUses(use.uses) | marksOfBans(bansOf(use)), [=](unsigned first, unsigned count) {
        setLock(descriptor, readable ? F_RDLCK : F_WRLCK, markBase + first, count);
        return true;
    });
}

// Ranges of no byte meet nothing.
bool overlap(const RangeLock& range, std::uint64_t begin, std::uint64_t end) {
    return std::max(begin, range.begin) < std::min(end, range.end);
}

} // namespace

bool enterUse(const struct stat& status, const SharedUse* use, SharedFile*& file) {
    const std::lock_guard<std::mutex> lock(table().lock);
    SharedFile& found = refer(identityOf(status));
    if (clashesWithAny(found, *use)) {
        drop(&found);
        return false;
    }
    try {
        found.uses.push_back(use);
    } catch (...) {
        drop(&found);
        throw;
    }
    file = &found;
    return true;
}

void removeUse(SharedFile* file, const SharedUse* use) {
    const std::lock_guard<std::mutex> lock(table().lock);
    std::erase(file->uses, use);
    std::erase_if(file->ranges, [use](const RangeLock& range) { return range.owner == use; });
    file->rangeCount.store(static_cast<unsigned>(file->ranges.size()), std::memory_order_release);
    drop(file);
}

bool wouldClash(const struct stat& status, SharedUse use) {
    const std::lock_guard<std::mutex> lock(table().lock);
    const auto found = table().files.find(identityOf(status));
    return found != table().files.end() && clashesWithAny(*found->second, use);
}

bool enterUseOutside(int descriptor, bool readable, const SharedUse& use) {
    if (use.uses == 0)
        return true;
    putUp(descriptor, readable, use);
    if (!standsAgainst(descriptor, use))
        return true;
    // Somebody else, or somebody who came at the same moment and gives way for the same reason: once more, in
    // turns.
    removeUseOutside(descriptor);
    bool alone = false;
    for (int attempt = 0; attempt < 20 && !alone; ++attempt) {
        alone = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        if (!alone) {
            if (errno != EWOULDBLOCK)
                break;
            constexpr timespec moment = {0, 500000};
            ::nanosleep(&moment, nullptr);
        }
    }
    putUp(descriptor, readable, use);
    const bool entered = !standsAgainst(descriptor, use);
    if (!entered)
        removeUseOutside(descriptor);
    if (alone)
        ::flock(descriptor, LOCK_UN);
    return entered;
}

void removeUseOutside(int descriptor) {
    setLock(descriptor, F_UNLCK, 0, 0);
}

bool descriptorsMayBeCopied() {
    // A single thread that starts a program (posix_spawn, popen) waits until it runs.
    return !__libc_single_threaded || g_wasForked.load(std::memory_order_relaxed);
}

unsigned processCopyNumber() {
    return g_copyNumber.load(std::memory_order_relaxed);
}

bool wouldClashOutside(int descriptor, const SharedUse& use) {
    return standsAgainst(descriptor, use);
}

bool lockRange(SharedFile* file, const SharedUse* owner, std::uint64_t begin, std::uint64_t end,
               int descriptor, bool writable) {
    const std::lock_guard<std::mutex> lock(table().lock);
    for (const RangeLock& range : file->ranges) {
        if (overlap(range, begin, end))
            return false;
    }
    file->ranges.push_back({begin, end, owner});
    const auto last = static_cast<off_t>(std::min<std::uint64_t>(end, markBase));
    if (begin < static_cast<std::uint64_t>(last) &&
        !setLock(descriptor, writable ? F_WRLCK : F_RDLCK, static_cast<off_t>(begin),
                 last - static_cast<off_t>(begin)) &&
        (errno == EAGAIN || errno == EACCES)) {
        file->ranges.pop_back();
        return false;
    }
    file->rangeCount.store(static_cast<unsigned>(file->ranges.size()), std::memory_order_release);
    return true;
}

bool unlockRange(SharedFile* file, const SharedUse* owner, std::uint64_t begin, std::uint64_t end,
                 int descriptor) {
    const std::lock_guard<std::mutex> lock(table().lock);
    const auto found = std::find_if(file->ranges.begin(), file->ranges.end(), [&](const RangeLock& range) {
        return range.begin == begin && range.end == end && range.owner == owner;
    });
    if (found == file->ranges.end())
        return false;
    file->ranges.erase(found);
    file->rangeCount.store(static_cast<unsigned>(file->ranges.size()), std::memory_order_release);
    const auto last = static_cast<off_t>(std::min<std::uint64_t>(end, markBase));
    if (begin < static_cast<std::uint64_t>(last))
        setLock(descriptor, F_UNLCK, static_cast<off_t>(begin), last - static_cast<off_t>(begin));
    return true;
}

bool isLockedByOther(SharedFile* file, const SharedUse* user, std::uint64_t begin, std::uint64_t end) {
    if (file->rangeCount.load(std::memory_order_acquire) == 0)
        return false;
    const std::lock_guard<std::mutex> lock(table().lock);
    return std::any_of(file->ranges.begin(), file->ranges.end(), [&](const RangeLock& range) {
        return range.owner != user && overlap(range, begin, end);
    });
}

SharedFile* enterMapping(const struct stat& status, std::uint64_t size) {
    const std::lock_guard<std::mutex> lock(table().lock);
    SharedFile& file = refer(identityOf(status));
    try {
        file.mappedSizes.push_back(size);
    } catch (...) {
        drop(&file);
        throw;
    }
    return &file;
}

void removeMapping(SharedFile* file, std::uint64_t size) {
    const std::lock_guard<std::mutex> lock(table().lock);
    const auto found = std::find(file->mappedSizes.begin(), file->mappedSizes.end(), size);
    if (found != file->mappedSizes.end())
        file->mappedSizes.erase(found);
    drop(file);
}

bool isMappedBeyond(SharedFile* file, std::uint64_t size) {
    const std::lock_guard<std::mutex> lock(table().lock);
    return std::any_of(file->mappedSizes.begin(), file->mappedSizes.end(),
                       [size](std::uint64_t mapped) { return mapped > size; });
}

} // namespace mvplat
