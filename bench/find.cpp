// Walks into 100,000 entries, in one folder and in a tree, beside the standard library's iterator and fts.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <folder_entries.h>
#include <fts.h>
#include <string>
#include <unistd.h>

#include "file_trees.h"
#include "sink.h"

namespace fs = std::filesystem;

namespace {

constexpr long ENTRIES = 100000;

// The two trees, made when first asked for and removed at the end.
class Trees {
public:
    static const fs::path& Flat() { return Instance().m_flat; }
    static const fs::path& Nested() { return Instance().m_nested; }

private:
    static Trees& Instance() {
        static Trees trees;
        return trees;
    }
    Trees()
        : m_root(fs::temp_directory_path() / ("mvlib62-bench-" + std::to_string(getpid())))
        , m_flat(m_root / "flat")
        , m_nested(m_root / "nested") {
        MakeFiles(m_flat, ENTRIES);
        // 10 and 100 and 1,000 folders, with files in the lowest: 99,900 entries and a few more.
        for (int i = 0; i < 1000; ++i)
            MakeFiles(m_nested / std::to_string(i / 100) / std::to_string(i / 10 % 10) /
                          std::to_string(i % 10),
                      99);
    }
    ~Trees() { fs::remove_all(m_root); }

    fs::path m_root;
    fs::path m_flat;
    fs::path m_nested;
};

template <HANDLE (*FIRST)(LPCWSTR, LPWIN32_FIND_DATAW)>
long WalkOurs(const std::wstring& folder) {
    long entries = 0;
    WIN32_FIND_DATAW data;
    const HANDLE search = FIRST((folder + L"\\*.*").c_str(), &data);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    do {
        const bool isFolder = data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        if (isFolder && data.cFileName[0] == L'.' &&
            (data.cFileName[1] == 0 || (data.cFileName[1] == L'.' && data.cFileName[2] == 0)))
            continue;
        ++entries;
        if (isFolder)
            entries += WalkOurs<FIRST>(folder + L"\\" + data.cFileName);
    } while (FindNextFileW(search, &data));
    FindClose(search);
    return entries;
}

long WalkFilesystem(const fs::path& folder) {
    long entries = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        ++entries;
        Keep(entry.is_directory());
    }
    return entries;
}

template <int OPTIONS>
long WalkFts(const fs::path& folder) {
    std::string path = folder.string();
    char* const paths[] = {path.data(), nullptr};
    FTS* const walk = fts_open(paths, FTS_PHYSICAL | FTS_NOCHDIR | OPTIONS, nullptr);
    long entries = -1;
    while (const FTSENT* entry = fts_read(walk)) {
        if (entry->fts_info != FTS_DP)
            ++entries;
    }
    fts_close(walk);
    return entries;
}

template <class Walk, class Path>
void Run(benchmark::State& state, Walk walk, const Path& folder) {
    for (auto _ : state) {
        const long entries = walk(folder);
        if (entries < ENTRIES || entries > ENTRIES + 200)
            std::abort();
        Keep(entries);
    }
}

#define WALKS(job, folder)                                                                                   \
    BENCHMARK_CAPTURE(Run, job##_names, WalkOurs<MvFindFirstEntry>, (folder).wstring())                      \
        ->Name("find/" #job "-names/ours")                                                                   \
        ->Unit(benchmark::kMillisecond);                                                                     \
    BENCHMARK_CAPTURE(Run, job##_filesystem, WalkFilesystem, folder)                                         \
        ->Name("find/" #job "-names/peer-filesystem")                                                        \
        ->Unit(benchmark::kMillisecond);                                                                     \
    BENCHMARK_CAPTURE(Run, job##_fts_nostat, WalkFts<FTS_NOSTAT>, folder)                                    \
        ->Name("find/" #job "-names/peer-fts-nostat")                                                        \
        ->Unit(benchmark::kMillisecond);                                                                     \
    BENCHMARK_CAPTURE(Run, job##_whole, WalkOurs<FindFirstFileW>, (folder).wstring())                        \
        ->Name("find/" #job "/ours")                                                                         \
        ->Unit(benchmark::kMillisecond);                                                                     \
    BENCHMARK_CAPTURE(Run, job##_fts, WalkFts<0>, folder)                                                    \
        ->Name("find/" #job "/peer-fts")                                                                     \
        ->Unit(benchmark::kMillisecond)

} // namespace

WALKS(flat, Trees::Flat());
WALKS(nested, Trees::Nested());
