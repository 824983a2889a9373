// Text to lengths.
#include "Unitats.h"

#include "units/Abbreviations.h"

#include <charconv>
#include <cwchar>
#include <limits>
#include <string>

using namespace mvlib::units;

namespace {

constexpr double MM_TO_EPS = 2.8346456692913384;
constexpr double IN_TO_EPS = 72.0;
constexpr double FT_TO_EPS = 864.0;

// Kept: two operations for centimetres; one would round differently.
double ToEps(double value, TipusUnitats unit) {
    switch (unit) {
    case UNITATS_MM:
        return value * MM_TO_EPS;
    case UNITATS_CM:
        return value * MM_TO_EPS * 10.0;
    case UNITATS_IN:
        return value * IN_TO_EPS;
    case UNITATS_FT:
        return value * FT_TO_EPS;
    default:
        return value;
    }
}

// ---- The rules of scanf, as they are on Windows on every target

// What the system's wide scanning skips: Unicode's spaces, the no-break ones too.
bool IsSpace(wchar_t character) {
    const auto code = static_cast<unsigned int>(character);
    if (code < 0x80)
        return code == ' ' || (code >= '\t' && code <= '\r');
    return code == 0x85 || code == 0xA0 || code == 0x1680 || (code >= 0x2000 && code <= 0x200A) ||
           code == 0x2028 || code == 0x2029 || code == 0x202F || code == 0x205F || code == 0x3000;
}

const wchar_t* SkipSpace(const wchar_t* text) {
    while (IsSpace(*text))
        ++text;
    return text;
}

bool IsDigit(wchar_t character) {
    return static_cast<unsigned int>(character) - '0' < 10;
}

// The value of a digit of any base; 99 for what is none.
unsigned int DigitValue(wchar_t character) {
    if (IsDigit(character))
        return static_cast<unsigned int>(character - L'0');
    if (character >= L'a' && character <= L'f')
        return static_cast<unsigned int>(character - L'a' + 10);
    if (character >= L'A' && character <= L'F')
        return static_cast<unsigned int>(character - L'A' + 10);
    return 99;
}

// "%i": moves `text` behind the number; false without one. What is beyond 32 bits falls off.
bool ScanInt(const wchar_t*& text, int& number) {
    const wchar_t* at = SkipSpace(text);
    const bool negative = *at == L'-';
    if (*at == L'-' || *at == L'+')
        ++at;
    unsigned int base = 10;
    if (*at == L'0') {
        base = at[1] == L'x' || at[1] == L'X' ? 16 : 8;
        at += base == 16 ? 2 : 0;
    }
    if (DigitValue(*at) >= base)
        return false;
    unsigned int value = 0;
    for (unsigned int digit; (digit = DigitValue(*at)) < base; ++at)
        value = value * base + digit;
    number = static_cast<int>(negative ? 0 - value : value);
    text = at;
    return true;
}

// " %i %i/%i " and then " %i/%i ".
bool ScanFraction(const wchar_t* text, double& value) {
    int first, second, third;
    if (!ScanInt(text, first))
        return false;
    const wchar_t* at = text;
    if (ScanInt(at, second) && *at == L'/' && ScanInt(++at, third) && third > 0) {
        value = static_cast<double>(second) / third + first;
        return true;
    }
    if (*text == L'/' && ScanInt(++text, second) && second > 0) {
        value = static_cast<double>(first) / second;
        return true;
    }
    return false;
}

// The powers of ten that are floats as they stand.
constexpr float POWERS[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f, 1e6f, 1e7f, 1e8f, 1e9f, 1e10f};

// The nearest float to digits with a decimal exponent, by the general way.
float ConvertFloat(const std::string& digits, int exponent) {
    float value = 0;
    const std::string text = digits + 'e' + std::to_string(exponent);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        // Which end of the range: the place of the first digit that counts tells.
        const std::size_t first = digits.find_first_not_of('0');
        const bool large =
            first < digits.size() && static_cast<long long>(digits.size() - first) + exponent > 0;
        return large ? std::numeric_limits<float>::infinity() : 0.0f;
    }
    return value;
}

// " %f ": decimal notation alone, as a float; false when there is no number.
bool ScanFloat(const wchar_t* text, float& value) {
    const wchar_t* at = SkipSpace(text);
    const bool negative = *at == L'-';
    if (*at == L'-' || *at == L'+')
        ++at;
    // Up to seven digits and a power of ten up to 10^10 are floats as they stand, so that one division rounds
    // rightly.
    constexpr unsigned int EXACT = 1u << std::numeric_limits<float>::digits;
    unsigned int mantissa = 0;
    bool exact = true;
    int decimals = 0;
    int count = 0;
    const auto scanDigits = [&] {
        const wchar_t* const start = at;
        for (; IsDigit(*at); ++at) {
            exact = exact && mantissa < EXACT / 16;
            mantissa = exact ? mantissa * 10 + static_cast<unsigned int>(*at - L'0') : 0;
        }
        return static_cast<int>(at - start);
    };
    const wchar_t* const whole = at;
    const int wholeCount = scanDigits();
    count = wholeCount;
    const wchar_t* fraction = at;
    if (*at == L'.') {
        fraction = ++at;
        decimals = scanDigits();
        count += decimals;
    }
    if (count == 0)
        return false;
    int exponent = 0;
    if (*at == L'e' || *at == L'E') {
        ++at;
        const bool minus = *at == L'-';
        if (*at == L'-' || *at == L'+')
            ++at;
        if (!IsDigit(*at))
            return false;
        for (; IsDigit(*at); ++at)
            exponent = exponent < 100000000 ? exponent * 10 + (*at - L'0') : exponent;
        exponent = minus ? -exponent : exponent;
    }
    exponent -= decimals;
    if (exact && exponent <= 0 && exponent >= -10) {
        value = static_cast<float>(mantissa) / POWERS[-exponent];
    } else if (exact && exponent > 0 && exponent <= 10) {
        value = static_cast<float>(mantissa) * POWERS[exponent];
    } else {
        std::string digits;
        for (const wchar_t* digit = whole; digit != whole + wholeCount; ++digit)
            digits += static_cast<char>(*digit);
        for (const wchar_t* digit = fraction; digit != fraction + decimals; ++digit)
            digits += static_cast<char>(*digit);
        value = ConvertFloat(digits, exponent);
    }
    value = negative ? -value : value;
    return true;
}

double ScanNumber(const wchar_t* text) {
    double value;
    if (ScanFraction(text, value))
        return value;
    float decimal;
    return ScanFloat(text, decimal) ? decimal : 0.0;
}

// The usual case in one pass: a decimal number of a few digits, whatever follows being no part of any number.
// Answers where it ends, or null when it takes the rules above to say what the text is.
const wchar_t* ScanPlain(const wchar_t* at, double& value) {
    const bool negative = *at == L'-';
    at += negative ? 1 : 0;
    if (!IsDigit(*at) || (*at == L'0' && at[1] != L'.'))
        return nullptr;
    unsigned int mantissa = 0;
    const wchar_t* const first = at;
    for (; IsDigit(*at); ++at)
        mantissa = mantissa * 10 + static_cast<unsigned int>(*at - L'0');
    const wchar_t* point = at;
    if (*at == L'.') {
        for (++at; IsDigit(*at); ++at)
            mantissa = mantissa * 10 + static_cast<unsigned int>(*at - L'0');
        ++point;
    }
    if (at - first > 8) // seven digits and the point: what follows them did not overflow the mantissa either
        return nullptr;
    const wchar_t* const next = *at == L' ' ? at + 1 : at;
    const bool ends = *next == 0 || *next == L'"' || (*next >= L'a' && *next <= L'z' && *next != L'e');
    if (!ends || (mantissa >> std::numeric_limits<float>::digits) != 0)
        return nullptr;
    const float number = static_cast<float>(mantissa) / POWERS[at - point];
    value = negative ? -number : number;
    return at;
}

bool Holds(const wchar_t* text, const CString& abbreviation) {
    return !abbreviation.IsEmpty() && std::wcsstr(text, abbreviation) != nullptr;
}

// The unit of the text, if it names one, before the argument.
TipusUnitats Choose(TipusUnitats named, TipusUnitats given) {
    return named != UNITATS_ACTIVES ? named : given != UNITATS_ACTIVES ? given : AfxGetUnitatsActives();
}

// Apart, so that the usual case needs no room for it.
[[gnu::noinline]] double ReadAny(const wchar_t* text, TipusUnitats unit) {
    return ToEps(ScanNumber(text), Choose(miraUnitats(text), unit));
}

} // namespace

double unit2eps(const wchar_t* szText, TipusUnitats nUnitat) {
    if (!szText)
        return 0.0;
    const Abbreviations& abbreviations = CurrentAbbreviations();
    if (abbreviations.fit && abbreviations.letters) { // so that a plain number holds none
        double value;
        if (const wchar_t* rest = ScanPlain(szText, value))
            return ToEps(value, Choose(*rest ? abbreviations.Find(rest) : UNITATS_ACTIVES, nUnitat));
    }
    return ReadAny(szText, nUnitat);
}

TipusUnitats miraUnitats(const wchar_t* szText) {
    if (!szText)
        return UNITATS_ACTIVES;
    const Abbreviations& abbreviations = CurrentAbbreviations();
    if (abbreviations.fit)
        return abbreviations.Find(szText);
    for (const TipusUnitats unit : {UNITATS_MM, UNITATS_CM, UNITATS_FT})
        if (Holds(szText, unitNomAbr(unit)))
            return unit;
    if (Holds(szText, unitNomAbr(UNITATS_IN)) || std::wcschr(szText, L'"') || std::wcsstr(szText, L"in"))
        return UNITATS_IN;
    return UNITATS_ACTIVES;
}
