// CreateFileW, ReadFile, WriteFile, positions, sizes, locks, times.
#include "alloc_failure.h"
#include "temp_folder.h"

#include <file_size.h>
#include <gtest/gtest.h>
#include <win32.h>

#include <string>
#include <thread>
#include <vector>

namespace {

class Files : public testing::Test {
protected:
    void TearDown() override {
        for (const HANDLE handle : m_handles)
            CloseHandle(handle);
    }

    HANDLE TryOpen(const std::wstring& path, DWORD access, DWORD disposition, DWORD flags = 0,
                   DWORD share = 0) {
        SetLastError(99);
        const HANDLE handle = CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
        if (handle != INVALID_HANDLE_VALUE)
            m_handles.push_back(handle);
        return handle;
    }

    HANDLE Open(const wchar_t* name, DWORD access = GENERIC_READ | GENERIC_WRITE,
                DWORD disposition = OPEN_ALWAYS, DWORD share = 7) {
        const HANDLE handle = TryOpen(m_folder.Path(name), access, disposition, 0, share);
        EXPECT_NE(handle, INVALID_HANDLE_VALUE) << GetLastError();
        return handle;
    }

    // Opens and closes; the last error, -1 standing for a failure that set none.
    int Result(const std::wstring& path, DWORD access, DWORD disposition, DWORD flags = 0) {
        const HANDLE handle = TryOpen(path, access, disposition, flags);
        const DWORD error = GetLastError();
        CloseAll();
        if (handle == INVALID_HANDLE_VALUE)
            return error == 0 ? -1 : static_cast<int>(error);
        return error == 0 || error == ERROR_ALREADY_EXISTS ? static_cast<int>(error) : -1;
    }

    void CloseAll() {
        for (const HANDLE handle : m_handles)
            EXPECT_TRUE(CloseHandle(handle));
        m_handles.clear();
    }

    static std::string Read(HANDLE file, DWORD size) {
        std::string bytes(size, '\0');
        DWORD count = 0;
        EXPECT_TRUE(ReadFile(file, bytes.data(), size, &count, nullptr)) << GetLastError();
        bytes.resize(count);
        return bytes;
    }

    static void Write(HANDLE file, const std::string& bytes) {
        DWORD count = 0;
        EXPECT_TRUE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr))
            << GetLastError();
        EXPECT_EQ(count, bytes.size());
    }

    static LONGLONG Seek(HANDLE file, LONGLONG distance, DWORD method = FILE_BEGIN) {
        LARGE_INTEGER move;
        move.QuadPart = distance;
        LARGE_INTEGER position;
        position.QuadPart = -1;
        SetLastError(99);
        return SetFilePointerEx(file, move, &position, method) ? position.QuadPart : -1;
    }

    TempFolder m_folder;
    std::vector<HANDLE> m_handles;
};

constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;

} // namespace

TEST_F(Files, ExampleUsage) {
    const HANDLE file = CreateFileW(m_folder.Path(L"a").c_str(), readWrite, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD count;
    EXPECT_TRUE(WriteFile(file, "hello world", 11, &count, nullptr));
    EXPECT_EQ(SetFilePointer(file, -5, nullptr, FILE_END), 6u);
    char bytes[10];
    EXPECT_TRUE(ReadFile(file, bytes, 10, &count, nullptr));
    EXPECT_EQ(std::string(bytes, count), "world");
    EXPECT_TRUE(CloseHandle(file));
}

// Dispositions

TEST_F(Files, CreateNewWantsNoFile) {
    const std::wstring path = m_folder.Path(L"a");
    EXPECT_EQ(Result(path, GENERIC_WRITE, CREATE_NEW), 0);
    EXPECT_EQ(Result(path, GENERIC_WRITE, CREATE_NEW), ERROR_FILE_EXISTS);
}

TEST_F(Files, CreateAlwaysEmptiesAndReportsTheOldFile) {
    const std::wstring path = m_folder.Path(L"a");
    EXPECT_EQ(Result(path, GENERIC_WRITE, CREATE_ALWAYS), 0);
    m_folder.Write(L"a", "old");
    EXPECT_EQ(Result(path, GENERIC_WRITE, CREATE_ALWAYS), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(m_folder.Read(L"a"), "");
    m_folder.Write(L"a", "old");
    EXPECT_EQ(Result(path, GENERIC_READ, CREATE_ALWAYS), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(m_folder.Read(L"a"), "");
}

TEST_F(Files, OpenAlwaysKeepsTheOldFile) {
    const std::wstring path = m_folder.Path(L"a");
    EXPECT_EQ(Result(path, GENERIC_READ, OPEN_ALWAYS), 0);
    m_folder.Write(L"a", "old");
    EXPECT_EQ(Result(path, GENERIC_WRITE, OPEN_ALWAYS), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(m_folder.Read(L"a"), "old");
}

TEST_F(Files, OpenExistingAndTruncateExisting) {
    const std::wstring path = m_folder.Path(L"a");
    EXPECT_EQ(Result(path, GENERIC_READ, OPEN_EXISTING), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Result(path, GENERIC_WRITE, TRUNCATE_EXISTING), ERROR_FILE_NOT_FOUND);
    m_folder.Write(L"a", "old");
    EXPECT_EQ(Result(path, GENERIC_READ, OPEN_EXISTING), 0);
    EXPECT_EQ(m_folder.Read(L"a"), "old");
    EXPECT_EQ(Result(path, GENERIC_WRITE, TRUNCATE_EXISTING), 0);
    EXPECT_EQ(m_folder.Read(L"a"), "");
}

TEST_F(Files, UnknownDispositionGives87) {
    EXPECT_EQ(Result(m_folder.Path(L"a"), GENERIC_READ, 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Result(m_folder.Path(L"a"), GENERIC_READ, 6), ERROR_INVALID_PARAMETER);
}

// Names

TEST_F(Files, MissingFolderGives3) {
    EXPECT_EQ(Result(m_folder.Path(L"none\\a"), GENERIC_READ, OPEN_EXISTING), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Result(m_folder.Path(L"none\\a"), GENERIC_WRITE, CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
    m_folder.Write(L"file", "");
    EXPECT_EQ(Result(m_folder.Path(L"file\\a"), GENERIC_READ, OPEN_EXISTING), ERROR_PATH_NOT_FOUND);
}

TEST_F(Files, EmptyNameGives3) {
    EXPECT_EQ(Result(L"", GENERIC_READ, OPEN_EXISTING), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(CreateFileW(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Files, SeparatorBehindAFileNameGives123) {
    m_folder.Write(L"file", "");
    EXPECT_EQ(Result(m_folder.Path(L"file") + L"\\", GENERIC_READ, OPEN_EXISTING), ERROR_INVALID_NAME);
    EXPECT_EQ(Result(m_folder.Path(L"file") + L"\\", GENERIC_WRITE, CREATE_ALWAYS), ERROR_INVALID_NAME);
    EXPECT_EQ(Result(m_folder.Path(L"none") + L"\\", GENERIC_READ, OPEN_EXISTING), ERROR_FILE_NOT_FOUND);
}

TEST_F(Files, FolderGives5) {
    const std::wstring folder = m_folder.Path(L"folder");
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    EXPECT_EQ(Result(folder, GENERIC_READ, OPEN_EXISTING), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Result(folder + L"\\", GENERIC_READ, OPEN_EXISTING), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Result(folder, GENERIC_WRITE, CREATE_ALWAYS), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Result(folder, GENERIC_WRITE, OPEN_ALWAYS), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Result(folder, GENERIC_WRITE, CREATE_NEW), ERROR_FILE_EXISTS);
}

TEST_F(Files, FolderOpensWithBackupSemantics) {
    const std::wstring folder = m_folder.Path(L"folder");
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    const HANDLE handle = TryOpen(folder, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, 7);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    BY_HANDLE_FILE_INFORMATION information;
    EXPECT_TRUE(GetFileInformationByHandle(handle, &information));
    EXPECT_TRUE(information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
    char byte;
    DWORD count;
    EXPECT_FALSE(ReadFile(handle, &byte, 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_FUNCTION});
}

TEST_F(Files, SlashesAndBackslashesAreTheSame) {
    ASSERT_TRUE(CreateDirectoryW(m_folder.Path(L"folder").c_str(), nullptr));
    m_folder.Write(L"folder/a", "text");
    EXPECT_EQ(Result(m_folder.Path(L"folder") + L"\\a", GENERIC_READ, OPEN_EXISTING), 0);
    EXPECT_EQ(Result(m_folder.Path(L"folder") + L"/a", GENERIC_READ, OPEN_EXISTING), 0);
}

TEST_F(Files, NamesHoldAnyCharacter) {
    for (const wchar_t* name : {L"\u00E9\u00C9", L"\u4E2D\u6587", L"\u0416 \u00A0.txt", L"e\u0301"}) {
        Write(Open(name), "text");
        CloseAll();
        EXPECT_EQ(m_folder.Read(name), "text");
        EXPECT_TRUE(DeleteFileW(m_folder.Path(name).c_str()));
    }
}

// Positions

TEST_F(Files, SeekMovesFromThreePlaces) {
    const HANDLE file = Open(L"a");
    Write(file, "0123456789");
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 10);
    EXPECT_EQ(Seek(file, -4, FILE_CURRENT), 6);
    EXPECT_EQ(Read(file, 2), "67");
    EXPECT_EQ(Seek(file, -1, FILE_END), 9);
    EXPECT_EQ(Seek(file, 3), 3);
    EXPECT_EQ(Read(file, 100), "3456789");
}

TEST_F(Files, SeekBeforeTheBeginningGives131AndStays) {
    const HANDLE file = Open(L"a");
    Write(file, "0123456789");
    EXPECT_EQ(Seek(file, -1), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
    EXPECT_EQ(Seek(file, -11, FILE_END), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 10);
}

TEST_F(Files, UnknownSeekMethodGives87) {
    EXPECT_EQ(Seek(Open(L"a"), 0, 7), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(Files, PositionPastTheEndReadsNothingAndWritesZerosBetween) {
    const HANDLE file = Open(L"a");
    Write(file, "abc");
    EXPECT_EQ(Seek(file, 6), 6);
    EXPECT_EQ(Read(file, 5), "");
    EXPECT_EQ(GetFileSize(file, nullptr), 3u);
    Write(file, "x");
    Seek(file, 0);
    EXPECT_EQ(Read(file, 10), std::string("abc\0\0\0x", 7));
}

TEST_F(Files, PositionsBeyond32Bits) {
    const HANDLE file = Open(L"a");
    const LONGLONG distant = 5000000000LL;
    EXPECT_EQ(Seek(file, distant), distant);
    Write(file, "x");
    LARGE_INTEGER size;
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, distant + 1);
    DWORD high = 0;
    EXPECT_EQ(GetFileSize(file, &high), static_cast<DWORD>(distant + 1));
    EXPECT_EQ(high, 1u);
    LONG longHigh = 0;
    EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_CURRENT), static_cast<DWORD>(distant));
    EXPECT_EQ(SetFilePointer(file, 0, &longHigh, FILE_CURRENT), static_cast<DWORD>(distant));
    EXPECT_EQ(longHigh, 1);
    EXPECT_EQ(Read(file, 5), "x");
}

TEST_F(Files, PositionThatLooksLikeTheFailureIsNone) {
    const HANDLE file = Open(L"a");
    LONG high = 0;
    SetLastError(99);
    EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(high, 0);
    high = -1;
    EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NEGATIVE_SEEK});
}

TEST_F(Files, EndIsSetAtThePosition) {
    const HANDLE file = Open(L"a");
    Write(file, "0123456789");
    Seek(file, 4);
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_EQ(GetFileSize(file, nullptr), 4u);
    Seek(file, 6);
    EXPECT_TRUE(SetEndOfFile(file));
    Seek(file, 0);
    EXPECT_EQ(Read(file, 10), std::string("0123\0\0", 6));
}

TEST_F(Files, HandlesHavePositionsOfTheirOwn) {
    const HANDLE first = Open(L"a");
    Write(first, "0123456789");
    const HANDLE second = Open(L"a");
    EXPECT_EQ(Read(second, 3), "012");
    EXPECT_EQ(Seek(first, 0, FILE_CURRENT), 10);
}

TEST_F(Files, DuplicateSharesThePosition) {
    const HANDLE file = Open(L"a");
    Write(file, "0123456789");
    HANDLE copy = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), file, GetCurrentProcess(), &copy, 0, FALSE,
                                DUPLICATE_SAME_ACCESS));
    m_handles.push_back(copy);
    Seek(file, 3);
    EXPECT_EQ(Read(copy, 2), "34");
    EXPECT_EQ(Read(file, 2), "56");
}

TEST_F(Files, AppendAccessWritesAtTheEnd) {
    m_folder.Write(L"a", "abc");
    const HANDLE file = Open(L"a", FILE_APPEND_DATA);
    Write(file, "de");
    Seek(file, 0);
    Write(file, "fg");
    CloseAll();
    EXPECT_EQ(m_folder.Read(L"a").size(), 7u);
    EXPECT_EQ(m_folder.Read(L"a").substr(0, 5), "abcde");
}

// Rights

TEST_F(Files, AccessThatWasNotAskedForGives5) {
    m_folder.Write(L"a", "abc");
    char byte = 0;
    DWORD count = 99;
    const HANDLE reader = Open(L"a", GENERIC_READ);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(count, 0u);
    SetLastError(0);
    EXPECT_FALSE(FlushFileBuffers(reader));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(SetEndOfFile(reader));
    const HANDLE writer = Open(L"a", GENERIC_WRITE);
    SetLastError(0);
    EXPECT_FALSE(ReadFile(writer, &byte, 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    const HANDLE neither = Open(L"a", 0);
    SetLastError(0);
    EXPECT_FALSE(ReadFile(neither, &byte, 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(GetFileSize(neither, nullptr), 3u);
}

TEST_F(Files, NewReadOnlyFileCanBeFilled) {
    const std::wstring path = m_folder.Path(L"a");
    const HANDLE file = TryOpen(path, GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_READONLY);
    Write(file, "text");
    CloseAll();
    EXPECT_TRUE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));
}

TEST_F(Files, FileIsDeletedOnClose) {
    const std::wstring path = m_folder.Path(L"a");
    Write(TryOpen(path, GENERIC_WRITE, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE), "text");
    EXPECT_TRUE(m_folder.Exists(L"a"));
    CloseAll();
    EXPECT_FALSE(m_folder.Exists(L"a"));
}

// Odd arguments

TEST_F(Files, SizeAtOpenIsTheSizeOfAFileJustOpened) {
    LARGE_INTEGER size = {};
    const HANDLE made = Open(L"a", GENERIC_WRITE);
    EXPECT_TRUE(MvFileSizeAtOpen(made, &size));
    EXPECT_EQ(size.QuadPart, 0);
    Write(made, "12345");
    for (const DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS}) {
        EXPECT_TRUE(MvFileSizeAtOpen(Open(L"a", GENERIC_READ, disposition), &size));
        EXPECT_EQ(size.QuadPart, 5);
    }
    for (const DWORD disposition : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
        EXPECT_TRUE(MvFileSizeAtOpen(Open(L"a", GENERIC_WRITE, disposition), &size));
        EXPECT_EQ(size.QuadPart, 0);
    }
}

TEST_F(Files, NothingIsReadAndWritten) {
    const HANDLE file = Open(L"a");
    DWORD count = 99;
    EXPECT_TRUE(WriteFile(file, "x", 0, &count, nullptr));
    EXPECT_EQ(count, 0u);
    char byte;
    count = 99;
    EXPECT_TRUE(ReadFile(file, &byte, 0, &count, nullptr));
    EXPECT_EQ(count, 0u);
}

TEST_F(Files, NullBufferIsRefused) {
    const HANDLE file = Open(L"a");
    Write(file, "abcdef");
    Seek(file, 0);
    DWORD count = 99;
    EXPECT_FALSE(ReadFile(file, nullptr, 5, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOACCESS});
    EXPECT_FALSE(WriteFile(file, nullptr, 5, &count, nullptr));
    EXPECT_EQ(GetLastError(), 1784u);
    EXPECT_EQ(count, 0u);
}

TEST_F(Files, ClosedHandleGives6) {
    const HANDLE file = Open(L"a");
    CloseAll();
    char byte;
    DWORD count;
    LARGE_INTEGER zero = {};
    const auto refused = [](BOOL result) {
        const bool as6 = GetLastError() == ERROR_INVALID_HANDLE;
        SetLastError(0);
        return !result && as6;
    };
    SetLastError(0);
    EXPECT_TRUE(refused(CloseHandle(file)));
    EXPECT_TRUE(refused(ReadFile(file, &byte, 1, &count, nullptr)));
    EXPECT_TRUE(refused(WriteFile(file, &byte, 1, &count, nullptr)));
    EXPECT_TRUE(refused(SetFilePointerEx(file, zero, nullptr, FILE_BEGIN)));
    EXPECT_TRUE(refused(GetFileSizeEx(file, &zero)));
    EXPECT_TRUE(refused(SetEndOfFile(file)));
    EXPECT_TRUE(refused(FlushFileBuffers(file)));
    EXPECT_EQ(GetFileType(file), DWORD{FILE_TYPE_UNKNOWN});
    EXPECT_EQ(GetFileSize(file, nullptr), INVALID_FILE_SIZE);
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
}

TEST_F(Files, TypeOfAFileIsDisk) {
    EXPECT_EQ(GetFileType(Open(L"a")), DWORD{FILE_TYPE_DISK});
}

TEST_F(Files, LargeBlocksGoThrough) {
    std::string bytes(3000000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 31 >> 3);
    const HANDLE file = Open(L"a");
    Write(file, bytes);
    EXPECT_TRUE(FlushFileBuffers(file));
    Seek(file, 0);
    EXPECT_TRUE(Read(file, 4000000) == bytes);
}

TEST_F(Files, ThreadsShareAHandle) {
    const HANDLE file = Open(L"a");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([file, i] {
            for (int round = 0; round < 100; ++round)
                Write(file, std::string(10, static_cast<char>('a' + i)));
        });
    for (std::thread& thread : threads)
        thread.join();
    Seek(file, 0);
    const std::string bytes = Read(file, 10000);
    ASSERT_EQ(bytes.size(), 4000u);
    for (std::size_t i = 0; i < bytes.size(); i += 10)
        EXPECT_EQ(bytes.substr(i, 10), std::string(10, bytes[i]));
}

// Times

TEST_F(Files, TimesAreReadAndSet) {
    const HANDLE file = Open(L"a");
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    FILETIME creation;
    FILETIME access;
    FILETIME write;
    ASSERT_TRUE(GetFileTime(file, &creation, &access, &write));
    const auto ticks = [](const FILETIME& time) {
        return static_cast<LONGLONG>(static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    };
    for (const FILETIME& time : {creation, access, write})
        EXPECT_LT(std::llabs(ticks(time) - ticks(now)), 600000000LL);
    SYSTEMTIME parts = {2001, 2, 0, 3, 4, 5, 6, 700};
    FILETIME wanted;
    ASSERT_TRUE(SystemTimeToFileTime(&parts, &wanted));
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &wanted));
    FILETIME after;
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, &after));
    EXPECT_EQ(ticks(after), ticks(wanted));
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW(m_folder.Path(L"a").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(ticks(data.ftLastWriteTime), ticks(wanted));
}

// Range locks

TEST_F(Files, LockedRangeIsLockedOnce) {
    const HANDLE first = Open(L"a");
    const HANDLE second = Open(L"a");
    EXPECT_TRUE(LockFile(first, 0, 0, 10, 0));
    for (const HANDLE file : {first, second}) {
        EXPECT_FALSE(LockFile(file, 5, 0, 1, 0));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
    }
    EXPECT_TRUE(LockFile(second, 10, 0, 5, 0)); // past the end of the file
    EXPECT_TRUE(UnlockFile(first, 0, 0, 10, 0));
    EXPECT_TRUE(LockFile(second, 5, 0, 1, 0));
}

TEST_F(Files, UnlockWantsExactlyTheRangeAndTheHandle) {
    const HANDLE first = Open(L"a");
    const HANDLE second = Open(L"a");
    EXPECT_TRUE(LockFile(first, 0, 0, 10, 0));
    EXPECT_FALSE(UnlockFile(first, 0, 0, 5, 0));
    EXPECT_FALSE(UnlockFile(second, 0, 0, 10, 0));
    EXPECT_TRUE(UnlockFile(first, 0, 0, 10, 0));
    EXPECT_FALSE(UnlockFile(first, 0, 0, 10, 0));
}

TEST_F(Files, OwnLockStopsNothing) {
    const HANDLE file = Open(L"a");
    EXPECT_TRUE(LockFile(file, 0, 0, 10, 0));
    Write(file, "text");
    Seek(file, 0);
    EXPECT_EQ(Read(file, 4), "text");
}

TEST_F(Files, CloseUnlocks) {
    const HANDLE first = Open(L"a");
    EXPECT_TRUE(LockFile(first, 0, 0, 10, 0));
    CloseAll();
    EXPECT_TRUE(LockFile(Open(L"a"), 0, 0, 10, 0));
}

TEST_F(Files, RangesBeyond32Bits) {
    const HANDLE first = Open(L"a");
    const HANDLE second = Open(L"a");
    EXPECT_TRUE(LockFile(first, 0, 1, 1, 0));
    EXPECT_TRUE(LockFile(second, 0, 0, 1, 0));
    EXPECT_FALSE(LockFile(second, 0, 0, 0, 2));
    EXPECT_FALSE(LockFile(first, 0xFFFFFFFF, 0xFFFFFFFF, 2, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

// ---- Memory

TEST_F(Files, FileThatCannotBeOpenedForWantOfMemoryIsLeftAlone) {
    for (const DWORD disposition : {CREATE_NEW, CREATE_ALWAYS, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
        for (const bool exists : {false, true}) {
            FailEachAllocation([&] {
                std::filesystem::remove(m_folder.Root() / "a");
                if (exists)
                    m_folder.Write(L"a", "old");
                // Every open takes a further handle, so that the table of handles has to grow.
                const HANDLE handle = TryOpen(m_folder.Path(L"a"), GENERIC_WRITE, disposition, 0, 7);
                if (handle != INVALID_HANDLE_VALUE)
                    return;
                EXPECT_EQ(m_folder.Exists(L"a"), exists);
                if (exists) {
                    EXPECT_EQ(m_folder.Read(L"a"), "old");
                }
            });
            CloseAll();
        }
    }
}
