// One INI file: sections of "key=value" lines, read and written by the system's private-profile functions.
//
// The object holds the file's path alone; every operation opens and closes the file, so what other programs
// write is seen at the next call. Results are 1 for success and 0 for failure unless said otherwise; the
// reason of a failure is dropped. Section and key names match whatever their case. Nothing here guards
// several writers of one file. On Windows that is left to the system. Elsewhere each write takes its turn and
// replaces the file as a whole: programs that write different values at once lose none of them, a program
// that is killed leaves the file as it was before or after a write, and of one value the last write wins.
//
//     CFitxerINI settings(L"C:\\data\\editor.ini");
//     settings.SetInt(L"Window", L"Left", 120, 10, nullptr, 0);
//     CString title = settings.GetString(L"Window", L"Title", L"untitled");
//
// Every file that SetString, SetDouble and SetInt write is UTF-16 with a byte-order mark, so that any text
// can be kept. Kept: a file without the mark loses ALL its content at the first such write (see
// ConvertIniFileIntoUnicode); `mvtool ini check` tells what would go and `mvtool ini convert` keeps it.
// docs/ini-files.md has the rules of the format and its limits.
//
// A path without a folder means the Windows folder to the system's functions, and the current folder
// elsewhere.
#pragma once

#include "mvlib_export.h"

#include "afx.h"
#include "CMultiString.h"

class MVLIB_API CFitxerINI {
public:
    // Receives each pair of a section; a negative result ends the walk.
    typedef int(__stdcall* PFNENUM)(const wchar_t* szClau, const wchar_t* szValor, long lUser);

    // The file at `szFitxer`, which need not exist. Null or empty: the program's own path with the extension
    // "ini".
    CFitxerINI(const wchar_t* szFitxer);

    // ---- Values

    // The value, up to 1,024 characters of it. `szDefecte` (null: the empty string) when there is no such
    // key, or its value is empty.
    CString GetString(const wchar_t* szSeccio, const wchar_t* szClau, const wchar_t* szDefecte) const;
    // The number at the beginning of the value's first 40 characters; 0 when there is none. Behind "0x" or
    // "0X" it is hexadecimal. Kept: a sign before "0x" makes it the decimal number 0. Beyond an int it is the
    // nearest int.
    int GetInt(const wchar_t* szSeccio, const wchar_t* szClau, int nDefecte) const;
    // The same for a decimal fraction with a point.
    double GetDouble(const wchar_t* szSeccio, const wchar_t* szClau, double dDefecte) const;

    // Write the value, after making the file's folder and the mark as needed. A null value deletes the key, a
    // null key the section. They never return when the file is there but cannot be opened for reading, as
    // ConvertIniFileIntoUnicode does.
    int SetString(const wchar_t* szSeccio, const wchar_t* szClau, const wchar_t* szValor);
    // With six decimals.
    int SetDouble(const wchar_t* szSeccio, const wchar_t* szClau, double d);
    // In base `nBase` (2 to 36, anything else writes nothing and answers 0) with small letters. `szAfix`
    // (null: none) stands behind the digits when `bSufix` is not 0, else before them; a negative number has
    // its "-" before everything: -255 in base 16 with "0x" in front is "-0xff".
    int SetInt(const wchar_t* szSeccio, const wchar_t* szClau, int n, int nBase, const wchar_t* szAfix,
               int bSufix);

    // ---- Sections

    // Replaces `linies` by the section's lines, as many as 32,767 characters hold. 0, and no lines, when
    // there is none.
    int GetSeccio(const wchar_t* szSeccio, CMultiString& linies) const;
    // Appends the section's pairs to `claus` and `valors`. A line is split at "="; the value ends before ";",
    // what follows is a comment. Nothing is trimmed. A line without a key or without a value is left out;
    // characters "=" at its beginning, and ";" at the beginning of a value, are skipped. 0 when the section
    // has no lines.
    int GetSeccio(const wchar_t* szSeccio, CMultiString& claus, CMultiString& valors) const;
    // Replace the list by the names of the section's keys, or of the file's sections. 0 when there are none.
    int GetClausSeccio(const wchar_t* szSeccio, CMultiString& claus) const;
    int GetSeccions(CMultiString& seccions) const;
    // Calls `pfn` for the pairs of GetSeccio in their order. The first negative result, else the last one; 0
    // when there are no pairs, -3 when the section has no lines.
    int EnumSeccio(const wchar_t* szSeccio, PFNENUM pfn, long lUser) const;

    // Replaces the section by the lines. Does not make the mark: on a file that does not exist, use SetString
    // first, or characters outside the system's code page are lost.
    int SetSeccio(const wchar_t* szSeccio, const CMultiString& linies);
    // The same with one line "key = value" for each key. Throws CInvalidArgException*, and writes nothing,
    // when there are fewer values than keys.
    int SetSeccio(const wchar_t* szSeccio, CMultiString& claus, CMultiString& valors);

    // ---- Deleting

    // Takes the last pair of GetSeccio with that key out and writes the section anew by SetSeccio, so that
    // comments and lines that are no pairs go too. 0 when there is no such section or key; keys are compared
    // without case, but with the blanks that they have.
    int BorrarClau(const wchar_t* szSeccio, const wchar_t* szClau);
    // Takes the key's line out and leaves the rest as it is. 1 also when there was none.
    int BorrarValor(const wchar_t* szSeccio, const wchar_t* szClau);
    int BorrarSeccio(const wchar_t* szSeccio);

    // ---- The file

    // 1 when the file exists.
    int TestFitxer() const;
    // Sees that the file exists and begins with the mark FF FE: makes it when it is missing (nobody meets it
    // before it has the mark), else converts it. 1 always.
    static int VerifyAndCreateUnicodeFile(const wchar_t* szFitxer);
    // Kept exactly so: the file holds nothing but the mark afterwards; its text is not carried over. The file
    // of the same name with the extension "tmp" is made for that and deleted again; when there is one
    // already, nothing happens. Kept: it never returns when the file cannot be opened for reading, so call it
    // for files that can. 1 always.
    static int ConvertIniFileIntoUnicode(const wchar_t* szFitxer);

protected:
    // 1 when the folder of the file exists or could be made, else 0, whatever the argument.
    int checkCarpeta(int nCrear);

    CString m_strFitxer;
};
