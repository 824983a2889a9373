// Storing, reading and walking option blocks.
#include "BlockSupport.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <memory>

namespace {

class TBlocOpcionsTest : public testing::Test {
protected:
    // "n" 1, "s" "text", "b" three bytes, and the block "inner" with "n" 2 and the block "deep" with "n" 3.
    void Fill() {
        TBlocOpcions inner, deep;
        EXPECT_EQ(deep.EntraValorInt32(L"n", 3), 0);
        EXPECT_EQ(inner.EntraValorInt32(L"n", 2), 0);
        EXPECT_EQ(inner.EntraValorString(L"s", L"nested"), 0);
        EXPECT_EQ(inner.EntraSubBloc(L"deep", &deep), 0);
        EXPECT_EQ(m_block.EntraValorInt32(L"n", 1), 0);
        EXPECT_EQ(m_block.EntraValorReal64(L"r", 0.5), 0);
        EXPECT_EQ(m_block.EntraValorString(L"s", L"text"), 0);
        EXPECT_EQ(m_block.EntraValorBinari(L"b", "\1\2\3", 3), 0);
        EXPECT_EQ(m_block.EntraSubBloc(L"inner", &inner), 0);
    }
    std::string Binary(const wchar_t* name) {
        unsigned long size = 0;
        void* bytes = m_block.TornaValorBinari(name, size);
        std::string text(static_cast<char*>(bytes), size);
        std::free(bytes);
        return text;
    }

    TBlocOpcions m_block;
    ITEMBLOCOPCIONS m_item;
};

// The bucket of a name, by its UTF-16 units.
unsigned Bucket(const std::u16string& units) {
    std::uint32_t hash = 0;
    for (char16_t unit : units)
        hash = hash * 33 + unit;
    return hash % 17;
}

} // namespace

TEST_F(TBlocOpcionsTest, ExampleUsage) {
    TBlocOpcions window;
    window.EntraValorInt32(L"width", 640);
    TBlocOpcions options;
    options.EntraValorString(L"user", L"anna");
    options.EntraSubBloc(L"window", &window);
    unsigned int size;
    unsigned char* bytes = options.ToBlocDades(size);
    TBlocOpcions same(bytes, size);
    std::free(bytes);
    EXPECT_EQ(same.TornaValorInt32(L"window/width", 800), 640);
    EXPECT_EQ(same.TornaValorInt32(L"window/height", 600), 600);
    EXPECT_EQ(same.TornaValorString(L"user", nullptr), L"anna");
}

// ---- Values

TEST_F(TBlocOpcionsTest, ValuesComeBackAsTheyWereStored) {
    Fill();
    EXPECT_EQ(m_block.TornaValorInt32(L"n", 0), 1);
    EXPECT_EQ(m_block.TornaValorReal64(L"r", 0), 0.5);
    EXPECT_EQ(m_block.TornaValorString(L"s", L""), L"text");
    EXPECT_EQ(Binary(L"b"), "\1\2\3");
    const std::unique_ptr<TBlocOpcions> inner(m_block.TornaSubBloc(L"inner"));
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->TornaValorInt32(L"n", 0), 2);
}

TEST_F(TBlocOpcionsTest, ExtremeNumbersAreKept) {
    for (long value : {0L, -1L, static_cast<long>(INT_MAX), static_cast<long>(INT_MIN)}) {
        m_block.EntraValorInt32(L"n", value);
        EXPECT_EQ(m_block.TornaValorInt32(L"n", 7), value);
    }
    using Limits = std::numeric_limits<double>;
    for (double value : {-0.0, Limits::max(), Limits::denorm_min(), Limits::infinity()}) {
        m_block.EntraValorReal64(L"r", value);
        EXPECT_EQ(m_block.TornaValorReal64(L"r", 7), value);
        EXPECT_EQ(std::signbit(m_block.TornaValorReal64(L"r", 7)), std::signbit(value));
    }
    m_block.EntraValorReal64(L"r", Limits::quiet_NaN());
    EXPECT_TRUE(std::isnan(m_block.TornaValorReal64(L"r", 7)));
}

TEST_F(TBlocOpcionsTest, OtherKindGivesTheDefault) {
    Fill();
    for (const wchar_t* name : {L"n", L"r", L"s", L"b", L"inner", L"missing"}) {
        const std::wstring_view n = name;
        if (n != L"n") {
            EXPECT_EQ(m_block.TornaValorInt32(name, 77), 77);
        }
        if (n != L"r") {
            EXPECT_EQ(m_block.TornaValorReal64(name, 7.5), 7.5) << "no conversion, not even of an integer";
        }
        if (n != L"s") {
            EXPECT_EQ(m_block.TornaValorString(name, L"default"), L"default");
            EXPECT_EQ(m_block.TornaValorString(name, nullptr), L"");
            CString text = L"before";
            m_block.TornaValorString(name, text, L"default");
            EXPECT_EQ(text, L"default");
            m_block.TornaValorString(name, text, nullptr);
            EXPECT_EQ(text, L"");
        }
        if (n != L"b") {
            unsigned long size = 99;
            EXPECT_EQ(m_block.TornaValorBinari(name, size), nullptr);
            EXPECT_EQ(size, 99ul) << "left alone";
        }
        if (n != L"inner") {
            EXPECT_EQ(m_block.TornaSubBloc(name), nullptr);
        }
    }
}

TEST_F(TBlocOpcionsTest, DefaultMayBeTheTextThatIsSet) {
    CString text = L"same";
    m_block.TornaValorString(L"missing", text, text);
    EXPECT_EQ(text, L"same");
}

TEST_F(TBlocOpcionsTest, EmptyBinaryIsFoundWithoutBytes) {
    EXPECT_EQ(m_block.EntraValorBinari(L"null", nullptr, 5), 0);
    EXPECT_EQ(m_block.EntraValorBinari(L"none", "abc", 0), 0);
    for (const wchar_t* name : {L"null", L"none"}) {
        unsigned long size = 99;
        EXPECT_EQ(m_block.TornaValorBinari(name, size), nullptr);
        EXPECT_EQ(size, 0ul);
        ASSERT_EQ(m_block.Buscar(name, m_item), 1);
        EXPECT_EQ(m_item.nTipus, 4);
        EXPECT_EQ(m_item.dwMida, 0u);
    }
}

TEST_F(TBlocOpcionsTest, NullStringIsStoredAndReadAsEmpty) {
    EXPECT_EQ(m_block.EntraValorString(L"s", nullptr), 0);
    EXPECT_EQ(m_block.TornaValorString(L"s", L"default"), L"");
    ASSERT_EQ(m_block.Buscar(L"s", m_item), 1);
    EXPECT_EQ(m_item.nTipus, 5);
    EXPECT_EQ(m_item.pDades, nullptr);
}

TEST_F(TBlocOpcionsTest, NewValueReplacesTheOldOfAnyKind) {
    m_block.EntraValorString(L"x", L"text");
    m_block.EntraValorInt32(L"x", 5);
    EXPECT_EQ(m_block.TornaValorInt32(L"x", 0), 5);
    EXPECT_EQ(m_block.TornaValorString(L"x", L"default"), L"default");
    EXPECT_EQ(NamesOf(m_block), Names{L"x"});
}

TEST_F(TBlocOpcionsTest, NamesCompareWithTheirCase) {
    m_block.EntraValorInt32(L"Name", 1);
    m_block.EntraValorInt32(L"name", 2);
    EXPECT_EQ(m_block.TornaValorInt32(L"Name", 0), 1);
    EXPECT_EQ(m_block.TornaValorInt32(L"name", 0), 2);
    EXPECT_EQ(m_block.TornaValorInt32(L"NAME", 0), 0);
}

TEST_F(TBlocOpcionsTest, NullNameIsTheEmptyName) {
    EXPECT_EQ(m_block.EntraValorInt32(nullptr, 5), 0);
    EXPECT_EQ(m_block.TornaValorInt32(L"", 0), 5);
    EXPECT_EQ(m_block.TornaValorInt32(nullptr, 0), 5);
    EXPECT_EQ(m_block.Eliminar(nullptr), 1);
    EXPECT_EQ(m_block.Buscar(L"", m_item), 0);
}

TEST_F(TBlocOpcionsTest, ItemIsCopiedInAndOut) {
    m_item.SetString(L"text");
    EXPECT_EQ(m_block.Afegir(L"s", m_item), 0);
    m_item.SetString(L"changed");
    EXPECT_EQ(m_block.TornaValorString(L"s", L""), L"text");
    ASSERT_EQ(m_block.Buscar(L"s", m_item), 1);
    static_cast<wchar_t*>(m_item.pDades)[0] = L'n';
    EXPECT_EQ(m_block.TornaValorString(L"s", L""), L"text");
}

TEST_F(TBlocOpcionsTest, MissIsZeroAndLeavesTheItem) {
    m_item.SetInt32(5);
    EXPECT_EQ(m_block.Buscar(L"missing", m_item), 0);
    EXPECT_EQ(m_item.lValor, 5);
}

TEST_F(TBlocOpcionsTest, EntriesAreRemovedByTheirExactNames) {
    Fill();
    EXPECT_EQ(m_block.Eliminar(L"n"), 1);
    EXPECT_EQ(m_block.Eliminar(L"n"), 0);
    EXPECT_EQ(m_block.Eliminar(L"inner/n"), 0) << "no path";
    EXPECT_EQ(m_block.TornaValorInt32(L"inner/n", 0), 2);
    m_block.Reset();
    EXPECT_EQ(NamesOf(m_block), Names());
    EXPECT_EQ(m_block.GetPrimer(), nullptr);
}

// ---- Paths

TEST_F(TBlocOpcionsTest, PathsReachIntoNestedBlocks) {
    Fill();
    EXPECT_EQ(m_block.TornaValorInt32(L"inner/n", 0), 2);
    EXPECT_EQ(m_block.TornaValorInt32(L"inner/deep/n", 0), 3);
    EXPECT_EQ(m_block.TornaValorString(L"inner/s", L""), L"nested");
    const std::unique_ptr<TBlocOpcions> deep(m_block.TornaSubBloc(L"inner/deep"));
    ASSERT_NE(deep, nullptr);
    EXPECT_EQ(deep->TornaValorInt32(L"n", 0), 3);
    ASSERT_EQ(m_block.Buscar(L"inner/deep", m_item), 1);
    EXPECT_EQ(m_item.nTipus, 3);
    EXPECT_EQ(BytesOf(m_item), BlockBytes().Int("n", 3).Bytes());
}

TEST_F(TBlocOpcionsTest, PathsThatLeadNowhereFindNothing) {
    Fill();
    for (const wchar_t* name : {L"inner/x", L"inner/deep/x", L"inner/n/x", L"inner/", L"/inner", L"n/x",
                                L"x/n", L"inner//n", L"inner/deep/n/", L"/", L"inner/x/n"})
        EXPECT_EQ(m_block.Buscar(name, m_item), 0) << name;
}

TEST_F(TBlocOpcionsTest, PathStoredLeavesAnEmptyBlockOnly) {
    EXPECT_EQ(m_block.EntraValorInt32(L"a/b", 5), 0);
    EXPECT_EQ(NamesOf(m_block), Names{L"a"});
    ASSERT_EQ(m_block.Buscar(L"a", m_item), 1);
    EXPECT_EQ(m_item.nTipus, 3);
    EXPECT_EQ(BytesOf(m_item), "DRIVER-BLOC");
    EXPECT_EQ(m_block.Buscar(L"a/b", m_item), 0);
}

TEST_F(TBlocOpcionsTest, PathStoredLeavesANestedBlockAsItIs) {
    Fill();
    EXPECT_EQ(m_block.EntraValorInt32(L"inner/n", 9), 0);
    EXPECT_EQ(m_block.EntraValorString(L"inner/new/deeper", L"x"), 0);
    EXPECT_EQ(m_block.TornaValorInt32(L"inner/n", 0), 2);
    EXPECT_EQ(m_block.Buscar(L"inner/new", m_item), 0);
}

TEST_F(TBlocOpcionsTest, PathStoredReplacesAnotherValueByAnEmptyBlock) {
    m_block.EntraValorInt32(L"a", 5);
    EXPECT_EQ(m_block.EntraValorInt32(L"a/b", 6), 0);
    EXPECT_EQ(m_block.TornaValorInt32(L"a", 0), 0);
    ASSERT_EQ(m_block.Buscar(L"a", m_item), 1);
    EXPECT_EQ(m_item.nTipus, 3);
}

TEST_F(TBlocOpcionsTest, EveryOperationThatStoresTakesPathsLikeThat) {
    TBlocOpcions other;
    EXPECT_EQ(m_block.EntraValorReal64(L"r/x", 1), 0);
    EXPECT_EQ(m_block.EntraValorString(L"s/x", L"x"), 0);
    EXPECT_EQ(m_block.EntraValorBinari(L"b/x", "x", 1), 0);
    EXPECT_EQ(m_block.EntraSubBloc(L"o/x", &other), 0);
    EXPECT_EQ(m_block.EntraValorInt32(L"/x", 1), 0) << "the name before the slash is empty";
    for (const wchar_t* name : {L"r", L"s", L"b", L"o", L""}) {
        ASSERT_EQ(m_block.Buscar(name, m_item), 1) << name;
        EXPECT_EQ(BytesOf(m_item), "DRIVER-BLOC") << name;
    }
}

TEST_F(TBlocOpcionsTest, NestedBlockIsASnapshot) {
    TBlocOpcions inner;
    inner.EntraValorInt32(L"n", 1);
    m_block.EntraSubBloc(L"inner", &inner);
    inner.EntraValorInt32(L"n", 2);
    EXPECT_EQ(m_block.TornaValorInt32(L"inner/n", 0), 1);
    EXPECT_EQ(m_block.EntraSubBloc(L"inner", nullptr), 0);
    const std::unique_ptr<TBlocOpcions> empty(m_block.TornaSubBloc(L"inner"));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(NamesOf(*empty), Names());
}

TEST_F(TBlocOpcionsTest, BlockMayHoldItself) {
    m_block.EntraValorInt32(L"n", 1);
    EXPECT_EQ(m_block.EntraSubBloc(L"self", &m_block), 0);
    EXPECT_EQ(m_block.EntraSubBloc(L"self", &m_block), 0);
    EXPECT_EQ(m_block.TornaValorInt32(L"self/self/n", 0), 1);
    EXPECT_EQ(m_block.Buscar(L"self/self/self", m_item), 0);
}

TEST_F(TBlocOpcionsTest, PathsReadNestedDataAsLoadingItWould) {
    // Repeated names, 8-bit text, a name that is a path, and a cut at the end, at two depths.
    const std::string inner = BlockBytes()
                                  .Int("n", 1)
                                  .Narrow("t", "eight")
                                  .Int("n", 2)
                                  .Int("p", 3)
                                  .Int("p/q", 4)
                                  .Block("k", BlockBytes().Int("n", 5).Bytes())
                                  .Int("k/x", 6)
                                  .Int("after", 7)
                                  .head("cut", KIND_INT)
                                  .Bytes();
    m_item.SetDadesBin(const_cast<char*>(inner.data()), static_cast<unsigned>(inner.size()), 1, 3);
    m_block.Afegir(L"in", m_item);
    const std::unique_ptr<TBlocOpcions> loaded(m_block.TornaSubBloc(L"in"));
    ASSERT_NE(loaded, nullptr);
    for (const wchar_t* name : {L"n", L"t", L"p", L"p/q", L"k", L"k/n", L"k/x", L"after", L"cut", L"x"}) {
        ITEMBLOCOPCIONS direct, byPath;
        EXPECT_EQ(loaded->Buscar(name, direct), m_block.Buscar((L"in/" + std::wstring(name)).c_str(), byPath))
            << name;
        EXPECT_EQ(direct.nTipus, byPath.nTipus) << name;
        if (direct.nTipus == 0) {
            EXPECT_EQ(direct.lValor, byPath.lValor) << name;
        }
        if (direct.nTipus == 3) {
            EXPECT_EQ(BytesOf(direct), BytesOf(byPath)) << name;
        }
        if (direct.nTipus == 5) {
            EXPECT_EQ(TextOf(direct), TextOf(byPath)) << name;
        }
    }
    EXPECT_EQ(m_block.TornaValorInt32(L"in/n", 0), 2) << "the last one counts";
    EXPECT_EQ(m_block.TornaValorInt32(L"in/k/n", 0), 5);
    ASSERT_EQ(m_block.Buscar(L"in/p", m_item), 1);
    EXPECT_EQ(BytesOf(m_item), "DRIVER-BLOC");
}

TEST_F(TBlocOpcionsTest, NestedDataThatIsNoneIsAnEmptyBlock) {
    for (const char* data : {"", "garbage", "DRIVER-BLO", "DRIVER-BLOC"}) {
        m_item.SetDadesBin(const_cast<char*>(data), static_cast<unsigned>(std::strlen(data)), 1, 3);
        m_block.Afegir(L"in", m_item);
        EXPECT_EQ(m_block.Buscar(L"in/n", m_item), 0);
        const std::unique_ptr<TBlocOpcions> loaded(m_block.TornaSubBloc(L"in"));
        ASSERT_NE(loaded, nullptr);
        EXPECT_EQ(NamesOf(*loaded), Names());
    }
}

// ---- Order and walks

TEST_F(TBlocOpcionsTest, OrderIsByBucketAndTheLatestFirst) {
    // "f" is in bucket 0, "g" in 1, "a" and "r" in 12, "e" in 16.
    ASSERT_EQ(Bucket(u"f"), 0u);
    ASSERT_EQ(Bucket(u"a"), Bucket(u"r"));
    for (const wchar_t* name : {L"a", L"e", L"r", L"g", L"f"})
        m_block.EntraValorInt32(name, 0);
    EXPECT_EQ(NamesOf(m_block), (Names{L"f", L"g", L"r", L"a", L"e"}));
    EXPECT_EQ(DataOf(m_block),
              BlockBytes().Int("f", 0).Int("g", 0).Int("r", 0).Int("a", 0).Int("e", 0).Bytes());
}

TEST_F(TBlocOpcionsTest, NewValueKeepsThePlaceInTheOrder) {
    for (const wchar_t* name : {L"a", L"r", L"a"})
        m_block.EntraValorInt32(name, 0);
    EXPECT_EQ(NamesOf(m_block), (Names{L"r", L"a"}));
    m_block.Eliminar(L"a");
    m_block.EntraValorInt32(L"a", 0);
    EXPECT_EQ(NamesOf(m_block), (Names{L"a", L"r"}));
}

TEST_F(TBlocOpcionsTest, NamesHashByTheirUtf16Units) {
    const std::u16string emoji = {0xD83D, 0xDE00}, accented = {0xE9}, plain = u"zz";
    const wchar_t* wide[] = {L"\U0001F600", L"\u00E9", L"zz"};
    std::vector<std::pair<unsigned, std::wstring>> order = {
        {Bucket(emoji), wide[0]}, {Bucket(accented), wide[1]}, {Bucket(plain), wide[2]}};
    std::sort(order.begin(), order.end());
    ASSERT_NE(order[0].first, order[1].first);
    ASSERT_NE(order[1].first, order[2].first);
    for (const wchar_t* name : wide)
        m_block.EntraValorInt32(name, 0);
    EXPECT_EQ(NamesOf(m_block), (Names{order[0].second, order[1].second, order[2].second}));
}

TEST_F(TBlocOpcionsTest, ManyNamesAreWalkedInTheSameOrder) {
    // Enough for every bucket to be long, which is where look-ups stop walking the buckets.
    std::vector<std::vector<std::wstring>> buckets(17);
    for (int i = 0; i < 3000; ++i) {
        const std::wstring name = L"name" + std::to_wstring(i);
        m_block.EntraValorInt32(name.c_str(), i);
        auto& bucket = buckets[Bucket(std::u16string(name.begin(), name.end()))];
        bucket.insert(bucket.begin(), name);
    }
    for (int i = 0; i < 3000; i += 3) {
        const std::wstring name = L"name" + std::to_wstring(i);
        EXPECT_EQ(m_block.Eliminar(name.c_str()), 1);
        std::erase(buckets[Bucket(std::u16string(name.begin(), name.end()))], name);
    }
    Names expected;
    for (const auto& bucket : buckets)
        expected.insert(expected.end(), bucket.begin(), bucket.end());
    EXPECT_EQ(NamesOf(m_block), expected);
    for (int i = 0; i < 3000; ++i)
        EXPECT_EQ(m_block.TornaValorInt32((L"name" + std::to_wstring(i)).c_str(), -1), i % 3 ? i : -1);
}

TEST_F(TBlocOpcionsTest, EnumerationVisitsInOrderAndReturnsTheLastAnswer) {
    for (const wchar_t* name : {L"a", L"r", L"f"})
        m_block.EntraValorInt32(name, name[0]);
    struct Visit {
        static int __stdcall Each(const wchar_t* name, ITEMBLOCOPCIONS& item, long user) {
            auto* seen = reinterpret_cast<Names*>(user);
            seen->push_back(name);
            EXPECT_EQ(item.lValor, name[0]);
            item.SetString(L"changed"); // a copy
            return static_cast<int>(seen->size()) * 10;
        }
    };
    Names seen;
    EXPECT_EQ(m_block.Enumerar(Visit::Each, reinterpret_cast<long>(&seen)), 30);
    EXPECT_EQ(seen, (Names{L"f", L"r", L"a"}));
    EXPECT_EQ(m_block.TornaValorInt32(L"a", 0), 'a');
}

TEST_F(TBlocOpcionsTest, EnumerationStopsAtANegativeAnswer) {
    for (const wchar_t* name : {L"a", L"r", L"f"})
        m_block.EntraValorInt32(name, 0);
    struct Visit {
        static int __stdcall Second(const wchar_t*, ITEMBLOCOPCIONS&, long user) {
            return ++*reinterpret_cast<int*>(user) == 2 ? -42 : 1;
        }
    };
    int calls = 0;
    EXPECT_EQ(m_block.Enumerar(Visit::Second, reinterpret_cast<long>(&calls)), -42);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(TBlocOpcions().Enumerar(Visit::Second, 0), 0) << "an empty block";
}

TEST_F(TBlocOpcionsTest, VisitorMayRemoveTheEntryItIsCalledFor) {
    for (int i = 0; i < 100; ++i)
        m_block.EntraValorInt32(std::to_wstring(i).c_str(), i);
    struct Visit {
        static int __stdcall Remove(const wchar_t* name, ITEMBLOCOPCIONS& item, long user) {
            return item.lValor % 2 ? reinterpret_cast<TBlocOpcions*>(user)->Eliminar(name) : 0;
        }
    };
    m_block.Enumerar(Visit::Remove, reinterpret_cast<long>(&m_block));
    EXPECT_EQ(NamesOf(m_block).size(), 50u);
}

TEST_F(TBlocOpcionsTest, WalkEndsAtANullPosition) {
    EXPECT_EQ(m_block.GetPrimer(), nullptr);
    POSITION pos = nullptr;
    CString name = L"before";
    m_item.SetInt32(5);
    m_block.GetSeguent(pos, name, m_item);
    EXPECT_EQ(name, L"before");
    EXPECT_EQ(m_item.lValor, 5);
    m_block.EntraValorInt32(L"a", 1);
    pos = m_block.GetPrimer();
    ASSERT_NE(pos, nullptr);
    m_block.GetSeguent(pos, name, m_item);
    EXPECT_EQ(name, L"a");
    EXPECT_EQ(pos, nullptr);
}

// ---- Copies and items

TEST_F(TBlocOpcionsTest, CopiesAreBlocksOfTheirOwn) {
    Fill();
    const TBlocOpcions copy(&m_block);
    const std::unique_ptr<TBlocOpcions> clone(m_block.Duplicar());
    m_block.Reset();
    for (const TBlocOpcions* block : {&copy, static_cast<const TBlocOpcions*>(clone.get())}) {
        EXPECT_EQ(NamesOf(*block).size(), 5u);
        EXPECT_EQ(block->TornaValorInt32(L"inner/deep/n", 0), 3);
        EXPECT_EQ(block->TornaValorString(L"s", L""), L"text");
    }
    EXPECT_EQ(NamesOf(TBlocOpcions(static_cast<const TBlocOpcions*>(nullptr))), Names());
}

TEST_F(TBlocOpcionsTest, CopiesShowNamesOfOneBucketInTheOppositeOrder) {
    for (const wchar_t* name : {L"a", L"r", L"f"})
        m_block.EntraValorInt32(name, 0);
    const TBlocOpcions copy(&m_block), copyOfCopy(&copy);
    EXPECT_EQ(NamesOf(m_block), (Names{L"f", L"r", L"a"}));
    EXPECT_EQ(NamesOf(copy), (Names{L"f", L"a", L"r"}));
    EXPECT_EQ(NamesOf(copyOfCopy), NamesOf(m_block));
    const std::unique_ptr<TBlocOpcions> clone(m_block.Duplicar());
    EXPECT_EQ(NamesOf(*clone), NamesOf(copy));
}

TEST_F(TBlocOpcionsTest, IsAnItem) {
    TItem* item = &m_block;
    EXPECT_EQ(item->GetRTTI(), &TBlocOpcions::m_rttiTBlocOpcions);
    EXPECT_EQ(item->QueSoc(), 13000);
    EXPECT_STREQ(TBlocOpcions::m_rttiTBlocOpcions.m_szNom, "TBlocOpcions");
    EXPECT_EQ(TBlocOpcions::m_rttiTBlocOpcions.m_pPare, &TItem::m_rttiTItem);
    EXPECT_EQ(TBlocOpcions::m_rttiTBlocOpcions.m_nMida, sizeof(TBlocOpcions));
    EXPECT_EQ(TBlocOpcions::m_rttiTBlocOpcions.CrearItem(), nullptr);
    EXPECT_EQ(AfxTestClasseItem(item, &TBlocOpcions::m_rttiTBlocOpcions), item);
    const TBlocOpcions other;
    EXPECT_EQ(item->Comparar(&other), 0);
    EXPECT_EQ(item->Iguals(&other), 1);
    EXPECT_EQ(item->EsBuit(), 0) << "as every plain item, also without entries";
    EXPECT_EQ(item->Guardar(nullptr), -2);
    EXPECT_EQ(item->Llegir(nullptr), -2);
    const std::unique_ptr<TItem> clone(item->Duplicar());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->QueSoc(), 13000);
}
