// The special folders of CPathString.
#include "CPathString.h"

#include "COSVersionInfo.h"
#include "Idioma.h"
#include "SystemPath.h"

#include <cwchar>

#include "afxwin.h"
#include "shell.h"

namespace {

constexpr int kApplicationData = 26;       // CSIDL_APPDATA
constexpr int kCommonApplicationData = 35; // CSIDL_COMMON_APPDATA
constexpr int kCommonDocuments = 46;       // CSIDL_COMMON_DOCUMENTS

bool IsEmptyText(const wchar_t* text) {
    return !text || !*text;
}

// A special folder's path; empty when the system does not know it.
CString ShellFolder(int number) {
    LPITEMIDLIST list = nullptr;
    wchar_t path[MAX_PATH] = L"";
    const CWnd* window = AfxGetMainWnd();
    const HWND owner = window ? window->GetSafeHwnd() : nullptr;
    if (FAILED(SHGetSpecialFolderLocation(owner, number, &list)) || !list)
        return CString();
    const bool known = SHGetPathFromIDListW(list, path) != FALSE;
    CoTaskMemFree(list);
    return known ? CString(path) : CString();
}

CString Ended(CString folder, int bBarra) {
    CPathString::posarBarraFinal(folder, bBarra);
    return folder;
}

} // namespace

CString CPathString::g_strBaseRutaDades;

CString CPathString::GetRutaShell(int nCarpeta, int bBarra) {
    const CString folder = ShellFolder(nCarpeta);
    return folder.IsEmpty() ? folder : Ended(folder, bBarra);
}

CString CPathString::GetNomRutaShell(int nCarpeta) {
    const CString folder = GetRutaShell(nCarpeta, 0);
    return folder.Mid(folder.ReverseFind(L'\\') + 1);
}

CString CPathString::GetSystemDir(int bBarra) {
    return Ended(TextFrom([](wchar_t* text, DWORD size) { return GetSystemDirectoryW(text, size); }), bBarra);
}

CString CPathString::GetWindowsDir(int bBarra) {
    return Ended(TextFrom([](wchar_t* text, DWORD size) { return GetWindowsDirectoryW(text, size); }),
                 bBarra);
}

CString CPathString::GetTempPathW(int bBarra) {
    CString folder = TextFrom([](wchar_t* text, DWORD size) { return ::GetTempPathW(size, text); });
    if (folder.Find(L'~') >= 0) {
        folder = getLongPathName(folder);
    }
    return Ended(folder, bBarra);
}

CString CPathString::GetColorProfilesDir(int bBarra) {
    const bool consumer = AfxGetOSVersionInfo()->EsWindows9x() != 0;
    return Ended(GetSystemDir(1) + (consumer ? L"Color" : L"Spool\\Drivers\\Color"), bBarra);
}

CString CPathString::GetBaseRutaDades() {
    return g_strBaseRutaDades;
}

void CPathString::SetBaseRutaDades(const wchar_t* szBase) {
    g_strBaseRutaDades = szBase;
}

CString CPathString::GetRutaDades(int bUsuari, const wchar_t* szSubCarpeta, const wchar_t* szBase,
                                  int bBarra) {
    CString path = GetRutaShell(bUsuari ? kApplicationData : kCommonDocuments, 1);
    if (path.IsEmpty()) {
        path = GetRutaShell(bUsuari ? kApplicationData : kCommonApplicationData, 1);
    }
    if (path.IsEmpty()) {
        return path;
    }
    CString base(szBase);
    if (base.IsEmpty()) {
        base = g_strBaseRutaDades;
    }
    if (base.IsEmpty()) {
        base.Format(L"Mirvanet\\%s\\", AfxGetAppName());
    }
    path += base;
    if (!IsEmptyText(szSubCarpeta)) {
        posarBarraFinal(path, 1);
        path += szSubCarpeta;
    }
    return Ended(path, bBarra);
}

CPathString CPathString::GetFitxerDades(const wchar_t* szNom, int bUsuari, const wchar_t* szSubCarpeta,
                                        const wchar_t* szBase) {
    const CString folder = GetRutaDades(bUsuari, szSubCarpeta, szBase, 1);
    return folder.IsEmpty() ? CPathString() : CPathString(szNom, folder);
}

CString CPathString::getLongPathName(const wchar_t* szRuta) {
    using GetLongPathName_t = DWORD(WINAPI*)(LPCWSTR, LPWSTR, DWORD);
    const HMODULE kernel = GetModuleHandleW(L"KERNEL32.DLL");
    const FARPROC address = kernel ? GetProcAddress(kernel, "GetLongPathNameW") : nullptr;
    if (!address || !szRuta) {
        return szRuta;
    }
    const auto convert = reinterpret_cast<GetLongPathName_t>(reinterpret_cast<void*>(address));
    const CString path = TextFrom([&](wchar_t* text, DWORD size) { return convert(szRuta, text, size); });
    return path.IsEmpty() ? CString(szRuta) : path;
}

unsigned int CPathString::GetTempFileNameW(const wchar_t* szCarpeta, const wchar_t* szPrefix,
                                           unsigned int nUnic) {
    const wchar_t* folder = szCarpeta ? szCarpeta : L"";
    wchar_t path[MAX_PATH + 1];
    // Not every system looks whether the name fits behind the folder.
    if (std::wcslen(folder) > MAX_PATH - 14) {
        SetLastError(ERROR_BUFFER_OVERFLOW);
        return 0;
    }
    const UINT number = ::GetTempFileNameW(folder, szPrefix ? szPrefix : L"", nUnic, path);
    if (number) {
        CString::operator=(path);
    }
    return number;
}

unsigned int CPathString::GetTempFileNameW(const wchar_t* szPrefix, unsigned int nUnic) {
    return GetTempFileNameW(GetTempPathW(1), szPrefix, nUnic);
}

int CPathString::Browse(unsigned int nTitol, unsigned int nFlags, CWnd* pPare) {
    return Browse(AfxLoadString(nTitol), nFlags, pPare);
}
