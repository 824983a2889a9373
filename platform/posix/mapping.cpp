#include "internal/errno_map.h"
#include "internal/file_object.h"
#include "internal/named_objects.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace mvplat {
namespace {

constexpr DWORD allocationGranularity = 65536;

std::uint64_t pageSize() {
    static const auto size = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return size;
}

std::uint64_t roundedToPages(std::uint64_t size) {
    return (size + pageSize() - 1) & ~(pageSize() - 1);
}

class MappingObject : public Object {
public:
    static bool isA(Kind kind) { return kind == Kind::Mapping; }

    MappingObject(int descriptor, std::uint64_t size, bool writable, bool copyOnly)
        : Object(Kind::Mapping)
        , m_descriptor(descriptor)
        , m_size(size)
        , m_writable(writable)
        , m_copyOnly(copyOnly) {}
    ~MappingObject() override {
        if (m_shared)
            removeMapping(m_shared, m_size);
        ::close(m_descriptor);
    }

    const int m_descriptor; // of its own: the file's handle may be closed
    const std::uint64_t m_size;
    const bool m_writable; // views may write to the file
    const bool m_copyOnly;
    SharedFile* m_shared = nullptr;
};

struct View {
    std::size_t length = 0;
    Ref<MappingObject> mapping;
};

struct Views {
    std::mutex lock;
    std::map<const char*, View> all;
};

Views& views() {
    static auto* const one = new Views;
    return *one;
}

// The view in which an address lies; under the lock.
std::map<const char*, View>::iterator viewAround(LPCVOID address) {
    const auto* inside = static_cast<const char*>(address);
    auto found = views().all.upper_bound(inside);
    if (found == views().all.begin())
        return views().all.end();
    --found;
    return static_cast<std::size_t>(inside - found->first) < found->second.length ? found : views().all.end();
}

enum class Protection { Invalid, Read, Write, Copy };

Protection protectionOf(DWORD protection) {
    switch (protection & 0xFF) {
    case PAGE_READONLY:
    case PAGE_EXECUTE_READ:
        return Protection::Read;
    case PAGE_READWRITE:
    case PAGE_EXECUTE_READWRITE:
        return Protection::Write;
    case PAGE_WRITECOPY:
    case PAGE_EXECUTE_WRITECOPY:
        return Protection::Copy;
    default:
        return Protection::Invalid;
    }
}

Object* refuse(DWORD error) {
    SetLastError(error);
    return nullptr;
}

Object* makeMemoryMapping(Protection protection, std::uint64_t size) {
    if (size == 0)
        return refuse(ERROR_INVALID_PARAMETER);
    const int descriptor = ::memfd_create("mvlib62", MFD_CLOEXEC);
    if (descriptor < 0)
        return refuse(errorFromErrno(errno));
    if (size > INT64_MAX || ::ftruncate(descriptor, static_cast<off_t>(size)) != 0) {
        ::close(descriptor);
        return refuse(ERROR_NOT_ENOUGH_MEMORY);
    }
    return new MappingObject(descriptor, size, protection == Protection::Write,
                             protection == Protection::Copy);
}

Object* makeFileMapping(FileObject& file, Protection protection, std::uint64_t size) {
    if (!file.canRead() || (protection == Protection::Write && !file.canWrite()))
        return refuse(ERROR_ACCESS_DENIED);
    struct stat status;
    if (::fstat(file.m_descriptor, &status) != 0)
        return refuse(errorFromErrno(errno));
    if (!S_ISREG(status.st_mode))
        return refuse(ERROR_BAD_EXE_FORMAT);
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    if (size == 0) {
        if (fileSize == 0)
            return refuse(ERROR_FILE_INVALID);
        size = fileSize;
    }
    if (size > fileSize) {
        if (protection != Protection::Write)
            return refuse(ERROR_NOT_ENOUGH_MEMORY);
        if (size > INT64_MAX || ::ftruncate(file.m_descriptor, static_cast<off_t>(size)) != 0)
            return refuse(ERROR_DISK_FULL);
    }
    const int descriptor = ::fcntl(file.m_descriptor, F_DUPFD_CLOEXEC, 3);
    if (descriptor < 0)
        return refuse(errorFromErrno(errno));
    MappingObject* mapping;
    try {
        mapping = new MappingObject(descriptor, size, protection == Protection::Write,
                                    protection == Protection::Copy);
    } catch (...) {
        ::close(descriptor);
        throw;
    }
    Ref<MappingObject> owner(mapping);
    mapping->m_shared = enterMapping(status, size);
    return owner.detach();
}

void* mapView(MappingObject& mapping, DWORD access, std::uint64_t offset, SIZE_T size) {
    if (offset % allocationGranularity != 0) {
        SetLastError(ERROR_MAPPED_ALIGNMENT);
        return nullptr;
    }
    const bool wantsAll = (access & FILE_MAP_ALL_ACCESS) == FILE_MAP_ALL_ACCESS;
    const bool wantsWrite = wantsAll || (access & FILE_MAP_WRITE);
    // A private copy may be had of any mapping; the bit alone means it, beside others it means nothing.
    const bool copy = !wantsWrite && (access & (FILE_MAP_COPY | FILE_MAP_READ)) == FILE_MAP_COPY;
    if (wantsWrite && !mapping.m_writable) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    if (offset >= mapping.m_size) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const std::uint64_t rest = mapping.m_size - offset;
    if (size > rest) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    if (size == 0)
        size = static_cast<SIZE_T>(rest);
    const int protection = wantsWrite || copy ? PROT_READ | PROT_WRITE : PROT_READ;
    const std::size_t length = static_cast<std::size_t>(roundedToPages(size));
    Ref<MappingObject> owner = Ref<MappingObject>::share(&mapping);
    void* address = ::mmap(nullptr, length, protection, copy ? MAP_PRIVATE : MAP_SHARED, mapping.m_descriptor,
                           static_cast<off_t>(offset));
    if (address == MAP_FAILED) {
        SetLastError(errno == EACCES || errno == EPERM ? ERROR_ACCESS_DENIED : ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    try {
        const std::lock_guard<std::mutex> lock(views().lock);
        views().all.emplace(static_cast<const char*>(address), View{length, std::move(owner)});
    } catch (...) {
        ::munmap(address, length);
        throw;
    }
    return address;
}

} // namespace
} // namespace mvplat

using namespace mvplat;

HANDLE CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES /*attributes*/, DWORD protection, DWORD sizeHigh,
                          DWORD sizeLow, LPCWSTR name) {
    return guarded(HANDLE{nullptr}, [&]() -> HANDLE {
        const std::uint64_t size = std::uint64_t(sizeHigh) << 32 | sizeLow;
        const Protection wanted = protectionOf(protection);
        if (wanted == Protection::Invalid) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        if (file == INVALID_HANDLE_VALUE)
            return createNamed(name, Kind::Mapping, [&] { return makeMemoryMapping(wanted, size); });
        const PinnedAs<FileObject> object(file);
        if (!object)
            return nullptr;
        return createNamed(name, Kind::Mapping, [&] { return makeFileMapping(*object, wanted, size); });
    });
}

HANDLE OpenFileMappingW(DWORD /*access*/, BOOL /*inherit*/, LPCWSTR name) {
    return openNamed(name, Kind::Mapping);
}

LPVOID MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size) {
    const PinnedAs<MappingObject> object(mapping);
    if (!object)
        return nullptr;
    return guarded(LPVOID{nullptr}, [&] {
        return mapView(*object, access, std::uint64_t(offsetHigh) << 32 | offsetLow, size);
    });
}

BOOL UnmapViewOfFile(LPCVOID address) {
    View ended;
    {
        const std::lock_guard<std::mutex> lock(views().lock);
        const auto found = viewAround(address);
        if (found == views().all.end()) {
            SetLastError(ERROR_INVALID_ADDRESS);
            return FALSE;
        }
        ended = std::move(found->second);
        // Unmapped under the lock: the system may give the address to the next view at once.
        ::munmap(const_cast<char*>(found->first), ended.length);
        views().all.erase(found);
    }
    return TRUE;
}

BOOL FlushViewOfFile(LPCVOID address, SIZE_T size) {
    if (!address) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const auto* first = static_cast<const char*>(address);
    const std::lock_guard<std::mutex> lock(views().lock);
    const auto found = viewAround(address);
    const std::size_t rest = found == views().all.end()
                                 ? 0
                                 : found->second.length - static_cast<std::size_t>(first - found->first);
    if (rest == 0 || size > rest) {
        SetLastError(ERROR_INVALID_ADDRESS);
        return FALSE;
    }
    // The system flushes whole pages.
    const std::size_t before = reinterpret_cast<std::uintptr_t>(first) % pageSize();
    if (::msync(const_cast<char*>(first) - before, (size ? size : rest) + before, MS_ASYNC) != 0) {
        setLastErrno();
        return FALSE;
    }
    return TRUE;
}

void GetSystemInfo(LPSYSTEM_INFO info) {
    *info = {};
#if defined(__x86_64__)
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_AMD64;
    info->dwProcessorType = 8664;
#elif defined(__aarch64__)
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_ARM64;
#else
    info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_UNKNOWN;
#endif
    info->dwPageSize = static_cast<DWORD>(pageSize());
    info->lpMinimumApplicationAddress = reinterpret_cast<LPVOID>(ULONG_PTR{allocationGranularity});
    info->lpMaximumApplicationAddress =
        reinterpret_cast<LPVOID>(ULONG_PTR{0x7fffffffffff} - allocationGranularity);
    const long processors = std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L);
    info->dwNumberOfProcessors = static_cast<DWORD>(processors);
    info->dwActiveProcessorMask = processors >= 64 ? ~DWORD_PTR{0} : (DWORD_PTR{1} << processors) - 1;
    info->dwAllocationGranularity = allocationGranularity;
}
