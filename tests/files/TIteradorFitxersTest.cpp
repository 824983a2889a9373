#include <TIteradorFitxers.h>

#include <CPathString.h>

#include "temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

struct Call {
    std::wstring folder;
    std::wstring name;
    int level;
};

class TIteradorFitxersTest : public testing::Test {
protected:
    // What a walk told its callback, which answers 0 once it has been called `stopAt` times.
    struct Log {
        std::vector<Call> calls;
        std::size_t stopAt = 1000000;

        static int Add(const wchar_t* folder, const wchar_t* name, int level, long user) {
            auto& log = *reinterpret_cast<Log*>(user);
            log.calls.push_back({folder, name, level});
            return log.calls.size() >= log.stopAt ? 0 : 1;
        }
        std::vector<std::wstring> Names() const {
            std::vector<std::wstring> names;
            for (const Call& call : calls) {
                names.push_back(call.name);
            }
            return names;
        }
        long User() { return reinterpret_cast<long>(this); }
    };

    CString Root() const {
        CString root(folder.Root().wstring().c_str());
        root.Replace(L'/', L'\\');
        return root;
    }
    void Folder(const wchar_t* name) { ASSERT_EQ(CPathString::CrearCarpeta(Root() + L"\\" + name), 1); }
    int Folders(Log& log, int recursive) {
        return TIteradorFitxers().IteraCarpetes(&Log::Add, log.User(), Root(), recursive);
    }
    int Files(Log& log, const wchar_t* pattern, int recursive) {
        return TIteradorFitxers().IteraFitxers(&Log::Add, log.User(), pattern, Root(), recursive);
    }

    using Names = std::vector<std::wstring>;
    static Names Sorted(Names names) {
        std::sort(names.begin(), names.end());
        return names;
    }

    TempFolder folder;
};

TEST_F(TIteradorFitxersTest, ExampleUsage) {
    folder.Write(L"a.dat", "1");
    folder.Write(L"b.txt", "2");
    CStringList files;
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(files, L"*.dat", Root(), 0), 0);
    ASSERT_EQ(files.GetCount(), 1);
    EXPECT_STREQ(files.GetHead(), Root() + L"\\a.dat");
}

TEST_F(TIteradorFitxersTest, FoldersAreDeliveredButNeitherFilesNorDots) {
    Folder(L"one");
    Folder(L"two\\below");
    folder.Write(L"file", "x");
    Log log;
    EXPECT_EQ(Folders(log, 0), 0);
    EXPECT_EQ(Sorted(log.Names()), (Names{L"one", L"two"}));
    for (const Call& call : log.calls) {
        EXPECT_EQ(call.folder, Root().GetString());
        EXPECT_EQ(call.level, 0);
    }
}

TEST_F(TIteradorFitxersTest, FolderComesBeforeItsOwnFolders) {
    Folder(L"a\\b\\c");
    Log log;
    EXPECT_EQ(Folders(log, 1), 0);
    EXPECT_EQ(log.Names(), (Names{L"a", L"b", L"c"}));
    EXPECT_EQ(log.calls[1].folder, std::wstring(Root() + L"\\a\\"));
}

// Kept: every walk below starts from 0, so that the levels of what follows a descent fall.
TEST_F(TIteradorFitxersTest, LevelsFallAfterEachDescent) {
    Folder(L"one");
    Folder(L"two");
    Folder(L"three");
    Log log;
    EXPECT_EQ(Folders(log, 1), 0);
    ASSERT_EQ(log.calls.size(), 3u);
    EXPECT_EQ(log.calls[0].level, 0);
    EXPECT_EQ(log.calls[1].level, -1);
    EXPECT_EQ(log.calls[2].level, -1);
}

TEST_F(TIteradorFitxersTest, LevelsFallByOneForEveryLevelOfADescent) {
    Folder(L"a\\b\\c");
    Log log;
    EXPECT_EQ(Folders(log, 1), 0);
    for (const Call& call : log.calls)
        EXPECT_EQ(call.level, 0) << "on the way down";

    // The walk of "a" ends at -1 for "b" and one lower for itself.
    struct Iterator : TIteradorFitxers {
        int Level() const { return m_nNivell; }
    } iterator;
    EXPECT_EQ(iterator.Level(), -1);
    EXPECT_EQ(iterator.IteraCarpetes(&Log::Add, log.User(), Root(), 1), 0);
    EXPECT_EQ(iterator.Level(), -3);
    const Iterator copy(iterator);
    EXPECT_EQ(copy.Level(), -3);
    EXPECT_EQ(iterator.IteraCarpetes(&Log::Add, log.User(), Root(), 0), 0);
    EXPECT_EQ(iterator.Level(), 0);
    iterator = copy;
    EXPECT_EQ(iterator.Level(), -3);
    EXPECT_EQ(iterator.IteraFitxers(&Log::Add, log.User(), L"*.none", Root(), 0), -5);
    EXPECT_EQ(iterator.Level(), -3) << "nothing was walked";
    EXPECT_EQ(iterator.IteraFitxers(&Log::Add, log.User(), L"*", Root(), 0), -5);
    EXPECT_EQ(iterator.Level(), 0);
}

TEST_F(TIteradorFitxersTest, EmptyFolderIsWalkedToItsEnd) {
    Log log;
    EXPECT_EQ(Folders(log, 1), 0);
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(TIteradorFitxersTest, StopEndsTheWalkOverFolders) {
    Folder(L"one");
    Folder(L"two");
    Log log;
    log.stopAt = 1;
    EXPECT_EQ(Folders(log, 0), -5);
    EXPECT_EQ(log.calls.size(), 1u);
}

// Kept: a stop inside a folder climbs up with one more call per level.
TEST_F(TIteradorFitxersTest, StopBelowClimbsWithOneMoreCallPerLevel) {
    Folder(L"a\\b\\c");
    Log log;
    log.stopAt = 3; // at c, and at every call after it
    EXPECT_EQ(Folders(log, 1), -5);
    // The entry is offered again and gone below again, though the answer was to stop.
    EXPECT_EQ(log.Names(), (Names{L"a", L"b", L"c", L"b", L"c", L"a", L"b", L"c"}));
}

TEST_F(TIteradorFitxersTest, FilesThatMeetThePatternAreDelivered) {
    folder.Write(L"a.dat", "x");
    folder.Write(L"b.DAT", "x");
    folder.Write(L"c.txt", "x");
    Folder(L"d.dat");
    Log log;
    EXPECT_EQ(Files(log, L"*.dat", 0), 0);
    EXPECT_EQ(Sorted(log.Names()), (Names{L"a.dat", L"b.DAT"}));
    for (const Call& call : log.calls) {
        EXPECT_EQ(call.level, -1);
        EXPECT_EQ(call.folder, Root().GetString());
    }
}

TEST_F(TIteradorFitxersTest, CodeMinus5WithoutAFile) {
    Log log;
    EXPECT_EQ(Files(log, L"*.*", 0), -5);
    EXPECT_EQ(Files(log, L"*.none", 0), -5);
    Folder(L"only");
    EXPECT_EQ(Files(log, L"*.*", 0), -5);
    EXPECT_TRUE(log.calls.empty());
    CStringList list;
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*.*", Root(), 0), -5);
    EXPECT_EQ(list.GetCount(), 0);
}

TEST_F(TIteradorFitxersTest, CodeMinus5WithoutTheFolder) {
    Log log;
    EXPECT_EQ(TIteradorFitxers().IteraCarpetes(&Log::Add, log.User(), Root() + L"\\none", 0), -5);
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Log::Add, log.User(), L"*", Root() + L"\\none", 1), -5);
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(TIteradorFitxersTest, StopAtTheFirstFileEndsTheWalk) {
    folder.Write(L"a", "x");
    folder.Write(L"b", "x");
    Log log;
    log.stopAt = 1;
    EXPECT_EQ(Files(log, L"*", 0), -5);
    EXPECT_EQ(log.calls.size(), 1u);
}

// Kept: files at depth k below the start come 2 to the power k - 1 times.
TEST_F(TIteradorFitxersTest, DeepFilesAreDeliveredAgainForEveryWalkAboveThem) {
    Folder(L"A\\B");
    folder.Write(L"root.x", "x");
    folder.Write(L"A/a.x", "x");
    folder.Write(L"A/B/b.x", "x");
    CStringList list;
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*.x", Root(), 1), 0);
    Names names;
    for (POSITION at = list.GetHeadPosition(); at;) {
        names.push_back(list.GetNext(at).GetString());
    }
    const std::wstring root = Root().GetString();
    EXPECT_EQ(names,
              (Names{root + L"\\A\\B\\b.x", root + L"\\A\\a.x", root + L"\\A\\B\\b.x", root + L"\\root.x"}));
}

TEST_F(TIteradorFitxersTest, FilesAtDepthFourComeEightTimes) {
    Folder(L"1\\2\\3\\4");
    folder.Write(L"1/2/3/4/deep", "x");
    Log log;
    Files(log, L"deep", 1);
    EXPECT_EQ(log.calls.size(), 8u);
}

// Kept: the stop ends only the walk of the folder that it was answered in.
TEST_F(TIteradorFitxersTest, StopInsideAFolderEndsOnlyThatFoldersFiles) {
    Folder(L"sub");
    folder.Write(L"sub/a", "x");
    folder.Write(L"sub/b", "x");
    folder.Write(L"top", "x");
    Log log;
    log.stopAt = 1;
    EXPECT_EQ(Files(log, L"*", 1), -5);
    ASSERT_EQ(log.calls.size(), 2u);
    EXPECT_EQ(log.calls[1].name, L"top");
}

TEST_F(TIteradorFitxersTest, WalksReachFilesOfAnyName) {
    const std::wstring name = L"\u65E5\u672C na\u00EFve \U0001F600";
    Folder(name.c_str());
    folder.Write(name + L"/\u00FCber.\u00E9\u0416", "x");
    CStringList list;
    TIteradorFitxers().GetLlistaFitxers(list, L"*.\u00E9\u0416", Root(), 1);
    EXPECT_EQ(list.GetCount(), 1);
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*", Root() + L"\\" + name.c_str(), 0), 0);
    ASSERT_EQ(list.GetCount(), 2);
    for (POSITION at = list.GetHeadPosition(); at;) {
        const CString path = list.GetNext(at);
        EXPECT_EQ(CPathString(path).TestFitxer(), 1) << path.GetString();
        EXPECT_EQ(CPathString(path).GetFitxer(), L"\u00FCber.\u00E9\u0416");
    }
}

TEST_F(TIteradorFitxersTest, HiddenFoldersAndFilesAreDelivered) {
    Folder(L".hidden");
    folder.Write(L".secret", "x");
    SetFileAttributesW(Root() + L"\\.hidden", FILE_ATTRIBUTE_HIDDEN);
    SetFileAttributesW(Root() + L"\\.secret", FILE_ATTRIBUTE_HIDDEN);
    Log folders;
    Log files;
    EXPECT_EQ(Folders(folders, 0), 0);
    EXPECT_EQ(folders.Names(), (Names{L".hidden"}));
    EXPECT_EQ(Files(files, L"*.*", 0), 0);
    EXPECT_EQ(files.Names(), (Names{L".secret"}));
}

TEST_F(TIteradorFitxersTest, FolderMayEndInASeparatorAndIsPassedOnAsItIs) {
    folder.Write(L"a", "x");
    Folder(L"b");
    const CString root = Root() + L"\\";
    Log log;
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Log::Add, log.User(), L"*", root, 0), 0);
    EXPECT_EQ(TIteradorFitxers().IteraCarpetes(&Log::Add, log.User(), root, 0), 0);
    ASSERT_EQ(log.calls.size(), 2u);
    EXPECT_EQ(log.calls[0].folder, root.GetString());
    EXPECT_EQ(log.calls[1].folder, root.GetString());
}

// Kept: the trailing rule makes an empty text a root, the joining rule leaves it out.
TEST_F(TIteradorFitxersTest, EmptyFolderIsTheRootForFoldersAndTheCurrentOneForFiles) {
    folder.Write(L"here.dat", "x");
    Folder(L"not here");
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    ASSERT_TRUE(SetCurrentDirectoryW(Root()));
    for (const wchar_t* none : {static_cast<const wchar_t*>(L""), static_cast<const wchar_t*>(nullptr)}) {
        CStringList list;
        EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*.dat", none, 0), 0);
        ASSERT_EQ(list.GetCount(), 1);
        EXPECT_STREQ(list.GetHead(), L"here.dat");
        Log folders;
        Log root;
        EXPECT_EQ(TIteradorFitxers().IteraCarpetes(&Log::Add, root.User(), L"\\", 0), 0);
        EXPECT_EQ(TIteradorFitxers().IteraCarpetes([](const wchar_t*, const wchar_t* name, int level,
                                                      long user) { return Log::Add(L"", name, level, user); },
                                                   folders.User(), none, 0),
                  0);
        EXPECT_EQ(Sorted(folders.Names()), Sorted(root.Names()));
    }
    SetCurrentDirectoryW(before);
}

TEST_F(TIteradorFitxersTest, CodeMinus5WithoutAPattern) {
    folder.Write(L"a", "x");
    Log log;
    EXPECT_EQ(Files(log, L"", 0), -5);
    EXPECT_EQ(Files(log, nullptr, 0), -5);
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Log::Add, log.User(), nullptr, nullptr, 0), -5);
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(TIteradorFitxersTest, PatternAndFolderMayBeInQuotes) {
    folder.Write(L"a.dat", "x");
    CStringList list;
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"\"*.dat\"", L"\"" + Root() + L"\"", 0), 0);
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_STREQ(list.GetHead(), Root() + L"\\a.dat");
}

TEST_F(TIteradorFitxersTest, CallbackOfTheListAppendsTheJoinedPath) {
    struct Iterator : TIteradorFitxers {
        using TIteradorFitxers::_fnGetLlistaFitxers;
    };
    CStringList list;
    EXPECT_EQ(Iterator::_fnGetLlistaFitxers(L"C:\\d", L"a.txt", -1, reinterpret_cast<long>(&list)), 1);
    EXPECT_EQ(Iterator::_fnGetLlistaFitxers(L"C:\\d\\", L"b.txt", 7, reinterpret_cast<long>(&list)), 1);
    ASSERT_EQ(list.GetCount(), 2);
    EXPECT_STREQ(list.GetHead(), L"C:\\d\\a.txt");
    EXPECT_STREQ(list.GetTail(), L"C:\\d\\b.txt");
}

TEST_F(TIteradorFitxersTest, ManyFilesAreAllDelivered) {
    for (int i = 0; i < 1500; ++i)
        folder.Write(std::to_wstring(i) + L".dat", "");
    Log log;
    EXPECT_EQ(Files(log, L"*.dat", 0), 0);
    EXPECT_EQ(log.calls.size(), 1500u);
    Names names = Sorted(log.Names());
    EXPECT_EQ(std::unique(names.begin(), names.end()), names.end());
}

// ---- Folders that change while they are walked

TEST_F(TIteradorFitxersTest, FilesDeletedOnTheWayDoNotHideOthers) {
    for (int i = 0; i < 300; ++i)
        folder.Write(std::to_wstring(i) + L".dat", "");
    struct Deleter {
        static int Delete(const wchar_t* parent, const wchar_t* name, int, long user) {
            ++*reinterpret_cast<int*>(user);
            return CPathString::Esborrar(CPathString(name, parent));
        }
    };
    int calls = 0;
    EXPECT_EQ(
        TIteradorFitxers().IteraFitxers(&Deleter::Delete, reinterpret_cast<long>(&calls), L"*", Root(), 0),
        0);
    EXPECT_EQ(calls, 300);
    EXPECT_EQ(CPathString::EsborrarCarpeta(Root(), 0), 1) << "nothing is left";
    std::filesystem::create_directory(folder.Root());
}

TEST_F(TIteradorFitxersTest, FilesAddedOnTheWayDoNotKeepItGoing) {
    folder.Write(L"first.dat", "");
    struct Adder {
        const TempFolder& folder;
        int calls = 0;
        static int Add(const wchar_t*, const wchar_t*, int, long user) {
            auto& self = *reinterpret_cast<Adder*>(user);
            self.folder.Write(L"added" + std::to_wstring(self.calls) + L".dat", "");
            return ++self.calls < 5000;
        }
    } adder{folder};
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Adder::Add, reinterpret_cast<long>(&adder), L"*", Root(), 0),
              0);
    EXPECT_LT(adder.calls, 5000);
}

// Kept: a folder that cannot be walked is offered again until the answer is to stop.
TEST_F(TIteradorFitxersTest, FolderRemovedByTheCallbackIsOfferedAgainUntilItStops) {
    Folder(L"gone");
    struct Remover {
        int calls = 0;
        static int Remove(const wchar_t* parent, const wchar_t* name, int, long user) {
            auto& self = *reinterpret_cast<Remover*>(user);
            CPathString::EsborrarCarpeta(CPathString(name, parent), 0);
            EXPECT_STREQ(name, L"gone");
            return ++self.calls < 50;
        }
    } remover;
    EXPECT_EQ(TIteradorFitxers().IteraCarpetes(&Remover::Remove, reinterpret_cast<long>(&remover), Root(), 1),
              -5);
    EXPECT_EQ(remover.calls, 50);
}

} // namespace
