// Folder trees as the packing and unpacking commands see them. One source per target: folders_posix.cpp works
// on open folders, so that no path limit and no link laid meanwhile matters; folders_win32.cpp works on long
// paths. What both do alike stands in folders_common.cpp.
//
// Names are UTF-16 units on both targets. Every operation throws Failure: notFound for what cannot be read,
// writeFailure for what cannot be written, damaged where a link stands in the way of something to be written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mvtool {

/// Which file it is, whatever its name.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t index = 0;
    bool operator==(const FileIdentity&) const = default;
};

/// What is kept of a file besides its name and bytes.
struct FileFacts {
    std::int64_t modified = 0; ///< nanoseconds since 1970, UTC
    bool executable = false;   ///< never set on Windows, ignored there
    bool readOnly = false;
};

struct FolderEntry {
    enum class Kind { folder, file, link, other };
    std::u16string name;
    Kind kind = Kind::other;
    std::uint64_t size = 0; ///< of a file
    FileFacts facts;
};

/// A file open for reading.
class SourceFile {
public:
    SourceFile(SourceFile&&) noexcept;
    ~SourceFile();
    /// Up to `size` bytes; 0 at the end.
    std::size_t read(void* buffer, std::size_t size);

private:
    friend class FolderCursor;
    struct State;
    explicit SourceFile(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

/// A file that is being written under a name of its own and gets its real name at the end. Without commit it
/// vanishes.
class NewFile {
public:
    NewFile(NewFile&&) noexcept;
    ~NewFile();
    void write(const void* data, std::size_t size);
    /// Gives the file its facts and its name. A file of that name is replaced only when `replace` says so.
    void commit(const FileFacts& facts, bool replace);

private:
    friend class FolderCursor;
    struct State;
    explicit NewFile(std::unique_ptr<State> state);
    /// Bytes that the system took, at least one.
    std::size_t writePiece(const void* data, std::size_t size);
    std::unique_ptr<State> m_state;
};

/// A place in a folder tree. Only names without separators are taken, so it never leaves the tree; it never
/// follows a link below its root either.
class FolderCursor {
public:
    /// Stands in the folder `path` (a link to a folder will do), which messages call `shown`.
    FolderCursor(const std::string& path, const std::string& shown);
    FolderCursor(FolderCursor&&) noexcept;
    ~FolderCursor();

    /// How the entry `name` of the current folder is called in messages.
    std::string describe(const std::u16string& name) const;

    /// The entries of the current folder by their units in ascending order, without "." and "..". Names that
    /// have no stored form (Windows: a lone surrogate) are counted in `unnameable`.
    std::vector<FolderEntry> list(std::size_t& unnameable);
    void enter(const std::u16string& name);
    /// Back to the parent folder; `modified` becomes the left folder's time when given.
    void leave(std::optional<std::int64_t> modified = std::nullopt);
    SourceFile open(const std::u16string& name);
    FileIdentity identity(const std::u16string& name);

    enum class Made { made, existed };
    Made makeFolder(const std::u16string& name);
    NewFile create(const std::u16string& name);
    void removeFile(const std::u16string& name);
    void removeFolder(const std::u16string& name);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// False where the system reserves names that others allow.
bool takesPosixNames();

/// True when something stands at the path that is or leads to a folder; Failure(writeFailure) when it is
/// something else.
bool folderExists(const std::string& path);

/// True when a pipe, a socket or a device stands at the path: it has no bytes to go back to, and opening it
/// may wait for ever.
bool isPipeOrDevice(const std::string& path);

/// Makes an empty folder beside `path` (whose parent must exist: else Failure(notFound)) and returns its
/// path.
std::string makeFolderBeside(const std::string& path);

/// Gives a folder its final name; fails when there is something of that name.
void renameFolder(const std::string& from, const std::string& to);

/// Deletes a folder that is empty; says nothing when it cannot.
void removeEmptyFolder(const std::string& path);

/// Deletes a folder with all below it, without following links. Says nothing when it cannot.
void removeTree(const std::string& path) noexcept;

/// An output file that is written beside its target and takes its place at the end. Without commit the target
/// stays as it was and the temporary file is removed. The bytes are written by others, through
/// temporaryPath().
class ReplacedFile {
public:
    /// Makes the temporary file. Failure: notFound when the folder is missing, writeFailure for every other
    /// reason, such as a target that is not an ordinary file.
    explicit ReplacedFile(const std::string& path);
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    const std::string& temporaryPath() const;
    enum class Self { no, temporary, target };
    /// Whether the entry `name` of the cursor's folder is the temporary file or the old target. Another name
    /// of the same file counts too; on Windows only where it is as long as one of the two.
    Self self(FolderCursor& cursor, const std::u16string& name) const;
    /// Bytes that the system says are there.
    std::uint64_t writtenSize() const;
    /// Sees that the bytes are on the disk, then renames.
    void commit();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace mvtool
