// Exit codes of mvtool and the one exception that carries them out of a command.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace mvtool {

/// What the program tells its caller. The numbers are part of the interface (docs/mvtool.md).
enum class Exit {
    done = 0,         ///< everything asked for was done
    no = 1,           ///< a check was made and its answer is "no"
    usage = 2,        ///< the command line makes no sense
    notFound = 3,     ///< an input is missing or cannot be read
    damaged = 4,      ///< an input is not what it should be
    cancelled = 5,    ///< the user stopped the work
    writeFailure = 6, ///< an output could not be written
    internal = 7      ///< anything else, such as no memory
};

/// Ends a command: main prints the text after "mvtool: " and exits with the code. An empty text prints
/// nothing.
class Failure : public std::exception {
public:
    Failure(Exit code, std::string text)
        : m_code(code)
        , m_text(std::move(text)) {}
    Exit code() const { return m_code; }
    const std::string& text() const { return m_text; }
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    Exit m_code;
    std::string m_text;
};

} // namespace mvtool
