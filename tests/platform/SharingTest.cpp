// Who may open a file beside whom: in one process, and from another.
#include "child_process.h"
#include "sharing_rules.h"
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <atomic>
#include <string>
#include <thread>

namespace {

class Sharing : public testing::Test {
protected:
    void SetUp() override { m_path = m_folder.Write(L"file", "text"); }

    HANDLE Open(DWORD access, DWORD share) {
        return CreateFileW(m_path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
    }

    // What a second process meets that opens the file now.
    int Child(DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
        return RunChild(
            {L"open", m_path, std::to_wstring(access), std::to_wstring(share), std::to_wstring(disposition)});
    }

    TempFolder m_folder;
    std::wstring m_path;
};

constexpr DWORD readWrite = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace

TEST_F(Sharing, ExampleUsage) {
    const HANDLE reader = Open(GENERIC_READ, FILE_SHARE_READ);
    EXPECT_EQ(Open(GENERIC_WRITE, FILE_SHARE_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    const HANDLE second = Open(GENERIC_READ, FILE_SHARE_READ);
    EXPECT_NE(second, INVALID_HANDLE_VALUE);
    CloseHandle(second);
    CloseHandle(reader);
}

TEST_F(Sharing, EveryPairOfWaysToOpen) {
    const DWORD accesses[] = {0, GENERIC_READ, GENERIC_WRITE, readWrite, DELETE};
    for (const DWORD firstAccess : accesses) {
        for (DWORD firstShare = 0; firstShare <= shareAll; ++firstShare) {
            const HANDLE first = Open(firstAccess, firstShare);
            ASSERT_NE(first, INVALID_HANDLE_VALUE);
            for (const DWORD secondAccess : accesses) {
                for (DWORD secondShare = 0; secondShare <= shareAll; ++secondShare) {
                    const HANDLE second = Open(secondAccess, secondShare);
                    const DWORD error = GetLastError();
                    const bool agree = Agree(firstAccess, firstShare, secondAccess, secondShare);
                    EXPECT_EQ(second != INVALID_HANDLE_VALUE, agree)
                        << std::hex << firstAccess << ' ' << firstShare << ' ' << secondAccess << ' '
                        << secondShare;
                    if (!agree) {
                        EXPECT_EQ(error, DWORD{ERROR_SHARING_VIOLATION});
                    }
                    if (second != INVALID_HANDLE_VALUE)
                        CloseHandle(second);
                }
            }
            CloseHandle(first);
        }
    }
}

TEST_F(Sharing, RefusedCreateAlwaysLeavesTheFile) {
    const HANDLE reader = Open(GENERIC_READ, FILE_SHARE_READ);
    EXPECT_EQ(CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(reader);
    EXPECT_EQ(m_folder.Read(L"file"), "text");
}

TEST_F(Sharing, OpenFileIsNotDeletedOrMoved) {
    const HANDLE file = Open(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_FALSE(DeleteFileW(m_path.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(MoveFileW(m_path.c_str(), m_folder.Path(L"other").c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    CloseHandle(file);
    EXPECT_TRUE(DeleteFileW(m_path.c_str()));
}

TEST_F(Sharing, FileOpenForDeletionIsMovedAndDeleted) {
    const HANDLE file = Open(GENERIC_READ, shareAll);
    const std::wstring other = m_folder.Path(L"other");
    EXPECT_TRUE(MoveFileW(m_path.c_str(), other.c_str()));
    EXPECT_TRUE(DeleteFileW(other.c_str()));
    CloseHandle(file);
    EXPECT_FALSE(m_folder.Exists(L"other"));
}

TEST_F(Sharing, DuplicateKeepsTheFileInUse) {
    const HANDLE file = Open(GENERIC_READ, 0);
    HANDLE copy = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), file, GetCurrentProcess(), &copy, 0, FALSE,
                                DUPLICATE_SAME_ACCESS));
    CloseHandle(file);
    EXPECT_EQ(Open(GENERIC_READ, shareAll), INVALID_HANDLE_VALUE);
    CloseHandle(copy);
    const HANDLE again = Open(GENERIC_READ, shareAll);
    EXPECT_NE(again, INVALID_HANDLE_VALUE);
    CloseHandle(again);
}

// Another process

TEST_F(Sharing, OtherProcessMeetsTheReader) {
    const HANDLE reader = Open(GENERIC_READ, FILE_SHARE_READ);
    EXPECT_EQ(Child(GENERIC_READ, FILE_SHARE_READ), 0);
    EXPECT_EQ(Child(GENERIC_READ, 0), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Child(GENERIC_WRITE, FILE_SHARE_READ), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Child(GENERIC_WRITE, shareAll, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(RunChild({L"delete", m_path}), ERROR_SHARING_VIOLATION);
    CloseHandle(reader);
    EXPECT_EQ(Child(GENERIC_WRITE, 0), 0);
    EXPECT_EQ(RunChild({L"delete", m_path}), 0);
}

TEST_F(Sharing, OtherProcessMeetsTheWriter) {
    const HANDLE writer = Open(GENERIC_WRITE, FILE_SHARE_READ);
    EXPECT_EQ(Child(GENERIC_READ, FILE_SHARE_WRITE), 0);
    EXPECT_EQ(Child(GENERIC_READ, FILE_SHARE_READ), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Child(GENERIC_WRITE, FILE_SHARE_WRITE), ERROR_SHARING_VIOLATION);
    CloseHandle(writer);
}

TEST_F(Sharing, OtherProcessMeetsTheOneThatSharesNothing) {
    const HANDLE only = Open(readWrite, 0);
    EXPECT_EQ(Child(GENERIC_READ, shareAll), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Child(0, 0), 0);
    CloseHandle(only);
}

TEST_F(Sharing, EveryPairOfWaysToOpenInTwoProcesses) {
    for (const DWORD access :
         {DWORD{0}, DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, readWrite, DWORD{GENERIC_READ | DELETE}}) {
        for (DWORD share = 0; share <= shareAll; ++share) {
            const HANDLE first = Open(access, share);
            ASSERT_NE(first, INVALID_HANDLE_VALUE);
            EXPECT_EQ(RunChild({L"pairs", m_path, std::to_wstring(access), std::to_wstring(share)}), 0)
                << std::hex << access << ' ' << share;
            CloseHandle(first);
        }
    }
}

TEST_F(Sharing, TwoProcessesThatComeAtOnceAreNeverBothIn) {
    struct Way {
        DWORD access;
        DWORD share;
    };
    const Way pairs[][2] = {
        {{GENERIC_READ, 0}, {GENERIC_READ, 0}},
        {{GENERIC_READ, 0}, {GENERIC_READ, FILE_SHARE_READ}},
        {{GENERIC_WRITE, FILE_SHARE_READ}, {GENERIC_READ, FILE_SHARE_READ}},
        {{readWrite, shareAll}, {GENERIC_READ, FILE_SHARE_READ}},
        {{readWrite, 0}, {readWrite, shareAll}},
        {{GENERIC_READ | DELETE, shareAll}, {GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE}},
    };
    constexpr int wanted = 100;
    int number = 0;
    for (const Way(&pair)[2] : pairs) {
        const Way& one = pair[0];
        const Way& two = pair[1];
        const std::wstring name = std::to_wstring(++number);
        ASSERT_FALSE(Agree(one.access, one.share, two.access, two.share));
        int other = -1;
        std::thread otherProcess([&] {
            other = RunChild({L"meet", m_path, std::to_wstring(one.access), std::to_wstring(one.share),
                              std::to_wstring(wanted), L"one" + name, L"two" + name});
        });
        const Meetings mine(m_path, two.access, two.share, wanted, L"two" + name, L"one" + name);
        otherProcess.join();
        EXPECT_EQ(other, 0);
        EXPECT_EQ(mine.clashes, 0);
        EXPECT_GT(mine.entered, 0);
    }
}

TEST_F(Sharing, ClosedFileIsFreeWhileAnotherThreadStartsProcesses) {
    std::atomic<bool> done{false};
    std::thread starter([&] {
        const DWORD start = GetTickCount();
        while (GetTickCount() - start < 500)
            RunChild({L"delete", m_folder.Path(L"none")});
        done = true;
    });
    int opened = 0;
    int refused = 0;
    while (!done) {
        const HANDLE file = Open(readWrite, 0);
        if (file == INVALID_HANDLE_VALUE || !LockFile(file, 0, 0, 10, 0))
            ++refused;
        CloseHandle(file);
        ++opened;
    }
    starter.join();
    EXPECT_GT(opened, 0);
    EXPECT_EQ(refused, 0);
}

TEST_F(Sharing, FileHeldByAnotherProcess) {
    {
        const WaitingChild child({L"open", m_path, std::to_wstring(DWORD{GENERIC_READ}), L"1", L"3"});
        ASSERT_EQ(child.Result(), 0);
        EXPECT_EQ(Open(GENERIC_WRITE, shareAll), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
        EXPECT_FALSE(DeleteFileW(m_path.c_str()));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
        const HANDLE reader = Open(GENERIC_READ, FILE_SHARE_READ);
        EXPECT_NE(reader, INVALID_HANDLE_VALUE);
        CloseHandle(reader);
    }
    const HANDLE writer = Open(GENERIC_WRITE, 0);
    EXPECT_NE(writer, INVALID_HANDLE_VALUE);
    CloseHandle(writer);
}

TEST_F(Sharing, MappingAloneHoldsNobodyOff) {
    const HANDLE file = Open(GENERIC_READ, 0);
    const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    ASSERT_NE(mapping, nullptr);
    CloseHandle(file);
    EXPECT_EQ(Child(GENERIC_READ, 0), 0);
    const HANDLE again = Open(GENERIC_READ, 0);
    EXPECT_NE(again, INVALID_HANDLE_VALUE);
    CloseHandle(again);
    CloseHandle(mapping);
}

TEST_F(Sharing, RangeLockedByAnotherProcess) {
    const HANDLE file = Open(readWrite, shareAll);
    const WaitingChild child(
        {L"open", m_path, std::to_wstring(DWORD{readWrite}), L"7", L"3", L"lock", L"0", L"10"});
    ASSERT_EQ(child.Result(), 0);
    EXPECT_FALSE(LockFile(file, 9, 0, 1, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_LOCK_VIOLATION});
    EXPECT_TRUE(LockFile(file, 10, 0, 1, 0));
    CloseHandle(file);
}
