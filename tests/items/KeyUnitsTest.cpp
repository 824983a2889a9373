// Every text lies in memory of just its size, so that address checking tells when more is read.
#include <items/KeyUnits.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

namespace keys = mvlib::keys;

template <class Unit>
std::unique_ptr<Unit[]> Text(std::size_t count, int seed = 1) {
    std::unique_ptr<Unit[]> text(new Unit[count]);
    for (std::size_t i = 0; i < count; ++i) {
        text[i] = static_cast<Unit>(0xF000 + i * 7 + static_cast<std::size_t>(seed));
    }
    return text;
}

std::uint32_t Hash(const wchar_t* text, std::size_t count) {
    return keys::Hasher(text, count).Hash();
}

TEST(KeyUnitsTest, ExampleUsage) {
    const keys::Hasher hasher(L"option", 6);
    EXPECT_TRUE(hasher.IsUnits());
    EXPECT_EQ(hasher.Hash(), Hash(L"option", 6));
    EXPECT_EQ(keys::Sum(L"ab", 2), 195U);
    char16_t stored[6];
    keys::Store(stored, L"option", 6);
    EXPECT_TRUE(keys::IsSame(stored, L"option", 6));
    EXPECT_FALSE(keys::IsSame(stored, L"optiom", 6));
}

TEST(KeyUnitsTest, EveryUnitCountsForHashAndSameness) {
    for (std::size_t count = 0; count <= 70; ++count) {
        const auto text = Text<wchar_t>(count);
        const auto stored = Text<char16_t>(count);
        const std::uint32_t hash = Hash(text.get(), count);
        EXPECT_EQ(hash, Hash(Text<wchar_t>(count).get(), count));
        EXPECT_TRUE(keys::IsSame(stored.get(), text.get(), count)) << count;
        for (std::size_t i = 0; i < count; ++i) {
            text[i] ^= 1;
            EXPECT_NE(Hash(text.get(), count), hash) << count << ", " << i;
            EXPECT_FALSE(keys::IsSame(stored.get(), text.get(), count)) << count << ", " << i;
            text[i] ^= 1;
        }
    }
}

TEST(KeyUnitsTest, BeginningsOfOneTextHaveHashesOfTheirOwn) {
    const std::wstring text(100, L'a');
    std::set<std::uint32_t> hashes;
    for (std::size_t count = 0; count <= text.size(); ++count) {
        hashes.insert(Hash(text.c_str(), count));
    }
    EXPECT_EQ(hashes.size(), text.size() + 1);
}

TEST(KeyUnitsTest, CharactersOfTwoUnitsAreNoticedWhereverTheyStand) {
    if (keys::WIDE_IS_UNIT) {
        EXPECT_TRUE(keys::Hasher(L"\U0001F600", 2).IsUnits());
        return;
    }
    for (std::size_t count = 0; count <= 40; ++count) {
        const auto text = Text<wchar_t>(count);
        EXPECT_TRUE(keys::Hasher(text.get(), count).IsUnits()) << count;
        for (std::size_t i = 0; i < count; ++i) {
            const wchar_t before = text[i];
            for (const std::uint32_t other : {0x10000U, 0x80000000U}) {
                text[i] = static_cast<wchar_t>(other);
                EXPECT_FALSE(keys::Hasher(text.get(), count).IsUnits()) << count << ", " << i;
            }
            text[i] = before;
        }
    }
}

TEST(KeyUnitsTest, CharacterThatIsNoUnitIsNotTakenForItsLowHalf) {
    if (keys::WIDE_IS_UNIT) {
        return;
    }
    for (std::size_t count = 1; count <= 40; ++count) {
        const auto text = Text<wchar_t>(count);
        const auto stored = Text<char16_t>(count);
        text[count - 1] = static_cast<wchar_t>(text[count - 1] | 0x10000);
        EXPECT_FALSE(keys::IsSame(stored.get(), text.get(), count)) << count;
    }
}

TEST(KeyUnitsTest, StoringAndSummingTakeEachUnitOnce) {
    for (std::size_t count = 0; count <= 70; ++count) {
        const auto text = Text<wchar_t>(count, 3);
        const auto stored = Text<char16_t>(count, 5);
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += static_cast<char16_t>(text[i]);
        }
        EXPECT_EQ(keys::Sum(text.get(), count), sum) << count;
        keys::Store(stored.get(), text.get(), count);
        EXPECT_TRUE(keys::IsSame(stored.get(), text.get(), count)) << count;
    }
}

// Numbers at the end of a text must not gather in few of the hashes' low bits, which choose the group, nor in
// few of the high ones, which make the tag.
TEST(KeyUnitsTest, NumberedTextsSpreadOverLowAndHighBits) {
    std::set<std::uint32_t> whole;
    std::vector<int> low(1024), high(256);
    constexpr int TEXTS = 100000;
    for (int i = 0; i < TEXTS; ++i) {
        const std::wstring text = L"element " + std::to_wstring(i);
        const std::uint32_t hash = Hash(text.c_str(), text.size());
        whole.insert(hash);
        ++low[hash % 1024];
        ++high[hash >> 24];
    }
    EXPECT_GT(whole.size(), TEXTS - 20U);
    EXPECT_LT(*std::max_element(low.begin(), low.end()), 2 * TEXTS / 1024);
    EXPECT_LT(*std::max_element(high.begin(), high.end()), 2 * TEXTS / 256);
}

} // namespace
