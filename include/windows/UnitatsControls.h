// Lengths in dialogs, and the menu of units. Windows only; on the thread of the dialog.
//
//     void CPageDialog::DoDataExchange(CDataExchange* pDX) {
//         CDialog::DoDataExchange(pDX);
//         DDX_Unitats(pDX, IDC_WIDTH, m_dWidth); // points of 1/72 inch; "2.54 cm" in the field
//     }
#pragma once

#include "mvlib_export.h"

#include "afxwin.h"

// The command of the first entry of the units menu; the others follow in the order of TipusUnitats
// (Unitats.h). A command less this number is the unit to give to AfxSetUnitatsActives.
constexpr unsigned int ID_UNITATS_MENU = 11310;

// Exchanges a length in points with an edit control: loading shows it in the active unit with its
// abbreviation, saving reads it in the unit that the text names, else in the active one. Text that cannot be
// read is 0.0; the exchange never fails. CNotSupportedException when the dialog has no such control.
MVLIB_API void DDX_Unitats(CDataExchange* pDX, int nIDC, double& dEps);

// Appends the four units to the menu, millimetres first; with `bMarcarActives` not 0 the active one is
// checked. Without a menu (null) a new pop-up menu is made, which belongs to the caller: DestroyMenu and
// delete. Answers the menu. Calling it twice appends the units twice.
MVLIB_API CMenu* unitsMenu(CMenu* pMenu, int bMarcarActives);
