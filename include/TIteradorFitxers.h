// Walks over the folders or the files of a folder, with or without what lies below, that call a function for
// each.
//
//     int Show(const wchar_t* folder, const wchar_t* name, int, long) {
//         std::wprintf(L"%ls\n", CPathString(name, folder).GetString());
//         return 1;                                                          // go on
//     }
//     TIteradorFitxers().IteraFitxers(Show, 0, L"*.dat", L"C:\\Data", 0);
//
// Entries come in the system's order, hidden ones too. A link to a folder is an entry like any other folder
// and a walk goes through it, except where it leads back to a folder that it lies in: such a link is
// delivered, but not entered. An entry that appears or goes while its folder is walked may be delivered or
// not; no other entry is lost. One thread at a time may use an iterator, and it must not be used from its own
// callback. Nothing is thrown but CMemoryException*.
//
// The callback must not be null. A null or empty folder is the root for the walk over folders, and the
// current folder for the files that a walk finds in it; a null or empty pattern meets no file.
#pragma once

#include "mvlib_export.h"

#include "afxcoll.h"

class MVLIB_API TIteradorFitxers {
public:
    // `szCarpeta` is the folder as the walk was given it, `szNom` the bare name of the entry, `nNivell` the
    // depth of a folder or -1 for a file, `lUser` the caller's value. Not 0: go on; 0: stop.
    typedef int (*PFNITERA)(const wchar_t* szCarpeta, const wchar_t* szNom, int nNivell, long lUser);

    TIteradorFitxers()
        : m_nNivell(-1) {}

    // Calls `fn` for each folder in `szCarpeta`, before those below it when `bRecursiu` is not 0. 0 when the
    // walk came to its end and the last answer was to go on; -5 otherwise, also when the folder cannot be
    // listed. Kept: an answer of 0 does not keep the walk from going below that folder; and after a walk
    // below that ended with -5 the same entry is offered again, until the answer is 0: a callback that never
    // says so goes on for ever at a folder that cannot be listed.
    int IteraCarpetes(PFNITERA fn, long lUser, const wchar_t* szCarpeta, int bRecursiu);
    // Calls `fn` for each file in `szCarpeta` that meets the pattern, those of the folders below first when
    // `bRecursiu` is not 0. 0 when the last answer was to go on; -5 otherwise, also when no file was found.
    // Kept: files at depth k (1 and more) below the start are delivered 2 to the power k - 1 times, and an
    // answer of 0 inside a folder below ends only the walk of that folder; and a folder below that cannot be
    // listed keeps the walk going for ever, for nobody is asked whether to go on.
    int IteraFitxers(PFNITERA fn, long lUser, const wchar_t* szPatro, const wchar_t* szCarpeta,
                     int bRecursiu);
    // Appends the full paths of those files, as often as they are delivered, to the list. Results as
    // IteraFitxers.
    int GetLlistaFitxers(CStringList& llista, const wchar_t* szPatro, const wchar_t* szCarpeta,
                         int bRecursiu);

protected:
    // The callback of GetLlistaFitxers; `lUser` carries the list.
    static int _fnGetLlistaFitxers(const wchar_t* szCarpeta, const wchar_t* szNom, int nNivell, long lUser);

    int m_nNivell; // depth of the walk under way
};
