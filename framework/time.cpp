#include "afx.h"

#include <ctime>
#include <cwchar>

namespace {

// The years 1970 to 3000, which Windows' C library breaks down.
constexpr std::int64_t maxTime = 32535215999;
constexpr std::int64_t secondsTo1970 = 11644473600;
constexpr std::int64_t ticksPerSecond = 10000000;

std::int64_t secondsOf(const FILETIME& time) {
    auto ticks = static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return static_cast<std::int64_t>(ticks / ticksPerSecond) - secondsTo1970;
}

std::int64_t localTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST) {
    if (nYear < 1900 || nMonth < 1 || nMonth > 12 || nDay < 1 || nDay > 31 || nHour < 0 || nHour > 23 ||
        nMin < 0 || nMin > 59 || nSec < 0 || nSec > 59)
        AtlThrow(E_INVALIDARG);
    struct tm parts = {};
    parts.tm_year = nYear - 1900;
    parts.tm_mon = nMonth - 1;
    parts.tm_mday = nDay;
    parts.tm_hour = nHour;
    parts.tm_min = nMin;
    parts.tm_sec = nSec;
    parts.tm_isdst = nDST;
    std::int64_t time = _mktime64(&parts);
    if (time == -1)
        AtlThrow(E_INVALIDARG);
    return time;
}

struct tm brokenDown(const CTime& time) {
    struct tm parts = {};
    if (time.GetLocalTm(&parts) == nullptr)
        AtlThrow(E_INVALIDARG);
    return parts;
}

CString formatted(LPCTSTR pszFormat, const struct tm& parts) {
    if (pszFormat == nullptr)
        return CString();
    wchar_t text[128];
    std::size_t nLength = std::wcsftime(text, _countof(text), pszFormat, &parts);
    // Some systems answer the buffer's size, without a NUL, for a text that is one character too long.
    return nLength < _countof(text) ? CString(text, static_cast<int>(nLength)) : CString();
}

} // namespace

CTime::CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST)
    : m_time(localTime(nYear, nMonth, nDay, nHour, nMin, nSec, nDST)) {}

CTime::CTime(const SYSTEMTIME& sysTime, int nDST)
    : m_time(sysTime.wYear < 1900 ? 0
                                  : localTime(sysTime.wYear, sysTime.wMonth, sysTime.wDay, sysTime.wHour,
                                              sysTime.wMinute, sysTime.wSecond, nDST)) {}

CTime::CTime(const FILETIME& fileTime)
    : m_time(secondsOf(fileTime)) {}

CTime CTime::GetCurrentTime() noexcept {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return secondsOf(now);
}

struct tm* CTime::GetGmtTm(struct tm* ptm) const {
    __time64_t time = m_time;
    return ptm != nullptr && m_time >= 0 && m_time <= maxTime && _gmtime64_s(ptm, &time) == 0 ? ptm : nullptr;
}

struct tm* CTime::GetLocalTm(struct tm* ptm) const {
    __time64_t time = m_time;
    return ptm != nullptr && m_time >= 0 && m_time <= maxTime && _localtime64_s(ptm, &time) == 0 ? ptm
                                                                                                 : nullptr;
}

bool CTime::GetAsSystemTime(SYSTEMTIME& sysTime) const noexcept {
    struct tm parts;
    if (GetLocalTm(&parts) == nullptr)
        return false;
    sysTime.wYear = static_cast<WORD>(1900 + parts.tm_year);
    sysTime.wMonth = static_cast<WORD>(1 + parts.tm_mon);
    sysTime.wDayOfWeek = static_cast<WORD>(parts.tm_wday);
    sysTime.wDay = static_cast<WORD>(parts.tm_mday);
    sysTime.wHour = static_cast<WORD>(parts.tm_hour);
    sysTime.wMinute = static_cast<WORD>(parts.tm_min);
    sysTime.wSecond = static_cast<WORD>(parts.tm_sec);
    sysTime.wMilliseconds = 0;
    return true;
}

int CTime::GetYear() const {
    return brokenDown(*this).tm_year + 1900;
}
int CTime::GetMonth() const {
    return brokenDown(*this).tm_mon + 1;
}
int CTime::GetDay() const {
    return brokenDown(*this).tm_mday;
}
int CTime::GetHour() const {
    return brokenDown(*this).tm_hour;
}
int CTime::GetMinute() const {
    return brokenDown(*this).tm_min;
}
int CTime::GetSecond() const {
    return brokenDown(*this).tm_sec;
}
int CTime::GetDayOfWeek() const {
    return brokenDown(*this).tm_wday + 1;
}

CString CTime::Format(LPCTSTR pszFormat) const {
    return formatted(pszFormat, brokenDown(*this));
}
CString CTime::FormatGmt(LPCTSTR pszFormat) const {
    struct tm parts;
    if (GetGmtTm(&parts) == nullptr)
        AtlThrow(E_INVALIDARG);
    return formatted(pszFormat, parts);
}
