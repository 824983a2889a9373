#include "folders_internal.h"

#include "text.h"
#include <algorithm>
#include <folder_entries.h>
#include <limits>
#include <win32.h>

namespace mvtool {
namespace {

/// 100 ns steps from 1601 to 1970.
constexpr std::int64_t kEpoch = 116444736000000000;

/// An open file handle and its owner; the last error survives the closing.
class Handle {
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE)
        : m_handle(handle) {}
    Handle(Handle&& other) noexcept
        : m_handle(other.m_handle) {
        other.m_handle = INVALID_HANDLE_VALUE;
    }
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~Handle() { reset(); }
    HANDLE get() const { return m_handle; }
    explicit operator bool() const { return m_handle != INVALID_HANDLE_VALUE; }
    bool reset() {
        BOOL closed = TRUE;
        if (m_handle != INVALID_HANDLE_VALUE) {
            const DWORD keep = GetLastError();
            closed = CloseHandle(m_handle);
            m_handle = INVALID_HANDLE_VALUE;
            SetLastError(keep);
        }
        return closed != FALSE;
    }

private:
    HANDLE m_handle;
};

std::wstring wideOf(const std::u16string& units) {
    return {units.begin(), units.end()};
}
std::u16string unitsOf(const std::wstring& wide) {
    return {wide.begin(), wide.end()};
}

/// A name for the system: the long-path form takes names as they are, so nothing may pass here that is a
/// path.
std::wstring checkedName(const std::u16string& name) {
    checkName(name, u"/\\:");
    if (!wellFormed(name)) {
        refuseName(name);
    }
    return wideOf(name);
}

std::wstring wideArgument(const std::string& path, Exit code) {
    std::optional<std::wstring> wide = toWide(path);
    if (!wide || wide->empty() || wide->find(L'\0') != std::wstring::npos) {
        throw Failure(code, "not a path: " + displayText(path));
    }
    return *std::move(wide);
}

/// The full path in the form that has no length limit of 260 characters.
std::wstring longPath(const std::wstring& path) {
    if (path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\")) {
        return path;
    }
    std::wstring full(32768, L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0 || length >= full.size()) {
        return path;
    }
    full.resize(length);
    while (full.size() > 3 && full.back() == L'\\') {
        full.pop_back();
    }
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

std::int64_t nanoseconds(const FILETIME& time) {
    const auto steps =
        static_cast<std::int64_t>(static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / 100;
    return std::clamp(steps - kEpoch, -limit, limit) * 100;
}

FILETIME timeOf(std::int64_t ns) {
    // Rounded down, also before 1970; a time that the system cannot keep becomes its first one.
    std::int64_t steps = ns / 100 - (ns % 100 < 0 ? 1 : 0) + kEpoch;
    steps = std::max<std::int64_t>(steps, 1);
    FILETIME time{};
    time.dwLowDateTime = static_cast<DWORD>(steps & 0xFFFFFFFF);
    time.dwHighDateTime = static_cast<DWORD>(steps >> 32);
    return time;
}

bool setModified(const std::wstring& path, std::int64_t ns) {
    const Handle handle(CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    const FILETIME time = timeOf(ns);
    return handle && SetFileTime(handle.get(), nullptr, nullptr, &time);
}

std::optional<FileIdentity> identityOf(const std::wstring& path) {
    // Asking for attributes alone works also while another handle keeps the file to itself.
    const Handle handle(CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION info{};
    if (!handle || !GetFileInformationByHandle(handle.get(), &info)) {
        return std::nullopt;
    }
    return FileIdentity{info.dwVolumeSerialNumber,
                        static_cast<std::uint64_t>(info.nFileIndexHigh) << 32 | info.nFileIndexLow};
}

/// What attributes are those of, links followed.
There whatItIs(DWORD attributes) {
    return attributes == INVALID_FILE_ATTRIBUTES          ? There::nothing
           : (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? There::folder
                                                          : There::file;
}

There whatIsAt(const std::wstring& path) {
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(path.c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        return There::nothing;
    }
    FindClose(search);
    return MvIsLink(data)                                            ? There::link
           : (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? There::folder
                                                                     : There::file;
}

std::wstring temporaryName() {
    const std::string name = temporaryFileName();
    return {name.begin(), name.end()};
}

std::wstring parentOf(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\'));
}
std::wstring leafOf(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

Exit codeOfMissing(Exit otherwise) {
    const DWORD error = GetLastError();
    return error == ERROR_PATH_NOT_FOUND || error == ERROR_FILE_NOT_FOUND ? Exit::notFound : otherwise;
}

} // namespace

struct SourceFile::State {
    Handle file;
    std::string path;
};

SourceFile::SourceFile(std::unique_ptr<State> state)
    : m_state(std::move(state)) {}
SourceFile::SourceFile(SourceFile&&) noexcept = default;
SourceFile::~SourceFile() = default;

std::size_t SourceFile::read(void* buffer, std::size_t size) {
    DWORD got = 0;
    if (!ReadFile(m_state->file.get(), buffer, static_cast<DWORD>(size), &got, nullptr)) {
        failBySystem(Exit::notFound, "read", m_state->path);
    }
    return got;
}

struct NewFile::State {
    Handle file;
    std::wstring temporary;
    std::wstring target;
    std::string path;
    bool committed = false;

    ~State() {
        file.reset();
        if (!committed && !temporary.empty()) {
            DeleteFileW(temporary.c_str());
        }
    }
};

NewFile::NewFile(std::unique_ptr<State> state)
    : m_state(std::move(state)) {}
NewFile::NewFile(NewFile&&) noexcept = default;
NewFile::~NewFile() = default;

std::size_t NewFile::writePiece(const void* data, std::size_t size) {
    DWORD written = 0;
    if (!WriteFile(m_state->file.get(), data, static_cast<DWORD>(size), &written, nullptr) || written == 0) {
        failBySystem(Exit::writeFailure, "write", m_state->path);
    }
    return written;
}

void NewFile::commit(const FileFacts& facts, bool replace) {
    State& state = *m_state;
    const FILETIME time = timeOf(facts.modified);
    if (!SetFileTime(state.file.get(), nullptr, nullptr, &time) || !state.file.reset()) {
        failBySystem(Exit::writeFailure, "write", state.path);
    }
    const There there = whatIsAt(state.target);
    checkFilePlace(there, replace, state.path);
    const DWORD before =
        there == There::file ? GetFileAttributesW(state.target.c_str()) : INVALID_FILE_ATTRIBUTES;
    if (before != INVALID_FILE_ATTRIBUTES) {
        // Read-only would refuse the replacement.
        SetFileAttributesW(state.target.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    if (!MoveFileExW(state.temporary.c_str(), state.target.c_str(),
                     replace ? MOVEFILE_REPLACE_EXISTING : 0)) {
        const DWORD error = GetLastError();
        if (before != INVALID_FILE_ATTRIBUTES) {
            SetFileAttributesW(state.target.c_str(), before);
        }
        SetLastError(error);
        failBySystem(Exit::writeFailure, "write", state.path);
    }
    state.committed = true;
    if (facts.readOnly && !SetFileAttributesW(state.target.c_str(), FILE_ATTRIBUTE_READONLY)) {
        failBySystem(Exit::writeFailure, "write", state.path);
    }
}

struct FolderCursor::State {
    std::wstring path;                ///< of the current folder, without separator at the end
    std::vector<std::size_t> lengths; ///< of the paths of the folders above
    std::string root;                 ///< as given, for messages
    std::size_t rootLength = 0;

    std::wstring below(const std::wstring& name) const { return path + L'\\' + name; }

    std::string shown(const std::wstring& name) const {
        std::wstring inside = path.substr(rootLength);
        if (inside.size() > 500) {
            inside =
                inside.substr(0, 200) + L"\\..." + inside.substr(inside.find(L'\\', inside.size() - 200));
        }
        std::string text = root + displayText(fromWide(inside));
        return name.empty() ? text : text + '\\' + displayText(fromWide(name));
    }
};

FolderCursor::FolderCursor(const std::string& path, const std::string& shown)
    : m_state(std::make_unique<State>()) {
    const std::wstring wide = wideArgument(path, Exit::notFound);
    m_state->path = longPath(wide);
    const DWORD attributes = GetFileAttributesW(m_state->path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        if (attributes != INVALID_FILE_ATTRIBUTES) {
            SetLastError(ERROR_DIRECTORY);
        }
        failBySystem(Exit::notFound, "open the folder", displayText(shown));
    }
    if (m_state->path.back() == L'\\') {
        m_state->path.pop_back(); // a drive's root
    }
    m_state->rootLength = m_state->path.size();
    m_state->root = displayText(shown);
    while (m_state->root.size() > 1 && (m_state->root.back() == '\\' || m_state->root.back() == '/')) {
        m_state->root.pop_back();
    }
}

FolderCursor::FolderCursor(FolderCursor&&) noexcept = default;
FolderCursor::~FolderCursor() = default;

std::string FolderCursor::describe(const std::u16string& name) const {
    return m_state->shown(wideOf(name));
}

std::vector<FolderEntry> FolderCursor::list(std::size_t& unnameable) {
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(m_state->below(L"*").c_str(), &data);
    std::vector<FolderEntry> entries;
    if (search == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND) {
            return entries; // an empty drive
        }
        failBySystem(Exit::notFound, "read the folder", m_state->shown(L""));
    }
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> owner(search, FindClose);
    do {
        const std::wstring name = data.cFileName;
        if (name == L"." || name == L"..") {
            continue;
        }
        FolderEntry entry;
        entry.name = unitsOf(name);
        if (!wellFormed(entry.name)) {
            ++unnameable;
            continue;
        }
        entry.kind = MvIsLink(data)                                            ? FolderEntry::Kind::link
                     : (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FolderEntry::Kind::folder
                                                                               : FolderEntry::Kind::file;
        entry.facts.modified = nanoseconds(data.ftLastWriteTime);
        if (entry.kind == FolderEntry::Kind::file) {
            entry.size = static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
            entry.facts.readOnly = (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
        }
        entries.push_back(std::move(entry));
    } while (FindNextFileW(search, &data));
    if (GetLastError() != ERROR_NO_MORE_FILES) {
        failBySystem(Exit::notFound, "read the folder", m_state->shown(L""));
    }
    sortByName(entries);
    return entries;
}

void FolderCursor::enter(const std::u16string& name) {
    const std::wstring wide = checkedName(name);
    if (whatIsAt(m_state->below(wide)) != There::folder) {
        SetLastError(ERROR_DIRECTORY);
        failBySystem(Exit::notFound, "open the folder", m_state->shown(wide));
    }
    m_state->lengths.push_back(m_state->path.size());
    m_state->path = m_state->below(wide);
}

void FolderCursor::leave(std::optional<std::int64_t> modified) {
    if (modified && !setModified(m_state->path, *modified)) {
        failBySystem(Exit::writeFailure, "set the time of", m_state->shown(L""));
    }
    m_state->path.resize(m_state->lengths.back());
    m_state->lengths.pop_back();
}

SourceFile FolderCursor::open(const std::u16string& name) {
    const std::wstring wide = checkedName(name);
    auto state = std::make_unique<SourceFile::State>();
    state->path = m_state->shown(wide);
    state->file = Handle(CreateFileW(m_state->below(wide).c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!state->file) {
        failBySystem(Exit::notFound, "read", state->path);
    }
    return SourceFile(std::move(state));
}

FileIdentity FolderCursor::identity(const std::u16string& name) {
    const std::wstring wide = checkedName(name);
    const std::optional<FileIdentity> identity = identityOf(m_state->below(wide));
    if (!identity) {
        failBySystem(Exit::notFound, "read", m_state->shown(wide));
    }
    return *identity;
}

FolderCursor::Made FolderCursor::makeFolder(const std::u16string& name) {
    const std::wstring wide = checkedName(name);
    const std::wstring path = m_state->below(wide);
    if (CreateDirectoryW(path.c_str(), nullptr)) {
        return Made::made;
    }
    const DWORD error = GetLastError();
    const There there = whatIsAt(path);
    SetLastError(error);
    return folderInPlace(there, m_state->shown(wide));
}

NewFile FolderCursor::create(const std::u16string& name) {
    const std::wstring wide = checkedName(name);
    auto state = std::make_unique<NewFile::State>();
    state->path = m_state->shown(wide);
    state->target = m_state->below(wide);
    const std::wstring temporary = m_state->below(temporaryName());
    state->file = Handle(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!state->file) {
        failBySystem(Exit::writeFailure, "write", state->path);
    }
    state->temporary = temporary;
    return NewFile(std::move(state));
}

void FolderCursor::removeFile(const std::u16string& name) {
    const std::wstring path = m_state->below(wideOf(name));
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    // A link to a folder is removed like a folder, and the folder that it leads to stays.
    if (!DeleteFileW(path.c_str()) && !RemoveDirectoryW(path.c_str())) {
        failBySystem(Exit::writeFailure, "remove", m_state->shown(wideOf(name)));
    }
}

void FolderCursor::removeFolder(const std::u16string& name) {
    if (!RemoveDirectoryW(m_state->below(wideOf(name)).c_str())) {
        failBySystem(Exit::writeFailure, "remove", m_state->shown(wideOf(name)));
    }
}

bool takesPosixNames() {
    return false;
}

bool folderExists(const std::string& path) {
    const std::wstring wide = longPath(wideArgument(path, Exit::writeFailure));
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
            return false;
        }
        failBySystem(Exit::writeFailure, "use the folder", displayText(path));
    }
    return isFolderPlace(whatItIs(attributes), path);
}

bool isPipeOrDevice(const std::string& path) {
    // Not by its long path, in which no name stands for a device.
    const std::optional<std::wstring> wide = toWide(path);
    const Handle handle(wide ? CreateFileW(wide->c_str(), 0,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)
                             : INVALID_HANDLE_VALUE);
    return handle && GetFileType(handle.get()) != FILE_TYPE_DISK;
}

std::string makeFolderBeside(const std::string& path) {
    const std::wstring folder =
        parentOf(longPath(wideArgument(path, Exit::writeFailure))) + L'\\' + temporaryName();
    if (!CreateDirectoryW(folder.c_str(), nullptr)) {
        failBySystem(codeOfMissing(Exit::writeFailure), "make the folder", displayText(path));
    }
    return fromWide(folder);
}

void renameFolder(const std::string& from, const std::string& to) {
    const std::wstring source = wideArgument(from, Exit::writeFailure);
    const std::wstring target = longPath(wideArgument(to, Exit::writeFailure));
    if (!MoveFileExW(source.c_str(), target.c_str(), 0)) {
        failBySystem(Exit::writeFailure, "make the folder", displayText(to));
    }
}

void removeEmptyFolder(const std::string& path) {
    if (const std::optional<std::wstring> wide = toWide(path)) {
        RemoveDirectoryW(longPath(*wide).c_str());
    }
}

struct ReplacedFile::State {
    std::wstring target;
    std::string shown;
    std::wstring temporary;
    std::string temporaryText;
    std::optional<FileIdentity> temporaryIdentity;
    std::optional<FileIdentity> targetIdentity;
    bool committed = false;
};

ReplacedFile::ReplacedFile(const std::string& path)
    : m_state(std::make_unique<State>()) {
    State& state = *m_state;
    state.shown = displayText(path);
    state.target = longPath(wideArgument(path, Exit::writeFailure));
    checkReplacedFile(isPipeOrDevice(path) ? There::other
                                           : whatItIs(GetFileAttributesW(state.target.c_str())),
                      state.shown);
    state.targetIdentity = identityOf(state.target);
    const std::wstring temporary = parentOf(state.target) + L'\\' + temporaryName();
    const Handle file(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        failBySystem(codeOfMissing(Exit::writeFailure), "write", state.shown);
    }
    state.temporary = temporary;
    state.temporaryText = fromWide(temporary);
    state.temporaryIdentity = identityOf(temporary);
}

ReplacedFile::~ReplacedFile() {
    if (!m_state->committed) {
        DeleteFileW(m_state->temporary.c_str());
    }
}

const std::string& ReplacedFile::temporaryPath() const {
    return m_state->temporaryText;
}

ReplacedFile::Self ReplacedFile::self(FolderCursor& cursor, const std::u16string& name) const {
    // An identity costs an opened file here, so names that cannot match by their length do without.
    if (name.size() != leafOf(m_state->temporary).size() && name.size() != leafOf(m_state->target).size()) {
        return Self::no;
    }
    const FileIdentity identity = cursor.identity(name);
    return identity == m_state->temporaryIdentity ? Self::temporary
           : identity == m_state->targetIdentity  ? Self::target
                                                  : Self::no;
}

std::uint64_t ReplacedFile::writtenSize() const {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(m_state->temporary.c_str(), GetFileExInfoStandard, &data)) {
        return 0;
    }
    return static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

void ReplacedFile::commit() {
    State& state = *m_state;
    Handle file(CreateFileW(state.temporary.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file || !FlushFileBuffers(file.get()) || !file.reset() ||
        !MoveFileExW(state.temporary.c_str(), state.target.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        failBySystem(Exit::writeFailure, "write", state.shown);
    }
    state.committed = true;
}

} // namespace mvtool
