// The messages of conversations, from an end that keeps to no rule. The input is a script of packets: a byte
// of flags, then
//   flag 1     a packet as it stands: a length byte, its bytes
//   otherwise  one with a right header, whose type is in the bits 1 to 4: a byte of its number, a length
//   byte, the
//              body; with flag 32 it is said that another follows, and with flag 64 the body is made as long
//              as a part that another follows has to be
//   flag 128   the other end handles what came before the next packet
// A first byte above 127 gives the packets to a real server, one below to the reader of messages alone.
#include <TDDEInterface.h>

#include "posix/internal/dde_wire.h"
#include "recipe.h"

#include <win32.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

using namespace mvplat::dde;

namespace {

namespace fs = std::filesystem;

struct Packet {
    std::string bytes;
    bool handled; // before the next one
};

std::vector<Packet> PacketsOf(const std::vector<std::uint8_t>& script) {
    constexpr std::size_t wholePart = 32u << 10;
    std::vector<Packet> packets;
    std::size_t at = 1;
    const auto next = [&] { return at < script.size() ? script[at++] : std::uint8_t{0}; };
    while (at < script.size() && packets.size() < 24) {
        const std::uint8_t flags = next();
        std::string bytes;
        if ((flags & 1) == 0) {
            const std::uint8_t number = next();
            const char header[] = {
                'M', 'V', 'D', '1', static_cast<char>(flags >> 1 & 15), 0, static_cast<char>(flags >> 5 & 1),
                0};
            bytes.assign(header, sizeof header).append({static_cast<char>(number), 0, 0, 0});
        }
        const std::size_t length = std::min<std::size_t>(next(), script.size() - at);
        const std::size_t header = bytes.size();
        bytes.append(reinterpret_cast<const char*>(script.data()) + at, length);
        at += length;
        if ((flags & 65) == 64)
            bytes.resize(header + wholePart, 'x');
        packets.push_back({std::move(bytes), (flags & 128) != 0});
    }
    return packets;
}

void Send(int socket, const Packet& packet) {
    if (!packet.bytes.empty())
        (void)!::send(socket, packet.bytes.data(), packet.bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

// ---- The reader of messages

void ReadBody(const Message& message) {
    if (message.body.size() > longestBody)
        std::abort();
    BodyReader numbers(message);
    const std::size_t count = std::min<std::size_t>(message.body.size() / 4, 64);
    for (std::size_t i = 0; i < count; ++i)
        numbers.number();
    if (!numbers.good() || numbers.rest().size() != message.body.size() - 4 * count)
        std::abort();
    BodyReader texts(message);
    for (int i = 0; i < 8 && texts.good(); ++i)
        if (texts.text().size() > message.body.size())
            std::abort();
    if (!texts.good() && (!texts.atEnd() || texts.number() != 0 || !texts.text().empty()))
        std::abort();
}

// What was read once comes over once more as it is.
void PassOn(const Message& message) {
    static Link from;
    static Link to;
    int ends[2];
    if (!from.open() && ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0) {
        from = Link(ends[0]);
        to = Link(ends[1]);
    }
    if (!from.send(message))
        std::abort();
    Message copy;
    Link::Received received;
    while ((received = to.receive(copy)) == Link::Received::Nothing)
        from.flush();
    if (received != Link::Received::Whole || copy.type != message.type || copy.number != message.number ||
        copy.body != message.body)
        std::abort();
}

void ReadMessages(const std::vector<Packet>& packets) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        std::abort();
    Link link(ends[1]);
    const auto drain = [&] {
        Message message;
        for (;;) {
            const Link::Received received = link.receive(message);
            if (received != Link::Received::Whole)
                return received == Link::Received::Nothing;
            ReadBody(message);
            PassOn(message);
        }
    };
    bool open = true;
    for (std::size_t i = 0; open && i < packets.size(); ++i) {
        Send(ends[0], packets[i]);
        if (packets[i].handled)
            open = drain();
    }
    ::close(ends[0]);
    if (open && drain())
        std::abort(); // a closed end has to be seen
}

// ---- A server

class Server : public TDDEInterface {
public:
    using TDDEInterface::TDDEInterface;

    int COM_Execute(const wchar_t* command, const wchar_t* topic) override {
        if (command)
            m_length += std::wcslen(command);
        m_length += std::wcslen(topic);
        return m_length % 3 != 0;
    }
    HDDEDATA COM_Request(unsigned int format, const wchar_t* item) override {
        m_length += std::wcslen(item);
        unsigned char bytes[] = "answer";
        return DdeCreateDataHandle(m_dwInstancia, bytes, sizeof bytes, 0, m_hszServei, format, 0);
    }

private:
    std::size_t m_length = 0;
};

Server* g_server;

HDDEDATA CALLBACK Forward(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2, HDDEDATA data,
                          ULONG_PTR data1, ULONG_PTR data2) {
    return g_server->ProcessarCallback(type, format, conversation, hsz1, hsz2, data, data1, data2);
}

// A server in a folder of this process alone, for all inputs.
class Place {
public:
    Place() {
        char name[] = "/tmp/mvlib62-fuzz-XXXXXX";
        if (!::mkdtemp(name))
            std::abort();
        m_folder = name;
        ::setenv("XDG_RUNTIME_DIR", name, 1);
        m_server.AfegirNouTopic(L"other");
        g_server = &m_server;
        if (!m_server.InitServidor())
            std::abort();
        for (const auto& entry : fs::directory_iterator(m_folder / "mvlib62-dde"))
            if (entry.path().extension() == ".sock")
                m_socket = entry.path();
    }
    ~Place() {
        m_server.DoneServidor();
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    int Connected() const {
        const int client = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_socket.c_str(), sizeof address.sun_path - 1);
        if (::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            std::abort(); // nothing may end the server
        return client;
    }

private:
    fs::path m_folder;
    fs::path m_socket;
    Server m_server{L"fuzz", L"topic", &Forward};
};

void Pump() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
}

void TalkToServer(const std::vector<Packet>& packets) {
    static const Place place;
    const int client = place.Connected();
    for (const Packet& packet : packets) {
        Send(client, packet);
        if (packet.handled)
            Pump();
    }
    Pump();
    ::close(client);
    Pump();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> script = BytesOfRecipe(data, size);
    if (script.empty())
        return 0;
    const std::vector<Packet> packets = PacketsOf(script);
    if (script[0] > 127)
        TalkToServer(packets);
    else
        ReadMessages(packets);
    return 0;
}
