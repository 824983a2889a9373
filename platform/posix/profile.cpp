// The private-profile functions, and the files under them.
#include "internal/errno_map.h"
#include "internal/file_object.h"
#include "internal/profile_text.h"
#include "internal/text.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace mvplat {
namespace {

// A handle of the layer that closes at the end of a block.
class FileHandle {
public:
    explicit FileHandle(HANDLE handle)
        : m_handle(handle) {}
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() {
        if (isOpen())
            CloseHandle(m_handle);
    }
    bool isOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    int descriptor() const { return PinnedAs<FileObject>(m_handle)->m_descriptor; }

private:
    HANDLE m_handle;
};

DWORD readAll(int descriptor, const struct stat& status, std::string& bytes) {
    if (!S_ISREG(status.st_mode))
        return ERROR_ACCESS_DENIED;
    bytes.resize(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got =
            ::pread(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (got < 0 && errno != EINTR)
            return errorFromErrno(errno);
        if (got == 0)
            break;
        done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    bytes.resize(done);
    return 0;
}

// Whether a file has these bytes.
bool hasBytes(int descriptor, const std::string& bytes) {
    char block[65536];
    for (std::size_t done = 0;;) {
        const ssize_t got = ::pread(descriptor, block, sizeof block, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0 && done == bytes.size();
        const auto count = static_cast<std::size_t>(got);
        if (count > bytes.size() - done || std::memcmp(block, bytes.data() + done, count) != 0)
            return false;
        done += count;
    }
}

bool isSame(const timespec& first, const timespec& second) {
    return first.tv_sec == second.tv_sec && first.tv_nsec == second.tv_nsec;
}

bool isSame(const struct stat& first, const struct stat& second) {
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino &&
           first.st_size == second.st_size && isSame(first.st_mtim, second.st_mtim) &&
           isSame(first.st_ctim, second.st_ctim);
}

// ---- Reading

// Opens a file to read it whole, as CreateFileW does with all sharing. Nobody is held off meanwhile, so
// that no marks need be put up.
class ReadOnlyFile {
public:
    ReadOnlyFile(LPCWSTR name, const std::string& path) {
        constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        constexpr SharedUse use = {useRead, useAll};
        m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (m_descriptor >= 0 && ::fstat(m_descriptor, &m_status) == 0 && S_ISREG(m_status.st_mode) &&
            !wouldClash(m_status, use) && !wouldClashOutside(m_descriptor, use))
            return;
        close();
        // The function says what is wrong, unless it has passed.
        const FileHandle file(CreateFileW(name, GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
        if (!file.isOpen()) {
            m_error = GetLastError();
            return;
        }
        m_descriptor = ::fcntl(file.descriptor(), F_DUPFD_CLOEXEC, 0);
        if (m_descriptor < 0 || ::fstat(m_descriptor, &m_status) != 0)
            m_error = errorFromErrno(errno);
    }
    ReadOnlyFile(const ReadOnlyFile&) = delete;
    ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;
    ~ReadOnlyFile() { close(); }

    DWORD error() const { return m_error; }
    int descriptor() const { return m_descriptor; }
    const struct stat& status() const { return m_status; }

private:
    void close() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = -1;
    }

    int m_descriptor = -1;
    struct stat m_status = {};
    DWORD m_error = 0;
};

// The last file that was read. Under its lock.
class LastProfile {
public:
    static LastProfile& instance() {
        static auto* const one = new LastProfile;
        return *one;
    }

    std::mutex m_lock;

    // The file's text, or null with an error.
    ProfileText* of(LPCWSTR fileName, DWORD& error) {
        if (!fileName || !*fileName) {
            error = ERROR_FILE_NOT_FOUND;
            return nullptr;
        }
        struct stat status;
        if (m_text && m_certain && m_name == fileName && ::stat(m_path.c_str(), &status) == 0 &&
            isSame(status, m_status))
            return m_text.get();
        m_name = fileName;
        m_path = systemPath(fileName);
        m_certain = false;
        timespec now;
        ::clock_gettime(CLOCK_REALTIME, &now);
        const ReadOnlyFile file(fileName, m_path);
        error = file.error();
        ProfileText* const text = error == 0 ? of(file.descriptor(), file.status(), error) : nullptr;
        if (!text) {
            m_text.reset();
            return nullptr;
        }
        m_status = file.status();
        m_certain = isOlder(m_status.st_mtim, now) && isOlder(m_status.st_ctim, now);
        return text;
    }

    // The text of an open file for a change of it, or null with an error.
    ProfileText* ofOpen(int descriptor, DWORD& error) {
        m_certain = false;
        struct stat status;
        if (::fstat(descriptor, &status) == 0)
            return of(descriptor, status, error);
        error = errorFromErrno(errno);
        return nullptr;
    }

    // The change has been made to the file whose text this is.
    void apply(const ProfileText::Change& change) {
        m_certain = false;
        if (!m_text->apply(change))
            m_text.reset();
    }

private:
    // What was read last will do for a file that has its bytes.
    ProfileText* of(int descriptor, const struct stat& status, DWORD& error) {
        if (m_text && static_cast<std::size_t>(status.st_size) == m_text->bytes().size() &&
            S_ISREG(status.st_mode) && hasBytes(descriptor, m_text->bytes()))
            return m_text.get();
        m_text.reset();
        std::string bytes;
        error = readAll(descriptor, status, bytes);
        if (error != 0)
            return nullptr;
        m_text = std::make_unique<ProfileText>(std::move(bytes));
        return m_text.get();
    }

    // Whether a change made from now on must show in the time: the clock of files goes in steps.
    static bool isOlder(const timespec& time, const timespec& now) {
        constexpr long long step = 50000000;
        const long long age =
            (static_cast<long long>(now.tv_sec) - time.tv_sec) * 1000000000 + now.tv_nsec - time.tv_nsec;
        return age > step;
    }

    std::wstring m_name;
    std::string m_path;
    struct stat m_status = {};
    bool m_certain = false; // the name, path and status are those of the text
    std::unique_ptr<ProfileText> m_text;
};

// Runs `use` on the file's text; null when it cannot be read. Sets last error.
template <class Use>
void withProfile(LPCWSTR fileName, const Use& use) {
    LastProfile& last = LastProfile::instance();
    const std::lock_guard<std::mutex> lock(last.m_lock);
    DWORD error = 0;
    ProfileText* const text = last.of(fileName, error);
    use(text);
    SetLastError(error);
}

DWORD deliverText(std::wstring_view text, LPWSTR buffer, DWORD size) {
    const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
    std::wmemcpy(buffer, text.data(), length);
    buffer[length] = 0;
    return static_cast<DWORD>(length);
}

DWORD deliverList(const std::wstring& list, LPWSTR buffer, DWORD size) {
    // A list that fills the buffer to the last character counts as cut.
    if (list.size() + 2 <= size) {
        std::wmemcpy(buffer, list.c_str(), list.size() + 1);
        if (list.empty())
            buffer[1] = 0;
        return static_cast<DWORD>(list.size());
    }
    const std::size_t length = size > 2 ? size - 2 : 0;
    std::wmemcpy(buffer, list.data(), length);
    for (std::size_t i = length; i < size; ++i)
        buffer[i] = 0;
    return static_cast<DWORD>(length);
}

DWORD deliverNames(const ProfileText* text, LPWSTR buffer, DWORD size) {
    const std::wstring list = text ? text->sectionNames() : std::wstring();
    if (!list.empty())
        return deliverList(list, buffer, size);
    buffer[0] = 0;
    return 0;
}

std::wstring_view withoutQuotes(std::wstring_view text) {
    if (text.size() >= 2 && (text.front() == L'"' || text.front() == L'\'') && text.back() == text.front()) {
        text.remove_prefix(1);
        text.remove_suffix(1);
    }
    return text;
}

std::wstring_view defaultOf(LPCWSTR text) {
    std::wstring_view result = text ? text : L"";
    while (!result.empty() && result.back() == L' ')
        result.remove_suffix(1);
    return result;
}

UINT numberOf(std::wstring_view text) {
    bool negative = false;
    if (!text.empty() && (text.front() == L'-' || text.front() == L'+')) {
        negative = text.front() == L'-';
        text.remove_prefix(1);
    }
    UINT base = 10;
    if (text.size() >= 2 && text[0] == L'0') {
        base = text[1] == L'x' ? 16 : text[1] == L'o' ? 8 : text[1] == L'b' ? 2 : 10;
        if (base != 10)
            text.remove_prefix(2);
    }
    UINT number = 0;
    for (const wchar_t unit : text) {
        UINT digit = 99;
        if (unit >= L'0' && unit <= L'9')
            digit = static_cast<UINT>(unit - L'0');
        else if (unit >= L'A' && unit <= L'F')
            digit = static_cast<UINT>(unit - L'A') + 10;
        else if (unit >= L'a' && unit <= L'f')
            digit = static_cast<UINT>(unit - L'a') + 10;
        if (digit >= base)
            break;
        number = number * base + digit;
    }
    return negative ? 0u - number : number;
}

// ---- Writing

DWORD writeAll(int descriptor, std::string_view bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t put = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno != EINTR)
            return errorFromErrno(errno);
        done += put > 0 ? static_cast<std::size_t>(put) : 0;
    }
    return 0;
}

// Puts the bytes, changed, in the place of the file that `descriptor` has open.
DWORD replaceFile(const std::string& path, int descriptor, const std::string& bytes,
                  const ProfileText::Change& change) {
    struct stat status;
    if (::fstat(descriptor, &status) != 0)
        return errorFromErrno(errno);
    std::string temporary = path + ".XXXXXX";
    const int target = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (target < 0)
        return errorFromErrno(errno);
    // Only the superuser may give a file away; then rights that go with the owner may be lost.
    const bool given = ::fchown(target, status.st_uid, status.st_gid) == 0;
    ::fchmod(target, status.st_mode & (given ? 07777 : 0777));
    const std::string_view old = bytes;
    DWORD error = writeAll(target, old.substr(0, change.begin));
    if (error == 0)
        error = writeAll(target, change.bytes);
    if (error == 0)
        error = writeAll(target, old.substr(change.end));
    if (::close(target) != 0 && error == 0)
        error = errorFromErrno(errno);
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0)
        error = errorFromErrno(errno);
    if (error != 0)
        ::unlink(temporary.c_str());
    return error;
}

// Waits until no other process that uses this layer changes the file. The lock is on a byte beyond any data,
// apart from those of file sharing, and goes with the descriptor.
DWORD lockForChange(int descriptor) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = INT64_MAX - 1;
    lock.l_len = 1;
    while (::fcntl(descriptor, F_OFD_SETLKW, &lock) != 0) {
        if (errno == EINVAL || errno == ENOLCK || errno == EOPNOTSUPP)
            return 0; // a file system without locks
        if (errno != EINTR)
            return errorFromErrno(errno);
    }
    return 0;
}

std::string targetOf(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : path;
}

// Changes a file. `edit` gets its text and answers whether the change that it filled in is one.
template <class Edit>
DWORD changeProfile(LPCWSTR fileName, const Edit& edit) {
    if (!fileName)
        return ERROR_FILE_NOT_FOUND;
    if (!*fileName)
        return ERROR_ACCESS_DENIED;
    const std::string given = systemPath(fileName);
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    for (;;) {
        bool created = false;
        HANDLE handle =
            CreateFileW(fileName, GENERIC_READ | GENERIC_WRITE, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
        if (handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND) {
            ProfileText::Change change;
            ProfileText empty{std::string()};
            if (!edit(empty, change))
                return 0;
            handle = CreateFileW(fileName, GENERIC_READ | GENERIC_WRITE, shareAll, nullptr, OPEN_ALWAYS, 0,
                                 nullptr);
            created = handle != INVALID_HANDLE_VALUE && GetLastError() == 0;
        }
        const FileHandle file(handle);
        if (!file.isOpen())
            return GetLastError();
        const int descriptor = file.descriptor();
        if (const DWORD error = lockForChange(descriptor))
            return error;
        const std::string path = targetOf(given);
        struct stat opened;
        struct stat named;
        if (::fstat(descriptor, &opened) != 0)
            return errorFromErrno(errno);
        if (::stat(path.c_str(), &named) != 0 || named.st_dev != opened.st_dev ||
            named.st_ino != opened.st_ino)
            continue; // another one took its place meanwhile
        LastProfile& last = LastProfile::instance();
        const std::lock_guard<std::mutex> lock(last.m_lock);
        DWORD error = 0;
        ProfileText* const text = last.ofOpen(descriptor, error);
        if (!text)
            return error;
        ProfileText::Change change;
        if (edit(*text, change)) {
            error = replaceFile(path, descriptor, text->bytes(), change);
            if (error == 0)
                last.apply(change);
            else if (created)
                ::unlink(path.c_str());
        }
        return error;
    }
}

BOOL finish(DWORD error) {
    if (error != 0)
        SetLastError(error);
    return error == 0;
}

} // namespace
} // namespace mvplat

using namespace mvplat;

DWORD GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR defaultText, LPWSTR buffer, DWORD size,
                               LPCWSTR fileName) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        if (size == 0 || !buffer)
            return 0;
        DWORD count = 0;
        withProfile(fileName, [&](ProfileText* text) {
            if (section && key) {
                std::wstring_view value;
                const bool found = text && text->value(section, key, value);
                count = deliverText(withoutQuotes(found ? value : defaultOf(defaultText)), buffer, size);
                return;
            }
            if (!section) {
                count = deliverNames(text, buffer, size);
                return;
            }
            const std::wstring list = text ? text->keys(section) : std::wstring();
            count = list.empty() || size <= 2
                        ? deliverText(withoutQuotes(defaultOf(defaultText)), buffer, size)
                        : deliverList(list, buffer, size);
            if (count == 0 && size > 1)
                buffer[1] = 0;
        });
        return count;
    });
}

UINT GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT defaultNumber, LPCWSTR fileName) {
    UINT number = static_cast<UINT>(defaultNumber);
    return guarded(number, [&] {
        withProfile(fileName, [&](ProfileText* text) {
            std::wstring_view value;
            if (text && section && key && text->value(section, key, value)) {
                value = withoutQuotes(value);
                if (!value.empty())
                    number = numberOf(value);
            }
        });
        return number;
    });
}

DWORD GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buffer, DWORD size, LPCWSTR fileName) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        if (!section) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
        }
        if (size == 0 || !buffer)
            return 0;
        DWORD count = 0;
        withProfile(fileName, [&](ProfileText* text) {
            count = deliverList(text ? text->lines(section) : std::wstring(), buffer, size);
        });
        return count;
    });
}

DWORD GetPrivateProfileSectionNamesW(LPWSTR buffer, DWORD size, LPCWSTR fileName) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        if (size == 0 || !buffer)
            return 0;
        DWORD count = 0;
        withProfile(fileName, [&](ProfileText* text) { count = deliverNames(text, buffer, size); });
        return count;
    });
}

BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR fileName) {
    return guarded(BOOL{FALSE}, [&] {
        if (!section)
            return finish(ERROR_FILE_NOT_FOUND);
        return finish(changeProfile(fileName, [&](ProfileText& text, ProfileText::Change& change) {
            if (!key)
                return text.withoutSection(section, change);
            const std::wstring_view given = value ? value : L"";
            return text.withValue(section, key, value ? &given : nullptr, change);
        }));
    });
}

BOOL WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR lines, LPCWSTR fileName) {
    return guarded(BOOL{FALSE}, [&] {
        if (!section)
            return finish(ERROR_FILE_NOT_FOUND);
        std::vector<std::wstring_view> list;
        for (const wchar_t* line = lines; line && *line; line += list.back().size() + 1)
            list.emplace_back(line);
        return finish(changeProfile(fileName, [&](ProfileText& text, ProfileText::Change& change) {
            return lines ? text.withLines(section, list, change) : text.withoutSection(section, change);
        }));
    });
}
