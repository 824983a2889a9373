// Container templates: CArray, CList, CMap, and typed wrappers of pointer containers.
//
// TYPE is what is stored, ARG_TYPE what is handed in (TYPE itself or const TYPE&). Containers own copies of
// their elements, are not copied themselves, and belong to one thread at a time. Memory that is exhausted
// throws CMemoryException and leaves the container as it was; an index or position that does not exist throws
// CInvalidArgException.
//
// Four helper templates may be specialised for an element type: HashKey (the hash of a map's key),
// CompareElements (equality), CopyElements (CArray's Append and Copy) and DumpElements.
#pragma once

#include "afx.h"
#include "afxplex_.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <type_traits>
#include <utility>

// ---- Helpers

template <class TYPE>
inline void CopyElements(TYPE* pDest, const TYPE* pSrc, INT_PTR nCount) {
    while (nCount-- > 0)
        *pDest++ = *pSrc++;
}

template <class TYPE, class ARG_TYPE>
inline BOOL CompareElements(const TYPE* pElement1, const ARG_TYPE* pElement2) {
    return *pElement1 == *pElement2;
}

// Texts: unit by unit. Null is as empty.
template <>
inline BOOL CompareElements<CString, LPCWSTR>(const CString* pElement1, const LPCWSTR* pElement2) {
    return *pElement2 == nullptr ? pElement1->IsEmpty()
                                 : std::wcscmp(pElement1->GetString(), *pElement2) == 0;
}

template <class TYPE>
inline void DumpElements(CDumpContext&, const TYPE*, INT_PTR) {}

// Numbers and pointers: the value shifted right by four.
template <class ARG_KEY>
inline UINT HashKey(ARG_KEY key) {
    if constexpr (std::is_pointer_v<ARG_KEY>)
        return static_cast<UINT>(reinterpret_cast<DWORD_PTR>(key) >> 4);
    else if constexpr (sizeof(std::remove_reference_t<ARG_KEY>) <= sizeof(UINT))
        return static_cast<UINT>(key) >> 4;
    else
        return static_cast<UINT>(static_cast<DWORD_PTR>(key) >> 4);
}

namespace mvafx {

// The hash of a text, see HashKey, and its length in characters. Null is as empty.
inline UINT hashText(LPCWSTR key, std::size_t& nLength) {
    constexpr UINT nLast = 0xFFFF; // beyond it a character is two UTF-16 units
    nLength = 0;
    if (key == nullptr)
        return 0;
    UINT nHash = 0;
    LPCWSTR psz = key;
    // Up to four units at once: a step by itself waits for the one before it.
    for (;; psz += 4) {
        const auto a = static_cast<std::uint32_t>(psz[0]);
        if (a == 0)
            break;
        const auto b = static_cast<std::uint32_t>(psz[1]);
        if (b == 0 && a <= nLast) {
            nHash = nHash * 33 + a;
            psz += 1;
            break;
        }
        const auto c = b == 0 ? 0 : static_cast<std::uint32_t>(psz[2]);
        if (c == 0 && b != 0 && (a | b) <= nLast) {
            nHash = nHash * (33 * 33) + a * 33 + b;
            psz += 2;
            break;
        }
        const auto d = c == 0 ? 0 : static_cast<std::uint32_t>(psz[3]);
        if (c == 0 || (a | b | c | d) > nLast) {
            for (; *psz != 0; ++psz) {
                auto unit = static_cast<std::uint32_t>(*psz);
                if (unit > nLast) {
                    unit -= nLast + 1;
                    nHash = nHash * 33 + (0xD800 + ((unit >> 10) & 0x3FF));
                    unit = 0xDC00 + (unit & 0x3FF);
                }
                nHash = nHash * 33 + unit;
            }
            break;
        }
        if (d == 0) {
            nHash = nHash * (33 * 33 * 33) + a * (33 * 33) + b * 33 + c;
            psz += 3;
            break;
        }
        nHash = nHash * (33 * 33 * 33 * 33) + a * (33 * 33 * 33) + b * (33 * 33) + c * 33 + d;
    }
    nLength = static_cast<std::size_t>(psz - key);
    return nHash;
}

// Whether two blocks are equal; nearly always they are, and short.
inline bool equalBytes(const void* pFirst, const void* pSecond, std::size_t nBytes) {
    const auto* p = static_cast<const unsigned char*>(pFirst);
    const auto* q = static_cast<const unsigned char*>(pSecond);
    std::uint64_t a[2], b[2];
    for (; nBytes >= sizeof a; p += sizeof a, q += sizeof b, nBytes -= sizeof a) {
        std::memcpy(a, p, sizeof a);
        std::memcpy(b, q, sizeof b);
        if (((a[0] ^ b[0]) | (a[1] ^ b[1])) != 0)
            return false;
    }
    if (nBytes >= sizeof a[0]) {
        std::memcpy(a, p, sizeof a[0]);
        std::memcpy(b, q, sizeof b[0]);
        if (a[0] != b[0])
            return false;
        p += sizeof a[0];
        q += sizeof b[0];
        nBytes -= sizeof a[0];
    }
    for (; nBytes > 0; --nBytes)
        if (*p++ != *q++)
            return false;
    return true;
}

} // namespace mvafx

// Texts: h = h * 33 + unit over the UTF-16 units (bytes of 8-bit texts), on every target. Null is as empty.
template <>
inline UINT HashKey<LPCWSTR>(LPCWSTR key) {
    std::size_t nLength;
    return mvafx::hashText(key, nLength);
}
template <>
inline UINT HashKey<LPCSTR>(LPCSTR key) {
    UINT nHash = 0;
    while (key != nullptr && *key != 0)
        nHash = nHash * 33 + static_cast<UINT>(*key++);
    return nHash;
}
template <>
inline UINT HashKey<LPWSTR>(LPWSTR key) {
    return HashKey<LPCWSTR>(key);
}
template <>
inline UINT HashKey<LPSTR>(LPSTR key) {
    return HashKey<LPCSTR>(key);
}
template <>
inline UINT HashKey<const CString&>(const CString& key) {
    return HashKey<LPCWSTR>(key.GetString());
}
template <>
inline UINT HashKey<const CStringA&>(const CStringA& key) {
    return HashKey<LPCSTR>(key.GetString());
}
template <>
inline UINT HashKey<CString>(CString key) {
    return HashKey<LPCWSTR>(key.GetString());
}
template <>
inline UINT HashKey<CStringA>(CStringA key) {
    return HashKey<LPCSTR>(key.GetString());
}

namespace mvafx {

// Elements that may be moved to another place as plain bytes.
template <class TYPE>
inline constexpr bool isRelocatable =
    std::is_trivially_copyable_v<TYPE> || std::is_same_v<TYPE, CString> || std::is_same_v<TYPE, CStringA>;

// Elements of which nobody can see in what order they are destroyed. May be specialised for more types.
template <class TYPE>
inline constexpr bool isDestroyedUnseen =
    std::is_trivially_destructible_v<TYPE> || std::is_same_v<TYPE, CString> || std::is_same_v<TYPE, CStringA>;

// Makes an element at p from what a caller handed in.
template <class TYPE, class ARG_TYPE>
inline void constructFrom(TYPE* p, ARG_TYPE arg) {
    if constexpr (std::is_constructible_v<TYPE, ARG_TYPE>) {
        ::new (static_cast<void*>(p)) TYPE(static_cast<ARG_TYPE>(arg));
    } else {
        ::new (static_cast<void*>(p)) TYPE();
        try {
            *p = static_cast<ARG_TYPE>(arg);
        } catch (...) {
            p->~TYPE();
            throw;
        }
    }
}

} // namespace mvafx

// ---- CArray

// An array that grows. The capacity grows by nGrowBy elements where one was given, else by an eighth of the
// length, at least 4 and at most 1,024.
template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray : public CObject {
public:
    CArray() = default;
    ~CArray() override { RemoveAll(); }

    INT_PTR GetSize() const { return m_nSize; }
    INT_PTR GetCount() const { return m_nSize; }
    BOOL IsEmpty() const { return m_nSize == 0; }
    INT_PTR GetUpperBound() const { return m_nSize - 1; }

    // New elements are value-initialised. nGrowBy -1 keeps the present rule.
    void SetSize(INT_PTR nNewSize, INT_PTR nGrowBy = -1) {
        ENSURE(nNewSize >= 0);
        if (nGrowBy >= 0)
            m_nGrowBy = nGrowBy;
        if (nNewSize == 0) {
            destroy(m_pData, m_nSize);
            std::free(m_pData);
            m_pData = nullptr;
            m_nSize = m_nMaxSize = 0;
            return;
        }
        if (nNewSize > m_nSize) {
            reserve(nNewSize);
            std::uninitialized_value_construct_n(m_pData + m_nSize, nNewSize - m_nSize);
        } else {
            destroy(m_pData + nNewSize, m_nSize - nNewSize);
        }
        m_nSize = nNewSize;
    }
    void FreeExtra() {
        if (m_nSize != m_nMaxSize)
            reallocate(m_nSize);
    }
    void RemoveAll() { SetSize(0, -1); }

    const TYPE& GetAt(INT_PTR nIndex) const { return m_pData[checked(nIndex)]; }
    TYPE& GetAt(INT_PTR nIndex) { return m_pData[checked(nIndex)]; }
    void SetAt(INT_PTR nIndex, ARG_TYPE newElement) { m_pData[checked(nIndex)] = newElement; }
    const TYPE& ElementAt(INT_PTR nIndex) const { return m_pData[checked(nIndex)]; }
    TYPE& ElementAt(INT_PTR nIndex) { return m_pData[checked(nIndex)]; }
    const TYPE& operator[](INT_PTR nIndex) const { return m_pData[checked(nIndex)]; }
    TYPE& operator[](INT_PTR nIndex) { return m_pData[checked(nIndex)]; }
    // The elements; null when there are none. Valid until the array changes its size.
    const TYPE* GetData() const { return m_pData; }
    TYPE* GetData() { return m_pData; }

    // The array grows to reach nIndex.
    void SetAtGrow(INT_PTR nIndex, ARG_TYPE newElement) {
        ENSURE(nIndex >= 0);
        if (nIndex == m_nSize) {
            Add(newElement);
        } else if (nIndex < m_nSize) {
            m_pData[nIndex] = newElement;
        } else {
            std::remove_cv_t<std::remove_reference_t<TYPE>> copy(newElement); // may lie in this array
            SetSize(nIndex + 1, -1);
            m_pData[nIndex] = std::move(copy);
        }
    }
    // Returns the index of the new element.
    INT_PTR Add(ARG_TYPE newElement) {
        if (m_nSize < m_nMaxSize) {
            mvafx::constructFrom<TYPE, ARG_TYPE>(m_pData + m_nSize, newElement);
        } else {
            TYPE copy(newElement); // may lie in the block that is about to move
            reserve(m_nSize + 1);
            ::new (static_cast<void*>(m_pData + m_nSize)) TYPE(std::move(copy));
        }
        return m_nSize++;
    }
    // Returns the index of the first appended element.
    INT_PTR Append(const CArray& src) {
        ENSURE(this != &src);
        INT_PTR nOldSize = m_nSize;
        SetSize(m_nSize + src.m_nSize);
        CopyElements<TYPE>(m_pData + nOldSize, src.m_pData, src.m_nSize);
        return nOldSize;
    }
    void Copy(const CArray& src) {
        if (this != &src) {
            SetSize(src.m_nSize);
            CopyElements<TYPE>(m_pData, src.m_pData, src.m_nSize);
        }
    }

    // Inserts nCount copies; an index behind the end makes the array grow to it.
    void InsertAt(INT_PTR nIndex, ARG_TYPE newElement, INT_PTR nCount = 1) {
        ENSURE(nIndex >= 0 && nCount > 0);
        TYPE copy(newElement);
        makeGap(nIndex, nCount);
        for (INT_PTR i = 0; i < nCount; ++i)
            m_pData[nIndex + i] = copy;
    }
    void InsertAt(INT_PTR nStartIndex, CArray* pNewArray) {
        ENSURE(pNewArray != nullptr && pNewArray != this && nStartIndex >= 0);
        if (pNewArray->m_nSize > 0) {
            makeGap(nStartIndex, pNewArray->m_nSize);
            for (INT_PTR i = 0; i < pNewArray->m_nSize; ++i)
                m_pData[nStartIndex + i] = pNewArray->m_pData[i];
        }
    }
    void RemoveAt(INT_PTR nIndex, INT_PTR nCount = 1) {
        ENSURE(nIndex >= 0 && nCount >= 0 && nIndex <= m_nSize && nCount <= m_nSize - nIndex);
        INT_PTR nMove = m_nSize - nIndex - nCount;
        if constexpr (mvafx::isRelocatable<TYPE>) {
            destroy(m_pData + nIndex, nCount);
            if (nMove > 0)
                std::memmove(static_cast<void*>(m_pData + nIndex), m_pData + nIndex + nCount,
                             nMove * sizeof(TYPE));
        } else {
            for (INT_PTR i = 0; i < nMove; ++i)
                m_pData[nIndex + i] = std::move(m_pData[nIndex + nCount + i]);
            destroy(m_pData + nIndex + nMove, nCount);
        }
        m_nSize -= nCount;
    }

protected:
    TYPE* m_pData = nullptr;
    INT_PTR m_nSize = 0;
    INT_PTR m_nMaxSize = 0;
    INT_PTR m_nGrowBy = 0;

private:
    INT_PTR checked(INT_PTR nIndex) const {
        ENSURE(nIndex >= 0 && nIndex < m_nSize);
        return nIndex;
    }
    static void destroy(TYPE* p, INT_PTR nCount) noexcept {
        if constexpr (!std::is_trivially_destructible_v<TYPE>)
            for (; nCount > 0; --nCount, ++p)
                p->~TYPE();
    }
    void reserve(INT_PTR nNewSize) {
        if (nNewSize <= m_nMaxSize)
            return;
        INT_PTR nNewMax = nNewSize;
        if (m_pData == nullptr) {
            if (m_nGrowBy > nNewMax)
                nNewMax = m_nGrowBy;
        } else {
            INT_PTR nGrowBy = m_nGrowBy;
            if (nGrowBy == 0)
                nGrowBy = m_nSize / 8 < 4 ? 4 : (m_nSize / 8 > 1024 ? 1024 : m_nSize / 8);
            if (nNewMax < m_nMaxSize + nGrowBy)
                nNewMax = m_nMaxSize + nGrowBy;
        }
        reallocate(nNewMax);
    }
    void reallocate(INT_PTR nNewMax) {
        if (nNewMax == 0) {
            std::free(m_pData);
            m_pData = nullptr;
            m_nMaxSize = 0;
            return;
        }
        if (static_cast<UINT_PTR>(nNewMax) > (std::numeric_limits<UINT_PTR>::max() / 2) / sizeof(TYPE))
            AfxThrowMemoryException();
        void* pNew;
        if constexpr (mvafx::isRelocatable<TYPE>) {
            pNew = std::realloc(static_cast<void*>(m_pData), nNewMax * sizeof(TYPE));
            if (pNew == nullptr)
                AfxThrowMemoryException();
        } else {
            pNew = std::malloc(nNewMax * sizeof(TYPE));
            if (pNew == nullptr)
                AfxThrowMemoryException();
            try {
                std::uninitialized_move_n(m_pData, m_nSize, static_cast<TYPE*>(pNew));
            } catch (...) {
                std::free(pNew);
                throw;
            }
            destroy(m_pData, m_nSize);
            std::free(m_pData);
        }
        m_pData = static_cast<TYPE*>(pNew);
        m_nMaxSize = nNewMax;
    }
    // Value-initialised elements at nIndex; those behind move up.
    void makeGap(INT_PTR nIndex, INT_PTR nCount) {
        INT_PTR nOldSize = m_nSize;
        SetSize((nIndex > nOldSize ? nIndex : nOldSize) + nCount);
        for (INT_PTR i = nOldSize - 1; i >= nIndex; --i)
            m_pData[i + nCount] = std::move(m_pData[i]);
        for (INT_PTR i = nIndex; i < nIndex + nCount && i < nOldSize; ++i)
            m_pData[i] = TYPE();
    }
};

// ---- CList

// A doubly linked list. A POSITION names a node and stays valid until that node is removed. Nodes come from
// blocks of nBlockSize; the blocks go when the list becomes empty.
template <class TYPE, class ARG_TYPE = const TYPE&>
class CList : public CObject {
protected:
    struct CNode {
        CNode* pNext;
        CNode* pPrev;
        TYPE data;
    };

public:
    explicit CList(INT_PTR nBlockSize = 10)
        : m_nBlockSize(nBlockSize > 0 ? nBlockSize : 10) {}
    ~CList() override { RemoveAll(); }

    INT_PTR GetCount() const { return m_nCount; }
    INT_PTR GetSize() const { return m_nCount; }
    BOOL IsEmpty() const { return m_nCount == 0; }

    // An empty list throws CInvalidArgException.
    TYPE& GetHead() { return node(m_pNodeHead)->data; }
    const TYPE& GetHead() const { return node(m_pNodeHead)->data; }
    TYPE& GetTail() { return node(m_pNodeTail)->data; }
    const TYPE& GetTail() const { return node(m_pNodeTail)->data; }
    TYPE RemoveHead() {
        CNode* pOld = node(m_pNodeHead);
        TYPE value = std::move(pOld->data);
        unlink(pOld);
        return value;
    }
    TYPE RemoveTail() {
        CNode* pOld = node(m_pNodeTail);
        TYPE value = std::move(pOld->data);
        unlink(pOld);
        return value;
    }

    POSITION AddHead(ARG_TYPE newElement) { return insert(nullptr, m_pNodeHead, newElement); }
    POSITION AddTail(ARG_TYPE newElement) { return insert(m_pNodeTail, nullptr, newElement); }
    // Adds another list's elements, in their order.
    void AddHead(CList* pNewList) {
        ENSURE(pNewList != nullptr && pNewList != this);
        for (CNode* p = pNewList->m_pNodeTail; p != nullptr; p = p->pPrev)
            AddHead(p->data);
    }
    void AddTail(CList* pNewList) {
        ENSURE(pNewList != nullptr && pNewList != this);
        for (CNode* p = pNewList->m_pNodeHead; p != nullptr; p = p->pNext)
            AddTail(p->data);
    }
    void RemoveAll() {
        for (CNode* p = m_pNodeHead; p != nullptr; p = p->pNext)
            p->data.~TYPE();
        m_nCount = 0;
        m_pNodeHead = m_pNodeTail = m_pNodeFree = nullptr;
        CPlex::FreeDataChain(m_pBlocks);
        m_pBlocks = nullptr;
    }

    POSITION GetHeadPosition() const { return position(m_pNodeHead); }
    POSITION GetTailPosition() const { return position(m_pNodeTail); }
    // The element at the position, which then moves on (null at the end).
    TYPE& GetNext(POSITION& rPosition) {
        CNode* p = node(rPosition);
        rPosition = position(p->pNext);
        return p->data;
    }
    const TYPE& GetNext(POSITION& rPosition) const {
        CNode* p = node(rPosition);
        rPosition = position(p->pNext);
        return p->data;
    }
    TYPE& GetPrev(POSITION& rPosition) {
        CNode* p = node(rPosition);
        rPosition = position(p->pPrev);
        return p->data;
    }
    const TYPE& GetPrev(POSITION& rPosition) const {
        CNode* p = node(rPosition);
        rPosition = position(p->pPrev);
        return p->data;
    }
    TYPE& GetAt(POSITION pos) { return node(pos)->data; }
    const TYPE& GetAt(POSITION pos) const { return node(pos)->data; }
    void SetAt(POSITION pos, ARG_TYPE newElement) { node(pos)->data = newElement; }
    void RemoveAt(POSITION pos) { unlink(node(pos)); }

    // A null position inserts at the head (before) or the tail (after).
    POSITION InsertBefore(POSITION pos, ARG_TYPE newElement) {
        if (pos == nullptr)
            return AddHead(newElement);
        CNode* p = node(pos);
        return insert(p->pPrev, p, newElement);
    }
    POSITION InsertAfter(POSITION pos, ARG_TYPE newElement) {
        if (pos == nullptr)
            return AddTail(newElement);
        CNode* p = node(pos);
        return insert(p, p->pNext, newElement);
    }

    // The first equal element from the head, or behind startAfter; null for none.
    POSITION Find(ARG_TYPE searchValue, POSITION startAfter = nullptr) const {
        for (CNode* p = startAfter == nullptr ? m_pNodeHead : node(startAfter)->pNext; p != nullptr;
             p = p->pNext)
            if (CompareElements<TYPE>(&p->data, &searchValue))
                return position(p);
        return nullptr;
    }
    // The position of element nIndex; null when there is none.
    POSITION FindIndex(INT_PTR nIndex) const {
        if (nIndex < 0 || nIndex >= m_nCount)
            return nullptr;
        CNode* p = m_pNodeHead;
        while (nIndex-- > 0)
            p = p->pNext;
        return position(p);
    }

protected:
    CNode* m_pNodeHead = nullptr;
    CNode* m_pNodeTail = nullptr;
    INT_PTR m_nCount = 0;
    CNode* m_pNodeFree = nullptr;
    CPlex* m_pBlocks = nullptr;
    INT_PTR m_nBlockSize;

private:
    static POSITION position(CNode* p) { return reinterpret_cast<POSITION>(p); }
    static CNode* node(CNode* p) {
        ENSURE(p != nullptr);
        return p;
    }
    static CNode* node(POSITION pos) { return node(reinterpret_cast<CNode*>(pos)); }

    POSITION insert(CNode* pPrev, CNode* pNext, ARG_TYPE newElement) {
        if (m_pNodeFree == nullptr)
            addBlock();
        CNode* p = m_pNodeFree;
        mvafx::constructFrom<TYPE, ARG_TYPE>(std::addressof(p->data), newElement);
        m_pNodeFree = p->pNext;
        p->pPrev = pPrev;
        p->pNext = pNext;
        (pPrev != nullptr ? pPrev->pNext : m_pNodeHead) = p;
        (pNext != nullptr ? pNext->pPrev : m_pNodeTail) = p;
        ++m_nCount;
        return position(p);
    }
    void unlink(CNode* p) {
        (p->pPrev != nullptr ? p->pPrev->pNext : m_pNodeHead) = p->pNext;
        (p->pNext != nullptr ? p->pNext->pPrev : m_pNodeTail) = p->pPrev;
        p->data.~TYPE();
        p->pNext = m_pNodeFree;
        m_pNodeFree = p;
        if (--m_nCount == 0)
            RemoveAll();
    }
    void addBlock() {
        CNode* p = static_cast<CNode*>(CPlex::Create(m_pBlocks, m_nBlockSize, sizeof(CNode))->data());
        for (INT_PTR i = m_nBlockSize - 1; i >= 0; --i) {
            p[i].pNext = m_pNodeFree;
            m_pNodeFree = p + i;
        }
    }
};

// ---- CMap

namespace mvafx {

// A key that a map looks for.
template <class KEY, class ARG_KEY>
struct Sought {
    std::remove_reference_t<ARG_KEY>* pKey;
    UINT nHash;

    explicit Sought(std::remove_reference_t<ARG_KEY>& key)
        : pKey(&key)
        , nHash(HashKey<ARG_KEY>(key)) {}
    bool matches(const KEY& key) const {
        return CompareElements<KEY, std::remove_reference_t<ARG_KEY>>(&key, pKey);
    }
};

// A text among texts: keys that were made from texts hold no NUL, so the length tells most of them apart.
template <>
struct Sought<CString, LPCWSTR> {
    LPCWSTR pszKey;
    std::size_t nLength;
    UINT nHash;

    explicit Sought(LPCWSTR key)
        : pszKey(key)
        , nHash(hashText(key, nLength)) {}
    bool matches(const CString& key) const {
        return static_cast<std::size_t>(key.GetLength()) == nLength &&
               equalBytes(key.GetString(), pszKey, nLength * sizeof(wchar_t));
    }
};

} // namespace mvafx

// A hash map. The bucket of a key is HashKey modulo the table size (17 unless InitHashTable says otherwise);
// the table is made at the first insertion and goes when the map becomes empty. A walk visits the buckets in
// ascending order and, inside a bucket, the key that was inserted last first; replacing the value of a key
// keeps its place. Nodes come from blocks of nBlockSize.
//
// Chains may grow long without harm: a map with far more keys than buckets keeps an index beside the chains,
// which look-ups and removals use and walks do not.
template <class KEY, class ARG_KEY, class VALUE, class ARG_VALUE>
class CMap : public CObject {
public:
    class CPair {
    public:
        const KEY key;
        VALUE value;

    protected:
        explicit CPair(ARG_KEY keyval)
            : key(keyval)
            , value() {}
    };

protected:
    class CAssoc : public CPair {
        friend class CMap;
        explicit CAssoc(ARG_KEY keyval)
            : CPair(keyval) {}

        CAssoc* pNext = nullptr;
        CAssoc* pPrev = nullptr;
        UINT nHashValue = 0;
    };

public:
    explicit CMap(INT_PTR nBlockSize = 10)
        : m_nBlockSize(nBlockSize > 0 ? nBlockSize : 10) {}
    ~CMap() override { RemoveAll(); }

    INT_PTR GetCount() const { return m_nCount; }
    INT_PTR GetSize() const { return m_nCount; }
    BOOL IsEmpty() const { return m_nCount == 0; }

    // TRUE, and the value in rValue, when the key is there.
    BOOL Lookup(ARG_KEY key, VALUE& rValue) const {
        CAssoc* p = find(Sought(key));
        if (p == nullptr)
            return FALSE;
        rValue = p->value;
        return TRUE;
    }
    // The entry, or null. The value may be changed through it.
    const CPair* PLookup(ARG_KEY key) const { return find(Sought(key)); }
    CPair* PLookup(ARG_KEY key) { return find(Sought(key)); }

    // The value of a key, which is inserted with a value-initialised one when it is not there.
    VALUE& operator[](ARG_KEY key) {
        const Sought sought(key);
        CAssoc* p = find(sought);
        return (p != nullptr ? p : insert(key, sought.nHash))->value;
    }
    void SetAt(ARG_KEY key, ARG_VALUE newValue) {
        const Sought sought(key);
        CAssoc* p = find(sought);
        if (p != nullptr) {
            p->value = newValue;
            return;
        }
        p = insert(key, sought.nHash);
        try {
            p->value = newValue;
        } catch (...) {
            remove(p);
            throw;
        }
    }
    // TRUE when the key was there.
    BOOL RemoveKey(ARG_KEY key) {
        CAssoc* p = find(Sought(key));
        if (p == nullptr)
            return FALSE;
        remove(p);
        return TRUE;
    }
    void RemoveAll() {
        if (m_pHashTable != nullptr) {
            destroyAll();
            freeTable();
        }
        m_nCount = 0;
        m_pFreeList = nullptr;
        CPlex::FreeDataChain(m_pBlocks);
        m_pBlocks = nullptr;
    }

    // The walk by position: null when the map is empty or the walk is over. A walk does not survive insertion
    // or removal, except of the keys it has passed.
    POSITION GetStartPosition() const { return m_nCount == 0 ? nullptr : BEFORE_START_POSITION; }
    void GetNextAssoc(POSITION& rNextPosition, KEY& rKey, VALUE& rValue) const {
        CAssoc* p = current(rNextPosition);
        CAssoc* pNext = next(p);
        rKey = p->key;
        rValue = p->value;
        rNextPosition = reinterpret_cast<POSITION>(pNext);
    }
    // The walk by entry: null at the end.
    const CPair* PGetFirstAssoc() const { return m_nCount == 0 ? nullptr : firstFrom(0); }
    CPair* PGetFirstAssoc() { return m_nCount == 0 ? nullptr : firstFrom(0); }
    const CPair* PGetNextAssoc(const CPair* pAssoc) const {
        ENSURE(pAssoc != nullptr);
        return next(static_cast<const CAssoc*>(pAssoc));
    }
    CPair* PGetNextAssoc(const CPair* pAssoc) {
        ENSURE(pAssoc != nullptr);
        return next(static_cast<const CAssoc*>(pAssoc));
    }

    // All entries in the order of the walk, into room for GetCount() pointers. A walk waits for memory at
    // every entry of a large map; this goes down all buckets at once. FALSE, and nothing is stored, when it
    // has no memory for that.
    BOOL PGetAll(const CPair** ppPairs) const {
        constexpr UINT nMost = 64;
        if (m_nHashTableSize > nMost) {
            for (const CPair* p = PGetFirstAssoc(); p != nullptr; p = PGetNextAssoc(p))
                *ppPairs++ = p;
            return TRUE;
        }
        auto** ppFound = static_cast<const CPair**>(
            std::malloc((static_cast<std::size_t>(m_nCount) + 1) * sizeof(const CPair*)));
        if (ppFound == nullptr)
            return FALSE;
        const CAssoc* heads[nMost];
        UINT buckets[nMost];
        INT_PTR nLengths[nMost] = {};
        UINT nOpen = 0;
        for (UINT i = 0; m_nCount > 0 && i < m_nHashTableSize; ++i)
            if (m_pHashTable[i] != nullptr) {
                heads[nOpen] = m_pHashTable[i];
                buckets[nOpen++] = i;
            }
        const CPair** ppEnd = ppFound;
        for (UINT nRound = nOpen; nRound > 0;) {
            UINT nStill = 0;
            for (UINT i = 0; i < nRound; ++i) {
                *ppEnd++ = heads[i];
                ++nLengths[buckets[i]];
                if (const CAssoc* pNext = heads[i]->pNext) {
                    heads[nStill] = pNext;
                    buckets[nStill++] = buckets[i];
                }
            }
            nRound = nStill;
        }
        // They came in rounds of one from each bucket that was not at its end.
        const CPair** places[nMost];
        for (UINT i = 0; i < m_nHashTableSize; ++i) {
            places[i] = ppPairs;
            ppPairs += nLengths[i];
        }
        for (const CPair** pp = ppFound; pp != ppEnd;)
            for (UINT i = 0; i < m_nHashTableSize; ++i)
                if (nLengths[i] > 0) {
                    --nLengths[i];
                    *places[i]++ = *pp++;
                }
        std::free(ppFound);
        return TRUE;
    }

    UINT GetHashTableSize() const { return m_nHashTableSize; }
    // Sets the number of buckets of an empty map; a map with keys throws CInvalidArgException, and so does 0.
    void InitHashTable(UINT nHashSize, BOOL bAllocNow = TRUE) {
        ENSURE(m_nCount == 0 && nHashSize > 0);
        if (m_pHashTable != nullptr)
            freeTable();
        m_nHashTableSize = nHashSize;
        if (bAllocNow)
            makeTable();
    }

protected:
    CAssoc** m_pHashTable = nullptr; // the index lies just before the buckets
    UINT m_nHashTableSize = 17;
    INT_PTR m_nCount = 0;
    CAssoc* m_pFreeList = nullptr;
    CPlex* m_pBlocks = nullptr;
    INT_PTR m_nBlockSize;

private:
    using Sought = mvafx::Sought<KEY, ARG_KEY>;

    // An open-addressing table of all entries. Slots hold null, an entry, or the mark of a removed one, and
    // the entry's hash, so that entries are looked at only when they are likely to be the right ones.
    struct Slot {
        CAssoc* p;
        UINT nHash;
    };
    struct Index {
        UINT nMask;
        UINT nUsed; // entries and marks
        Slot slots[1];
    };
    static CAssoc* removedMark() { return reinterpret_cast<CAssoc*>(static_cast<UINT_PTR>(1)); }
    static UINT mixed(UINT nHash) {
        std::uint64_t product = static_cast<std::uint64_t>(nHash) * 0x9E3779B97F4A7C15u;
        return static_cast<UINT>(product >> 32);
    }
    Index*& index() const { return reinterpret_cast<Index**>(m_pHashTable)[-1]; }

    void makeTable() {
        if (m_nHashTableSize > std::numeric_limits<UINT_PTR>::max() / sizeof(void*) - 1)
            AfxThrowMemoryException();
        void* p = std::calloc(static_cast<std::size_t>(m_nHashTableSize) + 1, sizeof(void*));
        if (p == nullptr)
            AfxThrowMemoryException();
        m_pHashTable = static_cast<CAssoc**>(p) + 1;
    }
    void freeTable() {
        std::free(index());
        std::free(m_pHashTable - 1);
        m_pHashTable = nullptr;
    }

    void destroyAll() {
        if constexpr (mvafx::isDestroyedUnseen<KEY> && mvafx::isDestroyedUnseen<VALUE>) {
            // As they lie in memory, the oldest block first: in the order of the buckets nearly every node
            // would have to be waited for, by the allocator too.
            for (CAssoc* p = m_pFreeList; p != nullptr; p = nextFree(p))
                p->pNext = p; // no entry is its own neighbour
            m_pBlocks = CPlex::Reversed(m_pBlocks);
            for (CPlex* pBlock = m_pBlocks; pBlock != nullptr; pBlock = pBlock->pNext) {
                CAssoc* p = static_cast<CAssoc*>(pBlock->data());
                for (CAssoc* const pEnd = p + pBlock->nElements; p != pEnd; ++p)
                    if (p->pNext != p)
                        p->~CAssoc();
            }
        } else {
            for (UINT i = 0; i < m_nHashTableSize; ++i)
                for (CAssoc *p = m_pHashTable[i], *pNext; p != nullptr; p = pNext) {
                    pNext = p->pNext;
                    p->~CAssoc();
                }
        }
    }

    // The usual number of buckets by a multiplication: dividing takes longer than all the rest.
    UINT bucketOf(UINT nHash) const { return m_nHashTableSize == 17 ? nHash % 17 : nHash % m_nHashTableSize; }

    CAssoc* find(const Sought& sought) const {
        const UINT nHash = sought.nHash;
        if (m_pHashTable == nullptr)
            return nullptr;
        if (const Index* pIndex = index()) {
            for (UINT i = mixed(nHash) & pIndex->nMask;; i = (i + 1) & pIndex->nMask) {
                const Slot& slot = pIndex->slots[i];
                if (slot.p == nullptr)
                    return nullptr;
                if (slot.nHash == nHash && slot.p != removedMark() && sought.matches(slot.p->key))
                    return slot.p;
            }
        }
        for (CAssoc* p = m_pHashTable[bucketOf(nHash)]; p != nullptr; p = p->pNext)
            if (p->nHashValue == nHash && sought.matches(p->key))
                return p;
        return nullptr;
    }
    CAssoc* insert(ARG_KEY key, UINT nHash) {
        if (m_pHashTable == nullptr)
            makeTable();
        if (m_pFreeList == nullptr) {
            // Large maps grow by larger blocks.
            INT_PTR nMax = std::max(m_nBlockSize, std::min<INT_PTR>(m_nCount / 8, 256));
            CAssoc* pBlock = static_cast<CAssoc*>(
                CPlex::Create(m_pBlocks, static_cast<UINT_PTR>(nMax), sizeof(CAssoc))->data());
            for (INT_PTR i = nMax - 1; i >= 0; --i) {
                nextFree(pBlock + i) = m_pFreeList;
                m_pFreeList = pBlock + i;
            }
        }
        CAssoc* p = m_pFreeList;
        CAssoc* pNextFree = nextFree(p);
        try {
            ::new (static_cast<void*>(p)) CAssoc(key);
        } catch (...) {
            nextFree(p) = pNextFree;
            throw;
        }
        m_pFreeList = pNextFree;
        p->nHashValue = nHash;
        CAssoc*& rBucket = m_pHashTable[bucketOf(nHash)];
        p->pNext = rBucket;
        if (rBucket != nullptr)
            rBucket->pPrev = p;
        rBucket = p;
        ++m_nCount;
        enterIndex(p);
        return p;
    }
    void remove(CAssoc* p) {
        (p->pPrev != nullptr ? p->pPrev->pNext : m_pHashTable[bucketOf(p->nHashValue)]) = p->pNext;
        if (p->pNext != nullptr)
            p->pNext->pPrev = p->pPrev;
        if (Index* pIndex = index()) {
            UINT i = mixed(p->nHashValue) & pIndex->nMask;
            while (pIndex->slots[i].p != p)
                i = (i + 1) & pIndex->nMask;
            pIndex->slots[i].p = removedMark();
        }
        p->~CAssoc();
        nextFree(p) = m_pFreeList;
        m_pFreeList = p;
        if (--m_nCount == 0)
            RemoveAll();
    }
    // A free node's first bytes hold the next free one.
    static CAssoc*& nextFree(CAssoc* p) { return *reinterpret_cast<CAssoc**>(p); }

    void enterIndex(CAssoc* pNew) {
        Index* pIndex = index();
        if (pIndex == nullptr) {
            if (m_nCount / 8 > static_cast<INT_PTR>(m_nHashTableSize))
                rebuildIndex();
            return;
        }
        place(pIndex, pNew, pNew->nHashValue);
        if (pIndex->nUsed > pIndex->nMask / 4 * 3)
            rebuildIndex();
    }
    static void place(Index* pIndex, CAssoc* p, UINT nHash) {
        UINT i = mixed(nHash) & pIndex->nMask;
        while (pIndex->slots[i].p != nullptr)
            i = (i + 1) & pIndex->nMask;
        pIndex->slots[i] = {p, nHash};
        ++pIndex->nUsed;
    }
    // Without memory for it the map goes on without an index.
    void rebuildIndex() {
        Index* pOld = index();
        index() = nullptr;
        std::size_t nSlots = 64;
        while (nSlots / 2 < static_cast<std::size_t>(m_nCount))
            nSlots *= 2;
        Index* pIndex = nullptr;
        if (nSlots <= (std::size_t(1) << 28))
            pIndex = static_cast<Index*>(std::calloc(1, sizeof(Index) + (nSlots - 1) * sizeof(Slot)));
        if (pIndex != nullptr) {
            pIndex->nMask = static_cast<UINT>(nSlots - 1);
            if (pOld != nullptr) {
                for (UINT i = 0; i <= pOld->nMask; ++i)
                    if (pOld->slots[i].p != nullptr && pOld->slots[i].p != removedMark())
                        place(pIndex, pOld->slots[i].p, pOld->slots[i].nHash);
            } else {
                for (UINT i = 0; i < m_nHashTableSize; ++i)
                    for (CAssoc* p = m_pHashTable[i]; p != nullptr; p = p->pNext)
                        place(pIndex, p, p->nHashValue);
            }
            index() = pIndex;
        }
        std::free(pOld);
    }

    CAssoc* firstFrom(UINT nBucket) const {
        for (; nBucket < m_nHashTableSize; ++nBucket)
            if (m_pHashTable[nBucket] != nullptr)
                return m_pHashTable[nBucket];
        return nullptr;
    }
    CAssoc* next(const CAssoc* p) const {
        return p->pNext != nullptr ? p->pNext : firstFrom(bucketOf(p->nHashValue) + 1);
    }
    CAssoc* current(POSITION pos) const {
        ENSURE(pos != nullptr && m_pHashTable != nullptr);
        CAssoc* p = pos == BEFORE_START_POSITION ? firstFrom(0) : reinterpret_cast<CAssoc*>(pos);
        ENSURE(p != nullptr);
        return p;
    }
};

// ---- Typed wrappers

// A container of untyped pointers (BASE_CLASS) read and written as TYPE, a pointer type.
template <class BASE_CLASS, class TYPE>
class CTypedPtrArray : public BASE_CLASS {
public:
    TYPE GetAt(INT_PTR nIndex) const { return static_cast<TYPE>(BASE_CLASS::GetAt(nIndex)); }
    TYPE& ElementAt(INT_PTR nIndex) { return reinterpret_cast<TYPE&>(BASE_CLASS::ElementAt(nIndex)); }
    void SetAt(INT_PTR nIndex, TYPE ptr) { BASE_CLASS::SetAt(nIndex, ptr); }
    void SetAtGrow(INT_PTR nIndex, TYPE newElement) { BASE_CLASS::SetAtGrow(nIndex, newElement); }
    INT_PTR Add(TYPE newElement) { return BASE_CLASS::Add(newElement); }
    void InsertAt(INT_PTR nIndex, TYPE newElement, INT_PTR nCount = 1) {
        BASE_CLASS::InsertAt(nIndex, newElement, nCount);
    }
    TYPE operator[](INT_PTR nIndex) const { return GetAt(nIndex); }
    TYPE& operator[](INT_PTR nIndex) { return ElementAt(nIndex); }
};

template <class BASE_CLASS, class TYPE>
class CTypedPtrList : public BASE_CLASS {
public:
    explicit CTypedPtrList(INT_PTR nBlockSize = 10)
        : BASE_CLASS(nBlockSize) {}
    TYPE GetHead() const { return static_cast<TYPE>(BASE_CLASS::GetHead()); }
    TYPE GetTail() const { return static_cast<TYPE>(BASE_CLASS::GetTail()); }
    TYPE RemoveHead() { return static_cast<TYPE>(BASE_CLASS::RemoveHead()); }
    TYPE RemoveTail() { return static_cast<TYPE>(BASE_CLASS::RemoveTail()); }
    POSITION AddHead(TYPE newElement) { return BASE_CLASS::AddHead(newElement); }
    POSITION AddTail(TYPE newElement) { return BASE_CLASS::AddTail(newElement); }
    TYPE GetNext(POSITION& rPosition) const { return static_cast<TYPE>(BASE_CLASS::GetNext(rPosition)); }
    TYPE GetPrev(POSITION& rPosition) const { return static_cast<TYPE>(BASE_CLASS::GetPrev(rPosition)); }
    TYPE GetAt(POSITION position) const { return static_cast<TYPE>(BASE_CLASS::GetAt(position)); }
    void SetAt(POSITION pos, TYPE newElement) { BASE_CLASS::SetAt(pos, newElement); }
};
