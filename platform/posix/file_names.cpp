// Files and folders by name: attributes, removal, renaming, copying, folders, temporary names.
#include "internal/file_names.h"
#include "internal/errno_map.h"
#include "internal/file_object.h"
#include "internal/file_sharing.h"
#include "internal/handles.h"
#include "internal/paths.h"
#include "internal/text.h"
#include "internal/times.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace mvplat {

bool takePath(LPCWSTR given, std::string& path) {
    if (!given || !*given) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return false;
    }
    path = systemPath(given);
    return true;
}

std::string parentOf(const std::string& path) {
    std::size_t end = path.find_last_not_of('/');
    if (end == std::string::npos)
        return "/";
    end = path.rfind('/', end);
    if (end == std::string::npos)
        return ".";
    end = path.find_last_not_of('/', end);
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

DWORD missingError(const std::string& path) {
    struct stat status;
    return ::stat(parentOf(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? ERROR_FILE_NOT_FOUND
                                                                                   : ERROR_PATH_NOT_FOUND;
}

DWORD pathError(const std::string& path) {
    const int number = errno;
    return number == ENOENT ? missingError(path) : errorFromErrno(number);
}

bool endsLikeFolderButIsNone(const std::string& path) {
    if (path.empty() || path.back() != '/')
        return false;
    const std::size_t last = path.find_last_not_of('/');
    struct stat status;
    return last != std::string::npos && ::stat(path.substr(0, last + 1).c_str(), &status) == 0 &&
           !S_ISDIR(status.st_mode);
}

bool isReadOnly(const struct stat& status) {
    return (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

DWORD attributesOf(mode_t mode, bool link) {
    DWORD attributes = 0;
    if (S_ISDIR(mode))
        attributes |= FILE_ATTRIBUTE_DIRECTORY;
    else if (S_ISREG(mode) || S_ISLNK(mode))
        attributes |= FILE_ATTRIBUTE_ARCHIVE;
    else
        attributes |= FILE_ATTRIBUTE_DEVICE;
    if (!S_ISLNK(mode) && (mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        attributes |= FILE_ATTRIBUTE_READONLY;
    if (link)
        attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return attributes;
}

namespace {

// The time when the file came to be; systems that do not know it give the earliest time they do know.
FILETIME creationTime(int descriptor, const char* path, int flags, const struct stat& status) {
    struct statx more;
    if (::statx(descriptor, path, flags, STATX_BTIME, &more) == 0 && (more.stx_mask & STATX_BTIME))
        return fileTimeOf(timespec{more.stx_btime.tv_sec, static_cast<long>(more.stx_btime.tv_nsec)});
    const FILETIME change = fileTimeOf(status.st_ctim);
    const FILETIME write = fileTimeOf(status.st_mtim);
    return CompareFileTime(&change, &write) < 0 ? change : write;
}

void fill(const struct stat& status, bool link, const FILETIME& creation, WIN32_FILE_ATTRIBUTE_DATA& data) {
    const std::uint64_t size = S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
    data.dwFileAttributes = attributesOf(status.st_mode, link);
    data.ftCreationTime = creation;
    data.ftLastAccessTime = fileTimeOf(status.st_atim);
    data.ftLastWriteTime = fileTimeOf(status.st_mtim);
    data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(size);
}

// What a name stands for: the target of a link, or the link itself when it leads nowhere.
bool look(const std::string& path, struct stat& status, bool& link) {
    struct stat itself;
    if (::lstat(path.c_str(), &itself) != 0) {
        SetLastError(endsLikeFolderButIsNone(path) ? DWORD{ERROR_PATH_NOT_FOUND} : pathError(path));
        return false;
    }
    link = S_ISLNK(itself.st_mode);
    if (!link || ::stat(path.c_str(), &status) != 0)
        status = itself;
    return true;
}

bool fail(DWORD error) {
    SetLastError(error);
    return false;
}

// Whether a file may be taken from its name: no handle anywhere stands against it.
bool mayTakeName(const std::string& path, const struct stat& status) {
    const SharedUse use = {useDelete, useAll};
    if (wouldClash(status, use))
        return fail(ERROR_SHARING_VIOLATION);
    if (!S_ISREG(status.st_mode))
        return true;
    // Other processes: only seen through a file opened for it, which the rights may forbid.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return true;
    const bool clash = wouldClashOutside(descriptor, use);
    ::close(descriptor);
    return clash ? fail(ERROR_SHARING_VIOLATION) : true;
}

bool remove(const std::string& path) {
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0)
        return fail(endsLikeFolderButIsNone(path) ? DWORD{ERROR_INVALID_NAME} : pathError(path));
    if (S_ISDIR(status.st_mode) || (S_ISREG(status.st_mode) && isReadOnly(status)))
        return fail(ERROR_ACCESS_DENIED);
    if (!mayTakeName(path, status))
        return false;
    if (::unlink(path.c_str()) != 0)
        return fail(pathError(path));
    return true;
}

bool sameFile(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool copyBytes(int from, int to) {
    // The kernel copies by itself where it can; the loop below is for the rest of the file systems.
    bool offloaded = true;
    for (;;) {
        if (offloaded) {
            const ssize_t copied = ::copy_file_range(from, nullptr, to, nullptr, 1 << 30, 0);
            if (copied > 0)
                continue;
            if (copied < 0 && errno == EINTR)
                continue;
            // Some special files claim to be empty: ask by reading, too.
            offloaded = false;
        }
        char block[65536];
        const ssize_t got = ::read(from, block, sizeof block);
        if (got == 0)
            return true;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return fail(errorFromErrno(errno));
        }
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::write(to, block + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno != EINTR)
                return fail(errorFromErrno(errno));
            if (put > 0)
                done += put;
        }
    }
}

// Closes a handle of the layer at the end of a block.
class HandleOwner {
public:
    explicit HandleOwner(HANDLE handle)
        : m_handle(handle) {}
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;
    ~HandleOwner() { close(); }
    bool close() {
        const HANDLE handle = std::exchange(m_handle, INVALID_HANDLE_VALUE);
        return handle == INVALID_HANDLE_VALUE || CloseHandle(handle);
    }
    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

bool copyFile(LPCWSTR existing, LPCWSTR target, bool failIfExists) {
    std::string targetPath;
    if (!takePath(target, targetPath))
        return false;
    HandleOwner source(CreateFileW(existing, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (source.get() == INVALID_HANDLE_VALUE)
        return false;
    const PinnedAs<FileObject> from(source.get());
    struct stat status;
    if (::fstat(from->m_descriptor, &status) != 0)
        return fail(errorFromErrno(errno));
    HandleOwner copy(CreateFileW(target, GENERIC_WRITE, 0, nullptr, failIfExists ? CREATE_NEW : CREATE_ALWAYS,
                                 0, nullptr));
    if (copy.get() == INVALID_HANDLE_VALUE)
        return false;
    bool good;
    {
        const PinnedAs<FileObject> to(copy.get());
        good = copyBytes(from->m_descriptor, to->m_descriptor);
        if (good) {
            const timespec times[2] = {{0, UTIME_OMIT}, status.st_mtim};
            ::futimens(to->m_descriptor, times);
            ::fchmod(to->m_descriptor, status.st_mode & 0777);
        }
    }
    const DWORD error = GetLastError();
    if (!copy.close() && good)
        good = false;
    else if (!good)
        SetLastError(error);
    if (!good)
        ::unlink(targetPath.c_str()); // half a copy is worse than none
    return good;
}

bool syncFolderOf(const std::string& path) {
    const int folder = ::open(parentOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return fail(errorFromErrno(errno));
    const bool good = ::fsync(folder) == 0 || errno == EINVAL;
    if (!good)
        setLastErrno();
    ::close(folder);
    return good;
}

int renameWithoutReplacing(const char* from, const char* to) {
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A file system without the flag; a moment remains in which the target may appear.
    struct stat status;
    if (::lstat(to, &status) == 0)
        return EEXIST;
    return ::rename(from, to) == 0 ? 0 : errno;
}

bool move(LPCWSTR existing, LPCWSTR target, DWORD flags) {
    std::string from;
    std::string to;
    if (!takePath(existing, from) || !takePath(target, to))
        return false;
    struct stat source;
    if (::lstat(from.c_str(), &source) != 0)
        return fail(pathError(from));
    struct stat occupied;
    const bool exists = ::lstat(to.c_str(), &occupied) == 0;
    const bool replace = flags & MOVEFILE_REPLACE_EXISTING;
    const bool same = exists && sameFile(source, occupied) && source.st_nlink == 1;
    if (exists && !same) {
        if (!replace)
            return fail(ERROR_ALREADY_EXISTS);
        if (S_ISDIR(occupied.st_mode) || S_ISDIR(source.st_mode) ||
            (S_ISREG(occupied.st_mode) && isReadOnly(occupied)))
            return fail(ERROR_ACCESS_DENIED);
        // The one error number that tells a target in use from a source in use.
        if (!mayTakeName(to, occupied))
            return fail(ERROR_ACCESS_DENIED);
    }
    if (!mayTakeName(from, source))
        return false;
    int error = 0;
    if (replace || same)
        error = ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    else
        error = renameWithoutReplacing(from.c_str(), to.c_str());
    if (error == EXDEV && (flags & MOVEFILE_COPY_ALLOWED) && S_ISREG(source.st_mode)) {
        if (!copyFile(existing, target, !replace))
            return false;
        if (::unlink(from.c_str()) != 0)
            return fail(pathError(from));
        error = 0;
    }
    if (error == EEXIST || error == ENOTEMPTY)
        return fail(ERROR_ALREADY_EXISTS);
    if (error == EINVAL) // a folder into itself
        return fail(ERROR_SHARING_VIOLATION);
    if (error == ENOENT)
        return fail(missingError(to) == ERROR_PATH_NOT_FOUND ? DWORD{ERROR_PATH_NOT_FOUND}
                                                             : DWORD{ERROR_FILE_NOT_FOUND});
    if (error != 0)
        return fail(errorFromErrno(error));
    return !(flags & MOVEFILE_WRITE_THROUGH) || syncFolderOf(to);
}

bool removeFolder(LPCWSTR folder) {
    if (!folder || !*folder)
        return fail(folder ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND);
    std::string path = systemPath(folder);
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    struct stat itself;
    if (::lstat(path.c_str(), &itself) != 0)
        return fail(pathError(path));
    struct stat status;
    if (S_ISLNK(itself.st_mode)) {
        // A link to a folder goes, and the folder stays.
        if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
            return fail(ERROR_DIRECTORY);
        return ::unlink(path.c_str()) == 0 || fail(pathError(path));
    }
    if (!S_ISDIR(itself.st_mode))
        return fail(ERROR_DIRECTORY);
    if (::stat(".", &status) == 0 && sameFile(status, itself))
        return fail(ERROR_SHARING_VIOLATION);
    if (::rmdir(path.c_str()) == 0)
        return true;
    return fail(errno == EEXIST || errno == ENOTEMPTY ? DWORD{ERROR_DIR_NOT_EMPTY} : pathError(path));
}

} // namespace

void fillAttributes(int descriptor, const struct stat& status, WIN32_FILE_ATTRIBUTE_DATA& data) {
    fill(status, false, creationTime(descriptor, "", AT_EMPTY_PATH, status), data);
}

} // namespace mvplat

using namespace mvplat;

DWORD GetFileAttributesW(LPCWSTR fileName) {
    return guarded(INVALID_FILE_ATTRIBUTES, [&]() -> DWORD {
        std::string path;
        struct stat status;
        bool link;
        if (!takePath(fileName, path) || !look(path, status, link))
            return INVALID_FILE_ATTRIBUTES;
        return attributesOf(status.st_mode, link);
    });
}

BOOL GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level, LPVOID information) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        if (level != GetFileExInfoStandard || !information) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
        }
        std::string path;
        struct stat status;
        bool link;
        if (!takePath(fileName, path) || !look(path, status, link))
            return FALSE;
        const int flags = S_ISLNK(status.st_mode) ? AT_SYMLINK_NOFOLLOW : 0;
        fill(status, link, creationTime(AT_FDCWD, path.c_str(), flags, status),
             *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(information));
        return TRUE;
    });
}

BOOL SetFileAttributesW(LPCWSTR fileName, DWORD attributes) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        std::string path;
        if (!takePath(fileName, path))
            return FALSE;
        struct stat status;
        if (::lstat(path.c_str(), &status) != 0)
            return fail(pathError(path));
        // As on Windows the link itself is meant; it has no rights that could be taken.
        if (S_ISLNK(status.st_mode))
            return TRUE;
        const bool readOnly = attributes & FILE_ATTRIBUTE_READONLY;
        if (readOnly == isReadOnly(status))
            return TRUE;
        // Giving the right back goes to the owner alone: who else had it is forgotten.
        const mode_t mode =
            readOnly ? status.st_mode & ~mode_t{S_IWUSR | S_IWGRP | S_IWOTH} : status.st_mode | S_IWUSR;
        if (::chmod(path.c_str(), mode & 07777) != 0)
            return fail(pathError(path));
        return TRUE;
    });
}

BOOL DeleteFileW(LPCWSTR fileName) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        std::string path;
        return takePath(fileName, path) && remove(path);
    });
}

BOOL MoveFileW(LPCWSTR existing, LPCWSTR target) {
    return MoveFileExW(existing, target, MOVEFILE_COPY_ALLOWED);
}

BOOL MoveFileExW(LPCWSTR existing, LPCWSTR target, DWORD flags) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL { return move(existing, target, flags); });
}

BOOL CopyFileW(LPCWSTR existing, LPCWSTR target, BOOL failIfExists) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL { return copyFile(existing, target, failIfExists != 0); });
}

BOOL CreateDirectoryW(LPCWSTR folder, LPSECURITY_ATTRIBUTES /*attributes*/) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        std::string path;
        if (!takePath(folder, path))
            return FALSE;
        if (::mkdir(path.c_str(), 0777) == 0)
            return TRUE;
        return fail(errno == ENOENT ? DWORD{ERROR_PATH_NOT_FOUND} : pathError(path));
    });
}

BOOL RemoveDirectoryW(LPCWSTR folder) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL { return removeFolder(folder); });
}

DWORD GetCurrentDirectoryW(DWORD size, LPWSTR buffer) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        std::wstring folder;
        return currentFolder(folder) ? copyOut(folder, buffer, size) : 0;
    });
}

BOOL SetCurrentDirectoryW(LPCWSTR folder) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        if (!folder || !*folder)
            return fail(ERROR_INVALID_NAME);
        const std::string path = systemPath(folder);
        if (::chdir(path.c_str()) == 0)
            return TRUE;
        const int number = errno;
        struct stat status;
        if (number == ENOTDIR && ::stat(path.c_str(), &status) == 0)
            return fail(ERROR_DIRECTORY);
        errno = number;
        return fail(endsLikeFolderButIsNone(path) ? DWORD{ERROR_DIRECTORY} : pathError(path));
    });
}

DWORD GetTempPathW(DWORD size, LPWSTR buffer) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        std::string folder = "/tmp";
        for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
            if (const char* value = std::getenv(variable); value && *value) {
                folder = value;
                break;
            }
        }
        std::wstring path;
        if (!absolutePath(widePath(folder), path))
            return 0;
        if (path.back() != L'\\')
            path += L'\\';
        return copyOut(path, buffer, size);
    });
}

UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR fileName) {
    return guarded(UINT{0}, [&]() -> UINT {
        if (!folder || !fileName) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
        }
        std::wstring base(folder);
        if (!base.empty() && !isSeparator(base.back())) // an empty one names no folder
            base += L'\\';
        // "pre" + "ffff" + ".tmp" and the end must still fit into MAX_PATH characters.
        constexpr std::size_t longestFolder = MAX_PATH - 14;
        struct stat status;
        if (base.size() > longestFolder) {
            SetLastError(ERROR_BUFFER_OVERFLOW);
            return 0;
        }
        if (::stat(systemPath(base).c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
            SetLastError(ERROR_DIRECTORY);
            return 0;
        }
        base.append(prefix ? prefix : L"", prefix ? wcsnlen(prefix, 3) : 0);
        const auto build = [&](UINT number) {
            wchar_t digits[9];
            std::wstring path = base;
            path += _itow(static_cast<int>(number), digits, 16);
            path += L".tmp";
            return path;
        };
        const auto deliver = [&](const std::wstring& path, UINT number) {
            std::wmemcpy(fileName, path.c_str(), path.size() + 1);
            return number;
        };
        if ((unique & 0xFFFF) != 0)
            return deliver(build(unique & 0xFFFF), unique & 0xFFFF);
        // Each call of the process starts behind the one before; the clock keeps processes apart.
        static std::atomic<UINT> next{GetTickCount() ^ (GetCurrentProcessId() << 4)};
        for (UINT tried = 0; tried < 0xFFFF; ++tried) {
            const UINT number = (next.fetch_add(1, std::memory_order_relaxed) % 0xFFFF) + 1;
            const std::wstring path = build(number);
            const int descriptor =
                ::open(systemPath(path).c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOCTTY, 0600);
            if (descriptor >= 0) {
                ::close(descriptor);
                return deliver(path, number);
            }
            if (errno != EEXIST) {
                setLastErrno();
                return 0;
            }
        }
        SetLastError(ERROR_FILE_EXISTS);
        return 0;
    });
}

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        const char* value = name && *name ? std::getenv(utf8FromWide(name).c_str()) : nullptr;
        if (!value) {
            SetLastError(ERROR_ENVVAR_NOT_FOUND);
            return 0;
        }
        return copyOut(wideFromUtf8(value), buffer, size);
    });
}

BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value) {
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        if (!name || !*name || std::wcschr(name, L'='))
            return fail(ERROR_INVALID_PARAMETER);
        const std::string variable = utf8FromWide(name);
        const int result =
            value ? ::setenv(variable.c_str(), utf8FromWide(value).c_str(), 1) : ::unsetenv(variable.c_str());
        if (result != 0)
            return fail(errorFromErrno(errno));
        return TRUE;
    });
}
