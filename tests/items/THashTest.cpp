#include <THash.h>
#include <TLlista.h>

#include <afx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "alloc_failure.h"
#include "live_item.h"

namespace {

// A table that shows its inside.
class OpenHash : public THash {
public:
    using THash::ENTRADA;
    using THash::m_nBuckets;
    using THash::m_nElements;
    using THash::m_nLliure;
    using THash::m_nMax;
    using THash::m_pBuckets;
    using THash::m_pEntrades;

    std::u16string Key(int slot) const { return m_pEntrades[slot].szClau; }
};

class THashTest : public testing::Test {
protected:
    THashTest() { EXPECT_EQ(table.init(10), 0); }
    ~THashTest() override {}

    int Put(const std::wstring& key, int value) { return table.put(new LiveItem(value), key.c_str()); }
    // The value under the key, -1 when there is none.
    int Get(const std::wstring& key, int len = -1) const {
        const auto* item = static_cast<const LiveItem*>(table.get(key.c_str(), len));
        return item ? item->Value() : -1;
    }

    const int before = LiveItem::Count();
    OpenHash table;
};

TEST_F(THashTest, ExampleUsage) {
    ASSERT_EQ(table.put(new TInt(7), L"seven"), 0);
    auto* item = static_cast<TInt*>(table.get(L"seven"));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->Get(), 7);
    EXPECT_EQ(table.length(), 1u);
    EXPECT_EQ(table.del(L"seven"), 0);
    EXPECT_EQ(table.get(L"seven"), nullptr);
}

TEST_F(THashTest, InitChoosesSlotsAndBuckets) {
    EXPECT_EQ(table.maxlength(), 10u);
    EXPECT_EQ(table.m_nBuckets, 4u);
    EXPECT_EQ(table.length(), 0u);
    EXPECT_EQ(table.EsBuit(), 1);
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(table.m_pBuckets[i], ~0u);
    }
    for (unsigned i = 0; i < 10; ++i) {
        EXPECT_EQ(table.m_pEntrades[i].szClau[0], 0);
        EXPECT_EQ(table.m_pEntrades[i].pItem, nullptr);
        EXPECT_EQ(table.m_pEntrades[i].nLen, -1);
        EXPECT_EQ(table.m_pEntrades[i].nSeguent, i < 9 ? i + 1 : ~0u);
    }
}

// Kept: init is meant for a fresh table, whose count and free list are at 0.
TEST_F(THashTest, InitLeavesTheCountAndTheHeadOfTheFreeList) {
    OpenHash fresh;
    fresh.m_nLliure = 2;
    fresh.m_nElements = 1;
    ASSERT_EQ(fresh.init(5), 0);
    EXPECT_EQ(fresh.m_nLliure, 2u);
    EXPECT_EQ(fresh.length(), 1u);
}

TEST_F(THashTest, EleventhKeyGrowsTenSlotsToThirty) {
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
    }
    EXPECT_EQ(table.maxlength(), 10u);
    ASSERT_EQ(Put(L"k10", 10), 0);
    EXPECT_EQ(table.maxlength(), 30u);
    EXPECT_EQ(table.m_nBuckets, 4u);
    for (int i = 0; i <= 10; ++i) {
        EXPECT_EQ(Get(L"k" + std::to_wstring(i)), i);
    }
}

TEST_F(THashTest, GrowthIsAThirdOnceThatIsMoreThanTwenty) {
    OpenHash large;
    ASSERT_EQ(large.init(90), 0);
    ASSERT_EQ(large.Ampliar(-1), 0);
    EXPECT_EQ(large.maxlength(), 120u);
    ASSERT_EQ(large.Ampliar(5), 0);
    EXPECT_EQ(large.maxlength(), 125u);
    EXPECT_EQ(large.m_nLliure, 120u);
    EXPECT_EQ(large.m_pEntrades[120].nLen, 0);
    EXPECT_EQ(large.m_pEntrades[124].nSeguent, ~0u);
}

TEST_F(THashTest, AnagramsShareABucketAndAreBothFound) {
    EXPECT_EQ(table.clau(L"ab", -1), table.clau(L"ba", -1));
    Put(L"ab", 1);
    Put(L"ba", 2);
    EXPECT_EQ(Get(L"ab"), 1);
    EXPECT_EQ(Get(L"ba"), 2);
    EXPECT_EQ(table.length(), 2u);
}

TEST_F(THashTest, BucketIsTheSumOfUnitsModuloTheBuckets) {
    EXPECT_EQ(table.clau(L"ab", -1), ('a' + 'b') % 4);
    EXPECT_EQ(table.clau(L"abc", 2), ('a' + 'b') % 4);
    EXPECT_EQ(table.clau(L"", -1), 0);
    const wchar_t withNul[] = {L'a', 0, L'c'};
    EXPECT_EQ(table.clau(withNul, 3), ('a' + 'c') % 4);
    // U+1F600 is the two units D83D DE00 wherever it is added up.
    EXPECT_EQ(table.clau(L"\U0001F600", -1), (0xD83D + 0xDE00) % 4);
    EXPECT_EQ(THash().clau(L"ab", -1), 0);
}

TEST_F(THashTest, SecondPutUnderAKeyDestroysTheFirstItem) {
    Put(L"key", 1);
    Put(L"key", 2);
    EXPECT_EQ(table.length(), 1u);
    EXPECT_EQ(LiveItem::Count(), before + 1);
    EXPECT_EQ(Get(L"key"), 2);
}

TEST_F(THashTest, ChangeHandsTheOldItemBack) {
    TInt sentinel;
    TItem* old = &sentinel;
    ASSERT_EQ(table.change(new LiveItem(1), L"key", old), 0);
    EXPECT_EQ(old, &sentinel) << "a new key leaves the output alone";
    ASSERT_EQ(table.change(new LiveItem(2), L"key", old), 0);
    std::unique_ptr<TItem> first(old);
    EXPECT_EQ(static_cast<LiveItem*>(old)->Value(), 1);
    EXPECT_EQ(Get(L"key"), 2);
    EXPECT_EQ(table.length(), 1u);
}

TEST_F(THashTest, KeyStoredWithALengthIsFoundOnlyWithThatLength) {
    ASSERT_EQ(table.put(new LiveItem(1), L"abcdef", 3), 0);
    EXPECT_EQ(Get(L"abc"), -1);
    EXPECT_EQ(Get(L"abcxyz", 3), 1);
    EXPECT_EQ(Get(L"abcdef", 4), -1);
    Put(L"abc", 2);
    EXPECT_EQ(table.length(), 2u);
    EXPECT_EQ(Get(L"abc"), 2);
    EXPECT_EQ(Get(L"abc", 3), 1);
}

TEST_F(THashTest, KeyMayHoldNulsWhenItsLengthIsGiven) {
    const wchar_t one[] = {L'a', 0, L'b'};
    const wchar_t two[] = {L'a', 0, L'c'};
    table.put(new LiveItem(1), one, 3);
    table.put(new LiveItem(2), two, 3);
    EXPECT_EQ(static_cast<LiveItem*>(table.get(one, 3))->Value(), 1);
    EXPECT_EQ(static_cast<LiveItem*>(table.get(two, 3))->Value(), 2);
}

TEST_F(THashTest, EmptyKeyIsAKey) {
    Put(L"", 5);
    EXPECT_EQ(Get(L""), 5);
    EXPECT_EQ(table.del(L""), 0);
}

TEST_F(THashTest, NullItemIsHeldUnderItsKey) {
    ASSERT_EQ(table.put(nullptr, L"none"), 0);
    EXPECT_EQ(table.length(), 1u);
    EXPECT_EQ(table.get(L"none"), nullptr);
    EXPECT_EQ(table.del(L"none"), 0);
    EXPECT_EQ(table.length(), 0u);
}

TEST_F(THashTest, PuttingTheItemThatIsThereAgainKeepsIt) {
    auto* item = new LiveItem(3);
    table.put(item, L"key");
    ASSERT_EQ(table.put(item, L"key"), 0);
    EXPECT_EQ(Get(L"key"), 3);
}

TEST_F(THashTest, DeletedSlotIsTheNextOneUsed) {
    Put(L"a", 1);
    Put(L"b", 2);
    Put(L"c", 3);
    ASSERT_EQ(table.del(L"b"), 0);
    EXPECT_EQ(LiveItem::Count(), before + 2);
    EXPECT_EQ(table.m_nLliure, 1u);
    EXPECT_EQ(table.m_pEntrades[1].nSeguent, 3u);
    Put(L"d", 4);
    EXPECT_EQ(table.Key(1), u"d");
    EXPECT_EQ(Get(L"a"), 1);
    EXPECT_EQ(Get(L"c"), 3);
}

TEST_F(THashTest, UnlinkingKeepsTheRestOfAChain) {
    const wchar_t* keys[] = {L"abc", L"acb", L"bac", L"bca"};
    for (int removed = 0; removed < 4; ++removed) {
        OpenHash chain;
        chain.init(10);
        for (const wchar_t* key : keys) {
            chain.put(new LiveItem(key[0]), key);
        }
        ASSERT_EQ(chain.del(keys[removed]), 0);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(chain.get(keys[i]) != nullptr, i != removed) << i << " after " << removed;
        }
        chain.put(new LiveItem(1), L"cab");
        EXPECT_NE(chain.get(L"cab"), nullptr);
    }
}

// del chooses the bucket by the length, and compares texts to their ends.
TEST_F(THashTest, DelComparesWholeTexts) {
    table.put(new LiveItem(1), L"abc", 3);
    EXPECT_EQ(table.del(L"abcd", 3), -1402);
    EXPECT_EQ(table.del(L"abc", 3), 0);
    Put(L"abc", 2);
    EXPECT_EQ(table.del(L"abc", 3), 0) << "an entry of another length, with the same text";
    table.put(new LiveItem(3), L"abc", 3);
    EXPECT_EQ(table.del(L"abc"), 0);
    EXPECT_EQ(table.length(), 0u);
}

// A key stored with a length gets no terminator: what the slot held before follows it.
TEST_F(THashTest, KeyStoredWithALengthLeavesTheSlotsOldTailBehind) {
    Put(L"abcdef", 1);
    ASSERT_EQ(table.del(L"abcdef"), 0);
    table.put(new LiveItem(2), L"xy", 2);
    EXPECT_EQ(table.Key(0), u"xycdef");
    EXPECT_EQ(static_cast<LiveItem*>(table.get(L"xy", 2))->Value(), 2);
    EXPECT_EQ(table.del(L"xy", 2), -1402) << "the stored text goes on behind the key";
}

TEST_F(THashTest, BuscarClauTellsTheEntryBefore) {
    Put(L"abc", 1);
    Put(L"acb", 2);
    Put(L"bac", 3);
    const int bucket = table.clau(L"abc", -1);
    int at = bucket;
    EXPECT_EQ(table.BuscarClau(L"abc", at, -1), 0);
    EXPECT_EQ(at, 0);
    at = bucket;
    EXPECT_EQ(table.BuscarClau(L"bac", at, -1), 1);
    EXPECT_EQ(at, 2);
    at = bucket;
    EXPECT_EQ(table.BuscarClau(L"cab", at, -1), 2) << "the last of the chain";
    EXPECT_EQ(at, -1);
    at = (bucket + 1) % 4;
    EXPECT_EQ(table.BuscarClau(L"abc", at, -1), -1) << "an empty chain";
    EXPECT_EQ(at, -1);
}

TEST_F(THashTest, CopyClauWritesAtMost261Units) {
    const std::wstring longKey(400, L'k');
    table.CopyClau(longKey.c_str(), 2, 300);
    EXPECT_EQ(table.m_pEntrades[2].szClau[260], u'k');
    table.CopyClau(L"text", 2, -1);
    EXPECT_EQ(table.Key(2), u"text");
    table.CopyClau(L"ab", 2, 2);
    EXPECT_EQ(table.Key(2), u"abxt");
}

// What BuscarClau compares is what stands in the slots, in long chains too.
TEST_F(THashTest, RewrittenKeyIsFoundInItsChain) {
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(Put(L"k" + std::to_wstring(100 + i), i), 0);
    }
    int at = table.clau(L"k123", -1);
    const int bucket = at;
    table.BuscarClau(L"k123", at, -1);
    ASSERT_EQ(at, 23);
    table.CopyClau(L"k132", at, -1); // of the same bucket
    EXPECT_EQ(Get(L"k123"), -1);
    at = bucket;
    table.BuscarClau(L"k132", at, -1);
    EXPECT_EQ(at, 23) << "the first of the chain that holds the text";
    table.CopyClau(L"other", 23, -1);
    at = bucket;
    table.BuscarClau(L"other", at, -1);
    EXPECT_EQ(at, 23);
    EXPECT_EQ(Get(L"k132"), 32);
    EXPECT_EQ(table.length(), 100u);
}

// A key that was cut to what a slot holds stays in the bucket of the whole key, and must not be unlinked from
// another.
TEST_F(THashTest, CutKeyIsNotTakenForItsBeginning) {
    const std::wstring cut = std::wstring(262, L'y');
    ASSERT_EQ(Put(cut, 1000), 0);
    for (int i = 0; i < 200; ++i) { // long chains bring an index into being
        ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
    }
    const std::wstring beginning(261, L'y');
    ASSERT_NE(table.clau(cut.c_str(), -1), table.clau(beginning.c_str(), -1));
    EXPECT_EQ(Get(beginning), -1);
    EXPECT_EQ(table.del(beginning.c_str()), -1402);
    EXPECT_EQ(table.length(), 201u);
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(Get(L"k" + std::to_wstring(i)), i);
    }
}

TEST_F(THashTest, LongestKeysAreStoredWholeAndLongerOnesStayInside) {
    const std::wstring longest(261, L'x');
    const std::wstring tooLong(1000, L'x');
    ASSERT_EQ(Put(longest, 1), 0);
    EXPECT_EQ(Get(longest), 1);
    ASSERT_EQ(Put(tooLong, 2), 0);
    EXPECT_EQ(Get(longest), 1);
    EXPECT_EQ(Get(tooLong), -1) << "only its beginning was kept";
    ASSERT_EQ(table.put(new LiveItem(3), tooLong.c_str(), 1000), 0);
    EXPECT_EQ(Get(tooLong, 1000), 3);
    EXPECT_EQ(table.m_pEntrades[0].pItem, table.get(longest.c_str()));
}

TEST_F(THashTest, CharactersOutsideTheBasicPlaneAreKeptAsTwoUnits) {
    Put(L"a\U0001F600b", 1);
    EXPECT_EQ(table.Key(0), u"a\U0001F600b");
    EXPECT_EQ(Get(L"a\U0001F600b"), 1);
    std::unique_ptr<TLlista> list(table.LlistaElements());
    EXPECT_STREQ(static_cast<THashItem*>(list->GetItem(0))->m_szClau, L"a\U0001F600b");
}

TEST_F(THashTest, DoneForgetsItemsAndKeepsTheCount) {
    auto* a = new LiveItem(1);
    auto* b = new LiveItem(2);
    table.put(a, L"a");
    table.put(b, L"b");
    table.Done();
    EXPECT_EQ(LiveItem::Count(), before + 2);
    EXPECT_EQ(table.length(), 2u);
    EXPECT_EQ(table.m_nLliure, 2u);
    EXPECT_EQ(Get(L"a"), -1);
    EXPECT_EQ(table.m_pEntrades[0].nSeguent, 1u);
    EXPECT_EQ(table.m_pEntrades[0].nLen, -1);
    EXPECT_EQ(table.m_pEntrades[9].nSeguent, ~0u);
    EXPECT_EQ(Put(L"c", 3), 0);
    EXPECT_EQ(Get(L"c"), 3);
    EXPECT_EQ(table.length(), 3u);
    delete a;
    delete b;
}

TEST_F(THashTest, CopyClonesItemsWithTheirKeysAndLengths) {
    Put(L"a", 1);
    table.put(new LiveItem(2), L"bcd", 2);
    OpenHash target;
    target.init(10);
    ASSERT_EQ(table.copy(&target), 0);
    EXPECT_EQ(target.length(), 2u);
    EXPECT_EQ(static_cast<LiveItem*>(target.get(L"a"))->Value(), 1);
    EXPECT_EQ(static_cast<LiveItem*>(target.get(L"bc", 2))->Value(), 2);
    EXPECT_EQ(target.get(L"bc"), nullptr);
    EXPECT_NE(target.get(L"a"), table.get(L"a"));
}

TEST_F(THashTest, ListHoldsAPairPerKeyInSlotOrder) {
    Put(L"first", 1);
    Put(L"second", 2);
    Put(L"third", 3);
    table.del(L"first");
    Put(L"fourth", 4);
    std::unique_ptr<TLlista> list(table.LlistaElements());
    ASSERT_EQ(list->Cnt(), 3);
    const std::wstring keys[] = {L"fourth", L"second", L"third"};
    for (int i = 0; i < 3; ++i) {
        auto* pair = static_cast<THashItem*>(list->GetItem(i));
        EXPECT_EQ(pair->QueSoc(), 20);
        EXPECT_EQ(pair->m_szClau, keys[i]);
        EXPECT_NE(pair->m_pItem, table.get(keys[i].c_str())) << "a clone";
    }
    list.reset();
    EXPECT_EQ(LiveItem::Count(), before + 3);
}

TEST_F(THashTest, ListOfAnEmptyTableIsEmpty) {
    std::unique_ptr<TLlista> list(table.LlistaElements());
    EXPECT_EQ(list->Cnt(), 0);
}

TEST_F(THashTest, DuplicarOfATableWithKeysIsNull) {
    auto* held = new LiveItem(1);
    table.put(held, L"a");
    EXPECT_EQ(table.Duplicar(), nullptr);
    EXPECT_EQ(LiveItem::Count(), before + 2) << "the abandoned table keeps its clone";
}

TEST_F(THashTest, DuplicarOfAnEmptyTableHasTheSameSlots) {
    std::unique_ptr<TItem> clone(table.Duplicar());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->QueSoc(), 1);
    EXPECT_EQ(static_cast<THash*>(clone.get())->maxlength(), 10u);
    EXPECT_EQ(clone->EsBuit(), 1);
}

TEST_F(THashTest, ShallowCopySharesTheStorage) {
    Put(L"a", 1);
    alignas(THash) unsigned char room[sizeof(OpenHash)];
    auto* copy = new (room) OpenHash(table); // never destroyed: the storage has one owner
    EXPECT_EQ(copy->m_pEntrades, table.m_pEntrades);
    EXPECT_EQ(copy->get(L"a"), table.get(L"a"));
    EXPECT_EQ(copy->length(), 1u);
}

TEST_F(THashTest, DestructorDestroysWhatIsHeld) {
    {
        THash gone;
        gone.init(4);
        for (int i = 0; i < 50; ++i) {
            gone.put(new LiveItem(i), std::to_wstring(i).c_str());
        }
        EXPECT_EQ(LiveItem::Count(), before + 50);
    }
    EXPECT_EQ(LiveItem::Count(), before);
}

// Long chains are searched through an index of their own; what shows stays as it is with short ones.
TEST_F(THashTest, ManyKeysInFewBucketsBehaveLikeAMap) {
    OpenHash many;
    ASSERT_EQ(many.init(3), 0);
    constexpr int kKeys = 3000;
    std::vector<int> expected(kKeys, -1);
    unsigned random = 12345;
    for (int step = 0; step < 40000; ++step) {
        random = random * 1664525u + 1013904223u;
        const int key = static_cast<int>((random >> 8) % kKeys);
        const std::wstring text = L"key " + std::to_wstring(key);
        if ((random >> 4) % 3 == 0) {
            EXPECT_EQ(many.del(text.c_str()), expected[key] < 0 ? -1402 : 0);
            expected[key] = -1;
        } else {
            ASSERT_EQ(many.put(new LiveItem(step), text.c_str()), 0);
            expected[key] = step;
        }
    }
    unsigned held = 0;
    for (int key = 0; key < kKeys; ++key) {
        const auto* item = static_cast<LiveItem*>(many.get((L"key " + std::to_wstring(key)).c_str()));
        ASSERT_EQ(item ? item->Value() : -1, expected[key]) << key;
        held += item ? 1 : 0;
    }
    EXPECT_EQ(many.length(), held);
    // The chains hold every key once, and end.
    unsigned linked = 0;
    for (unsigned bucket = 0; bucket < many.m_nBuckets; ++bucket) {
        for (unsigned at = many.m_pBuckets[bucket]; at != ~0u; at = many.m_pEntrades[at].nSeguent) {
            ASSERT_LE(++linked, held);
        }
    }
    EXPECT_EQ(linked, held);
}

// The table written out: buckets, chains and free list walked one by one.
class LiteralTable {
public:
    struct Slot {
        std::u16string text; // what stands there, to the first NUL behind the key
        int value = -1;      // -1: free
        unsigned next = ~0u;
        int length = -1;
    };
    std::vector<Slot> slots;
    std::vector<unsigned> buckets;
    unsigned free = 0;
    unsigned held = 0;

    explicit LiteralTable(unsigned count)
        : slots(count)
        , buckets(count / 3 + 1, ~0u) {
        ThreadFreeSlots(0);
    }

    // -1, or the value that was there.
    int Put(const std::u16string& key, int value, int length) {
        unsigned* link = &buckets[Bucket(key)];
        for (; *link != ~0u; link = &slots[*link].next) {
            Slot& slot = slots[*link];
            if (slot.length == length && slot.text.substr(0, key.size()) == key &&
                (length != -1 || slot.text == key)) {
                return std::exchange(slot.value, value);
            }
        }
        if (held == slots.size()) {
            free = static_cast<unsigned>(slots.size());
            slots.resize(slots.size() + std::max<std::size_t>(slots.size() / 3, 20), {u"", -1, ~0u, 0});
            ThreadFreeSlots(free);
            link = &buckets[Bucket(key)]; // the slots have moved
            while (*link != ~0u) {
                link = &slots[*link].next;
            }
        }
        const unsigned at = free;
        *link = at;
        free = slots[at].next;
        ++held;
        // A key with a length is written over what was there and gets no end of its own.
        const std::u16string tail =
            length != -1 && slots[at].text.size() > key.size() ? slots[at].text.substr(key.size()) : u"";
        slots[at] = {key + tail, value, ~0u, length};
        return -1;
    }
    int Get(const std::u16string& key, int length) const {
        for (unsigned at = buckets[Bucket(key)]; at != ~0u; at = slots[at].next) {
            if (slots[at].length == length && slots[at].text.substr(0, key.size()) == key &&
                (length != -1 || slots[at].text == key)) {
                return slots[at].value;
            }
        }
        return -1;
    }
    int Delete(const std::u16string& key) {
        for (unsigned* link = &buckets[Bucket(key)]; *link != ~0u; link = &slots[*link].next) {
            const unsigned at = *link;
            if (slots[at].text == key) {
                *link = slots[at].next;
                slots[at].next = std::exchange(free, at);
                slots[at].value = -1;
                --held;
                return 0;
            }
        }
        return -1402;
    }
    // Whether the table shows the same everywhere.
    testing::AssertionResult IsShownBy(const OpenHash& table) const {
        if (table.length() != held || table.maxlength() != slots.size() || table.m_nLliure != free) {
            return testing::AssertionFailure() << "counts";
        }
        for (std::size_t i = 0; i < buckets.size(); ++i) {
            if (table.m_pBuckets[i] != buckets[i]) {
                return testing::AssertionFailure() << "bucket " << i;
            }
        }
        for (std::size_t i = 0; i < slots.size(); ++i) {
            const OpenHash::ENTRADA& entry = table.m_pEntrades[i];
            const auto* item = static_cast<const LiveItem*>(entry.pItem);
            const std::u16string text = slots[i].value == -1 ? u"" : slots[i].text;
            if ((item ? item->Value() : -1) != slots[i].value || entry.nSeguent != slots[i].next ||
                entry.nLen != slots[i].length || entry.szClau != text) {
                return testing::AssertionFailure() << "slot " << i;
            }
        }
        return testing::AssertionSuccess();
    }

private:
    unsigned Bucket(const std::u16string& key) const {
        return std::accumulate(key.begin(), key.end(), 0u) % static_cast<unsigned>(buckets.size());
    }
    void ThreadFreeSlots(unsigned first) {
        for (auto i = first; i < slots.size(); ++i) {
            slots[i].next = i + 1 < slots.size() ? i + 1 : ~0u;
        }
    }
};

// Short keys with lengths, keys of every length that differ at either end only, and keys of two-unit
// characters, in few buckets and in many.
TEST_F(THashTest, RandomOperationsShowWhatTheLiteralTableShows) {
    struct Key {
        std::wstring text;
        std::u16string units;
        int length;
    };
    std::vector<Key> keys;
    const auto add = [&keys](const std::wstring& text, int length) {
        std::u16string units;
        for (const wchar_t character : text) {
            const auto code = static_cast<char32_t>(character);
            if (code > 0xFFFF) {
                units += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
                units += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
            } else {
                units += static_cast<char16_t>(code);
            }
        }
        keys.push_back({text, units, length});
    };
    for (int i = 0; i < 81; ++i) { // of four letters: what a slot held before them is longer, or nothing
        std::wstring text;
        for (int rest = i; text.size() < 4; rest /= 3) {
            text += static_cast<wchar_t>(L'a' + rest % 3);
        }
        add(text, 4);
        add(text, -1);
    }
    for (unsigned length = 4; length <= 261; length += length < 40 ? 1 : length < 120 ? 20 : 1) {
        const std::wstring middle(length - 2, L'm');
        add(L"a" + middle + L"x", -1);
        add(L"a" + middle + L"y", -1);
        add(L"b" + middle + L"x", -1);
    }
    for (int i = 0; i < 40; ++i) {
        add(L"\U0001F600" + std::to_wstring(1000 + i) + L"\U0001F601", -1);
    }
    for (const unsigned room : {10u, 400u}) {
        OpenHash shown;
        ASSERT_EQ(shown.init(room), 0);
        LiteralTable literal(room);
        unsigned random = room;
        const auto next = [&random] { return (random = random * 1664525u + 1013904223u) >> 8; };
        for (int step = 0; step < 20000; ++step) {
            const Key& key = keys[next() % keys.size()];
            const wchar_t* text = key.text.c_str();
            // Runs of mostly insertions and of mostly deletions take turns.
            const unsigned choice = next() % 8 + (step / 2000 % 2 ? 3 : 0);
            if (choice < 4) {
                literal.Put(key.units, step, key.length);
                ASSERT_EQ(shown.put(new LiveItem(step), text, key.length), 0);
            } else if (choice < 5) {
                TItem* old = nullptr;
                ASSERT_EQ(shown.change(new LiveItem(step), text, old, key.length), 0);
                ASSERT_EQ(old ? static_cast<LiveItem*>(old)->Value() : -1,
                          literal.Put(key.units, step, key.length));
                delete old;
            } else if (choice < 6) {
                const auto* item = static_cast<LiveItem*>(shown.get(text, key.length));
                ASSERT_EQ(item ? item->Value() : -1, literal.Get(key.units, key.length)) << step;
            } else {
                ASSERT_EQ(shown.del(text, key.length), literal.Delete(key.units)) << step;
            }
            if (step % 250 == 0) {
                ASSERT_TRUE(literal.IsShownBy(shown)) << step;
            }
        }
        EXPECT_TRUE(literal.IsShownBy(shown));
    }
}

TEST_F(THashTest, KeysInMemoryOfJustTheirSizeAreNotReadBeyond) {
    for (int count = 0; count <= 261; ++count) {
        const std::unique_ptr<wchar_t[]> text(new wchar_t[count]);
        std::fill_n(text.get(), count, L'k');
        ASSERT_EQ(table.put(new LiveItem(count), text.get(), count), 0);
        const std::unique_ptr<wchar_t[]> ended(new wchar_t[count + 1]);
        std::fill_n(ended.get(), count, L'k');
        ended[count] = 0;
        ASSERT_EQ(table.put(new LiveItem(1000 + count), ended.get()), 0);
    }
    for (int count = 0; count <= 261; ++count) {
        EXPECT_EQ(Get(std::wstring(count, L'k'), count), count);
        EXPECT_EQ(Get(std::wstring(count, L'k')), 1000 + count);
    }
}

// A shallow copy finds through the same index, also when that came into being later.
TEST_F(THashTest, ShallowCopySharesTheIndex) {
    alignas(THash) unsigned char room[sizeof(OpenHash)];
    ASSERT_EQ(table.Ampliar(500), 0);
    auto* copy = new (room) OpenHash(table); // never destroyed: the storage has one owner
    for (int i = 0; i < 400; ++i) {
        ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
    }
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(copy->get((L"k" + std::to_wstring(i)).c_str()),
                  table.get((L"k" + std::to_wstring(i)).c_str()));
    }
    for (int i = 0; i < 400; i += 2) {
        ASSERT_EQ(table.del((L"k" + std::to_wstring(i)).c_str()), 0);
    }
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(copy->get((L"k" + std::to_wstring(i)).c_str()) != nullptr, i % 2 == 1);
    }
}

TEST_F(THashTest, KeysWithLengthsSurviveLongChains) {
    for (int i = 0; i < 400; ++i) {
        const std::wstring text = std::to_wstring(1000 + i);
        ASSERT_EQ(table.put(new LiveItem(i), text.c_str(), i % 2 ? 4 : -1), 0);
    }
    for (int i = 0; i < 400; ++i) {
        const std::wstring text = std::to_wstring(1000 + i);
        EXPECT_EQ(Get(text, i % 2 ? 4 : -1), i);
        EXPECT_EQ(Get(text, i % 2 ? -1 : 4), -1);
    }
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(table.del(std::to_wstring(1000 + i).c_str()), 0);
    }
    EXPECT_EQ(table.length(), 0u);
}

TEST_F(THashTest, PairSharesItsItemWhenCopiedByReference) {
    TInt value(5);
    THashItem pair(L"key", &value);
    EXPECT_NE(pair.m_pItem, &value);
    std::unique_ptr<TItem> clone(pair.Duplicar());
    EXPECT_STREQ(static_cast<THashItem*>(clone.get())->m_szClau, L"key");
    EXPECT_NE(static_cast<THashItem*>(clone.get())->m_pItem, pair.m_pItem);
    alignas(THashItem) unsigned char room[sizeof(THashItem)];
    auto* shared = new (room) THashItem(pair); // never destroyed: the item has one owner
    EXPECT_EQ(shared->m_pItem, pair.m_pItem);
}

TEST_F(THashTest, PairCutsAKeyThatIsTooLong) {
    TInt value(5);
    const THashItem pair(std::wstring(500, L'k').c_str(), &value);
    EXPECT_EQ(std::wstring(pair.m_szClau), std::wstring(260, L'k'));
}

// --- error results ---

TEST_F(THashTest, CodeMinus1WithoutInit) {
    THash raw;
    std::unique_ptr<TItem> item(new LiveItem(1));
    EXPECT_EQ(raw.put(item.get(), L"a"), -1);
    EXPECT_EQ(raw.get(L"a"), nullptr);
    EXPECT_EQ(raw.del(L"a"), -1402);
    EXPECT_EQ(raw.Ampliar(5), -1);
    raw.Done();
}

TEST_F(THashTest, CodeMinus1WhenInitHasNoMemory) {
    const int failures = FailEachAllocation([] {
        THash raw;
        const int result = raw.init(10);
        EXPECT_TRUE(result == 0 || result == -1);
        EXPECT_EQ(raw.get(L"a"), nullptr);
    });
    EXPECT_GT(failures, 0);
    if (sizeof(void*) == 4) {
        THash huge;
        EXPECT_EQ(huge.init(0x80000000u), -1) << "a size that cannot be told in 32 bits";
    }
}

TEST_F(THashTest, CodeMinus1WhenGrowthHasNoMemoryKeepsTheKeysAndRaisesTheCount) {
    for (int i = 0; i < 10; ++i) {
        Put(L"k" + std::to_wstring(i), i);
    }
    auto item = std::make_unique<LiveItem>(10);
    {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        EXPECT_EQ(table.put(item.get(), L"k10"), -1);
    }
    EXPECT_EQ(table.maxlength(), 30u) << "raised before the storage is had";
    EXPECT_EQ(table.length(), 10u);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Get(L"k" + std::to_wstring(i)), i);
    }
    ASSERT_EQ(table.put(item.release(), L"k10"), 0) << "with memory again, the table goes on";
    EXPECT_EQ(Get(L"k10"), 10);
}

TEST_F(THashTest, ShortMemoryForTheIndexChangesNoResult) {
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
    }
    ASSERT_EQ(table.Ampliar(500), 0);
    FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
    for (int i = 10; i < 400; ++i) {
        // The items are made by the test program, whose allocations do not fail.
        ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
    }
    EXPECT_GT(failure.Failed(), 0);
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(Get(L"k" + std::to_wstring(i)), i);
    }
}

TEST_F(THashTest, ShortMemoryForAGrowingIndexChangesNoResult) {
    for (int i = 0; i < 30; ++i) { // there is an index for as many
        ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
    }
    ASSERT_EQ(table.Ampliar(500), 0);
    {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        for (int i = 30; i < 400; ++i) {
            ASSERT_EQ(Put(L"k" + std::to_wstring(i), i), 0);
        }
        EXPECT_GT(failure.Failed(), 0);
    }
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(Get(L"k" + std::to_wstring(i)), i);
    }
    for (int i = 0; i < 400; i += 3) {
        EXPECT_EQ(table.del((L"k" + std::to_wstring(i)).c_str()), 0);
    }
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(Get(L"k" + std::to_wstring(i)), i % 3 == 0 ? -1 : i);
    }
}

TEST_F(THashTest, CodeMinus1WhenCopyHasNoMemory) {
    for (int i = 0; i < 60; ++i) {
        Put(L"k" + std::to_wstring(i), i);
    }
    OpenHash target;
    target.init(1);
    EXPECT_EQ(table.copy(&target), -4);
    const int failures = FailEachAllocation([&] {
        OpenHash other;
        if (other.init(table.maxlength()) != 0) {
            return;
        }
        const int result = table.copy(&other);
        EXPECT_TRUE(result == 0 || result == -1) << result;
    });
    EXPECT_GT(failures, 0);
}

TEST_F(THashTest, MemoryExceptionWhenTheListHasNoMemory) {
    Put(L"a", 1);
    Put(L"b", 2);
    const int failures = FailEachAllocation([&] {
        try {
            std::unique_ptr<TLlista> list(table.LlistaElements());
            EXPECT_EQ(list->Cnt(), 2);
        } catch (CMemoryException* e) {
            e->Delete();
        }
        EXPECT_EQ(LiveItem::Count(), before + 2);
    });
    EXPECT_GT(failures, 0);
}

TEST_F(THashTest, CodeMinus4ForATargetThatIsTooSmallOrNotEmpty) {
    for (int i = 0; i < 5; ++i) {
        Put(L"k" + std::to_wstring(i), i);
    }
    OpenHash small;
    small.init(4);
    EXPECT_EQ(table.copy(&small), -4);
    OpenHash used;
    used.init(20);
    used.put(new LiveItem(1), L"mine");
    EXPECT_EQ(table.copy(&used), -4);
    EXPECT_EQ(used.length(), 1u);
    EXPECT_EQ(table.copy(nullptr), -4);
}

TEST_F(THashTest, CodeMinus1402ForAKeyThatIsAbsent) {
    EXPECT_EQ(table.del(L"absent"), -1402);
    Put(L"ab", 1);
    EXPECT_EQ(table.del(L"ba"), -1402) << "the same bucket, another text";
}

TEST_F(THashTest, TypeRecords) {
    EXPECT_EQ(table.QueSoc(), 1);
    EXPECT_STREQ(THash::m_rttiTHash.m_szNom, "THash");
    EXPECT_EQ(THash::m_rttiTHash.m_pPare, &TItem::m_rttiTItem);
    EXPECT_EQ(THash::m_rttiTHash.m_nMida, sizeof(THash));
    EXPECT_STREQ(THashItem::m_rttiTHashItem.m_szNom, "THashItem");
    EXPECT_EQ(THashItem::m_rttiTHashItem.m_nMida, sizeof(THashItem));
    EXPECT_EQ(table.Guardar(nullptr), -2);
    EXPECT_EQ(table.Llegir(nullptr), -2);
}

TEST_F(THashTest, SizeAndOrderOfFields) {
    if (sizeof(void*) == 4) {
        EXPECT_EQ(sizeof(THash), 28u);
        EXPECT_EQ(sizeof(OpenHash::ENTRADA), 536u);
        EXPECT_EQ(sizeof(THashItem), 532u);
    }
    const auto offset = [&](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(static_cast<THash*>(&table));
    };
    EXPECT_EQ(offset(&table.m_nMax), static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_LT(offset(&table.m_nMax), offset(&table.m_nBuckets));
    EXPECT_LT(offset(&table.m_nBuckets), offset(&table.m_nElements));
    EXPECT_LT(offset(&table.m_nElements), offset(&table.m_pBuckets));
    EXPECT_LT(offset(&table.m_pBuckets), offset(&table.m_pEntrades));
    EXPECT_LT(offset(&table.m_pEntrades), offset(&table.m_nLliure));
}

} // namespace
