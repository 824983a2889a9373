#include "TItem.h"

#include "items/SmallBlocks.h"
#include "items/Utf16Units.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>

#include "afx.h"
#include "thread_end.h"
#include "win32.h"

namespace {

// With AddressSanitizer every item is a block of its own, so that misuse and leaks of items are found.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool POOLED = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool POOLED = false;
#else
constexpr bool POOLED = true;
#endif
#else
constexpr bool POOLED = true;
#endif

constexpr int NOT_SUPPORTED = -2;
constexpr int VALID_ITEM_ID = 2000;
constexpr std::size_t LONGEST_CLASS_NAME = 0x3FFFFFFF;

using ClassName = std::unique_ptr<wchar_t[]>;

} // namespace

namespace mvlib {

void* TryAllocateItem(std::size_t bytes) noexcept {
    if (POOLED && bytes - 1 < blocks::LARGEST)
        return blocks::Allocate(bytes);
    return std::malloc(bytes);
}

void* AllocateItem(std::size_t bytes) {
    void* block = TryAllocateItem(bytes);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void FreeItem(void* block, std::size_t bytes) noexcept {
    if (block == nullptr)
        return;
    if (POOLED && bytes - 1 < blocks::LARGEST)
        blocks::Free(block, bytes);
    else
        std::free(block);
}

void FreeItemOfUnknownSize(void* block) noexcept {
    if (block != nullptr && !(POOLED && blocks::FreeOfUnknownSize(block)))
        std::free(block);
}

} // namespace mvlib

constinit const CMirvaRTTI TItem::m_rttiTItem(nullptr, "TItem", 0, sizeof(TItem), nullptr);
constinit const CMirvaRTTI TInt::m_rttiTInt(&TItem::m_rttiTItem, "TInt", 11, sizeof(TInt), nullptr);
constinit const CMirvaRTTI TBool::m_rttiTBool(&TItem::m_rttiTItem, "TBool", 10, sizeof(TBool), nullptr);
constinit const CMirvaRTTI TChar::m_rttiTChar(&TItem::m_rttiTItem, "TChar", 14, sizeof(TChar), nullptr);
constinit const CMirvaRTTI TFloat::m_rttiTFloat(&TItem::m_rttiTItem, "TFloat", 12, sizeof(TFloat), nullptr);
// Kept: 31, where 13 would have been next.
constinit const CMirvaRTTI TDouble::m_rttiTDouble(&TItem::m_rttiTItem, "TDouble", 31, sizeof(TDouble),
                                                  nullptr);
constinit const CMirvaRTTI TItemString::m_rttiTItemString(&TItem::m_rttiTItem, "TItemString", 200,
                                                          sizeof(TItemString), nullptr);

int CMirvaRTTI::EsTipus(int nTipus) const {
    for (const CMirvaRTTI* record = this; record != nullptr; record = record->m_pPare)
        if (record->m_nTipus == nTipus)
            return 1;
    return 0;
}

TItem* TItem::Duplicar() const {
    return nullptr;
}

const CMirvaRTTI* TItem::GetRTTI() const {
    return &m_rttiTItem;
}

int TItem::EsBuit() const {
    return 0;
}

int TItem::Iguals(const TItem* p) const {
    return Comparar(p) == 0 ? 1 : 0;
}

int TItem::Comparar(const TItem*) const {
    return 0;
}

int TItem::Guardar(FILE*) const {
    return NOT_SUPPORTED;
}

int TItem::Llegir(FILE*) {
    return NOT_SUPPORTED;
}

const wchar_t* TItem::GetNomClasse() const {
    const char* name = GetRTTI()->m_szNom;
    if (name == nullptr)
        return nullptr;
    const std::size_t length = std::strlen(name) + 1;
    if (length > LONGEST_CLASS_NAME)
        return nullptr;
    // The text that the thread was given last.
    ClassName* held = MvPerThread<ClassName>::object();
    if (held == nullptr)
        return nullptr;
    // No code page makes more UTF-16 code units of a text than it has bytes.
    ClassName& text = *held;
    text.reset(new (std::nothrow) wchar_t[length]);
    if (text == nullptr)
        return nullptr;
    text[0] = 0;
    const int count = static_cast<int>(length);
    return MultiByteToWideChar(CP_THREAD_ACP, 0, name, -1, text.get(), count) != 0 ? text.get() : nullptr;
}

TItem* AfxTestClasseItem(const TItem* item, const CMirvaRTTI* r) {
    return item != nullptr && item->EsTipus(r) ? const_cast<TItem*>(item) : nullptr;
}

int AfxItemValid(const TItem* item) {
    if (item == nullptr || !AfxIsValidAddress(item, sizeof(void*), TRUE))
        return 0;
    const void* table;
    std::memcpy(&table, static_cast<const void*>(item), sizeof table);
    if (!AfxIsValidAddress(table, sizeof(void*), FALSE))
        return 0;
    const CMirvaRTTI* record = item->GetRTTI();
    if (!AfxIsValidAddress(item, record->m_nMida, FALSE))
        return 0;
    return record->EsTipus(VALID_ITEM_ID);
}

TItem* TInt::Duplicar() const {
    return new (std::nothrow) TInt(m_valor);
}

const CMirvaRTTI* TInt::GetRTTI() const {
    return &m_rttiTInt;
}

int TInt::Comparar(const TItem* p) const {
    const int other = static_cast<const TInt*>(p)->m_valor;
    return static_cast<int>(static_cast<unsigned int>(m_valor) - static_cast<unsigned int>(other));
}

TItem* TBool::Duplicar() const {
    return new (std::nothrow) TBool(m_valor);
}

const CMirvaRTTI* TBool::GetRTTI() const {
    return &m_rttiTBool;
}

TItem* TChar::Duplicar() const {
    return new (std::nothrow) TChar(m_valor);
}

const CMirvaRTTI* TChar::GetRTTI() const {
    return &m_rttiTChar;
}

TItem* TFloat::Duplicar() const {
    return new (std::nothrow) TFloat(m_valor);
}

const CMirvaRTTI* TFloat::GetRTTI() const {
    return &m_rttiTFloat;
}

TItem* TDouble::Duplicar() const {
    return new (std::nothrow) TDouble(m_valor);
}

const CMirvaRTTI* TDouble::GetRTTI() const {
    return &m_rttiTDouble;
}

TItemString::TItemString(const wchar_t* psz)
    : m_pszText(nullptr) {
    Insertar(psz);
}

TItemString::TItemString(const TItemString* pOrigen)
    : m_pszText(nullptr) {
    Insertar(pOrigen != nullptr ? pOrigen->m_pszText : nullptr);
}

// Kept: both items hold the same text from here on.
TItemString::TItemString(const TItemString& origen)
    : TItem(origen)
    , m_pszText(origen.m_pszText) {}

TItemString& TItemString::operator=(const TItemString& origen) = default;

TItemString& TItemString::operator=(const wchar_t* psz) {
    Insertar(psz);
    return *this;
}

TItemString::~TItemString() {
    std::free(m_pszText);
}

TItem* TItemString::Duplicar() const {
    return new (std::nothrow) TItemString(this);
}

const CMirvaRTTI* TItemString::GetRTTI() const {
    return &m_rttiTItemString;
}

int TItemString::Comparar(const TItem* p) const {
    const wchar_t* other = static_cast<const TItemString*>(p)->m_pszText;
    if (m_pszText == nullptr || other == nullptr)
        return (m_pszText != nullptr) - (other != nullptr);
    return mvlib::CompareUtf16(m_pszText, other);
}

void TItemString::Insertar(const wchar_t* psz) {
    // The old text goes last: the new one may be a part of it.
    wchar_t* copy = nullptr;
    if (psz != nullptr) {
        const std::size_t bytes = (std::wcslen(psz) + 1) * sizeof(wchar_t);
        copy = static_cast<wchar_t*>(std::malloc(bytes));
        if (copy != nullptr)
            std::memcpy(copy, psz, bytes);
    }
    std::free(m_pszText);
    m_pszText = copy;
    if (psz != nullptr && copy == nullptr)
        AfxThrowMemoryException();
}

int TItemString::operator==(const TItemString& altre) const {
    if (m_pszText == nullptr || altre.m_pszText == nullptr)
        return m_pszText == altre.m_pszText ? 1 : 0;
    return mvlib::CompareUtf16(m_pszText, altre.m_pszText) == 0 ? 1 : 0;
}
