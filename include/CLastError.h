// The system's last error as a value and as a text, and reporters for it.
//
// The system keeps one last error for each thread (GetLastError). Capture it at once after the call that
// failed:
//
//     if (!::DeleteFileW(name)) {
//         CLastError error;
//         Log(error.GetText());
//     }
//
// Texts are the system's, in the user's language, with the line break at their end. A number without a text
// gives the empty string; nothing here throws for that reason, only CMemoryException* without memory for one.
// Objects are plain values, to be used by one thread at a time; copies copy every field.
#pragma once

#include "mvlib_export.h"

#include "afx.h"

// A system error with its text: the string itself is the text.
class MVLIB_API CStringLastError : public CString {
public:
    // The error `dwError`; all ones (-1, also as 0xFFFFFFFF) stands for the calling thread's last error.
    // Kept: the text is looked up for the argument, so that without an argument the number is stored and the
    // text is empty. CLastError::GetText looks up the stored number. A text of more than 512 characters
    // counts as none.
    CStringLastError(unsigned long dwError = static_cast<unsigned long>(-1));

    DWORD m_dwError;
};

// A system error.
class MVLIB_API CLastError {
public:
    // The error `dwError`; all ones (-1, also as 0xFFFFFFFF) stands for the calling thread's last error.
    CLastError(unsigned long dwError = static_cast<unsigned long>(-1));

    // Takes the calling thread's last error again.
    void Update();
    unsigned long GetError() const { return m_dwError; }
    operator unsigned long() const { return m_dwError; }
    // The system's text for it; empty when there is none.
    CString GetText() const;

    DWORD m_dwError;
};

// The system's text for `dwError` (all ones: the empty text); empty when there is none.
MVLIB_API CString AfxGetMsgErrorSistema(unsigned long dwError);

// Shows the calling thread's last error in a message box (AfxMessageBox) of style `nStyle` and returns the
// box's result: "<text> (Error nº<number>: <system's text>)", or "Error nº<number>: <system's text>." for a
// null `pszText`. Without an error (0) nothing is shown and the answer is 1. `pszText2` is accepted and not
// used.
MVLIB_API int REPORT_SYSTEM_ERROR(const wchar_t* pszText, const wchar_t* pszText2, unsigned int nStyle);

// Formats with printf rules (`%s` is a wide string) and sends the result to the debugger's output. A null
// format counts as an empty one.
MVLIB_API void AfxFormatDebugString(const wchar_t* pszFormat, ...);
