// Profiles: the INI files of private-profile functions. Include win32.h, not this file.
//
// A file is 8-bit text in the page of CP_ACP, or begins with a mark: FF FE or FE FF for UTF-16, EF BB BF for
// UTF-8. Lines end in CR LF, LF or CR. A line "[name]" begins a section; lines before the first one belong to
// the section named "". Names compare without case; blanks and tabs round names and values do not count; of
// several sections or keys of one name the first is meant. A value in one pair of quotation marks, " or ', is
// read without them. A NUL ends a value. Lines that begin with ";" are left out of lists. A name without a
// folder lies in the current folder.
//
// Reading keeps the last file in memory and looks at each call whether it was changed. Writing changes the
// lines in question and no others, in the encoding and with the line ends that the file has (8-bit and CR LF
// in a new one, characters outside the page become "?"). The new text takes the file's place at once: a
// process that is killed leaves the old file or the new one, and of two that write at once none loses what
// the other wrote. Links are followed, owner and rights stay.
//
// Last error after reading: 0, or why the file could not be read: 2 and 3 (it or its folder is missing), 5,
// 32. Lists are texts that end in a NUL each, with one more at the end; one that does not fit with a
// character to spare is cut to size - 2 characters and ends in two NULs. Counts never include the last NUL.
#pragma once

// The value, in a buffer of `size` characters, cut to fit; or the default (null for ""; blanks at its end
// go, then a pair of quotation marks) when there is none. With a null key the list of the section's keys, or
// the default when there are none; with a null section the list of the sections. The count of characters; 0,
// and the buffer untouched, for size 0.
MVPLAT_API DWORD WINAPI GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR defaultText,
                                                 LPWSTR buffer, DWORD size, LPCWSTR fileName);
// The value as a number: a sign, "0x", "0o" or "0b", digits as far as they go; overflow wraps. 0 when it
// begins with none, the default when it is empty or missing.
MVPLAT_API UINT WINAPI GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT defaultNumber,
                                             LPCWSTR fileName);
// The section's lines as they stand, without the blanks at their ends; empty lines are left out. 0 with 87
// for a null section.
MVPLAT_API DWORD WINAPI GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buffer, DWORD size,
                                                  LPCWSTR fileName);
// The names of the sections, repeated ones too. One NUL when the file is missing or has none.
MVPLAT_API DWORD WINAPI GetPrivateProfileSectionNamesW(LPWSTR buffer, DWORD size, LPCWSTR fileName);

// Sets a value, as given: the key's line is replaced and keeps its spelling of the key, or added behind the
// last line of the section that is not blank; a new section goes to the end. A null value removes the key, a
// null key the section; removing what is absent succeeds and makes no file. FALSE with 2 (null section or
// file name), 3 (folder missing), 5 (no right, empty file name), 32 (in use without sharing), 112.
MVPLAT_API BOOL WINAPI WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value,
                                                  LPCWSTR fileName);
// Replaces the lines of a section by a list, null to remove it with its name. An empty list empties a section
// that exists. Results as above.
MVPLAT_API BOOL WINAPI WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR lines, LPCWSTR fileName);
