// The fixed tables of the XML component: clear sections, entities, options, letters.
#pragma once

#include "XMLNode.h"

#include <cstddef>

namespace mvxml {

// A section that is kept as it stands, from opener to closer. Openers are compared with case.
struct ClearTag {
    const wchar_t* opener;
    int length;
    const wchar_t* closer;
};

enum { ClearCData = 0, ClearDoctype = 1, ClearComment = 2, ClearTagCount = 5 };
extern const ClearTag ClearTags[ClearTagCount];
// Closes a DOCTYPE that has an internal subset.
extern const wchar_t DoctypeSubsetCloser[];

// The clear tag whose opener stands at `text`, which ends with a NUL; null when none does.
template <class Unit>
const ClearTag* FindClearTag(const Unit* text);

// Decodes the reference that begins at `text` (which is "&") into `character`. Answers the unit behind its
// ";", or null when it is malformed. Reads no further than the first unit that cannot belong to a reference.
template <class Unit>
const Unit* DecodeReference(const Unit* text, wchar_t& character);

// The entity that stands for one of & < > " ', with its length; null for every other character.
const wchar_t* EntityOf(wchar_t character, int& length);

struct Options {
    int encoding;
    char guessWideChars;
    char dropWhiteSpace;
    char removeComments;
};
extern Options CurrentOptions;

// Classes of the units below 128.
enum : unsigned char {
    ClassNameEnd = 1, // what ends plain text: white space, NUL, "<", ">", "=", and "/" (which may)
    ClassNotName = 2, // what plain text does not begin with: the above and quotes
    ClassEscape = 4   // what is written as an entity
};
struct UnitClassTable {
    unsigned char classes[128];
};
extern const UnitClassTable UnitClasses;

inline bool HasClass(wchar_t unit, unsigned char wanted) {
    return static_cast<unsigned long>(unit) < 128 && (UnitClasses.classes[unit] & wanted) != 0;
}
// Line feed, space, tab, carriage return.
inline bool IsSpace(wchar_t unit) {
    constexpr unsigned long long Spaces = 1ull << '\n' | 1ull << ' ' | 1ull << '\t' | 1ull << '\r';
    return static_cast<unsigned long>(unit) <= 32 && (Spaces >> unit & 1) != 0;
}

// Only A to Z have another case here, as in the runtime's comparisons.
inline wchar_t Fold(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
}
} // namespace mvxml
