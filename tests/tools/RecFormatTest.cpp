// The payloads and names of packed trees, and the worked example of docs/mvtool-rec.md.
#include "rec_fixture.h"

#include <rec/format.h>

#include <fstream>
#include <sstream>

namespace tooltest {
namespace {

using mvtool::rec::Entry;
using mvtool::rec::kindOfName;
using mvtool::rec::NameKind;

TEST(RecFormat, AnEntryComesBackFromItsPayload) {
    const Entry entries[] = {
        {true, 0, 0, 0, u"a"},
        {true, mvtool::rec::kPosixName, -1, 0, u"a?"},
        {false, mvtool::rec::kExecutable | mvtool::rec::kReadOnly, INT64_MIN, UINT64_MAX, u"Größe"},
        {false, 0, INT64_MAX, 5, std::u16string(255, u'x')},
    };
    for (const Entry& entry : entries) {
        Entry read;
        const mvtool::rec::Fault fault = decode(encode(entry), entry.folder, read);
        EXPECT_EQ(fault.text, nullptr);
        EXPECT_EQ(read, entry);
    }
}

TEST(RecFormat, NamesOfEverySystemAreToldFromOthers) {
    for (const char16_t* name : {u"a", u".profile", u"..a", u"con1", u"COM", u"COM10", u"conx.txt", u"a.con",
                                 u"\xD83D\xDE00", u"LPTx", u"a b", u"com\u00B4"}) {
        EXPECT_EQ(kindOfName(name), NameKind::everywhere) << utf8(name);
    }
    for (const char16_t* name :
         {u"CON",    u"con.txt", u"Com1",    u"COM0.a", u"LPT\u00B9", u"nul",   u"prn.",
          u"aux .c", u"CONIN$",  u"conout$", u"clock$", u"a.",        u"a ",    u"...",
          u" ",      u"a<b",     u"a\"",     u"\t",     u"a\\b",      u"\xDCFF"}) {
        EXPECT_EQ(kindOfName(name), NameKind::posixOnly);
    }
    for (const std::u16string& name :
         {std::u16string(), std::u16string(u"."), std::u16string(u".."), std::u16string(u"a/b"),
          std::u16string(1, u'\0'), std::u16string(256, u'a'), std::u16string(u"\xD800"),
          std::u16string(u"\xDE00"), std::u16string(u"\xDCC3\xDCA9")}) {
        EXPECT_EQ(kindOfName(name), NameKind::nowhere);
    }
}

class RecPage : public RecTest {};

TEST_F(RecPage, TheWorkedExampleIsWhatTheToolWrites) {
    // The lines of the page's hex dump: offset, two blanks, bytes, two blanks and more, what they mean.
    std::ifstream page(MVLIB_DOCS "/mvtool-rec.md");
    ASSERT_TRUE(page.is_open());
    std::string expected;
    for (std::string line; std::getline(page, line);) {
        if (line.size() < 8 || line.find_first_not_of("0123456789abcdef") != 4 || line.substr(4, 2) != "  ") {
            continue;
        }
        ASSERT_EQ(std::stoul(line.substr(0, 4), nullptr, 16), expected.size()) << line;
        std::istringstream bytes(line.substr(6, line.find("  ", 6) - 6));
        for (std::string byte; bytes >> byte;) {
            expected += static_cast<char>(std::stoul(byte, nullptr, 16));
        }
    }
    Write("tree/hi/a.txt", "abc");
    setModified(Path("tree/hi/a.txt"), 1709285400000000000);
    setModified(Path("tree/hi"), 1709285400000000000);
    ASSERT_EQ(Build("tree", "tree.rec").code, kDone);
    EXPECT_EQ(Read("tree.rec"), expected);
}

} // namespace
} // namespace tooltest
