#include "TLlista.h"

#include "items/Demolition.h"
#include "status/SliceWalk.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <typeinfo>
#include <utility>
#include <vector>

#include "afx.h"
#include "TIndicadorEstat.h"

constinit const CMirvaRTTI TLlista::m_rttiTLlista(&TItem::m_rttiTItem, "TLlista", 2, sizeof(TLlista),
                                                  nullptr);
// Kept: TCrossList has the id 8 too.
constinit const CMirvaRTTI TLlistaCircular::m_rttiTLlistaCircular(&TLlista::m_rttiTLlista, "TLlistaCircular",
                                                                  8, sizeof(TLlistaCircular), nullptr);
constinit const CMirvaRTTI TPila::m_rttiTPila(&TLlista::m_rttiTLlista, "TPila", 5, sizeof(TPila), nullptr);

namespace {

constexpr int NO_MEMORY = -1;
constexpr int NO_ENTRY = -3;
constexpr int CANCELLED = -5;

constexpr std::int64_t MOST_ENTRIES = std::min<std::int64_t>(INT32_MAX, mvlib::MOST_SLOTS);

// The slots that are really allocated for a capacity: by powers of two, and by eighths of one where those get
// large, so that few of the steps in which lists grow and shrink have to ask for other memory.
std::int64_t Allocated(std::int64_t capacity) {
    const auto power = static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(capacity)));
    if (capacity <= 1 << 20)
        return power;
    const std::int64_t grain = power / 16;
    return std::min((capacity + grain - 1) / grain * grain, MOST_ENTRIES);
}

TItem** Resize(TItem** slots, std::int64_t from, std::int64_t to) {
    if (slots != nullptr && Allocated(from) == Allocated(to))
        return slots;
    return mvlib::ResizeSlots(slots, static_cast<std::size_t>(Allocated(to)));
}

// The next multiple of the step strictly above `count`.
std::int64_t RoundUp(std::int64_t count, int step) {
    return count + (step - count % step);
}

// The classes of this library whose Duplicar is TLlista's; a client's class may have its own.
bool IsPlainList(const TItem* item) {
    const std::type_info* type = &typeid(*item);
    return type == &typeid(TLlista) || type == &typeid(TLlistaOrdenada) || type == &typeid(TLlistaCircular) ||
           type == &typeid(TPila) || type == &typeid(TPilaLimitada);
}

// The first of the entries that `item` does not go behind; the end when there is none.
[[gnu::noinline]] TItem** FirstNotBefore(const TItem* item, TItem** first, TItem** end, PFN_COMPARARITEMS cmp,
                                         long lUser) {
    // By fours: the comparisons are calls, and a jump after each would cost as much as a small one.
    for (; end - first >= 4; first += 4) {
        if (cmp(item, first[0], lUser) <= 0)
            return first;
        if (cmp(item, first[1], lUser) <= 0)
            return first + 1;
        if (cmp(item, first[2], lUser) <= 0)
            return first + 2;
        if (cmp(item, first[3], lUser) <= 0)
            return first + 3;
    }
    while (first != end && cmp(item, *first, lUser) > 0)
        ++first;
    return first;
}

// Visits the entries `0` to `count - 1`, each in its slice of the indicator's range.
template <class Visit>
[[gnu::noinline]] int VisitReporting(TIndicadorEstat* indicator, int count, bool backwards, Visit visit) {
    MvSliceWalk slices(indicator, count);
    int result = 0;
    for (int visited = 0; visited < count && result >= 0; ++visited) {
        // A range that was pushed in vain is not popped.
        if (!slices.Enter(visited))
            return CANCELLED;
        result = visit(backwards ? count - 1 - visited : visited);
        if (!slices.Leave())
            return CANCELLED;
    }
    return result;
}

struct Freer {
    void operator()(void* block) const { std::free(block); }
};

} // namespace

// What TLlista's deep copy works on: a stack of half-filled copies, so that nesting takes no stack.
class TLlista::Copier {
public:
    // Fills `target`, which is empty. Throws CMemoryException*; what was copied hangs below `target` then,
    // and all of it is owned.
    void Fill(TLlista* target, const TLlista* source) {
        try {
            Begin(target, source);
            while (!m_levels.empty())
                Advance();
        } catch (const std::bad_alloc&) {
            AfxThrowMemoryException();
        }
        for (const auto& [copy, flag] : m_flags)
            copy->m_bPropietari = flag;
    }

private:
    struct Level {
        TLlista* target;
        const TLlista* source;
    };

    void Begin(TLlista* target, const TLlista* source) {
        if (target->ampliar(source->m_nElements) != 0)
            AfxThrowMemoryException();
        // Copies own their items until all is done, lest a failure leaves any behind.
        if (source->m_bPropietari != target->m_bPropietari)
            m_flags.emplace_back(target, source->m_bPropietari);
        m_levels.push_back({target, source});
    }

    void Advance() {
        const auto [target, source] = m_levels.back();
        const int count = std::min(source->m_nElements, target->m_nCapacitat);
        while (target->m_nElements < count) {
            const TItem* item = source->m_ppItems[target->m_nElements];
            if (item != nullptr && IsPlainList(item)) {
                auto* copy = new (std::nothrow) TLlista;
                target->m_ppItems[target->m_nElements++] = copy;
                if (copy == nullptr)
                    continue;
                Begin(copy, static_cast<const TLlista*>(item));
                return;
            }
            TItem* clone = item != nullptr ? item->Duplicar() : nullptr;
            target->m_ppItems[target->m_nElements++] = clone;
        }
        m_levels.pop_back();
    }

    std::vector<Level> m_levels;
    std::vector<std::pair<TLlista*, int>> m_flags;
};

TLlista::TLlista(const TLlista* pOrigen)
    : TLlista() {
    if (pOrigen != nullptr)
        Copier().Fill(this, pOrigen);
}

TLlista::~TLlista() {
    if (!entregar(this))
        Done(m_bPropietari);
}

TItem* TLlista::Duplicar() const {
    return new (std::nothrow) TLlista(this);
}

const CMirvaRTTI* TLlista::GetRTTI() const {
    return &m_rttiTLlista;
}

int TLlista::EsBuit() const {
    return m_nElements <= 0 ? 1 : 0;
}

TItem* TLlista::Canviar(TItem* p, int pos) {
    return situar(pos) ? std::exchange(m_ppItems[m_nActual], p) : nullptr;
}

int TLlista::insertar(TItem* p, int pos) {
    const int count = m_nElements;
    if (count == m_nCapacitat && ampliar(1) != 0)
        return NO_MEMORY;
    TItem** slot = m_ppItems + count;
    if (pos < count) {
        if (pos < 0)
            pos = 0;
        slot = m_ppItems + pos;
        std::memmove(slot + 1, slot, static_cast<std::size_t>(count - pos) * sizeof(TItem*));
    } else {
        pos = count;
    }
    *slot = p;
    m_nElements = count + 1;
    m_nActual = pos + 1;
    return 0;
}

int TLlista::eliminar(int pos) {
    if (!situar(pos))
        return NO_ENTRY;
    delete extreure();
    return reduir();
}

TItem* TLlista::treure(int pos) {
    if (!situar(pos))
        return nullptr;
    TItem* item = extreure();
    reduir();
    return item;
}

int TLlista::Invertir() {
    std::reverse(m_ppItems, m_ppItems + m_nElements);
    return 0;
}

int TLlista::Ordenar(PFN_COMPARARITEMS cmp, long lUser, TIndicadorEstat* pIE) {
    const int count = m_nElements;
    if (count <= 0)
        return 0;
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(TItem*);
    const std::unique_ptr<TItem*[], Freer> order(static_cast<TItem**>(std::malloc(bytes)));
    if (order == nullptr)
        return NO_MEMORY;
    TItem** const placed = order.get();
    for (int done = 0; done < count; ++done) {
        TItem* const item = m_ppItems[count - 1 - done];
        TItem** const end = placed + done;
        TItem** const place = FirstNotBefore(item, placed, end, cmp, lUser);
        std::memmove(place + 1, place, static_cast<std::size_t>(end - place) * sizeof(TItem*));
        *place = item;
        if (pIE != nullptr && pIE->MostrarEstatRel(static_cast<double>(done + 1) / count) == 0)
            return CANCELLED;
    }
    std::memcpy(m_ppItems, placed, bytes);
    return 0;
}

int TLlista::Concatenar(const TLlista* pOrigen, int pos) {
    const int added = pOrigen != nullptr ? pOrigen->m_nElements : 0;
    if (added <= 0)
        return 0;
    if (ampliar(added) != 0)
        return NO_MEMORY;
    const int count = m_nElements;
    // Beyond the end there is nothing to make room in; the clones of an append are stored behind the last
    // entry.
    if (pos < 0 || pos > count)
        pos = count;
    // Kept: upwards, and with this bound. It stays inside the array: i + added < count + added <= capacity.
    for (int i = pos; i < count - pos; ++i) {
        m_ppItems[i + added] = m_ppItems[i];
        m_ppItems[i] = nullptr;
    }
    int made = 0;
    const auto destroyUnreachable = [&] {
        for (int i = std::max(pos, count); i < pos + made; ++i)
            delete std::exchange(m_ppItems[i], nullptr);
    };
    try {
        for (; made < added; ++made) {
            const TItem* item = pOrigen->m_ppItems[made];
            TItem* clone = item != nullptr ? item->Duplicar() : nullptr;
            if (item != nullptr && clone == nullptr) {
                destroyUnreachable();
                return NO_MEMORY;
            }
            m_ppItems[pos + made] = clone;
        }
    } catch (...) {
        destroyUnreachable();
        throw;
    }
    m_nElements = count + added;
    return 0;
}

int TLlista::Fusionar(TLlista* pOrigen, int pos) {
    const int added = pOrigen != nullptr && pOrigen != this ? pOrigen->m_nElements : 0;
    if (added <= 0)
        return 0;
    if (ampliar(added) != 0)
        return NO_MEMORY;
    if (pos < 0 || pos > m_nElements)
        pos = m_nElements;
    TItem** gap = m_ppItems + pos;
    std::memmove(gap + added, gap, static_cast<std::size_t>(m_nElements - pos) * sizeof(TItem*));
    std::memcpy(gap, pOrigen->m_ppItems, static_cast<std::size_t>(added) * sizeof(TItem*));
    m_nElements += added;
    pOrigen->Done(0);
    return 0;
}

void TLlista::Init() {
    m_nActual = 0;
    m_nElements = 0;
    m_nCapacitat = 0;
    m_nIncrement = INCREMENT_MINIM;
    m_ppItems = nullptr;
}

void TLlista::Done(int bEliminar) {
    if (m_ppItems == nullptr)
        return;
    if (bEliminar != 0) {
        mvlib::DemolitionLoop loop;
        // An item may take entries out of this list when it goes.
        for (int i = m_nElements - 1; i >= 0; --i)
            if (i < m_nElements)
                loop.Destroy(std::exchange(m_ppItems[i], nullptr));
    }
    std::free(m_ppItems);
    Init();
}

int TLlista::CreaBuida(int n) {
    if (ampliar(n) != 0)
        return NO_MEMORY;
    for (int i = 0; i < n; ++i) {
        const int result = Afegir(nullptr);
        if (result < 0)
            return result;
    }
    return 0;
}

int TLlista::Principi() {
    if (m_nElements <= 0)
        return 0;
    m_nActual = 0;
    return 1;
}

int TLlista::Final() {
    if (m_nElements <= 0)
        return 0;
    m_nActual = m_nElements - 1;
    return 1;
}

int TLlista::Seguent() {
    if (m_nElements <= 0 || m_nActual >= m_nElements - 1)
        return 0;
    ++m_nActual;
    return 1;
}

int TLlista::Previ() {
    if (m_nElements <= 0 || m_nActual <= 0)
        return 0;
    --m_nActual;
    return 1;
}

int TLlista::Recorrer(PFN_VISITARITEM fn, int nFlags, long lUser, TIndicadorEstat* pIE) const {
    const int count = m_nElements;
    const bool backwards = (nFlags & 1) != 0;
    const auto visit = [=, this](int i) { return fn(i < m_nElements ? m_ppItems[i] : nullptr, i, lUser); };
    if (pIE != nullptr)
        return VisitReporting(pIE, count, backwards, visit);
    int result = 0;
    if (backwards) {
        for (int i = count; i-- > 0 && result >= 0;)
            result = visit(i);
    } else {
        for (int i = 0; i < count && result >= 0; ++i)
            result = visit(i);
    }
    return result;
}

// Room for `n` more entries. 0 or -1.
int TLlista::ampliar(int n) {
    if (m_nCapacitat - m_nElements >= n)
        return 0;
    const std::int64_t capacity = RoundUp(static_cast<std::int64_t>(m_nElements) + n, m_nIncrement);
    if (capacity > MOST_ENTRIES)
        return NO_MEMORY;
    TItem** slots = Resize(m_ppItems, m_nCapacitat, capacity);
    if (slots == nullptr)
        return NO_MEMORY;
    std::fill(slots + m_nElements, slots + capacity, nullptr);
    m_ppItems = slots;
    m_nCapacitat = static_cast<int>(capacity);
    if (m_nCapacitat > 2 * m_nIncrement && m_nIncrement < INCREMENT_MAXIM)
        m_nIncrement = std::min(2 * m_nIncrement, INCREMENT_MAXIM);
    return 0;
}

// Gives back storage that the entries no longer need. 0 or -1.
int TLlista::reduir() {
    if (m_nElements == 0) {
        std::free(std::exchange(m_ppItems, nullptr));
        m_nCapacitat = 0;
        m_nIncrement = INCREMENT_MINIM;
        return 0;
    }
    const std::int64_t capacity = RoundUp(m_nElements, m_nIncrement);
    if (capacity >= m_nCapacitat)
        return 0;
    TItem** slots = Resize(m_ppItems, m_nCapacitat, capacity);
    if (slots == nullptr)
        return NO_MEMORY;
    m_ppItems = slots;
    m_nCapacitat = static_cast<int>(capacity);
    if (m_nCapacitat <= m_nIncrement && m_nIncrement > INCREMENT_MINIM)
        m_nIncrement = std::max(m_nIncrement / 2, INCREMENT_MINIM);
    return 0;
}

// True when the items are left to the loop that is deleting `container`: this list is empty then.
bool TLlista::entregar(const TItem* container) {
    if (m_ppItems == nullptr || m_bPropietari == 0)
        return false;
    if (!mvlib::HandOver(container, m_ppItems, static_cast<std::size_t>(m_nCapacitat),
                         static_cast<std::size_t>(m_nElements)))
        return false;
    Init();
    return true;
}

// Moves the cursor to `pos` unless it is negative. Whether there is an entry at the cursor.
bool TLlista::situar(int pos) {
    if (pos >= 0)
        m_nActual = pos;
    return m_nActual >= 0 && m_nActual < m_nElements;
}

// Takes the entry at the cursor out, without giving storage back.
TItem* TLlista::extreure() {
    TItem** slot = m_ppItems + m_nActual;
    TItem* item = *slot;
    --m_nElements;
    std::memmove(slot, slot + 1, static_cast<std::size_t>(m_nElements - m_nActual) * sizeof(TItem*));
    m_ppItems[m_nElements] = nullptr;
    return item;
}

namespace {

template <class Compare>
inline int SearchHalves(TItem** const& slots, int lo, int hi, int& pos, Compare compare) {
    while (hi > lo) {
        const int mid = static_cast<int>((static_cast<unsigned int>(lo) + static_cast<unsigned int>(hi)) / 2);
        const int order = compare(slots[mid]);
        if (order < 0) {
            hi = mid;
        } else if (order > 0) {
            lo = mid + 1;
        } else {
            pos = mid;
            return 1;
        }
    }
    const int order = compare(slots[lo]);
    pos = order > 0 ? lo + 1 : lo;
    return order == 0 ? 1 : 0;
}

// Where `p` is, or goes, among the entries `lo` to `hi`. The address of the slots is read anew at every step,
// since a comparison may reach their list. Null sorts before everything.
inline int Search(const TItem* p, TItem** const& slots, int lo, int hi, int& pos) {
    if (p == nullptr)
        return SearchHalves(slots, lo, hi, pos, [](const TItem* entry) { return entry != nullptr ? -1 : 0; });
    return SearchHalves(slots, lo, hi, pos,
                        [p](const TItem* entry) { return entry != nullptr ? p->Comparar(entry) : 1; });
}

// The same for a whole list of `count` entries, which may be empty.
inline int Search(const TItem* p, TItem** const& slots, int count, int& pos) {
    if (count > 0)
        return Search(p, slots, 0, count - 1, pos);
    pos = 0;
    return 0;
}

} // namespace

TLlistaOrdenada::~TLlistaOrdenada() = default;

int TLlistaOrdenada::Afegir(TItem* p) {
    int pos;
    if (Search(p, m_ppItems, m_nElements, pos) == 0 || m_bRepetits != 0)
        return TLlista::Insertar(p, pos);
    TItem* old = TLlista::Canviar(p, pos);
    // The item may have been in the list already.
    if (old != p)
        delete old;
    return 0;
}

int TLlistaOrdenada::BuscarPosicio(const TItem* p, int& pos) const {
    return Search(p, m_ppItems, m_nElements, pos);
}

int TLlistaOrdenada::BuscarItem(const TItem* p) const {
    int pos;
    return Search(p, m_ppItems, m_nElements, pos) != 0 ? pos : -1;
}

int TLlistaOrdenada::BusquedaDic(const TItem* p, int lo, int hi, int& pos) const {
    return Search(p, m_ppItems, lo, hi, pos);
}

TLlistaCircular::~TLlistaCircular() = default;

const CMirvaRTTI* TLlistaCircular::GetRTTI() const {
    return &m_rttiTLlistaCircular;
}

TItem* TLlistaCircular::Canviar(TItem* p, int pos) {
    return TLlista::Canviar(p, CalculaPosicio(pos));
}

int TLlistaCircular::Insertar(TItem* p, int pos) {
    return TLlista::Insertar(p, pos == m_nElements ? pos : CalculaPosicio(pos));
}

int TLlistaCircular::Eliminar(int pos) {
    return TLlista::Eliminar(CalculaPosicio(pos));
}

TItem* TLlistaCircular::Treure(int pos) {
    return TLlista::Treure(CalculaPosicio(pos));
}

int TLlistaCircular::Seguent() {
    if (m_nActual != m_nElements)
        return TLlista::Seguent();
    m_nActual = 0;
    return 1;
}

int TLlistaCircular::Previ() {
    if (m_nActual != 0)
        return TLlista::Previ();
    Final();
    return 1;
}

int TLlistaCircular::CalculaPosicio(int i) const {
    const std::int64_t count = m_nElements;
    if (count <= 0)
        return 0;
    const std::int64_t rest = i % count;
    return static_cast<int>(rest < 0 ? rest + count : rest);
}

TPila::~TPila() = default;

const CMirvaRTTI* TPila::GetRTTI() const {
    return &m_rttiTPila;
}

TPilaLimitada::~TPilaLimitada() = default;

int TPilaLimitada::push(TItem* p) {
    if (m_nTamany < 1) {
        delete p;
        return 0;
    }
    while (m_nElements >= m_nTamany)
        Eliminar(0);
    return TPila::push(p);
}

void TPilaLimitada::SetTamany(int n) {
    m_nTamany = n;
    while (m_nElements > m_nTamany && m_nElements > 0) {
        Principi();
        Eliminar(0);
    }
}
