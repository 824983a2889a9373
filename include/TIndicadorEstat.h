// The progress channel of long operations.
//
// A long operation takes a TIndicadorEstat* as its optional last argument (null: nobody watches) and tells it
// how far it has come. The indicator keeps a message, a position between 0.0 and 1.0, a cancel flag, a pause
// state, an optional timer and a stack of ranges. The stack lets an operation lend a slice of its bar to a
// step inside it, which then reports from 0 to 1 without knowing where its slice lies. The class draws
// nothing: pass a callback, or derive and override the virtual operations.
//
// Threads: one worker drives the indicator (positions, ranges, timer, Init); another thread, usually the one
// of the user interface, may at the same time read the message and the position and call Cancelar, Pausa and
// Reanudar. The range stack and the timer belong to the worker alone. The callback runs on the worker's
// thread, outside the lock, except for the one call inside Init.
//
//     void Show(TIndicadorEstat* ie, unsigned long user);       // draws ie->GetEstat() somewhere
//     TIndicadorEstat ie(Show);
//     for (int i = 0; i < files; ++i) {
//         CSetSubRangIE slice(&ie, i, files);                    // this file's part of the bar
//         if (slice.TestCancel()) return -5;
//         ReadFile(i, &ie);                                      // reports from 0 to 1
//     }
//
// Operations answer 1 to go on and 0 when the user has cancelled. Library operations that stop because of a
// cancel answer -5. What stores a message or pushes a range throws CMemoryException* when there is no memory
// for it; message and ranges are then what they were.
#pragma once

#include "mvlib_export.h"

#include "afx.h"
#include "afxmt.h"
#include "afxtempl.h"
#include "event_view.h"

#include <atomic>

// One range of an indicator's stack, in absolute positions. A plain value.
struct MVLIB_API RANGIE {
    double m_dInici; // start
    double m_dFi;    // end

    // The whole bar, (0.0, 1.0).
    RANGIE()
        : m_dInici(0.0)
        , m_dFi(1.0) {}
    RANGIE(double dInici, double dFi)
        : m_dInici(dInici)
        , m_dFi(dFi) {}

    void Set(double dInici, double dFi) {
        m_dInici = dInici;
        m_dFi = dFi;
    }
    // The width: end minus start.
    double rang() const { return m_dFi - m_dInici; }
    // The absolute position of the fraction `x` of this range.
    double convRang(double x) const { return (m_dFi - m_dInici) * x + m_dInici; }
};

class MVLIB_API TIndicadorEstat {
public:
    // Called by MostrarEstat with the user value given at construction.
    typedef void (*PFNCALLBACK)(TIndicadorEstat* pIE, unsigned long dwUserData);

    // ---- Construction

    // A running, uncancelled indicator at position 0.0 with an empty message, no timer and the one range
    // (0.0, 1.0). `pfnCallback` may be null. If the system refuses the lock it throws: CMemoryException* when
    // memory is short, else COleException* with the system's error (0x80070000 plus its number) as its code.
    // If it refuses the event, CResourceException*.
    explicit TIndicadorEstat(PFNCALLBACK pfnCallback = nullptr, unsigned long dwUserData = 0);
    TIndicadorEstat(const TIndicadorEstat&) = delete;
    TIndicadorEstat& operator=(const TIndicadorEstat&) = delete;
    virtual ~TIndicadorEstat();

    // ---- Message

    // Replaces the message; null empties it. Any thread.
    virtual void SetMissatge(const wchar_t* pszMissatge);
    // Takes the message from string resource `nID` in the library's current language (AfxLoadStringLang).
    // Without such a resource the message becomes empty.
    void SetMissatge(unsigned int nID);
    // Formats with printf rules (`%s` is a wide string) and hands the result to the virtual SetMissatge. A
    // null format counts as an empty one.
    void FormatMissatge(const wchar_t* pszFormat, ...);
    // The same with string resource `nID` as the format. It is loaded by the framework's ordinary loader,
    // whatever language AfxSetLanguage chose, unlike the resources of SetMissatge and Report. Without such a
    // resource the message becomes empty.
    void FormatMissatge(unsigned int nID, ...);
    // A copy of the message. Any thread.
    CString GetMissatge();

    // ---- Position

    // Stores the absolute position, calls the callback, waits while the indicator is paused, and answers 1 to
    // go on or 0 when it has been cancelled. Every call reaches the callback: nothing is throttled.
    virtual int MostrarEstat(double dPos);
    // Shows the fraction `dFrac` of the top range. The result is that of MostrarEstat. With an empty stack it
    // shows nothing and answers 1.
    int MostrarEstatRel(double dFrac);
    // The last absolute position. Any thread.
    double GetEstat();

    // ---- Ranges

    // Overwrites the top range, or makes (dInici, dFi) the first one when the stack is empty. Shows nothing.
    void SetRang(double dInici, double dFi);
    // The top range's start and end; 0.0 and 0.0 when the stack is empty.
    void GetRang(double& dInici, double& dFi);
    // Pushes the part of the top range between two fractions of it and shows its start. The result is that of
    // MostrarEstat. With an empty stack: pushes and shows nothing, answers 1.
    int SetSubRangRel(double dInici, double dFi);
    // Pushes slice `nPos` (from 0) of `nTotal` equal slices of the top range and shows its start. `nTotal` 0
    // is not caught: the range becomes infinite or not a number. Result and empty stack as SetSubRangRel.
    int SetRangPosicioRel(unsigned int nPos, unsigned int nTotal);
    // Pops the top range and shows its end, so that the bar stands at the end of the finished slice. The
    // result is that of MostrarEstat. With an empty stack: shows nothing, answers 1.
    int PopRangRel();

    // The four operations for a pointer that may be null: then they do nothing and answer 1. Operations that
    // take an optional indicator call these.
    static int MostrarEstatRel(TIndicadorEstat* pIE, double dFrac) {
        return pIE ? pIE->MostrarEstatRel(dFrac) : 1;
    }
    static int SetSubRangRel(TIndicadorEstat* pIE, double dInici, double dFi) {
        return pIE ? pIE->SetSubRangRel(dInici, dFi) : 1;
    }
    static int SetRangPosicioRel(TIndicadorEstat* pIE, unsigned int nPos, unsigned int nTotal) {
        return pIE ? pIE->SetRangPosicioRel(nPos, nTotal) : 1;
    }
    static int PopRangRel(TIndicadorEstat* pIE) { return pIE ? pIE->PopRangRel() : 1; }

    // ---- Cancel and pause: any thread

    // 1 when the operation has been cancelled, else 0.
    virtual int TestCancel();
    // Prepares the indicator for a new operation (worker only): empty message, running, not cancelled,
    // position 0.0, the one range (0.0, 1.0), timer restarted if it is enabled. It shows 0.0 through the
    // virtual MostrarEstat while the lock is held and before the cancel flag is cleared, so that call still
    // sees an old cancel. It needs no memory unless the stack is empty.
    virtual void Init();
    // Cancels, for good until Init, and ends a pause.
    virtual void Cancelar();
    // Makes the worker's next MostrarEstat wait.
    virtual void Pausa();
    // Lets the worker go on.
    virtual void Reanudar();
    // 1 while paused, 0 while running.
    int GetPausa();
    // Waits while paused. 0: running (again); -5: cancelled while windows were being served; 1: the wait
    // failed. On a thread with windows the pending messages are handled meanwhile, so that its dialogs stay
    // alive.
    int EsperarPausa();

    // ---- Timer: worker only

    // Enables the timer and starts it now, anew if it was running. Without memory it is enabled but does not
    // run, until Init or the next call.
    virtual void ActivarTimer();
    // Stops and disables the timer.
    virtual void DesactivarTimer();
    // Milliseconds since the timer started, modulo 2^32; 0 without a running timer.
    unsigned long GetTempsTimer();

    // ---- Message boxes

    // Shows `pszText` (null: an empty text) in a modal box (AfxMessageBox) and returns the box's result.
    // `nTipus`: 0 information, 1 warning, 2 error, anything else no icon. `nIDAjuda` is the help context, 0
    // for none.
    virtual int Report(const wchar_t* pszText, int nTipus, unsigned int nIDAjuda);
    // The same with string resource `nID` in the current language; an empty text without such a resource.
    int Report(unsigned int nID, int nTipus, unsigned int nIDAjuda);
    // The virtual Report with kind 0, 1 and 2.
    int ReportInfo(const wchar_t* pszText, unsigned int nIDAjuda);
    int ReportInfo(unsigned int nID, unsigned int nIDAjuda);
    int ReportAvis(const wchar_t* pszText, unsigned int nIDAjuda);
    int ReportAvis(unsigned int nID, unsigned int nIDAjuda);
    int ReportError(const wchar_t* pszText, unsigned int nIDAjuda);
    int ReportError(unsigned int nID, unsigned int nIDAjuda);

protected:
    // Appends (dInici, dFi) as the new top. Worker only, as are the other four.
    void pushRang(double dInici, double dFi);
    // Copies the top into `rang` and removes it; 0, with `rang` untouched, when the stack is empty.
    int popRang(RANGIE& rang);
    // Copies the top; 0, with `rang` untouched, when the stack is empty.
    int getTopRang(RANGIE& rang);
    // Start and end of the top range; both 0.0 when the stack is empty. A stack that claims elements but has
    // no tail makes these four throw CInvalidArgException*.
    double getMin();
    double getMax();
    // The forms for a pointer that may be null: pushing does nothing, the minimum is 0.0. Kept: the maximum
    // through null is 1.0, though an empty stack's is 0.0.
    static void pushRang(TIndicadorEstat* pIE, double dInici, double dFi) {
        if (pIE)
            pIE->pushRang(dInici, dFi);
    }
    static double getMin(TIndicadorEstat* pIE) { return pIE ? pIE->getMin() : 0.0; }
    static double getMax(TIndicadorEstat* pIE) { return pIE ? pIE->getMax() : 1.0; }

    // Their order and sizes are fixed: applications derive from this class. The atomic members have the size
    // of their plain types; they are read and written without the lock, which guards the message (and holds
    // up Init).
    CString m_strMissatge;
    std::atomic<double> m_dEstat;
    CCriticalSection m_cs; // recursive: Init runs virtual operations that take it again
    CEvent m_evContinuar;  // manual reset, signalled while running
    std::atomic<BOOL> m_bCancelat;
    BOOL m_bTimerActiu;
    DWORD* m_pdwIniciTimer;                     // owned; null when no timer runs
    CList<RANGIE, const RANGIE&> m_llistaRangs; // the tail is the top
    PFNCALLBACK m_pfnCallback;
    unsigned long m_dwUserData;

private:
    friend class MvSliceWalk; // the library's own walks

    bool running() const { return m_vistaContinuar.SurelySignalled(m_evContinuar.m_hObject); }
    void startTimerCell();

    // Spares every report a system call where the system allows that; has no size where not.
    [[no_unique_address]] MvEventView m_vistaContinuar;
};

// Pushes a range on an indicator for the length of a scope. The indicator may be null and must outlive the
// guard. The results of the pushes and pops are not passed on: ask TestCancel. Copies are plain copies of
// both fields, so a copied guard owes the same pop a second time.
class MVLIB_API CSetSubRangIE {
public:
    // Pushes slice `nPos` of `nTotal` of the top range (TIndicadorEstat::SetRangPosicioRel).
    CSetSubRangIE(TIndicadorEstat* pIE, int nPos, int nTotal);
    // Pushes the part between two fractions of the top range (TIndicadorEstat::SetSubRangRel).
    CSetSubRangIE(TIndicadorEstat* pIE, double dInici, double dFi);
    CSetSubRangIE(const CSetSubRangIE&) = default;
    CSetSubRangIE& operator=(const CSetSubRangIE&) = default;
    // Restore().
    virtual ~CSetSubRangIE();

    // Pops the range now, if it is still owed.
    void Restore();
    // Pops the owed range and pushes another.
    void SetSubRang(double dInici, double dFi);
    void SetSubRangPosicio(int nPos, int nTotal);
    // The indicator's TestCancel; 0 without an indicator.
    int TestCancel() const;

protected:
    TIndicadorEstat* m_pIE;
    BOOL m_bActiu; // a range was pushed and not yet popped; set without an indicator too
};
