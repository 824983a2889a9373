// mvtool dde serve and signals.
#include "program.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace tooltest {
namespace {

bool listed() {
    return mvtool({"dde", "list"}).out.find("mvlib62.signal") != std::string::npos;
}

TEST(DdeCommands, CtrlCEndsTheServerWell) {
    RunningTool server({"dde", "serve", "mvlib62.signal", "Jobs"});
    for (int i = 0; i < 200 && !listed(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_TRUE(listed());
    server.interrupt();
    EXPECT_EQ(server.wait().code, 0);
    EXPECT_FALSE(listed());
}

} // namespace
} // namespace tooltest
