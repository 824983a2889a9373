// Folders full of files for benchmarks.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

// Makes the folder, and in it empty files with names of some length.
inline void MakeFiles(const std::filesystem::path& folder, long count) {
    std::filesystem::create_directories(folder);
    for (long i = 0; i < count; ++i)
        std::ofstream(folder / ("a file of some length " + std::to_string(i) + ".txt"));
}
