#include "internal/code_page_1252.h"
#include "internal/handles.h"
#include "internal/text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

namespace {

constexpr UINT codePageAscii = 20127;
constexpr UINT codePageLatin1 = 28591;
constexpr UINT codePageWindows1252 = 1252;

bool isKnown(UINT codePage) {
    return codePage == CP_UTF8 || codePage == codePageWindows1252 || codePage == codePageLatin1 ||
           codePage == codePageAscii;
}

UINT ansiCodePage() {
    static const UINT page = [] {
        const char* wanted = std::getenv("MVLIB_CODEPAGE");
        if (!wanted)
            return codePageWindows1252;
        const UINT number = ::strcasecmp(wanted, "utf-8") == 0 || ::strcasecmp(wanted, "utf8") == 0
                                ? CP_UTF8
                                : static_cast<UINT>(std::strtoul(wanted, nullptr, 10));
        return isKnown(number) ? number : codePageWindows1252;
    }();
    return page;
}

UINT resolve(UINT codePage) {
    return codePage == CP_ACP || codePage == CP_OEMCP || codePage == CP_THREAD_ACP ? ansiCodePage()
                                                                                   : codePage;
}

// Collects output units: counts them all, stores those that fit.
template <class Unit>
class Output {
public:
    Output(Unit* target, int size)
        : m_target(target)
        , m_size(size) {}
    void put(Unit unit) {
        if (m_count < m_size)
            m_target[m_count] = unit;
        if (m_count < INT32_MAX)
            ++m_count;
    }
    // The result of the conversion.
    int finish() const {
        if (m_size != 0 && m_count > m_size) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        return m_count;
    }

private:
    Unit* m_target;
    int m_size;
    int m_count = 0;
};

int fail(DWORD error) {
    SetLastError(error);
    return 0;
}

wchar_t decodeByte(UINT codePage, unsigned char byte, bool& invalid) {
    if (codePage == codePageAscii && byte >= 0x80) {
        invalid = true;
        return 0xFFFD;
    }
    return codePage == codePageWindows1252 ? mvplat::wideFrom1252(byte) : static_cast<wchar_t>(byte);
}

int encodeByte(UINT codePage, wchar_t unit, bool bestFit) {
    if (codePage == codePageWindows1252)
        return mvplat::byteFrom1252(unit, bestFit);
    return unit >= 0 && unit < (codePage == codePageAscii ? 0x80 : 0x100) ? static_cast<int>(unit) : -1;
}

bool isSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

int encodeUtf8(DWORD flags, LPCWCH source, int length, Output<char>& output) {
    std::string bytes;
    for (int i = 0; i < length; ++i) {
        char32_t codePoint = static_cast<char32_t>(source[i]);
        if (isSurrogate(source[i])) {
            // Text that came unit by unit from Windows may hold pairs.
            if (source[i] <= 0xDBFF && i + 1 < length && source[i + 1] >= 0xDC00 && source[i + 1] <= 0xDFFF) {
                codePoint =
                    0x10000 + ((codePoint - 0xD800) << 10) + (static_cast<char32_t>(source[i + 1]) - 0xDC00);
                ++i;
            } else {
                codePoint = 0x110000;
            }
        }
        if (codePoint > 0x10FFFF) {
            if (flags & WC_ERR_INVALID_CHARS)
                return fail(ERROR_NO_UNICODE_TRANSLATION);
            codePoint = 0xFFFD;
        }
        bytes.clear();
        mvplat::appendUtf8(bytes, codePoint);
        for (const char byte : bytes)
            output.put(byte);
    }
    return output.finish();
}

struct KnownLanguage {
    const char* name; // of a locale, without code set
    LANGID language;
    wchar_t decimal;   // the sign between the whole and the rest of a number
    wchar_t thousands; // between groups of three digits
};

// The first entry of a language stands for the language without a country.
constexpr KnownLanguage knownLanguages[] = {
    {"en_US", 0x0409, L'.', L','},      {"en_GB", 0x0809, L'.', L','},
    {"en_AU", 0x0C09, L'.', L','},      {"en_CA", 0x1009, L'.', L','},
    {"en_NZ", 0x1409, L'.', L','},      {"en_IE", 0x1809, L'.', L','},
    {"en_ZA", 0x1C09, L',', L'\u00A0'}, {"en_IN", 0x4009, L'.', L','},
    {"ca_ES", 0x0403, L',', L'.'},      {"es_ES", 0x0C0A, L',', L'.'},
    {"es_MX", 0x080A, L'.', L','},      {"es_GT", 0x100A, L'.', L','},
    {"es_CR", 0x140A, L',', L'\u00A0'}, {"es_PA", 0x180A, L'.', L','},
    {"es_DO", 0x1C0A, L'.', L','},      {"es_VE", 0x200A, L',', L'.'},
    {"es_CO", 0x240A, L',', L'.'},      {"es_PE", 0x280A, L'.', L','},
    {"es_AR", 0x2C0A, L',', L'.'},      {"es_EC", 0x300A, L',', L'.'},
    {"es_CL", 0x340A, L',', L'.'},      {"es_UY", 0x380A, L',', L'.'},
    {"es_PY", 0x3C0A, L',', L'.'},      {"es_BO", 0x400A, L',', L'.'},
    {"es_US", 0x540A, L'.', L','},      {"fr_FR", 0x040C, L',', L'\u00A0'},
    {"fr_BE", 0x080C, L',', L'\u00A0'}, {"fr_CA", 0x0C0C, L',', L'\u00A0'},
    {"fr_CH", 0x100C, L',', L'\u00A0'}, {"de_DE", 0x0407, L',', L'.'},
    {"de_CH", 0x0807, L'.', L'\u2019'}, {"de_AT", 0x0C07, L',', L'\u00A0'},
    {"it_IT", 0x0410, L',', L'.'},      {"it_CH", 0x0810, L'.', L'\u2019'},
    {"pt_PT", 0x0816, L',', L'\u00A0'}, {"pt_BR", 0x0416, L',', L'.'},
    {"nl_NL", 0x0413, L',', L'.'},      {"nl_BE", 0x0813, L',', L'.'},
    {"da_DK", 0x0406, L',', L'.'},      {"sv_SE", 0x041D, L',', L'\u00A0'},
    {"nb_NO", 0x0414, L',', L'\u00A0'}, {"fi_FI", 0x040B, L',', L'\u00A0'},
    {"pl_PL", 0x0415, L',', L'\u00A0'}, {"cs_CZ", 0x0405, L',', L'\u00A0'},
    {"sk_SK", 0x041B, L',', L'\u00A0'}, {"hu_HU", 0x040E, L',', L'\u00A0'},
    {"ro_RO", 0x0418, L',', L'.'},      {"el_GR", 0x0408, L',', L'.'},
    {"tr_TR", 0x041F, L',', L'.'},      {"ru_RU", 0x0419, L',', L'\u00A0'},
    {"uk_UA", 0x0422, L',', L'\u00A0'}, {"bg_BG", 0x0402, L',', L'\u00A0'},
    {"hr_HR", 0x041A, L',', L'.'},      {"sl_SI", 0x0424, L',', L'.'},
    {"et_EE", 0x0425, L',', L'\u00A0'}, {"lv_LV", 0x0426, L',', L'\u00A0'},
    {"lt_LT", 0x0427, L',', L'\u00A0'}, {"eu_ES", 0x042D, L',', L'.'},
    {"gl_ES", 0x0456, L',', L'.'},      {"ja_JP", 0x0411, L'.', L','},
    {"ko_KR", 0x0412, L'.', L','},      {"zh_CN", 0x0804, L'.', L','},
    {"zh_TW", 0x0404, L'.', L','},      {"he_IL", 0x040D, L'.', L','},
    {"ar_SA", 0x0401, L'.', L','},
};

LANGID languageOfLocale(std::string_view name) {
    name = name.substr(0, name.find_first_of(".@"));
    for (const KnownLanguage& known : knownLanguages) {
        if (name == known.name)
            return known.language;
    }
    const std::string_view language = name.substr(0, name.find('_'));
    for (const KnownLanguage& known : knownLanguages) {
        if (!language.empty() &&
            std::string_view(known.name).substr(0, std::strlen(known.name) - 3) == language)
            return known.language;
    }
    return 0;
}

constexpr LANGID englishOfTheUnitedStates = 0x0409;

// The language that the environment gives for a category of the locale.
LANGID languageFor(const char* category) {
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        // The first variable with a value decides, also when it says "C".
        const char* value = std::getenv(variable);
        if (value && *value) {
            const LANGID found = languageOfLocale(value);
            return found ? found : englishOfTheUnitedStates;
        }
    }
    return englishOfTheUnitedStates;
}

LANGID userLanguage() {
    static const LANGID language = languageFor("LC_MESSAGES");
    return language;
}

LANGID numbersLanguage() {
    static const LANGID language = languageFor("LC_NUMERIC");
    return language;
}

LANGID measurementLanguage() {
    static const LANGID language = languageFor("LC_MEASUREMENT");
    return language;
}

const KnownLanguage* knownLanguage(LANGID language) {
    const auto found =
        std::find_if(std::begin(knownLanguages), std::end(knownLanguages),
                     [language](const KnownLanguage& known) { return known.language == language; });
    return found == std::end(knownLanguages) ? nullptr : found;
}

// What a user's locale says is the affair of its category; another locale's language says all.
const KnownLanguage* languageOf(LCID locale, LANGID (*category)()) {
    switch (locale) {
    case 0:
    case LOCALE_USER_DEFAULT:
    case LOCALE_SYSTEM_DEFAULT:
        return knownLanguage(category());
    default:
        return knownLanguage(LANGIDFROMLCID(locale));
    }
}

bool isMeasuredInInches(const KnownLanguage& language) {
    return std::string_view(language.name).substr(3) == "US";
}

bool localeText(LCTYPE type, LCID locale, std::wstring& text) {
    const KnownLanguage* const language =
        languageOf(locale, type == LOCALE_IMEASURE                               ? measurementLanguage
                           : type == LOCALE_SDECIMAL || type == LOCALE_STHOUSAND ? numbersLanguage
                                                                                 : userLanguage);
    if (!language) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    const std::wstring name(language->name, language->name + 5);
    switch (type) {
    case LOCALE_IMEASURE:
        text = isMeasuredInInches(*language) ? L"1" : L"0";
        return true;
    case LOCALE_SDECIMAL:
        text = language->decimal;
        return true;
    case LOCALE_STHOUSAND:
        text = language->thousands;
        return true;
    case LOCALE_SISO639LANGNAME:
        text = name.substr(0, 2);
        return true;
    case LOCALE_SISO3166CTRYNAME:
        text = name.substr(3);
        return true;
    case LOCALE_SNAME:
        text = name.substr(0, 2) + L"-" + name.substr(3);
        return true;
    default:
        SetLastError(ERROR_INVALID_FLAGS);
        return false;
    }
}

} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH source, int sourceLength, LPWSTR target,
                        int targetSize) {
    codePage = resolve(codePage);
    if (!source || sourceLength == 0 || targetSize < 0 || (targetSize != 0 && !target) ||
        static_cast<const void*>(source) == target || !isKnown(codePage))
        return fail(ERROR_INVALID_PARAMETER);
    const DWORD allowed =
        codePage == CP_UTF8 ? MB_ERR_INVALID_CHARS : MB_PRECOMPOSED | MB_USEGLYPHCHARS | MB_ERR_INVALID_CHARS;
    if (flags & ~allowed)
        return fail(ERROR_INVALID_FLAGS);
    if (sourceLength < 0)
        sourceLength = static_cast<int>(std::strlen(source)) + 1;

    Output<wchar_t> output(target, targetSize);
    bool invalid = false;
    if (codePage == CP_UTF8) {
        for (int i = 0; i < sourceLength;) {
            const mvplat::Utf8Step step =
                mvplat::decodeUtf8(source + i, static_cast<std::size_t>(sourceLength - i));
            invalid = invalid || step.invalid;
            output.put(static_cast<wchar_t>(step.codePoint));
            i += static_cast<int>(step.length);
        }
    } else {
        for (int i = 0; i < sourceLength; ++i)
            output.put(decodeByte(codePage, static_cast<unsigned char>(source[i]), invalid));
    }
    if (invalid && (flags & MB_ERR_INVALID_CHARS))
        return fail(ERROR_NO_UNICODE_TRANSLATION);
    return output.finish();
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH source, int sourceLength, LPSTR target,
                        int targetSize, LPCCH defaultChar, LPBOOL usedDefaultChar) {
    codePage = resolve(codePage);
    if (!source || sourceLength == 0 || targetSize < 0 || (targetSize != 0 && !target) ||
        static_cast<const void*>(source) == target || !isKnown(codePage))
        return fail(ERROR_INVALID_PARAMETER);
    const bool utf8 = codePage == CP_UTF8;
    if (utf8 && (defaultChar || usedDefaultChar))
        return fail(ERROR_INVALID_PARAMETER);
    const DWORD allowed =
        utf8 ? WC_ERR_INVALID_CHARS : WC_DISCARDNS | WC_SEPCHARS | WC_DEFAULTCHAR | WC_NO_BEST_FIT_CHARS;
    if (flags & ~allowed)
        return fail(ERROR_INVALID_FLAGS);
    if (sourceLength < 0)
        sourceLength = static_cast<int>(std::wcslen(source)) + 1;

    Output<char> output(target, targetSize);
    if (utf8)
        return mvplat::guarded(0, [&] { return encodeUtf8(flags, source, sourceLength, output); });

    const bool bestFit = !(flags & WC_NO_BEST_FIT_CHARS);
    bool used = false;
    for (int i = 0; i < sourceLength; ++i) {
        const int byte = encodeByte(codePage, source[i], bestFit);
        if (byte >= 0) {
            output.put(static_cast<char>(byte));
            continue;
        }
        used = true;
        output.put(defaultChar ? *defaultChar : '?');
        // Two units on Windows, each of which is replaced there.
        if (source[i] > 0xFFFF)
            output.put(defaultChar ? *defaultChar : '?');
    }
    if (usedDefaultChar)
        *usedDefaultChar = used;
    return output.finish();
}

UINT GetACP() {
    return ansiCodePage();
}

UINT GetOEMCP() {
    return ansiCodePage();
}

BOOL IsValidCodePage(UINT codePage) {
    return isKnown(codePage);
}

BOOL IsDBCSLeadByte(BYTE /*byte*/) {
    return FALSE;
}

LANGID GetUserDefaultLangID() {
    return userLanguage();
}

LANGID GetSystemDefaultLangID() {
    return userLanguage();
}

LANGID GetUserDefaultUILanguage() {
    return userLanguage();
}

LCID GetUserDefaultLCID() {
    return MAKELCID(userLanguage(), SORT_DEFAULT);
}

LCID GetSystemDefaultLCID() {
    return MAKELCID(userLanguage(), SORT_DEFAULT);
}

LCID GetThreadLocale() {
    return MAKELCID(userLanguage(), SORT_DEFAULT);
}

int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int size) {
    if (size < 0 || (size > 0 && !buffer))
        return fail(ERROR_INVALID_PARAMETER);
    return mvplat::guarded(0, [&] {
        std::wstring text;
        const LCTYPE number = type & LOCALE_RETURN_NUMBER;
        type &= ~(LOCALE_NOUSEROVERRIDE | LOCALE_USE_CP_ACP | LOCALE_RETURN_NUMBER);
        if (!localeText(type, locale, text))
            return 0;
        if (number && type != LOCALE_IMEASURE)
            return fail(ERROR_INVALID_FLAGS);
        const int needed =
            number ? static_cast<int>(sizeof(DWORD) / sizeof(WCHAR)) : static_cast<int>(text.size()) + 1;
        if (size == 0)
            return needed;
        if (size < needed)
            return fail(ERROR_INSUFFICIENT_BUFFER);
        if (number) {
            const DWORD value = static_cast<DWORD>(text[0] - L'0');
            std::memcpy(buffer, &value, sizeof value);
        } else {
            std::wmemcpy(buffer, text.c_str(), static_cast<std::size_t>(needed));
        }
        return needed;
    });
}
