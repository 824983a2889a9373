// Selectors and owner-drawn items, looked at pixel by pixel.
#include <Dibuix.h>

#include "layout.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// A bitmap that is drawn on.
class Canvas {
public:
    Canvas(int width, int height, COLORREF color = RGB(1, 2, 3))
        : m_size(width, height) {
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        bitmap.Attach(::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
        dc.CreateCompatibleDC(nullptr);
        m_previous = ::SelectObject(dc, bitmap.GetSafeHandle());
        dc.FillSolidRect(CRect(0, 0, width, height), color);
    }
    ~Canvas() { ::SelectObject(dc, m_previous); }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    // How many pixels inside (or outside) the rectangle have the colour.
    int Count(COLORREF color, const CRect& rect, bool inside = true) const {
        int count = 0;
        for (int y = 0; y < m_size.cy; ++y)
            for (int x = 0; x < m_size.cx; ++x)
                count += rect.PtInRect(CPoint(x, y)) == inside && dc.GetPixel(x, y) == color;
        return count;
    }
    int Area(const CRect& rect, bool inside = true) const {
        const int area = rect.Width() * rect.Height();
        return inside ? area : m_size.cx * m_size.cy - area;
    }

    CDC dc;
    CBitmap bitmap;

private:
    CSize m_size;
    HGDIOBJ m_previous;
};

constexpr COLORREF untouched = RGB(1, 2, 3);

DRAWITEMSTRUCT Record(const Canvas& canvas, UINT state, const RECT& rect = {4, 3, 44, 19}) {
    DRAWITEMSTRUCT record = {};
    record.CtlType = ODT_BUTTON;
    record.CtlID = 77;
    record.itemID = 5;
    record.itemAction = ODA_DRAWENTIRE;
    record.itemState = state;
    record.hDC = canvas.dc;
    record.rcItem = rect;
    record.itemData = 12345;
    return record;
}

// All that a selector may change.
struct Attributes {
    explicit Attributes(const CDC& dc)
        : background(dc.GetBkColor())
        , text(dc.GetTextColor())
        , mode(dc.GetBkMode())
        , fill(dc.GetPolyFillMode())
        , rop(dc.GetROP2())
        , align(dc.GetTextAlign())
        , pen(::GetCurrentObject(dc, OBJ_PEN))
        , brush(::GetCurrentObject(dc, OBJ_BRUSH))
        , font(::GetCurrentObject(dc, OBJ_FONT))
        , bitmap(::GetCurrentObject(dc, OBJ_BITMAP)) {}
    bool operator==(const Attributes&) const = default;

    COLORREF background;
    COLORREF text;
    int mode;
    int fill;
    int rop;
    UINT align;
    HGDIOBJ pen;
    HGDIOBJ brush;
    HGDIOBJ font;
    HGDIOBJ bitmap;
};

// A window with a child, not shown.
class Frame : public CWnd {
public:
    Frame() { CreateEx(0, L"STATIC", L"Frame", WS_POPUP, CRect(0, 0, 200, 100), nullptr, 0); }
    ~Frame() override { DestroyWindow(); }
};

} // namespace

TEST(DibuixTest, ExampleUsage) {
    Canvas canvas(50, 22);
    const DRAWITEMSTRUCT record = Record(canvas, ODS_SELECTED | ODS_FOCUS);
    CDrawItemHelper item(&record);
    item.PintarFons(nullptr);
    item.PintarText(L"Text", nullptr, DT_SINGLELINE | DT_VCENTER, DEFAULT_GUI_FONT);
    item.PintarFocus(1, nullptr);
    EXPECT_GT(canvas.Count(::GetSysColor(COLOR_HIGHLIGHT), CRect(4, 3, 44, 19)), 0);
    EXPECT_GT(canvas.Count(::GetSysColor(COLOR_HIGHLIGHTTEXT), CRect(4, 3, 44, 19)), 0);
    EXPECT_EQ(canvas.Count(untouched, CRect(4, 3, 44, 19), false), canvas.Area(CRect(4, 3, 44, 19), false));
}

// ---- Selectors

TEST(SelectorTest, EachSetsItsAttributeAndPutsItBack) {
    Canvas canvas(4, 4);
    CDC* const dc = &canvas.dc;
    const Attributes before(*dc);
    {
        CDCSetBkColor selector(dc, RGB(10, 20, 30));
        EXPECT_EQ(dc->GetBkColor(), static_cast<COLORREF>(RGB(10, 20, 30)));
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CDCSetTextColor selector(dc, RGB(10, 20, 30));
        EXPECT_EQ(dc->GetTextColor(), static_cast<COLORREF>(RGB(10, 20, 30)));
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CDCSetBkMode selector(dc, TRANSPARENT);
        EXPECT_EQ(dc->GetBkMode(), TRANSPARENT);
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CDCSetPolyFillMode selector(dc, WINDING);
        EXPECT_EQ(dc->GetPolyFillMode(), WINDING);
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CDCSetROP2 selector(dc, R2_XORPEN);
        EXPECT_EQ(dc->GetROP2(), R2_XORPEN);
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CDCSetTextAlign selector(dc, TA_RIGHT | TA_BASELINE);
        EXPECT_EQ(dc->GetTextAlign(), static_cast<UINT>(TA_RIGHT | TA_BASELINE));
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CPen pen(PS_SOLID, 3, RGB(9, 9, 9));
        CDCSelectObject selector(dc, &pen, 0);
        EXPECT_EQ(::GetCurrentObject(*dc, OBJ_PEN), pen.GetSafeHandle());
    }
    EXPECT_TRUE(before == Attributes(*dc));
    {
        CDCSelectStockObject selector(dc, GRAY_BRUSH);
        EXPECT_EQ(::GetCurrentObject(*dc, OBJ_BRUSH), ::GetStockObject(GRAY_BRUSH));
    }
    EXPECT_TRUE(before == Attributes(*dc));
}

TEST(SelectorTest, NestedOnesRestoreInReverseOrder) {
    Canvas canvas(4, 4);
    CDC* const dc = &canvas.dc;
    const Attributes before(*dc);
    {
        const CDCSetTextColor one(dc, 1);
        const CDCSetTextColor two(dc, 2);
        {
            const CDCSetTextColor three(dc, 3);
            const CDCSetBkMode mode(dc, TRANSPARENT);
            const CDCSelectStockObject pen(dc, WHITE_PEN);
            const CDCSelectStockObject samePen(dc, NULL_PEN);
            EXPECT_EQ(dc->GetTextColor(), 3u);
        }
        EXPECT_EQ(dc->GetTextColor(), 2u);
    }
    EXPECT_TRUE(before == Attributes(*dc));
}

TEST(SelectorTest, CopyRestoresTheSameValues) {
    Canvas canvas(4, 4);
    CDC* const dc = &canvas.dc;
    dc->SetTextColor(11);
    {
        const CDCSetTextColor one(dc, 22);
        {
            const CDCSetTextColor copy(one);
            EXPECT_EQ(dc->GetTextColor(), 22u);
        }
        EXPECT_EQ(dc->GetTextColor(), 11u);
    }
    EXPECT_EQ(dc->GetTextColor(), 11u);
}

TEST(SelectorTest, ObjectIsDeletedAfterThePreviousOneIsSelectedAgain) {
    Canvas canvas(4, 4);
    const HGDIOBJ before = ::GetCurrentObject(canvas.dc, OBJ_BRUSH);
    CBrush brush(RGB(200, 0, 0));
    const HGDIOBJ handle = brush.GetSafeHandle();
    {
        const CDCSelectObject selector(&canvas.dc, &brush, 1);
        EXPECT_EQ(::GetCurrentObject(canvas.dc, OBJ_BRUSH), handle);
        EXPECT_EQ(::GetObjectType(handle), static_cast<DWORD>(OBJ_BRUSH));
    }
    EXPECT_EQ(::GetCurrentObject(canvas.dc, OBJ_BRUSH), before);
    EXPECT_EQ(brush.GetSafeHandle(), nullptr);
    EXPECT_EQ(::GetObjectType(handle), 0u); // a handle that is still selected would only be marked
}

TEST(SelectorTest, BitmapIsDeletedOnlyWhenItIsNotSelected) {
    // A bitmap cannot be deleted, nor selected elsewhere, while a context has it.
    CDC dc;
    dc.CreateCompatibleDC(nullptr);
    CBitmap bitmap;
    bitmap.CreateBitmap(2, 2, 1, 1, nullptr);
    const HGDIOBJ handle = bitmap.GetSafeHandle();
    { const CDCSelectObject selector(&dc, &bitmap, 1); }
    EXPECT_EQ(::GetObjectType(handle), 0u);
    EXPECT_NE(::GetCurrentObject(dc, OBJ_BITMAP), handle);
}

TEST(SelectorTest, NullObjectSelectsNothing) {
    Canvas canvas(4, 4);
    const Attributes before(canvas.dc);
    {
        const CDCSelectObject selector(&canvas.dc, nullptr, 1);
        EXPECT_TRUE(before == Attributes(canvas.dc));
    }
    EXPECT_TRUE(before == Attributes(canvas.dc));
}

TEST(SelectorTest, TemporaryObjectsMayGoMeanwhile) {
    Canvas canvas(4, 4);
    const Attributes before(canvas.dc);
    {
        CPen pen(PS_SOLID, 1, 0);
        const CDCSelectObject selector(&canvas.dc, &pen, 0);
        CGdiObject::DeleteTempMap();
    }
    EXPECT_TRUE(before == Attributes(canvas.dc));
}

TEST(SelectorTest, ObjectThatCouldNotBeSelectedIsNotDeleted) {
    CDC first;
    CDC second;
    first.CreateCompatibleDC(nullptr);
    second.CreateCompatibleDC(nullptr);
    CBitmap bitmap;
    bitmap.CreateBitmap(2, 2, 1, 1, nullptr);
    const CDCSelectObject holder(&first, &bitmap, 0); // a bitmap is in one context at a time
    const HGDIOBJ before = ::GetCurrentObject(second, OBJ_BITMAP);
    { const CDCSelectObject refused(&second, &bitmap, 1); }
    EXPECT_NE(bitmap.GetSafeHandle(), nullptr);
    EXPECT_EQ(::GetCurrentObject(first, OBJ_BITMAP), bitmap.GetSafeHandle());
    EXPECT_EQ(::GetCurrentObject(second, OBJ_BITMAP), before);
    { const CDCSelectObject nowhere(nullptr, &bitmap, 1); }
    EXPECT_NE(bitmap.GetSafeHandle(), nullptr);
}

TEST(SelectorTest, CopyOfAnObjectsSelectorDeletesItOnce) {
    Canvas canvas(4, 4);
    const Attributes before(canvas.dc);
    CPen pen(PS_SOLID, 1, 0);
    {
        const CDCSelectObject selector(&canvas.dc, &pen, 1);
        const CDCSelectObject copy(selector);
        EXPECT_EQ(::GetCurrentObject(canvas.dc, OBJ_PEN), pen.GetSafeHandle());
    }
    EXPECT_TRUE(before == Attributes(canvas.dc));
    EXPECT_EQ(pen.GetSafeHandle(), nullptr);
}

TEST(SelectorTest, EveryKindOfObjectIsPutBack) {
    Canvas canvas(4, 4);
    const Attributes before(canvas.dc);
    CPen pen(PS_SOLID, 1, 0);
    CBrush brush(RGB(1, 1, 1));
    LOGFONTW face = {};
    face.lfHeight = 20;
    CFont font;
    font.CreateFontIndirect(&face);
    {
        const CDCSelectObject one(&canvas.dc, &pen, 1);
        const CDCSelectObject two(&canvas.dc, &brush, 1);
        const CDCSelectObject three(&canvas.dc, &font, 1);
        const CDCSelectStockObject four(&canvas.dc, SYSTEM_FONT);
        EXPECT_EQ(::GetCurrentObject(canvas.dc, OBJ_FONT), ::GetStockObject(SYSTEM_FONT));
    }
    EXPECT_TRUE(before == Attributes(canvas.dc));
    EXPECT_EQ(pen.GetSafeHandle(), nullptr);
    EXPECT_EQ(brush.GetSafeHandle(), nullptr);
    EXPECT_EQ(font.GetSafeHandle(), nullptr);
}

TEST(SelectorTest, NullContextDoesNothing) {
    CPen pen(PS_SOLID, 1, 0);
    const CDCSetBkColor one(nullptr, 1);
    const CDCSetTextColor two(nullptr, 1);
    const CDCSetBkMode three(nullptr, 1);
    const CDCSetPolyFillMode four(nullptr, 1);
    const CDCSetROP2 five(nullptr, 1);
    const CDCSetTextAlign six(nullptr, 1);
    const CDCSelectObject seven(nullptr, &pen, 0);
    const CDCSelectStockObject eight(nullptr, WHITE_PEN);
    EXPECT_NE(pen.GetSafeHandle(), nullptr);
}

TEST(SelectorTest, AllOfAFamilyHaveOneBase) {
    Canvas canvas(4, 4);
    canvas.dc.SetBkMode(OPAQUE);
    std::unique_ptr<CDCAttribSelector> selector = std::make_unique<CDCSetBkMode>(&canvas.dc, TRANSPARENT);
    selector.reset();
    EXPECT_EQ(canvas.dc.GetBkMode(), OPAQUE);
}

// ---- Owner-drawn items

namespace {

void DrawAsTheSystem(Canvas& canvas, const wchar_t* text, CRect rect, unsigned int format, int color) {
    const HGDIOBJ font = ::SelectObject(canvas.dc, ::GetStockObject(DEFAULT_GUI_FONT));
    canvas.dc.SetTextColor(::GetSysColor(color));
    canvas.dc.SetBkMode(TRANSPARENT);
    canvas.dc.DrawText(text, -1, &rect, format);
    ::SelectObject(canvas.dc, font);
}

// Pixel by pixel, and something is drawn.
void ExpectSame(const Canvas& canvas, const Canvas& expected) {
    int drawn = 0;
    for (int y = 0; y < 22; ++y)
        for (int x = 0; x < 50; ++x) {
            ASSERT_EQ(canvas.dc.GetPixel(x, y), expected.dc.GetPixel(x, y)) << x << "," << y;
            drawn += canvas.dc.GetPixel(x, y) != untouched;
        }
    EXPECT_GT(drawn, 5);
}

} // namespace

TEST(DrawItemTest, TakesWhatTheRecordSays) {
    Canvas canvas(10, 10);
    const DRAWITEMSTRUCT record = Record(canvas, ODS_SELECTED | ODS_GRAYED);
    const CDrawItemHelper item(&record);
    EXPECT_EQ(item.m_pDC, &canvas.dc);
    EXPECT_TRUE(item.m_rect == record.rcItem);
    EXPECT_EQ(item.m_nItem, 5u);
    EXPECT_EQ(item.m_dwDades, 12345u);
    EXPECT_EQ(item.m_nTipus, static_cast<unsigned>(ODT_BUTTON));
    EXPECT_EQ(item.m_nControl, 77u);
    EXPECT_EQ(item.m_pMenu, nullptr);
    EXPECT_EQ(item.m_nAccio, static_cast<unsigned>(ODA_DRAWENTIRE));
    EXPECT_TRUE(item.IsSel());
    EXPECT_TRUE(item.IsGrayed());
    EXPECT_FALSE(item.IsDisabled());
    EXPECT_FALSE(item.IsFocus());
}

TEST(DrawItemTest, FieldsKeepTheirOrder) {
    Canvas canvas(10, 10);
    const DRAWITEMSTRUCT record = Record(canvas, 0);
    const CDrawItemHelper item(&record);
    const std::ptrdiff_t offsets[] = {
        Offset(item, item.m_pDC),     Offset(item, item.m_rect),   Offset(item, item.m_nItem),
        Offset(item, item.m_dwDades), Offset(item, item.m_nTipus), Offset(item, item.m_nControl),
        Offset(item, item.m_pWnd),    Offset(item, item.m_pMenu),  Offset(item, item.m_nAccio),
        Offset(item, item.m_nEstat),  Offset(item, item.m_crText), Offset(item, item.m_crFons),
    };
    EXPECT_EQ(offsets[0], 0);
    for (int i = 1; i < 12; ++i)
        EXPECT_EQ(offsets[i], i == 1 ? 4 : 16 + 4 * (i - 1)) << i; // the rectangle takes 16 bytes
}

TEST(DrawItemTest, RecordWithoutAControlHasNoText) {
    Canvas canvas(10, 10);
    for (UINT type : {ODT_MENU, ODT_LISTBOX, ODT_COMBOBOX, ODT_BUTTON, ODT_STATIC, ODT_TAB, ODT_LISTVIEW}) {
        DRAWITEMSTRUCT record = Record(canvas, 0);
        record.CtlType = type;
        record.hwndItem = nullptr;
        const CDrawItemHelper item(&record);
        EXPECT_EQ(item.m_pWnd, nullptr);
        EXPECT_EQ(item.m_pMenu, nullptr);
        EXPECT_TRUE(item.GetTextItem().IsEmpty()) << type;
    }
}

TEST(DrawItemTest, ColoursFollowTheState) {
    Canvas canvas(10, 10);
    const struct {
        UINT state;
        int text;
        int background;
    } expected[] = {
        {0, COLOR_WINDOWTEXT, COLOR_WINDOW},
        {ODS_FOCUS, COLOR_WINDOWTEXT, COLOR_WINDOW},
        {ODS_SELECTED, COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHT},
        {ODS_GRAYED, COLOR_GRAYTEXT, COLOR_WINDOW},
        {ODS_DISABLED, COLOR_GRAYTEXT, COLOR_WINDOW},
        {ODS_SELECTED | ODS_GRAYED, COLOR_GRAYTEXT, COLOR_HIGHLIGHT},
        {ODS_SELECTED | ODS_DISABLED, COLOR_GRAYTEXT, COLOR_HIGHLIGHT},
    };
    for (const auto& one : expected) {
        const DRAWITEMSTRUCT record = Record(canvas, one.state);
        const CDrawItemHelper item(&record);
        EXPECT_EQ(item.m_crText, ::GetSysColor(one.text)) << one.state;
        EXPECT_EQ(item.m_crFons, ::GetSysColor(one.background)) << one.state;
    }
}

TEST(DrawItemTest, BackgroundFillsExactlyTheRectangle) {
    for (UINT state : {0u, static_cast<UINT>(ODS_SELECTED)}) {
        Canvas canvas(50, 22);
        const DRAWITEMSTRUCT record = Record(canvas, state);
        const CDrawItemHelper item(&record);
        const Attributes before(canvas.dc);
        item.PintarFons(nullptr);
        EXPECT_TRUE(before == Attributes(canvas.dc));
        const CRect whole(record.rcItem);
        EXPECT_EQ(canvas.Count(item.m_crFons, whole), canvas.Area(whole));
        EXPECT_EQ(canvas.Count(untouched, whole, false), canvas.Area(whole, false));
    }
    Canvas canvas(50, 22);
    const DRAWITEMSTRUCT record = Record(canvas, 0);
    const CDrawItemHelper item(&record);
    const CRect other(1, 1, 3, 21);
    item.PintarFons(&other);
    EXPECT_EQ(canvas.Count(item.m_crFons, other), canvas.Area(other));
    EXPECT_EQ(canvas.Count(untouched, other, false), canvas.Area(other, false));
}

TEST(DrawItemTest, TextIsWhatTheSystemDrawsInTheNarrowedRectangle) {
    const unsigned int format = DT_SINGLELINE | DT_VCENTER | DT_RIGHT | DT_NOPREFIX;
    Canvas canvas(50, 22);
    const DRAWITEMSTRUCT record = Record(canvas, ODS_SELECTED);
    const CDrawItemHelper item(&record);
    canvas.dc.SetTextAlign(TA_RIGHT | TA_BOTTOM);
    const Attributes before(canvas.dc);
    item.PintarText(L"Wi", nullptr, format, DEFAULT_GUI_FONT);
    EXPECT_TRUE(before == Attributes(canvas.dc));

    Canvas expected(50, 22);
    DrawAsTheSystem(expected, L"Wi", CRect(5, 3, 43, 19), format, COLOR_HIGHLIGHTTEXT);
    ExpectSame(canvas, expected);
}

TEST(DrawItemTest, TextGoesIntoAGivenRectangleAsItIs) {
    Canvas canvas(50, 22);
    const DRAWITEMSTRUCT record = Record(canvas, 0);
    const CDrawItemHelper item(&record);
    const CRect rect(10, 2, 30, 20);
    item.PintarText(L"WWWWWWWW", &rect, DT_SINGLELINE, DEFAULT_GUI_FONT);
    EXPECT_EQ(canvas.Count(untouched, rect, false), canvas.Area(rect, false));

    Canvas expected(50, 22);
    DrawAsTheSystem(expected, L"WWWWWWWW", rect, DT_SINGLELINE, COLOR_WINDOWTEXT);
    ExpectSame(canvas, expected);
}

TEST(DrawItemTest, TextIsDrawnOverWhatIsThere) {
    Canvas canvas(50, 22);
    const DRAWITEMSTRUCT record = Record(canvas, ODS_GRAYED);
    const CDrawItemHelper item(&record);
    canvas.dc.SetBkMode(OPAQUE);
    canvas.dc.SetBkColor(RGB(250, 0, 250));
    item.PintarText(L"Wi", nullptr, DT_SINGLELINE, DEFAULT_GUI_FONT);
    const CRect all(0, 0, 50, 22);
    EXPECT_EQ(canvas.Count(RGB(250, 0, 250), all), 0);
    const int drawn = canvas.Count(untouched, all);
    item.PintarText(nullptr, nullptr, DT_SINGLELINE, DEFAULT_GUI_FONT);
    EXPECT_EQ(canvas.Count(untouched, all), drawn);
    EXPECT_GT(canvas.Count(::GetSysColor(COLOR_GRAYTEXT), all), 3);
}

TEST(DrawItemTest, FocusIsDrawnWhenItIsThere) {
    const auto drawn = [](UINT state, UINT action, int onlyWithFocus, const RECT* rect) {
        Canvas canvas(50, 22);
        DRAWITEMSTRUCT record = Record(canvas, state);
        record.itemAction = action;
        const CDrawItemHelper item(&record);
        item.PintarFocus(onlyWithFocus, rect);
        const CRect all(0, 0, 50, 22);
        return canvas.Area(all) - canvas.Count(untouched, all);
    };
    EXPECT_EQ(drawn(0, ODA_DRAWENTIRE, 1, nullptr), 0);
    EXPECT_GT(drawn(ODS_FOCUS, ODA_DRAWENTIRE, 1, nullptr), 0);
    EXPECT_GT(drawn(0, ODA_FOCUS, 1, nullptr), 0);
    EXPECT_EQ(drawn(0, ODA_FOCUS | ODA_SELECT, 1, nullptr), 0);
    EXPECT_GT(drawn(0, ODA_DRAWENTIRE, 0, nullptr), 0);
    const CRect small(0, 0, 3, 3);
    EXPECT_LT(drawn(0, ODA_DRAWENTIRE, 0, &small), drawn(0, ODA_DRAWENTIRE, 0, nullptr));
}

// ---- Texts of items

namespace {

class ItemTextTest : public testing::Test {
protected:
    CString TextOf(UINT type, const CWnd& control, int item) {
        DRAWITEMSTRUCT record = Record(canvas, 0);
        record.CtlType = type;
        record.hwndItem = control.GetSafeHwnd();
        record.itemID = static_cast<UINT>(item);
        const CDrawItemHelper helper(&record);
        EXPECT_EQ(helper.m_pWnd, &control);
        return helper.GetTextItem();
    }

    Canvas canvas{4, 4};
    Frame frame;
    const CRect place{0, 0, 100, 50};
    const CString longText{L'x', 300};
};

} // namespace

TEST_F(ItemTextTest, ListBox) {
    CListBox list;
    ASSERT_TRUE(list.Create(LBS_OWNERDRAWFIXED | LBS_HASSTRINGS, place, &frame, 1));
    list.AddString(L"first");
    list.AddString(longText);
    list.AddString(L"");
    EXPECT_EQ(TextOf(ODT_LISTBOX, list, 0), L"first");
    EXPECT_EQ(TextOf(ODT_LISTBOX, list, 1), longText);
    EXPECT_EQ(TextOf(ODT_LISTBOX, list, 2), L"");
    EXPECT_EQ(TextOf(ODT_LISTBOX, list, 3), L"");
    EXPECT_EQ(TextOf(ODT_LISTBOX, list, -1), L"");
}

TEST_F(ItemTextTest, ComboBox) {
    CComboBox combo;
    ASSERT_TRUE(combo.Create(CBS_DROPDOWN | CBS_OWNERDRAWFIXED | CBS_HASSTRINGS, place, &frame, 1));
    combo.AddString(L"first");
    combo.AddString(longText);
    combo.SetWindowText(L"typed");
    EXPECT_EQ(TextOf(ODT_COMBOBOX, combo, 0), L"first");
    EXPECT_EQ(TextOf(ODT_COMBOBOX, combo, 1), longText);
    EXPECT_EQ(TextOf(ODT_COMBOBOX, combo, 7), L"");
    EXPECT_EQ(TextOf(ODT_COMBOBOX, combo, -1), L"typed");
}

TEST_F(ItemTextTest, ButtonAndStatic) {
    CButton button;
    ASSERT_TRUE(button.Create(L"Press", BS_OWNERDRAW, place, &frame, 1));
    EXPECT_EQ(TextOf(ODT_BUTTON, button, 0), L"Press");
    CStatic label;
    ASSERT_TRUE(label.Create(L"Label", SS_OWNERDRAW, place, &frame, 2));
    EXPECT_EQ(TextOf(ODT_STATIC, label, 0), L"Label");
    EXPECT_EQ(TextOf(99, label, 0), L"");
}

TEST_F(ItemTextTest, TabControl) {
    CTabCtrl tabs;
    ASSERT_TRUE(tabs.Create(TCS_OWNERDRAWFIXED, place, &frame, 1));
    tabs.InsertItem(0, L"General");
    tabs.InsertItem(1, longText);
    EXPECT_EQ(TextOf(101, tabs, 0), L"General");
    EXPECT_EQ(TextOf(101, tabs, 1), CString(L'x', 127));
    EXPECT_EQ(TextOf(101, tabs, 2), L"");
}

TEST_F(ItemTextTest, ListView) {
    CListCtrl list;
    ASSERT_TRUE(list.Create(LVS_REPORT, place, &frame, 1));
    list.InsertColumn(0, L"Name", LVCFMT_LEFT, 40);
    list.InsertColumn(1, L"Size", LVCFMT_LEFT, 40);
    list.InsertItem(0, L"a.tif");
    list.SetItemText(0, 1, L"12");
    const CString text(L'y', 250);
    list.InsertItem(1, text);
    EXPECT_EQ(TextOf(102, list, 0), L"a.tif");
    EXPECT_EQ(TextOf(102, list, 1), text);
    EXPECT_EQ(TextOf(102, list, 9), L"");
    EXPECT_EQ(list.GetItemText(0, 1), L"12");
}

TEST_F(ItemTextTest, MenuItemByItsCommand) {
    CMenu menu;
    menu.CreatePopupMenu();
    menu.AppendMenu(MF_STRING, 500, L"&Open");
    menu.AppendMenu(MF_STRING, 501, L"Close");
    DRAWITEMSTRUCT record = Record(canvas, 0);
    record.CtlType = ODT_MENU;
    record.hwndItem = reinterpret_cast<HWND>(menu.GetSafeHmenu());
    record.itemID = 501;
    const CDrawItemHelper item(&record);
    EXPECT_EQ(item.m_pMenu, &menu);
    EXPECT_EQ(item.m_pWnd, nullptr);
    EXPECT_EQ(item.GetTextItem(), L"Close");
}
