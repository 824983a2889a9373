// The walk through a record file, by every kind of file, beside a plain model of it.
//
// Input: a byte with the number of operations (bits 0 to 4) and whether a valid file header comes before the
// rest (bit 7); a byte for each operation (3 bits say which, 5 are its argument); then the file.
#include "CFileBuffer.h"
#include "TSerializer.h"

#include "recipe.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t HEADER[] = {1,    0,    0,    0,    0,    0,    0,    0,    0x5D,
                                   0xC3, 0x27, 0xE1, 0x4A, 0xB6, 0x71, 0x0F, 0xD8, 0x36};
constexpr std::uint32_t ALL = 0xFFFFFFFF;

struct Record {
    std::uint32_t id = 0;
    std::uint32_t length = 0;
    std::int16_t level = 0;
};

void Put(std::string& trace, long value) {
    trace += std::to_string(value) + ' ';
}

void Put(std::string& trace, const Record& record) {
    trace += std::to_string(record.id) + '/' + std::to_string(record.length) + '/' +
             std::to_string(record.level) + ' ';
}

// The walk step by step over bytes in memory.
class Model {
public:
    explicit Model(const Bytes& bytes)
        : bytes_(bytes) {}

    int Header() {
        std::uint8_t header[18];
        if (!read(header, 18))
            return -7;
        if (std::memcmp(header + 8, HEADER + 8, 10) != 0)
            return -16103;
        for (int i = 1; i < 8; i += 2)
            if (header[i] & 0x80)
                return -16103;
        return 0;
    }
    bool Next(Record& record, int level) {
        if (pending_) {
            pending_ = false;
        } else {
            if (used_ < now_.length) {
                at_ += now_.length - used_;
                used_ = now_.length;
            }
            std::uint8_t h[10];
            if (!read(h, 10))
                return false;
            now_.id = h[0] | h[1] << 8 | h[2] << 16 | static_cast<std::uint32_t>(h[3]) << 24;
            now_.length = h[4] | h[5] << 8 | h[6] << 16 | static_cast<std::uint32_t>(h[7]) << 24;
            now_.level = static_cast<std::int16_t>(h[8] | h[9] << 8);
            used_ = 0;
        }
        record = now_;
        if (level >= 0 && now_.level != level) {
            pending_ = true;
            return false;
        }
        return true;
    }
    void Skip(int level) {
        const int limit = level < 0 ? now_.level : level;
        Record record;
        while (Next(record, -1))
            if (record.level <= limit) {
                pending_ = true;
                break;
            }
    }
    bool Read(Bytes& to, std::uint32_t size) {
        if (size == ALL)
            size = used_ < now_.length ? now_.length - used_ : 0;
        const std::uint64_t left = at_ < bytes_.size() ? bytes_.size() - at_ : 0;
        if (left < size) {
            at_ = size ? std::max<std::uint64_t>(at_, bytes_.size()) : at_;
            return false;
        }
        to.assign(bytes_.begin() + static_cast<std::ptrdiff_t>(at_ < bytes_.size() ? at_ : bytes_.size()),
                  bytes_.begin() +
                      static_cast<std::ptrdiff_t>((at_ < bytes_.size() ? at_ : bytes_.size()) + size));
        at_ += size;
        used_ += size;
        return true;
    }
    void HandBack() { pending_ = true; }
    bool Rest() const { return used_ < now_.length; }
    const Record& Now() const { return now_; }
    std::uint32_t RestSize() const { return Rest() ? now_.length - used_ : 0; }

private:
    bool read(std::uint8_t* to, std::size_t count) {
        const std::uint64_t left = at_ < bytes_.size() ? bytes_.size() - at_ : 0;
        const std::size_t got = left < count ? static_cast<std::size_t>(left) : count;
        if (got)
            std::memcpy(to, bytes_.data() + at_, got);
        at_ += got;
        return got == count;
    }
    const Bytes& bytes_;
    std::uint64_t at_ = 0;
    Record now_;
    bool pending_ = false;
    std::uint32_t used_ = 0;
};

enum Operation { NEXT, NEXT_AT, SKIP, SKIP_TO, READ, READ_NEXT, READ_NEXT_SHORT, READ_ID };

// What the operations give, by the model; it ends at a payload that is not there, where memory decides the
// code.
std::string Expected(const Bytes& operations, const Bytes& bytes) {
    std::string trace;
    Model model(bytes);
    const int header = model.Header();
    Put(trace, header);
    if (header < 0)
        return trace;
    for (std::uint8_t operation : operations) {
        const int argument = operation >> 3;
        Record record;
        Bytes data;
        switch (operation & 7) {
        case NEXT:
        case NEXT_AT: {
            const bool found = model.Next(record, (operation & 7) == NEXT ? -1 : argument);
            Put(trace, found);
            if (found)
                Put(trace, record);
            break;
        }
        case SKIP:
        case SKIP_TO:
            model.Skip((operation & 7) == SKIP ? -1 : argument);
            Put(trace, 1);
            break;
        case READ:
            if (argument == 31 && model.RestSize() > 0x10000)
                break;
            Put(trace, model.Read(data, argument == 31 ? ALL : static_cast<std::uint32_t>(argument)));
            break;
        case READ_NEXT:
            if (!model.Next(record, -1)) {
                Put(trace, -17);
            } else if (model.Read(data, record.length)) {
                Put(trace, 0);
                Put(trace, record);
            } else {
                return trace + "no payload";
            }
            break;
        case READ_NEXT_SHORT: {
            if (!model.Next(record, -1)) {
                Put(trace, -17);
            } else if (record.id != static_cast<std::uint32_t>(argument)) {
                model.HandBack();
                Put(trace, -9);
            } else if (const std::uint32_t size = std::min<std::uint32_t>(8, record.length);
                       size && !model.Read(data, size)) {
                Put(trace, -7);
            } else {
                Put(trace, model.Rest() ? 4 : 0);
                Put(trace, static_cast<long>(size));
            }
            break;
        }
        default:
            if (!model.Next(record, -1)) {
                Put(trace, -17);
            } else if (record.id != static_cast<std::uint32_t>(argument)) {
                model.HandBack();
                Put(trace, -9);
            } else if (record.length && !model.Read(data, record.length)) {
                return trace + "no payload";
            } else {
                Put(trace, 0);
            }
        }
        for (std::uint8_t byte : data)
            trace += static_cast<char>('a' + byte % 26);
    }
    return trace;
}

class Serializer : public TSerializer {
public:
    using TSerializer::TSerializer;
    std::uint32_t Rest() const {
        return m_dwLlegits < m_capcalera.dwLongitud ? m_capcalera.dwLongitud - m_dwLlegits : 0;
    }
};

// The same by the library.
std::string Actual(const Bytes& operations, CFile& file) {
    std::string trace;
    Serializer serializer(&file);
    short w[4];
    const int header = serializer.GetHeader(w[0], w[1], w[2], w[3]);
    Put(trace, header);
    if (header < 0)
        return trace;
    const auto take = [](const SER_RECORDHEADER& h) { return Record{h.dwId, h.dwLongitud, h.nNivell}; };
    for (std::uint8_t operation : operations) {
        const int argument = operation >> 3;
        SER_RECORDHEADER h = {};
        Bytes data;
        switch (operation & 7) {
        case NEXT:
        case NEXT_AT: {
            const int found = serializer.NextRecord(
                h, static_cast<short>((operation & 7) == NEXT ? -1 : argument), nullptr);
            Put(trace, found);
            if (found)
                Put(trace, take(h));
            break;
        }
        case SKIP:
        case SKIP_TO:
            Put(trace,
                serializer.SkipRecord(static_cast<short>((operation & 7) == SKIP ? -1 : argument), nullptr));
            break;
        case READ: {
            // The rest may be as long as a header says.
            const std::uint32_t size =
                argument == 31 ? serializer.Rest() : static_cast<std::uint32_t>(argument);
            if (argument == 31 && size > 0x10000)
                break;
            data.resize(size);
            const int read = serializer.ReadRecord(
                data.data(), argument == 31 ? ALL : static_cast<unsigned long>(size), nullptr);
            Put(trace, read);
            if (!read)
                data.clear();
            break;
        }
        case READ_NEXT: {
            void* block = nullptr;
            unsigned long length = 0;
            int code;
            try {
                code = serializer.ReadNextRecord(h, block, &length, -1, nullptr);
            } catch (CMemoryException* error) {
                error->Delete();
                code = -7;
            }
            if (code == -7)
                return trace + "no payload";
            Put(trace, code);
            if (code == 0) {
                Put(trace, take(h));
                data.assign(static_cast<std::uint8_t*>(block), static_cast<std::uint8_t*>(block) + length);
            }
            std::free(block);
            break;
        }
        case READ_NEXT_SHORT: {
            std::uint8_t buffer[8];
            unsigned long length = 0;
            const int code = serializer.ReadNextRecord(static_cast<unsigned long>(argument), buffer,
                                                       sizeof buffer, &length, -1, nullptr);
            Put(trace, code);
            if (code >= 0) {
                Put(trace, static_cast<long>(length));
                data.assign(buffer, buffer + length);
            }
            break;
        }
        default: {
            void* block = nullptr;
            unsigned long length = 0;
            const int code =
                serializer.ReadNextRecord(static_cast<unsigned long>(argument), block, &length, -1, nullptr);
            if (code == -7 || code == -1)
                return trace + "no payload";
            Put(trace, code);
            if (code == 0)
                data.assign(static_cast<std::uint8_t*>(block), static_cast<std::uint8_t*>(block) + length);
            std::free(block);
        }
        }
        for (std::uint8_t byte : data)
            trace += static_cast<char>('a' + byte % 26);
    }
    return trace;
}

// The search, with its code and payload; "no payload" where memory decides the code.
std::string Search(CFile& file, unsigned long id) {
    void* block = nullptr;
    unsigned long length = 0;
    const int code = TSerializer::GetRegistre(&file, id, block, length, nullptr);
    if (code == -7 || code == -1)
        return "no payload";
    std::string trace;
    Put(trace, code);
    if (code == 0 && block)
        trace.append(static_cast<char*>(block), length);
    std::free(block);
    return trace;
}

// Whether the file has a payload that reaches beyond its end. A search that finds one gives up its block,
// which would fill the memory run by run.
bool Overhangs(const Bytes& bytes) {
    Model model(bytes);
    if (model.Header() < 0)
        return false;
    Record record;
    std::uint64_t at = 18;
    while (model.Next(record, -1)) {
        at += 10 + static_cast<std::uint64_t>(record.length);
        if (at > bytes.size())
            return true;
    }
    return false;
}

const std::string& FileName() {
    struct Name {
        std::string text = (std::filesystem::temp_directory_path() / "mvlib62-fuzz-records-").string();
        Name() {
            // Several may run at once; the address of a local differs from process to process.
            const int local = 0;
            text += std::to_string(reinterpret_cast<std::uintptr_t>(&local) ^
                                   static_cast<std::uintptr_t>(std::rand()));
            if (std::filesystem::exists("/dev/shm"))
                text = "/dev/shm/" + std::filesystem::path(text).filename().string();
        }
        ~Name() { std::remove(text.c_str()); }
    };
    static const Name name;
    return name.text;
}

[[noreturn]] void Differ(const char* file, const std::string& expected, const std::string& actual) {
    std::fprintf(stderr, "%s differs\nexpected %s\n     got %s\n", file, expected.c_str(), actual.c_str());
    std::abort();
}

void Compare(const char* name, const Bytes& operations, CFile& file, const std::string& expected) {
    const std::string actual = Actual(operations, file);
    if (actual != expected)
        Differ(name, expected, actual);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input = BytesOfRecipe(data, size);
    if (input.empty())
        return 0;
    const std::size_t count = std::min<std::size_t>(input[0] & 31, input.size() - 1);
    const auto start = input.begin() + 1;
    const Bytes operations(start, start + static_cast<std::ptrdiff_t>(count));
    Bytes bytes;
    if (input[0] & 0x80)
        bytes.assign(HEADER, HEADER + sizeof HEADER);
    bytes.insert(bytes.end(), start + static_cast<std::ptrdiff_t>(count), input.end());
    const std::string expected = Expected(operations, bytes);
    const unsigned long id = operations.empty() ? 0 : operations[0];

    CMemFile memory;
    if (!bytes.empty())
        memory.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    memory.SeekToBegin();
    Compare("CMemFile", operations, memory, expected);

    std::FILE* written = std::fopen(FileName().c_str(), "wb");
    if (!written || (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), written) != bytes.size()))
        std::abort();
    std::fclose(written);
    const std::wstring name(FileName().begin(), FileName().end());
    std::string found;
    if (input[0] & 0x40) {
        CFile file(name.c_str(), CFile::modeRead);
        Compare("CFile", operations, file, expected);
        file.SeekToBegin();
        if (!Overhangs(bytes))
            found = Search(file, id);
    } else {
        CFileBuffer file(name.c_str(), CFile::modeRead, input[0] & 0x20 ? 16 : 0x800000);
        Compare("CFileBuffer", operations, file, expected);
        file.SeekToBegin();
        if (!Overhangs(bytes))
            found = Search(file, id);
    }
    if (!Overhangs(bytes)) {
        memory.SeekToBegin();
        const std::string other = Search(memory, id);
        if (found != other)
            Differ("GetRegistre", other, found);
    }
    return 0;
}
