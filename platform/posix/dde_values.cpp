// Strings and data: two tables of the process. Handles are numbers that are not used twice.
#include "internal/dde_values.h"

#include "internal/handles.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace mvplat::dde {
namespace {

struct String {
    std::wstring text;
    std::size_t count;
};

struct Tables {
    std::mutex lock;
    std::uintptr_t last = 0xC000; // smaller numbers are what callbacks answer where they answer numbers
    std::map<std::wstring, std::uintptr_t> byName;
    std::unordered_map<std::uintptr_t, String> strings;
    std::unordered_map<std::uintptr_t, std::unique_ptr<Data>> data;
};

// Never destroyed: an instance may end after it would be.
Tables& tables() {
    static Tables* const all = new Tables;
    return *all;
}

std::uintptr_t numberOf(const void* handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

Data* find(Tables& all, HDDEDATA handle) {
    const auto found = all.data.find(numberOf(handle));
    return found != all.data.end() ? found->second.get() : nullptr;
}

} // namespace

std::wstring foldedName(std::wstring_view name) {
    std::wstring folded(name);
    for (wchar_t& unit : folded)
        if ((unit >= L'A' && unit <= L'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7))
            unit += 0x20;
    return folded;
}

HSZ openString(std::wstring_view text) {
    if (text.empty() || text.size() > longestName)
        return nullptr;
    Tables& all = tables();
    std::wstring folded = foldedName(text);
    const std::lock_guard guard(all.lock);
    const auto found = all.byName.find(folded);
    if (found != all.byName.end()) {
        ++all.strings.at(found->second).count;
        return reinterpret_cast<HSZ>(found->second);
    }
    const std::uintptr_t number = ++all.last;
    all.strings[number] = {std::wstring(text), 1};
    all.byName.emplace(std::move(folded), number);
    return reinterpret_cast<HSZ>(number);
}

bool keepString(HSZ string) {
    Tables& all = tables();
    const std::lock_guard guard(all.lock);
    const auto found = all.strings.find(numberOf(string));
    if (found == all.strings.end())
        return false;
    ++found->second.count;
    return true;
}

void closeString(HSZ string) {
    Tables& all = tables();
    const std::lock_guard guard(all.lock);
    const auto found = all.strings.find(numberOf(string));
    if (found == all.strings.end() || --found->second.count > 0)
        return;
    all.byName.erase(foldedName(found->second.text));
    all.strings.erase(found);
}

std::wstring textOf(HSZ string) {
    Tables& all = tables();
    const std::lock_guard guard(all.lock);
    const auto found = all.strings.find(numberOf(string));
    return found != all.strings.end() ? found->second.text : std::wstring();
}

HDDEDATA openData(Data data) {
    auto owned = std::make_unique<Data>(std::move(data));
    Tables& all = tables();
    const std::lock_guard guard(all.lock);
    const std::uintptr_t number = ++all.last;
    all.data.emplace(number, std::move(owned));
    return reinterpret_cast<HDDEDATA>(number);
}

bool copyData(HDDEDATA data, Data& copy) {
    Tables& all = tables();
    const std::lock_guard guard(all.lock);
    const Data* found = find(all, data);
    if (found)
        copy = *found;
    return found != nullptr;
}

bool closeData(HDDEDATA data) {
    Tables& all = tables();
    const std::lock_guard guard(all.lock);
    return all.data.erase(numberOf(data)) > 0;
}

} // namespace mvplat::dde

// ---- Interface

using namespace mvplat;

DWORD DdeQueryStringW(DWORD, HSZ string, LPWSTR buffer, DWORD size, int) {
    return guarded(DWORD{0}, [&] {
        const std::wstring text = dde::textOf(string);
        if (!buffer)
            return static_cast<DWORD>(text.size());
        if (size == 0)
            return DWORD{0};
        const std::size_t count = std::min<std::size_t>(text.size(), size - 1);
        std::copy_n(text.begin(), count, buffer);
        buffer[count] = 0;
        return static_cast<DWORD>(count);
    });
}

int DdeCmpStringHandles(HSZ one, HSZ two) {
    return one == two ? 0 : one < two ? -1 : 1;
}

DWORD DdeGetData(HDDEDATA data, LPBYTE buffer, DWORD size, DWORD offset) {
    dde::Tables& all = dde::tables();
    const std::lock_guard guard(all.lock);
    const dde::Data* found = dde::find(all, data);
    if (!found)
        return 0;
    const auto whole = static_cast<DWORD>(found->bytes.size());
    if (!buffer)
        return whole;
    if (offset >= whole)
        return 0;
    const DWORD count = std::min(size, whole - offset);
    std::memcpy(buffer, found->bytes.data() + offset, count);
    return count;
}

LPBYTE DdeAccessData(HDDEDATA data, LPDWORD size) {
    dde::Tables& all = dde::tables();
    const std::lock_guard guard(all.lock);
    dde::Data* found = dde::find(all, data);
    if (size)
        *size = found ? static_cast<DWORD>(found->bytes.size()) : 0;
    return found ? found->bytes.data() : nullptr;
}

BOOL DdeUnaccessData(HDDEDATA) {
    return TRUE;
}

BOOL DdeFreeDataHandle(HDDEDATA data) {
    return dde::closeData(data);
}
