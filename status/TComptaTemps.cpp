#include "TComptaTemps.h"

TComptaTemps::TComptaTemps()
    : m_dwInici(::GetTickCount()) {}

int TComptaTemps::Reset() {
    m_dwInici = ::GetTickCount();
    return 0;
}

unsigned long TComptaTemps::GetTempsActual() const {
    return static_cast<DWORD>(::GetTickCount() - m_dwInici);
}

int TComptaTemps::GetTempsActual(int& nHores, int& nMinuts, int& nSegons) const {
    return FormatTemps(GetTempsActual(), nHores, nMinuts, nSegons);
}

int TComptaTemps::FormatTemps(unsigned long dwTemps, int& nHores, int& nMinuts, int& nSegons) {
    const DWORD time = static_cast<DWORD>(dwTemps);
    const DWORD hours = time / 3600000;
    const DWORD minutes = time % 3600000 / 60000;
    nHores = static_cast<int>(hours);
    nMinuts = static_cast<int>(minutes);
    nSegons = static_cast<int>((time - minutes * 60000 - hours * 3600000) / 1000);
    return 0;
}
