// What only shows where trees are deep, names are bytes and folders come from the environment.
#include <CPathString.h>
#include <TIteradorFitxers.h>

#include "temp_folder.h"

#include "afxcoll.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A variable of the environment, put back at the end.
class Variable {
public:
    Variable(const char* name, const char* value)
        : m_name(name) {
        if (const char* before = std::getenv(name)) {
            m_before = before;
            m_was = true;
        }
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~Variable() {
        if (m_was)
            setenv(m_name, m_before.c_str(), 1);
        else
            unsetenv(m_name);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    std::string m_before;
    bool m_was = false;
};

class PosixFilesTest : public testing::Test {
protected:
    CString Root() const {
        CString root(folder.Root().wstring().c_str());
        root.Replace(L'/', L'\\');
        return root;
    }
    CString In(const wchar_t* name) const { return Root() + L"\\" + name; }
    // Runs something without the rights that a superuser has; what it answers ends a process of its own.
    template <class Action>
    static int AsNobody(Action action) {
        const pid_t child = fork();
        if (child == 0)
            _exit(getuid() == 0 && setuid(65534) != 0 ? 100 : action());
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    TempFolder folder;
};

// ---- Deep trees

TEST_F(PosixFilesTest, TreeOfGreatDepthIsRemoved) {
    // More levels than a process usually may have files open.
    fs::path deep = folder.Root() / "t";
    std::size_t levels = 0;
    for (fs::create_directory(deep); deep.native().size() < 2600; ++levels) {
        deep /= "d";
        fs::create_directory(deep);
    }
    std::ofstream(deep / "f") << "x";
    EXPECT_GT(levels, 1200u);
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"t"), 1), 1);
    EXPECT_TRUE(fs::is_empty(folder.Root()));
}

// ---- Names

TEST_F(PosixFilesTest, NamesWithQuotesAndBackslashesAndBytesAreWalkedAndRemoved) {
    const std::vector<std::string> names = {"\"quoted\"", "a\\b",   "bad\xFF\x80utf8",
                                            " blank ",    "*?<>|:", "new\nline"};
    fs::create_directory(folder.Root() / "t");
    for (const std::string& name : names) {
        fs::create_directory(folder.Root() / "t" / name);
        std::ofstream(folder.Root() / "t" / name / name) << "x";
    }
    CStringList list;
    TIteradorFitxers().GetLlistaFitxers(list, L"*", In(L"t"), 1);
    EXPECT_EQ(list.GetCount(), static_cast<INT_PTR>(names.size()));
    for (POSITION at = list.GetHeadPosition(); at;)
        EXPECT_EQ(CPathString(list.GetNext(at)).TestFitxer(), 1);
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"t"), 1), 1);
    EXPECT_TRUE(fs::is_empty(folder.Root()));
}

TEST_F(PosixFilesTest, NamesThatDifferInCaseAreTwo) {
    folder.Write(L"a.dat", "1");
    folder.Write(L"A.dat", "12");
    CStringList list;
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"a.DAT", Root(), 0), 0);
    EXPECT_EQ(list.GetCount(), 2);
    EXPECT_EQ(CPathString::GetMida(In(L"a.dat")), 1u);
    EXPECT_EQ(CPathString::GetMida(In(L"A.dat")), 2u);
}

// ---- Links and special files

TEST_F(PosixFilesTest, LinksThatLeadNowhereAreFiles) {
    fs::create_directory(folder.Root() / "t");
    fs::create_symlink("nowhere", folder.Root() / "t" / "dangling");
    fs::create_symlink("self", folder.Root() / "t" / "self");
    CStringList list;
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*", In(L"t"), 1), 0);
    EXPECT_EQ(list.GetCount(), 2);
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"t"), 1), 1);
}

TEST_F(PosixFilesTest, RemovalOfALinkToAFileLeavesTheFile) {
    folder.Write(L"file", "x");
    fs::create_directory(folder.Root() / "t");
    fs::create_symlink(folder.Root() / "file", folder.Root() / "t" / "link");
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"t"), 1), 1);
    EXPECT_EQ(folder.Read(L"file"), "x");
}

TEST_F(PosixFilesTest, LinkWhoseNameLooksLikeAPatternIsALinkAllTheSame) {
    fs::create_directory(folder.Root() / "t");
    folder.Write(L"t/file", "x");
    for (const char* name : {"aXb", "a1b"})
        fs::create_directory(folder.Root() / name);
    fs::create_symlink(folder.Root() / "t", folder.Root() / "a*b");
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"a*b"), 1), 1);
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder.Root() / "a*b")));
    EXPECT_EQ(folder.Read(L"t/file"), "x");
}

TEST_F(PosixFilesTest, ForcedRemovalOfALinkLeavesItsTargetReadOnly) {
    folder.Write(L"file", "x");
    fs::create_symlink(folder.Root() / "file", folder.Root() / "link");
    fs::permissions(folder.Root() / "file", fs::perms(0444));
    EXPECT_EQ(CPathString::Esborrar(In(L"link"), 1), 1);
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder.Root() / "link")));
    EXPECT_EQ(fs::status(folder.Root() / "file").permissions(), fs::perms(0444));
}

// ---- Rights

TEST_F(PosixFilesTest, FolderThatMayNotBeListedIsReported) {
    fs::create_directory(folder.Root() / "locked");
    fs::create_directory(folder.Root() / "locked" / "inner");
    fs::permissions(folder.Root(), fs::perms::all);
    fs::permissions(folder.Root() / "locked", fs::perms::owner_exec | fs::perms::others_exec);
    const CString root = Root();
    struct Visit {
        int calls = 0;
        static int Stop(const wchar_t*, const wchar_t*, int, long user) {
            return ++reinterpret_cast<Visit*>(user)->calls < 5;
        }
    };
    EXPECT_EQ(AsNobody([&] {
                  Visit visit;
                  const int walk =
                      TIteradorFitxers().IteraCarpetes(&Visit::Stop, reinterpret_cast<long>(&visit), root, 1);
                  return walk == -5 && visit.calls == 5 ? 0 : 1;
              }),
              0)
        << "it is offered again until the callback stops";
    EXPECT_EQ(AsNobody([&] { return CPathString::EsborrarCarpeta(root + L"\\locked", 1) == 0 ? 0 : 1; }), 0);
    fs::permissions(folder.Root() / "locked", fs::perms::owner_all);
    EXPECT_TRUE(fs::exists(folder.Root() / "locked" / "inner"));
}

TEST_F(PosixFilesTest, FolderThatMayNotBeChangedKeepsItsFiles) {
    fs::create_directory(folder.Root() / "locked");
    folder.Write(L"locked/file", "x");
    fs::permissions(folder.Root() / "locked", fs::perms(0555));
    const CString root = Root();
    EXPECT_EQ(AsNobody([&] { return CPathString::EsborrarCarpeta(root + L"\\locked", 1) == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(AsNobody([&] {
                  return CPathString::CrearCarpeta(root + L"\\locked\\new") == 0 && GetLastError() == 5 ? 0
                                                                                                        : 1;
              }),
              0);
    fs::permissions(folder.Root() / "locked", fs::perms::owner_all);
    EXPECT_EQ(folder.Read(L"locked/file"), "x");
}

// ---- Folders that change while they are walked

// Kept: the walk over files always says go on to a folder that cannot be listed.
TEST_F(PosixFilesTest, WalkOverFilesStaysAtAFolderThatIsGoneUntilItIsBack) {
    fs::create_directory(folder.Root() / "sub");
    folder.Write(L"sub/a", "x");
    folder.Write(L"top", "x");
    struct Remover {
        std::atomic<bool> gone{false};
        std::vector<std::wstring> names;
        static int Remove(const wchar_t* parent, const wchar_t* name, int, long user) {
            auto& self = *reinterpret_cast<Remover*>(user);
            self.names.emplace_back(name);
            if (self.names.size() == 1) {
                EXPECT_EQ(CPathString::EsborrarCarpeta(parent, 1), 1);
                self.gone = true;
            }
            return 1;
        }
    } remover;
    std::atomic<bool> back{false};
    std::thread helper([&] {
        while (!remover.gone)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        back = true;
        std::filesystem::create_directory(folder.Root() / "sub");
    });
    EXPECT_EQ(
        TIteradorFitxers().IteraFitxers(&Remover::Remove, reinterpret_cast<long>(&remover), L"*", Root(), 1),
        0);
    EXPECT_TRUE(back) << "it did not end before";
    helper.join();
    EXPECT_EQ(remover.names, (std::vector<std::wstring>{L"a", L"top"}));
}

// ---- Special folders

TEST_F(PosixFilesTest, DataFoldersFollowTheEnvironment) {
    const std::string home = folder.Root().string();
    const Variable homeVariable("HOME", home.c_str());
    const Variable data("XDG_DATA_HOME", nullptr);
    const Variable config("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(CPathString::GetRutaShell(26, 0), In(L".local\\share"));
    EXPECT_EQ(CPathString::GetRutaShell(46, 0), In(L"Public"));
    EXPECT_EQ(CPathString::GetRutaShell(5, 0), In(L"Documents"));
    EXPECT_EQ(CPathString::GetNomRutaShell(5), L"Documents");
    EXPECT_EQ(CPathString::GetRutaDades(1, nullptr, L"Mine"), In(L".local\\share\\Mine\\"));
    fs::create_directory(folder.Root() / ".config");
    folder.Write(L".config/user-dirs.dirs", "# comment\nXDG_DOCUMENTS_DIR=\"$HOME/Els meus documents\"\n"
                                            "XDG_PUBLICSHARE_DIR=\"/srv/public\"\n");
    EXPECT_EQ(CPathString::GetRutaShell(5, 0), In(L"Els meus documents"));
    EXPECT_EQ(CPathString::GetRutaDades(0, nullptr, L"Mine"), L"\\srv\\public\\Mine\\");
    const Variable other("XDG_DATA_HOME", "/somewhere/else/");
    EXPECT_EQ(CPathString::GetRutaShell(26, 1), L"\\somewhere\\else\\");
}

TEST_F(PosixFilesTest, TemporaryFolderFollowsTheEnvironment) {
    const Variable variable("TMPDIR", folder.Root().c_str());
    EXPECT_EQ(CPathString::GetTempPathW(0), Root());
}

TEST_F(PosixFilesTest, NobodyCanBeAskedForAFolder) {
    CPathString path(L"C:\\d");
    EXPECT_EQ(path.Browse(L"title", 0, nullptr), 0);
    EXPECT_EQ(path.Browse(700u, 0, nullptr), 0);
    EXPECT_EQ(path, L"C:\\d");
}

} // namespace
