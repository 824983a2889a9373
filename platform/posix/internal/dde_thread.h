// What a thread has to do with dynamic data exchange: its instances, their services and conversations.
//
// Everything here belongs to one thread. Callbacks may call back into any function, end what they are called
// for included: nothing is held across one by reference, all is found again by its number.
#pragma once

#include "dde_folder.h"
#include "dde_values.h"
#include "dde_wire.h"
#include "thread_messages.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <optional>

namespace mvplat::dde {

struct Instance {
    PFNCALLBACK callback = nullptr;
    DWORD filters = 0;
    UINT error = DMLERR_NO_ERROR;
    bool waiting = false; // in a transaction
    std::map<HSZ, unsigned> strings;
    std::map<std::wstring, Registration> services; // by folded name
};

struct Transaction {
    UINT type;
    UINT format;
    std::wstring item;
};

struct Conversation {
    DWORD instance = 0;
    Link link;
    bool client = false;
    bool ended = false; // by the other end
    std::wstring service;
    std::wstring topic;
    std::map<std::uint32_t, Transaction> asynchronous; // that were not answered yet
    std::uint32_t awaited = 0;                         // the number that somebody waits for
    std::optional<Message> answer;                     // to it
    std::uintptr_t pending = 0;                        // the event that was not dispatched yet

    // Whether more is read from the other end now: one that sends faster than it is served, or does not read
    // what it is answered, has to wait. A client always reads answers, so that two ends never wait for each
    // other.
    bool reads() const { return pending == 0 && (client || !link.unsent()); }
};

// What a message of the thread's queue stands for.
struct Event {
    enum class Kind { Registered, Unregistered, Message, Ended } kind;
    DWORD instance;
    std::uintptr_t conversation;
    Message message;
    std::wstring service;
};

class Thread final : public MessageSource {
public:
    Thread();
    ~Thread() override;

    // The calling thread's; null when it has ended already, as for objects that are destroyed after the main
    // thread's own.
    static Thread* current();

    void addDescriptors(std::vector<pollfd>& descriptors) const override;
    void collect() override;
    LRESULT dispatch(const MSG& message) override;

    Instance* instance(DWORD number);
    Conversation* conversation(HCONV handle);
    DWORD addInstance(PFNCALLBACK callback, DWORD filters);
    void removeInstance(DWORD number);
    // Makes or drops the watch of the folder, as the instances want it.
    void watch();

    HCONV connect(DWORD number, const std::wstring& service, const std::wstring& topic);
    void disconnect(HCONV handle);
    // Handles what concerns this thread's instances until `done`; false when the time is over first.
    template <class Done>
    bool wait(std::uint64_t end, bool dispatches, int extraSocket, Done done);

private:
    struct Waiting { // a client that was let in and has not said yet what it wants
        Link link;
        DWORD instance;
        std::wstring service;
        std::uint64_t since;
    };

    void collectServices();
    void collectClients();
    void collectWaiting();
    void collectConversations();
    std::uintptr_t post(Event event); // its number
    bool take(std::uintptr_t number, Conversation& conversation, Message message);

    void initiate(Waiting& client, const Message& message);
    void announce(const Event& event);
    void execute(const Event& event);
    void request(const Event& event);
    void complete(const Event& event);
    void ended(const Event& event);
    void drop(std::uintptr_t number);
    std::uintptr_t add(Conversation conversation);

    std::map<DWORD, Instance> m_instances;
    std::map<std::uintptr_t, Conversation> m_conversations;
    std::map<std::uintptr_t, Waiting> m_waiting;
    std::map<std::uintptr_t, Event> m_events;
    std::vector<Link> m_leaving; // ended here, with packets that are not sent yet
    std::uintptr_t m_lastWaiting = 0;
    std::uintptr_t m_lastEvent = 0;
    Descriptor m_watch;
    Descriptor m_watchedFolder;
    std::map<std::string, std::wstring> m_known; // services by the names of their sockets
};

template <class Done>
bool Thread::wait(std::uint64_t end, bool dispatches, int extraSocket, Done done) {
    for (;;) {
        collect();
        MSG message;
        while (dispatches && !done() && takeForSource(this, message))
            dispatch(message);
        if (done())
            return true;
        const std::uint64_t now = GetTickCount64();
        if (now >= end)
            return false;
        std::vector<pollfd> descriptors;
        addDescriptors(descriptors);
        if (extraSocket >= 0)
            descriptors.push_back({extraSocket, POLLIN, 0});
        // The longest wait that the call takes; then the clock is asked again.
        const int milliseconds = static_cast<int>(std::min<std::uint64_t>(end - now, 60000));
        if (::poll(descriptors.data(), descriptors.size(), milliseconds) < 0 && errno != EINTR)
            return false;
    }
}

} // namespace mvplat::dde
