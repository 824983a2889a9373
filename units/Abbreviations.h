// The units' abbreviations, as the resources have them now.
#pragma once

#include "Unitats.h"

namespace mvlib::units {

struct Abbreviations {
    static constexpr int ROOM = 32;

    wchar_t text[4][ROOM]; // with a NUL; empty when there is none, or none that fits
    int length[4];
    bool fit;     // all four are as in the resources
    bool letters; // none begins with a character below "A"

    // What miraUnitats answers; meant for abbreviations that fit.
    TipusUnitats Find(const wchar_t* text) const;
};

// Loads the abbreviations anew when the calling thread's resource chain is not what it was.
const Abbreviations& CurrentAbbreviations();

} // namespace mvlib::units
