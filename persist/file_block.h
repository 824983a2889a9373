// The memory behind a CFileBuffer's block, and the serializer's way into it.
//
// A block is logically m_nMidaBuffer bytes, those beyond what was loaded or stored being zeros. Allocating
// and clearing 8 MiB for a file of 200 bytes would cost many times the reading of it. So while reading the
// memory may be shorter than the block, and in any case only its first bytes are clean, that is what they
// should be. The rest is cleared when somebody gets to see it.
#pragma once

#include "CFileBuffer.h"

#include <cstdlib>
#include <cstring>
#include <typeinfo>

class FileBlock {
public:
    // Room for `capacity` bytes, none of them clean; null when there is no memory.
    static unsigned char* Allocate(DWORD capacity) { return place(nullptr, capacity); }
    // The same with the clean bytes of `block`, which it replaces; null leaves `block` as it was.
    static unsigned char* Grow(unsigned char* block, DWORD capacity) { return place(block, capacity); }
    static void Free(unsigned char* block) {
        if (block)
            std::free(block - HEADER_SIZE);
    }

    static DWORD Capacity(const unsigned char* block) { return header(block)->capacity; }

    // The first `count` bytes were loaded, those behind them count for nothing.
    static void SetClean(unsigned char* block, DWORD count) { header(block)->clean = count; }
    // Makes all bytes before `end` clean.
    static void Clean(unsigned char* block, DWORD end) {
        Header* h = header(block);
        if (h->clean < end) {
            std::memset(block + h->clean, 0, end - h->clean);
            h->clean = end;
        }
    }
    // The same for a range that the caller stores now.
    static void CleanBefore(unsigned char* block, DWORD start, DWORD end) {
        Header* h = header(block);
        if (h->clean < end) {
            if (h->clean < start)
                std::memset(block + h->clean, 0, start - h->clean);
            h->clean = end;
        }
    }

private:
    struct Header { // lies in front of the block
        DWORD capacity;
        DWORD clean;
    };
    static constexpr std::size_t HEADER_SIZE = 16; // keeps the alignment that malloc gives
    static_assert(sizeof(Header) <= HEADER_SIZE);

    static Header* header(unsigned char* block) { return reinterpret_cast<Header*>(block - HEADER_SIZE); }
    static const Header* header(const unsigned char* block) {
        return reinterpret_cast<const Header*>(block - HEADER_SIZE);
    }

    static unsigned char* place(unsigned char* block, DWORD capacity) {
        const unsigned long long size = static_cast<unsigned long long>(capacity) + HEADER_SIZE;
        if (static_cast<std::size_t>(size) != size)
            return nullptr;
        void* memory = std::realloc(block ? block - HEADER_SIZE : nullptr, static_cast<std::size_t>(size));
        if (!memory)
            return nullptr;
        unsigned char* placed = static_cast<unsigned char*>(memory) + HEADER_SIZE;
        header(placed)->capacity = capacity;
        if (!block)
            header(placed)->clean = 0;
        return placed;
    }
};

// What Seek, Read and Write do inside the block, in one step and without calls. Every operation does the
// whole of it or nothing; after nothing the caller goes through the file's own operations.
class FileBufferWindow {
public:
    // `file` if it is exactly a CFileBuffer, else null: a derived class may have operations of its own, and
    // they have to be called.
    static CFileBuffer* Of(CFile& file) {
        return &typeid(file) == &typeid(CFileBuffer) ? static_cast<CFileBuffer*>(&file) : nullptr;
    }

    static bool Holds(const CFileBuffer& file, unsigned long long pos) {
        if (!file.m_pBuffer)
            return false;
        const DWORD size = file.m_nFlags & CFile::modeWrite ? file.m_nMidaBuffer : file.m_nDadesBuffer;
        return pos - file.m_qwIniciBuffer < size; // wraps to a large number in front of the block
    }

    // Moves past `skip` bytes and the `size` behind them, whose address goes to `at`; false, and nothing has
    // changed, unless all of them are loaded. Valid until the next operation of the file.
    static bool Take(CFileBuffer& file, DWORD skip, DWORD size, const unsigned char*& at) {
        const unsigned long long position = file.m_qwPosicio;
        const unsigned long long offset = position - file.m_qwIniciBuffer;
        const unsigned long long loaded = file.m_nDadesBuffer; // 0 without a block, and when writing
        const unsigned long long all = static_cast<unsigned long long>(skip) + size;
        if (offset >= loaded || loaded - offset < all)
            return false;
        at = file.m_pBuffer + offset + skip;
        file.m_qwPosicio = position + all;
        return true;
    }

    // Marks the `size` bytes at the position as to be written, moves past them and answers the address to
    // store them at, now; null unless the file is being written and all of them lie in the block.
    static unsigned char* Reserve(CFileBuffer& file, unsigned long long size) {
        const unsigned long long offset = file.m_qwPosicio - file.m_qwIniciBuffer;
        if (!(file.m_nFlags & CFile::modeWrite) || !file.m_pBuffer || offset > file.m_nMidaBuffer ||
            file.m_nMidaBuffer - offset < size)
            return nullptr;
        const DWORD start = static_cast<DWORD>(offset);
        const DWORD end = static_cast<DWORD>(offset + size);
        FileBlock::CleanBefore(file.m_pBuffer, start, end);
        MarkModified(file, start, end);
        file.m_qwPosicio += size;
        return file.m_pBuffer + start;
    }

    static void MarkModified(CFileBuffer& file, DWORD start, DWORD end) {
        if (!file.m_bModificat || start < file.m_nIniciModificat)
            file.m_nIniciModificat = start;
        if (!file.m_bModificat || end > file.m_nFiModificat)
            file.m_nFiModificat = end;
        file.m_bModificat = 1;
    }
};
