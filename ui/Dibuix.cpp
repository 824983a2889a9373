// Selectors, owner-drawn items, values taken at construction.
#include "Dibuix.h"

#include "itemtext.h"

namespace {

RECT Narrowed(const RECT& rect) {
    return {rect.left + 1, rect.top, rect.right - 1, rect.bottom};
}

HWND HandleOf(const CWnd* window) {
    return window ? window->GetSafeHwnd() : nullptr;
}

CString WindowTextOf(HWND window) {
    CString text;
    const int length = ::GetWindowTextLengthW(window);
    ::GetWindowTextW(window, text.GetBufferSetLength(length), length + 1);
    text.ReleaseBuffer();
    return text;
}

CString TabText(const CWnd* tabs, unsigned int tab) {
    wchar_t buffer[128] = {};
    TCITEMW item = {};
    item.mask = TCIF_TEXT;
    item.pszText = buffer;
    item.cchTextMax = 128;
    // The control may answer with a text of its own instead of filling the buffer.
    if (!tabs->SendMessage(TCM_GETITEMW, tab, reinterpret_cast<LPARAM>(&item)) || !item.pszText)
        return CString();
    return item.pszText;
}

CPoint InClientOf(const CWnd* window, POINT point) {
    if (window)
        ::ScreenToClient(window->GetSafeHwnd(), &point);
    return point;
}

} // namespace

// ---- Selectors

CDCSetBkColor::CDCSetBkColor(CDC* pDC, unsigned long crColor)
    : CDCAttribSelector(pDC)
    , m_crAnterior(pDC ? pDC->SetBkColor(crColor) : 0) {}
CDCSetBkColor::~CDCSetBkColor() {
    if (m_pDC)
        m_pDC->SetBkColor(m_crAnterior);
}

CDCSetTextColor::CDCSetTextColor(CDC* pDC, unsigned long crColor)
    : CDCAttribSelector(pDC)
    , m_crAnterior(pDC ? pDC->SetTextColor(crColor) : 0) {}
CDCSetTextColor::~CDCSetTextColor() {
    if (m_pDC)
        m_pDC->SetTextColor(m_crAnterior);
}

CDCSetBkMode::CDCSetBkMode(CDC* pDC, int nMode)
    : CDCAttribSelector(pDC)
    , m_nAnterior(pDC ? pDC->SetBkMode(nMode) : 0) {}
CDCSetBkMode::~CDCSetBkMode() {
    if (m_pDC)
        m_pDC->SetBkMode(m_nAnterior);
}

CDCSetPolyFillMode::CDCSetPolyFillMode(CDC* pDC, int nMode)
    : CDCAttribSelector(pDC)
    , m_nAnterior(pDC ? pDC->SetPolyFillMode(nMode) : 0) {}
CDCSetPolyFillMode::~CDCSetPolyFillMode() {
    if (m_pDC)
        m_pDC->SetPolyFillMode(m_nAnterior);
}

CDCSetROP2::CDCSetROP2(CDC* pDC, int nMode)
    : CDCAttribSelector(pDC)
    , m_nAnterior(pDC ? pDC->SetROP2(nMode) : 0) {}
CDCSetROP2::~CDCSetROP2() {
    if (m_pDC)
        m_pDC->SetROP2(m_nAnterior);
}

CDCSetTextAlign::CDCSetTextAlign(CDC* pDC, unsigned int nFlags)
    : CDCAttribSelector(pDC)
    , m_nAnterior(pDC ? pDC->SetTextAlign(nFlags) : 0) {}
CDCSetTextAlign::~CDCSetTextAlign() {
    if (m_pDC)
        m_pDC->SetTextAlign(m_nAnterior);
}

// The previous object is kept by its handle: an object that stands for it may be a temporary one, and gone by
// then.
CDCSelectObject::CDCSelectObject(CDC* pDC, CGdiObject* pObject, int bEsborrar)
    : CDCAttribSelector(pDC)
    , m_pObject(pObject)
    , m_hAnterior(pDC && pObject ? ::SelectObject(pDC->GetSafeHdc(), pObject->GetSafeHandle()) : nullptr)
    , m_bEsborrar(bEsborrar) {}
CDCSelectObject::~CDCSelectObject() {
    // Only what was selected is put back and, then, deleted.
    if (!m_pDC || !m_hAnterior)
        return;
    ::SelectObject(m_pDC->GetSafeHdc(), m_hAnterior);
    if (m_bEsborrar)
        m_pObject->DeleteObject();
}

CDCSelectStockObject::CDCSelectStockObject(CDC* pDC, int nObject)
    : CDCAttribSelector(pDC)
    , m_hAnterior(pDC ? ::SelectObject(pDC->GetSafeHdc(), ::GetStockObject(nObject)) : nullptr) {}
CDCSelectStockObject::~CDCSelectStockObject() {
    if (m_pDC && m_hAnterior)
        ::SelectObject(m_pDC->GetSafeHdc(), m_hAnterior);
}

// ---- Owner-drawn items

CDrawItemHelper::CDrawItemHelper(const DRAWITEMSTRUCT* pDrawItem)
    : m_pDC(CDC::FromHandle(pDrawItem->hDC))
    , m_rect(pDrawItem->rcItem)
    , m_nItem(pDrawItem->itemID)
    , m_dwDades(pDrawItem->itemData)
    , m_nTipus(pDrawItem->CtlType)
    , m_nControl(pDrawItem->CtlID)
    , m_pWnd(m_nTipus != ODT_MENU ? CWnd::FromHandle(pDrawItem->hwndItem) : nullptr)
    , m_pMenu(m_nTipus == ODT_MENU ? CMenu::FromHandle(reinterpret_cast<HMENU>(pDrawItem->hwndItem))
                                   : nullptr)
    , m_nAccio(pDrawItem->itemAction)
    , m_nEstat(pDrawItem->itemState)
    , m_crText(::GetSysColor(IsGrayed() || IsDisabled() ? COLOR_GRAYTEXT
                             : IsSel()                  ? COLOR_HIGHLIGHTTEXT
                                                        : COLOR_WINDOWTEXT))
    , m_crFons(::GetSysColor(IsSel() ? COLOR_HIGHLIGHT : COLOR_WINDOW)) {}

void CDrawItemHelper::PintarFons(const RECT* pRect) const {
    const RECT rect = pRect ? *pRect : m_rect;
    const CDCSetTextAlign align(m_pDC, 0);
    const CDCSetTextColor text(m_pDC, m_crText);
    const CDCSetBkColor background(m_pDC, m_crFons);
    m_pDC->ExtTextOut(rect.left, rect.top, ETO_OPAQUE, &rect, L"", 0, nullptr);
}

void CDrawItemHelper::PintarText(const wchar_t* szText, const RECT* pRect, unsigned int nFormat,
                                 unsigned int nStockFont) const {
    if (!szText)
        return;
    const CDCSelectStockObject font(m_pDC, static_cast<int>(nStockFont));
    const CDCSetTextAlign align(m_pDC, 0);
    const CDCSetTextColor text(m_pDC, m_crText);
    const CDCSetBkMode mode(m_pDC, TRANSPARENT);
    RECT rect = pRect ? *pRect : Narrowed(m_rect);
    m_pDC->DrawText(szText, -1, &rect, nFormat);
}

void CDrawItemHelper::PintarFocus(int bNomesAmbFocus, const RECT* pRect) const {
    if (!bNomesAmbFocus || IsFocus() || m_nAccio == ODA_FOCUS)
        m_pDC->DrawFocusRect(pRect ? pRect : &m_rect);
}

CString CDrawItemHelper::GetTextItem() const {
    CString text;
    // A record without its window or menu has no text.
    if (m_nTipus == ODT_MENU ? !m_pMenu : !m_pWnd)
        return text;
    switch (m_nTipus) {
    case ODT_MENU:
        m_pMenu->GetMenuString(m_nItem, text, MF_BYCOMMAND);
        break;
    case ODT_LISTBOX:
        text = mvafx::listEntryText(*m_pWnd, LB_GETTEXTLEN, LB_GETTEXT, m_nItem);
        break;
    case ODT_COMBOBOX:
        if (static_cast<int>(m_nItem) >= 0)
            text = mvafx::listEntryText(*m_pWnd, CB_GETLBTEXTLEN, CB_GETLBTEXT, m_nItem);
        else
            m_pWnd->GetWindowText(text);
        break;
    case ODT_BUTTON:
    case ODT_STATIC:
        m_pWnd->GetWindowText(text);
        break;
    case ODT_TAB:
        text = TabText(m_pWnd, m_nItem);
        break;
    case ODT_LISTVIEW:
        text = mvafx::listViewText(*m_pWnd, m_nItem, 0);
        break;
    default:
        break;
    }
    return text;
}

// ---- Values

CClientRect::CClientRect(const CWnd* pWnd) {
    ::GetClientRect(HandleOf(pWnd), this);
}

CWindowRect::CWindowRect(const CWnd* pWnd, const CWnd* pRelatiu) {
    ::GetWindowRect(HandleOf(pWnd), this);
    if (pRelatiu)
        pRelatiu->ScreenToClient(this);
}

CScreenRect::CScreenRect() {
    ::GetWindowRect(::GetDesktopWindow(), this);
}

CDlgItemRect::CDlgItemRect(const CWnd* pDialog, unsigned int nID) {
    const HWND item = ::GetDlgItem(HandleOf(pDialog), static_cast<int>(nID));
    if (item && ::GetWindowRect(item, this))
        pDialog->ScreenToClient(this);
}

CCursorPos::CCursorPos(const CWnd* pWnd) {
    POINT position = {};
    ::GetCursorPos(&position);
    static_cast<CPoint&>(*this) = InClientOf(pWnd, position);
}

CMessagePos::CMessagePos(const CWnd* pWnd) {
    const DWORD position = ::GetMessagePos();
    static_cast<CPoint&>(*this) =
        InClientOf(pWnd, {static_cast<short>(LOWORD(position)), static_cast<short>(HIWORD(position))});
}

CWindowText::CWindowText(const CWnd* pWnd)
    : CString(WindowTextOf(HandleOf(pWnd))) {}

CDlgItemText::CDlgItemText(const CWnd* pDialog, unsigned int nID)
    : CString(WindowTextOf(::GetDlgItem(HandleOf(pDialog), static_cast<int>(nID)))) {}
