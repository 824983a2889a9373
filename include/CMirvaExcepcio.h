// The library's own exception, and the functions that throw it.
//
// It is thrown by pointer, as the framework's exceptions are, and belongs to whoever catches it: end it with
// Delete(). It carries a number, a message and the name of the module or place that raised it.
//
//     try {
//         LoadEverything();
//     } catch (CMirvaExcepcio* e) {
//         if (!e->EsCancel())          // the user knows of a cancel already
//             e->ReportError(MB_OK | MB_ICONHAND, 0);
//         e->Delete();
//     }
//
// Codes: -1 out of memory, -2 operation not supported, -5 cancelled by the user; every other value belongs to
// the application. An exception object may be used by one thread at a time.
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class MVLIB_API CMirvaExcepcio : public CException {
    DECLARE_DYNAMIC(CMirvaExcepcio)

public:
    int m_nCodi;
    CString m_strMissatge; // may be empty
    CString m_strModul;    // "?" when none was given

    // Null `pszMissatge` is the empty text; null or empty `pszModul` becomes "?". Create it with new:
    // Delete() frees it.
    CMirvaExcepcio(int nCodi, const wchar_t* pszMissatge, const wchar_t* pszModul);
    ~CMirvaExcepcio() override;

    // 1 when the code is -5, else 0.
    int EsCancel() const;

    // Writes "Exception <code> (<kind>) in module [<module>]: <message>." in the library's current language;
    // without a message the part from the colon on is left out. The kind is a text for codes -1 and -2 and
    // "?" for all others. In a language whose texts are not loaded the text is empty. Always answers 1 (with
    // a null buffer nothing is written). `nMaxError` and `pnHelpContext` are not looked at: the buffer must
    // hold 1,024 characters, and a longer text is cut to 1,023. Without memory to put the text together it is
    // "Exception <code>", in no language.
    BOOL GetErrorMessage(wchar_t* pszError, unsigned int nMaxError,
                         unsigned int* pnHelpContext = nullptr) const override;
    BOOL GetErrorMessage(wchar_t* pszError, unsigned int nMaxError,
                         unsigned int* pnHelpContext = nullptr) override;
    // Shows that text in a message box (AfxMessageBox) of style `nType` and returns the box's result.
    // `nMessageID` is not used.
    int ReportError(unsigned int nType = MB_OK, unsigned int nMessageID = 0) override;
};

// Throw a new CMirvaExcepcio with these values; none of the three returns. When there is no memory for the
// object or its texts, a CMemoryException* travels instead.
[[noreturn]] MVLIB_API void AfxThrowMirvaExcepcio(int nCodi, const wchar_t* pszMissatge,
                                                  const wchar_t* pszModul);
[[noreturn]] MVLIB_API void AfxThrowMirvaExcepcio(const wchar_t* pszMissatge, const wchar_t* pszModul,
                                                  int nCodi);
// With code -5.
[[noreturn]] MVLIB_API void AfxThrowCancel(const wchar_t* pszMissatge, const wchar_t* pszModul);

// Writes one line to a dump context: "Excepció a [" (in Windows-1252), `pszModul` or "(desconegut)", "]",
// `pszMissatge` or "(msg desconegut)", and a line feed, with no blank between. The exception is asked for its
// text, which is not written; it stays the caller's. Null `pException` is allowed.
MVLIB_API void AfxDumpExcepcio(CDumpContext& dc, CException* pException, const wchar_t* pszMissatge,
                               const wchar_t* pszModul);
