// How a window becomes an object's while the system still creates it.
#pragma once

class CWnd;

namespace mvafx {

// The next window that the thread creates is the object's from its first message on.
void hookNewWindow(CWnd* pWnd);
// TRUE when a window came.
int unhookNewWindow();

} // namespace mvafx
