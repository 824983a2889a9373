// Module states, extension modules, the resource chain, the application object, message boxes.
#include "message_capture.h"

#include <afxwin.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

HMODULE ThisModule() {
    return GetModuleHandleW(nullptr);
}

std::vector<CDynLinkLibrary*> Chain() {
    std::vector<CDynLinkLibrary*> links;
    for (CDynLinkLibrary* link = AfxGetModuleState()->m_libraryList; link != nullptr;
         link = link->m_pNextDLL) {
        links.push_back(link);
    }
    return links;
}

// A state of its own for the length of a test.
struct OwnState {
    OwnState()
        : state(TRUE)
        , previous(AfxSetModuleState(&state)) {}
    ~OwnState() { AfxSetModuleState(previous); }

    AFX_MODULE_STATE state;
    AFX_MODULE_STATE* previous;
};

} // namespace

TEST(ModuleStateTest, ProgramHasAState) {
    AFX_MODULE_STATE* state = AfxGetModuleState();
    EXPECT_EQ(AfxGetAppModuleState(), state);
    EXPECT_EQ(AfxGetApp(), state->m_pCurrentWinApp);
    EXPECT_EQ(ThisModule(), AfxGetInstanceHandle());
    EXPECT_EQ(ThisModule(), AfxGetResourceHandle());
    EXPECT_FALSE(state->m_bDLL);
    EXPECT_FALSE(state->m_bSystem);
}

TEST(ModuleStateTest, StateIsSwitchedForAScopeAndAThread) {
    AFX_MODULE_STATE own(TRUE);
    {
        AFX_MANAGE_STATE(&own);
        EXPECT_EQ(&own, AfxGetModuleState());
        EXPECT_EQ(nullptr, AfxGetApp());
        std::thread([&] { EXPECT_EQ(AfxGetAppModuleState(), AfxGetModuleState()); }).join();
        {
            AFX_MAINTAIN_STATE2 inner(AfxGetStaticModuleState());
            EXPECT_EQ(AfxGetStaticModuleState(), AfxGetModuleState());
            EXPECT_TRUE(AfxGetModuleState()->m_bDLL);
            EXPECT_EQ(ThisModule(), AfxGetInstanceHandle());
        }
        EXPECT_EQ(&own, AfxGetModuleState());
    }
    EXPECT_EQ(AfxGetAppModuleState(), AfxGetModuleState());
    AfxSetModuleState(&own);
    EXPECT_EQ(&own, AfxSetModuleState(nullptr));
    EXPECT_EQ(AfxGetAppModuleState(), AfxGetModuleState());
}

TEST(ModuleStateTest, ResourceHandleIsReplaced) {
    OwnState own;
    AfxSetResourceHandle(ThisModule());
    EXPECT_EQ(ThisModule(), own.state.m_hCurrentResourceHandle);
    EXPECT_EQ(ThisModule(), AfxGetResourceHandle());
}

TEST(ModuleStateTest, GlobalLocksAreRecursive) {
    AfxLockGlobals(CRIT_DYNLINKLIST);
    AfxLockGlobals(CRIT_DYNLINKLIST);
    bool isFree = true;
    std::thread other([&] {
        AfxLockGlobals(CRIT_RUNTIMECLASSLIST); // another lock
        AfxUnlockGlobals(CRIT_RUNTIMECLASSLIST);
        isFree = true;
    });
    other.join();
    AfxUnlockGlobals(CRIT_DYNLINKLIST);
    AfxUnlockGlobals(CRIT_DYNLINKLIST);
    EXPECT_TRUE(isFree);
    EXPECT_THROW(AfxLockGlobals(99), CInvalidArgException*);
}

// ---- Extension modules

TEST(ExtensionModuleTest, ExampleUsage) {
    OwnState own;
    AFX_EXTENSION_MODULE module = {};
    ASSERT_TRUE(AfxInitExtensionModule(module, ThisModule()));
    EXPECT_EQ(ThisModule(), module.hResource);
    auto* link = new CDynLinkLibrary(module);
    EXPECT_EQ((std::vector{link}), Chain());
    AfxTermExtensionModule(module);
    EXPECT_TRUE(Chain().empty());
}

TEST(ExtensionModuleTest, InitialisedRecordStaysAsItIs) {
    AFX_EXTENSION_MODULE module = {};
    AfxInitExtensionModule(module, ThisModule());
    module.hResource = nullptr;
    EXPECT_TRUE(AfxInitExtensionModule(module, nullptr));
    EXPECT_EQ(ThisModule(), module.hModule);
    EXPECT_EQ(nullptr, module.hResource);
    EXPECT_TRUE(module.bInitialized);
}

TEST(ExtensionModuleTest, LatestLinkComesFirst) {
    OwnState own;
    auto* first = new CDynLinkLibrary(ThisModule(), ThisModule());
    auto* second = new CDynLinkLibrary(ThisModule(), nullptr);
    EXPECT_EQ((std::vector{second, first}), Chain());
    delete first;
    EXPECT_EQ((std::vector{second}), Chain());
    delete second;
    EXPECT_TRUE(own.state.m_libraryList.IsEmpty());
}

TEST(ExtensionModuleTest, EndOfAModuleTakesItsLinksAlone) {
    OwnState own;
    AFX_EXTENSION_MODULE a = {}, b = {};
    int other;
    AfxInitExtensionModule(a, ThisModule());
    AfxInitExtensionModule(b, reinterpret_cast<HMODULE>(&other));
    new CDynLinkLibrary(a);
    auto* kept = new CDynLinkLibrary(b, TRUE);
    new CDynLinkLibrary(a);
    AfxTermExtensionModule(a);
    EXPECT_EQ((std::vector{kept}), Chain());
    EXPECT_TRUE(kept->m_bSystem);
    AFX_EXTENSION_MODULE unused = {};
    AfxTermExtensionModule(unused, TRUE);
    EXPECT_EQ(1u, Chain().size());
    AfxTermExtensionModule(a, TRUE);
    EXPECT_TRUE(Chain().empty());
}

TEST(ExtensionModuleTest, LinkLeavesTheStateItEntered) {
    AFX_MODULE_STATE state(TRUE);
    CDynLinkLibrary* link;
    {
        AFX_MANAGE_STATE(&state);
        link = new CDynLinkLibrary(ThisModule(), nullptr);
    }
    delete link;
    EXPECT_TRUE(state.m_libraryList.IsEmpty());
}

TEST(ExtensionModuleTest, EndOfAStateDeletesItsLinks) {
    AFX_MODULE_STATE state(TRUE);
    AFX_MANAGE_STATE(&state);
    new CDynLinkLibrary(ThisModule(), nullptr);
    new CDynLinkLibrary(ThisModule(), nullptr);
}

// ---- The application

TEST(ApplicationTest, ProgramHasOneApplication) {
    CWinApp* app = AfxGetApp();
    ASSERT_NE(nullptr, app);
    EXPECT_EQ(app, AfxGetThread());
    EXPECT_STREQ(L"test_framework", app->m_pszExeName);
    EXPECT_STREQ(L"test_framework", AfxGetAppName());
    EXPECT_EQ(ThisModule(), app->m_hInstance);
    EXPECT_EQ(nullptr, AfxGetMainWnd());
    EXPECT_THROW(CWinApp second, CInvalidArgException*);
    std::thread([] { EXPECT_EQ(nullptr, AfxGetThread()); }).join();
}

TEST(ApplicationTest, ModuleMayHaveItsOwn) {
    CWinThread* thread = AfxGetThread();
    OwnState own;
    std::thread([&] {
        AFX_MANAGE_STATE(&own.state);
        CWinApp app(L"own");
        EXPECT_EQ(&app, AfxGetApp());
        EXPECT_EQ(&app, AfxGetThread());
        EXPECT_STREQ(L"own", AfxGetAppName());
        app.SetRegistryKey(L"company");
        EXPECT_STREQ(L"company", app.m_pszRegistryKey);
        EXPECT_STREQ(L"own", app.m_pszProfileName);
    }).join();
    EXPECT_EQ(nullptr, own.state.m_pCurrentWinApp);
    EXPECT_EQ(thread, AfxGetThread());
    EXPECT_STREQ(L"test_framework", AfxGetAppName());
}

TEST(ApplicationTest, InitSetsHandles) {
    std::thread([] {
        OwnState own;
        CWinApp app;
        WCHAR commandLine[] = L"-x";
        EXPECT_TRUE(AfxWinInit(ThisModule(), nullptr, commandLine, 5));
        EXPECT_EQ(ThisModule(), AfxGetResourceHandle());
        EXPECT_EQ(commandLine, app.m_lpCmdLine);
        EXPECT_EQ(5, app.m_nCmdShow);
        EXPECT_TRUE(app.InitApplication());
        EXPECT_FALSE(app.InitInstance());
        EXPECT_EQ(0, app.ExitInstance());
        EXPECT_FALSE(app.OnIdle(0));
    }).join();
}

TEST(ApplicationTest, TemporaryMapsAreLockedByCount) {
    EXPECT_FALSE(AfxUnlockTempMaps());
    AfxLockTempMaps();
    AfxLockTempMaps();
    EXPECT_FALSE(AfxUnlockTempMaps());
    EXPECT_TRUE(AfxUnlockTempMaps(FALSE));
}

// ---- Message boxes

TEST(MessageBoxTest, ApplicationShowsEveryBox) {
    MessageCapture boxes(IDYES);
    EXPECT_EQ(IDYES, AfxMessageBox(L"text", MB_YESNO, 7));
    EXPECT_EQ(IDYES, AfxMessageBox(L"plain"));
    EXPECT_EQ(IDYES, AfxMessageBox(static_cast<LPCWSTR>(nullptr)));
    ASSERT_EQ(3u, boxes.Count());
    EXPECT_EQ(L"text", boxes[0].text);
    EXPECT_EQ(static_cast<UINT>(MB_YESNO), boxes[0].style);
    EXPECT_EQ(7u, boxes[0].help);
    EXPECT_EQ(static_cast<UINT>(MB_OK), boxes[1].style);
    EXPECT_EQ(0u, boxes[1].help);
    EXPECT_EQ(L"", boxes[2].text);
}

TEST(MessageBoxTest, MissingStringGivesAnEmptyBox) {
    MessageCapture boxes;
    AfxMessageBox(65000u, MB_OK);
    AfxMessageBox(65000u, MB_OK, 3);
    ASSERT_EQ(2u, boxes.Count());
    EXPECT_EQ(L"", boxes[0].text);
    EXPECT_EQ(65000u, boxes[0].help);
    EXPECT_EQ(3u, boxes[1].help);
}

// ---- Texts from resources

TEST(ResourceTextTest, MissingResources) {
    WCHAR text[16] = L"x";
    EXPECT_EQ(0, AfxLoadString(65000, text, 16));
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(0, AfxLoadString(65000, nullptr, 16));
    EXPECT_EQ(0, AfxLoadString(65000, text, 0));
    EXPECT_EQ(nullptr, AfxFindStringResourceHandle(65000));
    EXPECT_EQ(AfxGetResourceHandle(), AfxFindResourceHandle(MAKEINTRESOURCEW(4000), RT_STRING));
    CString kept(L"kept");
    EXPECT_FALSE(kept.LoadString(65000));
    EXPECT_FALSE(kept.LoadString(ThisModule(), 0x12345));
    EXPECT_TRUE(kept == L"kept");
}

TEST(ResourceTextTest, SubStrings) {
    CString part;
    EXPECT_TRUE(AfxExtractSubString(part, L"a\nbc\n\nd", 1));
    EXPECT_TRUE(part == L"bc");
    EXPECT_TRUE(AfxExtractSubString(part, L"a\nbc\n\nd", 2));
    EXPECT_TRUE(part.IsEmpty());
    EXPECT_TRUE(AfxExtractSubString(part, L"a;b", 1, L';'));
    EXPECT_TRUE(part == L"b");
    EXPECT_FALSE(AfxExtractSubString(part, L"a;b", 2, L';'));
    EXPECT_TRUE(part.IsEmpty());
    EXPECT_FALSE(AfxExtractSubString(part, nullptr, 0));
    EXPECT_FALSE(AfxExtractSubString(part, L"a", -1));
    EXPECT_TRUE(AfxExtractSubString(part, L"", 0));
}

TEST(ResourceTextTest, Inserts) {
    CString text;
    LPCWSTR values[] = {L"one", L"two", nullptr};
    AfxFormatStrings(text, L"%2 before %1, 100% %3 %9", values, 3);
    EXPECT_TRUE(text == L"two before one, 100% ? ?");
}
