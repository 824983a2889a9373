// Blocks of equal elements from which lists and maps take their nodes. Included by afxtempl.h.
#pragma once

#include "afx.h"

#include <cstdlib>
#include <limits>

// The head of one block; the elements follow it.
struct CPlex {
    CPlex* pNext;
    UINT_PTR nElements; // keeps them aligned as malloc's results are, too

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
        p->nElements = nMax;
        pHead = p;
        return p;
    }
    // The same blocks in the opposite order.
    static CPlex* Reversed(CPlex* p) noexcept {
        CPlex* pHead = nullptr;
        while (p != nullptr) {
            CPlex* pNext = p->pNext;
            p->pNext = pHead;
            pHead = p;
            p = pNext;
        }
        return pHead;
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
