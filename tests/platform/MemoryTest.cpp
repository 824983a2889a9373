// Blocks and address tests.
#include <gtest/gtest.h>
#include <large_pages.h>
#include <win32.h>

#include <algorithm>
#include <vector>

TEST(Memory, BlocksAreZeroedOnRequest) {
    auto* block = static_cast<unsigned char*>(LocalAlloc(LPTR, 100));
    ASSERT_NE(block, nullptr);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(block[i], 0);
    EXPECT_EQ(LocalFree(block), nullptr);
    block = static_cast<unsigned char*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 100));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[99], 0);
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, block));
    block = static_cast<unsigned char*>(GlobalAlloc(GPTR, 10));
    EXPECT_EQ(block[9], 0);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(Memory, SizeZeroGivesABlock) {
    const HLOCAL block = LocalAlloc(LMEM_FIXED, 0);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(LocalFree(block), nullptr);
}

TEST(Memory, FreeingNullIsAllowed) {
    EXPECT_EQ(LocalFree(nullptr), nullptr);
}

TEST(Memory, LargePagesChangeNothingThatShows) {
    std::vector<char> bytes(20 << 20, 'x');
    SetLastError(1234);
    MvPreferLargePages(bytes.data(), bytes.size());
    MvPreferLargePages(bytes.data() + 1, bytes.size() - 2);
    MvPreferLargePages(bytes.data(), 10);
    MvPreferLargePages(nullptr, bytes.size());
    EXPECT_EQ(GetLastError(), 1234U);
    bytes.resize(bytes.size() + 1, 'x'); // into another block
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 'x'), (20 << 20) + 1);
}

TEST(AddressTests, OwnMemoryIsGood) {
    std::vector<char> bytes(100000);
    EXPECT_FALSE(IsBadReadPtr(bytes.data(), bytes.size()));
    EXPECT_FALSE(IsBadWritePtr(bytes.data(), bytes.size()));
    int onStack = 0;
    EXPECT_FALSE(IsBadReadPtr(&onStack, sizeof onStack));
    EXPECT_FALSE(IsBadWritePtr(&onStack, sizeof onStack));
}

TEST(AddressTests, WriteTestLeavesTheBytes) {
    char bytes[] = "unchanged";
    EXPECT_FALSE(IsBadWritePtr(bytes, sizeof bytes));
    EXPECT_STREQ(bytes, "unchanged");
}

TEST(AddressTests, ConstantsAreReadOnly) {
    static const char text[] = "constant";
    EXPECT_FALSE(IsBadReadPtr(text, sizeof text));
    EXPECT_TRUE(IsBadWritePtr(const_cast<char*>(text), sizeof text));
}

TEST(AddressTests, LowAddressesAreBad) {
    EXPECT_TRUE(IsBadReadPtr(nullptr, 1));
    EXPECT_TRUE(IsBadWritePtr(nullptr, 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(16), 4));
    EXPECT_TRUE(IsBadWritePtr(reinterpret_cast<void*>(16), 4));
}

TEST(AddressTests, SizeZeroIsGoodAnywhere) {
    EXPECT_FALSE(IsBadReadPtr(nullptr, 0));
    EXPECT_FALSE(IsBadWritePtr(reinterpret_cast<void*>(16), 0));
}

TEST(AddressTests, RangeThatWrapsIsBad) {
    int value = 0;
    EXPECT_TRUE(IsBadReadPtr(&value, ~UINT_PTR{0} - 16));
    EXPECT_TRUE(IsBadWritePtr(&value, ~UINT_PTR{0} - 16));
}
