#include "Peer.h"

#include "PeerProcess.h"
#include "Pump.h"

Peer::Peer(const std::vector<std::string>& words)
    : m_process(std::make_unique<Process>()) {
    m_process->Start(words);
    m_reader = std::thread([this] { Read(); });
}

Peer::~Peer() {
    int code = 0;
    if (Running(code))
        Kill();
    m_reader.join();
    m_process->Close();
}

void Peer::Read() {
    char bytes[4096];
    for (std::size_t got; (got = m_process->Read(bytes, sizeof bytes)) > 0;) {
        const std::lock_guard lock(m_lock);
        for (std::size_t i = 0; i < got; ++i) {
            if (bytes[i] == '\n') {
                m_lines.push_back(m_rest);
                m_rest.clear();
            } else if (bytes[i] != '\r') {
                m_rest += bytes[i];
            }
        }
    }
}

std::string Peer::Line() {
    std::string line;
    PumpUntil(
        [&] {
            const std::lock_guard lock(m_lock);
            if (m_lines.empty())
                return false;
            line = m_lines.front();
            m_lines.pop_front();
            return true;
        },
        20);
    return line;
}

bool Peer::Running(int& code) {
    return m_process->Running(code);
}

int Peer::Wait() {
    int code = -1;
    return PumpUntil([&] { return !Running(code); }, 20) ? code : -1;
}

void Peer::Kill() {
    m_process->Kill();
}
