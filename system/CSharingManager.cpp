// The part of folder sharing that every system has.
#include "CSharingManager.h"

#include "CPathString.h"
#include "ShareSystem.h"

#include <cstdlib>
#include <cwchar>

namespace {

constexpr int missingFolder = -3;

CString WithoutLastBackslash(const wchar_t* folder) {
    CString text(folder);
    if (text.Right(1) == L"\\")
        text.Truncate(text.GetLength() - 1);
    return text;
}

} // namespace

int CSharingManager::_ShareFolder(const wchar_t* szCarpeta) {
    if (!CPathString::TestCarpeta(szCarpeta))
        return missingFolder;
    const CString folder = WithoutLastBackslash(szCarpeta);
    if (!_getNetNameViaDevicePath(folder).IsEmpty())
        return 0;
    // Kept: -1, which says that the share was not made, counts as made.
    return _addSharePath(folder, _getUniqueShareResourceName(folder)) == 0 ? -1 : 0;
}

int CSharingManager::_UnShareFolder(const wchar_t* szCarpeta) {
    if (!CPathString::TestCarpeta(szCarpeta))
        return missingFolder;
    if (!HasShares())
        return ERROR_NOT_SUPPORTED;
    const CString name = _getNetNameViaDevicePath(WithoutLastBackslash(szCarpeta));
    return name.IsEmpty() ? 0 : static_cast<int>(RemoveShare(name));
}

CString CSharingManager::_getUniqueShareResourceName(const wchar_t* szCarpeta) {
    constexpr int lastNumber = 999;
    CString bare = WithoutLastBackslash(szCarpeta);
    bare = bare.Mid(bare.ReverseFind(L'\\') + 1);
    bare.MakeUpper();
    CString name = bare;
    for (int i = 0; ShareExists(name) && i < lastNumber;)
        name.Format(L"%s_%d", bare.GetString(), ++i);
    return name;
}

wchar_t* CSharingManager::_char2wchar(const wchar_t* szText) {
    if (!szText)
        return nullptr;
    const std::size_t size = std::wcslen(szText) + 1;
    auto* const copy = static_cast<wchar_t*>(std::malloc(size * sizeof(wchar_t)));
    return copy ? std::wmemcpy(copy, szText, size) : nullptr;
}

wchar_t* CSharingManager::_wchar2char(const wchar_t* szText) {
    return _char2wchar(szText);
}

int AfxShareFolder(const wchar_t* szCarpeta) {
    return CSharingManager::_ShareFolder(szCarpeta);
}
int AfxUnShareFolder(const wchar_t* szCarpeta) {
    return CSharingManager::_UnShareFolder(szCarpeta);
}
int AfxAddAccessRights(wchar_t* szFitxer, wchar_t* szUsuari, unsigned long dwDrets, int bTothom) {
    return CSharingManager::AddAccessRights(szFitxer, szUsuari, dwDrets, bTothom);
}
