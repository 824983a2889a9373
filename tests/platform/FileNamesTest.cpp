// Attributes, removal, renaming, copying, folders, temporary names, environment.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <string>

namespace {

class FileNames : public testing::Test {
protected:
    void TearDown() override {
        // So that the folder can be removed.
        for (const wchar_t* name : {L"a", L"b", L"c", L"folder"})
            SetFileAttributesW(Path(name).c_str(), FILE_ATTRIBUTE_NORMAL);
    }

    std::wstring Path(const wchar_t* name) { return m_folder.Path(name); }

    std::wstring Folder(const wchar_t* name = L"folder") {
        EXPECT_TRUE(CreateDirectoryW(Path(name).c_str(), nullptr));
        return Path(name);
    }

    static DWORD Attributes(const std::wstring& path) {
        SetLastError(99);
        return GetFileAttributesW(path.c_str());
    }

    // The last error of a call that must fail.
    static int Failed(BOOL result) {
        const int error = static_cast<int>(GetLastError());
        EXPECT_FALSE(result);
        SetLastError(99);
        return error;
    }

    int Delete(const std::wstring& path) { return Failed(DeleteFileW(path.c_str())); }
    int Move(const std::wstring& from, const std::wstring& to, DWORD flags = 0) {
        return Failed(MoveFileExW(from.c_str(), to.c_str(), flags));
    }
    int Copy(const std::wstring& from, const std::wstring& to, BOOL onlyNew = FALSE) {
        return Failed(CopyFileW(from.c_str(), to.c_str(), onlyNew));
    }

    TempFolder m_folder;
};

} // namespace

TEST_F(FileNames, ExampleUsage) {
    const std::wstring from = m_folder.Write(L"a", "text");
    EXPECT_TRUE(MoveFileExW(from.c_str(), Path(L"b").c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(GetFileAttributesW(from.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_TRUE(CopyFileW(Path(L"b").c_str(), Path(L"c").c_str(), TRUE));
    EXPECT_EQ(m_folder.Read(L"c"), "text");
    EXPECT_TRUE(DeleteFileW(Path(L"b").c_str()));
}

// Attributes

TEST_F(FileNames, AttributesOfFilesAndFolders) {
    EXPECT_EQ(Attributes(m_folder.Write(L"a", "")), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_EQ(Attributes(Folder()), DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(Attributes(Path(L"folder") + L"\\"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
}

TEST_F(FileNames, ReadOnlyIsSetAndCleared) {
    const std::wstring path = m_folder.Write(L"a", "");
    EXPECT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(Attributes(path) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_FALSE(Attributes(path) & FILE_ATTRIBUTE_READONLY);
}

TEST_F(FileNames, AttributesWithTimesAndSize) {
    const std::wstring path = m_folder.Write(L"a", "12345");
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_EQ(data.nFileSizeLow, 5u);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_NE(data.ftLastWriteTime.dwHighDateTime, 0u);
    EXPECT_NE(data.ftCreationTime.dwHighDateTime, 0u);
}

TEST_F(FileNames, AttributesOfWhatIsMissing) {
    m_folder.Write(L"a", "");
    const auto error = [](const std::wstring& path) {
        EXPECT_EQ(Attributes(path), INVALID_FILE_ATTRIBUTES);
        return GetLastError();
    };
    EXPECT_EQ(error(Path(L"none")), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(error(Path(L"none\\none")), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(error(Path(L"a\\none")), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(error(L""), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(Failed(SetFileAttributesW(Path(L"none").c_str(), FILE_ATTRIBUTE_NORMAL)), ERROR_FILE_NOT_FOUND);
    WIN32_FILE_ATTRIBUTE_DATA data;
    EXPECT_EQ(Failed(GetFileAttributesExW(Path(L"none").c_str(), GetFileExInfoStandard, &data)),
              ERROR_FILE_NOT_FOUND);
}

// Removal

TEST_F(FileNames, DeleteFailures) {
    m_folder.Write(L"a", "");
    EXPECT_EQ(Delete(Path(L"none")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Delete(Path(L"none\\none")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Delete(Path(L"a\\none")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Delete(L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Delete(Folder()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Delete(Path(L"a") + L"\\"), ERROR_INVALID_NAME);
}

TEST_F(FileNames, ReadOnlyFileIsNotDeleted) {
    const std::wstring path = m_folder.Write(L"a", "");
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(Delete(path), ERROR_ACCESS_DENIED);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

// Renaming

TEST_F(FileNames, MoveKeepsAnExistingTarget) {
    const std::wstring from = m_folder.Write(L"a", "new");
    const std::wstring to = m_folder.Write(L"b", "old");
    EXPECT_EQ(Move(from, to), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(m_folder.Read(L"b"), "old");
    EXPECT_TRUE(MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(m_folder.Read(L"b"), "new");
    EXPECT_FALSE(m_folder.Exists(L"a"));
}

TEST_F(FileNames, MoveOntoItselfSucceeds) {
    const std::wstring path = m_folder.Write(L"a", "text");
    EXPECT_TRUE(MoveFileW(path.c_str(), path.c_str()));
    EXPECT_EQ(m_folder.Read(L"a"), "text");
}

TEST_F(FileNames, FoldersAreMoved) {
    const std::wstring from = Folder(L"x");
    m_folder.Write(L"x/file", "text");
    EXPECT_TRUE(MoveFileW(from.c_str(), Path(L"y").c_str()));
    EXPECT_EQ(m_folder.Read(L"y/file"), "text");
}

TEST_F(FileNames, MoveFailures) {
    const std::wstring file = m_folder.Write(L"a", "");
    EXPECT_EQ(Move(Path(L"none"), Path(L"b")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Move(file, Path(L"none\\b")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Move(L"", Path(L"b")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Move(file, L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Move(file, Folder()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(Move(file, Path(L"folder"), MOVEFILE_REPLACE_EXISTING), ERROR_ACCESS_DENIED);
}

TEST_F(FileNames, TargetInUseIsNotReplaced) {
    const std::wstring from = m_folder.Write(L"a", "new");
    const std::wstring to = m_folder.Write(L"b", "old");
    const HANDLE user =
        CreateFileW(to.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(Move(from, to, MOVEFILE_REPLACE_EXISTING), ERROR_ACCESS_DENIED);
    CloseHandle(user);
    EXPECT_TRUE(MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

// Copying

TEST_F(FileNames, CopyKeepsBytesTimeAndReadOnly) {
    const std::wstring from = m_folder.Write(L"a", std::string(200000, 'x') + "end");
    SetFileAttributesW(from.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(CopyFileW(from.c_str(), Path(L"b").c_str(), FALSE));
    EXPECT_EQ(m_folder.Read(L"b"), m_folder.Read(L"a"));
    WIN32_FILE_ATTRIBUTE_DATA first;
    WIN32_FILE_ATTRIBUTE_DATA second;
    GetFileAttributesExW(from.c_str(), GetFileExInfoStandard, &first);
    GetFileAttributesExW(Path(L"b").c_str(), GetFileExInfoStandard, &second);
    EXPECT_TRUE(second.dwFileAttributes & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(CompareFileTime(&first.ftLastWriteTime, &second.ftLastWriteTime), 0);
}

TEST_F(FileNames, CopyReplacesUnlessForbidden) {
    const std::wstring from = m_folder.Write(L"a", "new");
    const std::wstring to = m_folder.Write(L"b", "old and longer");
    EXPECT_EQ(Copy(from, to, TRUE), ERROR_FILE_EXISTS);
    EXPECT_EQ(m_folder.Read(L"b"), "old and longer");
    EXPECT_TRUE(CopyFileW(from.c_str(), to.c_str(), FALSE));
    EXPECT_EQ(m_folder.Read(L"b"), "new");
}

TEST_F(FileNames, CopyFailures) {
    const std::wstring file = m_folder.Write(L"a", "text");
    EXPECT_EQ(Copy(Path(L"none"), Path(L"b")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Copy(file, Path(L"none\\b")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Copy(file, file), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(m_folder.Read(L"a"), "text");
    EXPECT_EQ(Copy(Folder(), Path(L"b")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Copy(file, Path(L"folder")), ERROR_ACCESS_DENIED);
}

// Folders

TEST_F(FileNames, FoldersComeAndGo) {
    EXPECT_TRUE(CreateDirectoryW((Path(L"x") + L"\\").c_str(), nullptr));
    EXPECT_TRUE(CreateDirectoryW(Path(L"x\\y").c_str(), nullptr));
    EXPECT_EQ(Failed(RemoveDirectoryW(Path(L"x").c_str())), ERROR_DIR_NOT_EMPTY);
    EXPECT_TRUE(RemoveDirectoryW((Path(L"x\\y") + L"\\").c_str()));
    EXPECT_TRUE(RemoveDirectoryW(Path(L"x").c_str()));
    EXPECT_FALSE(m_folder.Exists(L"x"));
}

TEST_F(FileNames, CreateFolderFailures) {
    const std::wstring file = m_folder.Write(L"a", "");
    const auto create = [](const std::wstring& path) {
        return Failed(CreateDirectoryW(path.c_str(), nullptr));
    };
    EXPECT_EQ(create(Folder()), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(create(file), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(create(Path(L"none\\x")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(create(Path(L"a\\x")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(create(L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Failed(CreateDirectoryW(nullptr, nullptr)), ERROR_PATH_NOT_FOUND);
}

TEST_F(FileNames, RemoveFolderFailures) {
    const auto remove = [](const std::wstring& path) { return Failed(RemoveDirectoryW(path.c_str())); };
    EXPECT_EQ(remove(m_folder.Write(L"a", "")), ERROR_DIRECTORY);
    EXPECT_EQ(remove(Path(L"none")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(remove(Path(L"none\\x")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(remove(L""), ERROR_INVALID_NAME);
}

// Temporary names

TEST_F(FileNames, TempFolderEndsInASeparator) {
    wchar_t text[MAX_PATH];
    const DWORD length = GetTempPathW(MAX_PATH, text);
    ASSERT_GT(length, 1u);
    EXPECT_EQ(length, wcslen(text));
    EXPECT_EQ(text[length - 1], L'\\');
    EXPECT_TRUE(Attributes(text) & FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(GetTempPathW(1, text), length + 1);
}

TEST_F(FileNames, TempNameIsMadeOfPrefixAndNumber) {
    wchar_t text[MAX_PATH];
    const std::wstring folder = Folder();
    EXPECT_EQ(GetTempFileNameW(folder.c_str(), L"abcdef", 0x12345, text), 0x2345u);
    EXPECT_EQ(std::wstring(text), folder + L"\\abc2345.tmp");
    EXPECT_EQ(GetTempFileNameW((folder + L"\\").c_str(), nullptr, 5, text), 5u);
    EXPECT_EQ(std::wstring(text), folder + L"\\5.tmp");
    EXPECT_EQ(Attributes(text), INVALID_FILE_ATTRIBUTES); // only a name
}

TEST_F(FileNames, TempFileIsCreatedForNumberZero) {
    wchar_t first[MAX_PATH];
    wchar_t second[MAX_PATH];
    const std::wstring folder = Folder();
    const UINT number = GetTempFileNameW(folder.c_str(), L"t", 0, first);
    ASSERT_NE(number, 0u);
    wchar_t digits[20];
    EXPECT_EQ(std::wstring(first), folder + L"\\t" + _itow(static_cast<int>(number), digits, 16) + L".tmp");
    EXPECT_EQ(Attributes(first), DWORD{FILE_ATTRIBUTE_ARCHIVE});
    ASSERT_NE(GetTempFileNameW(folder.c_str(), L"t", 0, second), 0u);
    EXPECT_STRNE(first, second);
}

TEST_F(FileNames, TempNameWantsAFolder) {
    wchar_t text[MAX_PATH];
    const auto failed = [&text](const std::wstring& folder, UINT unique) {
        SetLastError(99);
        EXPECT_EQ(GetTempFileNameW(folder.c_str(), L"a", unique, text), 0u);
        return static_cast<int>(GetLastError());
    };
    EXPECT_EQ(failed(Path(L"none"), 5), ERROR_DIRECTORY);
    EXPECT_EQ(failed(Path(L"none"), 0), ERROR_DIRECTORY);
    EXPECT_EQ(failed(m_folder.Write(L"a", ""), 5), ERROR_DIRECTORY);
    EXPECT_EQ(failed(L"", 5), ERROR_DIRECTORY);
    EXPECT_EQ(GetTempFileNameW(nullptr, L"a", 5, text), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

// Environment

TEST_F(FileNames, EnvironmentIsReadAndSet) {
    wchar_t text[40];
    EXPECT_TRUE(SetEnvironmentVariableW(L"MVLIB_TEST_VALUE", L"valor \u20AC"));
    EXPECT_EQ(GetEnvironmentVariableW(L"MVLIB_TEST_VALUE", text, 40), 7u);
    EXPECT_STREQ(text, L"valor \u20AC");
    EXPECT_EQ(GetEnvironmentVariableW(L"MVLIB_TEST_VALUE", text, 7), 8u);
    EXPECT_TRUE(SetEnvironmentVariableW(L"MVLIB_TEST_VALUE", nullptr));
    EXPECT_EQ(GetEnvironmentVariableW(L"MVLIB_TEST_VALUE", text, 40), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ENVVAR_NOT_FOUND});
    EXPECT_EQ(Failed(SetEnvironmentVariableW(L"A=B", L"x")), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Failed(SetEnvironmentVariableW(L"", L"x")), ERROR_INVALID_PARAMETER);
}
