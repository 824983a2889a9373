// GetLastError, SetLastError, FormatMessageW.
#include <gtest/gtest.h>
#include <win32.h>

#include <atomic>
#include <string>
#include <thread>

namespace {

constexpr DWORD neutralDefault = 0x0400;

std::wstring SystemText(DWORD error, DWORD flags = 0) {
    wchar_t text[512] = L"";
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | flags,
                                        nullptr, error, neutralDefault, text, 512, nullptr);
    EXPECT_EQ(length, wcslen(text));
    return text;
}

std::wstring Pattern(const wchar_t* pattern, DWORD flags = 0) {
    DWORD_PTR arguments[] = {reinterpret_cast<DWORD_PTR>(L"one"), 42, reinterpret_cast<DWORD_PTR>("nar")};
    wchar_t text[256] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY | flags, pattern, 0, 0, text,
                   256, reinterpret_cast<va_list*>(arguments));
    return text;
}

bool EndsWith(const std::wstring& text, const std::wstring& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

TEST(FormatMessage, ExampleUsage) {
    SetLastError(ERROR_ACCESS_DENIED);
    wchar_t* text = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, GetLastError(),
                       neutralDefault, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    ASSERT_NE(length, 0u);
    EXPECT_EQ(wcslen(text), length);
    EXPECT_EQ(LocalFree(text), nullptr);
}

TEST(LastError, BelongsToTheThread) {
    // The threads wait for each other without a call that has an error of its own.
    std::atomic<int> step{0};
    DWORD other = 99;
    std::thread thread([&] {
        SetLastError(7);
        step = 1;
        while (step != 2) {
        }
        other = GetLastError();
    });
    SetLastError(5);
    while (step != 1) {
    }
    const DWORD own = GetLastError();
    step = 2;
    thread.join();
    EXPECT_EQ(own, 5u);
    EXPECT_EQ(other, 7u);
}

TEST(FormatMessage, SystemTextEndsInALineBreak) {
    for (const DWORD error :
         {0u, 2u, 3u, 5u, 6u, 8u, 32u, 33u, 87u, 112u, 122u, 123u, 183u, 487u, 1006u, 1132u}) {
        const std::wstring text = SystemText(error);
        EXPECT_GT(text.size(), 3u) << error;
        EXPECT_TRUE(EndsWith(text, L".\r\n")) << error;
    }
}

TEST(FormatMessage, TextsOfDifferentErrorsDiffer) {
    EXPECT_NE(SystemText(2), SystemText(3));
    EXPECT_NE(SystemText(5), SystemText(32));
}

TEST(FormatMessage, ResultCodeThatWrapsASystemErrorHasItsText) {
    EXPECT_EQ(SystemText(0x80070005), SystemText(5));
}

TEST(FormatMessage, WidthMaskJoinsTheLines) {
    const std::wstring text = SystemText(5, FORMAT_MESSAGE_MAX_WIDTH_MASK);
    EXPECT_TRUE(EndsWith(text, L". "));
    EXPECT_EQ(text.find_first_of(L"\r\n"), std::wstring::npos);
}

TEST(FormatMessage, AllocatedBlockHasTheMinimumSize) {
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                                        5, neutralDefault, reinterpret_cast<LPWSTR>(&text), 4000, nullptr);
    ASSERT_NE(length, 0u);
    text[3999] = L'x';
    LocalFree(text);
}

TEST(FormatMessage, InsertsTakeTextsAndNumbers) {
    EXPECT_EQ(Pattern(L"a %1 b %2!d! c"), L"a one b 42 c");
    EXPECT_EQ(Pattern(L"%2!04u! %2!x! %1!s! %1"), L"0042 2a one one");
    EXPECT_EQ(Pattern(L"%3!hs!"), L"nar");
}

TEST(FormatMessage, EscapesOfPatterns) {
    EXPECT_EQ(Pattern(L"100%% a%nb%tc%! d%. e%0 never"), L"100% a\r\nb\tc! d. e");
    EXPECT_EQ(Pattern(L"a\nb\rc\r\nd"), L"a\r\nb\r\nc\r\nd");
    EXPECT_EQ(Pattern(L"a\nb%nc", FORMAT_MESSAGE_MAX_WIDTH_MASK), L"a b\r\nc");
}

TEST(FormatMessage, IgnoredInsertsStay) {
    EXPECT_EQ(Pattern(L"a %1 b%nc", FORMAT_MESSAGE_IGNORE_INSERTS), L"a %1 b\r\nc");
}

// Error results

TEST(FormatMessage, UnknownNumberGives317) {
    wchar_t text[64];
    for (const DWORD error : {123456u, 0xFFFFFFFFu}) {
        SetLastError(0);
        EXPECT_EQ(
            FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error, neutralDefault, text, 64, nullptr),
            0u);
        EXPECT_EQ(GetLastError(), 317u);
    }
}

TEST(FormatMessage, SmallBufferGives122) {
    wchar_t text[5];
    EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, neutralDefault, text, 5, nullptr), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(FormatMessage, MissingBufferOrSourceGives87) {
    wchar_t text[64];
    EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, neutralDefault, nullptr, 64, nullptr),
              0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    SetLastError(0);
    EXPECT_EQ(FormatMessageW(0, nullptr, 5, neutralDefault, text, 64, nullptr), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}
