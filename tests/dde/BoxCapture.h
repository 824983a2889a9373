// Catches the message boxes that the calling thread shows with MessageBoxW and answers each with OK.
#pragma once

#include <string>
#include <vector>

struct Box {
    std::wstring caption;
    std::wstring text;
    unsigned int style; // MB_OK and the icon
};

// One at a time.
class BoxCapture {
public:
    BoxCapture();
    ~BoxCapture();
    BoxCapture(const BoxCapture&) = delete;
    BoxCapture& operator=(const BoxCapture&) = delete;

    const std::vector<Box>& Boxes() const;
};
