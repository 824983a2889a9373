#include <TCrossList.h>
#include <TIndicadorEstat.h>

#include <afx.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "alloc_failure.h"
#include "live_item.h"

namespace {

// Lists that show their inside.
template <class Base>
class Open : public Base {
public:
    using Base::Base;
    using Base::insertHashItem;
    using Base::m_bPropietari;
    using Base::m_bSorted;
    using Base::m_mapItems;
    using Base::m_nCount;
    using Base::m_pFirst;
    using Base::m_pLast;
    using Base::removeHashItem;
};

int Value(const TItem* item) {
    return item ? static_cast<const LiveItem*>(item)->Value() : -1;
}

int __stdcall NeverCalled(TItem*, int, long) {
    ADD_FAILURE();
    return -1;
}

template <class List>
class CrossListTest : public testing::Test {
protected:
    // Appends items of these values; answers their nodes.
    std::vector<TCrossNode*> Fill(std::initializer_list<int> values) {
        std::vector<TCrossNode*> nodes;
        for (int value : values) {
            nodes.push_back(list.InsertLast(new LiveItem(value)));
        }
        return nodes;
    }

    // The values from first to last; every link is checked both ways on the way, the ends and the index too.
    std::vector<int> Values() { return ValuesOf(list); }
    template <class Other>
    static std::vector<int> ValuesOf(Other& other) {
        std::vector<int> values;
        TCrossNode* node = other.GetFirst();
        for (int left = other.Cnt(); left > 0; --left) {
            if (!node) {
                ADD_FAILURE() << "the chain ends early";
                break;
            }
            values.push_back(Value(node->GetItem()));
            EXPECT_EQ(node->GetItem() ? other.GetNode(node->GetItem()) : node, node);
            TCrossNode* next = node->GetNext();
            if (left == 1) {
                EXPECT_EQ(node, other.GetLast());
                EXPECT_EQ(next, other.GetLastNextNode());
            } else if (next) {
                EXPECT_EQ(next->GetPrev(), node);
            }
            node = next;
        }
        if (TCrossNode* first = other.GetFirst()) {
            EXPECT_EQ(first->GetPrev(), other.GetFirstPreviousNode());
        }
        return values;
    }

    const int before = LiveItem::Count();
    Open<List> list;
};

using Ints = std::vector<int>;

using BothLists = testing::Types<TCrossList, TCircularCrossList>;
TYPED_TEST_SUITE(CrossListTest, BothLists);

class TCrossListTest : public CrossListTest<TCrossList> {};
class TCircularCrossListTest : public CrossListTest<TCircularCrossList> {};

TEST_F(TCrossListTest, ExampleUsage) {
    list.AddOrderedElem(new TInt(3));
    list.AddOrderedElem(new TInt(1));
    TItem* two = new TInt(2);
    list.AddOrderedElem(two);
    Ints values;
    for (TCrossNode* node = list.GetFirst(); node; node = list.GetNext(node)) {
        values.push_back(static_cast<TInt*>(node->GetItem())->Get());
    }
    EXPECT_EQ(values, (Ints{1, 2, 3}));
    EXPECT_EQ(list.Remove(list.GetNode(two)), 0);
    EXPECT_EQ(list.Cnt(), 2);
}

// --- both kinds ---

TYPED_TEST(CrossListTest, EmptyList) {
    EXPECT_EQ(this->list.IsEmpty(), 1);
    EXPECT_EQ(this->list.EsBuit(), 0) << "kept: EsBuit is the item's own";
    EXPECT_EQ(this->list.IsSorted(), 1);
    EXPECT_EQ(this->list.m_bPropietari, 1);
    EXPECT_EQ(this->list.GetFirst(), nullptr);
    EXPECT_EQ(this->list.GetLast(), nullptr);
    EXPECT_EQ(this->list.GetNext(nullptr), nullptr);
    EXPECT_EQ(this->list.GetPrev(nullptr), nullptr);
    EXPECT_EQ(this->list.Process(&NeverCalled, 0, 0, nullptr), 0);
}

TYPED_TEST(CrossListTest, InsertionAtEveryPlaceKeepsTheChain) {
    TCrossNode* b = this->list.InsertFirst(new LiveItem(2));
    TCrossNode* d = this->list.InsertLast(new LiveItem(4));
    TCrossNode* a = this->list.InsertFirst(new LiveItem(1));
    ASSERT_NE(this->list.InsertAfter(new LiveItem(3), b->GetItem()), nullptr);
    ASSERT_NE(this->list.InsertAfter(new LiveItem(5), d->GetItem()), nullptr);
    ASSERT_NE(this->list.InsertBefore(new LiveItem(0), a->GetItem()), nullptr);
    ASSERT_NE(this->list.InsertBefore(new LiveItem(35), d->GetItem()), nullptr);
    EXPECT_EQ(this->Values(), (Ints{0, 1, 2, 3, 35, 4, 5}));
    ASSERT_NE(this->list.InsertAfter(new LiveItem(-2), static_cast<TItem*>(nullptr)), nullptr);
    ASSERT_NE(this->list.InsertBefore(new LiveItem(9), static_cast<TItem*>(nullptr)), nullptr);
    EXPECT_EQ(this->Values(), (Ints{-2, 0, 1, 2, 3, 35, 4, 5, 9}));
}

TYPED_TEST(CrossListTest, SecondNodeGoesOnEitherSideOfTheFirst) {
    TCrossNode* one = this->list.InsertLast(new LiveItem(1));
    this->list.InsertBefore(new LiveItem(0), one->GetItem());
    EXPECT_EQ(this->Values(), (Ints{0, 1}));
    Open<TypeParam> other;
    one = other.InsertLast(new LiveItem(1));
    other.InsertAfter(new LiveItem(2), one->GetItem());
    EXPECT_EQ(this->ValuesOf(other), (Ints{1, 2}));
}

TYPED_TEST(CrossListTest, LinkNodesBetweenTwoNeighbours) {
    auto nodes = this->Fill({1, 2, 4});
    auto* node = new TCrossNode;
    node->SetItem(new LiveItem(3));
    EXPECT_EQ(this->list.LinkNodes(nodes[1], node, nodes[2]), node);
    EXPECT_EQ(this->Values(), (Ints{1, 2, 3, 4}));
}

TYPED_TEST(CrossListTest, BadAnchorsLinkNothing) {
    auto nodes = this->Fill({1, 2, 3});
    TCrossNode node;
    EXPECT_EQ(this->list.LinkNodes(nodes[0], &node, nodes[2]), nullptr);
    EXPECT_EQ(this->list.LinkNodes(nullptr, &node, nullptr), nullptr);
    EXPECT_EQ(this->list.LinkNodes(nodes[0], nullptr, nodes[1]), nullptr);
    EXPECT_EQ(this->Values(), (Ints{1, 2, 3}));
}

TYPED_TEST(CrossListTest, UnknownAnchorItemInsertsNothingAndTakesNothing) {
    this->Fill({1});
    LiveItem foreign(7);
    LiveItem fresh(8);
    EXPECT_EQ(this->list.InsertAfter(&fresh, &foreign), nullptr);
    EXPECT_EQ(this->list.InsertBefore(&fresh, &foreign), nullptr);
    EXPECT_EQ(this->list.Cnt(), 1);
}

TYPED_TEST(CrossListTest, NullNodesAndItemsAreNotInserted) {
    EXPECT_EQ(this->list.InsertFirst(static_cast<TCrossNode*>(nullptr)), nullptr);
    EXPECT_EQ(this->list.InsertLast(static_cast<TCrossNode*>(nullptr)), nullptr);
    EXPECT_EQ(this->list.InsertAfter(static_cast<TCrossNode*>(nullptr), nullptr), nullptr);
    EXPECT_EQ(this->list.InsertBefore(static_cast<TCrossNode*>(nullptr), nullptr), nullptr);
    EXPECT_EQ(this->list.InsertAfter(static_cast<TItem*>(nullptr), nullptr), nullptr);
    EXPECT_EQ(this->list.InsertBefore(static_cast<TItem*>(nullptr), nullptr), nullptr);
    EXPECT_EQ(this->list.AddOrderedElem(static_cast<TItem*>(nullptr)), nullptr);
    EXPECT_EQ(this->list.AddOrderedElem(static_cast<TCrossNode*>(nullptr)), nullptr);
    TCrossNode empty;
    EXPECT_EQ(this->list.AddOrderedElem(&empty), nullptr);
    EXPECT_EQ(this->list.Cnt(), 0);
}

TYPED_TEST(CrossListTest, NodesWithoutItemsAreNotIndexed) {
    TCrossNode* none = this->list.InsertLast(static_cast<TItem*>(nullptr));
    ASSERT_NE(none, nullptr);
    ASSERT_NE(this->list.InsertFirst(static_cast<TItem*>(nullptr)), nullptr);
    EXPECT_EQ(none->IsValid(), 0);
    EXPECT_EQ(this->list.Cnt(), 2);
    EXPECT_EQ(this->list.GetNode(nullptr), nullptr);
    EXPECT_EQ(this->list.m_mapItems.GetCount(), 0);
}

TYPED_TEST(CrossListTest, AppendingOutOfOrderClearsTheSortedFlagAndSortSetsIt) {
    this->Fill({1, 3, 2});
    EXPECT_EQ(this->list.IsSorted(), 0);
    EXPECT_EQ(this->list.Sort(), 0);
    EXPECT_EQ(this->Values(), (Ints{1, 2, 3}));
    EXPECT_EQ(this->list.IsSorted(), 1);
}

TYPED_TEST(CrossListTest, SortReversesEqualItems) {
    auto nodes = this->Fill({2, 1, 1, 2});
    this->list.Sort();
    EXPECT_EQ(this->Values(), (Ints{1, 1, 2, 2}));
    EXPECT_EQ(this->list.GetFirst(), nodes[2]);
    EXPECT_EQ(this->list.GetLast(), nodes[0]);
}

TYPED_TEST(CrossListTest, OrderedInsertionGoesBehindEqualItems) {
    TCrossNode* first = this->list.AddOrderedElem(new LiveItem(2));
    TCrossNode* second = this->list.AddOrderedElem(new LiveItem(2));
    EXPECT_EQ(first->GetNext(), second);
    this->list.AddOrderedElem(new LiveItem(1));
    this->list.AddOrderedElem(new LiveItem(3));
    EXPECT_EQ(this->Values(), (Ints{1, 2, 2, 3}));
}

TYPED_TEST(CrossListTest, OrderedInsertionSortsFirst) {
    this->Fill({5, 1});
    this->list.m_bSorted = 0;
    this->list.AddOrderedElem(new LiveItem(3));
    EXPECT_EQ(this->Values(), (Ints{1, 3, 5}));
}

TYPED_TEST(CrossListTest, RemoveDestroysAndPullOutDoesNot) {
    auto nodes = this->Fill({1, 2, 3});
    TItem* two = nodes[1]->GetItem();
    EXPECT_EQ(this->list.Remove(nodes[1]), 0);
    EXPECT_EQ(LiveItem::Count(), this->before + 2);
    EXPECT_EQ(this->list.GetNode(two), nullptr);
    std::unique_ptr<TCrossNode> first(this->list.PullOut(nodes[0]));
    EXPECT_EQ(first.get(), nodes[0]);
    EXPECT_EQ(first->GetNext(), nullptr);
    EXPECT_EQ(first->GetPrev(), nullptr);
    EXPECT_EQ(LiveItem::Count(), this->before + 2);
    EXPECT_EQ(this->Values(), (Ints{3}));
    EXPECT_EQ(this->list.PullOut(nullptr), nullptr);
}

TYPED_TEST(CrossListTest, EndsMoveWhenTheyArePulledOut) {
    auto nodes = this->Fill({1, 2, 3, 4});
    delete this->list.PullOut(nodes[0]);
    EXPECT_EQ(this->Values(), (Ints{2, 3, 4}));
    delete this->list.PullOut(nodes[3]);
    EXPECT_EQ(this->Values(), (Ints{2, 3}));
}

TYPED_TEST(CrossListTest, ReverseTurnsTheOrderAndClearsTheFlag) {
    for (Ints values : {Ints{}, Ints{1}, Ints{1, 2}, Ints{1, 2, 3, 4, 5}}) {
        Open<TypeParam> other;
        for (int value : values) {
            other.InsertLast(new LiveItem(value));
        }
        EXPECT_EQ(other.Reverse(), 0);
        EXPECT_EQ(this->ValuesOf(other), Ints(values.rbegin(), values.rend()));
        EXPECT_EQ(other.IsSorted(), 0);
    }
}

TYPED_TEST(CrossListTest, EveryPairOfNodesChangesPlaces) {
    constexpr int kCount = 4;
    for (int a = 0; a < kCount; ++a) {
        for (int b = 0; b < kCount; ++b) {
            if (a == b) {
                continue;
            }
            Open<TypeParam> other;
            std::vector<TCrossNode*> nodes;
            Ints expected;
            for (int i = 0; i < kCount; ++i) {
                nodes.push_back(other.InsertLast(new LiveItem(i)));
                expected.push_back(i);
            }
            std::swap(expected[a], expected[b]);
            EXPECT_EQ(other.ExChangePositions(nodes[a], nodes[b]), 0);
            EXPECT_EQ(this->ValuesOf(other), expected) << a << " with " << b;
            EXPECT_EQ(other.IsSorted(), 0);
        }
    }
}

TYPED_TEST(CrossListTest, TwoNodesChangePlaces) {
    auto nodes = this->Fill({1, 2});
    EXPECT_EQ(this->list.ExChangePositions(nodes[0], nodes[1]), 0);
    EXPECT_EQ(this->Values(), (Ints{2, 1}));
    EXPECT_EQ(this->list.ExChangePositions(nodes[0], nodes[1]), 0);
    EXPECT_EQ(this->Values(), (Ints{1, 2}));
}

TYPED_TEST(CrossListTest, ConcatenateClonesAndLeavesTheSource) {
    auto nodes = this->Fill({1, 2, 3});
    Open<TCrossList> target;
    EXPECT_EQ(target.Concatenate(&this->list, nullptr), 0);
    EXPECT_EQ(target.Concatenate(&this->list, nodes[1]), 0);
    EXPECT_EQ(this->ValuesOf(target), (Ints{1, 2, 3, 2, 3}));
    EXPECT_EQ(this->Values(), (Ints{1, 2, 3}));
    EXPECT_EQ(LiveItem::Count(), this->before + 8);
    EXPECT_EQ(target.Concatenate(nullptr, nullptr), 0);
    TCrossList empty;
    EXPECT_EQ(target.Concatenate(&empty, nullptr), 0);
}

TYPED_TEST(CrossListTest, JoinMovesNodesAndEmptiesTheSource) {
    auto nodes = this->Fill({1, 2, 3});
    Open<TCrossList> target;
    EXPECT_EQ(target.Join(&this->list, nodes[1]), 0);
    EXPECT_EQ(this->ValuesOf(target), (Ints{2, 3}));
    EXPECT_EQ(this->Values(), (Ints{1}));
    EXPECT_EQ(target.Join(&this->list, nullptr), 0);
    EXPECT_EQ(this->ValuesOf(target), (Ints{2, 3, 1}));
    EXPECT_EQ(this->list.IsEmpty(), 1);
    EXPECT_EQ(LiveItem::Count(), this->before + 3);
    EXPECT_EQ(target.Join(nullptr, nullptr), 0);
    EXPECT_EQ(target.Join(&this->list, nullptr), 0);
}

TYPED_TEST(CrossListTest, JoinIntoTheSameKindKeepsItsShape) {
    this->Fill({1, 2});
    Open<TypeParam> target;
    target.InsertLast(new LiveItem(0));
    target.Join(&this->list, nullptr);
    EXPECT_EQ(this->ValuesOf(target), (Ints{0, 1, 2}));
}

struct Visit {
    std::vector<std::pair<int, int>> seen; // value, index
    int stopAt = -1;                       // value for which the visitor answers -7

    static int __stdcall Call(TItem* item, int index, long user) {
        auto& self = *reinterpret_cast<Visit*>(user);
        self.seen.emplace_back(Value(item), index);
        return Value(item) == self.stopAt ? -7 : index + 100;
    }
};

TYPED_TEST(CrossListTest, ProcessVisitsForwardsWithIndexesEitherWay) {
    this->Fill({10, 20, 30});
    Visit up;
    EXPECT_EQ(this->list.Process(&Visit::Call, 0, reinterpret_cast<long>(&up), nullptr), 102);
    EXPECT_EQ(up.seen, (std::vector<std::pair<int, int>>{{10, 0}, {20, 1}, {30, 2}}));
    Visit down;
    EXPECT_EQ(this->list.Process(&Visit::Call, 1, reinterpret_cast<long>(&down), nullptr), 100);
    EXPECT_EQ(down.seen, (std::vector<std::pair<int, int>>{{10, 2}, {20, 1}, {30, 0}}));
    Visit other;
    this->list.Process(&Visit::Call, 2, reinterpret_cast<long>(&other), nullptr);
    EXPECT_EQ(other.seen, up.seen) << "other bits mean nothing";
}

TYPED_TEST(CrossListTest, ProcessPassesANegativeResultOn) {
    this->Fill({10, 20, 30});
    Visit visit;
    visit.stopAt = 20;
    EXPECT_EQ(this->list.Process(&Visit::Call, 0, reinterpret_cast<long>(&visit), nullptr), -7);
    EXPECT_EQ(visit.seen.size(), 2u);
}

TYPED_TEST(CrossListTest, DoneWithZeroForgetsNodesButNotTheIndex) {
    auto nodes = this->Fill({1, 3, 2});
    this->list.Done(0);
    EXPECT_EQ(this->list.Cnt(), 0);
    EXPECT_EQ(this->list.IsSorted(), 1);
    EXPECT_EQ(LiveItem::Count(), this->before + 3);
    EXPECT_EQ(this->list.GetNode(nodes[1]->GetItem()), nodes[1]);
    for (TCrossNode* node : nodes) {
        delete node;
    }
}

TYPED_TEST(CrossListTest, ListThatDoesNotOwnForgets) {
    std::vector<TCrossNode*> nodes;
    {
        Open<TypeParam> other;
        other.m_bPropietari = 0;
        nodes.push_back(other.InsertLast(new LiveItem(1)));
    }
    EXPECT_EQ(LiveItem::Count(), this->before + 1);
    delete nodes[0];
}

TYPED_TEST(CrossListTest, DestructionDestroysItems) {
    {
        Open<TypeParam> other;
        for (int i = 0; i < 1000; ++i) {
            other.InsertLast(new LiveItem(i));
        }
        EXPECT_EQ(LiveItem::Count(), this->before + 1000);
    }
    EXPECT_EQ(LiveItem::Count(), this->before);
}

TYPED_TEST(CrossListTest, DuplicarClonesIntoAPlainList) {
    this->Fill({3, 1, 2});
    std::unique_ptr<TItem> item(this->list.Duplicar());
    EXPECT_EQ(item->QueSoc(), 8);
    auto* clone = static_cast<TCrossList*>(item.get());
    EXPECT_EQ(this->ValuesOf(*clone), (Ints{3, 1, 2}));
    EXPECT_EQ(clone->GetLast()->GetNext(), nullptr);
    EXPECT_EQ(clone->IsSorted(), 0);
    EXPECT_NE(clone->GetFirst()->GetItem(), this->list.GetFirst()->GetItem());
}

TYPED_TEST(CrossListTest, CopyTakesTheFlagsOver) {
    this->Fill({1});
    this->list.m_bSorted = 0; // though it is in order
    const Open<TypeParam> unsorted(static_cast<const TypeParam*>(&this->list));
    EXPECT_EQ(unsorted.m_bSorted, 0);
    EXPECT_EQ(unsorted.m_bPropietari, 1);
    this->list.m_bSorted = 1;
    this->list.m_bPropietari = 0;
    Open<TypeParam> borrowing(static_cast<const TypeParam*>(&this->list));
    EXPECT_EQ(borrowing.m_bSorted, 1);
    EXPECT_EQ(borrowing.m_bPropietari, 0);
    borrowing.m_bPropietari = 1; // the clones are to go
    this->list.m_bPropietari = 1;
}

TYPED_TEST(CrossListTest, IndexFollowsManyInsertionsAndRemovals) {
    std::vector<TCrossNode*> held;
    unsigned random = 99;
    for (int step = 0; step < 20000; ++step) {
        random = random * 1664525u + 1013904223u;
        if ((random >> 16) % 3 && !held.empty()) {
            const std::size_t at = (random >> 8) % held.size();
            TItem* item = held[at]->GetItem();
            ASSERT_EQ(this->list.GetNode(item), held[at]);
            this->list.Remove(held[at]);
            if (this->list.Cnt() > 0) { // the only node's entry stays in a plain list
                ASSERT_EQ(this->list.GetNode(item), nullptr);
            }
            held[at] = held.back();
            held.pop_back();
        } else {
            for (int i = 0; i < 3; ++i) {
                held.push_back(this->list.InsertLast(new LiveItem(step)));
            }
        }
    }
    for (TCrossNode* node : held) {
        ASSERT_EQ(this->list.GetNode(node->GetItem()), node);
    }
    ASSERT_EQ(static_cast<std::size_t>(this->list.Cnt()), held.size());
}

// Removed entries leave marks in the index, which go when there is no other room left.
TYPED_TEST(CrossListTest, IndexOfASteadyListStaysAsItIs) {
    std::vector<TCrossNode*> held;
    held.reserve(700);
    for (int i = 0; i < 700; ++i) {
        held.push_back(this->list.InsertLast(new LiveItem(i)));
    }
    unsigned random = 5;
    for (int step = 0; step < 30000; ++step) {
        random = random * 1664525u + 1013904223u;
        TCrossNode*& node = held[(random >> 8) % held.size()];
        const TItem* gone = node->GetItem();
        this->list.Remove(node);
        ASSERT_EQ(this->list.GetNode(gone), nullptr);
        node = this->list.InsertLast(new LiveItem(step));
        ASSERT_EQ(this->list.GetNode(node->GetItem()), node);
        ASSERT_EQ(this->list.m_mapItems.GetCount(), 700);
    }
    for (TCrossNode* node : held) {
        ASSERT_EQ(this->list.GetNode(node->GetItem()), node);
    }
}

// More entries than before want memory; as many as there were find room where the removed ones stood.
TYPED_TEST(CrossListTest, PlacesOfRemovedEntriesNeedNoMemory) {
    for (const int count : {5, 12, 90, 190, 1400}) {
        TypeParam steady;
        std::vector<TCrossNode*> held;
        held.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            held.push_back(steady.InsertLast(new LiveItem(i)));
        }
        std::vector<std::unique_ptr<TItem>> items;
        std::vector<std::unique_ptr<TCrossNode>> nodes;
        for (int i = 0; i < 3000; ++i) {
            items.push_back(std::make_unique<LiveItem>(i));
            nodes.push_back(std::make_unique<TCrossNode>());
        }
        {
            FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
            for (int i = 0; i < 3000; ++i) {
                TCrossNode*& node = held[static_cast<std::size_t>(i * 7 % count)];
                std::unique_ptr<TCrossNode> out(steady.PullOut(node));
                node = nodes[static_cast<std::size_t>(i)].release();
                node->SetItem(items[static_cast<std::size_t>(i)].release());
                ASSERT_EQ(steady.InsertFirst(node), node);
            }
        }
        for (TCrossNode* node : held) {
            ASSERT_EQ(steady.GetNode(node->GetItem()), node);
        }
    }
}

TYPED_TEST(CrossListTest, LastNodeInsertedUnderAnItemIsTheOneFound) {
    auto nodes = this->Fill({1, 2});
    TCrossNode twin;
    twin.SetItem(nodes[0]->GetItem());
    EXPECT_EQ(this->list.insertHashItem(&twin), 0);
    EXPECT_EQ(this->list.GetNode(nodes[0]->GetItem()), &twin);
    EXPECT_EQ(this->list.removeHashItem(&twin), 0);
    EXPECT_EQ(this->list.GetNode(nodes[0]->GetItem()), nullptr);
    twin.UnLinkItem();
}

class StoppingIndicator : public TIndicadorEstat {
public:
    explicit StoppingIndicator(int calls)
        : m_left(calls) {}
    int MostrarEstat(double position) override {
        shown.push_back(position);
        return m_left-- > 0 ? 1 : 0;
    }
    std::vector<double> shown;

private:
    int m_left;
};

TYPED_TEST(CrossListTest, CodeMinus5WhenTheIndicatorStopsProcess) {
    this->Fill({1, 2, 3, 4});
    for (int calls : {0, 1}) {
        StoppingIndicator indicator(calls);
        Visit visit;
        EXPECT_EQ(this->list.Process(&Visit::Call, 0, reinterpret_cast<long>(&visit), &indicator), -5);
        EXPECT_EQ(visit.seen.size(), static_cast<std::size_t>(calls)) << "stopped before, or after a visit";
    }
    StoppingIndicator indicator(100);
    Visit visit;
    EXPECT_EQ(this->list.Process(&Visit::Call, 0, reinterpret_cast<long>(&visit), &indicator), 103);
    EXPECT_EQ(indicator.shown, (std::vector<double>{0, .25, .25, .5, .5, .75, .75, 1}));
}

TYPED_TEST(CrossListTest, CodeMinus3ForMissingNodes) {
    EXPECT_EQ(this->list.Remove(nullptr), -3);
    EXPECT_EQ(this->list.insertHashItem(nullptr), -3);
    EXPECT_EQ(this->list.removeHashItem(nullptr), -3);
    TCrossNode empty;
    EXPECT_EQ(this->list.insertHashItem(&empty), -3);
    EXPECT_EQ(this->list.removeHashItem(&empty), -3);
    EXPECT_EQ(empty.SetNextItem(nullptr), -3);
    EXPECT_EQ(empty.SetPrevItem(nullptr), -3);
    EXPECT_EQ(this->list.ExChangePositions(nullptr, &empty), -3);
    EXPECT_EQ(this->list.ExChangePositions(&empty, nullptr), -3);
}

TYPED_TEST(CrossListTest, MemoryExceptionLeavesListAndItemAsTheyWere) {
    const int failures = FailEachAllocation([&] {
        Open<TypeParam> other;
        Ints expected;
        for (int i = 0; i < 20; ++i) {
            auto item = std::make_unique<LiveItem>(i);
            try {
                other.InsertLast(item.get());
                static_cast<void>(item.release());
                expected.push_back(i);
            } catch (CMemoryException* e) {
                e->Delete();
            }
        }
        EXPECT_EQ(this->ValuesOf(other), expected);
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(LiveItem::Count(), this->before);
}

// --- the comparator form of Sort, step by step ---

struct Comparison {
    std::vector<std::pair<int, int>> asked;
    int answer = 0;

    static int __stdcall Call(const TItem* a, const TItem* b, long user) {
        auto& self = *reinterpret_cast<Comparison*>(user);
        self.asked.emplace_back(Value(a), Value(b));
        return self.answer;
    }
};

TEST_F(TCrossListTest, ComparatorSortOfAnEmptyListIsZero) {
    Comparison comparison;
    EXPECT_EQ(list.Sort(&Comparison::Call, reinterpret_cast<long>(&comparison), nullptr), 0);
    EXPECT_TRUE(comparison.asked.empty());
}

TEST_F(TCrossListTest, ComparatorSortOfOneItemEndsInTheInvalidArgumentException) {
    Fill({1});
    Comparison comparison;
    bool caught = false;
    try {
        list.Sort(&Comparison::Call, reinterpret_cast<long>(&comparison), nullptr);
    } catch (CInvalidArgException* e) {
        caught = true;
        e->Delete();
    }
    EXPECT_TRUE(caught);
    EXPECT_TRUE(comparison.asked.empty()) << "nothing was placed that it could be compared with";
    EXPECT_EQ(list.Cnt(), 2) << "the node was appended once more";
    list.Done(1);
    EXPECT_EQ(LiveItem::Count(), before);
}

TEST_F(TCrossListTest, ComparatorSortMovesTheNodeOnInsideItsSearch) {
    Fill({1, 2, 3});
    Comparison comparison;
    comparison.answer = 1;
    EXPECT_THROW(
        {
            try {
                list.Sort(&Comparison::Call, reinterpret_cast<long>(&comparison), nullptr);
            } catch (CInvalidArgException* e) {
                e->Delete();
                throw 0;
            }
        },
        int);
    // 1 is placed; it is compared with itself, 2 is appended; 2 with 1, 3 with 2, and nothing is left to
    // append.
    EXPECT_EQ(comparison.asked, (std::vector<std::pair<int, int>>{{1, 1}, {2, 1}, {3, 2}}));
    list.Done(1);
    EXPECT_EQ(LiveItem::Count(), before);
}

TEST_F(TCrossListTest, ComparatorSortStaysOnTheNodeThatGoesFirst) {
    Fill({1, 2, 3});
    Comparison comparison;
    bool caught = false;
    try {
        list.Sort(&Comparison::Call, reinterpret_cast<long>(&comparison), nullptr);
    } catch (CInvalidArgException* e) {
        caught = true;
        e->Delete();
    }
    EXPECT_TRUE(caught);
    EXPECT_EQ(comparison.asked, (std::vector<std::pair<int, int>>{{1, 1}, {1, 1}}));
    list.Done(1);
    EXPECT_EQ(LiveItem::Count(), before);
}

TEST_F(TCrossListTest, CodeMinus5WhenTheIndicatorStopsTheComparatorSort) {
    Fill({3, 1, 2});
    StoppingIndicator indicator(1);
    Comparison comparison;
    EXPECT_EQ(list.Sort(&Comparison::Call, reinterpret_cast<long>(&comparison), &indicator), -5);
    EXPECT_EQ(Values(), (Ints{3, 1, 2}));
    ASSERT_EQ(indicator.shown.size(), 2u);
    EXPECT_DOUBLE_EQ(indicator.shown[0], 1.0 / 3);
    EXPECT_DOUBLE_EQ(indicator.shown[1], 2.0 / 3);
}

// --- kept oddities ---

TEST_F(TCrossListTest, PulledOutOnlyNodeKeepsItsLinksAndIndexEntry) {
    TCrossNode* node = list.InsertLast(new LiveItem(1));
    node->SetNext(node); // to see that nothing clears it
    EXPECT_EQ(list.PullOut(node), node);
    EXPECT_EQ(list.Cnt(), 0);
    EXPECT_EQ(list.GetFirst(), nullptr);
    EXPECT_EQ(list.GetLast(), nullptr);
    EXPECT_EQ(node->GetNext(), node);
    EXPECT_EQ(list.GetNode(node->GetItem()), node);
    EXPECT_EQ(list.InsertLast(node), node);
    EXPECT_EQ(Values(), (Ints{1}));
}

TEST_F(TCircularCrossListTest, PulledOutOnlyNodeIsForgotten) {
    TCrossNode* node = list.InsertLast(new LiveItem(1));
    EXPECT_EQ(list.PullOut(node), node);
    EXPECT_EQ(node->GetNext(), nullptr);
    EXPECT_EQ(node->GetPrev(), nullptr);
    EXPECT_EQ(list.GetNode(node->GetItem()), nullptr);
    EXPECT_EQ(list.Cnt(), 0);
    delete node;
}

TEST_F(TCircularCrossListTest, OnlyNodePointsToItself) {
    TCrossNode* node = list.InsertLast(new LiveItem(1));
    EXPECT_EQ(node->GetNext(), node);
    EXPECT_EQ(node->GetPrev(), node);
    TCrossNode* second = list.InsertLast(new LiveItem(2));
    EXPECT_EQ(list.GetNext(second), node);
    EXPECT_EQ(list.GetPrev(node), second);
}

TEST_F(TCircularCrossListTest, NeighboursAcrossTheEndsCountForTheSortedFlag) {
    Fill({1, 2});
    EXPECT_EQ(list.IsSorted(), 0) << "2 goes in front of 1, round the end";
}

TEST_F(TCircularCrossListTest, CopyFromAPointerHasOpenEnds) {
    Fill({1, 2});
    TCircularCrossList copy(&list);
    EXPECT_EQ(copy.GetLast()->GetNext(), nullptr);
    EXPECT_EQ(copy.GetFirst()->GetPrev(), nullptr);
    EXPECT_EQ(copy.QueSoc(), 9);
    // Closed by hand, so that the ring can be taken down.
    copy.GetLast()->SetNext(copy.GetFirst());
    copy.GetFirst()->SetPrev(copy.GetLast());
}

TEST_F(TCircularCrossListTest, CopyWithOpenEndsIsDestroyedWhole) {
    Fill({1, 2, 3});
    { TCircularCrossList copy(&list); }
    EXPECT_EQ(LiveItem::Count(), before + 3);
}

TEST_F(TCircularCrossListTest, CodeMinus3ForExchangingANodeWithItself) {
    auto nodes = Fill({1, 2});
    EXPECT_EQ(list.ExChangePositions(nodes[0], nodes[0]), -3);
}

TEST_F(TCrossListTest, ExchangingANodeWithItselfChangesNothing) {
    auto nodes = Fill({1, 2});
    EXPECT_EQ(list.ExChangePositions(nodes[0], nodes[0]), 0);
    EXPECT_EQ(Values(), (Ints{1, 2}));
}

TEST_F(TCircularCrossListTest, ReversingACopyWithOpenEndsJoinsThem) {
    Fill({1, 2, 3});
    TCircularCrossList copy(&list);
    copy.Reverse();
    EXPECT_EQ(ValuesOf(copy), (Ints{3, 2, 1}));
}

TEST_F(TCircularCrossListTest, SortingACopyWithOpenEndsJoinsThem) {
    Fill({3, 1, 2});
    TCircularCrossList copy(&list);
    copy.Sort();
    EXPECT_EQ(ValuesOf(copy), (Ints{1, 2, 3}));
}

TYPED_TEST(CrossListTest, SortDropsNodesWithoutItems) {
    const std::unique_ptr<TCrossNode> first(this->list.InsertLast(static_cast<TItem*>(nullptr)));
    const std::unique_ptr<TCrossNode> second(this->list.InsertLast(static_cast<TItem*>(nullptr)));
    EXPECT_EQ(this->list.Sort(), 0);
    EXPECT_EQ(this->list.Cnt(), 0);
}

TYPED_TEST(CrossListTest, SortWithoutMemoryMovesNothing) {
    this->Fill({3, 1, 2});
    for (int i = 4; i < 100; ++i) {
        this->list.InsertLast(new LiveItem(i));
    }
    const Ints values = this->Values();
    const int failures = FailEachAllocation([&] {
        try {
            this->list.Sort();
        } catch (CMemoryException* error) {
            error->Delete();
            EXPECT_EQ(this->Values(), values);
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(this->list.IsSorted(), 1);
    EXPECT_EQ(this->list.Cnt(), 99);
}

// Of many nodes, so that index and pools have to grow on the way.
TYPED_TEST(CrossListTest, ConcatenateAndJoinWithoutMemoryLoseNothing) {
    constexpr int NODES = 200;
    const auto fill = [](TCrossList& filled) {
        for (int i = 0; i < NODES; ++i) {
            auto item = std::make_unique<LiveItem>(i);
            filled.InsertLast(item.get());
            static_cast<void>(item.release());
        }
    };
    for (bool moves : {false, true}) {
        int thrown = 0;
        const int failures = FailEachAllocation([&] {
            Open<TypeParam> source;
            Open<TypeParam> target;
            try {
                fill(source);
            } catch (CMemoryException* error) {
                error->Delete();
                return;
            }
            try {
                EXPECT_EQ(moves ? target.Join(&source, nullptr) : target.Concatenate(&source, nullptr), 0);
                EXPECT_EQ(target.Cnt(), NODES);
            } catch (CMemoryException* error) {
                error->Delete();
                ++thrown;
            }
            EXPECT_EQ(source.Cnt() + (moves ? target.Cnt() : 0), NODES);
            Ints all = this->ValuesOf(target);
            if (moves) {
                const Ints rest = this->ValuesOf(source);
                all.insert(all.end(), rest.begin(), rest.end());
            }
            for (std::size_t i = 0; i < all.size(); ++i)
                EXPECT_EQ(all[i], static_cast<int>(i));
        });
        EXPECT_GT(failures, 0);
        EXPECT_GT(thrown, 0);
    }
    EXPECT_EQ(LiveItem::Count(), this->before);
}

TYPED_TEST(CrossListTest, CopyWithoutMemoryThrowsOrIsNullAndLeaksNothing) {
    this->Fill({1, 2, 3});
    const int failures = FailEachAllocation([&] {
        bool thrown = false;
        std::unique_ptr<TItem> copy;
        try {
            copy.reset(this->list.Duplicar());
        } catch (CMemoryException* error) {
            error->Delete();
            thrown = true;
        }
        if (copy) {
            EXPECT_FALSE(thrown);
            EXPECT_EQ(static_cast<TCrossList*>(copy.get())->Cnt(), 3);
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(LiveItem::Count(), this->before + 3);
}

// Entries of the index that no node of the list stands for any more must not be destroyed with it.
TEST_F(TCrossListTest, FailedComparatorSortDestroysOnlyTheListsOwnNodes) {
    TCrossNode* gone = list.InsertLast(new LiveItem(7));
    ASSERT_EQ(list.PullOut(gone), gone); // its entry stays
    delete gone;
    Fill({1, 2});
    TCrossNode* later = list.InsertLast(new TCrossNode);
    later->SetItem(new LiveItem(3)); // never indexed
    list.InsertLast(new TCrossNode);
    Comparison comparison;
    comparison.answer = 1;
    bool caught = false;
    try {
        list.Sort(&Comparison::Call, reinterpret_cast<long>(&comparison), nullptr);
    } catch (CInvalidArgException* error) {
        caught = true;
        error->Delete();
    }
    EXPECT_TRUE(caught);
    list.Done(1);
    EXPECT_EQ(LiveItem::Count(), before);
}

// --- nodes ---

TEST(TCrossNodeTest, CopiesByReferenceShareAndByPointerClone) {
    TCrossNode left;
    TCrossNode right;
    TCrossNode node;
    node.SetPrev(&left);
    node.SetNext(&right);
    node.SetItem(new TInt(5));
    {
        TCrossNode shared(node);
        EXPECT_EQ(shared.GetItem(), node.GetItem());
        EXPECT_EQ(shared.GetNext(), &right);
        shared.UnLinkItem();
    }
    const TCrossNode cloned(&node);
    EXPECT_NE(cloned.GetItem(), node.GetItem());
    EXPECT_EQ(static_cast<TInt*>(cloned.GetItem())->Get(), 5);
    EXPECT_EQ(cloned.GetPrev(), &left);
    std::unique_ptr<TCrossNode> duplicate(node.Duplicar());
    EXPECT_EQ(duplicate->GetNext(), &right);
    TCrossNode assigned;
    assigned = node;
    EXPECT_EQ(assigned.GetItem(), nullptr) << "assignment does nothing";
    const TCrossNode fromNull(static_cast<const TCrossNode*>(nullptr));
    EXPECT_EQ(fromNull.IsValid(), 0);
}

TEST(TCrossNodeTest, NeighboursItems) {
    TCrossNode a;
    TCrossNode b;
    a.SetNext(&b);
    b.SetPrev(&a);
    EXPECT_EQ(a.SetNextItem(new TInt(2)), 0);
    EXPECT_EQ(b.SetPrevItem(new TInt(1)), 0);
    EXPECT_EQ(a.GetNextItem(), b.GetItem());
    EXPECT_EQ(b.GetPrevItem(), a.GetItem());
    EXPECT_EQ(a.GetPrevItem(), nullptr);
    EXPECT_EQ(b.GetNextItem(), nullptr);
    EXPECT_EQ(a.IsValid(), 1);
    std::unique_ptr<TItem> item(a.UnLinkItem());
    EXPECT_EQ(a.IsValid(), 0);
}

TEST(TCrossNodeTest, DuplicarIsNullWithoutMemory) {
    TCrossNode node;
    node.SetItem(new TInt(5));
    // The pools hold blocks in store: they have to be used up before an allocation is asked for.
    std::vector<std::unique_ptr<TCrossNode>> clones;
    FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
    while (failure.Failed() == 0 && clones.size() < 100000) {
        clones.emplace_back(node.Duplicar());
    }
    ASSERT_GT(failure.Failed(), 0);
    EXPECT_TRUE(!clones.back() || !clones.back()->GetItem()) << "without a node, or a node without the item";
    clones.pop_back();
    for (const auto& clone : clones) {
        ASSERT_NE(clone, nullptr);
        ASSERT_NE(clone->GetItem(), nullptr);
    }
}

TEST(TCrossListRecords, RingDoesNotPassForAList) {
    TCircularCrossList ring;
    TCrossList plain;
    EXPECT_EQ(plain.QueSoc(), 8);
    EXPECT_EQ(ring.QueSoc(), 9);
    EXPECT_EQ(ring.EsTipus(&TCrossList::m_rttiTCrossList), 0);
    EXPECT_EQ(plain.EsTipus(&TCrossList::m_rttiTCrossList), 1);
    EXPECT_STREQ(TCrossList::m_rttiTCrossList.m_szNom, "TCrossList");
    EXPECT_STREQ(TCircularCrossList::m_rttiTCircularCrossList.m_szNom, "TCircularCrossList");
    EXPECT_EQ(TCircularCrossList::m_rttiTCircularCrossList.m_pPare, &TItem::m_rttiTItem);
}

TEST(TCrossListRecords, SizeAndOrderOfFields) {
    Open<TCrossList> list;
    const auto offset = [&](const void* field) {
        return static_cast<const char*>(field) -
               reinterpret_cast<const char*>(static_cast<TCrossList*>(&list));
    };
    EXPECT_EQ(offset(&list.m_bPropietari), static_cast<std::ptrdiff_t>(sizeof(void*)));
    if (sizeof(void*) == 4) {
        EXPECT_EQ(offset(&list.m_pFirst), 8);
        EXPECT_EQ(offset(&list.m_pLast), 12);
        EXPECT_EQ(offset(&list.m_nCount), 16);
        EXPECT_EQ(offset(&list.m_mapItems), 20);
        EXPECT_EQ(offset(&list.m_bSorted), 48);
        EXPECT_EQ(sizeof(TCrossList), 52u);
        EXPECT_EQ(sizeof(TCircularCrossList), 52u);
        EXPECT_EQ(sizeof(TCrossNode), 16u);
    }
}

} // namespace
