#include "afxwin.h"

#include <cwchar>
#include <new>

namespace {

// Copies as much of a text as fits. FALSE without a buffer.
BOOL deliver(LPCWSTR pszText, LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) {
    if (pnHelpContext != nullptr)
        *pnHelpContext = 0;
    if (lpszError == nullptr || nMaxError == 0)
        return FALSE;
    std::size_t nLength = std::wcslen(pszText);
    if (nLength > nMaxError - 1)
        nLength = nMaxError - 1;
    std::wmemcpy(lpszError, pszText, nLength);
    lpszError[nLength] = 0;
    return TRUE;
}

// An object that is made once, without the heap, and lives as long as the process.
template <class TYPE>
union Immortal {
    Immortal() { ::new (static_cast<void*>(&object)) TYPE(FALSE, 0u); }
    ~Immortal() {}
    TYPE object;
};

template <class TYPE>
[[noreturn]] void throwShared() {
    static Immortal<TYPE> shared;
    throw &shared.object;
}

} // namespace

// ---- CException

IMPLEMENT_DYNAMIC(CException, CObject)

CException::CException()
    : m_bAutoDelete(TRUE) {}
CException::CException(BOOL bAutoDelete)
    : m_bAutoDelete(bAutoDelete) {}
CException::~CException() = default;

void CException::Delete() {
    if (m_bAutoDelete)
        delete this;
}

BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
    deliver(L"", lpszError, nMaxError, pnHelpContext);
    return FALSE;
}
BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) {
    return static_cast<const CException*>(this)->GetErrorMessage(lpszError, nMaxError, pnHelpContext);
}

int CException::ReportError(UINT nType, UINT nMessageID) {
    WCHAR text[1024];
    UINT nHelpContext = 0;
    if (GetErrorMessage(text, _countof(text), &nHelpContext))
        return AfxMessageBox(text, nType, nHelpContext);
    if (nMessageID != 0)
        return AfxMessageBox(nMessageID, nType, nHelpContext);
    return AfxMessageBox(L"Nothing more is known about the error.", nType, nHelpContext);
}

// ---- Exceptions with a fixed text

IMPLEMENT_DYNAMIC(CSimpleException, CException)

CSimpleException::CSimpleException()
    : m_nResourceID(0) {}
CSimpleException::CSimpleException(BOOL bAutoDelete)
    : CException(bAutoDelete)
    , m_nResourceID(0) {}
CSimpleException::CSimpleException(BOOL bAutoDelete, UINT nResourceID)
    : CException(bAutoDelete)
    , m_nResourceID(nResourceID) {}
CSimpleException::~CSimpleException() = default;

BOOL CSimpleException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
    WCHAR text[256];
    if (m_nResourceID != 0 && AfxLoadString(m_nResourceID, text, _countof(text)) > 0)
        return deliver(text, lpszError, nMaxError, pnHelpContext);
    return deliver(defaultText(), lpszError, nMaxError, pnHelpContext);
}

#define MVAFX_IMPLEMENT_SIMPLE_EXCEPTION(class_name, text)                                                   \
    IMPLEMENT_DYNAMIC(class_name, CSimpleException)                                                          \
    class_name::class_name() = default;                                                                      \
    class_name::class_name(BOOL bAutoDelete, UINT nResourceID)                                               \
        : CSimpleException(bAutoDelete, nResourceID) {}                                                      \
    class_name::~class_name() = default;                                                                     \
    LPCWSTR class_name::defaultText() const {                                                                \
        return text;                                                                                         \
    }

MVAFX_IMPLEMENT_SIMPLE_EXCEPTION(CMemoryException, L"There is not enough memory.")
MVAFX_IMPLEMENT_SIMPLE_EXCEPTION(CNotSupportedException, L"This operation is not supported.")
MVAFX_IMPLEMENT_SIMPLE_EXCEPTION(CInvalidArgException, L"The program passed an invalid argument.")
MVAFX_IMPLEMENT_SIMPLE_EXCEPTION(CUserException, L"The operation was ended by the user.")
MVAFX_IMPLEMENT_SIMPLE_EXCEPTION(CResourceException, L"A system resource could not be loaded or created.")

void AfxThrowMemoryException() {
    throwShared<CMemoryException>();
}
void AfxThrowNotSupportedException() {
    throwShared<CNotSupportedException>();
}
void AfxThrowInvalidArgException() {
    throwShared<CInvalidArgException>();
}
void AfxThrowUserException() {
    throwShared<CUserException>();
}
void AfxThrowResourceException() {
    throwShared<CResourceException>();
}

// ---- COleException

IMPLEMENT_DYNAMIC(COleException, CException)

COleException::COleException()
    : m_sc(S_OK) {}
COleException::~COleException() = default;

BOOL COleException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const {
    WCHAR text[512];
    // A code that wraps a system error has that error's text where it has none of its own.
    DWORD codes[] = {static_cast<DWORD>(m_sc),
                     (m_sc & 0xFFFF0000u) == 0x80070000u ? m_sc & 0xFFFFu : static_cast<DWORD>(m_sc)};
    for (DWORD dwCode : codes) {
        DWORD nLength = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                       dwCode, LANG_USER_DEFAULT, text, _countof(text), nullptr);
        while (nLength > 0 && (text[nLength - 1] == L'\n' || text[nLength - 1] == L'\r'))
            text[--nLength] = 0;
        if (nLength > 0)
            return deliver(text, lpszError, nMaxError, pnHelpContext);
    }
    deliver(L"", lpszError, nMaxError, pnHelpContext);
    return FALSE;
}

SCODE COleException::Process(const CException* pAnyException) {
    if (pAnyException == nullptr)
        return E_UNEXPECTED;
    if (pAnyException->IsKindOf(RUNTIME_CLASS(COleException)))
        return static_cast<const COleException*>(pAnyException)->m_sc;
    if (pAnyException->IsKindOf(RUNTIME_CLASS(CMemoryException)))
        return E_OUTOFMEMORY;
    if (pAnyException->IsKindOf(RUNTIME_CLASS(CNotSupportedException)))
        return E_NOTIMPL;
    if (pAnyException->IsKindOf(RUNTIME_CLASS(CInvalidArgException)))
        return E_INVALIDARG;
    return E_UNEXPECTED;
}

void AfxThrowOleException(SCODE sc) {
    auto* pException = new COleException;
    pException->m_sc = sc;
    throw pException;
}

void AtlThrow(HRESULT hr) {
    if (hr == E_OUTOFMEMORY)
        AfxThrowMemoryException();
    AfxThrowOleException(hr);
}
