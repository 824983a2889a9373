// Data blocks put together by hand, independently of the code under test.
#pragma once

#include "TBlocOpcions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

constexpr unsigned char KIND_INT = 0, KIND_REAL = 1, KIND_NARROW = 2, KIND_BLOCK = 3, KIND_BINARY = 4,
                        KIND_TEXT = 5;

class BlockBytes {
public:
    BlockBytes& Int(const std::string& name, std::int32_t value) {
        return head(name, KIND_INT).number(static_cast<std::uint32_t>(value), 4);
    }
    BlockBytes& Real(const std::string& name, double value) {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return head(name, KIND_REAL).number(bits, 8);
    }
    BlockBytes& Narrow(const std::string& name, const std::string& text) {
        return head(name, KIND_NARROW).number(text.size(), 2).Raw(text);
    }
    BlockBytes& Block(const std::string& name, const std::string& block) {
        return head(name, KIND_BLOCK).number(block.size(), 4).Raw(block);
    }
    BlockBytes& Binary(const std::string& name, const std::string& bytes) {
        return head(name, KIND_BINARY).number(bytes.size(), 4).Raw(bytes);
    }
    BlockBytes& Text(const std::string& name, const std::u16string& text) {
        head(name, KIND_TEXT).number(2 * text.size(), 2);
        for (char16_t unit : text)
            number(unit, 2);
        return *this;
    }
    // A name and a kind; the value is the caller's affair.
    BlockBytes& head(const std::string& name, unsigned char kind) {
        return number(name.size(), 2).Raw(name).number(kind, 1);
    }
    BlockBytes& number(std::uint64_t value, int size) {
        for (; size > 0; --size, value >>= 8)
            m_bytes.push_back(static_cast<char>(value & 0xFF));
        return *this;
    }
    BlockBytes& Raw(const std::string& bytes) {
        m_bytes += bytes;
        return *this;
    }
    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes = "DRIVER-BLOC";
};

inline std::string DataOf(const TBlocOpcions& block) {
    unsigned int size = 77;
    unsigned char* bytes = block.ToBlocDades(size);
    EXPECT_NE(bytes, nullptr);
    std::string data(reinterpret_cast<char*>(bytes), size);
    std::free(bytes);
    return data;
}

inline int Load(TBlocOpcions& block, const std::string& bytes, int append = 0) {
    // A block of memory of exactly that size, so that reading past its end is seen.
    const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
    return block.FromBlocDades(exact.data(), static_cast<unsigned>(exact.size()), append);
}

inline std::vector<std::wstring> NamesOf(const TBlocOpcions& block) {
    std::vector<std::wstring> names;
    CString name;
    ITEMBLOCOPCIONS item;
    for (POSITION pos = block.GetPrimer(); pos;) {
        block.GetSeguent(pos, name, item);
        names.emplace_back(name.GetString());
    }
    return names;
}

inline std::wstring TextOf(const ITEMBLOCOPCIONS& item) {
    return item.pDades ? std::wstring(static_cast<const wchar_t*>(item.pDades)) : L"(null)";
}

inline std::string BytesOf(const ITEMBLOCOPCIONS& item) {
    return std::string(static_cast<const char*>(item.pDades), item.dwMida);
}

using Names = std::vector<std::wstring>;
