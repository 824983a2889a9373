// Rectangles and texts of windows, enabling, messages, images and menus of the resource chain.
#include <Dibuix.h>
#include <Idioma.h>

#include "ImagesModule.h"

#include "debug_capture.h"
#include "import_patch.h"
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

namespace {

DWORD WINAPI FarPosition() {
    return MAKELONG(0x8001, 0xFFFE);
}

} // namespace

TEST(CapturedValuesTest, PositionsLeftOfAndAboveTheScreenAreNegative) {
    ASSERT_EQ(PatchImport("mvlib62", {"GetMessagePos", reinterpret_cast<void*>(&FarPosition)}), 1);
    const CMessagePos position;
    Frame frame;
    const CMessagePos inFrame(&frame);
    ASSERT_EQ(PatchImport("mvlib62", {"GetMessagePos", reinterpret_cast<void*>(&::GetMessagePos)}), 1);
    EXPECT_TRUE(position == CPoint(-32767, -2));
    EXPECT_TRUE(inFrame == CPoint(-32767 - 60, -2 - 40));
}

TEST(CapturedValuesTest, ValuesStayAsTheyWereTaken) {
    Frame frame;
    const CWindowRect rect(&frame);
    const CWindowText text(&frame);
    frame.MoveWindow(CRect(0, 0, 10, 10));
    frame.SetWindowText(L"other");
    EXPECT_TRUE(rect == CRect(60, 40, 260, 140));
    EXPECT_EQ(text, L"The frame");
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

TEST(DibuixEventsTest, OnlyMessagesOfTheWindowAreWaitedFor) {
    Quitting one;
    Quitting other;
    other.PostMessage(WM_APP, 1);
    AfxDoEvents(&one, 0);
    EXPECT_TRUE(other.handled.empty());
    // Each turn lets one message through, whosever it is.
    one.PostMessage(WM_APP, 2);
    AfxDoEvents(&one, 0);
    EXPECT_EQ(other.handled, (std::vector<WPARAM>{1}));
    EXPECT_EQ(one.handled, (std::vector<WPARAM>{2}));
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

namespace {

// What the library asks LoadImageW for, while somebody wants to know.
struct ImageCall {
    HINSTANCE module;
    std::wstring name; // a number as "#300"
    UINT type;
    int cx;
    int cy;
    UINT flags;
    bool operator==(const ImageCall&) const = default;
};
std::vector<ImageCall>* g_imageCalls;

HANDLE WINAPI RecordImage(HINSTANCE module, LPCWSTR name, UINT type, int cx, int cy, UINT flags) {
    if (!g_imageCalls)
        return ::LoadImageW(module, name, type, cx, cy, flags);
    const std::wstring text =
        IS_INTRESOURCE(name) ? L"#" + std::to_wstring(reinterpret_cast<ULONG_PTR>(name)) : name;
    g_imageCalls->push_back({module, text, type, cx, cy, flags});
    return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(77));
}

class ImageCalls {
public:
    ImageCalls() {
        EXPECT_EQ(PatchImport("mvlib62", {"LoadImageW", reinterpret_cast<void*>(&RecordImage)}), 1);
        g_imageCalls = &calls;
    }
    ~ImageCalls() { g_imageCalls = nullptr; }
    ImageCalls(const ImageCalls&) = delete;
    ImageCalls& operator=(const ImageCalls&) = delete;

    std::vector<ImageCall> calls;
};

// A group of icons 1 beside the icon 1.
bool AddGroupOfIcons(const std::wstring& file) {
    WORD group[10] = {0, 1, 1, 0x1010, 2, 1, 1, 176, 0, 1};
    const HANDLE update = ::BeginUpdateResourceW(file.c_str(), FALSE);
    return update &&
           ::UpdateResourceW(update, RT_GROUP_ICON, MAKEINTRESOURCEW(1), 0x0409, group, sizeof group) &&
           ::EndUpdateResourceW(update, FALSE);
}

} // namespace

TEST(LoadImageTest, EveryTypeOfAKindIsLookedFor) {
    TempFolder folder;
    const std::wstring file = folder.Path(L"cursor.dll");
    ASSERT_TRUE(CopyFromPrograms(file));
    ASSERT_TRUE(AddCursor(file));
    ImagesModule images(file.c_str());
    const HINSTANCE module = images.module.hModule;
    ImageCalls recorded;
    const UINT flags = LR_CREATEDIBSECTION;
    EXPECT_NE(AfxLoadImage(300u, IMAGE_BITMAP, 5, 6, flags), nullptr);
    EXPECT_NE(AfxLoadImage(L"NAMED", IMAGE_BITMAP, 0, 0, 0), nullptr);
    EXPECT_NE(AfxLoadImage(320u, IMAGE_ICON, 1, 2, 0), nullptr); // a group
    EXPECT_NE(AfxLoadImage(1u, IMAGE_ICON, 1, 2, 0), nullptr);   // an icon
    EXPECT_NE(AfxLoadImage(340u, IMAGE_ICON, 1, 2, 0), nullptr); // an animated one
    EXPECT_NE(AfxLoadImage(330u, IMAGE_CURSOR, 3, 4, 0), nullptr);
    EXPECT_NE(AfxLoadImage(2u, IMAGE_CURSOR, 3, 4, 0), nullptr);
    EXPECT_NE(AfxLoadImage(341u, IMAGE_CURSOR, 3, 4, 0), nullptr);
    EXPECT_EQ(recorded.calls, (std::vector<ImageCall>{{module, L"#300", IMAGE_BITMAP, 5, 6, flags},
                                                      {module, L"NAMED", IMAGE_BITMAP, 0, 0, 0},
                                                      {module, L"#320", IMAGE_ICON, 1, 2, 0},
                                                      {module, L"#1", IMAGE_ICON, 1, 2, 0},
                                                      {module, L"#340", IMAGE_ICON, 1, 2, 0},
                                                      {module, L"#330", IMAGE_CURSOR, 3, 4, 0},
                                                      {module, L"#2", IMAGE_CURSOR, 3, 4, 0},
                                                      {module, L"#341", IMAGE_CURSOR, 3, 4, 0}}));
    recorded.calls.clear();
    EXPECT_EQ(AfxLoadImage(320u, IMAGE_BITMAP, 0, 0, 0), nullptr);
    EXPECT_EQ(AfxLoadImage(2u, IMAGE_ICON, 0, 0, 0), nullptr);
    EXPECT_EQ(AfxLoadImage(340u, IMAGE_CURSOR, 0, 0, 0), nullptr);
    EXPECT_EQ(AfxLoadImage(999u, IMAGE_ICON, 0, 0, 0), nullptr);
    EXPECT_TRUE(recorded.calls.empty());
}

TEST(LoadImageTest, TypeComesBeforeTheOrderOfTheChain) {
    TempFolder folder;
    const std::wstring file = folder.Path(L"group.dll");
    ASSERT_TRUE(CopyFromPrograms(file));
    ASSERT_TRUE(AddGroupOfIcons(file));
    ImagesModule withGroup(file.c_str());
    ImagesModule images; // before the other in the chain; it has the icon, and no group
    ImageCalls recorded;
    EXPECT_NE(AfxLoadImage(1u, IMAGE_ICON, 0, 0, 0), nullptr);
    EXPECT_NE(AfxLoadImage(300u, IMAGE_BITMAP, 0, 0, 0), nullptr);
    EXPECT_EQ(recorded.calls,
              (std::vector<ImageCall>{{withGroup.module.hModule, L"#1", IMAGE_ICON, 0, 0, 0},
                                      {images.module.hModule, L"#300", IMAGE_BITMAP, 0, 0, 0}}));
}

TEST(LoadImageTest, SharedIconsAndCursorsHaveTheirSizes) {
    ImagesModule images;
    const HINSTANCE module = images.module.hModule;
    ImageCalls recorded;
    EXPECT_NE(AfxLoadIcon(320), nullptr);
    EXPECT_NE(AfxLoadIcon16x16(320), nullptr);
    EXPECT_NE(AfxLoadCursor(341), nullptr);
    EXPECT_EQ(recorded.calls,
              (std::vector<ImageCall>{{module, L"#320", IMAGE_ICON, 0, 0, LR_DEFAULTSIZE | LR_SHARED},
                                      {module, L"#320", IMAGE_ICON, 16, 16, LR_SHARED},
                                      {module, L"#341", IMAGE_CURSOR, 0, 0, LR_DEFAULTSIZE | LR_SHARED}}));
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
    TempFolder folder;
    BYTE bytes[14 + 40 + 24] = {'B', 'M', sizeof bytes, 0, 0, 0, 0, 0, 0, 0, 14 + 40};
    const BITMAPINFOHEADER header = {40, 3, 2, 1, 24, BI_RGB, 24, 0, 0, 0, 0};
    std::memcpy(bytes + 14, &header, sizeof header);
    const std::wstring file =
        folder.Write(L"a.bmp", std::string(reinterpret_cast<const char*>(bytes), sizeof bytes));
    void* const bitmap = AfxLoadImage(file.c_str(), IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE);
    ASSERT_NE(bitmap, nullptr);
    BITMAP size = {};
    ::GetObjectW(bitmap, sizeof size, &size);
    EXPECT_EQ(size.bmWidth, 3);
    EXPECT_EQ(size.bmHeight, 2);
    ::DeleteObject(bitmap);
    // Whatever the type.
    ImageCalls recorded;
    EXPECT_NE(AfxLoadImage(L"x", 3, 1, 2, LR_LOADFROMFILE | LR_SHARED), nullptr);
    EXPECT_EQ(recorded.calls,
              (std::vector<ImageCall>{{nullptr, L"x", 3, 1, 2, LR_LOADFROMFILE | LR_SHARED}}));
}

namespace {

std::vector<int> g_listArguments;

HIMAGELIST WINAPI RecordList(int cx, int cy, UINT flags, int initial, int grow) {
    g_listArguments = {cx, cy, static_cast<int>(flags), initial, grow};
    return ::ImageList_Create(cx, cy, flags, initial, grow);
}

} // namespace

TEST(LoadImageTest, ImageListHas24BitColoursAMaskAndRoomThatGrowsByTen) {
    ASSERT_EQ(PatchImport("mvlib62", {"ImageList_Create", reinterpret_cast<void*>(&RecordList)}), 1);
    ImagesModule images;
    CImageList list;
    EXPECT_EQ(AfxLoadImageList(list, 300, 2, 2, 0), 1);
    EXPECT_EQ(g_listArguments, (std::vector<int>{2, 2, ILC_COLOR24 | ILC_MASK, 0, 10}));
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

TEST_F(MenuMergeTest, ItemWithTheNumberOfAPopUpAndNoneEndsTheMergeWithOne) {
    CMenu odd;
    odd.CreatePopupMenu();
    odd.AppendMenu(MF_STRING, 1, L"A");
    odd.AppendMenu(MF_STRING, static_cast<UINT_PTR>(-1), L"odd");
    odd.AppendMenu(MF_STRING, 2, L"B");
    EXPECT_EQ(AfxMenuMerge(destination, &odd, 1, MF_BYPOSITION), 1);
    EXPECT_EQ(Shape(destination), L"First|B|Second"); // from the last backwards
}

namespace {

int g_insertsLeft = -1; // how many succeed; -1: all
std::vector<HMENU> g_refusedMenus;

BOOL WINAPI CountedInsert(HMENU menu, UINT position, UINT flags, UINT_PTR id, LPCWSTR text) {
    if (g_insertsLeft == 0) {
        if (flags & MF_POPUP)
            g_refusedMenus.push_back(reinterpret_cast<HMENU>(id));
        return FALSE;
    }
    g_insertsLeft -= g_insertsLeft > 0;
    return ::InsertMenuW(menu, position, flags, id, text);
}

} // namespace

TEST_F(MenuMergeTest, NothingIsInsertedBehindTheFirstFailure) {
    ASSERT_EQ(PatchImport("mvlib62", {"InsertMenuW", reinterpret_cast<void*>(&CountedInsert)}), 1);
    g_insertsLeft = 4; // two of the sub-menu, itself, one item
    EXPECT_EQ(AfxMenuMerge(destination, &source, 1, MF_BYPOSITION), 1);
    EXPECT_EQ(Shape(destination), L"First|B*|Sub(x|y!)|Second");
    g_insertsLeft = 2; // the sub-menu's items
    CMenu other;
    EXPECT_EQ(AfxMenuMerge(other, &source, 0, MF_BYPOSITION), 1);
    EXPECT_EQ(other.GetMenuItemCount(), 0);
    ASSERT_EQ(g_refusedMenus.size(), 1u);
    EXPECT_FALSE(::IsMenu(g_refusedMenus[0])); // what was built for nothing is destroyed
    g_insertsLeft = -1;
}

TEST_F(MenuMergeTest, StatesOfSubMenusGoAlong) {
    ::EnableMenuItem(source, 3, MF_BYPOSITION | MF_GRAYED);
    ::CheckMenuItem(source, 0, MF_BYPOSITION | MF_CHECKED);
    ::EnableMenuItem(source, 2, MF_BYPOSITION | MF_DISABLED);
    EXPECT_EQ(AfxMenuMerge(destination, &source, 0, MF_BYPOSITION), 1);
    EXPECT_EQ(Shape(destination), L"A*|-|B*~|Sub!(x|y!)|First|Second");
}

TEST_F(MenuMergeTest, NumbersGoAlong) {
    EXPECT_EQ(AfxMenuMerge(destination, &source, 2, MF_BYPOSITION), 1);
    EXPECT_EQ(destination.GetMenuItemID(2), 1u);
    EXPECT_EQ(destination.GetMenuItemID(4), 2u);
    EXPECT_EQ(destination.GetSubMenu(5)->GetMenuItemID(1), 4u);
    EXPECT_NE(destination.GetSubMenu(5)->GetSafeHmenu(), source.GetSubMenu(3)->GetSafeHmenu());
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

TEST(DibuixTextsTest, ThreadHasTheNameThatItWasGiven) {
    using GetDescription = HRESULT(WINAPI*)(HANDLE, PWSTR*);
    const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "GetThreadDescription");
    std::thread([=] {
        AfxSetThreadName(L"worker");
        PWSTR name = nullptr;
        // Older systems know no names, and some take them and tell them to debuggers alone.
        if (found && SUCCEEDED(reinterpret_cast<GetDescription>(reinterpret_cast<void*>(found))(
                         ::GetCurrentThread(), &name))) {
            EXPECT_STREQ(name, L"worker");
            ::LocalFree(name);
        }
    }).join();
}

namespace {

struct ShownBox {
    std::wstring text;
    std::wstring caption;
    UINT style;
    bool operator==(const ShownBox&) const = default;
};
std::vector<ShownBox> g_boxes;

int WINAPI RecordBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    EXPECT_EQ(owner, nullptr);
    g_boxes.push_back({text, caption, style});
    return IDNO;
}

} // namespace

TEST(DibuixTextsTest, BoxShowsATextInTheCurrentLanguage) {
    ASSERT_EQ(PatchImport("mvlib62", {"MessageBoxW", reinterpret_cast<void*>(&RecordBox)}), 1);
    const unsigned short before = AfxSetLanguage(0x0409);
    const CString expected = AfxLoadString(20352u);
    EXPECT_FALSE(expected.IsEmpty());
    EXPECT_EQ(AfxThreadMessageBox(20352, MB_YESNO | MB_ICONQUESTION, L"Caption"), IDNO);
    EXPECT_EQ(AfxThreadMessageBox(L"a text", MB_OK, nullptr), IDNO);
    AfxSetLanguage(before);
    ASSERT_EQ(PatchImport("mvlib62", {"MessageBoxW", reinterpret_cast<void*>(&::MessageBoxW)}), 1);
    EXPECT_EQ(g_boxes, (std::vector<ShownBox>{
                           {expected.GetString(), L"Caption", MB_YESNO | MB_ICONQUESTION | MB_TASKMODAL},
                           {L"a text", AfxGetAppName(), MB_OK | MB_TASKMODAL}}));
}
