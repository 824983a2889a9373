// Strings by the resource chain.
#include "message_capture.h"

#include <afxwin.h>
#include <gtest/gtest.h>

#include <string>

namespace {

// Two loaded modules with strings, and a module state in which they can be linked.
class ResourceChainTest : public testing::Test {
protected:
    void SetUp() override {
        m_one = LoadLibraryW(L"test_framework_one");
        m_two = LoadLibraryW(L"test_framework_two");
        ASSERT_NE(nullptr, m_one);
        ASSERT_NE(nullptr, m_two);
        m_previous = AfxSetModuleState(&m_state);
        AfxSetResourceHandle(GetModuleHandleW(nullptr));
    }
    void TearDown() override {
        AfxSetModuleState(m_previous);
        FreeLibrary(m_one);
        FreeLibrary(m_two);
    }

    CDynLinkLibrary* Link(HMODULE module, bool isSystem = false) {
        AFX_EXTENSION_MODULE record = {};
        AfxInitExtensionModule(record, module);
        return new CDynLinkLibrary(record, isSystem);
    }
    static std::wstring Text(UINT id) {
        CString text;
        text.LoadString(id);
        return text.GetString();
    }

    HMODULE m_one = nullptr;
    HMODULE m_two = nullptr;
    AFX_MODULE_STATE m_state{TRUE};
    AFX_MODULE_STATE* m_previous = nullptr;
};

} // namespace

TEST_F(ResourceChainTest, ExampleUsage) {
    Link(m_one);
    CString text;
    EXPECT_TRUE(text.LoadString(601));
    EXPECT_TRUE(text == L"only in one");
    text.Format(604u, L"list", 5);
    EXPECT_TRUE(text == L"list has 5");
}

TEST_F(ResourceChainTest, CurrentModuleComesFirstAndTheLatestLinkNext) {
    EXPECT_EQ(L"", Text(603));
    CDynLinkLibrary* one = Link(m_one);
    CDynLinkLibrary* two = Link(m_two);
    EXPECT_EQ(L"from the program", Text(600));
    EXPECT_EQ(L"also in two", Text(603));
    EXPECT_EQ(L"only in one", Text(601));
    delete two;
    EXPECT_EQ(L"also in one", Text(603));
    delete one;
    EXPECT_EQ(L"", Text(603));
}

TEST_F(ResourceChainTest, SystemLinksComeLast) {
    Link(m_one);
    Link(m_two, true);
    EXPECT_EQ(L"also in one", Text(603));
    EXPECT_EQ(L"only in two", Text(602));
}

TEST_F(ResourceChainTest, SystemStatesOwnModuleComesAfterTheChain) {
    Link(m_one);
    EXPECT_EQ(L"from the program", Text(600));
    m_state.m_bSystem = TRUE;
    EXPECT_EQ(L"from module one", Text(600));
    EXPECT_EQ(L"%s has %d", Text(604));
}

TEST_F(ResourceChainTest, LinkWithoutResourcesIsPassedOver) {
    Link(m_one);
    Link(m_two)->m_hResource = nullptr;
    EXPECT_EQ(L"also in one", Text(603));
}

TEST_F(ResourceChainTest, ResourceHandleIsSwitched) {
    AfxSetResourceHandle(m_two);
    EXPECT_EQ(L"from module two", Text(600));
    EXPECT_EQ(m_two, AfxFindStringResourceHandle(602));
    EXPECT_EQ(m_two, AfxFindResourceHandle(MAKEINTRESOURCEW(602 / 16 + 1), RT_STRING));
    EXPECT_EQ(m_two, AfxFindResourceHandle(MAKEINTRESOURCEW(9999), RT_STRING)); // found nowhere
}

TEST_F(ResourceChainTest, ChangesOfTheChainAreToldFromItsState) {
    mvafx::ResourceChainState known = {};
    EXPECT_FALSE(mvafx::isResourceChainKnown(known));
    EXPECT_TRUE(mvafx::isResourceChainKnown(known));
    CDynLinkLibrary* one = Link(m_one);
    EXPECT_FALSE(mvafx::isResourceChainKnown(known)) << "a link came";
    EXPECT_TRUE(mvafx::isResourceChainKnown(known));
    delete one;
    EXPECT_FALSE(mvafx::isResourceChainKnown(known)) << "and went";
    AfxSetResourceHandle(m_two);
    EXPECT_FALSE(mvafx::isResourceChainKnown(known)) << "another handle";
    m_state.m_hCurrentResourceHandle = m_one;
    EXPECT_FALSE(mvafx::isResourceChainKnown(known)) << "set directly";
    EXPECT_TRUE(mvafx::isResourceChainKnown(known));
    AFX_MODULE_STATE other(TRUE);
    AFX_MODULE_STATE* const before = AfxSetModuleState(&other);
    EXPECT_FALSE(mvafx::isResourceChainKnown(known)) << "another state";
    AfxSetModuleState(before);
}

TEST_F(ResourceChainTest, StringsOfOneModule) {
    CString text;
    EXPECT_TRUE(text.LoadString(m_two, 602));
    EXPECT_TRUE(text == L"only in two");
    EXPECT_FALSE(text.LoadString(m_two, 601));
    EXPECT_TRUE(text == L"only in two");
    EXPECT_TRUE(text.LoadString(m_two, 600, 0x0403));
    EXPECT_FALSE(text.LoadString(m_two, 600, 0x0C0A));
    CStringA narrow;
    EXPECT_TRUE(narrow.LoadString(m_one, 601));
    EXPECT_STREQ("only in one", narrow);
}

TEST_F(ResourceChainTest, CharactersOutsideTheBasicPlaneComeWhole) {
    CString text;
    ASSERT_TRUE(text.LoadString(m_one, 606));
    CString emoji(sizeof(wchar_t) > 2 ? CString(static_cast<wchar_t>(0x1F600)) : CString(L"\xD83D\xDE00"));
    EXPECT_TRUE(text == emoji + L"!");
}

TEST_F(ResourceChainTest, TextsAreCutToTheBuffer) {
    WCHAR text[8];
    EXPECT_EQ(7, AfxLoadString(600, text, 8));
    EXPECT_STREQ(L"from th", text);
    EXPECT_EQ(0, AfxLoadString(600, text, 1));
    EXPECT_STREQ(L"", text);
}

TEST_F(ResourceChainTest, PointerBelow65536IsAStringNumber) {
    EXPECT_TRUE(CString(MAKEINTRESOURCEW(600)) == L"from the program");
    CString text;
    text = MAKEINTRESOURCEW(604);
    EXPECT_TRUE(text == L"%s has %d");
}

TEST_F(ResourceChainTest, FormatsComeFromResources) {
    CString text(L"list: ");
    text.AppendFormat(604u, L"it", 7);
    EXPECT_TRUE(text == L"list: it has 7");
    AfxFormatString2(text, 605, L"a", L"b");
    EXPECT_TRUE(text == L"a and b");
    AfxFormatString1(text, 605, L"a");
    EXPECT_TRUE(text == L"a and ?");
}

TEST_F(ResourceChainTest, ExceptionTextMayBeAResource) {
    CResourceException exception(FALSE, 600);
    WCHAR text[64];
    EXPECT_TRUE(exception.GetErrorMessage(text, 64));
    EXPECT_STREQ(L"from the program", text);
}

TEST(ResourceBoxTest, MessageBoxAndReportTakeStringNumbers) {
    MessageCapture boxes;
    AfxMessageBox(600u);
    CException bare(FALSE);
    bare.ReportError(MB_ICONERROR, 600);
    ASSERT_EQ(2u, boxes.Count());
    EXPECT_EQ(L"from the program", boxes[0].text);
    EXPECT_EQ(600u, boxes[0].help);
    EXPECT_EQ(L"from the program", boxes[1].text);
    EXPECT_EQ(static_cast<UINT>(MB_ICONERROR), boxes[1].style);
}
