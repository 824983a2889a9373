// rec build: walks a folder tree and writes it.
#include "rec.h"

#include "../console.h"
#include "../folders.h"
#include "../progress.h"
#include "../text.h"
#include "writer.h"
#include <algorithm>

namespace mvtool::rec {
namespace {

class Builder {
public:
    Builder(FolderCursor& source, ReplacedFile& output, TreeWriter& writer, Progress& progress, bool quiet)
        : m_source(source)
        , m_output(output)
        , m_writer(writer)
        , m_progress(progress)
        , m_quiet(quiet)
        , m_buffer(kPieceBytes + kSumBytes) {}

    void run();
    std::uint64_t leftOut() const { return m_leftOut; }
    std::uint64_t posixNames() const { return m_posixNames; }

private:
    /// The entries of an open folder and how many of them are done.
    struct Level {
        std::vector<FolderEntry> entries;
        std::size_t done = 0;
    };

    void openLevel();
    void packFile(const FolderEntry& found, int level);
    Entry record(const FolderEntry& found);
    void leaveOut(const std::string& path, const char* why);

    FolderCursor& m_source;
    ReplacedFile& m_output;
    TreeWriter& m_writer;
    Progress& m_progress;
    bool m_quiet;
    std::vector<unsigned char> m_buffer;
    std::vector<Level> m_levels;
    std::uint64_t m_leftOut = 0;
    std::uint64_t m_posixNames = 0;
};

void Builder::leaveOut(const std::string& path, const char* why) {
    ++m_leftOut;
    if (!m_quiet) {
        console().note("left out, " + std::string(why) + ": " + path);
    }
}

void Builder::openLevel() {
    std::size_t unnameable = 0;
    m_levels.push_back({m_source.list(unnameable)});
    for (; unnameable > 0; --unnameable) {
        leaveOut(m_source.describe({}), "a name that is not UTF-16");
    }
}

Entry Builder::record(const FolderEntry& found) {
    Entry entry;
    entry.folder = found.kind == FolderEntry::Kind::folder;
    entry.name = found.name;
    entry.modified = found.facts.modified;
    entry.size = entry.folder ? 0 : found.size;
    if (kindOfName(entry.name) == NameKind::posixOnly) {
        entry.flags |= kPosixName;
        ++m_posixNames;
    }
    if (!entry.folder) {
        entry.flags |= (found.facts.executable ? kExecutable : 0) | (found.facts.readOnly ? kReadOnly : 0);
    }
    return entry;
}

// The size in the record is the one that the folder told; a file that grows meanwhile is packed up to there.
void Builder::packFile(const FolderEntry& found, int level) {
    SourceFile file = m_source.open(found.name);
    m_writer.entry(record(found), level);
    std::uint64_t missing = found.size;
    while (missing > 0) {
        const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>(missing, kPieceBytes));
        std::uint32_t got = 0;
        while (got < wanted) {
            const std::size_t now = file.read(m_buffer.data() + got, wanted - got);
            if (now == 0) {
                throw Failure(Exit::notFound,
                              "became shorter while it was read: " + m_source.describe(found.name));
            }
            got += static_cast<std::uint32_t>(now);
        }
        m_writer.piece(m_buffer.data(), wanted);
        missing -= wanted;
        m_progress.check(TIndicadorEstat::MostrarEstatRel(
            m_progress.indicator(), 1.0 - static_cast<double>(missing) / static_cast<double>(found.size)));
    }
}

// Each entry gets its slice of its folder's slice of the bar. Folders wait in m_levels, not on the stack.
void Builder::run() {
    TIndicadorEstat* indicator = m_progress.indicator();
    openLevel();
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.done == level.entries.size()) {
            m_levels.pop_back();
            if (!m_levels.empty()) {
                m_source.leave();
                m_progress.check(TIndicadorEstat::PopRangRel(indicator));
            }
            continue;
        }
        const std::size_t position = level.done++;
        const FolderEntry found = std::move(level.entries[position]);
        const int depth = static_cast<int>(m_levels.size()) - 1;
        if (depth == 0) {
            m_progress.say("packing " + displayName(found.name));
        }
        m_progress.check(TIndicadorEstat::SetRangPosicioRel(indicator, static_cast<unsigned>(position),
                                                            static_cast<unsigned>(level.entries.size())));
        const bool packed = found.kind == FolderEntry::Kind::folder || found.kind == FolderEntry::Kind::file;
        if (packed && depth > kMaxEntryLevel) {
            throw Failure(Exit::usage,
                          "the tree is deeper than 32,767 levels, more than a record file can tell: " +
                              m_source.describe(found.name));
        }
        if (kindOfName(found.name) == NameKind::nowhere) {
            leaveOut(m_source.describe(found.name), "the name is too long");
        } else if (found.kind == FolderEntry::Kind::folder) {
            m_source.enter(found.name);
            m_writer.entry(record(found), depth);
            openLevel();
            continue; // its slice ends when its entries are done
        } else if (found.kind != FolderEntry::Kind::file) {
            leaveOut(m_source.describe(found.name),
                     found.kind == FolderEntry::Kind::link ? "a symbolic link" : "neither file nor folder");
        } else if (const ReplacedFile::Self self = m_output.self(m_source, found.name);
                   self == ReplacedFile::Self::target) {
            leaveOut(m_source.describe(found.name), "the output itself");
        } else if (self == ReplacedFile::Self::no) {
            packFile(found, depth);
        }
        m_progress.check(TIndicadorEstat::PopRangRel(indicator));
    }
}

} // namespace

Exit build(const Arguments& arguments) {
    const std::optional<std::string> target = arguments.value("output");
    if (!target || target->empty()) {
        throw Failure(Exit::usage, "the output is missing: -o FILE");
    }
    const std::string& folder = arguments.operands()[0];
    if (folder.empty()) {
        throw Failure(Exit::usage, "an empty folder name: DIR");
    }
    Progress progress(&arguments);
    FolderCursor source(folder, folder);
    ReplacedFile output(*target);
    std::uint64_t leftOut = 0;
    std::uint64_t posixNames = 0;
    Totals totals;
    try {
        TreeWriter writer(output, displayText(*target));
        Builder builder(source, output, writer, progress, arguments.has("quiet"));
        builder.run();
        writer.finish();
        totals = writer.totals();
        leftOut = builder.leftOut();
        posixNames = builder.posixNames();
    } catch (CException* exception) { // the temporary file that was just made does not open
        exception->Delete();
        throw Failure(Exit::writeFailure, "cannot write " + displayText(*target));
    }
    progress.check();
    output.commit();
    progress.finish();
    if (posixNames > 0 && !arguments.has("quiet")) {
        console().note("names that Windows cannot have: " + std::to_string(posixNames));
    }
    console().print("packed " + counted(totals.folders, "folder") + ", " + counted(totals.files, "file") +
                    ", " + counted(totals.bytes, "byte") +
                    (leftOut > 0 ? "; left out: " + std::to_string(leftOut) : std::string()) + '\n');
    return Exit::done;
}

} // namespace mvtool::rec
