// MultiByteToWideChar, WideCharToMultiByte.
#include <gtest/gtest.h>
#include <win32.h>

#include <cstring>
#include <string>

namespace {

constexpr UINT windows1252 = 1252;

std::wstring Wide(UINT page, const std::string& bytes, DWORD flags = 0) {
    wchar_t text[256];
    const int length =
        MultiByteToWideChar(page, flags, bytes.data(), static_cast<int>(bytes.size()), text, 256);
    return std::wstring(text, static_cast<std::size_t>(length));
}

std::string Narrow(UINT page, const std::wstring& text, DWORD flags = 0) {
    char bytes[256];
    const int length = WideCharToMultiByte(page, flags, text.data(), static_cast<int>(text.size()), bytes,
                                           256, nullptr, nullptr);
    return std::string(bytes, static_cast<std::size_t>(length));
}

DWORD ErrorOf(int result) {
    EXPECT_EQ(result, 0);
    return GetLastError();
}

} // namespace

TEST(CodePages, ExampleUsage) {
    const wchar_t text[] = L"Configuraci\u00F3";
    char bytes[32];
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    ASSERT_EQ(needed, 14);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, 32, nullptr, nullptr), needed);
    EXPECT_STREQ(bytes, "Configuraci\xC3\xB3");
}

TEST(CodePages, AnsiPageIs1252) {
    EXPECT_EQ(GetACP(), windows1252);
    EXPECT_EQ(Wide(CP_ACP, "\x80\xE9"), L"\u20AC\u00E9");
    EXPECT_EQ(Wide(CP_THREAD_ACP, "\x80\xE9"), L"\u20AC\u00E9");
    EXPECT_EQ(Narrow(CP_ACP, L"\u20AC\u00E9"), "\x80\xE9");
}

TEST(CodePages, EveryByteOf1252GoesBothWays) {
    for (int value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        const std::wstring wide = Wide(windows1252, byte, MB_ERR_INVALID_CHARS);
        ASSERT_EQ(wide.size(), 1u) << value;
        EXPECT_EQ(Narrow(windows1252, wide), byte) << value;
    }
    EXPECT_EQ(Wide(windows1252, "\x82\x8E\x95\x99\x9F"), L"\u201A\u017D\u2022\u2122\u0178");
    EXPECT_EQ(Wide(windows1252, "\x81\x8D\x8F\x90\x9D"), L"\x81\x8D\x8F\x90\x9D");
}

TEST(CodePages, CharactersOutside1252BecomeLookAlikesOrTheDefault) {
    EXPECT_EQ(Narrow(windows1252, L"\u0101\u0393\u2261\u4E00"), "aG=?");
    EXPECT_EQ(Narrow(windows1252, L"\uFF21\uFF5E\u2212"), "A~-");
    EXPECT_EQ(Narrow(windows1252, L"\u0101\u0393", WC_NO_BEST_FIT_CHARS), "??");
}

TEST(CodePages, SumOfAllLookAlikes) {
    // The whole table at once: each character of the basic plane that has a byte, and its byte.
    unsigned count = 0;
    unsigned long long sum = 0;
    for (unsigned unit = 1; unit < 0x10000; ++unit) {
        if (unit >= 0xD800 && unit < 0xE000)
            continue;
        const wchar_t wide = static_cast<wchar_t>(unit);
        char byte = 0;
        BOOL used = FALSE;
        ASSERT_EQ(WideCharToMultiByte(windows1252, 0, &wide, 1, &byte, 1, nullptr, &used), 1);
        if (!used) {
            ++count;
            sum = sum * 31 + unit * 256ull + static_cast<unsigned char>(byte);
        }
    }
    EXPECT_EQ(count, 696u);
    EXPECT_EQ(sum, 0x133be54a96a3331bull);
}

TEST(CodePages, DefaultCharacterIsReported) {
    char bytes[8];
    BOOL used = FALSE;
    EXPECT_EQ(WideCharToMultiByte(windows1252, 0, L"a\u4E00", 2, bytes, 8, "#", &used), 2);
    EXPECT_EQ(std::string(bytes, 2), "a#");
    EXPECT_TRUE(used);
    EXPECT_EQ(WideCharToMultiByte(windows1252, 0, L"ab", 2, bytes, 8, "#", &used), 2);
    EXPECT_FALSE(used);
}

TEST(CodePages, CharacterBeyondTheBasicPlaneCountsTwiceIn1252) {
    const std::wstring smile = Wide(CP_UTF8, "\xF0\x9F\x98\x80");
    EXPECT_EQ(smile.size(), sizeof(wchar_t) == 2 ? 2u : 1u);
    EXPECT_EQ(Narrow(windows1252, smile), "??");
    EXPECT_EQ(Narrow(CP_UTF8, smile), "\xF0\x9F\x98\x80");
}

TEST(CodePages, SurrogatePairBecomesOneSequence) {
    const wchar_t pair[] = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    EXPECT_EQ(Narrow(CP_UTF8, std::wstring(pair, 2)), "\xF0\x9F\x98\x80");
}

TEST(CodePages, LoneSurrogateBecomesTheReplacement) {
    const std::wstring lone(1, static_cast<wchar_t>(0xD83D));
    EXPECT_EQ(Narrow(CP_UTF8, lone), "\xEF\xBF\xBD");
    char bytes[8];
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, lone.data(), 1, bytes, 8, nullptr,
                                          nullptr)),
              DWORD{ERROR_NO_UNICODE_TRANSLATION});
}

TEST(CodePages, MalformedUtf8GivesOneReplacementPerWellBegunPart) {
    EXPECT_EQ(Wide(CP_UTF8, "\xE2\x82"), L"\uFFFD");
    EXPECT_EQ(Wide(CP_UTF8, "\xE2\x82"
                            "a"),
              L"\uFFFDa");
    EXPECT_EQ(Wide(CP_UTF8, "\xF0\x9F\x98"), L"\uFFFD");
    EXPECT_EQ(Wide(CP_UTF8, "\xE2"
                            "ab"),
              L"\uFFFDab");
    EXPECT_EQ(Wide(CP_UTF8, "\xFF\x80"), L"\uFFFD\uFFFD");
    EXPECT_EQ(Wide(CP_UTF8, "\xC0\x80"), L"\uFFFD\uFFFD");
}

TEST(CodePages, MalformedUtf8IsRefusedOnRequest) {
    wchar_t text[8];
    for (const char* bytes : {"\xE2\x82", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\xFF"})
        EXPECT_EQ(ErrorOf(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, -1, text, 8)),
                  DWORD{ERROR_NO_UNICODE_TRANSLATION});
}

TEST(CodePages, NegativeLengthIncludesTheNul) {
    wchar_t text[8] = {L'x', L'x', L'x', L'x', L'x', L'x', L'x', L'x'};
    EXPECT_EQ(MultiByteToWideChar(windows1252, 0, "abc", -1, text, 8), 4);
    EXPECT_STREQ(text, L"abc");
    EXPECT_EQ(MultiByteToWideChar(windows1252, 0, "abc", -7, nullptr, 0), 4);
}

TEST(CodePages, GivenLengthIsTakenAsItIs) {
    EXPECT_EQ(Wide(windows1252, std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
    EXPECT_EQ(Narrow(CP_UTF8, std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
}

// Error results

TEST(CodePages, SmallOutputGives122) {
    wchar_t text[2];
    char bytes[2];
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(windows1252, 0, "abc", 3, text, 2)),
              DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(CP_UTF8, 0, L"abc", 3, bytes, 2, nullptr, nullptr)),
              DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(CodePages, BadArgumentsGive87) {
    wchar_t text[8];
    char bytes[8];
    const DWORD bad = ERROR_INVALID_PARAMETER;
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(9999, 0, "abc", 3, text, 8)), bad);
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(windows1252, 0, nullptr, 3, text, 8)), bad);
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(windows1252, 0, "abc", 0, text, 8)), bad);
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(windows1252, 0, "abc", 3, nullptr, 8)), bad);
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(windows1252, 0, "abc", 3, text, -1)), bad);
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(9999, 0, L"abc", 3, bytes, 8, nullptr, nullptr)), bad);
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(windows1252, 0, nullptr, 3, bytes, 8, nullptr, nullptr)), bad);
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(windows1252, 0, L"abc", 0, bytes, 8, nullptr, nullptr)), bad);
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(windows1252, 0, L"abc", 3, nullptr, 8, nullptr, nullptr)), bad);
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(windows1252, 0, L"abc", 3, bytes, -1, nullptr, nullptr)), bad);
}

TEST(CodePages, UnknownFlagsGive1004) {
    wchar_t text[8];
    char bytes[8];
    EXPECT_EQ(ErrorOf(MultiByteToWideChar(windows1252, 0xF0, "abc", 3, text, 8)), DWORD{ERROR_INVALID_FLAGS});
    EXPECT_EQ(ErrorOf(WideCharToMultiByte(windows1252, 0x10000, L"abc", 3, bytes, 8, nullptr, nullptr)),
              DWORD{ERROR_INVALID_FLAGS});
}
