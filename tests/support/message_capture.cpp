#include "message_capture.h"

namespace {

MessageCapture* current = nullptr;

} // namespace

MessageCapture::MessageCapture(int answer)
    : m_previous(current)
    , m_answer(answer) {
    current = this;
}

MessageCapture::~MessageCapture() {
    current = m_previous;
}

MessageCapture* MessageCapture::Current() {
    return current;
}

int MessageCapture::Show(const wchar_t* text, unsigned int style, unsigned int help) {
    m_boxes.push_back({text ? text : L"", style, help});
    return m_answer;
}
