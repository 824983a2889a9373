// Sharing with the double of the network library beside this program.
#include <COSVersionInfo.h>

#include "AccessDouble.h"
#include "NetDouble.h"
#include "RunProgram.h"
#include "SharingInside.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class CSharingManagerTest : public testing::Test {
protected:
    static void SetUpTestSuite() { PatchAccessFunctions(); }
    void SetUp() override {
        // Without it the system's shares would be changed.
        ASSERT_NE(net, nullptr) << "the network library is not the one beside this program";
        *net = NetWorld();
        g_access = AccessWorld();
        path = folder.Path(L"Inbox");
        ASSERT_TRUE(::CreateDirectoryW(path.c_str(), nullptr));
    }
    void TearDown() override {
        if (net) {
            EXPECT_EQ(net->buffers, 0);
            *net = NetWorld();
        }
        g_access = AccessWorld();
    }
    // The calls of one function, in words.
    std::vector<std::wstring> Calls(const std::wstring& function) const {
        std::vector<std::wstring> found;
        for (const std::wstring& call : net->calls)
            if (call.compare(0, function.size() + 1, function + L" ") == 0)
                found.push_back(call);
        return found;
    }

    NetWorld* const net = LoadedNetDouble();
    TempFolder folder;
    std::wstring path;
};

// Makes the version record tell of the family of the 9x systems while the object lives.
class OutsideTheNtFamily {
public:
    OutsideTheNtFamily()
        : m_platform(m_system->dwPlatformId) {
        m_system->dwPlatformId = 1;
    }
    ~OutsideTheNtFamily() { m_system->dwPlatformId = m_platform; }
    OutsideTheNtFamily(const OutsideTheNtFamily&) = delete;
    OutsideTheNtFamily& operator=(const OutsideTheNtFamily&) = delete;

private:
    COSVersionInfo* const m_system = const_cast<COSVersionInfo*>(AfxGetOSVersionInfo());
    const DWORD m_platform;
};

} // namespace

TEST_F(CSharingManagerTest, ExampleUsage) {
    EXPECT_EQ(AfxShareFolder((path + L"\\").c_str()), 0);
    ASSERT_EQ(net->shares.size(), 1u);
    EXPECT_EQ(net->shares[0].name, L"INBOX");
    EXPECT_EQ(net->shares[0].path, path);
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0);
    EXPECT_TRUE(net->shares.empty());
}

// ---- Shares

TEST_F(CSharingManagerTest, LocalMachineIsAskedStepByStep) {
    net->shares = {{L"INBOX", L"C:\\elsewhere"}};
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0);
    EXPECT_EQ(net->calls,
              (std::vector<std::wstring>{L"NetShareEnum local 2 4294967295", L"NetShareGetInfo local INBOX 0",
                                         L"NetShareGetInfo local INBOX_1 0", L"NetShareAdd local 2 INBOX_1",
                                         L"NetShareEnum local 2 4294967295", L"NetShareDel local INBOX_1"}));
}

TEST_F(CSharingManagerTest, ShareIsMadeForEveryoneWithAllRights) {
    EXPECT_EQ(CSharingManager::_ShareFolder(path.c_str()), 0);
    ASSERT_EQ(net->added.size(), 1u);
    const NetAdded& share = net->added[0];
    EXPECT_EQ(share.name, L"INBOX");
    EXPECT_EQ(share.type, 0u);
    EXPECT_EQ(share.remark, L"Hot Folder");
    EXPECT_EQ(share.permissions, 23u);
    EXPECT_EQ(share.maximum, 0xFFFFFFFFu);
    EXPECT_EQ(share.current, 0u);
    EXPECT_EQ(share.path, path);
    EXPECT_EQ(share.password, L"");
    EXPECT_EQ(g_access.file, path);
    EXPECT_NE(Shape(g_access.list).find("allow everyone 268435456"), std::string::npos);
}

TEST_F(CSharingManagerTest, NameThatAnotherFolderHasGetsANumber) {
    net->shares = {{L"INBOX", L"C:\\elsewhere"}};
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    ASSERT_EQ(net->shares.size(), 2u);
    EXPECT_EQ(net->shares[1].name, L"INBOX_1");
    EXPECT_EQ(net->shares[1].path, path);
    net->shares[1].path = L"C:\\there";
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    ASSERT_EQ(net->shares.size(), 3u);
    EXPECT_EQ(net->shares[2].name, L"INBOX_2");
}

TEST_F(CSharingManagerTest, NameIsTheLastPartInUpperCase) {
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\Work\\in box.2"), L"IN BOX.2");
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\Work\\Inbox\\"), L"INBOX");
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\Work\\Inbox\\\\"), L""); // one backslash is cut
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"inbox"), L"INBOX");
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\"), L"C:");
}

TEST_F(CSharingManagerTest, ThousandNamesAreTriedAndTheLastIsTaken) {
    net->allNamesTaken = true;
    EXPECT_EQ(Inside::_getUniqueShareResourceName(L"C:\\Work\\Inbox\\"), L"INBOX_999");
    const std::vector<std::wstring> asked = Calls(L"NetShareGetInfo");
    ASSERT_EQ(asked.size(), 1000u);
    EXPECT_EQ(asked[0], L"NetShareGetInfo local INBOX 0");
    EXPECT_EQ(asked[1], L"NetShareGetInfo local INBOX_1 0");
    EXPECT_EQ(asked[999], L"NetShareGetInfo local INBOX_999 0");
}

TEST_F(CSharingManagerTest, FolderSharedUnderAnyNameIsNotSharedAgain) {
    std::wstring upper = path;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(towupper(c));
    net->shares = {{L"OTHER", L"C:\\x"}, {L"SOMETHING", upper}, {L"LATER", path}};
    EXPECT_EQ(Inside::_getNetNameViaDevicePath(path.c_str()), L"SOMETHING"); // the first
    EXPECT_EQ(AfxShareFolder((path + L"\\").c_str()), 0);
    EXPECT_TRUE(net->added.empty());
    EXPECT_EQ(g_access.file, L""); // rights stay as they are
}

TEST_F(CSharingManagerTest, FailedShareOfTheNtFamilyCountsAsMade) {
    net->addResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Inside::_addSharePath(path.c_str(), L"INBOX"), -1);
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(g_access.file, L""); // no rights were given
    net->addResult = NERR_Success;
    EXPECT_EQ(Inside::_addSharePath(path.c_str(), L"INBOX"), 1);
}

TEST_F(CSharingManagerTest, OutsideTheNtFamilyAFailedShareIsAFailure) {
    const OutsideTheNtFamily other;
    net->addResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Inside::_addSharePath(path.c_str(), L"INBOX"), 0);
    EXPECT_EQ(AfxShareFolder(path.c_str()), -1);
    net->addResult = NERR_Success;
    EXPECT_EQ(Inside::_addSharePath(path.c_str(), L"INBOX"), 1);
    net->shares.clear();
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(g_access.file, L""); // no rights are given there
}

TEST_F(CSharingManagerTest, FailedRightsDoNotMatterToTheShare) {
    g_access.fails = {"SetFileSecurity"};
    testing::internal::CaptureStdout();
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "SetFileSecurity() failed. Error 1234\n");
    EXPECT_EQ(net->shares.size(), 1u);
}

TEST_F(CSharingManagerTest, MissingFolderIsNoFolder) {
    EXPECT_EQ(AfxShareFolder((path + L"x").c_str()), -3);
    EXPECT_EQ(AfxUnShareFolder((path + L"x").c_str()), -3);
    const std::wstring file = folder.Write(L"file", "x");
    EXPECT_EQ(AfxShareFolder(file.c_str()), -3);
    EXPECT_EQ(AfxUnShareFolder(file.c_str()), -3);
    EXPECT_EQ(AfxShareFolder(L""), -3);
    EXPECT_EQ(AfxUnShareFolder(L""), -3);
    EXPECT_EQ(AfxShareFolder(nullptr), -3);
    EXPECT_EQ(AfxUnShareFolder(nullptr), -3);
    EXPECT_TRUE(net->calls.empty());
}

TEST_F(CSharingManagerTest, EndOfAShareAnswersTheSystemsCode) {
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0); // there is none
    EXPECT_TRUE(Calls(L"NetShareDel").empty());
    net->shares = {{L"A", path}, {L"B", path}};
    net->removeResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(CSharingManager::_UnShareFolder((path + L"\\").c_str()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Calls(L"NetShareDel"), (std::vector<std::wstring>{L"NetShareDel local A"}));
}

TEST_F(CSharingManagerTest, SharesThatCannotBeListedAreNone) {
    net->enumResult = ERROR_NOT_SUPPORTED;
    EXPECT_EQ(AfxUnShareFolder(path.c_str()), 0);
    EXPECT_EQ(AfxShareFolder(path.c_str()), 0);
    EXPECT_EQ(net->added.size(), 1u);
}

TEST_F(CSharingManagerTest, TextsAreCopied) {
    const wchar_t text[] = L"text";
    wchar_t* const one = Inside::_char2wchar(text);
    wchar_t* const two = Inside::_wchar2char(text);
    EXPECT_STREQ(one, text);
    EXPECT_STREQ(two, text);
    EXPECT_NE(one, text);
    std::free(one);
    std::free(two);
    EXPECT_EQ(Inside::_char2wchar(nullptr), nullptr);
}

// ---- The tool

namespace {

// A variable of the environment while the object lives.
class Variable {
public:
    Variable(const wchar_t* name, const wchar_t* value)
        : m_name(name) {
        ::SetEnvironmentVariableW(m_name, value);
    }
    ~Variable() { ::SetEnvironmentVariableW(m_name, nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const wchar_t* m_name;
};

// The tool in a folder with the same network library, as each run begins with it.
class ShareToolTest : public CSharingManagerTest {
protected:
    void SetUp() override {
        CSharingManagerTest::SetUp();
        const std::wstring own = ProgramFolder();
        tool = folder.Path(L"mvtool.exe");
        ASSERT_TRUE(::CopyFileW((own + L"..\\mvtool.exe").c_str(), tool.c_str(), TRUE));
        ASSERT_TRUE(::CopyFileW((own + L"netapi32.dll").c_str(), folder.Path(L"netapi32.dll").c_str(), TRUE));
    }
    Outcome Share(const wchar_t* verb) {
        return RunProgram(L"\"" + tool + L"\" share " + verb + L" \"" + path + L"\"");
    }

    std::wstring tool;
};

} // namespace

TEST_F(ShareToolTest, NameOfTheShareIsTold) {
    const Outcome added = Share(L"add");
    EXPECT_EQ(added.code, 0u);
    EXPECT_EQ(added.output, "INBOX\n");
    EXPECT_EQ(added.errors, "");
    const Variable shared(L"MVLIB_NET_SHARED", path.c_str());
    EXPECT_EQ(Share(L"add").output, "BEFORE\n");
}

TEST_F(ShareToolTest, EndOfAShareTellsNothing) {
    EXPECT_EQ(Share(L"del").code, 0u); // there is none
    const Variable shared(L"MVLIB_NET_SHARED", path.c_str());
    const Outcome ended = Share(L"del");
    EXPECT_EQ(ended.code, 0u);
    EXPECT_EQ(ended.output + ended.errors, "");
}

TEST_F(ShareToolTest, FailureIsToldWithItsReason) {
    const Variable refusesShares(L"MVLIB_NET_ADD", L"5");
    const Outcome added = Share(L"add");
    EXPECT_EQ(added.code, 7u);
    EXPECT_EQ(added.output, "");
    EXPECT_NE(added.errors.find("is not shared: "), std::string::npos) << added.errors;
    EXPECT_NE(added.errors.find(" (5)"), std::string::npos) << added.errors;
    const Variable shared(L"MVLIB_NET_SHARED", path.c_str());
    const Variable keepsShares(L"MVLIB_NET_DEL", L"1208");
    const Outcome ended = Share(L"del");
    EXPECT_EQ(ended.code, 7u);
    EXPECT_NE(ended.errors.find("is still shared: "), std::string::npos) << ended.errors;
    EXPECT_NE(ended.errors.find(" (1208)"), std::string::npos) << ended.errors;
}
