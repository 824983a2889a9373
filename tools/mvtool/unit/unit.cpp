#include "unit.h"

#include "../console.h"
#include "../text.h"

#include "Unitats.h"

#include <algorithm>
#include <charconv>

namespace mvtool::unit {
namespace {

constexpr int kLargestDenominator = 1000000;

// The unit that an option names; the active one when it was not given.
TipusUnitats unitOption(const Arguments& arguments, const char* name) {
    const std::optional<std::string> value = arguments.value(name);
    if (!value) {
        return UNITATS_ACTIVES;
    }
    constexpr const char* kNames[] = {"mm", "cm", "in", "ft"};
    const auto* const found = std::find(std::begin(kNames), std::end(kNames), *value);
    if (found == std::end(kNames)) {
        throw Failure(Exit::usage,
                      std::string("--") + name + " takes mm, cm, in or ft, not " + displayText(*value));
    }
    return static_cast<TipusUnitats>(found - std::begin(kNames));
}

// 0 when no fraction was asked for.
int denominatorOption(const Arguments& arguments) {
    const std::optional<std::string> value = arguments.value("fraction");
    if (!value) {
        return 0;
    }
    int number = 0;
    const auto [end, error] = std::from_chars(value->data(), value->data() + value->size(), number);
    if (error != std::errc() || end != value->data() + value->size() || number < 1 ||
        number > kLargestDenominator) {
        throw Failure(Exit::usage, "--fraction takes a number from 1 to 1000000, not " + displayText(*value));
    }
    return number;
}

Exit convert(const Arguments& arguments) {
    const TipusUnitats from = unitOption(arguments, "from");
    const TipusUnitats to = unitOption(arguments, "to");
    const int denominator = denominatorOption(arguments);
    const int named = arguments.has("number") ? 0 : 1;
    for (const std::string& operand : arguments.operands()) {
        const std::optional<std::wstring> text = toWide(operand);
        // The library reads 0 where there is no number; somebody who types a length wants to be told.
        if (!text ||
            std::none_of(text->begin(), text->end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; })) {
            throw Failure(Exit::usage, "no length: " + displayText(operand));
        }
        const double eps = unit2eps(text->c_str(), from);
        const CString result =
            denominator != 0 ? eps2fraccio(eps, denominator, to, named) : eps2unit(eps, to, named);
        console().print(fromWide(result.GetString()) + '\n');
    }
    return Exit::done;
}

constexpr OptionSpec kOptions[] = {
    {"to", 't', "UNIT", "the unit of the results: mm, cm, in or ft (default: the user's own)"},
    {"from", 'f', "UNIT", "the unit of lengths that name none (default: the user's own)"},
    {"fraction", 0, "N", "write whole numbers and fractions, in parts of N; 1 cuts to whole numbers"},
    {"number", 'n', nullptr, "leave the unit out"},
};

constexpr Command kCommands[] = {
    {"", "LENGTH...", "convert lengths between millimetres, centimetres, inches and feet",
     "A LENGTH is a decimal number (2.54), a fraction (3/4) or both (1 1/2), with or without a unit:\n"
     "mm, cm, in, ft or \" (inches). Each result is a line. Behind \"--\" a LENGTH may be negative; the\n"
     "sign belongs to the whole number alone: \"-2 1/2\" is -1.5.\n",
     1, static_cast<std::size_t>(-1), kOptions, convert},
};

} // namespace

const Family& family() {
    static const Family one = {"unit", "convert lengths between units", "", kCommands};
    return one;
}

} // namespace mvtool::unit
