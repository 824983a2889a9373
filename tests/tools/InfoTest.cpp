// ver, path and diag: what the library knows of its surroundings.
#include "executable_file.h"
#include "rec_fixture.h"

#include <algorithm>

namespace tooltest {
namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The value behind a name at the beginning of a line.
std::string ValueOf(const std::string& page, const std::string& name) {
    std::size_t at = page.rfind("\n" + name + "  ");
    at = at == std::string::npos ? 0 : at + 1;
    if (page.compare(at, name.size() + 2, name + "  ") != 0) {
        ADD_FAILURE() << "no line " << name << " in\n" << page;
        return {};
    }
    const std::size_t value = page.find_first_not_of(' ', at + name.size());
    return page.substr(value, page.find('\n', value) - value);
}

class InfoTest : public RecTest {
protected:
    std::string WriteExecutable(const std::string& name, std::uint32_t flags = 0) const {
        ExecutableFile file;
        file.flags = flags;
        file.strings = {{u"CompanyName", u"Mirvanet"}, {u"FileDescription", u"Fonaments \u00E9s"}};
        Write(name, file.Bytes());
        return Text(name);
    }
};

// ---- ver

TEST_F(InfoTest, VersionAndStringsOfAnExecutableAreShown) {
    const std::string file = WriteExecutable("one.dll", 3);
    const Result result = mvtool({"ver", file});
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, file + "\n"
                                 "  version          1.2.3.4\n"
                                 "  shown as         1.2.3\u00DF (DBG)\n"
                                 "  FileDescription  Fonaments \u00E9s\n"
                                 "  CompanyName      Mirvanet\n");
}

TEST_F(InfoTest, SeveralFilesAreShownInOneLineEach) {
    const std::string one = WriteExecutable("one.dll");
    const std::string two = WriteExecutable("two.exe");
    const Result result = mvtool({"ver", "-s", one, two});
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.out, "1.2.3.4  " + one + "\n1.2.3.4  " + two + "\n");
}

TEST_F(InfoTest, FileWithoutAVersionIsCode1AndTheOthersAreShown) {
    Write("plain.txt", "text");
    const std::string one = WriteExecutable("one.dll");
    const Result result = mvtool({"ver", "--short", Text("plain.txt"), one});
    EXPECT_EQ(result.code, kNo);
    EXPECT_EQ(result.err, "mvtool: " + Text("plain.txt") + ": no version\n");
    EXPECT_EQ(result.out, "1.2.3.4  " + one + "\n");
}

TEST_F(InfoTest, MissingFileIsCode3) {
    Write("plain.txt", "text");
    const Result result = mvtool({"ver", Text("none.dll"), Text("plain.txt")});
    EXPECT_EQ(result.code, kNotFound);
    EXPECT_TRUE(Contains(result.err, Text("none.dll") + ": no such file\n"));
    EXPECT_TRUE(Contains(result.err, ": no version\n"));
    const Result folder = mvtool({"ver", Text(".")});
    EXPECT_EQ(folder.code, kNotFound);
    EXPECT_EQ(folder.err, "mvtool: " + Text(".") + ": a folder\n");
}

TEST_F(InfoTest, ControlCharactersOfStringsAreShownAsEscapes) {
    ExecutableFile file;
    file.strings = {{u"CompanyName", u"a\u001B[31mb"}};
    Write("one.dll", file.Bytes());
    EXPECT_TRUE(Contains(mvtool({"ver", Text("one.dll")}).out, "a\\x1b[31mb"));
}

// ---- path

TEST_F(InfoTest, FoldersForDataAreShown) {
    const Result result = mvtool({"path", "where", "--app=Editor"});
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(Contains(ValueOf(result.out, "user data"), "Mirvanet"));
    EXPECT_TRUE(Contains(ValueOf(result.out, "user data"), "Editor"));
    EXPECT_TRUE(Contains(ValueOf(result.out, "shared data"), "Editor"));
    for (const char* name :
         {"application data", "documents", "shared documents", "profile", "temporary files", "system"}) {
        EXPECT_FALSE(ValueOf(result.out, name).empty()) << name;
    }
}

TEST_F(InfoTest, BaseAndSubFolderShowTheDataFoldersAlone) {
    const Result result = mvtool({"path", "where", "--base=Mine", "-s", "sub"});
    EXPECT_EQ(result.code, kDone);
    const std::string user = ValueOf(result.out, "user data");
    EXPECT_TRUE(Contains(user, "Mine/sub") || Contains(user, "Mine\\sub")) << user;
    EXPECT_FALSE(Contains(result.out, "temporary"));
    EXPECT_TRUE(Contains(mvtool({"path", "where", "--app=Editor", "--sub=x"}).out, "Editor"));
}

TEST_F(InfoTest, FolderThatIsNotThereIsMarked) {
    const Result result = mvtool({"path", "where", "--base=no such base of any application"});
    EXPECT_TRUE(Contains(ValueOf(result.out, "user data"), "  (not there)"));
}

// ---- diag

TEST_F(InfoTest, DiagnosisIsOnePage) {
    const Result result = mvtool({"diag"});
    EXPECT_EQ(result.code, kDone);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(ValueOf(result.out, "mvlib62"), "6.2.0");
    const std::string bits = std::to_string(sizeof(void*) * 8) + " bits";
    EXPECT_TRUE(Contains(ValueOf(result.out, "target"), bits));
    EXPECT_TRUE(Contains(ValueOf(result.out, "target"), "compiler g++ ") ||
                Contains(ValueOf(result.out, "target"), "lang "));
    EXPECT_EQ(ValueOf(result.out, "language"), "0x0400 (that of the texts)");
    EXPECT_TRUE(Contains(ValueOf(result.out, "library"), "mvlib62"));
    EXPECT_TRUE(Contains(ValueOf(result.out, "framework"), "mvafx62"));
    EXPECT_TRUE(Contains(ValueOf(result.out, "texts"), "English (ENG)"));
    for (const char* name : {"system", "system version", "locale", "measures", "code page", "language",
                             "user data", "shared data", "temporary files", "registry"}) {
        EXPECT_FALSE(ValueOf(result.out, name).empty()) << name;
    }
    EXPECT_LT(std::count(result.out.begin(), result.out.end(), '\n'), 40);
}

// ---- Command line

TEST_F(InfoTest, FamiliesThatAreACommandHaveItsHelp) {
    const Result version = mvtool({"ver", "--help"});
    EXPECT_EQ(version.code, kDone);
    EXPECT_TRUE(Contains(version.out, "Usage: mvtool ver FILE... [OPTION]..."));
    EXPECT_TRUE(Contains(version.out, "-s, --short"));
    EXPECT_TRUE(Contains(mvtool({"diag", "-h"}).out, "Usage: mvtool diag [OPTION]..."));
    const std::string path = mvtool({"path", "--help"}).out;
    EXPECT_TRUE(Contains(path, "\n  where"));
    EXPECT_FALSE(Contains(path, "\n\n\n"));
    const std::string all = mvtool({"--help"}).out;
    for (const char* name : {"\n  ver  ", "\n  path  ", "\n  diag  "}) {
        EXPECT_TRUE(Contains(all, name)) << name;
    }
}

TEST_F(InfoTest, MistakesAreCode2) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"ver"},
                                                  {"ver", "--long", "a"},
                                                  {"path"},
                                                  {"path", "there"},
                                                  {"path", "where", "a"},
                                                  {"diag", "a"}}) {
        const Result result = mvtool(words);
        EXPECT_EQ(result.code, kUsage) << words[0];
        EXPECT_EQ(result.out, "");
    }
}

} // namespace
} // namespace tooltest
