// Containers of every kind in each other: what is destroyed and cloned, in which order, and how deeply they
// may nest.
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "alloc_failure.h"
#include "throws.h"

#include "ListSupport.h"
#include "TArbre.h"
#include "TCrossList.h"
#include "THash.h"
#include "TTaula.h"

namespace {

// A counted item that may stand beside items of other classes.
class Leaf : public CountedItem {
public:
    using CountedItem::CountedItem;
    TItem* Duplicar() const override {
        s_cloned.push_back(Value());
        return new (std::nothrow) Leaf(Value());
    }
    int Comparar(const TItem*) const override { return -1; }
};

class NestedTest : public ListTest {
protected:
    static TCrossList* CrossList(std::initializer_list<TItem*> items) {
        auto* list = new TCrossList;
        for (TItem* item : items)
            list->InsertLast(item);
        return list;
    }
    static TCircularCrossList* Ring(std::initializer_list<int> values) {
        auto* ring = new TCircularCrossList;
        for (int value : values)
            ring->InsertLast(new Leaf(value));
        return ring;
    }
    // The items in the order of their slots.
    static THash* Hash(std::initializer_list<TItem*> items) {
        auto* table = new THash;
        EXPECT_EQ(table->init(4), 0);
        for (TItem* item : items)
            EXPECT_EQ(table->put(item, std::to_wstring(table->length()).c_str()), 0);
        return table;
    }
    static THashItem* Pair(TItem* item) {
        auto* pair = new THashItem(L"key", nullptr);
        pair->m_pItem = item;
        return pair;
    }
    static TTaula* Table(TItem* item) {
        auto* table = new TTaula;
        table->ConstruirTaula(1, 1);
        table->SetItem(item, 0, 0);
        return table;
    }
    static TLlista* List(std::initializer_list<TItem*> items) {
        auto* list = new TLlista;
        for (TItem* item : items)
            EXPECT_EQ(list->Afegir(item), 0);
        return list;
    }
    // `wrap` makes the next container around the one given, so many times.
    template <class Wrap>
    static TItem* Nest(int levels, Wrap wrap) {
        TItem* top = new Leaf(1);
        for (int i = 0; i < levels; ++i)
            top = wrap(top);
        return top;
    }
    // A mixture of containers, the order in which its items go being 1, 2, 3 ...
    static TItem* Mixture() {
        TArbre* tree = new TArbre(CrossList({new Leaf(5), Pair(new Leaf(4))}), 1);
        tree->InsertarFill(new TArbre(new Leaf(7), 1), -1);
        tree->InsertarFill(new TArbre(Hash({new Leaf(6), nullptr}), 1), -1);
        return CrossList({new Leaf(12), Table(List({new Leaf(11), Ring({10, 9})})),
                          Hash({Ring({3, 2, 1}), tree, new Leaf(8)})});
    }
};

// A node that says when it goes, and destroys its item itself.
class ClientNode : public TCrossNode {
public:
    ~ClientNode() override { CountedItem::s_destroyed.push_back(-Value()); }
    TCrossNode* Duplicar() const override {
        auto* clone = new ClientNode;
        clone->SetItem(GetItem()->Duplicar());
        CountedItem::s_cloned.push_back(-Value());
        return clone;
    }

private:
    int Value() const { return ValueOf(static_cast<const TLlista*>(GetItem())->GetItem(0)); }
};

} // namespace

// ---- Destruction

TEST_F(NestedTest, ItemsGoInTheOrderOfRecursionWhateverHoldsThem) {
    const Ints expected{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    delete Mixture();
    EXPECT_EQ(CountedItem::s_destroyed, expected);
    // Below a container that is taken down by a loop of its own, too.
    const std::function<TItem*(TItem*)> holders[] = {
        [](TItem* item) { return List({item}); },        [](TItem* item) { return Table(item); },
        [](TItem* item) { return new TArbre(item, 1); }, [](TItem* item) { return Pair(item); },
        [](TItem* item) { return Hash({item}); },        [](TItem* item) { return CrossList({item}); }};
    for (const auto& holder : holders) {
        CountedItem::Reset();
        delete holder(Mixture());
        EXPECT_EQ(CountedItem::s_destroyed, expected) << &holder - holders;
    }
}

TEST_F(NestedTest, NodesOfAClientsClassDestroyTheirItemsThemselves) {
    auto* inner = new TCrossList;
    for (int value : {1, 2}) {
        auto* node = new ClientNode;
        node->SetItem(List({new Leaf(value)}));
        inner->InsertLast(node);
    }
    delete List({new Leaf(3), inner});
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{-2, 2, -1, 1, 3}));
}

TEST_F(NestedTest, ContainersThatDoNotOwnLeaveTheirItems) {
    class Borrowing : public TCrossList {
    public:
        Borrowing() { m_bPropietari = 0; }
    };
    CountedItem item(1);
    auto* list = new Borrowing;
    TCrossNode* node = list->InsertLast(&item);
    delete List({list});
    EXPECT_EQ(CountedItem::s_live, 1);
    node->UnLinkItem();
    delete node;
}

TEST_F(NestedTest, AMillionLevelsOfEveryKindAreDestroyed) {
    constexpr int LEVELS = 1000000;
    delete Nest(LEVELS, [](TItem* inner) { return CrossList({inner}); });
    delete Nest(LEVELS, [](TItem* inner) {
        auto* ring = new TCircularCrossList;
        ring->InsertLast(inner);
        return ring;
    });
    delete Nest(LEVELS, [](TItem* inner) { return new TArbre(inner, 1); });
    int level = 0;
    delete Nest(LEVELS, [&level](TItem* inner) -> TItem* {
        switch (++level % 4) {
        case 0:
            return List({inner});
        case 1:
            return Table(inner);
        case 2:
            return new TArbre(inner, 1);
        default:
            return CrossList({inner});
        }
    });
    // Their slots take much more memory.
    delete Nest(LEVELS / 10, [](TItem* inner) { return Pair(inner); });
    delete Nest(LEVELS / 10, [](TItem* inner) {
        auto* table = new THash;
        EXPECT_EQ(table->init(1), 0);
        EXPECT_EQ(table->put(inner, L"k"), 0);
        return table;
    });
    EXPECT_EQ(CountedItem::s_destroyed.size(), 6u);
}

TEST_F(NestedTest, DeepContainersMayAlsoBeEmptiedAndTheirNodesRemoved) {
    constexpr int LEVELS = 300000;
    TCrossList list;
    list.InsertLast(Nest(LEVELS, [](TItem* inner) { return CrossList({inner}); }));
    list.InsertLast(Nest(LEVELS, [](TItem* inner) { return CrossList({inner}); }));
    EXPECT_EQ(list.Remove(list.GetFirst()), 0);
    EXPECT_EQ(CountedItem::s_live, 1);
    list.Done(1);
    EXPECT_EQ(CountedItem::s_live, 0);
    THash table;
    ASSERT_EQ(table.init(4), 0);
    table.put(Nest(LEVELS, [](TItem* inner) { return CrossList({inner}); }), L"a");
    EXPECT_EQ(table.del(L"a"), 0);
}

// ---- Deep copies of cross lists

TEST_F(NestedTest, CrossListsInEachOtherAreClonedInOrder) {
    std::unique_ptr<TCrossList> list(
        CrossList({new Leaf(1), CrossList({new Leaf(2), Ring({3, 4})}), Ring({5}), new Leaf(6)}));
    std::unique_ptr<TItem> clone(list->Duplicar());
    EXPECT_EQ(CountedItem::s_cloned, (Ints{1, 2, 3, 4, 5, 6}));
    // Kept: the clone of a ring is a plain list.
    auto* second = static_cast<TCrossList*>(clone.get())->GetFirst()->GetNextItem();
    auto* ring = static_cast<TCrossList*>(second)->GetLast()->GetItem();
    EXPECT_EQ(ring->QueSoc(), 8);
    EXPECT_EQ(static_cast<TCrossList*>(ring)->GetLast()->GetNext(), nullptr);
    EXPECT_EQ(static_cast<TCrossList*>(second)->GetNode(ring), static_cast<TCrossList*>(second)->GetLast());
    list.reset();
    CountedItem::s_destroyed.clear();
    clone.reset();
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{6, 5, 4, 3, 2, 1}));
}

TEST_F(NestedTest, CloneOfAnInnerListHasItsFlags) {
    struct Flags : TCrossList {
        static int& Owning(TCrossList* list) { return list->*&Flags::m_bPropietari; }
    };
    TCrossList* inner = CrossList({new Leaf(1), new Leaf(2)});
    const std::unique_ptr<TCrossList> list(CrossList({inner}));
    Flags::Owning(inner) = 0;
    const std::unique_ptr<TItem> clone(list->Duplicar());
    auto* cloned = static_cast<TCrossList*>(static_cast<TCrossList*>(clone.get())->GetFirst()->GetItem());
    EXPECT_EQ(Flags::Owning(cloned), 0);
    EXPECT_EQ(cloned->IsSorted(), 0);
    EXPECT_EQ(cloned->Cnt(), 2);
    EXPECT_EQ(static_cast<TCrossList*>(clone.get())->IsSorted(), 1);
    Flags::Owning(inner) = Flags::Owning(cloned) = 1; // so that all goes in the end
}

TEST_F(NestedTest, NodesOfAClientsClassCloneThemselves) {
    auto* inner = new TCrossList;
    auto* node = new ClientNode;
    node->SetItem(List({new Leaf(4)}));
    inner->InsertLast(node);
    const std::unique_ptr<TCrossList> list(CrossList({inner}));
    const std::unique_ptr<TItem> clone(list->Duplicar());
    EXPECT_EQ(CountedItem::s_cloned, (Ints{4, -4}));
}

TEST_F(NestedTest, AMillionCrossListsInEachOtherAreCloned) {
    const std::unique_ptr<TItem> top(Nest(1000000, [](TItem* inner) { return CrossList({inner}); }));
    const std::unique_ptr<TItem> clone(top->Duplicar());
    int levels = 0;
    const TItem* item = clone.get();
    for (; item->QueSoc() == 8; item = static_cast<const TCrossList*>(item)->GetFirst()->GetItem())
        ++levels;
    EXPECT_EQ(levels, 1000000);
    EXPECT_EQ(ValueOf(item), 1);
}

// ---- Deep copies of trees whose items are trees

TEST_F(NestedTest, TreesInTreesAreClonedInOrder) {
    auto* innermost = new TArbre(new Leaf(1), 1);
    innermost->InsertarFill(new TArbre(new Leaf(2), 1), -1);
    auto* inner = new TArbre(innermost, 1);
    inner->InsertarFill(new TArbre(new TArbre(new Leaf(3), 1), 1), -1);
    auto* child = new TArbre(new TArbre(nullptr, 0), 1);
    child->InsertarFill(new TArbre(new Leaf(5), 1), -1);
    std::unique_ptr<TArbre> tree(new TArbre(inner, 1));
    tree->InsertarFill(new TArbre(new Leaf(4), 1), -1);
    tree->InsertarFill(child, -1);
    tree->InsertarFill(new TArbre(new Leaf(6), 1), -1);
    std::unique_ptr<TItem> clone(tree->Duplicar());
    EXPECT_EQ(CountedItem::s_cloned, (Ints{1, 2, 3, 4, 5, 6}));
    tree.reset();
    const auto* cloned = static_cast<const TArbre*>(clone.get());
    EXPECT_EQ(cloned->GetNumFills(), 3);
    const auto* clonedInner = static_cast<const TArbre*>(cloned->GetItem());
    EXPECT_EQ(clonedInner->GetNumFills(), 1);
    const auto* clonedInnermost = static_cast<const TArbre*>(clonedInner->GetItem());
    EXPECT_EQ(clonedInnermost->GetNumFills(), 1);
    EXPECT_EQ(ValueOf(clonedInnermost->GetItem()), 1);
    CountedItem::s_destroyed.clear();
    clone.reset();
    EXPECT_EQ(CountedItem::s_destroyed.size(), 6u);
}

TEST_F(NestedTest, CloneOfAnInnerTreeOwnsItsItemAsTheSourceDoes) {
    Leaf item(1);
    auto* inner = new TArbre(&item, 0);
    const std::unique_ptr<TArbre> tree(new TArbre(inner, 1));
    const std::unique_ptr<TItem> clone(tree->Duplicar());
    auto* cloned = static_cast<TArbre*>(static_cast<TArbre*>(clone.get())->GetItem());
    // Kept: the clone of an item that nobody owns belongs to nobody, too.
    const std::unique_ptr<TItem> copy(cloned->GetItem());
    EXPECT_EQ(ValueOf(copy.get()), 1);
}

TEST_F(NestedTest, AMillionTreesInEachOtherAreCloned) {
    const std::unique_ptr<TItem> top(Nest(1000000, [](TItem* inner) {
        auto* tree = new TArbre(inner, 1);
        tree->InsertarFill(new TArbre(nullptr, 0), -1);
        return tree;
    }));
    const std::unique_ptr<TItem> clone(top->Duplicar());
    int levels = 0;
    const TItem* item = clone.get();
    for (; item->QueSoc() == top->QueSoc(); item = static_cast<const TArbre*>(item)->GetItem()) {
        ASSERT_EQ(static_cast<const TArbre*>(item)->GetNumFills(), 1);
        ++levels;
    }
    EXPECT_EQ(levels, 1000000);
    EXPECT_EQ(ValueOf(item), 1);
}

TEST_F(NestedTest, CloningTreesInTreesWithoutMemoryThrowsAndLeavesNothing) {
    auto* inner = new TArbre(new TArbre(new Leaf(1), 1), 1);
    inner->InsertarFill(new TArbre(new Leaf(2), 1), -1);
    const std::unique_ptr<TArbre> tree(new TArbre(inner, 1));
    tree->InsertarFill(new TArbre(new Leaf(3), 1), -1);
    const int failures = FailEachAllocation([&] {
        ASSERT_EQ(CountedItem::s_live, 3);
        std::unique_ptr<TItem> clone;
        ThrowsMemoryException([&] { clone.reset(tree->Duplicar()); });
    });
    EXPECT_GE(failures, 4);
}

// ---- Without memory

TEST_F(NestedTest, CloningWithoutMemoryThrowsAndLeavesNothing) {
    const std::unique_ptr<TCrossList> list(
        CrossList({CrossList({new Leaf(1), Ring({2, 3})}), new Leaf(4), CrossList({CrossList({})})}));
    const int failures = FailEachAllocation([&] {
        ASSERT_EQ(CountedItem::s_live, 4);
        std::unique_ptr<TItem> clone;
        ThrowsMemoryException([&] { clone.reset(list->Duplicar()); });
    });
    EXPECT_GE(failures, 5);
}
