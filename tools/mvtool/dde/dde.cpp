#include "dde.h"

#include "../console.h"
#include "../system.h"
#include "../text.h"
#include "TDDEInterface.h"
#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace mvtool::dde {
namespace {

constexpr OptionSpec kExecuteOptions[] = {
    {"no-wait", 'n', nullptr, "send the command and do not wait for the server's answer"},
    {"timeout", 't', "MS", "how long to wait for the answer (10000)"},
};

constexpr OptionSpec kRequestOptions[] = {
    {"timeout", 't', "MS", "how long to wait for the answer (10000)"},
};

constexpr OptionSpec kServeOptions[] = {
    {"answer", 'a', "TEXT", "answer every request with TEXT (default: refuse requests)"},
    {"refuse", 'r', nullptr, "refuse every command"},
    {"count", 'c', "N", "end after N commands and requests"},
};

constexpr Command kCommands[] = {
    {"list",
     "",
     "list the services and topics that programs serve",
     "One line a pair, the service before a bar. A server of the library lists no more than its\n"
     "first topics; it answers to the others all the same.\n",
     0,
     0,
     {},
     list},
    {"exec", "SERVICE TOPIC COMMAND", "send a command to a server",
     "Exit code 1 when the server refuses the command, 3 when nobody serves the topic.\n", 3, 3,
     kExecuteOptions, execute},
    {"request", "SERVICE TOPIC ITEM", "ask a server for an item, as text",
     "Exit code 1 when the server has no such item, 3 when nobody serves the topic.\n", 3, 3, kRequestOptions,
     request},
    {"serve", "SERVICE TOPIC...", "serve topics and show what is sent to them",
     "Serves up to ten topics until Ctrl-C, or until the count is reached. Each command and each\n"
     "request is printed as one line.\n",
     2, 11, kServeOptions, serve},
};

std::wstring wideWord(const std::string& word) {
    std::optional<std::wstring> wide = toWide(word);
    if (!wide) {
        throw Failure(Exit::usage, "'" + displayText(word) + "' is not valid UTF-8");
    }
    return *wide;
}

/// A name of a service, topic or item.
std::wstring name(const std::string& word) {
    std::wstring wide = wideWord(word);
    if (wide.empty() || wide.size() > 255) {
        throw Failure(Exit::usage, "a name has 1 to 255 characters");
    }
    return wide;
}

unsigned long number(const Arguments& arguments, const char* option, unsigned long otherwise) {
    const std::optional<std::string> value = arguments.value(option);
    if (!value) {
        return otherwise;
    }
    char* end = nullptr;
    const unsigned long number = std::strtoul(value->c_str(), &end, 10);
    if (value->empty() || *end != 0 || value->front() == '-' || number == 0 || number > 1000000000) {
        throw Failure(Exit::usage, std::string("--") + option + " wants a number from 1 to 1000000000");
    }
    return number;
}

HDDEDATA CALLBACK ignore(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
    return nullptr;
}

/// A conversation with a server.
class Client {
public:
    Client(const std::string& service, const std::string& topic) {
        const std::wstring serviceName = name(service);
        const std::wstring topicName = name(topic);
        if (DdeInitializeW(&m_instance, &ignore, APPCMD_CLIENTONLY | CBF_SKIP_ALLNOTIFICATIONS, 0) !=
            DMLERR_NO_ERROR) {
            throw Failure(Exit::internal, "conversations cannot be used");
        }
        m_conversation = DdeConnect(m_instance, string(serviceName), string(topicName), nullptr);
        if (m_conversation == nullptr) {
            const UINT error = DdeGetLastError(m_instance);
            DdeUninitialize(m_instance);
            throw Failure(error == DMLERR_NO_CONV_ESTABLISHED ? Exit::notFound : Exit::internal,
                          "nobody serves " + displayText(service) + "|" + displayText(topic));
        }
    }
    ~Client() {
        DdeDisconnect(m_conversation);
        DdeUninitialize(m_instance);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    HSZ string(const std::wstring& text) const {
        return DdeCreateStringHandleW(m_instance, text.c_str(), CP_WINUNICODE);
    }
    HDDEDATA transact(const std::wstring* command, HSZ item, UINT format, UINT type,
                      unsigned long timeout) const {
        auto* const bytes =
            command ? reinterpret_cast<LPBYTE>(const_cast<wchar_t*>(command->c_str())) : nullptr;
        const std::size_t size = command ? (command->size() + 1) * sizeof(wchar_t) : 0;
        return DdeClientTransaction(bytes, static_cast<DWORD>(size), m_conversation, item, format, type,
                                    static_cast<DWORD>(timeout), nullptr);
    }
    /// Ends the command for a transaction that failed.
    [[noreturn]] void fail(const char* refused) const {
        switch (DdeGetLastError(m_instance)) {
        case DMLERR_NOTPROCESSED:
            throw Failure(Exit::no, refused);
        case DMLERR_BUSY:
            throw Failure(Exit::no, "the server is busy");
        case DMLERR_EXECACKTIMEOUT:
        case DMLERR_DATAACKTIMEOUT:
            throw Failure(Exit::internal, "the server did not answer in time");
        case DMLERR_SERVER_DIED:
            throw Failure(Exit::internal, "the server ended");
        default:
            throw Failure(Exit::internal, "the conversation failed");
        }
    }

private:
    DWORD m_instance = 0;
    HCONV m_conversation = nullptr;
};

/// 8-bit text of the system's code page up to its NUL.
std::string textOf(HDDEDATA data) {
    std::string bytes(DdeGetData(data, nullptr, 0, 0), '\0');
    DdeGetData(data, reinterpret_cast<LPBYTE>(bytes.data()), static_cast<DWORD>(bytes.size()), 0);
    bytes.resize(std::min(bytes.find('\0'), bytes.size()));
    if (bytes.empty()) {
        return bytes;
    }
    const int size = static_cast<int>(bytes.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, wide.data(), static_cast<int>(wide.size()));
    return fromWide(wide);
}

/// Prints what reaches it.
class Server : public TDDEInterface {
public:
    Server(const Arguments& arguments, PFNCALLBACK callback)
        : TDDEInterface(name(arguments.operands()[0]).c_str(), L"", callback)
        , m_refuses(arguments.has("refuse"))
        , m_rest(number(arguments, "count", 0))
        , m_counts(arguments.has("count")) {
        for (std::size_t i = 1; i < arguments.operands().size(); ++i) {
            AfegirNouTopic(name(arguments.operands()[i]).c_str());
        }
        if (const std::optional<std::string> answer = arguments.value("answer")) {
            const std::wstring wide = wideWord(*answer);
            m_answer = std::string(CStringA(wide.c_str()).GetString());
        }
    }
    int COM_Execute(const wchar_t* command, const wchar_t* topic) override {
        show("execute", topic, command);
        return m_refuses ? 0 : 1;
    }
    HDDEDATA COM_Request(unsigned int format, const wchar_t* item) override {
        show("request", item, nullptr);
        if (!m_answer) {
            return nullptr;
        }
        return DdeCreateDataHandle(m_dwInstancia, reinterpret_cast<LPBYTE>(m_answer->data()),
                                   static_cast<DWORD>(m_answer->size() + 1), 0, m_hszServei, format, 0);
    }
    bool ended() const { return m_counts && m_rest == 0; }

private:
    void show(const char* event, const wchar_t* one, const wchar_t* two) {
        std::string line = std::string(event) + " " + displayText(fromWide(one));
        if (two != nullptr) {
            line += ": " + displayText(fromWide(two));
        }
        console().print(line + "\n");
        console().flush();
        m_rest -= m_rest > 0 ? 1 : 0;
    }

    bool m_refuses;
    unsigned long m_rest;
    bool m_counts;
    std::optional<std::string> m_answer;
};

Server* g_server;

HDDEDATA CALLBACK forward(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2, HDDEDATA data,
                          ULONG_PTR data1, ULONG_PTR data2) {
    return g_server->ProcessarCallback(type, format, conversation, hsz1, hsz2, data,
                                       static_cast<unsigned long>(data1), static_cast<unsigned long>(data2));
}

} // namespace

const Family& family() {
    static const Family one = {"dde", "talk to programs that serve conversations (DDE), or be one",
                               "Names of services and topics match without case.\n", kCommands};
    return one;
}

Exit list(const Arguments&) {
    std::vector<std::string> lines;
    for (const Pair& pair : services()) {
        std::string line = displayText(fromWide(pair.service));
        if (!pair.topic.empty()) {
            line.append("|").append(displayText(fromWide(pair.topic)));
        }
        lines.push_back(line.append("\n"));
    }
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    for (const std::string& line : lines) {
        console().print(line);
    }
    return Exit::done;
}

Exit execute(const Arguments& arguments) {
    const std::vector<std::string>& words = arguments.operands();
    const unsigned long timeout = number(arguments, "timeout", 10000);
    const std::wstring command = wideWord(words[2]);
    const Client client(words[0], words[1]);
    const bool waits = !arguments.has("no-wait");
    if (client.transact(&command, nullptr, 0, XTYP_EXECUTE,
                        waits ? timeout : static_cast<unsigned long>(TIMEOUT_ASYNC)) == nullptr) {
        client.fail("the server refused the command");
    }
    return Exit::done;
}

Exit request(const Arguments& arguments) {
    const std::vector<std::string>& words = arguments.operands();
    const unsigned long timeout = number(arguments, "timeout", 10000);
    const std::wstring item = name(words[2]);
    const Client client(words[0], words[1]);
    const HDDEDATA data = client.transact(nullptr, client.string(item), CF_TEXT, XTYP_REQUEST, timeout);
    if (data == nullptr) {
        client.fail("the server has no such item");
    }
    const std::string text = textOf(data);
    DdeFreeDataHandle(data);
    console().print(text + "\n");
    return Exit::done;
}

Exit serve(const Arguments& arguments) {
    Server server(arguments, &forward);
    g_server = &server;
    if (server.InitServidor() == 0) {
        throw Failure(Exit::internal, "the service could not be registered");
    }
    console().note("serving; Ctrl-C ends it");
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE); // makes the queue that the interruption posts to
    std::atomic<bool> interrupted{false};
    const Interruption interruption([&interrupted, thread = GetCurrentThreadId()] {
        interrupted = true;
        PostThreadMessageW(thread, WM_NULL, 0, 0);
    });
    while (!interrupted && !server.ended() && GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
    server.DoneServidor();
    return Exit::done;
}

} // namespace mvtool::dde
