// FindResourceW, FindResourceExW, LoadResource, LockResource, SizeofResource, LoadStringW.
#include "under_wine.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <cstdint>
#include <string>

namespace {

constexpr LANGID catalan = MAKELANGID(LANG_CATALAN, SUBLANG_DEFAULT);
constexpr LANGID english = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
constexpr LANGID british = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_UK);
constexpr LANGID spanish = MAKELANGID(LANG_SPANISH, SUBLANG_SPANISH_MODERN);
constexpr LANGID french = MAKELANGID(LANG_FRENCH, 1);
constexpr LANGID userDefault = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

class Resources : public testing::Test {
protected:
    void SetUp() override {
        m_module = LoadLibraryW(L"platform_strings");
        ASSERT_NE(m_module, nullptr) << GetLastError();
    }
    void TearDown() override { FreeLibrary(m_module); }

    HRSRC Find(unsigned id, LANGID language) {
        return FindResourceExW(m_module, reinterpret_cast<LPCWSTR>(RT_STRING), MAKEINTRESOURCEW(id / 16 + 1),
                               language);
    }

    // The string as the block holds it; "-" when the block is missing.
    std::u16string Text(unsigned id, LANGID language) {
        const HRSRC resource = Find(id, language);
        if (!resource)
            return u"-";
        const auto* unit = static_cast<const std::uint16_t*>(LockResource(LoadResource(m_module, resource)));
        for (unsigned skip = id % 16; skip > 0; --skip)
            unit += 1 + *unit;
        return std::u16string(unit + 1, unit + 1 + *unit);
    }

    std::wstring Load(unsigned id, int size = 100) {
        wchar_t text[100] = L"untouched";
        const int length = LoadStringW(m_module, id, text, size);
        EXPECT_EQ(length, length == 0 ? 0 : static_cast<int>(wcslen(text)));
        return text;
    }

    HMODULE m_module = nullptr;
};

} // namespace

TEST_F(Resources, ExampleUsage) {
    wchar_t text[40];
    EXPECT_EQ(LoadStringW(m_module, 100, text, 40), 12);
    EXPECT_STREQ(text, L"only English");
}

TEST_F(Resources, LanguageIsFoundByItself) {
    EXPECT_EQ(Text(16, english), u"sixteen");
    EXPECT_EQ(Text(16, catalan), u"setze \u20AC");
    EXPECT_EQ(Text(31, english), u"thirty-one");
    EXPECT_EQ(Text(18, british), u"colour");
}

TEST_F(Resources, NeutralFormStandsInForACountry) {
    EXPECT_EQ(Text(16, spanish), u"diecis\u00E9is");
}

TEST_F(Resources, NeutralLanguageStandsInForAny) {
    EXPECT_EQ(Text(300, french), u"any language");
    EXPECT_EQ(Text(300, catalan), u"any language");
}

TEST_F(Resources, ForeignLanguageMisses) {
    EXPECT_EQ(Find(16, french), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_LANG_NOT_FOUND});
    // Another country of the language is no stand-in.
    EXPECT_EQ(Find(100, british), nullptr);
    EXPECT_EQ(Find(200, english), nullptr);
}

TEST_F(Resources, DefaultLanguageFindsTheLanguageThatThereIs) {
    EXPECT_EQ(Text(200, userDefault), u"nom\u00E9s catal\u00E0");
    EXPECT_EQ(Text(200, 0), u"nom\u00E9s catal\u00E0");
    EXPECT_EQ(Text(100, userDefault), u"only English");
}

TEST_F(Resources, DefaultLanguagePrefersTheUsers) {
    // The tests run in an English environment.
    EXPECT_EQ(Text(18, userDefault), u"color");
}

TEST_F(Resources, SizeIsThatOfTheBlock) {
    const HRSRC resource = Find(100, english);
    EXPECT_EQ(SizeofResource(m_module, resource), (16 + 12) * 2u);
    EXPECT_NE(LoadResource(m_module, resource), nullptr);
}

TEST_F(Resources, TypesAndNamesMayBeTexts) {
    const HRSRC resource = FindResourceW(m_module, L"#7", L"#10");
    ASSERT_NE(resource, nullptr);
    EXPECT_EQ(SizeofResource(m_module, resource), 5u);
    EXPECT_EQ(memcmp(LockResource(LoadResource(m_module, resource)), "bytes", 5), 0);
}

TEST_F(Resources, StringIsCutToTheBuffer) {
    EXPECT_EQ(Load(16, 4), L"six");
    EXPECT_EQ(Load(16, 1), UnderWine() ? L"untouched" : L"");
}

TEST_F(Resources, MissingStringGivesZero) {
    wchar_t text[20] = L"x";
    EXPECT_EQ(LoadStringW(m_module, 17, text, 20), 0);   // its block exists
    EXPECT_EQ(LoadStringW(m_module, 5000, text, 20), 0); // its block does not
}

TEST_F(Resources, StringIsFoundInWhateverLanguageItHas) {
    EXPECT_EQ(Load(200), L"nom\u00E9s catal\u00E0");
    EXPECT_EQ(Load(300), L"any language");
}

// Error results

TEST_F(Resources, MissingTypeAndName) {
    EXPECT_EQ(FindResourceW(m_module, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(99)), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_TYPE_NOT_FOUND});
    EXPECT_EQ(FindResourceW(m_module, MAKEINTRESOURCEW(999), reinterpret_cast<LPCWSTR>(RT_STRING)), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_NAME_NOT_FOUND});
}

TEST_F(Resources, ModuleWithoutResources) {
    // The test program itself.
    EXPECT_EQ(FindResourceW(nullptr, MAKEINTRESOURCEW(1), reinterpret_cast<LPCWSTR>(RT_STRING)), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_DATA_NOT_FOUND});
    wchar_t text[20];
    EXPECT_EQ(LoadStringW(nullptr, 1, text, 20), 0);
}

TEST_F(Resources, NothingOfNothing) {
    EXPECT_EQ(LoadResource(m_module, nullptr), nullptr);
    EXPECT_EQ(LockResource(nullptr), nullptr);
    EXPECT_EQ(SizeofResource(m_module, nullptr), 0u);
}
