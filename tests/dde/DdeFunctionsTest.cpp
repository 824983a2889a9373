// The functions of dynamic data exchange themselves: the same cases against the system's and against ours.
#include "Pump.h"

#include <ddelib.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Call {
    UINT type;
    UINT format;
    std::wstring hsz1;
    std::wstring hsz2;
    std::string bytes;
    ULONG_PTR data1;
    ULONG_PTR data2;
};

DWORD g_instance;
std::vector<Call> g_calls;
ULONG_PTR g_answer;

std::wstring TextOf(HSZ string) {
    wchar_t text[300] = {};
    if (string)
        DdeQueryStringW(g_instance, string, text, 300, CP_WINUNICODE);
    return text;
}

HDDEDATA CALLBACK Record(UINT type, UINT format, HCONV, HSZ hsz1, HSZ hsz2, HDDEDATA data, ULONG_PTR data1,
                         ULONG_PTR data2) {
    Call call = {type, format, {}, {}, {}, data1, data2};
    if (type == XTYP_CONNECT || type == XTYP_EXECUTE || type == XTYP_REQUEST) {
        call.hsz1 = TextOf(hsz1);
        call.hsz2 = TextOf(hsz2);
    }
    if (type == XTYP_EXECUTE) {
        call.bytes.resize(DdeGetData(data, nullptr, 0, 0));
        DdeGetData(data, reinterpret_cast<LPBYTE>(call.bytes.data()), static_cast<DWORD>(call.bytes.size()),
                   0);
    }
    g_calls.push_back(call);
    if (type == XTYP_CONNECT)
        return reinterpret_cast<HDDEDATA>(ULONG_PTR{1});
    return reinterpret_cast<HDDEDATA>(g_answer);
}

class DdeFunctionsTest : public testing::Test {
protected:
    void SetUp() override {
        g_instance = 0;
        ASSERT_EQ(DdeInitializeW(&g_instance, &Record, 0, 0), 0u);
        g_calls.clear();
        g_answer = 0;
    }
    void TearDown() override {
        DdeUninitialize(g_instance);
        PumpWaiting();
    }
    static HSZ Name(const wchar_t* text) { return DdeCreateStringHandleW(g_instance, text, CP_WINUNICODE); }
    static UINT Error() { return DdeGetLastError(g_instance); }
    static void Serve() {
        ASSERT_NE(DdeNameService(g_instance, Name(L"mvlib62.f"), nullptr, DNS_REGISTER), nullptr);
    }
    static HCONV Connect() { return DdeConnect(g_instance, Name(L"mvlib62.f"), Name(L"Topic"), nullptr); }
    static const Call* Last(UINT type) {
        for (auto call = g_calls.rbegin(); call != g_calls.rend(); ++call)
            if (call->type == type)
                return &*call;
        return nullptr;
    }
};

} // namespace

// ---- Strings

TEST_F(DdeFunctionsTest, EqualNamesHaveOneHandleWhateverTheirCase) {
    const HSZ one = Name(L"Printer");
    EXPECT_EQ(Name(L"PRINTER"), one);
    EXPECT_NE(Name(L"Printers"), one);
    EXPECT_EQ(TextOf(Name(L"printer")), L"Printer");
    EXPECT_EQ(DdeCmpStringHandles(one, one), 0);
}

TEST_F(DdeFunctionsTest, NamesHaveOneTo255Characters) {
    EXPECT_EQ(Name(L""), nullptr);
    EXPECT_EQ(Name(nullptr), nullptr);
    EXPECT_NE(Name(std::wstring(255, L'x').c_str()), nullptr);
    EXPECT_EQ(Name(std::wstring(256, L'x').c_str()), nullptr);
    EXPECT_EQ(Error(), 0u);
}

TEST_F(DdeFunctionsTest, TextOfANameIsCutToTheBuffer) {
    const HSZ name = Name(L"SvcA");
    wchar_t text[50];
    EXPECT_EQ(DdeQueryStringW(g_instance, name, nullptr, 0, CP_WINUNICODE), 4u);
    EXPECT_EQ(DdeQueryStringW(g_instance, name, text, 50, CP_WINUNICODE), 4u);
    EXPECT_STREQ(text, L"SvcA");
    EXPECT_EQ(DdeQueryStringW(g_instance, name, text, 3, CP_WINUNICODE), 2u);
    EXPECT_STREQ(text, L"Sv");
}

TEST_F(DdeFunctionsTest, NameIsFreedAsOftenAsItWasMade) {
    const HSZ name = Name(L"SvcA");
    Name(L"svca");
    EXPECT_TRUE(DdeFreeStringHandle(g_instance, name));
    EXPECT_TRUE(DdeKeepStringHandle(g_instance, name));
    EXPECT_TRUE(DdeFreeStringHandle(g_instance, name));
    EXPECT_TRUE(DdeFreeStringHandle(g_instance, name));
    EXPECT_FALSE(DdeFreeStringHandle(g_instance, name));
}

// ---- Data

TEST_F(DdeFunctionsTest, DataIsCopiedInParts) {
    char bytes[] = "abcdef";
    const HDDEDATA data =
        DdeCreateDataHandle(g_instance, reinterpret_cast<LPBYTE>(bytes), 6, 0, nullptr, 0, 0);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(DdeGetData(data, nullptr, 0, 0), 6u);
    char part[10] = {};
    EXPECT_EQ(DdeGetData(data, reinterpret_cast<LPBYTE>(part), 3, 0), 3u);
    EXPECT_STREQ(part, "abc");
    EXPECT_EQ(DdeGetData(data, reinterpret_cast<LPBYTE>(part), 10, 4), 2u);
    EXPECT_EQ(std::string(part, 2), "ef");
    DWORD size = 0;
    const BYTE* all = DdeAccessData(data, &size);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(std::memcmp(all, bytes, 6), 0);
    EXPECT_TRUE(DdeUnaccessData(data));
    EXPECT_TRUE(DdeFreeDataHandle(data));
    EXPECT_EQ(DdeGetData(nullptr, nullptr, 0, 0), 0u);
}

// ---- Services

TEST_F(DdeFunctionsTest, ServiceIsRegisteredOnce) {
    const HSZ name = Name(L"mvlib62.f");
    EXPECT_NE(DdeNameService(g_instance, name, nullptr, DNS_REGISTER), nullptr);
    EXPECT_EQ(DdeNameService(g_instance, name, nullptr, DNS_REGISTER), nullptr);
    EXPECT_EQ(Error(), static_cast<UINT>(DMLERR_DLL_USAGE));
    EXPECT_NE(DdeNameService(g_instance, name, nullptr, DNS_UNREGISTER), nullptr);
    EXPECT_NE(DdeNameService(g_instance, name, nullptr, DNS_UNREGISTER), nullptr);
    EXPECT_EQ(Error(), 0u);
}

TEST_F(DdeFunctionsTest, RegistrationsAreToldToTheirOwnProgramToo) {
    Serve();
    EXPECT_TRUE(PumpUntil([] { return Last(XTYP_REGISTER) != nullptr; }));
    DdeNameService(g_instance, Name(L"mvlib62.f"), nullptr, DNS_UNREGISTER);
    EXPECT_TRUE(PumpUntil([] { return Last(XTYP_UNREGISTER) != nullptr; }));
}

// ---- Conversations

TEST_F(DdeFunctionsTest, ConnectTellsTopicAndService) {
    Serve();
    const HCONV conversation = Connect();
    ASSERT_NE(conversation, nullptr);
    ASSERT_NE(Last(XTYP_CONNECT), nullptr);
    EXPECT_EQ(Last(XTYP_CONNECT)->hsz1, L"Topic");
    EXPECT_EQ(Last(XTYP_CONNECT)->hsz2, L"mvlib62.f");
    PumpWaiting();
    EXPECT_NE(Last(XTYP_CONNECT_CONFIRM), nullptr);
    EXPECT_TRUE(DdeDisconnect(conversation));
    EXPECT_TRUE(PumpUntil([] { return Last(XTYP_DISCONNECT) != nullptr; }));
    EXPECT_FALSE(DdeDisconnect(conversation));
    EXPECT_FALSE(DdeDisconnect(nullptr));
}

TEST_F(DdeFunctionsTest, ExecuteDeliversItsBytes) {
    Serve();
    const HCONV conversation = Connect();
    // Some systems take the bytes for text and end them at its NUL.
    wchar_t text[] = L"go";
    const auto bytes = reinterpret_cast<LPBYTE>(text);
    g_answer = DDE_FACK;
    EXPECT_NE(DdeClientTransaction(bytes, sizeof text, conversation, nullptr, 0, XTYP_EXECUTE, 5000, nullptr),
              nullptr);
    ASSERT_NE(Last(XTYP_EXECUTE), nullptr);
    EXPECT_EQ(Last(XTYP_EXECUTE)->bytes, std::string(reinterpret_cast<const char*>(text), sizeof text));
    EXPECT_EQ(Last(XTYP_EXECUTE)->format, 0u);
    EXPECT_EQ(Last(XTYP_EXECUTE)->hsz1, L"Topic");
    EXPECT_EQ(Last(XTYP_EXECUTE)->hsz2, L"");
    g_answer = 0;
    EXPECT_EQ(DdeClientTransaction(bytes, sizeof text, conversation, nullptr, 0, XTYP_EXECUTE, 5000, nullptr),
              nullptr);
    EXPECT_EQ(Error(), static_cast<UINT>(DMLERR_NOTPROCESSED));
    EXPECT_EQ(DdeClientTransaction(nullptr, 0, conversation, nullptr, 0, XTYP_EXECUTE, 5000, nullptr),
              nullptr);
    EXPECT_EQ(Error(), static_cast<UINT>(DMLERR_MEMORY_ERROR));
    DdeDisconnect(conversation);
}

TEST_F(DdeFunctionsTest, AsynchronousExecuteIsCompletedLater) {
    Serve();
    const HCONV conversation = Connect();
    BYTE bytes[] = {1};
    DWORD number = 0;
    g_answer = DDE_FACK;
    EXPECT_NE(DdeClientTransaction(bytes, 1, conversation, nullptr, 0, XTYP_EXECUTE, TIMEOUT_ASYNC, &number),
              nullptr);
    EXPECT_EQ(Last(XTYP_EXECUTE), nullptr);
    EXPECT_TRUE(PumpUntil([] { return Last(XTYP_XACT_COMPLETE) != nullptr; }));
    EXPECT_NE(Last(XTYP_EXECUTE), nullptr);
    EXPECT_EQ(Last(XTYP_XACT_COMPLETE)->data1, number);
    DdeDisconnect(conversation);
}

TEST_F(DdeFunctionsTest, RequestWithoutAnItemIsRefused) {
    Serve();
    const HCONV conversation = Connect();
    EXPECT_EQ(DdeClientTransaction(nullptr, 0, conversation, nullptr, CF_TEXT, XTYP_REQUEST, 5000, nullptr),
              nullptr);
    EXPECT_EQ(Error(), static_cast<UINT>(DMLERR_INVALIDPARAMETER));
    DdeDisconnect(conversation);
}

TEST_F(DdeFunctionsTest, RequestThatIsNotAnsweredIsNotProcessed) {
    Serve();
    const HCONV conversation = Connect();
    EXPECT_EQ(
        DdeClientTransaction(nullptr, 0, conversation, Name(L"Item"), CF_TEXT, XTYP_REQUEST, 5000, nullptr),
        nullptr);
    EXPECT_EQ(Error(), static_cast<UINT>(DMLERR_NOTPROCESSED));
    ASSERT_NE(Last(XTYP_REQUEST), nullptr);
    EXPECT_EQ(Last(XTYP_REQUEST)->hsz1, L"Topic");
    EXPECT_EQ(Last(XTYP_REQUEST)->hsz2, L"Item");
    EXPECT_EQ(Last(XTYP_REQUEST)->format, static_cast<UINT>(CF_TEXT));
    DdeDisconnect(conversation);
}

// ---- error results

TEST_F(DdeFunctionsTest, NobodyToConnectTo) {
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_EQ(Error(), static_cast<UINT>(DMLERR_NO_CONV_ESTABLISHED));
    EXPECT_EQ(Error(), 0u);
}

TEST_F(DdeFunctionsTest, UnknownInstancesAreRefused) {
    DWORD unknown = 1234567;
    EXPECT_EQ(DdeInitializeW(&unknown, &Record, 0, 0), static_cast<UINT>(DMLERR_INVALIDPARAMETER));
    EXPECT_EQ(DdeGetLastError(unknown), static_cast<UINT>(DMLERR_INVALIDPARAMETER));
    EXPECT_FALSE(DdeUninitialize(unknown));
    EXPECT_EQ(DdeCreateStringHandleW(unknown, L"x", CP_WINUNICODE), nullptr);
    EXPECT_EQ(DdeNameService(unknown, Name(L"x"), nullptr, DNS_REGISTER), nullptr);
}
