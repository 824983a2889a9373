// What the files of the POSIX layer do as Windows does but Wine does not, and what only this system has:
// links, pipes, rights. (The expected values are Windows'.)
#include "temp_folder.h"

#include <file_size.h>
#include <gtest/gtest.h>
#include <win32.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class PosixFiles : public testing::Test {
protected:
    static HANDLE OpenAlone(const std::wstring& path) {
        return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    }
    HANDLE Open(const std::wstring& path, DWORD access = GENERIC_READ | GENERIC_WRITE,
                DWORD disposition = OPEN_EXISTING) {
        return CreateFileW(path.c_str(), access, 7, nullptr, disposition, 0, nullptr);
    }
    std::string Native(const char* name) const { return (m_folder.Root() / name).string(); }

    TempFolder m_folder;
    char m_byte = 0;
    DWORD m_count = 0;
};

} // namespace

TEST_F(PosixFiles, RangeLockedByAnotherHandleStopsReadsAndWrites) {
    const std::wstring path = m_folder.Write(L"a", "0123456789");
    const HANDLE owner = Open(path);
    const HANDLE other = Open(path);
    ASSERT_TRUE(LockFile(owner, 2, 0, 3, 0));
    EXPECT_TRUE(ReadFile(other, &m_byte, 1, &m_count, nullptr));
    EXPECT_TRUE(ReadFile(other, &m_byte, 1, &m_count, nullptr));
    EXPECT_FALSE(ReadFile(other, &m_byte, 1, &m_count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
    SetLastError(0);
    EXPECT_FALSE(WriteFile(other, &m_byte, 1, &m_count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
    EXPECT_EQ(SetFilePointer(other, 0, nullptr, FILE_CURRENT), 2u);
    EXPECT_TRUE(UnlockFile(owner, 2, 0, 3, 0));
    EXPECT_TRUE(ReadFile(other, &m_byte, 1, &m_count, nullptr));
    CloseHandle(owner);
    CloseHandle(other);
}

TEST_F(PosixFiles, NextFileKnowsNothingOfTheLocksOfTheLast) {
    const HANDLE first = Open(m_folder.Write(L"a", "0123456789"));
    ASSERT_TRUE(LockFile(first, 0, 0, 10, 0));
    CloseHandle(first);
    const std::wstring path = m_folder.Write(L"b", "0123456789");
    const HANDLE owner = Open(path);
    const HANDLE other = Open(path);
    EXPECT_TRUE(ReadFile(owner, &m_byte, 1, &m_count, nullptr));
    EXPECT_TRUE(WriteFile(other, &m_byte, 1, &m_count, nullptr));
    EXPECT_TRUE(LockFile(other, 0, 0, 10, 0));
    CloseHandle(owner);
    CloseHandle(other);
}

TEST_F(PosixFiles, ForkedCopyThatClosesLeavesTheUseToItsParent) {
    const std::wstring path = m_folder.Write(L"a", "0123456789");
    const HANDLE file = OpenAlone(path);
    ASSERT_TRUE(LockFile(file, 0, 0, 10, 0));
    for (int copies = 0; copies < 2; ++copies) {
        const pid_t copy = ::fork();
        if (copy == 0) {
            CloseHandle(file);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(copy, &status, 0), copy);
        // Another open of the system would have met the locks of the first.
        const int descriptor = ::open(Native("a").c_str(), O_RDWR | O_CLOEXEC);
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        ASSERT_EQ(::fcntl(descriptor, F_OFD_GETLK, &range), 0);
        EXPECT_EQ(range.l_type, F_WRLCK) << "the range";
        range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        range.l_start = 10;
        ASSERT_EQ(::fcntl(descriptor, F_OFD_GETLK, &range), 0);
        EXPECT_EQ(range.l_type, F_RDLCK) << "the marks";
        ::close(descriptor);
    }
    CloseHandle(file);
}

TEST_F(PosixFiles, UseEndsWithTheHandleThoughAForkedCopyLives) {
    const std::wstring path = m_folder.Write(L"a", "0123456789");
    const HANDLE file = OpenAlone(path);
    ASSERT_TRUE(LockFile(file, 0, 0, 10, 0));
    const pid_t copy = ::fork();
    if (copy == 0) {
        ::pause();
        ::_exit(0);
    }
    CloseHandle(file);
    const HANDLE again = OpenAlone(path);
    EXPECT_NE(again, INVALID_HANDLE_VALUE) << GetLastError();
    EXPECT_TRUE(LockFile(again, 0, 0, 10, 0));
    CloseHandle(again);
    ::kill(copy, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(copy, &status, 0), copy);
}

TEST_F(PosixFiles, MappingKeepsNoLocksOfTheClosedFile) {
    const std::wstring path = m_folder.Write(L"a", "0123456789");
    const HANDLE file = Open(path);
    ASSERT_TRUE(LockFile(file, 0, 0, 10, 0));
    const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    ASSERT_NE(mapping, nullptr);
    CloseHandle(file);
    const HANDLE again = Open(path);
    EXPECT_TRUE(LockFile(again, 0, 0, 10, 0));
    CloseHandle(again);
    CloseHandle(mapping);
}

TEST_F(PosixFiles, UnlockOfWhatIsNotLockedGives158) {
    const HANDLE file = Open(m_folder.Write(L"a", ""));
    EXPECT_FALSE(UnlockFile(file, 0, 0, 1, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_LOCKED});
    CloseHandle(file);
}

TEST_F(PosixFiles, ReaderMayLock) {
    const std::wstring path = m_folder.Write(L"a", "");
    const HANDLE first = Open(path, GENERIC_READ);
    const HANDLE second = Open(path, GENERIC_READ);
    EXPECT_TRUE(LockFile(first, 0, 0, 1, 0));
    EXPECT_FALSE(LockFile(second, 0, 0, 1, 0));
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(PosixFiles, WholeFileIsLockedByTheLargestRange) {
    const std::wstring path = m_folder.Write(L"a", "");
    const HANDLE first = Open(path);
    const HANDLE second = Open(path);
    EXPECT_TRUE(LockFile(first, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_FALSE(LockFile(second, 0xFFFFFFF0, 0x7FFFFFFF, 1, 0));
    EXPECT_TRUE(UnlockFile(first, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_TRUE(LockFile(second, 5, 0, 0, 0)); // no byte at all
    EXPECT_TRUE(LockFile(first, 0, 0, 10, 0));
    CloseHandle(first);
    CloseHandle(second);
}

TEST_F(PosixFiles, TruncationWantsWriteAccess) {
    const std::wstring path = m_folder.Write(L"a", "text");
    EXPECT_EQ(Open(path, GENERIC_READ, TRUNCATE_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    const HANDLE reader = Open(path, GENERIC_READ);
    EXPECT_FALSE(SetEndOfFile(reader));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    CloseHandle(reader);
}

TEST_F(PosixFiles, ReadOnlyFileIsNotWrittenReplacedOrCopiedOver) {
    const std::wstring path = m_folder.Write(L"a", "text");
    const std::wstring other = m_folder.Write(L"b", "other");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    for (const DWORD disposition : {OPEN_EXISTING, CREATE_ALWAYS, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
        EXPECT_EQ(Open(path, GENERIC_WRITE, disposition), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_FALSE(MoveFileExW(other.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(CopyFileW(other.c_str(), path.c_str(), FALSE));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(m_folder.Read(L"a"), "text");
}

TEST_F(PosixFiles, CurrentFolderIsNotRemoved) {
    wchar_t before[1024];
    GetCurrentDirectoryW(1024, before);
    const std::wstring folder = m_folder.Path(L"folder");
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    ASSERT_TRUE(SetCurrentDirectoryW(folder.c_str()));
    EXPECT_FALSE(RemoveDirectoryW(folder.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    ASSERT_TRUE(SetCurrentDirectoryW(before));
    EXPECT_TRUE(RemoveDirectoryW(folder.c_str()));
}

TEST_F(PosixFiles, FolderIsNotMovedIntoItselfOrOverAFile) {
    const std::wstring folder = m_folder.Path(L"folder");
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    EXPECT_FALSE(MoveFileW(folder.c_str(), (folder + L"\\sub").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    const std::wstring file = m_folder.Write(L"file", "text");
    EXPECT_FALSE(MoveFileExW(folder.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(m_folder.Read(L"file"), "text");
}

// Links

TEST_F(PosixFiles, LinkHasTheAttributesOfItsTargetAndItsOwn) {
    m_folder.Write(L"file", "text");
    ASSERT_EQ(::symlink("file", Native("link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", Native("broken").c_str()), 0);
    EXPECT_EQ(GetFileAttributesW(m_folder.Path(L"link").c_str()),
              DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT});
    EXPECT_EQ(GetFileAttributesW(m_folder.Path(L"broken").c_str()),
              DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT});
}

TEST_F(PosixFiles, AttributesOfALinkAreNotThoseOfItsTarget) {
    m_folder.Write(L"file", "x");
    ASSERT_EQ(::symlink("file", Native("link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", Native("broken").c_str()), 0);
    EXPECT_TRUE(SetFileAttributesW(m_folder.Path(L"link").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(GetFileAttributesW(m_folder.Path(L"file").c_str()) & FILE_ATTRIBUTE_READONLY);
    ASSERT_TRUE(SetFileAttributesW(m_folder.Path(L"file").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(SetFileAttributesW(m_folder.Path(L"link").c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(GetFileAttributesW(m_folder.Path(L"file").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(SetFileAttributesW(m_folder.Path(L"broken").c_str(), FILE_ATTRIBUTE_NORMAL));
}

TEST_F(PosixFiles, RemovalTakesTheLinkAndLeavesTheTarget) {
    m_folder.Write(L"file", "text");
    ASSERT_EQ(::mkdir(Native("folder").c_str(), 0777), 0);
    ASSERT_EQ(::symlink("file", Native("fileLink").c_str()), 0);
    ASSERT_EQ(::symlink("folder", Native("folderLink").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", Native("broken").c_str()), 0);
    EXPECT_TRUE(DeleteFileW(m_folder.Path(L"fileLink").c_str()));
    EXPECT_TRUE(DeleteFileW(m_folder.Path(L"broken").c_str()));
    EXPECT_TRUE(RemoveDirectoryW((m_folder.Path(L"folderLink") + L"\\").c_str()));
    EXPECT_TRUE(m_folder.Exists(L"file"));
    EXPECT_TRUE(m_folder.Exists(L"folder"));
    EXPECT_FALSE(m_folder.Exists(L"folderLink"));
}

TEST_F(PosixFiles, FileIsCreatedThroughABrokenLink) {
    ASSERT_EQ(::symlink("target", Native("link").c_str()), 0);
    const HANDLE file = Open(m_folder.Path(L"link"), GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    EXPECT_TRUE(m_folder.Exists(L"target"));
    EXPECT_EQ(Open(m_folder.Path(L"link"), GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_EXISTS});
}

TEST_F(PosixFiles, LinkLoopGives1921) {
    ASSERT_EQ(::symlink("loop", Native("loop").c_str()), 0);
    EXPECT_EQ(Open(m_folder.Path(L"loop"), GENERIC_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CANT_RESOLVE_FILENAME});
}

TEST_F(PosixFiles, TwoNamesOfAFileShareItsUse) {
    const std::wstring path = m_folder.Write(L"a", "text");
    ASSERT_EQ(::link(Native("a").c_str(), Native("b").c_str()), 0);
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(Open(m_folder.Path(L"b"), GENERIC_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(file);
}

// Pipes and devices

TEST_F(PosixFiles, PipeIsReadAsItComes) {
    ASSERT_EQ(::mkfifo(Native("pipe").c_str(), 0600), 0);
    const int both = ::open(Native("pipe").c_str(), O_RDWR | O_NONBLOCK);
    const HANDLE pipe = Open(m_folder.Path(L"pipe"), GENERIC_READ);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetFileType(pipe), DWORD{FILE_TYPE_PIPE});
    ASSERT_EQ(::write(both, "abc", 3), 3);
    char bytes[10];
    EXPECT_TRUE(ReadFile(pipe, bytes, 10, &m_count, nullptr));
    EXPECT_EQ(m_count, 3u);
    EXPECT_EQ(SetFilePointer(pipe, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SEEK_ON_DEVICE});
    CloseHandle(pipe);
    ::close(both);
}

TEST_F(PosixFiles, DeviceIsACharacterFile) {
    const HANDLE null = Open(L"/dev/null");
    ASSERT_NE(null, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetFileType(null), DWORD{FILE_TYPE_CHAR});
    EXPECT_TRUE(WriteFile(null, "x", 1, &m_count, nullptr));
    EXPECT_TRUE(ReadFile(null, &m_byte, 1, &m_count, nullptr));
    EXPECT_EQ(m_count, 0u);
    CloseHandle(null);
}

TEST_F(PosixFiles, FullDiskGives112) {
    const HANDLE full = Open(L"/dev/full", GENERIC_WRITE);
    ASSERT_NE(full, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(WriteFile(full, "x", 1, &m_count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(m_count, 0u);
    CloseHandle(full);
}

TEST_F(PosixFiles, SizeLimitGives112) {
    rlimit before;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const HANDLE file = Open(m_folder.Path(L"a"), GENERIC_WRITE, CREATE_NEW);
    const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {4, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const BOOL result = WriteFile(file, "0123456789", 10, &m_count, nullptr);
    const DWORD error = GetLastError();
    ::setrlimit(RLIMIT_FSIZE, &before);
    ::signal(SIGXFSZ, oldHandler);
    EXPECT_FALSE(result);
    EXPECT_EQ(error, DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(m_count, 0u);
    CloseHandle(file);
}

TEST_F(PosixFiles, BadAddressGives998) {
    const HANDLE file = Open(m_folder.Write(L"a", "text"));
    EXPECT_FALSE(ReadFile(file, reinterpret_cast<void*>(16), 4, &m_count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOACCESS});
    CloseHandle(file);
}

TEST_F(PosixFiles, StandardStreams) {
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    EXPECT_EQ(error, GetStdHandle(STD_ERROR_HANDLE));
    EXPECT_NE(GetFileType(error), DWORD{FILE_TYPE_UNKNOWN});
    EXPECT_EQ(GetStdHandle(5), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    const HANDLE file = Open(m_folder.Write(L"a", ""));
    DWORD mode;
    EXPECT_FALSE(GetConsoleMode(file, &mode));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    CloseHandle(file);
}

TEST_F(PosixFiles, TooManyFilesGive4) {
    rlimit before;
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const std::wstring path = m_folder.Write(L"a", "");
    CloseHandle(Open(path, GENERIC_READ)); // what a sanitizer wants to know of the classes, it knows now
    const rlimit small = {3, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &small), 0);
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    const DWORD error = GetLastError();
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(error, DWORD{ERROR_TOO_MANY_OPEN_FILES});
}

TEST_F(PosixFiles, SizeAtOpenIsThatOfTheOpening) {
    const std::wstring path = m_folder.Write(L"a", "12345");
    LARGE_INTEGER size = {};
    const HANDLE reader = Open(path, GENERIC_READ);
    const HANDLE writer = Open(path, GENERIC_WRITE, CREATE_ALWAYS);
    EXPECT_TRUE(MvFileSizeAtOpen(writer, &size));
    EXPECT_EQ(size.QuadPart, 0);
    EXPECT_TRUE(MvFileSizeAtOpen(reader, &size));
    EXPECT_EQ(size.QuadPart, 5);
    EXPECT_TRUE(GetFileSizeEx(reader, &size));
    EXPECT_EQ(size.QuadPart, 0);
    CloseHandle(writer);
    CloseHandle(reader);
}

TEST_F(PosixFiles, SizeAtOpenIsForFilesAlone) {
    LARGE_INTEGER size = {};
    const HANDLE device = Open(L"/dev/null", GENERIC_READ);
    EXPECT_FALSE(MvFileSizeAtOpen(device, &size));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_FUNCTION});
    CloseHandle(device);
    EXPECT_FALSE(MvFileSizeAtOpen(device, &size));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    const HANDLE folder = CreateFileW(m_folder.Root().wstring().c_str(), GENERIC_READ, 7, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    EXPECT_FALSE(MvFileSizeAtOpen(folder, &size));
    CloseHandle(folder);
}

TEST_F(PosixFiles, TimesWithoutAccessAreSet) {
    const std::wstring path = m_folder.Write(L"a", "");
    const HANDLE file = Open(path, 0);
    const SYSTEMTIME parts = {2001, 2, 0, 3, 4, 5, 6, 0};
    FILETIME wanted;
    ASSERT_TRUE(SystemTimeToFileTime(&parts, &wanted));
    EXPECT_TRUE(SetFileTime(file, nullptr, &wanted, &wanted));
    FILETIME read;
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, &read));
    EXPECT_EQ(CompareFileTime(&read, &wanted), 0);
    CloseHandle(file);
}
