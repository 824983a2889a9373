// The application: its object and its threads, module states, extension modules and the resource chain,
// message boxes.
//
// Module state. Every module that has a state of its own (the program, a regular library) has one
// AFX_MODULE_STATE: its application object, its instance and resource handles, and the list of the extension
// modules that it uses. Each thread has a current state; it is the program's unless AFX_MANAGE_STATE switched
// it for the length of a scope.
//
// Resource chain. A resource is looked for in the current resource handle first (unless the state is a system
// one), then in the extension modules of the state, the last linked first, without the system ones, then in
// the system ones.
//
//     class CMyApp : public CWinApp {
//         int DoMessageBox(LPCTSTR text, UINT style, UINT help) override; // a service without a screen
//     } theApp;
#pragma once

#include "afx.h"
#include "afxcoll.h"
#include "afxtempl.h"

#include "atltypes.h"

class AFX_MODULE_STATE;
class CDynLinkLibrary;
class CWinApp;
class CWinThread;
class CWnd;
class COleObjectFactory;

struct tagMSG;
typedef struct tagMSG MSG;

// ---- Extension modules

// What the framework keeps about an extension module. A static object of that module, zero at first.
struct AFX_EXTENSION_MODULE {
    BOOL bInitialized;
    HMODULE hModule;
    HMODULE hResource;
    CRuntimeClass* pFirstSharedClass;
    COleObjectFactory* pFirstSharedFactory;
};

// Fills the record: module and resource handle are hModule. A record that is initialised already stays as it
// is. TRUE.
MVAFX_API BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE hModule);
// Takes the record's module out of the current state's chain and deletes its links (with bAll every link of
// the chain). Does nothing for a record that is not initialised.
MVAFX_API void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll = FALSE);

// One link of the resource chain. Made with new and entered into the current state's chain, at its front, by
// the constructor; leaves that chain in the destructor. AfxTermExtensionModule deletes it, and so does the
// end of the state.
class MVAFX_API CDynLinkLibrary : public CObject {
    DECLARE_DYNAMIC(CDynLinkLibrary)
public:
    explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem = FALSE);
    CDynLinkLibrary(HINSTANCE hModule, HINSTANCE hResource);
    ~CDynLinkLibrary() override;

    HMODULE m_hModule;
    HMODULE m_hResource; // null: no resources
    CRuntimeClass* m_classList;
    COleObjectFactory* m_factoryList;
    BOOL m_bSystem;
    CDynLinkLibrary* m_pNextDLL;

private:
    AFX_MODULE_STATE* m_pModuleState;
};

// A list linked through m_pNextDLL. Converts to its first link, for a walk:
//     for (CDynLinkLibrary* p = pState->m_libraryList; p != nullptr; p = p->m_pNextDLL)
class CDynLinkLibraryList {
public:
    CDynLinkLibrary* GetHead() const { return m_pHead; }
    operator CDynLinkLibrary*() const { return m_pHead; }
    BOOL IsEmpty() const { return m_pHead == nullptr; }
    void AddHead(CDynLinkLibrary* p) {
        p->m_pNextDLL = m_pHead;
        m_pHead = p;
    }
    BOOL Remove(CDynLinkLibrary* p) {
        for (CDynLinkLibrary** pp = &m_pHead; *pp != nullptr; pp = &(*pp)->m_pNextDLL)
            if (*pp == p) {
                *pp = p->m_pNextDLL;
                p->m_pNextDLL = nullptr;
                return TRUE;
            }
        return FALSE;
    }

private:
    CDynLinkLibrary* m_pHead = nullptr;
};

// The framework's global locks. CRIT_DYNLINKLIST guards m_libraryList of every state. A thread may take a
// lock several times.
#define CRIT_DYNLINKLIST 0
#define CRIT_RUNTIMECLASSLIST 1
#define CRIT_MAX 4
MVAFX_API void AfxLockGlobals(int nLockType);
MVAFX_API void AfxUnlockGlobals(int nLockType);

// ---- Module state

class MVAFX_API AFX_MODULE_STATE {
public:
    // For a library with a state of its own (bDLL). The handles are those of the module that contains
    // pAddressInModule, or null for null.
    explicit AFX_MODULE_STATE(BOOL bDLL, const void* pAddressInModule = nullptr, BOOL bSystem = FALSE);
    ~AFX_MODULE_STATE();
    AFX_MODULE_STATE(const AFX_MODULE_STATE&) = delete;
    AFX_MODULE_STATE& operator=(const AFX_MODULE_STATE&) = delete;

    CWinApp* m_pCurrentWinApp;
    HINSTANCE m_hCurrentInstanceHandle;
    HINSTANCE m_hCurrentResourceHandle;
    LPCTSTR m_lpszCurrentAppName;
    BYTE m_bDLL;
    BYTE m_bSystem; // a state of the framework itself: its own resource handle comes last in the chain
    CDynLinkLibraryList m_libraryList;
};

// The program's state; the thread's current state. Never null.
MVAFX_API AFX_MODULE_STATE* AfxGetAppModuleState();
MVAFX_API AFX_MODULE_STATE* AfxGetModuleState();
// Switches the thread's current state (null: back to the program's) and returns the one before.
MVAFX_API AFX_MODULE_STATE* AfxSetModuleState(AFX_MODULE_STATE* pNewState);

// The state of the module that calls: a library with resources or an application object of its own.
MVAFX_MODULE_LOCAL inline AFX_MODULE_STATE* AfxGetStaticModuleState() {
    static const char address = 0;
    static AFX_MODULE_STATE state(TRUE, &address);
    return &state;
}

class MVAFX_API AFX_MAINTAIN_STATE2 {
public:
    explicit AFX_MAINTAIN_STATE2(AFX_MODULE_STATE* pModuleState)
        : m_pPrevious(AfxSetModuleState(pModuleState)) {}
    ~AFX_MAINTAIN_STATE2() { AfxSetModuleState(m_pPrevious); }
    AFX_MAINTAIN_STATE2(const AFX_MAINTAIN_STATE2&) = delete;
    AFX_MAINTAIN_STATE2& operator=(const AFX_MAINTAIN_STATE2&) = delete;

private:
    AFX_MODULE_STATE* m_pPrevious;
};
#define AFX_MANAGE_STATE(p) AFX_MAINTAIN_STATE2 _ctlState(p)

// ---- Resources

inline HINSTANCE AfxGetInstanceHandle() {
    return AfxGetModuleState()->m_hCurrentInstanceHandle;
}
inline HINSTANCE AfxGetResourceHandle() {
    return AfxGetModuleState()->m_hCurrentResourceHandle;
}
MVAFX_API void AfxSetResourceHandle(HINSTANCE hInstResource);
namespace mvafx {
// What the strings found along the resource chain depend on, for who keeps some of them.
struct ResourceChainState {
    const AFX_MODULE_STATE* pState;
    HINSTANCE hResource;
    unsigned int nChanges; // of all chains of the process
};
// TRUE when the calling thread's chain is still as `known` says; else FALSE, with `known` brought up to date.
// A null pState is never up to date.
MVAFX_API BOOL isResourceChainKnown(ResourceChainState& known);
} // namespace mvafx
// The first module of the resource chain that has the resource; the current resource handle when none has.
MVAFX_API HINSTANCE AfxFindResourceHandle(LPCTSTR lpszName, LPCTSTR lpszType);
// The first module of the resource chain whose string table has string nID, not empty; null when none has.
MVAFX_API HINSTANCE AfxFindStringResourceHandle(UINT nID);
// Copies string nID of the chain, cut to nMaxBuf - 1 characters. The characters copied; 0, and an empty text,
// when there is none.
MVAFX_API int AfxLoadString(UINT nID, LPTSTR lpszBuf, UINT nMaxBuf = 256);
// Takes piece iSubString of lpszFullString, pieces being separated by chSep. FALSE, and an empty string, when
// there are not so many.
MVAFX_API BOOL AfxExtractSubString(CString& rString, LPCTSTR lpszFullString, int iSubString,
                                   TCHAR chSep = L'\n');
// Replace %1 and %2 in string nIDS (or in a format) by texts.
MVAFX_API void AfxFormatString1(CString& rString, UINT nIDS, LPCTSTR lpsz1);
MVAFX_API void AfxFormatString2(CString& rString, UINT nIDS, LPCTSTR lpsz1, LPCTSTR lpsz2);
MVAFX_API void AfxFormatStrings(CString& rString, LPCTSTR lpszFormat, const LPCTSTR* rglpsz, int nString);

// ---- Threads and the application

class MVAFX_API CCmdTarget : public CObject {
    DECLARE_DYNAMIC(CCmdTarget)
public:
    ~CCmdTarget() override;

    AFX_MODULE_STATE* m_pModuleState; // the current one when the object was made

protected:
    CCmdTarget();
};

#include "afxwnd.h"

// A thread that the framework knows. Where threads have no message queue, Run idles as long as OnIdle wants
// and ends, and PumpMessage answers FALSE.
class MVAFX_API CWinThread : public CCmdTarget {
    DECLARE_DYNAMIC(CWinThread)
public:
    CWinThread();
    ~CWinThread() override;

    // TRUE: go on to Run.
    virtual BOOL InitInstance();
    // Pumps messages, and idles between them, until the quit message; then returns ExitInstance().
    virtual int Run();
    // TRUE: the message was dealt with and is not dispatched.
    virtual BOOL PreTranslateMessage(MSG* pMsg);
    // Waits for one message and dispatches it. FALSE when it was the quit message.
    virtual BOOL PumpMessage();
    // Called while no message waits, with 0, 1, 2 ...; FALSE when there is nothing more to do.
    virtual BOOL OnIdle(LONG lCount);
    // FALSE for messages after which OnIdle need not run (mouse moves to the same place, paint, timer).
    virtual BOOL IsIdleMessage(MSG* pMsg);
    virtual int ExitInstance();
    virtual CWnd* GetMainWnd();

    CWnd* m_pMainWnd;
    CWnd* m_pActiveWnd;
    BOOL m_bAutoDelete;
    HANDLE m_hThread;
    DWORD m_nThreadID;
};

// The application: one object per module state, usually a global one. The constructor enters it into the
// current state as its application and into the thread as its thread object; the destructor takes it out.
class MVAFX_API CWinApp : public CWinThread {
    DECLARE_DYNAMIC(CWinApp)
public:
    // The name is copied; without one it is that of the program's file. A second application in one module
    // state throws CInvalidArgException.
    explicit CWinApp(LPCTSTR lpszAppName = nullptr);
    ~CWinApp() override;

    virtual BOOL InitApplication();
    int ExitInstance() override;
    // Every message box of the framework and the library comes here (unless a family says otherwise): shows
    // lpszPrompt under the application's name and returns the button (IDOK ...). A box of one or two buttons
    // without an icon gets the exclamation mark. nIDPrompt is a help id and unused here.
    virtual int DoMessageBox(LPCTSTR lpszPrompt, UINT nType, UINT nIDPrompt);

    // Remembers the company's name, below which the application keeps its settings, and as their name that of
    // the program.
    void SetRegistryKey(LPCTSTR lpszRegistryKey);

    HINSTANCE m_hInstance;
    LPTSTR m_lpCmdLine;
    int m_nCmdShow;
    // Owned texts, from malloc; null until set.
    LPCTSTR m_pszAppName;
    LPCTSTR m_pszExeName;
    LPCTSTR m_pszProfileName;
    LPCTSTR m_pszRegistryKey;
};

// Of the current module state (of the thread): null when there is none.
MVAFX_API CWinApp* AfxGetApp();
MVAFX_API CWinThread* AfxGetThread();
MVAFX_API CWnd* AfxGetMainWnd();
// The application's name; without an application that of the program's file. Never null.
MVAFX_API LPCTSTR AfxGetAppName();
// Sets the handles of the program's state and tells them to its application object. TRUE.
MVAFX_API BOOL AfxWinInit(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPTSTR lpCmdLine, int nCmdShow);

// The temporary objects that stand for handles live until no lock is left. Both are counted per thread;
// AfxUnlockTempMaps answers TRUE when it took the last lock away.
MVAFX_API void AfxLockTempMaps();
MVAFX_API BOOL AfxUnlockTempMaps(BOOL bDeleteTemps = TRUE);

// ---- Message boxes

// Shows a text (a null one is empty) through CWinApp::DoMessageBox of the application, or what that does at
// its base when there is none. Returns the button, 0 when no box could be shown.
MVAFX_API int AfxMessageBox(LPCTSTR lpszText, UINT nType = MB_OK, UINT nIDHelp = 0);
// The text is string nIDPrompt of the resource chain, empty when missing; a help id of -1 means nIDPrompt.
MVAFX_API int AfxMessageBox(UINT nIDPrompt, UINT nType = MB_OK, UINT nIDHelp = static_cast<UINT>(-1));
