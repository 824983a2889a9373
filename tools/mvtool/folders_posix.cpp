#include "folders_internal.h"

#include "text.h"
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace mvtool {
namespace {

/// Folders of the current path that stay open; the ones above are found again through "..".
constexpr std::size_t kOpenFolders = 64;
/// Names that a message gives at either end of a very deep path.
constexpr std::size_t kShownFolders = 8;

/// An open file descriptor and its owner.
class Descriptor {
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept
        : m_fd(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Descriptor() { reset(); }
    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    int release() {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    void reset(int fd = -1) {
        if (m_fd >= 0) {
            const int keep = errno;
            close(m_fd);
            errno = keep;
        }
        m_fd = fd;
    }

private:
    int m_fd;
};

std::string bytesOf(const std::u16string& name) {
    checkName(name, u"/");
    std::optional<std::string> bytes = bytesFromUnits(name);
    if (!bytes) {
        refuseName(name);
    }
    return *std::move(bytes);
}

There whatItIs(const struct stat& status) {
    return S_ISDIR(status.st_mode)   ? There::folder
           : S_ISREG(status.st_mode) ? There::file
           : S_ISLNK(status.st_mode) ? There::link
                                     : There::other;
}

/// What stands in a folder under a name, links not followed. The last error stays.
There whatIsAt(int folder, const std::string& name) {
    const int keep = errno;
    struct stat status {};
    const bool there = fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    errno = keep;
    return there ? whatItIs(status) : There::nothing;
}

std::int64_t nanoseconds(const timespec& time) {
    __int128 all = static_cast<__int128>(time.tv_sec) * 1000000000 + time.tv_nsec;
    all = std::clamp<__int128>(all, std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(all);
}

timespec timeOf(std::int64_t ns) {
    timespec time{};
    time.tv_sec = ns / 1000000000;
    time.tv_nsec = ns % 1000000000;
    if (time.tv_nsec < 0) {
        time.tv_nsec += 1000000000;
        --time.tv_sec;
    }
    return time;
}

bool setModified(int fd, std::int64_t ns) {
    const timespec times[2] = {{0, UTIME_OMIT}, timeOf(ns)};
    return futimens(fd, times) == 0;
}

FileIdentity identityOf(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
}

/// The library counts "\\" as a separator in paths on every system; so does the tool in its arguments.
std::string slashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

std::string withoutEndSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

/// The folder that holds the entry, "." for a bare name.
std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string join(const std::string& folder, const std::string& name) {
    return folder == "." ? name : folder.back() == '/' ? folder + name : folder + '/' + name;
}

} // namespace

struct SourceFile::State {
    Descriptor file;
    std::string path;
};

SourceFile::SourceFile(std::unique_ptr<State> state)
    : m_state(std::move(state)) {}
SourceFile::SourceFile(SourceFile&&) noexcept = default;
SourceFile::~SourceFile() = default;

std::size_t SourceFile::read(void* buffer, std::size_t size) {
    for (;;) {
        const ssize_t got = ::read(m_state->file.get(), buffer, size);
        if (got >= 0) {
            return static_cast<std::size_t>(got);
        }
        if (errno != EINTR) {
            failBySystem(Exit::notFound, "read", m_state->path);
        }
    }
}

struct NewFile::State {
    Descriptor file;
    int folder = -1; ///< a duplicate of our own, so that the cursor may move on
    std::string temporary;
    std::string name;
    std::string path;
    bool committed = false;

    ~State() {
        if (folder >= 0) {
            if (!committed && !temporary.empty()) {
                unlinkat(folder, temporary.c_str(), 0);
            }
            close(folder);
        }
    }
};

NewFile::NewFile(std::unique_ptr<State> state)
    : m_state(std::move(state)) {}
NewFile::NewFile(NewFile&&) noexcept = default;
NewFile::~NewFile() = default;

std::size_t NewFile::writePiece(const void* data, std::size_t size) {
    for (;;) {
        const ssize_t written = ::write(m_state->file.get(), data, size);
        if (written > 0) {
            return static_cast<std::size_t>(written);
        }
        if (written == 0 || errno != EINTR) {
            failBySystem(Exit::writeFailure, "write", m_state->path);
        }
    }
}

void NewFile::commit(const FileFacts& facts, bool replace) {
    State& state = *m_state;
    struct stat status {};
    if (fstat(state.file.get(), &status) != 0) {
        failBySystem(Exit::writeFailure, "write", state.path);
    }
    mode_t mode = status.st_mode & 0777;
    if (facts.executable) {
        mode |= (mode & 0444) >> 2; // whoever may read it may run it
    }
    if (facts.readOnly) {
        mode &= ~static_cast<mode_t>(0222);
    }
    if ((mode != (status.st_mode & 0777) && fchmod(state.file.get(), mode) != 0) ||
        !setModified(state.file.get(), facts.modified)) {
        failBySystem(Exit::writeFailure, "write", state.path);
    }
    // Some file systems report a full disk only here.
    if (close(state.file.release()) != 0) {
        failBySystem(Exit::writeFailure, "write", state.path);
    }
    checkFilePlace(whatIsAt(state.folder, state.name), replace, state.path);
    int result = 0;
    if (replace) {
        result = renameat(state.folder, state.temporary.c_str(), state.folder, state.name.c_str());
    } else {
        result = renameat2(state.folder, state.temporary.c_str(), state.folder, state.name.c_str(),
                           RENAME_NOREPLACE);
        if (result != 0 &&
            (errno == EINVAL || errno == ENOSYS)) { // a file system without that kind of renaming
            result = linkat(state.folder, state.temporary.c_str(), state.folder, state.name.c_str(), 0);
            if (result == 0) {
                unlinkat(state.folder, state.temporary.c_str(), 0);
            }
        }
    }
    if (result != 0) {
        failBySystem(Exit::writeFailure, "write", state.path);
    }
    state.committed = true;
}

struct FolderCursor::State {
    struct Level {
        Descriptor folder;
        FileIdentity identity;
        std::string name; ///< bytes; the root's is its path
    };
    std::vector<Level> levels;

    int current() const { return levels.back().folder.get(); }

    std::string path(const std::string& name) const {
        std::string all;
        for (std::size_t i = 0; i < levels.size(); ++i) {
            if (levels.size() > 3 * kShownFolders && i == kShownFolders) {
                i = levels.size() - kShownFolders;
                all += ".../";
            }
            all += displayText(levels[i].name);
            if (all.empty() || all.back() != '/') {
                all += '/';
            }
        }
        all += displayText(name);
        if (name.empty() && all.size() > 1) {
            all.pop_back();
        }
        return all;
    }

    void push(Descriptor folder, std::string name) {
        struct stat status {};
        if (fstat(folder.get(), &status) != 0) {
            failBySystem(Exit::notFound, "read", path(name));
        }
        levels.push_back({std::move(folder), identityOf(status), std::move(name)});
        if (levels.size() > kOpenFolders) {
            levels[levels.size() - kOpenFolders - 1].folder.reset();
        }
    }
};

FolderCursor::FolderCursor(const std::string& path, const std::string& shown)
    : m_state(std::make_unique<State>()) {
    Descriptor folder(::open(withoutEndSlashes(slashes(path)).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        failBySystem(Exit::notFound, "open the folder", displayText(shown));
    }
    m_state->push(std::move(folder), withoutEndSlashes(slashes(shown)));
}

FolderCursor::FolderCursor(FolderCursor&&) noexcept = default;
FolderCursor::~FolderCursor() = default;

std::string FolderCursor::describe(const std::u16string& name) const {
    return m_state->path(bytesFromUnits(name).value_or(displayName(name)));
}

std::vector<FolderEntry> FolderCursor::list(std::size_t&) {
    // A descriptor of its own: a directory stream would close and move the cursor's.
    Descriptor folder(openat(m_state->current(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR* stream = folder ? fdopendir(folder.get()) : nullptr;
    if (stream == nullptr) {
        failBySystem(Exit::notFound, "read the folder", m_state->path(""));
    }
    folder.release();
    const std::unique_ptr<DIR, int (*)(DIR*)> owner(stream, closedir);
    std::vector<FolderEntry> entries;
    for (;;) {
        errno = 0;
        const dirent* item = readdir(stream);
        if (item == nullptr) {
            if (errno != 0) {
                failBySystem(Exit::notFound, "read the folder", m_state->path(""));
            }
            break;
        }
        if (std::strcmp(item->d_name, ".") == 0 || std::strcmp(item->d_name, "..") == 0) {
            continue;
        }
        struct stat status {};
        if (fstatat(m_state->current(), item->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno == ENOENT) {
                continue; // gone meanwhile
            }
            failBySystem(Exit::notFound, "read", m_state->path(item->d_name));
        }
        FolderEntry entry;
        entry.name = unitsFromBytes(item->d_name);
        entry.kind = S_ISDIR(status.st_mode)   ? FolderEntry::Kind::folder
                     : S_ISREG(status.st_mode) ? FolderEntry::Kind::file
                     : S_ISLNK(status.st_mode) ? FolderEntry::Kind::link
                                               : FolderEntry::Kind::other;
        entry.facts.modified = nanoseconds(status.st_mtim);
        if (entry.kind == FolderEntry::Kind::file) {
            entry.size = static_cast<std::uint64_t>(status.st_size);
            entry.facts.executable = (status.st_mode & S_IXUSR) != 0;
            entry.facts.readOnly = (status.st_mode & S_IWUSR) == 0;
        }
        entries.push_back(std::move(entry));
    }
    sortByName(entries);
    return entries;
}

void FolderCursor::enter(const std::u16string& name) {
    std::string bytes = bytesOf(name);
    Descriptor folder(
        openat(m_state->current(), bytes.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) {
        failBySystem(Exit::notFound, "open the folder", m_state->path(bytes));
    }
    m_state->push(std::move(folder), std::move(bytes));
}

void FolderCursor::leave(std::optional<std::int64_t> modified) {
    std::vector<State::Level>& levels = m_state->levels;
    if (modified && !setModified(m_state->current(), *modified)) {
        failBySystem(Exit::writeFailure, "set the time of", m_state->path(""));
    }
    State::Level& parent = levels[levels.size() - 2];
    if (!parent.folder) {
        Descriptor above(openat(m_state->current(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        struct stat status {};
        if (!above || fstat(above.get(), &status) != 0 || identityOf(status) != parent.identity) {
            throw Failure(Exit::notFound, "a folder was moved meanwhile: " + m_state->path(""));
        }
        parent.folder = std::move(above);
    }
    levels.pop_back();
}

SourceFile FolderCursor::open(const std::u16string& name) {
    const std::string bytes = bytesOf(name);
    auto state = std::make_unique<SourceFile::State>();
    state->path = m_state->path(bytes);
    // O_NONBLOCK: what was a file when it was listed may be a pipe now.
    state->file.reset(
        openat(m_state->current(), bytes.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!state->file || fstat(state->file.get(), &status) != 0) {
        failBySystem(Exit::notFound, "read", state->path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(Exit::notFound, "no ordinary file any more: " + state->path);
    }
    return SourceFile(std::move(state));
}

FileIdentity FolderCursor::identity(const std::u16string& name) {
    const std::string bytes = bytesOf(name);
    struct stat status {};
    if (fstatat(m_state->current(), bytes.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        failBySystem(Exit::notFound, "read", m_state->path(bytes));
    }
    return identityOf(status);
}

FolderCursor::Made FolderCursor::makeFolder(const std::u16string& name) {
    const std::string bytes = bytesOf(name);
    if (mkdirat(m_state->current(), bytes.c_str(), 0777) == 0) {
        return Made::made;
    }
    const There there = errno == EEXIST ? whatIsAt(m_state->current(), bytes) : There::nothing;
    return folderInPlace(there, m_state->path(bytes));
}

NewFile FolderCursor::create(const std::u16string& name) {
    auto state = std::make_unique<NewFile::State>();
    state->name = bytesOf(name);
    state->path = m_state->path(state->name);
    state->folder = fcntl(m_state->current(), F_DUPFD_CLOEXEC, 0);
    if (state->folder < 0) {
        failBySystem(Exit::writeFailure, "write", state->path);
    }
    const std::string temporary = temporaryFileName();
    state->file.reset(
        openat(state->folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!state->file) {
        failBySystem(Exit::writeFailure, "write", state->path);
    }
    state->temporary = temporary;
    return NewFile(std::move(state));
}

void FolderCursor::removeFile(const std::u16string& name) {
    const std::string bytes = bytesOf(name);
    if (unlinkat(m_state->current(), bytes.c_str(), 0) != 0) {
        failBySystem(Exit::writeFailure, "remove", m_state->path(bytes));
    }
}

void FolderCursor::removeFolder(const std::u16string& name) {
    const std::string bytes = bytesOf(name);
    if (unlinkat(m_state->current(), bytes.c_str(), AT_REMOVEDIR) != 0) {
        failBySystem(Exit::writeFailure, "remove", m_state->path(bytes));
    }
}

bool takesPosixNames() {
    return true;
}

bool folderExists(const std::string& path) {
    struct stat status {};
    const std::string native = slashes(path);
    if (stat(native.c_str(), &status) != 0) {
        if (errno == ENOTDIR || (errno == ENOENT && lstat(native.c_str(), &status) != 0)) {
            return false;
        }
        failBySystem(Exit::writeFailure, "use the folder", displayText(path));
    }
    return isFolderPlace(whatItIs(status), path);
}

bool isPipeOrDevice(const std::string& path) {
    struct stat status {};
    return stat(slashes(path).c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

std::string makeFolderBeside(const std::string& path) {
    std::string folder = join(parentOf(withoutEndSlashes(slashes(path))), temporaryFileName());
    if (mkdir(folder.c_str(), 0777) != 0) {
        failBySystem(errno == ENOENT || errno == ENOTDIR ? Exit::notFound : Exit::writeFailure,
                     "make the folder", displayText(path));
    }
    return folder;
}

void renameFolder(const std::string& from, const std::string& to) {
    const std::string target = withoutEndSlashes(slashes(to));
    int result = renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
        result = rename(from.c_str(), target.c_str()); // replaces an empty folder at most
    }
    if (result != 0) {
        failBySystem(Exit::writeFailure, "make the folder", displayText(to));
    }
}

void removeEmptyFolder(const std::string& path) {
    rmdir(path.c_str());
}

struct ReplacedFile::State {
    std::string target; ///< links followed
    std::string shown;
    std::string temporary;
    FileIdentity temporaryIdentity;
    std::optional<FileIdentity> targetIdentity;
    mode_t targetMode = 0; ///< with targetIdentity
    bool committed = false;
};

ReplacedFile::ReplacedFile(const std::string& path)
    : m_state(std::make_unique<State>()) {
    State& state = *m_state;
    state.target = slashes(path);
    state.shown = displayText(path);
    // A link stays one: the file that it leads to is replaced.
    for (int links = 0; links < 40; ++links) {
        char leads[4096];
        const ssize_t length = readlink(state.target.c_str(), leads, sizeof(leads));
        if (length <= 0 || static_cast<std::size_t>(length) == sizeof(leads)) {
            break;
        }
        const std::string next(leads, static_cast<std::size_t>(length));
        state.target = next.front() == '/' ? next : join(parentOf(state.target), next);
    }
    struct stat status {};
    if (lstat(state.target.c_str(), &status) == 0) {
        checkReplacedFile(whatItIs(status), state.shown);
        state.targetIdentity = identityOf(status);
        state.targetMode = status.st_mode & 07777;
    } else if (errno != ENOENT) {
        failBySystem(errno == ENOTDIR ? Exit::notFound : Exit::writeFailure, "write", state.shown);
    }
    if (state.target.empty() || state.target.back() == '/') {
        throw Failure(Exit::writeFailure, "not a file name: " + state.shown);
    }
    const std::string temporary = join(parentOf(state.target), temporaryFileName());
    // What takes an old file's place may be for fewer eyes than a new one: until then it is for the owner's.
    const mode_t mode = state.targetIdentity ? 0600 : 0666;
    const Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file) {
        failBySystem(errno == ENOENT ? Exit::notFound : Exit::writeFailure, "write", state.shown);
    }
    state.temporary = temporary;
    if (fstat(file.get(), &status) == 0) {
        state.temporaryIdentity = identityOf(status);
    }
}

ReplacedFile::~ReplacedFile() {
    if (!m_state->committed) {
        unlink(m_state->temporary.c_str());
    }
}

const std::string& ReplacedFile::temporaryPath() const {
    return m_state->temporary;
}

ReplacedFile::Self ReplacedFile::self(FolderCursor& cursor, const std::u16string& name) const {
    const FileIdentity identity = cursor.identity(name);
    return identity == m_state->temporaryIdentity ? Self::temporary
           : identity == m_state->targetIdentity  ? Self::target
                                                  : Self::no;
}

std::uint64_t ReplacedFile::writtenSize() const {
    struct stat status {};
    return stat(m_state->temporary.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void ReplacedFile::commit() {
    State& state = *m_state;
    const Descriptor file(::open(state.temporary.c_str(), O_RDWR | O_CLOEXEC));
    if (!file || (state.targetIdentity && fchmod(file.get(), state.targetMode) != 0) ||
        fsync(file.get()) != 0 || rename(state.temporary.c_str(), state.target.c_str()) != 0) {
        failBySystem(Exit::writeFailure, "write", state.shown);
    }
    state.committed = true;
    const Descriptor folder(::open(parentOf(state.target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
        fsync(folder.get()); // a file system that cannot do this for folders keeps the rename all the same
    }
}

} // namespace mvtool
