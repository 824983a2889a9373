// What the tool needs of a console program's surroundings. One source per target: system_posix.cpp,
// system_win32.cpp.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mvtool {

enum class Stream { output, error };

/// Once, before anything else: sees that failing writes come back as errors instead of ending the program.
void prepareProcess();

/// The command line's words behind the program's name, as UTF-8 (natively the bytes as they came).
std::vector<std::string> commandLine(int argc, char** argv);

/// True when a person sees what is written there.
bool isTerminal(Stream stream);

/// Columns of the terminal, 80 when unknown.
int terminalColumns(Stream stream);

enum class Written { all, failed, noReader };

/// Writes UTF-8 text, whatever the console's own code page. noReader: it goes to a pipe that nobody reads any
/// more.
Written writeStream(Stream stream, std::string_view utf8);

/// A path of the library as the system writes it: natively with "/".
std::string systemPath(std::string path);

/// Where the library keeps its registry, for a person to read.
std::string registryStore();

/// The system's text for the error of the calling thread's last failed system call.
std::string lastSystemError();

/// While it lives, Ctrl-C (natively SIGINT, SIGTERM and SIGHUP, on Windows every console event) calls the
/// action on a thread of its own instead of ending the program. One at a time.
class Interruption {
public:
    explicit Interruption(std::function<void()> action);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace mvtool
