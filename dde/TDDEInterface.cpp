#include "TDDEInterface.h"

#include <memory>
#include <new>

namespace {

struct ErrorText {
    UINT code;
    const wchar_t* text;
};

// Kept: 0x4007 (low memory) and 0x4011 (queue id not found) are not in the table.
constexpr ErrorText errorTexts[] = {
    {DMLERR_ADVACKTIMEOUT, L"ADV ACK TIMEOUT"},
    {DMLERR_BUSY, L"Servidor Ocupado"},
    {DMLERR_DATAACKTIMEOUT, L"DATA ACK TIMEOUT"},
    {DMLERR_DLL_NOT_INITIALIZED, L"DLL no inicializada"},
    {DMLERR_DLL_USAGE, L"DLL_USAGE"},
    {DMLERR_EXECACKTIMEOUT, L"EXEC ACK TIMEOUT"},
    {DMLERR_INVALIDPARAMETER, L"InvalidParameter"},
    {DMLERR_MEMORY_ERROR, L"Error de Memoria"},
    {DMLERR_NOTPROCESSED, L"No proces\u00F3 transacci\u00F3n"},
    {DMLERR_NO_CONV_ESTABLISHED, L"No se estableci\u00F3 conversaci\u00F3n"},
    {DMLERR_POKEACKTIMEOUT, L"POKE ACK ERROR"},
    {DMLERR_POSTMSG_FAILED, L"Fallo en PostMessage"},
    {DMLERR_REENTRANCY, L"Reentrancy error"},
    {DMLERR_SERVER_DIED, L"Servidor a muerto"},
    {DMLERR_SYS_ERROR, L"Sys Error"},
    {DMLERR_UNADVACKTIMEOUT, L"UNADV ACK TIMEOUT"},
};

// What the callback answers where a number is meant.
HDDEDATA answerOf(ULONG_PTR number) {
    return reinterpret_cast<HDDEDATA>(number);
}

CString textOf(DWORD instance, HSZ handle) {
    const DWORD length = ::DdeQueryStringW(instance, handle, nullptr, 0, CP_WINUNICODE);
    CString text;
    wchar_t* const buffer = text.GetBuffer(static_cast<int>(length));
    buffer[0] = 0;
    ::DdeQueryStringW(instance, handle, buffer, length + 1, CP_WINUNICODE);
    text.ReleaseBuffer();
    return text;
}

// A copy of the bytes of a data handle with a NUL behind them, since a client need not send one; null for no
// bytes or no memory.
std::unique_ptr<wchar_t[]> bytesOf(HDDEDATA data) {
    const DWORD size = ::DdeGetData(data, nullptr, 0, 0);
    if (size == 0)
        return nullptr;
    std::unique_ptr<wchar_t[]> bytes(new (std::nothrow) wchar_t[size / sizeof(wchar_t) + 2]());
    if (bytes)
        ::DdeGetData(data, reinterpret_cast<LPBYTE>(bytes.get()), size, 0);
    return bytes;
}

} // namespace

TDDEInterface::TDDEInterface(PFNCALLBACK pfnCallback)
    : TDDEInterface(L"", L"", pfnCallback) {}

TDDEInterface::TDDEInterface(const wchar_t* szServei, const wchar_t* szTopic, PFNCALLBACK pfnCallback)
    : m_dwInstancia(0)
    , m_strServei(szServei)
    , m_pfnCallback(pfnCallback)
    , m_hszServei(nullptr)
    , m_hszTopics() {
    m_strTopics[0] = szTopic;
}

TDDEInterface::~TDDEInterface() {
    DoneServidor();
    for (TConexioDDE& connection : m_conexions)
        connection.Desconectar();
}

int TDDEInterface::COM_Execute(const wchar_t*, const wchar_t*) {
    return 1;
}
int TDDEInterface::COM_Register(const wchar_t*) {
    return 1;
}
HDDEDATA TDDEInterface::COM_Request(unsigned int, const wchar_t*) {
    return answerOf(1);
}

// ---- Server

int TDDEInterface::InitServidor() {
    ::DdeInitializeW(&m_dwInstancia, m_pfnCallback, 0, 0);
    if (CheckErrorDDE(m_dwInstancia))
        return 0;
    m_hszServei = ::DdeCreateStringHandleW(m_dwInstancia, m_strServei, CP_WINUNICODE);
    ::DdeNameService(m_dwInstancia, m_hszServei, nullptr, DNS_REGISTER);
    if (CheckErrorDDE(m_dwInstancia))
        return 0;
    for (int i = 0; i < MAX_TOPICS; ++i) {
        if (m_strTopics[i].IsEmpty())
            continue;
        m_hszTopics[i] = ::DdeCreateStringHandleW(m_dwInstancia, m_strTopics[i], CP_WINUNICODE);
        if (!m_hszTopics[i])
            return 0;
    }
    return 1;
}

int TDDEInterface::DoneServidor() {
    if (!m_dwInstancia)
        return 1;
    ::DdeNameService(m_dwInstancia, m_hszServei, nullptr, DNS_UNREGISTER);
    for (HSZ& topic : m_hszTopics) {
        if (topic)
            ::DdeFreeStringHandle(m_dwInstancia, topic);
        topic = nullptr;
    }
    if (m_hszServei)
        ::DdeFreeStringHandle(m_dwInstancia, m_hszServei);
    m_hszServei = nullptr;
    ::DdeUninitialize(m_dwInstancia);
    m_dwInstancia = 0;
    return 1;
}

int TDDEInterface::BuscarTopicLliure() const {
    for (int i = 0; i < MAX_TOPICS; ++i)
        if (m_strTopics[i].IsEmpty())
            return i;
    return -1;
}

int TDDEInterface::AfegirNouTopic(const wchar_t* szTopic) {
    const int slot = BuscarTopicLliure();
    if (slot < 0)
        return 0;
    m_strTopics[slot] = szTopic;
    if (!m_dwInstancia)
        return 1;
    m_hszTopics[slot] = ::DdeCreateStringHandleW(m_dwInstancia, szTopic, CP_WINUNICODE);
    return m_hszTopics[slot] != nullptr;
}

int TDDEInterface::BorrarTopic(const wchar_t* szTopic) {
    for (int i = 0; szTopic && i < MAX_TOPICS; ++i) {
        if (m_strTopics[i].CompareNoCase(szTopic) != 0)
            continue;
        if (m_hszTopics[i])
            ::DdeFreeStringHandle(m_dwInstancia, m_hszTopics[i]);
        // Kept: the freed handle stays in the slot, where it still counts as a topic until the slot is used
        // again.
        m_strTopics[i].Empty();
        return 1;
    }
    return 0;
}

// ---- Conversations

int TDDEInterface::BuscarConexioLliure() const {
    for (int i = 0; i < 10; ++i)
        if (!m_conexions[i].Conectat())
            return i;
    return -1;
}

int TDDEInterface::Conectar(const wchar_t* szServei, const wchar_t* szTopic) {
    const int slot = BuscarConexioLliure();
    if (slot < 0)
        return -1;
    return m_conexions[slot].Conectar(szServei, szTopic, m_pfnCallback) ? slot : -1;
}

int TDDEInterface::Desconectar(int nConexio) {
    if (nConexio < 0 || nConexio >= MAX_CONEXIONS)
        return 0;
    return m_conexions[nConexio].Desconectar();
}

int TDDEInterface::EnviarDades(int nConexio, const wchar_t* szComanda) {
    if (nConexio < 0 || nConexio >= MAX_CONEXIONS || !m_conexions[nConexio].Conectat())
        return 0;
    return m_conexions[nConexio].EnviarDades(szComanda);
}

HDDEDATA TDDEInterface::DemanarDades(int nConexio, const wchar_t* szItem, unsigned long dwTimeout) {
    if (nConexio < 0 || nConexio >= MAX_CONEXIONS || !m_conexions[nConexio].Conectat())
        return nullptr;
    return m_conexions[nConexio].DemanarDades(szItem, dwTimeout);
}

// ---- Callback

HDDEDATA TDDEInterface::ProcessarCallback(unsigned int nTipus, unsigned int nFormat, HCONV, HSZ hsz1,
                                          HSZ hsz2, HDDEDATA hDades, unsigned long, unsigned long) {
    switch (nTipus) {
    case XTYP_REGISTER:
        COM_Register(textOf(m_dwInstancia, hsz1));
        return answerOf(1);

    case XTYP_CONNECT:
        for (HSZ topic : m_hszTopics)
            if (topic == hsz1)
                return answerOf(1);
        return answerOf(0);

    case XTYP_WILDCONNECT: {
        HSZPAIR pairs[MAX_TOPICS + 1] = {};
        int count = 0;
        for (HSZ topic : m_hszTopics)
            if (!hsz1 || topic == hsz1)
                pairs[count++] = {m_hszServei, topic};
        // Kept: the length counts one handle for each pair, which is half of the list.
        return ::DdeCreateDataHandle(m_dwInstancia, reinterpret_cast<LPBYTE>(pairs),
                                     static_cast<DWORD>((count + 1) * sizeof(HSZ)), 0, nullptr, 0, 0);
    }

    case XTYP_EXECUTE: {
        int slot = 0;
        for (int i = 0; i < MAX_TOPICS; ++i)
            if (m_hszTopics[i] == hsz1) {
                slot = i;
                break;
            }
        int accepted;
        {
            const std::unique_ptr<wchar_t[]> command = bytesOf(hDades);
            // The topic's name outlives a handler that removes the topic.
            const CString topic = m_strTopics[slot];
            accepted = COM_Execute(command.get(), topic);
        }
        ::DdeUnaccessData(hDades);
        return answerOf(accepted > 0 ? DDE_FACK : 0);
    }

    case XTYP_REQUEST:
        return COM_Request(nFormat, textOf(m_dwInstancia, hsz2));

    default:
        return answerOf(0);
    }
}

int TDDEInterface::CheckErrorDDE(unsigned long dwInstancia) {
    const UINT code = ::DdeGetLastError(static_cast<DWORD>(dwInstancia));
    if (code == DMLERR_NO_ERROR)
        return 0;
    const wchar_t* caption = L" ERROR ";
    const wchar_t* text = L"ERROR DESCONEGUT";
    for (const ErrorText& known : errorTexts)
        if (known.code == code) {
            caption = L" DDE_ERROR ";
            text = known.text;
        }
    ::MessageBoxW(nullptr, text, caption, MB_OK | MB_ICONEXCLAMATION);
    return 1;
}
