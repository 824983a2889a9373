// Windows, where there are none. Included by afxwin.h.
#pragma once

#include "afxwin.h"

// The object that would stand for a window, for signatures that name one: m_hWnd stays what it is set to. The
// object does not own it.
class MVAFX_API CWnd : public CCmdTarget {
    DECLARE_DYNAMIC(CWnd)
public:
    CWnd();
    ~CWnd() override;

    // The window's handle, null when there is none. Not to be called through a null pointer.
    HWND GetSafeHwnd() const { return m_hWnd; }

    HWND m_hWnd;
};
