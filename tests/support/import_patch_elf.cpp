#include "import_patch.h"

#include <cstring>
#include <elf.h>
#include <link.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

struct Search {
    std::string fileName;
    const ImportHook* hook;
    int patched = 0;
};

void Replace(void** slot, void* value) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    void* start = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(slot) & ~(page - 1));
    mprotect(start, page, PROT_READ | PROT_WRITE);
    *slot = value;
}

int PatchRelocations(const ElfW(Rela) * relocation, std::size_t size, const ElfW(Sym) * symbols,
                     const char* names, const dl_phdr_info& info, const ImportHook& hook) {
    int patched = 0;
    for (std::size_t i = 0; relocation && i < size / sizeof(ElfW(Rela)); ++i) {
        const auto type = ELF64_R_TYPE(relocation[i].r_info);
        if (type != R_X86_64_JUMP_SLOT && type != R_X86_64_GLOB_DAT && type != R_X86_64_64) {
            continue;
        }
        const ElfW(Sym)& symbol = symbols[ELF64_R_SYM(relocation[i].r_info)];
        if (std::strcmp(names + symbol.st_name, hook.name) == 0) {
            Replace(reinterpret_cast<void**>(info.dlpi_addr + relocation[i].r_offset), hook.replacement);
            ++patched;
        }
    }
    return patched;
}

int Visit(dl_phdr_info* info, std::size_t, void* data) {
    auto& search = *static_cast<Search*>(data);
    const char* slash = std::strrchr(info->dlpi_name, '/');
    if (std::string(slash ? slash + 1 : info->dlpi_name).rfind(search.fileName, 0) != 0) {
        return 0;
    }
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        if (info->dlpi_phdr[i].p_type != PT_DYNAMIC) {
            continue;
        }
        const ElfW(Sym)* symbols = nullptr;
        const char* names = nullptr;
        const ElfW(Rela)* jumps = nullptr;
        const ElfW(Rela)* data_relocations = nullptr;
        std::size_t jumpSize = 0;
        std::size_t dataSize = 0;
        for (auto entry = reinterpret_cast<const ElfW(Dyn)*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
             entry->d_tag != DT_NULL; ++entry) {
            switch (entry->d_tag) {
            case DT_SYMTAB:
                symbols = reinterpret_cast<const ElfW(Sym)*>(entry->d_un.d_ptr);
                break;
            case DT_STRTAB:
                names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
                break;
            case DT_JMPREL:
                jumps = reinterpret_cast<const ElfW(Rela)*>(entry->d_un.d_ptr);
                break;
            case DT_PLTRELSZ:
                jumpSize = entry->d_un.d_val;
                break;
            case DT_RELA:
                data_relocations = reinterpret_cast<const ElfW(Rela)*>(entry->d_un.d_ptr);
                break;
            case DT_RELASZ:
                dataSize = entry->d_un.d_val;
                break;
            default:
                break;
            }
        }
        if (symbols && names) {
            search.patched += PatchRelocations(jumps, jumpSize, symbols, names, *info, *search.hook);
            search.patched +=
                PatchRelocations(data_relocations, dataSize, symbols, names, *info, *search.hook);
        }
    }
    return 1;
}

} // namespace

int PatchImport(const char* module, const ImportHook& hook) {
    Search search{std::string("lib") + module + ".so", &hook};
    dl_iterate_phdr(&Visit, &search);
    return search.patched;
}
