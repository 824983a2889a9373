// Lengths: from the unit in which they are kept to text in a unit of the user's choice, and back.
//
// Everywhere in the applications a length is a double in points of 1/72 inch, here called eps. These
// functions write one as decimal number or as mixed fraction, read what the user typed (with or without a
// unit), step a value up and down, name the units, and keep the user's own unit, the active one, in the
// registry.
//
// A unit argument of -1 (UNITATS_ACTIVES) stands for the active unit, except in unitUsarFraccions and
// spinUnit. Other values than -1 to 3 are no valid arguments; what they do is said at each function, and none
// does harm. Nothing here fails: a length that cannot be written becomes an infinity's text, a text that
// cannot be read is 0.
//
// Threads: the active unit is one unguarded global; the functions are meant for the user-interface thread.
//
//     CString text = eps2unit(108.0, UNITATS_IN, 1);             // "1.500 in"
//     text = eps2fraccio(108.0, 16, UNITATS_IN, 1);              // "1 1/2 in"
//     double eps = unit2eps(L"38.1 mm", UNITATS_ACTIVES);        // 108, save for the rounding to a float
#pragma once

#include "mvlib_export.h"

#include "afx.h"

// The units; the numbers are kept in the registry.
enum TipusUnitats : int {
    UNITATS_ACTIVES = -1, // the user's own
    UNITATS_MM = 0,       // millimetres
    UNITATS_CM = 1,       // centimetres
    UNITATS_IN = 2,       // inches
    UNITATS_FT = 3        // feet
};

// The steps of spinUnit, from the finest to the coarsest:
//
//     step   mm and cm   in         ft
//     0      0.1 mm      0.005 in   0.05 ft
//     1      0.5 mm      0.01 in    0.1 ft
//     2      1 mm        0.05 in    0.5 ft
//     3      5 mm        0.1 in     1 ft
enum TipusIncrement : int { INCREMENT_0 = 0, INCREMENT_1 = 1, INCREMENT_2 = 2, INCREMENT_3 = 3 };

// ---- The active unit

// The user's unit, 0 to 3: the one last set or read; else the value "Unitats" of the registry folder
// ".\Settings" of the current user; else inches where the system measures in the U.S. way and centimetres
// where it does not; else, when the system does not say, inches where AfxGetIdioma(null) is 3 (English). What
// was found is kept for the process; a default is not written to the registry.
MVLIB_API TipusUnitats AfxGetUnitatsActives();
// Sets the active unit for this process and writes it to the registry; a write that fails is ignored. Answers
// the one kept until now, -1 when none was asked for or set yet. Nothing is written when that is the same.
// Any value is taken and written; AfxGetUnitatsActives looks for a valid one when it is not 0 to 3.
MVLIB_API TipusUnitats AfxSetUnitatsActives(TipusUnitats nUnitat);

// ---- Lengths to text

// `dEps` as decimal number: one decimal in millimetres, two in centimetres, three in inches and feet,
// correctly rounded; a blank and the unit's abbreviation behind it when `bAbreviatura` is not 0. From 1e51 on
// the number is
// "#1.INF" or "-#1.INF"; not a number gives "-#1.INF" too. An invalid unit: the eps without decimals.
MVLIB_API CString eps2unit(double dEps, TipusUnitats nUnitat, int bAbreviatura);
// `dEps` as whole number and fraction, "2", "2 1/2" or "1/2", in parts of `nDenominador`; below 2 there is no
// fraction, and the number is cut, not rounded. The sign stands once, in front. The rest is as in eps2unit.
// Kept: a fraction that rounds up to a whole stands as it is, so that 1.97 in eighths is "1 1/1".
MVLIB_API CString eps2fraccio(double dEps, int nDenominador, TipusUnitats nUnitat, int bAbreviatura);
// Splits a value for eps2fraccio: the whole part, cut towards zero; the numerator, rounded half up; the
// denominator that is left after reducing. The sign is on `nEnter`, or on `nNumerador` when that is 0. With
// `nDenominador` below 2 the numerator is 0 and `nReduit` is not written. A whole part beyond 32 bits is
// 2147483647, without a fraction.
MVLIB_API void unitCalcularFraccio(double dValor, int nDenominador, int& nEnter, int& nNumerador,
                                   int& nReduit);
// 1 for the units whose lengths are usually written with fractions, inches and feet; else 0. -1 gives 0.
MVLIB_API int unitUsarFraccions(TipusUnitats nUnitat);

// ---- Text to lengths

// Reads a length: a whole number and a fraction ("1 1/2"), a fraction ("3/4") or a decimal number, as scanf
// does with
// "%i %i/%i", "%i/%i" and "%f"; the number counts in the unit that miraUnitats finds in the text, else in
// `nUnitat`. 0 when there is no number, or for null; what follows the number is not looked at. An invalid
// unit: the number is eps.
//   - Whole numbers take "0x" for hexadecimal and a leading "0" for octal, in fractions only; they count
//   modulo 2^32.
//   - A fraction with a denominator below 1 is none: "3/0" reads 3.
//   - A decimal number is rounded to a float. "." is the decimal point; "1e3" is understood; "1e", "inf" and
//   the like
//     are no numbers.
//   - Kept: the sign belongs to the whole number alone, so that "-2 1/2" reads as -1.5.
MVLIB_API double unit2eps(const wchar_t* szText, TipusUnitats nUnitat);
// The unit that a text names, or -1: 0, 1 or 3 when it holds that unit's abbreviation anywhere, tried in this
// order, else 2 when it holds that of inches, a '"' or "in". Upper and lower case differ. -1 for null.
MVLIB_API TipusUnitats miraUnitats(const wchar_t* szText);

// ---- Names

// The unit's name ("inches"), and its abbreviation ("in"), from the resources. An invalid unit counts as
// millimetres.
MVLIB_API CString unitNom(TipusUnitats nUnitat);
MVLIB_API CString unitNomAbr(TipusUnitats nUnitat);

// ---- Stepping

// `dEps` one step up, or down when `bAmunt` is 0. The result is not rounded to whole steps. Kept: -1 is not
// resolved, the value comes back as it is; so it does for an invalid unit or step.
MVLIB_API double spinUnit(double dEps, int bAmunt, TipusUnitats nUnitat, TipusIncrement nIncrement);
