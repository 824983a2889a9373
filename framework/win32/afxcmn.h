// Common controls: image lists, tabs, list views.
#pragma once

#include "afxwin.h"

#include <commctrl.h>

class MVAFX_API CImageList : public CObject {
    DECLARE_DYNCREATE(CImageList)
public:
    CImageList();
    CImageList(const CImageList&) = delete;
    CImageList& operator=(const CImageList&) = delete;
    ~CImageList() override; // DeleteImageList()

    BOOL Attach(HIMAGELIST hImageList); // FALSE for null
    HIMAGELIST Detach();
    HIMAGELIST GetSafeHandle() const { return m_hImageList; }
    operator HIMAGELIST() const { return m_hImageList; }
    BOOL Create(int cx, int cy, UINT nFlags, int nInitial, int nGrow) {
        return Attach(::ImageList_Create(cx, cy, nFlags, nInitial, nGrow));
    }
    BOOL DeleteImageList(); // FALSE when there is none

    // The first new image's index, -1 on failure.
    int Add(CBitmap* pbmImage, COLORREF crMask) {
        return ::ImageList_AddMasked(m_hImageList, *pbmImage, crMask);
    }
    int GetImageCount() const { return ::ImageList_GetImageCount(m_hImageList); }
    BOOL Draw(CDC* pDC, int nImage, POINT pt, UINT nStyle) {
        return ::ImageList_Draw(m_hImageList, nImage, *pDC, pt.x, pt.y, nStyle);
    }

    HIMAGELIST m_hImageList;
};

class MVAFX_API CTabCtrl : public CWnd {
    DECLARE_DYNAMIC(CTabCtrl)
public:
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
    LONG InsertItem(int nItem, LPCWSTR lpszItem);
    BOOL GetItem(int nItem, TCITEMW* pTabCtrlItem) const {
        return static_cast<BOOL>(
            SendMessage(TCM_GETITEMW, static_cast<WPARAM>(nItem), reinterpret_cast<LPARAM>(pTabCtrlItem)));
    }
    int GetItemCount() const { return static_cast<int>(SendMessage(TCM_GETITEMCOUNT)); }
};

class MVAFX_API CListCtrl : public CWnd {
    DECLARE_DYNAMIC(CListCtrl)
public:
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);
    int InsertColumn(int nCol, LPCWSTR lpszColumnHeading, int nFormat = LVCFMT_LEFT, int nWidth = -1);
    int InsertItem(int nItem, LPCWSTR lpszItem);
    int GetItemCount() const { return static_cast<int>(SendMessage(LVM_GETITEMCOUNT)); }
    // Empty when there is no such item.
    CString GetItemText(int nItem, int nSubItem) const;
    BOOL SetItemText(int nItem, int nSubItem, LPCWSTR lpszText);
};
