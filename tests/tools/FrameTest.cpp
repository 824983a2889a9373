// The frame: help, version, and what is answered to a command line that makes no sense.
#include "rec_fixture.h"

namespace tooltest {
namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Frame, HelpNamesTheFamiliesOnStandardOutput) {
    for (const char* word : {"--help", "-h", "help"}) {
        const Result result = mvtool({word});
        EXPECT_EQ(result.code, kDone);
        EXPECT_TRUE(contains(result.out, "Usage: mvtool FAMILY COMMAND"));
        EXPECT_TRUE(contains(result.out, "\n  rec  "));
        EXPECT_TRUE(contains(result.out, "Exit codes: 0 done"));
        EXPECT_EQ(result.err, "");
    }
}

TEST(Frame, HelpOfAFamilyNamesItsCommands) {
    const Result result = mvtool({"rec", "--help"});
    EXPECT_EQ(result.code, kDone);
    for (const char* command :
         {"build DIR", "list FILE", "tree FILE", "extract FILE", "check FILE", "info FILE"}) {
        EXPECT_TRUE(contains(result.out, std::string("\n  ") + command)) << command;
    }
}

TEST(Frame, HelpOfACommandNamesItsOptionsAndDoesNothing) {
    const Result result = mvtool({"rec", "build", "--help"});
    EXPECT_EQ(result.code, kDone);
    EXPECT_TRUE(contains(result.out, "Usage: mvtool rec build DIR -o FILE"));
    EXPECT_TRUE(contains(result.out, "-o, --output=FILE"));
    EXPECT_TRUE(contains(result.out, "    --progress=WHEN"));
}

TEST(Frame, HelpHasNoEmptyParagraphs) {
    for (const char* command : {"build", "list", "tree", "extract", "check", "info"}) {
        const Result result = mvtool({"rec", command, "-h"});
        EXPECT_EQ(result.code, kDone);
        EXPECT_FALSE(contains(result.out, "\n\n\n")) << result.out;
    }
}

TEST(Frame, VersionIsOneLine) {
    const Result result = mvtool({"--version"});
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.out, "mvtool 6.2.0\n");
    EXPECT_EQ(result.err, "");
}

struct Mistake {
    std::vector<std::string> words;
    std::string text;
};

TEST(Frame, AMistakeOnTheCommandLineIsNamedOnStandardErrorWithCode2) {
    const Mistake mistakes[] = {
        {{}, "no command given"},
        {{"rec"}, "no command given for rec"},
        {{"rac"}, "unknown family: rac"},
        {{"--what"}, "unknown option --what"},
        {{"rec", "pack"}, "unknown command: rec pack"},
        {{"rec", "list"}, "missing operand: FILE"},
        {{"rec", "list", "a", "b"}, "one operand too many: b"},
        {{"rec", "list", "a", "--long"}, "unknown option --long"},
        {{"rec", "list", "-lx"}, "unknown option -lx"},
        {{"rec", "build", "a", "-o"}, "-o needs a value (FILE)"},
        {{"rec", "build", "a", "--output"}, "--output needs a value (FILE)"},
        {{"rec", "build", "a"}, "the output is missing: -o FILE"},
        {{"rec", "build", "a", "-o", ""}, "the output is missing: -o FILE"},
        {{"rec", "list", "--records=yes", "a"}, "--records takes no value"},
        {{"rec", "check", "a", "--progress=often"}, "--progress is auto, always or never, not often"},
        {{"rec", "list", "\x1b[31m", "b\nc"}, "one operand too many: b\\x0ac"},
    };
    for (const Mistake& mistake : mistakes) {
        const Result result = mvtool(mistake.words);
        EXPECT_EQ(result.code, kUsage) << mistake.text;
        EXPECT_EQ(result.out, "") << mistake.text;
        EXPECT_EQ(result.err, "mvtool: " + mistake.text + "\nmvtool: try 'mvtool --help'\n");
    }
}

using Options = RecTest;

TEST_F(Options, StandBeforeBetweenAndBehindTheOperands) {
    Write("tree/a", "1");
    const std::string tree = Text("tree");
    const std::string file = Text("t.rec");
    for (const std::vector<std::string>& words : {std::vector<std::string>{"rec", "build", "-o", file, tree},
                                                  {"rec", "build", tree, "-o" + file},
                                                  {"rec", "build", "--output", file, "-q", tree},
                                                  {"rec", "build", "--output=" + file, "--", tree},
                                                  {"rec", "build", "-qo", file, tree}}) {
        EXPECT_EQ(mvtool(words).code, kDone) << words[2];
        EXPECT_TRUE(Exists("t.rec"));
        std::filesystem::remove(Path("t.rec"));
    }
}

TEST_F(Options, TwoHyphensMakeOperandsOfWhatFollows) {
    Surroundings there;
    there.folder = m_folder.Root();
    Write("--help/a", "1");
    EXPECT_EQ(mvtool({"rec", "build", "-o", "t.rec", "--", "--help"}, there).code, kDone);
    EXPECT_TRUE(Exists("t.rec"));
}

} // namespace
} // namespace tooltest
