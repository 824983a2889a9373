// The texts of the language modules that come with the library.
#include <Idioma.h>

#include "debug_capture.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Language {
    const wchar_t* module;
    unsigned short language;
    IDIOMA number;
    const wchar_t* name;
    const wchar_t* key;
};
const Language Languages[] = {
    {L"mvlib62_eng", 0x0409, 3, L"English", L"ENG"},
    {L"mvlib62_cat", 0x0403, 1, L"Catal\u00E0", L"CAT"},
    {L"mvlib62_esp", 0x0C0A, 2, L"Espa\u00F1ol", L"ESP"},
};

const unsigned int Ids[] = {18000, 18001, 18002, 18003, 20350, 20351, 20352, 20353, 20354, 20355,
                            20356, 20357, 20358, 20359, 20360, 20361, 29997, 29998, 29999};

class TextsTest : public testing::TestWithParam<Language> {
protected:
    void SetUp() override {
        module = ::LoadLibraryW(GetParam().module);
        ASSERT_NE(module, nullptr);
    }
    void TearDown() override {
        if (module)
            ::FreeLibrary(module);
    }
    CString Text(unsigned int id) { return AfxLoadStringLang(id, GetParam().language, module); }

    HMODULE module = nullptr;
};

// The conversions of a format, in their order.
std::wstring Conversions(const CString& format) {
    std::wstring found;
    for (int i = 0; i + 1 < format.GetLength(); ++i)
        if (format[i] == L'%')
            found += format[++i];
    return found;
}

} // namespace

TEST_P(TextsTest, ModuleSaysWhichLanguageItIs) {
    EXPECT_EQ(AfxGetIdioma(module), GetParam().number);
    EXPECT_EQ(AfxGetNomIdioma(module), GetParam().name);
    EXPECT_EQ(AfxGetClauIdioma(module), GetParam().key);
}

TEST_P(TextsTest, EveryTextIsThereInTheModulesLanguageAlone) {
    for (unsigned int id : Ids) {
        EXPECT_NE(Text(id), L"") << id;
        EXPECT_EQ(Text(id), AfxLoadStringLang(id, 0x0400, module)) << id;
        for (const Language& other : Languages) {
            if (other.language != GetParam().language) {
                EXPECT_EQ(AfxLoadStringLang(id, other.language, module), L"") << id;
            }
        }
    }
}

TEST_P(TextsTest, FormatsTakeTheSameArguments) {
    EXPECT_EQ(Conversions(Text(18002)), L"iss");
    EXPECT_EQ(Conversions(Text(18003)), L"isss");
    for (unsigned int id : Ids) {
        if (id != 18002 && id != 18003) {
            EXPECT_EQ(Conversions(Text(id)), L"") << id;
        }
    }
}

TEST_P(TextsTest, AbbreviationsAreTheSameEverywhere) {
    EXPECT_EQ(Text(20354), L"mm");
    EXPECT_EQ(Text(20355), L"cm");
    EXPECT_EQ(Text(20356), L"in");
    EXPECT_EQ(Text(20357), L"ft");
}

TEST_P(TextsTest, MenuEntriesHaveDifferentLetters) {
    std::wstring letters;
    for (unsigned int id = 20358; id <= 20361; ++id) {
        const CString text = Text(id);
        const int mark = text.Find(L'&');
        ASSERT_GE(mark, 0);
        EXPECT_EQ(letters.find(text[mark + 1]), std::wstring::npos) << id;
        letters += text[mark + 1];
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, TextsTest, testing::ValuesIn(Languages),
                         [](const testing::TestParamInfo<Language>& language) {
                             std::string name;
                             for (const wchar_t* c = language.param.key; *c; ++c)
                                 name += static_cast<char>(*c);
                             return name;
                         });

TEST(EnglishTexts, AreAsApplicationsExpectThem) {
    const HMODULE module = ::LoadLibraryW(L"mvlib62_eng");
    const auto text = [module](unsigned int id) { return AfxLoadStringLang(id, 0x0409, module); };
    EXPECT_EQ(text(18000), L"There's not enough memory to complete the operation.");
    EXPECT_EQ(text(18001), L"Operation not supported.");
    EXPECT_EQ(text(18002), L"Exception %i (%s) in module [%s].");
    EXPECT_EQ(text(18003), L"Exception %i (%s) in module [%s]: %s.");
    EXPECT_EQ(text(20350), L"milimeters");
    EXPECT_EQ(text(20351), L"centimeters");
    EXPECT_EQ(text(20352), L"inches");
    EXPECT_EQ(text(20353), L"feet");
    EXPECT_EQ(text(20358), L"&Milimeters");
    EXPECT_EQ(text(20359), L"&Centimeters");
    EXPECT_EQ(text(20360), L"&Inches");
    EXPECT_EQ(text(20361), L"&Feet");
    ::FreeLibrary(module);
}

TEST(ProgramWithoutResources, IsLanguageOne) {
    DebugCapture output;
    EXPECT_EQ(AfxGetIdioma(nullptr), 1);
    EXPECT_EQ(AfxGetIdiomaAplicacio(), 1);
    EXPECT_EQ(AfxGetNomIdioma(nullptr), L"");
    EXPECT_EQ(AfxGetClauIdioma(nullptr), L"");
    EXPECT_NE(output.Text(), L"");
}
