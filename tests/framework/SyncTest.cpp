// Synchronisation objects.
#include "alloc_failure.h"
#include "throws.h"

#include <afxmt.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

TEST(SyncTest, ExampleUsage) {
    CCriticalSection section;
    CEvent finished(FALSE, TRUE);
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 1000; ++j) {
                CSingleLock lock(&section, TRUE);
                if (++counter == 3000) {
                    finished.SetEvent();
                }
            }
        });
    }
    EXPECT_TRUE(finished.Lock(30000));
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(3000, counter);
}

// ---- Events

TEST(CEventTest, AutomaticEventReleasesOnce) {
    CEvent event;
    EXPECT_FALSE(event.Lock(0));
    EXPECT_TRUE(event.SetEvent());
    EXPECT_TRUE(event.Lock(0));
    EXPECT_FALSE(event.Lock(0));
}

TEST(CEventTest, ManualEventStaysSet) {
    CEvent event(TRUE, TRUE);
    EXPECT_TRUE(event.Lock(0));
    EXPECT_TRUE(event.Lock(0));
    EXPECT_TRUE(event.ResetEvent());
    EXPECT_FALSE(event.Lock(0));
    EXPECT_TRUE(event.Unlock());
    EXPECT_FALSE(event.Lock(0));
}

TEST(CEventTest, WakesAnotherThread) {
    CEvent event;
    std::thread setter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        event.SetEvent();
    });
    EXPECT_TRUE(event.Lock());
    setter.join();
}

TEST(CEventTest, NamesShareOneObject) {
    CEvent a(FALSE, TRUE, L"mvafx test event");
    CEvent b(FALSE, TRUE, L"mvafx test event");
    a.SetEvent();
    EXPECT_TRUE(b.Lock(0));
}

TEST(CEventTest, NameOfAnotherKindThrowsResourceException) {
    CMutex mutex(FALSE, L"mvafx test mutex");
    try {
        CEvent event(FALSE, FALSE, L"mvafx test mutex");
        ADD_FAILURE();
    } catch (CResourceException* e) {
        e->Delete();
    }
}

// ---- Mutexes and semaphores

TEST(CMutexTest, IsRecursiveAndOwned) {
    CMutex mutex(TRUE);
    EXPECT_TRUE(mutex.Lock(0));
    std::thread other([&] {
        EXPECT_FALSE(mutex.Lock(0));
        EXPECT_FALSE(mutex.Unlock());
    });
    other.join();
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_FALSE(mutex.Unlock());
}

TEST(CSemaphoreTest, Counts) {
    CSemaphore semaphore(2, 3);
    EXPECT_TRUE(semaphore.Lock(0));
    EXPECT_TRUE(semaphore.Lock(0));
    EXPECT_FALSE(semaphore.Lock(0));
    LONG previous = -1;
    EXPECT_TRUE(semaphore.Unlock(2, &previous));
    EXPECT_EQ(0, previous);
    EXPECT_TRUE(semaphore.Unlock());
    EXPECT_FALSE(semaphore.Unlock());
}

TEST(CSemaphoreTest, ImpossibleCountThrowsResourceException) {
    try {
        CSemaphore semaphore(5, 3);
        ADD_FAILURE();
    } catch (CResourceException* e) {
        e->Delete();
    }
}

// ---- Critical sections and locks

TEST(CCriticalSectionTest, IsRecursive) {
    CCriticalSection section;
    EXPECT_TRUE(section.Lock());
    EXPECT_TRUE(section.Lock(0));
    std::thread other([&] { EXPECT_FALSE(TryEnterCriticalSection(section)); });
    other.join();
    EXPECT_TRUE(section.Unlock());
    EXPECT_TRUE(section.Unlock());
}

TEST(CSingleLockTest, HoldsForItsScope) {
    CMutex mutex;
    {
        CSingleLock lock(&mutex);
        EXPECT_FALSE(lock.IsLocked());
        EXPECT_FALSE(lock.Unlock());
        EXPECT_TRUE(lock.Lock());
        EXPECT_TRUE(lock.IsLocked());
        std::thread other([&] { EXPECT_FALSE(mutex.Lock(0)); });
        other.join();
    }
    std::thread other([&] {
        CSingleLock lock(&mutex);
        EXPECT_TRUE(lock.Lock(0));
        EXPECT_TRUE(lock.Unlock());
        EXPECT_FALSE(lock.IsLocked());
    });
    other.join();
    EXPECT_TRUE(Throws<CInvalidArgException>([] { CSingleLock lock(nullptr); }));
}

TEST(CMultiLockTest, WaitsForAnyOne) {
    CEvent a, b;
    CSyncObject* objects[] = {&a, &b};
    CMultiLock lock(objects, 2);
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), lock.Lock(0, FALSE));
    b.SetEvent();
    EXPECT_EQ(WAIT_OBJECT_0 + 1, lock.Lock(1000, FALSE));
    EXPECT_FALSE(lock.IsLocked(0));
    EXPECT_TRUE(lock.IsLocked(1));
    EXPECT_TRUE(lock.Unlock());
    EXPECT_FALSE(lock.IsLocked(1));
}

TEST(CMultiLockTest, WaitsForAll) {
    CEvent a(TRUE, TRUE), b(FALSE, TRUE);
    CSyncObject* objects[] = {&a, &b};
    CMultiLock lock(objects, 2);
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), lock.Lock(0));
    b.SetEvent();
    DWORD result = lock.Lock(1000);
    EXPECT_GT(WAIT_OBJECT_0 + 2, result);
    EXPECT_TRUE(lock.IsLocked(0));
    EXPECT_TRUE(lock.IsLocked(1));
}

TEST(CMultiLockTest, WakeMaskWaitsForTheObjectsToo) {
    CEvent event(TRUE, TRUE);
    CSyncObject* objects[] = {&event};
    CMultiLock lock(objects, 1);
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), lock.Lock(INFINITE, FALSE, 0x1CFF));
    event.ResetEvent();
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), lock.Lock(1, FALSE, QS_ALLINPUT));
    std::thread setter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        event.SetEvent();
    });
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), lock.Lock(INFINITE, FALSE, QS_ALLINPUT));
    setter.join();
}

TEST(CMultiLockTest, HoldsManyObjects) {
    std::vector<std::unique_ptr<CSemaphore>> semaphores;
    std::vector<CSyncObject*> objects;
    for (int i = 0; i < 20; ++i) {
        semaphores.push_back(std::make_unique<CSemaphore>(1, 1));
        objects.push_back(semaphores.back().get());
    }
    {
        CMultiLock lock(objects.data(), 20, TRUE);
        EXPECT_TRUE(lock.IsLocked(19));
        EXPECT_FALSE(semaphores[7]->Lock(0));
    }
    EXPECT_TRUE(semaphores[7]->Lock(0));
}

TEST(CMultiLockTest, AbandonedMutexIsHeld) {
    CMutex mutex;
    std::thread([&] { mutex.Lock(); }).join();
    CSyncObject* objects[] = {&mutex};
    CMultiLock lock(objects, 1);
    EXPECT_EQ(static_cast<DWORD>(WAIT_ABANDONED_0), lock.Lock(1000, FALSE));
    EXPECT_TRUE(lock.IsLocked(0));
}

TEST(CMultiLockTest, WrongObjectsAreRefused) {
    CCriticalSection section;
    CSyncObject* objects[] = {&section};
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { CMultiLock lock(objects, 1); }));
    CSyncObject* none[] = {nullptr};
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { CMultiLock lock(none, 1); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { CMultiLock lock(objects, 0); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { CMultiLock lock(nullptr, 1); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { CMultiLock lock(objects, 65); }));
}

TEST(CMultiLockTest, ExhaustedMemoryThrows) {
    std::vector<std::unique_ptr<CEvent>> events;
    std::vector<CSyncObject*> objects;
    for (int i = 0; i < 10; ++i) {
        events.push_back(std::make_unique<CEvent>());
        objects.push_back(events.back().get());
    }
    FailAllocation failure(1);
    try {
        CMultiLock lock(objects.data(), 10);
        ADD_FAILURE();
    } catch (CMemoryException* e) {
        e->Delete();
    }
}
