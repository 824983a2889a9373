#include "AccessDouble.h"

#include "import_patch.h"

#include <gtest/gtest.h>

#include <cstring>

AccessWorld g_access;

namespace {

bool Fails(const char* function) {
    if (g_access.fails.count(function) == 0 || g_access.failAfter-- > 0)
        return false;
    ::SetLastError(1234);
    return true;
}

BOOL WINAPI LookupAccount(LPCWSTR system, LPCWSTR name, PSID sid, LPDWORD size, LPWSTR domain,
                          LPDWORD domainSize, PSID_NAME_USE use) {
    return !Fails("LookupAccountName") &&
           ::LookupAccountNameW(system, name, sid, size, domain, domainSize, use);
}
BOOL WINAPI WellKnown(WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* size) {
    EXPECT_EQ(type, WinWorldSid);
    EXPECT_EQ(*size, 68u);
    return !Fails("CreateWellKnownSid") && ::CreateWellKnownSid(type, domain, sid, size);
}
BOOL WINAPI GetSecurity(LPCWSTR file, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor, DWORD size,
                        LPDWORD needed) {
    EXPECT_EQ(what, static_cast<DWORD>(DACL_SECURITY_INFORMATION));
    if (Fails("GetFileSecurity"))
        return FALSE;
    if (!g_access.scripted)
        return ::GetFileSecurityW(file, what, descriptor, size, needed);
    *needed = static_cast<DWORD>(g_access.descriptor.size());
    if (size < *needed) {
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    memcpy(descriptor, g_access.descriptor.data(), g_access.descriptor.size());
    return TRUE;
}
BOOL WINAPI SetSecurity(LPCWSTR file, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor) {
    EXPECT_EQ(what, static_cast<DWORD>(DACL_SECURITY_INFORMATION));
    if (Fails("SetFileSecurity"))
        return FALSE;
    g_access.file = file;
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    PACL list = nullptr;
    EXPECT_TRUE(::GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    EXPECT_TRUE(present);
    EXPECT_FALSE(defaulted);
    EXPECT_TRUE(::IsValidAcl(list));
    g_access.list.assign(reinterpret_cast<BYTE*>(list), reinterpret_cast<BYTE*>(list) + list->AclSize);
    DWORD revision = 0;
    EXPECT_TRUE(::GetSecurityDescriptorControl(descriptor, &g_access.control, &revision));
    return g_access.scripted || ::SetFileSecurityW(file, what, descriptor);
}
BOOL WINAPI InitDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) {
    return !Fails("InitializeSecurityDescriptor") && ::InitializeSecurityDescriptor(descriptor, revision);
}
BOOL WINAPI GetDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* list, LPBOOL defaulted) {
    return !Fails("GetSecurityDescriptorDacl") &&
           ::GetSecurityDescriptorDacl(descriptor, present, list, defaulted);
}
BOOL WINAPI AclInformation(PACL list, LPVOID info, DWORD size, ACL_INFORMATION_CLASS kind) {
    return !Fails("GetAclInformation") && ::GetAclInformation(list, info, size, kind);
}
BOOL WINAPI InitAcl(PACL list, DWORD size, DWORD revision) {
    EXPECT_EQ(revision, 2u);
    return !Fails("InitializeAcl") && ::InitializeAcl(list, size, revision);
}
BOOL WINAPI Get(PACL list, DWORD index, LPVOID* entry) {
    return !Fails("GetAce") && ::GetAce(list, index, entry);
}
BOOL WINAPI AddOne(PACL list, DWORD revision, DWORD index, LPVOID entries, DWORD size) {
    return !Fails("AddAce") && ::AddAce(list, revision, index, entries, size);
}
BOOL WINAPI AddAllowed(PACL list, DWORD revision, DWORD mask, PSID sid) {
    EXPECT_EQ(revision, 2u);
    return !Fails("AddAccessAllowedAce") && ::AddAccessAllowedAce(list, revision, mask, sid);
}
BOOL WINAPI SetDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL list, BOOL defaulted) {
    return !Fails("SetSecurityDescriptorDacl") &&
           ::SetSecurityDescriptorDacl(descriptor, present, list, defaulted);
}
BOOL WINAPI GetControl(PSECURITY_DESCRIPTOR descriptor, PSECURITY_DESCRIPTOR_CONTROL control,
                       LPDWORD revision) {
    return !Fails("GetSecurityDescriptorControl") &&
           ::GetSecurityDescriptorControl(descriptor, control, revision);
}
BOOL WINAPI SetControl(PSECURITY_DESCRIPTOR descriptor, SECURITY_DESCRIPTOR_CONTROL bits,
                       SECURITY_DESCRIPTOR_CONTROL values) {
    if (Fails("SetSecurityDescriptorControl"))
        return FALSE;
    auto& control = static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Control;
    control = static_cast<SECURITY_DESCRIPTOR_CONTROL>((control & ~bits) | values);
    return TRUE;
}
FARPROC WINAPI Procedure(HMODULE module, LPCSTR name) {
    if (strcmp(name, "SetSecurityDescriptorControl") == 0)
        return g_access.hasSetControl ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&SetControl))
                                      : nullptr;
    return ::GetProcAddress(module, name);
}
LPVOID WINAPI Allocate(HANDLE heap, DWORD flags, SIZE_T size) {
    return Fails("HeapAlloc") ? nullptr : ::HeapAlloc(heap, flags, size);
}
HLOCAL WINAPI AllocateLocal(UINT flags, SIZE_T size) {
    return size == 68 && Fails("LocalAlloc") ? nullptr : ::LocalAlloc(flags, size);
}

std::vector<BYTE> Identifier(WELL_KNOWN_SID_TYPE type) {
    std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
    DWORD size = static_cast<DWORD>(sid.size());
    EXPECT_TRUE(::CreateWellKnownSid(type, nullptr, sid.data(), &size));
    sid.resize(size);
    return sid;
}

} // namespace

void PatchAccessFunctions() {
    const ImportHook hooks[] = {
        {"LookupAccountNameW", reinterpret_cast<void*>(&LookupAccount)},
        {"CreateWellKnownSid", reinterpret_cast<void*>(&WellKnown)},
        {"GetFileSecurityW", reinterpret_cast<void*>(&GetSecurity)},
        {"SetFileSecurityW", reinterpret_cast<void*>(&SetSecurity)},
        {"InitializeSecurityDescriptor", reinterpret_cast<void*>(&InitDescriptor)},
        {"GetSecurityDescriptorDacl", reinterpret_cast<void*>(&GetDacl)},
        {"GetAclInformation", reinterpret_cast<void*>(&AclInformation)},
        {"InitializeAcl", reinterpret_cast<void*>(&InitAcl)},
        {"GetAce", reinterpret_cast<void*>(&Get)},
        {"AddAce", reinterpret_cast<void*>(&AddOne)},
        {"AddAccessAllowedAce", reinterpret_cast<void*>(&AddAllowed)},
        {"SetSecurityDescriptorDacl", reinterpret_cast<void*>(&SetDacl)},
        {"GetSecurityDescriptorControl", reinterpret_cast<void*>(&GetControl)},
        {"GetProcAddress", reinterpret_cast<void*>(&Procedure)},
        {"HeapAlloc", reinterpret_cast<void*>(&Allocate)},
        {"LocalAlloc", reinterpret_cast<void*>(&AllocateLocal)},
    };
    for (const ImportHook& hook : hooks)
        ASSERT_EQ(PatchImport("mvlib62", hook), 1) << hook.name;
}

// ---- Lists

const std::vector<BYTE>& Everyone() {
    static const std::vector<BYTE> sid = Identifier(WinWorldSid);
    return sid;
}
const std::vector<BYTE>& System() {
    static const std::vector<BYTE> sid = Identifier(WinLocalSystemSid);
    return sid;
}

void AddEntry(ACL* list, BYTE type, BYTE flags, DWORD mask, const std::vector<BYTE>& sid,
              const std::vector<BYTE>& before) {
    constexpr std::size_t fixed = offsetof(ACCESS_ALLOWED_ACE, SidStart);
    std::vector<BYTE> bytes(fixed);
    bytes.insert(bytes.end(), before.begin(), before.end());
    bytes.insert(bytes.end(), sid.begin(), sid.end());
    auto& entry = *reinterpret_cast<ACCESS_ALLOWED_ACE*>(bytes.data());
    entry.Header = {type, flags, static_cast<WORD>(bytes.size())};
    entry.Mask = mask;
    ASSERT_TRUE(::AddAce(list, ACL_REVISION_DS, MAXDWORD, bytes.data(), static_cast<DWORD>(bytes.size())));
}

std::string Shape(std::vector<BYTE> bytes) {
    std::string shape;
    const auto list = reinterpret_cast<PACL>(bytes.data());
    for (DWORD i = 0; !bytes.empty() && i < list->AceCount; ++i) {
        void* found = nullptr;
        EXPECT_TRUE(::GetAce(list, i, &found));
        auto& entry = *static_cast<ACCESS_ALLOWED_ACE*>(found);
        shape += i ? "; " : "";
        if (entry.Header.AceType > ACCESS_DENIED_ACE_TYPE)
            shape += "type " + std::to_string(entry.Header.AceType) + " ";
        else
            shape += entry.Header.AceType == ACCESS_ALLOWED_ACE_TYPE ? "allow " : "deny ";
        shape += ::EqualSid(&entry.SidStart, const_cast<BYTE*>(Everyone().data())) ? "everyone "
                 : ::EqualSid(&entry.SidStart, const_cast<BYTE*>(System().data())) ? "system "
                                                                                   : "other ";
        shape += std::to_string(entry.Mask);
        shape += entry.Header.AceFlags & INHERITED_ACE ? " inherited" : "";
    }
    return shape;
}
