#include "program.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tooltest {
namespace {

std::filesystem::path toolPath() {
    static const std::filesystem::path path =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "mvtool";
    return path;
}

struct Child {
    pid_t pid = -1;
    int out = -1;
    int err = -1;
};

Child start(const std::vector<std::string>& words, const Surroundings& surroundings) {
    std::vector<std::string> all = {toolPath().string()};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> pointers;
    for (std::string& word : all) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipes");
    }
    const pid_t pid = fork();
    if (pid == 0) {
        const int target = surroundings.standardOutput.empty() ? out[1]
                                                               : open(surroundings.standardOutput.c_str(),
                                                                      O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(target, STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        if (!surroundings.folder.empty() && chdir(surroundings.folder.c_str()) != 0) {
            _exit(120);
        }
        if (surroundings.fileSizeLimit != 0) {
            const rlimit limit = {surroundings.fileSizeLimit, surroundings.fileSizeLimit};
            setrlimit(RLIMIT_FSIZE, &limit);
        }
        for (const int stream : surroundings.closed) {
            close(stream);
        }
        execv(pointers[0], pointers.data());
        _exit(121);
    }
    close(out[1]);
    close(err[1]);
    return {pid, out[0], err[0]};
}

void drain(Child& child, Result& result) {
    while (child.out >= 0 || child.err >= 0) {
        pollfd polled[2] = {{child.out, POLLIN, 0}, {child.err, POLLIN, 0}};
        if (poll(polled, 2, -1) < 0 && errno != EINTR) {
            return;
        }
        int* const ends[2] = {&child.out, &child.err};
        std::string* const texts[2] = {&result.out, &result.err};
        for (int i = 0; i < 2; ++i) {
            if (*ends[i] < 0 || polled[i].revents == 0) {
                continue;
            }
            char buffer[65536];
            const ssize_t got = read(*ends[i], buffer, sizeof buffer);
            if (got > 0) {
                texts[i]->append(buffer, static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                close(*ends[i]);
                *ends[i] = -1;
            }
        }
    }
}

Result finish(Child& child) {
    Result result;
    drain(child, result);
    int status = 0;
    while (waitpid(child.pid, &status, 0) < 0 && errno == EINTR) {
    }
    child.pid = -1;
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace

Result mvtool(const std::vector<std::string>& words, const Surroundings& surroundings) {
    Child child = start(words, surroundings);
    return finish(child);
}

struct RunningTool::State {
    Child child;
};

RunningTool::RunningTool(const std::vector<std::string>& words)
    : m_state(std::make_unique<State>()) {
    m_state->child = start(words, {});
}

RunningTool::~RunningTool() {
    if (m_state->child.pid > 0) {
        kill(m_state->child.pid, SIGKILL);
        finish(m_state->child);
    }
}

void RunningTool::hold() {
    kill(m_state->child.pid, SIGSTOP);
}
void RunningTool::resume() {
    kill(m_state->child.pid, SIGCONT);
}
void RunningTool::interrupt() {
    kill(m_state->child.pid, SIGINT);
}

bool RunningTool::running() {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(m_state->child.pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}

bool RunningTool::hasOpen(const std::filesystem::path& beginning) const {
    std::error_code error;
    const std::string folder = "/proc/" + std::to_string(m_state->child.pid) + "/fd";
    for (const auto& link : std::filesystem::directory_iterator(folder, error)) {
        if (std::filesystem::read_symlink(link, error).string().starts_with(beginning.string())) {
            return true;
        }
    }
    return false;
}

Result RunningTool::wait() {
    return finish(m_state->child);
}

void setModified(const std::filesystem::path& path, std::int64_t ns) {
    const timespec times[2] = {{0, UTIME_OMIT}, {ns / 1000000000, ns % 1000000000}};
    if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
        throw std::runtime_error("cannot set the time of " + path.string());
    }
}

std::int64_t modified(const std::filesystem::path& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        throw std::runtime_error("no time of " + path.string());
    }
    return status.st_mtim.tv_sec * 1000000000 + status.st_mtim.tv_nsec;
}

std::string utf8(const std::filesystem::path& path) {
    return path.string();
}

} // namespace tooltest
