// TArbre: an n-ary tree node, itself an item, with one item of its own and an ordered list of children.
//
// A node owns its children always, and its item when it was made so; destroying a node destroys the whole
// tree below it. What TreureFill hands out belongs to the caller. A binary node has exactly the two slots 0
// (left) and 1 (right), either of which may be null. Positions are those of the children's list and are not
// checked: one outside is the caller's mistake.
//
// Copies. Made from a pointer, or by Duplicar, a tree is a deep copy. The copy constructor from a reference
// and the assignment copy the fields as they stand, so that both nodes share the item and the children's
// storage (kept): only one of them may be destroyed.
//
// Trees may be a million levels deep, and trees may be items of trees a million times: walking, copying and
// destroying them takes no stack per level.
// No locks: a tree belongs to one thread at a time.
//
//     TArbre tree(new TItemString(L"root"), 1);
//     tree.InsertarFill(new TArbre(new TItemString(L"child"), 1), -1);
//     int result = tree.Preordre(&PrintIndented, 0);
#pragma once

#include "TItem.h"
#include "TLlista.h"

class TArbre;

// Visits a node's item (null where it has none), or the node itself. `nNivell` is the depth below the node on
// which the walk was started, `lUser` what the caller of the walk gave. A negative result stops the walk.
typedef int(__stdcall* PFN_VISITARITEMARBRE)(const TItem* item, int nNivell, long lUser);
typedef int(__stdcall* PFN_VISITARARBRE)(TArbre* node, int nNivell, long lUser);

class MVLIB_API TArbre : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTArbre; // id 7

    // A node without children. `p` may be null; the node owns it when `bPropietari` is not 0.
    TArbre(TItem* p, int bPropietari);
    // A binary node with these two children, which it owns; null allowed. Throws CMemoryException* when the
    // slots cannot be allocated; everything then stays the caller's.
    TArbre(TItem* p, TArbre* pEsquerre, TArbre* pDret, int bPropietari);
    // A deep copy: clones of the items, in the order of Preordre (null where an item is null or cannot be
    // cloned), and of the children. The flags are copied, so that a node owns its clone exactly when the
    // original owns its item (kept): the clones of items that are not owned are the caller's to find and
    // delete. `pOrigen` must not be null. Throws CMemoryException* without memory; nothing stays allocated
    // then.
    TArbre(const TArbre* pOrigen);
    // Shallow, see above.
    TArbre(const TArbre& origen) = default;
    TArbre& operator=(const TArbre& origen) = default;
    // Destroys the item when the node owns it, then the children from the last to the first.
    ~TArbre() override;

    // A deep copy, owned by the caller. Null when the node cannot be allocated; throws CMemoryException* when
    // what it holds cannot.
    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;
    // 1 when there are no child slots, else 0. The item does not count.
    int EsBuit() const override;

    TItem* GetItem() const { return m_pItem; }
    // Replaces the item. The old one is destroyed when `bEliminar` is not 0 (unless it is `p`), else
    // forgotten. Whether the node owns its item does not change.
    void SetItem(TItem* p, int bEliminar);

    // The number of child slots, null ones included.
    int GetNumFills() const { return m_fills.Cnt(); }
    // The child in slot `i`, unchecked; null for a null slot.
    TArbre* GetFill(int i) const { return getFill(i); }
    TArbre* GetFillEsquerre() const { return getFill(0); }
    TArbre* GetFillDret() const { return getFill(1); }
    // Appends when `pos` is negative, else inserts before `pos` (clamped to the number of slots). The node
    // owns the child from then on. 0, or -1 without memory: the tree is unchanged and the child stays the
    // caller's.
    int InsertarFill(TArbre* pFill, int pos);
    // Replaces the child in slot `i`. The old one is destroyed when `bEliminar` is not 0 (unless it is
    // `pFill`), else forgotten.
    void SetFill(TArbre* pFill, int i, int bEliminar);
    void SetFillEsquerre(TArbre* pFill, int bEliminar) { SetFill(pFill, 0, bEliminar); }
    void SetFillDret(TArbre* pFill, int bEliminar) { SetFill(pFill, 1, bEliminar); }
    // Removes slot `i` and hands its child over to the caller; null for a null slot or none.
    TArbre* TreureFill(int i) { return treuFill(i); }
    // Removes slot `i` and destroys its child.
    void EliminarFill(int i);

    // 1 when there are no child slots at all: a binary node is never a leaf, even when both its slots are
    // null.
    int EsFulla() const { return m_fills.EsBuida(); }
    // 1 when the node was made binary.
    int EsBinari() const { return m_wFlags & BINARI; }

    // The walks, each calling for the item, or for the node itself in the form that ends in A, this node
    // being at depth 0. A negative result of the callback stops the walk and is the answer. A walk deeper
    // than 64 levels keeps its place in allocated memory and throws CMemoryException* when there is none.
    //
    // The node, then the children in order. Children that the callback adds below or behind it are visited
    // too. The answer is the last result of the callback.
    int Preordre(PFN_VISITARITEMARBRE fn, long lUser) const { return i_preordre(0, fn, lUser); }
    int PreordreA(PFN_VISITARARBRE fn, long lUser) { return i_preordre(0, fn, lUser); }
    // The children, each with what is below it in the order of Preordre, then this node. So only this node
    // comes after its children (kept). The answer is the result for this node.
    int Postordre(PFN_VISITARITEMARBRE fn, long lUser) const { return i_postordre(0, fn, lUser); }
    int PostordreA(PFN_VISITARARBRE fn, long lUser) { return i_postordre(0, fn, lUser); }
    // For binary nodes: what is left, the node, what is right. Further slots are not visited, missing ones
    // count as null. The answer is 0.
    int Inordre(PFN_VISITARITEMARBRE fn, long lUser) const { return i_inordre(0, fn, lUser); }
    int InordreA(PFN_VISITARARBRE fn, long lUser) { return i_inordre(0, fn, lUser); }

protected:
    static constexpr unsigned short BINARI = 1;
    static constexpr unsigned short PROPIETARI = 2;

    // One call of the children's list each.
    int afegirFill(TArbre* pFill) { return m_fills.Afegir(pFill); }
    int insertarFill(TArbre* pFill, int pos) { return m_fills.Insertar(pFill, pos); }
    TArbre* getFill(int i) const { return static_cast<TArbre*>(m_fills.GetItem(i)); }
    TArbre* setFill(TArbre* pFill, int i) { return static_cast<TArbre*>(m_fills.Canviar(pFill, i)); }
    TArbre* treuFill(int i) { return static_cast<TArbre*>(m_fills.Treure(i)); }

    // The walks with this node at depth `nNivell`.
    int i_preordre(int nNivell, PFN_VISITARITEMARBRE fn, long lUser) const;
    int i_preordre(int nNivell, PFN_VISITARARBRE fn, long lUser);
    int i_postordre(int nNivell, PFN_VISITARITEMARBRE fn, long lUser) const;
    int i_postordre(int nNivell, PFN_VISITARARBRE fn, long lUser);
    int i_inordre(int nNivell, PFN_VISITARITEMARBRE fn, long lUser) const;
    int i_inordre(int nNivell, PFN_VISITARARBRE fn, long lUser);

    TItem* m_pItem;          // null allowed
    TLlista m_fills;         // the children, each a TArbre or null; owns them
    unsigned short m_wFlags; // BINARI, PROPIETARI (of the item)

private:
    class Copier;
    class Walker;
};
