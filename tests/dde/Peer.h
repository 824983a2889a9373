// A second process that takes part in conversations: the program dde_peer.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Words are UTF-8 without quotes. A peer that still runs when the object goes is ended by force.
class Peer {
public:
    explicit Peer(const std::vector<std::string>& words);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // The next line that it wrote, without its end; "" when none came within 20 s. The calling thread's
    // messages are handled meanwhile.
    std::string Line();
    // Waits for its end, handling messages. Its exit code, -1 when it did not end within 20 s.
    int Wait();
    // Ends it at once, without a chance to clean up.
    void Kill();

private:
    struct Process;
    bool Running(int& code);
    void Read();

    std::unique_ptr<Process> m_process;
    std::thread m_reader;
    std::mutex m_lock;
    std::deque<std::string> m_lines;
    std::string m_rest;
};
