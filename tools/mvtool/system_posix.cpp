#include "system.h"

#include "CPathString.h"
#include "text.h"
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace mvtool {
namespace {

int descriptor(Stream stream) {
    return stream == Stream::output ? STDOUT_FILENO : STDERR_FILENO;
}

/// Where the handler writes a byte; -1 while nobody listens.
volatile std::sig_atomic_t g_wakeup = -1;

extern "C" void onSignal(int) {
    const int keep = errno;
    const int target = g_wakeup;
    if (target >= 0) {
        const ssize_t written = write(target, "i", 1);
        static_cast<void>(written);
    }
    errno = keep;
}

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// A closed standard stream's number would go to the next file that is opened, and notes into that file.
void reserveStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            static_cast<void>(open("/dev/null", O_RDONLY));
        }
    }
}

} // namespace

// Writing to what was closed fails as before: the stand-in is for reading alone.
void prepareProcess() {
    reserveStandardStreams();
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN); // a file size limit is a full disk like any other
}

std::vector<std::string> commandLine(int argc, char** argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

bool isTerminal(Stream stream) {
    return isatty(descriptor(stream)) == 1;
}

int terminalColumns(Stream stream) {
    winsize size{};
    return ioctl(descriptor(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

Written writeStream(Stream stream, std::string_view utf8) {
    while (!utf8.empty()) {
        const ssize_t written = write(descriptor(stream), utf8.data(), utf8.size());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno == EPIPE ? Written::noReader : Written::failed;
        }
        utf8.remove_prefix(static_cast<std::size_t>(written));
    }
    return Written::all;
}

std::string systemPath(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

// The same rule as in the platform layer, which keeps the registry.
std::string registryStore() {
    if (const char* chosen = std::getenv("MVLIB_REGISTRY"); chosen != nullptr && *chosen != 0) {
        return chosen;
    }
    const CString folder = CPathString::GetRutaShell(26, 0);
    return systemPath(fromWide(folder.GetString())) + "/mvlib62/registry.db";
}

std::string lastSystemError() {
    return std::strerror(errno);
}

struct Interruption::State {
    std::function<void()> action;
    int pipe[2] = {-1, -1};
    struct sigaction before[std::size(kSignals)] = {};
    std::thread listener;
};

// A signal handler may not take the indicator's lock: it wakes a thread that may.
Interruption::Interruption(std::function<void()> action)
    : m_state(std::make_unique<State>()) {
    State& state = *m_state;
    state.action = std::move(action);
    if (pipe2(state.pipe, O_CLOEXEC) != 0) {
        state.pipe[0] = state.pipe[1] = -1;
        return; // Ctrl-C then ends the program in the system's way
    }
    // The listener leaves all signals to the other threads.
    sigset_t all;
    sigset_t keep;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &keep);
    state.listener = std::thread([&state] {
        char what = 0;
        for (;;) {
            const ssize_t got = read(state.pipe[0], &what, 1);
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got != 1 || what == 'q') {
                return;
            }
            state.action();
        }
    });
    pthread_sigmask(SIG_SETMASK, &keep, nullptr);
    g_wakeup = state.pipe[1];
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], nullptr, &state.before[i]);
        if (state.before[i].sa_handler == SIG_IGN) {
            continue; // started under nohup or in the background: that stays so
        }
        struct sigaction handler = {};
        handler.sa_handler = onSignal;
        handler.sa_flags = SA_RESTART;
        sigaction(kSignals[i], &handler, nullptr);
    }
}

Interruption::~Interruption() {
    State& state = *m_state;
    if (!state.listener.joinable()) {
        return;
    }
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], &state.before[i], nullptr);
    }
    g_wakeup = -1;
    const ssize_t written = write(state.pipe[1], "q", 1);
    static_cast<void>(written);
    state.listener.join();
    close(state.pipe[0]);
    close(state.pipe[1]);
}

} // namespace mvtool
