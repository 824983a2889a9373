// The user-interface language of the application, and string resources in it.
//
// One process-wide language identifier (a Windows LANGID) says in which language string resources are looked
// for. A string is searched in the caller's module first, then in every library linked into the application's
// resource chain; there is no fallback from one language to another. This library's own texts lie in separate
// language modules ("mvlib62_eng", "mvlib62_cat", "mvlib62_esp"); the one that "Lang.ini" names is loaded
// with the library and stands for it in the resource chain (docs/languages.md).
//
// Nothing here throws because a resource is missing: the answer is an empty string (or language 1) and a line
// on the debugger output. Without memory for a text or an entry of the chain CMemoryException* is thrown.
//
// Threads: the current language is one unguarded global; set it once, early. Searches of the resource chain
// hold the framework's global lock and may run on any thread.
//
//     AfxSetLanguage(0x0403);                          // Catalan, if its module was loaded
//     CString text = AfxLoadString(IDS_READY);
#pragma once

#include "mvlib_export.h"

#include "afx.h"

struct AFX_EXTENSION_MODULE;

// A language's number in the suite. The language modules define the values; 1 is assumed where a module does
// not say. This library's own: 1 Catalan, 2 Spanish, 3 English.
typedef int IDIOMA;

// ---- Current language

// Sets the current language and returns the one before. The first is 0x0400 (the user's default language, for
// which the system accepts whatever language the module has). Any value is taken.
MVLIB_API unsigned short AfxSetLanguage(unsigned short wLanguage);
MVLIB_API unsigned short AfxGetLanguage();

// ---- String resources

// String `nID` in `wLanguage`. With `hModule` only that module is searched; null searches the caller's
// current resource module (unless the module state is a system one) and then the resource chain, first hit
// first. An empty string resource counts as missing. Empty when nothing was found, in silence when a module
// was given.
MVLIB_API CString AfxLoadStringLang(unsigned int nID, unsigned short wLanguage, HINSTANCE hModule);
// AfxLoadStringLang(nID, AfxGetLanguage(), null).
MVLIB_API CString AfxLoadString(unsigned int nID);
// The text itself, so that code may be given an id or a literal. Null gives the empty string.
MVLIB_API CString AfxLoadString(const wchar_t* pszText);

// ---- What a language module says about itself

// String 29997 as a number, 29998 (the language's name, at most 39 characters) and 29999 (its short key, at
// most 9) of `hModule`; null is the current module, the program's or that of a library with a module state of
// its own. Missing: 1, or the empty string. A text that does not begin with a number is 0.
MVLIB_API IDIOMA AfxGetIdioma(HINSTANCE hModule);
MVLIB_API CString AfxGetNomIdioma(HINSTANCE hModule);
MVLIB_API CString AfxGetClauIdioma(HINSTANCE hModule);
// AfxGetIdioma(null).
MVLIB_API IDIOMA AfxGetIdiomaAplicacio();

// ---- Resource chain

// Enters an extension module into the caller's resource chain unless it is there already. 1 when it is in the
// chain now, 0 when there is no module state. `module` must outlive the chain.
MVLIB_API int AfxLinkExtensionModule(AFX_EXTENSION_MODULE& module);
// AfxLinkExtensionModule for this library. A library with a module state of its own calls it once, before it
// uses texts of this library; programs need not, loading the library has done it for them. 1 or 0 likewise.
MVLIB_API int MVLib_LinkDll();
