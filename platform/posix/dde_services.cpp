#include "dde_services.h"

#include "internal/dde_folder.h"
#include "internal/dde_wire.h"
#include "internal/handles.h"

#include <poll.h>

using namespace mvplat;

namespace {

// The server's answer; false when there is none in time.
bool ask(dde::Link& link, dde::Message& message, DWORD milliseconds) {
    message.type = dde::Type::Enumerate;
    message.put(std::wstring_view());
    message.put(std::wstring_view());
    if (!link.send(message))
        return false;
    for (const ULONGLONG end = GetTickCount64() + milliseconds;;) {
        const dde::Link::Received received = link.receive(message);
        const ULONGLONG now = GetTickCount64();
        if (received != dde::Link::Received::Nothing)
            return received == dde::Link::Received::Whole;
        if (now >= end)
            return false;
        pollfd descriptor = {link.socket(), POLLIN, 0};
        ::poll(&descriptor, 1, static_cast<int>(end - now));
    }
}

// False when the visitor wants no more.
bool visitService(const std::wstring& service, const dde::Message* pairs, MvDdeServiceVisitor visitor,
                  void* user) {
    bool named = false;
    if (pairs && pairs->type == dde::Type::Pairs) {
        dde::BodyReader reader(*pairs);
        while (!reader.atEnd()) {
            const std::wstring pairService = reader.text();
            const std::wstring topic = reader.text();
            if (!reader.good())
                break;
            named = true;
            if (!visitor(pairService.c_str(), topic.c_str(), user))
                return false;
        }
    }
    return named || visitor(service.c_str(), L"", user);
}

} // namespace

BOOL MvListDdeServices(MvDdeServiceVisitor visitor, void* user, DWORD milliseconds) {
    return guarded(FALSE, [&] {
        const dde::Descriptor folder = dde::openFolder();
        if (!folder)
            return FALSE;
        for (const std::string& name : dde::socketsOf(folder, {})) {
            dde::Link link(dde::connectTo(folder, name, milliseconds).detach());
            if (!link.open())
                continue; // left by a program that was killed
            dde::Message answer;
            const bool answered = ask(link, answer, milliseconds);
            const std::wstring service = dde::serviceOf(folder, name);
            if (!service.empty() && !visitService(service, answered ? &answer : nullptr, visitor, user))
                break;
        }
        return TRUE;
    });
}
