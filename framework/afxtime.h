// CTime and CTimeSpan: a moment in seconds since the first of January 1970 in UTC, and a distance of two.
// Both are plain values. Included by afx.h.
#pragma once

#include "cstringt.h"

#include <cstdint>
#include <ctime>

class MVAFX_API CTimeSpan {
public:
    CTimeSpan() noexcept
        : m_timeSpan(0) {}
    CTimeSpan(std::int64_t seconds) noexcept
        : m_timeSpan(seconds) {}
    CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs) noexcept
        : m_timeSpan(nSecs + 60 * (nMins + 60 * (nHours + std::int64_t(24) * lDays))) {}

    LONGLONG GetDays() const noexcept { return m_timeSpan / 86400; }
    LONGLONG GetTotalHours() const noexcept { return m_timeSpan / 3600; }
    LONG GetHours() const noexcept { return static_cast<LONG>(m_timeSpan / 3600 - GetDays() * 24); }
    LONGLONG GetTotalMinutes() const noexcept { return m_timeSpan / 60; }
    LONG GetMinutes() const noexcept { return static_cast<LONG>(m_timeSpan / 60 - GetTotalHours() * 60); }
    LONGLONG GetTotalSeconds() const noexcept { return m_timeSpan; }
    LONG GetSeconds() const noexcept { return static_cast<LONG>(m_timeSpan - GetTotalMinutes() * 60); }
    std::int64_t GetTimeSpan() const noexcept { return m_timeSpan; }

    CTimeSpan operator+(CTimeSpan other) const noexcept { return m_timeSpan + other.m_timeSpan; }
    CTimeSpan operator-(CTimeSpan other) const noexcept { return m_timeSpan - other.m_timeSpan; }
    CTimeSpan& operator+=(CTimeSpan other) noexcept { return *this = *this + other; }
    CTimeSpan& operator-=(CTimeSpan other) noexcept { return *this = *this - other; }
    bool operator==(CTimeSpan other) const noexcept { return m_timeSpan == other.m_timeSpan; }
    auto operator<=>(CTimeSpan other) const noexcept { return m_timeSpan <=> other.m_timeSpan; }

private:
    std::int64_t m_timeSpan;
};

// The getters and Format break a time down to local time (GetGmtTm and FormatGmt to UTC). A time that cannot
// be broken down (before 1970, or beyond the year 3000) gives a null record, and throws COleException with
// E_INVALIDARG from Format and the getters.
class MVAFX_API CTime {
public:
    CTime() noexcept
        : m_time(0) {}
    CTime(std::int64_t time) noexcept
        : m_time(time) {}
    // Local time; nDST > 0 summer time, 0 winter time, -1 as the rules of the place say. Numbers outside
    // their range (year from 1900, month 1 to 12, day 1 to 31 ...) throw COleException with E_INVALIDARG; a
    // day behind the month's last one counts on into the next month.
    CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST = -1);
    // Local time. A year before 1900 gives the time 0.
    CTime(const SYSTEMTIME& sysTime, int nDST = -1);
    // UTC, as the system's files have it. Fractions of a second are dropped.
    CTime(const FILETIME& fileTime);

    static CTime GetCurrentTime() noexcept;

    std::int64_t GetTime() const noexcept { return m_time; }
    // Fills *ptm and returns it; null when ptm is null or the time cannot be broken down.
    struct tm* GetGmtTm(struct tm* ptm) const;
    struct tm* GetLocalTm(struct tm* ptm) const;
    // Local time; FALSE (and an untouched record) when it cannot be broken down.
    bool GetAsSystemTime(SYSTEMTIME& sysTime) const noexcept;

    int GetYear() const;
    int GetMonth() const; // 1 to 12
    int GetDay() const;   // 1 to 31
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetDayOfWeek() const; // 1 Sunday to 7 Saturday

    // By a pattern of wcsftime; at most 127 characters come out, a longer text is empty.
    CString Format(LPCTSTR pszFormat) const;
    CString FormatGmt(LPCTSTR pszFormat) const;

    CTimeSpan operator-(CTime other) const noexcept { return m_time - other.m_time; }
    CTime operator+(CTimeSpan span) const noexcept { return m_time + span.GetTimeSpan(); }
    CTime operator-(CTimeSpan span) const noexcept { return m_time - span.GetTimeSpan(); }
    CTime& operator+=(CTimeSpan span) noexcept { return *this = *this + span; }
    CTime& operator-=(CTimeSpan span) noexcept { return *this = *this - span; }
    bool operator==(CTime other) const noexcept { return m_time == other.m_time; }
    auto operator<=>(CTime other) const noexcept { return m_time <=> other.m_time; }

private:
    std::int64_t m_time;
};
