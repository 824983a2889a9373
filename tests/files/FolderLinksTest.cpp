// Links to folders: what a removal and the walks make of them.
#include <CPathString.h>
#include <TIteradorFitxers.h>

#include "folder_links.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

class FolderLinksTest : public testing::Test {
protected:
    void SetUp() override {
        Folder(L"kept");
        m_folder.Write(L"kept/file", "x");
        Folder(L"top");
        if (!MakeFolderLink(In(L"probe"), In(L"kept")))
            GTEST_SKIP() << "no links to folders here";
        m_links.push_back(In(L"probe"));
        m_removable = RemoveDirectoryW(m_links[0].c_str()) || DeleteFileW(m_links[0].c_str());
    }
    void TearDown() override {
        for (const std::wstring& link : m_links)
            TakeFolderLink(link);
    }

    std::wstring In(const wchar_t* name) const {
        CString path(m_folder.Root().wstring().c_str());
        path.Replace(L'/', L'\\');
        return std::wstring(path + L"\\" + name);
    }
    void Folder(const wchar_t* name) { ASSERT_EQ(CPathString::CrearCarpeta(In(name).c_str()), 1); }
    void Link(const wchar_t* name, const wchar_t* target) {
        m_links.push_back(In(name));
        ASSERT_TRUE(MakeFolderLink(m_links.back(), In(target)));
    }
    bool IsFile(const wchar_t* name) const { return CPathString::TestFitxer(In(name).c_str()) == 1; }
    bool IsFolder(const wchar_t* name) const { return CPathString::TestCarpeta(In(name).c_str()) == 1; }
    // A removal that takes a link with it; the link stays where the system does not know how to remove one.
    void Remove(const wchar_t* name, int recursive = 1) {
        EXPECT_EQ(CPathString::EsborrarCarpeta(In(name).c_str(), recursive), m_removable ? 1 : 0);
        EXPECT_EQ(CPathString::TestCarpeta(In(name).c_str()), m_removable ? 0 : 1);
        EXPECT_TRUE(IsFile(L"kept\\file"));
    }

    // The names that a walk over folders delivers; more than 1,000 end it.
    std::vector<std::wstring> Folders(const wchar_t* name, int& result) {
        std::vector<std::wstring> names;
        result = TIteradorFitxers().IteraCarpetes(&Add, reinterpret_cast<long>(&names), In(name).c_str(), 1);
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::wstring> Files(const wchar_t* name, int& result) {
        std::vector<std::wstring> names;
        result =
            TIteradorFitxers().IteraFitxers(&Add, reinterpret_cast<long>(&names), L"*", In(name).c_str(), 1);
        std::sort(names.begin(), names.end());
        return names;
    }

    using Names = std::vector<std::wstring>;
    TempFolder m_folder;

private:
    std::vector<std::wstring> m_links;
    bool m_removable = false; // Wine shows the machine's links, but takes their targets for them

    static int Add(const wchar_t*, const wchar_t* name, int, long user) {
        auto& names = *reinterpret_cast<Names*>(user);
        names.emplace_back(name);
        return names.size() < 1000;
    }
};

// ---- Removal

TEST_F(FolderLinksTest, RemovalTakesTheLinkAndLeavesWhatItLeadsTo) {
    Folder(L"top\\sub");
    Link(L"top\\sub\\link", L"kept");
    Remove(L"top");
}

TEST_F(FolderLinksTest, RemovalOfALinkTakesNothingElse) {
    Link(L"link", L"kept");
    Remove(L"link");
}

TEST_F(FolderLinksTest, RemovalOfALinkWithAFinalSeparatorTakesNothingElse) {
    Link(L"link", L"kept");
    Remove(L"link\\");
}

TEST_F(FolderLinksTest, PlainRemovalOfALinkTakesNothingElse) {
    Link(L"link", L"kept");
    Remove(L"link", 0);
}

TEST_F(FolderLinksTest, RemovalThroughALinkAboveWorksOnTheRealFolder) {
    Folder(L"kept\\sub");
    m_folder.Write(L"kept/sub/other", "x");
    Link(L"link", L"kept");
    EXPECT_EQ(CPathString::EsborrarCarpeta(In(L"link\\sub").c_str(), 1), 1);
    EXPECT_FALSE(IsFolder(L"kept\\sub"));
    EXPECT_TRUE(IsFile(L"kept\\file"));
}

TEST_F(FolderLinksTest, RemovalOfATreeWithLoopsEnds) {
    Folder(L"top\\a\\b");
    Link(L"top\\a\\b\\up", L"top");
    Link(L"top\\a\\self", L"top\\a");
    Remove(L"top");
}

// ---- Walks

TEST_F(FolderLinksTest, WalksGoThroughLinks) {
    Folder(L"kept\\inner");
    Link(L"top\\link", L"kept");
    int result = 1;
    EXPECT_EQ(Folders(L"top", result), (Names{L"inner", L"link"}));
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Files(L"top", result), (Names{L"file"}));
}

TEST_F(FolderLinksTest, LinkThatLeadsBackIsDeliveredButNotWalked) {
    Folder(L"top\\a");
    m_folder.Write(L"top/file", "x");
    Link(L"top\\a\\up", L"top");
    Link(L"top\\a\\self", L"top\\a");
    int result = 1;
    EXPECT_EQ(Folders(L"top", result), (Names{L"a", L"self", L"up"}));
    EXPECT_EQ(result, 0);
}

TEST_F(FolderLinksTest, LinkThatLeadsAboveTheStartIsNotWalkedEither) {
    Folder(L"top\\a");
    Folder(L"top\\beside");
    Link(L"top\\a\\up", L"top");
    int result = 1;
    EXPECT_EQ(Folders(L"top\\a", result), (Names{L"up"}));
    EXPECT_EQ(result, 0);
}

TEST_F(FolderLinksTest, FilesBehindALinkThatLeadsBackAreDeliveredByTheirOwnFolder) {
    Folder(L"top\\a");
    m_folder.Write(L"top/file", "x");
    m_folder.Write(L"top/a/other", "x");
    Link(L"top\\a\\up", L"top");
    int result = 1;
    EXPECT_EQ(Files(L"top", result), (Names{L"file", L"other"}));
    EXPECT_EQ(result, 0);
}

TEST_F(FolderLinksTest, LinksThatLeadToEachOtherEnd) {
    Folder(L"top\\a");
    Folder(L"top\\b");
    Link(L"top\\a\\to_b", L"top\\b");
    Link(L"top\\b\\to_a", L"top\\a");
    int result = 1;
    EXPECT_EQ(Folders(L"top", result), (Names{L"a", L"b", L"to_a", L"to_a", L"to_b", L"to_b"}));
    EXPECT_EQ(result, 0);
    Files(L"top", result);
    EXPECT_EQ(result, -5) << "there are no files";
}

} // namespace
