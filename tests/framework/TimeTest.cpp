// CTime and CTimeSpan.
#include <afx.h>
#include <gtest/gtest.h>

namespace {

template <class Operation>
void ExpectInvalid(Operation operation) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (COleException* e) {
        EXPECT_EQ(E_INVALIDARG, e->m_sc);
        e->Delete();
    }
}

} // namespace

TEST(CTimeTest, ExampleUsage) {
    CTime start(2024, 2, 28, 23, 30, 0);
    CTime end = start + CTimeSpan(1, 2, 0, 5);
    EXPECT_EQ(3, end.GetMonth());
    EXPECT_EQ(1, end.GetDay());
    EXPECT_EQ(1, end.GetHour());
    EXPECT_EQ(5, end.GetSecond());
    EXPECT_EQ(93605, (end - start).GetTotalSeconds());
    EXPECT_TRUE(end.Format(L"%Y-%m-%d") == L"2024-03-01");
}

TEST(CTimeTest, ComponentsComeBack) {
    CTime time(2001, 9, 9, 1, 46, 40);
    EXPECT_EQ(2001, time.GetYear());
    EXPECT_EQ(9, time.GetMonth());
    EXPECT_EQ(9, time.GetDay());
    EXPECT_EQ(1, time.GetHour());
    EXPECT_EQ(46, time.GetMinute());
    EXPECT_EQ(40, time.GetSecond());
    EXPECT_EQ(1, time.GetDayOfWeek()); // a Sunday
    SYSTEMTIME parts;
    ASSERT_TRUE(time.GetAsSystemTime(parts));
    EXPECT_EQ(2001, parts.wYear);
    EXPECT_EQ(0, parts.wDayOfWeek);
    EXPECT_EQ(time, CTime(parts));
}

TEST(CTimeTest, UniversalTime) {
    CTime time(1000000000);
    struct tm parts;
    ASSERT_EQ(&parts, time.GetGmtTm(&parts));
    EXPECT_EQ(101, parts.tm_year);
    EXPECT_EQ(8, parts.tm_mon);
    EXPECT_EQ(1, parts.tm_hour);
    EXPECT_TRUE(time.FormatGmt(L"%Y-%m-%d %H:%M:%S") == L"2001-09-09 01:46:40");
}

TEST(CTimeTest, FileTimesAreUniversal) {
    ULONGLONG ticks = (1000000000ULL + 11644473600ULL) * 10000000 + 9999999; // the fraction is dropped
    FILETIME fileTime = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    EXPECT_EQ(1000000000, CTime(fileTime).GetTime());
}

TEST(CTimeTest, CurrentTimePasses) {
    CTime first = CTime::GetCurrentTime();
    EXPECT_LT(CTime(2020, 1, 1, 0, 0, 0), first);
    EXPECT_LE(first, CTime::GetCurrentTime());
}

TEST(CTimeTest, ImpossibleTimesAreRefused) {
    ExpectInvalid([] { CTime(1899, 1, 1, 0, 0, 0); });
    ExpectInvalid([] { CTime(2000, 13, 1, 0, 0, 0); });
    ExpectInvalid([] { CTime(2000, 0, 1, 0, 0, 0); });
    ExpectInvalid([] { CTime(2000, 1, 32, 0, 0, 0); });
    ExpectInvalid([] { CTime(2000, 1, 1, 24, 0, 0); });
    ExpectInvalid([] { CTime(2000, 1, 1, 0, 60, 0); });
    ExpectInvalid([] { CTime(2000, 1, 1, 0, 0, 60); });
    ExpectInvalid([] { CTime(1950, 1, 1, 0, 0, 0); });
    EXPECT_EQ(CTime(2023, 3, 2, 0, 0, 0), CTime(2023, 2, 30, 0, 0, 0));
    SYSTEMTIME nothing = {};
    EXPECT_EQ(0, CTime(nothing).GetTime());
}

TEST(CTimeTest, TimesOutsideTheCalendarCannotBeBrokenDown) {
    for (std::int64_t value : {std::int64_t(-1), std::int64_t(32535216000)}) {
        CTime time(value);
        struct tm parts;
        EXPECT_EQ(nullptr, time.GetLocalTm(&parts));
        EXPECT_EQ(nullptr, time.GetGmtTm(&parts));
        SYSTEMTIME systemTime;
        EXPECT_FALSE(time.GetAsSystemTime(systemTime));
        ExpectInvalid([&] { time.GetYear(); });
        ExpectInvalid([&] { time.Format(L"%Y"); });
        ExpectInvalid([&] { time.FormatGmt(L"%Y"); });
    }
    EXPECT_EQ(nullptr, CTime(5).GetGmtTm(nullptr));
    EXPECT_TRUE(CTime(32535215999).FormatGmt(L"%Y-%m-%d") == L"3000-12-31");
}

TEST(CTimeTest, TooLongTextIsEmpty) {
    CTime time(1000000000);
    EXPECT_TRUE(time.FormatGmt(nullptr).IsEmpty());
    CString pattern;
    for (int i = 0; i < 32; ++i) {
        pattern += L"%Y";
    }
    EXPECT_TRUE(time.FormatGmt(pattern).IsEmpty());
    EXPECT_EQ(124, time.FormatGmt(pattern.Left(62)).GetLength());
}

TEST(CTimeSpanTest, ComponentsComeBack) {
    CTimeSpan span(2, 3, 4, 5);
    EXPECT_EQ(183845, span.GetTotalSeconds());
    EXPECT_EQ(2, span.GetDays());
    EXPECT_EQ(3, span.GetHours());
    EXPECT_EQ(4, span.GetMinutes());
    EXPECT_EQ(5, span.GetSeconds());
    EXPECT_EQ(51, span.GetTotalHours());
    EXPECT_EQ(3064, span.GetTotalMinutes());
    EXPECT_EQ(CTimeSpan(0, 0, 0, 5), span - CTimeSpan(2, 3, 4, 0));
    EXPECT_LT(CTimeSpan(5), CTimeSpan(6));
}
