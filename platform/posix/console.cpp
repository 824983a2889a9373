#include "internal/errno_map.h"
#include "internal/handles.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Signals arrive where little may be done; a pipe carries them to a thread that calls the handlers.
class Interruption {
public:
    static Interruption& instance() {
        static auto* const one = new Interruption;
        return *one;
    }

    BOOL change(PHANDLER_ROUTINE handler, bool add) {
        const std::lock_guard<std::mutex> lock(m_lock);
        if (!handler) {
            m_ignoreInterrupt = add;
        } else if (add) {
            m_handlers.push_back(handler);
        } else {
            // The last one added goes first, as with several registrations of one handler.
            const auto found = std::find(m_handlers.rbegin(), m_handlers.rend(), handler);
            if (found == m_handlers.rend()) {
                SetLastError(ERROR_INVALID_PARAMETER);
                return FALSE;
            }
            m_handlers.erase(std::next(found).base());
        }
        return arrange();
    }

private:
    static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};

    static void onSignal(int number) {
        const int saved = errno;
        const unsigned char byte = static_cast<unsigned char>(number);
        // A full pipe holds enough interruptions already.
        if (::write(s_pipe[1], &byte, 1) < 0)
            errno = saved;
        errno = saved;
    }

    BOOL arrange() {
        const bool listen = !m_handlers.empty();
        if (listen && !m_running) {
            if (::pipe2(s_pipe, O_CLOEXEC) != 0) {
                mvplat::setLastErrno();
                return FALSE;
            }
            ::fcntl(s_pipe[1], F_SETFL, O_NONBLOCK);
            // The thread takes no signals itself.
            sigset_t all;
            sigset_t before;
            sigfillset(&all);
            pthread_sigmask(SIG_SETMASK, &all, &before);
            bool started = true;
            try {
                std::thread([this] { run(); }).detach();
            } catch (const std::exception&) {
                started = false;
            }
            pthread_sigmask(SIG_SETMASK, &before, nullptr);
            if (!started) {
                ::close(s_pipe[0]);
                ::close(s_pipe[1]);
                SetLastError(ERROR_NO_SYSTEM_RESOURCES);
                return FALSE;
            }
            m_running = true;
        }
        for (const int number : signals) {
            struct sigaction action = {};
            sigemptyset(&action.sa_mask);
            action.sa_flags = SA_RESTART;
            if (number == SIGINT && m_ignoreInterrupt)
                action.sa_handler = SIG_IGN;
            else
                action.sa_handler = listen ? &onSignal : SIG_DFL;
            if (listen || number == SIGINT || m_installed)
                ::sigaction(number, &action, nullptr);
        }
        m_installed = listen;
        return TRUE;
    }

    void run() {
        for (;;) {
            unsigned char number;
            const ssize_t got = ::read(s_pipe[0], &number, 1);
            if (got == 1)
                deliver(number);
            else if (got == 0 || errno != EINTR)
                return;
        }
    }

    void deliver(int number) {
        std::vector<PHANDLER_ROUTINE> handlers;
        {
            const std::lock_guard<std::mutex> lock(m_lock);
            handlers = m_handlers;
        }
        const DWORD event = number == SIGINT ? CTRL_C_EVENT : CTRL_CLOSE_EVENT;
        for (auto handler = handlers.rbegin(); handler != handlers.rend(); ++handler) {
            if ((*handler)(event))
                return;
        }
        // Nobody took it: what the signal does by itself.
        ::signal(number, SIG_DFL);
        ::kill(::getpid(), number);
    }

    static inline int s_pipe[2] = {-1, -1};
    std::mutex m_lock;
    std::vector<PHANDLER_ROUTINE> m_handlers;
    bool m_running = false;
    bool m_installed = false;
    bool m_ignoreInterrupt = false;
};

} // namespace

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
    return mvplat::guarded(BOOL{FALSE}, [&] { return Interruption::instance().change(handler, add != 0); });
}
