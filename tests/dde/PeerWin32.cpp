#include "PeerProcess.h"

#include <stdexcept>
#include <win32.h>

void Peer::Process::Start(const std::vector<std::string>& words) {
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::wstring path = own;
    std::wstring line = L"\"" + path.substr(0, path.rfind(L'\\') + 1) + L"dde_peer.exe\"";
    for (const std::string& word : words) {
        wchar_t wide[1024] = {};
        MultiByteToWideChar(CP_UTF8, 0, word.c_str(), -1, wide, 1024);
        line += L" \"" + std::wstring(wide) + L"\"";
    }
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE end = nullptr;
    if (!CreatePipe(&output, &end, &inherited, 1 << 16))
        throw std::runtime_error("no pipe");
    SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = end;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started = {};
    const BOOL done =
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started);
    CloseHandle(end);
    if (!done)
        throw std::runtime_error("dde_peer does not start");
    CloseHandle(started.hThread);
    process = started.hProcess;
}

std::size_t Peer::Process::Read(char* bytes, std::size_t size) {
    DWORD got = 0;
    return ReadFile(output, bytes, static_cast<DWORD>(size), &got, nullptr) ? got : 0;
}

bool Peer::Process::Running(int& code) {
    DWORD exit = 0;
    if (ended == -2 && WaitForSingleObject(process, 0) == WAIT_OBJECT_0 && GetExitCodeProcess(process, &exit))
        ended = static_cast<int>(exit);
    code = ended;
    return ended == -2;
}

void Peer::Process::Kill() {
    TerminateProcess(process, 99);
    WaitForSingleObject(process, 20000);
    ended = -1;
}

void Peer::Process::Close() {
    CloseHandle(output);
    CloseHandle(process);
}
