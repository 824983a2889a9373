#include <CMirvaExcepcio.h>

#include <Idioma.h>

#include "alloc_failure.h"
#include "debug_capture.h"
#include "message_capture.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

struct Deleter {
    void operator()(CException* e) const { e->Delete(); }
};
typedef std::unique_ptr<CMirvaExcepcio, Deleter> Caught;

Caught Make(int code, const wchar_t* message, const wchar_t* module) {
    return Caught(new CMirvaExcepcio(code, message, module));
}

template <class Action>
Caught Catch(Action action) {
    try {
        action();
    } catch (CMirvaExcepcio* e) {
        return Caught(e);
    }
    return nullptr;
}

std::wstring TextOf(CException& e) {
    wchar_t text[1024];
    EXPECT_EQ(e.GetErrorMessage(text, 1024, nullptr), 1);
    return text;
}

class CMirvaExcepcioTest : public testing::Test {
protected:
    void TearDown() override { AfxSetLanguage(0x0400); }
};

} // namespace

TEST_F(CMirvaExcepcioTest, ExampleUsage) {
    MessageCapture boxes;
    try {
        AfxThrowMirvaExcepcio(7, L"bad header", L"Import");
    } catch (CMirvaExcepcio* e) {
        if (!e->EsCancel())
            e->ReportError(MB_OK | MB_ICONHAND, 0);
        e->Delete();
    }
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].text, L"Exception 7 (?) in module [Import]: bad header.");
}

TEST_F(CMirvaExcepcioTest, KeepsCodeMessageAndModule) {
    const Caught e = Make(-123, L"text", L"place");
    EXPECT_EQ(e->m_nCodi, -123);
    EXPECT_EQ(e->m_strMissatge, L"text");
    EXPECT_EQ(e->m_strModul, L"place");
}

TEST_F(CMirvaExcepcioTest, NullMessageIsEmptyAndNoModuleIsAQuestionMark) {
    const Caught e = Make(3, nullptr, nullptr);
    EXPECT_EQ(e->m_strMissatge, L"");
    EXPECT_EQ(e->m_strModul, L"?");
    EXPECT_EQ(TextOf(*e), L"Exception 3 (?) in module [?].");
    EXPECT_EQ(Make(3, L"", L"")->m_strModul, L"?");
}

TEST_F(CMirvaExcepcioTest, TextNamesTheKindOfTheKnownCodes) {
    EXPECT_EQ(TextOf(*Make(-1, L"x", L"M")),
              L"Exception -1 (There's not enough memory to complete the operation.) in module [M]: x.");
    EXPECT_EQ(TextOf(*Make(-2, L"", L"M")), L"Exception -2 (Operation not supported.) in module [M].");
    EXPECT_EQ(TextOf(*Make(-5, L"", L"M")), L"Exception -5 (?) in module [M].");
    EXPECT_EQ(TextOf(*Make(0, L"y", L"M")), L"Exception 0 (?) in module [M]: y.");
}

TEST_F(CMirvaExcepcioTest, TextIsTakenInTheCurrentLanguage) {
    AfxSetLanguage(0x0411); // a language without a module
    EXPECT_EQ(TextOf(*Make(7, L"x", L"M")), L"");
}

TEST_F(CMirvaExcepcioTest, PercentSignsOfTheMessageAreText) {
    EXPECT_EQ(TextOf(*Make(7, L"100%s %n", L"%d")), L"Exception 7 (?) in module [%d]: 100%s %n.");
}

TEST_F(CMirvaExcepcioTest, CapacityAndHelpContextAreNotLookedAt) {
    wchar_t text[1024];
    unsigned int help = 77;
    EXPECT_EQ(Make(3, nullptr, nullptr)->GetErrorMessage(text, 4, &help), 1);
    EXPECT_STREQ(text, L"Exception 3 (?) in module [?].");
    EXPECT_EQ(help, 77u);
}

TEST_F(CMirvaExcepcioTest, LongTextIsCutTo1023Characters) {
    const std::wstring longMessage(3000, L'm');
    const std::wstring text = TextOf(*Make(1, longMessage.c_str(), L"M"));
    EXPECT_EQ(text.size(), 1023u);
    EXPECT_EQ(text.substr(0, 30), L"Exception 1 (?) in module [M]:");
    EXPECT_EQ(text.back(), L'm');
}

TEST_F(CMirvaExcepcioTest, TextOfExactly1023CharactersIsWhole) {
    const size_t frame = std::wstring(L"Exception 1 (?) in module [M]: .").size();
    const std::wstring message(1023 - frame, L'm');
    const std::wstring text = TextOf(*Make(1, message.c_str(), L"M"));
    EXPECT_EQ(text.size(), 1023u);
    EXPECT_EQ(text.back(), L'.');
}

TEST_F(CMirvaExcepcioTest, TextWithoutMemoryNamesTheCode) {
    const Caught e = Make(-1, L"x", L"M");
    const std::wstring whole = TextOf(*e);
    int cut = 0;
    const int failures = FailEachAllocation([&] {
        const std::wstring text = TextOf(*e);
        if (text == L"Exception -1")
            ++cut;
    });
    EXPECT_GT(failures, 0);
    EXPECT_GT(cut, 0);
    EXPECT_EQ(TextOf(*e), whole);
    // A box is shown all the same.
    MessageCapture boxes(IDOK);
    FailEachAllocation([&] { EXPECT_EQ(e->ReportError(MB_OK, 0), IDOK); });
}

TEST_F(CMirvaExcepcioTest, BothTextOperationsAgreeAndANullBufferIsLeftAlone) {
    const Caught e = Make(7, L"x", L"M");
    const CException& base = *e;
    wchar_t text[1024];
    EXPECT_EQ(base.GetErrorMessage(text, 1024), 1);
    EXPECT_EQ(TextOf(*e), text);
    EXPECT_EQ(base.GetErrorMessage(nullptr, 0), 1);
}

TEST_F(CMirvaExcepcioTest, ReportShowsTheTextInTheGivenStyle) {
    MessageCapture boxes(IDRETRY);
    EXPECT_EQ(Make(7, L"x", L"M")->ReportError(MB_RETRYCANCEL | MB_ICONHAND, 18000), IDRETRY);
    ASSERT_EQ(boxes.Count(), 1u);
    EXPECT_EQ(boxes[0].text, L"Exception 7 (?) in module [M]: x.");
    EXPECT_EQ(boxes[0].style, static_cast<unsigned int>(MB_RETRYCANCEL | MB_ICONHAND));
    EXPECT_EQ(boxes[0].help, 0u);
}

TEST_F(CMirvaExcepcioTest, OnlyCodeMinusFiveIsACancel) {
    EXPECT_EQ(Make(-5, L"", L"")->EsCancel(), 1);
    for (int code : {-1, -2, 0, 5, 7})
        EXPECT_EQ(Make(code, L"", L"")->EsCancel(), 0) << code;
}

TEST_F(CMirvaExcepcioTest, IsKnownToTheFrameworkByItsClass) {
    const Caught e = Make(1, L"", L"");
    EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CException)));
    EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CMirvaExcepcio)));
    EXPECT_FALSE(e->IsKindOf(RUNTIME_CLASS(CMemoryException)));
    EXPECT_STREQ(e->GetRuntimeClass()->m_lpszClassName, "CMirvaExcepcio");
    EXPECT_EQ(RUNTIME_CLASS(CMirvaExcepcio)->CreateObject(), nullptr);
    EXPECT_TRUE(e->m_bAutoDelete);
}

// ---- Throwing: the objects are made in the library and caught in this program

TEST_F(CMirvaExcepcioTest, ThrownObjectIsCaughtByItsClassAndByItsBase) {
    const Caught e = Catch([] { AfxThrowMirvaExcepcio(9, L"m", L"M"); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->m_nCodi, 9);
    bool caught = false;
    try {
        AfxThrowMirvaExcepcio(9, L"m", L"M");
    } catch (CException* base) {
        caught = DYNAMIC_DOWNCAST(CMirvaExcepcio, base) != nullptr;
        base->Delete();
    }
    EXPECT_TRUE(caught);
}

TEST_F(CMirvaExcepcioTest, BothOrdersOfTheArgumentsThrowTheSame) {
    const Caught first = Catch([] { AfxThrowMirvaExcepcio(-2, L"message", L"module"); });
    const Caught second = Catch([] { AfxThrowMirvaExcepcio(L"message", L"module", -2); });
    ASSERT_TRUE(first && second);
    EXPECT_EQ(second->m_nCodi, -2);
    EXPECT_EQ(second->m_strMissatge, L"message");
    EXPECT_EQ(second->m_strModul, L"module");
    EXPECT_EQ(TextOf(*first), TextOf(*second));
}

TEST_F(CMirvaExcepcioTest, CancelIsThrownWithItsCode) {
    const Caught e = Catch([] { AfxThrowCancel(L"stopped", nullptr); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->m_nCodi, -5);
    EXPECT_EQ(e->EsCancel(), 1);
    EXPECT_EQ(TextOf(*e), L"Exception -5 (?) in module [?]: stopped.");
}

TEST_F(CMirvaExcepcioTest, ThrowingWithoutMemoryThrowsTheMemoryExceptionInstead) {
    int refused = 0;
    const int failures = FailEachAllocation([&] {
        try {
            AfxThrowMirvaExcepcio(9, L"message", L"module");
        } catch (CMirvaExcepcio* e) {
            e->Delete();
        } catch (CMemoryException* e) {
            e->Delete();
            ++refused;
        }
    });
    EXPECT_EQ(failures, 3); // the object and its two texts
    EXPECT_EQ(refused, failures);
}

// ---- Dump

TEST_F(CMirvaExcepcioTest, DumpWritesModuleAndMessageWithoutABlank) {
    const Caught e = Make(7, L"x", L"M");
    DebugCapture output;
    CDumpContext dump;
    AfxDumpExcepcio(dump, e.get(), L"while reading", L"Import");
    EXPECT_EQ(output.Text(), L"Excepci\u00F3 a [Import]while reading\n");
}

TEST_F(CMirvaExcepcioTest, DumpNamesWhatIsUnknown) {
    const Caught e = Make(7, L"x", L"M");
    DebugCapture output;
    CDumpContext dump;
    AfxDumpExcepcio(dump, e.get(), nullptr, nullptr);
    EXPECT_EQ(output.Text(), L"Excepci\u00F3 a [(desconegut)](msg desconegut)\n");
}

TEST_F(CMirvaExcepcioTest, DumpAsksTheExceptionForItsTextWithItsCapacity) {
    struct Asked : CException {
        using CException::GetErrorMessage;
        BOOL GetErrorMessage(wchar_t*, unsigned int capacity, unsigned int*) override {
            asked = capacity;
            return FALSE;
        }
        unsigned int asked = 0;
    } e;
    e.m_bAutoDelete = FALSE;
    DebugCapture output;
    CDumpContext dump;
    AfxDumpExcepcio(dump, &e, L"m", L"M");
    EXPECT_EQ(e.asked, 1023u);
    AfxDumpExcepcio(dump, nullptr, L"m", L"M");
    EXPECT_EQ(output.Text(), L"Excepci\u00F3 a [M]m\nExcepci\u00F3 a [M]m\n");
}
