// Option blocks: sets of named, typed values that travel.
//
// A block maps names to integers, real numbers, strings, bytes and nested blocks. It turns as a whole into
// one data block, a buffer of bytes that begins with "DRIVER-BLOC" and may be kept wherever bytes can be
// kept (a registry value, a record of a file), and back. docs/data-blocks.md describes the bytes. For people
// there is an XML form, which nothing reads back.
//
// Names are compared exactly, with their case. In reading, "a/b" means the value "b" of the nested block "a",
// to any depth. In storing it does not: see Afegir. A nested block is kept as the data block that it had when
// it was stored, never as an object, so later changes of that object are not seen.
//
// Order. Enumerar, GetPrimer/GetSeguent, data blocks and the XML form show the entries in one order: by the
// name's hash modulo 17 (h = h * 33 + unit over the UTF-16 units, in 32 bits, from 0), and among equals the
// name that came last first. A new value for a name that is there keeps its place. So a copy, or what is
// loaded from a data block, shows names that share a hash in the opposite order of its source.
//
// Ownership: values are copied in and out. Buffers that are handed out come from malloc: end them with free.
// Blocks that are handed out are the caller's to delete. Threads: one thread uses a block at a time.
//
//     TBlocOpcions window;
//     window.EntraValorInt32(L"width", 640);
//     TBlocOpcions options;
//     options.EntraValorString(L"user", L"anna");
//     options.EntraSubBloc(L"window", &window);
//     unsigned int size;
//     unsigned char* bytes = options.ToBlocDades(size);
//     TBlocOpcions same(bytes, size);
//     free(bytes);
//     long width = same.TornaValorInt32(L"window/width", 800); // 640
#pragma once

#include "mvlib_export.h"

#include "afx.h"
#include "afxtempl.h"

#include "TItem.h"

class TBlocOpcions;

// One value. Copying is deep. The kinds:
//   -1  none
//    0  integer: `lValor`, of which 32 bits count
//    1  real number: `dValor`
//    2  8-bit text: found in data blocks only, where it is read as kind 5
//    3  nested block: its data block in `pDades`, `dwMida` bytes
//    4  bytes: `pDades`, `dwMida` bytes; null and 0 for none
//    5  string: `pDades`, a wide text that ends with a NUL (null is allowed), and `dwMida` 0
// An item owns its block, which comes from malloc, and frees it for the kinds 2 to 5.
//
// Out of memory, what copies a text or bytes throws CMemoryException*, and the item holds nothing (kind -1).
class MVLIB_API ITEMBLOCOPCIONS {
public:
    ITEMBLOCOPCIONS()
    noexcept
        : nTipus(-1) {
        clear();
    }
    // Kind 0. The value is cut to 32 bits, which is what a data block keeps.
    ITEMBLOCOPCIONS(long lValor) noexcept;
    // Kind 1.
    ITEMBLOCOPCIONS(double dValor) noexcept;
    // Kind 5, with a copy of the text, or with null for null.
    ITEMBLOCOPCIONS(const wchar_t* szValor);
    // Takes over `p`, from malloc, as it is: `n` bytes of the kind `nKind`.
    ITEMBLOCOPCIONS(void* p, unsigned long n, int nKind) noexcept;
    ITEMBLOCOPCIONS(const ITEMBLOCOPCIONS& other);
    ITEMBLOCOPCIONS(ITEMBLOCOPCIONS&& other) noexcept;
    ~ITEMBLOCOPCIONS() {
        if (nTipus >= 2)
            Reset();
    }

    // Kinds 3 and 4 without bytes come out with null and 0. Kind 2 comes out without a value, kinds that do
    // not exist as kind -1.
    ITEMBLOCOPCIONS& operator=(const ITEMBLOCOPCIONS& other);
    ITEMBLOCOPCIONS& operator=(ITEMBLOCOPCIONS&& other) noexcept;

    // Frees what is held; the kind is -1 then, and the value all zeros.
    void Reset() noexcept;
    // Each lets go of the old value first. The argument may lie in it.
    void SetInt32(long lNou) noexcept; // cut to 32 bits
    void SetReal64(double dNou) noexcept;
    void SetString(const wchar_t* szNou); // a copy; null gives a null string
    // Takes over `p` and `n` as they are when `bCopiar` is 0; else copies the `n` bytes (null or 0: nothing,
    // and `pDades` is null). Then the kind is `nKind`.
    void SetDadesBin(void* p, unsigned long n, int bCopiar, int nKind);
    // Kind 3: the data block of `p` as it is now. Null counts as an empty block.
    void SetBlocOpcions(const TBlocOpcions* p);

    int nTipus;
    union {
        long lValor;
        double dValor;
        struct {
            void* pDades;
            DWORD dwMida;
        };
    };

private:
    void clear() noexcept {
        dValor = 0;
        pDades = nullptr;
        dwMida = 0;
    }
};

template <>
inline constexpr bool mvafx::isDestroyedUnseen<ITEMBLOCOPCIONS> = true; // they only free memory

class MVLIB_API TBlocOpcions : public TItem {
public:
    static const CMirvaRTTI m_rttiTBlocOpcions; // id 13000

    // ---- Construction

    TBlocOpcions();
    // FromBlocDades(pData, nSize, 0) on an empty block. Its result is not told: a damaged data block gives
    // the entries before the damage.
    TBlocOpcions(const unsigned char* pData, unsigned int nSize);
    // A copy of every entry of `p`, entered in `p`'s order. Null: an empty block. Throws CMemoryException*.
    TBlocOpcions(const TBlocOpcions* p);
    TBlocOpcions(const TBlocOpcions&) = delete;
    TBlocOpcions& operator=(const TBlocOpcions&) = delete;
    ~TBlocOpcions() override;

    // A copy as by the pointer constructor, which the caller deletes. Null without memory.
    TBlocOpcions* Duplicar() const override;
    const CMirvaRTTI* GetRTTI() const override;

    // ---- Storing: 0, or -1 without memory, and then the block is as it was

    // Stores a copy of `item` under `name` in place of any other value. Kept: with a "/" in the name nothing
    // is stored but an empty nested block under what stands before the first "/", and that only when no
    // nested block is there (another value in that place is lost); the answer is 0. To store below, build the
    // nested block and store it whole with EntraSubBloc. Null counts as the empty name, which no reader of
    // data blocks accepts.
    int Afegir(const wchar_t* name, const ITEMBLOCOPCIONS& item);
    int EntraValorInt32(const wchar_t* name, long lValor);
    int EntraValorReal64(const wchar_t* name, double dValor);
    int EntraValorString(const wchar_t* name, const wchar_t* szValor);
    // Null bytes store an empty value.
    int EntraValorBinari(const wchar_t* name, const void* pData, unsigned long nSize);
    // Stores the data block of `pBloc` as it is now. Null counts as an empty block.
    int EntraSubBloc(const wchar_t* name, const TBlocOpcions* pBloc);
    // Removes the entry of exactly that name ("/" means nothing here). 1, or 0 when there is none.
    int Eliminar(const wchar_t* name);
    void Reset();

    // ---- Reading. "a/b" is looked up as "b" in the nested block "a"; where "a" is none, as a plain name.
    // A default is the answer when there is no such name and when its value is of another kind.

    // 1 and a copy of the value, or 0 and `item` as it was. Throws CMemoryException*.
    int Buscar(const wchar_t* name, ITEMBLOCOPCIONS& item) const;
    long TornaValorInt32(const wchar_t* name, long lDefecte) const;
    // An integer is not a real number: it gives the default.
    double TornaValorReal64(const wchar_t* name, double dDefecte) const;
    // A null default counts as the empty string.
    CString TornaValorString(const wchar_t* name, const wchar_t* szDefecte) const;
    void TornaValorString(const wchar_t* name, CString& str, const wchar_t* szDefecte) const;
    // A copy of the bytes, which the caller frees, and their number in `nSize`. Null with `nSize` 0 when the
    // value is empty or there is no memory; null with `nSize` as it was when there is no such value.
    void* TornaValorBinari(const wchar_t* name, unsigned long& nSize) const;
    // The nested block as an object of its own, which the caller deletes. Null when there is none, and
    // without memory.
    TBlocOpcions* TornaSubBloc(const wchar_t* name) const;

    // ---- Walking

    // Calls `pfn` for each entry with a copy of its value, until it answers below 0; the last answer is the
    // result, 0 for an empty block. `pfn` may remove the entry that it is called for, and no other. Throws
    // CMemoryException*.
    int Enumerar(int(__stdcall* pfn)(const wchar_t* name, ITEMBLOCOPCIONS& item, long lUser),
                 long lUser) const;
    // The same step by step: null means the end. GetSeguent with null does nothing.
    POSITION GetPrimer() const;
    void GetSeguent(POSITION& pos, CString& name, ITEMBLOCOPCIONS& item) const;

    // ---- Data blocks

    // The data block of all entries, which the caller frees, and its size. An empty block gives 11 bytes.
    // Null and 0 without memory, or beyond 4 GiB. Kept: what does not fit the format is written all the same.
    // A name's characters outside the thread's code page are lost. Readers stop with -3 at the empty name and
    // at a name of 32,768 to 65,536 or a string of 16,384 to 32,767 UTF-16 units, with -9 at a value of kind
    // -1. Of a longer string they get the length modulo 32,768.
    unsigned char* ToBlocDades(unsigned int& nSize) const;
    // Loads a data block into this block, which it empties first unless `bAfegir` is not 0. 0: done, also
    // with null or no bytes; -3: not a data block, or cut short; -9: a kind of value that does not exist; -1:
    // no memory. The entries before an error stay. `pData` may not lie in a value of this block.
    int FromBlocDades(const unsigned char* pData, unsigned int nSize, int bAfegir);

    // ---- XML

    // Writes the XML form: an element "DriverOptions" with the program's version, and in it an element a
    // value, named after it and with its kind as "Type". Names become tags as they are. 0, whether or not the
    // file could be written. Throws CMemoryException*.
    int ToFitxerXML(const wchar_t* path) const;
    // What ToFitxerXML hands to Enumerar: appends the element of one value to the XMLNode whose address is
    // `lNode`. 0.
    static int __stdcall _fnAfegirNodesXML(const wchar_t* name, ITEMBLOCOPCIONS& item, long lNode);

protected:
    CMap<CString, LPCWSTR, ITEMBLOCOPCIONS, ITEMBLOCOPCIONS&> m_mapValors;

private:
    const ITEMBLOCOPCIONS* find(const wchar_t* name, ITEMBLOCOPCIONS& scratch) const;
    void store(const wchar_t* name, ITEMBLOCOPCIONS&& item);
    int storeOrFail(const wchar_t* name, ITEMBLOCOPCIONS&& item);
};
