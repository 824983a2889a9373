#include "progress.h"

#include "console.h"
#include "text.h"
#include <algorithm>

namespace mvtool {
namespace {

constexpr std::chrono::milliseconds kBetweenDrawings(100);
constexpr std::size_t kBarCells = 30;

bool wantsBar(const Arguments* arguments) {
    const std::string when = arguments != nullptr ? arguments->value("progress").value_or("auto") : "never";
    if (when != "auto" && when != "always" && when != "never") {
        throw Failure(Exit::usage, "--progress is auto, always or never, not " + displayText(when));
    }
    return when == "always" || (when == "auto" && isTerminal(Stream::error));
}

} // namespace

Progress::Progress(const Arguments* arguments)
    : m_drawn(wantsBar(arguments))
    , m_indicator(m_drawn ? onPosition : nullptr, reinterpret_cast<unsigned long>(this))
    , m_interruption([this] { m_indicator.Cancelar(); }) {}

Progress::~Progress() {
    if (m_drawn && !m_ended) {
        console().endProgress();
    }
}

void Progress::say(const std::string& text) {
    m_indicator.SetMissatge(widePath(text).c_str());
}

void Progress::check() {
    check(m_indicator.TestCancel() == 0);
}

void Progress::check(int result) {
    if (result == 0) {
        throw Failure(Exit::cancelled, "cancelled");
    }
}

void Progress::finish() {
    if (m_drawn && !m_ended) {
        draw();
        console().endProgress();
        m_ended = true;
    }
}

// Every position comes here, some of them a hundred nanoseconds apart; a person needs ten a second.
void Progress::onPosition(TIndicadorEstat*, unsigned long self) {
    auto* progress = reinterpret_cast<Progress*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (now >= progress->m_nextDrawing && !progress->m_ended) {
        progress->draw();
        progress->m_nextDrawing = now + kBetweenDrawings;
    }
}

void Progress::draw() {
    const double position = std::clamp(m_indicator.GetEstat(), 0.0, 1.0);
    const auto cells = static_cast<std::size_t>(position * kBarCells + 1e-9);
    const std::string percent = std::to_string(static_cast<int>(position * 100 + 1e-9));
    std::string line = "[";
    line.append(cells, '#').append(kBarCells - cells, '.').append("] ");
    line.append(3 - std::min<std::size_t>(percent.size(), 3), ' ').append(percent).append("%  ");
    line += fromWide(static_cast<LPCWSTR>(m_indicator.GetMissatge()));
    console().showProgress(line);
}

} // namespace mvtool
