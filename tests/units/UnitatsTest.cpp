// Lengths to text, their parts, names and steps.
#include "Unitats.h"

#include "Idioma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace {

constexpr double INFINITY_ = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TipusUnitats Unit(int number) {
    return static_cast<TipusUnitats>(number);
}

std::wstring Text(double eps, TipusUnitats unit, int abbreviation = 0) {
    return eps2unit(eps, unit, abbreviation).GetString();
}

std::wstring Fraction(double eps, int denominator, TipusUnitats unit = UNITATS_IN, int abbreviation = 0) {
    return eps2fraccio(eps, denominator, unit, abbreviation).GetString();
}

// Whole part, numerator and what is written to the denominator, -99 when nothing is.
std::tuple<int, int, int> Split(double value, int denominator) {
    int whole = 77, numerator = 77, reduced = -99;
    unitCalcularFraccio(value, denominator, whole, numerator, reduced);
    return {whole, numerator, reduced};
}

// The active unit for one test.
class UnitatsTest : public testing::Test {
protected:
    UnitatsTest() { AfxSetUnitatsActives(UNITATS_MM); }
    ~UnitatsTest() override { AfxSetUnitatsActives(UNITATS_MM); }
};

} // namespace

TEST_F(UnitatsTest, ExampleUsage) {
    EXPECT_STREQ(eps2unit(108.0, UNITATS_IN, 1), L"1.500 in");
    EXPECT_STREQ(eps2fraccio(108.0, 16, UNITATS_IN, 1), L"1 1/2 in");
    EXPECT_NEAR(unit2eps(L"38.1 mm", UNITATS_ACTIVES), 108.0, 1e-5);
    EXPECT_STREQ(unitNom(UNITATS_IN), L"inches");
    EXPECT_EQ(spinUnit(108.0, 1, UNITATS_IN, INCREMENT_3), 115.2);
}

// ---- Decimal text

TEST_F(UnitatsTest, OneInchInEveryUnit) {
    EXPECT_EQ(Text(72.0, UNITATS_IN, 1), L"1.000 in");
    EXPECT_EQ(Text(72.0, UNITATS_MM), L"25.4");
    EXPECT_EQ(Text(72.0, UNITATS_CM), L"2.54");
    EXPECT_EQ(Text(72.0, UNITATS_MM, 1), L"25.4 mm");
    EXPECT_EQ(Text(72.0, UNITATS_CM, -5), L"2.54 cm") << "any flag but 0";
    EXPECT_EQ(Text(864.0, UNITATS_FT, 1), L"1.000 ft");
    EXPECT_EQ(Text(72.0, UNITATS_FT), L"0.083");
}

TEST_F(UnitatsTest, SmallAndNegativeLengths) {
    EXPECT_EQ(Text(0.0, UNITATS_CM), L"0.00");
    EXPECT_EQ(Text(-0.0, UNITATS_CM), L"-0.00");
    EXPECT_EQ(Text(1e-7, UNITATS_IN), L"0.000");
    EXPECT_EQ(Text(1e-300, UNITATS_IN), L"0.000");
    EXPECT_EQ(Text(-72.0, UNITATS_MM, 1), L"-25.4 mm");
    EXPECT_EQ(Text(-0.001, UNITATS_MM), L"-0.0");
}

TEST_F(UnitatsTest, LengthsFrom1e51OnAreInfinite) {
    EXPECT_EQ(Text(1e60, UNITATS_IN), L"#1.INF");
    EXPECT_EQ(Text(-1e60, UNITATS_MM, 1), L"-#1.INF mm");
    EXPECT_EQ(Text(1e51, UNITATS_FT), L"#1.INF");
    EXPECT_EQ(Text(-1e51, UNITATS_FT), L"-#1.INF");
    EXPECT_EQ(Text(INFINITY_, UNITATS_CM, 1), L"#1.INF cm");
    EXPECT_EQ(Text(-INFINITY_, UNITATS_CM), L"-#1.INF");
    EXPECT_EQ(Text(NOT_A_NUMBER, UNITATS_MM), L"-#1.INF") << "kept";
    EXPECT_EQ(Text(-NOT_A_NUMBER, UNITATS_MM), L"-#1.INF");
    const double below = std::nextafter(1e51, 0);
    EXPECT_EQ(Text(below, Unit(4)), L"999999999999999827067449201247143863485825906900992")
        << "the last that is not";
    EXPECT_EQ(Text(below, UNITATS_MM).find(L'I'), std::wstring::npos);
}

TEST_F(UnitatsTest, InvalidUnitWritesTheEpsWithoutDecimals) {
    EXPECT_EQ(Text(72.4, Unit(4)), L"72");
    EXPECT_EQ(Text(72.5, Unit(-2)), L"72");
    EXPECT_EQ(Text(73.5, Unit(1000)), L"74");
    EXPECT_EQ(Text(72.0, Unit(4), 1), L"72 mm") << "it counts as millimetres for its name alone";
}

TEST_F(UnitatsTest, ActiveUnitStandsForMinusOne) {
    AfxSetUnitatsActives(UNITATS_FT);
    EXPECT_EQ(Text(864.0, UNITATS_ACTIVES, 1), L"1.000 ft");
    EXPECT_EQ(Fraction(1296.0, 4, UNITATS_ACTIVES, 1), L"1 1/2 ft");
    AfxSetUnitatsActives(UNITATS_CM);
    EXPECT_EQ(Text(72.0, UNITATS_ACTIVES, 1), L"2.54 cm");
}

// Rounding is that of the constants as they are: 25.4 / 72 times 36 is a little below 12.7.
TEST_F(UnitatsTest, ConversionsAreTheStoredConstants) {
    EXPECT_EQ(Text(36.0, UNITATS_MM), L"12.7");
    EXPECT_EQ(Text(0.125 / 0.013888888888888888, UNITATS_IN), L"0.125");
    EXPECT_EQ(Text(0.9 / 0.35277777777777775 / 2, UNITATS_MM), L"0.5");
}

// ---- Fractions

TEST_F(UnitatsTest, FractionsInInches) {
    EXPECT_EQ(Fraction(36.0, 8), L"1/2");
    EXPECT_EQ(Fraction(-180.0, 4, UNITATS_IN, 1), L"-2 1/2 in");
    EXPECT_EQ(Fraction(-18.0, 4), L"-1/4");
    EXPECT_EQ(Fraction(144.0, 8), L"2");
    EXPECT_EQ(Fraction(0.0, 8, UNITATS_IN, 1), L"0 in");
    EXPECT_EQ(Fraction(-144.0, 8), L"-2");
    EXPECT_EQ(Fraction(108.0, 2, UNITATS_CM), L"3 1/1") << "3.81 rounds up in halves";
}

TEST_F(UnitatsTest, DenominatorBelowTwoCutsToTheWholeNumber) {
    for (const int denominator : {1, 0, -8, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(Fraction(107.0, denominator), L"1");
        EXPECT_EQ(Fraction(-215.0, denominator), L"-2");
        EXPECT_EQ(Fraction(-71.0, denominator, UNITATS_IN, 1), L"0 in");
    }
}

TEST_F(UnitatsTest, FractionThatRoundsUpIsNotCarried) {
    EXPECT_EQ(Fraction(0.97 * 72.0, 8), L"1/1") << "kept";
    EXPECT_EQ(Fraction(1.97 * 72.0, 8), L"1 1/1") << "kept";
    EXPECT_EQ(Fraction(-1.97 * 72.0, 8), L"-1 1/1");
    EXPECT_EQ(Fraction(-0.97 * 72.0, 8), L"-1/1");
}

TEST_F(UnitatsTest, FractionOfAnInfiniteLength) {
    EXPECT_EQ(Fraction(1e60, 8), L"#1.INF");
    EXPECT_EQ(Fraction(-1e60, 8, UNITATS_FT, 1), L"-#1.INF ft");
    EXPECT_EQ(Fraction(NOT_A_NUMBER, 8), L"-#1.INF");
}

TEST_F(UnitatsTest, InvalidUnitSplitsTheEps) {
    EXPECT_EQ(Fraction(2.5, 4, Unit(9)), L"2 1/2");
}

TEST_F(UnitatsTest, SplittingReducesAndSigns) {
    EXPECT_EQ(Split(2.5, 8), std::tuple(2, 1, 2));
    EXPECT_EQ(Split(-2.5, 8), std::tuple(-2, 1, 2));
    EXPECT_EQ(Split(-0.25, 8), std::tuple(0, -1, 4));
    EXPECT_EQ(Split(0.97, 8), std::tuple(0, 1, 1));
    EXPECT_EQ(Split(3.0, 8), std::tuple(3, 0, 8)) << "nothing to reduce";
    EXPECT_EQ(Split(0.0625, 8), std::tuple(0, 1, 8)) << "the half goes up";
    EXPECT_EQ(Split(0.0624, 8), std::tuple(0, 0, 8));
    EXPECT_EQ(Split(0.5, 6), std::tuple(0, 1, 2));
    EXPECT_EQ(Split(1.0 / 3, 3), std::tuple(0, 1, 3));
}

TEST_F(UnitatsTest, SplittingWithoutADenominatorLeavesItAlone) {
    EXPECT_EQ(Split(2.9, 1), std::tuple(2, 0, -99));
    EXPECT_EQ(Split(-2.9, 0), std::tuple(-2, 0, -99));
    EXPECT_EQ(Split(-0.9, -3), std::tuple(0, 0, -99));
}

TEST_F(UnitatsTest, SplittingBeyond32BitsStopsAtTheLargest) {
    constexpr int LARGEST = std::numeric_limits<int>::max();
    EXPECT_EQ(Split(2147483647.5, 2), std::tuple(LARGEST, 1, 2));
    EXPECT_EQ(Split(2147483648.5, 2), std::tuple(LARGEST, 0, 2));
    EXPECT_EQ(Split(-1e300, 8), std::tuple(-LARGEST, 0, 8));
    EXPECT_EQ(Split(INFINITY_, 8), std::tuple(LARGEST, 0, 8));
    EXPECT_EQ(Split(NOT_A_NUMBER, 8), std::tuple(0, 0, 8));
    EXPECT_EQ(Split(0.9999999999999999, LARGEST), std::tuple(0, 1, 1));
    EXPECT_EQ(Fraction(1e50, 8), L"2147483647");
}

TEST_F(UnitatsTest, FractionsAreUsedForInchesAndFeet) {
    EXPECT_EQ(unitUsarFraccions(UNITATS_MM), 0);
    EXPECT_EQ(unitUsarFraccions(UNITATS_CM), 0);
    EXPECT_EQ(unitUsarFraccions(UNITATS_IN), 1);
    EXPECT_EQ(unitUsarFraccions(UNITATS_FT), 1);
    AfxSetUnitatsActives(UNITATS_IN);
    EXPECT_EQ(unitUsarFraccions(UNITATS_ACTIVES), 0) << "kept: not resolved";
    EXPECT_EQ(unitUsarFraccions(Unit(4)), 0);
}

// ---- Names

TEST_F(UnitatsTest, NamesAndAbbreviations) {
    const wchar_t* const names[] = {L"milimeters", L"centimeters", L"inches", L"feet"};
    const wchar_t* const abbreviations[] = {L"mm", L"cm", L"in", L"ft"};
    for (int unit = 0; unit < 4; ++unit) {
        EXPECT_STREQ(unitNom(Unit(unit)), names[unit]);
        EXPECT_STREQ(unitNomAbr(Unit(unit)), abbreviations[unit]);
    }
}

TEST_F(UnitatsTest, TextsHaveTheirNumbers) {
    const wchar_t* const texts[] = {L"milimeters",  L"centimeters",  L"inches",  L"feet",
                                    L"mm",          L"cm",           L"in",      L"ft",
                                    L"&Milimeters", L"&Centimeters", L"&Inches", L"&Feet"};
    for (unsigned i = 0; i < 12; ++i) {
        CString text;
        EXPECT_TRUE(text.LoadString(20350 + i));
        EXPECT_STREQ(text, texts[i]);
    }
}

TEST_F(UnitatsTest, NamesOfTheActiveAndOfInvalidUnits) {
    AfxSetUnitatsActives(UNITATS_FT);
    EXPECT_STREQ(unitNom(UNITATS_ACTIVES), L"feet");
    EXPECT_STREQ(unitNomAbr(UNITATS_ACTIVES), L"ft");
    for (const int unit : {4, -2, 1000, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_STREQ(unitNom(Unit(unit)), L"milimeters");
        EXPECT_STREQ(unitNomAbr(Unit(unit)), L"mm");
    }
}

TEST_F(UnitatsTest, NamesDoNotFollowTheCurrentLanguage) {
    const unsigned short before = AfxSetLanguage(0x0407);
    EXPECT_STREQ(unitNom(UNITATS_CM), L"centimeters");
    EXPECT_STREQ(unitNomAbr(UNITATS_CM), L"cm");
    AfxSetLanguage(before);
}

// ---- Steps

TEST_F(UnitatsTest, StepsOfEveryUnit) {
    const double millimetres[] = {0.28346456692913385, 1.4173228346456692, 2.8346456692913384,
                                  14.173228346456693};
    const double inches[] = {0.36, 0.72, 3.6, 7.2};
    const double feet[] = {43.2, 86.4, 432.0, 864.0};
    for (int step = 0; step < 4; ++step) {
        const auto increment = static_cast<TipusIncrement>(step);
        EXPECT_EQ(spinUnit(0.0, 1, UNITATS_MM, increment), millimetres[step]);
        EXPECT_EQ(spinUnit(0.0, 1, UNITATS_CM, increment), millimetres[step]) << "kept: as in millimetres";
        EXPECT_EQ(spinUnit(0.0, 1, UNITATS_IN, increment), inches[step]);
        EXPECT_EQ(spinUnit(0.0, 1, UNITATS_FT, increment), feet[step]);
        EXPECT_EQ(spinUnit(10.0, 0, UNITATS_FT, increment), 10.0 - feet[step]);
        EXPECT_EQ(spinUnit(10.3, -1, UNITATS_IN, increment), 10.3 + inches[step])
            << "not rounded to the grid";
    }
}

TEST_F(UnitatsTest, StepsThatAreNoneLeaveTheLength) {
    AfxSetUnitatsActives(UNITATS_IN);
    EXPECT_EQ(spinUnit(5.0, 1, UNITATS_ACTIVES, INCREMENT_3), 5.0) << "kept: not resolved";
    EXPECT_EQ(spinUnit(5.0, 1, Unit(4), INCREMENT_0), 5.0);
    EXPECT_EQ(spinUnit(5.0, 0, Unit(-7), INCREMENT_0), 5.0);
    EXPECT_EQ(spinUnit(5.0, 1, UNITATS_MM, static_cast<TipusIncrement>(4)), 5.0);
    EXPECT_EQ(spinUnit(5.0, 1, UNITATS_MM, static_cast<TipusIncrement>(-1)), 5.0);
}
