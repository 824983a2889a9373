#include "TDDEInterface.h"

#include <cwchar>

TConexioDDE::TConexioDDE()
    : m_hszServei(nullptr)
    , m_hszTopic(nullptr)
    , m_dwInstancia(0) {}

TConexioDDE::~TConexioDDE() {
    Desconectar();
}

int TConexioDDE::Conectar(const wchar_t* szServei, const wchar_t* szTopic, PFNCALLBACK pfnCallback) {
    Desconectar();
    ::DdeInitializeW(&m_dwInstancia, pfnCallback, CBF_SKIP_ALLNOTIFICATIONS, 0);
    if (TDDEInterface::CheckErrorDDE(m_dwInstancia))
        return 0;
    m_hszServei = ::DdeCreateStringHandleW(m_dwInstancia, szServei, CP_WINUNICODE);
    m_hszTopic = ::DdeCreateStringHandleW(m_dwInstancia, szTopic, CP_WINUNICODE);
    return m_hszServei && m_hszTopic;
}

int TConexioDDE::Conectat() const {
    return m_dwInstancia && m_hszServei && m_hszTopic;
}

int TConexioDDE::Desconectar() {
    if (!m_dwInstancia)
        return 1;
    for (HSZ* handle : {&m_hszServei, &m_hszTopic}) {
        if (*handle)
            ::DdeFreeStringHandle(m_dwInstancia, *handle);
        *handle = nullptr;
    }
    ::DdeUninitialize(m_dwInstancia);
    m_dwInstancia = 0;
    return 1;
}

int TConexioDDE::EnviarDades(const wchar_t* szComanda) {
    if (!Conectat() || !szComanda)
        return 0;
    const HCONV conversation = ::DdeConnect(m_dwInstancia, m_hszServei, m_hszTopic, nullptr);
    if (!conversation)
        return 0;
    int sent = 0;
    if (!TDDEInterface::CheckErrorDDE(m_dwInstancia)) {
        const std::size_t size = (std::wcslen(szComanda) + 1) * sizeof(wchar_t);
        auto* const bytes = reinterpret_cast<LPBYTE>(const_cast<wchar_t*>(szComanda));
        const HDDEDATA answer = ::DdeClientTransaction(bytes, static_cast<DWORD>(size), conversation, nullptr,
                                                       0, XTYP_EXECUTE, TIMEOUT_ASYNC, nullptr);
        // Kept: the answer to an asynchronous transaction is no data, and freeing it records an error.
        if (answer) {
            ::DdeFreeDataHandle(answer);
            sent = 1;
        }
    }
    ::DdeDisconnect(conversation);
    // The next transfer shall not report what this one left behind.
    ::DdeGetLastError(m_dwInstancia);
    return sent;
}

HDDEDATA TConexioDDE::DemanarDades(const wchar_t* szItem, unsigned long dwTimeout) {
    if (!Conectat())
        return nullptr;
    // Kept: a conversation that opens is neither used nor closed; the request goes out only without one.
    HCONV const conversation = ::DdeConnect(m_dwInstancia, m_hszServei, m_hszTopic, nullptr);
    if (conversation || TDDEInterface::CheckErrorDDE(m_dwInstancia))
        return nullptr;
    const HSZ item = ::DdeCreateStringHandleW(m_dwInstancia, szItem, CP_WINUNICODE);
    const HDDEDATA data = ::DdeClientTransaction(nullptr, 0, conversation, item, CF_TEXT, XTYP_REQUEST,
                                                 static_cast<DWORD>(dwTimeout), nullptr);
    // The item's handle goes with the instance.
    if (data)
        ::DdeFreeDataHandle(data);
    ::DdeDisconnect(conversation);
    return data; // kept: freed already
}
