// What only the transport of this target shows: its folder, its sockets, hostile ends, long texts.
#include <TDDEInterface.h>

#include "Pump.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

class Server : public TDDEInterface {
public:
    using TDDEInterface::TDDEInterface;

    int COM_Execute(const wchar_t* command, const wchar_t*) override {
        commands.push_back(command ? command : L"(none)");
        return 1;
    }
    int COM_Register(const wchar_t* service) override {
        registered.push_back(service);
        return 1;
    }
    HDDEDATA COM_Request(unsigned int, const wchar_t*) override {
        ++requests;
        std::vector<unsigned char> bytes(answerSize, 'a');
        return DdeCreateDataHandle(m_dwInstancia, bytes.data(), static_cast<DWORD>(bytes.size()), 0, nullptr,
                                   0, 0);
    }

    std::vector<std::wstring> commands;
    std::vector<std::wstring> registered;
    std::size_t answerSize = 10;
    int requests = 0;
};

Server* g_server;

HDDEDATA CALLBACK Forward(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2, HDDEDATA data,
                          ULONG_PTR data1, ULONG_PTR data2) {
    return g_server->ProcessarCallback(type, format, conversation, hsz1, hsz2, data, data1, data2);
}

HDDEDATA CALLBACK Silent(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
    return nullptr;
}

fs::path Folder() {
    return fs::path(std::getenv("XDG_RUNTIME_DIR")) / "mvlib62-dde";
}

std::vector<fs::path> Sockets() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(Folder()))
        if (entry.path().extension() == ".sock")
            found.push_back(entry.path());
    return found;
}

// An end that does not keep to the rules.
class RawClient {
public:
    explicit RawClient(const fs::path& path)
        : m_socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        connected = ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawClient() { ::close(m_socket); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void Send(const std::string& bytes) { ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    // A packet with the right header.
    void SendPart(unsigned short type, unsigned short more, const std::string& body) {
        Send(Part(type, more, body));
    }
    // False when the socket takes no more for now.
    bool Try(unsigned short type, const std::string& body) {
        const std::string bytes = Part(type, 0, body);
        return ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0;
    }
    static std::string Part(unsigned short type, unsigned short more, const std::string& body) {
        std::string bytes = "MVD1";
        for (unsigned value : {unsigned{type}, unsigned{more}}) {
            bytes += static_cast<char>(value & 0xFF);
            bytes += static_cast<char>(value >> 8);
        }
        return bytes + std::string(4, '\1') + body;
    }
    void ReadAll() {
        char byte;
        while (::recv(m_socket, &byte, 1, MSG_DONTWAIT) > 0) {
        }
    }
    // True when the server closed.
    bool Closed() {
        char byte;
        return PumpUntil([&] {
            const ssize_t got = ::recv(m_socket, &byte, 1, MSG_DONTWAIT);
            return got == 0 || (got < 0 && errno == ECONNRESET);
        });
    }

    bool connected = false;

private:
    int m_socket;
};

std::string Text(const std::string& text) {
    const auto size = static_cast<unsigned>(text.size());
    return std::string(reinterpret_cast<const char*>(&size), 4) + text;
}

class DdePosixTest : public testing::Test {
protected:
    void SetUp() override {
        g_server = &server;
        ASSERT_EQ(server.InitServidor(), 1);
    }
    void TearDown() override {
        server.DoneServidor();
        PumpWaiting();
    }
    // The server goes on as before.
    void ExpectAlive() {
        server.commands.clear();
        TConexioDDE connection;
        ASSERT_EQ(connection.Conectar(L"Place", L"Topic", &Silent), 1);
        EXPECT_EQ(connection.EnviarDades(L"alive"), 1);
        EXPECT_TRUE(PumpUntil([&] { return server.commands.size() == 1; }));
    }

    Server server{L"Place", L"Topic", &Forward};
};

} // namespace

TEST_F(DdePosixTest, FolderIsClosedToOthers) {
    struct stat status;
    ASSERT_EQ(::stat(Folder().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    ASSERT_EQ(Sockets().size(), 1u);
    EXPECT_EQ(Sockets()[0].filename().string().substr(0, 6), "place-");
    server.DoneServidor();
    EXPECT_TRUE(fs::is_empty(Folder()));
}

TEST_F(DdePosixTest, FolderThatLetsOthersInIsRefused) {
    server.DoneServidor();
    ASSERT_EQ(::chmod(Folder().c_str(), 0755), 0);
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, 0, 0);
    const HSZ name = DdeCreateStringHandleW(instance, L"Place", CP_WINUNICODE);
    EXPECT_EQ(DdeNameService(instance, name, nullptr, DNS_REGISTER), nullptr);
    EXPECT_EQ(DdeGetLastError(instance), static_cast<UINT>(DMLERR_SYS_ERROR));
    EXPECT_EQ(DdeConnect(instance, name, name, nullptr), nullptr);
    EXPECT_EQ(DdeGetLastError(instance), static_cast<UINT>(DMLERR_SYS_ERROR));
    DdeUninitialize(instance);
    ASSERT_EQ(::chmod(Folder().c_str(), 0700), 0);
}

TEST_F(DdePosixTest, FolderThatIsALinkIsRefused) {
    server.DoneServidor();
    const fs::path elsewhere = Folder().parent_path() / "elsewhere";
    fs::remove(Folder());
    fs::create_directory(elsewhere);
    fs::permissions(elsewhere, fs::perms::owner_all);
    fs::create_directory_symlink(elsewhere, Folder());
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, 0, 0);
    const HSZ name = DdeCreateStringHandleW(instance, L"Place", CP_WINUNICODE);
    EXPECT_EQ(DdeNameService(instance, name, nullptr, DNS_REGISTER), nullptr);
    DdeUninitialize(instance);
    fs::remove(Folder());
    fs::remove(elsewhere);
}

TEST_F(DdePosixTest, AnotherUserIsRefused) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const fs::path path = Sockets().at(0);
    // Even where the folder's rights let that user reach the socket.
    ::chmod(Folder().parent_path().c_str(), 0755);
    ::chmod(Folder().c_str(), 0755);
    ::chmod(path.c_str(), 0777);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setuid(65534) != 0)
            ::_exit(2);
        const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            ::_exit(3);
        char byte;
        ::_exit(::recv(socket, &byte, 1, 0) == 0 ? 0 : 4);
    }
    int status = -1;
    EXPECT_TRUE(PumpUntil([&] { return ::waitpid(child, &status, WNOHANG) == child; }));
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    ::chmod(Folder().c_str(), 0700);
    ::chmod(Folder().parent_path().c_str(), 0700);
    ExpectAlive();
}

TEST_F(DdePosixTest, ServerOfAnotherUserIsNotConnectedTo) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const fs::path path = Sockets().at(0);
    server.DoneServidor();
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        const bool bound = ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        if (!bound || ::setuid(65534) != 0 || ::listen(socket, 1) != 0)
            ::_exit(2);
        (void)!::write(ready[1], "r", 1);
        char byte;
        const int client = ::accept(socket, nullptr, nullptr);
        ::_exit(::recv(client, &byte, 1, 0) == 0 ? 0 : 4); // nothing was said to it
    }
    char byte;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, 0, 0);
    EXPECT_EQ(
        DdeConnect(instance, DdeCreateStringHandleW(instance, L"Place", CP_WINUNICODE), nullptr, nullptr),
        nullptr);
    DdeUninitialize(instance);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    ::close(ready[0]);
    ::close(ready[1]);
    fs::remove(path);
}

TEST_F(DdePosixTest, TwoServersOfOneNameBothLive) {
    Server second(L"PLACE", L"Other", &Forward);
    ASSERT_EQ(second.InitServidor(), 1);
    EXPECT_EQ(Sockets().size(), 2u);
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, CBF_SKIP_ALLNOTIFICATIONS, 0);
    const HSZ name = DdeCreateStringHandleW(instance, L"place", CP_WINUNICODE);
    EXPECT_NE(DdeConnect(instance, name, DdeCreateStringHandleW(instance, L"topic", CP_WINUNICODE), nullptr),
              nullptr);
    DdeUninitialize(instance);
    second.DoneServidor();
    EXPECT_EQ(Sockets().size(), 1u);
}

TEST_F(DdePosixTest, StaleSocketIsReplaced) {
    server.DoneServidor();
    // What a killed server leaves: files, but no lock.
    const pid_t child = ::fork();
    if (child == 0) {
        g_server = new Server(L"Place", L"Topic", &Forward);
        ::_exit(g_server->InitServidor() == 1 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(Sockets().size(), 1u);
    ASSERT_EQ(server.InitServidor(), 1);
    EXPECT_EQ(Sockets().size(), 1u);
    ExpectAlive();
}

TEST_F(DdePosixTest, ServerThatLivesLongerThanTheMainThreadEndsWell) {
    server.DoneServidor();
    const pid_t child = ::fork();
    if (child == 0) {
        // Destroyed behind the thread's own objects.
        static Server late(L"Late", L"Topic", &Forward);
        g_server = &late;
        std::exit(late.InitServidor() == 1 && late.Conectar(L"Late", L"Topic") == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(fs::is_empty(Folder()));
}

TEST_F(DdePosixTest, TextsArriveAsTheyAre) {
    TConexioDDE connection;
    ASSERT_EQ(connection.Conectar(L"Place", L"Topic", &Silent), 1);
    const std::wstring text = L"\u00E0\u20AC\u4E2D\U0001F600";
    EXPECT_EQ(connection.EnviarDades(text.c_str()), 1);
    EXPECT_TRUE(PumpUntil([&] { return !server.commands.empty(); }));
    EXPECT_EQ(server.commands.at(0), text);
}

TEST_F(DdePosixTest, NamesOfAnyCharactersWork) {
    Server odd(L"../\u00C9t\u00E9 \u4E2D/..", L"Topic", &Forward);
    ASSERT_EQ(odd.InitServidor(), 1);
    Server longest(std::wstring(255, L'\u4E2D').c_str(), L"Topic", &Forward);
    ASSERT_EQ(longest.InitServidor(), 1);
    g_server = &odd;
    TConexioDDE connection;
    ASSERT_EQ(connection.Conectar(L"../\u00E9T\u00E9 \u4E2D/..", L"Topic", &Silent), 1);
    EXPECT_EQ(connection.EnviarDades(L"x"), 1);
    EXPECT_TRUE(PumpUntil([&] { return odd.commands.size() == 1; }));
    g_server = &longest;
    ASSERT_EQ(connection.Conectar(std::wstring(255, L'\u4E2D').c_str(), L"Topic", &Silent), 1);
    EXPECT_EQ(connection.EnviarDades(L"x"), 1);
    EXPECT_TRUE(PumpUntil([&] { return longest.commands.size() == 1; }));
    EXPECT_FALSE(fs::exists(Folder().parent_path() / "t"));
    g_server = &server;
}

TEST_F(DdePosixTest, CommandsOfMegabytesArriveWhole) {
    TConexioDDE connection;
    ASSERT_EQ(connection.Conectar(L"Place", L"Topic", &Silent), 1);
    std::wstring text(1u << 20, L'x');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<wchar_t>(L'!' + i % 93);
    EXPECT_EQ(connection.EnviarDades(text.c_str()), 1);
    EXPECT_TRUE(PumpUntil([&] { return !server.commands.empty(); }));
    EXPECT_TRUE(server.commands.at(0) == text);
}

TEST_F(DdePosixTest, AnswersOfMegabytesArriveWhole) {
    server.answerSize = 5u << 20;
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, CBF_SKIP_ALLNOTIFICATIONS, 0);
    const HCONV conversation =
        DdeConnect(instance, DdeCreateStringHandleW(instance, L"Place", CP_WINUNICODE), nullptr, nullptr);
    ASSERT_NE(conversation, nullptr);
    const HDDEDATA data =
        DdeClientTransaction(nullptr, 0, conversation, DdeCreateStringHandleW(instance, L"i", CP_WINUNICODE),
                             CF_TEXT, XTYP_REQUEST, 10000, nullptr);
    EXPECT_EQ(DdeGetData(data, nullptr, 0, 0), 5u << 20);
    EXPECT_TRUE(DdeFreeDataHandle(data));
    EXPECT_FALSE(DdeFreeDataHandle(data));
    DdeUninitialize(instance);
}

TEST_F(DdePosixTest, OnlyExecutesAndRequestsExist) {
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, CBF_SKIP_ALLNOTIFICATIONS, 0);
    const HSZ name = DdeCreateStringHandleW(instance, L"Place", CP_WINUNICODE);
    const HCONV conversation = DdeConnect(instance, name, nullptr, nullptr);
    ASSERT_NE(conversation, nullptr);
    BYTE bytes[] = "x";
    for (UINT type : {XTYP_POKE, XTYP_ADVSTART, XTYP_ADVSTOP, XTYP_CONNECT, 0}) {
        EXPECT_EQ(DdeClientTransaction(bytes, 1, conversation, name, CF_TEXT, type, 1000, nullptr), nullptr);
        EXPECT_EQ(DdeGetLastError(instance), static_cast<UINT>(DMLERR_INVALIDPARAMETER)) << type;
    }
    DdeUninitialize(instance);
}

TEST_F(DdePosixTest, CallbackRunsOnTheThreadOfItsInstance) {
    std::thread::id executed;
    std::thread([&] {
        TConexioDDE connection;
        ASSERT_EQ(connection.Conectar(L"Place", L"Topic", &Silent), 1);
        // The server's thread pumps meanwhile.
        EXPECT_EQ(connection.EnviarDades(L"from another thread"), 1);
    }).detach();
    EXPECT_TRUE(PumpUntil([&] {
        executed = std::this_thread::get_id();
        return !server.commands.empty();
    }));
    EXPECT_EQ(server.commands.at(0), L"from another thread");
    EXPECT_EQ(executed, std::this_thread::get_id());
}

TEST_F(DdePosixTest, InstanceIsUnknownToOtherThreads) {
    DWORD instance = 0;
    DdeInitializeW(&instance, &Silent, 0, 0);
    std::thread([=] {
        EXPECT_EQ(DdeCreateStringHandleW(instance, L"x", CP_WINUNICODE), nullptr);
        EXPECT_FALSE(DdeUninitialize(instance));
        EXPECT_EQ(DdeGetLastError(instance), static_cast<UINT>(DMLERR_INVALIDPARAMETER));
    }).join();
    EXPECT_TRUE(DdeUninitialize(instance));
}

// ---- hostile ends

TEST_F(DdePosixTest, PacketsThatAreNoneEndTheirConnectionAlone) {
    const fs::path path = Sockets().at(0);
    const std::string bodies[] = {"x", "garbage that is longer than a header", std::string(40000, 'z')};
    for (const std::string& bytes : bodies) {
        RawClient client(path);
        ASSERT_TRUE(client.connected);
        client.Send(bytes);
        EXPECT_TRUE(client.Closed());
    }
    RawClient number(path);
    number.SendPart(99, 0, "");
    EXPECT_TRUE(number.Closed());
    RawClient cut(path);
    cut.SendPart(1, 0, std::string("\xFF\xFF\xFF\xFF", 4) + "abc"); // a text longer than its packet
    EXPECT_TRUE(cut.Closed());
    RawClient mixed(path);
    mixed.SendPart(1, 1, "half a message");
    mixed.SendPart(6, 0, "and another");
    EXPECT_TRUE(mixed.Closed());
    ExpectAlive();
}

TEST_F(DdePosixTest, TransactionThatDoesNotBelongEndsTheConversation) {
    RawClient client(Sockets().at(0));
    client.SendPart(1, 0, Text("Place") + Text("Topic"));
    PumpWaiting();
    client.SendPart(7, 0, "a result that nobody asked for");
    EXPECT_TRUE(client.Closed());
    ExpectAlive();
}

TEST_F(DdePosixTest, BodyBeyondTheLimitEndsTheConversation) {
    RawClient client(Sockets().at(0));
    client.SendPart(1, 0, Text("Place") + Text("Topic"));
    const std::string part(32u << 10, 'p');
    PumpWaiting();
    for (int i = 0; i < 2100; ++i) {
        client.SendPart(6, 1, part);
        PumpWaiting();
    }
    EXPECT_TRUE(client.Closed());
    EXPECT_TRUE(server.commands.empty());
    ExpectAlive();
}

TEST_F(DdePosixTest, PartBeforeTheLastMustBeWhole) {
    RawClient client(Sockets().at(0));
    client.SendPart(1, 0, Text("Place") + Text("Topic"));
    PumpWaiting();
    client.SendPart(6, 1, "");
    EXPECT_TRUE(client.Closed());
    EXPECT_TRUE(server.commands.empty());
    ExpectAlive();
}

TEST_F(DdePosixTest, ClientThatSendsFasterThanItIsServedWaits) {
    RawClient client(Sockets().at(0));
    client.SendPart(1, 0, Text("Place") + Text("Topic"));
    PumpWaiting();
    // Looking for a message takes over what arrived, and dispatches none of it.
    std::size_t sent = 0;
    MSG message;
    for (int i = 0; i < 5000; ++i) {
        sent += client.Try(6, std::string(8, 'c'));
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    }
    EXPECT_GT(sent, 1u);
    EXPECT_LT(sent, 2000u); // the rest was refused by the socket
    EXPECT_TRUE(PumpUntil([&] {
        client.ReadAll();
        return server.commands.size() == sent;
    }));
    ExpectAlive();
}

TEST_F(DdePosixTest, MessageThatIsThrownAwayDoesNotStopItsConversation) {
    RawClient client(Sockets().at(0));
    client.SendPart(1, 0, Text("Place") + Text("Topic"));
    PumpWaiting();
    for (int i = 0; i < 3; ++i)
        client.Try(6, std::string(8, 'c'));
    MSG thrownAway;
    ASSERT_TRUE(PeekMessageW(&thrownAway, nullptr, 0, 0, PM_REMOVE));
    EXPECT_TRUE(PumpUntil([&] { return server.commands.size() == 2; }));
    ExpectAlive();
}

TEST_F(DdePosixTest, ClientThatReadsNoAnswersGetsNoMoreOfThem) {
    server.answerSize = 1u << 20;
    RawClient client(Sockets().at(0));
    client.SendPart(1, 0, Text("Place") + Text("Topic"));
    PumpWaiting();
    const std::string request = std::string("\1\0\0\0", 4) + Text("item");
    for (int i = 0; i < 50; ++i)
        client.Try(8, request);
    PumpWaiting();
    EXPECT_EQ(server.requests, 1);
    EXPECT_TRUE(PumpUntil([&] {
        client.ReadAll();
        return server.requests == 50;
    }));
    ExpectAlive();
}

TEST_F(DdePosixTest, ClientThatSaysNothingHoldsNobodyUp) {
    std::vector<std::unique_ptr<RawClient>> silent;
    for (int i = 0; i < 20; ++i) {
        silent.push_back(std::make_unique<RawClient>(Sockets().at(0)));
        ASSERT_TRUE(silent.back()->connected);
    }
    ExpectAlive();
}

// ---- messages of a thread

TEST(ThreadMessagesTest, PostedMessagesComeInOrderAndQuitLast) {
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    PostQuitMessage(7);
    EXPECT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_APP, 1, 2));
    EXPECT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_APP + 1, 3, 4));
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_APP));
    EXPECT_TRUE(PeekMessageW(&message, nullptr, WM_APP + 1, WM_APP + 5, PM_REMOVE));
    EXPECT_EQ(message.wParam, 3u);
    EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 1);
    EXPECT_EQ(message.lParam, 2);
    EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 0);
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 7u);
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST(ThreadMessagesTest, WaitingEndsWhenAnotherThreadPosts) {
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE); // makes the queue
    const DWORD thread = GetCurrentThreadId();
    std::thread other([=] {
        Sleep(30);
        EXPECT_TRUE(PostThreadMessageW(thread, WM_APP, 9, 0));
    });
    EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 1);
    EXPECT_EQ(message.wParam, 9u);
    other.join();
}

TEST(ThreadMessagesTest, ThreadWithoutAQueueGetsNoMessage) {
    EXPECT_FALSE(PostThreadMessageW(0, WM_APP, 0, 0));
    EXPECT_EQ(GetLastError(), 1444u);
}

TEST(ThreadMessagesTest, FullQueueRefuses) {
    std::thread([] {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
        int posted = 0;
        while (posted < 20000 && PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0))
            ++posted;
        EXPECT_EQ(posted, 10000);
        EXPECT_EQ(GetLastError(), 1816u);
    }).join();
}
