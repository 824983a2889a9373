#include "system.h"

#include "CLastError.h"
#include "text.h"
#include <algorithm>
#include <mutex>
#include <shellapi.h>

namespace mvtool {
namespace {

HANDLE handleOf(Stream stream) {
    return GetStdHandle(stream == Stream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

std::mutex g_interruptionLock;
std::function<void()>* g_interruptionAction = nullptr;

/// Runs on a thread that the system makes for the event.
BOOL WINAPI onConsoleEvent(DWORD event) {
    {
        const std::lock_guard<std::mutex> guard(g_interruptionLock);
        if (g_interruptionAction == nullptr) {
            return FALSE;
        }
        (*g_interruptionAction)();
    }
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        // The window closes: the program ends when this returns, so the work gets its time to clear up.
        Sleep(10000);
    }
    return TRUE;
}

} // namespace

// No drive to be put in, no crash to be shown: errors come back to the program.
void prepareProcess() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
}

std::vector<std::string> commandLine(int, char**) {
    std::vector<std::string> words;
    int count = 0;
    if (LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count)) {
        for (int i = 1; i < count; ++i) {
            words.push_back(fromWide(wide[i]));
        }
        LocalFree(wide);
    }
    return words;
}

bool isTerminal(Stream stream) {
    DWORD mode = 0;
    return GetConsoleMode(handleOf(stream), &mode) != FALSE;
}

int terminalColumns(Stream stream) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    return GetConsoleScreenBufferInfo(handleOf(stream), &info) ? info.srWindow.Right - info.srWindow.Left + 1
                                                               : 80;
}

Written writeStream(Stream stream, std::string_view utf8) {
    const HANDLE handle = handleOf(stream);
    if (isTerminal(stream)) {
        const std::wstring wide = toWide(utf8).value_or(std::wstring(utf8.begin(), utf8.end()));
        for (std::size_t at = 0; at < wide.size();) {
            DWORD written = 0;
            const auto piece = static_cast<DWORD>(std::min<std::size_t>(wide.size() - at, 8192));
            if (!WriteConsoleW(handle, wide.data() + at, piece, &written, nullptr) || written == 0) {
                return Written::failed;
            }
            at += written;
        }
        return Written::all;
    }
    while (!utf8.empty()) {
        DWORD written = 0;
        if (!WriteFile(handle, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr) ||
            written == 0) {
            const DWORD error = GetLastError();
            return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA ? Written::noReader : Written::failed;
        }
        utf8.remove_prefix(written);
    }
    return Written::all;
}

std::string systemPath(std::string path) {
    return path;
}

std::string registryStore() {
    return "the system's registry";
}

std::string lastSystemError() {
    const DWORD error = GetLastError();
    std::string text = fromWide(static_cast<LPCWSTR>(AfxGetMsgErrorSistema(error)));
    while (!text.empty() &&
           (text.back() == '\n' || text.back() == '\r' || text.back() == ' ' || text.back() == '.')) {
        text.pop_back();
    }
    return text.empty() ? "system error " + std::to_string(error) : text;
}

struct Interruption::State {
    std::function<void()> action;
};

Interruption::Interruption(std::function<void()> action)
    : m_state(std::make_unique<State>()) {
    m_state->action = std::move(action);
    const std::lock_guard<std::mutex> guard(g_interruptionLock);
    g_interruptionAction = &m_state->action;
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

Interruption::~Interruption() {
    const std::lock_guard<std::mutex> guard(g_interruptionLock);
    g_interruptionAction = nullptr;
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
}

} // namespace mvtool
