// Abbreviations are those of the resource chain as it is at each call.
#include "Unitats.h"

#include <gtest/gtest.h>

#include "afxwin.h"

namespace {

// A module with other words, first in the chain as long as it lives.
class OtherWords {
public:
    explicit OtherWords(const wchar_t* module)
        : m_module(::LoadLibraryW(module)) {
        EXPECT_NE(m_module, nullptr);
        m_link = new CDynLinkLibrary(m_module, m_module);
    }
    OtherWords(const OtherWords&) = delete;
    OtherWords& operator=(const OtherWords&) = delete;
    ~OtherWords() {
        delete m_link;
        ::FreeLibrary(m_module);
    }

private:
    HMODULE m_module;
    CDynLinkLibrary* m_link;
};

} // namespace

TEST(AbbreviationsTest, FollowTheResourceChain) {
    EXPECT_STREQ(eps2unit(72.0, UNITATS_MM, 1), L"25.4 mm");
    {
        const OtherWords words(L"test_units_oth");
        EXPECT_STREQ(eps2unit(72.0, UNITATS_MM, 1), L"25.4 mil");
        EXPECT_STREQ(unitNomAbr(UNITATS_MM), L"mil");
        EXPECT_STREQ(unitNomAbr(UNITATS_IN), L"inch");
        EXPECT_STREQ(unitNomAbr(UNITATS_CM), L"cm") << "the library's own where there is no other";
        EXPECT_EQ(miraUnitats(L"5 mil"), UNITATS_MM);
        EXPECT_EQ(miraUnitats(L"5 mm"), UNITATS_ACTIVES);
        EXPECT_EQ(miraUnitats(L"5 in"), UNITATS_IN) << "whatever inches are called";
        EXPECT_EQ(unit2eps(L"1 mil", UNITATS_FT), 2.8346456692913384);
    }
    EXPECT_EQ(miraUnitats(L"5 mil"), UNITATS_ACTIVES);
    EXPECT_EQ(miraUnitats(L"5 mm"), UNITATS_MM);
    EXPECT_STREQ(eps2unit(72.0, UNITATS_MM, 1), L"25.4 mm");
}

TEST(AbbreviationsTest, MayBeginWithADigit) {
    const OtherWords words(L"test_units_dig");
    EXPECT_EQ(miraUnitats(L"51m"), UNITATS_MM);
    EXPECT_EQ(unit2eps(L"51", UNITATS_IN), 3672.0);
    EXPECT_EQ(unit2eps(L"51m", UNITATS_IN), 51 * 2.8346456692913384) << "its digit counts in the number, too";
}

TEST(AbbreviationsTest, MayBeLong) {
    const OtherWords words(L"test_units_lon");
    EXPECT_STREQ(eps2unit(72.0, UNITATS_MM, 1), L"25.4 a millimetre is a thousandth of a metre");
    EXPECT_STREQ(eps2unit(72.0, UNITATS_CM, 1), L"2.54 cm");
    EXPECT_EQ(miraUnitats(L"2 a millimetre is a thousandth of a metre"), UNITATS_MM);
    EXPECT_EQ(miraUnitats(L"2 cm"), UNITATS_CM);
    EXPECT_EQ(unit2eps(L"2 ft", UNITATS_MM), 1728.0);
}
