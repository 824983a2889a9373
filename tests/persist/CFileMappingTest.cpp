#include "CFileMapping.h"

#include "alloc_failure.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

constexpr DWORD GRANULARITY = 65536;

std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

class CFileMappingTest : public testing::Test {
protected:
    void* Open(const std::string& bytes, unsigned int mode = CFile::modeReadWrite) {
        m_file.reset();
        const std::wstring path = m_folder.Write(L"file.bin", bytes);
        m_file = std::make_unique<CFile>(path.c_str(), mode | CFile::shareDenyNone);
        return m_file->m_hFile;
    }
    std::string OnDisk() { return m_folder.Read(L"file.bin"); }

    TempFolder m_folder;
    std::unique_ptr<CFile> m_file;
};

} // namespace

TEST_F(CFileMappingTest, ExampleUsage) {
    const std::string bytes = Pattern(100000);
    CFileMapping mapping(Open(bytes, CFile::modeRead));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    ASSERT_TRUE(view.Open(70000, 16, FILE_MAP_READ));
    EXPECT_EQ(std::memcmp(view.m_pDades, bytes.data() + 70000, 16), 0);
    EXPECT_TRUE(view.Close());
    EXPECT_TRUE(mapping.Close());
}

TEST_F(CFileMappingTest, AreObjectsOfTheirOwnRuntimeClasses) {
    CFileMapping mapping(nullptr);
    CMapViewOfFile view(&mapping);
    EXPECT_STREQ(mapping.GetRuntimeClass()->m_lpszClassName, "CFileMapping");
    EXPECT_STREQ(view.GetRuntimeClass()->m_lpszClassName, "CMapViewOfFile");
    EXPECT_TRUE(mapping.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_TRUE(view.IsKindOf(RUNTIME_CLASS(CObject)));
}

TEST_F(CFileMappingTest, NewObjectsAreClosed) {
    void* handle = Open("abc");
    CFileMapping mapping(handle);
    EXPECT_EQ(mapping.m_hFile, handle);
    EXPECT_EQ(mapping.m_dwGranularitat, GRANULARITY);
    EXPECT_EQ(mapping.m_dwProtect, 2u);
    EXPECT_EQ(mapping.m_qwMida, 0u);
    EXPECT_TRUE(mapping.m_strNom.IsEmpty());
    EXPECT_EQ(mapping.m_hMapping, nullptr);
    EXPECT_EQ(mapping.Close(), 1);

    CMapViewOfFile view(&mapping);
    EXPECT_EQ(view.m_pMapping, &mapping);
    EXPECT_EQ(view.m_pDades, nullptr);
    EXPECT_EQ(view.m_dwMida, 0u);
    EXPECT_EQ(view.m_qwOffset, 0u);
    EXPECT_EQ(view.m_dwAccess, 0u);
    EXPECT_EQ(view.m_pVista, nullptr);
    EXPECT_EQ(view.m_qwOffsetVista, 0u);
    EXPECT_EQ(view.m_dwMidaVista, 0u);
    EXPECT_EQ(view.Close(), 1);
}

TEST_F(CFileMappingTest, ViewStartsAtTheGranularityBelowTheOffset) {
    const std::string bytes = Pattern(200000);
    CFileMapping mapping(Open(bytes));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    ASSERT_TRUE(view.Open(70000, 1000, FILE_MAP_READ));
    EXPECT_EQ(view.m_qwOffset, 70000u);
    EXPECT_EQ(view.m_dwMida, 1000u);
    EXPECT_EQ(view.m_dwAccess, static_cast<unsigned long>(FILE_MAP_READ));
    EXPECT_EQ(view.m_qwOffsetVista, 65536u);
    EXPECT_EQ(view.m_dwMidaVista, 5464u);
    EXPECT_EQ(view.m_pDades - static_cast<unsigned char*>(view.m_pVista), 4464);
    EXPECT_EQ(std::memcmp(view.m_pDades, bytes.data() + 70000, 1000), 0);
}

TEST_F(CFileMappingTest, ViewAtTheGranularityNeedsNoShift) {
    const std::string bytes = Pattern(200000);
    CFileMapping mapping(Open(bytes));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    for (unsigned long long offset : {0ull, 65536ull, 131072ull}) {
        ASSERT_TRUE(view.Open(offset, 100, FILE_MAP_READ)); // closes the view before
        EXPECT_EQ(view.m_qwOffsetVista, offset);
        EXPECT_EQ(view.m_pDades, view.m_pVista);
        EXPECT_EQ(std::memcmp(view.m_pDades, bytes.data() + offset, 100), 0);
    }
}

TEST_F(CFileMappingTest, ViewOfNoSizeIsTheRest) {
    const std::string bytes = Pattern(100000);
    CFileMapping mapping(Open(bytes));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    ASSERT_TRUE(view.Open(65536, 0, FILE_MAP_READ));
    EXPECT_EQ(view.m_dwMidaVista, 0u);
    EXPECT_EQ(std::memcmp(view.m_pDades, bytes.data() + 65536, bytes.size() - 65536), 0);
}

TEST_F(CFileMappingTest, StoresThroughAViewReachTheFile) {
    CFileMapping mapping(Open("0123456789"));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READWRITE, 0, nullptr));
    ASSERT_TRUE(view.Open(3, 4, FILE_MAP_WRITE));
    std::memcpy(view.m_pDades, "abcd", 4);
    EXPECT_TRUE(view.Close());
    EXPECT_TRUE(mapping.Close());
    EXPECT_EQ(OnDisk(), "012abcd789");
}

TEST_F(CFileMappingTest, StoresThroughACopyDoNot) {
    CFileMapping mapping(Open("0123456789"));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_WRITECOPY, 0, nullptr));
    ASSERT_TRUE(view.Open(0, 4, FILE_MAP_COPY));
    std::memcpy(view.m_pDades, "abcd", 4);
    EXPECT_EQ(std::memcmp(view.m_pDades, "abcd", 4), 0);
    EXPECT_TRUE(view.Close());
    EXPECT_EQ(OnDisk(), "0123456789");
}

TEST_F(CFileMappingTest, LargerMappingMakesTheFileLonger) {
    CFileMapping mapping(Open("abc"));
    ASSERT_TRUE(mapping.Open(PAGE_READWRITE, 5000, nullptr));
    EXPECT_TRUE(mapping.Close());
    EXPECT_EQ(OnDisk(), "abc" + std::string(4997, '\0'));
}

TEST_F(CFileMappingTest, OpenRecordsItsArguments) {
    CFileMapping mapping(Open("abc"));
    ASSERT_TRUE(mapping.Open(PAGE_READWRITE, 100, L"mvlib62 test mapping"));
    EXPECT_EQ(mapping.m_dwProtect, static_cast<unsigned long>(PAGE_READWRITE));
    EXPECT_EQ(mapping.m_qwMida, 100u);
    EXPECT_STREQ(mapping.m_strNom, L"mvlib62 test mapping");
    EXPECT_NE(mapping.m_hMapping, nullptr);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr)); // closes the mapping before
    EXPECT_EQ(mapping.m_dwProtect, static_cast<unsigned long>(PAGE_READONLY));
    EXPECT_EQ(mapping.m_qwMida, 0u);
    EXPECT_TRUE(mapping.m_strNom.IsEmpty());
}

TEST_F(CFileMappingTest, SameNameOpensTheSameMapping) {
    void* handle = Open("0123456789");
    CFileMapping first(handle), second(handle);
    ASSERT_TRUE(first.Open(PAGE_READWRITE, 0, L"mvlib62 shared mapping"));
    ASSERT_TRUE(second.Open(PAGE_READWRITE, 0, L"mvlib62 shared mapping"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    CMapViewOfFile writer(&first), reader(&second);
    ASSERT_TRUE(writer.Open(0, 10, FILE_MAP_WRITE));
    ASSERT_TRUE(reader.Open(0, 10, FILE_MAP_READ));
    writer.m_pDades[4] = 'x';
    EXPECT_EQ(reader.m_pDades[4], 'x');
}

TEST_F(CFileMappingTest, MappingOfNoFileIsMemory) {
    CFileMapping mapping(CFile::hFileNull);
    EXPECT_EQ(mapping.Open(PAGE_READWRITE, 0, nullptr), 0) << "there is no file to take the size from";
    EXPECT_EQ(GetLastError(), 87u);
    ASSERT_TRUE(mapping.Open(PAGE_READWRITE, 100000, nullptr));
    CMapViewOfFile writer(&mapping), reader(&mapping);
    ASSERT_TRUE(writer.Open(70000, 10, FILE_MAP_WRITE));
    ASSERT_TRUE(reader.Open(70000, 10, FILE_MAP_READ));
    EXPECT_EQ(reader.m_pDades[9], 0);
    writer.m_pDades[9] = 'x';
    EXPECT_EQ(reader.m_pDades[9], 'x');
}

TEST_F(CFileMappingTest, ViewOutlivesItsMappingsHandle) {
    const std::string bytes = Pattern(1000);
    CFileMapping mapping(Open(bytes));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    ASSERT_TRUE(view.Open(100, 10, FILE_MAP_READ));
    EXPECT_TRUE(mapping.Close()); // the wrong order: the system keeps what the view shows
    EXPECT_EQ(std::memcmp(view.m_pDades, bytes.data() + 100, 10), 0);
    EXPECT_TRUE(view.Close());
}

TEST_F(CFileMappingTest, DestructorsCloseWhatIsOpen) {
    void* handle = Open("0123456789");
    const wchar_t* name = L"mvlib62 mapping that goes";
    {
        CFileMapping mapping(handle);
        ASSERT_TRUE(mapping.Open(PAGE_READWRITE, 0, name));
        CMapViewOfFile view(&mapping);
        ASSERT_TRUE(view.Open(0, 10, FILE_MAP_READ));
    }
    CFileMapping again(handle);
    SetLastError(0);
    ASSERT_TRUE(again.Open(PAGE_READWRITE, 0, name));
    EXPECT_NE(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
}

// ---- Error results

TEST_F(CFileMappingTest, EmptyFileHasNoMapping) {
    CFileMapping mapping(Open(""));
    EXPECT_EQ(mapping.Open(PAGE_READWRITE, 0, nullptr), 0);
    EXPECT_EQ(GetLastError(), 1006u);
    EXPECT_EQ(mapping.m_hMapping, nullptr);
}

TEST_F(CFileMappingTest, FailedOpenRecordsNothing) {
    CFileMapping mapping(Open("abc"));
    ASSERT_TRUE(mapping.Open(PAGE_READWRITE, 0, L"mvlib62 recorded"));
    EXPECT_EQ(mapping.Open(PAGE_READONLY, 1000, nullptr), 0); // larger than the file
    EXPECT_EQ(GetLastError(), 8u);
    EXPECT_EQ(mapping.m_hMapping, nullptr); // the old one is closed
    EXPECT_EQ(mapping.m_dwProtect, static_cast<unsigned long>(PAGE_READWRITE));
    EXPECT_STREQ(mapping.m_strNom, L"mvlib62 recorded");
}

TEST_F(CFileMappingTest, OpenWithoutMemoryAnswersZeroAndRecordsNothing) {
    CFileMapping mapping(Open("abc"));
    int refused = 0;
    const int failures = FailEachAllocation([&] {
        if (mapping.Open(PAGE_READONLY, 0, L"mvlib62 a name that is long enough to need memory") == 0) {
            ++refused;
            EXPECT_EQ(GetLastError(), 8u);
            EXPECT_EQ(mapping.m_hMapping, nullptr);
            EXPECT_EQ(mapping.m_strNom, L"");
        }
    });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(refused, failures);
    EXPECT_NE(mapping.m_hMapping, nullptr);
}

TEST_F(CFileMappingTest, BadProtectionIsRefused) {
    CFileMapping mapping(Open("abc"));
    EXPECT_EQ(mapping.Open(PAGE_NOACCESS, 0, nullptr), 0);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(CFileMappingTest, MappingThatDoesNotCloseIsKept) {
    CFileMapping mapping(Open("abc"));
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    void* handle = mapping.m_hMapping;
    CloseHandle(handle); // behind the object's back
    EXPECT_EQ(mapping.Close(), 0);
    EXPECT_EQ(mapping.m_hMapping, handle);
    EXPECT_EQ(mapping.Open(PAGE_READONLY, 0, nullptr), 0);
    EXPECT_EQ(mapping.m_hMapping, handle);
    mapping.m_hMapping = nullptr;
}

TEST_F(CFileMappingTest, ViewPastTheEndFails) {
    CFileMapping mapping(Open(Pattern(100000)));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    EXPECT_EQ(view.Open(70000, 200000, FILE_MAP_READ), 0);
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_EQ(view.m_pVista, nullptr);
    EXPECT_EQ(view.m_pDades, nullptr);
}

TEST_F(CFileMappingTest, WritableViewOfAReadOnlyMappingFails) {
    CFileMapping mapping(Open("abc"));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    EXPECT_EQ(view.Open(0, 3, FILE_MAP_WRITE), 0);
    EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(CFileMappingTest, FailedOpenOfAViewClosesTheViewBefore) {
    CFileMapping mapping(Open(Pattern(1000)));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    ASSERT_TRUE(view.Open(10, 20, FILE_MAP_READ));
    EXPECT_EQ(view.Open(0, 5000000, FILE_MAP_READ), 0);
    EXPECT_EQ(view.m_pVista, nullptr);
    EXPECT_EQ(view.m_pDades, nullptr);
    EXPECT_EQ(view.m_qwOffset, 0u);
    EXPECT_EQ(view.m_dwMida, 0u);
}

TEST_F(CFileMappingTest, SizeThatOverflowsFails) {
    CFileMapping mapping(Open(Pattern(100000)));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    EXPECT_EQ(view.Open(70000, static_cast<unsigned long>(-1) - 100, FILE_MAP_READ), 0);
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(view.Open(0xFFFFFFFFFFFFFFFFull, 10, FILE_MAP_READ), 0);
    EXPECT_EQ(view.m_pVista, nullptr);
}

TEST_F(CFileMappingTest, ViewOfNoMappingFails) {
    CMapViewOfFile none(nullptr);
    EXPECT_EQ(none.Open(0, 10, FILE_MAP_READ), 0);
    EXPECT_EQ(GetLastError(), 6u);
    CFileMapping closed(Open("abc"));
    CMapViewOfFile view(&closed);
    EXPECT_EQ(view.Open(0, 3, FILE_MAP_READ), 0);
    EXPECT_EQ(GetLastError(), 6u);
}

TEST_F(CFileMappingTest, ViewThatDoesNotUnmapIsKept) {
    CFileMapping mapping(Open(Pattern(1000)));
    CMapViewOfFile view(&mapping);
    ASSERT_TRUE(mapping.Open(PAGE_READONLY, 0, nullptr));
    ASSERT_TRUE(view.Open(10, 20, FILE_MAP_READ));
    void* base = view.m_pVista;
    UnmapViewOfFile(base); // behind the object's back
    EXPECT_EQ(view.Close(), 0);
    EXPECT_EQ(view.m_pVista, base);
    EXPECT_EQ(view.m_dwMida, 20u);
    EXPECT_EQ(view.Open(0, 10, FILE_MAP_READ), 0);
    view.m_pVista = nullptr;
}
