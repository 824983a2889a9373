// Packed trees in memory, walked as `mvtool rec check` and `extract` walk them: whatever the bytes, the walk
// ends, with everything that was opened closed again or with a named damage.
#include <afx.h>

#include "recipe.h"

#include <rec/reader.h>
#include <rec/unpack.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void demand(bool condition) {
    if (!condition)
        std::abort();
}

/// Believes what it is given to be in order, as the one that writes files does.
class CheckingSink : public mvtool::rec::Sink {
public:
    void enterFolder(const mvtool::rec::Entry& entry) override {
        demand(!m_inFile && !entry.name.empty() && entry.name != u"." && entry.name != u".." &&
               entry.name.find(u'/') == std::u16string::npos);
        ++m_depth;
    }
    void leaveFolder(const mvtool::rec::Entry&) override {
        demand(!m_inFile && m_depth > 0);
        --m_depth;
    }
    void beginFile(const mvtool::rec::Entry& entry) override {
        demand(!m_inFile && mvtool::rec::kindOfName(entry.name) != mvtool::rec::NameKind::nowhere);
        m_inFile = true;
        m_missing = entry.size;
    }
    void addBytes(std::span<const unsigned char> bytes) override {
        demand(m_inFile && !bytes.empty() && bytes.size() <= m_missing);
        m_missing -= bytes.size();
    }
    void endFile(const mvtool::rec::Entry&) override {
        demand(m_inFile && m_missing == 0);
        m_inFile = false;
    }
    bool closed() const { return !m_inFile && m_depth == 0; }

private:
    bool m_inFile = false;
    std::uint64_t m_missing = 0;
    int m_depth = 0;
};

void walk(std::vector<std::uint8_t>& bytes) {
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    try {
        mvtool::rec::RecordScan scan(file, nullptr);
        mvtool::rec::TreeReader reader(scan);
        CheckingSink sink;
        mvtool::rec::unpack(reader, sink);
        demand(sink.closed());
    } catch (const mvtool::rec::Damage& damage) {
        demand(damage.offset() <= bytes.size() && damage.record() <= damage.offset() &&
               !damage.text().empty());
    }
}

// Puts the sum that belongs there at the end of each record, or no change would get further than that.
void mendSums(std::vector<std::uint8_t>& bytes) {
    using namespace mvtool::rec;
    std::uint32_t sum = 0;
    for (std::size_t at = kFileHeaderBytes; at + kRecordHeaderBytes <= bytes.size();) {
        const auto length = static_cast<std::uint32_t>(load(&bytes[at + 4], 4));
        std::uint8_t* payload = bytes.data() + at + kRecordHeaderBytes;
        if (length < kSumBytes || length > bytes.size() - at - kRecordHeaderBytes)
            return;
        sum = recordSum(sum, static_cast<std::uint32_t>(load(&bytes[at], 4)), length,
                        static_cast<short>(load(&bytes[at + 8], 2)), payload, length - kSumBytes);
        store(payload + length - kSumBytes, sum, kSumBytes);
        at += kRecordHeaderBytes + length;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::uint8_t> bytes = BytesOfRecipe(data, size);
    walk(bytes);
    mendSums(bytes);
    walk(bytes);
    return 0;
}
