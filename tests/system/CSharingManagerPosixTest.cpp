// Without network shares and access lists everything fails, each in its way.
#include "SharingInside.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

TEST(CSharingManagerTest, FolderCannotBeShared) {
    TempFolder folder;
    const std::wstring path = folder.Path(L"");
    EXPECT_EQ(AfxShareFolder(path.c_str()), -1);
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 50);
    EXPECT_EQ(CSharingManager::_ShareFolder(path.c_str()), -1);
    EXPECT_EQ(CSharingManager::_UnShareFolder(path.c_str()), 50);
}

TEST(CSharingManagerTest, MissingFolderIsNoFolder) {
    TempFolder folder;
    EXPECT_EQ(AfxShareFolder(folder.Path(L"missing").c_str()), -3);
    EXPECT_EQ(AfxUnShareFolder(folder.Path(L"missing").c_str()), -3);
    EXPECT_EQ(AfxShareFolder(nullptr), -3);
    EXPECT_EQ(AfxUnShareFolder(nullptr), -3);
}

TEST(CSharingManagerTest, RightsCannotBeGiven) {
    TempFolder folder;
    std::wstring file = folder.Write(L"a", "a");
    EXPECT_EQ(AfxAddAccessRights(file.data(), nullptr, GENERIC_ALL, 1), 0);
    EXPECT_EQ(CSharingManager::AddAccessRights(file.data(), nullptr, GENERIC_ALL, 0), 0);
    EXPECT_EQ(AfxAddAccessRights(nullptr, nullptr, 0, 0), 0);
}

TEST(CSharingManagerTest, PartsFailAlike) {
    EXPECT_EQ(Inside::_addSharePath(L"C:\\x", L"X"), 0);
    EXPECT_EQ(Inside::_getNetNameViaDevicePath(L"C:\\x"), L"");
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\Work\\Inbox\\"), L"INBOX");
    wchar_t* const copy = Inside::_char2wchar(L"text");
    EXPECT_STREQ(copy, L"text");
    std::free(copy);
    EXPECT_EQ(Inside::_wchar2char(nullptr), nullptr);
}
