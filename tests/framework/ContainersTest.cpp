// CArray, CList, CMap and the ready-made containers.
#include "throws.h"

#include <afxcoll.h>
#include <afxtempl.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

// Counts its living instances, and throws from its next copy when told to.
struct Counted {
    Counted()
        : Counted(0) {}
    Counted(int number)
        : value(number) {
        ++alive;
    }
    Counted(const Counted& other)
        : value(other.value) {
        if (throwOnCopy) {
            throw 1;
        }
        ++alive;
    }
    Counted& operator=(const Counted& other) {
        if (throwOnCopy) {
            throw 1;
        }
        value = other.value;
        return *this;
    }
    ~Counted() { --alive; }
    bool operator==(const Counted& other) const { return value == other.value; }

    int value;
    static inline int alive = 0;
    static inline bool throwOnCopy = false;
};

struct UnseenCounted : Counted {
    using Counted::Counted;
};

} // namespace

template <>
inline constexpr bool mvafx::isDestroyedUnseen<UnseenCounted> = true;

namespace {

// An element that keeps a pointer to itself, and so may not be moved as bytes.
struct Anchored {
    Anchored()
        : self(this) {}
    Anchored(const Anchored& other)
        : value(other.value)
        , self(this) {}
    Anchored& operator=(const Anchored& other) {
        value = other.value;
        return *this;
    }
    bool IsSound() const { return self == this; }

    int value = 0;
    Anchored* self;
};

template <class Container>
std::vector<int> Values(const Container& container) {
    std::vector<int> values;
    for (INT_PTR i = 0; i < container.GetSize(); ++i) {
        values.push_back(container[i]);
    }
    return values;
}

std::vector<int> Values(const CList<int, int>& list) {
    std::vector<int> values;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) {
        values.push_back(list.GetNext(position));
    }
    std::vector<int> backwards;
    for (POSITION position = list.GetTailPosition(); position != nullptr;) {
        backwards.insert(backwards.begin(), list.GetPrev(position));
    }
    EXPECT_EQ(values, backwards);
    return values;
}

typedef CMap<CString, LPCWSTR, int, int> NameMap;

std::vector<std::wstring> Keys(const NameMap& map) {
    std::vector<std::wstring> keys;
    for (POSITION position = map.GetStartPosition(); position != nullptr;) {
        CString key;
        int value;
        map.GetNextAssoc(position, key, value);
        keys.push_back(key.GetString());
    }
    std::vector<std::wstring> byEntry;
    for (const NameMap::CPair* pair = map.PGetFirstAssoc(); pair != nullptr; pair = map.PGetNextAssoc(pair)) {
        byEntry.push_back(pair->key.GetString());
    }
    EXPECT_EQ(keys, byEntry);
    return keys;
}

typedef std::vector<int> Ints;

} // namespace

// ---- CArray

TEST(CArrayTest, ExampleUsage) {
    CArray<CString> names;
    names.Add(L"b");
    names.Add(L"c");
    names.InsertAt(0, L"a");
    names.RemoveAt(1);
    ASSERT_EQ(2, names.GetSize());
    EXPECT_TRUE(names[0] == L"a");
    EXPECT_TRUE(names[1] == L"c");
}

TEST(CArrayTest, NewElementsAreZero) {
    CArray<int, int> array;
    array.SetSize(3);
    EXPECT_EQ((Ints{0, 0, 0}), Values(array));
    EXPECT_EQ(2, array.GetUpperBound());
    array.SetAtGrow(5, 7);
    EXPECT_EQ((Ints{0, 0, 0, 0, 0, 7}), Values(array));
    array.SetAtGrow(6, 8);
    array.SetAtGrow(0, 9);
    EXPECT_EQ((Ints{9, 0, 0, 0, 0, 7, 8}), Values(array));
    array.RemoveAll();
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(nullptr, array.GetData());
}

TEST(CArrayTest, InsertsAndRemovesInTheMiddle) {
    CArray<int, int> array;
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(i, array.Add(i));
    }
    array.InsertAt(2, 9, 3);
    EXPECT_EQ((Ints{0, 1, 9, 9, 9, 2, 3, 4}), Values(array));
    array.RemoveAt(2, 2);
    EXPECT_EQ((Ints{0, 1, 9, 2, 3, 4}), Values(array));
    array.InsertAt(8, 5);
    EXPECT_EQ((Ints{0, 1, 9, 2, 3, 4, 0, 0, 5}), Values(array));
    array.RemoveAt(9, 0);
    CArray<int, int> other;
    other.Add(70);
    other.Add(71);
    array.InsertAt(1, &other);
    EXPECT_EQ((Ints{0, 70, 71, 1, 9, 2, 3, 4, 0, 0, 5}), Values(array));
}

TEST(CArrayTest, AppendsAndCopies) {
    CArray<int, int> a, b;
    a.Add(1);
    b.Add(2);
    b.Add(3);
    EXPECT_EQ(1, a.Append(b));
    EXPECT_EQ((Ints{1, 2, 3}), Values(a));
    b.Copy(a);
    EXPECT_EQ((Ints{1, 2, 3}), Values(b));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { a.Append(a); }));
}

TEST(CArrayTest, BadIndexesThrow) {
    CArray<int, int> array;
    array.Add(1);
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.GetAt(1); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array[-1] = 2; }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.SetAt(1, 2); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.RemoveAt(0, 2); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.RemoveAt(-1); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.InsertAt(-1, 2); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { array.SetSize(-1); }));
    EXPECT_EQ((Ints{1}), Values(array));
}

TEST(CArrayTest, AddsAnElementOfItself) {
    CArray<CString> array;
    array.Add(L"first");
    for (int i = 0; i < 100; ++i) {
        array.Add(array[0]);
    }
    array.InsertAt(1, array[0]);
    array.SetAtGrow(300, array[0]);
    EXPECT_TRUE(array[101] == L"first");
    EXPECT_TRUE(array[300] == L"first");
    EXPECT_TRUE(array[200].IsEmpty());
}

TEST(CArrayTest, ElementsLiveAsLongAsTheyAreHeld) {
    {
        CArray<Counted> array;
        array.SetSize(20);
        EXPECT_EQ(20, Counted::alive);
        array.SetSize(5, 50);
        EXPECT_EQ(5, Counted::alive);
        array.InsertAt(2, Counted(3), 4);
        EXPECT_EQ(9, Counted::alive);
        array.RemoveAt(1, 3);
        EXPECT_EQ(6, Counted::alive);
        array.FreeExtra();
        EXPECT_EQ(6, Counted::alive);
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST(CArrayTest, ElementsThatMayNotMoveAsBytesAreMovedProperly) {
    CArray<Anchored> array;
    for (int i = 0; i < 100; ++i) {
        Anchored element;
        element.value = i;
        array.Add(element);
    }
    array.RemoveAt(10, 5);
    array.InsertAt(3, Anchored(), 2);
    for (INT_PTR i = 0; i < array.GetSize(); ++i) {
        ASSERT_TRUE(array[i].IsSound()) << i;
    }
    EXPECT_EQ(99, array[array.GetUpperBound()].value);
}

TEST(CArrayTest, TooManyElementsThrowMemoryException) {
    CArray<double, double> array;
    array.Add(1);
    EXPECT_THROW(array.SetSize(static_cast<INT_PTR>(~static_cast<UINT_PTR>(0) >> 1)), CMemoryException*);
    EXPECT_EQ(1, array.GetSize());
}

// ---- CList

TEST(CListTest, ExampleUsage) {
    CStringList names;
    names.AddTail(L"b");
    names.AddHead(L"a");
    names.AddTail(L"c");
    CString all;
    for (POSITION position = names.GetHeadPosition(); position != nullptr;) {
        all += names.GetNext(position);
    }
    EXPECT_TRUE(all == L"abc");
    EXPECT_TRUE(names.RemoveHead() == L"a");
    EXPECT_EQ(2, names.GetCount());
}

TEST(CListTest, AddsAndRemovesAnywhere) {
    CList<int, int> list;
    list.AddTail(2);
    POSITION four = list.AddTail(4);
    list.AddHead(1);
    POSITION three = list.InsertBefore(four, 3);
    list.InsertAfter(four, 5);
    list.InsertBefore(nullptr, 0);
    list.InsertAfter(nullptr, 6);
    EXPECT_EQ((Ints{0, 1, 2, 3, 4, 5, 6}), Values(list));
    list.RemoveAt(three);
    EXPECT_EQ((Ints{0, 1, 2, 4, 5, 6}), Values(list));
    EXPECT_EQ(0, list.RemoveHead());
    EXPECT_EQ(6, list.RemoveTail());
    list.SetAt(four, 40);
    EXPECT_EQ(40, list.GetAt(four));
    EXPECT_EQ(1, list.GetHead());
    EXPECT_EQ(5, list.GetTail());
    list.GetTail() = 50;
    EXPECT_EQ((Ints{1, 2, 40, 50}), Values(list));
}

TEST(CListTest, FindsValuesAndIndexes) {
    CList<int, int> list;
    for (int value : {1, 2, 1, 3}) {
        list.AddTail(value);
    }
    POSITION first = list.Find(1);
    EXPECT_EQ(list.GetHeadPosition(), first);
    EXPECT_EQ(list.FindIndex(2), list.Find(1, first));
    EXPECT_EQ(nullptr, list.Find(1, list.FindIndex(2)));
    EXPECT_EQ(nullptr, list.Find(9));
    EXPECT_EQ(nullptr, list.FindIndex(4));
    EXPECT_EQ(nullptr, list.FindIndex(-1));
}

TEST(CListTest, AddsOtherLists) {
    CList<int, int> a, b;
    a.AddTail(3);
    b.AddTail(1);
    b.AddTail(2);
    a.AddHead(&b);
    a.AddTail(&b);
    EXPECT_EQ((Ints{1, 2, 3, 1, 2}), Values(a));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { a.AddTail(&a); }));
}

TEST(CListTest, EmptyListThrows) {
    CList<int, int> list;
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { list.GetHead(); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { list.GetTail(); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { list.RemoveHead(); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { list.RemoveTail(); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { list.RemoveAt(nullptr); }));
    POSITION none = nullptr;
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { list.GetNext(none); }));
}

TEST(CListTest, ElementsLiveAsLongAsTheyAreHeld) {
    {
        CList<Counted, const Counted&> list(3);
        for (int i = 0; i < 20; ++i) {
            list.AddTail(Counted(i));
        }
        EXPECT_EQ(20, Counted::alive);
        while (list.GetCount() > 5) {
            list.RemoveTail();
        }
        EXPECT_EQ(5, Counted::alive);
        list.RemoveAll();
        EXPECT_EQ(0, Counted::alive);
        list.AddHead(Counted(1));
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST(CListTest, FailedCopyLeavesTheListAsItWas) {
    CList<Counted, const Counted&> list;
    Counted value(1);
    list.AddTail(value);
    Counted::throwOnCopy = true;
    EXPECT_THROW(list.AddTail(value), int);
    Counted::throwOnCopy = false;
    EXPECT_EQ(1, list.GetCount());
    list.AddTail(value);
    EXPECT_EQ(2, list.GetCount());
    EXPECT_EQ(3, Counted::alive);
}

TEST(CListTest, TypedWrapperReadsPointers) {
    int one = 1, two = 2;
    CTypedPtrList<CPtrList, int*> list;
    list.AddTail(&one);
    list.AddTail(&two);
    EXPECT_EQ(2, *list.GetTail());
    POSITION position = list.GetHeadPosition();
    EXPECT_EQ(1, *list.GetNext(position));
    CTypedPtrArray<CPtrArray, int*> array;
    array.Add(&two);
    EXPECT_EQ(2, *array[0]);
}

// ---- CMap

TEST(CMapTest, ExampleUsage) {
    CMap<CString, LPCWSTR, int, int> ages;
    ages.SetAt(L"Anna", 30);
    ages[L"Pere"] = 40;
    int age = 0;
    EXPECT_TRUE(ages.Lookup(L"Anna", age));
    EXPECT_EQ(30, age);
    EXPECT_FALSE(ages.Lookup(L"anna", age));
    EXPECT_TRUE(ages.RemoveKey(L"Anna"));
    EXPECT_FALSE(ages.RemoveKey(L"Anna"));
    EXPECT_EQ(1, ages.GetCount());
}

TEST(CMapTest, KeyHashesAreFixed) {
    EXPECT_EQ(0u, HashKey<LPCWSTR>(L""));
    EXPECT_EQ(97u, HashKey<LPCWSTR>(L"a"));
    EXPECT_EQ(97u * 33 + 98, HashKey<LPCWSTR>(L"ab"));
    EXPECT_EQ((97u * 33 + 98) * 33 + 99, HashKey<LPCSTR>("abc"));
    EXPECT_EQ(HashKey<LPCWSTR>(L"text"), HashKey<const CString&>(CString(L"text")));
    EXPECT_EQ(0u, HashKey<LPCWSTR>(nullptr));
    // A character above 0xFFFF counts as its two UTF-16 units.
    CString emoji(sizeof(wchar_t) > 2 ? CString(static_cast<wchar_t>(0x1F600)) : CString(L"\xD83D\xDE00"));
    EXPECT_EQ(0xD83Du * 33 + 0xDE00, HashKey<LPCWSTR>(emoji));
    EXPECT_EQ(5u, HashKey<int>(80));
    EXPECT_EQ(0x0FFFFFFFu, HashKey<int>(-1));
    EXPECT_EQ(0x123u, HashKey<void*>(reinterpret_cast<void*>(0x1234)));
}

// Hashing goes by groups of characters; every length and every place of a pair gives what one by one gives.
TEST(CMapTest, KeyHashIsThatOfTheUnits) {
    for (std::size_t length = 0; length <= 13; ++length) {
        for (std::size_t pair = 0; pair <= length; ++pair) {
            std::wstring text;
            std::vector<UINT> units;
            for (std::size_t i = 0; i < length; ++i) {
                if (i == pair) {
                    if (sizeof(wchar_t) > 2) {
                        text += static_cast<wchar_t>(0x1F600 + i);
                    } else {
                        text += static_cast<wchar_t>(0xD83D);
                        text += static_cast<wchar_t>(0xDE00 + i);
                    }
                    units.insert(units.end(), {0xD83D, 0xDE00 + static_cast<UINT>(i)});
                } else {
                    text += static_cast<wchar_t>(i % 2 != 0 ? 0xFFFF - i : L'a' + i);
                    units.push_back(static_cast<UINT>(text.back()));
                }
            }
            UINT expected = 0;
            for (UINT unit : units)
                expected = expected * 33 + unit;
            EXPECT_EQ(expected, HashKey<LPCWSTR>(text.c_str())) << length << " " << pair;
        }
    }
}

TEST(CMapTest, TextKeysDifferInAnyCharacter) {
    CMap<CString, LPCWSTR, int, int> map;
    // "b" and then "A" hash as "a" and then "b" do, 33 being their distance.
    const std::wstring middle = L"0123456789";
    for (std::size_t length = 0; length <= middle.size(); ++length) {
        const std::wstring first = middle.substr(0, length) + L"bA" + middle;
        const std::wstring second = middle.substr(0, length) + L"ab" + middle;
        ASSERT_EQ(HashKey<LPCWSTR>(first.c_str()), HashKey<LPCWSTR>(second.c_str()));
        map.SetAt(first.c_str(), 1);
        EXPECT_EQ(nullptr, map.PLookup(second.c_str()));
        map.SetAt(second.c_str(), 2);
        EXPECT_EQ(1, map[first.c_str()]);
        EXPECT_EQ(2, map[second.c_str()]);
    }
    map.SetAt(nullptr, 3);
    EXPECT_EQ(3, map[L""]);
}

TEST(CMapTest, WalksBucketsUpwardsAndTheLatestKeyFirst) {
    NameMap map;
    EXPECT_EQ(17u, map.GetHashTableSize());
    // "a" is 97: bucket 12. "r" is 114: bucket 12 too. "b" 98: 13. "f" 102: 0.
    for (LPCWSTR key : {L"b", L"a", L"f", L"r"}) {
        map.SetAt(key, 1);
    }
    EXPECT_EQ((std::vector<std::wstring>{L"f", L"r", L"a", L"b"}), Keys(map));
    map.SetAt(L"a", 2); // a new value keeps the key's place
    EXPECT_EQ((std::vector<std::wstring>{L"f", L"r", L"a", L"b"}), Keys(map));
    map.RemoveKey(L"a");
    map.SetAt(L"a", 3);
    EXPECT_EQ((std::vector<std::wstring>{L"f", L"a", L"r", L"b"}), Keys(map));
}

TEST(CMapTest, EmptyMapHasNoWalk) {
    NameMap map;
    EXPECT_EQ(nullptr, map.GetStartPosition());
    EXPECT_EQ(nullptr, map.PGetFirstAssoc());
    EXPECT_EQ(nullptr, map.PLookup(L"a"));
    map.SetAt(L"a", 1);
    map.RemoveKey(L"a");
    EXPECT_EQ(nullptr, map.GetStartPosition());
    POSITION none = nullptr;
    CString key;
    int value;
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { map.GetNextAssoc(none, key, value); }));
}

TEST(CMapTest, TableSizeIsSetWhileEmpty) {
    NameMap map;
    map.InitHashTable(1);
    for (LPCWSTR key : {L"a", L"b", L"c"}) {
        map.SetAt(key, 1);
    }
    EXPECT_EQ((std::vector<std::wstring>{L"c", L"b", L"a"}), Keys(map));
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { map.InitHashTable(5); }));
    map.RemoveAll();
    map.InitHashTable(5, FALSE);
    EXPECT_EQ(5u, map.GetHashTableSize());
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { map.InitHashTable(0); }));
}

TEST(CMapTest, EntriesAreChangedInPlace) {
    NameMap map;
    map.SetAt(L"a", 1);
    map.PLookup(L"a")->value = 5;
    EXPECT_EQ(5, map[L"a"]);
    EXPECT_EQ(0, map[L"new"]);
    EXPECT_EQ(2, map.GetCount());
}

TEST(CMapTest, ValuesLiveAsLongAsTheyAreHeld) {
    {
        CMap<int, int, Counted, const Counted&> map(4);
        for (int i = 0; i < 50; ++i) {
            map.SetAt(i, Counted(i));
        }
        EXPECT_EQ(50, Counted::alive);
        for (int i = 0; i < 45; ++i) {
            map.RemoveKey(i);
        }
        EXPECT_EQ(5, Counted::alive);
    }
    EXPECT_EQ(0, Counted::alive);
}

// Values whose order of destruction may be any: they are destroyed block by block.
TEST(CMapTest, UnseenDestructionReachesEveryEntryOnce) {
    CMap<CString, LPCWSTR, UnseenCounted, const UnseenCounted&> map(4);
    std::mt19937 random(2);
    const auto name = [](unsigned i) {
        CString text;
        text.Format(L"name %u", i);
        return text;
    };
    for (int round = 0; round < 30; ++round) {
        for (int i = 0; i < 200; ++i) {
            map.SetAt(name(random() % 500), UnseenCounted(i));
            map.RemoveKey(name(random() % 500));
        }
        ASSERT_EQ(map.GetCount(), Counted::alive);
        if (round % 3 == 0) {
            map.RemoveAll();
            ASSERT_EQ(0, Counted::alive);
        }
    }
    map.RemoveAll();
    EXPECT_EQ(0, Counted::alive);
}

TEST(CMapTest, FailedCopyLeavesTheMapAsItWas) {
    CMap<int, int, Counted, const Counted&> map;
    Counted value(1);
    map.SetAt(1, value);
    Counted::throwOnCopy = true;
    EXPECT_THROW(map.SetAt(2, value), int);
    Counted::throwOnCopy = false;
    EXPECT_EQ(1, map.GetCount());
    EXPECT_EQ(nullptr, map.PLookup(2));
    map.SetAt(2, value);
    EXPECT_EQ(2, map.GetCount());
}

// A map with many more keys than buckets uses its index; nobody may notice but the clock.
TEST(CMapTest, ManyKeysBehaveLikeFew) {
    CMap<int, int, int, int> map;
    std::map<int, int> model;
    std::mt19937 random(1);
    for (int round = 0; round < 60000; ++round) {
        int key = static_cast<int>(random() % 5000);
        switch (random() % 3) {
        case 0:
            EXPECT_EQ(model.erase(key) != 0, map.RemoveKey(key) != FALSE);
            break;
        default:
            map.SetAt(key, round);
            model[key] = round;
        }
    }
    ASSERT_EQ(model.size(), static_cast<size_t>(map.GetCount()));
    for (int key = 0; key < 5000; ++key) {
        int value = -1;
        auto found = model.find(key);
        ASSERT_EQ(found != model.end(), map.Lookup(key, value) != FALSE) << key;
        if (found != model.end()) {
            ASSERT_EQ(found->second, value);
        }
    }
    size_t walked = 0;
    UINT bucket = 0;
    for (POSITION position = map.GetStartPosition(); position != nullptr; ++walked) {
        int key, value;
        map.GetNextAssoc(position, key, value);
        ASSERT_LE(bucket, HashKey<int>(key) % 17);
        bucket = HashKey<int>(key) % 17;
    }
    EXPECT_EQ(model.size(), walked);
    map.RemoveAll();
    EXPECT_EQ(nullptr, map.GetStartPosition());
    map.SetAt(1, 1);
    EXPECT_EQ(1, map[1]);
}

TEST(CMapTest, ManyKeysKeepTheirOrder) {
    NameMap map;
    std::vector<std::vector<std::wstring>> buckets(17);
    for (int i = 0; i < 2000; ++i) {
        CString key;
        key.Format(L"key %d", i);
        map.SetAt(key, i);
        auto& bucket = buckets[HashKey<LPCWSTR>(key) % 17];
        bucket.insert(bucket.begin(), key.GetString());
    }
    std::vector<std::wstring> expected;
    for (const auto& bucket : buckets) {
        expected.insert(expected.end(), bucket.begin(), bucket.end());
    }
    EXPECT_EQ(expected, Keys(map));
}

TEST(CMapTest, ReadyMadeMaps) {
    CMapStringToString texts;
    texts.SetAt(L"a", L"b");
    CString value;
    EXPECT_TRUE(texts.Lookup(L"a", value));
    EXPECT_TRUE(value == L"b");
    CMapPtrToPtr pointers;
    pointers.SetAt(&texts, &value);
    EXPECT_EQ(&value, pointers[&texts]);
    CMapStringToPtr names;
    names.SetAt(L"x", &value);
    EXPECT_EQ(&value, names[L"x"]);
}
