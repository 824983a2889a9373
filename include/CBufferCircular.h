// A ring of bytes of a fixed capacity: what is written at its tail is read from its head, in order.
//
// A write stores all its bytes or none. A read delivers exactly what was asked for or nothing, or, when the
// caller allows it, as much as there is. Both wrap round the end of one block of memory, so nothing is ever
// moved.
//
// The ring owns its block and copies bytes in and out; it keeps no pointer of the caller's. It takes no lock:
// callers that share a ring between threads lock round every call themselves.
//
//     CBufferCircular ring(4096);
//     if (!ring.Write(packet, nPacket))
//         Drop(packet);                               // fewer than nPacket bytes are free
//     unsigned char header[10];
//     if (ring.Read(header, sizeof header, 0) != 0)   // 0: wait until all ten are there
//         Handle(header);
#pragma once

#include "mvlib_export.h"

#include "afx.h"

#include <cstring>

class MVLIB_API CBufferCircular : public CObject {
    DECLARE_DYNAMIC(CBufferCircular)

public:
    // A ring of `dwMida` bytes; 0 makes one without a block, which refuses everything until Alloc. Throws
    // CMemoryException* when there is no memory.
    CBufferCircular(unsigned long dwMida = 0);
    CBufferCircular(const CBufferCircular&) = delete;
    CBufferCircular& operator=(const CBufferCircular&) = delete;
    ~CBufferCircular() override;

    // ---- The block

    // Releases the block, with what it holds, and takes a new one of `dwMida` bytes. 1: the ring is empty and
    // has that capacity (0 is allowed; such a ring refuses every write and read). 0: no memory, or a capacity
    // that does not fit 32 bits; the ring is then without a block, its capacity 0.
    int Alloc(unsigned long dwMida);
    // Releases the block: capacity 0, no bytes. Does nothing without a block.
    void Free();
    // Forgets the bytes held and keeps the block.
    void Reset();

    // ---- Query

    // The bytes held, and those that may still be written; their sum is the capacity.
    unsigned long GetMidaDades() const { return m_dwDades; }
    unsigned long GetMidaLliure() const { return m_dwMida - m_dwDades; }

    // ---- Bytes in and out

    // Appends the `n` bytes from `p`. 1: done. 0: fewer than `n` bytes are free, or there is no block, or its
    // capacity is 0; nothing is written then. `p` may be null when `n` is 0; it must not lie in the ring's
    // own block.
    int Write(const unsigned char* p, unsigned long n);
    // Takes up to `n` of the oldest bytes into `p` and returns their number. When fewer than `n` are held:
    // with `bParcial` 0 nothing is taken and 0 returned, else all that is held. 0 without a block or with
    // capacity 0. `p` must have room for `n` bytes; it may be null when `n` is 0.
    unsigned long Read(unsigned char* p, unsigned long n, int bParcial);

protected:
    // The process heap, which the block is taken from and returned to. allocBuffer: null when there is no
    // memory. freeBuffer ignores null.
    unsigned char* allocBuffer(unsigned long dwMida);
    void freeBuffer(unsigned char* pBuffer);

    // Their order and sizes are fixed: applications derive from this class.
    DWORD m_dwMida;           // capacity in bytes
    unsigned char* m_pBuffer; // the block; null: none
    DWORD m_dwLectura;        // offset of the oldest byte, below the capacity
    DWORD m_dwDades; // bytes held from there on, round the end of the block; never above the capacity

private:
    // What Write and Read do with any chunk. Large ones in one piece need no call into the library.
    static constexpr unsigned long PETIT = 64;
    int writeChunk(const unsigned char* p, unsigned long n);
    unsigned long readChunk(unsigned char* p, unsigned long n, int bParcial);
};

inline int CBufferCircular::Write(const unsigned char* p, unsigned long n) {
    if (n > PETIT && n <= m_dwMida - m_dwDades) {
        unsigned long long tail = static_cast<unsigned long long>(m_dwLectura) + m_dwDades;
        tail -= tail >= m_dwMida ? m_dwMida : 0;
        if (n <= m_dwMida - tail) {
            m_dwDades += static_cast<DWORD>(n);
            std::memcpy(m_pBuffer + tail, p, n);
            return 1;
        }
    }
    return writeChunk(p, n);
}

inline unsigned long CBufferCircular::Read(unsigned char* p, unsigned long n, int bParcial) {
    if (n > PETIT && n <= m_dwDades && n < m_dwMida - m_dwLectura) {
        const unsigned char* const from = m_pBuffer + m_dwLectura;
        m_dwDades -= static_cast<DWORD>(n);
        m_dwLectura += static_cast<DWORD>(n);
        std::memcpy(p, from, n);
        return n;
    }
    return readChunk(p, n, bParcial);
}
