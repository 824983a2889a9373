// Rectangles and texts of windows, enabling, messages, images and menus of the resource chain.
#include <Dibuix.h>
#include <Idioma.h>

#include "ImagesModule.h"

#include "debug_capture.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

class Frame : public CWnd {
public:
    Frame() {
        CreateEx(0, L"STATIC", L"The frame", WS_POPUP | WS_VISIBLE, CRect(60, 40, 260, 140), nullptr, 0);
        child.Create(L"EDIT", L"The child", WS_VISIBLE, CRect(10, 20, 50, 40), this, 1001);
        grandchild.Create(L"EDIT", L"Below", WS_VISIBLE, CRect(0, 0, 10, 10), &child, 1002);
    }
    ~Frame() override { DestroyWindow(); }

    CWnd child;
    CWnd grandchild;
};

// The items of a menu in one line: "One|-|Sub(Inner)|Last!" with * for checked, ! for grayed, ~ for disabled.
std::wstring Shape(const CMenu& menu) {
    std::wstring shape;
    for (int i = 0; i < menu.GetMenuItemCount(); ++i) {
        shape += i ? L"|" : L"";
        const UINT id = menu.GetMenuItemID(i);
        CString text;
        menu.GetMenuString(static_cast<UINT>(i), text, MF_BYPOSITION);
        shape += id == 0 ? L"-" : text.GetString();
        // The states of a separator are the system's affair.
        const UINT state = id == 0 ? 0 : menu.GetMenuState(static_cast<UINT>(i), MF_BYPOSITION);
        shape += state & MF_CHECKED ? L"*" : L"";
        shape += state & MF_GRAYED ? L"!" : L"";
        shape += state & MF_DISABLED ? L"~" : L"";
        if (CMenu* sub = menu.GetSubMenu(i))
            shape += L"(" + Shape(*sub) + L")";
    }
    return shape;
}

} // namespace

// ---- Values

TEST(CapturedValuesTest, RectanglesOfWindows) {
    Frame frame;
    EXPECT_TRUE(CClientRect(&frame) == CRect(0, 0, 200, 100));
    EXPECT_TRUE(CWindowRect(&frame) == CRect(60, 40, 260, 140));
    EXPECT_TRUE(CWindowRect(&frame.child, &frame) == CRect(10, 20, 50, 40));
    EXPECT_TRUE(CWindowRect(&frame.child, nullptr) == CRect(70, 60, 110, 80));
    EXPECT_TRUE(CDlgItemRect(&frame, 1001) == CRect(10, 20, 50, 40));
    EXPECT_TRUE(CDlgItemRect(&frame, 4711).IsRectNull());
    const CScreenRect screen;
    EXPECT_EQ(screen.Width(), ::GetSystemMetrics(SM_CXSCREEN));
    EXPECT_EQ(screen.Height(), ::GetSystemMetrics(SM_CYSCREEN));
}

TEST(CapturedValuesTest, Texts) {
    Frame frame;
    EXPECT_EQ(CWindowText(&frame), L"The frame");
    EXPECT_EQ(CDlgItemText(&frame, 1001), L"The child");
    EXPECT_EQ(CDlgItemText(&frame, 4711), L"");
    const CString longText(L'z', 5000);
    frame.child.SetWindowText(longText);
    EXPECT_EQ(CWindowText(&frame.child), longText);
}

TEST(CapturedValuesTest, Positions) {
    Frame frame;
    ::SetCursorPos(100, 90);
    EXPECT_TRUE(CCursorPos() == CPoint(100, 90));
    EXPECT_TRUE(CCursorPos(&frame) == CPoint(40, 50));
    const DWORD position = ::GetMessagePos();
    const CPoint screen(static_cast<short>(LOWORD(position)), static_cast<short>(HIWORD(position)));
    EXPECT_TRUE(CMessagePos() == screen);
    EXPECT_TRUE(CMessagePos(&frame) == CPoint(screen.x - 60, screen.y - 40));
}

// ---- Enabling

TEST(EnableTest, DescendantsWithoutTheWindowItself) {
    Frame frame;
    AfxEnableChildWindows(&frame, 0);
    EXPECT_TRUE(frame.IsWindowEnabled());
    EXPECT_FALSE(frame.child.IsWindowEnabled());
    EXPECT_FALSE(frame.grandchild.IsWindowEnabled());
    EnableChildWindows(frame.GetSafeHwnd(), 1);
    EXPECT_TRUE(frame.child.IsWindowEnabled());
    EXPECT_TRUE(frame.grandchild.IsWindowEnabled());
    EnableChildWindows(&frame, 0);
    EXPECT_FALSE(frame.grandchild.IsWindowEnabled());
}

TEST(EnableTest, WindowWithOrWithoutItsDescendants) {
    Frame frame;
    AfxEnableWindow(&frame, 0, 0);
    EXPECT_FALSE(frame.IsWindowEnabled());
    EXPECT_TRUE(frame.child.IsWindowEnabled());
    AfxEnableWindow(&frame, 1, 1);
    EXPECT_TRUE(frame.IsWindowEnabled());
    AfxEnableDlgItem(&frame, 1001, 0, 0);
    EXPECT_FALSE(frame.child.IsWindowEnabled());
    EXPECT_TRUE(frame.grandchild.IsWindowEnabled());
    AfxEnableDlgItem(&frame, 1001, 0, 1);
    EXPECT_FALSE(frame.grandchild.IsWindowEnabled());
    AfxEnableDlgItem(&frame, 4711, 0, 1);
    EXPECT_TRUE(frame.IsWindowEnabled());
}

TEST(EnableTest, NoWindowIsNotTheDesktop) {
    Frame frame;
    AfxEnableChildWindows(nullptr, 0);
    EnableChildWindows(static_cast<HWND>(nullptr), 0);
    AfxEnableWindow(nullptr, 0, 1);
    EXPECT_TRUE(frame.IsWindowEnabled());
}

TEST(EnableTest, ActiveIsTheWindowOfTheFocusAndItsAncestors) {
    Frame other;
    Frame frame;
    frame.SetFocus();
    EXPECT_EQ(AfxEsActiva(&frame), 1);
    EXPECT_EQ(AfxEsActiva(&frame.child), 0);
    frame.grandchild.SetFocus();
    EXPECT_EQ(AfxEsActiva(&frame), 1);
    EXPECT_EQ(AfxEsActiva(&frame.child), 1);
    EXPECT_EQ(AfxEsActiva(&frame.grandchild), 1);
    EXPECT_EQ(AfxEsActiva(&other), 0);
    EXPECT_EQ(AfxEsActiva(nullptr), 0);
}

// ---- Messages

namespace {

// Ends the thread's main loop from inside AfxDoEvents, where a window gets a message.
class Quitting : public CWnd {
public:
    Quitting() { CreateEx(0, L"STATIC", L"", WS_POPUP, CRect(0, 0, 1, 1), nullptr, 0); }
    ~Quitting() override { DestroyWindow(); }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_APP)
            handled.push_back(wParam);
        if (message == WM_APP + 1)
            ::PostQuitMessage(5);
        if (message == WM_APP + 2)
            AfxDoEvents(static_cast<CWnd*>(nullptr), 0);
        return CWnd::WindowProc(message, wParam, lParam);
    }
    std::vector<WPARAM> handled;
};

struct CountingThread : CWinThread {
    CountingThread() { AfxGetModuleState(); }
    BOOL OnIdle(LONG count) override {
        counts.push_back(count);
        return count < 2;
    }
    std::vector<LONG> counts;
};

} // namespace

TEST(DibuixEventsTest, MessagesOfOneWindowAreHandled) {
    Quitting window;
    window.PostMessage(WM_APP, 1);
    window.PostMessage(WM_APP, 2);
    AfxDoEvents(&window, 0);
    EXPECT_EQ(window.handled, (std::vector<WPARAM>{1, 2}));
    window.PostMessage(WM_APP, 3);
    DoEvents(window.GetSafeHwnd());
    window.PostMessage(WM_APP, 4);
    DoEvents(static_cast<CWnd*>(nullptr));
    EXPECT_EQ(window.handled, (std::vector<WPARAM>{1, 2, 3, 4}));
}

TEST(DibuixEventsTest, TemporaryObjectsOfTheCallerLiveOn) {
    CWnd* const desktop = CWnd::GetDesktopWindow();
    AfxDoEvents(static_cast<CWnd*>(nullptr), 1);
    EXPECT_EQ(CWnd::GetDesktopWindow(), desktop);
    EXPECT_EQ(desktop->GetSafeHwnd(), ::GetDesktopWindow());
}

TEST(DibuixEventsTest, QuitInsideStillEndsTheMainLoop) {
    DebugCapture output;
    Quitting window;
    // The main loop handles a message whose handler lets events in; the quit message is among those.
    window.PostMessage(WM_APP + 2);
    window.PostMessage(WM_APP + 1);
    int ended = -1;
    MSG message;
    for (int i = 0; i < 1000; ++i) {
        const BOOL more = ::GetMessageW(&message, nullptr, 0, 0);
        if (more == 0) {
            ended = static_cast<int>(message.wParam);
            break;
        }
        ::DispatchMessageW(&message);
    }
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(output.Text(), L"[AfxDoEvents] WM_QUIT rebut dins del AfxDoEvents...\n");
}

// ---- Images

namespace {

bool CopyFromPrograms(const std::wstring& file) {
    wchar_t own[MAX_PATH];
    ::GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::wstring path = own;
    return ::CopyFileW((path.substr(0, path.rfind(L'\\') + 1) + L"test_ui_images.dll").c_str(), file.c_str(),
                       TRUE);
}

// A cursor of 16 by 16 pixels with its hot spot at 3, 5, and its group. The resource compiler makes no group
// of cursors from bytes.
bool AddCursor(const std::wstring& file) {
    WORD group[10] = {0, 2, 1, 16, 32, 1, 1, 180, 0, 2};
    BYTE cursor[180] = {3, 0, 5, 0};
    const BITMAPINFOHEADER header = {40, 16, 32, 1, 1, BI_RGB, 128, 0, 0, 2, 2};
    std::memcpy(cursor + 4, &header, sizeof header);
    const HANDLE update = ::BeginUpdateResourceW(file.c_str(), FALSE);
    return update &&
           ::UpdateResourceW(update, RT_GROUP_CURSOR, MAKEINTRESOURCEW(330), 0x0409, group, sizeof group) &&
           ::UpdateResourceW(update, RT_CURSOR, MAKEINTRESOURCEW(2), 0x0409, cursor, sizeof cursor) &&
           ::EndUpdateResourceW(update, FALSE);
}

} // namespace

TEST(LoadImageTest, BitmapAndIconComeFromTheChain) {
    EXPECT_EQ(AfxLoadImage(300u, IMAGE_BITMAP, 0, 0, 0), nullptr);
    ImagesModule images;
    void* const bitmap = AfxLoadImage(300u, IMAGE_BITMAP, 0, 0, 0);
    ASSERT_NE(bitmap, nullptr);
    BITMAP size = {};
    ::GetObjectW(bitmap, sizeof size, &size);
    EXPECT_EQ(size.bmWidth, 4);
    EXPECT_EQ(size.bmHeight, 2);
    ::DeleteObject(bitmap);
    void* const icon = AfxLoadImage(320u, IMAGE_ICON, 16, 16, 0);
    ASSERT_NE(icon, nullptr);
    ICONINFO info = {};
    EXPECT_TRUE(::GetIconInfo(static_cast<HICON>(icon), &info));
    EXPECT_TRUE(info.fIcon);
    ::DeleteObject(info.hbmColor);
    ::DeleteObject(info.hbmMask);
    ::DestroyIcon(static_cast<HICON>(icon));
    EXPECT_NE(AfxLoadIcon(320), nullptr);
    EXPECT_NE(AfxLoadIcon16x16(320), nullptr);
    EXPECT_EQ(AfxLoadIcon(999), nullptr);
}

TEST(LoadImageTest, CursorComesFromTheChain) {
    EXPECT_EQ(AfxLoadImage(L"#330", IMAGE_CURSOR, 16, 16, 0), nullptr);
    TempFolder folder;
    const std::wstring file = folder.Path(L"cursor.dll");
    ASSERT_TRUE(CopyFromPrograms(file));
    ASSERT_TRUE(AddCursor(file));
    ImagesModule images(file.c_str());
    void* const cursor = AfxLoadImage(L"#330", IMAGE_CURSOR, 16, 16, 0);
    ASSERT_NE(cursor, nullptr);
    ICONINFO info = {};
    EXPECT_TRUE(::GetIconInfo(static_cast<HICON>(cursor), &info));
    EXPECT_FALSE(info.fIcon);
    EXPECT_EQ(info.xHotspot, 3u);
    EXPECT_EQ(info.yHotspot, 5u);
    ::DeleteObject(info.hbmColor);
    ::DeleteObject(info.hbmMask);
    ::DestroyCursor(static_cast<HCURSOR>(cursor));
    EXPECT_NE(AfxLoadCursor(330), nullptr);
    EXPECT_NE(AfxLoadSysCursor(IDC_WAIT), nullptr);
}

TEST(LoadImageTest, OtherTypesAreInvalid) {
    ImagesModule images;
    ::SetLastError(0);
    EXPECT_EQ(AfxLoadImage(300u, 3, 0, 0, 0), nullptr);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(LoadImageTest, FileIsLoadedWithoutTheChain) {
    ImagesModule images;
    EXPECT_EQ(AfxLoadImage(L"there is no such file.bmp", IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE), nullptr);
}

TEST(LoadImageTest, ImageListOfABitmapWithAMask) {
    ImagesModule images;
    CImageList list;
    EXPECT_EQ(AfxLoadImageList(list, 301, 2, 2, RGB(255, 255, 255)), 0);
    EXPECT_EQ(list.GetSafeHandle(), nullptr);
    EXPECT_EQ(AfxLoadImageList(list, 300, 2, 2, RGB(255, 255, 255)), 1);
    EXPECT_EQ(list.GetImageCount(), 2);
    // Where the bitmap is white nothing is drawn.
    CDC memory;
    memory.CreateCompatibleDC(nullptr);
    CClientDC screen(nullptr);
    CBitmap canvas;
    canvas.CreateCompatibleBitmap(&screen, 4, 2);
    const CDCSelectObject select(&memory, &canvas, 0);
    memory.FillSolidRect(CRect(0, 0, 4, 2), RGB(0, 128, 128));
    list.Draw(&memory, 0, CPoint(0, 0), ILD_TRANSPARENT);
    EXPECT_EQ(memory.GetPixel(0, 1), static_cast<COLORREF>(RGB(0, 128, 128)));
    EXPECT_EQ(memory.GetPixel(1, 1), static_cast<COLORREF>(RGB(255, 0, 0)));
    EXPECT_EQ(memory.GetPixel(0, 0), static_cast<COLORREF>(RGB(255, 0, 0)));
    EXPECT_EQ(memory.GetPixel(1, 0), static_cast<COLORREF>(RGB(0, 0, 0)));
    EXPECT_EQ(AfxLoadImageList(list, 300, 4, 2, RGB(255, 255, 255)), 1);
    EXPECT_EQ(list.GetImageCount(), 1);
}

TEST(LoadImageTest, MaskColourIsThatOfThePoint) {
    ImagesModule images;
    unsigned long color = 77;
    CBitmap missing;
    EXPECT_EQ(AfxLoadBitmapMask(missing, 301, color, CPoint(0, 0)), 0);
    EXPECT_EQ(color, 77u);
    CBitmap bitmap;
    EXPECT_EQ(AfxLoadBitmapMask(bitmap, 300, color, CPoint(0, 0)), 1);
    EXPECT_EQ(color, static_cast<unsigned long>(RGB(255, 0, 0)));
    CBitmap again;
    EXPECT_EQ(AfxLoadBitmapMask(again, 300, color, CPoint(3, 1)), 1);
    EXPECT_EQ(color, static_cast<unsigned long>(RGB(0, 0, 255)));
    CBitmap outside;
    EXPECT_EQ(AfxLoadBitmapMask(outside, 300, color, CPoint(9, 9)), 1);
    EXPECT_EQ(color, static_cast<unsigned long>(CLR_INVALID));
}

TEST(LoadImageTest, ResourceHandleIsSwitchedForAScope) {
    ImagesModule images;
    const HINSTANCE before = AfxGetResourceHandle();
    {
        CSetResourceHandle scope(images.module.hModule);
        EXPECT_EQ(AfxGetResourceHandle(), images.module.hModule);
        {
            CSetResourceHandle nothing(nullptr);
            EXPECT_EQ(AfxGetResourceHandle(), images.module.hModule);
        }
        EXPECT_EQ(AfxGetResourceHandle(), images.module.hModule);
    }
    EXPECT_EQ(AfxGetResourceHandle(), before);
}

// ---- Menus

namespace {

class MenuMergeTest : public testing::Test {
protected:
    void SetUp() override {
        source.CreatePopupMenu();
        source.AppendMenu(MF_STRING, 1, L"A");
        source.AppendMenu(MF_SEPARATOR);
        source.AppendMenu(MF_STRING | MF_CHECKED, 2, L"B");
        CMenu inner;
        inner.CreatePopupMenu();
        inner.AppendMenu(MF_STRING, 3, L"x");
        inner.AppendMenu(MF_STRING | MF_GRAYED, 4, L"y");
        source.AppendMenu(MF_POPUP, reinterpret_cast<UINT_PTR>(inner.Detach()), L"Sub");
        destination.CreatePopupMenu();
        destination.AppendMenu(MF_STRING, 101, L"First");
        destination.AppendMenu(MF_STRING, 102, L"Second");
    }

    CMenu source;
    CMenu destination;
    const std::wstring items = L"A|-|B*|Sub(x|y!)";
};

} // namespace

TEST_F(MenuMergeTest, ByPositionKeepsTheOrder) {
    EXPECT_EQ(AfxMenuMerge(destination, &source, 1, MF_BYPOSITION), 1);
    EXPECT_EQ(Shape(destination), L"First|" + items + L"|Second");
    EXPECT_EQ(Shape(source), items);
}

TEST_F(MenuMergeTest, ByCommandKeepsTheOrder) {
    EXPECT_EQ(AfxMenuMerge(destination, &source, 102, MF_BYCOMMAND), 1);
    EXPECT_EQ(Shape(destination), L"First|" + items + L"|Second");
}

TEST_F(MenuMergeTest, OtherFlagsBesideByPositionTurnTheOrderRound) {
    EXPECT_EQ(AfxMenuMerge(destination, &source, 1, MF_BYPOSITION | MF_GRAYED), 1);
    EXPECT_EQ(Shape(destination), L"First|Sub!(x|y!)|B*!|-|A!|Second");
}

TEST_F(MenuMergeTest, DestinationWithoutAMenuGetsOne) {
    CMenu fresh;
    EXPECT_EQ(AfxMenuMerge(fresh, &source, 0, MF_BYPOSITION), 1);
    EXPECT_EQ(Shape(fresh), items);
    CMenu empty;
    EXPECT_EQ(AfxMenuMerge(empty, nullptr, 0, MF_BYPOSITION), 0);
    EXPECT_NE(empty.GetSafeHmenu(), nullptr);
    EXPECT_EQ(empty.GetMenuItemCount(), 0);
    const CMenu none;
    EXPECT_EQ(AfxMenuMerge(destination, &none, 0, MF_BYPOSITION), 0);
}

TEST_F(MenuMergeTest, SubMenusAreCopiesOfTheirOwn) {
    EXPECT_EQ(AfxMenuMerge(destination, &source, 0, MF_BYPOSITION), 1);
    source.DestroyMenu();
    EXPECT_EQ(Shape(destination), items + L"|First|Second");
}

TEST_F(MenuMergeTest, InsertThatFailsEndsTheMergeWithOne) {
    CMenu destroyed;
    destroyed.CreatePopupMenu();
    ::DestroyMenu(destroyed.GetSafeHmenu());
    EXPECT_EQ(AfxMenuMerge(destroyed, &source, 0, MF_BYPOSITION), 1);
    destroyed.Detach();
}

TEST_F(MenuMergeTest, FirstSubMenuOfAMenuOfTheChain) {
    EXPECT_EQ(AfxMenuMerge(destination, 310u, 1, MF_BYPOSITION), 0);
    ImagesModule images;
    EXPECT_EQ(AfxMenuMerge(destination, 310u, 1, MF_BYPOSITION), 1);
    EXPECT_EQ(Shape(destination), L"First|&One|-|Sub(Inner*|Deeper)|Last!|Second");
}

// ---- Texts and memory

TEST(DibuixTextsTest, WindowsTakeStringsOfTheCurrentLanguage) {
    const unsigned short before = AfxSetLanguage(0x0409);
    Frame frame;
    const CString expected = AfxLoadString(20352u);
    EXPECT_FALSE(expected.IsEmpty());
    AfxSetWindowText(&frame, 20352);
    EXPECT_EQ(CWindowText(&frame), expected);
    AfxSetDlgItemText(&frame, 1001, 20352);
    EXPECT_EQ(CDlgItemText(&frame, 1001), expected);
    AfxSetLanguage(before);
}

TEST(DibuixTextsTest, ShellMemoryIsGivenAndTaken) {
    auto* const memory = static_cast<unsigned char*>(AfxComAlloc(1000));
    ASSERT_NE(memory, nullptr);
    for (int i = 0; i < 1000; ++i)
        memory[i] = static_cast<unsigned char>(i);
    AfxComFree(memory);
    AfxComFree(nullptr);
}

TEST(DibuixTextsTest, NamingAThreadIsHarmless) {
    std::thread([] { AfxSetThreadName(L"worker"); }).join();
}
