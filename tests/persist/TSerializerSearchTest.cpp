// One record of a whole file.
#include "TSerializer.h"

#include "CFileBuffer.h"
#include "message_capture.h"
#include "RecordSupport.h"
#include "temp_folder.h"

#include <cstdlib>
#include <memory>
#include <random>

namespace {

class TSerializerSearchTest : public testing::Test {
protected:
    ~TSerializerSearchTest() override { std::free(m_block); }

    void Write(const Image& image) { m_folder.Write(L"file.rec", image.Bytes()); }
    // Searches the file by path, in a plain file, in a buffered file and in memory; all must agree. Answers
    // the code.
    int Find(unsigned long id) {
        const std::string bytes = m_folder.Read(L"file.rec");
        int code =
            search([&] { return TSerializer::GetRegistre(m_path.c_str(), id, m_block, m_length, nullptr); });
        const void* first = m_block;
        std::string payload = Payload();
        const unsigned long length = m_length;
        const unsigned int mode = CFile::typeBinary | CFile::modeRead | CFile::shareDenyNone;
        unsigned long long end[4] = {};
        for (int kind = 0; kind < 4; ++kind) {
            std::unique_ptr<CFile> file;
            if (kind == 0)
                file = std::make_unique<CFile>(m_path.c_str(), mode);
            else if (kind == 1)
                file = std::make_unique<CFileBuffer>(m_path.c_str(), mode, 0x800000);
            else if (kind == 2)
                file = std::make_unique<CFileBuffer>(m_path.c_str(), mode, 7);
            else
                file = std::make_unique<MemoryFile>(bytes);
            EXPECT_EQ(
                search([&] { return TSerializer::GetRegistre(file.get(), id, m_block, m_length, nullptr); }),
                code)
                << kind;
            EXPECT_EQ(m_block != nullptr, first != nullptr) << kind;
            EXPECT_EQ(Payload(), payload) << kind;
            EXPECT_EQ(m_length, length) << kind;
            end[kind] = file->GetPosition();
            EXPECT_EQ(end[kind], end[0]) << kind;
        }
        return code;
    }
    std::string Payload() {
        return m_block ? std::string(static_cast<char*>(m_block), m_length) : std::string("none");
    }

    TempFolder m_folder;
    std::wstring m_path = m_folder.Path(L"file.rec");
    void* m_block = nullptr;
    unsigned long m_length = 0;

private:
    template <class Search>
    int search(Search operation) {
        std::free(m_block);
        m_block = nullptr;
        m_length = 77;
        return operation();
    }
};

} // namespace

TEST_F(TSerializerSearchTest, ExampleUsage) {
    Write(Image().Record(1, 0, "one").Record(2, 0, "two"));
    unsigned long length = 0;
    void* block = TSerializer::GetRegistre(m_path.c_str(), 2, length, nullptr);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(block), length), "two");
    std::free(block);
}

TEST_F(TSerializerSearchTest, FirstRecordWithTheIdentifierIsFound) {
    Write(Image().Record(1, 0, "one").Record(2, 0, "first").Record(2, 0, "second").Record(3, 0, "last"));
    EXPECT_EQ(Find(1), 0);
    EXPECT_EQ(Payload(), "one");
    EXPECT_EQ(Find(2), 0);
    EXPECT_EQ(Payload(), "first");
    EXPECT_EQ(Find(3), 0);
    EXPECT_EQ(Payload(), "last");
    EXPECT_EQ(m_length, 4ul);
}

TEST_F(TSerializerSearchTest, RecordsBelowOneThatDoesNotMatchAreNotSearched) {
    Write(Image()
              .Record(1, 0, "a")
              .Record(2, 1, "hidden")
              .Record(3, 2, "hidden too")
              .Record(4, 0, "b")
              .Record(3, 0, "found"));
    EXPECT_EQ(Find(2), -16102);
    EXPECT_EQ(Find(3), 0);
    EXPECT_EQ(Payload(), "found");
}

TEST_F(TSerializerSearchTest, SearchGoesOnAmongTheSiblingsOfAncestors) {
    // The first record is deep; those behind it lie ever higher.
    Write(Image()
              .Record(1, 3, "")
              .Record(2, 3, "b")
              .Record(3, 5, "c")
              .Record(4, 1, "d")
              .Record(5, 2, "e")
              .Record(6, -2, "f")
              .Record(7, -1, "g")
              .Record(8, -2, "h"));
    EXPECT_EQ(Find(2), 0);
    EXPECT_EQ(Find(3), -16102);
    EXPECT_EQ(Find(4), 0);
    EXPECT_EQ(Find(5), -16102);
    EXPECT_EQ(Find(6), 0);
    EXPECT_EQ(Find(7), -16102);
    EXPECT_EQ(Find(8), 0);
}

TEST_F(TSerializerSearchTest, EmptyPayloadIsFoundWithoutABlock) {
    Write(Image().Record(1, 0, "abc").Record(2, 0, ""));
    EXPECT_EQ(Find(2), 0);
    EXPECT_EQ(m_block, nullptr);
    EXPECT_EQ(m_length, 0ul);
    char mark;
    void* block = &mark;
    EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 2, block, m_length, nullptr), 0);
    EXPECT_EQ(block, &mark);
    EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 2, m_length, nullptr), nullptr);
}

TEST_F(TSerializerSearchTest, SearchStartsAtTheFilesHeaderAndLeavesTheFileOpen) {
    Write(Image().Record(1, 0, "abc").Record(2, 0, "defdefdef"));
    CFile file(m_path.c_str(), CFile::modeRead);
    ASSERT_EQ(TSerializer::GetRegistre(&file, 1, m_block, m_length, nullptr), 0);
    EXPECT_EQ(file.GetPosition(), 31u); // behind the payload
    std::free(m_block);
    m_block = nullptr;
    EXPECT_EQ(TSerializer::GetRegistre(&file, 1, m_block, m_length, nullptr), -16103) << "no header here";
    file.SeekToBegin();
    EXPECT_EQ(TSerializer::GetRegistre(&file, 2, m_block, m_length, nullptr), 0);
    EXPECT_EQ(Payload(), "defdefdef");
}

TEST_F(TSerializerSearchTest, RecordsFarApartAreFound) {
    const std::string big(200000, 'b');
    Image image;
    for (int i = 0; i < 5; ++i)
        image.Record(i, 0, big).Record(100 + i, 0, "small" + std::to_string(i));
    Write(image);
    EXPECT_EQ(Find(104), 0);
    EXPECT_EQ(Payload(), "small4");
    EXPECT_EQ(Find(3), 0);
    EXPECT_EQ(m_length, 200000ul);
    EXPECT_EQ(Find(50), -16102);
}

TEST_F(TSerializerSearchTest, EveryFormFindsTheSameInRandomFiles) {
    std::mt19937 random(7);
    for (int run = 0; run < 60; ++run) {
        Image image;
        const int records = random() % 40;
        for (int i = 0; i < records; ++i)
            image.Record(random() % 12, static_cast<int>(random() % 7) - 2, std::string(random() % 30, 'x'));
        if (run % 3 == 0)
            image.CutTo(18 + random() % (image.Bytes().size() - 17));
        if (run % 7 == 0)
            image.Header(11, 0, 1000).Raw("cut");
        Write(image);
        for (unsigned long id = 0; id < 11; ++id)
            Find(id);
    }
}

// ---- Error results

TEST_F(TSerializerSearchTest, MissingRecordIsNotFound) {
    Write(Image().Record(1, 0, "abc"));
    EXPECT_EQ(Find(2), -16102);
    EXPECT_EQ(m_block, nullptr);
    EXPECT_EQ(m_length, 77ul);
    EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 2, m_length, nullptr), nullptr);
}

TEST_F(TSerializerSearchTest, NothingIsFoundInAFileWithoutRecords) {
    Write(Image());
    EXPECT_EQ(Find(1), -16102);
    Write(Image().Header(1, 0, 0).CutTo(27));
    EXPECT_EQ(Find(1), -16102);
}

TEST_F(TSerializerSearchTest, SkippedPayloadBeyondTheFileEndsTheSearch) {
    Write(Image().Header(1, 0, 0xFFFFFF00).Raw("abc"));
    CFile file(m_path.c_str(), CFile::modeRead);
    EXPECT_EQ(TSerializer::GetRegistre(&file, 2, m_block, m_length, nullptr), -16102);
    EXPECT_EQ(file.GetPosition(), 28u + 0xFFFFFF00u);
}

TEST_F(TSerializerSearchTest, BadHeaderGivesItsCode) {
    Write(Image().CutTo(17));
    EXPECT_EQ(Find(1), -7);
    Write(Image().SetByte(9, 0));
    EXPECT_EQ(Find(1), -16103);
    Write(Image(-1));
    EXPECT_EQ(Find(1), -16103);
    EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 1, m_length, nullptr), nullptr);
}

TEST_F(TSerializerSearchTest, FileThatDoesNotOpenIsToldToTheUser) {
    MessageCapture boxes;
    EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 1, m_block, m_length, nullptr), -6);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].style, 0x10u);
    EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 1, m_length, nullptr), nullptr);
}

// Kept: the block is not freed (tests/lsan.supp).
TEST_F(TSerializerSearchTest, PayloadCutShortIsAReadErrorWithoutABlock) {
    for (unsigned long length : {4ul, 100000ul, 0x10000000ul}) {
        Write(Image().Header(5, 0, length).Raw("abc"));
        m_length = 0;
        char mark;
        m_block = &mark;
        EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 5, m_block, m_length, nullptr), -7);
        EXPECT_EQ(m_block, nullptr);
        EXPECT_EQ(m_length, length);
        EXPECT_EQ(TSerializer::GetRegistre(m_path.c_str(), 5, m_length, nullptr), nullptr);
        CFile file(m_path.c_str(), CFile::modeRead);
        EXPECT_EQ(TSerializer::GetRegistre(&file, 5, m_block, m_length, nullptr), -7);
        EXPECT_EQ(file.GetPosition(), 31u);
    }
}

TEST_F(TSerializerSearchTest, FileErrorsAreReported) {
    const std::string bytes = Image().Record(1, 0, "abc").Record(2, 0, "def").Bytes();
    MemoryFile file(bytes);
    file.failRead = 1;
    {
        MessageCapture boxes;
        EXPECT_EQ(TSerializer::GetRegistre(&file, 2, m_block, m_length, nullptr), -7); // the file's header
        EXPECT_EQ(boxes.Count(), 1u);
    }
    file.Seek(0, CFile::begin);
    file.failRead = 2;
    {
        MessageCapture boxes;
        EXPECT_EQ(TSerializer::GetRegistre(&file, 2, m_block, m_length, nullptr), -16102);
        EXPECT_EQ(boxes.Count(), 1u);
    }
    file.failRead = 0;
    file.Seek(0, CFile::begin);
    file.failLength = 1;
    {
        MessageCapture boxes;
        EXPECT_EQ(TSerializer::GetRegistre(&file, 2, m_block, m_length, nullptr), -7);
        EXPECT_EQ(boxes.Count(), 1u);
    }
}
