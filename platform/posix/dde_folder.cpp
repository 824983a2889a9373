#include "internal/dde_folder.h"

#include "internal/dde_values.h"
#include "internal/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace mvplat::dde {
namespace {

constexpr std::string_view socketEnd = ".sock";
constexpr std::string_view nameEnd = ".name";
constexpr std::string_view newEnd = ".new";
constexpr unsigned mostPlaces = 64;
constexpr std::size_t mostNameBytes = 4 * longestName;

// All that stands before the place's number.
std::string stemOf(std::wstring_view service) {
    const std::string folded = utf8FromWide(foldedName(service));
    std::uint64_t sum = 14695981039346656037u; // FNV-1a
    std::string stem;
    for (const char c : folded) {
        sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211u;
        const bool harmless = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || (c == '.' && !stem.empty());
        if (stem.size() < 24)
            stem += harmless ? c : '_';
    }
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(sum));
    return stem + '-' + digits + '-';
}

std::string fileOf(const std::string& name, std::string_view end) {
    return name + std::string(end);
}

// A socket's address is short; through the descriptor of its folder every folder is.
sockaddr_un addressOf(const Descriptor& folder, const std::string& file) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.get(),
                  file.c_str());
    return address;
}

Descriptor newSocket() {
    return Descriptor(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

bool ofThisUser(int socket) {
    ucred peer = {};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

bool isFolder(const char* path) {
    struct stat status;
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::string folderPath() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && runtime[0] == '/' && isFolder(runtime))
        return std::string(runtime) + "/mvlib62-dde";
    return "/tmp/mvlib62-dde-" + std::to_string(::geteuid());
}

// The lock file, locked; nothing when another process has it. The file may be removed by its last owner
// between opening and locking: only a lock on the file that the name still means counts.
Descriptor lockFile(const Descriptor& folder, const std::string& file) {
    for (;;) {
        Descriptor lock(
            ::openat(folder.get(), file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
            return {};
        struct stat opened;
        struct stat named;
        if (::fstat(lock.get(), &opened) != 0)
            return {};
        if (::fstatat(folder.get(), file.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
            opened.st_ino == named.st_ino && opened.st_dev == named.st_dev)
            return lock;
    }
}

} // namespace

// ---- Descriptor

Descriptor::Descriptor(Descriptor&& other) noexcept
    : m_value(std::exchange(other.m_value, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(m_value, other.m_value);
    return *this;
}

Descriptor::~Descriptor() {
    if (m_value >= 0)
        ::close(m_value);
}

int Descriptor::detach() {
    return std::exchange(m_value, -1);
}

// ---- Folder

Descriptor openFolder() {
    const std::string path = folderPath();
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return {};
    Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status;
    if (!folder || ::fstat(folder.get(), &status) != 0 || status.st_uid != ::geteuid() ||
        (status.st_mode & 0077) != 0)
        return {};
    return folder;
}

std::vector<std::string> socketsOf(const Descriptor& folder, std::wstring_view service) {
    std::vector<std::string> found;
    const std::string stem = service.empty() ? std::string() : stemOf(service);
    Descriptor copy(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(copy ? ::fdopendir(copy.get()) : nullptr, &::closedir);
    if (!entries)
        return found;
    copy.detach();
    while (const dirent* entry = ::readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name.size() < 64 && name.ends_with(socketEnd) && name.starts_with(stem))
            found.push_back(name);
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::wstring serviceOf(const Descriptor& folder, const std::string& socketName) {
    if (!socketName.ends_with(socketEnd))
        return {};
    const std::string name = socketName.substr(0, socketName.size() - socketEnd.size());
    const Descriptor file(::openat(folder.get(), fileOf(name, nameEnd).c_str(),
                                   O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    char bytes[mostNameBytes];
    const ssize_t got = file ? ::read(file.get(), bytes, sizeof bytes) : -1;
    return got > 0 ? wideFromUtf8({bytes, static_cast<std::size_t>(got)}) : std::wstring();
}

// ---- Services

Registration& Registration::operator=(Registration&& other) noexcept {
    std::swap(m_folder, other.m_folder);
    std::swap(m_lock, other.m_lock);
    std::swap(m_socket, other.m_socket);
    std::swap(m_name, other.m_name);
    return *this;
}

bool Registration::begin(std::wstring_view service) {
    end();
    m_folder = openFolder();
    if (!m_folder)
        return false;
    const std::string stem = stemOf(service);
    for (unsigned place = 0; place < mostPlaces && !m_lock; ++place) {
        m_name = stem + std::to_string(place);
        m_lock = lockFile(m_folder, fileOf(m_name, nameEnd));
    }
    if (!m_lock)
        return false;
    // Whatever lies here was left by a server that is no more.
    ::unlinkat(m_folder.get(), fileOf(m_name, socketEnd).c_str(), 0);
    ::unlinkat(m_folder.get(), fileOf(m_name, newEnd).c_str(), 0);
    const std::string bytes = utf8FromWide(service);
    m_socket = newSocket();
    const sockaddr_un address = addressOf(m_folder, fileOf(m_name, newEnd));
    // The socket gets its name when it listens: who sees it can connect.
    const bool done =
        ::ftruncate(m_lock.get(), 0) == 0 &&
        ::pwrite(m_lock.get(), bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()) &&
        m_socket &&
        ::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::listen(m_socket.get(), SOMAXCONN) == 0 &&
        ::renameat(m_folder.get(), fileOf(m_name, newEnd).c_str(), m_folder.get(),
                   fileOf(m_name, socketEnd).c_str()) == 0;
    if (!done)
        end();
    return done;
}

void Registration::end() {
    if (m_lock) {
        for (const std::string_view file : {socketEnd, newEnd, nameEnd})
            ::unlinkat(m_folder.get(), fileOf(m_name, file).c_str(), 0);
    }
    m_socket = Descriptor();
    m_lock = Descriptor();
    m_folder = Descriptor();
}

Descriptor connectTo(const Descriptor& folder, const std::string& socketName, unsigned milliseconds) {
    const sockaddr_un address = addressOf(folder, socketName);
    Descriptor socket = newSocket();
    for (unsigned waited = 0; socket; waited += 5) {
        if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            break;
        // Too many clients wait there already: there is nothing to poll for then.
        if ((errno != EAGAIN && errno != EINTR) || waited >= milliseconds)
            return {};
        ::poll(nullptr, 0, 5);
    }
    return socket && ofThisUser(socket.get()) ? std::move(socket) : Descriptor();
}

Descriptor acceptFrom(int socket, bool& again) {
    again = false;
    Descriptor client(::accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!client || ofThisUser(client.get()))
        return client;
    again = true;
    return {};
}

} // namespace mvplat::dde
