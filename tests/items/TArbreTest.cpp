#include "TArbre.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "ListSupport.h"

namespace {

class TArbreTest : public ListTest {
protected:
    // A node that owns a counted item.
    static TArbre* Node(int value) { return new TArbre(new CountedItem(value), 1); }
    static TArbre* Binary(int value, TArbre* left, TArbre* right) {
        return new TArbre(new CountedItem(value), left, right, 1);
    }
    static TArbre* Adopt(TArbre* parent, std::initializer_list<TArbre*> children) {
        for (TArbre* child : children)
            EXPECT_EQ(parent->InsertarFill(child, -1), 0);
        return parent;
    }
    // R(1) has children A(2) and B(4), A has child C(3).
    static std::unique_ptr<TArbre> Sample() {
        return std::unique_ptr<TArbre>(Adopt(Node(1), {Adopt(Node(2), {Node(3)}), Node(4)}));
    }
};

using Visits = std::vector<std::pair<int, int>>; // value and depth
Visits g_visits;

// Notes the visit; answers the user value for the item 2, else the number of visits.
int Note(const TItem* item, int depth, long user) {
    const int value = item == nullptr ? NOTHING : ValueOf(item);
    g_visits.emplace_back(value, depth);
    return value == 2 && user != 0 ? static_cast<int>(user) : static_cast<int>(g_visits.size());
}
int __stdcall NoteItem(const TItem* item, int depth, long user) {
    return Note(item, depth, user);
}
int __stdcall NoteNode(TArbre* node, int depth, long user) {
    return Note(node->GetItem(), depth, user);
}

// Both forms of a walk must see and answer the same.
enum class Order { Pre, Post, In };
Visits Walk(TArbre& tree, Order order, int& result, long user = 0) {
    g_visits.clear();
    result = order == Order::Pre    ? tree.PreordreA(&NoteNode, user)
             : order == Order::Post ? tree.PostordreA(&NoteNode, user)
                                    : tree.InordreA(&NoteNode, user);
    const Visits nodes = std::exchange(g_visits, {});
    const int itemResult = order == Order::Pre    ? tree.Preordre(&NoteItem, user)
                           : order == Order::Post ? tree.Postordre(&NoteItem, user)
                                                  : tree.Inordre(&NoteItem, user);
    EXPECT_EQ(itemResult, result);
    EXPECT_EQ(g_visits, nodes);
    return nodes;
}
Visits Walk(TArbre& tree, Order order) {
    int result;
    return Walk(tree, order, result);
}

using NodeVisitor = std::function<int(TArbre*, int)>;
int __stdcall CallVisitor(TArbre* node, int depth, long user) {
    return (*reinterpret_cast<const NodeVisitor*>(user))(node, depth);
}
long UserOf(const NodeVisitor& visitor) {
    return reinterpret_cast<long>(&visitor);
}

// Shows the protected parts.
class OpenTree : public TArbre {
public:
    using TArbre::afegirFill;
    using TArbre::getFill;
    using TArbre::i_inordre;
    using TArbre::i_postordre;
    using TArbre::i_preordre;
    using TArbre::insertarFill;
    using TArbre::m_fills;
    using TArbre::m_pItem;
    using TArbre::m_wFlags;
    using TArbre::setFill;
    using TArbre::TArbre;
    using TArbre::treuFill;
};

} // namespace

TEST_F(TArbreTest, ExampleUsage) {
    TArbre tree(new CountedItem(1), 1);
    auto* child = new TArbre(new CountedItem(2), 1);
    tree.InsertarFill(child, -1);
    child->InsertarFill(new TArbre(new CountedItem(3), 1), -1);
    tree.InsertarFill(new TArbre(new CountedItem(4), 1), -1);

    g_visits.clear();
    tree.Preordre(&NoteItem, 0);
    EXPECT_EQ(g_visits, (Visits{{1, 0}, {2, 1}, {3, 2}, {4, 1}}));

    // A child that is taken out is the caller's, with all that is below it.
    TArbre* taken = tree.TreureFill(0);
    EXPECT_EQ(taken->GetNumFills(), 1);
    delete taken;
    EXPECT_EQ(tree.GetNumFills(), 1);
}

// ---- Construction and ownership

TEST_F(TArbreTest, NodeWithoutChildrenIsALeaf) {
    {
        TArbre node(new CountedItem(1), 1);
        EXPECT_EQ(node.EsFulla(), 1);
        EXPECT_EQ(node.EsBuit(), 1);
        EXPECT_EQ(node.EsBinari(), 0);
        EXPECT_EQ(node.GetNumFills(), 0);
        EXPECT_EQ(node.QueSoc(), 7);
        EXPECT_STREQ(node.GetNomClasse(), L"TArbre");
    }
    EXPECT_EQ(CountedItem::s_live, 0);
}

TEST_F(TArbreTest, FlagsSayWhatTheNodeIs) {
    CountedItem item(1);
    EXPECT_EQ(OpenTree(&item, 0).m_wFlags, 0);
    EXPECT_EQ(OpenTree(new CountedItem(2), 5).m_wFlags, 2);
    EXPECT_EQ(OpenTree(&item, nullptr, nullptr, 0).m_wFlags, 1);
    EXPECT_EQ(OpenTree(nullptr, nullptr, nullptr, 1).m_wFlags, 3);
}

TEST_F(TArbreTest, NodeThatDoesNotOwnLeavesItsItem) {
    CountedItem item(1);
    {
        TArbre node(&item, 0);
        EXPECT_EQ(node.GetItem(), &item);
    }
    EXPECT_EQ(CountedItem::s_live, 1);
}

TEST_F(TArbreTest, BinaryNodeHasTwoSlotsAndIsNeverALeaf) {
    TArbre node(nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(node.GetNumFills(), 2);
    EXPECT_EQ(node.EsFulla(), 0);
    EXPECT_EQ(node.EsBuit(), 0);
    EXPECT_EQ(node.EsBinari(), 1);
    EXPECT_EQ(node.GetFillEsquerre(), nullptr);
    EXPECT_EQ(node.GetFillDret(), nullptr);
}

TEST_F(TArbreTest, BinaryNodeKeepsItsChildrenApart) {
    TArbre* left = Node(2);
    TArbre* right = Node(3);
    const std::unique_ptr<TArbre> tree(Binary(1, left, right));
    EXPECT_EQ(tree->GetFillEsquerre(), left);
    EXPECT_EQ(tree->GetFillDret(), right);
    EXPECT_EQ(tree->GetFill(1), right);
}

TEST_F(TArbreTest, DestroyingANodeDestroysItsItemThenItsChildrenFromTheLast) {
    Sample().reset();
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 4, 2, 3}));
}

TEST_F(TArbreTest, ChildrenOfANodeThatDoesNotOwnItsItemAreDestroyed) {
    CountedItem item(9);
    {
        TArbre tree(&item, 0);
        tree.InsertarFill(Node(1), -1);
        tree.InsertarFill(nullptr, -1);
    }
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1}));
}

TEST_F(TArbreTest, TreesAndListsMayHoldEachOther) {
    auto* list = new TLlista;
    Fill(*list, {5});
    list->Afegir(Node(6));
    {
        TArbre tree(list, 1);
        tree.InsertarFill(Adopt(Node(1), {new TArbre(new TArbre(new CountedItem(2), 1), 1)}), -1);
        const std::unique_ptr<TItem> clone(tree.Duplicar());
        EXPECT_EQ(CountedItem::s_cloned, (Ints{5, 6, 1, 2}));
        EXPECT_EQ(CountedItem::s_live, 8);
    }
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{6, 5, 1, 2, 6, 5, 1, 2}));
}

// ---- Copies

TEST_F(TArbreTest, CopyFromAPointerClonesItemsAndChildren) {
    const std::unique_ptr<TArbre> tree = Sample();
    tree->InsertarFill(nullptr, 1);
    TArbre copy(tree.get());
    EXPECT_EQ(CountedItem::s_cloned, (Ints{1, 2, 3, 4}));
    EXPECT_EQ(copy.GetNumFills(), 3);
    EXPECT_EQ(copy.GetFill(1), nullptr);
    EXPECT_NE(copy.GetItem(), tree->GetItem());
    EXPECT_EQ(Walk(copy, Order::Pre), (Visits{{1, 0}, {2, 1}, {3, 2}, {4, 1}}));
    EXPECT_EQ(CountedItem::s_live, 8);
}

TEST_F(TArbreTest, DuplicarIsADeepCopyOfTheSameKind) {
    const std::unique_ptr<TArbre> tree(Binary(1, Node(2), nullptr));
    const std::unique_ptr<TArbre> clone(static_cast<TArbre*>(tree->Duplicar()));
    EXPECT_EQ(clone->EsBinari(), 1);
    EXPECT_EQ(clone->GetNumFills(), 2);
    EXPECT_EQ(ValueOf(clone->GetFillEsquerre()->GetItem()), 2);
    EXPECT_EQ(clone->GetFillDret(), nullptr);
}

TEST_F(TArbreTest, CopyOfANodeWithoutAnItemHasNone) {
    TArbre node(nullptr, 1);
    TArbre copy(&node);
    EXPECT_EQ(copy.GetItem(), nullptr);
}

// Kept: the flags are copied as they are, so nobody owns the clone of an item that was not owned.
TEST_F(TArbreTest, CloneOfANodeThatDoesNotOwnOwnsNothing) {
    CountedItem item(1);
    CountedItem childItem(2);
    OpenTree tree(&item, 0);
    tree.InsertarFill(new OpenTree(&childItem, nullptr, nullptr, 0), -1);
    auto* clone = static_cast<TArbre*>(tree.Duplicar());
    const std::unique_ptr<TItem> cloned(clone->GetItem());
    const std::unique_ptr<TItem> clonedChild(clone->GetFill(0)->GetItem());
    EXPECT_EQ(clone->GetFill(0)->EsBinari(), 1);
    delete clone;
    EXPECT_EQ(CountedItem::s_live, 4);
    EXPECT_EQ(ValueOf(cloned.get()), 1);
    EXPECT_EQ(ValueOf(clonedChild.get()), 2);
}

TEST_F(TArbreTest, CopyHoldsNullForAnItemThatCannotBeCloned) {
    const std::unique_ptr<TArbre> tree = Sample();
    CountedItem::LetClonesFailAfter(1);
    TArbre copy(tree.get());
    EXPECT_EQ(Walk(copy, Order::Pre), (Visits{{1, 0}, {NOTHING, 1}, {NOTHING, 2}, {NOTHING, 1}}));
}

TEST_F(TArbreTest, ChildOfAClientsClassClonesItself) {
    class ClientTree : public TArbre {
    public:
        using TArbre::TArbre;
        TItem* Duplicar() const override { return new ClientTree(new CountedItem(77), 1); }
    };
    TArbre tree(nullptr, 0);
    tree.InsertarFill(new ClientTree(new CountedItem(1), 1), -1);
    TArbre copy(&tree);
    EXPECT_EQ(ValueOf(copy.GetFill(0)->GetItem()), 77);
}

// Kept: reference copies share the item and the children.
TEST_F(TArbreTest, CopyFromAReferenceSharesEverything) {
    OpenTree tree(new CountedItem(1), 1);
    tree.InsertarFill(Node(2), -1);
    OpenTree copy(tree);
    OpenTree assigned(nullptr, 0);
    assigned = tree;
    for (OpenTree* shared : {&copy, &assigned}) {
        EXPECT_EQ(shared->GetItem(), tree.GetItem());
        EXPECT_EQ(shared->GetFill(0), tree.GetFill(0));
        EXPECT_EQ(shared->m_wFlags, 2);
        shared->m_fills.Init();
        shared->m_wFlags = 0;
    }
}

// ---- Item and children

TEST_F(TArbreTest, SetItemForgetsOrDestroysTheOldItem) {
    CountedItem kept(1);
    OpenTree node(&kept, 0);
    auto* second = new CountedItem(2);
    node.SetItem(second, 0);
    EXPECT_EQ(node.GetItem(), second);
    EXPECT_EQ(CountedItem::s_live, 2);
    node.SetItem(second, 1);
    EXPECT_EQ(CountedItem::s_live, 2);
    node.SetItem(nullptr, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2}));
    node.SetItem(&kept, 1);
    EXPECT_EQ(node.GetItem(), &kept);
    EXPECT_EQ(node.m_wFlags, 0);
}

TEST_F(TArbreTest, InsertarFillAppendsOrInserts) {
    const std::unique_ptr<TArbre> tree(Node(0));
    EXPECT_EQ(tree->InsertarFill(Node(1), -1), 0);
    EXPECT_EQ(tree->InsertarFill(Node(2), 0), 0);
    EXPECT_EQ(tree->InsertarFill(Node(3), 99), 0);
    EXPECT_EQ(tree->InsertarFill(Node(4), 1), 0);
    EXPECT_EQ(tree->InsertarFill(nullptr, -8), 0);
    EXPECT_EQ(Walk(*tree, Order::Pre), (Visits{{0, 0}, {2, 1}, {4, 1}, {1, 1}, {3, 1}}));
    EXPECT_EQ(tree->GetNumFills(), 5);
    EXPECT_EQ(tree->EsFulla(), 0);
}

TEST_F(TArbreTest, SetFillForgetsOrDestroysTheOldChild) {
    const std::unique_ptr<TArbre> tree(Binary(0, Node(1), Node(2)));
    const std::unique_ptr<TArbre> forgotten(tree->GetFill(0));
    TArbre* fresh = Node(3);
    tree->SetFill(fresh, 0, 0);
    EXPECT_EQ(CountedItem::s_destroyed, Ints());
    tree->SetFill(fresh, 0, 1);
    EXPECT_EQ(CountedItem::s_destroyed, Ints());
    tree->SetFillDret(Node(4), 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2}));
    tree->SetFillEsquerre(nullptr, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2, 3}));
    tree->SetFillEsquerre(Node(5), 1);
    EXPECT_EQ(ValueOf(tree->GetFillEsquerre()->GetItem()), 5);
    EXPECT_EQ(ValueOf(tree->GetFillDret()->GetItem()), 4);
}

TEST_F(TArbreTest, TreureFillHandsOverAndEliminarFillDestroys) {
    const std::unique_ptr<TArbre> tree = Sample();
    tree->InsertarFill(nullptr, 0);
    EXPECT_EQ(tree->TreureFill(0), nullptr);
    const std::unique_ptr<TArbre> taken(tree->TreureFill(1));
    EXPECT_EQ(ValueOf(taken->GetItem()), 4);
    EXPECT_EQ(CountedItem::s_destroyed, Ints());
    tree->InsertarFill(nullptr, -1);
    tree->EliminarFill(1);
    tree->EliminarFill(0);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2, 3}));
    EXPECT_EQ(tree->EsFulla(), 1);
}

TEST_F(TArbreTest, ProtectedFormsAreTheListsCalls) {
    OpenTree tree(nullptr, 0);
    EXPECT_EQ(tree.afegirFill(Node(1)), 0);
    EXPECT_EQ(tree.insertarFill(Node(2), -3), 0);
    EXPECT_EQ(ValueOf(tree.getFill(0)->GetItem()), 2);
    const std::unique_ptr<TArbre> old(tree.setFill(Node(3), 1));
    EXPECT_EQ(ValueOf(old->GetItem()), 1);
    const std::unique_ptr<TArbre> taken(tree.treuFill(0));
    EXPECT_EQ(ValueOf(taken->GetItem()), 2);
    EXPECT_EQ(tree.m_fills.Cnt(), 1);
}

// ---- Walks

TEST_F(TArbreTest, PreorderVisitsTheNodeThenItsChildren) {
    const std::unique_ptr<TArbre> tree = Sample();
    int result;
    EXPECT_EQ(Walk(*tree, Order::Pre, result), (Visits{{1, 0}, {2, 1}, {3, 2}, {4, 1}}));
    EXPECT_EQ(result, 4); // that of the last visit
}

// Kept: below the starting node the order is pre-order.
TEST_F(TArbreTest, PostorderVisitsOnlyTheStartingNodeLast) {
    const std::unique_ptr<TArbre> tree = Sample();
    int result;
    EXPECT_EQ(Walk(*tree, Order::Post, result), (Visits{{2, 1}, {3, 2}, {4, 1}, {1, 0}}));
    EXPECT_EQ(result, 4);
}

TEST_F(TArbreTest, InorderVisitsLeftNodeRight) {
    const std::unique_ptr<TArbre> tree(
        Binary(4, Binary(2, Binary(1, nullptr, nullptr), Binary(3, nullptr, nullptr)),
               Binary(6, nullptr, Binary(7, nullptr, nullptr))));
    int result;
    EXPECT_EQ(Walk(*tree, Order::In, result), (Visits{{1, 2}, {2, 1}, {3, 2}, {4, 0}, {6, 1}, {7, 2}}));
    EXPECT_EQ(result, 0);
}

TEST_F(TArbreTest, InorderOfABinaryNodeWithoutChildrenVisitsTheNode) {
    TArbre node(nullptr, nullptr, nullptr, 0);
    int result;
    EXPECT_EQ(Walk(node, Order::In, result), (Visits{{NOTHING, 0}}));
    EXPECT_EQ(result, 0);
}

TEST_F(TArbreTest, InorderTakesMissingSlotsForNullAndLeavesFurtherOnesOut) {
    const std::unique_ptr<TArbre> tree(Adopt(Node(1), {Adopt(Node(2), {Node(3)}), Node(4), Node(5)}));
    EXPECT_EQ(Walk(*tree, Order::In), (Visits{{3, 2}, {2, 1}, {1, 0}, {4, 1}}));
}

TEST_F(TArbreTest, NullChildrenAreNotVisited) {
    const std::unique_ptr<TArbre> tree(Adopt(Node(1), {nullptr, Node(2), nullptr}));
    EXPECT_EQ(Walk(*tree, Order::Pre), (Visits{{1, 0}, {2, 1}}));
    EXPECT_EQ(Walk(*tree, Order::Post), (Visits{{2, 1}, {1, 0}}));
}

TEST_F(TArbreTest, NegativeResultStopsEveryWalk) {
    const std::unique_ptr<TArbre> tree = Sample();
    int result;
    EXPECT_EQ(Walk(*tree, Order::Pre, result, -3), (Visits{{1, 0}, {2, 1}}));
    EXPECT_EQ(result, -3);
    EXPECT_EQ(Walk(*tree, Order::Post, result, -4), (Visits{{2, 1}}));
    EXPECT_EQ(result, -4);
    EXPECT_EQ(Walk(*tree, Order::In, result, -5), (Visits{{3, 2}, {2, 1}}));
    EXPECT_EQ(result, -5);
    EXPECT_EQ(Walk(*tree->GetFill(0), Order::Pre, result, -6), (Visits{{2, 0}}));
    EXPECT_EQ(result, -6);
    EXPECT_EQ(Walk(*tree->GetFill(0), Order::Post, result, -7), (Visits{{3, 1}, {2, 0}}));
    EXPECT_EQ(result, -7);
    const std::unique_ptr<TArbre> right(Binary(1, nullptr, Binary(2, nullptr, nullptr)));
    EXPECT_EQ(Walk(*right, Order::In, result, -8), (Visits{{1, 0}, {2, 1}}));
    EXPECT_EQ(result, -8);
}

TEST_F(TArbreTest, WorkersStartAtTheDepthTheyAreGiven) {
    OpenTree tree(nullptr, nullptr, nullptr, 0);
    const std::unique_ptr<TArbre> child(Binary(1, nullptr, nullptr));
    tree.SetFill(child.get(), 0, 0);
    g_visits.clear();
    EXPECT_EQ(tree.i_preordre(5, &NoteItem, 0), 2);
    EXPECT_EQ(tree.i_preordre(5, &NoteNode, 0), 4);
    EXPECT_EQ(tree.i_postordre(5, &NoteItem, 0), 6);
    EXPECT_EQ(tree.i_postordre(5, &NoteNode, 0), 8);
    EXPECT_EQ(tree.i_inordre(5, &NoteItem, 0), 0);
    EXPECT_EQ(tree.i_inordre(5, &NoteNode, 0), 0);
    const Visits pre{{NOTHING, 5}, {1, 6}, {NOTHING, 5}, {1, 6}};
    const Visits others{{1, 6}, {NOTHING, 5}, {1, 6}, {NOTHING, 5},
                        {1, 6}, {NOTHING, 5}, {1, 6}, {NOTHING, 5}};
    EXPECT_EQ(Visits(g_visits.begin(), g_visits.begin() + 4), pre);
    EXPECT_EQ(Visits(g_visits.begin() + 4, g_visits.end()), others);
    tree.SetFill(nullptr, 0, 0);
}

TEST_F(TArbreTest, PreorderVisitsChildrenAddedOnTheWay) {
    const std::unique_ptr<TArbre> tree = Sample();
    Ints seen;
    const NodeVisitor visitor = [&](TArbre* node, int) {
        const int value = ValueOf(node->GetItem());
        seen.push_back(value);
        if (value == 3)
            tree->InsertarFill(Node(5), -1);
        return 0;
    };
    EXPECT_EQ(tree->PreordreA(&CallVisitor, UserOf(visitor)), 0);
    EXPECT_EQ(seen, (Ints{1, 2, 3, 4, 5}));
}

TEST_F(TArbreTest, PreorderDoesNotVisitChildrenTakenOutOnTheWay) {
    const std::unique_ptr<TArbre> tree = Sample();
    Ints seen;
    const NodeVisitor visitor = [&](TArbre* node, int) {
        seen.push_back(ValueOf(node->GetItem()));
        if (seen.back() == 3)
            tree->EliminarFill(1);
        return 0;
    };
    EXPECT_EQ(tree->PreordreA(&CallVisitor, UserOf(visitor)), 0);
    EXPECT_EQ(seen, (Ints{1, 2, 3}));
}

// ---- Depth

TEST_F(TArbreTest, AMillionLevelsAreBuiltWalkedClonedAndDestroyed) {
    constexpr int LEVELS = 1000000;
    auto* tree = new TArbre(nullptr, 0);
    for (int i = 1; i < LEVELS; ++i) {
        TArbre* child = std::exchange(tree, new TArbre(i % 1000 == 0 ? new CountedItem(i) : nullptr, 1));
        // Some have siblings on either side.
        if (i % 1000 == 1)
            tree->InsertarFill(Node(i), -1);
        tree->InsertarFill(child, -1);
        if (i % 1000 == 2)
            tree->InsertarFill(Node(i), -1);
    }
    const std::unique_ptr<TItem> clone(tree->Duplicar());
    delete tree;
    int visits = 0;
    int deepest = 0;
    const NodeVisitor visitor = [&](TArbre*, int depth) {
        ++visits;
        deepest = std::max(deepest, depth);
        return 0;
    };
    auto* cloned = static_cast<TArbre*>(clone.get());
    EXPECT_EQ(cloned->PreordreA(&CallVisitor, UserOf(visitor)), 0);
    EXPECT_EQ(visits, LEVELS + 2000);
    EXPECT_EQ(deepest, LEVELS - 1);
    EXPECT_EQ(cloned->PostordreA(&CallVisitor, UserOf(visitor)), 0);
    EXPECT_EQ(visits, 2 * (LEVELS + 2000));
    EXPECT_EQ(CountedItem::s_live, 999 + 2000);
}

TEST_F(TArbreTest, AMillionLevelsToTheLeftAreWalkedInOrder) {
    constexpr int LEVELS = 1000000;
    auto* root = new TArbre(nullptr, nullptr, nullptr, 0);
    for (int i = 1; i < LEVELS; ++i)
        root = i % 2 == 0 ? new TArbre(nullptr, root, nullptr, 0) : new TArbre(nullptr, nullptr, root, 0);
    const std::unique_ptr<TArbre> tree(root);
    int visits = 0;
    const NodeVisitor visitor = [&visits](TArbre*, int) {
        ++visits;
        return 0;
    };
    EXPECT_EQ(tree->InordreA(&CallVisitor, UserOf(visitor)), 0);
    EXPECT_EQ(visits, LEVELS);
}
