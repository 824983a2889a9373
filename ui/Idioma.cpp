#include "Idioma.h"

#include "CLastError.h"
#include "lang/StringIds.h"

#include "afxwin.h"

namespace {

unsigned short g_language = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

// The framework's lock of the resource chain, for one scope.
class LockedChain {
public:
    LockedChain() { AfxLockGlobals(CRIT_DYNLINKLIST); }
    ~LockedChain() { AfxUnlockGlobals(CRIT_DYNLINKLIST); }
    LockedChain(const LockedChain&) = delete;
    LockedChain& operator=(const LockedChain&) = delete;
};

CString ModuleFileName(HINSTANCE module) {
    wchar_t name[MAX_PATH] = L"";
    ::GetModuleFileNameW(module, name, MAX_PATH);
    name[MAX_PATH - 1] = 0;
    return name;
}

// String `id` of one module in that language alone. False when it is missing or empty.
bool LoadFromModule(HINSTANCE module, unsigned int id, unsigned short language, CString& text) {
    const HRSRC block = ::FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(id / 16 + 1), language);
    if (!block)
        return false;
    if (!::LoadResource(module, block)) {
        AfxFormatDebugString(
            L"[_loadStringLang] Error: no s'ha pogut accedir al recurs demanat (m\u00F2dul: %s)\n",
            ModuleFileName(module).GetString());
        return false;
    }
    return text.LoadString(module, id, language) != FALSE;
}

// String `id` in the caller's own resources, then along the resource chain.
bool LoadFromChain(unsigned int id, unsigned short language, CString& text) {
    AFX_MODULE_STATE* const state = AfxGetModuleState();
    if (!state)
        return false;
    if (!state->m_bSystem && LoadFromModule(state->m_hCurrentResourceHandle, id, language, text))
        return true;
    LockedChain locked;
    for (CDynLinkLibrary* library = state->m_libraryList; library; library = library->m_pNextDLL)
        if (!library->m_bSystem && library->m_hResource &&
            LoadFromModule(library->m_hResource, id, language, text))
            return true;
    return false;
}

// A reserved string of a module, cut to fit `Size`; `missing` goes to the debugger's output when there is
// none.
template <int Size>
bool LoadReserved(HINSTANCE module, unsigned int id, wchar_t (&text)[Size], const wchar_t* missing) {
    if (::LoadStringW(module ? module : AfxGetInstanceHandle(), id, text, Size) > 0)
        return true;
    ::OutputDebugStringW(missing);
    return false;
}

} // namespace

// ---- Current language

unsigned short AfxSetLanguage(unsigned short wLanguage) {
    const unsigned short previous = g_language;
    g_language = wLanguage;
    return previous;
}

unsigned short AfxGetLanguage() {
    return g_language;
}

// ---- String resources

CString AfxLoadStringLang(unsigned int nID, unsigned short wLanguage, HINSTANCE hModule) {
    CString text;
    if (hModule) {
        if (!LoadFromModule(hModule, nID, wLanguage, text))
            text.Empty();
        return text;
    }
    if (!LoadFromChain(nID, wLanguage, text)) {
        AfxFormatDebugString(L"[AfxLoadStringLang] Error: no s'ha pogut carregar l'string '%u'\n", nID);
        text.Empty();
    }
    return text;
}

CString AfxLoadString(unsigned int nID) {
    return AfxLoadStringLang(nID, AfxGetLanguage(), nullptr);
}

CString AfxLoadString(const wchar_t* pszText) {
    CString text;
    // Not by a constructor, which would take a small number in a pointer for a resource.
    text.SetString(pszText);
    return text;
}

// ---- What a language module says about itself

IDIOMA AfxGetIdioma(HINSTANCE hModule) {
    wchar_t number[10];
    if (!LoadReserved(hModule, IDS_IDIOMA_NUMERO, number,
                      L"[AfxGetIdioma] Error: no s'ha trobat el recurs que cont\u00E9 l'ID de l'idioma\n"))
        return 1;
    return _wtoi(number);
}

CString AfxGetNomIdioma(HINSTANCE hModule) {
    wchar_t name[40];
    // Kept: the text speaks of the key.
    if (!LoadReserved(
            hModule, IDS_IDIOMA_NOM, name,
            L"[AfxGetNomIdioma] Error: no s'ha trobat el recurs que cont\u00E9 la clau de l'idioma\n"))
        return CString();
    return name;
}

CString AfxGetClauIdioma(HINSTANCE hModule) {
    wchar_t key[10];
    if (!LoadReserved(
            hModule, IDS_IDIOMA_CLAU, key,
            L"[AfxGetClauIdioma] Error: no s'ha trobat el recurs que cont\u00E9 la clau de l'idioma\n"))
        return CString();
    return key;
}

IDIOMA AfxGetIdiomaAplicacio() {
    return AfxGetIdioma(nullptr);
}

// ---- Resource chain

int AfxLinkExtensionModule(AFX_EXTENSION_MODULE& module) {
    AFX_MODULE_STATE* const state = AfxGetModuleState();
    if (!state)
        return 0;
    LockedChain locked;
    for (CDynLinkLibrary* library = state->m_libraryList; library; library = library->m_pNextDLL)
        if (!library->m_bSystem && library->m_hModule == module.hModule)
            return 1;
    // The chain owns it.
    new CDynLinkLibrary(module, FALSE);
    return 1;
}
