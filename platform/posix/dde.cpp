// The functions of dynamic data exchange, over what the thread keeps.
#include "internal/dde_thread.h"

#include <atomic>
#include <cstring>
#include <utility>

using namespace mvplat;

namespace {

// For who knows of an instance or a conversation, and so of the thread.
dde::Thread& thread() {
    return *dde::Thread::current();
}

dde::Instance* instanceOf(DWORD number) {
    dde::Thread* const current = dde::Thread::current();
    return current ? current->instance(number) : nullptr;
}

dde::Conversation* conversationOf(HCONV handle) {
    dde::Thread* const current = dde::Thread::current();
    return current ? current->conversation(handle) : nullptr;
}

// What a function answers that runs out of memory, its instance's error set.
template <class Result, class Body>
Result inInstance(DWORD number, Result failure, Body body) noexcept {
    try {
        if (dde::Instance* const instance = instanceOf(number))
            return body(*instance);
        return failure;
    } catch (const std::bad_alloc&) {
        if (dde::Instance* const instance = instanceOf(number)) {
            instance->error = DMLERR_MEMORY_ERROR;
            instance->waiting = false;
        }
        return failure;
    }
}

template <class Result>
Result fail(dde::Instance& instance, UINT error, Result result) {
    instance.error = error;
    return result;
}

HDDEDATA done(std::uintptr_t number = 1) {
    return reinterpret_cast<HDDEDATA>(number);
}

// The number of a transaction within the process.
std::uint32_t nextTransaction() {
    static std::atomic<std::uint32_t> last{0};
    std::uint32_t number = ++last;
    return number != 0 ? number : ++last;
}

} // namespace

UINT DdeInitializeW(LPDWORD instance, PFNCALLBACK callback, DWORD filters, DWORD) {
    if (!instance || !callback)
        return DMLERR_INVALIDPARAMETER;
    try {
        if (!dde::Thread::current())
            return DMLERR_SYS_ERROR;
        if (*instance == 0) {
            *instance = thread().addInstance(callback, filters);
            return DMLERR_NO_ERROR;
        }
        dde::Instance* const known = thread().instance(*instance);
        if (!known)
            return DMLERR_INVALIDPARAMETER;
        known->filters = filters;
        thread().watch();
        return DMLERR_NO_ERROR;
    } catch (const std::bad_alloc&) {
        return DMLERR_MEMORY_ERROR;
    }
}

BOOL DdeUninitialize(DWORD instance) {
    return inInstance(instance, FALSE, [=](dde::Instance&) {
        thread().removeInstance(instance);
        return TRUE;
    });
}

UINT DdeGetLastError(DWORD instance) {
    return inInstance(instance, UINT{DMLERR_INVALIDPARAMETER},
                      [](dde::Instance& own) { return std::exchange(own.error, UINT{DMLERR_NO_ERROR}); });
}

HSZ DdeCreateStringHandleW(DWORD instance, LPCWSTR text, int) {
    return inInstance(instance, HSZ{nullptr}, [=](dde::Instance& own) {
        const HSZ string = text ? dde::openString(text) : nullptr;
        if (string)
            ++own.strings[string];
        return string;
    });
}

BOOL DdeFreeStringHandle(DWORD instance, HSZ string) {
    return inInstance(instance, FALSE, [=](dde::Instance& own) {
        const auto found = own.strings.find(string);
        if (found == own.strings.end())
            return FALSE;
        if (--found->second == 0)
            own.strings.erase(found);
        dde::closeString(string);
        return TRUE;
    });
}

BOOL DdeKeepStringHandle(DWORD instance, HSZ string) {
    return inInstance(instance, FALSE, [=](dde::Instance& own) {
        if (!dde::keepString(string))
            return FALSE;
        ++own.strings[string];
        return TRUE;
    });
}

HDDEDATA DdeNameService(DWORD instance, HSZ service, HSZ, UINT command) {
    return inInstance(instance, HDDEDATA{nullptr}, [=](dde::Instance& own) {
        const std::wstring name = dde::textOf(service);
        const std::wstring folded = dde::foldedName(name);
        const bool registers = (command & DNS_REGISTER) != 0;
        if ((service && name.empty()) || (registers && !service) ||
            (command & (DNS_REGISTER | DNS_UNREGISTER)) == 0)
            return fail(own, DMLERR_INVALIDPARAMETER, HDDEDATA{nullptr});
        if (!registers) {
            if (service)
                own.services.erase(folded);
            else
                own.services.clear();
            return done();
        }
        if ((own.filters & APPCMD_CLIENTONLY) != 0 || own.services.count(folded) != 0)
            return fail(own, DMLERR_DLL_USAGE, HDDEDATA{nullptr});
        dde::Registration registration;
        if (!registration.begin(name))
            return fail(own, DMLERR_SYS_ERROR, HDDEDATA{nullptr});
        own.services.emplace(folded, std::move(registration));
        return done();
    });
}

HCONV DdeConnect(DWORD instance, HSZ service, HSZ topic, PCONVCONTEXT) {
    return inInstance(instance, HCONV{nullptr}, [=](dde::Instance& own) {
        const std::wstring serviceName = dde::textOf(service);
        const std::wstring topicName = dde::textOf(topic);
        if ((service && serviceName.empty()) || (topic && topicName.empty()))
            return fail(own, DMLERR_INVALIDPARAMETER, HCONV{nullptr});
        return thread().connect(instance, serviceName, topicName);
    });
}

BOOL DdeDisconnect(HCONV conversation) {
    if (!conversationOf(conversation))
        return FALSE;
    thread().disconnect(conversation);
    return TRUE;
}

HDDEDATA DdeClientTransaction(LPBYTE data, DWORD size, HCONV conversation, HSZ item, UINT format, UINT type,
                              DWORD timeout, LPDWORD result) {
    dde::Conversation* const found = conversationOf(conversation);
    if (!found)
        return nullptr;
    const DWORD number = found->instance;
    return inInstance(number, HDDEDATA{nullptr}, [=](dde::Instance& own) {
        const HDDEDATA nothing = nullptr;
        const bool executes = type == XTYP_EXECUTE;
        dde::Message message;
        message.type = executes ? dde::Type::Execute : dde::Type::Request;
        message.number = nextTransaction();
        const std::wstring itemText = dde::textOf(item);
        if (executes) {
            if (!data || size == 0 || size > dde::longestBody)
                return fail(own, DMLERR_MEMORY_ERROR, nothing);
            message.putRest(data, size);
        } else if (type == XTYP_REQUEST && !itemText.empty()) {
            message.put(format);
            message.put(itemText);
        } else {
            return fail(own, DMLERR_INVALIDPARAMETER, nothing);
        }
        if (!found->client)
            return fail(own, DMLERR_INVALIDPARAMETER, nothing);
        const bool waits = timeout != TIMEOUT_ASYNC;
        if (waits && own.waiting)
            return fail(own, DMLERR_REENTRANCY, nothing);
        if (found->ended)
            return fail(own, DMLERR_SERVER_DIED, nothing);
        if (waits)
            found->awaited = message.number;
        else
            found->asynchronous[message.number] = {type, format, itemText};
        if (!found->link.send(message))
            return fail(own, DMLERR_POSTMSG_FAILED, nothing);
        if (!waits) {
            if (result)
                *result = message.number;
            return done();
        }

        own.waiting = true;
        std::optional<dde::Message> answer;
        bool gone = false;
        thread().wait(GetTickCount64() + timeout, true, -1, [&] {
            dde::Conversation* const now = thread().conversation(conversation);
            gone = !now || (now->ended && !now->answer);
            if (now && now->answer)
                answer = std::exchange(now->answer, std::nullopt);
            return gone || answer.has_value();
        });
        dde::Instance* const still = thread().instance(number);
        if (!still)
            return nothing;
        still->waiting = false;
        if (dde::Conversation* const now = thread().conversation(conversation))
            now->awaited = 0;
        if (!answer)
            return fail(*still,
                        gone       ? UINT{DMLERR_SERVER_DIED}
                        : executes ? UINT{DMLERR_EXECACKTIMEOUT}
                                   : UINT{DMLERR_DATAACKTIMEOUT},
                        nothing);
        dde::BodyReader reader(*answer);
        const std::uint32_t flags = reader.number();
        if (result)
            *result = flags;
        if ((flags & DDE_FACK) == 0)
            return fail(*still, (flags & DDE_FBUSY) != 0 ? DMLERR_BUSY : DMLERR_NOTPROCESSED, nothing);
        return executes ? done() : dde::openData({reader.rest(), false});
    });
}

HDDEDATA DdeCreateDataHandle(DWORD instance, LPBYTE bytes, DWORD size, DWORD offset, HSZ, UINT,
                             UINT command) {
    return inInstance(instance, HDDEDATA{nullptr}, [=](dde::Instance&) {
        dde::Data data;
        data.appOwned = (command & HDATA_APPOWNED) != 0;
        data.bytes.resize(std::size_t{offset} + size);
        if (bytes && size > 0)
            std::memcpy(data.bytes.data() + offset, bytes, size);
        return dde::openData(std::move(data));
    });
}
