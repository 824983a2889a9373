#include "COSVersionInfo.h"

#include "SystemName.h"

#include <cstdio>

namespace {

const COSVersionInfo g_system;

// Values of the version record that no header of every target names.
constexpr unsigned int kPlatform9x = 1;
constexpr unsigned int kPlatformNT = 2;
constexpr unsigned int kWorkstation = 1;
constexpr unsigned int kDomainController = 2;
constexpr unsigned int kServer = 3;
constexpr unsigned int kSuiteEnterprise = 0x2;
constexpr unsigned int kSuiteDatacenter = 0x80;
constexpr unsigned int kSuitePersonal = 0x200;
constexpr unsigned int kSuiteBlade = 0x400;

const wchar_t* BaseName(unsigned int major, unsigned int minor) {
    if (major < 5)
        return L"Microsoft Windows NT ";
    if (major == 6)
        return L"Microsoft Windows Vista ";
    if (major == 5) {
        switch (minor) {
        case 0:
            return L"Microsoft Windows 2000 ";
        case 1:
            return L"Microsoft Windows XP ";
        case 2:
            return L"Microsoft Windows Server 2003 ";
        }
    }
    return L"";
}

// The edition by the extended record.
const wchar_t* Edition(const OSVERSIONINFOEXW& record) {
    const unsigned int suite = record.wSuiteMask;
    if (record.wProductType == kWorkstation)
        return (suite & kSuitePersonal) ? L"Personal " : L"Professional ";
    if (record.wProductType != kDomainController && record.wProductType != kServer)
        return L"";
    if (record.dwMajorVersion == 5 && record.dwMinorVersion == 2) {
        if (suite & kSuiteDatacenter)
            return L"Datacenter Edition ";
        if (suite & kSuiteEnterprise)
            return L"Enterprise Edition ";
        return suite == kSuiteBlade ? L"Web Edition " : L"Standard Edition ";
    }
    if (record.dwMajorVersion == 5 && record.dwMinorVersion == 0) {
        if (suite & kSuiteDatacenter)
            return L"Datacenter Server ";
        return (suite & kSuiteEnterprise) ? L"Advanced Server " : L"Server ";
    }
    // Kept: printed instead of appended.
    std::fputs((suite & kSuiteEnterprise) ? "Server 4.0, Enterprise Edition " : "Server 4.0 ", stdout);
    return L"";
}

// The edition of a system that gives no extended record.
const wchar_t* EditionInRegistry(const CString& type) {
    if (type.CompareNoCase(L"WINNT") == 0)
        return L"Workstation ";
    if (type.CompareNoCase(L"LANMANNT") == 0)
        return L"Server ";
    return type.CompareNoCase(L"SERVERNT") == 0 ? L"Advanced Server " : L"";
}

CString NameOf9x(const OSVERSIONINFOEXW& record) {
    const wchar_t release = record.szCSDVersion[0] ? record.szCSDVersion[1] : L'\0';
    if (record.dwMajorVersion != 4)
        return CString();
    switch (record.dwMinorVersion) {
    case 0:
        return CString(L"Microsoft Windows 95 ") + (release == L'C' || release == L'B' ? L"OSR2 " : L"");
    case 10:
        return CString(L"Microsoft Windows 98 ") + (release == L'A' ? L"SE " : L"");
    case 90:
        return L"Microsoft Windows Millennium Edition";
    default:
        return CString();
    }
}

CString ServicePackAndBuild(const wchar_t* servicePack, unsigned int build) {
    CString text;
    text.Format(L"%s (Build %d)", servicePack, static_cast<int>(build));
    return text;
}

CString NameOfNT(const COSVersionInfo& info) {
    CString name = BaseName(info.dwMajorVersion, info.dwMinorVersion);
    if (info.m_bExtesa) {
        name += Edition(info);
    } else {
        CString type;
        if (!ReadProductType(type))
            return CString();
        name += EditionInRegistry(type);
        CString version;
        version.Format(L"%d.%d ", static_cast<int>(info.dwMajorVersion),
                       static_cast<int>(info.dwMinorVersion));
        name += version;
    }
    const bool has6a = info.dwMajorVersion == 4 &&
                       CString(info.szCSDVersion).CompareNoCase(L"Service Pack 6") == 0 && HasServicePack6a();
    return name + ServicePackAndBuild(has6a ? L"Service Pack 6a" : info.szCSDVersion, info.dwBuildNumber);
}

// What DllGetVersion fills.
struct DllVersion {
    DWORD size;
    DWORD major;
    DWORD minor;
    DWORD build;
    DWORD platform;
};
static_assert(sizeof(DllVersion) == 20);

using DllGetVersion_t = HRESULT(CALLBACK*)(DllVersion*);

} // namespace

// ---- The operating system

COSVersionInfo::COSVersionInfo()
    : OSVERSIONINFOEXW() {
    auto* record = reinterpret_cast<OSVERSIONINFOW*>(static_cast<OSVERSIONINFOEXW*>(this));
    dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXW);
    m_bExtesa = ::GetVersionExW(record) ? 1 : 0;
    if (!m_bExtesa) {
        dwOSVersionInfoSize = sizeof(OSVERSIONINFOW);
        ::GetVersionExW(record);
    }
}

int COSVersionInfo::TestVersio(unsigned long dwPlataforma, unsigned long dwMajor, unsigned long dwMinor,
                               int bOPosterior) const {
    if (dwPlatformId != dwPlataforma)
        return 0;
    const bool same = dwMajorVersion == dwMajor && dwMinorVersion == dwMinor;
    const bool later = dwMajorVersion > dwMajor || (dwMajorVersion == dwMajor && dwMinorVersion > dwMinor);
    return same || (bOPosterior && later) ? 1 : 0;
}

int COSVersionInfo::TestVersio9x(unsigned long dwMajor, unsigned long dwMinor, int bOPosterior) const {
    return TestVersio(kPlatform9x, dwMajor, dwMinor, bOPosterior);
}

int COSVersionInfo::TestVersioNT(unsigned long dwMajor, unsigned long dwMinor, int bOPosterior) const {
    return TestVersio(kPlatformNT, dwMajor, dwMinor, bOPosterior);
}

int COSVersionInfo::EsWindows95(int bOPosterior) const {
    return TestVersio9x(4, 0, bOPosterior);
}

int COSVersionInfo::EsWindows98(int bOPosterior) const {
    return TestVersio9x(4, 10, bOPosterior);
}

int COSVersionInfo::EsWindowsMe(int bOPosterior) const {
    return TestVersio9x(4, 90, bOPosterior);
}

int COSVersionInfo::EsWindowsNT351(int bOPosterior) const {
    return TestVersioNT(3, 51, bOPosterior);
}

int COSVersionInfo::EsWindowsNT4(int bOPosterior) const {
    return TestVersioNT(4, 0, bOPosterior);
}

int COSVersionInfo::EsWindows2000(int bOPosterior) const {
    return TestVersioNT(5, 0, bOPosterior);
}

int COSVersionInfo::EsWindowsXP(int bOPosterior) const {
    return TestVersioNT(5, 1, bOPosterior);
}

int COSVersionInfo::EsWindows9x() const {
    return dwPlatformId == kPlatform9x ? 1 : 0;
}

int COSVersionInfo::EsWindowsNT() const {
    return dwPlatformId == kPlatformNT ? 1 : 0;
}

CString COSVersionInfo::GetNom() const {
    switch (dwPlatformId) {
    case 0:
        return L"Microsoft Win32s ";
    case kPlatform9x:
        return NameOf9x(*this);
    case kPlatformNT:
        return NameOfNT(*this);
    default:
        return NameOfOtherSystem(*this);
    }
}

int COSVersionInfo::GetVersio(CString& strVersio) const {
    if (!EsWindowsNT())
        return 0;
    CString text;
    if (dwMajorVersion <= 4)
        text.Format(L"%d.%d ", static_cast<int>(dwMajorVersion), static_cast<int>(dwMinorVersion));
    strVersio = text + ServicePackAndBuild(szCSDVersion, dwBuildNumber);
    return 1;
}

const COSVersionInfo* AfxGetOSVersionInfo() {
    return &g_system;
}

// ---- System DLLs

unsigned long AfxGetShellDllVersion(const wchar_t* szDll) {
    const HMODULE module = ::LoadLibraryW(szDll);
    if (!module)
        return 0;
    unsigned long version = 0;
    if (const FARPROC address = ::GetProcAddress(module, "DllGetVersion")) {
        const auto ask = reinterpret_cast<DllGetVersion_t>(reinterpret_cast<void*>(address));
        DllVersion told = {sizeof told, 0, 0, 0, 0};
        if (ask(&told) >= 0)
            version = static_cast<unsigned long>(told.major) << 16 | told.minor;
    }
    ::FreeLibrary(module);
    return version;
}

int AfxTestShellDllVersion(const wchar_t* szDll, unsigned short wMajor, unsigned short wMinor) {
    return AfxTestShellDllVersion(szDll, static_cast<unsigned long>(wMajor) << 16 | wMinor);
}

int AfxTestShellDllVersion(const wchar_t* szDll, unsigned long dwVersio) {
    return AfxGetShellDllVersion(szDll) >= dwVersio ? 1 : 0;
}
