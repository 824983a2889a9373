#include "CMirvaExcepcio.h"

#include "Idioma.h"
#include "lang/StringIds.h"

#include "afxwin.h"

#include <cwchar>
#include <iterator>

namespace {

constexpr UINT MessageCapacity = 1024;
constexpr wchar_t WithoutMemory[] = L"Exception "; // the code follows

} // namespace

IMPLEMENT_DYNAMIC(CMirvaExcepcio, CException)

CMirvaExcepcio::CMirvaExcepcio(int nCodi, const wchar_t* pszMissatge, const wchar_t* pszModul)
    : CException(TRUE)
    , m_nCodi(nCodi)
    , m_strMissatge(pszMissatge)
    , m_strModul(pszModul && *pszModul ? pszModul : L"?") {}

CMirvaExcepcio::~CMirvaExcepcio() = default;

int CMirvaExcepcio::EsCancel() const {
    return m_nCodi == -5 ? 1 : 0;
}

BOOL CMirvaExcepcio::GetErrorMessage(wchar_t* pszError, unsigned int, unsigned int*) const {
    if (!pszError)
        return TRUE;
    try {
        CString kind(L"?");
        if (m_nCodi == -1)
            kind = AfxLoadString(IDS_EXCEPCIO_MEMORIA);
        else if (m_nCodi == -2)
            kind = AfxLoadString(IDS_EXCEPCIO_NO_SUPORTAT);

        CString text;
        if (m_strMissatge.IsEmpty())
            text.Format(AfxLoadString(IDS_EXCEPCIO), m_nCodi, kind.GetString(), m_strModul.GetString());
        else
            text.Format(AfxLoadString(IDS_EXCEPCIO_MISSATGE), m_nCodi, kind.GetString(),
                        m_strModul.GetString(), m_strMissatge.GetString());
        // Kept: the caller's capacity does not count, every caller brings 1,024 characters.
        wcsncpy_s(pszError, MessageCapacity, text, _TRUNCATE);
    } catch (CMemoryException* noMemory) {
        // Whoever asks is dealing with an exception already, perhaps because memory ran out.
        noMemory->Delete();
        std::wcscpy(pszError, WithoutMemory);
        _itow(m_nCodi, pszError + std::size(WithoutMemory) - 1, 10);
    }
    return TRUE;
}

BOOL CMirvaExcepcio::GetErrorMessage(wchar_t* pszError, unsigned int nMaxError, unsigned int* pnHelpContext) {
    return static_cast<const CMirvaExcepcio*>(this)->GetErrorMessage(pszError, nMaxError, pnHelpContext);
}

int CMirvaExcepcio::ReportError(unsigned int nType, unsigned int) {
    wchar_t text[MessageCapacity];
    if (!GetErrorMessage(text, MessageCapacity, nullptr))
        return 0;
    return AfxMessageBox(text, nType, 0);
}

void AfxThrowMirvaExcepcio(int nCodi, const wchar_t* pszMissatge, const wchar_t* pszModul) {
    throw new CMirvaExcepcio(nCodi, pszMissatge, pszModul);
}

void AfxThrowMirvaExcepcio(const wchar_t* pszMissatge, const wchar_t* pszModul, int nCodi) {
    AfxThrowMirvaExcepcio(nCodi, pszMissatge, pszModul);
}

void AfxThrowCancel(const wchar_t* pszMissatge, const wchar_t* pszModul) {
    AfxThrowMirvaExcepcio(-5, pszMissatge, pszModul);
}

void AfxDumpExcepcio(CDumpContext& dc, CException* pException, const wchar_t* pszMissatge,
                     const wchar_t* pszModul) {
    // Kept: asked for the sake of what the exception does when it is asked; the text is not written.
    wchar_t unused[MessageCapacity];
    if (pException)
        pException->GetErrorMessage(unused, MessageCapacity - 1);
    dc << "Excepci\xF3 a [";
    dc << (pszModul ? pszModul : L"(desconegut)");
    dc << L"]";
    dc << (pszMissatge ? pszMissatge : L"(msg desconegut)");
    dc << L"\n";
}
