#include "afxwin.h"

IMPLEMENT_DYNAMIC(CWnd, CCmdTarget)

CWnd::CWnd()
    : m_hWnd(nullptr) {}

CWnd::~CWnd() = default;
