// The object model by itself: slots, dispatch, error boxes.
#include "BoxCapture.h"
#include "Exposed.h"
#include "import_patch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

// The code that the library is told instead of the real one; 0 for the real one.
UINT g_error;

UINT WINAPI LastError(DWORD instance) {
    const UINT code = ::DdeGetLastError(instance);
    return g_error ? g_error : code;
}

HDDEDATA CALLBACK Unused(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) {
    return nullptr;
}

struct Handler : ExposedInterface {
    using ExposedInterface::ExposedInterface;

    int COM_Execute(const wchar_t* szComanda, const wchar_t* szTopic) override {
        hadCommand = szComanda != nullptr;
        command = szComanda ? szComanda : L"";
        topic = szTopic;
        return answer;
    }
    int COM_Register(const wchar_t* szServei) override {
        registered = szServei;
        return 0;
    }
    HDDEDATA COM_Request(unsigned int nFormat, const wchar_t* szItem) override {
        format = nFormat;
        item = szItem;
        return reinterpret_cast<HDDEDATA>(static_cast<ULONG_PTR>(77));
    }

    ULONG_PTR Call(UINT type, HSZ hsz1, HSZ hsz2 = nullptr, HDDEDATA data = nullptr, UINT callFormat = 0) {
        return reinterpret_cast<ULONG_PTR>(
            ProcessarCallback(type, callFormat, nullptr, hsz1, hsz2, data, 0, 0));
    }
    HDDEDATA Data(const void* bytes, std::size_t size) const {
        return DdeCreateDataHandle(m_dwInstancia, static_cast<LPBYTE>(const_cast<void*>(bytes)),
                                   static_cast<DWORD>(size), 0, nullptr, 0, 0);
    }

    int answer = 1;
    bool hadCommand = false;
    std::wstring command;
    std::wstring topic;
    std::wstring registered;
    std::wstring item;
    unsigned int format = 0;
};

class TDDEInterfaceTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        PatchImport("mvlib62", {"DdeGetLastError", reinterpret_cast<void*>(&LastError)});
    }
    void SetUp() override { g_error = 0; }
    void TearDown() override { g_error = 0; }

    void Start() { ASSERT_EQ(handler.InitServidor(), 1); }
    void FillTopics() {
        for (int i = 1; i < 10; ++i)
            ASSERT_EQ(handler.AfegirNouTopic((L"T" + std::to_wstring(i)).c_str()), 1);
    }

    Handler handler{L"mvlib62.unit", L"T0", &Unused};
};

} // namespace

TEST_F(TDDEInterfaceTest, ExampleUsage) {
    EXPECT_EQ(handler.AfegirNouTopic(L"Jobs"), 1);
    EXPECT_EQ(handler.InitServidor(), 1);
    EXPECT_NE(handler.m_dwInstancia, 0u);
    EXPECT_NE(handler.m_hszTopics[1], nullptr);
    EXPECT_EQ(handler.BorrarTopic(L"JOBS"), 1);
    EXPECT_EQ(handler.BorrarTopic(L"Jobs"), 0);
    EXPECT_EQ(handler.DoneServidor(), 1);
    EXPECT_EQ(handler.m_dwInstancia, 0u);
}

TEST_F(TDDEInterfaceTest, BeginsWithoutNames) {
    Handler empty(&Unused);
    EXPECT_TRUE(empty.m_strServei.IsEmpty());
    EXPECT_EQ(empty.m_dwInstancia, 0u);
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(empty.m_strTopics[i].IsEmpty());
        EXPECT_EQ(empty.m_hszTopics[i], nullptr);
    }
    EXPECT_EQ(empty.BuscarTopicLliure(), 0);
    EXPECT_EQ(handler.m_strTopics[0], L"T0");
    EXPECT_EQ(handler.BuscarTopicLliure(), 1);
}

TEST_F(TDDEInterfaceTest, BaseHandlersAnswerOne) {
    TDDEInterface base(&Unused);
    EXPECT_EQ(base.COM_Execute(L"", L""), 1);
    EXPECT_EQ(base.COM_Register(L""), 1);
    EXPECT_EQ(reinterpret_cast<ULONG_PTR>(base.COM_Request(1, L"")), 1u);
}

// ---- Topics

TEST_F(TDDEInterfaceTest, EleventhTopicIsRefusedUntilOneIsRemoved) {
    FillTopics();
    EXPECT_EQ(handler.BuscarTopicLliure(), -1);
    EXPECT_EQ(handler.AfegirNouTopic(L"T10"), 0);
    EXPECT_EQ(handler.BorrarTopic(L"t4"), 1);
    EXPECT_EQ(handler.BuscarTopicLliure(), 4);
    EXPECT_EQ(handler.AfegirNouTopic(L"T10"), 1);
    EXPECT_EQ(handler.m_strTopics[4], L"T10");
}

TEST_F(TDDEInterfaceTest, TopicAddedWhileRunningHasItsHandleAtOnce) {
    EXPECT_EQ(handler.AfegirNouTopic(L"before"), 1);
    EXPECT_EQ(handler.m_hszTopics[1], nullptr);
    Start();
    EXPECT_NE(handler.m_hszTopics[1], nullptr);
    EXPECT_EQ(handler.AfegirNouTopic(L"after"), 1);
    EXPECT_NE(handler.m_hszTopics[2], nullptr);
}

TEST_F(TDDEInterfaceTest, TopicWithoutAHandleIsRefusedWhileRunning) {
    Start();
    const std::wstring tooLong(300, L'x'); // names have 255 characters at most
    EXPECT_EQ(handler.AfegirNouTopic(tooLong.c_str()), 0);
    EXPECT_EQ(handler.m_strTopics[1].GetLength(), 300);
}

TEST_F(TDDEInterfaceTest, EmptyNameTakesNoSlot) {
    EXPECT_EQ(handler.AfegirNouTopic(L""), 1);
    EXPECT_EQ(handler.BuscarTopicLliure(), 1);
    Start();
    EXPECT_EQ(handler.AfegirNouTopic(L""), 0); // no string handle is empty
    EXPECT_EQ(handler.BuscarTopicLliure(), 1);
    EXPECT_EQ(handler.m_hszTopics[1], nullptr);
    EXPECT_EQ(handler.BorrarTopic(L""), 1); // the first free slot
    EXPECT_EQ(handler.BuscarTopicLliure(), 1);
    EXPECT_EQ(handler.m_strTopics[0], L"T0");
}

TEST_F(TDDEInterfaceTest, NullTextsAreEmptyOrRefused) {
    Handler none(nullptr, nullptr, &Unused);
    EXPECT_TRUE(none.m_strServei.IsEmpty());
    EXPECT_EQ(none.BuscarTopicLliure(), 0);
    EXPECT_EQ(none.AfegirNouTopic(nullptr), 1);
    EXPECT_EQ(none.BuscarTopicLliure(), 0);
    Start();
    EXPECT_EQ(handler.AfegirNouTopic(nullptr), 0);
    EXPECT_EQ(handler.BorrarTopic(nullptr), 0);
    EXPECT_EQ(handler.Conectar(nullptr, L"T"), -1);
    EXPECT_EQ(handler.Conectar(L"S", nullptr), -1);
    ASSERT_EQ(handler.Conectar(L"mvlib62.unit", L"T0"), 0);
    EXPECT_EQ(handler.EnviarDades(0, nullptr), 0);
}

TEST_F(TDDEInterfaceTest, TwoTopicsOfOneNameAreRemovedOneByOne) {
    EXPECT_EQ(handler.AfegirNouTopic(L"t0"), 1);
    Start();
    EXPECT_EQ(handler.m_hszTopics[0], handler.m_hszTopics[1]);
    EXPECT_EQ(handler.BorrarTopic(L"T0"), 1);
    EXPECT_EQ(handler.m_strTopics[1], L"t0");
    EXPECT_EQ(handler.Call(XTYP_CONNECT, handler.m_hszTopics[1]), 1u);
    EXPECT_EQ(handler.BorrarTopic(L"T0"), 1);
    EXPECT_EQ(handler.BorrarTopic(L"T0"), 0);
}

TEST_F(TDDEInterfaceTest, CommandForARemovedTopicHasNoTopicsName) {
    FillTopics();
    Start();
    EXPECT_EQ(handler.BorrarTopic(L"T3"), 1);
    const HDDEDATA data = handler.Data(L"x", 2 * sizeof(wchar_t));
    EXPECT_EQ(handler.Call(XTYP_EXECUTE, handler.m_hszTopics[3], nullptr, data), ULONG_PTR{DDE_FACK});
    EXPECT_EQ(handler.topic, L"");
    DdeFreeDataHandle(data);
}

TEST_F(TDDEInterfaceTest, RemovedTopicLeavesItsHandleInTheSlot) {
    FillTopics();
    Start();
    const HSZ handle = handler.m_hszTopics[3];
    EXPECT_EQ(handler.BorrarTopic(L"T3"), 1);
    EXPECT_EQ(handler.m_hszTopics[3], handle);
    EXPECT_EQ(handler.Call(XTYP_CONNECT, handle), 1u);
    EXPECT_EQ(handler.AfegirNouTopic(L"other"), 1);
    EXPECT_EQ(handler.BuscarTopicLliure(), -1);
}

// ---- Start and end

TEST_F(TDDEInterfaceTest, EndingAServerThatDoesNotRunAnswersOne) {
    EXPECT_EQ(handler.DoneServidor(), 1);
}

TEST_F(TDDEInterfaceTest, ServerStartsAgainAfterItsEnd) {
    Start();
    EXPECT_EQ(handler.DoneServidor(), 1);
    for (HSZ topic : handler.m_hszTopics)
        EXPECT_EQ(topic, nullptr);
    EXPECT_EQ(handler.m_hszServei, nullptr);
    Start();
    EXPECT_EQ(handler.Call(XTYP_CONNECT, handler.m_hszTopics[0]), 1u);
}

TEST_F(TDDEInterfaceTest, ErrorOfTheDdeLibraryStopsTheStart) {
    BoxCapture boxes;
    g_error = DMLERR_SYS_ERROR;
    EXPECT_EQ(handler.InitServidor(), 0);
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].text, L"Sys Error");
    EXPECT_EQ(handler.m_hszServei, nullptr);
}

TEST_F(TDDEInterfaceTest, ServiceWithoutANameDoesNotStart) {
    BoxCapture boxes;
    Handler nameless(L"", L"T", &Unused);
    EXPECT_EQ(nameless.InitServidor(), 0);
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].caption, L" DDE_ERROR ");
    EXPECT_EQ(boxes.Boxes()[0].text, L"InvalidParameter");
    EXPECT_EQ(nameless.m_hszTopics[0], nullptr);
    EXPECT_EQ(nameless.DoneServidor(), 1);
}

TEST_F(TDDEInterfaceTest, ServiceMayBeServedByTwoObjects) {
    BoxCapture boxes;
    Handler second(L"mvlib62.unit", L"T0", &Unused);
    Start();
    EXPECT_EQ(second.InitServidor(), 1);
    EXPECT_NE(second.m_dwInstancia, handler.m_dwInstancia);
    EXPECT_EQ(boxes.Boxes().size(), 0u);
}

TEST_F(TDDEInterfaceTest, TopicThatGetsNoHandleStopsTheStart) {
    handler.m_strTopics[5] = std::wstring(300, L'x').c_str();
    EXPECT_EQ(handler.InitServidor(), 0);
    EXPECT_NE(handler.m_hszTopics[0], nullptr);
    EXPECT_EQ(handler.m_hszTopics[5], nullptr);
    EXPECT_EQ(handler.DoneServidor(), 1);
}

TEST_F(TDDEInterfaceTest, CopySharesEveryHandle) {
    Start();
    {
        Handler copy(handler);
        EXPECT_EQ(copy.m_dwInstancia, handler.m_dwInstancia);
        EXPECT_EQ(copy.m_hszServei, handler.m_hszServei);
        EXPECT_EQ(copy.m_hszTopics[0], handler.m_hszTopics[0]);
        EXPECT_EQ(copy.m_strTopics[0], L"T0");
        Handler other(nullptr);
        other = copy;
        EXPECT_EQ(other.m_dwInstancia, handler.m_dwInstancia);
        EXPECT_EQ(other.m_strServei, L"mvlib62.unit");
        EXPECT_EQ(other.m_pfnCallback, &Unused);
        EXPECT_EQ(other.m_hszServei, handler.m_hszServei);
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(other.m_strTopics[i], handler.m_strTopics[i]);
            EXPECT_EQ(other.m_hszTopics[i], handler.m_hszTopics[i]);
        }
        // Only one of the three may end the server.
        other.m_dwInstancia = copy.m_dwInstancia = 0;
    }
    EXPECT_EQ(handler.Call(XTYP_CONNECT, handler.m_hszTopics[0]), 1u);
}

// ---- Conversations

TEST_F(TDDEInterfaceTest, TenConversationsAndNoMore) {
    for (int slot = 0; slot < 10; ++slot)
        EXPECT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), slot);
    EXPECT_EQ(handler.BuscarConexioLliure(), -1);
    EXPECT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), -1);
    EXPECT_EQ(handler.Desconectar(6), 1);
    EXPECT_EQ(handler.BuscarConexioLliure(), 6);
    EXPECT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), 6);
}

TEST_F(TDDEInterfaceTest, SlotsOutsideTheTableAnswerNothing) {
    EXPECT_EQ(handler.EnviarDades(30, L"x"), 0);
    EXPECT_EQ(handler.Desconectar(30), 0);
    EXPECT_EQ(handler.DemanarDades(30, L"x", 100), nullptr);
    EXPECT_EQ(handler.EnviarDades(-1, L"x"), 0);
    EXPECT_EQ(handler.Desconectar(-1), 0);
    EXPECT_EQ(handler.DemanarDades(-1, L"x", 100), nullptr);
    EXPECT_EQ(handler.Desconectar(29), 1);
}

TEST_F(TDDEInterfaceTest, TransferOnASlotNeverConnectedShowsNoBox) {
    BoxCapture boxes;
    EXPECT_EQ(handler.EnviarDades(0, L"x"), 0);
    EXPECT_EQ(handler.DemanarDades(0, L"x", 100), nullptr);
    EXPECT_EQ(boxes.Boxes().size(), 0u);
}

TEST_F(TDDEInterfaceTest, SendWithoutAServerShowsNoBox) {
    BoxCapture boxes;
    ASSERT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), 0);
    EXPECT_EQ(handler.EnviarDades(0, L"x"), 0);
    EXPECT_EQ(boxes.Boxes().size(), 0u);
}

TEST_F(TDDEInterfaceTest, RequestWithoutAServerShowsTheError) {
    BoxCapture boxes;
    ASSERT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), 0);
    EXPECT_EQ(handler.DemanarDades(0, L"x", 100), nullptr);
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].caption, L" DDE_ERROR ");
    EXPECT_EQ(boxes.Boxes()[0].text, L"No se estableci\u00F3 conversaci\u00F3n");
}

TEST_F(TDDEInterfaceTest, ErrorOfTheDdeLibraryRefusesAConversation) {
    BoxCapture boxes;
    g_error = DMLERR_DLL_USAGE;
    EXPECT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), -1);
    g_error = 0;
    EXPECT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(handler.BuscarConexioLliure(), 0);
    EXPECT_EQ(handler.Conectar(L"mvlib62.nobody", L"T"), 0);
}

TEST_F(TDDEInterfaceTest, ConversationWithoutANameIsNotConnected) {
    const std::wstring tooLong(300, L'x');
    EXPECT_EQ(handler.Conectar(tooLong.c_str(), L"T"), -1);
    EXPECT_EQ(handler.Conectar(L"S", tooLong.c_str()), -1);
    EXPECT_EQ(handler.m_conexions[0].Conectat(), 0);
}

TEST_F(TDDEInterfaceTest, CopyOfAConversationSharesItsHandles) {
    TConexioDDE one;
    EXPECT_EQ(one.Conectat(), 0);
    EXPECT_EQ(one.Desconectar(), 1);
    ASSERT_EQ(one.Conectar(L"mvlib62.nobody", L"T", &Unused), 1);
    TConexioDDE two(one);
    EXPECT_EQ(two.Conectat(), 1);
    EXPECT_EQ(one.Desconectar(), 1);
    EXPECT_EQ(one.Conectat(), 0);
    EXPECT_EQ(two.Conectat(), 1); // what it names is gone
    EXPECT_EQ(two.Desconectar(), 1);
}

// ---- Dispatch

TEST_F(TDDEInterfaceTest, RegistrationIsToldByName) {
    Start();
    EXPECT_EQ(handler.Call(XTYP_REGISTER, handler.m_hszServei), 1u);
    EXPECT_EQ(handler.registered, L"mvlib62.unit");
}

TEST_F(TDDEInterfaceTest, ConnectIsAcceptedForOwnTopics) {
    FillTopics();
    Start();
    for (HSZ topic : handler.m_hszTopics)
        EXPECT_EQ(handler.Call(XTYP_CONNECT, topic, handler.m_hszServei), 1u);
    EXPECT_EQ(handler.Call(XTYP_CONNECT, handler.m_hszServei, handler.m_hszServei), 0u);
}

TEST_F(TDDEInterfaceTest, WildcardListOfATopicCoversHalfOfItsBytes) {
    FillTopics();
    Start();
    const auto list = reinterpret_cast<HDDEDATA>(handler.Call(XTYP_WILDCONNECT, handler.m_hszTopics[2]));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(DdeGetData(list, nullptr, 0, 0), 2 * sizeof(HSZ));
    HSZPAIR pair = {};
    DdeGetData(list, reinterpret_cast<LPBYTE>(&pair), sizeof pair, 0);
    EXPECT_EQ(pair.hszSvc, handler.m_hszServei);
    EXPECT_EQ(pair.hszTopic, handler.m_hszTopics[2]);
    DdeFreeDataHandle(list);
}

TEST_F(TDDEInterfaceTest, WildcardListWithoutATopicHasAllTenSlots) {
    EXPECT_EQ(handler.AfegirNouTopic(L"T1"), 1);
    Start();
    const auto list = reinterpret_cast<HDDEDATA>(handler.Call(XTYP_WILDCONNECT, nullptr));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(DdeGetData(list, nullptr, 0, 0), 11 * sizeof(HSZ));
    HSZPAIR pairs[5] = {};
    DdeGetData(list, reinterpret_cast<LPBYTE>(pairs), sizeof pairs, 0);
    EXPECT_EQ(pairs[0].hszTopic, handler.m_hszTopics[0]);
    EXPECT_EQ(pairs[1].hszTopic, handler.m_hszTopics[1]);
    EXPECT_EQ(pairs[4].hszSvc, handler.m_hszServei);
    EXPECT_EQ(pairs[4].hszTopic, nullptr);
    DdeFreeDataHandle(list);
}

TEST_F(TDDEInterfaceTest, WildcardListOfAForeignTopicIsItsEndAlone) {
    FillTopics();
    Start();
    const auto list = reinterpret_cast<HDDEDATA>(handler.Call(XTYP_WILDCONNECT, handler.m_hszServei));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(DdeGetData(list, nullptr, 0, 0), sizeof(HSZ));
    DdeFreeDataHandle(list);
}

TEST_F(TDDEInterfaceTest, ExecuteIsAcknowledgedWhenTheHandlerAccepts) {
    EXPECT_EQ(handler.AfegirNouTopic(L"T1"), 1);
    Start();
    const HDDEDATA data = handler.Data(L"open", 5 * sizeof(wchar_t));
    handler.answer = 1;
    EXPECT_EQ(handler.Call(XTYP_EXECUTE, handler.m_hszTopics[1], nullptr, data), ULONG_PTR{DDE_FACK});
    EXPECT_EQ(handler.command, L"open");
    EXPECT_EQ(handler.topic, L"T1");
    handler.answer = 0;
    EXPECT_EQ(handler.Call(XTYP_EXECUTE, handler.m_hszTopics[1], nullptr, data), 0u);
    handler.answer = -1;
    EXPECT_EQ(handler.Call(XTYP_EXECUTE, handler.m_hszTopics[1], nullptr, data), 0u);
    DdeFreeDataHandle(data);
}

TEST_F(TDDEInterfaceTest, ExecuteOfAnUnknownTopicGoesToTheFirst) {
    EXPECT_EQ(handler.AfegirNouTopic(L"T1"), 1);
    Start();
    const HDDEDATA data = handler.Data(L"x", 2 * sizeof(wchar_t));
    EXPECT_EQ(handler.Call(XTYP_EXECUTE, handler.m_hszServei, nullptr, data), ULONG_PTR{DDE_FACK});
    EXPECT_EQ(handler.topic, L"T0");
    DdeFreeDataHandle(data);
}

TEST_F(TDDEInterfaceTest, ExecuteWithoutDataHasNoCommand) {
    Start();
    EXPECT_EQ(handler.Call(XTYP_EXECUTE, handler.m_hszTopics[0]), ULONG_PTR{DDE_FACK});
    EXPECT_FALSE(handler.hadCommand);
    EXPECT_EQ(handler.topic, L"T0");
}

TEST_F(TDDEInterfaceTest, CommandWithoutItsNulIsRead) {
    Start();
    const HDDEDATA data = handler.Data(L"abcdef", 6 * sizeof(wchar_t));
    handler.Call(XTYP_EXECUTE, handler.m_hszTopics[0], nullptr, data);
    EXPECT_EQ(handler.command, L"abcdef");
    DdeFreeDataHandle(data);
    const HDDEDATA odd = handler.Data(L"ab", sizeof(wchar_t) + 1);
    handler.Call(XTYP_EXECUTE, handler.m_hszTopics[0], nullptr, odd);
    EXPECT_EQ(handler.command.substr(0, 1), L"a");
    DdeFreeDataHandle(odd);
}

TEST_F(TDDEInterfaceTest, RequestAnswersWhatTheHandlerAnswers) {
    Start();
    const HSZ item = DdeCreateStringHandleW(handler.m_dwInstancia, L"Price", CP_WINUNICODE);
    EXPECT_EQ(handler.Call(XTYP_REQUEST, handler.m_hszTopics[0], item, nullptr, CF_TEXT), 77u);
    EXPECT_EQ(handler.item, L"Price");
    EXPECT_EQ(handler.format, static_cast<unsigned int>(CF_TEXT));
    DdeFreeStringHandle(handler.m_dwInstancia, item);
}

TEST_F(TDDEInterfaceTest, OtherTransactionsAreAnsweredZero) {
    Start();
    for (UINT type :
         {XTYP_POKE, XTYP_ADVSTART, XTYP_DISCONNECT, XTYP_CONNECT_CONFIRM, XTYP_UNREGISTER, XTYP_ERROR})
        EXPECT_EQ(handler.Call(type, handler.m_hszTopics[0], handler.m_hszServei), 0u);
}

// ---- error results

TEST_F(TDDEInterfaceTest, NoErrorShowsNothing) {
    BoxCapture boxes;
    Start();
    EXPECT_EQ(TDDEInterface::CheckErrorDDE(handler.m_dwInstancia), 0);
    EXPECT_EQ(boxes.Boxes().size(), 0u);
}

TEST_F(TDDEInterfaceTest, EveryErrorHasItsText) {
    const struct {
        UINT code;
        const wchar_t* text;
    } known[] = {
        {0x4000, L"ADV ACK TIMEOUT"},
        {0x4001, L"Servidor Ocupado"},
        {0x4002, L"DATA ACK TIMEOUT"},
        {0x4003, L"DLL no inicializada"},
        {0x4004, L"DLL_USAGE"},
        {0x4005, L"EXEC ACK TIMEOUT"},
        {0x4006, L"InvalidParameter"},
        {0x4008, L"Error de Memoria"},
        {0x4009, L"No proces\u00F3 transacci\u00F3n"},
        {0x400A, L"No se estableci\u00F3 conversaci\u00F3n"},
        {0x400B, L"POKE ACK ERROR"},
        {0x400C, L"Fallo en PostMessage"},
        {0x400D, L"Reentrancy error"},
        {0x400E, L"Servidor a muerto"},
        {0x400F, L"Sys Error"},
        {0x4010, L"UNADV ACK TIMEOUT"},
    };
    for (const auto& error : known) {
        BoxCapture boxes;
        g_error = error.code;
        EXPECT_EQ(TDDEInterface::CheckErrorDDE(0), 1);
        ASSERT_EQ(boxes.Boxes().size(), 1u);
        EXPECT_EQ(boxes.Boxes()[0].caption, L" DDE_ERROR ");
        EXPECT_EQ(boxes.Boxes()[0].text, error.text);
        EXPECT_EQ(boxes.Boxes()[0].style, static_cast<unsigned int>(MB_OK | MB_ICONEXCLAMATION));
    }
}

TEST_F(TDDEInterfaceTest, ErrorsOutsideTheTableAreUnknown) {
    for (UINT code : {0x4007u, 0x4011u, 1u, 0x3FFFu}) {
        BoxCapture boxes;
        g_error = code;
        EXPECT_EQ(TDDEInterface::CheckErrorDDE(0), 1);
        ASSERT_EQ(boxes.Boxes().size(), 1u);
        EXPECT_EQ(boxes.Boxes()[0].caption, L" ERROR ");
        EXPECT_EQ(boxes.Boxes()[0].text, L"ERROR DESCONEGUT");
        EXPECT_EQ(boxes.Boxes()[0].style, static_cast<unsigned int>(MB_OK | MB_ICONEXCLAMATION));
    }
}
