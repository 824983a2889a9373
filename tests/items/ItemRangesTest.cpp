#include <ItemRanges.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <numeric>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

namespace {

int Value(const TItem* item) {
    return item ? static_cast<const TInt*>(item)->Get() : 0;
}

using Ints = std::vector<int>;

template <class Range>
Ints ValuesOf(const Range& range) {
    Ints values;
    for (TItem* item : range) {
        values.push_back(Value(item));
    }
    return values;
}

static_assert(std::random_access_iterator<mvlib::PositionIterator<mvlib::ListView>>);
static_assert(std::bidirectional_iterator<mvlib::CrossListIterator>);
static_assert(std::forward_iterator<mvlib::HashIterator>);
static_assert(std::ranges::random_access_range<const TLlista>);
static_assert(std::ranges::bidirectional_range<const TCrossList>);
static_assert(std::ranges::forward_range<const THash>);
static_assert(std::ranges::random_access_range<mvlib::TableRows>);
static_assert(std::ranges::random_access_range<TableRow>);

TEST(ItemRanges, ExampleUsage) {
    TLlista list;
    for (int i = 1; i <= 4; ++i) {
        list.Afegir(new TInt(i));
    }
    int sum = 0;
    for (TItem* item : list) {
        sum += Value(item);
    }
    EXPECT_EQ(sum, 10);
    auto found = std::find_if(begin(list), end(list), [](TItem* item) { return Value(item) == 3; });
    ASSERT_NE(found, end(list));
    EXPECT_EQ(found - begin(list), 2);
    EXPECT_EQ(std::ranges::find(begin(list), end(list), list.GetItem(2)), found);
    EXPECT_EQ(std::ranges::count(std::as_const(list), list.GetItem(2)), 1);
}

TEST(ItemRanges, CrossListIteratorStaysAtItsNodeWhileOthersComeAndGo) {
    TCrossList list;
    for (int i = 0; i < 5; ++i) {
        list.InsertLast(new TInt(i));
    }
    const auto third = std::next(begin(list), 2);
    list.Remove(list.GetFirst());
    list.Remove(third.Node()->GetNext());
    list.InsertFirst(new TInt(9));
    EXPECT_EQ(Value(*third), 2);
    EXPECT_EQ(third.Node()->GetNext(), list.GetLast());
    EXPECT_EQ(ValuesOf(list), (Ints{9, 1, 2, 4}));
}

TEST(ItemRanges, ListIteratorIsOfRandomAccess) {
    TLlistaOrdenada list(1);
    for (int i = 0; i < 100; ++i) {
        list.Afegir(new TInt(i * 2));
    }
    const auto first = begin(list);
    EXPECT_EQ(Value(first[5]), 10);
    EXPECT_EQ(Value(*(first + 7)), 14);
    EXPECT_EQ(Value(*(end(list) - 1)), 198);
    const auto at =
        std::lower_bound(first, end(list), 51, [](TItem* item, int value) { return Value(item) < value; });
    EXPECT_EQ(Value(*at), 52);
    EXPECT_TRUE(first < at);
    const Ints back(ValuesOf(list));
    EXPECT_TRUE(std::equal(std::make_reverse_iterator(end(list)), std::make_reverse_iterator(first),
                           back.rbegin(), [](TItem* item, int value) { return Value(item) == value; }));
}

TEST(ItemRanges, NullEntriesAreSeenAsNull) {
    TLlista list;
    list.CreaBuida(3);
    EXPECT_EQ(std::count(begin(list), end(list), nullptr), 3);
}

TEST(ItemRanges, EmptyContainersHaveNothing) {
    TLlista list;
    TCrossList cross;
    TCircularCrossList ring;
    THash raw;
    THash hash;
    hash.init(5);
    TTaula table;
    EXPECT_EQ(begin(list), end(list));
    EXPECT_EQ(begin(cross), end(cross));
    EXPECT_EQ(begin(ring), end(ring));
    EXPECT_EQ(begin(raw), end(raw));
    EXPECT_EQ(begin(hash), end(hash));
    EXPECT_EQ(Rows(table).begin(), Rows(table).end());
}

template <class List>
class CrossRanges : public testing::Test {};
using BothLists = testing::Types<TCrossList, TCircularCrossList>;
TYPED_TEST_SUITE(CrossRanges, BothLists);

TYPED_TEST(CrossRanges, GoThroughEveryNodeOnceBothWays) {
    TypeParam list;
    for (int i = 1; i <= 3; ++i) {
        list.InsertLast(new TInt(i));
    }
    EXPECT_EQ(ValuesOf(list), (Ints{1, 2, 3}));
    Ints back;
    for (auto it = end(list); it != begin(list);) {
        back.push_back(Value(*--it));
    }
    EXPECT_EQ(back, (Ints{3, 2, 1}));
    EXPECT_EQ(begin(list).Node(), list.GetFirst());
}

TEST(ItemRanges, HashGivesEveryKeyOnce) {
    THash table;
    table.init(3);
    std::map<std::wstring, int> expected;
    for (int i = 0; i < 300; ++i) {
        const std::wstring key = L"key " + std::to_wstring(i);
        table.put(new TInt(i), key.c_str());
        expected[key] = i;
    }
    table.put(new TInt(900), L"abcdef", 3);
    expected[L"abc"] = 900;
    table.put(new TInt(901), L"\U0001F600");
    expected[L"\U0001F600"] = 901;
    std::map<std::wstring, int> seen;
    for (const HashElement& element : table) {
        EXPECT_TRUE(seen.emplace(element.Key(), Value(element.item)).second);
    }
    EXPECT_EQ(seen, expected);
}

TEST(ItemRanges, RowsOfATable) {
    TTaulaBool table(1);
    table.ConstruirTaula(2, 3);
    table.Set(1, 2, 5);
    std::vector<Ints> rows;
    for (TableRow row : Rows(table)) {
        EXPECT_EQ(row.size(), 3);
        Ints values;
        for (TItem* cell : row) {
            values.push_back(static_cast<TBool*>(cell)->Get());
        }
        rows.push_back(values);
    }
    EXPECT_EQ(rows, (std::vector<Ints>{{1, 1, 1}, {1, 1, 5}}));
    EXPECT_EQ(std::distance(Rows(table).begin(), Rows(table).end()), 2);
}

} // namespace
