#include <TIndicadorEstat.h>

#include <Idioma.h>

#include "alloc_failure.h"
#include "import_patch.h"
#include "message_capture.h"
#include "throws.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

const unsigned int NotSupportedId = 18001;
const wchar_t NotSupportedText[] = L"Operation not supported.";

// An indicator that records what it is told, with its protected parts in reach.
class Recorder : public TIndicadorEstat {
public:
    explicit Recorder(PFNCALLBACK callback = nullptr, unsigned long user = 0)
        : TIndicadorEstat(callback, user) {}

    int MostrarEstat(double position) override {
        positions.push_back(position);
        return TIndicadorEstat::MostrarEstat(position);
    }

    std::vector<double> Ranges() {
        std::vector<double> ranges;
        for (POSITION pos = m_llistaRangs.GetHeadPosition(); pos;) {
            const RANGIE& range = m_llistaRangs.GetNext(pos);
            ranges.push_back(range.m_dInici);
            ranges.push_back(range.m_dFi);
        }
        return ranges;
    }
    void EmptyStack() {
        RANGIE range;
        while (popRang(range)) {
        }
    }

    using TIndicadorEstat::getMax;
    using TIndicadorEstat::getMin;
    using TIndicadorEstat::getTopRang;
    using TIndicadorEstat::m_bTimerActiu;
    using TIndicadorEstat::m_evContinuar;
    using TIndicadorEstat::m_llistaRangs;
    using TIndicadorEstat::m_pdwIniciTimer;
    using TIndicadorEstat::popRang;
    using TIndicadorEstat::pushRang;

    std::vector<double> positions;
};

struct Call {
    TIndicadorEstat* indicator;
    unsigned long user;
    double position;
};
std::vector<Call> g_calls;

void Record(TIndicadorEstat* indicator, unsigned long user) {
    g_calls.push_back({indicator, user, indicator->GetEstat()});
}

class TIndicadorEstatTest : public testing::Test {
protected:
    void SetUp() override { g_calls.clear(); }
    void TearDown() override { AfxSetLanguage(0x0400); }

    void ExpectRange(double first, double end) {
        double a = -1;
        double b = -1;
        indicator.GetRang(a, b);
        EXPECT_DOUBLE_EQ(a, first);
        EXPECT_DOUBLE_EQ(b, end);
    }

    Recorder indicator;
};

} // namespace

TEST_F(TIndicadorEstatTest, ExampleUsage) {
    TIndicadorEstat ie(Record, 7);
    const int files = 4;
    for (int i = 0; i < files; ++i) {
        CSetSubRangIE slice(&ie, i, files);
        ASSERT_EQ(slice.TestCancel(), 0);
        ie.FormatMissatge(L"File %d", i);
        EXPECT_EQ(TIndicadorEstat::MostrarEstatRel(&ie, 0.5), 1);
    }
    EXPECT_EQ(ie.GetMissatge(), L"File 3");
    EXPECT_EQ(ie.GetEstat(), 1.0);
    ASSERT_EQ(g_calls.size(), 12u);
    EXPECT_EQ(g_calls[1].position, 0.125);
    EXPECT_EQ(g_calls[1].indicator, &ie);
    EXPECT_EQ(g_calls[1].user, 7u);

    ie.Cancelar();
    EXPECT_EQ(ie.MostrarEstat(0.3), 0);
}

TEST_F(TIndicadorEstatTest, StartsRunningAtZeroWithTheWholeRange) {
    EXPECT_EQ(indicator.GetMissatge(), L"");
    EXPECT_EQ(indicator.GetEstat(), 0.0);
    EXPECT_EQ(indicator.TestCancel(), 0);
    EXPECT_EQ(indicator.GetPausa(), 0);
    EXPECT_EQ(indicator.GetTempsTimer(), 0u);
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
    EXPECT_TRUE(indicator.positions.empty());
}

// ---- Message

TEST_F(TIndicadorEstatTest, MessageIsReplaced) {
    indicator.SetMissatge(L"first");
    indicator.SetMissatge(L"second");
    EXPECT_EQ(indicator.GetMissatge(), L"second");
    indicator.SetMissatge(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(indicator.GetMissatge(), L"");
}

TEST_F(TIndicadorEstatTest, MessageIsFormatted) {
    indicator.FormatMissatge(L"%s: %d of %u", L"data", -3, 12u);
    EXPECT_EQ(indicator.GetMissatge(), L"data: -3 of 12");
}

TEST_F(TIndicadorEstatTest, FormattedMessageGoesThroughTheVirtualOperation) {
    struct Upper : TIndicadorEstat {
        using TIndicadorEstat::SetMissatge;
        void SetMissatge(const wchar_t* text) override {
            TIndicadorEstat::SetMissatge(CString(text).MakeUpper().GetString());
        }
    } upper;
    upper.FormatMissatge(L"%s", L"abc");
    EXPECT_EQ(upper.GetMissatge(), L"ABC");
    upper.SetMissatge(NotSupportedId);
    EXPECT_EQ(upper.GetMissatge(), L"OPERATION NOT SUPPORTED.");
    upper.FormatMissatge(18002u, 4, L"kind", L"module");
    EXPECT_EQ(upper.GetMissatge(), L"EXCEPTION 4 (KIND) IN MODULE [MODULE].");
}

TEST_F(TIndicadorEstatTest, MessageFromAResourceIsTakenInTheCurrentLanguage) {
    indicator.SetMissatge(NotSupportedId);
    EXPECT_EQ(indicator.GetMissatge(), NotSupportedText);
    AfxSetLanguage(0x0411); // a language without a module
    indicator.SetMissatge(NotSupportedId);
    EXPECT_EQ(indicator.GetMissatge(), L"");
}

TEST_F(TIndicadorEstatTest, FormatFromAResourceDoesNotFollowTheCurrentLanguage) {
    AfxSetLanguage(0x0411);
    indicator.FormatMissatge(18002u, 4, L"kind", L"module");
    EXPECT_EQ(indicator.GetMissatge(), L"Exception 4 (kind) in module [module].");
}

TEST_F(TIndicadorEstatTest, NullTextsAndFormatsCountAsEmpty) {
    indicator.SetMissatge(L"old");
    indicator.FormatMissatge(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(indicator.GetMissatge(), L"");
    MessageCapture boxes(IDOK);
    EXPECT_EQ(indicator.Report(static_cast<const wchar_t*>(nullptr), 0, 0), IDOK);
    EXPECT_EQ(indicator.Report(64000u, 0, 0), IDOK);
    ASSERT_EQ(boxes.Count(), 2u);
    EXPECT_EQ(boxes[0].text, L"");
    EXPECT_EQ(boxes[1].text, L"");
}

TEST_F(TIndicadorEstatTest, FormatFromAMissingResourceIsTheEmptyMessage) {
    indicator.SetMissatge(L"old");
    indicator.FormatMissatge(64000u, 1);
    EXPECT_EQ(indicator.GetMissatge(), L"");
    indicator.SetMissatge(L"old");
    indicator.SetMissatge(64000u);
    EXPECT_EQ(indicator.GetMissatge(), L"");
}

// ---- Position

TEST_F(TIndicadorEstatTest, EveryPositionReachesTheCallback) {
    TIndicadorEstat ie(Record, 0xFFFFFFFFul);
    EXPECT_EQ(ie.MostrarEstat(0.25), 1);
    EXPECT_EQ(ie.MostrarEstat(0.25), 1);
    EXPECT_EQ(ie.MostrarEstat(-2.0), 1);
    ASSERT_EQ(g_calls.size(), 3u);
    EXPECT_EQ(g_calls[0].position, 0.25);
    EXPECT_EQ(g_calls[1].position, 0.25);
    EXPECT_EQ(g_calls[2].position, -2.0);
    EXPECT_EQ(g_calls[2].user, 0xFFFFFFFFul);
    EXPECT_EQ(ie.GetEstat(), -2.0);
}

TEST_F(TIndicadorEstatTest, RelativePositionLiesInTheTopRange) {
    indicator.SetRang(0.2, 0.6);
    EXPECT_EQ(indicator.MostrarEstatRel(0.5), 1);
    EXPECT_DOUBLE_EQ(indicator.GetEstat(), 0.4);
    EXPECT_EQ(indicator.positions.size(), 1u);
}

TEST_F(TIndicadorEstatTest, CallbackThatCancelsStopsThatVeryReport) {
    TIndicadorEstat ie([](TIndicadorEstat* pIE, unsigned long) { pIE->Cancelar(); });
    EXPECT_EQ(ie.MostrarEstat(0.1), 0);
}

TEST_F(TIndicadorEstatTest, CallbackRunsBeforeThePauseIsWaitedFor) {
    TIndicadorEstat ie([](TIndicadorEstat* pIE, unsigned long) { pIE->Reanudar(); });
    ie.Pausa();
    EXPECT_EQ(ie.MostrarEstat(0.1), 1);
    EXPECT_EQ(ie.GetPausa(), 0);
}

// ---- Ranges

TEST_F(TIndicadorEstatTest, NestedRangesMultiply) {
    EXPECT_EQ(indicator.SetRangPosicioRel(2, 4), 1);
    ExpectRange(0.5, 0.75);
    EXPECT_EQ(indicator.SetSubRangRel(0.2, 0.6), 1);
    ExpectRange(0.55, 0.65);
    EXPECT_EQ(indicator.MostrarEstatRel(0.5), 1);
    EXPECT_EQ(indicator.PopRangRel(), 1);
    EXPECT_EQ(indicator.PopRangRel(), 1);
    ExpectRange(0.0, 1.0);
    const std::vector<double> expected = {0.5, 0.55, 0.6, 0.65, 0.75};
    ASSERT_EQ(indicator.positions.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_DOUBLE_EQ(indicator.positions[i], expected[i]) << i;
}

TEST_F(TIndicadorEstatTest, SlicesAreAdjacentAndFillTheRange) {
    indicator.SetRang(0.1, 0.9);
    const double step = (0.9 - 0.1) / 7.0;
    double end = 0.1;
    for (unsigned int i = 0; i < 7; ++i) {
        EXPECT_EQ(indicator.SetRangPosicioRel(i, 7), 1);
        double a, b;
        indicator.GetRang(a, b);
        EXPECT_EQ(a, i * step + 0.1);
        EXPECT_EQ(b, a + step);
        EXPECT_NEAR(a, end, 1e-15);
        end = b;
        EXPECT_EQ(indicator.PopRangRel(), 1);
    }
    EXPECT_NEAR(end, 0.9, 1e-15);
}

TEST_F(TIndicadorEstatTest, SliceNumbersAreUnsigned) {
    EXPECT_EQ(indicator.SetRangPosicioRel(0x80000000u, 0xFFFFFFFFu), 1);
    double a, b;
    indicator.GetRang(a, b);
    EXPECT_NEAR(a, 0.5, 1e-9);
    EXPECT_GT(b, a);
}

TEST_F(TIndicadorEstatTest, NoSlicesAtAllGiveARangeThatIsNoNumber) {
    EXPECT_EQ(indicator.SetRangPosicioRel(0, 0), 1);
    double a, b;
    indicator.GetRang(a, b);
    EXPECT_TRUE(std::isnan(a));
    EXPECT_EQ(indicator.PopRangRel(), 1);
    EXPECT_EQ(indicator.SetRangPosicioRel(1, 0), 1);
    indicator.GetRang(a, b);
    EXPECT_TRUE(std::isinf(a));
    EXPECT_TRUE(std::isinf(b));
}

TEST_F(TIndicadorEstatTest, PoppingTheBaseRangeEmptiesTheStack) {
    EXPECT_EQ(indicator.PopRangRel(), 1);
    EXPECT_EQ(indicator.positions, (std::vector<double>{1.0}));
    EXPECT_TRUE(indicator.Ranges().empty());
}

TEST_F(TIndicadorEstatTest, EmptyStackShowsNothingAndGoesOn) {
    indicator.EmptyStack();
    indicator.Cancelar();
    EXPECT_EQ(indicator.MostrarEstatRel(0.5), 1);
    EXPECT_EQ(indicator.SetSubRangRel(0.1, 0.2), 1);
    EXPECT_EQ(indicator.SetRangPosicioRel(1, 2), 1);
    EXPECT_EQ(indicator.PopRangRel(), 1);
    EXPECT_TRUE(indicator.positions.empty());
    EXPECT_TRUE(indicator.Ranges().empty());
}

TEST_F(TIndicadorEstatTest, SetRangOverwritesTheTopOrStartsTheStack) {
    indicator.SetRangPosicioRel(0, 2);
    indicator.SetRang(0.3, 0.4);
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0, 0.3, 0.4}));
    indicator.EmptyStack();
    indicator.SetRang(0.6, 0.7);
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.6, 0.7}));
}

TEST_F(TIndicadorEstatTest, ProtectedRangeOperationsWorkOnTheTop) {
    RANGIE range(5, 6);
    indicator.pushRang(0.25, 0.5);
    EXPECT_EQ(indicator.getTopRang(range), 1);
    EXPECT_EQ(range.m_dInici, 0.25);
    EXPECT_EQ(range.m_dFi, 0.5);
    EXPECT_EQ(indicator.popRang(range), 1);
    EXPECT_EQ(range.m_dFi, 0.5);
    EXPECT_EQ(indicator.popRang(range), 1);
    EXPECT_EQ(range.m_dFi, 1.0);
    range.Set(5, 6);
    EXPECT_EQ(indicator.popRang(range), 0);
    EXPECT_EQ(indicator.getTopRang(range), 0);
    EXPECT_EQ(range.m_dInici, 5.0);
}

TEST_F(TIndicadorEstatTest, MaximumOfAnEmptyStackIsZeroButOfNoIndicatorOne) {
    indicator.EmptyStack();
    EXPECT_EQ(indicator.getMin(), 0.0);
    EXPECT_EQ(indicator.getMax(), 0.0);
    ExpectRange(0.0, 0.0);
    EXPECT_EQ(Recorder::getMin(nullptr), 0.0);
    EXPECT_EQ(Recorder::getMax(nullptr), 1.0);
    EXPECT_EQ(Recorder::getMax(&indicator), 0.0);
}

TEST_F(TIndicadorEstatTest, NoIndicatorDoesNothingAndGoesOn) {
    TIndicadorEstat* none = nullptr;
    EXPECT_EQ(TIndicadorEstat::MostrarEstatRel(none, 0.5), 1);
    EXPECT_EQ(TIndicadorEstat::SetSubRangRel(none, 0.1, 0.2), 1);
    EXPECT_EQ(TIndicadorEstat::SetRangPosicioRel(none, 1, 2), 1);
    EXPECT_EQ(TIndicadorEstat::PopRangRel(none), 1);
    Recorder::pushRang(none, 0.0, 1.0);
}

TEST_F(TIndicadorEstatTest, StaticFormsCallTheOperation) {
    EXPECT_EQ(TIndicadorEstat::SetRangPosicioRel(&indicator, 1, 2), 1);
    EXPECT_EQ(TIndicadorEstat::SetSubRangRel(&indicator, 0.0, 0.5), 1);
    EXPECT_EQ(TIndicadorEstat::MostrarEstatRel(&indicator, 0.5), 1);
    indicator.Cancelar();
    EXPECT_EQ(TIndicadorEstat::PopRangRel(&indicator), 0);
    EXPECT_EQ(indicator.positions, (std::vector<double>{0.5, 0.5, 0.625, 0.75}));
    EXPECT_EQ(TIndicadorEstat::MostrarEstatRel(&indicator, 0.5), 0);
    EXPECT_EQ(TIndicadorEstat::SetSubRangRel(&indicator, 0.0, 1.0), 0);
    EXPECT_EQ(TIndicadorEstat::SetRangPosicioRel(&indicator, 0, 1), 0);
}

TEST_F(TIndicadorEstatTest, RangeIsAPlainValue) {
    const RANGIE whole;
    EXPECT_EQ(whole.m_dInici, 0.0);
    EXPECT_EQ(whole.m_dFi, 1.0);
    RANGIE range{0.5, 0.75};
    EXPECT_EQ(range.rang(), 0.25);
    EXPECT_EQ(range.convRang(0.5), 0.625);
    RANGIE other;
    other = range;
    EXPECT_EQ(other.m_dFi, 0.75);
    other = RANGIE(0.1, 0.2);
    EXPECT_EQ(other.m_dInici, 0.1);
    const auto [first, end] = range;
    EXPECT_EQ(first, 0.5);
    EXPECT_EQ(end, 0.75);
}

// ---- Cancel and Init

TEST_F(TIndicadorEstatTest, CancelIsSeenByEveryReportUntilInit) {
    indicator.Cancelar();
    EXPECT_EQ(indicator.TestCancel(), 1);
    EXPECT_EQ(indicator.MostrarEstat(0.1), 0);
    EXPECT_EQ(indicator.MostrarEstatRel(0.1), 0);
    EXPECT_EQ(indicator.SetSubRangRel(0.0, 0.5), 0);
    EXPECT_EQ(indicator.SetRangPosicioRel(0, 2), 0);
    EXPECT_EQ(indicator.PopRangRel(), 0);
    indicator.Reanudar();
    EXPECT_EQ(indicator.TestCancel(), 1);
    indicator.Init();
    EXPECT_EQ(indicator.TestCancel(), 0);
    EXPECT_EQ(indicator.MostrarEstat(0.1), 1);
}

TEST_F(TIndicadorEstatTest, InitPreparesForANewOperation) {
    indicator.SetMissatge(L"old");
    indicator.SetRangPosicioRel(1, 2);
    indicator.Cancelar();
    indicator.Pausa();
    indicator.positions.clear();
    indicator.Init();
    EXPECT_EQ(indicator.GetMissatge(), L"");
    EXPECT_EQ(indicator.GetEstat(), 0.0);
    EXPECT_EQ(indicator.GetPausa(), 0);
    EXPECT_EQ(indicator.TestCancel(), 0);
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
    EXPECT_EQ(indicator.positions, (std::vector<double>{0.0}));
}

TEST_F(TIndicadorEstatTest, InitShowsZeroBeforeItClearsTheCancel) {
    struct Watcher : Recorder {
        int MostrarEstat(double position) override {
            message = GetMissatge(); // the lock is taken again on the same thread
            paused = GetPausa();
            ranges = Ranges().size() / 2;
            return result = Recorder::MostrarEstat(position);
        }
        CString message = L"unset";
        int paused = -1;
        size_t ranges = 0;
        int result = -1;
    } watcher;
    watcher.SetMissatge(L"old");
    watcher.pushRang(0.1, 0.2);
    watcher.Cancelar();
    watcher.Pausa();
    watcher.Init();
    EXPECT_EQ(watcher.message, L"");
    EXPECT_EQ(watcher.paused, 0);
    EXPECT_EQ(watcher.ranges, 2u);
    EXPECT_EQ(watcher.result, 0);
    EXPECT_EQ(watcher.TestCancel(), 0);
}

// ---- Pause on one thread (see TIndicadorEstatThreadsTest.cpp)

TEST_F(TIndicadorEstatTest, PauseIsASwitch) {
    indicator.Pausa();
    indicator.Pausa();
    EXPECT_EQ(indicator.GetPausa(), 1);
    indicator.Reanudar();
    EXPECT_EQ(indicator.GetPausa(), 0);
    indicator.Pausa();
    indicator.Cancelar();
    EXPECT_EQ(indicator.GetPausa(), 0);
    EXPECT_EQ(indicator.EsperarPausa(), 0);
}

TEST_F(TIndicadorEstatTest, WaitForARunningIndicatorEndsAtOnce) {
    EXPECT_EQ(indicator.EsperarPausa(), 0);
    indicator.Cancelar();
    EXPECT_EQ(indicator.EsperarPausa(), 0);
}

TEST_F(TIndicadorEstatTest, WaitThatCannotBeDoneAnswersOneAndTheReportGoesOn) {
    HANDLE const event = indicator.m_evContinuar.m_hObject;
    indicator.m_evContinuar.m_hObject = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(0x7654320));
    EXPECT_EQ(indicator.EsperarPausa(), 1);
    EXPECT_EQ(indicator.MostrarEstat(0.5), 1);
    indicator.m_evContinuar.m_hObject = event;
}

// ---- Timer

TEST_F(TIndicadorEstatTest, TimerCountsFromItsStart) {
    indicator.ActivarTimer();
    ASSERT_NE(indicator.m_pdwIniciTimer, nullptr);
    EXPECT_LT(indicator.GetTempsTimer(), 60000u);
    *indicator.m_pdwIniciTimer -= 5000;
    EXPECT_GE(indicator.GetTempsTimer(), 5000u);
    EXPECT_LT(indicator.GetTempsTimer(), 65000u);
    indicator.ActivarTimer(); // anew
    EXPECT_LT(indicator.GetTempsTimer(), 5000u);
    indicator.DesactivarTimer();
    EXPECT_EQ(indicator.GetTempsTimer(), 0u);
    EXPECT_EQ(indicator.m_pdwIniciTimer, nullptr);
    EXPECT_EQ(indicator.m_bTimerActiu, 0);
}

TEST_F(TIndicadorEstatTest, TimerSurvivesTheWrapOfTheTickCount) {
    indicator.ActivarTimer();
    *indicator.m_pdwIniciTimer = ::GetTickCount() + 1000; // 1,000 ms less than a whole round ago
    EXPECT_GE(indicator.GetTempsTimer(), 0xFFFFFFFFul - 1000);
    EXPECT_LE(indicator.GetTempsTimer(), 0xFFFFFFFFul);
}

TEST_F(TIndicadorEstatTest, InitRestartsAnEnabledTimerOnly) {
    indicator.Init();
    EXPECT_EQ(indicator.m_pdwIniciTimer, nullptr);
    indicator.ActivarTimer();
    *indicator.m_pdwIniciTimer -= 100000;
    indicator.Init();
    ASSERT_NE(indicator.m_pdwIniciTimer, nullptr);
    EXPECT_LT(indicator.GetTempsTimer(), 100000u);
    indicator.DesactivarTimer();
    indicator.Init();
    EXPECT_EQ(indicator.m_pdwIniciTimer, nullptr);
}

// ---- Message boxes

TEST_F(TIndicadorEstatTest, ReportShowsTheKindsIcon) {
    struct {
        int kind;
        unsigned int style;
    } const cases[] = {
        {0, MB_ICONINFORMATION}, {1, MB_ICONEXCLAMATION}, {2, MB_ICONHAND}, {3, MB_OK}, {-1, MB_OK}};
    for (const auto& c : cases) {
        MessageCapture boxes(IDCANCEL);
        EXPECT_EQ(indicator.Report(L"text", c.kind, 99), IDCANCEL);
        ASSERT_EQ(boxes.Count(), 1u);
        EXPECT_EQ(boxes[0].text, L"text");
        EXPECT_EQ(boxes[0].style, c.style) << c.kind;
        EXPECT_EQ(boxes[0].help, 99u);
    }
}

TEST_F(TIndicadorEstatTest, ReportsOfEachKindTakeATextOrAResource) {
    MessageCapture boxes(IDYES);
    EXPECT_EQ(indicator.ReportInfo(L"info", 1), IDYES);
    EXPECT_EQ(indicator.ReportAvis(L"warning", 2), IDYES);
    EXPECT_EQ(indicator.ReportError(L"error", 3), IDYES);
    EXPECT_EQ(indicator.ReportInfo(NotSupportedId, 4), IDYES);
    EXPECT_EQ(indicator.ReportAvis(NotSupportedId, 5), IDYES);
    EXPECT_EQ(indicator.ReportError(NotSupportedId, 6), IDYES);
    EXPECT_EQ(indicator.Report(NotSupportedId, 7, 7), IDYES);
    ASSERT_EQ(boxes.Count(), 7u);
    const wchar_t* const texts[] = {L"info",          L"warning",       L"error",        NotSupportedText,
                                    NotSupportedText, NotSupportedText, NotSupportedText};
    const unsigned int icons[] = {MB_ICONINFORMATION, MB_ICONEXCLAMATION, MB_ICONHAND, MB_ICONINFORMATION,
                                  MB_ICONEXCLAMATION, MB_ICONHAND,        MB_OK};
    for (unsigned int i = 0; i < 7; ++i) {
        EXPECT_EQ(boxes[i].text, texts[i]) << i;
        EXPECT_EQ(boxes[i].style, icons[i]) << i;
        EXPECT_EQ(boxes[i].help, i + 1) << i;
    }
}

TEST_F(TIndicadorEstatTest, ReportsGoThroughTheVirtualOperation) {
    struct Silent : TIndicadorEstat {
        using TIndicadorEstat::Report;
        int Report(const wchar_t* text, int kind, unsigned int help) override {
            log.AppendFormat(L"%s/%d/%u;", text, kind, help);
            return 42;
        }
        CString log;
    } silent;
    EXPECT_EQ(silent.ReportInfo(L"a", 1), 42);
    EXPECT_EQ(silent.ReportAvis(NotSupportedId, 2), 42);
    EXPECT_EQ(silent.ReportError(L"c", 3), 42);
    EXPECT_EQ(silent.Report(NotSupportedId, 9, 4), 42);
    EXPECT_EQ(silent.log, L"a/0/1;Operation not supported./1/2;c/2/3;Operation not supported./9/4;");
}

TEST_F(TIndicadorEstatTest, ReportedResourceIsTakenInTheCurrentLanguage) {
    AfxSetLanguage(0x0411);
    MessageCapture boxes;
    indicator.ReportError(NotSupportedId, 0);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].text, L"");
}

// ---- CSetSubRangIE

namespace {

class Guard : public CSetSubRangIE {
public:
    using CSetSubRangIE::CSetSubRangIE;
    using CSetSubRangIE::m_bActiu;
    using CSetSubRangIE::m_pIE;
};

} // namespace

TEST_F(TIndicadorEstatTest, GuardPopsItsRangeAtTheEndOfTheScope) {
    {
        Guard guard(&indicator, 1, 4);
        EXPECT_EQ(guard.m_bActiu, 1);
        EXPECT_EQ(guard.m_pIE, &indicator);
        ExpectRange(0.25, 0.5);
    }
    ExpectRange(0.0, 1.0);
    {
        Guard guard(&indicator, 0.5, 0.75);
        ExpectRange(0.5, 0.75);
    }
    ExpectRange(0.0, 1.0);
    EXPECT_EQ(indicator.positions, (std::vector<double>{0.25, 0.5, 0.5, 0.75}));
}

TEST_F(TIndicadorEstatTest, RestoredGuardPopsOnce) {
    {
        Guard guard(&indicator, 0, 2);
        guard.Restore();
        EXPECT_EQ(guard.m_bActiu, 0);
        guard.Restore();
    }
    EXPECT_EQ(indicator.positions, (std::vector<double>{0.0, 0.5}));
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
}

TEST_F(TIndicadorEstatTest, GuardChangesItsRange) {
    {
        Guard guard(&indicator, 0, 2);
        guard.SetSubRang(0.5, 1.0);
        ExpectRange(0.5, 1.0);
        EXPECT_EQ(guard.m_bActiu, 1);
        guard.SetSubRangPosicio(3, 4);
        ExpectRange(0.75, 1.0);
        guard.Restore();
        guard.SetSubRangPosicio(1, 4);
        ExpectRange(0.25, 0.5);
    }
    EXPECT_EQ(indicator.positions, (std::vector<double>{0.0, 0.5, 0.5, 1.0, 0.75, 1.0, 0.25, 0.5}));
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
}

TEST_F(TIndicadorEstatTest, GuardWithoutAnIndicatorIsActiveAndPopsNothing) {
    Guard guard(nullptr, 1, 4);
    EXPECT_EQ(guard.m_bActiu, 1);
    EXPECT_EQ(guard.TestCancel(), 0);
    guard.SetSubRang(0.1, 0.2);
    guard.SetSubRangPosicio(0, 1);
    EXPECT_EQ(guard.m_bActiu, 1);
    Guard other(nullptr, 0.1, 0.2);
    EXPECT_EQ(other.m_bActiu, 1);
    guard.Restore();
}

TEST_F(TIndicadorEstatTest, GuardAsksTheVirtualTestCancel) {
    struct Always : TIndicadorEstat {
        int TestCancel() override { return 77; }
    } always;
    EXPECT_EQ(CSetSubRangIE(&always, 0, 1).TestCancel(), 77);
}

TEST_F(TIndicadorEstatTest, CancelledGuardIsActiveAllTheSame) {
    indicator.Cancelar();
    {
        Guard guard(&indicator, 1, 2);
        EXPECT_EQ(guard.m_bActiu, 1);
        EXPECT_EQ(guard.TestCancel(), 1);
    }
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
}

TEST_F(TIndicadorEstatTest, CopiedGuardOwesTheSamePopAgain) {
    indicator.pushRang(0.0, 0.5);
    {
        Guard guard(&indicator, 1, 2);
        Guard copy(guard);
        EXPECT_EQ(copy.m_bActiu, 1);
        EXPECT_EQ(copy.m_pIE, &indicator);
        Guard assigned(nullptr, 0, 1);
        assigned = guard;
        EXPECT_EQ(assigned.m_pIE, &indicator);
        assigned.m_bActiu = 0;
    }
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
}

TEST_F(TIndicadorEstatTest, PopOnAnIndicatorEmptiedMeanwhileShowsNothing) {
    {
        Guard guard(&indicator, 1, 2);
        indicator.EmptyStack();
        indicator.positions.clear();
    }
    EXPECT_TRUE(indicator.positions.empty());
}

// ---- Failures

namespace {

typedef CList<RANGIE, const RANGIE&> RangeList;

// Reaches the tail of a list from outside.
struct TailOf : RangeList {
    template <class Action>
    static void WithoutTail(RangeList& list, Action action) {
        const auto tail = list.*(&TailOf::m_pNodeTail);
        list.*(&TailOf::m_pNodeTail) = nullptr;
        action();
        list.*(&TailOf::m_pNodeTail) = tail;
    }
};

template <class Action>
bool ThrowsInvalidArgument(Action action) {
    try {
        action();
    } catch (CInvalidArgException* e) {
        e->Delete();
        return true;
    }
    return false;
}

} // namespace

TEST_F(TIndicadorEstatTest, StackWithElementsButNoTailIsAnInvalidArgument) {
    TailOf::WithoutTail(indicator.m_llistaRangs, [&] {
        RANGIE range;
        EXPECT_TRUE(ThrowsInvalidArgument([&] { indicator.getMin(); }));
        EXPECT_TRUE(ThrowsInvalidArgument([&] { indicator.getMax(); }));
        EXPECT_TRUE(ThrowsInvalidArgument([&] { indicator.getTopRang(range); }));
        EXPECT_TRUE(ThrowsInvalidArgument([&] { indicator.popRang(range); }));
    });
    EXPECT_EQ(indicator.getMax(), 1.0);
}

TEST_F(TIndicadorEstatTest, TimerWithoutMemoryStaysAtZeroButEnabled) {
    {
        FailAllocation failure(1);
        indicator.ActivarTimer();
        EXPECT_EQ(failure.Failed(), 1);
    }
    EXPECT_EQ(indicator.m_pdwIniciTimer, nullptr);
    EXPECT_EQ(indicator.GetTempsTimer(), 0u);
    EXPECT_EQ(indicator.m_bTimerActiu, 1);
    indicator.Init();
    EXPECT_NE(indicator.m_pdwIniciTimer, nullptr);
}

TEST_F(TIndicadorEstatTest, ConstructionWithoutMemoryThrowsAndLeavesNothing) {
    int refused = 0;
    const int failures = FailEachAllocation([&] {
        try {
            TIndicadorEstat ie;
        } catch (CMemoryException* e) {
            e->Delete();
            ++refused;
        } catch (CResourceException* e) { // the event
            e->Delete();
            ++refused;
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(refused, failures);
}

TEST_F(TIndicadorEstatTest, PushWithoutMemoryThrowsAndLeavesTheStack) {
    for (int i = 1; i < 10; ++i)
        indicator.pushRang(0.0, 1.0); // fills the list's block
    const size_t before = indicator.Ranges().size();
    indicator.positions.clear();
    {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        EXPECT_THROW(indicator.SetSubRangRel(0.0, 0.5), CMemoryException*);
        EXPECT_THROW(indicator.SetRangPosicioRel(0, 2), CMemoryException*);
    }
    EXPECT_EQ(indicator.Ranges().size(), before);
    EXPECT_TRUE(indicator.positions.empty());
}

TEST_F(TIndicadorEstatTest, MessageWithoutMemoryThrowsAndKeepsTheOldOne) {
    const wchar_t* const longer = L"a longer message than the old one, which needs a block of its own";
    const std::function<void()> operations[] = {[&] { indicator.SetMissatge(longer); },
                                                [&] { indicator.SetMissatge(NotSupportedId); },
                                                [&] { indicator.FormatMissatge(L"%s", longer); },
                                                [&] { indicator.FormatMissatge(18002u, 4, longer, longer); }};
    for (const auto& operation : operations) {
        indicator.SetMissatge(L"old");
        const int failures = FailEachAllocation([&] {
            const CString before = indicator.GetMissatge();
            if (ThrowsMemoryException(operation)) {
                EXPECT_EQ(indicator.GetMissatge(), before);
            }
        });
        EXPECT_GT(failures, 0);
        EXPECT_NE(indicator.GetMissatge(), L"old");
    }
}

TEST_F(TIndicadorEstatTest, InitNeedsNoMemory) {
    indicator.SetMissatge(L"old");
    indicator.SetRangPosicioRel(1, 4);
    indicator.Cancelar();
    {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        EXPECT_NO_THROW(indicator.Init());
    }
    EXPECT_EQ(indicator.GetMissatge(), L"");
    EXPECT_EQ(indicator.TestCancel(), 0);
    EXPECT_EQ(indicator.Ranges(), (std::vector<double>{0.0, 1.0}));
    EXPECT_EQ(indicator.MostrarEstatRel(0.5), 1);
    EXPECT_EQ(indicator.GetEstat(), 0.5);
}

namespace {

DWORD g_criticalSectionError = 0;

BOOL WINAPI InitializeOrFail(LPCRITICAL_SECTION section, DWORD spinCount) {
    if (g_criticalSectionError == 0)
        return ::InitializeCriticalSectionAndSpinCount(section, spinCount);
    EXPECT_EQ(spinCount, 0u);
    ::SetLastError(g_criticalSectionError);
    return FALSE;
}

} // namespace

TEST_F(TIndicadorEstatTest, LockThatTheSystemRefusesIsThrownAsItsCode) {
    ASSERT_GT(PatchImport("mvafx62", {"InitializeCriticalSectionAndSpinCount",
                                      reinterpret_cast<void*>(&InitializeOrFail)}),
              0);
    g_criticalSectionError = 14; // out of memory
    EXPECT_THROW(TIndicadorEstat(), CMemoryException*);
    g_criticalSectionError = 5;
    try {
        TIndicadorEstat refused;
        ADD_FAILURE() << "not refused";
    } catch (COleException* e) {
        EXPECT_EQ(static_cast<DWORD>(e->m_sc), 0x80070005u);
        e->Delete();
    }
    g_criticalSectionError = 0;
    TIndicadorEstat granted;
    EXPECT_EQ(granted.MostrarEstat(0.5), 1);
}
