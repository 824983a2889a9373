#include <qzmultilang.h>

#include <Idioma.h>

#include "temp_folder.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

fs::path ModuleFile(const wchar_t* name) {
    wchar_t path[MAX_PATH] = L"";
    const HMODULE module = ::LoadLibraryW(name);
    ::GetModuleFileNameW(module, path, MAX_PATH);
    ::FreeLibrary(module);
    std::wstring text = path;
    for (wchar_t& c : text)
        if (c == L'\\')
            c = L'/';
    return text;
}

// A folder with a module "app" and its resource modules in three languages. The real modules stand for them.
class QzmultilangTest : public testing::Test {
protected:
    QzmultilangTest()
        : english(ModuleFile(L"mvlib62_eng"))
        , extension(english.extension().wstring()) {
        instance = Install(L"app" + extension);
        fs::copy_file(english, folder.Root() / (L"app_eng" + extension));
        fs::copy_file(ModuleFile(L"mvlib62_cat"), folder.Root() / (L"app_cat" + extension));
        fs::copy_file(ModuleFile(L"mvlib62_esp"), folder.Root() / (L"app_esp" + extension));
    }
    ~QzmultilangTest() override { ::FreeLibrary(instance); }

    HMODULE Install(const std::wstring& name) {
        fs::copy_file(english, folder.Root() / name);
        const HMODULE module = ::LoadLibraryW(folder.Path(name).c_str());
        EXPECT_NE(module, nullptr);
        return module;
    }
    void Ini(std::string_view bytes) { folder.Write(L"Lang.ini", bytes); }

    // The key of the language that is loaded; "none" when nothing is.
    std::wstring LoadedFor(HMODULE module, const wchar_t* ini = L"Lang.ini") {
        const HINSTANCE resources = qzmultilangLoadLibrary(module, ini);
        if (!resources)
            return L"none";
        const std::wstring key = AfxGetClauIdioma(resources).GetString();
        ::FreeLibrary(resources);
        return key;
    }
    std::wstring Loaded() { return LoadedFor(instance); }

    TempFolder folder;
    const fs::path english;
    const std::wstring extension;
    HMODULE instance;
};

std::string Utf16(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

} // namespace

TEST_F(QzmultilangTest, ExampleUsage) {
    Ini("[Language]\r\nKey=CAT\r\n");
    const HINSTANCE resources = qzmultilangLoadLibrary(instance, L"Lang.ini");
    ASSERT_NE(resources, nullptr);
    EXPECT_EQ(AfxGetNomIdioma(resources), L"Catal\u00E0");
    ::FreeLibrary(resources);
}

TEST_F(QzmultilangTest, KeyNamesTheLanguage) {
    Ini("[Language]\nKey=ESP\n");
    EXPECT_EQ(Loaded(), L"ESP");
    Ini("[Language]\nKey=ENG\n");
    EXPECT_EQ(Loaded(), L"ENG");
    Ini("[Language]\nKey=CAT");
    EXPECT_EQ(Loaded(), L"CAT");
}

TEST_F(QzmultilangTest, CaseBlanksQuotesAndCommentsDoNotMatter) {
    Ini("; our language\r\n\r\n[Other]\r\nKey=ESP\r\n  [LANGUAGE]  \r\n;Key=ENG\r\nNoValue\r\n\t kEy =  \" "
        "cat \"\t\r\n");
    EXPECT_EQ(Loaded(), L"CAT");
    Ini("[language]\rkey=cat\r");
    EXPECT_EQ(Loaded(), L"CAT");
}

TEST_F(QzmultilangTest, FirstSectionAndFirstKeyCount) {
    Ini("[Language]\nKey=CAT\nKey=ESP\n[Language]\nKey=ENG\n");
    EXPECT_EQ(Loaded(), L"CAT");
    Ini("[Language]\nOther=1\n[Language]\nKey=CAT\n");
    EXPECT_EQ(Loaded(), L"ENG");
}

TEST_F(QzmultilangTest, FileMayBeUtf16OrCarryAMark) {
    Ini(Utf16("[Language]\r\nKey=CAT\r\n"));
    EXPECT_EQ(Loaded(), L"CAT");
    Ini("\xEF\xBB\xBF[Language]\r\nKey=CAT\r\n");
    EXPECT_EQ(Loaded(), L"CAT");
    Ini("; espa\xF1ol\r\n[Language]\r\nKey=CAT\r\n");
    EXPECT_EQ(Loaded(), L"CAT");
}

TEST_F(QzmultilangTest, FullPathOfTheFileIsTakenAsItIs) {
    TempFolder other;
    const std::wstring path = other.Write(L"Lang.ini", "[Language]\nKey=CAT\n");
    EXPECT_EQ(LoadedFor(instance, path.c_str()), L"CAT");
}

TEST_F(QzmultilangTest, MissingFileGivesEnglish) {
    EXPECT_EQ(Loaded(), L"ENG");
    EXPECT_EQ(LoadedFor(instance, nullptr), L"ENG");
    EXPECT_EQ(LoadedFor(instance, L""), L"ENG");
    fs::create_directory(folder.Root() / "Lang.ini");
    EXPECT_EQ(Loaded(), L"ENG");
}

TEST_F(QzmultilangTest, BrokenFileGivesEnglish) {
    for (const std::string& bytes :
         {std::string(), std::string("Key=CAT\n"), std::string("[Language\nKey=CAT\n"),
          std::string("[Language]\nKey\n"), std::string("[Language]\nKey=\n"),
          std::string("[Language]\nKey=C\0T\n", 20), std::string("\xFF\xFE"),
          std::string("\xFE\xFF\0[\0L", 6), Utf16("[Language]\nKey=CAT\n").substr(0, 33),
          std::string(3, '\xFF')}) {
        Ini(bytes);
        EXPECT_EQ(Loaded(), L"ENG") << bytes;
    }
}

TEST_F(QzmultilangTest, KeyThatIsNoneGivesEnglish) {
    for (const char* key :
         {"XYZ", "../app_cat", "C:cat", "CATALANLANG", "c\xE0t", "a t", "*", "\"cat", "."}) {
        Ini(std::string("[Language]\nKey=") + key + "\n");
        EXPECT_EQ(Loaded(), L"ENG") << key;
    }
}

TEST_F(QzmultilangTest, OversizedFileGivesEnglish) {
    const std::string good = "[Language]\nKey=CAT\n";
    Ini(good + std::string(65536 - good.size(), ' '));
    EXPECT_EQ(Loaded(), L"CAT");
    Ini(good + std::string(65537 - good.size(), ' '));
    EXPECT_EQ(Loaded(), L"ENG");
}

TEST_F(QzmultilangTest, BrokenOrMissingModuleGivesEnglish) {
    Ini("[Language]\nKey=CAT\n");
    folder.Write(L"app_cat" + extension, "this is no module");
    EXPECT_EQ(Loaded(), L"ENG");
    fs::remove(folder.Root() / (L"app_cat" + extension));
    EXPECT_EQ(Loaded(), L"ENG");
}

TEST_F(QzmultilangTest, WithoutEnglishThereIsNothing) {
    fs::remove(folder.Root() / (L"app_eng" + extension));
    EXPECT_EQ(Loaded(), L"none");
    Ini("[Language]\nKey=XYZ\n");
    EXPECT_EQ(Loaded(), L"none");
    Ini("[Language]\nKey=CAT\n");
    EXPECT_EQ(Loaded(), L"CAT");
}

TEST_F(QzmultilangTest, ProgramsOwnModulesAreLookedForBesideIt) {
    EXPECT_EQ(LoadedFor(nullptr), L"none"); // this program has none
}

TEST_F(QzmultilangTest, WhatIsNoModuleGivesNothing) {
    EXPECT_EQ(LoadedFor(reinterpret_cast<HMODULE>(this)), L"none");
}

TEST_F(QzmultilangTest, WhatMarksAProgramOrLibraryIsNoPartOfItsName) {
    const HMODULE other = Install(extension == L".so" ? L"libapp.so.6.2" : L"app.EXE");
    Ini("[Language]\nKey=CAT\n");
    EXPECT_EQ(LoadedFor(other), L"CAT");
    ::FreeLibrary(other);
}

// ---- The whole library with a Lang.ini beside it

namespace {

// A copy of the libraries and of a program that asks them for two texts.
class InstalledLibrary : public testing::Test {
protected:
    InstalledLibrary() {
        const fs::path bin = ModuleFile(L"mvlib62_eng").parent_path();
        for (const auto& entry : fs::directory_iterator(bin)) {
            const std::string name = entry.path().filename().string();
            const bool library =
                name.find(".dll") != std::string::npos || name.find(".so") != std::string::npos;
            if (library || name.find("lang_probe") == 0)
                fs::copy_file(entry.path(), folder.Root() / name);
        }
    }
    std::string Run() {
        const std::string out = (folder.Root() / "out.txt").string();
        const std::string command = (folder.Root() / "lang_probe").string() + " " + out;
        EXPECT_EQ(std::system(command.c_str()), 0);
        return folder.Read(L"out.txt");
    }

    TempFolder folder;
};

} // namespace

TEST_F(InstalledLibrary, SpeaksEnglishWithoutLangIni) {
    EXPECT_EQ(Run(), "Operation not supported.|milimeters");
}

TEST_F(InstalledLibrary, SpeaksTheLanguageOfLangIni) {
    folder.Write(L"Lang.ini", "[Language]\r\nKey=CAT\r\n");
    EXPECT_EQ(Run(), "Operaci\xC3\xB3 no admesa.|mil\xC2\xB7l\xC3\xADmetres");
    folder.Write(L"Lang.ini", "[Language]\r\nKey=ESP\r\n");
    EXPECT_EQ(Run(), "Operaci\xC3\xB3n no admitida.|mil\xC3\xADmetros");
}

TEST_F(InstalledLibrary, LoadsWithoutAnyLanguageModule) {
    for (const auto& entry : fs::directory_iterator(folder.Root()))
        if (entry.path().filename().string().find("mvlib62_") == 0)
            fs::remove(entry.path());
    EXPECT_EQ(Run(), "|");
}
