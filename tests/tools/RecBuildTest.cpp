// rec build, list, tree, info, check and extract on sound files.
#include "rec_fixture.h"

namespace tooltest {
namespace {

constexpr std::int64_t kTime = 1700000000123456700; // 2023-11-14 22:13:20 and some 100 ns
constexpr std::size_t kPiece = 1 << 20;

class RecBuild : public RecTest {
protected:
    /// The tree of the examples, with fixed times.
    void MakeTree() const {
        Write(u8"tree/docs/read me.txt", "hello");
        Write(u8"tree/docs/Größe €.txt", std::string("a\0b", 3));
        Write(u8"tree/empty.bin", "");
        MakeFolder("tree/nothing");
        for (const char8_t* name : {u8"tree/docs/read me.txt", u8"tree/docs/Größe €.txt", u8"tree/empty.bin",
                                    u8"tree/nothing", u8"tree/docs"}) {
            setModified(Path(name), kTime);
        }
    }
    static RecordBytes ExpectedTree() {
        return RecordBytes()
            .Folder(0, u"docs", kTime)
            .File(1, u"Größe €.txt", 3, kTime)
            .Data(2, std::string("a\0b", 3))
            .File(1, u"read me.txt", 5, kTime)
            .Data(2, "hello")
            .File(0, u"empty.bin", 0, kTime)
            .Folder(0, u"nothing", kTime)
            .End();
    }
};

TEST_F(RecBuild, ExampleUsage) {
    MakeTree();
    Result result = Build("tree", "tree.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "packed 2 folders, 3 files, 8 bytes\n");

    result = Rec("list", "tree.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "d--                2023-11-14 22:13:20  docs/\n"
                          "---             3  2023-11-14 22:13:20  docs/Größe €.txt\n"
                          "---             5  2023-11-14 22:13:20  docs/read me.txt\n"
                          "---             0  2023-11-14 22:13:20  empty.bin\n"
                          "d--                2023-11-14 22:13:20  nothing/\n");

    result = Rec("check", "tree.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, Text("tree.rec") + ": good: 8 records, 2 folders, 3 files, 8 bytes\n");

    result = Extract("tree.rec", "copy");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "extracted 2 folders, 3 files, 8 bytes\n");
    EXPECT_EQ(Read("copy/docs/read me.txt"), "hello");
    EXPECT_EQ(Listing("copy"), Listing("tree"));
    ExpectNothingLeftBehind();
}

TEST_F(RecBuild, TheBytesAreTheSameOnEverySystem) {
    MakeTree();
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    EXPECT_EQ(Read("tree.rec"), ExpectedTree().Bytes());
    // Of the whole file, so that a change of the tests' own encoder shows too.
    EXPECT_EQ(RecordBytes::Sum(Read("tree.rec")), 1480480056u);
}

TEST_F(RecBuild, TreeIndentsByLevel) {
    Write("tree.rec", ExpectedTree().Bytes());
    const Result result = Rec("tree", "tree.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "docs/\n"
                          "  Größe €.txt  3\n"
                          "  read me.txt  5\n"
                          "empty.bin  0\n"
                          "nothing/\n"
                          "2 folders, 3 files\n");
}

TEST_F(RecBuild, InfoTellsTheTotals) {
    Write("tree.rec", ExpectedTree().Bytes());
    const Result result = Rec("info", "tree.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "file:          " + Text("tree.rec") +
                              "\nbytes:         " + std::to_string(ExpectedTree().Bytes().size()) +
                              "\nheader words:  21069 1 0 0\n"
                              "kind:          packed tree, format 1\n"
                              "records:       8\n"
                              "folders:       2\n"
                              "files:         3\n"
                              "file bytes:    8\n"
                              "levels:        2\n");
}

TEST_F(RecBuild, ListOfRecordsShowsOffsetsLevelsAndLengths) {
    Write("tree.rec", RecordBytes().File(0, u"a", 2).Data(1, "hi").End().Bytes());
    const Result result = mvtool({"rec", "list", "--records", Text("tree.rec")});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "      offset  level  id          bytes\n"
                          "          18      0  FILE           28\n"
                          "          56      1  DATA            6\n"
                          "          72      0  END            36\n");
}

TEST_F(RecBuild, AnEmptyFolderMakesAFileWithTheEndRecordAlone) {
    MakeFolder("tree");
    EXPECT_EQ(Build("tree", "tree.rec").out, "packed 0 folders, 0 files, 0 bytes\n");
    EXPECT_EQ(Read("tree.rec"), RecordBytes().End().Bytes());
    EXPECT_EQ(Rec("list", "tree.rec").out, "");
    EXPECT_EQ(Extract("tree.rec", "copy").code, kDone);
    EXPECT_TRUE(Listing("copy").empty());
}

TEST_F(RecBuild, LargeFilesAreSplitIntoPieces) {
    std::string bytes;
    for (std::size_t i = 0; bytes.size() < 2 * kPiece + 5; ++i) {
        bytes += static_cast<char>(i * 2654435761u >> 24);
    }
    Write("tree/big", bytes);
    Write("tree/exact", bytes.substr(0, kPiece));
    setModified(Path("tree/big"), kTime);
    setModified(Path("tree/exact"), kTime);
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    EXPECT_EQ(Read("tree.rec"), RecordBytes()
                                    .File(0, u"big", bytes.size(), kTime)
                                    .Data(1, bytes.substr(0, kPiece))
                                    .Data(1, bytes.substr(kPiece, kPiece))
                                    .Data(1, bytes.substr(2 * kPiece))
                                    .File(0, u"exact", kPiece, kTime)
                                    .Data(1, bytes.substr(0, kPiece))
                                    .End()
                                    .Bytes());
    ASSERT_EQ(Extract("tree.rec", "copy").code, kDone);
    EXPECT_EQ(Read("copy/big"), bytes);
    EXPECT_EQ(Read("copy/exact"), bytes.substr(0, kPiece));
}

TEST_F(RecBuild, SmallerPiecesThanTheToolWritesAreReadToo) {
    Write("t.rec", RecordBytes().File(0, u"a", 3).Data(1, "x").Data(1, "yz").End().Bytes());
    EXPECT_EQ(Rec("check", "t.rec").code, kDone);
    EXPECT_EQ(Extract("t.rec", "copy").code, kDone);
    EXPECT_EQ(Read("copy/a"), "xyz");
}

TEST_F(RecBuild, TimesOfFilesAndFoldersComeBack) {
    MakeTree();
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    ASSERT_EQ(Extract("tree.rec", "copy").code, kDone);
    for (const char8_t* name :
         {u8"copy/docs", u8"copy/nothing", u8"copy/empty.bin", u8"copy/docs/Größe €.txt"}) {
        EXPECT_EQ(modified(Path(name)), kTime);
    }
}

TEST_F(RecBuild, ATimeBefore1970ComesBack) {
    Write("tree/old", "1");
    setModified(Path("tree/old"), -86400000000000 * 365);
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    EXPECT_NE(Rec("list", "tree.rec").out.find("1969-01-01 00:00:00"), std::string::npos);
    ASSERT_EQ(Extract("tree.rec", "copy").code, kDone);
    EXPECT_EQ(modified(Path("copy/old")), -86400000000000 * 365);
}

TEST_F(RecBuild, NamesAreSortedByTheirUtf16Units) {
    // U+FF21 comes behind U+1F600, whose first unit is 0xD83D.
    Write(u8"tree/Ａ", "1");
    Write(u8"tree/😀", "2");
    Write("tree/b", "3");
    Write("tree/B2", "4");
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    const std::string list = Rec("list", "tree.rec").out;
    EXPECT_LT(list.find("B2"), list.find("  b\n"));
    EXPECT_LT(list.find("  b\n"), list.find("😀"));
    EXPECT_LT(list.find("😀"), list.find("Ａ"));
    EXPECT_EQ(Extract("tree.rec", "copy").code, kDone);
    EXPECT_EQ(Listing("copy"), Listing("tree"));
}

TEST_F(RecBuild, AnOldOutputIsReplaced) {
    Write("tree/a", "1");
    Write("tree.rec", "something else, longer than what comes");
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    EXPECT_EQ(Rec("check", "tree.rec").code, kDone);
    ExpectNothingLeftBehind();
}

TEST_F(RecBuild, AnOutputInsideTheTreeIsLeftOut) {
    Write("tree/a", "1");
    for (int run = 0; run < 2; ++run) {
        const Result result = Build("tree", "tree/tree.rec");
        EXPECT_EQ(result.code, kDone) << result.err;
        EXPECT_EQ(Rec("list", "tree/tree.rec").out.find("rec"), std::string::npos);
        // The first run finds nothing but its own temporary file, of which nobody needs to hear.
        EXPECT_EQ(result.out, run == 0 ? "packed 0 folders, 1 file, 1 byte\n"
                                       : "packed 0 folders, 1 file, 1 byte; left out: 1\n");
        const std::size_t note = result.err.find("mvtool: left out, the output itself: ");
        EXPECT_EQ(note, run == 0 ? std::string::npos : 0) << result.err;
        EXPECT_EQ(result.err.find(".mvtool-"), std::string::npos) << result.err;
    }
}

TEST_F(RecBuild, RelativePathsAreTakenFromTheCurrentFolder) {
    Write("here/tree/a", "1");
    Surroundings there;
    there.folder = Path("here");
    EXPECT_EQ(mvtool({"rec", "build", "tree", "-o", "t.rec"}, there).code, kDone);
    EXPECT_EQ(mvtool({"rec", "extract", "t.rec", "-C", "copy"}, there).code, kDone);
    EXPECT_EQ(Read("here/copy/a"), "1");
}

TEST_F(RecBuild, ABackslashIsASeparatorInArgumentsOnEverySystem) {
    Write("here/tree/a", "1");
    Surroundings there;
    there.folder = m_folder.Root();
    EXPECT_EQ(mvtool({"rec", "build", "here\\tree", "-o", "here\\t.rec"}, there).code, kDone);
    EXPECT_EQ(mvtool({"rec", "check", "here\\t.rec"}, there).code, kDone);
    EXPECT_EQ(mvtool({"rec", "extract", "here\\t.rec", "-C", "here\\copy"}, there).code, kDone);
    EXPECT_EQ(Read("here/copy/a"), "1");
}

TEST_F(RecBuild, ExtractWithoutAFolderUsesTheCurrentOne) {
    Write("t.rec", RecordBytes().File(0, u"a", 1).Data(1, "x").End().Bytes());
    MakeFolder("here");
    Surroundings there;
    there.folder = Path("here");
    EXPECT_EQ(mvtool({"rec", "extract", Text("t.rec")}, there).code, kDone);
    EXPECT_EQ(Read("here/a"), "x");
}

TEST_F(RecBuild, ExtractIntoAnExistingFolderAddsToIt) {
    Write("copy/mine", "kept");
    Write("copy/docs/mine", "kept");
    Write("t.rec", ExpectedTree().Bytes());
    EXPECT_EQ(Extract("t.rec", "copy").code, kDone);
    EXPECT_EQ(Read("copy/mine"), "kept");
    EXPECT_EQ(Read("copy/docs/mine"), "kept");
    EXPECT_EQ(Read("copy/docs/read me.txt"), "hello");
    ExpectNothingLeftBehind();
}

TEST_F(RecBuild, FilesThatExistAreReplacedOnlyOnRequest) {
    Write("t.rec", RecordBytes().File(0, u"a", 3).Data(1, "new").End().Bytes());
    Write("copy/a", "old");
    Result result = Extract("t.rec", "copy");
    EXPECT_EQ(result.code, kWriteFailure);
    EXPECT_NE(result.err.find("exists already: "), std::string::npos) << result.err;
    EXPECT_EQ(Read("copy/a"), "old");
    result = Extract("t.rec", "copy", {"--replace"});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(Read("copy/a"), "new");
    ExpectNothingLeftBehind();
}

TEST_F(RecBuild, AReadOnlyFileComesBackReadOnly) {
    Write("tree/fixed", "1");
    std::filesystem::permissions(Path("tree/fixed"), std::filesystem::perms::owner_read);
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    EXPECT_EQ(Rec("list", "tree.rec").out.substr(0, 3), "--r");
    ASSERT_EQ(Extract("tree.rec", "copy").code, kDone);
    EXPECT_EQ(std::filesystem::status(Path("copy/fixed")).permissions() & std::filesystem::perms::owner_write,
              std::filesystem::perms::none);
    // So that the temporary folder can be removed on Windows.
    std::filesystem::permissions(Path("tree/fixed"), std::filesystem::perms::owner_all);
    std::filesystem::permissions(Path("copy/fixed"), std::filesystem::perms::owner_all);
}

TEST_F(RecBuild, ProgressEndsAtTheFullBarAndStaysOffWhenNobodyLooks) {
    MakeTree();
    const Result quiet = Build("tree", "tree.rec");
    EXPECT_EQ(quiet.err, "");
    const std::string full = "[##############################] 100%  ";
    Result result = mvtool({"rec", "build", "--progress=always", Text("tree"), "-o", Text("t.rec")});
    EXPECT_EQ(result.code, kDone);
    EXPECT_NE(result.err.find("[..............................]   0%  packing docs"), std::string::npos)
        << result.err;
    EXPECT_NE(result.err.find(full + "packing nothing"), std::string::npos) << result.err;
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"rec", "check", "--progress=always", Text("t.rec")},
          {"rec", "info", "--progress=always", Text("t.rec")},
          {"rec", "extract", "--progress=always", Text("t.rec"), "-C", Text("c")}}) {
        result = mvtool(words);
        EXPECT_EQ(result.code, kDone);
        EXPECT_NE(result.err.find(full), std::string::npos) << result.err;
        EXPECT_EQ(result.err.back(), '\n');
    }
    EXPECT_EQ(mvtool({"rec", "check", "--progress=never", Text("t.rec")}).err, "");
}

TEST_F(RecBuild, RecordFilesOfOtherProgramsCanBeCheckedAndDescribed) {
    Write("other.rec",
          RecordBytes()
              .Header(7, 1, 2, 3)
              .Raw(RecordBytes::Number(5, 4) + RecordBytes::Number(3, 4) + RecordBytes::Number(0, 2) + "abc")
              .Raw(RecordBytes::Number(6, 4) + RecordBytes::Number(0, 4) + RecordBytes::Number(1, 2))
              .Bytes());
    Result result = Rec("check", "other.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out,
              Text("other.rec") +
                  ": good: 2 records; no packed tree but kind 7, so only the records were checked\n");
    result = Rec("info", "other.rec");
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_NE(result.out.find(
                  "header words:  7 1 2 3\nkind:          record file of another program\nrecords:       2\n"
                  "payload bytes: 3\nlevels:        2\n  0x00000005: 1 record, 3 bytes\n"
                  "  0x00000006: 1 record, 0 bytes\n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(mvtool({"rec", "list", "-r", Text("other.rec")}).code, kDone);
    for (const char* command : {"list", "tree"}) {
        result = Rec(command, "other.rec");
        EXPECT_EQ(result.code, kDamaged);
        EXPECT_NE(result.err.find("not a packed tree but a record file of kind 7"), std::string::npos);
    }
}

// ---- error results

TEST_F(RecBuild, AMissingInputGives3) {
    Write("file", "1");
    EXPECT_EQ(Build("missing", "t.rec").code, kNotFound);
    EXPECT_EQ(Build("file", "t.rec").code, kNotFound);
    for (const char* command : {"list", "tree", "check", "info"}) {
        const Result result = Rec(command, "missing.rec");
        EXPECT_EQ(result.code, kNotFound) << command;
        EXPECT_NE(result.err.find("cannot read "), std::string::npos);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(Extract("missing.rec", "copy").code, kNotFound);
    EXPECT_FALSE(Exists("copy"));
    EXPECT_FALSE(Exists("t.rec"));
}

TEST_F(RecBuild, AnEmptyNameGives2) {
    Write("tree/a", "1");
    Write("t.rec", RecordBytes().End().Bytes());
    EXPECT_EQ(mvtool({"rec", "build", "", "-o", Text("x.rec")}).err,
              "mvtool: an empty folder name: DIR\nmvtool: try 'mvtool --help'\n");
    EXPECT_EQ(mvtool({"rec", "build", "", "-o", Text("x.rec")}).code, kUsage);
    EXPECT_EQ(mvtool({"rec", "build", Text("tree"), "-o", ""}).code, kUsage);
    EXPECT_EQ(mvtool({"rec", "extract", Text("t.rec"), "-C", ""}).code, kUsage);
    EXPECT_FALSE(Exists("x.rec"));
}

TEST_F(RecBuild, AFolderWhereAFileIsReadGives3) {
    MakeFolder("folder");
    EXPECT_EQ(Rec("list", "folder").code, kNotFound);
}

TEST_F(RecBuild, AMissingFolderAroundTheOutputGives3) {
    Write("tree/a", "1");
    EXPECT_EQ(Build("tree", "missing/t.rec").code, kNotFound);
    Write("t.rec", RecordBytes().End().Bytes());
    EXPECT_EQ(Extract("t.rec", "missing/copy").code, kNotFound);
}

TEST_F(RecBuild, AFileAroundTheOutputGives3) {
    Write("tree/a", "1");
    Write("file", "mine");
    EXPECT_EQ(Build("tree", "file/t.rec").code, kNotFound);
    Write("t.rec", RecordBytes().End().Bytes());
    const Result result = Extract("t.rec", "file/copy");
    EXPECT_EQ(result.code, kNotFound) << result.err;
    EXPECT_EQ(Read("file"), "mine");
    ExpectNothingLeftBehind();
}

TEST_F(RecBuild, AnOutputThatIsNoOrdinaryFileGives6) {
    Write("tree/a", "1");
    MakeFolder("folder");
    EXPECT_EQ(Build("tree", "folder").code, kWriteFailure);
    Write("t.rec", RecordBytes().End().Bytes());
    Write("file", "1");
    EXPECT_EQ(Extract("t.rec", "file").code, kWriteFailure);
    EXPECT_EQ(Read("file"), "1");
    ExpectNothingLeftBehind();
}

} // namespace
} // namespace tooltest
