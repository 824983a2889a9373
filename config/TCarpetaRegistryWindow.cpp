// Window placements in the registry.
#include "TCarpetaRegistry.h"

#include "afxwin.h"

#include <cstdio>

int TCarpetaRegistry::SaveWndState(const CWnd* pWnd, const wchar_t* szNom) {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    if (!pWnd || !::GetWindowPlacement(pWnd->m_hWnd, &placement))
        return 0;
    const UINT flags = ::IsZoomed(pWnd->m_hWnd) ? WPF_RESTORETOMAXIMIZED : 0;
    const RECT& normal = placement.rcNormalPosition;
    CString text;
    text.Format(L"%u,%u,%d,%d,%d,%d,%d,%d,%d,%d", flags, placement.showCmd,
                static_cast<int>(placement.ptMinPosition.x), static_cast<int>(placement.ptMinPosition.y),
                static_cast<int>(placement.ptMaxPosition.x), static_cast<int>(placement.ptMaxPosition.y),
                static_cast<int>(normal.left), static_cast<int>(normal.top), static_cast<int>(normal.right),
                static_cast<int>(normal.bottom));
    return EntraValor(szNom, text.GetString()) == 0 ? 1 : 0;
}

int TCarpetaRegistry::LoadWndState(CWnd* pWnd, const wchar_t* szNom, int bMinimitzat) {
    CString text;
    if (!pWnd || TornaValor(szNom, text, nullptr) != 0)
        return 0;
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    RECT& normal = placement.rcNormalPosition;
    int count =
        std::swscanf(text, L"%u,%u,%ld,%ld,%ld,%ld,%ld,%ld,%ld,%ld", &placement.flags, &placement.showCmd,
                     &placement.ptMinPosition.x, &placement.ptMinPosition.y, &placement.ptMaxPosition.x,
                     &placement.ptMaxPosition.y, &normal.left, &normal.top, &normal.right, &normal.bottom);
    if (count != 10)
        return 0;
    const UINT show = placement.showCmd;
    if (!bMinimitzat && (show == SW_SHOWMINIMIZED || show == SW_MINIMIZE || show == SW_SHOWMINNOACTIVE))
        placement.showCmd = SW_SHOWNORMAL;
    return ::SetWindowPlacement(pWnd->m_hWnd, &placement) ? 1 : 0;
}
