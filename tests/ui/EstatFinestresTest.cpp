// Placements of windows and places of controls in the registry.
#include <EstatFinestres.h>

#include <afxcmn.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

class Frame : public CWnd {
public:
    explicit Frame(const wchar_t* caption = L"Frame") {
        CreateEx(0, L"STATIC", caption, WS_OVERLAPPEDWINDOW, CRect(20, 30, 320, 230), nullptr, 0);
    }
    ~Frame() override { DestroyWindow(); }
    CRect Normal() const {
        WINDOWPLACEMENT placement = {};
        EXPECT_TRUE(GetWindowPlacement(&placement));
        return placement.rcNormalPosition;
    }
};

class EstatFinestresTest : public testing::Test {
protected:
    EstatFinestresTest() {
        ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Mirvanet\\test_ui");
        TCarpetaRegistry::SetCarpetaBaseApp(L"Software\\Mirvanet\\test_ui");
    }
    ~EstatFinestresTest() override {
        AfxGetApp()->m_pMainWnd = nullptr;
        ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Mirvanet\\test_ui");
        TCarpetaRegistry::SetCarpetaBaseApp(nullptr);
    }
    static CString Stored(const wchar_t* name) { return TCarpetaRegistry().TornaValorString(name, L""); }
    // Where the settings of an edit control with the id 7 go, and under which name.
    static std::unique_ptr<TCarpetaRegistry> PlaceOfEdit(CWnd& parent, CString& value) {
        CEdit edit;
        edit.Create(0, CRect(0, 0, 10, 10), &parent, 7);
        return std::unique_ptr<TCarpetaRegistry>(AfxGetRegistryControl(&edit, value));
    }
};

} // namespace

TEST_F(EstatFinestresTest, ExampleUsage) {
    Frame frame;
    AfxSaveWndState(&frame, L"Preview");
    frame.MoveWindow(CRect(0, 0, 50, 50));
    AfxLoadWndState(&frame, L"Preview", 0);
    EXPECT_TRUE(frame.Normal() == CRect(20, 30, 320, 230));
}

TEST_F(EstatFinestresTest, MainWindowIsStoredUnderMainWnd) {
    Frame frame;
    EXPECT_EQ(AfxGetAppWnd(), nullptr);
    AfxGetApp()->m_pMainWnd = &frame;
    EXPECT_EQ(AfxGetAppWnd(), &frame);
    AfxSaveWndState(nullptr, nullptr);
    EXPECT_EQ(Stored(L"MainWnd").Right(14), L",20,30,320,230");
    frame.MoveWindow(CRect(0, 0, 50, 50));
    AfxLoadWndState(nullptr, L"", 0);
    EXPECT_TRUE(frame.Normal() == CRect(20, 30, 320, 230));
    AfxSaveWndState(nullptr, L"Other");
    EXPECT_FALSE(Stored(L"Other").IsEmpty());
}

TEST_F(EstatFinestresTest, PlacementLiesBelowTheBaseFolderOfTheUser) {
    Frame frame;
    AfxSaveWndState(&frame, nullptr);
    AfxSaveWndState(&frame, L"Tools");
    wchar_t text[200] = {};
    for (const wchar_t* name : {L"MainWnd", L"Tools"}) {
        DWORD size = sizeof text;
        EXPECT_EQ(::RegGetValueW(HKEY_CURRENT_USER, L"Software\\Mirvanet\\test_ui", name, RRF_RT_REG_SZ,
                                 nullptr, text, &size),
                  ERROR_SUCCESS);
        EXPECT_EQ(CString(text), Stored(name));
    }
}

TEST_F(EstatFinestresTest, WindowWithoutAStoredPlacementStaysWhereItIs) {
    Frame frame;
    AfxLoadWndState(&frame, L"never stored", 1);
    EXPECT_TRUE(frame.Normal() == CRect(20, 30, 320, 230));
}

TEST_F(EstatFinestresTest, WithoutAWindowNothingHappens) {
    AfxSaveWndState(nullptr, L"Nobody");
    AfxLoadWndState(nullptr, L"Nobody", 0);
    EXPECT_TRUE(Stored(L"Nobody").IsEmpty());
}

TEST_F(EstatFinestresTest, WithoutAnApplicationThereIsNoMainWindow) {
    AFX_MODULE_STATE other(TRUE);
    AFX_MANAGE_STATE(&other);
    EXPECT_EQ(AfxGetAppWnd(), nullptr);
}

TEST_F(EstatFinestresTest, MinimisedWindowComesBackNormalUnlessAllowed) {
    Frame frame;
    frame.ShowWindow(SW_MINIMIZE);
    AfxSaveWndState(&frame, L"w");
    frame.ShowWindow(SW_SHOWNORMAL);
    AfxLoadWndState(&frame, L"w", 0);
    EXPECT_FALSE(frame.IsIconic());
    AfxLoadWndState(&frame, L"w", 1);
    EXPECT_TRUE(frame.IsIconic());
}

// ---- Controls

TEST_F(EstatFinestresTest, PlaceIsCaptionClassAndNumber) {
    Frame frame(L"Options");
    CListCtrl list;
    list.Create(LVS_REPORT, CRect(0, 0, 10, 10), &frame, 1001);
    CString key;
    CString value;
    EXPECT_EQ(AfxGetClauRegistryControl(&list, key, value, 1), 1);
    EXPECT_EQ(key, L".\\CtrlSettings\\Options");
    EXPECT_EQ(value, L"CListCtrl_1001");
    EXPECT_EQ(AfxGetClauRegistryControl(&list, key, value, 0), 1);
    EXPECT_EQ(key, L"CtrlSettings\\Options");
}

TEST_F(EstatFinestresTest, ParentWithoutCaptionSharesTheBareFolder) {
    Frame frame(L"");
    CWnd* const control = new CWnd;
    control->Create(L"EDIT", L"", 0, CRect(0, 0, 10, 10), &frame, 65535);
    CString key;
    CString value;
    EXPECT_EQ(AfxGetClauRegistryControl(control, key, value, 1), 1);
    EXPECT_EQ(key, L".\\CtrlSettings");
    EXPECT_EQ(value, L"CWnd_65535");
    delete control;
}

TEST_F(EstatFinestresTest, CaptionIsCutTo255Characters) {
    Frame frame(CString(L'c', 400));
    CEdit edit;
    edit.Create(0, CRect(0, 0, 10, 10), &frame, 7);
    CString key;
    CString value;
    EXPECT_EQ(AfxGetClauRegistryControl(&edit, key, value, 0), 1);
    EXPECT_EQ(key, CString(L"CtrlSettings\\") + CString(L'c', 255));
    EXPECT_EQ(value, L"CEdit_7");
}

TEST_F(EstatFinestresTest, ControlWithoutARunTimeClassHasNoPlace) {
    struct Nameless : CWnd {
        CRuntimeClass* GetRuntimeClass() const override { return nullptr; }
    };
    Frame frame(L"Options");
    Nameless control;
    control.Create(L"EDIT", L"", 0, CRect(0, 0, 10, 10), &frame, 5);
    CString key = L"k";
    CString value = L"v";
    EXPECT_EQ(AfxGetClauRegistryControl(&control, key, value, 1), 0);
    EXPECT_EQ(key, L"k");
    EXPECT_EQ(value, L"v");
    EXPECT_EQ(AfxGetRegistryControl(&control, value), nullptr);
    control.DestroyWindow();
}

TEST_F(EstatFinestresTest, DialogsWithoutCaptionShareTheirSettings) {
    Frame one(L"");
    Frame two(L"");
    CString value;
    const auto ofFirst = PlaceOfEdit(one, value);
    const auto ofSecond = PlaceOfEdit(two, value);
    ASSERT_NE(ofFirst, nullptr);
    ASSERT_NE(ofSecond, nullptr);
    ofFirst->EntraValor(value, L"shared");
    EXPECT_EQ(ofSecond->TornaValorString(value, L"none"), L"shared");
    EXPECT_EQ(TCarpetaRegistry(L".\\CtrlSettings").TornaValorString(L"CEdit_7", L""), L"shared");
}

TEST_F(EstatFinestresTest, ControlWithoutAParentHasNoPlace) {
    Frame frame;
    CString key = L"k";
    CString value = L"v";
    EXPECT_EQ(AfxGetClauRegistryControl(&frame, key, value, 1), 0);
    EXPECT_EQ(AfxGetClauRegistryControl(nullptr, key, value, 1), 0);
    EXPECT_EQ(key, L"k");
    EXPECT_EQ(value, L"v");
    EXPECT_EQ(AfxGetRegistryControl(&frame, value), nullptr);
}

TEST_F(EstatFinestresTest, DialogsOfTwoCaptionsKeepTheirSettingsApart) {
    Frame one(L"One");
    Frame two(L"Two");
    CString value;
    const auto ofFirst = PlaceOfEdit(one, value);
    const auto ofSecond = PlaceOfEdit(two, value);
    ASSERT_NE(ofFirst, nullptr);
    ASSERT_NE(ofSecond, nullptr);
    EXPECT_EQ(ofFirst->TornaValorString(value, L"none"), L"none");
    ofFirst->EntraValor(value, L"1");
    ofSecond->EntraValor(value, L"2");
    EXPECT_EQ(TCarpetaRegistry(L".\\CtrlSettings\\One").TornaValorString(L"CEdit_7", L""), L"1");
    EXPECT_EQ(TCarpetaRegistry(L".\\CtrlSettings\\Two").TornaValorString(L"CEdit_7", L""), L"2");
}

TEST_F(EstatFinestresTest, LookingForAPlaceMakesNoKey) {
    Frame frame(L"Unseen");
    CEdit edit;
    edit.Create(0, CRect(0, 0, 10, 10), &frame, 7);
    CString value;
    delete AfxGetRegistryControl(&edit, value);
    HKEY key = nullptr;
    EXPECT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Mirvanet\\test_ui\\CtrlSettings\\Unseen", 0,
                              KEY_READ, &key),
              ERROR_FILE_NOT_FOUND);
}
