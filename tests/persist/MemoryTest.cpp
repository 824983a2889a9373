// What the buffered file and the serializer do when memory runs out.
#include "CFileBuffer.h"
#include "TSerializer.h"

#include "alloc_failure.h"
#include "message_capture.h"
#include "RecordSupport.h"
#include "temp_folder.h"
#include "throws.h"

#include <cstdlib>

namespace {

class RecordMemoryTest : public testing::Test {
protected:
    void Write(const Image& image) { m_folder.Write(L"file.rec", image.Bytes()); }

    TempFolder m_folder;
    std::wstring m_path = m_folder.Path(L"file.rec");
};

class Helper : public CObject {};

// A length that malloc refuses on 32-bit targets and grants, untouched, on 64-bit ones.
constexpr unsigned long HUGE_LENGTH = sizeof(void*) == 4 ? 0xF0000000 : 0x40000000;

} // namespace

TEST_F(RecordMemoryTest, OpenWithoutMemoryAnswersNullAndTellsTheUser) {
    Write(Image());
    for (int write : {0, 1}) {
        MessageCapture boxes;
        bool failed = false;
        const int failures = FailEachAllocation([&] {
            TSerializer* file = TSerializer::Open(m_path.c_str(), write, 0);
            failed = file == nullptr;
            TSerializer::Close(file);
        });
        EXPECT_GE(failures, 2);
        EXPECT_FALSE(failed) << "the last run meets no failure";
        EXPECT_LE(boxes.Count(), static_cast<std::size_t>(failures));
        EXPECT_GE(boxes.Count(), 2u);
    }
}

// Kept: a CFileBuffer stores nothing without its block and says nothing, so neither does the serializer.
TEST_F(RecordMemoryTest, BlockWithoutMemoryStoresNothing) {
    TSerializer* file = TSerializer::Open(m_path.c_str(), 1, 0);
    ASSERT_NE(file, nullptr);
    char byte = 'x';
    {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        EXPECT_EQ(file->CreateHeader(1, 2, 3, 4), 0);
        EXPECT_EQ(file->WriteRecord(&byte, 1, 5), 0);
    }
    EXPECT_EQ(file->GetPosition(), 0u) << "how a writer can tell";
    TSerializer::Close(file);
    EXPECT_EQ(m_folder.Read(L"file.rec"), "");
}

TEST_F(RecordMemoryTest, BlockWithoutMemoryIsAReadErrorInTheHeaderAndAnEndInTheWalk) {
    Write(Image().Record(1, 0, "abc"));
    TSerializer* file = TSerializer::Open(m_path.c_str(), 0, 0);
    ASSERT_NE(file, nullptr);
    short w;
    SER_RECORDHEADER record;
    {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        EXPECT_EQ(file->GetHeader(w, w, w, w), -7);
        EXPECT_EQ(file->NextRecord(record, -1, nullptr), 0);
    }
    EXPECT_EQ(file->GetHeader(w, w, w, w), 0);
    EXPECT_EQ(file->NextRecord(record, -1, nullptr), 1);
    TSerializer::Close(file);
}

TEST_F(RecordMemoryTest, NextPayloadWithoutMemoryThrows) {
    MemoryFile source(Image().Record(1, 0, "abc").Record(2, 0, "def").Bytes());
    source.Seek(18, CFile::begin);
    TSerializer file(&source);
    SER_RECORDHEADER record;
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_TRUE(ThrowsMemoryException([&] {
        FailAllocation failure(1);
        file.ReadNextRecord(record, block, &length, -1, nullptr);
    }));
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
    EXPECT_EQ(record.dwId, 1u);
    // The record is the current one; its payload may be stepped over.
    EXPECT_EQ(file.ReadNextRecord(record, block, nullptr, -1, nullptr), 0);
    EXPECT_EQ(record.dwId, 2u);
    std::free(block);
}

TEST_F(RecordMemoryTest, PayloadByIdentifierWithoutMemoryIsMinusOne) {
    MemoryFile source(Image().Record(1, 0, "abc").Bytes());
    source.Seek(18, CFile::begin);
    TSerializer file(&source);
    void* block = nullptr;
    unsigned long length = 77;
    {
        FailAllocation failure(1);
        EXPECT_EQ(file.ReadNextRecord(1, block, &length, -1, nullptr), -1);
    }
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
}

TEST_F(RecordMemoryTest, SearchWithoutMemoryIsMinusOne) {
    Write(Image().Record(1, 0, "abc"));
    CFile source(m_path.c_str(), CFile::modeRead);
    char mark;
    void* block = &mark;
    unsigned long length = 0;
    {
        FailAllocation failure(1);
        EXPECT_EQ(TSerializer::GetRegistre(&source, 1, block, length, nullptr), -1);
    }
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 3ul);
}

TEST_F(RecordMemoryTest, SearchByPathWithoutMemoryFailsAtEveryAllocation) {
    Write(Image().Record(1, 0, "abc"));
    MessageCapture boxes;
    int code = 0, noBlock = 0;
    EXPECT_GE(FailEachAllocation([&] {
                  void* block = nullptr;
                  unsigned long length = 0;
                  code = TSerializer::GetRegistre(m_path.c_str(), 1, block, length, nullptr);
                  noBlock += code == -1;
                  std::free(block);
              }),
              2);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(noBlock, 1);
}

TEST_F(RecordMemoryTest, HugeLengthIsNoMemoryOn32BitsAndAShortReadOn64) {
    Write(Image().Header(1, 0, HUGE_LENGTH).Raw("abc"));
    SER_RECORDHEADER record;
    void* block = nullptr;
    {
        CFile source(m_path.c_str(), CFile::modeRead);
        source.Seek(18, CFile::begin);
        TSerializer file(&source);
        int code = 0;
        const bool thrown =
            ThrowsMemoryException([&] { code = file.ReadNextRecord(record, block, nullptr, -1, nullptr); });
        EXPECT_EQ(thrown, sizeof(void*) == 4);
        EXPECT_EQ(code, sizeof(void*) == 4 ? 0 : -7);
        EXPECT_EQ(block, nullptr);
    }
    CFile source(m_path.c_str(), CFile::modeRead);
    source.Seek(18, CFile::begin);
    TSerializer file(&source);
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, -1, nullptr), sizeof(void*) == 4 ? -1 : -7);
    EXPECT_EQ(block, nullptr);
}

TEST_F(RecordMemoryTest, HelperWithoutMemoryIsNotRegistered) {
    MemoryFile source;
    TSerializer file(&source);
    Helper first, second;
    file.SetHelper(L"kept", &first);
    EXPECT_TRUE(ThrowsMemoryException([&] {
        FailAllocation failure(1, FailAllocation::Mode::FromThenOn);
        for (int i = 0; i < 100; ++i)
            file.SetHelper(std::to_wstring(i).c_str(), &second);
    }));
    EXPECT_EQ(file.GetHelper(L"kept"), &first);
}
