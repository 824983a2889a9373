// Seams of the POSIX layer that Windows has in another form: where message boxes and debugger texts go. A
// program that shows them in its own way, a service or a test installs its sink; only sources built for POSIX
// include this header. Sinks are process-wide, may be called on any thread, and must not throw.
#pragma once

#include "../win32.h"

// Shows a box and answers its button (IDOK ...). Never called with null texts.
typedef int (*MvMessageBoxSink)(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
// Receives a debugger text as it was given.
typedef void (*MvDebugSink)(LPCWSTR text);

// Install a sink and answer the one before; null stands for the default.
MVPLAT_API MvMessageBoxSink MvSetMessageBoxSink(MvMessageBoxSink sink);
MVPLAT_API MvDebugSink MvSetDebugSink(MvDebugSink sink);
