// Items for the tests of containers: they know how many of them are alive and who was destroyed in which
// order.
#pragma once

#include <new>
#include <vector>

#include "TItem.h"

class CountedItem : public TItem {
public:
    explicit CountedItem(int value)
        : m_value(value) {
        ++s_live;
    }
    CountedItem(const CountedItem& other)
        : TItem(other)
        , m_value(other.m_value) {
        ++s_live;
    }
    CountedItem& operator=(const CountedItem&) = delete;
    ~CountedItem() override {
        --s_live;
        s_destroyed.push_back(m_value);
    }

    // Null for the clones that the test makes fail.
    TItem* Duplicar() const override {
        if (s_clonesLeft == 0)
            return nullptr;
        if (s_clonesLeft > 0)
            --s_clonesLeft;
        s_cloned.push_back(m_value);
        return new (std::nothrow) CountedItem(*this);
    }
    int Comparar(const TItem* other) const override {
        ++s_comparisons;
        return m_value - static_cast<const CountedItem*>(other)->m_value;
    }
    int Value() const { return m_value; }

    static void Reset() {
        s_clonesLeft = -1;
        s_comparisons = 0;
        s_destroyed.clear();
        s_cloned.clear();
    }
    // Only so many clones more succeed.
    static void LetClonesFailAfter(int count) { s_clonesLeft = count; }

    static inline int s_live = 0;
    static inline int s_comparisons = 0;
    static inline std::vector<int> s_destroyed;
    static inline std::vector<int> s_cloned;

private:
    static inline int s_clonesLeft = -1;
    int m_value;
};

inline int ValueOf(const TItem* item) {
    return static_cast<const CountedItem*>(item)->Value();
}
