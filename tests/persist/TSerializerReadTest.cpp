// Walking through a file and reading payloads, on every kind of file: the results must not depend on how the
// bytes come in.
#include "TSerializer.h"

#include "CFileBuffer.h"
#include "message_capture.h"
#include "RecordSupport.h"
#include "temp_folder.h"

#include <cstdlib>
#include <memory>
#include <ostream>

namespace {

enum class Kind { Memory, Plain, Buffered, SmallBlocks, TinyBlocks };

void PrintTo(Kind kind, std::ostream* out) {
    const char* const names[] = {"Memory", "Plain", "Buffered", "SmallBlocks", "TinyBlocks"};
    *out << names[static_cast<int>(kind)];
}

class TSerializerReadTest : public testing::TestWithParam<Kind> {
protected:
    ~TSerializerReadTest() override {
        m_serializer.reset();
        m_file.reset();
    }

    // Reads `image` from behind its file header.
    TSerializer& Open(const Image& image) {
        m_serializer.reset();
        m_file.reset();
        const unsigned int mode = CFile::typeBinary | CFile::modeRead | CFile::shareDenyNone;
        if (GetParam() != Kind::Memory)
            m_folder.Write(L"file.rec", image.Bytes());
        switch (GetParam()) {
        case Kind::Memory:
            m_file = std::make_unique<MemoryFile>(image.Bytes());
            break;
        case Kind::Plain:
            m_file = std::make_unique<CFile>(m_path.c_str(), mode);
            break;
        case Kind::Buffered:
            m_file = std::make_unique<CFileBuffer>(m_path.c_str(), mode, 0x800000);
            break;
        case Kind::SmallBlocks:
            m_file = std::make_unique<CFileBuffer>(m_path.c_str(), mode, 64);
            break;
        case Kind::TinyBlocks:
            m_file = std::make_unique<CFileBuffer>(m_path.c_str(), mode, 3);
            break;
        }
        m_serializer = std::make_unique<TSerializer>(m_file.get());
        short w;
        EXPECT_EQ(m_serializer->GetHeader(w, w, w, w), 0);
        return *m_serializer;
    }

    // The identifier of the next record at `level`; 0 when none is delivered.
    unsigned long Next(short level = -1) {
        SER_RECORDHEADER record;
        return m_serializer->NextRecord(record, level, nullptr) ? record.dwId : 0;
    }
    // Bytes of the current payload.
    std::string Payload(unsigned long size) {
        std::string bytes(size, '?');
        return m_serializer->ReadRecord(bytes.data(), size, nullptr) ? bytes : "short";
    }
    unsigned long long Position() { return m_serializer->GetPosition(); }

    TempFolder m_folder;
    std::wstring m_path = m_folder.Path(L"file.rec");
    std::unique_ptr<CFile> m_file;
    std::unique_ptr<TSerializer> m_serializer;
};

Image Family() {
    return Image()
        .Record(10, 0, "grandmother")
        .Record(11, 1, "mother")
        .Record(12, 2, "child")
        .Record(13, 1, "aunt")
        .Record(20, 0, "neighbour")
        .Record(21, 1, "");
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Files, TSerializerReadTest,
                         testing::Values(Kind::Memory, Kind::Plain, Kind::Buffered, Kind::SmallBlocks,
                                         Kind::TinyBlocks));

// ---- NextRecord

TEST_P(TSerializerReadTest, HeadersAreDeliveredInFileOrder) {
    TSerializer& file = Open(Family());
    SER_RECORDHEADER record;
    ASSERT_EQ(file.NextRecord(record, -1, nullptr), 1);
    EXPECT_EQ(record.dwId, 10u);
    EXPECT_EQ(record.dwLongitud, 11u);
    EXPECT_EQ(record.nNivell, 0);
    EXPECT_EQ(Position(), 28u);
    EXPECT_EQ(Next(), 11u);
    EXPECT_EQ(Next(), 12u);
    EXPECT_EQ(Next(), 13u);
    EXPECT_EQ(Next(), 20u);
    EXPECT_EQ(Next(), 21u);
    EXPECT_EQ(Next(), 0u);
    EXPECT_EQ(Next(), 0u);
    EXPECT_EQ(Position(), Family().Bytes().size());
}

TEST_P(TSerializerReadTest, ExtremeHeadersAreDeliveredAsTheyAre) {
    TSerializer& file =
        Open(Image().Header(0xFFFFFFFF, -1, 0).Header(0, -32768, 0).Header(0x80000000, 32767, 0xFFFFFFFF));
    SER_RECORDHEADER record;
    ASSERT_TRUE(file.NextRecord(record, -1, nullptr));
    EXPECT_EQ(record.dwId, 0xFFFFFFFFu);
    EXPECT_EQ(record.nNivell, -1);
    ASSERT_TRUE(file.NextRecord(record, -1, nullptr));
    EXPECT_EQ(record.nNivell, -32768);
    ASSERT_TRUE(file.NextRecord(record, -1, nullptr));
    EXPECT_EQ(record.dwId, 0x80000000u);
    EXPECT_EQ(record.dwLongitud, 0xFFFFFFFFu);
    EXPECT_EQ(record.nNivell, 32767);
    if (GetParam() != Kind::Memory) { // whose positions end at 4 GiB on 32-bit targets
        EXPECT_FALSE(file.NextRecord(record, -1, nullptr));
    }
}

TEST_P(TSerializerReadTest, FieldsAreDeliveredApart) {
    TSerializer& file = Open(Image().Record(0xFFFFFFFE, -5, "abc").Record(7, 2, ""));
    unsigned long id = 1, length = 2;
    short level = 3;
    EXPECT_EQ(file.NextRecord(id, length, level, -1, nullptr), 1);
    EXPECT_EQ(id, 0xFFFFFFFEul);
    EXPECT_EQ(length, 3ul);
    EXPECT_EQ(level, -5);
    EXPECT_EQ(file.NextRecord(id, length, level, 1, nullptr), 0); // another level: nothing is stored
    EXPECT_EQ(id, 0xFFFFFFFEul);
    EXPECT_EQ(file.NextRecord(id, length, level, 2, nullptr), 1);
    EXPECT_EQ(id, 7ul);
    EXPECT_EQ(file.NextRecord(id, length, level, -1, nullptr), 0);
}

TEST_P(TSerializerReadTest, RecordOfAnotherLevelIsDeliveredByTheNextCall) {
    TSerializer& file = Open(Family());
    SER_RECORDHEADER record;
    EXPECT_EQ(file.NextRecord(record, 1, nullptr), 0);
    EXPECT_EQ(record.dwId, 10u); // shown all the same
    EXPECT_EQ(file.NextRecord(record, 2, nullptr), 0);
    EXPECT_EQ(file.NextRecord(record, -1, nullptr), 1);
    EXPECT_EQ(record.dwId, 10u);
    EXPECT_EQ(Next(1), 11u);
    EXPECT_EQ(Next(1), 0u);
    EXPECT_EQ(Next(2), 12u);
}

// Kept: the current level and the level of the current record are one and the same.
TEST_P(TSerializerReadTest, LevelSetWhileARecordWaitsIsDeliveredWithIt) {
    TSerializer& file = Open(Family());
    SER_RECORDHEADER record;
    EXPECT_EQ(file.NextRecord(record, 3, nullptr), 0);
    EXPECT_EQ(file.GetNivell(), 0);
    file.SetNivell(3);
    EXPECT_EQ(file.NextRecord(record, 3, nullptr), 1);
    EXPECT_EQ(record.dwId, 10u);
    EXPECT_EQ(record.nNivell, 3);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1); // nothing behind it has a greater level than that
    EXPECT_EQ(Next(), 11u);
}

TEST_P(TSerializerReadTest, TruncatedLastRecordIsNotDelivered) {
    for (std::size_t left = 0; left < 10; ++left) {
        TSerializer& file = Open(Image().Record(5, 3, "abc").Header(6, 0, 0).CutTo(18 + 13 + left));
        EXPECT_EQ(Next(), 5u);
        EXPECT_EQ(Next(), 0u) << left;
        EXPECT_EQ(Position(), 18 + 13 + left);
        EXPECT_EQ(file.GetNivell(), 3) << "the last whole record stays the current one";
        EXPECT_EQ(Next(), 0u);
    }
}

TEST_P(TSerializerReadTest, PayloadCutShortStillDeliversItsHeader) {
    Open(Image().Header(5, 0, 100).Raw("abc"));
    EXPECT_EQ(Next(), 5u);
    EXPECT_EQ(Next(), 0u);
    EXPECT_EQ(Position(), 128u); // stepped over, past the end
}

TEST_P(TSerializerReadTest, FileWithoutRecordsDeliversNone) {
    Open(Image());
    EXPECT_EQ(Next(), 0u);
    EXPECT_EQ(Next(3), 0u);
}

TEST_P(TSerializerReadTest, UnreadPayloadIsSteppedOver) {
    Open(Image().Record(1, 0, "0123456789").Record(2, 0, "abcde").Record(3, 0, "xyz").Record(4, 0, ""));
    EXPECT_EQ(Next(), 1u);
    EXPECT_EQ(Payload(4), "0123");
    EXPECT_EQ(Next(), 2u); // after a part
    EXPECT_EQ(Next(), 3u); // after none
    EXPECT_EQ(Payload(3), "xyz");
    EXPECT_EQ(Next(), 4u); // after all
}

TEST_P(TSerializerReadTest, StepGoesOnFromWhereTheCallerMovedTheFile) {
    TSerializer& file = Open(Image().Record(1, 0, "0123456789").Record(2, 0, "abc"));
    EXPECT_EQ(Next(), 1u);
    file.GetFile()->Seek(-10, CFile::current); // back to the record's own header
    EXPECT_EQ(Next(), 0x33323130u);            // ten bytes on: the payload taken for a header
    file.GetFile()->Seek(18, CFile::begin);
    TSerializer again(file.GetFile());
    SER_RECORDHEADER record;
    ASSERT_TRUE(again.NextRecord(record, -1, nullptr));
    EXPECT_EQ(record.dwId, 1u);
    char bytes[4];
    EXPECT_EQ(again.GetFile()->Read(bytes, 4), 4u);      // read without the serializer's knowledge
    EXPECT_EQ(again.NextRecord(record, -1, nullptr), 0); // four bytes too far: nine are left there
}

TEST_P(TSerializerReadTest, CallerMayReadThePayloadItself) {
    TSerializer& file = Open(Image().Record(1, 0, "0123456789").Record(2, 0, "abc"));
    EXPECT_EQ(Next(), 1u);
    char bytes[11] = {};
    EXPECT_EQ(file.GetFile()->Read(bytes, 10), 10u);
    EXPECT_STREQ(bytes, "0123456789");
    file.GetFile()->Seek(-10, CFile::current);
    EXPECT_EQ(Next(), 2u);
}

// ---- SkipRecord

TEST_P(TSerializerReadTest, SkipStepsOverARecordAndAllBelowIt) {
    TSerializer& file = Open(Family());
    EXPECT_EQ(Next(), 10u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(Next(), 20u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(Next(), 0u);
}

TEST_P(TSerializerReadTest, SkipToALevelStepsOverWhatIsBelowIt) {
    TSerializer& file = Open(Family());
    EXPECT_EQ(Next(), 10u);
    EXPECT_EQ(Next(), 11u);
    EXPECT_EQ(Next(), 12u);
    EXPECT_EQ(file.SkipRecord(1, nullptr), 1);
    EXPECT_EQ(Next(), 13u);
    EXPECT_EQ(file.SkipRecord(0, nullptr), 1);
    EXPECT_EQ(Next(), 20u);
}

TEST_P(TSerializerReadTest, SkipOfAChildlessRecordHandsTheNextBack) {
    TSerializer& file = Open(Family());
    Next();
    Next();
    EXPECT_EQ(Next(), 12u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(file.GetNivell(), 1); // the level of what comes next
    EXPECT_EQ(Next(0), 0u);
    EXPECT_EQ(Next(1), 13u);
}

TEST_P(TSerializerReadTest, SkipFromTheStartDropsWhatIsBelowLevelZero) {
    TSerializer& file = Open(Family());
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(Next(), 10u);
}

TEST_P(TSerializerReadTest, SkipAtTheEndLeavesNothingPending) {
    TSerializer& file = Open(Image().Record(1, 0, "a").Record(2, 1, "b"));
    EXPECT_EQ(Next(), 1u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(Next(), 0u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
}

TEST_P(TSerializerReadTest, SkipComparesLevelsWithTheirSign) {
    TSerializer& file = Open(
        Image().Record(1, -3, "").Record(2, -2, "").Record(3, 5, "").Record(4, -3, "").Record(5, -4, ""));
    EXPECT_EQ(Next(), 1u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1); // the current level, -3
    EXPECT_EQ(Next(), 4u);
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(Next(), 5u);
}

TEST_P(TSerializerReadTest, RecordHandedBackIsSkippedWithWhatIsBelowIt) {
    TSerializer& file = Open(Family());
    EXPECT_EQ(Next(5), 0u); // record 10 is pending
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 1);
    EXPECT_EQ(Next(), 10u); // its level is not greater than the current one, its own
}

// ---- ReadRecord

TEST_P(TSerializerReadTest, PayloadIsReadInPieces) {
    TSerializer& file = Open(Image().Record(1, 0, "0123456789").Record(2, 0, ""));
    EXPECT_EQ(Next(), 1u);
    EXPECT_EQ(Payload(3), "012");
    EXPECT_EQ(Payload(0), "");
    EXPECT_EQ(Payload(2), "34");
    char rest[6] = {};
    EXPECT_EQ(file.ReadRecord(rest, 0xFFFFFFFF, nullptr), 1);
    EXPECT_STREQ(rest, "56789");
    EXPECT_EQ(file.ReadRecord(nullptr, 0xFFFFFFFF, nullptr), 1); // nothing is left
    EXPECT_EQ(Next(), 2u);
}

TEST_P(TSerializerReadTest, AllOnesOfAnyWidthIsTheRest) {
    TSerializer& file = Open(Image().Record(1, 0, "abcd").Record(2, 0, ""));
    EXPECT_EQ(Next(), 1u);
    char rest[5] = {};
    EXPECT_EQ(file.ReadRecord(rest, static_cast<unsigned long>(-1), nullptr), 1);
    EXPECT_STREQ(rest, "abcd");
}

TEST_P(TSerializerReadTest, ReadingBeyondThePayloadReadsIntoTheNextRecord) {
    Open(Image().Record(1, 0, "abc").Record(0x44434241, 0, "xyz").Record(3, 0, ""));
    EXPECT_EQ(Next(), 1u);
    EXPECT_EQ(Payload(7), "abcABCD");
    EXPECT_EQ(Position(), 35u);
}

TEST_P(TSerializerReadTest, RestAfterReadingTooMuchIsNothing) {
    TSerializer& file = Open(Image().Record(1, 0, "abc").Raw("0123456789abcdef"));
    EXPECT_EQ(Next(), 1u);
    EXPECT_EQ(Payload(7), "abc0123");
    char guard[4] = {'g', 'g', 'g', 'g'};
    EXPECT_EQ(file.ReadRecord(guard, 0xFFFFFFFF, nullptr), 1);
    EXPECT_EQ(guard[0], 'g');
    EXPECT_EQ(Position(), 35u);
    SER_RECORDHEADER record;
    EXPECT_EQ(file.NextRecord(record, -1, nullptr), 1); // goes on from where the file stands
    EXPECT_EQ(Position(), 45u);
}

TEST_P(TSerializerReadTest, ShortPayloadIsAFailure) {
    TSerializer& file = Open(Image().Header(1, 0, 10).Raw("abc"));
    EXPECT_EQ(Next(), 1u);
    char bytes[10] = {};
    EXPECT_EQ(file.ReadRecord(bytes, 10, nullptr), 0);
    EXPECT_EQ(Position(), 31u); // the end
    EXPECT_EQ(std::string(bytes, 3), "abc");
    EXPECT_EQ(file.ReadRecord(bytes, 0xFFFFFFFF, nullptr), 0);
    EXPECT_EQ(file.ReadRecord(bytes, 0, nullptr), 1);
}

TEST_P(TSerializerReadTest, SizeOfMoreThan32BitsIsAFailure) {
    if constexpr (sizeof(long) > 4) {
        TSerializer& file = Open(Image().Record(1, 0, "abc"));
        EXPECT_EQ(Next(), 1u);
        char bytes[4];
        EXPECT_EQ(file.ReadRecord(bytes, static_cast<unsigned long>(0x100000001ull), nullptr), 0);
        EXPECT_EQ(file.WriteRecord(bytes, static_cast<unsigned long>(0x100000001ull), 1), -8);
        EXPECT_EQ(Payload(3), "abc");
    }
}

// ---- ReadNextRecord with a header

TEST_P(TSerializerReadTest, NextPayloadComesInABlockOfItsSize) {
    TSerializer& file = Open(Family());
    SER_RECORDHEADER record;
    void* block = nullptr;
    unsigned long length = 0;
    ASSERT_EQ(file.ReadNextRecord(record, block, &length, -1, nullptr), 0);
    EXPECT_EQ(record.dwId, 10u);
    EXPECT_EQ(length, 11ul);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(block), length), "grandmother");
    std::free(block);
}

TEST_P(TSerializerReadTest, NextPayloadGoesToTheCallersBlock) {
    TSerializer& file = Open(Family());
    SER_RECORDHEADER record;
    char buffer[20] = {};
    void* block = buffer;
    EXPECT_EQ(file.ReadNextRecord(record, block, nullptr, -1, nullptr), 0);
    EXPECT_EQ(block, buffer);
    EXPECT_STREQ(buffer, "grandmother");
}

TEST_P(TSerializerReadTest, NextPayloadAtALevel) {
    TSerializer& file = Open(Family());
    SER_RECORDHEADER record;
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.ReadNextRecord(record, block, &length, 1, nullptr), -17);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
    EXPECT_EQ(file.ReadNextRecord(record, block, &length, 0, nullptr), 0);
    EXPECT_EQ(record.dwId, 10u);
    std::free(block);
}

TEST_P(TSerializerReadTest, NextPayloadAtTheEndIsNone) {
    TSerializer& file = Open(Image());
    SER_RECORDHEADER record;
    void* block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(record, block, nullptr, -1, nullptr), -17);
}

TEST_P(TSerializerReadTest, EmptyPayloadComesInABlockToo) {
    TSerializer& file = Open(Image().Record(1, 0, ""));
    SER_RECORDHEADER record;
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.ReadNextRecord(record, block, &length, -1, nullptr), 0);
    EXPECT_EQ(length, 0ul);
    EXPECT_NE(block, nullptr);
    std::free(block);
}

TEST_P(TSerializerReadTest, NextPayloadCutShortFreesItsBlock) {
    TSerializer& file = Open(Image().Header(1, 0, 10).Raw("abc"));
    SER_RECORDHEADER record;
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.ReadNextRecord(record, block, &length, -1, nullptr), -7);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
    EXPECT_EQ(Position(), 31u);
}

TEST_P(TSerializerReadTest, NextPayloadCutShortLeavesTheCallersBlock) {
    TSerializer& file = Open(Image().Header(1, 0, 10).Raw("abc"));
    SER_RECORDHEADER record;
    char buffer[10] = {};
    void* block = buffer;
    EXPECT_EQ(file.ReadNextRecord(record, block, nullptr, -1, nullptr), -7);
    EXPECT_EQ(block, buffer);
    EXPECT_STREQ(buffer, "abc");
}

TEST_P(TSerializerReadTest, LengthBeyondTheFileIsAShortRead) {
    const std::string bytes(100000, 'x');
    for (unsigned long length : {100001ul, 0x1000000ul, 0x8000000ul}) {
        TSerializer& file = Open(Image().Header(1, 0, length).Raw(bytes));
        SER_RECORDHEADER record;
        void* block = nullptr;
        EXPECT_EQ(file.ReadNextRecord(record, block, nullptr, -1, nullptr), -7);
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(record.dwLongitud, length);
        EXPECT_EQ(Position(), 28u + 100000u) << "where reading ends";
        EXPECT_EQ(Next(), 0u);
    }
}

TEST_P(TSerializerReadTest, LongPayloadIsRead) {
    std::string bytes(300000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7);
    TSerializer& file = Open(Image().Record(1, 0, bytes).Record(2, 0, "x"));
    SER_RECORDHEADER record;
    void* block = nullptr;
    ASSERT_EQ(file.ReadNextRecord(record, block, nullptr, -1, nullptr), 0);
    EXPECT_TRUE(std::string(static_cast<char*>(block), 300000) == bytes);
    std::free(block);
    EXPECT_EQ(Next(), 2u);
}

// ---- ReadNextRecord by identifier

TEST_P(TSerializerReadTest, PayloadByIdentifier) {
    TSerializer& file = Open(Family());
    void* block = nullptr;
    unsigned long length = 0;
    ASSERT_EQ(file.ReadNextRecord(10, block, &length, -1, nullptr), 0);
    EXPECT_EQ(std::string(static_cast<char*>(block), length), "grandmother");
    std::free(block);
    char buffer[10] = {};
    block = buffer;
    EXPECT_EQ(file.ReadNextRecord(11, block, nullptr, 1, nullptr), 0);
    EXPECT_STREQ(buffer, "mother");
}

TEST_P(TSerializerReadTest, RecordWithAnotherIdentifierIsHandedBack) {
    TSerializer& file = Open(Family());
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.ReadNextRecord(11, block, &length, -1, nullptr), -9);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
    EXPECT_EQ(file.ReadNextRecord(10, block, &length, -1, nullptr), 0);
    std::free(block);
}

TEST_P(TSerializerReadTest, EmptyPayloadByIdentifierTouchesNothing) {
    TSerializer& file = Open(Image().Record(1, 0, "").Record(2, 0, ""));
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.ReadNextRecord(1, block, &length, -1, nullptr), 0);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
    EXPECT_EQ(Next(), 2u);
}

TEST_P(TSerializerReadTest, NoPayloadByIdentifierAtTheEndOrAnotherLevel) {
    TSerializer& file = Open(Image().Record(1, 2, "abc"));
    void* block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, 0, nullptr), -17);
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, 2, nullptr), 0);
    std::free(block);
    block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, -1, nullptr), -17);
    EXPECT_EQ(block, nullptr);
}

TEST_P(TSerializerReadTest, PayloadByIdentifierCutShortFreesItsBlock) {
    TSerializer& file = Open(Image().Header(1, 0, 10).Raw("abc"));
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.ReadNextRecord(1, block, &length, -1, nullptr), -7);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
}

// ---- ReadNextRecord into a buffer

TEST_P(TSerializerReadTest, PayloadThatFitsTheBuffer) {
    TSerializer& file = Open(Family());
    char buffer[20] = {};
    unsigned long read = 0;
    EXPECT_EQ(file.ReadNextRecord(10, buffer, sizeof buffer, &read, -1, nullptr), 0);
    EXPECT_EQ(read, 11ul);
    EXPECT_STREQ(buffer, "grandmother");
    EXPECT_EQ(file.ReadNextRecord(11, buffer, 6, nullptr, -1, nullptr), 0); // exactly
}

TEST_P(TSerializerReadTest, PayloadLongerThanTheBufferLeavesARest) {
    TSerializer& file = Open(Image().Record(1, 0, "0123456789").Record(2, 0, ""));
    char buffer[11] = {};
    unsigned long read = 0;
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 4, &read, -1, nullptr), 4);
    EXPECT_EQ(read, 4ul);
    EXPECT_STREQ(buffer, "0123");
    EXPECT_EQ(Payload(2), "45"); // the rest may be read
    EXPECT_EQ(Next(), 2u);       // and what is left of it is stepped over
}

TEST_P(TSerializerReadTest, BufferOfNoSizeReadsNothing) {
    TSerializer& file = Open(Image().Record(1, 0, "abc").Record(2, 0, "def"));
    unsigned long read = 77;
    EXPECT_EQ(file.ReadNextRecord(1, nullptr, 0, &read, -1, nullptr), 4);
    EXPECT_EQ(read, 0ul);
    EXPECT_EQ(Next(), 2u);
}

TEST_P(TSerializerReadTest, EmptyPayloadIntoABufferCountsNothing) {
    TSerializer& file = Open(Image().Record(1, 0, ""));
    unsigned long read = 77;
    EXPECT_EQ(file.ReadNextRecord(1, nullptr, 0, &read, -1, nullptr), 0);
    EXPECT_EQ(read, 0ul);
}

TEST_P(TSerializerReadTest, NoRecordForTheBuffer) {
    TSerializer& file = Open(Image().Record(1, 1, "abc"));
    char buffer[4];
    unsigned long read = 77;
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 4, &read, 0, nullptr), -17);
    EXPECT_EQ(file.ReadNextRecord(2, buffer, 4, &read, 1, nullptr), -9);
    EXPECT_EQ(read, 77ul);
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 4, &read, 1, nullptr), 0);
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 4, &read, -1, nullptr), -17);
}

TEST_P(TSerializerReadTest, PayloadForTheBufferCutShort) {
    TSerializer& file = Open(Image().Header(1, 0, 10).Raw("abc"));
    char buffer[10];
    unsigned long read = 77;
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 10, &read, -1, nullptr), -7);
    EXPECT_EQ(read, 77ul);
}

TEST_P(TSerializerReadTest, HugeBufferReadsWhatThereIs) {
    TSerializer& file = Open(Image().Record(1, 0, "abc"));
    char buffer[4] = {};
    unsigned long read = 0;
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 0xFFFFFFFF, &read, -1, nullptr), 0);
    EXPECT_EQ(read, 3ul);
}

// ---- File errors

namespace {

class TSerializerErrorTest : public testing::Test {
protected:
    TSerializer& Open(const Image& image) {
        m_file = std::make_unique<MemoryFile>(image.Bytes());
        m_file->Seek(18, CFile::begin);
        m_serializer = std::make_unique<TSerializer>(m_file.get());
        return *m_serializer;
    }
    // The file that every read operation below fails on: one record of ten bytes, another behind it.
    TSerializer& Broken() { return Open(Image().Record(1, 0, "0123456789").Record(2, 1, "abc")); }

    std::unique_ptr<MemoryFile> m_file;
    std::unique_ptr<TSerializer> m_serializer;
    SER_RECORDHEADER m_record;
};

} // namespace

TEST_F(TSerializerErrorTest, HeaderThatCannotBeReadIsReportedAndNotDelivered) {
    TSerializer& file = Broken();
    m_file->failRead = 1;
    MessageCapture boxes;
    EXPECT_EQ(file.NextRecord(m_record, -1, nullptr), 0);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].style, 0x10u);
    EXPECT_NE(boxes[0].text.find(L"broken.rec"), std::wstring::npos);
}

TEST_F(TSerializerErrorTest, StepThatFailsIsReportedAndNotDelivered) {
    TSerializer& file = Broken();
    file.NextRecord(m_record, -1, nullptr);
    m_file->failSeek = 1;
    {
        MessageCapture boxes;
        EXPECT_EQ(file.NextRecord(m_record, -1, nullptr), 0);
        EXPECT_EQ(boxes.Count(), 1u);
    }
    m_file->failSeek = 0;
    EXPECT_EQ(file.NextRecord(m_record, -1, nullptr), 1); // nothing was lost
    EXPECT_EQ(m_record.dwId, 2u);
}

TEST_F(TSerializerErrorTest, SkipThatFailsIsReportedAndAnswersZero) {
    TSerializer& file = Broken();
    file.NextRecord(m_record, -1, nullptr);
    m_file->failRead = 1;
    MessageCapture boxes;
    EXPECT_EQ(file.SkipRecord(-1, nullptr), 0);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerErrorTest, PayloadThatCannotBeReadIsReported) {
    TSerializer& file = Broken();
    file.NextRecord(m_record, -1, nullptr);
    m_file->failRead = 1;
    MessageCapture boxes;
    char bytes[10];
    EXPECT_EQ(file.ReadRecord(bytes, 10, nullptr), 0);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerErrorTest, NextPayloadThatCannotBeReadIsAReadError) {
    TSerializer& file = Broken();
    m_file->failRead = 2;
    MessageCapture boxes;
    void* block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(m_record, block, nullptr, -1, nullptr), -7);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerErrorTest, NextHeaderThatCannotBeReadIsNoRecord) {
    TSerializer& file = Broken();
    m_file->failRead = 1;
    MessageCapture boxes;
    void* block = nullptr;
    char buffer[10];
    EXPECT_EQ(file.ReadNextRecord(m_record, block, nullptr, -1, nullptr), -17);
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, -1, nullptr), -17);
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 10, nullptr, -1, nullptr), -17);
    EXPECT_EQ(boxes.Count(), 3u);
}

TEST_F(TSerializerErrorTest, PayloadByIdentifierThatCannotBeReadIsAReadError) {
    TSerializer& file = Broken();
    m_file->failRead = 2;
    MessageCapture boxes;
    void* block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, -1, nullptr), -7);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerErrorTest, PayloadForTheBufferThatCannotBeReadIsAReadError) {
    TSerializer& file = Broken();
    m_file->failRead = 2;
    MessageCapture boxes;
    char buffer[10];
    EXPECT_EQ(file.ReadNextRecord(1, buffer, 10, nullptr, -1, nullptr), -7);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerErrorTest, ConstructorPassesOnWhatTheFileThrows) {
    MemoryFile file("abc");
    file.failLength = 1;
    EXPECT_EQ(FileExceptionOf([&] { TSerializer serializer(&file); }), CFileException::hardIO);
}
