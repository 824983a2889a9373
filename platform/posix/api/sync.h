// Events, mutexes, semaphores, waits, critical sections, interlocked operations, threads' numbers and sleep.
// Include win32.h, not this file.
#pragma once

#define WAIT_OBJECT_0 0x00000000u
#define WAIT_ABANDONED_0 0x00000080u
#define WAIT_ABANDONED WAIT_ABANDONED_0
#define WAIT_IO_COMPLETION 0x000000C0u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64

#define SYNCHRONIZE 0x00100000
#define EVENT_MODIFY_STATE 0x0002
#define EVENT_ALL_ACCESS 0x001F0003
#define MUTEX_ALL_ACCESS 0x001F0001
#define SEMAPHORE_ALL_ACCESS 0x001F0003

// Kernel objects. A name is known within the process and matches exactly; creating an existing name opens it
// and sets last error 183 (success else sets 0), a name that belongs to another kind of object gives null
// and 6. Null on failure. Close with CloseHandle; the object lives as long as a handle or a wait uses it.
MVPLAT_API HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                                      LPCWSTR name);
MVPLAT_API HANDLE WINAPI OpenEventW(DWORD access, BOOL inherit, LPCWSTR name);
// FALSE with last error 6 when the handle is no event.
MVPLAT_API BOOL WINAPI SetEvent(HANDLE event);
MVPLAT_API BOOL WINAPI ResetEvent(HANDLE event);
// Releases the threads that wait at this moment (one, for an automatic event) and leaves the event reset.
MVPLAT_API BOOL WINAPI PulseEvent(HANDLE event);

// A mutex belongs to a thread and counts; a thread that ends with it abandons it (the next wait answers
// WAIT_ABANDONED_0 plus the index). ReleaseMutex by another thread: FALSE with 288.
MVPLAT_API HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name);
MVPLAT_API BOOL WINAPI ReleaseMutex(HANDLE mutex);

// 0 <= initial <= maximum, maximum > 0, else null with 87. Releasing beyond the maximum: FALSE with 298,
// unchanged.
MVPLAT_API HANDLE WINAPI CreateSemaphoreW(LPSECURITY_ATTRIBUTES attributes, LONG initialCount,
                                          LONG maximumCount, LPCWSTR name);
MVPLAT_API BOOL WINAPI ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);

// Waits. WAIT_OBJECT_0 (plus the index of the lowest signalled object; of none in particular when waiting for
// all), WAIT_TIMEOUT, or WAIT_FAILED with last error 6 (a handle that cannot be waited for) or 87 (count 0 or
// above 64, or one handle twice when waiting for all). Waiting for all takes all objects at one moment or
// none.
MVPLAT_API DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds);
MVPLAT_API DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                               DWORD milliseconds);

#define QS_KEY 0x0001
#define QS_MOUSEMOVE 0x0002
#define QS_MOUSEBUTTON 0x0004
#define QS_POSTMESSAGE 0x0008
#define QS_TIMER 0x0010
#define QS_PAINT 0x0020
#define QS_SENDMESSAGE 0x0040
#define QS_HOTKEY 0x0080
#define QS_ALLPOSTMESSAGE 0x0100
#define QS_RAWINPUT 0x0400
#define QS_MOUSE (QS_MOUSEMOVE | QS_MOUSEBUTTON)
#define QS_INPUT (QS_MOUSE | QS_KEY | QS_RAWINPUT)
#define QS_ALLEVENTS (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY)
#define QS_ALLINPUT (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY | QS_SENDMESSAGE)

// Threads have no message queue here, so no input ever arrives: the wait ends by the objects or the time
// alone. At most 63 handles (87 beyond), as on Windows; none at all waits for the time.
MVPLAT_API DWORD WINAPI MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                                  DWORD milliseconds, DWORD wakeMask);

// A recursive lock of one process. The contents are private.
typedef struct _RTL_CRITICAL_SECTION {
    void* opaque[8];
} CRITICAL_SECTION, *PCRITICAL_SECTION, *LPCRITICAL_SECTION;

MVPLAT_API void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
// Always TRUE; the spin count is accepted and unused.
MVPLAT_API BOOL WINAPI InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION section, DWORD spinCount);
MVPLAT_API void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);
MVPLAT_API void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
MVPLAT_API BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section);
MVPLAT_API void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);

// Numbers of the calling thread and process: never 0, unlike those of any other live thread or process.
MVPLAT_API DWORD WINAPI GetCurrentThreadId(void);
MVPLAT_API DWORD WINAPI GetCurrentProcessId(void);
// The pseudo handle (-1); DuplicateHandle takes it.
MVPLAT_API HANDLE WINAPI GetCurrentProcess(void);

MVPLAT_API void WINAPI Sleep(DWORD milliseconds);
MVPLAT_API BOOL WINAPI SwitchToThread(void);

// Full barriers all. The operations answer the new value (increment, decrement) or the old one (the others).
static inline LONG InterlockedIncrement(LONG volatile* addend) {
    return __atomic_add_fetch(addend, 1, __ATOMIC_SEQ_CST);
}
static inline LONG InterlockedDecrement(LONG volatile* addend) {
    return __atomic_sub_fetch(addend, 1, __ATOMIC_SEQ_CST);
}
static inline LONG InterlockedExchange(LONG volatile* target, LONG value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}
static inline LONG InterlockedExchangeAdd(LONG volatile* addend, LONG value) {
    return __atomic_fetch_add(addend, value, __ATOMIC_SEQ_CST);
}
static inline LONG InterlockedCompareExchange(LONG volatile* target, LONG exchange, LONG comparand) {
    __atomic_compare_exchange_n(target, &comparand, exchange, 0, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}
static inline PVOID InterlockedExchangePointer(PVOID volatile* target, PVOID value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}
static inline PVOID InterlockedCompareExchangePointer(PVOID volatile* target, PVOID exchange,
                                                      PVOID comparand) {
    __atomic_compare_exchange_n(target, &comparand, exchange, 0, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}
