#include "UnitatsControls.h"

#include "Unitats.h"

#include "lang/StringIds.h"

namespace {

constexpr int unitCount = 4;

} // namespace

void DDX_Unitats(CDataExchange* pDX, int nIDC, double& dEps) {
    const HWND control = pDX->PrepareEditCtrl(nIDC);
    if (!pDX->m_bSaveAndValidate) {
        ::SetWindowTextW(control, eps2unit(dEps, UNITATS_ACTIVES, 1));
        return;
    }
    CString text;
    const int length = ::GetWindowTextLengthW(control);
    ::GetWindowTextW(control, text.GetBufferSetLength(length), length + 1);
    text.ReleaseBuffer();
    dEps = unit2eps(text, UNITATS_ACTIVES);
}

CMenu* unitsMenu(CMenu* pMenu, int bMarcarActives) {
    if (!pMenu) {
        pMenu = new CMenu;
        pMenu->CreatePopupMenu();
    }
    for (unsigned int unit = 0; unit < unitCount; ++unit) {
        CString text;
        text.LoadString(IDS_UNITATS_MENU + unit);
        pMenu->AppendMenu(MF_STRING, ID_UNITATS_MENU + unit, text);
    }
    if (bMarcarActives) {
        const int active = AfxGetUnitatsActives();
        if (active >= 0 && active < unitCount)
            pMenu->CheckMenuItem(ID_UNITATS_MENU + static_cast<unsigned int>(active),
                                 MF_BYCOMMAND | MF_CHECKED);
    }
    return pMenu;
}
