// Paths of more characters than MAX_PATH: every operation works or answers its failure, and nothing is lost.
#include <COSVersionInfo.h>
#include <CPathString.h>
#include <TIteradorFitxers.h>

#include "executable_file.h"
#include "temp_folder.h"

#include "afxcoll.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

class LongPathsTest : public testing::Test {
protected:
    ~LongPathsTest() override { CPathString::EsborrarCarpeta(Root(), 1); }

    CString Root() const {
        CString root(m_folder.Path(L"top").c_str());
        root.Replace(L'/', L'\\');
        return root;
    }
    // A folder of this many characters that lies below the root, and is not made.
    CString Folder(int length) const {
        CString path = Root();
        while (path.GetLength() < length) {
            // No part has one character, and none is longer than a file system takes.
            const int left = length - path.GetLength() - 1;
            path +=
                L"\\" + CString(static_cast<wchar_t>(L'a' + path.GetLength() % 20), left > 102 ? 100 : left);
        }
        return path;
    }
    static void Write(const CString& path, const std::string& bytes) {
        const CString whole = path[1] == L':' ? L"\\\\?\\" + path : path;
        const HANDLE file = CreateFileW(whole, GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
        EXPECT_TRUE(CloseHandle(file));
    }

    // What a walk calls: notes the name, and says to go on a hundred times.
    static int Note(const wchar_t*, const wchar_t* name, int, long user) {
        auto& names = *reinterpret_cast<std::vector<std::wstring>*>(user);
        names.emplace_back(name);
        return names.size() < 100;
    }

    TempFolder m_folder;
};

TEST_F(LongPathsTest, FoldersAndFilesAreMadeAskedAndDeleted) {
    const CString folder = Folder(1000);
    ASSERT_EQ(folder.GetLength(), 1000);
    EXPECT_EQ(CPathString::TestCarpeta(folder), 0);
    ASSERT_EQ(CPathString::CrearCarpeta(folder), 1);
    EXPECT_EQ(CPathString::CrearCarpeta(folder + L"\\"), 1) << "it is there";
    EXPECT_EQ(CPathString::TestCarpeta(folder), 1);
    EXPECT_EQ(CPathString::TestCarpeta(folder + L"\\"), 1);
    EXPECT_EQ(CPathString::TestFitxer(folder), 0);

    const CPathString file(L"file.txt", folder);
    EXPECT_EQ(file.TestFitxer(), 0);
    Write(file, "12345");
    EXPECT_EQ(file.TestFitxer(), 1);
    EXPECT_EQ(file.TestCarpeta(), 0);
    EXPECT_EQ(file.GetMida(), 5u);
    CTime time;
    EXPECT_EQ(file.GetData(time, 2), 1);
    EXPECT_EQ(CPathString::getLongPathName(file), file);
    SetLastError(0);
    EXPECT_EQ(CPathString::CrearCarpeta(file), 0);
    EXPECT_EQ(GetLastError(), 80u);
    EXPECT_EQ(CPathString::EsborrarCarpeta(folder, 0), 0) << "it is not empty";
    EXPECT_EQ(file.Esborrar(), 1);
    EXPECT_EQ(file.TestFitxer(), 0);
    EXPECT_EQ(CPathString::EsborrarCarpeta(folder, 0), 1);
    EXPECT_EQ(CPathString::TestCarpeta(folder), 0);
}

TEST_F(LongPathsTest, NoLengthIsALimit) {
    for (int length = 236; length < 268; length += 3) {
        const CString folder = Folder(length);
        EXPECT_EQ(CPathString::CrearCarpeta(folder), 1) << length;
        EXPECT_EQ(CPathString::TestCarpeta(folder), 1) << length;
        const CPathString file(L"f.txt", folder);
        Write(file, "1");
        EXPECT_EQ(file.GetMida(), 1u) << length;
        CStringList list;
        EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*.txt", folder, 0), 0) << length;
        ASSERT_EQ(list.GetCount(), 1) << length;
        EXPECT_EQ(list.GetHead(), file);
        EXPECT_EQ(CPathString::EsborrarCarpeta(folder, 1), 1) << length;
        EXPECT_EQ(CPathString::TestCarpeta(folder), 0) << length;
    }
}

TEST_F(LongPathsTest, RelativePathsMayBeLongToo) {
    const CString folder = Folder(700);
    ASSERT_EQ(CPathString::CrearCarpeta(Root()), 1);
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    ASSERT_TRUE(SetCurrentDirectoryW(Root()));
    const CString relative = folder.Mid(Root().GetLength() + 1);
    EXPECT_EQ(CPathString::CrearCarpeta(relative), 1);
    EXPECT_EQ(CPathString::TestCarpeta(relative), 1);
    CStringList list;
    Write(folder + L"\\a.txt", "1");
    EXPECT_EQ(TIteradorFitxers().GetLlistaFitxers(list, L"*.txt", relative, 0), 0);
    SetCurrentDirectoryW(before);
    EXPECT_EQ(CPathString::TestCarpeta(folder), 1);
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetHead(), relative + L"\\a.txt");
}

TEST_F(LongPathsTest, ReadOnlyFileIsDeletedByForceAlone) {
    const CString folder = Folder(400);
    ASSERT_EQ(CPathString::CrearCarpeta(folder), 1);
    const CString file = folder + L"\\locked";
    Write(file, "x");
    const CString whole = file[1] == L':' ? L"\\\\?\\" + file : file;
    ASSERT_TRUE(SetFileAttributesW(whole, FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(CPathString::Esborrar(file, 0), 0);
    EXPECT_EQ(CPathString::EsborrarCarpeta(Root(), 1), 0);
    EXPECT_EQ(CPathString::TestFitxer(file), 1);
    EXPECT_EQ(CPathString::Esborrar(file, 1), 1);
    EXPECT_EQ(CPathString::TestFitxer(file), 0);
}

TEST_F(LongPathsTest, WalksReachEveryFolderAndFile) {
    const CString folder = Folder(520);
    ASSERT_EQ(CPathString::CrearCarpeta(folder), 1);
    Write(folder + L"\\deep.txt", "x");
    std::vector<std::wstring> folders;
    EXPECT_EQ(TIteradorFitxers().IteraCarpetes(&Note, reinterpret_cast<long>(&folders), Root(), 1), 0);
    CString path = Root();
    for (const std::wstring& name : folders)
        path += L"\\" + CString(name.c_str());
    EXPECT_EQ(path, folder);

    const std::size_t times = std::size_t{1} << (folders.size() - 1);
    std::vector<std::wstring> files;
    TIteradorFitxers().IteraFitxers(&Note, reinterpret_cast<long>(&files), L"*", Root(), 1);
    EXPECT_EQ(files, std::vector<std::wstring>(times, L"deep.txt"));
    std::vector<std::wstring> none;
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Note, reinterpret_cast<long>(&none), L"*.none", folder, 0),
              -5);
    EXPECT_TRUE(none.empty());
}

TEST_F(LongPathsTest, TreeIsRemovedWhole) {
    const CString folder = Folder(1500);
    ASSERT_EQ(CPathString::CrearCarpeta(folder), 1);
    ASSERT_EQ(CPathString::CrearCarpeta(Folder(1400) + L"\\beside"), 1);
    Write(folder + L"\\one", "x");
    Write(Folder(1400) + L"\\beside\\two", "x");
    EXPECT_EQ(CPathString::EsborrarCarpeta(Root() + L"\\", 1), 1);
    EXPECT_EQ(CPathString::TestCarpeta(Root()), 0);
}

TEST_F(LongPathsTest, VersionsOfExecutablesAreRead) {
    const CString folder = Folder(300);
    ASSERT_EQ(CPathString::CrearCarpeta(folder), 1);
    ExecutableFile executable;
    executable.strings = {{u"CompanyName", u"Mirvanet"}};
    Write(folder + L"\\some.dll", executable.Bytes());
    CString text;
    EXPECT_EQ(CPathString::GetFileVersion(folder + L"\\some.dll", text), 1);
    EXPECT_EQ(text, L"1.2.3");
    EXPECT_EQ(CPathString::GetStringInformacio(folder + L"\\some.dll", L"CompanyName", text), 1);
    EXPECT_EQ(text, L"Mirvanet");
}

// ---- Limits

TEST_F(LongPathsTest, PartsOfAPathBehindALongFolderAreEmpty) {
    const CPathString file(L"file.txt", Folder(400));
    EXPECT_EQ(file.GetRuta(), L"\\") << "the trailing rule on an empty text";
    EXPECT_EQ(file.GetFitxer(), L"");
    EXPECT_EQ(file.CrearCarpeta(), 0);
    EXPECT_EQ(file.EsborrarCarpeta(1), 0);
    EXPECT_EQ(file.GetLength(), 409) << "the text itself is whole";
}

TEST_F(LongPathsTest, FullPathsEndBefore260Characters) {
    EXPECT_EQ(CPathString::FullPath(Folder(259)), Folder(259));
    EXPECT_EQ(CPathString::FullPath(Folder(260)), L"");
    EXPECT_EQ(CPathString::FullPath(Root() + L"\\x", Folder(400) + L"\\f.txt"), Root() + L"\\x");
    EXPECT_EQ(CPathString::FullPath(L"x", Folder(400) + L"\\f.txt"), L"") << "not below another folder";
}

TEST_F(LongPathsTest, NoTemporaryFileHasALongName) {
    const CString folder = Folder(300);
    ASSERT_EQ(CPathString::CrearCarpeta(folder), 1);
    CPathString path(L"before");
    SetLastError(0);
    EXPECT_EQ(path.GetTempFileNameW(folder, L"abc", 0), 0u);
    EXPECT_EQ(GetLastError(), 111u);
    EXPECT_EQ(path, L"before");
    EXPECT_EQ(path.GetTempFileNameW(Folder(247), L"abc", 7), 0u);
    EXPECT_EQ(path, L"before");
    std::vector<std::wstring> files;
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Note, reinterpret_cast<long>(&files), L"*", folder, 0), -5);
}

TEST_F(LongPathsTest, PathThatNoSystemTakesHasNothing) {
    const CString folder = Folder(40000);
    EXPECT_EQ(CPathString::TestFitxer(folder), 0);
    EXPECT_EQ(CPathString::TestCarpeta(folder), 0);
    EXPECT_EQ(CPathString::GetMida(folder), 0u);
    CTime time;
    EXPECT_EQ(CPathString::GetData(folder, time, 1), 0);
    CString text;
    EXPECT_EQ(CPathString::GetFileVersion(folder, text), 0);
    EXPECT_EQ(CPathString::Esborrar(folder, 1), 0);
    EXPECT_EQ(CPathString::EsborrarCarpeta(folder, 0), 0);
    EXPECT_EQ(CPathString::EsborrarCarpeta(folder, 1), 0);
    std::vector<std::wstring> names;
    EXPECT_EQ(TIteradorFitxers().IteraCarpetes(&Note, reinterpret_cast<long>(&names), folder, 1), -5);
    EXPECT_EQ(TIteradorFitxers().IteraFitxers(&Note, reinterpret_cast<long>(&names), L"*", folder, 1), -5);
    EXPECT_TRUE(names.empty());
    SetLastError(0);
    EXPECT_EQ(CPathString::CrearCarpeta(folder), 0);
    EXPECT_NE(GetLastError(), 0u);
    EXPECT_EQ(CPathString::TestCarpeta(folder), 0);
}

} // namespace
