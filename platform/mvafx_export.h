// The export macros of the framework's headers. Includers need not care about them.
#pragma once

#if defined(_WIN32)
#if defined(MVAFX_BUILD)
#define MVAFX_API __declspec(dllexport)
#else
#define MVAFX_API __declspec(dllimport)
#endif
// A function or object of which every module has its own.
#define MVAFX_MODULE_LOCAL
#else
#define MVAFX_API __attribute__((visibility("default")))
#define MVAFX_MODULE_LOCAL __attribute__((visibility("hidden")))
#endif

// Says that the library has the members of a class template for one argument. The Windows library exports no
// inline members of templates, so there a client compiles those that it cannot inline; the others come from
// the library.
#if defined(_WIN32) && !defined(MVAFX_BUILD)
#define MVAFX_INSTANTIATED(...)
#else
#define MVAFX_INSTANTIATED(...) extern template class MVAFX_API __VA_ARGS__;
#endif
