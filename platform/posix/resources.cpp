#include "internal/handles.h"
#include "internal/modules.h"
#include "internal/text.h"

#include <algorithm>
#include <cstring>

namespace {

using mvplat::resourceKey;

const mv_resource* resourceOf(HRSRC resource) {
    return reinterpret_cast<const mv_resource*>(resource);
}

// The number of a type or name: an integer, or a text "#123". Texts of their own name nothing here.
bool numberOf(LPCWSTR name, std::uint16_t& number) {
    if (IS_INTRESOURCE(name)) {
        number = static_cast<std::uint16_t>(reinterpret_cast<ULONG_PTR>(name));
        return true;
    }
    if (*name != L'#')
        return false;
    const int value = _wtoi(name + 1);
    number = static_cast<std::uint16_t>(value);
    return value >= 0 && value <= 0xFFFF;
}

// The languages to try, in order and without repetition.
class SearchOrder {
public:
    explicit SearchOrder(LANGID language) {
        add(language);
        add(MAKELANGID(PRIMARYLANGID(language), SUBLANG_NEUTRAL));
        add(MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL));
        if (PRIMARYLANGID(language) != LANG_NEUTRAL)
            return;
        if (SUBLANGID(language) != SUBLANG_SYS_DEFAULT) {
            add(LANGIDFROMLCID(GetThreadLocale()));
            add(GetUserDefaultLangID());
            add(MAKELANGID(PRIMARYLANGID(GetUserDefaultLangID()), SUBLANG_NEUTRAL));
        }
        add(GetSystemDefaultLangID());
        add(MAKELANGID(PRIMARYLANGID(GetSystemDefaultLangID()), SUBLANG_NEUTRAL));
        add(MAKELANGID(LANG_ENGLISH, SUBLANG_DEFAULT));
    }
    const LANGID* begin() const { return m_languages; }
    const LANGID* end() const { return m_languages + m_count; }

private:
    void add(int language) {
        if (std::find(begin(), end(), language) == end())
            m_languages[m_count++] = static_cast<LANGID>(language);
    }
    LANGID m_languages[10];
    unsigned m_count = 0;
};

const mv_resource* find(HMODULE module, std::uint16_t type, std::uint16_t name, LANGID language) {
    const mv_resource_table* table = mvplat::resourceTableOf(module);
    if (!table || table->count == 0) {
        SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return nullptr;
    }
    const mv_resource* const end = table->entries + table->count;
    const auto from = [table, end](std::uint64_t key) {
        return std::lower_bound(table->entries, end, key, [](const mv_resource& entry, std::uint64_t wanted) {
            return resourceKey(entry) < wanted;
        });
    };
    const mv_resource* first = from(resourceKey(type, 0, 0));
    if (first == end || first->type != type) {
        SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
        return nullptr;
    }
    first = from(resourceKey(type, name, 0));
    if (first == end || first->type != type || first->name != name) {
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return nullptr;
    }
    for (const LANGID candidate : SearchOrder(language)) {
        const mv_resource* found = from(resourceKey(type, name, candidate));
        if (found != end && resourceKey(*found) == resourceKey(type, name, candidate))
            return found;
    }
    if (PRIMARYLANGID(language) == LANG_NEUTRAL)
        return first;
    SetLastError(ERROR_RESOURCE_LANG_NOT_FOUND);
    return nullptr;
}

} // namespace

HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) {
    return FindResourceExW(module, type, name, MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL));
}

HRSRC FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, LANGID language) {
    return mvplat::guarded(HRSRC{nullptr}, [&]() -> HRSRC {
        std::uint16_t typeNumber;
        std::uint16_t nameNumber;
        if (!numberOf(type, typeNumber)) {
            SetLastError(mvplat::resourceTableOf(module) ? ERROR_RESOURCE_TYPE_NOT_FOUND
                                                         : ERROR_RESOURCE_DATA_NOT_FOUND);
            return nullptr;
        }
        if (!numberOf(name, nameNumber)) {
            SetLastError(mvplat::resourceTableOf(module) ? ERROR_RESOURCE_NAME_NOT_FOUND
                                                         : ERROR_RESOURCE_DATA_NOT_FOUND);
            return nullptr;
        }
        return reinterpret_cast<HRSRC>(
            const_cast<mv_resource*>(find(module, typeNumber, nameNumber, language)));
    });
}

HGLOBAL LoadResource(HMODULE /*module*/, HRSRC resource) {
    return resource ? const_cast<void*>(resourceOf(resource)->data) : nullptr;
}

LPVOID LockResource(HGLOBAL data) {
    return data;
}

DWORD SizeofResource(HMODULE /*module*/, HRSRC resource) {
    return resource ? resourceOf(resource)->size : 0;
}

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size) {
    if (!buffer || size <= 0)
        return 0;
    const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(LOWORD(id) / 16 + 1), RT_STRING);
    if (!resource)
        return 0;
    const auto* block = static_cast<const std::uint16_t*>(LoadResource(module, resource));
    const std::size_t units = SizeofResource(module, resource) / sizeof(std::uint16_t);
    std::size_t at = 0;
    for (unsigned skip = id % 16; skip > 0 && at < units; --skip)
        at += 1u + block[at];
    // A block that ends early has no further strings.
    const std::size_t length = at < units ? std::min<std::size_t>(block[at], units - at - 1) : 0;
    return mvplat::guarded(0, [&] {
        const std::wstring text = mvplat::wideFromUtf16(block + at + 1, length);
        const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
        std::wmemcpy(buffer, text.data(), count);
        buffer[count] = 0;
        return static_cast<int>(count);
    });
}
