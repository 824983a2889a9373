#include "ItemRanges.h"

#include <algorithm>

namespace {

constexpr unsigned int kNone = ~0u;

// The parts of a table that its chains are made of.
struct Chains : THash {
    static unsigned int Buckets(const THash& table) {
        return table.*&Chains::m_pBuckets ? table.*&Chains::m_nBuckets : 0;
    }
    static unsigned int First(const THash& table, unsigned int bucket) {
        return (table.*&Chains::m_pBuckets)[bucket];
    }
    static const ENTRADA& Entry(const THash& table, unsigned int slot) {
        return (table.*&Chains::m_pEntrades)[slot];
    }
    static unsigned int Next(const THash& table, unsigned int slot) { return Entry(table, slot).nSeguent; }
    static HashElement Element(const THash& table, unsigned int slot) {
        const ENTRADA& entry = Entry(table, slot);
        constexpr std::size_t kRoom = 261;
        if (entry.nLen < 0) {
            return {std::u16string_view(entry.szClau), entry.pItem};
        }
        return {std::u16string_view(entry.szClau, std::min<std::size_t>(entry.nLen, kRoom)), entry.pItem};
    }
};

} // namespace

std::wstring HashElement::Key() const {
    std::wstring text;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t code = units[i];
        if (sizeof(wchar_t) > 2 && (code & 0xFC00) == 0xD800 && i + 1 < units.size() &&
            (units[i + 1] & 0xFC00) == 0xDC00) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (units[++i] & 0x3FF);
        }
        text += static_cast<wchar_t>(code);
    }
    return text;
}

namespace mvlib {

HashIterator::HashIterator(const THash* table, unsigned int bucket)
    : m_table(table)
    , m_bucket(bucket) {
    const unsigned int buckets = Chains::Buckets(*table);
    while (m_bucket < buckets && m_slot == kNone) {
        m_slot = Chains::First(*table, m_bucket);
        m_bucket += m_slot == kNone ? 1 : 0;
    }
}

HashElement HashIterator::operator*() const {
    return Chains::Element(*m_table, m_slot);
}

HashIterator& HashIterator::operator++() {
    const unsigned int next = Chains::Next(*m_table, m_slot);
    if (next != kNone) {
        m_slot = next;
    } else {
        *this = HashIterator(m_table, m_bucket + 1);
    }
    return *this;
}

} // namespace mvlib
