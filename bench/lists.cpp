// Lists beside the sequences that a program would use instead: a vector and a deque of owning pointers,
// GLib's pointer array, Boost's flat multiset, and the same algorithms written out on a vector.
#include <benchmark/benchmark.h>
#include <boost/container/flat_set.hpp>
#include <glib.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <random>
#include <vector>

#include "list_peers.h"
#include "sink.h"
#include "TIndicadorEstat.h"
#include "TLlista.h"

// What the peers hold: a polymorphic value of one's own, allocated as usual.
class Plain {
public:
    explicit Plain(int value)
        : m_value(value) {}
    virtual ~Plain() = default;
    virtual int Compare(const Plain* other) const;
    int Get() const { return m_value; }

private:
    int m_value;
};

// Out of line, as the comparison of items is.
__attribute__((noinline)) int Plain::Compare(const Plain* other) const {
    return m_value - other->m_value;
}

namespace {

// A client's item, allocated as usual: what a list costs without the pools.
class ClientItem : public TItem {
public:
    explicit ClientItem(int value)
        : m_value(value) {}
    int Get() const { return m_value; }

private:
    int m_value;
};

void DeletePlain(gpointer item) {
    delete static_cast<Plain*>(item);
}

class PtrArray {
public:
    explicit PtrArray(GDestroyNotify destroy = nullptr)
        : m_array(g_ptr_array_new_with_free_func(destroy)) {}
    PtrArray(const PtrArray&) = delete;
    PtrArray& operator=(const PtrArray&) = delete;
    ~PtrArray() { g_ptr_array_free(m_array, TRUE); }
    operator GPtrArray*() const { return m_array; }

private:
    GPtrArray* m_array;
};

int Count(const benchmark::State& state) {
    return static_cast<int>(state.range(0));
}

std::vector<int> RandomValues(int count) {
    std::mt19937 random(1);
    std::vector<int> values(static_cast<std::size_t>(count));
    for (int& value : values)
        value = static_cast<int>(random() >> 2);
    return values;
}

void Rate(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- append: make the items, append them, destroy everything

template <class Item>
void AppendOurs(benchmark::State& state) {
    for (auto _ : state) {
        TLlista list;
        for (int i = 0; i < Count(state); ++i)
            list.Afegir(new Item(i));
        Keep(list);
    }
    Rate(state);
}

template <class Container>
void AppendPeer(benchmark::State& state) {
    for (auto _ : state) {
        Container list;
        for (int i = 0; i < Count(state); ++i)
            list.push_back(std::make_unique<Plain>(i));
        Keep(list);
    }
    Rate(state);
}

void AppendPtrArray(benchmark::State& state) {
    for (auto _ : state) {
        PtrArray list(&DeletePlain);
        for (int i = 0; i < Count(state); ++i)
            g_ptr_array_add(list, new Plain(i));
        Keep(list);
    }
    Rate(state);
}

// ---- push: append items that exist; stack: push them and take them off again

template <class Item>
std::vector<std::unique_ptr<Item>> MakeItems(int count) {
    std::vector<std::unique_ptr<Item>> items;
    for (int value : RandomValues(count))
        items.push_back(std::make_unique<Item>(value));
    return items;
}

void PushOurs(benchmark::State& state) {
    const auto items = MakeItems<TInt>(Count(state));
    for (auto _ : state) {
        TLlista list;
        for (const auto& item : items)
            list.Afegir(item.get());
        Keep(list);
        list.Done(0);
    }
    Rate(state);
}

template <class Container>
void PushPeer(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    for (auto _ : state) {
        Container list;
        for (const auto& item : items)
            list.push_back(item.get());
        Keep(list);
    }
    Rate(state);
}

void PushPtrArray(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    for (auto _ : state) {
        PtrArray list;
        for (const auto& item : items)
            g_ptr_array_add(list, item.get());
        Keep(list);
    }
    Rate(state);
}

void StackOurs(benchmark::State& state) {
    const auto items = MakeItems<TInt>(Count(state));
    for (auto _ : state) {
        TPila stack;
        for (const auto& item : items)
            stack.push(item.get());
        while (stack.EsBuida() == 0)
            KeepValue(stack.poptop());
    }
    Rate(state);
}

template <class Container>
void StackPeer(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    for (auto _ : state) {
        Container stack;
        for (const auto& item : items)
            stack.push_back(item.get());
        while (!stack.empty()) {
            KeepValue(stack.back());
            stack.pop_back();
        }
    }
    Rate(state);
}

void StackPtrArray(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    for (auto _ : state) {
        PtrArray stack;
        for (const auto& item : items)
            g_ptr_array_add(stack, item.get());
        for (guint left = static_cast<GPtrArray*>(stack)->len; left > 0; --left)
            KeepValue(g_ptr_array_remove_index(stack, left - 1));
    }
    Rate(state);
}

// ---- index: the sum of all values, entry by entry; visit: the same through a callback

struct Filled {
    explicit Filled(int count) {
        for (int value : RandomValues(count)) {
            ours.Afegir(new TInt(value));
            vector.push_back(std::make_unique<Plain>(value));
            deque.push_back(std::make_unique<Plain>(value));
            g_ptr_array_add(array, new Plain(value));
        }
    }
    TLlista ours;
    Vector vector;
    Deque deque;
    PtrArray array{&DeletePlain};
};

const Filled& FilledWith(int count) {
    static std::vector<std::pair<int, std::unique_ptr<Filled>>> all;
    for (const auto& [size, filled] : all)
        if (size == count)
            return *filled;
    all.emplace_back(count, std::make_unique<Filled>(count));
    return *all.back().second;
}

void IndexOurs(benchmark::State& state) {
    const TLlista& list = FilledWith(Count(state)).ours;
    for (auto _ : state) {
        unsigned sum = 0;
        for (int i = 0; i < list.Cnt(); ++i)
            sum += static_cast<unsigned>(static_cast<const TInt*>(list.GetItem(i))->Get());
        Keep(sum);
    }
    Rate(state);
}

template <class Container, Container Filled::*MEMBER>
void IndexPeer(benchmark::State& state) {
    const Container& list = FilledWith(Count(state)).*MEMBER;
    for (auto _ : state) {
        unsigned sum = 0;
        for (std::size_t i = 0; i < list.size(); ++i)
            sum += static_cast<unsigned>(list[i]->Get());
        Keep(sum);
    }
    Rate(state);
}

void IndexPtrArray(benchmark::State& state) {
    const GPtrArray* list = FilledWith(Count(state)).array;
    for (auto _ : state) {
        unsigned sum = 0;
        for (guint i = 0; i < list->len; ++i)
            sum += static_cast<unsigned>(static_cast<const Plain*>(g_ptr_array_index(list, i))->Get());
        Keep(sum);
    }
    Rate(state);
}

int __stdcall AddItem(TItem* item, int, long user) {
    *reinterpret_cast<unsigned*>(user) += static_cast<unsigned>(static_cast<TInt*>(item)->Get());
    return 0;
}
int AddPlain(Plain* item, int, long user) {
    *reinterpret_cast<unsigned*>(user) += static_cast<unsigned>(item->Get());
    return 0;
}
void AddPointer(gpointer item, gpointer user) {
    *static_cast<unsigned*>(user) += static_cast<unsigned>(static_cast<Plain*>(item)->Get());
}

void VisitOurs(benchmark::State& state) {
    const TLlista& list = FilledWith(Count(state)).ours;
    for (auto _ : state) {
        unsigned sum = 0;
        list.Recorrer(&AddItem, 0, reinterpret_cast<long>(&sum), nullptr);
        Keep(sum);
    }
    Rate(state);
}

template <class Container, Container Filled::*MEMBER>
void VisitPeer(benchmark::State& state) {
    const Container& list = FilledWith(Count(state)).*MEMBER;
    for (auto _ : state) {
        unsigned sum = 0;
        VisitAll(list, &AddPlain, reinterpret_cast<long>(&sum));
        Keep(sum);
    }
    Rate(state);
}

void VisitPtrArray(benchmark::State& state) {
    GPtrArray* list = FilledWith(Count(state)).array;
    for (auto _ : state) {
        unsigned sum = 0;
        g_ptr_array_foreach(list, &AddPointer, &sum);
        Keep(sum);
    }
    Rate(state);
}

// A visit that reports to an indicator, beside one that does not.
void ReportOurs(benchmark::State& state) {
    const TLlista& list = FilledWith(Count(state)).ours;
    TIndicadorEstat indicator;
    for (auto _ : state) {
        unsigned sum = 0;
        list.Recorrer(&AddItem, 0, reinterpret_cast<long>(&sum), &indicator);
        Keep(sum);
    }
    Rate(state);
}

// ---- sort: insertion from the last entry, scanning from the front

int __stdcall CompareItems(const TItem* a, const TItem* b, long) {
    return static_cast<const TInt*>(a)->Get() - static_cast<const TInt*>(b)->Get();
}
int ComparePlain(const Plain* a, const Plain* b, long) {
    return a->Get() - b->Get();
}

void SortOurs(benchmark::State& state) {
    const auto items = MakeItems<TInt>(Count(state));
    TLlista list;
    for (const auto& item : items)
        list.Afegir(item.get());
    for (auto _ : state) {
        for (int i = 0; i < Count(state); ++i)
            list.Canviar(items[static_cast<std::size_t>(i)].get(), i);
        list.Ordenar(&CompareItems, 0, nullptr);
        Keep(list);
    }
    list.Done(0);
    Rate(state);
}

void SortWrittenOut(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    std::vector<Plain*> list(items.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < items.size(); ++i)
            list[i] = items[i].get();
        InsertionSort(list, &ComparePlain, 0);
        Keep(list);
    }
    Rate(state);
}

// ---- ordered insertion and search by halves, through the items' own virtual comparison

struct Before {
    bool operator()(const Plain* a, const Plain* b) const { return a->Compare(b) < 0; }
};

void OrderedInsertOurs(benchmark::State& state) {
    const auto items = MakeItems<TInt>(Count(state));
    for (auto _ : state) {
        TLlistaOrdenada list(1);
        for (const auto& item : items)
            list.Afegir(item.get());
        Keep(list);
        list.Done(0);
    }
    Rate(state);
}

void OrderedInsertFlatMultiset(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    for (auto _ : state) {
        boost::container::flat_multiset<Plain*, Before> list;
        for (const auto& item : items)
            list.insert(item.get());
        Keep(list);
    }
    Rate(state);
}

template <class Item, class Order>
std::vector<Item*> Sorted(const std::vector<std::unique_ptr<Item>>& items, Order order) {
    std::vector<Item*> sorted;
    for (const auto& item : items)
        sorted.push_back(item.get());
    std::sort(sorted.begin(), sorted.end(), order);
    return sorted;
}

void SearchOurs(benchmark::State& state) {
    const auto items = MakeItems<TInt>(Count(state));
    TLlistaOrdenada list(1);
    for (TInt* item : Sorted(items, [](const TInt*a, const TInt*b) { return a->Get() < b->Get(); }))
        list.Insertar(item, list.Cnt());
    for (auto _ : state) {
        unsigned sum = 0;
        for (const auto& item : items)
            sum += static_cast<unsigned>(list.BuscarItem(item.get()));
        Keep(sum);
    }
    list.Done(0);
    Rate(state);
}

void SearchLowerBound(benchmark::State& state) {
    const auto items = MakeItems<Plain>(Count(state));
    const std::vector<Plain*> list = Sorted(items, Before());
    for (auto _ : state) {
        unsigned sum = 0;
        for (const auto& item : items) {
            const auto place = std::lower_bound(list.begin(), list.end(), item.get(), Before());
            sum += static_cast<unsigned>(place - list.begin());
        }
        Keep(sum);
    }
    Rate(state);
}

constexpr int LARGE = 1000000;

[[maybe_unused]] const bool registered = [] {
    const auto add = [](const char* name, void (*run)(benchmark::State&), std::initializer_list<int> sizes) {
        for (int size : sizes)
            benchmark::RegisterBenchmark(name, run)->Arg(size);
    };
    const auto sizes = {1000, 10000, 100000};
    const auto largeSizes = {1000, 10000, 100000, LARGE};
    add("lists/append/ours", &AppendOurs<TInt>, sizes);
    add("lists/append/peer-vector", &AppendPeer<Vector>, sizes);
    add("lists/append/peer-deque", &AppendPeer<Deque>, sizes);
    add("lists/append/peer-gptrarray", &AppendPtrArray, sizes);
    add("lists/append-client-class/ours", &AppendOurs<ClientItem>, sizes);
    add("lists/append-client-class/peer-vector", &AppendPeer<Vector>, sizes);
    add("lists/append-client-class/peer-gptrarray", &AppendPtrArray, sizes);
    add("lists/push/ours", &PushOurs, largeSizes);
    add("lists/push/peer-vector", &PushPeer<std::vector<Plain*>>, largeSizes);
    add("lists/push/peer-deque", &PushPeer<std::deque<Plain*>>, largeSizes);
    add("lists/push/peer-gptrarray", &PushPtrArray, largeSizes);
    add("lists/stack/ours", &StackOurs, largeSizes);
    add("lists/stack/peer-vector", &StackPeer<std::vector<Plain*>>, largeSizes);
    add("lists/stack/peer-deque", &StackPeer<std::deque<Plain*>>, largeSizes);
    add("lists/stack/peer-gptrarray", &StackPtrArray, largeSizes);
    add("lists/index/ours", &IndexOurs, sizes);
    add("lists/index/peer-vector", &IndexPeer<Vector, &Filled::vector>, sizes);
    add("lists/index/peer-deque", &IndexPeer<Deque, &Filled::deque>, sizes);
    add("lists/index/peer-gptrarray", &IndexPtrArray, sizes);
    add("lists/visit/ours", &VisitOurs, sizes);
    add("lists/visit/peer-vector", &VisitPeer<Vector, &Filled::vector>, sizes);
    add("lists/visit/peer-deque", &VisitPeer<Deque, &Filled::deque>, sizes);
    add("lists/visit/peer-gptrarray", &VisitPtrArray, sizes);
    add("lists/visit-reporting/ours", &ReportOurs, sizes);
    add("lists/visit-reporting/limit-silent", &VisitOurs, sizes);
    add("lists/sort/ours", &SortOurs, {100, 1000, 4000});
    add("lists/sort/peer-written-out", &SortWrittenOut, {100, 1000, 4000});
    add("lists/ordered-insert/ours", &OrderedInsertOurs, sizes);
    add("lists/ordered-insert/peer-flat-multiset", &OrderedInsertFlatMultiset, sizes);
    add("lists/search/ours", &SearchOurs, sizes);
    add("lists/search/peer-lower-bound", &SearchLowerBound, sizes);
    return true;
}();

} // namespace
