// The folder dialog of CPathString, on the system's own.
#include "CPathString.h"

#include "afxwin.h"
#include "shell.h"

namespace {

// `data` is the path that is selected at first.
int CALLBACK OnBrowse(HWND dialog, UINT message, LPARAM parameter, LPARAM data) {
    const auto* start = reinterpret_cast<const wchar_t*>(data);
    if (message == BFFM_INITIALIZED && *start) {
        SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, data);
    } else if (message == BFFM_SELCHANGED) {
        wchar_t path[MAX_PATH] = L"";
        if (SHGetPathFromIDListW(reinterpret_cast<LPITEMIDLIST>(parameter), path)) {
            SendMessageW(dialog, BFFM_SETSTATUSTEXTW, 0, reinterpret_cast<LPARAM>(path));
        }
    }
    return 0;
}

} // namespace

int CPathString::Browse(const wchar_t* szTitol, unsigned int nFlags, CWnd* pPare) {
    wchar_t name[MAX_PATH] = L"";
    BROWSEINFOW info = {};
    info.hwndOwner = pPare ? pPare->GetSafeHwnd() : nullptr;
    info.pszDisplayName = name;
    info.lpszTitle = szTitol;
    info.ulFlags = nFlags;
    info.lpfn = &OnBrowse;
    info.lParam = reinterpret_cast<LPARAM>(GetString());
    LPITEMIDLIST chosen = SHBrowseForFolderW(&info);
    if (!chosen) {
        return 0;
    }
    wchar_t path[MAX_PATH] = L"";
    const bool done = SHGetPathFromIDListW(chosen, path) != FALSE;
    CoTaskMemFree(chosen);
    if (done) {
        *this = path;
    }
    return done ? 1 : 0;
}
