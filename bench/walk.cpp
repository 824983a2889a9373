// Walks over 100,000 entries, by TIteradorFitxers and by the search functions below it, beside the standard
// library's iterator and fts.
#include <benchmark/benchmark.h>
#include <fts.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <folder_entries.h>
#include <fstream>
#include <string>

#include "sink.h"
#include "TIteradorFitxers.h"

namespace fs = std::filesystem;

namespace {

constexpr long kFiles = 100000;

// Makes the folder, and in it empty files with names of some length.
void MakeFiles(const fs::path& folder, long count) {
    fs::create_directories(folder);
    for (long i = 0; i < count; ++i)
        std::ofstream(folder / ("a file of some length " + std::to_string(i) + ".txt"));
}

// The trees, made when first asked for and removed at the end.
class Trees {
public:
    // kFiles in one folder.
    static const fs::path& Flat() { return Instance().m_flat; }
    static const fs::path& Tenth() { return Instance().m_tenth; }
    // 1,000 folders in three levels of ten, without files.
    static const fs::path& Folders() { return Instance().m_folders; }
    // kFiles in 1,000 folders below the start: the files of one level, which a recursive walk delivers once.
    // A walk over folders meets them all, too.
    static const fs::path& Wide() { return Instance().m_wide; }
    // kFiles in ten times ten folders: at depth 2, where a recursive walk delivers them twice.
    static const fs::path& Deep() { return Instance().m_deep; }

private:
    static Trees& Instance() {
        static Trees trees;
        return trees;
    }
    Trees()
        : m_root(fs::temp_directory_path() / ("mvlib62-bench-" + std::to_string(getpid())))
        , m_flat(m_root / "flat")
        , m_tenth(m_root / "tenth")
        , m_folders(m_root / "folders")
        , m_wide(m_root / "wide")
        , m_deep(m_root / "deep") {
        MakeFiles(m_flat, kFiles);
        MakeFiles(m_tenth, kFiles / 10);
        for (int i = 0; i < 1000; ++i) {
            fs::create_directories(m_folders / std::to_string(i / 100) / std::to_string(i / 10 % 10) /
                                   std::to_string(i % 10));
            MakeFiles(m_wide / std::to_string(i), kFiles / 1000);
        }
        for (int i = 0; i < 100; ++i)
            MakeFiles(m_deep / std::to_string(i / 10) / std::to_string(i % 10), kFiles / 100);
    }
    ~Trees() { fs::remove_all(m_root); }

    fs::path m_root;
    fs::path m_flat;
    fs::path m_tenth;
    fs::path m_folders;
    fs::path m_wide;
    fs::path m_deep;
};

// ---- The search functions; the jobs of the walk stand below

// A walk by hand: with the names of the entries alone (MvFindFirstEntry), or with all that is known of them.
template <HANDLE (*FIRST)(LPCWSTR, LPWIN32_FIND_DATAW)>
long Search(const std::wstring& folder) {
    long files = 0;
    WIN32_FIND_DATAW data;
    const HANDLE search = FIRST((folder + L"\\*.*").c_str(), &data);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    do {
        const bool isFolder = data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        if (isFolder && data.cFileName[0] == L'.' &&
            (data.cFileName[1] == 0 || (data.cFileName[1] == L'.' && data.cFileName[2] == 0)))
            continue;
        files += isFolder ? Search<FIRST>(folder + L"\\" + data.cFileName) : 1;
    } while (FindNextFileW(search, &data));
    FindClose(search);
    return files;
}

template <HANDLE (*FIRST)(LPCWSTR, LPWIN32_FIND_DATAW)>
long SearchFiles(const fs::path& folder, bool) {
    return Search<FIRST>(folder.wstring());
}

int Count(const wchar_t*, const wchar_t*, int, long user) {
    ++*reinterpret_cast<long*>(user);
    return 1;
}

long OurFiles(const fs::path& folder, bool recursive) {
    long count = 0;
    TIteradorFitxers().IteraFitxers(&Count, reinterpret_cast<long>(&count), L"*.*", folder.wstring().c_str(),
                                    recursive);
    return count;
}

long OurFolders(const fs::path& folder, bool) {
    long count = 0;
    TIteradorFitxers().IteraCarpetes(&Count, reinterpret_cast<long>(&count), folder.wstring().c_str(), 1);
    return count;
}

long Filesystem(const fs::path& folder, bool) {
    long count = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        count += !entry.is_directory();
    return count;
}

long FilesystemFolders(const fs::path& folder, bool) {
    long count = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        count += entry.is_directory();
    return count;
}

template <int KIND, int OPTIONS = 0>
long Fts(const fs::path& folder, bool) {
    std::string path = folder.string();
    char* const paths[] = {path.data(), nullptr};
    FTS* const walk = fts_open(paths, FTS_PHYSICAL | FTS_NOCHDIR | OPTIONS, nullptr);
    long count = KIND == FTS_D ? -1 : 0; // the start itself is delivered too
    while (const FTSENT* entry = fts_read(walk))
        count += entry->fts_info == KIND;
    fts_close(walk);
    return count;
}

using Walk = long (*)(const fs::path&, bool);

void Run(benchmark::State& state, Walk walk, const fs::path& (*tree)(), bool recursive, long expected) {
    const fs::path& folder = tree();
    for (auto _ : state) {
        const long count = walk(folder, recursive);
        if (count != expected)
            state.SkipWithError("not every entry was delivered");
        Keep(count);
    }
}

void Add(const char* job, const char* contender, Walk walk, const fs::path& (*tree)(), bool recursive,
         long expected, long size) {
    std::string name = "walk/";
    name.append(job).append("/").append(contender);
    if (size)
        name.append("/").append(std::to_string(size));
    benchmark::RegisterBenchmark(name.c_str(), Run, walk, tree, recursive, expected)
        ->Unit(benchmark::kMillisecond);
}

const bool g_registered = [] {
    const struct {
        const char* name;
        Walk files;
        Walk folders;
    } all[] = {{"ours", OurFiles, OurFolders},
               {"peer-filesystem", Filesystem, FilesystemFolders},
               {"peer-fts", Fts<FTS_F>, Fts<FTS_D>}};
    for (const auto& one : all) {
        const bool ours = one.files == OurFiles;
        Add("flat", one.name, one.files, Trees::Tenth, false, kFiles / 10, kFiles / 10);
        Add("flat", one.name, one.files, Trees::Flat, false, kFiles, kFiles);
        Add("nested", one.name, one.folders, Trees::Wide, true, 1000, 0);
        Add("folders", one.name, one.folders, Trees::Folders, true, 1110, 0);
        Add("recursive", one.name, one.files, Trees::Wide, true, kFiles, 0);
        Add("recursive-twice", one.name, one.files, Trees::Deep, true, ours ? 2 * kFiles : kFiles, 0);
    }
    // Names alone, for which nobody asks the system about every entry; then with all that is known.
    const struct {
        const char* name;
        Walk files;
    } names[] = {{"ours", SearchFiles<MvFindFirstEntry>},
                 {"peer-filesystem", Filesystem},
                 {"peer-fts-nostat", Fts<FTS_NSOK, FTS_NOSTAT>}},
      whole[] = {{"ours", SearchFiles<FindFirstFileW>}, {"peer-fts", Fts<FTS_F>}};
    for (const auto& one : names) {
        Add("search-names-flat", one.name, one.files, Trees::Flat, true, kFiles, 0);
        Add("search-names-nested", one.name, one.files, Trees::Wide, true, kFiles, 0);
    }
    for (const auto& one : whole) {
        Add("search-flat", one.name, one.files, Trees::Flat, true, kFiles, 0);
        Add("search-nested", one.name, one.files, Trees::Wide, true, kFiles, 0);
    }
    return true;
}();

} // namespace
