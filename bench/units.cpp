// Lengths to text and back beside the number formatting and parsing that a program would use instead. The
// peers write into a buffer of their own or read 8-bit text, and know nothing of units but the factor.
#include <benchmark/benchmark.h>
#include <double-conversion/double-conversion.h>
#include <fmt/format.h>
#include <fmt/xchar.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "sink.h"
#include "Unitats.h"

namespace {

constexpr double PER_INCH = 72.0;

std::size_t Count(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

std::vector<double> Lengths(std::size_t count) {
    std::mt19937 random(9);
    std::vector<double> lengths;
    for (std::size_t i = 0; i < count; ++i)
        lengths.push_back(static_cast<double>(random() % 200000000) / 1e5 - 500.0);
    return lengths;
}

// Calls `convert` with every element.
template <class Element, class Convert>
void Each(benchmark::State& state, const std::vector<Element>& elements, Convert convert) {
    for (auto _ : state)
        for (const Element& element : elements)
            convert(element);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- decimal text, three decimals

void ToTextOurs(benchmark::State& state) {
    Each(state, Lengths(Count(state)), [](double eps) { Keep(eps2unit(eps, UNITATS_IN, 0)); });
}
void ToTextToChars(benchmark::State& state) {
    char text[400];
    Each(state, Lengths(Count(state)), [&](double eps) {
        Keep(std::to_chars(text, std::end(text), eps / PER_INCH, std::chars_format::fixed, 3).ptr);
    });
}
void ToTextDoubleConversion(benchmark::State& state) {
    const auto& converter = double_conversion::DoubleToStringConverter::EcmaScriptConverter();
    char text[400];
    Each(state, Lengths(Count(state)), [&](double eps) {
        double_conversion::StringBuilder builder(text, sizeof text);
        converter.ToFixed(eps / PER_INCH, 3, &builder);
        Keep(builder.position());
    });
}
void ToTextFmt(benchmark::State& state) {
    Each(state, Lengths(Count(state)), [](double eps) { Keep(fmt::format(L"{:.3f}", eps / PER_INCH)); });
}
void ToTextSnprintf(benchmark::State& state) {
    char text[400];
    Each(state, Lengths(Count(state)),
         [&](double eps) { Keep(std::snprintf(text, sizeof text, "%.3f", eps / PER_INCH)); });
}

// ---- the same with the unit's abbreviation

void NamedOurs(benchmark::State& state) {
    Each(state, Lengths(Count(state)), [](double eps) { Keep(eps2unit(eps, UNITATS_IN, 1)); });
}
void NamedFmt(benchmark::State& state) {
    const wchar_t* unit = L"in";
    Keep(unit);
    Each(state, Lengths(Count(state)),
         [&](double eps) { Keep(fmt::format(L"{:.3f} {}", eps / PER_INCH, unit)); });
}
void NamedSnprintf(benchmark::State& state) {
    char text[400];
    const char* unit = "in";
    Keep(unit);
    Each(state, Lengths(Count(state)),
         [&](double eps) { Keep(std::snprintf(text, sizeof text, "%.3f %s", eps / PER_INCH, unit)); });
}

// ---- fractions, in sixteenths

void ToFractionOurs(benchmark::State& state) {
    Each(state, Lengths(Count(state)), [](double eps) { Keep(eps2fraccio(eps, 16, UNITATS_IN, 0)); });
}
struct Parts {
    int whole;
    int numerator;
    int denominator = 16;
    explicit Parts(double value)
        : whole(static_cast<int>(value))
        , numerator(static_cast<int>(std::fabs(value - whole) * 16 + 0.5)) {
        if (numerator > 0) {
            const int divisor = std::gcd(numerator, denominator);
            numerator /= divisor;
            denominator /= divisor;
        }
    }
};
void ToFractionFmt(benchmark::State& state) {
    Each(state, Lengths(Count(state)), [&](double eps) {
        const Parts parts(eps / PER_INCH);
        Keep(fmt::format(L"{} {}/{}", parts.whole, parts.numerator, parts.denominator));
    });
}
void ToFractionSnprintf(benchmark::State& state) {
    char text[100];
    Each(state, Lengths(Count(state)), [&](double eps) {
        const Parts parts(eps / PER_INCH);
        Keep(std::snprintf(text, sizeof text, "%i %i/%i", parts.whole, parts.numerator, parts.denominator));
    });
}

// ---- text to length

std::vector<std::string> Decimals(std::size_t count) {
    std::vector<std::string> texts;
    for (double length : Lengths(count))
        texts.push_back(fmt::format("{:.3f}", length));
    return texts;
}
std::vector<std::string> Fractions(std::size_t count) {
    std::vector<std::string> texts;
    int number = 0;
    for (double length : Lengths(count))
        texts.push_back(fmt::format("{} {}/16", static_cast<int>(length), ++number % 15 + 1));
    return texts;
}
std::vector<std::wstring> Wide(const std::vector<std::string>& texts, const wchar_t* unit) {
    std::vector<std::wstring> wide;
    for (const std::string& text : texts)
        wide.push_back(std::wstring(text.begin(), text.end()) + unit);
    return wide;
}

void FromTextOurs(benchmark::State& state) {
    Each(state, Wide(Decimals(Count(state)), L""),
         [](const std::wstring& text) { Keep(unit2eps(text.c_str(), UNITATS_IN)); });
}
void FromTextFromChars(benchmark::State& state) {
    Each(state, Decimals(Count(state)), [](const std::string& text) {
        float value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        Keep(static_cast<double>(value) * PER_INCH);
    });
}
void FromTextDoubleConversion(benchmark::State& state) {
    const double_conversion::StringToDoubleConverter converter(0, 0.0, 0.0, nullptr, nullptr);
    Each(state, Decimals(Count(state)), [&](const std::string& text) {
        int processed = 0;
        const float value = converter.StringToFloat(text.data(), static_cast<int>(text.size()), &processed);
        Keep(static_cast<double>(value) * PER_INCH);
    });
}
void FromTextStrtod(benchmark::State& state) {
    Each(state, Decimals(Count(state)),
         [](const std::string& text) { Keep(std::strtod(text.c_str(), nullptr) * PER_INCH); });
}
void FromTextSscanf(benchmark::State& state) {
    Each(state, Decimals(Count(state)), [](const std::string& text) {
        float value = 0;
        Keep(std::sscanf(text.c_str(), " %f ", &value));
        Keep(static_cast<double>(value) * PER_INCH);
    });
}

void FromNamedOurs(benchmark::State& state) {
    Each(state, Wide(Decimals(Count(state)), L" in"),
         [](const std::wstring& text) { Keep(unit2eps(text.c_str(), UNITATS_MM)); });
}
void FromNamedSscanf(benchmark::State& state) {
    std::vector<std::string> texts = Decimals(Count(state));
    for (std::string& text : texts)
        text += " in";
    Each(state, texts, [](const std::string& text) {
        float value = 0;
        char unit[8];
        Keep(std::sscanf(text.c_str(), " %f %7s", &value, unit));
        Keep(static_cast<double>(value) * PER_INCH);
    });
}

void FromFractionOurs(benchmark::State& state) {
    Each(state, Wide(Fractions(Count(state)), L""),
         [](const std::wstring& text) { Keep(unit2eps(text.c_str(), UNITATS_IN)); });
}
void FromFractionSscanf(benchmark::State& state) {
    Each(state, Fractions(Count(state)), [](const std::string& text) {
        int whole = 0, numerator = 0, denominator = 1;
        Keep(std::sscanf(text.c_str(), " %i %i/%i ", &whole, &numerator, &denominator));
        Keep((static_cast<double>(numerator) / denominator + whole) * PER_INCH);
    });
}

[[maybe_unused]] const bool registered = [] {
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        for (int size : {1000, 10000})
            benchmark::RegisterBenchmark(name, run)->Arg(size);
    };
    add("units/to-text/ours", &ToTextOurs);
    add("units/to-text/peer-to-chars", &ToTextToChars);
    add("units/to-text/peer-double-conversion", &ToTextDoubleConversion);
    add("units/to-text/peer-fmt", &ToTextFmt);
    add("units/to-text/peer-snprintf", &ToTextSnprintf);
    add("units/to-text-named/ours", &NamedOurs);
    add("units/to-text-named/peer-fmt", &NamedFmt);
    add("units/to-text-named/peer-snprintf", &NamedSnprintf);
    add("units/to-fraction/ours", &ToFractionOurs);
    add("units/to-fraction/peer-fmt", &ToFractionFmt);
    add("units/to-fraction/peer-snprintf", &ToFractionSnprintf);
    add("units/from-text/ours", &FromTextOurs);
    add("units/from-text/peer-from-chars", &FromTextFromChars);
    add("units/from-text/peer-double-conversion", &FromTextDoubleConversion);
    add("units/from-text/peer-strtod", &FromTextStrtod);
    add("units/from-text/peer-sscanf", &FromTextSscanf);
    add("units/from-text-named/ours", &FromNamedOurs);
    add("units/from-text-named/peer-sscanf", &FromNamedSscanf);
    add("units/from-fraction/ours", &FromFractionOurs);
    add("units/from-fraction/peer-sscanf", &FromFractionSscanf);
    return true;
}();

} // namespace
