#include "TCarpetaRegistry.h"

#include "config/Utf16Data.h"

#include "afxwin.h"

#include <climits>
#include <cstring>
#include <memory>

namespace {

constexpr unsigned long ModeCreate = 1;
constexpr unsigned long ModeRead = 2;

constexpr int NoOpen = -2500;
constexpr int NoWrite = -2503;
constexpr int NoDeleteValue = -2504;
constexpr int NoDeleteKey = -2505;
constexpr int DefaultGiven = 2500;

constexpr UINT IdTitle = 57344;
constexpr int TitleLength = 256;

constexpr DWORD IndexNameLength = 1024;
constexpr DWORD EnumValueLength = 512;
constexpr DWORD EnumKeyLength = 260;

// An opening that is taken back at the end of its scope.
class Opened {
public:
    Opened(TCarpetaRegistry& folder, unsigned long mode)
        : m_folder(folder.Obrir(mode) ? &folder : nullptr) {}
    ~Opened() {
        if (m_folder) {
            const DWORD error = ::GetLastError();
            m_folder->Tancar();
            ::SetLastError(error);
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    explicit operator bool() const { return m_folder != nullptr; }
    void Keep() { m_folder = nullptr; }

private:
    TCarpetaRegistry* m_folder;
};

// True for success; else the error becomes the thread's last one.
bool succeeded(LONG error) {
    if (error != ERROR_SUCCESS)
        ::SetLastError(static_cast<DWORD>(error));
    return error == ERROR_SUCCESS;
}

// A name of up to `Length` characters from an enumeration.
template <DWORD Length>
struct Name {
    wchar_t text[Length + 1];
    DWORD size = Length + 1;
};

LONG enumValue(HKEY key, DWORD index, Name<EnumValueLength>& name, DWORD& type) {
    return ::RegEnumValueW(key, index, name.text, &name.size, nullptr, &type, nullptr, nullptr);
}

void copyValue(HKEY from, HKEY to, const wchar_t* name) {
    // A value that grows between both questions is asked for again.
    std::unique_ptr<void, void (*)(void*)> data(nullptr, std::free);
    for (;;) {
        DWORD type = 0;
        DWORD size = 0;
        if (!succeeded(::RegQueryValueExW(from, name, nullptr, &type, nullptr, &size)))
            return;
        data.reset(std::malloc(std::size_t(size) + 2));
        if (!data) {
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return;
        }
        const LONG error =
            ::RegQueryValueExW(from, name, nullptr, &type, static_cast<BYTE*>(data.get()), &size);
        if (error == ERROR_MORE_DATA)
            continue;
        if (succeeded(error)) {
            // The system looks behind the data of a text without a NUL, and would store one that it finds
            // there.
            std::memset(static_cast<BYTE*>(data.get()) + size, 0xFF, 2);
            succeeded(::RegSetValueExW(to, name, 0, type, static_cast<BYTE*>(data.get()), size));
        }
        return;
    }
}

} // namespace

CString TCarpetaRegistry::g_strCarpetaBaseApp;

// ---- Construction and paths

TCarpetaRegistry::TCarpetaRegistry(const wchar_t* szCarpeta, HKEY hBase, int nOpcions)
    : m_hClauBase(hBase)
    , m_hClau(nullptr)
    , m_sa{12, nullptr, TRUE} // its size on Windows
    , m_nOpcions(nOpcions)
    , m_nObertures(0) {
    if (!szCarpeta)
        m_strCarpeta = ConstruirCarpetaApp(nullptr);
    else if (*szCarpeta == L'.')
        m_strCarpeta = ConstruirCarpetaApp(szCarpeta + 1);
    else
        m_strCarpeta = szCarpeta;
}

TCarpetaRegistry::TCarpetaRegistry(const TCarpetaRegistry* pPare, const wchar_t* szNom)
    : m_hClauBase(pPare->m_hClauBase)
    , m_strCarpeta(pPare->m_strCarpeta + L"\\" + CString(szNom))
    , m_hClau(nullptr)
    , m_sa{12, nullptr, TRUE}
    , m_nOpcions(0)
    , m_nObertures(0) {}

TCarpetaRegistry::~TCarpetaRegistry() {
    while (m_hClau)
        TCarpetaRegistry::Tancar();
}

CString TCarpetaRegistry::ConstruirCarpetaApp(const wchar_t* szSub) {
    CString path = g_strCarpetaBaseApp;
    if (path.IsEmpty()) {
        const CWinApp* app = AfxGetApp();
        if (app && app->m_pszRegistryKey && app->m_pszProfileName) {
            path.Format(L"Software\\%s\\%s", app->m_pszRegistryKey, app->m_pszProfileName);
        } else {
            wchar_t title[TitleLength + 1] = {};
            ::LoadStringW(::GetModuleHandleW(nullptr), IdTitle, title, TitleLength + 1);
            path.Format(L"Software\\Mirvanet\\%s", title);
        }
    }
    if (szSub && *szSub) {
        if (*szSub != L'\\')
            path += L'\\';
        path += szSub;
    }
    return path;
}

void TCarpetaRegistry::SetCarpetaBaseApp(const wchar_t* szCarpeta) {
    g_strCarpetaBaseApp = szCarpeta;
}

CString TCarpetaRegistry::GetCarpetaBaseApp() {
    return g_strCarpetaBaseApp;
}

int TCarpetaRegistry::SetClauBase(HKEY hBase) {
    m_hClauBase = hBase;
    return 0;
}

TCarpetaRegistry* TCarpetaRegistry::GetSubcarpeta(const wchar_t* szNom) {
    auto sub = std::make_unique<TCarpetaRegistry>(this, szNom);
    sub->m_nOpcions = m_nOpcions;
    return sub.release();
}

// ---- Opening

int TCarpetaRegistry::Obrir(unsigned long nMode) {
    if (m_hClau) {
        ++m_nObertures;
        return 1;
    }
    HKEY key = nullptr;
    const REGSAM access = (nMode & ModeRead) != 0 ? KEY_READ : KEY_ALL_ACCESS;
    LONG error = ::RegOpenKeyExW(m_hClauBase, m_strCarpeta, 0, access, &key);
    if (error == ERROR_FILE_NOT_FOUND && (nMode & ModeCreate) != 0) {
        wchar_t noClass[] = L"";
        error = ::RegCreateKeyExW(m_hClauBase, m_strCarpeta, 0, noClass, REG_OPTION_NON_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr);
    }
    if (!succeeded(error))
        return 0;
    m_hClau = key;
    m_nObertures = 1;
    return 1;
}

int TCarpetaRegistry::Tancar() {
    if (!m_hClau || --m_nObertures > 0)
        return 1;
    succeeded(::RegCloseKey(m_hClau));
    m_hClau = nullptr;
    return 1;
}

// ---- Writing

int TCarpetaRegistry::escriure(const wchar_t* szNom, DWORD nTipus, const void* pDades, DWORD nMida) {
    const Opened open(*this, ModeCreate);
    if (!open)
        return NoOpen;
    return succeeded(::RegSetValueExW(m_hClau, szNom, 0, nTipus, static_cast<const BYTE*>(pDades), nMida))
               ? 0
               : NoWrite;
}

int TCarpetaRegistry::escriureNumero(const wchar_t* szNom, DWORD dwValor) {
    const BYTE data[] = {static_cast<BYTE>(dwValor), static_cast<BYTE>(dwValor >> 8),
                         static_cast<BYTE>(dwValor >> 16), static_cast<BYTE>(dwValor >> 24)};
    return escriure(szNom, REG_DWORD, data, sizeof data);
}

int TCarpetaRegistry::escriureReal(const wchar_t* szNom, double dValor) {
    CString text;
    text.Format(L"%f", dValor);
    return EntraValor(szNom, text.GetString());
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, const wchar_t* szValor) {
    if (!szValor)
        szValor = L"";
    const mvlib::Utf16Data data(szValor, std::wcslen(szValor) + 1);
    return escriure(szNom, REG_SZ, data.Data(), static_cast<DWORD>(data.Size()));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, float fValor) {
    return escriureReal(szNom, static_cast<double>(fValor));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, double dValor) {
    return escriureReal(szNom, dValor);
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, unsigned long dwValor) {
    return escriureNumero(szNom, static_cast<DWORD>(dwValor));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, int nValor) {
    return escriureNumero(szNom, static_cast<DWORD>(nValor));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, long lValor) {
    return escriureNumero(szNom, static_cast<DWORD>(lValor));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, short nValor) {
    return escriureNumero(szNom, static_cast<DWORD>(static_cast<int>(nValor)));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, unsigned short wValor) {
    return escriureNumero(szNom, wValor);
}

// Kept: the buffer's size in characters is taken for its size in bytes.
int TCarpetaRegistry::EntraValor(const wchar_t* szNom, const CMultiString& ms) {
    const mvlib::Utf16Data data(ms, static_cast<std::size_t>(ms.GetMidaBuffer()));
    return escriure(szNom, REG_MULTI_SZ, data.Data(), static_cast<DWORD>(data.Size() / 2));
}

int TCarpetaRegistry::EntraValor(const wchar_t* szNom, void* pDades, unsigned long nMida) {
    return escriure(szNom, REG_BINARY, pDades, static_cast<DWORD>(nMida));
}

// ---- Reading

// The data of a value in a block from malloc; null, and the last error, when it cannot be had.
void* TCarpetaRegistry::llegir(const wchar_t* szNom, unsigned long nMode, DWORD& nTipus, DWORD& nMida) {
    const Opened open(*this, nMode);
    if (!open)
        return nullptr;
    // A value that grows between both questions is asked for again.
    for (;;) {
        if (!succeeded(::RegQueryValueExW(m_hClau, szNom, nullptr, &nTipus, nullptr, &nMida)))
            return nullptr;
        void* data = std::malloc(nMida > 0 ? nMida : 1);
        if (!data) {
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        const LONG error =
            ::RegQueryValueExW(m_hClau, szNom, nullptr, &nTipus, static_cast<BYTE*>(data), &nMida);
        if (error == ERROR_SUCCESS)
            return data;
        std::free(data);
        if (error != ERROR_MORE_DATA) {
            succeeded(error);
            return nullptr;
        }
    }
}

int TCarpetaRegistry::llegirNumero(const wchar_t* szNom, DWORD& dwValor) {
    const Opened open(*this, ModeRead);
    BYTE data[4] = {};
    DWORD size = sizeof data;
    if (!open || !succeeded(::RegQueryValueExW(m_hClau, szNom, nullptr, nullptr, data, &size)))
        return 0;
    dwValor = 0;
    for (DWORD i = 0; i < size; ++i)
        dwValor |= static_cast<DWORD>(data[i]) << (8 * i);
    return 1;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, short& nValor, short nDefecte) {
    DWORD value = 0;
    const int found = llegirNumero(szNom, value);
    nValor = found ? static_cast<short>(value) : nDefecte;
    return found ? 0 : DefaultGiven;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, unsigned short& wValor, unsigned short wDefecte) {
    DWORD value = 0;
    const int found = llegirNumero(szNom, value);
    wValor = found ? static_cast<unsigned short>(value) : wDefecte;
    return found ? 0 : DefaultGiven;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, int& nValor, int nDefecte) {
    DWORD value = 0;
    const int found = llegirNumero(szNom, value);
    nValor = found ? static_cast<int>(value) : nDefecte;
    return found ? 0 : DefaultGiven;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, long& lValor, long lDefecte) {
    DWORD value = 0;
    const int found = llegirNumero(szNom, value);
    lValor = found ? static_cast<int>(value) : lDefecte;
    return found ? 0 : DefaultGiven;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, unsigned long& dwValor, unsigned long dwDefecte) {
    DWORD value = 0;
    const int found = llegirNumero(szNom, value);
    dwValor = found ? value : dwDefecte;
    return found ? 0 : DefaultGiven;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, float& fValor, float fDefecte) {
    double value = 0.0;
    const int result = TornaValor(szNom, value, static_cast<double>(fDefecte));
    fValor = static_cast<float>(value);
    return result;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, double& dValor, double dDefecte) {
    CString text;
    const int result = TornaValor(szNom, text, nullptr);
    dValor = result == 0 ? ::_wtof(text) : dDefecte;
    return result;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, CString& strValor, const wchar_t* szDefecte) {
    DWORD type = 0;
    DWORD size = 0;
    const std::unique_ptr<void, void (*)(void*)> data(llegir(szNom, ModeRead, type, size), std::free);
    if (!data || size / 2 > INT_MAX - 1) {
        strValor = szDefecte;
        return DefaultGiven;
    }
    wchar_t* text = strValor.GetBuffer(static_cast<int>(size / 2) + 1);
    text[mvlib::DecodeUtf16(static_cast<const unsigned char*>(data.get()), size, text)] = 0;
    strValor.ReleaseBuffer();
    return 0;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, CMultiString& ms, const wchar_t* szDefecte) {
    DWORD type = 0;
    DWORD size = 0;
    const std::unique_ptr<void, void (*)(void*)> data(llegir(szNom, 0, type, size), std::free);
    if (!data || size / 2 > INT_MAX - 2) {
        ms.Set(szDefecte);
        return DefaultGiven;
    }
    // The data need not end in two NULs.
    const int units = static_cast<int>(size / 2) + 2;
    CMultiString whole;
    wchar_t* text = whole.GetBuffer(units);
    std::wmemset(text, 0, static_cast<std::size_t>(units));
    mvlib::DecodeUtf16(static_cast<const unsigned char*>(data.get()), size, text);
    ms.Set(text);
    return 0;
}

int TCarpetaRegistry::TornaValor(const wchar_t* szNom, void* pDades, unsigned long& nMida, void* pDefecte) {
    const unsigned long room = nMida;
    DWORD size = static_cast<DWORD>(room);
    {
        const Opened open(*this, ModeRead);
        if (open && succeeded(::RegQueryValueExW(m_hClau, szNom, nullptr, nullptr, static_cast<BYTE*>(pDades),
                                                 &size))) {
            nMida = size;
            return 0;
        }
    }
    nMida = size;
    if (pDades && pDefecte)
        std::memcpy(pDades, pDefecte, nMida < room ? nMida : room);
    return DefaultGiven;
}

void* TCarpetaRegistry::TornaValorBin(const wchar_t* szNom, unsigned long& nMida) {
    nMida = 0;
    DWORD type = 0;
    DWORD size = 0;
    void* data = llegir(szNom, ModeRead, type, size);
    if (!data)
        return nullptr;
    if (type != REG_BINARY) {
        std::free(data);
        return nullptr;
    }
    nMida = size;
    return data;
}

int TCarpetaRegistry::TornaValorInt(const wchar_t* szNom, int nDefecte) {
    int value = 0;
    TornaValor(szNom, value, nDefecte);
    return value;
}

int TCarpetaRegistry::TornaValorBool(const wchar_t* szNom, int bDefecte) {
    return TornaValorInt(szNom, bDefecte);
}

double TCarpetaRegistry::TornaValorReal(const wchar_t* szNom, double dDefecte) {
    double value = 0.0;
    TornaValor(szNom, value, dDefecte);
    return value;
}

CString TCarpetaRegistry::TornaValorString(const wchar_t* szNom, const wchar_t* szDefecte) {
    CString value;
    TornaValor(szNom, value, szDefecte);
    return value;
}

// ---- Values and sub-folders

int TCarpetaRegistry::BorrarValor(const wchar_t* szNom) {
    Opened open(*this, 0);
    if (!open)
        return 0;
    if (szNom != TotsElsValors()) {
        if (succeeded(::RegDeleteValueW(m_hClau, szNom)))
            return 0;
        open.Keep(); // Kept: applications see the folder open one level deeper
        return NoDeleteValue;
    }
    CMultiString names;
    wchar_t name[512] = {};
    DWORD size = 512;
    for (DWORD i = 0;; ++i) {
        // Kept: the size is not set anew, so a name that is not shorter than the one before does not fit, and
        // what the buffer then holds is taken for it.
        const LONG error = ::RegEnumValueW(m_hClau, i, name, &size, nullptr, nullptr, nullptr, nullptr);
        if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
            break;
        names += name;
    }
    for (int i = 0; i < names.GetNumStr(); ++i)
        succeeded(::RegDeleteValueW(m_hClau, names[i]));
    return 0;
}

int TCarpetaRegistry::GetNomValorIndex(unsigned long i, CString& str) {
    const Opened open(*this, ModeRead);
    if (!open)
        return 0;
    Name<IndexNameLength> name;
    if (!succeeded(::RegEnumValueW(m_hClau, static_cast<DWORD>(i), name.text, &name.size, nullptr, nullptr,
                                   nullptr, nullptr)))
        return 0;
    str = name.text;
    return 1;
}

int TCarpetaRegistry::GetNomCarpetaIndex(unsigned long i, CString& str) {
    const Opened open(*this, ModeRead);
    if (!open)
        return 0;
    Name<IndexNameLength> name;
    if (!succeeded(::RegEnumKeyExW(m_hClau, static_cast<DWORD>(i), name.text, &name.size, nullptr, nullptr,
                                   nullptr, nullptr)))
        return 0;
    str = name.text;
    return 1;
}

int TCarpetaRegistry::EnumValors(PFNENUMVALORS pfn, long lUser, unsigned long nMode) {
    const Opened open(*this, nMode);
    if (!open)
        return 0;
    int result = 0;
    for (DWORD i = 0; result >= 0; ++i) {
        Name<EnumValueLength> name;
        DWORD type = 0;
        const LONG error = enumValue(m_hClau, i, name, type);
        if (error == ERROR_MORE_DATA)
            continue; // a name that is too long; others follow
        if (error != ERROR_SUCCESS)
            break;
        result = pfn(this, name.text, type, lUser);
    }
    return result;
}

int TCarpetaRegistry::EnumSubcarpetes(PFNENUMCARPETES pfn, long lUser, unsigned long nMode) {
    const Opened open(*this, nMode);
    if (!open)
        return 0;
    int result = 0;
    for (DWORD i = 0; result >= 0; ++i) {
        Name<EnumKeyLength> name;
        if (::RegEnumKeyExW(m_hClau, i, name.text, &name.size, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        result = pfn(this, name.text, lUser);
    }
    return result;
}

// ---- Whole folders

// The sub-folders' names are collected before the target is made, so that a copy into the copied folder
// itself ends.
int TCarpetaRegistry::CopiarCarpeta(const wchar_t* szNom, TCarpetaRegistry* pDesti) {
    if (!pDesti)
        return 0;
    const std::unique_ptr<TCarpetaRegistry> source(GetSubcarpeta(szNom));
    source->Obrir(ModeRead); // Kept: a missing source copies nothing and is no failure
    CMultiString folders;
    CString name;
    for (unsigned long i = 0; source->m_hClau && source->GetNomCarpetaIndex(i, name); ++i)
        folders += name;
    const std::unique_ptr<TCarpetaRegistry> target(pDesti->GetSubcarpeta(szNom));
    const int result = target->Obrir(ModeCreate);
    for (DWORD i = 0; source->m_hClau; ++i) {
        Name<EnumValueLength> value;
        DWORD type = 0;
        const LONG error = enumValue(source->m_hClau, i, value, type);
        if (error == ERROR_SUCCESS && target->m_hClau)
            copyValue(source->m_hClau, target->m_hClau, value.text);
        else if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
            break;
    }
    for (int i = 0; i < folders.GetNumStr(); ++i)
        source->CopiarCarpeta(folders[i], target.get());
    return result;
}

int TCarpetaRegistry::BorrarCarpeta(const wchar_t* szNom) {
    if (szNom)
        return TCarpetaRegistry(this, szNom).BorrarCarpeta(nullptr);
    CString name;
    while (GetNomValorIndex(0, name)) {
        // BorrarValor would answer 0 for a folder that may only be read, and this loop never end.
        const Opened open(*this, 0);
        if (!open)
            return NoOpen;
        const int result = BorrarValor(name);
        if (result < 0)
            return result;
    }
    while (GetNomCarpetaIndex(0, name)) {
        const int result = BorrarCarpeta(name);
        if (result < 0)
            return result;
    }
    return succeeded(::RegDeleteKeyW(m_hClauBase, m_strCarpeta)) ? 0 : NoDeleteKey;
}
