// Conversations between programs by dynamic data exchange (DDE): TDDEInterface is a server of one service
// with up to ten topics and holds up to ten client conversations; TConexioDDE is one such conversation.
//
// A client names a service and a topic, and sends commands (wide texts) or asks for items. An application
// derives from TDDEInterface, overrides the three handlers, and hands over a static callback, which forwards
// every call to the one object that it knows:
//
//     HDDEDATA CALLBACK Callback(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2,
//                                HDDEDATA data, ULONG_PTR data1, ULONG_PTR data2) {
//         return server.ProcessarCallback(type, format, conversation, hsz1, hsz2, data, data1, data2);
//     }
//     server.InitServidor();                             // answers while the thread pumps messages
//     const int slot = server.Conectar(L"Printer", L"Jobs");
//     server.EnviarDades(slot, L"[Print(\"a.tif\")]");
//
// Threads: everything of an object, its callback included, belongs to the thread that calls InitServidor and
// Conectar, and that thread must pump messages (GetMessageW, PeekMessageW, DispatchMessageW). Nothing is
// locked and nothing throws. Errors that the DDE library records are shown in a message box (CheckErrorDDE).
//
// Names of services and topics match without case. Texts travel as wide characters with their NUL. On Linux
// the same functions work over sockets in the user's private runtime folder; only programs of the same user
// meet there.
#pragma once

#include "mvlib_export.h"

#include "afx.h"

#include "ddelib.h"

// A client conversation. It only holds names: every transfer opens a conversation of its own and closes it.
// Copies share the handles of the original, and the first object that ends them leaves the other with none
// that work: copy only what will not be used twice.
class MVLIB_API TConexioDDE {
public:
    TConexioDDE();
    TConexioDDE(const TConexioDDE&) = default;
    TConexioDDE& operator=(const TConexioDDE&) = default;
    virtual ~TConexioDDE(); // Desconectar()

    // Leaves the present names and takes new ones: a DDE instance of its own for `pfnCallback`, without any
    // notifications, and the handles of both names. Nothing is asked of the server yet. 1 on success; 0 when
    // the instance (then an error is shown) or one of the handles could not be made.
    int Conectar(const wchar_t* szServei, const wchar_t* szTopic, PFNCALLBACK pfnCallback);
    // 1 while there are an instance and both handles, else 0.
    int Conectat() const;
    // Frees the handles and the instance, if any. Always 1.
    int Desconectar();

    // Opens a conversation, sends the command and closes the conversation without waiting for the server's
    // answer. 1 when the command was sent. 0 when not connected, when no server answered (no box is shown),
    // when an error was pending (shown), when sending failed, or for a null command.
    int EnviarDades(const wchar_t* szComanda);
    // Kept: never delivers data. Null when not connected, when the server answered (its conversation stays
    // open until Desconectar), or when an error is pending, which is shown. Only when connecting failed
    // without any error is a request for the text format sent, waiting up to `dwTimeout` ms, and its handle
    // is freed before it is returned: it must not be used.
    HDDEDATA DemanarDades(const wchar_t* szItem, unsigned long dwTimeout);

protected:
    HSZ m_hszServei;     // null while not connected
    HSZ m_hszTopic;      // null while not connected
    DWORD m_dwInstancia; // DDE instance; 0 while there is none
};

// A server and a table of conversations. Copies share all handles, as with TConexioDDE.
class MVLIB_API TDDEInterface {
public:
    enum { MAX_TOPICS = 10, MAX_CONEXIONS = 30 };

    // Without service and topics. `pfnCallback` is the application's callback for the server and for every
    // conversation.
    explicit TDDEInterface(PFNCALLBACK pfnCallback);
    // The topic becomes the first. A null text is empty, here and for topics.
    TDDEInterface(const wchar_t* szServei, const wchar_t* szTopic, PFNCALLBACK pfnCallback);
    TDDEInterface(const TDDEInterface&) = default;
    TDDEInterface& operator=(const TDDEInterface&) = default;
    // DoneServidor(), then ends all conversations.
    virtual ~TDDEInterface();

    // ---- Handlers, called by ProcessarCallback. The texts are valid during the call only.

    // A command for `szTopic` (the first topic when the conversation's is none of ours). `szComanda` is null
    // when the client sent no bytes. Above 0: accepted. The base answers 1.
    virtual int COM_Execute(const wchar_t* szComanda, const wchar_t* szTopic);
    // A service was registered, in this or in another program. The result is not used. The base answers 1.
    virtual int COM_Register(const wchar_t* szServei);
    // An item is asked for, in a clipboard format. The handle (DdeCreateDataHandle) goes to the DDE library;
    // null refuses. The base answers the value 1, which is no handle: a server that can be asked overrides
    // it.
    virtual HDDEDATA COM_Request(unsigned int nFormat, const wchar_t* szItem);

    // ---- Server

    // Starts the server: its instance, the service's name, the topics' handles. 1 on success. 0 on failure,
    // with a box when the DDE library recorded an error; what was made stays until DoneServidor.
    int InitServidor();
    // Takes the service's name back and frees everything of the server's. Always 1, also when not running.
    int DoneServidor();
    // Takes the first free slot, also while the server runs. 1 on success; 0 when all ten are taken or the
    // topic's handle could not be made (the slot is taken then all the same). An empty name leaves the slot
    // free.
    int AfegirNouTopic(const wchar_t* szTopic);
    // Removes the first topic of that name, without case. 1 when there was one, else 0 (also for null). Kept:
    // the running server goes on accepting the old handle until the slot is taken again.
    int BorrarTopic(const wchar_t* szTopic);

    // ---- Conversations

    // Opens a conversation in the first free slot and answers the slot, 0 to 9. -1 when none is free or it
    // could not be opened. (Kept: thirty slots exist, ten are handed out.)
    int Conectar(const wchar_t* szServei, const wchar_t* szTopic);
    // What TConexioDDE says, for the conversation in a slot; 0 (null) for a slot outside 0 to 29, and for
    // transfers on a slot that is not connected, without a box.
    int Desconectar(int nConexio);
    int EnviarDades(int nConexio, const wchar_t* szComanda);
    HDDEDATA DemanarDades(int nConexio, const wchar_t* szItem, unsigned long dwTimeout);

    // ---- Callback

    // Deals with a call of the application's callback:
    //   XTYP_REGISTER     calls COM_Register; 1
    //   XTYP_CONNECT      1 when the topic in hsz1 is one of ours, else 0
    //   XTYP_WILDCONNECT  the pairs of service and topic for hsz1, or for all ten slots when it is null,
    //                     empty slots included. Kept: the data handle covers half of the list's bytes.
    //   XTYP_EXECUTE      calls COM_Execute; DDE_FACK when it accepts, else 0
    //   XTYP_REQUEST      what COM_Request answers
    // Anything else is answered 0.
    HDDEDATA ProcessarCallback(unsigned int nTipus, unsigned int nFormat, HCONV hConversa, HSZ hsz1, HSZ hsz2,
                               HDDEDATA hDades, unsigned long dwDades1, unsigned long dwDades2);

    // 0 when the instance has no pending error. Otherwise takes the error, shows it in a box with an
    // exclamation mark and an OK button, and answers 1. The caption is " DDE_ERROR " for the codes 0x4000 to
    // 0x4010 except 0x4007, " ERROR " with the text "ERROR DESCONEGUT" for all others.
    static int CheckErrorDDE(unsigned long dwInstancia);

protected:
    // The first topic slot with an empty name; -1 when there is none.
    int BuscarTopicLliure() const;
    // The first of the conversation slots 0 to 9 that is not connected; -1 when there is none.
    int BuscarConexioLliure() const;

    DWORD m_dwInstancia; // server's DDE instance; 0 while it does not run
    CString m_strServei;
    CString m_strTopics[MAX_TOPICS]; // an empty name marks a free slot
    PFNCALLBACK m_pfnCallback;
    HSZ m_hszServei;
    HSZ m_hszTopics[MAX_TOPICS]; // beside the names; null without a handle
    TConexioDDE m_conexions[MAX_CONEXIONS];
};
