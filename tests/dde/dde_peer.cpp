// The second process of the tests.
//   dde_peer serve SERVICE TOPIC...          a server that tells on standard output what reaches it
//   dde_peer send SERVICE TOPIC COMMAND...   a client that sends the commands
// Both write one line in UTF-8 for each event. A server ends at the command "quit", and after 60 s in any
// case.
#include <afxwin.h>
#include <TDDEInterface.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace {

CWinApp theApp;

std::wstring FromUtf8(const char* text) {
    wchar_t wide[1024] = {};
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, 1024);
    return wide;
}

void Say(const char* event, const wchar_t* one = nullptr, const wchar_t* two = nullptr) {
    std::string line = event;
    for (const wchar_t* text : {one, two}) {
        char bytes[4096] = {};
        if (text && WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof bytes, nullptr, nullptr))
            line += std::string(" ") + bytes;
    }
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

bool ended;

class Server : public TDDEInterface {
public:
    using TDDEInterface::TDDEInterface;

    int COM_Execute(const wchar_t* command, const wchar_t* topic) override {
        Say("execute", topic, command);
        if (std::wcscmp(command, L"quit") == 0)
            ended = true;
        return std::wcsncmp(command, L"refuse", 6) == 0 ? 0 : 1;
    }
    int COM_Register(const wchar_t* service) override {
        Say("register", service);
        return 1;
    }
    HDDEDATA COM_Request(unsigned int format, const wchar_t* item) override {
        Say("request", item);
        if (std::wcscmp(item, L"nothing") == 0)
            return nullptr;
        char text[64] = "value of ";
        for (std::size_t i = std::strlen(text); *item && i < sizeof text - 1; ++i)
            text[i] = static_cast<char>(*item++);
        return DdeCreateDataHandle(m_dwInstancia, reinterpret_cast<LPBYTE>(text),
                                   static_cast<DWORD>(std::strlen(text) + 1), 0, m_hszServei, format, 0);
    }
};

TDDEInterface* current;

HDDEDATA CALLBACK Callback(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2, HDDEDATA data,
                           ULONG_PTR data1, ULONG_PTR data2) {
    return current->ProcessarCallback(type, format, conversation, hsz1, hsz2, data,
                                      static_cast<unsigned long>(data1), static_cast<unsigned long>(data2));
}

int Serve(const std::vector<std::wstring>& words) {
    Server server(words.at(0).c_str(), words.at(1).c_str(), &Callback);
    current = &server;
    for (std::size_t i = 2; i < words.size(); ++i)
        server.AfegirNouTopic(words[i].c_str());
    if (!server.InitServidor())
        return 1;
    Say("ready");
    const ULONGLONG end = GetTickCount64() + 60000;
    while (!ended && GetTickCount64() < end) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
        Sleep(1);
    }
    return ended ? 0 : 2;
}

int Send(const std::vector<std::wstring>& words) {
    TDDEInterface client(&Callback);
    current = &client;
    const int slot = client.Conectar(words.at(0).c_str(), words.at(1).c_str());
    if (slot < 0)
        return 1;
    for (std::size_t i = 2; i < words.size(); ++i)
        Say(client.EnviarDades(slot, words[i].c_str()) ? "sent" : "failed");
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::wstring> words;
    for (int i = 2; i < argc; ++i)
        words.push_back(FromUtf8(argv[i]));
    const std::string verb = argc > 1 ? argv[1] : "";
    if (verb == "serve")
        return Serve(words);
    return verb == "send" ? Send(words) : 3;
}
