// Replaces a function in the import table of a loaded module of this process, for good.
#pragma once

struct ImportHook {
    const char* name;  // the imported symbol, as linked
    void* replacement; // a function of the same signature
};

// `module` is the bare name of the library ("mvlib62"). Answers how many entries were replaced; 0 when the
// module is not loaded or does not import the symbol.
int PatchImport(const char* module, const ImportHook& hook);
