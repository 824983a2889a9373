// Writes a tree as text into memory.
#pragma once

#include "xml/record.h"

#include <cstddef>

namespace mvxml {

// One block that grows.
class Output {
public:
    Output() = default;
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Makes sure that 80 bytes fit at `target`, which moves with the buffer.
    void Ensure(wchar_t*& target) {
        if (m_limit - target < 80 / static_cast<std::ptrdiff_t>(sizeof(wchar_t)))
            MakeRoom(target);
    }
    void Put(wchar_t unit) {
        Ensure(m_out);
        *m_out++ = unit;
    }
    void PutTabs(int count) {
        for (int i = 0; i < count; ++i)
            Put(L'\t');
    }
    void PutText(const wchar_t* text);    // as it stands
    void PutEscaped(const wchar_t* text); // with entities

    // What was written, without a NUL behind it.
    const wchar_t* Written() const { return m_start; }
    std::size_t WrittenCount() const { return static_cast<std::size_t>(m_out - m_start); }
    // Hands it over as a string from malloc, with a NUL behind it; null when it is too long for an int.
    wchar_t* Release(int& length);

private:
    void MakeRoom(wchar_t*& target);

    wchar_t* m_start = nullptr;
    wchar_t* m_out = nullptr;
    wchar_t* m_limit = nullptr;
};

// Format 0 indents, -1 is compact. Throws MemoryExhausted.
void Render(const Record* top, int format, Output& output);
// The format that stands for a caller's: indentation only where reading drops it again.
int RenderFormat(int wanted);

} // namespace mvxml
