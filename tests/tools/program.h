// Runs the built mvtool as a user would, and what its tests need of the file system. One source per target
// beside it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tooltest {

struct Result {
    int code = -1; ///< exit code; -1 when the program was ended by the system
    std::string out;
    std::string err;
};

/// How the program is started beyond its words.
struct Surroundings {
    std::filesystem::path folder;         ///< current folder; empty: the test's own
    std::filesystem::path standardOutput; ///< a file to write to instead of Result::out
    std::uint64_t fileSizeLimit = 0;      ///< natively the most bytes that a file may have; 0: no limit
    std::vector<int> closed;              ///< natively: standard streams (0, 1, 2) that it starts without
};

/// Runs `mvtool words...` to its end. Words are UTF-8.
Result mvtool(const std::vector<std::string>& words, const Surroundings& surroundings = {});

/// A run that a test can interrupt.
class RunningTool {
public:
    explicit RunningTool(const std::vector<std::string>& words);
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;
    /// Stops the program where it is, and lets it go on.
    void hold();
    void resume();
    /// Ctrl-C; on Windows it reaches every run.
    void interrupt();
    bool running();
    /// Natively: true once it has opened a file that lies at the path or has that beginning.
    bool hasOpen(const std::filesystem::path& beginning) const;
    Result wait();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// Sets a file's or folder's modification time, nanoseconds since 1970 UTC.
void setModified(const std::filesystem::path& path, std::int64_t ns);
std::int64_t modified(const std::filesystem::path& path);

/// UTF-8 as the tool takes it.
std::string utf8(const std::filesystem::path& path);

} // namespace tooltest
