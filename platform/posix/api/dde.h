// Dynamic data exchange management. Include ddelib.h, not this file.
//
// Programs of one user meet in a private folder: $XDG_RUNTIME_DIR/mvlib62-dde, or /tmp/mvlib62-dde-UID where
// that variable names no folder. Each registered service is a socket there. The folder must belong to the
// user and be closed to all others, or nothing works (DMLERR_SYS_ERROR); a peer that runs as another user is
// refused all the same.
//
// Threads: an instance belongs to the thread that made it. Its callback runs on that thread: for connections
// while it looks for messages (PeekMessageW, GetMessageW) or waits in DdeConnect or DdeClientTransaction, for
// transactions while it dispatches messages or waits in DdeClientTransaction. On other threads the instance
// is unknown.
//
// When a thread ends, so do its instances. A static object of the program that is destroyed later finds them
// gone: every function fails then, and DdeInitializeW answers DMLERR_SYS_ERROR.
//
// What is not here does not exist: advise loops, pokes, conversation lists, monitors, security contexts.
#pragma once

#include "../../win32.h"

DECLARE_HANDLE(HCONV);
DECLARE_HANDLE(HSZ);
DECLARE_HANDLE(HDDEDATA);

typedef struct tagHSZPAIR {
    HSZ hszSvc;
    HSZ hszTopic;
} HSZPAIR, *PHSZPAIR;

typedef struct tagCONVCONTEXT CONVCONTEXT, *PCONVCONTEXT;

typedef HDDEDATA(CALLBACK* PFNCALLBACK)(UINT type, UINT format, HCONV conversation, HSZ hsz1, HSZ hsz2,
                                        HDDEDATA data, ULONG_PTR data1, ULONG_PTR data2);

#define CP_WINANSI 1004
#define CP_WINUNICODE 1200
#define CF_TEXT 1
#define CF_UNICODETEXT 13

#define DDE_FACK 0x8000
#define DDE_FBUSY 0x4000
#define DDE_FNOTPROCESSED 0x0000

#define XTYPF_NOBLOCK 0x0002
#define XCLASS_BOOL 0x1000
#define XCLASS_DATA 0x2000
#define XCLASS_FLAGS 0x4000
#define XCLASS_NOTIFICATION 0x8000
#define XTYP_ERROR (0x0000 | XCLASS_NOTIFICATION | XTYPF_NOBLOCK)
#define XTYP_ADVDATA (0x0010 | XCLASS_FLAGS)
#define XTYP_ADVREQ (0x0020 | XCLASS_DATA | XTYPF_NOBLOCK)
#define XTYP_ADVSTART (0x0030 | XCLASS_BOOL)
#define XTYP_ADVSTOP (0x0040 | XCLASS_NOTIFICATION)
#define XTYP_EXECUTE (0x0050 | XCLASS_FLAGS)
#define XTYP_CONNECT (0x0060 | XCLASS_BOOL | XTYPF_NOBLOCK)
#define XTYP_CONNECT_CONFIRM (0x0070 | XCLASS_NOTIFICATION | XTYPF_NOBLOCK)
#define XTYP_XACT_COMPLETE (0x0080 | XCLASS_NOTIFICATION)
#define XTYP_POKE (0x0090 | XCLASS_FLAGS)
#define XTYP_REGISTER (0x00A0 | XCLASS_NOTIFICATION | XTYPF_NOBLOCK)
#define XTYP_REQUEST (0x00B0 | XCLASS_DATA)
#define XTYP_DISCONNECT (0x00C0 | XCLASS_NOTIFICATION | XTYPF_NOBLOCK)
#define XTYP_UNREGISTER (0x00D0 | XCLASS_NOTIFICATION | XTYPF_NOBLOCK)
#define XTYP_WILDCONNECT (0x00E0 | XCLASS_DATA | XTYPF_NOBLOCK)

#define TIMEOUT_ASYNC 0xFFFFFFFF

#define HDATA_APPOWNED 0x0001

#define CBF_FAIL_CONNECTIONS 0x00002000
#define CBF_FAIL_EXECUTES 0x00008000
#define CBF_FAIL_REQUESTS 0x00020000
#define CBF_FAIL_ALLSVRXACTIONS 0x0003f000
#define CBF_SKIP_CONNECT_CONFIRMS 0x00040000
#define CBF_SKIP_REGISTRATIONS 0x00080000
#define CBF_SKIP_UNREGISTRATIONS 0x00100000
#define CBF_SKIP_DISCONNECTS 0x00200000
#define CBF_SKIP_ALLNOTIFICATIONS 0x003c0000
#define APPCMD_CLIENTONLY 0x00000010

#define DNS_REGISTER 0x0001
#define DNS_UNREGISTER 0x0002

#define DMLERR_NO_ERROR 0
#define DMLERR_ADVACKTIMEOUT 0x4000
#define DMLERR_BUSY 0x4001
#define DMLERR_DATAACKTIMEOUT 0x4002
#define DMLERR_DLL_NOT_INITIALIZED 0x4003
#define DMLERR_DLL_USAGE 0x4004
#define DMLERR_EXECACKTIMEOUT 0x4005
#define DMLERR_INVALIDPARAMETER 0x4006
#define DMLERR_LOW_MEMORY 0x4007
#define DMLERR_MEMORY_ERROR 0x4008
#define DMLERR_NOTPROCESSED 0x4009
#define DMLERR_NO_CONV_ESTABLISHED 0x400a
#define DMLERR_POKEACKTIMEOUT 0x400b
#define DMLERR_POSTMSG_FAILED 0x400c
#define DMLERR_REENTRANCY 0x400d
#define DMLERR_SERVER_DIED 0x400e
#define DMLERR_SYS_ERROR 0x400f
#define DMLERR_UNADVACKTIMEOUT 0x4010
#define DMLERR_UNFOUND_QUEUE_ID 0x4011

// ---- Instances

// With *instance 0: a new instance of the calling thread, whose identifier is stored there. Otherwise new
// filters for that instance. 0, or DMLERR_INVALIDPARAMETER (an unknown instance, no callback) or
// DMLERR_MEMORY_ERROR.
MVPLAT_API UINT WINAPI DdeInitializeW(LPDWORD instance, PFNCALLBACK callback, DWORD filters, DWORD reserved);
// Ends its conversations and services and frees its strings. FALSE for an unknown instance.
MVPLAT_API BOOL WINAPI DdeUninitialize(DWORD instance);
// Takes the instance's last error; DMLERR_INVALIDPARAMETER for an unknown instance.
MVPLAT_API UINT WINAPI DdeGetLastError(DWORD instance);

// ---- Strings: texts of 1 to 255 characters

// Texts that are equal without case have one handle in the process, which keeps the first spelling as long as
// it lives. Each success counts for the instance. Null for a null, empty or longer text.
MVPLAT_API HSZ WINAPI DdeCreateStringHandleW(DWORD instance, LPCWSTR text, int codePage);
// Takes one of the instance's counts away; FALSE when it has none.
MVPLAT_API BOOL WINAPI DdeFreeStringHandle(DWORD instance, HSZ string);
// Adds a count.
MVPLAT_API BOOL WINAPI DdeKeepStringHandle(DWORD instance, HSZ string);
// The text's length without its NUL for a null buffer; else copies what fits into `size` characters with a
// NUL and answers the characters copied. 0 for an unknown handle, with an empty text.
MVPLAT_API DWORD WINAPI DdeQueryStringW(DWORD instance, HSZ string, LPWSTR buffer, DWORD size, int codePage);
// 0 for equal handles, else -1 or 1.
MVPLAT_API int WINAPI DdeCmpStringHandles(HSZ one, HSZ two);

// ---- Services and conversations

// DNS_REGISTER: clients find the service from now on, and every instance of the user's programs that wants to
// know is called (XTYP_REGISTER: hsz1 and hsz2 the name), this one included. Several programs may serve one
// name. DNS_UNREGISTER: it ends (XTYP_UNREGISTER); a null name ends all. The answer is only to be compared
// with null: null for a service that is registered already (DMLERR_DLL_USAGE), for an instance for clients
// only (DMLERR_DLL_USAGE), an unknown instance or name (DMLERR_INVALIDPARAMETER), or when the socket could
// not be made (DMLERR_SYS_ERROR).
MVPLAT_API HDDEDATA WINAPI DdeNameService(DWORD instance, HSZ service, HSZ reserved, UINT command);
// Asks the servers of the service, or all when it is null, for the topic, or for any when it is null; each
// may take up to 5 s to answer. The first that accepts is connected. A server whose list of pairs answers a
// wildcard gets the first whole pair of it. Null with DMLERR_NO_CONV_ESTABLISHED when nobody accepts.
MVPLAT_API HCONV WINAPI DdeConnect(DWORD instance, HSZ service, HSZ topic, PCONVCONTEXT context);
// Ends a conversation; what was sent before still arrives. FALSE when there is none, and no error is
// recorded.
MVPLAT_API BOOL WINAPI DdeDisconnect(HCONV conversation);
// XTYP_EXECUTE (bytes, no item) and XTYP_REQUEST (item, format, no bytes). With a timeout in ms: waits for
// the answer, and answers 1 or the data (freed by the caller); `result` gets the server's flags. With
// TIMEOUT_ASYNC: sends, stores the transaction's number in `result`, answers 1; the callback gets
// XTYP_XACT_COMPLETE later. Null on failure: DMLERR_EXECACKTIMEOUT or DMLERR_DATAACKTIMEOUT,
// DMLERR_NOTPROCESSED (refused), DMLERR_BUSY, DMLERR_SERVER_DIED, DMLERR_REENTRANCY (another transaction of
// the instance is being waited for), DMLERR_MEMORY_ERROR (an execute without bytes, more than 64 MiB),
// DMLERR_INVALIDPARAMETER, DMLERR_POSTMSG_FAILED; a null conversation records nothing.
MVPLAT_API HDDEDATA WINAPI DdeClientTransaction(LPBYTE data, DWORD size, HCONV conversation, HSZ item,
                                                UINT format, UINT type, DWORD timeout, LPDWORD result);

// ---- Data

// `size` bytes copied behind `offset` zero ones. Null without memory or for an unknown instance.
MVPLAT_API HDDEDATA WINAPI DdeCreateDataHandle(DWORD instance, LPBYTE bytes, DWORD size, DWORD offset,
                                               HSZ item, UINT format, UINT command);
// The whole size for a null buffer; else copies up to `size` bytes from `offset` on and answers how many.
MVPLAT_API DWORD WINAPI DdeGetData(HDDEDATA data, LPBYTE buffer, DWORD size, DWORD offset);
// The bytes, valid until the handle is freed; null for an unknown handle.
MVPLAT_API LPBYTE WINAPI DdeAccessData(HDDEDATA data, LPDWORD size);
MVPLAT_API BOOL WINAPI DdeUnaccessData(HDDEDATA data);
// FALSE for what is no data handle.
MVPLAT_API BOOL WINAPI DdeFreeDataHandle(HDDEDATA data);
