// Calendar time as the local clock shows it, on POSIX systems.
#include "local_time.h"

#include <stdexcept>

namespace qx5::platform {

std::tm LocalTime(std::time_t time)
{
    std::tm local{};
    // localtime_r need not look at the time zone again.
    tzset();
    if (localtime_r(&time, &local) == nullptr) {
        throw std::invalid_argument("time beyond the local calendar");
    }
    return local;
}

} // namespace qx5::platform
