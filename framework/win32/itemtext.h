// Texts of entries of controls, for the control classes and for whoever has no more than the window.
#pragma once

#include "afxwin.h"

namespace mvafx {

// The text of an entry of a list that answers its length to one message and the text to another
// (LB_GETTEXTLEN and LB_GETTEXT, CB_GETLBTEXTLEN and CB_GETLBTEXT). Empty for an entry that is not there.
MVAFX_API CString listEntryText(const CWnd& list, UINT nLengthMessage, UINT nTextMessage, UINT nEntry);
// The text of an item of a list view, however long. Empty for an item that is not there.
MVAFX_API CString listViewText(const CWnd& list, UINT nItem, int nSubItem);

} // namespace mvafx
