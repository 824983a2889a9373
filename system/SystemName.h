// What tells the name of the operating system besides its version record.
#pragma once

#include "afx.h"

// The kind of installation that the registry names: "WINNT", "LANMANNT" or "SERVERNT". False when it cannot
// be read.
bool ReadProductType(CString& type);
// Whether the hotfix is installed that makes service pack 6 of Windows NT 4 number 6a.
bool HasServicePack6a();
// The name of a system that is no Windows; empty on Windows.
CString NameOfOtherSystem(const OSVERSIONINFOEXW& record);
