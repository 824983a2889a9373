#include "units/FixedText.h"

#include <bit>
#include <charconv>
#include <cstdint>

namespace mvlib::units {

namespace {

constexpr int MANTISSA_BITS = 52;
constexpr std::uint64_t SCALES[] = {1, 10, 100, 1000};

// The digits of `number`, at least `least` of them.
wchar_t* WriteDigits(wchar_t* text, std::uint64_t number, int least) {
    wchar_t digits[20];
    wchar_t* const end = digits + 20;
    wchar_t* first = end;
    // Divisions of 32 bits as long as they do: those of 64 are slow on 32-bit targets.
    for (; number > 0xFFFFFFFF; number /= 10)
        *--first = static_cast<wchar_t>(L'0' + number % 10);
    auto rest = static_cast<std::uint32_t>(number);
    for (; rest != 0; rest /= 10)
        *--first = static_cast<wchar_t>(L'0' + rest % 10);
    while (end - first < least)
        *--first = L'0';
    while (first != end)
        *text++ = *first++;
    return text;
}

} // namespace

// A double is a whole number of 53 bits over a power of two. Scaled by 1,000 it still fits 64 bits, and the
// remainder that a shift leaves is exact: so is the rounding, to the even digit when it is just half.
wchar_t* WriteFixed(wchar_t* text, double value, int decimals) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int exponent = static_cast<int>(bits >> MANTISSA_BITS & 0x7FF);
    const std::uint64_t fraction = bits & ((std::uint64_t{1} << MANTISSA_BITS) - 1);
    const int shift = 1023 + MANTISSA_BITS - exponent;
    if (shift <= 0) { // 2^52 or more
        char digits[FIXED_TEXT_SIZE];
        const char* end =
            std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
        for (const char* digit = digits; digit != end; ++digit)
            *text++ = static_cast<wchar_t>(*digit);
        return text;
    }
    std::uint64_t scaled = 0; // below 2^-11 or so, subnormal or not, nothing is left
    if (shift < 64) {
        const std::uint64_t product = (fraction | std::uint64_t{1} << MANTISSA_BITS) * SCALES[decimals];
        const std::uint64_t half = std::uint64_t{1} << (shift - 1);
        const std::uint64_t rest = product & (2 * half - 1);
        scaled = product >> shift;
        scaled += rest > half || (rest == half && (scaled & 1) != 0) ? 1 : 0;
    }
    if (bits >> 63 != 0)
        *text++ = L'-';
    text = WriteDigits(text, scaled, decimals + 1);
    if (decimals == 0)
        return text;
    wchar_t* const point = text - decimals;
    for (wchar_t* at = text; at != point; --at)
        *at = at[-1];
    *point = L'.';
    return text + 1;
}

wchar_t* WriteInt(wchar_t* text, int value) {
    if (value < 0)
        *text++ = L'-';
    const auto number = static_cast<std::uint32_t>(value);
    return WriteDigits(text, value < 0 ? 0 - number : number, 1);
}

} // namespace mvlib::units
