// There is no folder dialog on systems without the Windows shell.
#include "CPathString.h"

int CPathString::Browse(const wchar_t*, unsigned int, CWnd*) {
    return 0;
}
