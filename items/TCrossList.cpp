#include "TCrossList.h"

#include "status/SliceWalk.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>
#include <vector>

#include "afxtempl.h"
#include "items/Demolition.h"
#include "large_pages.h"
#include "TIndicadorEstat.h"

namespace {

constexpr int kMissing = -3;
constexpr int kCancelled = -5;
constexpr unsigned int kFirstPlacesLog2 = 4;

// Stands in the index for a removed item which searches for others still have to pass.
alignas(void*) const char removedItem[sizeof(void*)] = {};
const TItem* const kRemoved = reinterpret_cast<const TItem*>(removedItem);

void Couple(TCrossNode* previous, TCrossNode* next) {
    previous->SetNext(next);
    next->SetPrev(previous);
}

// A client's class may clone and destroy itself in ways of its own.
bool IsPlainNode(const TCrossNode* node) {
    return typeid(*node) == typeid(TCrossNode);
}

bool IsPlainList(const TItem* item) {
    return typeid(*item) == typeid(TCrossList) || typeid(*item) == typeid(TCircularCrossList);
}

} // namespace

// --- TCrossNode ---

TCrossNode::TCrossNode()
    : m_pPrev(nullptr)
    , m_pNext(nullptr)
    , m_pItem(nullptr) {}

TCrossNode::TCrossNode(const TCrossNode* pNode)
    : TCrossNode() {
    if (pNode) {
        m_pPrev = pNode->m_pPrev;
        m_pNext = pNode->m_pNext;
        m_pItem = pNode->m_pItem ? pNode->m_pItem->Duplicar() : nullptr;
    }
}

TCrossNode::~TCrossNode() {
    m_pPrev = nullptr;
    m_pNext = nullptr;
    delete m_pItem;
}

TCrossNode* TCrossNode::Duplicar() const {
    return new (std::nothrow) TCrossNode(this);
}

int TCrossNode::SetNextItem(TItem* pItem) {
    if (!m_pNext) {
        return kMissing;
    }
    m_pNext->m_pItem = pItem;
    return 0;
}

int TCrossNode::SetPrevItem(TItem* pItem) {
    if (!m_pPrev) {
        return kMissing;
    }
    m_pPrev->m_pItem = pItem;
    return 0;
}

TItem* TCrossNode::UnLinkItem() {
    TItem* item = m_pItem;
    m_pItem = nullptr;
    return item;
}

// --- the index ---

TCrossList::CMapaNodes::CMapaNodes()
    : m_pTable(nullptr)
    , m_nMask(0)
    , m_nCount(0)
    , m_nUsed(0)
    , m_nShift(0)
    , m_bDoubled(false)
    , m_nReserved(0) {}

TCrossList::CMapaNodes::~CMapaNodes() {
    std::free(m_pTable);
}

void TCrossList::CMapaNodes::Reserve(unsigned int nMore) {
    const std::size_t places = m_pTable ? std::size_t{m_nMask} + 1 : 0;
    const auto isEnough = [](std::size_t entries, std::size_t room) { return entries <= room / 4 * 3; };
    if (isEnough(std::size_t{m_nUsed} + nMore, places)) {
        return;
    }
    const std::size_t entries = std::size_t{m_nCount} + nMore;
    if (entries <= places / 2) {
        DropRemoved();
        return;
    }
    unsigned int shift = places ? m_nShift - 1 : 64 - kFirstPlacesLog2;
    while (!isEnough(entries, std::size_t{1} << (64 - shift))) {
        --shift;
    }
    const std::size_t wanted = std::size_t{1} << (64 - shift);
    auto* table = static_cast<Lloc*>(std::calloc(wanted, sizeof(Lloc)));
    if (!table) {
        if (!isEnough(entries, places)) {
            AfxThrowMemoryException();
        }
        DropRemoved();
        return;
    }
    MvPreferLargePages(table, wanted * sizeof(Lloc));
    Lloc* old = m_pTable;
    m_pTable = table;
    m_nMask = static_cast<unsigned int>(wanted - 1);
    m_nShift = shift;
    m_nUsed = m_nCount;
    for (std::size_t i = 0; i < places; ++i) {
        if (old[i].pItem && old[i].pItem != kRemoved) {
            *Find(old[i].pItem) = old[i];
        }
    }
    std::free(old);
}

// Empties the place: every entry behind it that would not be found across the gap moves into it. No mark of a
// removed entry stands there up to the next unused place.
void TCrossList::CMapaNodes::CloseGap(unsigned int nPlace) {
    unsigned int gap = nPlace;
    for (unsigned int at = (gap + 1) & m_nMask; m_pTable[at].pItem; at = (at + 1) & m_nMask) {
        const unsigned int home = Home(m_pTable[at].pItem);
        if (((at - home) & m_nMask) >= ((at - gap) & m_nMask)) {
            m_pTable[gap] = m_pTable[at];
            gap = at;
        }
    }
    m_pTable[gap] = {};
}

void TCrossList::CMapaNodes::DropRemoved() {
    unsigned int at = 0;
    while (m_pTable[at].pItem) {
        ++at;
    }
    for (unsigned int left = m_nMask; left > 0; --left) {
        at = (at - 1) & m_nMask;
        if (m_pTable[at].pItem == kRemoved) {
            CloseGap(at);
        }
    }
    m_nUsed = m_nCount;
}

void TCrossList::CMapaNodes::SetAt(const TItem* pItem, TCrossNode* pNode) {
    Reserve(1);
    Lloc* place = Find(pItem);
    const unsigned int added = place->pItem ? 0 : 1;
    m_nCount += added;
    m_nUsed += added;
    *place = {pItem, pNode};
}

// Leaves a mark unless searches would end right behind it. Whether they do is anybody's guess, also the
// processor's: so it is reckoned with and not branched on, and the entries behind stay where they are.
void TCrossList::CMapaNodes::RemoveKey(const TItem* pItem) {
    if (!m_pTable || !pItem) {
        return;
    }
    Lloc* place = Find(pItem);
    if (!place->pItem) {
        return;
    }
    const auto at = static_cast<unsigned int>(place - m_pTable);
    const std::uintptr_t marks = m_pTable[(at + 1) & m_nMask].pItem ? 1 : 0;
    --m_nCount;
    m_nUsed -= static_cast<unsigned int>(1 - marks);
    *place = {reinterpret_cast<const TItem*>(marks * reinterpret_cast<std::uintptr_t>(kRemoved)), nullptr};
}

void TCrossList::CMapaNodes::Reset(TCrossNode* pFirst, int nNodes) {
    Reserve(static_cast<unsigned int>(nNodes));
    std::fill_n(m_pTable, std::size_t{m_nMask} + 1, Lloc{});
    m_nCount = 0;
    m_nUsed = 0;
    for (TCrossNode* node = pFirst; node && nNodes > 0; node = node->GetNext(), --nNodes) {
        // A node without an item stands under its own address, which is no item's.
        const TItem* own = reinterpret_cast<const TItem*>(node);
        SetAt(node->GetItem() ? node->GetItem() : own, node);
    }
    m_bDoubled = true;
}

void TCrossList::CMapaNodes::DestroyNodes() {
    for (std::size_t i = 0; m_nCount && i <= m_nMask; ++i) {
        delete m_pTable[i].pNode;
    }
    std::free(m_pTable);
    m_pTable = nullptr;
    m_nMask = 0;
    m_nCount = 0;
    m_nUsed = 0;
    m_bDoubled = false;
}

TItem** TCrossList::CMapaNodes::Unload(TCrossNode* pFirst, int nNodes) {
    const std::size_t room = m_pTable ? (std::size_t{m_nMask} + 1) * sizeof(Lloc) : 0;
    if (room < static_cast<std::size_t>(nNodes) * sizeof(TItem*) + sizeof(mvlib::DoomedArray)) {
        return nullptr;
    }
    TCrossNode* node = pFirst;
    for (int i = 0; i < nNodes; ++i, node = node->GetNext()) {
        if (!node || !IsPlainNode(node)) {
            return nullptr;
        }
    }
    auto** items = reinterpret_cast<TItem**>(std::exchange(m_pTable, nullptr));
    m_nMask = 0;
    m_nCount = 0;
    m_nUsed = 0;
    node = pFirst;
    for (int i = 0; i < nNodes; ++i) {
        TCrossNode* next = node->GetNext();
        items[i] = node->UnLinkItem();
        delete node;
        node = next;
    }
    return items;
}

// --- TCrossList ---

const CMirvaRTTI TCrossList::m_rttiTCrossList(&TItem::m_rttiTItem, "TCrossList", 8, sizeof(TCrossList),
                                              nullptr);
// Kept: the parent is TItem's record, so that a ring does not pass for a TCrossList.
const CMirvaRTTI TCircularCrossList::m_rttiTCircularCrossList(&TItem::m_rttiTItem, "TCircularCrossList", 9,
                                                              sizeof(TCircularCrossList), nullptr);

TCrossList::TCrossList()
    : m_bPropietari(1)
    , m_pFirst(nullptr)
    , m_pLast(nullptr)
    , m_nCount(0)
    , m_bSorted(1) {}

// The deep copy: a stack of half-filled copies, so that lists in each other take no stack of the program.
class TCrossList::Copier {
public:
    // Fills `target`, which is empty. When it throws, all that was copied hangs below `target` and is owned.
    void Fill(TCrossList* target, const TCrossList* source) {
        try {
            Begin(target, source);
            while (!m_levels.empty()) {
                Advance();
            }
        } catch (const std::bad_alloc&) {
            AfxThrowMemoryException();
        }
        for (TCrossList* list : m_notOwning) {
            list->m_bPropietari = 0;
        }
    }

private:
    struct Level {
        TCrossList* target;
        const TCrossList* source;
        const TCrossNode* node; // the next to be cloned
        int left;
    };

    void Begin(TCrossList* target, const TCrossList* source) {
        target->m_bSorted = source->m_bSorted;
        if (source->m_bPropietari) {
            target->m_bPropietari = source->m_bPropietari;
        } else {
            m_notOwning.push_back(target);
        }
        m_levels.push_back({target, source, source->GetFirst(), source->m_nCount});
    }

    void Advance() {
        Level& level = m_levels.back();
        while (level.left > 0 && level.node) {
            const TCrossNode* node = level.node;
            level.node = level.source->GetNext(node);
            --level.left;
            if (!IsPlainNode(node) || !node->GetItem() || !IsPlainList(node->GetItem())) {
                level.target->appendClone(node);
                continue;
            }
            // As its Duplicar would do: a node of that kind, holding a plain list.
            std::unique_ptr<TCrossNode> clone(new (std::nothrow) TCrossNode);
            if (!clone) {
                AfxThrowMemoryException();
            }
            auto* list = new (std::nothrow) TCrossList;
            clone->SetItem(list);
            level.target->InsertLast(clone.get());
            static_cast<void>(clone.release());
            if (list) {
                Begin(list, static_cast<const TCrossList*>(node->GetItem()));
                return;
            }
        }
        m_levels.pop_back();
    }

    std::vector<Level> m_levels;
    std::vector<TCrossList*> m_notOwning;
};

TCrossList::TCrossList(const TCrossList* pLlista)
    : TCrossList() {
    Copier().Fill(this, pLlista);
}

TCrossList::~TCrossList() {
    if (!entregar()) {
        Done(m_bPropietari);
    }
}

bool TCrossList::entregar() {
    if (m_nCount <= 0 || !m_bPropietari || m_mapItems.IsDoubled() || !mvlib::IsNoted(this)) {
        return false;
    }
    const int count = m_nCount;
    TItem** items = m_mapItems.Unload(m_pFirst, count);
    if (!items) {
        return false;
    }
    Init();
    return mvlib::HandOver(this, items, static_cast<std::size_t>(count), static_cast<std::size_t>(count));
}

TItem* TCrossList::Duplicar() const {
    return new (std::nothrow) TCrossList(this);
}

const CMirvaRTTI* TCrossList::GetRTTI() const {
    return &m_rttiTCrossList;
}

void TCrossList::Init() {
    m_pFirst = nullptr;
    m_pLast = nullptr;
    m_nCount = 0;
    m_bSorted = 1;
}

void TCrossList::Done(int bEliminar) {
    if (bEliminar && m_mapItems.IsDoubled()) {
        // A Sort that failed linked nodes twice: their links lead nowhere, the index still knows each once.
        m_mapItems.DestroyNodes();
    } else if (bEliminar) {
        const mvlib::Recursion recursion;
        if (recursion.IsShallow()) {
            while (TCrossNode* node = IsEmpty() ? nullptr : PullOut(GetLast())) {
                delete node;
            }
        } else {
            mvlib::DemolitionLoop loop;
            while (TCrossNode* node = IsEmpty() ? nullptr : PullOut(GetLast())) {
                TItem* item = IsPlainNode(node) ? node->UnLinkItem() : nullptr;
                delete node;
                loop.Destroy(item);
            }
        }
    }
    Init();
}

TCrossNode* TCrossList::InsertAfter(TCrossNode* pNode, TCrossNode* pAfter) {
    if (!pNode) {
        return nullptr;
    }
    if (!pAfter) {
        return InsertFirst(pNode);
    }
    if (pAfter == m_pLast) {
        return InsertLast(pNode);
    }
    LinkNodes(pAfter, pNode, nullptr);
    return pNode;
}

TCrossNode* TCrossList::InsertBefore(TCrossNode* pNode, TCrossNode* pBefore) {
    if (!pNode) {
        return nullptr;
    }
    if (!pBefore) {
        return InsertLast(pNode);
    }
    if (pBefore == m_pFirst) {
        return InsertFirst(pNode);
    }
    return LinkNodes(nullptr, pNode, pBefore);
}

TCrossNode* TCrossList::InsertFirst(TCrossNode* pNode) {
    return pNode ? LinkNodes(nullptr, pNode, GetFirst()) : nullptr;
}

TCrossNode* TCrossList::InsertLast(TCrossNode* pNode) {
    return pNode ? LinkNodes(GetLast(), pNode, nullptr) : nullptr;
}

void TCrossList::appendClone(const TCrossNode* pNode) {
    std::unique_ptr<TCrossNode> clone(pNode->Duplicar());
    if (!clone) {
        AfxThrowMemoryException();
    }
    InsertLast(clone.get());
    static_cast<void>(clone.release());
}

// Hands a new node that holds `pItem` to `insert`; whatever is not inserted leaves the item to the caller.
template <class Insert>
TCrossNode* TCrossList::WithNode(TItem* pItem, Insert insert) {
    struct Holder {
        TCrossNode* node;
        ~Holder() {
            if (node) {
                node->UnLinkItem();
                delete node;
            }
        }
    } holder{new (std::nothrow) TCrossNode};
    if (!holder.node) {
        AfxThrowMemoryException();
    }
    holder.node->SetItem(pItem);
    TCrossNode* inserted = insert(holder.node);
    if (inserted) {
        holder.node = nullptr;
    }
    return inserted;
}

TCrossNode* TCrossList::InsertAfter(TItem* pItem, TItem* pAfter) {
    TCrossNode* anchor = pAfter ? GetNode(pAfter) : nullptr;
    if (!pItem || (pAfter && !anchor)) {
        return nullptr;
    }
    return WithNode(pItem, [&](TCrossNode* node) { return InsertAfter(node, anchor); });
}

TCrossNode* TCrossList::InsertBefore(TItem* pItem, TItem* pBefore) {
    TCrossNode* anchor = pBefore ? GetNode(pBefore) : nullptr;
    if (!pItem || (pBefore && !anchor)) {
        return nullptr;
    }
    return WithNode(pItem, [&](TCrossNode* node) { return InsertBefore(node, anchor); });
}

TCrossNode* TCrossList::InsertFirst(TItem* pItem) {
    return WithNode(pItem, [&](TCrossNode* node) { return InsertFirst(node); });
}

TCrossNode* TCrossList::InsertLast(TItem* pItem) {
    return WithNode(pItem, [&](TCrossNode* node) { return InsertLast(node); });
}

TCrossNode* TCrossList::LinkNodes(TCrossNode* pPrev, TCrossNode* pNode, TCrossNode* pNext) {
    if (!pNode) {
        return nullptr;
    }
    m_mapItems.Reserve(1); // so that nothing is linked when there is no memory for the index
    if (m_nCount <= 0) {
        m_pFirst = pNode;
        m_pLast = pNode;
        pNode->SetPrev(GetFirstPreviousNode());
        pNode->SetNext(GetLastNextNode());
        insertHashItem(pNode);
        m_nCount = 1;
        return pNode;
    }
    if (pPrev && pNext ? pPrev->GetNext() != pNext : !pPrev && !pNext) {
        return nullptr;
    }
    if (m_nCount == 1 && pPrev) {
        Couple(pPrev, pNode);
        m_pFirst = pPrev;
        m_pLast = pNode;
        pNode->SetNext(GetLastNextNode());
        pPrev->SetPrev(GetFirstPreviousNode());
    } else if (m_nCount == 1) {
        Couple(pNode, pNext);
        m_pFirst = pNode;
        m_pLast = pNext;
        pNode->SetPrev(GetFirstPreviousNode());
        pNext->SetNext(GetLastNextNode());
    } else if (pPrev && pNext) {
        Couple(pPrev, pNode);
        Couple(pNode, pNext);
    } else if (pNext) {
        TCrossNode* before = pNext->GetPrev();
        Couple(pNode, pNext);
        pNode->SetPrev(before);
        if (before) {
            before->SetNext(pNode);
        }
        if (before == GetFirstPreviousNode()) {
            m_pFirst = pNode;
        }
    } else {
        TCrossNode* after = pPrev->GetNext();
        Couple(pPrev, pNode);
        pNode->SetNext(after);
        if (after) {
            after->SetPrev(pNode);
        }
        if (after == GetLastNextNode()) {
            m_pLast = pNode;
        }
    }
    if (const TItem* item = pNode->GetItem(); item && m_bSorted) {
        const TItem* before = pNode->GetPrevItem();
        const TItem* after = pNode->GetNextItem();
        if ((before && item->Comparar(before) < 0) || (after && item->Comparar(after) > 0)) {
            m_bSorted = 0;
        }
    }
    insertHashItem(pNode);
    ++m_nCount;
    return pNode;
}

int TCrossList::Remove(TCrossNode* pNode) {
    if (!pNode) {
        return kMissing;
    }
    __builtin_prefetch(pNode->GetItem()); // it goes last, and would be waited for
    delete PullOut(pNode);
    return 0;
}

TCrossNode* TCrossList::PullOut(TCrossNode* pNode) {
    if (!pNode) {
        return nullptr;
    }
    if (m_nCount < 2) {
        // Kept: the node's links and its index entry stay.
        m_pFirst = nullptr;
        m_pLast = nullptr;
        m_nCount = 0;
        return pNode;
    }
    TCrossNode* before = pNode->GetPrev();
    TCrossNode* after = pNode->GetNext();
    if (before) {
        before->SetNext(after);
    } else {
        m_pFirst = after;
    }
    if (after) {
        after->SetPrev(before);
    } else {
        m_pLast = before;
    }
    pNode->SetPrev(nullptr);
    pNode->SetNext(nullptr);
    --m_nCount;
    removeHashItem(pNode);
    return pNode;
}

TCrossNode* TCrossList::GetFirstPreviousNode() const {
    return nullptr;
}

TCrossNode* TCrossList::GetLastNextNode() const {
    return nullptr;
}

int TCrossList::ExChangePositions(TCrossNode* pA, TCrossNode* pB) {
    if (!pA || !pB) {
        return kMissing;
    }
    m_bSorted = 0;
    if (pA == pB) {
        return 0;
    }
    TCrossNode* before = pA->GetPrev();
    PullOut(pA);
    InsertBefore(pA, pB);
    if (before != pB) { // else they were neighbours, and have changed places
        PullOut(pB);
        InsertAfter(pB, before);
    }
    m_bSorted = 0;
    return 0;
}

int TCrossList::Reverse() {
    TCrossNode* node = m_pFirst;
    for (int left = m_nCount; left > 0; --left) {
        TCrossNode* next = node->GetNext();
        node->SetNext(node->GetPrev());
        node->SetPrev(next);
        node = next;
    }
    std::swap(m_pFirst, m_pLast);
    if (m_pFirst) {
        // As if linked anew: the open ends of a ring's copy are joined.
        m_pFirst->SetPrev(GetFirstPreviousNode());
        m_pLast->SetNext(GetLastNextNode());
    }
    m_bSorted = 0;
    return 0;
}

int TCrossList::Sort() {
    TCrossList sorted;
    if (!IsEmpty()) {
        sorted.m_mapItems.Reserve(static_cast<unsigned int>(m_nCount)); // or nothing is moved at all
    }
    while (!IsEmpty()) {
        // Kept: a node without an item is not placed, and drops out of the list.
        sorted.AddOrderedElem(PullOut(GetLast()));
    }
    const int result = Join(&sorted, nullptr);
    m_bSorted = 1;
    return result;
}

int TCrossList::Sort(COMPARADOR pfnCmp, long lUser, TIndicadorEstat* pIE) {
    if (IsEmpty()) {
        return 0;
    }
    CArray<TCrossNode*, TCrossNode*> placed;
    TCrossNode* node = GetFirst();
    int left = m_nCount;
    while (node && --left >= 0) {
        INT_PTR at = 0;
        // Kept: the walking node moves on inside this search.
        while (node && at < placed.GetSize()) {
            const TCrossNode* other = placed[at];
            if (pfnCmp(node->GetItem(), other ? other->GetItem() : nullptr, lUser) <= 0) {
                break;
            }
            node = GetNext(node);
            ++at;
        }
        if (node && at < placed.GetSize()) {
            placed.InsertAt(at, node);
        } else {
            placed.Add(node);
        }
        const double done = static_cast<double>(placed.GetSize()) / m_nCount;
        if (!TIndicadorEstat::MostrarEstatRel(pIE, done)) {
            return kCancelled;
        }
    }
    // Kept: the nodes are still linked, so that each one appended raises the count that ends the loop, which
    // thus runs beyond the array.
    m_mapItems.Reset(GetFirst(), m_nCount);
    for (int i = 0; i < m_nCount; ++i) {
        if (i >= placed.GetSize()) {
            AfxThrowInvalidArgException();
        }
        InsertLast(placed[i]);
    }
    m_bSorted = 1;
    return 0;
}

int TCrossList::Concatenate(const TCrossList* pLlista, TCrossNode* pDesde) {
    if (!pLlista || pLlista->IsEmpty()) {
        return 0;
    }
    const TCrossNode* last = pLlista->GetLast();
    const TCrossNode* node = pDesde ? pDesde : pLlista->GetFirst();
    for (; node; node = node == last ? nullptr : node->GetNext()) {
        appendClone(node);
    }
    return 0;
}

int TCrossList::Join(TCrossList* pLlista, TCrossNode* pDesde) {
    if (!pLlista || pLlista->IsEmpty()) {
        return 0;
    }
    const TCrossNode* last = pLlista->GetLast();
    TCrossNode* node = pDesde ? pDesde : pLlista->GetFirst();
    while (node) {
        TCrossNode* next = node == last ? nullptr : node->GetNext();
        m_mapItems.Reserve(1); // a node is taken out only when there is room for it here
        InsertLast(pLlista->PullOut(node));
        node = next;
    }
    return 0;
}

TCrossNode* TCrossList::AddOrderedElem(TCrossNode* pNode) {
    if (!pNode || !pNode->GetItem()) {
        return nullptr;
    }
    if (!m_bSorted) {
        Sort();
    }
    const TCrossNode* end = GetLastNextNode();
    for (TCrossNode* node = GetFirst(); node; node = GetNext(node) == end ? nullptr : GetNext(node)) {
        if (pNode->GetItem()->Comparar(node->GetItem()) < 0) {
            return InsertBefore(pNode, node);
        }
    }
    return InsertLast(pNode);
}

TCrossNode* TCrossList::AddOrderedElem(TItem* pItem) {
    if (!pItem) {
        return nullptr;
    }
    return WithNode(pItem, [&](TCrossNode* node) { return AddOrderedElem(node); });
}

int TCrossList::IsSorted() {
    return m_bSorted;
}

int TCrossList::Process(VISITANT pfnVisita, int nFlags, long lUser, TIndicadorEstat* pIE) const {
    const int count = m_nCount;
    const bool down = (nFlags & 1) != 0;
    int result = 0;
    MvSliceWalk slices(pIE, count);
    TCrossNode* node = GetFirst();
    for (int visited = 0; node && visited < count; ++visited) {
        if (!slices.Enter(visited)) {
            return kCancelled;
        }
        result = pfnVisita(node->GetItem(), down ? count - 1 - visited : visited, lUser);
        if (!slices.Leave()) {
            return kCancelled;
        }
        node = GetNext(node);
        if (result < 0) {
            return result;
        }
    }
    return result;
}

int TCrossList::insertHashItem(TCrossNode* pNode) {
    if (!pNode || !pNode->GetItem()) {
        return kMissing;
    }
    m_mapItems.SetAt(pNode->GetItem(), pNode);
    return 0;
}

int TCrossList::removeHashItem(TCrossNode* pNode) {
    if (!pNode || !pNode->GetItem()) {
        return kMissing;
    }
    m_mapItems.RemoveKey(pNode->GetItem());
    return 0;
}

// --- TCircularCrossList ---

TCircularCrossList::TCircularCrossList() = default;

TCircularCrossList::TCircularCrossList(const TCircularCrossList* pLlista)
    : TCrossList(pLlista) {}

TCircularCrossList::~TCircularCrossList() {
    if (!entregar()) {
        Done(m_bPropietari); // while it is still a ring
    }
}

const CMirvaRTTI* TCircularCrossList::GetRTTI() const {
    return &m_rttiTCircularCrossList;
}

int TCircularCrossList::ExChangePositions(TCrossNode* pA, TCrossNode* pB) {
    if (!pA || !pB || pA == pB) {
        return kMissing;
    }
    m_bSorted = 0;
    if (m_nCount == 2) {
        return Reverse();
    }
    if (pA != m_pFirst) {
        return TCrossList::ExChangePositions(pA, pB);
    }
    TCrossNode* after = pA->GetNext();
    PullOut(pA);
    InsertAfter(pA, pB);
    if (after != pB) {
        PullOut(pB);
        InsertBefore(pB, after);
    }
    m_bSorted = 0;
    return 0;
}

TCrossNode* TCircularCrossList::PullOut(TCrossNode* pNode) {
    if (!pNode) {
        return nullptr;
    }
    if (m_nCount > 1) {
        // The copy of a ring has open ends: a neighbour may be missing.
        TCrossNode* before = pNode->GetPrev();
        TCrossNode* after = pNode->GetNext();
        if (before) {
            before->SetNext(after);
        }
        if (after) {
            after->SetPrev(before);
        }
        if (pNode == m_pFirst) {
            m_pFirst = after;
        }
        if (pNode == m_pLast) {
            m_pLast = before;
        }
    } else {
        m_pFirst = nullptr;
        m_pLast = nullptr;
    }
    pNode->SetPrev(nullptr);
    pNode->SetNext(nullptr);
    --m_nCount;
    removeHashItem(pNode);
    return pNode;
}

TCrossNode* TCircularCrossList::GetFirstPreviousNode() const {
    return GetLast();
}

TCrossNode* TCircularCrossList::GetLastNextNode() const {
    return GetFirst();
}
