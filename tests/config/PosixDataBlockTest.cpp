// Names of data blocks in a code page that takes several bytes for a character.
#include "BlockSupport.h"

#include "win32.h"

namespace {

int WriteAndRead() {
    ::setenv("MVLIB_CODEPAGE", "utf-8", 1);
    TBlocOpcions block, loaded;
    block.EntraValorInt32(L"\u00E9bc", 7);
    const std::string data = DataOf(block);
    if (GetACP() != CP_UTF8)
        return 3;
    if (data != BlockBytes().Int("\xC3\xA9\x62", 7).Bytes())
        return 4;
    return Load(loaded, data) == 0 && NamesOf(loaded) == Names{L"\u00E9b"} ? 0 : 5;
}

} // namespace

// Kept: a name has as many bytes as UTF-16 units, so that it is cut. A process asks for its code page once,
// so another one has to look.
TEST(PosixDataBlockTest, NamesAreCutInACodePageOfSeveralBytes) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(WriteAndRead()), testing::ExitedWithCode(0), "");
}
