#include "internal/named_objects.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace mvplat {

namespace {

std::mutex& namesLock() {
    static std::mutex* const mutex = new std::mutex;
    return *mutex;
}

std::map<std::wstring, Object*, std::less<>>& names() {
    static auto* const map = new std::map<std::wstring, Object*, std::less<>>;
    return *map;
}

} // namespace

// The last count of a named object goes under the lock, so that nobody finds an object that is about to end.
void Object::releaseNamed() {
    {
        const std::lock_guard<std::mutex> lock(namesLock());
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        for (auto entry = names().begin(); entry != names().end(); ++entry) {
            if (entry->second == this) {
                names().erase(entry);
                break;
            }
        }
    }
    delete this;
}

HANDLE createNamed(LPCWSTR name, Kind kind, const std::function<Object*()>& make) {
    return guarded(HANDLE{nullptr}, [&]() -> HANDLE {
        if (!name || !*name) {
            Object* const made = make();
            if (!made)
                return nullptr;
            const HANDLE handle = openHandle(made);
            if (handle)
                SetLastError(NO_ERROR);
            return handle;
        }
        Ref<Object> object;
        bool existed = false;
        {
            const std::lock_guard<std::mutex> lock(namesLock());
            const auto entry = names().find(name);
            existed = entry != names().end();
            if (existed) {
                if (entry->second->kind() != kind) {
                    SetLastError(ERROR_INVALID_HANDLE);
                    return nullptr;
                }
                object = Ref<Object>::share(entry->second);
            } else {
                const auto place = names().emplace(name, nullptr).first;
                Object* made = nullptr;
                try {
                    made = make();
                } catch (...) {
                    names().erase(place);
                    throw;
                }
                if (!made) {
                    names().erase(place);
                    return nullptr;
                }
                made->markNamed();
                place->second = made;
                object = Ref<Object>(made);
            }
        }
        const HANDLE handle = openHandle(object.detach());
        if (handle)
            SetLastError(existed ? ERROR_ALREADY_EXISTS : NO_ERROR);
        return handle;
    });
}

HANDLE openNamed(LPCWSTR name, Kind kind) {
    if (!name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    Ref<Object> object;
    {
        const std::lock_guard<std::mutex> lock(namesLock());
        const auto entry = names().find(std::wstring_view(name));
        if (entry == names().end()) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return nullptr;
        }
        if (entry->second->kind() != kind) {
            SetLastError(ERROR_INVALID_HANDLE);
            return nullptr;
        }
        object = Ref<Object>::share(entry->second);
    }
    return openHandle(object.detach());
}

} // namespace mvplat
