// Versions: of the operating system, of executable files, of system DLLs.
//
//     const COSVersionInfo* system = AfxGetOSVersionInfo();
//     if (system->EsWindowsXP(1))                                  // or later
//         ...
//     CInfoVersio file;
//     if (CPathString::GetFileVersion(path, file) && file.m_dwMajor >= 2)
//         ...
//
// The record of the operating system is filled once, when the library is loaded, and only read afterwards:
// any thread may use it. Objects of one's own belong to one thread at a time.
#pragma once

#include "mvlib_export.h"

#include "afx.h"

// The system's extended version record, whose fields are public, and a flag behind it. The fields may be
// changed: every operation answers from them.
class MVLIB_API COSVersionInfo : public OSVERSIONINFOEXW {
public:
    // Asks the system; when it does not give the extended record, only the fields up to the service-pack text
    // are filled and the others are 0. A system that gives neither leaves all of them 0 but the size.
    COSVersionInfo();

    // ---- Tests; 1 or 0

    // Whether the system is of a platform (dwPlatformId: 0 Win32s, 1 the 9x family, 2 the NT family, 4 Linux)
    // and has exactly this version, or with `bOPosterior` not 0 this or a later one.
    int TestVersio(unsigned long dwPlataforma, unsigned long dwMajor, unsigned long dwMinor,
                   int bOPosterior) const;
    int TestVersio9x(unsigned long dwMajor, unsigned long dwMinor, int bOPosterior) const;
    int TestVersioNT(unsigned long dwMajor, unsigned long dwMinor, int bOPosterior) const;
    // A version by its name, or with `bOPosterior` not 0 a later one of the same family.
    int EsWindows95(int bOPosterior) const;    // 9x family, 4.0
    int EsWindows98(int bOPosterior) const;    // 9x family, 4.10
    int EsWindowsMe(int bOPosterior) const;    // 9x family, 4.90
    int EsWindowsNT351(int bOPosterior) const; // NT family, 3.51
    int EsWindowsNT4(int bOPosterior) const;   // NT family, 4.0
    int EsWindows2000(int bOPosterior) const;  // NT family, 5.0
    int EsWindowsXP(int bOPosterior) const;    // NT family, 5.1
    int EsWindows9x() const;
    int EsWindowsNT() const;

    // ---- Texts

    // The readable name, such as "Microsoft Windows XP Professional Service Pack 3 (Build 2600)" or
    // "Linux 6.1.0-13-amd64". NT versions after 6 have no name of their own and begin with the edition. Empty
    // for a record that is none of these, and for an NT record without the extended part when the registry
    // does not tell the kind of installation. Kept: the edition of a server of NT 4, or of a version without
    // a name, is written to standard output and is not in the text.
    CString GetNom() const;
    // NT family: 1 and "Service Pack 3 (Build 2600)", with the version before it ("4.0 ") up to version 4.
    // Else 0, and the text is untouched.
    int GetVersio(CString& strVersio) const;

    int m_bExtesa; // 1: the system gave the extended record
};

// The record of the running system; the library owns it. Never null.
MVLIB_API const COSVersionInfo* AfxGetOSVersionInfo();

// The version of one executable file; CPathString::GetFileVersion fills it. All 0 at first.
class MVLIB_API CInfoVersio {
public:
    unsigned int m_dwMajor = 0;
    unsigned int m_dwMinor = 0;
    unsigned int m_dwBuild = 0;
    unsigned int m_dwRevisio = 0;
    unsigned int m_bDebug = 0;      // 1: made for debugging
    unsigned int m_bPreRelease = 0; // 1: not released yet
};

// The version that a DLL tells of itself through its function "DllGetVersion": (major << 16) | minor; 0 when
// it cannot be loaded (or its name is null), has no such function (shared libraries elsewhere than on Windows
// rarely do), or the function fails. The DLL is loaded for the length of the call.
MVLIB_API unsigned long AfxGetShellDllVersion(const wchar_t* szDll);
// 1 when that version is at least the one given, else 0. A DLL without a version meets only a requirement of
// 0.
MVLIB_API int AfxTestShellDllVersion(const wchar_t* szDll, unsigned short wMajor, unsigned short wMinor);
MVLIB_API int AfxTestShellDllVersion(const wchar_t* szDll, unsigned long dwVersio);
