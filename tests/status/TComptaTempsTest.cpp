#include <TComptaTemps.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

// A stopwatch whose start can be moved.
struct Movable : TComptaTemps {
    void StartedAgo(DWORD milliseconds) { m_dwInici = ::GetTickCount() - milliseconds; }
};

void ExpectSplit(unsigned long milliseconds, int hours, int minutes, int seconds) {
    int h = -1, m = -1, s = -1;
    EXPECT_EQ(TComptaTemps::FormatTemps(milliseconds, h, m, s), 0);
    EXPECT_EQ(h, hours) << milliseconds;
    EXPECT_EQ(m, minutes) << milliseconds;
    EXPECT_EQ(s, seconds) << milliseconds;
}

} // namespace

TEST(TComptaTempsTest, ExampleUsage) {
    Movable watch;
    watch.StartedAgo(3723000);
    int hours, minutes, seconds;
    EXPECT_EQ(watch.GetTempsActual(hours, minutes, seconds), 0);
    EXPECT_EQ(hours, 1);
    EXPECT_EQ(minutes, 2);
    EXPECT_GE(seconds, 3);
    EXPECT_EQ(watch.Reset(), 0);
    EXPECT_LT(watch.GetTempsActual(), 60000u);
}

TEST(TComptaTempsTest, HoldsOneTickCountAndNothingVirtual) {
    EXPECT_EQ(sizeof(TComptaTemps), 4u);
    EXPECT_FALSE(std::is_polymorphic_v<TComptaTemps>);
}

TEST(TComptaTempsTest, StartsAtItsConstruction) {
    const DWORD before = ::GetTickCount();
    const TComptaTemps watch;
    const unsigned long elapsed = watch.GetTempsActual();
    EXPECT_LE(elapsed, ::GetTickCount() - before);
}

TEST(TComptaTempsTest, DurationIsSplitAndCutToSeconds) {
    ExpectSplit(0, 0, 0, 0);
    ExpectSplit(999, 0, 0, 0);
    ExpectSplit(1000, 0, 0, 1);
    ExpectSplit(59999, 0, 0, 59);
    ExpectSplit(60000, 0, 1, 0);
    ExpectSplit(3599999, 0, 59, 59);
    ExpectSplit(3600000, 1, 0, 0);
    ExpectSplit(3723999, 1, 2, 3);
}

TEST(TComptaTempsTest, HoursAreNotReducedToADay) {
    ExpectSplit(90000000, 25, 0, 0);
    ExpectSplit(0xFFFFFFFF, 1193, 2, 47);
}

TEST(TComptaTempsTest, IntervalSurvivesTheWrapOfTheTickCount) {
    Movable watch;
    watch.StartedAgo(0xFFFF0000u); // the start lies beyond the present count
    EXPECT_GE(watch.GetTempsActual(), 0xFFFF0000u);
    EXPECT_LE(watch.GetTempsActual(), 0xFFFFFFFFu);
}
