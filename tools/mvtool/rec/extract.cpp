// rec extract: writes a packed tree into a folder.
#include "rec.h"

#include "../console.h"
#include "../folders.h"
#include "../progress.h"
#include "../text.h"
#include "unpack.h"
#include <optional>

namespace mvtool::rec {
namespace {

/// The folder to extract into. One that does not exist is filled under another name and renamed at the end.
class Destination {
public:
    Destination(std::string path, bool keep)
        : m_path(std::move(path))
        , m_keep(keep) {
        if (!folderExists(m_path)) {
            m_temporary = makeFolderBeside(m_path);
        }
    }
    ~Destination() {
        if (!m_temporary.empty()) {
            removeTree(m_temporary);
        }
    }
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    bool isNew() const { return !m_temporary.empty(); }
    const std::string& folder() const { return isNew() ? m_temporary : m_path; }
    /// After a failure: true when the files that were complete are kept.
    bool keeps() const { return m_keep || !isNew(); }
    void commit() {
        if (isNew()) {
            renameFolder(m_temporary, m_path);
            m_temporary.clear();
        }
    }

private:
    std::string m_path;
    std::string m_temporary;
    bool m_keep;
};

class FolderSink : public Sink {
public:
    FolderSink(const std::string& folder, const std::string& shown, bool isNew, bool replace,
               Progress& progress)
        : m_cursor(folder, shown)
        , m_isNew(isNew)
        , m_replace(replace)
        , m_progress(progress) {}

    void enterFolder(const Entry& entry) override {
        begin(entry);
        if (m_cursor.makeFolder(entry.name) == FolderCursor::Made::existed && m_isNew) {
            throw Failure(Exit::writeFailure,
                          "two names that are the same on this system: " + m_cursor.describe(entry.name));
        }
        m_cursor.enter(entry.name);
        ++m_depth;
    }
    void leaveFolder(const Entry& entry) override {
        m_cursor.leave(entry.modified);
        --m_depth;
    }
    void beginFile(const Entry& entry) override {
        begin(entry);
        m_file.emplace(m_cursor.create(entry.name));
    }
    void addBytes(std::span<const unsigned char> bytes) override {
        m_file->write(bytes.data(), bytes.size());
    }
    void endFile(const Entry& entry) override {
        m_file->commit({entry.modified, (entry.flags & kExecutable) != 0, (entry.flags & kReadOnly) != 0},
                       m_replace);
        m_file.reset();
        ++m_files;
    }
    std::uint64_t files() const { return m_files; }

private:
    void begin(const Entry& entry) {
        if ((entry.flags & kPosixName) != 0 && !takesPosixNames()) {
            throw Failure(Exit::writeFailure, "this system cannot have the name " + displayName(entry.name));
        }
        if (m_depth == 0) {
            m_progress.say("extracting " + displayName(entry.name));
        }
    }

    FolderCursor m_cursor;
    bool m_isNew;
    bool m_replace;
    Progress& m_progress;
    std::optional<NewFile> m_file;
    int m_depth = 0;
    std::uint64_t m_files = 0;
};

} // namespace

Exit extract(const Arguments& arguments) {
    Progress progress(&arguments);
    const std::string& path = arguments.operands()[0];
    const std::string target = arguments.value("directory").value_or(".");
    if (target.empty()) {
        throw Failure(Exit::usage, "an empty folder name: -C DIR");
    }
    const std::unique_ptr<CFile> file = openRecordFile(path);
    Totals totals;
    try {
        RecordScan scan(*file, progress.indicator());
        TreeReader reader(scan);
        Destination destination(target, arguments.has("partial"));
        try {
            FolderSink sink(destination.folder(), target, destination.isNew(), arguments.has("replace"),
                            progress);
            try {
                unpack(reader, sink);
            } catch (const Failure&) {
                if (destination.keeps() && sink.files() > 0) {
                    console().note("extracted before the failure: " + counted(sink.files(), "file"));
                }
                throw;
            }
        } catch (const Failure&) {
            if (arguments.has("partial")) {
                destination.commit();
            }
            throw;
        }
        progress.check();
        destination.commit();
        totals = reader.totals();
    } catch (const Damage& damage) {
        throw Failure(damage.code(), displayText(path) + ": " + damage.text());
    }
    progress.finish();
    console().print("extracted " + counted(totals.folders, "folder") + ", " + counted(totals.files, "file") +
                    ", " + counted(totals.bytes, "byte") + '\n');
    return Exit::done;
}

} // namespace mvtool::rec
