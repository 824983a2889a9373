// What only Windows has: names that it reserves, paths over 260 characters, console events.
#include "rec_fixture.h"

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
