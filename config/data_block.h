// The bytes of a data block. docs/data-blocks.md is the description for readers.
#pragma once

#include "TBlocOpcions.h"

#include <cstddef>

namespace datablock {

enum Kind : int { NONE = -1, INTEGER = 0, REAL = 1, NARROW_TEXT = 2, SUB_BLOCK = 3, BINARY = 4, TEXT = 5 };

constexpr unsigned char SIGNATURE[] = {'D', 'R', 'I', 'V', 'E', 'R', '-', 'B', 'L', 'O', 'C'};
constexpr unsigned SIGNATURE_SIZE = sizeof SIGNATURE;
constexpr unsigned MAX_KIND = TEXT;

constexpr int DAMAGED = -3;
constexpr int UNKNOWN_KIND = -9;

// A wide text in memory of its own or in a small buffer, for names on their way in.
class WideText {
public:
    WideText() = default;
    WideText(const WideText&) = delete;
    WideText& operator=(const WideText&) = delete;
    ~WideText();

    // The `size` bytes in the thread's code page as a wide text. False without memory.
    bool Set(const unsigned char* bytes, unsigned size);
    // Valid until the next Set. A text may hold NULs; whoever reads it as a C string sees it up to the first.
    const wchar_t* Get() const { return m_text; }
    // Whether it is known to hold no "/".
    bool IsPlain() const { return m_plain; }

private:
    bool reserve(std::size_t length);

    bool m_plain = false;
    wchar_t* m_text = m_small;
    std::size_t m_capacity = SMALL;
    static constexpr std::size_t SMALL = 128;
    wchar_t m_small[SMALL] = {};
};

// One entry as it lies in a data block.
struct Entry {
    const unsigned char* name;
    unsigned nameSize;
    int kind; // 0 to 5
    const unsigned char* data;
    unsigned size; // bytes of the value, without its count

    long Integer() const;
    double Real() const;
    // The text of the kinds 2 and 5 in a malloc block; null without memory.
    wchar_t* Text() const;
    // The value as an item. Throws CMemoryException*.
    void Load(ITEMBLOCOPCIONS& item) const;
};

// Goes through the entries of a data block, which must stay where it is.
class Reader {
public:
    Reader(const void* data, unsigned size);

    // 1 and the next entry; 0 at the end; DAMAGED; UNKNOWN_KIND. No bytes at all are an empty block.
    int Next(Entry& entry);

private:
    const unsigned char* m_at;
    std::size_t m_rest;
    bool m_valid;
};

// Puts a data block together.
class Writer {
public:
    Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer();

    void Add(const CString& name, const ITEMBLOCOPCIONS& item);
    // The block, which belongs to the caller, and its size; null and 0 when memory ran out on the way.
    unsigned char* Detach(unsigned& size);

private:
    bool grow(std::size_t count);
    unsigned char* reserve(std::size_t count);
    void addName(const wchar_t* text, std::size_t length);
    void addText(const wchar_t* text);
    void addBytes(const void* bytes, unsigned size);

    unsigned char* m_block = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    bool m_failed = false;
};

} // namespace datablock
