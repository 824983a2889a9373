// The ring of bytes.
#include "CBufferCircular.h"

#include "alloc_failure.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <vector>

namespace {

// Shows the fields, and lets a test stand the ring where it wants it.
class Ring : public CBufferCircular {
public:
    using CBufferCircular::CBufferCircular;

    int Put(const std::string& bytes) {
        return Write(reinterpret_cast<const unsigned char*>(bytes.data()),
                     static_cast<unsigned long>(bytes.size()));
    }
    // What Read delivers, after a check that it leaves the memory behind that alone.
    std::string Take(unsigned long n, int partial = 0) {
        std::vector<unsigned char> bytes(n + 1, 0xEE);
        const unsigned long read = Read(bytes.data(), n, partial);
        EXPECT_LE(read, n);
        for (std::size_t i = read; i < bytes.size(); ++i)
            EXPECT_EQ(bytes[i], 0xEE) << "written behind what was delivered";
        return std::string(reinterpret_cast<char*>(bytes.data()), read);
    }

    void StandAt(DWORD head, DWORD held) {
        m_dwLectura = head;
        m_dwDades = held;
    }
    DWORD Capacity() const { return m_dwMida; }
    DWORD Head() const { return m_dwLectura; }
    DWORD Held() const { return m_dwDades; }
    const unsigned char* Block() const { return m_pBuffer; }
    unsigned char* NewBuffer(unsigned long size) { return allocBuffer(size); }
    void FreeBuffer(unsigned char* buffer) { freeBuffer(buffer); }

    std::vector<std::ptrdiff_t> Offsets() const {
        const auto offset = [this](const auto& field) {
            return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(this);
        };
        return {offset(m_dwMida), offset(m_pBuffer), offset(m_dwLectura), offset(m_dwDades)};
    }
};

void ExpectNothing(const Ring& ring) {
    EXPECT_EQ(ring.Block(), nullptr);
    EXPECT_EQ(ring.Capacity(), 0u);
    EXPECT_EQ(ring.Head(), 0u);
    EXPECT_EQ(ring.Held(), 0u);
    EXPECT_EQ(ring.GetMidaDades(), 0ul);
    EXPECT_EQ(ring.GetMidaLliure(), 0ul);
}

// The system refuses this much on 32-bit targets; elsewhere the failure is injected.
constexpr unsigned long TOO_MUCH = 0xFFFFFFF0;

} // namespace

TEST(CBufferCircularTest, ExampleUsage) {
    CBufferCircular ring(16);
    const unsigned char packet[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(ring.Write(packet, sizeof packet), 1);
    EXPECT_EQ(ring.GetMidaDades(), 5ul);
    EXPECT_EQ(ring.GetMidaLliure(), 11ul);

    unsigned char header[2] = {};
    EXPECT_EQ(ring.Read(header, sizeof header, 0), 2ul);
    EXPECT_EQ(header[0], 1);
    EXPECT_EQ(header[1], 2);

    unsigned char rest[8] = {};
    EXPECT_EQ(ring.Read(rest, sizeof rest, 0), 0ul) << "only three are there";
    EXPECT_EQ(ring.Read(rest, sizeof rest, 1), 3ul);
    EXPECT_EQ(std::memcmp(rest, packet + 2, 3), 0);
}

// ---- Writing

TEST(CBufferCircularTest, WriteThatFitsExactlyIsAccepted) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdef"), 1);
    EXPECT_EQ(ring.Put("gh"), 1);
    EXPECT_EQ(ring.GetMidaLliure(), 0ul);
    EXPECT_EQ(ring.Take(8), "abcdefgh");
}

TEST(CBufferCircularTest, WriteBeyondTheFreeSpaceWritesNothing) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdef"), 1);
    EXPECT_EQ(ring.Put("ghi"), 0);
    EXPECT_EQ(ring.GetMidaDades(), 6ul);
    EXPECT_EQ(ring.Take(8, 1), "abcdef");
}

TEST(CBufferCircularTest, WriteIntoAFullRingIsRefusedUnlessItIsEmpty) {
    Ring ring(4);
    ASSERT_EQ(ring.Put("abcd"), 1);
    EXPECT_EQ(ring.Put("e"), 0);
    EXPECT_EQ(ring.Put(""), 1);
    EXPECT_EQ(ring.Write(nullptr, 0), 1);
    EXPECT_EQ(ring.Take(4), "abcd");
}

TEST(CBufferCircularTest, WriteLargerThanTheCapacityIsRefused) {
    Ring ring(4);
    EXPECT_EQ(ring.Put("abcde"), 0);
    EXPECT_EQ(ring.Write(nullptr, static_cast<unsigned long>(-1)), 0);
    EXPECT_EQ(ring.Write(nullptr, 0xFFFFFFFF), 0);
    EXPECT_EQ(ring.GetMidaDades(), 0ul);
}

TEST(CBufferCircularTest, WriteWrapsInTwoPieces) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdef"), 1);
    ASSERT_EQ(ring.Take(4), "abcd");
    EXPECT_EQ(ring.Put("ghijk"), 1);
    EXPECT_EQ(std::memcmp(ring.Block(), "ijk", 3), 0);
    EXPECT_EQ(std::memcmp(ring.Block() + 4, "efgh", 4), 0);
    EXPECT_EQ(ring.Take(7), "efghijk");
}

TEST(CBufferCircularTest, WriteBehindWrappedBytesIsOnePiece) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdef"), 1);
    ASSERT_EQ(ring.Take(5), "abcde");
    ASSERT_EQ(ring.Put("ghij"), 1); // two of them at the block's start
    EXPECT_EQ(ring.Put("klm"), 1);
    EXPECT_EQ(std::memcmp(ring.Block(), "ijklm", 5), 0);
    EXPECT_EQ(ring.GetMidaLliure(), 0ul);
    EXPECT_EQ(ring.Take(8), "fghijklm");
}

TEST(CBufferCircularTest, WriteStartsOverWhenTheTailReachesTheEnd) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdefgh"), 1);
    ASSERT_EQ(ring.Take(3), "abc");
    EXPECT_EQ(ring.Put("ij"), 1); // the tail stands exactly at the capacity
    EXPECT_EQ(std::memcmp(ring.Block(), "ij", 2), 0);
    EXPECT_EQ(ring.Take(7), "defghij");
}

// ---- Reading

TEST(CBufferCircularTest, ReadBeyondTheBytesHeldTakesNothingOrAll) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abc"), 1);
    EXPECT_EQ(ring.Take(5, 0), "");
    EXPECT_EQ(ring.GetMidaDades(), 3ul);
    EXPECT_EQ(ring.Take(5, 1), "abc");
    EXPECT_EQ(ring.GetMidaDades(), 0ul);
    EXPECT_EQ(ring.Take(1, 1), "");
}

TEST(CBufferCircularTest, AnyNonZeroFlagAllowsAPartialRead) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abc"), 1);
    EXPECT_EQ(ring.Take(4, -1), "abc");
}

TEST(CBufferCircularTest, PartialReadOfMoreThan32BitsTakesAll) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abc"), 1);
    unsigned char bytes[8] = {};
    EXPECT_EQ(ring.Read(bytes, static_cast<unsigned long>(-1), 0), 0ul);
    EXPECT_EQ(ring.Read(bytes, static_cast<unsigned long>(-1), 1), 3ul);
    EXPECT_EQ(std::memcmp(bytes, "abc\0", 4), 0);
}

TEST(CBufferCircularTest, ReadOfNothingLeavesTheRingAlone) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abc"), 1);
    EXPECT_EQ(ring.Read(nullptr, 0, 0), 0ul);
    EXPECT_EQ(ring.Read(nullptr, 0, 1), 0ul);
    EXPECT_EQ(ring.Take(3), "abc");
}

TEST(CBufferCircularTest, HeadThatReachesTheEndStandsAtTheStart) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdefgh"), 1);
    ASSERT_EQ(ring.Take(5), "abcde");
    EXPECT_EQ(ring.Head(), 5u);
    EXPECT_EQ(ring.Take(3), "fgh");
    EXPECT_EQ(ring.Head(), 0u);
}

TEST(CBufferCircularTest, HeadOfAWrappedReadIsTheSizeOfItsSecondPiece) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdefgh"), 1);
    ASSERT_EQ(ring.Take(6), "abcdef");
    ASSERT_EQ(ring.Put("ijkl"), 1);
    EXPECT_EQ(ring.Take(5), "ghijk");
    EXPECT_EQ(ring.Head(), 3u);
    EXPECT_EQ(ring.Take(1), "l");
    EXPECT_EQ(ring.Head(), 4u) << "an emptied ring keeps its head";
}

TEST(CBufferCircularTest, BytesComeOutAsInAQueue) {
    std::mt19937 random(11);
    for (const unsigned capacity : {1u, 2u, 7u, 8u, 64u, 1000u}) {
        Ring ring(capacity);
        std::deque<char> model;
        for (int step = 0; step < 4000; ++step) {
            const unsigned n = random() % (capacity + 2);
            if (random() % 2) {
                std::string bytes;
                for (unsigned i = 0; i < n; ++i)
                    bytes += static_cast<char>(random());
                const bool fits = n <= capacity - model.size();
                ASSERT_EQ(ring.Put(bytes), fits ? 1 : 0);
                if (fits)
                    model.insert(model.end(), bytes.begin(), bytes.end());
            } else {
                const int partial = static_cast<int>(random() % 2);
                const std::size_t count = n <= model.size() ? n : partial ? model.size() : 0;
                const auto end = model.begin() + static_cast<std::ptrdiff_t>(count);
                ASSERT_EQ(ring.Take(n, partial), std::string(model.begin(), end));
                model.erase(model.begin(), end);
            }
            ASSERT_EQ(ring.GetMidaDades(), model.size());
            ASSERT_EQ(ring.GetMidaLliure(), capacity - model.size());
            ASSERT_LT(ring.Head(), capacity);
        }
    }
}

#if defined(__LP64__) && !defined(__SANITIZE_ADDRESS__)
// On 32-bit targets there is no block so large. Only the pages that are touched take memory.
TEST(CBufferCircularTest, HeadAndCountMayPass4GiBTogether) {
    constexpr DWORD CAPACITY = 0xFFFFFFF0;
    Ring ring(CAPACITY);
    ring.StandAt(CAPACITY - 4, 100); // 96 of them at the start
    EXPECT_EQ(ring.Put("abcdef"), 1);
    EXPECT_EQ(std::memcmp(ring.Block() + 96, "abcdef", 6), 0);
    EXPECT_EQ(ring.Put(std::string(200, 'x')), 1);
    EXPECT_EQ(std::memcmp(ring.Block() + 102, "xxxx", 4), 0);
    EXPECT_EQ(ring.Take(100).size(), 100u);
    EXPECT_EQ(ring.Head(), 96u);
    EXPECT_EQ(ring.Take(8), "abcdefxx");
    ring.StandAt(CAPACITY - 2, 0xFFFFFF00);
    EXPECT_EQ(ring.GetMidaLliure(), 0xF0ul);
    EXPECT_EQ(ring.Put(std::string(0xF1, 'y')), 0);
    EXPECT_EQ(ring.Put(std::string(0xF0, 'y')), 1);
    EXPECT_EQ(ring.GetMidaLliure(), 0ul);
    EXPECT_EQ(std::memcmp(ring.Block() + 0xFFFFFEFE, "yyyy", 4), 0);
}
#endif

// ---- The block

TEST(CBufferCircularTest, ResetEmptiesTheRingAndKeepsTheBlock) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdef"), 1);
    ASSERT_EQ(ring.Take(2), "ab");
    const unsigned char* const block = ring.Block();
    ring.Reset();
    EXPECT_EQ(ring.GetMidaLliure(), 8ul);
    EXPECT_EQ(ring.GetMidaDades(), 0ul);
    EXPECT_EQ(ring.Head(), 0u);
    EXPECT_EQ(ring.Block(), block);
    EXPECT_EQ(ring.Put("12345678"), 1);
    EXPECT_EQ(std::memcmp(ring.Block(), "12345678", 8), 0);
}

TEST(CBufferCircularTest, CapacityZeroRefusesEveryWriteAndRead) {
    Ring ring(0);
    ExpectNothing(ring);
    EXPECT_EQ(ring.Put("a"), 0);
    EXPECT_EQ(ring.Put(""), 0);
    EXPECT_EQ(ring.Take(1, 1), "");
    EXPECT_EQ(ring.Take(0, 1), "");
    ring.Reset();
    ring.Free();
    ExpectNothing(ring);
}

TEST(CBufferCircularTest, AllocOfNothingSucceedsAndRefusesEverything) {
    Ring ring;
    EXPECT_EQ(ring.Alloc(0), 1);
    EXPECT_NE(ring.Block(), nullptr);
    EXPECT_EQ(ring.Put("a"), 0);
    EXPECT_EQ(ring.Put(""), 0);
    EXPECT_EQ(ring.Take(1, 1), "");
    ring.Free();
    ExpectNothing(ring);
}

TEST(CBufferCircularTest, AllocReplacesTheBlockAndItsBytes) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abcdef"), 1);
    ASSERT_EQ(ring.Take(2), "ab");
    EXPECT_EQ(ring.Alloc(3), 1);
    EXPECT_EQ(ring.Capacity(), 3u);
    EXPECT_EQ(ring.Head(), 0u);
    EXPECT_EQ(ring.GetMidaDades(), 0ul);
    EXPECT_EQ(ring.GetMidaLliure(), 3ul);
    EXPECT_EQ(ring.Put("xyz"), 1);
    EXPECT_EQ(ring.Take(3), "xyz");
}

TEST(CBufferCircularTest, FreedRingRefusesAndCanBeAllocatedAgain) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abc"), 1);
    ring.Free();
    ExpectNothing(ring);
    EXPECT_EQ(ring.Put("a"), 0);
    EXPECT_EQ(ring.Take(1, 1), "");
    EXPECT_EQ(ring.Alloc(2), 1);
    EXPECT_EQ(ring.Put("ab"), 1);
}

TEST(CBufferCircularTest, ProtectedHeapCallsAllocateAndIgnoreNull) {
    Ring ring;
    unsigned char* const block = ring.NewBuffer(10);
    ASSERT_NE(block, nullptr);
    std::memset(block, 1, 10);
    ring.FreeBuffer(block);
    ring.FreeBuffer(nullptr);
    ExpectNothing(ring);
}

TEST(CBufferCircularTest, RunTimeClassIsNamedAfterTheRing) {
    const CBufferCircular ring;
    EXPECT_STREQ(ring.GetRuntimeClass()->m_lpszClassName, "CBufferCircular");
    EXPECT_TRUE(ring.IsKindOf(RUNTIME_CLASS(CBufferCircular)));
    EXPECT_TRUE(ring.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_EQ(RUNTIME_CLASS(CBufferCircular)->m_nObjectSize, static_cast<int>(sizeof(CBufferCircular)));
}

TEST(CBufferCircularTest, FieldsStandInOrder) {
    const Ring ring;
    if (sizeof(void*) == 4) {
        EXPECT_EQ(ring.Offsets(), (std::vector<std::ptrdiff_t>{4, 8, 12, 16}));
        EXPECT_EQ(sizeof(CBufferCircular), 20u);
    } else {
        EXPECT_EQ(ring.Offsets(), (std::vector<std::ptrdiff_t>{8, 16, 24, 28}));
        EXPECT_EQ(sizeof(CBufferCircular), 32u);
    }
}

// ---- Error results

TEST(CBufferCircularTest, AllocWithoutMemoryAnswersZeroAndLeavesNothing) {
    Ring ring(8);
    ASSERT_EQ(ring.Put("abc"), 1);
    {
        const FailAllocation failure(1);
        EXPECT_EQ(ring.Alloc(TOO_MUCH), 0);
    }
    ExpectNothing(ring);
    EXPECT_EQ(ring.Put("a"), 0);
}

TEST(CBufferCircularTest, AllocBeyond32BitsAnswersZero) {
    Ring ring(8);
    EXPECT_EQ(ring.Alloc(static_cast<unsigned long>(-1)), 0);
    ExpectNothing(ring);
}

TEST(CBufferCircularTest, ConstructionWithoutMemoryThrows) {
    const FailAllocation failure(1);
    bool thrown = false;
    try {
        const CBufferCircular ring(TOO_MUCH);
    } catch (CMemoryException* error) {
        thrown = true;
        error->Delete();
    }
    EXPECT_TRUE(thrown);
}
