// Sharing with doubles of the network library and of the access functions, which the library's import table
// is turned to: they record what they are asked and answer as scripted.
#include <COSVersionInfo.h>
#include <CSharingManager.h>

#include "import_patch.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <lm.h>
#include <set>
#include <string>
#include <vector>

namespace {

struct Share {
    std::wstring name;
    std::wstring path;
};

struct Added {
    std::wstring name;
    DWORD type;
    std::wstring remark;
    DWORD permissions;
    DWORD maximum;
    DWORD current;
    std::wstring path;
    std::wstring password;
};

// The world that the doubles show.
struct World {
    std::vector<Share> shares;
    bool allNamesTaken = false;
    std::vector<std::wstring> asked; // names that NetShareGetInfo was asked for
    std::vector<Added> added;
    std::vector<std::wstring> removed;
    NET_API_STATUS enumResult = NERR_Success;
    NET_API_STATUS addResult = NERR_Success;
    NET_API_STATUS removeResult = NERR_Success;
    int buffers = 0; // handed out and not given back

    std::set<std::string> fails; // functions that fail, with the error 1234
    int failAfter = 0;           // calls of a failing function that still succeed
    bool scripted = false;       // GetFileSecurityW and SetFileSecurityW do not reach the system
    std::vector<BYTE> descriptor;
    std::vector<BYTE> list; // what SetFileSecurityW was given
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    std::wstring file;
    bool hasSetControl = true;
};
World g_world;

bool Fails(const char* function) {
    if (g_world.fails.count(function) == 0 || g_world.failAfter-- > 0)
        return false;
    ::SetLastError(1234);
    return true;
}

// ---- The network library

NET_API_STATUS WINAPI Enum(LMSTR server, DWORD level, LPBYTE* buffer, DWORD wanted, LPDWORD count,
                           LPDWORD total, LPDWORD) {
    EXPECT_EQ(server, nullptr);
    EXPECT_EQ(level, 2u);
    EXPECT_EQ(wanted, static_cast<DWORD>(MAX_PREFERRED_LENGTH));
    if (g_world.enumResult != NERR_Success)
        return g_world.enumResult;
    auto* const list = new SHARE_INFO_2[g_world.shares.size() + 1]();
    for (std::size_t i = 0; i < g_world.shares.size(); ++i) {
        list[i].shi2_netname = g_world.shares[i].name.data();
        list[i].shi2_path = g_world.shares[i].path.data();
    }
    *buffer = reinterpret_cast<LPBYTE>(list);
    *count = *total = static_cast<DWORD>(g_world.shares.size());
    ++g_world.buffers;
    return NERR_Success;
}

NET_API_STATUS WINAPI GetInfo(LMSTR server, LMSTR name, DWORD level, LPBYTE* buffer) {
    EXPECT_EQ(server, nullptr);
    EXPECT_EQ(level, 0u);
    g_world.asked.push_back(name);
    bool taken = g_world.allNamesTaken;
    for (const Share& share : g_world.shares)
        taken = taken || share.name == name;
    if (!taken)
        return NERR_NetNameNotFound;
    *buffer = reinterpret_cast<LPBYTE>(new SHARE_INFO_2[1]());
    ++g_world.buffers;
    return NERR_Success;
}

NET_API_STATUS WINAPI Add(LMSTR server, DWORD level, LPBYTE buffer, LPDWORD) {
    EXPECT_EQ(server, nullptr);
    EXPECT_EQ(level, 2u);
    const auto& info = *reinterpret_cast<SHARE_INFO_2*>(buffer);
    g_world.added.push_back({info.shi2_netname, info.shi2_type, info.shi2_remark, info.shi2_permissions,
                             info.shi2_max_uses, info.shi2_current_uses, info.shi2_path, info.shi2_passwd});
    return g_world.addResult;
}

NET_API_STATUS WINAPI Del(LMSTR server, LMSTR name, DWORD) {
    EXPECT_EQ(server, nullptr);
    g_world.removed.push_back(name);
    return g_world.removeResult;
}

NET_API_STATUS WINAPI FreeBuffer(LPVOID buffer) {
    delete[] static_cast<SHARE_INFO_2*>(buffer);
    --g_world.buffers;
    return NERR_Success;
}

// ---- The access functions

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
    if (!g_world.scripted)
        return ::GetFileSecurityW(file, what, descriptor, size, needed);
    *needed = static_cast<DWORD>(g_world.descriptor.size());
    if (size < *needed) {
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    memcpy(descriptor, g_world.descriptor.data(), g_world.descriptor.size());
    return TRUE;
}
BOOL WINAPI SetSecurity(LPCWSTR file, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor) {
    EXPECT_EQ(what, static_cast<DWORD>(DACL_SECURITY_INFORMATION));
    if (Fails("SetFileSecurity"))
        return FALSE;
    g_world.file = file;
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    PACL list = nullptr;
    EXPECT_TRUE(::GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    EXPECT_TRUE(present);
    EXPECT_FALSE(defaulted);
    EXPECT_TRUE(::IsValidAcl(list));
    g_world.list.assign(reinterpret_cast<BYTE*>(list), reinterpret_cast<BYTE*>(list) + list->AclSize);
    DWORD revision = 0;
    EXPECT_TRUE(::GetSecurityDescriptorControl(descriptor, &g_world.control, &revision));
    return g_world.scripted || ::SetFileSecurityW(file, what, descriptor);
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
        return g_world.hasSetControl ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&SetControl))
                                     : nullptr;
    return ::GetProcAddress(module, name);
}
LPVOID WINAPI Allocate(HANDLE heap, DWORD flags, SIZE_T size) {
    return Fails("HeapAlloc") ? nullptr : ::HeapAlloc(heap, flags, size);
}
HLOCAL WINAPI AllocateLocal(UINT flags, SIZE_T size) {
    return size == 68 && Fails("LocalAlloc") ? nullptr : ::LocalAlloc(flags, size);
}

// ---- Lists

std::vector<BYTE> Identifier(WELL_KNOWN_SID_TYPE type) {
    std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
    DWORD size = static_cast<DWORD>(sid.size());
    EXPECT_TRUE(::CreateWellKnownSid(type, nullptr, sid.data(), &size));
    sid.resize(size);
    return sid;
}

const std::vector<BYTE>& Everyone() {
    static const std::vector<BYTE> sid = Identifier(WinWorldSid);
    return sid;
}
const std::vector<BYTE>& System() {
    static const std::vector<BYTE> sid = Identifier(WinLocalSystemSid);
    return sid;
}

void AddEntry(ACL* list, BYTE type, BYTE flags, DWORD mask, const std::vector<BYTE>& sid) {
    std::vector<BYTE> bytes(offsetof(ACCESS_ALLOWED_ACE, SidStart) + sid.size());
    auto& entry = *reinterpret_cast<ACCESS_ALLOWED_ACE*>(bytes.data());
    entry.Header = {type, flags, static_cast<WORD>(bytes.size())};
    entry.Mask = mask;
    memcpy(&entry.SidStart, sid.data(), sid.size());
    ASSERT_TRUE(::AddAce(list, ACL_REVISION, MAXDWORD, bytes.data(), static_cast<DWORD>(bytes.size())));
}

// A list in words: "allow everyone 7; deny system 1 inherited".
std::string Shape(std::vector<BYTE> bytes) {
    std::string shape;
    const auto list = reinterpret_cast<PACL>(bytes.data());
    for (DWORD i = 0; i < list->AceCount; ++i) {
        void* found = nullptr;
        EXPECT_TRUE(::GetAce(list, i, &found));
        auto& entry = *static_cast<ACCESS_ALLOWED_ACE*>(found);
        shape += i ? "; " : "";
        shape += entry.Header.AceType == ACCESS_ALLOWED_ACE_TYPE ? "allow " : "deny ";
        shape += ::EqualSid(&entry.SidStart, const_cast<BYTE*>(Everyone().data())) ? "everyone "
                 : ::EqualSid(&entry.SidStart, const_cast<BYTE*>(System().data())) ? "system "
                                                                                   : "other ";
        shape += std::to_string(entry.Mask);
        shape += entry.Header.AceFlags & INHERITED_ACE ? " inherited" : "";
    }
    return shape;
}

class CSharingManagerTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const ImportHook hooks[] = {
            {"NetShareEnum", reinterpret_cast<void*>(&Enum)},
            {"NetShareGetInfo", reinterpret_cast<void*>(&GetInfo)},
            {"NetShareAdd", reinterpret_cast<void*>(&Add)},
            {"NetShareDel", reinterpret_cast<void*>(&Del)},
            {"NetApiBufferFree", reinterpret_cast<void*>(&FreeBuffer)},
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
    void SetUp() override {
        g_world = World();
        path = folder.Path(L"Inbox");
        ASSERT_TRUE(::CreateDirectoryW(path.c_str(), nullptr));
    }
    void TearDown() override {
        EXPECT_EQ(g_world.buffers, 0);
        g_world = World();
    }

    // From now on files have a list with these entries: explicit ones of everyone (twice) and of the system,
    // then inherited ones of both.
    void ScriptList(SECURITY_DESCRIPTOR_CONTROL control = 0) {
        std::vector<BYTE> list(1024);
        const auto acl = reinterpret_cast<PACL>(list.data());
        ASSERT_TRUE(::InitializeAcl(acl, 1024, ACL_REVISION));
        AddEntry(acl, ACCESS_DENIED_ACE_TYPE, 0, 1, Everyone());
        AddEntry(acl, ACCESS_ALLOWED_ACE_TYPE, 0, 2, System());
        AddEntry(acl, ACCESS_ALLOWED_ACE_TYPE, 0, 4, Everyone());
        AddEntry(acl, ACCESS_ALLOWED_ACE_TYPE, INHERITED_ACE, 8, Everyone());
        AddEntry(acl, ACCESS_ALLOWED_ACE_TYPE, INHERITED_ACE, 16, System());
        ScriptDescriptor(acl, control);
    }
    void ScriptDescriptor(PACL list, SECURITY_DESCRIPTOR_CONTROL control = 0) {
        SECURITY_DESCRIPTOR absolute;
        ASSERT_TRUE(::InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION));
        ASSERT_TRUE(::SetSecurityDescriptorDacl(&absolute, TRUE, list, FALSE));
        absolute.Control = static_cast<SECURITY_DESCRIPTOR_CONTROL>(absolute.Control | control);
        DWORD size = 0;
        ::MakeSelfRelativeSD(&absolute, nullptr, &size);
        g_world.descriptor.resize(size);
        ASSERT_TRUE(::MakeSelfRelativeSD(&absolute, g_world.descriptor.data(), &size));
        g_world.scripted = true;
    }
    // What a call for everyone writes to standard output; its result must be 0.
    std::string Output(int everyone = 1) {
        wchar_t user[] = L"SYSTEM";
        testing::internal::CaptureStdout();
        EXPECT_EQ(AfxAddAccessRights(path.data(), user, 32, everyone), 0);
        return testing::internal::GetCapturedStdout();
    }

    TempFolder folder;
    std::wstring path;
};

struct Inside : CSharingManager {
    using CSharingManager::_char2wchar;
    using CSharingManager::_getUniqueShareResourceName;
    using CSharingManager::_wchar2char;
};

} // namespace

TEST_F(CSharingManagerTest, ExampleUsage) {
    EXPECT_EQ(AfxShareFolder((path + L"\\").c_str()), 0);
    ASSERT_EQ(g_world.added.size(), 1u);
    EXPECT_EQ(g_world.added[0].name, L"INBOX");
    g_world.shares = {{L"INBOX", path}};
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_world.removed, (std::vector<std::wstring>{L"INBOX"}));
}

// ---- Shares

TEST_F(CSharingManagerTest, ShareIsMadeForEveryoneWithAllRights) {
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    ASSERT_EQ(g_world.added.size(), 1u);
    const Added& share = g_world.added[0];
    EXPECT_EQ(share.name, L"INBOX");
    EXPECT_EQ(share.type, 0u);
    EXPECT_EQ(share.remark, L"Hot Folder");
    EXPECT_EQ(share.permissions, 23u);
    EXPECT_EQ(share.maximum, 0xFFFFFFFFu);
    EXPECT_EQ(share.current, 0u);
    EXPECT_EQ(share.path, path);
    EXPECT_EQ(share.password, L"");
    EXPECT_EQ(g_world.file, path);
    EXPECT_NE(Shape(g_world.list).find("allow everyone 268435456"), std::string::npos);
}

TEST_F(CSharingManagerTest, NameThatAnotherFolderHasGetsANumber) {
    g_world.shares = {{L"INBOX", L"C:\\elsewhere"}};
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    ASSERT_EQ(g_world.added.size(), 1u);
    EXPECT_EQ(g_world.added[0].name, L"INBOX_1");
    g_world.shares.push_back({L"INBOX_1", L"C:\\there"});
    g_world.added.clear();
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_world.added[0].name, L"INBOX_2");
}

TEST_F(CSharingManagerTest, ThousandNamesAreTriedAndTheLastIsTaken) {
    g_world.allNamesTaken = true;
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\Work\\Inbox\\"), L"INBOX_999");
    ASSERT_EQ(g_world.asked.size(), 1000u);
    EXPECT_EQ(g_world.asked[0], L"INBOX");
    EXPECT_EQ(g_world.asked[1], L"INBOX_1");
    EXPECT_EQ(g_world.asked[999], L"INBOX_999");
}

TEST_F(CSharingManagerTest, FolderSharedUnderAnyNameIsNotSharedAgain) {
    std::wstring upper = path;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(towupper(c));
    g_world.shares = {{L"OTHER", L"C:\\x"}, {L"SOMETHING", upper}};
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_world.added.size(), 0u);
}

TEST_F(CSharingManagerTest, FailedShareOfTheNtFamilyCountsAsMade) {
    g_world.addResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_world.file, L""); // no rights were given
}

TEST_F(CSharingManagerTest, OutsideTheNtFamilyAFailedShareIsAFailure) {
    auto* const system = const_cast<COSVersionInfo*>(AfxGetOSVersionInfo());
    const DWORD platform = system->dwPlatformId;
    system->dwPlatformId = 1; // the family of the 9x systems
    g_world.addResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(AfxShareFolder(path.c_str()), -1);
    g_world.addResult = NERR_Success;
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_world.file, L""); // no rights are given there
    system->dwPlatformId = platform;
}

TEST_F(CSharingManagerTest, FailedRightsDoNotMatterToTheShare) {
    g_world.fails = {"SetFileSecurity"};
    testing::internal::CaptureStdout();
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "SetFileSecurity() failed. Error 1234\n");
}

TEST_F(CSharingManagerTest, MissingFolderIsNoFolder) {
    EXPECT_EQ(AfxShareFolder((path + L"x").c_str()), -3);
    EXPECT_EQ(AfxUnShareFolder((path + L"x").c_str()), -3);
    EXPECT_EQ(g_world.added.size(), 0u);
}

TEST_F(CSharingManagerTest, EndOfAShareAnswersTheSystemsCode) {
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0); // there is none
    EXPECT_EQ(g_world.removed.size(), 0u);
    g_world.shares = {{L"A", path}, {L"B", path}};
    g_world.removeResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(AfxUnShareFolder((path + L"\\").c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(g_world.removed, (std::vector<std::wstring>{L"A"}));
}

TEST_F(CSharingManagerTest, SharesThatCannotBeListedAreNone) {
    g_world.enumResult = ERROR_NOT_SUPPORTED;
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0);
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_world.added.size(), 1u);
}

TEST_F(CSharingManagerTest, TextsAreCopied) {
    const wchar_t text[] = L"text";
    wchar_t* const one = Inside::_char2wchar(text);
    wchar_t* const two = Inside::_wchar2char(text);
    EXPECT_STREQ(one, text);
    EXPECT_STREQ(two, text);
    EXPECT_NE(one, text);
    std::free(one);
    std::free(two);
    EXPECT_EQ(Inside::_char2wchar(nullptr), nullptr);
}

// ---- Rights

TEST_F(CSharingManagerTest, EntryReplacesThoseOfTheTrusteeBeforeInheritedOnes) {
    ScriptList();
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_world.list),
              "allow system 2; allow everyone 32; allow everyone 8 inherited; allow system 16 inherited");
    EXPECT_EQ(g_world.file, path);
}

TEST_F(CSharingManagerTest, UserIsLookedUpByName) {
    ScriptList();
    wchar_t user[] = L"SYSTEM";
    EXPECT_EQ(AfxAddAccessRights(path.data(), user, 64, 0), 1);
    EXPECT_EQ(Shape(g_world.list),
              "deny everyone 1; allow everyone 4; allow system 64; allow everyone 8 inherited; "
              "allow system 16 inherited");
}

TEST_F(CSharingManagerTest, FileWithoutAListGetsOneWithTheEntry) {
    ScriptDescriptor(nullptr);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_world.list), "allow everyone 32");
}

TEST_F(CSharingManagerTest, InheritanceOfTheListIsKept) {
    ScriptList(SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_world.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED),
              SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED);
    ScriptList(SE_DACL_PROTECTED);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_world.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED), SE_DACL_PROTECTED);
    ScriptList();
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_world.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED), 0);
}

TEST_F(CSharingManagerTest, SystemWithoutTheControlFunctionDoesWithout) {
    g_world.hasSetControl = false;
    ScriptList(SE_DACL_PROTECTED);
    g_world.fails = {"GetSecurityDescriptorControl"};
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_world.control & SE_DACL_PROTECTED, 0);
}

TEST_F(CSharingManagerTest, RightsOfARealFileAreChanged) {
    std::wstring file = folder.Write(L"file", "x");
    EXPECT_EQ(CSharingManager::AddAccessRights(file.data(), nullptr, FILE_ALL_ACCESS, 1), 1);
    EXPECT_EQ(g_world.file, file);
    EXPECT_NE(Shape(g_world.list).find("allow everyone 2032127"), std::string::npos);
}

// ---- error results

TEST_F(CSharingManagerTest, EachFailingCallIsNamedWithItsError) {
    ScriptList(SE_DACL_PROTECTED);
    const struct {
        const char* function;
        const char* text;
    } calls[] = {
        {"GetFileSecurity", "GetFileSecurity() failed. Error 1234\n"},
        {"HeapAlloc", "HeapAlloc() failed. Error 1234\n"},
        {"InitializeSecurityDescriptor", "InitializeSecurityDescriptor() failed.Error 1234\n"},
        {"GetSecurityDescriptorDacl", "GetSecurityDescriptorDacl() failed. Error 1234\n"},
        {"GetAclInformation", "GetAclInformation() failed. Error 1234\n"},
        {"InitializeAcl", "InitializeAcl() failed. Error 1234\n"},
        {"GetAce", "GetAce() failed. Error 1234\n"},
        {"AddAce", "AddAce() failed. Error 1234\n"},
        {"AddAccessAllowedAce", "AddAccessAllowedAce() failed. Error 1234\n"},
        {"SetSecurityDescriptorDacl", "SetSecurityDescriptorDacl() failed. Error 1234\n"},
        {"GetSecurityDescriptorControl", "GetSecurityDescriptorControl() failed.Error 1234\n"},
        {"SetSecurityDescriptorControl", "SetSecurityDescriptorControl() failed.Error 1234\n"},
        {"SetFileSecurity", "SetFileSecurity() failed. Error 1234\n"},
    };
    for (const auto& call : calls) {
        g_world.fails = {call.function};
        g_world.failAfter = 0;
        g_world.file.clear();
        EXPECT_EQ(Output(), call.text);
        EXPECT_EQ(g_world.file, L"") << call.function;
    }
}

TEST_F(CSharingManagerTest, LaterCallsOfAFunctionMayFailToo) {
    ScriptList();
    g_world.fails = {"HeapAlloc"};
    g_world.failAfter = 1; // the new list
    EXPECT_EQ(Output(), "HeapAlloc() failed. Error 1234\n");
    g_world.fails = {"GetFileSecurity"};
    g_world.failAfter = 1; // the reading itself
    EXPECT_EQ(Output(), "GetFileSecurity() failed. Error 1234\n");
    g_world.fails = {"AddAce"};
    g_world.failAfter = 1; // the first inherited entry
    EXPECT_EQ(Output(), "AddAce() failed. Error 1234\n");
}

TEST_F(CSharingManagerTest, UserThatIsNotKnownIsAFailure) {
    ScriptList();
    g_world.fails = {"LookupAccountName"};
    EXPECT_EQ(Output(0), "LookupAccountName() failed. Error 1234\n");
    g_world.failAfter = 1;
    EXPECT_EQ(Output(0), "LookupAccountName() failed. Error 1234\n");
    g_world.fails = {"HeapAlloc"};
    g_world.failAfter = 0;
    EXPECT_EQ(Output(0), "HeapAlloc() failed. Error 1234\n");
    g_world.failAfter = 1;
    EXPECT_EQ(Output(0), "HeapAlloc() failed. Error 1234\n");
}

TEST_F(CSharingManagerTest, IdentifierOfEveryoneThatCannotBeMadeIsToldAndGoneOnWithout) {
    ScriptList();
    g_world.fails = {"CreateWellKnownSid"};
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    AfxAddAccessRights(path.data(), nullptr, 32, 1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "CreateWellKnownSid Error 1234");
}

TEST_F(CSharingManagerTest, NoMemoryForEveryoneEndsTheProcess) {
    // In a process of its own: this program again, with this case alone and the memory refused.
    if (::GetEnvironmentVariableW(L"MVLIB_TEST_NO_MEMORY", nullptr, 0) > 0) {
        g_world.fails = {"LocalAlloc"};
        AfxAddAccessRights(path.data(), nullptr, 32, 1);
        ::ExitProcess(77);
    }
    wchar_t own[MAX_PATH];
    ::GetModuleFileNameW(nullptr, own, MAX_PATH);
    std::wstring line = L"\"" + std::wstring(own) +
                        L"\" --gtest_filter=CSharingManagerTest.NoMemoryForEveryoneEndsTheProcess";
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    ASSERT_TRUE(::CreatePipe(&read, &write, &inherited, 1 << 16));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdError = write;
    PROCESS_INFORMATION process = {};
    ::SetEnvironmentVariableW(L"MVLIB_TEST_NO_MEMORY", L"1");
    const BOOL started = ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                          &startup, &process);
    ::SetEnvironmentVariableW(L"MVLIB_TEST_NO_MEMORY", nullptr);
    ::CloseHandle(write);
    ASSERT_TRUE(started);
    std::string text;
    char bytes[512];
    for (DWORD got = 0; ::ReadFile(read, bytes, sizeof bytes, &got, nullptr) && got > 0;)
        text.append(bytes, got);
    ::CloseHandle(read);
    EXPECT_EQ(::WaitForSingleObject(process.hProcess, 30000), WAIT_OBJECT_0);
    DWORD code = 0;
    ::GetExitCodeProcess(process.hProcess, &code);
    EXPECT_EQ(code, 1u);
    EXPECT_EQ(text.substr(0, text.find_first_of("\r\n")), "Could not allocate memory.");
    ::CloseHandle(process.hProcess);
    ::CloseHandle(process.hThread);
}
