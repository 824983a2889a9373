// Broken-down times, under the names of Windows' C library.
#include "win32.h"

#include <errno.h>
#include <time.h>

namespace {

constexpr __time64_t kMaxTime = 32535215999; // the end of the year 3000

bool isInRange(const struct tm* parts, const __time64_t* time) {
    return parts != nullptr && time != nullptr && *time >= 0 && *time <= kMaxTime;
}

} // namespace

errno_t _gmtime64_s(struct tm* parts, const __time64_t* time) {
    if (!isInRange(parts, time))
        return EINVAL;
    time_t seconds = *time;
    return gmtime_r(&seconds, parts) != nullptr ? 0 : EINVAL;
}

errno_t _localtime64_s(struct tm* parts, const __time64_t* time) {
    if (!isInRange(parts, time))
        return EINVAL;
    tzset(); // localtime_r need not look at TZ itself
    time_t seconds = *time;
    return localtime_r(&seconds, parts) != nullptr ? 0 : EINVAL;
}

__time64_t _mktime64(struct tm* parts) {
    if (parts == nullptr)
        return -1;
    time_t seconds = mktime(parts);
    return seconds >= 0 && seconds <= kMaxTime ? seconds : -1;
}
