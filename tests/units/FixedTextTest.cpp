// The library's own writing of decimals, beside the standard library's exact one.
#include "units/FixedText.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace {

std::wstring Ours(double value, int decimals) {
    wchar_t text[mvlib::units::FIXED_TEXT_SIZE];
    return std::wstring(text, mvlib::units::WriteFixed(text, value, decimals));
}

std::wstring Theirs(double value, int decimals) {
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals).ptr;
    return std::wstring(text, end);
}

void ExpectSame(double value) {
    for (int decimals = 0; decimals <= 3; ++decimals)
        for (const double signed_ : {value, -value})
            ASSERT_EQ(Ours(signed_, decimals), Theirs(signed_, decimals)) << std::hexfloat << signed_;
}

} // namespace

TEST(FixedTextTest, SimpleNumbers) {
    EXPECT_EQ(Ours(0.0, 3), L"0.000");
    EXPECT_EQ(Ours(-0.0, 1), L"-0.0");
    EXPECT_EQ(Ours(0.05, 2), L"0.05");
    EXPECT_EQ(Ours(-0.01, 1), L"-0.0") << "the sign of a number that rounds to nothing stays";
    EXPECT_EQ(Ours(12345.678, 2), L"12345.68");
    EXPECT_EQ(Ours(999.9996, 3), L"1000.000");
    EXPECT_EQ(Ours(7.0, 0), L"7");
    EXPECT_EQ(Ours(0.3, 0), L"0");
}

TEST(FixedTextTest, HalvesGoToTheEvenDigit) {
    EXPECT_EQ(Ours(0.5, 0), L"0");
    EXPECT_EQ(Ours(1.5, 0), L"2");
    EXPECT_EQ(Ours(2.5, 0), L"2");
    EXPECT_EQ(Ours(0.25, 1), L"0.2");
    EXPECT_EQ(Ours(0.75, 1), L"0.8");
    EXPECT_EQ(Ours(0.125, 2), L"0.12");
    EXPECT_EQ(Ours(0.0625, 3), L"0.062");
    EXPECT_EQ(Ours(0.35, 1), L"0.3") << "just below the half";
}

TEST(FixedTextTest, EdgesOfTheFormat) {
    ExpectSame(std::numeric_limits<double>::denorm_min());
    ExpectSame(std::numeric_limits<double>::min());
    ExpectSame(std::numeric_limits<double>::max());
    ExpectSame(1e51);
    for (int power = -80; power <= 80; ++power) {
        const double two = std::ldexp(1.0, power);
        ExpectSame(two);
        ExpectSame(std::nextafter(two, 0));
        ExpectSame(std::nextafter(two, 1e300));
        ExpectSame(two * 1.5);
    }
}

TEST(FixedTextTest, AgreesWithTheExactEngine) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 60000; ++i) {
        ExpectSame(static_cast<double>(random() % 100000000) / 1000.0);
        ExpectSame(static_cast<double>(random() % 100000000) / 2048.0); // many halves
        ExpectSame(std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 140) - 120));
    }
}

TEST(FixedTextTest, AgreesOnAnyBits) {
    std::mt19937_64 random(4);
    for (int i = 0; i < 20000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (std::isfinite(value))
            ExpectSame(value);
    }
}

TEST(FixedTextTest, WholeNumbers) {
    const auto write = [](int value) {
        wchar_t text[16];
        return std::wstring(text, mvlib::units::WriteInt(text, value));
    };
    for (const int value :
         {0, 7, -7, 10, 1234567890, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_EQ(write(value), std::to_wstring(value));
}
