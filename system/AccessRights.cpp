// Access lists of Windows.
#include "CSharingManager.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr DWORD identifierSize = 68; // the most that an identifier takes

// Memory of the process heap.
class HeapBlock {
public:
    HeapBlock() = default;
    ~HeapBlock() {
        if (m_block)
            ::HeapFree(::GetProcessHeap(), 0, m_block);
    }
    HeapBlock(const HeapBlock&) = delete;
    HeapBlock& operator=(const HeapBlock&) = delete;
    bool Allocate(DWORD size) {
        m_block = ::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, size);
        return m_block != nullptr;
    }
    void* Get() const { return m_block; }

private:
    void* m_block = nullptr;
};

struct LocalBlock {
    explicit LocalBlock(DWORD size)
        : block(::LocalAlloc(LPTR, size)) {}
    ~LocalBlock() { ::LocalFree(block); }
    LocalBlock(const LocalBlock&) = delete;
    LocalBlock& operator=(const LocalBlock&) = delete;
    HLOCAL block;
};

// Tells which call failed, with its error. Always false.
bool Failed(const char* format) {
    std::printf(format, static_cast<int>(::GetLastError()));
    return false;
}

// The identifier of an account.
bool LookUp(const wchar_t* user, HeapBlock& identifier) {
    DWORD size = 0;
    DWORD domainLength = 0;
    SID_NAME_USE use = SidTypeUnknown;
    if (::LookupAccountNameW(nullptr, user, nullptr, &size, nullptr, &domainLength, &use) ||
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return Failed("LookupAccountName() failed. Error %d\n");
    HeapBlock domain;
    if (!identifier.Allocate(size) || !domain.Allocate(domainLength * sizeof(wchar_t)))
        return Failed("HeapAlloc() failed. Error %d\n");
    if (!::LookupAccountNameW(nullptr, user, identifier.Get(), &size, static_cast<wchar_t*>(domain.Get()),
                              &domainLength, &use))
        return Failed("LookupAccountName() failed. Error %d\n");
    return true;
}

bool ReadDescriptor(const wchar_t* file, HeapBlock& descriptor) {
    DWORD size = 0;
    if (!::GetFileSecurityW(file, DACL_SECURITY_INFORMATION, nullptr, 0, &size) &&
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return Failed("GetFileSecurity() failed. Error %d\n");
    if (!descriptor.Allocate(size))
        return Failed("HeapAlloc() failed. Error %d\n");
    if (!::GetFileSecurityW(file, DACL_SECURITY_INFORMATION, descriptor.Get(), size, &size))
        return Failed("GetFileSecurity() failed. Error %d\n");
    return true;
}

// How far into an entry its identifier begins; 0 for types without one.
std::size_t IdentifierOffset(const ACE_HEADER& entry) {
    // Allowed, denied, audit, alarm: plain, for objects of a kind, with a condition, and both.
    if (entry.AceType <= 3 || (entry.AceType >= 9 && entry.AceType <= 10) ||
        (entry.AceType >= 13 && entry.AceType <= 14))
        return offsetof(ACCESS_ALLOWED_ACE, SidStart);
    if (entry.AceType == 4 || entry.AceType > 16 || entry.AceSize < sizeof(ACCESS_ALLOWED_ACE))
        return 0;
    const DWORD flags = reinterpret_cast<const ACCESS_ALLOWED_OBJECT_ACE&>(entry).Flags;
    return offsetof(ACCESS_ALLOWED_OBJECT_ACE, ObjectType) +
           (flags & ACE_OBJECT_TYPE_PRESENT ? sizeof(GUID) : 0) +
           (flags & ACE_INHERITED_OBJECT_TYPE_PRESENT ? sizeof(GUID) : 0);
}

// Whether the entry is for the identifier. One that is too short for the identifier that it begins is not.
bool IsFor(const ACE_HEADER& entry, PSID identifier) {
    const std::size_t offset = IdentifierOffset(entry);
    if (offset == 0 || entry.AceSize < offset + ::GetSidLengthRequired(0))
        return false;
    auto* const own = reinterpret_cast<SID*>(reinterpret_cast<ULONG_PTR>(&entry) + offset);
    return entry.AceSize >= offset + ::GetSidLengthRequired(own->SubAuthorityCount) &&
           ::EqualSid(identifier, own);
}

// Copies the old list's entries from `index` on, up to the first inherited one if `onlyExplicit`, without
// those of the identifier then. `index` is where it stopped.
bool CopyEntries(PACL from, DWORD count, DWORD& index, bool onlyExplicit, PSID identifier, PACL to) {
    for (; index < count; ++index) {
        void* entry = nullptr;
        if (!::GetAce(from, index, &entry))
            return Failed("GetAce() failed. Error %d\n");
        const auto& header = *static_cast<const ACE_HEADER*>(entry);
        if (onlyExplicit) {
            if (header.AceFlags & INHERITED_ACE)
                break;
            if (IsFor(header, identifier))
                continue;
        }
        if (!::AddAce(to, ACL_REVISION, MAXDWORD, entry, header.AceSize))
            return Failed("AddAce() failed. Error %d\n");
    }
    return true;
}

// The old list with the trustee's explicit entries replaced by the new one.
bool MakeList(PACL old, PSID identifier, unsigned long access, HeapBlock& list) {
    ACL_SIZE_INFORMATION info = {};
    info.AclBytesInUse = sizeof(ACL);
    if (old && !::GetAclInformation(old, &info, sizeof info, AclSizeInformation))
        return Failed("GetAclInformation() failed. Error %d\n");
    const DWORD size =
        info.AclBytesInUse + sizeof(ACCESS_ALLOWED_ACE) + ::GetLengthSid(identifier) - sizeof(DWORD);
    if (!list.Allocate(size))
        return Failed("HeapAlloc() failed. Error %d\n");
    const auto made = static_cast<PACL>(list.Get());
    if (!::InitializeAcl(made, size, ACL_REVISION))
        return Failed("InitializeAcl() failed. Error %d\n");
    DWORD index = 0;
    if (!CopyEntries(old, info.AceCount, index, true, identifier, made))
        return false;
    if (!::AddAccessAllowedAce(made, ACL_REVISION, static_cast<DWORD>(access), identifier))
        return Failed("AddAccessAllowedAce() failed. Error %d\n");
    return CopyEntries(old, info.AceCount, index, false, identifier, made);
}

// Takes over how the old list stands to those above it.
bool CopyControl(PSECURITY_DESCRIPTOR from, PSECURITY_DESCRIPTOR to) {
    using SetControl =
        BOOL(WINAPI*)(PSECURITY_DESCRIPTOR, SECURITY_DESCRIPTOR_CONTROL, SECURITY_DESCRIPTOR_CONTROL);
    const FARPROC found =
        ::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "SetSecurityDescriptorControl");
    if (!found)
        return true;
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    if (!::GetSecurityDescriptorControl(from, &control, &revision))
        return Failed("GetSecurityDescriptorControl() failed.Error %d\n");
    control &= SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED;
    const auto set = reinterpret_cast<SetControl>(reinterpret_cast<void*>(found));
    if (control && !set(to, control, control))
        return Failed("SetSecurityDescriptorControl() failed.Error %d\n");
    return true;
}

bool AddEntry(const wchar_t* file, PSID identifier, unsigned long access) {
    HeapBlock oldDescriptor;
    if (!ReadDescriptor(file, oldDescriptor))
        return false;
    SECURITY_DESCRIPTOR descriptor;
    if (!::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION))
        return Failed("InitializeSecurityDescriptor() failed.Error %d\n");
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL old = nullptr;
    if (!::GetSecurityDescriptorDacl(oldDescriptor.Get(), &present, &old, &defaulted))
        return Failed("GetSecurityDescriptorDacl() failed. Error %d\n");
    HeapBlock list;
    if (!MakeList(present ? old : nullptr, identifier, access, list))
        return false;
    if (!::SetSecurityDescriptorDacl(&descriptor, TRUE, static_cast<PACL>(list.Get()), FALSE))
        return Failed("SetSecurityDescriptorDacl() failed. Error %d\n");
    if (!CopyControl(oldDescriptor.Get(), &descriptor))
        return false;
    if (!::SetFileSecurityW(file, DACL_SECURITY_INFORMATION, &descriptor))
        return Failed("SetFileSecurity() failed. Error %d\n");
    return true;
}

} // namespace

int CSharingManager::AddAccessRights(wchar_t* szFitxer, wchar_t* szUsuari, unsigned long dwDrets,
                                     int bTothom) {
    if (!bTothom) {
        HeapBlock identifier;
        return LookUp(szUsuari, identifier) && AddEntry(szFitxer, identifier.Get(), dwDrets);
    }
    const LocalBlock everyone(identifierSize);
    if (!everyone.block) {
        std::fprintf(stderr, "Could not allocate memory.\n");
        std::exit(1);
    }
    DWORD size = identifierSize;
    // Kept: the work goes on all the same, with an identifier of nobody, which the next calls refuse.
    if (!::CreateWellKnownSid(WinWorldSid, nullptr, everyone.block, &size))
        std::fprintf(stderr, "CreateWellKnownSid Error %u", static_cast<unsigned>(::GetLastError()));
    return AddEntry(szFitxer, everyone.block, dwDrets);
}
