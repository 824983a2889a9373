// The system's interface, under its Win32 names, on every target.
//
// On Windows this is <windows.h> with the settings that the project relies on, and the functions are the
// system's. Elsewhere the headers below posix/api/ declare the part of that interface which the framework and
// the library call; the sources in posix/ implement it inside mvafx62. A function keeps its Win32 contract:
// argument rules, sizes in and out, result and last error. What is not supported is not declared, so that a
// call either works as on Windows or does not compile.
//
// Differences that a caller on POSIX meets:
// - wchar_t is 32 bits wide and holds a code point. Sizes "in characters" count wchar_t, as on Windows.
// - DWORD, UINT, ULONG and LONG are 32 bits wide although `long` is 64.
// - Paths are written as on Windows. A backslash becomes a slash at the system call and nowhere else; names
// come
//   back with backslashes. posix/api/files.h says how names that are no valid UTF-8 travel.
// - Only the W forms exist, and TCHAR is wchar_t.
#pragma once

#if defined(_WIN32)

#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef STRICT
#define STRICT 1
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef WINVER
#define WINVER 0x0601
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#endif

#include <windows.h>

#include <tchar.h>

#include <malloc.h>
#include <stdlib.h>
#include <wchar.h>

#else

#include "posix/api/types.h"

#include "posix/api/error_codes.h"

#include "posix/api/console.h"
#include "posix/api/crt.h"
#include "posix/api/debug.h"
#include "posix/api/errors.h"
#include "posix/api/files.h"
#include "posix/api/locale.h"
#include "posix/api/mapping.h"
#include "posix/api/memory.h"
#include "posix/api/modules.h"
#include "posix/api/profile.h"
#include "posix/api/registry.h"
#include "posix/api/resources.h"
#include "posix/api/sync.h"
#include "posix/api/time.h"
#include "posix/api/user.h"
#include "posix/api/versions.h"
#include "posix/api/window_messages.h"

#endif
