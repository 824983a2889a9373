// What items, lists, trees and tables do when memory runs out: every allocation of every operation fails
// once.
#include <cstring>
#include <memory>
#include <string>

#include "alloc_failure.h"
#include "throws.h"

#include "afx.h"
#include "ListSupport.h"
#include "TArbre.h"
#include "TTaula.h"

namespace {

using List = Open<TLlista>;

class ItemMemoryTest : public ListTest {};

int __stdcall ByValue(const TItem* a, const TItem* b, long) {
    return ValueOf(a) - ValueOf(b);
}

// Clones until the pools are empty and no clone comes any more: null for want of an item, or the memory
// exception for want of what the item holds. The item itself is the caller's.
bool CloningEnds(const TItem& item) {
    std::vector<std::unique_ptr<TItem>> clones;
    clones.reserve(4000000); // tests of deep structures leave a million blocks in the pools
    const FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
    while (clones.size() < clones.capacity()) {
        if (ThrowsMemoryException([&] { clones.emplace_back(item.Duplicar()); }) || clones.back() == nullptr)
            return true;
    }
    return false;
}

} // namespace

TEST_F(ItemMemoryTest, ValueItemsAreNotClonedWithoutMemory) {
    EXPECT_TRUE(CloningEnds(TInt(1)));
    EXPECT_TRUE(CloningEnds(TBool(1)));
    EXPECT_TRUE(CloningEnds(TChar(L'a')));
    EXPECT_TRUE(CloningEnds(TFloat(1)));
    EXPECT_TRUE(CloningEnds(TDouble(1)));
    EXPECT_TRUE(CloningEnds(TItemString()));
    EXPECT_TRUE(CloningEnds(TLlista()));
}

TEST_F(ItemMemoryTest, ClassNameWithoutMemoryIsNull) {
    const TInt item;
    const FailAllocation failure(1);
    EXPECT_EQ(item.GetNomClasse(), nullptr);
}

TEST_F(ItemMemoryTest, TextThatCannotBeCopiedLeavesNone) {
    TItemString item(L"old");
    EXPECT_TRUE(ThrowsMemoryException([&item] {
        const FailAllocation failure(1);
        item.Insertar(L"new");
    }));
    EXPECT_EQ(item.Agafar(), nullptr);
    item = L"old";
    EXPECT_TRUE(ThrowsMemoryException([&item] {
        const FailAllocation failure(1);
        item = L"new";
    }));
    EXPECT_EQ(item.Agafar(), nullptr);
}

TEST_F(ItemMemoryTest, TextItemsAreNotConstructedWithoutMemory) {
    const TItemString item(L"text");
    EXPECT_TRUE(ThrowsMemoryException([] {
        const FailAllocation failure(1);
        const TItemString made(L"new");
    }));
    EXPECT_TRUE(ThrowsMemoryException([&item] {
        const FailAllocation failure(1);
        const TItemString made(&item);
    }));
}

TEST_F(ItemMemoryTest, CloneOfATextNeedsMemoryForBoth) {
    const TItemString item(L"text");
    const int failures = FailEachAllocation([&item] {
        TItem* clone = nullptr;
        const bool thrown = ThrowsMemoryException([&] { clone = item.Duplicar(); });
        if (clone != nullptr) {
            EXPECT_STREQ(static_cast<TItemString*>(clone)->Agafar(), L"text");
        }
        EXPECT_FALSE(thrown && clone != nullptr);
        delete clone;
    });
    EXPECT_GE(failures, 1);
}

TEST_F(ItemMemoryTest, ListThatCannotGrowKeepsItsContents) {
    for (int operation = 0; operation < 5; ++operation) {
        List list;
        Fill(list, Ints(16, 1));
        List source;
        Fill(source, {2, 3});
        std::unique_ptr<CountedItem> item(new CountedItem(4));
        list.Posicionar(3);
        int result = 0;
        {
            const FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
            switch (operation) {
            case 0:
                result = list.Afegir(item.get());
                break;
            case 1:
                result = list.Insertar(item.get(), 2);
                break;
            case 2:
                result = list.CreaBuida(1);
                break;
            case 3:
                result = list.Concatenar(&source, -1);
                break;
            case 4:
                result = list.Fusionar(&source, 3);
                break;
            }
            EXPECT_EQ(failure.Failed(), 1) << operation;
        }
        EXPECT_EQ(result, -1) << operation;
        EXPECT_EQ(Values(list), Ints(16, 1));
        EXPECT_EQ(Values(source), (Ints{2, 3}));
        EXPECT_EQ(list.m_nCapacitat, 16);
        EXPECT_EQ(list.m_nIncrement, 16);
        EXPECT_EQ(list.PosActual(), 3);
    }
}

TEST_F(ItemMemoryTest, DerivedListsAnswerTheSame) {
    TLlistaOrdenada ordered;
    TLlistaCircular ring;
    TPila stack;
    TPilaLimitada limited(2);
    const std::unique_ptr<CountedItem> item(new CountedItem(4));
    const FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
    EXPECT_EQ(ordered.Afegir(item.get()), -1);
    EXPECT_EQ(ring.Insertar(item.get(), 0), -1);
    EXPECT_EQ(stack.push(item.get()), -1);
    EXPECT_EQ(limited.push(item.get()), -1);
    EXPECT_EQ(ordered.Cnt() + ring.Cnt() + stack.Cnt() + limited.Cnt(), 0);
}

TEST_F(ItemMemoryTest, SizeThatNoMemoryHasIsRefused) {
    List list;
    Fill(list, {1});
    EXPECT_EQ(list.CreaBuida(0x7FFFFFFF), -1);
    EXPECT_EQ(Values(list), (Ints{1}));
    EXPECT_EQ(list.m_nCapacitat, 16);
}

TEST_F(ItemMemoryTest, StorageThatCannotShrinkLosesTheEntryAllTheSame) {
    List list;
    Fill(list, Ints(33, 1));
    ASSERT_EQ(list.m_nCapacitat, 48);
    while (list.Cnt() > 32)
        list.Eliminar(0);
    // The step has grown to 32: the next entry to go makes one block of 32 enough.
    ASSERT_EQ(list.m_nCapacitat, 48);
    {
        const FailAllocation failure(1);
        EXPECT_EQ(list.Eliminar(0), -1);
        EXPECT_EQ(failure.Failed(), 1);
    }
    EXPECT_EQ(list.Cnt(), 31);
    EXPECT_EQ(list.m_nCapacitat, 48);
    EXPECT_EQ(list.m_nIncrement, 32);
    TItem* item = nullptr;
    {
        const FailAllocation failure(1);
        item = list.Treure(0);
        EXPECT_EQ(failure.Failed(), 1);
    }
    EXPECT_EQ(TakeValue(item), 1);
    EXPECT_EQ(list.Cnt(), 30);
    EXPECT_EQ(list.m_nCapacitat, 48);
    EXPECT_EQ(list.Eliminar(0), 0);
    EXPECT_EQ(list.m_nCapacitat, 32);
    EXPECT_EQ(list.m_nIncrement, 16);
}

TEST_F(ItemMemoryTest, SortWithoutMemoryLeavesTheList) {
    TLlista list;
    Fill(list, {3, 1, 2});
    {
        const FailAllocation failure(1);
        EXPECT_EQ(list.Ordenar(&ByValue, 0, nullptr), -1);
    }
    EXPECT_EQ(Values(list), (Ints{3, 1, 2}));
}

TEST_F(ItemMemoryTest, CopyThrowsAndLeavesNothing) {
    TLlista list;
    Fill(list, Ints(100, 1));
    const int failures = FailEachAllocation([&list] {
        EXPECT_EQ(CountedItem::s_live, 100);
        int copied = 0;
        const bool thrown = ThrowsMemoryException([&] {
            const TLlista copy(&list);
            copied = copy.Cnt();
        });
        EXPECT_EQ(copied, thrown ? 0 : 100);
    });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(CountedItem::s_live, 100);
}

// A list has other lists in it, one of which does not own its items: whichever allocation fails, the copy is
// either there (perhaps with null entries) or gone without a trace.
TEST_F(ItemMemoryTest, CopyOfNestedListsThrowsAndLeavesNothing) {
    CountedItem foreign(5);
    List model;
    model.m_bPropietari = 0;
    model.Afegir(&foreign);
    TLlista list;
    std::vector<std::unique_ptr<TItem>> unowned;
    for (int i = 0; i < 10; ++i) {
        auto* inner = new TLlista;
        Fill(*inner, Ints(20, i));
        auto* reference = new TLlista(&model);
        unowned.emplace_back(reference->GetItem(0));
        inner->Afegir(reference);
        list.Afegir(inner);
    }
    const int live = CountedItem::s_live;
    const int failures = FailEachAllocation([&list, live] {
        ASSERT_EQ(CountedItem::s_live, live);
        std::unique_ptr<TLlista> copy;
        ThrowsMemoryException([&] { copy.reset(static_cast<TLlista*>(list.Duplicar())); });
        if (copy == nullptr)
            return;
        // The clones in the lists that do not own are the test's to delete.
        for (int i = 0; i < copy->Cnt(); ++i) {
            auto* inner = static_cast<TLlista*>(copy->GetItem(i));
            if (inner == nullptr || inner->GetItem(20) == nullptr)
                continue;
            delete static_cast<TLlista*>(inner->GetItem(20))->Treure(0);
        }
    });
    EXPECT_GE(failures, 21);
    EXPECT_EQ(CountedItem::s_live, live);
}

TEST_F(ItemMemoryTest, CloneOfAListIsNullOrThrown) {
    TLlista list;
    Fill(list, {1});
    const int failures = FailEachAllocation([&list] {
        std::unique_ptr<TItem> clone;
        ThrowsMemoryException([&] { clone.reset(list.Duplicar()); });
    });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(CountedItem::s_live, 1);
}

// ---- TArbre

TEST_F(ItemMemoryTest, BinaryNodeThrowsAndOwnsNothing) {
    CountedItem item(1);
    const std::unique_ptr<TArbre> left(new TArbre(new CountedItem(2), 1));
    const std::unique_ptr<TArbre> right(new TArbre(new CountedItem(3), 1));
    EXPECT_TRUE(ThrowsMemoryException([&] {
        const FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        const TArbre node(&item, left.get(), right.get(), 1);
    }));
    EXPECT_EQ(CountedItem::s_live, 3);
}

TEST_F(ItemMemoryTest, ChildThatCannotBeInsertedStaysTheCallers) {
    TArbre tree(nullptr, 0);
    const std::unique_ptr<TArbre> child(new TArbre(new CountedItem(1), 1));
    for (int pos : {-1, 0}) {
        const FailAllocation failure(1);
        EXPECT_EQ(tree.InsertarFill(child.get(), pos), -1);
    }
    EXPECT_EQ(tree.EsFulla(), 1);
}

// The nodes own their items, or not: what was cloned goes either way.
TEST_F(ItemMemoryTest, CopyOfATreeThrowsAndLeavesNothing) {
    for (int owning : {1, 0}) {
        TLlista items;
        TArbre tree(nullptr, owning);
        for (int i = 0; i < 20; ++i) {
            auto* item = new CountedItem(i);
            if (owning == 0)
                items.Afegir(item);
            auto* child = new TArbre(item, owning);
            child->InsertarFill(new TArbre(nullptr, nullptr, nullptr, 1), -1);
            tree.InsertarFill(child, -1);
        }
        const int failures = FailEachAllocation([&tree, owning] {
            ASSERT_EQ(CountedItem::s_live, 20);
            std::unique_ptr<TArbre> copy;
            ThrowsMemoryException([&] { copy.reset(static_cast<TArbre*>(tree.Duplicar())); });
            if (copy == nullptr || owning != 0)
                return;
            for (int i = 0; i < copy->GetNumFills(); ++i)
                if (copy->GetFill(i) != nullptr)
                    delete copy->GetFill(i)->GetItem();
        });
        EXPECT_GE(failures, 21);
        EXPECT_EQ(CountedItem::s_live, 20);
    }
}

int __stdcall GoOn(const TItem*, int, long) {
    return 0;
}

TEST_F(ItemMemoryTest, DeepWalkThrowsWithoutMemory) {
    std::unique_ptr<TArbre> tree(new TArbre(nullptr, 0));
    for (int i = 0; i < 500; ++i) {
        auto* outer = new TArbre(nullptr, tree.release(), nullptr, 0);
        tree.reset(outer);
    }
    using Walk = int (TArbre::*)(PFN_VISITARITEMARBRE, long) const;
    for (Walk walk : {static_cast<Walk>(&TArbre::Preordre), static_cast<Walk>(&TArbre::Postordre),
                      static_cast<Walk>(&TArbre::Inordre)}) {
        const int failures = FailEachAllocation(
            [&] { ThrowsMemoryException([&] { EXPECT_EQ((tree.get()->*walk)(&GoOn, 0), 0); }); });
        EXPECT_EQ(failures, 3); // 128, 256 and 512 levels
    }
}

// ---- TTaula

TEST_F(ItemMemoryTest, TableThatCannotBeMadeIsEmpty) {
    TTaula table;
    table.ConstruirTaula(1, 1);
    table.SetItem(new CountedItem(1), 0, 0);
    EXPECT_TRUE(ThrowsMemoryException([&table] {
        const FailAllocation failure(1);
        table.ConstruirTaula(2, 2);
    }));
    EXPECT_EQ(CountedItem::s_live, 0);
    EXPECT_EQ(table.EsBuit(), 1);
    for (auto [rows, columns] : {std::pair(-1, 1), std::pair(1, -1), std::pair(-2, -3)}) {
        EXPECT_TRUE(ThrowsMemoryException([&] { table.ConstruirTaula(rows, columns); }));
        EXPECT_EQ(table.EsBuit(), 1);
    }
}

TEST_F(ItemMemoryTest, TableOfASizeThatNoMemoryHasIsRefused) {
    TTaula table;
    EXPECT_TRUE(ThrowsMemoryException([&table] { table.ConstruirTaula(0x7FFFFFFF, 0x7FFFFFFF); }));
    EXPECT_TRUE(ThrowsMemoryException([&table] { table.ConstruirTaula(0x60000000, 0x7FFFFFFF); }));
    EXPECT_EQ(table.EsBuit(), 1);
    table.ConstruirTaula(2, 1);
    EXPECT_TRUE(ThrowsMemoryException([&table] { table.InsertarFiles(0, 0x7FFFFFFF); }));
    EXPECT_TRUE(ThrowsMemoryException([&table] { table.InsertarColumnes(0, 0x7FFFFFFF); }));
    EXPECT_EQ(table.GetNumFiles(), 2);
    EXPECT_EQ(table.GetNumColumnes(), 1);
}

TEST_F(ItemMemoryTest, TableThatCannotBeResizedStaysAsItWas) {
    TTaula table;
    table.ConstruirTaula(2, 2);
    TItem* items[4];
    for (int i = 0; i < 4; ++i)
        table.SetItem(items[i] = new CountedItem(i), i / 2, i % 2);
    for (int operation = 0; operation < 3; ++operation) {
        EXPECT_TRUE(ThrowsMemoryException([&] {
            const FailAllocation failure(1);
            if (operation == 0)
                table.InsertarFiles(0, 1);
            else if (operation == 1)
                table.InsertarColumnes(0, 1);
            else
                table.EliminarColumnes(0, 1);
        }));
        EXPECT_EQ(table.GetNumFiles(), 2);
        EXPECT_EQ(table.GetNumColumnes(), 2);
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(table.GetItem(i / 2, i % 2), items[i]);
    }
    EXPECT_EQ(CountedItem::s_live, 4);
}

// Kept: the items of the rows that were to go are destroyed by then, and their cells hold the old addresses.
TEST_F(ItemMemoryTest, RowsThatCannotBeRemovedAreLeftDangling) {
    class Open : public TTaula {
    public:
        using TTaula::m_ppCeles;
    };
    Open table;
    table.ConstruirTaula(2, 2);
    TItem* items[4];
    for (int i = 0; i < 4; ++i)
        table.SetItem(items[i] = new CountedItem(i), i / 2, i % 2);
    EXPECT_TRUE(ThrowsMemoryException([&table] {
        const FailAllocation failure(1);
        table.EliminarFiles(0, 1);
    }));
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 0}));
    EXPECT_EQ(table.GetNumFiles(), 2);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(table.m_ppCeles[i], items[i]);
    table.m_ppCeles[0] = nullptr;
    table.m_ppCeles[1] = nullptr;
}

TEST_F(ItemMemoryTest, BooleanCellThatCannotBeMadeStaysEmpty) {
    TTaulaBool table(3);
    table.ConstruirTaula(1, 1);
    table.SetItem(nullptr, 0, 0);
    std::vector<std::unique_ptr<TItem>> used;
    used.reserve(100000);
    {
        // The pools may still have blocks: they are used up first.
        const FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        while (TItem* item = table._CrearItem(0, 0))
            used.emplace_back(item);
        table.Set(0, 0, 9);
    }
    EXPECT_EQ(table.GetItem(0, 0), nullptr);
    EXPECT_EQ(table.Get(0, 0), 3);
}
