#include "internal/modules.h"
#include "internal/errno_map.h"
#include "internal/handles.h"
#include "internal/paths.h"
#include "internal/text.h"

#include <cerrno>
#include <climits>
#include <dlfcn.h>
#include <link.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>

namespace mvplat {

namespace {

// The modules that LoadLibraryW loaded (and how often), and those whose resource table is known. A module in
// the map is held by a reference of the system's loader, so its address cannot come to mean another module;
// only one that has registered its table needs none, as it takes the table out before it goes.
//
// The loader runs code of libraries with its own lock held, and that code may come here: so no function of
// the loader is called with this lock held.
struct KnownModule {
    void* loader = nullptr;
    unsigned loads = 0;
    bool tableKnown = false;
    bool registered = false;
    const mv_resource_table* table = nullptr;
};

struct Modules {
    std::mutex lock;
    std::map<const void*, KnownModule> known;
};

Modules& modules() {
    static auto* const all = new Modules;
    return *all;
}

// A reference of the loader, given back at the end unless it was kept.
class LoaderReference {
public:
    explicit LoaderReference(void* reference)
        : m_reference(reference) {}
    LoaderReference(const LoaderReference&) = delete;
    LoaderReference& operator=(const LoaderReference&) = delete;
    ~LoaderReference() {
        if (m_reference)
            ::dlclose(m_reference);
    }
    void* get() const { return m_reference; }
    // Hands it to a module that has none yet.
    void keepIn(KnownModule& module) {
        if (!module.loader)
            module.loader = std::exchange(m_reference, nullptr);
    }

private:
    void* m_reference;
};

// A pinned module counts as loaded this often: nobody frees that many times.
constexpr unsigned pinnedLoads = 0x10000;

// One loaded object: where it lies and its file.
struct LoadedModule {
    const void* base = nullptr;
    std::string path; // empty for the program
};

// The file of the program: its entry in the loader's list has no name.
std::string programPath() {
    std::string path(PATH_MAX, '\0');
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return path;
}

const void* baseOf(const dl_phdr_info& info) {
    ElfW(Addr) lowest = ~ElfW(Addr){0};
    for (unsigned i = 0; i < info.dlpi_phnum; ++i) {
        if (info.dlpi_phdr[i].p_type == PT_LOAD)
            lowest = std::min(lowest, info.dlpi_phdr[i].p_vaddr);
    }
    if (lowest == ~ElfW(Addr){0})
        return nullptr;
    const ElfW(Addr) page = static_cast<ElfW(Addr)>(sysconf(_SC_PAGESIZE));
    return reinterpret_cast<const void*>(info.dlpi_addr + (lowest & ~(page - 1)));
}

// Calls `test` with each loaded module, the program first, until it answers true.
template <class Test>
bool findLoaded(Test test) {
    struct Visit {
        Test& test;
        bool first;
        bool found;
        bool failed;
    } visit{test, true, false, false};
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* data) -> int {
            auto& current = *static_cast<Visit*>(data);
            try {
                LoadedModule module;
                module.base = baseOf(*info);
                if (!current.first && info->dlpi_name)
                    module.path = info->dlpi_name;
                const bool program = std::exchange(current.first, false);
                current.found = module.base && current.test(module, program);
            } catch (const std::bad_alloc&) {
                current.failed = true; // must not pass through the loader
            }
            return current.found || current.failed;
        },
        &visit);
    if (visit.failed)
        throw std::bad_alloc();
    return visit.found;
}

const void* programBase() {
    static const void* const base = [] {
        const void* found = nullptr;
        findLoaded([&found](const LoadedModule& module, bool) {
            found = module.base;
            return true;
        });
        return found;
    }();
    return base;
}

const void* baseOfAddress(const void* address) {
    Dl_info info;
    return address && ::dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

// A new reference of the loader for a module that is loaded; null when it is not (any more).
void* referTo(const void* base) {
    if (base == programBase())
        return ::dlopen(nullptr, RTLD_LAZY);
    std::string path;
    if (!findLoaded([&](const LoadedModule& module, bool) {
            path = module.path;
            return module.base == base;
        }))
        return nullptr;
    return path.empty() ? nullptr : ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
}

std::string_view folderOf(std::string_view path) {
    return path.substr(0, path.rfind('/') + 1);
}

bool hasExtension(std::string_view name) {
    return name.find('.', name.rfind('/') + 1) != std::string_view::npos;
}

// "name." means that no extension is to be added, as on Windows.
std::string withExtension(std::string name) {
    if (!hasExtension(name))
        name += ".so";
    else if (name.back() == '.')
        name.pop_back();
    return name;
}

bool equalNames(std::string_view first, std::string_view second) {
    return first.size() == second.size() && ::strncasecmp(first.data(), second.data(), first.size()) == 0;
}

std::string_view nameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

const void* findByName(std::wstring_view name) {
    const std::string wanted = withExtension(systemPath(name));
    const std::string bare = systemPath(name);
    const bool withFolder = wanted.find('/') != std::string::npos;
    const void* found = nullptr;
    findLoaded([&](const LoadedModule& module, bool program) {
        const std::string path = program ? programPath() : module.path;
        // Programs have no extension here: the name as given will do for one.
        const bool same = withFolder ? path == wanted || path == bare
                                     : equalNames(nameOf(path), wanted) || equalNames(nameOf(path), bare);
        if (same)
            found = module.base;
        return same;
    });
    return found;
}

const void* baseOfHandle(HMODULE module) {
    const void* base = module ? static_cast<const void*>(module) : programBase();
    return base && baseOfAddress(base) == base ? base : nullptr;
}

HMODULE handleOf(const void* base) {
    return static_cast<HMODULE>(const_cast<void*>(base));
}

bool usable(const mv_resource_table* table) {
    if (!table || table->version != MV_RESOURCE_TABLE_VERSION || (table->count && !table->entries))
        return false;
    for (std::uint32_t i = 1; i < table->count; ++i) {
        if (resourceKey(table->entries[i - 1]) >= resourceKey(table->entries[i]))
            return false;
    }
    return true;
}

bool registerTable(const mv_resource_table* table) {
    const void* base = baseOfAddress(table);
    if (!base || !usable(table))
        return false;
    const std::lock_guard<std::mutex> lock(modules().lock);
    KnownModule& module = modules().known[base];
    if (module.registered)
        return false;
    module.registered = true;
    module.tableKnown = true;
    module.table = table;
    return true;
}

} // namespace

const mv_resource_table* resourceTableOf(HMODULE handle) {
    const void* base = handle ? static_cast<const void*>(handle) : programBase();
    {
        const std::lock_guard<std::mutex> lock(modules().lock);
        const auto entry = modules().known.find(base);
        if (entry != modules().known.end() && entry->second.tableKnown)
            return entry->second.table;
    }
    if (!baseOfHandle(handle))
        return nullptr;
    LoaderReference loader(referTo(base));
    if (!loader.get())
        return nullptr;
    // The loader also looks into the libraries that a module needs: theirs is not its own.
    const void* symbol = ::dlsym(loader.get(), "mvlib_resource_table");
    const auto* table = static_cast<const mv_resource_table*>(symbol);
    if (symbol && (baseOfAddress(symbol) != base || !usable(table)))
        table = nullptr;
    const std::lock_guard<std::mutex> lock(modules().lock);
    KnownModule& module = modules().known[base];
    if (!module.tableKnown) {
        module.tableKnown = true;
        module.table = table;
    }
    table = module.table;
    loader.keepIn(module);
    return table;
}

} // namespace mvplat

using namespace mvplat;

extern "C" int mvlib_register_resources(const mv_resource_table* table) {
    return guarded(0, [table] { return registerTable(table) ? 1 : 0; });
}

extern "C" void mvlib_unregister_resources(const mv_resource_table* table) {
    const void* base = baseOfAddress(table);
    const std::lock_guard<std::mutex> lock(modules().lock);
    const auto entry = modules().known.find(base);
    if (entry == modules().known.end() || !entry->second.registered || entry->second.table != table)
        return;
    entry->second.registered = false;
    entry->second.table = nullptr;
    if (!entry->second.loader)
        modules().known.erase(entry);
}

HMODULE LoadLibraryW(LPCWSTR fileName) {
    return LoadLibraryExW(fileName, nullptr, 0);
}

namespace {

// The loader fills its records under a lock of its own, of which the thread sanitizer knows nothing.
__attribute__((no_sanitize("thread"))) const void* baseOfLoaded(void* loader) {
    const link_map* map = nullptr;
    return ::dlinfo(loader, RTLD_DI_LINKMAP, &map) == 0 ? baseOfAddress(map->l_ld) : nullptr;
}

} // namespace

HMODULE LoadLibraryExW(LPCWSTR fileName, HANDLE /*reserved*/, DWORD /*flags*/) {
    if (!fileName || !*fileName) {
        SetLastError(fileName ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return guarded(HMODULE{nullptr}, [&]() -> HMODULE {
        const std::string name = withExtension(systemPath(fileName));
        void* loader = nullptr;
        bool exists = false;
        const auto tryLoad = [&](const std::string& path) {
            if (!loader && ::access(path.c_str(), F_OK) == 0) {
                exists = true;
                loader = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
            }
        };
        if (name.find('/') != std::string::npos) {
            tryLoad(name);
        } else {
            tryLoad(std::string(folderOf(programPath())) + name);
            Dl_info own;
            if (::dladdr(reinterpret_cast<const void*>(&LoadLibraryW), &own) != 0)
                tryLoad(std::string(folderOf(own.dli_fname)) + name);
            if (!loader)
                loader = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
        }
        if (!loader) {
            // The loader tells its reasons in words only.
            const char* reason = ::dlerror();
            const std::string_view words = reason ? reason : "";
            const bool noLibrary = exists && (words.find("invalid ELF") != std::string_view::npos ||
                                              words.find("file too short") != std::string_view::npos ||
                                              words.find("cannot read file data") != std::string_view::npos ||
                                              words.find("wrong ELF class") != std::string_view::npos);
            SetLastError(noLibrary ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        const void* const base = baseOfLoaded(loader);
        if (!base) {
            ::dlclose(loader);
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        // One reference of the loader is enough: the loads are counted here.
        LoaderReference reference(loader);
        const std::lock_guard<std::mutex> lock(modules().lock);
        KnownModule& module = modules().known[base];
        reference.keepIn(module);
        ++module.loads;
        return handleOf(base);
    });
}

BOOL FreeLibrary(HMODULE handle) {
    void* unload = nullptr;
    bool counted = false;
    {
        const std::lock_guard<std::mutex> lock(modules().lock);
        const auto entry = modules().known.find(handle);
        counted = entry != modules().known.end() && entry->second.loads != 0;
        if (counted && --entry->second.loads == 0) {
            KnownModule& module = entry->second;
            unload = std::exchange(module.loader, nullptr);
            if (!module.registered)
                modules().known.erase(entry);
        }
    }
    if (unload)
        ::dlclose(unload);
    // What the program was linked with stays: freeing it changes nothing.
    if (counted || (handle && baseOfHandle(handle)))
        return TRUE;
    SetLastError(handle ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_HANDLE);
    return FALSE;
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, name, &module);
    return module;
}

BOOL GetModuleHandleExW(DWORD flags, LPCWSTR name, HMODULE* module) {
    if (!module) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *module = nullptr;
    return guarded(BOOL{FALSE}, [&]() -> BOOL {
        const void* base;
        if (!name)
            base = programBase();
        else if (flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)
            base = baseOfAddress(name);
        else
            base = findByName(name);
        if (!base) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return FALSE;
        }
        if (!(flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) && base != programBase()) {
            LoaderReference loader(referTo(base));
            if (!loader.get()) {
                SetLastError(ERROR_MOD_NOT_FOUND);
                return FALSE;
            }
            const std::lock_guard<std::mutex> lock(modules().lock);
            KnownModule& known = modules().known[base];
            loader.keepIn(known);
            known.loads += flags & GET_MODULE_HANDLE_EX_FLAG_PIN ? pinnedLoads : 1;
        }
        *module = handleOf(base);
        return TRUE;
    });
}

DWORD GetModuleFileNameW(HMODULE handle, LPWSTR fileName, DWORD size) {
    return guarded(DWORD{0}, [&]() -> DWORD {
        const void* base = baseOfHandle(handle);
        std::string path;
        if (!base || !findLoaded([&](const LoadedModule& module, bool program) {
                if (module.base != base)
                    return false;
                path = program ? programPath() : module.path;
                return true;
            })) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return 0;
        }
        // A library found through a relative path has that for a name.
        std::wstring full;
        if (!absolutePath(widePath(path), full))
            return 0;
        if (full.size() < size) {
            SetLastError(NO_ERROR);
            return copyOut(full, fileName, size);
        }
        if (size > 0) {
            std::wmemcpy(fileName, full.data(), size - 1);
            fileName[size - 1] = 0;
        }
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return size;
    });
}

FARPROC GetProcAddress(HMODULE handle, LPCSTR name) {
    return guarded(FARPROC{nullptr}, [&]() -> FARPROC {
        const void* base = baseOfHandle(handle);
        if (!base) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        const LoaderReference loader(referTo(base));
        void* symbol = loader.get() && !IS_INTRESOURCE(name) ? ::dlsym(loader.get(), name) : nullptr;
        if (!symbol || baseOfAddress(symbol) != base) {
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        return reinterpret_cast<FARPROC>(symbol);
    });
}
