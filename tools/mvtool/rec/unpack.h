// What a packed tree is unpacked into, and the walk that does it.
#pragma once

#include "reader.h"

namespace mvtool::rec {

/// Gets folders and files in the order of the record file, all of them checked. May throw to stop.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void enterFolder(const Entry& entry) = 0;
    virtual void leaveFolder(const Entry& entry) = 0;
    virtual void beginFile(const Entry& entry) = 0;
    virtual void addBytes(std::span<const unsigned char> bytes) = 0;
    virtual void endFile(const Entry& entry) = 0;
};

/// Throws what the reader and the sink throw. Folders that are open then are not left.
void unpack(TreeReader& reader, Sink& sink);

} // namespace mvtool::rec
