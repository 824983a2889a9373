#include "EstatFinestres.h"

namespace {

CWnd* WindowOrMain(CWnd* window) {
    return window ? window : AfxGetAppWnd();
}
const wchar_t* NameOrMain(const wchar_t* name) {
    return name && *name ? name : L"MainWnd";
}

} // namespace

CWnd* AfxGetAppWnd() {
    const CWinApp* const application = AfxGetModuleState()->m_pCurrentWinApp;
    return application ? application->m_pMainWnd : nullptr;
}

void AfxSaveWndState(CWnd* pWnd, const wchar_t* szNom) {
    TCarpetaRegistry().SaveWndState(WindowOrMain(pWnd), NameOrMain(szNom));
}

void AfxLoadWndState(CWnd* pWnd, const wchar_t* szNom, int bMinimitzat) {
    TCarpetaRegistry().LoadWndState(WindowOrMain(pWnd), NameOrMain(szNom), bMinimitzat);
}

int AfxGetClauRegistryControl(const CWnd* pControl, CString& strClau, CString& strValor, int bRelatiu) {
    const CRuntimeClass* const type = pControl ? pControl->GetRuntimeClass() : nullptr;
    const HWND parent = type ? ::GetParent(pControl->GetSafeHwnd()) : nullptr;
    if (!parent)
        return 0;
    wchar_t caption[256] = {};
    ::GetWindowTextW(parent, caption, 256);
    strClau = bRelatiu ? L".\\CtrlSettings" : L"CtrlSettings";
    if (*caption)
        strClau = strClau + L"\\" + caption;
    strValor.Format(L"%hs_%u", type->m_lpszClassName, static_cast<unsigned int>(pControl->GetDlgCtrlID()));
    return 1;
}

TCarpetaRegistry* AfxGetRegistryControl(const CWnd* pControl, CString& strValor) {
    CString key;
    return AfxGetClauRegistryControl(pControl, key, strValor, 1) ? new TCarpetaRegistry(key) : nullptr;
}
