#include "xml/record.h"

#include "xml/blocks.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace mvxml {

namespace {

// Pages double up to this size; larger ones are made for single strings only.
constexpr std::size_t LargestPage = std::size_t{8} << 20;

} // namespace

Pages* Pages::Create(std::size_t firstSize) {
    void* memory = std::malloc(firstSize);
    if (!memory)
        return nullptr;
    Page* page = static_cast<Page*>(memory);
    page->next = nullptr;
    page->size = firstSize;
    Pages* pages = reinterpret_cast<Pages*>(page + 1);
    pages->outside = 0;
    pages->edited = false;
    pages->condemned = false;
    pages->nextCondemned = nullptr;
    pages->cursor = reinterpret_cast<char*>(pages + 1);
    pages->limit = static_cast<char*>(memory) + firstSize;
    pages->m_newest = page;
    pages->m_nextSize = firstSize * 4;
    return pages;
}

void Pages::Free() {
    // The first page, which holds this object, is the last of the list.
    Page* page = m_newest;
    while (page) {
        Page* next = page->next;
        GiveBlock(page, page->size);
        page = next;
    }
}

char* Pages::AddPage(std::size_t bytes) {
    std::size_t size = m_nextSize;
    if (bytes > SIZE_MAX / 4)
        throw MemoryExhausted();
    if (size < bytes + sizeof(Page) + 64)
        size = bytes + sizeof(Page) + 64;
    void* memory = TakeBlock(size, size);
    if (!memory)
        throw MemoryExhausted();
    if (m_nextSize < LargestPage)
        m_nextSize *= 2;
    Page* page = static_cast<Page*>(memory);
    page->next = m_newest;
    page->size = size;
    m_newest = page;
    cursor = reinterpret_cast<char*>(page + 1);
    limit = static_cast<char*>(memory) + size;
    return cursor;
}

wchar_t* Pages::MoveString(const wchar_t* start, std::size_t length, std::size_t more) {
    if (length > SIZE_MAX / 32 || more > SIZE_MAX / 32)
        throw MemoryExhausted();
    std::size_t room = 2 * (length + more) * sizeof(wchar_t) + static_cast<std::size_t>(StringRoom);
    wchar_t* target = reinterpret_cast<wchar_t*>(AddPage(room));
    std::memcpy(target, start, length * sizeof(wchar_t));
    return target;
}

wchar_t* Pages::TakeString(std::size_t length) {
    if (length > SIZE_MAX / 32)
        throw MemoryExhausted();
    std::size_t bytes = (length + 1) * sizeof(wchar_t);
    char* start = Align(cursor, 4);
    if (start > limit || static_cast<std::size_t>(limit - start) < bytes)
        start = AddPage(bytes);
    cursor = start + bytes;
    return reinterpret_cast<wchar_t*>(start);
}

wchar_t* Pages::Copy(const wchar_t* text) {
    if (!text)
        return nullptr;
    std::size_t length = std::wcslen(text);
    wchar_t* copy = TakeString(length);
    std::memcpy(copy, text, (length + 1) * sizeof(wchar_t));
    return copy;
}

bool Pages::Owns(const void* address) const {
    std::uintptr_t wanted = reinterpret_cast<std::uintptr_t>(address);
    for (const Page* page = m_newest; page; page = page->next) {
        if (wanted - reinterpret_cast<std::uintptr_t>(page) < page->size)
            return true;
    }
    return false;
}

Record* NewHeapRecord(wchar_t* name, bool declaration) {
    HeapNode* node = static_cast<HeapNode*>(std::calloc(1, sizeof(HeapNode)));
    if (!node)
        return nullptr;
    node->record.counters.outside = &node->outside;
    node->record.counters.state = declaration ? 1 : 0;
    node->record.name = name;
    return &node->record;
}

void** NewBlock(Pages* pages, const Record* d) {
    std::size_t bytes =
        (static_cast<std::size_t>(d->childCount) + static_cast<std::size_t>(d->textCount)) * sizeof(void*) +
        static_cast<std::size_t>(d->clearCount) * sizeof(XMLClear);
    if (IsMixed(d))
        bytes += static_cast<std::size_t>(d->elementCount()) * sizeof(int);
    return bytes ? static_cast<void**>(pages->Take(bytes)) : nullptr;
}

void FreeOwned(const Record* d, const wchar_t* text) {
    if (!text)
        return;
    const Pages* pages = Pages::Of(d);
    if (!pages || !pages->Owns(text))
        std::free(const_cast<wchar_t*>(text));
}

namespace {

// Frees what the record holds and zeroes it; children left without a reference go in front of `chain`, linked
// by their parent pointers.
Record* StripRecord(Record* d, Record* chain) {
    Record* const* children = Children(d);
    for (int i = 0; i < d->childCount; ++i) {
        Record* child = children[i];
        DropChild(d, child);
        child->parent = nullptr;
        if (child->counters.references == 0) {
            child->parent = chain;
            chain = child;
        }
    }
    const Pages* pages = Pages::Of(d);
    if (!pages || pages->edited) {
        const wchar_t* const* texts = Texts(d);
        for (int i = 0; i < d->textCount; ++i)
            FreeOwned(d, texts[i]);
        for (int i = 0; i < d->clearCount; ++i)
            FreeOwned(d, Clears(d)[i].value);
        for (int i = 0; i < d->attributeCount; ++i) {
            FreeOwned(d, d->attributes[i].name);
            FreeOwned(d, d->attributes[i].value);
        }
        FreeOwned(d, d->name);
    }
    if (d->layout() == LayoutEdited) {
        EditArrays* edited = d->content.edited;
        std::free(edited->children);
        std::free(edited->texts);
        std::free(edited->clears);
        std::free(edited->order);
        std::free(d->attributes);
        std::free(edited);
    }
    d->counters.state = LayoutPacked;
    d->name = nullptr;
    d->attributes = nullptr;
    d->content.block = nullptr;
    d->childCount = 0;
    d->textCount = 0;
    d->clearCount = 0;
    d->attributeCount = 0;
    return chain;
}

} // namespace

void EmptyRecord(Record* d) {
    Pages* condemned = nullptr;
    d->parent = nullptr;
    Record* chain = d;
    while (chain) {
        Record* current = chain;
        chain = current->parent;
        current->parent = nullptr;
        chain = StripRecord(current, chain);
        if (current->counters.references != 0)
            continue; // emptied by force, while handles remain
        Pages* pages = Pages::Of(current);
        if (!pages) {
            std::free(reinterpret_cast<HeapNode*>(current));
        } else if (pages->outside == 0 && !pages->condemned) {
            pages->condemned = true;
            pages->nextCondemned = condemned;
            condemned = pages;
        }
    }
    while (condemned) {
        Pages* next = condemned->nextCondemned;
        condemned->Free();
        condemned = next;
    }
}

} // namespace mvxml

void XMLNode::destroy(XMLNodeDataTag* record) noexcept {
    mvxml::Pages* pages = mvxml::Pages::Of(record);
    // Nothing else can reach these pages, and nothing in them needs a visit.
    if (pages && pages->outside == 0 && !pages->edited)
        pages->Free();
    else
        mvxml::EmptyRecord(record);
}
