// Drawing objects, device contexts, menus.
#include "afxwin.h"

#include "handlemap.h"

IMPLEMENT_DYNCREATE(CGdiObject, CObject)
IMPLEMENT_DYNAMIC(CPen, CGdiObject)
IMPLEMENT_DYNAMIC(CBrush, CGdiObject)
IMPLEMENT_DYNAMIC(CFont, CGdiObject)
IMPLEMENT_DYNAMIC(CBitmap, CGdiObject)
IMPLEMENT_DYNCREATE(CDC, CObject)
IMPLEMENT_DYNAMIC(CClientDC, CDC)
IMPLEMENT_DYNAMIC(CPaintDC, CDC)
IMPLEMENT_DYNCREATE(CMenu, CObject)

namespace {

using GdiMap = mvafx::HandleMap<CGdiObject, HGDIOBJ, &CGdiObject::m_hObject>;
using DCMap = mvafx::HandleMap<CDC, HDC, &CDC::m_hDC>;
using MenuMap = mvafx::HandleMap<CMenu, HMENU, &CMenu::m_hMenu>;

} // namespace

// ---- CGdiObject

CGdiObject::CGdiObject()
    : m_hObject(nullptr) {}
CGdiObject::~CGdiObject() {
    DeleteObject();
}

CGdiObject* PASCAL CGdiObject::FromHandle(HGDIOBJ hObject) {
    return GdiMap::ofThread().fromHandle(hObject);
}
void PASCAL CGdiObject::DeleteTempMap() {
    GdiMap::ofThread().deleteTemporary();
}

BOOL CGdiObject::Attach(HGDIOBJ hObject) {
    if (hObject == nullptr)
        return FALSE;
    GdiMap::ofThread().attach(hObject, this);
    m_hObject = hObject;
    return TRUE;
}

HGDIOBJ CGdiObject::Detach() {
    HGDIOBJ hObject = m_hObject;
    GdiMap::ofThread().detach(hObject, this);
    m_hObject = nullptr;
    return hObject;
}

BOOL CGdiObject::DeleteObject() {
    HGDIOBJ hObject = Detach();
    return hObject != nullptr && ::DeleteObject(hObject);
}

BOOL CGdiObject::CreateStockObject(int nIndex) {
    return Attach(::GetStockObject(nIndex));
}

CPen::CPen(int nPenStyle, int nWidth, COLORREF crColor) {
    if (!CreatePen(nPenStyle, nWidth, crColor))
        AfxThrowResourceException();
}

CBrush::CBrush(COLORREF crColor) {
    if (!CreateSolidBrush(crColor))
        AfxThrowResourceException();
}

BOOL CBitmap::LoadBitmap(LPCWSTR lpszResourceName) {
    return Attach(::LoadBitmapW(AfxFindResourceHandle(lpszResourceName, RT_BITMAP), lpszResourceName));
}

BOOL CBitmap::CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight) {
    return Attach(::CreateCompatibleBitmap(pDC->GetSafeHdc(), nWidth, nHeight));
}

// ---- CDC

CDC::CDC()
    : m_hDC(nullptr) {}
CDC::~CDC() {
    DeleteDC();
}

CDC* PASCAL CDC::FromHandle(HDC hDC) {
    return DCMap::ofThread().fromHandle(hDC);
}
void PASCAL CDC::DeleteTempMap() {
    DCMap::ofThread().deleteTemporary();
}

BOOL CDC::Attach(HDC hDC) {
    if (hDC == nullptr)
        return FALSE;
    DCMap::ofThread().attach(hDC, this);
    m_hDC = hDC;
    return TRUE;
}

HDC CDC::Detach() {
    HDC hDC = m_hDC;
    DCMap::ofThread().detach(hDC, this);
    m_hDC = nullptr;
    return hDC;
}

BOOL CDC::DeleteDC() {
    HDC hDC = Detach();
    return hDC != nullptr && ::DeleteDC(hDC);
}

CGdiObject* CDC::SelectObject(CGdiObject* pObject) {
    return CGdiObject::FromHandle(
        ::SelectObject(m_hDC, pObject != nullptr ? pObject->GetSafeHandle() : nullptr));
}

CGdiObject* CDC::SelectStockObject(int nIndex) {
    return CGdiObject::FromHandle(::SelectObject(m_hDC, ::GetStockObject(nIndex)));
}

CSize CDC::GetTextExtent(const CString& str) const {
    SIZE size = {};
    ::GetTextExtentPoint32W(m_hDC, str, str.GetLength(), &size);
    return size;
}

void CDC::FillSolidRect(LPCRECT lpRect, COLORREF clr) {
    const COLORREF previous = SetBkColor(clr);
    ::ExtTextOutW(m_hDC, 0, 0, ETO_OPAQUE, lpRect, nullptr, 0, nullptr);
    SetBkColor(previous);
}

CClientDC::CClientDC(CWnd* pWnd)
    : m_hWnd(pWnd != nullptr ? pWnd->GetSafeHwnd() : nullptr) {
    if (!Attach(::GetDC(m_hWnd)))
        AfxThrowResourceException();
}
CClientDC::~CClientDC() {
    ::ReleaseDC(m_hWnd, Detach());
}

CPaintDC::CPaintDC(CWnd* pWnd)
    : m_hWnd(pWnd->GetSafeHwnd()) {
    if (!Attach(::BeginPaint(m_hWnd, &m_ps)))
        AfxThrowResourceException();
}
CPaintDC::~CPaintDC() {
    ::EndPaint(m_hWnd, &m_ps);
    Detach();
}

// ---- CMenu

CMenu::CMenu()
    : m_hMenu(nullptr) {}
CMenu::~CMenu() {
    DestroyMenu();
}

CMenu* PASCAL CMenu::FromHandle(HMENU hMenu) {
    return MenuMap::ofThread().fromHandle(hMenu);
}
void PASCAL CMenu::DeleteTempMap() {
    MenuMap::ofThread().deleteTemporary();
}

BOOL CMenu::Attach(HMENU hMenu) {
    if (hMenu == nullptr)
        return FALSE;
    MenuMap::ofThread().attach(hMenu, this);
    m_hMenu = hMenu;
    return TRUE;
}

HMENU CMenu::Detach() {
    HMENU hMenu = m_hMenu;
    MenuMap::ofThread().detach(hMenu, this);
    m_hMenu = nullptr;
    return hMenu;
}

BOOL CMenu::LoadMenu(LPCWSTR lpszResourceName) {
    return Attach(::LoadMenuW(AfxFindResourceHandle(lpszResourceName, RT_MENU), lpszResourceName));
}

BOOL CMenu::DestroyMenu() {
    HMENU hMenu = Detach();
    return hMenu != nullptr && ::DestroyMenu(hMenu);
}

int CMenu::GetMenuString(UINT nIDItem, CString& rString, UINT nFlags) const {
    const int nLength = ::GetMenuStringW(m_hMenu, nIDItem, nullptr, 0, nFlags);
    if (nLength > 0) {
        ::GetMenuStringW(m_hMenu, nIDItem, rString.GetBuffer(nLength), nLength + 1, nFlags);
        rString.ReleaseBuffer();
    } else {
        rString.Empty();
    }
    return rString.GetLength();
}

BOOL CMenu::TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect) {
    return ::TrackPopupMenu(m_hMenu, nFlags, x, y, 0, pWnd != nullptr ? pWnd->GetSafeHwnd() : nullptr,
                            lpRect);
}
