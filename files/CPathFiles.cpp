// The operations of CPathString on files and folders.
#include "CPathString.h"

#include "COSVersionInfo.h"
#include "FolderEntries.h"
#include "SystemPath.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "afxtempl.h"

namespace {

bool IsEmptyText(const wchar_t* text) {
    return !text || !*text;
}

// A path without its final backslash, unless it is that of a root.
CString WithoutFinalBackslash(const wchar_t* szPath) {
    const CString text(szPath);
    CPathString path(text);
    if (!path.IsRoot())
        CPathString::posarBarraFinal(path, 0);
    return path;
}

DWORD AttributesOf(const CString& path) {
    return path.IsEmpty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(SystemPath(path));
}

bool IsFolder(DWORD attributes) {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Whether a path without a final backslash is that of a link.
bool IsLink(const CString& path) {
    return MvIsLinkAt(SystemPath(path), AttributesOf(path));
}

bool FileData(const wchar_t* path, WIN32_FILE_ATTRIBUTE_DATA& data) {
    return !IsEmptyText(path) && GetFileAttributesExW(SystemPath(path), GetFileExInfoStandard, &data);
}

// A file's version resource.
class VersionResource {
public:
    explicit VersionResource(const wchar_t* path) {
        DWORD unused = 0;
        const SystemPath file(path);
        const DWORD size = IsEmptyText(path) ? 0 : GetFileVersionInfoSizeW(file, &unused);
        m_data.SetSize(static_cast<INT_PTR>(size));
        if (size && !GetFileVersionInfoW(file, 0, size, m_data.GetData()))
            m_data.RemoveAll();
    }

    // The value under a name; null when there is none. `room` says how many bytes there are from it to the
    // end of the resource: the file's own lengths are not to be trusted.
    const BYTE* Query(const wchar_t* name, std::size_t& room) const {
        void* value = nullptr;
        UINT size = 0;
        const BYTE* data = m_data.GetData();
        if (m_data.IsEmpty() || !VerQueryValueW(data, name, &value, &size) || !value)
            return nullptr;
        const BYTE* bytes = static_cast<const BYTE*>(value);
        const BYTE* end = data + m_data.GetSize();
        if (bytes < data || bytes > end)
            return nullptr;
        room = static_cast<std::size_t>(end - bytes);
        return bytes;
    }

    // The same for a value of a fixed size.
    template <class Value>
    bool Read(const wchar_t* name, Value& value) const {
        std::size_t room = 0;
        const BYTE* bytes = Query(name, room);
        if (!bytes || room < sizeof value)
            return false;
        std::memcpy(&value, bytes, sizeof value);
        return true;
    }

private:
    CArray<BYTE> m_data;
};

int VersionText(const wchar_t* path, CString& text) {
    CInfoVersio info;
    if (!CPathString::GetFileVersion(path, info)) {
        return 0;
    }
    text.Format(L"%u.%u.%u", info.m_dwMajor, info.m_dwMinor, info.m_dwBuild);
    text += info.m_bPreRelease ? L"\u00DF" : L"";
    text += info.m_bDebug ? L" (DBG)" : L"";
    return 1;
}

// Removes a link, on whose kind it depends which of the two functions takes it; what it leads to stays.
bool RemoveLink(const CString& path) {
    const SystemPath link(path);
    return RemoveDirectoryW(link) || DeleteFileW(link);
}

// Leaves a folder (ending in a backslash) that is the process's current one.
void LeaveFolder(const CString& folder) {
    CString current = CurrentFolderPath();
    CPathString::posarBarraFinal(current, 1);
    if (current.CompareNoCase(folder) == 0)
        SetCurrentDirectoryW(L"..");
}

// A folder that is to be removed.
struct Doomed {
    CString path; // ends in a backslash
    bool emptied = false;
};

// Deletes the files and links of the last of the folders and adds the folders in it behind it. False when it
// cannot be listed.
bool EmptyLast(CArray<Doomed>& folders) {
    const CString folder = folders[folders.GetUpperBound()].path;
    FolderEntries entries(folder + L"*.*");
    if (!entries.Started())
        return false;
    folders[folders.GetUpperBound()].emptied = true;
    do {
        const CString path = folder + entries.Name();
        if (entries.IsDots())
            continue;
        if (entries.IsLink())
            RemoveLink(path);
        else if (entries.IsFolder())
            folders.Add({path + L"\\"});
        else
            CPathString::Esborrar(path, 0); // Kept: a read-only file stays
    } while (entries.Next());
    return true;
}

// Removes everything inside a folder, whatever the depth; what cannot be removed stays. False when the folder
// itself cannot be listed.
bool EmptyFolder(const CString& path) {
    CArray<Doomed> folders;
    folders.Add({path});
    if (!EmptyLast(folders))
        return false;
    while (folders.GetSize() > 1) {
        const INT_PTR last = folders.GetUpperBound();
        const CString plain = WithoutFinalBackslash(folders[last].path);
        if (folders[last].emptied) {
            LeaveFolder(folders[last].path);
            RemoveDirectoryW(SystemPath(plain));
            folders.RemoveAt(last);
        } else if (IsLink(plain)) {
            // It has been replaced by a link since it was listed.
            RemoveLink(plain);
            folders.RemoveAt(last);
        } else if (!EmptyLast(folders)) {
            folders.RemoveAt(last);
        }
    }
    return true;
}

} // namespace

int CPathString::TestFitxer(const wchar_t* szRuta) {
    if (IsEmptyText(szRuta)) {
        return 0;
    }
    const DWORD attributes = GetFileAttributesW(SystemPath(szRuta));
    return attributes != INVALID_FILE_ATTRIBUTES && !IsFolder(attributes) ? 1 : 0;
}

int CPathString::TestCarpeta(const wchar_t* szRuta) {
    return IsFolder(AttributesOf(WithoutFinalBackslash(szRuta))) ? 1 : 0;
}

unsigned int CPathString::GetMida(const wchar_t* szRuta) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return FileData(szRuta, data) && !IsFolder(data.dwFileAttributes) ? data.nFileSizeLow : 0;
}

int CPathString::GetData(const wchar_t* szRuta, CTime& data, unsigned int nQuina) {
    WIN32_FILE_ATTRIBUTE_DATA status;
    if (nQuina < 1 || nQuina > 3 || !FileData(szRuta, status))
        return 0;
    const FILETIME& time = nQuina == 1   ? status.ftCreationTime
                           : nQuina == 2 ? status.ftLastWriteTime
                                         : status.ftLastAccessTime;
    // A file system that does not keep a time says 0, which is no moment.
    data = time.dwHighDateTime || time.dwLowDateTime ? CTime(time) : CTime();
    return 1;
}

int CPathString::GetFileVersion(const wchar_t* szRuta, CInfoVersio& info) {
    VS_FIXEDFILEINFO fixed;
    if (!VersionResource(szRuta).Read(L"\\", fixed))
        return 0;
    info.m_dwMajor = HIWORD(fixed.dwFileVersionMS);
    info.m_dwMinor = LOWORD(fixed.dwFileVersionMS);
    info.m_dwBuild = HIWORD(fixed.dwFileVersionLS);
    info.m_dwRevisio = LOWORD(fixed.dwFileVersionLS);
    info.m_bDebug = (fixed.dwFileFlags & VS_FF_DEBUG) ? 1 : 0;
    info.m_bPreRelease = (fixed.dwFileFlags & VS_FF_PRERELEASE) ? 1 : 0;
    return 1;
}

int CPathString::GetFileVersion(const wchar_t* szRuta, CString& strVersio) {
    return VersionText(szRuta, strVersio);
}

// Kept: the product version is read as the file version; callers rely on it.
int CPathString::GetProductVersion(const wchar_t* szRuta, CInfoVersio& info) {
    return GetFileVersion(szRuta, info);
}

int CPathString::GetProductVersion(const wchar_t* szRuta, CString& strVersio) {
    return VersionText(szRuta, strVersio);
}

int CPathString::GetStringInformacio(const wchar_t* szRuta, const wchar_t* szClau, CString& strText) {
    const VersionResource resource(szRuta);
    struct {
        WORD language;
        WORD codePage;
    } first;
    if (!resource.Read(L"\\VarFileInfo\\Translation", first))
        return 0;
    CString name;
    name.Format(L"\\StringFileInfo\\%04hx%04hx\\%s", first.language, first.codePage, szClau ? szClau : L"");
    std::size_t room = 0;
    const BYTE* text = resource.Query(name, room);
    if (!text)
        return 0;
    CString found;
    wchar_t unit = 0;
    for (; room >= sizeof unit; text += sizeof unit, room -= sizeof unit) {
        std::memcpy(&unit, text, sizeof unit);
        if (!unit)
            break;
        found += unit;
    }
    strText = found;
    return 1;
}

int CPathString::CrearCarpeta(const wchar_t* szCarpeta) {
    if (IsEmptyText(szCarpeta)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    // The missing folders, the innermost first.
    CArray<CString> missing;
    CString folder = WithoutFinalBackslash(szCarpeta);
    for (;;) {
        const DWORD attributes = AttributesOf(folder);
        if (IsFolder(attributes))
            break;
        if (attributes != INVALID_FILE_ATTRIBUTES) {
            SetLastError(ERROR_FILE_EXISTS);
            return 0;
        }
        missing.Add(folder);
        // Both separate folders where the system is called.
        const int slash = std::max(folder.ReverseFind(L'\\'), folder.ReverseFind(L'/'));
        if (slash <= 0)
            break;
        folder = WithoutFinalBackslash(folder.Left(slash));
    }
    for (INT_PTR i = missing.GetUpperBound(); i >= 0; --i) {
        if (CreateDirectoryW(SystemPath(missing[i]), nullptr))
            continue;
        // Another process may have been faster.
        const DWORD error = GetLastError();
        if (error != ERROR_ALREADY_EXISTS || !IsFolder(AttributesOf(missing[i]))) {
            SetLastError(error);
            return 0;
        }
    }
    return 1;
}

int CPathString::CrearCarpeta() const {
    return CrearCarpeta(GetRuta(0));
}

int CPathString::Esborrar(const wchar_t* szFitxer, int bForcar) {
    if (IsEmptyText(szFitxer)) {
        return 0;
    }
    const SystemPath file(szFitxer);
    if (bForcar) {
        SetFileAttributesW(file, FILE_ATTRIBUTE_NORMAL);
    }
    return DeleteFileW(file) ? 1 : 0;
}

int CPathString::EsborrarCarpeta(const wchar_t* szCarpeta, int bRecursiu) {
    if (IsEmptyText(szCarpeta))
        return 0;
    const CString plain = WithoutFinalBackslash(szCarpeta);
    if (IsLink(plain) && IsFolder(AttributesOf(plain)))
        return RemoveLink(plain) ? 1 : 0;
    CString folder(szCarpeta);
    posarBarraFinal(folder, 1);
    if (bRecursiu && !EmptyFolder(folder))
        return 0;
    LeaveFolder(folder);
    return RemoveDirectoryW(SystemPath(szCarpeta)) ? 1 : 0;
}

int CPathString::EsborrarCarpeta(int bRecursiu) const {
    return EsborrarCarpeta(GetRuta(0), bRecursiu);
}
