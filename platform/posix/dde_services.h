// The services of the user's programs: what Windows programs learn by a broadcast message. Only sources built
// for POSIX include this header.
#pragma once

#include "../win32.h"

// Called for each pair of a service and a topic, and with an empty topic for a service that names none. FALSE
// ends the list.
typedef BOOL (*MvDdeServiceVisitor)(LPCWSTR service, LPCWSTR topic, void* user);

// Asks every registered service of the user for the topics that it lists (XTYP_WILDCONNECT), each for up to
// `milliseconds`, in the order of the services' names. FALSE when there is no private folder to look into.
// The calling thread's own services do not answer: it does not handle messages meanwhile.
MVPLAT_API BOOL MvListDdeServices(MvDdeServiceVisitor visitor, void* user, DWORD milliseconds);
