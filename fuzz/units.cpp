// Lengths typed by a user. The input is the text in UTF-8 (any other byte stands for a character of its
// number); its first bytes are tried as a length to write, too.
#include <Unitats.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

bool Same(double a, double b) {
    return a == b ? std::signbit(a) == std::signbit(b) : std::isnan(a) && std::isnan(b);
}

// The unit that the text names, by searching for each.
int NamedUnit(const std::wstring& text) {
    const auto holds = [&](const wchar_t* word) { return text.find(word) != std::wstring::npos; };
    return holds(L"mm") ? 0 : holds(L"cm") ? 1 : holds(L"ft") ? 3 : holds(L"in") || holds(L"\"") ? 2 : -1;
}

void Read(const std::wstring& text) {
    const std::wstring seen = text.c_str(); // up to the first NUL
    const TipusUnitats named = miraUnitats(text.c_str());
    Require(named == NamedUnit(seen));
    const double eps = unit2eps(text.c_str(), UNITATS_IN);
    Require(!std::isnan(eps));
    // Blanks in front change nothing, though the reading takes another way.
    Require(Same(eps, unit2eps((L" " + text).c_str(), UNITATS_IN)));
    Require(Same(eps, unit2eps((L"\t \n" + text).c_str(), UNITATS_IN)));
    // Nor does another unit behind them, when one is named already.
    if (named == UNITATS_MM)
        Require(Same(eps, unit2eps((seen + L" cm").c_str(), UNITATS_FT)));
    if (named != UNITATS_ACTIVES)
        Require(Same(eps, unit2eps(text.c_str(), UNITATS_MM)));
}

void Write(double eps) {
    constexpr int DECIMALS[] = {1, 2, 3, 3, 0};
    constexpr const wchar_t* NAMES[] = {L" mm", L" cm", L" in", L" ft", L" mm"};
    const double converted[] = {eps * 0.35277777777777775, eps * 0.35277777777777775 / 10.0,
                                eps * 0.013888888888888888, eps * 0.0011574074074074073, eps};
    const bool normal = std::fabs(eps) < 1e51;
    for (int unit = 0; unit < 5; ++unit) {
        const CString text = eps2unit(eps, static_cast<TipusUnitats>(unit), 0);
        Require(eps2unit(eps, static_cast<TipusUnitats>(unit), 1) == text + NAMES[unit]);
        if (!normal) {
            Require(text == (eps > 0.0 ? L"#1.INF" : L"-#1.INF"));
            continue;
        }
        char expected[400];
        const auto end = std::to_chars(expected, expected + sizeof expected, converted[unit],
                                       std::chars_format::fixed, DECIMALS[unit])
                             .ptr;
        Require(text == CString(std::wstring(expected, end).c_str()));
        for (const int denominator : {16, 2147483647}) {
            int whole = 0, numerator = 0, reduced = 0;
            unitCalcularFraccio(converted[unit], denominator, whole, numerator, reduced);
            Require(reduced >= 1 && denominator % reduced == 0);
            Require(std::abs(numerator) <= reduced);
            Require(eps2fraccio(eps, denominator, static_cast<TipusUnitats>(unit), 0).GetLength() <= 33);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::wstring text;
    for (std::size_t i = 0; i < size; ++i) {
        // Two-byte sequences are enough to reach the characters that are blanks; the rest stands for itself.
        if ((data[i] & 0xE0) == 0xC0 && i + 1 < size) {
            text += static_cast<wchar_t>((data[i] & 0x1F) << 6 | (data[i + 1] & 0x3F));
            ++i;
        } else {
            text += static_cast<wchar_t>(data[i]);
        }
    }
    Read(text);
    double eps = 0;
    if (size >= sizeof eps) {
        std::memcpy(&eps, data, sizeof eps);
        Write(eps);
    }
    Write(unit2eps(text.c_str(), static_cast<TipusUnitats>(4)));
    return 0;
}
