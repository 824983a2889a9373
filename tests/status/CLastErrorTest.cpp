#include <CLastError.h>

#include "alloc_failure.h"
#include "debug_capture.h"
#include "message_capture.h"
#include "throws.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const unsigned long AllOnes[] = {static_cast<unsigned long>(-1), 0xFFFFFFFFul};
const unsigned int NoSuchError = 0x2FFFFFFF;

std::wstring SystemText(DWORD error) {
    wchar_t text[1024] = L"";
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error, 0x0400, text, 1024, nullptr);
    return std::wstring(text, length);
}

void FailWith2() {
    ASSERT_FALSE(::DeleteFileW(L"a file that is not there"));
    ASSERT_EQ(::GetLastError(), 2u);
}

} // namespace

TEST(CLastErrorTest, ExampleUsage) {
    FailWith2();
    const CLastError error;
    EXPECT_EQ(error.GetError(), 2u);
    EXPECT_EQ(std::wstring(error.GetText()), SystemText(2));
    EXPECT_FALSE(error.GetText().IsEmpty());
}

TEST(CLastErrorTest, TakesTheLastErrorOrTheOneGiven) {
    ::SetLastError(5);
    EXPECT_EQ(CLastError().GetError(), 5u);
    for (unsigned long all : AllOnes) {
        ::SetLastError(6);
        EXPECT_EQ(CLastError(all).GetError(), 6u);
    }
    EXPECT_EQ(CLastError(3).GetError(), 3u);
    EXPECT_EQ(CLastError(0).GetError(), 0u);
    const unsigned long converted = CLastError(32);
    EXPECT_EQ(converted, 32u);
}

TEST(CLastErrorTest, UpdateTakesTheLastErrorAgain) {
    CLastError error(3);
    ::SetLastError(87);
    error.Update();
    EXPECT_EQ(error.GetError(), 87u);
    EXPECT_EQ(error.m_dwError, 87u);
}

TEST(CLastErrorTest, CopiesAreEqual) {
    const CLastError error(3);
    CLastError copy(error);
    EXPECT_EQ(copy.GetError(), 3u);
    copy = CLastError(4);
    EXPECT_EQ(copy.GetError(), 4u);
}

TEST(CLastErrorTest, UnknownErrorHasNoText) {
    EXPECT_EQ(CLastError(NoSuchError).GetText(), L"");
    EXPECT_EQ(AfxGetMsgErrorSistema(NoSuchError), L"");
}

// ---- CStringLastError

TEST(CStringLastErrorTest, HoldsTheSystemsTextOfTheArgument) {
    const CStringLastError error(5);
    EXPECT_EQ(error.m_dwError, 5u);
    EXPECT_EQ(std::wstring(error), SystemText(5));
    EXPECT_EQ(error.Right(2), L"\r\n");
}

TEST(CStringLastErrorTest, WithoutAnArgumentItHasTheNumberButNoText) {
    FailWith2();
    const CStringLastError error;
    EXPECT_EQ(error.m_dwError, 2u);
    EXPECT_EQ(error, L"");
    for (unsigned long all : AllOnes) {
        ::SetLastError(5);
        const CStringLastError explicitly(all);
        EXPECT_EQ(explicitly.m_dwError, 5u);
        EXPECT_EQ(explicitly, L"");
    }
}

TEST(CStringLastErrorTest, CopiesHaveTextAndNumber) {
    const CStringLastError error(5);
    const CStringLastError copy(error);
    EXPECT_EQ(copy.m_dwError, 5u);
    EXPECT_EQ(copy, error);
    CStringLastError assigned(2);
    assigned = error;
    EXPECT_EQ(assigned.m_dwError, 5u);
    EXPECT_EQ(assigned, error);
}

TEST(CStringLastErrorTest, TextThatNeedsInsertsIsWhatTheSystemMakesOfIt) {
    // "%1 is not a valid ... application": Windows refuses to format it without arguments.
    EXPECT_EQ(std::wstring(CStringLastError(193)), SystemText(193));
    EXPECT_EQ(CStringLastError(193).m_dwError, 193u);
}

TEST(CStringLastErrorTest, WithoutMemoryItThrowsOrHasNoText) {
    const std::wstring text = SystemText(5);
    int defined = 0;
    const int failures = FailEachAllocation([&] {
        try {
            const CStringLastError error(5);
            EXPECT_EQ(error.m_dwError, 5u);
            if (error.IsEmpty()) // the system had no memory for its text
                ++defined;
            else
                EXPECT_EQ(std::wstring(error), text);
        } catch (CMemoryException* e) {
            e->Delete();
            ++defined;
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(defined, failures);
}

TEST(AfxGetMsgErrorSistemaTest, IsTheSystemsText) {
    EXPECT_EQ(std::wstring(AfxGetMsgErrorSistema(2)), SystemText(2));
    ::SetLastError(5);
    EXPECT_EQ(AfxGetMsgErrorSistema(static_cast<unsigned long>(-1)), L"");
}

// ---- REPORT_SYSTEM_ERROR

TEST(ReportSystemErrorTest, WithoutAnErrorNothingIsShown) {
    MessageCapture boxes;
    ::SetLastError(0);
    EXPECT_EQ(REPORT_SYSTEM_ERROR(L"Cannot save", nullptr, MB_OK), 1);
    EXPECT_EQ(boxes.Count(), 0u);
}

TEST(ReportSystemErrorTest, ShowsTextNumberAndTheSystemsText) {
    MessageCapture boxes(IDNO);
    ::SetLastError(5);
    EXPECT_EQ(REPORT_SYSTEM_ERROR(L"Cannot save", L"not used", MB_YESNO | MB_ICONHAND), IDNO);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].text, L"Cannot save (Error n\u00BA5: " + SystemText(5) + L")");
    EXPECT_EQ(boxes[0].style, static_cast<unsigned int>(MB_YESNO | MB_ICONHAND));
    EXPECT_EQ(boxes[0].help, 0u);
}

TEST(ReportSystemErrorTest, WithoutATextTheErrorStandsAlone) {
    MessageCapture boxes;
    ::SetLastError(2);
    EXPECT_EQ(REPORT_SYSTEM_ERROR(nullptr, L"not used", MB_OK), IDOK);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].text, L"Error n\u00BA2: " + SystemText(2) + L".");
}

TEST(ReportSystemErrorTest, ErrorWithoutATextIsShownByItsNumber) {
    MessageCapture boxes;
    ::SetLastError(4000000000u);
    REPORT_SYSTEM_ERROR(L"", nullptr, MB_OK);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].text, L" (Error n\u00BA4000000000: )");
}

TEST(ReportSystemErrorTest, WithoutMemoryItThrowsOrLacksTheSystemsText) {
    MessageCapture boxes(IDOK);
    int thrown = 0;
    const int failures = FailEachAllocation([&] {
        ::SetLastError(5);
        if (ThrowsMemoryException(
                [] { EXPECT_EQ(REPORT_SYSTEM_ERROR(L"Cannot save", nullptr, MB_OK), IDOK); }))
            ++thrown;
    });
    EXPECT_GT(failures, 0);
    EXPECT_GT(thrown, 0);
    ASSERT_EQ(boxes.Count(), static_cast<std::size_t>(failures + 1 - thrown));
    for (std::size_t i = 0; i < boxes.Count(); ++i)
        EXPECT_EQ(boxes[i].text.find(L"Cannot save (Error n\u00BA5: "), 0u);
}

// ---- AfxFormatDebugString

TEST(AfxFormatDebugStringTest, SendsTheFormattedText) {
    DebugCapture output;
    AfxFormatDebugString(L"%s has %d items\n", L"list", 3);
    EXPECT_EQ(output.Text(), L"list has 3 items\n");
    AfxFormatDebugString(nullptr);
    EXPECT_EQ(output.Text(), L"list has 3 items\n");
}
