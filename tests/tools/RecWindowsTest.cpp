// What only Windows has: names that it reserves, paths over 260 characters, console events.
#include "rec_fixture.h"

#include <algorithm>
#include <atomic>
#include <folders.h>
#include <system.h>
#include <win32.h>

namespace tooltest {
namespace {

class RecWindows : public RecTest {};

TEST_F(RecWindows, NamesThatWindowsCannotHaveAreListedButNotExtracted) {
    Write("t.rec", RecordBytes().File(0, u"a:b", 0, 0, 1).File(0, u"aux.c", 0, 0, 1).End().Bytes());
    EXPECT_EQ(Rec("check", "t.rec").code, kDone);
    EXPECT_NE(Rec("list", "t.rec").out.find("a:b\n"), std::string::npos);
    const Result result = Extract("t.rec", "copy");
    EXPECT_EQ(result.code, kWriteFailure);
    EXPECT_NE(result.err.find("this system cannot have the name a:b"), std::string::npos) << result.err;
    EXPECT_FALSE(Exists("copy"));
}

TEST_F(RecWindows, DevicesDrivesAndPathsAreNeverExtracted) {
    bool folder = false;
    for (const char16_t* name :
         {u"CON",          u"nul.txt",  u"AUX", u"prn.a.b", u"COM1", u"lpt\u00B2", u"CONIN$",
          u"conout$.x",    u"clock$",   u"C:",  u"C:\\x",   u"\\x",  u"..\\x",     u"\\\\.\\pipe\\x",
          u"\\\\?\\C:\\x", u"a:stream", u"a.",  u"a ",      u"...",  u"a*",        u"a<",
          u"\x01"}) {
        const std::string shown = utf8(name);
        RecordBytes file;
        folder = !folder;
        if (folder) {
            file.Folder(0, name, 0, 1).File(1, u"x", 0);
        } else {
            file.File(0, name, 1, 0, 1).Data(1, "x");
        }
        Write("box/in/t.rec", file.End().Bytes());
        const std::set<std::string> before = Listing(".");
        const Result result = Extract("box/in/t.rec", "box/in/copy");
        EXPECT_EQ(result.code, kWriteFailure) << shown;
        EXPECT_NE(result.err.find("this system cannot have the name "), std::string::npos) << result.err;
        EXPECT_EQ(Listing("."), before) << shown;
    }
}

TEST_F(RecWindows, ADeviceIsNoInput) {
    const Result result = mvtool({"rec", "list", "NUL"});
    EXPECT_EQ(result.code, kNotFound);
    EXPECT_EQ(result.err, "mvtool: not an ordinary file: NUL\n");
}

TEST_F(RecWindows, ADeviceIsNoOutput) {
    Write("tree/a", "1");
    const Result result = mvtool({"rec", "build", Text("tree"), "-o", "NUL"});
    EXPECT_EQ(result.code, kWriteFailure);
    EXPECT_EQ(result.err, "mvtool: not an ordinary file: NUL\n");
}

TEST_F(RecWindows, AReplacementThatFailsLeavesTheOldFileReadOnly) {
    Write("t.rec", RecordBytes().File(0, u"a", 1).Data(1, "x").End().Bytes());
    Write("copy/a", "old");
    const std::wstring path = Path("copy/a").wstring();
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    const HANDLE user =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(user, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Extract("t.rec", "copy", {"--replace"}).code, kWriteFailure);
    CloseHandle(user);
    EXPECT_EQ(Read("copy/a"), "old");
    EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_EQ(Extract("t.rec", "copy", {"--replace"}).code, kDone) << "nobody uses it any more";
    EXPECT_EQ(Read("copy/a"), "x");
    ExpectNothingLeftBehind();
}

TEST_F(RecWindows, TwoNamesThatDifferOnlyInCaseAreNotMixed) {
    Write("t.rec", RecordBytes().Folder(0, u"A").Folder(0, u"a").End().Bytes());
    EXPECT_EQ(Extract("t.rec", "copy").code, kWriteFailure);
    Write("t.rec", RecordBytes().File(0, u"A", 0).File(0, u"a", 0).End().Bytes());
    EXPECT_EQ(Extract("t.rec", "copy").code, kWriteFailure);
    EXPECT_FALSE(Exists("copy"));
}

TEST_F(RecWindows, PathsOver260CharactersWork) {
    RecordBytes file;
    const std::u16string name(100, u'x');
    for (int level = 0; level < 5; ++level) {
        file.Folder(level, name);
    }
    file.File(5, u"f", 4).Data(6, "deep").End();
    Write("t.rec", file.Bytes());
    Result result = Extract("t.rec", "copy");
    EXPECT_EQ(result.code, kDone) << result.err;
    result = Build("copy", "t2.rec");
    EXPECT_EQ(result.out, "packed 5 folders, 1 file, 4 bytes\n") << result.err;
    Write("cut.rec", file.Bytes().substr(0, file.Bytes().size() - 1));
    EXPECT_EQ(Extract("cut.rec", "other").code, kDamaged);
    EXPECT_FALSE(Exists("other"));
    mvtool::removeTree(Text("copy")); // the standard library cannot walk through such a tree
    EXPECT_FALSE(Exists("copy"));
    ExpectNothingLeftBehind();
}

/// Ctrl-C once the tool has made its temporary file or folder in `folder`.
class RecInterrupted : public RecTest {
protected:
    void SetUp() override {
        Write("tree/big", "");
        std::filesystem::resize_file(Path("tree/big"), 200 << 20);
    }
    Result InterruptAtWork(const std::vector<std::string>& words, const std::filesystem::path& folder) const {
        RunningTool tool(words);
        for (int i = 0; i < 20000 && tool.running() && !WorksIn(folder); ++i) {
            Sleep(1);
        }
        tool.hold();
        tool.interrupt();
        Sleep(300); // the event arrives on a thread of its own
        tool.resume();
        return tool.wait();
    }
    bool WorksIn(const std::filesystem::path& folder) const {
        const auto made = [](const std::filesystem::directory_entry& entry) {
            return entry.path().filename().wstring().starts_with(L".mvtool-");
        };
        return std::any_of(std::filesystem::directory_iterator(Path(folder)), {}, made);
    }
};

TEST_F(RecInterrupted, BuildKeepsTheOldFile) {
    Write("t.rec", "old");
    const Result result = InterruptAtWork({"rec", "build", Text("tree"), "-o", Text("t.rec")}, ".");
    EXPECT_EQ(result.code, kCancelled);
    EXPECT_EQ(result.err, "mvtool: cancelled\n");
    EXPECT_EQ(std::filesystem::file_size(Path("t.rec")), 3u);
    ExpectNothingLeftBehind();
}

TEST_F(RecInterrupted, ExtractRemovesWhatItMade) {
    ASSERT_EQ(Build("tree", "t.rec").code, kDone);
    const std::vector<std::string> words = {"rec", "extract", Text("t.rec"), "-C", Text("copy")};
    EXPECT_EQ(InterruptAtWork(words, ".").code, kCancelled);
    EXPECT_FALSE(Exists("copy"));
    ExpectNothingLeftBehind();
    MakeFolder("copy");
    EXPECT_EQ(InterruptAtWork(words, "copy").code, kCancelled);
    EXPECT_TRUE(Listing("copy").empty());
}

std::atomic<int> g_interruptions = 0;

TEST_F(RecWindows, AConsoleEventCallsTheActionInsteadOfEndingTheProgram) {
    g_interruptions = 0;
    // A console of the program's own: events reach every program that shares one.
    FreeConsole();
    ASSERT_TRUE(AllocConsole()) << GetLastError();
    {
        mvtool::Interruption interruption([] { ++g_interruptions; });
        ASSERT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
        for (int i = 0; i < 500 && g_interruptions == 0; ++i) {
            Sleep(10);
        }
    }
    EXPECT_EQ(g_interruptions, 1);
}

} // namespace
} // namespace tooltest
