// Module states, extension modules and the resource chain.
#include "afxwin.h"
#include "stringresource.h"
#include "threadstate.h"

#include <atomic>
#include <new>

IMPLEMENT_DYNAMIC(CDynLinkLibrary, CObject)

namespace {

// An object that is made at its first use and outlives every module that may still ask for it.
template <class TYPE>
union Immortal {
    template <class... ARGS>
    explicit Immortal(ARGS... args) {
        ::new (static_cast<void*>(&object)) TYPE(args...);
    }
    ~Immortal() {}
    TYPE object;
};

struct GlobalLocks {
    GlobalLocks() {
        for (CRITICAL_SECTION& section : sections)
            InitializeCriticalSection(&section);
    }
    CRITICAL_SECTION sections[CRIT_MAX];
};

CRITICAL_SECTION* globalLock(int nLockType) {
    ENSURE_ARG(nLockType >= 0 && nLockType < CRIT_MAX);
    static Immortal<GlobalLocks> locks;
    return &locks.object.sections[nLockType];
}

// Holds a global lock for a scope.
class GlobalsLock {
public:
    explicit GlobalsLock(int nLockType)
        : m_pSection(globalLock(nLockType)) {
        EnterCriticalSection(m_pSection);
    }
    ~GlobalsLock() { LeaveCriticalSection(m_pSection); }
    GlobalsLock(const GlobalsLock&) = delete;
    GlobalsLock& operator=(const GlobalsLock&) = delete;

private:
    CRITICAL_SECTION* m_pSection;
};

constinit std::atomic<unsigned int> g_resourceChanges = 0;

// Asks the modules of the resource chain one after the other until one has it.
template <class HAS>
bool searchChain(HINSTANCE& hFound, HAS has) {
    AFX_MODULE_STATE* pState = AfxGetModuleState();
    auto ask = [&](HINSTANCE hModule) {
        if (!has(hModule))
            return false;
        hFound = hModule;
        return true;
    };
    if (!pState->m_bSystem && ask(pState->m_hCurrentResourceHandle))
        return true;
    {
        GlobalsLock lock(CRIT_DYNLINKLIST);
        for (bool asksSystem : {false, true})
            for (CDynLinkLibrary* p = pState->m_libraryList; p != nullptr; p = p->m_pNextDLL)
                if ((p->m_bSystem != FALSE) == asksSystem && p->m_hResource != nullptr && ask(p->m_hResource))
                    return true;
    }
    return pState->m_bSystem && ask(pState->m_hCurrentResourceHandle);
}

} // namespace

namespace mvafx {

ThreadState& threadState() {
    static thread_local ThreadState state;
    return state;
}

} // namespace mvafx

// ---- Locks

void AfxLockGlobals(int nLockType) {
    EnterCriticalSection(globalLock(nLockType));
}
void AfxUnlockGlobals(int nLockType) {
    LeaveCriticalSection(globalLock(nLockType));
}

// ---- Module state

AFX_MODULE_STATE::AFX_MODULE_STATE(BOOL bDLL, const void* pAddressInModule, BOOL bSystem)
    : m_pCurrentWinApp(nullptr)
    , m_hCurrentInstanceHandle(nullptr)
    , m_hCurrentResourceHandle(nullptr)
    , m_lpszCurrentAppName(nullptr)
    , m_bDLL(static_cast<BYTE>(bDLL != FALSE))
    , m_bSystem(static_cast<BYTE>(bSystem != FALSE)) {
    HMODULE hModule = nullptr;
    if (pAddressInModule != nullptr)
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<LPCWSTR>(pAddressInModule), &hModule);
    else if (!bDLL)
        hModule = GetModuleHandleW(nullptr);
    m_hCurrentInstanceHandle = m_hCurrentResourceHandle = hModule;
}

AFX_MODULE_STATE::~AFX_MODULE_STATE() {
    GlobalsLock lock(CRIT_DYNLINKLIST);
    while (CDynLinkLibrary* p = m_libraryList.GetHead())
        delete p; // leaves the list
}

AFX_MODULE_STATE* AfxGetAppModuleState() {
    static Immortal<AFX_MODULE_STATE> state(FALSE);
    return &state.object;
}

AFX_MODULE_STATE* AfxGetModuleState() {
    AFX_MODULE_STATE* pState = mvafx::threadState().pModuleState;
    return pState != nullptr ? pState : AfxGetAppModuleState();
}

AFX_MODULE_STATE* AfxSetModuleState(AFX_MODULE_STATE* pNewState) {
    AFX_MODULE_STATE* pOld = AfxGetModuleState();
    mvafx::threadState().pModuleState = pNewState;
    return pOld;
}

// ---- Extension modules

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem)
    : m_hModule(state.hModule)
    , m_hResource(state.hResource)
    , m_classList(state.pFirstSharedClass)
    , m_factoryList(state.pFirstSharedFactory)
    , m_bSystem(bSystem)
    , m_pNextDLL(nullptr)
    , m_pModuleState(AfxGetModuleState()) {
    GlobalsLock lock(CRIT_DYNLINKLIST);
    m_pModuleState->m_libraryList.AddHead(this);
    ++g_resourceChanges;
}

CDynLinkLibrary::CDynLinkLibrary(HINSTANCE hModule, HINSTANCE hResource)
    : m_hModule(hModule)
    , m_hResource(hResource)
    , m_classList(nullptr)
    , m_factoryList(nullptr)
    , m_bSystem(FALSE)
    , m_pNextDLL(nullptr)
    , m_pModuleState(AfxGetModuleState()) {
    GlobalsLock lock(CRIT_DYNLINKLIST);
    m_pModuleState->m_libraryList.AddHead(this);
    ++g_resourceChanges;
}

CDynLinkLibrary::~CDynLinkLibrary() {
    GlobalsLock lock(CRIT_DYNLINKLIST);
    m_pModuleState->m_libraryList.Remove(this);
    ++g_resourceChanges;
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule) {
    if (!state.bInitialized) {
        state.bInitialized = TRUE;
        state.hModule = hModule;
        state.hResource = hModule;
    }
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll) {
    if (!state.bInitialized)
        return;
    GlobalsLock lock(CRIT_DYNLINKLIST);
    CDynLinkLibraryList& list = AfxGetModuleState()->m_libraryList;
    for (CDynLinkLibrary *p = list.GetHead(), *pNext; p != nullptr; p = pNext) {
        pNext = p->m_pNextDLL;
        if (bAll || p->m_hModule == state.hModule)
            delete p; // leaves the list
    }
}

// ---- Resources

void AfxSetResourceHandle(HINSTANCE hInstResource) {
    AfxGetModuleState()->m_hCurrentResourceHandle = hInstResource;
    ++g_resourceChanges;
}

BOOL mvafx::isResourceChainKnown(ResourceChainState& known) {
    const AFX_MODULE_STATE* pState = AfxGetModuleState();
    const unsigned int nChanges = g_resourceChanges.load(std::memory_order_acquire);
    if (known.pState == pState && known.hResource == pState->m_hCurrentResourceHandle &&
        known.nChanges == nChanges)
        return TRUE;
    known = {pState, pState->m_hCurrentResourceHandle, nChanges};
    return FALSE;
}

HINSTANCE AfxFindResourceHandle(LPCTSTR lpszName, LPCTSTR lpszType) {
    HINSTANCE hFound = nullptr;
    if (searchChain(hFound, [=](HINSTANCE h) { return FindResourceW(h, lpszName, lpszType) != nullptr; }))
        return hFound;
    return AfxGetResourceHandle();
}

HINSTANCE AfxFindStringResourceHandle(UINT nID) {
    HINSTANCE hFound = nullptr;
    searchChain(hFound, [=](HINSTANCE h) { return mvafx::findStringResource(h, nID, 0).nUnits > 0; });
    // The program's own handle may be written as null, which here means that nothing was found.
    return hFound;
}

int AfxLoadString(UINT nID, LPTSTR lpszBuf, UINT nMaxBuf) {
    if (lpszBuf == nullptr || nMaxBuf == 0)
        return 0;
    int nLength = 0;
    HINSTANCE hModule = AfxFindStringResourceHandle(nID);
    if (hModule != nullptr)
        nLength =
            mvafx::copyStringResource(mvafx::findStringResource(hModule, nID, 0), lpszBuf,
                                      nMaxBuf > 0x7FFFFFFF ? 0x7FFFFFFE : static_cast<int>(nMaxBuf) - 1);
    lpszBuf[nLength] = 0;
    return nLength;
}

BOOL AfxExtractSubString(CString& rString, LPCTSTR lpszFullString, int iSubString, TCHAR chSep) {
    CString full(lpszFullString);
    int iStart = 0;
    for (; iSubString > 0 && iStart >= 0; --iSubString) {
        iStart = full.Find(chSep, iStart);
        if (iStart >= 0)
            ++iStart;
    }
    if (lpszFullString == nullptr || iSubString < 0 || iStart < 0) {
        rString.Empty();
        return FALSE;
    }
    int iEnd = full.Find(chSep, iStart);
    rString = full.Mid(iStart, (iEnd >= 0 ? iEnd : full.GetLength()) - iStart);
    return TRUE;
}

void AfxFormatStrings(CString& rString, LPCTSTR lpszFormat, const LPCTSTR* rglpsz, int nString) {
    CString result;
    CString format(lpszFormat);
    for (LPCTSTR psz = format; *psz != 0; ++psz) {
        int i = -1;
        if (psz[0] == L'%' && psz[1] >= L'1' && psz[1] <= L'9')
            i = psz[1] - L'1';
        else if (psz[0] == L'%' && psz[1] >= L'A' && psz[1] <= L'Z')
            i = psz[1] - L'A' + 9;
        if (i < 0) {
            result += *psz;
        } else {
            result += i < nString && rglpsz[i] != nullptr ? rglpsz[i] : L"?";
            ++psz;
        }
    }
    rString = result;
}
void AfxFormatString1(CString& rString, UINT nIDS, LPCTSTR lpsz1) {
    CString format;
    format.LoadString(nIDS);
    AfxFormatStrings(rString, format, &lpsz1, 1);
}
void AfxFormatString2(CString& rString, UINT nIDS, LPCTSTR lpsz1, LPCTSTR lpsz2) {
    CString format;
    format.LoadString(nIDS);
    LPCTSTR texts[] = {lpsz1, lpsz2};
    AfxFormatStrings(rString, format, texts, 2);
}
