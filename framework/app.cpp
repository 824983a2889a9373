// The application object, threads, message boxes.
#include "afxwin.h"
#include "tempmaps.h"
#include "threadstate.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)
IMPLEMENT_DYNAMIC(CWinThread, CCmdTarget)
IMPLEMENT_DYNAMIC(CWinApp, CWinThread)

CCmdTarget::CCmdTarget()
    : m_pModuleState(AfxGetModuleState()) {}
CCmdTarget::~CCmdTarget() = default;

namespace {

LPTSTR copyOf(LPCTSTR psz) {
    std::size_t nSize = (std::wcslen(psz) + 1) * sizeof(TCHAR);
    auto* pCopy = static_cast<LPTSTR>(std::malloc(nSize));
    if (pCopy == nullptr)
        AfxThrowMemoryException();
    return static_cast<LPTSTR>(std::memcpy(pCopy, psz, nSize));
}

void replaceText(LPCTSTR& rText, LPTSTR pszNew) {
    std::free(const_cast<LPTSTR>(rText));
    rText = pszNew;
}

// The program file's name without folder and extension.
LPCTSTR programName(TCHAR (&name)[MAX_PATH]) {
    TCHAR path[4 * MAX_PATH];
    DWORD nLength = GetModuleFileNameW(nullptr, path, _countof(path) - 1);
    path[nLength < _countof(path) ? nLength : 0] = 0;
    LPCTSTR pszName = path;
    for (LPCTSTR p = path; *p != 0; ++p)
        if (*p == L'\\' || *p == L'/')
            pszName = p + 1;
    LPCTSTR pEnd = std::wcsrchr(pszName, L'.');
    std::size_t nName = pEnd != nullptr && pEnd != pszName ? pEnd - pszName : std::wcslen(pszName);
    if (nName > MAX_PATH - 1)
        nName = MAX_PATH - 1;
    std::wmemcpy(name, pszName, nName);
    name[nName] = 0;
    return name;
}

// What CWinApp::DoMessageBox does; also without an application object.
int showMessageBox(LPCTSTR lpszPrompt, UINT nType) {
    if ((nType & MB_ICONMASK) == 0) {
        switch (nType & MB_TYPEMASK) {
        case MB_OK:
        case MB_OKCANCEL:
        case MB_YESNO:
        case MB_YESNOCANCEL:
            nType |= MB_ICONEXCLAMATION;
            break;
        default:
            break;
        }
    }
    return MessageBoxW(nullptr, lpszPrompt, AfxGetAppName(), nType | MB_TASKMODAL);
}

} // namespace

// ---- CWinThread

CWinThread::CWinThread()
    : m_pMainWnd(nullptr)
    , m_pActiveWnd(nullptr)
    , m_bAutoDelete(TRUE)
    , m_hThread(nullptr)
    , m_nThreadID(0) {}

CWinThread::~CWinThread() {
    if (m_hThread != nullptr)
        CloseHandle(m_hThread);
    mvafx::ThreadState& state = mvafx::threadState();
    if (state.pThread == this)
        state.pThread = nullptr;
}

BOOL CWinThread::InitInstance() {
    return FALSE;
}
BOOL CWinThread::PreTranslateMessage(MSG*) {
    return FALSE;
}
BOOL CWinThread::OnIdle(LONG) {
    if (mvafx::threadState().nTempMapLock == 0)
        mvafx::deleteTemporaryObjects();
    return FALSE;
}
int CWinThread::ExitInstance() {
    return 0;
}
CWnd* CWinThread::GetMainWnd() {
    return m_pActiveWnd != nullptr ? m_pActiveWnd : m_pMainWnd;
}

// ---- CWinApp

CWinApp::CWinApp(LPCTSTR lpszAppName)
    : m_hInstance(nullptr)
    , m_lpCmdLine(nullptr)
    , m_nCmdShow(0)
    , m_pszAppName(nullptr)
    , m_pszExeName(nullptr)
    , m_pszProfileName(nullptr)
    , m_pszRegistryKey(nullptr) {
    AFX_MODULE_STATE* pState = m_pModuleState;
    ENSURE(pState->m_pCurrentWinApp == nullptr);
    TCHAR name[MAX_PATH];
    programName(name);
    m_pszExeName = copyOf(name);
    try {
        m_pszAppName = copyOf(lpszAppName != nullptr ? lpszAppName : name);
    } catch (CMemoryException*) {
        replaceText(m_pszExeName, nullptr);
        throw;
    }
    m_hInstance = pState->m_hCurrentInstanceHandle;
    m_nThreadID = GetCurrentThreadId();
    m_bAutoDelete = FALSE;
    pState->m_pCurrentWinApp = this;
    pState->m_lpszCurrentAppName = m_pszAppName;
    mvafx::threadState().pThread = this;
}

CWinApp::~CWinApp() {
    if (m_pModuleState->m_pCurrentWinApp == this) {
        m_pModuleState->m_pCurrentWinApp = nullptr;
        m_pModuleState->m_lpszCurrentAppName = nullptr;
    }
    for (LPCTSTR* ppText : {&m_pszAppName, &m_pszExeName, &m_pszProfileName, &m_pszRegistryKey})
        replaceText(*ppText, nullptr);
}

BOOL CWinApp::InitApplication() {
    return TRUE;
}
int CWinApp::ExitInstance() {
    return 0;
}

int CWinApp::DoMessageBox(LPCTSTR lpszPrompt, UINT nType, UINT) {
    return showMessageBox(lpszPrompt, nType);
}

void CWinApp::SetRegistryKey(LPCTSTR lpszRegistryKey) {
    ENSURE_ARG(lpszRegistryKey != nullptr);
    LPTSTR pszKey = copyOf(lpszRegistryKey);
    replaceText(m_pszRegistryKey, pszKey);
    replaceText(m_pszProfileName, copyOf(m_pszAppName));
}

// ---- Accessors

CWinApp* AfxGetApp() {
    return AfxGetModuleState()->m_pCurrentWinApp;
}
CWinThread* AfxGetThread() {
    return mvafx::threadState().pThread;
}
CWnd* AfxGetMainWnd() {
    CWinThread* pThread = AfxGetThread();
    return pThread != nullptr ? pThread->GetMainWnd() : nullptr;
}

LPCTSTR AfxGetAppName() {
    LPCTSTR pszName = AfxGetModuleState()->m_lpszCurrentAppName;
    if (pszName != nullptr)
        return pszName;
    static TCHAR name[MAX_PATH];
    static LPCTSTR pszProgram = programName(name);
    return pszProgram;
}

BOOL AfxWinInit(HINSTANCE hInstance, HINSTANCE, LPTSTR lpCmdLine, int nCmdShow) {
    AFX_MODULE_STATE* pState = AfxGetModuleState();
    pState->m_hCurrentInstanceHandle = hInstance;
    pState->m_hCurrentResourceHandle = hInstance;
    if (CWinApp* pApp = pState->m_pCurrentWinApp) {
        pApp->m_hInstance = hInstance;
        pApp->m_lpCmdLine = lpCmdLine;
        pApp->m_nCmdShow = nCmdShow;
    }
    return TRUE;
}

void AfxLockTempMaps() {
    ++mvafx::threadState().nTempMapLock;
}
BOOL AfxUnlockTempMaps(BOOL bDeleteTemps) {
    long& rCount = mvafx::threadState().nTempMapLock;
    if (rCount == 0 || --rCount > 0)
        return FALSE;
    if (bDeleteTemps)
        mvafx::deleteTemporaryObjects();
    return TRUE;
}

// ---- Message boxes

int AfxMessageBox(LPCTSTR lpszText, UINT nType, UINT nIDHelp) {
    if (lpszText == nullptr)
        lpszText = L"";
    CWinApp* pApp = AfxGetApp();
    return pApp != nullptr ? pApp->DoMessageBox(lpszText, nType, nIDHelp) : showMessageBox(lpszText, nType);
}

int AfxMessageBox(UINT nIDPrompt, UINT nType, UINT nIDHelp) {
    CString text;
    text.LoadString(nIDPrompt);
    return AfxMessageBox(text, nType, nIDHelp == static_cast<UINT>(-1) ? nIDPrompt : nIDHelp);
}
