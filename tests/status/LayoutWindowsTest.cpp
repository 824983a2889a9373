// Sizes of the classes and offsets of their fields on 32-bit Windows.
#include <CLastError.h>
#include <CMirvaExcepcio.h>
#include <TComptaTemps.h>
#include <TIndicadorEstat.h>

#include <gtest/gtest.h>

namespace {

struct Indicator : TIndicadorEstat {
    std::ptrdiff_t Offset(const void* field) const {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(this);
    }
    void Check() const {
        EXPECT_EQ(Offset(&m_strMissatge), 4);
        EXPECT_EQ(Offset(&m_dEstat), 8);
        EXPECT_EQ(Offset(&m_cs), 16);
        EXPECT_EQ(Offset(&m_evContinuar), 48);
        EXPECT_EQ(Offset(&m_bCancelat), 56);
        EXPECT_EQ(Offset(&m_bTimerActiu), 60);
        EXPECT_EQ(Offset(&m_pdwIniciTimer), 64);
        EXPECT_EQ(Offset(&m_llistaRangs), 68);
        EXPECT_EQ(Offset(&m_pfnCallback), 96);
        EXPECT_EQ(Offset(&m_dwUserData), 100);
    }
};

struct Guard : CSetSubRangIE {
    Guard()
        : CSetSubRangIE(nullptr, 0, 1) {}
    void Check() const {
        const auto start = reinterpret_cast<const char*>(this);
        EXPECT_EQ(reinterpret_cast<const char*>(&m_pIE) - start, 4);
        EXPECT_EQ(reinterpret_cast<const char*>(&m_bActiu) - start, 8);
    }
};

} // namespace

TEST(StatusLayout, IndicatorHasItsFieldsInOrder) {
    static_assert(sizeof(std::atomic<double>) == sizeof(double) && sizeof(std::atomic<BOOL>) == sizeof(BOOL));
    static_assert(sizeof(TIndicadorEstat) == 104);
    Indicator().Check();
}

TEST(StatusLayout, RangeAndGuardHaveTheirFieldsInOrder) {
    static_assert(sizeof(RANGIE) == 16 && offsetof(RANGIE, m_dFi) == 8);
    static_assert(sizeof(CSetSubRangIE) == 12);
    Guard().Check();
}

TEST(StatusLayout, ExceptionHasItsFieldsInOrder) {
    static_assert(sizeof(CMirvaExcepcio) == 20);
    const CMirvaExcepcio e(1, L"", L"");
    const auto start = reinterpret_cast<const char*>(&e);
    EXPECT_EQ(reinterpret_cast<const char*>(&e.m_nCodi) - start, 8);
    EXPECT_EQ(reinterpret_cast<const char*>(&e.m_strMissatge) - start, 12);
    EXPECT_EQ(reinterpret_cast<const char*>(&e.m_strModul) - start, 16);
}

TEST(StatusLayout, ErrorsAndTimesAreSmallValues) {
    static_assert(sizeof(CLastError) == 4 && sizeof(CStringLastError) == 8 && sizeof(TComptaTemps) == 4);
    const CStringLastError error(5);
    EXPECT_EQ(reinterpret_cast<const char*>(&error.m_dwError) - reinterpret_cast<const char*>(&error), 4);
}
