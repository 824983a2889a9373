// FindFirstFileW, FindNextFileW, FindClose.
#include "temp_folder.h"
#include "under_wine.h"

#include <folder_entries.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace {

class Find : public testing::Test {
protected:
    void SetUp() override {
        for (const wchar_t* name :
             {L"a", L"a.txt", L"abc", L"abc.txt", L"B.TXT", L"c.d.txt", L"long name.text"})
            m_folder.Write(name, "12345");
        CreateDirectoryW(m_folder.Path(L"sub").c_str(), nullptr);
    }

    // The names that a pattern below the folder finds, in their order; the error that ended the search.
    std::vector<std::wstring> List(const wchar_t* pattern, bool namesOnly = false) {
        std::vector<std::wstring> names;
        SetLastError(99);
        const std::wstring path = m_folder.Path(pattern);
        const HANDLE search =
            namesOnly ? MvFindFirstEntry(path.c_str(), &m_data) : FindFirstFileW(path.c_str(), &m_data);
        if (search == INVALID_HANDLE_VALUE) {
            m_error = GetLastError();
            return names;
        }
        do {
            names.emplace_back(m_data.cFileName);
        } while (FindNextFileW(search, &m_data));
        m_error = GetLastError();
        EXPECT_FALSE(FindNextFileW(search, &m_data));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
        EXPECT_TRUE(FindClose(search));
        return names;
    }

    std::set<std::wstring> Found(const wchar_t* pattern) {
        const std::vector<std::wstring> names = List(pattern);
        std::set<std::wstring> found(names.begin(), names.end());
        EXPECT_EQ(found.size(), names.size());
        return found;
    }

    DWORD ErrorOf(const wchar_t* pattern) {
        EXPECT_TRUE(List(pattern).empty()) << pattern;
        return m_error;
    }

    // The record of one name.
    WIN32_FIND_DATAW Entry(const wchar_t* name) {
        const HANDLE search = FindFirstFileW(m_folder.Path(name).c_str(), &m_data);
        EXPECT_NE(search, INVALID_HANDLE_VALUE);
        EXPECT_TRUE(FindClose(search));
        return m_data;
    }

    using Names = std::set<std::wstring>;

    TempFolder m_folder;
    WIN32_FIND_DATAW m_data = {};
    DWORD m_error = 0;
};

} // namespace

TEST_F(Find, ExampleUsage) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW(m_folder.Path(L"*.text").c_str(), &entry);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(entry.cFileName, L"long name.text");
    EXPECT_EQ(entry.nFileSizeLow, 5u);
    EXPECT_FALSE(FindNextFileW(search, &entry));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_TRUE(FindClose(search));
}

// ---- Patterns

TEST_F(Find, EverythingBeginsWithTheFolderItselfAndTheOneAbove) {
    for (const wchar_t* pattern : {L"*", L"*.*"}) {
        const std::vector<std::wstring> names = List(pattern);
        ASSERT_EQ(names.size(), 10u);
        EXPECT_EQ(names[0], L".");
        EXPECT_EQ(names[1], L"..");
        EXPECT_EQ(m_error, DWORD{ERROR_NO_MORE_FILES});
        EXPECT_EQ(List(pattern), names) << "the order is always the same";
    }
}

TEST_F(Find, EmptyFolderHasTheTwo) {
    EXPECT_EQ(List(L"sub\\*"), (std::vector<std::wstring>{L".", L".."}));
    EXPECT_EQ(List(L"sub/*.*"), (std::vector<std::wstring>{L".", L".."}));
}

TEST_F(Find, AsteriskMeetsAnyCharacters) {
    EXPECT_EQ(Found(L"a*"), (Names{L"a", L"a.txt", L"abc", L"abc.txt"}));
    EXPECT_EQ(Found(L"*.txt"), (Names{L"a.txt", L"abc.txt", L"B.TXT", L"c.d.txt"}));
    EXPECT_EQ(Found(L"*.*.txt"), (Names{L"c.d.txt"}));
    EXPECT_EQ(Found(L"*d*t"), (Names{L"c.d.txt"}));
    EXPECT_EQ(Found(L"*a*e*t"), (Names{L"long name.text"}));
}

TEST_F(Find, StopBeforeAWildcardMeetsTheEndToo) {
    EXPECT_EQ(Found(L"a*.*"), (Names{L"a", L"a.txt", L"abc", L"abc.txt"}));
    EXPECT_EQ(Found(L"s*.*"), (Names{L"sub"}));
}

TEST_F(Find, QuestionMarkMeetsOneCharacter) {
    EXPECT_EQ(Found(L"?.txt"), (Names{L"a.txt", L"B.TXT"}));
    EXPECT_EQ(Found(L"*.t?xt"), (Names{L"long name.text"}));
    EXPECT_EQ(Found(L"s?b"), (Names{L"sub"}));
    EXPECT_EQ(Found(L"a??.?xt"), (UnderWine() ? Names{L"abc.txt"} : Names{L"a.txt", L"abc.txt"}));
}

TEST_F(Find, QuestionMarkAtAnEndMeetsNothingToo) {
    m_folder.Write(L"ab", "");
    m_folder.Write(L"ab.txt", "");
    const auto met = [](const wchar_t* shorter, const wchar_t* exact) {
        return UnderWine() ? Names{exact} : Names{shorter, exact}; // Wine always wants a character
    };
    EXPECT_EQ(Found(L"a?"), met(L"a", L"ab"));
    EXPECT_EQ(Found(L"a?.txt"), met(L"a.txt", L"ab.txt"));
    EXPECT_EQ(Found(L"ab?"), met(L"ab", L"abc"));
}

TEST_F(Find, StopAtTheEndMeansNoExtension) {
    const auto met = [](Names without, const Names& with) {
        if (UnderWine()) // which disregards the stop
            without.insert(with.begin(), with.end());
        return without;
    };
    EXPECT_EQ(Found(L"a*."), met({L"a", L"abc"}, {L"a.txt", L"abc.txt"}));
    EXPECT_EQ(Found(L"s*. "), (Names{L"sub"}));
    EXPECT_EQ(Found(L"l*."), met({}, {L"long name.text"}));
}

TEST_F(Find, CaseDoesNotCount) {
    EXPECT_EQ(Found(L"b.txt"), (Names{L"B.TXT"}));
    EXPECT_EQ(Found(L"ABC"), (Names{L"abc"}));
    EXPECT_EQ(Found(L"C.D*"), (Names{L"c.d.txt"}));
    m_folder.Write(L"\u00E9\u0416", "");
    EXPECT_EQ(Found(L"\u00C9\u0436*"), (Names{L"\u00E9\u0416"}));
}

TEST_F(Find, NameWithoutWildcardsFindsItself) {
    EXPECT_EQ(Found(L"abc"), (Names{L"abc"}));
    EXPECT_EQ(Found(L"sub"), (Names{L"sub"}));
    EXPECT_EQ(m_data.dwFileAttributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
}

TEST_F(Find, DotsFindTheFolderUnderItsName) {
    EXPECT_EQ(Found(L"sub\\."), (Names{L"sub"}));
    m_folder.Write(L"sub\\x", "");
    CreateDirectoryW(m_folder.Path(L"sub\\y").c_str(), nullptr);
    EXPECT_EQ(Found(L"sub\\y\\.."), (Names{L"sub"}));
}

TEST_F(Find, BareNameLiesInTheCurrentFolder) {
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    SetCurrentDirectoryW(m_folder.Path(L"sub").c_str());
    m_folder.Write(L"sub\\here", "");
    const HANDLE search = FindFirstFileW(L"he*", &m_data);
    SetCurrentDirectoryW(before);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(m_data.cFileName, L"here");
    EXPECT_TRUE(FindClose(search));
}

TEST_F(Find, NamesHoldAnyCharacter) {
    m_folder.Write(L"sub\\\u4E2D\u6587 \u00A0\u0416.e\u0301", "");
    EXPECT_EQ(Found(L"sub\\*.e*"), (Names{L"\u4E2D\u6587 \u00A0\u0416.e\u0301"}));
}

TEST_F(Find, ManyEntriesComeOnceEach) {
    Names expected = {L".", L".."};
    for (int i = 0; i < 1500; ++i) {
        const std::wstring name = L"a name of some length " + std::to_wstring(i);
        m_folder.Write(L"sub\\" + name, "");
        expected.insert(name);
    }
    EXPECT_EQ(Found(L"sub\\*"), expected);
}

TEST_F(Find, FolderMayBeEmptiedWhileItIsListed) {
    for (int i = 0; i < 800; ++i)
        m_folder.Write(L"sub\\" + std::to_wstring(i), "");
    const HANDLE search = FindFirstFileW(m_folder.Path(L"sub\\*").c_str(), &m_data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    int removed = 0;
    do {
        if (!(m_data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            removed += DeleteFileW(m_folder.Path(L"sub\\").append(m_data.cFileName).c_str());
    } while (FindNextFileW(search, &m_data));
    EXPECT_TRUE(FindClose(search));
    EXPECT_EQ(removed, 800);
    EXPECT_TRUE(RemoveDirectoryW(m_folder.Path(L"sub").c_str()));
}

// ---- What is told

TEST_F(Find, RecordAgreesWithTheAttributesOfTheFile) {
    for (const wchar_t* name : {L"abc.txt", L"sub"}) {
        WIN32_FILE_ATTRIBUTE_DATA expected;
        ASSERT_TRUE(GetFileAttributesExW(m_folder.Path(name).c_str(), GetFileExInfoStandard, &expected));
        const WIN32_FIND_DATAW entry = Entry(name);
        EXPECT_EQ(entry.dwFileAttributes, expected.dwFileAttributes);
        EXPECT_EQ(CompareFileTime(&entry.ftCreationTime, &expected.ftCreationTime), 0);
        EXPECT_EQ(CompareFileTime(&entry.ftLastAccessTime, &expected.ftLastAccessTime), 0);
        EXPECT_EQ(CompareFileTime(&entry.ftLastWriteTime, &expected.ftLastWriteTime), 0);
        EXPECT_EQ(entry.nFileSizeLow, expected.nFileSizeLow);
        EXPECT_EQ(entry.nFileSizeHigh, 0u);
    }
}

TEST_F(Find, ReadOnlyFileIsMarked) {
    const std::wstring path = m_folder.Path(L"abc");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(Entry(L"abc").dwFileAttributes & FILE_ATTRIBUTE_READONLY);
    List(L"ab*");
    EXPECT_TRUE(Entry(L"abc").dwFileAttributes & FILE_ATTRIBUTE_READONLY);
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_FALSE(Entry(L"abc").dwFileAttributes & FILE_ATTRIBUTE_READONLY);
}

TEST_F(Find, SizeBeyondFourGigabytes) {
    const HANDLE file =
        CreateFileW(m_folder.Path(L"huge").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    LARGE_INTEGER size;
    size.QuadPart = 0x123456789LL;
    ASSERT_TRUE(SetFilePointerEx(file, size, nullptr, FILE_BEGIN));
    ASSERT_TRUE(SetEndOfFile(file));
    CloseHandle(file);
    const WIN32_FIND_DATAW entry = Entry(L"huge");
    EXPECT_EQ(entry.nFileSizeHigh, 1u);
    EXPECT_EQ(entry.nFileSizeLow, 0x23456789u);
    DeleteFileW(m_folder.Path(L"huge").c_str());
}

TEST_F(Find, SearchForNamesFindsTheSame) {
    EXPECT_EQ(List(L"*", true), List(L"*"));
    EXPECT_EQ(List(L"su*", true), std::vector<std::wstring>{L"sub"});
    EXPECT_EQ(m_data.dwFileAttributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(List(L"long*", true), std::vector<std::wstring>{L"long name.text"});
    EXPECT_FALSE(m_data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_TRUE(List(L"no*", true).empty());
    EXPECT_EQ(m_error, DWORD{ERROR_FILE_NOT_FOUND});
}

// ---- Error results

TEST_F(Find, NothingThatMeetsGives2) {
    EXPECT_EQ(ErrorOf(L"*.no"), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(ErrorOf(L"missing"), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(ErrorOf(L"sub\\*.txt"), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(Find, SeparatorAtTheEndGives2) {
    EXPECT_EQ(ErrorOf(L"sub\\"), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(Find, MissingFolderGives3) {
    EXPECT_EQ(ErrorOf(L"missing\\*"), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(ErrorOf(L"missing\\sub\\a"), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Find, NoPathGives3) {
    SetLastError(99);
    EXPECT_EQ(FindFirstFileW(L"", &m_data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    SetLastError(99);
    EXPECT_EQ(FindFirstFileW(nullptr, &m_data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Find, WildcardsBeforeTheLastPartGive123) {
    EXPECT_EQ(ErrorOf(L"s?b\\*"), DWORD{ERROR_INVALID_NAME});
    EXPECT_EQ(ErrorOf(L"*\\a"), DWORD{ERROR_INVALID_NAME});
}

TEST_F(Find, FileInPlaceOfTheFolderGives267) {
    EXPECT_EQ(ErrorOf(L"abc\\*"), UnderWine() ? DWORD{ERROR_INVALID_NAME} : DWORD{ERROR_DIRECTORY});
}

TEST_F(Find, BadHandlesAreRefused) {
    const HANDLE search = FindFirstFileW(m_folder.Path(L"*").c_str(), &m_data);
    EXPECT_TRUE(FindClose(search));
    for (const HANDLE handle : {INVALID_HANDLE_VALUE, search}) {
        if (UnderWine() && handle == search) // which does not know that one from a live one
            continue;
        SetLastError(99);
        EXPECT_FALSE(FindClose(handle));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        SetLastError(99);
        EXPECT_FALSE(FindNextFileW(handle, &m_data));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    }
}
