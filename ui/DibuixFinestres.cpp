// Messages, enabling of windows, texts, memory of the shell.
#include "Dibuix.h"

#include "DoEvents.h"
#include "Idioma.h"

#include "shell.h"

namespace {

HWND HandleOf(const CWnd* window) {
    return window ? window->GetSafeHwnd() : nullptr;
}

BOOL CALLBACK Enable(HWND window, LPARAM enable) {
    ::EnableWindow(window, static_cast<BOOL>(enable));
    return TRUE;
}

// The shell's allocator while it is used; null when there is none.
class ShellAllocator {
public:
    ShellAllocator() {
        if (FAILED(::SHGetMalloc(&m_allocator)))
            m_allocator = nullptr;
    }
    ~ShellAllocator() {
        if (m_allocator)
            m_allocator->Release();
    }
    ShellAllocator(const ShellAllocator&) = delete;
    ShellAllocator& operator=(const ShellAllocator&) = delete;
    IMalloc* Get() const { return m_allocator; }

private:
    IMalloc* m_allocator = nullptr;
};

} // namespace

// ---- Messages

void AfxDoEvents(CWnd* pWnd, int bIdle) {
    AfxDoEvents(HandleOf(pWnd), bIdle);
}
void DoEvents(HWND hWnd) {
    AfxDoEvents(hWnd, 1);
}
void DoEvents(CWnd* pWnd) {
    AfxDoEvents(pWnd, 1);
}

int AfxThreadMessageBox(unsigned int nIDText, unsigned int nTipus, const wchar_t* szTitol) {
    return AfxThreadMessageBox(AfxLoadString(nIDText).GetString(), nTipus, szTitol);
}
int AfxThreadMessageBox(const wchar_t* szText, unsigned int nTipus, const wchar_t* szTitol) {
    return ::MessageBoxW(nullptr, szText, szTitol ? szTitol : AfxGetAppName(), nTipus | MB_TASKMODAL);
}

void AfxSetThreadName(const wchar_t* szNom) {
    using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    // Younger than the oldest system that the library runs on.
    const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription");
    if (found)
        reinterpret_cast<SetDescription>(reinterpret_cast<void*>(found))(::GetCurrentThread(), szNom);
}

// ---- Windows

void AfxEnableChildWindows(CWnd* pWnd, int bActivar) {
    EnableChildWindows(HandleOf(pWnd), bActivar);
}
void EnableChildWindows(HWND hWnd, int bActivar) {
    // Without a window the system would go through those of the desktop.
    if (hWnd)
        ::EnumChildWindows(hWnd, &Enable, bActivar);
}
void EnableChildWindows(CWnd* pWnd, int bActivar) {
    EnableChildWindows(HandleOf(pWnd), bActivar);
}

void AfxEnableWindow(CWnd* pWnd, int bActivar, int bAmbFills) {
    if (!HandleOf(pWnd))
        return;
    ::EnableWindow(HandleOf(pWnd), bActivar);
    if (bAmbFills)
        EnableChildWindows(pWnd, bActivar);
}

void AfxEnableDlgItem(CWnd* pDialog, unsigned int nID, int bActivar, int bAmbFills) {
    const HWND item = ::GetDlgItem(HandleOf(pDialog), static_cast<int>(nID));
    if (item)
        AfxEnableWindow(CWnd::FromHandle(item), bActivar, bAmbFills);
}

int AfxEsActiva(const CWnd* pWnd) {
    const HWND window = HandleOf(pWnd);
    const HWND focus = ::GetFocus();
    return window && focus && (focus == window || ::IsChild(window, focus));
}

void AfxSetWindowText(CWnd* pWnd, unsigned int nIDText) {
    ::SetWindowTextW(HandleOf(pWnd), AfxLoadString(nIDText));
}
void AfxSetDlgItemText(CWnd* pDialog, unsigned int nID, unsigned int nIDText) {
    ::SetDlgItemTextW(HandleOf(pDialog), static_cast<int>(nID), AfxLoadString(nIDText));
}

// ---- Memory

void* AfxComAlloc(size_t nMida) {
    const ShellAllocator allocator;
    return allocator.Get() ? allocator.Get()->Alloc(nMida) : nullptr;
}
void AfxComFree(void* pMemoria) {
    const ShellAllocator allocator;
    if (allocator.Get() && pMemoria)
        allocator.Get()->Free(pMemoria);
}
