// The tests meet in a folder of their own, which the processes that they start inherit.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace {

class RuntimeFolder : public testing::Environment {
public:
    void SetUp() override {
        char path[] = "/tmp/mvlib62-test-XXXXXX";
        ASSERT_NE(mkdtemp(path), nullptr);
        m_path = path;
        setenv("XDG_RUNTIME_DIR", path, 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_path); }

private:
    std::filesystem::path m_path;
};

[[maybe_unused]] const auto* const folder = testing::AddGlobalTestEnvironment(new RuntimeFolder);

} // namespace
