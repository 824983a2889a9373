#include "TItem.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>

#include "afx.h"
#include "CFileMapping.h"
#include "TArbre.h"
#include "TBlocOpcions.h"
#include "TCrossList.h"
#include "temp_folder.h"
#include "THash.h"
#include "TLlista.h"
#include "TTaula.h"
#include "win32.h"

namespace {

// A client's class with the id that AfxItemValid looks for, and one derived from it.
class KnownItem : public TItem {
public:
    static const CMirvaRTTI m_rttiKnownItem;
    const CMirvaRTTI* GetRTTI() const override { return &m_rttiKnownItem; }
    static TItem* Create() { return new KnownItem; }
};
const CMirvaRTTI KnownItem::m_rttiKnownItem(&TItem::m_rttiTItem, "KnownItem", 2000, sizeof(KnownItem),
                                            &KnownItem::Create);

class DerivedItem : public KnownItem {
public:
    static const CMirvaRTTI m_rttiDerivedItem;
    const CMirvaRTTI* GetRTTI() const override { return &m_rttiDerivedItem; }
};
const CMirvaRTTI DerivedItem::m_rttiDerivedItem(&KnownItem::m_rttiKnownItem, "DerivedItem", 2001,
                                                sizeof(DerivedItem), nullptr);

// An item that answers with whatever record the test wants.
class ItemWithRecord : public TItem {
public:
    explicit ItemWithRecord(const CMirvaRTTI* record)
        : m_record(record) {}
    const CMirvaRTTI* GetRTTI() const override { return m_record; }

private:
    const CMirvaRTTI* m_record;
};

void ExpectRecord(const CMirvaRTTI& record, const CMirvaRTTI* parent, const char* name, int id,
                  std::size_t size) {
    EXPECT_EQ(record.m_pPare, parent) << name;
    EXPECT_STREQ(record.m_szNom, name);
    EXPECT_EQ(record.m_nTipus, id) << name;
    EXPECT_EQ(record.m_nMida, size) << name;
    EXPECT_EQ(record.m_pfnCrear, nullptr) << name;
    EXPECT_EQ(record.CrearItem(), nullptr) << name;
}

// Compares two texts through items, each way round.
int Order(const wchar_t* a, const wchar_t* b) {
    const TItemString itemA(a);
    const TItemString itemB(b);
    const int order = itemA.Comparar(&itemB);
    EXPECT_EQ(itemB.Comparar(&itemA), -order);
    EXPECT_EQ(itemA.Iguals(&itemB), order == 0 ? 1 : 0);
    return order;
}

} // namespace

TEST(TItem, ExampleUsage) {
    TItem* item = new TInt(5);

    // An item tells its class ...
    EXPECT_EQ(item->QueSoc(), 11);
    EXPECT_STREQ(item->GetNomClasse(), L"TInt");
    EXPECT_EQ(item->EsTipus(&TItem::m_rttiTItem), 1);
    EXPECT_EQ(item->EsTipus(&TBool::m_rttiTBool), 0);

    // ... so that it can be reached as what it is,
    auto* number = static_cast<TInt*>(AfxTestClasseItem(item, &TInt::m_rttiTInt));
    ASSERT_NE(number, nullptr);
    number->Inc();
    EXPECT_EQ(number->Get(), 6);

    // can be cloned, and compared with its like.
    TItem* clone = item->Duplicar();
    EXPECT_EQ(clone->Iguals(item), 1);
    static_cast<TInt*>(clone)->Set(10);
    EXPECT_EQ(item->Comparar(clone), -4);

    delete clone;
    delete item;
}

TEST(TItem, PlainItemDoesNothingAndEqualsEverything) {
    TItem item;
    TInt number(3);
    EXPECT_EQ(item.Duplicar(), nullptr);
    EXPECT_EQ(item.GetRTTI(), &TItem::m_rttiTItem);
    EXPECT_EQ(item.QueSoc(), 0);
    EXPECT_EQ(item.EsBuit(), 0);
    EXPECT_EQ(item.Comparar(&number), 0);
    EXPECT_EQ(item.Iguals(&number), 1);
    EXPECT_EQ(item.Iguals(nullptr), 1);
}

TEST(TItem, CopyingAnItemCopiesNothing) {
    TItem item;
    TItem fromReference(item);
    TItem fromPointer(&item);
    TItem fromNull(static_cast<const TItem*>(nullptr));
    EXPECT_EQ(&(fromReference = fromPointer), &fromReference);
    EXPECT_EQ(fromNull.QueSoc(), 0);
}

TEST(TItem, NoItemHasAStreamFormat) {
    TItem item;
    TInt number;
    TItemString text(L"x");
    TLlista list;
    TPilaLimitada stack(1);
    TBool truth;
    TChar character;
    TFloat single;
    TDouble real;
    TLlistaOrdenada ordered;
    TLlistaCircular ring;
    TArbre tree(nullptr, 0);
    TTaulaBool table;
    THash hash;
    TCrossList cross;
    TCircularCrossList crossRing;
    TBlocOpcions block;
    for (TItem* each : std::initializer_list<TItem*>{&item, &number, &text, &list, &stack, &truth, &character,
                                                     &single, &real, &ordered, &ring, &tree, &table, &hash,
                                                     &cross, &crossRing, &block}) {
        EXPECT_EQ(each->Guardar(nullptr), -2);
        EXPECT_EQ(each->Llegir(nullptr), -2);
    }
}

TEST(TItem, RecordsAreAsClientsKnowThem) {
    const CMirvaRTTI* item = &TItem::m_rttiTItem;
    ExpectRecord(TItem::m_rttiTItem, nullptr, "TItem", 0, sizeof(TItem));
    ExpectRecord(TBool::m_rttiTBool, item, "TBool", 10, sizeof(TBool));
    ExpectRecord(TInt::m_rttiTInt, item, "TInt", 11, sizeof(TInt));
    ExpectRecord(TFloat::m_rttiTFloat, item, "TFloat", 12, sizeof(TFloat));
    ExpectRecord(TChar::m_rttiTChar, item, "TChar", 14, sizeof(TChar));
    ExpectRecord(TDouble::m_rttiTDouble, item, "TDouble", 31, sizeof(TDouble));
    ExpectRecord(TItemString::m_rttiTItemString, item, "TItemString", 200, sizeof(TItemString));
    ExpectRecord(TLlista::m_rttiTLlista, item, "TLlista", 2, sizeof(TLlista));
    ExpectRecord(TLlistaCircular::m_rttiTLlistaCircular, &TLlista::m_rttiTLlista, "TLlistaCircular", 8,
                 sizeof(TLlistaCircular));
    ExpectRecord(TPila::m_rttiTPila, &TLlista::m_rttiTLlista, "TPila", 5, sizeof(TPila));
    ExpectRecord(TTaula::m_rttiTTaula, item, "TTaula", 6, sizeof(TTaula));
    ExpectRecord(TArbre::m_rttiTArbre, item, "TArbre", 7, sizeof(TArbre));
    ExpectRecord(THash::m_rttiTHash, item, "THash", 1, sizeof(THash));
    ExpectRecord(THashItem::m_rttiTHashItem, item, "THashItem", 20, sizeof(THashItem));
    // Kept: the cross list has the circular list's id, and the ring is not derived from it.
    ExpectRecord(TCrossList::m_rttiTCrossList, item, "TCrossList", 8, sizeof(TCrossList));
    ExpectRecord(TCircularCrossList::m_rttiTCircularCrossList, item, "TCircularCrossList", 9,
                 sizeof(TCircularCrossList));
    ExpectRecord(TBlocOpcions::m_rttiTBlocOpcions, item, "TBlocOpcions", 13000, sizeof(TBlocOpcions));
}

TEST(TItem, EveryClassAnswersWithItsRecord) {
    EXPECT_EQ(TInt().QueSoc(), 11);
    EXPECT_EQ(TBool().QueSoc(), 10);
    EXPECT_EQ(TChar().QueSoc(), 14);
    EXPECT_EQ(TFloat().QueSoc(), 12);
    EXPECT_EQ(TDouble().QueSoc(), 31);
    EXPECT_EQ(TItemString().QueSoc(), 200);
    EXPECT_EQ(TLlista().QueSoc(), 2);
    EXPECT_EQ(TLlistaCircular().QueSoc(), 8);
    EXPECT_EQ(TPila().QueSoc(), 5);
    EXPECT_EQ(TTaula().QueSoc(), 6);
    EXPECT_EQ(TArbre(nullptr, 0).QueSoc(), 7);
    EXPECT_EQ(THash().QueSoc(), 1);
    EXPECT_EQ(TCrossList().QueSoc(), 8);
    EXPECT_EQ(TCircularCrossList().QueSoc(), 9);
    EXPECT_EQ(TBlocOpcions().QueSoc(), 13000);
}

TEST(TItem, ClassesWithoutARecordAnswerWithTheirBases) {
    EXPECT_EQ(TLlistaOrdenada().QueSoc(), 2);
    EXPECT_EQ(TPilaLimitada(3).QueSoc(), 5);
    EXPECT_EQ(TTaulaBool().QueSoc(), 6);
    EXPECT_STREQ(TLlistaOrdenada().GetNomClasse(), L"TLlista");
    EXPECT_STREQ(TPilaLimitada(3).GetNomClasse(), L"TPila");
}

TEST(CMirvaRTTI, IsAPlainValue) {
    static_assert(!std::is_polymorphic_v<CMirvaRTTI>);
    static_assert(std::is_trivially_copyable_v<CMirvaRTTI>);
    CMirvaRTTI record(nullptr, "a", 1, 2, nullptr);
    const CMirvaRTTI other(&TItem::m_rttiTItem, "b", -3, 0xFFFFFFFF, &KnownItem::Create);
    record = other;
    EXPECT_EQ(record.m_pPare, &TItem::m_rttiTItem);
    EXPECT_EQ(record.m_szNom, other.m_szNom);
    EXPECT_EQ(record.m_nTipus, -3);
    EXPECT_EQ(record.m_nMida, 0xFFFFFFFF);
    EXPECT_EQ(record.m_pfnCrear, &KnownItem::Create);
    CMirvaRTTI moved(nullptr, nullptr, 0, 0, nullptr);
    moved = std::move(record);
    EXPECT_EQ(moved.m_nTipus, -3);
}

TEST(CMirvaRTTI, FactoryMakesAnItemForTheCaller) {
    TItem* item = KnownItem::m_rttiKnownItem.CrearItem();
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->QueSoc(), 2000);
    delete item;
}

TEST(CMirvaRTTI, TypeTestWalksUpTheParents) {
    const CMirvaRTTI& record = DerivedItem::m_rttiDerivedItem;
    EXPECT_EQ(record.EsTipus(2001), 1);
    EXPECT_EQ(record.EsTipus(2000), 1);
    EXPECT_EQ(record.EsTipus(0), 1);
    EXPECT_EQ(record.EsTipus(2002), 0);
    EXPECT_EQ(record.EsTipus(-1), 0);
    EXPECT_EQ(KnownItem::m_rttiKnownItem.EsTipus(&DerivedItem::m_rttiDerivedItem), 0);
    EXPECT_EQ(record.EsTipus(&KnownItem::m_rttiKnownItem), 1);
}

TEST(CMirvaRTTI, StackIsAListButNoListIsAStack) {
    EXPECT_EQ(TPila().EsTipus(&TLlista::m_rttiTLlista), 1);
    EXPECT_EQ(TLlista().EsTipus(&TPila::m_rttiTPila), 0);
    EXPECT_EQ(TLlista().EsTipus(5), 0);
}

TEST(CMirvaRTTI, RecordsWithOneIdPassForEachOther) {
    const CMirvaRTTI twin(&TItem::m_rttiTItem, "Twin", 8, sizeof(TItem), nullptr);
    EXPECT_EQ(TLlistaCircular().EsTipus(&twin), 1);
    EXPECT_EQ(ItemWithRecord(&twin).EsTipus(&TLlistaCircular::m_rttiTLlistaCircular), 1);
    EXPECT_EQ(ItemWithRecord(&twin).EsTipus(&TLlista::m_rttiTLlista), 0);
}

// Kept: both have the id 8.
TEST(CMirvaRTTI, CircularListsAndCrossListsPassForEachOther) {
    EXPECT_EQ(TLlistaCircular().EsTipus(&TCrossList::m_rttiTCrossList), 1);
    EXPECT_EQ(TCrossList().EsTipus(&TLlistaCircular::m_rttiTLlistaCircular), 1);
    EXPECT_EQ(TCrossList().EsTipus(&TLlista::m_rttiTLlista), 0);
    EXPECT_EQ(TCircularCrossList().EsTipus(&TCrossList::m_rttiTCrossList), 0);
    TCrossList list;
    EXPECT_EQ(AfxTestClasseItem(&list, &TLlistaCircular::m_rttiTLlistaCircular), &list);
}

TEST(TItem, ClassNameIsConvertedFromTheThreadsCodePage) {
    const CMirvaRTTI record(nullptr, "Llen\xE7ol", 1, 1, nullptr);
    wchar_t expected[16] = L"";
    ASSERT_NE(MultiByteToWideChar(CP_THREAD_ACP, 0, record.m_szNom, -1, expected, 16), 0);
    EXPECT_STREQ(ItemWithRecord(&record).GetNomClasse(), expected);
    const CMirvaRTTI empty(nullptr, "", 1, 1, nullptr);
    EXPECT_STREQ(ItemWithRecord(&empty).GetNomClasse(), L"");
}

TEST(TItem, ClassWithoutANameHasNone) {
    const CMirvaRTTI record(nullptr, nullptr, 1, 1, nullptr);
    EXPECT_EQ(ItemWithRecord(&record).GetNomClasse(), nullptr);
}

TEST(TItem, LongClassNameIsWhole) {
    const std::string name(100000, 'n');
    const CMirvaRTTI record(nullptr, name.c_str(), 1, 1, nullptr);
    EXPECT_EQ(ItemWithRecord(&record).GetNomClasse(), std::wstring(100000, L'n'));
}

TEST(TItem, ClassNameOfOneThreadOutlivesCallsOfAnother) {
    const wchar_t* name = TInt().GetNomClasse();
    std::thread([] { EXPECT_STREQ(TLlista().GetNomClasse(), L"TLlista"); }).join();
    EXPECT_STREQ(name, L"TInt");
}

TEST(AfxTestClasseItem, AnswersTheItemOrNull) {
    TPila stack;
    TItem* item = &stack;
    EXPECT_EQ(AfxTestClasseItem(item, &TLlista::m_rttiTLlista), item);
    EXPECT_EQ(AfxTestClasseItem(item, &TItem::m_rttiTItem), item);
    EXPECT_EQ(AfxTestClasseItem(item, &TInt::m_rttiTInt), nullptr);
    EXPECT_EQ(AfxTestClasseItem(nullptr, &TItem::m_rttiTItem), nullptr);
}

// Kept: the id looked for is none of the library's.
TEST(AfxItemValid, IsZeroForEveryItemOfTheLibrary) {
    TItem item;
    TInt number;
    TItemString text(L"a");
    TLlista list;
    TPilaLimitada stack(2);
    EXPECT_EQ(AfxItemValid(&item), 0);
    EXPECT_EQ(AfxItemValid(&number), 0);
    EXPECT_EQ(AfxItemValid(&text), 0);
    EXPECT_EQ(AfxItemValid(&list), 0);
    EXPECT_EQ(AfxItemValid(&stack), 0);
}

TEST(AfxItemValid, IsOneForAClassWithTheIdItLooksFor) {
    KnownItem known;
    DerivedItem derived;
    EXPECT_EQ(AfxItemValid(&known), 1);
    EXPECT_EQ(AfxItemValid(&derived), 1);
}

TEST(AfxItemValid, NullIsNotValid) {
    EXPECT_EQ(AfxItemValid(nullptr), 0);
}

TEST(AfxItemValid, AddressThatCannotBeReadIsNotValid) {
    EXPECT_EQ(AfxItemValid(reinterpret_cast<const TItem*>(static_cast<UINT_PTR>(64))), 0);
}

TEST(AfxItemValid, ItemWhoseTableCannotBeReadIsNotValid) {
    const void* item[4] = {reinterpret_cast<const void*>(static_cast<UINT_PTR>(64))};
    EXPECT_EQ(AfxItemValid(reinterpret_cast<const TItem*>(item)), 0);
}

// The bytes of a sound item in memory that is read-only, and in memory that is not.
TEST(AfxItemValid, ItemThatCannotBeWrittenIsNotValid) {
    const KnownItem item;
    const TempFolder folder;
    const std::string bytes(reinterpret_cast<const char*>(&item), sizeof item);
    CFile file(folder.Write(L"item.bin", bytes).c_str(), CFile::modeRead);
    CFileMapping mapping(file.m_hFile);
    CMapViewOfFile view(&mapping);
    ASSERT_EQ(mapping.Open(PAGE_WRITECOPY, 0, nullptr), 1);
    ASSERT_EQ(view.Open(0, sizeof item, FILE_MAP_COPY), 1);
    EXPECT_EQ(AfxItemValid(reinterpret_cast<const TItem*>(view.m_pDades)), 1);
    ASSERT_EQ(view.Open(0, sizeof item, FILE_MAP_READ), 1);
    EXPECT_EQ(AfxItemValid(reinterpret_cast<const TItem*>(view.m_pDades)), 0);
}

TEST(AfxItemValid, ItemThatIsSmallerThanItsRecordSaysIsNotValid) {
    const CMirvaRTTI sound(nullptr, "Sound", 2000, sizeof(ItemWithRecord), nullptr);
    EXPECT_EQ(AfxItemValid(std::make_unique<ItemWithRecord>(&sound).get()), 1);
    const CMirvaRTTI greedy(nullptr, "Greedy", 2000, 0xFFFFFFFF, nullptr);
    EXPECT_EQ(AfxItemValid(std::make_unique<ItemWithRecord>(&greedy).get()), 0);
}

TEST(TInt, HoldsAnInteger) {
    TInt number;
    EXPECT_EQ(number.Get(), 0);
    number.Set(-7);
    EXPECT_EQ(number.Get(), -7);
    TInt copy(number);
    EXPECT_EQ(copy.Get(), -7);
    TInt assigned(1);
    assigned = copy;
    EXPECT_EQ(assigned.Get(), -7);
    assigned = TInt(9);
    EXPECT_EQ(assigned.Get(), 9);
}

TEST(TInt, IncAndDecWrapAtTheLimits) {
    TInt number(INT_MAX);
    number.Inc();
    EXPECT_EQ(number.Get(), INT_MIN);
    number.Dec();
    EXPECT_EQ(number.Get(), INT_MAX);
}

TEST(TInt, ComparingAnswersTheDifference) {
    TInt five(5);
    TInt seven(7);
    EXPECT_EQ(five.Comparar(&seven), -2);
    EXPECT_EQ(seven.Comparar(&five), 2);
    EXPECT_EQ(five.Iguals(&seven), 0);
    EXPECT_EQ(five.Iguals(&five), 1);
}

// Kept: the difference is that of 32 bits.
TEST(TInt, ComparingWrapsWhereTheDifferenceDoesNotFit) {
    TInt least(INT_MIN);
    TInt one(1);
    EXPECT_EQ(least.Comparar(&one), INT_MAX);
}

TEST(TBool, IsTrueUnlessSaidOtherwise) {
    EXPECT_EQ(TBool().Get(), 1);
    EXPECT_EQ(TBool(0).Get(), 0);
}

TEST(TBool, KeepsTheNumberItIsGiven) {
    TBool value(-4);
    EXPECT_EQ(value.Get(), -4);
    value.Set(5);
    EXPECT_EQ(value.Get(), 5);
    TBool copy(value);
    TBool assigned;
    assigned = copy;
    EXPECT_EQ(assigned.Get(), 5);
}

TEST(TBool, SwapAnswersZeroOrOne) {
    TBool value(5);
    value.Swap();
    EXPECT_EQ(value.Get(), 0);
    value.Swap();
    EXPECT_EQ(value.Get(), 1);
}

TEST(TChar, HoldsACharacter) {
    TChar value;
    EXPECT_EQ(value.Get(), L'\0');
    value.Set(L'\x20AC');
    TChar copy(value);
    TChar assigned(L'a');
    assigned = copy;
    EXPECT_EQ(assigned.Get(), L'\x20AC');
}

TEST(TFloat, HoldsAFloat) {
    TFloat value;
    EXPECT_EQ(value.Get(), 0.0F);
    value.Set(1.5F);
    TFloat copy(value);
    TFloat assigned(2);
    assigned = copy;
    EXPECT_EQ(assigned.Get(), 1.5F);
    EXPECT_TRUE(std::isnan(TFloat(NAN).Get()));
}

TEST(TDouble, HoldsADouble) {
    TDouble value;
    EXPECT_EQ(value.Get(), 0.0);
    value.Set(0.1);
    TDouble copy(value);
    TDouble assigned(2);
    assigned = copy;
    EXPECT_EQ(assigned.Get(), 0.1);
}

// Kept: only TInt and TItemString have an order.
TEST(TDouble, AllValuesCompareEqual) {
    TDouble one(1);
    TDouble two(2);
    EXPECT_EQ(one.Comparar(&two), 0);
    EXPECT_EQ(one.Iguals(&two), 1);
    EXPECT_EQ(TBool(0).Iguals(&two), 1);
    TChar a(L'a');
    TChar b(L'b');
    EXPECT_EQ(a.Comparar(&b), 0);
    TFloat small(1);
    TFloat large(2);
    EXPECT_EQ(small.Comparar(&large), 0);
}

TEST(TItem, ValueItemsCloneTheirValue) {
    const auto check = [](const auto& item) {
        using Item = std::decay_t<decltype(item)>;
        TItem* clone = item.Duplicar();
        ASSERT_NE(clone, nullptr);
        EXPECT_NE(clone, &item);
        EXPECT_EQ(clone->GetRTTI(), item.GetRTTI());
        EXPECT_EQ(static_cast<Item*>(clone)->Get(), item.Get());
        delete clone;
    };
    check(TInt(-3));
    check(TBool(7));
    check(TChar(L'x'));
    check(TFloat(2.5F));
    check(TDouble(1e300));
}

TEST(TItemString, StartsWithoutAText) {
    TItemString item;
    EXPECT_EQ(item.Agafar(), nullptr);
    EXPECT_EQ(static_cast<wchar_t*>(item), nullptr);
    TItemString fromNoItem(static_cast<const TItemString*>(nullptr));
    EXPECT_EQ(fromNoItem.Agafar(), nullptr);
}

TEST(TItemString, KeepsACopyOfTheText) {
    wchar_t text[] = L"abc";
    TItemString item(text);
    text[0] = L'x';
    EXPECT_STREQ(item.Agafar(), L"abc");
    EXPECT_EQ(item.Agafar(), static_cast<wchar_t*>(item));
}

TEST(TItemString, CopyFromAPointerAndCloneHaveTextsOfTheirOwn) {
    TItemString item(L"abc");
    TItemString copy(&item);
    TItem* clone = item.Duplicar();
    EXPECT_STREQ(copy.Agafar(), L"abc");
    EXPECT_NE(copy.Agafar(), item.Agafar());
    EXPECT_STREQ(static_cast<TItemString*>(clone)->Agafar(), L"abc");
    EXPECT_NE(static_cast<TItemString*>(clone)->Agafar(), item.Agafar());
    delete clone;
}

TEST(TItemString, CloneOfAnItemWithoutTextHasNone) {
    TItemString item;
    TItem* clone = item.Duplicar();
    EXPECT_EQ(static_cast<TItemString*>(clone)->Agafar(), nullptr);
    delete clone;
}

// As the order does, equality takes a text as code units: a pair of surrogates and the character that they
// stand for are the same, whatever the target's wide characters are.
TEST(TItemString, EqualityAgreesWithTheOrder) {
    const TItemString character(L"x\U0001F600");
    const TItemString pair(L"x\xD83D\xDE00");
    EXPECT_EQ(character.Comparar(&pair), 0);
    EXPECT_EQ(character.operator==(pair), 1);
    EXPECT_EQ(pair.operator==(character), 1);
}

// Kept: reference copies share the text. The memory of the copies goes without their destructor: one owner
// frees it.
TEST(TItemString, CopyFromAReferenceSharesTheText) {
    TItemString item(L"abc");
    auto* copy = new TItemString(item);
    EXPECT_EQ(copy->Agafar(), item.Agafar());
    mvlib::FreeItem(copy, sizeof(TItemString));
}

TEST(TItemString, AssignmentSharesTheTextToo) {
    TItemString item(L"abc");
    auto* target = new TItemString(L"old");
    const TItemString keeper(*target);
    *target = item;
    EXPECT_EQ(target->Agafar(), item.Agafar());
    EXPECT_STREQ(keeper.Agafar(), L"old"); // forgotten by the target, not freed
    mvlib::FreeItem(target, sizeof(TItemString));
}

TEST(TItemString, InsertarReplacesTheText) {
    TItemString item(L"abc");
    item.Insertar(L"");
    EXPECT_STREQ(item.Agafar(), L"");
    item = L"de";
    EXPECT_STREQ(item.Agafar(), L"de");
    item.Insertar(nullptr);
    EXPECT_EQ(item.Agafar(), nullptr);
}

TEST(TItemString, InsertarTakesAPartOfItsOwnText) {
    TItemString item(L"abcdef");
    item.Insertar(item.Agafar() + 3);
    EXPECT_STREQ(item.Agafar(), L"def");
    item.Insertar(item.Agafar());
    EXPECT_STREQ(item.Agafar(), L"def");
}

TEST(TItemString, EqualityComparesTheTexts) {
    TItemString a(L"abc");
    TItemString b(L"abc");
    TItemString c(L"abC");
    TItemString longer(L"abcd");
    EXPECT_EQ(a.operator==(b), 1);
    EXPECT_EQ(a.operator==(c), 0);
    EXPECT_EQ(a.operator==(longer), 0);
}

TEST(TItemString, OrderIsThatOfTheCodeUnits) {
    EXPECT_EQ(Order(L"a", L"b"), -1);
    EXPECT_EQ(Order(L"b", L"a"), 1);
    EXPECT_EQ(Order(L"abc", L"abc"), 0);
    EXPECT_EQ(Order(L"", L""), 0);
    EXPECT_EQ(Order(L"ab", L"abc"), -1);
    EXPECT_EQ(Order(L"", L"a"), -1);
    EXPECT_EQ(Order(L"Z", L"a"), -1);
    EXPECT_EQ(Order(L"\x7FFF", L"\x8000"), -1);
    EXPECT_EQ(Order(L"a\xFFFF", L"a\x0001"), 1);
}

// A character beyond the first plane is two code units, the first of them below U+E000: on a target where
// wchar_t is a code point its number is the greater one all the same.
TEST(TItemString, OrderTakesSurrogatePairsAsUnits) {
    EXPECT_EQ(Order(L"\U0001F600", L"\xFFFD"), -1);
    EXPECT_EQ(Order(L"\U0001F600", L"\xD7FF"), 1);
    EXPECT_EQ(Order(L"x\U00010000", L"x\xE000"), -1);
    EXPECT_EQ(Order(L"\U00010000", L"\U00010001"), -1);
    EXPECT_EQ(Order(L"\U0001F600", L"\U0001F600"
                                   L"a"),
              -1);
    EXPECT_EQ(Order(L"\U0010FFFF", L"\U00010000"), 1);
}

TEST(TItemString, ItemWithoutATextSortsFirst) {
    EXPECT_EQ(Order(nullptr, L""), -1);
    EXPECT_EQ(Order(nullptr, nullptr), 0);
    TItemString none;
    TItemString empty(L"");
    EXPECT_EQ(none.operator==(none), 1);
    EXPECT_EQ(none.operator==(empty), 0);
}
