// What items and lists do when memory runs out: every allocation of every operation fails once.
#include <cstring>
#include <memory>
#include <string>

#include "alloc_failure.h"

#include "afx.h"
#include "ListSupport.h"

namespace {

using List = Open<TLlista>;

class ListMemoryTest : public ListTest {};

int __stdcall ByValue(const TItem* a, const TItem* b, long) {
    return ValueOf(a) - ValueOf(b);
}

// Runs `operation`; true when it ended in the memory exception.
template <class Operation>
bool ThrowsMemoryException(Operation operation) {
    try {
        operation();
    } catch (CMemoryException* exception) {
        exception->Delete();
        return true;
    }
    return false;
}

// Clones until the pools are empty and no clone comes any more. The item itself is the caller's.
bool CloningEnds(const TItem& item) {
    std::vector<std::unique_ptr<TItem>> clones;
    clones.reserve(100000);
    const FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
    while (clones.size() < clones.capacity()) {
        clones.emplace_back(item.Duplicar());
        if (clones.back() == nullptr)
            return true;
    }
    return false;
}

} // namespace

TEST_F(ListMemoryTest, ValueItemsAreNotClonedWithoutMemory) {
    EXPECT_TRUE(CloningEnds(TInt(1)));
    EXPECT_TRUE(CloningEnds(TBool(1)));
    EXPECT_TRUE(CloningEnds(TChar(L'a')));
    EXPECT_TRUE(CloningEnds(TFloat(1)));
    EXPECT_TRUE(CloningEnds(TDouble(1)));
    EXPECT_TRUE(CloningEnds(TItemString()));
    EXPECT_TRUE(CloningEnds(TLlista()));
}

TEST_F(ListMemoryTest, ClassNameWithoutMemoryIsNull) {
    const TInt item;
    const FailAllocation failure(1);
    EXPECT_EQ(item.GetNomClasse(), nullptr);
}

TEST_F(ListMemoryTest, TextThatCannotBeCopiedLeavesNone) {
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

TEST_F(ListMemoryTest, TextItemsAreNotConstructedWithoutMemory) {
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

TEST_F(ListMemoryTest, CloneOfATextNeedsMemoryForBoth) {
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

TEST_F(ListMemoryTest, ListThatCannotGrowKeepsItsContents) {
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

TEST_F(ListMemoryTest, DerivedListsAnswerTheSame) {
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

TEST_F(ListMemoryTest, SizeThatNoMemoryHasIsRefused) {
    List list;
    Fill(list, {1});
    EXPECT_EQ(list.CreaBuida(0x7FFFFFFF), -1);
    EXPECT_EQ(Values(list), (Ints{1}));
    EXPECT_EQ(list.m_nCapacitat, 16);
}

TEST_F(ListMemoryTest, StorageThatCannotShrinkLosesTheEntryAllTheSame) {
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

TEST_F(ListMemoryTest, SortWithoutMemoryLeavesTheList) {
    TLlista list;
    Fill(list, {3, 1, 2});
    {
        const FailAllocation failure(1);
        EXPECT_EQ(list.Ordenar(&ByValue, 0, nullptr), -1);
    }
    EXPECT_EQ(Values(list), (Ints{3, 1, 2}));
}

TEST_F(ListMemoryTest, CopyThrowsAndLeavesNothing) {
    TLlista list;
    Fill(list, Ints(100, 1));
    const int failures = FailEachAllocation([&list] {
        EXPECT_EQ(CountedItem::s_live, 100);
        std::unique_ptr<TLlista> copy;
        const bool thrown = ThrowsMemoryException([&] { copy.reset(new TLlista(&list)); });
        EXPECT_NE(thrown, copy != nullptr);
    });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(CountedItem::s_live, 100);
}

// A list has other lists in it, one of which does not own its items: whichever allocation fails, the copy is
// either there (perhaps with null entries) or gone without a trace.
TEST_F(ListMemoryTest, CopyOfNestedListsThrowsAndLeavesNothing) {
    CountedItem foreign(5);
    TLlista list;
    for (int i = 0; i < 10; ++i) {
        auto* inner = new TLlista;
        Fill(*inner, Ints(20, i));
        auto* reference = new List;
        reference->m_bPropietari = 0;
        reference->Afegir(&foreign);
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

TEST_F(ListMemoryTest, CloneOfAListIsNullOrThrown) {
    TLlista list;
    Fill(list, {1});
    const int failures = FailEachAllocation([&list] {
        std::unique_ptr<TItem> clone;
        ThrowsMemoryException([&] { clone.reset(list.Duplicar()); });
    });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(CountedItem::s_live, 1);
}
