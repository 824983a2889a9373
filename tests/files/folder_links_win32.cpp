// Wine does not make links, but shows those of the machine that it runs on, whose "ln" makes one.
#include "folder_links.h"

#include <win32.h>

#include <vector>

namespace {

bool Run(std::wstring command) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                        &startup, &process))
        return false;
    WaitForSingleObject(process.hProcess, 10000);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

// The path of the machine below Wine; empty on Windows.
std::wstring UnixPath(const std::wstring& path) {
    using GetUnixFileName = char*(CDECL*)(LPCWSTR);
    const FARPROC address = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
    if (!address)
        return std::wstring();
    char* name = reinterpret_cast<GetUnixFileName>(reinterpret_cast<void*>(address))(path.c_str());
    if (!name)
        return std::wstring();
    std::vector<wchar_t> wide(MAX_PATH * 4);
    const int length = MultiByteToWideChar(CP_UTF8, 0, name, -1, wide.data(), static_cast<int>(wide.size()));
    HeapFree(GetProcessHeap(), 0, name);
    return length > 0 ? std::wstring(wide.data()) : std::wstring();
}

} // namespace

bool MakeFolderLink(const std::wstring& link, const std::wstring& target) {
    if (CreateSymbolicLinkW(link.c_str(), target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY) && IsLinkAt(link))
        return true;
    const std::wstring name = UnixPath(link);
    const std::wstring leads = UnixPath(target);
    if (name.empty() || leads.empty() || !Run(L"Z:\\bin\\ln -s " + leads + L" " + name))
        return false;
    // The program may still be on its way when its process handle is none to wait for.
    for (int i = 0; i < 100 && !IsLinkAt(link); ++i)
        Sleep(20);
    return IsLinkAt(link);
}

void TakeFolderLink(const std::wstring& link) {
    if (!IsLinkAt(link))
        return;
    // A link made by "ln" goes by "rm": Wine would remove what it leads to.
    const std::wstring name = UnixPath(link);
    if (name.empty()) {
        RemoveDirectoryW(link.c_str());
        return;
    }
    Run(L"Z:\\bin\\rm -f " + name);
    for (int i = 0; i < 100 && IsLinkAt(link); ++i)
        Sleep(20);
}

bool IsLinkAt(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}
