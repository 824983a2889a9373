// Writes a tree as text, into memory or piece by piece into a sink.
#pragma once

#include "xml/record.h"

#include <cstddef>

namespace mvxml {

class Output {
public:
    // Takes the units written so far; false stops the rendering.
    using Sink = bool (*)(const wchar_t* units, std::size_t count, void* user);

    // In memory: one block from malloc that grows.
    Output() = default;
    // Through a sink, in pieces.
    Output(Sink sink, void* user)
        : m_sink(sink)
        , m_user(user) {}
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

    // Hands over what was written in memory, with a NUL behind it; null when it is too long for an int.
    wchar_t* Release(int& length);
    // Gives the sink what it has not seen yet.
    void Flush();
    // Whether the sink has refused something.
    bool Refused() const { return m_refused; }

private:
    void MakeRoom(wchar_t*& target);

    Sink m_sink = nullptr;
    void* m_user = nullptr;
    bool m_refused = false;
    wchar_t* m_start = nullptr;
    wchar_t* m_out = nullptr;
    wchar_t* m_limit = nullptr;
};

// Format 0 indents, -1 is compact. Throws MemoryExhausted.
void Render(const Record* top, int format, Output& output);
// The format that stands for a caller's: indentation only where reading drops it again.
int RenderFormat(int wanted);

} // namespace mvxml
