// The printf rules of the strings: the same text on every target.
#include <afx.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace {

template <class... Arguments>
std::string Wide(const wchar_t* format, Arguments... arguments) {
    CString text;
    text.Format(format, arguments...);
    return CStringA(text).GetString();
}

template <class... Arguments>
std::string Eight(const char* format, Arguments... arguments) {
    CStringA text;
    text.Format(format, arguments...);
    return text.GetString();
}

constexpr double infinity = std::numeric_limits<double>::infinity();
const double notANumber = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(FormatTest, ExampleUsage) {
    EXPECT_EQ("folder a: 12 files, 3.50 MB (75%)",
              Wide(L"%s %hs: %d files, %.2f MB (%u%%)", L"folder", "a", 12, 3.5, 75u));
}

// ---- Texts

TEST(FormatTest, TextArgumentsAreOfTheStringsOwnKind) {
    EXPECT_EQ("[wide]", Wide(L"[%s]", L"wide"));
    EXPECT_EQ("[narrow]", Wide(L"[%S]", "narrow"));
    EXPECT_EQ("[narrow]", Wide(L"[%hs]", "narrow"));
    EXPECT_EQ("[wide]", Wide(L"[%ls]", L"wide"));
    EXPECT_EQ("[wide]", Wide(L"[%ws]", L"wide"));
    EXPECT_EQ("[narrow]", Wide(L"[%hS]", "narrow"));
    EXPECT_EQ("[wide]", Wide(L"[%lS]", L"wide"));
    EXPECT_EQ("[narrow]", Eight("[%s]", "narrow"));
    EXPECT_EQ("[wide]", Eight("[%S]", L"wide"));
    EXPECT_EQ("[narrow]", Eight("[%hs]", "narrow"));
    EXPECT_EQ("[wide]", Eight("[%ls]", L"wide"));
    EXPECT_EQ("[wide]", Eight("[%ws]", L"wide"));
}

TEST(FormatTest, EightBitTextsConvertByTheCodePage) {
    CString text;
    text.Format(L"%hs", "Excepci\xF3");
    EXPECT_TRUE(text == L"Excepci\u00F3");
    EXPECT_EQ("Excepci\xF3", Eight("%S", L"Excepci\u00F3"));
}

TEST(FormatTest, NullTextIsNamed) {
    EXPECT_EQ("(null)", Wide(L"%s", static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ("(null)", Wide(L"%hs", static_cast<const char*>(nullptr)));
    EXPECT_EQ("(null)", Eight("%s", static_cast<const char*>(nullptr)));
    EXPECT_EQ("(nu", Wide(L"%.3s", static_cast<const wchar_t*>(nullptr)));
}

TEST(FormatTest, TextWidthAndPrecision) {
    EXPECT_EQ("[   ab]", Wide(L"[%5s]", L"ab"));
    EXPECT_EQ("[ab   ]", Wide(L"[%-5s]", L"ab"));
    EXPECT_EQ("[abc]", Wide(L"[%.3s]", L"abcdef"));
    EXPECT_EQ("[]", Wide(L"[%.s]", L"abcdef"));
    EXPECT_EQ("[  abc]", Wide(L"[%*.*s]", 5, 3, L"abcdef"));
    EXPECT_EQ("[abc  ]", Wide(L"[%*.3hs]", -5, "abcdef"));
    EXPECT_EQ("[abcdef]", Wide(L"[%.*s]", -1, L"abcdef"));
    EXPECT_EQ("[000ab]", Wide(L"[%05s]", L"ab"));
}

TEST(FormatTest, PrecisionBoundsWhatIsRead) {
    const wchar_t wide[] = {L'a', L'b', L'c'};
    const char narrow[] = {'a', 'b', 'c'};
    EXPECT_EQ("abc", Wide(L"%.3s", wide));
    EXPECT_EQ("abc", Wide(L"%.3hs", narrow));
    EXPECT_EQ("abc", Eight("%.3ls", wide));
}

TEST(FormatTest, Characters) {
    EXPECT_EQ("[a]", Wide(L"[%c]", L'a'));
    EXPECT_EQ("[a]", Wide(L"[%C]", 'a'));
    EXPECT_EQ("[a]", Wide(L"[%hc]", 'a'));
    EXPECT_EQ("[a]", Wide(L"[%lc]", L'a'));
    EXPECT_EQ("[  a]", Wide(L"[%3c]", L'a'));
    EXPECT_EQ("[a  ]", Wide(L"[%-3c]", L'a'));
    EXPECT_EQ("[a]", Eight("[%c]", 'a'));
    EXPECT_EQ("[a]", Eight("[%C]", L'a'));
    CString text;
    text.Format(L"%hc", static_cast<int>(static_cast<char>(0xE9)));
    EXPECT_TRUE(text == L"\u00E9");
    text.Format(L"a%cb", 0);
    EXPECT_EQ(3, text.GetLength());
    text.Format(L"a%hcb", 0);
    EXPECT_EQ(3, text.GetLength());
}

// ---- Whole numbers

TEST(FormatTest, WholeNumbers) {
    EXPECT_EQ("0 1 -1", Wide(L"%d %i %d", 0, 1, -1));
    EXPECT_EQ("2147483647 -2147483648", Wide(L"%d %d", INT_MAX, INT_MIN));
    EXPECT_EQ("4294967295", Wide(L"%u", 0xFFFFFFFFu));
    EXPECT_EQ("ff FF 377", Wide(L"%x %X %o", 255, 255, 255));
    EXPECT_EQ("12", Eight("%d", 12));
}

TEST(FormatTest, NumberFlags) {
    EXPECT_EQ("+5 -5", Wide(L"%+d %+d", 5, -5));
    EXPECT_EQ(" 5 -5", Wide(L"% d % d", 5, -5));
    EXPECT_EQ("+5", Wide(L"% +d", 5));
    EXPECT_EQ("0xff 0XFF 0377 0 0", Wide(L"%#x %#X %#o %#x %#o", 255, 255, 255, 0, 0));
    EXPECT_EQ("[   42][42   ][00042]", Wide(L"[%5d][%-5d][%05d]", 42, 42, 42));
    EXPECT_EQ("[-0042][42   ]", Wide(L"[%05d][%-05d]", -42, 42));
    EXPECT_EQ("[  007][007  ]", Wide(L"[%05.3d][%-5.3d]", 7, 7));
    EXPECT_EQ("[][0][  ]", Wide(L"[%.0d][%.1d][%2.0d]", 0, 0, 0));
    EXPECT_EQ("[0x00ff][0x0ff]", Wide(L"[%#06x][%#.3x]", 255, 255));
    EXPECT_EQ("[   42][42   ]", Wide(L"[%*d][%*d]", 5, 42, -5, 42));
    EXPECT_EQ("42", Wide(L"%.*d", -3, 42));
}

TEST(FormatTest, NumberSizes) {
    EXPECT_EQ("-9223372036854775808 18446744073709551615",
              Wide(L"%I64d %I64u", static_cast<long long>(INT64_MIN), ~0ULL));
    EXPECT_EQ("-9223372036854775808 18446744073709551615",
              Wide(L"%lld %llu", static_cast<long long>(INT64_MIN), ~0ULL));
    EXPECT_EQ("ffffffffffffffff", Wide(L"%I64x", ~0ULL));
    EXPECT_EQ("-5 4294967291", Wide(L"%I32d %I32u", -5, -5));
    EXPECT_EQ("-1 65535", Wide(L"%hd %hu", 0xFFFF, 0xFFFF));
    EXPECT_EQ("-1 255", Wide(L"%hhd %hhu", 0xFF, 0xFF));
    EXPECT_EQ("-7 7", Wide(L"%ld %lu", -7L, 7UL));
    EXPECT_EQ("7 -7 8 -8", Wide(L"%zu %td %Iu %Id", static_cast<size_t>(7), static_cast<ptrdiff_t>(-7),
                                static_cast<UINT_PTR>(8), static_cast<INT_PTR>(-8)));
    EXPECT_EQ("9", Wide(L"%jd", static_cast<intmax_t>(9)));
    EXPECT_EQ(std::to_string(ULONG_MAX), Wide(L"%lu", ULONG_MAX));
}

TEST(FormatTest, PointersHaveAllDigits) {
    std::string digits = sizeof(void*) == 8 ? "0000000012345ABC" : "12345ABC";
    EXPECT_EQ(digits, Wide(L"%p", reinterpret_cast<void*>(0x12345ABC)));
}

// ---- Reals

TEST(FormatTest, FixedNotation) {
    EXPECT_EQ("0.000000 1.500000 -1.500000", Wide(L"%f %f %f", 0.0, 1.5, -1.5));
    EXPECT_EQ("3 0 2 2", Wide(L"%.0f %.0f %.0f %.0f", 2.6, 0.5, 1.5, 2.5));
    EXPECT_EQ("0.10000000000000000555", Wide(L"%.20f", 0.1));
    EXPECT_EQ("100000000000000000000.00", Wide(L"%.2f", 1e20));
    EXPECT_EQ("1.125 1.12 1.14", Wide(L"%.3f %.2f %.2f", 1.125, 1.125, 1.135));
    EXPECT_EQ("-0.0", Wide(L"%.1f", -0.0));
    EXPECT_EQ("1.", Wide(L"%#.0f", 1.0));
    EXPECT_EQ("[   1.50][1.50   ][0001.50][  +1.50]",
              Wide(L"[%7.2f][%-7.2f][%07.2f][%+7.2f]", 1.5, 1.5, 1.5, 1.5));
    EXPECT_EQ("-01.5", Wide(L"%05.1f", -1.5));
}

TEST(FormatTest, ExponentHasAtLeastTwoDigits) {
    EXPECT_EQ("1.500000e+00 1.500000E+10 1.5e-07 1e+100",
              Wide(L"%e %E %.1e %.0e", 1.5, 1.5e10, 1.5e-7, 1e100));
    EXPECT_EQ("1.e+00", Wide(L"%#.0e", 1.0));
    EXPECT_EQ("0.000000e+00", Wide(L"%e", 0.0));
}

TEST(FormatTest, GeneralNotation) {
    EXPECT_EQ("0 1 1.5 100000 1e+06 1e-05 0.0001",
              Wide(L"%g %g %g %g %g %g %g", 0.0, 1.0, 1.5, 1e5, 1e6, 1e-5, 1e-4));
    EXPECT_EQ("0.1 0.10000000000000001", Wide(L"%.10g %.17g", 0.1, 0.1));
    EXPECT_EQ("1E+100 1e+100", Wide(L"%.10G %.10g", 1e100, 1e100));
    EXPECT_EQ("1.00000 1.00000e+06 1.", Wide(L"%#g %#g %#.1g", 1.0, 1e6, 1.0));
    EXPECT_EQ("1e+06 999999 1e+01", Wide(L"%g %g %.0g", 999999.5, 999999.0, 9.5));
    EXPECT_EQ("[ 1.5][+1.5]", Wide(L"[%4g][%+g]", 1.5, 1.5));
    EXPECT_EQ("72 28.346456692913385", Wide(L"%.17g %.17g", 72.0, 28.346456692913385));
}

TEST(FormatTest, HexadecimalNotation) {
    EXPECT_EQ("0x1p+0 0x1.8p+1 -0x1p-1", Wide(L"%a %a %a", 1.0, 3.0, -0.5));
    EXPECT_EQ("0X1.8P+1", Wide(L"%A", 3.0));
    EXPECT_EQ("0x1.800p+1 0x2p+0", Wide(L"%.3a %.0a", 3.0, 1.75));
}

TEST(FormatTest, InfinitiesAndNotANumber) {
    EXPECT_EQ("inf -inf nan INF NAN",
              Wide(L"%f %e %g %F %G", infinity, -infinity, notANumber, infinity, notANumber));
    EXPECT_EQ("[  inf][ +inf][inf  ]", Wide(L"[%05f][%+5f][%-5f]", infinity, infinity, infinity));
    EXPECT_EQ("nan", Wide(L"%f", -notANumber));
}

TEST(FormatTest, LongDoubleCountsAsDouble) {
    EXPECT_EQ("1.5", Wide(L"%.1Lf", 1.5L));
}

TEST(FormatTest, AnyNumberOfDigits) {
    std::string digits = Wide(L"%.2000f", 0.1);
    EXPECT_EQ(2002u, digits.size());
    EXPECT_EQ(std::string(1900, '0'), digits.substr(102));
    EXPECT_EQ(311u, Wide(L"%.1f", std::numeric_limits<double>::max()).size());
    std::string exponent = Wide(L"%.1500e", 1.5);
    EXPECT_EQ(1506u, exponent.size());
    EXPECT_EQ("e+00", exponent.substr(1502));
    EXPECT_EQ(1102u, Wide(L"%.1100f", 4.9406564584124654e-324).size());
}

// ---- Odd formats

TEST(FormatTest, LonePercentAtTheEndGivesNothing) {
    EXPECT_EQ("Error 5: ", Wide(L"Error %u: %", 5u, L"unused"));
    EXPECT_EQ("", Wide(L"%"));
    EXPECT_EQ("a", Wide(L"a%-5.3l"));
}

TEST(FormatTest, UnknownConversionGivesItsLetter) {
    EXPECT_EQ("y-k", Wide(L"%y-%5k"));
    EXPECT_EQ("100%", Wide(L"100%%"));
}

TEST(FormatTest, StoringThroughAnArgumentIsRefused) {
    int stored = 77;
    EXPECT_EQ("abcd5", Wide(L"abcd%n%d", &stored, 5));
    EXPECT_EQ(77, stored);
}

TEST(FormatTest, NullFormatIsEmpty) {
    CString text(L"x");
    text.Format(static_cast<const wchar_t*>(nullptr));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(FormatTest, ArgumentMayBeTheStringItself) {
    CString text(L"x");
    for (int i = 0; i < 10; ++i) {
        text.Format(L"%s%s", text.GetString(), text.GetString());
    }
    EXPECT_EQ(1024, text.GetLength());
    text.AppendFormat(L"%d", 5);
    EXPECT_TRUE(text.Right(2) == L"x5");
}

TEST(FormatTest, HugeWidthIsRefused) {
    CString text(L"kept");
    try {
        text.Format(L"%2147483647d%2147483647d", 1, 2);
        ADD_FAILURE();
    } catch (COleException* e) {
        EXPECT_EQ(E_INVALIDARG, e->m_sc);
        e->Delete();
    }
    EXPECT_TRUE(text == L"kept");
}

TEST(FormatTest, MissingResourceFormatsNothing) {
    CString text(L"x");
    text.Format(65000u, 5);
    EXPECT_TRUE(text.IsEmpty());
    text = L"x";
    text.AppendFormat(65000u, 5);
    EXPECT_TRUE(text == L"x");
}
