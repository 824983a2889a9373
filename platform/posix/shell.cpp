// Special folders: the base directories and user directories of the desktop's conventions.
#include "../shell.h"
#include "internal/text.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fstream>
#include <pwd.h>
#include <unistd.h>

struct MvItemIdList {
    wchar_t path[1]; // NUL-terminated, as long as it takes
};

namespace {

// A folder named by a variable of the environment; only absolute paths count.
std::string fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value && value[0] == '/' ? value : std::string();
}

std::string homeFolder() {
    std::string home = fromEnvironment("HOME");
    if (home.empty()) {
        const passwd* user = getpwuid(getuid());
        home = user && user->pw_dir ? user->pw_dir : "/";
    }
    return home;
}

std::string belowHome(const char* variable, const char* fallback) {
    const std::string folder = fromEnvironment(variable);
    return folder.empty() ? homeFolder() + fallback : folder;
}

// The value of a line NAME="$HOME/..." or NAME="/..." of user-dirs.dirs; empty when there is none.
std::string fromUserDirs(const std::string& name) {
    std::ifstream file(belowHome("XDG_CONFIG_HOME", "/.config") + "/user-dirs.dirs");
    std::string line;
    std::string found;
    while (std::getline(file, line)) {
        const std::size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line.compare(start, name.size(), name) != 0) {
            continue;
        }
        const std::size_t quote = line.find_first_not_of(" \t", start + name.size());
        if (quote == std::string::npos || line[quote] != '=') {
            continue;
        }
        std::size_t at = line.find_first_not_of(" \t", quote + 1);
        if (at == std::string::npos || line[at] != '"') {
            continue;
        }
        std::string value;
        for (++at; at < line.size() && line[at] != '"'; ++at) {
            at += line[at] == '\\' && at + 1 < line.size() ? 1 : 0;
            value += line[at];
        }
        if (value.compare(0, 5, "$HOME") == 0 && (value.size() == 5 || value[5] == '/')) {
            found = homeFolder() + value.substr(5);
        } else if (!value.empty() && value[0] == '/') {
            found = value;
        }
    }
    return found;
}

std::string userFolder(const char* name, const char* fallback) {
    const std::string folder = fromUserDirs(name);
    return folder.empty() ? homeFolder() + fallback : folder;
}

std::string folderOf(int number) {
    switch (number) {
    case CSIDL_DESKTOP:
    case CSIDL_DESKTOPDIRECTORY:
        return userFolder("XDG_DESKTOP_DIR", "/Desktop");
    case CSIDL_PROGRAMS:
        return belowHome("XDG_DATA_HOME", "/.local/share") + "/applications";
    case CSIDL_PERSONAL:
        return userFolder("XDG_DOCUMENTS_DIR", "/Documents");
    case CSIDL_STARTUP:
        return belowHome("XDG_CONFIG_HOME", "/.config") + "/autostart";
    case CSIDL_MYMUSIC:
        return userFolder("XDG_MUSIC_DIR", "/Music");
    case CSIDL_MYVIDEO:
        return userFolder("XDG_VIDEOS_DIR", "/Videos");
    case CSIDL_FONTS:
        return "/usr/share/fonts";
    case CSIDL_TEMPLATES:
        return userFolder("XDG_TEMPLATES_DIR", "/Templates");
    case CSIDL_COMMON_PROGRAMS:
        return "/usr/share/applications";
    case CSIDL_COMMON_STARTUP:
        return "/etc/xdg/autostart";
    case CSIDL_APPDATA:
        return belowHome("XDG_DATA_HOME", "/.local/share");
    case CSIDL_LOCAL_APPDATA:
        return belowHome("XDG_STATE_HOME", "/.local/state");
    case CSIDL_INTERNET_CACHE:
        return belowHome("XDG_CACHE_HOME", "/.cache");
    case CSIDL_COMMON_APPDATA:
        return "/var/lib";
    case CSIDL_WINDOWS:
        return "/usr";
    case CSIDL_SYSTEM:
        return "/usr/lib";
    case CSIDL_PROGRAM_FILES:
        return "/opt";
    case CSIDL_MYPICTURES:
        return userFolder("XDG_PICTURES_DIR", "/Pictures");
    case CSIDL_PROFILE:
        return homeFolder();
    case CSIDL_COMMON_DOCUMENTS:
        return userFolder("XDG_PUBLICSHARE_DIR", "/Public");
    default:
        return std::string();
    }
}

} // namespace

HRESULT WINAPI SHGetSpecialFolderLocation(HWND, int folder, LPITEMIDLIST* list) {
    if (!list) {
        return E_INVALIDARG;
    }
    *list = nullptr;
    std::string path = folderOf(folder);
    if (path.empty()) {
        return E_INVALIDARG;
    }
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    const std::wstring wide = mvplat::widePath(path);
    *list = static_cast<LPITEMIDLIST>(std::malloc((wide.size() + 1) * sizeof(wchar_t)));
    if (!*list) {
        return E_OUTOFMEMORY;
    }
    std::wmemcpy((*list)->path, wide.c_str(), wide.size() + 1);
    return S_OK;
}

BOOL WINAPI SHGetPathFromIDListW(LPCITEMIDLIST list, LPWSTR path) {
    if (!path) {
        return FALSE;
    }
    path[0] = 0;
    const std::size_t length = list ? std::wcslen(list->path) : MAX_PATH;
    if (length >= MAX_PATH) {
        return FALSE;
    }
    std::wmemcpy(path, list->path, length + 1);
    return TRUE;
}

void WINAPI CoTaskMemFree(LPVOID block) {
    std::free(block);
}

UINT WINAPI GetWindowsDirectoryW(LPWSTR buffer, UINT size) {
    return mvplat::copyOut(L"\\usr", buffer, size);
}

UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT size) {
    return mvplat::copyOut(L"\\usr\\lib", buffer, size);
}
