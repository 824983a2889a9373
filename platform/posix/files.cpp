// Open files: create, read, write, seek, lock, times.
#include "../file_size.h"
#include "internal/errno_map.h"
#include "internal/file_names.h"
#include "internal/file_object.h"
#include "internal/text.h"
#include "internal/times.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace mvplat {

DWORD FileObject::closeFile() {
    if (m_descriptor < 0)
        return 0;
    if (m_shared) {
        // Closing takes the marks and locks of this open down, unless somebody has a copy of the descriptor,
        // as a mapping of the file has.
        if ((descriptorsMayBeCopied() || !m_shared->mappedSizes.empty()) && m_openedBy == processCopyNumber())
            removeUseOutside(m_descriptor);
        removeUse(m_shared, &m_use);
        m_shared = nullptr;
    }
    if (!m_deletePath.empty())
        ::unlink(m_deletePath.c_str());
    DWORD error = 0;
    if (m_ownsDescriptor && ::close(m_descriptor) != 0 && errno != EINTR)
        error = errorFromErrno(errno);
    m_descriptor = -1;
    return error;
}

namespace {

constexpr DWORD errorInvalidUserBuffer = 1784;

unsigned usesOf(DWORD access, DWORD flags) {
    unsigned uses = 0;
    if (access & (GENERIC_READ | GENERIC_EXECUTE | GENERIC_ALL | FILE_READ_DATA))
        uses |= useRead;
    if (access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA | FILE_APPEND_DATA))
        uses |= useWrite;
    if ((access & (DELETE | GENERIC_ALL)) || (flags & FILE_FLAG_DELETE_ON_CLOSE))
        uses |= useDelete;
    return uses;
}

struct Opened {
    int descriptor = -1;
    bool created = false;
    bool made = false; // by this open, and nothing else stands at its path
    bool readable = false;
    bool writable = false;
};

// Opens with what the access needs, and for reading too where the system permits it, since the marks of
// sharing want that. Answers an errno value.
int openDescriptor(const char* path, unsigned uses, bool truncates, int flags, mode_t mode, Opened& opened) {
    flags |= O_CLOEXEC | O_NOCTTY;
    const bool writes = (uses & useWrite) || truncates;
    if (!writes && !(uses & useRead) && !(flags & O_CREAT)) {
        opened.descriptor = ::open(path, flags | O_PATH);
        return opened.descriptor < 0 ? errno : 0;
    }
    opened.readable = true;
    opened.writable = writes;
    opened.descriptor = ::open(path, flags | (writes ? O_RDWR : O_RDONLY), mode);
    if (opened.descriptor < 0 && writes && !(uses & useRead) && (errno == EACCES || errno == ENXIO)) {
        opened.readable = false;
        opened.descriptor = ::open(path, flags | O_WRONLY, mode);
    }
    return opened.descriptor < 0 ? errno : 0;
}

int openByDisposition(const char* path, DWORD disposition, unsigned uses, bool truncates, mode_t mode,
                      Opened& opened) {
    if (disposition == CREATE_NEW) {
        opened.created = true;
        const int error = openDescriptor(path, uses, false, O_CREAT | O_EXCL, mode, opened);
        opened.made = error == 0;
        return error;
    }
    int error = openDescriptor(path, uses, truncates, 0, mode, opened);
    if (error != ENOENT || disposition == OPEN_EXISTING || disposition == TRUNCATE_EXISTING)
        return error;
    // It may come and go meanwhile; a link to nothing exists and does not, and is followed in the end.
    for (int attempt = 0; attempt < 4; ++attempt) {
        error = openDescriptor(path, uses, truncates, O_CREAT | O_EXCL, mode, opened);
        opened.created = opened.made = error == 0;
        if (error != EEXIST)
            return error;
        error = openDescriptor(path, uses, truncates, 0, mode, opened);
        if (error != ENOENT)
            return error;
    }
    opened.created = true;
    return openDescriptor(path, uses, truncates, O_CREAT, mode, opened);
}

DWORD openError(const std::string& path, int error, DWORD disposition) {
    if (endsLikeFolderButIsNone(path))
        return ERROR_INVALID_NAME;
    if (error == EISDIR && !path.empty() && path.back() == '/') {
        struct stat status;
        return ::stat(path.c_str(), &status) == 0 ? ERROR_ACCESS_DENIED : ERROR_INVALID_NAME;
    }
    if (error == EEXIST)
        return disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_ALREADY_EXISTS;
    errno = error;
    return pathError(path);
}

DWORD typeOf(const struct stat& status) {
    if (S_ISCHR(status.st_mode))
        return FILE_TYPE_CHAR;
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ? FILE_TYPE_PIPE : FILE_TYPE_DISK;
}

// Finishes an open file into a FileObject, or answers the error. The descriptor belongs to `file` from the
// start.
DWORD settle(FileObject& file, const Opened& opened, const char* path, DWORD share, DWORD flags,
             unsigned uses, bool truncates, struct stat& status) {
    if (::fstat(file.m_descriptor, &status) != 0)
        return errorFromErrno(errno);
    const bool folder = S_ISDIR(status.st_mode);
    if (folder && !(flags & FILE_FLAG_BACKUP_SEMANTICS))
        return ERROR_ACCESS_DENIED;
    if (!opened.created && !folder && isReadOnly(status) &&
        ((uses & useWrite) || truncates || (flags & FILE_FLAG_DELETE_ON_CLOSE)))
        return ERROR_ACCESS_DENIED;
    file.m_type = typeOf(status);
    file.m_stream = file.m_type != FILE_TYPE_DISK;
    file.m_regular = S_ISREG(status.st_mode);
    file.m_writableDescriptor = opened.writable;
    file.m_use.uses = uses;
    file.m_use.shares = share & useAll;
    if (!file.m_stream && uses != 0) {
        if (!enterUse(status, &file.m_use, file.m_shared))
            return ERROR_SHARING_VIOLATION;
        if (!folder && !enterUseOutside(file.m_descriptor, opened.readable, file.m_use))
            return ERROR_SHARING_VIOLATION;
    }
    if (truncates && !opened.created && status.st_size != 0 && file.m_shared &&
        isMappedBeyond(file.m_shared, 0))
        return ERROR_USER_MAPPED_FILE;
    if (flags & FILE_FLAG_DELETE_ON_CLOSE)
        file.m_deletePath = path;
    return 0;
}

// Removes a file that was just made, unless it is kept.
class NewFile {
public:
    NewFile(const char* path, bool made)
        : m_path(path)
        , m_removes(made) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (m_removes)
            ::unlink(m_path);
    }
    void Keep() { m_removes = false; }

private:
    const char* const m_path;
    bool m_removes;
};

HANDLE create(LPCWSTR fileName, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    if (!fileName || !*fileName) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    const SystemPath systemPath(fileName);
    const char* const path = systemPath.c_str();
    const unsigned uses = usesOf(access, flags);
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
        (disposition == TRUNCATE_EXISTING && !(uses & useWrite))) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const bool truncates = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    const mode_t mode = flags & FILE_ATTRIBUTE_READONLY ? 0444 : 0666;

    Ref<FileObject> file(new FileObject);
    Opened opened;
    int error = openByDisposition(path, disposition, uses, truncates, mode, opened);
    if (error == EISDIR && (flags & FILE_FLAG_BACKUP_SEMANTICS) && !truncates)
        error = openDescriptor(path, useRead, false, 0, mode, opened);
    if (error != 0) {
        SetLastError(openError(path, error, disposition));
        return INVALID_HANDLE_VALUE;
    }
    file->m_descriptor = opened.descriptor;
    file->m_appends =
        (access & FILE_APPEND_DATA) && !(access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA));
    // Memory that runs out from here on leaves nothing behind, and an old file as it was.
    NewFile made(path, opened.made);
    struct stat status;
    const DWORD failure = settle(*file, opened, path, share, flags, uses, truncates, status);
    if (failure != 0) {
        made.Keep();
        file = Ref<FileObject>();
        SetLastError(failure);
        return INVALID_HANDLE_VALUE;
    }
    if (flags & FILE_FLAG_WRITE_THROUGH) {
        const int now = ::fcntl(file->m_descriptor, F_GETFL);
        if (now >= 0)
            ::fcntl(file->m_descriptor, F_SETFL, now | O_DSYNC);
    }
    const bool existed = !opened.created && (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS);
    if (!truncates)
        file->m_sizeAtOpen = static_cast<std::uint64_t>(status.st_size);
    const int descriptor = file->m_descriptor;
    const HANDLE handle = openHandle(file.detach());
    if (!handle)
        return INVALID_HANDLE_VALUE;
    made.Keep();
    if (truncates && !opened.created && S_ISREG(status.st_mode) && status.st_size != 0 &&
        ::ftruncate(descriptor, 0) != 0) {
        const DWORD refused = errorFromErrno(errno);
        CloseHandle(handle);
        SetLastError(refused);
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(existed ? ERROR_ALREADY_EXISTS : NO_ERROR);
    return handle;
}

DWORD readError() {
    return errno == EISDIR ? ERROR_INVALID_FUNCTION : errorFromErrno(errno);
}

// Reads until the block is full or the file ends. 0 or an error; bytes that came before an error count as
// read.
DWORD readBlock(FileObject& file, void* buffer, std::size_t size, std::uint64_t position, DWORD& done) {
    auto* to = static_cast<char*>(buffer);
    while (done < size) {
        const ssize_t got = file.m_stream ? ::read(file.m_descriptor, to + done, size - done)
                                          : ::pread(file.m_descriptor, to + done, size - done,
                                                    static_cast<off_t>(position + done));
        if (got > 0) {
            done += static_cast<DWORD>(got);
            // A terminal or pipe gives what there is; more may never come.
            if (file.m_stream)
                break;
        } else if (got == 0) {
            break;
        } else if (errno != EINTR) {
            return done > 0 ? 0 : readError();
        }
    }
    return 0;
}

DWORD writeBlock(FileObject& file, const void* buffer, std::size_t size, std::uint64_t position,
                 DWORD& done) {
    const auto* from = static_cast<const char*>(buffer);
    while (done < size) {
        const ssize_t put = file.m_stream ? ::write(file.m_descriptor, from + done, size - done)
                                          : ::pwrite(file.m_descriptor, from + done, size - done,
                                                     static_cast<off_t>(position + done));
        if (put > 0)
            done += static_cast<DWORD>(put);
        else if (put < 0 && errno != EINTR)
            return errorFromErrno(errno);
    }
    return 0;
}

// The end of a range of bytes; what would pass the largest number ends there.
std::uint64_t endOf(std::uint64_t begin, std::uint64_t size) {
    return begin + std::min(size, UINT64_MAX - begin);
}

bool sizeOf(const FileObject& file, std::uint64_t& size) {
    // Less than half the time of asking for the whole status.
    if (file.m_regular) {
        const off_t end = ::lseek(file.m_descriptor, 0, SEEK_END);
        if (end >= 0) {
            size = static_cast<std::uint64_t>(end);
            return true;
        }
    }
    struct stat status;
    if (::fstat(file.m_descriptor, &status) != 0) {
        setLastErrno();
        return false;
    }
    size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool moveTo(FileObject& file, LONGLONG distance, DWORD method, std::uint64_t& position) {
    if (method > FILE_END) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    const std::lock_guard<std::mutex> lock(file.m_lock);
    if (file.m_stream) {
        const off_t reached = ::lseek(file.m_descriptor, distance, static_cast<int>(method));
        if (reached < 0) {
            SetLastError(errno == EINVAL ? ERROR_NEGATIVE_SEEK : errorFromErrno(errno));
            return false;
        }
        position = static_cast<std::uint64_t>(reached);
        return true;
    }
    LONGLONG base = 0;
    if (method == FILE_CURRENT) {
        base = static_cast<LONGLONG>(file.m_position);
    } else if (method == FILE_END) {
        std::uint64_t size;
        if (!sizeOf(file, size))
            return false;
        base = static_cast<LONGLONG>(size);
    }
    LONGLONG reached;
    if (__builtin_add_overflow(base, distance, &reached)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    if (reached < 0) {
        SetLastError(ERROR_NEGATIVE_SEEK);
        return false;
    }
    file.m_position = static_cast<std::uint64_t>(reached);
    position = file.m_position;
    return true;
}

// What reading and writing have in common. `move` moves the bytes from the file's position on and answers an
// error.
template <class Move>
BOOL transfer(HANDLE handle, bool writes, const void* buffer, DWORD size, LPDWORD count,
              LPOVERLAPPED overlapped, Move move) {
    const auto refused = [](DWORD error) {
        SetLastError(error);
        return BOOL{FALSE};
    };
    DWORD unasked = 0;
    DWORD& done = count ? *count : unasked;
    done = 0;
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    if (overlapped)
        return refused(ERROR_INVALID_PARAMETER);
    if (!(writes ? file->canWrite() : file->canRead()))
        return refused(ERROR_ACCESS_DENIED);
    if (size == 0)
        return TRUE;
    if (!buffer)
        return refused(writes ? errorInvalidUserBuffer : DWORD{ERROR_NOACCESS});
    const std::lock_guard<std::mutex> lock(file->m_lock);
    if (writes && file->m_appends && !file->m_stream && !sizeOf(*file, file->m_position))
        return FALSE;
    if (file->m_shared &&
        isLockedByOther(file->m_shared, &file->m_use, file->m_position, endOf(file->m_position, size)))
        return refused(ERROR_LOCK_VIOLATION);
    const DWORD error = move(*file, done);
    // What was moved before a failure stays so, and the position stands behind it.
    file->m_position += done;
    if (error == 0)
        return TRUE;
    done = 0;
    return refused(error);
}

} // namespace
} // namespace mvplat

using namespace mvplat;

HANDLE CreateFileW(LPCWSTR fileName, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES /*attributes*/,
                   DWORD disposition, DWORD flagsAndAttributes, HANDLE /*templateFile*/) {
    return guarded(INVALID_HANDLE_VALUE,
                   [&] { return create(fileName, access, share, disposition, flagsAndAttributes); });
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped) {
    return transfer(handle, false, buffer, size, read, overlapped, [&](FileObject& file, DWORD& done) {
        return readBlock(file, buffer, size, file.m_position, done);
    });
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
    return transfer(handle, true, buffer, size, written, overlapped, [&](FileObject& file, DWORD& done) {
        return writeBlock(file, buffer, size, file.m_position, done);
    });
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
    const PinnedAs<FileObject> file(handle);
    std::uint64_t reached;
    if (!file || !moveTo(*file, distance.QuadPart, method, reached))
        return FALSE;
    if (position)
        position->QuadPart = static_cast<LONGLONG>(reached);
    return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG distance, LONG* distanceHigh, DWORD method) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return INVALID_SET_FILE_POINTER;
    const LONGLONG whole = distanceHigh ? static_cast<LONGLONG>(static_cast<ULONGLONG>(*distanceHigh) << 32 |
                                                                static_cast<DWORD>(distance))
                                        : distance;
    std::uint64_t reached;
    if (!moveTo(*file, whole, method, reached))
        return INVALID_SET_FILE_POINTER;
    if (distanceHigh)
        *distanceHigh = static_cast<LONG>(reached >> 32);
    const DWORD low = static_cast<DWORD>(reached);
    // A position that looks like the failure says by last error that it is none.
    if (low == INVALID_SET_FILE_POINTER)
        SetLastError(NO_ERROR);
    return low;
}

BOOL SetEndOfFile(HANDLE handle) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    if (!file->canWrite()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    const std::lock_guard<std::mutex> lock(file->m_lock);
    if (file->m_shared && isMappedBeyond(file->m_shared, file->m_position)) {
        SetLastError(ERROR_USER_MAPPED_FILE);
        return FALSE;
    }
    if (::ftruncate(file->m_descriptor, static_cast<off_t>(file->m_position)) != 0) {
        setLastErrno();
        return FALSE;
    }
    return TRUE;
}

BOOL GetFileSizeEx(HANDLE handle, PLARGE_INTEGER size) {
    const PinnedAs<FileObject> file(handle);
    std::uint64_t bytes;
    if (!file || !sizeOf(*file, bytes))
        return FALSE;
    size->QuadPart = static_cast<LONGLONG>(bytes);
    return TRUE;
}

BOOL MvFileSizeAtOpen(HANDLE handle, PLARGE_INTEGER size) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    if (!file->m_regular) {
        SetLastError(ERROR_INVALID_FUNCTION);
        return FALSE;
    }
    size->QuadPart = static_cast<LONGLONG>(file->m_sizeAtOpen);
    return TRUE;
}

DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh) {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(handle, &size))
        return INVALID_FILE_SIZE;
    if (sizeHigh)
        *sizeHigh = static_cast<DWORD>(size.QuadPart >> 32);
    const DWORD low = static_cast<DWORD>(size.QuadPart);
    if (low == INVALID_FILE_SIZE)
        SetLastError(NO_ERROR);
    return low;
}

BOOL FlushFileBuffers(HANDLE handle) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    if (!file->canWrite()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    // Pipes and terminals hold nothing back.
    if (::fsync(file->m_descriptor) != 0 && errno != EINVAL && errno != EROFS) {
        setLastErrno();
        return FALSE;
    }
    return TRUE;
}

BOOL LockFile(HANDLE handle, DWORD offsetLow, DWORD offsetHigh, DWORD sizeLow, DWORD sizeHigh) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    const std::uint64_t begin = std::uint64_t(offsetHigh) << 32 | offsetLow;
    const std::uint64_t size = std::uint64_t(sizeHigh) << 32 | sizeLow;
    if (!file->m_shared || (size != 0 && begin + (size - 1) < begin)) {
        SetLastError(file->m_shared ? ERROR_INVALID_PARAMETER : ERROR_ACCESS_DENIED);
        return FALSE;
    }
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        if (lockRange(file->m_shared, &file->m_use, begin, endOf(begin, size), file->m_descriptor,
                      file->m_writableDescriptor))
            return TRUE;
        SetLastError(ERROR_LOCK_VIOLATION);
        return FALSE;
    });
}

BOOL UnlockFile(HANDLE handle, DWORD offsetLow, DWORD offsetHigh, DWORD sizeLow, DWORD sizeHigh) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    const std::uint64_t begin = std::uint64_t(offsetHigh) << 32 | offsetLow;
    const std::uint64_t end = endOf(begin, std::uint64_t(sizeHigh) << 32 | sizeLow);
    if (!file->m_shared || !unlockRange(file->m_shared, &file->m_use, begin, end, file->m_descriptor)) {
        SetLastError(ERROR_NOT_LOCKED);
        return FALSE;
    }
    return TRUE;
}

DWORD GetFileType(HANDLE handle) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FILE_TYPE_UNKNOWN;
    SetLastError(NO_ERROR);
    return file->m_type;
}

BOOL GetFileTime(HANDLE handle, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite) {
    BY_HANDLE_FILE_INFORMATION information;
    if (!GetFileInformationByHandle(handle, &information))
        return FALSE;
    if (creation)
        *creation = information.ftCreationTime;
    if (lastAccess)
        *lastAccess = information.ftLastAccessTime;
    if (lastWrite)
        *lastWrite = information.ftLastWriteTime;
    return TRUE;
}

BOOL SetFileTime(HANDLE handle, const FILETIME* /*creation*/, const FILETIME* lastAccess,
                 const FILETIME* lastWrite) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    timespec times[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
    // Zero means "leave it".
    if (lastAccess && ticksOf(*lastAccess) != 0)
        times[0] = timespecOf(*lastAccess);
    if (lastWrite && ticksOf(*lastWrite) != 0)
        times[1] = timespecOf(*lastWrite);
    // A handle without read or write access is no descriptor that futimens takes; its name below /proc always
    // works.
    const std::string name = "/proc/self/fd/" + std::to_string(file->m_descriptor);
    if (::utimensat(AT_FDCWD, name.c_str(), times, 0) != 0) {
        setLastErrno();
        return FALSE;
    }
    return TRUE;
}

BOOL GetFileInformationByHandle(HANDLE handle, LPBY_HANDLE_FILE_INFORMATION information) {
    const PinnedAs<FileObject> file(handle);
    if (!file)
        return FALSE;
    struct stat status;
    if (::fstat(file->m_descriptor, &status) != 0) {
        setLastErrno();
        return FALSE;
    }
    WIN32_FILE_ATTRIBUTE_DATA data;
    fillAttributes(file->m_descriptor, status, data);
    information->dwFileAttributes = data.dwFileAttributes;
    information->ftCreationTime = data.ftCreationTime;
    information->ftLastAccessTime = data.ftLastAccessTime;
    information->ftLastWriteTime = data.ftLastWriteTime;
    information->dwVolumeSerialNumber = static_cast<DWORD>(status.st_dev);
    information->nFileSizeHigh = data.nFileSizeHigh;
    information->nFileSizeLow = data.nFileSizeLow;
    information->nNumberOfLinks = static_cast<DWORD>(status.st_nlink);
    information->nFileIndexHigh = static_cast<DWORD>(status.st_ino >> 32);
    information->nFileIndexLow = static_cast<DWORD>(status.st_ino);
    return TRUE;
}

namespace {

HANDLE standardHandle(int descriptor, unsigned uses) {
    struct stat status;
    if (::fstat(descriptor, &status) != 0)
        return nullptr;
    Ref<FileObject> file(new FileObject);
    file->m_descriptor = descriptor;
    file->m_ownsDescriptor = false;
    file->m_stream = true;
    file->m_type = typeOf(status);
    file->m_use.uses = uses;
    file->m_use.shares = useAll;
    return openHandle(file.detach());
}

} // namespace

HANDLE GetStdHandle(DWORD stream) {
    return guarded(HANDLE{INVALID_HANDLE_VALUE}, [stream]() -> HANDLE {
        switch (stream) {
        case STD_INPUT_HANDLE: {
            static const HANDLE handle = standardHandle(STDIN_FILENO, useRead);
            return handle;
        }
        case STD_OUTPUT_HANDLE: {
            static const HANDLE handle = standardHandle(STDOUT_FILENO, useWrite);
            return handle;
        }
        case STD_ERROR_HANDLE: {
            static const HANDLE handle = standardHandle(STDERR_FILENO, useWrite);
            return handle;
        }
        default:
            SetLastError(ERROR_INVALID_HANDLE);
            return INVALID_HANDLE_VALUE;
        }
    });
}

BOOL GetConsoleMode(HANDLE console, LPDWORD mode) {
    const PinnedAs<FileObject> file(console);
    if (!file)
        return FALSE;
    if (!::isatty(file->m_descriptor)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    *mode = 3;
    return TRUE;
}
