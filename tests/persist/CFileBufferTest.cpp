#include "CFileBuffer.h"

#include "alloc_failure.h"
#include "RecordSupport.h"
#include "temp_folder.h"

#include <algorithm>
#include <memory>

namespace {

constexpr unsigned int READ = CFile::typeBinary | CFile::modeRead | CFile::shareDenyNone;
constexpr unsigned int WRITE = CFile::typeBinary | CFile::modeWrite | CFile::shareDenyNone;
constexpr unsigned int CREATE = WRITE | CFile::modeCreate;
constexpr unsigned long EIGHT_MIB = 0x800000;

// Shows what is protected.
class Probe : public CFileBuffer {
public:
    using CFileBuffer::CFileBuffer;
    using CFileBuffer::DeleteContents;
    using CFileBuffer::flushBuffer;
    using CFileBuffer::loadBuffer;
    using CFileBuffer::m_bModificat;
    using CFileBuffer::m_nDadesBuffer;
    using CFileBuffer::m_nFiModificat;
    using CFileBuffer::m_nFlags;
    using CFileBuffer::m_nIniciModificat;
    using CFileBuffer::m_nMidaBuffer;
    using CFileBuffer::m_pBuffer;
    using CFileBuffer::m_qwIniciBuffer;
    using CFileBuffer::m_qwPosicio;
};

std::string Letters(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text.push_back(static_cast<char>('a' + i % 23));
    return text;
}

class CFileBufferTest : public testing::Test {
protected:
    Probe& Open(unsigned int flags, unsigned long size = 16) {
        m_file.reset();
        m_file = std::make_unique<Probe>(m_path.c_str(), flags, size);
        return *m_file;
    }
    // A file with these bytes, opened for reading.
    Probe& Reading(const std::string& bytes, unsigned long size = 16) {
        m_file.reset();
        m_folder.Write(L"file.bin", bytes);
        return Open(READ, size);
    }
    // The same for writing from its beginning.
    Probe& Overwriting(const std::string& bytes, unsigned long size = 16) {
        m_file.reset();
        m_folder.Write(L"file.bin", bytes);
        return Open(WRITE, size);
    }
    std::string Read(unsigned int count) {
        std::string bytes(count, '?');
        bytes.resize(m_file->Read(bytes.data(), count));
        return bytes;
    }
    void Write(const std::string& bytes) {
        m_file->Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
    }
    // Deletes the object and answers what the file holds.
    std::string Written() {
        m_file.reset();
        return m_folder.Read(L"file.bin");
    }
    std::string OnDisk() { return m_folder.Read(L"file.bin"); }

    TempFolder m_folder;
    std::wstring m_path = m_folder.Path(L"file.bin");
    std::unique_ptr<Probe> m_file;
};

} // namespace

TEST_F(CFileBufferTest, ExampleUsage) {
    {
        CFileBuffer numbers(m_path.c_str(), CFile::typeBinary | CFile::modeCreate | CFile::modeWrite,
                            0x10000);
        for (unsigned char i = 0; i < 5; ++i) {
            const unsigned char number[4] = {i, 0, 0, 0};
            numbers.Write(number, sizeof number);
        }
        numbers.Close(); // writes what is pending
    }
    CFileBuffer numbers(m_path.c_str(), CFile::typeBinary | CFile::modeRead, 0x10000);
    EXPECT_EQ(numbers.GetLength(), 20u);
    unsigned char number[4];
    int sum = 0;
    while (numbers.Read(number, sizeof number) == sizeof number)
        sum += number[0];
    EXPECT_EQ(sum, 10);
    numbers.Seek(-4, CFile::end);
    EXPECT_EQ(numbers.Read(number, sizeof number), 4u);
    EXPECT_EQ(number[0], 4);
}

TEST_F(CFileBufferTest, IsAFileOfItsOwnRuntimeClass) {
    Probe& file = Reading("x");
    EXPECT_STREQ(file.GetRuntimeClass()->m_lpszClassName, "CFileBuffer");
    EXPECT_TRUE(file.IsKindOf(RUNTIME_CLASS(CFile)));
    EXPECT_TRUE(RUNTIME_CLASS(CFileBuffer)->IsDerivedFrom(RUNTIME_CLASS(CFile)));
}

// ---- Reading

TEST_F(CFileBufferTest, ReadsThroughAFileTenBytesAtATime) {
    const std::string bytes = Letters(25);
    for (unsigned long size : {1ul, 7ul, 10ul, 16ul, 25ul, 64ul, 100000ul, EIGHT_MIB}) {
        Reading(bytes, size);
        EXPECT_EQ(Read(10), bytes.substr(0, 10)) << size;
        EXPECT_EQ(Read(10), bytes.substr(10, 10)) << size;
        EXPECT_EQ(Read(10), bytes.substr(20)) << size;
        EXPECT_EQ(Read(10), "") << size;
        EXPECT_EQ(m_file->GetPosition(), 25u) << size;
    }
}

TEST_F(CFileBufferTest, OneReadSpansManyBlocks) {
    const std::string bytes = Letters(1000);
    Reading(bytes, 16);
    m_file->Seek(3, CFile::begin);
    EXPECT_EQ(Read(2000), bytes.substr(3));
}

TEST_F(CFileBufferTest, ReadsAFileOfSeveralLargeBlocks) {
    const std::string bytes = Letters(300000);
    Reading(bytes, 100000);
    EXPECT_EQ(Read(99999), bytes.substr(0, 99999));
    EXPECT_EQ(Read(150000), bytes.substr(99999, 150000));
    m_file->Seek(10, CFile::begin);
    EXPECT_EQ(Read(10), bytes.substr(10, 10));
    m_file->Seek(-5, CFile::end);
    EXPECT_EQ(Read(10), bytes.substr(299995));
    m_file->Seek(100000, CFile::begin); // a whole block again, after the short last one
    EXPECT_EQ(Read(100000), bytes.substr(100000, 100000));
}

TEST_F(CFileBufferTest, ReadOfNothingTouchesNothing) {
    Probe& file = Reading("abc");
    EXPECT_EQ(file.Read(nullptr, 0), 0u);
    EXPECT_EQ(file.m_pBuffer, nullptr);
    EXPECT_EQ(file.GetPosition(), 0u);
}

TEST_F(CFileBufferTest, EmptyFileDeliversNothing) {
    Reading("");
    EXPECT_EQ(Read(10), "");
    EXPECT_EQ(m_file->updateBuffer(), -7);
    EXPECT_EQ(m_file->getActualBufferPosition(), nullptr);
}

TEST_F(CFileBufferTest, IsNotBufferedBeforeTheFirstRead) {
    Probe& file = Reading(Letters(25));
    EXPECT_FALSE(file.IsBuffered());
    EXPECT_FALSE(file.IsBuffered(0));
    EXPECT_EQ(file.getActualBufferPosition(), nullptr);
    Read(1);
    EXPECT_TRUE(file.IsBuffered());
}

TEST_F(CFileBufferTest, ReaderBuffersTheBytesLoaded) {
    Probe& file = Reading(Letters(25), 16);
    file.Seek(4, CFile::begin);
    Read(1);
    EXPECT_FALSE(file.IsBuffered(3));
    EXPECT_TRUE(file.IsBuffered(4));
    EXPECT_TRUE(file.IsBuffered(19));
    EXPECT_FALSE(file.IsBuffered(20));
    file.Seek(20, CFile::begin);
    EXPECT_FALSE(file.IsBuffered());
    Read(1);
    EXPECT_TRUE(file.IsBuffered(24));
    EXPECT_FALSE(file.IsBuffered(25)); // five bytes were loaded, not sixteen
    EXPECT_FALSE(file.IsBuffered(0xFFFFFFFFFFFFFFFFull));
}

TEST_F(CFileBufferTest, LoadsAtMostOneBlockOfItsSize) {
    for (unsigned long size : {16ul, 0x10000ul, 0x10001ul, 0x20000ul}) {
        Probe& file = Reading(Letters(0x30000), size);
        Read(1);
        EXPECT_EQ(file.m_nDadesBuffer, size);
        EXPECT_TRUE(file.IsBuffered(size - 1)) << size;
        EXPECT_FALSE(file.IsBuffered(size)) << size;
    }
}

TEST_F(CFileBufferTest, SmallBlockIsZeroBehindTheBytesLoaded) {
    Probe& file = Reading(Letters(20), 16);
    Read(20);
    ASSERT_EQ(file.m_nDadesBuffer, 4u);
    EXPECT_EQ(std::count(file.m_pBuffer + 4, file.m_pBuffer + 16, 0), 12);
}

TEST_F(CFileBufferTest, WholeBlockIsVisibleThroughThePointer) {
    Probe& file = Reading("abc", EIGHT_MIB);
    Read(1);
    unsigned char* at = file.getActualBufferPosition();
    ASSERT_NE(at, nullptr);
    EXPECT_EQ(at[0], 'b');
    EXPECT_EQ(at[1], 'c');
    EXPECT_EQ(std::count(at + 2, at + EIGHT_MIB - 1, 0), static_cast<std::ptrdiff_t>(EIGHT_MIB - 3));
    EXPECT_EQ(Read(10), "bc");
}

TEST_F(CFileBufferTest, SeekReturnsThePositionFromEveryOrigin) {
    const std::string bytes = Letters(50);
    for (unsigned long size : {16ul, EIGHT_MIB}) {
        Probe& file = Reading(bytes, size);
        EXPECT_EQ(file.Seek(30, CFile::begin), 30u);
        EXPECT_EQ(Read(2), bytes.substr(30, 2));
        EXPECT_EQ(file.Seek(5, CFile::current), 37u); // inside the block
        EXPECT_EQ(Read(2), bytes.substr(37, 2));
        EXPECT_EQ(file.Seek(-39, CFile::current), 0u); // outside the small one
        EXPECT_EQ(Read(2), bytes.substr(0, 2));
        EXPECT_EQ(file.Seek(-1, CFile::end), 49u);
        EXPECT_EQ(Read(2), bytes.substr(49));
        file.SeekToBegin();
        EXPECT_EQ(file.GetPosition(), 0u);
        EXPECT_EQ(Read(1), bytes.substr(0, 1));
        EXPECT_EQ(file.SeekToEnd(), 50u);
        EXPECT_EQ(file.GetPosition(), 50u);
        EXPECT_EQ(Read(1), "");
    }
}

TEST_F(CFileBufferTest, SeekThroughTheBaseClassMovesTheSamePosition) {
    const std::string bytes = Letters(50);
    CFile& file = Reading(bytes);
    EXPECT_EQ(file.SeekToEnd(), 50u);
    file.SeekToBegin();
    EXPECT_EQ(file.GetPosition(), 0u);
    EXPECT_EQ(file.Seek(9, CFile::current), 9u);
    EXPECT_EQ(Read(3), bytes.substr(9, 3));
}

TEST_F(CFileBufferTest, SeekBeforeTheBeginningThrowsAndMovesNothing) {
    const std::string bytes = Letters(50);
    for (bool loaded : {false, true}) {
        Probe& file = Reading(bytes);
        if (loaded)
            Read(1);
        file.Seek(5, CFile::begin);
        EXPECT_EQ(FileExceptionOf([&] { file.Seek(-6, CFile::current); }), CFileException::badSeek);
        EXPECT_EQ(FileExceptionOf([&] { file.Seek(-1, CFile::begin); }), CFileException::badSeek);
        EXPECT_EQ(FileExceptionOf([&] { file.Seek(-51, CFile::end); }), CFileException::badSeek);
        EXPECT_EQ(file.GetPosition(), 5u);
        EXPECT_EQ(Read(2), bytes.substr(5, 2));
    }
}

TEST_F(CFileBufferTest, PositionPastTheEndReadsNothingAndStays) {
    Probe& file = Reading(Letters(20));
    EXPECT_EQ(file.Seek(1000, CFile::begin), 1000u);
    EXPECT_EQ(Read(5), "");
    EXPECT_EQ(file.GetPosition(), 1000u);
    EXPECT_EQ(file.updateBuffer(), -7);
}

TEST_F(CFileBufferTest, BlockSurvivesAReadAtTheEnd) {
    Probe& file = Reading(Letters(10));
    Read(10);
    EXPECT_EQ(Read(1), "");
    EXPECT_TRUE(file.IsBuffered(0));
    file.Seek(2, CFile::begin);
    EXPECT_TRUE(file.IsBuffered());
}

TEST_F(CFileBufferTest, LoadedBytesAreNotReadAgain) {
    Reading("before");
    Read(1);
    m_folder.Write(L"file.bin", "BEHIND");
    EXPECT_EQ(Read(5), "efore");
}

TEST_F(CFileBufferTest, FileThatGrowsIsReadOn) {
    for (unsigned long size : {4ul, EIGHT_MIB}) {
        Reading("first", size);
        EXPECT_EQ(Read(100), "first");
        m_folder.Write(L"file.bin", "first" + Letters(100000));
        EXPECT_EQ(Read(200000), Letters(100000)) << size;
    }
}

TEST_F(CFileBufferTest, FileThatGrewBeforeTheFirstReadIsReadWhole) {
    for (unsigned long size : {4ul, EIGHT_MIB, 0x2000000ul}) {
        for (const char* first : {"", "first"}) {
            Reading(first, size);
            m_folder.Write(L"file.bin", first + Letters(100000));
            EXPECT_EQ(Read(200000), first + Letters(100000)) << size;
            EXPECT_EQ(Read(1), "");
        }
    }
}

TEST_F(CFileBufferTest, FileThatShrankBeforeTheFirstReadEndsWhereItEnds) {
    for (unsigned long size : {4ul, EIGHT_MIB, 0x2000000ul}) {
        Probe& file = Reading(Letters(100000), size);
        m_folder.Write(L"file.bin", "cut");
        EXPECT_EQ(Read(200000), "cut") << size;
        file.Seek(10, CFile::begin);
        EXPECT_EQ(Read(1), "");
        EXPECT_EQ(file.updateBuffer(), -7);
        Reading("bytes", size);
        m_folder.Write(L"file.bin", "");
        EXPECT_EQ(Read(5), "") << size;
        EXPECT_EQ(m_file->updateBuffer(), -7);
    }
}

TEST_F(CFileBufferTest, FirstBlockMayBeginAnywhere) {
    for (unsigned long size : {16ul, EIGHT_MIB}) {
        Probe& file = Reading(Letters(100), size);
        file.Seek(60, CFile::begin);
        EXPECT_EQ(Read(10), Letters(100).substr(60, 10));
        EXPECT_EQ(file.m_qwIniciBuffer, 60u);
        EXPECT_EQ(file.m_nDadesBuffer, size == 16 ? 16u : 40u);
        EXPECT_FALSE(file.IsBuffered(59));
        EXPECT_FALSE(file.IsBuffered(100));
    }
}

TEST_F(CFileBufferTest, FirstReadThatIsRefusedIsShort) {
    for (unsigned long size : {16ul, EIGHT_MIB}) {
        Probe& file = Reading(Letters(40), size);
        HANDLE good = file.m_hFile;
        CFile writer(m_path.c_str(), CFile::modeWrite | CFile::shareDenyNone);
        file.m_hFile = writer.m_hFile;
        EXPECT_EQ(Read(4), "");
        EXPECT_EQ(file.updateBuffer(), -7);
        EXPECT_FALSE(file.IsBuffered(0));
        file.m_hFile = good;
        EXPECT_EQ(Read(50), Letters(40)) << size;
    }
}

TEST_F(CFileBufferTest, UpdateBufferLoadsWithoutMoving) {
    Probe& file = Reading("abc");
    EXPECT_EQ(file.updateBuffer(), 0);
    EXPECT_EQ(file.GetPosition(), 0u);
    ASSERT_NE(file.getActualBufferPosition(), nullptr);
    EXPECT_EQ(*file.getActualBufferPosition(), 'a');
    EXPECT_EQ(file.updateBuffer(), 0);
}

TEST_F(CFileBufferTest, LoadTakesAnyPosition) {
    Probe& file = Reading(Letters(50));
    EXPECT_EQ(file.loadBuffer(20), 0);
    EXPECT_EQ(file.m_qwIniciBuffer, 20u);
    EXPECT_EQ(file.m_nDadesBuffer, 16u);
    EXPECT_EQ(file.GetPosition(), 0u);
    EXPECT_FALSE(file.IsBuffered());
    EXPECT_EQ(Read(3), "abc");
}

TEST_F(CFileBufferTest, LoadAsksForTheEndByTheCurrentPosition) {
    Probe& file = Reading(Letters(50));
    file.Seek(50, CFile::begin);
    EXPECT_EQ(file.loadBuffer(0), -7);
}

TEST_F(CFileBufferTest, LoadAtTheEndKeepsWhatIsLoaded) {
    Probe& file = Reading(Letters(50), 100000);
    ASSERT_EQ(file.loadBuffer(20), 0); // memory for what lies behind position 20 alone
    file.Seek(50, CFile::begin);
    EXPECT_EQ(file.loadBuffer(0), -7);
    EXPECT_TRUE(file.IsBuffered(20));
    file.Seek(20, CFile::begin);
    EXPECT_EQ(Read(100), Letters(50).substr(20));
}

TEST_F(CFileBufferTest, FileErrorMakesReadsShort) {
    Probe& file = Reading(Letters(40));
    EXPECT_EQ(Read(16), Letters(16));
    HANDLE good = file.m_hFile;
    CFile writer(m_path.c_str(), CFile::modeWrite | CFile::shareDenyNone);
    file.m_hFile = writer.m_hFile; // seeking succeeds, reading is refused
    EXPECT_EQ(Read(4), "");
    EXPECT_EQ(file.updateBuffer(), -7);
    EXPECT_FALSE(file.IsBuffered(16)) << "what the failed load left must not be believed";
    file.m_hFile = good;
    EXPECT_EQ(Read(40), Letters(40).substr(16));
}

TEST_F(CFileBufferTest, LengthThatCannotBeAskedMakesReadsShort) {
    Probe& file = Reading(Letters(40));
    EXPECT_EQ(Read(16), Letters(16));
    CloseHandle(file.m_hFile); // behind the object's back
    EXPECT_EQ(Read(4), "");
    EXPECT_EQ(file.updateBuffer(), -7);
    file.Seek(3, CFile::begin); // still in the block
    EXPECT_EQ(Read(4), Letters(40).substr(3, 4));
}

TEST_F(CFileBufferTest, WriteIntoAFileOpenedForReadingStaysInMemory) {
    for (unsigned long size : {4ul, 16ul, 100000ul}) {
        Probe& file = Reading("0123456789", size);
        Write(std::string(200000, 'x'));
        EXPECT_LE(file.GetPosition(), 200000u);
        EXPECT_EQ(Written(), "0123456789") << size;
    }
}

// ---- Writing

TEST_F(CFileBufferTest, ThreeWritesOfFourBytesMakeTwelve) {
    Open(CREATE);
    Write("abcd");
    Write("efgh");
    Write("ijkl");
    EXPECT_EQ(m_file->GetPosition(), 12u);
    m_file->Close();
    EXPECT_EQ(OnDisk(), "abcdefghijkl");
}

TEST_F(CFileBufferTest, WritesThroughBlocksOfEverySize) {
    const std::string bytes = Letters(100);
    for (unsigned long size : {1ul, 7ul, 16ul, 99ul, 100ul, 101ul, EIGHT_MIB}) {
        Open(CREATE, size);
        Write(bytes.substr(0, 33));
        Write(bytes.substr(33, 1));
        Write("");
        Write(bytes.substr(34));
        EXPECT_EQ(m_file->GetLength(), 100u) << size;
        EXPECT_EQ(Written(), bytes) << size;
    }
}

TEST_F(CFileBufferTest, BytesStayPendingUntilTheBlockIsLeft) {
    Open(CREATE, 4);
    Write("abcd");
    EXPECT_EQ(OnDisk(), "");
    Write("e");
    EXPECT_EQ(OnDisk(), "abcd");
    EXPECT_EQ(Written(), "abcde");
}

TEST_F(CFileBufferTest, WriteOfNothingTouchesNothing) {
    Probe& file = Open(CREATE);
    file.Write(nullptr, 0);
    EXPECT_EQ(file.m_pBuffer, nullptr);
    EXPECT_FALSE(file.m_bModificat);
}

TEST_F(CFileBufferTest, WriterBuffersTheWholeBlock) {
    Probe& file = Open(CREATE, 16);
    EXPECT_FALSE(file.IsBuffered());
    Write("abc");
    EXPECT_TRUE(file.IsBuffered(0));
    EXPECT_TRUE(file.IsBuffered(15));
    EXPECT_FALSE(file.IsBuffered(16));
}

TEST_F(CFileBufferTest, OverwritesTheMiddleOfAFile) {
    Overwriting(Letters(50), 8);
    m_file->Seek(20, CFile::begin);
    Write("0123456789");
    std::string expected = Letters(50);
    expected.replace(20, 10, "0123456789");
    EXPECT_EQ(Written(), expected);
}

TEST_F(CFileBufferTest, LengthWhilePendingIsTheEndOfThePendingBytes) {
    Probe& file = Overwriting(Letters(50), 16);
    EXPECT_EQ(file.GetLength(), 50u);
    Write("abc");
    EXPECT_EQ(file.GetLength(), 3u); // though the file on disk is longer
    file.Flush();
    EXPECT_EQ(file.GetLength(), 50u);
}

TEST_F(CFileBufferTest, LengthWhilePendingCountsFromTheBlocksStart) {
    Probe& file = Overwriting(Letters(50), 16);
    file.Seek(20, CFile::begin);
    Write("abc");
    EXPECT_EQ(file.GetLength(), 23u);
}

TEST_F(CFileBufferTest, SeekToEndDoesNotCountPendingBytes) {
    Probe& file = Overwriting(Letters(10), 16);
    file.SeekToEnd();
    Write("0123456789");
    EXPECT_EQ(file.GetPosition(), 20u);
    EXPECT_EQ(file.SeekToEnd(), 10u);
    EXPECT_EQ(file.Seek(0, CFile::end), 10u);
}

TEST_F(CFileBufferTest, BytesWrittenAfterFlushGoToTheBlocksStart) {
    Open(CREATE);
    Write("abcde");
    m_file->Flush();
    EXPECT_EQ(OnDisk(), "abcde");
    Write("XY");
    EXPECT_EQ(m_file->GetPosition(), 7u);
    EXPECT_EQ(m_file->GetLength(), 7u);
    EXPECT_EQ(Written(), "XYcde");
}

TEST_F(CFileBufferTest, RangeThatBeginsInsideTheBlockIsWrittenAtItsStart) {
    Open(CREATE);
    m_file->updateBuffer();
    m_file->Seek(4, CFile::begin);
    Write("AB");
    EXPECT_EQ(Written(), "AB");
}

TEST_F(CFileBufferTest, GapInsideTheBlockIsZeros) {
    for (unsigned long size : {16ul, EIGHT_MIB}) {
        Open(CREATE, size);
        Write("ab");
        m_file->Seek(5, CFile::begin);
        Write("c");
        EXPECT_EQ(Written(), std::string("ab\0\0\0c", 6)) << size;
    }
}

TEST_F(CFileBufferTest, GapBeforeTheFirstBytesIsZeros) {
    for (unsigned long size : {16ul, EIGHT_MIB}) {
        Open(CREATE, size);
        m_file->updateBuffer();
        m_file->Seek(8, CFile::begin);
        Write("x");
        m_file->Seek(2, CFile::begin);
        Write("y");
        EXPECT_EQ(m_file->m_nIniciModificat, 2u);
        EXPECT_EQ(m_file->m_nFiModificat, 9u);
        EXPECT_EQ(Written(), std::string("y\0\0\0\0\0x", 7)) << size;
    }
}

TEST_F(CFileBufferTest, FlushOfAFileOpenedForReadingIsRefused) {
    Probe& file = Reading("abc");
    EXPECT_EQ(FileExceptionOf([&] { file.Flush(); }), CFileException::accessDenied);
    EXPECT_EQ(Read(3), "abc");
}

TEST_F(CFileBufferTest, GapHoldsWhatTheBlockHeldAtTheLastFlush) {
    for (unsigned long size : {16ul, EIGHT_MIB}) {
        Open(CREATE, size);
        Write("0123456789");
        m_file->Flush();
        m_file->SeekToBegin();
        Write("a");
        m_file->Seek(5, CFile::begin);
        Write("b");
        EXPECT_EQ(Written(), "a1234b6789") << size;
    }
}

TEST_F(CFileBufferTest, NextBlockForgetsTheBytesOfTheLast) {
    for (unsigned long size : {16ul, 100000ul}) {
        Open(CREATE, size);
        Write(std::string(size, 'x'));
        Write("a");
        m_file->Seek(3, CFile::current);
        Write("b");
        EXPECT_EQ(Written().substr(size), std::string("a\0\0\0b", 5)) << size;
    }
}

TEST_F(CFileBufferTest, SeekPastTheEndThenWriteAppendsWithoutAGap) {
    Overwriting("0123456789", 256);
    m_file->Seek(100, CFile::begin);
    Write("abc");
    EXPECT_EQ(m_file->GetPosition(), 103u);
    EXPECT_EQ(m_file->m_qwIniciBuffer, 10u);
    EXPECT_EQ(Written(), "0123456789abc");
}

TEST_F(CFileBufferTest, WriteOutsideTheBlockAfterALoadStopsEarly) {
    Overwriting("0123456789", 8);
    m_file->Seek(100, CFile::begin);
    Write("abc");
    EXPECT_EQ(m_file->GetPosition(), 100u);
    EXPECT_FALSE(m_file->m_bModificat);
    m_file->Seek(17, CFile::begin); // the block's last byte, then one too many
    Write("de");
    EXPECT_EQ(m_file->GetPosition(), 19u); // the second one starts the next block
    EXPECT_EQ(Written(), "0123456789de");
}

TEST_F(CFileBufferTest, WriterStoresThroughThePointer) {
    Probe& file = Open(CREATE, EIGHT_MIB);
    ASSERT_EQ(file.updateBuffer(), 0);
    unsigned char* at = file.getActualBufferPosition();
    ASSERT_NE(at, nullptr);
    EXPECT_EQ(std::count(at, at + EIGHT_MIB, 0), static_cast<std::ptrdiff_t>(EIGHT_MIB));
    std::copy_n("hello", 5, at);
    file.updateWriteBlockLimits(5);
    EXPECT_EQ(file.GetPosition(), 0u);
    EXPECT_EQ(file.GetLength(), 5u);
    file.Seek(5, CFile::current);
    Write(" world");
    EXPECT_EQ(Written(), "hello world");
}

TEST_F(CFileBufferTest, MarkedBytesThatWereNotStoredAreZeros) {
    Open(CREATE, EIGHT_MIB);
    Write("ab");
    m_file->updateWriteBlockLimits(3);
    EXPECT_EQ(Written(), std::string("ab\0\0\0", 5));
}

TEST_F(CFileBufferTest, MarkIsClippedToTheBlock) {
    Probe& file = Open(CREATE, 16);
    file.updateBuffer();
    file.Seek(10, CFile::begin);
    file.updateWriteBlockLimits(0xFFFFFFFF);
    EXPECT_EQ(file.m_nIniciModificat, 10u);
    EXPECT_EQ(file.m_nFiModificat, 16u);
}

TEST_F(CFileBufferTest, MarkOutsideTheBlockDoesNothing) {
    Probe& file = Open(CREATE, 16);
    file.updateWriteBlockLimits(4);
    EXPECT_FALSE(file.m_bModificat);
    file.updateBuffer();
    file.Seek(16, CFile::begin);
    file.updateWriteBlockLimits(4);
    EXPECT_FALSE(file.m_bModificat);
    file.Seek(0, CFile::begin);
    file.updateWriteBlockLimits(0);
    EXPECT_FALSE(file.m_bModificat);
}

TEST_F(CFileBufferTest, ReadFromAFileOpenedForWritingDeliversNothing) {
    Overwriting(Letters(50), 16);
    EXPECT_EQ(Read(5), "");
    EXPECT_EQ(m_file->GetPosition(), 0u);
    Write("ab");
    m_file->SeekToBegin();
    EXPECT_EQ(Read(1), "");
    m_file->Seek(20, CFile::begin);
    EXPECT_EQ(Read(1), ""); // leaving the block writes what was pending
    EXPECT_EQ(OnDisk(), "ab" + Letters(50).substr(2));
}

TEST_F(CFileBufferTest, FlushBufferTellsWhetherThereIsABlock) {
    Probe& file = Open(CREATE);
    EXPECT_EQ(file.flushBuffer(), -1);
    file.updateBuffer();
    EXPECT_EQ(file.flushBuffer(), 0);
    Write("abc");
    EXPECT_EQ(file.flushBuffer(), 0);
    EXPECT_FALSE(file.m_bModificat);
    EXPECT_EQ(file.m_nIniciModificat, 0u);
    EXPECT_EQ(file.m_nFiModificat, 0u);
    EXPECT_EQ(OnDisk(), "abc");
}

TEST_F(CFileBufferTest, DeleteContentsLosesPendingBytes) {
    Probe& file = Open(CREATE);
    Write("abc");
    file.DeleteContents();
    EXPECT_EQ(file.m_pBuffer, nullptr);
    EXPECT_EQ(file.m_nMidaBuffer, 0u);
    EXPECT_EQ(Written(), "");
}

TEST_F(CFileBufferTest, AbortLosesPendingBytes) {
    Probe& file = Open(CREATE);
    Write("abc");
    file.Abort();
    EXPECT_EQ(file.m_hFile, CFile::hFileNull);
    EXPECT_EQ(Written(), "");
}

// ---- Odd sizes and modes

TEST_F(CFileBufferTest, BlockOfNoSizeNeitherDeliversNorStores) {
    Reading("abc", 0);
    EXPECT_EQ(Read(3), "");
    Open(CREATE, 0);
    Write("abc"); // ends
    EXPECT_EQ(m_file->GetPosition(), 0u);
    EXPECT_EQ(m_file->getActualBufferPosition(), nullptr);
    EXPECT_EQ(Written(), "");
}

TEST_F(CFileBufferTest, ReadWriteModeNeitherDeliversNorStores) {
    m_folder.Write(L"file.bin", "abc");
    Open(CFile::typeBinary | CFile::modeReadWrite);
    EXPECT_EQ(Read(3), "");
    EXPECT_EQ(m_file->updateBuffer(), -1);
    Write("xyz");
    EXPECT_EQ(m_file->GetPosition(), 0u);
    EXPECT_FALSE(m_file->IsBuffered());
    EXPECT_EQ(Written(), "abc");
}

// ---- Opening and closing

TEST_F(CFileBufferTest, FileThatDoesNotExistThrowsFromTheConstructor) {
    try {
        CFileBuffer file(m_path.c_str(), READ, 16);
        FAIL() << "opened";
    } catch (CFileException* error) {
        EXPECT_EQ(error->m_cause, CFileException::fileNotFound);
        EXPECT_EQ(error->m_lOsError, 2);
        EXPECT_STREQ(error->m_strFileName, m_path.c_str());
        error->Delete();
    }
}

TEST_F(CFileBufferTest, NullNameDoesNotOpen) {
    EXPECT_EQ(FileExceptionOf([] { CFileBuffer file(nullptr, READ, 16); }), CFileException::badPath);
    EXPECT_FALSE(Reading("abc").Open(nullptr, READ, nullptr));
    EXPECT_EQ(Read(3), "");
}

TEST_F(CFileBufferTest, OpenReportsWhyItFailed) {
    Probe& file = Reading("abc");
    CFileException error;
    EXPECT_FALSE(file.Open(m_folder.Path(L"none\\none.bin").c_str(), READ, &error));
    EXPECT_EQ(error.m_cause, CFileException::badPath);
    EXPECT_EQ(error.m_lOsError, 3);
    EXPECT_EQ(file.m_hFile, CFile::hFileNull);
    EXPECT_EQ(Read(1), "");
}

TEST_F(CFileBufferTest, OpenOfAnOpenObjectWritesWhatWasPending) {
    Open(CREATE);
    Write("first");
    const std::wstring second = m_folder.Path(L"second.bin");
    ASSERT_TRUE(m_file->Open(second.c_str(), CREATE));
    EXPECT_EQ(OnDisk(), "first");
    EXPECT_EQ(m_file->GetPosition(), 0u);
    Write("second");
    m_file.reset();
    EXPECT_EQ(m_folder.Read(L"second.bin"), "second");
}

TEST_F(CFileBufferTest, OpenOfAnOpenObjectForgetsWhatWasLoaded) {
    const std::wstring second = m_folder.Write(L"second.bin", "other");
    Reading("first");
    Read(2);
    ASSERT_TRUE(m_file->Open(second.c_str(), READ));
    EXPECT_FALSE(m_file->IsBuffered(0));
    EXPECT_EQ(Read(5), "other");
}

TEST_F(CFileBufferTest, CloseClearsTheBlockAndItsSize) {
    Probe& file = Reading(Letters(50), 16);
    Read(20);
    file.Close();
    EXPECT_EQ(file.m_hFile, CFile::hFileNull);
    EXPECT_EQ(file.m_pBuffer, nullptr);
    EXPECT_EQ(file.m_nMidaBuffer, 0u);
    EXPECT_EQ(file.m_qwIniciBuffer, 0u);
    EXPECT_EQ(file.m_nDadesBuffer, 0u);
    EXPECT_EQ(file.m_bModificat, 0);
    EXPECT_EQ(file.m_nIniciModificat, 0u);
    EXPECT_EQ(file.m_nFiModificat, 0u);
}

TEST_F(CFileBufferTest, ObjectOpenedAgainAfterCloseHasNoBlock) {
    Probe& file = Reading("abc");
    file.Close();
    ASSERT_TRUE(file.Open(m_path.c_str(), READ));
    EXPECT_EQ(Read(3), "");
}

TEST_F(CFileBufferTest, DeletionWritesWhatIsPending) {
    Open(CREATE);
    Write("abc");
    EXPECT_EQ(Written(), "abc");
}

TEST_F(CFileBufferTest, FailedWriteThrowsAndKeepsTheBytesPending) {
    Probe& file = Open(CREATE, 4);
    Write("abcd");
    CloseHandle(file.m_hFile); // behind the object's back
    EXPECT_NE(FileExceptionOf([&] { Write("e"); }), -1);
    EXPECT_TRUE(file.m_bModificat);
    EXPECT_NE(FileExceptionOf([&] { file.Flush(); }), -1);
    EXPECT_NE(FileExceptionOf([&] { file.Close(); }), -1);
    EXPECT_TRUE(file.m_bModificat);
    CFileException error;
    EXPECT_FALSE(file.Open(m_path.c_str(), WRITE, &error));
    EXPECT_EQ(error.m_lOsError, 6); // invalid handle
    EXPECT_EQ(Written(), "");       // deletion swallows the error
}

// ---- As in CFile

TEST_F(CFileBufferTest, NullPathThrows) {
    Probe& file = Reading("abc");
    bool thrown = false;
    try {
        file.SetFilePath(nullptr);
    } catch (CInvalidArgException* error) {
        thrown = true;
        error->Delete();
    }
    EXPECT_TRUE(thrown);
    file.SetFilePath(L"other.name");
    EXPECT_STREQ(file.GetFilePath(), L"other.name");
}

TEST_F(CFileBufferTest, SetLengthCutsWhereItSays) {
    Probe& file = Overwriting(Letters(50), 64);
    file.updateBuffer(); // so that position 5 lies in the block
    file.SetLength(5);
    EXPECT_EQ(file.GetPosition(), 5u);
    EXPECT_EQ(file.GetLength(), 5u);
    EXPECT_EQ(OnDisk(), Letters(5));
    file.SetLength(70);
    EXPECT_EQ(OnDisk().size(), 70u);
}

TEST_F(CFileBufferTest, SetLengthLeavesTheBlockAsItIs) {
    Probe& writer = Overwriting(Letters(50), 64);
    Write("ABC");
    writer.SetLength(10);
    EXPECT_EQ(writer.GetPosition(), 10u);
    EXPECT_EQ(writer.GetLength(), 3u) << "the end of the pending bytes";
    EXPECT_EQ(Written(), "ABC" + Letters(10).substr(3));

    m_folder.Write(L"file.bin", Letters(50));
    Probe& reader = Open(READ, 64);
    Read(1);
    EXPECT_NE(FileExceptionOf([&] { reader.SetLength(10); }), -1);
    EXPECT_EQ(reader.GetPosition(), 10u);
    EXPECT_EQ(Read(50), Letters(50).substr(10));
}

TEST_F(CFileBufferTest, RangesAreLockedInTheFile) {
    Probe& file = Overwriting(Letters(50));
    file.LockRange(0, 10);
    CFile other(m_path.c_str(), CFile::modeRead | CFile::shareDenyNone);
    EXPECT_EQ(FileExceptionOf([&] { other.LockRange(5, 1); }), CFileException::lockViolation);
    file.UnlockRange(0, 10);
    EXPECT_EQ(FileExceptionOf([&] { other.LockRange(5, 1); }), -1);
}

TEST_F(CFileBufferTest, HasNoDirectBuffer) {
    EXPECT_EQ(Reading("abc").GetBufferPtr(CFile::bufferCheck), 0u);
}

TEST_F(CFileBufferTest, StatusDescribesTheFile) {
    Probe& file = Reading("abc");
    CFileStatus status;
    EXPECT_TRUE(file.GetStatus(status));
    EXPECT_EQ(status.m_size, 3u);
    CFileStatus byPath;
    EXPECT_TRUE(CFileBuffer::GetStatus(m_path.c_str(), byPath));
    EXPECT_EQ(byPath.m_size, 3u);
}

// ---- No memory

TEST_F(CFileBufferTest, BlockWithoutMemoryMakesReadsShort) {
    for (unsigned long size : {16ul, EIGHT_MIB, 0x2000000ul}) {
        Probe& file = Reading("abc", size);
        {
            FailAllocation failure(1);
            EXPECT_EQ(file.updateBuffer(), -1);
        }
        {
            FailAllocation failure(1);
            EXPECT_EQ(Read(3), "");
        }
        EXPECT_EQ(Read(3), "abc") << size;
    }
}

TEST_F(CFileBufferTest, BlockWithoutMemoryStopsWrites) {
    Open(CREATE, EIGHT_MIB);
    {
        FailAllocation failure(1);
        Write("abc");
        EXPECT_EQ(failure.Failed(), 1);
    }
    EXPECT_EQ(m_file->GetPosition(), 0u);
    Write("def");
    EXPECT_EQ(Written(), "def");
}

TEST_F(CFileBufferTest, BlockThatCannotGrowIsNotShown) {
    Probe& file = Reading("abc", EIGHT_MIB);
    Read(1);
    {
        FailAllocation failure(1);
        EXPECT_EQ(file.getActualBufferPosition(), nullptr);
    }
    EXPECT_EQ(Read(2), "bc");
}

TEST_F(CFileBufferTest, BlockThatCannotGrowStillReadsLater) {
    const std::string bytes = Letters(200000);
    Probe& file = Reading(bytes, 100000);
    m_file->Seek(150000, CFile::begin);
    EXPECT_EQ(Read(10), bytes.substr(150000, 10)); // half a block of memory
    m_file->Seek(0, CFile::begin);
    {
        FailAllocation failure(1);
        EXPECT_EQ(Read(10), "");
    }
    EXPECT_FALSE(file.IsBuffered());
    EXPECT_EQ(Read(10), bytes.substr(0, 10));
}
