// Doubly linked lists of nodes with an index from item to node (TCrossList), the same with joined ends
// (TCircularCrossList), and their nodes (TCrossNode).
//
// A node owns its item. A list owns its nodes while its ownership flag is set, as it is at first: it destroys
// them, with their items, at its end. `Remove` and `Done(1)` destroy; `PullOut`, `Join` and `Done(0)` only
// take nodes away. A node belongs to one list at a time, and an item to one node. One thread at a time may
// use a list. Lists may lie in each other a million levels deep: cloning and destroying them takes no stack
// per level, unless nodes are of a class of the client's own.
//
//     TCrossList list;
//     list.AddOrderedElem(new TInt(3));
//     list.AddOrderedElem(new TInt(1));
//     for (TCrossNode* node = list.GetFirst(); node; node = list.GetNext(node)) ...   // 1, 3
//     list.Remove(list.GetNode(item));   // destroys node and item
//
// Results: 0 done; -3 a node or an item that is needed is missing; -5 the status indicator asked to stop.
// Insert operations answer the node that was inserted, or null. When memory is short they throw the memory
// exception; then nothing is inserted, and an item handed in stays the caller's.
#pragma once

#include <cstdint>

#include "afx.h"
#include "mvlib_export.h"
#include "TItem.h"

class TIndicadorEstat;

// One link of a list. Its fields are read and written through the operations below, which check nothing more
// than they say.
class MVLIB_API TCrossNode {
public:
    // A node without neighbours and item.
    TCrossNode();
    // Kept: a copy by reference has the same neighbours and shares the item, so that only one of the two may
    // destroy it.
    TCrossNode(const TCrossNode& other) = default;
    // A copy with the same neighbours and a clone of the item (`Duplicar`); an empty node for null.
    explicit TCrossNode(const TCrossNode* pNode);
    // Kept: assigns nothing, so that there is no assignment to itself to look out for either.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    TCrossNode& operator=(const TCrossNode&) { return *this; }
    // Destroys the item.
    virtual ~TCrossNode();
    // A new node with the same neighbours and a clone of the item; the caller deletes it. Null when memory is
    // short.
    virtual TCrossNode* Duplicar() const;

    MVLIB_POOLED_ITEM

    TItem* GetItem() const { return m_pItem; }
    TCrossNode* GetNext() const { return m_pNext; }
    TCrossNode* GetPrev() const { return m_pPrev; }
    // The neighbour's item; null without that neighbour.
    TItem* GetNextItem() const { return m_pNext ? m_pNext->m_pItem : nullptr; }
    TItem* GetPrevItem() const { return m_pPrev ? m_pPrev->m_pItem : nullptr; }
    // 1 when the node has an item, else 0.
    int IsValid() const { return m_pItem ? 1 : 0; }

    // Store the pointer as it is. The item that was there is not destroyed.
    void SetItem(TItem* pItem) { m_pItem = pItem; }
    void SetNext(TCrossNode* pNode) { m_pNext = pNode; }
    void SetPrev(TCrossNode* pNode) { m_pPrev = pNode; }
    // Store the item in the neighbour, whose old item is not destroyed: 0, or -3 without that neighbour.
    int SetNextItem(TItem* pItem);
    int SetPrevItem(TItem* pItem);
    // Hands the item to the caller; the node has none afterwards.
    TItem* UnLinkItem();

protected:
    TCrossNode* m_pPrev;
    TCrossNode* m_pNext;
    TItem* m_pItem; // owned
};

class MVLIB_API TCrossList : public TItem {
public:
    // Negative, 0 or positive as `a` goes before, beside or behind `b`.
    using COMPARADOR = int(__stdcall*)(const TItem* a, const TItem* b, long lUser);
    // A negative result ends the visit and is passed on.
    using VISITANT = int(__stdcall*)(TItem* pItem, int nIndex, long lUser);

    static const CMirvaRTTI m_rttiTCrossList;

    // --- construction ---

    // An empty, owning, sorted list.
    TCrossList();
    // A list of clones of the other's nodes (`Duplicar` of each), with the same sorted and ownership flags.
    // Not null. Throws the memory exception when there is no memory for a node or for the index.
    explicit TCrossList(const TCrossList* pLlista);
    // There is no copy that shares nodes.
    TCrossList(const TCrossList&) = delete;
    TCrossList& operator=(const TCrossList&) = delete;
    // Destroys nodes and items when the ownership flag is set.
    ~TCrossList() override;

    // A new list made by the constructor from a pointer, which may throw; the caller deletes it. Null when
    // there is no memory for the list itself. Kept: a circular list answers a plain one.
    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    // --- query; `EsBuit` is always 0, also for an empty list: ask IsEmpty ---

    virtual int IsEmpty() const;
    // The node that holds the item; null when there is none. Constant time.
    virtual TCrossNode* GetNode(const TItem* pItem) const;
    virtual TCrossNode* GetFirst() const;
    virtual TCrossNode* GetLast() const;
    // The neighbours; null for null. In a circular list they go round.
    virtual TCrossNode* GetPrev(const TCrossNode* pNode) const;
    virtual TCrossNode* GetNext(const TCrossNode* pNode) const;
    // The number of nodes.
    int Cnt() const { return m_nCount; }

    // --- insertion ---

    // Behind `pAfter`; in front of all when it is null. Null for a null node.
    virtual TCrossNode* InsertAfter(TCrossNode* pNode, TCrossNode* pAfter);
    // The same with a new node for the item. Null, and the item is not taken, when the item is null or the
    // anchor is not in the list.
    virtual TCrossNode* InsertAfter(TItem* pItem, TItem* pAfter);
    // In front of `pBefore`; behind all when it is null. Else as InsertAfter.
    virtual TCrossNode* InsertBefore(TCrossNode* pNode, TCrossNode* pBefore);
    virtual TCrossNode* InsertBefore(TItem* pItem, TItem* pBefore);
    // At the ends. Null for a null node; the item forms make a node for a null item too.
    virtual TCrossNode* InsertFirst(TCrossNode* pNode);
    virtual TCrossNode* InsertFirst(TItem* pItem);
    virtual TCrossNode* InsertLast(TCrossNode* pNode);
    virtual TCrossNode* InsertLast(TItem* pItem);

    // --- change ---

    // Exchanges two nodes' places and clears the sorted flag. 0; -3 when a node is null. Both must be in this
    // list.
    virtual int ExChangePositions(TCrossNode* pA, TCrossNode* pB);
    // Links a node in between two neighbours, or beside the one that is given; on an empty list neither
    // counts. Null, and nothing linked, for a null node, for neighbours that are not adjacent, and for none
    // on a list with nodes.
    virtual TCrossNode* LinkNodes(TCrossNode* pPrev, TCrossNode* pNode, TCrossNode* pNext);
    // Takes the node out (as PullOut does, with what that keeps) and destroys it with its item. 0, or -3 for
    // null.
    virtual int Remove(TCrossNode* pNode);
    // Takes the node out and hands it, with its item, to the caller. Null for null. Kept: the only node of a
    // plain list keeps its links, and its item goes on being found by GetNode until it is inserted or taken
    // out again.
    virtual TCrossNode* PullOut(TCrossNode* pNode);
    // What stands before the first node and behind the last: null, or in a circular list the last and the
    // first node.
    virtual TCrossNode* GetFirstPreviousNode() const;
    virtual TCrossNode* GetLastNextNode() const;

    // --- the whole list ---

    // Reverses the order and clears the sorted flag. 0.
    virtual int Reverse();
    // Sorts by the items' own Comparar and sets the sorted flag. 0. The number of comparisons grows with the
    // square of the count. Kept: equal items end in reversed order; nodes without an item drop out of the
    // list and are the caller's. Throws the memory exception, with nothing moved, when memory is short.
    virtual int Sort();
    // Kept: answers 0 for an empty list. On any other it ends in the invalid-argument exception, after nodes
    // that are still linked were appended once more: the list is then fit for nothing but its destruction.
    // -5, with the list untouched, when the indicator (null allowed) asks to stop. Use Sort() or
    // AddOrderedElem.
    virtual int Sort(COMPARADOR pfnCmp, long lUser, TIndicadorEstat* pIE);
    // Appends clones of the other list's nodes, from `pDesde` (null: the first) to the last. 0; also for a
    // null list. Throws the memory exception when memory is short; what was appended before stays.
    virtual int Concatenate(const TCrossList* pLlista, TCrossNode* pDesde);
    // Moves the other list's nodes, from `pDesde` (null: the first) to the last, behind this one's. 0; also
    // for a null list. Throws the memory exception when memory is short; every node is in one of the lists
    // then.
    virtual int Join(TCrossList* pLlista, TCrossNode* pDesde);
    // Inserts in Comparar order, behind equal items; sorts the list first when it is not known to be sorted.
    // Null for a null node or item.
    virtual TCrossNode* AddOrderedElem(TCrossNode* pNode);
    virtual TCrossNode* AddOrderedElem(TItem* pItem);
    // 1 when the list is known to be in Comparar order, else 0.
    virtual int IsSorted();

    // Forgets nodes and count, and sets the sorted flag. Kept: nodes and index are left alone.
    void Init();
    // Destroys all nodes with their items when `bEliminar` is not 0, then Init. Kept: with 0 the forgotten
    // items go on being found by GetNode, and otherwise the item of a plain list's first node, destroyed
    // last: do not look up addresses of items that are gone.
    void Done(int bEliminar);
    // Calls the visitor with each item from first to last; answers its last result, 0 for an empty list, its
    // first negative result at once, or -5 when the indicator (null allowed) asks to stop. Kept: bit 0 of
    // `nFlags` only makes the index run down from Cnt() - 1 instead of up from 0.
    int Process(VISITANT pfnVisita, int nFlags, long lUser, TIndicadorEstat* pIE) const;

protected:
    // Add the node to the index, or remove its item's entry. 0, or -3 when the node or its item is null.
    int insertHashItem(TCrossNode* pNode);
    int removeHashItem(TCrossNode* pNode);

    // The index: open addressing on the items' addresses. The last node set under an item counts.
    class MVLIB_API CMapaNodes {
    public:
        CMapaNodes();
        CMapaNodes(const CMapaNodes&) = delete;
        CMapaNodes& operator=(const CMapaNodes&) = delete;
        ~CMapaNodes();

        TCrossNode* Lookup(const TItem* pItem) const;
        // Makes room for so many more entries, so that the next SetAt cannot fail. Throws the memory
        // exception.
        void Reserve(unsigned int nMore);
        void SetAt(const TItem* pItem, TCrossNode* pNode);
        void RemoveKey(const TItem* pItem);
        int GetCount() const { return static_cast<int>(m_nCount); }
        // Before nodes are linked more than once: holds each node of the chain once from now on, whatever it
        // held. DestroyNodes then destroys them. Throws the memory exception, with nothing changed.
        void Reset(TCrossNode* pFirst, int nNodes);
        bool IsDoubled() const { return m_bDoubled; }
        void DestroyNodes();
        // Destroys the nodes of the chain and leaves their items, in its order, in the memory of the table,
        // which the caller frees. Null, with nothing done, when there is not enough of it or a node is of a
        // client's class.
        TItem** Unload(TCrossNode* pFirst, int nNodes);

    private:
        struct Lloc {
            const TItem* pItem; // null: unused
            TCrossNode* pNode;
        };

        unsigned int Home(const TItem* pItem) const;
        Lloc* Find(const TItem* pItem) const;
        void CloseGap(unsigned int nPlace);
        // Without memory of its own: afterwards only entries take up places.
        void DropRemoved();

        Lloc* m_pTable;
        unsigned int m_nMask; // places - 1
        unsigned int m_nCount;
        unsigned int m_nUsed; // places that hold an entry, or the mark of a removed one
        unsigned int m_nShift;
        bool m_bDoubled;
        // As large as the framework's map, so that the fields behind keep their places.
        [[maybe_unused]] unsigned int m_nReserved;
    };

    int m_bPropietari;
    TCrossNode* m_pFirst;
    TCrossNode* m_pLast;
    int m_nCount;
    CMapaNodes m_mapItems;
    int m_bSorted;

    // For destructors: true when the items are left to the loop that deletes this list, which is empty then.
    bool entregar();

private:
    class Copier;

    void appendClone(const TCrossNode* pNode);
    template <class Insert>
    TCrossNode* WithNode(TItem* pItem, Insert insert);
};

inline unsigned int TCrossList::CMapaNodes::Home(const TItem* pItem) const {
    // Addresses differ in their middle bits; the product brings those to the top.
    const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pItem));
    return static_cast<unsigned int>((address * 0x9E3779B97F4A7C15ull) >> m_nShift);
}

// The item's place, or the unused one where it would stand. There is always an unused place in a table.
inline TCrossList::CMapaNodes::Lloc* TCrossList::CMapaNodes::Find(const TItem* pItem) const {
    unsigned int at = Home(pItem);
    while (m_pTable[at].pItem && m_pTable[at].pItem != pItem) {
        at = (at + 1) & m_nMask;
    }
    return &m_pTable[at];
}

inline TCrossNode* TCrossList::CMapaNodes::Lookup(const TItem* pItem) const {
    return m_pTable && pItem ? Find(pItem)->pNode : nullptr;
}

inline int TCrossList::IsEmpty() const {
    return m_nCount <= 0 ? 1 : 0;
}

inline TCrossNode* TCrossList::GetNode(const TItem* pItem) const {
    return m_mapItems.Lookup(pItem);
}

inline TCrossNode* TCrossList::GetFirst() const {
    return m_pFirst;
}

inline TCrossNode* TCrossList::GetLast() const {
    return m_pLast;
}

inline TCrossNode* TCrossList::GetPrev(const TCrossNode* pNode) const {
    return pNode ? pNode->GetPrev() : nullptr;
}

inline TCrossNode* TCrossList::GetNext(const TCrossNode* pNode) const {
    return pNode ? pNode->GetNext() : nullptr;
}

// The same list as a ring: the last node's next is the first, the first one's previous the last.
class MVLIB_API TCircularCrossList : public TCrossList {
public:
    static const CMirvaRTTI m_rttiTCircularCrossList;

    TCircularCrossList();
    // Kept: the clones are linked as in a plain list; the ends of the copy are not joined.
    explicit TCircularCrossList(const TCircularCrossList* pLlista);
    ~TCircularCrossList() override;

    const CMirvaRTTI* GetRTTI() const override;
    // -3 also when both are the same node.
    int ExChangePositions(TCrossNode* pA, TCrossNode* pB) override;
    // Clears the links and the index entry of an only node too.
    TCrossNode* PullOut(TCrossNode* pNode) override;
    TCrossNode* GetFirstPreviousNode() const override;
    TCrossNode* GetLastNextNode() const override;
};
