// The entries of a folder, one after the other.
#pragma once

#include "SystemPath.h"

#include "afx.h"
#include "folder_entries.h"

// An enumeration of the entries that meet a pattern; it stands on an entry from the start, when there is one.
class FolderEntries {
public:
    explicit FolderEntries(const wchar_t* pattern)
        : m_handle(MvFindFirstEntry(SystemPath(pattern), &m_entry)) {}
    ~FolderEntries() {
        if (Started())
            FindClose(m_handle);
    }
    FolderEntries(const FolderEntries&) = delete;
    FolderEntries& operator=(const FolderEntries&) = delete;

    // False when the folder cannot be listed or nothing in it meets the pattern. There is no entry then.
    bool Started() const { return m_handle != INVALID_HANDLE_VALUE; }
    // Goes on to the next entry; false when there is none.
    bool Next() { return FindNextFileW(m_handle, &m_entry) != FALSE; }

    const wchar_t* Name() const { return m_entry.cFileName; }
    // A link is what it leads to, and a link besides; but a system may list a link that leads back to a
    // folder around it as if it were no folder.
    bool IsFolder() const { return (m_entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    bool IsLink() const { return MvIsLink(m_entry); }
    // The folder itself or the one above it.
    bool IsDots() const {
        const wchar_t* name = Name();
        return name[0] == L'.' && (name[1] == 0 || (name[1] == L'.' && name[2] == 0));
    }

private:
    WIN32_FIND_DATAW m_entry;
    HANDLE m_handle;
};
