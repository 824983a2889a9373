// Built as netapi32.dll; see NetDouble.h. The functions have the names and signatures of the system's.
#include "NetDouble.h"

#define DOUBLE_EXPORT extern "C" __declspec(dllexport)

namespace {

std::wstring Variable(const wchar_t* name) {
    wchar_t value[512] = {};
    return std::wstring(value, ::GetEnvironmentVariableW(name, value, 512));
}

// What a program that cannot script begins with stands in its environment.
NetWorld FirstWorld() {
    NetWorld world;
    world.addResult = static_cast<NET_API_STATUS>(_wtoi(Variable(L"MVLIB_NET_ADD").c_str()));
    world.removeResult = static_cast<NET_API_STATUS>(_wtoi(Variable(L"MVLIB_NET_DEL").c_str()));
    if (const std::wstring shared = Variable(L"MVLIB_NET_SHARED"); !shared.empty())
        world.shares.push_back({L"BEFORE", shared});
    return world;
}

NetWorld g_world = FirstWorld();

std::wstring Or(LPCWSTR text, const wchar_t* otherwise) {
    return text ? text : otherwise;
}
std::wstring Number(unsigned long value) {
    return L" " + std::to_wstring(value);
}
void Record(const wchar_t* function, LPCWSTR server, const std::wstring& rest) {
    g_world.calls.push_back(std::wstring(function) + L" " + Or(server, L"local") + rest);
}

SHARE_INFO_2* NewBuffer(std::size_t shares) {
    ++g_world.buffers;
    return new SHARE_INFO_2[shares + 1]();
}

} // namespace

DOUBLE_EXPORT NetWorld* WINAPI NetDouble() {
    return &g_world;
}

DOUBLE_EXPORT NET_API_STATUS WINAPI NetShareEnum(LMSTR server, DWORD level, LPBYTE* buffer, DWORD wanted,
                                                 LPDWORD count, LPDWORD total, LPDWORD) {
    Record(L"NetShareEnum", server, Number(level) + Number(wanted));
    if (g_world.enumResult != NERR_Success)
        return g_world.enumResult;
    SHARE_INFO_2* const list = NewBuffer(g_world.shares.size());
    for (std::size_t i = 0; i < g_world.shares.size(); ++i) {
        list[i].shi2_netname = g_world.shares[i].name.data();
        list[i].shi2_path = g_world.shares[i].path.data();
    }
    *buffer = reinterpret_cast<LPBYTE>(list);
    *count = *total = static_cast<DWORD>(g_world.shares.size());
    return NERR_Success;
}

DOUBLE_EXPORT NET_API_STATUS WINAPI NetShareGetInfo(LMSTR server, LMSTR name, DWORD level, LPBYTE* buffer) {
    Record(L"NetShareGetInfo", server, L" " + Or(name, L"null") + Number(level));
    bool taken = g_world.allNamesTaken;
    for (const NetShare& share : g_world.shares)
        taken = taken || share.name == name;
    if (!taken)
        return NERR_NetNameNotFound;
    *buffer = reinterpret_cast<LPBYTE>(NewBuffer(1));
    return NERR_Success;
}

DOUBLE_EXPORT NET_API_STATUS WINAPI NetShareAdd(LMSTR server, DWORD level, LPBYTE buffer, LPDWORD) {
    const auto& info = *reinterpret_cast<SHARE_INFO_2*>(buffer);
    Record(L"NetShareAdd", server, Number(level) + L" " + Or(info.shi2_netname, L"null"));
    g_world.added.push_back({Or(info.shi2_netname, L"null"), info.shi2_type, Or(info.shi2_remark, L"null"),
                             info.shi2_permissions, info.shi2_max_uses, info.shi2_current_uses,
                             Or(info.shi2_path, L"null"), Or(info.shi2_passwd, L"null")});
    if (g_world.addResult == NERR_Success)
        g_world.shares.push_back({info.shi2_netname, info.shi2_path});
    return g_world.addResult;
}

DOUBLE_EXPORT NET_API_STATUS WINAPI NetShareDel(LMSTR server, LMSTR name, DWORD) {
    Record(L"NetShareDel", server, L" " + Or(name, L"null"));
    if (g_world.removeResult == NERR_Success)
        std::erase_if(g_world.shares, [&](const NetShare& share) { return share.name == name; });
    return g_world.removeResult;
}

DOUBLE_EXPORT NET_API_STATUS WINAPI NetApiBufferFree(LPVOID buffer) {
    delete[] static_cast<SHARE_INFO_2*>(buffer);
    --g_world.buffers;
    return NERR_Success;
}
