#include "internal/dde_wire.h"

#include "internal/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace mvplat::dde {
namespace {

constexpr std::uint32_t signature = 0x3144564D; // "MVD1"
constexpr std::size_t largestPart = 32u << 10;

struct Header {
    std::uint32_t signature;
    std::uint16_t type;
    std::uint16_t more; // 1: another part follows
    std::uint32_t number;
};

} // namespace

// ---- Bodies

void Message::put(std::uint32_t value) {
    putRest(&value, sizeof value);
}

void Message::put(std::wstring_view text) {
    const std::string bytes = utf8FromWide(text);
    put(static_cast<std::uint32_t>(bytes.size()));
    putRest(bytes.data(), bytes.size());
}

void Message::putRest(const void* bytes, std::size_t size) {
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    body.insert(body.end(), first, first + size);
}

std::uint32_t BodyReader::number() {
    std::uint32_t value = 0;
    if (static_cast<std::size_t>(m_end - m_at) < sizeof value) {
        m_good = false;
        m_at = m_end;
        return 0;
    }
    std::memcpy(&value, m_at, sizeof value);
    m_at += sizeof value;
    return value;
}

std::wstring BodyReader::text() {
    const std::uint32_t size = number();
    if (size > static_cast<std::size_t>(m_end - m_at)) {
        m_good = false;
        m_at = m_end;
        return {};
    }
    const auto* first = reinterpret_cast<const char*>(m_at);
    m_at += size;
    return wideFromUtf8({first, size});
}

std::vector<std::uint8_t> BodyReader::rest() {
    return {std::exchange(m_at, m_end), m_end};
}

// ---- Links

Link::Link(Link&& other) noexcept
    : m_socket(std::exchange(other.m_socket, -1))
    , m_packets(std::move(other.m_packets))
    , m_partial(std::move(other.m_partial))
    , m_inside(other.m_inside) {}

Link& Link::operator=(Link&& other) noexcept {
    if (this != &other) {
        close();
        m_socket = std::exchange(other.m_socket, -1);
        m_packets = std::move(other.m_packets);
        m_partial = std::move(other.m_partial);
        m_inside = other.m_inside;
    }
    return *this;
}

void Link::close() {
    if (m_socket >= 0)
        ::close(std::exchange(m_socket, -1));
    m_packets.clear();
}

bool Link::send(const Message& message) {
    std::size_t done = 0;
    do {
        const std::size_t part = std::min(largestPart, message.body.size() - done);
        const bool more = done + part < message.body.size();
        const Header header = {signature, static_cast<std::uint16_t>(message.type), more, message.number};
        std::vector<std::uint8_t> packet(sizeof header + part);
        std::memcpy(packet.data(), &header, sizeof header);
        if (part > 0)
            std::memcpy(packet.data() + sizeof header, message.body.data() + done, part);
        m_packets.push_back(std::move(packet));
        done += part;
    } while (done < message.body.size());
    return flush();
}

bool Link::flush() {
    while (!m_packets.empty()) {
        const std::vector<std::uint8_t>& packet = m_packets.front();
        if (::send(m_socket, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
            if (errno == EINTR)
                continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS)
                return true;
            m_packets.clear();
            return false;
        }
        m_packets.pop_front();
    }
    return true;
}

Link::Received Link::receive(Message& message) {
    std::uint8_t packet[sizeof(Header) + largestPart];
    for (bool reset = false;;) {
        const ssize_t got = ::recv(m_socket, packet, sizeof packet, MSG_DONTWAIT);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            // The other end closed before it read everything of ours: told once, before what it sent.
            if (errno == ECONNRESET && !std::exchange(reset, true))
                continue;
            return errno == EAGAIN || errno == EWOULDBLOCK ? Received::Nothing : Received::End;
        }
        Header header;
        if (static_cast<std::size_t>(got) < sizeof header)
            return Received::End;
        std::memcpy(&header, packet, sizeof header);
        const auto type = static_cast<Type>(header.type);
        if (header.signature != signature || header.more > 1)
            return Received::End;
        if (!m_inside)
            m_partial = {type, header.number, {}};
        else if (m_partial.type != type || m_partial.number != header.number)
            return Received::End;
        const std::size_t part = static_cast<std::size_t>(got) - sizeof header;
        // Only the last part may be shorter: a message has a bounded number of packets.
        if (part > longestBody - m_partial.body.size() || (header.more != 0 && part != largestPart))
            return Received::End;
        m_partial.putRest(packet + sizeof header, part);
        m_inside = header.more != 0;
        if (!m_inside) {
            message = std::exchange(m_partial, {});
            return Received::Whole;
        }
    }
}

} // namespace mvplat::dde
