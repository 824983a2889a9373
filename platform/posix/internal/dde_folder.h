// The folder where the programs of a user meet: one socket for each registered service.
//
// A service has three files, NAME.sock, NAME.name and, for a moment, NAME.new. NAME begins with the service's
// name as far as it is harmless in a file name, goes on with a sum of the whole folded name, and ends with
// the number of the place: several programs may serve one name. NAME.name holds the name in UTF-8, and its
// lock belongs to the server as long as it lives: whoever gets the lock may clear away what a killed server
// left.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mvplat::dde {

// An open descriptor.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value)
        : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();
    int get() const { return m_value; }
    int detach();
    explicit operator bool() const { return m_value >= 0; }

private:
    int m_value = -1;
};

// Opens the folder, made when it is missing. Nothing when it could not be made, is not the user's, or lets
// others in.
Descriptor openFolder();

// A registered service: while the object lives, clients can connect to the socket.
class Registration {
public:
    Registration() = default;
    Registration(Registration&&) noexcept = default;
    Registration& operator=(Registration&& other) noexcept;
    ~Registration() { end(); }
    // False when the files could not be made.
    bool begin(std::wstring_view service);
    void end();
    int socket() const { return m_socket.get(); }

private:
    Descriptor m_folder;
    Descriptor m_lock;
    Descriptor m_socket;
    std::string m_name;
};

// The sockets of a service, or all for an empty name, by name and place.
std::vector<std::string> socketsOf(const Descriptor& folder, std::wstring_view service);
// The service's name by the name of its socket; empty when it is no service.
std::wstring serviceOf(const Descriptor& folder, const std::string& socketName);
// Connects to a socket of the folder within about `milliseconds`. Nothing when nobody listens or the server
// runs as another user.
Descriptor connectTo(const Descriptor& folder, const std::string& socketName, unsigned milliseconds);
// Takes a connection that waits at a registration's socket. Nothing when there is none; a client that runs as
// another user is turned away and `again` set.
Descriptor acceptFrom(int socket, bool& again);

} // namespace mvplat::dde
