// Records what the process sends to the debugger output.
#pragma once

#include <string>

// While it lives, texts given to OutputDebugStringW on this thread are kept here and go nowhere else. One at
// a time.
class DebugCapture {
public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    // All texts so far, one behind the other.
    std::wstring Text() const;
};
