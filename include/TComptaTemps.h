// A stopwatch in milliseconds, and the splitting of a duration for display.
//
// The time is the system's tick count (GetTickCount) in unsigned 32-bit arithmetic: an interval comes out
// right even when the counter wraps within it, as long as it is shorter than 49.7 days. A plain value, to be
// used by one thread at a time; copies go on counting from the same mark.
//
//     TComptaTemps watch;
//     Work();
//     int hours, minutes, seconds;
//     watch.GetTempsActual(hours, minutes, seconds);
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class MVLIB_API TComptaTemps {
public:
    // Starts at the moment of construction.
    TComptaTemps();
    ~TComptaTemps() = default;

    // Starts anew. Answers 0.
    int Reset();
    // Milliseconds since the start.
    unsigned long GetTempsActual() const;
    // The same, split by FormatTemps. Answers 0.
    int GetTempsActual(int& nHores, int& nMinuts, int& nSegons) const;
    // Splits `dwTemps` milliseconds into hours (not reduced to a day), minutes and seconds. What is left
    // below a second is dropped. Only the low 32 bits count. Answers 0.
    static int FormatTemps(unsigned long dwTemps, int& nHores, int& nMinuts, int& nSegons);

protected:
    DWORD m_dwInici;
};
