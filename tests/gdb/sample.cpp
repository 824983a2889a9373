// Containers for the test of the gdb printers to look at.
#include <TCrossList.h>
#include <THash.h>
#include <TLlista.h>
#include <TTaula.h>

#include <afx.h>

// gdb stops here and looks at the caller's variables.
__attribute__((noinline)) void Stop() {
    asm volatile("");
}

int main() {
    TInt number(7);
    TItemString text(L"abc");
    TItemString nothing;
    CString string(L"wide");

    TLlista list;
    list.Afegir(new TInt(1));
    list.Afegir(new TItemString(L"two"));
    list.Afegir(nullptr);

    TCircularCrossList ring;
    ring.InsertLast(new TInt(1));
    ring.InsertLast(new TBool(0));

    THash hash;
    hash.init(5);
    hash.put(new TInt(5), L"five");
    hash.put(new TDouble(0.5), L"half", 2);

    TTaulaBool table;
    table.ConstruirTaula(1, 2);

    Stop();
    return 0;
}
