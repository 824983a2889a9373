// Events, mutexes, semaphores, waits, critical sections, interlocked operations.
#include <gtest/gtest.h>
#include <win32.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace {

// A handle that is closed at the end.
class Handle {
public:
    explicit Handle(HANDLE handle)
        : m_handle(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (m_handle)
            CloseHandle(m_handle);
    }
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

HANDLE ManualEvent(bool signalled = false) {
    return CreateEventW(nullptr, TRUE, signalled, nullptr);
}

HANDLE AutomaticEvent(bool signalled = false) {
    return CreateEventW(nullptr, FALSE, signalled, nullptr);
}

DWORD Poll(HANDLE handle) {
    return WaitForSingleObject(handle, 0);
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
}

} // namespace

TEST(Events, ExampleUsage) {
    const Handle ready(ManualEvent());
    std::thread worker([&ready] { SetEvent(ready); });
    EXPECT_EQ(WaitForSingleObject(ready, INFINITE), WAIT_OBJECT_0);
    worker.join();
}

TEST(Events, ManualEventStaysSignalled) {
    const Handle event(ManualEvent());
    EXPECT_EQ(Poll(event), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(SetEvent(event));
    EXPECT_EQ(Poll(event), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(event), WAIT_OBJECT_0);
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_EQ(Poll(event), DWORD{WAIT_TIMEOUT});
}

TEST(Events, AutomaticEventIsTakenByOneWait) {
    const Handle event(AutomaticEvent(true));
    EXPECT_EQ(Poll(event), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(event), DWORD{WAIT_TIMEOUT});
}

TEST(Events, AutomaticEventReleasesOneThreadForEachSet) {
    const Handle event(AutomaticEvent());
    std::atomic<int> released{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
            ++released;
        });
    for (int expected = 1; expected <= 3; ++expected) {
        SetEvent(event);
        while (released < expected)
            Pause();
        Pause();
        EXPECT_EQ(released, expected);
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Events, ManualEventReleasesAllThreads) {
    const Handle event(ManualEvent());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0); });
    SetEvent(event);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Events, WaitEndsAfterItsTime) {
    const Handle event(ManualEvent());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForSingleObject(event, 50), DWORD{WAIT_TIMEOUT});
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
}

TEST(Events, PulseReleasesWaitersAndLeavesTheEventReset) {
    const Handle event(ManualEvent());
    std::atomic<bool> released{false};
    std::thread waiter([&] {
        EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
        released = true;
    });
    while (!released) {
        Pause();
        EXPECT_TRUE(PulseEvent(event));
    }
    waiter.join();
    EXPECT_EQ(Poll(event), DWORD{WAIT_TIMEOUT});
}

TEST(Events, NamedEventIsFoundAndReported) {
    const std::wstring name = L"mvlib62-test-" + std::to_wstring(GetCurrentProcessId());
    SetLastError(99);
    const Handle first(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    const Handle second(CreateEventW(nullptr, FALSE, TRUE, name.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_NE(HANDLE(first), HANDLE(second));
    // It is the first one: neither automatic nor signalled.
    EXPECT_EQ(Poll(second), DWORD{WAIT_TIMEOUT});
    SetEvent(first);
    EXPECT_EQ(Poll(second), WAIT_OBJECT_0);
    const Handle third(OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str()));
    EXPECT_EQ(Poll(third), WAIT_OBJECT_0);
    EXPECT_EQ(CreateMutexW(nullptr, FALSE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(Events, NameGoesWithTheLastHandle) {
    const std::wstring name = L"mvlib62-gone-" + std::to_wstring(GetCurrentProcessId());
    CloseHandle(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    EXPECT_EQ(OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(Events, DuplicateIsTheSameEvent) {
    const Handle event(ManualEvent());
    HANDLE copy = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), event, GetCurrentProcess(), &copy, 0, FALSE,
                                DUPLICATE_SAME_ACCESS));
    const Handle owner(copy);
    SetEvent(copy);
    EXPECT_EQ(Poll(event), WAIT_OBJECT_0);
}

// Waiting for several

TEST(Waits, AnyAnswersTheLowestIndex) {
    const Handle first(ManualEvent());
    const Handle second(ManualEvent(true));
    const Handle third(ManualEvent(true));
    const HANDLE all[] = {first, second, third};
    EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, 0), WAIT_OBJECT_0 + 1);
}

TEST(Waits, AnyTakesOneAutomaticEventOnly) {
    const Handle first(AutomaticEvent(true));
    const Handle second(AutomaticEvent(true));
    const HANDLE all[] = {first, second};
    EXPECT_EQ(WaitForMultipleObjects(2, all, FALSE, 0), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(first), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(Poll(second), WAIT_OBJECT_0);
}

TEST(Waits, AllTakesNothingUntilEverythingIsSignalled) {
    const Handle first(AutomaticEvent(true));
    const Handle second(AutomaticEvent());
    const HANDLE all[] = {first, second};
    EXPECT_EQ(WaitForMultipleObjects(2, all, TRUE, 20), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(Poll(first), WAIT_OBJECT_0);
    SetEvent(first);
    SetEvent(second);
    EXPECT_EQ(WaitForMultipleObjects(2, all, TRUE, 20), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(first), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(Poll(second), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, AllIsReleasedByTheLastOne) {
    const Handle first(AutomaticEvent());
    const Handle second(AutomaticEvent());
    const HANDLE all[] = {first, second};
    std::thread worker([&] {
        SetEvent(second);
        Pause();
        SetEvent(first);
    });
    EXPECT_EQ(WaitForMultipleObjects(2, all, TRUE, INFINITE), WAIT_OBJECT_0);
    worker.join();
}

TEST(Waits, AnyIsReleasedByWhicheverComes) {
    const Handle first(ManualEvent());
    const Handle second(ManualEvent());
    const HANDLE all[] = {first, second};
    std::thread worker([&] {
        Pause();
        SetEvent(second);
    });
    EXPECT_EQ(WaitForMultipleObjects(2, all, FALSE, INFINITE), WAIT_OBJECT_0 + 1);
    worker.join();
}

TEST(Waits, QueueWaitEndsByTheEvent) {
    const Handle event(ManualEvent(true));
    const HANDLE all[] = {event};
    EXPECT_EQ(MsgWaitForMultipleObjects(1, all, FALSE, INFINITE, QS_ALLINPUT), WAIT_OBJECT_0);
    ResetEvent(event);
    EXPECT_EQ(MsgWaitForMultipleObjects(1, all, FALSE, 10, QS_ALLINPUT), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, ManyThreadsShareOneSemaphore) {
    const Handle semaphore(CreateSemaphoreW(nullptr, 2, 2, nullptr));
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                ASSERT_EQ(WaitForSingleObject(semaphore, INFINITE), WAIT_OBJECT_0);
                const int now = ++inside;
                int seen = most;
                while (now > seen && !most.compare_exchange_weak(seen, now)) {
                }
                --inside;
                ReleaseSemaphore(semaphore, 1, nullptr);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_LE(most, 2);
    EXPECT_EQ(Poll(semaphore), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(semaphore), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(semaphore), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, BadHandleGives6) {
    const Handle event(ManualEvent(true));
    HANDLE closed = ManualEvent();
    CloseHandle(closed);
    for (const HANDLE bad : {HANDLE(nullptr), closed}) {
        SetLastError(0);
        EXPECT_EQ(WaitForSingleObject(bad, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        const HANDLE all[] = {event, bad};
        SetLastError(0);
        EXPECT_EQ(WaitForMultipleObjects(2, all, FALSE, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    }
}

TEST(Waits, BadCountsGive87) {
    const Handle event(ManualEvent(true));
    const std::vector<HANDLE> many(65, event);
    EXPECT_EQ(WaitForMultipleObjects(0, many.data(), FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(65, many.data(), FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    SetLastError(0);
    EXPECT_EQ(MsgWaitForMultipleObjects(64, many.data(), FALSE, 0, QS_ALLINPUT), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(WaitForMultipleObjects(64, many.data(), FALSE, 0), WAIT_OBJECT_0);
}

// Mutexes and semaphores

TEST(Mutexes, BelongToOneThreadAndCount) {
    const Handle mutex(CreateMutexW(nullptr, TRUE, nullptr));
    EXPECT_EQ(Poll(mutex), WAIT_OBJECT_0);
    DWORD other = WAIT_OBJECT_0;
    BOOL released = TRUE;
    DWORD error = 0;
    std::thread([&] {
        other = Poll(mutex);
        released = ReleaseMutex(mutex);
        error = GetLastError();
    }).join();
    EXPECT_EQ(other, DWORD{WAIT_TIMEOUT});
    EXPECT_FALSE(released);
    EXPECT_EQ(error, 288u);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
}

TEST(Mutexes, ThreadThatEndsAbandonsIt) {
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    std::thread([&] { EXPECT_EQ(Poll(mutex), WAIT_OBJECT_0); }).join();
    EXPECT_EQ(WaitForSingleObject(mutex, 1000), DWORD{WAIT_ABANDONED_0});
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(Poll(mutex), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST(Semaphores, CountUpToTheirMaximum) {
    const Handle semaphore(CreateSemaphoreW(nullptr, 1, 3, nullptr));
    LONG before = 99;
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 2, &before));
    EXPECT_EQ(before, 1);
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, &before));
    EXPECT_EQ(GetLastError(), 298u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Poll(semaphore), WAIT_OBJECT_0);
    EXPECT_EQ(Poll(semaphore), DWORD{WAIT_TIMEOUT});
}

TEST(Semaphores, BadCountsGive87) {
    for (const auto& [initial, maximum] : {std::pair<LONG, LONG>{2, 1}, {-1, 1}, {0, 0}}) {
        EXPECT_EQ(CreateSemaphoreW(nullptr, initial, maximum, nullptr), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
}

// Handles

TEST(Handles, ClosedHandleIsRefusedByEveryCall) {
    const HANDLE event = ManualEvent();
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_FALSE(CloseHandle(event));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_FALSE(SetEvent(event));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(Handles, WrongKindIsRefused) {
    const Handle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    SetLastError(0);
    EXPECT_FALSE(SetEvent(mutex));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    char byte;
    DWORD count;
    SetLastError(0);
    EXPECT_FALSE(ReadFile(mutex, &byte, 1, &count, nullptr));
}

TEST(Handles, OpenedAndClosedByManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 300; ++round) {
                HANDLE events[5];
                for (HANDLE& event : events)
                    event = AutomaticEvent(true);
                for (const HANDLE event : events)
                    ASSERT_EQ(Poll(event), WAIT_OBJECT_0);
                for (const HANDLE event : events)
                    ASSERT_TRUE(CloseHandle(event));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

// Critical sections, interlocked operations, threads

TEST(CriticalSections, KeepOthersOutAndRecurse) {
    CRITICAL_SECTION section;
    ASSERT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 100));
    EnterCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    BOOL entered = TRUE;
    std::thread([&] { entered = TryEnterCriticalSection(&section); }).join();
    EXPECT_FALSE(entered);
    LeaveCriticalSection(&section);
    LeaveCriticalSection(&section);
    std::thread([&] {
        entered = TryEnterCriticalSection(&section);
        LeaveCriticalSection(&section);
    }).join();
    EXPECT_TRUE(entered);
    DeleteCriticalSection(&section);
}

TEST(CriticalSections, GuardACounter) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                EnterCriticalSection(&section);
                ++counter;
                LeaveCriticalSection(&section);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 4000);
    DeleteCriticalSection(&section);
}

TEST(Interlocked, OperationsAnswerAsDocumented) {
    LONG volatile value = 5;
    EXPECT_EQ(InterlockedIncrement(&value), 6);
    EXPECT_EQ(InterlockedDecrement(&value), 5);
    EXPECT_EQ(InterlockedExchange(&value, 9), 5);
    EXPECT_EQ(InterlockedExchangeAdd(&value, 3), 9);
    EXPECT_EQ(InterlockedCompareExchange(&value, 1, 12), 12);
    EXPECT_EQ(InterlockedCompareExchange(&value, 7, 12), 1);
    EXPECT_EQ(value, 1);
    PVOID volatile pointer = nullptr;
    int target = 0;
    EXPECT_EQ(InterlockedExchangePointer(&pointer, &target), nullptr);
    EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, nullptr, &target), &target);
    EXPECT_EQ(pointer, nullptr);
}

TEST(Threads, HaveNumbersOfTheirOwn) {
    const DWORD own = GetCurrentThreadId();
    EXPECT_NE(own, 0u);
    EXPECT_EQ(GetCurrentThreadId(), own);
    DWORD other = own;
    std::thread([&] { other = GetCurrentThreadId(); }).join();
    EXPECT_NE(other, own);
    EXPECT_NE(GetCurrentProcessId(), 0u);
}

TEST(Threads, SleepLastsAtLeastItsTime) {
    // The tick count may lag behind while the machine is busy.
    const auto start = std::chrono::steady_clock::now();
    Sleep(50);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
    Sleep(0);
    SwitchToThread();
}
