// Calendar time as the local clock shows it: the calls of each platform.
#include "local_time.h"

#include <stdexcept>

namespace qx5::platform {

std::tm LocalTime(std::time_t time)
{
    std::tm local{};
#if defined(_WIN32)
    _tzset();
    bool const converted = localtime_s(&local, &time) == 0;
#else
    // localtime_r need not look at the time zone again.
    tzset();
    bool const converted = localtime_r(&time, &local) != nullptr;
#endif
    if (!converted) {
        throw std::invalid_argument("time beyond the local calendar");
    }
    return local;
}

} // namespace qx5::platform
