#include "TIteradorFitxers.h"

#include "CPathString.h"
#include "FolderEntries.h"
#include "SystemPath.h"

#include "win32.h"

namespace {

constexpr int kUnfinished = -5;

// Which folder it is, whatever its name.
struct Identity {
    bool known = false;
    DWORD volume = 0;
    DWORD high = 0;
    DWORD low = 0;

    explicit Identity(const CString& folder) {
        const HANDLE handle =
            CreateFileW(SystemPath(folder), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (handle == INVALID_HANDLE_VALUE)
            return;
        BY_HANDLE_FILE_INFORMATION information;
        known = GetFileInformationByHandle(handle, &information) != FALSE;
        if (known) {
            volume = information.dwVolumeSerialNumber;
            high = information.nFileIndexHigh;
            low = information.nFileIndexLow;
        }
        CloseHandle(handle);
    }
    bool Same(const Identity& other) const {
        return known && other.known && volume == other.volume && high == other.high && low == other.low;
    }
};

// A folder of a walk under way, and the walks above it.
struct Place {
    CString folder; // ends in a backslash
    const Place* above;

    // Whether a link leads to this place or to one above it: a walk through it would never end.
    bool IsReachedBy(const CString& link) const {
        const Identity target(link);
        for (const Place* place = this; place; place = place->above) {
            if (target.Same(Identity(place->folder)) || (!place->above && IsBelow(place->folder, target)))
                return true;
        }
        return false;
    }

private:
    static bool IsBelow(const CString& folder, const Identity& target) {
        CString path = TextFrom(
            [&folder](wchar_t* text, DWORD size) { return GetFullPathNameW(folder, size, text, nullptr); });
        for (int end = path.ReverseFind(L'\\'); end >= 0; end = path.ReverseFind(L'\\')) {
            path.Truncate(end);
            if (target.Same(Identity(path + L"\\")))
                return true;
        }
        return false;
    }
};

bool LeadsToFolder(const CString& link) {
    const DWORD attributes = GetFileAttributesW(SystemPath(link));
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The walk over folders. `visit` gets the folder, the name, the level, this place and whether the walk may go
// below the entry.
template <class Visit>
int WalkFolders(int& level, const wchar_t* folder, bool recursive, const Place* above, const Visit& visit) {
    Place here{folder, above};
    CPathString::posarBarraFinal(here.folder, 1);
    FolderEntries entries(here.folder + L"*.*");
    // A failure other than "not found" has a text of its own somewhere, but nobody to show it to.
    if (!entries.Started())
        return kUnfinished;
    level = 0; // Kept: a walk below starts from 0 too, so that levels fall after it
    int below = 0;
    int go = 1;
    while (go) {
        if ((entries.IsFolder() && !entries.IsDots()) || entries.IsLink()) {
            const CString next = here.folder + entries.Name();
            if (entries.IsFolder() || LeadsToFolder(next)) {
                const bool back = recursive && entries.IsLink() && here.IsReachedBy(next);
                go = visit(folder, entries.Name(), level, here, !back);
                // Kept: the answer does not keep the walk from going below.
                if (recursive && !back) {
                    ++level;
                    below = WalkFolders(level, next + L"\\", recursive, &here, visit);
                    --level;
                } else {
                    below = 0;
                }
            }
        }
        // Kept: after a walk below that was not finished the same entry is offered again.
        if (below == 0 && !entries.Next())
            return go ? 0 : kUnfinished;
    }
    return kUnfinished;
}

// The walk over files. `deliver` gets the folder as the walk was given it, the folder as it is enumerated
// (ending in a backslash, or empty) and the name.
template <class Deliver>
struct FileWalk {
    int& level;
    const CString pattern;
    const Deliver& deliver;

    int Start(const wchar_t* folder, bool recursive) const {
        return Run(folder, CPathString(nullptr, folder), recursive, nullptr);
    }

    int Run(const wchar_t* folder, const CString& base, bool recursive, const Place* above) const {
        if (recursive) {
            const auto visit = [this](const wchar_t*, const wchar_t* name, int, const Place& place,
                                      bool enters) {
                if (enters) {
                    // Joined as it is: a name that the system gives has no quotes that a user typed.
                    const CString next = place.folder + name;
                    Run(next, next + L"\\", true, &place);
                }
                return 1; // Kept: a stop inside a folder ends that folder's walk only
            };
            WalkFolders(level, folder, true, above, visit);
        }
        FolderEntries entries(base + pattern);
        if (!entries.Started())
            return kUnfinished;
        level = 0;
        int go = 0; // a walk that delivers no file does not count as finished
        do {
            if (entries.IsFolder() || (entries.IsLink() && LeadsToFolder(base + entries.Name())))
                continue;
            go = deliver(folder, base, entries.Name());
            if (!go)
                break;
        } while (entries.Next());
        return go ? 0 : kUnfinished;
    }
};

template <class Deliver>
int WalkFiles(int& level, const wchar_t* pattern, const wchar_t* folder, int recursive,
              const Deliver& deliver) {
    return FileWalk<Deliver>{level, AfxNetejarPath(pattern), deliver}.Start(folder, recursive != 0);
}

} // namespace

int TIteradorFitxers::IteraCarpetes(PFNITERA fn, long lUser, const wchar_t* szCarpeta, int bRecursiu) {
    const auto visit = [&](const wchar_t* folder, const wchar_t* name, int level, const Place&, bool) {
        return fn(folder, name, level, lUser);
    };
    return WalkFolders(m_nNivell, szCarpeta, bRecursiu != 0, nullptr, visit);
}

int TIteradorFitxers::IteraFitxers(PFNITERA fn, long lUser, const wchar_t* szPatro, const wchar_t* szCarpeta,
                                   int bRecursiu) {
    return WalkFiles(m_nNivell, szPatro, szCarpeta, bRecursiu,
                     [=](const wchar_t* folder, const CString&, const wchar_t* name) {
                         return fn(folder, name, -1, lUser);
                     });
}

int TIteradorFitxers::GetLlistaFitxers(CStringList& llista, const wchar_t* szPatro, const wchar_t* szCarpeta,
                                       int bRecursiu) {
    // As with _fnGetLlistaFitxers, but nothing is taken off names that end in a quote.
    return WalkFiles(m_nNivell, szPatro, szCarpeta, bRecursiu,
                     [&llista](const wchar_t*, const CString& base, const wchar_t* name) {
                         llista.AddTail(base + name);
                         return 1;
                     });
}

int TIteradorFitxers::_fnGetLlistaFitxers(const wchar_t* szCarpeta, const wchar_t* szNom, int, long lUser) {
    reinterpret_cast<CStringList*>(lUser)->AddTail(CPathString(nullptr, szCarpeta) + szNom);
    return 1;
}
