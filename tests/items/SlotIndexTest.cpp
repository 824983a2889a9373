#include <items/SlotIndex.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <utility>

namespace {

using mvlib::SlotIndex;

class SlotIndexTest : public testing::Test {
protected:
    ~SlotIndexTest() override { index.Drop(); }

    // Whether a search by the hash comes to the slot; every other slot is refused.
    bool Finds(std::uint32_t hash, unsigned int slot) {
        return index.Find(hash, [&](unsigned int seen) { return seen == slot; }) == slot;
    }
    // The slots that a search by the hash is offered.
    std::set<unsigned int> Offered(std::uint32_t hash) {
        std::set<unsigned int> seen;
        index.Find(hash, [&](unsigned int slot) { return !seen.insert(slot).second; });
        return seen;
    }

    SlotIndex index{};
};

TEST_F(SlotIndexTest, ExampleUsage) {
    EXPECT_FALSE(index.Exists());
    ASSERT_TRUE(index.Create(10));
    EXPECT_TRUE(index.Exists());
    ASSERT_TRUE(index.Add(0x12345678, 3));
    EXPECT_EQ(index.Find(0x12345678, [](unsigned int) { return true; }), 3U);
    EXPECT_EQ(index.Find(0x12345678, [](unsigned int) { return false; }), SlotIndex::NONE);
    index.Remove(0x12345678, 3);
    EXPECT_EQ(index.Find(0x12345678, [](unsigned int) { return true; }), SlotIndex::NONE);
    index.Drop();
    EXPECT_FALSE(index.Exists());
}

TEST_F(SlotIndexTest, SlotsOfOneHashAreAllOffered) {
    ASSERT_TRUE(index.Create(100));
    for (unsigned int slot = 0; slot < 50; ++slot) {
        ASSERT_TRUE(index.Add(0xABCDEF01, slot));
    }
    EXPECT_EQ(Offered(0xABCDEF01).size(), 50U);
    index.Remove(0xABCDEF01, 20);
    EXPECT_FALSE(Finds(0xABCDEF01, 20));
    EXPECT_EQ(Offered(0xABCDEF01).size(), 49U);
}

// The tag comes from the high bits and the group from the low ones: what lies between tells the rest.
TEST_F(SlotIndexTest, EqualTagsInOneGroupAreNotOfferedForEachOther) {
    ASSERT_TRUE(index.Create(14));
    for (std::uint32_t i = 0; i < 14; ++i) {
        ASSERT_TRUE(index.Add(0x77000000 + (i << 12), i));
    }
    for (std::uint32_t i = 0; i < 14; ++i) {
        EXPECT_EQ(Offered(0x77000000 + (i << 12)), std::set<unsigned int>{i});
    }
    EXPECT_EQ(Offered(0x77FFF000), std::set<unsigned int>{});
}

// The tags of these would be the marks of places that are unused or removed.
TEST_F(SlotIndexTest, HashesWithSmallHighBitsAreFound) {
    ASSERT_TRUE(index.Create(8));
    for (std::uint32_t high = 0; high < 5; ++high) {
        ASSERT_TRUE(index.Add(high << 24, high));
    }
    for (std::uint32_t high = 0; high < 5; ++high) {
        EXPECT_EQ(Offered(high << 24), std::set<unsigned int>{high});
    }
}

TEST_F(SlotIndexTest, EntriesOfAFullGroupGoIntoOthersAndAreFoundAcrossRemovedOnes) {
    ASSERT_TRUE(index.Create(100));
    for (unsigned int slot = 0; slot < 90; ++slot) {
        ASSERT_TRUE(index.Add(slot << 16, slot)); // all of one group
    }
    for (unsigned int slot = 0; slot < 90; slot += 2) {
        index.Remove(slot << 16, slot);
    }
    for (unsigned int slot = 0; slot < 90; ++slot) {
        EXPECT_EQ(Finds(slot << 16, slot), slot % 2 == 1) << slot;
    }
    for (unsigned int slot = 0; slot < 90; slot += 2) {
        ASSERT_TRUE(index.Add(slot << 16, slot)) << "the places of removed entries are taken again";
    }
    for (unsigned int slot = 0; slot < 90; ++slot) {
        EXPECT_TRUE(Finds(slot << 16, slot)) << slot;
    }
}

TEST_F(SlotIndexTest, AddIsRefusedWithoutRoomUntilThereIsMore) {
    ASSERT_TRUE(index.Create(1));
    unsigned int added = 0;
    while (index.Add(added * 0x9E3779B9u, added)) {
        ASSERT_LT(++added, 16U) << "searches need an unused place to end at";
    }
    ASSERT_TRUE(index.Create(added + 1));
    EXPECT_TRUE(index.Add(added * 0x9E3779B9u, added));
    for (unsigned int slot = 0; slot <= added; ++slot) {
        EXPECT_TRUE(Finds(slot * 0x9E3779B9u, slot)) << slot;
    }
}

TEST_F(SlotIndexTest, CreateWithLittleRoomKeepsEveryEntry) {
    ASSERT_TRUE(index.Create(1000));
    for (unsigned int slot = 0; slot < 1000; ++slot) {
        ASSERT_TRUE(index.Add(slot * 0x9E3779B9u, slot));
    }
    ASSERT_TRUE(index.Create(0));
    for (unsigned int slot = 0; slot < 1000; ++slot) {
        ASSERT_TRUE(Finds(slot * 0x9E3779B9u, slot)) << slot;
    }
}

TEST_F(SlotIndexTest, RemovingWhatIsNotThereChangesNothing) {
    ASSERT_TRUE(index.Create(4));
    ASSERT_TRUE(index.Add(7, 1));
    index.Remove(7, 2);
    index.Remove(8, 1);
    EXPECT_TRUE(Finds(7, 1));
}

TEST_F(SlotIndexTest, SizeThatCannotBeHadLeavesTheIndexAsItWas) {
    ASSERT_TRUE(index.Create(4));
    ASSERT_TRUE(index.Add(7, 1));
    EXPECT_FALSE(index.Create(~std::size_t{0} / 2));
    EXPECT_TRUE(Finds(7, 1));
}

// Few hashes for many slots, so that tags, groups and whole hashes collide all the time.
TEST_F(SlotIndexTest, BehavesLikeASetOfPairs) {
    for (const std::uint32_t hashes : {3U, 64U, 100000U}) {
        index.Drop();
        ASSERT_TRUE(index.Create(0));
        std::set<std::pair<std::uint32_t, unsigned int>> model;
        std::uint32_t random = 4711;
        const auto next = [&random] { return (random = random * 1664525u + 1013904223u) >> 8; };
        for (int step = 0; step < 30000; ++step) {
            const unsigned int slot = next() % 700;
            const std::uint32_t hash = slot % hashes * 0x9E3779B9u;
            if (model.erase({hash, slot}) != 0) {
                index.Remove(hash, slot);
                ASSERT_FALSE(Finds(hash, slot)) << step;
            } else {
                if (!index.Add(hash, slot)) {
                    ASSERT_TRUE(index.Create(model.size() + 1));
                    ASSERT_TRUE(index.Add(hash, slot));
                }
                model.insert({hash, slot});
                ASSERT_TRUE(Finds(hash, slot)) << step;
            }
        }
        for (unsigned int slot = 0; slot < 700; ++slot) {
            const std::uint32_t hash = slot % hashes * 0x9E3779B9u;
            ASSERT_EQ(Finds(hash, slot), model.count({hash, slot}) != 0) << slot;
        }
    }
}

} // namespace
