// The lists with a rule of their own: ordered, circular, stack and limited stack.
#include <climits>
#include <random>

#include "ListSupport.h"

namespace {

class TLlistaOrdenadaTest : public ListTest {};
class TLlistaCircularTest : public ListTest {};
class TPilaTest : public ListTest {};
class TPilaLimitadaTest : public ListTest {};

// Where the search puts a value, and whether it found one.
struct Place {
    int found;
    int pos;
    bool operator==(const Place&) const = default;
};
Place Find(const TLlistaOrdenada& list, int value) {
    CountedItem item(value);
    Place place{0, -77};
    place.found = list.BuscarPosicio(&item, place.pos);
    EXPECT_EQ(list.BuscarItem(&item), place.found != 0 ? place.pos : -1);
    return place;
}

} // namespace

// ---- TLlistaOrdenada

TEST_F(TLlistaOrdenadaTest, ExampleUsage) {
    TLlistaOrdenada list;
    for (int value : {30, 10, 20})
        list.Afegir(new CountedItem(value));
    EXPECT_EQ(Values(list), (Ints{10, 20, 30}));
    CountedItem wanted(20);
    EXPECT_EQ(list.BuscarItem(&wanted), 1);
}

TEST_F(TLlistaOrdenadaTest, SearchAnswersThePlace) {
    TLlistaOrdenada list;
    EXPECT_EQ(Find(list, 5), (Place{0, 0}));
    Fill(list, {10, 20, 30});
    EXPECT_EQ(Find(list, 25), (Place{0, 2}));
    EXPECT_EQ(Find(list, 5), (Place{0, 0}));
    EXPECT_EQ(Find(list, 35), (Place{0, 3}));
    EXPECT_EQ(Find(list, 10), (Place{1, 0}));
    EXPECT_EQ(Find(list, 20), (Place{1, 1}));
    EXPECT_EQ(Find(list, 30), (Place{1, 2}));
}

TEST_F(TLlistaOrdenadaTest, SearchComparesAtTheHalves) {
    TLlistaOrdenada list;
    Fill(list, {0, 1, 2, 3, 4, 5, 6, 7});
    CountedItem::s_comparisons = 0;
    EXPECT_EQ(Find(list, 3), (Place{1, 3}));
    EXPECT_EQ(CountedItem::s_comparisons, 2); // once for each of the two searches of Find
    CountedItem::s_comparisons = 0;
    EXPECT_EQ(Find(list, 9), (Place{0, 8}));
    EXPECT_EQ(CountedItem::s_comparisons, 8);
}

TEST_F(TLlistaOrdenadaTest, EqualItemReplacesTheOldOne) {
    TLlistaOrdenada list;
    Fill(list, {1, 2, 3});
    TItem* fresh = new CountedItem(2);
    EXPECT_EQ(list.Afegir(fresh), 0);
    EXPECT_EQ(list.Cnt(), 3);
    EXPECT_EQ(list.GetItem(1), fresh);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2}));
}

TEST_F(TLlistaOrdenadaTest, ItemThatIsThereAlreadyStays) {
    TLlistaOrdenada list;
    Fill(list, {1, 2});
    EXPECT_EQ(list.Afegir(list.GetItem(1)), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2}));
}

TEST_F(TLlistaOrdenadaTest, RepeatedItemGoesInFrontOfTheOneFound) {
    TLlistaOrdenada list(1);
    Fill(list, {1, 2, 3});
    TItem* old = list.GetItem(1);
    TItem* fresh = new CountedItem(2);
    EXPECT_EQ(list.Afegir(fresh), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2, 2, 3}));
    EXPECT_EQ(list.GetItem(1), fresh);
    EXPECT_EQ(list.GetItem(2), old);
    EXPECT_EQ(list.PosActual(), 2);
}

TEST_F(TLlistaOrdenadaTest, KeepsAnyNumberOfItemsInOrder) {
    std::mt19937 random(11);
    for (int repeated : {0, 1}) {
        TLlistaOrdenada list(repeated);
        std::vector<int> expected;
        for (int i = 0; i < 1000; ++i) {
            const int value = static_cast<int>(random() % 700);
            list.Afegir(new CountedItem(value));
            const auto place = std::lower_bound(expected.begin(), expected.end(), value);
            if (repeated != 0 || place == expected.end() || *place != value)
                expected.insert(place, value);
        }
        EXPECT_EQ(Values(list), expected);
    }
}

TEST_F(TLlistaOrdenadaTest, OnlyAfegirKeepsTheOrder) {
    TLlistaOrdenada list;
    Fill(list, {2, 1});
    list.Insertar(new CountedItem(9), 0);
    delete list.Canviar(new CountedItem(0), 2);
    EXPECT_EQ(Values(list), (Ints{9, 1, 0}));
    list.Invertir();
    EXPECT_EQ(Values(list), (Ints{0, 1, 9}));
    TLlista source;
    Fill(source, {-5});
    list.Concatenar(&source, -1);
    list.Fusionar(&source, 1);
    EXPECT_EQ(Values(list), (Ints{0, -5, 1, 9, -5}));
}

// The place is found by now: what a derived class makes of positions does not come in between.
TEST_F(TLlistaOrdenadaTest, AfegirGoesPastDerivedOperations) {
    class Refusing : public TLlistaOrdenada {
    public:
        int Insertar(TItem*, int) override { return -7; }
        TItem* Canviar(TItem* item, int) override { return item; }
    };
    Refusing list;
    Fill(list, {2, 1});
    EXPECT_EQ(list.Afegir(new CountedItem(2)), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2}));
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2}));
}

TEST_F(TLlistaOrdenadaTest, NullSortsFirst) {
    TLlistaOrdenada list(1);
    Fill(list, {1});
    EXPECT_EQ(list.CreaBuida(2), 0);
    Fill(list, {-3});
    EXPECT_EQ(Values(list), (Ints{NOTHING, NOTHING, -3, 1}));
    TLlistaOrdenada single;
    EXPECT_EQ(single.CreaBuida(3), 0);
    EXPECT_EQ(single.Cnt(), 1);
    EXPECT_EQ(single.BuscarItem(nullptr), 0);
}

// Kept: reference copies share the storage.
TEST_F(TLlistaOrdenadaTest, ReferenceCopiesTakeTheFlagToo) {
    TLlistaOrdenada list(1);
    Fill(list, {1});
    TLlistaOrdenada copy(list);
    TLlistaOrdenada assigned;
    assigned = list;
    EXPECT_EQ(copy.GetItem(0), list.GetItem(0));
    copy.Init();
    assigned.Init();
    Fill(copy, {4, 4});
    Fill(assigned, {4, 4});
    EXPECT_EQ(copy.Cnt(), 2);
    EXPECT_EQ(assigned.Cnt(), 2);
}

// ---- TLlistaCircular

TEST_F(TLlistaCircularTest, ExampleUsage) {
    TLlistaCircular ring;
    Fill(ring, {1, 2, 3});
    EXPECT_EQ(ValueOf(ring.GetItem(-1)), 3);
    EXPECT_EQ(ValueOf(ring.GetItem(3)), 1);
}

TEST_F(TLlistaCircularTest, PositionsGoRound) {
    TLlistaCircular ring;
    Fill(ring, {1, 2, 3});
    const auto at = [&ring](int pos) {
        EXPECT_EQ(ring.ItemAt(pos), ring.GetItem(pos));
        EXPECT_EQ(ring[pos], ring.GetItem(pos));
        ring.Posicionar(pos);
        EXPECT_EQ(ring.Actual(), ring.GetItem(pos));
        return ValueOf(ring.GetItem(pos));
    };
    EXPECT_EQ(at(0), 1);
    EXPECT_EQ(at(2), 3);
    EXPECT_EQ(at(3), 1);
    EXPECT_EQ(at(7), 2);
    EXPECT_EQ(at(-1), 3);
    EXPECT_EQ(at(-3), 1);
    EXPECT_EQ(at(-6), 1);
    EXPECT_EQ(at(INT_MIN), 2); // 2,147,483,648 entries before the first, of which every third is the first
    EXPECT_EQ(at(INT_MAX), 2);
}

TEST_F(TLlistaCircularTest, EmptyRingHasNoEntry) {
    TLlistaCircular ring;
    EXPECT_EQ(ring.GetItem(0), nullptr);
    EXPECT_EQ(ring.ItemAt(-2), nullptr);
    EXPECT_EQ(ring[5], nullptr);
    ring.Posicionar(5);
    EXPECT_EQ(ring.PosActual(), 0);
    EXPECT_EQ(ring.Eliminar(1), -3);
    EXPECT_EQ(ring.Treure(-1), nullptr);
    EXPECT_EQ(ring.Canviar(nullptr, 2), nullptr);
}

TEST_F(TLlistaCircularTest, NegativePositionIsNeverTheCursor) {
    TLlistaCircular ring;
    Fill(ring, {1, 2, 3, 4});
    ring.Posicionar(0);
    EXPECT_EQ(TakeValue(ring.Canviar(new CountedItem(9), -1)), 4);
    EXPECT_EQ(ring.PosActual(), 3);
    ring.Posicionar(0);
    EXPECT_EQ(TakeValue(ring.Treure(-2)), 3);
    EXPECT_EQ(ring.PosActual(), 2);
    EXPECT_EQ(ring.Eliminar(-3), 0);
    EXPECT_EQ(Values(ring), (Ints{2, 9}));
    EXPECT_EQ(ring.Eliminar(5), 0);
    EXPECT_EQ(Values(ring), (Ints{2}));
}

TEST_F(TLlistaCircularTest, InsertarAtTheCountAppends) {
    TLlistaCircular ring;
    ring.Insertar(new CountedItem(1), 0);
    ring.Insertar(new CountedItem(2), 1);
    ring.Insertar(new CountedItem(3), 3);
    EXPECT_EQ(Values(ring), (Ints{1, 3, 2}));
    EXPECT_EQ(ring.PosActual(), 2);
    ring.Insertar(new CountedItem(4), -1);
    EXPECT_EQ(Values(ring), (Ints{1, 3, 4, 2}));
    ring.Insertar(new CountedItem(5), 9);
    EXPECT_EQ(Values(ring), (Ints{1, 5, 3, 4, 2}));
}

TEST_F(TLlistaCircularTest, FirstEntryMayBeInsertedAnywhere) {
    TLlistaCircular ring;
    ring.Insertar(new CountedItem(1), -4);
    EXPECT_EQ(Values(ring), (Ints{1}));
}

// Kept: the cursor wraps from behind the last entry, not from the last entry.
TEST_F(TLlistaCircularTest, SeguentWrapsOnlyFromBehindTheLast) {
    TLlistaCircular ring;
    Fill(ring, {1, 2, 3});
    EXPECT_EQ(ring.PosActual(), 3);
    EXPECT_EQ(ring.Seguent(), 1);
    EXPECT_EQ(ring.PosActual(), 0);
    EXPECT_EQ(ring.Seguent(), 1);
    EXPECT_EQ(ring.Seguent(), 1);
    EXPECT_EQ(ring.PosActual(), 2);
    EXPECT_EQ(ring.Seguent(), 0);
    EXPECT_EQ(ring.PosActual(), 2);
    EXPECT_EQ(TLlistaCircular().Seguent(), 1);
}

TEST_F(TLlistaCircularTest, PreviWrapsFromTheFirst) {
    TLlistaCircular ring;
    EXPECT_EQ(ring.Previ(), 1);
    EXPECT_EQ(ring.PosActual(), 0);
    Fill(ring, {1, 2, 3});
    ring.Posicionar(0);
    EXPECT_EQ(ring.Previ(), 1);
    EXPECT_EQ(ring.PosActual(), 2);
    EXPECT_EQ(ring.Previ(), 1);
    EXPECT_EQ(ring.PosActual(), 1);
}

TEST_F(TLlistaCircularTest, CopiesOfAnyListFromAPointer) {
    TLlista list;
    Fill(list, {1, 2});
    TLlistaCircular ring(&list);
    EXPECT_EQ(Values(ring), (Ints{1, 2}));
    EXPECT_NE(ring.GetItem(0), list.GetItem(0));
    EXPECT_EQ(ring.PosActual(), 0);
    EXPECT_EQ(TLlistaCircular(nullptr).Cnt(), 0);
}

TEST_F(TLlistaCircularTest, ReferenceCopiesShareTheStorage) {
    TLlistaCircular ring;
    Fill(ring, {1});
    TLlistaCircular copy(ring);
    TLlistaCircular assigned;
    assigned = ring;
    EXPECT_EQ(copy.GetItem(0), ring.GetItem(0));
    EXPECT_EQ(assigned.GetItem(0), ring.GetItem(0));
    copy.Init();
    assigned.Init();
}

// ---- TPila

TEST_F(TPilaTest, ExampleUsage) {
    TPila stack;
    stack.push(new CountedItem(1));
    stack.push(new CountedItem(2));
    EXPECT_EQ(ValueOf(stack.top()), 2);
    TItem* item = stack.poptop();
    EXPECT_EQ(ValueOf(item), 2);
    delete item;
    EXPECT_EQ(stack.pop(), 0);
    EXPECT_EQ(stack.EsBuida(), 1);
}

TEST_F(TPilaTest, PushAppends) {
    TPila stack;
    for (int value : {1, 2, 3})
        EXPECT_EQ(stack.push(new CountedItem(value)), 0);
    EXPECT_EQ(Values(stack), (Ints{1, 2, 3}));
    EXPECT_EQ(stack.PosActual(), 3);
}

TEST_F(TPilaTest, EverythingGoesThroughDerivedOperations) {
    // Its top is the first entry.
    class Reversed : public TPila {
    public:
        int Insertar(TItem* item, int) override { return TPila::Insertar(item, 0); }
        int Eliminar(int) override { return TPila::Eliminar(0); }
        TItem* Treure(int) override { return TPila::Treure(0); }
    };
    Reversed stack;
    for (int value : {1, 2, 3})
        EXPECT_EQ(stack.push(new CountedItem(value)), 0);
    EXPECT_EQ(Values(stack), (Ints{3, 2, 1}));
    EXPECT_EQ(TakeValue(stack.poptop()), 3);
    EXPECT_EQ(stack.pop(), 0);
    EXPECT_EQ(Values(stack), (Ints{1}));
}

TEST_F(TPilaTest, PopDestroysAndPoptopHandsOver) {
    TPila stack;
    Fill(stack, {1, 2, 3});
    EXPECT_EQ(stack.pop(), 0);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{3}));
    EXPECT_EQ(stack.PosActual(), 2);
    TItem* item = stack.poptop();
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{3}));
    EXPECT_EQ(TakeValue(item), 2);
    EXPECT_EQ(Values(stack), (Ints{1}));
}

TEST_F(TPilaTest, EmptyStackHasNothingToPop) {
    TPila stack;
    EXPECT_EQ(stack.pop(), -3);
    EXPECT_EQ(stack.poptop(), nullptr);
    Fill(stack, {1});
    stack.pop();
    EXPECT_EQ(stack.pop(), -3);
    EXPECT_EQ(stack.poptop(), nullptr);
}

TEST_F(TPilaTest, CopyFromAPointerIsDeep) {
    TPila stack;
    Fill(stack, {1, 2});
    TPila copy(&stack);
    EXPECT_EQ(Values(copy), (Ints{1, 2}));
    EXPECT_NE(copy.top(), stack.top());
    EXPECT_EQ(copy.QueSoc(), 5);
    EXPECT_EQ(TPila(static_cast<const TPila*>(nullptr)).Cnt(), 0);
}

TEST_F(TPilaTest, ReferenceCopiesShareTheStorage) {
    TPila stack;
    Fill(stack, {1});
    TPila copy(stack);
    TPila assigned;
    assigned = stack;
    EXPECT_EQ(copy.top(), stack.top());
    EXPECT_EQ(assigned.top(), stack.top());
    copy.Init();
    assigned.Init();
}

// ---- TPilaLimitada

TEST_F(TPilaLimitadaTest, ExampleUsage) {
    TPilaLimitada undo(2);
    for (int value : {1, 2, 3})
        undo.push(new CountedItem(value));
    EXPECT_EQ(Values(undo), (Ints{2, 3}));
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1}));
}

TEST_F(TPilaLimitadaTest, WithoutRoomEveryPushDestroys) {
    for (int limit : {0, -4}) {
        TPilaLimitada stack(limit);
        EXPECT_EQ(stack.push(new CountedItem(1)), 0);
        EXPECT_EQ(stack.push(nullptr), 0);
        EXPECT_EQ(stack.Cnt(), 0);
        EXPECT_EQ(CountedItem::s_live, 0);
    }
}

TEST_F(TPilaLimitadaTest, LowerLimitDestroysTheOldest) {
    TPilaLimitada stack(5);
    EXPECT_EQ(stack.GetTamany(), 5);
    Fill(stack, {1, 2, 3});
    stack.SetTamany(1);
    EXPECT_EQ(stack.GetTamany(), 1);
    EXPECT_EQ(Values(stack), (Ints{3}));
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 2}));
    EXPECT_EQ(stack.PosActual(), 0);
    stack.SetTamany(-1);
    EXPECT_EQ(stack.Cnt(), 0);
    EXPECT_EQ(stack.GetTamany(), -1);
}

TEST_F(TPilaLimitadaTest, HigherLimitKeepsEverything) {
    TPilaLimitada stack(2);
    Fill(stack, {1, 2});
    stack.Posicionar(1);
    stack.SetTamany(3);
    EXPECT_EQ(stack.PosActual(), 1);
    stack.push(new CountedItem(3));
    EXPECT_EQ(Values(stack), (Ints{1, 2, 3}));
}

// Afegir is the list's: it knows no limit. The next push makes up for it.
TEST_F(TPilaLimitadaTest, PushBringsALongerStackBackToTheLimit) {
    TPilaLimitada stack(2);
    for (int value : {1, 2, 3, 4})
        stack.Afegir(new CountedItem(value));
    EXPECT_EQ(stack.Cnt(), 4);
    stack.push(new CountedItem(5));
    EXPECT_EQ(Values(stack), (Ints{4, 5}));
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{1, 2, 3}));
}

TEST_F(TPilaLimitadaTest, ReferenceCopiesTakeTheLimitToo) {
    TPilaLimitada stack(3);
    Fill(stack, {1});
    TPilaLimitada copy(stack);
    TPilaLimitada assigned(9);
    assigned = stack;
    EXPECT_EQ(copy.GetTamany(), 3);
    EXPECT_EQ(assigned.GetTamany(), 3);
    EXPECT_EQ(copy.top(), stack.top());
    copy.Init();
    assigned.Init();
}
