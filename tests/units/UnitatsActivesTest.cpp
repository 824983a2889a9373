// The active unit: the cached one, the registry's, the system's.
#include "Unitats.h"

#include "TCarpetaRegistry.h"

#include "import_patch.h"

#include <gtest/gtest.h>

#include "afxwin.h"
#include "win32.h"

#include <cwchar>
#include <string>

namespace {

// What the system says of the user's measures, while somebody holds one of these.
class SystemAnswer {
public:
    SystemAnswer(int result, const wchar_t* text) {
        static const int patched =
            PatchImport("mvlib62", {"GetLocaleInfoW", reinterpret_cast<void*>(&SystemAnswer::Replaced)});
        EXPECT_GT(patched, 0);
        s_result = result;
        s_text = text;
    }
    ~SystemAnswer() { s_text = nullptr; }

private:
    static int WINAPI Replaced(LCID locale, LCTYPE type, LPWSTR buffer, int size) {
        if (!s_text)
            return ::GetLocaleInfoW(locale, type, buffer, size);
        EXPECT_EQ(locale, static_cast<LCID>(LOCALE_USER_DEFAULT));
        EXPECT_EQ(type, static_cast<LCTYPE>(LOCALE_IMEASURE));
        EXPECT_EQ(size, 10);
        std::wcsncpy(buffer, s_text, 9);
        return s_result;
    }
    static inline int s_result = 0;
    static inline const wchar_t* s_text = nullptr;
};

// Takes the program's own texts away: it says nothing of its language then.
class NoProgram {
public:
    NoProgram()
        : m_before(AfxGetModuleState()->m_hCurrentInstanceHandle) {
        AfxGetModuleState()->m_hCurrentInstanceHandle = ::GetModuleHandleW(MODULE);
        EXPECT_NE(AfxGetModuleState()->m_hCurrentInstanceHandle, nullptr);
    }
    ~NoProgram() { AfxGetModuleState()->m_hCurrentInstanceHandle = m_before; }

private:
    static constexpr const wchar_t* MODULE = sizeof(void*) == 4 ? L"mvafx62" : L"libmvafx62.so.6";
    HINSTANCE m_before;
};

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

TEST_F(UnitatsActivesTest, AmericanMeasuresAreInches) {
    const struct {
        const wchar_t* text;
        int result;
        TipusUnitats unit;
    } cases[] = {
        {L"1", 2, UNITATS_IN}, {L"0", 2, UNITATS_CM}, {L"2", 2, UNITATS_CM},
        {L"", 2, UNITATS_CM},  {L"", 1, UNITATS_CM},
    };
    for (const auto& one : cases) {
        Forget();
        const SystemAnswer answer(one.result, one.text);
        EXPECT_EQ(AfxGetUnitatsActives(), one.unit) << std::wstring(one.text).size() << ' ' << one.result;
    }
}

TEST_F(UnitatsActivesTest, LanguageDecidesWhereTheSystemDoesNotAnswer) {
    for (const int result : {0, 3, 10}) {
        const SystemAnswer answer(result, L"1x");
        Forget();
        EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_IN) << "the program is English: number 3";
        Forget();
        const NoProgram program;
        EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_CM) << result;
    }
    EXPECT_EQ(Stored(), -100);
}

TEST_F(UnitatsActivesTest, WriteThatFailsIsIgnored) {
    // No key may have such a name.
    TCarpetaRegistry::SetCarpetaBaseApp((L"Software\\" + std::wstring(300, L'x')).c_str());
    EXPECT_EQ(AfxSetUnitatsActives(UNITATS_FT), UNITATS_ACTIVES);
    EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_FT);
    TCarpetaRegistry::SetCarpetaBaseApp(L"Software\\Mirvanet\\test_units");
    EXPECT_EQ(Stored(), -100);
    Forget();
    TCarpetaRegistry::SetCarpetaBaseApp((L"Software\\" + std::wstring(300, L'x')).c_str());
    EXPECT_EQ(AfxGetUnitatsActives(), OfTheSystem()) << "a folder that cannot be opened counts as missing";
}

TEST_F(UnitatsActivesTest, UnitIsStoredAsANumberOf32Bits) {
    AfxSetUnitatsActives(UNITATS_IN);
    struct Visit {
        static int __stdcall Each(TCarpetaRegistry*, const wchar_t* name, unsigned long type, long user) {
            *reinterpret_cast<bool*>(user) = std::wstring(name) == L"Unitats" && type == REG_DWORD;
            return 0;
        }
    };
    bool number = false;
    m_settings.EnumValors(Visit::Each, reinterpret_cast<long>(&number), 2);
    EXPECT_TRUE(number);
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
