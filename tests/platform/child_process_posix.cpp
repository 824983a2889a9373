#include "child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <win32.h>

extern char** environ;

namespace {

std::string ToUtf8(const std::wstring& text) {
    char bytes[4096];
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, bytes, sizeof bytes, nullptr, nullptr);
    return bytes;
}

std::string ChildProgram() {
    char own[4096];
    const ssize_t length = readlink("/proc/self/exe", own, sizeof own);
    const std::string path(own, length > 0 ? static_cast<std::size_t>(length) : 0);
    return path.substr(0, path.rfind('/') + 1) + "platform_child";
}

pid_t Spawn(const std::vector<std::wstring>& arguments, const posix_spawn_file_actions_t* actions) {
    std::vector<std::string> words = {ChildProgram()};
    for (const std::wstring& argument : arguments)
        words.push_back(ToUtf8(argument));
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    pid_t child = -1;
    return posix_spawn(&child, pointers[0], actions, nullptr, pointers.data(), environ) == 0 ? child : -1;
}

int Wait(pid_t child) {
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

} // namespace

int RunChild(const std::vector<std::wstring>& arguments) {
    return Wait(Spawn(arguments, nullptr));
}

struct WaitingChild::State {
    pid_t child = -1;
    int input = -1;
};

WaitingChild::WaitingChild(const std::vector<std::wstring>& arguments)
    : m_state(new State) {
    int toChild[2];
    int fromChild[2];
    if (pipe2(toChild, O_CLOEXEC) != 0 || pipe2(fromChild, O_CLOEXEC) != 0)
        return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toChild[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fromChild[1], STDOUT_FILENO);
    std::vector<std::wstring> words = arguments;
    words.push_back(L"stay");
    m_state->child = Spawn(words, &actions);
    posix_spawn_file_actions_destroy(&actions);
    close(toChild[0]);
    close(fromChild[1]);
    m_state->input = toChild[1];
    unsigned char byte;
    if (read(fromChild[0], &byte, 1) == 1)
        m_result = byte;
    close(fromChild[0]);
}

WaitingChild::~WaitingChild() {
    close(m_state->input);
    Wait(m_state->child);
    delete m_state;
}
