// Windows takes paths of 260 characters and more, and folders of 248, in a form of their own alone: whole,
// and behind "\\?\".
#include "SystemPath.h"

#include <cwchar>

namespace {

constexpr std::size_t kPlainRoom = MAX_PATH - 12; // a folder leaves room for a short name in it

// A path that does not depend on a current folder.
bool IsWhole(const wchar_t* path) {
    return (path[0] == L'\\' && path[1] == L'\\') || (path[0] && path[1] == L':' && path[2] == L'\\');
}

bool IsSystemForm(const wchar_t* path) {
    return path[0] == L'\\' && path[1] == L'\\' && (path[2] == L'?' || path[2] == L'.') && path[3] == L'\\';
}

CString FullPathOf(const wchar_t* path) {
    return TextFrom(
        [path](wchar_t* text, DWORD size) { return GetFullPathNameW(path, size, text, nullptr); });
}

} // namespace

SystemPath::SystemPath(const wchar_t* path)
    : m_given(path) {
    if (!path || !*path || IsSystemForm(path) || (IsWhole(path) && std::wcslen(path) < kPlainRoom))
        return;
    // A pattern is no name: its final stop means something and must not be lost.
    const CString given(path);
    int last = given.GetLength();
    while (last > 0 && given[last - 1] != L'\\' && given[last - 1] != L'/')
        --last;
    const bool pattern = given.Mid(last).FindOneOf(L"*?") >= 0;
    CString full = FullPathOf(pattern ? (last ? given.Left(last) : CString(L".\\")) : given);
    if (full.IsEmpty() || IsSystemForm(full))
        return;
    if (pattern)
        full += given.Mid(last);
    if (static_cast<std::size_t>(full.GetLength()) < kPlainRoom)
        return;
    if (full[full.GetLength() - 1] == L'\\' && full.GetLength() > 3)
        full.Truncate(full.GetLength() - 1);
    m_text = full[0] == L'\\' ? L"\\\\?\\UNC" + full.Mid(1) : L"\\\\?\\" + full;
}
