// Messages between the two ends of a conversation.
//
// A message is a type, a number, and a body of up to 64 MiB. It crosses a sequenced-packet socket in packets
// of a header and 32 KiB of the body, the last one with the rest; all of a message's packets follow each
// other. Both ends run on one machine, so numbers travel as they lie in memory.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace mvplat::dde {

enum class Type : std::uint16_t {
    Initiate = 1, // service, topic: empty for any
    Enumerate,    // service, topic: as Initiate, but only asks
    Accepted,     // service, topic
    Pairs,        // service, topic, service, topic ...
    Refused,      // -
    Execute,      // the command's bytes
    Result,       // flags of the server
    Request,      // format, item
    Answer,       // flags, bytes
};

struct Message {
    Type type = Type::Refused;
    std::uint32_t number = 0;
    std::vector<std::uint8_t> body;

    void put(std::uint32_t value);
    void put(std::wstring_view text);
    void putRest(const void* bytes, std::size_t size);
};

// Reads a body in the order in which it was written. After a read beyond the end everything is 0 and empty.
class BodyReader {
public:
    explicit BodyReader(const Message& message)
        : m_at(message.body.data())
        , m_end(m_at + message.body.size()) {}

    std::uint32_t number();
    std::wstring text();
    std::vector<std::uint8_t> rest();
    bool atEnd() const { return m_at == m_end; }
    bool good() const { return m_good; }

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    bool m_good = true;
};

constexpr std::size_t longestBody = 64u << 20;

// One end of a connection. Owns the socket, which does not block.
class Link {
public:
    Link() = default;
    explicit Link(int socket)
        : m_socket(socket) {}
    Link(Link&& other) noexcept;
    Link& operator=(Link&& other) noexcept;
    ~Link() { close(); }

    int socket() const { return m_socket; }
    bool open() const { return m_socket >= 0; }
    bool unsent() const { return !m_packets.empty(); }
    // Sends what can be sent, and keeps the rest for flush. False when the other end is gone.
    bool send(const Message& message);
    bool flush();
    enum class Received { Whole, Nothing, End };
    // End: the other end closed, or what came is no message of ours.
    Received receive(Message& message);
    void close();

private:
    int m_socket = -1;
    std::deque<std::vector<std::uint8_t>> m_packets;
    Message m_partial;
    bool m_inside = false;
};

} // namespace mvplat::dde
