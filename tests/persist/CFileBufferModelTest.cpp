// Long random runs of operations beside a plain model of what they do: a file is an array of bytes, a block
// is loaded, cleared, filled and written whole. What callers see must be the same after every step, and so
// must the file.
#include "CFileBuffer.h"

#include "RecordSupport.h"
#include "temp_folder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr unsigned int SHARE = CFile::typeBinary | CFile::shareDenyNone;

// The model. Reading: `writing` false.
class Model {
public:
    Model(std::string& disk, bool writing, std::size_t size)
        : m_disk(disk)
        , m_writing(writing)
        , m_size(size) {}

    std::uint64_t Position() const { return m_position; }
    std::uint64_t Length() const { return m_writing && m_modified ? m_start + m_last : m_disk.size(); }
    bool IsBuffered(std::uint64_t at) const {
        return m_loaded && at >= m_start && at < m_start + (m_writing ? m_size : m_valid);
    }
    bool IsBuffered() const { return IsBuffered(m_position); }

    // False for a position before the beginning.
    bool Seek(std::int64_t offset, int from) {
        const std::int64_t base = from == 0   ? 0
                                  : from == 1 ? static_cast<std::int64_t>(m_position)
                                              : static_cast<std::int64_t>(m_disk.size());
        if (base + offset < 0)
            return false;
        m_position = static_cast<std::uint64_t>(base + offset);
        return true;
    }
    std::string Read(std::size_t count) {
        std::string bytes;
        while (count) {
            if (!IsBuffered() && Load() < 0)
                break;
            if (m_writing || m_valid == 0)
                break;
            const std::size_t at = static_cast<std::size_t>(m_position - m_start);
            const std::size_t part = std::min(count, m_valid - at);
            bytes.append(reinterpret_cast<char*>(m_block.data()) + at, part);
            m_position += part;
            count -= part;
        }
        return bytes;
    }
    void Write(const std::string& bytes) {
        for (std::size_t done = 0; done < bytes.size();) {
            if (!IsBuffered() && (Load() < 0 || !IsBuffered()))
                break;
            const std::size_t at = static_cast<std::size_t>(m_position - m_start);
            const std::size_t part = std::min(bytes.size() - done, m_size - at);
            Mark(part);
            std::memcpy(m_block.data() + at, bytes.data() + done, part);
            m_position += part;
            done += part;
        }
    }
    // Widens the range to be written.
    void Mark(std::size_t count) {
        if (count == 0 || !IsBuffered())
            return;
        const std::size_t first = static_cast<std::size_t>(m_position - m_start);
        const std::size_t last = std::min(first + count, m_size);
        m_first = m_modified ? std::min(m_first, first) : first;
        m_last = m_modified ? std::max(m_last, last) : last;
        m_modified = true;
    }
    void Flush() {
        if (m_writing && m_modified) {
            const std::size_t count = m_last - m_first;
            if (m_disk.size() < m_start + count)
                m_disk.resize(static_cast<std::size_t>(m_start) + count);
            std::memcpy(m_disk.data() + m_start, m_block.data() + m_first, count);
            m_modified = false;
        }
    }
    int Load() {
        if (m_loaded)
            Flush();
        m_loaded = true;
        m_block.resize(m_size);
        if (m_position >= m_disk.size()) {
            if (!m_writing)
                return -7;
            std::fill(m_block.begin(), m_block.end(), 0);
            m_start = m_disk.size();
            return 0;
        }
        m_start = m_position;
        std::fill(m_block.begin(), m_block.end(), 0);
        if (!m_writing) {
            m_valid = std::min(m_size, m_disk.size() - static_cast<std::size_t>(m_position));
            std::copy_n(m_disk.begin() + static_cast<std::ptrdiff_t>(m_position), m_valid, m_block.begin());
        }
        return 0;
    }
    int Update() { return IsBuffered() ? 0 : Load(); }
    // The block from the position on; null when that is not in it.
    unsigned char* At() { return IsBuffered() ? m_block.data() + (m_position - m_start) : nullptr; }
    std::size_t RestOfBlock() const { return m_size - static_cast<std::size_t>(m_position - m_start); }

private:
    std::string& m_disk;
    bool m_writing;
    std::size_t m_size;
    std::vector<unsigned char> m_block;
    bool m_loaded = false;
    std::uint64_t m_start = 0, m_position = 0;
    std::size_t m_valid = 0, m_first = 0, m_last = 0;
    bool m_modified = false;
};

class CFileBufferModelTest : public testing::TestWithParam<bool> {
protected:
    unsigned Below(unsigned limit) { return limit ? m_random() % limit : 0; }
    std::string Bytes(std::size_t count) {
        std::string bytes(count, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(m_random());
        return bytes;
    }
    void Run(std::size_t fileSize, unsigned long blockSize, int steps);

    std::mt19937 m_random{20240611};
    TempFolder m_folder;
};

void CFileBufferModelTest::Run(std::size_t fileSize, unsigned long blockSize, int steps) {
    const bool writing = GetParam();
    std::string disk = Bytes(fileSize);
    const std::wstring path = m_folder.Write(L"file.bin", disk);
    {
        CFileBuffer file(path.c_str(), SHARE | (writing ? CFile::modeWrite : CFile::modeRead), blockSize);
        Model model(disk, writing, blockSize);
        const unsigned reach = static_cast<unsigned>(blockSize < 100000 ? blockSize * 2 : fileSize) + 3;
        for (int step = 0; step < steps; ++step) {
            switch (Below(12)) {
            case 0:
            case 1:
            case 2: {
                const unsigned count = Below(reach);
                std::string bytes(count, '?');
                bytes.resize(file.Read(bytes.data(), count));
                ASSERT_EQ(bytes, model.Read(count)) << step;
                break;
            }
            case 3:
            case 4:
            case 5:
                if (writing) {
                    const std::string bytes = Bytes(Below(reach));
                    file.Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
                    model.Write(bytes);
                }
                break;
            case 6: {
                const int from = static_cast<int>(Below(3));
                const long long offset =
                    static_cast<long long>(Below(2 * reach)) - (from ? reach : reach / 4);
                const bool valid = model.Seek(offset, from);
                const int cause =
                    FileExceptionOf([&] { file.Seek(offset, static_cast<unsigned int>(from)); });
                ASSERT_EQ(cause, valid ? -1 : static_cast<int>(CFileException::badSeek)) << step;
                break;
            }
            case 7:
                if (Below(2)) {
                    file.SeekToBegin();
                    model.Seek(0, 0);
                } else {
                    model.Seek(0, 2);
                    ASSERT_EQ(file.SeekToEnd(), model.Position());
                }
                break;
            case 8:
                ASSERT_EQ(file.updateBuffer(), model.Update()) << step;
                break;
            case 9: {
                unsigned char* at = file.getActualBufferPosition();
                const unsigned char* expected = model.At();
                ASSERT_EQ(at != nullptr, expected != nullptr) << step;
                if (at) {
                    ASSERT_EQ(std::memcmp(at, expected, model.RestOfBlock()), 0) << step;
                }
                break;
            }
            case 10:
                if (writing) {
                    const unsigned count = Below(reach);
                    if (unsigned char* at = Below(2) ? file.getActualBufferPosition() : nullptr) {
                        const std::string bytes = Bytes(std::min<std::size_t>(count, model.RestOfBlock()));
                        std::copy(bytes.begin(), bytes.end(), at);
                        std::copy(bytes.begin(), bytes.end(), model.At());
                    }
                    file.updateWriteBlockLimits(count);
                    model.Mark(count);
                }
                break;
            case 11:
                if (writing && Below(4) == 0) {
                    file.Flush();
                    model.Flush();
                }
                break;
            }
            ASSERT_EQ(file.GetPosition(), model.Position()) << step;
            ASSERT_EQ(file.GetLength(), model.Length()) << step;
            ASSERT_EQ(file.IsBuffered() != 0, model.IsBuffered()) << step;
            const unsigned long long other = Below(reach);
            ASSERT_EQ(file.IsBuffered(other) != 0, model.IsBuffered(other)) << step;
        }
        file.Close();
        model.Flush();
    }
    ASSERT_TRUE(m_folder.Read(L"file.bin") == disk);
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Modes, CFileBufferModelTest, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Writing" : "Reading"; });

TEST_P(CFileBufferModelTest, TinyBlocksActLikeTheModel) {
    for (int run = 0; run < 60; ++run)
        Run(Below(60), Below(24), 150);
}

TEST_P(CFileBufferModelTest, MiddlingBlocksActLikeTheModel) {
    for (int run = 0; run < 6; ++run)
        Run(Below(40000), 1 + Below(9000), 60);
}

TEST_P(CFileBufferModelTest, LargeBlocksActLikeTheModel) {
    for (int run = 0; run < 4; ++run)
        Run(Below(500000), 0x10001 + Below(200000), 40);
}
