// mvtool block.
#include "rec_fixture.h"

#include "TBlocOpcions.h"
#include "TCarpetaRegistry.h"
#include "TSerializer.h"

#include <block/entries.h>
#include <cstdlib>
#include <doc_example.h>
#include <filesystem>
#include <random>

namespace tooltest {
namespace {

constexpr const char* kPage = MVLIB_DOCS "/data-blocks.md";

std::string DataOf(const TBlocOpcions& block) {
    unsigned int size = 0;
    unsigned char* bytes = block.ToBlocDades(size);
    std::string data(reinterpret_cast<char*>(bytes), size);
    std::free(bytes);
    return data;
}

int CodeOf(const std::string& data) {
    TBlocOpcions block;
    return block.FromBlocDades(reinterpret_cast<const unsigned char*>(data.data()),
                               static_cast<unsigned>(data.size()), 0);
}

class BlockTest : public RecTest {
protected:
    static std::string Example() { return BytesOfExample(kPage, "## Worked example"); }
    Result Block(const std::string& command, const std::string& file, std::vector<std::string> more = {}) {
        std::vector<std::string> words = {"block", command, Text(file)};
        words.insert(words.end(), more.begin(), more.end());
        return mvtool(words);
    }
    Result Diff(const std::string& a, const std::string& b) { return Block("diff", a, {Text(b)}); }
    std::string Dump(const std::string& file) {
        const Result result = Block("dump", file);
        EXPECT_EQ(result.code, kDone);
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    void WriteXml(const std::string& name, const TBlocOpcions& block) {
        EXPECT_EQ(block.ToFitxerXML(m_folder.Path(std::wstring(name.begin(), name.end()).c_str()).c_str()),
                  0);
    }
    // A record file with one record for each payload, with the identifiers "OPT1", 7, 7 ...
    void WriteRecords(const std::vector<std::string>& payloads) {
        TSerializer* file = TSerializer::Open(m_folder.Path(L"a.rec").c_str(), 1, 0);
        ASSERT_NE(file, nullptr);
        file->CreateHeader(1, 2, 3, 4);
        DWORD id = 0x3154504F;
        for (std::string payload : payloads) {
            EXPECT_EQ(file->WriteRecord(payload.data(), static_cast<unsigned long>(payload.size()), id), 0);
            id = 7;
        }
        TSerializer::Close(file);
    }
    static void ExpectFailure(const Result& result, int code, const std::string& text) {
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.err.substr(0, result.err.find('\n')), "mvtool: " + text);
    }
};

// What the page shows behind "$ mvtool block dump": the lines up to the next command or the block's end.
std::string ExampleOutput() {
    std::ifstream page(kPage);
    std::string line, text;
    while (std::getline(page, line) && line.rfind("$ mvtool block dump", 0) != 0) {
    }
    while (std::getline(page, line) && line.rfind("```", 0) != 0 && line.rfind("$", 0) != 0) {
        text += line + '\n';
    }
    return text;
}

} // namespace

TEST_F(BlockTest, ExampleUsage) {
    Write("a.blk", Example());
    EXPECT_EQ(Dump("a.blk"), "binary  raw = 01ab00 (3 bytes)\n"
                             "double  x = 0.5\n"
                             "block   in\n"
                             "int       k = 7\n"
                             "int     n = -2\n"
                             "string  user = A\xC3\xB1\n");
    EXPECT_EQ(Block("get", "a.blk", {"in/k"}).out, "7\n");
    TBlocOpcions other;
    other.EntraValorInt32(L"n", 5);
    Write("b.blk", DataOf(other));
    const Result result = Diff("a.blk", "b.blk");
    EXPECT_EQ(result.code, kNo);
    EXPECT_EQ(result.out, "- binary  raw = 01ab00 (3 bytes)\n"
                          "- double  x = 0.5\n"
                          "- block   in (1 value)\n"
                          "- int     n = -2\n"
                          "+ int     n = 5\n"
                          "- string  user = A\xC3\xB1\n");
}

TEST_F(BlockTest, ExampleOfThePageIsWhatIsPrinted) {
    Write("a.blk", Example());
    EXPECT_EQ(Dump("a.blk"), ExampleOutput());
}

// ---- Listing

TEST_F(BlockTest, ListsInTheOrderOfTheBlock) {
    TBlocOpcions inner, block;
    for (const wchar_t* name : {L"a", L"r", L"f"}) { // the first two are in one bucket
        inner.EntraValorInt32(name, 1);
        block.EntraValorInt32(name, 1);
    }
    block.EntraSubBloc(L"in", &inner);
    Write("a.blk", DataOf(block));
    TBlocOpcions loaded;
    const std::string data = DataOf(block);
    loaded.FromBlocDades(reinterpret_cast<const unsigned char*>(data.data()),
                         static_cast<unsigned>(data.size()), 0);
    std::string expected;
    CString name;
    ITEMBLOCOPCIONS item;
    for (POSITION pos = loaded.GetPrimer(); pos;) {
        loaded.GetSeguent(pos, name, item);
        const std::string narrow(name.GetString(), name.GetString() + name.GetLength());
        expected += item.nTipus == 3 ? "block   in\nint       f = 1\nint       a = 1\nint       r = 1\n"
                                     : "int     " + narrow + " = 1\n";
    }
    EXPECT_EQ(Dump("a.blk"), expected);
}

TEST_F(BlockTest, EveryKindAndOddValues) {
    TBlocOpcions block;
    block.EntraValorString(L"a", L"two\nlines");
    Write("a.blk", DataOf(block));
    EXPECT_EQ(Dump("a.blk"), "string  a = two\\x0alines\n");
    EXPECT_EQ(Block("get", "a.blk", {"a"}).out, "two\nlines\n");
    block.EntraValorString(L"a", nullptr);
    Write("a.blk", DataOf(block));
    EXPECT_EQ(Dump("a.blk"), "string  a = \n");
    block.EntraValorBinari(L"a", nullptr, 0);
    Write("a.blk", DataOf(block));
    EXPECT_EQ(Dump("a.blk"), "binary  a = (0 bytes)\n");
    EXPECT_EQ(Block("get", "a.blk", {"a"}).out, "\n");
    block.EntraValorBinari(L"a", std::string(33, '\x7F').data(), 33);
    Write("a.blk", DataOf(block));
    std::string shown, whole;
    for (int i = 0; i < 33; ++i) {
        shown += i < 32 ? "7f" : "";
        whole += "7f";
    }
    EXPECT_EQ(Dump("a.blk"), "binary  a = " + shown + "... (33 bytes)\n");
    EXPECT_EQ(Block("get", "a.blk", {"a"}).out, whole + '\n');
    block.EntraValorReal64(L"a", 1.0 / 3);
    Write("a.blk", DataOf(block));
    EXPECT_EQ(Dump("a.blk"), "double  a = 0.3333333333333333\n");
    block.EntraValorReal64(L"a", -0.0);
    Write("a.blk", DataOf(block));
    EXPECT_EQ(Dump("a.blk"), "double  a = -0\n");
    // An 8-bit text in the code page, and a name that is a path.
    Write("a.blk", std::string("DRIVER-BLOC\x01\0a\x02\x02\0\xE9!\x03\0b/c\0\x05\0\0\0", 29));
    EXPECT_EQ(Dump("a.blk"), "string  a = \xC3\xA9!\nblock   b\n");
    Write("a.blk", "DRIVER-BLOC");
    EXPECT_EQ(Dump("a.blk"), "");
    Write("a.blk", "");
    EXPECT_EQ(Dump("a.blk"), "") << "no bytes are an empty block";
}

TEST_F(BlockTest, DeepBlocksAreListedWithTheNumberOfTheirLevel) {
    std::string data = "DRIVER-BLOC";
    data += std::string("\x01\0n\0\7\0\0\0", 8);
    for (int i = 0; i < 20000; ++i) {
        const std::size_t size = data.size();
        std::string outer("DRIVER-BLOC\x01\0n\x03", 15);
        for (int at = 0; at < 4; ++at) {
            outer += static_cast<char>(size >> (8 * at) & 0xFF);
        }
        data.swap(outer);
        data += outer;
    }
    Write("a.blk", data);
    const std::string listing = Dump("a.blk");
    EXPECT_NE(listing.find("\nblock   " + std::string(60, ' ') + "n\n"), std::string::npos);
    EXPECT_TRUE(listing.ends_with("\nint     " + std::string(60, ' ') + "(level 20000) n = 7\n"));
    EXPECT_EQ(Diff("a.blk", "a.blk").code, kDone);
}

TEST_F(BlockTest, XmlIsListedAsItsDataBlockIs) {
    TBlocOpcions inner, block;
    inner.EntraValorInt32(L"k", 7);
    block.EntraValorInt32(L"n", -2);
    block.EntraValorReal64(L"x", 1.0 / 3);
    block.EntraValorString(L"user", L"<A\u00F1>");
    block.EntraValorBinari(L"raw", "\x01\xAB\x00", 3);
    block.EntraSubBloc(L"in", &inner);
    WriteXml("a.xml", block);
    EXPECT_EQ(Dump("a.xml"), "binary  raw = 1AB0 (3 bytes)\n"
                             "double  x = 0.3333333333\n"
                             "block   in\n"
                             "int       k = 7\n"
                             "int     n = -2\n"
                             "string  user = <A\xC3\xB1>\n");
    EXPECT_EQ(Block("get", "a.xml", {"in/k"}).out, "7\n");
    EXPECT_EQ(Block("get", "a.xml", {"raw"}).out, "1AB0\n");
    // Written by hand, without a declaration.
    Write("b.xml", "<DriverOptions><n Type=\"int\"> 5 </n></DriverOptions>");
    EXPECT_EQ(Dump("b.xml"), "int     n = 5\n");
}

// ---- Values

TEST_F(BlockTest, GetFollowsPaths) {
    Write("a.blk", Example());
    EXPECT_EQ(Block("get", "a.blk", {"x"}).out, "0.5\n");
    EXPECT_EQ(Block("get", "a.blk", {"raw"}).out, "01ab00\n");
    EXPECT_EQ(Block("get", "a.blk", {"in"}).out, "int     k = 7\n");
    EXPECT_EQ(Block("get", "a.blk", {"user"}).out, "A\xC3\xB1\n");
    for (const char* name : {"N", "in/", "in/k/", "n/k", "/n", "k", "", "in/n"}) {
        const Result result = Block("get", "a.blk", {name});
        ExpectFailure(result, kNo, Text("a.blk") + " has no " + name);
        EXPECT_EQ(result.out, "");
    }
}

// ---- Differences

TEST_F(BlockTest, EqualBlocksDifferInNothing) {
    Write("a.blk", Example());
    Result result = Diff("a.blk", "a.blk");
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.out, "");
    // Neither does the order count.
    TBlocOpcions one, other;
    for (const wchar_t* name : {L"a", L"r"}) {
        one.EntraValorInt32(name, 1);
    }
    for (const wchar_t* name : {L"r", L"a"}) {
        other.EntraValorInt32(name, 1);
    }
    Write("one.blk", DataOf(one));
    Write("other.blk", DataOf(other));
    ASSERT_NE(DataOf(one), DataOf(other));
    result = Diff("one.blk", "other.blk");
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.out, "");
}

TEST_F(BlockTest, DiffNamesValuesByTheirPaths) {
    TBlocOpcions inner, one, other;
    inner.EntraValorInt32(L"same", 1);
    inner.EntraValorReal64(L"k", 1);
    one.EntraSubBloc(L"in", &inner);
    inner.EntraValorInt32(L"k", 1);
    inner.EntraValorInt32(L"new", 2);
    other.EntraSubBloc(L"in", &inner);
    other.EntraSubBloc(L"more", &inner);
    Write("one.blk", DataOf(one));
    Write("other.blk", DataOf(other));
    EXPECT_EQ(Diff("one.blk", "other.blk").out, "- double  in/k = 1\n"
                                                "+ int     in/k = 1\n"
                                                "+ int     in/new = 2\n"
                                                "+ block   more (3 values)\n");
    EXPECT_EQ(Diff("other.blk", "one.blk").code, kNo);
}

TEST_F(BlockTest, XmlIsComparedWithWhatItKeepsOfADataBlock) {
    TBlocOpcions inner, block;
    inner.EntraValorString(L"s", L"  blanks around\n");
    block.EntraSubBloc(L"in", &inner);
    block.EntraValorReal64(L"x", 1.0 / 3);
    block.EntraValorBinari(L"raw", "\x01\xAB\x00", 3);
    block.EntraValorString(L"none", nullptr);
    Write("a.blk", DataOf(block));
    WriteXml("a.xml", block);
    EXPECT_EQ(Diff("a.blk", "a.xml").out, "");
    EXPECT_EQ(Diff("a.xml", "a.blk").code, kDone);
    EXPECT_EQ(Diff("a.xml", "a.xml").code, kDone);
    block.EntraValorBinari(L"raw", "\x1A\xB0", 2); // the same digits
    WriteXml("a.xml", block);
    EXPECT_EQ(Diff("a.blk", "a.xml").out, "- binary  raw = 1AB0 (3 bytes)\n+ binary  raw = 1AB0 (2 bytes)\n");
}

TEST_F(BlockTest, XmlMayHaveANameTwice) {
    Write("a.xml", "<DriverOptions><n Type=\"int\">1</n><n Type=\"int\">2</n></DriverOptions>");
    Write("b.xml", "<DriverOptions><n Type=\"int\">1</n><n Type=\"int\">3</n><n Type=\"int\">4</n>"
                   "</DriverOptions>");
    EXPECT_EQ(Diff("a.xml", "a.xml").code, kDone);
    EXPECT_EQ(Diff("a.xml", "b.xml").out, "- int     n = 2\n+ int     n = 3\n+ int     n = 4\n");
}

// ---- Where blocks lie

TEST_F(BlockTest, RecordsAreNamedByTheirIdentifier) {
    TBlocOpcions first, second, third;
    first.EntraValorInt32(L"n", 1);
    second.EntraValorInt32(L"n", 2);
    third.EntraValorInt32(L"n", 3);
    WriteRecords({DataOf(first), DataOf(second), DataOf(third), "noise"});
    EXPECT_EQ(Dump("a.rec#OPT1"), "int     n = 1\n");
    EXPECT_EQ(Dump("a.rec#7"), "int     n = 2\n") << "the first of them";
    EXPECT_EQ(Dump("a.rec#0x7"), "int     n = 2\n");
    EXPECT_EQ(Dump("a.rec#827609167"), "int     n = 1\n");
    EXPECT_EQ(Diff("a.rec#OPT1", "a.rec#7").code, kNo);
    ExpectFailure(Block("dump", "a.rec#8"), kNotFound, "no such record: " + Text("a.rec#8"));
    ExpectFailure(Block("dump", "a.rec#five5"), kUsage,
                  "an identifier is a number or four characters, not five5");
    ExpectFailure(Block("dump", "a.rec"), kUsage,
                  "a record file: name the record too, as " + Text("a.rec#ID"));
    // A file of that whole name comes first.
    Write("a.rec#7", "DRIVER-BLOC");
    EXPECT_EQ(Dump("a.rec#7"), "");
}

TEST_F(BlockTest, RegistryValuesAreNamedByKeyAndValue) {
    const std::wstring path = L"Software\\Mirvanet\\Tests\\BlockTest";
    TCarpetaRegistry folder(path.c_str());
    folder.BorrarCarpeta(nullptr);
    std::string bytes = Example();
    ASSERT_EQ(folder.EntraValor(L"Options: \\1", bytes.data(), static_cast<unsigned long>(bytes.size())), 0);
    folder.EntraValor(L"text", L"no block");
    const std::string key = "HKCU\\Software\\Mirvanet\\Tests\\BlockTest:";
    Result result = mvtool({"block", "get", key + "Options: \\1", "in/k"});
    EXPECT_EQ(result.out, "7\n") << result.err;
    ExpectFailure(mvtool({"block", "dump", key + "text"}), kDamaged,
                  key + "text: damaged at byte 0: no data block [library code -3]");
    EXPECT_EQ(mvtool({"block", "dump", key + "missing"}).code, kNotFound);
    EXPECT_EQ(mvtool({"block", "dump", key}).code, kNotFound);
    EXPECT_EQ(mvtool({"block", "dump", "HKCU\\Software\\Mirvanet\\Tests\\None:x"}).code, kNotFound);
    folder.BorrarCarpeta(nullptr);
}

// ---- Damage

TEST_F(BlockTest, EveryDamageIsCode4WithTheLibrarysNumber) {
    const std::string start("DRIVER-BLOC\x01\0a\0\5\0\0\0", 19); // a = 5
    const std::string listed = "int     a = 5\n";
    const struct {
        std::string data;
        std::string text;
        std::string out;
    } cases[] = {
        {"DRIVER", "0: no data block [library code -3]", ""},
        {"driver-bloc", "0: no data block [library code -3]", ""},
        {start + '\1', "19: the length of a name is cut short [library code -3]", listed},
        {start + std::string("\0\0x", 3), "19: a name of length 0 [library code -3]", listed},
        {start + std::string("\xFF\xFFx", 3), "19: a name of length -1 [library code -3]", listed},
        {start + std::string("\3\0ab", 4), "21: a name of 3 bytes is cut short [library code -3]", listed},
        {start + std::string("\1\0b", 3), "22: a kind is missing [library code -3]", listed},
        {start + std::string("\1\0b\6", 4), "22: an unknown kind: 6 [library code -9]", listed},
        {start + std::string("\1\0b\xFF", 4), "22: an unknown kind: 255 [library code -9]", listed},
        {start + std::string("\1\0b\0\0\0\0", 7), "23: a value of 4 bytes is cut short [library code -3]",
         listed},
        {start + std::string("\1\0b\1\0\0\0\0\0\0\0", 11),
         "23: a value of 8 bytes is cut short [library code -3]", listed},
        {start + std::string("\1\0b\5\2", 5), "23: the size of a value is cut short [library code -3]",
         listed},
        {start + std::string("\1\0b\5\xFE\xFFxx", 8), "25: a text of -2 bytes [library code -3]", listed},
        {start + std::string("\1\0b\4\xFF\xFF\xFF\xFFx", 9),
         "27: a value of 4294967295 bytes is cut short [library code -3]", listed},
        // In a nested block: the others are there.
        {std::string("DRIVER-BLOC\1\0b\3\3\0\0\0abc", 22) + start.substr(11),
         "19: no data block [library code -3]", listed + "block   b\n"},
    };
    for (const auto& one : cases) {
        const std::optional<mvtool::block::Damage> damage = mvtool::block::fromData(one.data).damage;
        ASSERT_TRUE(damage) << one.text;
        EXPECT_EQ(damage->message(), "damaged at byte " + one.text);
    }
    for (const std::size_t i : {std::size_t{7}, std::size(cases) - 1}) {
        Write("a.blk", cases[i].data);
        const std::string text = Text("a.blk") + ": damaged at byte " + cases[i].text;
        const Result result = Block("dump", "a.blk");
        ExpectFailure(result, kDamaged, text);
        EXPECT_EQ(result.out, cases[i].out);
        ExpectFailure(Block("get", "a.blk", {"a"}), kDamaged, text);
        ExpectFailure(Diff("a.blk", "a.blk"), kDamaged, text);
    }
}

TEST_F(BlockTest, DamagedXmlAndRecordFiles) {
    Write("a.xml", "<a><b></a>");
    Result result = Block("dump", "a.xml");
    EXPECT_EQ(result.code, kDamaged);
    EXPECT_NE(result.err.find("[library code "), std::string::npos) << result.err;
    Write("a.xml", "<Options/>");
    ExpectFailure(Block("dump", "a.xml"), kDamaged,
                  Text("a.xml") + ": no option block: there is no element DriverOptions");
    Write("a.xml", "<DriverOptions><n Type=\"float\">1</n></DriverOptions>");
    ExpectFailure(Block("dump", "a.xml"), kDamaged, Text("a.xml") + ": an element without a known Type: n");
    WriteRecords({Example(), Example()});
    Write("b.rec", Read("a.rec").substr(0, 40));
    result = Block("dump", "b.rec#OPT1");
    EXPECT_EQ(result.code, kDamaged);
    EXPECT_NE(result.err.find("[library code -7]"), std::string::npos) << result.err;
    WriteRecords({"DRIVER"});
    EXPECT_EQ(Block("dump", "a.rec#OPT1").code, kDamaged);
}

TEST_F(BlockTest, MissingFilesAre3) {
    EXPECT_EQ(Block("dump", "none.blk").code, kNotFound);
    EXPECT_EQ(Block("dump", "none.rec#7").code, kNotFound);
    EXPECT_EQ(Block("get", "none.blk", {"a"}).code, kNotFound);
    Write("a.blk", "DRIVER-BLOC");
    EXPECT_EQ(Diff("a.blk", "none.blk").code, kNotFound);
    EXPECT_EQ(Block("get", "a.blk").code, kUsage);
}

// Whatever the bytes: the same entries and the same code as the library has them.
TEST(BlockEntriesTest, AgreeWithTheLibrary) {
    const std::string example = BytesOfExample(kPage, "## Worked example");
    std::mt19937 random(1);
    for (int round = 0; round < 4000; ++round) {
        std::string data = example;
        if (round < static_cast<int>(data.size())) {
            data.resize(static_cast<std::size_t>(round));
        } else {
            for (int flips = 0; flips < 1 + round % 3; ++flips) {
                const char with[] = {'\0', '\1', '\3', '/', 'n', '\x7F', '\xFF', static_cast<char>(random())};
                data[11 + random() % (data.size() - 11)] = with[random() % sizeof with];
            }
        }
        TBlocOpcions block;
        const int code = block.FromBlocDades(reinterpret_cast<const unsigned char*>(data.data()),
                                             static_cast<unsigned>(data.size()), 0);
        ASSERT_EQ(code, CodeOf(data));
        const mvtool::block::Block read = mvtool::block::fromData(data);
        if (code != 0) {
            ASSERT_TRUE(read.damage) << round;
            EXPECT_EQ(read.damage->code, code) << round;
        }
        std::size_t at = 0;
        CString name;
        ITEMBLOCOPCIONS item;
        for (POSITION pos = block.GetPrimer(); pos;) {
            block.GetSeguent(pos, name, item);
            ASSERT_LT(at, read.entries.size()) << round;
            const mvtool::block::Entry& entry = read.entries[at];
            EXPECT_EQ(entry.name, name.GetString()) << round;
            EXPECT_EQ(entry.depth, 0u);
            switch (item.nTipus) {
            case 0:
                EXPECT_EQ(entry.text, std::to_wstring(item.lValor));
                break;
            case 3: {
                const TBlocOpcions inner(static_cast<unsigned char*>(item.pDades), item.dwMida);
                std::size_t nested = at + 1;
                for (POSITION in = inner.GetPrimer(); in;) {
                    inner.GetSeguent(in, name, item);
                    ASSERT_LT(nested, entry.end) << round;
                    EXPECT_EQ(read.entries[nested].name, name.GetString());
                    nested = read.entries[nested].end;
                }
                EXPECT_EQ(nested, entry.end);
                break;
            }
            case 4:
                EXPECT_EQ(entry.bytes, std::string(static_cast<char*>(item.pDades), item.dwMida));
                break;
            case 5:
                EXPECT_EQ(entry.text, static_cast<wchar_t*>(item.pDades)) << round;
                break;
            default:
                break;
            }
            at = entry.end;
        }
        EXPECT_EQ(at, read.entries.size()) << round;
    }
}

} // namespace tooltest
