// The private-profile functions.
#include "temp_folder.h"
#include "under_wine.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

class Profile : public testing::Test {
protected:
    void SetUp() override { m_path = m_folder.Path(L"test.ini"); }

    void File(const std::string& bytes) { m_folder.Write(L"test.ini", bytes); }

    std::wstring Get(const wchar_t* section, const wchar_t* key, const wchar_t* other = L"none") {
        std::vector<wchar_t> buffer(50000, L'~');
        m_count = GetPrivateProfileStringW(section, key, other, buffer.data(), 50000, m_path.c_str());
        EXPECT_EQ(buffer[m_count], 0);
        return std::wstring(buffer.data(), m_count);
    }
    // Into a buffer of that size: what stands in it, "|" for NUL, and "~" where it is untouched.
    std::wstring GetInto(DWORD size, const wchar_t* section, const wchar_t* key,
                         const wchar_t* other = L"def") {
        Clear();
        m_count = GetPrivateProfileStringW(section, key, other, m_buffer, size, m_path.c_str());
        return Shown(size);
    }
    std::wstring SectionInto(DWORD size, const wchar_t* section) {
        Clear();
        m_count = GetPrivateProfileSectionW(section, m_buffer, size, m_path.c_str());
        return Shown(size);
    }
    std::wstring NamesInto(DWORD size) {
        Clear();
        m_count = GetPrivateProfileSectionNamesW(m_buffer, size, m_path.c_str());
        return Shown(size);
    }
    // Lists, "|" behind each text.
    std::wstring Keys(const wchar_t* section) { return List(GetInto(200, section, nullptr, L"")); }
    std::wstring Lines(const wchar_t* section) { return List(SectionInto(200, section)); }
    std::wstring Names() { return List(NamesInto(200)); }
    UINT Number(const wchar_t* key) { return GetPrivateProfileIntW(L"s", key, 5, m_path.c_str()); }

    BOOL Set(const wchar_t* section, const wchar_t* key, const wchar_t* value) {
        SetLastError(99);
        return WritePrivateProfileStringW(section, key, value, m_path.c_str());
    }
    BOOL SetLines(const wchar_t* section, const wchar_t* lines) {
        SetLastError(99);
        return WritePrivateProfileSectionW(section, lines, m_path.c_str());
    }
    DWORD ErrorOf(BOOL result) {
        const DWORD error = GetLastError();
        EXPECT_FALSE(result);
        return error;
    }

    TempFolder m_folder;
    std::wstring m_path;
    DWORD m_count = 0;

private:
    void Clear() {
        for (wchar_t& unit : m_buffer)
            unit = L'~';
    }
    std::wstring Shown(DWORD size) const {
        std::wstring text(m_buffer, m_buffer + size);
        for (wchar_t& unit : text)
            unit = unit == 0 ? L'|' : unit;
        return text;
    }
    std::wstring List(const std::wstring& shown) const { return shown.substr(0, m_count); }

    wchar_t m_buffer[300];
};

} // namespace

TEST_F(Profile, ExampleUsage) {
    EXPECT_TRUE(WritePrivateProfileStringW(L"Window", L"Width", L"640", m_path.c_str()));
    wchar_t text[20];
    EXPECT_EQ(GetPrivateProfileStringW(L"window", L"width", L"", text, 20, m_path.c_str()), 3u);
    EXPECT_STREQ(text, L"640");
    EXPECT_EQ(GetPrivateProfileIntW(L"Window", L"Height", 480, m_path.c_str()), 480u);
}

// ---- Reading

TEST_F(Profile, NamesMatchWithoutCaseAndBlanks) {
    File("[Sec]\r\nKey=v\r\n[ t ]\r\n  sp  =  v v  \r\n");
    EXPECT_EQ(Get(L"sEC", L"kEY"), L"v");
    EXPECT_EQ(Get(L" Sec ", L"\tKey "), L"v");
    EXPECT_EQ(Get(L"t", L"sp"), L"v v");
    EXPECT_EQ(GetLastError(), 0u);
}

TEST_F(Profile, FirstOfANameIsMeant) {
    File("[s]\r\na=1\r\nA=2\r\n[x]\r\n[s]\r\na=3\r\nlate=4\r\n");
    EXPECT_EQ(Get(L"s", L"a"), L"1");
    EXPECT_EQ(Get(L"s", L"late"), L"none");
    EXPECT_EQ(Keys(L"s"), L"a|A|");
    EXPECT_EQ(Names(), L"s|x|s|");
}

TEST_F(Profile, OnePairOfQuotationMarksGoes) {
    File("[s]\r\na=\"quoted \"\r\nb='q'\r\nc=\"half\r\nd=\"mixed'\r\ne=\"\"x\"\"\r\n");
    EXPECT_EQ(Get(L"s", L"a"), L"quoted ");
    EXPECT_EQ(Get(L"s", L"b"), L"q");
    EXPECT_EQ(Get(L"s", L"c"), L"\"half");
    EXPECT_EQ(Get(L"s", L"d"), L"\"mixed'");
    EXPECT_EQ(Get(L"s", L"e"), L"\"x\"");
    EXPECT_EQ(Lines(L"s").substr(0, 14), L"a=\"quoted \"|b=");
}

TEST_F(Profile, ValueHoldsEverythingBehindTheFirstEqualsSign) {
    File("[s]\r\na=b=c\r\nb = = x\r\nempty=\r\n=nameless\r\n");
    EXPECT_EQ(Get(L"s", L"a"), L"b=c");
    EXPECT_EQ(Get(L"s", L"b"), L"= x");
    EXPECT_EQ(Get(L"s", L"empty"), L"");
    EXPECT_EQ(Get(L"s", L""), L"nameless");
}

TEST_F(Profile, OnlyBlanksAndTabsAreTrimmed) {
    File("[s]\r\nt\t=\t y\t\r\nn=\xA0z\xA0\r\n#h=1\r\n");
    EXPECT_EQ(Get(L"s", L"t"), L"y");
    EXPECT_EQ(Get(L"s", L"n"), L"\u00A0z\u00A0");
    EXPECT_EQ(Get(L"s", L"#h"), L"1");
}

TEST_F(Profile, AnyLineEndWillDo) {
    File("[s]\nx=1\ry=2\r\n\n\rz=3");
    EXPECT_EQ(Get(L"s", L"x") + Get(L"s", L"y") + Get(L"s", L"z"), L"123");
}

TEST_F(Profile, NulEndsAValueAndNotTheFile) {
    File(std::string("[s]\nn=1\0ab\nm=2\n", 16));
    EXPECT_EQ(Get(L"s", L"n"), L"1");
    EXPECT_EQ(Get(L"s", L"m"), L"2");
    EXPECT_EQ(Lines(L"s"), L"n=1|m=2|");
}

TEST_F(Profile, OddHeaders) {
    File("[a]\nk=0\n[unclosed\nu=5\n[b]c]\nk=1\n[d] trailing\nk=2\n  [e]\nk=3\n]f[\n");
    EXPECT_EQ(Names(), L"a|b]c|d|e|");
    EXPECT_EQ(Get(L"a", L"u"), L"5");
    EXPECT_EQ(Get(L"b]c", L"k") + Get(L"d", L"k") + Get(L"e", L"k"), L"123");
    EXPECT_EQ(Lines(L"a"), L"k=0|[unclosed|u=5|");
    EXPECT_EQ(Lines(L"e"), L"k=3|]f[|");
}

TEST_F(Profile, LinesBeforeTheFirstHeaderHaveNoSection) {
    File("x=1\r\n\r\ny=2\r\n[s]\r\na=1\r\n");
    EXPECT_EQ(Get(L"", L"x"), L"1");
    EXPECT_EQ(Names(), L"s|");
    EXPECT_EQ(Lines(L""), L"x=1|y=2|");
    EXPECT_EQ(Keys(L""), L"x|y|");
}

TEST_F(Profile, ListsOfKeysAndLines) {
    File("[s]\r\nname1=val1\r\nname2=\r\nname3\r\n; note=1\r\n  ;second\r\nname4=val4\r\n=x\r\n");
    EXPECT_EQ(Keys(L"s"), L"name1|name2|name4||");
    EXPECT_EQ(Lines(L"s"), L"name1=val1|name2=|name3|name4=val4|=x|");
    EXPECT_EQ(Get(L"s", L"name3"), L"none");
}

TEST_F(Profile, LinesComeAsTheyAreStored) {
    File("[s]\r\n  k = v ; note  \r\n");
    // Wine drops the blanks round the equals sign.
    EXPECT_EQ(Lines(L"s"), UnderWine() ? L"k=v ; note|" : L"k = v ; note|");
}

TEST_F(Profile, DefaultLosesTheBlanksAtItsEnd) {
    File("[s]\r\n");
    EXPECT_EQ(Get(L"s", L"k", L" default  "), L" default");
    EXPECT_EQ(Get(L"s", L"k", nullptr), L"");
    EXPECT_EQ(Get(L"s", L"k", L"\"q\""), L"q");
    EXPECT_EQ(Get(L"s", nullptr, L"def"), L"def");
}

TEST_F(Profile, MarksTellTheEncoding) {
    File(std::string("\xFF\xFE[\0s\0]\0\n\0a\0=\0\xE9\0\x16\x04\n\0", 20));
    EXPECT_EQ(Get(L"s", L"a"), L"\u00E9\u0416");
    File(std::string("\xFF\xFE[\0s\0]\0\n\0a\0=\0\xE9\0\x16\x04\n", 19)); // half a unit at the end
    EXPECT_EQ(Get(L"s", L"a"), L"\u00E9\u0416");
    File(std::string("\xFE\xFF\0[\0s\0]\0\n\0a\0=\0b\0\n", 18));
    EXPECT_EQ(Get(L"s", L"a"), L"b");
    File("\xEF\xBB\xBF[s]\na=\xC3\xA9\n");
    EXPECT_EQ(Get(L"s", L"a"), L"\u00E9");
    File("[s]\na=\x80\xE9\n");
    EXPECT_EQ(Get(L"s", L"a"), L"\u20AC\u00E9");
    for (const std::string& bytes :
         {std::string("\xFF\xFE"), std::string(), std::string("[\0s\0]\0\n\0", 8)}) {
        File(bytes);
        EXPECT_EQ(Names(), L"");
    }
}

TEST_F(Profile, Numbers) {
    File("[s]\na=12\nb=-3\nc=0x1F\nd=12abc\ne=abc\nf= 7 "
         "\ng=+4\nh=\ni=99999999999\nj=\"8\"\nk=010\nl=-0x10\nm=0b11\n"
         "n=- 5\n");
    EXPECT_EQ(Number(L"a"), 12u);
    EXPECT_EQ(Number(L"b"), static_cast<UINT>(-3));
    EXPECT_EQ(Number(L"c"), 31u);
    EXPECT_EQ(Number(L"d"), 12u);
    EXPECT_EQ(Number(L"e"), 0u);
    EXPECT_EQ(Number(L"f"), 7u);
    EXPECT_EQ(Number(L"g"), 4u);
    EXPECT_EQ(Number(L"h"), 5u);
    EXPECT_EQ(Number(L"i"), 1215752191u);
    EXPECT_EQ(Number(L"j"), 8u);
    EXPECT_EQ(Number(L"k"), 10u);
    EXPECT_EQ(Number(L"l"), static_cast<UINT>(-16));
    EXPECT_EQ(Number(L"m"), 3u);
    EXPECT_EQ(Number(L"n"), 0u);
    EXPECT_EQ(Number(L"missing"), 5u);
}

TEST_F(Profile, LongValuesAndSections) {
    std::string bytes = "[s]\r\nk=" + std::string(40000, 'v') + "\r\n[t]\r\n";
    for (int i = 0; i < 4000; ++i)
        bytes += "key" + std::to_string(i) + "=val\r\n";
    File(bytes);
    EXPECT_EQ(Get(L"s", L"k").size(), 40000u);
    std::vector<wchar_t> buffer(60000);
    EXPECT_EQ(GetPrivateProfileSectionW(L"t", buffer.data(), 60000, m_path.c_str()), 46890u);
    EXPECT_EQ(GetPrivateProfileSectionW(L"t", buffer.data(), 32767, m_path.c_str()), 32765u);
    EXPECT_EQ(GetPrivateProfileStringW(L"t", nullptr, L"", buffer.data(), 32767, m_path.c_str()), 30890u);
}

TEST_F(Profile, ChangedFileIsSeenAtOnce) {
    for (int i = 0; i < 50; ++i) {
        File("[s]\r\na=" + std::to_string(i % 10) + "\r\n");
        EXPECT_EQ(Get(L"s", L"a"), std::to_wstring(i % 10));
    }
    DeleteFileW(m_path.c_str());
    EXPECT_EQ(Get(L"s", L"a"), L"none");
}

// ---- Sizes

TEST_F(Profile, ValueIsCutToTheBuffer) {
    File("[s]\r\nname1=val1\r\n");
    EXPECT_EQ(GetInto(0, L"s", L"name1"), L"");
    EXPECT_EQ(m_count, 0u);
    EXPECT_EQ(GetInto(1, L"s", L"name1"), L"|");
    EXPECT_EQ(m_count, 0u);
    EXPECT_EQ(GetInto(4, L"s", L"name1"), L"val|");
    EXPECT_EQ(m_count, 3u);
    EXPECT_EQ(GetInto(5, L"s", L"name1"), L"val1|");
    EXPECT_EQ(m_count, 4u);
    EXPECT_EQ(GetInto(3, L"s", L"missing"), L"de|");
    EXPECT_EQ(m_count, 2u);
}

TEST_F(Profile, ListsAreCutAndEndInTwoNuls) {
    File("[s]\r\nname1=val1\r\nname2=\r\nname3\r\nname4=val4\r\n[section1]\r\n[section2]\r\n");
    EXPECT_EQ(GetInto(16, L"s", nullptr), L"name1|name2|na||");
    EXPECT_EQ(m_count, 14u);
    EXPECT_EQ(GetInto(19, L"s", nullptr), L"name1|name2|name4||"); // exactly full counts as cut
    EXPECT_EQ(m_count, 17u);
    EXPECT_EQ(GetInto(20, L"s", nullptr), L"name1|name2|name4||~");
    EXPECT_EQ(m_count, 18u);
    EXPECT_EQ(SectionInto(22, L"s"), L"name1=val1|name2=|na||");
    EXPECT_EQ(m_count, 20u);
    EXPECT_EQ(SectionInto(36, L"s"), L"name1=val1|name2=|name3|name4=val4||");
    EXPECT_EQ(m_count, 34u);
    EXPECT_EQ(SectionInto(37, L"s").substr(34), L"||~");
    EXPECT_EQ(m_count, 35u);
    EXPECT_EQ(NamesInto(16), L"s|section1|sec||");
    EXPECT_EQ(m_count, 14u);
    EXPECT_EQ(NamesInto(22), L"s|section1|section2||~");
    EXPECT_EQ(m_count, 20u);
    EXPECT_EQ(NamesInto(2), L"||");
    EXPECT_EQ(m_count, 0u);
}

// ---- Writing

TEST_F(Profile, KeysAndSectionsAreAddedAtTheirEnds) {
    EXPECT_TRUE(Set(L"App", L"key", L"v"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[App]\r\nkey=v\r\n");
    EXPECT_TRUE(Set(L"B", L"k", L""));
    EXPECT_TRUE(Set(L"app", L"key2", L"v2"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[App]\r\nkey=v\r\nkey2=v2\r\n[B]\r\nk=\r\n");
}

TEST_F(Profile, ValueIsReplacedInItsPlace) {
    File("[A]\r\nFirst=1\r\nb=2\r\nfirst=3\r\n");
    EXPECT_TRUE(Set(L"a", L"FIRST", L"9"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\nFirst=9\r\nb=2\r\nfirst=3\r\n");
}

TEST_F(Profile, NullRemovesKeysAndSections) {
    File("[A]\r\na=1\r\na=2\r\n[B]\r\nb=1\r\n[A]\r\na=3\r\n");
    EXPECT_TRUE(Set(L"A", L"a", nullptr));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\na=2\r\n[B]\r\nb=1\r\n[A]\r\na=3\r\n");
    EXPECT_TRUE(Set(L"B", L"b", nullptr));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\na=2\r\n[B]\r\n[A]\r\na=3\r\n");
    EXPECT_TRUE(Set(L"A", nullptr, nullptr));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[B]\r\n[A]\r\na=3\r\n");
    EXPECT_TRUE(SetLines(L"A", nullptr));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[B]\r\n");
    EXPECT_TRUE(Set(L"B", nullptr, L"x"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "");
}

TEST_F(Profile, RemovingWhatIsAbsentSucceedsAndChangesNothing) {
    EXPECT_TRUE(Set(L"A", L"a", nullptr));
    EXPECT_TRUE(Set(L"A", nullptr, nullptr));
    EXPECT_TRUE(SetLines(L"A", nullptr));
    EXPECT_FALSE(m_folder.Exists(L"test.ini"));
    File("[A]\r\na=1\r\n");
    EXPECT_TRUE(Set(L"A", L"b", nullptr));
    EXPECT_TRUE(Set(L"B", L"b", nullptr));
    EXPECT_TRUE(Set(L"B", nullptr, nullptr));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\na=1\r\n");
}

TEST_F(Profile, WholeSectionIsReplaced) {
    EXPECT_TRUE(SetLines(L"A", L"a=1\0b=2\0"));
    EXPECT_TRUE(SetLines(L"B", L"x=1\0"));
    EXPECT_TRUE(SetLines(L"a", L"c=1\0"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\nc=1\r\n[B]\r\nx=1\r\n");
    EXPECT_TRUE(SetLines(L"B", L""));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\nc=1\r\n[B]\r\n");
    EXPECT_TRUE(SetLines(L"none", L""));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\nc=1\r\n[B]\r\n");
}

TEST_F(Profile, ValueIsReadAsItWasWritten) {
    for (const wchar_t* value : {L"", L"plain", L"a=b", L"; no note", L"[x]", L"\u00E9\u20AC", L"a  b"}) {
        EXPECT_TRUE(Set(L"s", L"k", value));
        EXPECT_EQ(Get(L"s", L"k"), value);
    }
    EXPECT_TRUE(Set(L"s", L"k", L" blanks "));
    EXPECT_EQ(Get(L"s", L"k"), L"blanks");
    EXPECT_TRUE(Set(L"s", L"k", L"\" blanks \""));
    EXPECT_EQ(Get(L"s", L"k"), L" blanks ");
}

TEST_F(Profile, OddNamesAreWrittenAsTheyStand) {
    EXPECT_TRUE(Set(L"A", L"k=x", L"v"));
    EXPECT_TRUE(Set(L"B]c", L"k", L"w"));
    EXPECT_TRUE(Set(L"A", L"l", L"1\r\nm=2"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\nk=x=v\r\nl=1\r\nm=2\r\n[B]c]\r\nk=w\r\n");
    EXPECT_EQ(Get(L"A", L"k"), L"x=v");
    EXPECT_EQ(Get(L"A", L"m"), L"2");
}

TEST_F(Profile, EncodingOfTheFileStays) {
    File("\xFF\xFE");
    EXPECT_TRUE(Set(L"A", L"k", L"\u00E9\u0416"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "\xFF\xFE[\0A\0]\0\r\0\n\0k\0=\0\xE9\0\x16\x04\r\0\n\0"s);
    File("[A]\r\n");
    EXPECT_TRUE(Set(L"A", L"k", L"\u00E9\u0416"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\nk=\xE9?\r\n"); // no place for the second letter
    File("\xEF\xBB\xBF[A]\r\n");
    EXPECT_TRUE(Set(L"A", L"k", L"\u00E9\u0416"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "\xEF\xBB\xBF[A]\r\nk=\xC3\xA9\xD0\x96\r\n");
    DeleteFileW(m_path.c_str());
    EXPECT_TRUE(SetLines(L"B", L"x=\u0416\0"));
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[B]\r\nx=?\r\n");
}

// ---- Error results

TEST_F(Profile, MissingFileOrFolder) {
    EXPECT_EQ(Get(L"s", L"k"), L"none");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(NamesInto(4), L"|~~~");
    EXPECT_EQ(SectionInto(4, L"s"), L"||~~");
    EXPECT_EQ(GetInto(4, nullptr, nullptr), L"|~~~");
    m_path = m_folder.Path(L"no folder\\x.ini");
    EXPECT_EQ(Get(L"s", L"k"), L"none");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(ErrorOf(Set(L"s", L"k", L"v")), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(ErrorOf(SetLines(L"s", L"k=v\0")), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Profile, NullSection) {
    File("[A]\r\na=1\r\n");
    EXPECT_EQ(ErrorOf(Set(nullptr, L"k", L"v")), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\na=1\r\n");
    SetLastError(99);
    EXPECT_EQ(SectionInto(10, nullptr), L"~~~~~~~~~~");
    EXPECT_EQ(m_count, 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(Profile, EmptyFileName) {
    EXPECT_FALSE(WritePrivateProfileStringW(L"A", L"k", L"v", L""));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Profile, FileInUse) {
    File("[A]\r\na=1\r\n");
    HANDLE other = CreateFileW(m_path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(ErrorOf(Set(L"A", L"b", L"1")), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Get(L"A", L"a"), L"none");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(other);
    other = CreateFileW(m_path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_EXISTING, 0, nullptr);
    EXPECT_TRUE(Set(L"A", L"b", L"1"));
    CloseHandle(other);
    EXPECT_EQ(m_folder.Read(L"test.ini"), "[A]\r\na=1\r\nb=1\r\n");
}
