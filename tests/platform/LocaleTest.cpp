// GetLocaleInfoW, GetVersionExW.
#include <gtest/gtest.h>
#include <win32.h>

#include <string>

namespace {

constexpr LCID english = 0x0409;
constexpr LCID catalan = 0x0403;
constexpr LCID spanish = 0x0C0A;
constexpr LCID french = 0x040C;

std::wstring Fact(LCID locale, LCTYPE type) {
    wchar_t text[40] = L"";
    const int length = GetLocaleInfoW(locale, type, text, 40);
    EXPECT_EQ(length, static_cast<int>(wcslen(text)) + 1);
    return text;
}

DWORD ErrorOf(int result) {
    const DWORD error = GetLastError();
    EXPECT_EQ(result, 0);
    SetLastError(99);
    return error;
}

} // namespace

TEST(LocaleInfo, ExampleUsage) {
    wchar_t system[10];
    EXPECT_EQ(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IMEASURE, system, 10), 2);
    EXPECT_TRUE(system[0] == L'0' || system[0] == L'1');
}

TEST(LocaleInfo, MeasurementSystem) {
    EXPECT_EQ(Fact(english, LOCALE_IMEASURE), L"1");
    EXPECT_EQ(Fact(0x0809, LOCALE_IMEASURE), L"0");
    EXPECT_EQ(Fact(catalan, LOCALE_IMEASURE), L"0");
    EXPECT_EQ(Fact(spanish, LOCALE_IMEASURE | LOCALE_NOUSEROVERRIDE), L"0");
    DWORD number = 99;
    EXPECT_EQ(GetLocaleInfoW(english, LOCALE_IMEASURE | LOCALE_RETURN_NUMBER,
                             reinterpret_cast<LPWSTR>(&number), sizeof number / sizeof(wchar_t)),
              static_cast<int>(sizeof number / sizeof(wchar_t)));
    EXPECT_EQ(number, 1u);
}

TEST(LocaleInfo, SignsOfNumbers) {
    EXPECT_EQ(Fact(english, LOCALE_SDECIMAL) + Fact(english, LOCALE_STHOUSAND), L".,");
    EXPECT_EQ(Fact(catalan, LOCALE_SDECIMAL) + Fact(catalan, LOCALE_STHOUSAND), L",.");
    EXPECT_EQ(Fact(spanish, LOCALE_SDECIMAL) + Fact(spanish, LOCALE_STHOUSAND), L",.");
    EXPECT_EQ(Fact(french, LOCALE_SDECIMAL) + Fact(french, LOCALE_STHOUSAND), L",\u00A0");
}

TEST(LocaleInfo, Names) {
    EXPECT_EQ(Fact(catalan, LOCALE_SNAME), L"ca-ES");
    EXPECT_EQ(Fact(catalan, LOCALE_SISO639LANGNAME), L"ca");
    EXPECT_EQ(Fact(english, LOCALE_SISO3166CTRYNAME), L"US");
}

TEST(LocaleInfo, SizeZeroAsksForTheSize) {
    EXPECT_EQ(GetLocaleInfoW(english, LOCALE_IMEASURE, nullptr, 0), 2);
    EXPECT_EQ(GetLocaleInfoW(english, LOCALE_SNAME, nullptr, 0), 6);
}

// ---- Error results

TEST(LocaleInfo, SmallBufferGives122) {
    wchar_t text[10];
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(english, LOCALE_IMEASURE, text, 1)), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(LocaleInfo, UnknownFactGives1004) {
    wchar_t text[10];
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(english, 0x7777, text, 10)), DWORD{ERROR_INVALID_FLAGS});
}

TEST(LocaleInfo, UnknownLocaleAndBadSizeGive87) {
    wchar_t text[10];
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(0x7777, LOCALE_IMEASURE, text, 10)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(english, LOCALE_IMEASURE, text, -1)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(english, LOCALE_IMEASURE, nullptr, 1)), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(SystemVersion, BothRecordsAgree) {
    OSVERSIONINFOEXW extended = {};
    extended.dwOSVersionInfoSize = sizeof extended;
    ASSERT_TRUE(GetVersionExW(reinterpret_cast<LPOSVERSIONINFOW>(&extended)));
    EXPECT_GT(extended.dwMajorVersion, 0u);
    EXPECT_GT(extended.dwPlatformId, 1u);
    EXPECT_EQ(extended.wProductType, VER_NT_WORKSTATION);
    OSVERSIONINFOW plain = {};
    plain.dwOSVersionInfoSize = sizeof plain;
    ASSERT_TRUE(GetVersionExW(&plain));
    EXPECT_EQ(plain.dwMajorVersion, extended.dwMajorVersion);
    EXPECT_EQ(plain.dwMinorVersion, extended.dwMinorVersion);
    EXPECT_EQ(plain.dwBuildNumber, extended.dwBuildNumber);
    EXPECT_EQ(plain.dwPlatformId, extended.dwPlatformId);
    EXPECT_STREQ(plain.szCSDVersion, extended.szCSDVersion);
}

TEST(SystemVersion, RecordOfAnotherSizeIsRefused) {
    OSVERSIONINFOW record = {};
    record.dwOSVersionInfoSize = 3;
    EXPECT_FALSE(GetVersionExW(&record));
    EXPECT_EQ(record.dwMajorVersion, 0u);
}
