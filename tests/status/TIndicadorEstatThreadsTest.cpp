// The status indicator between a worker and a second thread. Run under ThreadSanitizer as well.
#include <TIndicadorEstat.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

// A long operation in the manner of the library's: -5 when it is cancelled.
int Work(TIndicadorEstat* pIE, std::atomic<int>& done, int steps) {
    for (int i = 0; i < steps; ++i) {
        if (!TIndicadorEstat::SetRangPosicioRel(pIE, i, steps))
            return -5;
        pIE->FormatMissatge(L"Step %d", i);
        ++done;
        if (!TIndicadorEstat::PopRangRel(pIE))
            return -5;
    }
    return 0;
}

class TIndicadorEstatThreads : public testing::Test {
protected:
    void Start(int steps) {
        worker = std::thread([this, steps] { result = Work(&indicator, done, steps); });
    }
    // Waits until the worker's counter stands still, as it does in a pause.
    int WaitForStandstill() {
        int before = -1;
        while (before != done) {
            before = done;
            std::this_thread::sleep_for(50ms);
        }
        return before;
    }
    int Finish() {
        worker.join();
        return result;
    }
    void TearDown() override {
        if (worker.joinable()) {
            indicator.Cancelar();
            worker.join();
        }
    }

    static const int Endless = 0x7FFFFFFF;
    TIndicadorEstat indicator;
    std::atomic<int> done{0};
    std::atomic<int> result{1};
    std::thread worker;
};

} // namespace

TEST_F(TIndicadorEstatThreads, SecondThreadPausesResumesAndCancelsARunningOperation) {
    Start(Endless);
    while (done < 100)
        std::this_thread::yield();
    indicator.Pausa();
    EXPECT_EQ(indicator.GetPausa(), 1);
    const int paused = WaitForStandstill();
    // On a busy machine it may not have run at all meanwhile: then the step that it was in is still to come.
    EXPECT_LE(done, paused + 1);

    indicator.Reanudar();
    while (done < paused + 101)
        std::this_thread::yield();
    EXPECT_EQ(indicator.GetPausa(), 0);
    EXPECT_GE(indicator.GetEstat(), 0.0);
    EXPECT_EQ(indicator.GetMissatge().Left(5), L"Step ");

    indicator.Cancelar();
    EXPECT_EQ(Finish(), -5);
    EXPECT_EQ(indicator.TestCancel(), 1);
}

TEST_F(TIndicadorEstatThreads, CancelDuringAPauseStopsTheOperation) {
    indicator.Pausa();
    Start(Endless);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(done, 0);
    EXPECT_EQ(result, 1);
    indicator.Cancelar();
    EXPECT_EQ(Finish(), -5);
    EXPECT_EQ(done, 0);
}

TEST_F(TIndicadorEstatThreads, ResumeLetsAPausedOperationFinish) {
    indicator.Pausa();
    Start(3);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(done, 0);
    indicator.Reanudar();
    EXPECT_EQ(Finish(), 0);
    EXPECT_EQ(done, 3);
    EXPECT_EQ(indicator.GetEstat(), 1.0);
    EXPECT_EQ(indicator.GetMissatge(), L"Step 2");
}

TEST_F(TIndicadorEstatThreads, WaitForThePauseAnswersZeroWhenResumed) {
    indicator.Pausa();
    std::atomic<int> answer{-1};
    worker = std::thread([&] { answer = indicator.EsperarPausa(); });
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(answer, -1);
    indicator.Reanudar();
    worker.join();
    EXPECT_EQ(answer, 0);
}

TEST_F(TIndicadorEstatThreads, ManyChangesOfStateLoseNoCancel) {
    for (int round = 0; round < 50; ++round) {
        indicator.Init();
        done = 0;
        Start(Endless);
        for (int i = 0; i < 20; ++i) {
            indicator.Pausa();
            EXPECT_EQ(indicator.TestCancel(), 0);
            indicator.Reanudar();
            indicator.GetMissatge();
            indicator.GetEstat();
        }
        indicator.Pausa();
        indicator.Cancelar();
        EXPECT_EQ(Finish(), -5);
    }
}

TEST_F(TIndicadorEstatThreads, CallbackRunsOutsideTheLock) {
    TIndicadorEstat ie([](TIndicadorEstat* pIE, unsigned long) {
        // Would not end if the lock were held by this thread.
        std::thread([pIE] { pIE->SetMissatge(L"from another thread"); }).join();
    });
    EXPECT_EQ(ie.MostrarEstat(0.5), 1);
    EXPECT_EQ(ie.GetMissatge(), L"from another thread");
}
