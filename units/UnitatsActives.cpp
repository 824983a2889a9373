// The active unit.
#include "Unitats.h"

#include "Idioma.h"
#include "TCarpetaRegistry.h"

#include "win32.h"

namespace {

constexpr IDIOMA ENGLISH = 3; // the number that the library's English texts carry

TipusUnitats g_active = UNITATS_ACTIVES; // -1: not known yet

bool IsValid(int unit) {
    return unit >= UNITATS_MM && unit <= UNITATS_FT;
}

TCarpetaRegistry Settings() {
    return TCarpetaRegistry(L".\\Settings");
}

TipusUnitats SystemDefault() {
    wchar_t answer[10] = L"";
    const int length = ::GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IMEASURE, answer, 10);
    const bool american =
        length == 1 || length == 2 ? answer[0] == L'1' && answer[1] == 0 : AfxGetIdioma(nullptr) == ENGLISH;
    return american ? UNITATS_IN : UNITATS_CM;
}

} // namespace

TipusUnitats AfxGetUnitatsActives() {
    if (IsValid(g_active))
        return g_active;
    int stored = UNITATS_ACTIVES;
    Settings().TornaValor(L"Unitats", stored, UNITATS_ACTIVES);
    g_active = IsValid(stored) ? static_cast<TipusUnitats>(stored) : SystemDefault();
    return g_active;
}

TipusUnitats AfxSetUnitatsActives(TipusUnitats nUnitat) {
    const TipusUnitats before = g_active;
    if (nUnitat != before) {
        g_active = nUnitat;
        Settings().EntraValor(L"Unitats", static_cast<unsigned long>(static_cast<unsigned int>(nUnitat)));
    }
    return before;
}
