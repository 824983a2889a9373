#include "../win32.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <limits>
#include <string>

namespace {

template <class Unit>
Unit foldCase(Unit unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

// Wide units compare as UTF-16 units do on Windows: a code point beyond the basic plane by its lead
// surrogate.
int orderOf(wchar_t unit) {
    return unit > 0xFFFF ? static_cast<int>(0xD800 + ((unit - 0x10000) >> 10)) : static_cast<int>(unit);
}
int orderOf(char unit) {
    return static_cast<unsigned char>(unit);
}

template <class Unit>
int compareFolded(const Unit* first, const Unit* second, std::size_t count) {
    for (; count > 0; --count, ++first, ++second) {
        const Unit a = foldCase(*first);
        const Unit b = foldCase(*second);
        if (a != b) {
            const int difference = orderOf(a) - orderOf(b);
            return difference != 0 ? difference : a < b ? -1 : 1;
        }
        if (a == 0)
            break;
    }
    return 0;
}

bool isBlank(wchar_t unit) {
    return unit == L' ' || (unit >= L'\t' && unit <= L'\r');
}

LONGLONG parseNumber(const wchar_t* text, LONGLONG lowest, LONGLONG highest) {
    while (isBlank(*text))
        ++text;
    const bool negative = *text == L'-';
    if (*text == L'-' || *text == L'+')
        ++text;
    const ULONGLONG limit = negative ? 0 - static_cast<ULONGLONG>(lowest) : static_cast<ULONGLONG>(highest);
    ULONGLONG value = 0;
    for (; *text >= L'0' && *text <= L'9'; ++text) {
        const ULONGLONG digit = static_cast<ULONGLONG>(*text - L'0');
        if (value > (limit - digit) / 10)
            return negative ? lowest : highest;
        value = value * 10 + digit;
    }
    return static_cast<LONGLONG>(negative ? 0 - value : value);
}

wchar_t* writeNumber(ULONGLONG value, bool negative, wchar_t* buffer, int base) {
    char digits[65];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
    wchar_t* out = buffer;
    if (negative)
        *out++ = L'-';
    for (const char* digit = digits; digit != end; ++digit)
        *out++ = static_cast<wchar_t>(*digit);
    *out = 0;
    return buffer;
}

errno_t refuse(wchar_t* target, size_t size, errno_t error) {
    if (target && size)
        *target = 0;
    errno = error;
    return error;
}

} // namespace

int _wcsicmp(const wchar_t* first, const wchar_t* second) {
    return compareFolded(first, second, SIZE_MAX);
}

int _wcsnicmp(const wchar_t* first, const wchar_t* second, size_t count) {
    return compareFolded(first, second, count);
}

int _stricmp(const char* first, const char* second) {
    return compareFolded(first, second, SIZE_MAX);
}

int _strnicmp(const char* first, const char* second, size_t count) {
    return compareFolded(first, second, count);
}

wchar_t* _wcslwr(wchar_t* text) {
    for (wchar_t* unit = text; *unit; ++unit)
        *unit = foldCase(*unit);
    return text;
}

wchar_t* _wcsupr(wchar_t* text) {
    for (wchar_t* unit = text; *unit; ++unit) {
        if (*unit >= L'a' && *unit <= L'z')
            *unit -= L'a' - L'A';
    }
    return text;
}

wchar_t* _wcsrev(wchar_t* text) {
    for (wchar_t *left = text, *right = text + std::wcslen(text); left < right; ++left)
        std::swap(*left, *--right);
    return text;
}

wchar_t* _wcsdup(const wchar_t* text) {
    return text ? ::wcsdup(text) : nullptr;
}

char* _strdup(const char* text) {
    return text ? ::strdup(text) : nullptr;
}

int _wtoi(const wchar_t* text) {
    return static_cast<int>(parseNumber(text, INT_MIN, INT_MAX));
}

LONGLONG _wtoi64(const wchar_t* text) {
    return parseNumber(text, LLONG_MIN, LLONG_MAX);
}

double _wtof(const wchar_t* text) {
    while (isBlank(*text))
        ++text;
    const bool negative = *text == L'-';
    if (*text == L'-' || *text == L'+')
        ++text;
    // The part that is a number, in the form that from_chars takes: no words such as "inf", no hexadecimal.
    std::string digits;
    const auto takeDigits = [&] {
        const std::size_t before = digits.size();
        for (; *text >= L'0' && *text <= L'9'; ++text)
            digits += static_cast<char>(*text);
        return digits.size() - before;
    };
    std::size_t mantissa = takeDigits();
    if (*text == L'.') {
        digits += '.';
        ++text;
        mantissa += takeDigits();
    }
    if (mantissa == 0)
        return 0.0;
    bool negativeExponent = false;
    if (*text == L'e' || *text == L'E' || *text == L'd' || *text == L'D') {
        const std::size_t mark = digits.size();
        ++text;
        digits += 'e';
        negativeExponent = *text == L'-';
        if (*text == L'-')
            digits += '-';
        if (*text == L'-' || *text == L'+')
            ++text;
        if (takeDigits() == 0) {
            digits.resize(mark);
            negativeExponent = false;
        }
    }
    double value = 0.0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Too large or too small: the exponent's sign and the first digit that counts decide.
        const std::size_t first = digits.find_first_not_of("0.");
        const std::size_t point = digits.find('.');
        const bool small = negativeExponent || (digits.find('e') == std::string::npos && point < first);
        value = small ? 0.0 : HUGE_VAL;
    }
    return negative ? -value : value;
}

wchar_t* _itow(int value, wchar_t* buffer, int base) {
    if (base == 10)
        return _i64tow(value, buffer, base);
    return writeNumber(static_cast<unsigned int>(value), false, buffer, base);
}

wchar_t* _i64tow(LONGLONG value, wchar_t* buffer, int base) {
    const bool negative = base == 10 && value < 0;
    return writeNumber(negative ? 0 - static_cast<ULONGLONG>(value) : static_cast<ULONGLONG>(value), negative,
                       buffer, base);
}

wchar_t* _ui64tow(ULONGLONG value, wchar_t* buffer, int base) {
    return writeNumber(value, false, buffer, base);
}

errno_t wcscpy_s(wchar_t* target, size_t size, const wchar_t* source) {
    if (!target || size == 0)
        return refuse(nullptr, 0, EINVAL);
    if (!source)
        return refuse(target, size, EINVAL);
    const std::size_t length = std::wcslen(source);
    if (length >= size)
        return refuse(target, size, ERANGE);
    std::wmemmove(target, source, length + 1);
    return 0;
}

errno_t wcscat_s(wchar_t* target, size_t size, const wchar_t* source) {
    if (!target || size == 0)
        return refuse(nullptr, 0, EINVAL);
    if (!source)
        return refuse(target, size, EINVAL);
    const std::size_t used = wcsnlen(target, size);
    if (used == size)
        return refuse(target, size, EINVAL); // the target is not terminated
    const std::size_t length = std::wcslen(source);
    if (length >= size - used)
        return refuse(target, size, ERANGE);
    std::wmemmove(target + used, source, length + 1);
    return 0;
}

errno_t wcsncpy_s(wchar_t* target, size_t size, const wchar_t* source, size_t count) {
    constexpr errno_t truncated = 80;
    if (count == 0 && !target && size == 0)
        return 0;
    if (!target || size == 0)
        return refuse(nullptr, 0, EINVAL);
    if (count == 0) {
        *target = 0;
        return 0;
    }
    if (!source)
        return refuse(target, size, EINVAL);
    const std::size_t length = wcsnlen(source, count == _TRUNCATE ? size : count);
    if (length < size) {
        std::wmemcpy(target, source, length);
        target[length] = 0;
        return 0;
    }
    if (count != _TRUNCATE)
        return refuse(target, size, ERANGE);
    std::wmemcpy(target, source, size - 1);
    target[size - 1] = 0;
    return truncated;
}
