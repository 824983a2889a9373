// A paused operation on a thread with a message queue.
#include <TIndicadorEstat.h>

#include "afxwin.h"

#include <gtest/gtest.h>

namespace {

TIndicadorEstat* g_indicator;
int g_timerCalls;

void CALLBACK CancelByTimer(HWND, UINT, UINT_PTR timer, DWORD) {
    ++g_timerCalls;
    ::KillTimer(nullptr, timer);
    g_indicator->Cancelar();
}

// Cancels without releasing the pause, as an overridden Cancelar may.
struct Quiet : TIndicadorEstat {
    void Cancelar() override { m_bCancelat = TRUE; }
};

void CALLBACK ResumeAtThird(HWND, UINT, UINT_PTR timer, DWORD) {
    if (++g_timerCalls == 3) {
        ::KillTimer(nullptr, timer);
        g_indicator->Reanudar();
    }
}

class PausedWithMessages : public testing::Test {
protected:
    void SetUp() override { g_timerCalls = 0; }
};

} // namespace

TEST_F(PausedWithMessages, MessagesAreHandledAndACancelAmongThemEndsTheWait) {
    Quiet indicator;
    g_indicator = &indicator;
    indicator.Pausa();
    ::SetTimer(nullptr, 0, 10, CancelByTimer);
    EXPECT_EQ(indicator.EsperarPausa(), -5);
    EXPECT_EQ(g_timerCalls, 1);
    EXPECT_EQ(indicator.GetPausa(), 1);
}

TEST_F(PausedWithMessages, CancelOfTheBaseClassAnswersTooThatItWasCancelled) {
    TIndicadorEstat indicator;
    g_indicator = &indicator;
    indicator.Pausa();
    ::SetTimer(nullptr, 0, 10, CancelByTimer);
    EXPECT_EQ(indicator.EsperarPausa(), -5);
    EXPECT_EQ(indicator.MostrarEstat(0.5), 0);
}

TEST_F(PausedWithMessages, MessagesThatDoNotEndThePauseAreWaitedThrough) {
    TIndicadorEstat indicator;
    g_indicator = &indicator;
    indicator.Pausa();
    ::SetTimer(nullptr, 0, 10, ResumeAtThird);
    EXPECT_EQ(indicator.EsperarPausa(), 0);
    EXPECT_EQ(g_timerCalls, 3);
}

TEST_F(PausedWithMessages, ReportPumpsMessagesUntilItMayGoOn) {
    TIndicadorEstat indicator;
    g_indicator = &indicator;
    indicator.Pausa();
    ::SetTimer(nullptr, 0, 10, ResumeAtThird);
    EXPECT_EQ(indicator.MostrarEstat(0.5), 1);
    EXPECT_EQ(g_timerCalls, 3);
}
