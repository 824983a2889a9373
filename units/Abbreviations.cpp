#include "units/Abbreviations.h"

#include "lang/StringIds.h"

#include "afxwin.h"

#include <cwchar>
#include <utility>

namespace mvlib::units {

namespace {

// A thread's copy, and what it was made from. It has nothing to destroy: see platform/thread_end.h.
struct Kept {
    mvafx::ResourceChainState chain;
    Abbreviations abbreviations;
};

constinit thread_local Kept t_kept{};

void Load(Abbreviations& abbreviations) {
    abbreviations.fit = true;
    abbreviations.letters = true;
    for (unsigned int unit = 0; unit < 4; ++unit) {
        CString text;
        text.LoadString(IDS_UNITATS_ABR + unit);
        const bool fits = text.GetLength() < Abbreviations::ROOM;
        abbreviations.fit = abbreviations.fit && fits;
        abbreviations.length[unit] = fits ? text.GetLength() : 0;
        std::wmemcpy(abbreviations.text[unit], text, static_cast<std::size_t>(abbreviations.length[unit]));
        abbreviations.text[unit][abbreviations.length[unit]] = 0;
        abbreviations.letters = abbreviations.letters && !(text.GetLength() > 0 && text[0] < L'A');
    }
}

} // namespace

const Abbreviations& CurrentAbbreviations() {
    Kept& kept = t_kept;
    if (!mvafx::isResourceChainKnown(kept.chain)) {
        const mvafx::ResourceChainState chain = std::exchange(kept.chain, {}); // loading may throw
        Load(kept.abbreviations);
        kept.chain = chain;
    }
    return kept.abbreviations;
}

// One pass over the text, which may name several units: millimetres go before centimetres, feet and inches.
TipusUnitats Abbreviations::Find(const wchar_t* in) const {
    bool centimetres = false, inches = false, feet = false;
    const auto here = [this](const wchar_t* at, TipusUnitats unit) {
        return *at == text[unit][0] &&
               std::wcsncmp(at, text[unit], static_cast<std::size_t>(length[unit])) == 0;
    };
    for (const wchar_t* at = in; *at; ++at) {
        if (*at == L'"')
            inches = true;
        if (letters && *at < L'A')
            continue;
        if (here(at, UNITATS_MM))
            return UNITATS_MM;
        centimetres = centimetres || here(at, UNITATS_CM);
        feet = feet || here(at, UNITATS_FT);
        inches = inches || here(at, UNITATS_IN) || (*at == L'i' && at[1] == L'n');
    }
    return centimetres ? UNITATS_CM : feet ? UNITATS_FT : inches ? UNITATS_IN : UNITATS_ACTIVES;
}

} // namespace mvlib::units
