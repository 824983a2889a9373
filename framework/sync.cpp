#include "afxmt.h"

#include <cstdlib>

IMPLEMENT_DYNAMIC(CSyncObject, CObject)
IMPLEMENT_DYNAMIC(CSemaphore, CSyncObject)
IMPLEMENT_DYNAMIC(CMutex, CSyncObject)
IMPLEMENT_DYNAMIC(CEvent, CSyncObject)
IMPLEMENT_DYNAMIC(CCriticalSection, CSyncObject)

// ---- CSyncObject

CSyncObject::CSyncObject(LPCTSTR)
    : m_hObject(nullptr) {}

CSyncObject::~CSyncObject() {
    if (m_hObject != nullptr)
        CloseHandle(m_hObject);
}

BOOL CSyncObject::Lock(DWORD dwTimeout) {
    DWORD dwResult = WaitForSingleObject(m_hObject, dwTimeout);
    return dwResult == WAIT_OBJECT_0 || dwResult == WAIT_ABANDONED;
}

BOOL CSyncObject::Unlock(LONG, LPLONG) {
    return TRUE;
}

// ---- System objects

CSemaphore::CSemaphore(LONG lInitialCount, LONG lMaxCount, LPCTSTR pstrName,
                       LPSECURITY_ATTRIBUTES lpsaAttributes)
    : CSyncObject(pstrName) {
    m_hObject = CreateSemaphoreW(lpsaAttributes, lInitialCount, lMaxCount, pstrName);
    if (m_hObject == nullptr)
        AfxThrowResourceException();
}
CSemaphore::~CSemaphore() = default;
BOOL CSemaphore::Unlock() {
    return Unlock(1, nullptr);
}
BOOL CSemaphore::Unlock(LONG lCount, LPLONG lprevCount) {
    return ReleaseSemaphore(m_hObject, lCount, lprevCount);
}

CMutex::CMutex(BOOL bInitiallyOwn, LPCTSTR lpszName, LPSECURITY_ATTRIBUTES lpsaAttribute)
    : CSyncObject(lpszName) {
    m_hObject = CreateMutexW(lpsaAttribute, bInitiallyOwn, lpszName);
    if (m_hObject == nullptr)
        AfxThrowResourceException();
}
CMutex::~CMutex() = default;
BOOL CMutex::Unlock() {
    return ReleaseMutex(m_hObject);
}

CEvent::CEvent(BOOL bInitiallyOwn, BOOL bManualReset, LPCTSTR lpszName, LPSECURITY_ATTRIBUTES lpsaAttribute)
    : CSyncObject(lpszName) {
    m_hObject = CreateEventW(lpsaAttribute, bManualReset, bInitiallyOwn, lpszName);
    if (m_hObject == nullptr)
        AfxThrowResourceException();
}
CEvent::~CEvent() = default;
BOOL CEvent::Unlock() {
    return TRUE;
}

CCriticalSection::CCriticalSection()
    : CSyncObject(nullptr) {
    if (!InitializeCriticalSectionAndSpinCount(&m_sect, 0))
        AtlThrow(static_cast<HRESULT>(0x80070000u | (GetLastError() & 0xFFFF)));
}
CCriticalSection::~CCriticalSection() {
    DeleteCriticalSection(&m_sect);
}
BOOL CCriticalSection::Lock(DWORD) {
    EnterCriticalSection(&m_sect);
    return TRUE;
}
BOOL CCriticalSection::Unlock() {
    LeaveCriticalSection(&m_sect);
    return TRUE;
}

// ---- Locks

CSingleLock::CSingleLock(CSyncObject* pObject, BOOL bInitialLock)
    : m_pObject(pObject)
    , m_hObject(nullptr)
    , m_bAcquired(FALSE) {
    ENSURE_ARG(pObject != nullptr);
    m_hObject = pObject->m_hObject;
    if (bInitialLock)
        Lock();
}

BOOL CSingleLock::Lock(DWORD dwTimeOut) {
    if (!m_bAcquired)
        m_bAcquired = m_pObject->Lock(dwTimeOut);
    return m_bAcquired;
}

BOOL CSingleLock::Unlock() {
    if (!m_bAcquired)
        return FALSE;
    m_bAcquired = !m_pObject->Unlock();
    return TRUE;
}

BOOL CSingleLock::Unlock(LONG lCount, LPLONG lPrevCount) {
    if (!m_bAcquired)
        return FALSE;
    m_bAcquired = !m_pObject->Unlock(lCount, lPrevCount);
    return !m_bAcquired;
}

CMultiLock::CMultiLock(CSyncObject* ppObjects[], DWORD dwCount, BOOL bInitialLock)
    : m_ppObjectArray(ppObjects)
    , m_pHandleArray(m_hPreallocated)
    , m_bLockedArray(m_bPreallocated)
    , m_dwCount(dwCount) {
    ENSURE_ARG(ppObjects != nullptr && dwCount > 0 && dwCount <= MAXIMUM_WAIT_OBJECTS);
    for (DWORD i = 0; i < dwCount; ++i)
        ENSURE_ARG(ppObjects[i] != nullptr && !ppObjects[i]->IsKindOf(RUNTIME_CLASS(CCriticalSection)));
    if (dwCount > _countof(m_hPreallocated)) {
        // One block for both arrays.
        void* p = std::malloc(dwCount * (sizeof(HANDLE) + sizeof(BOOL)));
        if (p == nullptr)
            AfxThrowMemoryException();
        m_pHandleArray = static_cast<HANDLE*>(p);
        m_bLockedArray = reinterpret_cast<BOOL*>(m_pHandleArray + dwCount);
    }
    for (DWORD i = 0; i < dwCount; ++i) {
        m_pHandleArray[i] = ppObjects[i]->m_hObject;
        m_bLockedArray[i] = FALSE;
    }
    if (bInitialLock)
        Lock();
}

CMultiLock::~CMultiLock() {
    Unlock();
    releaseArrays();
}

void CMultiLock::releaseArrays() {
    if (m_pHandleArray != m_hPreallocated)
        std::free(m_pHandleArray);
}

DWORD CMultiLock::Lock(DWORD dwTimeOut, BOOL bWaitForAll, DWORD dwWakeMask) {
    DWORD dwResult =
        dwWakeMask == 0
            ? WaitForMultipleObjects(m_dwCount, m_pHandleArray, bWaitForAll, dwTimeOut)
            : MsgWaitForMultipleObjects(m_dwCount, m_pHandleArray, bWaitForAll, dwTimeOut, dwWakeMask);
    DWORD dwIndex = m_dwCount;
    if (dwResult < WAIT_OBJECT_0 + m_dwCount)
        dwIndex = dwResult - WAIT_OBJECT_0;
    else if (dwResult >= WAIT_ABANDONED_0 && dwResult < WAIT_ABANDONED_0 + m_dwCount)
        dwIndex = dwResult - WAIT_ABANDONED_0;
    if (dwIndex < m_dwCount) {
        if (bWaitForAll)
            for (DWORD i = 0; i < m_dwCount; ++i)
                m_bLockedArray[i] = TRUE;
        else
            m_bLockedArray[dwIndex] = TRUE;
    }
    return dwResult;
}

BOOL CMultiLock::Unlock() {
    BOOL bAll = TRUE;
    for (DWORD i = 0; i < m_dwCount; ++i)
        if (m_bLockedArray[i]) {
            m_bLockedArray[i] = !m_ppObjectArray[i]->Unlock();
            bAll = bAll && !m_bLockedArray[i];
        }
    return bAll;
}

BOOL CMultiLock::Unlock(LONG lCount, LPLONG lPrevCount) {
    BOOL bAll = TRUE;
    for (DWORD i = 0; i < m_dwCount; ++i)
        if (m_bLockedArray[i] && m_ppObjectArray[i]->IsKindOf(RUNTIME_CLASS(CSemaphore))) {
            m_bLockedArray[i] = !m_ppObjectArray[i]->Unlock(lCount, lPrevCount);
            bAll = bAll && !m_bLockedArray[i];
        }
    return bAll;
}
