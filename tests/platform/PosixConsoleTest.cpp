// Interruption from the keyboard, in the POSIX layer. Each case runs in a process of its own.
#include <gtest/gtest.h>
#include <win32.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace {

std::atomic<int> g_first{0};
std::atomic<int> g_second{0};
std::atomic<DWORD> g_event{99};

BOOL First(DWORD) {
    ++g_first;
    return TRUE;
}

BOOL Second(DWORD event) {
    ++g_second;
    g_event = event;
    return TRUE;
}

BOOL Refuse(DWORD) {
    ++g_second;
    return FALSE;
}

bool Reaches(const std::atomic<int>& counter, int value) {
    for (int i = 0; i < 500 && counter < value; ++i)
        Sleep(10);
    return counter == value;
}

void Interrupt(int number = SIGINT) {
    ::kill(::getpid(), number);
}

} // namespace

TEST(Interruption, LastHandlerIsAskedFirst) {
    EXPECT_EXIT(
        {
            SetConsoleCtrlHandler(&First, TRUE);
            SetConsoleCtrlHandler(&Second, TRUE);
            Interrupt();
            bool good = Reaches(g_second, 1) && g_first == 0 && g_event == CTRL_C_EVENT;
            SetConsoleCtrlHandler(&Second, FALSE);
            Interrupt(SIGTERM);
            good = good && Reaches(g_first, 1) && g_second == 1;
            ::_exit(good ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Interruption, HandlerThatRefusesPassesOn) {
    EXPECT_EXIT(
        {
            SetConsoleCtrlHandler(&First, TRUE);
            SetConsoleCtrlHandler(&Refuse, TRUE);
            Interrupt();
            ::_exit(Reaches(g_first, 1) && g_second == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Interruption, WithoutATakerTheProcessEndsByTheSignal) {
    EXPECT_EXIT(
        {
            SetConsoleCtrlHandler(&Refuse, TRUE);
            Interrupt();
            Sleep(5000);
            ::_exit(1);
        },
        testing::KilledBySignal(SIGINT), "");
}

TEST(Interruption, RemovedHandlersLeaveTheDefault) {
    EXPECT_EXIT(
        {
            SetConsoleCtrlHandler(&First, TRUE);
            SetConsoleCtrlHandler(&First, FALSE);
            Interrupt();
            Sleep(5000);
            ::_exit(1);
        },
        testing::KilledBySignal(SIGINT), "");
}

TEST(Interruption, NullHandlerIgnoresCtrlC) {
    EXPECT_EXIT(
        {
            SetConsoleCtrlHandler(nullptr, TRUE);
            Interrupt();
            Sleep(100);
            ::_exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Interruption, HandlerThatWasNotAddedGives87) {
    EXPECT_FALSE(SetConsoleCtrlHandler(&First, FALSE));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}
