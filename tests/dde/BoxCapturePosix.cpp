#include "BoxCapture.h"

#include <posix/hooks.h>

namespace {

std::vector<Box> boxes;
MvMessageBoxSink previous;

int Keep(HWND, LPCWSTR text, LPCWSTR caption, UINT style) {
    boxes.push_back({caption, text, style});
    return IDOK;
}

} // namespace

BoxCapture::BoxCapture() {
    boxes.clear();
    previous = MvSetMessageBoxSink(&Keep);
}

BoxCapture::~BoxCapture() {
    MvSetMessageBoxSink(previous);
}

const std::vector<Box>& BoxCapture::Boxes() const {
    return boxes;
}
