#include "debug_capture.h"

#include <posix/hooks.h>

namespace {

std::wstring captured;
MvDebugSink previous;

void Keep(LPCWSTR text) {
    captured += text;
}

} // namespace

DebugCapture::DebugCapture() {
    captured.clear();
    previous = MvSetDebugSink(&Keep);
}

DebugCapture::~DebugCapture() {
    MvSetDebugSink(previous);
}

std::wstring DebugCapture::Text() const {
    return captured;
}
