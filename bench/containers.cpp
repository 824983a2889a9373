// Trees beside a struct of one's own with a vector of children; tables beside a vector of rows.
#include "sink.h"

#include <TArbre.h>
#include <TTaula.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

namespace {

int Count(const benchmark::State& state) {
    return static_cast<int>(state.range(0));
}

void Rate(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- Trees: each node hangs below one of the last hundred, so that there are long chains and wide families

std::vector<int> Parents(int count) {
    std::mt19937 random(2);
    std::vector<int> parents{-1};
    for (int i = 1; i < count; ++i)
        parents.push_back(i - 1 - static_cast<int>(random() % 100) % i);
    return parents;
}

// What the peer's nodes hold: a value behind a pointer, as an item is.
struct Value {
    explicit Value(int value)
        : m_value(value) {}
    virtual ~Value() = default;
    int m_value;
};

struct Node {
    std::unique_ptr<Value> value;
    std::vector<std::unique_ptr<Node>> children;
    explicit Node(int number)
        : value(std::make_unique<Value>(number)) {}
};

std::unique_ptr<TArbre> BuildOurs(const std::vector<int>& parents) {
    std::vector<TArbre*> nodes;
    auto root = std::make_unique<TArbre>(new TInt(0), 1);
    nodes.push_back(root.get());
    for (std::size_t i = 1; i < parents.size(); ++i) {
        nodes.push_back(new TArbre(new TInt(static_cast<int>(i)), 1));
        nodes[static_cast<std::size_t>(parents[i])]->InsertarFill(nodes.back(), -1);
    }
    return root;
}

std::unique_ptr<Node> BuildStruct(const std::vector<int>& parents) {
    std::vector<Node*> nodes;
    auto root = std::make_unique<Node>(0);
    nodes.push_back(root.get());
    for (std::size_t i = 1; i < parents.size(); ++i) {
        auto node = std::make_unique<Node>(static_cast<int>(i));
        nodes.push_back(node.get());
        nodes[static_cast<std::size_t>(parents[i])]->children.push_back(std::move(node));
    }
    return root;
}

void TreeBuildOurs(benchmark::State& state) {
    const std::vector<int> parents = Parents(Count(state));
    for (auto _ : state)
        Keep(BuildOurs(parents));
    Rate(state);
}

void TreeBuildStruct(benchmark::State& state) {
    const std::vector<int> parents = Parents(Count(state));
    for (auto _ : state)
        Keep(BuildStruct(parents));
    Rate(state);
}

int __stdcall AddItem(const TItem* item, int, long user) {
    *reinterpret_cast<unsigned*>(user) += static_cast<unsigned>(static_cast<const TInt*>(item)->Get());
    return 0;
}

void TreeWalkOurs(benchmark::State& state) {
    const auto root = BuildOurs(Parents(Count(state)));
    for (auto _ : state) {
        unsigned sum = 0;
        root->Preordre(&AddItem, reinterpret_cast<long>(&sum));
        Keep(sum);
    }
    Rate(state);
}

using Visit = int (*)(const Value*, int, long);

int AddValue(const Value* value, int, long user) {
    *reinterpret_cast<unsigned*>(user) += static_cast<unsigned>(value->m_value);
    return 0;
}

int WalkStruct(const Node& node, int level, Visit visit, long user) {
    int result = visit(node.value.get(), level, user);
    for (std::size_t i = 0; result >= 0 && i < node.children.size(); ++i)
        result = WalkStruct(*node.children[i], level + 1, visit, user);
    return result;
}

void TreeWalkStruct(benchmark::State& state) {
    const auto root = BuildStruct(Parents(Count(state)));
    Visit visit = &AddValue;
    asm volatile("" : "+r"(visit));
    for (auto _ : state) {
        unsigned sum = 0;
        WalkStruct(*root, 0, visit, reinterpret_cast<long>(&sum));
        Keep(sum);
    }
    Rate(state);
}

std::unique_ptr<Node> CloneStruct(const Node& node) {
    auto clone = std::make_unique<Node>(node.value->m_value);
    clone->children.reserve(node.children.size());
    for (const auto& child : node.children)
        clone->children.push_back(CloneStruct(*child));
    return clone;
}

void TreeCloneOurs(benchmark::State& state) {
    const auto root = BuildOurs(Parents(Count(state)));
    for (auto _ : state)
        Keep(std::unique_ptr<TItem>(root->Duplicar()));
    Rate(state);
}

void TreeCloneStruct(benchmark::State& state) {
    const auto root = BuildStruct(Parents(Count(state)));
    for (auto _ : state)
        Keep(CloneStruct(*root));
    Rate(state);
}

// ---- Tables of twenty columns

constexpr int COLUMNS = 20;

// A table whose cells the caller fills.
class Table : public TTaula {
public:
    TItem* _CrearItem(int row, int column) override { return new TInt(row * COLUMNS + column); }
};

using Rows = std::vector<std::vector<std::unique_ptr<Value>>>;

std::vector<std::unique_ptr<Value>> MakeRow(int row) {
    std::vector<std::unique_ptr<Value>> cells;
    cells.reserve(COLUMNS);
    for (int column = 0; column < COLUMNS; ++column)
        cells.push_back(std::make_unique<Value>(row * COLUMNS + column));
    return cells;
}

Rows MakeRows(int count) {
    Rows rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (int row = 0; row < count; ++row)
        rows.push_back(MakeRow(row));
    return rows;
}

void TableBuildOurs(benchmark::State& state) {
    for (auto _ : state) {
        Table table;
        table.ConstruirTaula(Count(state), COLUMNS);
        Keep(table);
    }
    Rate(state);
}

void TableBuildVectors(benchmark::State& state) {
    for (auto _ : state)
        Keep(MakeRows(Count(state)));
    Rate(state);
}

// A row more in the middle, and out again.
void TableInsertOurs(benchmark::State& state) {
    Table table;
    table.ConstruirTaula(Count(state), COLUMNS);
    for (auto _ : state) {
        table.InsertarFiles(Count(state) / 2, 1);
        table.EliminarFiles(Count(state) / 2, 1);
        Keep(table);
    }
}

void TableInsertVectors(benchmark::State& state) {
    Rows rows = MakeRows(Count(state));
    for (auto _ : state) {
        rows.insert(rows.begin() + Count(state) / 2, MakeRow(7));
        rows.erase(rows.begin() + Count(state) / 2);
        Keep(rows);
    }
}

// The same as one block of cells, the form that a table has to have.
void TableInsertBlock(benchmark::State& state) {
    std::vector<std::unique_ptr<Value>> cells;
    for (int row = 0; row < Count(state); ++row)
        for (auto& cell : MakeRow(row))
            cells.push_back(std::move(cell));
    for (auto _ : state) {
        auto row = MakeRow(7);
        const auto at = cells.begin() + Count(state) / 2 * COLUMNS;
        cells.insert(at, std::make_move_iterator(row.begin()), std::make_move_iterator(row.end()));
        const auto gone = cells.begin() + Count(state) / 2 * COLUMNS;
        cells.erase(gone, gone + COLUMNS);
        Keep(cells);
    }
}

void TableSumOurs(benchmark::State& state) {
    Table table;
    table.ConstruirTaula(Count(state), COLUMNS);
    for (auto _ : state) {
        unsigned sum = 0;
        for (int row = 0; row < table.GetNumFiles(); ++row)
            for (int column = 0; column < table.GetNumColumnes(); ++column)
                sum += static_cast<unsigned>(static_cast<const TInt*>(table.GetItem(row, column))->Get());
        Keep(sum);
    }
    Rate(state);
}

void TableSumVectors(benchmark::State& state) {
    const Rows rows = MakeRows(Count(state));
    for (auto _ : state) {
        unsigned sum = 0;
        for (std::size_t row = 0; row < rows.size(); ++row)
            for (std::size_t column = 0; column < rows[row].size(); ++column)
                sum += static_cast<unsigned>(rows[row][column]->m_value);
        Keep(sum);
    }
    Rate(state);
}

[[maybe_unused]] const bool registered = [] {
    const auto add = [](const char* name, void (*run)(benchmark::State&), std::initializer_list<int> sizes) {
        for (int size : sizes)
            benchmark::RegisterBenchmark(name, run)->Arg(size);
    };
    const auto nodes = {1000, 10000, 100000};
    add("containers/tree-build/ours", &TreeBuildOurs, nodes);
    add("containers/tree-build/peer-struct", &TreeBuildStruct, nodes);
    add("containers/tree-walk/ours", &TreeWalkOurs, nodes);
    add("containers/tree-walk/peer-struct", &TreeWalkStruct, nodes);
    add("containers/tree-clone/ours", &TreeCloneOurs, nodes);
    add("containers/tree-clone/peer-struct", &TreeCloneStruct, nodes);
    const auto rows = {10, 100, 1000};
    add("containers/table-build/ours", &TableBuildOurs, rows);
    add("containers/table-build/peer-vectors", &TableBuildVectors, rows);
    add("containers/table-insert/ours", &TableInsertOurs, rows);
    add("containers/table-insert/peer-vectors", &TableInsertVectors, rows);
    add("containers/table-insert/limit-block", &TableInsertBlock, rows);
    add("containers/table-sum/ours", &TableSumOurs, rows);
    add("containers/table-sum/peer-vectors", &TableSumVectors, rows);
    return true;
}();

} // namespace
