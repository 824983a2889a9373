// What the tests of record files share: bytes of records, files in memory and files that fail.
#pragma once

#include <gtest/gtest.h>

#include "TSerializer.h"

#include <initializer_list>
#include <string>

// Bytes from hexadecimal digits; anything else is skipped.
inline std::string Hex(const char* digits) {
    std::string bytes;
    int high = -1;
    for (; *digits; ++digits) {
        const char c = *digits;
        int value = -1;
        if (c >= '0' && c <= '9')
            value = c - '0';
        else if (c >= 'a' && c <= 'f')
            value = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            value = c - 'A' + 10;
        if (value < 0)
            continue;
        if (high < 0) {
            high = value;
        } else {
            bytes.push_back(static_cast<char>(high * 16 + value));
            high = -1;
        }
    }
    return bytes;
}

inline void Append16(std::string& bytes, int value) {
    bytes.push_back(static_cast<char>(value & 0xFF));
    bytes.push_back(static_cast<char>(value >> 8 & 0xFF));
}

inline void Append32(std::string& bytes, unsigned long value) {
    Append16(bytes, static_cast<int>(value & 0xFFFF));
    Append16(bytes, static_cast<int>(value >> 16 & 0xFFFF));
}

// A record file put together by hand, independently of the code under test.
class Image {
public:
    explicit Image(int w1 = 1, int w2 = 2, int w3 = 3, int w4 = 4) {
        for (int word : {w1, w2, w3, w4})
            Append16(m_bytes, word);
        m_bytes += Hex("5D C3 27 E1 4A B6 71 0F D8 36");
    }
    Image& Record(unsigned long id, int level, const std::string& payload) {
        return Header(id, level, static_cast<unsigned long>(payload.size())).Raw(payload);
    }
    // A record's header alone, with any length.
    Image& Header(unsigned long id, int level, unsigned long length) {
        Append32(m_bytes, id);
        Append32(m_bytes, length);
        Append16(m_bytes, level);
        return *this;
    }
    Image& Raw(const std::string& bytes) {
        m_bytes += bytes;
        return *this;
    }
    Image& SetByte(std::size_t at, int value) {
        m_bytes.at(at) = static_cast<char>(value);
        return *this;
    }
    Image& CutTo(std::size_t size) {
        m_bytes.resize(size);
        return *this;
    }
    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

// A file in memory that holds `bytes` and stands at its beginning. From the chosen call on, every call of one
// kind throws a CFileException.
class MemoryFile : public CMemFile {
public:
    explicit MemoryFile(const std::string& bytes = {}) {
        if (!bytes.empty())
            CMemFile::Write(bytes.data(), static_cast<UINT>(bytes.size()));
        CMemFile::Seek(0, begin);
    }

    // 1: the next call fails; 0: none.
    int failRead = 0, failWrite = 0, failSeek = 0, failClose = 0;
    mutable int failLength = 0, failPosition = 0;
    bool* deleted = nullptr;

    ~MemoryFile() override {
        if (deleted)
            *deleted = true;
    }
    UINT Read(void* to, UINT count) override {
        step(failRead);
        return CMemFile::Read(to, count);
    }
    void Write(const void* from, UINT count) override {
        step(failWrite);
        CMemFile::Write(from, count);
    }
    ULONGLONG Seek(LONGLONG offset, UINT from) override {
        step(failSeek);
        return CMemFile::Seek(offset, from);
    }
    ULONGLONG GetLength() const override {
        step(failLength);
        return CMemFile::GetLength();
    }
    ULONGLONG GetPosition() const override {
        step(failPosition);
        return CMemFile::GetPosition();
    }
    void Close() override {
        step(failClose);
        CMemFile::Close();
    }
    std::string Bytes() {
        std::string bytes(static_cast<std::size_t>(CMemFile::GetLength()), '\0');
        const ULONGLONG position = CMemFile::GetPosition();
        CMemFile::Seek(0, begin);
        CMemFile::Read(bytes.data(), static_cast<UINT>(bytes.size()));
        CMemFile::Seek(static_cast<LONGLONG>(position), begin);
        return bytes;
    }

private:
    static void step(int& countdown) {
        if (countdown == 1)
            AfxThrowFileException(CFileException::hardIO, 23, L"broken.rec");
        if (countdown > 1)
            --countdown;
    }
};

// Runs `operation` and answers the cause of the CFileException that it threw; -1 when it threw none.
template <class Operation>
int FileExceptionOf(Operation operation) {
    try {
        operation();
    } catch (CFileException* error) {
        const int cause = error->m_cause;
        error->Delete();
        return cause;
    }
    return -1;
}
