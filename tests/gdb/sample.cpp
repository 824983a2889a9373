// Containers for the test of the gdb printers to look at.
#include <TArbre.h>
#include <TCrossList.h>
#include <THash.h>
#include <TLlista.h>
#include <TTaula.h>

#include <afx.h>

#include <string>

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

    TFloat single(1.5F);
    TChar character(L'x');
    THashItem pair(L"key", &number);

    TCrossList cross;
    cross.InsertLast(static_cast<TItem*>(nullptr));

    TCircularCrossList ring;
    ring.InsertLast(new TInt(1));
    ring.InsertLast(new TBool(0));

    THash hash;
    hash.init(5);
    hash.put(new TInt(5), L"five");
    hash.put(new TDouble(0.5), L"half", 2);

    TTaulaBool table;
    table.ConstruirTaula(1, 2);

    THash cut;
    cut.init(1);
    cut.put(nullptr, std::wstring(1000, L'k').c_str(), 1000);

    TArbre tree(new TInt(1), 1);
    tree.InsertarFill(new TArbre(new TInt(2), 1), -1);

    Stop();
    return 0;
}
