// Standard streams and interruption from the keyboard. Include win32.h, not this file.
#pragma once

#define STD_INPUT_HANDLE ((DWORD)-10)
#define STD_OUTPUT_HANDLE ((DWORD)-11)
#define STD_ERROR_HANDLE ((DWORD)-12)

// A handle of standard input, output or error; INVALID_HANDLE_VALUE with 6 for another number, null when the
// stream is closed. ReadFile, WriteFile and GetFileType take it. It need not be closed.
MVPLAT_API HANDLE WINAPI GetStdHandle(DWORD stream);
// TRUE when the handle is a terminal (the mode is 3), else FALSE with 6.
MVPLAT_API BOOL WINAPI GetConsoleMode(HANDLE console, LPDWORD mode);

#define CTRL_C_EVENT 0
#define CTRL_BREAK_EVENT 1
#define CTRL_CLOSE_EVENT 2

typedef BOOL(WINAPI* PHANDLER_ROUTINE)(DWORD event);

// Adds or removes a handler for interruption: SIGINT is CTRL_C_EVENT, SIGTERM and SIGHUP are
// CTRL_CLOSE_EVENT. The handlers run on a thread of their own, the last one added first, until one answers
// TRUE; when none does the process ends as the signal ends it. A null handler with `add` TRUE ignores Ctrl-C,
// with FALSE undoes that. Removing what was not added: FALSE with 87.
MVPLAT_API BOOL WINAPI SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);
