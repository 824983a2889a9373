// What the tests of lists share: lists that show their fields, counted items put in and read back as numbers.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "CountedItem.h"
#include "TLlista.h"

// A list whose fields the test can see and set.
template <class List>
class Open : public List {
public:
    using List::List;
    using List::m_bPropietari;
    using List::m_nActual;
    using List::m_nCapacitat;
    using List::m_nElements;
    using List::m_nIncrement;
    using List::m_ppItems;
};

constexpr int NOTHING = -1000000; // stands for a null entry

inline void Fill(TLlista& list, const std::vector<int>& values) {
    for (int value : values)
        ASSERT_EQ(list.Afegir(value == NOTHING ? nullptr : new CountedItem(value)), 0);
}

inline std::vector<int> Values(const TLlista& list) {
    std::vector<int> values;
    for (int i = 0; i < list.Cnt(); ++i)
        values.push_back(list.GetItem(i) == nullptr ? NOTHING : ValueOf(list.GetItem(i)));
    return values;
}

inline int TakeValue(TItem* item) {
    const int value = item == nullptr ? NOTHING : ValueOf(item);
    delete item;
    return value;
}

// Every test must leave no item behind.
class ListTest : public testing::Test {
protected:
    using Ints = std::vector<int>;

    void SetUp() override {
        ASSERT_EQ(CountedItem::s_live, 0);
        CountedItem::Reset();
    }
    void TearDown() override {
        EXPECT_EQ(CountedItem::s_live, 0);
        CountedItem::Reset();
    }
};
