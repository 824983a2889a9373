// Records the message boxes that the library would show through the application object.
//
//     MessageCapture boxes;
//     REPORT_SYSTEM_ERROR(nullptr, nullptr, MB_OK);
//     ASSERT_EQ(boxes.Count(), 1u);
//     EXPECT_EQ(boxes[0].text, L"...");
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct CapturedBox {
    std::wstring text;
    unsigned int style;
    unsigned int help;
};

// While it lives, the test program's application object records boxes instead of showing them and answers
// `answer` for each. Without one, a box fails the running test. The innermost of nested objects records.
class MessageCapture {
public:
    explicit MessageCapture(int answer = 1 /* IDOK */);
    ~MessageCapture();
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;

    std::size_t Count() const { return m_boxes.size(); }
    const CapturedBox& operator[](std::size_t index) const { return m_boxes.at(index); }

    // For the application object: the object that records now, null when there is none.
    static MessageCapture* Current();
    int Show(const wchar_t* text, unsigned int style, unsigned int help);

private:
    MessageCapture* m_previous;
    int m_answer;
    std::vector<CapturedBox> m_boxes;
};
