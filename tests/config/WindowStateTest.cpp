// Window placements in the registry.
#include <TCarpetaRegistry.h>

#include "afxwin.h"

#include <gtest/gtest.h>

namespace {

const wchar_t* const Root = L"Software\\Mirvanet\\MvlibTests\\Windows";

class WindowStateTest : public testing::Test {
protected:
    void SetUp() override {
        m_window.m_hWnd = ::CreateWindowExW(0, L"STATIC", L"test", WS_OVERLAPPEDWINDOW, 20, 30, 300, 200,
                                            nullptr, nullptr, ::GetModuleHandleW(nullptr), nullptr);
        ASSERT_NE(m_window.m_hWnd, nullptr);
        ::ShowWindow(m_window.m_hWnd, SW_SHOWNORMAL);
    }
    void TearDown() override {
        ::DestroyWindow(m_window.m_hWnd);
        m_window.m_hWnd = nullptr;
        TCarpetaRegistry(Root).BorrarCarpeta(nullptr);
    }
    static CString Stored() { return TCarpetaRegistry(Root).TornaValorString(L"w", L""); }
    static void Store(const wchar_t* text) { TCarpetaRegistry(Root).EntraValor(L"w", text); }
    int Load(int minimised = 0) { return TCarpetaRegistry(Root).LoadWndState(&m_window, L"w", minimised); }
    int Save() const { return TCarpetaRegistry(Root).SaveWndState(&m_window, L"w"); }
    WINDOWPLACEMENT Placement() const {
        WINDOWPLACEMENT placement = {};
        placement.length = sizeof placement;
        EXPECT_TRUE(::GetWindowPlacement(m_window.m_hWnd, &placement));
        return placement;
    }

    CWnd m_window;
};

} // namespace

TEST_F(WindowStateTest, ExampleUsage) {
    EXPECT_EQ(Save(), 1);
    ::MoveWindow(m_window.m_hWnd, 100, 100, 150, 150, FALSE);
    EXPECT_EQ(Load(), 1);
    const RECT& normal = Placement().rcNormalPosition;
    EXPECT_EQ(normal.left, 20);
    EXPECT_EQ(normal.top, 30);
    EXPECT_EQ(normal.right, 320);
    EXPECT_EQ(normal.bottom, 230);
}

TEST_F(WindowStateTest, APlacementIsTenNumbers) {
    const WINDOWPLACEMENT placement = Placement();
    EXPECT_EQ(Save(), 1);
    CString expected;
    expected.Format(L"0,1,%d,%d,%d,%d,20,30,320,230", static_cast<int>(placement.ptMinPosition.x),
                    static_cast<int>(placement.ptMinPosition.y), static_cast<int>(placement.ptMaxPosition.x),
                    static_cast<int>(placement.ptMaxPosition.y));
    EXPECT_EQ(Stored(), expected);
}

TEST_F(WindowStateTest, AMaximisedWindowHasTheFlag2) {
    ::ShowWindow(m_window.m_hWnd, SW_SHOWMAXIMIZED);
    EXPECT_EQ(Save(), 1);
    EXPECT_EQ(Stored().Left(4), L"2,3,");
}

TEST_F(WindowStateTest, AMinimisedWindowComesBackNormalUnlessAskedFor) {
    for (const int show : {2, 6, 7}) {
        CString text;
        text.Format(L"0,%d,-1,-1,-1,-1,20,30,320,230", show);
        Store(text);
        EXPECT_EQ(Load(), 1);
        EXPECT_FALSE(::IsIconic(m_window.m_hWnd)) << show;
        EXPECT_EQ(Load(1), 1);
        EXPECT_TRUE(::IsIconic(m_window.m_hWnd)) << show;
    }
    Store(L"0,3,-1,-1,-1,-1,20,30,320,230");
    EXPECT_EQ(Load(), 1);
    EXPECT_TRUE(::IsZoomed(m_window.m_hWnd));
}

TEST_F(WindowStateTest, ATextThatIsNoPlacementGives0) {
    const RECT before = Placement().rcNormalPosition;
    EXPECT_EQ(Load(), 0);
    for (const wchar_t* text :
         {L"", L"0,1", L"0,1,-1,-1,-1,-1,20,30,320", L"0,1,-1,-1,-1,-1,20,30,320,", L"a,1,2,3,4,5,6,7,8,9"}) {
        Store(text);
        EXPECT_EQ(Load(), 0);
    }
    const RECT after = Placement().rcNormalPosition;
    EXPECT_TRUE(::EqualRect(&before, &after));
    EXPECT_EQ(TCarpetaRegistry(Root).LoadWndState(nullptr, L"w", 0), 0);
}

TEST_F(WindowStateTest, APlacementThatCannotBeWrittenGives0) {
    TCarpetaRegistry nowhere(L"x", reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x1234)));
    EXPECT_EQ(nowhere.SaveWndState(&m_window, L"w"), 0);
    EXPECT_EQ(nowhere.LoadWndState(&m_window, L"w", 0), 0);
}

TEST_F(WindowStateTest, AWindowThatIsNoneIsNotSaved) {
    CWnd none;
    EXPECT_EQ(TCarpetaRegistry(Root).SaveWndState(&none, L"w"), 0);
    EXPECT_EQ(TCarpetaRegistry(Root).SaveWndState(nullptr, L"w"), 0);
    EXPECT_EQ(Stored(), L"");
}
