// Names of files by their text alone: absolute form, splitting, joining.
#include "internal/paths.h"
#include "internal/errno_map.h"
#include "internal/handles.h"
#include "internal/text.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

namespace mvplat {

namespace {

bool isLetter(wchar_t unit) {
    return (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z');
}

// How many characters of a path with backslashes ".." cannot remove: "\", "C:\", "\\server\share\".
std::size_t rootLength(std::wstring_view path) {
    if (path.size() >= 2 && isLetter(path[0]) && path[1] == L':')
        return path.size() >= 3 && path[2] == L'\\' ? 3 : 2;
    if (path.size() >= 2 && path[0] == L'\\' && path[1] == L'\\') {
        std::size_t at = path.find(L'\\', 2);
        if (at != std::wstring_view::npos)
            at = path.find(L'\\', at + 1);
        return at == std::wstring_view::npos ? path.size() : at + 1;
    }
    return !path.empty() && path[0] == L'\\' ? 1 : 0;
}

// Whether a path starts at the root and GetFullPathNameW would leave it as it is but for its separators. Has
// no branches inside the loop, so that it goes over several units at a time.
bool isFinal(const wchar_t* path, std::size_t length) {
    const auto separates = [](wchar_t unit) { return (unit == L'\\') | (unit == L'/'); };
    const wchar_t last = path[length - 1];
    if (!separates(path[0]) || separates(last) || last == L'.' || last == L' ')
        return false;
    int others = 0; // separators behind another, or behind a full stop
    for (std::size_t i = 1; i < length; ++i)
        others |= separates(path[i]) & (separates(path[i - 1]) | (path[i - 1] == L'.'));
    return others == 0;
}

} // namespace

bool isSeparator(wchar_t unit) {
    return unit == L'\\' || unit == L'/';
}

bool currentFolder(std::wstring& folder) {
    const std::unique_ptr<char, void (*)(void*)> text(::getcwd(nullptr, 0), std::free);
    if (!text) {
        setLastErrno();
        return false;
    }
    folder = widePath(text.get());
    return true;
}

bool absolutePath(std::wstring_view given, std::wstring& result) {
    std::wstring path(given);
    for (wchar_t& unit : path) {
        if (unit == L'/')
            unit = L'\\';
    }
    std::size_t root = rootLength(path);
    if (root == 0) {
        std::wstring folder;
        if (!currentFolder(folder))
            return false;
        if (folder.empty() || folder.back() != L'\\')
            folder += L'\\';
        path.insert(0, folder);
        root = rootLength(path);
    } else if (root == 2 && path[1] == L':') {
        // Relative to the current folder of a drive, of which there is none here: the drive's root.
        path.insert(2, L"\\");
        root = 3;
    }
    result.assign(path, 0, root);
    bool closed = path.size() > root && path.back() == L'\\';
    for (std::size_t at = root; at < path.size();) {
        std::size_t end = path.find(L'\\', at);
        if (end == std::wstring::npos)
            end = path.size();
        std::wstring_view part(path.data() + at, end - at);
        at = end + 1;
        if (part.empty() || part == L".")
            continue;
        if (part == L"..") {
            if (result.size() > root) {
                result.pop_back();
                result.resize(std::max(result.rfind(L'\\') + 1, root));
            }
            continue;
        }
        const bool last = end == path.size();
        if (last) {
            // The system takes blanks and full stops off the end of the name.
            while (!part.empty() && (part.back() == L' ' || part.back() == L'.'))
                part.remove_suffix(1);
        } else if (part.size() > 1 && part.back() == L'.') {
            part.remove_suffix(1); // and a single full stop off each folder
        }
        if (part.empty()) {
            closed = true; // nothing but what goes: the folder before it keeps its separator
            continue;
        }
        result.append(part);
        result += L'\\';
    }
    if (!closed && result.size() > root)
        result.pop_back();
    return true;
}

} // namespace mvplat

using namespace mvplat;

DWORD GetFullPathNameW(LPCWSTR fileName, DWORD size, LPWSTR buffer, LPWSTR* filePart) {
    if (!fileName || !*fileName) {
        SetLastError(ERROR_INVALID_NAME);
        return 0;
    }
    const std::size_t given = std::wcslen(fileName);
    if (given < size && buffer && !filePart && isFinal(fileName, given)) {
        for (std::size_t i = 0; i < given; ++i)
            buffer[i] = fileName[i] == L'/' ? L'\\' : fileName[i];
        buffer[given] = 0;
        return static_cast<DWORD>(given);
    }
    return guarded(DWORD{0}, [&]() -> DWORD {
        std::wstring path;
        if (!absolutePath(fileName, path))
            return 0;
        const DWORD length = copyOut(path, buffer, size);
        if (filePart) {
            const std::size_t name = path.rfind(L'\\') + 1;
            const bool copied = buffer && length < size;
            *filePart = copied && name >= rootLength(path) && name < path.size() ? buffer + name : nullptr;
        }
        return length;
    });
}

wchar_t* _wfullpath(wchar_t* buffer, const wchar_t* path, size_t size) {
    return guarded(static_cast<wchar_t*>(nullptr), [&]() -> wchar_t* {
        std::wstring full;
        if (!(path && *path ? absolutePath(path, full) : currentFolder(full)))
            return nullptr;
        if (!buffer)
            return ::wcsdup(full.c_str());
        if (full.size() >= size) {
            errno = ERANGE;
            return nullptr;
        }
        std::wmemcpy(buffer, full.c_str(), full.size() + 1);
        return buffer;
    });
}

namespace {

struct PathPart {
    wchar_t* buffer;
    size_t size;
    std::wstring_view text;
};

} // namespace

errno_t _wsplitpath_s(const wchar_t* path, wchar_t* drive, size_t driveSize, wchar_t* folder,
                      size_t folderSize, wchar_t* name, size_t nameSize, wchar_t* extension,
                      size_t extensionSize) {
    PathPart parts[] = {{drive, driveSize, {}},
                        {folder, folderSize, {}},
                        {name, nameSize, {}},
                        {extension, extensionSize, {}}};
    const auto fail = [&parts](errno_t error) {
        for (const PathPart& part : parts) {
            if (part.buffer && part.size)
                *part.buffer = 0;
        }
        errno = error;
        return error;
    };
    if (!path)
        return fail(EINVAL);
    for (const PathPart& part : parts) {
        if (!part.buffer != !part.size)
            return fail(EINVAL);
    }
    std::wstring_view rest(path);
    if (rest.size() >= 2 && rest[1] == L':') {
        parts[0].text = rest.substr(0, 2);
        rest.remove_prefix(2);
    }
    const std::size_t nameStart = rest.find_last_of(L"\\/") + 1;
    parts[1].text = rest.substr(0, nameStart);
    rest.remove_prefix(nameStart);
    const std::size_t dot = std::min(rest.rfind(L'.'), rest.size());
    parts[2].text = rest.substr(0, dot);
    parts[3].text = rest.substr(dot);
    for (const PathPart& part : parts) {
        if (part.buffer && part.text.size() >= part.size)
            return fail(ERANGE);
    }
    for (const PathPart& part : parts) {
        if (part.buffer) {
            std::wmemcpy(part.buffer, part.text.data(), part.text.size());
            part.buffer[part.text.size()] = 0;
        }
    }
    return 0;
}

errno_t _wmakepath_s(wchar_t* path, size_t size, const wchar_t* drive, const wchar_t* folder,
                     const wchar_t* name, const wchar_t* extension) {
    if (!path || size == 0) {
        errno = EINVAL;
        return EINVAL;
    }
    std::size_t used = 0;
    bool fits = true;
    const auto add = [&](wchar_t unit) {
        if (used + 1 < size)
            path[used++] = unit;
        else
            fits = false;
    };
    const auto addText = [&](const wchar_t* text) {
        for (; fits && *text; ++text)
            add(*text);
    };
    if (drive && *drive) {
        add(*drive); // only the letter counts
        add(L':');
    }
    if (folder && *folder) {
        addText(folder);
        if (!isSeparator(folder[std::wcslen(folder) - 1]))
            add(L'\\');
    }
    if (name)
        addText(name);
    if (extension && *extension) {
        if (*extension != L'.')
            add(L'.');
        addText(extension);
    }
    path[fits ? used : 0] = 0;
    if (fits)
        return 0;
    errno = ERANGE;
    return ERANGE;
}
