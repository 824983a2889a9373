// A temporary folder with verbs for the tests of `mvtool rec`.
#pragma once

#include "program.h"
#include "record_bytes.h"
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <temp_folder.h>

namespace tooltest {

enum Code { kDone, kNo, kUsage, kNotFound, kDamaged, kCancelled, kWriteFailure };

class RecTest : public testing::Test {
protected:
    std::filesystem::path Path(const std::filesystem::path& name) const { return m_folder.Root() / name; }
    std::string Text(const std::filesystem::path& name) const { return utf8(Path(name)); }

    /// Makes a file with its folders.
    void Write(const std::filesystem::path& name, const std::string& bytes) const {
        std::filesystem::create_directories(Path(name).parent_path());
        std::ofstream file(Path(name), std::ios::binary);
        file << bytes;
        ASSERT_TRUE(file.flush()) << utf8(name);
    }
    void MakeFolder(const std::filesystem::path& name) const {
        std::filesystem::create_directories(Path(name));
    }
    std::string Read(const std::filesystem::path& name) const {
        std::ifstream file(Path(name), std::ios::binary);
        EXPECT_TRUE(file.is_open()) << utf8(name);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(const std::filesystem::path& name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(Path(name)));
    }

    Result Build(const std::string& folder, const std::string& file) const {
        return mvtool({"rec", "build", Text(folder), "-o", Text(file)});
    }
    Result Extract(const std::string& file, const std::string& folder,
                   std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {"rec", "extract", Text(file), "-C", Text(folder)};
        words.insert(words.end(), more.begin(), more.end());
        return mvtool(words);
    }
    Result Rec(const std::string& command, const std::string& file) const {
        return mvtool({"rec", command, Text(file)});
    }

    /// Everything below a folder: names with "/" between them, a folder's with one behind.
    std::set<std::string> Listing(const std::filesystem::path& name) const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Path(name))) {
            const std::u8string relative = entry.path().lexically_relative(Path(name)).generic_u8string();
            names.insert(std::string(relative.begin(), relative.end()) +
                         (entry.is_directory() && !entry.is_symlink() ? "/" : ""));
        }
        return names;
    }
    /// No temporary file is left in the test's folder.
    void ExpectNothingLeftBehind() const {
        for (const std::string& name : Listing(".")) {
            EXPECT_EQ(name.find(".mvtool-"), std::string::npos) << name;
        }
    }

    TempFolder m_folder;
};

} // namespace tooltest
