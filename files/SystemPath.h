// Paths on their way to functions of the system, and texts from those that take a buffer and its size.
#pragma once

#include "afx.h"

// `function` gets a buffer and its size in characters; it answers the length of the text, or the size that it
// wants when the buffer is too small. Empty when there is no text.
template <class Function>
CString TextFrom(Function function) {
    DWORD room = MAX_PATH;
    for (int attempt = 0; attempt < 2; ++attempt) {
        CString text;
        const DWORD length = function(text.GetBuffer(static_cast<int>(room)), room);
        text.ReleaseBuffer(length < room ? static_cast<int>(length) : 0);
        if (length < room)
            return text;
        room = length + 1;
    }
    return CString();
}

// The process's current folder; empty when it has none.
inline CString CurrentFolderPath() {
    return TextFrom([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); });
}

// A path, or a pattern behind one, in the form in which the system takes it whatever its length. One source
// per target. It is for a call: the text that it was made of must live as long.
class SystemPath {
public:
    explicit SystemPath(const wchar_t* path);
    operator const wchar_t*() const { return m_text.IsEmpty() ? m_given : m_text.GetString(); }

private:
    const wchar_t* m_given;
    CString m_text; // empty: the path as it was given
};
