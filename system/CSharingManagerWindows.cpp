// Network shares of Windows.
#include "CSharingManager.h"

#include "COSVersionInfo.h"
#include "ShareSystem.h"

#include <cstdlib>
#include <lm.h>

namespace {

// A buffer of the network library's.
class NetBuffer {
public:
    NetBuffer() = default;
    ~NetBuffer() {
        if (m_bytes)
            ::NetApiBufferFree(m_bytes);
    }
    NetBuffer(const NetBuffer&) = delete;
    NetBuffer& operator=(const NetBuffer&) = delete;
    LPBYTE* Out() { return &m_bytes; }
    template <class T>
    const T* As() const {
        return reinterpret_cast<const T*>(m_bytes);
    }

private:
    LPBYTE m_bytes = nullptr;
};

// A copy of a text as the network library wants it: not constant.
class PrivateCopy {
public:
    explicit PrivateCopy(wchar_t* copy)
        : m_text(copy) {}
    ~PrivateCopy() { std::free(m_text); }
    PrivateCopy(const PrivateCopy&) = delete;
    PrivateCopy& operator=(const PrivateCopy&) = delete;
    operator wchar_t*() const { return m_text; }

private:
    wchar_t* m_text;
};

} // namespace

bool HasShares() {
    return true;
}

bool ShareExists(const wchar_t* name) {
    NetBuffer info;
    return ::NetShareGetInfo(nullptr, const_cast<LMSTR>(name), 0, info.Out()) == NERR_Success;
}

DWORD RemoveShare(const wchar_t* name) {
    return ::NetShareDel(nullptr, const_cast<LMSTR>(name), 0);
}

CString CSharingManager::_getNetNameViaDevicePath(const wchar_t* szCarpeta) {
    NetBuffer shares;
    DWORD count = 0;
    DWORD total = 0;
    if (::NetShareEnum(nullptr, 2, shares.Out(), MAX_PREFERRED_LENGTH, &count, &total, nullptr) !=
        NERR_Success)
        return CString();
    const auto* const list = shares.As<SHARE_INFO_2>();
    for (DWORD i = 0; list && i < count; ++i)
        if (list[i].shi2_path && CString(list[i].shi2_path).CompareNoCase(szCarpeta) == 0)
            return list[i].shi2_netname;
    return CString();
}

int CSharingManager::_addSharePath(const wchar_t* szCarpeta, const wchar_t* szNom) {
    const PrivateCopy name(_char2wchar(szNom));
    const PrivateCopy remark(_char2wchar(L"Hot Folder"));
    const PrivateCopy path(_char2wchar(szCarpeta));
    const PrivateCopy password(_char2wchar(L""));
    SHARE_INFO_2 share = {};
    share.shi2_netname = name;
    share.shi2_type = STYPE_DISKTREE;
    share.shi2_remark = remark;
    share.shi2_permissions = ACCESS_READ | ACCESS_WRITE | ACCESS_CREATE | ACCESS_DELETE;
    share.shi2_max_uses = static_cast<DWORD>(-1);
    share.shi2_current_uses = 0;
    share.shi2_path = path;
    share.shi2_passwd = password;
    const DWORD error = ::NetShareAdd(nullptr, 2, reinterpret_cast<LPBYTE>(&share), nullptr);
    const bool made = error == NERR_Success;
    // The network library answers its errors and leaves the thread's alone; results do not tell them here.
    if (!made)
        ::SetLastError(error);
    if (!AfxGetOSVersionInfo()->EsWindowsNT())
        return made ? 1 : 0;
    if (!made)
        return -1;
    AddAccessRights(path, nullptr, GENERIC_ALL, 1);
    return 1;
}
