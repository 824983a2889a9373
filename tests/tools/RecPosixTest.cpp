// What only the native target has: links, odd names, very deep trees, signals, limits.
#include "rec_fixture.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tooltest {
namespace {

class RecPosix : public RecTest {
protected:
    /// A file of that many bytes that takes no room on the disk.
    void MakeSparse(const std::string& name, std::uint64_t size) const {
        Write(name, "");
        std::filesystem::resize_file(Path(name), size);
    }
    /// Interrupts the tool once it has opened a file whose path begins so.
    Result InterruptAtWork(const std::vector<std::string>& words, const std::filesystem::path& beginning) {
        RunningTool tool(words);
        for (int i = 0; i < 20000 && tool.running() && !tool.hasOpen(Path(beginning)); ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        tool.hold();
        tool.interrupt();
        tool.resume();
        // The tool hears of it on a thread of its own. Meanwhile it waits for room in a pipe, or has much to
        // do.
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return tool.wait();
    }
};

// ---- links and odd files

TEST_F(RecPosix, LinksPipesAndSocketsAreLeftOutWithANote) {
    Write("tree/file", "1");
    Write("outside/secret", "2");
    std::filesystem::create_symlink("file", Path("tree/to-file"));
    std::filesystem::create_directory_symlink("../outside", Path("tree/to-folder"));
    std::filesystem::create_symlink("nowhere", Path("tree/broken"));
    ASSERT_EQ(mkfifo(Path("tree/pipe").c_str(), 0600), 0);
    Result result = Build("tree", "t.rec");
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.out, "packed 0 folders, 1 file, 1 byte; left out: 4\n");
    EXPECT_NE(result.err.find("left out, a symbolic link: " + Text("tree/to-folder") + "\n"),
              std::string::npos);
    EXPECT_NE(result.err.find("left out, neither file nor folder: " + Text("tree/pipe") + "\n"),
              std::string::npos);
    result = mvtool({"rec", "build", "--quiet", Text("tree"), "-o", Text("t.rec")});
    EXPECT_EQ(result.err, "");
}

TEST_F(RecPosix, TheFolderItselfMayBeALink) {
    Write("tree/file", "1");
    std::filesystem::create_directory_symlink("tree", Path("link"));
    EXPECT_EQ(Build("link", "t.rec").out, "packed 0 folders, 1 file, 1 byte\n");
    MakeFolder("real");
    std::filesystem::create_directory_symlink("real", Path("there"));
    EXPECT_EQ(Extract("t.rec", "there").code, kDone);
    EXPECT_EQ(Read("real/file"), "1");
}

TEST_F(RecPosix, AnOutputThatIsALinkStaysOne) {
    Write("tree/file", "1");
    Write("store/real.rec", "old");
    std::filesystem::create_symlink("store/real.rec", Path("t.rec"));
    EXPECT_EQ(Build("tree", "t.rec").code, kDone);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("t.rec")));
    EXPECT_EQ(Rec("check", "store/real.rec").code, kDone);
}

TEST_F(RecPosix, TheModeOfAnOldOutputStays) {
    Write("tree/file", "1");
    Write("t.rec", "old");
    for (const mode_t mode : {0640, 0}) {
        ASSERT_EQ(chmod(Path("t.rec").c_str(), mode), 0);
        EXPECT_EQ(Build("tree", "t.rec").code, kDone);
        EXPECT_EQ(std::filesystem::status(Path("t.rec")).permissions(),
                  static_cast<std::filesystem::perms>(mode));
    }
}

TEST_F(RecPosix, WhatTakesAnOldFilesPlaceIsForItsOwnerAlone) {
    // The notes fill the pipe, so the work waits with its temporary file.
    MakeFolder("tree");
    for (int i = 0; i < 2000; ++i) {
        std::filesystem::create_symlink("nowhere", Path("tree/link" + std::to_string(i)));
    }
    Write("t.rec", "secret");
    ASSERT_EQ(chmod(Path("t.rec").c_str(), 0600), 0);
    {
        RunningTool tool({"rec", "build", Text("tree"), "-o", Text("t.rec")});
        for (int i = 0; i < 20000 && !tool.hasOpen(Path(".mvtool-")); ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        int found = 0;
        for (const auto& entry : std::filesystem::directory_iterator(Path("."))) {
            if (entry.path().filename().string().starts_with(".mvtool-")) {
                ++found;
                EXPECT_EQ(entry.status().permissions(), static_cast<std::filesystem::perms>(0600));
            }
        }
        EXPECT_EQ(found, 1);
        tool.interrupt();
        EXPECT_EQ(tool.wait().code, kCancelled);
    }
    ExpectNothingLeftBehind();
}

TEST_F(RecPosix, NothingIsWrittenThroughALinkInTheDestination) {
    Write("t.rec", RecordBytes().Folder(0, u"docs").File(1, u"a", 1).Data(2, "x").End().Bytes());
    MakeFolder("outside");
    MakeFolder("copy");
    std::filesystem::create_directory_symlink("../outside", Path("copy/docs"));
    Result result = Extract("t.rec", "copy");
    EXPECT_EQ(result.code, kDamaged);
    EXPECT_NE(result.err.find("a symbolic link stands in the way: " + Text("copy/docs")), std::string::npos)
        << result.err;
    EXPECT_TRUE(Listing("outside").empty());

    std::filesystem::remove(Path("copy/docs"));
    MakeFolder("copy/docs");
    Write("outside/a", "old");
    std::filesystem::create_symlink("../../outside/a", Path("copy/docs/a"));
    for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--replace"}}) {
        result = Extract("t.rec", "copy", more);
        EXPECT_EQ(result.code, kDamaged);
        EXPECT_NE(result.err.find("a symbolic link stands in the way: "), std::string::npos) << result.err;
        EXPECT_EQ(Read("outside/a"), "old");
        EXPECT_TRUE(std::filesystem::is_symlink(Path("copy/docs/a")));
    }
    ExpectNothingLeftBehind();
}

TEST_F(RecPosix, AFileInTheWayOfAFolderIsNotTouched) {
    Write("t.rec", RecordBytes().Folder(0, u"docs").End().Bytes());
    Write("copy/docs", "mine");
    EXPECT_EQ(Extract("t.rec", "copy", {"--replace"}).code, kWriteFailure);
    EXPECT_EQ(Read("copy/docs"), "mine");
    Write("t.rec", RecordBytes().File(0, u"docs", 0).End().Bytes());
    std::filesystem::remove(Path("copy/docs"));
    MakeFolder("copy/docs");
    EXPECT_EQ(Extract("t.rec", "copy", {"--replace"}).code, kWriteFailure);
    EXPECT_TRUE(std::filesystem::is_directory(Path("copy/docs")));
}

TEST_F(RecPosix, ADestinationThatIsABrokenLinkIsNotReplaced) {
    Write("t.rec", RecordBytes().End().Bytes());
    std::filesystem::create_symlink("nowhere", Path("copy"));
    EXPECT_EQ(Extract("t.rec", "copy").code, kWriteFailure);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("copy")));
    ExpectNothingLeftBehind();
}

// ---- names and modes

TEST_F(RecPosix, EveryNameThatLinuxAllowsComesBack) {
    const std::string names[] = {"aux.c",    "a:b",
                                 "what?",    "back\\slash",
                                 "end.",     "end ",
                                 " ",        "new\nline",
                                 "\x01",     "not-utf8-\xFF\xC3",
                                 "...",      "~",
                                 "-o",       std::string(255, 'x'),
                                 "\xC3\xA9", "e\xCC\x81",
                                 "CON",      "con"};
    for (const std::string& name : names) {
        // Not through the library: it takes a backslash for a separator.
        MakeFolder("tree");
        const std::string path = Text("tree") + '/' + name;
        const int file = open(path.c_str(), O_WRONLY | O_CREAT, 0644);
        ASSERT_GE(file, 0) << name;
        ASSERT_EQ(write(file, name.data(), name.size()), static_cast<ssize_t>(name.size()));
        close(file);
    }
    const Result result = Build("tree", "t.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.err, "mvtool: names that Windows cannot have: 13\n");
    EXPECT_EQ(Rec("check", "t.rec").code, kDone);
    ASSERT_EQ(Extract("t.rec", "copy").code, kDone);
    for (const std::string& name : names) {
        std::ifstream file(Text("copy") + '/' + name, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), name);
    }
}

// Here they are names like any other: nothing takes them apart.
TEST_F(RecPosix, NamesThatWouldBePathsOnWindowsStayInTheFolder) {
    const char16_t* const names[] = {u"..\\x", u"C:", u"C:\\x", u"\\\\server\\share", u"\\x"};
    RecordBytes file;
    for (const char16_t* name : names) {
        file.File(0, name, 1, 0, 1).Data(1, "x");
    }
    Write("box/t.rec", file.End().Bytes());
    const Result result = Extract("box/t.rec", "box/in/copy");
    EXPECT_EQ(result.code, kNotFound) << "the folder around it is missing: " << result.err;
    MakeFolder("box/in");
    EXPECT_EQ(Extract("box/t.rec", "box/in/copy").code, kDone);
    EXPECT_EQ(Listing("."), (std::set<std::string>{"box/", "box/t.rec", "box/in/", "box/in/copy/",
                                                   "box/in/copy/..\\x", "box/in/copy/C:", "box/in/copy/C:\\x",
                                                   "box/in/copy/\\\\server\\share", "box/in/copy/\\x"}));
}

TEST_F(RecPosix, ExecutableFilesStayExecutable) {
    Write("tree/run", "#!/bin/sh\n");
    Write("tree/data", "1");
    ASSERT_EQ(chmod(Path("tree/run").c_str(), 0755), 0);
    ASSERT_EQ(Build("tree", "t.rec").code, kDone);
    EXPECT_NE(Rec("list", "t.rec").out.find("-x-            10"), std::string::npos);
    ASSERT_EQ(Extract("t.rec", "copy").code, kDone);
    EXPECT_EQ(access(Path("copy/run").c_str(), X_OK), 0);
    EXPECT_EQ(std::filesystem::status(Path("copy/data")).permissions() & std::filesystem::perms::owner_exec,
              std::filesystem::perms::none);
}

TEST_F(RecPosix, NanosecondsComeBack) {
    Write("tree/a", "1");
    setModified(Path("tree/a"), 1700000000123456789);
    ASSERT_EQ(Build("tree", "t.rec").code, kDone);
    ASSERT_EQ(Extract("t.rec", "copy").code, kDone);
    EXPECT_EQ(modified(Path("copy/a")), 1700000000123456789);
}

// ---- depth

/// In memory where there is such a file system: 100,000 folders on a disk take minutes.
class RecDeep : public testing::Test {
protected:
    void SetUp() override {
        const std::filesystem::path memory = "/dev/shm";
        std::string pattern =
            (std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path()) /
            "mvtool-deep-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_root = pattern;
    }
    /// The standard library walks by path and cannot.
    void TearDown() override { EXPECT_EQ(std::system(("rm -rf '" + m_root.string() + "'").c_str()), 0); }

    std::filesystem::path Path(const std::string& name) const { return m_root / name; }
    std::string Text(const std::string& name) const { return Path(name).string(); }
    Result Rec(const std::string& command, const std::string& file) const {
        return mvtool({"rec", command, Text(file)});
    }
    Result Build(const std::string& folder, const std::string& file) const {
        return mvtool({"rec", "build", Text(folder), "-o", Text(file)});
    }
    Result Extract(const std::string& file, const std::string& folder) const {
        return mvtool({"rec", "extract", Text(file), "-C", Text(folder)});
    }

    /// `levels` folders "d", one in the other; with a file in the last. Paths of that length have no name, so
    /// they are made from folder to folder.
    void MakeDeep(int levels, bool file) const {
        std::filesystem::create_directory(Path("tree"));
        int folder = open(Path("tree").c_str(), O_RDONLY | O_DIRECTORY);
        for (int i = 0; i < levels; ++i) {
            ASSERT_EQ(mkdirat(folder, "d", 0755), 0);
            const int next = openat(folder, "d", O_RDONLY | O_DIRECTORY);
            close(folder);
            folder = next;
            ASSERT_GE(folder, 0);
        }
        if (file) {
            const int made = openat(folder, "f", O_WRONLY | O_CREAT, 0644);
            ASSERT_EQ(write(made, "deep", 4), 4);
            close(made);
        }
        close(folder);
    }

    std::filesystem::path m_root;
};

TEST_F(RecDeep, ATreeOf32767LevelsIsPackedCheckedAndExtracted) {
    MakeDeep(32766, true);
    Result result = Build("tree", "t.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "packed 32766 folders, 1 file, 4 bytes\n");
    result = Rec("info", "t.rec");
    EXPECT_NE(result.out.find("levels:        32767\n"), std::string::npos) << result.err;
    EXPECT_NE(Rec("tree", "t.rec").out.find("(level 32766) f  4\n"), std::string::npos);
    result = Extract("t.rec", "copy");
    EXPECT_EQ(result.code, kDone) << result.err;
    ASSERT_EQ(Build("copy", "t2.rec").code, kDone);
    EXPECT_EQ(std::filesystem::file_size(Path("t.rec")), std::filesystem::file_size(Path("t2.rec")));
}

TEST_F(RecDeep, ADeeperTreeIsRefusedWithoutOutput) {
    MakeDeep(32767, true);
    const Result result = Build("tree", "t.rec");
    EXPECT_EQ(result.code, kUsage);
    EXPECT_NE(result.err.find("the tree is deeper than 32,767 levels"), std::string::npos);
    EXPECT_LT(result.err.size(), 500u);
    EXPECT_FALSE(std::filesystem::exists(Path("t.rec")));
}

TEST_F(RecDeep, AFailureDeepDownRemovesEverything) {
    RecordBytes file;
    for (int level = 0; level < 2000; ++level) {
        file.Folder(level, u"d");
    }
    std::ofstream(Path("t.rec"), std::ios::binary) << file.Bytes();
    EXPECT_EQ(Extract("t.rec", "copy").code, kDamaged);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_root), {}), 1);
}

// ---- cancelling

TEST_F(RecPosix, InterruptingBuildKeepsTheOldFile) {
    // The notes fill the pipe, so the work cannot be over before it is interrupted.
    MakeFolder("tree");
    for (int i = 0; i < 2000; ++i) {
        std::filesystem::create_symlink("nowhere", Path("tree/link" + std::to_string(i)));
    }
    Write("t.rec", "old");
    const Result result = InterruptAtWork({"rec", "build", Text("tree"), "-o", Text("t.rec")}, ".mvtool-");
    EXPECT_EQ(result.code, kCancelled);
    EXPECT_TRUE(result.err.ends_with("mvtool: cancelled\n"));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Read("t.rec"), "old");
    ExpectNothingLeftBehind();
}

TEST_F(RecPosix, InterruptingExtractRemovesWhatItMade) {
    MakeSparse("tree/big", 200 << 20);
    ASSERT_EQ(Build("tree", "t.rec").code, kDone);
    const std::vector<std::string> words = {"rec", "extract", Text("t.rec"), "-C", Text("copy")};
    Result result = InterruptAtWork(words, ".mvtool-");
    EXPECT_EQ(result.code, kCancelled);
    EXPECT_EQ(result.err, "mvtool: cancelled\n");
    EXPECT_FALSE(Exists("copy"));
    ExpectNothingLeftBehind();

    MakeFolder("copy");
    result = InterruptAtWork(words, "copy/.mvtool-");
    EXPECT_EQ(result.code, kCancelled);
    EXPECT_TRUE(Listing("copy").empty());
}

TEST_F(RecPosix, InterruptingAReaderGives5) {
    RecordBytes file;
    for (int i = 10000; i < 14000; ++i) {
        const std::string number = std::to_string(i);
        file.File(0, std::u16string(number.begin(), number.end()), 0);
    }
    Write("t.rec", file.End().Bytes());
    // The list fills the pipe, as above.
    const Result result = InterruptAtWork({"rec", "list", Text("t.rec")}, "t.rec");
    EXPECT_EQ(result.code, kCancelled);
    EXPECT_EQ(result.err, "mvtool: cancelled\n");
}

// ---- write failures

TEST_F(RecPosix, AFullDiskKeepsTheOldFile) {
    Write("tree/big", std::string(10 << 20, 'x'));
    Write("t.rec", "old");
    // The limit strikes: in the last bytes, when the file is closed; in the middle; and at once.
    for (const std::uint64_t limit : {std::uint64_t(10 << 20), std::uint64_t(6 << 20), std::uint64_t(1)}) {
        Surroundings small;
        small.fileSizeLimit = limit;
        const Result result = mvtool({"rec", "build", Text("tree"), "-o", Text("t.rec")}, small);
        EXPECT_EQ(result.code, kWriteFailure) << result.err;
        EXPECT_EQ(result.err, "mvtool: There is not enough room on the disk for the file " + Text("t.rec") +
                                  ".\nmvtool: cannot write " + Text("t.rec") +
                                  " [library code -8]; nothing was changed\n");
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(Read("t.rec"), "old");
        ExpectNothingLeftBehind();
    }
}

TEST_F(RecPosix, AFullDiskWhileExtractingLeavesNothing) {
    Write("tree/big", std::string(1 << 20, 'x'));
    Write("tree/a", "1");
    ASSERT_EQ(Build("tree", "t.rec").code, kDone);
    Surroundings small;
    small.fileSizeLimit = 1000;
    Result result = mvtool({"rec", "extract", Text("t.rec"), "-C", Text("copy")}, small);
    EXPECT_EQ(result.code, kWriteFailure);
    EXPECT_NE(result.err.find("cannot write " + Text("copy/big") + ": "), std::string::npos)
        << "the name that it was to have: " << result.err;
    EXPECT_FALSE(Exists("copy"));
    MakeFolder("copy");
    result = mvtool({"rec", "extract", Text("t.rec"), "-C", Text("copy")}, small);
    EXPECT_EQ(result.code, kWriteFailure);
    EXPECT_NE(result.err.find("extracted before the failure: 1 file\n"), std::string::npos) << result.err;
    EXPECT_EQ(Listing("copy").size(), 1u);
    ExpectNothingLeftBehind();
}

TEST_F(RecPosix, AFullStandardOutputGives6) {
    Write("t.rec", RecordBytes().File(0, u"a", 0).End().Bytes());
    Surroundings full;
    full.standardOutput = "/dev/full";
    for (const char* command : {"list", "tree", "info", "check"}) {
        const Result result = mvtool({"rec", command, Text("t.rec")}, full);
        EXPECT_EQ(result.code, kWriteFailure);
        EXPECT_EQ(result.err, "mvtool: cannot write to standard output: No space left on device\n");
    }
    EXPECT_EQ(mvtool({"--help"}, full).code, kWriteFailure);
}

TEST_F(RecPosix, AStandardStreamThatIsClosedChangesNothingElse) {
    Write("tree/a", "1");
    std::filesystem::create_symlink("nowhere", Path("tree/link")); // there is something to note
    for (const std::vector<int>& closed :
         {std::vector<int>{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}}) {
        Surroundings without;
        without.closed = closed;
        // Without standard output the result cannot be told; the file stands by then.
        const bool told = std::find(closed.begin(), closed.end(), 1) == closed.end();
        const int expected = told ? kDone : kWriteFailure;
        std::filesystem::remove(Path("t.rec"));
        std::filesystem::remove_all(Path("copy"));
        EXPECT_EQ(mvtool({"rec", "build", Text("tree"), "-o", Text("t.rec")}, without).code, expected);
        EXPECT_EQ(Rec("check", "t.rec").code, kDone);
        EXPECT_EQ(mvtool({"rec", "extract", Text("t.rec"), "-C", Text("copy")}, without).code, expected);
        EXPECT_EQ(Read("copy/a"), "1");
        EXPECT_EQ(mvtool({"rec", "check", Text("t.rec")}, without).code, expected);
    }
}

// Nobody writes into the pipe: opening it would not end.
TEST_F(RecPosix, APipeOrADeviceIsNoInput) {
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    for (const std::string& path : {Text("pipe"), std::string("/dev/zero"), std::string("/dev/null")}) {
        for (const char* command : {"list", "tree", "check", "info"}) {
            const Result result = mvtool({"rec", command, path});
            EXPECT_EQ(result.code, kNotFound) << command;
            EXPECT_EQ(result.err, "mvtool: not an ordinary file: " + path + "\n");
        }
        EXPECT_EQ(mvtool({"rec", "extract", path, "-C", Text("copy")}).code, kNotFound);
        EXPECT_FALSE(Exists("copy"));
    }
}

TEST_F(RecPosix, ADeviceIsNoOutput) {
    Write("tree/a", "1");
    const Result result = mvtool({"rec", "build", Text("tree"), "-o", "/dev/full"});
    EXPECT_EQ(result.code, kWriteFailure);
    EXPECT_NE(result.err.find("not an ordinary file: /dev/full"), std::string::npos);
    struct stat status {};
    ASSERT_EQ(stat("/dev/full", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

} // namespace
} // namespace tooltest
