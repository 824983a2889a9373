// A long operation of the tool: its status indicator, the bar that shows it, and Ctrl-C, which cancels it.
#pragma once

#include "command.h"
#include "system.h"
#include "TIndicadorEstat.h"
#include <chrono>
#include <string>

namespace mvtool {

/// The option of every command that shows a bar.
inline constexpr OptionSpec kProgressOption = {
    "progress", 0, "WHEN", "show progress on standard error: auto (on a terminal), always, never"};

class Progress {
public:
    /// `arguments` decide whether a bar is drawn; without them none is. Failure(usage) for an unknown WHEN.
    explicit Progress(const Arguments* arguments);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    TIndicadorEstat* indicator() { return &m_indicator; }
    /// What the line behind the bar says from now on. Not escaped.
    void say(const std::string& text);
    /// Throws Failure(cancelled) when the user has cancelled.
    void check();
    /// For the results of the indicator's operations: 0 means that the user has cancelled.
    void check(int result);
    /// The whole bar, once, then takes it away. For the successful end.
    void finish();

private:
    static void onPosition(TIndicadorEstat* indicator, unsigned long self);
    void draw();

    bool m_drawn = false;
    bool m_ended = false;
    std::chrono::steady_clock::time_point m_nextDrawing;
    TIndicadorEstat m_indicator;
    Interruption m_interruption; // ends before the indicator does
};

} // namespace mvtool
