#include "dde.h"

#include <posix/dde_services.h>

namespace mvtool::dde {

std::vector<Pair> services() {
    constexpr DWORD kPatience = 2000;
    std::vector<Pair> pairs;
    const auto keep = [](LPCWSTR service, LPCWSTR topic, void* user) -> BOOL {
        static_cast<std::vector<Pair>*>(user)->push_back({service, topic});
        return TRUE;
    };
    if (!MvListDdeServices(keep, &pairs, kPatience)) {
        throw Failure(Exit::notFound, "there is no private folder for conversations");
    }
    return pairs;
}

} // namespace mvtool::dde
