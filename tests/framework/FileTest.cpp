// CFile and CMemFile.
#include "alloc_failure.h"
#include "temp_folder.h"

#include <afx.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class CFileTest : public testing::Test {
protected:
    CString Path(LPCWSTR name) const { return CString(m_folder.Path(name).c_str()); }

    void Create(LPCWSTR name, const std::string& bytes) {
        CFile file(Path(name), CFile::modeCreate | CFile::modeWrite);
        file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
        file.Close();
    }
    std::string Contents(LPCWSTR name) {
        CFile file(Path(name), CFile::modeRead | CFile::shareDenyNone);
        std::string bytes(static_cast<size_t>(file.GetLength()), '\0');
        EXPECT_EQ(bytes.size(), file.Read(bytes.data(), static_cast<UINT>(bytes.size())));
        return bytes;
    }
    // The cause with which an operation fails; CFileException::none when it does not.
    template <class Operation>
    static int Cause(Operation operation) {
        try {
            operation();
        } catch (CFileException* e) {
            int cause = e->m_cause;
            e->Delete();
            return cause;
        }
        return CFileException::none;
    }

    TempFolder m_folder;
};

typedef CFileTest CFileExceptionTest;

} // namespace

TEST_F(CFileTest, ExampleUsage) {
    try {
        CFile file(Path(L"a.dat"), CFile::modeCreate | CFile::modeReadWrite);
        file.Write("0123456789", 10);
        file.Seek(-4, CFile::end);
        char bytes[16] = {};
        EXPECT_EQ(4u, file.Read(bytes, 16));
        EXPECT_STREQ("6789", bytes);
        EXPECT_EQ(10u, file.GetPosition());
        file.Close();
    } catch (CFileException* e) {
        e->ReportError();
        e->Delete();
    }
}

// ---- Opening

TEST_F(CFileTest, OpenFlagsHaveTheirNumbers) {
    EXPECT_EQ(0, CFile::modeRead);
    EXPECT_EQ(1, CFile::modeWrite);
    EXPECT_EQ(2, CFile::modeReadWrite);
    EXPECT_EQ(0x10, CFile::shareExclusive);
    EXPECT_EQ(0x20, CFile::shareDenyWrite);
    EXPECT_EQ(0x30, CFile::shareDenyRead);
    EXPECT_EQ(0x40, CFile::shareDenyNone);
    EXPECT_EQ(0x80, CFile::modeNoInherit);
    EXPECT_EQ(0x1000, CFile::modeCreate);
    EXPECT_EQ(0x2000, CFile::modeNoTruncate);
    EXPECT_EQ(0x4000, CFile::typeText);
    EXPECT_EQ(0x8000, CFile::typeBinary);
}

TEST_F(CFileTest, CreatingEmptiesUnlessToldNotTo) {
    Create(L"a", "old");
    CFile file;
    ASSERT_TRUE(file.Open(Path(L"a"), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite));
    EXPECT_EQ(3u, file.GetLength());
    file.Close();
    ASSERT_TRUE(file.Open(Path(L"a"), CFile::modeCreate | CFile::modeWrite | CFile::typeBinary));
    EXPECT_EQ(0u, file.GetLength());
    file.Close();
    ASSERT_TRUE(file.Open(Path(L"new"), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite));
}

TEST_F(CFileTest, MissingFileIsReported) {
    CFile file;
    CFileException e;
    CString path = Path(L"missing");
    EXPECT_FALSE(file.Open(path, CFile::modeRead, &e));
    EXPECT_EQ(CFileException::fileNotFound, e.m_cause);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, e.m_lOsError);
    EXPECT_TRUE(e.m_strFileName == path);
    EXPECT_EQ(CFile::hFileNull, file.m_hFile);
    EXPECT_FALSE(file.Open(path, CFile::modeRead));

    try {
        CFile thrown(path, CFile::modeRead);
        ADD_FAILURE();
    } catch (CFileException* thrown) {
        EXPECT_EQ(CFileException::fileNotFound, thrown->m_cause);
        EXPECT_EQ(2, thrown->m_lOsError);
        EXPECT_TRUE(thrown->m_strFileName == path);
        thrown->Delete();
    }
}

TEST_F(CFileTest, MissingFolderAndNullNameAreBadPaths) {
    CFile file;
    CFileException e;
    EXPECT_FALSE(file.Open(Path(L"no\\such\\folder"), CFile::modeCreate | CFile::modeWrite, &e));
    EXPECT_EQ(CFileException::badPath, e.m_cause);
    EXPECT_EQ(ERROR_PATH_NOT_FOUND, e.m_lOsError);
    EXPECT_FALSE(file.Open(nullptr, CFile::modeRead, &e));
    EXPECT_EQ(CFileException::badPath, e.m_cause);
}

TEST_F(CFileTest, FolderIsNoFile) {
    CFile file;
    CFileException e;
    EXPECT_FALSE(file.Open(Path(L"."), CFile::modeRead, &e));
    EXPECT_EQ(CFileException::accessDenied, e.m_cause);
}

TEST_F(CFileTest, SharingIsHonoured) {
    Create(L"a", "x");
    CFile first(Path(L"a"), CFile::modeRead | CFile::shareDenyWrite);
    CFile second;
    CFileException e;
    EXPECT_FALSE(second.Open(Path(L"a"), CFile::modeWrite | CFile::shareDenyNone, &e));
    EXPECT_EQ(CFileException::sharingViolation, e.m_cause);
    EXPECT_FALSE(second.Open(Path(L"a"), CFile::modeRead | CFile::shareExclusive, &e));
    EXPECT_FALSE(second.Open(Path(L"a"), CFile::modeRead, &e)); // no sharing given: exclusive
    EXPECT_FALSE(second.Open(Path(L"a"), CFile::modeRead | CFile::shareDenyRead, &e));
    EXPECT_TRUE(second.Open(Path(L"a"), CFile::modeRead | CFile::shareDenyWrite, &e));
    EXPECT_TRUE(second.Open(Path(L"a"), CFile::modeRead | CFile::shareDenyNone, &e));
}

TEST_F(CFileTest, ReopeningClosesTheFirstFile) {
    Create(L"a", "x");
    Create(L"b", "y");
    CFile file(Path(L"a"), CFile::modeRead | CFile::shareExclusive);
    ASSERT_TRUE(file.Open(Path(L"b"), CFile::modeRead | CFile::shareExclusive));
    EXPECT_NO_THROW(CFile::Remove(Path(L"a")));
}

TEST_F(CFileTest, DestructorClosesWhatItOpened) {
    Create(L"a", "x");
    { CFile file(Path(L"a"), CFile::modeRead | CFile::shareExclusive); }
    CFile again(Path(L"a"), CFile::modeRead | CFile::shareExclusive);
    HANDLE handle = again.m_hFile;
    { CFile attached(handle); }
    char byte = 0;
    EXPECT_EQ(1u, again.Read(&byte, 1)); // an attached handle is not the object's to close
}

// ---- Reading and writing

TEST_F(CFileTest, ReadsToTheEnd) {
    Create(L"a", "0123456789");
    CFile file(Path(L"a"), CFile::modeRead);
    char bytes[8];
    EXPECT_EQ(8u, file.Read(bytes, 8));
    EXPECT_EQ(2u, file.Read(bytes, 8));
    EXPECT_EQ(0u, file.Read(bytes, 8));
    EXPECT_EQ(0u, file.Read(nullptr, 0));
}

TEST_F(CFileTest, SeeksFromEverywhere) {
    Create(L"a", "0123456789");
    CFile file(Path(L"a"), CFile::modeReadWrite);
    EXPECT_EQ(4u, file.Seek(4, CFile::begin));
    EXPECT_EQ(6u, file.Seek(2, CFile::current));
    EXPECT_EQ(7u, file.Seek(-3, CFile::end));
    EXPECT_EQ(10u, file.SeekToEnd());
    file.SeekToBegin();
    EXPECT_EQ(0u, file.GetPosition());
    EXPECT_EQ(5000000000u, file.Seek(5000000000, CFile::begin));
    EXPECT_EQ(5000000000u, file.GetPosition());
    EXPECT_EQ(10u, file.GetLength());
    EXPECT_EQ(CFileException::badSeek, Cause([&] { file.Seek(-1, CFile::begin); }));
    EXPECT_EQ(CFileException::genericException, Cause([&] { file.Seek(0, 99); }));
    EXPECT_EQ(5000000000u, file.GetPosition());
}

TEST_F(CFileTest, WritingPastTheEndLeavesZeros) {
    CFile file(Path(L"a"), CFile::modeCreate | CFile::modeReadWrite);
    file.Seek(3, CFile::begin);
    file.Write("x", 1);
    file.Close();
    EXPECT_EQ(std::string("\0\0\0x", 4), Contents(L"a"));
}

TEST_F(CFileTest, LengthIsSetAndThePositionFollows) {
    Create(L"a", "0123456789");
    CFile file(Path(L"a"), CFile::modeReadWrite);
    file.SetLength(4);
    EXPECT_EQ(4u, file.GetPosition());
    EXPECT_EQ(4u, file.GetLength());
    file.SetLength(6);
    file.Close();
    EXPECT_EQ(std::string("0123\0\0", 6), Contents(L"a"));
}

TEST_F(CFileTest, WrongAccessIsDenied) {
    Create(L"a", "x");
    CFile reader(Path(L"a"), CFile::modeRead);
    EXPECT_EQ(CFileException::accessDenied, Cause([&] { reader.Write("x", 1); }));
    EXPECT_NE(CFileException::none, Cause([&] { reader.SetLength(0); }));
    reader.Close();
    CFile writer(Path(L"a"), CFile::modeWrite);
    char byte;
    EXPECT_EQ(CFileException::accessDenied, Cause([&] { writer.Read(&byte, 1); }));
    writer.Flush();
}

TEST_F(CFileTest, OperationsWithoutAFileThrow) {
    CFile file;
    char byte;
    EXPECT_NE(CFileException::none, Cause([&] { file.Read(&byte, 1); }));
    EXPECT_NE(CFileException::none, Cause([&] { file.Write(&byte, 1); }));
    EXPECT_NE(CFileException::none, Cause([&] { file.GetLength(); }));
    EXPECT_NE(CFileException::none, Cause([&] { file.GetPosition(); }));
    EXPECT_NO_THROW(file.Flush());
    EXPECT_NO_THROW(file.Close());
    EXPECT_NO_THROW(file.Abort());
}

TEST_F(CFileTest, CloseForgetsTheFile) {
    CFile file(Path(L"a"), CFile::modeCreate | CFile::modeWrite);
    file.Close();
    EXPECT_EQ(CFile::hFileNull, file.m_hFile);
    EXPECT_TRUE(file.GetFilePath().IsEmpty());
    ASSERT_TRUE(file.Open(Path(L"a"), CFile::modeRead));
    file.Abort();
    EXPECT_EQ(CFile::hFileNull, file.m_hFile);
}

TEST_F(CFileTest, LocksKeepOthersOut) {
    Create(L"a", "0123456789");
    CFile first(Path(L"a"), CFile::modeReadWrite | CFile::shareDenyNone);
    CFile second(Path(L"a"), CFile::modeReadWrite | CFile::shareDenyNone);
    first.LockRange(2, 3);
    EXPECT_EQ(CFileException::lockViolation, Cause([&] { second.LockRange(4, 1); }));
    second.LockRange(5, 1);
    first.UnlockRange(2, 3);
    EXPECT_NO_THROW(second.LockRange(4, 1));
    EXPECT_NE(CFileException::none, Cause([&] { first.UnlockRange(2, 3); }));
}

TEST_F(CFileTest, DuplicateSharesThePosition) {
    Create(L"a", "0123456789");
    CFile file(Path(L"a"), CFile::modeRead);
    CFile* copy = file.Duplicate();
    char bytes[4];
    file.Read(bytes, 4);
    EXPECT_EQ(4u, copy->GetPosition());
    EXPECT_TRUE(copy->GetFileName() == L"a");
    file.Close();
    EXPECT_EQ(4u, copy->Read(bytes, 4));
    delete copy;
    EXPECT_NO_THROW(CFile::Remove(Path(L"a")));
    CFile none;
    EXPECT_NE(CFileException::none, Cause([&] { none.Duplicate(); }));
}

TEST_F(CFileTest, PlainFileHasNoBuffer) {
    CFile file(Path(L"a"), CFile::modeCreate | CFile::modeWrite);
    void* start = nullptr;
    void* end = nullptr;
    EXPECT_EQ(0u, file.GetBufferPtr(CFile::bufferCheck));
    EXPECT_EQ(0u, file.GetBufferPtr(CFile::bufferRead, 1, &start, &end));
}

// ---- Names and status

TEST_F(CFileTest, NamesArePartsOfTheFullPath) {
    CFile file(Path(L"report.old.txt"), CFile::modeCreate | CFile::modeWrite);
    EXPECT_TRUE(file.GetFileName() == L"report.old.txt");
    EXPECT_TRUE(file.GetFileTitle() == L"report.old");
    EXPECT_TRUE(file.GetFilePath().Right(15) == L"\\report.old.txt")
        << CStringA(file.GetFilePath()).GetString();
    file.SetFilePath(L"C:\\other\\.name");
    EXPECT_TRUE(file.GetFilePath() == L"C:\\other\\.name");
    EXPECT_TRUE(file.GetFileName() == L".name");
    EXPECT_TRUE(file.GetFileTitle() == L".name");
    EXPECT_THROW(file.SetFilePath(nullptr), CInvalidArgException*);
}

TEST_F(CFileTest, StatusTellsSizeTimesAndName) {
    Create(L"a", "12345");
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(Path(L"a"), status));
    EXPECT_EQ(5u, status.m_size);
    EXPECT_EQ(0u, status.m_attribute & (CFile::directory | CFile::readOnly));
    CTimeSpan age = CTime::GetCurrentTime() - status.m_mtime;
    EXPECT_LE(-2, age.GetTotalSeconds());
    EXPECT_GE(60, age.GetTotalSeconds());
    EXPECT_TRUE(CString(status.m_szFullName).Right(2) == L"\\a");

    CFile file(Path(L"a"), CFile::modeRead);
    CFileStatus open;
    ASSERT_TRUE(file.GetStatus(open));
    EXPECT_EQ(status.m_size, open.m_size);
    EXPECT_EQ(status.m_mtime, open.m_mtime);
    EXPECT_EQ(status.m_attribute, open.m_attribute);
    EXPECT_TRUE(CString(status.m_szFullName) == open.m_szFullName);

    EXPECT_TRUE(CFile::GetStatus(Path(L"."), status));
    EXPECT_NE(0u, status.m_attribute & CFile::directory);
}

TEST_F(CFileTest, StatusOfNothing) {
    CFileStatus status;
    EXPECT_FALSE(CFile::GetStatus(Path(L"missing"), status));
    EXPECT_FALSE(CFile::GetStatus(nullptr, status));
    CFile file;
    EXPECT_TRUE(file.GetStatus(status));
    EXPECT_EQ(0u, status.m_size);
    EXPECT_EQ(0, status.m_szFullName[0]);
}

TEST_F(CFileTest, StatusIsSet) {
    Create(L"a", "x");
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(Path(L"a"), status));
    status.m_mtime = CTime(1000000000);
    status.m_ctime = CTime();
    status.m_atime = CTime();
    status.m_attribute = CFile::readOnly | CFile::archive;
    CFile::SetStatus(Path(L"a"), status);
    CFileStatus now;
    ASSERT_TRUE(CFile::GetStatus(Path(L"a"), now));
    EXPECT_EQ(1000000000, now.m_mtime.GetTime());
    EXPECT_NE(0u, now.m_attribute & CFile::readOnly);
    // A read-only file is opened up first.
    status.m_mtime = CTime(1000000060);
    status.m_attribute = CFile::archive;
    CFile::SetStatus(Path(L"a"), status);
    ASSERT_TRUE(CFile::GetStatus(Path(L"a"), now));
    EXPECT_EQ(1000000060, now.m_mtime.GetTime());
    EXPECT_EQ(0u, now.m_attribute & CFile::readOnly);
    EXPECT_EQ(CFileException::fileNotFound, Cause([&] { CFile::SetStatus(Path(L"missing"), status); }));
}

TEST_F(CFileTest, RenamesAndRemoves) {
    Create(L"a", "x");
    CFile::Rename(Path(L"a"), Path(L"b"));
    EXPECT_EQ("x", Contents(L"b"));
    EXPECT_EQ(CFileException::fileNotFound, Cause([&] { CFile::Rename(Path(L"a"), Path(L"c")); }));
    Create(L"a", "y");
    EXPECT_EQ(CFileException::accessDenied, Cause([&] { CFile::Rename(Path(L"a"), Path(L"b")); }));
    CFile::Remove(Path(L"b"));
    EXPECT_EQ(CFileException::fileNotFound, Cause([&] { CFile::Remove(Path(L"b")); }));
}

TEST_F(CFileTest, ExhaustedMemoryWhileOpeningLeaksNothing) {
    Create(L"a", "x");
    CString path = Path(L"a");
    int failures = FailEachAllocation([&] {
        try {
            CFile file(path, CFile::modeRead | CFile::shareExclusive);
        } catch (CMemoryException* e) {
            e->Delete();
        } catch (CFileException* e) {
            e->Delete();
        }
    });
    EXPECT_LE(0, failures);
    CFile again(path, CFile::modeRead | CFile::shareExclusive);
}

// ---- CMemFile

TEST(CMemFileTest, ExampleUsage) {
    CMemFile file;
    file.Write("0123456789", 10);
    file.Seek(2, CFile::begin);
    file.Write("xy", 2);
    file.SeekToBegin();
    char bytes[16] = {};
    EXPECT_EQ(10u, file.Read(bytes, 16));
    EXPECT_STREQ("01xy456789", bytes);
}

TEST(CMemFileTest, GrowsAndGivesItsBlockAway) {
    CMemFile file(16);
    for (int i = 0; i < 1000; ++i) {
        file.Write("abcd", 4);
    }
    EXPECT_EQ(4000u, file.GetLength());
    BYTE* block = file.Detach();
    EXPECT_EQ(0, std::memcmp(block + 3996, "abcd", 4));
    std::free(block);
    EXPECT_EQ(0u, file.GetLength());
}

TEST(CMemFileTest, SkippedBytesAreZero) {
    CMemFile file;
    file.Seek(5, CFile::begin);
    EXPECT_EQ(0u, file.GetLength());
    file.Write("x", 1);
    file.SetLength(8);
    BYTE* block = file.Detach();
    EXPECT_EQ(0, std::memcmp(block, "\0\0\0\0\0x\0\0", 8));
    std::free(block);
}

TEST(CMemFileTest, CallersBlockDoesNotGrow) {
    BYTE block[4] = {'a', 'b', 'c', 'd'};
    CMemFile file(block, 4);
    EXPECT_EQ(4u, file.GetLength());
    char byte;
    file.Read(&byte, 1);
    EXPECT_EQ('a', byte);
    file.SeekToEnd();
    EXPECT_THROW(file.Write("e", 1), CMemoryException*);
    EXPECT_EQ(4u, file.GetLength());
}

TEST(CMemFileTest, BadSeeksAndUnsupportedOperationsThrow) {
    CMemFile file;
    try {
        file.Seek(-1, CFile::begin);
        ADD_FAILURE();
    } catch (CFileException* e) {
        EXPECT_EQ(CFileException::badSeek, e->m_cause);
        e->Delete();
    }
    EXPECT_THROW(file.LockRange(0, 1), CNotSupportedException*);
    EXPECT_THROW(file.Duplicate(), CNotSupportedException*);
    EXPECT_THROW(file.SetLength(~0ULL), CMemoryException*);
    char byte;
    EXPECT_EQ(0u, file.Read(&byte, 1));
    CFileStatus status;
    EXPECT_TRUE(file.GetStatus(status));
    file.Close();
}

TEST(CMemFileTest, BufferIsUsedInPlace) {
    CMemFile file;
    EXPECT_EQ(static_cast<UINT>(CFile::bufferDirect), file.GetBufferPtr(CFile::bufferCheck));
    void* start = nullptr;
    void* end = nullptr;
    EXPECT_EQ(4u, file.GetBufferPtr(CFile::bufferWrite, 4, &start, &end));
    std::memcpy(start, "abcd", 4);
    file.GetBufferPtr(CFile::bufferCommit, 4);
    EXPECT_EQ(4u, file.GetLength());
    file.SeekToBegin();
    EXPECT_EQ(4u, file.GetBufferPtr(CFile::bufferRead, 10, &start, &end));
    EXPECT_EQ(0, std::memcmp(start, "abcd", 4));
    EXPECT_EQ(4u, file.GetPosition());
}

TEST(CMemFileTest, ExhaustedMemoryLeavesTheContents) {
    int failures = FailEachAllocation([] {
        try {
            CMemFile file(8);
            file.Write("12345678", 8);
            try {
                file.Write("9", 1);
            } catch (CMemoryException* e) {
                EXPECT_EQ(8u, file.GetLength());
                e->Delete();
            }
        } catch (CMemoryException* e) {
            e->Delete();
        }
    });
    EXPECT_EQ(2, failures);
}
