#include "program.h"

#include <stdexcept>
#include <thread>
#include <win32.h>

namespace tooltest {
namespace {

constexpr std::int64_t kEpoch = 116444736000000000; // 100 ns steps from 1601 to 1970

std::wstring wide(const std::string& text) {
    std::wstring result(text.size() + 1, L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                           result.data(), static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::wstring toolPath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return (std::filesystem::path(path).parent_path() / L"mvtool.exe").wstring();
}

/// One word as the program's start-up code takes it apart again.
std::wstring quoted(const std::wstring& word) {
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        text.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
        backslashes = 0;
        text += c;
    }
    text.append(2 * backslashes, L'\\');
    return text + L'"';
}

struct Child {
    HANDLE process = nullptr;
    HANDLE thread = nullptr;
    HANDLE out = nullptr;
    HANDLE err = nullptr;
};

Child start(const std::vector<std::string>& words, const Surroundings& surroundings, DWORD flags) {
    std::wstring line = quoted(toolPath());
    for (const std::string& word : words) {
        line += L' ' + quoted(wide(word));
    }
    SECURITY_ATTRIBUTES inherited = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    Child child;
    HANDLE outEnd = nullptr;
    HANDLE errEnd = nullptr;
    if (!CreatePipe(&child.out, &outEnd, &inherited, 1 << 16) ||
        !CreatePipe(&child.err, &errEnd, &inherited, 1 << 16)) {
        throw std::runtime_error("no pipes");
    }
    SetHandleInformation(child.out, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(child.err, HANDLE_FLAG_INHERIT, 0);
    HANDLE file = nullptr;
    if (!surroundings.standardOutput.empty()) {
        file = CreateFileW(surroundings.standardOutput.c_str(), GENERIC_WRITE, 0, &inherited, CREATE_ALWAYS,
                           0, nullptr);
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file != nullptr ? file : outEnd;
    startup.hStdError = errEnd;
    PROCESS_INFORMATION process = {};
    const BOOL started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                                        surroundings.folder.empty() ? nullptr : surroundings.folder.c_str(),
                                        &startup, &process);
    CloseHandle(outEnd);
    CloseHandle(errEnd);
    if (file != nullptr) {
        CloseHandle(file);
    }
    if (!started) {
        throw std::runtime_error("mvtool does not start");
    }
    child.process = process.hProcess;
    child.thread = process.hThread;
    return child;
}

std::string drained(HANDLE end) {
    std::string text;
    char buffer[65536];
    for (DWORD got = 0; ReadFile(end, buffer, sizeof buffer, &got, nullptr) && got != 0;) {
        text.append(buffer, got);
    }
    CloseHandle(end);
    return text;
}

Result finish(Child& child) {
    Result result;
    std::thread errors([&] { result.err = drained(child.err); });
    result.out = drained(child.out);
    errors.join();
    WaitForSingleObject(child.process, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(child.process, &code);
    result.code = code < 0x80000000 ? static_cast<int>(code) : -1;
    CloseHandle(child.process);
    CloseHandle(child.thread);
    child.process = nullptr;
    return result;
}

BOOL WINAPI swallow(DWORD event) {
    return event == CTRL_C_EVENT;
}

/// A console of this program's own for itself and the runs that it starts: events reach every program that
/// shares one. This program lives on.
void needConsole() {
    static const bool ready = [] {
        FreeConsole();
        return AllocConsole() && SetConsoleCtrlHandler(&swallow, TRUE);
    }();
    if (!ready) {
        throw std::runtime_error("no console");
    }
}

HANDLE openForTimes(const std::filesystem::path& path, DWORD access) {
    const HANDLE handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        throw std::runtime_error("no time of " + utf8(path));
    }
    return handle;
}

} // namespace

Result mvtool(const std::vector<std::string>& words, const Surroundings& surroundings) {
    Child child = start(words, surroundings, 0);
    return finish(child);
}

struct RunningTool::State {
    Child child;
};

RunningTool::RunningTool(const std::vector<std::string>& words)
    : m_state(std::make_unique<State>()) {
    needConsole();
    m_state->child = start(words, {}, 0);
}

RunningTool::~RunningTool() {
    if (m_state->child.process != nullptr) {
        TerminateProcess(m_state->child.process, 99);
        finish(m_state->child);
    }
}

void RunningTool::hold() {
    SuspendThread(m_state->child.thread);
}
void RunningTool::resume() {
    ResumeThread(m_state->child.thread);
}
void RunningTool::interrupt() {
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
}
bool RunningTool::running() {
    return WaitForSingleObject(m_state->child.process, 0) == WAIT_TIMEOUT;
}
Result RunningTool::wait() {
    return finish(m_state->child);
}

void setModified(const std::filesystem::path& path, std::int64_t ns) {
    const std::int64_t steps = ns / 100 + kEpoch;
    const FILETIME time = {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
    const HANDLE handle = openForTimes(path, FILE_WRITE_ATTRIBUTES);
    SetFileTime(handle, nullptr, nullptr, &time);
    CloseHandle(handle);
}

std::int64_t modified(const std::filesystem::path& path) {
    FILETIME time = {};
    const HANDLE handle = openForTimes(path, FILE_READ_ATTRIBUTES);
    GetFileTime(handle, nullptr, nullptr, &time);
    CloseHandle(handle);
    return ((static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime) - kEpoch) * 100;
}

std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace tooltest
