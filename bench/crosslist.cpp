// The cross list beside containers that also find an item's place at once: a list with a hash map, a
// multi-index.
#include "sink.h"

#include <TCrossList.h>

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/identity.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>

#include <algorithm>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

template <class Range>
long Sum(const Range& items) {
    long sum = 0;
    for (const TItem* item : items) {
        sum += static_cast<const TInt*>(item)->Get();
    }
    return sum;
}

struct Ours {
    TCrossList list;
    void Append(TItem* item) { list.InsertLast(item); }
    const void* Find(TItem* item) const { return list.GetNode(item); }
    void Remove(TItem* item) { list.Remove(list.GetNode(item)); }
    void Reverse() { list.Reverse(); }
    long Walk() const {
        long sum = 0;
        for (const TCrossNode* node = list.GetFirst(); node; node = node->GetNext()) {
            sum += static_cast<TInt*>(node->GetItem())->Get();
        }
        return sum;
    }
};

struct ListAndMap {
    std::list<TItem*> list;
    absl::flat_hash_map<TItem*, std::list<TItem*>::iterator> map;
    ~ListAndMap() {
        for (TItem* item : list) {
            delete item;
        }
    }
    void Append(TItem* item) { map[item] = list.insert(list.end(), item); }
    const void* Find(TItem* item) const { return &*map.find(item)->second; }
    void Remove(TItem* item) {
        const auto found = map.find(item);
        list.erase(found->second);
        map.erase(found);
        delete item;
    }
    void Reverse() { list.reverse(); }
    long Walk() const { return Sum(list); }
};

struct MultiIndex {
    using Sequence = boost::multi_index::sequenced<>;
    using ByItem = boost::multi_index::hashed_unique<boost::multi_index::identity<TItem*>>;
    boost::multi_index_container<TItem*, boost::multi_index::indexed_by<Sequence, ByItem>> items;
    ~MultiIndex() {
        for (TItem* item : items) {
            delete item;
        }
    }
    void Append(TItem* item) { items.push_back(item); }
    const void* Find(TItem* item) const { return &*items.get<1>().find(item); }
    void Remove(TItem* item) {
        items.get<1>().erase(item);
        delete item;
    }
    void Reverse() { items.reverse(); }
    long Walk() const { return Sum(items); }
};

template <class List>
std::vector<TItem*> Fill(List& list, int count) {
    std::vector<TItem*> items;
    for (int i = 0; i < count; ++i) {
        items.push_back(new TInt(i));
        list.Append(items.back());
    }
    return items;
}

template <class List>
void Append(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        List list;
        for (int i = 0; i < count; ++i) {
            list.Append(new TInt(i));
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class List>
void Find(benchmark::State& state) {
    List list;
    auto items = Fill(list, static_cast<int>(state.range(0)));
    std::shuffle(items.begin(), items.end(), std::mt19937(3));
    for (auto _ : state) {
        for (TItem* item : items) {
            Keep(list.Find(item));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class List>
void Remove(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto list = std::make_unique<List>();
        auto items = Fill(*list, static_cast<int>(state.range(0)));
        std::shuffle(items.begin(), items.end(), std::mt19937(3));
        state.ResumeTiming();
        for (TItem* item : items) {
            list->Remove(item);
        }
        state.PauseTiming();
        list.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class List>
void Walk(benchmark::State& state) {
    List list;
    Fill(list, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Keep(list.Walk());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class List>
void Reverse(benchmark::State& state) {
    List list;
    Fill(list, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        list.Reverse();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class List>
void RegisterContender(const std::string& contender) {
    const auto add = [&](const std::string& job, void (*function)(benchmark::State&)) {
        for (const int count : {1000, 10000, 100000}) {
            benchmark::RegisterBenchmark(("crosslist/" + job + "/" + contender).c_str(), function)
                ->Arg(count)
                ->Unit(benchmark::kMicrosecond);
        }
    };
    add("append", &Append<List>);
    add("find", &Find<List>);
    add("remove", &Remove<List>);
    add("walk", &Walk<List>);
    add("reverse", &Reverse<List>);
}

[[maybe_unused]] const bool registered = [] {
    RegisterContender<Ours>("ours");
    RegisterContender<ListAndMap>("peer-list-absl");
    RegisterContender<MultiIndex>("peer-multi-index");
    return true;
}();

} // namespace
