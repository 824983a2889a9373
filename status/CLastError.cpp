#include "CLastError.h"

#include "SystemText.h"

#include "afxwin.h"

#include <cstdarg>

namespace {

bool IsAllOnes(unsigned long dwError) {
    return dwError == static_cast<unsigned long>(-1) || dwError == 0xFFFFFFFFul;
}

DWORD ErrorOrLast(unsigned long dwError) {
    return IsAllOnes(dwError) ? ::GetLastError() : static_cast<DWORD>(dwError);
}

// A text that the system allocated; freed when the scope ends.
struct SystemBuffer {
    SystemBuffer() = default;
    ~SystemBuffer() { ::LocalFree(text); }
    SystemBuffer(const SystemBuffer&) = delete;
    SystemBuffer& operator=(const SystemBuffer&) = delete;

    wchar_t* text = nullptr;
};

} // namespace

CString SystemErrorText(DWORD error, int maximum) {
    CString text;
    wchar_t* buffer = text.GetBuffer(maximum);
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error, UserDefaultLanguage,
                                          buffer, static_cast<DWORD>(maximum) + 1, nullptr);
    text.ReleaseBuffer(static_cast<int>(length));
    return text;
}

CStringLastError::CStringLastError(unsigned long dwError)
    : m_dwError(ErrorOrLast(dwError)) {
    // Kept: the argument is looked up, not the stored number.
    SetString(SystemErrorText(static_cast<DWORD>(dwError), 512));
}

CLastError::CLastError(unsigned long dwError)
    : m_dwError(ErrorOrLast(dwError)) {}

void CLastError::Update() {
    m_dwError = ::GetLastError();
}

CString CLastError::GetText() const {
    return CStringLastError(m_dwError);
}

CString AfxGetMsgErrorSistema(unsigned long dwError) {
    return CStringLastError(dwError);
}

int REPORT_SYSTEM_ERROR(const wchar_t* pszText, const wchar_t*, unsigned int nStyle) {
    const unsigned long error = ::GetLastError();
    if (error == 0)
        return 1;
    SystemBuffer system;
    ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                     static_cast<DWORD>(error), UserDefaultLanguage, reinterpret_cast<wchar_t*>(&system.text),
                     0, nullptr);
    const wchar_t* systemText = system.text ? system.text : L"";
    CString text;
    if (pszText)
        text.Format(L"%s (Error n\u00BA%lu: %s)", pszText, error, systemText);
    else
        text.Format(L"Error n\u00BA%lu: %s.", error, systemText);
    return AfxMessageBox(text, nStyle, 0);
}

void AfxFormatDebugString(const wchar_t* pszFormat, ...) {
    CString text;
    va_list arguments;
    va_start(arguments, pszFormat);
    text.FormatV(pszFormat, arguments);
    va_end(arguments);
    ::OutputDebugStringW(text);
}
