// Items: the polymorphic base of everything that the library's containers hold, its type records, and six
// ready-made value items.
//
// A TItem can be cloned (Duplicar), ordered (Comparar, Iguals) and asked for its type record. A type record
// is a constant CMirvaRTTI, one per class, a static member named m_rtti plus the class name; it lives as long
// as the library and nobody frees it. Type tests walk the records up to TItem's and compare ids only.
//
// Who owns an item is the container's matter (see each container). What Duplicar returns belongs to the
// caller, who deletes it. Items are not synchronised: an item, like the container that holds it, belongs to
// one thread at a time. An item may be deleted on another thread than the one that made it.
//
//     TItem* item = new TInt(5);
//     if (TInt* number = static_cast<TInt*>(AfxTestClasseItem(item, &TInt::m_rttiTInt)))
//         number->Inc();
//     delete item;
//
// A class of one's own derives from TItem, overrides what it can do, and has a record with a free id:
//
//     class TPunt : public TItem {
//     public:
//         static const CMirvaRTTI m_rttiTPunt;
//         const CMirvaRTTI* GetRTTI() const override { return &m_rttiTPunt; }
//         TItem* Duplicar() const override { return new (std::nothrow) TPunt(*this); }
//     };
//     const CMirvaRTTI TPunt::m_rttiTPunt(&TItem::m_rttiTItem, "TPunt", 20001, sizeof(TPunt), nullptr);
#pragma once

#include <cstddef>
#include <cstdio>
#include <new>

#include "mvlib_export.h"

class TItem;

// Type record of one class: a plain value, never changed after start-up, readable from any thread.
class MVLIB_API CMirvaRTTI {
public:
    const CMirvaRTTI* m_pPare; // record of the parent class; null only in TItem's own
    const char* m_szNom;       // class name as it is spelled, NUL-terminated
    int m_nTipus;              // type id: all that type tests compare
    unsigned int m_nMida;      // bytes of one instance of the class
    TItem* (*m_pfnCrear)();    // makes an instance; null in every record of this library

    // Keeps the five values as they are. `szNom` is not copied: it must outlive the record.
    constexpr CMirvaRTTI(const CMirvaRTTI* pPare, const char* szNom, int nTipus, unsigned int nMida,
                         TItem* (*pfnCrear)())
        : m_pPare(pPare)
        , m_szNom(szNom)
        , m_nTipus(nTipus)
        , m_nMida(nMida)
        , m_pfnCrear(pfnCrear) {}
    constexpr CMirvaRTTI(const CMirvaRTTI&) = default;
    constexpr CMirvaRTTI(CMirvaRTTI&&) = default;
    CMirvaRTTI& operator=(const CMirvaRTTI&) = default;
    CMirvaRTTI& operator=(CMirvaRTTI&&) = default;

    // 1 when this record or one above it has the id, else 0. Ids are not unique (TCrossList and
    // TLlistaCircular both have 8): records with one id pass for each other.
    int EsTipus(int nTipus) const;
    // The same test with the id of `r`, which must not be null. Addresses are never compared.
    int EsTipus(const CMirvaRTTI* r) const { return EsTipus(r->m_nTipus); }

    // A new item from the factory, owned by the caller; null when the record has no factory.
    TItem* CrearItem() const { return m_pfnCrear != nullptr ? m_pfnCrear() : nullptr; }
};

// The base of every item and of every container of items. It holds no data. The order of the virtual
// operations is part of the interface.
class MVLIB_API TItem {
public:
    static const CMirvaRTTI m_rttiTItem; // id 0

    // There is nothing to copy: all three make a plain item. The pointer may be null.
    TItem() = default;
    TItem(const TItem&) {}
    TItem(const TItem*) {}
    TItem& operator=(const TItem&) { return *this; }
    virtual ~TItem() {}

    // A new copy of this item, owned by the caller. Null when the class cannot be cloned (as here) or when
    // there is no memory for the copy.
    virtual TItem* Duplicar() const;
    // The record of the class. Every class with a record of its own overrides it.
    virtual const CMirvaRTTI* GetRTTI() const;
    // 1 when the item is empty, else 0. Here 0; containers answer for their contents.
    virtual int EsBuit() const;
    // 1 when Comparar(p) is 0, else 0.
    virtual int Iguals(const TItem* p) const;
    // Below 0: this item sorts before `p`; 0: equivalent; above 0: after. Here always 0. Overrides read `p`
    // as their own class without a test; `p` is not null.
    virtual int Comparar(const TItem* p) const;
    // Write to and read from a C stream. -2: not supported, the answer of every class of this library.
    virtual int Guardar(FILE* pFitxer) const;
    virtual int Llegir(FILE* pFitxer);

    // 1 when the item is of the class with that id, or of one derived from it, else 0. `r` must not be null.
    int EsTipus(int nTipus) const { return GetRTTI()->EsTipus(nTipus); }
    int EsTipus(const CMirvaRTTI* r) const { return GetRTTI()->EsTipus(r); }
    // The id of the item's record. A class without a record answers with that of its base: TLlistaOrdenada 2,
    // TPilaLimitada 5, TTaulaBool 6.
    int QueSoc() const { return GetRTTI()->m_nTipus; }
    // The name in the item's record. The text lies in storage of the calling thread that is valid until that
    // thread's next call into the library: copy it. Null when the record has no name, when the name has more
    // than 0x3FFFFFFE characters, when it cannot be converted from the thread's code page, or without memory.
    const wchar_t* GetNomClasse() const;
};

// Down-cast with a type test: `item` when it is not null and passes the test for the id of `r`, else null.
// `r` must not be null.
MVLIB_API TItem* AfxTestClasseItem(const TItem* item, const CMirvaRTTI* r);

// 0 when `item` is null, or when the process may not write the item's virtual-table pointer, read the table,
// or read as many bytes of the item as its record says. Otherwise 1 when the record chain holds the id 2000,
// else 0. No class of this library has that id, so the answer for its own items is always 0 (kept: clients
// whose class has the id rely on the rest).
MVLIB_API int AfxItemValid(const TItem* item);

// Memory of the library's small items: blocks by size class from pools that every thread caches for itself.
// Blocks may be freed on any thread; they go back to the pools, not to the system. A class asks for them with
// MVLIB_POOLED_ITEM in its body; a larger class derived from it is served as well. `bytes` is the size that
// was asked for.
namespace mvlib {
MVLIB_API void* AllocateItem(std::size_t bytes);             // std::bad_alloc when there is no memory
MVLIB_API void* TryAllocateItem(std::size_t bytes) noexcept; // null when there is no memory
MVLIB_API void FreeItem(void* block, std::size_t bytes) noexcept;
MVLIB_API void FreeItemOfUnknownSize(void* block) noexcept; // slow; null allowed
} // namespace mvlib

#define MVLIB_POOLED_ITEM                                                                                    \
public:                                                                                                      \
    static void* operator new(std::size_t bytes) {                                                           \
        return mvlib::AllocateItem(bytes);                                                                   \
    }                                                                                                        \
    static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {                           \
        return mvlib::TryAllocateItem(bytes);                                                                \
    }                                                                                                        \
    static void* operator new(std::size_t, void* place) noexcept {                                           \
        return place;                                                                                        \
    }                                                                                                        \
    static void* operator new(std::size_t bytes, std::align_val_t alignment) {                               \
        return ::operator new(bytes, alignment);                                                             \
    }                                                                                                        \
    static void operator delete(void* block, std::size_t bytes) noexcept {                                   \
        mvlib::FreeItem(block, bytes);                                                                       \
    }                                                                                                        \
    static void operator delete(void* block, const std::nothrow_t&) noexcept {                               \
        mvlib::FreeItemOfUnknownSize(block);                                                                 \
    }                                                                                                        \
    static void operator delete(void*, void*) noexcept {}                                                    \
    static void operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {             \
        ::operator delete(block, alignment);                                                                 \
    }

// The value items below hold one value each. Duplicar returns null when there is no memory for the copy.

// A 32-bit signed integer.
class MVLIB_API TInt : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTInt; // id 11

    TInt(int nValor = 0)
        : m_valor(nValor) {}
    TInt(const TInt&) = default;
    TInt& operator=(const TInt&) = default;
    TInt& operator=(TInt&&) = default;

    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;
    // The difference of the two values, this minus `p`'s (`p` is a TInt). It wraps: the least int compared
    // with 1 gives a positive number. Kept: stored orders depend on it.
    int Comparar(const TItem* p) const override;

    int Get() const { return m_valor; }
    void Set(int nValor) { m_valor = nValor; }
    // One more, one less; they wrap silently at the limits.
    void Inc() { m_valor = static_cast<int>(static_cast<unsigned int>(m_valor) + 1U); }
    void Dec() { m_valor = static_cast<int>(static_cast<unsigned int>(m_valor) - 1U); }

protected:
    int m_valor;
};

// A truth value; any int is kept as given. All instances compare equal.
class MVLIB_API TBool : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTBool; // id 10

    // True unless said otherwise (kept).
    TBool(int bValor = 1)
        : m_valor(bValor) {}
    TBool(const TBool&) = default;
    TBool& operator=(const TBool&) = default;
    TBool& operator=(TBool&&) = default;

    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    int Get() const { return m_valor; }
    void Set(int bValor) { m_valor = bValor; }
    // 0 becomes 1, anything else becomes 0.
    void Swap() { m_valor = m_valor == 0 ? 1 : 0; }

protected:
    int m_valor;
};

// One character. All instances compare equal.
class MVLIB_API TChar : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTChar; // id 14

    TChar(wchar_t cValor = 0)
        : m_valor(cValor) {}
    TChar(const TChar&) = default;
    TChar& operator=(const TChar&) = default;
    TChar& operator=(TChar&&) = default;

    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    wchar_t Get() const { return m_valor; }
    void Set(wchar_t cValor) { m_valor = cValor; }

protected:
    wchar_t m_valor;
};

// A 32-bit floating-point number. All instances compare equal.
class MVLIB_API TFloat : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTFloat; // id 12

    TFloat(float fValor = 0)
        : m_valor(fValor) {}
    TFloat(const TFloat&) = default;
    TFloat& operator=(const TFloat&) = default;
    TFloat& operator=(TFloat&&) = default;

    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    float Get() const { return m_valor; }
    void Set(float fValor) { m_valor = fValor; }

protected:
    float m_valor;
};

// A 64-bit floating-point number. All instances compare equal.
class MVLIB_API TDouble : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTDouble; // id 31

    TDouble(double dValor = 0)
        : m_valor(dValor) {}
    TDouble(const TDouble&) = default;
    TDouble& operator=(const TDouble&) = default;
    TDouble& operator=(TDouble&&) = default;

    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    double Get() const { return m_valor; }
    void Set(double dValor) { m_valor = dValor; }

protected:
    double m_valor;
};

// A text, owned by the item, or none (null).
//
// Copies come in two kinds. Made from a pointer, or by Duplicar, an item has a private copy of the text. The
// copy constructor from a reference and the copy assignment copy the text's address, so that two items share
// one text (kept): the caller sees to it that only one of them frees it. A temporary frees it at once;
// replace a text by assigning a text (item = L"x"), not an item.
class MVLIB_API TItemString : public TItem {
    MVLIB_POOLED_ITEM
public:
    static const CMirvaRTTI m_rttiTItemString; // id 200

    // A private copy of the text; null: no text. Throws CMemoryException* when the copy cannot be made.
    TItemString(const wchar_t* psz = nullptr);
    TItemString(const TItemString* pOrigen);
    // Shares the text of `origen`; the text this item had before an assignment is not freed.
    TItemString(const TItemString& origen);
    TItemString& operator=(const TItemString& origen);
    // As Insertar.
    TItemString& operator=(const wchar_t* psz);
    // Frees the text.
    ~TItemString() override;

    // Throws CMemoryException* when the object is there but its text cannot be copied.
    TItem* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;
    // -1, 0 or 1 by UTF-16 code units as unsigned numbers, on every target; a text sorts after its own
    // beginnings. `p` is a TItemString. Give both a text first; an item without one sorts before every text.
    int Comparar(const TItem* p) const override;

    // Replaces the text by a copy of `psz` (which may lie in the present text), or by none when it is null.
    // Throws CMemoryException* when the copy cannot be made; the item then has no text.
    void Insertar(const wchar_t* psz);
    // The text itself, null when there is none. It stays the item's, until the text is replaced.
    wchar_t* Agafar() const { return m_pszText; }
    operator wchar_t*() const { return m_pszText; }
    // 1 when the texts are equal code unit for code unit, else 0: whether Comparar would be 0. An item
    // without text equals another without.
    int operator==(const TItemString& altre) const;

protected:
    wchar_t* m_pszText;
};
