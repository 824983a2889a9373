// The export macro of mvlib62's headers. Includers need not care about it.
#pragma once

#if defined(_WIN32)
#if defined(MVLIB_BUILD)
#define MVLIB_API __declspec(dllexport)
#else
#define MVLIB_API __declspec(dllimport)
#endif
#else
#define MVLIB_API __attribute__((visibility("default")))
// The calling convention of the library's callbacks exists on 32-bit Windows only.
#if !defined(__stdcall)
#define __stdcall
#endif
#endif
