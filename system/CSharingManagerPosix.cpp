// There are no network shares and no access lists here.
#include "CSharingManager.h"

#include "ShareSystem.h"

bool HasShares() {
    return false;
}
bool ShareExists(const wchar_t*) {
    return false;
}
DWORD RemoveShare(const wchar_t*) {
    return ERROR_NOT_SUPPORTED;
}

CString CSharingManager::_getNetNameViaDevicePath(const wchar_t*) {
    return CString();
}
int CSharingManager::_addSharePath(const wchar_t*, const wchar_t*) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return 0;
}
int CSharingManager::AddAccessRights(wchar_t*, wchar_t*, unsigned long, int) {
    return 0;
}
