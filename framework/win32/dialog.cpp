// Dialogs and the exchange of data with them.
#include "afxwin.h"

#include "newwindow.h"

IMPLEMENT_DYNAMIC(CDialog, CWnd)

namespace {

INT_PTR CALLBACK dialogProc(HWND hDlg, UINT nMsg, WPARAM, LPARAM) {
    if (nMsg != WM_INITDIALOG)
        return FALSE; // the dialog's object has seen it already
    auto* pDialog = dynamic_cast<CDialog*>(CWnd::FromHandlePermanent(hDlg));
    return pDialog == nullptr || pDialog->OnInitDialog();
}

LPCDLGTEMPLATEW templateOf(LPCWSTR lpszTemplateName) {
    HINSTANCE hModule = AfxFindResourceHandle(lpszTemplateName, RT_DIALOG);
    HRSRC hResource = ::FindResourceW(hModule, lpszTemplateName, RT_DIALOG);
    HGLOBAL hTemplate = hResource != nullptr ? ::LoadResource(hModule, hResource) : nullptr;
    return hTemplate != nullptr ? static_cast<LPCDLGTEMPLATEW>(::LockResource(hTemplate)) : nullptr;
}

HWND handleOf(const CWnd* pWnd) {
    return pWnd != nullptr ? pWnd->GetSafeHwnd() : nullptr;
}

} // namespace

CDialog::CDialog()
    : m_lpszTemplateName(nullptr)
    , m_lpDialogTemplate(nullptr)
    , m_pParentWnd(nullptr) {}

CDialog::CDialog(UINT nIDTemplate, CWnd* pParentWnd)
    : m_lpszTemplateName(MAKEINTRESOURCEW(nIDTemplate))
    , m_lpDialogTemplate(nullptr)
    , m_pParentWnd(pParentWnd) {}

CDialog::~CDialog() {
    DestroyWindow();
}

BOOL CDialog::InitModalIndirect(LPCDLGTEMPLATEW lpDialogTemplate, CWnd* pParentWnd) {
    m_lpDialogTemplate = lpDialogTemplate;
    if (pParentWnd != nullptr)
        m_pParentWnd = pParentWnd;
    return lpDialogTemplate != nullptr;
}

INT_PTR CDialog::DoModal() {
    LPCDLGTEMPLATEW lpTemplate =
        m_lpDialogTemplate != nullptr ? m_lpDialogTemplate : templateOf(m_lpszTemplateName);
    if (lpTemplate == nullptr || m_hWnd != nullptr)
        return -1;
    mvafx::hookNewWindow(this);
    const INT_PTR nResult =
        ::DialogBoxIndirectParamW(AfxGetInstanceHandle(), lpTemplate, handleOf(m_pParentWnd), &dialogProc, 0);
    mvafx::unhookNewWindow();
    return nResult;
}

BOOL CDialog::Create(UINT nIDTemplate, CWnd* pParentWnd) {
    return CreateIndirect(templateOf(MAKEINTRESOURCEW(nIDTemplate)), pParentWnd);
}

BOOL CDialog::CreateIndirect(LPCDLGTEMPLATEW lpDialogTemplate, CWnd* pParentWnd) {
    if (lpDialogTemplate == nullptr || m_hWnd != nullptr)
        return FALSE;
    mvafx::hookNewWindow(this);
    HWND hWnd = ::CreateDialogIndirectParamW(AfxGetInstanceHandle(), lpDialogTemplate, handleOf(pParentWnd),
                                             &dialogProc, 0);
    mvafx::unhookNewWindow();
    return hWnd != nullptr;
}

void CDialog::EndDialog(int nResult) {
    ::EndDialog(m_hWnd, nResult);
}

BOOL CDialog::OnInitDialog() {
    UpdateData(FALSE);
    return TRUE;
}

void CDialog::OnOK() {
    if (UpdateData(TRUE))
        EndDialog(IDOK);
}
void CDialog::OnCancel() {
    EndDialog(IDCANCEL);
}

BOOL CDialog::OnCommand(WPARAM wParam, LPARAM lParam) {
    if (HIWORD(wParam) == BN_CLICKED) {
        if (LOWORD(wParam) == IDOK) {
            OnOK();
            return TRUE;
        }
        if (LOWORD(wParam) == IDCANCEL) {
            OnCancel();
            return TRUE;
        }
    }
    return CWnd::OnCommand(wParam, lParam);
}

LRESULT CDialog::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    return CWnd::DefWindowProc(message, wParam, lParam);
}

// ---- CDataExchange

CDataExchange::CDataExchange(CWnd* pDlgWnd, BOOL bSaveAndValidate)
    : m_bSaveAndValidate(bSaveAndValidate)
    , m_pDlgWnd(pDlgWnd)
    , m_hWndLastControl(nullptr)
    , m_bEditLastControl(FALSE) {}

HWND CDataExchange::PrepareCtrl(int nIDC) {
    HWND hControl = ::GetDlgItem(m_pDlgWnd->GetSafeHwnd(), nIDC);
    if (hControl == nullptr)
        AfxThrowNotSupportedException();
    m_hWndLastControl = hControl;
    m_bEditLastControl = FALSE;
    return hControl;
}

HWND CDataExchange::PrepareEditCtrl(int nIDC) {
    HWND hControl = PrepareCtrl(nIDC);
    m_bEditLastControl = TRUE;
    return hControl;
}

void CDataExchange::Fail() {
    if (m_bSaveAndValidate && m_hWndLastControl != nullptr) {
        ::SetFocus(m_hWndLastControl);
        if (m_bEditLastControl)
            ::SendMessageW(m_hWndLastControl, EM_SETSEL, 0, -1);
    }
    AfxThrowUserException();
}

void DDX_Text(CDataExchange* pDX, int nIDC, CString& value) {
    HWND hControl = pDX->PrepareEditCtrl(nIDC);
    if (!pDX->m_bSaveAndValidate) {
        ::SetWindowTextW(hControl, value);
        return;
    }
    const int nLength = ::GetWindowTextLengthW(hControl);
    ::GetWindowTextW(hControl, value.GetBufferSetLength(nLength), nLength + 1);
    value.ReleaseBuffer();
}

void DDX_Check(CDataExchange* pDX, int nIDC, int& value) {
    HWND hControl = pDX->PrepareCtrl(nIDC);
    if (pDX->m_bSaveAndValidate)
        value = static_cast<int>(::SendMessageW(hControl, BM_GETCHECK, 0, 0));
    else
        ::SendMessageW(hControl, BM_SETCHECK, static_cast<WPARAM>(value >= 0 && value <= 2 ? value : 0), 0);
}

void DDX_Control(CDataExchange* pDX, int nIDC, CWnd& rControl) {
    if (rControl.GetSafeHwnd() != nullptr)
        return;
    if (!rControl.SubclassWindow(pDX->PrepareCtrl(nIDC)))
        AfxThrowNotSupportedException();
}
