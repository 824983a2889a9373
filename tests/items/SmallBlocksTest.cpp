// The pools below the items, compiled into this program: under the sanitizers the library's items pass them
// by.
#include "items/SmallBlocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace blocks = mvlib::blocks;

namespace {

struct Block {
    unsigned char* memory;
    std::size_t bytes;
    unsigned char mark;
};

// A block filled with its mark, so that an overlap shows when it is given back.
Block Take(std::size_t bytes, unsigned char mark) {
    auto* memory = static_cast<unsigned char*>(blocks::Allocate(bytes));
    std::memset(memory, mark, bytes);
    return {memory, bytes, mark};
}

void GiveBack(const Block& block) {
    ASSERT_TRUE(std::all_of(block.memory, block.memory + block.bytes,
                            [&block](unsigned char byte) { return byte == block.mark; }));
    blocks::Free(block.memory, block.bytes);
}

} // namespace

TEST(SmallBlocks, BlocksOfAllSizesAreApartAndAligned) {
    std::vector<Block> taken;
    for (int round = 0; round < 300; ++round)
        for (std::size_t bytes = 1; bytes <= blocks::LARGEST; ++bytes) {
            taken.push_back(Take(bytes, static_cast<unsigned char>(taken.size())));
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(taken.back().memory) % blocks::GRAIN, 0U);
        }
    for (const Block& block : taken)
        GiveBack(block);
}

TEST(SmallBlocks, FreedBlockIsUsedAgain) {
    void* first = blocks::Allocate(16);
    blocks::Free(first, 16);
    void* second = blocks::Allocate(16);
    EXPECT_EQ(second, first);
    blocks::Free(second, 16);
}

TEST(SmallBlocks, AnyOrderOfTakingAndGivingBack) {
    std::mt19937 random(5);
    std::vector<Block> taken;
    for (int step = 0; step < 200000; ++step) {
        // Long runs one way and the other, so that whole batches move.
        if (taken.empty() || (random() % 100 < (step / 20000 % 2 == 0 ? 70U : 30U))) {
            taken.push_back(Take(1 + random() % blocks::LARGEST, static_cast<unsigned char>(step)));
        } else {
            std::swap(taken[random() % taken.size()], taken.back());
            GiveBack(taken.back());
            taken.pop_back();
        }
    }
    for (const Block& block : taken)
        GiveBack(block);
}

TEST(SmallBlocks, MemoryGivenBackIsEnoughForTheNextRound) {
    constexpr int COUNT = 20000;
    const auto takeAll = [] {
        std::vector<void*> taken;
        for (int i = 0; i < COUNT; ++i)
            taken.push_back(blocks::Allocate(24));
        return taken;
    };
    const auto giveBack = [](const std::vector<void*>& taken) {
        for (void* block : taken)
            blocks::Free(block, 24);
    };
    const std::vector<void*> first = takeAll();
    giveBack(first);
    const std::vector<void*> second = takeAll();
    giveBack(second);
    // Only what is left of the batch carved last may be fresh.
    const std::set<void*> known(first.begin(), first.end());
    EXPECT_LT(std::count_if(second.begin(), second.end(),
                            [&known](void* block) { return known.count(block) == 0; }),
              100);
}

TEST(SmallBlocks, BlocksFreedInNoOrderComeBackInOrder) {
    constexpr int COUNT = 20000;
    std::vector<unsigned char*> taken;
    for (int i = 0; i < COUNT; ++i)
        taken.push_back(Take(blocks::LARGEST, 1).memory);
    const std::set<unsigned char*> known(taken.begin(), taken.end());
    ASSERT_EQ(known.size(), taken.size());
    std::shuffle(taken.begin(), taken.end(), std::mt19937(6));
    for (unsigned char* block : taken)
        GiveBack({block, blocks::LARGEST, 1});
    std::vector<unsigned char*> again;
    for (int i = 0; i < COUNT; ++i)
        again.push_back(Take(blocks::LARGEST, 2).memory);
    int inOrder = 0;
    for (int i = 1; i < COUNT; ++i) {
        const auto before = reinterpret_cast<std::uintptr_t>(again[static_cast<std::size_t>(i) - 1]);
        const auto here = reinterpret_cast<std::uintptr_t>(again[static_cast<std::size_t>(i)]);
        inOrder += here > before && here - before < 2000 ? 1 : 0;
    }
    EXPECT_GT(inOrder, COUNT * 9 / 10);
    EXPECT_EQ(std::set<unsigned char*>(again.begin(), again.end()).size(), again.size());
    for (unsigned char* block : again)
        GiveBack({block, blocks::LARGEST, 2});
}

TEST(SmallBlocks, ThreadsThatFreeInNoOrderShareThePools) {
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed)
        threads.emplace_back([seed] {
            std::mt19937 random(seed);
            for (int round = 0; round < 20; ++round) {
                std::vector<Block> taken;
                for (int i = 0; i < 4000; ++i)
                    taken.push_back(
                        Take(blocks::LARGEST - blocks::GRAIN, static_cast<unsigned char>(seed + 1)));
                std::shuffle(taken.begin(), taken.end(), random);
                for (const Block& block : taken)
                    GiveBack(block);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(SmallBlocks, BlocksMayBeFreedOnAnotherThread) {
    for (int round = 0; round < 20; ++round) {
        std::vector<Block> taken;
        for (int i = 0; i < 2000; ++i)
            taken.push_back(Take(32, static_cast<unsigned char>(i)));
        std::thread([&taken] {
            for (const Block& block : taken)
                GiveBack(block);
        }).join();
    }
}

TEST(SmallBlocks, BlocksOfAThreadThatEndedAreUsedAgain) {
    // Whatever other tests have left is in use meanwhile.
    std::vector<void*> held(50000);
    for (void*& block : held)
        block = blocks::Allocate(40);
    std::vector<void*> taken(100);
    std::thread([&taken] {
        for (void*& block : taken)
            block = blocks::Allocate(40);
        for (void* block : taken)
            blocks::Free(block, 40);
    }).join();
    // A new thread has nothing of its own yet and takes what the first one left, before any fresh memory.
    std::set<void*> again;
    std::thread([&again, &taken] {
        for (std::size_t i = 0; i < taken.size(); ++i)
            again.insert(blocks::Allocate(40));
        for (void* block : again)
            blocks::Free(block, 40);
    }).join();
    const std::set<void*> first(taken.begin(), taken.end());
    EXPECT_TRUE(
        std::any_of(again.begin(), again.end(), [&first](void* block) { return first.count(block) != 0; }));
    for (void* block : held)
        blocks::Free(block, 40);
}

TEST(SmallBlocks, ThreadsTakeAndGiveBackAtTheSameTime) {
    std::array<std::thread, 4> threads;
    for (unsigned index = 0; index < threads.size(); ++index)
        threads[index] = std::thread([index] {
            std::mt19937 random(index);
            std::vector<Block> taken;
            for (int step = 0; step < 30000; ++step) {
                if (taken.size() < 10 || random() % 2 == 0) {
                    taken.push_back(
                        Take(1 + random() % 64, static_cast<unsigned char>(index * 64 + step % 64)));
                } else {
                    GiveBack(taken.back());
                    taken.pop_back();
                }
            }
            for (const Block& block : taken)
                GiveBack(block);
        });
    for (std::thread& thread : threads)
        thread.join();
}

// Destructors of thread-local objects may run after the thread's lists have been given back.
TEST(SmallBlocks, ThreadThatIsEndingStillTakesAndGivesBack) {
    // The block is named outside: what thread-local objects hold is gone on Windows when they are destroyed.
    static void* block;
    struct Late {
        ~Late() {
            blocks::Free(block, 48);
            std::vector<void*> taken;
            for (int i = 0; i < 500; ++i)
                taken.push_back(blocks::Allocate(48));
            for (void* each : taken)
                blocks::Free(each, 48);
        }
    };
    std::thread([] {
        thread_local Late late; // made before the thread's lists, hence destroyed after them
        static_cast<void>(&late);
        block = blocks::Allocate(48);
    }).join();
    blocks::Free(blocks::Allocate(48), 48);
}

TEST(SmallBlocks, BlockIsKnownWithoutItsSize) {
    void* small = blocks::Allocate(16);
    void* large = blocks::Allocate(blocks::LARGEST);
    int elsewhere = 0;
    EXPECT_FALSE(blocks::FreeOfUnknownSize(&elsewhere));
    EXPECT_TRUE(blocks::FreeOfUnknownSize(small));
    EXPECT_TRUE(blocks::FreeOfUnknownSize(large));
    EXPECT_EQ(blocks::Allocate(16), small);
    EXPECT_EQ(blocks::Allocate(blocks::LARGEST), large);
    blocks::Free(small, 16);
    blocks::Free(large, blocks::LARGEST);
}
