// Links to folders, made by what the machine has for it. One source per target.
#pragma once

#include <string>

// Makes `link` a link to the folder `target`, both full paths in the library's form; the target need not
// exist where the system does not ask for it. False when there are no such links here.
bool MakeFolderLink(const std::wstring& link, const std::wstring& target);
// What is at the path is a link, whatever it leads to.
bool IsLinkAt(const std::wstring& path);
// Removes such a link, if it is still there.
void TakeFolderLink(const std::wstring& link);
