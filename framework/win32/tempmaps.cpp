#include "tempmaps.h"

#include "afxwin.h"

void mvafx::deleteTemporaryObjects() {
    CGdiObject::DeleteTempMap();
    CDC::DeleteTempMap();
    CMenu::DeleteTempMap();
    CWnd::DeleteTempMap();
}
