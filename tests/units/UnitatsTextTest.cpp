// Text to lengths.
#include "Unitats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

constexpr double MM = 2.8346456692913384;

class UnitatsTextTest : public testing::Test {
protected:
    UnitatsTextTest() { AfxSetUnitatsActives(UNITATS_MM); }
    ~UnitatsTextTest() override { AfxSetUnitatsActives(UNITATS_MM); }

    // The number in a text without unit, as eps.
    static double Number(const wchar_t* text) { return unit2eps(text, static_cast<TipusUnitats>(9)); }
};

} // namespace

TEST_F(UnitatsTextTest, ExampleUsage) {
    EXPECT_EQ(unit2eps(L"1 1/2 in", UNITATS_MM), 108.0);
    EXPECT_EQ(unit2eps(L"10", UNITATS_MM), 10 * MM);
    EXPECT_EQ(unit2eps(L"3 ft", UNITATS_MM), 2592.0);
}

// ---- Units in the text

TEST_F(UnitatsTextTest, UnitInTheTextWinsOverTheArgument) {
    EXPECT_EQ(unit2eps(L"1 1/2 in", UNITATS_MM), 108.0);
    EXPECT_EQ(unit2eps(L"1 1/2\"", UNITATS_FT), 108.0);
    EXPECT_EQ(unit2eps(L"10 mm", UNITATS_IN), 10 * MM);
    EXPECT_EQ(unit2eps(L"10cm", UNITATS_IN), 10 * MM * 10.0);
    EXPECT_EQ(unit2eps(L"2ft", UNITATS_CM), 1728.0);
    EXPECT_EQ(unit2eps(L"10", UNITATS_CM), 10 * MM * 10.0);
    EXPECT_EQ(unit2eps(L"10", UNITATS_IN), 720.0);
}

// 0.1 cm: the two multiplications do not give what one would.
TEST_F(UnitatsTextTest, CentimetresAreMultipliedTwice) {
    const double tenth = static_cast<double>(0.1f);
    EXPECT_EQ(unit2eps(L"0.1", UNITATS_CM), tenth * MM * 10.0);
    int differing = 0;
    for (int i = 1; i < 100; ++i) {
        const double eps = unit2eps(std::to_wstring(i).c_str(), UNITATS_CM);
        ASSERT_EQ(eps, i * MM * 10.0);
        differing += eps != i * (MM * 10.0) ? 1 : 0;
    }
    EXPECT_GT(differing, 0);
}

TEST_F(UnitatsTextTest, ActiveUnitCountsWithoutAnother) {
    AfxSetUnitatsActives(UNITATS_FT);
    EXPECT_EQ(unit2eps(L"2", UNITATS_ACTIVES), 1728.0);
    EXPECT_EQ(unit2eps(L"2 in", UNITATS_ACTIVES), 144.0);
}

TEST_F(UnitatsTextTest, InvalidUnitLeavesTheNumber) {
    EXPECT_EQ(Number(L"2.5"), 2.5);
    EXPECT_EQ(unit2eps(L"2.5", static_cast<TipusUnitats>(-2)), 2.5);
}

TEST_F(UnitatsTextTest, UnitsAreFoundAnywhereInTheText) {
    EXPECT_EQ(miraUnitats(L"12 mm"), UNITATS_MM);
    EXPECT_EQ(miraUnitats(L"5\""), UNITATS_IN);
    EXPECT_EQ(miraUnitats(L"2 feet"), UNITATS_ACTIVES);
    EXPECT_EQ(miraUnitats(L"comm"), UNITATS_MM);
    EXPECT_EQ(miraUnitats(L"cm"), UNITATS_CM);
    EXPECT_EQ(miraUnitats(L"5 ft 3 in"), UNITATS_FT) << "feet before inches";
    EXPECT_EQ(miraUnitats(L"in cm mm"), UNITATS_MM);
    EXPECT_EQ(miraUnitats(L"ft cm"), UNITATS_CM);
    EXPECT_EQ(miraUnitats(L"point"), UNITATS_IN) << "the two letters are enough";
    EXPECT_EQ(miraUnitats(L"5 MM"), UNITATS_ACTIVES) << "capitals are other letters";
    EXPECT_EQ(miraUnitats(L"5 IN"), UNITATS_ACTIVES);
    EXPECT_EQ(miraUnitats(L"m m"), UNITATS_ACTIVES);
    EXPECT_EQ(miraUnitats(L""), UNITATS_ACTIVES);
    EXPECT_EQ(miraUnitats(nullptr), UNITATS_ACTIVES);
}

// ---- Numbers

TEST_F(UnitatsTextTest, WhatIsNoNumberIsZero) {
    for (const wchar_t* text : {L"abc", L"", L"   ", L"in", L"-", L"+", L".", L"- 3", L"/2", L"--1", L"inf",
                                L"nan", L"infinity", L"1e", L"1.5e+ in", L"\xFFFD"})
        EXPECT_EQ(unit2eps(text, UNITATS_IN), 0.0) << std::wstring(text).length();
    EXPECT_EQ(unit2eps(nullptr, UNITATS_IN), 0.0);
}

TEST_F(UnitatsTextTest, MixedFractions) {
    EXPECT_EQ(Number(L"1 1/2"), 1.5);
    EXPECT_EQ(Number(L"  1\t1/2  "), 1.5);
    EXPECT_EQ(Number(L"1 3/ 4"), 1.75) << "a blank may stand before a number";
    EXPECT_EQ(Number(L"1 3 /4"), 1.0) << "but not before the stroke";
    EXPECT_EQ(Number(L"1 1/2/3"), 1.5);
    EXPECT_EQ(Number(L"1 4/2"), 3.0);
    EXPECT_EQ(Number(L"0 1/2"), 0.5);
    EXPECT_EQ(Number(L"1\x00A0"
                     L"1/2"),
              1.5)
        << "a no-break space";
    EXPECT_EQ(Number(L"1-1/2"), 0.5) << "the sign begins the numerator";
}

TEST_F(UnitatsTextTest, SignBelongsToTheWholeNumberAlone) {
    EXPECT_EQ(Number(L"-2 1/2"), -1.5) << "kept: written, -2.5 is \"-2 1/2\"";
    EXPECT_EQ(Number(L"-2 -1/2"), -2.5);
    EXPECT_EQ(Number(L"-1/2"), -0.5);
    EXPECT_EQ(Number(L"+1 +1/2"), 1.5);
}

TEST_F(UnitatsTextTest, SimpleFractions) {
    EXPECT_EQ(Number(L"3/4"), 0.75);
    EXPECT_EQ(Number(L"3/ 4"), 0.75);
    EXPECT_EQ(Number(L"3 /4"), 3.0);
    EXPECT_EQ(Number(L"1/3"), 1.0 / 3) << "not rounded to a float";
    EXPECT_EQ(Number(L"1 1/3"), 1.0 / 3 + 1);
    EXPECT_EQ(Number(L"5/"), 5.0);
}

TEST_F(UnitatsTextTest, DenominatorsBelowOneMakeNoFraction) {
    EXPECT_EQ(unit2eps(L"3/0", UNITATS_IN), 216.0);
    EXPECT_EQ(Number(L"3/-4"), 3.0);
    EXPECT_EQ(Number(L"1 3/0"), 1.0);
    EXPECT_EQ(Number(L"1 3/-1"), 1.0);
    EXPECT_EQ(Number(L"3/4294967296"), 3.0) << "0 in 32 bits";
}

TEST_F(UnitatsTextTest, WholeNumbersOfFractionsTakeBases) {
    EXPECT_EQ(Number(L"0x10/4"), 4.0);
    EXPECT_EQ(Number(L"0X1f 1/2"), 31.5);
    EXPECT_EQ(Number(L"010 1/2"), 8.5);
    EXPECT_EQ(Number(L"1/010"), 0.125);
    EXPECT_EQ(Number(L"08/2"), 4.0) << "the octal 0, then 8/2";
    EXPECT_EQ(Number(L"0xg"), 0.0);
    EXPECT_EQ(Number(L"-0x2/1"), -2.0);
}

TEST_F(UnitatsTextTest, DecimalNumbersTakeNoBases) {
    EXPECT_EQ(Number(L"010"), 10.0);
    EXPECT_EQ(Number(L"0x10"), 0.0);
}

TEST_F(UnitatsTextTest, WholeNumbersCountModulo32Bits) {
    EXPECT_EQ(Number(L"4294967297 1/2"), 1.5);
    EXPECT_EQ(Number(L"99999999999999999999999 1/2"), -159383553 + 0.5);
    EXPECT_EQ(Number(L"2147483648/1"), -2147483648.0);
    EXPECT_EQ(Number(L"2147483648"), 2147483648.0) << "a decimal number does not";
}

TEST_F(UnitatsTextTest, DecimalNumbersAreFloats) {
    EXPECT_EQ(Number(L"2.54"), static_cast<double>(2.54f));
    EXPECT_NE(Number(L"2.54"), 2.54);
    EXPECT_EQ(unit2eps(L"2.54", UNITATS_MM), static_cast<double>(2.54f) * MM);
    EXPECT_EQ(Number(L"5."), 5.0);
    EXPECT_EQ(Number(L".5"), 0.5);
    EXPECT_EQ(Number(L"-.5"), -0.5);
    EXPECT_EQ(Number(L"+3"), 3.0);
    EXPECT_EQ(Number(L" 7.25abc"), 7.25);
    EXPECT_EQ(Number(L"1,5"), 1.0) << "the point is the decimal sign everywhere";
    EXPECT_EQ(Number(L"16777217"), 16777216.0);
    EXPECT_TRUE(std::signbit(Number(L"-0")));
}

TEST_F(UnitatsTextTest, Exponents) {
    EXPECT_EQ(Number(L"1e5"), 1e5);
    EXPECT_EQ(Number(L"1E+2"), 100.0);
    EXPECT_EQ(Number(L"25e-1"), 2.5);
    EXPECT_EQ(Number(L"1.5e1x"), 15.0);
    EXPECT_EQ(Number(L"1e39"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number(L"-1e39"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number(L"1e-60"), 0.0);
    EXPECT_EQ(Number(L"0e999999999999999999"), 0.0);
    EXPECT_EQ(Number(L"1e999999999999999999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number(L"1e-999999999999999999"), 0.0);
}

// Whatever the notation, the result is the float nearest to the decimal number.
TEST_F(UnitatsTextTest, DecimalNumbersAreRoundedCorrectly) {
    EXPECT_EQ(Number(L"8388608.5"), 8388608.0);
    EXPECT_EQ(Number(L"8388609.5"), 8388610.0);
    EXPECT_EQ(Number(L"1.00000005960464477539062500"), 1.0) << "just half way: to even";
    EXPECT_EQ(Number(L"1.00000005960464477539062501"), static_cast<double>(std::nextafter(1.0f, 2.0f)));
    EXPECT_EQ(Number(L"0.1"), static_cast<double>(0.1f));
    EXPECT_EQ(Number(L"123456.7"), static_cast<double>(123456.7f));
    EXPECT_EQ(Number(L"0.0000001"), static_cast<double>(0.0000001f));
    EXPECT_EQ(Number(L"3.4028235e38"), static_cast<double>(std::numeric_limits<float>::max()));
    EXPECT_EQ(Number(L"1e-45"), static_cast<double>(std::numeric_limits<float>::denorm_min()));
    for (int i = 0; i < 20000; ++i) {
        const std::string text = std::to_string(i % 9973) + "." + std::to_string(i);
        const std::wstring wide(text.begin(), text.end());
        ASSERT_EQ(Number(wide.c_str()), static_cast<double>(std::strtof(text.c_str(), nullptr))) << text;
    }
}

TEST_F(UnitatsTextTest, LongTexts) {
    const std::wstring zeros(100000, L'0');
    EXPECT_EQ(Number((zeros + L"7").c_str()), 7.0);
    EXPECT_EQ(Number((L"0." + zeros + L"7e100001").c_str()), 7.0f);
    EXPECT_EQ(Number((L"1" + zeros).c_str()), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number((std::wstring(100000, L' ') + L"3/4").c_str()), 0.75);
    EXPECT_EQ(unit2eps((L"3" + std::wstring(100000, L' ') + L"cm").c_str(), UNITATS_IN), 3 * MM * 10.0);
}

// ---- There and back

TEST_F(UnitatsTextTest, WrittenFractionsReadBack) {
    for (int sixteenths = 0; sixteenths < 200; ++sixteenths) {
        const double eps = sixteenths * 72.0 / 16.0;
        const CString text = eps2fraccio(eps, 16, UNITATS_IN, 1);
        ASSERT_DOUBLE_EQ(unit2eps(text, UNITATS_MM), eps) << sixteenths;
    }
}

TEST_F(UnitatsTextTest, WrittenDecimalsReadBackWithinTheirRounding) {
    const double steps[] = {0.1 * MM, 0.1 * MM, 0.072, 0.864};
    for (int unit = 0; unit < 4; ++unit)
        for (double eps = -2000; eps < 2000; eps += 37.7) {
            const CString text = eps2unit(eps, static_cast<TipusUnitats>(unit), 1);
            ASSERT_NEAR(unit2eps(text, UNITATS_ACTIVES), eps, steps[unit] * 0.51) << eps;
        }
}
