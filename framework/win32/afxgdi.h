// Drawing objects, device contexts and menus. Included by afxwin.h.
//
// An object stands for one handle at a time (Attach, Detach). FromHandle gives the object that was attached
// to a handle or, when there is none, a temporary one, which lives until the thread is idle or the last lock
// of the temporary objects goes (AfxUnlockTempMaps): never keep it. Both kinds are known per thread. The
// destructors of objects that own their handle delete it. Functions answer as the system's of the same name.
#pragma once

#include "afx.h"

#include "atltypes.h"

class CBitmap;
class CBrush;
class CDC;
class CFont;
class CPen;
class CWnd;

class MVAFX_API CGdiObject : public CObject {
    DECLARE_DYNCREATE(CGdiObject)
public:
    CGdiObject();
    CGdiObject(const CGdiObject&) = delete;
    CGdiObject& operator=(const CGdiObject&) = delete;
    ~CGdiObject() override; // DeleteObject()

    static CGdiObject* PASCAL FromHandle(HGDIOBJ hObject); // null for null
    static void PASCAL DeleteTempMap();
    BOOL Attach(HGDIOBJ hObject); // FALSE for null
    HGDIOBJ Detach();
    HGDIOBJ GetSafeHandle() const { return m_hObject; }
    operator HGDIOBJ() const { return m_hObject; }

    BOOL DeleteObject(); // FALSE when there is none
    int GetObject(int nCount, LPVOID lpObject) const { return ::GetObjectW(m_hObject, nCount, lpObject); }
    BOOL CreateStockObject(int nIndex);

    HGDIOBJ m_hObject;
};

class MVAFX_API CPen : public CGdiObject {
    DECLARE_DYNAMIC(CPen)
public:
    CPen() = default;
    CPen(int nPenStyle, int nWidth, COLORREF crColor); // throws CResourceException
    static CPen* PASCAL FromHandle(HPEN hPen) { return static_cast<CPen*>(CGdiObject::FromHandle(hPen)); }
    operator HPEN() const { return static_cast<HPEN>(m_hObject); }
    BOOL CreatePen(int nPenStyle, int nWidth, COLORREF crColor) {
        return Attach(::CreatePen(nPenStyle, nWidth, crColor));
    }
};

class MVAFX_API CBrush : public CGdiObject {
    DECLARE_DYNAMIC(CBrush)
public:
    CBrush() = default;
    explicit CBrush(COLORREF crColor); // throws CResourceException
    static CBrush* PASCAL FromHandle(HBRUSH hBrush) {
        return static_cast<CBrush*>(CGdiObject::FromHandle(hBrush));
    }
    operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }
    BOOL CreateSolidBrush(COLORREF crColor) { return Attach(::CreateSolidBrush(crColor)); }
    BOOL CreateSysColorBrush(int nIndex) { return Attach(::GetSysColorBrush(nIndex)); }
};

class MVAFX_API CFont : public CGdiObject {
    DECLARE_DYNAMIC(CFont)
public:
    CFont() = default;
    static CFont* PASCAL FromHandle(HFONT hFont) {
        return static_cast<CFont*>(CGdiObject::FromHandle(hFont));
    }
    operator HFONT() const { return static_cast<HFONT>(m_hObject); }
    BOOL CreateFontIndirect(const LOGFONTW* lpLogFont) { return Attach(::CreateFontIndirectW(lpLogFont)); }
    int GetLogFont(LOGFONTW* pLogFont) const { return GetObject(sizeof(LOGFONTW), pLogFont); }
};

class MVAFX_API CBitmap : public CGdiObject {
    DECLARE_DYNAMIC(CBitmap)
public:
    CBitmap() = default;
    static CBitmap* PASCAL FromHandle(HBITMAP hBitmap) {
        return static_cast<CBitmap*>(CGdiObject::FromHandle(hBitmap));
    }
    operator HBITMAP() const { return static_cast<HBITMAP>(m_hObject); }
    // From the first module of the resource chain that has it.
    BOOL LoadBitmap(LPCWSTR lpszResourceName);
    BOOL LoadBitmap(UINT nIDResource) { return LoadBitmap(MAKEINTRESOURCEW(nIDResource)); }
    BOOL CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitcount, const void* lpBits) {
        return Attach(::CreateBitmap(nWidth, nHeight, nPlanes, nBitcount, lpBits));
    }
    BOOL CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight);
    int GetBitmap(BITMAP* pBitMap) const { return GetObject(sizeof(BITMAP), pBitMap); }
};

class MVAFX_API CDC : public CObject {
    DECLARE_DYNCREATE(CDC)
public:
    CDC();
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;
    ~CDC() override; // DeleteDC of what is attached

    static CDC* PASCAL FromHandle(HDC hDC); // null for null
    static void PASCAL DeleteTempMap();
    BOOL Attach(HDC hDC); // FALSE for null
    HDC Detach();
    HDC GetSafeHdc() const { return m_hDC; }
    operator HDC() const { return m_hDC; }
    BOOL CreateCompatibleDC(CDC* pDC) { return Attach(::CreateCompatibleDC(pDC ? pDC->m_hDC : nullptr)); }
    BOOL DeleteDC();
    int SaveDC() { return ::SaveDC(m_hDC); }
    BOOL RestoreDC(int nSavedDC) { return ::RestoreDC(m_hDC, nSavedDC); }
    int GetDeviceCaps(int nIndex) const { return ::GetDeviceCaps(m_hDC, nIndex); }

    // The object that was selected before, a temporary one unless it is attached; null when nothing was
    // selected.
    CGdiObject* SelectObject(CGdiObject* pObject);
    CPen* SelectObject(CPen* pPen) {
        return static_cast<CPen*>(SelectObject(static_cast<CGdiObject*>(pPen)));
    }
    CBrush* SelectObject(CBrush* pBrush) {
        return static_cast<CBrush*>(SelectObject(static_cast<CGdiObject*>(pBrush)));
    }
    CFont* SelectObject(CFont* pFont) {
        return static_cast<CFont*>(SelectObject(static_cast<CGdiObject*>(pFont)));
    }
    CBitmap* SelectObject(CBitmap* pBitmap) {
        return static_cast<CBitmap*>(SelectObject(static_cast<CGdiObject*>(pBitmap)));
    }
    CGdiObject* SelectStockObject(int nIndex);
    CFont* GetCurrentFont() const {
        return CFont::FromHandle(static_cast<HFONT>(::GetCurrentObject(m_hDC, OBJ_FONT)));
    }

    // Attributes; the setters answer the previous value.
    COLORREF GetBkColor() const { return ::GetBkColor(m_hDC); }
    virtual COLORREF SetBkColor(COLORREF crColor) { return ::SetBkColor(m_hDC, crColor); }
    COLORREF GetTextColor() const { return ::GetTextColor(m_hDC); }
    virtual COLORREF SetTextColor(COLORREF crColor) { return ::SetTextColor(m_hDC, crColor); }
    int GetBkMode() const { return ::GetBkMode(m_hDC); }
    int SetBkMode(int nBkMode) { return ::SetBkMode(m_hDC, nBkMode); }
    int GetPolyFillMode() const { return ::GetPolyFillMode(m_hDC); }
    int SetPolyFillMode(int nPolyFillMode) { return ::SetPolyFillMode(m_hDC, nPolyFillMode); }
    int GetROP2() const { return ::GetROP2(m_hDC); }
    int SetROP2(int nDrawMode) { return ::SetROP2(m_hDC, nDrawMode); }
    UINT GetTextAlign() const { return ::GetTextAlign(m_hDC); }
    UINT SetTextAlign(UINT nFlags) { return ::SetTextAlign(m_hDC, nFlags); }

    // Drawing.
    BOOL ExtTextOut(int x, int y, UINT nOptions, LPCRECT lpRect, LPCWSTR lpszString, UINT nCount,
                    LPINT lpDx) {
        return ::ExtTextOutW(m_hDC, x, y, nOptions, lpRect, lpszString, nCount, lpDx);
    }
    BOOL TextOut(int x, int y, const CString& str) { return ::TextOutW(m_hDC, x, y, str, str.GetLength()); }
    virtual int DrawText(LPCWSTR lpszString, int nCount, LPRECT lpRect, UINT nFormat) {
        return ::DrawTextW(m_hDC, lpszString, nCount, lpRect, nFormat);
    }
    int DrawText(const CString& str, LPRECT lpRect, UINT nFormat) {
        return DrawText(str, str.GetLength(), lpRect, nFormat);
    }
    CSize GetTextExtent(const CString& str) const;
    void DrawFocusRect(LPCRECT lpRect) { ::DrawFocusRect(m_hDC, lpRect); }
    void FillRect(LPCRECT lpRect, CBrush* pBrush) { ::FillRect(m_hDC, lpRect, *pBrush); }
    void FillSolidRect(LPCRECT lpRect, COLORREF clr);
    BOOL Rectangle(LPCRECT lpRect) {
        return ::Rectangle(m_hDC, lpRect->left, lpRect->top, lpRect->right, lpRect->bottom);
    }
    COLORREF GetPixel(int x, int y) const { return ::GetPixel(m_hDC, x, y); }
    COLORREF SetPixel(int x, int y, COLORREF crColor) { return ::SetPixel(m_hDC, x, y, crColor); }
    BOOL BitBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, DWORD dwRop) {
        return ::BitBlt(m_hDC, x, y, nWidth, nHeight, pSrcDC->m_hDC, xSrc, ySrc, dwRop);
    }

    HDC m_hDC;
};

// The client area of a window, or the screen for null; given back in the destructor.
class MVAFX_API CClientDC : public CDC {
    DECLARE_DYNAMIC(CClientDC)
public:
    explicit CClientDC(CWnd* pWnd); // throws CResourceException
    ~CClientDC() override;

protected:
    HWND m_hWnd;
};

// BeginPaint and EndPaint of a window.
class MVAFX_API CPaintDC : public CDC {
    DECLARE_DYNAMIC(CPaintDC)
public:
    explicit CPaintDC(CWnd* pWnd); // throws CResourceException
    ~CPaintDC() override;

    PAINTSTRUCT m_ps;

protected:
    HWND m_hWnd;
};

class MVAFX_API CMenu : public CObject {
    DECLARE_DYNCREATE(CMenu)
public:
    CMenu();
    CMenu(const CMenu&) = delete;
    CMenu& operator=(const CMenu&) = delete;
    ~CMenu() override; // DestroyMenu()

    static CMenu* PASCAL FromHandle(HMENU hMenu); // null for null
    static void PASCAL DeleteTempMap();
    BOOL Attach(HMENU hMenu); // FALSE for null
    HMENU Detach();
    HMENU GetSafeHmenu() const { return m_hMenu; }
    operator HMENU() const { return m_hMenu; }
    BOOL CreateMenu() { return Attach(::CreateMenu()); }
    BOOL CreatePopupMenu() { return Attach(::CreatePopupMenu()); }
    // From the first module of the resource chain that has it.
    BOOL LoadMenu(LPCWSTR lpszResourceName);
    BOOL LoadMenu(UINT nIDResource) { return LoadMenu(MAKEINTRESOURCEW(nIDResource)); }
    BOOL DestroyMenu(); // FALSE when there is none

    BOOL AppendMenu(UINT nFlags, UINT_PTR nIDNewItem = 0, LPCWSTR lpszNewItem = nullptr) {
        return ::AppendMenuW(m_hMenu, nFlags, nIDNewItem, lpszNewItem);
    }
    BOOL InsertMenu(UINT nPosition, UINT nFlags, UINT_PTR nIDNewItem = 0, LPCWSTR lpszNewItem = nullptr) {
        return ::InsertMenuW(m_hMenu, nPosition, nFlags, nIDNewItem, lpszNewItem);
    }
    BOOL RemoveMenu(UINT nPosition, UINT nFlags) { return ::RemoveMenu(m_hMenu, nPosition, nFlags); }
    BOOL DeleteMenu(UINT nPosition, UINT nFlags) { return ::DeleteMenu(m_hMenu, nPosition, nFlags); }
    DWORD CheckMenuItem(UINT nIDCheckItem, UINT nCheck) {
        return ::CheckMenuItem(m_hMenu, nIDCheckItem, nCheck);
    }
    BOOL EnableMenuItem(UINT nIDEnableItem, UINT nEnable) {
        return ::EnableMenuItem(m_hMenu, nIDEnableItem, nEnable);
    }
    int GetMenuItemCount() const { return ::GetMenuItemCount(m_hMenu); }
    UINT GetMenuItemID(int nPos) const { return ::GetMenuItemID(m_hMenu, nPos); }
    UINT GetMenuState(UINT nID, UINT nFlags) const { return ::GetMenuState(m_hMenu, nID, nFlags); }
    int GetMenuString(UINT nIDItem, CString& rString, UINT nFlags) const;
    CMenu* GetSubMenu(int nPos) const { return FromHandle(::GetSubMenu(m_hMenu, nPos)); }
    BOOL TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT lpRect = nullptr);

    HMENU m_hMenu;
};
