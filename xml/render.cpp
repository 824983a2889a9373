#include "xml/render.h"

#include "xml/blocks.h"
#include "xml/scan.h"
#include "xml/stack.h"
#include "xml/tables.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace mvxml {

Output::~Output() {
    if (m_start)
        GiveBlock(m_start, static_cast<std::size_t>(m_limit - m_start) * sizeof(wchar_t));
}

void Output::MakeRoom(wchar_t*& target) {
    constexpr std::size_t FirstRoom = 1024;
    std::size_t used = static_cast<std::size_t>(target - m_start);
    std::size_t room = static_cast<std::size_t>(m_limit - m_start);
    room = room ? room * 2 : FirstRoom;
    // A result longer than an int can tell is refused in the end; there is no use in making it.
    if (used > INT_MAX || room > SIZE_MAX / sizeof(wchar_t))
        throw MemoryExhausted();
    std::size_t bytes = room * sizeof(wchar_t);
    void* kept = TakeLargestKeptBlock(bytes, bytes);
    wchar_t* grown = static_cast<wchar_t*>(kept ? kept : std::realloc(m_start, bytes));
    if (!grown)
        throw MemoryExhausted();
    if (kept) {
        room = bytes / sizeof(wchar_t);
        std::memcpy(grown, m_start, used * sizeof(wchar_t));
        std::free(m_start);
    }
    m_start = grown;
    m_limit = grown + room;
    target = grown + used;
}

void Output::PutText(const wchar_t* text) {
    if (text)
        CopyToStop<EndStops>(text, m_out, *this);
}

void Output::PutEscaped(const wchar_t* text) {
    if (!text)
        return;
    for (;;) {
        text = CopyToStop<EscapeStops>(text, m_out, *this);
        if (!*text)
            return;
        int length;
        const wchar_t* entity = EntityOf(*text, length);
        Ensure(m_out);
        for (int i = 0; i < length; ++i)
            *m_out++ = entity[i];
        ++text;
    }
}

wchar_t* Output::Release(int& length) {
    Put(0);
    std::size_t units = static_cast<std::size_t>(m_out - m_start) - 1;
    if (units > INT_MAX)
        return nullptr;
    length = static_cast<int>(units);
    wchar_t* result = m_start;
    // The block may be much too large. A large one keeps a little more than it needs, for the next result.
    std::size_t wanted = units + 1 + (units * sizeof(wchar_t) < SmallestKeptBlock ? 0 : units / 16 + 64);
    if (static_cast<std::size_t>(m_limit - m_start) > wanted) {
        if (wchar_t* fitting = static_cast<wchar_t*>(std::realloc(m_start, wanted * sizeof(wchar_t))))
            result = fitting;
    }
    m_start = m_out = m_limit = nullptr;
    return result;
}

int RenderFormat(int wanted) {
    return wanted && CurrentOptions.dropWhiteSpace ? 0 : -1;
}

namespace {

enum { Compact = -1, Inline = -2 };

// An element whose contents are being written.
struct Frame {
    const Record* d;
    int next;   // in the order
    int format; // for its own end tag
    int inner;  // for its contents
};

bool IsNamed(const Record* d) {
    return d->name && *d->name;
}

// Writes a start tag; answers false when nothing is to follow. `frame` gets the formats.
bool Begin(const Record* d, int format, Output& out, Frame& frame) {
    int indentation = format;
    int elements = d->elementCount();
    // A single text stays on the line of its tags.
    if (format >= 0 && elements == 1 && d->textCount == 1 && !d->declaration())
        format = Inline;
    frame = {d, 0, format, format};
    if (!IsNamed(d))
        return elements != 0;
    out.PutTabs(indentation);
    out.Put(L'<');
    if (d->declaration())
        out.Put(L'?');
    out.PutText(d->name);
    for (int i = 0; i < d->attributeCount; ++i) {
        const XMLAttribute& attribute = d->attributes[i];
        if (!attribute.name || !*attribute.name)
            continue;
        out.Put(L' ');
        out.PutText(attribute.name);
        if (attribute.value) {
            out.Put(L'=');
            out.Put(L'"');
            out.PutEscaped(attribute.value);
            out.Put(L'"');
        }
    }
    if (d->declaration()) {
        // What a declaration holds stands beside it, not below.
        out.Put(L'?');
        out.Put(L'>');
        if (format != Compact)
            out.Put(L'\n');
        return elements != 0;
    }
    if (!elements) {
        out.Put(L'/');
        out.Put(L'>');
        if (format != Compact)
            out.Put(L'\n');
        return false;
    }
    out.Put(L'>');
    if (format >= 0)
        out.Put(L'\n');
    frame.inner = format >= 0 ? format + 1 : Compact;
    return true;
}

void End(const Frame& frame, Output& out) {
    if (!IsNamed(frame.d) || frame.d->declaration())
        return;
    out.PutTabs(frame.format);
    out.Put(L'<');
    out.Put(L'/');
    out.PutText(frame.d->name);
    out.Put(L'>');
    if (frame.format != Compact)
        out.Put(L'\n');
}

void PutTextElement(const wchar_t* text, int format, Output& out) {
    out.PutTabs(format);
    out.PutEscaped(text);
    if (format >= 0)
        out.Put(L'\n');
}

void PutClearElement(const XMLClear& clear, int format, Output& out) {
    out.PutTabs(format);
    out.PutText(clear.opener);
    out.PutText(clear.value);
    out.PutText(clear.closer);
    if (format != Compact)
        out.Put(L'\n');
}

// Indentation costs the depth of every element. Where a tree is deep, this tells beforehand whether the tabs
// alone would make the result too long for an int.
bool IndentationFits(const Record* top) {
    struct Step {
        const Record* d;
        int depth;
    };
    Stack<Step, 64> steps;
    steps.Push({top, 0});
    long long tabs = 0;
    while (steps.Count() && tabs <= INT_MAX) {
        Step step = steps.Top();
        steps.CutTo(steps.Count() - 1);
        int inner = step.depth + (IsNamed(step.d) && !step.d->declaration());
        tabs += static_cast<long long>(inner) * step.d->elementCount();
        for (int i = 0; i < step.d->childCount; ++i)
            steps.Push({Children(step.d)[i], inner});
    }
    return tabs <= INT_MAX;
}

} // namespace

void Render(const Record* top, int format, Output& out) {
    constexpr std::size_t Deep = 1000;
    bool measured = format < 0;
    Stack<Frame, 64> frames;
    Frame frame;
    if (Begin(top, format, out, frame))
        frames.Push(frame);
    while (frames.Count()) {
        Frame& current = frames.Top();
        const Record* d = current.d;
        Order order(d);
        int elements = d->elementCount();
        bool descended = false;
        while (current.next < elements && !descended) {
            int entry = order[current.next++];
            int kind = entry & 3;
            if (kind == XMLELEMENT_TEXT) {
                PutTextElement(Texts(d)[entry >> 2], current.inner, out);
            } else if (kind == XMLELEMENT_CLEAR) {
                PutClearElement(Clears(d)[entry >> 2], current.inner, out);
            } else if (Begin(Children(d)[entry >> 2], current.inner, out, frame)) {
                if (frame.d->childCount || frame.d->elementCount() != 1 || !frame.d->textCount) {
                    descended = true;
                } else {
                    PutTextElement(*Texts(frame.d), frame.inner, out);
                    End(frame, out);
                }
            }
        }
        if (descended) {
            frames.Push(frame);
            if (!measured && frames.Count() > Deep) {
                measured = true;
                if (!IndentationFits(top))
                    throw MemoryExhausted();
            }
        } else {
            End(current, out);
            frames.CutTo(frames.Count() - 1);
        }
    }
}

} // namespace mvxml

wchar_t* XMLNode::createXMLString(int nFormat, int* size) const {
    int ignored;
    if (!size)
        size = &ignored;
    *size = 0;
    if (!d)
        return nullptr;
    try {
        mvxml::Output output;
        mvxml::Render(d, mvxml::RenderFormat(nFormat), output);
        return output.Release(*size);
    } catch (const mvxml::MemoryExhausted&) {
        return nullptr;
    }
}

// ---- ToXMLStringTool ----

ToXMLStringTool::~ToXMLStringTool() {
    freeBuffer();
}

void ToXMLStringTool::freeBuffer() {
    std::free(m_buffer);
    m_buffer = nullptr;
    m_capacity = 0;
}

wchar_t* ToXMLStringTool::toXML(const wchar_t* text) {
    int length = lengthXMLString(text);
    if (length == INT_MAX)
        return nullptr;
    if (length + 1 > m_capacity) {
        freeBuffer();
        m_buffer =
            static_cast<wchar_t*>(std::malloc((static_cast<std::size_t>(length) + 1) * sizeof(wchar_t)));
        if (!m_buffer)
            return nullptr;
        m_capacity = length + 1;
    }
    return toXMLUnSafe(m_buffer, text);
}

wchar_t* ToXMLStringTool::toXMLUnSafe(wchar_t* destination, const wchar_t* text) {
    wchar_t* out = destination;
    for (; text && *text; ++text) {
        int length;
        const wchar_t* entity = mvxml::EntityOf(*text, length);
        if (entity) {
            for (int i = 0; i < length; ++i)
                *out++ = entity[i];
        } else {
            *out++ = *text;
        }
    }
    *out = 0;
    return destination;
}

int ToXMLStringTool::lengthXMLString(const wchar_t* text) {
    long long length = 0;
    for (; text && *text; ++text) {
        int entityLength = 1;
        mvxml::EntityOf(*text, entityLength);
        length += entityLength;
    }
    return length < INT_MAX ? static_cast<int>(length) : INT_MAX;
}
