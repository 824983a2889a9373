// unit: lengths from one unit to another.
#include "rec_fixture.h"

namespace tooltest {
namespace {

class UnitTest : public RecTest {
protected:
    // What the command prints; it must succeed without a note.
    static std::string Converted(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "unit");
        const Result result = mvtool(arguments);
        EXPECT_EQ(result.code, kDone);
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    static void ExpectUsage(std::vector<std::string> arguments, const std::string& text) {
        arguments.insert(arguments.begin(), "unit");
        const Result result = mvtool(arguments);
        EXPECT_EQ(result.code, kUsage);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
    }
};

TEST_F(UnitTest, ExampleUsage) {
    EXPECT_EQ(Converted({"1 1/2 in", "--to", "mm", "--fraction", "16"}), "38 1/8 mm\n");
    EXPECT_EQ(Converted({"38.1", "1270", "--from", "mm", "--to", "in"}), "1.500 in\n50.000 in\n");
}

TEST_F(UnitTest, EveryUnitIsReadAndWritten) {
    for (const char* length : {"25.4 mm", "2.54cm", "1 in", "1\"", "1/12 ft"}) {
        EXPECT_EQ(Converted({length, "-t", "mm"}), "25.4 mm\n") << length;
        EXPECT_EQ(Converted({length, "-t", "cm"}), "2.54 cm\n") << length;
        EXPECT_EQ(Converted({length, "-t", "in"}), "1.000 in\n") << length;
        EXPECT_EQ(Converted({length, "-t", "ft"}), "0.083 ft\n") << length;
    }
}

TEST_F(UnitTest, UnitInTheLengthWinsOverTheOption) {
    EXPECT_EQ(Converted({"2 in", "-f", "ft", "-t", "in"}), "2.000 in\n");
    EXPECT_EQ(Converted({"2", "-f", "ft", "-t", "in"}), "24.000 in\n");
}

TEST_F(UnitTest, NumberAloneAndNegativeLengths) {
    EXPECT_EQ(Converted({"-n", "-t", "cm", "--", "-1 in"}), "-2.54\n");
    EXPECT_EQ(Converted({"-t", "in", "-f", "in", "--fraction=4", "--", "-2 1/2"}), "-1 1/2 in\n")
        << "the library's rule";
    EXPECT_EQ(Converted({"--fraction=1", "-nt", "mm", "1 in"}), "25\n");
}

// ---- error results

TEST_F(UnitTest, Code2ForWhatIsNoLengthOrNoUnit) {
    ExpectUsage({"-t", "mm", "abc"}, "no length: abc");
    ExpectUsage({"-t", "mm", ""}, "no length");
    ExpectUsage({"1 in", "--to", "km"}, "--to takes mm, cm, in or ft, not km");
    ExpectUsage({"1 in", "--from="}, "--from takes");
    for (const char* number : {"0", "-1", "1000001", "x", "8x", ""}) {
        ExpectUsage({"1 in", std::string("--fraction=") + number}, "--fraction takes a number");
    }
    ExpectUsage({}, "missing operand");
}

TEST_F(UnitTest, LengthsBeforeOneThatIsNoneArePrinted) {
    const Result result = mvtool({"unit", "-t", "mm", "1 in", "none"});
    EXPECT_EQ(result.code, kUsage);
    EXPECT_EQ(result.out, "25.4 mm\n");
}

TEST_F(UnitTest, HelpNamesTheOptions) {
    const Result result = mvtool({"unit", "--help"});
    EXPECT_EQ(result.code, kDone);
    EXPECT_NE(result.out.find("Usage: mvtool unit LENGTH..."), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("--fraction=N"), std::string::npos);
}

} // namespace
} // namespace tooltest
