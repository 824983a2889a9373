// The bytes of data blocks: written exactly, read with every damage.
#include "BlockSupport.h"
#include "doc_example.h"

#include "win32.h"

#include <climits>
#include <memory>

namespace {

class DataBlockTest : public testing::Test {
protected:
    // Loads the bytes into a block of their own; answers the code.
    int Read(const std::string& bytes) { return Load(m_block, bytes); }
    int Read(const BlockBytes& bytes) { return Read(bytes.Bytes()); }
    std::wstring Text(const wchar_t* name) {
        return m_block.TornaValorString(name, L"(default)").GetString();
    }

    TBlocOpcions m_block;
    ITEMBLOCOPCIONS m_item;
};

std::string Long(std::size_t count) {
    return std::string(count, 'n');
}

} // namespace

TEST_F(DataBlockTest, ExampleOfThePageIsWhatIsWritten) {
    TBlocOpcions inner;
    inner.EntraValorInt32(L"k", 7);
    m_block.EntraValorInt32(L"n", -2);
    m_block.EntraValorString(L"user", L"A\u00F1");
    m_block.EntraValorBinari(L"raw", "\x01\xAB\x00", 3);
    m_block.EntraValorReal64(L"x", 0.5);
    m_block.EntraSubBloc(L"in", &inner);
    const std::string example = BytesOfExample(MVLIB_DOCS "/data-blocks.md", "## Worked example");
    EXPECT_EQ(DataOf(m_block), example);

    TBlocOpcions loaded;
    EXPECT_EQ(Load(loaded, example), 0);
    EXPECT_EQ(loaded.TornaValorInt32(L"n", 0), -2);
    EXPECT_EQ(loaded.TornaValorString(L"user", L""), L"A\u00F1");
    EXPECT_EQ(loaded.TornaValorReal64(L"x", 0), 0.5);
    EXPECT_EQ(loaded.TornaValorInt32(L"in/k", 0), 7);
    unsigned long size = 0;
    void* bytes = loaded.TornaValorBinari(L"raw", size);
    EXPECT_EQ(std::string(static_cast<char*>(bytes), size), std::string("\x01\xAB\x00", 3));
    std::free(bytes);
}

// ---- Writing

TEST_F(DataBlockTest, EmptyBlockIsTheSignature) {
    EXPECT_EQ(DataOf(m_block), "DRIVER-BLOC");
    EXPECT_EQ(Read("DRIVER-BLOC"), 0);
    EXPECT_EQ(NamesOf(m_block), Names());
}

TEST_F(DataBlockTest, EveryKindIsWrittenByteForByte) {
    m_block.EntraValorInt32(L"i", INT_MIN);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Int("i", INT_MIN).Bytes());
    m_block.Reset();
    m_block.EntraValorReal64(L"r", -1.0 / 3);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Real("r", -1.0 / 3).Bytes());
    m_block.Reset();
    m_block.EntraValorString(L"s", L"h\u00E9\u4E2D\U0001F600");
    EXPECT_EQ(DataOf(m_block), BlockBytes().Text("s", u"h\u00E9\u4E2D\U0001F600").Bytes());
    m_block.Reset();
    m_block.EntraValorBinari(L"b", "\0\1\xFF", 3);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Binary("b", std::string("\0\1\xFF", 3)).Bytes());
    m_block.Reset();
    TBlocOpcions inner;
    m_block.EntraSubBloc(L"o", &inner);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Block("o", "DRIVER-BLOC").Bytes());
}

TEST_F(DataBlockTest, ValuesWithoutBytesAreWrittenWithCountZero) {
    m_block.EntraValorBinari(L"b", nullptr, 0);
    m_block.EntraValorString(L"s", nullptr);
    m_block.EntraValorString(L"t", L"");
    const std::string data = DataOf(m_block);
    EXPECT_EQ(data, BlockBytes().Text("s", u"").Binary("b", "").Text("t", u"").Bytes());
    EXPECT_EQ(Read(data), 0);
    EXPECT_EQ(Text(L"s"), L"") << "null comes back as empty";
    ASSERT_EQ(m_block.Buscar(L"s", m_item), 1);
    EXPECT_NE(m_item.pDades, nullptr);
}

TEST_F(DataBlockTest, NamesAreWrittenInTheCodePage) {
    m_block.EntraValorInt32(L"\u00F1\u20AC", 1);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Int("\xF1\x80", 1).Bytes());
    EXPECT_EQ(Read(DataOf(m_block)), 0);
    EXPECT_EQ(NamesOf(m_block), Names{L"\u00F1\u20AC"});
}

TEST_F(DataBlockTest, NameOutsideTheCodePageIsLost) {
    m_block.EntraValorInt32(L"\u4E2D", 1);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Int("?", 1).Bytes());
    m_block.Reset();
    m_block.EntraValorInt32(L"\U0001F600", 1);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Int("??", 1).Bytes()) << "a byte for each UTF-16 unit";
}

TEST_F(DataBlockTest, ValueOfNoKindIsWrittenUnreadably) {
    m_block.Afegir(L"x", m_item);
    const std::string data = DataOf(m_block);
    EXPECT_EQ(data, BlockBytes().head("x", 0xFF).Bytes());
    EXPECT_EQ(Read(data), -9);
}

TEST_F(DataBlockTest, EightBitTextIsNeverWritten) {
    m_block.Afegir(L"x", ITEMBLOCOPCIONS(nullptr, 0, 2));
    EXPECT_EQ(NamesOf(m_block), Names{L"x"});
    EXPECT_EQ(DataOf(m_block), "DRIVER-BLOC");
}

TEST_F(DataBlockTest, EmptyNameIsWrittenUnreadably) {
    m_block.EntraValorInt32(L"", 1);
    const std::string data = DataOf(m_block);
    EXPECT_EQ(data, BlockBytes().Int("", 1).Bytes());
    EXPECT_EQ(Read(data), -3);
}

TEST_F(DataBlockTest, LongTextsAreWrittenWithACutCount) {
    m_block.EntraValorString(L"s", std::wstring(16383, L'x').c_str());
    EXPECT_EQ(Read(DataOf(m_block)), 0);
    EXPECT_EQ(Text(L"s"), std::wstring(16383, L'x'));
    m_block.EntraValorString(L"s", std::wstring(16384, L'x').c_str());
    std::string data = DataOf(m_block);
    EXPECT_EQ(data.size(), 11u + 4 + 2 + 32768);
    EXPECT_EQ(Read(data), -3) << "the count reads as a negative number";
    m_block.EntraValorString(L"s", (L"ab" + std::wstring(32768, L'x')).c_str());
    data = DataOf(m_block);
    EXPECT_EQ(data, BlockBytes().Text("s", u"ab").Bytes());
}

TEST_F(DataBlockTest, LongNamesAreWrittenWithACutCount) {
    m_block.EntraValorInt32(std::wstring(32767, L'n').c_str(), 1);
    EXPECT_EQ(Read(DataOf(m_block)), 0);
    EXPECT_EQ(NamesOf(m_block), Names{std::wstring(32767, L'n')});
    m_block.Reset();
    m_block.EntraValorInt32(std::wstring(32768, L'n').c_str(), 1);
    EXPECT_EQ(Read(DataOf(m_block)), -3);
    m_block.Reset();
    m_block.EntraValorInt32(std::wstring(65537, L'n').c_str(), 1);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Int("n", 1).Bytes());
}

TEST_F(DataBlockTest, NeighboursInABucketChangePlacesWithEachLoading) {
    for (const wchar_t* name : {L"a", L"r", L"f"})
        m_block.EntraValorInt32(name, 0);
    const std::string data = DataOf(m_block);
    EXPECT_EQ(data, BlockBytes().Int("f", 0).Int("r", 0).Int("a", 0).Bytes());
    EXPECT_EQ(Read(data), 0);
    EXPECT_EQ(DataOf(m_block), BlockBytes().Int("f", 0).Int("a", 0).Int("r", 0).Bytes());
}

TEST_F(DataBlockTest, BlockOfManyValuesSurvivesTheRoundTrip) {
    TBlocOpcions many;
    for (int i = 0; i < 5000; ++i) {
        const std::wstring name = L"name" + std::to_wstring(i);
        switch (i % 4) {
        case 0:
            many.EntraValorInt32(name.c_str(), i);
            break;
        case 1:
            many.EntraValorReal64(name.c_str(), i / 8.0);
            break;
        case 2:
            many.EntraValorString(name.c_str(), name.c_str());
            break;
        default:
            many.EntraValorBinari(name.c_str(), name.data(), 10);
        }
    }
    EXPECT_EQ(Read(DataOf(many)), 0);
    const TBlocOpcions again(&m_block);
    EXPECT_EQ(DataOf(again), DataOf(many)) << "turned round twice";
    EXPECT_EQ(m_block.TornaValorInt32(L"name4000", 0), 4000);
    EXPECT_EQ(m_block.TornaValorReal64(L"name4001", 0), 4001 / 8.0);
    EXPECT_EQ(Text(L"name4002"), L"name4002");
}

// ---- Reading

TEST_F(DataBlockTest, EveryKindIsRead) {
    EXPECT_EQ(Read(BlockBytes()
                       .Int("i", -5)
                       .Real("r", 1e300)
                       .Narrow("n", "a\x80")
                       .Block("o", BlockBytes().Int("x", 6).Bytes())
                       .Binary("b", "xyz")
                       .Text("t", u"\u4E2D\U0001F600")),
              0);
    EXPECT_EQ(m_block.TornaValorInt32(L"i", 0), -5);
    EXPECT_EQ(m_block.TornaValorReal64(L"r", 0), 1e300);
    EXPECT_EQ(Text(L"n"), L"a\u20AC") << "8-bit text becomes a string";
    EXPECT_EQ(m_block.TornaValorInt32(L"o/x", 0), 6);
    EXPECT_EQ(Text(L"t"), L"\u4E2D\U0001F600");
    ASSERT_EQ(m_block.Buscar(L"n", m_item), 1);
    EXPECT_EQ(m_item.nTipus, 5);
    EXPECT_EQ(m_item.dwMida, 0u);
    ASSERT_EQ(m_block.Buscar(L"b", m_item), 1);
    EXPECT_EQ(BytesOf(m_item), "xyz");
}

TEST_F(DataBlockTest, NothingIsNoError) {
    m_block.EntraValorInt32(L"before", 1);
    EXPECT_EQ(m_block.FromBlocDades(nullptr, 100, 1), 0);
    EXPECT_EQ(m_block.FromBlocDades(reinterpret_cast<const unsigned char*>("x"), 0, 1), 0);
    EXPECT_EQ(NamesOf(m_block), Names{L"before"});
    EXPECT_EQ(m_block.FromBlocDades(nullptr, 0, 0), 0);
    EXPECT_EQ(NamesOf(m_block), Names()) << "emptied all the same";
}

TEST_F(DataBlockTest, LoadingReplacesOrAdds) {
    m_block.EntraValorInt32(L"a", 1);
    m_block.EntraValorInt32(L"b", 2);
    EXPECT_EQ(Load(m_block, BlockBytes().Int("b", 3).Int("c", 4).Bytes(), 1), 0);
    EXPECT_EQ(m_block.TornaValorInt32(L"a", 0), 1);
    EXPECT_EQ(m_block.TornaValorInt32(L"b", 0), 3);
    EXPECT_EQ(Load(m_block, BlockBytes().Int("c", 5).Bytes()), 0);
    EXPECT_EQ(NamesOf(m_block), Names{L"c"});
}

TEST_F(DataBlockTest, ConstructorLoads) {
    const std::string data = BlockBytes().Int("a", 1).Bytes();
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    EXPECT_EQ(TBlocOpcions(bytes, static_cast<unsigned>(data.size())).TornaValorInt32(L"a", 0), 1);
    EXPECT_EQ(NamesOf(TBlocOpcions(bytes, 0)), Names());
    EXPECT_EQ(NamesOf(TBlocOpcions(nullptr, 5)), Names());
    EXPECT_EQ(NamesOf(TBlocOpcions(bytes, 5)), Names()) << "damaged: no exception, no entry";
}

TEST_F(DataBlockTest, NameThatComesTwiceHasItsLastValue) {
    EXPECT_EQ(Read(BlockBytes().Int("a", 1).Int("r", 2).Text("a", u"x")), 0);
    EXPECT_EQ(Text(L"a"), L"x");
    EXPECT_EQ(NamesOf(m_block), (Names{L"r", L"a"})) << "in the place of the first";
}

TEST_F(DataBlockTest, NameWithASlashLeavesAnEmptyBlock) {
    EXPECT_EQ(Read(BlockBytes().Int("a/b", 1).Int("c", 2).Int("c/d", 3)), 0);
    for (const wchar_t* name : {L"a", L"c"}) {
        ASSERT_EQ(m_block.Buscar(name, m_item), 1);
        EXPECT_EQ(BytesOf(m_item), "DRIVER-BLOC");
    }
    EXPECT_EQ(Read(BlockBytes().Int(std::string(32767, '/'), 1)), 0);
    EXPECT_EQ(NamesOf(m_block), Names{L""});
}

TEST_F(DataBlockTest, NamesAndTextsEndAtTheirFirstNul) {
    EXPECT_EQ(Read(BlockBytes()
                       .Int(std::string("a\0b", 3), 1)
                       .Text("t", std::u16string(u"x\0y", 3))
                       .Narrow("n", std::string("x\0y", 3))),
              0);
    EXPECT_EQ(m_block.TornaValorInt32(L"a", 0), 1);
    EXPECT_EQ(Text(L"t"), L"x");
    EXPECT_EQ(Text(L"n"), L"x");
}

TEST_F(DataBlockTest, OddCountOfATextLosesItsLastByte) {
    EXPECT_EQ(Read(BlockBytes().head("t", KIND_TEXT).number(3, 2).Raw(std::string("x\0y", 3)).Int("i", 5)),
              0);
    EXPECT_EQ(Text(L"t"), L"x");
    EXPECT_EQ(m_block.TornaValorInt32(L"i", 0), 5) << "the next entry begins behind all three";
    EXPECT_EQ(Read(BlockBytes().head("t", KIND_TEXT).number(1, 2).Raw("x")), 0);
    EXPECT_EQ(Text(L"t"), L"");
}

TEST_F(DataBlockTest, LoneSurrogatesAreKept) {
    const std::u16string text = {0xDC00, u'x', 0xD83D};
    const std::string data = BlockBytes().Text("t", text).Bytes();
    EXPECT_EQ(Read(data), 0);
    EXPECT_EQ(Text(L"t").size(), 3u);
    EXPECT_EQ(DataOf(m_block), data);
}

TEST_F(DataBlockTest, LongestTextsAndNamesAreRead) {
    EXPECT_EQ(Read(BlockBytes().Text("t", std::u16string(16383, u'x')).Narrow(Long(32767), Long(32767))), 0);
    EXPECT_EQ(Text(L"t").size(), 16383u);
    EXPECT_EQ(Text(std::wstring(32767, L'n').c_str()).size(), 32767u);
}

TEST_F(DataBlockTest, NestedBytesAreNotLookedAt) {
    EXPECT_EQ(Read(BlockBytes().Block("o", "garbage").Block("e", "")), 0);
    ASSERT_EQ(m_block.Buscar(L"o", m_item), 1);
    EXPECT_EQ(BytesOf(m_item), "garbage");
}

// ---- Error results

TEST_F(DataBlockTest, ForeignBytesAreMinus3) {
    EXPECT_EQ(Read("D"), -3);
    EXPECT_EQ(Read("DRIVER-BLO"), -3);
    EXPECT_EQ(Read("driver-bloc"), -3);
    EXPECT_EQ(Read("DRIVER-BLOX"), -3);
    EXPECT_EQ(Read(std::string(11, '\0')), -3);
    m_block.EntraValorInt32(L"before", 1);
    EXPECT_EQ(Load(m_block, "garbage", 1), -3);
    EXPECT_EQ(NamesOf(m_block), Names{L"before"});
    EXPECT_EQ(Load(m_block, "garbage", 0), -3);
    EXPECT_EQ(NamesOf(m_block), Names());
}

TEST_F(DataBlockTest, BlockCutAnywhereIsMinus3AndKeepsTheEntriesBefore) {
    BlockBytes bytes;
    std::vector<std::size_t> ends = {bytes.Bytes().size()};
    bytes.Int("i", 1), ends.push_back(bytes.Bytes().size());
    bytes.Real("r", 1), ends.push_back(bytes.Bytes().size());
    bytes.Narrow("n", "text"), ends.push_back(bytes.Bytes().size());
    bytes.Block("o", "DRIVER-BLOC"), ends.push_back(bytes.Bytes().size());
    bytes.Binary("b", "bytes"), ends.push_back(bytes.Bytes().size());
    bytes.Text("t", u"text"), ends.push_back(bytes.Bytes().size());
    for (std::size_t size = 1; size <= bytes.Bytes().size(); ++size) {
        std::size_t whole = 0;
        bool clean = false;
        for (std::size_t i = 0; i < ends.size(); ++i)
            if (ends[i] <= size) {
                whole = i;
                clean = ends[i] == size;
            }
        EXPECT_EQ(Read(bytes.Bytes().substr(0, size)), clean ? 0 : -3) << size;
        EXPECT_EQ(NamesOf(m_block).size(), whole) << size;
    }
}

TEST_F(DataBlockTest, NameLengthThatIsNotAboveZeroIsMinus3) {
    for (int length : {0, -1, -32768})
        EXPECT_EQ(
            Read(BlockBytes().Int("a", 1).number(static_cast<std::uint64_t>(length), 2).Raw(Long(40000))), -3)
            << length;
    EXPECT_EQ(m_block.TornaValorInt32(L"a", 0), 1);
}

TEST_F(DataBlockTest, KindThatDoesNotExistIsMinus9) {
    for (int kind = 6; kind < 256; ++kind)
        EXPECT_EQ(Read(BlockBytes().Int("a", 1).head("x", static_cast<unsigned char>(kind)).Raw(Long(100))),
                  -9)
            << kind;
    EXPECT_EQ(NamesOf(m_block), Names{L"a"});
    EXPECT_EQ(Read(BlockBytes().head("x", 6)), -9) << "before it matters what is left";
}

TEST_F(DataBlockTest, NegativeCountIsMinus3) {
    for (unsigned char kind : {KIND_NARROW, KIND_TEXT})
        for (int count : {-1, -2, -32768})
            EXPECT_EQ(Read(BlockBytes()
                               .head("x", kind)
                               .number(static_cast<std::uint64_t>(count), 2)
                               .Raw(Long(70000))),
                      -3);
}

TEST_F(DataBlockTest, HugeCountIsMinus3) {
    for (unsigned char kind : {KIND_BLOCK, KIND_BINARY})
        for (std::uint64_t count : {0xFFFFFFFFu, 0x80000000u, 0xFFFFFFF0u, 101u})
            EXPECT_EQ(Read(BlockBytes().head("x", kind).number(count, 4).Raw(Long(100))), -3);
    EXPECT_EQ(NamesOf(m_block), Names());
}
