// The active unit: the cached one, the registry's, the system's.
#include "Unitats.h"

#include "TCarpetaRegistry.h"

#include <gtest/gtest.h>

#include "win32.h"

namespace {

TipusUnitats Unit(int number) {
    return static_cast<TipusUnitats>(number);
}

// Each test begins with no unit known and no value in the registry.
class UnitatsActivesTest : public testing::Test {
protected:
    UnitatsActivesTest() {
        Forget();
        m_settings.BorrarValor(L"Unitats");
    }
    ~UnitatsActivesTest() override {
        TCarpetaRegistry(L"").BorrarCarpeta(L"Software\\Mirvanet\\test_units");
        TCarpetaRegistry::SetCarpetaBaseApp(nullptr);
    }

    // The process knows no unit afterwards; what is stored is stored again.
    void Forget() {
        const int stored = Stored();
        AfxSetUnitatsActives(UNITATS_MM);
        AfxSetUnitatsActives(UNITATS_ACTIVES);
        Store(stored);
    }
    int Stored() { return m_settings.TornaValorInt(L"Unitats", -100); }
    void Store(int value) {
        if (value == -100)
            m_settings.BorrarValor(L"Unitats");
        else
            m_settings.EntraValor(L"Unitats", static_cast<unsigned long>(static_cast<unsigned int>(value)));
    }
    static TipusUnitats OfTheSystem() {
        wchar_t answer[10] = L"";
        const int length = ::GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IMEASURE, answer, 10);
        EXPECT_EQ(length, 2);
        return answer[0] == L'1' ? UNITATS_IN : UNITATS_CM;
    }

    struct Base {
        Base() { TCarpetaRegistry::SetCarpetaBaseApp(L"Software\\Mirvanet\\test_units"); }
    } m_base; // before the folder below it
    TCarpetaRegistry m_settings{L".\\Settings"};
};

} // namespace

TEST_F(UnitatsActivesTest, ExampleUsage) {
    AfxSetUnitatsActives(UNITATS_FT);
    EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_FT);
    EXPECT_EQ(Stored(), 3) << "for the next start of the program";
}

TEST_F(UnitatsActivesTest, StoredUnitIsRead) {
    for (int unit = 0; unit < 4; ++unit) {
        Store(unit);
        Forget();
        EXPECT_EQ(AfxGetUnitatsActives(), unit);
    }
}

TEST_F(UnitatsActivesTest, UnitThatWasReadIsKept) {
    Store(3);
    EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_FT);
    Store(0);
    EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_FT);
}

TEST_F(UnitatsActivesTest, SystemDecidesWithoutAStoredUnit) {
    EXPECT_EQ(AfxGetUnitatsActives(), OfTheSystem());
    EXPECT_EQ(Stored(), -100) << "a default is not written";
}

TEST_F(UnitatsActivesTest, StoredUnitThatIsNoneCountsAsMissing) {
    for (const int unit : {4, -1, 1000}) {
        Store(unit);
        Forget();
        EXPECT_EQ(AfxGetUnitatsActives(), OfTheSystem()) << unit;
        EXPECT_EQ(Stored(), unit);
    }
}

TEST_F(UnitatsActivesTest, SettingAnswersTheUnitBefore) {
    EXPECT_EQ(AfxSetUnitatsActives(UNITATS_IN), UNITATS_ACTIVES) << "none was known";
    EXPECT_EQ(AfxSetUnitatsActives(UNITATS_CM), UNITATS_IN);
    EXPECT_EQ(Stored(), 1);
    EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_CM);
}

TEST_F(UnitatsActivesTest, SettingTheSameUnitWritesNothing) {
    AfxSetUnitatsActives(UNITATS_IN);
    Store(-100);
    EXPECT_EQ(AfxSetUnitatsActives(UNITATS_IN), UNITATS_IN);
    EXPECT_EQ(Stored(), -100);
}

TEST_F(UnitatsActivesTest, SettingTheUnitThatWasReadWritesNothing) {
    const TipusUnitats unit = AfxGetUnitatsActives();
    EXPECT_EQ(AfxSetUnitatsActives(unit), unit);
    EXPECT_EQ(Stored(), -100);
}

TEST_F(UnitatsActivesTest, AnyValueIsSetAndAValidOneLookedFor) {
    EXPECT_EQ(AfxSetUnitatsActives(Unit(7)), UNITATS_ACTIVES);
    EXPECT_EQ(Stored(), 7);
    EXPECT_EQ(AfxGetUnitatsActives(), OfTheSystem());
    EXPECT_EQ(AfxSetUnitatsActives(UNITATS_ACTIVES), OfTheSystem());
    EXPECT_EQ(Stored(), -1);
    EXPECT_EQ(AfxSetUnitatsActives(UNITATS_ACTIVES), UNITATS_ACTIVES) << "the same again";
}

TEST_F(UnitatsActivesTest, OtherFunctionsUseTheUnit) {
    Store(2);
    EXPECT_STREQ(eps2unit(72.0, UNITATS_ACTIVES, 1), L"1.000 in");
    EXPECT_EQ(unit2eps(L"1", UNITATS_ACTIVES), 72.0);
    EXPECT_STREQ(unitNom(UNITATS_ACTIVES), L"inches");
}
