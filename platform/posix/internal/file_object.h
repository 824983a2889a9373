// An open file.
#pragma once

#include "file_sharing.h"
#include "handles.h"

#include <mutex>
#include <string>

namespace mvplat {

class FileObject : public Object {
public:
    static bool isA(Kind kind) { return kind == Kind::File; }

    FileObject()
        : Object(Kind::File) {}
    ~FileObject() override { closeFile(); }
    DWORD closing(bool last) override { return last ? closeFile() : 0; }

    bool canRead() const { return m_use.uses & useRead; }
    bool canWrite() const { return m_use.uses & useWrite; }

    // Set once, before the first handle exists.
    int m_descriptor = -1;
    bool m_ownsDescriptor = true;
    const unsigned m_openedBy = processCopyNumber();
    bool m_writableDescriptor = false;
    // Streams keep no position of their own: terminals, pipes, and the standard streams whatever they are.
    bool m_stream = false;
    bool m_appends = false;
    // Opened here and neither folder nor device: the system's own position means nothing.
    bool m_regular = false;
    std::uint64_t m_sizeAtOpen = 0; // of a regular file
    DWORD m_type = FILE_TYPE_DISK;
    SharedUse m_use;
    SharedFile* m_shared = nullptr;
    std::string m_deletePath; // removed when the file is closed, if not empty

    std::mutex m_lock; // guards the position, and makes one read or write of it a unit
    std::uint64_t m_position = 0;

private:
    DWORD closeFile();
};

} // namespace mvplat
