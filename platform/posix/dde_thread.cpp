#include "internal/dde_thread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

namespace mvplat::dde {
namespace {

constexpr std::size_t mostWaiting = 256;
constexpr std::uint64_t patience = 5000; // ms for the other end's part of connecting

constinit thread_local bool t_ended = false;

std::atomic<DWORD> g_lastInstance{0};
std::atomic<std::uintptr_t> g_lastConversation{0x10000};

HCONV handleOf(std::uintptr_t number) {
    return reinterpret_cast<HCONV>(number);
}

// A string that lives as long as a callback may look at it.
class CallString {
public:
    explicit CallString(std::wstring_view text)
        : m_string(openString(text)) {}
    ~CallString() {
        if (m_string)
            closeString(m_string);
    }
    CallString(const CallString&) = delete;
    CallString& operator=(const CallString&) = delete;
    HSZ get() const { return m_string; }

private:
    HSZ m_string;
};

// The pairs that a server's list holds, up to its end or the end of its bytes: a list may be cut in the
// middle of a pair. Pairs without a service or a topic name nothing to connect to.
std::vector<std::pair<std::wstring, std::wstring>> pairsOf(const Data& list) {
    std::vector<std::pair<std::wstring, std::wstring>> pairs;
    for (std::size_t at = 0; at + sizeof(HSZPAIR) <= list.bytes.size(); at += sizeof(HSZPAIR)) {
        HSZPAIR pair;
        std::memcpy(&pair, list.bytes.data() + at, sizeof pair);
        if (!pair.hszSvc && !pair.hszTopic)
            break;
        std::wstring service = textOf(pair.hszSvc);
        std::wstring topic = textOf(pair.hszTopic);
        if (!service.empty() && !topic.empty())
            pairs.emplace_back(std::move(service), std::move(topic));
    }
    return pairs;
}

// The data that a callback answered, which is freed unless its maker keeps it. False for what is no data.
bool takeData(HDDEDATA handle, Data& data) {
    if (!copyData(handle, data))
        return false;
    if (!data.appOwned)
        closeData(handle);
    return true;
}

} // namespace

Thread::Thread() {
    addMessageSource(this);
}

Thread::~Thread() {
    while (!m_instances.empty())
        removeInstance(m_instances.begin()->first);
    removeMessageSource(this);
    t_ended = true;
}

Thread* Thread::current() {
    if (t_ended)
        return nullptr;
    static thread_local Thread thread;
    return &thread;
}

// ---- Instances

Instance* Thread::instance(DWORD number) {
    const auto found = m_instances.find(number);
    return found != m_instances.end() ? &found->second : nullptr;
}

DWORD Thread::addInstance(PFNCALLBACK callback, DWORD filters) {
    const DWORD number = ++g_lastInstance;
    Instance& added = m_instances[number];
    added.callback = callback;
    added.filters = filters;
    watch();
    return number;
}

void Thread::removeInstance(DWORD number) {
    // What others sent before they left is lost with the instance; what it sent itself is not.
    for (auto at = m_conversations.begin(); at != m_conversations.end();) {
        const auto one = at++;
        if (one->second.instance == number)
            drop(one->first);
    }
    std::erase_if(m_waiting, [=](const auto& one) { return one.second.instance == number; });
    std::erase_if(m_events, [=](const auto& one) { return one.second.instance == number; });
    const auto found = m_instances.find(number);
    if (found != m_instances.end()) {
        for (const auto& [string, count] : found->second.strings)
            for (unsigned i = 0; i < count; ++i)
                closeString(string);
        m_instances.erase(found);
    }
    if (m_instances.empty() && !m_leaving.empty()) {
        wait(GetTickCount64() + 2000, false, -1, [&] { return m_leaving.empty(); });
        m_leaving.clear();
    }
    watch();
}

void Thread::watch() {
    const bool wanted = std::any_of(m_instances.begin(), m_instances.end(), [](const auto& one) {
        constexpr DWORD neither = CBF_SKIP_REGISTRATIONS | CBF_SKIP_UNREGISTRATIONS;
        return (one.second.filters & neither) != neither;
    });
    if (!wanted) {
        m_watch = Descriptor();
        m_watchedFolder = Descriptor();
        m_known.clear();
        return;
    }
    if (m_watch)
        return;
    m_watchedFolder = openFolder();
    m_watch = Descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    const std::string path = "/proc/self/fd/" + std::to_string(m_watchedFolder.get());
    if (!m_watchedFolder || !m_watch ||
        ::inotify_add_watch(m_watch.get(), path.c_str(), IN_MOVED_TO | IN_DELETE | IN_ONLYDIR) < 0) {
        m_watch = Descriptor();
        return;
    }
    for (const std::string& name : socketsOf(m_watchedFolder, {}))
        m_known[name] = serviceOf(m_watchedFolder, name);
}

// ---- Conversations

Conversation* Thread::conversation(HCONV handle) {
    const auto found = m_conversations.find(reinterpret_cast<std::uintptr_t>(handle));
    return found != m_conversations.end() ? &found->second : nullptr;
}

std::uintptr_t Thread::add(Conversation conversation) {
    const std::uintptr_t number = ++g_lastConversation;
    m_conversations.emplace(number, std::move(conversation));
    return number;
}

void Thread::drop(std::uintptr_t number) {
    const auto found = m_conversations.find(number);
    if (found == m_conversations.end())
        return;
    if (found->second.link.unsent())
        m_leaving.push_back(std::move(found->second.link));
    m_conversations.erase(found);
    std::erase_if(m_events, [=](const auto& one) { return one.second.conversation == number; });
}

void Thread::disconnect(HCONV handle) {
    drop(reinterpret_cast<std::uintptr_t>(handle));
}

HCONV Thread::connect(DWORD number, const std::wstring& service, const std::wstring& topic) {
    const Descriptor folder = openFolder();
    if (!folder) {
        instance(number)->error = DMLERR_SYS_ERROR;
        return nullptr;
    }
    for (const std::string& socketName : socketsOf(folder, service)) {
        Link link(connectTo(folder, socketName, patience).detach());
        if (!link.open())
            continue;
        Message message;
        message.type = Type::Initiate;
        message.put(service);
        message.put(topic);
        bool answered = false;
        if (!link.send(message) || !wait(GetTickCount64() + patience, false, link.socket(), [&] {
                const Link::Received received = link.receive(message);
                answered = received == Link::Received::Whole;
                return received != Link::Received::Nothing;
            }))
            continue;
        // A callback may have ended the instance meanwhile.
        if (!instance(number))
            return nullptr;
        if (!answered || message.type != Type::Accepted)
            continue;
        BodyReader reader(message);
        Conversation conversation;
        conversation.instance = number;
        conversation.client = true;
        conversation.service = reader.text();
        conversation.topic = reader.text();
        conversation.link = std::move(link);
        return handleOf(add(std::move(conversation)));
    }
    if (Instance* const own = instance(number))
        own->error = DMLERR_NO_CONV_ESTABLISHED;
    return nullptr;
}

// ---- What arrives

void Thread::addDescriptors(std::vector<pollfd>& descriptors) const {
    const auto addLink = [&](const Link& link, bool reads) {
        const int events = (reads ? POLLIN : 0) | (link.unsent() ? POLLOUT : 0);
        if (events != 0)
            descriptors.push_back({link.socket(), static_cast<short>(events), 0});
    };
    if (m_watch)
        descriptors.push_back({m_watch.get(), POLLIN, 0});
    for (const auto& one : m_instances)
        for (const auto& service : one.second.services)
            descriptors.push_back({service.second.socket(), POLLIN, 0});
    for (const auto& one : m_waiting)
        addLink(one.second.link, true);
    for (const auto& one : m_conversations)
        if (!one.second.ended)
            addLink(one.second.link, one.second.reads());
    for (const Link& link : m_leaving)
        descriptors.push_back({link.socket(), POLLOUT, 0});
}

void Thread::collect() {
    collectServices();
    collectClients();
    collectWaiting();
    collectConversations();
    std::erase_if(m_leaving, [](Link& link) { return !link.flush() || !link.unsent(); });
}

std::uintptr_t Thread::post(Event event) {
    const std::uintptr_t number = ++m_lastEvent;
    m_events.emplace(number, std::move(event));
    postForSource(this, WM_DDE_FIRST, 0, static_cast<LPARAM>(number));
    return number;
}

void Thread::collectServices() {
    if (!m_watch)
        return;
    alignas(inotify_event) char bytes[4096];
    for (;;) {
        const ssize_t got = ::read(m_watch.get(), bytes, sizeof bytes);
        if (got <= 0)
            return;
        for (const char* at = bytes; at < bytes + got;) {
            const auto* change = reinterpret_cast<const inotify_event*>(at);
            at += sizeof *change + change->len;
            const std::string name = change->len > 0 ? change->name : "";
            const bool came = (change->mask & IN_MOVED_TO) != 0;
            std::wstring service;
            if (came) {
                service = serviceOf(m_watchedFolder, name);
                if (!service.empty())
                    m_known[name] = service;
            } else if (const auto known = m_known.find(name); known != m_known.end()) {
                service = known->second;
                m_known.erase(known);
            }
            if (service.empty() || service.size() > longestName)
                continue;
            const DWORD skips = came ? CBF_SKIP_REGISTRATIONS : CBF_SKIP_UNREGISTRATIONS;
            for (const auto& [number, own] : m_instances)
                if ((own.filters & skips) == 0)
                    post(
                        {came ? Event::Kind::Registered : Event::Kind::Unregistered, number, 0, {}, service});
        }
    }
}

void Thread::collectClients() {
    for (const auto& [number, own] : m_instances)
        for (const auto& [name, registration] : own.services)
            for (bool again = true; again && m_waiting.size() < mostWaiting;) {
                Descriptor client = acceptFrom(registration.socket(), again);
                if (!client)
                    continue;
                again = true;
                m_waiting.emplace(++m_lastWaiting,
                                  Waiting{Link(client.detach()), number, name, GetTickCount64()});
            }
}

void Thread::collectWaiting() {
    std::vector<std::uintptr_t> numbers;
    for (const auto& one : m_waiting)
        numbers.push_back(one.first);
    for (const std::uintptr_t number : numbers) {
        const auto found = m_waiting.find(number);
        if (found == m_waiting.end())
            continue;
        Message message;
        const Link::Received received = found->second.link.receive(message);
        const bool late = GetTickCount64() - found->second.since > 2 * patience;
        if (received == Link::Received::Nothing && !late)
            continue;
        Waiting client = std::move(found->second);
        m_waiting.erase(found);
        if (received == Link::Received::Whole)
            initiate(client, message);
    }
}

// Whether more is to be read from the conversation.
bool Thread::take(std::uintptr_t number, Conversation& conversation, Message message) {
    const bool fits = conversation.client ? message.type == Type::Result || message.type == Type::Answer
                                          : message.type == Type::Execute || message.type == Type::Request;
    if (!fits)
        return false;
    if (conversation.client && message.number == conversation.awaited) {
        conversation.answer = std::move(message);
        conversation.awaited = 0;
    } else if (!conversation.client && !instance(conversation.instance)) {
        return false;
    } else if (!conversation.client || conversation.asynchronous.count(message.number) != 0) {
        conversation.pending =
            post({Event::Kind::Message, conversation.instance, number, std::move(message), {}});
    }
    return true;
}

void Thread::collectConversations() {
    for (auto& [number, conversation] : m_conversations) {
        if (conversation.ended)
            continue;
        // The program may have taken the message and thrown it away: that must not stop the conversation.
        if (conversation.pending != 0 && !isQueuedForSource(this, static_cast<LPARAM>(conversation.pending)))
            conversation.pending = 0;
        bool open = conversation.link.flush();
        for (Message message; open && conversation.reads();) {
            const Link::Received received = conversation.link.receive(message);
            if (received == Link::Received::Nothing)
                break;
            open = received == Link::Received::Whole && take(number, conversation, std::move(message));
        }
        if (!open) {
            // Told behind what the other end sent before it went.
            conversation.ended = true;
            post({Event::Kind::Ended, conversation.instance, number, {}, {}});
        }
    }
}

// ---- What is done about it

void Thread::initiate(Waiting& client, const Message& message) {
    BodyReader reader(message);
    const std::wstring service = reader.text();
    const std::wstring topic = reader.text();
    Instance* const own = instance(client.instance);
    const bool asks = message.type == Type::Enumerate;
    if (!own || !reader.good() || !reader.atEnd() || (message.type != Type::Initiate && !asks) ||
        service.size() > longestName || topic.size() > longestName)
        return;

    Message answer;
    answer.type = Type::Refused;
    std::wstring acceptedService = service;
    std::wstring acceptedTopic = topic;
    const DWORD filters = own->filters;
    const PFNCALLBACK callback = own->callback;
    const CallString serviceString(service);
    const CallString topicString(topic);
    bool accepted = false;
    if ((!service.empty() && foldedName(service) != client.service) ||
        (filters & CBF_FAIL_CONNECTIONS) != 0) {
        // No conversation.
    } else if (!service.empty() && !topic.empty() && !asks) {
        accepted = callback(XTYP_CONNECT, 0, nullptr, topicString.get(), serviceString.get(), nullptr, 0,
                            0) != nullptr;
    } else {
        Data list;
        const HDDEDATA data =
            callback(XTYP_WILDCONNECT, 0, nullptr, topicString.get(), serviceString.get(), nullptr, 0, 0);
        if (takeData(data, list)) {
            const auto pairs = pairsOf(list);
            if (asks) {
                answer.type = Type::Pairs;
                for (const auto& [pairService, pairTopic] : pairs) {
                    answer.put(pairService);
                    answer.put(pairTopic);
                }
            } else if (!pairs.empty()) {
                acceptedService = pairs.front().first;
                acceptedTopic = pairs.front().second;
                accepted = true;
            }
        }
    }
    if (accepted) {
        answer.type = Type::Accepted;
        answer.put(acceptedService);
        answer.put(acceptedTopic);
    }
    if (!client.link.send(answer) || !instance(client.instance))
        return;
    if (!accepted) {
        if (client.link.unsent())
            m_leaving.push_back(std::move(client.link));
        return;
    }
    Conversation conversation;
    conversation.instance = client.instance;
    conversation.service = acceptedService;
    conversation.topic = acceptedTopic;
    conversation.link = std::move(client.link);
    const std::uintptr_t number = add(std::move(conversation));
    if ((filters & CBF_SKIP_CONNECT_CONFIRMS) == 0) {
        const CallString confirmedService(acceptedService);
        const CallString confirmedTopic(acceptedTopic);
        callback(XTYP_CONNECT_CONFIRM, 0, handleOf(number), confirmedTopic.get(), confirmedService.get(),
                 nullptr, 0, 0);
    }
}

LRESULT Thread::dispatch(const MSG& message) {
    const auto found = m_events.find(static_cast<std::uintptr_t>(message.lParam));
    if (found == m_events.end())
        return 0;
    const Event event = std::move(found->second);
    m_events.erase(found);
    if (Conversation* const of = conversation(handleOf(event.conversation));
        of && event.kind == Event::Kind::Message)
        of->pending = 0;
    if (!instance(event.instance))
        return 0;
    switch (event.kind) {
    case Event::Kind::Registered:
    case Event::Kind::Unregistered:
        announce(event);
        break;
    case Event::Kind::Message:
        if (event.message.type == Type::Execute)
            execute(event);
        else if (event.message.type == Type::Request)
            request(event);
        else
            complete(event);
        break;
    case Event::Kind::Ended:
        ended(event);
        break;
    }
    return 0;
}

void Thread::announce(const Event& event) {
    const CallString service(event.service);
    const UINT type = event.kind == Event::Kind::Registered ? XTYP_REGISTER : XTYP_UNREGISTER;
    instance(event.instance)->callback(type, 0, nullptr, service.get(), service.get(), nullptr, 0, 0);
}

void Thread::execute(const Event& event) {
    const Instance& own = *instance(event.instance);
    Conversation* conversation = this->conversation(handleOf(event.conversation));
    if (!conversation)
        return;
    std::uint32_t flags = DDE_FNOTPROCESSED;
    if ((own.filters & CBF_FAIL_EXECUTES) == 0) {
        const CallString topic(conversation->topic);
        const HDDEDATA data = openData({event.message.body, false});
        flags = static_cast<std::uint16_t>(reinterpret_cast<std::uintptr_t>(
            own.callback(XTYP_EXECUTE, 0, handleOf(event.conversation), topic.get(), nullptr, data, 0, 0)));
        closeData(data);
    }
    conversation = this->conversation(handleOf(event.conversation));
    if (!conversation || conversation->ended)
        return;
    Message answer;
    answer.type = Type::Result;
    answer.number = event.message.number;
    answer.put(flags);
    conversation->link.send(answer);
}

void Thread::request(const Event& event) {
    const Instance& own = *instance(event.instance);
    Conversation* conversation = this->conversation(handleOf(event.conversation));
    if (!conversation)
        return;
    BodyReader reader(event.message);
    const std::uint32_t format = reader.number();
    const std::wstring itemText = reader.text();
    Data data;
    std::uint32_t flags = DDE_FNOTPROCESSED;
    const CallString item(itemText);
    if (reader.good() && item.get() && (own.filters & CBF_FAIL_REQUESTS) == 0) {
        const CallString topic(conversation->topic);
        const HDDEDATA answered = own.callback(XTYP_REQUEST, format, handleOf(event.conversation),
                                               topic.get(), item.get(), nullptr, 0, 0);
        if (takeData(answered, data) && data.bytes.size() < longestBody)
            flags = DDE_FACK;
        else
            data.bytes.clear();
    }
    conversation = this->conversation(handleOf(event.conversation));
    if (!conversation || conversation->ended)
        return;
    Message answer;
    answer.type = Type::Answer;
    answer.number = event.message.number;
    answer.put(flags);
    answer.putRest(data.bytes.data(), data.bytes.size());
    conversation->link.send(answer);
}

void Thread::complete(const Event& event) {
    Conversation* const conversation = this->conversation(handleOf(event.conversation));
    if (!conversation)
        return;
    const auto found = conversation->asynchronous.find(event.message.number);
    if (found == conversation->asynchronous.end())
        return;
    const Transaction transaction = found->second;
    conversation->asynchronous.erase(found);
    BodyReader reader(event.message);
    const std::uint32_t flags = reader.number();
    const CallString topic(conversation->topic);
    const CallString item(transaction.item);
    HDDEDATA data = nullptr;
    if (flags & DDE_FACK)
        data = transaction.type == XTYP_REQUEST ? openData({reader.rest(), false})
                                                : reinterpret_cast<HDDEDATA>(std::uintptr_t{1});
    instance(event.instance)
        ->callback(XTYP_XACT_COMPLETE, transaction.format, handleOf(event.conversation), topic.get(),
                   item.get(), data, event.message.number, flags);
    if (data)
        closeData(data);
}

void Thread::ended(const Event& event) {
    Conversation* const conversation = this->conversation(handleOf(event.conversation));
    if (!conversation)
        return;
    // A client keeps the handle until it disconnects, and learns then that nobody is there.
    const bool client = conversation->client;
    const Instance& own = *instance(event.instance);
    if ((own.filters & CBF_SKIP_DISCONNECTS) == 0)
        own.callback(XTYP_DISCONNECT, 0, handleOf(event.conversation), nullptr, nullptr, nullptr, 0, 0);
    if (!client)
        drop(event.conversation);
}

} // namespace mvplat::dde
