// Tables: TTaula, a grid of items that grows and shrinks by whole rows and columns, and TTaulaBool, a grid of
// truth values.
//
// The table owns every item in a cell. New cells are filled by the virtual _CrearItem, which a derived class
// overrides to say what a fresh cell holds; in TTaula they are null. Rows and columns count from 0. Cell
// positions are not checked: one outside the table is the caller's mistake.
//
// A block of cells that cannot be allocated, or a size that is negative, throws CMemoryException*; the table
// is then as it was, save for what the operation says.
//
// The copy constructor and the assignment copy the fields as they stand, so that both tables share the cells
// (kept): only one of them may be destroyed. A table cannot be cloned: Duplicar answers null.
// No locks: a table belongs to one thread at a time.
//
//     TTaulaBool allowed(0);
//     allowed.ConstruirTaula(3, 2);
//     allowed.Set(2, 1, 1);
//     allowed.InsertarFiles(-1, 1);    // a fourth row, of zeros
#pragma once

#include "TItem.h"

class MVLIB_API TTaula : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTTaula; // id 6, which TTaulaBool answers too

    // No rows, no columns.
    TTaula()
        : m_nFiles(0)
        , m_nColumnes(0)
        , m_ppCeles(nullptr) {}
    // Shallow, see above.
    TTaula(const TTaula& origen) = default;
    TTaula& operator=(const TTaula& origen) = default;
    // DestruirTaula.
    ~TTaula() override;

    const CMirvaRTTI* GetRTTI() const override;
    // 1 when there are neither rows nor columns, else 0.
    int EsBuit() const override;
    // What a new cell holds; the table owns it. Null here. It runs while the table is being changed: it may
    // read the sizes, which are still the old ones when rows or columns are inserted, but not change the
    // table.
    virtual TItem* _CrearItem(int fila, int columna);

    int GetNumFiles() const { return m_nFiles; }
    int GetNumColumnes() const { return m_nColumnes; }
    // The item in a cell, unchecked; null for an empty one.
    TItem* GetItem(int fila, int columna) const { return m_ppCeles[cela(fila, columna)]; }
    // Puts `p` into the cell, null allowed; the item that was there is destroyed unless it is `p`.
    void SetItem(TItem* p, int fila, int columna);

    // Destroys what is there and makes a table of this size, calling _CrearItem for every cell from the last
    // to the first. Should the block of cells not be allocated, the table is empty.
    void ConstruirTaula(int nFiles, int nColumnes);
    // Destroys every item, from the last cell to the first, and leaves an empty table.
    void DestruirTaula();

    // Inserts `n` rows before row `pos`, or behind the last one when `pos` is negative or not a row. New rows
    // are filled from the first to the last, each from its last column to its first. Nothing happens when `n`
    // is below 1.
    void InsertarFiles(int pos, int n);
    // The same with columns; rows are filled from the last to the first, each in the order of the columns.
    void InsertarColumnes(int pos, int n);
    // Removes `n` rows from row `pos` on (as many as there are) and destroys their items. When no row would
    // be left the whole table is emptied, columns included. Nothing happens when `n` is below 1 or `pos` is
    // not a row. The items are destroyed first: should the smaller block not be allocated, their cells still
    // hold the addresses of the destroyed items (kept), and the caller must overwrite them by way of a
    // derived class.
    void EliminarFiles(int pos, int n);
    // The same with columns, but here a failure leaves the table whole.
    void EliminarColumnes(int pos, int n);

protected:
    int m_nFiles;
    int m_nColumnes;
    TItem** m_ppCeles; // row by row; null without cells

    // The place of a cell in the block.
    std::size_t cela(int fila, int columna) const {
        return static_cast<std::size_t>(fila) * static_cast<std::size_t>(m_nColumnes) +
               static_cast<std::size_t>(columna);
    }

private:
    void adoptar(TItem** block, int nFiles, int nColumnes);
};

// A grid of truth values: every cell is null or a TBool. Values are kept as given, not reduced to 0 or 1.
class MVLIB_API TTaulaBool : public TTaula {
    MVLIB_POOLED_ITEM
public:
    // An empty table. `bDefecte` is the value of new cells and of those that hold no item; true unless said
    // otherwise (kept).
    TTaulaBool(int bDefecte = 1)
        : m_bDefecte(bDefecte) {}
    // Shallow, as in TTaula; the default is copied too.
    TTaulaBool(const TTaulaBool& origen) = default;
    TTaulaBool& operator=(const TTaulaBool& origen) = default;
    ~TTaulaBool() override;

    // A new TBool that holds the default; null without memory.
    TItem* _CrearItem(int fila, int columna) override;

    // The value of a cell; the default where it holds no item.
    int Get(int fila, int columna) const;
    // Sets the value of a cell. An empty one gets an item from _CrearItem first; without memory it stays
    // empty.
    void Set(int fila, int columna, int bValor);
    // 0 becomes 1, anything else becomes 0. The cell must hold an item; an empty one stays as it is.
    void Swap(int fila, int columna);

protected:
    int m_bDefecte;
};
