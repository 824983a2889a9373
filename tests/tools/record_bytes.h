// Builds packed trees byte by byte, right or wrong, independently of the tool's own code.
#pragma once

#include <cstdint>
#include <string>

namespace tooltest {

class RecordBytes {
public:
    /// The file header of a packed tree.
    RecordBytes() { Header(0x524D, 1, 0, 0); }

    RecordBytes& Header(std::uint16_t w1, std::uint16_t w2, std::uint16_t w3, std::uint16_t w4) {
        m_bytes = Number(w1, 2) + Number(w2, 2) + Number(w3, 2) + Number(w4, 2) +
                  "\x5D\xC3\x27\xE1\x4A\xB6\x71\x0F\xD8\x36";
        m_sum = 0;
        return *this;
    }
    RecordBytes& Folder(int level, const std::u16string& name, std::int64_t modified = 0,
                        std::uint32_t flags = 0) {
        ++m_folders;
        return Record("FOLD", level,
                      Number(flags, 4) + Number(static_cast<std::uint64_t>(modified), 8) + Name(name));
    }
    RecordBytes& File(int level, const std::u16string& name, std::uint64_t size, std::int64_t modified = 0,
                      std::uint32_t flags = 0) {
        ++m_files;
        return Record("FILE", level,
                      Number(flags, 4) + Number(static_cast<std::uint64_t>(modified), 8) + Number(size, 8) +
                          Name(name));
    }
    RecordBytes& Data(int level, const std::string& bytes) {
        ++m_pieces;
        m_fileBytes += bytes.size();
        return Record("DATA", level, bytes);
    }
    RecordBytes& End(int level = 0) {
        return Record("END ", level,
                      Number(m_folders, 8) + Number(m_files, 8) + Number(m_pieces, 8) +
                          Number(m_fileBytes, 8));
    }
    /// Any record with a right sum behind its payload.
    RecordBytes& Record(const std::string& id, int level, const std::string& payload) {
        const std::string header =
            id + Number(payload.size() + 4, 4) + Number(static_cast<std::uint16_t>(level), 2);
        m_last = m_bytes.size();
        m_sum = Sum(header + payload, m_sum);
        m_bytes += header + payload + Number(m_sum, 4);
        return *this;
    }
    RecordBytes& Raw(const std::string& bytes) {
        m_last = m_bytes.size();
        m_bytes += bytes;
        return *this;
    }

    const std::string& Bytes() const { return m_bytes; }
    /// Where the last record begins.
    std::size_t Last() const { return m_last; }

    static std::string Number(std::uint64_t value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(i < 8 ? value >> (8 * i) & 0xFF : 0);
        }
        return text;
    }
    static std::string Name(const std::u16string& name) {
        std::string text = Number(name.size(), 2);
        for (const char16_t unit : name) {
            text += Number(unit, 2);
        }
        return text;
    }
    static std::uint32_t Sum(const std::string& bytes, std::uint32_t sum = 0) {
        sum = ~sum;
        for (const char c : bytes) {
            sum ^= static_cast<unsigned char>(c);
            for (int bit = 0; bit < 8; ++bit) {
                sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320 : sum >> 1;
            }
        }
        return ~sum;
    }

private:
    std::string m_bytes;
    std::size_t m_last = 0;
    std::uint32_t m_sum = 0;
    std::uint64_t m_folders = 0;
    std::uint64_t m_files = 0;
    std::uint64_t m_pieces = 0;
    std::uint64_t m_fileBytes = 0;
};

} // namespace tooltest
