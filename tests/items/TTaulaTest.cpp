#include "TTaula.h"

#include <climits>
#include <memory>
#include <stdexcept>
#include <utility>

#include "ListSupport.h"

namespace {

class TTaulaTest : public ListTest {};
class TTaulaBoolTest : public ListTest {};

using Rows = std::vector<std::vector<int>>;

// A table whose factory makes counted items, numbered from 100 on in the order of the calls, and notes the
// cells.
class CountedTable : public TTaula {
public:
    using TTaula::m_nColumnes;
    using TTaula::m_nFiles;
    using TTaula::m_ppCeles;

    TItem* _CrearItem(int row, int column) override {
        if (m_left-- == 0)
            throw std::runtime_error("factory");
        m_made.emplace_back(row, column);
        return new CountedItem(99 + static_cast<int>(m_made.size()));
    }

    // A table of counted items whose values are 10 times the row plus the column.
    void Shape(int rows, int columns) {
        ConstruirTaula(rows, columns);
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column)
                SetItem(new CountedItem(10 * row + column), row, column);
        m_made.clear();
        CountedItem::Reset();
    }
    void FailAfter(int count) { m_left = count; }

    std::vector<std::pair<int, int>> m_made;

private:
    int m_left = -1;
};

using Cells = std::vector<std::pair<int, int>>;

Rows Values(const TTaula& table) {
    Rows rows(static_cast<std::size_t>(table.GetNumFiles()));
    for (int row = 0; row < table.GetNumFiles(); ++row)
        for (int column = 0; column < table.GetNumColumnes(); ++column) {
            const TItem* item = table.GetItem(row, column);
            rows[static_cast<std::size_t>(row)].push_back(item == nullptr ? NOTHING : ValueOf(item));
        }
    return rows;
}

Rows Booleans(const TTaulaBool& table) {
    Rows rows(static_cast<std::size_t>(table.GetNumFiles()));
    for (int row = 0; row < table.GetNumFiles(); ++row)
        for (int column = 0; column < table.GetNumColumnes(); ++column)
            rows[static_cast<std::size_t>(row)].push_back(table.Get(row, column));
    return rows;
}

void ExpectEmpty(const CountedTable& table) {
    EXPECT_EQ(table.GetNumFiles(), 0);
    EXPECT_EQ(table.GetNumColumnes(), 0);
    EXPECT_EQ(table.m_ppCeles, nullptr);
    EXPECT_EQ(table.EsBuit(), 1);
}

} // namespace

TEST_F(TTaulaTest, ExampleUsage) {
    TTaula table;
    table.ConstruirTaula(2, 2);
    table.SetItem(new CountedItem(1), 0, 0);
    table.SetItem(new CountedItem(2), 1, 1);
    table.InsertarColumnes(1, 1);
    table.EliminarFiles(0, 1);
    EXPECT_EQ(Values(table), (Rows{{NOTHING, NOTHING, 2}}));
}

TEST_F(TTaulaTest, StartsEmpty) {
    CountedTable table;
    ExpectEmpty(table);
    EXPECT_EQ(table.QueSoc(), 6);
    EXPECT_STREQ(table.GetNomClasse(), L"TTaula");
}

TEST_F(TTaulaTest, CannotBeCloned) {
    TTaula table;
    table.ConstruirTaula(1, 1);
    EXPECT_EQ(table.Duplicar(), nullptr);
    EXPECT_EQ(TTaulaBool().Duplicar(), nullptr);
}

TEST_F(TTaulaTest, BaseFactoryMakesNothing) {
    TTaula table;
    EXPECT_EQ(table._CrearItem(0, 0), nullptr);
    table.ConstruirTaula(2, 2);
    EXPECT_EQ(Values(table), (Rows{{NOTHING, NOTHING}, {NOTHING, NOTHING}}));
}

TEST_F(TTaulaTest, ConstruirTaulaFillsFromTheLastCell) {
    CountedTable table;
    table.ConstruirTaula(2, 3);
    EXPECT_EQ(table.m_made, (Cells{{1, 2}, {1, 1}, {1, 0}, {0, 2}, {0, 1}, {0, 0}}));
    EXPECT_EQ(Values(table), (Rows{{105, 104, 103}, {102, 101, 100}}));
    EXPECT_EQ(table.GetNumFiles(), 2);
    EXPECT_EQ(table.GetNumColumnes(), 3);
    EXPECT_EQ(table.EsBuit(), 0);
}

TEST_F(TTaulaTest, ConstruirTaulaDestroysWhatWasThere) {
    CountedTable table;
    table.Shape(1, 2);
    table.ConstruirTaula(1, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 0}));
    EXPECT_EQ(Values(table), (Rows{{100}}));
}

TEST_F(TTaulaTest, TableWithoutCellsHasItsSizes) {
    CountedTable table;
    table.ConstruirTaula(0, 3);
    EXPECT_EQ(table.GetNumFiles(), 0);
    EXPECT_EQ(table.GetNumColumnes(), 3);
    EXPECT_EQ(table.EsBuit(), 0);
    EXPECT_EQ(table.m_ppCeles, nullptr);
    table.InsertarFiles(0, 1);
    EXPECT_EQ(Values(table), (Rows{{102, 101, 100}}));
}

TEST_F(TTaulaTest, DestruirTaulaDestroysFromTheLastCell) {
    CountedTable table;
    table.Shape(2, 2);
    table.SetItem(nullptr, 1, 0);
    CountedItem::Reset();
    table.DestruirTaula();
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{11, 1, 0}));
    ExpectEmpty(table);
    table.DestruirTaula();
    ExpectEmpty(table);
}

TEST_F(TTaulaTest, DestructorDestroysTheItems) {
    {
        CountedTable table;
        table.Shape(2, 2);
    }
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{11, 10, 1, 0}));
}

TEST_F(TTaulaTest, SetItemDestroysTheOldItemUnlessItIsTheSame) {
    CountedTable table;
    table.Shape(1, 2);
    TItem* item = table.GetItem(0, 1);
    table.SetItem(item, 0, 1);
    EXPECT_EQ(CountedItem::s_destroyed, Ints());
    table.SetItem(new CountedItem(7), 0, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1}));
    table.SetItem(nullptr, 0, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 7}));
    EXPECT_EQ(Values(table), (Rows{{0, NOTHING}}));
}

// Kept: reference copies share the cells.
TEST_F(TTaulaTest, CopyFromAReferenceSharesTheCells) {
    CountedTable table;
    table.Shape(1, 2);
    CountedTable copy(table);
    CountedTable assigned;
    assigned = table;
    for (CountedTable* shared : {&copy, &assigned}) {
        EXPECT_EQ(shared->m_ppCeles, table.m_ppCeles);
        EXPECT_EQ(shared->GetNumFiles(), 1);
        EXPECT_EQ(shared->GetNumColumnes(), 2);
        shared->m_ppCeles = nullptr;
    }
}

// ---- Rows and columns

TEST_F(TTaulaTest, InsertarFilesAnywhere) {
    for (int pos : {-1, 0, 1, 2, 9, INT_MIN, INT_MAX}) {
        CountedTable table;
        table.Shape(2, 2);
        table.InsertarFiles(pos, 2);
        const int at = pos < 0 || pos > 2 ? 2 : pos;
        Rows expected{{0, 1}, {10, 11}};
        expected.insert(expected.begin() + at, {{101, 100}, {103, 102}});
        EXPECT_EQ(Values(table), expected) << pos;
        EXPECT_EQ(table.m_made, (Cells{{at, 1}, {at, 0}, {at + 1, 1}, {at + 1, 0}})) << pos;
        EXPECT_EQ(table.GetNumFiles(), 4);
    }
}

TEST_F(TTaulaTest, InsertarColumnesAnywhere) {
    for (int pos : {-1, 0, 1, 2, 9, INT_MIN, INT_MAX}) {
        CountedTable table;
        table.Shape(2, 2);
        table.InsertarColumnes(pos, 2);
        const int at = pos < 0 || pos > 2 ? 2 : pos;
        Rows expected{{0, 1}, {10, 11}};
        expected[0].insert(expected[0].begin() + at, {102, 103});
        expected[1].insert(expected[1].begin() + at, {100, 101});
        EXPECT_EQ(Values(table), expected) << pos;
        EXPECT_EQ(table.m_made, (Cells{{1, at}, {1, at + 1}, {0, at}, {0, at + 1}})) << pos;
        EXPECT_EQ(table.GetNumColumnes(), 4);
    }
}

TEST_F(TTaulaTest, RowsOfAnEmptyTableHaveNoCells) {
    CountedTable table;
    table.InsertarFiles(-1, 2);
    EXPECT_EQ(table.GetNumFiles(), 2);
    EXPECT_EQ(table.GetNumColumnes(), 0);
    EXPECT_EQ(table.m_ppCeles, nullptr);
    EXPECT_EQ(table.EsBuit(), 0);
    table.InsertarColumnes(0, 1);
    EXPECT_EQ(Values(table), (Rows{{101}, {100}}));
}

TEST_F(TTaulaTest, FactorySeesTheOldSizes) {
    class Watching : public TTaula {
    public:
        TItem* _CrearItem(int, int) override {
            m_seen.emplace_back(GetNumFiles(), GetNumColumnes());
            return nullptr;
        }
        Cells m_seen;
    };
    Watching table;
    table.ConstruirTaula(1, 1);
    table.InsertarFiles(0, 1);
    table.InsertarColumnes(0, 1);
    EXPECT_EQ(table.m_seen, (Cells{{1, 1}, {1, 1}, {2, 1}, {2, 1}}));
}

TEST_F(TTaulaTest, EliminarFilesKeepsTheOthers) {
    CountedTable table;
    table.Shape(3, 2);
    table.EliminarFiles(1, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{11, 10}));
    EXPECT_EQ(Values(table), (Rows{{0, 1}, {20, 21}}));
    table.EliminarFiles(0, 1);
    EXPECT_EQ(Values(table), (Rows{{20, 21}}));
}

TEST_F(TTaulaTest, EliminarColumnesKeepsTheOthers) {
    CountedTable table;
    table.Shape(2, 3);
    table.EliminarColumnes(1, 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 11}));
    EXPECT_EQ(Values(table), (Rows{{0, 2}, {10, 12}}));
    table.EliminarColumnes(1, 1);
    EXPECT_EQ(Values(table), (Rows{{0}, {10}}));
}

// The tail is that of one row or column, cut to what there is: no cell is lost and none is read beyond the
// block.
TEST_F(TTaulaTest, SeveralRowsOrColumnsGoAtOnce) {
    for (int count = 1; count < 4; ++count)
        for (int pos = 0; pos < 4; ++pos) {
            const int gone = std::min(count, 4 - pos);
            CountedTable rows;
            rows.Shape(4, 2);
            rows.EliminarFiles(pos, count);
            Rows expected{{0, 1}, {10, 11}, {20, 21}, {30, 31}};
            expected.erase(expected.begin() + pos, expected.begin() + pos + gone);
            EXPECT_EQ(Values(rows), expected) << pos << " " << count;
            EXPECT_EQ(CountedItem::s_destroyed.size(), 2U * static_cast<unsigned>(gone));

            CountedTable columns;
            columns.Shape(2, 4);
            columns.EliminarColumnes(pos, count);
            expected = {{0, 1, 2, 3}, {10, 11, 12, 13}};
            for (auto& row : expected)
                row.erase(row.begin() + pos, row.begin() + pos + gone);
            EXPECT_EQ(Values(columns), expected) << pos << " " << count;
            EXPECT_EQ(CountedItem::s_destroyed.size(), 2U * static_cast<unsigned>(gone));
        }
}

TEST_F(TTaulaTest, RemovingAllRowsOrColumnsEmptiesTheTable) {
    for (int count : {2, 3, INT_MAX}) {
        CountedTable table;
        table.Shape(2, 2);
        table.EliminarFiles(0, count);
        ExpectEmpty(table);
        EXPECT_EQ(CountedItem::s_destroyed, (Ints{11, 10, 1, 0}));
        table.Shape(2, 2);
        table.EliminarColumnes(1, count);
        ExpectEmpty(table);
        EXPECT_EQ(CountedItem::s_live, 0);
    }
}

TEST_F(TTaulaTest, NumbersWithoutAMeaningChangeNothing) {
    CountedTable table;
    table.Shape(3, 3);
    for (int count : {0, -1, INT_MIN}) {
        table.InsertarFiles(0, count);
        table.InsertarColumnes(0, count);
        table.EliminarFiles(0, count);
        table.EliminarColumnes(0, count);
    }
    for (int pos : {-1, 3, INT_MAX, INT_MIN}) {
        table.EliminarFiles(pos, 1);
        table.EliminarColumnes(pos, 1);
    }
    EXPECT_EQ(Values(table), (Rows{{0, 1, 2}, {10, 11, 12}, {20, 21, 22}}));
    EXPECT_EQ(CountedItem::s_destroyed, Ints());
}

TEST_F(TTaulaTest, FactoryThatThrowsLeavesTheTableAsItWas) {
    CountedTable table;
    table.Shape(2, 2);
    for (int made = 0; made < 4; ++made) {
        table.FailAfter(made);
        EXPECT_THROW(table.InsertarFiles(1, 2), std::runtime_error);
        table.FailAfter(made);
        EXPECT_THROW(table.InsertarColumnes(1, 2), std::runtime_error);
        EXPECT_EQ(Values(table), (Rows{{0, 1}, {10, 11}}));
        EXPECT_EQ(CountedItem::s_live, 4);
    }
}

TEST_F(TTaulaTest, NestedTablesAreDestroyedInTheOrderOfRecursion) {
    {
        CountedTable table;
        table.Shape(1, 3);
        auto* inner = new CountedTable;
        inner->Shape(1, 2);
        auto* list = new TLlista;
        Fill(*list, {50, 51});
        inner->SetItem(list, 0, 0);
        table.SetItem(inner, 0, 1);
        CountedItem::Reset();
    }
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2, 1, 51, 50, 0}));
}

TEST_F(TTaulaTest, AMillionTablesInEachOtherAreDestroyed) {
    auto* top = new TTaula;
    for (int i = 0; i < 1000000; ++i) {
        auto* outer = new TTaula;
        outer->ConstruirTaula(1, 1);
        outer->SetItem(top, 0, 0);
        top = outer;
    }
    delete top;
}

// ---- TTaulaBool

TEST_F(TTaulaBoolTest, ExampleUsage) {
    TTaulaBool table(0);
    table.ConstruirTaula(2, 2);
    table.Set(0, 1, 1);
    table.Swap(1, 0);
    EXPECT_EQ(Booleans(table), (Rows{{0, 1}, {1, 0}}));
}

TEST_F(TTaulaBoolTest, CellsAreTrueUnlessSaidOtherwise) {
    TTaulaBool table;
    table.ConstruirTaula(2, 3);
    EXPECT_EQ(Booleans(table), (Rows{{1, 1, 1}, {1, 1, 1}}));
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 3; ++column)
            EXPECT_EQ(table.GetItem(row, column)->QueSoc(), 10);
    EXPECT_EQ(table.QueSoc(), 6);
}

TEST_F(TTaulaBoolTest, EmptyCellReadsAsTheDefault) {
    TTaulaBool table(7);
    table.ConstruirTaula(1, 2);
    table.SetItem(nullptr, 0, 1);
    EXPECT_EQ(Booleans(table), (Rows{{7, 7}}));
    table.Swap(0, 1);
    EXPECT_EQ(table.GetItem(0, 1), nullptr);
}

TEST_F(TTaulaBoolTest, SetKeepsTheNumberAndMakesTheItemThatIsMissing) {
    TTaulaBool table;
    table.ConstruirTaula(1, 2);
    const TItem* item = table.GetItem(0, 0);
    table.Set(0, 0, -9);
    EXPECT_EQ(table.GetItem(0, 0), item);
    table.SetItem(nullptr, 0, 1);
    table.Set(0, 1, 0);
    EXPECT_NE(table.GetItem(0, 1), nullptr);
    EXPECT_EQ(Booleans(table), (Rows{{-9, 0}}));
}

TEST_F(TTaulaBoolTest, SwapAnswersZeroOrOne) {
    TTaulaBool table(5);
    table.ConstruirTaula(1, 1);
    table.Swap(0, 0);
    EXPECT_EQ(table.Get(0, 0), 0);
    table.Swap(0, 0);
    EXPECT_EQ(table.Get(0, 0), 1);
}

TEST_F(TTaulaBoolTest, NewRowsAndColumnsHoldTheDefault) {
    TTaulaBool table(0);
    table.ConstruirTaula(1, 1);
    table.Set(0, 0, 3);
    table.InsertarFiles(-1, 1);
    table.InsertarColumnes(0, 1);
    EXPECT_EQ(Booleans(table), (Rows{{0, 3}, {0, 0}}));
}

// Kept: reference copies share the cells.
TEST_F(TTaulaBoolTest, ReferenceCopiesTakeTheDefaultToo) {
    class Open : public TTaulaBool {
    public:
        using TTaulaBool::m_bDefecte;
        using TTaulaBool::m_ppCeles;
        using TTaulaBool::TTaulaBool;
    };
    Open table(4);
    table.ConstruirTaula(1, 1);
    Open copy(table);
    Open assigned;
    assigned = table;
    for (Open* shared : {&copy, &assigned}) {
        EXPECT_EQ(shared->m_bDefecte, 4);
        EXPECT_EQ(shared->m_ppCeles, table.m_ppCeles);
        shared->m_ppCeles = nullptr;
    }
}
