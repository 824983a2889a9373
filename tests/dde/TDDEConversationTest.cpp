// Conversations with a second process, and what crosses between them.
#include <TDDEInterface.h>

#include "BoxCapture.h"
#include "Peer.h"
#include "Pump.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

class Recorder : public TDDEInterface {
public:
    using TDDEInterface::m_conexions;
    using TDDEInterface::TDDEInterface;

    int COM_Execute(const wchar_t* command, const wchar_t* topic) override {
        commands.push_back(std::wstring(topic) + L": " + command);
        return 1;
    }
    int COM_Register(const wchar_t* service) override {
        registered.push_back(service);
        return 1;
    }

    std::vector<std::wstring> commands;
    std::vector<std::wstring> registered;
};

TDDEInterface* g_server;

HDDEDATA CALLBACK Forward(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2, HDDEDATA data,
                          ULONG_PTR data1, ULONG_PTR data2) {
    if (!g_server)
        return nullptr;
    return g_server->ProcessarCallback(type, format, conversation, hsz1, hsz2, data,
                                       static_cast<unsigned long>(data1), static_cast<unsigned long>(data2));
}

HDDEDATA CALLBACK Silent(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
    return nullptr;
}

// A client that uses the system's functions directly.
class Client {
public:
    Client() { DdeInitializeW(&instance, &Silent, APPCMD_CLIENTONLY | CBF_SKIP_ALLNOTIFICATIONS, 0); }
    ~Client() { DdeUninitialize(instance); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    HSZ Name(const wchar_t* text) {
        return text ? DdeCreateStringHandleW(instance, text, CP_WINUNICODE) : nullptr;
    }
    HCONV Connect(const wchar_t* service, const wchar_t* topic) {
        return DdeConnect(instance, Name(service), Name(topic), nullptr);
    }
    // True when the server accepted the command.
    bool Execute(HCONV conversation, const std::wstring& command) {
        return DdeClientTransaction(reinterpret_cast<LPBYTE>(const_cast<wchar_t*>(command.c_str())),
                                    static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t)), conversation,
                                    nullptr, 0, XTYP_EXECUTE, 10000, nullptr) != nullptr;
    }
    std::string Request(HCONV conversation, const wchar_t* item) {
        const HDDEDATA data =
            DdeClientTransaction(nullptr, 0, conversation, Name(item), CF_TEXT, XTYP_REQUEST, 10000, nullptr);
        if (!data)
            return {};
        std::string text(DdeGetData(data, nullptr, 0, 0), '\0');
        DdeGetData(data, reinterpret_cast<LPBYTE>(text.data()), static_cast<DWORD>(text.size()), 0);
        DdeFreeDataHandle(data);
        return text.c_str();
    }
    UINT Error() { return DdeGetLastError(instance); }

    DWORD instance = 0;
};

class TDDEConversationTest : public testing::Test {
protected:
    void TearDown() override { g_server = nullptr; }

    // Starts dde_peer as a server and waits until it answers.
    std::unique_ptr<Peer> Serve(const std::vector<std::string>& topics) {
        std::vector<std::string> words = {"serve", "mvlib62.peer"};
        words.insert(words.end(), topics.begin(), topics.end());
        auto peer = std::make_unique<Peer>(words);
        // Its own registration may be told first.
        for (std::string line; (line = peer->Line()) != "ready";)
            if (line.empty()) {
                ADD_FAILURE() << "dde_peer does not serve";
                break;
            }
        return peer;
    }
    // The next line that tells of no registration.
    std::string Event(Peer& peer) {
        for (;;) {
            std::string line = peer.Line();
            if (line.compare(0, 9, "register ") != 0)
                return line;
        }
    }
    void Quit(Peer& peer, const wchar_t* topic) {
        TConexioDDE connection;
        ASSERT_EQ(connection.Conectar(L"mvlib62.peer", topic, &Silent), 1);
        ASSERT_EQ(connection.EnviarDades(L"quit"), 1);
        EXPECT_EQ(peer.Wait(), 0);
    }
};

} // namespace

TEST_F(TDDEConversationTest, ExampleUsage) {
    const auto peer = Serve({"Jobs"});
    TDDEInterface client(&Silent);
    const int slot = client.Conectar(L"mvlib62.peer", L"Jobs");
    ASSERT_EQ(slot, 0);
    EXPECT_EQ(client.EnviarDades(slot, L"print a.tif"), 1);
    EXPECT_EQ(Event(*peer), "execute Jobs print a.tif");
    EXPECT_EQ(client.EnviarDades(slot, L"quit"), 1);
    EXPECT_EQ(Event(*peer), "execute Jobs quit");
    EXPECT_EQ(client.Desconectar(slot), 1);
    EXPECT_EQ(peer->Wait(), 0);
}

TEST_F(TDDEConversationTest, ServerReceivesWhatAnotherProcessSends) {
    Recorder server(L"mvlib62.here", L"First", &Forward);
    server.AfegirNouTopic(L"Second");
    g_server = &server;
    ASSERT_EQ(server.InitServidor(), 1);
    Peer peer({"send", "MVLIB62.HERE", "second", "one", "two", "three"});
    EXPECT_EQ(peer.Line(), "sent");
    EXPECT_EQ(peer.Line(), "sent");
    EXPECT_EQ(peer.Line(), "sent");
    EXPECT_EQ(peer.Wait(), 0);
    EXPECT_TRUE(PumpUntil([&] { return server.commands.size() == 3; }));
    EXPECT_EQ(server.commands, (std::vector<std::wstring>{L"Second: one", L"Second: two", L"Second: three"}));
}

TEST_F(TDDEConversationTest, EmptyCommandArrives) {
    const auto peer = Serve({"Jobs"});
    TDDEInterface client(&Silent);
    ASSERT_EQ(client.Conectar(L"mvlib62.peer", L"Jobs"), 0);
    EXPECT_EQ(client.EnviarDades(0, L""), 1);
    EXPECT_EQ(Event(*peer), "execute Jobs ");
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, SendDoesNotReportWhatTheLastOneLeft) {
    const auto peer = Serve({"Jobs"});
    BoxCapture boxes;
    TDDEInterface client(&Silent);
    ASSERT_EQ(client.Conectar(L"mvlib62.peer", L"Jobs"), 0);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(client.EnviarDades(0, L"again"), 1);
    EXPECT_EQ(boxes.Boxes().size(), 0u);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, RequestThatFindsAServerAnswersNull) {
    const auto peer = Serve({"Jobs"});
    BoxCapture boxes;
    TDDEInterface client(&Silent);
    ASSERT_EQ(client.Conectar(L"mvlib62.peer", L"Jobs"), 0);
    EXPECT_EQ(client.DemanarDades(0, L"Price", 1000), nullptr);
    EXPECT_EQ(boxes.Boxes().size(), 0u);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, ServerAcceptsOrRefusesACommand) {
    const auto peer = Serve({"Jobs"});
    Client client;
    const HCONV conversation = client.Connect(L"mvlib62.peer", L"Jobs");
    ASSERT_NE(conversation, nullptr);
    EXPECT_TRUE(client.Execute(conversation, L"go"));
    EXPECT_EQ(client.Error(), 0u);
    EXPECT_FALSE(client.Execute(conversation, L"refuse this"));
    EXPECT_EQ(client.Error(), static_cast<UINT>(DMLERR_NOTPROCESSED));
    DdeDisconnect(conversation);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, LongCommandArrivesWhole) {
    Recorder server(L"mvlib62.here", L"First", &Forward);
    const auto peer = Serve({"Jobs"});
    Client client;
    const HCONV conversation = client.Connect(L"mvlib62.peer", L"Jobs");
    ASSERT_NE(conversation, nullptr);
    const std::wstring command(1000, L'c');
    EXPECT_TRUE(client.Execute(conversation, command));
    EXPECT_EQ(Event(*peer), "execute Jobs " + std::string(1000, 'c'));
    DdeDisconnect(conversation);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, ItemIsRequested) {
    const auto peer = Serve({"Jobs"});
    Client client;
    const HCONV conversation = client.Connect(L"mvlib62.peer", L"Jobs");
    ASSERT_NE(conversation, nullptr);
    EXPECT_EQ(client.Request(conversation, L"Price"), "value of Price");
    EXPECT_EQ(Event(*peer), "request Price");
    EXPECT_EQ(client.Request(conversation, L"nothing"), "");
    EXPECT_EQ(client.Error(), static_cast<UINT>(DMLERR_NOTPROCESSED));
    DdeDisconnect(conversation);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, TenTopicsAnswer) {
    const auto peer = Serve({"t0", "t1", "t2", "t3", "t4", "t5", "t6", "t7", "t8", "t9", "t10"});
    TDDEInterface client(&Silent);
    for (int i = 0; i < 10; ++i) {
        const std::wstring topic = L"t" + std::to_wstring(i);
        ASSERT_EQ(client.Conectar(L"mvlib62.peer", topic.c_str()), i);
    }
    for (int i = 9; i >= 0; --i) {
        EXPECT_EQ(client.EnviarDades(i, L"hello"), 1);
        EXPECT_EQ(Event(*peer), "execute t" + std::to_string(i) + " hello");
    }
    Client raw;
    EXPECT_EQ(raw.Connect(L"mvlib62.peer", L"t10"), nullptr); // the eleventh was not taken
    EXPECT_EQ(raw.Error(), static_cast<UINT>(DMLERR_NO_CONV_ESTABLISHED));
    Quit(*peer, L"t0");
}

TEST_F(TDDEConversationTest, UnknownNamesFindNobody) {
    const auto peer = Serve({"Jobs"});
    Client client;
    EXPECT_EQ(client.Connect(L"mvlib62.peer", L"Other"), nullptr);
    EXPECT_EQ(client.Error(), static_cast<UINT>(DMLERR_NO_CONV_ESTABLISHED));
    EXPECT_EQ(client.Connect(L"mvlib62.other", L"Jobs"), nullptr);
    EXPECT_EQ(client.Error(), static_cast<UINT>(DMLERR_NO_CONV_ESTABLISHED));
    EXPECT_EQ(client.Error(), 0u); // taken
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, WildcardConnectFindsTheServiceAndTheTopic) {
    const auto peer = Serve({"Jobs"});
    Client client;
    HCONV conversation = client.Connect(nullptr, L"jobs");
    ASSERT_NE(conversation, nullptr);
    EXPECT_TRUE(client.Execute(conversation, L"by topic"));
    EXPECT_EQ(Event(*peer), "execute Jobs by topic");
    DdeDisconnect(conversation);
    conversation = client.Connect(L"mvlib62.peer", nullptr);
    ASSERT_NE(conversation, nullptr);
    EXPECT_TRUE(client.Execute(conversation, L"by service"));
    EXPECT_EQ(Event(*peer), "execute Jobs by service");
    DdeDisconnect(conversation);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, RegistrationIsToldToOtherPrograms) {
    Recorder server(L"mvlib62.here", L"First", &Forward);
    g_server = &server;
    ASSERT_EQ(server.InitServidor(), 1);
    const auto peer = Serve({"Jobs"});
    EXPECT_TRUE(PumpUntil([&] {
        for (const std::wstring& service : server.registered)
            if (service == L"mvlib62.peer")
                return true;
        return false;
    }));
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, ServerTalksToItself) {
    Recorder server(L"mvlib62.here", L"First", &Forward);
    g_server = &server;
    ASSERT_EQ(server.InitServidor(), 1);
    const int slot = server.Conectar(L"mvlib62.here", L"First");
    ASSERT_EQ(slot, 0);
    EXPECT_EQ(server.EnviarDades(slot, L"to myself"), 1);
    EXPECT_TRUE(PumpUntil([&] { return !server.commands.empty(); }));
    EXPECT_EQ(server.commands.front(), L"First: to myself");
}

TEST_F(TDDEConversationTest, EndedServerIsNotFound) {
    const auto peer = Serve({"Jobs"});
    Quit(*peer, L"Jobs");
    Client client;
    EXPECT_EQ(client.Connect(L"mvlib62.peer", L"Jobs"), nullptr);
}

TEST_F(TDDEConversationTest, KilledServerIsNotFoundAndCanBeReplaced) {
    auto peer = Serve({"Jobs"});
    peer->Kill();
    Client client;
    EXPECT_EQ(client.Connect(L"mvlib62.peer", L"Jobs"), nullptr);
    peer = Serve({"Jobs"});
    const HCONV conversation = client.Connect(L"mvlib62.peer", L"Jobs");
    EXPECT_NE(conversation, nullptr);
    DdeDisconnect(conversation);
    Quit(*peer, L"Jobs");
}

TEST_F(TDDEConversationTest, TwoHundredCommandsInARowAllArrive) {
    Recorder server(L"mvlib62.here", L"First", &Forward);
    g_server = &server;
    ASSERT_EQ(server.InitServidor(), 1);
    std::vector<std::string> words = {"send", "mvlib62.here", "First"};
    for (int i = 0; i < 200; ++i)
        words.push_back(std::to_string(i));
    Peer peer(words);
    EXPECT_TRUE(PumpUntil([&] { return server.commands.size() == 200; }, 120));
    for (std::size_t i = 0; i < server.commands.size(); ++i)
        EXPECT_EQ(server.commands[i], L"First: " + std::to_wstring(i));
    EXPECT_EQ(peer.Wait(), 0);
}
