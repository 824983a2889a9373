#include "THash.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <new>

#include "afx.h"
#include "items/Demolition.h"
#include "items/KeyUnits.h"
#include "items/SlotIndex.h"
#include "large_pages.h"
#include "TLlista.h"

namespace {

constexpr unsigned int kNone = mvlib::SlotIndex::NONE;
constexpr int kAbsent = -1402;
constexpr unsigned int kKeyUnits = 261; // what a slot keeps of a key, the terminator apart
constexpr unsigned int kFew = 16; // with so many keys, chains are walked; more bring the index into being
constexpr unsigned int kMinGrowth = 20;

// Whether the size of `count` elements behind a header can be told.
bool Fits(std::size_t header, std::size_t count, std::size_t size) {
    return count <= (std::numeric_limits<std::size_t>::max() - header) / size;
}

// Blocks of `count` elements behind a header; null when the size cannot be had or told.
void* AllocateArray(std::size_t header, std::size_t count, std::size_t size) {
    return Fits(header, count, size) ? std::malloc(std::max<std::size_t>(header + count * size, 1)) : nullptr;
}

// A stored key as the target's wide text, NUL-terminated; `text` has room for one character per unit and the
// NUL.
void Widen(const wchar_t* units, std::size_t count, wchar_t* text) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i) {
        auto code = static_cast<std::uint32_t>(units[i]);
        if (sizeof(wchar_t) > 2 && (code & 0xFC00) == 0xD800 && i + 1 < count &&
            (units[i + 1] & 0xFC00) == 0xDC00) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (units[++i] & 0x3FF);
        }
        text[length++] = static_cast<wchar_t>(code);
    }
    text[length] = 0;
}

} // namespace

// A key on its way in: as wide text that has one UTF-16 unit per character. Mostly that is the caller's text;
// any other is put into a room, of which a key that is too long for a slot gets the beginning.
struct THash::Clau {
    using Room = wchar_t[kKeyUnits];

    const wchar_t* units;
    std::size_t count;
    int length;         // as an entry keeps it: -1 or the whole number of units
    std::uint32_t hash; // counts only for a whole key
    bool whole;

    Clau(const wchar_t* text, int given, Room& room)
        : units(text)
        , count(given == -1 ? std::wcslen(text) : static_cast<std::size_t>(std::max(given, 0)))
        , length(given)
        , whole(true)
        , m_summed(false)
        , m_sum(0) {
        if (count <= kKeyUnits) [[likely]] {
            const mvlib::keys::Hasher hasher(text, count);
            if (hasher.IsUnits()) [[likely]] {
                SetHash(hasher);
                return;
            }
        }
        *this = Encoded(text, count, given, room);
    }

    Clau(const char16_t* stored, int storedLength, Room& room)
        : units(room)
        , count(0)
        , length(storedLength)
        , whole(storedLength <= static_cast<int>(kKeyUnits))
        , m_summed(false)
        , m_sum(0) {
        const unsigned int most =
            storedLength < 0 ? kKeyUnits : std::min<unsigned int>(storedLength, kKeyUnits);
        while (count < most && (storedLength >= 0 || stored[count])) {
            room[count] = stored[count];
            ++count;
        }
        SetHash(mvlib::keys::Hasher(room, count));
    }

    // Of all units, also of those that no slot has room for.
    std::uint32_t Sum() const { return m_summed ? m_sum : mvlib::keys::Sum(units, count); }

private:
    explicit Clau(const Room& room)
        : units(room)
        , count(0)
        , m_summed(true)
        , m_sum(0) {}

    void SetHash(const mvlib::keys::Hasher& hasher) {
        hash = hasher.Hash() + (length == -1 ? 0 : 0x9E3779B9u);
    }

    // A key that is too long, or has characters of two units.
    [[gnu::noinline]] static Clau Encoded(const wchar_t* text, std::size_t elements, int given, Room& room) {
        Clau key(room);
        std::size_t total = 0;
        const auto add = [&](std::uint32_t unit) {
            key.m_sum += unit;
            ++total;
            if (key.count < kKeyUnits) {
                room[key.count++] = static_cast<wchar_t>(unit);
            }
        };
        for (std::size_t i = 0; i < elements; ++i) {
            const auto code = static_cast<std::uint32_t>(text[i]);
            if (mvlib::keys::WIDE_IS_UNIT || code <= 0xFFFF) {
                add(code);
            } else {
                add(0xD800 + (((code - 0x10000) >> 10) & 0x3FF));
                add(0xDC00 + ((code - 0x10000) & 0x3FF));
            }
        }
        key.whole = total <= kKeyUnits;
        key.length = given < 0
                         ? given
                         : static_cast<int>(std::min<std::size_t>(total, std::numeric_limits<int>::max()));
        key.SetHash(mvlib::keys::Hasher(room, key.count));
        return key;
    }

    bool m_summed;
    std::uint32_t m_sum;
};

// What lies unseen beside the arrays. It stands before the buckets, which live as long as the table's storage
// does, so that tables which share their arrays share this too.
//
// For each slot it keeps the entry before it in its chain and for each bucket the last entry, so that nothing
// walks a chain to append or to unlink. Once there are more than a few keys, an index from key to slot comes
// into being. It holds the keys that a slot holds whole; the few longer ones are still looked for along their
// chain. The index is a mere help: when memory for it is short, the chains are walked again.
struct THash::Ocult {
    static constexpr unsigned int kFree = kNone - 1; // in pAnterior: the slot is free

    unsigned int nSlots;      // slots that really exist: fewer than m_nMax after an Ampliar that failed
    unsigned int nFresh;      // the slots from here on were never handed out
    unsigned int nWithLength; // entries stored with a length of their own
    bool bNoIndex;            // it could not be had, or keys were rewritten in their slots: not tried again
    bool bRewritten;          // a slot may hold a key of another bucket
    unsigned int* pAnterior;  // per slot: the entry before it in the chain, kNone for the first
    mvlib::SlotIndex index;

    unsigned int* Last(const THash& table) { return table.m_pBuckets + table.m_nBuckets; }
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
    o->index.Drop();
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
    MvPreferLargePages(entries, n * sizeof(ENTRADA));
    auto* o = new (block) Ocult{n, 0, 0, false, false, before, {}};
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
    MvPreferLargePages(entries, total * sizeof(ENTRADA));
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
    Clau::Room room;
    return m_nBuckets ? static_cast<int>(Clau(szClau, nLen, room).Sum() % m_nBuckets) : 0;
}

inline bool THash::Igual(unsigned int slot, const Clau& key) const {
    const ENTRADA& entry = m_pEntrades[slot];
    __builtin_prefetch(&entry.pItem); // far behind the key, and wanted next
    return mvlib::keys::IsSame(entry.szClau, key.units, key.count) && entry.nLen == key.length &&
           (key.length != -1 || entry.szClau[key.count] == 0);
}

// The slot of the key, kNone when it is not there.
inline unsigned int THash::Trobar(const Clau& key) const {
    const Ocult* o = ocult();
    if (o->index.Exists() && key.whole) [[likely]] {
        return o->index.Find(key.hash, [&](unsigned int slot) { return Igual(slot, key); });
    }
    return TrobarCadena(key, key.Sum() % m_nBuckets);
}

// The same along the chain of a bucket.
unsigned int THash::TrobarCadena(Clau key, unsigned int bucket) const {
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
    if (o->nWithLength == 0 && key.length == -1 && !o->bRewritten) {
        return Trobar(key);
    }
    unsigned int slot = m_pBuckets[bucket];
    while (slot != kNone && !(mvlib::keys::IsSame(m_pEntrades[slot].szClau, key.units, key.count) &&
                              m_pEntrades[slot].szClau[key.count] == 0)) {
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
    Clau::Room room;
    const Clau key(szClau, nLen, room);
    const bool own = key.Sum() % m_nBuckets == bucket;
    const bool elsewhere = !own && !o->bRewritten && key.whole;
    const unsigned int slot = elsewhere ? kNone : own ? Trobar(key) : TrobarCadena(key, bucket);
    if (slot == kNone) {
        return static_cast<int>(o->Last(*this)[bucket]);
    }
    idx = static_cast<int>(slot);
    return static_cast<int>(o->pAnterior[slot] == kNone ? slot : o->pAnterior[slot]);
}

void THash::Escriure(unsigned int slot, const Clau& key) {
    char16_t* stored = m_pEntrades[slot].szClau;
    mvlib::keys::Store(stored, key.units, key.count);
    if (key.length == -1) {
        stored[key.count] = 0;
    }
}

void THash::CopyClau(const wchar_t* szClau, int idx, int nLen) {
    Clau::Room room;
    Escriure(static_cast<unsigned int>(idx), Clau(szClau, nLen, room));
    // The slot stays in its chain whatever its key now is: only a walk finds what stands there.
    Ocult* o = ocult();
    o->index.Drop();
    o->bNoIndex = true;
    o->bRewritten = true;
}

// Makes the index anew, with room for a key in every slot and for the marks that removed ones leave for a
// while. Without memory for it the table goes on without.
void THash::CrearIndex() {
    Ocult* o = ocult();
    const bool isNew = !o->index.Exists();
    const std::size_t keys = std::max(m_nElements, m_nMax);
    if (!o->index.Create(keys + keys / 16)) {
        o->index.Drop();
        o->bNoIndex = true;
        return;
    }
    Clau::Room room;
    for (unsigned int bucket = 0; isNew && bucket < m_nBuckets; ++bucket) {
        for (unsigned int slot = m_pBuckets[bucket]; slot != kNone; slot = m_pEntrades[slot].nSeguent) {
            const Clau key(m_pEntrades[slot].szClau, m_pEntrades[slot].nLen, room);
            // A key that was cut when it was stored stands in the bucket of the whole one.
            if (key.whole && key.Sum() % m_nBuckets == bucket) {
                o->index.Add(key.hash, slot);
            }
        }
    }
}

int THash::Desar(TItem* pItem, const Clau& key, TItem** ppVell) {
    Ocult* o = ocult();
    if (!o) {
        return -1;
    }
    unsigned int slot = Trobar(key);
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
    const unsigned int bucket = key.Sum() % m_nBuckets;
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
    if (!o->index.Exists()) {
        if (!o->bNoIndex && m_nElements > kFew) {
            CrearIndex();
        }
    } else if (key.whole && !o->index.Add(key.hash, slot)) {
        CrearIndex();
        if (o->index.Exists()) {
            o->index.Add(key.hash, slot);
        }
    }
    return 0;
}

int THash::put(TItem* pItem, const wchar_t* szClau, int nLen) {
    Clau::Room room;
    return Desar(pItem, Clau(szClau, nLen, room), nullptr);
}

int THash::change(TItem* pItem, const wchar_t* szClau, TItem*& pVell, int nLen) {
    Clau::Room room;
    return Desar(pItem, Clau(szClau, nLen, room), &pVell);
}

TItem* THash::get(const wchar_t* szClau, int nLen) const {
    if (!ocult()) {
        return nullptr;
    }
    Clau::Room room;
    const unsigned int slot = Trobar(Clau(szClau, nLen, room));
    return slot == kNone ? nullptr : m_pEntrades[slot].pItem;
}

int THash::del(const wchar_t* szClau, int nLen) {
    Ocult* o = ocult();
    if (!o) {
        return kAbsent;
    }
    // The bucket comes from the length, the comparison goes over the whole text.
    Clau::Room room, otherRoom;
    const Clau text(szClau, -1, room);
    const unsigned int own = text.Sum() % m_nBuckets;
    const unsigned int bucket = nLen == -1 ? own : Clau(szClau, nLen, otherRoom).Sum() % m_nBuckets;
    if (!text.whole) {
        return kAbsent;
    }
    const unsigned int slot =
        own == bucket || o->nWithLength || o->bRewritten ? TrobarText(text, bucket) : kNone;
    if (slot == kNone) {
        return kAbsent;
    }
    ENTRADA& entry = m_pEntrades[slot];
    if (o->index.Exists()) {
        if (entry.nLen == -1) {
            o->index.Remove(text.hash, slot);
        } else if (const Clau stored(entry.szClau, entry.nLen, otherRoom); stored.whole) {
            o->index.Remove(stored.hash, slot);
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
    o->index.Drop();
    // Kept: the count and the head of the free list stay as they were.
}

int THash::copy(THash* pDesti) const {
    if (!pDesti || pDesti->m_nMax < m_nElements || pDesti->m_nElements != 0) {
        return -4;
    }
    const Ocult* o = ocult();
    Clau::Room room;
    for (unsigned int i = 0; o && i < o->nSlots; ++i) {
        const ENTRADA& entry = m_pEntrades[i];
        if (entry.pItem) {
            TItem* clone = entry.pItem->Duplicar();
            if (pDesti->Desar(clone, Clau(entry.szClau, entry.nLen, room), nullptr) != 0) {
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
    Clau::Room room;
    for (unsigned int i = 0; o && i < o->nSlots; ++i) {
        const ENTRADA& entry = m_pEntrades[i];
        if (entry.pItem) {
            TItem* clone = entry.pItem->Duplicar();
            // Kept: the test is inverted. A put that succeeds abandons the new table, with what it holds.
            if (table->Desar(clone, Clau(entry.szClau, entry.nLen, room), nullptr) == 0) {
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
    Clau::Room room;
    for (unsigned int i = 0; list && o && i < o->nSlots; ++i) {
        const ENTRADA& entry = m_pEntrades[i];
        if (!entry.pItem) {
            continue;
        }
        const Clau key(entry.szClau, entry.nLen, room);
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
