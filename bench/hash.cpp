// The hash table beside the hash maps that a C++ program would take instead, all owning the same items.
#include "sink.h"

#include <THash.h>

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/unordered_map.hpp>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using Keys = std::vector<std::wstring>;

// Words of four to sixteen letters, as option names are.
Keys MixedKeys(int count, unsigned seed) {
    std::mt19937 random(seed);
    Keys keys;
    for (int i = 0; i < count; ++i) {
        std::wstring key;
        for (unsigned left = 4 + random() % 13; left > 0; --left) {
            key += static_cast<wchar_t>((random() % 8 ? L'a' : L'A') + random() % 26);
        }
        keys.push_back(key + std::to_wstring(i % 10));
    }
    return keys;
}

Keys NumberedKeys(int count, unsigned first) {
    Keys keys;
    for (int i = 0; i < count; ++i) {
        keys.push_back(L"element " + std::to_wstring(first + static_cast<unsigned>(i)));
    }
    return keys;
}

Keys MakeKeys(bool numbered, int count, unsigned which) {
    return numbered ? NumberedKeys(count, which * 10000000u) : MixedKeys(count, 1 + which);
}

Keys Shuffled(Keys keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
    return keys;
}

struct Ours {
    THash table;
    explicit Ours(int room) { table.init(static_cast<unsigned>(room)); }
    void Put(const std::wstring& key, TItem* item) { table.put(item, key.c_str()); }
    TItem* Get(const std::wstring& key) const { return table.get(key.c_str()); }
    void Remove(const std::wstring& key) { table.del(key.c_str()); }
};

template <class Map>
struct Peer {
    Map map;
    explicit Peer(int room) { map.reserve(static_cast<std::size_t>(room)); }
    void Put(const std::wstring& key, TItem* item) { map[key].reset(item); }
    TItem* Get(const std::wstring& key) const {
        const auto found = map.find(key);
        return found == map.end() ? nullptr : found->second.get();
    }
    void Remove(const std::wstring& key) { map.erase(key); }
};

using Owner = std::unique_ptr<TItem>;
using Absl = Peer<absl::flat_hash_map<std::wstring, Owner>>;
using Boost = Peer<boost::unordered_map<std::wstring, Owner>>;
using Standard = Peer<std::unordered_map<std::wstring, Owner>>;

template <class Table>
void Fill(Table& table, const Keys& keys) {
    int value = 0;
    for (const std::wstring& key : keys) {
        table.Put(key, new TInt(value++));
    }
}

template <class Table>
void Look(benchmark::State& state, bool numbered, unsigned which) {
    const int count = static_cast<int>(state.range(0));
    const Keys asked = Shuffled(MakeKeys(numbered, count, which));
    Table table(count);
    Fill(table, MakeKeys(numbered, count, 0));
    for (auto _ : state) {
        for (const std::wstring& key : asked) {
            Keep(table.Get(key));
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class Table>
void Build(benchmark::State& state, bool numbered, int room) {
    const int count = static_cast<int>(state.range(0));
    const Keys keys = MakeKeys(numbered, count, 0);
    for (auto _ : state) {
        Table table(room ? room : count);
        Fill(table, keys);
        Keep(table.Get(keys.front()));
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class Table>
void Churn(benchmark::State& state, bool numbered) {
    const int count = static_cast<int>(state.range(0));
    const Keys keys = MakeKeys(numbered, count, 0);
    const Keys order = Shuffled(keys);
    Table table(count);
    Fill(table, keys);
    for (auto _ : state) {
        for (const std::wstring& key : order) {
            table.Remove(key);
            table.Put(key, new TInt(1));
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class Table>
void RegisterContender(const std::string& contender) {
    for (const bool numbered : {false, true}) {
        const std::string kind = numbered ? "numbered" : "mixed";
        const auto add = [&](const std::string& job, auto function) {
            const std::string name = "hash/" + job + "-" + kind + "/" + contender;
            for (const int count : {1000, 10000, 100000}) {
                benchmark::RegisterBenchmark(name.c_str(), function)
                    ->Arg(count)
                    ->Unit(benchmark::kMicrosecond);
            }
        };
        add("hit", [numbered](benchmark::State& state) { Look<Table>(state, numbered, 0); });
        add("miss", [numbered](benchmark::State& state) { Look<Table>(state, numbered, 1); });
        add("build", [numbered](benchmark::State& state) { Build<Table>(state, numbered, 0); });
        add("grown", [numbered](benchmark::State& state) { Build<Table>(state, numbered, 10); });
        add("churn", [numbered](benchmark::State& state) { Churn<Table>(state, numbered); });
    }
}

[[maybe_unused]] const bool registered = [] {
    RegisterContender<Ours>("ours");
    RegisterContender<Absl>("peer-absl");
    RegisterContender<Boost>("peer-boost");
    RegisterContender<Standard>("peer-std");
    return true;
}();

} // namespace
