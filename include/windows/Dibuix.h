// Drawing and windows, for dialogs and owner-drawn controls: selectors that put a device context back, a
// helper for owner-drawn items, rectangles and texts taken at construction, images and menus of the resource
// chain, pending messages, enabling of whole window trees. Windows only.
//
// Everything belongs to the thread of the window or device context. Nothing throws unless the framework does.
//
//     void CMyList::DrawItem(LPDRAWITEMSTRUCT record) {
//         CDrawItemHelper item(record);
//         item.PintarFons(nullptr);
//         item.PintarText(item.GetTextItem(), nullptr, DT_SINGLELINE | DT_VCENTER, DEFAULT_GUI_FONT);
//         item.PintarFocus(1, nullptr);
//     }
#pragma once

#include "mvlib_export.h"

#include "afxcmn.h"

// ---- Selectors
//
// Each sets one attribute of a device context for the length of a scope: the constructor sets it, the
// destructor puts back what was there. Nested selectors restore in reverse order, which leaves the context as
// it was. The context must outlive the selector; a null one does nothing. A copy restores a second time.

class MVLIB_API CDCAttribSelector {
public:
    virtual ~CDCAttribSelector() { m_pDC = nullptr; }

protected:
    explicit CDCAttribSelector(CDC* pDC)
        : m_pDC(pDC) {}
    CDCAttribSelector(const CDCAttribSelector&) = default;
    CDCAttribSelector& operator=(const CDCAttribSelector&) = default;

    CDC* m_pDC; // not owned
};

class MVLIB_API CDCSetBkColor : public CDCAttribSelector {
public:
    CDCSetBkColor(CDC* pDC, unsigned long crColor);
    ~CDCSetBkColor() override;

protected:
    unsigned long m_crAnterior;
};

class MVLIB_API CDCSetTextColor : public CDCAttribSelector {
public:
    CDCSetTextColor(CDC* pDC, unsigned long crColor);
    ~CDCSetTextColor() override;

protected:
    unsigned long m_crAnterior;
};

class MVLIB_API CDCSetBkMode : public CDCAttribSelector {
public:
    CDCSetBkMode(CDC* pDC, int nMode);
    ~CDCSetBkMode() override;

protected:
    int m_nAnterior;
};

class MVLIB_API CDCSetPolyFillMode : public CDCAttribSelector {
public:
    CDCSetPolyFillMode(CDC* pDC, int nMode);
    ~CDCSetPolyFillMode() override;

protected:
    int m_nAnterior;
};

class MVLIB_API CDCSetROP2 : public CDCAttribSelector {
public:
    CDCSetROP2(CDC* pDC, int nMode);
    ~CDCSetROP2() override;

protected:
    int m_nAnterior;
};

class MVLIB_API CDCSetTextAlign : public CDCAttribSelector {
public:
    CDCSetTextAlign(CDC* pDC, unsigned int nFlags);
    ~CDCSetTextAlign() override;

protected:
    unsigned int m_nAnterior;
};

class MVLIB_API CDCSelectObject : public CDCAttribSelector {
public:
    // Selects the object's handle; a null object selects nothing. With `bEsborrar` not 0 the destructor, when
    // the previous object is selected again, deletes the handle through the object (DeleteObject), which must
    // still exist. What could not be selected is not deleted.
    CDCSelectObject(CDC* pDC, CGdiObject* pObject, int bEsborrar);
    ~CDCSelectObject() override;

protected:
    CGdiObject* m_pObject; // not owned
    HGDIOBJ m_hAnterior;   // null when nothing was selected
    int m_bEsborrar;
};

class MVLIB_API CDCSelectStockObject : public CDCAttribSelector {
public:
    // One of the system's objects (DEFAULT_GUI_FONT, NULL_BRUSH ...).
    CDCSelectStockObject(CDC* pDC, int nObject);
    ~CDCSelectStockObject() override;

protected:
    HGDIOBJ m_hAnterior;
};

// ---- Owner-drawn items

// What an owner-draw record says, with the colours for the item's state: background COLOR_HIGHLIGHT when it
// is selected, else COLOR_WINDOW; text COLOR_GRAYTEXT when it is grayed or disabled, else COLOR_HIGHLIGHTTEXT
// when selected, else COLOR_WINDOWTEXT. A null rectangle means the item's. Every function leaves the device
// context as it was.
class MVLIB_API CDrawItemHelper {
public:
    // `pDrawItem` must not be null; it is not needed afterwards. The objects of device context, window and
    // menu may be temporary ones: use the helper within the message that brought the record.
    explicit CDrawItemHelper(const DRAWITEMSTRUCT* pDrawItem);

    int IsSel() const { return (m_nEstat & ODS_SELECTED) != 0; }
    int IsGrayed() const { return (m_nEstat & ODS_GRAYED) != 0; }
    int IsDisabled() const { return (m_nEstat & ODS_DISABLED) != 0; }
    int IsFocus() const { return (m_nEstat & ODS_FOCUS) != 0; }

    // Fills the rectangle with the background colour.
    void PintarFons(const RECT* pRect) const;
    // Draws the text in the text colour, transparent, in a stock font, with the DT_ flags of DrawText.
    // Without a rectangle the item's is used, one pixel narrower on the left and on the right. A null text
    // draws nothing.
    void PintarText(const wchar_t* szText, const RECT* pRect, unsigned int nFormat,
                    unsigned int nStockFont) const;
    // Draws the focus rectangle; with `bNomesAmbFocus` not 0 only when the item has the focus or the action
    // is ODA_FOCUS.
    void PintarFocus(int bNomesAmbFocus, const RECT* pRect) const;
    // The text of the item as its control knows it: of a menu the item's, of a list box, a combo box (its
    // window text for an item below 0), a tab (at most 127 characters) or a list view (first column) the
    // entry's, of a button or static the window's. Empty for any other control and for items that are not
    // there.
    CString GetTextItem() const;

    CDC* m_pDC;
    CRect m_rect;
    unsigned int m_nItem;
    ULONG_PTR m_dwDades;   // the item's own data
    unsigned int m_nTipus; // ODT_MENU ...
    unsigned int m_nControl;
    CWnd* m_pWnd;          // null for a menu
    CMenu* m_pMenu;        // null for a control
    unsigned int m_nAccio; // ODA_ bits
    unsigned int m_nEstat; // ODS_ bits
    unsigned long m_crText;
    unsigned long m_crFons;
};

// ---- Values taken at construction. The windows must not be null where nothing else is said.

class MVLIB_API CClientRect : public CRect {
public:
    explicit CClientRect(const CWnd* pWnd);
};

// In screen coordinates, or in client coordinates of `pRelatiu` unless it is null.
class MVLIB_API CWindowRect : public CRect {
public:
    explicit CWindowRect(const CWnd* pWnd, const CWnd* pRelatiu = nullptr);
};

// The desktop window's.
class MVLIB_API CScreenRect : public CRect {
public:
    CScreenRect();
};

// Of an item of a dialog, in the dialog's client coordinates; empty when there is no such item.
class MVLIB_API CDlgItemRect : public CRect {
public:
    CDlgItemRect(const CWnd* pDialog, unsigned int nID);
};

// On the screen, or in client coordinates of `pWnd` unless it is null.
class MVLIB_API CCursorPos : public CPoint {
public:
    explicit CCursorPos(const CWnd* pWnd = nullptr);
};

// Where the cursor was at the last message; as CCursorPos. Halves of the position are signed.
class MVLIB_API CMessagePos : public CPoint {
public:
    explicit CMessagePos(const CWnd* pWnd = nullptr);
};

class MVLIB_API CWindowText : public CString {
public:
    explicit CWindowText(const CWnd* pWnd);
};

// Empty when there is no such item.
class MVLIB_API CDlgItemText : public CString {
public:
    CDlgItemText(const CWnd* pDialog, unsigned int nID);
};

// ---- Resources

// Makes a module the first of the resource chain for the length of a scope, in the current module state. A
// null module does nothing. Not to be copied.
class MVLIB_API CSetResourceHandle {
public:
    explicit CSetResourceHandle(HINSTANCE hModule);
    ~CSetResourceHandle();
    CSetResourceHandle(const CSetResourceHandle&) = delete;
    CSetResourceHandle& operator=(const CSetResourceHandle&) = delete;

protected:
    HINSTANCE m_hAnterior;
    int m_bCanviat;
};

// Loads a bitmap, icon or cursor (IMAGE_BITMAP 0, IMAGE_ICON 1, IMAGE_CURSOR 2; sizes and flags as LoadImage
// takes them) from the first module of the resource chain that has a resource of the name: bitmaps; group
// icons, icons, animated icons; group cursors, cursors, animated cursors. With LR_LOADFROMFILE the name is a
// file's. The image's handle, which the caller destroys unless LR_SHARED is given. Null when there is none;
// for another type with last error ERROR_INVALID_PARAMETER (87).
MVLIB_API void* AfxLoadImage(const wchar_t* szNom, unsigned int nTipus, int cx, int cy, unsigned int nFlags);
MVLIB_API void* AfxLoadImage(unsigned int nID, unsigned int nTipus, int cx, int cy, unsigned int nFlags);
// Makes the list anew from a bitmap of the chain: images of cx by cy, 24-bit colour with a mask, where the
// bitmap has `crMascara`. 1 when the bitmap was loaded; else 0, and the list is as before.
MVLIB_API int AfxLoadImageList(CImageList& llista, unsigned int nIDBitmap, int cx, int cy,
                               unsigned long crMascara);
// Loads a bitmap of the chain into `bitmap` (which should have none) and the colour of its pixel at `punt`
// into `crMascara` (CLR_INVALID for a point outside). 1, or 0 when it was not loaded; the colour is as before
// then.
MVLIB_API int AfxLoadBitmapMask(CBitmap& bitmap, unsigned int nIDBitmap, unsigned long& crMascara,
                                CPoint punt);

// Icons and cursors of the chain in their usual size (or 16 by 16 pixels), and those of the system (IDC_WAIT
// ...). Shared: not to be destroyed. Null when there is none.
MVLIB_API HICON AfxLoadIcon(unsigned int nID);
MVLIB_API HICON AfxLoadIcon16x16(unsigned int nID);
MVLIB_API HCURSOR AfxLoadCursor(unsigned int nID);
MVLIB_API HCURSOR AfxLoadSysCursor(const wchar_t* szNom);

// ---- Menus

// Copies the items of `pOrigen`, sub-menus with all that is in them, into `desti` at `nPosicio`, which is a
// command or a position as `nFlags` says (MF_BYCOMMAND, MF_BYPOSITION). Texts, numbers and the checked,
// grayed and disabled states go along; the source stays as it is. A destination without a menu gets a pop-up
// menu. With exactly MF_BYPOSITION or with MF_BYCOMMAND the items keep their order. 0 when there is no
// source; else 1, also when an item could not be inserted, which ends the merge.
MVLIB_API int AfxMenuMerge(CMenu& desti, const CMenu* pOrigen, unsigned int nPosicio, unsigned int nFlags);
// The source is the first sub-menu of a menu of the resource chain. 0 when there is none.
MVLIB_API int AfxMenuMerge(CMenu& desti, unsigned int nIDMenu, unsigned int nPosicio, unsigned int nFlags);

// ---- Messages

// Lets the calling thread handle the messages that wait for the window (null: for the thread), in the middle
// of long work. The quit message ends it and is posted again, so that the main loop ends too. With `bIdle`
// not 0 the thread's idle work is done afterwards, until it wants no more.
MVLIB_API void AfxDoEvents(CWnd* pWnd, int bIdle);
// The same, with idle work.
MVLIB_API void DoEvents(HWND hWnd);
MVLIB_API void DoEvents(CWnd* pWnd);

// Shows a text (or string `nIDText` in the current language) in a message box of the system, from any thread,
// modal for all windows of the task. A null caption stands for the application's name. The button, 0 when no
// box could be shown.
MVLIB_API int AfxThreadMessageBox(unsigned int nIDText, unsigned int nTipus, const wchar_t* szTitol);
MVLIB_API int AfxThreadMessageBox(const wchar_t* szText, unsigned int nTipus, const wchar_t* szTitol);
// Names the calling thread for debuggers. Does nothing where the system knows no such names.
MVLIB_API void AfxSetThreadName(const wchar_t* szNom);

// ---- Windows

// Enable (not 0) or disable every descendant of the window, not the window itself. A null window: nothing.
MVLIB_API void AfxEnableChildWindows(CWnd* pWnd, int bActivar);
MVLIB_API void EnableChildWindows(HWND hWnd, int bActivar);
MVLIB_API void EnableChildWindows(CWnd* pWnd, int bActivar);
// The window itself, and its descendants with `bAmbFills` not 0. A null window: nothing.
MVLIB_API void AfxEnableWindow(CWnd* pWnd, int bActivar, int bAmbFills);
// The same for an item of a dialog, if there is one.
MVLIB_API void AfxEnableDlgItem(CWnd* pDialog, unsigned int nID, int bActivar, int bAmbFills);
// 1 when the window or one of its descendants has the focus, else 0.
MVLIB_API int AfxEsActiva(const CWnd* pWnd);
// Set the text to a string in the current language (Idioma.h).
MVLIB_API void AfxSetWindowText(CWnd* pWnd, unsigned int nIDText);
MVLIB_API void AfxSetDlgItemText(CWnd* pDialog, unsigned int nID, unsigned int nIDText);

// ---- Memory of the shell's allocator, for what the shell frees or gives. Null when there is none; freeing
// null does nothing.

MVLIB_API void* AfxComAlloc(size_t nMida);
MVLIB_API void AfxComFree(void* pMemoria);
