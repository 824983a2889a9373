#include "TLlista.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>
#include <random>
#include <utility>

#include "ListSupport.h"
#include "TIndicadorEstat.h"

namespace {

using List = Open<TLlista>;

class TLlistaTest : public ListTest {};

int __stdcall ByValue(const TItem* a, const TItem* b, long) {
    return ValueOf(a) - ValueOf(b);
}
int __stdcall ByTens(const TItem* a, const TItem* b, long) {
    return ValueOf(a) / 10 - ValueOf(b) / 10;
}
int __stdcall AllEqual(const TItem*, const TItem*, long) {
    return 0;
}
int __stdcall ByUserSign(const TItem* a, const TItem* b, long user) {
    return static_cast<int>(user) * (ValueOf(a) - ValueOf(b));
}

// The pairs that a comparator was asked for, in order.
std::vector<std::pair<int, int>> g_asked;
int __stdcall Noting(const TItem* a, const TItem* b, long) {
    g_asked.emplace_back(ValueOf(a), ValueOf(b));
    return ValueOf(a) - ValueOf(b);
}

// What Recorrer delivers: the function called for every visit stands in `lUser`.
using Visitor = std::function<int(TItem*, int)>;
int __stdcall CallVisitor(TItem* item, int index, long user) {
    return (*reinterpret_cast<const Visitor*>(user))(item, index);
}
int Visit(const TLlista& list, int flags, TIndicadorEstat* indicator, const Visitor& visitor) {
    return list.Recorrer(&CallVisitor, flags, reinterpret_cast<long>(&visitor), indicator);
}

// An indicator that notes the positions shown and cancels after so many of them.
class Watcher : public TIndicadorEstat {
public:
    explicit Watcher(int answersOfGoOn = INT_MAX)
        : m_left(answersOfGoOn) {}
    int MostrarEstat(double position) override {
        m_shown.push_back(position);
        return m_left-- > 0 ? 1 : 0;
    }
    std::vector<double> m_shown;

private:
    int m_left;
};

// Storage as the growth rule gives it, beside which the list is held.
struct Model {
    int capacity = 0;
    int step = 16;

    void Grow(int count, int wanted) {
        if (capacity - count >= wanted)
            return;
        const int needed = count + wanted;
        capacity = (needed / step + 1) * step;
        if (capacity > 2 * step && step < 16384)
            step = std::min(step * 2, 16384);
    }
    void Shrink(int count) {
        if (count == 0) {
            capacity = 0;
            step = 16;
            return;
        }
        const int target = (count / step + 1) * step;
        if (target >= capacity)
            return;
        capacity = target;
        if (target <= step && step > 16)
            step = std::max(step / 2, 16);
    }
};

} // namespace

TEST_F(TLlistaTest, ExampleUsage) {
    TLlista list;
    list.Afegir(new CountedItem(3));
    list.Afegir(new CountedItem(1));
    list.Insertar(new CountedItem(2), 0);
    EXPECT_EQ(Values(list), (Ints{2, 3, 1}));

    list.Ordenar(&ByValue, 0, nullptr);
    EXPECT_EQ(Values(list), (Ints{1, 2, 3}));

    // The cursor walks.
    int sum = 0;
    for (int more = list.Principi(); more != 0; more = list.Seguent())
        sum += ValueOf(list.Actual());
    EXPECT_EQ(sum, 6);

    // Treure hands an item over, Eliminar destroys it, and the list destroys what is left in it.
    TItem* first = list.Treure(0);
    EXPECT_EQ(ValueOf(first), 1);
    delete first;
    list.Eliminar(0);
    EXPECT_EQ(Values(list), (Ints{3}));
}

// ---- Construction, storage and ownership

TEST_F(TLlistaTest, StartsEmptyAndOwningWithoutStorage) {
    List list;
    EXPECT_EQ(list.Cnt(), 0);
    EXPECT_EQ(list.EsBuida(), 1);
    EXPECT_EQ(list.EsBuit(), 1);
    EXPECT_EQ(list.m_bPropietari, 1);
    EXPECT_EQ(list.m_nCapacitat, 0);
    EXPECT_EQ(list.m_nIncrement, 16);
    EXPECT_EQ(list.m_nActual, 0);
    EXPECT_EQ(list.m_ppItems, nullptr);
}

TEST_F(TLlistaTest, StorageGrowsByASteppedRule) {
    List list;
    list.Afegir(nullptr);
    EXPECT_EQ(list.m_nCapacitat, 16);
    EXPECT_EQ(list.m_nIncrement, 16);
    EXPECT_EQ(list.EsBuida(), 0);
    EXPECT_EQ(list.EsBuit(), 0);
    list.CreaBuida(15);
    EXPECT_EQ(list.Cnt(), 16);
    EXPECT_EQ(list.m_nCapacitat, 16);
    list.Afegir(nullptr);
    EXPECT_EQ(list.m_nCapacitat, 32);
    EXPECT_EQ(list.m_nIncrement, 16);
    for (int i = 17; i < 33; ++i)
        list.Afegir(nullptr);
    EXPECT_EQ(list.m_nCapacitat, 48);
    EXPECT_EQ(list.m_nIncrement, 32);
}

// A size that is a multiple of the step already gets one step more.
TEST_F(TLlistaTest, GrowthLeavesAtLeastOneSlotFree) {
    List list;
    list.CreaBuida(16);
    EXPECT_EQ(list.m_nCapacitat, 32);
    EXPECT_EQ(list.m_nIncrement, 16);
}

TEST_F(TLlistaTest, EntriesAndStorageFollowTheRulesWhateverIsDone) {
    List list;
    Model model;
    Ints expected;
    std::mt19937 random(7);
    const auto check = [&] {
        ASSERT_EQ(Values(list), expected);
        ASSERT_EQ(list.m_nCapacitat, model.capacity) << list.Cnt();
        ASSERT_EQ(list.m_nIncrement, model.step) << list.Cnt();
        for (int i = list.Cnt(); i < list.m_nCapacitat; ++i)
            ASSERT_EQ(list.m_ppItems[i], nullptr);
    };
    for (int round = 0; round < 60; ++round) {
        const int wanted = static_cast<int>(random() % 3000);
        if (random() % 2 == 0) {
            for (int i = 0; i < wanted; ++i) {
                const int pos = static_cast<int>(random() % 4000);
                const int place = std::min(pos, list.Cnt());
                model.Grow(list.Cnt(), 1);
                EXPECT_EQ(list.Insertar(new CountedItem(i), pos), 0);
                EXPECT_EQ(list.PosActual(), place + 1);
                expected.insert(expected.begin() + place, i);
            }
        } else {
            for (int i = 0; i < wanted && list.Cnt() > 0; ++i) {
                const int pos = static_cast<int>(random() % static_cast<unsigned>(list.Cnt()));
                if (i % 2 == 0)
                    EXPECT_EQ(list.Eliminar(pos), 0);
                else
                    EXPECT_EQ(TakeValue(list.Treure(pos)), expected[static_cast<std::size_t>(pos)]);
                EXPECT_EQ(list.PosActual(), pos);
                expected.erase(expected.begin() + pos);
                model.Shrink(list.Cnt());
            }
        }
        check();
        EXPECT_EQ(CountedItem::s_live, list.Cnt());
    }
}

TEST_F(TLlistaTest, StepEndsAtItsLimit) {
    List list;
    Model model;
    for (int i = 0; i < 70000; ++i) {
        model.Grow(i, 1);
        list.Afegir(nullptr);
    }
    EXPECT_EQ(list.m_nIncrement, 16384);
    EXPECT_EQ(list.m_nCapacitat, model.capacity);
    while (list.Cnt() > 0) {
        list.Eliminar(list.Cnt() - 1);
        model.Shrink(list.Cnt());
        ASSERT_EQ(list.m_nCapacitat, model.capacity);
        ASSERT_EQ(list.m_nIncrement, model.step);
    }
    EXPECT_EQ(list.m_nCapacitat, 0);
    EXPECT_EQ(list.m_nIncrement, 16);
    EXPECT_EQ(list.m_ppItems, nullptr);
}

// What is really allocated takes greater steps; neither the rule nor an entry shows it.
TEST_F(TLlistaTest, LargeArraysFollowTheRuleToo) {
    constexpr int COUNT = 2300000;
    static_assert(COUNT > 2 << 20);
    // Stands for item `i`; nobody looks into it.
    const auto stand = [](int i) {
        return reinterpret_cast<TItem*>((static_cast<std::uintptr_t>(i) + 1) * 8);
    };
    List list;
    Model model;
    list.m_bPropietari = 0;
    for (int i = 0; i < COUNT; ++i) {
        model.Grow(i, 1);
        ASSERT_EQ(list.Afegir(stand(i)), 0);
        ASSERT_EQ(list.m_nCapacitat, model.capacity);
    }
    for (int i = COUNT; i < list.m_nCapacitat; ++i)
        ASSERT_EQ(list.m_ppItems[i], nullptr);
    for (int i = COUNT - 1; i >= 0; --i) {
        ASSERT_EQ(list.Treure(i), stand(i));
        model.Shrink(i);
        ASSERT_EQ(list.m_nCapacitat, model.capacity);
        ASSERT_EQ(list.m_nIncrement, model.step);
    }
    EXPECT_EQ(list.m_ppItems, nullptr);
}

TEST_F(TLlistaTest, LargeArrayMadeAtOnceHasAllItsSlots) {
    List list;
    for (int wanted : {(1 << 20) - 20, 40, (1 << 20) + 3}) {
        Model model{list.m_nCapacitat, list.m_nIncrement};
        model.Grow(list.Cnt(), wanted);
        ASSERT_EQ(list.CreaBuida(wanted), 0);
        EXPECT_EQ(list.m_nCapacitat, model.capacity);
        EXPECT_EQ(list.m_nIncrement, model.step);
        for (int i = 0; i < list.m_nCapacitat; ++i)
            ASSERT_EQ(std::exchange(list.m_ppItems[i], nullptr), nullptr);
    }
}

TEST_F(TLlistaTest, DestructorDestroysFromTheLastToTheFirst) {
    {
        TLlista list;
        Fill(list, {1, 2, NOTHING, 3});
    }
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{3, 2, 1}));
}

TEST_F(TLlistaTest, ListThatDoesNotOwnLeavesItsItemsAlone) {
    CountedItem item(1);
    {
        List list;
        list.m_bPropietari = 0;
        list.Afegir(&item);
    }
    EXPECT_EQ(CountedItem::s_live, 1);
}

TEST_F(TLlistaTest, DoneDestroysOrForgets) {
    List list;
    Fill(list, {1, 2});
    list.Posicionar(1);
    list.Done(1);
    EXPECT_EQ(CountedItem::s_live, 0);
    EXPECT_EQ(list.Cnt(), 0);
    EXPECT_EQ(list.m_nCapacitat, 0);
    EXPECT_EQ(list.PosActual(), 0);
    EXPECT_EQ(list.m_ppItems, nullptr);

    CountedItem item(3);
    list.m_bPropietari = 0;
    list.Afegir(&item);
    list.Done(0);
    EXPECT_EQ(CountedItem::s_live, 1);
    EXPECT_EQ(list.Cnt(), 0);
    EXPECT_EQ(list.m_bPropietari, 0);
}

TEST_F(TLlistaTest, DoneWithoutStorageDoesNothing) {
    List list;
    list.Posicionar(5);
    list.Done(1);
    EXPECT_EQ(list.PosActual(), 5);
}

TEST_F(TLlistaTest, InitForgetsTheStorage) {
    List list;
    Fill(list, {1, 2});
    List twin(list);
    list.m_bPropietari = 0;
    list.Init();
    EXPECT_EQ(list.Cnt(), 0);
    EXPECT_EQ(list.m_nCapacitat, 0);
    EXPECT_EQ(list.m_nIncrement, 16);
    EXPECT_EQ(list.PosActual(), 0);
    EXPECT_EQ(list.m_ppItems, nullptr);
    EXPECT_EQ(list.m_bPropietari, 0);
    EXPECT_EQ(Values(twin), (Ints{1, 2}));
}

TEST_F(TLlistaTest, CreaBuidaAppendsNullEntries) {
    TLlista list;
    Fill(list, {1});
    EXPECT_EQ(list.CreaBuida(2), 0);
    EXPECT_EQ(Values(list), (Ints{1, NOTHING, NOTHING}));
    EXPECT_EQ(list.CreaBuida(0), 0);
    EXPECT_EQ(list.CreaBuida(-3), 0);
    EXPECT_EQ(list.Cnt(), 3);
}

TEST_F(TLlistaTest, CreaBuidaGoesThroughADerivedAfegir) {
    class Refusing : public TLlista {
    public:
        int Afegir(TItem* item) override { return Cnt() < 2 ? TLlista::Afegir(item) : -7; }
    };
    Refusing list;
    EXPECT_EQ(list.CreaBuida(5), -7);
    EXPECT_EQ(list.Cnt(), 2);
}

TEST_F(TLlistaTest, AfegirGoesThroughADerivedInsertar) {
    class AtTheFront : public TLlista {
    public:
        int Insertar(TItem* item, int) override { return TLlista::Insertar(item, 0); }
    };
    AtTheFront list;
    Fill(list, {1, 2, 3});
    EXPECT_EQ(Values(list), (Ints{3, 2, 1}));
}

// ---- Copies

TEST_F(TLlistaTest, CopyFromAPointerClonesTheItems) {
    List list;
    Fill(list, {1, NOTHING, 2});
    list.Posicionar(2);
    List copy(&list);
    EXPECT_EQ(Values(copy), (Ints{1, NOTHING, 2}));
    EXPECT_NE(copy.GetItem(0), list.GetItem(0));
    EXPECT_EQ(copy.PosActual(), 0);
    EXPECT_EQ(copy.m_bPropietari, 1);
    EXPECT_EQ(copy.m_nCapacitat, 16);
    EXPECT_EQ(CountedItem::s_cloned, (Ints{1, 2}));
    EXPECT_EQ(CountedItem::s_live, 4);
}

TEST_F(TLlistaTest, CopyFromANullPointerIsEmpty) {
    List copy(static_cast<const TLlista*>(nullptr));
    EXPECT_EQ(copy.Cnt(), 0);
    EXPECT_EQ(copy.m_ppItems, nullptr);
    EXPECT_EQ(copy.m_bPropietari, 1);
}

TEST_F(TLlistaTest, CopyOfAnEmptyListHasNoStorage) {
    List list;
    List copy(&list);
    EXPECT_EQ(copy.m_ppItems, nullptr);
    EXPECT_EQ(copy.m_nCapacitat, 0);
}

TEST_F(TLlistaTest, CopyTakesTheOwnershipFlag) {
    CountedItem item(1);
    List list;
    list.m_bPropietari = 0;
    list.Afegir(&item);
    List copy(&list);
    EXPECT_EQ(copy.m_bPropietari, 0);
    delete copy.Treure(0);
}

TEST_F(TLlistaTest, CopyStoresNullForACloneThatFails) {
    TLlista list;
    Fill(list, {1, 2, 3});
    CountedItem::LetClonesFailAfter(1);
    TLlista copy(&list);
    EXPECT_EQ(Values(copy), (Ints{1, NOTHING, NOTHING}));
}

TEST_F(TLlistaTest, ItemsThatCannotBeClonedBecomeNull) {
    TLlista list;
    list.Afegir(new TItem);
    list.Afegir(new TInt(4));
    TLlista copy(&list);
    EXPECT_EQ(copy.GetItem(0), nullptr);
    EXPECT_EQ(static_cast<TInt*>(copy.GetItem(1))->Get(), 4);
}

TEST_F(TLlistaTest, DuplicarIsADeepCopy) {
    TLlista list;
    Fill(list, {5, 6});
    auto* clone = static_cast<TLlista*>(list.Duplicar());
    list.Done(1);
    EXPECT_EQ(Values(*clone), (Ints{5, 6}));
    delete clone;
}

// Kept: the clone of a derived list is a plain list.
TEST_F(TLlistaTest, DuplicarOfADerivedListIsAPlainList) {
    TLlistaOrdenada ordered;
    ordered.Afegir(new CountedItem(2));
    ordered.Afegir(new CountedItem(1));
    auto* clone = static_cast<TLlista*>(ordered.Duplicar());
    EXPECT_EQ(clone->QueSoc(), 2);
    clone->Afegir(new CountedItem(0));
    EXPECT_EQ(Values(*clone), (Ints{1, 2, 0}));
    delete clone;

    TPila stack;
    TLlistaCircular ring;
    TPilaLimitada limited(4);
    for (const TItem* list : {static_cast<const TItem*>(&stack), static_cast<const TItem*>(&ring),
                              static_cast<const TItem*>(&limited)}) {
        const TItem* plain = list->Duplicar();
        EXPECT_EQ(plain->QueSoc(), 2);
        delete plain;
    }
}

// Kept: reference copies share the storage.
TEST_F(TLlistaTest, CopyFromAReferenceSharesTheStorage) {
    List list;
    Fill(list, {1, 2});
    list.Posicionar(1);
    list.m_bPropietari = 3;
    List copy(list);
    EXPECT_EQ(copy.m_ppItems, list.m_ppItems);
    EXPECT_EQ(copy.m_nCapacitat, list.m_nCapacitat);
    EXPECT_EQ(copy.m_nIncrement, list.m_nIncrement);
    EXPECT_EQ(copy.Cnt(), 2);
    EXPECT_EQ(copy.PosActual(), 1);
    EXPECT_EQ(copy.m_bPropietari, 3);
    copy.Init();
}

// Kept: the array that the target had is forgotten, not freed.
TEST_F(TLlistaTest, AssignmentSharesTheStorageAndForgetsTheTargets) {
    List list;
    Fill(list, {1, 2});
    List target;
    Fill(target, {3});
    List forgotten(target);
    target = list;
    EXPECT_EQ(target.m_ppItems, list.m_ppItems);
    EXPECT_EQ(target.Cnt(), 2);
    EXPECT_EQ(Values(forgotten), (Ints{3}));
    target.Init();
}

// ---- Nested lists

TEST_F(TLlistaTest, NestedListsAreClonedInOrder) {
    TLlista list;
    Fill(list, {1});
    auto* inner = new TLlista;
    Fill(*inner, {2, NOTHING});
    auto* stack = new TPila;
    Fill(*stack, {3});
    inner->Afegir(stack);
    inner->Afegir(new CountedItem(4));
    list.Afegir(inner);
    list.Afegir(new TLlistaOrdenada(1));
    list.Afegir(new CountedItem(5));

    TLlista copy(&list);
    EXPECT_EQ(CountedItem::s_cloned, (Ints{1, 2, 3, 4, 5}));
    ASSERT_EQ(copy.Cnt(), 4);
    const auto* copiedInner = static_cast<TLlista*>(copy.GetItem(1));
    ASSERT_EQ(copiedInner->Cnt(), 4);
    EXPECT_EQ(copiedInner->GetItem(1), nullptr);
    EXPECT_EQ(copiedInner->GetItem(2)->QueSoc(), 2);
    EXPECT_EQ(Values(*static_cast<TLlista*>(copiedInner->GetItem(2))), (Ints{3}));
    EXPECT_EQ(ValueOf(copiedInner->GetItem(3)), 4);
    EXPECT_EQ(copy.GetItem(2)->QueSoc(), 2);
    EXPECT_EQ(copy.GetItem(2)->EsBuit(), 1);
}

TEST_F(TLlistaTest, NestedListsKeepTheirOwnershipFlagInTheCopy) {
    CountedItem item(1);
    TLlista list;
    auto* inner = new List;
    inner->m_bPropietari = 0;
    inner->Afegir(&item);
    list.Afegir(inner);
    TLlista copy(&list);
    auto* copied = static_cast<TLlista*>(copy.GetItem(0));
    copy.Treure(0);
    TItem* clone = copied->GetItem(0);
    delete copied;
    EXPECT_EQ(CountedItem::s_live, 2);
    delete clone;
}

TEST_F(TLlistaTest, NestedListsAreDestroyedInTheOrderOfRecursion) {
    {
        TLlista list;
        Fill(list, {1});
        auto* inner = new TLlista;
        Fill(*inner, {2});
        auto* innermost = new TPila;
        Fill(*innermost, {3, 4});
        inner->Afegir(innermost);
        Fill(*inner, {5});
        list.Afegir(inner);
        auto* second = new TLlistaCircular;
        Fill(*second, {6, 7});
        list.Afegir(second);
        Fill(list, {8});
    }
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST_F(TLlistaTest, NestedListThatDoesNotOwnLeavesItsItems) {
    CountedItem item(1);
    {
        TLlista list;
        auto* inner = new List;
        inner->m_bPropietari = 0;
        inner->Afegir(&item);
        list.Afegir(inner);
    }
    EXPECT_EQ(CountedItem::s_live, 1);
}

TEST_F(TLlistaTest, ListThatIsAMemberOfAnItemIsEmptiedBeforeTheItemIsGone) {
    class Holder : public CountedItem {
    public:
        Holder(int value, std::vector<int>& log)
            : CountedItem(value)
            , m_logger(log) {
            Fill(m_list, {value + 1, value + 2});
        }
        ~Holder() override { m_local.Done(1); }

    private:
        // Destroyed after the list: it still sees the items go.
        struct Logger {
            explicit Logger(std::vector<int>& log)
                : m_log(log) {}
            ~Logger() { m_log = CountedItem::s_destroyed; }
            std::vector<int>& m_log;
        };
        Logger m_logger;
        TLlista m_list;
        TLlista m_local;
    };
    Ints log;
    {
        TLlista list;
        list.Afegir(new Holder(10, log));
    }
    EXPECT_EQ(log, (Ints{12, 11}));
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{12, 11, 10}));
}

TEST_F(TLlistaTest, ItemMayTakeEntriesOutOfTheListThatDestroysIt) {
    class Leaver : public CountedItem {
    public:
        Leaver(int value, TLlista& list)
            : CountedItem(value)
            , m_list(list) {}
        ~Leaver() override { m_list.Eliminar(0); }

    private:
        TLlista& m_list;
    };
    TLlista list;
    Fill(list, {1, 2});
    list.Afegir(new Leaver(3, list));
    list.Done(1);
    EXPECT_EQ(list.Cnt(), 0);
}

TEST_F(TLlistaTest, AMillionLevelsAreBuiltClonedAndDestroyed) {
    constexpr int LEVELS = 1000000;
    auto* top = new TLlista;
    for (int i = 1; i < LEVELS; ++i) {
        auto* outer = i % 2 == 0 ? new TLlista : new TPila;
        if (i % 1000 == 0)
            outer->Afegir(new CountedItem(i));
        outer->Afegir(top);
        if (i % 1000 == 500)
            outer->Afegir(new CountedItem(i));
        top = outer;
    }
    EXPECT_EQ(CountedItem::s_live, 1999);
    TItem* clone = top->Duplicar();
    EXPECT_EQ(CountedItem::s_live, 2 * 1999);
    int levels = 0;
    for (const auto* level = static_cast<TLlista*>(clone); level != nullptr; ++levels) {
        const TItem* next = nullptr;
        for (int i = 0; i < level->Cnt(); ++i)
            if (level->GetItem(i)->EsTipus(&TLlista::m_rttiTLlista) != 0)
                next = level->GetItem(i);
        level = static_cast<const TLlista*>(next);
    }
    EXPECT_EQ(levels, LEVELS);
    delete clone;
    EXPECT_EQ(CountedItem::s_live, 1999);
    delete top;
}

TEST_F(TLlistaTest, AMillionLevelsOfAClientsClassAreDestroyed) {
    static int destroyed;
    destroyed = 0;
    class ClientList : public TLlista {
    public:
        ~ClientList() override { ++destroyed; }
    };
    auto* top = new ClientList;
    for (int i = 1; i < 1000000; ++i) {
        auto* outer = new ClientList;
        outer->Afegir(top);
        top = outer;
    }
    delete top;
    EXPECT_EQ(destroyed, 1000000);
}

// ---- Access and cursor

TEST_F(TLlistaTest, EntriesAreReachedThreeWays) {
    TLlista list;
    Fill(list, {1, 2});
    EXPECT_EQ(ValueOf(list.GetItem(1)), 2);
    EXPECT_EQ(ValueOf(list.ItemAt(1)), 2);
    EXPECT_EQ(ValueOf(list[1]), 2);
}

TEST_F(TLlistaTest, CursorIsSetAsGiven) {
    TLlista list;
    Fill(list, {1, 2, 3});
    EXPECT_EQ(list.PosActual(), 3);
    list.Posicionar(1);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(ValueOf(list.Actual()), 2);
    list.Posicionar(-9);
    EXPECT_EQ(list.PosActual(), -9);
}

TEST_F(TLlistaTest, CursorKnowsTheEnds) {
    TLlista list;
    EXPECT_EQ(list.EsPrimer(), 1);
    EXPECT_EQ(list.EsUltim(), 1);
    Fill(list, {1, 2, 3});
    const auto ends = [&list](int pos) {
        list.Posicionar(pos);
        return std::pair(list.EsPrimer(), list.EsUltim());
    };
    EXPECT_EQ(ends(-1), std::pair(1, 0));
    EXPECT_EQ(ends(0), std::pair(1, 0));
    EXPECT_EQ(ends(1), std::pair(0, 0));
    EXPECT_EQ(ends(2), std::pair(0, 1));
    EXPECT_EQ(ends(3), std::pair(0, 1));
}

TEST_F(TLlistaTest, CursorMovesToTheEndsAndStepByStep) {
    TLlista list;
    Fill(list, {1, 2});
    EXPECT_EQ(list.Principi(), 1);
    EXPECT_EQ(list.PosActual(), 0);
    EXPECT_EQ(list.Previ(), 0);
    EXPECT_EQ(list.PosActual(), 0);
    EXPECT_EQ(list.Seguent(), 1);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(list.Seguent(), 0);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(list.Previ(), 1);
    EXPECT_EQ(list.PosActual(), 0);
    EXPECT_EQ(list.Final(), 1);
    EXPECT_EQ(list.PosActual(), 1);
}

TEST_F(TLlistaTest, CursorOfAnEmptyListDoesNotMove) {
    TLlista list;
    list.Posicionar(4);
    EXPECT_EQ(list.Principi(), 0);
    EXPECT_EQ(list.Final(), 0);
    EXPECT_EQ(list.Seguent(), 0);
    EXPECT_EQ(list.Previ(), 0);
    EXPECT_EQ(list.PosActual(), 4);
}

TEST_F(TLlistaTest, CursorBeyondTheEndDoesNotAdvance) {
    TLlista list;
    Fill(list, {1, 2});
    EXPECT_EQ(list.PosActual(), 2);
    EXPECT_EQ(list.Seguent(), 0);
    EXPECT_EQ(list.PosActual(), 2);
    EXPECT_EQ(list.Previ(), 1);
    EXPECT_EQ(list.PosActual(), 1);
    list.Posicionar(-2);
    EXPECT_EQ(list.Previ(), 0);
    EXPECT_EQ(list.Seguent(), 1);
    EXPECT_EQ(list.PosActual(), -1);
}

// ---- Changing the contents

TEST_F(TLlistaTest, InsertarClampsThePosition) {
    TLlista list;
    EXPECT_EQ(list.Insertar(new CountedItem(1), 7), 0);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(list.Insertar(new CountedItem(2), -5), 0);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(list.Insertar(new CountedItem(3), 99), 0);
    EXPECT_EQ(list.PosActual(), 3);
    EXPECT_EQ(list.Insertar(new CountedItem(4), 1), 0);
    EXPECT_EQ(list.PosActual(), 2);
    EXPECT_EQ(list.Insertar(new CountedItem(5), INT_MIN), 0);
    EXPECT_EQ(list.Insertar(new CountedItem(6), INT_MAX), 0);
    EXPECT_EQ(Values(list), (Ints{5, 2, 4, 1, 3, 6}));
}

TEST_F(TLlistaTest, CanviarHandsTheOldItemOver) {
    TLlista list;
    Fill(list, {1, 2, 3});
    EXPECT_EQ(TakeValue(list.Canviar(new CountedItem(9), 1)), 2);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(TakeValue(list.Canviar(new CountedItem(8), -1)), 9);
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(Values(list), (Ints{1, 8, 3}));
}

TEST_F(TLlistaTest, EliminarDestroysWhateverTheFlagSays) {
    List list;
    Fill(list, {1, 2, 3, NOTHING});
    list.m_bPropietari = 0;
    EXPECT_EQ(list.Eliminar(1), 0);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2}));
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(list.Eliminar(-1), 0);
    EXPECT_EQ(CountedItem::s_destroyed, (Ints{2, 3}));
    EXPECT_EQ(list.Eliminar(1), 0);
    EXPECT_EQ(Values(list), (Ints{1}));
    EXPECT_EQ(list.Eliminar(0), 0);
    EXPECT_EQ(list.m_ppItems, nullptr);
}

TEST_F(TLlistaTest, TreureHandsTheItemOver) {
    TLlista list;
    Fill(list, {1, 2, 3, NOTHING});
    EXPECT_EQ(TakeValue(list.Treure(0)), 1);
    EXPECT_EQ(list.PosActual(), 0);
    list.Posicionar(1);
    EXPECT_EQ(TakeValue(list.Treure(-1)), 3);
    EXPECT_EQ(list.Treure(1), nullptr);
    EXPECT_EQ(Values(list), (Ints{2}));
}

TEST_F(TLlistaTest, PositionWithoutAnEntryChangesNothing) {
    TLlista list;
    CountedItem item(9);
    EXPECT_EQ(list.Eliminar(0), -3);
    EXPECT_EQ(list.Treure(0), nullptr);
    EXPECT_EQ(list.Canviar(&item, 0), nullptr);
    Fill(list, {1, 2});
    EXPECT_EQ(list.Eliminar(-1), -3); // the cursor is behind the last entry
    EXPECT_EQ(list.Eliminar(2), -3);
    EXPECT_EQ(list.PosActual(), 2);
    EXPECT_EQ(list.Treure(INT_MAX), nullptr);
    list.Posicionar(INT_MIN);
    EXPECT_EQ(list.Canviar(&item, -1), nullptr);
    EXPECT_EQ(Values(list), (Ints{1, 2}));
}

TEST_F(TLlistaTest, InvertirReversesAndKeepsTheCursor) {
    TLlista list;
    EXPECT_EQ(list.Invertir(), 0);
    Fill(list, {1, 2, 3, 4});
    list.Posicionar(1);
    EXPECT_EQ(list.Invertir(), 0);
    EXPECT_EQ(Values(list), (Ints{4, 3, 2, 1}));
    EXPECT_EQ(list.PosActual(), 1);
    list.Eliminar(3);
    list.Invertir();
    EXPECT_EQ(Values(list), (Ints{2, 3, 4}));
}

// ---- Concatenar

TEST_F(TLlistaTest, ConcatenarAppendsClones) {
    TLlista list;
    Fill(list, {1, 2});
    TLlista source;
    Fill(source, {3, NOTHING, 4});
    list.Posicionar(1);
    EXPECT_EQ(list.Concatenar(&source, -1), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2, 3, NOTHING, 4}));
    EXPECT_EQ(Values(source), (Ints{3, NOTHING, 4}));
    EXPECT_NE(list.GetItem(2), source.GetItem(0));
    EXPECT_EQ(list.PosActual(), 1);
}

TEST_F(TLlistaTest, ConcatenarOfNothingDoesNothing) {
    List list;
    TLlista source;
    EXPECT_EQ(list.Concatenar(&source, 0), 0);
    EXPECT_EQ(list.Concatenar(nullptr, -1), 0);
    EXPECT_EQ(list.m_ppItems, nullptr);
}

TEST_F(TLlistaTest, ConcatenarAtOrBeyondTheEndAppends) {
    TLlista list;
    Fill(list, {1, 2});
    TLlista source;
    Fill(source, {3});
    EXPECT_EQ(list.Concatenar(&source, 2), 0);
    EXPECT_EQ(list.Concatenar(&source, 40), 0);
    EXPECT_EQ(list.Concatenar(&source, INT_MAX), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2, 3, 3, 3}));
}

// Kept: room is made upwards, so that the entry moved first runs over those above it, and only as far as
// Cnt() less the position. The test holds the items that are lost that way in a list of its own.
TEST_F(TLlistaTest, ConcatenarInsideOverwritesEntries) {
    struct Case {
        int pos;
        Ints added;
        Ints expected;
    };
    const Case cases[] = {
        {0, {9}, {9, NOTHING, NOTHING, NOTHING, 1}}, {0, {8, 9}, {8, 9, NOTHING, NOTHING, 1, 2}},
        {0, {6, 7, 8, 9}, {6, 7, 8, 9, 1, 2, 3, 4}}, {1, {9}, {1, 9, NOTHING, 2, NOTHING}},
        {1, {8, 9}, {1, 8, 9, 2, 3, NOTHING}},       {2, {9}, {1, 2, 9, 4, NOTHING}},
        {3, {8, 9}, {1, 2, 3, 8, 9, NOTHING}},
    };
    for (const Case& each : cases) {
        TLlista list;
        TLlista keeper;
        Fill(keeper, {1, 2, 3, 4});
        for (int i = 0; i < keeper.Cnt(); ++i)
            list.Afegir(keeper.GetItem(i));
        TLlista source;
        Fill(source, each.added);
        EXPECT_EQ(list.Concatenar(&source, each.pos), 0);
        EXPECT_EQ(Values(list), each.expected) << each.pos << " " << each.added.size();
        // What the keeper has is the keeper's.
        for (int i = list.Cnt() - 1; i >= 0; --i)
            if (TItem* item = list.Treure(i); item != nullptr && ValueOf(item) > 4)
                delete item;
    }
}

TEST_F(TLlistaTest, ConcatenarWithItselfAppendsItsClones) {
    TLlista list;
    Fill(list, {1, 2});
    EXPECT_EQ(list.Concatenar(&list, -1), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2, 1, 2}));
}

// Kept: what the pass upwards has left where the entries were is what gets cloned.
TEST_F(TLlistaTest, ConcatenarWithItselfInsideClonesWhatThePassHasLeft) {
    List list;
    Fill(list, {1, 2});
    EXPECT_EQ(list.Concatenar(&list, 0), 0);
    EXPECT_EQ(Values(list), (Ints{NOTHING, NOTHING, 1, 2}));

    const TItem* overwritten = list.GetItem(3);
    EXPECT_EQ(list.Concatenar(&list, 3), 0);
    EXPECT_EQ(Values(list), (Ints{NOTHING, NOTHING, 1, NOTHING, NOTHING, 1, NOTHING, NOTHING}));
    delete overwritten;
}

TEST_F(TLlistaTest, ConcatenarStopsAtACloneThatFails) {
    List list;
    Fill(list, {1});
    TLlista source;
    Fill(source, {2, 3, 4});
    CountedItem::LetClonesFailAfter(2);
    EXPECT_EQ(list.Concatenar(&source, -1), -1);
    EXPECT_EQ(Values(list), (Ints{1}));
    EXPECT_EQ(CountedItem::s_live, 4);
    for (int i = 1; i < list.m_nCapacitat; ++i)
        EXPECT_EQ(list.m_ppItems[i], nullptr);
}

// Kept: what lies inside the count by then stays there.
TEST_F(TLlistaTest, ConcatenarInsideThatFailsLeavesTheClonesInside) {
    List list;
    TLlista keeper;
    Fill(keeper, {1, 2, 3});
    for (int i = 0; i < 3; ++i)
        list.Afegir(keeper.GetItem(i));
    TLlista source;
    Fill(source, {7, 8});
    CountedItem::LetClonesFailAfter(1);
    EXPECT_EQ(list.Concatenar(&source, 0), -1);
    EXPECT_EQ(Values(list), (Ints{7, NOTHING, NOTHING}));
    delete list.Treure(0);
    list.Done(0);
}

// ---- Fusionar

TEST_F(TLlistaTest, FusionarMovesTheItems) {
    TLlista list;
    Fill(list, {1, 2});
    List source;
    Fill(source, {3, NOTHING, 4});
    source.m_bPropietari = 7;
    EXPECT_EQ(list.Fusionar(&source, -1), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2, 3, NOTHING, 4}));
    EXPECT_EQ(source.Cnt(), 0);
    EXPECT_EQ(source.m_nCapacitat, 0);
    EXPECT_EQ(source.m_ppItems, nullptr);
    EXPECT_EQ(source.PosActual(), 0);
    EXPECT_EQ(source.m_bPropietari, 7);
    EXPECT_TRUE(CountedItem::s_destroyed.empty());
}

TEST_F(TLlistaTest, FusionarInsertsAnywhere) {
    for (int pos = 0; pos <= 4; ++pos) {
        TLlista list;
        Fill(list, {1, 2, 3});
        TLlista source;
        Fill(source, {8, 9});
        EXPECT_EQ(list.Fusionar(&source, pos), 0);
        Ints expected{1, 2, 3};
        expected.insert(expected.begin() + std::min(pos, 3), {8, 9});
        EXPECT_EQ(Values(list), expected);
        EXPECT_EQ(list.PosActual(), 3);
    }
}

TEST_F(TLlistaTest, FusionarOfNothingDoesNothing) {
    TLlista list;
    Fill(list, {1});
    TLlista source;
    source.Posicionar(3);
    EXPECT_EQ(list.Fusionar(&source, 0), 0);
    EXPECT_EQ(source.PosActual(), 3);
    EXPECT_EQ(list.Fusionar(nullptr, 0), 0);
    EXPECT_EQ(list.Fusionar(&list, 0), 0);
    EXPECT_EQ(Values(list), (Ints{1}));
}

// ---- Ordenar

TEST_F(TLlistaTest, OrdenarSorts) {
    TLlista list;
    EXPECT_EQ(list.Ordenar(&ByValue, 0, nullptr), 0);
    Fill(list, {3, 1, 2});
    list.Posicionar(1);
    EXPECT_EQ(list.Ordenar(&ByValue, 0, nullptr), 0);
    EXPECT_EQ(Values(list), (Ints{1, 2, 3}));
    EXPECT_EQ(list.PosActual(), 1);
    EXPECT_EQ(list.Ordenar(&ByUserSign, -1, nullptr), 0);
    EXPECT_EQ(Values(list), (Ints{3, 2, 1}));
}

TEST_F(TLlistaTest, OrdenarIsStable) {
    TLlista list;
    Fill(list, {31, 12, 33, 11, 22, 32, 10, 21});
    EXPECT_EQ(list.Ordenar(&ByTens, 0, nullptr), 0);
    EXPECT_EQ(Values(list), (Ints{12, 11, 10, 22, 21, 31, 33, 32}));
    EXPECT_EQ(list.Ordenar(&AllEqual, 0, nullptr), 0);
    EXPECT_EQ(Values(list), (Ints{12, 11, 10, 22, 21, 31, 33, 32}));
}

TEST_F(TLlistaTest, OrdenarAsksInAFixedOrder) {
    TLlista list;
    Fill(list, {2, 4, 1, 3});
    g_asked.clear();
    EXPECT_EQ(list.Ordenar(&Noting, 0, nullptr), 0);
    const std::vector<std::pair<int, int>> expected{{1, 3}, {4, 1}, {4, 3}, {2, 1}, {2, 3}};
    EXPECT_EQ(g_asked, expected);
}

TEST_F(TLlistaTest, OrdenarAsksFromTheFrontUntilThePlaceIsFound) {
    std::mt19937 random(5);
    for (int count = 0; count <= 14; ++count) {
        Ints values;
        for (int i = 0; i < count; ++i)
            values.push_back(static_cast<int>(random() % 20));
        std::vector<std::pair<int, int>> expected;
        Ints sorted;
        for (auto value = values.rbegin(); value != values.rend(); ++value) {
            auto place = sorted.begin();
            for (bool behind = true; behind && place != sorted.end(); place += behind ? 1 : 0) {
                expected.emplace_back(*value, *place);
                behind = *value > *place;
            }
            sorted.insert(place, *value);
        }
        TLlista list;
        Fill(list, values);
        g_asked.clear();
        EXPECT_EQ(list.Ordenar(&Noting, 0, nullptr), 0);
        EXPECT_EQ(g_asked, expected);
        EXPECT_EQ(Values(list), sorted);
    }
}

TEST_F(TLlistaTest, OrdenarAgreesWithAStableSort) {
    std::mt19937 random(3);
    for (int round = 0; round < 50; ++round) {
        Ints values(random() % 200);
        for (int& value : values)
            value = static_cast<int>(random() % 300);
        TLlista list;
        Fill(list, values);
        EXPECT_EQ(list.Ordenar(&ByTens, 0, nullptr), 0);
        std::stable_sort(values.begin(), values.end(), [](int a, int b) { return a / 10 < b / 10; });
        EXPECT_EQ(Values(list), values);
    }
}

TEST_F(TLlistaTest, OrdenarReportsThePartDone) {
    TLlista list;
    Fill(list, {4, 3, 2, 1});
    Watcher watcher;
    EXPECT_EQ(list.Ordenar(&ByValue, 0, &watcher), 0);
    EXPECT_EQ(watcher.m_shown, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
}

TEST_F(TLlistaTest, OrdenarThatIsCancelledLeavesTheList) {
    for (int answers = 0; answers < 3; ++answers) {
        TLlista list;
        Fill(list, {3, 1, 2});
        Watcher watcher(answers);
        EXPECT_EQ(list.Ordenar(&ByValue, 0, &watcher), -5);
        EXPECT_EQ(Values(list), (Ints{3, 1, 2}));
    }
}

// ---- Recorrer

TEST_F(TLlistaTest, RecorrerVisitsEveryEntry) {
    TLlista list;
    Fill(list, {10, NOTHING, 30});
    std::vector<std::pair<int, int>> visits;
    const auto note = [&visits](TItem* item, int index) {
        visits.emplace_back(item == nullptr ? NOTHING : ValueOf(item), index);
        return index + 5;
    };
    using Visits = std::vector<std::pair<int, int>>;
    EXPECT_EQ(Visit(list, 0, nullptr, note), 7);
    EXPECT_EQ(visits, (Visits{{10, 0}, {NOTHING, 1}, {30, 2}}));
    visits.clear();
    EXPECT_EQ(Visit(list, 1, nullptr, note), 5);
    EXPECT_EQ(visits, (Visits{{30, 2}, {NOTHING, 1}, {10, 0}}));
    visits.clear();
    EXPECT_EQ(Visit(list, ~1, nullptr, note), 7);
    EXPECT_EQ(visits, (Visits{{10, 0}, {NOTHING, 1}, {30, 2}}));
}

TEST_F(TLlistaTest, RecorrerOfAnEmptyListAnswersZero) {
    TLlista list;
    EXPECT_EQ(Visit(list, 0, nullptr, [](TItem*, int) { return 9; }), 0);
}

TEST_F(TLlistaTest, RecorrerStopsAtANegativeResult) {
    TLlista list;
    Fill(list, {1, 2, 3});
    int visits = 0;
    EXPECT_EQ(Visit(list, 0, nullptr,
                    [&visits](TItem* item, int) {
                        ++visits;
                        return ValueOf(item) == 2 ? -44 : 1;
                    }),
              -44);
    EXPECT_EQ(visits, 2);
}

TEST_F(TLlistaTest, RecorrerGivesEachVisitASliceOfTheRange) {
    TLlista list;
    Fill(list, {1, 2, 3, 4});
    for (int flags : {0, 1}) {
        Watcher watcher;
        EXPECT_EQ(Visit(list, flags, &watcher, [](TItem*, int) { return 0; }), 0);
        EXPECT_EQ(watcher.m_shown, (std::vector<double>{0.0, 0.25, 0.25, 0.5, 0.5, 0.75, 0.75, 1.0}));
    }
}

TEST_F(TLlistaTest, RecorrerReportsInsideTheSliceOfTheVisit) {
    TLlista list;
    Fill(list, {1, 2});
    Watcher watcher;
    Visit(list, 0, &watcher, [&watcher](TItem*, int) { return watcher.MostrarEstatRel(0.5); });
    EXPECT_EQ(watcher.m_shown, (std::vector<double>{0.0, 0.25, 0.5, 0.5, 0.75, 1.0}));
}

TEST_F(TLlistaTest, RecorrerThatIsCancelledBeforeAVisitDoesNotMakeIt) {
    TLlista list;
    Fill(list, {1, 2, 3});
    Watcher watcher(2);
    int visits = 0;
    EXPECT_EQ(Visit(list, 0, &watcher, [&visits](TItem*, int) { return ++visits; }), -5);
    EXPECT_EQ(visits, 1);
    // The slice that was pushed for the visit stays.
    double begin = 0;
    double end = 0;
    watcher.GetRang(begin, end);
    EXPECT_DOUBLE_EQ(begin, 1.0 / 3);
    EXPECT_DOUBLE_EQ(end, 2.0 / 3);
}

TEST_F(TLlistaTest, RecorrerThatIsCancelledAfterAVisitStops) {
    TLlista list;
    Fill(list, {1, 2, 3});
    Watcher watcher(1);
    int visits = 0;
    EXPECT_EQ(Visit(list, 0, &watcher, [&visits](TItem*, int) { return ++visits; }), -5);
    EXPECT_EQ(visits, 1);
}

TEST_F(TLlistaTest, CancelWinsOverTheVisitorsResult) {
    TLlista list;
    Fill(list, {1});
    Watcher watcher(1);
    EXPECT_EQ(Visit(list, 0, &watcher, [](TItem*, int) { return -8; }), -5);
}

TEST_F(TLlistaTest, RecorrerMakesAsManyVisitsAsThereWereEntries) {
    TLlista list;
    Fill(list, {1, 2});
    int visits = 0;
    Visit(list, 0, nullptr, [&](TItem*, int) {
        list.Afegir(new CountedItem(3));
        ++visits;
        return 0;
    });
    EXPECT_EQ(visits, 2);
    EXPECT_EQ(list.Cnt(), 4);
}

TEST_F(TLlistaTest, RecorrerGivesNullForEntriesThatAreGone) {
    TLlista list;
    Fill(list, {1, 2, 3});
    Ints seen;
    Visit(list, 0, nullptr, [&](TItem* item, int) {
        seen.push_back(item == nullptr ? NOTHING : ValueOf(item));
        list.Eliminar(0);
        return 0;
    });
    EXPECT_EQ(seen, (Ints{1, 3, NOTHING}));
    EXPECT_EQ(list.Cnt(), 0);
}
