// The order of virtual operations, which applications that derive from these classes were compiled against. A
// pointer to a virtual member is one more than its offset in the table of the class.
#include <CMirvaExcepcio.h>
#include <TIndicadorEstat.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

template <class Member>
std::ptrdiff_t Slot(Member member) {
    std::ptrdiff_t words[2];
    static_assert(sizeof member == sizeof words, "a pointer to a member is two words");
    std::memcpy(words, &member, sizeof words);
    EXPECT_EQ(words[0] % 2, 1) << "not virtual";
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

} // namespace

TEST(StatusLayout, IndicatorKeepsTheOrderOfItsVirtualOperations) {
    typedef TIndicadorEstat T;
    // The destructor takes two places.
    EXPECT_EQ(Slot(static_cast<void (T::*)(const wchar_t*)>(&T::SetMissatge)), 2);
    EXPECT_EQ(Slot(&T::MostrarEstat), 3);
    EXPECT_EQ(Slot(&T::TestCancel), 4);
    EXPECT_EQ(Slot(&T::Init), 5);
    EXPECT_EQ(Slot(&T::Cancelar), 6);
    EXPECT_EQ(Slot(&T::Pausa), 7);
    EXPECT_EQ(Slot(&T::Reanudar), 8);
    EXPECT_EQ(Slot(&T::ActivarTimer), 9);
    EXPECT_EQ(Slot(&T::DesactivarTimer), 10);
    EXPECT_EQ(Slot(static_cast<int (T::*)(const wchar_t*, int, unsigned int)>(&T::Report)), 11);
}

TEST(StatusLayout, ExceptionKeepsTheOrderOfItsVirtualOperations) {
    typedef CMirvaExcepcio T;
    EXPECT_EQ(Slot(&T::GetRuntimeClass), 0);
    // The destructor takes two places.
    EXPECT_EQ(Slot(&T::Serialize), 3);
    EXPECT_EQ(Slot(&T::AssertValid), 4);
    EXPECT_EQ(Slot(&T::Dump), 5);
    typedef BOOL (T::*Constant)(wchar_t*, unsigned int, unsigned int*) const;
    typedef BOOL (T::*Plain)(wchar_t*, unsigned int, unsigned int*);
    EXPECT_EQ(Slot(static_cast<Constant>(&T::GetErrorMessage)), 6);
    EXPECT_EQ(Slot(static_cast<Plain>(&T::GetErrorMessage)), 7);
    EXPECT_EQ(Slot(&T::ReportError), 8);
}
