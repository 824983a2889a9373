// Lists: TLlista, a growable array of item pointers with a cursor, and the four classes built on it.
//
//   TLlista          the general sequence; owns its items unless made from a list that does not
//   TLlistaOrdenada  kept in the order of the items' own Comparar by its Afegir, searched by halves
//   TLlistaCircular  positions are taken modulo the length
//   TPila            a stack on the list's end
//   TPilaLimitada    a stack that destroys its oldest items beyond a limit
//
// Ownership. An item given to Afegir, Insertar, Canviar or push belongs to the list from then on; the
// destructor destroys the items when the ownership flag is set (as it is after construction; only copying
// from another list changes it). Eliminar, pop and the limit of TPilaLimitada destroy what they remove
// whatever the flag says; Treure, poptop and Canviar hand it back to the caller. Fusionar takes the items
// over, Concatenar takes clones.
//
// Copies. Made from a pointer, or by Duplicar, a list is a deep copy. The copy constructor from a reference
// and the assignment copy the fields as they stand, so that both lists share one array (kept): an assignment
// forgets the target's own array. While they share it only its entries may be exchanged (Canviar): a list
// that grows or shrinks frees what the other one holds. Before the second of the two is changed or destroyed,
// one must be emptied with Init.
//
// Results: 0 done; -1 no memory; -3 there is no entry at that position; -5 stopped by the status indicator.
// Positions count from 0. The plain accessors do not check them: one outside the list is the caller's
// mistake. Null entries are allowed (CreaBuida makes them).
//
// Lists nested in lists may be a million levels deep: destroying them and copying them takes no stack per
// level. No locks: a list and its items belong to one thread at a time.
//
//     TLlista llista;
//     llista.Afegir(new TInt(3));
//     llista.Afegir(new TInt(1));
//     llista.Ordenar(&PerValor, 0, nullptr);
//     for (int i = 0; i < llista.Cnt(); ++i)
//         Mostrar(llista.GetItem(i));
#pragma once

#include "TItem.h"

class TIndicadorEstat;

// Orders two items for TLlista::Ordenar: below 0 when `a` goes before `b`, 0 when they are equivalent, above
// 0 otherwise. `lUser` is what the caller of Ordenar gave. Not null; it must not change the list.
typedef int(__stdcall* PFN_COMPARARITEMS)(const TItem* a, const TItem* b, long lUser);

// Visits one entry for TLlista::Recorrer: the item (null for a null entry), its index, and what the caller
// gave. A negative result stops the visit. Not null; it may change the list, see Recorrer.
typedef int(__stdcall* PFN_VISITARITEM)(TItem* item, int nIndex, long lUser);

class MVLIB_API TLlista : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTLlista; // id 2

    // Empty and owning, without storage.
    TLlista()
        : m_bPropietari(1)
        , m_nCapacitat(0)
        , m_nIncrement(INCREMENT_MINIM)
        , m_nElements(0)
        , m_nActual(0)
        , m_ppItems(nullptr) {}
    // A deep copy: clones of the entries in order (null where an entry is null or cannot be cloned), and the
    // source's ownership flag; the cursor is at 0. Null: an empty list. Throws CMemoryException* when the
    // storage cannot be allocated; nothing stays allocated then.
    TLlista(const TLlista* pOrigen);
    // Shallow, see above.
    TLlista(const TLlista& origen) = default;
    TLlista& operator=(const TLlista& origen) = default;
    // Done(ownership flag).
    ~TLlista() override;

    // A new TLlista made from this one as by the constructor from a pointer, owned by the caller; a plain
    // TLlista also when this is one of the derived classes (kept). Null when the object cannot be allocated;
    // throws CMemoryException* when its storage cannot.
    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;
    // 1 when the list has no entries, else 0.
    int EsBuit() const override;

    // Appends: Insertar(p, Cnt()), so that a derived Insertar applies. 0, or -1 (the item stays the
    // caller's).
    virtual int Afegir(TItem* p);
    // Replaces the entry at `pos`, or at the cursor when `pos` is negative; otherwise the cursor moves to
    // `pos`. Returns the entry that was there, not destroyed. A position without an entry: null, and `p`
    // stays the caller's.
    virtual TItem* Canviar(TItem* p, int pos);
    // Inserts before `pos`, which is clamped to 0 ... Cnt(): a negative one means the front, not the cursor.
    // The cursor ends just behind the new entry. 0, or -1 (nothing changed, the item stays the caller's).
    virtual int Insertar(TItem* p, int pos);
    // Removes the entry at `pos` (at the cursor when negative; otherwise the cursor moves to `pos`) and
    // destroys its item. 0; -1 when the storage could not be made smaller, the entry being gone all the same;
    // -3 when there is no such entry.
    virtual int Eliminar(int pos);
    // As Eliminar, but hands the item over to the caller; null when there is no such entry.
    virtual TItem* Treure(int pos);
    // Reverses the order; the cursor stays where it is. Always 0.
    virtual int Invertir();
    // Sorts by insertion, stably, in a number of comparisons that grows with the square of the count. Reports
    // the part done (0 to 1) after each entry placed; `pIE` may be null, and what it calls must not change
    // the list. 0; -1 when there is no memory for the temporary order; -5 when the indicator answers stop.
    // The list is unchanged unless the result is 0. The cursor stays where it is.
    virtual int Ordenar(PFN_COMPARARITEMS cmp, long lUser, TIndicadorEstat* pIE);
    // Inserts clones of the entries of `pOrigen` (null: of none), which is unchanged. A negative `pos`
    // appends; so does one at or beyond the end. Elsewhere room is made by a pass that runs upwards and stops
    // at Cnt() - pos, so that entries of this list are overwritten and lost without being destroyed (kept:
    // append, or use Fusionar). 0; -1 when the storage cannot grow (nothing changed) or when a clone comes
    // back null: the count is then unchanged, the clones that no entry holds are destroyed, and what the pass
    // has moved stays moved.
    virtual int Concatenar(const TLlista* pOrigen, int pos);
    // Moves all entries of `pOrigen` before `pos` (at the end when it is negative or beyond the end) and
    // leaves `pOrigen` empty, without storage. 0, or -1 with both lists unchanged. A null `pOrigen`, one
    // without entries and the list itself change nothing.
    virtual int Fusionar(TLlista* pOrigen, int pos);

    // Forgets the storage without freeing it: empty, capacity 0, cursor 0. The ownership flag stays.
    void Init();
    // Frees the storage, after destroying the items from the last to the first when `bEliminar` is not 0.
    void Done(int bEliminar);
    // Appends `n` null entries through Afegir; none when `n` is negative. 0 or the first negative result.
    int CreaBuida(int n);

    // The number of entries.
    int Cnt() const { return m_nElements; }
    int EsBuida() const { return m_nElements <= 0; }
    // The entry at `i`, unchecked.
    TItem* GetItem(int i) const { return m_ppItems[i]; }
    TItem* ItemAt(int i) const { return m_ppItems[i]; }
    TItem* operator[](int i) const { return m_ppItems[i]; }

    // The cursor: a position that the operations above move where they say so, and that nothing keeps inside
    // the list. Actual is unchecked.
    TItem* Actual() const { return m_ppItems[m_nActual]; }
    int PosActual() const { return m_nActual; }
    void Posicionar(int i) { m_nActual = i; }
    int EsPrimer() const { return m_nActual <= 0; }
    int EsUltim() const { return m_nActual >= m_nElements - 1; }
    // To the first and to the last entry: 1, or 0 when the list is empty.
    int Principi();
    int Final();
    // One forward, one back: 1, or 0 when the list is empty or the cursor is already at (or beyond) that end.
    int Seguent();
    int Previ();

    // Calls `fn` for every entry, from the first to the last, or from the last to the first when bit 0 of
    // `nFlags` is set. As many visits as there are entries at the start; one whose entry is gone by then gets
    // null. Each visit is one of Cnt() equal slices of the indicator's range; `pIE` may be null. The last
    // result of `fn` (0 for an empty list); the first negative result of `fn`, which stops; -5 when the
    // indicator answers stop.
    int Recorrer(PFN_VISITARITEM fn, int nFlags, long lUser, TIndicadorEstat* pIE) const;

protected:
    static constexpr int INCREMENT_MINIM = 16;
    static constexpr int INCREMENT_MAXIM = 16384;

    int m_bPropietari; // not 0: the destructor destroys the items
    int m_nCapacitat;  // slots allocated
    int m_nIncrement;  // step of growth, a power of two from 16 to 16384
    int m_nElements;   // entries
    int m_nActual;     // cursor
    TItem** m_ppItems; // the slots; null without storage; those beyond the entries are null

private:
    class Copier;
    friend class TArbre;

    int ampliar(int n);
    int reduir();
    bool entregar(const TItem* container);
    bool situar(int pos);
    TItem* extreure();
    bool esDarrera(int pos) const;
    TItem* extreureDarrera();
    void situarDarrera(int pos);
    int insertar(TItem* p, int pos);
    int eliminar(int pos);
    TItem* treure(int pos);
};

// ---- What lists are mostly used for, without a call into the library: entries come and go at the end

// Stores the cursor by itself. Left to the compiler it goes in one store with the count beside it, for which
// the next operation has to wait when it reads the count alone.
inline void TLlista::situarDarrera(int pos) {
    *static_cast<volatile int*>(&m_nActual) = pos;
}

inline int TLlista::Insertar(TItem* p, int pos) {
    if (pos != m_nElements || m_nElements == m_nCapacitat) {
        const int result = insertar(p, pos);
        // The count goes into a register, where it is after a fast insertion as well. Otherwise a loop of
        // insertions would read back at every step what the step before has just stored.
        m_nElements = *static_cast<const volatile int*>(&m_nElements);
        return result;
    }
    m_ppItems[pos] = p;
    m_nElements = pos + 1;
    situarDarrera(pos + 1);
    return 0;
}

inline int TLlista::Afegir(TItem* p) {
    return Insertar(p, m_nElements);
}

// Whether `pos` is the last entry, others are left, and no storage is to be given back for it. (It would be
// once no entry lies behind the last multiple of the step below the capacity; steps are powers of two.)
inline bool TLlista::esDarrera(int pos) const {
    return pos == m_nElements - 1 && pos > 0 && pos >= ((m_nCapacitat - 1) & -m_nIncrement);
}

inline TItem* TLlista::extreureDarrera() {
    const int last = m_nElements - 1;
    TItem* const item = m_ppItems[last];
    m_ppItems[last] = nullptr;
    m_nElements = last;
    situarDarrera(last);
    return item;
}

inline TItem* TLlista::Treure(int pos) {
    return esDarrera(pos) ? extreureDarrera() : treure(pos);
}

inline int TLlista::Eliminar(int pos) {
    if (!esDarrera(pos))
        return eliminar(pos);
    delete extreureDarrera();
    return 0;
}

// A list in the order of the items' Comparar. Only Afegir keeps the order; everything inherited puts entries
// where it is told. Searching calls Comparar of the item looked for with the entries. Null sorts before all
// and equals null, so that CreaBuida of a list without repeats leaves one null entry.
class MVLIB_API TLlistaOrdenada : public TLlista {
    MVLIB_POOLED_ITEM
public:
    // `bRepetits` not 0: equal items may be held several times; 0: an equal item replaces the one in the
    // list.
    TLlistaOrdenada(int bRepetits = 0)
        : m_bRepetits(bRepetits) {}
    // Shallow, as in TLlista.
    TLlistaOrdenada(const TLlistaOrdenada& origen) = default;
    TLlistaOrdenada& operator=(const TLlistaOrdenada& origen) = default;
    ~TLlistaOrdenada() override;

    // Puts `p` in its place: in front of the equal item that the search meets, or instead of it, which
    // destroys the old one and leaves the cursor there. 0, or -1 (the item stays the caller's).
    int Afegir(TItem* p) override;

    // 1 and the position of an equal item, or 0 and the position where `p` would go. Which of several equal
    // items is found depends on where the halving lands.
    int BuscarPosicio(const TItem* p, int& pos) const;
    // The position of an equal item, or -1.
    int BuscarItem(const TItem* p) const;

protected:
    // The search by halves among the entries `lo` to `hi`, which exist.
    int BusquedaDic(const TItem* p, int lo, int hi, int& pos) const;

    int m_bRepetits;
};

// A list whose positions are taken modulo its length: -1 is the last entry, Cnt() the first. A negative
// position therefore never means the cursor. On an empty list GetItem answers null.
class MVLIB_API TLlistaCircular : public TLlista {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTLlistaCircular; // id 8, which TCrossList has too

    // A deep copy of any list, or an empty list.
    TLlistaCircular(const TLlista* pOrigen = nullptr)
        : TLlista(pOrigen) {}
    // Shallow, as in TLlista.
    TLlistaCircular(const TLlistaCircular& origen) = default;
    TLlistaCircular& operator=(const TLlistaCircular& origen) = default;
    ~TLlistaCircular() override;

    const CMirvaRTTI* GetRTTI() const override;
    TItem* Canviar(TItem* p, int pos) override;
    // At `pos` equal to Cnt() appends; otherwise inserts at the position modulo the length.
    int Insertar(TItem* p, int pos) override;
    int Eliminar(int pos) override;
    TItem* Treure(int pos) override;

    TItem* GetItem(int i) const { return m_nElements != 0 ? m_ppItems[CalculaPosicio(i)] : nullptr; }
    TItem* ItemAt(int i) const { return GetItem(i); }
    TItem* operator[](int i) const { return GetItem(i); }
    void Posicionar(int i) { m_nActual = CalculaPosicio(i); }
    // From just behind the last entry (where Afegir and Insertar leave the cursor) to the first, answering 1;
    // on the last entry itself 0, as in TLlista (kept).
    int Seguent();
    // From the first entry to the last, answering 1, also on an empty list; otherwise as in TLlista.
    int Previ();

private:
    int CalculaPosicio(int i) const;
};

// A stack: the top is the last entry.
class MVLIB_API TPila : public TLlista {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTPila; // id 5

    TPila() = default;
    // A deep copy, as the list's.
    TPila(const TPila* pOrigen)
        : TLlista(pOrigen) {}
    // Shallow, as in TLlista.
    TPila(const TPila& origen) = default;
    TPila& operator=(const TPila& origen) = default;
    ~TPila() override;

    const CMirvaRTTI* GetRTTI() const override;
    // Appends, as TLlista::Afegir. 0 or -1.
    virtual int push(TItem* p);
    // Removes the top item and destroys it: the result of Eliminar, -3 on an empty stack.
    virtual int pop();
    // Removes the top item and hands it over; null on an empty stack.
    virtual TItem* poptop();
    // The top item, still the stack's. The stack must not be empty.
    virtual TItem* top() const;
};

inline int TPila::push(TItem* p) {
    return TLlista::Afegir(p);
}

inline int TPila::pop() {
    return Eliminar(m_nElements - 1);
}

inline TItem* TPila::poptop() {
    return Treure(m_nElements - 1);
}

inline TItem* TPila::top() const {
    return m_ppItems[m_nElements - 1];
}

// A stack of at most so many items: a push onto a full one destroys the oldest.
class MVLIB_API TPilaLimitada : public TPila {
    MVLIB_POOLED_ITEM
public:
    TPilaLimitada(int nTamany)
        : m_nTamany(nTamany) {}
    // Shallow, as in TLlista.
    TPilaLimitada(const TPilaLimitada& origen) = default;
    TPilaLimitada& operator=(const TPilaLimitada& origen) = default;
    ~TPilaLimitada() override;

    // Destroys the oldest items until there is room, then pushes. With a limit below 1 it destroys `p` and
    // answers 0. 0, or -1 (the item stays the caller's).
    int push(TItem* p) override;

    int GetTamany() const { return m_nTamany; }
    // Sets the limit and destroys the oldest items beyond it; the cursor is at the front if there were any.
    void SetTamany(int n);

protected:
    int m_nTamany;
};
