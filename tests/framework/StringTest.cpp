#include "alloc_failure.h"

#include <afx.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

// Reads a wide text in a failure message.
std::string Narrow(const CString& text) {
    return CStringA(text).GetString();
}

#define EXPECT_TEXT(expected, actual)                                                                        \
    do {                                                                                                     \
        CString actualText(actual);                                                                          \
        EXPECT_TRUE(actualText == (expected)) << "  actual: " << Narrow(actualText);                         \
    } while (false)

// The code of the COleException that an operation throws; 0 when it throws none.
template <class Operation>
SCODE CodeThrownBy(Operation operation) {
    try {
        operation();
    } catch (COleException* e) {
        SCODE code = e->m_sc;
        e->Delete();
        return code;
    }
    return 0;
}

const LPCWSTR null = nullptr;

} // namespace

TEST(CStringTest, ExampleUsage) {
    CString path = L"C:\\data\\a.dat";
    int separator = path.ReverseFind(L'\\');
    CString name = path.Mid(separator + 1);
    EXPECT_TEXT(L"a.dat", name);

    CString text;
    text.Format(L"%s has %d records, %hs", name.GetString(), 3, "8-bit text");
    EXPECT_TEXT(L"a.dat has 3 records, 8-bit text", text);

    text.Replace(L"records", L"entries");
    text.MakeUpper();
    EXPECT_TEXT(L"A.DAT HAS 3 ENTRIES, 8-BIT TEXT", text);
}

// ---- Construction and assignment

TEST(CStringTest, IsOnePointer) {
    EXPECT_EQ(sizeof(void*), sizeof(CString));
    EXPECT_EQ(sizeof(void*), sizeof(CStringA));
}

TEST(CStringTest, DefaultIsEmpty) {
    CString s;
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(0, s.GetLength());
    EXPECT_EQ(0, s.GetString()[0]);
}

TEST(CStringTest, NullTextIsEmpty) {
    EXPECT_TRUE(CString(null).IsEmpty());
    CString s(L"x");
    s = null;
    EXPECT_TRUE(s.IsEmpty());
    s = L"x";
    s += null;
    EXPECT_TEXT(L"x", s);
    EXPECT_TRUE(CString(null, 0).IsEmpty());
}

TEST(CStringTest, IsMadeFromPartOfAText) {
    EXPECT_TEXT(L"ab", CString(L"abcd", 2));
    CString withNul(L"a\0b", 3);
    EXPECT_EQ(3, withNul.GetLength());
    EXPECT_EQ(L'b', withNul[2]);
}

TEST(CStringTest, RepeatsACharacter) {
    EXPECT_TEXT(L"xxx", CString(L'x', 3));
    EXPECT_TEXT(L"x", CString(L'x'));
    EXPECT_TRUE(CString(L'x', 0).IsEmpty());
    EXPECT_TRUE(CString(L'x', -1).IsEmpty());
}

TEST(CStringTest, ConvertsEightBitTextByTheThreadsCodePage) {
    EXPECT_TEXT(L"plain", CString("plain"));
    EXPECT_TEXT(L"Excepci\u00F3", CString("Excepci\xF3"));
    EXPECT_TEXT(L"\u20AC", CString("\x80"));
    EXPECT_TEXT(L"ab", CString("abcd", 2));
    EXPECT_EQ(std::string("Excepci\xF3"), CStringA(L"Excepci\u00F3").GetString());
    EXPECT_EQ(std::string("?"), CStringA(L"\u4E2D").GetString());
    CString s;
    s = "\xE9";
    EXPECT_TEXT(L"\u00E9", s);
    s = reinterpret_cast<const unsigned char*>("u");
    EXPECT_TEXT(L"u", s);
    s = CStringA("\xE9");
    EXPECT_TEXT(L"\u00E9", s);
    EXPECT_TRUE(CString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(CStringTest, ConversionKeepsInnerNul) {
    CStringA narrow("a\0b", 3);
    CString wide(narrow);
    EXPECT_EQ(3, wide.GetLength());
    EXPECT_EQ(L'b', wide[2]);
}

TEST(CStringTest, MissingResourceIdGivesEmpty) {
    CString s(L"x");
    s = MAKEINTRESOURCEW(65000);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(CString(MAKEINTRESOURCEW(65000)).IsEmpty());
}

TEST(CStringTest, AssignsPartOfItself) {
    CString s(L"0123456789abcdef");
    s = s.GetString() + 4;
    EXPECT_TEXT(L"456789abcdef", s);
    s.SetString(s.GetString() + 1, 3);
    EXPECT_TEXT(L"567", s);
    CString& self = s;
    s = self;
    EXPECT_TEXT(L"567", s);
}

TEST(CStringTest, MoveTakesTheText) {
    CString a(L"text");
    const wchar_t* address = a.GetString();
    CString b(std::move(a));
    EXPECT_EQ(address, b.GetString());
    CString c;
    c = std::move(b);
    EXPECT_EQ(address, c.GetString());
}

// ---- Sharing

TEST(CStringTest, CopiesShareOneTextUntilOneChanges) {
    CString a(L"shared");
    CString b(a), c;
    c = b;
    EXPECT_EQ(a.GetString(), b.GetString());
    EXPECT_EQ(a.GetString(), c.GetString());
    b.SetAt(0, L'S');
    EXPECT_TEXT(L"shared", a);
    EXPECT_TEXT(L"Shared", b);
    EXPECT_EQ(a.GetString(), c.GetString());
    a.Empty();
    EXPECT_TEXT(L"shared", c);
}

TEST(CStringTest, WholePieceSharesTheText) {
    CString a(L"shared");
    EXPECT_EQ(a.GetString(), a.Left(6).GetString());
    EXPECT_EQ(a.GetString(), a.Right(10).GetString());
    EXPECT_EQ(a.GetString(), a.Mid(0).GetString());
}

TEST(CStringTest, LockedTextIsNotShared) {
    CString a(L"locked");
    wchar_t* buffer = a.LockBuffer();
    CString b(a);
    EXPECT_NE(a.GetString(), b.GetString());
    buffer[0] = L'L';
    EXPECT_TEXT(L"Locked", a);
    EXPECT_TEXT(L"locked", b);
    a.UnlockBuffer();
    CString c(a);
    EXPECT_EQ(a.GetString(), c.GetString());
}

TEST(CStringTest, LockedTextIsFreedWithItsString) {
    CString a(L"locked");
    a.LockBuffer();
    a = L"another";
    EXPECT_TEXT(L"another", a);
    CString b(L"locked");
    b.LockBuffer();
}

TEST(CStringTest, ThreadsMayCopyOneText) {
    const CString text(L"used by several threads at once");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([copy = text, i] {
            for (int j = 0; j < 2000; ++j) {
                CString a(copy), b;
                b = a;
                if (j % 3 == 0) {
                    b.AppendChar(static_cast<wchar_t>(L'0' + i));
                }
                ASSERT_EQ(copy.GetLength() + (j % 3 == 0 ? 1 : 0), b.GetLength());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TEXT(L"used by several threads at once", text);
}

// ---- Access and buffer

TEST(CStringTest, CharactersAreReadUpToTheNul) {
    CString s(L"abc");
    EXPECT_EQ(L'a', s[0]);
    EXPECT_EQ(L'c', s.GetAt(2));
    EXPECT_EQ(0, s[3]);
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.GetAt(4); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.GetAt(-1); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.SetAt(3, L'x'); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.SetAt(-1, L'x'); }));
    EXPECT_TEXT(L"abc", s);
}

TEST(CStringTest, BufferIsWrittenInPlace) {
    CString s(L"ab");
    wchar_t* buffer = s.GetBuffer(100);
    EXPECT_EQ(L'a', buffer[0]);
    for (int i = 0; i < 100; ++i) {
        buffer[i] = L'z';
    }
    buffer[50] = 0;
    s.ReleaseBuffer();
    EXPECT_EQ(50, s.GetLength());
    EXPECT_LE(100, s.GetAllocLength());
    s.FreeExtra();
    EXPECT_GT(100, s.GetAllocLength());
    EXPECT_TEXT(CString(L'z', 50), s);
}

TEST(CStringTest, BufferOfASharedTextIsItsOwn) {
    CString a(L"ab"), b(a);
    a.GetBuffer()[0] = L'x';
    a.ReleaseBuffer();
    EXPECT_TEXT(L"xb", a);
    EXPECT_TEXT(L"ab", b);
}

TEST(CStringTest, BufferOfAnEmptyStringIsItsOwn) {
    CString a;
    wchar_t* buffer = a.GetBuffer(0);
    EXPECT_NE(CString().GetString(), buffer);
    a.ReleaseBuffer();
    EXPECT_TRUE(a.IsEmpty());
}

TEST(CStringTest, BufferWithoutNulEndsAtTheCapacity) {
    CString s;
    wchar_t* buffer = s.GetBuffer(10);
    for (int i = 0; i <= s.GetAllocLength(); ++i) {
        buffer[i] = L'x';
    }
    s.ReleaseBuffer();
    EXPECT_EQ(s.GetAllocLength(), s.GetLength());
    EXPECT_EQ(0, s.GetString()[s.GetLength()]);
}

TEST(CStringTest, BufferLengthIsSet) {
    CString s;
    s.GetBufferSetLength(3)[0] = L'a';
    EXPECT_EQ(3, s.GetLength());
    s.ReleaseBuffer(1);
    EXPECT_TEXT(L"a", s);
    s.ReleaseBufferSetLength(0);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.ReleaseBuffer(5000); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.ReleaseBuffer(-2); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.GetBuffer(-1); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.GetBuffer(0x40000000); }));
}

TEST(CStringTest, PreallocationKeepsTheText) {
    CString s(L"abc");
    s.Preallocate(1000);
    EXPECT_LE(1000, s.GetAllocLength());
    EXPECT_TEXT(L"abc", s);
    const wchar_t* address = s.GetString();
    for (int i = 0; i < 900; ++i) {
        s.AppendChar(L'x');
    }
    EXPECT_EQ(address, s.GetString());
}

// ---- Adding

TEST(CStringTest, Appends) {
    CString s;
    s += L"ab";
    s += L'c';
    s += 'd';
    s += "ef";
    s += CString(L"gh");
    s.Append(L"ijkl", 2);
    s.AppendChar(L'k');
    EXPECT_TEXT(L"abcdefghijk", s);
}

TEST(CStringTest, AppendsItself) {
    CString s(L"abc");
    for (int i = 0; i < 6; ++i) {
        s += s;
    }
    EXPECT_EQ(192, s.GetLength());
    s = L"abc";
    for (int i = 0; i < 20; ++i) {
        s += s.GetString() + s.GetLength() - 2;
    }
    EXPECT_EQ(43, s.GetLength());
    EXPECT_TEXT(L"bc", s.Right(2));
}

TEST(CStringTest, Inserts) {
    CString s(L"ad");
    EXPECT_EQ(4, s.Insert(1, L"bc"));
    EXPECT_TEXT(L"abcd", s);
    EXPECT_EQ(5, s.Insert(-3, L'0'));
    EXPECT_EQ(6, s.Insert(99, L'e'));
    EXPECT_TEXT(L"0abcde", s);
    EXPECT_EQ(6, s.Insert(2, null));
    EXPECT_EQ(6, s.Insert(2, L""));
    EXPECT_EQ(10, s.Insert(1, s.GetString() + 2));
    EXPECT_TEXT(L"0bcdeabcde", s);
}

TEST(CStringTest, Concatenates) {
    CString a(L"a"), b(L"b");
    EXPECT_TEXT(L"ab", a + b);
    EXPECT_TEXT(L"ax", a + L"x");
    EXPECT_TEXT(L"xa", L"x" + a);
    EXPECT_TEXT(L"ax", a + L'x');
    EXPECT_TEXT(L"xa", L'x' + a);
    EXPECT_TEXT(L"ax", a + 'x');
    EXPECT_TEXT(L"ax", a + "x");
    EXPECT_TEXT(L"xa", "x" + a);
    EXPECT_TEXT(L"a", a + null);
    EXPECT_TRUE((CString() + CString()).IsEmpty());
}

// ---- Removing and replacing

TEST(CStringTest, Deletes) {
    CString s(L"0123456789");
    EXPECT_EQ(9, s.Delete(0));
    EXPECT_EQ(7, s.Delete(3, 2));
    EXPECT_TEXT(L"1236789", s);
    EXPECT_EQ(3, s.Delete(3, 100));
    EXPECT_EQ(3, s.Delete(3));
    EXPECT_EQ(3, s.Delete(1, 0));
    EXPECT_EQ(3, s.Delete(1, -1));
    EXPECT_EQ(2, s.Delete(-5));
    EXPECT_TEXT(L"23", s);
}

TEST(CStringTest, RemovesEveryCharacterOfAKind) {
    CString s(L"a-b--c-");
    EXPECT_EQ(4, s.Remove(L'-'));
    EXPECT_TEXT(L"abc", s);
    EXPECT_EQ(0, s.Remove(L'-'));
    EXPECT_EQ(0, s.Remove(L'A'));
}

TEST(CStringTest, ReplacesCharacters) {
    CString s(L"a/b/c");
    CString copy(s);
    EXPECT_EQ(2, s.Replace(L'/', L'\\'));
    EXPECT_TEXT(L"a\\b\\c", s);
    EXPECT_TEXT(L"a/b/c", copy);
    EXPECT_EQ(0, s.Replace(L'x', L'y'));
    EXPECT_EQ(0, s.Replace(L'a', L'a'));
}

TEST(CStringTest, ReplacesTextsFromTheLeftOnce) {
    CString s(L"aaaa");
    EXPECT_EQ(2, s.Replace(L"aa", L"a"));
    EXPECT_TEXT(L"aa", s);
    EXPECT_EQ(2, s.Replace(L"a", L"aXa"));
    EXPECT_TEXT(L"aXaaXa", s);
    EXPECT_EQ(4, s.Replace(L"a", null));
    EXPECT_TEXT(L"XX", s);
    EXPECT_EQ(0, s.Replace(L"", L"y"));
    EXPECT_EQ(0, s.Replace(null, L"y"));
    EXPECT_EQ(2, s.Replace(L"X", L""));
    EXPECT_TRUE(s.IsEmpty());
    s = L"abcabc";
    EXPECT_EQ(2, s.Replace(L"bc", s));
    EXPECT_TEXT(L"aabcabcaabcabc", s);
}

TEST(CStringTest, Truncates) {
    CString s(L"abc"), copy(s);
    s.Truncate(5);
    EXPECT_EQ(copy.GetString(), s.GetString());
    s.Truncate(1);
    EXPECT_TEXT(L"a", s);
    EXPECT_TEXT(L"abc", copy);
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { s.Truncate(-1); }));
}

TEST(CStringTest, CaseChangesForTheLettersAToZ) {
    CString s(L"aZ09_\u00E0\u00C0[{@`");
    EXPECT_TEXT(L"AZ09_\u00E0\u00C0[{@`", CString(s).MakeUpper());
    EXPECT_TEXT(L"az09_\u00E0\u00C0[{@`", CString(s).MakeLower());
    EXPECT_TEXT(L"`@{[\u00C0\u00E0_90Za", CString(s).MakeReverse());
    EXPECT_TEXT(L"aZ09_\u00E0\u00C0[{@`", s);
}

TEST(CStringTest, TrimsWhiteSpace) {
    EXPECT_TEXT(L"a b", CString(L" \t\r\n\v\fa b\u00A0\u3000\u2003 ").Trim());
    EXPECT_TEXT(L"a ", CString(L"  a ").TrimLeft());
    EXPECT_TEXT(L"  a", CString(L"  a ").TrimRight());
    EXPECT_TRUE(CString(L" \n ").Trim().IsEmpty());
    EXPECT_TRUE(CString().Trim().IsEmpty());
    EXPECT_EQ(std::string("a\xA0"), CStringA(" a\xA0 ").Trim().GetString());
}

TEST(CStringTest, TrimsCharactersAndSets) {
    EXPECT_TEXT(L"a", CString(L"--a-").Trim(L'-'));
    EXPECT_TEXT(L"a-", CString(L"--a-").TrimLeft(L'-'));
    EXPECT_TEXT(L"--a", CString(L"--a-").TrimRight(L'-'));
    EXPECT_TEXT(L"a-b", CString(L"-=a-b=-").Trim(L"=-"));
    EXPECT_TEXT(L"a=", CString(L"=a=").TrimLeft(L"=-"));
    EXPECT_TEXT(L"=a", CString(L"=a=").TrimRight(L"=-"));
    EXPECT_TEXT(L"=a=", CString(L"=a=").Trim(null));
    EXPECT_TEXT(L"=a=", CString(L"=a=").Trim(L""));
}

// ---- Pieces

TEST(CStringTest, PiecesAreClipped) {
    CString s(L"abcdef");
    EXPECT_TEXT(L"cd", s.Mid(2, 2));
    EXPECT_TEXT(L"cdef", s.Mid(2));
    EXPECT_TEXT(L"cdef", s.Mid(2, 0x7FFFFFFF));
    EXPECT_TEXT(L"ab", s.Mid(-3, 2));
    EXPECT_TEXT(L"", s.Mid(6));
    EXPECT_TEXT(L"", s.Mid(99, 5));
    EXPECT_TEXT(L"", s.Mid(1, -1));
    EXPECT_TEXT(L"abc", s.Left(3));
    EXPECT_TEXT(L"", s.Left(-1));
    EXPECT_TEXT(L"abcdef", s.Left(99));
    EXPECT_TEXT(L"def", s.Right(3));
    EXPECT_TEXT(L"", s.Right(-1));
    EXPECT_TEXT(L"abcdef", s.Right(99));
}

TEST(CStringTest, Spans) {
    CString s(L"aab1");
    EXPECT_TEXT(L"aab", s.SpanIncluding(L"ab"));
    EXPECT_TEXT(L"", s.SpanIncluding(L"1"));
    EXPECT_TEXT(L"", s.SpanIncluding(null));
    EXPECT_TEXT(L"aab", s.SpanExcluding(L"123"));
    EXPECT_TEXT(L"aab1", s.SpanExcluding(L"x"));
    EXPECT_TEXT(L"aab1", s.SpanExcluding(null));
}

TEST(CStringTest, TokenizesWithoutEmptyTokens) {
    CString s(L";;a;b,,c;");
    std::vector<std::wstring> tokens;
    int position = 0;
    for (CString token = s.Tokenize(L";,", position); position != -1; token = s.Tokenize(L";,", position)) {
        tokens.push_back(token.GetString());
    }
    EXPECT_EQ((std::vector<std::wstring>{L"a", L"b", L"c"}), tokens);
}

TEST(CStringTest, TokenizingEnds) {
    int position = 0;
    EXPECT_TRUE(CString().Tokenize(L";", position).IsEmpty());
    EXPECT_EQ(-1, position);
    position = 1;
    EXPECT_TEXT(L"b;c", CString(L"ab;c").Tokenize(null, position));
    EXPECT_TRUE(CString(L"ab;c").Tokenize(L"", position).IsEmpty());
    EXPECT_EQ(-1, position);
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([&] { CString(L"a").Tokenize(L";", position); }));
}

// ---- Searching and comparing

TEST(CStringTest, Finds) {
    CString s(L"abcabc");
    EXPECT_EQ(1, s.Find(L'b'));
    EXPECT_EQ(4, s.Find(L'b', 2));
    EXPECT_EQ(-1, s.Find(L'x'));
    EXPECT_EQ(-1, s.Find(L'b', -1));
    EXPECT_EQ(-1, s.Find(L'b', 6));
    EXPECT_EQ(2, s.Find(L"ca"));
    EXPECT_EQ(3, s.Find(L"abc", 1));
    EXPECT_EQ(-1, s.Find(L"abcd"));
    EXPECT_EQ(2, s.Find(L"", 2));
    EXPECT_EQ(6, s.Find(L"", 6));
    EXPECT_EQ(-1, s.Find(L"", 7));
    EXPECT_EQ(-1, s.Find(null));
    EXPECT_EQ(5, s.ReverseFind(L'c'));
    EXPECT_EQ(-1, s.ReverseFind(L'x'));
    EXPECT_EQ(1, s.FindOneOf(L"cb"));
    EXPECT_EQ(-1, s.FindOneOf(L"xy"));
    EXPECT_EQ(-1, s.FindOneOf(null));
    EXPECT_EQ(-1, CString().Find(L'x'));
    EXPECT_EQ(0, CString().Find(L""));
}

TEST(CStringTest, FindsBehindAnInnerNul) {
    CString s(L"a\0bc", 4);
    EXPECT_EQ(2, s.Find(L"bc"));
    EXPECT_EQ(3, s.Find(L'c'));
}

TEST(CStringTest, Compares) {
    CString s(L"b");
    EXPECT_EQ(0, s.Compare(L"b"));
    EXPECT_EQ(1, s.Compare(L"a"));
    EXPECT_EQ(-1, s.Compare(L"c"));
    EXPECT_EQ(-1, s.Compare(L"ba"));
    EXPECT_EQ(1, s.Compare(null));
    EXPECT_EQ(0, CString().Compare(null));
    EXPECT_EQ(1, s.Compare(L"B"));
    EXPECT_EQ(0, s.CompareNoCase(L"B"));
    EXPECT_EQ(-1, s.CompareNoCase(L"C"));
    EXPECT_EQ(-1, CString(L"\u00E0").CompareNoCase(L"\u00E1"));
    EXPECT_NE(0, CString(L"\u00E0").CompareNoCase(L"\u00C0"));
    EXPECT_EQ(1, CString(L"_").CompareNoCase(L"A") < 0 ? 1 : 0); // letters compare as lower case
}

TEST(CStringTest, ComparesEightBitTextByUnsignedBytes) {
    EXPECT_EQ(1, CStringA("\xE9").Compare("z"));
    EXPECT_EQ(1, CStringA("\xE9").CompareNoCase("Z"));
}

TEST(CStringTest, ComparesByUtf16Units) {
    // U+1F600 is the units D83D DE00 and sorts before U+FB01.
    CString emoji(sizeof(wchar_t) > 2 ? CString(static_cast<wchar_t>(0x1F600)) : CString(L"\xD83D\xDE00"));
    EXPECT_EQ(-1, emoji.Compare(L"\uFB01"));
    EXPECT_EQ(1, emoji.Compare(L"\uD7FF"));
    EXPECT_EQ(0, emoji.Compare(CString(emoji)));
}

TEST(CStringTest, OperatorsCompare) {
    CString a(L"a"), b(L"b");
    EXPECT_TRUE(a == a && a == L"a" && L"a" == a && a == "a" && "a" == a && a == L'a');
    EXPECT_TRUE(a != b && a != L"b" && L"b" != a && a != "b" && a != L'b');
    EXPECT_TRUE(a < b && a < L"b" && L"a" < b && a <= b && a <= L"a" && L"a" <= a);
    EXPECT_TRUE(b > a && b > L"a" && L"b" > a && b >= a && b >= L"b" && L"b" >= b);
    EXPECT_TRUE(CString() == null);
}

TEST(CStringTest, EqualityEndsAtANulInside) {
    EXPECT_TRUE(CString(L"a\0b", 3) == CString(L"a\0c", 3));
    EXPECT_TRUE(CString(L"a\0b", 3) == L"a");
}

// ---- Exhausted memory

TEST(CStringTest, ExhaustedMemoryLeavesTheStringAsItWas) {
    CString shared(L"shared text");
    auto operations = {
        +[](CString& s) { s += L" and much more text than fits into the block that it has"; },
        +[](CString& s) { s.Insert(3, L" and much more text than fits into the block that it has"); },
        +[](CString& s) { s = L"and much more text than fits into the block that it has"; },
        +[](CString& s) { s.Format(L"%s and much more text than fits: %300d", s.GetString(), 7); },
        +[](CString& s) { s.Replace(L"e", L" and much more text than fits"); },
        +[](CString& s) { s.GetBuffer(1000); },
        +[](CString& s) { s.MakeUpper(); },
        +[](CString& s) { s.SetAt(0, L'x'); },
        +[](CString& s) { s = "8-bit text that is longer than the one that is there"; },
    };
    for (auto operation : operations) {
        int failures = FailEachAllocation([&] {
            CString s(shared);
            bool hasFailed = false;
            try {
                operation(s);
            } catch (CMemoryException* e) {
                hasFailed = true;
                e->Delete();
            }
            if (hasFailed) {
                EXPECT_EQ(shared.GetString(), s.GetString());
            }
        });
        EXPECT_LE(1, failures);
    }
    EXPECT_TEXT(L"shared text", shared);
}

TEST(CStringTest, TooLongTextsAreRefused) {
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([] { CString(L"abc", -1); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([] { CString("abc", -1); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([] { CString(L'x', 0x40000000); }));
    EXPECT_EQ(E_INVALIDARG, CodeThrownBy([] { CString(L"a").Append(L"b", -1); }));
}
