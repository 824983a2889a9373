// What the classes ask of the DDE library, call by call, with a double of it that answers as scripted.
#include "BoxCapture.h"
#include "Exposed.h"
#include "import_patch.h"
#include "layout.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <utility>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// Strings are numbered from 101 in the order in which they are made, instances from 1.
struct Script {
    bool on = false; // otherwise the real library answers
    Lines calls;
    std::string refusedName; // gets no handle
    HCONV conversation = nullptr;
    HDDEDATA answer = nullptr; // to a transaction
    UINT error = 0;            // pending, once
    std::string errorAfter;    // the function that makes it pending; empty: it is from the start
    std::string command;       // the bytes of the last execute, and of the data that a callback gets
    std::wstring text;         // of every string handle
    DWORD instances = 0;
    std::uintptr_t strings = 100;
};
Script g_script;

template <class Handle>
Handle As(std::uintptr_t number) {
    return reinterpret_cast<Handle>(number);
}
template <class Handle>
std::string N(Handle handle) {
    return std::to_string(reinterpret_cast<std::uintptr_t>(handle));
}

void Record(const std::string& function, const std::string& arguments = {}) {
    g_script.calls.push_back(function + (arguments.empty() ? "" : " ") + arguments);
    if (function == g_script.errorAfter)
        g_script.errorAfter.clear();
}

std::string Narrow(LPCWSTR text) {
    return text ? std::string(text, text + std::wcslen(text)) : "null";
}

HDDEDATA CALLBACK Unused(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
    return nullptr;
}

UINT WINAPI Initialize(LPDWORD instance, PFNCALLBACK callback, DWORD filters, DWORD reserved) {
    if (!g_script.on)
        return ::DdeInitializeW(instance, callback, filters, reserved);
    EXPECT_EQ(callback, &Unused);
    Record("Initialize",
           std::to_string(*instance) + " " + std::to_string(filters) + " " + std::to_string(reserved));
    *instance = ++g_script.instances;
    return 0;
}
BOOL WINAPI Uninitialize(DWORD instance) {
    if (!g_script.on)
        return ::DdeUninitialize(instance);
    Record("Uninitialize", std::to_string(instance));
    return TRUE;
}
UINT WINAPI LastError(DWORD instance) {
    if (!g_script.on)
        return ::DdeGetLastError(instance);
    Record("LastError", std::to_string(instance));
    const UINT error = g_script.errorAfter.empty() ? g_script.error : 0;
    if (error)
        g_script.error = 0;
    return error;
}
HSZ WINAPI CreateString(DWORD instance, LPCWSTR text, int page) {
    if (!g_script.on)
        return ::DdeCreateStringHandleW(instance, text, page);
    Record("CreateString", std::to_string(instance) + " " + Narrow(text) + " " + std::to_string(page));
    return Narrow(text) == g_script.refusedName ? nullptr : As<HSZ>(++g_script.strings);
}
BOOL WINAPI FreeString(DWORD instance, HSZ string) {
    if (!g_script.on)
        return ::DdeFreeStringHandle(instance, string);
    Record("FreeString", std::to_string(instance) + " " + N(string));
    return TRUE;
}
DWORD WINAPI QueryString(DWORD instance, HSZ string, LPWSTR buffer, DWORD size, int page) {
    if (!g_script.on)
        return ::DdeQueryStringW(instance, string, buffer, size, page);
    Record("QueryString",
           N(string) + (buffer ? " buffer " : " null ") + std::to_string(size) + " " + std::to_string(page));
    if (buffer)
        std::wmemcpy(buffer, g_script.text.c_str(), size);
    return static_cast<DWORD>(g_script.text.size());
}
HDDEDATA WINAPI NameService(DWORD instance, HSZ one, HSZ two, UINT command) {
    if (!g_script.on)
        return ::DdeNameService(instance, one, two, command);
    Record("NameService",
           std::to_string(instance) + " " + N(one) + " " + N(two) + " " + std::to_string(command));
    return As<HDDEDATA>(1);
}
HCONV WINAPI Connect(DWORD instance, HSZ service, HSZ topic, PCONVCONTEXT context) {
    if (!g_script.on)
        return ::DdeConnect(instance, service, topic, context);
    EXPECT_EQ(context, nullptr);
    Record("Connect", std::to_string(instance) + " " + N(service) + " " + N(topic));
    return g_script.conversation;
}
BOOL WINAPI Disconnect(HCONV conversation) {
    if (!g_script.on)
        return ::DdeDisconnect(conversation);
    Record("Disconnect", N(conversation));
    return TRUE;
}
HDDEDATA WINAPI Transaction(LPBYTE bytes, DWORD size, HCONV conversation, HSZ item, UINT format, UINT type,
                            DWORD timeout, LPDWORD result) {
    if (!g_script.on)
        return ::DdeClientTransaction(bytes, size, conversation, item, format, type, timeout, result);
    EXPECT_EQ(result, nullptr);
    if (bytes)
        g_script.command.assign(reinterpret_cast<const char*>(bytes), size);
    Record("Transaction", (bytes ? "bytes " : "null ") + std::to_string(size) + " " + N(conversation) + " " +
                              N(item) + " " + std::to_string(format) + " " + std::to_string(type) + " " +
                              std::to_string(timeout));
    return g_script.answer;
}
DWORD WINAPI GetBytes(HDDEDATA data, LPBYTE buffer, DWORD size, DWORD offset) {
    if (!g_script.on)
        return ::DdeGetData(data, buffer, size, offset);
    Record("GetData",
           N(data) + (buffer ? " buffer " : " null ") + std::to_string(size) + " " + std::to_string(offset));
    if (buffer)
        std::memcpy(buffer, g_script.command.data(), size);
    return static_cast<DWORD>(g_script.command.size());
}
BOOL WINAPI Unaccess(HDDEDATA data) {
    if (!g_script.on)
        return ::DdeUnaccessData(data);
    Record("UnaccessData", N(data));
    return TRUE;
}
HDDEDATA WINAPI CreateData(DWORD instance, LPBYTE bytes, DWORD size, DWORD offset, HSZ item, UINT format,
                           UINT command) {
    if (!g_script.on)
        return ::DdeCreateDataHandle(instance, bytes, size, offset, item, format, command);
    g_script.command.assign(reinterpret_cast<const char*>(bytes), 2 * std::size_t{size});
    Record("CreateData", std::to_string(instance) + " " + std::to_string(size) + " " +
                             std::to_string(offset) + " " + N(item) + " " + std::to_string(format) + " " +
                             std::to_string(command));
    return As<HDDEDATA>(301);
}
BOOL WINAPI FreeData(HDDEDATA data) {
    if (!g_script.on)
        return ::DdeFreeDataHandle(data);
    Record("FreeData", N(data));
    return TRUE;
}

class Interface : public ExposedInterface {
public:
    using ExposedInterface::ExposedInterface;

    int COM_Execute(const wchar_t* command, const wchar_t* topic) override {
        Record("COM_Execute", Narrow(command) + " " + Narrow(topic));
        return 2;
    }
    int COM_Register(const wchar_t* service) override {
        Record("COM_Register", Narrow(service));
        return 0;
    }
    HDDEDATA COM_Request(unsigned int format, const wchar_t* item) override {
        Record("COM_Request", std::to_string(format) + " " + Narrow(item));
        return nullptr;
    }
    HDDEDATA Call(UINT type, HSZ hsz1, HSZ hsz2 = nullptr, HDDEDATA data = nullptr) {
        return ProcessarCallback(type, 13, nullptr, hsz1, hsz2, data, 0, 0);
    }
};

class Conversation : public TConexioDDE {
public:
    using TConexioDDE::m_dwInstancia;
    using TConexioDDE::m_hszServei;
    using TConexioDDE::m_hszTopic;
};

class DdeCallsTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const ImportHook hooks[] = {
            {"DdeInitializeW", reinterpret_cast<void*>(&Initialize)},
            {"DdeUninitialize", reinterpret_cast<void*>(&Uninitialize)},
            {"DdeGetLastError", reinterpret_cast<void*>(&LastError)},
            {"DdeCreateStringHandleW", reinterpret_cast<void*>(&CreateString)},
            {"DdeFreeStringHandle", reinterpret_cast<void*>(&FreeString)},
            {"DdeQueryStringW", reinterpret_cast<void*>(&QueryString)},
            {"DdeNameService", reinterpret_cast<void*>(&NameService)},
            {"DdeConnect", reinterpret_cast<void*>(&Connect)},
            {"DdeDisconnect", reinterpret_cast<void*>(&Disconnect)},
            {"DdeClientTransaction", reinterpret_cast<void*>(&Transaction)},
            {"DdeGetData", reinterpret_cast<void*>(&GetBytes)},
            {"DdeUnaccessData", reinterpret_cast<void*>(&Unaccess)},
            {"DdeCreateDataHandle", reinterpret_cast<void*>(&CreateData)},
            {"DdeFreeDataHandle", reinterpret_cast<void*>(&FreeData)},
        };
        for (const ImportHook& hook : hooks)
            ASSERT_GE(PatchImport("mvlib62", hook), 1) << hook.name;
    }
    void SetUp() override {
        g_script = Script();
        g_script.on = true;
    }
    void TearDown() override { g_script = Script(); }

    // The calls since the last time.
    static Lines Calls() { return std::exchange(g_script.calls, {}); }
    void Connected(Conversation& conversation) {
        ASSERT_EQ(conversation.Conectar(L"S", L"T", &Unused), 1);
        Calls();
    }
};

constexpr std::uintptr_t conversationHandle = 201;
constexpr std::uintptr_t dataHandle = 301;

} // namespace

// ---- Server

TEST_F(DdeCallsTest, ServerStartsStepByStep) {
    Interface server(L"Place", L"one", &Unused);
    server.AfegirNouTopic(L"two");
    server.m_strTopics[7] = L"eight";
    EXPECT_TRUE(Calls().empty()); // topics get their handles at the start
    EXPECT_EQ(server.InitServidor(), 1);
    EXPECT_EQ(Calls(), (Lines{"Initialize 0 0 0", "LastError 1", "CreateString 1 Place 1200",
                              "NameService 1 101 0 1", "LastError 1", "CreateString 1 one 1200",
                              "CreateString 1 two 1200", "CreateString 1 eight 1200"}));
    EXPECT_EQ(server.m_hszTopics[1], As<HSZ>(103));
    EXPECT_EQ(server.m_hszTopics[7], As<HSZ>(104));
    EXPECT_EQ(server.AfegirNouTopic(L"three"), 1);
    EXPECT_EQ(Calls(), (Lines{"CreateString 1 three 1200"}));
    EXPECT_EQ(server.DoneServidor(), 1);
    EXPECT_EQ(Calls(), (Lines{"NameService 1 101 0 2", "FreeString 1 102", "FreeString 1 103",
                              "FreeString 1 105", "FreeString 1 104", "FreeString 1 101", "Uninitialize 1"}));
    EXPECT_EQ(server.DoneServidor(), 1);
    EXPECT_TRUE(Calls().empty());
}

TEST_F(DdeCallsTest, ErrorOfTheRegistrationStopsTheStart) {
    BoxCapture boxes;
    g_script.error = DMLERR_SYS_ERROR;
    g_script.errorAfter = "NameService";
    Interface server(L"Place", L"one", &Unused);
    EXPECT_EQ(server.InitServidor(), 0);
    EXPECT_EQ(Calls(), (Lines{"Initialize 0 0 0", "LastError 1", "CreateString 1 Place 1200",
                              "NameService 1 101 0 1", "LastError 1"}));
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].text, L"Sys Error");
    EXPECT_EQ(server.DoneServidor(), 1); // what was made
    EXPECT_EQ(Calls(), (Lines{"NameService 1 101 0 2", "FreeString 1 101", "Uninitialize 1"}));
}

TEST_F(DdeCallsTest, TopicThatGetsNoHandleEndsTheStartAtOnce) {
    g_script.refusedName = "two";
    Interface server(L"Place", L"one", &Unused);
    server.AfegirNouTopic(L"two");
    server.AfegirNouTopic(L"three");
    EXPECT_EQ(server.InitServidor(), 0);
    EXPECT_EQ(Calls().back(), "CreateString 1 two 1200");
    EXPECT_EQ(server.m_hszTopics[2], nullptr);
}

TEST_F(DdeCallsTest, RemovedTopicFreesItsHandle) {
    Interface server(L"Place", L"one", &Unused);
    server.AfegirNouTopic(L"two");
    EXPECT_EQ(server.BorrarTopic(L"TWO"), 1); // it has none yet
    EXPECT_TRUE(Calls().empty());
    server.InitServidor();
    Calls();
    EXPECT_EQ(server.BorrarTopic(L"ONE"), 1);
    EXPECT_EQ(Calls(), (Lines{"FreeString 1 102"}));
    EXPECT_TRUE(server.m_strTopics[0].IsEmpty());
    EXPECT_EQ(server.BorrarTopic(L"ONE"), 0);
}

TEST_F(DdeCallsTest, ServerAndConversationsEndWithTheObject) {
    {
        Interface server(L"Place", L"one", &Unused);
        server.InitServidor();
        ASSERT_EQ(server.Conectar(L"S", L"T"), 0);
        ASSERT_EQ(server.m_conexions[29].Conectar(L"S", L"U", &Unused), 1);
        Calls();
    }
    EXPECT_EQ(Calls(), (Lines{"NameService 1 101 0 2", "FreeString 1 102", "FreeString 1 101",
                              "Uninitialize 1", "FreeString 2 103", "FreeString 2 104", "Uninitialize 2",
                              "FreeString 3 105", "FreeString 3 106", "Uninitialize 3"}));
}

// ---- Conversations

TEST_F(DdeCallsTest, ConversationIsPreparedAndNotOpened) {
    Conversation conversation;
    EXPECT_EQ(conversation.Conectar(L"S", L"T", &Unused), 1);
    EXPECT_EQ(Calls(), (Lines{"Initialize 0 3932160 0", "LastError 1", "CreateString 1 S 1200",
                              "CreateString 1 T 1200"}));
    EXPECT_EQ(conversation.Conectar(L"S2", L"T2", &Unused), 1); // the old names go first
    EXPECT_EQ(Calls(),
              (Lines{"FreeString 1 101", "FreeString 1 102", "Uninitialize 1", "Initialize 0 3932160 0",
                     "LastError 2", "CreateString 2 S2 1200", "CreateString 2 T2 1200"}));
    EXPECT_EQ(conversation.Desconectar(), 1);
    EXPECT_EQ(Calls(), (Lines{"FreeString 2 103", "FreeString 2 104", "Uninitialize 2"}));
    EXPECT_EQ(conversation.m_hszServei, nullptr);
    EXPECT_EQ(conversation.m_hszTopic, nullptr);
    EXPECT_EQ(conversation.Desconectar(), 1);
    EXPECT_TRUE(Calls().empty());
}

TEST_F(DdeCallsTest, ConversationNeedsBothNames) {
    Conversation conversation;
    g_script.refusedName = "S";
    EXPECT_EQ(conversation.Conectar(L"S", L"T", &Unused), 0);
    EXPECT_EQ(conversation.Conectat(), 0);
    g_script.refusedName = "T";
    EXPECT_EQ(conversation.Conectar(L"S", L"T", &Unused), 0);
    EXPECT_EQ(conversation.Conectat(), 0);
    Calls();
    EXPECT_EQ(conversation.EnviarDades(L"x"), 0);
    EXPECT_EQ(conversation.DemanarDades(L"x", 1), nullptr);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(conversation.Desconectar(), 1);
    EXPECT_EQ(Calls(), (Lines{"FreeString 2 102", "Uninitialize 2"}));
}

TEST_F(DdeCallsTest, SentCommandIsTheTextWithItsNul) {
    Conversation conversation;
    Connected(conversation);
    g_script.conversation = As<HCONV>(conversationHandle);
    g_script.answer = As<HDDEDATA>(dataHandle);
    EXPECT_EQ(conversation.EnviarDades(L"go"), 1);
    EXPECT_EQ(Calls(),
              (Lines{"Connect 1 101 102", "LastError 1",
                     "Transaction bytes " + std::to_string(3 * sizeof(wchar_t)) + " 201 0 0 16464 4294967295",
                     "FreeData 301", "Disconnect 201", "LastError 1"}));
    EXPECT_EQ(g_script.command, std::string(reinterpret_cast<const char*>(L"go"), 3 * sizeof(wchar_t)));
}

TEST_F(DdeCallsTest, SendThatFailsDisconnects) {
    BoxCapture boxes;
    Conversation conversation;
    Connected(conversation);
    g_script.conversation = As<HCONV>(conversationHandle);
    g_script.error = DMLERR_POSTMSG_FAILED;
    g_script.errorAfter = "Transaction";
    EXPECT_EQ(conversation.EnviarDades(L""), 0);
    EXPECT_EQ(Calls(),
              (Lines{"Connect 1 101 102", "LastError 1",
                     "Transaction bytes " + std::to_string(sizeof(wchar_t)) + " 201 0 0 16464 4294967295",
                     "Disconnect 201", "LastError 1"}));
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(DdeCallsTest, SendWithAPendingErrorShowsItAndSendsNothing) {
    BoxCapture boxes;
    Conversation conversation;
    Connected(conversation);
    g_script.conversation = As<HCONV>(conversationHandle);
    g_script.error = DMLERR_BUSY;
    EXPECT_EQ(conversation.EnviarDades(L"go"), 0);
    EXPECT_EQ(Calls(), (Lines{"Connect 1 101 102", "LastError 1", "Disconnect 201", "LastError 1"}));
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].text, L"Servidor Ocupado");
}

TEST_F(DdeCallsTest, SendThatFindsNobodyAsksForNoError) {
    Conversation conversation;
    Connected(conversation);
    g_script.error = DMLERR_NO_CONV_ESTABLISHED;
    EXPECT_EQ(conversation.EnviarDades(L"go"), 0);
    EXPECT_EQ(Calls(), (Lines{"Connect 1 101 102"}));
}

TEST_F(DdeCallsTest, RequestThatFindsAServerLeavesItsConversationOpen) {
    Conversation conversation;
    Connected(conversation);
    g_script.conversation = As<HCONV>(conversationHandle);
    EXPECT_EQ(conversation.DemanarDades(L"item", 500), nullptr);
    EXPECT_EQ(Calls(), (Lines{"Connect 1 101 102"}));
}

TEST_F(DdeCallsTest, RequestWithAPendingErrorShowsItAndEnds) {
    BoxCapture boxes;
    Conversation conversation;
    Connected(conversation);
    g_script.error = DMLERR_NO_CONV_ESTABLISHED;
    EXPECT_EQ(conversation.DemanarDades(L"item", 500), nullptr);
    EXPECT_EQ(Calls(), (Lines{"Connect 1 101 102", "LastError 1"}));
    EXPECT_EQ(boxes.Boxes().size(), 1u);
}

TEST_F(DdeCallsTest, RequestWithoutConversationAndErrorGoesOutOnNone) {
    Conversation conversation;
    Connected(conversation);
    EXPECT_EQ(conversation.DemanarDades(L"item", 500), nullptr);
    EXPECT_EQ(Calls(), (Lines{"Connect 1 101 102", "LastError 1", "CreateString 1 item 1200",
                              "Transaction null 0 0 103 1 8368 500", "Disconnect 0"}));
}

TEST_F(DdeCallsTest, AnswerToSuchARequestIsFreedAndReturned) {
    Conversation conversation;
    Connected(conversation);
    g_script.answer = As<HDDEDATA>(dataHandle);
    EXPECT_EQ(conversation.DemanarDades(L"item", 500), As<HDDEDATA>(dataHandle));
    EXPECT_EQ(Calls(), (Lines{"Connect 1 101 102", "LastError 1", "CreateString 1 item 1200",
                              "Transaction null 0 0 103 1 8368 500", "FreeData 301", "Disconnect 0"}));
}

TEST_F(DdeCallsTest, CopiesShareTheHandlesAndMakeNone) {
    Conversation conversation;
    Connected(conversation);
    {
        Conversation copy(conversation);
        Conversation assigned;
        assigned = conversation;
        for (Conversation* one : {&copy, &assigned}) {
            EXPECT_EQ(one->m_dwInstancia, conversation.m_dwInstancia);
            EXPECT_EQ(one->m_hszServei, conversation.m_hszServei);
            EXPECT_EQ(one->m_hszTopic, conversation.m_hszTopic);
            EXPECT_EQ(one->Conectat(), 1);
        }
        EXPECT_TRUE(Calls().empty());
    }
    // Each copy ends what it shares: two of them here.
    EXPECT_EQ(Calls(), (Lines{"FreeString 1 101", "FreeString 1 102", "Uninitialize 1", "FreeString 1 101",
                              "FreeString 1 102", "Uninitialize 1"}));
}

TEST_F(DdeCallsTest, SlotsForwardToTheirConversations) {
    Interface client(&Unused);
    ASSERT_EQ(client.Conectar(L"S", L"T"), 0);
    ASSERT_EQ(client.m_conexions[29].Conectar(L"S", L"T", &Unused), 1);
    Calls();
    g_script.conversation = As<HCONV>(conversationHandle);
    g_script.answer = As<HDDEDATA>(dataHandle);
    EXPECT_EQ(client.EnviarDades(29, L"x"), 1);
    EXPECT_EQ(Calls().front(), "Connect 2 103 104");
    EXPECT_EQ(client.DemanarDades(29, L"x", 7), nullptr);
    EXPECT_EQ(Calls(), (Lines{"Connect 2 103 104"}));
    EXPECT_EQ(client.Desconectar(29), 1);
    EXPECT_EQ(Calls().back(), "Uninitialize 2");
}

// ---- Dispatch

TEST_F(DdeCallsTest, TextsAreAskedForBySizeFirst) {
    Interface server(L"Place", L"one", &Unused);
    g_script.text = L"name";
    EXPECT_EQ(server.Call(XTYP_REGISTER, As<HSZ>(5)), As<HDDEDATA>(1));
    EXPECT_EQ(Calls(),
              (Lines{"QueryString 5 null 0 1200", "QueryString 5 buffer 5 1200", "COM_Register name"}));
    EXPECT_EQ(server.Call(XTYP_REQUEST, As<HSZ>(5), As<HSZ>(6)), nullptr);
    EXPECT_EQ(Calls(),
              (Lines{"QueryString 6 null 0 1200", "QueryString 6 buffer 5 1200", "COM_Request 13 name"}));
}

TEST_F(DdeCallsTest, CommandIsCopiedHandledAndItsDataLetGo) {
    Interface server(L"Place", L"one", &Unused);
    g_script.command.assign(reinterpret_cast<const char*>(L"go"), 3 * sizeof(wchar_t));
    const std::string size = std::to_string(3 * sizeof(wchar_t));
    EXPECT_EQ(server.Call(XTYP_EXECUTE, As<HSZ>(5), nullptr, As<HDDEDATA>(9)), As<HDDEDATA>(DDE_FACK));
    EXPECT_EQ(Calls(), (Lines{"GetData 9 null 0 0", "GetData 9 buffer " + size + " 0", "COM_Execute go one",
                              "UnaccessData 9"}));
    g_script.command.clear();
    EXPECT_EQ(server.Call(XTYP_EXECUTE, As<HSZ>(5), nullptr, As<HDDEDATA>(9)), As<HDDEDATA>(DDE_FACK));
    EXPECT_EQ(Calls(), (Lines{"GetData 9 null 0 0", "COM_Execute null one", "UnaccessData 9"}));
}

TEST_F(DdeCallsTest, WildcardListEndsWithAPairOfNone) {
    Interface server(L"Place", L"one", &Unused);
    server.InitServidor();
    Calls();
    EXPECT_EQ(server.Call(XTYP_WILDCONNECT, As<HSZ>(102)), As<HDDEDATA>(301));
    EXPECT_EQ(Calls(), (Lines{"CreateData 1 " + std::to_string(2 * sizeof(HSZ)) + " 0 0 0 0"}));
    HSZPAIR pairs[2];
    ASSERT_EQ(g_script.command.size(), sizeof pairs);
    std::memcpy(pairs, g_script.command.data(), sizeof pairs);
    EXPECT_EQ(pairs[0].hszSvc, As<HSZ>(101));
    EXPECT_EQ(pairs[0].hszTopic, As<HSZ>(102));
    EXPECT_EQ(pairs[1].hszSvc, nullptr);
    EXPECT_EQ(pairs[1].hszTopic, nullptr);
    EXPECT_EQ(server.Call(XTYP_WILDCONNECT, nullptr), As<HDDEDATA>(301));
    EXPECT_EQ(Calls(), (Lines{"CreateData 1 " + std::to_string(11 * sizeof(HSZ)) + " 0 0 0 0"}));
    HSZPAIR all[11];
    ASSERT_EQ(g_script.command.size(), sizeof all);
    std::memcpy(all, g_script.command.data(), sizeof all);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(all[i].hszSvc, As<HSZ>(101));
        EXPECT_EQ(all[i].hszTopic, i == 0 ? As<HSZ>(102) : nullptr);
    }
    EXPECT_EQ(all[10].hszSvc, nullptr);
    EXPECT_EQ(all[10].hszTopic, nullptr);
}

TEST_F(DdeCallsTest, ErrorIsAskedOfTheGivenInstance) {
    EXPECT_EQ(TDDEInterface::CheckErrorDDE(77), 0);
    EXPECT_EQ(Calls(), (Lines{"LastError 77"}));
}

// ---- What client code relies on

TEST_F(DdeCallsTest, FieldsAndHandlersKeepTheirPlaces) {
    const Conversation conversation;
    EXPECT_EQ(Offset(conversation, conversation.m_hszServei), static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_LT(Offset(conversation, conversation.m_hszServei), Offset(conversation, conversation.m_hszTopic));
    EXPECT_LT(Offset(conversation, conversation.m_hszTopic),
              Offset(conversation, conversation.m_dwInstancia));
    const Interface object(&Unused);
    EXPECT_EQ(Offset(object, object.m_dwInstancia), static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_LT(Offset(object, object.m_dwInstancia), Offset(object, object.m_strServei));
    EXPECT_LT(Offset(object, object.m_strServei), Offset(object, object.m_strTopics));
    EXPECT_LT(Offset(object, object.m_strTopics), Offset(object, object.m_pfnCallback));
    EXPECT_LT(Offset(object, object.m_pfnCallback), Offset(object, object.m_hszServei));
    EXPECT_LT(Offset(object, object.m_hszServei), Offset(object, object.m_hszTopics));
    EXPECT_LT(Offset(object, object.m_hszTopics), Offset(object, object.m_conexions));
    EXPECT_EQ(Slot(&TDDEInterface::COM_Execute), 1);
    EXPECT_EQ(Slot(&TDDEInterface::COM_Register), 2);
    EXPECT_EQ(Slot(&TDDEInterface::COM_Request), 3);
    if (WINDOWS_LAYOUT) {
        EXPECT_EQ(sizeof(TConexioDDE), 16u);
        EXPECT_EQ(sizeof(TDDEInterface), 4u + 4 + 4 + 40 + 4 + 4 + 40 + 30 * 16);
    }
}
