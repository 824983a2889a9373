#include "CBufferCircular.h"

#include <cstring>
#include <limits>

IMPLEMENT_DYNAMIC(CBufferCircular, CObject)

namespace {

// As memcpy. Small chunks are the rule in a ring, and for them the call costs more than the copying: two or
// four blocks that overlap in the middle make any size from 16 to 64 bytes.
inline void copyBytes(unsigned char* to, const unsigned char* from, std::size_t n) {
    struct Block {
        unsigned char bytes[16];
    };
    const auto load = [from](std::size_t at) {
        Block block;
        std::memcpy(&block, from + at, sizeof block);
        return block;
    };
    const auto store = [to](std::size_t at, const Block& block) {
        std::memcpy(to + at, &block, sizeof block);
    };
    if (n < 16 || n > 64) {
        std::memcpy(to, from, n);
    } else if (n <= 32) {
        const Block first = load(0), last = load(n - 16);
        store(0, first);
        store(n - 16, last);
    } else {
        const Block first = load(0), second = load(16), third = load(n - 32), last = load(n - 16);
        store(0, first);
        store(16, second);
        store(n - 32, third);
        store(n - 16, last);
    }
}

} // namespace

CBufferCircular::CBufferCircular(unsigned long dwMida)
    : m_dwMida(0)
    , m_pBuffer(nullptr)
    , m_dwLectura(0)
    , m_dwDades(0) {
    if (dwMida != 0 && !Alloc(dwMida))
        AfxThrowMemoryException();
}

CBufferCircular::~CBufferCircular() {
    Free();
}

// ---- The block

int CBufferCircular::Alloc(unsigned long dwMida) {
    Free();
    if (dwMida > std::numeric_limits<DWORD>::max())
        return 0;
    m_pBuffer = allocBuffer(dwMida);
    if (!m_pBuffer)
        return 0;
    m_dwMida = static_cast<DWORD>(dwMida);
    return 1;
}

void CBufferCircular::Free() {
    if (!m_pBuffer)
        return;
    freeBuffer(m_pBuffer);
    m_dwMida = 0;
    m_pBuffer = nullptr;
    Reset();
}

void CBufferCircular::Reset() {
    m_dwLectura = 0;
    m_dwDades = 0;
}

unsigned char* CBufferCircular::allocBuffer(unsigned long dwMida) {
    return static_cast<unsigned char*>(HeapAlloc(GetProcessHeap(), 0, dwMida));
}

void CBufferCircular::freeBuffer(unsigned char* pBuffer) {
    if (pBuffer)
        HeapFree(GetProcessHeap(), 0, pBuffer);
}

// ---- Bytes in and out

int CBufferCircular::writeChunk(const unsigned char* p, unsigned long n) {
    if (n > m_dwMida - m_dwDades || m_dwMida == 0) // without a block the capacity is 0
        return 0;
    if (n == 0)
        return 1;
    // In 64 bits: head and count together may pass 4 GiB. Where the bytes held wrap already, what is free is
    // one piece that ends at the head.
    unsigned long long tail = static_cast<unsigned long long>(m_dwLectura) + m_dwDades;
    tail -= tail >= m_dwMida ? m_dwMida : 0;
    const std::size_t first = static_cast<std::size_t>(m_dwMida - tail);
    unsigned char* const to = m_pBuffer + tail;
    m_dwDades += static_cast<DWORD>(n);
    if (n <= first) {
        copyBytes(to, p, n);
    } else {
        std::memcpy(to, p, first);
        std::memcpy(m_pBuffer, p + first, n - first);
    }
    return 1;
}

unsigned long CBufferCircular::readChunk(unsigned char* p, unsigned long n, int bParcial) {
    if (n > m_dwDades) { // as always without a block
        if (!bParcial)
            return 0;
        n = m_dwDades;
    }
    if (n == 0)
        return 0;
    const DWORD first = m_dwMida - m_dwLectura;
    const unsigned char* const from = m_pBuffer + m_dwLectura;
    m_dwDades -= static_cast<DWORD>(n);
    if (n < first) {
        m_dwLectura += static_cast<DWORD>(n);
        copyBytes(p, from, n);
    } else {
        m_dwLectura = static_cast<DWORD>(n - first);
        std::memcpy(p, from, first);
        std::memcpy(p + first, m_pBuffer, n - first);
    }
    return n;
}
