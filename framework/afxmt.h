// Synchronisation objects: events, critical sections, mutexes, semaphores, and the locks that hold them.
//
// Each object owns one system object; objects may be used by several threads at once and must outlive their
// users. A system object that cannot be created throws CResourceException (CCriticalSection: see there).
#pragma once

#include "afx.h"

// The base of everything that can be waited for.
class MVAFX_API CSyncObject : public CObject {
    DECLARE_DYNAMIC(CSyncObject)
public:
    explicit CSyncObject(LPCTSTR pstrName);
    ~CSyncObject() override; // closes the handle

    // Waits at most dwTimeout milliseconds. TRUE when the object was signalled (or abandoned by its owner).
    virtual BOOL Lock(DWORD dwTimeout = INFINITE);
    virtual BOOL Unlock() = 0;
    virtual BOOL Unlock(LONG lCount, LPLONG lpPrevCount = nullptr); // TRUE, nothing done

    operator HANDLE() const { return m_hObject; }

    HANDLE m_hObject;
};

class MVAFX_API CSemaphore : public CSyncObject {
    DECLARE_DYNAMIC(CSemaphore)
public:
    explicit CSemaphore(LONG lInitialCount = 1, LONG lMaxCount = 1, LPCTSTR pstrName = nullptr,
                        LPSECURITY_ATTRIBUTES lpsaAttributes = nullptr);
    ~CSemaphore() override;
    BOOL Unlock() override;
    BOOL Unlock(LONG lCount, LPLONG lprevCount = nullptr) override;
};

class MVAFX_API CMutex : public CSyncObject {
    DECLARE_DYNAMIC(CMutex)
public:
    explicit CMutex(BOOL bInitiallyOwn = FALSE, LPCTSTR lpszName = nullptr,
                    LPSECURITY_ATTRIBUTES lpsaAttribute = nullptr);
    ~CMutex() override;
    using CSyncObject::Unlock;
    BOOL Unlock() override;
};

class MVAFX_API CEvent : public CSyncObject {
    DECLARE_DYNAMIC(CEvent)
public:
    // bInitiallyOwn: created signalled.
    explicit CEvent(BOOL bInitiallyOwn = FALSE, BOOL bManualReset = FALSE, LPCTSTR lpszName = nullptr,
                    LPSECURITY_ATTRIBUTES lpsaAttribute = nullptr);
    ~CEvent() override;
    BOOL SetEvent() { return ::SetEvent(m_hObject); }
    BOOL PulseEvent() { return ::PulseEvent(m_hObject); }
    BOOL ResetEvent() { return ::ResetEvent(m_hObject); }
    using CSyncObject::Unlock;
    BOOL Unlock() override; // TRUE, nothing done
};

// A recursive lock between the threads of one process. A system that cannot make one gives an error e: with
// code 0x80070000 | (e & 0xFFFF) the constructor throws CMemoryException when that is 0x8007000E (out of
// memory), else COleException. It has no handle and cannot be part of a CMultiLock.
class MVAFX_API CCriticalSection : public CSyncObject {
    DECLARE_DYNAMIC(CCriticalSection)
public:
    CCriticalSection();
    ~CCriticalSection() override;

    operator CRITICAL_SECTION*() { return &m_sect; }

    BOOL Lock() {
        ::EnterCriticalSection(&m_sect);
        return TRUE;
    }
    BOOL Lock(DWORD dwTimeout) override; // waits without limit whatever dwTimeout says
    using CSyncObject::Unlock;
    BOOL Unlock() override;

    CRITICAL_SECTION m_sect;
};

// Holds one object while it exists. Not for use by several threads.
class MVAFX_API CSingleLock {
public:
    // A null object throws CInvalidArgException.
    explicit CSingleLock(CSyncObject* pObject, BOOL bInitialLock = FALSE);
    ~CSingleLock() { Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    BOOL Lock(DWORD dwTimeOut = INFINITE);
    BOOL Unlock(); // FALSE when nothing was held
    BOOL Unlock(LONG lCount, LPLONG lPrevCount = nullptr);
    BOOL IsLocked() const { return m_bAcquired; }

private:
    CSyncObject* m_pObject;
    HANDLE m_hObject;
    BOOL m_bAcquired;
};

// Waits for one or all of several objects, together with the thread's message queue if wanted.
class MVAFX_API CMultiLock {
public:
    // At most 64 objects, none of them null or a critical section, else CInvalidArgException. The array must
    // live as long as the lock.
    CMultiLock(CSyncObject* ppObjects[], DWORD dwCount, BOOL bInitialLock = FALSE);
    ~CMultiLock();
    CMultiLock(const CMultiLock&) = delete;
    CMultiLock& operator=(const CMultiLock&) = delete;

    // The result of the system's wait: WAIT_OBJECT_0 plus the index of the object that was signalled (any
    // when waiting for all), WAIT_OBJECT_0 plus dwCount when input that dwWakeMask (QS_...) names arrived,
    // WAIT_ABANDONED_0 plus an index, WAIT_TIMEOUT or WAIT_FAILED. Where threads have no message queue no
    // input ever arrives.
    DWORD Lock(DWORD dwTimeOut = INFINITE, BOOL bWaitForAll = TRUE, DWORD dwWakeMask = 0);
    // Unlocks every object that is held. TRUE when every one of them agreed.
    BOOL Unlock();
    BOOL Unlock(LONG lCount, LPLONG lPrevCount = nullptr); // semaphores alone
    BOOL IsLocked(DWORD dwObject) const { return m_bLockedArray[dwObject]; }

private:
    void releaseArrays();

    HANDLE m_hPreallocated[8];
    BOOL m_bPreallocated[8];
    CSyncObject* const* m_ppObjectArray;
    HANDLE* m_pHandleArray;
    BOOL* m_bLockedArray;
    DWORD m_dwCount;
};
