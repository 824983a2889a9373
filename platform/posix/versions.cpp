// Version resources of Windows executables, read from the file. Everything that the file says of itself is
// checked against its size before it is followed.
#include "internal/text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace {

constexpr std::uint32_t kMagic = 0x4D565645; // begins the data that VerQueryValueW reads
constexpr std::uint32_t kFixedSignature = 0xFEEF04BD;
constexpr std::uint32_t kMaxResource = 4u << 20;
constexpr unsigned kResourceDirectory = 2;
constexpr std::uint32_t kVersionType = 16;
constexpr std::uint32_t kSubdirectory = 0x80000000u;
constexpr std::size_t kMaxTableKey = 16; // characters of "040904b0" and room to spare
constexpr int kMaxResourceEntries = 4096;

class ExecutableFile {
public:
    explicit ExecutableFile(LPCWSTR name)
        : m_file(CreateFileW(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                             nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {
        LARGE_INTEGER size = {};
        if (m_file != INVALID_HANDLE_VALUE && GetFileSizeEx(m_file, &size)) {
            m_size = static_cast<std::uint64_t>(size.QuadPart);
        }
    }
    ~ExecutableFile() {
        if (m_file != INVALID_HANDLE_VALUE) {
            const DWORD error = GetLastError();
            CloseHandle(m_file);
            SetLastError(error);
        }
    }
    ExecutableFile(const ExecutableFile&) = delete;
    ExecutableFile& operator=(const ExecutableFile&) = delete;

    bool Opened() const { return m_file != INVALID_HANDLE_VALUE; }

    bool Read(std::uint64_t offset, void* buffer, std::uint32_t size) const {
        if (offset > m_size || size > m_size - offset) {
            return false;
        }
        LARGE_INTEGER position;
        position.QuadPart = static_cast<LONGLONG>(offset);
        DWORD got = 0;
        return SetFilePointerEx(m_file, position, nullptr, FILE_BEGIN) &&
               ReadFile(m_file, buffer, size, &got, nullptr) && got == size;
    }
    bool Read16(std::uint64_t offset, std::uint32_t& value) const {
        unsigned char bytes[2];
        const bool done = Read(offset, bytes, sizeof bytes);
        value = done ? bytes[0] | bytes[1] << 8 : 0;
        return done;
    }
    bool Read32(std::uint64_t offset, std::uint32_t& value) const {
        unsigned char bytes[4];
        const bool done = Read(offset, bytes, sizeof bytes);
        value =
            done ? bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<std::uint32_t>(bytes[3]) << 24 : 0;
        return done;
    }

private:
    HANDLE m_file;
    std::uint64_t m_size = 0;
};

// Finds the bytes of the first version resource. Answers 0 or a last error.
class ResourceFinder {
public:
    explicit ResourceFinder(const ExecutableFile& file)
        : m_file(file) {}

    DWORD Find(std::vector<unsigned char>& resource) {
        std::uint32_t rootAddress = 0;
        if (const DWORD error = ReadHeaders(rootAddress)) {
            return error;
        }
        std::uint64_t root = 0;
        if (rootAddress == 0 || !OffsetOf(rootAddress, root)) {
            return ERROR_RESOURCE_DATA_NOT_FOUND;
        }
        // Three levels: type, name, language. Of the last two the first entry is taken.
        std::uint32_t entry = 0;
        if (!FindEntry(root, true, entry) || !(entry & kSubdirectory)) {
            return ERROR_RESOURCE_TYPE_NOT_FOUND;
        }
        for (int level = 0; level < 2 && (entry & kSubdirectory); ++level) {
            if (!FindEntry(root + (entry & ~kSubdirectory), false, entry)) {
                return ERROR_RESOURCE_NAME_NOT_FOUND;
            }
        }
        std::uint32_t address = 0;
        std::uint32_t size = 0;
        std::uint64_t offset = 0;
        if ((entry & kSubdirectory) || !m_file.Read32(root + entry, address) ||
            !m_file.Read32(root + entry + 4, size) || size > kMaxResource || !OffsetOf(address, offset)) {
            return ERROR_RESOURCE_NAME_NOT_FOUND;
        }
        resource.resize(size);
        return m_file.Read(offset, resource.data(), size) ? 0 : ERROR_RESOURCE_NAME_NOT_FOUND;
    }

private:
    struct Section {
        std::uint32_t address;
        std::uint32_t size;
        std::uint32_t offset;
    };

    DWORD ReadHeaders(std::uint32_t& rootAddress) {
        std::uint32_t mark = 0;
        std::uint32_t header = 0;
        std::uint32_t sections = 0;
        std::uint32_t optionalSize = 0;
        if (!m_file.Read16(0, mark) || mark != 0x5A4D || !m_file.Read32(0x3C, header) ||
            !m_file.Read32(header, mark) || mark != 0x00004550 || !m_file.Read16(header + 6ull, sections) ||
            !m_file.Read16(header + 20ull, optionalSize)) {
            return ERROR_BAD_EXE_FORMAT;
        }
        const std::uint64_t optional = header + 24ull;
        std::uint32_t directories = 0;
        if (!m_file.Read16(optional, mark) || (mark != 0x10B && mark != 0x20B)) {
            return ERROR_BAD_EXE_FORMAT;
        }
        const std::uint64_t table = optional + (mark == 0x10B ? 96 : 112);
        if (!m_file.Read32(table - 4, directories) || directories <= kResourceDirectory ||
            table + 8 * (kResourceDirectory + 1) > optional + optionalSize ||
            !m_file.Read32(table + 8 * kResourceDirectory, rootAddress)) {
            return ERROR_RESOURCE_DATA_NOT_FOUND;
        }
        for (std::uint32_t i = 0; i < sections; ++i) {
            const std::uint64_t at = optional + optionalSize + 40ull * i;
            Section section = {};
            if (!m_file.Read32(at + 12, section.address) || !m_file.Read32(at + 16, section.size) ||
                !m_file.Read32(at + 20, section.offset)) {
                return ERROR_BAD_EXE_FORMAT;
            }
            m_sections.push_back(section);
        }
        return 0;
    }

    bool OffsetOf(std::uint32_t address, std::uint64_t& offset) const {
        for (const Section& section : m_sections) {
            if (address >= section.address && address - section.address < section.size) {
                offset = std::uint64_t{section.offset} + (address - section.address);
                return true;
            }
        }
        return false;
    }

    // The version type's entry of a directory, or its first one.
    bool FindEntry(std::uint64_t directory, bool type, std::uint32_t& entry) const {
        std::uint32_t names = 0;
        std::uint32_t ids = 0;
        if (!m_file.Read16(directory + 12, names) || !m_file.Read16(directory + 14, ids)) {
            return false;
        }
        const int count = static_cast<int>(std::min<std::uint32_t>(names + ids, kMaxResourceEntries));
        for (int i = type ? static_cast<int>(names) : 0; i < count; ++i) {
            std::uint32_t id = 0;
            if (!m_file.Read32(directory + 16 + 8ull * i, id) ||
                !m_file.Read32(directory + 20 + 8ull * i, entry)) {
                return false;
            }
            if (!type || id == kVersionType) {
                return true;
            }
        }
        return false;
    }

    const ExecutableFile& m_file;
    std::vector<Section> m_sections;
};

// One block of a version resource: its key, value and children, all inside the block.
struct Block {
    std::wstring key;
    const unsigned char* value = nullptr;
    std::size_t valueSize = 0;
    bool text = false;
    const unsigned char* children = nullptr;
    const unsigned char* end = nullptr;
};

std::size_t Aligned(std::size_t offset) {
    return (offset + 3) & ~std::size_t{3};
}

// Reads the block at `at`; false at the end or where there is none.
bool ReadBlock(const unsigned char* start, const unsigned char* at, const unsigned char* limit,
               Block& block) {
    const auto left = static_cast<std::size_t>(limit - at);
    if (left < 8) {
        return false;
    }
    const std::size_t length = at[0] | at[1] << 8;
    const std::size_t valueLength = at[2] | at[3] << 8;
    if (length < 8 || length > left) {
        return false;
    }
    block.text = (at[4] | at[5] << 8) == 1;
    block.end = at + length;
    std::vector<std::uint16_t> units;
    const unsigned char* unit = at + 6;
    for (;; unit += 2) {
        if (block.end - unit < 2) {
            return false;
        }
        const auto value = static_cast<std::uint16_t>(unit[0] | unit[1] << 8);
        if (value == 0) {
            break;
        }
        units.push_back(value);
    }
    block.key = mvplat::wideFromUtf16(units.data(), units.size());
    const auto size = static_cast<std::size_t>(block.end - start);
    const std::size_t value = std::min(Aligned(static_cast<std::size_t>(unit + 2 - start)), size);
    // Texts count their value in characters, other values in bytes; some compilers count texts in bytes too.
    block.valueSize = std::min(block.text ? valueLength * 2 : valueLength, size - value);
    block.value = start + value;
    block.children = start + std::min(Aligned(value + block.valueSize), size);
    return true;
}

std::wstring TextOf(const Block& block) {
    std::vector<std::uint16_t> units;
    for (std::size_t i = 0; i + 1 < block.valueSize; i += 2) {
        const auto unit = static_cast<std::uint16_t>(block.value[i] | block.value[i + 1] << 8);
        if (unit == 0) {
            break;
        }
        units.push_back(unit);
    }
    return mvplat::wideFromUtf16(units.data(), units.size());
}

// The resource as VerQueryValueW reads it: a head, then entries of full key path and value.
struct Entry {
    std::uint32_t size;   // of the entry, head and padding included
    std::uint32_t key;    // characters of the path
    std::uint32_t value;  // bytes
    std::uint32_t length; // as the caller is told it
};

class Writer {
public:
    Writer() { Append32(kMagic), Append32(0), Append32(0), Append32(0); }

    void Add(const std::wstring& path, const void* value, std::size_t size, std::size_t length) {
        Entry entry = {};
        const std::size_t keyBytes = path.size() * sizeof(wchar_t);
        const std::size_t valueAt = (sizeof entry + keyBytes + 7) & ~std::size_t{7};
        const std::size_t whole = (valueAt + size + 7) & ~std::size_t{7};
        entry.size = static_cast<std::uint32_t>(whole);
        entry.key = static_cast<std::uint32_t>(path.size());
        entry.value = static_cast<std::uint32_t>(size);
        entry.length = static_cast<std::uint32_t>(length);
        const std::size_t at = m_bytes.size();
        m_bytes.resize(at + whole);
        std::memcpy(&m_bytes[at], &entry, sizeof entry);
        std::memcpy(&m_bytes[at + sizeof entry], path.data(), keyBytes);
        if (size) {
            std::memcpy(&m_bytes[at + valueAt], value, size);
        }
    }

    std::vector<unsigned char> Finish() {
        const auto size = static_cast<std::uint32_t>(m_bytes.size());
        std::memcpy(&m_bytes[4], &size, sizeof size);
        return std::move(m_bytes);
    }

private:
    void Append32(std::uint32_t value) {
        m_bytes.resize(m_bytes.size() + 4);
        std::memcpy(&m_bytes[m_bytes.size() - 4], &value, 4);
    }

    std::vector<unsigned char> m_bytes;
};

template <class Function>
void ForEachChild(const unsigned char* start, const Block& parent, Function function) {
    Block child;
    for (const unsigned char* at = parent.children;
         at < parent.end && ReadBlock(start, at, parent.end, child);) {
        function(child);
        const auto next = Aligned(static_cast<std::size_t>(child.end - start));
        at = start + std::min(next, static_cast<std::size_t>(parent.end - start));
    }
}

// Answers 0 or a last error.
DWORD ReadVersion(LPCWSTR fileName, std::vector<unsigned char>& data) {
    const ExecutableFile file(fileName);
    if (!file.Opened()) {
        return GetLastError();
    }
    std::vector<unsigned char> resource;
    if (const DWORD error = ResourceFinder(file).Find(resource)) {
        return error;
    }
    const unsigned char* start = resource.data();
    Block root;
    if (!ReadBlock(start, start, start + resource.size(), root) || root.key != L"VS_VERSION_INFO") {
        return ERROR_RESOURCE_DATA_NOT_FOUND;
    }
    Writer writer;
    VS_FIXEDFILEINFO fixed;
    if (root.valueSize >= sizeof fixed) {
        std::memcpy(&fixed, root.value, sizeof fixed);
        if (fixed.dwSignature == kFixedSignature) {
            writer.Add(L"\\", &fixed, sizeof fixed, sizeof fixed);
        }
    }
    ForEachChild(start, root, [&](const Block& info) {
        if (info.key == L"VarFileInfo") {
            ForEachChild(start, info, [&](const Block& variable) {
                writer.Add(L"\\VarFileInfo\\" + variable.key, variable.value, variable.valueSize,
                           variable.valueSize);
            });
        } else if (info.key == L"StringFileInfo") {
            ForEachChild(start, info, [&](const Block& table) {
                if (table.key.size() > kMaxTableKey) {
                    return;
                }
                ForEachChild(start, table, [&](const Block& string) {
                    const std::wstring text = TextOf(string);
                    writer.Add(L"\\StringFileInfo\\" + table.key + L"\\" + string.key, text.c_str(),
                               (text.size() + 1) * sizeof(wchar_t), text.size() + 1);
                });
            });
        }
    });
    data = writer.Finish();
    return 0;
}

} // namespace

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR fileName, LPDWORD unused) {
    if (unused) {
        *unused = 0;
    }
    std::vector<unsigned char> data;
    if (const DWORD error = ReadVersion(fileName, data)) {
        SetLastError(error);
        return 0;
    }
    return static_cast<DWORD>(data.size());
}

BOOL WINAPI GetFileVersionInfoW(LPCWSTR fileName, DWORD, DWORD size, LPVOID data) {
    std::vector<unsigned char> read;
    DWORD error = ReadVersion(fileName, read);
    if (!error && (!data || size < read.size())) {
        error = ERROR_INSUFFICIENT_BUFFER;
    }
    if (error) {
        SetLastError(error);
        return FALSE;
    }
    std::memcpy(data, read.data(), read.size());
    return TRUE;
}

BOOL WINAPI VerQueryValueW(LPCVOID data, LPCWSTR subBlock, LPVOID* value, UINT* length) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::uint32_t head[2] = {0, 0};
    if (bytes) {
        std::memcpy(head, bytes, sizeof head);
    }
    std::wstring path = subBlock ? subBlock : L"";
    if (path.empty() || path[0] != L'\\') {
        path.insert(0, 1, L'\\');
    }
    for (std::size_t at = 16; head[0] == kMagic && at < head[1];) {
        Entry entry;
        std::memcpy(&entry, bytes + at, sizeof entry);
        if (entry.key == path.size() && _wcsnicmp(reinterpret_cast<const wchar_t*>(bytes + at + sizeof entry),
                                                  path.data(), path.size()) == 0) {
            const std::size_t valueAt = (sizeof entry + entry.key * sizeof(wchar_t) + 7) & ~std::size_t{7};
            if (value) {
                *value = const_cast<unsigned char*>(bytes + at + valueAt);
            }
            if (length) {
                *length = entry.length;
            }
            return TRUE;
        }
        at += entry.size;
    }
    if (length) {
        *length = 0;
    }
    SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return FALSE;
}
