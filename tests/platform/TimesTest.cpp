// Clocks, file times, system times.
#include "under_wine.h"

#include <gtest/gtest.h>
#include <win32.h>

namespace {

ULONGLONG Ticks(const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME Time(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

constexpr ULONGLONG day = 864000000000ULL;
constexpr ULONGLONG unixEpoch = 116444736000000000ULL;

} // namespace

TEST(Times, ExampleUsage) {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    SYSTEMTIME parts;
    ASSERT_TRUE(FileTimeToSystemTime(&now, &parts));
    EXPECT_GE(parts.wYear, 2020);
}

TEST(Times, EpochsAreBrokenDown) {
    SYSTEMTIME parts;
    const FILETIME zero = Time(0);
    ASSERT_TRUE(FileTimeToSystemTime(&zero, &parts));
    EXPECT_EQ(parts.wYear, 1601);
    EXPECT_EQ(parts.wMonth, 1);
    EXPECT_EQ(parts.wDay, 1);
    EXPECT_EQ(parts.wDayOfWeek, 1);
    const FILETIME epoch = Time(unixEpoch + 12345678);
    ASSERT_TRUE(FileTimeToSystemTime(&epoch, &parts));
    EXPECT_EQ(parts.wYear, 1970);
    EXPECT_EQ(parts.wDayOfWeek, 4);
    EXPECT_EQ(parts.wSecond, 1);
    EXPECT_EQ(parts.wMilliseconds, 234);
}

TEST(Times, EveryDayOfFourCenturiesGoesBothWays) {
    SYSTEMTIME before = {};
    for (ULONGLONG number = 0; number < 146097 + 400; ++number) {
        const FILETIME time = Time(number * day + 37);
        SYSTEMTIME parts;
        ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
        FILETIME back;
        ASSERT_TRUE(SystemTimeToFileTime(&parts, &back));
        ASSERT_EQ(Ticks(back), number * day);
        ASSERT_EQ(parts.wDayOfWeek, (number + 1) % 7);
        ASSERT_TRUE(number == 0 || parts.wDay == before.wDay + 1 || parts.wDay == 1);
        before = parts;
    }
}

TEST(Times, DatesThatDoNotExistAreRefused) {
    FILETIME time;
    const auto refused = [&time](SYSTEMTIME parts) {
        SetLastError(0);
        return !SystemTimeToFileTime(&parts, &time) && GetLastError() == ERROR_INVALID_PARAMETER;
    };
    if (!UnderWine()) { // which lets every February have 29 days
        EXPECT_TRUE(refused({2023, 2, 0, 29, 0, 0, 0, 0}));
        EXPECT_TRUE(refused({1900, 2, 0, 29, 0, 0, 0, 0}));
    }
    EXPECT_TRUE(refused({2024, 2, 0, 30, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 13, 0, 1, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 0, 0, 1, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({1600, 1, 0, 1, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 24, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 0, 60, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 0, 0, 60, 0}));
    EXPECT_FALSE(refused({2024, 2, 6, 29, 23, 59, 59, 999}));
}

TEST(Times, TimeBeyondTheRangeIsRefused) {
    const FILETIME time = Time(0x8000000000000000ULL);
    SYSTEMTIME parts;
    EXPECT_FALSE(FileTimeToSystemTime(&time, &parts));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(Times, LocalTimeIsShiftedBackAndForth) {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    FILETIME local;
    FILETIME back;
    ASSERT_TRUE(FileTimeToLocalFileTime(&now, &local));
    ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
    EXPECT_EQ(Ticks(back), Ticks(now));
    EXPECT_EQ((Ticks(local) - Ticks(now)) % (day / 96), 0u); // a multiple of 15 minutes
}

TEST(Times, ComparisonHasThreeResults) {
    const FILETIME early = Time(5);
    const FILETIME late = Time(0x100000000ULL);
    EXPECT_EQ(CompareFileTime(&early, &late), -1);
    EXPECT_EQ(CompareFileTime(&late, &early), 1);
    EXPECT_EQ(CompareFileTime(&late, &late), 0);
}

TEST(Times, SystemTimeAndFileTimeAgree) {
    SYSTEMTIME parts;
    GetSystemTime(&parts);
    FILETIME first;
    ASSERT_TRUE(SystemTimeToFileTime(&parts, &first));
    FILETIME second;
    GetSystemTimeAsFileTime(&second);
    EXPECT_LT(Ticks(second) - Ticks(first), 5 * 10000000ULL);
    GetLocalTime(&parts);
    EXPECT_GE(parts.wYear, 2020);
}

TEST(Clocks, RunForward) {
    LARGE_INTEGER first;
    LARGE_INTEGER second;
    LARGE_INTEGER frequency;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    ASSERT_TRUE(QueryPerformanceCounter(&first));
    const DWORD tick = GetTickCount();
    const ULONGLONG longTick = GetTickCount64();
    Sleep(40);
    ASSERT_TRUE(QueryPerformanceCounter(&second));
    EXPECT_GE((second.QuadPart - first.QuadPart) * 1000 / frequency.QuadPart, 30);
    // On a busy machine the tick counts may come a little after.
    for (int i = 0; i < 1000 && (GetTickCount() - tick < 30 || GetTickCount64() - longTick < 30); ++i)
        Sleep(1);
    EXPECT_GE(GetTickCount() - tick, 30u);
    EXPECT_GE(GetTickCount64() - longTick, 30u);
}
