// Files that are cut, changed or made to do harm: each is refused with the offset of the first bad byte, and
// extracting it leaves nothing behind.
#include "rec_fixture.h"

#include <rec/reader.h>
#include <rec/unpack.h>
#include <sstream>

namespace tooltest {
namespace {

/// Keeps nothing; counts what it is given.
class CountingSink : public mvtool::rec::Sink {
public:
    void enterFolder(const mvtool::rec::Entry&) override { ++folders; }
    void leaveFolder(const mvtool::rec::Entry&) override { --folders; }
    void beginFile(const mvtool::rec::Entry&) override { ++files; }
    void addBytes(std::span<const unsigned char> bytes) override { size += bytes.size(); }
    void endFile(const mvtool::rec::Entry&) override { ++ended; }
    int folders = 0;
    int files = 0;
    int ended = 0;
    std::size_t size = 0;
};

class RecHostile : public RecTest {
protected:
    /// What is wrong with the bytes; an empty text when nothing is.
    std::string Fault(const std::string& bytes) {
        Write("t.rec", bytes);
        const std::unique_ptr<CFile> file = mvtool::rec::openRecordFile(Text("t.rec"));
        try {
            mvtool::rec::RecordScan scan(*file, nullptr);
            mvtool::rec::TreeReader reader(scan);
            CountingSink sink;
            mvtool::rec::unpack(reader, sink);
            EXPECT_EQ(sink.folders, 0);
            EXPECT_EQ(sink.files, sink.ended);
            return {};
        } catch (const mvtool::rec::Damage& damage) {
            EXPECT_EQ(damage.code(), mvtool::Exit::damaged);
            EXPECT_LE(damage.offset(), bytes.size());
            EXPECT_LE(damage.record(), damage.offset());
            return damage.text();
        }
    }

    /// Checks, lists and extracts with the program itself.
    void ExpectRefused(const RecordBytes& file, std::size_t offset, int code, const std::string& text) {
        SCOPED_TRACE(text);
        Write("t.rec", file.Bytes());
        const std::string what = "damaged at byte " + std::to_string(offset) + ": " + text;
        Result result = Rec("check", "t.rec");
        EXPECT_EQ(result.code, kNo);
        EXPECT_EQ(result.out.substr(0, Text("t.rec").size() + 7 + what.size()),
                  Text("t.rec") + ": bad: " + what);
        EXPECT_NE(result.out.find("[library code " + std::to_string(code) + "]\n"), std::string::npos)
            << result.out;
        EXPECT_EQ(result.err, "");
        for (const char* command : {"list", "tree", "info"}) {
            result = Rec(command, "t.rec");
            EXPECT_EQ(result.code, kDamaged) << command;
            EXPECT_NE(result.err.find(what), std::string::npos) << result.err;
        }
        std::filesystem::create_directories(Path("box/there"));
        const std::set<std::string> before = Listing("box");
        result = Extract("t.rec", "box/new");
        EXPECT_EQ(result.code, kDamaged) << result.err;
        EXPECT_NE(result.err.find(what), std::string::npos) << result.err;
        EXPECT_EQ(Listing("box"), before);
        EXPECT_EQ(Extract("t.rec", "box/there").code, kDamaged);
        ExpectNothingLeftBehind();
        for (const std::string& name : Listing("box")) {
            EXPECT_TRUE(name.starts_with("there/"));
        }
        std::filesystem::remove_all(Path("box"));
    }

    static RecordBytes Sample() {
        return RecordBytes()
            .Folder(0, u"docs", 1)
            .File(1, u"a.txt", 5, 2)
            .Data(2, "he")
            .Data(2, "llo")
            .Folder(1, u"deep", 3)
            .File(0, u"empty", 0, 4)
            .End();
    }
};

TEST_F(RecHostile, AFileCutAnywhereIsRefused) {
    const std::string whole = Sample().Bytes();
    EXPECT_EQ(Fault(whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string text = Fault(whole.substr(0, length));
        EXPECT_EQ(text.substr(0, 16), "damaged at byte ") << length;
        // Every byte that is there is good: the first bad one is the one that is missing.
        EXPECT_EQ(text.substr(16, text.find(':') - 16), std::to_string(length));
    }
}

// The same through the program: in the file header, at every record's end and in the record behind it.
TEST_F(RecHostile, CommandsRefuseACutFileAndExtractLeavesNothing) {
    RecordBytes file;
    std::set<std::size_t> lengths = {0, 17};
    const auto mark = [&] { lengths.insert({file.Bytes().size(), file.Bytes().size() + 13}); };
    mark();
    file.Folder(0, u"a");
    mark();
    file.File(1, u"b", 2);
    mark();
    file.Data(2, "xy");
    mark();
    file.End();
    const std::string whole = file.Bytes();
    for (const std::size_t length : lengths) {
        Write("t.rec", whole.substr(0, length));
        const std::string what = "damaged at byte " + std::to_string(length) + ": ";
        Result result = Rec("check", "t.rec");
        EXPECT_EQ(result.code, kNo) << length;
        EXPECT_NE(result.out.find(": bad: " + what), std::string::npos) << result.out;
        result = Rec("list", "t.rec");
        EXPECT_EQ(result.code, kDamaged) << length;
        EXPECT_NE(result.err.find(what), std::string::npos) << result.err;
        result = Extract("t.rec", "copy");
        EXPECT_EQ(result.code, kDamaged) << length;
        EXPECT_NE(result.err.find(what), std::string::npos) << result.err;
        EXPECT_EQ(Listing("."), std::set<std::string>{"t.rec"}) << length;
    }
}

TEST_F(RecHostile, AChangeOfAnyByteIsNoticed) {
    const std::string whole = Sample().Bytes();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string bytes = whole;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            EXPECT_NE(Fault(bytes), "") << at;
        }
    }
}

TEST_F(RecHostile, ARecordLeftOutDoubledOrExchangedIsNoticed) {
    std::vector<std::string> records;
    const std::string whole = Sample().Bytes();
    for (std::size_t at = 18; at < whole.size();) {
        const std::size_t size = 10 + static_cast<unsigned char>(whole[at + 4]);
        records.push_back(whole.substr(at, size));
        at += size;
    }
    ASSERT_EQ(records.size(), 7u);
    const auto joined = [&](const std::vector<std::string>& parts) {
        std::string bytes = whole.substr(0, 18);
        for (const std::string& part : parts) {
            bytes += part;
        }
        return bytes;
    };
    for (std::size_t i = 0; i < records.size(); ++i) {
        std::vector<std::string> changed = records;
        changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_NE(Fault(joined(changed)), "") << i;
        changed = records;
        changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(i), records[i]);
        EXPECT_NE(Fault(joined(changed)), "") << i;
        if (i + 1 < records.size()) {
            changed = records;
            std::swap(changed[i], changed[i + 1]);
            EXPECT_NE(Fault(joined(changed)), "") << i;
        }
    }
}

TEST_F(RecHostile, AFileThatIsNoRecordFileIsRefused) {
    ExpectRefused(RecordBytes().Header(0x8000, 1, 0, 0), 0, -16103, "not a record file");
    ExpectRefused(RecordBytes().Header(0x524D, 0xFFFF, 0, 0), 0, -16103, "not a record file");
    EXPECT_NE(Fault("a text that is longer than a file header").find("not a record file"), std::string::npos);
}

TEST_F(RecHostile, AFormatOfTheFutureIsRefused) {
    ExpectRefused(RecordBytes().Header(0x524D, 2, 0, 0).End(), 2, -9,
                  "a packed tree of an unknown format: 2 0 0");
    ExpectRefused(RecordBytes().Header(0x524D, 1, 0, 9).End(), 2, -9,
                  "a packed tree of an unknown format: 1 0 9");
}

TEST_F(RecHostile, ALengthBeyondTheEndIsNotBelieved) {
    const RecordBytes file =
        RecordBytes().File(0, u"a", 9).Raw(std::string("DATA\xFF\xFF\xFF\xFF\x01\0", 10)).Raw("xyz");
    ExpectRefused(file, file.Bytes().size(), -7,
                  "the payload of 4294967295 bytes goes beyond the end of the file");
}

TEST_F(RecHostile, ASizeThatTheFileCannotHoldIsNotBelieved) {
    ExpectRefused(RecordBytes().File(0, u"a", 0xFFFFFFFFFFFFFFFF).End(), 18 + 10 + 12, -9,
                  "a file of 18446744073709551615 bytes, more than there are");
}

TEST_F(RecHostile, NegativeAndSkippedLevelsAreRefused) {
    ExpectRefused(RecordBytes().Folder(-1, u"a").End(), 26, -9, "a negative level: -1");
    ExpectRefused(RecordBytes().Folder(1, u"a").End(), 26, -9, "no folder is open for level 1");
    const RecordBytes skipped = RecordBytes().Folder(0, u"a").File(2, u"b", 0);
    ExpectRefused(skipped, skipped.Last() + 8, -9, "no folder is open for level 2");
    const RecordBytes end = RecordBytes().Folder(0, u"a").End(1);
    ExpectRefused(end, end.Last() + 8, -9, "the end record at the wrong level: 1");
}

TEST_F(RecHostile, AFileIsNoFolder) {
    const RecordBytes file = RecordBytes().File(0, u"a", 0).File(1, u"b", 0);
    ExpectRefused(file, file.Last() + 8, -9, "no folder is open for level 1");
}

TEST_F(RecHostile, NamesThatCouldLeaveTheFolderAreRefused) {
    struct Name {
        std::u16string name;
        const char* text;
    };
    const Name names[] = {
        {u".", "a name that no file can have: ."},
        {u"..", "a name that no file can have: .."},
        {u"/", "a name that no file can have: /"},
        {u"/etc", "a name that no file can have: /etc"},
        {u"a/b", "a name that no file can have: a/b"},
        {u"../x", "a name that no file can have: ../x"},
        {std::u16string(u"a\0b", 3), "a name that no file can have: a\\x00b"},
        {std::u16string(1, u'\xD800'), "a name that no file can have: \\ud800"},
        {std::u16string(1, u'\xDC00'), "a name that no file can have: \\udc00"},
        {u"\xDC2E\xDC2E\xDC2Fx",
         "a name that no file can have: \\udc2e\\udc2e\\udc2fx"}, // "../x" in disguise
        {u"\xDCC3\xDCA9",
         "a name that no file can have: \\udcc3\\udca9"}, // as bytes a name that has a form of its own
        {u"..\\x", "a name that Windows reserves: ..\\\\x"},
        {u"\\x", "a name that Windows reserves: \\\\x"},
        {u"C:", "a name that Windows reserves: C:"},
        {u"C:\\x", "a name that Windows reserves: C:\\\\x"},
        {u"a:stream", "a name that Windows reserves: a:stream"},
        {u"CON", "a name that Windows reserves: CON"},
        {u"nul.txt", "a name that Windows reserves: nul.txt"},
        {u"COM1", "a name that Windows reserves: COM1"},
        {u"lpt\u00B2.a.b", "a name that Windows reserves: lpt\u00B2.a.b"},
        {u"aux .c", "a name that Windows reserves: aux .c"},
        {u"a.", "a name that Windows reserves: a."},
        {u"a ", "a name that Windows reserves: a "},
        {u"...", "a name that Windows reserves: ..."},
        {u"a\x1B[31m", "a name that Windows reserves: a\\x1b[31m"},
        {u"what?", "a name that Windows reserves: what?"},
    };
    for (const Name& name : names) {
        EXPECT_NE(Fault(RecordBytes().Folder(0, name.name).End().Bytes())
                      .find("damaged at byte 42: " + std::string(name.text)),
                  std::string::npos)
            << name.text;
        EXPECT_NE(Fault(RecordBytes().File(0, name.name, 0).End().Bytes())
                      .find("damaged at byte 50: " + std::string(name.text)),
                  std::string::npos)
            << name.text;
    }
    ExpectRefused(RecordBytes().Folder(0, u"..").End(), 42, -9, "a name that no file can have: ..");
    ExpectRefused(RecordBytes().File(0, u"../../x", 0).End(), 50, -9,
                  "a name that no file can have: ../../x");
    ExpectRefused(RecordBytes().File(0, u"..\\x", 0).End(), 50, -9, "a name that Windows reserves: ..\\\\x");
}

TEST_F(RecHostile, ANameWhoseLengthDoesNotFitIsRefused) {
    const std::string fixed = RecordBytes::Number(0, 12);
    ExpectRefused(RecordBytes().Record("FOLD", 0, fixed + RecordBytes::Number(2, 2) + "ab"), 40, -9,
                  "the name's length does not fit");
    ExpectRefused(RecordBytes().Record("FOLD", 0, fixed + RecordBytes::Number(0, 2) + "ab"), 40, -9,
                  "the name's length does not fit");
    ExpectRefused(RecordBytes().Record("FOLD", 0, fixed + RecordBytes::Number(0, 2)), 22, -9,
                  "a length that no such record has: 18");
    ExpectRefused(RecordBytes().Folder(0, std::u16string(256, u'x')), 22, -9,
                  "a length that no such record has: 530");
}

TEST_F(RecHostile, DuplicateAndUnorderedNamesAreRefused) {
    RecordBytes file = RecordBytes().File(0, u"a", 0).File(0, u"a", 0);
    ExpectRefused(file, file.Last() + 32, -9, "a name for the second time: a");
    file = RecordBytes().Folder(0, u"a").File(1, u"x", 0).File(0, u"a", 0);
    ExpectRefused(file, file.Last() + 32, -9, "a name for the second time: a");
    file = RecordBytes().File(0, u"b", 0).Folder(0, u"a");
    ExpectRefused(file, file.Last() + 24, -9, "a name out of order: a");
}

TEST_F(RecHostile, FlagsThatMeanNothingAreRefused) {
    ExpectRefused(RecordBytes().File(0, u"a", 0, 0, 8).End(), 28, -9, "unknown flags: a");
    ExpectRefused(RecordBytes().Folder(0, u"a", 0, 2).End(), 28, -9, "unknown flags: a");
    ExpectRefused(RecordBytes().File(0, u"a", 0, 0, 1).End(), 50, -9, "a flag that the name belies: a");
}

TEST_F(RecHostile, DataOutOfPlaceAreRefused) {
    RecordBytes file = RecordBytes().Data(1, "x");
    ExpectRefused(file, 18, -9, "data that belong to no file");
    file = RecordBytes().File(0, u"a", 1).Data(2, "x");
    ExpectRefused(file, file.Last() + 8, -9, "data at the wrong level: 2");
    file = RecordBytes().File(0, u"a", 1).Data(1, "xy");
    ExpectRefused(file, file.Last() + 4, -9, "a length that does not fit: 6");
    file = RecordBytes().File(0, u"a", 1).Data(1, "");
    ExpectRefused(file, file.Last() + 4, -9, "a length that does not fit: 4");
    file = RecordBytes().File(0, u"a", 2).Data(1, "x").File(0, u"b", 0);
    ExpectRefused(file, file.Last(), -9, "the rest of the file before it is missing");
    file = RecordBytes().File(0, u"a", 2).Data(1, "x").End();
    ExpectRefused(file, file.Last(), -9, "the rest of the file before it is missing");
    file = RecordBytes().File(0, u"a", 2).Data(1, "x");
    ExpectRefused(file, file.Bytes().size(), -17, "the rest of a file is missing");
}

TEST_F(RecHostile, APieceOverTheLimitIsRefusedWithoutReadingIt) {
    const RecordBytes file =
        RecordBytes().File(0, u"a", (1 << 20) + 1).Data(1, std::string((1 << 20) + 1, 'x'));
    ExpectRefused(file, file.Last() + 4, -9, "a length that does not fit: 1048581");
}

TEST_F(RecHostile, UnknownRecordsAreRefused) {
    const RecordBytes file = RecordBytes().Record("LINK", 0, "x");
    ExpectRefused(file, 18, -9, "an unknown record: \"LINK\"");
}

TEST_F(RecHostile, AMissingOrWrongEndIsRefused) {
    RecordBytes file = RecordBytes().Folder(0, u"a");
    ExpectRefused(file, file.Bytes().size(), -17, "the end record is missing, so the file was cut");
    file = RecordBytes();
    ExpectRefused(file, 18, -17, "the end record is missing, so the file was cut");
    file = RecordBytes().Folder(0, u"a").Record("END ", 0, std::string(32, '\0'));
    ExpectRefused(file, file.Last() + 10, -9, "the totals do not agree with the records");
    file = RecordBytes().Record("END ", 0, std::string(31, '\0'));
    ExpectRefused(file, 22, -9, "a length that no such record has: 35");
    file = RecordBytes().End().Folder(0, u"a");
    ExpectRefused(file, file.Last(), -9, "a record behind the end record");
    file = RecordBytes().End().Raw("x");
    ExpectRefused(file, file.Bytes().size(), -7, "a record header is cut short");
}

TEST_F(RecHostile, AWrongSumIsRefused) {
    RecordBytes file = RecordBytes().File(0, u"a", 1).Raw(std::string("DATA\x05\0\0\0\x01\0x1234", 15));
    ExpectRefused(file, file.Last(), -7, "the check sum is wrong");
}

TEST_F(RecHostile, BadRecordsOfOtherProgramsAreFoundByCheck) {
    Write("t.rec", RecordBytes()
                       .Header(7, 0, 0, 0)
                       .Raw(std::string("abcd\x05\0\0\0\x01\0"
                                        "123",
                                        13))
                       .Bytes());
    Result result = Rec("check", "t.rec");
    EXPECT_EQ(result.code, kNo);
    EXPECT_NE(result.out.find("bad: damaged at byte 31: the payload of 5 bytes goes beyond the end"),
              std::string::npos);
    EXPECT_EQ(Rec("info", "t.rec").code, kDamaged);
    EXPECT_EQ(mvtool({"rec", "list", "--records", Text("t.rec")}).code, kDamaged);
}

TEST_F(RecHostile, WhatWasExtractedBeforeTheDamageStaysOnRequest) {
    Write("t.rec", RecordBytes().File(0, u"a", 1).Data(1, "x").File(0, u"b", 2).Data(1, "y").Bytes());
    const Result result = Extract("t.rec", "copy", {"--partial"});
    EXPECT_EQ(result.code, kDamaged);
    EXPECT_NE(result.err.find("extracted before the failure: 1 file\n"), std::string::npos) << result.err;
    EXPECT_EQ(Read("copy/a"), "x");
    EXPECT_EQ(Listing("copy").size(), 1u);
}

// 538 bytes a level, but all the paths above in every line: in full the list would grow with the square.
TEST_F(RecHostile, PathsThatNoSystemTakesAreListedWithoutTheirMiddle) {
    constexpr int levels = 300;
    RecordBytes file;
    for (int level = 0; level < levels; ++level) {
        file.Folder(level, u"a" + std::u16string(253, u'x') + (level % 2 == 0 ? u"e" : u"o"));
    }
    Write("t.rec", file.File(levels, u"last", 0).End().Bytes());
    const Result result = Rec("list", "t.rec");
    EXPECT_EQ(result.code, kDone);
    std::istringstream lines(result.out);
    std::string line;
    std::string last;
    int whole = 0;
    int cut = 0;
    while (std::getline(lines, line)) {
        EXPECT_LE(line.size(), 33000u);
        ++(line.find("/\\.../a") == std::string::npos ? whole : cut);
        last = line;
    }
    EXPECT_EQ(whole, 127); // 127 levels of 256 bytes are 32,512
    EXPECT_EQ(whole + cut, levels + 1);
    EXPECT_TRUE(last.ends_with("xo/last"));
}

TEST_F(RecHostile, EscapesInNamesDoNotReachTheTerminal) {
    Write("t.rec", RecordBytes().File(0, u"a\u202Etxt.exe\u0085", 0).End().Bytes());
    EXPECT_NE(Rec("list", "t.rec").out.find("  a\\u202etxt.exe\\x85\n"), std::string::npos);
}

} // namespace
} // namespace tooltest
