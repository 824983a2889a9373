// Work in a process of its own, where the system can fork.
#pragma once

#include <csignal>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>

// Runs `body` in a process that ends with its answer.
template <class Body>
pid_t StartForked(const Body& body) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    return child;
}

// Waits for it; the status as waitpid has it.
inline int EndOf(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

// A process that tells numbers, one after another, until it is killed.
class TellingProcess {
public:
    // `body` gets a function that takes the next number and answers whether it could be told.
    template <class Body>
    explicit TellingProcess(const Body& body) {
        int ends[2];
        if (::pipe(ends) != 0)
            return;
        m_told = ends[0];
        m_child = StartForked([&] {
            ::close(ends[0]);
            return body([&](unsigned number) {
                return ::write(ends[1], &number, sizeof number) == static_cast<ssize_t>(sizeof number);
            });
        });
        ::close(ends[1]);
    }
    TellingProcess(const TellingProcess&) = delete;
    TellingProcess& operator=(const TellingProcess&) = delete;
    ~TellingProcess() {
        Kill();
        ::close(m_told);
    }

    // Waits for the next number; false when the process has ended and everything was read.
    bool Next(unsigned& number) {
        return ::read(m_told, &number, sizeof number) == static_cast<ssize_t>(sizeof number);
    }
    // True when the process was at work until now.
    bool Kill() {
        if (m_child <= 0)
            return false;
        ::kill(m_child, SIGKILL);
        const int status = EndOf(m_child);
        m_child = 0;
        return WIFSIGNALED(status);
    }

private:
    int m_told = -1;
    pid_t m_child = 0;
};
