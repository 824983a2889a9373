// One key of the registry (a folder), named by a root key and a path below it: values written and read by
// type, values and sub-folders enumerated, whole folders copied and deleted, window placements saved.
//
// A folder object is cheap. It holds no key until an operation needs one; each operation opens and closes
// around its own work, and nested openings share one handle through a count. Elsewhere than on Windows the
// registry is a store of the library's own with the same rules (docs/registry.md).
//
// What was written survives the end of the process, whatever ends it, and several processes may write at
// once. A power failure may take what was written in the last moments, on both systems; RegFlushKey waits for
// the disk.
//
// A path that begins with "." is relative to the application's base folder: "Software\\<registry
// key>\\<profile name>" as the application object has them, else "Software\\Mirvanet\\<title>" with the
// program's string resource 57344, or whatever SetCarpetaBaseApp set.
//
//     TCarpetaRegistry settings(L".\\Settings");
//     settings.EntraValor(L"Zoom", 1.5);
//     double zoom = settings.TornaValorReal(L"Zoom", 1.0);
//
// Results: writes and deletions answer 0, -2500 (the folder could not be opened), -2503 (the value could not
// be written), -2504 (the value could not be deleted) or -2505 (the key could not be deleted). Reads by type
// answer 0, or 2500 when the value could not be read and the default was given. The registry's own error code
// is then the thread's last error. Reads do not throw; what copies texts throws CMemoryException* when there
// is no memory.
//
// Kept: copies of an object share its open key and the count is copied with it. Closing the key twice does no
// harm, but an object whose copy has closed it can no longer read or write until it is opened anew. One
// thread at a time.
#pragma once

#include "mvlib_export.h"

#include "afx.h"
#include "CMultiString.h"

class CWnd;

class MVLIB_API TCarpetaRegistry {
public:
    // Receive each value (with its registry type) or sub-folder; a negative result ends the walk.
    typedef int(__stdcall* PFNENUMVALORS)(TCarpetaRegistry* pCarpeta, const wchar_t* szNom,
                                          unsigned long nTipus, long lUser);
    typedef int(__stdcall* PFNENUMCARPETES)(TCarpetaRegistry* pCarpeta, const wchar_t* szNom, long lUser);

    // ---- Construction and paths

    // The folder at `szCarpeta` below the root `hBase`; null means the base folder, "." at the beginning
    // stands for it, with or without a "\\" behind. `nOpcions` is only kept and handed on by GetSubcarpeta.
    TCarpetaRegistry(const wchar_t* szCarpeta = nullptr, HKEY hBase = HKEY_CURRENT_USER, int nOpcions = 0);
    // The sub-folder `szNom` of `pPare` (not null).
    TCarpetaRegistry(const TCarpetaRegistry* pPare, const wchar_t* szNom);
    TCarpetaRegistry(const TCarpetaRegistry&) = default;
    TCarpetaRegistry& operator=(const TCarpetaRegistry&) = default;
    // Closes the folder however often it is open.
    virtual ~TCarpetaRegistry();

    // The base folder's path, with `szSub` behind it (null or empty: nothing) and one "\\" between them.
    static CString ConstruirCarpetaApp(const wchar_t* szSub);
    // The base folder for the whole process; null or empty: the application's own again. For one thread,
    // early.
    static void SetCarpetaBaseApp(const wchar_t* szCarpeta);
    // What SetCarpetaBaseApp set; empty at first.
    static CString GetCarpetaBaseApp();
    // Changes the root for the openings to come. 0.
    int SetClauBase(HKEY hBase);
    // A new object for a sub-folder, with the same root and options; the caller deletes it. Touches no key.
    TCarpetaRegistry* GetSubcarpeta(const wchar_t* szNom);

    // ---- Opening

    // `nMode` is a sum: 1 makes the key when it is missing, 2 opens it for reading only. 1, or 0 when that
    // failed. While the key is open, Obrir only counts, and the first opening's mode stays.
    virtual int Obrir(unsigned long nMode);
    // Takes one opening back and closes the key with the last one. 1 always.
    virtual int Tancar();

    // ---- Writing: the folder is made when it is missing; 0, -2500 or -2503

    // Text (REG_SZ, null is the empty text).
    int EntraValor(const wchar_t* szNom, const wchar_t* szValor);
    // Text with six decimals: what a number has behind them is lost.
    int EntraValor(const wchar_t* szNom, float fValor);
    int EntraValor(const wchar_t* szNom, double dValor);
    // Numbers of 32 bits (REG_DWORD).
    int EntraValor(const wchar_t* szNom, unsigned long dwValor);
    int EntraValor(const wchar_t* szNom, int nValor);
    int EntraValor(const wchar_t* szNom, long lValor);
    int EntraValor(const wchar_t* szNom, short nValor);
    int EntraValor(const wchar_t* szNom, unsigned short wValor);
    // REG_MULTI_SZ. Kept: only the first half of the list's buffer is stored, so that at most half of the
    // text comes back. Store a list that must come back whole as bytes, or its strings as values of their
    // own.
    int EntraValor(const wchar_t* szNom, const CMultiString& ms);
    // Bytes (REG_BINARY).
    int EntraValor(const wchar_t* szNom, void* pDades, unsigned long nMida);

    // ---- Reading: 0, or 2500 and the default

    // Any value of up to 4 bytes, whatever its type; the 16-bit forms take its low half.
    int TornaValor(const wchar_t* szNom, short& nValor, short nDefecte);
    int TornaValor(const wchar_t* szNom, unsigned short& wValor, unsigned short wDefecte);
    int TornaValor(const wchar_t* szNom, int& nValor, int nDefecte);
    int TornaValor(const wchar_t* szNom, long& lValor, long lDefecte);
    int TornaValor(const wchar_t* szNom, unsigned long& dwValor, unsigned long dwDefecte);
    // The number at the beginning of a text; 0.0 for a text without one.
    int TornaValor(const wchar_t* szNom, float& fValor, float fDefecte);
    int TornaValor(const wchar_t* szNom, double& dValor, double dDefecte);
    // The data of any type as text, up to the first NUL. A null default is the empty text.
    int TornaValor(const wchar_t* szNom, CString& strValor, const wchar_t* szDefecte);
    // The data of any type as a list. The default ends in two NULs. Kept: the folder is opened for reading
    // and writing, so this fails where the user may only read.
    int TornaValor(const wchar_t* szNom, CMultiString& ms, const wchar_t* szDefecte);
    // The bytes of any type. `nMida`: the buffer's size before; the data's size after, also when the buffer
    // was too small (2500, last error 234). Then, and when there is no value, the smaller of both sizes is
    // copied from the default (null: nothing). A null buffer asks for the size.
    int TornaValor(const wchar_t* szNom, void* pDades, unsigned long& nMida, void* pDefecte);
    // The bytes of a REG_BINARY value in a block from malloc, which the caller frees, and their number. Null
    // and 0 when there is no value of that type.
    void* TornaValorBin(const wchar_t* szNom, unsigned long& nMida);
    // The value or the default.
    int TornaValorInt(const wchar_t* szNom, int nDefecte);
    int TornaValorBool(const wchar_t* szNom, int bDefecte);
    double TornaValorReal(const wchar_t* szNom, double dDefecte);
    CString TornaValorString(const wchar_t* szNom, const wchar_t* szDefecte);

    // ---- Values and sub-folders

    // Deletes a value. 0 also when the folder could not be opened. Kept: after -2504 the folder stays open
    // one level deeper. The name TotsElsValors() deletes every value and answers 0. Kept: it misses the value
    // without a name, and every value whose name is not shorter than the last name that it found before.
    int BorrarValor(const wchar_t* szNom);
    static const wchar_t* TotsElsValors() { return reinterpret_cast<const wchar_t*>(1); }
    // The name, up to 1,024 characters, of value or sub-folder number `i`. 1, or 0 when there is none.
    int GetNomValorIndex(unsigned long i, CString& str);
    int GetNomCarpetaIndex(unsigned long i, CString& str);
    // Open the folder in `nMode`, call `pfn` for each value (names of up to 512 characters) or sub-folder
    // (260), and close it. The first negative result, else the last one; 0 when there was nothing, or the
    // folder could not be opened.
    int EnumValors(PFNENUMVALORS pfn, long lUser, unsigned long nMode);
    int EnumSubcarpetes(PFNENUMCARPETES pfn, long lUser, unsigned long nMode);

    // ---- Whole folders

    // Copies the sub-folder `szNom` with everything below it into the sub-folder of that name of `pDesti`,
    // which is made; values that are there already and have the same name are overwritten. What cannot be
    // copied is left out. 1, or 0 when the target could not be opened. Kept: a missing source makes an empty
    // target, and 1.
    int CopiarCarpeta(const wchar_t* szNom, TCarpetaRegistry* pDesti);
    // Deletes the sub-folder `szNom`, or this folder when that is null, with everything below it: 0, -2500,
    // -2504, -2505. What was deleted before a failure stays deleted.
    int BorrarCarpeta(const wchar_t* szNom);

    // ---- Window placements (on Windows; 0 elsewhere)

    // Saves where the window stands, and how, as a text value. 1, or 0 when that failed.
    int SaveWndState(const CWnd* pWnd, const wchar_t* szNom);
    // Puts the window there. A minimised window comes back in its normal size unless `bMinimitzat` is not 0.
    // 0 when there is no such value, or the text is not one of SaveWndState's.
    int LoadWndState(CWnd* pWnd, const wchar_t* szNom, int bMinimitzat);

protected:
    HKEY m_hClauBase;
    CString m_strCarpeta; // the path below the root, without "\\" in front
    HKEY m_hClau;         // null while closed
    SECURITY_ATTRIBUTES m_sa;
    int m_nOpcions;
    int m_nObertures;

private:
    int escriure(const wchar_t* szNom, DWORD nTipus, const void* pDades, DWORD nMida);
    int escriureNumero(const wchar_t* szNom, DWORD dwValor);
    int escriureReal(const wchar_t* szNom, double dValor);
    void* llegir(const wchar_t* szNom, unsigned long nMode, DWORD& nTipus, DWORD& nMida);
    int llegirNumero(const wchar_t* szNom, DWORD& dwValor);

    static CString g_strCarpetaBaseApp;
};
