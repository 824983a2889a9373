#include <CStringEx.h>

#include <Idioma.h>

#include "alloc_failure.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <string>

namespace {

class CStringExTest : public testing::Test {
protected:
    void TearDown() override { AfxSetLanguage(0x0400); }
};

} // namespace

TEST_F(CStringExTest, ExampleUsage) {
    EXPECT_EQ(AfxFormatString(L"%s: %s", L"report.dat", AfxBytesToString(1572864).GetString()),
              L"report.dat: 1,50 Mb");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xEF\xBB\xBFna\xC3\xAFve"), L"na\u00EFve");
    EXPECT_EQ(AfxIntToAZ(27, 0), L"BB");
    EXPECT_EQ(AfxAZToInt(L"BB"), 27);
}

// ---- The class

TEST_F(CStringExTest, IsAStringWithoutFieldsOfItsOwn) {
    static_assert(sizeof(CStringEx) == sizeof(CString));
    CStringEx text(L"abc");
    CStringEx copy(text);
    CStringEx moved(std::move(copy));
    EXPECT_EQ(moved, L"abc");
    text = L"def";
    text += L"g";
    moved = text;
    EXPECT_EQ(moved, L"defg");
    const CString plain(L"plain");
    EXPECT_EQ(CStringEx(plain), L"plain");
    EXPECT_EQ(CStringEx(L'x', 3), L"xxx");
    EXPECT_EQ(CStringEx(), L"");
}

TEST_F(CStringExTest, LoadsAStringOfTheProgramOrOfAModule) {
    EXPECT_EQ(CStringEx(700, nullptr), L"short");
    const HMODULE module = ::LoadLibraryW(L"mvlib62_cat");
    ASSERT_NE(module, nullptr);
    AfxSetLanguage(0x0409);
    EXPECT_EQ(CStringEx(18001, module), L"Operaci\u00F3 no admesa.") << "whatever the current language";
    ::FreeLibrary(module);
}

TEST_F(CStringExTest, MissingStringIsEmpty) {
    EXPECT_EQ(CStringEx(64000, nullptr), L"");
}

TEST_F(CStringExTest, StringOfAnyLengthIsLoadedWhole) {
    // Around the steps of the buffer: lengths of 253, 254, 255, 256, 510, 511, 512 and 1,000 characters.
    const int lengths[] = {253, 254, 255, 256, 510, 511, 512, 1000};
    for (unsigned int i = 0; i < 8; ++i) {
        const CStringEx text(710 + i, nullptr);
        ASSERT_EQ(text.GetLength(), lengths[i]);
        EXPECT_EQ(text[0], L'<');
        EXPECT_EQ(text[lengths[i] - 1], L'>');
    }
}

TEST_F(CStringExTest, LoadingWithoutMemoryThrowsOrIsEmpty) {
    int defined = 0;
    const int failures = FailEachAllocation([&] {
        try {
            const CStringEx text(717, nullptr);
            if (text.IsEmpty()) // the system had no memory for the search
                ++defined;
            else
                EXPECT_EQ(text.GetLength(), 1000);
        } catch (CMemoryException* e) {
            e->Delete();
            ++defined;
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(defined, failures);
}

// ---- Marks

TEST_F(CStringExTest, MarksAreRecognised) {
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xEF\xBB\xBF"), 4);
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xEF\xBB\xBFtext"), 4);
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xFE\xFF\0"), 5);
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xFE\xFF"
                                           "A"),
              5);
}

TEST_F(CStringExTest, EverythingElseIsNoMark) {
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xFF\xFE\0"), 0);
    EXPECT_EQ(CStringEx::DetectBOMEncoding("abc"), 0);
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xEF\xBB"
                                           "a"),
              0);
    EXPECT_EQ(CStringEx::DetectBOMEncoding("\xFE"
                                           "a"),
              0);
    EXPECT_EQ(CStringEx::DetectBOMEncoding(""), 0);
}

TEST_F(CStringExTest, TextWithoutAMarkOrWithThatOfUtf8IsUtf8) {
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("caf\xC3\xA9 \xE2\x82\xAC"), L"caf\u00E9 \u20AC");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xEF\xBB\xBF"
                                           "caf\xC3\xA9"),
              L"caf\u00E9");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xF0\x9F\x98\x80"), L"\U0001F600");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xEF\xBB\xBF\xEF\xBB\xBFx"), L"\uFEFFx") << "one mark is dropped";
}

TEST_F(CStringExTest, EmptyTextsAreEmpty) {
    EXPECT_EQ(CStringEx::RemoveBOMEncoding(nullptr), L"");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding(""), L"");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xEF\xBB\xBF"), L"");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xFE\xFF\0\0"), L"");
}

TEST_F(CStringExTest, MalformedUtf8DoesNotEndTheText) {
    const CString text = CStringEx::RemoveBOMEncoding("a\xFFz");
    EXPECT_EQ(text.Left(1), L"a");
    EXPECT_EQ(text.Right(1), L"z");
}

TEST_F(CStringExTest, MarkFeFfIsFollowedByLittleEndianUnitsAsTheyStand) {
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xFE\xFF"
                                           "A\0\xE9\0\xAC\x20\0\0ignored\0\0"),
              L"A\u00E9\u20AC");
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xFE\xFF\0A\0\0"), L"\u4100") << "no bytes are swapped";
    EXPECT_EQ(CStringEx::RemoveBOMEncoding("\xFE\xFF\x3D\xD8\x00\xDE\0\0"), L"\U0001F600");
}

TEST_F(CStringExTest, UnpairedSurrogatesStayAsTheyAre) {
    const CString text = CStringEx::RemoveBOMEncoding("\xFE\xFF\x3D\xD8"
                                                      "A\0\x00\xDE\0\0");
    ASSERT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text[0], static_cast<wchar_t>(0xD83D));
    EXPECT_EQ(text[1], L'A');
    EXPECT_EQ(text[2], static_cast<wchar_t>(0xDE00));
}

TEST_F(CStringExTest, SystemErrorIsNumberedButNotNamed) {
    EXPECT_EQ(CStringEx::GetMsgErrorSistema(5), L"Error 5: ");
    EXPECT_EQ(CStringEx::GetMsgErrorSistema(0), L"Error 0: ");
    EXPECT_EQ(CStringEx::GetMsgErrorSistema(4000000000u), L"Error 4000000000: ");
    EXPECT_EQ(CStringEx::GetMsgErrorSistema(static_cast<unsigned long>(-1)), L"Error 4294967295: ");
}

// ---- Formatting

TEST_F(CStringExTest, FormatsIntoANewString) {
    EXPECT_EQ(AfxFormatString(L"%s %d %.2f %c", L"wide", -7, 1.005, L'x'), L"wide -7 1.00 x");
    EXPECT_EQ(AfxFormatString(L""), L"");
    EXPECT_EQ(AfxFormatStringA("%s %d %5.1f", "narrow", 42, 2.25), "narrow 42   2.2");
    EXPECT_EQ(AfxFormatString(static_cast<const wchar_t*>(nullptr)), L"");
    EXPECT_EQ(AfxFormatStringA(nullptr), "");
    EXPECT_EQ(AfxFormatString(64000u), L"") << "no such format";
}

TEST_F(CStringExTest, FormatMayBeAResourceOfTheCurrentLanguage) {
    EXPECT_EQ(AfxFormatString(18002u, 3, L"kind", L"M"), L"Exception 3 (kind) in module [M].");
    EXPECT_EQ(AfxFormatString(701u, 5, L"files"), L"5 of files");
    AfxSetLanguage(0x0411);
    EXPECT_EQ(AfxFormatString(18002u, 3, L"kind", L"M"), L"");
}

TEST_F(CStringExTest, FormattingWithoutMemoryThrows) {
    int refused = 0;
    const int failures = FailEachAllocation([&] {
        try {
            EXPECT_EQ(AfxFormatString(L"%s and %s", L"one", L"two").GetLength(), 11);
        } catch (CMemoryException* e) {
            e->Delete();
            ++refused;
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(refused, failures);
}

// ---- Sizes

TEST_F(CStringExTest, BytesUpTo8192AreCounted) {
    EXPECT_EQ(AfxBytesToString(0), L"0 bytes");
    EXPECT_EQ(AfxBytesToString(1), L"1 bytes");
    EXPECT_EQ(AfxBytesToString(999), L"999 bytes");
    EXPECT_EQ(AfxBytesToString(1000), L"1.000 bytes");
    EXPECT_EQ(AfxBytesToString(8192), L"8.192 bytes");
}

TEST_F(CStringExTest, MoreBytesAreCutToKilobytes) {
    EXPECT_EQ(AfxBytesToString(8193), L"8 Kb");
    EXPECT_EQ(AfxBytesToString(1048575), L"1.023 Kb");
    EXPECT_EQ(AfxBytesToString(1048576), L"1,00 Mb");
    EXPECT_EQ(AfxBytesToString(2097152), L"2,00 Mb");
    EXPECT_EQ(AfxBytesToString(0xFFFFFFFFul), L"4.096,0 Mb");
}

TEST_F(CStringExTest, KilobytesBecomeMegabytesFrom1024) {
    EXPECT_EQ(AfxKBytesToString(0), L"0 Kb");
    EXPECT_EQ(AfxKBytesToString(1023), L"1.023 Kb");
    EXPECT_EQ(AfxKBytesToString(1024), L"1,00 Mb");
    EXPECT_EQ(AfxKBytesToString(1536), L"1,50 Mb");
    EXPECT_EQ(AfxKBytesToString(8191), L"8,00 Mb");
    EXPECT_EQ(AfxKBytesToString(8192), L"8,0 Mb");
    EXPECT_EQ(AfxKBytesToString(10000), L"9,8 Mb");
    EXPECT_EQ(AfxKBytesToString(2000000), L"1.953,1 Mb");
    EXPECT_EQ(AfxKBytesToString(0xFFFFFFFFul), L"4.194.304,0 Mb");
}

// ---- Dates

TEST_F(CStringExTest, DateFollowsThePattern) {
    CTime time(2007, 3, 9, 14, 5, 6);
    EXPECT_EQ(AfxFormatDate(time, "%Y-%m-%d %H:%M:%S"), L"2007-03-09 14:05:06");
    EXPECT_EQ(AfxFormatDate(time, "100%%"), L"100%");
    EXPECT_EQ(AfxFormatDate(time, "dia \xE9s %d"), L"dia \u00E9s 09") << "the pattern is in the code page";
    EXPECT_EQ(AfxFormatDate(time, ""), L"");
    EXPECT_EQ(AfxFormatDate(time, nullptr), L"");
}

TEST_F(CStringExTest, DateThatDoesNotFitIsEmpty) {
    CTime time(2007, 3, 9, 14, 5, 6);
    EXPECT_EQ(AfxFormatDate(time, std::string(127, 'x').c_str()).GetLength(), 127);
    EXPECT_EQ(AfxFormatDate(time, std::string(128, 'x').c_str()), L"");
}

TEST_F(CStringExTest, DateLeavesTheTimeLocaleAtC) {
    std::setlocale(LC_TIME, "");
    const std::string other = std::setlocale(LC_ALL, nullptr);
    CTime time(2007, 3, 9, 14, 5, 6);
    AfxFormatDate(time, "%A");
    EXPECT_STREQ(std::setlocale(LC_TIME, nullptr), "C");
    // Only that category is touched.
    std::setlocale(LC_TIME, "");
    EXPECT_EQ(std::string(std::setlocale(LC_ALL, nullptr)), other);
    std::setlocale(LC_TIME, "C");
}

TEST_F(CStringExTest, TimeThatCannotBeBrokenDownThrows) {
    CTime time(-1);
    try {
        AfxFormatDate(time, "%Y");
        ADD_FAILURE() << "did not throw";
    } catch (COleException* e) {
        EXPECT_EQ(static_cast<DWORD>(e->m_sc), 0x80070057u);
        e->Delete();
    }
}

TEST_F(CStringExTest, TimeThatThrowsLeavesTheUsersTimeLocale) {
    std::setlocale(LC_TIME, "");
    const std::string users = std::setlocale(LC_TIME, nullptr);
    std::setlocale(LC_TIME, "C");
    CTime time(-1);
    EXPECT_THROW(
        {
            try {
                AfxFormatDate(time, "%Y");
            } catch (COleException* e) {
                e->Delete();
                throw 0;
            }
        },
        int);
    EXPECT_EQ(std::setlocale(LC_TIME, nullptr), users);
    std::setlocale(LC_TIME, "C");
}

TEST_F(CStringExTest, PatternThatIsNoneEndsInAText) {
    CTime time(2007, 3, 9, 14, 5, 6);
    for (const char* pattern : {"%", "a%", "%!", "%Q", "%Y %", "%%%"}) {
        const CString text = AfxFormatDate(time, pattern);
        EXPECT_LT(text.GetLength(), 128) << pattern;
        EXPECT_STREQ(std::setlocale(LC_TIME, nullptr), "C") << pattern;
    }
    EXPECT_EQ(AfxFormatDate(time, "%Y"), L"2007");
}

// ---- Letters as numbers

TEST_F(CStringExTest, NumbersBecomeLettersInBase26) {
    EXPECT_EQ(AfxIntToAZ(0, 0), L"A");
    EXPECT_EQ(AfxIntToAZ(25, 0), L"Z");
    EXPECT_EQ(AfxIntToAZ(26, 0), L"BA");
    EXPECT_EQ(AfxIntToAZ(27, 0), L"BB");
    EXPECT_EQ(AfxIntToAZ(702, 0), L"BBA");
    EXPECT_EQ(AfxIntToAZ(0, 1), L"a");
    EXPECT_EQ(AfxIntToAZ(702, -1), L"bba");
    EXPECT_EQ(AfxIntToAZ(INT_MAX, 0), L"GYTISYX");
}

TEST_F(CStringExTest, NegativeNumbersAreOneCharacterBelowTheLetters) {
    EXPECT_EQ(AfxIntToAZ(-1, 0), L"@");
    EXPECT_EQ(AfxIntToAZ(-25, 0), L"(");
    EXPECT_EQ(AfxIntToAZ(-26, 0), L"A");
    EXPECT_EQ(AfxIntToAZ(-27, 1), L"`");
    EXPECT_EQ(AfxIntToAZ(INT_MIN, 0).GetLength(), 1);
}

TEST_F(CStringExTest, LettersBecomeNumbers) {
    EXPECT_EQ(AfxAZToInt(L"BA"), 26);
    EXPECT_EQ(AfxAZToInt(L"ba"), 26);
    EXPECT_EQ(AfxAZToInt(L"BBA"), 702);
    EXPECT_EQ(AfxAZToInt(L"AAAB"), 1);
    for (int value : {0, 1, 25, 26, 675, 676, 17575, 17576, 1000000, INT_MAX})
        for (int lower : {0, 1})
            EXPECT_EQ(AfxAZToInt(AfxIntToAZ(value, lower)), value);
}

TEST_F(CStringExTest, TextThatDoesNotEndInALetterIsZero) {
    EXPECT_EQ(AfxAZToInt(L""), 0);
    EXPECT_EQ(AfxAZToInt(nullptr), 0);
    EXPECT_EQ(AfxAZToInt(L"B1"), 0);
    EXPECT_EQ(AfxAZToInt(L"B "), 0);
    EXPECT_EQ(AfxAZToInt(L"B\u00E9"), 0);
    EXPECT_EQ(AfxAZToInt(L"B@"), 0);
    EXPECT_EQ(AfxAZToInt(L"B["), 0);
}

TEST_F(CStringExTest, OtherCharactersAreCountedFromTheLastOnesBase) {
    EXPECT_EQ(AfxAZToInt(L"1A"), (L'1' - L'A') * 26);
    EXPECT_EQ(AfxAZToInt(L"bA"), (L'b' - L'A') * 26);
    EXPECT_EQ(AfxAZToInt(L"Ba"), (L'B' - L'a') * 26);
    // A character outside the basic plane counts as its two UTF-16 units.
    EXPECT_EQ(AfxAZToInt(L"\U0001F600A"), (0xD83D - L'A') * 676 + (0xDE00 - L'A') * 26);
    EXPECT_NE(AfxAZToInt(L"ZZZZZZZZZZZZ"), 0); // wraps
}
