// Resource tables of the POSIX layer: registered ones, and those that cannot be used.
#include <gtest/gtest.h>
#include <posix/resource_table.h>
#include <win32.h>

#include <string>
#include <vector>

namespace {

const std::uint16_t block[] = {2, 'o', 'k', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
const std::uint16_t cutBlock[] = {2, 'o', 'k', 100, 'c', 'u', 't'};
const std::uint16_t pairBlock[] = {2, 0xD83D, 0xDE00, 0};

// Enters a table for the test program while it lives.
class Registered {
public:
    explicit Registered(const std::vector<mv_resource>& entries,
                        std::uint32_t version = MV_RESOURCE_TABLE_VERSION)
        : m_entries(entries) {
        s_table = {version, static_cast<std::uint32_t>(m_entries.size()), m_entries.data()};
        m_accepted = mvlib_register_resources(&s_table);
    }
    ~Registered() { mvlib_unregister_resources(&s_table); }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;
    int Accepted() const { return m_accepted; }

private:
    std::vector<mv_resource> m_entries;
    int m_accepted = 0;
    static mv_resource_table s_table; // must lie in the program
};

mv_resource_table Registered::s_table;

std::wstring Text(unsigned id) {
    wchar_t text[40] = L"";
    LoadStringW(nullptr, id, text, 40);
    return text;
}

} // namespace

TEST(ResourceTables, RegisteredTableBelongsToTheProgram) {
    {
        const Registered table({{MV_RESOURCE_STRING, 1, 0x0409, sizeof block, block}});
        EXPECT_EQ(table.Accepted(), 1);
        EXPECT_EQ(Text(0), L"ok");
        EXPECT_EQ(Text(1), L"");
        EXPECT_EQ(FindResourceW(GetModuleHandleW(L"libmvafx62.so.6"), MAKEINTRESOURCEW(1), RT_STRING),
                  nullptr);
    }
    EXPECT_EQ(Text(0), L"");
    EXPECT_EQ(FindResourceW(nullptr, MAKEINTRESOURCEW(1), RT_STRING), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_DATA_NOT_FOUND});
}

TEST(ResourceTables, SecondTableOfAModuleIsRefused) {
    static const mv_resource entries[] = {{MV_RESOURCE_STRING, 1, 0x0409, sizeof block, block}};
    static const mv_resource_table second = {MV_RESOURCE_TABLE_VERSION, 1, entries};
    const Registered table({{MV_RESOURCE_STRING, 1, 0x0409, sizeof block, block}});
    EXPECT_EQ(mvlib_register_resources(&second), 0);
    mvlib_unregister_resources(&second); // takes nothing away
    EXPECT_EQ(Text(0), L"ok");
}

TEST(ResourceTables, BlockThatEndsEarlyHasNoFurtherStrings) {
    const Registered table({{MV_RESOURCE_STRING, 1, 0x0409, sizeof cutBlock, cutBlock}});
    EXPECT_EQ(Text(0), L"ok");
    EXPECT_EQ(Text(1), L"cut");
    EXPECT_EQ(Text(2), L"");
    EXPECT_EQ(Text(15), L"");
}

TEST(ResourceTables, SurrogatePairIsOneCharacter) {
    const Registered table({{MV_RESOURCE_STRING, 1, 0x0409, sizeof pairBlock, pairBlock}});
    EXPECT_EQ(Text(0), L"\U0001F600");
}

TEST(ResourceTables, UnsortedTableIsRefused) {
    const Registered table({{MV_RESOURCE_STRING, 2, 0x0409, sizeof block, block},
                            {MV_RESOURCE_STRING, 1, 0x0409, sizeof block, block}});
    EXPECT_EQ(table.Accepted(), 0);
    EXPECT_EQ(Text(0), L"");
}

TEST(ResourceTables, TableOfAnotherVersionIsRefused) {
    const Registered table({{MV_RESOURCE_STRING, 1, 0x0409, sizeof block, block}}, 2);
    EXPECT_EQ(table.Accepted(), 0);
}
