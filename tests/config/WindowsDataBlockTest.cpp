// Names of data blocks in a code page that takes several bytes for a character.
#include "BlockSupport.h"

#include "win32.h"

// Kept: a name has as many bytes as UTF-16 units, so that it is cut.
TEST(WindowsDataBlockTest, NamesAreCutInACodePageOfSeveralBytes) {
    const LCID before = GetThreadLocale();
    ASSERT_TRUE(SetThreadLocale(0x0411)); // Japanese, code page 932
    const std::wstring name = L"\u3042b";
    char bytes[8] = {};
    const int size =
        WideCharToMultiByte(CP_THREAD_ACP, 0, name.c_str(), 2, bytes, sizeof bytes, nullptr, nullptr);
    TBlocOpcions block, loaded;
    block.EntraValorInt32(name.c_str(), 7);
    const std::string data = DataOf(block);
    const int code = Load(loaded, data);
    SetThreadLocale(before);
    ASSERT_EQ(size, 3) << "the system has no such code page";
    EXPECT_EQ(data, BlockBytes().Int("\x82\xA0", 7).Bytes()) << "the first two of three bytes";
    EXPECT_EQ(code, 0);
    EXPECT_EQ(NamesOf(loaded), Names{L"\u3042"});
}
