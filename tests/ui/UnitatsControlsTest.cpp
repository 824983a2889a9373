// Lengths in dialogs and the menu of units; dialogs of the framework on the way.
#include <Dibuix.h>
#include <TCarpetaRegistry.h>
#include <Unitats.h>
#include <UnitatsControls.h>

#include "ImagesModule.h"
#include "SampleDialog.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

class UnitatsControlsTest : public testing::Test {
protected:
    UnitatsControlsTest() {
        ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Mirvanet\\test_ui");
        TCarpetaRegistry::SetCarpetaBaseApp(L"Software\\Mirvanet\\test_ui");
        AfxSetUnitatsActives(UNITATS_IN);
    }
    ~UnitatsControlsTest() override {
        AfxSetUnitatsActives(UNITATS_ACTIVES);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Mirvanet\\test_ui");
        TCarpetaRegistry::SetCarpetaBaseApp(nullptr);
    }
};

// The sample dialog without its modal loop.
class Modeless : public SampleDialog {
public:
    explicit Modeless(double points)
        : SampleDialog(points) {
        EXPECT_TRUE(CreateIndirect(Template()));
    }
    ~Modeless() override { DestroyWindow(); }
    CString Shown() const { return CDlgItemText(this, Length); }
    void Type(const wchar_t* text) { SetDlgItemText(Length, text); }
    void Choose(unsigned int command) { SendMessage(WM_COMMAND, command); }
};

// A dialog that does something as soon as it is there.
class Acting : public SampleDialog {
public:
    Acting(double points, std::function<void(Acting&)> act)
        : SampleDialog(points)
        , m_act(std::move(act)) {}

protected:
    BOOL OnInitDialog() override {
        SampleDialog::OnInitDialog();
        m_act(*this);
        return TRUE;
    }

private:
    std::function<void(Acting&)> m_act;
};

constexpr double centimetre = 2.8346456692913384 * 10.0;

} // namespace

TEST_F(UnitatsControlsTest, ExampleUsage) {
    Acting dialog(72.0, [](Acting& self) {
        EXPECT_EQ(CDlgItemText(&self, SampleDialog::Length), L"1.000 in");
        self.SetDlgItemText(SampleDialog::Length, L"2 cm");
        self.PostMessage(WM_COMMAND, IDOK);
    });
    EXPECT_EQ(dialog.DoModal(), IDOK);
    EXPECT_EQ(dialog.m_dLength, 2 * centimetre);
}

TEST_F(UnitatsControlsTest, LoadingShowsTheActiveUnitWithItsAbbreviation) {
    Modeless dialog(72.0);
    EXPECT_EQ(dialog.Shown(), L"1.000 in");
    AfxSetUnitatsActives(UNITATS_MM);
    dialog.UpdateData(FALSE);
    EXPECT_EQ(dialog.Shown(), L"25.4 mm");
}

TEST_F(UnitatsControlsTest, SavingTakesTheUnitOfTheTextOrTheActiveOne) {
    Modeless dialog(0);
    dialog.Type(L"2 cm");
    EXPECT_TRUE(dialog.UpdateData(TRUE));
    EXPECT_EQ(dialog.m_dLength, 2 * 2.8346456692913384 * 10.0);
    dialog.Type(L"2");
    EXPECT_TRUE(dialog.UpdateData(TRUE));
    EXPECT_EQ(dialog.m_dLength, 144.0);
}

TEST_F(UnitatsControlsTest, TextThatCannotBeReadIsZeroAndNoFailure) {
    Modeless dialog(72.0);
    dialog.Type(L"wide");
    EXPECT_TRUE(dialog.UpdateData(TRUE));
    EXPECT_EQ(dialog.m_dLength, 0.0);
    dialog.Type(L"");
    EXPECT_TRUE(dialog.UpdateData(TRUE));
    EXPECT_EQ(dialog.m_dLength, 0.0);
}

TEST_F(UnitatsControlsTest, LongTextIsReadWhole) {
    Modeless dialog(72.0);
    dialog.Type(CString(L' ', 400) + L"2 cm");
    EXPECT_TRUE(dialog.UpdateData(TRUE));
    EXPECT_EQ(dialog.m_dLength, 2 * centimetre);
}

TEST_F(UnitatsControlsTest, ControlIsPreparedAsAnEditControl) {
    Modeless dialog(72.0);
    CDataExchange exchange(&dialog, TRUE);
    double length = 0;
    DDX_Unitats(&exchange, SampleDialog::Length, length);
    EXPECT_TRUE(exchange.m_bEditLastControl);
    EXPECT_EQ(exchange.m_hWndLastControl, ::GetDlgItem(dialog, SampleDialog::Length));
    EXPECT_EQ(length, 72.0);
    EXPECT_THROW(
        try { DDX_Unitats(&exchange, 4711, length); } catch (CNotSupportedException* e) {
            e->Delete();
            throw 1;
        },
        int);
}

// ---- Menu

TEST_F(UnitatsControlsTest, MenuHasTheFourUnitsInTheirOrder) {
    CMenu menu;
    menu.CreatePopupMenu();
    EXPECT_EQ(unitsMenu(&menu, 1), &menu);
    ASSERT_EQ(menu.GetMenuItemCount(), 4);
    const wchar_t* const texts[] = {L"&Milimeters", L"&Centimeters", L"&Inches", L"&Feet"};
    for (int i = 0; i < 4; ++i) {
        CString text;
        menu.GetMenuString(static_cast<UINT>(i), text, MF_BYPOSITION);
        EXPECT_EQ(text, texts[i]);
        EXPECT_EQ(menu.GetMenuItemID(i), 11310u + static_cast<UINT>(i));
        const bool checked = (menu.GetMenuState(static_cast<UINT>(i), MF_BYPOSITION) & MF_CHECKED) != 0;
        EXPECT_EQ(checked, i == UNITATS_IN);
    }
}

TEST_F(UnitatsControlsTest, EachActiveUnitIsCheckedByItsCommand) {
    for (int unit = UNITATS_MM; unit <= UNITATS_FT; ++unit) {
        AfxSetUnitatsActives(static_cast<TipusUnitats>(unit));
        const std::unique_ptr<CMenu> menu(unitsMenu(nullptr, -7)); // any number but 0
        for (UINT i = 0; i < 4; ++i)
            EXPECT_EQ((menu->GetMenuState(11310 + i, MF_BYCOMMAND) & MF_CHECKED) != 0,
                      i == static_cast<UINT>(unit));
    }
}

TEST_F(UnitatsControlsTest, UnitThatIsNoneIsLookedForAgainAndThatOneChecked) {
    AfxSetUnitatsActives(static_cast<TipusUnitats>(7));
    const std::unique_ptr<CMenu> menu(unitsMenu(nullptr, 1));
    const int active = AfxGetUnitatsActives();
    for (UINT i = 0; i < 4; ++i)
        EXPECT_EQ((menu->GetMenuState(i, MF_BYPOSITION) & MF_CHECKED) != 0, i == static_cast<UINT>(active));
}

TEST_F(UnitatsControlsTest, UnitsFollowWhatTheMenuHasAndAreChecked) {
    CMenu menu;
    menu.CreatePopupMenu();
    menu.AppendMenu(MF_STRING, 500, L"Before");
    EXPECT_EQ(unitsMenu(&menu, 1), &menu);
    EXPECT_EQ(menu.GetMenuItemCount(), 5);
    EXPECT_EQ(menu.GetMenuItemID(0), 500u);
    EXPECT_EQ(menu.GetMenuItemID(1), 11310u);
    EXPECT_EQ(menu.GetMenuState(0, MF_BYPOSITION) & MF_CHECKED, 0u);
    EXPECT_NE(menu.GetMenuState(3, MF_BYPOSITION) & MF_CHECKED, 0u);
}

TEST_F(UnitatsControlsTest, MenuWithoutMarkChecksNothing) {
    const std::unique_ptr<CMenu> menu(unitsMenu(nullptr, 0));
    for (UINT i = 0; i < 4; ++i)
        EXPECT_EQ(menu->GetMenuState(i, MF_BYPOSITION) & MF_CHECKED, 0u);
}

TEST_F(UnitatsControlsTest, MenuOfNoneIsANewOneOfTheCaller) {
    const std::unique_ptr<CMenu> menu(unitsMenu(nullptr, 1));
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->GetMenuItemCount(), 4);
    EXPECT_TRUE(menu->DestroyMenu());
}

TEST_F(UnitatsControlsTest, TwoCallsAppendTheUnitsTwice) {
    CMenu menu;
    menu.CreatePopupMenu();
    unitsMenu(&menu, 0);
    unitsMenu(&menu, 0);
    EXPECT_EQ(menu.GetMenuItemCount(), 8);
    EXPECT_EQ(menu.GetMenuItemID(4), 11310u);
}

TEST_F(UnitatsControlsTest, ChosenUnitIsItsCommandLessTheFirst) {
    Modeless dialog(72.0);
    dialog.Choose(ID_UNITATS_MENU + UNITATS_CM);
    EXPECT_EQ(AfxGetUnitatsActives(), UNITATS_CM);
    EXPECT_EQ(dialog.Shown(), L"2.54 cm");
}

// ---- The sample as it is painted

TEST_F(UnitatsControlsTest, OwnerDrawnListIsPaintedItemByItem) {
    Modeless dialog(72.0);
    dialog.ShowWindow(SW_SHOWNORMAL);
    CWnd* const list = dialog.GetDlgItem(SampleDialog::Jobs);
    list->UpdateWindow();
    CClientDC dc(list);
    RECT selected = {};
    RECT other = {};
    list->SendMessage(LB_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&selected));
    list->SendMessage(LB_GETITEMRECT, 2, reinterpret_cast<LPARAM>(&other));
    // Behind the texts.
    EXPECT_EQ(dc.GetPixel(selected.right - 5, (selected.top + selected.bottom) / 2),
              ::GetSysColor(COLOR_HIGHLIGHT));
    EXPECT_EQ(dc.GetPixel(other.right - 5, (other.top + other.bottom) / 2), ::GetSysColor(COLOR_WINDOW));
    int inked = 0;
    for (int y = selected.top; y < selected.bottom; ++y)
        for (int x = selected.left; x < selected.right; ++x)
            inked += dc.GetPixel(x, y) == ::GetSysColor(COLOR_HIGHLIGHTTEXT);
    EXPECT_GT(inked, 10);
}

// ---- Dialogs of the framework

TEST(DialogTest, TemplateComesFromTheResourceChain) {
    class FromResource : public CDialog {
    public:
        FromResource()
            : CDialog(311) {}
        CString text = L"in";
        int calls = 0;

    protected:
        void DoDataExchange(CDataExchange* pDX) override {
            ++calls;
            DDX_Text(pDX, 1001, text);
        }
        BOOL OnInitDialog() override {
            CDialog::OnInitDialog();
            EXPECT_EQ(CWindowText(this), L"From a resource");
            EXPECT_EQ(CDlgItemText(this, 1001), L"in");
            SetDlgItemText(1001, L"out");
            PostMessage(WM_COMMAND, m_button);
            return TRUE;
        }

    public:
        WPARAM m_button = IDOK;
    };
    FromResource missing;
    EXPECT_EQ(missing.DoModal(), -1);
    ImagesModule images;
    FromResource dialog;
    EXPECT_EQ(dialog.DoModal(), IDOK);
    EXPECT_EQ(dialog.text, L"out");
    EXPECT_EQ(dialog.calls, 2);
    EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
    dialog.m_button = IDCANCEL;
    dialog.text = L"in";
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_EQ(dialog.text, L"in");
}

TEST(DialogTest, RefusedDataKeepTheDialogOpen) {
    class Refusing : public SampleDialog {
    public:
        Refusing()
            : SampleDialog(0) {}
        int refused = 0;

    protected:
        void DoDataExchange(CDataExchange* pDX) override {
            CString text;
            DDX_Text(pDX, Length, text);
            if (pDX->m_bSaveAndValidate && refused++ == 0) {
                PostMessage(WM_COMMAND, IDOK); // once more
                pDX->Fail();
            }
        }
        BOOL OnInitDialog() override {
            PostMessage(WM_COMMAND, IDOK);
            return SampleDialog::OnInitDialog();
        }
    };
    Refusing dialog;
    EXPECT_EQ(dialog.DoModal(), IDOK);
    EXPECT_EQ(dialog.refused, 2);
}

TEST(WindowObjectTest, HandleHasOneObjectOrATemporaryOne) {
    const HWND handle =
        ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(CWnd::FromHandle(nullptr), nullptr);
    EXPECT_EQ(CWnd::FromHandlePermanent(handle), nullptr);
    CWnd* const temporary = CWnd::FromHandle(handle);
    EXPECT_EQ(CWnd::FromHandle(handle), temporary);
    AfxLockTempMaps();
    EXPECT_TRUE(AfxUnlockTempMaps()); // ends the temporary objects, not their windows
    EXPECT_TRUE(::IsWindow(handle));
    {
        CWnd window;
        EXPECT_FALSE(window.Attach(nullptr));
        EXPECT_TRUE(window.Attach(handle));
        EXPECT_EQ(CWnd::FromHandle(handle), &window);
    }
    EXPECT_FALSE(::IsWindow(handle));
}

TEST(WindowObjectTest, TemporaryObjectsGoWithTheirThreads) {
    // The runtime gives a thread's variables back at its end; what is in the maps must not be looked for
    // there.
    const HWND desktop = ::GetDesktopWindow();
    const HDC screen = ::GetDC(nullptr);
    for (int round = 0; round < 20; ++round) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] {
                ::SetLastError(12345);
                CWnd* const window = CWnd::FromHandle(desktop);
                EXPECT_EQ(window->m_hWnd, desktop);
                EXPECT_EQ(CWnd::FromHandle(desktop), window);
                EXPECT_EQ(CDC::FromHandle(screen)->m_hDC, screen);
                EXPECT_EQ(::GetLastError(), 12345u);
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(::HeapValidate(::GetProcessHeap(), 0, nullptr));
    }
    ::ReleaseDC(nullptr, screen);
}

TEST(WindowObjectTest, SubclassedWindowIsSeenAndGivenBack) {
    struct Watcher : CWnd {
        LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
            seen += message == WM_APP;
            return CWnd::WindowProc(message, wParam, lParam);
        }
        void PostNcDestroy() override { ended = true; }
        int seen = 0;
        bool ended = false;
    };
    const HWND handle =
        ::CreateWindowExW(0, L"EDIT", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    const LONG_PTR procedure = ::GetWindowLongPtrW(handle, GWLP_WNDPROC);
    Watcher watcher;
    EXPECT_TRUE(watcher.SubclassWindow(handle));
    EXPECT_FALSE(watcher.SubclassWindow(handle));
    ::SendMessageW(handle, WM_APP, 0, 0);
    EXPECT_EQ(watcher.seen, 1);
    watcher.SetWindowText(L"text");
    EXPECT_EQ(CWindowText(&watcher), L"text");
    EXPECT_EQ(watcher.UnsubclassWindow(), handle);
    EXPECT_EQ(::GetWindowLongPtrW(handle, GWLP_WNDPROC), procedure);
    EXPECT_TRUE(watcher.SubclassWindow(handle));
    ::DestroyWindow(handle);
    EXPECT_TRUE(watcher.ended);
    EXPECT_EQ(watcher.GetSafeHwnd(), nullptr);
}
