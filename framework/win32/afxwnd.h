// Windows, dialogs, controls and the exchange of data with dialogs. Included by afxwin.h.
//
// A CWnd stands for one window at a time. It gets one by Create, CreateEx or SubclassWindow, and then sees
// the window's messages in WindowProc until the window is destroyed; or by Attach, and then only stands for
// it. FromHandle gives the object of a window or a temporary one (see afxgdi.h). The destructor destroys the
// window, but not that of a temporary object. A window and its object belong to one thread.
//
// Messages come to the virtual WindowProc; OnCommand and OnNotify are called for the messages of those names,
// and what is not handled goes on to DefWindowProc, the window procedure that the object took the place of.
#pragma once

#include "afxwin.h"

#include "afxgdi.h"

class CDataExchange;
class CEdit;

class MVAFX_API CWnd : public CCmdTarget {
    DECLARE_DYNCREATE(CWnd)
public:
    CWnd();
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;
    ~CWnd() override; // DestroyWindow()

    // ---- The window of the object

    // Null for null. The second form never makes a temporary object.
    static CWnd* PASCAL FromHandle(HWND hWnd);
    static CWnd* PASCAL FromHandlePermanent(HWND hWnd);
    static void PASCAL DeleteTempMap();
    static CWnd* PASCAL GetDesktopWindow() { return FromHandle(::GetDesktopWindow()); }
    static CWnd* PASCAL GetFocus() { return FromHandle(::GetFocus()); }
    BOOL Attach(HWND hWndNew); // FALSE for null
    HWND Detach();
    // Not to be called through a null pointer.
    HWND GetSafeHwnd() const { return m_hWnd; }
    operator HWND() const { return m_hWnd; }
    // FALSE when there is no window.
    virtual BOOL DestroyWindow();
    // Creates a window of a registered class, with this object as its receiver. FALSE on failure.
    BOOL CreateEx(DWORD dwExStyle, LPCWSTR lpszClassName, LPCWSTR lpszWindowName, DWORD dwStyle,
                  const RECT& rect, CWnd* pParentWnd, UINT nID, LPVOID lpParam = nullptr);
    // A child window.
    BOOL Create(LPCWSTR lpszClassName, LPCWSTR lpszWindowName, DWORD dwStyle, const RECT& rect,
                CWnd* pParentWnd, UINT nID) {
        return CreateEx(0, lpszClassName, lpszWindowName, dwStyle | WS_CHILD, rect, pParentWnd, nID);
    }
    // Attaches to a window and receives its messages from now on. FALSE when the object has a window or there
    // is none.
    BOOL SubclassWindow(HWND hWnd);
    BOOL SubclassDlgItem(UINT nID, CWnd* pParent);
    // Gives the window back as it was before SubclassWindow; its handle.
    HWND UnsubclassWindow();

    // ---- Wrappers: what the system's functions of the same name do

    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::SendMessageW(m_hWnd, message, wParam, lParam);
    }
    BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::PostMessageW(m_hWnd, message, wParam, lParam);
    }
    DWORD GetStyle() const { return static_cast<DWORD>(::GetWindowLongW(m_hWnd, GWL_STYLE)); }
    void SetWindowText(LPCWSTR lpszString) { ::SetWindowTextW(m_hWnd, lpszString); }
    int GetWindowText(LPWSTR lpszString, int nMaxCount) const {
        return ::GetWindowTextW(m_hWnd, lpszString, nMaxCount);
    }
    void GetWindowText(CString& rString) const;
    int GetWindowTextLength() const { return ::GetWindowTextLengthW(m_hWnd); }
    void SetFont(CFont* pFont, BOOL bRedraw = TRUE) {
        SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(pFont ? pFont->GetSafeHandle() : nullptr), bRedraw);
    }
    CFont* GetFont() const { return CFont::FromHandle(reinterpret_cast<HFONT>(SendMessage(WM_GETFONT))); }
    CMenu* GetMenu() const { return CMenu::FromHandle(::GetMenu(m_hWnd)); }
    BOOL SetMenu(CMenu* pMenu) { return ::SetMenu(m_hWnd, pMenu ? pMenu->GetSafeHmenu() : nullptr); }
    CWnd* GetParent() const { return FromHandle(::GetParent(m_hWnd)); }
    CWnd* GetWindow(UINT nCmd) const { return FromHandle(::GetWindow(m_hWnd, nCmd)); }
    BOOL IsChild(const CWnd* pWnd) const { return ::IsChild(m_hWnd, pWnd->m_hWnd); }
    CWnd* GetDlgItem(int nID) const { return FromHandle(::GetDlgItem(m_hWnd, nID)); }
    int GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
    void SetDlgItemText(int nID, LPCWSTR lpszString) { ::SetDlgItemTextW(m_hWnd, nID, lpszString); }
    int GetDlgItemText(int nID, CString& rString) const;
    BOOL IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
    BOOL EnableWindow(BOOL bEnable = TRUE) { return ::EnableWindow(m_hWnd, bEnable); }
    BOOL IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }
    BOOL ShowWindow(int nCmdShow) { return ::ShowWindow(m_hWnd, nCmdShow); }
    BOOL IsIconic() const { return ::IsIconic(m_hWnd); }
    BOOL IsZoomed() const { return ::IsZoomed(m_hWnd); }
    CWnd* SetFocus() { return FromHandle(::SetFocus(m_hWnd)); }
    void GetWindowRect(LPRECT lpRect) const { ::GetWindowRect(m_hWnd, lpRect); }
    void GetClientRect(LPRECT lpRect) const { ::GetClientRect(m_hWnd, lpRect); }
    void MoveWindow(LPCRECT lpRect, BOOL bRepaint = TRUE) {
        ::MoveWindow(m_hWnd, lpRect->left, lpRect->top, lpRect->right - lpRect->left,
                     lpRect->bottom - lpRect->top, bRepaint);
    }
    BOOL GetWindowPlacement(WINDOWPLACEMENT* lpwndpl) const {
        lpwndpl->length = sizeof(WINDOWPLACEMENT);
        return ::GetWindowPlacement(m_hWnd, lpwndpl);
    }
    BOOL SetWindowPlacement(const WINDOWPLACEMENT* lpwndpl) { return ::SetWindowPlacement(m_hWnd, lpwndpl); }
    void ScreenToClient(LPPOINT lpPoint) const { ::ScreenToClient(m_hWnd, lpPoint); }
    void ScreenToClient(LPRECT lpRect) const;
    void ClientToScreen(LPPOINT lpPoint) const { ::ClientToScreen(m_hWnd, lpPoint); }
    void Invalidate(BOOL bErase = TRUE) { ::InvalidateRect(m_hWnd, nullptr, bErase); }
    void UpdateWindow() { ::UpdateWindow(m_hWnd); }
    CDC* GetDC() { return CDC::FromHandle(::GetDC(m_hWnd)); }
    int ReleaseDC(CDC* pDC) { return ::ReleaseDC(m_hWnd, pDC->GetSafeHdc()); }

    // ---- Exchange of data

    // Loads the controls from the members (FALSE) or the members from the controls. FALSE when the data were
    // refused (CDataExchange::Fail).
    BOOL UpdateData(BOOL bSaveAndValidate = TRUE);

    // ---- Messages

    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_hWnd;

protected:
    virtual void DoDataExchange(CDataExchange* pDX);
    // TRUE: handled.
    virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
    virtual BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    // The window is gone and the object has none. The base does nothing; an object on the heap may delete
    // itself.
    virtual void PostNcDestroy();

    WNDPROC m_pfnSuper; // what the object took the place of; null: nothing

private:
    friend struct CWndAccess;
};

// What the system calls for every window that an object receives the messages of.
MVAFX_API LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam);

// A dialog of a template. Modal: DoModal. Modeless: Create, then ShowWindow, and DestroyWindow in the end.
class MVAFX_API CDialog : public CWnd {
    DECLARE_DYNAMIC(CDialog)
public:
    CDialog();
    // The template is a resource of the resource chain.
    explicit CDialog(UINT nIDTemplate, CWnd* pParentWnd = nullptr);
    ~CDialog() override;

    // For a dialog without a template resource; the memory must live as long as the dialog.
    BOOL InitModalIndirect(LPCDLGTEMPLATEW lpDialogTemplate, CWnd* pParentWnd = nullptr);
    // What ended the dialog (IDOK, IDCANCEL or EndDialog's); -1 when it could not be shown.
    virtual INT_PTR DoModal();
    BOOL Create(UINT nIDTemplate, CWnd* pParentWnd = nullptr);
    BOOL CreateIndirect(LPCDLGTEMPLATEW lpDialogTemplate, CWnd* pParentWnd = nullptr);
    void EndDialog(int nResult);

    // The controls exist and are empty: loads them from the members. TRUE: the focus goes to the first
    // control.
    virtual BOOL OnInitDialog();

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

protected:
    // OK takes the data and ends the dialog when they are accepted; both end it with the button's number.
    virtual void OnOK();
    virtual void OnCancel();
    BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;

private:
    LPCWSTR m_lpszTemplateName;
    LPCDLGTEMPLATEW m_lpDialogTemplate;
    CWnd* m_pParentWnd;
};

// Data on the way between the members of a window's object and its controls (CWnd::DoDataExchange).
class MVAFX_API CDataExchange {
public:
    CDataExchange(CWnd* pDlgWnd, BOOL bSaveAndValidate);

    // The control that is dealt with now; a failure puts the focus there. Its handle; CNotSupportedException
    // when the dialog has none of that number.
    HWND PrepareCtrl(int nIDC);
    // The same for one whose text will be selected.
    HWND PrepareEditCtrl(int nIDC);
    // The data are refused, whoever does it has said why: puts the focus on the control and throws
    // CUserException, which UpdateData catches.
    [[noreturn]] void Fail();

    BOOL m_bSaveAndValidate; // TRUE: from the controls to the members
    CWnd* m_pDlgWnd;
    HWND m_hWndLastControl;
    BOOL m_bEditLastControl;
};

MVAFX_API void DDX_Text(CDataExchange* pDX, int nIDC, CString& value);
MVAFX_API void DDX_Check(CDataExchange* pDX, int nIDC, int& value);
// Makes the object that of the control (SubclassWindow), once.
MVAFX_API void DDX_Control(CDataExchange* pDX, int nIDC, CWnd& rControl);

// ---- Controls

class MVAFX_API CStatic : public CWnd {
    DECLARE_DYNAMIC(CStatic)
public:
    BOOL Create(LPCWSTR lpszText, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID = 0xFFFF) {
        return CWnd::Create(L"STATIC", lpszText, dwStyle, rect, pParentWnd, nID);
    }
};

class MVAFX_API CButton : public CWnd {
    DECLARE_DYNAMIC(CButton)
public:
    BOOL Create(LPCWSTR lpszCaption, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
        return CWnd::Create(L"BUTTON", lpszCaption, dwStyle, rect, pParentWnd, nID);
    }
    int GetCheck() const { return static_cast<int>(SendMessage(BM_GETCHECK)); }
    void SetCheck(int nCheck) { SendMessage(BM_SETCHECK, static_cast<WPARAM>(nCheck)); }
};

class MVAFX_API CEdit : public CWnd {
    DECLARE_DYNAMIC(CEdit)
public:
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
        return CWnd::Create(L"EDIT", nullptr, dwStyle, rect, pParentWnd, nID);
    }
    void SetSel(int nStartChar, int nEndChar) {
        SendMessage(EM_SETSEL, static_cast<WPARAM>(nStartChar), nEndChar);
    }
};

class MVAFX_API CListBox : public CWnd {
    DECLARE_DYNAMIC(CListBox)
public:
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
        return CWnd::Create(L"LISTBOX", nullptr, dwStyle, rect, pParentWnd, nID);
    }
    int GetCount() const { return static_cast<int>(SendMessage(LB_GETCOUNT)); }
    int GetCurSel() const { return static_cast<int>(SendMessage(LB_GETCURSEL)); }
    int SetCurSel(int nSelect) {
        return static_cast<int>(SendMessage(LB_SETCURSEL, static_cast<WPARAM>(nSelect)));
    }
    int AddString(LPCWSTR lpszItem) {
        return static_cast<int>(SendMessage(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(lpszItem)));
    }
    // Empty when there is no such item.
    void GetText(int nIndex, CString& rString) const;
};

class MVAFX_API CComboBox : public CWnd {
    DECLARE_DYNAMIC(CComboBox)
public:
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
        return CWnd::Create(L"COMBOBOX", nullptr, dwStyle, rect, pParentWnd, nID);
    }
    int GetCount() const { return static_cast<int>(SendMessage(CB_GETCOUNT)); }
    int GetCurSel() const { return static_cast<int>(SendMessage(CB_GETCURSEL)); }
    int SetCurSel(int nSelect) {
        return static_cast<int>(SendMessage(CB_SETCURSEL, static_cast<WPARAM>(nSelect)));
    }
    int AddString(LPCWSTR lpszString) {
        return static_cast<int>(SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(lpszString)));
    }
    // Empty when there is no such item.
    void GetLBText(int nIndex, CString& rString) const;
};
