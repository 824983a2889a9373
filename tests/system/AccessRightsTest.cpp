// Access lists, with doubles of the system's functions that can be made to fail.
#include <CSharingManager.h>

#include "AccessDouble.h"
#include "RunProgram.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class AccessRightsTest : public testing::Test {
protected:
    static void SetUpTestSuite() { PatchAccessFunctions(); }
    void SetUp() override {
        g_access = AccessWorld();
        path = folder.Path(L"Inbox");
        ASSERT_TRUE(::CreateDirectoryW(path.c_str(), nullptr));
    }
    void TearDown() override { g_access = AccessWorld(); }

    // From now on files have a list with these entries: explicit ones of everyone (twice) and of the system,
    // then inherited ones of both.
    void ScriptList(SECURITY_DESCRIPTOR_CONTROL control = 0) {
        ScriptEntries(
            [](PACL list) {
                AddEntry(list, ACCESS_DENIED_ACE_TYPE, 0, 1, Everyone());
                AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, 0, 2, System());
                AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, 0, 4, Everyone());
                AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, INHERITED_ACE, 8, Everyone());
                AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, INHERITED_ACE, 16, System());
            },
            control);
    }
    template <class Add>
    void ScriptEntries(Add add, SECURITY_DESCRIPTOR_CONTROL control = 0) {
        std::vector<BYTE> bytes(1024);
        const auto list = reinterpret_cast<PACL>(bytes.data());
        ASSERT_TRUE(::InitializeAcl(list, 1024, ACL_REVISION_DS));
        add(list);
        ScriptDescriptor(list, control);
    }
    void ScriptDescriptor(PACL list, SECURITY_DESCRIPTOR_CONTROL control = 0) {
        SECURITY_DESCRIPTOR absolute;
        ASSERT_TRUE(::InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION));
        ASSERT_TRUE(::SetSecurityDescriptorDacl(&absolute, TRUE, list, FALSE));
        absolute.Control = static_cast<SECURITY_DESCRIPTOR_CONTROL>(absolute.Control | control);
        DWORD size = 0;
        ::MakeSelfRelativeSD(&absolute, nullptr, &size);
        g_access.descriptor.resize(size);
        ASSERT_TRUE(::MakeSelfRelativeSD(&absolute, g_access.descriptor.data(), &size));
        g_access.scripted = true;
    }
    // What a call for everyone writes to standard output; its result must be 0.
    std::string Output(int everyone = 1) {
        wchar_t user[] = L"SYSTEM";
        testing::internal::CaptureStdout();
        EXPECT_EQ(AfxAddAccessRights(path.data(), user, 32, everyone), 0);
        return testing::internal::GetCapturedStdout();
    }

    // What the real list of a file allows everyone.
    static DWORD RightsOfEveryone(const std::wstring& file) {
        BYTE descriptor[4096];
        DWORD size = sizeof descriptor;
        BOOL present = FALSE;
        BOOL defaulted = FALSE;
        PACL list = nullptr;
        EXPECT_TRUE(::GetFileSecurityW(file.c_str(), DACL_SECURITY_INFORMATION, descriptor, sizeof descriptor,
                                       &size));
        EXPECT_TRUE(::GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
        DWORD rights = 0;
        void* found = nullptr;
        for (DWORD i = 0; list && ::GetAce(list, i, &found); ++i) {
            auto& entry = *static_cast<ACCESS_ALLOWED_ACE*>(found);
            if (entry.Header.AceType == ACCESS_ALLOWED_ACE_TYPE &&
                ::EqualSid(&entry.SidStart, const_cast<BYTE*>(Everyone().data())))
                rights |= entry.Mask;
        }
        return rights;
    }

    TempFolder folder;
    std::wstring path;
};

} // namespace

TEST_F(AccessRightsTest, EntryReplacesThoseOfTheTrusteeBeforeInheritedOnes) {
    ScriptList();
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_access.list),
              "allow system 2; allow everyone 32; allow everyone 8 inherited; allow system 16 inherited");
    EXPECT_EQ(g_access.file, path);
}

TEST_F(AccessRightsTest, UserIsLookedUpByName) {
    ScriptList();
    wchar_t user[] = L"SYSTEM";
    EXPECT_EQ(AfxAddAccessRights(path.data(), user, 64, 0), 1);
    EXPECT_EQ(Shape(g_access.list),
              "deny everyone 1; allow everyone 4; allow system 64; allow everyone 8 inherited; "
              "allow system 16 inherited");
}

TEST_F(AccessRightsTest, FileWithoutAListGetsOneWithTheEntry) {
    ScriptDescriptor(nullptr);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_access.list), "allow everyone 32");
}

TEST_F(AccessRightsTest, InheritanceOfTheListIsKept) {
    ScriptList(SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_access.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED),
              SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED);
    ScriptList(SE_DACL_PROTECTED);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_access.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED), SE_DACL_PROTECTED);
    ScriptList(SE_DACL_AUTO_INHERITED);
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_access.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED), SE_DACL_AUTO_INHERITED);
    ScriptList();
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_access.control & (SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED), 0);
}

TEST_F(AccessRightsTest, SystemWithoutTheControlFunctionDoesWithout) {
    g_access.hasSetControl = false;
    ScriptList(SE_DACL_PROTECTED);
    g_access.fails = {"GetSecurityDescriptorControl"};
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(g_access.control & SE_DACL_PROTECTED, 0);
}

TEST_F(AccessRightsTest, ListThatIsNotThereIsLikeNone) {
    SECURITY_DESCRIPTOR absolute;
    ASSERT_TRUE(::InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION));
    DWORD size = 0;
    ::MakeSelfRelativeSD(&absolute, nullptr, &size);
    g_access.descriptor.resize(size);
    ASSERT_TRUE(::MakeSelfRelativeSD(&absolute, g_access.descriptor.data(), &size));
    g_access.scripted = true;
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_access.list), "allow everyone 32");
}

TEST_F(AccessRightsTest, EverythingBehindTheFirstInheritedEntryIsCopiedAsItIs) {
    ScriptEntries([](PACL list) {
        AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, 0, 2, System());
        AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, INHERITED_ACE, 16, System());
        AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, 0, 4, Everyone());
        AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, INHERITED_ACE, 8, Everyone());
    });
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_access.list), "allow system 2; allow everyone 32; allow system 16 inherited; "
                                    "allow everyone 4; allow everyone 8 inherited");
}

TEST_F(AccessRightsTest, SecondCallReplacesTheEntryOfTheFirst) {
    ScriptList();
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    const std::vector<BYTE> once = g_access.list;
    ScriptDescriptor(reinterpret_cast<PACL>(g_access.list.data()));
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_access.list), Shape(once));
}

TEST_F(AccessRightsTest, EntriesOfOtherTypesAreReplacedToo) {
    constexpr BYTE allowedWithCondition = 9;
    constexpr BYTE deniedForObjects = 6;
    const std::vector<BYTE> noKind(4);
    std::vector<BYTE> bothKinds(4 + 2 * sizeof(GUID));
    bothKinds[0] = ACE_OBJECT_TYPE_PRESENT | ACE_INHERITED_OBJECT_TYPE_PRESENT;
    ScriptEntries([&](PACL list) {
        AddEntry(list, deniedForObjects, 0, 1, Everyone(), noKind);
        AddEntry(list, deniedForObjects, 0, 2, Everyone(), bothKinds);
        AddEntry(list, allowedWithCondition, 0, 4, Everyone());
        AddEntry(list, allowedWithCondition, 0, 8, System());
    });
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(Shape(g_access.list), "type 9 system 8; allow everyone 32");
}

TEST_F(AccessRightsTest, EntryThatEndsInsideItsIdentifierIsNobodys) {
    std::vector<BYTE> cut = Everyone();
    cut.resize(8); // its count still promises one number more
    ScriptEntries([&](PACL list) {
        AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, 0, 1, cut);
        AddEntry(list, ACCESS_ALLOWED_ACE_TYPE, 0, 2, {1, 15, 0, 0});
    });
    EXPECT_EQ(AfxAddAccessRights(path.data(), nullptr, 32, 1), 1);
    EXPECT_EQ(reinterpret_cast<PACL>(g_access.list.data())->AceCount, 3);
}

TEST_F(AccessRightsTest, RightsOfARealFileAreChanged) {
    std::wstring file = folder.Write(L"file", "x");
    EXPECT_EQ(RightsOfEveryone(file) & FILE_WRITE_DATA, 0u);
    EXPECT_EQ(CSharingManager::AddAccessRights(file.data(), nullptr, FILE_ALL_ACCESS, 1), 1);
    EXPECT_EQ(g_access.file, file);
    EXPECT_NE(Shape(g_access.list).find("allow everyone 2032127"), std::string::npos);
    // As the system has it now: some keep no more of it than who may read, write and run.
    constexpr DWORD kept = FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE;
    EXPECT_EQ(RightsOfEveryone(file) & kept, kept);
}

// ---- error results

TEST_F(AccessRightsTest, EachFailingCallIsNamedWithItsError) {
    ScriptList(SE_DACL_PROTECTED);
    const struct {
        const char* function;
        const char* text;
    } calls[] = {
        {"GetFileSecurity", "GetFileSecurity() failed. Error 1234\n"},
        {"HeapAlloc", "HeapAlloc() failed. Error 1234\n"},
        {"InitializeSecurityDescriptor", "InitializeSecurityDescriptor() failed.Error 1234\n"},
        {"GetSecurityDescriptorDacl", "GetSecurityDescriptorDacl() failed. Error 1234\n"},
        {"GetAclInformation", "GetAclInformation() failed. Error 1234\n"},
        {"InitializeAcl", "InitializeAcl() failed. Error 1234\n"},
        {"GetAce", "GetAce() failed. Error 1234\n"},
        {"AddAce", "AddAce() failed. Error 1234\n"},
        {"AddAccessAllowedAce", "AddAccessAllowedAce() failed. Error 1234\n"},
        {"SetSecurityDescriptorDacl", "SetSecurityDescriptorDacl() failed. Error 1234\n"},
        {"GetSecurityDescriptorControl", "GetSecurityDescriptorControl() failed.Error 1234\n"},
        {"SetSecurityDescriptorControl", "SetSecurityDescriptorControl() failed.Error 1234\n"},
        {"SetFileSecurity", "SetFileSecurity() failed. Error 1234\n"},
    };
    for (const auto& call : calls) {
        g_access.fails = {call.function};
        g_access.failAfter = 0;
        g_access.file.clear();
        EXPECT_EQ(Output(), call.text);
        EXPECT_EQ(g_access.file, L"") << call.function;
    }
}

TEST_F(AccessRightsTest, LaterCallsOfAFunctionMayFailToo) {
    ScriptList();
    g_access.fails = {"HeapAlloc"};
    g_access.failAfter = 1; // the new list
    EXPECT_EQ(Output(), "HeapAlloc() failed. Error 1234\n");
    g_access.fails = {"GetFileSecurity"};
    g_access.failAfter = 1; // the reading itself
    EXPECT_EQ(Output(), "GetFileSecurity() failed. Error 1234\n");
    g_access.fails = {"AddAce"};
    g_access.failAfter = 1; // the first inherited entry
    EXPECT_EQ(Output(), "AddAce() failed. Error 1234\n");
}

TEST_F(AccessRightsTest, UserThatIsNotKnownIsAFailure) {
    ScriptList();
    g_access.fails = {"LookupAccountName"};
    EXPECT_EQ(Output(0), "LookupAccountName() failed. Error 1234\n");
    g_access.failAfter = 1;
    EXPECT_EQ(Output(0), "LookupAccountName() failed. Error 1234\n");
    g_access.fails = {"HeapAlloc"};
    g_access.failAfter = 0;
    EXPECT_EQ(Output(0), "HeapAlloc() failed. Error 1234\n");
    g_access.failAfter = 1;
    EXPECT_EQ(Output(0), "HeapAlloc() failed. Error 1234\n");
}

TEST_F(AccessRightsTest, RealFailuresAreToldWithTheirErrors) {
    path = folder.Path(L"missing");
    EXPECT_EQ(Output(), "GetFileSecurity() failed. Error 2\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(AfxAddAccessRights(nullptr, nullptr, 32, 1), 0);
    const std::string told = testing::internal::GetCapturedStdout();
    EXPECT_EQ(told.substr(0, 32), "GetFileSecurity() failed. Error ") << told;
    wchar_t nobody[] = L"no such user here";
    testing::internal::CaptureStdout();
    EXPECT_EQ(AfxAddAccessRights(path.data(), nobody, 32, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "LookupAccountName() failed. Error 1332\n");
}

TEST_F(AccessRightsTest, IdentifierOfEveryoneThatCannotBeMadeIsToldAndGoneOnWithout) {
    ScriptList();
    g_access.fails = {"CreateWellKnownSid"};
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    AfxAddAccessRights(path.data(), nullptr, 32, 1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "CreateWellKnownSid Error 1234");
}

TEST_F(AccessRightsTest, NoMemoryForEveryoneEndsTheProcess) {
    // In a process of its own: this program again, with this case alone and the memory refused.
    if (::GetEnvironmentVariableW(L"MVLIB_TEST_NO_MEMORY", nullptr, 0) > 0) {
        g_access.fails = {"LocalAlloc"};
        AfxAddAccessRights(path.data(), nullptr, 32, 1);
        ::ExitProcess(77);
    }
    ::SetEnvironmentVariableW(L"MVLIB_TEST_NO_MEMORY", L"1");
    const Outcome ended = RunProgram(L"\"" + ProgramFolder() +
                                     L"test_sharing.exe\" "
                                     L"--gtest_filter=AccessRightsTest.NoMemoryForEveryoneEndsTheProcess");
    ::SetEnvironmentVariableW(L"MVLIB_TEST_NO_MEMORY", nullptr);
    EXPECT_EQ(ended.code, 1u);
    EXPECT_EQ(ended.errors, "Could not allocate memory.\r\n");
}
