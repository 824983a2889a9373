// Searches in folders.
#include "../folder_entries.h"
#include "internal/errno_map.h"
#include "internal/file_names.h"
#include "internal/file_pattern.h"
#include "internal/handles.h"
#include "internal/paths.h"
#include "internal/text.h"
#include "internal/times.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace mvplat {
namespace {

// Of a folder's listing, as many bytes as one system call brings.
constexpr std::size_t blockSize = 32768;

FILETIME fileTimeOf(const statx_timestamp& time) {
    return mvplat::fileTimeOf(timespec{static_cast<time_t>(time.tv_sec), static_cast<long>(time.tv_nsec)});
}

struct FolderIdentity {
    unsigned major;
    unsigned minor;
    std::uint64_t inode;
    friend bool operator==(const FolderIdentity&, const FolderIdentity&) = default;
};

FolderIdentity identityOf(const struct statx& status) {
    return {status.stx_dev_major, status.stx_dev_minor, status.stx_ino};
}

bool look(int folder, const char* name, int flags, struct statx& status) {
    return ::statx(folder, name, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS | STATX_BTIME, &status) == 0;
}

// The folders that a path leads through, and the folder itself.
std::vector<FolderIdentity> foldersOn(const std::string& path) {
    std::string whole = path;
    if (whole.empty() || whole.front() != '/') {
        std::wstring current;
        if (currentFolder(current))
            whole = systemPath(current) + '/' + whole;
    }
    std::vector<FolderIdentity> folders;
    struct statx status;
    for (std::size_t at = 0; at < whole.size();) {
        at = whole.find('/', at);
        at = at == std::string::npos ? whole.size() : at + 1;
        if (look(AT_FDCWD, whole.substr(0, at).c_str(), 0, status))
            folders.push_back(identityOf(status));
    }
    return folders;
}

class FindObject : public Object {
public:
    static bool isA(Kind kind) { return kind == Kind::Find; }

    FindObject(std::string path, std::wstring_view pattern, bool namesOnly)
        : Object(Kind::Find)
        , m_path(std::move(path))
        , m_pattern(pattern)
        , m_namesOnly(namesOnly) {}
    ~FindObject() override {
        if (m_folder >= 0)
            ::close(m_folder);
    }

    DWORD open();
    // Gives the one entry of that name; nothing further follows.
    DWORD takeOnly(const std::string& name, std::wstring_view wide, WIN32_FIND_DATAW& data);
    DWORD next(WIN32_FIND_DATAW& data);

private:
    enum class Entry { Good, Gone };

    Entry fill(const char* name, unsigned char type, WIN32_FIND_DATAW& data);
    Entry fillLink(const char* name, const struct statx& itself, WIN32_FIND_DATAW& data);
    void set(DWORD attributes, const struct statx& status, WIN32_FIND_DATAW& data) const;
    bool leadsBack(const struct statx& target);
    bool takeName(const char* name, WIN32_FIND_DATAW& data) const;

    const std::string m_path; // of the folder
    const FilePattern m_pattern;
    const bool m_namesOnly;
    int m_folder = -1;
    unsigned m_dots = 2; // how many of "." and ".." are still to come
    std::unique_ptr<char[]> m_block;
    std::size_t m_at = 0;
    std::size_t m_end = 0;
    bool m_done = false;
    std::vector<FolderIdentity> m_foldersOnPath; // found out when a link is met
    std::mutex m_lock;
};

DWORD FindObject::open() {
    const char* const path = m_path.empty() ? "." : m_path.c_str();
    m_folder = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0) {
        const int number = errno;
        struct stat status;
        if (number == ENOTDIR) {
            const std::string bare = m_path.substr(0, m_path.find_last_not_of('/') + 1);
            return ::stat(bare.c_str(), &status) == 0 ? ERROR_DIRECTORY : ERROR_PATH_NOT_FOUND;
        }
        if (number == ENOENT)
            return m_path.find_first_of("*?") == std::string::npos ? ERROR_PATH_NOT_FOUND
                                                                   : ERROR_INVALID_NAME;
        return errorFromErrno(number);
    }
    if (m_path.find_first_not_of('/') == std::string::npos && !m_path.empty())
        m_dots = 0;
    m_block.reset(new char[blockSize]);
    return 0;
}

void FindObject::set(DWORD attributes, const struct statx& status, WIN32_FIND_DATAW& data) const {
    data.dwFileAttributes = attributes;
    data.dwReserved0 = attributes & FILE_ATTRIBUTE_REPARSE_POINT ? IO_REPARSE_TAG_SYMLINK : 0;
    data.dwReserved1 = 0;
    data.cAlternateFileName[0] = 0;
    const FILETIME change = fileTimeOf(status.stx_ctime);
    const FILETIME write = fileTimeOf(status.stx_mtime);
    if (status.stx_mask & STATX_BTIME)
        data.ftCreationTime = fileTimeOf(status.stx_btime);
    else
        data.ftCreationTime = CompareFileTime(&change, &write) < 0 ? change : write;
    data.ftLastAccessTime = fileTimeOf(status.stx_atime);
    data.ftLastWriteTime = write;
    const std::uint64_t size = S_ISREG(status.stx_mode) ? status.stx_size : 0;
    data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(size);
}

bool FindObject::leadsBack(const struct statx& target) {
    if (m_foldersOnPath.empty())
        m_foldersOnPath = foldersOn(m_path);
    return std::find(m_foldersOnPath.begin(), m_foldersOnPath.end(), identityOf(target)) !=
           m_foldersOnPath.end();
}

FindObject::Entry FindObject::fillLink(const char* name, const struct statx& itself, WIN32_FIND_DATAW& data) {
    struct statx target;
    if (!look(m_folder, name, 0, target))
        set(attributesOf(S_IFLNK, true), itself, data);
    else if (S_ISDIR(target.stx_mode) && leadsBack(target))
        set(attributesOf(S_IFLNK, true), target, data);
    else
        set(attributesOf(target.stx_mode, true), target, data);
    return Entry::Good;
}

FindObject::Entry FindObject::fill(const char* name, unsigned char type, WIN32_FIND_DATAW& data) {
    if (m_namesOnly && type != DT_LNK && type != DT_UNKNOWN) {
        data.dwFileAttributes = type == DT_DIR ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
        return Entry::Good;
    }
    struct statx status;
    if (!look(m_folder, name, AT_SYMLINK_NOFOLLOW, status)) {
        if (errno == ENOENT || type == DT_UNKNOWN)
            return Entry::Gone;
        // A folder that may be listed and not entered tells the kinds of its entries and no more.
        std::memset(&status, 0, sizeof status);
        status.stx_mode = static_cast<std::uint16_t>(DTTOIF(type) | S_IWUSR);
    }
    if (S_ISLNK(status.stx_mode))
        return fillLink(name, status, data);
    set(attributesOf(status.stx_mode, false), status, data);
    return Entry::Good;
}

bool FindObject::takeName(const char* name, WIN32_FIND_DATAW& data) const {
    std::size_t length = 0;
    while (name[length] != 0 && length < MAX_PATH - 1 && static_cast<unsigned char>(name[length]) < 0x80 &&
           name[length] != '\\') {
        data.cFileName[length] = name[length];
        ++length;
    }
    if (name[length] != 0) {
        const std::wstring wide = wideName(name);
        if (wide.size() >= MAX_PATH)
            return false; // no name that the record could hold
        length = wide.size();
        std::wmemcpy(data.cFileName, wide.data(), length);
    }
    data.cFileName[length] = 0;
    return m_pattern.meets(std::wstring_view(data.cFileName, length));
}

DWORD FindObject::next(WIN32_FIND_DATAW& data) {
    const std::lock_guard<std::mutex> lock(m_lock);
    while (m_dots > 0) {
        const char* const name = m_dots-- == 2 ? "." : "..";
        if (takeName(name, data) && fill(name, DT_DIR, data) == Entry::Good)
            return 0;
    }
    while (!m_done) {
        if (m_at == m_end) {
            const ssize_t got = ::getdents64(m_folder, m_block.get(), blockSize);
            if (got < 0 && errno != ENOENT) // a folder that is removed lists nothing more
                return errorFromErrno(errno);
            if (got <= 0) {
                m_done = true;
                break;
            }
            m_at = 0;
            m_end = static_cast<std::size_t>(got);
        }
        const auto* const entry = reinterpret_cast<const dirent64*>(m_block.get() + m_at);
        m_at += entry->d_reclen;
        const char* const name = entry->d_name;
        if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
            continue;
        if (takeName(name, data) && fill(name, entry->d_type, data) == Entry::Good)
            return 0;
    }
    return ERROR_NO_MORE_FILES;
}

DWORD FindObject::takeOnly(const std::string& name, std::wstring_view wide, WIN32_FIND_DATAW& data) {
    if (wide.size() >= MAX_PATH)
        return ERROR_FILE_NOT_FOUND;
    const int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    m_folder = ::open(m_path.empty() ? "." : m_path.c_str(), flags);
    if (m_folder < 0 || fill(name.c_str(), DT_UNKNOWN, data) == Entry::Gone)
        return ERROR_FILE_NOT_FOUND;
    std::wmemcpy(data.cFileName, wide.data(), wide.size());
    data.cFileName[wide.size()] = 0;
    m_dots = 0;
    m_done = true;
    return 0;
}

DWORD findFirst(LPCWSTR given, bool namesOnly, WIN32_FIND_DATAW& data, Ref<FindObject>& search) {
    std::wstring path(given);
    std::size_t split = path.find_last_of(L"\\/") + 1;
    std::wstring_view last = std::wstring_view(path).substr(split);
    if (last == L"." || last == L"..") {
        // The folder under its own name.
        std::wstring whole;
        if (!absolutePath(given, whole))
            return GetLastError();
        path = whole;
        split = path.find_last_of(L'\\') + 1;
        last = std::wstring_view(path).substr(split);
    }
    const std::string folder = systemPath(std::wstring_view(path).substr(0, split));
    const bool plain = !hasWildcards(last);
    if (plain && !last.empty()) {
        search = Ref<FindObject>(new FindObject(folder, last, namesOnly));
        if (search->takeOnly(systemPath(last), last, data) == 0)
            return 0;
    }
    search = Ref<FindObject>(new FindObject(folder, last, namesOnly));
    DWORD error = search->open();
    if (error == 0)
        error = last.empty() ? DWORD{ERROR_FILE_NOT_FOUND} : search->next(data);
    return error == ERROR_NO_MORE_FILES ? DWORD{ERROR_FILE_NOT_FOUND} : error;
}

HANDLE openSearch(LPCWSTR pattern, bool namesOnly, LPWIN32_FIND_DATAW data) {
    if (!pattern || !*pattern || !data) {
        SetLastError(!pattern || !*pattern ? ERROR_PATH_NOT_FOUND : ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    return guarded(HANDLE{INVALID_HANDLE_VALUE}, [&]() -> HANDLE {
        Ref<FindObject> search;
        if (const DWORD error = findFirst(pattern, namesOnly, *data, search)) {
            SetLastError(error);
            return INVALID_HANDLE_VALUE;
        }
        const HANDLE handle = openHandle(search.detach());
        return handle ? handle : INVALID_HANDLE_VALUE;
    });
}

} // namespace
} // namespace mvplat

using namespace mvplat;

HANDLE FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    return openSearch(pattern, false, data);
}

HANDLE MvFindFirstEntry(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
    return openSearch(pattern, true, data);
}

BOOL FindNextFileW(HANDLE handle, LPWIN32_FIND_DATAW data) {
    const PinnedAs<FindObject> search(handle);
    if (!search)
        return FALSE;
    if (!data) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        const DWORD error = search->next(*data);
        if (error != 0)
            SetLastError(error);
        return error == 0;
    });
}

BOOL FindClose(HANDLE handle) {
    const PinnedAs<FindObject> search(handle);
    return search && CloseHandle(handle);
}
