#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

// One run of gdb that prints variables of the sample's main, each between marks of its own.
class GdbPrinters : public testing::Test {
protected:
    static void SetUpTestSuite() {
        std::string command = "gdb -nx -batch -ex 'source " GDB_PRINTERS "' -ex 'set print address off'"
                              " -ex 'break Stop' -ex run -ex up";
        for (const char* variable : {"number", "single", "character", "text", "nothing", "string", "pair",
                                     "list", "cross", "ring", "hash", "cut", "table", "tree"}) {
            const std::string name(variable);
            command += " -ex 'echo <" + name + ">' -ex 'output " + name + "' -ex 'echo </" + name + ">'";
        }
        command += " -ex kill " GDB_SAMPLE " 2>&1";
        s_output = "gdb could not be started";
        if (FILE* gdb = popen(command.c_str(), "r")) {
            s_output.clear();
            char buffer[4096];
            while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, gdb)) {
                s_output.append(buffer, got);
            }
            pclose(gdb);
        }
    }

    // What gdb printed for a variable; all that it said when it printed nothing.
    static std::string Printed(const std::string& name) {
        const std::string mark = "<" + name + ">";
        const std::size_t start = s_output.find(mark);
        const std::size_t end = s_output.find("</" + name + ">");
        if (start == std::string::npos || end == std::string::npos) {
            return s_output;
        }
        return s_output.substr(start + mark.size(), end - start - mark.size());
    }

    static inline std::string s_output;
};

TEST_F(GdbPrinters, ValueItemsShowTheirValue) {
    EXPECT_EQ(Printed("number"), "TInt(7)");
    EXPECT_EQ(Printed("single"), "TFloat(1.5)");
    EXPECT_EQ(Printed("character"), "TChar(120 L'x')");
    EXPECT_EQ(Printed("text"), "TItemString(L\"abc\")");
    EXPECT_EQ(Printed("nothing"), "TItemString(null)");
    EXPECT_EQ(Printed("string"), "L\"wide\"");
}

TEST_F(GdbPrinters, ListsShowTheirItemsAsWhatTheyAre) {
    EXPECT_EQ(Printed("list"),
              "TLlista of 3 items, cursor 3, room for 16 = {TInt(1), TItemString(L\"two\"), null}");
}

TEST_F(GdbPrinters, NodesWithoutAnItemShowNull) {
    EXPECT_EQ(Printed("cross"), "TCrossList of 1 node, sorted = {null}");
}

TEST_F(GdbPrinters, TreesShowTheirItemAndWhatIsBelow) {
    EXPECT_EQ(Printed("tree"),
              "TArbre = {m_pItem = TInt(1), m_fills = TLlista of 1 item, cursor 1, room for 16 = {"
              "TArbre = {m_pItem = TInt(2), m_fills = TLlista of 0 items, cursor 0, room for 0, "
              "m_wFlags = 2}}, m_wFlags = 2}");
}

TEST_F(GdbPrinters, PairsShowKeyAndItem) {
    EXPECT_EQ(Printed("pair"), "THashItem(L\"key\") = {m_pItem = TInt(7)}");
}

TEST_F(GdbPrinters, KeysThatWereCutShowWhatIsLeft) {
    EXPECT_EQ(Printed("cut"), "THash of 1 key, 1 slot, 1 bucket = {[" + std::string(261, 'k') + "] = null}");
}

TEST_F(GdbPrinters, RingsComeToAnEnd) {
    EXPECT_EQ(Printed("ring"), "TCircularCrossList of 2 nodes, sorted = {TInt(1), TBool(0)}");
}

TEST_F(GdbPrinters, HashShowsKeysAndItems) {
    EXPECT_EQ(Printed("hash"),
              "THash of 2 keys, 5 slots, 2 buckets = {[five] = TInt(5), [ha] = TDouble(0.5)}");
}

TEST_F(GdbPrinters, TablesShowTheirCells) {
    EXPECT_EQ(Printed("table"), "TTaulaBool of 1 row by 2 columns = {(0, 0) = TBool(1), (0, 1) = TBool(1)}");
}

} // namespace
