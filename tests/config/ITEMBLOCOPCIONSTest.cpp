// One value of an option block.
#include "BlockSupport.h"

#include <climits>

namespace {

void* Malloc(const char* bytes) {
    void* block = std::malloc(std::strlen(bytes));
    std::memcpy(block, bytes, std::strlen(bytes));
    return block;
}

void ExpectNothing(const ITEMBLOCOPCIONS& item) {
    EXPECT_EQ(item.nTipus, -1);
    EXPECT_EQ(item.pDades, nullptr);
    EXPECT_EQ(item.dwMida, 0u);
    EXPECT_EQ(item.lValor, 0);
}

} // namespace

TEST(ITEMBLOCOPCIONSTest, ExampleUsage) {
    ITEMBLOCOPCIONS item(5L);
    EXPECT_EQ(item.nTipus, 0);
    EXPECT_EQ(item.lValor, 5);
    item.SetString(L"five");
    const ITEMBLOCOPCIONS copy = item;
    item.Reset();
    EXPECT_EQ(copy.nTipus, 5);
    EXPECT_EQ(TextOf(copy), L"five");
    ExpectNothing(item);
}

TEST(ITEMBLOCOPCIONSTest, ConstructorsGiveTheirKinds) {
    ExpectNothing(ITEMBLOCOPCIONS());
    const ITEMBLOCOPCIONS integer(-7L), real(1.5), text(L"abc"),
        nothing(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(integer.nTipus, 0);
    EXPECT_EQ(integer.lValor, -7);
    EXPECT_EQ(real.nTipus, 1);
    EXPECT_EQ(real.dValor, 1.5);
    EXPECT_EQ(text.nTipus, 5);
    EXPECT_EQ(TextOf(text), L"abc");
    EXPECT_EQ(text.dwMida, 0u) << "strings have no size";
    EXPECT_EQ(nothing.nTipus, 5);
    EXPECT_EQ(nothing.pDades, nullptr);
}

TEST(ITEMBLOCOPCIONSTest, BlockIsTakenOverWithoutCopying) {
    void* block = Malloc("abc");
    const ITEMBLOCOPCIONS item(block, 3, 4);
    EXPECT_EQ(item.nTipus, 4);
    EXPECT_EQ(item.pDades, block);
    EXPECT_EQ(item.dwMida, 3u);
}

TEST(ITEMBLOCOPCIONSTest, IntegersAreCutTo32Bits) {
    ITEMBLOCOPCIONS item(LONG_MAX);
    EXPECT_EQ(item.lValor, sizeof(long) == 8 ? -1 : LONG_MAX);
    item.SetInt32(LONG_MIN);
    EXPECT_EQ(item.lValor, sizeof(long) == 8 ? 0 : LONG_MIN);
    item.SetInt32(INT_MIN);
    EXPECT_EQ(item.lValor, INT_MIN);
}

TEST(ITEMBLOCOPCIONSTest, CopiesAreDeep) {
    const ITEMBLOCOPCIONS bytes(Malloc("abc"), 3, 4), nested(Malloc("DRIVER-BLOC"), 11, 3), text(L"abc");
    for (const ITEMBLOCOPCIONS* source : {&bytes, &nested, &text}) {
        const ITEMBLOCOPCIONS copy(*source);
        ITEMBLOCOPCIONS assigned(1L);
        assigned = *source;
        for (const ITEMBLOCOPCIONS* made : {&copy, static_cast<const ITEMBLOCOPCIONS*>(&assigned)}) {
            EXPECT_EQ(made->nTipus, source->nTipus);
            EXPECT_EQ(made->dwMida, source->dwMida);
            EXPECT_NE(made->pDades, source->pDades);
        }
    }
    EXPECT_EQ(BytesOf(ITEMBLOCOPCIONS(bytes)), "abc");
    EXPECT_EQ(BytesOf(ITEMBLOCOPCIONS(nested)), "DRIVER-BLOC");
    EXPECT_EQ(TextOf(ITEMBLOCOPCIONS(text)), L"abc");
}

TEST(ITEMBLOCOPCIONSTest, NumbersAreCopied) {
    ITEMBLOCOPCIONS item(L"before");
    item = ITEMBLOCOPCIONS(3L);
    EXPECT_EQ(item.nTipus, 0);
    EXPECT_EQ(item.lValor, 3);
    item = ITEMBLOCOPCIONS(-0.25);
    EXPECT_EQ(item.nTipus, 1);
    EXPECT_EQ(item.dValor, -0.25);
}

TEST(ITEMBLOCOPCIONSTest, CopyWithoutBytesHasNoBlock) {
    const ITEMBLOCOPCIONS noSize(Malloc("abc"), 0, 4), noBlock(nullptr, 3, 3);
    for (const ITEMBLOCOPCIONS* source : {&noSize, &noBlock}) {
        const ITEMBLOCOPCIONS copy(*source);
        EXPECT_EQ(copy.nTipus, source->nTipus);
        EXPECT_EQ(copy.pDades, nullptr);
        EXPECT_EQ(copy.dwMida, 0u);
    }
    const ITEMBLOCOPCIONS noText(static_cast<const wchar_t*>(nullptr)), copy(noText);
    EXPECT_EQ(copy.nTipus, 5);
    EXPECT_EQ(copy.pDades, nullptr);
}

TEST(ITEMBLOCOPCIONSTest, CopyOfOtherKindsHoldsNothing) {
    const ITEMBLOCOPCIONS narrow(Malloc("abc"), 3, 2);
    ITEMBLOCOPCIONS copy(L"before");
    copy = narrow;
    EXPECT_EQ(copy.nTipus, 2) << "the kind comes along";
    EXPECT_EQ(copy.pDades, nullptr);
    EXPECT_EQ(copy.dwMida, 0u);
    for (int kind : {-1, -2, 6, 100}) {
        int untouched = 0;
        const ITEMBLOCOPCIONS strange(&untouched, 3, kind);
        copy.SetString(L"before");
        copy = strange;
        ExpectNothing(copy);
    }
}

TEST(ITEMBLOCOPCIONSTest, AssignmentToItselfDoesNothing) {
    ITEMBLOCOPCIONS item(L"abc");
    const void* block = item.pDades;
    const ITEMBLOCOPCIONS& same = item;
    item = same;
    EXPECT_EQ(item.pDades, block);
    EXPECT_EQ(TextOf(item), L"abc");
    ITEMBLOCOPCIONS& moved = item;
    item = std::move(moved);
    EXPECT_EQ(item.pDades, block);
}

TEST(ITEMBLOCOPCIONSTest, MovingLeavesNothing) {
    ITEMBLOCOPCIONS from(L"abc");
    ITEMBLOCOPCIONS to(std::move(from));
    ExpectNothing(from);
    EXPECT_EQ(TextOf(to), L"abc");
    from = std::move(to);
    ExpectNothing(to);
    EXPECT_EQ(TextOf(from), L"abc");
    for (ITEMBLOCOPCIONS number : {ITEMBLOCOPCIONS(4L), ITEMBLOCOPCIONS(4.5)}) {
        const ITEMBLOCOPCIONS taken(std::move(number));
        ExpectNothing(number);
        EXPECT_EQ(taken.nTipus == 0 ? static_cast<double>(taken.lValor) : taken.dValor - 0.5, 4.0);
    }
}

TEST(ITEMBLOCOPCIONSTest, EverySetterLetsGoOfTheOldValue) {
    ITEMBLOCOPCIONS item(L"old");
    item.SetInt32(9);
    EXPECT_EQ(item.nTipus, 0);
    item.SetString(L"old");
    item.SetReal64(9.5);
    EXPECT_EQ(item.nTipus, 1);
    EXPECT_EQ(item.dValor, 9.5);
    item.SetString(nullptr);
    EXPECT_EQ(item.nTipus, 5);
    EXPECT_EQ(item.pDades, nullptr);
    item.SetString(L"old");
    item.SetDadesBin(nullptr, 0, 0, 4);
    EXPECT_EQ(item.nTipus, 4);
    item.Reset();
    ExpectNothing(item);
    item.Reset();
    ExpectNothing(item);
}

TEST(ITEMBLOCOPCIONSTest, SettersTakeWhatLiesInTheOldValue) {
    ITEMBLOCOPCIONS item(L"old text");
    item.SetString(static_cast<const wchar_t*>(item.pDades) + 4);
    EXPECT_EQ(TextOf(item), L"text");
    item.SetDadesBin(Malloc("abcdef"), 6, 0, 4);
    item.SetDadesBin(static_cast<char*>(item.pDades) + 2, 3, 1, 4);
    EXPECT_EQ(BytesOf(item), "cde");
    const void* block = item.pDades;
    item.SetDadesBin(item.pDades, 2, 0, 3);
    EXPECT_EQ(item.pDades, block);
    EXPECT_EQ(BytesOf(item), "cd");
}

TEST(ITEMBLOCOPCIONSTest, BytesAreTakenOrCopied) {
    char bytes[] = {1, 2, 3};
    ITEMBLOCOPCIONS item;
    item.SetDadesBin(bytes, 3, 1, 4);
    EXPECT_NE(item.pDades, bytes);
    EXPECT_EQ(BytesOf(item), std::string(bytes, 3));
    item.SetDadesBin(bytes, 0, 1, 3);
    EXPECT_EQ(item.nTipus, 3);
    EXPECT_EQ(item.pDades, nullptr);
    EXPECT_EQ(item.dwMida, 0u);
    item.SetDadesBin(nullptr, 3, 1, 4);
    EXPECT_EQ(item.pDades, nullptr);
    EXPECT_EQ(item.dwMida, 0u);
    void* block = Malloc("xy");
    item.SetDadesBin(block, 2, 0, 4);
    EXPECT_EQ(item.pDades, block);
    EXPECT_EQ(item.dwMida, 2u);
}

TEST(ITEMBLOCOPCIONSTest, BlockIsHeldAsItsDataBlock) {
    TBlocOpcions block;
    block.EntraValorInt32(L"a", 1);
    ITEMBLOCOPCIONS item(L"before");
    item.SetBlocOpcions(&block);
    block.Reset();
    EXPECT_EQ(item.nTipus, 3);
    EXPECT_EQ(BytesOf(item), BlockBytes().Int("a", 1).Bytes());
    item.SetBlocOpcions(nullptr);
    EXPECT_EQ(item.nTipus, 3);
    EXPECT_EQ(BytesOf(item), "DRIVER-BLOC");
}
