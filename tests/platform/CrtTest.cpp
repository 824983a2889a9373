// Functions of Windows' C library.
#include <gtest/gtest.h>
#include <win32.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

namespace {

std::wstring Digits(int value, int base) {
    wchar_t text[40];
    return _itow(value, text, base);
}

struct Parts {
    std::wstring drive;
    std::wstring folder;
    std::wstring name;
    std::wstring extension;
};

bool operator==(const Parts& first, const Parts& second) {
    return first.drive == second.drive && first.folder == second.folder && first.name == second.name &&
           first.extension == second.extension;
}

void PrintTo(const Parts& parts, std::ostream* out) {
    for (const std::wstring* part : {&parts.drive, &parts.folder, &parts.name, &parts.extension})
        *out << '[' << std::string(part->begin(), part->end()) << ']';
}

Parts Split(const wchar_t* path) {
    wchar_t drive[_MAX_DRIVE];
    wchar_t folder[_MAX_DIR];
    wchar_t name[_MAX_FNAME];
    wchar_t extension[_MAX_EXT];
    EXPECT_EQ(_wsplitpath_s(path, drive, _MAX_DRIVE, folder, _MAX_DIR, name, _MAX_FNAME, extension, _MAX_EXT),
              0);
    return {drive, folder, name, extension};
}

std::wstring Make(const wchar_t* drive, const wchar_t* folder, const wchar_t* name,
                  const wchar_t* extension) {
    wchar_t path[_MAX_PATH];
    EXPECT_EQ(_wmakepath_s(path, _MAX_PATH, drive, folder, name, extension), 0);
    return path;
}

} // namespace

TEST(Crt, ComparisonFoldsAsciiOnly) {
    EXPECT_EQ(_wcsicmp(L"Abc", L"aBC"), 0);
    EXPECT_LT(_wcsicmp(L"abc", L"ABD"), 0);
    EXPECT_GT(_wcsicmp(L"abc", L"AB"), 0);
    EXPECT_NE(_wcsicmp(L"\u00E9", L"\u00C9"), 0);
    EXPECT_LT(_wcsicmp(L"_", L"A"), 0); // compared in lower case
    EXPECT_EQ(_wcsnicmp(L"abcX", L"ABCY", 3), 0);
    EXPECT_NE(_wcsnicmp(L"abcX", L"ABCY", 4), 0);
    EXPECT_EQ(_wcsnicmp(L"a", L"b", 0), 0);
    EXPECT_EQ(_stricmp("Abc", "aBC"), 0);
    EXPECT_LT(_strnicmp("abd", "ABE", 3), 0);
}

TEST(Crt, CaseChangesAsciiOnly) {
    wchar_t text[] = L"aBc\u00E9\u00C9z[";
    EXPECT_STREQ(_wcsupr(text), L"ABC\u00E9\u00C9Z[");
    EXPECT_STREQ(_wcslwr(text), L"abc\u00E9\u00C9z[");
}

TEST(Crt, ReversedAndCopied) {
    wchar_t odd[] = L"abcde";
    wchar_t even[] = L"abcd";
    wchar_t empty[] = L"";
    EXPECT_STREQ(_wcsrev(odd), L"edcba");
    EXPECT_STREQ(_wcsrev(even), L"dcba");
    EXPECT_STREQ(_wcsrev(empty), L"");
    wchar_t* copy = _wcsdup(odd);
    EXPECT_STREQ(copy, L"edcba");
    free(copy);
}

TEST(Crt, NumbersSaturate) {
    EXPECT_EQ(_wtoi(L" \t+12x"), 12);
    EXPECT_EQ(_wtoi(L"-7"), -7);
    EXPECT_EQ(_wtoi(L"x"), 0);
    EXPECT_EQ(_wtoi(L"-0x10"), 0);
    EXPECT_EQ(_wtoi64(L"-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(_wtoi64(L"123456789012"), 123456789012LL);
    EXPECT_EQ(_wtoi(L"2147483647"), 2147483647);
    EXPECT_EQ(_wtoi(L"-2147483648"), -2147483647 - 1);
}

TEST(Crt, RealNumbersStopAtWhatIsNone) {
    EXPECT_EQ(_wtof(L"1.5"), 1.5);
    EXPECT_EQ(_wtof(L" -2.25e2x"), -225.0);
    EXPECT_EQ(_wtof(L"1,5"), 1.0);
    EXPECT_EQ(_wtof(L".5"), 0.5);
    EXPECT_EQ(_wtof(L"5."), 5.0);
    EXPECT_EQ(_wtof(L"1e"), 1.0);
    EXPECT_EQ(_wtof(L"1e+"), 1.0);
    EXPECT_EQ(_wtof(L"e5"), 0.0);
    EXPECT_EQ(_wtof(L"inf"), 0.0);
    EXPECT_EQ(_wtof(L""), 0.0);
    EXPECT_EQ(_wtof(L"1e400"), HUGE_VAL);
    EXPECT_EQ(_wtof(L"1e-400"), 0.0);
}

TEST(Crt, DigitsInAnyBase) {
    EXPECT_EQ(Digits(0, 10), L"0");
    EXPECT_EQ(Digits(-255, 10), L"-255");
    EXPECT_EQ(Digits(-255, 16), L"ffffff01");
    EXPECT_EQ(Digits(35, 36), L"z");
    EXPECT_EQ(Digits(5, 2), L"101");
    wchar_t text[70];
    EXPECT_STREQ(_i64tow(INT64_MIN, text, 10), L"-9223372036854775808");
    EXPECT_STREQ(_ui64tow(UINT64_MAX, text, 16), L"ffffffffffffffff");
}

TEST(Crt, BoundedCopies) {
    wchar_t text[4] = L"zzz";
    EXPECT_EQ(wcscpy_s(text, 4, L"abc"), 0);
    EXPECT_STREQ(text, L"abc");
    EXPECT_EQ(wcscat_s(text, 4, L""), 0);
    EXPECT_EQ(wcsncpy_s(text, 4, L"xyzw", 2), 0);
    EXPECT_STREQ(text, L"xy");
    EXPECT_EQ(wcscat_s(text, 4, L"z"), 0);
    EXPECT_STREQ(text, L"xyz");
    EXPECT_EQ(wcsncpy_s(text, 4, L"abcdef", _TRUNCATE), 80);
    EXPECT_STREQ(text, L"abc");
}

TEST(Crt, BoundedCopiesRefuseWhatDoesNotFit) {
    wchar_t text[4] = L"zzz";
    EXPECT_EQ(wcscpy_s(text, 4, L"abcd"), ERANGE);
    EXPECT_STREQ(text, L"");
    wcscpy_s(text, 4, L"ab");
    EXPECT_EQ(wcscat_s(text, 4, L"cd"), ERANGE);
    EXPECT_STREQ(text, L"");
    EXPECT_EQ(wcsncpy_s(text, 4, L"abcdef", 4), ERANGE);
    EXPECT_EQ(wcscpy_s(nullptr, 4, L"a"), EINVAL);
    EXPECT_EQ(wcscpy_s(text, 4, nullptr), EINVAL);
}

TEST(SplitPath, TakesPathsApart) {
    EXPECT_EQ(Split(L"C:\\d\\a.txt"), (Parts{L"C:", L"\\d\\", L"a", L".txt"}));
    EXPECT_EQ(Split(L"a."), (Parts{L"", L"", L"a", L"."}));
    EXPECT_EQ(Split(L".a"), (Parts{L"", L"", L"", L".a"}));
    EXPECT_EQ(Split(L".."), (Parts{L"", L"", L".", L"."}));
    EXPECT_EQ(Split(L"a.b.c"), (Parts{L"", L"", L"a.b", L".c"}));
    EXPECT_EQ(Split(L"c:a.b"), (Parts{L"c:", L"", L"a", L".b"}));
    EXPECT_EQ(Split(L"c:\\d.x\\e"), (Parts{L"c:", L"\\d.x\\", L"e", L""}));
    EXPECT_EQ(Split(L"c:/d/e"), (Parts{L"c:", L"/d/", L"e", L""}));
    EXPECT_EQ(Split(L"\\\\srv\\share\\f.t"), (Parts{L"", L"\\\\srv\\share\\", L"f", L".t"}));
    EXPECT_EQ(Split(L"ab:c"), (Parts{L"", L"", L"ab:c", L""}));
    EXPECT_EQ(Split(L""), (Parts{L"", L"", L"", L""}));
    EXPECT_EQ(Split(L"\\"), (Parts{L"", L"\\", L"", L""}));
}

TEST(SplitPath, PartThatDoesNotFitEmptiesAll) {
    const std::wstring path = L"c:\\d\\" + std::wstring(256, L'n') + L".e";
    wchar_t drive[_MAX_DRIVE] = L"x";
    wchar_t folder[_MAX_DIR] = L"x";
    wchar_t name[_MAX_FNAME] = L"x";
    wchar_t extension[_MAX_EXT] = L"x";
    EXPECT_EQ(_wsplitpath_s(path.c_str(), drive, _MAX_DRIVE, folder, _MAX_DIR, name, _MAX_FNAME, extension,
                            _MAX_EXT),
              ERANGE);
    EXPECT_STREQ(drive, L"");
    EXPECT_STREQ(folder, L"");
    EXPECT_STREQ(name, L"");
    EXPECT_STREQ(extension, L"");
}

TEST(SplitPath, UnwantedPartsAreNull) {
    wchar_t extension[_MAX_EXT];
    EXPECT_EQ(_wsplitpath_s(L"c:\\d\\a.txt", nullptr, 0, nullptr, 0, nullptr, 0, extension, _MAX_EXT), 0);
    EXPECT_STREQ(extension, L".txt");
    EXPECT_EQ(_wsplitpath_s(L"a", nullptr, 5, nullptr, 0, nullptr, 0, extension, _MAX_EXT), EINVAL);
    EXPECT_EQ(_wsplitpath_s(nullptr, nullptr, 0, nullptr, 0, nullptr, 0, extension, _MAX_EXT), EINVAL);
}

TEST(MakePath, PutsPartsTogether) {
    EXPECT_EQ(Make(L"C", L"d", L"a", L"txt"), L"C:d\\a.txt");
    EXPECT_EQ(Make(L"c:\\", L"\\d\\", L"a", L".txt"), L"c:\\d\\a.txt");
    EXPECT_EQ(Make(nullptr, L"d/", L"a", nullptr), L"d/a");
    EXPECT_EQ(Make(nullptr, nullptr, nullptr, nullptr), L"");
    EXPECT_EQ(Make(L"", L"", L"a", L""), L"a");
}

TEST(MakePath, PathThatDoesNotFitIsEmpty) {
    wchar_t path[6] = L"zz";
    EXPECT_EQ(_wmakepath_s(path, 6, nullptr, L"abc", L"defg", nullptr), ERANGE);
    EXPECT_STREQ(path, L"");
    EXPECT_EQ(_wmakepath_s(path, 6, nullptr, L"ab", L"cd", nullptr), 0);
    EXPECT_STREQ(path, L"ab\\cd");
}

TEST(Crt, SizeOfABlockIsAtLeastWhatWasAskedFor) {
    for (size_t size : {size_t{1}, size_t{100}, size_t{5000}, size_t{1000000}}) {
        void* block = malloc(size);
        ASSERT_NE(block, nullptr);
        EXPECT_GE(_msize(block), size);
        EXPECT_LE(_msize(block), size * 2 + 64);
        free(block);
    }
}
