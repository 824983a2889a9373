#include "RunProgram.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

std::string Drained(HANDLE end) {
    std::string text;
    char bytes[4096];
    for (DWORD got = 0; ::ReadFile(end, bytes, sizeof bytes, &got, nullptr) && got > 0;)
        text.append(bytes, got);
    ::CloseHandle(end);
    return text;
}

} // namespace

std::wstring ProgramFolder() {
    wchar_t own[MAX_PATH];
    ::GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::wstring path = own;
    return path.substr(0, path.rfind(L'\\') + 1);
}

Outcome RunProgram(std::wstring line) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE output = nullptr;
    HANDLE errors = nullptr;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    EXPECT_TRUE(::CreatePipe(&output, &startup.hStdOutput, &inherited, 1 << 16));
    EXPECT_TRUE(::CreatePipe(&errors, &startup.hStdError, &inherited, 1 << 16));
    ::SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
    ::SetHandleInformation(errors, HANDLE_FLAG_INHERIT, 0);
    PROCESS_INFORMATION process = {};
    const BOOL started = ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                          &startup, &process);
    ::CloseHandle(startup.hStdOutput);
    ::CloseHandle(startup.hStdError);
    Outcome outcome;
    EXPECT_TRUE(started);
    if (!started)
        return outcome;
    std::thread reader([&] { outcome.errors = Drained(errors); });
    outcome.output = Drained(output);
    reader.join();
    EXPECT_EQ(::WaitForSingleObject(process.hProcess, 30000), WAIT_OBJECT_0);
    ::GetExitCodeProcess(process.hProcess, &outcome.code);
    ::CloseHandle(process.hProcess);
    ::CloseHandle(process.hThread);
    return outcome;
}
