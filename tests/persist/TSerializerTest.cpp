// Files, headers, levels, writing and helpers. Reading is in TSerializerReadTest.cpp.
#include "TSerializer.h"

#include "CFileBuffer.h"
#include "doc_example.h"
#include "message_capture.h"
#include "RecordSupport.h"
#include "temp_folder.h"

#include <cstdlib>
#include <memory>

namespace {

constexpr unsigned int ICON_ERROR = 0x10;

class TSerializerTest : public testing::Test {
protected:
    TSerializer* Create() { return TSerializer::Open(m_path.c_str(), 1, 0); }
    TSerializer* Reopen() { return TSerializer::Open(m_path.c_str(), 0, 0); }
    std::string OnDisk() { return m_folder.Read(L"file.rec"); }
    void Write(const std::string& bytes) { m_folder.Write(L"file.rec", bytes); }

    TempFolder m_folder;
    std::wstring m_path = m_folder.Path(L"file.rec");
};

class Helper : public CObject {};

} // namespace

TEST_F(TSerializerTest, ExampleUsage) {
    enum : unsigned long { ID_DRAWING = 1, ID_NAME = 2, ID_FUTURE = 99, ID_SHAPE = 3 };

    TSerializer* writer = TSerializer::Open(m_path.c_str(), 1, 0);
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->CreateHeader(7, 1, 0, 0), 0);
    EXPECT_EQ(writer->WriteRecord(nullptr, 0, ID_DRAWING), 0);
    writer->Push(-1); // what follows belongs to the drawing
    char name[] = "plan";
    char size[] = {10, 20};
    EXPECT_EQ(writer->WriteRecord(name, 4, ID_NAME), 0);
    EXPECT_EQ(writer->WriteRecord(nullptr, 0, ID_FUTURE), 0);
    writer->Push(-1);
    EXPECT_EQ(writer->WriteRecord(size, 2, ID_SHAPE), 0); // below the unknown record
    writer->Pop(-1);
    EXPECT_EQ(writer->WriteRecord(size, 2, ID_SHAPE), 0);
    TSerializer::Close(writer);

    TSerializer* reader = TSerializer::Open(m_path.c_str(), 0, 0);
    ASSERT_NE(reader, nullptr);
    short kind, version, w3, w4;
    ASSERT_EQ(reader->GetHeader(kind, version, w3, w4), 0);
    EXPECT_EQ(kind, 7);
    SER_RECORDHEADER record;
    std::string seen;
    int shapes = 0;
    while (reader->NextRecord(record, -1, nullptr)) {
        switch (record.dwId) {
        case ID_DRAWING:
            seen += "drawing ";
            break;
        case ID_NAME: {
            std::string text(record.dwLongitud, ' ');
            ASSERT_EQ(reader->ReadRecord(text.data(), record.dwLongitud, nullptr), 1);
            seen += text;
            break;
        }
        case ID_SHAPE:
            ++shapes;
            break;
        default:
            reader->SkipRecord(-1, nullptr); // with everything below it
        }
    }
    TSerializer::Close(reader);
    EXPECT_EQ(seen, "drawing plan");
    EXPECT_EQ(shapes, 1);
}

// ---- Files

TEST_F(TSerializerTest, OpenForWritingEmptiesAnOldFile) {
    Write("old bytes");
    TSerializer* file = Create();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->GetLength(), 0u);
    TSerializer::Close(file);
    EXPECT_EQ(OnDisk(), "");
}

TEST_F(TSerializerTest, OpenWrapsTheFileInABlockOfEightMebibytesWhateverIsAsked) {
    for (unsigned long asked : {0ul, 1ul, 0xFFFFFFFFul}) {
        TSerializer* file = TSerializer::Open(m_path.c_str(), 1, asked);
        ASSERT_NE(file, nullptr);
        CFileBuffer* buffered = DYNAMIC_DOWNCAST(CFileBuffer, file->GetFile());
        ASSERT_NE(buffered, nullptr);
        buffered->updateBuffer();
        EXPECT_TRUE(buffered->IsBuffered(0x800000 - 1));
        EXPECT_FALSE(buffered->IsBuffered(0x800000));
        TSerializer::Close(file);
    }
}

TEST_F(TSerializerTest, OpenForReadingLetsOthersReadOnly) {
    Write(Image().Bytes());
    TSerializer* file = Reopen();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(
        FileExceptionOf([&] { CFile other(m_path.c_str(), CFile::modeReadWrite | CFile::shareDenyNone); }),
        CFileException::sharingViolation);
    TSerializer* second = Reopen();
    EXPECT_NE(second, nullptr);
    TSerializer::Close(second);
    TSerializer::Close(file);
}

TEST_F(TSerializerTest, OpenOfAMissingFileTellsTheUserAndAnswersNull) {
    MessageCapture boxes;
    EXPECT_EQ(Reopen(), nullptr);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].style, ICON_ERROR);
    EXPECT_NE(boxes[0].text.find(L"file.rec"), std::wstring::npos) << "names the file";
}

TEST_F(TSerializerTest, NullPathDoesNotOpen) {
    MessageCapture boxes;
    void* block = nullptr;
    unsigned long length = 0;
    EXPECT_EQ(TSerializer::Open(nullptr, 0, 0), nullptr);
    EXPECT_EQ(TSerializer::Open(nullptr, 1, 0), nullptr);
    EXPECT_EQ(TSerializer::TestFitxer(nullptr, -1), 0);
    EXPECT_EQ(TSerializer::GetRegistre(static_cast<const wchar_t*>(nullptr), 1, block, length, nullptr), -6);
    EXPECT_EQ(boxes.Count(), 4u);
}

TEST_F(TSerializerTest, OpenOfALockedFileTellsTheUserAndAnswersNull) {
    Write(Image().Bytes());
    CFile locker(m_path.c_str(), CFile::modeReadWrite | CFile::shareExclusive);
    MessageCapture boxes;
    EXPECT_EQ(Reopen(), nullptr);
    EXPECT_EQ(Create(), nullptr);
    EXPECT_EQ(boxes.Count(), 2u);
}

TEST_F(TSerializerTest, CloseOfNullDoesNothing) {
    TSerializer::Close(nullptr);
}

TEST_F(TSerializerTest, CloseDeletesTheFileObject) {
    bool deleted = false;
    MemoryFile* file = new MemoryFile;
    file->deleted = &deleted;
    TSerializer::Close(new TSerializer(file));
    EXPECT_TRUE(deleted);
}

TEST_F(TSerializerTest, CloseThatFailsTellsTheUserAndStillDeletesTheFileObject) {
    bool deleted = false;
    MemoryFile* file = new MemoryFile;
    file->deleted = &deleted;
    file->failClose = 1;
    MessageCapture boxes;
    TSerializer::Close(new TSerializer(file));
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].style, ICON_ERROR);
    EXPECT_TRUE(deleted);
}

TEST_F(TSerializerTest, CloseThatCannotWriteTellsTheUserOnce) {
    TSerializer* file = Create();
    ASSERT_EQ(file->CreateHeader(1, 2, 3, 4), 0);
    CloseHandle(file->GetFile()->m_hFile); // behind the object's back
    MessageCapture boxes;
    TSerializer::Close(file);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerTest, DestructorLeavesTheFileOpen) {
    MemoryFile file(Image().Bytes());
    { TSerializer serializer(&file); }
    EXPECT_EQ(file.GetLength(), 18u);
}

TEST_F(TSerializerTest, NewSerializerStandsWhereTheFileStands) {
    MemoryFile file("0123456789");
    file.Seek(4, CFile::begin);
    TSerializer serializer(&file);
    EXPECT_EQ(serializer.GetFile(), &file);
    EXPECT_EQ(serializer.GetLength(), 10u);
    EXPECT_EQ(serializer.GetPosition(), 4u);
    EXPECT_EQ(serializer.GetNivell(), 0);
}

// ---- File header

TEST_F(TSerializerTest, HeaderIsEighteenBytes) {
    TSerializer* file = Create();
    EXPECT_EQ(file->CreateHeader(0x0102, 0x7FFF, 0, 3), 0);
    EXPECT_EQ(file->GetLength(), 18u);
    EXPECT_EQ(file->GetPosition(), 18u);
    TSerializer::Close(file);
    EXPECT_EQ(OnDisk(), Hex("02 01 FF 7F 00 00 03 00 5D C3 27 E1 4A B6 71 0F D8 36"));
}

TEST_F(TSerializerTest, HeaderIsReadBackWordByWord) {
    Write(Image(7, 0x7FFF, 0, 300).Bytes());
    TSerializer* file = Reopen();
    short w1, w2, w3, w4;
    EXPECT_EQ(file->GetHeader(w1, w2, w3, w4), 0);
    EXPECT_EQ(w1, 7);
    EXPECT_EQ(w2, 0x7FFF);
    EXPECT_EQ(w3, 0);
    EXPECT_EQ(w4, 300);
    EXPECT_EQ(file->GetPosition(), 18u);
    TSerializer::Close(file);
}

TEST_F(TSerializerTest, HeaderIsNotWrittenIntoAFileThatHasBytes) {
    MemoryFile file("x");
    TSerializer serializer(&file);
    EXPECT_EQ(serializer.CreateHeader(1, 2, 3, 4), -16100);
    EXPECT_EQ(file.Bytes(), "x");
}

TEST_F(TSerializerTest, SecondHeaderIsRefusedWhileTheFirstIsPending) {
    TSerializer* file = Create();
    EXPECT_EQ(file->CreateHeader(1, 2, 3, 4), 0);
    EXPECT_EQ(file->CreateHeader(1, 2, 3, 4), -16100);
    TSerializer::Close(file);
    EXPECT_EQ(OnDisk().size(), 18u);
}

TEST_F(TSerializerTest, HeaderThatCannotBeWrittenIsAWriteError) {
    MemoryFile file;
    TSerializer serializer(&file);
    file.failWrite = 1;
    MessageCapture boxes;
    EXPECT_EQ(serializer.CreateHeader(1, 2, 3, 4), -8);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].style, ICON_ERROR);
}

TEST_F(TSerializerTest, LengthThatCannotBeAskedIsAWriteError) {
    MemoryFile file;
    TSerializer serializer(&file);
    file.failLength = 1;
    MessageCapture boxes;
    EXPECT_EQ(serializer.CreateHeader(1, 2, 3, 4), -8);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerTest, ShortHeaderIsAReadError) {
    for (std::size_t size = 0; size < 18; ++size) {
        MemoryFile file(Image().CutTo(size).Bytes());
        TSerializer serializer(&file);
        short w1 = -11, w2 = -12, w3 = -13, w4 = -14;
        EXPECT_EQ(serializer.GetHeader(w1, w2, w3, w4), -7) << size;
        EXPECT_EQ(w1, -11);
        EXPECT_EQ(w4, -14);
    }
}

TEST_F(TSerializerTest, HeaderThatCannotBeReadIsAReadError) {
    MemoryFile file(Image().Bytes());
    TSerializer serializer(&file);
    file.failRead = 1;
    MessageCapture boxes;
    short w;
    EXPECT_EQ(serializer.GetHeader(w, w, w, w), -7);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerTest, OneWrongSignatureByteIsNoRecordFile) {
    for (std::size_t at = 8; at < 18; ++at) {
        MemoryFile file(Image().SetByte(at, 0).Bytes());
        TSerializer serializer(&file);
        short w1 = -11, w2 = -12, w3 = -13, w4 = -14;
        EXPECT_EQ(serializer.GetHeader(w1, w2, w3, w4), -16103) << at;
        EXPECT_EQ(w1, -11);
        EXPECT_EQ(w2, -12);
        EXPECT_EQ(w3, -13);
        EXPECT_EQ(w4, -14);
    }
}

TEST_F(TSerializerTest, NegativeWordIsNoRecordFile) {
    for (std::size_t word = 0; word < 4; ++word) {
        MemoryFile file(Image().SetByte(2 * word + 1, 0x80).Bytes());
        TSerializer serializer(&file);
        short w1 = -11, w2 = -12, w3 = -13, w4 = -14;
        EXPECT_EQ(serializer.GetHeader(w1, w2, w3, w4), -16103) << word;
        EXPECT_EQ(w1, -11);
        EXPECT_EQ(w4, -14);
    }
}

TEST_F(TSerializerTest, NegativeWordIsWrittenThoughNoReaderTakesIt) {
    MemoryFile file;
    TSerializer serializer(&file);
    EXPECT_EQ(serializer.CreateHeader(-1, 0, 0, 0), 0);
    EXPECT_EQ(file.Bytes().substr(0, 2), Hex("FF FF"));
}

TEST_F(TSerializerTest, HeaderIsReadAtTheCurrentPosition) {
    MemoryFile file("junk" + Image(5, 6, 7, 8).Bytes());
    file.Seek(4, CFile::begin);
    TSerializer serializer(&file);
    short w1, w2, w3, w4;
    EXPECT_EQ(serializer.GetHeader(w1, w2, w3, w4), 0);
    EXPECT_EQ(w1, 5);
}

TEST_F(TSerializerTest, TestAcceptsAnyKindOrOne) {
    Write(Image(7).Bytes());
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), -1), 1);
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), -500), 1);
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), 7), 1);
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), 8), 0);
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), 0), 0);
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), 7 + 0x10000), 0);
}

TEST_F(TSerializerTest, TestRefusesOtherFiles) {
    Write(Image().SetByte(10, 0).Bytes());
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), -1), 0);
    Write(Image().CutTo(17).Bytes());
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), -1), 0);
    Write("");
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), -1), 0);
}

TEST_F(TSerializerTest, TestOfAMissingFileTellsTheUser) {
    MessageCapture boxes;
    EXPECT_EQ(TSerializer::TestFitxer(m_path.c_str(), -1), 0);
    EXPECT_EQ(boxes.Count(), 1u);
}

// ---- Levels

TEST_F(TSerializerTest, LevelsAreSetRaisedAndLowered) {
    MemoryFile file;
    TSerializer serializer(&file);
    EXPECT_EQ(serializer.Push(-1), 1);
    EXPECT_EQ(serializer.Push(-7), 2);
    EXPECT_EQ(serializer.GetNivell(), 2);
    EXPECT_EQ(serializer.Push(10), 10);
    EXPECT_EQ(serializer.Push(0), 0);
    EXPECT_EQ(serializer.Pop(-1), -1);
    EXPECT_EQ(serializer.Pop(5), 5);
    EXPECT_EQ(serializer.Pop(-3), 4);
    serializer.SetNivell(-20);
    EXPECT_EQ(serializer.GetNivell(), -20);
}

TEST_F(TSerializerTest, LevelsWrapAtTheirEnds) {
    MemoryFile file;
    TSerializer serializer(&file);
    EXPECT_EQ(serializer.Push(32767), 32767);
    EXPECT_EQ(serializer.Push(-1), -32768);
    EXPECT_EQ(serializer.Pop(-1), 32767);
}

TEST_F(TSerializerTest, LevelIsThatOfTheRecordLastRead) {
    MemoryFile file(Image().Record(1, 5, "").Record(2, -3, "").Bytes());
    file.Seek(18, CFile::begin);
    TSerializer serializer(&file);
    SER_RECORDHEADER record;
    serializer.NextRecord(record, -1, nullptr);
    EXPECT_EQ(serializer.GetNivell(), 5);
    serializer.NextRecord(record, -1, nullptr);
    EXPECT_EQ(serializer.GetNivell(), -3);
}

// ---- Writing

// docs/record-files.md shows these bytes.
TEST_F(TSerializerTest, FileIsWrittenByteForByte) {
    TSerializer* file = Create();
    char hello[] = "hello";
    unsigned char bytes[] = {0x00, 0xFF};
    EXPECT_EQ(file->CreateHeader(7, 1, 0, 0), 0);
    EXPECT_EQ(file->WriteRecord(hello, 5, 100), 0);
    file->Push(-1);
    EXPECT_EQ(file->WriteRecord(bytes, 2, 0x12345678), 0);
    EXPECT_EQ(file->WriteRecord(nullptr, 0, 0xFFFFFFFF), 0);
    file->Pop(-1);
    EXPECT_EQ(file->WriteRecord(hello, 1, 101), 0);
    TSerializer::Close(file);
    const std::string expected = Hex("07 00 01 00 00 00 00 00 5D C3 27 E1 4A B6 71 0F D8 36"
                                     "64 00 00 00 05 00 00 00 00 00 68 65 6C 6C 6F"
                                     "78 56 34 12 02 00 00 00 01 00 00 FF"
                                     "FF FF FF FF 00 00 00 00 01 00"
                                     "65 00 00 00 01 00 00 00 00 00 68");
    EXPECT_EQ(OnDisk(), expected);
    EXPECT_EQ(BytesOfExample(MVLIB_DOCS "/record-files.md", "## Worked example"), expected);
}

TEST_F(TSerializerTest, PlainFileGetsTheSameBytes) {
    char hello[] = "hello";
    {
        CFile file(m_path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
        TSerializer serializer(&file);
        EXPECT_EQ(serializer.CreateHeader(1, 2, 3, 4), 0);
        serializer.SetNivell(-2);
        EXPECT_EQ(serializer.WriteRecord(hello, 5, 9), 0);
        EXPECT_EQ(serializer.WriteRecord(nullptr, 0, 10), 0);
    }
    EXPECT_EQ(OnDisk(), Image().Record(9, -2, "hello").Record(10, -2, "").Bytes());
}

TEST_F(TSerializerTest, RecordsCrossTheBlocksOfTheFile) {
    const std::string big(0x500000, 'b'), small(1000, 's');
    Image expected;
    TSerializer* file = Create();
    ASSERT_EQ(file->CreateHeader(1, 2, 3, 4), 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(file->WriteRecord(const_cast<char*>(big.data()), static_cast<unsigned long>(big.size()), i),
                  0);
        EXPECT_EQ(file->WriteRecord(const_cast<char*>(small.data()), 1000, 100 + i), 0);
        expected.Record(i, 0, big).Record(100 + i, 0, small);
    }
    EXPECT_EQ(file->GetLength(), expected.Bytes().size());
    TSerializer::Close(file);
    EXPECT_TRUE(OnDisk() == expected.Bytes());
}

TEST_F(TSerializerTest, RecordOfExactlyTheRestOfTheBlockIsWritten) {
    for (unsigned long slack : {0ul, 1ul, 2ul}) {
        CFileBuffer buffered(m_path.c_str(), CFile::modeCreate | CFile::modeWrite, 48);
        TSerializer file(&buffered);
        std::string payload(48 - 18 - 10 - slack, 'p');
        EXPECT_EQ(file.CreateHeader(1, 2, 3, 4), 0);
        EXPECT_EQ(file.WriteRecord(payload.data(), static_cast<unsigned long>(payload.size()), 5), 0);
        EXPECT_EQ(file.WriteRecord(payload.data(), 3, 6), 0);
        buffered.Close();
        EXPECT_EQ(OnDisk(), Image().Record(5, 0, payload).Record(6, 0, "ppp").Bytes()) << slack;
    }
}

TEST_F(TSerializerTest, RecordAfterASeekInsideTheBlockOverwrites) {
    TSerializer* file = Create();
    char payload[] = "abcdef";
    ASSERT_EQ(file->CreateHeader(1, 2, 3, 4), 0);
    ASSERT_EQ(file->WriteRecord(payload, 6, 5), 0);
    file->GetFile()->Seek(18, CFile::begin);
    ASSERT_EQ(file->WriteRecord(payload, 3, 6), 0);
    TSerializer::Close(file);
    EXPECT_EQ(OnDisk(), Image().Record(6, 0, "abc").Raw("def").Bytes());
}

TEST_F(TSerializerTest, LongIdentifierIsCutTo32Bits) {
    MemoryFile file;
    TSerializer serializer(&file);
    EXPECT_EQ(serializer.WriteRecord(nullptr, 0, static_cast<unsigned long>(-2)), 0);
    EXPECT_EQ(file.Bytes().substr(0, 4), Hex("FE FF FF FF"));
}

TEST_F(TSerializerTest, RecordThatCannotBeWrittenIsAWriteError) {
    char byte = 'x';
    for (int call : {1, 2}) { // the header, the payload
        MemoryFile file;
        TSerializer serializer(&file);
        file.failWrite = call;
        MessageCapture boxes;
        EXPECT_EQ(serializer.WriteRecord(&byte, 1, 5), -8);
        ASSERT_EQ(boxes.Count(), 1u);
        EXPECT_EQ(boxes[0].style, ICON_ERROR);
    }
}

TEST_F(TSerializerTest, BlockThatCannotBeWrittenIsAWriteError) {
    TSerializer* file = Create();
    ASSERT_EQ(file->CreateHeader(1, 2, 3, 4), 0);
    CloseHandle(file->GetFile()->m_hFile); // behind the object's back
    std::string payload(0x800000, 'x');
    {
        MessageCapture boxes;
        EXPECT_EQ(file->WriteRecord(payload.data(), 0x800000, 5), -8);
        EXPECT_EQ(boxes.Count(), 1u);
    }
    MessageCapture boxes;
    TSerializer::Close(file);
    EXPECT_EQ(boxes.Count(), 1u);
}

TEST_F(TSerializerTest, FileOpenedForReadingIsAWriteError) {
    Write("");
    CFile file(m_path.c_str(), CFile::modeRead);
    TSerializer serializer(&file);
    char byte = 'x';
    MessageCapture boxes;
    EXPECT_EQ(serializer.CreateHeader(1, 2, 3, 4), -8);
    EXPECT_EQ(serializer.WriteRecord(&byte, 1, 5), -8);
    EXPECT_EQ(boxes.Count(), 2u);
}

// ---- Helpers

TEST_F(TSerializerTest, HelpersAreFoundByTheirExactNames) {
    MemoryFile file;
    TSerializer serializer(&file);
    Helper first, second;
    EXPECT_EQ(serializer.GetHelper(L"fonts"), nullptr);
    EXPECT_EQ(serializer.SetHelper(L"fonts", &first), nullptr);
    EXPECT_EQ(serializer.GetHelper(L"fonts"), &first);
    EXPECT_EQ(serializer.GetHelper(L"Fonts"), nullptr);
    EXPECT_EQ(serializer.GetHelper(L"font"), nullptr);
    EXPECT_EQ(serializer.SetHelper(L"fonts", &second), &first);
    EXPECT_EQ(serializer.GetHelper(L"fonts"), &second);
    EXPECT_EQ(serializer.SetHelper(L"fonts", nullptr), &second);
    EXPECT_EQ(serializer.GetHelper(L"fonts"), nullptr);
    EXPECT_EQ(serializer.SetHelper(L"fonts", nullptr), nullptr);
}

TEST_F(TSerializerTest, ManyHelpersLiveSideBySide) {
    MemoryFile file;
    TSerializer serializer(&file);
    Helper helpers[30];
    for (int i = 0; i < 30; ++i)
        serializer.SetHelper(std::to_wstring(i).c_str(), &helpers[i]);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(serializer.GetHelper(std::to_wstring(i).c_str()), &helpers[i]);
}

TEST_F(TSerializerTest, NullNameOfAHelperIsTheEmptyName) {
    MemoryFile file;
    TSerializer serializer(&file);
    Helper helper;
    EXPECT_EQ(serializer.SetHelper(nullptr, &helper), nullptr);
    EXPECT_EQ(serializer.GetHelper(L""), &helper);
    EXPECT_EQ(serializer.GetHelper(nullptr), &helper);
}
