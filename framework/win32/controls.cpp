// Controls and image lists.
#include "afxcmn.h"

#include "itemtext.h"

IMPLEMENT_DYNAMIC(CStatic, CWnd)
IMPLEMENT_DYNAMIC(CButton, CWnd)
IMPLEMENT_DYNAMIC(CEdit, CWnd)
IMPLEMENT_DYNAMIC(CListBox, CWnd)
IMPLEMENT_DYNAMIC(CComboBox, CWnd)
IMPLEMENT_DYNAMIC(CTabCtrl, CWnd)
IMPLEMENT_DYNAMIC(CListCtrl, CWnd)
IMPLEMENT_DYNCREATE(CImageList, CObject)

namespace {

// The window classes of the common controls exist once this was called.
void needCommonControls() {
    static const bool ready = [] {
        INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES};
        return ::InitCommonControlsEx(&classes) != FALSE;
    }();
    (void)ready;
}

} // namespace

CString mvafx::listEntryText(const CWnd& list, UINT nLengthMessage, UINT nTextMessage, UINT nEntry) {
    CString text;
    const LRESULT nLength = list.SendMessage(nLengthMessage, nEntry);
    if (nLength > 0) {
        wchar_t* pBuffer = text.GetBufferSetLength(static_cast<int>(nLength));
        list.SendMessage(nTextMessage, nEntry, reinterpret_cast<LPARAM>(pBuffer));
        text.ReleaseBuffer();
    }
    return text;
}

CString mvafx::listViewText(const CWnd& list, UINT nItem, int nSubItem) {
    CString text;
    // The control does not say how long a text is: the room grows until the text does not fill it.
    for (int nSize = 128;; nSize *= 2) {
        LVITEMW item = {};
        item.iSubItem = nSubItem;
        item.pszText = text.GetBufferSetLength(nSize);
        item.pszText[0] = 0;
        item.cchTextMax = nSize;
        const LRESULT nLength = list.SendMessage(LVM_GETITEMTEXTW, nItem, reinterpret_cast<LPARAM>(&item));
        text.ReleaseBuffer();
        if (nLength < nSize - 1 || nSize >= 0x100000)
            return text;
    }
}

void CListBox::GetText(int nIndex, CString& rString) const {
    rString = mvafx::listEntryText(*this, LB_GETTEXTLEN, LB_GETTEXT, static_cast<UINT>(nIndex));
}

void CComboBox::GetLBText(int nIndex, CString& rString) const {
    rString = mvafx::listEntryText(*this, CB_GETLBTEXTLEN, CB_GETLBTEXT, static_cast<UINT>(nIndex));
}

// ---- CImageList

CImageList::CImageList()
    : m_hImageList(nullptr) {}
CImageList::~CImageList() {
    DeleteImageList();
}

BOOL CImageList::Attach(HIMAGELIST hImageList) {
    m_hImageList = hImageList;
    return hImageList != nullptr;
}

HIMAGELIST CImageList::Detach() {
    HIMAGELIST hImageList = m_hImageList;
    m_hImageList = nullptr;
    return hImageList;
}

BOOL CImageList::DeleteImageList() {
    HIMAGELIST hImageList = Detach();
    return hImageList != nullptr && ::ImageList_Destroy(hImageList);
}

// ---- Tabs

BOOL CTabCtrl::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
    needCommonControls();
    return CWnd::Create(WC_TABCONTROLW, nullptr, dwStyle, rect, pParentWnd, nID);
}

LONG CTabCtrl::InsertItem(int nItem, LPCWSTR lpszItem) {
    TCITEMW item = {};
    item.mask = TCIF_TEXT;
    item.pszText = const_cast<LPWSTR>(lpszItem);
    return static_cast<LONG>(
        SendMessage(TCM_INSERTITEMW, static_cast<WPARAM>(nItem), reinterpret_cast<LPARAM>(&item)));
}

// ---- List views

BOOL CListCtrl::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID) {
    needCommonControls();
    return CWnd::Create(WC_LISTVIEWW, nullptr, dwStyle, rect, pParentWnd, nID);
}

int CListCtrl::InsertColumn(int nCol, LPCWSTR lpszColumnHeading, int nFormat, int nWidth) {
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_FMT;
    column.pszText = const_cast<LPWSTR>(lpszColumnHeading);
    column.fmt = nFormat;
    if (nWidth >= 0) {
        column.mask |= LVCF_WIDTH;
        column.cx = nWidth;
    }
    return static_cast<int>(
        SendMessage(LVM_INSERTCOLUMNW, static_cast<WPARAM>(nCol), reinterpret_cast<LPARAM>(&column)));
}

int CListCtrl::InsertItem(int nItem, LPCWSTR lpszItem) {
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    item.iItem = nItem;
    item.pszText = const_cast<LPWSTR>(lpszItem);
    return static_cast<int>(SendMessage(LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
}

CString CListCtrl::GetItemText(int nItem, int nSubItem) const {
    return mvafx::listViewText(*this, static_cast<UINT>(nItem), nSubItem);
}

BOOL CListCtrl::SetItemText(int nItem, int nSubItem, LPCWSTR lpszText) {
    LVITEMW item = {};
    item.iSubItem = nSubItem;
    item.pszText = const_cast<LPWSTR>(lpszText);
    return static_cast<BOOL>(
        SendMessage(LVM_SETITEMTEXTW, static_cast<WPARAM>(nItem), reinterpret_cast<LPARAM>(&item)));
}
