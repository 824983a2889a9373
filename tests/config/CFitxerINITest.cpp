#include <CFitxerINI.h>

#include "alloc_failure.h"
#include "temp_folder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Names = std::vector<std::wstring>;

Names Members(const CMultiString& list) {
    Names members;
    for (int i = 0; i < list.GetNumStr(); ++i)
        members.emplace_back(list[i]);
    return members;
}

/// UTF-16 with its mark.
std::string Marked(std::u16string_view text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

class Ini : public CFitxerINI {
public:
    using CFitxerINI::CFitxerINI;
    using CFitxerINI::checkCarpeta;
    using CFitxerINI::m_strFitxer;
};

class CFitxerINITest : public testing::Test {
protected:
    std::wstring Path() const { return m_folder.Path(L"a.ini"); }
    /// A path in the form of the suite, which separates folders by backslashes.
    std::wstring Backslashed(const wchar_t* name) const {
        std::wstring path = m_folder.Path(name);
        std::replace(path.begin(), path.end(), L'/', L'\\');
        return path;
    }
    CFitxerINI File() const { return CFitxerINI(Path().c_str()); }
    void Write(std::u16string_view text) const { m_folder.Write(L"a.ini", Marked(text)); }
    void WriteBytes(std::string_view bytes) const { m_folder.Write(L"a.ini", bytes); }
    std::string Read() const { return m_folder.Read(L"a.ini"); }
    std::wstring String(const wchar_t* section, const wchar_t* key, const wchar_t* def = L"default") const {
        return File().GetString(section, key, def).GetString();
    }
    Names Lines(const wchar_t* section) const {
        CMultiString lines;
        File().GetSeccio(section, lines);
        return Members(lines);
    }
    struct Pairs {
        Names keys;
        Names values;
    };
    Pairs Split(const wchar_t* section) const {
        CMultiString keys;
        CMultiString values;
        File().GetSeccio(section, keys, values);
        return {Members(keys), Members(values)};
    }
    /// The file's bytes after its section was replaced by lines, which a system may store with fewer blanks.
    std::string AsLines(const wchar_t* section, const wchar_t* lines) const {
        m_folder.Write(L"lines.ini", Read());
        EXPECT_EQ(CFitxerINI(m_folder.Path(L"lines.ini").c_str()).SetSeccio(section, CMultiString(lines)), 1);
        return m_folder.Read(L"lines.ini");
    }
    /// Some systems drop the blanks round "=" when they deliver a section's lines.
    bool SystemTrimsLines() const {
        m_folder.Write(L"probe.ini", Marked(u"[s]\r\nk = v\r\n"));
        CMultiString lines;
        CFitxerINI(m_folder.Path(L"probe.ini").c_str()).GetSeccio(L"s", lines);
        EXPECT_EQ(lines.GetNumStr(), 1);
        return Members(lines) == Names{L"k=v"};
    }

    TempFolder m_folder;
};

} // namespace

TEST_F(CFitxerINITest, ExampleUsage) {
    CFitxerINI settings(Path().c_str());
    EXPECT_EQ(settings.TestFitxer(), 0);
    EXPECT_EQ(settings.SetString(L"Window", L"Title", L"Größe €"), 1);
    EXPECT_EQ(settings.SetInt(L"Window", L"Left", 120, 10, nullptr, 0), 1);
    EXPECT_EQ(settings.SetDouble(L"Window", L"Zoom", 0.5), 1);
    EXPECT_EQ(settings.TestFitxer(), 1);
    EXPECT_EQ(settings.GetString(L"window", L"TITLE", L""), L"Größe €");
    EXPECT_EQ(settings.GetInt(L"Window", L"Left", 0), 120);
    EXPECT_EQ(settings.GetDouble(L"Window", L"Zoom", 0.0), 0.5);
    EXPECT_EQ(settings.GetInt(L"Window", L"Top", 7), 7);
    EXPECT_EQ(settings.BorrarValor(L"Window", L"Left"), 1);
    EXPECT_EQ(settings.GetInt(L"Window", L"Left", 7), 7);
}

// ---- Path

TEST_F(CFitxerINITest, AnEmptyPathIsTheProgramsWithTheExtensionIni) {
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring expected = program;
    if (expected.size() > 4 && expected.substr(expected.size() - 4) == L".exe")
        expected.resize(expected.size() - 4);
    expected += L".ini";
    EXPECT_EQ(Ini(L"").m_strFitxer.GetString(), expected);
    EXPECT_EQ(Ini(nullptr).m_strFitxer.GetString(), expected);
    EXPECT_EQ(Ini(L"x").m_strFitxer, L"x");
    const Ini one(Path().c_str());
    const Ini copy = one;
    EXPECT_EQ(copy.m_strFitxer.GetString(), Path());
}

// ---- Writing values

TEST_F(CFitxerINITest, AFirstWriteMakesTheFoldersTheMarkAndTheSection) {
    CFitxerINI deep(Backslashed(L"x\\y\\a.ini").c_str());
    EXPECT_EQ(deep.SetString(L"App", L"key", L"värde €"), 1);
    EXPECT_EQ(m_folder.Read(L"x\\y\\a.ini"), Marked(u"[App]\r\nkey=värde €\r\n"));
}

TEST_F(CFitxerINITest, NewKeysComeBehindTheirSectionAndOldOnesStay) {
    Write(u"; first\r\n[a]\r\nk=1\r\n; comment\r\nother\r\n[b]\r\nk=2\r\n");
    EXPECT_EQ(File().SetString(L"A", L"K", L"new"), 1);
    EXPECT_EQ(File().SetString(L"a", L"n", L"3"), 1);
    EXPECT_EQ(String(L"a", L"k"), L"new");
    EXPECT_EQ(String(L"a", L"n"), L"3");
    EXPECT_EQ(String(L"b", L"k"), L"2");
    EXPECT_NE(Read().find(Marked(u"; comment").substr(2)), std::string::npos);
    EXPECT_NE(Read().find(Marked(u"k=new").substr(2)), std::string::npos);
}

TEST_F(CFitxerINITest, ANullValueDeletesTheKeyAndANullKeyTheSection) {
    Write(u"[a]\r\nk=1\r\nm=2\r\n[b]\r\nk=3\r\n");
    EXPECT_EQ(File().SetString(L"a", L"k", nullptr), 1);
    EXPECT_EQ(String(L"a", L"k"), L"default");
    EXPECT_EQ(String(L"a", L"m"), L"2");
    EXPECT_EQ(File().SetString(L"a", nullptr, nullptr), 1);
    CMultiString sections;
    EXPECT_EQ(File().GetSeccions(sections), 1);
    EXPECT_EQ(Members(sections), Names{L"b"});
}

TEST_F(CFitxerINITest, RealsAreWrittenWithSixDecimals) {
    EXPECT_EQ(File().SetDouble(L"s", L"d", 0.5), 1);
    EXPECT_EQ(String(L"s", L"d"), L"0.500000");
    File().SetDouble(L"s", L"d", -1e20);
    EXPECT_EQ(String(L"s", L"d"), L"-100000000000000000000.000000");
    File().SetDouble(L"s", L"d", 0.0000004);
    EXPECT_EQ(String(L"s", L"d"), L"0.000000");
}

TEST_F(CFitxerINITest, WholeNumbersAreWrittenInABaseWithAnAffix) {
    struct Case {
        int n;
        int base;
        const wchar_t* affix;
        int suffix;
        const wchar_t* text;
    };
    const Case cases[] = {
        {-255, 16, L"0x", 0, L"-0xff"},
        {255, 16, L"h", 1, L"ffh"},
        {-255, 16, L"h", 1, L"-ffh"},
        {0, 10, nullptr, 0, L"0"},
        {0, 10, nullptr, 1, L"0"},
        {-7, 2, nullptr, 0, L"-111"},
        {35, 36, nullptr, 0, L"z"},
        {INT_MAX, 2, nullptr, 0, L"1111111111111111111111111111111"},
        {INT_MIN, 10, nullptr, 0, L"-2147483648"},
        {INT_MIN, 16, nullptr, 0, L"-80000000"},
        {INT_MIN, 2, L"0b", 0, L"-0b10000000000000000000000000000000"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(File().SetInt(L"s", L"n", one.n, one.base, one.affix, one.suffix), 1);
        EXPECT_EQ(String(L"s", L"n"), one.text);
    }
}

TEST_F(CFitxerINITest, ABaseThatDoesNotExistWritesNothing) {
    for (const int base : {INT_MIN, -1, 0, 1, 37, INT_MAX})
        EXPECT_EQ(File().SetInt(L"s", L"n", 1, base, nullptr, 0), 0);
    EXPECT_FALSE(m_folder.Exists(L"a.ini"));
}

// ---- Reading values

TEST_F(CFitxerINITest, AMissingOrEmptyValueGivesTheDefaultAsItIs) {
    EXPECT_EQ(String(L"s", L"k", L"default  "), L"default  ");
    Write(u"[s]\r\nk=\r\nblank=   \r\nquoted=\"\"\r\n");
    EXPECT_EQ(String(L"s", L"k", L" d "), L" d ");
    EXPECT_EQ(String(L"s", L"blank"), L"default");
    EXPECT_EQ(String(L"s", L"quoted"), L"default");
    EXPECT_EQ(String(L"s", L"missing"), L"default");
    EXPECT_EQ(String(L"t", L"k"), L"default");
    EXPECT_EQ(String(L"s", L"missing", nullptr), L"");
    EXPECT_EQ(File().GetInt(L"s", L"k", -3), -3);
    EXPECT_EQ(File().GetDouble(L"s", L"k", -3.5), -3.5);
    EXPECT_EQ(File().GetInt(L"s", L"missing", -3), -3);
    EXPECT_EQ(File().GetDouble(L"t", L"k", -3.5), -3.5);
}

TEST_F(CFitxerINITest, ValuesLoseTheirOuterBlanksAndOnePairOfQuotes) {
    Write(u"[s]\r\na = \t x y \t\r\nb=\" x \"\r\nc='y'\r\nd=\"half\r\ne=a=b=c\r\nf=v ; no comment\r\n");
    EXPECT_EQ(String(L"s", L"a"), L"x y");
    EXPECT_EQ(String(L"s", L"b"), L" x ");
    EXPECT_EQ(String(L"s", L"c"), L"y");
    EXPECT_EQ(String(L"s", L"d"), L"\"half");
    EXPECT_EQ(String(L"s", L"e"), L"a=b=c");
    EXPECT_EQ(String(L"s", L"f"), L"v ; no comment");
}

TEST_F(CFitxerINITest, NamesMatchInAnyCaseAndTheFirstOfSeveralCounts) {
    Write(u"[S]\r\nK=1\r\nk=2\r\n[s]\r\nK=3\r\nonly=4\r\n");
    EXPECT_EQ(String(L"s", L"k"), L"1");
    EXPECT_EQ(String(L"S", L"only"), L"default");
}

TEST_F(CFitxerINITest, AFileNeedNotEndInALineEnd) {
    Write(u"[s]\nk=1\rm=2\r\nlast=3");
    EXPECT_EQ(String(L"s", L"k"), L"1");
    EXPECT_EQ(String(L"s", L"m"), L"2");
    EXPECT_EQ(String(L"s", L"last"), L"3");
}

TEST_F(CFitxerINITest, WholeNumbersAreReadAsFarAsTheyGo) {
    struct Case {
        const wchar_t* text;
        int value;
    };
    const Case cases[] = {
        {L"0x1F", 31},
        {L"0X1f", 31},
        {L"12abc", 12},
        {L"-0x10", 0}, // kept: the sign comes first
        {L"-12", -12},
        {L"+5", 5},
        {L"abc", 0},
        {L"010", 10},
        {L"2147483648", INT_MAX},
        {L"-2147483649", INT_MIN},
        {L"0xFFFFFFFF", INT_MAX},
        {L"0x", 0},
        {L"0xg", 0},
        {L"0x-1F", -31}, // what follows the two characters is a number of its own
        {L"0x 1F", 31},
        {L"0x0x1F", 31},
        {L"1,5", 1},
    };
    for (const Case& one : cases) {
        File().SetString(L"s", L"n", one.text);
        EXPECT_EQ(File().GetInt(L"s", L"n", 99), one.value)
            << std::string(one.text, one.text + std::wcslen(one.text));
    }
}

TEST_F(CFitxerINITest, FractionsAreReadAsFarAsTheyGo) {
    struct Case {
        const wchar_t* text;
        double value;
    };
    const Case cases[] = {{L"0.5", 0.5}, {L"-1e3", -1000.0}, {L"1,5", 1.0},
                          {L"abc", 0.0}, {L".25x", 0.25},    {L"inf", 0.0}};
    for (const Case& one : cases) {
        File().SetString(L"s", L"d", one.text);
        EXPECT_EQ(File().GetDouble(L"s", L"d", 99.0), one.value);
    }
}

TEST_F(CFitxerINITest, TextIsCutAt1024CharactersAndNumbersAt40) {
    const std::wstring longest(1024, L'x');
    File().SetString(L"s", L"k", longest.c_str());
    EXPECT_EQ(String(L"s", L"k"), longest);
    File().SetString(L"s", L"k", (longest + L"yz").c_str());
    EXPECT_EQ(String(L"s", L"k"), longest);

    const std::wstring zeros(39, L'0');
    File().SetString(L"s", L"n", (zeros + L"5").c_str());
    EXPECT_EQ(File().GetInt(L"s", L"n", 99), 5);
    EXPECT_EQ(File().GetDouble(L"s", L"n", 99), 5.0);
    File().SetString(L"s", L"n", (zeros + L"56").c_str());
    EXPECT_EQ(File().GetInt(L"s", L"n", 99), 5);
    EXPECT_EQ(File().GetDouble(L"s", L"n", 99), 5.0);
}

TEST_F(CFitxerINITest, EightBitFilesAreReadInTheSystemsCodePage) {
    WriteBytes("[s]\r\nk=caf\xE9\r\n");
    EXPECT_EQ(String(L"s", L"k"), L"café");
}

// ---- Sections

TEST_F(CFitxerINITest, ASectionsLinesReplaceTheList) {
    Write(u"[a]\r\nk=v\r\n; comment\r\nname alone\r\nempty=\r\n[b]\r\n\r\n[c]\r\nx=1\r\n");
    CMultiString lines(L"old\0");
    EXPECT_EQ(File().GetSeccio(L"A", lines), 1);
    EXPECT_EQ(Members(lines), (Names{L"k=v", L"name alone", L"empty="}));
    EXPECT_EQ(lines.GetMidaBuffer(), 23);
    EXPECT_EQ(File().GetSeccio(L"b", lines), 0);
    EXPECT_EQ(lines.GetNumStr(), 0);
    EXPECT_EQ(File().GetSeccio(L"missing", lines), 0);
}

TEST_F(CFitxerINITest, LinesAreSplitAtTheEqualsSignAndTheSemicolon) {
    Write(u"[s]\r\nk = v ; note\r\n");
    const Pairs pairs = Split(L"s");
    if (SystemTrimsLines()) {
        EXPECT_EQ(pairs.keys, Names{L"k"});
        EXPECT_EQ(pairs.values, Names{L"v "});
    } else {
        EXPECT_EQ(pairs.keys, Names{L"k "});
        EXPECT_EQ(pairs.values, Names{L" v "});
    }
}

TEST_F(CFitxerINITest, LinesWithoutAKeyOrAValueAreLeftOut) {
    Write(u"[s]\r\nalone\r\nk=\r\nonly=;comment\r\na=b=c\r\n==x=y\r\nm=1;2;3\r\nn=;;4\r\no==v\r\np=;\r\n");
    const Pairs pairs = Split(L"s");
    EXPECT_EQ(pairs.keys, (Names{L"only", L"a", L"x", L"m", L"n", L"o"}));
    // Delimiters in front are skipped, so a value may come from a comment.
    EXPECT_EQ(pairs.values, (Names{L"comment", L"b=c", L"y", L"1", L"4", L"=v"}));
}

TEST_F(CFitxerINITest, PairsAreAppended) {
    Write(u"[s]\r\nk=v\r\n");
    CMultiString keys(L"old\0");
    CMultiString values;
    EXPECT_EQ(File().GetSeccio(L"s", keys, values), 1);
    EXPECT_EQ(File().GetSeccio(L"missing", keys, values), 0);
    EXPECT_EQ(Members(keys), (Names{L"old", L"k"}));
    EXPECT_EQ(Members(values), Names{L"v"});
    Write(u"[s]\r\nalone\r\n");
    EXPECT_EQ(File().GetSeccio(L"s", keys, values), 1);
    EXPECT_EQ(keys.GetNumStr(), 2);
}

TEST_F(CFitxerINITest, KeysAndSectionsAreNamedInTheirOrder) {
    Write(u"[b]\r\nz=1\r\na=2\r\nalone\r\n[a]\r\n[c]\r\nx=\r\n");
    CMultiString names(L"old\0");
    EXPECT_EQ(File().GetClausSeccio(L"B", names), 1);
    EXPECT_EQ(Members(names), (Names{L"z", L"a"}));
    EXPECT_EQ(File().GetClausSeccio(L"c", names), 1);
    EXPECT_EQ(Members(names), Names{L"x"});
    EXPECT_EQ(File().GetClausSeccio(L"a", names), 0);
    EXPECT_EQ(names.GetNumStr(), 0);
    EXPECT_EQ(File().GetClausSeccio(L"missing", names), 0);
    EXPECT_EQ(File().GetSeccions(names), 1);
    EXPECT_EQ(Members(names), (Names{L"b", L"a", L"c"}));
    WriteBytes("");
    EXPECT_EQ(File().GetSeccions(names), 0);
    EXPECT_EQ(CFitxerINI(m_folder.Path(L"missing.ini").c_str()).GetSeccions(names), 0);
}

TEST_F(CFitxerINITest, ListsAreCutAt32767Characters) {
    std::u16string text = u"[s]\r\n";
    for (int i = 0; i < 5000; ++i)
        text += u"key" + std::u16string(3, static_cast<char16_t>(u'a' + i % 26)) + u"=1\r\n";
    Write(text);
    CMultiString lines;
    EXPECT_EQ(File().GetSeccio(L"s", lines), 1);
    EXPECT_LE(lines.GetMidaBuffer(), 32767);
    EXPECT_GT(lines.GetMidaBuffer(), 32700);
    EXPECT_EQ(File().GetClausSeccio(L"s", lines), 1);
    EXPECT_LE(lines.GetMidaBuffer(), 32767);
    EXPECT_GT(lines.GetMidaBuffer(), 32700);
}

namespace {

struct Walk {
    Names seen;
    int stopAt = -1;
};

int __stdcall Collect(const wchar_t* key, const wchar_t* value, long user) {
    auto* walk = reinterpret_cast<Walk*>(user);
    walk->seen.push_back(std::wstring(key) + L"/" + value);
    return static_cast<int>(walk->seen.size()) == walk->stopAt ? -8 : static_cast<int>(walk->seen.size());
}

} // namespace

TEST_F(CFitxerINITest, AWalkDeliversThePairsInTheirOrder) {
    Write(u"[s]\r\nb=1\r\nalone\r\na=2\r\nc=3\r\n[t]\r\nalone\r\n");
    Walk walk;
    EXPECT_EQ(File().EnumSeccio(L"s", Collect, reinterpret_cast<long>(&walk)), 3);
    EXPECT_EQ(walk.seen, (Names{L"b/1", L"a/2", L"c/3"}));
    Walk stopped;
    stopped.stopAt = 2;
    EXPECT_EQ(File().EnumSeccio(L"s", Collect, reinterpret_cast<long>(&stopped)), -8);
    EXPECT_EQ(stopped.seen.size(), 2u);
    Walk nothing;
    EXPECT_EQ(File().EnumSeccio(L"t", Collect, reinterpret_cast<long>(&nothing)), 0);
    EXPECT_EQ(File().EnumSeccio(L"missing", Collect, reinterpret_cast<long>(&nothing)), -3);
    EXPECT_TRUE(nothing.seen.empty());
}

TEST_F(CFitxerINITest, ASectionIsReplacedByLines) {
    Write(u"[a]\r\nk=1\r\nm=2\r\n[b]\r\nx=1\r\n");
    EXPECT_EQ(File().SetSeccio(L"a", CMultiString(L"new=é\0more=text\0")), 1);
    EXPECT_EQ(Lines(L"a"), (Names{L"new=é", L"more=text"}));
    EXPECT_EQ(Lines(L"b"), Names{L"x=1"});
    EXPECT_EQ(File().SetSeccio(L"a", CMultiString()), 1);
    EXPECT_EQ(Lines(L"a"), Names{});
}

TEST_F(CFitxerINITest, ASectionIsReplacedByPairs) {
    Write(u"[s]\r\nold=1\r\n");
    CMultiString keys(L"k\0m\0");
    CMultiString values(L"v\0w\0unused\0");
    EXPECT_EQ(File().SetSeccio(L"s", keys, values), 1);
    EXPECT_EQ(String(L"s", L"m"), L"w");
    EXPECT_EQ(Read(), AsLines(L"s", L"k = v\0m = w\0"));
}

TEST_F(CFitxerINITest, FewerValuesThanKeysThrowAndWriteNothing) {
    Write(u"[s]\r\nk=1\r\n");
    const std::string before = Read();
    CMultiString keys(L"k\0m\0");
    CMultiString values(L"v\0");
    try {
        File().SetSeccio(L"s", keys, values);
        ADD_FAILURE();
    } catch (CInvalidArgException* exception) {
        exception->Delete();
    }
    EXPECT_EQ(Read(), before);
}

// Kept: only writes of single values make the mark.
TEST_F(CFitxerINITest, WritingASectionFirstMakesAFileWithoutMark) {
    EXPECT_EQ(File().SetSeccio(L"s", CMultiString(L"k=\u4E00\0")), 1);
    EXPECT_NE(Read().substr(0, 2), "\xFF\xFE");
    EXPECT_NE(String(L"s", L"k"), L"\u4E00");
}

// ---- Deleting

TEST_F(CFitxerINITest, DeletingAKeyRewritesTheSection) {
    Write(u"[a]\r\nk=1\r\n; comment\r\nalone\r\nM=2;note\r\nn=3\r\n[b]\r\nx=1\r\n");
    EXPECT_EQ(File().BorrarClau(L"a", L"m"), 1);
    EXPECT_EQ(String(L"a", L"k"), L"1");
    EXPECT_EQ(String(L"a", L"m"), L"default");
    EXPECT_EQ(String(L"a", L"n"), L"3");
    EXPECT_EQ(Lines(L"a").size(), 2u); // comment and stray line went too
    EXPECT_EQ(Read(), AsLines(L"a", L"k = 1\0n = 3\0"));
    EXPECT_EQ(Lines(L"b"), Names{L"x=1"});
}

TEST_F(CFitxerINITest, DeletingAKeyTakesTheLastOfThatName) {
    Write(u"[a]\r\nk=1\r\nK=2\r\nm=3\r\n");
    EXPECT_EQ(File().BorrarClau(L"a", L"k"), 1);
    EXPECT_EQ(String(L"a", L"k"), L"1");
    EXPECT_EQ(String(L"a", L"m"), L"3");
}

TEST_F(CFitxerINITest, DeletingTheLastKeyLeavesTheSectionEmpty) {
    Write(u"[a]\r\nk=1\r\n");
    EXPECT_EQ(File().BorrarClau(L"a", L"k"), 1);
    EXPECT_EQ(Lines(L"a"), Names{});
    CMultiString names;
    EXPECT_EQ(File().GetSeccions(names), 1);
}

TEST_F(CFitxerINITest, DeletingAMissingKeyChangesNothing) {
    Write(u"[a]\r\nk=1\r\n");
    const std::string before = Read();
    EXPECT_EQ(File().BorrarClau(L"a", L"missing"), 0);
    EXPECT_EQ(File().BorrarClau(L"missing", L"k"), 0);
    EXPECT_EQ(File().BorrarClau(L"a", nullptr), 0);
    EXPECT_EQ(File().BorrarValor(L"a", nullptr), 0);
    EXPECT_EQ(Read(), before);
}

TEST_F(CFitxerINITest, AKeyIsComparedWithTheBlanksThatItHas) {
    Write(u"[a]\r\nk = 1\r\n");
    const bool trimmed = SystemTrimsLines();
    EXPECT_EQ(File().BorrarClau(L"a", L"k"), trimmed ? 1 : 0);
    EXPECT_EQ(File().BorrarClau(L"a", L"K "), trimmed ? 0 : 1);
}

TEST_F(CFitxerINITest, DeletingAValueLeavesTheOtherLines) {
    Write(u"[a]\r\nk=1\r\n; comment\r\nalone\r\n");
    EXPECT_EQ(File().BorrarValor(L"a", L"K"), 1);
    EXPECT_EQ(Lines(L"a"), Names{L"alone"});
    EXPECT_NE(Read().find(Marked(u"; comment").substr(2)), std::string::npos);
    EXPECT_EQ(File().BorrarValor(L"a", L"missing"), 1);
    EXPECT_EQ(File().BorrarValor(L"missing", L"k"), 1);
}

TEST_F(CFitxerINITest, ASectionIsDeleted) {
    Write(u"[a]\r\nk=1\r\n[b]\r\nx=1\r\n");
    EXPECT_EQ(File().BorrarSeccio(L"A"), 1);
    CMultiString names;
    EXPECT_EQ(File().GetSeccions(names), 1);
    EXPECT_EQ(Members(names), Names{L"b"});
    EXPECT_EQ(File().BorrarSeccio(L"missing"), 1);
}

// ---- The mark

TEST_F(CFitxerINITest, AMissingFileIsMadeWithTheMark) {
    EXPECT_EQ(CFitxerINI::VerifyAndCreateUnicodeFile(Path().c_str()), 1);
    EXPECT_EQ(Read(), "\xFF\xFE");
    EXPECT_EQ(CFitxerINI::VerifyAndCreateUnicodeFile(m_folder.Path(L"no\\folder.ini").c_str()), 1);
    EXPECT_FALSE(m_folder.Exists(L"no"));
}

TEST_F(CFitxerINITest, AFileWithTheMarkIsLeftAlone) {
    Write(u"[s]\r\nk=1\r\n");
    const std::string before = Read();
    EXPECT_EQ(CFitxerINI::VerifyAndCreateUnicodeFile(Path().c_str()), 1);
    EXPECT_EQ(Read(), before);
}

// Kept exactly so: the text is not carried over.
TEST_F(CFitxerINITest, AFileWithoutTheMarkLosesItsContent) {
    for (const char* bytes : {"[s]\r\nk=1\r\n", "", "x", "\xFE\xFF", "\xEF\xBB\xBF[s]\r\nk=1\r\n"}) {
        WriteBytes(bytes);
        EXPECT_EQ(CFitxerINI::VerifyAndCreateUnicodeFile(Path().c_str()), 1);
        EXPECT_EQ(Read(), "\xFF\xFE");
        EXPECT_FALSE(m_folder.Exists(L"a.tmp"));
    }
    Write(u"[s]\r\nk=1\r\n");
    EXPECT_EQ(CFitxerINI::ConvertIniFileIntoUnicode(Path().c_str()), 1);
    EXPECT_EQ(Read(), "\xFF\xFE");
}

TEST_F(CFitxerINITest, TheFirstWriteToAFileWithoutMarkLeavesOnlyWhatWasWritten) {
    WriteBytes("[s]\r\nk=1\r\n[t]\r\nx=2\r\n");
    EXPECT_EQ(File().SetString(L"s", L"m", L"3"), 1);
    EXPECT_EQ(Read(), Marked(u"[s]\r\nm=3\r\n"));
    WriteBytes("[s]\r\nk=1\r\n");
    EXPECT_EQ(File().SetInt(L"s", L"n", 4, 10, nullptr, 0), 1);
    EXPECT_EQ(Read(), Marked(u"[s]\r\nn=4\r\n"));
    WriteBytes("[s]\r\nk=1\r\n");
    EXPECT_EQ(File().SetDouble(L"s", L"d", 1), 1);
    EXPECT_EQ(Read(), Marked(u"[s]\r\nd=1.000000\r\n"));
}

TEST_F(CFitxerINITest, ALeftOverTemporaryFileStopsTheConversion) {
    WriteBytes("[s]\r\nk=1\r\n");
    m_folder.Write(L"a.tmp", "stale");
    EXPECT_EQ(CFitxerINI::ConvertIniFileIntoUnicode(Path().c_str()), 1);
    EXPECT_EQ(Read(), "[s]\r\nk=1\r\n");
    EXPECT_EQ(m_folder.Read(L"a.tmp"), "stale");
}

// Kept: the conversion of what cannot be opened for reading, here a folder, does not end; but it takes no
// more room on the disk while it lasts.
TEST_F(CFitxerINITest, ConvertingAFileThatCannotBeOpenedDoesNotEnd) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::filesystem::create_directory(m_folder.Root() / "a.ini");
            static std::atomic<bool> returned = false;
            static std::wstring path = Path();
            std::thread([] {
                CFitxerINI::ConvertIniFileIntoUnicode(path.c_str());
                returned = true;
            }).detach();
            const auto start = std::chrono::steady_clock::now();
            while (std::chrono::steady_clock::now() - start < std::chrono::seconds(1) && !returned)
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            const bool small = std::filesystem::file_size(m_folder.Root() / "a.tmp") == 2;
            std::error_code open; // what the thread has open stays on Windows
            std::filesystem::remove_all(m_folder.Root(), open);
            std::_Exit(returned ? 9 : small ? 7 : 8);
        },
        testing::ExitedWithCode(7), "");
}

// ---- Failures

TEST_F(CFitxerINITest, AFolderThatCannotBeMadeGives0) {
    m_folder.Write(L"file", "x");
    CFitxerINI inside(m_folder.Path(L"file\\a.ini").c_str());
    CMultiString list(L"k=v\0");
    EXPECT_EQ(inside.SetString(L"s", L"k", L"v"), 0);
    EXPECT_EQ(inside.SetInt(L"s", L"k", 1, 10, nullptr, 0), 0);
    EXPECT_EQ(inside.SetDouble(L"s", L"k", 1), 0);
    EXPECT_EQ(inside.SetSeccio(L"s", list), 0);
    EXPECT_EQ(inside.SetSeccio(L"s", list, list), 0);
    EXPECT_EQ(inside.BorrarClau(L"s", L"k"), 0);
    EXPECT_EQ(inside.BorrarValor(L"s", L"k"), 0);
    EXPECT_EQ(inside.BorrarSeccio(L"s"), 0);
    EXPECT_EQ(inside.GetSeccions(list), 0);
    EXPECT_EQ(m_folder.Read(L"file"), "x");
}

TEST_F(CFitxerINITest, WithoutASectionNothingIsWritten) {
    Write(u"[s]\r\nk=1\r\n");
    const std::string before = Read();
    EXPECT_EQ(File().SetString(nullptr, L"k", L"v"), 0);
    EXPECT_EQ(Read(), before);
}

TEST_F(CFitxerINITest, TheFolderIsMadeWhenItIsMissing) {
    Ini file(Backslashed(L"x\\y\\a.ini").c_str());
    EXPECT_EQ(file.checkCarpeta(1), 1);
    EXPECT_TRUE(m_folder.Exists(L"x\\y"));
    EXPECT_EQ(file.checkCarpeta(0), 1);
    EXPECT_EQ(Ini(L"bare.ini").checkCarpeta(1), 1);
    CFitxerINI slashes(m_folder.Path(L"u/v/a.ini").c_str());
    EXPECT_EQ(slashes.SetString(L"s", L"k", L"v"), 1);
    EXPECT_EQ(slashes.GetString(L"s", L"k", L""), L"v");
}

TEST_F(CFitxerINITest, DeletingMakesTheFolderToo) {
    const auto inside = [this](const wchar_t* folder) {
        return CFitxerINI(Backslashed((std::wstring(folder) + L"\\a.ini").c_str()).c_str());
    };
    EXPECT_EQ(inside(L"d1").BorrarClau(L"s", L"k"), 0);
    EXPECT_EQ(inside(L"d2").BorrarValor(L"s", L"k"), 1);
    EXPECT_EQ(inside(L"d3").BorrarSeccio(L"s"), 1);
    EXPECT_EQ(inside(L"d4").SetSeccio(L"s", CMultiString(L"k=v\0")), 1);
    for (const wchar_t* folder : {L"d1", L"d2", L"d3", L"d4"})
        EXPECT_TRUE(m_folder.Exists(folder));
    EXPECT_EQ(inside(L"d4").GetString(L"s", L"k", L""), L"v");
    // Reading makes nothing.
    EXPECT_EQ(inside(L"d5").GetString(L"s", L"k", L"default"), L"default");
    EXPECT_FALSE(m_folder.Exists(L"d5"));
}

TEST_F(CFitxerINITest, AFolderIsNoFile) {
    EXPECT_EQ(CFitxerINI(m_folder.Path(L"").c_str()).TestFitxer(), 0);
}

// ---- docs/ini-files.md

TEST_F(CFitxerINITest, TheWorkedExampleIsReadAsThePageSays) {
    std::ifstream file(MVLIB_DOCS "/ini-files.md", std::ios::binary);
    ASSERT_TRUE(file.is_open());
    const std::string page(std::istreambuf_iterator<char>(file), {});
    const auto block = [&](const std::string& kind) {
        const std::size_t start = page.find("```" + kind + "\n") + kind.size() + 4;
        const std::size_t size = page.find("```", start) - start;
        std::wstring text(size, L'\0');
        text.resize(static_cast<std::size_t>(::MultiByteToWideChar(
            CP_UTF8, 0, page.data() + start, static_cast<int>(size), text.data(), static_cast<int>(size))));
        return text;
    };
    std::u16string text;
    for (const wchar_t unit : block("ini"))
        text += static_cast<char16_t>(unit);
    Write(text);
    std::wistringstream results(block("results"));
    int count = 0;
    for (std::wstring line; std::getline(results, line); ++count) {
        const std::size_t first = line.find(L' ');
        const std::size_t second = line.find(L' ', first + 1);
        std::wstring expected = line.substr(second + 1);
        if (expected.front() == L'"')
            expected = expected.substr(1, expected.size() - 2);
        EXPECT_EQ(String(line.substr(0, first).c_str(), line.substr(first + 1, second - first - 1).c_str()),
                  expected);
    }
    EXPECT_EQ(count, 7);
    EXPECT_EQ(File().GetInt(L"Window", L"Left", 0), 31);
}
