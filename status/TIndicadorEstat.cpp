#include "TIndicadorEstat.h"

#include "Idioma.h"
#include "ui/DoEvents.h"

#include "afxwin.h"

#include <cstdarg>
#include <new>

namespace {

// The wake mask of a paused wait: every kind of input (QS_ALLINPUT of the newest systems).
constexpr DWORD AllInput = 0x1CFF;

} // namespace

TIndicadorEstat::TIndicadorEstat(PFNCALLBACK pfnCallback, unsigned long dwUserData)
    : m_dEstat(0.0)
    , m_evContinuar(TRUE, TRUE)
    , m_bCancelat(FALSE)
    , m_bTimerActiu(FALSE)
    , m_pdwIniciTimer(nullptr)
    , m_llistaRangs(10)
    , m_pfnCallback(pfnCallback)
    , m_dwUserData(dwUserData)
    , m_vistaContinuar(m_evContinuar.m_hObject) {
    pushRang(0.0, 1.0);
}

TIndicadorEstat::~TIndicadorEstat() {
    delete m_pdwIniciTimer;
}

// ---- Message

void TIndicadorEstat::SetMissatge(const wchar_t* pszMissatge) {
    CSingleLock lock(&m_cs, TRUE);
    m_strMissatge = pszMissatge;
}

void TIndicadorEstat::SetMissatge(unsigned int nID) {
    SetMissatge(AfxLoadString(nID).GetString());
}

void TIndicadorEstat::FormatMissatge(const wchar_t* pszFormat, ...) {
    CString text;
    va_list arguments;
    va_start(arguments, pszFormat);
    text.FormatV(pszFormat, arguments);
    va_end(arguments);
    SetMissatge(text.GetString());
}

void TIndicadorEstat::FormatMissatge(unsigned int nID, ...) {
    CString format;
    CString text;
    // Kept: the framework's loader, not AfxLoadString. A missing resource gives an empty message.
    if (format.LoadString(nID)) {
        va_list arguments;
        va_start(arguments, nID);
        text.FormatV(format, arguments);
        va_end(arguments);
    }
    SetMissatge(text.GetString());
}

CString TIndicadorEstat::GetMissatge() {
    CSingleLock lock(&m_cs, TRUE);
    return m_strMissatge;
}

// ---- Position

int TIndicadorEstat::MostrarEstat(double dPos) {
    m_dEstat.store(dPos, std::memory_order_release);
    if (m_pfnCallback)
        m_pfnCallback(this, m_dwUserData);
    if (!running())
        EsperarPausa();
    return m_bCancelat.load(std::memory_order_acquire) ? 0 : 1;
}

int TIndicadorEstat::MostrarEstatRel(double dFrac) {
    RANGIE top;
    if (!getTopRang(top))
        return 1;
    return MostrarEstat(top.convRang(dFrac));
}

double TIndicadorEstat::GetEstat() {
    return m_dEstat.load(std::memory_order_acquire);
}

// ---- Ranges

void TIndicadorEstat::SetRang(double dInici, double dFi) {
    if (m_llistaRangs.IsEmpty())
        pushRang(dInici, dFi);
    else
        m_llistaRangs.GetTail().Set(dInici, dFi);
}

void TIndicadorEstat::GetRang(double& dInici, double& dFi) {
    dInici = getMin();
    dFi = getMax();
}

int TIndicadorEstat::SetSubRangRel(double dInici, double dFi) {
    RANGIE top;
    if (!getTopRang(top))
        return 1;
    const double first = top.convRang(dInici);
    pushRang(first, top.convRang(dFi));
    return MostrarEstat(first);
}

int TIndicadorEstat::SetRangPosicioRel(unsigned int nPos, unsigned int nTotal) {
    RANGIE top;
    if (!getTopRang(top))
        return 1;
    const double step = top.rang() / static_cast<double>(nTotal);
    const double first = static_cast<double>(nPos) * step + top.m_dInici;
    pushRang(first, first + step);
    return MostrarEstat(first);
}

int TIndicadorEstat::PopRangRel() {
    RANGIE finished;
    if (!popRang(finished))
        return 1;
    return MostrarEstat(finished.m_dFi);
}

void TIndicadorEstat::pushRang(double dInici, double dFi) {
    m_llistaRangs.AddTail(RANGIE(dInici, dFi));
}

int TIndicadorEstat::popRang(RANGIE& rang) {
    if (!getTopRang(rang))
        return 0;
    m_llistaRangs.RemoveTail();
    return 1;
}

int TIndicadorEstat::getTopRang(RANGIE& rang) {
    if (m_llistaRangs.IsEmpty())
        return 0;
    POSITION tail = m_llistaRangs.GetTailPosition();
    if (!tail)
        AfxThrowInvalidArgException();
    rang = m_llistaRangs.GetAt(tail);
    return 1;
}

double TIndicadorEstat::getMin() {
    RANGIE top;
    return getTopRang(top) ? top.m_dInici : 0.0;
}

double TIndicadorEstat::getMax() {
    RANGIE top;
    return getTopRang(top) ? top.m_dFi : 0.0;
}

// ---- Cancel and pause

int TIndicadorEstat::TestCancel() {
    return m_bCancelat.load(std::memory_order_acquire);
}

void TIndicadorEstat::Init() {
    CSingleLock lock(&m_cs, TRUE);
    m_strMissatge.Empty();
    m_evContinuar.SetEvent();
    // Kept: shown while an old cancel still stands; the result means nothing.
    MostrarEstat(0.0);
    m_bCancelat.store(FALSE, std::memory_order_release);
    m_dEstat.store(0.0, std::memory_order_release);
    // The first range is kept and overwritten, which needs no memory: Init does not fail halfway.
    while (m_llistaRangs.GetCount() > 1)
        m_llistaRangs.RemoveTail();
    SetRang(0.0, 1.0);
    delete m_pdwIniciTimer;
    m_pdwIniciTimer = nullptr;
    if (m_bTimerActiu)
        startTimerCell();
}

void TIndicadorEstat::Cancelar() {
    // The flag first: a worker that the event wakes must see it.
    m_bCancelat.store(TRUE, std::memory_order_release);
    m_evContinuar.SetEvent();
}

void TIndicadorEstat::Pausa() {
    m_evContinuar.ResetEvent();
}

void TIndicadorEstat::Reanudar() {
    m_evContinuar.SetEvent();
}

int TIndicadorEstat::GetPausa() {
    return m_evContinuar.Lock(0) ? 0 : 1;
}

int TIndicadorEstat::EsperarPausa() {
    if (running() || m_evContinuar.Lock(0))
        return 0;
    CSyncObject* objects[] = {&m_evContinuar};
    CMultiLock wait(objects, 1);
    for (;;) {
        switch (wait.Lock(INFINITE, FALSE, AllInput)) {
        case WAIT_OBJECT_0:
            return 0;
        case WAIT_OBJECT_0 + 1:
            AfxDoEvents(nullptr, TRUE);
            if (m_bCancelat.load(std::memory_order_acquire))
                return -5;
            if (m_evContinuar.Lock(0))
                return 0;
            break;
        default:
            return 1;
        }
    }
}

// ---- Timer

void TIndicadorEstat::ActivarTimer() {
    delete m_pdwIniciTimer;
    m_bTimerActiu = TRUE;
    startTimerCell();
}

void TIndicadorEstat::DesactivarTimer() {
    delete m_pdwIniciTimer;
    m_bTimerActiu = FALSE;
    m_pdwIniciTimer = nullptr;
}

unsigned long TIndicadorEstat::GetTempsTimer() {
    if (!m_pdwIniciTimer)
        return 0;
    return static_cast<DWORD>(::GetTickCount() - *m_pdwIniciTimer);
}

void TIndicadorEstat::startTimerCell() {
    m_pdwIniciTimer = new (std::nothrow) DWORD(::GetTickCount());
}

// ---- Message boxes

int TIndicadorEstat::Report(const wchar_t* pszText, int nTipus, unsigned int nIDAjuda) {
    static constexpr UINT icons[] = {MB_ICONINFORMATION, MB_ICONEXCLAMATION, MB_ICONHAND};
    UINT style = MB_OK;
    if (nTipus >= 0 && nTipus < 3)
        style |= icons[nTipus];
    return AfxMessageBox(pszText, style, nIDAjuda);
}

int TIndicadorEstat::Report(unsigned int nID, int nTipus, unsigned int nIDAjuda) {
    return Report(AfxLoadString(nID).GetString(), nTipus, nIDAjuda);
}

int TIndicadorEstat::ReportInfo(const wchar_t* pszText, unsigned int nIDAjuda) {
    return Report(pszText, 0, nIDAjuda);
}

int TIndicadorEstat::ReportInfo(unsigned int nID, unsigned int nIDAjuda) {
    return Report(AfxLoadString(nID).GetString(), 0, nIDAjuda);
}

int TIndicadorEstat::ReportAvis(const wchar_t* pszText, unsigned int nIDAjuda) {
    return Report(pszText, 1, nIDAjuda);
}

int TIndicadorEstat::ReportAvis(unsigned int nID, unsigned int nIDAjuda) {
    return Report(AfxLoadString(nID).GetString(), 1, nIDAjuda);
}

int TIndicadorEstat::ReportError(const wchar_t* pszText, unsigned int nIDAjuda) {
    return Report(pszText, 2, nIDAjuda);
}

int TIndicadorEstat::ReportError(unsigned int nID, unsigned int nIDAjuda) {
    return Report(AfxLoadString(nID).GetString(), 2, nIDAjuda);
}

// ---- CSetSubRangIE

CSetSubRangIE::CSetSubRangIE(TIndicadorEstat* pIE, int nPos, int nTotal)
    : m_pIE(pIE)
    , m_bActiu(FALSE) {
    SetSubRangPosicio(nPos, nTotal);
}

CSetSubRangIE::CSetSubRangIE(TIndicadorEstat* pIE, double dInici, double dFi)
    : m_pIE(pIE)
    , m_bActiu(FALSE) {
    SetSubRang(dInici, dFi);
}

CSetSubRangIE::~CSetSubRangIE() {
    Restore();
}

void CSetSubRangIE::Restore() {
    if (m_bActiu && m_pIE) {
        m_pIE->PopRangRel();
        m_bActiu = FALSE;
    }
}

void CSetSubRangIE::SetSubRang(double dInici, double dFi) {
    Restore();
    TIndicadorEstat::SetSubRangRel(m_pIE, dInici, dFi);
    m_bActiu = TRUE;
}

void CSetSubRangIE::SetSubRangPosicio(int nPos, int nTotal) {
    Restore();
    TIndicadorEstat::SetRangPosicioRel(m_pIE, static_cast<unsigned int>(nPos),
                                       static_cast<unsigned int>(nTotal));
    m_bActiu = TRUE;
}

int CSetSubRangIE::TestCancel() const {
    return m_pIE ? m_pIE->TestCancel() : 0;
}
