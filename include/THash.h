// A hash table from text keys to items (THash), and the pair in which it lists its contents (THashItem).
//
// A THash owns its items: it destroys the ones that it replaces, deletes or still holds at the end; only
// `change` and `Done` give items up. Keys live inside the table's slots, at most 261 UTF-16 units each. The
// number of buckets is chosen once, by `init`; later growth adds slots only. One thread at a time may use a
// table. Destroying tables that lie in each other takes no stack per level.
//
//     THash table;
//     if (table.init(1000) == 0 && table.put(new TInt(7), L"seven") == 0) {
//         TItem* item = table.get(L"seven");      // still the table's
//         table.del(L"seven");                    // destroys it
//     }
//
// Key lengths: the length -1, the default, says that the key ends with a NUL; any other length says that
// exactly so many characters form the key. A key stored with -1 is found only with -1, and a key stored with
// a length only with that same length. Key pointers must not be null. Keys are kept as UTF-16 on every
// target, and what is said of their room counts UTF-16 units; a length given counts the elements of the array
// that it goes with.
//
// Results: 0 done; -1 memory could not be had; -4 `copy` into a table that is too small or not empty; -1402
// `del` of a key that is not there. No operation throws but LlistaElements; what the cloning of an item
// throws goes through `copy`, `Duplicar` and the construction of THashItem.
#pragma once

#include "mvlib_export.h"
#include "TItem.h"

class TLlista;

// A key and an item of its own, as THash::LlistaElements lists them.
class MVLIB_API THashItem : public TItem {
public:
    wchar_t m_szClau[261]; // the key, NUL-terminated
    TItem* m_pItem;        // owned; may be null when the clone could not be made

    static const CMirvaRTTI m_rttiTHashItem;

    // Copies the key and clones the item (`Duplicar`). Neither may be null. A key of more than 260 characters
    // is cut.
    THashItem(const wchar_t* szClau, TItem* pItem);
    // Kept: copying by reference and assignment share the item, so that only one of the two may destroy it.
    // Assignment drops the old item without destroying it.
    THashItem(const THashItem& other) = default;
    THashItem& operator=(const THashItem& other) = default;
    // Destroys the item.
    ~THashItem() override;

    // A new pair with the same key and a clone of the item; the caller deletes it. Null when memory is short.
    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;
};

class MVLIB_API THash : public TItem {
public:
    static const CMirvaRTTI m_rttiTHash;

    // --- construction ---

    // An empty table without storage: `put` answers -1 and look-ups find nothing until `init` has run.
    THash();
    // Kept: both share the other table's storage and items. Only one of the two tables may be changed or
    // destroyed afterwards; the target's own storage is dropped, not freed.
    THash(const THash& other) = default;
    THash& operator=(const THash& other) = default;
    // Destroys every item still held.
    ~THash() override;

    // Gives a table fresh from the default constructor `n` slots (at least 1) and n / 3 + 1 buckets. 0, or -1
    // when memory is short. Call it once: on a table in use the old storage would be lost.
    int init(unsigned int n);

    // --- query ---

    // The item stored under the key, still owned by the table; null when there is none (or null was stored).
    TItem* get(const wchar_t* szClau, int nLen = -1) const;
    // The number of keys, and the number of slots.
    unsigned int length() const { return m_nElements; }
    unsigned int maxlength() const { return m_nMax; }
    // 1 when there are no keys, else 0.
    int EsBuit() const override;
    // A new list that owns one new THashItem per key, each with a clone of the key's item, in slot order,
    // which is not the order of insertion; keys that hold null are left out. A key stored with a length is
    // listed with exactly that many characters. The caller deletes the list. Throws the memory exception when
    // memory is short.
    TLlista* LlistaElements() const;

    // --- change ---

    // Stores the item, which may be null, under the key; the table owns it from then on. An item already
    // stored there is destroyed. 0, or -1 when a slot was needed and memory is short: then the item stays the
    // caller's.
    int put(TItem* pItem, const wchar_t* szClau, int nLen = -1);
    // Like `put`, but hands the item already stored there back in `pVell` instead of destroying it. With a
    // new key `pVell` is left as it was.
    int change(TItem* pItem, const wchar_t* szClau, TItem*& pVell, int nLen = -1);
    // Removes the key and destroys its item: 0, or -1402 when there is no such key. The key must end with a
    // NUL whatever the length says: the length only chooses the bucket, and the texts are compared to their
    // ends.
    int del(const wchar_t* szClau, int nLen = -1);
    // Forgets all items without destroying them. Kept: the number of keys and the head of the free list stay
    // as they were, so that `length` goes on telling the old number.
    void Done();

    // --- copies ---

    // Puts a clone of every item, with its key and length, into `pDesti`, in slot order. 0; -4 when `pDesti`
    // has fewer slots than this table has keys, or already holds keys; -1 as soon as one `put` fails.
    int copy(THash* pDesti) const;
    // Kept: answers null for a table that holds an item (and abandons what it made so far); a new empty table
    // with as many slots for one that holds none. To clone a table, `init` a new one and `copy` into it.
    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    // --- inside of the table ---

    // The bucket of a key: the sum of its UTF-16 units modulo the number of buckets; 0 without buckets.
    int clau(const wchar_t* szClau, int nLen) const;
    // Searches the chain of bucket `idx`. Found: `idx` becomes the entry, and the result is the entry before
    // it in the chain, or itself when it is the first. Not found: `idx` becomes -1, and the result is the
    // last entry of the chain, -1 for an empty one.
    int BuscarClau(const wchar_t* szClau, int& idx, int nLen) const;
    // Writes a key into slot `idx`: with -1 the text and its terminator (cut at 261 units), with a length at
    // most 261 units and no terminator. The slot must exist; it stays in the chain that it is in, and
    // searches of that table walk the chains from then on. Meant for derived classes that lay out slots
    // themselves.
    void CopyClau(const wchar_t* szClau, int idx, int nLen);
    // Adds `n` slots; -1 stands for a third of the slots that there are, at least 20. 0, or -1 when memory is
    // short. Kept: the number of slots is raised even then.
    int Ampliar(int n);

protected:
    struct ENTRADA {
        char16_t szClau[262]; // first unit 0 in a free slot
        TItem* pItem;         // null in a free slot
        unsigned int nSeguent;
        int nLen; // in units, as given when the key was stored; -1: NUL-terminated
    };

    unsigned int m_nMax;      // slots
    unsigned int m_nBuckets;  // buckets
    unsigned int m_nElements; // keys
    unsigned int* m_pBuckets; // first entry of each chain, or all ones
    ENTRADA* m_pEntrades;
    unsigned int m_nLliure; // head of the free list

private:
    struct Clau;  // a key on its way in
    struct Ocult; // what lies unseen beside the arrays

    Ocult* ocult() const;
    bool entregar(unsigned int nSlots);
    bool Igual(unsigned int slot, const Clau& key) const;
    unsigned int Trobar(const Clau& key) const;
    unsigned int TrobarCadena(Clau key, unsigned int bucket) const;
    unsigned int TrobarText(const Clau& key, unsigned int bucket) const;
    int Desar(TItem* pItem, const Clau& key, TItem** ppVell);
    void Escriure(unsigned int slot, const Clau& key);
    void CrearIndex();
};
