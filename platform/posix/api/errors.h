// Last error and system texts. Include win32.h, not this file.
#pragma once

// The calling thread's last error. A function of the layer sets it when it fails; one that succeeds leaves it
// alone unless Windows says otherwise (CreateFileW and CreateFileMappingW report "already exists", event
// creation too).
MVPLAT_API DWORD WINAPI GetLastError(void);
MVPLAT_API void WINAPI SetLastError(DWORD error);

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_STRING 0x00000400
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FF

// Text of a system error (FROM_SYSTEM) or of a pattern with inserts (FROM_STRING). System texts are English,
// end in a full stop and CR LF, and exist for the errors of error_codes.h. Any language argument is accepted.
// Answers the number of characters without the NUL. 0 on failure, with last error 87 (bad arguments), 122
// (buffer too small: nothing is delivered) or 317 (no text for the number). With ALLOCATE_BUFFER `buffer`
// points to a pointer that receives a block of at least `size` characters; free it with LocalFree. Inserts
// "%1" to "%99" take wide strings ("%1!s!") or 32-bit numbers ("%1!d!", "%1!u!", "%1!x!").
MVPLAT_API DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId,
                                       LPWSTR buffer, DWORD size, va_list* arguments);
