#include <COSVersionInfo.h>
#include <CPathString.h>

#include "executable_file.h"
#include "temp_folder.h"

#include "afxwin.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class CPathStringVersionTest : public testing::Test {
protected:
    // The path of a file with these bytes.
    CPathString Write(const std::string& bytes) {
        CString path(m_folder.Write(L"some.dll", bytes).c_str());
        path.Replace(L'/', L'\\');
        return path;
    }
    // The version text of a file with these flags and of version 2.1.7.
    std::wstring TextWith(std::uint32_t flags) {
        ExecutableFile file;
        file.fileVersion = {2, 1, 7, 99};
        file.flags = flags;
        CString text;
        EXPECT_EQ(Write(file.Bytes()).GetFileVersion(text), 1);
        return text.GetString();
    }
    static std::wstring StringOf(const CPathString& path, const wchar_t* key) {
        CString text(L"untouched");
        const int found = path.GetStringInformacio(key, text);
        EXPECT_EQ(found, text == L"untouched" ? 0 : 1);
        return text.GetString();
    }
    // All answers of a file without a version.
    static void ExpectNoVersion(const CPathString& path) {
        CInfoVersio info;
        info.m_dwMajor = 77;
        CString text(L"untouched");
        EXPECT_EQ(path.GetFileVersion(info), 0);
        EXPECT_EQ(path.GetProductVersion(info), 0);
        EXPECT_EQ(path.GetFileVersion(text), 0);
        EXPECT_EQ(path.GetProductVersion(text), 0);
        EXPECT_EQ(path.GetStringInformacio(L"CompanyName", text), 0);
        EXPECT_EQ(info.m_dwMajor, 77u);
        EXPECT_STREQ(text, L"untouched");
    }

private:
    TempFolder m_folder;
};

TEST_F(CPathStringVersionTest, ExampleUsage) {
    ExecutableFile file;
    file.strings = {{u"CompanyName", u"Mirvanet"}, {u"FileDescription", u"Foundation"}};
    const CPathString path = Write(file.Bytes());
    CInfoVersio info;
    ASSERT_EQ(path.GetFileVersion(info), 1);
    EXPECT_EQ(info.m_dwMajor, 1u);
    EXPECT_EQ(info.m_dwMinor, 2u);
    EXPECT_EQ(info.m_dwBuild, 3u);
    EXPECT_EQ(info.m_dwRevisio, 4u);
    CString text;
    ASSERT_EQ(path.GetStringInformacio(L"CompanyName", text), 1);
    EXPECT_STREQ(text, L"Mirvanet");
}

TEST_F(CPathStringVersionTest, PartsHaveSixteenBits) {
    ExecutableFile file;
    file.fileVersion = {65535, 0, 32768, 65534};
    CInfoVersio info;
    ASSERT_EQ(CPathString::GetFileVersion(Write(file.Bytes()), info), 1);
    EXPECT_EQ(info.m_dwMajor, 65535u);
    EXPECT_EQ(info.m_dwMinor, 0u);
    EXPECT_EQ(info.m_dwBuild, 32768u);
    EXPECT_EQ(info.m_dwRevisio, 65534u);
}

TEST_F(CPathStringVersionTest, TextShowsThreePartsAndTheFlags) {
    EXPECT_EQ(TextWith(0), L"2.1.7");
    EXPECT_EQ(TextWith(VS_FF_DEBUG), L"2.1.7 (DBG)");
    EXPECT_EQ(TextWith(VS_FF_PRERELEASE), L"2.1.7\u00DF");
    EXPECT_EQ(TextWith(VS_FF_DEBUG | VS_FF_PRERELEASE), L"2.1.7\u00DF (DBG)");
    EXPECT_EQ(TextWith(0x3C), L"2.1.7") << "other flags do not show";
}

TEST_F(CPathStringVersionTest, FlagsAreFilledOneByOne) {
    ExecutableFile file;
    file.flags = VS_FF_DEBUG;
    CInfoVersio info;
    ASSERT_EQ(Write(file.Bytes()).GetFileVersion(info), 1);
    EXPECT_EQ(info.m_bDebug, 1u);
    EXPECT_EQ(info.m_bPreRelease, 0u);
    file.flags = VS_FF_PRERELEASE;
    ASSERT_EQ(Write(file.Bytes()).GetFileVersion(info), 1);
    EXPECT_EQ(info.m_bDebug, 0u);
    EXPECT_EQ(info.m_bPreRelease, 1u);
}

// Kept: callers rely on it.
TEST_F(CPathStringVersionTest, ProductVersionIsTheFileVersion) {
    const CPathString path = Write(ExecutableFile().Bytes());
    CInfoVersio info;
    ASSERT_EQ(path.GetProductVersion(info), 1);
    EXPECT_EQ(info.m_dwMajor, 1u) << "not 9, the product's";
    EXPECT_EQ(info.m_dwRevisio, 4u);
    CString text;
    ASSERT_EQ(path.GetProductVersion(text), 1);
    EXPECT_STREQ(text, L"1.2.3");
    EXPECT_EQ(CPathString::GetProductVersion(path, info), 1);
    EXPECT_EQ(CPathString::GetProductVersion(path, text), 1);
}

TEST_F(CPathStringVersionTest, ExecutablesOf64BitsAreReadToo) {
    CString text;
    EXPECT_EQ(Write(ExecutableFile().Bytes(true)).GetFileVersion(text), 1);
    EXPECT_STREQ(text, L"1.2.3");
}

// ---- Strings

TEST_F(CPathStringVersionTest, StringsAreFoundByTheirKeyWhateverItsCase) {
    ExecutableFile file;
    file.strings = {
        {u"One", u"first"}, {u"Two", u"zw\u00F6lf \u20AC \U0001F600"}, {u"Long", std::u16string(300, u'x')}};
    const CPathString path = Write(file.Bytes());
    EXPECT_EQ(StringOf(path, L"One"), L"first");
    EXPECT_EQ(StringOf(path, L"tWO"), L"zw\u00F6lf \u20AC \U0001F600");
    EXPECT_EQ(StringOf(path, L"Long"), std::wstring(300, L'x'));
    EXPECT_EQ(StringOf(path, L"Three"), L"untouched");
    EXPECT_EQ(StringOf(path, L"On"), L"untouched");
}

TEST_F(CPathStringVersionTest, StringsComeFromTheFirstLanguage) {
    ExecutableFile file;
    file.translations = {{0x0403, 0x04E4}, {0x0409, 0x04B0}};
    file.strings = {{u"One", u"english"}};
    EXPECT_EQ(StringOf(Write(file.Bytes()), L"One"), L"untouched");
    file.table = u"040304e4";
    EXPECT_EQ(StringOf(Write(file.Bytes()), L"One"), L"english");
    file.table = u"040304E4";
    EXPECT_EQ(StringOf(Write(file.Bytes()), L"One"), L"english") << "its name compares without case";
}

TEST_F(CPathStringVersionTest, NoLanguageNoStrings) {
    ExecutableFile file;
    file.strings = {{u"One", u"first"}};
    file.translations.clear();
    const CPathString path = Write(file.Bytes());
    EXPECT_EQ(StringOf(path, L"One"), L"untouched");
    CString text;
    EXPECT_EQ(path.GetFileVersion(text), 1) << "the numbers need no language";
}

// ---- Error results

TEST_F(CPathStringVersionTest, FileWithoutAVersionAnswers0AndTouchesNothing) {
    ExpectNoVersion(Write(ExecutableFile::BytesWithoutResources()));
    ExpectNoVersion(Write(ExecutableFile::BytesWithoutVersion()));
    ExpectNoVersion(Write("no executable at all"));
    ExpectNoVersion(Write(""));
    ExpectNoVersion(CString(L"no such file.dll"));
    ExpectNoVersion(CPathString());
    CString text;
    EXPECT_EQ(CPathString::GetFileVersion(nullptr, text), 0);
    EXPECT_EQ(CPathString::GetStringInformacio(nullptr, nullptr, text), 0);
}

TEST_F(CPathStringVersionTest, NullOrEmptyKeyIsNoString) {
    ExecutableFile file;
    file.strings = {{u"One", u"first"}};
    CString text(L"untouched");
    const CPathString path = Write(file.Bytes());
    path.GetStringInformacio(nullptr, text);
    EXPECT_STRNE(text, L"first");
}

TEST_F(CPathStringVersionTest, CutFilesAnswer1WithAVersionOr0WithoutTouchingIt) {
    ExecutableFile file;
    file.strings = {{u"One", u"first"}};
    const std::string whole = file.Bytes();
    for (std::size_t size = 0; size < whole.size(); size += 7) {
        const CPathString path = Write(whole.substr(0, size));
        CString version(L"untouched");
        // Systems differ in what they make of a file that ends early.
        const int found = path.GetFileVersion(version);
        EXPECT_EQ(found, version == L"untouched" ? 0 : 1) << size;
    }
}

} // namespace
