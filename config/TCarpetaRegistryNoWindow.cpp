// Where there are no windows, none has a placement.
#include "TCarpetaRegistry.h"

int TCarpetaRegistry::SaveWndState(const CWnd*, const wchar_t*) {
    return 0;
}

int TCarpetaRegistry::LoadWndState(CWnd*, const wchar_t*, int) {
    return 0;
}
