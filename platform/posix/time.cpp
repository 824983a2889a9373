#include "internal/times.h"

#include <ctime>

namespace {

constexpr ULONGLONG ticksPerMillisecond = 10000;
constexpr ULONGLONG ticksPerSecond = 10000000;
constexpr ULONGLONG secondsPerDay = 86400;
// From the first of January 1601 to the same day of 1970.
constexpr ULONGLONG ticksToUnixEpoch = 116444736000000000ULL;

timespec clockNow(clockid_t clock) {
    timespec now;
    clock_gettime(clock, &now);
    return now;
}

bool isLeap(unsigned year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

unsigned daysInMonth(unsigned year, unsigned month) {
    constexpr unsigned char days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeap(year) ? 29 : days[month - 1];
}

// Days from the first of January 1601 to the first of January of a year.
ULONGLONG daysBeforeYear(unsigned year) {
    const ULONGLONG past = year - 1601;
    return past * 365 + past / 4 - past / 100 + past / 400;
}

void breakDown(ULONGLONG ticks, LPSYSTEMTIME time) {
    time->wMilliseconds = static_cast<WORD>(ticks / ticksPerMillisecond % 1000);
    const ULONGLONG seconds = ticks / ticksPerSecond;
    const ULONGLONG ofDay = seconds % secondsPerDay;
    time->wHour = static_cast<WORD>(ofDay / 3600);
    time->wMinute = static_cast<WORD>(ofDay / 60 % 60);
    time->wSecond = static_cast<WORD>(ofDay % 60);
    ULONGLONG days = seconds / secondsPerDay;
    time->wDayOfWeek = static_cast<WORD>((days + 1) % 7); // the first day of 1601 was a Monday
    unsigned year = static_cast<unsigned>(1601 + days / 366);
    while (daysBeforeYear(year + 1) <= days)
        ++year;
    days -= daysBeforeYear(year);
    unsigned month = 1;
    while (days >= daysInMonth(year, month))
        days -= daysInMonth(year, month++);
    time->wYear = static_cast<WORD>(year);
    time->wMonth = static_cast<WORD>(month);
    time->wDay = static_cast<WORD>(days + 1);
}

// The distance of local time to UTC now, in ticks.
LONGLONG localDistance() {
    const time_t now = clockNow(CLOCK_REALTIME).tv_sec;
    tm local;
    localtime_r(&now, &local);
    return static_cast<LONGLONG>(local.tm_gmtoff) * static_cast<LONGLONG>(ticksPerSecond);
}

BOOL shift(const FILETIME* from, LPFILETIME to, LONGLONG distance) {
    const ULONGLONG ticks = mvplat::ticksOf(*from);
    const ULONGLONG moved = ticks + static_cast<ULONGLONG>(distance);
    if (ticks >> 63 || moved >> 63) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *to = mvplat::fileTimeOf(moved);
    return TRUE;
}

} // namespace

namespace mvplat {

ULONGLONG ticksOf(const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME fileTimeOf(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

FILETIME fileTimeOf(const timespec& time) {
    return fileTimeOf(ticksToUnixEpoch + static_cast<ULONGLONG>(time.tv_sec) * ticksPerSecond +
                      static_cast<ULONGLONG>(time.tv_nsec) / 100);
}

timespec timespecOf(const FILETIME& time) {
    const LONGLONG sinceEpoch = static_cast<LONGLONG>(ticksOf(time) - ticksToUnixEpoch);
    timespec result;
    result.tv_sec = sinceEpoch / static_cast<LONGLONG>(ticksPerSecond);
    LONGLONG rest = sinceEpoch % static_cast<LONGLONG>(ticksPerSecond);
    if (rest < 0) {
        rest += static_cast<LONGLONG>(ticksPerSecond);
        --result.tv_sec;
    }
    result.tv_nsec = rest * 100;
    return result;
}

} // namespace mvplat

DWORD GetTickCount() {
    return static_cast<DWORD>(GetTickCount64());
}

ULONGLONG GetTickCount64() {
    const timespec now = clockNow(CLOCK_MONOTONIC);
    return static_cast<ULONGLONG>(now.tv_sec) * 1000 + static_cast<ULONGLONG>(now.tv_nsec) / 1000000;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    const timespec now = clockNow(CLOCK_MONOTONIC);
    count->QuadPart = static_cast<LONGLONG>(now.tv_sec) * 1000000000 + now.tv_nsec;
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    frequency->QuadPart = 1000000000;
    return TRUE;
}

void GetSystemTimeAsFileTime(LPFILETIME time) {
    *time = mvplat::fileTimeOf(clockNow(CLOCK_REALTIME));
}

void GetSystemTime(LPSYSTEMTIME time) {
    breakDown(mvplat::ticksOf(mvplat::fileTimeOf(clockNow(CLOCK_REALTIME))), time);
}

void GetLocalTime(LPSYSTEMTIME time) {
    const ULONGLONG now = mvplat::ticksOf(mvplat::fileTimeOf(clockNow(CLOCK_REALTIME)));
    breakDown(now + static_cast<ULONGLONG>(localDistance()), time);
}

BOOL FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime) {
    const ULONGLONG ticks = mvplat::ticksOf(*fileTime);
    if (ticks >> 63) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    breakDown(ticks, systemTime);
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, LPFILETIME fileTime) {
    const SYSTEMTIME& time = *systemTime;
    // The day of the week is not looked at.
    if (time.wYear < 1601 || time.wYear > 30827 || time.wMonth < 1 || time.wMonth > 12 || time.wDay < 1 ||
        time.wDay > daysInMonth(time.wYear, time.wMonth) || time.wHour > 23 || time.wMinute > 59 ||
        time.wSecond > 59 || time.wMilliseconds > 999) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    ULONGLONG days = daysBeforeYear(time.wYear) + time.wDay - 1;
    for (unsigned month = 1; month < time.wMonth; ++month)
        days += daysInMonth(time.wYear, month);
    const ULONGLONG seconds = days * secondsPerDay + time.wHour * 3600u + time.wMinute * 60u + time.wSecond;
    *fileTime = mvplat::fileTimeOf(seconds * ticksPerSecond + time.wMilliseconds * ticksPerMillisecond);
    return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* fileTime, LPFILETIME localTime) {
    return shift(fileTime, localTime, localDistance());
}

BOOL LocalFileTimeToFileTime(const FILETIME* localTime, LPFILETIME fileTime) {
    return shift(localTime, fileTime, -localDistance());
}

LONG CompareFileTime(const FILETIME* first, const FILETIME* second) {
    const ULONGLONG a = mvplat::ticksOf(*first);
    const ULONGLONG b = mvplat::ticksOf(*second);
    return a < b ? -1 : a > b ? 1 : 0;
}
