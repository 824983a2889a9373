// The debugger's output. Include win32.h, not this file.
#pragma once

// Writes the text to standard error when the environment variable MVLIB_DEBUG is set and not empty, else
// nowhere; a sink of posix/hooks.h replaces both. Null is the empty text. Last error is kept.
MVPLAT_API void WINAPI OutputDebugStringW(LPCWSTR text);
// The same for a text in the ANSI code page.
MVPLAT_API void WINAPI OutputDebugStringA(LPCSTR text);
// There is never a debugger of this kind: FALSE.
MVPLAT_API BOOL WINAPI IsDebuggerPresent(void);
