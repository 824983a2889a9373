// Blocks of equal elements from which lists and maps take their nodes. Included by afxtempl.h.
#pragma once

#include "afx.h"

#include <cstdlib>
#include <limits>

// The head of one block; the elements follow it.
struct CPlex {
    CPlex* pNext;
    void* pReserved; // keeps the elements aligned as malloc's results are

    void* data() { return this + 1; }

    // A block of nMax elements of cbElement bytes at the front of a chain. Exhausted memory throws
    // CMemoryException.
    static CPlex* Create(CPlex*& pHead, UINT_PTR nMax, UINT_PTR cbElement) {
        if (nMax > (std::numeric_limits<UINT_PTR>::max() - sizeof(CPlex)) / cbElement)
            AfxThrowMemoryException();
        CPlex* p = static_cast<CPlex*>(std::malloc(sizeof(CPlex) + nMax * cbElement));
        if (p == nullptr)
            AfxThrowMemoryException();
        p->pNext = pHead;
        p->pReserved = nullptr;
        pHead = p;
        return p;
    }
    // Frees this block and all behind it; null allowed.
    static void FreeDataChain(CPlex* p) noexcept {
        while (p != nullptr) {
            CPlex* pNext = p->pNext;
            std::free(p);
            p = pNext;
        }
    }
};
