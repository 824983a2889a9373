// Runs a fuzz target over the files of a folder, one test each: what has been found stays found.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

class Replay : public testing::Test {
public:
    explicit Replay(fs::path file)
        : m_file(std::move(file)) {}

    void TestBody() override {
        std::ifstream stream(m_file, std::ios::binary);
        ASSERT_TRUE(stream) << m_file;
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        // A block of exactly that size, so that reading past its end is seen.
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
        EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
    }

private:
    fs::path m_file;
};

std::string NameOfTest(const fs::path& file) {
    std::string name = file.filename().string();
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    std::set<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(argv[1]))
        if (entry.is_regular_file())
            files.insert(entry.path());
    for (const fs::path& file : files)
        testing::RegisterTest("Replay", NameOfTest(file).c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [file]() -> Replay* { return new Replay(file); });
    return RUN_ALL_TESTS();
}
