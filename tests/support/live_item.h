// An item that counts its living instances, for proving who destroys what.
#pragma once

#include <TItem.h>

// `value` orders the items. The count spans all threads' items; tests that use it run on one thread.
class LiveItem : public TItem {
public:
    explicit LiveItem(int value = 0)
        : m_value(value) {
        ++s_count;
    }
    LiveItem(const LiveItem& other)
        : TItem(other)
        , m_value(other.m_value) {
        ++s_count;
    }
    ~LiveItem() override { --s_count; }

    LiveItem& operator=(const LiveItem&) = default;

    TItem* Duplicar() const override { return new LiveItem(*this); }
    int Comparar(const TItem* other) const override {
        return m_value - static_cast<const LiveItem*>(other)->m_value;
    }

    int Value() const { return m_value; }
    static int Count() { return s_count; }

private:
    int m_value;
    static inline int s_count = 0;
};
