// What the native target makes of the version of the running system.
#include "version_record.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>

TEST(COSVersionInfoPosixTest, NameIsTheKernels) {
    utsname names = {};
    ASSERT_EQ(uname(&names), 0);
    const CString expected = CString(L"Linux ") + CString(names.release);
    EXPECT_STREQ(AfxGetOSVersionInfo()->GetNom(), expected);
    EXPECT_EQ(AfxGetOSVersionInfo()->EsWindowsNT(), 0);
    EXPECT_EQ(AfxGetOSVersionInfo()->EsWindows9x(), 0);
}

TEST(COSVersionInfoPosixTest, OtherSizesOfARecordAreRefused) {
    OSVERSIONINFOEXW record = {};
    auto* plain = reinterpret_cast<OSVERSIONINFOW*>(&record);
    SetLastError(0);
    EXPECT_FALSE(GetVersionExW(nullptr));
    EXPECT_EQ(GetLastError(), 122u);
    for (DWORD size : {DWORD{0}, DWORD{sizeof(OSVERSIONINFOW) - 1}, DWORD{sizeof(OSVERSIONINFOEXW) + 4}}) {
        record.dwOSVersionInfoSize = size;
        SetLastError(0);
        EXPECT_FALSE(GetVersionExW(plain));
        EXPECT_EQ(GetLastError(), 122u);
        EXPECT_EQ(record.dwMajorVersion, 0u);
    }
    record.dwOSVersionInfoSize = sizeof(OSVERSIONINFOW);
    record.wProductType = 77;
    EXPECT_TRUE(GetVersionExW(plain));
    EXPECT_GT(record.dwMajorVersion, 2u);
    EXPECT_EQ(record.wProductType, 77) << "behind the plain record";
}
