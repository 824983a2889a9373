// The tests' own netapi32.dll: it lies beside the test program, where the loader finds it before the
// system's, keeps shares of its own, records what it is asked, and fails when it is told to.
#pragma once

#include <win32.h>

#include <lm.h>

#include <string>
#include <vector>

struct NetShare {
    std::wstring name;
    std::wstring path;
};

// Every field of the record that NetShareAdd was given.
struct NetAdded {
    std::wstring name;
    DWORD type;
    std::wstring remark;
    DWORD permissions;
    DWORD maximum;
    DWORD current;
    std::wstring path;
    std::wstring password;
};

struct NetWorld {
    std::vector<NetShare> shares;
    bool allNamesTaken = false; // for NetShareGetInfo
    NET_API_STATUS enumResult = NERR_Success;
    NET_API_STATUS addResult = NERR_Success;
    NET_API_STATUS removeResult = NERR_Success;
    int buffers = 0; // handed out and not given back

    // One line for each call but NetApiBufferFree: its name, then its server ("local" for null), level and so
    // on, as in "NetShareGetInfo local INBOX 0".
    std::vector<std::wstring> calls;
    std::vector<NetAdded> added;
};

// A program that has only the library begins with the results that the variables MVLIB_NET_ADD and
// MVLIB_NET_DEL say, and with a share BEFORE of the folder MVLIB_NET_SHARED.

// The double's world; null when the process has another network library loaded, or none.
inline NetWorld* LoadedNetDouble() {
    const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"netapi32.dll"), "NetDouble");
    return found ? reinterpret_cast<NetWorld*(WINAPI*)()>(reinterpret_cast<void*>(found))() : nullptr;
}
