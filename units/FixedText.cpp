#include "units/FixedText.h"

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>

namespace mvlib::units {

namespace {

constexpr int MANTISSA_BITS = 52;
constexpr std::uint64_t SCALES[] = {1, 10, 100, 1000};

struct DigitPairs {
    char digits[200];
};

constexpr DigitPairs MakePairs() {
    DigitPairs pairs = {};
    for (int i = 0; i < 100; ++i) {
        pairs.digits[2 * i] = static_cast<char>('0' + i / 10);
        pairs.digits[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}

constexpr DigitPairs PAIRS = MakePairs();

int CountDigits(std::uint64_t number) {
    int count = 1;
    for (; number >= 10000; number /= 10000)
        count += 4;
    return count + (number >= 10) + (number >= 100) + (number >= 1000);
}

// The digits of `number`, which are `count`.
wchar_t* WriteDigits(wchar_t* text, std::uint64_t number, int count) {
    wchar_t* const end = text + count;
    wchar_t* at = end;
    // Divisions of 32 bits as long as they do: those of 64 are slow on 32-bit targets.
    for (; number > 0xFFFFFFFF; number /= 10)
        *--at = static_cast<wchar_t>(L'0' + number % 10);
    auto rest = static_cast<std::uint32_t>(number);
    for (; at - text >= 2; rest /= 100) {
        const char* pair = PAIRS.digits + std::size_t{2} * (rest % 100);
        at -= 2;
        at[0] = static_cast<wchar_t>(pair[0]);
        at[1] = static_cast<wchar_t>(pair[1]);
    }
    if (at != text)
        *text = static_cast<wchar_t>(L'0' + rest);
    return end;
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
    std::uint64_t whole = scaled / 1000;
    if (decimals != 3)
        whole = decimals == 2 ? scaled / 100 : decimals == 1 ? scaled / 10 : scaled;
    text = WriteDigits(text, whole, CountDigits(whole));
    if (decimals == 0)
        return text;
    *text++ = L'.';
    return WriteDigits(text, scaled - whole * SCALES[decimals], decimals);
}

wchar_t* WriteInt(wchar_t* text, int value) {
    if (value < 0)
        *text++ = L'-';
    const auto number = static_cast<std::uint32_t>(value);
    const std::uint32_t size = value < 0 ? 0 - number : number;
    return WriteDigits(text, size, CountDigits(size));
}

} // namespace mvlib::units
