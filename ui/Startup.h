// Start and end of the library as an extension module. The system calls differ per target (DllMain.cpp,
// DllMainPosix.cpp) and lead here.
#pragma once

#include "afx.h"

// Enters the library, with the language module as its resources, into the application's resource chain. 1, or
// 0 when that is impossible.
int MvlibAttach(HINSTANCE instance);
// Takes it out again.
void MvlibDetach();
