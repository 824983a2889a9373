// Texts from functions of the system that take a buffer and its size.
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
