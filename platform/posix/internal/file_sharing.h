// Who has which file open: the sharing rules of Windows, range locks, mapped sizes.
//
// Within the process a table, by device and inode, decides. Between processes the layer puts read locks on
// six bytes far beyond any data, one for each way of using the file and one for each way that a handle
// forbids to others ("open file description" locks, which belong to the open file and go with it). Every
// opener first puts up its own, then looks for those of others that stand against it: two that come at one
// moment may both see the other, but never both miss it.
#pragma once

#include "../../win32.h"

#include <atomic>
#include <cstdint>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace mvplat {

// The bits of the FILE_SHARE_ constants, for uses as well as for what is shared.
constexpr unsigned useRead = FILE_SHARE_READ;
constexpr unsigned useWrite = FILE_SHARE_WRITE;
constexpr unsigned useDelete = FILE_SHARE_DELETE;
constexpr unsigned useAll = useRead | useWrite | useDelete;

struct FileIdentity {
    dev_t device;
    ino_t inode;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// One open of a file, as the table sees it.
struct SharedUse {
    unsigned uses = 0; // 0: only asks for attributes, and takes no part in sharing
    unsigned shares = 0;
};

struct RangeLock {
    std::uint64_t begin;
    std::uint64_t end; // one past the last byte, or the largest number
    const SharedUse* owner;
};

// One file that is open or mapped in this process.
struct SharedFile {
    FileIdentity identity;
    unsigned references = 0;
    std::vector<const SharedUse*> uses;
    std::vector<RangeLock> ranges;
    std::atomic<unsigned> rangeCount{0}; // of `ranges`, for a look without the lock
    std::vector<std::uint64_t> mappedSizes;
};

// Enters an open; false, with nothing entered, when its sharing clashes. `use` must live until removeUse.
bool enterUse(const struct stat& status, const SharedUse* use, SharedFile*& file);
// Takes an open out, with its range locks. The file is not to be used afterwards.
void removeUse(SharedFile* file, const SharedUse* use);
// Whether a use (deleting, renaming) by no handle of its own would clash.
bool wouldClash(const struct stat& status, SharedUse use);

// The same between processes, on the opened file. Taking an open out takes its range locks, too. When its
// last descriptor is closed that happens by itself.
bool enterUseOutside(int descriptor, bool readable, const SharedUse& use);
void removeUseOutside(int descriptor);
// Whether another process may have copies of this one's descriptors, so that closing one does not end what it
// stands for: a process that is being started has them until it runs its program.
bool descriptorsMayBeCopied();
// Differs between a process and a forked copy of it that goes on by itself, which has no business with what
// its parent opened.
unsigned processCopyNumber();
bool wouldClashOutside(int descriptor, const SharedUse& use);

// Range locks. `descriptor` also puts the lock up for other processes; its mode limits that to what the
// system allows.
bool lockRange(SharedFile* file, const SharedUse* owner, std::uint64_t begin, std::uint64_t end,
               int descriptor, bool writable);
bool unlockRange(SharedFile* file, const SharedUse* owner, std::uint64_t begin, std::uint64_t end,
                 int descriptor);
// Whether another handle of this process has locked a byte of the range.
bool isLockedByOther(SharedFile* file, const SharedUse* user, std::uint64_t begin, std::uint64_t end);

// Mapped sizes: a file cannot be cut below them.
SharedFile* enterMapping(const struct stat& status, std::uint64_t size);
void removeMapping(SharedFile* file, std::uint64_t size);
bool isMappedBeyond(SharedFile* file, std::uint64_t size);

} // namespace mvplat
