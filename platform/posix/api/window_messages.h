// Messages of a thread: the queue, waiting and dispatching. There are no windows here; a thread's messages
// are those posted to it, and what the layer's own services (posix/api/dde.h) have for it. Include win32.h,
// not this file.
#pragma once

#define WM_NULL 0x0000
#define WM_QUIT 0x0012
#define WM_TIMER 0x0113
#define WM_DDE_FIRST 0x03E0
#define WM_DDE_LAST 0x03E8
#define WM_USER 0x0400
#define WM_APP 0x8000

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define PM_NOYIELD 0x0002

typedef struct tagMSG {
    HWND hwnd; // null for a message posted to the thread
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; // GetTickCount64's low half when it was posted
    POINT pt;   // always 0, 0
} MSG, *PMSG, *LPMSG;

// Copies the first message of the calling thread whose number lies from `minimum` to `maximum` (both 0: any),
// and takes it out with PM_REMOVE. What other processes want of the thread's services is dealt with here. The
// quit message comes when no other waits, whatever the range. A null window means any, (HWND)-1 posted ones;
// other windows have no messages. FALSE when there is none.
MVPLAT_API BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT minimum, UINT maximum, UINT remove);
// Waits for such a message and takes it out. 0 for the quit message, else 1; -1 when waiting failed.
MVPLAT_API BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT minimum, UINT maximum);
// There is no keyboard: FALSE.
MVPLAT_API BOOL WINAPI TranslateMessage(const MSG* message);
// Runs what a message is for. A message posted by the program is for nobody, unless it is WM_TIMER with a
// function in lParam. The result of the function, else 0.
MVPLAT_API LRESULT WINAPI DispatchMessageW(const MSG* message);
// Puts a message into a thread's queue, which a thread of this process has once it looked for a message.
// FALSE with last error 1444 for any other thread, with 1816 when 10,000 messages wait.
MVPLAT_API BOOL WINAPI PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam);
// The calling thread gets the quit message with `code` as wParam.
MVPLAT_API void WINAPI PostQuitMessage(int code);
