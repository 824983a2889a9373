// Clocks and times. Include win32.h, not this file.
#pragma once

// Milliseconds since the system started; GetTickCount wraps after 49.7 days.
MVPLAT_API DWORD WINAPI GetTickCount(void);
MVPLAT_API ULONGLONG WINAPI GetTickCount64(void);
// A steady clock in nanoseconds: the frequency is 1,000,000,000. Always TRUE.
MVPLAT_API BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* count);
MVPLAT_API BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* frequency);

// File times count 100 ns from the first of January 1601 in UTC; system times are broken down.
MVPLAT_API void WINAPI GetSystemTimeAsFileTime(LPFILETIME time);
MVPLAT_API void WINAPI GetSystemTime(LPSYSTEMTIME time);
MVPLAT_API void WINAPI GetLocalTime(LPSYSTEMTIME time);
// FALSE with 87 for a time outside the years 1601 to 30827 or a date that does not exist.
MVPLAT_API BOOL WINAPI FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime);
MVPLAT_API BOOL WINAPI SystemTimeToFileTime(const SYSTEMTIME* systemTime, LPFILETIME fileTime);
// Both use the distance to UTC of this moment, whatever the time asked about, as on Windows.
MVPLAT_API BOOL WINAPI FileTimeToLocalFileTime(const FILETIME* fileTime, LPFILETIME localTime);
MVPLAT_API BOOL WINAPI LocalFileTimeToFileTime(const FILETIME* localTime, LPFILETIME fileTime);
// -1, 0 or 1.
MVPLAT_API LONG WINAPI CompareFileTime(const FILETIME* first, const FILETIME* second);
