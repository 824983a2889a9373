#include "CPathString.h"

#include "SystemPath.h"

#include <cwchar>

#include "win32.h"

namespace {

constexpr std::size_t kPathRoom = 260; // of a full path
constexpr std::size_t kDriveRoom = 3;  // characters with their NUL
constexpr std::size_t kPartRoom = 257;

// A path taken apart; all parts are empty when one is too long.
struct Parts {
    wchar_t drive[kDriveRoom] = L"";
    wchar_t folder[kPartRoom] = L"";
    wchar_t name[kPartRoom] = L"";
    wchar_t extension[kPartRoom] = L"";
    bool known = true;

    explicit Parts(const wchar_t* path) {
        if (_wsplitpath_s(path, drive, kDriveRoom, folder, kPartRoom, name, kPartRoom, extension,
                          kPartRoom) != 0) {
            drive[0] = folder[0] = name[0] = extension[0] = 0;
            known = false;
        }
    }
};

CString MakePath(const wchar_t* drive, const wchar_t* folder, const wchar_t* name, const wchar_t* extension) {
    std::size_t room = sizeof "X:\\.";
    for (const wchar_t* part : {folder, name, extension})
        room += part ? std::wcslen(part) : 0;
    CString path;
    _wmakepath_s(path.GetBuffer(static_cast<int>(room)), room, drive, folder, name, extension);
    path.ReleaseBuffer();
    return path;
}

bool EndsInBackslash(const CString& str) {
    return !str.IsEmpty() && str[str.GetLength() - 1] == L'\\';
}

// Whether a path means the same whatever the current folder is (but for the drive of "\\x").
bool IsAbsolute(const wchar_t* path) {
    return path[0] == L'\\' || path[0] == L'/' || (path[0] && path[1] == L':');
}

// Makes another folder the current one while it lives.
class CurrentFolder {
public:
    explicit CurrentFolder(const CString& folder)
        : m_previous(CurrentFolderPath())
        , m_entered(SetCurrentDirectoryW(folder) != FALSE) {}
    ~CurrentFolder() {
        if (m_entered && !m_previous.IsEmpty())
            SetCurrentDirectoryW(m_previous);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

    bool Entered() const { return m_entered; }

private:
    CString m_previous;
    bool m_entered;
};

CPathString AbsolutePath(const wchar_t* path) {
    wchar_t full[kPathRoom];
    return _wfullpath(full, path, kPathRoom) ? CPathString(CString(full)) : CPathString();
}

} // namespace

CPathString::CPathString(const wchar_t* szNom, const wchar_t* szCarpeta) {
    const CString name = AfxNetejarPath(szNom);
    CString folder = AfxNetejarPath(szCarpeta);
    if (!folder.IsEmpty()) {
        posarBarraFinal(folder, 1);
    }
    CString::operator=(folder + name);
}

CPathString::CPathString(HINSTANCE hModule) {
    wchar_t path[kPathRoom + 1] = L"";
    const DWORD length = ::GetModuleFileNameW(hModule, path, kPathRoom);
    path[length < kPathRoom ? length : kPathRoom] = 0;
    CString::operator=(path);
}

CPathString::CPathString(const wchar_t* szUnitat, const wchar_t* szDirectori, const wchar_t* szNom,
                         const wchar_t* szExtensio)
    : CString(MakePath(szUnitat, szDirectori, szNom, szExtensio)) {}

CPathString::CPathString(const wchar_t* szPrefix, unsigned int nUnic) {
    GetTempFileNameW(szPrefix, nUnic);
}

CPathString& CPathString::operator=(const CString& strRuta) {
    CString::operator=(strRuta);
    return *this;
}

CPathString& CPathString::operator=(const wchar_t* szRuta) {
    CString::operator=(szRuta);
    return *this;
}

void CPathString::SplitPath(CString* pUnitat, CString* pDirectori, CString* pNom, CString* pExtensio) const {
    const Parts parts(GetString());
    const auto give = [](CString* out, const wchar_t* part) {
        if (out) {
            *out = part;
        }
    };
    give(pUnitat, parts.drive);
    give(pDirectori, parts.folder);
    give(pNom, parts.name);
    give(pExtensio, parts.extension);
}

CString CPathString::GetUnitat() const {
    return Parts(GetString()).drive;
}

CString CPathString::GetDirectori(int bBarra) const {
    CString folder(Parts(GetString()).folder);
    posarBarraFinal(folder, bBarra);
    return folder;
}

CString CPathString::GetRuta(int bBarra) const {
    const Parts parts(GetString());
    CString path = CString(parts.drive) + parts.folder;
    posarBarraFinal(path, bBarra);
    return path;
}

CString CPathString::GetNomFitxer() const {
    return Parts(GetString()).name;
}

CString CPathString::GetFitxer() const {
    const Parts parts(GetString());
    return CString(parts.name) + parts.extension;
}

CString CPathString::GetExtensio(int bPunt) const {
    const CString extension(Parts(GetString()).extension);
    if (bPunt) {
        return extension.IsEmpty() ? CString(L".") : extension; // Kept: never empty
    }
    return extension.Mid(1);
}

int CPathString::IsRoot() const {
    const CString& path = *this;
    const int length = path.GetLength();
    if (length == 1) {
        return path[0] == L'\\' ? 1 : 0;
    }
    return (length == 2 && path[1] == L':') || (length == 3 && path[1] == L':' && path[2] == L'\\') ? 1 : 0;
}

CPathString CPathString::Substituir(const wchar_t* szUnitat, const wchar_t* szDirectori, const wchar_t* szNom,
                                    const wchar_t* szExtensio) const {
    const Parts parts(GetString());
    return CPathString(szUnitat ? szUnitat : parts.drive, szDirectori ? szDirectori : parts.folder,
                       szNom ? szNom : parts.name, szExtensio ? szExtensio : parts.extension);
}

CPathString CPathString::Cd(const wchar_t* szCarpeta) const {
    const wchar_t* target = szCarpeta ? szCarpeta : L"";
    CString folder(Parts(GetString()).folder);
    if (target[0] == L'\\') {
        folder = target;
    } else {
        // Kept: the character before the end is read without asking for one.
        const bool ended = folder.GetAt(folder.GetLength() - 1) == L'\\';
        if (std::wcscmp(target, L"..") == 0) {
            if (ended) {
                folder = folder.Left(folder.GetLength() - 1);
            }
            folder = folder.Left(folder.ReverseFind(L'\\') + 1);
        } else {
            folder += ended ? L"" : L"\\";
            folder += target;
        }
    }
    posarBarraFinal(folder, 1);
    return Substituir(nullptr, folder, nullptr, nullptr);
}

CPathString CPathString::FullPath(const wchar_t* szRuta, const wchar_t* szBase) {
    const wchar_t* path = szRuta ? szRuta : L"";
    const Parts base(szBase ? szBase : L"");
    const CString folder = CString(base.drive) + base.folder;
    if (!base.known)
        return IsAbsolute(path) ? AbsolutePath(path) : CPathString();
    if (folder.IsEmpty())
        return AbsolutePath(path);
    const CurrentFolder entered(folder);
    return entered.Entered() || IsAbsolute(path) ? AbsolutePath(path) : CPathString();
}

void CPathString::posarBarraFinal(CString& str, int bBarra) {
    if (EndsInBackslash(str)) {
        if (!bBarra) {
            str.Truncate(str.GetLength() - 1);
        }
    } else if (bBarra) {
        str += L'\\';
    }
}

CString AfxNetejarPath(const wchar_t* szRuta) {
    CString path(szRuta);
    if (!path.IsEmpty() && path[0] == L'"') {
        path.Delete(0);
    }
    if (!path.IsEmpty() && path[path.GetLength() - 1] == L'"') {
        path.Truncate(path.GetLength() - 1);
    }
    return path;
}
