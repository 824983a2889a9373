#include "config/data_block.h"

#include "persist/coding.h"
#include "win32.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace datablock {

namespace {

constexpr bool CODE_POINTS = sizeof(wchar_t) > 2; // a wide character may stand for two UTF-16 units

// The UTF-16 units of a wide text, each delivered to `put`.
template <class Put>
void ForEachUnit(const wchar_t* text, std::size_t length, Put put) {
    for (std::size_t i = 0; i < length; ++i) {
        std::uint32_t unit = text[i];
        if constexpr (CODE_POINTS) {
            if (unit > 0xFFFF) {
                unit -= 0x10000;
                put(static_cast<std::uint16_t>(0xD800 + (unit >> 10 & 0x3FF)));
                unit = 0xDC00 + (unit & 0x3FF);
            }
        }
        put(static_cast<std::uint16_t>(unit));
    }
}

std::size_t CountUnits(const wchar_t* text, std::size_t length) {
    std::size_t count = 0;
    ForEachUnit(text, length, [&count](std::uint16_t) { ++count; });
    return count;
}

} // namespace

// ---- Names

WideText::~WideText() {
    if (m_text != m_small)
        std::free(m_text);
}

// Room for `length` characters and a NUL. What was in it is lost.
inline bool WideText::reserve(std::size_t length) {
    if (length < m_capacity)
        return true;
    auto grown = static_cast<wchar_t*>(std::malloc((length + 1) * sizeof(wchar_t)));
    if (!grown)
        return false;
    if (m_text != m_small)
        std::free(m_text);
    m_text = grown;
    m_capacity = length + 1;
    return true;
}

bool WideText::Set(const unsigned char* bytes, unsigned size) {
    if (!reserve(size))
        return false;
    unsigned char all = 0;
    unsigned char slashes = 0;
    for (unsigned i = 0; i < size; ++i) {
        all |= bytes[i];
        slashes |= bytes[i] == '/';
        m_text[i] = bytes[i];
    }
    m_text[size] = 0;
    m_plain = (all & 0x80) == 0 && slashes == 0;
    if (all < 0x80)
        return true;
    const auto narrow = reinterpret_cast<const char*>(bytes);
    const int count = MultiByteToWideChar(CP_THREAD_ACP, 0, narrow, static_cast<int>(size), nullptr, 0);
    if (!reserve(static_cast<std::size_t>(std::max(count, 0))))
        return false;
    m_text[std::max(count, 0)] = 0;
    if (count > 0)
        MultiByteToWideChar(CP_THREAD_ACP, 0, narrow, static_cast<int>(size), m_text, count);
    return true;
}

// ---- Values

long Entry::Integer() const {
    return coding::GetI32(data);
}

double Entry::Real() const {
    return std::bit_cast<double>(coding::GetU64(data));
}

wchar_t* Entry::Text() const {
    if (kind == NARROW_TEXT) {
        WideText wide;
        if (!wide.Set(data, size))
            return nullptr;
        const std::size_t bytes = (std::wcslen(wide.Get()) + 1) * sizeof(wchar_t);
        void* copy = std::malloc(bytes);
        return copy ? static_cast<wchar_t*>(std::memcpy(copy, wide.Get(), bytes)) : nullptr;
    }
    const unsigned units = size / 2; // half a unit at the end counts for nothing
    auto text = static_cast<wchar_t*>(std::malloc((units + std::size_t{1}) * sizeof(wchar_t)));
    if (!text)
        return nullptr;
    std::size_t length = 0;
    for (unsigned i = 0; i < units; ++i) {
        std::uint32_t unit = coding::GetU16(data + 2 * i);
        if (CODE_POINTS && (unit & 0xFC00) == 0xD800 && i + 1 < units) {
            const std::uint32_t low = coding::GetU16(data + 2 * i + 2);
            if ((low & 0xFC00) == 0xDC00) {
                unit = 0x10000 + ((unit & 0x3FF) << 10) + (low & 0x3FF);
                ++i;
            }
        }
        text[length++] = static_cast<wchar_t>(unit);
    }
    text[length] = 0;
    return text;
}

void Entry::Load(ITEMBLOCOPCIONS& item) const {
    switch (kind) {
    case INTEGER:
        item.SetInt32(Integer());
        break;
    case REAL:
        item.SetReal64(Real());
        break;
    case NARROW_TEXT:
    case TEXT: {
        wchar_t* text = Text();
        if (!text)
            AfxThrowMemoryException();
        item.SetDadesBin(text, 0, 0, TEXT);
        break;
    }
    default:
        item.SetDadesBin(const_cast<unsigned char*>(data), size, 1, kind);
    }
}

// ---- Reading

Reader::Reader(const void* data, unsigned size)
    : m_at(static_cast<const unsigned char*>(data))
    , m_rest(data ? size : 0)
    , m_valid(true) {
    if (m_rest == 0)
        return;
    m_valid = m_rest >= SIGNATURE_SIZE && std::memcmp(m_at, SIGNATURE, SIGNATURE_SIZE) == 0;
    if (m_valid) {
        m_at += SIGNATURE_SIZE;
        m_rest -= SIGNATURE_SIZE;
    }
}

int Reader::Next(Entry& entry) {
    if (!m_valid)
        return DAMAGED;
    if (m_rest == 0)
        return 0;
    m_valid = false; // after an error there is no next entry
    if (m_rest < 2)
        return DAMAGED;
    const int nameSize = coding::GetI16(m_at);
    m_at += 2;
    m_rest -= 2;
    if (nameSize <= 0 || m_rest < static_cast<unsigned>(nameSize))
        return DAMAGED;
    entry.name = m_at;
    entry.nameSize = static_cast<unsigned>(nameSize);
    m_at += nameSize;
    m_rest -= static_cast<unsigned>(nameSize);
    if (m_rest < 1)
        return DAMAGED;
    entry.kind = *m_at++;
    --m_rest;
    unsigned countSize = 0;
    switch (entry.kind) {
    case INTEGER:
        entry.size = 4;
        break;
    case REAL:
        entry.size = 8;
        break;
    case NARROW_TEXT:
    case TEXT: {
        countSize = 2;
        if (m_rest < countSize)
            return DAMAGED;
        const int count = coding::GetI16(m_at);
        if (count < 0)
            return DAMAGED;
        entry.size = static_cast<unsigned>(count);
        break;
    }
    case SUB_BLOCK:
    case BINARY:
        countSize = 4;
        if (m_rest < countSize)
            return DAMAGED;
        entry.size = coding::GetU32(m_at);
        break;
    default:
        return UNKNOWN_KIND;
    }
    m_at += countSize;
    m_rest -= countSize;
    if (m_rest < entry.size)
        return DAMAGED;
    entry.data = m_at;
    m_at += entry.size;
    m_rest -= entry.size;
    m_valid = true;
    return 1;
}

// ---- Writing

[[gnu::noinline]] bool Writer::grow(std::size_t count) {
    unsigned char* grown = nullptr;
    std::size_t capacity = 0;
    if (!m_failed && count <= SIZE_MAX / 2 - m_size) {
        capacity = std::max({m_size + count, m_capacity + m_capacity / 2, std::size_t{512}});
        grown = static_cast<unsigned char*>(std::realloc(m_block, capacity));
    }
    if (!grown) {
        m_failed = true;
        m_capacity = m_size; // nothing more fits, ever
        return false;
    }
    m_block = grown;
    m_capacity = capacity;
    return true;
}

// Room for `count` bytes at the end; null, now and ever after, when there is none.
inline unsigned char* Writer::reserve(std::size_t count) {
    if (m_capacity - m_size < count && !grow(count))
        return nullptr;
    unsigned char* at = m_block + m_size;
    m_size += count;
    return at;
}

Writer::Writer() {
    if (unsigned char* at = reserve(SIGNATURE_SIZE))
        std::memcpy(at, SIGNATURE, SIGNATURE_SIZE);
}

Writer::~Writer() {
    std::free(m_block);
}

void Writer::Add(const CString& name, const ITEMBLOCOPCIONS& item) {
    // No kind of the written form stands for these.
    if (item.nTipus < NONE || item.nTipus == NARROW_TEXT || item.nTipus > TEXT)
        return;
    addName(name, static_cast<std::size_t>(name.GetLength()));
    unsigned char* at = reserve(1);
    if (!at)
        return;
    *at = static_cast<unsigned char>(item.nTipus); // Kept: kind -1 is written as 0xFF, which no reader takes
    switch (item.nTipus) {
    case INTEGER:
        if ((at = reserve(4)))
            coding::PutI32(at, static_cast<std::int32_t>(item.lValor));
        break;
    case REAL:
        if ((at = reserve(8)))
            coding::PutU64(at, std::bit_cast<std::uint64_t>(item.dValor));
        break;
    case SUB_BLOCK:
    case BINARY:
        addBytes(item.pDades, item.dwMida);
        break;
    case TEXT:
        addText(static_cast<const wchar_t*>(item.pDades));
        break;
    default:
        break;
    }
}

unsigned char* Writer::Detach(unsigned& size) {
    size = 0;
    if (m_failed || m_size > UINT_MAX)
        return nullptr;
    // What is left over goes back where it is worth the trouble. Failing to do that matters to nobody.
    void* fitting = m_capacity - m_size > 512 ? std::realloc(m_block, m_size) : nullptr;
    auto block = fitting ? static_cast<unsigned char*>(fitting) : m_block;
    m_block = nullptr;
    size = static_cast<unsigned>(m_size);
    return block;
}

// As many bytes as the name has UTF-16 units, even where its conversion has more or fewer.
void Writer::addName(const wchar_t* text, std::size_t length) {
    // Nearly every name is short and ASCII.
    if (unsigned char* at = reserve(2 + length)) {
        coding::PutU16(at, static_cast<std::uint16_t>(length));
        std::uint32_t all = 0;
        for (std::size_t i = 0; i < length; ++i) {
            all |= static_cast<std::uint32_t>(text[i]);
            at[2 + i] = static_cast<unsigned char>(text[i]);
        }
        if (all < 0x80 && length <= 0xFFFF)
            return;
        m_size -= 2 + length;
    }
    const std::size_t units = CountUnits(text, length);
    const std::size_t count = units & 0xFFFF;
    unsigned char* at = reserve(2 + count);
    if (!at)
        return;
    coding::PutU16(at, static_cast<std::uint16_t>(count));
    at += 2;
    std::memset(at, 0, count);
    // In a page of single bytes each unit of a pair becomes a substitute of its own.
    CString apart;
    if (units != length && GetACP() != CP_UTF8) {
        ForEachUnit(text, length, [&apart](std::uint16_t unit) { apart.AppendChar(unit); });
        text = apart;
    }
    const int source = static_cast<int>(text == apart.GetString() ? units : length);
    const int size = WideCharToMultiByte(CP_THREAD_ACP, 0, text, source, nullptr, 0, nullptr, nullptr);
    if (size <= 0)
        return;
    auto bytes = static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
    if (!bytes) {
        m_failed = true;
        return;
    }
    WideCharToMultiByte(CP_THREAD_ACP, 0, text, source, bytes, size, nullptr, nullptr);
    std::memcpy(at, bytes, std::min<std::size_t>(count, static_cast<std::size_t>(size)));
    std::free(bytes);
}

// Kept: a text of more bytes than the count can say is cut where the count's low 16 bits end.
void Writer::addText(const wchar_t* text) {
    const std::size_t length = text ? std::wcslen(text) : 0;
    if (length <= 0x7FFF) {
        if (unsigned char* at = reserve(2 + 2 * length)) {
            coding::PutU16(at, static_cast<std::uint16_t>(2 * length));
            std::uint32_t all = 0;
            for (std::size_t i = 0; i < length; ++i) {
                all |= static_cast<std::uint32_t>(text[i]);
                coding::PutU16(at + 2 + 2 * i, static_cast<std::uint16_t>(text[i]));
            }
            if (all <= 0xFFFF)
                return;
            m_size -= 2 + 2 * length;
        }
    }
    const std::size_t count = CountUnits(text, length) * 2 & 0xFFFF;
    unsigned char* at = reserve(2 + count);
    if (!at)
        return;
    coding::PutU16(at, static_cast<std::uint16_t>(count));
    at += 2;
    const unsigned char* end = at + count;
    ForEachUnit(text, length, [&at, end](std::uint16_t unit) {
        if (at != end) {
            coding::PutU16(at, unit);
            at += 2;
        }
    });
}

void Writer::addBytes(const void* bytes, unsigned size) {
    if (!bytes)
        size = 0;
    unsigned char* at = reserve(4 + static_cast<std::size_t>(size));
    if (!at)
        return;
    coding::PutU32(at, size);
    if (size)
        std::memcpy(at + 4, bytes, size);
}

} // namespace datablock
