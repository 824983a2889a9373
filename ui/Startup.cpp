#include "Startup.h"

#include "Idioma.h"
#include "lang/qzmultilang.h"

#include "afxwin.h"

namespace {

// The library's record as an extension module. Its resources are those of the language module.
AFX_EXTENSION_MODULE g_module;

} // namespace

int MvlibAttach(HINSTANCE instance) {
    if (!AfxInitExtensionModule(g_module, instance))
        return 0;
    g_module.hResource = qzmultilangLoadLibrary(instance, L"Lang.ini");
    // The chain owns it; ending the extension module deletes it.
    new CDynLinkLibrary(g_module, FALSE);
    return 1;
}

void MvlibDetach() {
    AfxTermExtensionModule(g_module);
}

int MVLib_LinkDll() {
    return AfxLinkExtensionModule(g_module);
}
