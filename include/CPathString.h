// File-system paths: a CString that can be joined, taken apart and changed by parts, and the questions and
// operations on files and folders that go with it.
//
// A path is text in the form of the suite: "\\" separates, "X:" is a drive. On other systems than Windows the
// separator is mapped where the system is called, drives do not exist, and a path that begins with "\\" is
// absolute. A CPathString has no data beside its text, belongs to one thread at a time like any string, and
// converts to and from plain text freely.
//
//     CPathString file(L"report.dat", CPathString::GetRutaDades(1, L"reports"));
//     if (CPathString::CrearCarpeta(file.GetRuta(0)))
//         ...                                                          // write it
//     CPathString backup = file.Substituir(nullptr, nullptr, nullptr, L".bak");
//
// The trailing flag, the last argument of many operations: not 0, the result ends in one "\\"; 0, it does not
// (one final "\\" is dropped). Queries answer 1 or 0, or an empty text; nothing here throws but Cd, and
// whatever lacks memory (CMemoryException*). Text arguments may be null, which counts as empty, where nothing
// else is said. Paths may be longer than 260 characters wherever no limit is named, on Windows too, up to
// what the system takes at all.
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class CInfoVersio;
class CWnd;

class MVLIB_API CPathString : public CString {
public:
    // ---- Construction

    CPathString() = default;
    CPathString(const CPathString&) = default;
    CPathString(const CString& strRuta)
        : CString(strRuta) {}
    // A file in a folder, from texts that a user may have typed: both are cleaned of quotes as AfxNetejarPath
    // does. Without a folder the name alone; without a name the folder, ending in "\\". A CString and an
    // assignment are taken as they are.
    CPathString(const wchar_t* szNom, const wchar_t* szCarpeta = nullptr);
    // The full file name of a module, cut to 260 characters; null means the program. Empty for what is none.
    explicit CPathString(HINSTANCE hModule);
    // Joins four parts as the C runtime's makepath does: the drive's first letter counts, the folder gains
    // its "\\", the extension its ".".
    CPathString(const wchar_t* szUnitat, const wchar_t* szDirectori, const wchar_t* szNom,
                const wchar_t* szExtensio);
    // A temporary file name in the temporary folder, empty when there is none; see GetTempFileNameW.
    CPathString(const wchar_t* szPrefix, unsigned int nUnic);

    CPathString& operator=(const CPathString&) = default;
    CPathString& operator=(const CString& strRuta);
    CPathString& operator=(const wchar_t* szRuta);

    // ---- Parts; a path of which one part has more than 256 characters has no parts: all are empty

    // Drive, folder with its final "\\", name, and extension with its ".". Any pointer may be null.
    void SplitPath(CString* pUnitat, CString* pDirectori, CString* pNom, CString* pExtensio) const;
    CString GetUnitat() const;                  // "C:"
    CString GetDirectori(int bBarra = 1) const; // without the drive
    CString GetRuta(int bBarra = 1) const;      // drive and folder
    CString GetNomFitxer() const;               // without extension
    CString GetFitxer() const;                  // name and extension
    // Without its dot, empty when there is none. With the flag: with its dot, and "." (never empty) when
    // there is none.
    CString GetExtensio(int bPunt = 0) const;
    // 1 for "\\", "X:" and "X:\\", else 0.
    int IsRoot() const;

    // A new path in which each part is the argument given for it; null keeps the part, an empty text drops
    // it.
    CPathString Substituir(const wchar_t* szUnitat, const wchar_t* szDirectori, const wchar_t* szNom,
                           const wchar_t* szExtensio) const;
    // A new path with another folder: ".." goes one folder up, a text that begins with "\\" replaces the
    // folder, any other goes below it. Kept: on a path without a folder part (one without parts, too) the
    // first and the last throw COleException* with the code 0x80070057, as the string class does for a
    // position outside it.
    CPathString Cd(const wchar_t* szCarpeta) const;
    // The absolute form of a path, relative to the current folder or to the folder of the file `szBase`. When
    // that has a folder, the process's current folder is another one while the call lasts: not for several
    // threads. Empty when the result has 260 characters or more, or when the base's folder is needed and
    // cannot be entered or has no parts.
    static CPathString FullPath(const wchar_t* szRuta, const wchar_t* szBase = nullptr);
    // Applies the trailing flag to a text in place. An empty text with the flag becomes "\\".
    static void posarBarraFinal(CString& str, int bBarra);

    // ---- Queries on files

    // 1 when the path names something that exists and is no folder / that is a folder (a final "\\" is
    // ignored).
    static int TestFitxer(const wchar_t* szRuta);
    int TestFitxer() const { return TestFitxer(GetString()); }
    static int TestCarpeta(const wchar_t* szRuta);
    int TestCarpeta() const { return TestCarpeta(GetString()); }
    // The low 32 bits of the file's size in bytes; 0 when it cannot be told, and for a folder.
    static unsigned int GetMida(const wchar_t* szRuta);
    unsigned int GetMida() const { return GetMida(GetString()); }
    // The time of creation (`nQuina` 1), last change (2) or last access (3). 1, or 0 with `data` untouched
    // for another number or a file that cannot be asked.
    static int GetData(const wchar_t* szRuta, CTime& data, unsigned int nQuina);
    int GetData(CTime& data, unsigned int nQuina) const { return GetData(GetString(), data, nQuina); }

    // The version in the file's resources: 1, or 0 with the output untouched when there is none. The text is
    // "major.minor.build", with a final sharp s for a pre-release and " (DBG)" for a debug version. Kept: the
    // product version is the file version.
    static int GetFileVersion(const wchar_t* szRuta, CInfoVersio& info);
    static int GetFileVersion(const wchar_t* szRuta, CString& strVersio);
    static int GetProductVersion(const wchar_t* szRuta, CInfoVersio& info);
    static int GetProductVersion(const wchar_t* szRuta, CString& strVersio);
    int GetFileVersion(CInfoVersio& info) const { return GetFileVersion(GetString(), info); }
    int GetFileVersion(CString& strVersio) const { return GetFileVersion(GetString(), strVersio); }
    int GetProductVersion(CInfoVersio& info) const { return GetProductVersion(GetString(), info); }
    int GetProductVersion(CString& strVersio) const { return GetProductVersion(GetString(), strVersio); }
    // A string of the version resource ("CompanyName" ...) in its first language: 1, or 0 with the output
    // untouched.
    static int GetStringInformacio(const wchar_t* szRuta, const wchar_t* szClau, CString& strText);
    int GetStringInformacio(const wchar_t* szClau, CString& strText) const {
        return GetStringInformacio(GetString(), szClau, strText);
    }

    // ---- Folders and files; 1 or 0, with the reason as the thread's last error

    // Creates the folder and every missing one above it, "/" between them counting like "\\"; 1 also when it
    // exists. Last error 87 for an empty text, 80 when a file stands there or where one of the folders above
    // it should, else the system's. Folders made before a failure stay. The member creates the folder part of
    // this path.
    static int CrearCarpeta(const wchar_t* szCarpeta);
    int CrearCarpeta() const;
    // Deletes a file, with `bForcar` a read-only one too (which loses its attributes even if it stays). 0 for
    // an empty name.
    static int Esborrar(const wchar_t* szFitxer, int bForcar = 0);
    int Esborrar(int bForcar = 0) const { return Esborrar(GetString(), bForcar); }
    // Removes a folder; with `bRecursiu` all that is in it first. A link to a folder, `szCarpeta` itself
    // included, is removed and what it leads to stays. Kept: read-only files stay, and with them their
    // folders, while everything else goes. A current folder that is removed is left first, for the one above
    // it. 0 for an empty text, and with `bRecursiu` for a folder that cannot be listed. The member removes
    // the folder part of this path.
    static int EsborrarCarpeta(const wchar_t* szCarpeta, int bRecursiu);
    int EsborrarCarpeta(int bRecursiu) const;

    // ---- Special folders

    // The folder with the system's number `nCarpeta` (CSIDL_...); empty, whatever the flag, when the system
    // has none. The second form: its own name alone.
    static CString GetRutaShell(int nCarpeta, int bBarra = 1);
    static CString GetNomRutaShell(int nCarpeta);
    // The system's folder, that of Windows, the one for temporary files, and the one of colour profiles.
    static CString GetSystemDir(int bBarra = 1);
    static CString GetWindowsDir(int bBarra = 1);
    static CString GetTempPathW(int bBarra = 1);
    static CString GetColorProfilesDir(int bBarra = 1);
    // The base folder of data, for the whole process: empty at first. For the user-interface thread.
    static CString GetBaseRutaDades();
    static void SetBaseRutaDades(const wchar_t* szBase);
    // Where the application keeps its data: the user's application data or the shared documents, then the
    // base (the argument, else the process-wide one, else "Mirvanet\\<application>\\"), then the sub-folder.
    // Empty when the system knows no such folder. Nothing is created.
    static CString GetRutaDades(int bUsuari, const wchar_t* szSubCarpeta = nullptr,
                                const wchar_t* szBase = nullptr, int bBarra = 1);
    // A file there; empty when there is no such folder.
    static CPathString GetFitxerDades(const wchar_t* szNom, int bUsuari,
                                      const wchar_t* szSubCarpeta = nullptr, const wchar_t* szBase = nullptr);
    // The long form of a path with shortened names; the path itself where the system has none.
    static CString getLongPathName(const wchar_t* szRuta);
    // Make this path a temporary file name: folder (or the temporary one), up to three characters of the
    // prefix, the low 16 bits of the number in hexadecimal, ".tmp". With the number 0 a free one is found and
    // the empty file created; the caller deletes it. The number used, or 0 with the path untouched and the
    // reason as the thread's last error: 267 for a folder that is missing, 111 for one of more than 246
    // characters.
    unsigned int GetTempFileNameW(const wchar_t* szCarpeta, const wchar_t* szPrefix, unsigned int nUnic);
    unsigned int GetTempFileNameW(const wchar_t* szPrefix, unsigned int nUnic);

    // Lets the user pick a folder, with this path's folder selected at first, and returns when the dialog is
    // closed; for threads that show windows. `nFlags` are the system's (BIF_...), the parent may be null. 1
    // with this path set to the choice, 0 otherwise. 0 on systems without such a dialog. The second form
    // takes the title from the string resources.
    int Browse(const wchar_t* szTitol, unsigned int nFlags, CWnd* pPare);
    int Browse(unsigned int nTitol, unsigned int nFlags, CWnd* pPare);

private:
    static CString g_strBaseRutaDades;
};

// The text without one double quote at its beginning and, then, without one at its end. Null gives the empty
// text.
MVLIB_API CString AfxNetejarPath(const wchar_t* szRuta);
