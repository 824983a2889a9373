#include "child_process.h"

#include <win32.h>

namespace {

std::wstring CommandLine(const std::vector<std::wstring>& arguments) {
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::wstring path = own;
    std::wstring line = L"\"" + path.substr(0, path.rfind(L'\\') + 1) + L"platform_child.exe\"";
    for (const std::wstring& argument : arguments)
        line += L" \"" + argument + L"\"";
    return line;
}

HANDLE Start(const std::vector<std::wstring>& arguments, HANDLE input, HANDLE output) {
    std::wstring line = CommandLine(arguments);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    const bool pipes = input != nullptr;
    if (pipes) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = input;
        startup.hStdOutput = output;
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    }
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, pipes, 0, nullptr, nullptr, &startup,
                        &process))
        return nullptr;
    CloseHandle(process.hThread);
    return process.hProcess;
}

int Wait(HANDLE process) {
    DWORD code = 0;
    const bool ended =
        process && WaitForSingleObject(process, 30000) == WAIT_OBJECT_0 && GetExitCodeProcess(process, &code);
    if (process)
        CloseHandle(process);
    return ended ? static_cast<int>(code) : -1;
}

} // namespace

int RunChild(const std::vector<std::wstring>& arguments) {
    return Wait(Start(arguments, nullptr, nullptr));
}

struct WaitingChild::State {
    HANDLE process = nullptr;
    HANDLE input = nullptr;
};

WaitingChild::WaitingChild(const std::vector<std::wstring>& arguments)
    : m_state(new State) {
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    HANDLE childInput = nullptr;
    HANDLE childOutput = nullptr;
    HANDLE output = nullptr;
    if (!CreatePipe(&childInput, &m_state->input, &inherit, 0) ||
        !CreatePipe(&output, &childOutput, &inherit, 0))
        return;
    SetHandleInformation(m_state->input, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
    std::vector<std::wstring> words = arguments;
    words.push_back(L"stay");
    m_state->process = Start(words, childInput, childOutput);
    CloseHandle(childInput);
    CloseHandle(childOutput);
    unsigned char byte;
    DWORD count = 0;
    if (ReadFile(output, &byte, 1, &count, nullptr) && count == 1)
        m_result = byte;
    CloseHandle(output);
}

WaitingChild::~WaitingChild() {
    CloseHandle(m_state->input);
    Wait(m_state->process);
    delete m_state;
}
