// Message boxes and debugger texts of the POSIX layer.
#include <gtest/gtest.h>
#include <posix/hooks.h>

#include <cstdlib>
#include <string>

namespace {

std::wstring g_text;
std::wstring g_caption;
UINT g_type;

int RecordBox(HWND, LPCWSTR text, LPCWSTR caption, UINT type) {
    g_text = text;
    g_caption = caption;
    g_type = type;
    return IDRETRY;
}

void RecordDebug(LPCWSTR text) {
    g_text += text;
}

// What a call writes to standard error.
template <class Call>
std::string StandardError(Call call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(MessageBoxes, GoToTheSink) {
    const MvMessageBoxSink before = MvSetMessageBoxSink(&RecordBox);
    EXPECT_EQ(MessageBoxW(nullptr, L"text", L"caption", MB_RETRYCANCEL | MB_ICONERROR), IDRETRY);
    EXPECT_EQ(g_text, L"text");
    EXPECT_EQ(g_caption, L"caption");
    EXPECT_EQ(g_type, UINT{MB_RETRYCANCEL | MB_ICONERROR});
    MessageBoxW(nullptr, nullptr, nullptr, MB_OK);
    EXPECT_EQ(g_text, L"");
    EXPECT_EQ(g_caption, L"Error");
    EXPECT_EQ(MvSetMessageBoxSink(before), &RecordBox);
}

TEST(MessageBoxes, WithoutASinkTheTextGoesToStandardError) {
    const MvMessageBoxSink before = MvSetMessageBoxSink(nullptr);
    EXPECT_EQ(StandardError([] { MessageBoxW(nullptr, L"text \u20AC", L"caption", MB_OK); }),
              "caption: text \xE2\x82\xAC\n");
    EXPECT_EQ(StandardError([] { MessageBoxW(nullptr, L"text", L"", MB_OK); }), "text\n");
    MvSetMessageBoxSink(before);
}

TEST(MessageBoxes, WithoutASinkTheDefaultButtonAnswers) {
    const MvMessageBoxSink before = MvSetMessageBoxSink(nullptr);
    const auto answer = [](UINT type) {
        int result = 0;
        StandardError([&] { result = MessageBoxW(nullptr, L"", L"", type); });
        return result;
    };
    EXPECT_EQ(answer(MB_OK), IDOK);
    EXPECT_EQ(answer(MB_OKCANCEL), IDOK);
    EXPECT_EQ(answer(MB_OKCANCEL | MB_DEFBUTTON2), IDCANCEL);
    EXPECT_EQ(answer(MB_YESNO), IDYES);
    EXPECT_EQ(answer(MB_YESNO | MB_DEFBUTTON2), IDNO);
    EXPECT_EQ(answer(MB_YESNOCANCEL | MB_DEFBUTTON3), IDCANCEL);
    EXPECT_EQ(answer(MB_ABORTRETRYIGNORE | MB_DEFBUTTON3), IDIGNORE);
    EXPECT_EQ(answer(MB_RETRYCANCEL | MB_ICONERROR), IDRETRY);
    EXPECT_EQ(answer(MB_CANCELTRYCONTINUE | MB_DEFBUTTON2), IDTRYAGAIN);
    EXPECT_EQ(answer(MB_OK | MB_DEFBUTTON3), IDOK);
    EXPECT_EQ(MessageBoxW(nullptr, L"", L"", 7), 0);
    EXPECT_EQ(GetLastError(), 1438u);
    MvSetMessageBoxSink(before);
}

TEST(DebugOutput, GoesToTheSink) {
    g_text.clear();
    const MvDebugSink before = MvSetDebugSink(&RecordDebug);
    SetLastError(5);
    OutputDebugStringW(L"one ");
    OutputDebugStringA("two \x80");
    OutputDebugStringW(nullptr);
    EXPECT_EQ(g_text, L"one two \u20AC");
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_EQ(MvSetDebugSink(before), &RecordDebug);
    EXPECT_FALSE(IsDebuggerPresent());
}

TEST(DebugOutput, GoesToStandardErrorOnlyWhenAskedFor) {
    const MvDebugSink before = MvSetDebugSink(nullptr);
    ::unsetenv("MVLIB_DEBUG");
    EXPECT_EQ(StandardError([] { OutputDebugStringW(L"text\n"); }), "");
    ::setenv("MVLIB_DEBUG", "1", 1);
    EXPECT_EQ(StandardError([] { OutputDebugStringW(L"m\u00F2dul\n"); }), "m\xC3\xB2"
                                                                          "dul\n");
    ::unsetenv("MVLIB_DEBUG");
    MvSetDebugSink(before);
}
