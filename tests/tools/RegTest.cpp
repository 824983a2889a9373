// mvtool reg, on a key of the tests' own.
#include "rec_fixture.h"

#include <reg/reg_file.h>
#include <TCarpetaRegistry.h>
#include <text.h>

#include <algorithm>
#include <sstream>

namespace tooltest {
namespace {

const std::string kRoot = "HKCU\\Software\\Mirvanet\\MvtoolTests";
const std::string kLongRoot = "HKEY_CURRENT_USER\\Software\\Mirvanet\\MvtoolTests";

class RegTest : public RecTest {
protected:
    void SetUp() override { Remove(); }
    void TearDown() override { Remove(); }
    static void Remove() { mvtool({"reg", "del", "-r", kRoot}); }

    static std::string Key(const std::string& below) { return below.empty() ? kRoot : kRoot + '\\' + below; }
    static Result Reg(std::vector<std::string> words) {
        words.insert(words.begin(), "reg");
        return mvtool(words);
    }
    static void Set(const std::string& below, const std::string& name, const std::string& value,
                    const std::string& type = "text") {
        const Result result = Reg({"set", "--type", type, "--", Key(below), name, value});
        EXPECT_EQ(result.code, kDone) << result.err;
    }
    static std::string Get(const std::string& below, const std::string& name) {
        const Result result = Reg({"get", Key(below), name});
        EXPECT_EQ(result.code, kDone) << result.err;
        return result.out;
    }
    static std::string All() { return Reg({"list", "-r", kRoot}).out; }
    void WriteReg(const std::string& text) const {
        Write("t.reg", "Windows Registry Editor Version 5.00\r\n\r\n" + text);
    }
};

TEST_F(RegTest, ExampleUsage) {
    Set("Settings", "Title", "untitled");
    Set("Settings", "Zoom", "150", "number");
    EXPECT_EQ(Get("Settings", "Zoom"), "150\n");
    EXPECT_EQ(Reg({"list", Key("")}).out, "(folder)      Settings\\\n");
    EXPECT_EQ(Reg({"list", Key("Settings")}).out,
              "REG_SZ        Title = untitled\nREG_DWORD     Zoom = 150\n");
    Result result = Reg({"export", Key(""), "-o", Text("t.reg")});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "exported 2 keys, 2 values\n");
    const std::string before = All();
    Remove();
    result = Reg({"import", Text("t.reg")});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "imported 2 keys, 2 values\n");
    EXPECT_EQ(All(), before);
    EXPECT_EQ(Reg({"del", Key("Settings"), "Zoom"}).code, kDone);
    EXPECT_EQ(Reg({"get", Key("Settings"), "Zoom"}).code, kNotFound);
}

TEST_F(RegTest, EveryKindOfValueIsWrittenAndShown) {
    Set("", "", "no name");
    Set("", "path", "%TEMP%\\x", "expandable");
    Set("", "n", "-1", "number");
    Set("", "x", "0xFFFFFFFF", "number");
    Set("", "b", "00fF10", "bytes");
    Set("", "none", "", "bytes");
    EXPECT_EQ(Reg({"set", Key(""), "list", "one", "two words", "\xC3\xA9", "-t", "list"}).code, kDone);
    EXPECT_EQ(Get("", ""), "no name\n");
    EXPECT_EQ(Get("", "path"), "%TEMP%\\x\n");
    EXPECT_EQ(Get("", "n"), "4294967295\n");
    EXPECT_EQ(Get("", "x"), "4294967295\n");
    EXPECT_EQ(Get("", "b"), "00ff10\n");
    EXPECT_EQ(Get("", "none"), "\n");
    EXPECT_EQ(Get("", "LIST"), "one\ntwo words\n\xC3\xA9\n");
    const std::string list = Reg({"list", Key("")}).out;
    EXPECT_NE(list.find("REG_SZ        (unnamed) = no name\n"), std::string::npos) << list;
    EXPECT_NE(list.find("REG_MULTI_SZ  list = one | two words | \xC3\xA9\n"), std::string::npos) << list;
    EXPECT_NE(list.find("REG_EXPAND_SZ path = %TEMP%\\x\n"), std::string::npos) << list;
}

TEST_F(RegTest, ValuesThatAreNoneAreRefused) {
    struct Case {
        const char* type;
        std::vector<std::string> values;
        const char* text;
    };
    const Case cases[] = {
        {"number", {"4294967296"}, "not a number of 32 bits: 4294967296"},
        {"number", {"-2147483649"}, "not a number of 32 bits: -2147483649"},
        {"number", {"0x"}, "not a number of 32 bits: 0x"},
        {"number", {"0x-1"}, "not a number of 32 bits: 0x-1"},
        {"number", {"12a"}, "not a number of 32 bits: 12a"},
        {"number", {""}, "not a number of 32 bits: "},
        {"bytes", {"123"}, "bytes are pairs of hexadecimal digits, not 123"},
        {"bytes", {"1x"}, "bytes are pairs of hexadecimal digits, not 1x"},
        {"bytes", {"12-1"}, "bytes are pairs of hexadecimal digits, not 12-1"},
        {"list", {"a", ""}, "an empty text cannot be in a list"},
        {"text", {"a", "b"}, "more than one value is for --type=list"},
        {"real", {"a"}, "--type is text, expandable, number, bytes or list, not real"},
    };
    for (const Case& one : cases) {
        std::vector<std::string> words = {"set", "-t", one.type, "--", Key(""), "v"};
        words.insert(words.end(), one.values.begin(), one.values.end());
        const Result result = Reg(words);
        EXPECT_EQ(result.code, kUsage) << one.text;
        EXPECT_EQ(result.err.substr(0, result.err.find('\n')), "mvtool: " + std::string(one.text));
    }
    EXPECT_EQ(Reg({"list", Key("")}).code, kNotFound); // nothing was made
}

TEST_F(RegTest, RootsHaveLongAndShortNamesAndMayBeLeftOut) {
    Set("a", "v", "1");
    for (const std::string& key :
         {kLongRoot + "\\a", std::string("hkcu\\software\\mirvanet\\mvtooltests\\A\\"),
          std::string("Software\\Mirvanet\\MvtoolTests\\a"),
          std::string("\\Software\\Mirvanet\\MvtoolTests\\a")}) {
        EXPECT_EQ(Reg({"get", key, "v"}).out, "1\n") << key;
    }
    Result result = Reg({"list", "HKEY_NOWHERE\\x"});
    EXPECT_EQ(result.code, kUsage);
    EXPECT_NE(result.err.find("an unknown root: HKEY_NOWHERE\\x"), std::string::npos);
}

TEST_F(RegTest, WhatIsNotThereGives3) {
    EXPECT_EQ(Reg({"list", Key("")}).code, kNotFound);
    EXPECT_EQ(Reg({"list", "-r", Key("")}).code, kNotFound);
    EXPECT_EQ(Reg({"get", Key(""), "v"}).code, kNotFound);
    EXPECT_EQ(Reg({"del", Key(""), "v"}).code, kNotFound);
    EXPECT_EQ(Reg({"del", "-r", Key("")}).code, kNotFound);
    EXPECT_EQ(Reg({"export", Key(""), "-o", Text("t.reg")}).code, kNotFound);
    EXPECT_EQ(Reg({"copy", Key("a"), Key("b")}).code, kNotFound);
    EXPECT_EQ(Reg({"import", Text("missing.reg")}).code, kNotFound);
    EXPECT_FALSE(Exists("t.reg"));
    EXPECT_EQ(Reg({"list", Key("")}).code, kNotFound); // and was not made
    Set("", "v", "1");
    EXPECT_EQ(Reg({"get", Key(""), "w"}).code, kNotFound);
    const Result result = Reg({"del", Key(""), "w"});
    EXPECT_EQ(result.code, kNotFound);
    EXPECT_EQ(result.err, "mvtool: no such value in " + kLongRoot + "\n");
}

TEST_F(RegTest, AKeyIsDeletedOnlyOnRequestAndARootNever) {
    Set("a\\b", "v", "1");
    EXPECT_EQ(Reg({"del", Key("a")}).code, kUsage);
    EXPECT_EQ(Get("a\\b", "v"), "1\n");
    EXPECT_EQ(Reg({"del", "-r", Key("a")}).code, kDone);
    EXPECT_EQ(Reg({"list", Key("a")}).code, kNotFound);
    EXPECT_EQ(Reg({"del", "-r", Key("a"), "v"}).code, kUsage);
    for (const char* root : {"HKCU", "HKCU\\", "HKEY_USERS", ""}) {
        const Result result = Reg({"del", "-r", root});
        EXPECT_EQ(result.code, kUsage) << root;
        EXPECT_NE(result.err.find("a root cannot be deleted"), std::string::npos);
    }
}

TEST_F(RegTest, ExportWritesUtf16WithItsMark) {
    Set("k", "\xC3\xA9", "\xE2\x82\xAC");
    ASSERT_EQ(Reg({"export", Key("k"), "-o", Text("t.reg")}).code, kDone);
    EXPECT_EQ(Read("t.reg"), "\xFF\xFE" + mvtool::reg::utf16Bytes(
                                              L"Windows Registry Editor Version 5.00\r\n\r\n"
                                              L"[HKEY_CURRENT_USER\\Software\\Mirvanet\\MvtoolTests\\k]\r\n"
                                              L"\"\u00E9\"=\"\u20AC\"\r\n\r\n"));
    EXPECT_EQ(Reg({"export", Key("k")}).code, kUsage);
    EXPECT_EQ(Reg({"export", Key("k"), "-o", Text("no/folder.reg")}).code, kNotFound);
    ExpectNothingLeftBehind();
}

TEST_F(RegTest, ImportAddsReplacesAndDeletes) {
    Set("", "stays", "1");
    Set("", "goes", "1");
    Set("", "changes", "1");
    Set("sub\\deep", "v", "1");
    WriteReg("[" + kLongRoot +
             "]\r\n\"goes\"=-\r\n\"never was\"=-\r\n\"changes\"=dword:2\r\n\"comes\"=\"x\"\r\n" //
             "[-" +
             kLongRoot + "\\sub]\r\n[-" + kLongRoot + "\\missing]\r\n[" + kLongRoot + "\\new\\er]\r\n");
    const Result result = Reg({"import", Text("t.reg")});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(All().find("goes"), std::string::npos);
    EXPECT_EQ(Get("", "stays"), "1\n");
    EXPECT_EQ(Get("", "changes"), "2\n");
    EXPECT_EQ(Get("", "comes"), "x\n");
    EXPECT_EQ(Reg({"list", Key("sub")}).code, kNotFound);
    EXPECT_EQ(Reg({"list", Key("new\\er")}).code, kDone);
}

TEST_F(RegTest, AFileWithAMistakeChangesNothing) {
    for (const char* mistake : {"\"w\"=dword:x\r\n", "[HKEY_NOWHERE\\x]\r\n", "[-HKEY_CURRENT_USER]\r\n"}) {
        WriteReg("[" + kLongRoot + "]\r\n\"v\"=\"x\"\r\n" + mistake);
        const Result result = Reg({"import", Text("t.reg")});
        EXPECT_EQ(result.code, kDamaged);
        EXPECT_TRUE(result.err.ends_with("; nothing was changed\n")) << result.err;
        EXPECT_EQ(Reg({"list", Key("")}).code, kNotFound);
    }
}

TEST_F(RegTest, CopyTakesAKeyWithEverythingBelowIt) {
    Set("from", "v", "1");
    Set("from\\sub\\deep", "w", "00ff", "bytes");
    Set("to\\from", "v", "old");
    Set("to\\from", "kept", "1");
    const Result result = Reg({"copy", Key("from"), Key("to")});
    EXPECT_EQ(result.code, kDone) << result.err;
    EXPECT_EQ(result.out, "copied 3 keys, 2 values to " + kLongRoot + "\\to\\from\n");
    EXPECT_EQ(Get("to\\from", "v"), "1\n");
    EXPECT_EQ(Get("to\\from", "kept"), "1\n");
    EXPECT_EQ(Get("to\\from\\sub\\deep", "w"), "00ff\n");
    EXPECT_EQ(Reg({"copy", "HKCU", Key("to")}).code, kUsage);
}

TEST_F(RegTest, WhatTheLibraryWritesIsShownAsItIs) {
    // A text that could steer the terminal is not printed as it is.
    Set("", "v", "a\x1B[31m");
    EXPECT_EQ(Get("", "v"), "a\\x1b[31m\n");
}

// ---- docs/registry.md

/// The lines of the page's block of that kind, sorted: the systems enumerate values in different orders.
std::vector<std::string> sorted(const std::string& text) {
    std::istringstream lines(text);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) {
        all.push_back(line.substr(0, line.find('\r')));
    }
    std::sort(all.begin(), all.end());
    return all;
}

TEST_F(RegTest, TheWorkedExampleIsWhatTheToolWrites) {
    std::ifstream file(MVLIB_DOCS "/registry.md", std::ios::binary);
    ASSERT_TRUE(file.is_open());
    const std::string page(std::istreambuf_iterator<char>(file), {});
    const std::size_t start = page.find("```reg\n");
    ASSERT_NE(start, std::string::npos);
    const std::string block = page.substr(start + 7, page.find("```", start + 7) - start - 7);

    TCarpetaRegistry settings(L"Software\\Mirvanet\\Example");
    settings.BorrarCarpeta(nullptr);
    char bytes[] = {1, 2, '\xFF'};
    EXPECT_EQ(settings.EntraValor(L"Title", L"Größe \"M\""), 0);
    EXPECT_EQ(settings.EntraValor(L"Zoom", 1.5), 0);
    EXPECT_EQ(settings.EntraValor(L"Count", 258), 0);
    EXPECT_EQ(settings.EntraValor(L"Names", CMultiString(L"ab\0c\0")), 0);
    EXPECT_EQ(settings.EntraValor(L"Data", bytes, 3), 0);
    ASSERT_EQ(Reg({"export", "Software\\Mirvanet\\Example", "-o", Text("example.reg")}).code, kDone);
    EXPECT_EQ(settings.BorrarCarpeta(nullptr), 0);

    const std::string written = Read("example.reg");
    EXPECT_EQ(sorted(mvtool::fromWide(mvtool::reg::fromUtf16(written.substr(2)))), sorted(block));
    // And it is read back.
    ASSERT_EQ(Reg({"import", Text("example.reg")}).code, kDone);
    EXPECT_EQ(settings.TornaValorReal(L"Zoom", 0), 1.5);
    EXPECT_EQ(settings.TornaValorInt(L"Count", 0), 258);
    EXPECT_EQ(settings.BorrarCarpeta(nullptr), 0);
}

} // namespace
} // namespace tooltest
