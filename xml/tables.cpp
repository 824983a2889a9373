#include "xml/tables.h"

#include <initializer_list>

namespace mvxml {

const ClearTag ClearTags[ClearTagCount] = {
    {L"<![CDATA[", 9, L"]]>"}, {L"<!DOCTYPE", 9, L">"},        {L"<!--", 4, L"-->"},
    {L"<PRE>", 5, L"</PRE>"},  {L"<Script>", 8, L"</Script>"},
};
const wchar_t DoctypeSubsetCloser[] = L"]>";

Options CurrentOptions = {XMLNode::encoding_UTF8, 1, 1, 1};

namespace {

struct Entity {
    const wchar_t* text;
    int length;
    wchar_t character;
};
constexpr Entity Entities[] = {
    {L"&amp;", 5, L'&'}, {L"&lt;", 4, L'<'}, {L"&gt;", 4, L'>'}, {L"&quot;", 6, L'"'}, {L"&apos;", 6, L'\''},
};

// Digits only, to the ";". The value wraps and is stored as one unit, without a range check.
template <class Unit>
const Unit* DecodeNumber(const Unit* text, wchar_t& character) {
    unsigned int value = 0;
    text += 2;
    bool hexadecimal = *text == L'x' || *text == L'X';
    if (hexadecimal)
        ++text;
    for (; *text != L';'; ++text) {
        unsigned int digit;
        if (*text >= L'0' && *text <= L'9')
            digit = static_cast<unsigned int>(*text - L'0');
        else if (hexadecimal && *text >= L'A' && *text <= L'F')
            digit = static_cast<unsigned int>(*text - L'A') + 10;
        else if (hexadecimal && *text >= L'a' && *text <= L'f')
            digit = static_cast<unsigned int>(*text - L'a') + 10;
        else
            return nullptr;
        value = value * (hexadecimal ? 16 : 10) + digit;
    }
    character = static_cast<wchar_t>(value);
    return text + 1;
}

} // namespace

template <class Unit>
const ClearTag* FindClearTag(const Unit* text) {
    for (const ClearTag& tag : ClearTags) {
        int i = 0;
        while (i < tag.length && static_cast<wchar_t>(text[i]) == tag.opener[i])
            ++i;
        if (i == tag.length)
            return &tag;
    }
    return nullptr;
}

template <class Unit>
const Unit* DecodeReference(const Unit* text, wchar_t& character) {
    if (text[1] == L'#')
        return DecodeNumber(text, character);
    for (const Entity& entity : Entities) {
        int i = 1;
        while (i < entity.length && Fold(static_cast<wchar_t>(text[i])) == entity.text[i])
            ++i;
        if (i == entity.length) {
            character = entity.character;
            return text + i;
        }
    }
    return nullptr;
}

template const ClearTag* FindClearTag(const wchar_t*);
template const ClearTag* FindClearTag(const unsigned char*);
template const wchar_t* DecodeReference(const wchar_t*, wchar_t&);
template const unsigned char* DecodeReference(const unsigned char*, wchar_t&);

const wchar_t* EntityOf(wchar_t character, int& length) {
    for (const Entity& entity : Entities) {
        if (entity.character == character) {
            length = entity.length;
            return entity.text;
        }
    }
    return nullptr;
}

constexpr UnitClassTable MakeUnitClasses() {
    UnitClassTable table = {};
    for (char unit : {'\n', ' ', '\t', '\r'})
        table.classes[static_cast<int>(unit)] = ClassNameEnd | ClassNotName;
    for (char unit : {'\0', '<', '>', '=', '/'})
        table.classes[static_cast<int>(unit)] = ClassNameEnd | ClassNotName;
    for (char unit : {'"', '\''})
        table.classes[static_cast<int>(unit)] |= ClassNotName;
    for (char unit : {'&', '<', '>', '"', '\''})
        table.classes[static_cast<int>(unit)] |= ClassEscape;
    return table;
}

constinit const UnitClassTable UnitClasses = MakeUnitClasses();

} // namespace mvxml
