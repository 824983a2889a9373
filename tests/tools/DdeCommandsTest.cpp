// mvtool dde: one run serves, others talk to it.
#include "program.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace tooltest {
namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Returns when the service mvlib62.tool is there.
void awaitService() {
    for (int i = 0; i < 40 && !contains(mvtool({"dde", "list"}).out, "mvlib62.tool"); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

/// A server of the service mvlib62.tool; it ends by itself after `count` commands and requests.
class Serving {
public:
    explicit Serving(const std::string& count, std::vector<std::string> more = {}) {
        std::vector<std::string> words = {"dde", "serve", "mvlib62.tool", "Jobs", "Status", "--count", count};
        words.insert(words.end(), more.begin(), more.end());
        m_tool = std::make_unique<RunningTool>(words);
        awaitService();
    }
    Result wait() { return m_tool->wait(); }

private:
    std::unique_ptr<RunningTool> m_tool;
};

TEST(DdeCommands, ServerIsListedWithItsTopics) {
    Serving server("1");
    const Result result = mvtool({"dde", "list"});
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(contains(result.out, "mvlib62.tool|Jobs\n")) << result.out;
    EXPECT_EQ(mvtool({"dde", "exec", "mvlib62.tool", "Jobs", "end"}).code, 0);
    EXPECT_EQ(server.wait().code, 0);
}

TEST(DdeCommands, CommandsReachTheServer) {
    Serving server("3");
    EXPECT_EQ(mvtool({"dde", "exec", "MVLIB62.TOOL", "jobs", "print a.tif"}).code, 0);
    EXPECT_EQ(mvtool({"dde", "exec", "mvlib62.tool", "Status", "show", "--timeout", "5000"}).code, 0);
    EXPECT_EQ(mvtool({"dde", "exec", "mvlib62.tool", "Jobs", "later", "--no-wait"}).code, 0);
    const Result result = server.wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "execute Jobs: print a.tif\nexecute Status: show\nexecute Jobs: later\n");
}

TEST(DdeCommands, RefusedCommandIsANo) {
    Serving server("1", {"--refuse"});
    const Result result = mvtool({"dde", "exec", "mvlib62.tool", "Jobs", "x"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "mvtool: the server refused the command\n");
    server.wait();
}

TEST(DdeCommands, ItemIsPrinted) {
    Serving server("1", {"--answer", "42 jobs"});
    const Result result = mvtool({"dde", "request", "mvlib62.tool", "Status", "Count"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "42 jobs\n");
    EXPECT_EQ(server.wait().out, "request Count\n");
}

TEST(DdeCommands, MissingItemIsANo) {
    Serving server("1");
    const Result result = mvtool({"dde", "request", "mvlib62.tool", "Status", "Count"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "mvtool: the server has no such item\n");
    server.wait();
}

TEST(DdeCommands, NobodyThereIsNotFound) {
    const Result result = mvtool({"dde", "exec", "mvlib62.nobody", "Jobs", "x"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.err, "mvtool: nobody serves mvlib62.nobody|Jobs\n");
    EXPECT_EQ(mvtool({"dde", "request", "mvlib62.nobody", "Jobs", "x"}).code, 3);
}

TEST(DdeCommands, CtrlCEndsTheServerWell) {
    RunningTool server({"dde", "serve", "mvlib62.tool", "Jobs"});
    awaitService();
    EXPECT_EQ(mvtool({"dde", "exec", "mvlib62.tool", "Jobs", "before"}).code, 0);
    server.interrupt();
    const Result result = server.wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "execute Jobs: before\n");
    EXPECT_FALSE(contains(mvtool({"dde", "list"}).out, "mvlib62.tool"));
    EXPECT_EQ(mvtool({"dde", "exec", "mvlib62.tool", "Jobs", "after"}).code, 3);
}

TEST(DdeCommands, MistakesAreNamed) {
    EXPECT_EQ(mvtool({"dde", "exec", "", "Jobs", "x"}).code, 2);
    EXPECT_EQ(mvtool({"dde", "exec", std::string(256, 's'), "Jobs", "x"}).code, 2);
    for (const char* timeout : {"0", "-1", "x", "", "99999999999"}) {
        EXPECT_EQ(mvtool({"dde", "exec", "s", "t", "x", std::string("--timeout=") + timeout}).code, 2)
            << timeout;
    }
    EXPECT_EQ(mvtool({"dde", "serve", "mvlib62.tool"}).code, 2);
}

TEST(ShareCommands, MissingFolderIsNotFound) {
    EXPECT_EQ(mvtool({"share", "add", "no such folder"}).code, 3);
    const Result result = mvtool({"share", "del", "no such folder"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.err, "mvtool: there is no folder no such folder\n");
}

// No system that the tests run on has network shares.
TEST(ShareCommands, FailureComesWithItsReason) {
    const Result result = mvtool({"share", "add", "."});
    EXPECT_EQ(result.code, 7);
    EXPECT_TRUE(contains(result.err, "mvtool: . is not shared: ")) << result.err;
    EXPECT_TRUE(contains(result.err, "(50)")) << result.err;
}

} // namespace
} // namespace tooltest
