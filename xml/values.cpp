#include "XMLNode.h"

#include "win32.h"
#include "xml/blocks.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

// Blanks, a sign, digits; the limits when the number lies outside them.
long long LeadingInteger(const wchar_t* text, long long least, long long most) {
    while (*text == L' ' || (*text >= L'\t' && *text <= L'\r'))
        ++text;
    bool negative = *text == L'-';
    if (*text == L'-' || *text == L'+')
        ++text;
    long long value = 0; // negative: the lower limit has no positive counterpart
    for (; *text >= L'0' && *text <= L'9'; ++text) {
        int digit = static_cast<int>(*text - L'0');
        if (value < (LLONG_MIN + digit) / 10)
            return negative ? least : most;
        value = value * 10 - digit;
    }
    if (negative)
        return value < least ? least : value;
    return value < -most ? most : -value;
}

} // namespace

const wchar_t* xmltoa(const wchar_t* text, const wchar_t* defaultValue) {
    return text ? text : defaultValue;
}

int xmltoi(const wchar_t* text, int defaultValue) {
    return text && *text ? static_cast<int>(LeadingInteger(text, INT_MIN, INT_MAX)) : defaultValue;
}

long xmltol(const wchar_t* text, long defaultValue) {
    return text && *text ? static_cast<long>(LeadingInteger(text, LONG_MIN, LONG_MAX)) : defaultValue;
}

// Kept: no text was ever converted here, and applications live with the default. Above all the text is never
// used as the format of a scan.
double xmltof(const wchar_t*, double defaultValue) {
    return defaultValue;
}

wchar_t* stringDup(const wchar_t* text, int length) {
    if (!text)
        return nullptr;
    std::size_t units = 0;
    while (text[units] && (length <= 0 || units < static_cast<std::size_t>(length)))
        ++units;
    wchar_t* copy = static_cast<wchar_t*>(std::malloc((units + 1) * sizeof(wchar_t)));
    if (!copy)
        return nullptr;
    std::memcpy(copy, text, units * sizeof(wchar_t));
    copy[units] = 0;
    return copy;
}

void freeXMLString(wchar_t* text) {
    if (text)
        mvxml::GiveBlock(text, _msize(text));
}
