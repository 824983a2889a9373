#include "unpack.h"

namespace mvtool::rec {

void unpack(TreeReader& reader, Sink& sink) {
    std::vector<Entry> open;
    const auto leaveTo = [&](std::size_t level) {
        while (open.size() > level) {
            sink.leaveFolder(open.back());
            open.pop_back();
        }
    };
    for (;;) {
        switch (reader.next()) {
        case TreeReader::Event::folder:
            leaveTo(static_cast<std::size_t>(reader.level()));
            sink.enterFolder(reader.entry());
            open.push_back(reader.entry());
            break;
        case TreeReader::Event::file:
            leaveTo(static_cast<std::size_t>(reader.level()));
            sink.beginFile(reader.entry());
            break;
        case TreeReader::Event::piece:
            sink.addBytes(reader.piece());
            break;
        case TreeReader::Event::fileEnd:
            sink.endFile(reader.entry());
            break;
        case TreeReader::Event::end:
            leaveTo(0);
            return;
        }
    }
}

} // namespace mvtool::rec
