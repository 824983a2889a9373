// Standard output and standard error of the tool: results, notes and the progress line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mvtool {

/// One object serves the program (console()); it belongs to the main thread.
class Console {
public:
    /// Adds to standard output, which is kept in memory for a while. Failure(writeFailure) when it cannot be
    /// written.
    void print(std::string_view text);
    /// Writes what print kept. Failure(writeFailure) when it cannot be written now or could not be before.
    void flush();
    /// A line "mvtool: text" on standard error, above the progress line. Results printed before come out
    /// before it. Throws nothing: it is called from inside the library, too.
    void note(std::string_view text);
    /// Replaces the progress line, which is cut to the terminal's width.
    void showProgress(const std::string& line);
    /// Ends the progress line: takes it from a terminal, leaves it in a file.
    void endProgress();

private:
    void write();

    std::string m_pending;
    std::optional<std::string> m_broken; ///< what to say of standard output once it could not be written
    std::size_t m_progressColumns = 0;
};

Console& console();

} // namespace mvtool
