#include <Idioma.h>

#include "alloc_failure.h"
#include "debug_capture.h"
#include "import_patch.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

namespace {

const unsigned short English = 0x0409;
const unsigned short Catalan = 0x0403;
const unsigned short Default = 0x0400;

// A loaded resource module, linked into the chain while the object lives.
class Linked {
public:
    explicit Linked(const wchar_t* name, BOOL system = FALSE) {
        module.hModule = module.hResource = ::LoadLibraryW(name);
        EXPECT_NE(module.hModule, nullptr) << "cannot load the test's module";
        library = new CDynLinkLibrary(module, system);
    }
    ~Linked() {
        delete library;
        ::FreeLibrary(module.hModule);
    }
    Linked(const Linked&) = delete;
    Linked& operator=(const Linked&) = delete;

    AFX_EXTENSION_MODULE module = {};
    CDynLinkLibrary* library;
};

struct Loaded {
    explicit Loaded(const wchar_t* name)
        : module(::LoadLibraryW(name)) {
        EXPECT_NE(module, nullptr);
    }
    ~Loaded() { ::FreeLibrary(module); }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;

    HMODULE module;
};

int LinksOf(HMODULE module) {
    int count = 0;
    for (CDynLinkLibrary* p = AfxGetModuleState()->m_libraryList; p; p = p->m_pNextDLL)
        count += p->m_hModule == module;
    return count;
}

int LinksInAll() {
    int count = 0;
    for (CDynLinkLibrary* p = AfxGetModuleState()->m_libraryList; p; p = p->m_pNextDLL)
        ++count;
    return count;
}

class IdiomaTest : public testing::Test {
protected:
    void TearDown() override { AfxSetLanguage(Default); }
};

} // namespace

TEST_F(IdiomaTest, ExampleUsage) {
    EXPECT_EQ(AfxLoadString(500), L"from the program");
    EXPECT_EQ(AfxLoadString(18001), L"Operation not supported.");
    EXPECT_EQ(AfxLoadString(L"a literal"), L"a literal");
    const unsigned short before = AfxSetLanguage(English);
    EXPECT_EQ(AfxLoadString(18001), L"Operation not supported.");
    AfxSetLanguage(before);
}

// ---- Current language

TEST_F(IdiomaTest, FirstLanguageIsTheUsersDefault) {
    EXPECT_EQ(AfxGetLanguage(), 0x0400);
    EXPECT_EQ(AfxSetLanguage(Catalan), 0x0400);
    EXPECT_EQ(AfxGetLanguage(), Catalan);
    EXPECT_EQ(AfxSetLanguage(0xFFFF), Catalan);
    EXPECT_EQ(AfxSetLanguage(Default), 0xFFFF);
}

TEST_F(IdiomaTest, StringInAnotherLanguageOnlyIsNotFound) {
    Loaded two(L"test_ui_two");
    EXPECT_EQ(AfxLoadStringLang(502, Catalan, two.module), L"only in two");
    EXPECT_EQ(AfxLoadStringLang(502, English, two.module), L"");
    EXPECT_EQ(AfxLoadStringLang(502, 0x0C0A, two.module), L"");
    AfxSetLanguage(Catalan);
    DebugCapture output;
    EXPECT_EQ(AfxLoadString(18001), L"");
    EXPECT_EQ(output.Text(), L"[AfxLoadStringLang] Error: no s'ha pogut carregar l'string '18001'\n");
}

TEST_F(IdiomaTest, DefaultLanguageFindsWhateverLanguageTheModuleHas) {
    Loaded one(L"test_ui_one");
    Loaded two(L"test_ui_two");
    EXPECT_EQ(AfxLoadStringLang(501, Default, one.module), L"only in one");
    EXPECT_EQ(AfxLoadStringLang(502, Default, two.module), L"only in two");
}

TEST_F(IdiomaTest, CurrentLanguageChoosesAmongTheModulesOfTheChain) {
    Linked one(L"test_ui_one");
    Linked two(L"test_ui_two");
    AfxSetLanguage(Catalan);
    EXPECT_EQ(AfxLoadString(500), L"from module two");
    AfxSetLanguage(English);
    EXPECT_EQ(AfxLoadString(500), L"from the program");
    EXPECT_EQ(AfxLoadString(501), L"only in one");
    EXPECT_EQ(AfxLoadString(502), L"");
}

// ---- Search

TEST_F(IdiomaTest, GivenModuleIsSearchedAloneAndInSilence) {
    Loaded one(L"test_ui_one");
    DebugCapture output;
    EXPECT_EQ(AfxLoadStringLang(500, English, one.module), L"from module one");
    EXPECT_EQ(AfxLoadStringLang(18001, English, one.module), L"");
    EXPECT_EQ(AfxLoadStringLang(503, English, one.module), L"");
    EXPECT_EQ(output.Text(), L"");
}

TEST_F(IdiomaTest, CallersModuleComesFirstThenTheChainInItsOrder) {
    Linked one(L"test_ui_one");
    EXPECT_EQ(AfxLoadString(500), L"from the program");
    EXPECT_EQ(AfxLoadString(501), L"only in one");
    Linked two(L"test_ui_two"); // in front of one
    AfxSetResourceHandle(nullptr);
    EXPECT_EQ(AfxLoadStringLang(500, Default, nullptr), L"from the program") << "null is the program";
    AfxSetResourceHandle(two.module.hModule);
    EXPECT_EQ(AfxLoadString(500), L"from module two");
    AfxSetResourceHandle(AfxGetInstanceHandle());
}

TEST_F(IdiomaTest, EmptyStringCountsAsMissingAndTheSearchGoesOn) {
    Linked two(L"test_ui_two");
    Linked one(L"test_ui_one");
    EXPECT_EQ(AfxLoadStringLang(502, Default, one.module.hModule), L"");
    EXPECT_EQ(AfxLoadString(502), L"only in two");
    EXPECT_EQ(AfxLoadStringLang(501, Default, two.module.hModule), L"");
}

TEST_F(IdiomaTest, SystemLibrariesAndThoseWithoutResourcesArePassedOver) {
    {
        Linked one(L"test_ui_one", TRUE);
        EXPECT_EQ(AfxLoadString(501), L"");
    }
    Linked one(L"test_ui_one");
    one.library->m_hResource = nullptr;
    EXPECT_EQ(AfxLoadString(501), L"");
    one.library->m_hResource = one.module.hResource;
    EXPECT_EQ(AfxLoadString(501), L"only in one");
}

TEST_F(IdiomaTest, SystemModuleStateDoesNotSearchItsOwnResources) {
    AfxGetModuleState()->m_bSystem = TRUE;
    EXPECT_EQ(AfxLoadString(500), L"");
    EXPECT_EQ(AfxLoadString(18001), L"Operation not supported.");
    AfxGetModuleState()->m_bSystem = FALSE;
    EXPECT_EQ(AfxLoadString(500), L"from the program");
}

TEST_F(IdiomaTest, MissEverywhereIsReportedWithTheNumber) {
    DebugCapture output;
    EXPECT_EQ(AfxLoadString(64123), L"");
    EXPECT_EQ(AfxLoadStringLang(4000000000u, Default, nullptr), L"");
    EXPECT_EQ(output.Text(), L"[AfxLoadStringLang] Error: no s'ha pogut carregar l'string '64123'\n"
                             L"[AfxLoadStringLang] Error: no s'ha pogut carregar l'string '4000000000'\n");
}

TEST_F(IdiomaTest, EveryPlaceOfABlockIsReached) {
    Loaded one(L"test_ui_one");
    EXPECT_EQ(AfxLoadStringLang(512, English, one.module), L"first of its block");
    EXPECT_EQ(AfxLoadStringLang(527, English, one.module), L"last of its block");
    EXPECT_EQ(AfxLoadStringLang(528, English, one.module),
              L"accents: \u00E0\u00E9\u00EF\u00E7\u00F1\u00B7\u20AC \"quoted\" \\ back\n");
    for (unsigned int id = 513; id < 527; ++id)
        EXPECT_EQ(AfxLoadStringLang(id, English, one.module), L"") << id;
}

TEST_F(IdiomaTest, LiteralIsReturnedAsItIs) {
    EXPECT_EQ(AfxLoadString(L""), L"");
    EXPECT_EQ(AfxLoadString(static_cast<const wchar_t*>(nullptr)), L"");
    EXPECT_EQ(AfxLoadString(L"%s 18001"), L"%s 18001");
}

namespace {

bool g_refuseResources = false;

HGLOBAL WINAPI LoadResourceOrRefuse(HMODULE module, HRSRC resource) {
    return g_refuseResources ? nullptr : ::LoadResource(module, resource);
}

} // namespace

TEST_F(IdiomaTest, BlockThatCannotBeLoadedIsReportedWithItsModule) {
    ASSERT_GT(PatchImport("mvlib62", {"LoadResource", reinterpret_cast<void*>(&LoadResourceOrRefuse)}), 0);
    Loaded one(L"test_ui_one");
    wchar_t name[MAX_PATH];
    ASSERT_NE(::GetModuleFileNameW(one.module, name, MAX_PATH), 0u);
    g_refuseResources = true;
    DebugCapture output;
    EXPECT_EQ(AfxLoadStringLang(500, English, one.module), L"");
    g_refuseResources = false;
    EXPECT_EQ(output.Text(),
              L"[_loadStringLang] Error: no s'ha pogut accedir al recurs demanat (m\u00F2dul: " +
                  std::wstring(name) + L")\n");
    EXPECT_EQ(AfxLoadStringLang(500, English, one.module), L"from module one");
}

TEST_F(IdiomaTest, LoadingWithoutMemoryThrowsOrMissesAndReleasesTheLock) {
    Linked one(L"test_ui_one");
    int defined = 0;
    const int failures = FailEachAllocation([&] {
        try {
            const CString text = AfxLoadString(501);
            if (text.IsEmpty()) // the system had no memory for the search
                ++defined;
            else
                EXPECT_EQ(text, L"only in one");
        } catch (CMemoryException* e) {
            e->Delete();
            ++defined;
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(defined, failures);
    std::thread([] { EXPECT_EQ(AfxLoadString(501), L"only in one"); }).join();
}

TEST_F(IdiomaTest, ThreadsSearchTheChainAtOnce) {
    std::thread other([] {
        for (int i = 0; i < 500; ++i)
            ASSERT_EQ(AfxLoadString(18001), L"Operation not supported.");
    });
    for (int i = 0; i < 500; ++i)
        Linked one(L"test_ui_one");
    other.join();
}

// ---- What a module says about its language

TEST_F(IdiomaTest, ModuleDescribesItsLanguage) {
    Loaded one(L"test_ui_one");
    EXPECT_EQ(AfxGetIdioma(one.module), 17);
    EXPECT_EQ(AfxGetNomIdioma(one.module), L"Test");
    EXPECT_EQ(AfxGetClauIdioma(one.module), L"TST");
}

TEST_F(IdiomaTest, ReservedStringsAreCutToTheirMaximum) {
    EXPECT_EQ(AfxGetIdioma(nullptr), 123456789);
    EXPECT_EQ(AfxGetIdiomaAplicacio(), 123456789);
    EXPECT_EQ(AfxGetNomIdioma(nullptr), L"A name of a language that is longer tha");
    EXPECT_EQ(AfxGetClauIdioma(nullptr), L"LONGERTHA");
}

TEST_F(IdiomaTest, NumberThatIsNoneIsZero) {
    Loaded two(L"test_ui_two");
    EXPECT_EQ(AfxGetIdioma(two.module), 0);
}

TEST_F(IdiomaTest, ModuleThatDoesNotSayIsLanguageOneWithoutNameAndKey) {
    Loaded two(L"test_ui_two");
    DebugCapture output;
    EXPECT_EQ(AfxGetNomIdioma(two.module), L"");
    EXPECT_EQ(AfxGetClauIdioma(two.module), L"");
    const HMODULE framework = AfxGetAppModuleState() ? ::GetModuleHandleW(L"qzmultilang") : nullptr;
    EXPECT_EQ(AfxGetIdioma(framework ? framework : ::GetModuleHandleW(L"libqzmultilang.so.6")), 1);
    EXPECT_EQ(output.Text(),
              L"[AfxGetNomIdioma] Error: no s'ha trobat el recurs que cont\u00E9 la clau de l'idioma\n"
              L"[AfxGetClauIdioma] Error: no s'ha trobat el recurs que cont\u00E9 la clau de l'idioma\n"
              L"[AfxGetIdioma] Error: no s'ha trobat el recurs que cont\u00E9 l'ID de l'idioma\n");
}

// ---- Resource chain

TEST_F(IdiomaTest, ExtensionModuleIsLinkedOnce) {
    Loaded one(L"test_ui_one");
    AFX_EXTENSION_MODULE module = {};
    AfxInitExtensionModule(module, one.module);
    EXPECT_EQ(AfxLinkExtensionModule(module), 1);
    EXPECT_EQ(AfxLinkExtensionModule(module), 1);
    EXPECT_EQ(LinksOf(one.module), 1);
    EXPECT_EQ(AfxLoadString(501), L"only in one");
    AfxTermExtensionModule(module);
    EXPECT_EQ(LinksOf(one.module), 0);
}

TEST_F(IdiomaTest, SystemEntryOfTheSameModuleDoesNotCount) {
    Linked system(L"test_ui_one", TRUE);
    EXPECT_EQ(AfxLinkExtensionModule(system.module), 1);
    EXPECT_EQ(LinksOf(system.module.hModule), 2);
    for (CDynLinkLibrary* p = AfxGetModuleState()->m_libraryList; p; p = p->m_pNextDLL)
        if (p->m_hModule == system.module.hModule && !p->m_bSystem) {
            delete p;
            break;
        }
}

TEST_F(IdiomaTest, LinkingWithoutMemoryThrowsAndLeavesTheChain) {
    Loaded one(L"test_ui_one");
    AFX_EXTENSION_MODULE module = {};
    AfxInitExtensionModule(module, one.module);
    {
        FailAllocation failure(1);
        EXPECT_THROW(AfxLinkExtensionModule(module), CMemoryException*);
    }
    EXPECT_EQ(LinksOf(one.module), 0);
}

TEST_F(IdiomaTest, LibraryIsInTheProgramsChainFromTheStart) {
    const int links = LinksInAll();
    EXPECT_GE(links, 1);
    EXPECT_EQ(MVLib_LinkDll(), 1);
    EXPECT_EQ(LinksInAll(), links);
}

TEST_F(IdiomaTest, LibraryLinksItselfOnceIntoACallersOwnState) {
    static const char address = 0;
    AFX_MODULE_STATE own(TRUE, &address);
    {
        AFX_MANAGE_STATE(&own);
        EXPECT_EQ(AfxLoadString(18001), L"");
        EXPECT_EQ(MVLib_LinkDll(), 1);
        EXPECT_EQ(MVLib_LinkDll(), 1);
        EXPECT_EQ(LinksInAll(), 1);
        EXPECT_EQ(AfxLoadString(18001), L"Operation not supported.");
        delete own.m_libraryList.GetHead();
    }
    EXPECT_EQ(AfxLoadString(18001), L"Operation not supported.");
}
