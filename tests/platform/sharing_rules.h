// What the sharing tests and their second process both know: who may open a file beside whom.
#pragma once

#include <win32.h>

#include <string>

// The rule in one line: each must share what the other does. Opening for attributes alone takes no part.
inline bool Agree(DWORD firstAccess, DWORD firstShare, DWORD secondAccess, DWORD secondShare) {
    const auto uses = [](DWORD access) {
        return (access & GENERIC_READ ? FILE_SHARE_READ : 0) |
               (access & GENERIC_WRITE ? FILE_SHARE_WRITE : 0) | (access & DELETE ? FILE_SHARE_DELETE : 0);
    };
    const DWORD first = static_cast<DWORD>(uses(firstAccess));
    const DWORD second = static_cast<DWORD>(uses(secondAccess));
    return first == 0 || second == 0 || ((first & ~secondShare) == 0 && (second & ~firstShare) == 0);
}

// How often an attempt to open `path` in any of the ways ended otherwise than the rule says while somebody
// has it open in one.
inline int CountSurprises(const std::wstring& path, DWORD firstAccess, DWORD firstShare) {
    int surprises = 0;
    for (const DWORD access :
         {DWORD{0}, DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, DWORD{GENERIC_READ | GENERIC_WRITE},
          DWORD{GENERIC_READ | DELETE}, DWORD{GENERIC_WRITE | DELETE}}) {
        for (DWORD share = 0; share <= 7; ++share) {
            const HANDLE file = CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
            const bool opened = file != INVALID_HANDLE_VALUE;
            if (opened != Agree(firstAccess, firstShare, access, share) ||
                (!opened && GetLastError() != ERROR_SHARING_VIOLATION))
                ++surprises;
            if (opened)
                CloseHandle(file);
        }
    }
    return surprises;
}

// Opens and closes `path` until it has been in `wanted` times, but no longer than some seconds, while another
// process does the same in a way that this one forbids. A file beside it, which a single one can make, shows
// that both were in at once. The two wait for each other first: while a process is being made it holds what
// its parent has open.
class Meetings {
public:
    int entered = 0;
    int clashes = 0;

    Meetings(const std::wstring& path, DWORD access, DWORD share, int wanted, const std::wstring& name,
             const std::wstring& otherName) {
        CloseHandle(Make(path + L'.' + name));
        const DWORD start = GetTickCount();
        const auto early = [start] { return GetTickCount() - start < 5000; };
        while (GetFileAttributesW((path + L'.' + otherName).c_str()) == INVALID_FILE_ATTRIBUTES && early())
            Sleep(0);
        const std::wstring claim = path + L".claim";
        while (entered < wanted && early()) {
            const HANDLE file = CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
            if (file == INVALID_HANDLE_VALUE)
                continue;
            ++entered;
            const HANDLE mine = Make(claim);
            CloseHandle(mine);
            if (mine == INVALID_HANDLE_VALUE || !DeleteFileW(claim.c_str()))
                ++clashes;
            CloseHandle(file);
        }
    }

private:
    static HANDLE Make(const std::wstring& path) {
        return CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    }
};
