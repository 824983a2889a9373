// Lengths to text, their parts and their steps.
#include "Unitats.h"

#include "lang/StringIds.h"
#include "units/Abbreviations.h"
#include "units/FixedText.h"

#include <bit>
#include <cmath>
#include <cwchar>
#include <limits>
#include <numeric>

using namespace mvlib::units;

namespace {

constexpr double EPS_TO_MM = 0.35277777777777775;
constexpr double EPS_TO_IN = 0.013888888888888888;
constexpr double EPS_TO_FT = 0.0011574074074074073;
constexpr double NO_LENGTH = 1e51; // from here on
constexpr int DECIMALS[] = {1, 2, 3, 3};

// Kept: centimetres step by the same lengths as millimetres.
constexpr double STEPS[] = {
    0.28346456692913385, 0.28346456692913385, 0.36, 43.2,  // 0.1 mm, 0.1 mm, 0.005 in, 0.05 ft
    1.4173228346456692,  1.4173228346456692,  0.72, 86.4,  // 0.5 mm, 0.5 mm, 0.01 in, 0.1 ft
    2.8346456692913384,  2.8346456692913384,  3.6,  432.0, // 1 mm, 1 mm, 0.05 in, 0.5 ft
    14.173228346456693,  14.173228346456693,  7.2,  864.0, // 5 mm, 5 mm, 0.1 in, 1 ft
};

// Kept: two operations for centimetres; one would round differently.
double FromEps(double eps, TipusUnitats unit) {
    switch (unit) {
    case UNITATS_MM:
        return eps * EPS_TO_MM;
    case UNITATS_CM:
        return eps * EPS_TO_MM / 10.0;
    case UNITATS_IN:
        return eps * EPS_TO_IN;
    case UNITATS_FT:
        return eps * EPS_TO_FT;
    default:
        return eps;
    }
}

bool IsValid(TipusUnitats unit) {
    return unit >= UNITATS_MM && unit <= UNITATS_FT;
}

TipusUnitats Resolve(TipusUnitats unit) {
    return unit == UNITATS_ACTIVES ? AfxGetUnitatsActives() : unit;
}

TipusUnitats ResolveName(TipusUnitats unit) {
    unit = Resolve(unit);
    return IsValid(unit) ? unit : UNITATS_MM;
}

// Writes a length into `text`: what `write` makes of it, or an infinity; then the abbreviation, if any.
template <class Write>
wchar_t* WriteLength(wchar_t* text, double eps, const wchar_t* abbreviation, int abbreviationLength,
                     Write write) {
    if (std::fabs(eps) < NO_LENGTH)
        text = write(text);
    else
        for (const wchar_t* from = eps > 0.0 ? L"#1.INF" : L"-#1.INF"; *from; ++from)
            *text++ = *from;
    if (abbreviation) {
        *text++ = L' ';
        for (int i = 0; i < abbreviationLength; ++i)
            *text++ = abbreviation[i];
    }
    return text;
}

// A length as text. With `isShort` a length below SHORT_BELOW takes no more than SHORT_TEXT characters.
constexpr double SHORT_BELOW = 1e6;
constexpr int SHORT_TEXT = 18;
constexpr int SHORT_ROOM = 23;

template <class Write>
CString ToText(double eps, TipusUnitats unit, int withAbbreviation, bool isShort, Write write) {
    const wchar_t* abbreviation = nullptr;
    int length = 0;
    CString loaded;
    if (withAbbreviation != 0) {
        const Abbreviations& abbreviations = CurrentAbbreviations();
        const TipusUnitats named = ResolveName(unit);
        if (abbreviations.fit) {
            abbreviation = abbreviations.text[named];
            length = abbreviations.length[named];
        } else {
            loaded = unitNomAbr(named);
            abbreviation = loaded;
            length = loaded.GetLength();
        }
    }
    CString result;
    if (isShort && std::fabs(eps) < SHORT_BELOW && length < SHORT_ROOM - SHORT_TEXT) {
        // Straight into the result: copying a few characters that were just written one by one takes longer
        // than writing them.
        wchar_t* const text = result.GetBuffer(SHORT_ROOM);
        result.ReleaseBufferSetLength(
            static_cast<int>(WriteLength(text, eps, abbreviation, length, write) - text));
        return result;
    }
    wchar_t text[FIXED_TEXT_SIZE + Abbreviations::ROOM];
    const bool fits = length < Abbreviations::ROOM;
    const wchar_t* const end = WriteLength(text, eps, abbreviation, fits ? length : 0, write);
    result.SetString(text, static_cast<int>(end - text));
    if (!fits)
        result += loaded;
    return result;
}

// Cut towards zero; what does not fit 32 bits, and what is no number, becomes the nearest that does, or 0.
int Cut(double value) {
    if (!(value < 2147483648.0))
        return value > 0 ? std::numeric_limits<int>::max() : 0;
    return static_cast<int>(value);
}

} // namespace

// ---- Lengths to text

CString eps2unit(double dEps, TipusUnitats nUnitat, int bAbreviatura) {
    nUnitat = Resolve(nUnitat);
    return ToText(dEps, nUnitat, bAbreviatura, true, [=](wchar_t* text) {
        return WriteFixed(text, FromEps(dEps, nUnitat), IsValid(nUnitat) ? DECIMALS[nUnitat] : 0);
    });
}

CString eps2fraccio(double dEps, int nDenominador, TipusUnitats nUnitat, int bAbreviatura) {
    nUnitat = Resolve(nUnitat);
    return ToText(dEps, nUnitat, bAbreviatura, nDenominador < 10000, [=](wchar_t* text) {
        int whole, numerator, denominator;
        unitCalcularFraccio(FromEps(dEps, nUnitat), nDenominador, whole, numerator, denominator);
        if (whole != 0 || numerator == 0)
            text = WriteInt(text, whole);
        if (numerator == 0)
            return text;
        if (whole != 0)
            *text++ = L' ';
        text = WriteInt(text, numerator);
        *text++ = L'/';
        return WriteInt(text, denominator);
    });
}

void unitCalcularFraccio(double dValor, int nDenominador, int& nEnter, int& nNumerador, int& nReduit) {
    const double size = std::fabs(dValor);
    nEnter = Cut(size);
    nNumerador = 0;
    if (nDenominador > 1) {
        // Kept: a numerator that rounds up to the denominator is not carried over.
        nReduit = nDenominador;
        if ((nDenominador & (nDenominador - 1)) == 0) {
            // By a power of two everything is exact, also the short way.
            if (size < 2147483648.0)
                nNumerador = Cut((size - nEnter) * nDenominador + 0.5);
            if (nNumerador > 0) {
                const int both = std::countr_zero(static_cast<unsigned int>(nNumerador | nDenominador));
                nNumerador >>= both;
                nReduit >>= both;
            }
        } else {
            if (size < 2147483648.0)
                nNumerador = Cut((size - nEnter) / (1.0 / nDenominador) + 0.5);
            if (nNumerador > 0) {
                const int divisor = std::gcd(nNumerador, nDenominador);
                nNumerador /= divisor;
                nReduit /= divisor;
            }
        }
    }
    if (dValor < 0) {
        if (nEnter > 0)
            nEnter = -nEnter;
        else
            nNumerador = -nNumerador;
    }
}

int unitUsarFraccions(TipusUnitats nUnitat) {
    return nUnitat == UNITATS_IN || nUnitat == UNITATS_FT ? 1 : 0;
}

// ---- Names

CString unitNom(TipusUnitats nUnitat) {
    CString text;
    text.LoadString(IDS_UNITATS_NOM + static_cast<unsigned int>(ResolveName(nUnitat)));
    return text;
}

CString unitNomAbr(TipusUnitats nUnitat) {
    CString text;
    text.LoadString(IDS_UNITATS_ABR + static_cast<unsigned int>(ResolveName(nUnitat)));
    return text;
}

// ---- Stepping

double spinUnit(double dEps, int bAmunt, TipusUnitats nUnitat, TipusIncrement nIncrement) {
    if (!IsValid(nUnitat) || nIncrement < INCREMENT_0 || nIncrement > INCREMENT_3)
        return dEps;
    const double step = STEPS[nIncrement * 4 + nUnitat];
    return bAmunt != 0 ? dEps + step : dEps - step;
}
