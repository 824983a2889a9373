#include "TBlocOpcions.h"

#include "config/data_block.h"
#include "win32.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <utility>

using namespace datablock;

namespace {

constexpr int NO_MEMORY = -1;
constexpr wchar_t PATH_SEPARATOR = L'/';

using Pair = CMap<CString, LPCWSTR, ITEMBLOCOPCIONS, ITEMBLOCOPCIONS&>::CPair;

// From so many entries on, a walk that fetches its entries ahead is worth the list that it needs.
constexpr std::size_t MANY = 256;
constexpr std::size_t AHEAD = 4;

struct Free {
    void operator()(void* block) const { std::free(block); }
};

// 32 bits are what a data block keeps, and what a long has on Windows.
long Cut(long value) {
    return static_cast<std::int32_t>(value);
}

// A malloc copy of `size` bytes, null for none of them.
void* CopyBytes(const void* bytes, std::size_t size) {
    if (!bytes || size == 0)
        return nullptr;
    void* copy = std::malloc(size);
    if (!copy)
        AfxThrowMemoryException();
    return std::memcpy(copy, bytes, size);
}

wchar_t* CopyText(const wchar_t* text) {
    return text ? static_cast<wchar_t*>(CopyBytes(text, (std::wcslen(text) + 1) * sizeof(wchar_t))) : nullptr;
}

// Finds `path` among the entries of a data block as they would be in a block that had loaded it, without
// loading anything on the way.
bool FindNested(const void* data, unsigned size, const wchar_t* path, ITEMBLOCOPCIONS& item) {
    WideText text;
    for (;;) {
        const wchar_t* slash = std::wcschr(path, PATH_SEPARATOR);
        const std::size_t length = slash ? static_cast<std::size_t>(slash - path) : std::wcslen(path);
        Entry entry, found = {};
        bool any = false;
        for (Reader reader(data, size); reader.Next(entry) > 0;) {
            if (!text.Set(entry.name, entry.nameSize))
                AfxThrowMemoryException();
            const wchar_t* name = text.Get();
            const wchar_t* end = std::wcschr(name, PATH_SEPARATOR);
            const std::size_t nameLength = end ? static_cast<std::size_t>(end - name) : std::wcslen(name);
            if (nameLength != length || std::wmemcmp(name, path, length) != 0)
                continue;
            if (!end)
                found = entry;
            else if (!any || found.kind != SUB_BLOCK) // a path leaves an empty block
                found = {nullptr, 0, SUB_BLOCK, SIGNATURE, SIGNATURE_SIZE};
            any = true;
        }
        if (!any)
            return false;
        if (!slash) {
            found.Load(item);
            return true;
        }
        if (found.kind != SUB_BLOCK)
            return false;
        data = found.data;
        size = found.size;
        path = slash + 1;
    }
}

} // namespace

// ---- Values

ITEMBLOCOPCIONS::ITEMBLOCOPCIONS(long lInicial) noexcept
    : ITEMBLOCOPCIONS() {
    SetInt32(lInicial);
}

ITEMBLOCOPCIONS::ITEMBLOCOPCIONS(double dInicial) noexcept
    : ITEMBLOCOPCIONS() {
    SetReal64(dInicial);
}

ITEMBLOCOPCIONS::ITEMBLOCOPCIONS(const wchar_t* szValor)
    : ITEMBLOCOPCIONS() {
    SetString(szValor);
}

ITEMBLOCOPCIONS::ITEMBLOCOPCIONS(void* p, unsigned long n, int nKind) noexcept
    : ITEMBLOCOPCIONS() {
    pDades = p;
    dwMida = static_cast<DWORD>(n);
    nTipus = nKind;
}

ITEMBLOCOPCIONS::ITEMBLOCOPCIONS(const ITEMBLOCOPCIONS& other)
    : ITEMBLOCOPCIONS() {
    *this = other;
}

ITEMBLOCOPCIONS::ITEMBLOCOPCIONS(ITEMBLOCOPCIONS&& other) noexcept
    : ITEMBLOCOPCIONS() {
    *this = std::move(other);
}

ITEMBLOCOPCIONS& ITEMBLOCOPCIONS::operator=(const ITEMBLOCOPCIONS& other) {
    if (this == &other)
        return *this;
    Reset();
    switch (other.nTipus) {
    case INTEGER:
        lValor = other.lValor;
        break;
    case REAL:
        dValor = other.dValor;
        break;
    case SUB_BLOCK:
    case BINARY:
        pDades = CopyBytes(other.pDades, other.dwMida);
        dwMida = pDades ? other.dwMida : 0;
        break;
    case TEXT:
        pDades = CopyText(static_cast<const wchar_t*>(other.pDades));
        break;
    case NARROW_TEXT:
        break;
    default:
        return *this;
    }
    nTipus = other.nTipus;
    return *this;
}

ITEMBLOCOPCIONS& ITEMBLOCOPCIONS::operator=(ITEMBLOCOPCIONS&& other) noexcept {
    if (this != &other) {
        Reset();
        nTipus = other.nTipus;
        if (nTipus == INTEGER) {
            lValor = other.lValor;
        } else if (nTipus == REAL) {
            dValor = other.dValor;
        } else {
            pDades = other.pDades;
            dwMida = other.dwMida;
        }
        other.nTipus = NONE;
        other.clear();
    }
    return *this;
}

void ITEMBLOCOPCIONS::Reset() noexcept {
    if (nTipus >= NARROW_TEXT && nTipus <= TEXT)
        std::free(pDades);
    nTipus = NONE;
    clear();
}

void ITEMBLOCOPCIONS::SetInt32(long lNou) noexcept {
    Reset();
    lValor = Cut(lNou);
    nTipus = INTEGER;
}

void ITEMBLOCOPCIONS::SetReal64(double dNou) noexcept {
    Reset();
    dValor = dNou;
    nTipus = REAL;
}

void ITEMBLOCOPCIONS::SetString(const wchar_t* szNou) {
    ITEMBLOCOPCIONS before(std::move(*this)); // keeps a text that lies in it until it is copied
    pDades = CopyText(szNou);
    nTipus = TEXT;
}

void ITEMBLOCOPCIONS::SetDadesBin(void* p, unsigned long n, int bCopiar, int nKind) {
    ITEMBLOCOPCIONS before(std::move(*this));
    if (!bCopiar) {
        if (before.nTipus >= NARROW_TEXT && before.pDades == p)
            before.pDades = nullptr; // it stays
        pDades = p;
        dwMida = static_cast<DWORD>(n);
    } else {
        pDades = CopyBytes(p, static_cast<DWORD>(n));
        dwMida = pDades ? static_cast<DWORD>(n) : 0;
    }
    nTipus = nKind;
}

void ITEMBLOCOPCIONS::SetBlocOpcions(const TBlocOpcions* p) {
    ITEMBLOCOPCIONS before(std::move(*this));
    unsigned int size = 0;
    unsigned char* bytes = p ? p->ToBlocDades(size) : TBlocOpcions().ToBlocDades(size);
    if (!bytes)
        AfxThrowMemoryException();
    pDades = bytes;
    dwMida = size;
    nTipus = SUB_BLOCK;
}

// ---- Construction

const CMirvaRTTI TBlocOpcions::m_rttiTBlocOpcions(&TItem::m_rttiTItem, "TBlocOpcions", 13000,
                                                  sizeof(TBlocOpcions), nullptr);

TBlocOpcions::TBlocOpcions()
    : m_mapValors(10) {}

TBlocOpcions::TBlocOpcions(const unsigned char* pData, unsigned int nSize)
    : m_mapValors(10) {
    if (pData && nSize)
        FromBlocDades(pData, nSize, 0);
}

TBlocOpcions::TBlocOpcions(const TBlocOpcions* p)
    : m_mapValors(10) {
    if (!p)
        return;
    const auto& source = p->m_mapValors;
    for (auto pair = source.PGetFirstAssoc(); pair; pair = source.PGetNextAssoc(pair))
        store(pair->key, ITEMBLOCOPCIONS(pair->value));
}

TBlocOpcions::~TBlocOpcions() {}

TBlocOpcions* TBlocOpcions::Duplicar() const {
    try {
        return new (std::nothrow) TBlocOpcions(this);
    } catch (CException* error) {
        error->Delete();
        return nullptr;
    }
}

const CMirvaRTTI* TBlocOpcions::GetRTTI() const {
    return &m_rttiTBlocOpcions;
}

// ---- Storing

int TBlocOpcions::Afegir(const wchar_t* name, const ITEMBLOCOPCIONS& item) {
    try {
        return storeOrFail(name, ITEMBLOCOPCIONS(item));
    } catch (CException* error) {
        error->Delete();
        return NO_MEMORY;
    }
}

int TBlocOpcions::EntraValorInt32(const wchar_t* name, long lValor) {
    return storeOrFail(name, ITEMBLOCOPCIONS(lValor));
}

int TBlocOpcions::EntraValorReal64(const wchar_t* name, double dValor) {
    return storeOrFail(name, ITEMBLOCOPCIONS(dValor));
}

int TBlocOpcions::EntraValorString(const wchar_t* name, const wchar_t* szValor) {
    try {
        return storeOrFail(name, ITEMBLOCOPCIONS(szValor));
    } catch (CException* error) {
        error->Delete();
        return NO_MEMORY;
    }
}

int TBlocOpcions::EntraValorBinari(const wchar_t* name, const void* pData, unsigned long nSize) {
    const DWORD size = static_cast<DWORD>(nSize);
    if (pData && size != nSize) // no value can have that many bytes
        return NO_MEMORY;
    try {
        ITEMBLOCOPCIONS item;
        item.SetDadesBin(const_cast<void*>(pData), size, 1, BINARY);
        return storeOrFail(name, std::move(item));
    } catch (CException* error) {
        error->Delete();
        return NO_MEMORY;
    }
}

int TBlocOpcions::EntraSubBloc(const wchar_t* name, const TBlocOpcions* pBloc) {
    try {
        ITEMBLOCOPCIONS item;
        item.SetBlocOpcions(pBloc);
        return storeOrFail(name, std::move(item));
    } catch (CException* error) {
        error->Delete();
        return NO_MEMORY;
    }
}

int TBlocOpcions::Eliminar(const wchar_t* name) {
    return m_mapValors.RemoveKey(name) ? 1 : 0;
}

void TBlocOpcions::Reset() {
    m_mapValors.RemoveAll();
}

// ---- Reading

int TBlocOpcions::Buscar(const wchar_t* name, ITEMBLOCOPCIONS& item) const {
    ITEMBLOCOPCIONS nested;
    const ITEMBLOCOPCIONS* found = find(name, nested);
    if (!found)
        return 0;
    if (found == &nested)
        item = std::move(nested);
    else
        item = *found;
    return 1;
}

long TBlocOpcions::TornaValorInt32(const wchar_t* name, long lDefecte) const {
    ITEMBLOCOPCIONS nested;
    const ITEMBLOCOPCIONS* found = find(name, nested);
    return found && found->nTipus == INTEGER ? found->lValor : lDefecte;
}

double TBlocOpcions::TornaValorReal64(const wchar_t* name, double dDefecte) const {
    ITEMBLOCOPCIONS nested;
    const ITEMBLOCOPCIONS* found = find(name, nested);
    return found && found->nTipus == REAL ? found->dValor : dDefecte;
}

CString TBlocOpcions::TornaValorString(const wchar_t* name, const wchar_t* szDefecte) const {
    CString text;
    TornaValorString(name, text, szDefecte);
    return text;
}

void TBlocOpcions::TornaValorString(const wchar_t* name, CString& str, const wchar_t* szDefecte) const {
    ITEMBLOCOPCIONS nested;
    const ITEMBLOCOPCIONS* found = find(name, nested);
    str = found && found->nTipus == TEXT ? static_cast<const wchar_t*>(found->pDades) : szDefecte;
}

void* TBlocOpcions::TornaValorBinari(const wchar_t* name, unsigned long& nSize) const {
    try {
        ITEMBLOCOPCIONS nested;
        const ITEMBLOCOPCIONS* found = find(name, nested);
        if (!found || found->nTipus != BINARY)
            return nullptr;
        nSize = 0;
        void* copy = CopyBytes(found->pDades, found->dwMida);
        if (copy)
            nSize = found->dwMida;
        return copy;
    } catch (CException* error) {
        error->Delete();
        return nullptr;
    }
}

TBlocOpcions* TBlocOpcions::TornaSubBloc(const wchar_t* name) const {
    try {
        ITEMBLOCOPCIONS nested;
        const ITEMBLOCOPCIONS* found = find(name, nested);
        if (!found || found->nTipus != SUB_BLOCK)
            return nullptr;
        auto block = new (std::nothrow) TBlocOpcions;
        if (block && block->FromBlocDades(static_cast<const unsigned char*>(found->pDades), found->dwMida,
                                          0) == NO_MEMORY) {
            delete block;
            block = nullptr;
        }
        return block;
    } catch (CException* error) {
        error->Delete();
        return nullptr;
    }
}

// ---- Walking

int TBlocOpcions::Enumerar(int(__stdcall* pfn)(const wchar_t* name, ITEMBLOCOPCIONS& item, long lUser),
                           long lUser) const {
    int result = 0;
    for (POSITION pos = GetPrimer(); pos && result >= 0;) {
        CString name;
        ITEMBLOCOPCIONS item;
        GetSeguent(pos, name, item);
        result = pfn(name, item, lUser);
    }
    return result;
}

POSITION TBlocOpcions::GetPrimer() const {
    return m_mapValors.GetStartPosition();
}

void TBlocOpcions::GetSeguent(POSITION& pos, CString& name, ITEMBLOCOPCIONS& item) const {
    if (pos)
        m_mapValors.GetNextAssoc(pos, name, item);
}

// ---- Data blocks

unsigned char* TBlocOpcions::ToBlocDades(unsigned int& nSize) const {
    nSize = 0;
    try {
        Writer writer;
        const auto count = static_cast<std::size_t>(m_mapValors.GetCount());
        const std::unique_ptr<const Pair*[], Free> entries(
            count >= MANY ? static_cast<const Pair**>(std::malloc(count * sizeof(Pair*))) : nullptr);
        if (!entries || !m_mapValors.PGetAll(entries.get())) {
            for (auto pair = m_mapValors.PGetFirstAssoc(); pair; pair = m_mapValors.PGetNextAssoc(pair))
                writer.Add(pair->key, pair->value);
            return writer.Detach(nSize);
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (i + 2 * AHEAD < count)
                __builtin_prefetch(entries[i + 2 * AHEAD]);
            if (i + AHEAD < count) {
                const Pair* next = entries[i + AHEAD];
                __builtin_prefetch(next->key.GetString());
                if (next->value.nTipus > REAL)
                    __builtin_prefetch(next->value.pDades);
            }
            writer.Add(entries[i]->key, entries[i]->value);
        }
        return writer.Detach(nSize);
    } catch (CException* error) {
        error->Delete();
        return nullptr;
    }
}

int TBlocOpcions::FromBlocDades(const unsigned char* pData, unsigned int nSize, int bAfegir) {
    if (!bAfegir)
        Reset();
    Reader reader(pData, nSize);
    Entry entry;
    WideText name;
    try {
        int result;
        while ((result = reader.Next(entry)) > 0) {
            ITEMBLOCOPCIONS item;
            entry.Load(item);
            if (!name.Set(entry.name, entry.nameSize))
                return NO_MEMORY;
            if (name.IsPlain())
                store(name.Get(), std::move(item));
            else if ((result = storeOrFail(name.Get(), std::move(item))) < 0)
                return result;
        }
        return result;
    } catch (CException* error) {
        error->Delete();
        return NO_MEMORY;
    }
}

// ---- Private

// The value of `name`; one of a nested block is loaded into `scratch`. Null when there is none. No entry has
// a name with a separator, so the way through nested blocks need not be tried first.
const ITEMBLOCOPCIONS* TBlocOpcions::find(const wchar_t* name, ITEMBLOCOPCIONS& scratch) const {
    if (const auto pair = m_mapValors.PLookup(name))
        return &pair->value;
    const wchar_t* slash = name ? std::wcschr(name, PATH_SEPARATOR) : nullptr;
    if (!slash)
        return nullptr;
    const auto pair = m_mapValors.PLookup(CString(name, static_cast<int>(slash - name)));
    return pair && pair->value.nTipus == SUB_BLOCK &&
                   FindNested(pair->value.pDades, pair->value.dwMida, slash + 1, scratch)
               ? &scratch
               : nullptr;
}

// Stores under a name that is taken as it is.
void TBlocOpcions::store(const wchar_t* name, ITEMBLOCOPCIONS&& item) {
    m_mapValors[name] = std::move(item);
}

int TBlocOpcions::storeOrFail(const wchar_t* name, ITEMBLOCOPCIONS&& item) {
    try {
        const wchar_t* slash = name ? std::wcschr(name, PATH_SEPARATOR) : nullptr;
        if (!slash) {
            store(name, std::move(item));
            return 0;
        }
        // Kept: the value would go into a copy of the nested block that nobody keeps.
        const CString head(name, static_cast<int>(slash - name));
        const auto pair = m_mapValors.PLookup(head);
        if (!pair || pair->value.nTipus != SUB_BLOCK) {
            ITEMBLOCOPCIONS empty;
            empty.SetBlocOpcions(nullptr);
            store(head, std::move(empty));
        }
        return 0;
    } catch (CException* error) {
        error->Delete();
        return NO_MEMORY;
    }
}
