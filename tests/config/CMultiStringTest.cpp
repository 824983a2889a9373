#include <CMultiString.h>

#include "alloc_failure.h"

#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

/// A list whose fields can be seen.
class Strings : public CMultiString {
public:
    using CMultiString::CMultiString;
    using CMultiString::operator=;
    using CMultiString::m_nMidaBuffer;
    using CMultiString::m_offsets;
    using CMultiString::m_pBuffer;
};

std::wstring Buffer(const CMultiString& list) {
    return std::wstring(static_cast<const wchar_t*>(list), static_cast<std::size_t>(list.GetMidaBuffer()));
}

std::vector<std::wstring> Members(const CMultiString& list) {
    std::vector<std::wstring> members;
    for (int i = 0; i < list.GetNumStr(); ++i)
        members.emplace_back(list[i]);
    return members;
}

using List = std::vector<std::wstring>;

std::wstring Text(const wchar_t* buffer, std::size_t size) {
    return std::wstring(buffer, size);
}
#define BUFFER(literal) Text(literal, sizeof(literal) / sizeof(wchar_t) - 1)

const wchar_t* const ThreeNames[] = {L"one", L"two", L"three"};

} // namespace

TEST(CMultiStringTest, ExampleUsage) {
    CMultiString names;
    names += L"ab";
    names += CString(L"c");
    EXPECT_EQ(names.GetNumStr(), 2);
    EXPECT_STREQ(names[1], L"c");
    EXPECT_EQ(names.Buscar(L"ab"), 0);
    names.Treure(L"ab");
    EXPECT_EQ(Members(names), List{L"c"});
}

TEST(CMultiStringTest, AnEmptyListIsABufferOfTwoNuls) {
    const Strings list;
    EXPECT_EQ(list.GetNumStr(), 0);
    EXPECT_EQ(list.GetMidaBuffer(), 2);
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0"));
    EXPECT_TRUE(list.m_offsets.IsEmpty());
}

TEST(CMultiStringTest, AppendedStringsLieBackToBackWithTheirOffsets) {
    Strings list;
    list.Afegir(L"ab");
    EXPECT_EQ(Buffer(list), BUFFER(L"ab\0\0"));
    list.Afegir(L"c");
    EXPECT_EQ(Buffer(list), BUFFER(L"ab\0c\0\0"));
    EXPECT_EQ(list.GetMidaBuffer(), 6);
    ASSERT_EQ(list.m_offsets.GetSize(), 2);
    EXPECT_EQ(list.m_offsets[0], 0);
    EXPECT_EQ(list.m_offsets[1], 3);
}

TEST(CMultiStringTest, AppendingAnEmptyOrNullStringAloneChangesNothing) {
    CMultiString list;
    list.Afegir(L"");
    list.Afegir(static_cast<const wchar_t*>(nullptr));
    list += L"";
    list += CString();
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0"));
    list.Afegir(L"a");
    list += L"";
    EXPECT_EQ(Buffer(list), BUFFER(L"a\0\0"));
}

TEST(CMultiStringTest, AnArrayIsAppendedWhole) {
    CMultiString list(L"zero\0");
    list.Afegir(ThreeNames, 3);
    EXPECT_EQ(Members(list), (List{L"zero", L"one", L"two", L"three"}));
    EXPECT_EQ(Buffer(list), BUFFER(L"zero\0one\0two\0three\0\0"));
}

TEST(CMultiStringTest, AnArrayOfNoStringsAppendsNothing) {
    CMultiString list;
    list.Afegir(ThreeNames, 0);
    list.Afegir(ThreeNames, -1);
    list.Afegir(static_cast<const wchar_t* const*>(nullptr), 3);
    EXPECT_EQ(list.GetNumStr(), 0);
    EXPECT_EQ(CMultiString(ThreeNames, 0).GetMidaBuffer(), 2);
    EXPECT_EQ(CMultiString(ThreeNames, -5).GetMidaBuffer(), 2);
    EXPECT_EQ(CMultiString(nullptr, 3).GetMidaBuffer(), 2);
}

// Kept: only a single empty string is ignored.
TEST(CMultiStringTest, EmptyStringsOfALongerArrayCountButEndTheBufferForOthers) {
    const wchar_t* const withEmpty[] = {L"a", L"", L"b"};
    const CMultiString list(withEmpty, 3);
    EXPECT_EQ(list.GetNumStr(), 3);
    EXPECT_EQ(list.GetMidaBuffer(), 6);
    EXPECT_EQ(Buffer(list), BUFFER(L"a\0\0b\0\0"));
    EXPECT_STREQ(list[1], L"");
    EXPECT_STREQ(list[2], L"b");
    EXPECT_EQ(CMultiString(static_cast<const wchar_t*>(list)).GetNumStr(), 1);

    const wchar_t* const oneEmpty[] = {L""};
    EXPECT_EQ(CMultiString(oneEmpty, 1).GetNumStr(), 0);
}

TEST(CMultiStringTest, AssignmentCopiesABufferUpToItsFirstEmptyString) {
    const wchar_t* const withEmpty[] = {L"a", L"", L"b"};
    const CMultiString list(withEmpty, 3);
    const CMultiString copy(list);
    EXPECT_EQ(copy.GetNumStr(), 3);
    EXPECT_EQ(Buffer(copy), Buffer(list));
    CMultiString assigned;
    assigned = list;
    EXPECT_EQ(Members(assigned), List{L"a"});
    EXPECT_EQ(Buffer(assigned), BUFFER(L"a\0\0"));
    CMultiString wide(L"x\0");
    wide.GetBuffer(50);
    wide.ReleaseBuffer();
    assigned = wide;
    EXPECT_EQ(assigned.GetMidaBuffer(), 3) << "as large as its strings";
    EXPECT_EQ(list.Buscar(L""), 1);
    EXPECT_EQ(list.Buscar(L"b"), 2);
}

TEST(CMultiStringTest, AppendingAfterAnotherFilledTheBufferGoesToItsEnd) {
    Strings list;
    wchar_t* buffer = list.GetBuffer(10);
    std::wmemcpy(buffer, L"ab\0c\0\0", 7);
    list.ReleaseBuffer();
    list.Afegir(L"d");
    EXPECT_EQ(list.GetMidaBuffer(), 12);
    EXPECT_EQ(Members(list), (List{L"ab", L"c", L"d"}));
    EXPECT_EQ(list.m_offsets[2], 9) << "behind the size that was asked for";
    EXPECT_EQ(CMultiString(static_cast<const wchar_t*>(list)).GetNumStr(), 2) << "the buffer ends before it";
}

TEST(CMultiStringTest, TwoEmptyStringsInAnEmptyListOverwriteItsNuls) {
    const wchar_t* const empties[] = {L"", L""};
    CMultiString list(empties, 2);
    EXPECT_EQ(list.GetNumStr(), 2);
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0\0"));
    list.Afegir(L"a");
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0a\0\0"));
    EXPECT_STREQ(list[2], L"a");
}

TEST(CMultiStringTest, AListIsMadeFromABufferThatEndsInTwoNuls) {
    const CMultiString list(L"one\0two\0");
    EXPECT_EQ(Members(list), (List{L"one", L"two"}));
    EXPECT_EQ(Buffer(list), BUFFER(L"one\0two\0\0"));
    EXPECT_EQ(CMultiString(static_cast<const wchar_t*>(nullptr)).GetMidaBuffer(), 2);
    EXPECT_EQ(Buffer(CMultiString(L"")), BUFFER(L"\0\0"));
}

TEST(CMultiStringTest, SetAndAssignmentReplaceTheContent) {
    CMultiString list(ThreeNames, 3);
    list.Set(L"a\0b\0");
    EXPECT_EQ(Members(list), (List{L"a", L"b"}));
    list = L"c\0";
    EXPECT_EQ(Buffer(list), BUFFER(L"c\0\0"));
    list.Set(nullptr);
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0"));
}

TEST(CMultiStringTest, AListMayBeSetToAPartOfItself) {
    CMultiString list(ThreeNames, 3);
    list = list[1];
    EXPECT_EQ(Members(list), (List{L"two", L"three"}));
    list += list[0];
    list += list;
    EXPECT_EQ(Members(list), (List{L"two", L"three", L"two", L"two", L"three", L"two"}));
    const wchar_t* const own[] = {list[1], L"x", list[0]};
    list.Afegir(own, 3);
    EXPECT_EQ(list.GetNumStr(), 9);
    EXPECT_STREQ(list[6], L"three");
    EXPECT_STREQ(list[7], L"x");
    EXPECT_STREQ(list[8], L"two");
    list = list;
    EXPECT_EQ(list.GetNumStr(), 9);
}

TEST(CMultiStringTest, CopiesAreIndependent) {
    CMultiString list(ThreeNames, 3);
    CMultiString copy(list);
    CMultiString assigned;
    assigned = list;
    list.Buidar();
    EXPECT_EQ(copy.GetNumStr(), 3);
    EXPECT_EQ(Buffer(assigned), Buffer(copy));
    copy += assigned;
    EXPECT_EQ(copy.GetNumStr(), 6);
    EXPECT_EQ(assigned.GetNumStr(), 3);
}

TEST(CMultiStringTest, SearchingIsExactAndFindsTheFirst) {
    const wchar_t* const names[] = {L"Name", L"name", L"name2", L"name"};
    CMultiString list(names, 4);
    EXPECT_EQ(list.Buscar(L"name"), 1);
    EXPECT_EQ(list.Buscar(L"Name"), 0);
    EXPECT_EQ(list.Buscar(L"NAME"), -1);
    EXPECT_EQ(list.Buscar(L"nam"), -1);
    EXPECT_EQ(list.Buscar(L""), -1);
    EXPECT_EQ(list.Buscar(nullptr), -1);
}

TEST(CMultiStringTest, AStringIsRemovedByIndexOrByItsText) {
    Strings list(ThreeNames, 3);
    list.Treure(1);
    EXPECT_EQ(Buffer(list), BUFFER(L"one\0three\0\0"));
    EXPECT_EQ(list.m_offsets[1], 4);
    list.Treure(L"ONE");
    list.Treure(L"nothing");
    list.Treure(2);
    list.Treure(-1);
    EXPECT_EQ(list.GetNumStr(), 2);
    list.Treure(L"one");
    list.Treure(0);
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0"));
    list.Treure(0);
    EXPECT_EQ(list.GetMidaBuffer(), 2);
}

TEST(CMultiStringTest, RemovingRebuildsTheListWithoutItsEmptyStrings) {
    const wchar_t* const withEmpty[] = {L"a", L"", L"b"};
    CMultiString list(withEmpty, 3);
    list.Treure(0);
    EXPECT_EQ(Buffer(list), BUFFER(L"b\0\0"));
}

TEST(CMultiStringTest, EmptyingShrinksTheBuffer) {
    CMultiString list(ThreeNames, 3);
    list.Buidar();
    EXPECT_EQ(list.GetNumStr(), 0);
    EXPECT_EQ(Buffer(list), BUFFER(L"\0\0"));
    list += L"again";
    EXPECT_EQ(Members(list), List{L"again"});
}

TEST(CMultiStringTest, AnotherMayFillTheBuffer) {
    Strings list(L"old\0");
    wchar_t* buffer = list.GetBuffer(100);
    EXPECT_EQ(list.GetMidaBuffer(), 100);
    EXPECT_STREQ(buffer, L"old");
    std::wmemcpy(buffer, L"new\0er\0\0", 8);
    list.ReleaseBuffer();
    EXPECT_EQ(Members(list), (List{L"new", L"er"}));
    EXPECT_EQ(list.GetMidaBuffer(), 100);
    // A smaller size than there is changes nothing.
    EXPECT_EQ(list.GetBuffer(5), list.m_pBuffer);
    list.GetBuffer(-1);
    EXPECT_EQ(list.GetMidaBuffer(), 100);
}

TEST(CMultiStringTest, AnIndexOutsideThrowsTheInvalidArgumentException) {
    const CMultiString list(ThreeNames, 3);
    for (const int i : {-1, 3, INT_MIN, INT_MAX}) {
        for (int form = 0; form < 2; ++form) {
            try {
                form ? list.GetCadena(i) : list[i];
                ADD_FAILURE() << i;
            } catch (CInvalidArgException* exception) {
                exception->Delete();
            }
        }
    }
    EXPECT_THROW(
        {
            try {
                CMultiString().GetCadena(0);
            } catch (CInvalidArgException* exception) {
                exception->Delete();
                throw 1;
            }
        },
        int);
}

TEST(CMultiStringTest, AnalysingABufferGivesOffsetsAndSize) {
    CArray<int, int> offsets;
    offsets.Add(99);
    EXPECT_EQ(CMultiString::analitzarCadena(L"ab\0c\0", offsets), 6);
    ASSERT_EQ(offsets.GetSize(), 2);
    EXPECT_EQ(offsets[0], 0);
    EXPECT_EQ(offsets[1], 3);
    EXPECT_EQ(CMultiString::analitzarCadena(L"", offsets), 2);
    EXPECT_TRUE(offsets.IsEmpty());
}

TEST(CMultiStringTest, BlocksComeFromMalloc) {
    wchar_t* block = CMultiString::allocBuffer(3, L"abc");
    EXPECT_EQ(std::wstring(block, 3), L"abc");
    block = CMultiString::reallocBuffer(5, block);
    EXPECT_EQ(std::wstring(block, 3), L"abc");
    std::free(block);
    std::free(CMultiString::allocBuffer(0, nullptr));
}

TEST(CMultiStringTest, ASizeThatNoMemoryHasThrowsTheMemoryException) {
    for (const int size : {-1, INT_MIN}) {
        try {
            std::free(CMultiString::allocBuffer(size, nullptr));
            ADD_FAILURE() << size;
        } catch (CMemoryException* exception) {
            exception->Delete();
        }
    }
}

TEST(CMultiStringTest, AFailedAllocationThrowsAndLeavesTheListAsItWas) {
    int thrown = 0;
    const int failures = FailEachAllocation([&] {
        try {
            CMultiString list;
            try {
                list.Afegir(ThreeNames, 3);
                list += L"four";
                list += list[0];
                list.Set(L"x\0y\0");
                CMultiString copy(list);
                copy += list;
                copy.Treure(0);
                copy.GetBuffer(100);
                list = copy;
            } catch (CMemoryException* exception) {
                exception->Delete();
                ++thrown;
                for (int i = 0; i < list.GetNumStr(); ++i)
                    EXPECT_NE(list[i][0], 0);
            }
        } catch (CMemoryException* exception) {
            exception->Delete();
            ++thrown;
        }
    });
    EXPECT_GE(failures, 10);
    EXPECT_EQ(thrown, failures);
}
