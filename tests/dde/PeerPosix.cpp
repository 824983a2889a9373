#include "PeerProcess.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

pid_t IdOf(const void* process) {
    return static_cast<pid_t>(reinterpret_cast<std::intptr_t>(process));
}
int EndOf(const void* pipe) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(pipe));
}

} // namespace

void Peer::Process::Start(const std::vector<std::string>& words) {
    char own[4096];
    const ssize_t length = readlink("/proc/self/exe", own, sizeof own);
    const std::string path(own, length > 0 ? static_cast<std::size_t>(length) : 0);
    std::vector<std::string> all = {path.substr(0, path.rfind('/') + 1) + "dde_peer"};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    for (std::string& word : all)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t child = -1;
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0)
        throw std::runtime_error("dde_peer does not start");
    process = reinterpret_cast<void*>(static_cast<std::intptr_t>(child));
    output = reinterpret_cast<void*>(static_cast<std::intptr_t>(ends[0]));
}

std::size_t Peer::Process::Read(char* bytes, std::size_t size) {
    const ssize_t got = read(EndOf(output), bytes, size);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

bool Peer::Process::Running(int& code) {
    int status = 0;
    if (ended == -2 && waitpid(IdOf(process), &status, WNOHANG) == IdOf(process))
        ended = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    code = ended;
    return ended == -2;
}

void Peer::Process::Kill() {
    kill(IdOf(process), SIGKILL);
    int status = 0;
    waitpid(IdOf(process), &status, 0);
    ended = -1;
}

void Peer::Process::Close() {
    close(EndOf(output));
}
