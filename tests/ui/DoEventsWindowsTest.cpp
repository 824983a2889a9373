#include <ui/DoEvents.h>

#include "debug_capture.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

int g_handled;

void CALLBACK Count(HWND, UINT, UINT_PTR timer, DWORD) {
    ++g_handled;
    ::KillTimer(nullptr, timer);
}

void PostTimerMessage() {
    MSG message;
    ::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE); // makes the queue
    ASSERT_TRUE(::PostMessageW(nullptr, WM_TIMER, 12345, reinterpret_cast<LPARAM>(&Count)));
}

// An application of the calling thread in a module state of its own.
class IdleApp : public CWinApp {
public:
    BOOL OnIdle(LONG count) override {
        counts.push_back(count);
        return count < 2;
    }
    BOOL PumpMessage() override {
        ++pumped;
        return CWinApp::PumpMessage();
    }
    std::vector<LONG> counts;
    int pumped = 0;
};

// Runs `work` with an IdleApp as the thread's.
template <class Work>
void OnAThreadOfItsOwn(Work work) {
    std::thread([&] {
        AFX_MODULE_STATE state(TRUE);
        AFX_MANAGE_STATE(&state);
        IdleApp app;
        ASSERT_EQ(AfxGetThread(), &app);
        work(app);
    }).join();
}

} // namespace

TEST(DoEventsTest, HandlesWhatWaitsAndReturns) {
    g_handled = 0;
    PostTimerMessage();
    PostTimerMessage();
    AfxDoEvents(static_cast<HWND>(nullptr), 0);
    EXPECT_EQ(g_handled, 2);
    AfxDoEvents(static_cast<HWND>(nullptr), 1);
    EXPECT_EQ(g_handled, 2);
}

TEST(DoEventsTest, QuitEndsItAndIsPostedAgain) {
    DebugCapture output;
    ::PostQuitMessage(3);
    AfxDoEvents(static_cast<HWND>(nullptr), 0);
    EXPECT_EQ(output.Text(), L"[AfxDoEvents] WM_QUIT rebut dins del AfxDoEvents...\n");
    MSG message;
    ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 0u);
}

TEST(DoEventsTest, IdleWorkIsAskedForUntilThereIsNone) {
    OnAThreadOfItsOwn([](IdleApp& app) {
        AfxDoEvents(static_cast<HWND>(nullptr), 0);
        EXPECT_TRUE(app.counts.empty());
        AfxDoEvents(static_cast<HWND>(nullptr), 1);
        EXPECT_EQ(app.counts, (std::vector<LONG>{0, 1, 2}));
        EXPECT_EQ(app.pumped, 0); // nothing waited
    });
}

TEST(DoEventsTest, MessagesGoThroughThePumpOfTheThreadBeforeItIdles) {
    OnAThreadOfItsOwn([](IdleApp& app) {
        g_handled = 0;
        PostTimerMessage();
        PostTimerMessage();
        AfxDoEvents(static_cast<HWND>(nullptr), 1);
        EXPECT_EQ(g_handled, 2);
        EXPECT_EQ(app.pumped, 2);
        EXPECT_EQ(app.counts, (std::vector<LONG>{0, 1, 2}));
    });
}

TEST(DoEventsTest, NothingIsPumpedBehindTheQuitMessage) {
    OnAThreadOfItsOwn([](IdleApp& app) {
        DebugCapture output;
        ::PostQuitMessage(3);
        AfxDoEvents(static_cast<HWND>(nullptr), 0);
        EXPECT_EQ(app.pumped, 1);
        EXPECT_EQ(app.CWinApp::Run(), 0); // the main loop ends
        EXPECT_EQ(output.Text(), L"[AfxDoEvents] WM_QUIT rebut dins del AfxDoEvents...\n");
    });
}

TEST(DoEventsTest, ThreadUnknownToTheFrameworkHandlesItsMessagesToo) {
    g_handled = 0;
    std::thread([] {
        PostTimerMessage();
        AfxDoEvents(static_cast<HWND>(nullptr), 1);
    }).join();
    EXPECT_EQ(g_handled, 1);
}
