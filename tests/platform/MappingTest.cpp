// File mappings and views.
#include "temp_folder.h"

#include <gtest/gtest.h>
#include <win32.h>

#include <cstring>
#include <string>

namespace {

class Mapping : public testing::Test {
protected:
    void TearDown() override {
        for (const void* view : m_views)
            UnmapViewOfFile(view);
        for (const HANDLE handle : m_handles)
            CloseHandle(handle);
    }

    std::string Pattern(std::size_t size) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i * 7 + i / 256);
        return bytes;
    }

    HANDLE File(const std::string& bytes, DWORD access = GENERIC_READ | GENERIC_WRITE) {
        m_folder.Write(L"file", bytes);
        return Keep(
            CreateFileW(m_folder.Path(L"file").c_str(), access, 7, nullptr, OPEN_EXISTING, 0, nullptr));
    }

    HANDLE Map(HANDLE file, DWORD protection, DWORD size = 0, const wchar_t* name = nullptr) {
        SetLastError(99);
        return Keep(CreateFileMappingW(file, nullptr, protection, 0, size, name));
    }

    char* View(HANDLE mapping, DWORD access, DWORD offset = 0, SIZE_T size = 0) {
        SetLastError(99);
        auto* view = static_cast<char*>(MapViewOfFile(mapping, access, 0, offset, size));
        if (view)
            m_views.push_back(view);
        return view;
    }

    DWORD ErrorOf(const void* result) {
        EXPECT_EQ(result, nullptr);
        return GetLastError();
    }

    TempFolder m_folder;
    std::vector<HANDLE> m_handles;
    std::vector<const void*> m_views;

private:
    HANDLE Keep(HANDLE handle) {
        if (handle && handle != INVALID_HANDLE_VALUE)
            m_handles.push_back(handle);
        return handle;
    }
};

} // namespace

TEST_F(Mapping, ExampleUsage) {
    const HANDLE file = CreateFileW(m_folder.Write(L"a", "hello").c_str(), GENERIC_READ, FILE_SHARE_READ,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    const auto* view = static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::string(view, 5), "hello");
    EXPECT_TRUE(UnmapViewOfFile(view));
    EXPECT_TRUE(CloseHandle(mapping));
    EXPECT_TRUE(CloseHandle(file));
}

TEST_F(Mapping, GranularityIs65536) {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    EXPECT_EQ(info.dwAllocationGranularity, 65536u);
    EXPECT_EQ(info.dwPageSize, 4096u);
    EXPECT_GE(info.dwNumberOfProcessors, 1u);
}

TEST_F(Mapping, ViewAtAnOffset) {
    const std::string bytes = Pattern(100000);
    const HANDLE mapping = Map(File(bytes), PAGE_READONLY);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    const char* view = View(mapping, FILE_MAP_READ, 65536);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::memcmp(view, bytes.data() + 65536, bytes.size() - 65536), 0);
}

TEST_F(Mapping, WritesReachTheFile) {
    const HANDLE file = File("hello world");
    char* view = View(Map(file, PAGE_READWRITE), FILE_MAP_WRITE);
    ASSERT_NE(view, nullptr);
    std::memcpy(view, "HELLO", 5);
    EXPECT_TRUE(FlushViewOfFile(view, 0));
    char bytes[5];
    DWORD count;
    EXPECT_TRUE(ReadFile(file, bytes, 5, &count, nullptr));
    EXPECT_EQ(std::string(bytes, 5), "HELLO");
}

TEST_F(Mapping, CopyViewIsPrivate) {
    const HANDLE file = File("hello");
    for (const DWORD protection : {PAGE_READONLY, PAGE_WRITECOPY, PAGE_READWRITE}) {
        char* view = View(Map(file, protection), FILE_MAP_COPY);
        ASSERT_NE(view, nullptr);
        view[0] = 'J';
    }
    EXPECT_EQ(m_folder.Read(L"file"), "hello");
}

TEST_F(Mapping, TwoViewsShowTheSameBytes) {
    const HANDLE mapping = Map(File(Pattern(10)), PAGE_READWRITE);
    char* first = View(mapping, FILE_MAP_WRITE);
    const char* second = View(mapping, FILE_MAP_READ);
    first[3] = 'x';
    EXPECT_EQ(second[3], 'x');
}

TEST_F(Mapping, ViewOutlivesItsHandles) {
    const HANDLE file = File("hello");
    const HANDLE mapping = Map(file, PAGE_READONLY);
    const char* view = View(mapping, FILE_MAP_READ);
    for (const HANDLE handle : m_handles)
        EXPECT_TRUE(CloseHandle(handle));
    m_handles.clear();
    EXPECT_EQ(std::string(view, 5), "hello");
}

TEST_F(Mapping, ReadWriteMappingGrowsTheFile) {
    const HANDLE file = File("hello");
    const HANDLE mapping = Map(file, PAGE_READWRITE, 70000);
    ASSERT_NE(mapping, nullptr);
    EXPECT_EQ(GetFileSize(file, nullptr), 70000u);
    const char* view = View(mapping, FILE_MAP_READ);
    EXPECT_EQ(std::string(view, 5), "hello");
    EXPECT_EQ(view[69999], 0);
}

TEST_F(Mapping, MappingSmallerThanTheFile) {
    const HANDLE mapping = Map(File(Pattern(100)), PAGE_READONLY, 10);
    EXPECT_NE(View(mapping, FILE_MAP_READ, 0, 10), nullptr);
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 0, 11)), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Mapping, MemoryIsMappedWithoutAFile) {
    const HANDLE mapping = Map(INVALID_HANDLE_VALUE, PAGE_READWRITE, 1000);
    char* view = View(mapping, FILE_MAP_WRITE);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view[999], 0);
    view[999] = 'x';
    EXPECT_EQ(View(mapping, FILE_MAP_READ)[999], 'x');
}

TEST_F(Mapping, NameOpensTheSameMapping) {
    const std::wstring name = L"mvlib62-map-" + std::to_wstring(GetCurrentProcessId());
    const HANDLE first = Map(INVALID_HANDLE_VALUE, PAGE_READWRITE, 1000, name.c_str());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    const HANDLE second = Map(INVALID_HANDLE_VALUE, PAGE_READWRITE, 5000, name.c_str());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    View(first, FILE_MAP_WRITE)[5] = 'x';
    EXPECT_EQ(View(second, FILE_MAP_READ)[5], 'x');
    const HANDLE third = OpenFileMappingW(FILE_MAP_READ, FALSE, name.c_str());
    ASSERT_NE(third, nullptr);
    m_handles.push_back(third);
    EXPECT_EQ(View(third, FILE_MAP_READ)[5], 'x');
    EXPECT_EQ(ErrorOf(OpenFileMappingW(FILE_MAP_READ, FALSE, (name + L"x").c_str())),
              DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(ErrorOf(OpenFileMappingW(FILE_MAP_READ, FALSE, nullptr)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str())), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(Mapping, AnyAddressOfAViewEndsIt) {
    const HANDLE mapping = Map(File(Pattern(10)), PAGE_READONLY);
    const auto* view = static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    EXPECT_TRUE(UnmapViewOfFile(view + 5));
    EXPECT_FALSE(UnmapViewOfFile(view));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_ADDRESS});
}

TEST_F(Mapping, MappedFileCannotBeCut) {
    const HANDLE file = File(Pattern(100));
    Map(file, PAGE_READONLY);
    SetFilePointer(file, 50, nullptr, FILE_BEGIN);
    EXPECT_FALSE(SetEndOfFile(file));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_USER_MAPPED_FILE});
    const std::wstring path = m_folder.Path(L"file");
    EXPECT_EQ(CreateFileW(path.c_str(), GENERIC_WRITE, 7, nullptr, CREATE_ALWAYS, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_USER_MAPPED_FILE});
}

// Error results of CreateFileMappingW

TEST_F(Mapping, EmptyFileWithoutSizeGives1006) {
    const HANDLE file = File("");
    EXPECT_EQ(ErrorOf(Map(file, PAGE_READONLY)), DWORD{ERROR_FILE_INVALID});
    EXPECT_EQ(ErrorOf(Map(file, PAGE_READWRITE)), DWORD{ERROR_FILE_INVALID});
    EXPECT_NE(Map(file, PAGE_READWRITE, 10), nullptr);
}

TEST_F(Mapping, ReadOnlyMappingLargerThanTheFileGives8) {
    const HANDLE file = File("hello");
    EXPECT_EQ(ErrorOf(Map(file, PAGE_READONLY, 6)), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(ErrorOf(Map(file, PAGE_WRITECOPY, 6)), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(GetFileSize(file, nullptr), 5u);
}

TEST_F(Mapping, SenselessProtectionGives87) {
    const HANDLE file = File("hello");
    EXPECT_EQ(ErrorOf(Map(file, PAGE_NOACCESS)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(Map(file, 0)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(Map(INVALID_HANDLE_VALUE, PAGE_READWRITE)), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(Mapping, MissingRightsGive5) {
    const HANDLE reader = File("hello", GENERIC_READ);
    EXPECT_EQ(ErrorOf(Map(reader, PAGE_READWRITE)), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_NE(Map(reader, PAGE_WRITECOPY), nullptr);
    CloseHandle(m_handles.back());
    m_handles.pop_back();
    const HANDLE writer = File("hello", GENERIC_WRITE);
    EXPECT_EQ(ErrorOf(Map(writer, PAGE_READONLY)), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ErrorOf(Map(writer, PAGE_READWRITE)), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Mapping, WrongHandleGives6) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_handles.push_back(event);
    EXPECT_EQ(ErrorOf(Map(event, PAGE_READONLY)), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(View(nullptr, FILE_MAP_READ)), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ErrorOf(View(File("hello"), FILE_MAP_READ)), DWORD{ERROR_INVALID_HANDLE});
}

// Error results of MapViewOfFile

TEST_F(Mapping, UnalignedOffsetGives1132) {
    const HANDLE mapping = Map(File(Pattern(100000)), PAGE_READONLY);
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 100)), DWORD{ERROR_MAPPED_ALIGNMENT});
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 4096)), DWORD{ERROR_MAPPED_ALIGNMENT});
}

TEST_F(Mapping, ViewPastTheEndGives5) {
    const HANDLE mapping = Map(File(Pattern(100000)), PAGE_READONLY);
    EXPECT_NE(View(mapping, FILE_MAP_READ, 65536, 34464), nullptr);
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 65536, 34465)), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 0, 200000)), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Mapping, OffsetBeyondGives87) {
    const HANDLE mapping = Map(File(Pattern(65536)), PAGE_READONLY);
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 65536)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 131072)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_READ, 131072, 10)), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(MapViewOfFile(mapping, FILE_MAP_READ, 1, 0, 0), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(Mapping, WriteViewOfAReadOnlyMappingGives5) {
    const HANDLE file = File("hello");
    for (const DWORD protection : {PAGE_READONLY, PAGE_WRITECOPY}) {
        const HANDLE mapping = Map(file, protection);
        EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_WRITE)), DWORD{ERROR_ACCESS_DENIED});
        EXPECT_EQ(ErrorOf(View(mapping, FILE_MAP_ALL_ACCESS)), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_NE(View(Map(file, PAGE_READWRITE), FILE_MAP_ALL_ACCESS), nullptr);
}

TEST_F(Mapping, UnmappingNothingGives487) {
    EXPECT_FALSE(UnmapViewOfFile(nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_ADDRESS});
    EXPECT_FALSE(FlushViewOfFile(nullptr, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}
