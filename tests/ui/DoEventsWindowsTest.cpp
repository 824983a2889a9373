#include <ui/DoEvents.h>

#include "debug_capture.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <thread>

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

struct IdleThread : CWinThread {
    BOOL OnIdle(LONG count) override {
        idle = count + 1;
        return count < 2;
    }
    LONG idle = 0;
};

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

TEST(DoEventsTest, ThreadUnknownToTheFrameworkHandlesItsMessagesToo) {
    g_handled = 0;
    std::thread([] {
        PostTimerMessage();
        AfxDoEvents(static_cast<HWND>(nullptr), 1);
    }).join();
    EXPECT_EQ(g_handled, 1);
}
