// Progress, cancelling and pausing through a status indicator.
#include "TSerializer.h"

#include "message_capture.h"
#include "RecordSupport.h"
#include "temp_folder.h"
#include "TIndicadorEstat.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

// Remembers what it is shown. It cancels itself during the chosen report, or at the chosen question.
class Progress : public TIndicadorEstat {
public:
    std::vector<double> shown;
    int cancelAtReport = 0;   // 1: the next
    int cancelAtQuestion = 0; // 1: the next

    int MostrarEstat(double position) override {
        shown.push_back(position);
        if (cancelAtReport && --cancelAtReport == 0)
            Cancelar();
        return TIndicadorEstat::MostrarEstat(position);
    }
    int TestCancel() override {
        if (cancelAtQuestion && --cancelAtQuestion == 0)
            Cancelar();
        return TIndicadorEstat::TestCancel();
    }
};

class TSerializerProgressTest : public testing::Test {
protected:
    // 18 + (10 + 12) + (10 + 50) = 100 bytes, so that positions are hundredths.
    Image Hundred() { return Image().Record(1, 0, std::string(12, 'a')).Record(2, 1, std::string(50, 'b')); }

    TSerializer& Open(const Image& image) {
        m_file = std::make_unique<MemoryFile>(image.Bytes());
        m_file->Seek(18, CFile::begin);
        m_serializer = std::make_unique<TSerializer>(m_file.get());
        return *m_serializer;
    }
    static void ExpectShown(const Progress& progress, const std::vector<double>& expected) {
        ASSERT_EQ(progress.shown.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_DOUBLE_EQ(progress.shown[i], expected[i]) << i;
    }

    std::unique_ptr<MemoryFile> m_file;
    std::unique_ptr<TSerializer> m_serializer;
    SER_RECORDHEADER m_record;
    char m_buffer[100] = {};
};

} // namespace

TEST_F(TSerializerProgressTest, ExampleUsage) {
    TSerializer& file = Open(Hundred());
    TIndicadorEstat indicator(
        [](TIndicadorEstat* ie, unsigned long user) {
            EXPECT_EQ(user, 5ul);
            EXPECT_GE(ie->GetEstat(), 0.28);
            EXPECT_LE(ie->GetEstat(), 1.0);
        },
        5);
    SER_RECORDHEADER record;
    while (file.NextRecord(record, -1, &indicator))
        EXPECT_EQ(file.ReadRecord(m_buffer, record.dwLongitud, &indicator), 1);
    EXPECT_DOUBLE_EQ(indicator.GetEstat(), 1.0);
}

TEST_F(TSerializerProgressTest, HalfOfTheFileIsTheMiddleOfTheRange) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    progress.SetRang(0.2, 0.6);
    file.GetFile()->Seek(50, CFile::begin);
    EXPECT_EQ(file.updateIE(&progress), 1);
    ExpectShown(progress, {0.4});
}

TEST_F(TSerializerProgressTest, WithoutAnIndicatorTheReportAnswersOne) {
    EXPECT_EQ(Open(Hundred()).updateIE(nullptr), 1);
}

TEST_F(TSerializerProgressTest, EveryHeaderAndPayloadIsReported) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 1);
    EXPECT_EQ(file.ReadRecord(m_buffer, 6, &progress), 1);
    EXPECT_EQ(file.ReadRecord(m_buffer, 0xFFFFFFFF, &progress), 1);
    EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 1);
    EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 0); // the end is not reported
    ExpectShown(progress, {0.28, 0.34, 0.40, 0.50});
}

TEST_F(TSerializerProgressTest, RecordHandedBackIsReportedWhenItIsDelivered) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    EXPECT_EQ(file.NextRecord(m_record, 4, &progress), 0);
    EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 1);
    ExpectShown(progress, {0.28});
}

TEST_F(TSerializerProgressTest, SkippingReportsEachHeaderAndTheEnd) {
    TSerializer& file = Open(Hundred());
    file.NextRecord(m_record, -1, nullptr);
    Progress progress;
    EXPECT_EQ(file.SkipRecord(-1, &progress), 1);
    ExpectShown(progress, {0.50, 1.0});
}

TEST_F(TSerializerProgressTest, WholePayloadsAreReportedOnceByHeaderAndTwiceByIdentifier) {
    TSerializer& file = Open(Hundred());
    {
        Progress progress;
        void* block = m_buffer;
        EXPECT_EQ(file.ReadNextRecord(m_record, block, nullptr, -1, &progress), 0);
        ExpectShown(progress, {0.40});
    }
    {
        Progress progress;
        void* block = m_buffer;
        EXPECT_EQ(file.ReadNextRecord(2, block, nullptr, -1, &progress), 0);
        ExpectShown(progress, {0.50, 1.0});
    }
    TSerializer& again = Open(Hundred());
    Progress progress;
    EXPECT_EQ(again.ReadNextRecord(1, m_buffer, 5, nullptr, -1, &progress), 4);
    ExpectShown(progress, {0.33});
}

TEST_F(TSerializerProgressTest, LengthAtConstructionIsTheEnd) {
    TSerializer& file = Open(Hundred());
    m_file->SetLength(200);
    m_file->Seek(150, CFile::begin);
    Progress progress;
    file.updateIE(&progress);
    ExpectShown(progress, {1.5});
}

TEST_F(TSerializerProgressTest, EmptyFileShowsNoNumber) {
    MemoryFile empty;
    TSerializer file(&empty);
    Progress progress;
    EXPECT_EQ(file.updateIE(&progress), 1);
    ASSERT_EQ(progress.shown.size(), 1u);
    EXPECT_TRUE(std::isnan(progress.shown[0]));
}

// ---- Cancelling

TEST_F(TSerializerProgressTest, CancelledIndicatorStopsEveryOperationAtOnce) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    progress.Cancelar();
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 0);
    EXPECT_EQ(file.ReadRecord(m_buffer, 1, &progress), 0);
    EXPECT_EQ(file.ReadNextRecord(m_record, block, &length, -1, &progress), -5);
    EXPECT_EQ(file.ReadNextRecord(1, block, &length, -1, &progress), -17);
    EXPECT_EQ(file.ReadNextRecord(1, m_buffer, 10, &length, -1, &progress), -5);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 77ul);
    EXPECT_EQ(file.GetPosition(), 18u);
    EXPECT_TRUE(progress.shown.empty());
    EXPECT_EQ(file.SkipRecord(-1, &progress), 1);
    ExpectShown(progress, {0.18}); // its last step
    EXPECT_EQ(file.updateIE(&progress), 0);
}

TEST_F(TSerializerProgressTest, RecordDuringWhoseReportTheUserCancelsIsReadAndGone) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    progress.cancelAtReport = 1;
    EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 0);
    EXPECT_EQ(file.GetPosition(), 28u);
    EXPECT_EQ(file.NextRecord(m_record, -1, nullptr), 1);
    EXPECT_EQ(m_record.dwId, 2u);
}

TEST_F(TSerializerProgressTest, PayloadDuringWhoseReportTheUserCancelsIsRead) {
    TSerializer& file = Open(Hundred());
    file.NextRecord(m_record, -1, nullptr);
    Progress progress;
    progress.cancelAtReport = 1;
    EXPECT_EQ(file.ReadRecord(m_buffer, 12, &progress), 1);
    EXPECT_EQ(file.ReadRecord(m_buffer, 0, &progress), 0);
}

TEST_F(TSerializerProgressTest, CancelBehindTheHeaderIsAReadError) {
    {
        TSerializer& file = Open(Hundred());
        Progress progress;
        progress.cancelAtQuestion = 2;
        void* block = nullptr;
        EXPECT_EQ(file.ReadNextRecord(m_record, block, nullptr, -1, &progress), -7);
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(file.GetPosition(), 28u);
    }
    TSerializer& file = Open(Hundred());
    Progress progress;
    progress.cancelAtQuestion = 2;
    void* block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, -1, &progress), -7);
    EXPECT_EQ(block, nullptr);
}

TEST_F(TSerializerProgressTest, CancelDuringTheHeadersReportIsNoRecord) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    progress.cancelAtReport = 1;
    void* block = nullptr;
    EXPECT_EQ(file.ReadNextRecord(1, block, nullptr, -1, &progress), -17);
    EXPECT_EQ(block, nullptr);
}

TEST_F(TSerializerProgressTest, CancelDuringTheLastReportIntoABufferIsNoFailure) {
    TSerializer& file = Open(Hundred());
    Progress progress;
    progress.cancelAtReport = 1;
    unsigned long read = 0;
    EXPECT_EQ(file.ReadNextRecord(1, m_buffer, 20, &read, -1, &progress), 0);
    EXPECT_EQ(read, 12ul);
}

TEST_F(TSerializerProgressTest, CancelledSearchFindsNothing) {
    Progress progress;
    progress.Cancelar();
    MemoryFile file(Hundred().Bytes());
    void* block = nullptr;
    unsigned long length = 77;
    EXPECT_EQ(TSerializer::GetRegistre(&file, 1, block, length, &progress), -16102);
    Progress later;
    later.cancelAtReport = 1;
    file.Seek(0, CFile::begin);
    EXPECT_EQ(TSerializer::GetRegistre(&file, 1, block, length, &later), -16102);
    EXPECT_EQ(length, 77ul);
}

// Kept: the block is not freed (tests/lsan.supp).
TEST_F(TSerializerProgressTest, SearchCancelledBeforeThePayloadIsAReadError) {
    Progress progress;
    progress.cancelAtQuestion = 2;
    MemoryFile file(Hundred().Bytes());
    void* block = m_buffer;
    unsigned long length = 77;
    EXPECT_EQ(TSerializer::GetRegistre(&file, 1, block, length, &progress), -7);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(length, 12ul);
}

TEST_F(TSerializerProgressTest, SearchReportsItsWay) {
    TempFolder folder;
    const std::wstring path =
        folder.Write(L"file.rec", Hundred().Raw(Image().Record(3, 0, "x").Bytes().substr(18)).Bytes());
    Progress progress;
    void* block = nullptr;
    unsigned long length = 0;
    EXPECT_EQ(TSerializer::GetRegistre(path.c_str(), 3, block, length, &progress), 0);
    std::free(block);
    // Two headers skipped to, the end of the skip, the record delivered, its payload.
    ExpectShown(progress, {28 / 111.0, 50 / 111.0, 110 / 111.0, 110 / 111.0, 110 / 111.0, 1.0});
}

// ---- File errors during a report

TEST_F(TSerializerProgressTest, PositionThatCannotBeAskedIsReported) {
    Progress progress;
    TSerializer& file = Open(Hundred());
    m_file->failPosition = 1;
    {
        MessageCapture boxes;
        EXPECT_EQ(file.NextRecord(m_record, -1, &progress), 0);
        EXPECT_EQ(file.ReadRecord(m_buffer, 1, &progress), 0);
        EXPECT_EQ(file.SkipRecord(-1, &progress), 0);
        EXPECT_EQ(boxes.Count(), 3u);
    }
    TSerializer& again = Open(Hundred());
    m_file->failPosition = 1;
    MessageCapture boxes;
    EXPECT_EQ(again.ReadNextRecord(1, m_buffer, 20, nullptr, -1, &progress), -7);
    EXPECT_EQ(boxes.Count(), 1u);
}

// ---- Two threads

namespace {

// A worker that reads a whole file, over and over, until it is cancelled.
class TSerializerThreadTest : public testing::Test {
protected:
    void SetUp() override {
        Image image;
        for (int i = 0; i < 2000; ++i)
            image.Record(i, i % 3, std::string(i % 50, 'p'));
        m_path = m_folder.Write(L"file.rec", image.Bytes());
        m_worker = std::thread([this] { work(); });
        while (m_rounds == 0 && !m_ended)
            std::this_thread::yield();
    }
    void TearDown() override {
        m_indicator.Cancelar();
        m_worker.join();
        EXPECT_EQ(m_result, -5);
    }
    // Waits for the worker to end, at most ten seconds.
    bool Ends() {
        for (int i = 0; i < 1000 && !m_ended; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return m_ended;
    }

    TempFolder m_folder;
    std::wstring m_path;
    TIndicadorEstat m_indicator{[](TIndicadorEstat*, unsigned long) {}};
    std::atomic<long> m_reports{0};
    std::atomic<long> m_rounds{0};
    std::atomic<bool> m_ended{false};
    int m_result = 0;

private:
    void work() {
        while (m_result == 0) {
            TSerializer* file = TSerializer::Open(m_path.c_str(), 0, 0);
            short w;
            file->GetHeader(w, w, w, w);
            SER_RECORDHEADER record;
            void* block = nullptr;
            while ((m_result = file->ReadNextRecord(record, block, nullptr, -1, &m_indicator)) == 0) {
                std::free(block);
                block = nullptr;
                ++m_reports;
            }
            // The end of the file begins the next round; a cancel during a payload counts as one too.
            if (m_result == -17 || m_indicator.TestCancel())
                m_result = m_indicator.TestCancel() ? -5 : 0;
            TSerializer::Close(file);
            ++m_rounds;
        }
        m_ended = true;
    }

    std::thread m_worker;
};

} // namespace

TEST_F(TSerializerThreadTest, AnotherThreadCancelsARunningRead) {
    m_indicator.Cancelar();
    EXPECT_TRUE(Ends());
}

TEST_F(TSerializerThreadTest, AnotherThreadPausesAndResumesARunningRead) {
    m_indicator.Pausa();
    EXPECT_EQ(m_indicator.GetPausa(), 1);
    // The worker comes to rest.
    long before = -1;
    for (int i = 0; i < 1000 && before != m_reports; ++i) {
        before = m_reports;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // On a busy machine it may not have run at all meanwhile: then the record that it was at is still to
    // come.
    EXPECT_LE(m_reports, before + 1);
    EXPECT_FALSE(m_ended);
    m_indicator.Reanudar();
    for (int i = 0; i < 1000 && m_reports <= before + 1; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_GT(m_reports, before + 1);
}

TEST_F(TSerializerThreadTest, CancelEndsAPause) {
    m_indicator.Pausa();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    m_indicator.Cancelar();
    EXPECT_TRUE(Ends());
}

TEST_F(TSerializerThreadTest, AnotherThreadWatchesThePosition) {
    for (int i = 0; i < 1000; ++i) {
        const double position = m_indicator.GetEstat();
        EXPECT_GE(position, 0.0);
        EXPECT_LE(position, 1.0);
        m_indicator.SetMissatge(L"reading");
        EXPECT_STREQ(m_indicator.GetMissatge(), L"reading");
    }
}
