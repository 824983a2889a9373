// Network shares of folders, and access rights on files and folders.
//
// All functions are static and may be called on any thread; they ask for rights that the user may not have.
// Nothing throws and nothing is shown: results are codes, and AddAccessRights writes what failed to the
// console streams. Where the system has neither shares nor access lists (Linux) every operation reports
// failure; each function says how.
#pragma once

#include "mvlib_export.h"

#include "afx.h"

class MVLIB_API CSharingManager {
public:
    // Shares the folder under its own last name in upper case ("C:\\Work\\Inbox": INBOX), or under that name
    // with _1, _2 ... when others have it, for everyone with all rights. One trailing backslash does not
    // count. 0 when the folder is shared or was already, under whatever name; -1 when it could not be shared
    // (also on Linux); -3 when there is no such folder. Kept: on systems of the NT family a share that could
    // not be made is answered 0.
    static int _ShareFolder(const wchar_t* szCarpeta);
    // Ends the first share of the folder. 0 when there was none or it ended, -3 when there is no such folder,
    // else the system's error code (50, not supported, on Linux).
    static int _UnShareFolder(const wchar_t* szCarpeta);
    // Gives rights (GENERIC_ALL, FILE_GENERIC_READ ...) on a file or folder to `szUsuari` or, with `bTothom`
    // not 0, to everyone; the user is not looked at then and may be null. Entries that the trustee has
    // already are replaced, inherited ones stay; the new entry stands behind the explicit entries of others
    // and before the inherited ones. 1 on success. 0 on failure (always on Linux), and nothing is changed;
    // the call that failed stands on standard output with its error number. Ends the process with code 1 when
    // there is no memory for the identifier of everyone.
    static int AddAccessRights(wchar_t* szFitxer, wchar_t* szUsuari, unsigned long dwDrets, int bTothom);

protected:
    // Makes the share and gives everyone all rights on the folder. On the NT family 1, or -1 when it was not
    // made; elsewhere 1 or 0.
    static int _addSharePath(const wchar_t* szCarpeta, const wchar_t* szNom);
    // The name of the first share of the folder, whatever the case of its path; empty when there is none.
    static CString _getNetNameViaDevicePath(const wchar_t* szCarpeta);
    // The name for a share of the folder: the first of 1000 that is free, else the last of them.
    static CString _getUniqueShareResourceName(const wchar_t* szCarpeta);
    // Copies of a text, from malloc and freed by the caller; null for null or without memory.
    static wchar_t* _char2wchar(const wchar_t* szText);
    static wchar_t* _wchar2char(const wchar_t* szText);
};

// The same as _ShareFolder, _UnShareFolder and AddAccessRights.
MVLIB_API int AfxShareFolder(const wchar_t* szCarpeta);
MVLIB_API int AfxUnShareFolder(const wchar_t* szCarpeta);
MVLIB_API int AfxAddAccessRights(wchar_t* szFitxer, wchar_t* szUsuari, unsigned long dwDrets, int bTothom);
