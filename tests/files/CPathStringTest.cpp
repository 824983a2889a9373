#include <COSVersionInfo.h>
#include <CPathString.h>

#include "alloc_failure.h"
#include "temp_folder.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

std::wstring Text(const CString& text) {
    return text.GetString();
}

// Puts the process's current folder and the base of data folders back.
class CPathStringTest : public testing::Test {
protected:
    CPathStringTest() { GetCurrentDirectoryW(MAX_PATH, m_current); }
    ~CPathStringTest() override {
        SetCurrentDirectoryW(m_current);
        CPathString::SetBaseRutaDades(L"");
    }

    // The folder of this case in the library's form.
    CString Root() const {
        CString root(folder.Root().wstring().c_str());
        root.Replace(L'/', L'\\');
        return root;
    }
    CString In(const wchar_t* name) const { return Root() + L"\\" + name; }

    TempFolder folder;

private:
    wchar_t m_current[MAX_PATH];
};

TEST_F(CPathStringTest, ExampleUsage) {
    const CPathString file(L"report.dat", Root() + L"\\new\\reports");
    ASSERT_EQ(file.CrearCarpeta(), 1);
    EXPECT_EQ(CPathString::TestCarpeta(file.GetRuta(0)), 1);
    EXPECT_EQ(file.TestFitxer(), 0);
    const CPathString backup = file.Substituir(nullptr, nullptr, nullptr, L".bak");
    EXPECT_EQ(Text(backup), Text(In(L"new\\reports\\report.bak")));
}

// ---- Joining and taking apart

TEST_F(CPathStringTest, JoinsNameAndFolder) {
    EXPECT_EQ(Text(CPathString(L"a.txt", L"C:\\d")), L"C:\\d\\a.txt");
    EXPECT_EQ(Text(CPathString(L"a.txt", L"C:\\d\\")), L"C:\\d\\a.txt");
    EXPECT_EQ(Text(CPathString(nullptr, L"C:\\d")), L"C:\\d\\");
    EXPECT_EQ(Text(CPathString(L"", L"C:\\d\\")), L"C:\\d\\");
    EXPECT_EQ(Text(CPathString(L"a.txt", nullptr)), L"a.txt");
    EXPECT_EQ(Text(CPathString(L"\"a.txt\"", L"\"C:\\d\"")), L"C:\\d\\a.txt");
    EXPECT_EQ(Text(CPathString(static_cast<const wchar_t*>(nullptr), static_cast<const wchar_t*>(nullptr))),
              L"");
}

TEST_F(CPathStringTest, JoinsFourParts) {
    EXPECT_EQ(Text(CPathString(L"C:", L"\\d\\e", L"f", L"txt")), L"C:\\d\\e\\f.txt");
    EXPECT_EQ(Text(CPathString(L"c:\\", L"dir", L"f", L".txt")), L"c:dir\\f.txt");
    EXPECT_EQ(Text(CPathString(nullptr, L"d/", L"f", nullptr)), L"d/f");
    EXPECT_EQ(Text(CPathString(nullptr, nullptr, nullptr, nullptr)), L"");
}

TEST_F(CPathStringTest, JoinsPartsOfAnyLength) {
    const CString dir(L'f', 300);
    const CString name(L'n', 300);
    EXPECT_EQ(Text(CPathString(L"C:", dir, name, L"txt")), Text(L"C:" + dir + L"\\" + name + L".txt"));
    EXPECT_EQ(Text(CPathString(name, dir)), Text(dir + L"\\" + name));
}

TEST_F(CPathStringTest, TextsThatNobodyTypedKeepTheirQuotes) {
    const CString quoted(L"\"a\"");
    CPathString path(quoted);
    EXPECT_EQ(Text(path), L"\"a\"");
    path = L"\"b\"";
    EXPECT_EQ(Text(path), L"\"b\"");
    EXPECT_EQ(Text(CPathString(L"\"c\"")), L"c");
}

TEST_F(CPathStringTest, SplitsIntoFourParts) {
    CString drive, dir, name, extension;
    CPathString(L"C:\\d\\e\\read.me.txt").SplitPath(&drive, &dir, &name, &extension);
    EXPECT_EQ(Text(drive), L"C:");
    EXPECT_EQ(Text(dir), L"\\d\\e\\");
    EXPECT_EQ(Text(name), L"read.me");
    EXPECT_EQ(Text(extension), L".txt");
    CPathString(L"\\\\srv\\share\\f.t").SplitPath(nullptr, &dir, nullptr, nullptr);
    EXPECT_EQ(Text(dir), L"\\\\srv\\share\\");
}

TEST_F(CPathStringTest, PartsAreReadOneByOne) {
    const CPathString path(L"C:\\d\\e\\f.txt");
    EXPECT_EQ(Text(path.GetUnitat()), L"C:");
    EXPECT_EQ(Text(path.GetDirectori(1)), L"\\d\\e\\");
    EXPECT_EQ(Text(path.GetDirectori(0)), L"\\d\\e");
    EXPECT_EQ(Text(path.GetRuta(1)), L"C:\\d\\e\\");
    EXPECT_EQ(Text(path.GetRuta(0)), L"C:\\d\\e");
    EXPECT_EQ(Text(path.GetNomFitxer()), L"f");
    EXPECT_EQ(Text(path.GetFitxer()), L"f.txt");
    EXPECT_EQ(Text(CPathString(L"f.txt").GetDirectori(1)), L"\\") << "the trailing rule on an empty text";
    EXPECT_EQ(Text(CPathString(L"f.txt").GetRuta(0)), L"");
}

TEST_F(CPathStringTest, ExtensionWithItsDotIsNeverEmpty) {
    EXPECT_EQ(Text(CPathString(L"C:\\d\\readme").GetExtensio(0)), L"");
    EXPECT_EQ(Text(CPathString(L"C:\\d\\readme").GetExtensio(1)), L".");
    EXPECT_EQ(Text(CPathString(L"a.b.txt").GetExtensio(0)), L"txt");
    EXPECT_EQ(Text(CPathString(L"a.b.txt").GetExtensio(1)), L".txt");
}

TEST_F(CPathStringTest, PathWithAPartTooLongHasNoParts) {
    const CPathString path(CString(L"C:\\d\\") + CString(L'n', 257) + L".txt");
    EXPECT_EQ(Text(path.GetUnitat()), L"");
    EXPECT_EQ(Text(path.GetFitxer()), L"");
    EXPECT_EQ(CPathString(CString(L"C:\\d\\") + CString(L'n', 256)).GetNomFitxer().GetLength(), 256);
}

TEST_F(CPathStringTest, ChangingAPathWithAPartTooLongStartsFromNothing) {
    const CPathString path(CString(L"C:\\") + CString(L'n', 300));
    EXPECT_EQ(Text(path.Substituir(nullptr, nullptr, nullptr, L".bak")), L".bak");
    EXPECT_EQ(Text(path.Cd(L"\\x")), L"\\x\\");
    EXPECT_EQ(path.CrearCarpeta(), 0);
    EXPECT_EQ(path.EsborrarCarpeta(1), 0);
}

TEST_F(CPathStringTest, NamesOfAnyScriptAreTakenApart) {
    const CPathString path(L"C:\\\u65E5\u672C\\na\u00EFve \U0001F600.d\u00E4t");
    EXPECT_EQ(Text(path.GetDirectori(0)), L"\\\u65E5\u672C");
    EXPECT_EQ(Text(path.GetNomFitxer()), L"na\u00EFve \U0001F600");
    EXPECT_EQ(Text(path.GetExtensio(0)), L"d\u00E4t");
}

TEST_F(CPathStringTest, Roots) {
    for (const wchar_t* root : {L"\\", L"C:", L"C:\\", L"?:\\"}) {
        EXPECT_EQ(CPathString(root).IsRoot(), 1) << Text(root);
    }
    for (const wchar_t* other : {L"", L"C", L"C:\\d", L"\\\\", L"C:/", L"/"}) {
        EXPECT_EQ(CPathString(other).IsRoot(), 0) << Text(other);
    }
}

TEST_F(CPathStringTest, SubstitutesPartsThatAreGiven) {
    const CPathString path(L"C:\\d\\f.txt");
    EXPECT_EQ(Text(path.Substituir(L"D:", nullptr, nullptr, nullptr)), L"D:\\d\\f.txt");
    EXPECT_EQ(Text(path.Substituir(L"", L"", nullptr, nullptr)), L"f.txt");
    EXPECT_EQ(Text(path.Substituir(nullptr, L"\\x", L"g", L"")), L"C:\\x\\g");
    EXPECT_EQ(Text(path.Substituir(nullptr, nullptr, nullptr, nullptr)), L"C:\\d\\f.txt");
}

TEST_F(CPathStringTest, CdChangesTheFolder) {
    const CPathString path(L"C:\\d\\e\\f.txt");
    EXPECT_EQ(Text(path.Cd(L"..")), L"C:\\d\\f.txt");
    EXPECT_EQ(Text(path.Cd(L"..").Cd(L"..")), L"C:\\f.txt");
    EXPECT_EQ(Text(path.Cd(L"..").Cd(L"..").Cd(L"..")), L"C:\\f.txt");
    EXPECT_EQ(Text(path.Cd(L"x\\y")), L"C:\\d\\e\\x\\y\\f.txt");
    EXPECT_EQ(Text(path.Cd(L"\\x")), L"C:\\x\\f.txt");
    EXPECT_EQ(Text(path.Cd(L"..\\x")), L"C:\\d\\e\\..\\x\\f.txt") << "only the bare two dots go up";
    EXPECT_EQ(Text(path), L"C:\\d\\e\\f.txt");
}

// Kept: the end of the folder is looked at without asking whether there is one.
TEST_F(CPathStringTest, CdOfABareNameThrows) {
    for (const wchar_t* target : {L"..", L"sub"}) {
        bool caught = false;
        try {
            CPathString(L"f.txt").Cd(target);
        } catch (COleException* e) {
            caught = static_cast<DWORD>(e->m_sc) == 0x80070057u;
            e->Delete();
        }
        EXPECT_TRUE(caught) << Text(target);
    }
    EXPECT_EQ(Text(CPathString(L"f.txt").Cd(L"\\x")), L"\\x\\f.txt");
}

TEST_F(CPathStringTest, TrailingRule) {
    const auto applied = [](const wchar_t* text, int flag) {
        CString str(text);
        CPathString::posarBarraFinal(str, flag);
        return Text(str);
    };
    EXPECT_EQ(applied(L"", 1), L"\\");
    EXPECT_EQ(applied(L"", 0), L"");
    EXPECT_EQ(applied(L"a", 1), L"a\\");
    EXPECT_EQ(applied(L"a\\", 1), L"a\\");
    EXPECT_EQ(applied(L"a\\", 0), L"a");
    EXPECT_EQ(applied(L"a\\\\", 0), L"a\\");
    EXPECT_EQ(applied(L"\\", 0), L"");
}

TEST_F(CPathStringTest, QuotesAreCleanedOncePerEnd) {
    EXPECT_EQ(Text(AfxNetejarPath(L"\"C:\\a b\"")), L"C:\\a b");
    EXPECT_EQ(Text(AfxNetejarPath(L"\"half")), L"half");
    EXPECT_EQ(Text(AfxNetejarPath(L"half\"")), L"half");
    EXPECT_EQ(Text(AfxNetejarPath(L"\"")), L"");
    EXPECT_EQ(Text(AfxNetejarPath(L"\"\"")), L"");
    EXPECT_EQ(Text(AfxNetejarPath(L"\"\"x\"\"")), L"\"x\"");
    EXPECT_EQ(Text(AfxNetejarPath(nullptr)), L"");
}

TEST_F(CPathStringTest, WithoutMemoryTheMemoryExceptionIsThrown) {
    const CPathString path(L"C:\\d\\f.txt");
    int refused = 0;
    const int failures = FailEachAllocation([&] {
        try {
            EXPECT_EQ(path.Substituir(nullptr, nullptr, L"other", nullptr).Cd(L"sub").GetLength(), 18);
        } catch (CMemoryException* e) {
            e->Delete();
            ++refused;
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(refused, failures);
}

// ---- The file system

TEST_F(CPathStringTest, FullPathIsRelativeToTheBasesFolder) {
    ASSERT_EQ(CPathString::CrearCarpeta(In(L"sub")), 1);
    ASSERT_TRUE(SetCurrentDirectoryW(Root()));
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    const CString here(before);
    EXPECT_EQ(Text(CPathString::FullPath(L"a.txt")), Text(here + L"\\a.txt"));
    EXPECT_EQ(Text(CPathString::FullPath(L"..\\b\\.\\c.txt", In(L"sub\\base.txt"))),
              Text(here + L"\\b\\c.txt"));
    wchar_t after[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, after);
    EXPECT_STREQ(after, before);
}

TEST_F(CPathStringTest, FullPathOfAnAbsoluteOne) {
    ASSERT_TRUE(SetCurrentDirectoryW(Root()));
    EXPECT_EQ(Text(CPathString::FullPath(Root() + L"\\x\\..\\.\\a.txt")), Text(In(L"a.txt")));
    EXPECT_EQ(Text(CPathString::FullPath(In(L"a.txt"), In(L"none\\base.txt"))), Text(In(L"a.txt")));
    EXPECT_EQ(Text(CPathString::FullPath(L"a.txt", L"base.txt")), Text(CPathString::FullPath(L"a.txt")))
        << "a base without a folder";
    EXPECT_EQ(Text(CPathString::FullPath(L"a.txt", L"")), Text(CPathString::FullPath(L"a.txt")));
    EXPECT_EQ(Text(CPathString::FullPath(nullptr)), Text(CPathString::FullPath(L".")));
}

TEST_F(CPathStringTest, FullPathIsEmptyWhenThereIsNone) {
    EXPECT_EQ(Text(CPathString::FullPath(L"a.txt", In(L"none\\base.txt"))), L"");
    EXPECT_EQ(Text(CPathString::FullPath(CString(L'n', 300))), L"");
}

TEST_F(CPathStringTest, TellsFilesFromFolders) {
    folder.Write(L"file", "12345");
    ASSERT_EQ(CPathString::CrearCarpeta(In(L"dir")), 1);
    EXPECT_EQ(CPathString::TestFitxer(In(L"file")), 1);
    EXPECT_EQ(CPathString::TestFitxer(In(L"dir")), 0);
    EXPECT_EQ(CPathString::TestFitxer(In(L"none")), 0);
    EXPECT_EQ(CPathString::TestFitxer(L""), 0);
    EXPECT_EQ(CPathString::TestFitxer(nullptr), 0);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"dir")), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"dir\\")), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"file")), 0);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"none")), 0);
    EXPECT_EQ(CPathString::TestCarpeta(L""), 0);
    EXPECT_EQ(CPathString::TestCarpeta(nullptr), 0);
    EXPECT_EQ(CPathString::TestCarpeta(L"\\"), 1);
    EXPECT_EQ(CPathString(In(L"dir")).TestCarpeta(), 1);
    EXPECT_EQ(CPathString(In(L"dir")).TestFitxer(), 0);
}

TEST_F(CPathStringTest, FilesOfAnyName) {
    const CString name(L"\u65E5\u672C na\u00EFve \U0001F600");
    ASSERT_EQ(CPathString::CrearCarpeta(In(name)), 1);
    const CString file = In(name) + L"\\\u00FCber \u0416.t\u00E9xt";
    folder.Write(std::wstring(name) + L"/\u00FCber \u0416.t\u00E9xt", "123");
    EXPECT_EQ(CPathString::TestFitxer(file), 1);
    EXPECT_EQ(CPathString::GetMida(file), 3u);
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(name), 1), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(name)), 0);
}

TEST_F(CPathStringTest, SizeAndTimes) {
    folder.Write(L"file", "12345");
    EXPECT_EQ(CPathString(In(L"file")).GetMida(), 5u);
    EXPECT_EQ(CPathString::GetMida(In(L"none")), 0u);
    EXPECT_EQ(CPathString::GetMida(nullptr), 0u);
    EXPECT_EQ(CPathString::GetMida(Root()), 0u) << "a folder";
    CTime time(std::int64_t{1});
    EXPECT_EQ(CPathString::GetData(nullptr, time, 1), 0);
    EXPECT_EQ(CPathString::GetData(In(L"file"), time, 0), 0);
    EXPECT_EQ(CPathString::GetData(In(L"file"), time, 4), 0);
    EXPECT_EQ(CPathString::GetData(In(L"none"), time, 2), 0);
    EXPECT_EQ(time.GetTime(), 1);
    for (unsigned which : {1u, 2u, 3u}) {
        time = CTime(std::int64_t{1});
        EXPECT_EQ(CPathString(In(L"file")).GetData(time, which), 1);
        EXPECT_LT(std::abs(CTime::GetCurrentTime().GetTime() - time.GetTime()), 120) << which;
    }
}

TEST_F(CPathStringTest, TimeOfTheLastChangeIsTheFiles) {
    folder.Write(L"file", "12345");
    const auto before = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * 400);
    std::filesystem::last_write_time(folder.Root() / "file", before);
    CTime changed;
    ASSERT_EQ(CPathString::GetData(In(L"file"), changed, 2), 1);
    const auto days = (CTime::GetCurrentTime() - changed).GetDays();
    EXPECT_GE(days, 399);
    EXPECT_LE(days, 401);
}

TEST_F(CPathStringTest, TimesAreToldApart) {
    folder.Write(L"file", "12345");
    const HANDLE file = CreateFileW(In(L"file"), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    FILETIME now;
    ASSERT_TRUE(GetFileTime(file, nullptr, nullptr, &now));
    // Two moments of the years 2001 and 2009.
    const FILETIME access = {0, 0x01C07380};
    const FILETIME write = {0, 0x01C98380};
    ASSERT_TRUE(SetFileTime(file, nullptr, &access, &write));
    CloseHandle(file);
    CTime made, changed, read;
    ASSERT_EQ(CPathString::GetData(In(L"file"), made, 1), 1);
    ASSERT_EQ(CPathString::GetData(In(L"file"), changed, 2), 1);
    ASSERT_EQ(CPathString::GetData(In(L"file"), read, 3), 1);
    EXPECT_EQ(changed, CTime(write));
    EXPECT_EQ(read, CTime(access));
    EXPECT_NE(made, read);
}

TEST_F(CPathStringTest, SizeIsCutTo32Bits) {
    folder.Write(L"file", "");
    std::error_code error;
    std::filesystem::resize_file(folder.Root() / "file", (std::uintmax_t{1} << 32) + 5, error);
    if (error)
        GTEST_SKIP() << "no files of 4 GiB here: " << error.message();
    EXPECT_EQ(CPathString::GetMida(In(L"file")), 5u);
}

TEST_F(CPathStringTest, CreatesEveryMissingFolder) {
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"a\\b\\c")), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"a\\b\\c")), 1);
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"a\\b\\c\\")), 1) << "it is there";
    EXPECT_EQ(CPathString(In(L"x\\y\\file.txt")).CrearCarpeta(), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"x\\y")), 1);
    EXPECT_EQ(CPathString::TestFitxer(In(L"x\\y\\file.txt")), 0);
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"d1\\\\d2\\\\")), 1) << "doubled separators";
    EXPECT_EQ(CPathString::TestCarpeta(In(L"d1\\d2")), 1);
    EXPECT_EQ(CPathString::CrearCarpeta(L"\\"), 1) << "a root is there";
    ASSERT_TRUE(SetCurrentDirectoryW(Root()));
    EXPECT_EQ(CPathString::CrearCarpeta(L"r1\\r2"), 1) << "below the current folder";
    EXPECT_EQ(CPathString::TestCarpeta(In(L"r1\\r2")), 1);
}

TEST_F(CPathStringTest, CreatesEveryMissingFolderBetweenSlashesToo) {
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"s/t\\u/v")), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"s\\t\\u\\v")), 1);
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"w//x/")), 1) << "doubled, and one at the end";
    EXPECT_EQ(CPathString::TestCarpeta(In(L"w\\x")), 1);
    EXPECT_EQ(CPathString(In(L"y/z/file.txt")).CrearCarpeta(), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"y\\z")), 1);
    folder.Write(L"file", "x");
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"file/below")), 0);
    EXPECT_EQ(GetLastError(), 80u);
}

TEST_F(CPathStringTest, FolderThatTheSystemRefusesLeavesItsError) {
    const CString name(L'n', 300); // no file system here takes such a name
    SetLastError(0);
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"above\\") + name), 0);
    EXPECT_NE(GetLastError(), 0u);
    EXPECT_NE(GetLastError(), 80u);
    EXPECT_NE(GetLastError(), 87u);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"above")), 1) << "what was made stays";
}

TEST_F(CPathStringTest, FolderOverAFileFailsWithError80AndNoNameWith87) {
    folder.Write(L"file", "x");
    SetLastError(0);
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"file")), 0);
    EXPECT_EQ(GetLastError(), 80u);
    EXPECT_EQ(CPathString::CrearCarpeta(In(L"file\\below")), 0);
    EXPECT_EQ(GetLastError(), 80u);
    EXPECT_EQ(CPathString::CrearCarpeta(L""), 0);
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(CPathString::CrearCarpeta(nullptr), 0);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(CPathStringTest, ReadOnlyFileIsDeletedByForceAlone) {
    folder.Write(L"file", "x");
    ASSERT_TRUE(SetFileAttributesW(In(L"file"), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(CPathString(In(L"file")).Esborrar(0), 0);
    EXPECT_EQ(CPathString::TestFitxer(In(L"file")), 1);
    EXPECT_EQ(CPathString(In(L"file")).Esborrar(1), 1);
    EXPECT_EQ(CPathString::TestFitxer(In(L"file")), 0);
    EXPECT_EQ(CPathString::Esborrar(L"", 1), 0);
    EXPECT_EQ(CPathString::Esborrar(nullptr, 1), 0);
    EXPECT_EQ(CPathString::Esborrar(In(L"none"), 1), 0);
}

TEST_F(CPathStringTest, FullFolderIsRemovedRecursivelyAlone) {
    CPathString::CrearCarpeta(In(L"top\\sub"));
    folder.Write(L"top/a", "x");
    folder.Write(L"top/sub/b", "x");
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"top"), 0), 0);
    EXPECT_EQ(CPathString::TestFitxer(In(L"top\\sub\\b")), 1);
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"top"), 1), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top")), 0);
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"top"), 1), 0) << "it is gone";
    EXPECT_EQ(CPathString::EsborrarCarpeta(L"", 1), 0);
    EXPECT_EQ(CPathString::EsborrarCarpeta(nullptr, 1), 0);
}

TEST_F(CPathStringTest, MemberRemovesTheFolderPart) {
    CPathString::CrearCarpeta(In(L"top"));
    EXPECT_EQ(CPathString(In(L"top\\file.txt")).EsborrarCarpeta(0), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top")), 0);
}

// Kept: removal never forces.
TEST_F(CPathStringTest, ReadOnlyFilesAndTheirFoldersStay) {
    CPathString::CrearCarpeta(In(L"top\\sub"));
    folder.Write(L"top/free", "x");
    folder.Write(L"top/sub/locked", "x");
    ASSERT_TRUE(SetFileAttributesW(In(L"top\\sub\\locked"), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"top"), 1), 0);
    EXPECT_EQ(CPathString::TestFitxer(In(L"top\\sub\\locked")), 1);
    EXPECT_EQ(CPathString::TestFitxer(In(L"top\\free")), 0);
    SetFileAttributesW(In(L"top\\sub\\locked"), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(CPathStringTest, RemovalGoesOnBehindWhatCannotBeRemoved) {
    for (const wchar_t* name : {L"top\\a", L"top\\b", L"top\\c"})
        CPathString::CrearCarpeta(In(name));
    folder.Write(L"top/b/locked", "x");
    folder.Write(L"top/c/free", "x");
    ASSERT_TRUE(SetFileAttributesW(In(L"top\\b\\locked"), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"top"), 1), 0);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top\\a")), 0);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top\\b")), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top\\c")), 0);
    SetFileAttributesW(In(L"top\\b\\locked"), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(CPathStringTest, CurrentFolderBelowIsLeftToo) {
    CPathString::CrearCarpeta(In(L"top\\sub"));
    ASSERT_TRUE(SetCurrentDirectoryW(In(L"top\\sub")));
    wchar_t current[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, current);
    const CString top = CString(current).Left(static_cast<int>(std::wcslen(current)) - 4);
    EXPECT_EQ(CPathString::EsborrarCarpeta(top, 1), 1);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top")), 0);
}

TEST_F(CPathStringTest, CurrentFolderIsLeftBeforeItGoes) {
    CPathString::CrearCarpeta(In(L"top"));
    ASSERT_TRUE(SetCurrentDirectoryW(In(L"top")));
    wchar_t current[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, current);
    EXPECT_EQ(CPathString::EsborrarCarpeta(current, 1), 1);
    GetCurrentDirectoryW(MAX_PATH, current);
    EXPECT_NE(CString(current).Right(4).CompareNoCase(L"\\top"), 0);
    EXPECT_EQ(CPathString::TestCarpeta(In(L"top")), 0);
}

TEST_F(CPathStringTest, TemporaryFileNames) {
    CPathString path;
    EXPECT_EQ(path.GetTempFileNameW(Root(), L"abcd", 0x2345), 0x2345u);
    EXPECT_EQ(Text(path), Text(In(L"abc2345.tmp")));
    EXPECT_EQ(path.TestFitxer(), 0) << "not created";
    EXPECT_NE(path.GetTempFileNameW(Root(), L"abcd", 0x12346), 0u);
    EXPECT_EQ(Text(path), Text(In(L"abc2346.tmp"))) << "the low 16 bits";
    EXPECT_NE(path.GetTempFileNameW(Root(), L"abc", 0), 0u);
    EXPECT_EQ(path.TestFitxer(), 1) << "created";
    const CPathString before = path;
    EXPECT_EQ(path.GetTempFileNameW(In(L"none"), L"abc", 0), 0u);
    EXPECT_EQ(Text(path), Text(before));
    const CPathString temporary(L"xyz", 7u);
    EXPECT_EQ(Text(temporary), Text(CPathString::GetTempPathW(1) + L"xyz7.tmp"));
}

// ---- Special folders

TEST_F(CPathStringTest, DataFolderIsRootThenBaseThenSubFolder) {
    const CString root = CPathString::GetRutaShell(26, 1);
    ASSERT_FALSE(root.IsEmpty());
    EXPECT_EQ(root[root.GetLength() - 1], L'\\');
    CString own;
    own.Format(L"Mirvanet\\%s\\", AfxGetAppName());
    EXPECT_EQ(Text(CPathString::GetRutaDades(1)), Text(root + own));
    EXPECT_EQ(Text(CPathString::GetRutaDades(1, nullptr, nullptr, 0)),
              Text(root + own.Left(own.GetLength() - 1)));
    EXPECT_EQ(Text(CPathString::GetRutaDades(1, L"sub")), Text(root + own + L"sub\\"));
    CPathString::SetBaseRutaDades(L"Global\\Base");
    EXPECT_EQ(Text(CPathString::GetBaseRutaDades()), L"Global\\Base");
    EXPECT_EQ(Text(CPathString::GetRutaDades(1)), Text(root + L"Global\\Base\\"));
    EXPECT_EQ(Text(CPathString::GetRutaDades(1, L"sub", L"Mine", 0)), Text(root + L"Mine\\sub"));
    EXPECT_EQ(Text(CPathString::GetFitxerDades(L"f.txt", 1, nullptr, L"Mine")), Text(root + L"Mine\\f.txt"));
}

TEST_F(CPathStringTest, SharedDataFolderIsBelowTheSharedDocuments) {
    const CString shared = CPathString::GetRutaShell(46, 1);
    ASSERT_FALSE(shared.IsEmpty());
    EXPECT_EQ(Text(CPathString::GetRutaDades(0, nullptr, L"Base")), Text(shared + L"Base\\"));
    EXPECT_EQ(Text(CPathString::GetRutaDades(0, L"sub\\", L"Base\\", 0)), Text(shared + L"Base\\sub"));
    EXPECT_EQ(Text(CPathString::GetFitxerDades(L"\"f.txt\"", 0, L"sub", L"Base")),
              Text(shared + L"Base\\sub\\f.txt"));
    EXPECT_EQ(Text(CPathString::GetFitxerDades(nullptr, 0, nullptr, L"Base")), Text(shared + L"Base\\"));
}

TEST_F(CPathStringTest, DataFolderIsNotCreated) {
    const CString name = CPathString(folder.Root().filename().wstring().c_str());
    const CString path = CPathString::GetRutaDades(1, nullptr, name);
    EXPECT_EQ(CPathString::TestCarpeta(path), 0);
    EXPECT_EQ(CPathString::TestFitxer(path), 0);
}

TEST_F(CPathStringTest, UnknownShellFolderIsEmptyWhateverTheFlag) {
    EXPECT_EQ(Text(CPathString::GetRutaShell(0x7FFF, 1)), L"");
    EXPECT_EQ(Text(CPathString::GetRutaShell(0x7FFF, 0)), L"");
    EXPECT_EQ(Text(CPathString::GetNomRutaShell(0x7FFF)), L"");
}

TEST_F(CPathStringTest, NameOfAShellFolderIsItsLastComponent) {
    const CString path = CPathString::GetRutaShell(26, 0);
    EXPECT_EQ(Text(CPathString::GetNomRutaShell(26)), Text(path.Mid(path.ReverseFind(L'\\') + 1)));
}

TEST_F(CPathStringTest, SystemFolders) {
    EXPECT_EQ(CPathString::TestCarpeta(CPathString::GetSystemDir(0)), 1);
    EXPECT_EQ(CPathString::TestCarpeta(CPathString::GetWindowsDir(1)), 1);
    EXPECT_EQ(CPathString::TestCarpeta(CPathString::GetTempPathW(1)), 1);
    EXPECT_EQ(Text(CPathString::GetTempPathW(0)) + L"\\", Text(CPathString::GetTempPathW(1)));
    EXPECT_EQ(Text(CPathString::GetColorProfilesDir(0)),
              Text(CPathString::GetSystemDir(1) + L"Spool\\Drivers\\Color"));
}

TEST_F(CPathStringTest, TemporaryFolderMayHaveATildeInItsName) {
    ASSERT_EQ(CPathString::CrearCarpeta(In(L"a~b")), 1);
    wchar_t before[MAX_PATH] = L"";
    GetEnvironmentVariableW(L"TMP", before, MAX_PATH);
    wchar_t first[MAX_PATH] = L""; // counts before the other, natively
    GetEnvironmentVariableW(L"TMPDIR", first, MAX_PATH);
    SetEnvironmentVariableW(L"TMPDIR", nullptr);
    SetEnvironmentVariableW(L"TMP", folder.Path(L"a~b").c_str());
    const CString found = CPathString::GetTempPathW(0);
    SetEnvironmentVariableW(L"TMP", *before ? before : nullptr);
    SetEnvironmentVariableW(L"TMPDIR", *first ? first : nullptr);
    EXPECT_EQ(Text(found), Text(In(L"a~b")));
}

TEST_F(CPathStringTest, ModulesKnowTheirFile) {
    const CPathString program(static_cast<HINSTANCE>(nullptr));
    EXPECT_EQ(program.TestFitxer(), 1);
    EXPECT_EQ(Text(program.GetNomFitxer()), L"test_files");
}

TEST_F(CPathStringTest, ModuleThatIsNoneHasNoFile) {
    static int anything;
    EXPECT_EQ(Text(CPathString(reinterpret_cast<HINSTANCE>(&anything))), L"");
}

TEST_F(CPathStringTest, LongFormOfAPathThatIsMissingIsThePath) {
    EXPECT_EQ(Text(CPathString::getLongPathName(In(L"none\\at\\all"))), Text(In(L"none\\at\\all")));
    EXPECT_EQ(Text(CPathString::getLongPathName(nullptr)), L"");
}

} // namespace
