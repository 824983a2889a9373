#include "THash.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <new>

#include "afx.h"
#include "items/Demolition.h"
#include "TLlista.h"

namespace {

constexpr unsigned int kNone = ~0u;
constexpr int kAbsent = -1402;
constexpr unsigned int kKeyUnits = 261; // what a slot keeps of a key, the terminator apart
constexpr unsigned int kLongChain = 8;  // a chain beyond this length brings the index into being
constexpr unsigned int kMinGrowth = 20;

// Whether the size of `count` elements behind a header can be told.
bool Fits(std::size_t header, std::size_t count, std::size_t size) {
    return count <= (std::numeric_limits<std::size_t>::max() - header) / size;
}

// Blocks of `count` elements behind a header; null when the size cannot be had or told.
void* AllocateArray(std::size_t header, std::size_t count, std::size_t size) {
    return Fits(header, count, size) ? std::malloc(std::max<std::size_t>(header + count * size, 1)) : nullptr;
}

std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
#if defined(__SIZEOF_INT128__)
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    return (a * b) ^ (std::rotl(a, 32) * 0x9E3779B97F4A7C15ull) ^ std::rotl(b, 17);
#endif
}

// A hash of the key for the index; nobody sees it. It takes the key by four units at a time, the last ones
// filled up with zeros.
class UnitHash {
public:
    explicit UnitHash(std::size_t count)
        : m_hash(0x8EBC6AF09C88C6E3ull ^ (count * sizeof(char16_t))) {}
    void Add(std::uint64_t word) {
        if (m_second) {
            m_hash = Mix(m_hash ^ m_word, word ^ 0xA0761D6478BD642Full);
            m_word = 0;
        } else {
            m_word = word;
        }
        m_second = !m_second;
    }
    std::uint32_t Result() const {
        const std::uint64_t hash = Mix(m_hash ^ m_word, 0xE7037ED1A0B428DBull);
        return static_cast<std::uint32_t>(hash ^ (hash >> 32));
    }

private:
    std::uint64_t m_hash;
    std::uint64_t m_word = 0;
    bool m_second = false;
};

std::uint32_t HashUnits(const char16_t* units, std::size_t count) {
    UnitHash hash(count);
    for (; count > 0; units += std::min<std::size_t>(count, 4), count -= std::min<std::size_t>(count, 4)) {
        std::uint64_t word = 0;
        std::memcpy(&word, units, std::min<std::size_t>(count, 4) * sizeof(char16_t));
        hash.Add(word);
    }
    return hash.Result();
}

// Whether two keys of `count` units are the same. The first was stored by eight bytes a moment ago: looks at
// it that are any wider would wait until it has arrived in memory.
bool SameUnits(const char16_t* first, const char16_t* second, std::size_t count) {
    for (; count >= 4; first += 4, second += 4, count -= 4) {
        std::uint64_t one, other;
        std::memcpy(&one, first, sizeof one);
        std::memcpy(&other, second, sizeof other);
        if (one != other) {
            return false;
        }
    }
    for (; count > 0; --count) {
        if (*first++ != *second++) {
            return false;
        }
    }
    return true;
}

// A stored key as the target's wide text, NUL-terminated; `text` has room for one character per unit and the
// NUL.
void Widen(const char16_t* units, unsigned int count, wchar_t* text) {
    unsigned int length = 0;
    for (unsigned int i = 0; i < count; ++i) {
        std::uint32_t code = units[i];
        if (sizeof(wchar_t) > 2 && (code & 0xFC00) == 0xD800 && i + 1 < count &&
            (units[i + 1] & 0xFC00) == 0xDC00) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (units[++i] & 0x3FF);
        }
        text[length++] = static_cast<wchar_t>(code);
    }
    text[length] = 0;
}

} // namespace

// A key as UTF-16, with its sum. Of a key that is too long for a slot only the beginning is kept, the sum
// counts all.
struct THash::Clau {
    char16_t units[kKeyUnits + 3]; // stored four at a time
    unsigned int count = 0;        // in units[], the terminator apart
    int length;                    // as an entry keeps it: -1 or the whole number of units
    std::uint32_t sum = 0;
    bool whole = true;

    Clau(const wchar_t* text, int given)
        : length(given) {
        const std::size_t elements =
            given == -1 ? std::wcslen(text) : static_cast<std::size_t>(std::max(given, 0));
        if (elements > kKeyUnits || !Narrow(text, elements)) {
            Encode(text, elements);
        }
        if (!m_hashed || count % 4 == 0) { // else it is there
            units[count] = 0;
        }
    }

    Clau(const char16_t* stored, int storedLength)
        : length(storedLength) {
        const unsigned int room =
            storedLength < 0 ? kKeyUnits : std::min<unsigned int>(storedLength, kKeyUnits);
        while (count < room && (storedLength >= 0 || stored[count])) {
            sum += units[count] = stored[count];
            ++count;
        }
        whole = storedLength <= static_cast<int>(kKeyUnits);
        units[count] = 0;
    }

    std::uint32_t Hash() const { return UnitsHash() + (length == -1 ? 0 : 0x9E3779B9u); }

private:
    std::uint32_t UnitsHash() const { return m_hashed ? m_hash : HashUnits(units, count); }

    // The usual case, in one pass that leaves the sum and the hash too; false when a character is no unit.
    bool Narrow(const wchar_t* text, std::size_t elements) {
        if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
            std::memcpy(units, text, elements * sizeof(char16_t));
            for (std::size_t i = 0; i < elements; ++i) {
                sum += units[i];
            }
            count = static_cast<unsigned int>(elements);
            return true;
        }
        constexpr std::uint64_t kBeyond = 0xFFFF0000FFFF0000ull;
        UnitHash hash(elements);
        std::uint64_t all = 0;
        std::uint64_t sums = 0; // of the characters at even and at odd places; they do not overflow
        char16_t* to = units;
        const auto add = [&](std::uint64_t first, std::uint64_t second) {
            all |= first | second;
            sums += first + second;
            const std::uint64_t word = (first & 0xFFFF) | (first >> 16 & 0xFFFF0000) |
                                       (second & 0xFFFF) << 32 | (second >> 16 & 0xFFFF0000) << 32;
            std::memcpy(to, &word, sizeof word);
            to += 4;
            hash.Add(word);
        };
        std::uint64_t pairs[2];
        std::size_t left = elements;
        for (; left >= 4; left -= 4, text += 4) {
            std::memcpy(pairs, text, sizeof pairs);
            add(pairs[0], pairs[1]);
        }
        if (left > 0) {
            const auto at = [&](std::size_t i) {
                return i < left ? std::uint64_t{static_cast<std::uint32_t>(text[i])} : 0;
            };
            add(at(0) | at(1) << 32, at(2));
        }
        sum = static_cast<std::uint32_t>(sums) + static_cast<std::uint32_t>(sums >> 32);
        count = static_cast<unsigned int>(elements);
        m_hash = hash.Result();
        m_hashed = (all & kBeyond) == 0;
        return m_hashed;
    }

    void Encode(const wchar_t* text, std::size_t elements) {
        std::size_t total = 0;
        count = 0;
        sum = 0;
        const auto add = [&](std::uint32_t unit) {
            sum += unit;
            ++total;
            if (count < kKeyUnits) {
                units[count++] = static_cast<char16_t>(unit);
            }
        };
        for (std::size_t i = 0; i < elements; ++i) {
            const auto code = static_cast<std::uint32_t>(text[i]);
            if (code <= 0xFFFF) {
                add(code);
            } else {
                add(0xD800 + (((code - 0x10000) >> 10) & 0x3FF));
                add(0xDC00 + ((code - 0x10000) & 0x3FF));
            }
        }
        whole = total <= kKeyUnits;
        if (length >= 0) {
            length = static_cast<int>(std::min<std::size_t>(total, std::numeric_limits<int>::max()));
        }
    }

    std::uint32_t m_hash = 0;
    bool m_hashed = false;
};

// What lies unseen beside the arrays. It stands before the buckets, which live as long as the table's storage
// does, so that tables which share their arrays share this too.
//
// For each slot it keeps the entry before it in its chain and for each bucket the last entry, so that nothing
// walks a chain to append or to unlink. Once a chain grows long, an index of open addressing from key to slot
// comes into being. It holds the keys that a slot holds whole; the few longer ones are still looked for along
// their chain. The index is a mere help: when memory for it is short, the chains are walked again.
struct THash::Ocult {
    struct Lloc {
        std::uint32_t hash;
        std::uint32_t slot; // kUnused, kDeleted or a slot
    };
    static constexpr std::uint32_t kUnused = kNone;
    static constexpr std::uint32_t kDeleted = kNone - 1;
    static constexpr unsigned int kFree = kNone - 1; // in pAnterior: the slot is free

    unsigned int nSlots;      // slots that really exist: fewer than m_nMax after an Ampliar that failed
    unsigned int nFresh;      // the slots from here on were never handed out
    unsigned int nWithLength; // entries stored with a length of their own
    unsigned int* pAnterior;  // per slot: the entry before it in the chain, kNone for the first
    Lloc* pIndex;             // null until a chain has grown long
    unsigned int nMask;
    unsigned int nUsed; // places that are not kUnused
    bool bNoIndex;      // it could not be had, or keys were rewritten in their slots: not tried again
    bool bRewritten;    // a slot may hold a key of another bucket

    unsigned int* Last(const THash& table) { return table.m_pBuckets + table.m_nBuckets; }

    void Add(std::uint32_t hash, unsigned int slot) {
        unsigned int at = hash & nMask;
        while (pIndex[at].slot < kDeleted) {
            at = (at + 1) & nMask;
        }
        nUsed += pIndex[at].slot == kUnused ? 1 : 0;
        pIndex[at] = {hash, slot};
    }

    void Remove(std::uint32_t hash, unsigned int slot) {
        for (unsigned int at = hash & nMask; pIndex[at].slot != kUnused; at = (at + 1) & nMask) {
            if (pIndex[at].slot == slot) {
                // Only a place with a used one behind it needs a mark for the searches that pass it.
                const bool end = pIndex[(at + 1) & nMask].slot == kUnused;
                pIndex[at].slot = end ? kUnused : kDeleted;
                nUsed -= end ? 1 : 0;
                return;
            }
        }
    }

    void DropIndex() {
        std::free(pIndex);
        pIndex = nullptr;
        nMask = 0;
        nUsed = 0;
    }
};

const CMirvaRTTI THashItem::m_rttiTHashItem(&TItem::m_rttiTItem, "THashItem", 20, sizeof(THashItem), nullptr);
const CMirvaRTTI THash::m_rttiTHash(&TItem::m_rttiTItem, "THash", 1, sizeof(THash), nullptr);

THashItem::THashItem(const wchar_t* szClau, TItem* pItem)
    : m_pItem(nullptr) {
    const std::size_t length = std::min(std::wcslen(szClau), std::size(m_szClau) - 1);
    std::wmemcpy(m_szClau, szClau, length);
    m_szClau[length] = 0;
    m_pItem = pItem ? pItem->Duplicar() : nullptr;
}

THashItem::~THashItem() {
    if (m_pItem && !mvlib::HandOverItem(this, m_pItem)) {
        mvlib::DemolitionLoop().Destroy(m_pItem);
    }
}

TItem* THashItem::Duplicar() const {
    return new (std::nothrow) THashItem(m_szClau, m_pItem);
}

const CMirvaRTTI* THashItem::GetRTTI() const {
    return &m_rttiTHashItem;
}

THash::THash()
    : m_nMax(0)
    , m_nBuckets(0)
    , m_nElements(0)
    , m_pBuckets(nullptr)
    , m_pEntrades(nullptr)
    , m_nLliure(0) {}

THash::~THash() {
    Ocult* o = ocult();
    if (!o) {
        return;
    }
    if (!entregar(o->nSlots)) {
        const mvlib::Recursion recursion;
        if (recursion.IsShallow()) {
            for (unsigned int i = 0; i < o->nSlots; ++i) {
                delete m_pEntrades[i].pItem;
            }
        } else {
            mvlib::DemolitionLoop loop;
            for (unsigned int i = 0; i < o->nSlots; ++i) {
                loop.Destroy(m_pEntrades[i].pItem);
            }
        }
        std::free(m_pEntrades);
    }
    std::free(o->pAnterior);
    o->DropIndex();
    std::free(o);
}

// True when the items, and the storage of the slots with them, are left to the loop that is deleting this
// table.
bool THash::entregar(unsigned int nSlots) {
    if (!mvlib::IsNoted(this)) {
        return false;
    }
    // The pointers are gathered at the start of the storage; every slot is larger than what takes its place
    // and the note behind them.
    static_assert(sizeof(ENTRADA) >= sizeof(TItem*) + sizeof(mvlib::DoomedArray));
    auto** items = reinterpret_cast<TItem**>(m_pEntrades);
    std::size_t count = 0;
    for (unsigned int i = 0; i < nSlots; ++i) {
        if (TItem* item = m_pEntrades[i].pItem) {
            items[count++] = item;
        }
    }
    std::reverse(items, items + count); // the first slot's item goes first
    return count > 0 && mvlib::HandOver(this, items, count, count);
}

THash::Ocult* THash::ocult() const {
    return m_pBuckets ? reinterpret_cast<Ocult*>(m_pBuckets) - 1 : nullptr;
}

int THash::init(unsigned int n) {
    m_nMax = n;
    m_nBuckets = n / 3 + 1;
    void* block = AllocateArray(sizeof(Ocult), m_nBuckets, 2 * sizeof(unsigned int));
    auto* entries = static_cast<ENTRADA*>(AllocateArray(0, n, sizeof(ENTRADA)));
    auto* before = static_cast<unsigned int*>(AllocateArray(0, n, sizeof(unsigned int)));
    if (!block || !entries || !before) {
        std::free(block);
        std::free(entries);
        std::free(before);
        return -1;
    }
    auto* o = new (block) Ocult{n, 0, 0, before, nullptr, 0, 0, false, false};
    m_pBuckets = reinterpret_cast<unsigned int*>(o + 1);
    m_pEntrades = entries;
    std::fill_n(m_pBuckets, 2 * static_cast<std::size_t>(m_nBuckets), kNone);
    std::fill_n(before, n, Ocult::kFree);
    for (unsigned int i = 0; i < n; ++i) {
        entries[i].szClau[0] = 0;
        entries[i].pItem = nullptr;
        entries[i].nSeguent = i + 1 < n ? i + 1 : kNone;
        entries[i].nLen = -1;
    }
    return 0;
}

int THash::Ampliar(int n) {
    if (n < -1) {
        return -1;
    }
    const unsigned int added = n == -1 ? std::max(m_nMax / 3, kMinGrowth) : static_cast<unsigned int>(n);
    const unsigned int total = m_nMax + added;
    const bool wraps = total < m_nMax;
    m_nMax = total; // Kept: raised before the storage is there
    Ocult* o = ocult();
    if (added == 0) {
        return o ? 0 : -1;
    }
    if (!o || wraps || !Fits(0, total, sizeof(ENTRADA))) {
        return -1;
    }
    auto* before = static_cast<unsigned int*>(std::realloc(o->pAnterior, total * sizeof(unsigned int)));
    if (!before) {
        return -1;
    }
    o->pAnterior = before;
    auto* entries = static_cast<ENTRADA*>(std::realloc(m_pEntrades, total * sizeof(ENTRADA)));
    if (!entries) {
        return -1;
    }
    m_pEntrades = entries;
    // After a failure the slots that exist are fewer than were counted; the ones missing come into being
    // here.
    const unsigned int first = o->nSlots;
    for (unsigned int i = first; i < total; ++i) {
        before[i] = Ocult::kFree;
        entries[i].szClau[0] = 0;
        entries[i].pItem = nullptr;
        entries[i].nSeguent = i + 1 < total ? i + 1 : kNone;
        entries[i].nLen = 0;
    }
    o->nSlots = total;
    m_nLliure = first < total ? first : m_nLliure;
    return 0;
}

int THash::clau(const wchar_t* szClau, int nLen) const {
    return m_nBuckets ? static_cast<int>(Clau(szClau, nLen).sum % m_nBuckets) : 0;
}

bool THash::Igual(unsigned int slot, const Clau& key) const {
    const ENTRADA& entry = m_pEntrades[slot];
    __builtin_prefetch(&entry.pItem); // far behind the key, and wanted next
    const std::size_t units =
        key.count + (key.length == -1 ? 1 : 0); // a NUL-terminated key compares its end too
    return SameUnits(key.units, entry.szClau, units) && entry.nLen == key.length;
}

// The slot of the key, kNone when it is not in the bucket.
unsigned int THash::Trobar(const Clau& key, unsigned int bucket) const {
    const Ocult* o = ocult();
    if (o->pIndex && key.whole) {
        const std::uint32_t hash = key.Hash();
        for (unsigned int at = hash & o->nMask; o->pIndex[at].slot != Ocult::kUnused;
             at = (at + 1) & o->nMask) {
            const Ocult::Lloc place = o->pIndex[at];
            if (place.hash == hash && place.slot != Ocult::kDeleted && Igual(place.slot, key)) {
                return place.slot;
            }
        }
        return kNone;
    }
    if (key.length == -1 && !key.whole) {
        return kNone; // no slot can hold it
    }
    unsigned int slot = m_pBuckets[bucket];
    while (slot != kNone && !Igual(slot, key)) {
        slot = m_pEntrades[slot].nSeguent;
    }
    return slot;
}

// The first entry of the bucket whose stored text, read to its NUL, is the key's, whatever lengths are.
unsigned int THash::TrobarText(const Clau& key, unsigned int bucket) const {
    const Ocult* o = ocult();
    if (o->nWithLength == 0 && key.length == -1) {
        return Trobar(key, bucket);
    }
    const std::size_t bytes = (key.count + std::size_t{1}) * sizeof(char16_t);
    unsigned int slot = m_pBuckets[bucket];
    while (slot != kNone && std::memcmp(m_pEntrades[slot].szClau, key.units, bytes) != 0) {
        slot = m_pEntrades[slot].nSeguent;
    }
    return slot;
}

int THash::BuscarClau(const wchar_t* szClau, int& idx, int nLen) const {
    Ocult* o = ocult();
    const unsigned int bucket = static_cast<unsigned int>(idx);
    idx = -1;
    if (!o || bucket >= m_nBuckets || m_pBuckets[bucket] == kNone) {
        return -1;
    }
    const Clau key(szClau, nLen);
    const bool elsewhere = !o->bRewritten && key.whole && key.sum % m_nBuckets != bucket;
    const unsigned int slot = elsewhere ? kNone : Trobar(key, bucket);
    if (slot == kNone) {
        return static_cast<int>(o->Last(*this)[bucket]);
    }
    idx = static_cast<int>(slot);
    return static_cast<int>(o->pAnterior[slot] == kNone ? slot : o->pAnterior[slot]);
}

void THash::Escriure(unsigned int slot, const Clau& key) {
    const std::size_t units = key.count + (key.length == -1 ? 1 : 0);
    std::memcpy(m_pEntrades[slot].szClau, key.units, units * sizeof(char16_t));
}

void THash::CopyClau(const wchar_t* szClau, int idx, int nLen) {
    Escriure(static_cast<unsigned int>(idx), Clau(szClau, nLen));
    // The slot stays in its chain whatever its key now is: only a walk finds what stands there.
    Ocult* o = ocult();
    o->DropIndex();
    o->bNoIndex = true;
    o->bRewritten = true;
}

// Makes the index anew with room for as many keys and more. Without memory for it the table goes on without.
void THash::CrearIndex(unsigned int nElements) {
    Ocult* o = ocult();
    std::size_t places = 64;
    while (places / 2 <= nElements + nElements / 2 &&
           places <= (std::numeric_limits<std::uint32_t>::max() >> 1)) {
        places *= 2;
    }
    auto* index = static_cast<Ocult::Lloc*>(AllocateArray(0, places, sizeof(Ocult::Lloc)));
    if (!index) {
        o->DropIndex();
        o->bNoIndex = true;
        return;
    }
    std::memset(index, 0xFF, places * sizeof(Ocult::Lloc));
    Ocult::Lloc* old = o->pIndex;
    const std::size_t oldPlaces = old ? std::size_t{o->nMask} + 1 : 0;
    o->pIndex = index;
    o->nMask = static_cast<unsigned int>(places - 1);
    o->nUsed = 0;
    for (std::size_t i = 0; i < oldPlaces; ++i) {
        if (old[i].slot < Ocult::kDeleted) {
            o->Add(old[i].hash, old[i].slot);
        }
    }
    for (unsigned int bucket = 0; !old && bucket < m_nBuckets; ++bucket) {
        for (unsigned int slot = m_pBuckets[bucket]; slot != kNone; slot = m_pEntrades[slot].nSeguent) {
            const Clau key(m_pEntrades[slot].szClau, m_pEntrades[slot].nLen);
            // A key that was cut when it was stored stands in the bucket of the whole one.
            if (key.whole && key.sum % m_nBuckets == bucket) {
                o->Add(key.Hash(), slot);
            }
        }
    }
    std::free(old);
}

int THash::Desar(TItem* pItem, const Clau& key, TItem** ppVell) {
    Ocult* o = ocult();
    if (!o) {
        return -1;
    }
    const unsigned int bucket = key.sum % m_nBuckets;
    unsigned int slot = Trobar(key, bucket);
    if (slot != kNone) {
        ENTRADA& entry = m_pEntrades[slot];
        if (ppVell) {
            *ppVell = entry.pItem;
        } else if (entry.pItem != pItem) {
            delete entry.pItem;
        }
        entry.pItem = pItem;
        return 0;
    }
    // The free list is at its end with slots left over only after an Ampliar that failed, or after Done.
    const bool full = m_nElements >= m_nMax || m_nLliure >= o->nSlots;
    if (full && Ampliar(-1) != 0) {
        return -1;
    }
    slot = m_nLliure;
    ENTRADA& entry = m_pEntrades[slot];
    m_nLliure = entry.nSeguent;
    ++m_nElements;
    unsigned int& last = o->Last(*this)[bucket];
    o->pAnterior[slot] = last;
    (last == kNone ? m_pBuckets[bucket] : m_pEntrades[last].nSeguent) = slot;
    last = slot;
    if (slot >= o->nFresh) {
        o->nFresh = slot + 1;
        if (key.length != -1) {
            std::memset(entry.szClau, 0,
                        sizeof entry.szClau); // it gets no terminator; what follows it is defined
        }
    }
    Escriure(slot, key);
    entry.nSeguent = kNone;
    entry.pItem = pItem;
    entry.nLen = key.length;
    o->nWithLength += key.length == -1 ? 0 : 1;
    if (o->pIndex && key.whole) {
        if (o->nUsed + std::size_t{1} > (std::size_t{o->nMask} + 1) / 2) {
            CrearIndex(m_nElements);
        }
        if (o->pIndex) {
            o->Add(key.Hash(), slot);
        }
    } else if (!o->pIndex && !o->bNoIndex) {
        unsigned int steps = 0;
        for (unsigned int at = slot; at != kNone && steps <= kLongChain; at = o->pAnterior[at]) {
            ++steps;
        }
        if (steps > kLongChain) {
            CrearIndex(std::max(m_nElements, m_nMax) / 3 * 2);
        }
    }
    return 0;
}

int THash::put(TItem* pItem, const wchar_t* szClau, int nLen) {
    return Desar(pItem, Clau(szClau, nLen), nullptr);
}

int THash::change(TItem* pItem, const wchar_t* szClau, TItem*& pVell, int nLen) {
    return Desar(pItem, Clau(szClau, nLen), &pVell);
}

TItem* THash::get(const wchar_t* szClau, int nLen) const {
    if (!ocult()) {
        return nullptr;
    }
    const Clau key(szClau, nLen);
    const unsigned int slot = Trobar(key, key.sum % m_nBuckets);
    return slot == kNone ? nullptr : m_pEntrades[slot].pItem;
}

int THash::del(const wchar_t* szClau, int nLen) {
    Ocult* o = ocult();
    if (!o) {
        return kAbsent;
    }
    // The bucket comes from the length, the comparison goes over the whole text.
    Clau text(szClau, -1);
    const unsigned int bucket = nLen == -1 ? text.sum % m_nBuckets : Clau(szClau, nLen).sum % m_nBuckets;
    if (!text.whole) {
        return kAbsent;
    }
    const bool own = text.sum % m_nBuckets == bucket;
    const unsigned int slot = own || o->nWithLength || o->bRewritten ? TrobarText(text, bucket) : kNone;
    if (slot == kNone) {
        return kAbsent;
    }
    ENTRADA& entry = m_pEntrades[slot];
    if (o->pIndex) {
        const Clau stored(entry.szClau, entry.nLen);
        if (stored.whole) {
            o->Remove(stored.Hash(), slot);
        }
    }
    const unsigned int before = o->pAnterior[slot];
    const unsigned int after = entry.nSeguent;
    (before == kNone ? m_pBuckets[bucket] : m_pEntrades[before].nSeguent) = after;
    (after == kNone ? o->Last(*this)[bucket] : o->pAnterior[after]) = before;
    o->nWithLength -= entry.nLen == -1 ? 0 : 1;
    o->pAnterior[slot] = Ocult::kFree;
    entry.nSeguent = m_nLliure;
    m_nLliure = slot;
    --m_nElements;
    TItem* item = entry.pItem;
    entry.pItem = nullptr;
    entry.szClau[0] = 0;
    delete item;
    return 0;
}

void THash::Done() {
    Ocult* o = ocult();
    if (!o) {
        return;
    }
    for (unsigned int i = 0; i < o->nSlots; ++i) {
        if (m_pEntrades[i].pItem) {
            m_pEntrades[i].pItem = nullptr;
            m_pEntrades[i].nLen = -1;
            m_pEntrades[i].nSeguent = i + 1;
        }
        o->pAnterior[i] = Ocult::kFree;
    }
    if (o->nSlots) {
        m_pEntrades[o->nSlots - 1].nSeguent = kNone;
    }
    std::fill_n(m_pBuckets, 2 * static_cast<std::size_t>(m_nBuckets), kNone);
    o->nWithLength = 0;
    o->DropIndex();
    // Kept: the count and the head of the free list stay as they were.
}

int THash::copy(THash* pDesti) const {
    if (!pDesti || pDesti->m_nMax < m_nElements || pDesti->m_nElements != 0) {
        return -4;
    }
    const Ocult* o = ocult();
    for (unsigned int i = 0; o && i < o->nSlots; ++i) {
        const ENTRADA& entry = m_pEntrades[i];
        if (entry.pItem) {
            TItem* clone = entry.pItem->Duplicar();
            if (pDesti->Desar(clone, Clau(entry.szClau, entry.nLen), nullptr) != 0) {
                delete clone;
                return -1;
            }
        }
    }
    return 0;
}

TItem* THash::Duplicar() const {
    std::unique_ptr<THash> table(new (std::nothrow) THash);
    if (!table || table->init(m_nMax) != 0) {
        return nullptr;
    }
    const Ocult* o = ocult();
    for (unsigned int i = 0; o && i < o->nSlots; ++i) {
        const ENTRADA& entry = m_pEntrades[i];
        if (entry.pItem) {
            TItem* clone = entry.pItem->Duplicar();
            // Kept: the test is inverted. A put that succeeds abandons the new table, with what it holds.
            if (table->Desar(clone, Clau(entry.szClau, entry.nLen), nullptr) == 0) {
                static_cast<void>(table.release());
                return nullptr;
            }
            delete clone;
        }
    }
    return table.release();
}

TLlista* THash::LlistaElements() const {
    std::unique_ptr<TLlista> list(new (std::nothrow) TLlista);
    const Ocult* o = ocult();
    for (unsigned int i = 0; list && o && i < o->nSlots; ++i) {
        const ENTRADA& entry = m_pEntrades[i];
        if (!entry.pItem) {
            continue;
        }
        const Clau key(entry.szClau, entry.nLen);
        wchar_t text[kKeyUnits + 1];
        Widen(key.units, key.count, text);
        std::unique_ptr<THashItem> pair(new (std::nothrow) THashItem(text, entry.pItem));
        if (!pair || list->Afegir(pair.get()) != 0) {
            AfxThrowMemoryException();
        }
        static_cast<void>(pair.release());
    }
    if (!list) {
        AfxThrowMemoryException();
    }
    return list.release();
}

int THash::EsBuit() const {
    return m_nElements == 0 ? 1 : 0;
}

const CMirvaRTTI* THash::GetRTTI() const {
    return &m_rttiTHash;
}
