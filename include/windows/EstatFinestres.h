// What windows and controls remember between sessions: placements of windows, and for each control of a
// dialog a place of its own in the registry. Windows only; on the thread of the window.
//
// Everything lies below the application's base folder of the current user (TCarpetaRegistry.h).
#pragma once

#include "mvlib_export.h"

#include "afxwin.h"

#include "TCarpetaRegistry.h"

// The main window of the current module state's application; null without an application object or window.
MVLIB_API CWnd* AfxGetAppWnd();

// Stores the placement of a window, and restores it: a null window means AfxGetAppWnd(), a null or empty name
// "MainWnd". A window that was stored minimised is restored as a normal one unless `bMinimitzat` is not 0.
// What is missing, malformed or cannot be written changes nothing, and nobody is told.
MVLIB_API void AfxSaveWndState(CWnd* pWnd, const wchar_t* szNom);
MVLIB_API void AfxLoadWndState(CWnd* pWnd, const wchar_t* szNom, int bMinimitzat);

// Where a control keeps its settings: below the folder CtrlSettings a folder with the caption of the
// control's parent (its first 255 characters; none for a parent without caption), there a value with the
// control's class and number, as in CListCtrl_1001. With `bRelatiu` not 0 the folder begins with ".\\", for
// TCarpetaRegistry. 1 on success; 0 when the control is null or has no parent, and nothing is changed.
//
// Kept: a caption in another language is another folder.
MVLIB_API int AfxGetClauRegistryControl(const CWnd* pControl, CString& strClau, CString& strValor,
                                        int bRelatiu);
// That folder, which the caller deletes, and the value's name. No key is made. Null when there is no such
// place.
MVLIB_API TCarpetaRegistry* AfxGetRegistryControl(const CWnd* pControl, CString& strValor);
