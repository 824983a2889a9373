// Record files beside other ways to read and write the same bytes.
//
// Every reader and writer here handles the record format itself (docs/record-files.md): the peers are what a
// programmer would put under hand-written code for it, the limits what the system allows at best. The files
// lie in memory (/dev/shm), so that no disk is measured.
#include "CFileBuffer.h"
#include "TSerializer.h"

#include "sink.h"

#include <benchmark/benchmark.h>

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

namespace pb = google::protobuf::io;

constexpr unsigned HEADER = 10;
constexpr unsigned FILE_HEADER = 18;
constexpr unsigned MAX_PAYLOAD = 127;
constexpr int FEW = 10, SOME = 100000, MANY = 1000000; // records
constexpr std::uint32_t LAST_ID = 0xFFFFFFF0;
constexpr std::size_t BLOCK = 8 << 20;

struct Header {
    std::uint32_t id;
    std::uint32_t length;
    std::int16_t level;
};

Header Decode(const unsigned char* at) {
    Header header;
    std::memcpy(&header.id, at, 4);
    std::memcpy(&header.length, at + 4, 4);
    std::memcpy(&header.level, at + 8, 2);
    return header;
}

void Encode(unsigned char* at, const Header& header) {
    std::memcpy(at, &header.id, 4);
    std::memcpy(at + 4, &header.length, 4);
    std::memcpy(at + 8, &header.level, 2);
}

// The same records for everybody.
class Records {
public:
    explicit Records(int count)
        : payload_(MAX_PAYLOAD + 1) {
        std::mt19937 random(20240607);
        for (unsigned char& byte : payload_)
            byte = static_cast<unsigned char>(random());
        headers_.reserve(count);
        for (int i = 0; i < count; ++i)
            headers_.push_back({static_cast<std::uint32_t>(i),
                                static_cast<std::uint32_t>(random() % (MAX_PAYLOAD + 1)),
                                static_cast<std::int16_t>(i % 3 ? 1 : 0)});
        headers_.back().id = LAST_ID;
        headers_.back().level = 0;
    }

    const std::vector<Header>& headers() const { return headers_; }
    unsigned char* payload() { return payload_.data(); }

private:
    std::vector<unsigned char> payload_;
    std::vector<Header> headers_;
};

std::string NarrowPath(int count, const char* use) {
    return "/dev/shm/mvlib62-bench-" + std::to_string(getpid()) + "-" + use + "-" + std::to_string(count) +
           ".rec";
}

std::wstring Wide(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

Records& RecordsOf(int count) {
    static std::vector<std::pair<int, std::unique_ptr<Records>>> made;
    for (auto& entry : made)
        if (entry.first == count)
            return *entry.second;
    made.emplace_back(count, std::make_unique<Records>(count));
    return *made.back().second;
}

void WriteOurs(const std::wstring& path, Records& records) {
    TSerializer* file = TSerializer::Open(path.c_str(), 1, 0);
    file->CreateHeader(1, 2, 3, 4);
    for (const Header& header : records.headers()) {
        file->SetNivell(header.level);
        file->WriteRecord(records.payload(), header.length, header.id);
    }
    TSerializer::Close(file);
}

// Written once per size and removed at the end of the program.
const std::string& FileOf(int count) {
    struct Files {
        std::vector<std::pair<int, std::string>> made;
        ~Files() {
            for (auto& entry : made)
                unlink(entry.second.c_str());
        }
    };
    static Files files;
    for (auto& entry : files.made)
        if (entry.first == count)
            return entry.second;
    files.made.emplace_back(count, NarrowPath(count, "read"));
    WriteOurs(Wide(files.made.back().second), RecordsOf(count));
    return files.made.back().second;
}

// ---- The readers, all with the same verbs: Next delivers a header, Payload reads the current payload, and a
// payload that was not read is stepped over by Next.

class Ours {
public:
    explicit Ours(const std::wstring& path)
        : file_(TSerializer::Open(path.c_str(), 0, 0)) {
        short w;
        file_->GetHeader(w, w, w, w);
    }
    ~Ours() { TSerializer::Close(file_); }
    bool Next(Header& header) {
        SER_RECORDHEADER record;
        if (!file_->NextRecord(record, -1, nullptr))
            return false;
        header = {record.dwId, record.dwLongitud, record.nNivell};
        return true;
    }
    void Payload(void* to, std::uint32_t length) { file_->ReadRecord(to, length, nullptr); }

private:
    TSerializer* file_;
};

class Protobuf {
public:
    explicit Protobuf(const std::string& path)
        : file_(open(path.c_str(), O_RDONLY))
        , stream_(file_)
        , coded_(&stream_) {
        coded_.SetTotalBytesLimit(INT32_MAX);
        coded_.Skip(FILE_HEADER);
    }
    ~Protobuf() { close(file_); }
    bool Next(Header& header) {
        unsigned char bytes[HEADER];
        if ((rest_ && !coded_.Skip(rest_)) || !coded_.ReadRaw(bytes, HEADER))
            return false;
        header = Decode(bytes);
        rest_ = header.length;
        return true;
    }
    void Payload(void* to, std::uint32_t length) {
        coded_.ReadRaw(to, length);
        rest_ = 0;
    }

private:
    int file_;
    pb::FileInputStream stream_;
    pb::CodedInputStream coded_;
    std::uint32_t rest_ = 0;
};

class Stdio {
public:
    explicit Stdio(const std::string& path)
        : file_(fopen(path.c_str(), "rb")) {
        unsigned char bytes[FILE_HEADER];
        fread(bytes, 1, FILE_HEADER, file_);
    }
    ~Stdio() { fclose(file_); }
    bool Next(Header& header) {
        // Reading over a short payload is much faster than fseek, which gives up the buffer.
        unsigned char bytes[MAX_PAYLOAD + 1];
        if (rest_)
            fread(bytes, 1, rest_, file_);
        if (fread(bytes, 1, HEADER, file_) < HEADER)
            return false;
        header = Decode(bytes);
        rest_ = header.length;
        return true;
    }
    void Payload(void* to, std::uint32_t length) {
        fread(to, 1, length, file_);
        rest_ = 0;
    }

private:
    FILE* file_;
    std::uint32_t rest_ = 0;
};

class Ifstream {
public:
    explicit Ifstream(const std::string& path)
        : file_(path, std::ios::binary) {
        file_.ignore(FILE_HEADER);
    }
    bool Next(Header& header) {
        unsigned char bytes[HEADER];
        if (rest_)
            file_.ignore(rest_);
        if (!file_.read(reinterpret_cast<char*>(bytes), HEADER))
            return false;
        header = Decode(bytes);
        rest_ = header.length;
        return true;
    }
    void Payload(void* to, std::uint32_t length) {
        file_.read(static_cast<char*>(to), length);
        rest_ = 0;
    }

private:
    std::ifstream file_;
    std::uint32_t rest_ = 0;
};

// The walk over records that lie in memory.
class InMemory {
public:
    bool Next(Header& header) {
        at_ += rest_;
        if (size_ - at_ < HEADER)
            return false;
        header = Decode(start_ + at_);
        at_ += HEADER;
        rest_ = header.length;
        return true;
    }
    void Payload(void* to, std::uint32_t length) {
        std::memcpy(to, start_ + at_, length);
        at_ += length;
        rest_ = 0;
    }

protected:
    unsigned char* start_ = nullptr;
    std::size_t size_ = FILE_HEADER;

private:
    std::size_t at_ = FILE_HEADER;
    std::uint32_t rest_ = 0;
};

// Limit: the whole file mapped.
class Mapped : public InMemory {
public:
    explicit Mapped(const std::string& path)
        : file_(open(path.c_str(), O_RDONLY)) {
        struct stat status;
        fstat(file_, &status);
        size_ = status.st_size;
        start_ = static_cast<unsigned char*>(mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file_, 0));
    }
    ~Mapped() {
        munmap(start_, size_);
        close(file_);
    }

private:
    int file_;
};

// Limit: read() in blocks of 8 MiB, the tail of a block moved before the next.
class Blocks {
public:
    explicit Blocks(const std::string& path)
        : file_(open(path.c_str(), O_RDONLY))
        , block_(static_cast<unsigned char*>(malloc(BLOCK + MAX_PAYLOAD + HEADER))) {
        struct stat status;
        fstat(file_, &status);
        fill();
        at_ += FILE_HEADER;
    }
    ~Blocks() {
        free(block_);
        close(file_);
    }
    bool Next(Header& header) {
        at_ += rest_;
        if (end_ - at_ < HEADER + MAX_PAYLOAD)
            fill();
        if (end_ - at_ < HEADER)
            return false;
        header = Decode(block_ + at_);
        at_ += HEADER;
        rest_ = header.length;
        return true;
    }
    void Payload(void* to, std::uint32_t length) {
        std::memcpy(to, block_ + at_, length);
        at_ += length;
        rest_ = 0;
    }

private:
    void fill() {
        std::memmove(block_, block_ + at_, end_ - at_);
        end_ -= at_;
        at_ = 0;
        const ssize_t count = read(file_, block_ + end_, BLOCK);
        end_ += count > 0 ? count : 0;
    }
    int file_;
    unsigned char* block_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::uint32_t rest_ = 0;
};

// Limit: nothing but the calls to the system that opening, reading and closing a small file costs when other
// programs are to see how it is used: who it is, the marks, a look for those of others, its bytes, its end.
class Calls : public InMemory {
public:
    explicit Calls(const std::string& path)
        : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        struct stat status;
        fstat(file_, &status);
        struct flock marks = {};
        marks.l_type = F_RDLCK;
        marks.l_whence = SEEK_SET;
        marks.l_start = BEHIND_ALL;
        marks.l_len = 3;
        fcntl(file_, F_OFD_SETLK, &marks);
        marks.l_type = F_WRLCK;
        marks.l_len = 6;
        fcntl(file_, F_OFD_GETLK, &marks);
        const ssize_t count = pread(file_, bytes_, sizeof bytes_, 0);
        if (count > 0)
            size_ = static_cast<std::size_t>(count);
        start_ = bytes_;
    }
    ~Calls() { close(file_); }
    bool Next(Header& header) {
        if (InMemory::Next(header))
            return true;
        lseek(file_, 0, SEEK_END);
        return false;
    }

private:
    static constexpr off_t BEHIND_ALL = 0x7fffffffffffff00;
    int file_;
    unsigned char bytes_[FILE_HEADER + FEW * (HEADER + MAX_PAYLOAD)];
};

template <class Reader>
auto PathFor(int count) {
    if constexpr (std::is_same_v<Reader, Ours>)
        return Wide(FileOf(count)); // what the class takes; the peers take 8-bit paths
    else
        return FileOf(count);
}

template <class Reader>
void ScanHeaders(benchmark::State& state) {
    const auto path = PathFor<Reader>(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Reader reader(path);
        Header header;
        std::uint64_t sum = 0;
        while (reader.Next(header))
            sum += header.length;
        Keep(sum);
    }
}

template <class Reader>
void ReadPayloads(benchmark::State& state) {
    const auto path = PathFor<Reader>(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Reader reader(path);
        Header header;
        unsigned char payload[MAX_PAYLOAD + 1] = {};
        std::uint64_t sum = 0;
        while (reader.Next(header)) {
            reader.Payload(payload, header.length);
            sum += payload[header.length / 2];
        }
        Keep(sum);
    }
}

// Every payload into a malloc block of its length, as ReadNextRecord hands them out.
template <class Reader>
void PayloadsIntoBlocks(benchmark::State& state) {
    const auto path = PathFor<Reader>(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Reader reader(path);
        Header header;
        std::uint64_t sum = 0;
        while (reader.Next(header)) {
            unsigned char* block = static_cast<unsigned char*>(malloc(header.length));
            reader.Payload(block, header.length);
            sum += header.length ? block[header.length / 2] : 0;
            free(block);
        }
        Keep(sum);
    }
}

void PayloadsIntoBlocksOurs(benchmark::State& state) {
    const std::wstring path = Wide(FileOf(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        TSerializer* file = TSerializer::Open(path.c_str(), 0, 0);
        short w;
        file->GetHeader(w, w, w, w);
        SER_RECORDHEADER header;
        void* block = nullptr;
        std::uint64_t sum = 0;
        while (file->ReadNextRecord(header, block, nullptr, -1, nullptr) == 0) {
            sum += header.dwLongitud ? static_cast<unsigned char*>(block)[header.dwLongitud / 2] : 0;
            free(block);
            block = nullptr;
        }
        TSerializer::Close(file);
        Keep(sum);
    }
}

// The last record by its identifier, siblings stepped over with what is below them.
template <class Reader>
void FindLast(benchmark::State& state) {
    const auto path = PathFor<Reader>(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Reader reader(path);
        Header header;
        std::uint64_t sum = 0;
        bool more = reader.Next(header);
        while (more && header.id != LAST_ID) {
            const std::int16_t limit = header.level;
            do
                more = reader.Next(header);
            while (more && header.level > limit);
        }
        if (more) {
            unsigned char* block = static_cast<unsigned char*>(malloc(header.length));
            reader.Payload(block, header.length);
            sum += header.length;
            free(block);
        }
        Keep(sum);
    }
}

void FindLastOurs(benchmark::State& state) {
    const std::wstring path = Wide(FileOf(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        unsigned long length = 0;
        void* block = TSerializer::GetRegistre(path.c_str(), LAST_ID, length, nullptr);
        Keep(length);
        free(block);
    }
}

// ---- Writing

void Write(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    Records& records = RecordsOf(count);
    const std::string path = NarrowPath(count, "write");
    const std::wstring wide = Wide(path);
    for (auto _ : state)
        WriteOurs(wide, records);
    unlink(path.c_str());
}

template <class Writer>
void WriteWith(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    Records& records = RecordsOf(count);
    const std::string path = NarrowPath(count, "write");
    for (auto _ : state) {
        Writer writer(path);
        unsigned char bytes[FILE_HEADER] = {};
        writer.Put(bytes, FILE_HEADER);
        for (const Header& header : records.headers()) {
            Encode(bytes, header);
            writer.Put(bytes, HEADER);
            writer.Put(records.payload(), header.length);
        }
    }
    unlink(path.c_str());
}

class StdioWriter {
public:
    explicit StdioWriter(const std::string& path)
        : file_(fopen(path.c_str(), "wb")) {}
    ~StdioWriter() { fclose(file_); }
    void Put(const void* from, std::size_t size) { fwrite(from, 1, size, file_); }

private:
    FILE* file_;
};

class OfstreamWriter {
public:
    explicit OfstreamWriter(const std::string& path)
        : file_(path, std::ios::binary) {}
    void Put(const void* from, std::size_t size) { file_.write(static_cast<const char*>(from), size); }

private:
    std::ofstream file_;
};

class ProtobufWriter {
public:
    explicit ProtobufWriter(const std::string& path)
        : file_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666))
        , stream_(std::make_unique<pb::FileOutputStream>(file_))
        , coded_(std::make_unique<pb::CodedOutputStream>(stream_.get())) {}
    ~ProtobufWriter() {
        coded_.reset();
        stream_.reset();
        close(file_);
    }
    void Put(const void* from, std::size_t size) { coded_->WriteRaw(from, static_cast<int>(size)); }

private:
    int file_;
    std::unique_ptr<pb::FileOutputStream> stream_;
    std::unique_ptr<pb::CodedOutputStream> coded_;
};

class BoostWriter {
public:
    explicit BoostWriter(const std::string& path)
        : file_(path, std::ios::binary)
        , archive_(file_, boost::archive::no_header | boost::archive::no_codecvt) {}
    void Put(const void* from, std::size_t size) { archive_.save_binary(from, size); }

private:
    std::ofstream file_;
    boost::archive::binary_oarchive archive_;
};

// Limit: memory copies and write() in blocks of 8 MiB.
class BlockWriter {
public:
    explicit BlockWriter(const std::string& path)
        : file_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666))
        , block_(static_cast<unsigned char*>(malloc(BLOCK))) {}
    ~BlockWriter() {
        flush();
        free(block_);
        close(file_);
    }
    void Put(const void* from, std::size_t size) {
        if (BLOCK - used_ < size)
            flush();
        std::memcpy(block_ + used_, from, size);
        used_ += size;
    }

private:
    void flush() {
        if (write(file_, block_, used_) < 0)
            abort();
        used_ = 0;
    }
    int file_;
    unsigned char* block_;
    std::size_t used_ = 0;
};

class BoostReader {
public:
    explicit BoostReader(const std::string& path)
        : file_(path, std::ios::binary)
        , archive_(file_, boost::archive::no_header | boost::archive::no_codecvt) {
        unsigned char bytes[FILE_HEADER];
        archive_.load_binary(bytes, FILE_HEADER);
    }
    bool Next(Header& header) {
        unsigned char bytes[MAX_PAYLOAD + 1];
        if (rest_)
            archive_.load_binary(bytes, rest_);
        rest_ = 0;
        if (file_.peek() == EOF)
            return false;
        archive_.load_binary(bytes, HEADER);
        header = Decode(bytes);
        rest_ = header.length;
        return true;
    }
    void Payload(void* to, std::uint32_t length) {
        archive_.load_binary(to, length);
        rest_ = 0;
    }

private:
    std::ifstream file_;
    boost::archive::binary_iarchive archive_;
    std::uint32_t rest_ = 0;
};

#define PEERS_AND_LIMITS(job, name, size)                                                                    \
    BENCHMARK_TEMPLATE(job, Protobuf)->Name("records/" name "/peer-protobuf")->Arg(size);                    \
    BENCHMARK_TEMPLATE(job, Stdio)->Name("records/" name "/peer-fread")->Arg(size);                          \
    BENCHMARK_TEMPLATE(job, Ifstream)->Name("records/" name "/peer-ifstream")->Arg(size);                    \
    BENCHMARK_TEMPLATE(job, BoostReader)->Name("records/" name "/peer-boost")->Arg(size);                    \
    BENCHMARK_TEMPLATE(job, Mapped)->Name("records/" name "/limit-mmap")->Arg(size);                         \
    BENCHMARK_TEMPLATE(job, Blocks)->Name("records/" name "/limit-read")->Arg(size)

BENCHMARK_TEMPLATE(ScanHeaders, Ours)->Name("records/scan/ours")->Arg(SOME)->Arg(MANY);
PEERS_AND_LIMITS(ScanHeaders, "scan", MANY);
BENCHMARK(FindLastOurs)->Name("records/find-last/ours")->Arg(SOME)->Arg(MANY);
PEERS_AND_LIMITS(FindLast, "find-last", MANY);
BENCHMARK_TEMPLATE(ReadPayloads, Ours)->Name("records/payloads/ours")->Arg(SOME)->Arg(MANY);
PEERS_AND_LIMITS(ReadPayloads, "payloads", MANY);
BENCHMARK(PayloadsIntoBlocksOurs)->Name("records/blocks/ours")->Arg(SOME)->Arg(MANY);
PEERS_AND_LIMITS(PayloadsIntoBlocks, "blocks", MANY);
BENCHMARK_TEMPLATE(ReadPayloads, Ours)->Name("records/open-read-close/ours")->Arg(FEW);
PEERS_AND_LIMITS(ReadPayloads, "open-read-close", FEW);
BENCHMARK_TEMPLATE(ReadPayloads, Calls)->Name("records/open-read-close/limit-calls")->Arg(FEW);

BENCHMARK(Write)->Name("records/write/ours")->Arg(SOME)->Arg(MANY);
BENCHMARK_TEMPLATE(WriteWith, ProtobufWriter)->Name("records/write/peer-protobuf")->Arg(MANY);
BENCHMARK_TEMPLATE(WriteWith, StdioWriter)->Name("records/write/peer-fwrite")->Arg(MANY);
BENCHMARK_TEMPLATE(WriteWith, OfstreamWriter)->Name("records/write/peer-ofstream")->Arg(MANY);
BENCHMARK_TEMPLATE(WriteWith, BoostWriter)->Name("records/write/peer-boost")->Arg(MANY);
BENCHMARK_TEMPLATE(WriteWith, BlockWriter)->Name("records/write/limit-blocks")->Arg(MANY);

} // namespace
