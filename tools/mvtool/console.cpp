#include "console.h"

#include "failure.h"
#include "system.h"

namespace mvtool {
namespace {

constexpr std::size_t kKept = 1 << 16;

/// Characters, near enough to columns for the short texts of the progress line.
std::size_t characters(std::string_view utf8) {
    std::size_t count = 0;
    for (const char c : utf8) {
        count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }
    return count;
}

std::string cut(const std::string& utf8, std::size_t columns) {
    std::size_t at = 0;
    for (std::size_t count = 0; at < utf8.size(); ++at) {
        if ((static_cast<unsigned char>(utf8[at]) & 0xC0) != 0x80 && count++ == columns) {
            break;
        }
    }
    return utf8.substr(0, at);
}

} // namespace

void Console::print(std::string_view text) {
    m_pending += text;
    if (m_pending.size() >= kKept) {
        flush();
    }
}

void Console::flush() {
    write();
    if (m_broken) {
        throw Failure(Exit::writeFailure, *m_broken);
    }
}

void Console::write() {
    const std::string text = std::move(m_pending);
    m_pending.clear();
    if (text.empty() || m_broken) {
        return;
    }
    const Written written = writeStream(Stream::output, text);
    if (written == Written::noReader) {
        m_broken = ""; // whoever closed the pipe, such as a pager, has read enough
    } else if (written == Written::failed) {
        m_broken = "cannot write to standard output: " + lastSystemError();
    }
}

void Console::note(std::string_view text) {
    write();
    endProgress();
    writeStream(Stream::error, "mvtool: " + std::string(text) + '\n');
}

void Console::showProgress(const std::string& line) {
    const std::string text = cut(line, static_cast<std::size_t>(terminalColumns(Stream::error)) - 1);
    const std::size_t columns = characters(text);
    std::string all = '\r' + text;
    if (columns < m_progressColumns) {
        all.append(m_progressColumns - columns, ' ');
    }
    writeStream(Stream::error, all);
    m_progressColumns = columns;
}

void Console::endProgress() {
    if (m_progressColumns == 0) {
        return;
    }
    const std::string all =
        isTerminal(Stream::error) ? '\r' + std::string(m_progressColumns, ' ') + '\r' : std::string("\n");
    writeStream(Stream::error, all);
    m_progressColumns = 0;
}

Console& console() {
    static Console one;
    return one;
}

} // namespace mvtool
