// Windows and their objects.
#include "afxwin.h"

#include "handlemap.h"
#include "newwindow.h"

IMPLEMENT_DYNCREATE(CWnd, CCmdTarget)

namespace {

using WindowMap = mvafx::HandleMap<CWnd, HWND, &CWnd::m_hWnd>;

// The object that the next window of the thread is for, and the hook that waits for that window.
thread_local CWnd* g_pNewWindow = nullptr;
thread_local HHOOK g_hNewWindowHook = nullptr;

} // namespace

// What creation needs of the object.
struct CWndAccess {
    static void setSuper(CWnd* pWnd, WNDPROC pfn) { pWnd->m_pfnSuper = pfn; }
};

namespace {

LRESULT CALLBACK newWindowHook(int nCode, WPARAM wParam, LPARAM lParam) {
    if (nCode == HCBT_CREATEWND && g_pNewWindow != nullptr) {
        CWnd* pWnd = g_pNewWindow;
        g_pNewWindow = nullptr;
        HWND hWnd = reinterpret_cast<HWND>(wParam);
        pWnd->Attach(hWnd);
        CWndAccess::setSuper(pWnd, reinterpret_cast<WNDPROC>(::SetWindowLongPtrW(
                                       hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AfxWndProc))));
    }
    return ::CallNextHookEx(g_hNewWindowHook, nCode, wParam, lParam);
}

} // namespace

void mvafx::hookNewWindow(CWnd* pWnd) {
    g_pNewWindow = pWnd;
    g_hNewWindowHook = ::SetWindowsHookExW(WH_CBT, &newWindowHook, nullptr, ::GetCurrentThreadId());
}

int mvafx::unhookNewWindow() {
    if (g_hNewWindowHook != nullptr)
        ::UnhookWindowsHookEx(g_hNewWindowHook);
    g_hNewWindowHook = nullptr;
    const BOOL bCame = g_pNewWindow == nullptr;
    g_pNewWindow = nullptr;
    return bCame;
}

// ---- The window of the object

CWnd::CWnd()
    : m_hWnd(nullptr)
    , m_pfnSuper(nullptr) {}

CWnd::~CWnd() {
    DestroyWindow();
}

CWnd* PASCAL CWnd::FromHandle(HWND hWnd) {
    return WindowMap::ofThread().fromHandle(hWnd);
}
CWnd* PASCAL CWnd::FromHandlePermanent(HWND hWnd) {
    return WindowMap::ofThread().permanent(hWnd);
}
void PASCAL CWnd::DeleteTempMap() {
    WindowMap::ofThread().deleteTemporary();
}

BOOL CWnd::Attach(HWND hWndNew) {
    if (hWndNew == nullptr)
        return FALSE;
    WindowMap::ofThread().attach(hWndNew, this);
    m_hWnd = hWndNew;
    return TRUE;
}

HWND CWnd::Detach() {
    HWND hWnd = m_hWnd;
    WindowMap::ofThread().detach(hWnd, this);
    m_hWnd = nullptr;
    return hWnd;
}

BOOL CWnd::DestroyWindow() {
    HWND hWnd = m_hWnd;
    if (hWnd == nullptr)
        return FALSE;
    // An object that receives the messages learns of the end by the last one; any other here.
    const BOOL bReceives = m_pfnSuper != nullptr;
    const BOOL bDestroyed = ::DestroyWindow(hWnd);
    if (!bReceives)
        Detach();
    return bDestroyed;
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCWSTR lpszClassName, LPCWSTR lpszWindowName, DWORD dwStyle,
                    const RECT& rect, CWnd* pParentWnd, UINT nID, LPVOID lpParam) {
    if (m_hWnd != nullptr)
        return FALSE;
    mvafx::hookNewWindow(this);
    HWND hWnd = ::CreateWindowExW(
        dwExStyle, lpszClassName, lpszWindowName, dwStyle, rect.left, rect.top, rect.right - rect.left,
        rect.bottom - rect.top, pParentWnd != nullptr ? pParentWnd->m_hWnd : nullptr,
        reinterpret_cast<HMENU>(static_cast<UINT_PTR>(nID)), AfxGetInstanceHandle(), lpParam);
    const BOOL bCame = mvafx::unhookNewWindow();
    if (hWnd == nullptr && !bCame)
        PostNcDestroy();
    return hWnd != nullptr;
}

BOOL CWnd::SubclassWindow(HWND hWnd) {
    if (m_hWnd != nullptr || !Attach(hWnd))
        return FALSE;
    m_pfnSuper = reinterpret_cast<WNDPROC>(
        ::SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AfxWndProc)));
    return TRUE;
}

BOOL CWnd::SubclassDlgItem(UINT nID, CWnd* pParent) {
    return SubclassWindow(::GetDlgItem(pParent->m_hWnd, static_cast<int>(nID)));
}

HWND CWnd::UnsubclassWindow() {
    if (m_pfnSuper != nullptr)
        ::SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_pfnSuper));
    m_pfnSuper = nullptr;
    return Detach();
}

// ---- Wrappers

void CWnd::GetWindowText(CString& rString) const {
    const int nLength = ::GetWindowTextLengthW(m_hWnd);
    ::GetWindowTextW(m_hWnd, rString.GetBufferSetLength(nLength), nLength + 1);
    rString.ReleaseBuffer();
}

int CWnd::GetDlgItemText(int nID, CString& rString) const {
    rString.Empty();
    HWND hItem = ::GetDlgItem(m_hWnd, nID);
    if (hItem == nullptr)
        return 0;
    const int nLength = ::GetWindowTextLengthW(hItem);
    ::GetWindowTextW(hItem, rString.GetBufferSetLength(nLength), nLength + 1);
    rString.ReleaseBuffer();
    return rString.GetLength();
}

void CWnd::ScreenToClient(LPRECT lpRect) const {
    ::MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<LPPOINT>(lpRect), 2);
}

// ---- Exchange of data

BOOL CWnd::UpdateData(BOOL bSaveAndValidate) {
    CDataExchange dx(this, bSaveAndValidate);
    try {
        DoDataExchange(&dx);
        return TRUE;
    } catch (CUserException* e) {
        e->Delete();
        return FALSE;
    }
}

void CWnd::DoDataExchange(CDataExchange*) {}

// ---- Messages

LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam) {
    CWnd* pWnd = CWnd::FromHandlePermanent(hWnd);
    if (pWnd == nullptr)
        return ::DefWindowProcW(hWnd, nMsg, wParam, lParam);
    return pWnd->WindowProc(nMsg, wParam, lParam);
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND:
        if (OnCommand(wParam, lParam))
            return 0;
        break;
    case WM_NOTIFY: {
        LRESULT lResult = 0;
        if (OnNotify(wParam, lParam, &lResult))
            return lResult;
        break;
    }
    case WM_NCDESTROY: {
        // The last message: the window goes back to its own procedure, which may still want to know.
        HWND hWnd = m_hWnd;
        WNDPROC pfnSuper = m_pfnSuper;
        UnsubclassWindow();
        const LRESULT lResult =
            pfnSuper != nullptr ? ::CallWindowProcW(pfnSuper, hWnd, message, wParam, lParam) : 0;
        PostNcDestroy();
        return lResult;
    }
    default:
        break;
    }
    return DefWindowProc(message, wParam, lParam);
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    return m_pfnSuper != nullptr ? ::CallWindowProcW(m_pfnSuper, m_hWnd, message, wParam, lParam)
                                 : ::DefWindowProcW(m_hWnd, message, wParam, lParam);
}

BOOL CWnd::OnCommand(WPARAM, LPARAM) {
    return FALSE;
}
BOOL CWnd::OnNotify(WPARAM, LPARAM, LRESULT*) {
    return FALSE;
}
void CWnd::PostNcDestroy() {}
