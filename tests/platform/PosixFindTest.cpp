// Searches in folders of POSIX: links, rights, names that are no text.
#include "temp_folder.h"

#include <folder_entries.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr DWORD linkToFolder = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
constexpr DWORD linkToFile = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT;

// The superuser has every right: as long as this lives, an ordinary user of the superuser's group looks
// instead.
class AsOrdinaryUser {
public:
    explicit AsOrdinaryUser(const fs::path& folder)
        : m_user(geteuid()) {
        if (m_user != 0)
            return;
        fs::permissions(folder, fs::perms::group_exec | fs::perms::group_read, fs::perm_options::add);
        EXPECT_EQ(seteuid(65534), 0);
    }
    AsOrdinaryUser(const AsOrdinaryUser&) = delete;
    AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;
    ~AsOrdinaryUser() { EXPECT_EQ(seteuid(m_user), 0); }

private:
    uid_t m_user;
};

class PosixFind : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        m_folder.Write(L"file", "12345");
        fs::create_directories(m_folder.Root() / "sub" / "below");
    }

    HANDLE First(const std::wstring& path) {
        return GetParam() ? MvFindFirstEntry(path.c_str(), &m_data) : FindFirstFileW(path.c_str(), &m_data);
    }

    // The attributes by name, without "." and "..".
    std::map<std::wstring, DWORD> List(const std::wstring& path) {
        std::map<std::wstring, DWORD> entries;
        const HANDLE search = First(path);
        if (search == INVALID_HANDLE_VALUE)
            return entries;
        do {
            entries[m_data.cFileName] = m_data.dwFileAttributes;
        } while (FindNextFileW(search, &m_data));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
        EXPECT_TRUE(FindClose(search));
        entries.erase(L".");
        entries.erase(L"..");
        return entries;
    }

    // How many folders a walk into all of them comes to.
    int Walk(const std::wstring& folder, int depth = 0) {
        EXPECT_LT(depth, 50) << folder.size();
        int folders = 1;
        for (const auto& [name, attributes] : List(folder + L"\\*")) {
            if ((attributes & FILE_ATTRIBUTE_DIRECTORY) && depth < 50)
                folders += Walk(folder + L"\\" + name, depth + 1);
        }
        return folders;
    }

    void Link(const fs::path& target, const fs::path& name) {
        fs::create_symlink(target, m_folder.Root() / name);
    }

    TempFolder m_folder;
    WIN32_FIND_DATAW m_data = {};
};

} // namespace

TEST_P(PosixFind, LinkHasTheAttributesOfItsTarget) {
    Link("sub", "to folder");
    Link("file", "to file");
    Link("nowhere", "dangling");
    const auto entries = List(m_folder.Path(L"*"));
    EXPECT_EQ(entries.at(L"to folder"), linkToFolder);
    EXPECT_EQ(entries.at(L"to file"), linkToFile);
    EXPECT_EQ(entries.at(L"dangling"), linkToFile);
    EXPECT_EQ(List(m_folder.Path(L"to folder")).at(L"to folder"), linkToFolder);
    EXPECT_EQ(m_data.dwReserved0, IO_REPARSE_TAG_SYMLINK);
    EXPECT_EQ(List(m_folder.Path(L"dangling")).at(L"dangling"), linkToFile);
}

TEST_P(PosixFind, LinkThatLeadsBackIsNoFolder) {
    Link(".", "self");
    Link("..", "sub/up");
    Link(m_folder.Root(), "sub/below/root");
    Link("/", "sub/below/slash");
    Link("below", "sub/beside");
    EXPECT_EQ(List(m_folder.Path(L"*")).at(L"self"), linkToFile);
    EXPECT_EQ(List(m_folder.Path(L"sub\\*")).at(L"up"), linkToFile);
    EXPECT_EQ(List(m_folder.Path(L"sub\\*")).at(L"beside"), linkToFolder);
    EXPECT_EQ(List(m_folder.Path(L"sub\\below\\*")).at(L"root"), linkToFile);
    EXPECT_EQ(List(m_folder.Path(L"sub\\below\\*")).at(L"slash"), linkToFile);
    EXPECT_EQ(List(m_folder.Path(L"sub\\below\\ro*")).at(L"root"), linkToFile);
    EXPECT_EQ(List(m_folder.Path(L"sub\\below\\root")).at(L"root"), linkToFile);
}

TEST_P(PosixFind, WalkThroughCrossedLinksEnds) {
    fs::create_directories(m_folder.Root() / "tree" / "a");
    fs::create_directories(m_folder.Root() / "tree" / "b");
    Link("../b", "tree/a/to b");
    Link("../a", "tree/b/to a");
    Link("..", "tree/a/up");
    EXPECT_EQ(Walk(m_folder.Path(L"tree")), 5); // itself, a, a\to b, b, b\to a
}

TEST_P(PosixFind, WalkFromARelativeFolderEndsToo) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Root() / "sub");
    Link("../..", "sub/below/out");
    Link("..", "sub/below/up");
    EXPECT_EQ(List(L"below\\*").at(L"up"), linkToFile);
    EXPECT_EQ(List(L".\\below\\*").at(L"up"), linkToFile);
    EXPECT_EQ(List(L"below\\*").at(L"out"), linkToFile);
    fs::current_path(before);
}

TEST_P(PosixFind, RootHasNoDots) {
    const HANDLE search = First(L"\\*");
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    do {
        EXPECT_STRNE(m_data.cFileName, L".");
        EXPECT_STRNE(m_data.cFileName, L"..");
    } while (FindNextFileW(search, &m_data));
    EXPECT_TRUE(FindClose(search));
}

TEST_P(PosixFind, NameThatIsNoTextCanBeOpenedAgain) {
    std::ofstream(m_folder.Root() / "sub/below/x\xFF\\y").put('z');
    const auto entries = List(m_folder.Path(L"sub\\below\\x*"));
    ASSERT_EQ(entries.size(), 1u);
    const std::wstring path = m_folder.Path(L"sub\\below\\") + entries.begin()->first;
    EXPECT_EQ(GetFileAttributesW(path.c_str()), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_P(PosixFind, ExactNameBeatsItsTwin) {
    m_folder.Write(L"FILE", "");
    EXPECT_EQ(List(m_folder.Path(L"FILE")).size(), 1u);
    EXPECT_EQ(List(m_folder.Path(L"FILE")).count(L"FILE"), 1u);
    EXPECT_EQ(List(m_folder.Path(L"fi*")).size(), 2u);
    EXPECT_EQ(List(m_folder.Path(L"FiLe")).size(), 2u);
}

TEST_P(PosixFind, SpecialFilesAreDevices) {
    ASSERT_EQ(mkfifo((m_folder.Root() / "pipe").c_str(), 0600), 0);
    const DWORD attributes = List(m_folder.Path(L"p*")).at(L"pipe");
    EXPECT_EQ(attributes, GetParam() ? DWORD{FILE_ATTRIBUTE_ARCHIVE} : DWORD{FILE_ATTRIBUTE_DEVICE});
}

TEST_P(PosixFind, RemovedFolderListsNothingMore) {
    const HANDLE search = First(m_folder.Path(L"sub\\below\\*"));
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    fs::remove(m_folder.Root() / "sub/below");
    int rest = 0;
    while (FindNextFileW(search, &m_data))
        ++rest;
    EXPECT_LE(rest, 1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_TRUE(FindClose(search));
}

// ---- Error results

TEST_P(PosixFind, FolderWithoutRightsGives5) {
    fs::permissions(m_folder.Root() / "sub", fs::perms::none);
    {
        const AsOrdinaryUser user(m_folder.Root());
        EXPECT_EQ(First(m_folder.Path(L"sub\\*")), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    }
    fs::permissions(m_folder.Root() / "sub", fs::perms::owner_all);
}

TEST_P(PosixFind, FolderThatMayOnlyBeListedTellsKinds) {
    m_folder.Write(L"sub\\file", "12345");
    fs::permissions(m_folder.Root() / "sub", fs::perms::owner_read | fs::perms::group_read);
    std::map<std::wstring, DWORD> entries;
    {
        const AsOrdinaryUser user(m_folder.Root());
        entries = List(m_folder.Path(L"sub\\*"));
    }
    fs::permissions(m_folder.Root() / "sub", fs::perms::owner_all);
    EXPECT_EQ(entries.at(L"below"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(entries.at(L"file"), DWORD{FILE_ATTRIBUTE_ARCHIVE});
}

TEST_P(PosixFind, PathTooLongGives206) {
    const std::wstring name(300, L'x');
    EXPECT_EQ(First(m_folder.Path(name + L"\\*")), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_EQ(First(m_folder.Path(name)), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_P(PosixFind, NullRecordGives87) {
    EXPECT_EQ(GetParam() ? MvFindFirstEntry(L"x", nullptr) : FindFirstFileW(L"x", nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    const HANDLE search = First(m_folder.Path(L"*"));
    EXPECT_FALSE(FindNextFileW(search, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_TRUE(FindClose(search));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutData, PosixFind, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "NamesOnly" : "Whole"; });
