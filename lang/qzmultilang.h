// The language library: finds and loads the module with a program's or a library's resources in the user's
// language.
//
// The configuration file, usually "Lang.ini", lies beside the module that asks. It names a language by its
// key:
//
//     [Language]
//     Key=CAT
//
// The resources of "mvlib62" in that language are in the module "mvlib62_cat" beside it. docs/languages.md
// has the details.
#pragma once

#include "qzmultilang_export.h"

#include "win32.h"

// Loads the resource module that belongs to `instance` (null: the program) in the language that the file
// `iniName` names. The file is looked for in the folder of `instance` unless the name is a full path. When
// the file, its entry or the module of that language is missing or broken, the English one is loaded; null
// when there is none either, or when memory is short. Every call counts as one load of the module;
// FreeLibrary undoes it. Any thread.
extern "C" QZMULTILANG_API HINSTANCE qzmultilangLoadLibrary(HINSTANCE instance, const wchar_t* iniName);
