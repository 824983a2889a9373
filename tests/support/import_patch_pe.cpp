#include "import_patch.h"

#include "win32.h"

#include <cstring>
#include <string>

int PatchImport(const char* module, const ImportHook& hook) {
    auto* base = reinterpret_cast<BYTE*>(GetModuleHandleA((std::string(module) + ".dll").c_str()));
    if (!base) {
        return 0;
    }
    const auto* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    int patched = 0;
    for (auto* import = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         directory.Size && import->Name; ++import) {
        const auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + import->OriginalFirstThunk);
        auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + import->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) {
                continue;
            }
            const auto* entry = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(entry->Name), hook.name) != 0) {
                continue;
            }
            DWORD previous = 0;
            VirtualProtect(slots, sizeof *slots, PAGE_READWRITE, &previous);
            slots->u1.Function = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(hook.replacement));
            VirtualProtect(slots, sizeof *slots, previous, &previous);
            ++patched;
        }
    }
    return patched;
}
